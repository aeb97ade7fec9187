// Controls, the grid, forms and the picture box.
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTableWidget>
#include <QTimer>
#include <gtest/gtest.h>

#include "Dialog.h"
#include "DialogHost.h"
#include "Form.h"
#include "PictureBox.h"
#include "ScriptedDialogHost.h"
#include "App.h"

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

// Controls: Click from code and from the user, the text box's limit, and the grid's bounds.
struct Controls : testing::Test {
    Form form{"frmT"};
    Frame* frame = new Frame(form, &form, "fraA");
    QString seen;  // what the handlers saw, in order
};

TEST_F(Controls, ClickFiresInsideEveryCallThatSetsAValueAndValuesOutOfRangeAreRefused) {
    auto* list = new ComboBox(form, &form, "cboA");
    list->AddItem("x 0.5");
    seen = QString::number(list->ListIndex()) + ":";  // filling a list selects nothing
    list->OnClick = [&] { seen += QString(" %1").arg(list->ListIndex()); };
    list->SetListIndex(0);
    emit static_cast<QComboBox*>(list->Widget())->activated(0);  // the user's choice, also of the same item
    EXPECT_EQ(seen, "-1: 0 0");
    EXPECT_EQ(Trap([&] { list->List(1); }), 381);
    EXPECT_EQ(Trap([&] { list->SetListIndex(1); }), 380);

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
        box->SetValue(1);
        box->SetValue(1);
        box->Click();
        box->Click();
        EXPECT_EQ(seen, "101") << "graphical " << graphical;
        EXPECT_EQ(Trap([&] { box->SetValue(3); }), 380);
    }

    // A grid refuses cells and alignments out of its bounds.
    auto* grid = new FlexGrid(form, &form, "grdA");
    grid->SetCols(2);
    grid->SetRows(3);
    for (const auto& [row, col, error] : {std::tuple{2, 1, 0}, {-1, 0, 381}, {3, 0, 381}, {0, -1, 381}, {0, 2, 381}})
        EXPECT_EQ(Trap([&] { grid->TextMatrix(row, col); }), error) << row << "," << col;
    grid->SetColAlignment(1, 4);
    EXPECT_EQ(grid->ColAlignment(1), 4);
    EXPECT_EQ(Trap([&] { grid->SetColAlignment(0, 10); }), 380);
}

TEST_F(Controls, TextBoxMaxLengthLimitsWhatTheUserEntersNotWhatCodeSets) {
    auto* box = new TextBox(form, &form, "txtA");
    auto* edit = static_cast<QLineEdit*>(box->Widget());
    box->SetMaxLength(5);
    // Typing stops at the limit; a longer text set by code is kept, and typing adds nothing to it.
    for (const auto& [start, expected] : {std::pair{"", "abcde"}, {"abcdefg", "abcdefg"}}) {
        box->SetText(start);
        edit->end(false);
        for (QChar ch : QString("abcdefg")) Key(edit, 0, {}, ch);
        EXPECT_EQ(box->Text(), expected) << start;
    }
}

// An error no handler traps ends the program with its number, whatever event raised it.
TEST_F(Controls, AnUntrappedErrorEndsWithItsNumber) {
    auto* pic = new PictureBox(form, &form, "picFail", -1, true);
    pic->OnMouseUp = [](int, int, float, float) { Raise(6); };
    testing_support::ScriptedDialogHost host;
    host.AnswerMsgBox(vbOK);
    Mouse(pic->ClientWidget(), QEvent::MouseButtonRelease, {5, 5}, Qt::LeftButton, {});
    EXPECT_EQ(std::pair(host.Boxes.at(0), host.Ends),
              std::pair(testing_support::RecordedBox{"Run-time error '6'", vbOKOnly | vbCritical, App::Title()}, 1));
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
};

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
    const QModelIndexList shown = table.selectionModel()->selectedRows();
    EXPECT_EQ(std::tuple(grid.Row(), grid.RowSel(), shown.size(), shown.value(0).row()), std::tuple(1, 1, 1, 1));
}

TEST_F(Grid, NoTextIsCutAndTheUserDragsABorder) {
    grid.SetColWidth(1, 1005);  // widths as the result list sets them
    grid.SetColWidth(3, 340);
    grid.SetTextMatrix(1, 2, "-12345678.12345678");
    grid.SetTextMatrix(1, 3, "μ2");  // a unit that came out as "..." before
    grid.SetFontSize(12);            // a larger font refits what is there
    for (int col : {2, 3})
        EXPECT_LE(table.fontMetrics().horizontalAdvance(grid.TextMatrix(1, col)) + 6, table.columnWidth(col)) << col;
    EXPECT_EQ(table.columnWidth(1), 67) << "a column with room keeps its width";
    const int border = table.columnViewportPosition(2);
    Mouse(table.viewport(), QEvent::MouseButtonPress, {border, 10});
    Mouse(table.viewport(), QEvent::MouseMove, {border + 40, 10});
    Mouse(table.viewport(), QEvent::MouseButtonRelease, {border + 40, 10}, Qt::LeftButton, {});
    EXPECT_EQ(table.columnWidth(1), 67 + 40);
    EXPECT_EQ(changes, 0) << "dragging a border selects nothing";
}

