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
#include "PictureBox.h"
#include "Form.h"
#include "ScriptedDialogHost.h"

using namespace vb;

namespace {

int ErrorOf(const std::function<void()>& body) { return Trap(body); }

// ---- geometry ----

TEST(ControlGeometry, TwipsMapToPixelsOfTheImmediateContainer) {
    const struct {
        const char* what;
        double frameLeft, frameTop;       // frame in the form, twips
        double left, top, width, height;  // button in the frame, twips
        QRect expected;                   // button's pixels in the frame's widget
    } rows[] = {
        {"frame offset does not leak into the child", 2880, 60, 60, 225, 1695, 255, QRect(4, 15, 113, 17)},
        {"edges round on their own: 7 twips is 0.47 px", 0, 0, 7, 7, 15, 15, QRect(0, 0, 1, 1)},
        {"edges round on their own: 8 twips is 0.53 px", 0, 0, 8, 8, 15, 15, QRect(1, 1, 1, 1)},
        // Rounding the size on its own would give 67 and make neighbours overlap.
        {"the size is what lies between the rounded edges", 0, 0, 8, 8, 1000, 1000, QRect(1, 1, 66, 66)},
    };
    for (const auto& row : rows) {
        Form form("frmGeo");
        auto* frame = new Frame(form, &form, "fraA");
        frame->Move(row.frameLeft, row.frameTop, 6000, 3000);
        auto* button = new CommandButton(form, frame, "cmdA");
        button->Move(row.left, row.top, row.width, row.height);
        EXPECT_EQ(button->Widget()->parentWidget(), frame->Widget()) << row.what;
        EXPECT_EQ(button->Widget()->geometry(), row.expected) << row.what;
        EXPECT_DOUBLE_EQ(button->Left(), row.left) << row.what << ": twips are kept unrounded";
    }
}

// ---- Enabled and Visible ----

TEST(ControlFlags, DisabledContainerLeavesTheChildsOwnEnabled) {
    Form form("frmFlags");
    auto* frame = new Frame(form, &form, "fraA");
    auto* child = new CommandButton(form, frame, "cmdA");

    frame->SetEnabled(false);
    EXPECT_TRUE(child->Enabled());
    EXPECT_FALSE(child->Widget()->isEnabled());
    child->SetEnabled(false);
    frame->SetEnabled(true);
    EXPECT_FALSE(child->Widget()->isEnabled());

    // Click from code is a user's press: nothing while the button cannot be pressed.
    int clicks = 0;
    child->OnClick = [&] { ++clicks; };
    child->Click();
    child->SetEnabled(true);
    frame->SetEnabled(false);
    child->Click();
    frame->SetEnabled(true);
    child->Click();
    EXPECT_EQ(clicks, 1);
}

TEST(ControlFlags, VisibleIsTheOwnFlagBeforeAndAfterTheFormShows) {
    Form form("frmFlags");
    form.SetClientSize(3000, 3000);
    auto* frame = new Frame(form, &form, "fraA");
    auto* shown = new Label(form, frame, "lblShown");
    auto* hidden = new Label(form, frame, "lblHidden");
    hidden->SetVisible(false);
    form.show();
    EXPECT_TRUE(shown->Widget()->isVisible());
    EXPECT_FALSE(hidden->Widget()->isVisible());

    // Made after the show: a child of a shown container must show by itself.
    EXPECT_TRUE((new CommandButton(form, frame, "cmdLate"))->Widget()->isVisible());

    // A hidden container hides what it holds without touching their flags.
    frame->SetVisible(false);
    EXPECT_TRUE(shown->Visible());
    EXPECT_FALSE(shown->Widget()->isVisible());
    frame->SetVisible(true);
    EXPECT_TRUE(shown->Widget()->isVisible());
    EXPECT_FALSE(hidden->Widget()->isVisible());
}

// ---- lists, options, check boxes, text boxes ----

TEST(ComboBoxClick, SettingListIndexFiresClickInsideTheCallEveryTime) {
    Form form("frmList");
    auto* list = new ComboBox(form, &form, "cboA");
    for (const char* s : {"x 0.5", "x 0.6", "x 0.7"}) list->AddItem(s);
    EXPECT_EQ(list->ListIndex(), -1) << "filling a list selects nothing";

    std::vector<int> seen;
    list->OnClick = [&] { seen.push_back(list->ListIndex()); };
    list->SetListIndex(1);
    EXPECT_EQ(seen, std::vector<int>({1})) << "fired inside the statement, after the index changed";
    list->SetListIndex(1);
    list->SetListIndex(-1);
    EXPECT_EQ(seen, std::vector<int>({1, 1, -1}));

    // The user's choice fires too, also for the item already chosen.
    auto* combo = static_cast<QComboBox*>(list->Widget());
    combo->setCurrentIndex(1);
    emit combo->activated(1);
    emit combo->activated(1);
    EXPECT_EQ(seen, std::vector<int>({1, 1, -1, 1, 1}));
    EXPECT_EQ(list->Text(), "x 0.6");

    EXPECT_EQ(ErrorOf([&] { list->List(3); }), 381);
    EXPECT_EQ(ErrorOf([&] { list->SetListIndex(3); }), 380);
}

TEST(OptionButtonValue, OneOptionOfAContainerIsOnAndSettingItFiresClick) {
    Form form("frmOptions");
    auto* frame = new Frame(form, &form, "fraOptions");
    auto* other = new Frame(form, &form, "fraOther");
    OptionButton* opt[2] = {new OptionButton(form, frame, "optType", 0), new OptionButton(form, frame, "optType", 1)};
    auto* elsewhere = new OptionButton(form, other, "optElsewhere");
    int clicks[2] = {0, 0};
    for (int i = 0; i < 2; ++i) opt[i]->OnClick = [&clicks, i] { ++clicks[i]; };
    elsewhere->SetValue(true);
    opt[0]->SetValue(true);
    opt[1]->SetValue(true);
    EXPECT_FALSE(opt[0]->Value()) << "options of one container exclude each other";
    EXPECT_TRUE(opt[1]->Value());
    EXPECT_TRUE(elsewhere->Value()) << "another container keeps its own option";
    opt[1]->SetValue(false);
    EXPECT_FALSE(opt[1]->Value());
    EXPECT_EQ(clicks[0], 1);
    EXPECT_EQ(clicks[1], 1) << "turning an option off is no click";
}

TEST(CheckBoxValue, SetValueFiresOnlyOnChangeAndAClickToggles) {
    for (bool graphical : {true, false}) {
        Form form("frmCheck");
        auto* box = new CheckBox(form, &form, "chkA", -1, graphical);
        std::vector<int> seen;
        box->OnClick = [&] { seen.push_back(box->Value()); };
        box->SetValue(0);
        box->SetValue(1);
        box->SetValue(1);
        EXPECT_TRUE(static_cast<QToolButton*>(box->Widget())->isChecked()) << "stays pressed";
        box->SetValue(0);
        box->Click();  // the user's click toggles, then fires
        box->Click();
        EXPECT_EQ(seen, std::vector<int>({1, 0, 1, 0})) << "graphical " << graphical;
        EXPECT_EQ(ErrorOf([&] { box->SetValue(3); }), 380);
    }
}

TEST(TextBoxMaxLength, LimitsWhatTheUserEntersNotWhatCodeSets) {
    const struct {
        const char* what;
        QString start, typed, pasted, expected;
    } rows[] = {
        {"typing stops at the limit", "", "abcdefg", "", "abcde"},
        {"a paste is cut to what fits", "ab", "", "cdefg", "abcde"},
        {"text set longer than the limit is kept, typing adds nothing", "abcdefg", "x", "", "abcdefg"},
    };
    for (const auto& row : rows) {
        Form form("frmText");
        auto* box = new TextBox(form, &form, "txtA");
        box->SetMaxLength(5);
        box->SetText(row.start);
        auto* edit = static_cast<QLineEdit*>(box->Widget());
        edit->end(false);
        for (QChar ch : row.typed) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(ch));
            QCoreApplication::sendEvent(edit, &press);
        }
        if (!row.pasted.isEmpty()) edit->insert(row.pasted);
        EXPECT_EQ(box->Text(), row.expected) << row.what;
    }
}

