// Results of finished measures: calibration, records, grid rows, the failure ways, the full
// list and float errors in the clicked points.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "DialogHost.h"
#include "MeasureCommands.h"
#include "MeasureResults.h"
#include "StartedMain.h"
#include "VariableDefinition.h"

using Cmd = tavix::CommandMode;

using tavix::GST;
using tavix::Point2D;
using tavix::Var;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kHuge = 1e308;
const QString kMark = QStringLiteral("-"), kMm = QStringLiteral("mm");
constexpr auto kMarkKind = tavix::CommandMode(-1);

using Points = std::vector<Point2D>;  // from element 1
const Points kCircles{{10, 0}, {0, 10}, {-10, 0}, {35, 40}, {30, 45}, {25, 40}},
    kFive{{0, 0}, {10, 0}, {3, 4}, {5, -6}, {7, 8}};
const Points kLines{{-5, 0}, {20, 0}, {0, -5}, {0, 30}};  // crossing at (0, 0); the far ends are the 2nd and 4th

// A started still-measure window.
struct Rig {
    testing_support::StartedMain s{3};
    tavix::frmMain& f = s.f;

    // listed results before the measure; rows and slots after them hold marks, to see writes.
    void Reset(tavix::CommandMode mode, const Points& clicks, int16_t listed, double zoom = 1, double cal = 1,
               const char* format = "0.0", bool dirty = false) {
        // A calibration other than slot 0, and slot 0 wrong, so the current one must be read.
        Var().CurrentProofNo = 2;
        Var().ProofTable[0] = {QStringLiteral("wrong"), 1000, QStringLiteral("km")};
        Var().ProofTable[2] = {QStringLiteral("used"), cal, kMm};
        Var().ZoomFactor = zoom;
        f.ResultFormat = QString::fromLatin1(format);
        f.CommandMode = mode;
        f.WorkPoints = Points{Point2D{}};
        f.WorkPoints.insert(f.WorkPoints.end(), clicks.begin(), clicks.end());
        f.ResultCount = listed;
        f.ResultDirty = dirty;
        s.host.Boxes.clear();
        for (int row = listed + 1; row <= tavix::MaxResultRows; ++row)
            for (int col = 0; col < 4; ++col) f.grdResult->SetTextMatrix(row, col, kMark);
        for (int slot = listed + 1; slot < tavix::ResultTableSize; ++slot) {
            Var().ResultTable[slot].Kind = kMarkKind;
            Var().ResultTable[slot].Points.assign(9, Point2D{-1, -1});
        }
    }

    QStringList Row(int row) const {
        QStringList texts;
        for (int col = 0; col < 4; ++col) texts << f.grdResult->TextMatrix(row, col);
        return texts;
    }

    // Nothing written from slot/row `from` on.
    void ExpectUntouchedFrom(int from, const char* what) const {
        for (int row = from; row <= tavix::MaxResultRows; ++row)
            EXPECT_EQ(Row(row), QStringList({kMark, kMark, kMark, kMark})) << what << " row " << row;
        for (int slot = from; slot < tavix::ResultTableSize; ++slot)
            EXPECT_EQ(Var().ResultTable[slot].Kind, kMarkKind) << what << " slot " << slot;
    }

    // The one box of a refusal or failure.
    void ExpectBox(int32_t text, int buttons, int32_t title, const char* what) const {
        ASSERT_EQ(s.host.Boxes.size(), 1u) << what;
        const auto& box = s.host.Boxes[0];
        EXPECT_TRUE(box.Prompt == GST(text) && box.Buttons == buttons && box.Title == GST(title)) << what;
    }
};

// NaN clicks count as unchanged when still NaN.
bool Same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

void ExpectPoints(const Points& got, const Points& want, const std::string& what) {
    ASSERT_EQ(got.size(), want.size() + 1) << what << ": upper bound of Points";
    for (size_t i = 0; i < want.size(); ++i)
        EXPECT_TRUE(Same(got[i + 1].X, want[i].X) && Same(got[i + 1].Y, want[i].Y))
            << what << " Points(" << i + 1 << ")";
}

struct WantRow {
    tavix::CommandMode kind;
    double value;
    QString name, text, unit;
    Points points;  // from element 1; the upper bound is its size
};

