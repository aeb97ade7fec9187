// Plane geometry: the fixed cases, float errors, and the last bits of general inputs.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
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

// A routine's truth value and what it wrote; an output it did not write keeps kUnset.
struct Out {
    bool ok = false;
    double d = kUnset;
    Point2D p{kUnset, kUnset};
};
// clang-format off
Out Foot(Point2D l1, Point2D l2, Point2D p) { Out o; o.ok = tavix::PerpendicularFoot(l1, l2, p, o.p, o.d); return o; }
Out Circle(Point2D a, Point2D b, Point2D c) { Out o; o.ok = tavix::CircleFrom3Points(a, b, c, o.p, o.d); return o; }
Out Cross(Point2D a, Point2D b, Point2D c, Point2D d) { Out o; o.ok = tavix::LineIntersection(a, b, c, d, o.p); return o; }
Out Angle(Point2D a, Point2D v, Point2D b) { Out o; o.ok = tavix::VertexAngle(a, v, b, o.d); return o; }
// clang-format on
// Slot 4 holds 0.3, the others 1. Corners go from element 1; garbage in element 0 must not count.
Out Area(double zoom, int16_t proofNo, std::vector<Point2D> corners) {
    tavix::ResetVariableDefinition();
    for (auto& proof : Var().ProofTable) proof.Value = 1.0;
    Var().ProofTable[4].Value = 0.3;
    Var().ZoomFactor = zoom;
    Var().CurrentProofNo = proofNo;
    corners.insert(corners.begin(), Point2D{kNaN, 1e308});
    Out o;
    o.ok = tavix::PolygonArea(corners, o.d);
    tavix::ResetVariableDefinition();
    return o;
}

TEST(CalcTruthValued, CasesAndFloatErrors) {
    const std::vector<Point2D> triangle{{0, 0}, {1, 0}, {0, 1}};
    const Out no{};
    const struct {
        const char* what;
        Out got, want;
    } cases[] = {
        // clang-format off
        {"foot: coinciding line points count as horizontal", Foot({3, 4}, {3, 4}, {1, 2}), {true, 2, {1, 4}}},
        {"foot: vertical", Foot({2, 0}, {2, 5}, {-1, 3}), {true, 3, {2, 3}}},
        {"foot: distance overflows after the foot", Foot({0, 0}, {1, 1}, {1e308, -1e308}), {false, kUnset, {0, 0}}},
        {"foot: NaN point", Foot({0, 0}, {1, 1}, {kNaN, 0}), no},
        {"foot: NaN point on a horizontal line", Foot({0, 1}, {5, 1}, {kNaN, 0}), no},
        {"foot: the rise overflows", Foot({0, -1e308}, {1, 1e308}, {0, 0}), no},
        {"foot: horizontal, the distance NaN", Foot({0, 0}, {1, 0}, {3, kNaN}), {false, kUnset, {3, 0}}},
        {"foot: the slope overflows", Foot({0, 0}, {1e-300, 1e300}, {1, 1}), no},
        {"foot: the normal's slope overflows", Foot({0, 0}, {1e10, 1e-300}, {1, 1}), no},
        {"foot: its Y overflows", Foot({-1e308, 0}, {0, 1e308}, {1.7e308, 1e308}), {false, kUnset, {1.7e308 / 2, kUnset}}},
        {"area: reversed", Area(2.0, 0, {{0, 10}, {10, 10}, {10, 0}, {0, 0}}), {true, 25}},
        {"area: no zoom", Area(0.0, 0, triangle), no},
        {"area: calibration number below range", Area(1.0, -1, triangle), no},
        {"area: calibration number above range", Area(1.0, 10, triangle), no},
        {"area: no corner", Area(1.0, 0, {}), no},
        {"area: only the closing product overflows", Area(1.0, 0, {{0, 1e200}, {0, 0}, {1e200, 0}}), no},
        {"area: NaN corner", Area(1.0, 0, {{0, 0}, {kNaN, 0}, {0, 1}}), no},
        {"circle: on one line", Circle({0, 0}, {1, 1}, {2, 2}), no},
        {"circle: NaN", Circle({0, 0}, {1, kNaN}, {0, 1}), no},
        {"circle: a square overflows", Circle({0, 0}, {1e200, 0}, {0, 1}), no},
        {"circle: the determinant overflows", Circle({-1.3e154, -1.3e154}, {1.3e154, 0}, {0, 1.3e154}), no},
        {"circle: centre Y overflows", Circle({0, 0}, {1, 0}, {2, 1e-310}), {false, kUnset, {0.5, kUnset}}},
        // The distance routine swallows its overflow, so the circle stands with radius 0.
        {"circle: radius overflows", Circle({0, 0}, {1, 0}, {2, 1e-300}), {true, 0, {0.5, 1 / 1e-300}}},
        {"lines: beyond both segments", Cross({0, 0}, {1, 1}, {10, 0}, {10, 1}), {true, kUnset, {10, 10}}},
        {"lines: parallel", Cross({0, 0}, {1, 1}, {0, 1}, {1, 2}), no},
        {"lines: the determinant overflows", Cross({0, 0}, {1e300, 0}, {0, 0}, {0, 1e300}), no},
        {"lines: a cross product overflows", Cross({1e200, 0}, {1e200, 1e200}, {0, 0}, {1, 0}), no},
        {"lines: crossing Y overflows", Cross({0, 0}, {0, 1}, {1, 0}, {0.5, 1e308}), {false, kUnset, {0, kUnset}}},
        {"angle: A at the vertex", Angle({2, 2}, {2, 2}, {5, 1}), no},
        {"angle: cosine rounded above 1", Angle({1, 5}, {0, 0}, {2, 10}), {true, 0}},
        {"angle: cosine rounded below -1", Angle({1, 5}, {0, 0}, {-2, -10}), {true, Pi}},
        // pi/2 as the double nearest the true value, not the short Pi / 2.
        {"angle: right", Angle({1, 0}, {0, 0}, {0, 1}), {true, std::numbers::pi / 2}},
        {"angle: a distance overflows", Angle({1e200, 1e200}, {0, 0}, {1, 0}), no},
        {"angle: the product of the rays overflows", Angle({1e200, 0}, {0, 0}, {0, 1e200}), no},
        // clang-format on
    };
    for (const auto& c : cases)
        EXPECT_EQ(std::tuple(c.got.ok, c.got.d, c.got.p.X, c.got.p.Y),
                  std::tuple(c.want.ok, c.want.d, c.want.p.X, c.want.p.Y))
            << c.what;
}