TEST(FileDialogFilter, PlatformFiltersBecomeQtNameFilters) {
    EXPECT_EQ(QtFilterFromPlatform("Bitmap (*.bmp)|*.bmp|JPEG|*.jpg; *.jpeg"),
              "Bitmap (*.bmp) (*.bmp);;JPEG (*.jpg *.jpeg)");
}

TEST(ModalForm, TheQtHostCentresItOnItsOwnerAndReturnsOnceItUnloads) {
    Form owner("frmOwner");
    owner.setGeometry(120, 90, 600, 400);
    owner.show();
    Dialog dialog("frmDialog");
    dialog.SetDialogSize(3000, 2000);
    QTimer::singleShot(0, &owner, [&] {
        EXPECT_TRUE(dialog.isVisible() && dialog.isModal() && dialog.isWindow());
        EXPECT_EQ(dialog.geometry().center(), owner.geometry().center());
        dialog.Unload();
    });
    QtDialogHost host;
    host.ShowModal(dialog, &owner);
    EXPECT_TRUE(dialog.Unloaded() && !dialog.isVisible());
}

// The picture box: scale mapping, pixels drawn into the canvas, and Cls.
constexpr uint32_t kRed = 0x0000FF, kGreen = 0x00FF00, kBlue = 0xFF0000, kWhite = 0xFFFFFF;

// A canvas pixel as 0x00BBGGRR, to compare with the colours drawn.
uint32_t At(const QImage& image, int x, int y) { return vb::FromQColor(QColor(image.pixel(x, y))); }

struct PictureBoxTest : testing::Test {
    vb::Form form{"frmTest"};
    // A box in pixels at the form's corner, its size in pixels; white: cleared to white.
    PictureBox* Box(int w, int h, bool white = false) {
        auto* box = new PictureBox(form, &form, "picA", -1, true, false);
        box->Move(0, 0, w * 15.0, h * 15.0);
        form.SetClientSize(2000 * 15, 1100 * 15);  // lays out the form, which leaves an unaligned box alone
        if (white) box->SetBackColor(kWhite), box->Cls();
        return box;
    }
};

TEST_F(PictureBoxTest, UserScaleAndScaleModeMapToClientPixels) {
    PictureBox* box = Box(200, 100);
    box->SetScaleWidth(400), box->SetScaleHeight(50);  // 2 units a pixel across, 0.5 down
    EXPECT_EQ(std::tuple(box->ScaleMode(), box->ToPixelX(100), box->ToPixelY(50), box->FromPixelY(100)),
              std::tuple(0, 50.0, 100.0, 50.0));
    box->SetWidth(100 * 15);  // units per pixel are kept when the box shrinks
    EXPECT_EQ(box->ScaleWidth(), 200);
    box->SetScaleLeft(-77), box->SetScaleMode(3);  // pixels again, from the corner
    EXPECT_EQ(std::tuple(box->ScaleMode(), box->ScaleLeft(), box->ScaleWidth(), box->ToPixelX(7)),
              std::tuple(3, 0.0, 100.0, 7.0));
}

TEST_F(PictureBoxTest, APointAndACountMarkLandOnTheRightPixels) {
    PictureBox* box = Box(40, 30, true);
    box->Line(9, 9, 9, 9, kRed);                  // a line of no length is one pixel
    box->LineBox(20, 10, 22, 12, kGreen, false);  // a 3 by 3 count mark: an outline round the clicked pixel
    const QImage img = box->GetImage();
    EXPECT_EQ(std::tuple(At(img, 8, 9), At(img, 9, 9), At(img, 10, 9)), std::tuple(kWhite, kRed, kWhite));
    for (int y = 9; y <= 13; ++y)
        for (int x = 19; x <= 23; ++x) {
            const bool outline = x >= 20 && x <= 22 && y >= 10 && y <= 12 && !(x == 21 && y == 11);
            EXPECT_EQ(At(img, x, y), outline ? kGreen : kWhite) << x << "," << y;
        }
}

TEST_F(PictureBoxTest, ClsShowsBackColorAndPicture) {
    PictureBox* box = Box(20, 20, true);
    QImage pic(5, 5, QImage::Format_RGB32);
    pic.fill(qRgb(255, 0, 0));
    box->SetPicture(pic);
    box->SetBackColor(kBlue);
    box->Line(0, 8, 19, 8, kGreen);
    box->Cls();
    EXPECT_EQ(std::pair(At(box->GetImage(), 4, 4), At(box->GetImage(), 10, 8)), std::pair(kRed, kBlue));
}

}  // namespace