// Float errors without a failure way count here too: routines without a truth value give 0,
// and perpendicular points whose foot fails are skipped.
TEST(MeasureResult, SuccessfulMeasuresAddTheirRowsInOrder) {
    Rig rig;
    const QString circle1 = GST(11135).replace(u'@', u'1'), circle2 = GST(11135).replace(u'@', u'2');
    ASSERT_NE(circle1, circle2);
    const Points square{{0, 0}, {10, 0}, {10, 10}, {0, 10}},
        seven{{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}};
    const std::vector<WantRow> circleRows{{Cmd::TwoCircles, 20, circle1, "20.00", kMm, {{0, 0}, {10, 0}}},
                                          {Cmd::TwoCircles, 10, circle2, "10.00", kMm, {{30, 40}, {5, 0}}},
                                          {Cmd::Distance, 50, GST(11136), "50.00", kMm, {{0, 0}, {30, 40}}}};
    const std::vector<WantRow> footRows{
        {Cmd::Perpendicular, 8, GST(11137), "8.0", kMm, {{0, 0}, {10, 0}, {3, 4}, {3, 0}}},
        {Cmd::Perpendicular, 12, GST(11137), "12.0", kMm, {{0, 0}, {10, 0}, {5, -6}, {5, 0}}},
        {Cmd::Perpendicular, 16, GST(11137), "16.0", kMm, {{0, 0}, {10, 0}, {7, 8}, {7, 0}}}};
    // listed: results before the measure; the last rows end on grid row 99.
    const struct {
        const char* what;
        tavix::CommandMode mode;
        Points clicks;
        double zoom, cal;
        const char* format;
        std::vector<WantRow> rows;
        int16_t listed = 4;
    } cases[] = {
        // clang-format off
        {"200 displayed px at zoom 2", Cmd::Distance, {{0, 0}, {120, 160}}, 2.0, 0.01, "0.000",
         {{Cmd::Distance, 1, GST(11132), "1.000", kMm, {{0, 0}, {120, 160}}}}},
        {"the same object at zoom 0.5", Cmd::Distance, {{0, 0}, {30, 40}}, 0.5, 0.01, "0.000",
         {{Cmd::Distance, 1, GST(11132), "1.000", kMm, {}}}},
        // (1 / 3) * 0.01 * 3 differs in its last bit from 0.01 / 3 * 3 and 3 / 3 * 0.01; stored unrounded.
        {"calibrated in order", Cmd::Distance, {{0, 0}, {3, 0}}, 3.0, 0.01, "0.000",
         {{Cmd::Distance, 0.009999999999999998, GST(11132), "0.010", kMm, {}}}},
        {"circle gives the diameter", Cmd::Circle, {{100, 0}, {0, 100}, {-100, 0}}, 1, 1, "0.0",
         {{Cmd::Circle, 200, GST(11133), "200.0", kMm, {{0, 0}, {100, 0}}}}},
        {"two circles, then their centres", Cmd::TwoCircles, kCircles, 1, 1, "0.00", circleRows},
        {"five perpendicular points", Cmd::Perpendicular, kFive, 1, 2, "0.0", footRows},
        {"area squared unit", Cmd::Area, square, 1, 0.5, "0.0",
         {{Cmd::Area, 25, GST(11138), "25.0", QStringLiteral("mm2"), square}}},
        {"count of 7", Cmd::Count, seven, 3, 0.01, "0.000", {{Cmd::Count, 7, GST(11130), "7", GST(11131), seven}}},
        {"angle by three points, in degrees of the short pi", Cmd::ThreePointAngle, {{10, 0}, {0, 0}, {0, 10}}, 2, 0.01, "0.0",
         {{Cmd::ThreePointAngle, std::numbers::pi / 2 * 180 / tavix::Pi, GST(11139), "90.0", GST(11140), {{10, 0}, {0, 0}, {0, 10}}}}},
        {"distance to a slanted parallel", Cmd::ParallelDistance, {{0, 0}, {10, 10}, {0, 10}}, 1, 0.1, "0.000",
         {{Cmd::ParallelDistance, std::sqrt(0.5), GST(11132), "0.707", kMm, {{0, 0}, {10, 10}, {-5, 5}, {5, 15}, {5, 5}, {0, 10}}}}},
        {"distance overflows to 0", Cmd::Distance, {{0, 0}, {1.7e308, 1.7e308}}, 1, 1, "0.0",
         {{Cmd::Distance, 0, GST(11132), "0.0", kMm, {}}}},
        {"perpendicular middle point NaN closes up", Cmd::Perpendicular, {{0, 0}, {10, 0}, {3, 4}, {kNaN, 1}, {7, 8}}, 1, 1, "0.0",
         {{Cmd::Perpendicular, 4, GST(11137), "4.0", kMm, {{0, 0}, {10, 0}, {3, 4}, {3, 0}}},
          {Cmd::Perpendicular, 8, GST(11137), "8.0", kMm, {{0, 0}, {10, 0}, {7, 8}, {7, 0}}}}},
        {"perpendicular every point NaN", Cmd::Perpendicular, {{0, 0}, {10, 0}, {kNaN, 1}, {kNaN, 2}}, 1, 1, "0.0", {}},
        {"distance into row 99", Cmd::Distance, {{0, 0}, {3, 4}}, 1, 1, "0.0", {{Cmd::Distance, 5, GST(11132), "5.0", kMm, {}}}, 98},
        {"two circles ending on row 99", Cmd::TwoCircles, kCircles, 1, 1, "0.00", circleRows, 96},
        {"three perpendiculars ending on row 99", Cmd::Perpendicular, kFive, 1, 2, "0.0", footRows, 96},
        // clang-format on
    };
    for (const auto& c : cases) {
        const int16_t listed = c.listed, n = static_cast<int16_t>(c.rows.size());
        rig.Reset(c.mode, c.clicks, listed, c.zoom, c.cal, c.format);
        tavix::AddMeasureResult(rig.f);
        EXPECT_EQ(std::tuple(rig.f.ResultCount, rig.f.ResultDirty, rig.s.host.Boxes.size()),
                  std::tuple(listed + n, true, size_t(0)))
            << c.what;
        for (int16_t i = 0; i < n; ++i) {
            const WantRow& w = c.rows[i];
            const int16_t no = listed + 1 + i;
            SCOPED_TRACE(testing::Message() << c.what << ", row " << no);
            const tavix::ResultRecord& r = Var().ResultTable[no];
            EXPECT_EQ(std::tuple(r.No, r.Kind, r.Value, rig.Row(no)),
                      std::tuple(no, w.kind, w.value, QStringList({QString::number(no), w.name, w.text, w.unit})));
            if (!w.points.empty()) ExpectPoints(r.Points, w.points, "");
        }
        // Slot 100 stands for everything the grid cannot show, and is never written.
        rig.ExpectUntouchedFrom(listed + n + 1, c.what);
    }
}

