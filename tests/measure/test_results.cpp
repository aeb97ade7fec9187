// Results of finished measures: calibration, records, grid rows, the failure ways, the full
// list and float errors in the clicked points.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "CommonModule.h"
#include "Convert.h"
#include "DialogHost.h"
#include "MeasureCommands.h"
#include "MeasureResults.h"
#include "StartedMain.h"
#include "VariableDefinition.h"

using tavix::GST;
using tavix::Point2D;
using tavix::Var;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kHuge = 1e308;
const QString kMark = QStringLiteral("-");
constexpr int16_t kMarkKind = -1;

using Points = std::vector<Point2D>;  // from element 1

// A started still-measure window whose redraw hook counts its calls.
struct Rig {
    testing_support::StartedMain s{3};
    tavix::frmMain& f = s.f;
    int draws = 0;

    Rig() {
        f.Hooks.DrawMeasureResults = [this](tavix::frmMain&) { ++draws; };
    }

    // listed results before the measure; rows and slots after them hold marks, to see writes.
    void Reset(int16_t mode, const Points& clicks, int16_t listed = 4, double zoom = 1, double cal = 1,
               const QString& unit = QStringLiteral("mm"), const QString& format = QStringLiteral("0.000"),
               bool dirty = false) {
        // A calibration other than slot 0, and slot 0 wrong, so the current one must be read.
        Var().CurrentProofNo = 2;
        Var().ProofTable[0] = {QStringLiteral("wrong"), 1000, QStringLiteral("km")};
        Var().ProofTable[2] = {QStringLiteral("used"), cal, unit};
        Var().ZoomFactor = zoom;
        f.ResultFormat = format;
        f.CommandMode = mode;
        f.WorkPoints = Points{Point2D{}};
        f.WorkPoints.insert(f.WorkPoints.end(), clicks.begin(), clicks.end());
        f.ResultCount = listed;
        f.ResultDirty = dirty;
        draws = 0;
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
};

struct WantRow {
    int16_t kind;
    double value;
    QString name, text, unit;
    Points points;  // from element 1; the upper bound is its size
};

void ExpectPoints(const std::vector<Point2D>& got, const Points& want, const QString& what) {
    ASSERT_EQ(got.size(), want.size() + 1) << what.toStdString() << ": upper bound of Points";
    for (size_t i = 0; i < want.size(); ++i) {
        EXPECT_DOUBLE_EQ(got[i + 1].X, want[i].X) << what.toStdString() << " Points(" << i + 1 << ").X";
        EXPECT_DOUBLE_EQ(got[i + 1].Y, want[i].Y) << what.toStdString() << " Points(" << i + 1 << ").Y";
    }
}

struct SuccessCase {
    const char* what;
    int16_t mode;
    Points clicks;
    double zoom, cal;
    QString unit, format;
    std::vector<WantRow> rows;
};

TEST(MeasureResult, SuccessfulMeasuresAddTheirRowsInOrder) {
    Rig rig;
    const QString mm = QStringLiteral("mm");
    const QString circle1 = GST(11135).replace(u'@', u'1'), circle2 = GST(11135).replace(u'@', u'2');
    ASSERT_NE(circle1, circle2);
    const SuccessCase cases[] = {
        {"200 displayed px at zoom 2", 101, {{0, 0}, {120, 160}}, 2.0, 0.01, mm, "0.000",
         {{101, 1, GST(11132), "1.000", mm, {{0, 0}, {120, 160}}}}},
        {"the same object at zoom 0.5", 101, {{0, 0}, {30, 40}}, 0.5, 0.01, mm, "0.000",
         {{101, 1, GST(11132), "1.000", mm, {{0, 0}, {30, 40}}}}},
        {"a distance of 0 is a result", 101, {{5, 5}, {5, 5}}, 1, 1, mm, "0.0", {{101, 0, GST(11132), "0.0", mm, {}}}},
        {"circle gives the diameter", 102, {{100, 0}, {0, 100}, {-100, 0}}, 1, 1, mm, "0.0",
         {{102, 200, GST(11133), "200.0", mm, {{0, 0}, {100, 0}}}}},
        {"two circles, then their centres", 103,
         {{10, 0}, {0, 10}, {-10, 0}, {35, 40}, {30, 45}, {25, 40}}, 1, 1, mm, "0.00",
         {{103, 20, circle1, "20.00", mm, {{0, 0}, {10, 0}}},
          {103, 10, circle2, "10.00", mm, {{30, 40}, {5, 0}}},
          {101, 50, GST(11136), "50.00", mm, {{0, 0}, {30, 40}}}}},
        {"five perpendicular points", 104, {{0, 0}, {10, 0}, {3, 4}, {5, -6}, {7, 8}}, 1, 2, mm, "0.0",
         {{104, 8, GST(11137), "8.0", mm, {{0, 0}, {10, 0}, {3, 4}, {3, 0}}},
          {104, 12, GST(11137), "12.0", mm, {{0, 0}, {10, 0}, {5, -6}, {5, 0}}},
          {104, 16, GST(11137), "16.0", mm, {{0, 0}, {10, 0}, {7, 8}, {7, 0}}}}},
        {"area squared unit", 105, {{0, 0}, {10, 0}, {10, 10}, {0, 10}}, 1, 0.5, mm, "0.0",
         {{105, 25, GST(11138), "25.0", QStringLiteral("mm2"), {{0, 0}, {10, 0}, {10, 10}, {0, 10}}}}},
        {"count of 7", 100, {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}}, 3, 0.01, mm, "0.000",
         {{100, 7, GST(11130), "7", GST(11131), {{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}}}}},
        {"angle by three points", 106, {{10, 0}, {0, 0}, {0, 10}}, 2, 0.01, mm, "0.0",
         {{106, 90, GST(11139), "90.0", GST(11140), {{10, 0}, {0, 0}, {0, 10}}}}},
        {"distance to a parallel", 108, {{0, 0}, {10, 0}, {4, 3}}, 1, 0.1, mm, "0.00",
         {{108, 0.3, GST(11132), "0.30", mm, {{0, 0}, {10, 0}, {0, 3}, {10, 3}, {4, 0}, {4, 3}}}}},
        {"parallel to a slanted line", 108, {{0, 0}, {10, 10}, {0, 10}}, 1, 1, mm, "0.000",
         {{108, std::sqrt(50.0), GST(11132), "7.071", mm, {{0, 0}, {10, 10}, {-5, 5}, {5, 15}, {5, 5}, {0, 10}}}}},
    };
    const int16_t listed = 4;
    for (const SuccessCase& c : cases) {
        rig.Reset(c.mode, c.clicks, listed, c.zoom, c.cal, c.unit, c.format);
        tavix::AddMeasureResult(rig.f);
        const int16_t n = static_cast<int16_t>(c.rows.size());
        EXPECT_EQ(rig.f.ResultCount, listed + n) << c.what;
        EXPECT_TRUE(rig.f.ResultDirty) << c.what;
        EXPECT_EQ(rig.draws, 1) << c.what;
        EXPECT_TRUE(rig.s.host.Boxes.empty()) << c.what;
        for (int16_t i = 0; i < n; ++i) {
            const WantRow& w = c.rows[i];
            const int16_t no = listed + 1 + i;
            const QString what = QStringLiteral("%1, row %2").arg(QLatin1String(c.what)).arg(no);
            const tavix::ResultRecord& r = Var().ResultTable[no];
            EXPECT_EQ(r.No, no) << what.toStdString();
            EXPECT_EQ(r.Kind, w.kind) << what.toStdString();
            EXPECT_NEAR(r.Value, w.value, 1e-9 * std::max(1.0, std::abs(w.value))) << what.toStdString();
            EXPECT_EQ(rig.Row(no), QStringList({QString::number(no), w.name, w.text, w.unit})) << what.toStdString();
            if (!w.points.empty()) ExpectPoints(r.Points, w.points, what);
        }
        rig.ExpectUntouchedFrom(listed + n + 1, c.what);
    }
}

