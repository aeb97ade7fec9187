// Plane geometry: the fixed cases, float errors, and random cross-checks against
// independent formulas.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "CalcModule.h"
#include "Errors.h"

using tavix::Pi;
using tavix::Point2D;
using tavix::Var;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// What the outputs hold before a call, to see which ones were written.
constexpr double kUnset = -7.25;
constexpr Point2D kUnsetPoint{kUnset, kUnset};

void ExpectPoint(const Point2D& got, const Point2D& want, const char* what) {
    EXPECT_EQ(got.X, want.X) << what;
    EXPECT_EQ(got.Y, want.Y) << what;
}

struct DistanceCase {
    const char* what;
    Point2D a, b;
    double want;
};

TEST(CalcPointDistance, Cases) {
    const DistanceCase cases[] = {
        {"a point with itself", {3, 4}, {3, 4}, 0},
        {"3-4-5", {0, 0}, {3, 4}, 5},
        {"3-4-5 reversed", {3, 4}, {0, 0}, 5},
        {"horizontal takes no square, so no overflow", {-1e200, 7}, {1e200, 7}, 2e200},
        {"vertical likewise", {7, 1e200}, {7, -1e200}, 2e200},
        {"squares overflow", {0, 0}, {1e200, 1e200}, 0},
        {"the difference overflows on a horizontal pair", {-1e308, 0}, {1e308, 0}, 0},
        {"NaN on a horizontal pair", {kNaN, 0}, {1, 0}, 0},
    };
    for (const DistanceCase& c : cases) EXPECT_EQ(tavix::PointDistance(c.a, c.b), c.want) << c.what;
}

struct Atan2Case {
    const char* what;
    double y, x, want;
};

TEST(CalcPointAtan2, Cases) {
    const Atan2Case cases[] = {
        {"origin", 0, 0, 0},
        {"negative X axis is +pi", 0, -1, Pi},
        {"positive Y axis", 5, 0, Pi / 2},
        {"negative Y axis", -5, 0, -Pi / 2},
        {"positive X axis", 0, 3, 0},
        {"first quadrant", 1, 1, std::atan(1.0)},
        {"second quadrant", 1, -1, std::atan(-1.0) + Pi},
        {"third quadrant", -1, -1, std::atan(1.0) - Pi},
        {"quotient overflows", 1e300, 1e-300, 0},
        {"NaN", kNaN, 1, 0},
        {"infinite X", 1, -std::numeric_limits<double>::infinity(), 0},
    };
    for (const Atan2Case& c : cases) EXPECT_EQ(tavix::PointAtan2(c.y, c.x), c.want) << c.what;
}

TEST(CalcRadianToDegree, UsesTheShortPiAndRaisesOnOverflow) {
    EXPECT_EQ(tavix::RadianToDegree(Pi), 180.0);
    EXPECT_EQ(tavix::RadianToDegree(0), 0.0);
    // The exact pi is a little more than the literal, and that must show.
    EXPECT_GT(tavix::RadianToDegree(std::numbers::pi), 180.0);
    for (double bad : {1e307, -1e307, kNaN}) {
        try {
            tavix::RadianToDegree(bad);
            ADD_FAILURE() << bad << " gave no error";
        } catch (const vb::RuntimeError& e) {
            EXPECT_EQ(e.Number, vb::ErrOverflow) << bad;
        }
    }
}

struct MidCase {
    const char* what;
    Point2D a, b, want;
};

TEST(CalcMidPoint, Cases) {
    const double big = std::ldexp(1.0, 1023);
    const MidCase cases[] = {
        {"plain", {1, 5}, {3, 1}, {2, 3}},
        {"equal values", {4, -2}, {4, -2}, {4, -2}},
        {"the sum would overflow, the span does not", {big, -big}, {1.5 * big, -big}, {1.25 * big, -big}},
    };
    for (const MidCase& c : cases) {
        ExpectPoint(tavix::MidPoint(c.a, c.b), c.want, c.what);
        ExpectPoint(tavix::MidPoint(c.b, c.a), c.want, c.what);
    }
    for (const Point2D& bad : {Point2D{-1e308, 0}, Point2D{0, kNaN}}) {
        try {
            tavix::MidPoint(bad, Point2D{1e308, 0});
            ADD_FAILURE() << bad.X << "," << bad.Y << " gave no error";
        } catch (const vb::RuntimeError& e) {
            EXPECT_EQ(e.Number, vb::ErrOverflow);
        }
    }
}

