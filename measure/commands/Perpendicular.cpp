// Perpendiculars: a base line by two points, then from every further point the perpendicular
// onto it, each a row; a right click after the base line ends it.
#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "MeasureCommands.h"
#include "frmMain.h"

namespace tavix {

namespace {

void Click(frmMain& f, int n, double x, double y) {
    if (n == 1) {
        DispGuidance(f, 44);
        StartLine(f, 1, x, y);
        return;
    }
    if (n == 2) {
        DispGuidance(f, 45);
        MoveLineEnd(f, 1, x, y);
        return;
    }
    if (n == 3) DispGuidance(f, 46);
    // Each point from the third on becomes a row; one that could not be listed is dropped.
    if (!RowsFit(f, n - 2)) {
        RefuseFullResultList(f);
        CutTo(f, n - 1);
        return;
    }
    Point2D foot;
    double distance = 0;
    if (!PerpendicularFoot(f.WorkPoints[1], f.WorkPoints[2], f.WorkPoints[n], foot, distance)) {
        FailureBox(f, 20131);
        CutTo(f, n - 1);
        return;
    }
    vb::LineControl* line = f.linMeasure.Load(n - 1);
    line->SetPoints(f.WorkPoints[n].X, f.WorkPoints[n].Y, foot.X, foot.Y);
    line->SetVisible(true);
}

void Back(frmMain& f, int n) {
    if (n == 1)
        StepBack(f, {43, 0, 1});
    else if (n == 2)
        StepBack(f, {44, 1});  // line 1 stays; its free end follows the pointer
    else
        FinishCommand(f);
}

void Follow(frmMain& f, int n, const Point2D& p) {
    if (n == 1) MoveLineEnd(f, 1, p.X, p.Y);
}

Listed List(frmMain& f, const Calibrated& c) {
    // A point whose foot fails is skipped and the next one takes its row, so rows stay
    // without gaps; at the end ResultCount is the last row written, never one above it.
    const std::vector<Point2D>& wp = f.WorkPoints;
    const int16_t before = f.ResultCount - 1;
    int16_t written = 0;
    for (size_t i = 3; i < wp.size(); ++i) {
        Point2D foot;
        double distance = 0;
        if (!PerpendicularFoot(wp[1], wp[2], wp[i], foot, distance)) continue;
        f.ResultCount = before + written + 1;
        ResultRecord& r = Store(f, CommandMode::Perpendicular, 4);
        r.Points[1] = wp[1];
        r.Points[2] = wp[2];
        r.Points[3] = wp[i];
        r.Points[4] = foot;
        r.Value = distance * c.factor;
        WriteRow(f, GST(11137), vb::Format(r.Value, f.ResultFormat), c.unit);
        ++written;
    }
    f.ResultCount = before + written;
    return {};
}

std::optional<Point2D> Draw(const ResultPen& pen) {
    pen.Line(1, 2);
    pen.Line(3, 4);
    return MidPoint(pen.P[3], pen.P[4]);
}

}  // namespace

constinit const MeasureCommand PerpendicularCommand{
    .mode = CommandMode::Perpendicular,
    .startGuidance = 43,
    .click = Click,
    .back = Back,
    .follow = Follow,
    .rows = [](int upper) { return upper >= 3 ? upper - 2 : 0; },
    .list = List,
    .lastPoint = 4,
    .draw = Draw,
};

}  // namespace tavix