TEST(CalcScalars, DistanceDirectionDegreesMidPointAndTheLastBits) {
    const Out area = Area(3.0, 4, {{6, 1}, {2, 13}, {13, 2}});
    const Out circle = Circle({117.5, -373.3}, {-498.2, 371.4}, {-290.5, -284.5});
    const Out foot = Foot({-12, 29}, {4, -9}, {9, 9}), cross = Cross({16, 22}, {-6, -38}, {41, -41}, {-20, 12});
    const Out angle = Angle({-29, -29}, {-25, 19}, {-13, -10});
    ASSERT_TRUE(area.ok && circle.ok && foot.ok && cross.ok && angle.ok);
    using tavix::PointAtan2, tavix::PointDistance;
    const double big = std::ldexp(1.0, 1023);
    const struct {
        const char* what;
        double got, want;
    } cases[] = {
        {"horizontal takes no square, so no overflow", PointDistance({-1e200, 7}, {1e200, 7}), 2e200},
        {"vertical likewise, the difference negative", PointDistance({7, -1e200}, {7, 1e200}), 2e200},
        {"squares overflow", PointDistance({0, 0}, {1e200, 1e200}), 0},
        {"the difference overflows on a horizontal pair", PointDistance({-1e308, 0}, {1e308, 0}), 0},
        {"direction of the origin", PointAtan2(0, 0), 0},
        {"negative X axis is +pi", PointAtan2(0, -1), Pi},
        {"positive Y axis", PointAtan2(5, 0), Pi / 2},
        {"negative Y axis", PointAtan2(-5, 0), -Pi / 2},
        {"first quadrant", PointAtan2(1, 1), std::atan(1.0)},
        {"second quadrant", PointAtan2(1, -1), std::atan(-1.0) + Pi},
        {"third quadrant", PointAtan2(-1, -1), std::atan(1.0) - Pi},
        {"quotient overflows", PointAtan2(1e300, 1e-300), 0},
        {"infinite X", PointAtan2(1, -std::numeric_limits<double>::infinity()), 0},
        // Each input is one where a plausible reordering (hypot, (a + b) / 2, c * v / z, acos, the
        // squares summed in another order, ...) changes the last bit. The expected values come from
        // an independent double-precision evaluation of the same steps.
        {"last bits: RadianToDegree", tavix::RadianToDegree(0.03), 0x1.b808161039b84p+0},
        {"last bits: PointDistance", tavix::PointDistance({4.1, 1.9}, {5.0, 8.3}), 0x1.9da1530436b3cp+2},
        {"last bits: MidPoint", tavix::MidPoint({0.1, 0.7}, {0.7, 0.1}).X, 0x1.999999999999ap-2},
        {"last bits: MidPoint the other way round", tavix::MidPoint({0.7, 0.1}, {0.1, 0.7}).X, 0x1.999999999999ap-2},
        {"MidPoint where the sum would overflow", tavix::MidPoint({1.5 * big, 0}, {big, 0}).X, 1.25 * big},
        {"last bits: PolygonArea", area.d, 0x1.c28f5c28f5c27p-2},
        {"last bits: circle centre X", circle.p.X, 0x1.753e0e1fab322p+4},
        {"last bits: circle centre Y", circle.p.Y, 0x1.5f6d53871e2b7p+7},
        {"last bits: circle radius", circle.d, 0x1.16840de08957dp+9},
        {"last bits: foot X", foot.p.X, -0x1.af48e27c15af6p+0},
        {"last bits: foot Y", foot.p.Y, 0x1.20134679ace04p+2},
        {"last bits: foot distance", foot.d, 0x1.72fb84996f463p+3},
        {"last bits: intersection X", cross.p.X, 0x1.215dade281a50p+2},
        {"last bits: intersection Y", cross.p.Y, -0x1.29c612e2667c2p+3},
        {"last bits: VertexAngle", angle.d, 0x1.e6e49700e4ef8p-2},
    };
    for (const auto& c : cases) EXPECT_EQ(c.got, c.want) << c.what;
    // The exact pi is a little more than the literal, and that must show.
    EXPECT_GT(tavix::RadianToDegree(std::numbers::pi), 180.0);
    for (double bad : {1e307, kNaN})
        EXPECT_EQ(vb::Trap([&] { (void)tavix::RadianToDegree(bad); }), vb::ErrOverflow) << bad;
    for (const Point2D& bad : {Point2D{-1e308, 0}, Point2D{0, kNaN}})
        EXPECT_EQ(vb::Trap([&] { (void)tavix::MidPoint(bad, {1e308, 0}); }), vb::ErrOverflow) << bad.X << "," << bad.Y;
}

}  // namespace
