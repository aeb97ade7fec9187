#pragma once
// Slider with a value between Min and Max; Change fires whenever the value changes.
#include "Control.h"

class QSlider;

namespace vb {

class Slider : public Control {
public:
    Slider(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    int Min() const;
    int Max() const;
    void SetRange(int min, int max);
    int Value() const;
    // Outside Min..Max is error 380. Fires Change inside the call when the value changes.
    void SetValue(int value);
    void SetTickFrequency(int step);
    void SetLargeChange(int step);
    std::function<void()> OnChange;

private:
    QSlider* slider_;
    bool settingFromCode_ = false;
};

}  // namespace vb