TEST(MeasureResult, ValueIsCalibratedInOrderAndKeptAtFullPrecision) {
    Rig rig;
    // (1 / 3) * 0.01 * 3 differs in its last bit from 0.01 / 3 * 3 and from 3 / 3 * 0.01.
    rig.Reset(101, {{0, 0}, {3, 0}}, 0, 3.0, 0.01, QStringLiteral("mm"), QStringLiteral("0.000"));
    tavix::AddMeasureResult(rig.f);
    EXPECT_EQ(Var().ResultTable[1].Value, 0.009999999999999998);
    EXPECT_EQ(rig.f.grdResult->TextMatrix(1, 2), QStringLiteral("0.010"));
    // Later decimals show more digits of the same stored number.
    EXPECT_EQ(vb::Format(Var().ResultTable[1].Value, QStringLiteral("0.0000000000000000000")),
              QStringLiteral("0.0099999999999999985"));
}

struct LinesCase {
    const char* what;
    Points clicks;  // two lines and the side point
    double want;
    Points rays;  // WorkPoints(1..3) afterwards
};

TEST(MeasureResult, AngleByTwoLinesTakesTheSideOfTheSidePoint) {
    Rig rig;
    const double deg = std::acos(-1.0) / 180;
    const auto at = [&](double degrees) { return Point2D{100 * std::cos(degrees * deg), 100 * std::sin(degrees * deg)}; };
    const Points rays{{20, 0}, {0, 0}, {0, 30}};
    const LinesCase cases[] = {
        {"side point between the far ends", {{-5, 0}, {20, 0}, {0, -5}, {0, 30}, {5, 5}}, 90, rays},
        {"side point on the other side", {{-5, 0}, {20, 0}, {0, -5}, {0, 30}, {-5, -5}}, 270, rays},
        {"clicks in the other order", {{20, 0}, {-5, 0}, {0, 30}, {0, -5}, {5, 5}}, 90, rays},
        {"equal distances take the second click", {{-10, 0}, {10, 0}, {0, -10}, {0, 10}, {5, 5}}, 90,
         {{10, 0}, {0, 0}, {0, 10}}},
        {"half a degree past a ray stays inner", {{-5, 0}, {20, 0}, {0, -5}, {0, 30}, at(90.4)}, 90, rays},
        {"past the 1-degree rule", {{-5, 0}, {20, 0}, {0, -5}, {0, 30}, at(90.6)}, 270, rays},
        {"acute angle outside", {{0, 0}, {10, 0}, {0, 0}, {10, 10}, {-10, 1}}, 315, {{10, 0}, {0, 0}, {10, 10}}},
    };
    for (const LinesCase& c : cases) {
        rig.Reset(107, c.clicks, 0, 1, 1, QStringLiteral("mm"), QStringLiteral("0.0"));
        tavix::AddMeasureResult(rig.f);
        ASSERT_EQ(rig.f.ResultCount, 1) << c.what;
        const tavix::ResultRecord& r = Var().ResultTable[1];
        EXPECT_EQ(r.Kind, 106) << c.what;
        EXPECT_NEAR(r.Value, c.want, 1e-9) << c.what;
        EXPECT_EQ(rig.Row(1), QStringList({"1", GST(11139), vb::Format(c.want, "0.0"), GST(11140)})) << c.what;
        // The record holds the reduced rays with the fourth click and the side point.
        Points stored = c.rays;
        stored.push_back(c.clicks[3]);
        stored.push_back(c.clicks[4]);
        ExpectPoints(r.Points, stored, QString::fromLatin1(c.what));
        ExpectPoints(rig.f.WorkPoints, stored, QString::fromLatin1(c.what) + QStringLiteral(" WorkPoints"));
    }
}

