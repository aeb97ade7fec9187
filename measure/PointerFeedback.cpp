#include "PointerFeedback.h"

#include "CalcModule.h"
#include "CrossLines.h"
#include "frmMain.h"

namespace tavix {

namespace {

void FreeEnd(frmMain& f, int k, double x, double y) {
    vb::LineControl* line = f.linMeasure[k];
    line->SetPoints(line->X1(), line->Y1(), x, y);
}

// Circle k through a, b and the pointer; hidden while no circle goes through them.
void CircleThrough(frmMain& f, int k, const Point2D& a, const Point2D& b, const Point2D& p) {
    vb::Shape* shape = f.shaMeasure[k];
    Point2D center;
    double radius = 0;
    if (!CircleFrom3Points(a, b, p, center, radius)) {
        shape->SetVisible(false);
        return;
    }
    shape->Move(center.X - radius, center.Y - radius, radius + radius, radius + radius);
    shape->SetVisible(true);
}

// The base line moved onto the pointer, and the perpendicular that joins them.
void ParallelThrough(frmMain& f, const Point2D& p) {
    const Point2D& a = f.WorkPoints[1];
    const Point2D& b = f.WorkPoints[2];
    Point2D foot;
    double distance = 0;
    if (!PerpendicularFoot(a, b, p, foot, distance)) foot = a;
    const Point2D offset{p.X - foot.X, p.Y - foot.Y};
    f.linMeasure[2]->SetPoints(a.X + offset.X, a.Y + offset.Y, b.X + offset.X, b.Y + offset.Y);
    f.linMeasure[3]->SetPoints(p.X, p.Y, foot.X, foot.Y);
}

}  // namespace

void picStillView_MouseMove(frmMain& f, int16_t /*Button*/, int16_t /*Shift*/, float X, float Y) {
    const int n = static_cast<int>(f.WorkPoints.size()) - 1;
    const Point2D p{X, Y};
    switch (f.CommandMode) {
    case CommandMode::FirstCrossLine:
    case CommandMode::SecondCrossLine: MoveCrossLine(f, X, Y); break;
    case CommandMode::Calibration:
    case CommandMode::Distance:
    case CommandMode::Perpendicular:
        if (n == 1) FreeEnd(f, 1, X, Y);
        break;
    case CommandMode::Circle:
        if (n == 2) CircleThrough(f, 1, f.WorkPoints[1], f.WorkPoints[2], p);
        break;
    case CommandMode::TwoCircles:
        if (n == 2) CircleThrough(f, 1, f.WorkPoints[1], f.WorkPoints[2], p);
        if (n == 5) CircleThrough(f, 2, f.WorkPoints[4], f.WorkPoints[5], p);
        break;
    case CommandMode::Area:
    case CommandMode::ThreePointAngle:
        if (n >= 1) FreeEnd(f, n, X, Y);
        break;
    case CommandMode::TwoLineAngle:
        if (n == 1) FreeEnd(f, 1, X, Y);
        if (n == 3) FreeEnd(f, 2, X, Y);
        break;
    case CommandMode::ParallelDistance:
        if (n == 1) FreeEnd(f, 1, X, Y);
        if (n == 2) ParallelThrough(f, p);
        break;
    default: break;
    }
}

}  // namespace tavix
