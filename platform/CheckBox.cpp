#include "CheckBox.h"

#include <QSignalBlocker>
#include <QStyleOptionButton>
#include <QStylePainter>
#include <QToolButton>

#include "ControlSupport.h"
#include "DialogHost.h"

namespace vb {

using namespace detail;

namespace {

// The non-graphical check box: a tool button that draws itself as a check box, so it
// shares the click path of the graphical one.
class CheckLookButton : public QToolButton {
public:
    explicit CheckLookButton(QWidget* parent) : QToolButton(parent) {
        setBackgroundRole(QPalette::Window);
        setForegroundRole(QPalette::WindowText);
    }
    bool partial = false;

protected:
    void paintEvent(QPaintEvent*) override {
        QStylePainter p(this);
        QStyleOptionButton opt;
        opt.initFrom(this);
        opt.text = text();
        opt.state |= partial ? QStyle::State_NoChange : (isChecked() ? QStyle::State_On : QStyle::State_Off);
        if (isDown()) opt.state |= QStyle::State_Sunken;
        p.drawControl(QStyle::CE_CheckBox, opt);
    }
};

}  // namespace

CheckBox::CheckBox(Form& form, ContainerBase* container, const QString& name, int index, bool graphical)
    : CommandButton(
          form, container, name, index, graphical,
          graphical ? new QToolButton(ParentFor(form, container)) : new CheckLookButton(ParentFor(form, container))) {
    button_->setCheckable(true);
}

int CheckBox::Value() const { return value_; }

void CheckBox::SetValue(int value) {
    if (value < 0 || value > 2) Raise(ErrInvalidPropertyValue);
    if (value == value_) return;
    value_ = value;
    {
        const QSignalBlocker block(button_);
        button_->setChecked(value == 1);
    }
    if (auto* look = dynamic_cast<CheckLookButton*>(button_)) {
        look->partial = value == 2;
        look->update();
    }
    if (OnClick) OnClick();
}

void CheckBox::UserClicked() {
    value_ = button_->isChecked() ? 1 : 0;
    if (auto* look = dynamic_cast<CheckLookButton*>(button_)) look->partial = false;
    RunEvent(OnClick);
}

}  // namespace vb