// NaN clicks count as unchanged when still NaN.
bool Same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

struct FailureCase {
    const char* what;
    int16_t mode;
    Points clicks;
    int32_t text;
    bool firstWay;
    bool dirtyBefore;
    bool reduced = false;  // the lines were reduced to rays before the failure
};

TEST(MeasureResult, ImpossibleMeasuresAddNothingAndGoOnTheirWay) {
    Rig rig;
    const FailureCase cases[] = {
        {"circle on one line", 102, {{0, 0}, {1, 1}, {2, 2}}, 20130, true, false},
        {"circle with two equal points", 102, {{0, 0}, {0, 0}, {2, 5}}, 20130, true, false},
        {"circle overflows", 102, {{-kHuge, 0}, {kHuge, 0}, {0, kHuge}}, 20130, true, false},
        {"circle of NaN", 102, {{kNaN, 0}, {1, 0}, {0, 1}}, 20130, true, false},
        {"second of two circles on one line", 103, {{10, 0}, {0, 10}, {-10, 0}, {0, 0}, {1, 0}, {2, 0}}, 20130, true, true},
        {"second circle of NaN", 103, {{10, 0}, {0, 10}, {-10, 0}, {0, kNaN}, {1, 0}, {2, 3}}, 20130, true, false},
        {"parallel of NaN", 108, {{0, 0}, {10, 0}, {kNaN, 3}}, 20131, true, false},
        {"parallel overflows", 108, {{0, 0}, {kHuge, kHuge}, {kHuge, kHuge}}, 20131, true, false},
        {"area overflows", 105, {{kHuge, kHuge}, {-kHuge, kHuge}, {-kHuge, -kHuge}}, 20132, false, false},
        {"area of NaN", 105, {{0, 0}, {kNaN, 0}, {1, 1}}, 20132, false, true},
        {"angle ray of length 0", 106, {{0, 0}, {0, 0}, {5, 5}}, 20133, false, false},
        {"angle of NaN", 106, {{kNaN, 0}, {0, 0}, {5, 5}}, 20133, false, true},
        {"angle overflows", 106, {{-kHuge, 0}, {kHuge, 0}, {0, kHuge}}, 20133, false, false},
        {"parallel lines", 107, {{0, 0}, {10, 0}, {0, 5}, {10, 5}, {3, 3}}, 20133, false, false},
        {"lines overflow", 107, {{-kHuge, 0}, {kHuge, 1}, {0, -kHuge}, {1, kHuge}, {3, 3}}, 20133, false, false},
        {"side point on the vertex", 107, {{-5, 0}, {20, 0}, {0, -5}, {0, 30}, {0, 0}}, 20133, false, false, true},
        {"side point of NaN", 107, {{-5, 0}, {20, 0}, {0, -5}, {0, 30}, {kNaN, 1}}, 20133, false, false, true},
    };
    const int16_t listed = 6;
    for (const FailureCase& c : cases) {
        rig.Reset(c.mode, c.clicks, listed, 1, 1, QStringLiteral("mm"), QStringLiteral("0.0"), c.dirtyBefore);
        Points want = rig.f.WorkPoints;
        if (c.reduced) {
            want[1] = {20, 0};
            want[2] = {0, 0};
            want[3] = {0, 30};
        }
        rig.s.host.AnswerMsgBox(vb::vbOK);
        tavix::AddMeasureResult(rig.f);
        ASSERT_EQ(rig.s.host.Boxes.size(), 1u) << c.what;
        EXPECT_EQ(rig.s.host.Boxes[0].Prompt, GST(c.text)) << c.what;
        EXPECT_EQ(rig.s.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbCritical) << c.what;
        EXPECT_EQ(rig.s.host.Boxes[0].Title, GST(11134)) << c.what;
        EXPECT_EQ(rig.f.ResultCount, listed) << c.what;
        EXPECT_EQ(rig.draws, c.firstWay ? 1 : 0) << c.what;
        EXPECT_EQ(rig.f.ResultDirty, c.firstWay || c.dirtyBefore) << c.what;
        rig.ExpectUntouchedFrom(listed + 1, c.what);
        ASSERT_EQ(rig.f.WorkPoints.size(), want.size()) << c.what;
        for (size_t i = 1; i < want.size(); ++i)
            EXPECT_TRUE(Same(rig.f.WorkPoints[i].X, want[i].X) && Same(rig.f.WorkPoints[i].Y, want[i].Y))
                << c.what << " WorkPoints(" << i << ")";
    }
}

