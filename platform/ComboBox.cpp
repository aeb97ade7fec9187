#include "ComboBox.h"

#include <QComboBox>

#include "ControlSupport.h"
#include "DialogHost.h"

namespace vb {

using namespace detail;

ComboBox::ComboBox(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), combo_(new QComboBox(ParentFor(form, container))) {
    combo_->setEditable(false);
    backColor_ = vbWindowBackground;
    foreColor_ = vbWindowText;
    // activated is the user's choice only, and comes also when the same item is chosen again.
    QObject::connect(combo_, &QComboBox::activated, combo_, [this](int) {
        if (settingFromCode_) return;
        RunEvent(OnClick);
    });
    AttachWidget();
}

QWidget* ComboBox::Widget() const { return combo_; }

void ComboBox::Clear() { combo_->clear(); }

void ComboBox::AddItem(const QString& item) {
    const bool wasEmpty = combo_->count() == 0;
    combo_->addItem(item);
    // A list gets no selection by being filled.
    if (wasEmpty) combo_->setCurrentIndex(-1);
}

int ComboBox::ListCount() const { return combo_->count(); }

QString ComboBox::List(int i) const {
    if (i < 0 || i >= combo_->count()) Raise(ErrInvalidArrayIndex);
    return combo_->itemText(i);
}

int ComboBox::ListIndex() const { return combo_->currentIndex(); }

void ComboBox::SetListIndex(int index) {
    if (index < -1 || index >= combo_->count()) Raise(ErrInvalidPropertyValue);
    settingFromCode_ = true;
    combo_->setCurrentIndex(index);
    settingFromCode_ = false;
    if (OnClick) OnClick();
}

void ComboBox::SetList(int i, const QString& item) {
    if (i < 0 || i >= combo_->count()) Raise(ErrInvalidArrayIndex);
    combo_->setItemText(i, item);
}

QString ComboBox::Text() const { return combo_->currentText(); }

}  // namespace vb