TEST(MeasureResult, AngleByTwoLinesTakesTheSideOfTheSidePoint) {
    Rig rig;
    const double deg = std::acos(-1.0) / 180;
    const auto at = [&](double degrees) {
        return Point2D{100 * std::cos(degrees * deg), 100 * std::sin(degrees * deg)};
    };
    const Points rays{{20, 0}, {0, 0}, {0, 30}};
    const auto with = [&](Point2D side) {
        Points p = kLines;
        p.push_back(side);
        return p;
    };
    // Two lines and the side point; WorkPoints(1..3) afterwards.
    const struct {
        const char* what;
        Points clicks;
        double want;
        Points rays;
    } cases[] = {
        // clang-format off
        {"side point between the far ends", with({5, 5}), 90, rays},
        {"side point on the other side", with({-5, -5}), 270, rays},
        {"clicks in the other order", {{20, 0}, {-5, 0}, {0, 30}, {0, -5}, {5, 5}}, 90, rays},
        {"equal distances take the second click", {{-10, 0}, {10, 0}, {0, -10}, {0, 10}, {5, 5}}, 90, {{10, 0}, {0, 0}, {0, 10}}},
        {"half a degree past a ray stays inner", with(at(90.4)), 90, rays},
        {"past the 1-degree rule", with(at(90.6)), 270, rays},
        {"acute angle outside", {{0, 0}, {10, 0}, {0, 0}, {10, 10}, {-10, 1}}, 315, {{10, 0}, {0, 0}, {10, 10}}},
        // clang-format on
    };
    for (const auto& c : cases) {
        rig.Reset(Cmd::TwoLineAngle, c.clicks, 0);
        tavix::AddMeasureResult(rig.f);
        const tavix::ResultRecord& r = Var().ResultTable[1];
        EXPECT_EQ(std::tuple(rig.f.ResultCount, r.Kind, std::round(r.Value * 1e6) / 1e6, rig.Row(1)),
                  std::tuple(int16_t(1), Cmd::ThreePointAngle, c.want,
                             QStringList({"1", GST(11139), vb::Format(c.want, "0.0"), GST(11140)})))
            << c.what;
        // The record holds the reduced rays with the fourth click and the side point.
        Points stored = c.rays;
        stored.insert(stored.end(), {c.clicks[3], c.clicks[4]});
        ExpectPoints(r.Points, stored, c.what);
        ExpectPoints(rig.f.WorkPoints, stored, c.what + std::string(" WorkPoints"));
    }
}

