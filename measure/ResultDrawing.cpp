#include "ResultDrawing.h"

#include <algorithm>

#include "CalcModule.h"
#include "Convert.h"
#include "frmMain.h"

namespace tavix {

namespace {

// The highest point index a kind reads; -1 for a kind that is never stored.
int LastPointUsed(CommandMode kind) {
    switch (kind) {
    case CommandMode::Count: return 0;  // as many marks as there are points
    case CommandMode::Distance:
    case CommandMode::Circle:
    case CommandMode::TwoCircles: return 2;
    case CommandMode::Perpendicular: return 4;
    case CommandMode::Area: return 1;
    case CommandMode::ThreePointAngle: return 3;
    case CommandMode::ParallelDistance: return 6;
    default: return -1;
    }
}

}  // namespace

void DrawMeasureResults(frmMain& f) {
    const VariableDefinition& v = Var();
    vb::PictureBox& pic = *f.picStillView;
    const int first = std::min(f.grdResult->Row(), f.grdResult->RowSel());
    const int last = std::max(f.grdResult->Row(), f.grdResult->RowSel());
    const int count = std::min<int>(f.ResultCount, ResultTableSize - 1);

    // Rising order: later rows lie over earlier ones.
    for (int i = 1; i <= count; ++i) {
        const ResultRecord& r = v.ResultTable[i];
        const std::vector<Point2D>& P = r.Points;
        // A record short of the points its kind reads has nothing sound to draw.
        const int needed = LastPointUsed(r.Kind);
        if (needed < 0 || static_cast<int>(P.size()) <= needed) continue;

        const int slot = (first <= i && i <= last) ? 2 : 1;
        const uint32_t color = v.MeasureLineColor[slot];
        pic.SetForeColor(v.MeasureValueColor[slot]);
        const auto line = [&](int a, int b) { pic.Line(P[a].X, P[a].Y, P[b].X, P[b].Y, color); };

        Point2D at;
        switch (r.Kind) {
        case CommandMode::Count:
            for (size_t k = 1; k < P.size(); ++k) {
                const double x = P[k].X - 1, y = P[k].Y - 1;
                pic.LineBox(x, y, x + 2, y + 2, color, true);
                pic.CurrentX = P[k].X + 4;
                pic.CurrentY = P[k].Y + 4;
                pic.Print(vb::PrintForm(i));
            }
            continue;  // a count has no value text
        case CommandMode::Distance:
            line(1, 2);
            at = MidPoint(P[1], P[2]);
            break;
        case CommandMode::Circle:
        case CommandMode::TwoCircles:
            pic.Circle(P[1].X, P[1].Y, P[2].X, color);
            at = {pic.CurrentX, pic.CurrentY};  // Circle leaves them at the centre
            break;
        case CommandMode::Perpendicular:
            line(1, 2);
            line(3, 4);
            at = MidPoint(P[3], P[4]);
            break;
        case CommandMode::Area: {
            const int n = static_cast<int>(P.size()) - 1;
            for (int k = 1; k < n; ++k) line(k, k + 1);
            line(n, 1);
            at = P[1];
            break;
        }
        case CommandMode::ThreePointAngle:
            line(1, 2);
            line(2, 3);
            at = P[2];
            break;
        case CommandMode::ParallelDistance:
            line(1, 2);
            line(3, 4);
            line(5, 6);
            at = MidPoint(P[5], P[6]);
            break;
        default: break;
        }
        pic.CurrentX = at.X;
        pic.CurrentY = at.Y;
        pic.Print(vb::Format(r.Value, f.ResultFormat));
    }
}

}  // namespace tavix
