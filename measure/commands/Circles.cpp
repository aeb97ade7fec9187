// Circles through three points: one circle, or two circles and the distance of their centres.
// After two points of a circle it follows the pointer as the third.
#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

namespace {

// Points: the centre, then the radius as X of the second.
void StoreCircle(frmMain& f, CommandMode kind, const Point2D& center, double radius, const QString& name,
                 const Calibrated& c) {
    ResultRecord& r = Store(f, kind, 2);
    r.Points[1] = center;
    r.Points[2].X = radius;
    r.Value = (radius + radius) * c.factor;
    WriteRow(f, name, vb::Format(r.Value, f.ResultFormat), c.unit);
}

std::optional<Point2D> DrawCircle(const ResultPen& pen) {
    pen.pic.Circle(pen.P[1].X, pen.P[1].Y, pen.P[2].X, pen.color);
    return Point2D{pen.pic.CurrentX, pen.pic.CurrentY};  // Circle leaves them at the centre
}

// ---- One circle ----

void CircleClick(frmMain& f, int n, double x, double y) {
    switch (n) {
    case 1: DispGuidance(f, 35); break;
    case 2:
        DispGuidance(f, 36);
        StartCircle(f, 1, x, y);
        break;
    default: FinishCommand(f);
    }
}

void CircleBack(frmMain& f, int n) {
    if (n == 1)
        StepBack(f, {34, 0});
    else
        StepBack(f, {35, 1, 0, 0, 1});
}

void CircleFollow(frmMain& f, int n, const Point2D& p) {
    if (n == 2) CircleThrough(f, 1, f.WorkPoints[1], f.WorkPoints[2], p);
}

Listed CircleList(frmMain& f, const Calibrated& c) {
    const std::vector<Point2D>& wp = f.WorkPoints;
    Point2D center;
    double radius = 0;
    if (!CircleFrom3Points(wp[1], wp[2], wp[3], center, radius)) return {20130, true};
    StoreCircle(f, CommandMode::Circle, center, radius, GST(11133), c);
    return {};
}

// ---- Two circles ----

void TwoCirclesClick(frmMain& f, int n, double x, double y) {
    static constexpr int16_t guidance[] = {0, 38, 39, 40, 41, 42};
    if (n >= 6) {
        FinishCommand(f);
        return;
    }
    DispGuidance(f, guidance[n]);
    if (n == 2) StartCircle(f, 1, x, y);
    if (n == 5) StartCircle(f, 2, x, y);
}

void TwoCirclesBack(frmMain& f, int n) {
    static constexpr int16_t guidance[] = {0, 37, 38, 39, 40, 41};
    BackStep b{guidance[n], n - 1};
    if (n == 2) b.unloadCircle = 1;
    if (n == 5) b.unloadCircle = 2;
    StepBack(f, b);
}

void TwoCirclesFollow(frmMain& f, int n, const Point2D& p) {
    if (n == 2) CircleThrough(f, 1, f.WorkPoints[1], f.WorkPoints[2], p);
    if (n == 5) CircleThrough(f, 2, f.WorkPoints[4], f.WorkPoints[5], p);
}

Listed TwoCirclesList(frmMain& f, const Calibrated& c) {
    const std::vector<Point2D>& wp = f.WorkPoints;
    Point2D center[3];
    double radius[3] = {};
    const bool ok1 = CircleFrom3Points(wp[1], wp[2], wp[3], center[1], radius[1]);
    const bool ok2 = CircleFrom3Points(wp[4], wp[5], wp[6], center[2], radius[2]);
    if (!ok1 || !ok2) return {20130, true};
    for (int i = 1; i <= 2; ++i) {
        StoreCircle(f, CommandMode::TwoCircles, center[i], radius[i], GST(11135, static_cast<double>(i)), c);
        f.ResultCount += 1;
    }
    // The third row is a distance between the centres, stored and drawn as one.
    ResultRecord& r = Store(f, CommandMode::Distance, 2);
    r.Points[1] = center[1];
    r.Points[2] = center[2];
    r.Value = PointDistance(center[1], center[2]) * c.factor;
    WriteRow(f, GST(11136), vb::Format(r.Value, f.ResultFormat), c.unit);
    return {};
}

}  // namespace

constinit const MeasureCommand CircleCommand{
    .mode = CommandMode::Circle,
    .startGuidance = 34,
    .click = CircleClick,
    .back = CircleBack,
    .follow = CircleFollow,
    .rows = [](int upper) { return upper >= 3 ? 1 : 0; },
    .list = CircleList,
    .lastPoint = 2,
    .draw = DrawCircle,
};

constinit const MeasureCommand TwoCirclesCommand{
    .mode = CommandMode::TwoCircles,
    .startGuidance = 37,
    .startRows = 3,
    .click = TwoCirclesClick,
    .back = TwoCirclesBack,
    .follow = TwoCirclesFollow,
    .rows = [](int upper) { return upper >= 6 ? 3 : 0; },
    .list = TwoCirclesList,
    .lastPoint = 2,
    .draw = DrawCircle,
};

}  // namespace tavix
