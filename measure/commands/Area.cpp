// Polygon area: corners joined as clicked; a click near the first corner asks to close it.
#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "DialogHost.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr double kCloseDistance = 3.0;

void Click(frmMain& f, int n, double x, double y) {
    DispGuidance(f, 51);
    if (n > 3 && PointDistance(f.WorkPoints[1], f.WorkPoints[n]) < kCloseDistance) {
        const int answer = vb::Host().MsgBox(GST(20120), vb::vbYesNo | vb::vbQuestion, GST(11120), &f);
        // The closing click is never a corner.
        CutTo(f, n - 1);
        if (answer == vb::vbYes) FinishCommand(f);
        return;
    }
    if (n >= 2) MoveLineEnd(f, n - 1, x, y);
    StartLine(f, n, x, y);
}

void Back(frmMain& f, int n) {
    if (n == 1)
        StepBack(f, {50, 0, 1});
    else
        StepBack(f, {51, n - 1, n});
}

void Follow(frmMain& f, int n, const Point2D& p) {
    if (n >= 1) MoveLineEnd(f, n, p.X, p.Y);
}

Listed List(frmMain& f, const Calibrated& c) {
    double area = 0;
    if (!PolygonArea(f.WorkPoints, area)) return {20132, false};
    ResultRecord& r = StoreCopy(f, CommandMode::Area);
    r.Value = area;
    WriteRow(f, GST(11138), vb::Format(r.Value, f.ResultFormat), c.unit + QStringLiteral("2"));
    return {};
}

std::optional<Point2D> Draw(const ResultPen& pen) {
    const int n = static_cast<int>(pen.P.size()) - 1;
    for (int k = 1; k < n; ++k) pen.Line(k, k + 1);
    pen.Line(n, 1);
    return pen.P[1];
}

}  // namespace

constinit const MeasureCommand AreaCommand{
    .mode = CommandMode::Area,
    .startGuidance = 50,
    .click = Click,
    .back = Back,
    .follow = Follow,
    .rows = [](int upper) { return upper >= 1 ? 1 : 0; },
    .list = List,
    .lastPoint = 1,
    .draw = Draw,
};

}  // namespace tavix
