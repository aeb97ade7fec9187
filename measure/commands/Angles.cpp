// Angles: by three points (ray, vertex, ray), or by two lines and a side point that picks
// the inner or the outer angle. Both are listed and drawn as an angle by three points.
#include <cmath>

#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "Errors.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

namespace {

// Deliberately this literal, not 2 * Pi: results must agree to the last bit.
constexpr double FullTurn = 6.28318530717958;
constexpr Listed kFailed{20133, false};

// Runs body; a non-finite degree value raised inside it counts as a failed angle.
template <class F>
bool RunsThrough(F&& body) {
    return vb::Trap(std::forward<F>(body)) == 0;
}

// WorkPoints 1 to 3 hold ray, vertex, ray.
Listed ListAngle(frmMain& f, double angle) {
    double degrees = 0;
    if (!RunsThrough([&] { degrees = RadianToDegree(angle); })) return kFailed;
    ResultRecord& r = StoreCopy(f, CommandMode::ThreePointAngle);
    r.Value = degrees;
    WriteRow(f, GST(11139), vb::Format(r.Value, f.ResultFormat), GST(11140));
    return {};
}

void Follow(frmMain& f, int n, const Point2D& p) {
    if (n >= 1) MoveLineEnd(f, n, p.X, p.Y);
}

// ---- By three points ----

void ThreePointClick(frmMain& f, int n, double x, double y) {
    switch (n) {
    case 1:
        DispGuidance(f, 48);
        StartLine(f, 1, x, y);
        break;
    case 2:
        DispGuidance(f, 49);
        MoveLineEnd(f, 1, x, y);
        StartLine(f, 2, x, y);
        break;
    default: FinishCommand(f);
    }
}

void ThreePointBack(frmMain& f, int n) {
    if (n == 1)
        StepBack(f, {47, 0, 1});
    else
        StepBack(f, {48, 1, 2});
}

Listed ThreePointList(frmMain& f, const Calibrated&) {
    const std::vector<Point2D>& wp = f.WorkPoints;
    double angle = 0;
    if (!VertexAngle(wp[1], wp[2], wp[3], angle)) return kFailed;
    return ListAngle(f, angle);
}

std::optional<Point2D> Draw(const ResultPen& pen) {
    pen.Line(1, 2);
    pen.Line(2, 3);
    return pen.P[2];
}

// ---- By two lines ----

void TwoLineClick(frmMain& f, int n, double x, double y) {
    switch (n) {
    case 1:
        DispGuidance(f, 53);
        StartLine(f, 1, x, y);
        break;
    case 2:
        DispGuidance(f, 54);
        MoveLineEnd(f, 1, x, y);
        break;
    case 3:
        DispGuidance(f, 55);
        StartLine(f, 2, x, y);
        break;
    case 4:
        DispGuidance(f, 56);
        MoveLineEnd(f, 2, x, y);
        break;
    default: FinishCommand(f);
    }
}

void TwoLineBack(frmMain& f, int n) {
    static constexpr int16_t guidance[] = {0, 52, 53, 54, 55};
    BackStep b{guidance[n], n - 1};
    if (n == 1) b.unloadLine1 = 1;
    if (n == 3) b.unloadLine1 = 2;
    StepBack(f, b);
}

void TwoLineFollow(frmMain& f, int n, const Point2D& p) {
    if (n == 1) MoveLineEnd(f, 1, p.X, p.Y);
    if (n == 3) MoveLineEnd(f, 2, p.X, p.Y);
}

Listed TwoLineList(frmMain& f, const Calibrated&) {
    std::vector<Point2D>& wp = f.WorkPoints;
    Point2D vertex;
    if (!LineIntersection(wp[1], wp[2], wp[3], wp[4], vertex)) return kFailed;
    // Copies: wp[1] and wp[3] are overwritten below.
    const Point2D ray1 = PointDistance(wp[1], vertex) > PointDistance(wp[2], vertex) ? wp[1] : wp[2];
    const Point2D ray2 = PointDistance(wp[3], vertex) > PointDistance(wp[4], vertex) ? wp[3] : wp[4];
    wp[1] = ray1;
    wp[2] = vertex;
    wp[3] = ray2;
    double angle = 0, a1 = 0, a2 = 0;
    if (!VertexAngle(wp[1], wp[2], wp[3], angle)) return kFailed;
    if (!VertexAngle(wp[1], wp[2], wp[5], a1) || !VertexAngle(wp[3], wp[2], wp[5], a2)) return kFailed;
    // A side point inside the inner angle splits it: A1 + A2 is the inner angle.
    bool outside = false;
    if (!RunsThrough([&] { outside = std::abs(RadianToDegree(a1 + a2) - RadianToDegree(angle)) >= 1.0; }))
        return kFailed;
    if (outside) angle = FullTurn - angle;
    return ListAngle(f, angle);
}

}  // namespace

constinit const MeasureCommand ThreePointAngleCommand{
    .mode = CommandMode::ThreePointAngle,
    .startGuidance = 47,
    .click = ThreePointClick,
    .back = ThreePointBack,
    .follow = Follow,
    .rows = [](int upper) { return upper >= 3 ? 1 : 0; },
    .list = ThreePointList,
    .lastPoint = 3,
    .draw = Draw,
};

constinit const MeasureCommand TwoLineAngleCommand{
    .mode = CommandMode::TwoLineAngle,
    .startGuidance = 52,
    .click = TwoLineClick,
    .back = TwoLineBack,
    .follow = TwoLineFollow,
    .rows = [](int upper) { return upper >= 5 ? 1 : 0; },
    .list = TwoLineList,  // stored as an angle by three points
};

}  // namespace tavix
