#include "OptionButton.h"

#include <QRadioButton>

#include "ControlSupport.h"
#include "DialogHost.h"

namespace vb {

using namespace detail;

OptionButton::OptionButton(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), radio_(new QRadioButton(ParentFor(form, container))) {
    radio_->setAutoExclusive(true);
    QObject::connect(radio_, &QRadioButton::clicked, radio_, [this] { RunEvent(OnClick); });
    AttachWidget();
}

QWidget* OptionButton::Widget() const { return radio_; }

QString OptionButton::Caption() const { return radio_->text(); }

void OptionButton::SetCaption(const QString& caption) { radio_->setText(caption); }

bool OptionButton::Value() const { return radio_->isChecked(); }

void OptionButton::SetValue(bool value) {
    if (!value) {
        // Auto-exclusive buttons cannot be turned off one by one.
        radio_->setAutoExclusive(false);
        radio_->setChecked(false);
        radio_->setAutoExclusive(true);
        return;
    }
    radio_->setChecked(true);
    if (OnClick) OnClick();
}

}  // namespace vb
