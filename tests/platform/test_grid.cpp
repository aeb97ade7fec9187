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
    EXPECT_EQ(grid.Row(), 1);
    EXPECT_EQ(grid.RowSel(), 1);
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
    EXPECT_EQ(grid.Row(), 6);
    EXPECT_EQ(grid.RowSel(), 3);
    EXPECT_EQ(grid.Col(), 0);
    EXPECT_EQ(grid.ColSel(), 3);
    EXPECT_EQ(g.changes, 3);
    g.Mouse(QEvent::MouseButtonPress, 0);  // the heading row is not selectable
    EXPECT_EQ(grid.Row(), 1);
    g.Key(Qt::Key_Down, Qt::ShiftModifier);
    g.Key(Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(grid.Row(), 1);
    EXPECT_EQ(grid.RowSel(), 3);
    g.Key(Qt::Key_Up);
    EXPECT_EQ(grid.Row(), 1) << "a plain key moves from Row and stops at the first row";
    EXPECT_EQ(grid.RowSel(), 1);
    g.Key(Qt::Key_End);
    EXPECT_EQ(grid.Row(), 19);
    EXPECT_EQ(g.Shown(), (std::vector<int>{19}));
}

}  // namespace
