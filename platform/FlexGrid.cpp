// The result grid.
#include "FlexGrid.h"

#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyle>
#include <QTableWidget>

#include "ControlSupport.h"
#include "DialogHost.h"

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

// Mouse and keys reach the grid's own selection, not Qt's.
class GridInput : public QObject {
public:
    explicit GridInput(FlexGrid* grid) : QObject(grid->Table()), grid_(grid) {}
    bool eventFilter(QObject* watched, QEvent* event) override { return grid_->HandleInput(watched, event); }

private:
    FlexGrid* grid_;
};

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
    // The selection is the grid's own (Row/RowSel); Qt only shows it.
    table_->setSelectionMode(QAbstractItemView::NoSelection);
    input_ = new GridInput(this);
    table_->installEventFilter(input_);
    table_->viewport()->installEventFilter(input_);
    table_->viewport()->setMouseTracking(true);  // for the cursor over a column border
    table_->setWordWrap(false);
    table_->setCornerButtonEnabled(false);
    SetCols(2);
    SetRows(2);
    AttachWidget();
    ShowSelection();
}

// The filter goes first: the table sends it events while it is destroyed, and this grid is
// no longer a grid by then.
FlexGrid::~FlexGrid() { delete input_; }

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
    // A value or unit is never cut: its column grows.
    if (const int need = TextWidth(text); need > table_->columnWidth(col)) table_->setColumnWidth(col, need);
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
    FitColumn(col);
}

int FlexGrid::TextWidth(const QString& text) const {
    if (text.isEmpty()) return 0;
    // The style's margins either side of a cell's text, and the grid line.
    const int margin = table_->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, table_) + 1;
    return QFontMetrics(table_->font()).horizontalAdvance(text) + 2 * margin + 1;
}

void FlexGrid::FitColumn(int col) {
    int width = qRound(colWidth_[static_cast<size_t>(col)] / 15.0);
    for (int r = 0; r < Rows(); ++r)
        if (const QTableWidgetItem* item = table_->item(r, col)) width = std::max(width, TextWidth(item->text()));
    table_->setColumnWidth(col, width);
}

// The column whose right border lies within a few pixels of x, or -1.
int FlexGrid::BorderAt(int x) const {
    constexpr int kGrip = 3;
    for (int c = 0; c < Cols(); ++c) {
        const int right = table_->columnViewportPosition(c) + table_->columnWidth(c);
        if (std::abs(x - right) <= kGrip) return c;
    }
    return -1;
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
    for (int c = 0; c < Cols(); ++c) FitColumn(c);
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

void FlexGrid::SetRow(int row) {
    if (row < 0 || row >= Rows()) Raise(ErrInvalidPropertyValue);
    Select(row, row, col_, colSel_, false);
}

void FlexGrid::SetRowSel(int row) {
    if (row < 0 || row >= Rows()) Raise(ErrInvalidPropertyValue);
    Select(row_, row, col_, colSel_, false);
}

void FlexGrid::SetCol(int col) {
    if (col < 0 || col >= Cols()) Raise(ErrInvalidPropertyValue);
    Select(row_, rowSel_, col, col, false);
}

void FlexGrid::SetColSel(int col) {
    if (col < 0 || col >= Cols()) Raise(ErrInvalidPropertyValue);
    Select(row_, rowSel_, col_, col, false);
}

void FlexGrid::Select(int row, int rowSel, int col, int colSel, bool fromUser) {
    const bool rowsChanged = std::minmax(row, rowSel) != std::minmax(row_, rowSel_);
    row_ = row;
    rowSel_ = rowSel;
    col_ = col;
    colSel_ = colSel;
    ShowSelection();
    if (!rowsChanged || !OnSelChange) return;
    if (fromUser)
        RunEvent(OnSelChange);
    else
        OnSelChange();
}

void FlexGrid::ShowSelection() {
    QItemSelectionModel* model = table_->selectionModel();
    if (!model || Rows() == 0 || Cols() == 0) return;
    const auto [top, bottom] = std::minmax(row_, rowSel_);
    const auto [left, right] = std::minmax(col_, colSel_);
    const QItemSelection block(table_->model()->index(std::max(top, fixedRows_), left),
                               table_->model()->index(bottom, right));
    model->select(top < fixedRows_ && bottom < fixedRows_ ? QItemSelection() : block,
                  QItemSelectionModel::ClearAndSelect);
}

bool FlexGrid::HandleInput(QObject* watched, QEvent* event) {
    const int first = fixedRows_, last = Rows() - 1;
    if (last < first) return false;
    if (watched == table_->viewport()) {
        const QEvent::Type type = event->type();
        if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove && type != QEvent::MouseButtonRelease)
            return false;
        auto* mouse = static_cast<QMouseEvent*>(event);
        // A column border is dragged to widen or narrow the column, as in any table.
        const int x = mouse->position().toPoint().x();
        if (resizing_ >= 0) {
            if (type == QEvent::MouseButtonRelease)
                resizing_ = -1;
            else
                table_->setColumnWidth(resizing_, std::max(4, x - table_->columnViewportPosition(resizing_)));
            return true;
        }
        const int border = BorderAt(x);
        if (!(mouse->buttons() & Qt::LeftButton)) {
            if (border >= 0)
                table_->viewport()->setCursor(Qt::SplitHCursor);
            else
                table_->viewport()->unsetCursor();
            return false;
        }
        if (type == QEvent::MouseButtonPress && border >= 0) {
            resizing_ = border;
            return true;
        }
        if (type == QEvent::MouseButtonRelease) return false;
        const QPoint at = mouse->position().toPoint();
        int row = table_->rowAt(at.y());
        if (row < 0) row = at.y() < 0 ? first : last;
        row = std::clamp(row, first, last);
        const int right = Cols() - 1;
        // A press or a shift-click starts or extends whole rows; a drag extends them.
        if (event->type() == QEvent::MouseButtonPress && !(mouse->modifiers() & Qt::ShiftModifier))
            Select(row, row, 0, right, true);
        else
            Select(row_, row, 0, right, true);
        return event->type() == QEvent::MouseButtonPress;
    }
    if (watched != table_ || event->type() != QEvent::KeyPress) return false;
    auto* key = static_cast<QKeyEvent*>(event);
    const int page = std::max(1, table_->viewport()->height() / std::max(1, table_->rowHeight(first)) - 1);
    const int from = key->modifiers() & Qt::ShiftModifier ? rowSel_ : row_;
    int to;
    switch (key->key()) {
    case Qt::Key_Up: to = from - 1; break;
    case Qt::Key_Down: to = from + 1; break;
    case Qt::Key_PageUp: to = from - page; break;
    case Qt::Key_PageDown: to = from + page; break;
    case Qt::Key_Home: to = first; break;
    case Qt::Key_End: to = last; break;
    default: return false;
    }
    to = std::clamp(to, first, last);
    if (key->modifiers() & Qt::ShiftModifier)
        Select(row_, to, col_, colSel_, true);
    else
        Select(to, to, col_, colSel_, true);
    table_->scrollToItem(table_->item(to, 0));
    return true;
}

}  // namespace vb