struct FootCase {
    const char* what;
    Point2D l1, l2, p;
    bool ok;
    Point2D foot;
    double distance;
};

TEST(CalcPerpendicularFoot, Cases) {
    const FootCase cases[] = {
        {"coinciding line points count as horizontal", {3, 4}, {3, 4}, {1, 2}, true, {1, 4}, 2},
        {"horizontal", {0, 1}, {5, 1}, {2, -3}, true, {2, 1}, 4},
        {"vertical", {2, 0}, {2, 5}, {-1, 3}, true, {2, 3}, 3},
        {"diagonal", {0, 0}, {2, 2}, {2, 0}, true, {1, 1}, std::sqrt(2.0)},
        {"foot beyond the segment", {0, 0}, {2, 2}, {6, 4}, true, {5, 5}, std::sqrt(2.0)},
        {"distance overflows after the foot", {0, 0}, {1, 1}, {1e308, -1e308}, false, {0, 0}, kUnset},
        {"horizontal distance overflows after the foot", {0, -1e308}, {1, -1e308}, {5, 1e308}, false, {5, -1e308}, kUnset},
        {"slope overflows", {0, 0}, {1e-300, 1e300}, {1, 1}, false, kUnsetPoint, kUnset},
        {"slope underflows to 0", {0, 0}, {1e300, 1e-300}, {1, 1}, false, kUnsetPoint, kUnset},
        {"Foot.Y overflows after Foot.X", {-1e308, 1e308}, {-5e307, 1.5e308}, {1e308, 1.5e308}, false, {2.5e307, kUnset}, kUnset},
        {"NaN point", {0, 0}, {1, 1}, {kNaN, 0}, false, kUnsetPoint, kUnset},
        {"NaN point on a horizontal line", {0, 1}, {5, 1}, {kNaN, 0}, false, kUnsetPoint, kUnset},
        {"NaN line", {0, kNaN}, {1, 1}, {0, 0}, false, kUnsetPoint, kUnset},
    };
    for (const FootCase& c : cases) {
        Point2D foot = kUnsetPoint;
        double distance = kUnset;
        EXPECT_EQ(tavix::PerpendicularFoot(c.l1, c.l2, c.p, foot, distance), c.ok) << c.what;
        ExpectPoint(foot, c.foot, c.what);
        EXPECT_EQ(distance, c.distance) << c.what;
    }
}

struct AreaCase {
    const char* what;
    double zoom;
    int16_t proofNo;
    std::vector<Point2D> corners;  // from element 1
    bool ok;
    double area;
};

TEST(CalcPolygonArea, Cases) {
    const AreaCase cases[] = {
        {"square at zoom 2", 2.0, 0, {{0, 0}, {10, 0}, {10, 10}, {0, 10}}, true, 25},
        {"reversed", 2.0, 0, {{0, 10}, {10, 10}, {10, 0}, {0, 0}}, true, 25},
        {"the current calibration's value", 1.0, 3, {{0, 0}, {4, 0}, {0, 3}}, true, 6 * 0.5 * 0.5},
        {"a single point", 1.0, 0, {{5, 5}}, true, 0},
        {"two points", 1.0, 0, {{0, 0}, {5, 5}}, true, 0},
        {"a bow tie cancels", 1.0, 0, {{0, 0}, {2, 2}, {2, 0}, {0, 2}}, true, 0},
        {"no zoom", 0.0, 0, {{0, 0}, {1, 0}, {0, 1}}, false, kUnset},
        {"calibration number below range", 1.0, -1, {{0, 0}, {1, 0}, {0, 1}}, false, kUnset},
        {"calibration number above range", 1.0, 10, {{0, 0}, {1, 0}, {0, 1}}, false, kUnset},
        {"no corner", 1.0, 0, {}, false, kUnset},
        {"products overflow", 1.0, 0, {{0, 0}, {1e200, 0}, {1e200, 1e200}}, false, kUnset},
        {"NaN corner", 1.0, 0, {{0, 0}, {kNaN, 0}, {0, 1}}, false, kUnset},
    };
    for (const AreaCase& c : cases) {
        tavix::ResetVariableDefinition();
        for (auto& proof : Var().ProofTable) proof.Value = 1.0;
        Var().ProofTable[3].Value = 0.5;
        Var().ZoomFactor = c.zoom;
        Var().CurrentProofNo = c.proofNo;
        // Element 0 is unused; garbage there must not count.
        std::vector<Point2D> points{{kNaN, 1e308}};
        points.insert(points.end(), c.corners.begin(), c.corners.end());
        double area = kUnset;
        EXPECT_EQ(tavix::PolygonArea(points, area), c.ok) << c.what;
        EXPECT_EQ(area, c.area) << c.what;
    }
    double area = kUnset;
    EXPECT_FALSE(tavix::PolygonArea({}, area)) << "empty array";
    EXPECT_EQ(area, kUnset);
    tavix::ResetVariableDefinition();
}

