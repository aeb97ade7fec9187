// Distance between two points: a rubber line from the first to the pointer.
#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

namespace {

void Click(frmMain& f, int n, double x, double y) {
    if (n == 1) {
        DispGuidance(f, 33);
        StartLine(f, 1, x, y);
    } else {
        FinishCommand(f);
    }
}

void Back(frmMain& f, int) { StepBack(f, {32, 0, 1}); }

void Follow(frmMain& f, int n, const Point2D& p) {
    if (n == 1) MoveLineEnd(f, 1, p.X, p.Y);
}

Listed List(frmMain& f, const Calibrated& c) {
    const std::vector<Point2D>& wp = f.WorkPoints;
    ResultRecord& r = StoreCopy(f, CommandMode::Distance);
    r.Value = PointDistance(wp[1], wp[2]) * c.factor;
    WriteRow(f, GST(11132), vb::Format(r.Value, f.ResultFormat), c.unit);
    return {};
}

std::optional<Point2D> Draw(const ResultPen& pen) {
    pen.Line(1, 2);
    return MidPoint(pen.P[1], pen.P[2]);
}

}  // namespace

constinit const MeasureCommand DistanceCommand{
    .mode = CommandMode::Distance,
    .startGuidance = 32,
    .click = Click,
    .back = Back,
    .follow = Follow,
    .rows = [](int upper) { return upper >= 2 ? 1 : 0; },
    .list = List,
    .lastPoint = 2,
    .draw = Draw,
};

}  // namespace tavix
