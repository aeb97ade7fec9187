// The slider: Change from code and from the user, and its range.
#include <QKeyEvent>
#include <QCoreApplication>
#include <gtest/gtest.h>

#include "Controls.h"
#include "Errors.h"
#include "Form.h"

namespace {

TEST(SliderValue, ChangeFiresOnceForEveryNewValueFromCodeOrUser) {
    vb::Form form("frmSlider");
    auto* slider = new vb::Slider(form, &form, "sldQuality");
    slider->SetRange(10, 100);
    int changes = 0;
    int seen = 0;
    slider->OnChange = [&] {
        ++changes;
        seen = slider->Value();
    };
    slider->SetValue(50);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(seen, 50) << "the new value is there when Change runs";
    slider->SetValue(50);
    EXPECT_EQ(changes, 1) << "the same value is no change";
    slider->SetLargeChange(10);
    QKeyEvent page(QEvent::KeyPress, Qt::Key_PageUp, Qt::NoModifier);
    QCoreApplication::sendEvent(slider->Widget(), &page);
    EXPECT_EQ(slider->Value(), 60);
    EXPECT_EQ(changes, 2) << "a user's move fires Change too";
    EXPECT_EQ(vb::Trap([&] { slider->SetValue(101); }), 380);
    EXPECT_EQ(vb::Trap([&] { slider->SetValue(9); }), 380);
    EXPECT_EQ(slider->Value(), 60);
}

}  // namespace
