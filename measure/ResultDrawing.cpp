#include "ResultDrawing.h"

#include <algorithm>

#include "Convert.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

void DrawMeasureResults(frmMain& f) {
    const VariableDefinition& v = Var();
    vb::PictureBox& pic = *f.picStillView;
    const int first = std::min(f.grdResult->Row(), f.grdResult->RowSel());
    const int last = std::max(f.grdResult->Row(), f.grdResult->RowSel());
    const int count = std::min<int>(f.ResultCount, ResultTableSize - 1);

    // Rising order: later rows lie over earlier ones.
    for (int i = 1; i <= count; ++i) {
        const ResultRecord& r = v.ResultTable[i];
        // A record short of the points its kind reads has nothing sound to draw.
        const MeasureCommand* command = FindMeasure(r.Kind);
        if (!command || !command->draw || static_cast<int>(r.Points.size()) <= command->lastPoint) continue;

        const int slot = (first <= i && i <= last) ? 2 : 1;
        pic.SetForeColor(v.MeasureValueColor[slot]);
        const std::optional<Point2D> at = command->draw({pic, v.MeasureLineColor[slot], i, r.Points});
        if (!at) continue;
        pic.CurrentX = at->X;
        pic.CurrentY = at->Y;
        pic.Print(vb::Format(r.Value, f.ResultFormat));
    }
}

}  // namespace tavix