struct CircleCase {
    const char* what;
    Point2D a, b, c;
    bool ok;
    Point2D center;
    double radius;
};

TEST(CalcCircleFrom3Points, Cases) {
    const CircleCase cases[] = {
        {"unit circle", {1, 0}, {0, 1}, {-1, 0}, true, {0, 0}, 1},
        {"off the origin", {4, 3}, {1, 6}, {-2, 3}, true, {1, 3}, 3},
        {"on one line", {0, 0}, {1, 1}, {2, 2}, false, kUnsetPoint, kUnset},
        {"two coincide", {0, 0}, {0, 0}, {1, 5}, false, kUnsetPoint, kUnset},
        {"squares overflow", {1e200, 0}, {0, 1e200}, {-1e200, 0}, false, kUnsetPoint, kUnset},
        {"the determinant overflows", {-1.2e154, -1.2e154}, {1.2e154, 1.2e154}, {1.2e154, -1.2e154}, false, kUnsetPoint, kUnset},
        {"NaN", {0, 0}, {1, kNaN}, {0, 1}, false, kUnsetPoint, kUnset},
        {"centre Y overflows after centre X", {0, 0}, {1, 0}, {2, 1e-310}, false, {0.5, kUnset}, kUnset},
        // The distance routine swallows its overflow, so the circle stands with radius 0.
        {"radius overflows", {0, 0}, {1, 0}, {2, 1e-300}, true, {0.5, 1 / 1e-300}, 0},
    };
    for (const CircleCase& c : cases) {
        Point2D center = kUnsetPoint;
        double radius = kUnset;
        EXPECT_EQ(tavix::CircleFrom3Points(c.a, c.b, c.c, center, radius), c.ok) << c.what;
        ExpectPoint(center, c.center, c.what);
        EXPECT_EQ(radius, c.radius) << c.what;
    }
}

struct CrossCase {
    const char* what;
    Point2D a1, a2, b1, b2;
    bool ok;
    Point2D point;
};

TEST(CalcLineIntersection, Cases) {
    const CrossCase cases[] = {
        {"horizontal and vertical", {0, 1}, {1, 1}, {2, 0}, {2, 1}, true, {2, 1}},
        {"diagonals", {0, 0}, {4, 4}, {0, 4}, {4, 0}, true, {2, 2}},
        {"beyond both segments", {0, 0}, {1, 1}, {10, 0}, {10, 1}, true, {10, 10}},
        {"parallel", {0, 0}, {1, 1}, {0, 1}, {1, 2}, false, kUnsetPoint},
        {"the same line", {0, 0}, {1, 1}, {2, 2}, {3, 3}, false, kUnsetPoint},
        {"a line of two equal points", {1, 1}, {1, 1}, {0, 0}, {0, 5}, false, kUnsetPoint},
        {"products overflow", {1e200, 1e200}, {-1e200, 1e200}, {0, 0}, {0, 1}, false, kUnsetPoint},
        {"the determinant overflows", {-1e200, 0}, {1e200, 0}, {0, -1e200}, {0, 1e200}, false, kUnsetPoint},
        {"Y overflows after X", {0, 0}, {1e-200, 1e200}, {1, 0}, {1, 1}, false, {1, kUnset}},
        {"NaN", {0, 0}, {1, 1}, {kNaN, 0}, {0, 1}, false, kUnsetPoint},
    };
    for (const CrossCase& c : cases) {
        Point2D point = kUnsetPoint;
        EXPECT_EQ(tavix::LineIntersection(c.a1, c.a2, c.b1, c.b2, point), c.ok) << c.what;
        ExpectPoint(point, c.point, c.what);
    }
}

