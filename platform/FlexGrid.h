#pragma once
// The result grid: Rows x Cols cells, FixedRows header rows.
#include <vector>

#include "Control.h"

class QEvent;
class QObject;
class QTableWidget;

namespace vb {

class FlexGrid : public Control {
public:
    FlexGrid(Form& form, ContainerBase* container, const QString& name, int index = -1);
    ~FlexGrid() override;
    QWidget* Widget() const override;
    int Rows() const;
    void SetRows(int rows);
    int Cols() const;
    void SetCols(int cols);
    int FixedRows() const { return fixedRows_; }
    void SetFixedRows(int rows);
    QString TextMatrix(int row, int col) const;
    void SetTextMatrix(int row, int col, const QString& text);
    // Width in twips.
    double ColWidth(int col) const;
    void SetColWidth(int col, double twips);
    // 0-2 left, 3-5 centre, 6-8 right, each top/centre/bottom; 9 general (numbers right).
    int ColAlignment(int col) const;
    void SetColAlignment(int col, int alignment);
    int FixedAlignment(int col) const;
    void SetFixedAlignment(int col, int alignment);
    QTableWidget* Table() const { return table_; }
    void ApplyFont() override;

    // The selection: the block from Row to RowSel and from Col to ColSel, either way round.
    // Setting Row collapses the rows to it, setting Col the columns, as a click does.
    int Row() const { return row_; }
    int RowSel() const { return rowSel_; }
    int Col() const { return col_; }
    int ColSel() const { return colSel_; }
    void SetRow(int row);
    void SetRowSel(int row);
    void SetCol(int col);
    void SetColSel(int col);
    // Once for every change of the block of selected rows: by mouse, keyboard or code.
    std::function<void()> OnSelChange;

    // For the grid's event filter.
    bool HandleInput(QObject* watched, QEvent* event);

private:
    void Select(int row, int rowSel, int col, int colSel, bool fromUser);
    void ShowSelection();
    // A row or column outside the grid is error 381.
    void CheckCol(int col) const;
    void CheckCell(int row, int col) const;
    void ApplyAlignment(int row, int col);
    // Widens the column to its widest text, never below the width set by code.
    void FitColumn(int col);
    int TextWidth(const QString& text) const;
    int BorderAt(int x) const;
    QTableWidget* table_;
    QObject* input_;
    int fixedRows_ = 1;
    std::vector<int> colAlign_;
    std::vector<int> fixedAlign_;
    std::vector<double> colWidth_;
    int row_ = 1, rowSel_ = 1, col_ = 0, colSel_ = 0;
    int resizing_ = -1;  // the column whose right border the user drags
};

}  // namespace vb
