#include "CommandButton.h"

#include <QToolButton>

#include "ControlSupport.h"
#include "DialogHost.h"

namespace vb {

using namespace detail;

namespace {

constexpr int IconPixels = 32;

}  // namespace

CommandButton::CommandButton(Form& form, ContainerBase* container, const QString& name, int index, bool graphical)
    : CommandButton(form, container, name, index, graphical, new QToolButton(ParentFor(form, container))) {}

CommandButton::CommandButton(Form& form, ContainerBase* container, const QString& name, int index, bool graphical,
                             QToolButton* button)
    : Control(form, container, name, index), button_(button), graphical_(graphical) {
    button_->setToolButtonStyle(graphical ? Qt::ToolButtonTextUnderIcon : Qt::ToolButtonTextOnly);
    button_->setIconSize(QSize(IconPixels, IconPixels));
    button_->setFocusPolicy(Qt::StrongFocus);
    QObject::connect(button_, &QToolButton::clicked, button_, [this] { UserClicked(); });
    AttachWidget();
}

QWidget* CommandButton::Widget() const { return button_; }

QString CommandButton::Caption() const { return button_->text(); }

void CommandButton::SetCaption(const QString& caption) { button_->setText(caption); }

void CommandButton::SetPicture(const Picture& picture) {
    picture_ = picture;
    UpdateIcon();
}

void CommandButton::SetDisabledPicture(const Picture& picture) {
    disabledPicture_ = picture;
    UpdateIcon();
}

void CommandButton::Click() { button_->click(); }

void CommandButton::UserClicked() { RunEvent(OnClick); }

void CommandButton::ApplyGeometry() { Control::ApplyGeometry(); }

void CommandButton::UpdateIcon() {
    if (!graphical_) return;
    if (disabledPicture_.isNull()) {
        button_->setIcon(picture_);
        return;
    }
    // Without its own disabled pixmap a button greys its picture out; with one it shows that.
    const QSize size(IconPixels, IconPixels);
    QIcon icon;
    if (!picture_.isNull()) {
        icon.addPixmap(picture_.pixmap(size), QIcon::Normal);
        icon.addPixmap(picture_.pixmap(size, QIcon::Active), QIcon::Active);
    }
    icon.addPixmap(disabledPicture_.pixmap(size), QIcon::Disabled);
    button_->setIcon(icon);
}

}  // namespace vb