struct AngleCase {
    const char* what;
    Point2D a, v, b;
    bool ok;
    double angle, tolerance;
};

TEST(CalcVertexAngle, Cases) {
    const AngleCase cases[] = {
        {"A at the vertex", {2, 2}, {2, 2}, {5, 1}, false, kUnset, 0},
        {"B at the vertex", {5, 1}, {2, 2}, {2, 2}, false, kUnset, 0},
        {"one ray", {1, 0}, {0, 0}, {3, 0}, true, 0, 0},
        {"opposite rays", {1, 0}, {0, 0}, {-2, 0}, true, Pi, 0},
        {"cosine rounded above 1", {1, 5}, {0, 0}, {2, 10}, true, 0, 0},
        {"cosine rounded below -1", {1, 5}, {0, 0}, {-2, -10}, true, Pi, 0},
        // pi/2 as the double nearest the true value, not the short Pi / 2.
        {"right angle", {1, 0}, {0, 0}, {0, 1}, true, std::numbers::pi / 2, 0},
        {"45 degrees", {4, 3}, {3, 3}, {5, 5}, true, Pi / 4, 1e-14},
        {"a distance overflows", {1e200, 1e200}, {0, 0}, {1, 0}, false, kUnset, 0},
        {"the product of the distances overflows", {1e200, 0}, {0, 0}, {0, 1e200}, false, kUnset, 0},
        {"NaN", {1, kNaN}, {0, 0}, {1, 0}, false, kUnset, 0},
    };
    for (const AngleCase& c : cases) {
        double angle = kUnset;
        EXPECT_EQ(tavix::VertexAngle(c.a, c.v, c.b, angle), c.ok) << c.what;
        EXPECT_NEAR(angle, c.angle, c.tolerance) << c.what;
    }
}

// Each input is one where a plausible reordering (hypot, (a + b) / 2, c * v / z, acos, the
// squares summed in another order, ...) changes the last bit. The expected values come from
// an independent double-precision evaluation of the same steps.
TEST(CalcLastBits, FollowTheOrderOfOperations) {
    tavix::ResetVariableDefinition();
    Var().ProofTable[0].Value = 0.3;
    Var().ZoomFactor = 3.0;
    double area = 0, radius = 0, distance = 0, angle = 0;
    Point2D center, foot, cross;
    ASSERT_TRUE(tavix::PolygonArea({{}, {6, 1}, {2, 13}, {13, 2}}, area));
    ASSERT_TRUE(tavix::CircleFrom3Points({117.5, -373.3}, {-498.2, 371.4}, {-290.5, -284.5}, center, radius));
    ASSERT_TRUE(tavix::PerpendicularFoot({-12, 29}, {4, -9}, {9, 9}, foot, distance));
    ASSERT_TRUE(tavix::LineIntersection({16, 22}, {-6, -38}, {41, -41}, {-20, 12}, cross));
    ASSERT_TRUE(tavix::VertexAngle({-29, -29}, {-25, 19}, {-13, -10}, angle));
    tavix::ResetVariableDefinition();
    const struct {
        const char* what;
        double got, want;
    } cases[] = {
        {"RadianToDegree", tavix::RadianToDegree(0.03), 0x1.b808161039b84p+0},
        {"PointDistance", tavix::PointDistance({4.1, 1.9}, {5.0, 8.3}), 0x1.9da1530436b3cp+2},
        {"MidPoint", tavix::MidPoint({0.1, 0.7}, {0.7, 0.1}).X, 0x1.999999999999ap-2},
        {"PolygonArea", area, 0x1.c28f5c28f5c27p-2},
        {"circle centre X", center.X, 0x1.753e0e1fab322p+4},
        {"circle centre Y", center.Y, 0x1.5f6d53871e2b7p+7},
        {"circle radius", radius, 0x1.16840de08957dp+9},
        {"foot X", foot.X, -0x1.af48e27c15af6p+0},
        {"foot Y", foot.Y, 0x1.20134679ace04p+2},
        {"foot distance", distance, 0x1.72fb84996f463p+3},
        {"intersection X", cross.X, 0x1.215dade281a50p+2},
        {"intersection Y", cross.Y, -0x1.29c612e2667c2p+3},
        {"VertexAngle", angle, 0x1.e6e49700e4ef8p-2},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.want) << c.what;
}

