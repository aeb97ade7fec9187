#include "Dialog.h"

#include <QKeyEvent>
#include <QScreen>
#include <algorithm>

#include "CheckBox.h"
#include "CommandButton.h"

namespace vb {

namespace {

// The design font of every form; the controls map it to the installed Japanese fonts.
const QString kDesignFont = QStringLiteral("ＭＳ Ｐゴシック");
constexpr double kDesignPoints = 9;

}  // namespace

Dialog::Dialog(const QString& name, Style style) : Form(name), style_(style) {
    if (style == Style::Fixed) {
        setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::MSWindowsFixedSizeDialogHint);
        SetControlBox(false);
    } else {
        setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
    }
}

void Dialog::Dress(Control& control, const char* caption) const {
    if (style_ == Style::Fixed) {
        control.SetFontName(kDesignFont);
        control.SetFontSize(kDesignPoints);
    }
    if (caption) control.SetCaption(QString::fromUtf8(caption));
}

void Dialog::SetDialogSize(double widthTwips, double heightTwips) {
    SetClientSize(widthTwips, heightTwips);
    if (style_ == Style::Fixed) setFixedSize(size());
}

void Dialog::SetDefaultButton(CommandButton* button, std::function<void()> onClick) {
    default_ = button;
    button->OnClick = std::move(onClick);
}

void Dialog::SetCancelButton(CommandButton* button, std::function<void()> onClick) {
    cancel_ = button;
    button->OnClick = std::move(onClick);
}

void Dialog::setVisible(bool visible) {
    if (visible && !isVisible() && isWindow() && parentWidget()) {
        const QWidget* owner = parentWidget()->window();
        QRect place(QPoint(), size());
        place.moveCenter(owner->geometry().center());
        if (const QScreen* screen = owner->screen()) {
            const QRect room = screen->availableGeometry();
            place.moveLeft(std::max(room.left(), std::min(place.left(), room.right() + 1 - place.width())));
            place.moveTop(std::max(room.top(), std::min(place.top(), room.bottom() + 1 - place.height())));
        }
        setGeometry(place);
    }
    Form::setVisible(visible);
}

void Dialog::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && default_) {
        // A focused check box is not pressed by Enter: Enter belongs to the dialog's buttons.
        CommandButton* pressed = default_;
        for (Control* c : Controls)
            if (auto* button = dynamic_cast<CommandButton*>(c);
                button && !dynamic_cast<CheckBox*>(c) && button->Widget() == focusWidget())
                pressed = button;
        pressed->Click();
        return;
    }
    if (key == Qt::Key_Escape && cancel_) {
        cancel_->Click();
        return;
    }
    Form::keyPressEvent(event);
}

}  // namespace vb
