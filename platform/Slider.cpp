#include "Slider.h"

#include <QSlider>

#include "ControlSupport.h"
#include "DialogHost.h"

namespace vb {

using namespace detail;

Slider::Slider(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), slider_(new QSlider(Qt::Horizontal, ParentFor(form, container))) {
    slider_->setTickPosition(QSlider::TicksBelow);
    QObject::connect(slider_, &QSlider::valueChanged, slider_, [this](int) {
        if (!settingFromCode_) RunEvent(OnChange);
    });
    AttachWidget();
}

QWidget* Slider::Widget() const { return slider_; }

int Slider::Min() const { return slider_->minimum(); }

int Slider::Max() const { return slider_->maximum(); }

void Slider::SetRange(int min, int max) {
    if (min > max) Raise(ErrInvalidPropertyValue);
    settingFromCode_ = true;
    slider_->setRange(min, max);
    settingFromCode_ = false;
}

int Slider::Value() const { return slider_->value(); }

void Slider::SetValue(int value) {
    if (value < Min() || value > Max()) Raise(ErrInvalidPropertyValue);
    if (value == slider_->value()) return;
    settingFromCode_ = true;
    slider_->setValue(value);
    settingFromCode_ = false;
    if (OnChange) OnChange();
}

void Slider::SetTickFrequency(int step) { slider_->setTickInterval(step); }

void Slider::SetLargeChange(int step) { slider_->setPageStep(step); }

}  // namespace vb