// --- Random cross-checks ------------------------------------------------------------

constexpr int kSets = 10000;
constexpr double kRel = 1e-9;

// Relative agreement, with a floor of one pixel's worth so values near zero are judged
// on the scale of the picture coordinates.
bool Agrees(double got, double want, double floor = 1.0) {
    return std::abs(got - want) <= kRel * std::max(std::abs(want), floor);
}

struct RandomPoints {
    std::mt19937_64 engine{20240611};
    std::uniform_real_distribution<double> coord{-1000.0, 1000.0};
    Point2D Next() { return {coord(engine), coord(engine)}; }
};

double Cross(double ax, double ay, double bx, double by) { return ax * by - ay * bx; }
double Length(double x, double y) { return std::hypot(x, y); }

TEST(CalcRandom, CircleMatchesCircumcentreRelativeToA) {
    RandomPoints r;
    int checked = 0;
    for (int i = 0; i < kSets; ++i) {
        const Point2D a = r.Next(), b = r.Next(), c = r.Next();
        const double bx = b.X - a.X, by = b.Y - a.Y, cx = c.X - a.X, cy = c.Y - a.Y;
        const double d = 2 * Cross(bx, by, cx, cy);
        // A nearly flat triangle (angle at A under 1e-3 rad) puts the centre far off with
        // most digits lost in either formula; 1e-9 means nothing there.
        if (std::abs(d) < 2e-3 * Length(bx, by) * Length(cx, cy)) continue;
        const double b2 = bx * bx + by * by, c2 = cx * cx + cy * cy;
        const double ux = (cy * b2 - by * c2) / d, uy = (bx * c2 - cx * b2) / d;
        Point2D center;
        double radius = 0;
        ASSERT_TRUE(tavix::CircleFrom3Points(a, b, c, center, radius)) << i;
        const double want = Length(ux, uy);
        EXPECT_TRUE(Agrees(center.X, a.X + ux, want)) << i;
        EXPECT_TRUE(Agrees(center.Y, a.Y + uy, want)) << i;
        EXPECT_TRUE(Agrees(radius, want)) << i;
        ++checked;
    }
    EXPECT_GT(checked, kSets * 9 / 10);
}

TEST(CalcRandom, AreaMatchesPlainShoelaceScaled) {
    RandomPoints r;
    std::uniform_int_distribution<int> corners(1, 8), proof(0, 9);
    std::uniform_real_distribution<double> zoom(0.25, 4.0), value(0.001, 10.0);
    for (int i = 0; i < kSets; ++i) {
        tavix::ResetVariableDefinition();
        for (auto& p : Var().ProofTable) p.Value = value(r.engine);
        Var().CurrentProofNo = static_cast<int16_t>(proof(r.engine));
        Var().ZoomFactor = zoom(r.engine);
        std::vector<Point2D> points(1);
        const int n = corners(r.engine);
        for (int k = 0; k < n; ++k) points.push_back(r.Next());
        double sum = 0, magnitude = 0;
        for (int k = 1; k <= n; ++k) {
            const Point2D& p = points[k];
            const Point2D& q = points[k == n ? 1 : k + 1];
            sum += p.X * q.Y - q.X * p.Y;
            magnitude += std::abs(p.X * q.Y) + std::abs(q.X * p.Y);
        }
        const double scale = Var().ProofTable[Var().CurrentProofNo].Value / Var().ZoomFactor;
        const double want = std::abs(sum) / 2 * scale * scale;
        double area = -1;
        ASSERT_TRUE(tavix::PolygonArea(points, area)) << i;
        // Self-crossing sets can cancel to almost nothing; the floor is then the size of
        // the terms that cancelled.
        EXPECT_TRUE(Agrees(area, want, magnitude * scale * scale)) << i << ": " << area << " vs " << want;
    }
    tavix::ResetVariableDefinition();
}