// ---- FlexGrid ----

TEST(FlexGridBounds, TextMatrixOutsideTheGridIsError381) {
    Form form("frmGrid");
    auto* grid = new FlexGrid(form, &form, "grdA");
    grid->SetCols(4);
    grid->SetRows(100);
    const struct { int row, col, error; } rows[] = {{99, 3, 0}, {-1, 0, 381}, {100, 0, 381}, {0, 4, 381}};
    for (const auto& r : rows) {
        EXPECT_EQ(ErrorOf([&] { grid->SetTextMatrix(r.row, r.col, "v"); }), r.error) << r.row << "," << r.col;
        EXPECT_EQ(ErrorOf([&] { grid->TextMatrix(r.row, r.col); }), r.error) << r.row << "," << r.col;
    }
    EXPECT_EQ(grid->TextMatrix(99, 3), "v");
    grid->SetRows(50);
    EXPECT_EQ(ErrorOf([&] { grid->TextMatrix(99, 3); }), 381) << "shrinking drops rows";
}

TEST(FlexGridAlignment, CodesMapToCellAlignmentForTheirRows) {
    const struct {
        int code;
        Qt::Alignment expected;
    } rows[] = {{2, Qt::AlignLeft | Qt::AlignBottom}, {4, Qt::AlignCenter}, {6, Qt::AlignRight | Qt::AlignTop}};
    Form form("frmGrid");
    auto* grid = new FlexGrid(form, &form, "grdA");
    grid->SetCols(2);
    grid->SetRows(3);
    QTableWidget* t = grid->Table();
    const Qt::Alignment leftCentre = Qt::AlignLeft | Qt::AlignVCenter;  // code 1
    for (const auto& r : rows) {
        // Column 0's fixed row takes the code, its body rows stay left; column 1 the reverse.
        grid->SetFixedAlignment(0, r.code);
        grid->SetColAlignment(0, 1);
        grid->SetFixedAlignment(1, 1);
        grid->SetColAlignment(1, r.code);
        EXPECT_EQ(Qt::Alignment(t->item(0, 0)->textAlignment()), r.expected) << "fixed, code " << r.code;
        EXPECT_EQ(Qt::Alignment(t->item(2, 0)->textAlignment()), leftCentre) << r.code;
        EXPECT_EQ(Qt::Alignment(t->item(2, 1)->textAlignment()), r.expected) << "body, code " << r.code;
        EXPECT_EQ(grid->ColAlignment(1), r.code);
        EXPECT_EQ(Qt::Alignment(t->item(0, 1)->textAlignment()), leftCentre) << r.code;
    }
    EXPECT_EQ(ErrorOf([&] { grid->SetColAlignment(0, 10); }), 380);
    grid->SetRows(10);
    EXPECT_EQ(Qt::Alignment(t->item(9, 1)->textAlignment()), rows[2].expected) << "rows added later are body rows";
}

