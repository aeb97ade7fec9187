// Distance to a parallel: a base line by two points, then the parallel through the pointer and
// the perpendicular between them follow it; the foot must fall on the base line.
#include <cmath>

#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr double kParallelTolerance = 1.0;

void Click(frmMain& f, int n, double x, double y) {
    if (n == 1) {
        DispGuidance(f, 58);
        StartLine(f, 1, x, y);
        return;
    }
    if (n == 2) {
        DispGuidance(f, 59);
        StartLine(f, 2, x, y);
        StartLine(f, 3, x, y);
        return;
    }
    const std::vector<Point2D>& p = f.WorkPoints;
    Point2D foot;
    double distance = 0;
    if (!PerpendicularFoot(p[1], p[2], p[3], foot, distance)) return;
    const double d1 = PointDistance(p[1], foot);
    const double d2 = PointDistance(p[2], foot);
    const double d12 = PointDistance(p[1], p[2]);
    // The foot must lie between the base points, so the parallel is beside the measured edge.
    if (std::abs(d12 - (d1 + d2)) < kParallelTolerance) {
        FinishCommand(f);
        return;
    }
    FailureBox(f, 20134);
    CutTo(f, 2);
}

void Back(frmMain& f, int n) {
    if (n == 1)
        StepBack(f, {57, 0, 1});
    else
        StepBack(f, {58, 1, 2, 3});
}

// The base line moved onto the pointer, and the perpendicular that joins them.
void Follow(frmMain& f, int n, const Point2D& p) {
    if (n == 1) MoveLineEnd(f, 1, p.X, p.Y);
    if (n != 2) return;
    const Point2D& a = f.WorkPoints[1];
    const Point2D& b = f.WorkPoints[2];
    Point2D foot;
    double distance = 0;
    if (!PerpendicularFoot(a, b, p, foot, distance)) foot = a;
    const Point2D offset{p.X - foot.X, p.Y - foot.Y};
    f.linMeasure[2]->SetPoints(a.X + offset.X, a.Y + offset.Y, b.X + offset.X, b.Y + offset.Y);
    f.linMeasure[3]->SetPoints(p.X, p.Y, foot.X, foot.Y);
}

// Points: the base line, the parallel, the perpendicular from foot to the third click.
Listed List(frmMain& f, const Calibrated& c) {
    const std::vector<Point2D>& wp = f.WorkPoints;
    Point2D foot;
    double distance = 0;
    if (!PerpendicularFoot(wp[1], wp[2], wp[3], foot, distance)) return {20131, true};
    const Point2D offset{wp[3].X - foot.X, wp[3].Y - foot.Y};
    ResultRecord& r = Store(f, CommandMode::ParallelDistance, 6);
    r.Points[1] = wp[1];
    r.Points[2] = wp[2];
    r.Points[3] = Point2D{wp[1].X + offset.X, wp[1].Y + offset.Y};
    r.Points[4] = Point2D{wp[2].X + offset.X, wp[2].Y + offset.Y};
    r.Points[5] = foot;
    r.Points[6] = wp[3];
    r.Value = distance * c.factor;
    WriteRow(f, GST(11132), vb::Format(r.Value, f.ResultFormat), c.unit);
    return {};
}

std::optional<Point2D> Draw(const ResultPen& pen) {
    pen.Line(1, 2);
    pen.Line(3, 4);
    pen.Line(5, 6);
    return MidPoint(pen.P[5], pen.P[6]);
}

}  // namespace

constinit const MeasureCommand ParallelDistanceCommand{
    .mode = CommandMode::ParallelDistance,
    .startGuidance = 57,
    .click = Click,
    .back = Back,
    .follow = Follow,
    .rows = [](int upper) { return upper >= 3 ? 1 : 0; },
    .list = List,
    .lastPoint = 6,
    .draw = Draw,
};

}  // namespace tavix
