// Controls, the grid, forms and the picture box.
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTableWidget>
#include <QTimer>
#include <QToolButton>
#include <gtest/gtest.h>

#include "App.h"
#include "Controls.h"
#include "Dialog.h"
#include "DialogHost.h"
#include "Form.h"
#include "PictureBox.h"
#include "ScriptedDialogHost.h"

using namespace vb;

namespace {

// Input as the user gives it: a mouse event at a point of the widget (button: the one that
// changed; held: those down after it), and a key press.
void Mouse(QWidget* to, QEvent::Type type, QPoint at, Qt::MouseButton button = Qt::LeftButton,
           Qt::MouseButtons held = Qt::LeftButton, Qt::KeyboardModifiers mods = {}) {
    QMouseEvent e(type, QPointF(at), to->mapToGlobal(QPointF(at)), button, held, mods);
    QApplication::sendEvent(to, &e);
}
void Key(QWidget* to, int key, Qt::KeyboardModifiers mods = {}, const QString& text = {}) {
    QKeyEvent e(QEvent::KeyPress, key, mods, text);
    QApplication::sendEvent(to, &e);
}

// Controls: twip geometry in nested containers, own Enabled/Visible flags, Click from code,
// list and grid bounds, the slider, control arrays, the common dialog's Cancel, and errors
// no handler trapped.
struct Controls : testing::Test {
    Form form{"frmT"};
    Frame* frame = new Frame(form, &form, "fraA");
    QString seen;  // what the handlers saw, in order
};

TEST_F(Controls, TwipsMapToPixelsOfTheImmediateContainer) {
    // The frame in the form and the button in the frame, in twips; the button's pixels in the frame's widget.
    const std::tuple<QRectF, QRectF, QRect> rows[] = {
        // The frame's offset does not leak into the child.
        {{2880, 60, 6000, 3000}, {60, 225, 1695, 255}, {4, 15, 113, 17}},
        // Edges round on their own (8 twips is 0.53 px); the size is what lies between them: rounded
        // on its own it would be 67 and overlap.
        {{0, 0, 6000, 3000}, {8, 8, 1000, 1000}, {1, 1, 66, 66}},
    };
    auto* button = new CommandButton(form, frame, "cmdA");
    for (const auto& [inForm, inFrame, expected] : rows) {
        frame->Move(inForm.x(), inForm.y(), inForm.width(), inForm.height());
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

TEST_F(Controls, TextBoxMaxLengthLimitsWhatTheUserEntersNotWhatCodeSets) {
    const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
        // Text set by code, then typed, then pasted, and what the box holds.
        {"", "abcdefg", "", "abcde"},     // typing stops at the limit
        {"abcdefg", "x", "", "abcdefg"},  // text set longer than the limit is kept, typing adds nothing
    };
    auto* box = new TextBox(form, &form, "txtA");
    auto* edit = static_cast<QLineEdit*>(box->Widget());
    box->SetMaxLength(5);
    for (const auto& [start, typed, pasted, expected] : rows) {
        box->SetText(start);
        edit->end(false);
        for (QChar ch : QString(typed)) Key(edit, 0, {}, ch);
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

    // Column 0's fixed row is right and top (6), its body left and centred (1); column 1 the reverse
    // with centre (4). Rows added later are body rows.
    grid->SetCols(2);
    grid->SetFixedAlignment(0, 6), grid->SetColAlignment(0, 1), grid->SetFixedAlignment(1, 1);
    grid->SetColAlignment(1, 4);
    grid->SetRows(10);
    const auto at = [&](int r, int c) { return Qt::Alignment(grid->Table()->item(r, c)->textAlignment()); };
    const Qt::Alignment leftCentre = Qt::AlignLeft | Qt::AlignVCenter;
    EXPECT_EQ((std::tuple(at(0, 0), at(9, 0), at(9, 1), at(0, 1), grid->ColAlignment(1))),
              (std::tuple(Qt::AlignRight | Qt::AlignTop, leftCentre, Qt::Alignment(Qt::AlignCenter), leftCentre, 4)));
    EXPECT_EQ(Trap([&] { grid->SetColAlignment(0, 10); }), 380);
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
    labels.Unload(2);
    EXPECT_EQ(std::tuple(form.FindControl("lblA", 2), frame->Children.size(), form.Controls.size(), widget.isNull(),
                         labels.UBound()),
              std::tuple(nullptr, 1u, 2u, true, 0));
}

TEST_F(Controls, CommonDialogCancelErrorOrEmptyFileNameAndUnchangedColor) {
    auto* dlg = new CommonDialog(form, &form, "cdlA");
    testing_support::ScriptedDialogHost host;
    dlg->FileName = "suggested.bmp", dlg->Color = 0x00FFFF;
    host.AnswerFile(std::nullopt), host.AnswerColor(std::nullopt), host.AnswerFile(std::nullopt);
    dlg->ShowSave();
    dlg->ShowColor();
    EXPECT_EQ(std::pair(dlg->FileName, dlg->Color), std::pair(QString(), 0x00FFFFu));
    dlg->CancelError = true;
    EXPECT_EQ(Trap([&] { dlg->ShowOpen(); }), ErrCancel);
}

TEST_F(Controls, SliderChangeFiresOnceForEveryNewValueFromCodeOrUser) {
    auto* slider = new Slider(form, &form, "sldQuality");
    slider->SetRange(10, 100);
    slider->OnChange = [&] { seen += QString(" %1").arg(slider->Value()); };
    slider->SetValue(50);
    slider->SetValue(50);  // the same value is no change
    slider->SetLargeChange(10);
    Key(slider->Widget(), Qt::Key_PageUp);
    EXPECT_EQ(Trap([&] { slider->SetValue(101); }), 380);
    EXPECT_EQ(std::pair(seen, slider->Value()), std::pair(QString(" 50 60"), 60));
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
    const auto mouseUp = [&] { Mouse(pic->ClientWidget(), QEvent::MouseButtonRelease, {5, 5}, Qt::LeftButton, {}); };
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

// The grid's own selection: Row/RowSel by code, mouse and keys, and its change notification;
// column widths that fit the text.
struct Grid : testing::Test {
    vb::Form form{"frmGrid"};
    vb::FlexGrid& grid = *new vb::FlexGrid(form, &form, "grdA");
    QTableWidget& table = *grid.Table();
    int changes = 0;
    void SetUp() override {
        grid.SetRows(20);
        grid.SetCols(4);
        grid.Move(0, 0, 4000, 6000);
        form.show();
        grid.OnSelChange = [this] { ++changes; };
    }
    void MouseOnRow(QEvent::Type type, int row) {
        Mouse(table.viewport(), type, table.visualItemRect(table.item(row, 1)).center());
    }
    // Row RowSel [the rows shown selected]
    QString State() const {
        QStringList shown;
        for (const QModelIndex& i : table.selectionModel()->selectedRows()) shown << QString::number(i.row());
        shown.sort();
        return QString("%1 %2 [%3]").arg(grid.Row()).arg(grid.RowSel()).arg(shown.join(' '));
    }
};

TEST_F(Grid, CodeSetsTheBlockAndNotifiesOncePerChange) {
    grid.SetRow(5);  // setting Row makes that cell the whole selection
    EXPECT_EQ(std::pair(grid.RowSel(), changes), std::pair(5, 1));
    grid.SetRowSel(3);
    grid.SetCol(0);
    grid.SetColSel(3);  // columns do not change the block of rows
    EXPECT_EQ(std::pair(State(), changes), std::pair(QString("5 3 [3 4 5]"), 2));
    grid.SetRow(5);     // Row 5 alone
    grid.SetRowSel(5);  // no change, no notification
    EXPECT_EQ(changes, 3);
    EXPECT_THROW(grid.SetRow(20), vb::RuntimeError);
}

TEST_F(Grid, DraggingUpAndShiftKeysExtendWholeRows) {
    for (auto [type, row] : {std::pair{QEvent::MouseButtonPress, 6}, {QEvent::MouseMove, 4}, {QEvent::MouseMove, 3}})
        MouseOnRow(type, row);
    EXPECT_EQ(std::tuple(grid.Row(), grid.RowSel(), grid.Col(), grid.ColSel(), changes), std::tuple(6, 3, 0, 3, 3));
    MouseOnRow(QEvent::MouseButtonPress, 0);  // the heading row is not selectable
    EXPECT_EQ(grid.Row(), 1);
    Key(&table, Qt::Key_Down, Qt::ShiftModifier);
    Key(&table, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(std::pair(grid.Row(), grid.RowSel()), std::pair(1, 3));
    Key(&table, Qt::Key_Up);  // a plain key moves from Row and stops at the first row
    EXPECT_EQ(State(), "1 1 [1]");
}

TEST_F(Grid, NoTextIsCutAndTheUserDragsABorder) {
    const double widths[4] = {375, 1005, 1020, 340};  // as the result list sets them
    for (int col = 0; col < 4; ++col) grid.SetColWidth(col, widths[col]);
    // Values of 0 to 8 decimals, and the units that came out as "..." before.
    for (int d = 0; d <= 8; ++d) {
        grid.SetTextMatrix(d + 1, 2, QString::number(-12345678.12345678, 'f', d));
        grid.SetTextMatrix(d + 1, 3, d % 2 ? "μ2" : "pcs");
    }
    grid.SetFontSize(12);  // a larger font refits what is there
    for (int row = 1; row <= 9; ++row)
        for (int col : {2, 3}) {
            const QString text = grid.TextMatrix(row, col);
            EXPECT_LE(table.fontMetrics().horizontalAdvance(text) + 6, table.columnWidth(col)) << text.toStdString();
        }
    EXPECT_EQ(table.columnWidth(1), 67) << "a column with room keeps its width";
    const int border = table.columnViewportPosition(2);
    Mouse(table.viewport(), QEvent::MouseButtonPress, {border, 10});
    Mouse(table.viewport(), QEvent::MouseMove, {border + 40, 10});
    Mouse(table.viewport(), QEvent::MouseButtonRelease, {border + 40, 10}, Qt::LeftButton, {});
    EXPECT_EQ(table.columnWidth(1), 67 + 40);
    EXPECT_EQ(changes, 0) << "dragging a border selects nothing";
}

// Forms: Resize inside the statement that sizes the window, the unload events and their
// modes, docking of aligned areas, modal dialogs and the file dialog filters.
TEST(FormResize, SettingHeightFiresResizeOnceInsideTheCall) {
    for (bool shown : {false, true}) {
        Form form("frmResize");
        form.SetClientSize(9000, 6000);
        if (shown) form.show();
        QString seen;  // the new size is there when the handler runs
        form.OnResize = [&] { seen += QString(" %1").arg(form.Height()); };
        form.SetHeight(8100);
        EXPECT_EQ(seen, " 8100") << "fired inside the call, shown " << shown;
        QApplication::processEvents();  // the later resize event of the same size does not fire again
        form.SetHeight(8100);           // no change, no event
        EXPECT_EQ(seen, " 8100") << "shown " << shown;
    }
}

TEST(FormUnload, CancelKeepsTheWindowAndTheModeTellsWhoClosed) {
    for (const bool fromCode : {false, true}) {
        Form form("frmClose");
        QString seen;
        bool cancel = true;
        form.OnQueryUnload = [&](bool& c, int mode) { seen += QString(" query %1").arg(mode), c = cancel; };
        form.OnUnload = [&](bool&) { seen += " unload"; };
        const auto close = [&] { return fromCode ? form.Unload() : form.close(); };
        form.show();
        EXPECT_FALSE(close());
        EXPECT_TRUE(form.isVisible());
        cancel = false;
        EXPECT_TRUE(close());
        EXPECT_EQ(std::tuple(form.isVisible(), form.Unloaded()), std::tuple(false, true));
        form.show();
        form.close();  // once unloaded, nothing more is asked; Unload's own close runs no handler again
        const int mode = fromCode ? vbFormCode : vbFormControlMenu;
        EXPECT_EQ(seen, QString(" query %1 query %1 unload").arg(mode));
    }
}

// Areas of the main form: a top bar (Align 1), a left (3) and a right (4) area.
struct DockedForm {
    Form form{"frmDock"};
    PictureBox* top = Area("picTop", 100, 1035, 1);
    PictureBox* left = Area("picLeft", 3195, 100, 3);
    PictureBox* right = Area("picRight", 11235, 100, 4);

    PictureBox* Area(const char* name, double w, double h, int align) {
        auto* box = new PictureBox(form, &form, name, -1, false, false);
        box->Move(0, 0, w, h);
        box->SetAlign(align);
        return box;
    }
};

QRectF RectOf(PictureBox* b) { return QRectF(b->Left(), b->Top(), b->Width(), b->Height()); }

TEST(FormLayout, AlignedAreasDockTopThenLeftAndRightBelowIt) {
    // Rectangles in twips; the left one is not checked when hidden.
    const struct {
        double clientW, clientH;
        bool leftVisible;
        QRectF top, left, right;
    } rows[] = {
        // the design size
        {14460, 9615, true, {0, 0, 14460, 1035}, {0, 1035, 3195, 8580}, {3225, 1035, 11235, 8580}},
        // a hidden left area takes no room
        {14460, 9615, false, {0, 0, 14460, 1035}, {}, {3225, 1035, 11235, 8580}},
        // smaller than the areas: heights do not go negative
        {6000, 600, true, {0, 0, 6000, 1035}, {0, 1035, 3195, 0}, {-5235, 1035, 11235, 0}},
    };
    for (const auto& row : rows) {
        DockedForm d;
        d.left->SetVisible(row.leftVisible);
        d.form.SetClientSize(row.clientW, row.clientH);
        d.form.LayoutAligned();
        EXPECT_EQ(std::tuple(RectOf(d.top), row.leftVisible ? RectOf(d.left) : QRectF(), RectOf(d.right)),
                  std::tuple(row.top, row.left, row.right))
            << row.clientW;
        EXPECT_EQ(d.right->Widget()->geometry().topLeft(), QPoint(qRound(row.right.left() / 15), 69));
    }
    // A Resize handler that narrows the right area: it must still end at the right edge.
    DockedForm d;
    d.left->SetVisible(false);
    d.form.SetClientSize(14460, 9615);
    d.form.OnResize = [&] { d.right->SetWidth(d.form.ScaleWidth() - 4000); };
    d.form.show();
    EXPECT_EQ(RectOf(d.right), QRectF(4000, 1035, 10460, 8580));
}

TEST(FileDialogFilter, PlatformFiltersBecomeQtNameFilters) {
    for (const auto& [in, out] :
         {std::pair{"Bitmap (*.bmp)|*.bmp|JPEG|*.jpg;*.jpeg", "Bitmap (*.bmp) (*.bmp);;JPEG (*.jpg *.jpeg)"},
          {"All|*.bmp; *.jpg", "All (*.bmp *.jpg)"}}) {
        EXPECT_EQ(QtFilterFromPlatform(in), out) << in;
    }
}

TEST(ModalForm, TheQtHostCentresItOnItsOwnerAndReturnsOnceItUnloads) {
    Form owner("frmOwner");
    owner.setGeometry(120, 90, 600, 400);
    owner.show();
    Dialog dialog("frmDialog");
    dialog.SetDialogSize(3000, 2000);
    bool shownModal = false;
    QTimer::singleShot(0, &owner, [&] {
        shownModal = dialog.isVisible() && dialog.isModal() && dialog.isWindow();
        EXPECT_EQ(dialog.geometry().center(), owner.geometry().center());
        dialog.Unload();
    });
    QtDialogHost host;
    host.ShowModal(dialog, &owner);
    EXPECT_TRUE(shownModal);
    EXPECT_FALSE(dialog.isVisible());
}

// The picture box: scale mapping, pixels drawn into the canvas, Cls, the bounded canvas,
// the overlay of Line children and mouse coordinates in the scale.
constexpr uint32_t kRed = 0x0000FF, kGreen = 0x00FF00, kBlue = 0xFF0000, kWhite = 0xFFFFFF;

// A canvas pixel as 0x00BBGGRR, to compare with the colours drawn.
uint32_t At(const QImage& image, int x, int y) { return vb::FromQColor(QColor(image.pixel(x, y))); }

struct PictureBoxTest : testing::Test {
    vb::Form form{"frmTest"};
    // A box at the form's corner, its size in pixels; white: cleared to white.
    PictureBox* Box(int w, int h, bool pixelScale = true, bool border = false, bool white = false) {
        form.SetClientSize(2000 * 15, 1100 * 15);
        auto* box = new PictureBox(form, &form, "pic" + QString::number(form.Controls.size()), -1, pixelScale, border);
        box->Move(0, 0, w * 15.0, h * 15.0);
        if (white) box->SetBackColor(kWhite), box->Cls();
        return box;
    }
    PictureBox* WhiteBox(int w, int h) { return Box(w, h, true, false, true); }
};

TEST_F(PictureBoxTest, ScaleMapsToClientPixels) {
    struct Row {
        bool pixelScale, border;
        std::function<void(PictureBox&)> setup;
        int mode;
        double scaleLeft, scaleWidth, x, pixelX, y, pixelY;
    };
    // clang-format off
    const std::vector<Row> rows = {
        // Twips, then with a border inside Width.
        {false, false, [](PictureBox&) {}, 1, 0, 3000, 150, 10, 1500, 100},
        {false, true, [](PictureBox&) {}, 1, 0, 196 * 15, 15, 1, 30, 2},
        // A user scale: origin at the centre; 2 units a pixel across, 0.5 down; units per pixel
        // kept when the box shrinks.
        {true, false, [](PictureBox& b) { b.SetScaleLeft(-100), b.SetScaleTop(-50); }, 0, -100, 200, 0, 100, 0, 50},
        {true, false, [](PictureBox& b) { b.SetScaleWidth(400), b.SetScaleHeight(50); }, 0, 0, 400, 100, 50, 50, 100},
        {true, false, [](PictureBox& b) { b.SetScaleWidth(400), b.SetWidth(100 * 15); }, 0, 0, 200, 100, 50, 10, 10},
        // ScaleMode 3 resets a user scale.
        {true, false, [](PictureBox& b) { b.SetScaleLeft(-77), b.SetScaleMode(3); }, 3, 0, 200, 5, 5, 7, 7},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "row " << &row - rows.data());
        PictureBox* box = Box(200, 100, row.pixelScale, row.border);
        row.setup(*box);
        EXPECT_EQ(std::tuple(box->ScaleMode(), box->ScaleLeft(), box->ScaleWidth()),
                  std::tuple(row.mode, row.scaleLeft, row.scaleWidth));
        EXPECT_EQ(std::pair(box->ToPixelX(row.x), box->ToPixelY(row.y)), std::pair(row.pixelX, row.pixelY));
        EXPECT_EQ(std::pair(box->FromPixelX(row.pixelX), box->FromPixelY(row.pixelY)), std::pair(row.x, row.y));
    }
}

TEST_F(PictureBoxTest, DrawingLandsOnTheRightPixels) {
    // What is drawn on a white box, in which colour; pixels that take it and pixels that stay white.
    using Row =
        std::tuple<const char*, std::function<void(PictureBox&)>, uint32_t, std::vector<QPoint>, std::vector<QPoint>>;
    // clang-format off
    const std::vector<Row> rows = {
        {"line with both end points", [](PictureBox& b) { b.Line(5, 5, 15, 5, kRed); }, kRed,
         {{5, 5}, {10, 5}, {15, 5}}, {{4, 5}, {16, 5}, {10, 4}, {10, 6}}},
        {"line of no length", [](PictureBox& b) { b.Line(9, 9, 9, 9, kRed); }, kRed, {{9, 9}}, {{8, 9}, {10, 9}}},
        {"DrawWidth 3", [](PictureBox& b) { b.DrawWidth = 3, b.Line(5, 10, 25, 10, kRed); }, kRed,
         {{15, 9}, {15, 10}, {15, 11}}, {{15, 7}, {15, 13}}},
        {"3 by 3 count mark: an outline round the clicked pixel",
         [](PictureBox& b) { b.LineBox(10, 10, 12, 12, kGreen, false); }, kGreen,
         {{10, 10}, {11, 10}, {12, 10}, {10, 11}, {12, 11}, {10, 12}, {12, 12}}, {{11, 11}, {9, 11}, {13, 11}}},
        {"filled box, corner to corner backwards", [](PictureBox& b) { b.LineBox(15, 12, 5, 5, kBlue, true); }, kBlue,
         {{5, 5}, {10, 8}, {15, 12}}, {{16, 8}, {10, 13}}},
        {"circle", [](PictureBox& b) { b.Circle(20, 15, 8, kRed); }, kRed,
         {{28, 15}, {12, 15}, {20, 7}, {20, 23}}, {{20, 15}, {24, 15}, {30, 15}}},
    };
    // clang-format on
    for (const auto& [what, draw, color, painted, untouched] : rows) {
        SCOPED_TRACE(what);
        PictureBox* box = WhiteBox(40, 30);
        draw(*box);
        const QImage img = box->GetImage();
        ASSERT_EQ(img.size(), QSize(40, 30));
        for (const QPoint& p : painted) EXPECT_EQ(At(img, p.x(), p.y()), color) << p.x() << "," << p.y();
        for (const QPoint& p : untouched) EXPECT_EQ(At(img, p.x(), p.y()), kWhite) << p.x() << "," << p.y();
    }
}

TEST_F(PictureBoxTest, ClsShowsBackColorAndPicture) {
    PictureBox* box = WhiteBox(20, 20);
    QImage pic(5, 5, QImage::Format_RGB32);
    pic.fill(qRgb(255, 0, 0));
    box->SetPicture(pic);
    box->SetBackColor(kBlue);
    box->Line(0, 8, 19, 8, kGreen);
    box->Cls();
    EXPECT_EQ(std::pair(At(box->GetImage(), 4, 4), At(box->GetImage(), 10, 8)), std::pair(kRed, kBlue));
}

TEST_F(PictureBoxTest, BoundedCanvasCoversOnlyWhatTheContainerShows) {
    PictureBox* area = Box(1900, 1000, false);
    auto* still = new PictureBox(form, area, "picStill", -1, true, false);
    still->SetCanvasBoundedByContainer(true);
    still->Move(-3050 * 15, -2500 * 15, 8000 * 15, 6000 * 15);  // 8000 x 6000, centred
    still->SetScaleLeft(-4000);
    still->SetScaleTop(-3000);
    still->SetBackColor(kWhite);
    still->Cls();
    EXPECT_EQ(still->CanvasRect(), QRect(3050, 2500, 1900, 1000));

    still->Line(0, 0, 9, 0, kRed);
    still->Line(-4000, 100, 3999, 100, kBlue);  // crosses the visible part
    QImage img = still->GetImage();
    ASSERT_EQ(img.size(), QSize(1900, 1000));
    EXPECT_EQ(std::tuple(At(img, 950, 500), At(img, 0, 600), At(img, 1899, 600)), std::tuple(kRed, kBlue, kBlue));

    still->SetLeft(still->Left() + 100 * 15);  // moved: what overlaps stays
    EXPECT_EQ(still->CanvasRect(), QRect(2950, 2500, 1900, 1000));
    EXPECT_EQ(At(still->GetImage(), 1050, 500), kRed);

    still->Move(5000 * 15, 0, 100 * 15, 100 * 15);  // wholly outside: nothing to draw on
    still->Line(-100, -100, 100, 100, kRed);
    EXPECT_TRUE(still->GetImage().isNull());
}

TEST_F(PictureBoxTest, AnUnboundedCanvasTooLargeIsErrorSeven) {
    PictureBox* box = Box(40000, 40000);
    EXPECT_EQ(vb::Trap([&] { box->Cls(); }), 0);  // nothing drawn yet, nothing to allocate
    EXPECT_EQ(vb::Trap([&] { box->Line(0, 0, 5, 5, kRed); }), vb::ErrOutOfMemory);
    box->Move(0, 0, 10 * 15, 10 * 15);
    box->Line(0, 0, 5, 5, kRed);
    EXPECT_EQ(At(box->GetImage(), 3, 3), kRed);
}

TEST_F(PictureBoxTest, LineChildrenShowAboveTheCanvasButAreNotInIt) {
    PictureBox* box = WhiteBox(50, 50);
    box->Line(0, 5, 49, 5, kBlue);
    auto* line = new vb::LineControl(form, box, "linMeasure", 0);
    line->SetBorderColor(kRed);
    line->SetPoints(10, 25, 40, 25);
    const QImage shown = box->ClientWidget()->grab().toImage();
    EXPECT_EQ(std::tuple(At(shown, 25, 25), At(shown, 25, 5), At(box->GetImage(), 25, 25)),
              std::tuple(kRed, kBlue, kWhite));
    line->SetPoints(10, 30, 40, 30);
    EXPECT_EQ(At(box->ClientWidget()->grab().toImage(), 25, 25), kWhite) << "a moved line leaves nothing behind";
}

TEST_F(PictureBoxTest, MouseEventsComeInTheScale) {
    PictureBox* box = Box(200, 100);
    box->SetScaleLeft(-100);
    box->SetScaleTop(-50);
    QString got;
    for (auto [handler, kind] :
         {std::pair{&box->OnMouseDown, "down"}, {&box->OnMouseMove, "move"}, {&box->OnMouseUp, "up"}})
        *handler = [&got, kind](int b, int s, float x, float y) {
            got = QString("%1 %2 %3 %4 %5").arg(kind).arg(b).arg(s).arg(x).arg(y);
        };
    // The event, its point in pixels, the button that changed, those held; what the handler saw.
    const std::tuple<QEvent::Type, QPoint, Qt::MouseButton, Qt::MouseButtons, Qt::KeyboardModifiers, const char*>
        rows[] = {
            {QEvent::MouseButtonPress, {150, 75}, Qt::LeftButton, Qt::LeftButton, Qt::ShiftModifier, "down 1 1 50 25"},
            {QEvent::MouseButtonRelease, {0, 0}, Qt::RightButton, Qt::NoButton, Qt::AltModifier, "up 2 4 -100 -50"},
            // clang-format off
            {QEvent::MouseMove, {199, 99}, Qt::NoButton, Qt::LeftButton | Qt::RightButton,
             Qt::ShiftModifier | Qt::ControlModifier, "move 3 3 99 49"},
            // clang-format on
        };
    for (const auto& [type, at, button, held, mods, expected] : rows) {
        Mouse(box->ClientWidget(), type, at, button, held, mods);
        EXPECT_EQ(got, expected);  // event, button, shift, x, y
    }
}

}  // namespace
