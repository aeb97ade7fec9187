// Controls: twip geometry in nested containers, own Enabled/Visible flags, Click from code,
// list and grid bounds, the slider, control arrays, the common dialog's Cancel, and errors
// no handler trapped.
#include <QComboBox>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTableWidget>
#include <QToolButton>
#include <gtest/gtest.h>

#include "App.h"
#include "Controls.h"
#include "Form.h"
#include "PictureBox.h"
#include "ScriptedDialogHost.h"

using namespace vb;

namespace {

struct Controls : testing::Test {
    Form form{"frmT"};
    Frame* frame = new Frame(form, &form, "fraA");
    QString seen;  // what the handlers saw, in order
};

TEST(ControlGeometry, TwipsMapToPixelsOfTheImmediateContainer) {
    // The frame in the form and the button in the frame, in twips; the button's pixels in the frame's widget.
    const std::tuple<QRectF, QRectF, QRect> rows[] = {
        // The frame's offset does not leak into the child.
        {{2880, 60, 6000, 3000}, {60, 225, 1695, 255}, {4, 15, 113, 17}},
        // Edges round on their own: 7 twips is 0.47 px, 8 twips 0.53 px.
        {{0, 0, 6000, 3000}, {7, 7, 15, 15}, {0, 0, 1, 1}},
        {{0, 0, 6000, 3000}, {8, 8, 15, 15}, {1, 1, 1, 1}},
        // The size is what lies between the rounded edges: rounded on its own it would be 67 and overlap.
        {{0, 0, 6000, 3000}, {8, 8, 1000, 1000}, {1, 1, 66, 66}},
    };
    for (const auto& [inForm, inFrame, expected] : rows) {
        Form form("frmGeo");
        auto* frame = new Frame(form, &form, "fraA");
        frame->Move(inForm.x(), inForm.y(), inForm.width(), inForm.height());
        auto* button = new CommandButton(form, frame, "cmdA");
        button->Move(inFrame.x(), inFrame.y(), inFrame.width(), inFrame.height());
        EXPECT_EQ(std::tuple(button->Widget()->parentWidget(), button->Widget()->geometry(), button->Left()),
                  std::tuple(frame->Widget(), expected, inFrame.x()));  // twips are kept unrounded
    }
}

TEST_F(Controls, ContainerFlagsLeaveTheChildsOwnEnabledAndVisible) {
    auto* child = new CommandButton(form, frame, "cmdA");
    auto* hidden = new Label(form, frame, "lblHidden");
    hidden->SetVisible(false);
    child->OnClick = [&] { seen += "click "; };
    frame->SetEnabled(false);
    EXPECT_EQ(std::pair(child->Enabled(), child->Widget()->isEnabled()), std::pair(true, false));
    child->Click();  // Click from code is a user's press: nothing while the button cannot be pressed
    child->SetEnabled(false);
    frame->SetEnabled(true);
    child->Click();
    EXPECT_FALSE(child->Widget()->isEnabled());
    child->SetEnabled(true);
    child->Click();
    EXPECT_EQ(seen, "click ");

    form.SetClientSize(3000, 3000);
    form.show();
    EXPECT_EQ(std::pair(child->Widget()->isVisible(), hidden->Widget()->isVisible()), std::pair(true, false));
    // Made after the show: a child of a shown container must show by itself.
    EXPECT_TRUE((new CommandButton(form, frame, "cmdLate"))->Widget()->isVisible());
    frame->SetVisible(false);  // hides what it holds without touching their flags
    EXPECT_EQ(std::pair(child->Visible(), child->Widget()->isVisible()), std::pair(true, false));
    frame->SetVisible(true);
    EXPECT_EQ(std::pair(child->Widget()->isVisible(), hidden->Widget()->isVisible()), std::pair(true, false));
}

TEST_F(Controls, ClickFiresInsideEveryCallThatSetsAValue) {
    auto* list = new ComboBox(form, &form, "cboA");
    for (const char* s : {"x 0.5", "x 0.6", "x 0.7"}) list->AddItem(s);
    seen = QString::number(list->ListIndex()) + ":";  // filling a list selects nothing
    list->OnClick = [&] { seen += QString(" %1").arg(list->ListIndex()); };
    for (int i : {1, 1, -1}) list->SetListIndex(i);
    // The user's choice fires too, also for the item already chosen.
    auto* combo = static_cast<QComboBox*>(list->Widget());
    combo->setCurrentIndex(1);
    emit combo->activated(1);
    emit combo->activated(1);
    EXPECT_EQ(seen, "-1: 1 1 -1 1 1");
    EXPECT_EQ(list->Text(), "x 0.6");
    EXPECT_EQ(Trap([&] { list->List(3); }), 381);
    EXPECT_EQ(Trap([&] { list->SetListIndex(3); }), 380);

    // Options of one container exclude each other; another container keeps its own; off is no click.
    OptionButton* opt[2] = {new OptionButton(form, frame, "optType", 0), new OptionButton(form, frame, "optType", 1)};
    auto* elsewhere = new OptionButton(form, new Frame(form, &form, "fraOther"), "optElsewhere");
    seen.clear();
    for (int i = 0; i < 2; ++i) opt[i]->OnClick = [this, i] { seen += QString::number(i); };
    elsewhere->SetValue(true);
    opt[0]->SetValue(true);
    opt[1]->SetValue(true);
    EXPECT_EQ((std::tuple(opt[0]->Value(), opt[1]->Value(), elsewhere->Value())), std::tuple(false, true, true));
    opt[1]->SetValue(false);
    EXPECT_FALSE(opt[1]->Value());
    EXPECT_EQ(seen, "01");

    // A check box fires only on a change; the user's click toggles, then fires.
    for (bool graphical : {true, false}) {
        auto* box = new CheckBox(form, &form, "chkA", -1, graphical);
        seen.clear();
        box->OnClick = [&] { seen += QString::number(box->Value()); };
        for (int v : {0, 1, 1}) box->SetValue(v);
        EXPECT_TRUE(static_cast<QToolButton*>(box->Widget())->isChecked()) << "stays pressed";
        box->SetValue(0);
        box->Click();
        box->Click();
        EXPECT_EQ(seen, "1010") << "graphical " << graphical;
        EXPECT_EQ(Trap([&] { box->SetValue(3); }), 380);
    }
}

TEST(TextBoxMaxLength, LimitsWhatTheUserEntersNotWhatCodeSets) {
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        // Text set by code, then typed, then pasted, and what the box holds.
        {"", "abcdefg", "", "abcde"},     // typing stops at the limit
        {"ab", "", "cdefg", "abcde"},     // a paste is cut to what fits
        {"abcdefg", "x", "", "abcdefg"},  // text set longer than the limit is kept, typing adds nothing
    };
    for (const auto& [start, typed, pasted, expected] : rows) {
        Form form("frmText");
        auto* box = new TextBox(form, &form, "txtA");
        box->SetMaxLength(5);
        box->SetText(start);
        auto* edit = static_cast<QLineEdit*>(box->Widget());
        edit->end(false);
        for (QChar ch : QString(typed)) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
            QCoreApplication::sendEvent(edit, &press);
        }
        if (*pasted) edit->insert(pasted);
        EXPECT_EQ(box->Text(), expected) << start << "+" << typed << "+" << pasted;
    }
}

