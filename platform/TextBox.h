#pragma once
// One-line text box with a MaxLength for what the user enters.
#include "Control.h"

class QLineEdit;

namespace vb {

class TextBox : public Control {
public:
    TextBox(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    QString Text() const;
    void SetText(const QString& text);
    int MaxLength() const;
    void SetMaxLength(int n);
    bool Locked() const;
    void SetLocked(bool locked);
    std::function<void()> OnChange;

private:
    friend class TextLengthLimit;
    QLineEdit* edit_;
    int maxLength_ = 0;
    int lastLength_ = 0;
    bool settingText_ = false;
};

}  // namespace vb
