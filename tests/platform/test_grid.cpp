// The grid's own selection: Row/RowSel by code, mouse and keys, and its change notification;
// column widths that fit the text.
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTableWidget>
#include <gtest/gtest.h>

#include "Controls.h"
#include "Form.h"

namespace {

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
    void Mouse(QEvent::Type type, QPoint at, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        QMouseEvent e(type, QPointF(at), table.viewport()->mapToGlobal(QPointF(at)), Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, mods);
        QApplication::sendEvent(table.viewport(), &e);
    }
    void MouseOnRow(QEvent::Type type, int row) { Mouse(type, table.visualItemRect(table.item(row, 1)).center()); }
    void Key(int key, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        QKeyEvent e(QEvent::KeyPress, key, mods);
        QApplication::sendEvent(&table, &e);
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
    EXPECT_EQ(std::pair(grid.Row(), grid.RowSel()), std::pair(1, 1));
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
    Key(Qt::Key_Down, Qt::ShiftModifier);
    Key(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(std::pair(grid.Row(), grid.RowSel()), std::pair(1, 3));
    Key(Qt::Key_Up);  // a plain key moves from Row and stops at the first row
    EXPECT_EQ(std::pair(grid.Row(), grid.RowSel()), std::pair(1, 1));
    Key(Qt::Key_End);
    EXPECT_EQ(State(), "19 19 [19]");
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
    Mouse(QEvent::MouseButtonPress, {border, 10});
    Mouse(QEvent::MouseMove, {border + 40, 10});
    Mouse(QEvent::MouseButtonRelease, {border + 40, 10});
    EXPECT_EQ(table.columnWidth(1), 67 + 40);
    EXPECT_EQ(changes, 0) << "dragging a border selects nothing";
}

}  // namespace
