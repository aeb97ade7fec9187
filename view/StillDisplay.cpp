#include "StillDisplay.h"

#include "Convert.h"
#include "frmMain.h"

namespace tavix {

void cboScale_Click(frmMain& f) {
    VariableDefinition& v = Var();
    const double old = v.ZoomFactor > 0 ? v.ZoomFactor : 1.0;
    v.ZoomFactor = vb::Val(f.cboScale->Text().right(3));
    if (old == v.ZoomFactor) return;
    const double ratio = v.ZoomFactor / old;
    // Points are in displayed pixels from the centre, so the zoom only scales them.
    for (int i = 1; i <= f.ResultCount; ++i) {
        std::vector<Point2D>& points = v.ResultTable[i].Points;
        for (size_t k = 1; k < points.size(); ++k) {
            points[k].X *= ratio;
            points[k].Y *= ratio;
        }
    }
    if (f.ViewMode != 0) {
        if (f.Hooks.DispImage) f.Hooks.DispImage(f);
        if (f.Hooks.DrawMeasureResults) f.Hooks.DrawMeasureResults(f);
    } else if (f.Hooks.FitCameraView) {
        f.Hooks.FitCameraView(f);
    }
}

}  // namespace tavix