struct ExtremeCase {
    const char* what;
    int16_t mode;
    Points clicks;
    std::vector<double> values;  // one per row
};

// Routines that give no truth value trap float errors as 0; perpendicular points that fail are skipped.
TEST(MeasureResult, FloatErrorsWithoutAFailureWay) {
    Rig rig;
    const ExtremeCase cases[] = {
        {"distance overflows", 101, {{-kHuge, 0}, {kHuge, 0}}, {0}},
        {"distance of NaN", 101, {{kNaN, 0}, {3, 4}}, {0}},
        {"huge but finite distance", 101, {{0, 0}, {kHuge, 0}}, {kHuge}},
        {"perpendicular middle point NaN closes up", 104, {{0, 0}, {10, 0}, {3, 4}, {kNaN, 1}, {7, 8}}, {4, 8}},
        {"perpendicular last point NaN", 104, {{0, 0}, {10, 0}, {3, 4}, {5, 6}, {1, kNaN}}, {4, 6}},
        {"perpendicular first point overflows", 104, {{0, -kHuge}, {10, -kHuge}, {1, kHuge}, {5, 6}}, {kHuge}},
        {"perpendicular every point NaN", 104, {{0, 0}, {10, 0}, {kNaN, 1}, {kNaN, 2}}, {}},
    };
    const int16_t listed = 2;
    for (const ExtremeCase& c : cases) {
        rig.Reset(c.mode, c.clicks, listed);
        tavix::AddMeasureResult(rig.f);
        const int16_t n = static_cast<int16_t>(c.values.size());
        EXPECT_EQ(rig.f.ResultCount, listed + n) << c.what;
        EXPECT_EQ(rig.draws, 1) << c.what;
        EXPECT_TRUE(rig.f.ResultDirty) << c.what;
        for (int16_t i = 0; i < n; ++i) {
            EXPECT_EQ(Var().ResultTable[listed + 1 + i].No, listed + 1 + i) << c.what;
            EXPECT_EQ(Var().ResultTable[listed + 1 + i].Value, c.values[i]) << c.what << " row " << i;
            EXPECT_EQ(rig.f.grdResult->TextMatrix(listed + 1 + i, 0), QString::number(listed + 1 + i)) << c.what;
        }
        rig.ExpectUntouchedFrom(listed + n + 1, c.what);
    }
}

