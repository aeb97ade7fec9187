#pragma once
// Option button: one of the options of its container is on.
#include "Control.h"

class QRadioButton;

namespace vb {

class OptionButton : public Control {
public:
    OptionButton(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    QString Caption() const override;
    void SetCaption(const QString& caption) override;
    bool Value() const;
    // Setting True turns the container's other options off and fires Click, as a user's click does.
    void SetValue(bool value);

private:
    QRadioButton* radio_;
};

}  // namespace vb
