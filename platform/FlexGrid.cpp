// The result grid.
#include "Controls.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QTableWidget>

#include "ControlSupport.h"

namespace vb {

using namespace detail;

namespace {

constexpr double DefaultColWidthTwips = 960;
constexpr int AlignGeneral = 9;

Qt::Alignment GridAlignment(int code, const QString& text) {
    if (code == AlignGeneral) {
        bool number = false;
        text.trimmed().toDouble(&number);
        return Qt::AlignVCenter | (number ? Qt::AlignRight : Qt::AlignLeft);
    }
    static const Qt::Alignment horizontal[] = {Qt::AlignLeft, Qt::AlignHCenter, Qt::AlignRight};
    static const Qt::Alignment vertical[] = {Qt::AlignTop, Qt::AlignVCenter, Qt::AlignBottom};
    return horizontal[code / 3] | vertical[code % 3];
}

}  // namespace

// ---- FlexGrid ----

void FlexGrid::CheckCol(int col) const {
    if (col < 0 || col >= Cols()) Raise(ErrInvalidArrayIndex);
}

void FlexGrid::CheckCell(int row, int col) const {
    if (row < 0 || row >= Rows()) Raise(ErrInvalidArrayIndex);
    CheckCol(col);
}

FlexGrid::FlexGrid(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index), table_(new QTableWidget(ParentFor(form, container))) {
    backColor_ = vbWindowBackground;
    foreColor_ = vbWindowText;
    table_->horizontalHeader()->hide();
    table_->horizontalHeader()->setMinimumSectionSize(0);
    table_->verticalHeader()->hide();
    table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setSelectionBehavior(QAbstractItemView::SelectRows);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->setWordWrap(false);
    table_->setCornerButtonEnabled(false);
    SetCols(2);
    SetRows(2);
    AttachWidget();
}

QWidget* FlexGrid::Widget() const { return table_; }

int FlexGrid::Rows() const { return table_->rowCount(); }

int FlexGrid::Cols() const { return table_->columnCount(); }

void FlexGrid::SetRows(int rows) {
    if (rows < 0) Raise(ErrInvalidPropertyValue);
    const int old = table_->rowCount();
    table_->setRowCount(rows);
    for (int r = old; r < rows; ++r)
        for (int c = 0; c < table_->columnCount(); ++c) ApplyAlignment(r, c);
}

void FlexGrid::SetCols(int cols) {
    if (cols < 0) Raise(ErrInvalidPropertyValue);
    const int old = table_->columnCount();
    table_->setColumnCount(cols);
    colAlign_.resize(static_cast<size_t>(cols), AlignGeneral);
    fixedAlign_.resize(static_cast<size_t>(cols), AlignGeneral);
    colWidth_.resize(static_cast<size_t>(cols), DefaultColWidthTwips);
    for (int c = old; c < cols; ++c) {
        table_->setColumnWidth(c, qRound(colWidth_[static_cast<size_t>(c)] / 15.0));
        for (int r = 0; r < table_->rowCount(); ++r) ApplyAlignment(r, c);
    }
}

void FlexGrid::SetFixedRows(int rows) {
    if (rows < 0 || rows > table_->rowCount()) Raise(ErrInvalidPropertyValue);
    fixedRows_ = rows;
    for (int r = 0; r < table_->rowCount(); ++r)
        for (int c = 0; c < table_->columnCount(); ++c) ApplyAlignment(r, c);
}

QString FlexGrid::TextMatrix(int row, int col) const {
    CheckCell(row, col);
    const QTableWidgetItem* item = table_->item(row, col);
    return item ? item->text() : QString();
}

void FlexGrid::SetTextMatrix(int row, int col, const QString& text) {
    CheckCell(row, col);
    ApplyAlignment(row, col);
    table_->item(row, col)->setText(text);
    // General alignment depends on the text.
    if ((row < fixedRows_ ? fixedAlign_ : colAlign_)[static_cast<size_t>(col)] == AlignGeneral)
        ApplyAlignment(row, col);
}

double FlexGrid::ColWidth(int col) const {
    CheckCol(col);
    return colWidth_[static_cast<size_t>(col)];
}

void FlexGrid::SetColWidth(int col, double twips) {
    CheckCol(col);
    if (twips < -1) Raise(ErrInvalidPropertyValue);
    if (twips < 0) twips = DefaultColWidthTwips;  // -1 is the default width
    colWidth_[static_cast<size_t>(col)] = twips;
    table_->setColumnWidth(col, qRound(twips / 15.0));
}

int FlexGrid::ColAlignment(int col) const {
    CheckCol(col);
    return colAlign_[static_cast<size_t>(col)];
}

void FlexGrid::SetColAlignment(int col, int alignment) {
    CheckCol(col);
    if (alignment < 0 || alignment > AlignGeneral) Raise(ErrInvalidPropertyValue);
    colAlign_[static_cast<size_t>(col)] = alignment;
    for (int r = fixedRows_; r < Rows(); ++r) ApplyAlignment(r, col);
}

int FlexGrid::FixedAlignment(int col) const {
    CheckCol(col);
    return fixedAlign_[static_cast<size_t>(col)];
}

void FlexGrid::SetFixedAlignment(int col, int alignment) {
    CheckCol(col);
    if (alignment < 0 || alignment > AlignGeneral) Raise(ErrInvalidPropertyValue);
    fixedAlign_[static_cast<size_t>(col)] = alignment;
    for (int r = 0; r < std::min(fixedRows_, Rows()); ++r) ApplyAlignment(r, col);
}

void FlexGrid::ApplyFont() {
    table_->setFont(font_);
    const int h = std::max(16, QFontMetrics(font_).height() + 3);
    table_->verticalHeader()->setMinimumSectionSize(h);
    table_->verticalHeader()->setDefaultSectionSize(h);
}

// Makes sure the cell has an item and gives it the look of its row: fixed rows are grey
// and cannot be selected.
void FlexGrid::ApplyAlignment(int row, int col) {
    QTableWidgetItem* item = table_->item(row, col);
    if (!item) {
        item = new QTableWidgetItem;
        table_->setItem(row, col, item);
    }
    const bool fixed = row < fixedRows_;
    const size_t c = static_cast<size_t>(col);
    item->setTextAlignment(GridAlignment(fixed ? fixedAlign_[c] : colAlign_[c], item->text()));
    if (fixed) {
        item->setFlags(Qt::ItemIsEnabled);
        item->setBackground(QGuiApplication::palette().button());
        item->setForeground(QGuiApplication::palette().buttonText());
    } else {
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        item->setData(Qt::BackgroundRole, QVariant());
        item->setData(Qt::ForegroundRole, QVariant());
    }
}

}  // namespace vb