struct FullCase {
    const char* what;
    int16_t mode;
    Points clicks;
    int16_t listed;
    bool refused;
};

TEST(MeasureResult, NothingIsWrittenPastTheLastGridRow) {
    Rig rig;
    const Points circles{{10, 0}, {0, 10}, {-10, 0}, {35, 40}, {30, 45}, {25, 40}};
    const Points five{{0, 0}, {10, 0}, {3, 4}, {5, -6}, {7, 8}};
    const FullCase cases[] = {
        {"distance into row 99", 101, {{0, 0}, {3, 4}}, 98, false},
        {"distance past row 99", 101, {{0, 0}, {3, 4}}, 99, true},
        {"two circles ending on row 99", 103, circles, 96, false},
        {"two circles, third row past 99", 103, circles, 97, true},
        {"three perpendiculars ending on row 99", 104, five, 96, false},
        {"three perpendiculars, last past 99", 104, five, 97, true},
        // Counted by points, not by the feet that would succeed.
        {"perpendiculars refused though one fails", 104, {{0, 0}, {10, 0}, {3, 4}, {kNaN, 1}, {7, 8}}, 97, true},
        {"circle that would fail", 102, {{0, 0}, {1, 1}, {2, 2}}, 99, true},
    };
    for (const FullCase& c : cases) {
        rig.Reset(c.mode, c.clicks, c.listed, 1, 1, QStringLiteral("mm"), QStringLiteral("0.0"), false);
        if (c.refused) rig.s.host.AnswerMsgBox(vb::vbOK);
        tavix::AddMeasureResult(rig.f);
        if (c.refused) {
            ASSERT_EQ(rig.s.host.Boxes.size(), 1u) << c.what;
            EXPECT_EQ(rig.s.host.Boxes[0].Prompt, GST(20141)) << c.what;
            EXPECT_EQ(rig.s.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbExclamation) << c.what;
            EXPECT_EQ(rig.s.host.Boxes[0].Title, GST(11141)) << c.what;
            EXPECT_EQ(rig.f.ResultCount, c.listed) << c.what;
            EXPECT_EQ(rig.draws, 0) << c.what;
            EXPECT_FALSE(rig.f.ResultDirty) << c.what;
            if (c.listed < tavix::MaxResultRows) rig.ExpectUntouchedFrom(c.listed + 1, c.what);
        } else {
            EXPECT_TRUE(rig.s.host.Boxes.empty()) << c.what;
            EXPECT_EQ(rig.f.ResultCount, tavix::MaxResultRows) << c.what;
            EXPECT_EQ(rig.f.grdResult->TextMatrix(tavix::MaxResultRows, 0), QStringLiteral("99")) << c.what;
        }
        // Slot 100 stands for everything the grid cannot show.
        EXPECT_EQ(Var().ResultTable[tavix::MaxResultRows + 1].Kind, kMarkKind) << c.what;
    }
}

}  // namespace
