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

}  // namespace