TEST_F(Controls, FlexGridBoundsAndAlignment) {
    auto* grid = new FlexGrid(form, &form, "grdA");
    grid->SetCols(4);
    grid->SetRows(100);
    for (const auto& [row, col, error] : {std::tuple{99, 3, 0}, {-1, 0, 381}, {100, 0, 381}, {0, 4, 381}}) {
        EXPECT_EQ(Trap([&] { grid->SetTextMatrix(row, col, "v"); }), error) << row << "," << col;
        EXPECT_EQ(Trap([&] { grid->TextMatrix(row, col); }), error) << row << "," << col;
    }
    EXPECT_EQ(grid->TextMatrix(99, 3), "v");
    grid->SetRows(50);
    EXPECT_EQ(Trap([&] { grid->TextMatrix(99, 3); }), 381) << "shrinking drops rows";

    grid->SetCols(2);
    grid->SetRows(3);
    const auto at = [&](int r, int c) { return Qt::Alignment(grid->Table()->item(r, c)->textAlignment()); };
    const Qt::Alignment leftCentre = Qt::AlignLeft | Qt::AlignVCenter;  // code 1
    for (const auto& [code, expected] :
         {std::pair{2, Qt::AlignLeft | Qt::AlignBottom}, {4, Qt::AlignCenter}, {6, Qt::AlignRight | Qt::AlignTop}}) {
        // Column 0's fixed row takes the code, its body rows stay left; column 1 the reverse.
        grid->SetFixedAlignment(0, code);
        grid->SetColAlignment(0, 1);
        grid->SetFixedAlignment(1, 1);
        grid->SetColAlignment(1, code);
        EXPECT_EQ((std::tuple(at(0, 0), at(2, 0), at(2, 1), at(0, 1), grid->ColAlignment(1))),
                  (std::tuple(Qt::Alignment(expected), leftCentre, Qt::Alignment(expected), leftCentre, code)));
    }
    EXPECT_EQ(Trap([&] { grid->SetColAlignment(0, 10); }), 380);
    grid->SetRows(10);
    EXPECT_EQ(at(9, 1), Qt::AlignRight | Qt::AlignTop) << "rows added later are body rows";
}