TEST(CalcRandom, AngleMatchesLawOfCosines) {
    RandomPoints r;
    int checked = 0;
    for (int i = 0; i < kSets; ++i) {
        const Point2D a = r.Next(), v = r.Next(), b = r.Next();
        const double la = Length(a.X - v.X, a.Y - v.Y), lb = Length(b.X - v.X, b.Y - v.Y);
        const double lc = Length(a.X - b.X, a.Y - b.Y);
        const double cosine = (la * la + lb * lb - lc * lc) / (2 * la * lb);
        // acos is steep near 0 and pi: within 1e-3 rad of them the law of cosines itself
        // has lost the digits the comparison needs.
        if (std::abs(cosine) > std::cos(1e-3)) continue;
        double angle = -1;
        ASSERT_TRUE(tavix::VertexAngle(a, v, b, angle)) << i;
        EXPECT_TRUE(Agrees(angle, std::acos(cosine))) << i << ": " << angle;
        ++checked;
    }
    EXPECT_GT(checked, kSets * 9 / 10);
}

TEST(CalcRandom, FootMatchesProjection) {
    RandomPoints r;
    int checked = 0;
    for (int i = 0; i < kSets; ++i) {
        const Point2D l1 = r.Next(), l2 = r.Next(), p = r.Next();
        const double ux = l2.X - l1.X, uy = l2.Y - l1.Y;
        // On steep lines the slope multiplies the rounding of Foot.X into Foot.Y.
        if (std::abs(uy) > 100 * std::abs(ux)) continue;
        const double t = ((p.X - l1.X) * ux + (p.Y - l1.Y) * uy) / (ux * ux + uy * uy);
        const double fx = l1.X + t * ux, fy = l1.Y + t * uy;
        const double distance = std::abs(Cross(ux, uy, p.X - l1.X, p.Y - l1.Y)) / Length(ux, uy);
        Point2D foot;
        double got = -1;
        ASSERT_TRUE(tavix::PerpendicularFoot(l1, l2, p, foot, got)) << i;
        EXPECT_TRUE(Agrees(foot.X, fx)) << i;
        EXPECT_TRUE(Agrees(foot.Y, fy)) << i;
        EXPECT_TRUE(Agrees(got, distance)) << i;
        ++checked;
    }
    EXPECT_GT(checked, kSets * 9 / 10);
}

TEST(CalcRandom, IntersectionMatchesParametricSolution) {
    RandomPoints r;
    int checked = 0;
    for (int i = 0; i < kSets; ++i) {
        const Point2D a1 = r.Next(), a2 = r.Next(), b1 = r.Next(), b2 = r.Next();
        const double rx = a2.X - a1.X, ry = a2.Y - a1.Y, qx = b2.X - b1.X, qy = b2.Y - b1.Y;
        const double denom = Cross(rx, ry, qx, qy);
        // Nearly parallel lines (under 1e-3 rad apart) cross far off and ill-determined.
        if (std::abs(denom) < 1e-3 * Length(rx, ry) * Length(qx, qy)) continue;
        const double s = Cross(b1.X - a1.X, b1.Y - a1.Y, qx, qy) / denom;
        Point2D point;
        ASSERT_TRUE(tavix::LineIntersection(a1, a2, b1, b2, point)) << i;
        EXPECT_TRUE(Agrees(point.X, a1.X + s * rx)) << i;
        EXPECT_TRUE(Agrees(point.Y, a1.Y + s * ry)) << i;
        ++checked;
    }
    EXPECT_GT(checked, kSets * 9 / 10);
}

TEST(CalcRandom, DirectionAndMidPointProperties) {
    RandomPoints r;
    for (int i = 0; i < kSets; ++i) {
        const Point2D a = r.Next(), b = r.Next();
        const double direction = tavix::PointAtan2(a.Y, a.X);
        // Differs from atan2 only by the short pi, and stays in (-Pi, Pi].
        EXPECT_NEAR(direction, std::atan2(a.Y, a.X), 1e-14) << i;
        EXPECT_TRUE(direction > -Pi && direction <= Pi) << i;
        const Point2D m1 = tavix::MidPoint(a, b), m2 = tavix::MidPoint(b, a);
        EXPECT_EQ(m1.X, m2.X) << i;
        EXPECT_EQ(m1.Y, m2.Y) << i;
        EXPECT_TRUE(Agrees(m1.X, (a.X + b.X) / 2)) << i;
    }
}

}  // namespace
