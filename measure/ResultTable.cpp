#include "ResultTable.h"

#include <algorithm>

#include "CommonModule.h"
#include "DialogHost.h"
#include "ResultDrawing.h"
#include "StillDisplay.h"
#include "TextFile.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr int kCols = 4;

void EmptyRow(vb::FlexGrid& g, int row) {
    for (int col = 0; col < kCols; ++col) g.SetTextMatrix(row, col, QString());
}

// Whole rows, as the program always selects them.
void SelectRow(vb::FlexGrid& g, int row) {
    g.SetRow(row);
    g.SetRowSel(row);
    g.SetCol(0);
    g.SetColSel(kCols - 1);
}

void Draw(frmMain& f) { DrawMeasureResults(f); }

}  // namespace

void ClearResults(frmMain& f) {
    vb::FlexGrid& g = *f.grdResult;
    for (int row = 1; row <= f.ResultCount; ++row) EmptyRow(g, row);
    SelectRow(g, 1);
    std::fill(Var().ResultTable.begin(), Var().ResultTable.end(), ResultRecord{});
    f.ResultCount = 0;
    f.ResultDirty = false;
    DispImage(f, false);
}

void cmdResultClear_Click(frmMain& f) {
    if (f.ResultCount == 0) return;
    if (AskYesNo(&f, 20070, 11070)) ClearResults(f);
}

void cmdResultRemove_Click(frmMain& f) {
    vb::FlexGrid& g = *f.grdResult;
    const int first = std::min(g.Row(), g.RowSel());
    int last = std::max(g.Row(), g.RowSel());
    const int count = f.ResultCount;
    if (first > count) return;
    if (!AskYesNo(&f, 20080, 11080)) return;
    last = std::min(last, count);

    auto& table = Var().ResultTable;
    int dest = first;
    for (int src = last + 1; src <= count; ++src, ++dest) {
        table[dest] = table[src];
        table[dest].No = static_cast<int16_t>(dest);
        // The texts move as shown: they are not formatted again.
        g.SetTextMatrix(dest, 0, QString::number(dest));
        for (int col = 1; col < kCols; ++col) g.SetTextMatrix(dest, col, g.TextMatrix(src, col));
    }
    for (int row = dest; row <= count; ++row) EmptyRow(g, row);
    f.ResultCount = static_cast<int16_t>(dest - 1);

    // On the first empty row, so no record is highlighted.
    SelectRow(g, f.ResultCount + 1);
    DispImage(f, false);
    // Rows left count as a change even when the list was saved before.
    f.ResultDirty = f.ResultCount >= 1;
    Draw(f);
}

void cmdResultSave_Click(frmMain& f) {
    if (f.ResultCount == 0) {
        vb::Host().MsgBox(GST(20090), vb::vbOKOnly | vb::vbExclamation, GST(11090), &f);
        return;
    }
    vb::CommonDialog& dlg = *f.cdlFile;
    dlg.FileName.clear();
    dlg.Filter = GST(11091);
    dlg.Flags = vb::cdlOFNOverwritePrompt | vb::cdlOFNPathMustExist | vb::cdlOFNNoReadOnlyReturn;
    dlg.ShowSave();
    const QString path = dlg.FileName;
    if (path.isEmpty()) return;

    vb::Host().SetBusy(true);
    const vb::FlexGrid& g = *f.grdResult;
    QStringList lines;
    for (int row = 1; row <= f.ResultCount; ++row) {
        QStringList cells;
        for (int col = 0; col < kCols; ++col) cells << g.TextMatrix(row, col);
        lines << cells.join(QLatin1Char(','));
    }
    // Through a file beside the target, so an existing file is never left half-written.
    const int err = vb::WriteTextFileSafely(path, lines);
    vb::Host().SetBusy(false);
    if (err == 0) {
        f.ResultDirty = false;
        return;
    }
    WriteLog(QStringLiteral("cmdResultSave_Click Error.(%1)").arg(err));
    vb::Host().MsgBox(GST(20092), vb::vbOKOnly | vb::vbExclamation, GST(11092), &f);
}

void grdResult_SelChange(frmMain& f) {
    // Drawn results cannot be recoloured in place: paint anew.
    DispImage(f, false);
    Draw(f);
}

}  // namespace tavix