TEST_F(Controls, ControlArrayLoadAndUnload) {
    ControlArray<Label> labels;
    labels.Add(new Label(form, frame, "lblA", 0));
    labels.SetFactory([&](int i) { return new Label(form, frame, "lblA", i); });
    // Load of an index in use, of a new index; the gap below it; Unload of the gap and of the
    // design element; Load of a negative index.
    const std::pair<std::function<void()>, int> rows[] = {
        {[&] { labels.Load(0); }, 360},   {[&] { labels.Load(2); }, 0},     {[&] { labels[1]; }, 9},
        {[&] { labels.Unload(1); }, 340}, {[&] { labels.Unload(0); }, 362}, {[&] { labels.Load(-1); }, 9},
    };
    for (int i = 0; i < 6; ++i) EXPECT_EQ(Trap(rows[i].first), rows[i].second) << "row " << i;
    // Unload takes the control out of the form, its container and the widgets.
    QPointer<QWidget> widget = labels[2]->Widget();
    EXPECT_EQ(frame->Children.size(), 2u);
    labels.Unload(2);
    EXPECT_EQ(std::tuple(form.FindControl("lblA", 2), frame->Children.size(), form.Controls.size(), widget.isNull()),
              std::tuple(nullptr, 1u, 2u, true));
    EXPECT_EQ(labels.UBound(), 0);
}

TEST_F(Controls, CommonDialogCancelErrorOrEmptyFileNameAndUnchangedColor) {
    auto* dlg = new CommonDialog(form, &form, "cdlA");
    testing_support::ScriptedDialogHost host;
    dlg->FileName = "suggested.bmp";
    host.AnswerFile(std::nullopt);
    dlg->ShowSave();
    EXPECT_EQ(dlg->FileName, QString());
    dlg->CancelError = true;
    host.AnswerFile(std::nullopt);
    EXPECT_EQ(Trap([&] { dlg->ShowOpen(); }), ErrCancel);
    dlg->CancelError = false;
    dlg->Color = 0x00FFFF;
    host.AnswerColor(std::nullopt);
    dlg->ShowColor();
    EXPECT_EQ(dlg->Color, 0x00FFFFu);
}

TEST_F(Controls, SliderChangeFiresOnceForEveryNewValueFromCodeOrUser) {
    auto* slider = new Slider(form, &form, "sldQuality");
    slider->SetRange(10, 100);
    slider->OnChange = [&] { seen += QString(" %1").arg(slider->Value()); };
    slider->SetValue(50);
    slider->SetValue(50);  // the same value is no change
    slider->SetLargeChange(10);
    QKeyEvent page(QEvent::KeyPress, Qt::Key_PageUp, Qt::NoModifier);
    QCoreApplication::sendEvent(slider->Widget(), &page);
    EXPECT_EQ(Trap([&] { slider->SetValue(101); }), 380);
    EXPECT_EQ(Trap([&] { slider->SetValue(9); }), 380);
    EXPECT_EQ(seen, " 50 60");
    EXPECT_EQ(slider->Value(), 60);
}

// An error no handler trapped never crosses the event loop: it ends the program with a box.
TEST_F(Controls, UntrappedErrorEndsWithTheErrorNumberFromEveryKindOfEvent) {
    auto* button = new CommandButton(form, &form, "cmdFail");
    auto* pic = new PictureBox(form, &form, "picFail", -1, true);
    pic->Move(0, 3000, 3000, 3000);
    auto* combo = new ComboBox(form, &form, "cboFail");
    combo->AddItem("a");
    form.show();
    button->OnClick = [] { Raise(13); };
    pic->OnMouseUp = [](int, int, float, float) { Raise(6); };
    combo->OnClick = [] { Raise(9); };
    form.OnQueryUnload = [](bool&, int) { Raise(53); };
    const auto mouseUp = [&] {
        QMouseEvent up(QEvent::MouseButtonRelease, QPointF(5, 5), QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
                       Qt::NoModifier);
        QCoreApplication::sendEvent(pic->ClientWidget(), &up);
    };
    for (const auto& [act, number] : {std::pair<std::function<void()>, int>{[&] { button->Click(); }, 13},
                                      {mouseUp, 6},
                                      {[&] { form.close(); }, 53}}) {
        testing_support::ScriptedDialogHost host;
        host.AnswerMsgBox(vbOK);
        act();
        ASSERT_EQ(host.Boxes.size(), 1u) << number;
        const auto& box = host.Boxes[0];
        EXPECT_EQ(
            std::tuple(box.Prompt, box.Buttons, box.Title, host.Ends),
            std::tuple(QStringLiteral("Run-time error '%1'").arg(number), vbOKOnly | vbCritical, App::Title(), 1));
    }
    // Set from code, the error reaches the routine that set it, which traps it itself.
    EXPECT_EQ(Trap([&] { combo->SetListIndex(0); }), 9);
    form.OnQueryUnload = nullptr;
}

}  // namespace