// Failures of the measure, and refusals of a measure whose rows would not fit the grid.
TEST(MeasureResult, ImpossibleMeasuresAddNothingAndGoOnTheirWay) {
    Rig rig;
    constexpr int32_t kFull = 20141;
    // firstWay: the way that redraws and marks the results unsaved (seen by ResultDirty); reduced: the lines became rays first.
    const struct {
        const char* what;
        tavix::CommandMode mode;
        Points clicks;
        int32_t text;
        bool firstWay, dirtyBefore;
        int16_t listed = 6;
        bool reduced = false;
    } cases[] = {
        // clang-format off
        {"circle on one line", Cmd::Circle, {{0, 0}, {1, 1}, {2, 2}}, 20130, true, false},
        {"circle overflows", Cmd::Circle, {{-kHuge, 0}, {kHuge, 0}, {0, kHuge}}, 20130, true, false},
        {"first of two circles NaN", Cmd::TwoCircles, {{kNaN, 0}, {0, 10}, {-10, 0}, {35, 40}, {30, 45}, {25, 40}}, 20130, true, false},
        {"second of two circles on one line", Cmd::TwoCircles, {{10, 0}, {0, 10}, {-10, 0}, {0, 0}, {1, 0}, {2, 0}}, 20130, true, true},
        {"parallel of NaN", Cmd::ParallelDistance, {{0, 0}, {10, 0}, {kNaN, 3}}, 20131, true, false},
        {"area overflows", Cmd::Area, {{kHuge, kHuge}, {-kHuge, kHuge}, {-kHuge, -kHuge}}, 20132, false, false},
        {"area of NaN", Cmd::Area, {{0, 0}, {kNaN, 0}, {1, 1}}, 20132, false, true},
        {"angle ray of length 0", Cmd::ThreePointAngle, {{0, 0}, {0, 0}, {5, 5}}, 20133, false, false},
        {"parallel lines", Cmd::TwoLineAngle, {{0, 0}, {10, 0}, {0, 5}, {10, 5}, {3, 3}}, 20133, false, false},
        {"side point on the vertex", Cmd::TwoLineAngle, {kLines[0], kLines[1], kLines[2], kLines[3], {0, 0}}, 20133, false, false, 6, true},
        {"distance past row 99", Cmd::Distance, {{0, 0}, {3, 4}}, kFull, false, false, 99},
        {"two circles, third row past 99", Cmd::TwoCircles, kCircles, kFull, false, false, 97},
        {"three perpendiculars, last past 99", Cmd::Perpendicular, kFive, kFull, false, false, 97},
        // Counted by points, not by the feet that would succeed; and checked before computing.
        {"perpendiculars refused though one fails", Cmd::Perpendicular, {{0, 0}, {10, 0}, {3, 4}, {kNaN, 1}, {7, 8}}, kFull, false, false, 97},
        {"circle that would fail", Cmd::Circle, {{0, 0}, {1, 1}, {2, 2}}, kFull, false, false, 99},
        // clang-format on
    };
    for (const auto& c : cases) {
        rig.Reset(c.mode, c.clicks, c.listed, 1, 1, "0.0", c.dirtyBefore);
        const Points want = c.reduced ? Points{{20, 0}, {0, 0}, {0, 30}, kLines[3], {0, 0}} : c.clicks;
        rig.s.host.AnswerMsgBox(vb::vbOK);
        tavix::AddMeasureResult(rig.f);
        const bool full = c.text == kFull;
        rig.ExpectBox(c.text, vb::vbOKOnly | (full ? vb::vbExclamation : vb::vbCritical), full ? 11141 : 11134, c.what);
        EXPECT_EQ(std::tuple(rig.f.ResultCount, rig.f.ResultDirty), std::tuple(c.listed, c.firstWay || c.dirtyBefore))
            << c.what;
        rig.ExpectUntouchedFrom(c.listed + 1, c.what);
        ExpectPoints(rig.f.WorkPoints, want, c.what + std::string(" WorkPoints"));
    }
}

}  // namespace
