// The grid's own selection: Row/RowSel by code, mouse and keys, and its change notification.
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTableWidget>
#include <gtest/gtest.h>

#include "Controls.h"
#include "Form.h"

using vb::FlexGrid;

namespace {

struct Grid {
    vb::Form form{QStringLiteral("frmGrid")};
    FlexGrid* grid;
    int changes = 0;
    Grid() : grid(new FlexGrid(form, &form, QStringLiteral("grdA"))) {
        grid->SetRows(20);
        grid->SetCols(4);
        grid->Move(0, 0, 4000, 6000);
        form.show();
        grid->OnSelChange = [this] { ++changes; };
    }
    QPoint CellCentre(int row) const { return grid->Table()->visualItemRect(grid->Table()->item(row, 1)).center(); }
    void Mouse(QEvent::Type type, int row, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        const QPointF at(CellCentre(row));
        QMouseEvent e(type, at, grid->Table()->viewport()->mapToGlobal(at), Qt::LeftButton, Qt::LeftButton, mods);
        QApplication::sendEvent(grid->Table()->viewport(), &e);
    }
    void Key(int key, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        QKeyEvent e(QEvent::KeyPress, key, mods);
        QApplication::sendEvent(grid->Table(), &e);
    }
    std::vector<int> Shown() const {
        std::vector<int> rows;
        for (const QModelIndex& i : grid->Table()->selectionModel()->selectedRows()) rows.push_back(i.row());
        std::sort(rows.begin(), rows.end());
        return rows;
    }
};

TEST(GridSelection, CodeSetsTheBlockAndNotifiesOncePerChange) {
    Grid g;
    FlexGrid& grid = *g.grid;
    EXPECT_EQ(std::pair(grid.Row(), grid.RowSel()), std::pair(1, 1));
    grid.SetRow(5);
    EXPECT_EQ(grid.RowSel(), 5) << "setting Row makes that cell the whole selection";
    EXPECT_EQ(g.changes, 1);
    grid.SetRowSel(3);
    grid.SetCol(0);
    grid.SetColSel(3);
    EXPECT_EQ(g.changes, 2) << "columns do not change the block of rows";
    EXPECT_EQ(g.Shown(), (std::vector<int>{3, 4, 5}));
    grid.SetRow(5);  // the same block again? no: Row 5 alone
    EXPECT_EQ(g.changes, 3);
    grid.SetRowSel(5);
    EXPECT_EQ(g.changes, 3) << "no change, no notification";
    EXPECT_THROW(grid.SetRow(20), vb::RuntimeError);
}

TEST(GridSelection, DraggingUpAndShiftKeysExtendWholeRows) {
    Grid g;
    FlexGrid& grid = *g.grid;
    g.Mouse(QEvent::MouseButtonPress, 6);
    g.Mouse(QEvent::MouseMove, 4);
    g.Mouse(QEvent::MouseMove, 3);
    EXPECT_EQ(std::pair(grid.Row(), grid.RowSel()), std::pair(6, 3));
    EXPECT_EQ(std::pair(grid.Col(), grid.ColSel()), std::pair(0, 3));
    EXPECT_EQ(g.changes, 3);
    g.Mouse(QEvent::MouseButtonPress, 0);  // the heading row is not selectable
    EXPECT_EQ(grid.Row(), 1);
    g.Key(Qt::Key_Down, Qt::ShiftModifier);
    g.Key(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(std::pair(grid.Row(), grid.RowSel()), std::pair(1, 3));
    g.Key(Qt::Key_Up);
    EXPECT_EQ(grid.Row(), 1) << "a plain key moves from Row and stops at the first row";
    EXPECT_EQ(grid.RowSel(), 1);
    g.Key(Qt::Key_End);
    EXPECT_EQ(grid.Row(), 19);
    EXPECT_EQ(g.Shown(), (std::vector<int>{19}));
}

TEST(GridColumns, NoTextIsCutAndTheUserDragsABorder) {
    Grid g;
    FlexGrid& grid = *g.grid;
    const double widths[4] = {375, 1005, 1020, 340};  // as the result list sets them
    for (int col = 0; col < 4; ++col) grid.SetColWidth(col, widths[col]);
    QTableWidget& table = *grid.Table();
    // Values of 0 to 8 decimals, and the units that came out as "..." before.
    for (int d = 0; d <= 8; ++d) {
        grid.SetTextMatrix(d + 1, 2, QString::number(-12345678.12345678, 'f', d));
        grid.SetTextMatrix(d + 1, 3, QString::fromUtf8(d % 2 ? "μ2" : "pcs"));
    }
    grid.SetFontSize(12);  // a larger font refits what is there
    for (int row = 1; row <= 9; ++row)
        for (int col : {2, 3}) {
            const QString text = grid.TextMatrix(row, col);
            EXPECT_LE(table.fontMetrics().horizontalAdvance(text) + 6, table.columnWidth(col)) << text.toStdString();
        }
    EXPECT_EQ(table.columnWidth(1), 67) << "a column with room keeps its width";

    const int before = table.columnWidth(1), border = table.columnViewportPosition(2);
    for (const auto& [type, x] : {std::pair{QEvent::MouseButtonPress, border},
                                  {QEvent::MouseMove, border + 40},
                                  {QEvent::MouseButtonRelease, border + 40}}) {
        const QPointF at(x, 10);
        QMouseEvent e(type, at, table.viewport()->mapToGlobal(at), Qt::LeftButton,
                      type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(table.viewport(), &e);
    }
    EXPECT_EQ(table.columnWidth(1), before + 40);
    EXPECT_EQ(g.changes, 0) << "dragging a border selects nothing";
}

}  // namespace
