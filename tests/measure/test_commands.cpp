// The measure commands and their results: the clicks and what follows the pointer, the rows a
// finished measure lists or the box it refuses with, and the list saved; the calibration with its
// file, choice and measure; frmMeasureConfig with what OK or Cancel does to the window and ini file.
#include <QCoreApplication>
#include <QDir>
#include <QKeyEvent>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <optional>
#include <vector>

#include "CalcModule.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "Convert.h"
#include "MeasureCommands.h"
#include "MeasureResults.h"
#include "PointerFeedback.h"
#include "Proof.h"
#include "ResultTable.h"
#include "StartedMain.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "Wiring.h"
#include "frmMeasureConfig.h"
#include "frmProofConfig.h"

using tavix::frmMain;
using Cmd = tavix::CommandMode;
using tavix::GST;
using tavix::Point2D;
using tavix::Var;

namespace {

constexpr int kEnded = -1;  // the guidance hidden: the command has ended

// One click and the state after it.
struct Step {
    char button;  // 'L', 'R', 'M'; 'Y'/'N': a left click answered Yes/No by a question box; 'B': a refusal box;
                  // 'P': the pointer moves there, and lines holds what follows it
    float x, y;
    int points, guidance;
    const char* lines;    // loaded linMeasure elements
    const char* circles;  // loaded shaMeasure elements
};

struct CommandCase {
    const char* what;
    int16_t button, twoPointMode, angleMode;
    int mode, firstGuidance;
    int backTo;      // up to this many points a right click takes the last one back
    int results;     // added at the end
    int16_t listed;  // before the start; a start refused for a full list has the first guidance kEnded
    std::vector<Step> steps;
    int32_t boxText = 0, boxTitle = 0, boxButtons = 0;  // of every box met
};

// One box as it shows (a warning unless said otherwise), and the boxes shown since the last look.
std::string Box(int32_t text, int32_t title, int buttons = vb::vbOKOnly | vb::vbExclamation) {
    return (tavix::GST(title) + '|' + tavix::GST(text) + '|' + QString::number(buttons) + '\n').toStdString();
}
constexpr int kQuestion = vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2;
std::string Shown(testing_support::ScriptedDialogHost& host) {
    std::string boxes;
    for (const auto& b : host.Boxes)
        boxes += (b.Title + '|' + b.Prompt + '|' + QString::number(b.Buttons) + '\n').toStdString();
    host.Boxes.clear();
    return boxes;
}

template <class T>
std::string Loaded(const vb::ControlArray<T>& a) {
    std::string s;
    for (int k = 1; k <= a.UBound(); ++k)
        if (a.Exists(k)) s += (s.empty() ? "" : ",") + std::to_string(k);
    return s;
}

// The loaded lines as "k:x1,y1,x2,y2", the circles as "ck:left,top,width,height", "-" when hidden.
std::string Overlay(const frmMain& f) {
    QStringList got;
    const auto item = [&](const QString& name, bool shown, double x1, double y1, double x2, double y2) {
        got << name + ':' + (shown ? QStringLiteral("%1,%2,%3,%4").arg(x1).arg(y1).arg(x2).arg(y2) : "-");
    };
    for (int k = 1; k <= f.linMeasure.UBound(); ++k)
        if (const vb::LineControl* l = f.linMeasure.Exists(k) ? f.linMeasure[k] : nullptr)
            item(QString::number(k), l->Visible(), l->X1(), l->Y1(), l->X2(), l->Y2());
    for (int k = 1; k <= f.shaMeasure.UBound(); ++k)
        if (const vb::Shape* e = f.shaMeasure.Exists(k) ? f.shaMeasure[k] : nullptr)
            item(QStringLiteral("c%1").arg(k), e->Visible(), e->Left(), e->Top(), e->Width(), e->Height());
    return got.join(' ').toStdString();
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const QString kMark = QStringLiteral("-"), kMm = QStringLiteral("mm");
constexpr auto kMarkKind = tavix::CommandMode(-1);

using Points = std::vector<Point2D>;                      // from element 1
const Points kLines{{-5, 0}, {20, 0}, {0, -5}, {0, 30}};  // crossing at (0, 0); the far ends are the 2nd and 4th

// The main window with a grey still, its results in cyan; guidance texts by their number.
struct Still : testing_support::StartedMain {
    explicit Still(int16_t results = 0, bool dirty = false, const QString& deployment = QStringLiteral("ja"))
        : StartedMain(3, deployment) {
        for (int n = 30; n <= 59; ++n)
            Var().GuidanceTable[n] = {QStringLiteral("G%1").arg(n), QStringLiteral("second %1").arg(n)};
        QImage grey(400, 300, QImage::Format_RGB32);
        grey.fill(0xFF404040);
        f.picTempView->SetPicture(grey);
        tavix::EnableCommandArea(f, *f.picMeasureCommandArea);
        tavix::DispImage(f, false);
        f.grdResult->SetRow(99);  // no record selected
        f.grdResult->SetRowSel(99);
        testing_support::ResultsInCyan();
        AddResults(results, dirty);
    }
    int Guidance() const { return f.txtComment[0]->Locked() ? f.txtComment[0]->Text().mid(1).toInt() : kEnded; }

    // Lines across the still, one a row, that a redraw shows.
    void AddResults(int16_t n, bool dirty) {
        for (int16_t r = 1; r <= n; ++r)
            Var().ResultTable[r] = {r, tavix::CommandMode::Distance, {{}, {-50, -20.0 * r}, {50, -20.0 * r}}, 1};
        f.ResultCount = n;
        f.ResultDirty = dirty;
    }
    bool ResultsShown() const { return testing_support::ResultPixels(f) > 0; }
    void Click(int16_t button, float x = 0, float y = 0) { tavix::picStillView_MouseUp(f, button, 0, x, y); }
};

TEST(MeasureCommand, ClickSequencesAndWhatFollowsThePointer) {
    // After every left click of a running command a right click must give back the state before
    // it, and the same left click again the state after it.
    constexpr int kAll = 99, kFull = vb::vbOKOnly | vb::vbExclamation;
    // clang-format off
    const CommandCase cases[] = {
        {"distance into the last row", 0, 0, 0, 101, 32, kAll, 1, 98, {{'L', 0, 0, 1, 33, "1", ""}, {'P', 30, 40, 0, 0, "1:0,0,30,40", ""}, {'L', 30, 40, 2, kEnded, "", ""}}},
        {"distance to a parallel", 0, 1, 0, 108, 57, kAll, 1, 0, {
          {'L', 0, 0, 1, 58, "1", ""}, {'L', 100, 0, 2, 59, "1,2,3", ""},
          {'P', 50, 20, 0, 0, "1:0,0,100,0 2:0,20,100,20 3:50,20,50,0", ""},  // the parallel through the pointer
          {'B', 150, 20, 2, 59, "1,2,3", ""},  // foot beyond the base line
          {'B', -1.5, 30, 2, 59, "1,2,3", ""},  // beyond by more than 1 pixel
          {'L', -0.4, 30, 3, kEnded, "", ""}},  // within 1 pixel the foot still counts as between
         20134, 11134, vb::vbOKOnly | vb::vbCritical},
        {"circle", 1, 0, 0, 102, 34, kAll, 1, 0, {
          {'M', 5, 5, 0, 34, "", ""},  // a middle button does nothing
          {'L', 0, 0, 1, 35, "", ""}, {'L', 10, 10, 2, 36, "", "1"},
          {'P', 20, 20, 0, 0, "c1:-", ""},  // the pointer on the line of the two points: no circle
          {'L', 20, 0, 3, kEnded, "", ""}}},
        {"two circles into the last rows", 2, 0, 0, 103, 37, kAll, 3, 96, {
          {'L', 0, 10, 1, 38, "", ""}, {'L', 10, 0, 2, 39, "", "1"}, {'L', 0, -10, 3, 40, "", "1"},
          {'P', 0, 30, 0, 0, "c1:-10,-10,20,20", ""},  // the first circle stands
          {'L', 50, 10, 4, 41, "", "1"}, {'L', 60, 0, 5, 42, "", "1,2"}, {'L', 50, -10, 6, kEnded, "", ""}}},
        {"perpendicular", 3, 0, 0, 104, 43, 2, 3, 0, {
          {'L', -100, 0, 1, 44, "1", ""},
          {'L', 100, 0, 2, 45, "1", ""},  // back from here, line 1 stays: its end follows the pointer
          {'P', 30, 40, 0, 0, "1:-100,0,100,0", ""},  // but not once the base line stands
          {'L', 0, 30, 3, 46, "1,2", ""}, {'L', 20, -40, 4, 46, "1,2,3", ""}, {'L', 50, 10, 5, 46, "1,2,3,4", ""},
          {'R', 0, 0, 5, kEnded, "", ""}}},
        {"area", 4, 0, 0, 105, 50, kAll, 1, 0, {
          {'L', 0, 0, 1, 51, "1", ""}, {'L', 100, 0, 2, 51, "1,2", ""}, {'P', 40, 40, 0, 0, "1:0,0,100,0 2:100,0,40,40", ""},
          {'L', 0.5, 1, 3, 51, "1,2,3", ""},  // the third corner near the first does not ask
          {'R', 0, 0, 2, 51, "1,2", ""}, {'L', 100, 100, 3, 51, "1,2,3", ""}, {'N', 2.9, 0, 3, 51, "1,2,3", ""},
          {'L', 0, 3.0, 4, 51, "1,2,3,4", ""}, {'Y', 0, 2, 4, kEnded, "", ""}},
         20120, 11120, vb::vbYesNo | vb::vbQuestion},
        {"angle by three points", 5, 0, 0, 106, 47, kAll, 1, 0, {
          {'L', 50, 0, 1, 48, "1", ""}, {'L', 0, 0, 2, 49, "1,2", ""}, {'L', 0, 50, 3, kEnded, "", ""}}},
        {"angle by two lines", 5, 0, 1, 107, 52, kAll, 1, 0, {
          {'L', -50, 0, 1, 53, "1", ""}, {'L', 50, 0, 2, 54, "1", ""}, {'L', 0, -50, 3, 55, "1,2", ""},
          {'P', 20, 30, 0, 0, "1:-50,0,50,0 2:0,-50,20,30", ""},
          {'L', 0, 50, 4, 56, "1,2", ""}, {'L', 10, 10, 5, kEnded, "", ""}}},
        {"circle ended at once", 1, 0, 0, 102, 34, 0, 0, 0, {{'R', 0, 0, 0, kEnded, "", ""}}},
        {"count", 6, 0, 0, 100, 30, 0, 1, 0, {
          {'L', 0, 0, 1, 31, "", ""}, {'P', 20, 20, 0, 0, "", ""}, {'L', 10, 0, 2, 31, "", ""}, {'R', 0, 0, 2, kEnded, "", ""}}},
        {"two circles in a list too full", 2, 0, 0, 0, kEnded, 0, 0, 97, {}, 20141, 11141, kFull},
        {"perpendicular drops the point that would pass row 99", 3, 0, 0, 104, 43, 0, 1, 98, {
          {'L', -100, 0, 1, 44, "1", ""}, {'L', 100, 0, 2, 45, "1", ""}, {'L', 0, 10, 3, 46, "1,2", ""},
          {'B', 0, 20, 3, 46, "1,2", ""}, {'R', 0, 0, 3, kEnded, "", ""}},
         20141, 11141, kFull},
    };
    // clang-format on
    for (const CommandCase& c : cases) {
        SCOPED_TRACE(c.what);
        Still w;
        frmMain& f = w.f;
        std::tie(Var().TwoPointCommandMode, Var().AngleCommandMode) = std::tuple(c.twoPointMode, c.angleMode);
        // Neither a click outside a command nor a button beyond the seven starts anything.
        tavix::picStillView_MouseUp(f, 1, 0, 0, 0);
        tavix::cmdMeasure_Click(f, 7);
        EXPECT_EQ(f.CommandMode, tavix::CommandMode::Idle);
        f.ResultCount = c.listed;
        const bool refused = c.firstGuidance == kEnded;
        if (refused) w.host.AnswerMsgBox(vb::vbOK);
        f.cmdMeasure[c.button]->OnClick();  // as wired to the button
        EXPECT_EQ(Shown(w.host), refused ? Box(c.boxText, c.boxTitle, c.boxButtons) : "");
        // The running command's button lit, the rest of the measure area locked.
        const auto area = [&] {
            return std::tuple(int(f.CommandMode), w.Guidance(), f.cmdMeasure[c.button]->BackColor(),
                              f.cmdPicLoad->Enabled(), f.chkScale->Enabled());
        };
        const auto idle = std::tuple(0, kEnded, vb::vbButtonFace, true, true);
        EXPECT_EQ(area(), refused ? idle : std::tuple(c.mode, c.firstGuidance, 0x0080FFFFu, false, false));
        const auto state = [&] {
            return std::tuple(int(f.CommandMode), int(f.WorkPoints.size()) - 1, w.Guidance(), Loaded(f.linMeasure),
                              Loaded(f.shaMeasure), int(f.ResultCount));
        };
        const auto press = [&](int16_t button, float x, float y, bool box, const std::string& at) {
            tavix::picStillView_MouseMove(f, 0, 0, x, y);  // the pointer comes to each click
            tavix::picStillView_MouseUp(f, button, 0, x, y);
            EXPECT_EQ(Shown(w.host), box ? Box(c.boxText, c.boxTitle, c.boxButtons) : "") << at;
        };
        auto previous = state();
        int i = 0;
        for (const Step& s : c.steps) {
            const std::string at = "step " + std::to_string(++i);
            if (s.button == 'P') {  // with a button held or not the same, and the still not repainted
                const qint64 canvas = f.picStillView->GetImage().cacheKey();
                tavix::picStillView_MouseMove(f, 1, 0, s.x, s.y);
                EXPECT_EQ(std::tuple(Overlay(f), f.picStillView->GetImage().cacheKey()),
                          std::tuple(std::string(s.lines), canvas))
                    << at;
                continue;
            }
            if (!strchr("LRM", s.button))
                w.host.AnswerMsgBox(s.button == 'Y' ? vb::vbYes : s.button == 'N' ? vb::vbNo : vb::vbOK);
            press(s.button == 'R' ? 2 : s.button == 'M' ? 4 : 1, s.x, s.y, !strchr("LRM", s.button), at);
            const bool ended = s.guidance == kEnded;
            const auto expected = std::tuple(ended ? 0 : c.mode, s.points, s.guidance, std::string(s.lines),
                                             std::string(s.circles), c.listed + (ended ? c.results : 0));
            EXPECT_EQ(state(), expected) << at;
            if (s.button == 'L' && !ended && s.points <= c.backTo) {
                press(2, 0, 0, false, at + " back");
                EXPECT_EQ(state(), previous) << at << " back";
                press(1, s.x, s.y, false, at + " again");
                EXPECT_EQ(state(), expected) << at << " again";
            }
            previous = state();
        }
        EXPECT_EQ(area(), idle);
    }
}

// ---- The rows a finished measure lists, or its box ----

// Points as text from element `from`, NaN as nan.
QString Text(const Points& points, size_t from = 0) {
    QString text;
    for (size_t k = from; k < points.size(); ++k) text += QStringLiteral("%1,%2 ").arg(points[k].X).arg(points[k].Y);
    return text;
}

struct WantRow {
    tavix::CommandMode kind;
    double value;
    QString name, text, unit;
    Points points;  // from element 1; the upper bound is its size
};

// Float errors without a failure way count here too: routines without a truth value give 0,
// and perpendicular points whose foot fails are skipped.
TEST(MeasureResult, MeasuresAddTheirRowsInOrderOrABoxAndNothing) {
    Still rig;
    frmMain& f = rig.f;
    const auto row = [&](int no) {
        QStringList texts;
        for (int col = 0; col < 4; ++col) texts << f.grdResult->TextMatrix(no, col);
        return texts;
    };
    constexpr int32_t kFull = 20141;
    const Points seven{{1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}};
    const std::vector<WantRow> circleRows{
        {Cmd::TwoCircles, 20, GST(11135).replace(u'@', u'1'), "20.00", kMm, {{0, 0}, {10, 0}}},
        {Cmd::TwoCircles, 10, GST(11135).replace(u'@', u'2'), "10.00", kMm, {{30, 40}, {5, 0}}},
        {Cmd::Distance, 50, GST(11136), "50.00", kMm, {{0, 0}, {30, 40}}}};
    // An angle by two lines (kLines and a side point) lists the inner or outer angle; its record
    // holds the rays reduced to three points, the fourth click and the side point.
    const auto with = [](Point2D side) { return Points{kLines[0], kLines[1], kLines[2], kLines[3], side}; };
    const auto angle = [](const Points& clicks, double degrees) {
        const Points rays{{20, 0}, {0, 0}, {0, 30}, clicks[3], clicks[4]};
        return std::vector<WantRow>{
            {Cmd::ThreePointAngle, degrees, GST(11139), vb::Format(degrees, "0.0"), GST(11140), rays}};
    };
    // listed: results before the measure; the last rows end on grid row 99.
    const struct {
        const char* what;
        tavix::CommandMode mode;
        Points clicks;
        double zoom, cal;
        const char* format;
        std::vector<WantRow> rows;
        int16_t listed = 4;
        int32_t text = 0;  // the box of a failure or refusal
        bool firstWay = false, dirtyBefore = false, reduced = false;
    } cases[] = {
        // clang-format off
        // (1 / 3) * 0.01 * 3 differs in its last bit from 0.01 / 3 * 3 and 3 / 3 * 0.01; stored unrounded.
        {"calibrated in order", Cmd::Distance, {{0, 0}, {3, 0}}, 3.0, 0.01, "0.000",
         {{Cmd::Distance, 0.009999999999999998, GST(11132), "0.010", kMm, {}}}},
        {"circle gives the diameter", Cmd::Circle, {{100, 0}, {0, 100}, {-100, 0}}, 1, 1, "0.0",
         {{Cmd::Circle, 200, GST(11133), "200.0", kMm, {{0, 0}, {100, 0}}}}},
        {"two circles, then their centres", Cmd::TwoCircles, {{10, 0}, {0, 10}, {-10, 0}, {35, 40}, {30, 45}, {25, 40}}, 1, 1, "0.00", circleRows},
        {"area squared unit", Cmd::Area, {{0, 0}, {10, 0}, {10, 10}, {0, 10}}, 1, 0.5, "0.0",
         {{Cmd::Area, 25, GST(11138), "25.0", QStringLiteral("mm2"), {{0, 0}, {10, 0}, {10, 10}, {0, 10}}}}},
        {"count of 7", Cmd::Count, seven, 3, 0.01, "0.000", {{Cmd::Count, 7, GST(11130), "7", GST(11131), seven}}},
        {"angle by three points, in degrees of the short pi", Cmd::ThreePointAngle, {{10, 0}, {0, 0}, {0, 10}}, 2, 0.01, "0.0",
         {{Cmd::ThreePointAngle, std::numbers::pi / 2 * 180 / tavix::Pi, GST(11139), "90.0", GST(11140), {{10, 0}, {0, 0}, {0, 10}}}}},
        {"distance to a slanted parallel", Cmd::ParallelDistance, {{0, 0}, {10, 10}, {0, 10}}, 1, 0.1, "0.000",
         {{Cmd::ParallelDistance, std::sqrt(0.5), GST(11132), "0.707", kMm, {{0, 0}, {10, 10}, {-5, 5}, {5, 15}, {5, 5}, {0, 10}}}}},
        {"side point between the far ends", Cmd::TwoLineAngle, with({5, 5}), 1, 1, "0.0", angle(with({5, 5}), 90)},
        {"the other side, the far ends clicked first", Cmd::TwoLineAngle, {{20, 0}, {-5, 0}, {0, 30}, {0, -5}, {-5, -5}}, 1, 1, "0.0",
         angle({{20, 0}, {-5, 0}, {0, 30}, {0, -5}, {-5, -5}}, 270)},
        {"0.6 degrees past a ray is outside", Cmd::TwoLineAngle, with({-1.05, 100}), 1, 1, "0.0", angle(with({-1.05, 100}), 270)},
        {"distance overflows to 0", Cmd::Distance, {{0, 0}, {1.7e308, 1.7e308}}, 1, 1, "0.0",
         {{Cmd::Distance, 0, GST(11132), "0.0", kMm, {}}}},
        {"perpendicular middle point NaN closes up", Cmd::Perpendicular, {{0, 0}, {10, 0}, {3, 4}, {kNaN, 1}, {7, 8}}, 1, 1, "0.0",
         {{Cmd::Perpendicular, 4, GST(11137), "4.0", kMm, {{0, 0}, {10, 0}, {3, 4}, {3, 0}}},
          {Cmd::Perpendicular, 8, GST(11137), "8.0", kMm, {{0, 0}, {10, 0}, {7, 8}, {7, 0}}}}},
        // Failures of the measure, and refusals of a measure whose rows would not fit the grid.
        {"circle on one line", Cmd::Circle, {{0, 0}, {1, 1}, {2, 2}}, 1, 1, "0.0", {}, 6, 20130, true},
        {"first of two circles NaN", Cmd::TwoCircles, {{kNaN, 0}, {0, 10}, {-10, 0}, {35, 40}, {30, 45}, {25, 40}}, 1, 1, "0.0", {}, 6, 20130, true},
        {"second of two circles on one line", Cmd::TwoCircles, {{10, 0}, {0, 10}, {-10, 0}, {0, 0}, {1, 0}, {2, 0}}, 1, 1, "0.0", {}, 6, 20130, true, true},
        {"parallel of NaN", Cmd::ParallelDistance, {{0, 0}, {10, 0}, {kNaN, 3}}, 1, 1, "0.0", {}, 6, 20131, true},
        {"area of NaN", Cmd::Area, {{0, 0}, {kNaN, 0}, {1, 1}}, 1, 1, "0.0", {}, 6, 20132, false, true},
        {"angle ray of length 0", Cmd::ThreePointAngle, {{0, 0}, {0, 0}, {5, 5}}, 1, 1, "0.0", {}, 6, 20133},
        {"parallel lines", Cmd::TwoLineAngle, {{0, 0}, {10, 0}, {0, 5}, {10, 5}, {3, 3}}, 1, 1, "0.0", {}, 6, 20133},
        {"side point on the vertex", Cmd::TwoLineAngle, {kLines[0], kLines[1], kLines[2], kLines[3], {0, 0}}, 1, 1, "0.0", {}, 6, 20133, false, false, true},
        // A full list is checked before computing.
        {"circle that would fail", Cmd::Circle, {{0, 0}, {1, 1}, {2, 2}}, 1, 1, "0.0", {}, 99, kFull},
        // clang-format on
    };
    for (const auto& c : cases) {
        const int16_t listed = c.listed, n = static_cast<int16_t>(c.rows.size());
        // A calibration other than slot 0, and slot 0 wrong, so the current one must be read.
        Var().CurrentProofNo = 2;
        Var().ProofTable[0] = {QStringLiteral("wrong"), 1000, QStringLiteral("km")};
        Var().ProofTable[2] = {QStringLiteral("used"), c.cal, kMm};
        Var().ZoomFactor = c.zoom;
        f.ResultFormat = QString::fromLatin1(c.format);
        f.CommandMode = c.mode;
        f.WorkPoints = Points{Point2D{}};
        f.WorkPoints.insert(f.WorkPoints.end(), c.clicks.begin(), c.clicks.end());
        f.ResultCount = listed;
        f.ResultDirty = c.dirtyBefore;
        // Rows and slots after the listed ones hold marks, to see writes.
        for (int no = listed + 1; no < tavix::ResultTableSize; ++no) {
            for (int col = 0; col < 4 && no <= tavix::MaxResultRows; ++col) f.grdResult->SetTextMatrix(no, col, kMark);
            Var().ResultTable[no].Kind = kMarkKind;
        }
        if (c.text) rig.host.AnswerMsgBox(vb::vbOK);
        tavix::AddMeasureResult(f);
        // A failure or refusal: its box, and the clicks left as they were (or reduced to rays).
        const bool full = c.text == kFull;
        const std::string box =
            Box(c.text, full ? 11141 : 11134, vb::vbOKOnly | (full ? vb::vbExclamation : vb::vbCritical));
        EXPECT_EQ(std::tuple(Shown(rig.host), f.ResultCount, f.ResultDirty),
                  std::tuple(c.text ? box : "", listed + n, !c.text || c.firstWay || c.dirtyBefore))
            << c.what;
        const Points rays{{20, 0}, {0, 0}, {0, 30}, kLines[3], {0, 0}};
        if (c.text) {
            EXPECT_EQ(Text(f.WorkPoints, 1), Text(c.reduced ? rays : c.clicks)) << c.what << " WorkPoints";
        }
        for (int16_t i = 0; i < n; ++i) {
            const WantRow& w = c.rows[i];
            const int16_t no = listed + 1 + i;
            SCOPED_TRACE(testing::Message() << c.what << ", row " << no);
            const tavix::ResultRecord& r = Var().ResultTable[no];
            // Angles by two lines to 1e-9, the others to the last bit.
            const double value = c.mode == Cmd::TwoLineAngle ? std::round(r.Value * 1e9) / 1e9 : r.Value;
            EXPECT_EQ(std::tuple(r.No, r.Kind, value, row(no)),
                      std::tuple(no, w.kind, w.value, QStringList({QString::number(no), w.name, w.text, w.unit})));
            if (!w.points.empty()) {
                EXPECT_EQ(Text(r.Points, 1), Text(w.points));
            }
        }
        // Slot 100 stands for everything the grid cannot show, and is never written.
        for (int no = listed + n + 1; no < tavix::ResultTableSize; ++no)
            EXPECT_TRUE(Var().ResultTable[no].Kind == kMarkKind &&
                        (no > tavix::MaxResultRows || row(no) == QStringList({kMark, kMark, kMark, kMark})))
                << c.what << " row " << no;
    }
}

// ---- The result list: removed, emptied, saved ----

TEST(ResultTable, SaveWritesTheGridTextsOrLeavesTheListUnsavedClearAsksFirst) {
    Still t;
    const QByteArray old(500, 'x');
    t.box.Write("r.txt", old);
    QDir(t.box.Path()).mkdir("dir");
    // The file chosen (nullopt: cancelled), and the error the log must name.
    const auto save = [&](std::optional<QString> name, bool box, int error) {
        if (t.f.ResultCount > 0) t.host.AnswerFile(name ? std::optional(t.box.File(*name)) : std::nullopt);
        if (box) t.host.AnswerMsgBox(vb::vbOK);
        tavix::cmdResultSave_Click(t.f);
        const bool logged = t.box.LogTexts().contains(QStringLiteral("cmdResultSave_Click Error.(%1)").arg(error));
        return std::tuple(Shown(t.host), t.box.Read("r.txt"), t.f.ResultDirty, t.host.BusyDepth, logged);
    };
    EXPECT_EQ(save({}, true, 0), std::tuple(Box(20090, 11090), old, false, 0, false)) << "nothing to save";
    const char* prefix[] = {"", "N", "v", "u"};
    for (int row = 1; row <= 3; ++row)
        for (int col = 0; col < 4; ++col) t.f.grdResult->SetTextMatrix(row, col, prefix[col] + QString::number(row));
    t.f.grdResult->SetTextMatrix(2, 1, QStringLiteral("a,b"));
    t.f.grdResult->SetTextMatrix(3, 3, QString());
    t.f.ResultCount = 3;
    t.f.ResultDirty = true;
    EXPECT_EQ(save(std::nullopt, false, 0), std::tuple(std::string(), old, true, 0, false)) << "cancelled";
    const std::string failed = Box(20092, 11092);
    EXPECT_EQ(save("gone/r.txt", true, 76), std::tuple(failed, old, true, 0, true)) << "folder gone";
    // Not by permissions: root may write.
    EXPECT_EQ(save("dir", true, 75), std::tuple(failed, old, true, 0, true)) << "folder in the way";
    const QByteArray written("1,N1,v1,u1\r\n2,a,b,v2,u2\r\n3,N3,v3,\r\n");
    EXPECT_EQ(save("r.txt", false, 0), std::tuple(std::string(), written, false, 0, false));
    // Emptying the list asks first: No keeps it, Yes empties grid and list.
    for (const int answer : {vb::vbNo, vb::vbYes}) {
        t.host.AnswerMsgBox(answer);
        tavix::cmdResultClear_Click(t.f);
        EXPECT_EQ(std::tuple(Shown(t.host), int(t.f.ResultCount), t.f.grdResult->TextMatrix(1, 1).isEmpty()),
                  std::tuple(Box(20070, 11070, kQuestion), answer == vb::vbNo ? 3 : 0, answer == vb::vbYes));
    }
}

// ---- The calibration and the measure settings ----

const QString kProof = QStringLiteral("Proof.txt");

// A slot as "name|value|unit".
std::string Slot(const tavix::ProofRecord& p) {
    return (p.Name + '|' + QString::number(p.Value, 'g', 16) + '|' + p.Unit).toStdString();
}

TEST(ProofChoice, AQuestionOnlyForUnsavedResultsAndNoKeepsTheSelection) {
    Still w(2, true);
    w.f.chkScale->OnClick = nullptr;  // checked without its dialog
    w.f.chkScale->SetValue(1);
    tavix::DispImage(w.f, false);
    Var().ProofTable[4] = {QStringLiteral("s4"), 0.000123456, QStringLiteral("mm")};
    // Fires the wired Click; a second box would fail the test. The scale bar follows at once.
    const auto choose = [&](int16_t slot, int answer) {
        const QImage before = w.f.picStillView->GetImage();
        if (answer) w.host.AnswerMsgBox(answer);
        w.f.cboProof->SetListIndex(slot);
        return std::tuple(Shown(w.host), w.f.picStillView->GetImage() != before, Var().CurrentProofNo,
                          w.f.cboProof->ListIndex(), w.f.ResultCount);
    };
    const std::string question = Box(20000, 11000, kQuestion);
    EXPECT_EQ(choose(4, vb::vbNo), std::tuple(question, false, 0, 0, 2));
    EXPECT_EQ(choose(4, vb::vbYes), std::tuple(question, true, 4, 4, 0));
    EXPECT_EQ(w.f.lblProofValue->Caption(), GST(10202, QStringLiteral("0.0001235 mm")));
    w.AddResults(2, false);  // saved results go silently
    EXPECT_EQ(choose(6, 0), std::tuple(std::string(), true, 6, 6, 0));
}

TEST(ProofMeasure, QuestionOnlyForUnsavedResultsTheLineFollowsRightClicksStepBack) {
    Still w(1, true);
    w.host.AnswerMsgBox(vb::vbNo);
    tavix::cmdProofConfig_Click(w.f);
    EXPECT_EQ(std::tuple(Shown(w.host), w.f.CommandMode),
              std::tuple(Box(20060, 11060, kQuestion), tavix::CommandMode::Idle));
    w.host.AnswerMsgBox(vb::vbYes);
    tavix::cmdProofConfig_Click(w.f);
    w.Click(4, 1, 1);                                  // a middle button does nothing
    tavix::picStillView_MouseMove(w.f, 0, 0, 10, 20);  // nothing to follow yet
    w.Click(1, 10, 20);
    tavix::picStillView_MouseMove(w.f, 0, 0, -20, 7);
    EXPECT_EQ(Overlay(w.f), "1:10,20,-20,7") << "the line's free end follows the pointer";
    w.Click(2);  // back to the first point, the results still hidden
    EXPECT_EQ(std::tuple(w.f.CommandMode, w.f.WorkPoints.size(), w.f.txtComment[0]->Text(), w.f.linMeasure.Exists(1),
                         w.ResultsShown()),
              std::tuple(tavix::CommandMode::Calibration, size_t(1), Var().GuidanceTable[20][0], false, false));
    w.Click(2);  // abandoned: the hidden results come back
    EXPECT_TRUE(w.f.CommandMode == tavix::CommandMode::Idle && w.ResultsShown() && w.f.chkScale->Enabled());
    w.f.ResultCount = 0;  // no results: no question
    tavix::cmdProofConfig_Click(w.f);
    EXPECT_EQ(w.f.CommandMode, tavix::CommandMode::Calibration);
}

// The dialog opens with the slot, ends only by its buttons (Enter and Escape included), and OK stores
// what was typed whatever the zoom; a refusal or a failed rewrite keeps it open and changes nothing.
TEST(ProofDialog, OpensWithTheSlotOkStoresIndependentOfZoomRefusalsKeepItOpen) {
    enum { Any, Name, Value, Unit };
    enum { Ok, Return, Escape, ReturnOnCancel };  // how the user ends it: a click on OK or a key
    // unit: the slot's before, shown: the index of the one the dialog opens with (μ for a unit not
    // in its list); stored: the slot after, "" for unchanged. text: the refusal's box, focus: the
    // field at fault; a rewrite goes to file and logs error, and the user then retries.
    const struct {
        const char *what, *unit;
        int shown;
        double zoom, apart;
        const char *name, *value;
        bool dirty;
        int end;
        const char* stored;
        int text = 0, focus = Any, error = 0;
        const char* file = nullptr;
    } cases[] = {
        // clang-format off
        {"OK at zoom 2, a foreign unit", "px", 0, 2.0, 200, "新しい ", "10x", true, Ok, "新しい |0.1|μ"},
        {"Enter in a text box is OK; zoom 0.5, saved results", "cm", 2, 0.5, 50, "新しい ", "10x", false, Return, "新しい |0.1|cm"},
        {"Escape is Cancel", "mm", 1, 1, 100, "新しい ", "10x", false, Escape, ""},
        {"Enter on the cancel button is Cancel, unsaved", "mm", 1, 1, 100, "新しい ", "10x", true, ReturnOnCancel, ""},
        {"blank name", "cm", 2, 1, 100, "   ", "1", false, Ok, "", 24000, Name},
        {"blank value", "cm", 2, 1, 100, "a", "  ", false, Ok, "", 24001, Value},
        {"letters read as 0", "cm", 2, 1, 100, "a", "abc", false, Ok, "", 24002, Value},
        {"no unit", "cm", 2, 1, 100, "a", "1", false, Ok, "", 24003, Unit},
        {"two clicks on one point", "cm", 2, 1, 0, "a", "5", false, Ok, "", 24004, Value},
        {"a value beyond a double", "cm", 2, 1, 100, "a", "1e400", false, Ok, "", 24004, Value},
        {"rewrite, folder gone", "cm", 2, 1, 100, "new", "2", false, Ok, "new|0.02|cm", 24005, Any, 76, "\\gone\\Proof.txt"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Still w;
        w.f.cboProof->SetListIndex(5);
        Var().ProofTable[5] = {QStringLiteral("slot5"), 1, QString::fromUtf8(c.unit)};
        Var().ZoomFactor = c.zoom;
        w.AddResults(3, c.dirty);
        if (c.dirty) w.host.AnswerMsgBox(vb::vbYes);  // the question at the start, and no other
        if (c.text) w.host.AnswerMsgBox(vb::vbOK);
        if (c.file) Var().ProofFileName = QString::fromLatin1(c.file);
        const std::string former = Slot(Var().ProofTable[5]);
        const QByteArray file = w.box.Read(kProof);
        tavix::cmdProofConfig_Click(w.f);
        w.Click(1);
        w.host.AnswerModal([&](vb::Form& form) {
            auto& d = dynamic_cast<tavix::frmProofConfig&>(form);
            // The measured length in pixels of the picture; the rubber line stays.
            EXPECT_EQ(QStringList({d.lblMeasured->Caption(), d.txtName->Text(), d.txtValue->Text(), d.txtValue->Tag}),
                      QStringList({GST(14004, QLatin1String(c.apart ? "100.0" : "0.0")), "slot5", "1",
                                   QString::number(c.apart)}));
            EXPECT_TRUE(d.cboUnit->ListCount() == 3 && d.cboUnit->ListIndex() == c.shown);
            EXPECT_TRUE(w.f.linMeasure.Exists(1) && w.f.linMeasure[1]->Visible());
            d.setParent(&w.f, d.windowFlags() | Qt::Dialog);  // as the program's dialog host does
            d.show();
            d.close();  // a window manager's close
            EXPECT_FALSE(d.Unloaded() || (d.windowFlags() & Qt::WindowCloseButtonHint));
            d.txtName->SetText(QString::fromUtf8(c.name));  // a name kept untrimmed, a value read up to a letter
            d.txtValue->SetText(QString::fromUtf8(c.value));
            if (c.focus == Unit) d.cboUnit->SetListIndex(-1);
            // After a refusal the focus must move to the field at fault.
            if (c.text || c.end == ReturnOnCancel) d.cmdCancel->SetFocus();
            if (c.end == Return || c.end == Escape) d.txtValue->SetFocus();
            QKeyEvent key(QEvent::KeyPress, c.end == Escape ? Qt::Key_Escape : Qt::Key_Return, Qt::NoModifier);
            c.end == Ok ? d.cmdOK->Click() : (void)QCoreApplication::sendEvent(d.focusWidget(), &key);
            if (c.text) {
                const vb::Control* fields[4] = {nullptr, d.txtName, d.txtValue, d.cboUnit};
                EXPECT_EQ(std::tuple(d.Unloaded(), Slot(Var().ProofTable[5])), std::tuple(false, former));
                EXPECT_TRUE(c.focus == Any || d.focusWidget() == fields[c.focus]->Widget());
                if (c.error) Var().ProofFileName = QStringLiteral("\\Retry.txt");  // the user made room: OK again
                (c.error ? d.cmdOK : d.cmdCancel)->Click();
            }
            EXPECT_TRUE(d.Unloaded());
        });
        w.Click(1, 0, c.apart);
        const std::string boxes =
            (c.dirty ? Box(20060, 11060, kQuestion) : std::string()) + (c.text ? Box(c.text, 14100) : std::string());
        EXPECT_EQ(Shown(w.host), boxes);
        // The measure ended; a stored slot empties the list, else the results and the file stay.
        const bool stored = *c.stored;
        EXPECT_EQ(std::tuple(Var().DialogResult, w.f.ResultCount, w.ResultsShown(), w.f.cboProof->ListIndex(),
                             w.f.linMeasure.Exists(1)),
                  std::tuple(stored, int16_t(stored ? 0 : 3), !stored, 5, false));
        if (!stored) {
            EXPECT_EQ(std::tuple(w.f.ResultDirty, Slot(Var().ProofTable[5]), w.box.Read(kProof)),
                      std::tuple(c.dirty, former, file));
            continue;
        }
        const QStringList slot = QString::fromUtf8(c.stored).split(u'|');
        EXPECT_EQ(std::tuple(Slot(Var().ProofTable[5]), w.f.cboProof->List(5), w.f.lblProofValue->Caption()),
                  std::tuple(std::string(c.stored), slot[0], GST(10202, slot[1] + u' ' + slot[2])));
        const QStringList lines = QString::fromUtf8(w.box.Read(c.error ? QStringLiteral("Retry.txt") : kProof))
                                      .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
        EXPECT_EQ(std::tuple(lines.size(), lines.value(5)),
                  std::tuple(10, QStringLiteral("\"%1\",%2,\"%3\"").arg(slot[0], slot[1], slot[2])));
        const QString logged = QStringLiteral("frmProofConfig:cmdOK_Click Error.(%1)").arg(c.error);
        EXPECT_EQ(w.box.LogTexts().contains(logged), c.error != 0);
    }
}

// ---- frmMeasureConfig ----

// Every setting the dialog edits, compared as a whole.
struct Settings {
    std::array<uint32_t, 7> colors{};
    int16_t crossLineNum = 0, decimals = 0, fontSize = 0, angleMode = 0, twoPointMode = 0;
    static Settings Now() {
        const tavix::VariableDefinition& v = Var();
        Settings s{{v.MeasureLineColor[1], v.MeasureValueColor[1], v.MeasureLineColor[2], v.MeasureValueColor[2],
                    v.MeasureLineColor[3], v.CrossLineColor, v.ScaleColor}};
        std::tie(s.crossLineNum, s.decimals, s.fontSize, s.angleMode, s.twoPointMode) =
            std::tie(v.CrossLineNum, v.NumberOfDecimals, v.MeasureFontSize, v.AngleCommandMode, v.TwoPointCommandMode);
        return s;
    }
    bool operator==(const Settings&) const = default;
};

// The dialog opens with the settings; Cancel keeps them, OK stores them for the ini file at exit;
// after either the window is rebuilt from them: captions, icons, colours, font, the grid's texts.
TEST(MeasureConfigDialog, OpensWithTheSettingsOkStoresCancelKeepsTheWindowRebuiltTheIniReadsBack) {
    const struct {
        Settings before;    // but the colours
        const char* opens;  // which option is on in the cross lines, the angle and the two-point command,
                            // the decimals and the font size; a size not in the list shows the first
        bool ok;
        int16_t twoPoint, angle;  // picked in the dialog
        const char* shown;        // the distance of 3.14159 in the grid
    } cases[] = {
        {{{}, 1, 3, 13, 1, 0}, "10 01 10 3 8", false, 1, 1, "3.142"},
        {{{}, 1, 0, 10, 0, 0}, "10 10 10 0 10", true, 1, 0, "3"},
        {{{}, 2, 8, 20, 1, 1}, "01 01 01 8 20", true, 0, 1, "3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.opens);
        Still w{0, false, c.before.decimals == 8 ? QStringLiteral("en") : QStringLiteral("ja")};
        tavix::VariableDefinition& v = Var();
        std::tie(v.CrossLineNum, v.NumberOfDecimals, v.MeasureFontSize, v.AngleCommandMode, v.TwoPointCommandMode) =
            std::tie(c.before.crossLineNum, c.before.decimals, c.before.fontSize, c.before.angleMode,
                     c.before.twoPointMode);
        for (int i = 1; i <= 3; ++i) v.MeasureLineColor[i] = 0x010101u * i;
        v.ScaleColor = 0x80000005;
        tavix::frmMain& f = w.f;
        Settings want = Settings::Now();
        // A main window out of line with the settings, so the rebuild shows.
        for (int b : {0, 5}) f.cmdMeasure[b]->SetCaption(QStringLiteral("stale"));
        f.picCrossLineV[1]->SetBackColor(0x0000FE);
        f.linMeasure[0]->SetBorderColor(0x0000FE);
        f.shaMeasure[0]->SetBorderColor(0x0000FE);
        f.picStillView->SetFontSize(30);
        f.ResultFormat = QStringLiteral("0.00000");
        for (const auto& [kind, value, text] :
             {std::tuple(Cmd::Distance, 3.14159, "stale"), std::tuple(Cmd::Count, 4.0, "4 counted")}) {
            ++f.ResultCount;
            Var().ResultTable[f.ResultCount] = {f.ResultCount, kind, {{}, {-60, 50}, {60, 50}}, value};
            f.grdResult->SetTextMatrix(f.ResultCount, 2, QString::fromLatin1(text));
        }
        f.picStillView->LineBox(-5, -5, 5, 5, 0x000080, true);  // gone when the still is repainted
        w.host.AnswerModal([&](vb::Form& form) {
            auto& d = dynamic_cast<tavix::frmMeasureConfig&>(form);
            for (int i = 0; i < 7; ++i) EXPECT_EQ(d.lblColor[i]->BackColor(), want.colors[i]) << i;
            QString opens;
            for (const auto& options : {d.optCrossLineNum, d.optAngleCommand, d.opt2PointCommand})
                opens += QString::number(options[0]->Value()) + QString::number(options[1]->Value()) + u' ';
            EXPECT_EQ(opens + d.cboDec->Text() + u' ' + d.cboFontSize->Text(), QLatin1String(c.opens));
            for (int i = 0; i < 8; ++i) {  // the eighth: the colour dialog cancelled on the third keeps its swatch
                w.host.AnswerColor(i < 7 ? std::optional(0x00102030u + static_cast<uint32_t>(i)) : std::nullopt);
                d.lblColor[i < 7 ? i : 2]->OnClick();
            }
            EXPECT_EQ(d.lblColor[2]->BackColor(), 0x00102032u);
            d.optCrossLineNum[1]->SetValue(true);
            d.cboDec->SetListIndex(0);
            d.cboFontSize->SetListIndex(6);
            d.opt2PointCommand[c.twoPoint]->SetValue(true);
            d.optAngleCommand[c.angle]->SetValue(true);
            if (c.ok) want = {{}, 2, 0, int16_t(d.cboFontSize->Text().toInt()), c.angle, c.twoPoint};
            for (int i = 0; c.ok && i < 7; ++i) want.colors[i] = 0x00102030u + i;
            (c.ok ? d.cmdOK : d.cmdCancel)->Click();
            EXPECT_TRUE(d.Unloaded());
        });
        f.cmdMeasureConfig->Click();
        EXPECT_TRUE(Settings::Now() == want);
        const int16_t twoPoint = v.TwoPointCommandMode, angle = v.AngleCommandMode;
        EXPECT_EQ((QStringList{f.cmdMeasure[0]->Caption(), f.cmdMeasure[5]->Caption()}),
                  (QStringList{GST(twoPoint ? 10112 : 10101), GST(angle ? 10110 : 10106)}));
        EXPECT_EQ(std::tuple(f.cmdMeasure[0]->GetPicture().cacheKey(), f.cmdMeasure[5]->GetPicture().cacheKey()),
                  std::tuple(f.img2PointIcon[twoPoint]->GetPicture().cacheKey(),
                             f.imgAngleIcon[angle]->GetPicture().cacheKey()));
        EXPECT_EQ(std::tuple(f.picCrossLineV[1]->BackColor(), f.linMeasure[0]->BorderColor(),
                             f.shaMeasure[0]->BorderColor(), f.picStillView->FontSize()),
                  std::tuple(v.CrossLineColor, v.MeasureLineColor[3], v.MeasureLineColor[3], v.MeasureFontSize));
        // The value reformatted from the record, never rounded in it; a count's text left alone.
        EXPECT_EQ(std::tuple(f.grdResult->TextMatrix(1, 2), f.grdResult->TextMatrix(2, 2), v.ResultTable[1].Value),
                  std::tuple(QString::fromLatin1(c.shown), QStringLiteral("4 counted"), 3.14159));
        const QRect r = f.picStillView->CanvasRect();
        const QImage shown = f.picStillView->GetImage();
        EXPECT_EQ(std::tuple(shown.pixel(r.width() / 2, r.height() / 2) == 0xFF800000,
                             testing_support::Pixels(shown, 0xFF404040) < shown.width() * shown.height()),
                  std::tuple(false, true))
            << "the still is repainted with its results";

        // A new start on the same installation reads them back.
        f.ResultDirty = false;
        f.cmdExit->Click();
        ASSERT_TRUE(f.Unloaded());
        tavix::ResetVariableDefinition();
        tavix::frmMain again;
        tavix::WireMain(again);
        ASSERT_TRUE(tavix::Form_Load(again, 3));
        EXPECT_TRUE(Settings::Now() == want);
        EXPECT_EQ(again.ResultFormat, tavix::MakeResultFormat(want.decimals));
    }
}

}  // namespace