// ---- control arrays ----

TEST(ControlArrayLoad, ErrorNumbersOfLoadUnloadAndIndex) {
    Form form("frmArr");
    ControlArray<Shape> shapes;
    shapes.Add(new Shape(form, &form, "shaA", 0));
    shapes.SetFactory([&](int i) { return new Shape(form, &form, "shaA", i); });
    const struct {
        const char* what;
        std::function<void()> body;
        int error;
    } rows[] = {
        {"Load of an index in use", [&] { shapes.Load(0); }, 360},
        {"Load of a new index", [&] { shapes.Load(2); }, 0},
        {"the gap below it has no element", [&] { shapes[1]; }, 9},
        {"Unload of the gap", [&] { shapes.Unload(1); }, 340},
        {"Unload of the design element", [&] { shapes.Unload(0); }, 362},
        {"Load of a negative index", [&] { shapes.Load(-1); }, 9},
        {"Unload of the loaded element", [&] { shapes.Unload(2); }, 0},
    };
    for (const auto& row : rows) EXPECT_EQ(ErrorOf(row.body), row.error) << row.what;
    EXPECT_EQ(shapes.UBound(), 0);
}

TEST(ControlArrayLoad, UnloadTakesTheControlOutOfFormAndContainer) {
    Form form("frmArr");
    auto* frame = new Frame(form, &form, "fraA");
    ControlArray<Label> labels;
    labels.Add(new Label(form, frame, "lblA", 0));
    labels.SetFactory([&](int i) { return new Label(form, frame, "lblA", i); });
    QPointer<QWidget> widget = labels.Load(1)->Widget();
    EXPECT_EQ(frame->Children.size(), 2u);
    labels.Unload(1);
    EXPECT_EQ(form.FindControl("lblA", 1), nullptr);
    EXPECT_EQ(frame->Children.size(), 1u);
    EXPECT_EQ(form.Controls.size(), 2u);
    EXPECT_TRUE(widget.isNull());
}

// ---- CommonDialog ----

TEST(CommonDialogCancel, CancelErrorOrEmptyFileNameAndUnchangedColor) {
    Form form("frmDlg");
    auto* dlg = new CommonDialog(form, &form, "cdlA");
    testing_support::ScriptedDialogHost host;

    dlg->FileName = "suggested.bmp";
    host.AnswerFile(std::nullopt);
    dlg->ShowSave();
    EXPECT_EQ(dlg->FileName, QString());

    dlg->CancelError = true;
    host.AnswerFile(std::nullopt);
    EXPECT_EQ(ErrorOf([&] { dlg->ShowOpen(); }), ErrCancel);

    dlg->CancelError = false;
    dlg->Color = 0x00FFFF;
    host.AnswerColor(std::nullopt);
    dlg->ShowColor();
    EXPECT_EQ(dlg->Color, 0x00FFFFu);
}

// ---- the slider ----

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

// ---- an error no handler trapped never crosses the event loop: it ends the program with a box ----

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
        testing_support::ScriptedDialogHost host;
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
