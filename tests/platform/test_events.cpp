// An error no handler trapped never crosses the event loop: it ends the program with a box.
#include <QCoreApplication>
#include <QMouseEvent>
#include <gtest/gtest.h>

#include "App.h"
#include "Controls.h"
#include "Errors.h"
#include "Form.h"
#include "PictureBox.h"
#include "ScriptedDialogHost.h"

using testing_support::ScriptedDialogHost;

namespace {

TEST(UntrappedError, EndsWithTheErrorNumberFromEveryKindOfEvent) {
    vb::Form form("frmEvents");
    auto* button = new vb::CommandButton(form, &form, "cmdFail");
    auto* pic = new vb::PictureBox(form, &form, "picFail", -1, true);
    pic->Move(0, 3000, 3000, 3000);
    auto* combo = new vb::ComboBox(form, &form, "cboFail");
    combo->AddItem("a");
    form.show();
    button->OnClick = [] { vb::Raise(13); };
    pic->OnMouseUp = [](int, int, float, float) { vb::Raise(6); };
    combo->OnClick = [] { vb::Raise(9); };
    form.OnQueryUnload = [](bool&, int) { vb::Raise(53); };

    const auto mouseUp = [&] {
        QMouseEvent up(QEvent::MouseButtonRelease, QPointF(5, 5), QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
                       Qt::NoModifier);
        QCoreApplication::sendEvent(pic->ClientWidget(), &up);
    };
    struct Case {
        const char* what;
        std::function<void()> act;
        int number;
    } cases[] = {
        {"button press", [&] { button->Click(); }, 13},
        {"mouse up on a picture", mouseUp, 6},
        {"close box", [&] { form.close(); }, 53},
    };
    for (const Case& c : cases) {
        ScriptedDialogHost host;
        host.AnswerMsgBox(vb::vbOK);
        c.act();
        ASSERT_EQ(host.Boxes.size(), 1u) << c.what;
        EXPECT_EQ(host.Boxes[0].Prompt, QStringLiteral("Run-time error '%1'").arg(c.number)) << c.what;
        EXPECT_EQ(host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbCritical) << c.what;
        EXPECT_EQ(host.Boxes[0].Title, vb::App::Title()) << c.what;
        EXPECT_EQ(host.Ends, 1) << c.what;
    }
    // Set from code, the error reaches the routine that set it, which traps it itself.
    EXPECT_EQ(vb::Trap([&] { combo->SetListIndex(0); }), 9);
    form.OnQueryUnload = nullptr;
}

}  // namespace
