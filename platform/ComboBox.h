#pragma once
// Drop-down list; setting ListIndex from code fires Click.
#include "Control.h"

class QComboBox;

namespace vb {

class ComboBox : public Control {
public:
    ComboBox(Form& form, ContainerBase* container, const QString& name, int index = -1);
    QWidget* Widget() const override;
    void Clear();
    void AddItem(const QString& item);
    int ListCount() const;
    QString List(int i) const;
    int ListIndex() const;
    // Fires Click inside the call, as the logic counts on.
    void SetListIndex(int index);
    // Replaces the text of entry i in place; the selection stays. Outside the list: error 381.
    void SetList(int i, const QString& item);
    QString Text() const;

private:
    QComboBox* combo_;
    bool settingFromCode_ = false;
};

}  // namespace vb
