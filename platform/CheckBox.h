#pragma once
// Check box; "graphical" is a button that stays pressed while checked.
#include "CommandButton.h"

namespace vb {

class CheckBox : public CommandButton {
public:
    CheckBox(Form& form, ContainerBase* container, const QString& name, int index = -1, bool graphical = false);
    int Value() const;
    // Fires Click when the value changes, as a user's click does.
    void SetValue(int value);

protected:
    void UserClicked() override;

private:
    int value_ = 0;
};

}  // namespace vb
