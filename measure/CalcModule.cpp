#include "CalcModule.h"

#include <cmath>

#include "Errors.h"

// Results must match to the last bit, so a*b+c stays two roundings even where FMA exists.
#if defined(__clang__)
#pragma clang fp contract(off)
#elif defined(__GNUC__)
#pragma GCC optimize("fp-contract=off")
#endif

namespace tavix {

namespace {

// A float error shows as a value that is not finite: overflow gives inf, x/0 inf,
// 0/0 and any NaN operand NaN. Checking every value a step produced catches it
// where the step happened, before anything further is written.
template <class... T>
bool Finite(T... values) {
    return (std::isfinite(values) && ...);
}

double Sgn(double value) { return value > 0 ? 1.0 : value < 0 ? -1.0 : 0.0; }

double Checked(double value) {
    if (!std::isfinite(value)) vb::Raise(vb::ErrOverflow);
    return value;
}

// Half the positive span added to the lower value: the same bits in either argument order,
// and no overflow where only the sum would overflow.
double Middle(double a, double b) { return a < b ? (b - a) / 2 + a : (a - b) / 2 + b; }

}  // namespace

double RadianToDegree(double Radian) { return Checked(Radian * 180.0 / Pi); }

double PointDistance(const Point2D& A, const Point2D& B) {
    const double dx = std::abs(A.X - B.X);
    const double dy = std::abs(A.Y - B.Y);
    if (!Finite(dx, dy)) return 0;
    // Axis-parallel pairs stay exact, without a square root.
    if (dx == 0) return dy;
    if (dy == 0) return dx;
    const double d = std::sqrt(dx * dx + dy * dy);
    return Finite(d) ? d : 0;
}

double PointAtan2(double Y, double X) {
    // The sign tests below are the first step; a NaN there is an invalid operation.
    if (!Finite(X, Y)) return 0;
    if (X == 0 && Y == 0) return 0;
    if (X == 0) return Sgn(Y) * Pi / 2;
    // The quotient is checked by itself: its overflow would hide in the arctangent.
    const double q = Y / X;
    if (!Finite(q)) return 0;
    if (X > 0) return std::atan(q);
    // The negative X axis is +Pi, never -Pi.
    if (Y == 0) return Pi;
    return std::atan(q) + Sgn(Y) * Pi;
}

Point2D MidPoint(const Point2D& A, const Point2D& B) {
    Point2D m;
    m.X = Checked(Middle(A.X, B.X));
    m.Y = Checked(Middle(A.Y, B.Y));
    return m;
}

bool PerpendicularFoot(const Point2D& L1, const Point2D& L2, const Point2D& P, Point2D& Foot, double& Distance) {
    const double rise = L2.Y - L1.Y;
    if (!Finite(rise)) return false;
    // Coinciding L1 and L2 land here too and still get a foot.
    if (rise == 0) {
        if (!Finite(P.X)) return false;
        Foot.X = P.X;
        Foot.Y = L1.Y;
        const double d = std::abs(P.Y - L1.Y);
        if (!Finite(d)) return false;
        Distance = d;
        return true;
    }
    const double run = L2.X - L1.X;
    if (!Finite(run)) return false;
    if (run == 0) {
        if (!Finite(P.Y)) return false;
        Foot.X = L1.X;
        Foot.Y = P.Y;
        const double d = std::abs(P.X - L1.X);
        if (!Finite(d)) return false;
        Distance = d;
        return true;
    }
    const double m = rise / run;
    if (!Finite(m)) return false;
    const double n = -1.0 / m;
    if (!Finite(n)) return false;
    const double fx = (m * L1.X + (P.Y - L1.Y) - n * P.X) / (m - n);
    if (!Finite(fx)) return false;
    Foot.X = fx;
    const double fy = (Foot.X - L1.X) * m + L1.Y;
    if (!Finite(fy)) return false;
    Foot.Y = fy;
    const double d = std::sqrt((P.X - Foot.X) * (P.X - Foot.X) + (P.Y - Foot.Y) * (P.Y - Foot.Y));
    if (!Finite(d)) return false;
    Distance = d;
    return true;
}

bool PolygonArea(const std::vector<Point2D>& Points, double& Area) {
    const VariableDefinition& v = Var();
    // Each of these would fault on 1/0 or a subscript before Area is written.
    if (v.ZoomFactor == 0) return false;
    if (v.CurrentProofNo < 0 || v.CurrentProofNo >= ProofTableSize) return false;
    if (Points.size() < 2) return false;
    const double value = v.ProofTable[v.CurrentProofNo].Value;
    const double zoom = v.ZoomFactor;
    // Calibrated per coordinate and in this order: the last bits depend on it.
    const auto cal = [&](double c) { return c * value * (1 / zoom); };
    const size_t u = Points.size() - 1;
    double sum = 0;
    for (size_t i = 1; i < u; ++i) {
        sum = sum + (cal(Points[i].X) * cal(Points[i + 1].Y) - cal(Points[i + 1].X) * cal(Points[i].Y));
        if (!Finite(sum)) return false;
    }
    sum = sum + (cal(Points[u].X) * cal(Points[1].Y) - cal(Points[1].X) * cal(Points[u].Y));
    if (!Finite(sum)) return false;
    Area = std::abs(sum / 2);
    return true;
}

bool CircleFrom3Points(const Point2D& A, const Point2D& B, const Point2D& C, Point2D& Center, double& Radius) {
    const double dx1 = (B.X - A.X) * 2;
    const double dx2 = (C.X - A.X) * 2;
    const double dy1 = (B.Y - A.Y) * 2;
    const double dy2 = (C.Y - A.Y) * 2;
    if (!Finite(dx1, dx2, dy1, dy2)) return false;
    const double q1 = -B.X * B.X + A.X * A.X - B.Y * B.Y + A.Y * A.Y;
    if (!Finite(q1)) return false;
    const double q2 = -C.X * C.X + A.X * A.X - C.Y * C.Y + A.Y * A.Y;
    if (!Finite(q2)) return false;
    const double d = dx1 * dy2 - dx2 * dy1;
    if (!Finite(d) || d == 0) return false;
    const double cx = (q2 * dy1 - q1 * dy2) / d;
    if (!Finite(cx)) return false;
    Center.X = cx;
    const double cy = (dx2 * q1 - dx1 * q2) / d;
    if (!Finite(cy)) return false;
    Center.Y = cy;
    // PointDistance traps its own overflow: a centre too far away gives radius 0, still True.
    Radius = PointDistance(Center, A);
    return true;
}

bool LineIntersection(const Point2D& A1, const Point2D& A2, const Point2D& B1, const Point2D& B2, Point2D& Point) {
    const double d = (A1.X - A2.X) * (B2.Y - B1.Y) - (B1.X - B2.X) * (A2.Y - A1.Y);
    if (!Finite(d) || d == 0) return false;
    const double ca = A1.X * A2.Y - A2.X * A1.Y;
    const double cb = B1.X * B2.Y - B1.Y * B2.X;
    if (!Finite(ca, cb)) return false;
    const double px = (cb * (A1.X - A2.X) - ca * (B1.X - B2.X)) / d;
    if (!Finite(px)) return false;
    Point.X = px;
    const double py = (ca * (B2.Y - B1.Y) - cb * (A2.Y - A1.Y)) / d;
    if (!Finite(py)) return false;
    Point.Y = py;
    return true;
}

bool VertexAngle(const Point2D& A, const Point2D& V, const Point2D& B, double& Angle) {
    // A distance that overflowed comes back as 0 and so fails here as a ray of length 0.
    const double l = PointDistance(V, A) * PointDistance(V, B);
    if (!Finite(l) || l == 0) return false;
    const double c = ((B.Y - V.Y) * (A.Y - V.Y) + (B.X - V.X) * (A.X - V.X)) / l;
    if (!Finite(c)) return false;
    // Rounding can push the cosine just outside [-1, 1].
    if (c >= 1.0) {
        Angle = 0;
        return true;
    }
    if (c <= -1.0) {
        Angle = Pi;
        return true;
    }
    const double s = std::sqrt(-c * c + 1.0);
    if (!Finite(s)) return false;
    const double q = -c / s;
    if (!Finite(q)) return false;
    // arccos(c) built from the arctangent; this form decides the last bits.
    const double angle = std::atan(q) + 2 * std::atan(1.0);
    if (!Finite(angle)) return false;
    Angle = angle;
    return true;
}

}  // namespace tavix
