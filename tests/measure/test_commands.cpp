// The measure commands as click sequences: state after every click, the boxes, the ends,
// and one measure driven with real mouse events.
#include <QApplication>
#include <QMouseEvent>
#include <gtest/gtest.h>

#include "CommandArea.h"
#include "CommonModule.h"
#include "Convert.h"
#include "MeasureCommands.h"
#include "OpenImage.h"
#include "PointerFeedback.h"
#include "Proof.h"
#include "StartedMain.h"
#include "StillDisplay.h"

using tavix::frmMain;
using testing_support::QuarterPicture;

namespace {

constexpr int kEnded = -1;  // the guidance hidden: the command has ended

// One click and the state after it.
struct Step {
    char button;  // 'L', 'R', 'M'; 'Y'/'N': a left click answered Yes/No by a question box; 'B': a refusal box
    double x, y;
    int points, guidance;
    const char* lines;    // loaded linMeasure elements
    const char* circles;  // loaded shaMeasure elements
};

struct CommandCase {
    const char* what;
    int16_t button, twoPointMode, angleMode;
    int mode, firstGuidance;
    int backTo;   // up to this many points a right click takes the last one back
    int results;  // listed at the end
    std::vector<Step> steps;
    int32_t boxText = 0, boxTitle = 0;  // of every box the steps meet
    int boxButtons = 0;
};

// One box as it shows, and the boxes shown since the last look.
std::string Box(int32_t text, int32_t title, int buttons) {
    return (tavix::GST(title) + '|' + tavix::GST(text) + '|' + QString::number(buttons) + '\n').toStdString();
}
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

struct MeasureWindow : testing_support::StartedMain {
    MeasureWindow() : StartedMain(3) {
        f.picTempView->SetPicture(QuarterPicture(600, 400));
        for (int n = 30; n <= 59; ++n)
            tavix::Var().GuidanceTable[n] = {QStringLiteral("G%1").arg(n), QStringLiteral("second %1").arg(n)};
        tavix::EnableCommandArea(f, *f.picMeasureCommandArea);
        tavix::DispImage(f, false);
    }
    int Guidance() const {
        if (!f.txtComment[0]->Locked()) return kEnded;
        return f.txtComment[0]->Text().mid(1).toInt();
    }
};

TEST(MeasureCommand, ClickSequences) {
    // After every left click of a running command a right click must give back the state before
    // it, and the same left click again the state after it.
    constexpr int kAll = 99;
    // clang-format off
    const CommandCase cases[] = {
        {"distance", 0, 0, 0, 101, 32, kAll, 1, {{'L', 0, 0, 1, 33, "1", ""}, {'L', 30, 40, 2, kEnded, "", ""}}},
        {"distance to a parallel", 0, 1, 0, 108, 57, kAll, 1, {
          {'L', 0, 0, 1, 58, "1", ""}, {'L', 100, 0, 2, 59, "1,2,3", ""},
          {'B', 150, 20, 2, 59, "1,2,3", ""},  // foot beyond the base line
          {'B', -1.5, 30, 2, 59, "1,2,3", ""},  // beyond by more than 1 pixel
          {'L', -0.4, 30, 3, kEnded, "", ""}},  // within 1 pixel the foot still counts as between
         20134, 11134, vb::vbOKOnly | vb::vbCritical},
        {"circle", 1, 0, 0, 102, 34, kAll, 1, {
          {'M', 5, 5, 0, 34, "", ""},  // a middle button does nothing
          {'L', 0, 0, 1, 35, "", ""}, {'L', 10, 10, 2, 36, "", "1"}, {'L', 20, 0, 3, kEnded, "", ""}}},
        {"two circles", 2, 0, 0, 103, 37, kAll, 3, {
          {'L', 0, 10, 1, 38, "", ""}, {'L', 10, 0, 2, 39, "", "1"}, {'L', 0, -10, 3, 40, "", "1"},
          {'L', 50, 10, 4, 41, "", "1"}, {'L', 60, 0, 5, 42, "", "1,2"}, {'L', 50, -10, 6, kEnded, "", ""}}},
        {"perpendicular", 3, 0, 0, 104, 43, 2, 3, {
          {'L', -100, 0, 1, 44, "1", ""},
          {'L', 100, 0, 2, 45, "1", ""},  // back from here, line 1 stays: its end follows the pointer
          {'L', 0, 30, 3, 46, "1,2", ""}, {'L', 20, -40, 4, 46, "1,2,3", ""}, {'L', 50, 10, 5, 46, "1,2,3,4", ""},
          {'R', 0, 0, 5, kEnded, "", ""}}},
        {"area", 4, 0, 0, 105, 50, kAll, 1, {
          {'L', 0, 0, 1, 51, "1", ""}, {'L', 100, 0, 2, 51, "1,2", ""},
          {'L', 0.5, 1, 3, 51, "1,2,3", ""},  // the third corner near the first does not ask
          {'R', 0, 0, 2, 51, "1,2", ""}, {'L', 100, 100, 3, 51, "1,2,3", ""}, {'N', 2.9, 0, 3, 51, "1,2,3", ""},
          {'L', 0, 3.0, 4, 51, "1,2,3,4", ""}, {'Y', 0, 2, 4, kEnded, "", ""}},
         20120, 11120, vb::vbYesNo | vb::vbQuestion},
        {"angle by three points", 5, 0, 0, 106, 47, kAll, 1, {
          {'L', 50, 0, 1, 48, "1", ""}, {'L', 0, 0, 2, 49, "1,2", ""}, {'L', 0, 50, 3, kEnded, "", ""}}},
        {"angle by two lines", 5, 0, 1, 107, 52, kAll, 1, {
          {'L', -50, 0, 1, 53, "1", ""}, {'L', 50, 0, 2, 54, "1", ""}, {'L', 0, -50, 3, 55, "1,2", ""},
          {'L', 0, 50, 4, 56, "1,2", ""}, {'L', 10, 10, 5, kEnded, "", ""}}},
        {"circle ended at once", 1, 0, 0, 102, 34, 0, 0, {{'R', 0, 0, 0, kEnded, "", ""}}},
        {"count", 6, 0, 0, 100, 30, 0, 1, {
          {'L', 0, 0, 1, 31, "", ""}, {'L', 10, 0, 2, 31, "", ""}, {'R', 0, 0, 2, kEnded, "", ""}}},
    };
    // clang-format on
    for (const CommandCase& c : cases) {
        SCOPED_TRACE(c.what);
        MeasureWindow w;
        frmMain& f = w.f;
        tavix::Var().TwoPointCommandMode = c.twoPointMode;
        tavix::Var().AngleCommandMode = c.angleMode;
        // Neither a click outside a command nor a button beyond the seven starts anything.
        tavix::picStillView_MouseUp(f, 1, 0, 0, 0);
        tavix::cmdMeasure_Click(f, 7);
        EXPECT_EQ(f.CommandMode, tavix::CommandMode::Idle);
        tavix::cmdMeasure_Click(f, c.button);
        // The running command's button lit, the rest of the measure area locked.
        const auto area = [&] { return std::tuple(f.cmdMeasure[c.button]->BackColor(), f.cmdPicLoad->Enabled()); };
        EXPECT_EQ(std::tuple(w.Guidance(), area(), f.chkScale->Enabled()),
                  std::tuple(c.firstGuidance, std::tuple(0x0080FFFFu, false), false));
        const auto state = [&] {
            return std::tuple(int(f.CommandMode), int(f.WorkPoints.size()) - 1, w.Guidance(), Loaded(f.linMeasure),
                              Loaded(f.shaMeasure), int(f.ResultCount));
        };
        const auto press = [&](int16_t button, double x, double y, bool box, const std::string& at) {
            w.host.Boxes.clear();
            tavix::picStillView_MouseUp(f, button, 0, static_cast<float>(x), static_cast<float>(y));
            EXPECT_EQ(Shown(w.host), box ? Box(c.boxText, c.boxTitle, c.boxButtons) : "") << at;
        };
        auto previous = state();
        int i = 0;
        for (const Step& s : c.steps) {
            const std::string at = "step " + std::to_string(++i);
            if (s.button == 'Y' || s.button == 'N') w.host.AnswerMsgBox(s.button == 'Y' ? vb::vbYes : vb::vbNo);
            if (s.button == 'B') w.host.AnswerMsgBox(vb::vbOK);
            press(s.button == 'R' ? 2 : s.button == 'M' ? 4 : 1, s.x, s.y, !strchr("LRM", s.button), at);
            const bool ended = s.guidance == kEnded;
            const auto expected = std::tuple(ended ? 0 : c.mode, s.points, s.guidance, std::string(s.lines),
                                             std::string(s.circles), ended ? c.results : 0);
            EXPECT_EQ(state(), expected) << at;
            if (s.button == 'L' && !ended && s.points <= c.backTo) {
                press(2, 0, 0, false, at + " back");
                EXPECT_EQ(state(), previous) << at << " back";
                press(1, s.x, s.y, false, at + " again");
                EXPECT_EQ(state(), expected) << at << " again";
            }
            previous = state();
        }
        EXPECT_EQ(std::tuple(area(), f.chkScale->Enabled()), std::tuple(std::tuple(vb::vbButtonFace, true), true));
    }
}

TEST(MeasureCommand, TheHundredthCountEndsByItself) {
    MeasureWindow w;
    frmMain& f = w.f;
    tavix::cmdMeasure_Click(f, 6);
    for (int i = 0; i < 99; ++i) tavix::picStillView_MouseUp(f, 1, 0, static_cast<float>(i - 50), 0);
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Count);
    // Each click leaves its mark on the still in the colour of the running command.
    const QRect r = f.picStillView->CanvasRect();
    EXPECT_EQ(f.picStillView->GetImage().pixel(r.width() / 2 + 48, r.height() / 2 + 2) & 0xFFFFFF,
              vb::ToQColor(tavix::Var().MeasureLineColor[3]).rgb() & 0xFFFFFF);
    tavix::picStillView_MouseUp(f, 1, 0, 60, 10);
    EXPECT_EQ(std::tuple(f.CommandMode, f.ResultCount, tavix::Var().ResultTable[1].Value),
              std::tuple(tavix::CommandMode::Idle, int16_t(1), 100.0));
}

TEST(MeasureCommand, AFullResultListRefusesWhatCannotFit) {
    const std::string full = Box(20141, 11141, vb::vbOKOnly | vb::vbExclamation);
    const struct {
        int16_t listed, button;
        bool starts;
    } cases[] = {{98, 0, true}, {99, 0, false}, {96, 2, true}, {97, 2, false}, {98, 3, true}, {99, 6, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.listed << " listed, button " << c.button);
        MeasureWindow w;
        frmMain& f = w.f;
        f.ResultCount = c.listed;
        if (!c.starts) w.host.AnswerMsgBox(vb::vbOK);
        tavix::cmdMeasure_Click(f, c.button);
        EXPECT_EQ(std::tuple(f.CommandMode != tavix::CommandMode::Idle, Shown(w.host)),
                  std::tuple(c.starts, c.starts ? "" : full));
        EXPECT_EQ(std::tuple(f.cmdPicLoad->Enabled(), f.txtComment[0]->Locked()), std::tuple(!c.starts, c.starts));
    }
    // A running perpendicular drops the point that would pass row 99 and goes on.
    MeasureWindow w;
    frmMain& f = w.f;
    f.ResultCount = 97;
    tavix::cmdMeasure_Click(f, 3);
    for (const auto& [x, y] : {std::pair{-100.0f, 0.0f}, {100.0f, 0.0f}, {0.0f, 10.0f}, {0.0f, 20.0f}})
        tavix::picStillView_MouseUp(f, 1, 0, x, y);
    w.host.AnswerMsgBox(vb::vbOK);
    tavix::picStillView_MouseUp(f, 1, 0, 0, 30);
    EXPECT_EQ(std::tuple(Shown(w.host), f.WorkPoints.size(), f.CommandMode),
              std::tuple(full, size_t(5), tavix::CommandMode::Perpendicular));
    tavix::picStillView_MouseUp(f, 2, 0, 0, 0);
    EXPECT_EQ(std::tuple(f.ResultCount, f.grdResult->TextMatrix(99, 0)), std::tuple(int16_t(99), QStringLiteral("99")));
}

// ---- What follows the pointer between clicks ----

struct LineAt {
    int k;
    double x1, y1, x2, y2;
};

struct MoveCase {
    const char* what;
    int16_t button;     // -1: the calibration
    int16_t otherMode;  // the parallel or the angle by two lines
    std::vector<std::pair<double, double>> clicks;
    std::pair<double, double> move;
    std::vector<LineAt> lines;
    int circle = 0;  // shaMeasure element to check, 0 for none
    bool circleVisible = false;
    QRectF circleBox = {};
};

TEST(PointerFeedback, OverlayItemsAfterAMove) {
    // clang-format off
    const MoveCase cases[] = {
        {"distance: the free end", 0, 0, {{0, 0}}, {30, 40}, {{1, 0, 0, 30, 40}}},
        {"perpendicular after the base line: nothing moves", 3, 0, {{0, 0}, {50, 0}}, {30, 40}, {{1, 0, 0, 50, 0}}},
        {"circle: hidden with the pointer on the line, back through it", 1, 0, {{-10, 0}, {10, 0}}, {0, 10}, {}, 1, true, QRectF(-10, -10, 20, 20)},
        {"circle with the pointer on their line is hidden", 1, 0, {{-10, 0}, {10, 0}}, {20, 0}, {}, 1, false},
        {"two circles: the first stands still after its third point", 2, 0, {{-10, 0}, {10, 0}, {0, 10}}, {0, 30}, {}, 1, false},
        {"angle by two lines with two points: nothing moves", 5, 1, {{0, 0}, {40, 0}}, {5, 5}, {{1, 0, 0, 40, 0}}},
        {"angle by two lines: the second line", 5, 1, {{0, 0}, {40, 0}, {10, 10}}, {20, 30}, {{1, 0, 0, 40, 0}, {2, 10, 10, 20, 30}}},
        {"area: the last line", 4, 0, {{0, 0}, {40, 0}}, {40, 40}, {{1, 0, 0, 40, 0}, {2, 40, 0, 40, 40}}},
        {"parallel through the pointer", 0, 1, {{0, 0}, {100, 0}}, {50, 20}, {{2, 0, 20, 100, 20}, {3, 50, 20, 50, 0}}},
        {"parallel with the pointer on the base line", 0, 1, {{0, 0}, {100, 0}}, {130, 0}, {{2, 0, 0, 100, 0}, {3, 130, 0, 130, 0}}},
        {"count: nothing follows", 6, 0, {{0, 0}}, {20, 20}, {}},
        {"calibration: the free end", -1, 0, {{5, 5}}, {-20, 7}, {{1, 5, 5, -20, 7}}},
    };
    // clang-format on
    for (const MoveCase& c : cases) {
        SCOPED_TRACE(c.what);
        MeasureWindow w;
        frmMain& f = w.f;
        tavix::Var().TwoPointCommandMode = tavix::Var().AngleCommandMode = c.otherMode;
        c.button < 0 ? tavix::cmdProofConfig_Click(f) : tavix::cmdMeasure_Click(f, c.button);
        for (const auto& [x, y] : c.clicks)
            tavix::picStillView_MouseUp(f, 1, 0, static_cast<float>(x), static_cast<float>(y));
        const qint64 canvas = f.picStillView->GetImage().cacheKey();
        // With or without a button held, the same; (3, 0) lies on the line of the circles' first points.
        tavix::picStillView_MouseMove(f, 1, 0, 3, 0);
        tavix::picStillView_MouseMove(f, 0, 0, static_cast<float>(c.move.first), static_cast<float>(c.move.second));
        EXPECT_EQ(f.picStillView->GetImage().cacheKey(), canvas) << "the still is not repainted";
        for (const LineAt& l : c.lines) {
            const vb::LineControl* line = f.linMeasure[l.k];
            EXPECT_EQ(QLineF(line->X1(), line->Y1(), line->X2(), line->Y2()), QLineF(l.x1, l.y1, l.x2, l.y2)) << l.k;
        }
        const bool none = c.lines.empty() && c.circle == 0;
        EXPECT_TRUE(!none || Loaded(f.linMeasure) + Loaded(f.shaMeasure) == "") << "nothing drawn";
        if (c.circle == 0) continue;
        const vb::Shape* shape = f.shaMeasure[c.circle];
        const QRectF box(shape->Left(), shape->Top(), shape->Width(), shape->Height());
        EXPECT_EQ(std::tuple(shape->Visible(), c.circleVisible ? box : QRectF()),
                  std::tuple(c.circleVisible, c.circleBox));
    }
}

// ---- A measure as a user makes it: real mouse events on the real widgets ----

void Click(QWidget* widget, QPoint at, Qt::MouseButton button) {
    const QPointF local(at), global(widget->mapToGlobal(at));
    QMouseEvent press(QEvent::MouseButtonPress, local, global, button, button, Qt::NoModifier);
    QApplication::sendEvent(widget, &press);
    QMouseEvent release(QEvent::MouseButtonRelease, local, global, button, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(widget, &release);
}

TEST(MeasureFlow, DistanceByMouseEndsInTheGridRow) {
    testing_support::StartedMain s(3);
    frmMain& f = s.f;
    const QString picture = s.box.File(QStringLiteral("sample.bmp"));
    ASSERT_TRUE(QuarterPicture(600, 400).save(picture));
    s.host.AnswerFile(picture);
    Click(f.cmdPicLoad->Widget(), QPoint(10, 10), Qt::LeftButton);
    ASSERT_EQ(f.picTempView->GetPicture().size(), QSize(600, 400));
    tavix::ProofRecord& proof = tavix::Var().ProofTable[tavix::Var().CurrentProofNo];
    proof.Value = 0.5;
    proof.Unit = QStringLiteral("mm");

    Click(f.cmdMeasure[0]->Widget(), QPoint(10, 10), Qt::LeftButton);
    ASSERT_EQ(f.CommandMode, tavix::CommandMode::Distance);
    QWidget* still = f.picStillView->ClientWidget();
    // The scale's origin is the picture's centre, the middle of the widget.
    const QPoint centre(300, 200);
    Click(still, centre + QPoint(-30, 0), Qt::LeftButton);
    Click(still, centre + QPoint(0, 0), Qt::RightButton);  // takes the first point back
    Click(still, centre + QPoint(-60, -40), Qt::LeftButton);
    Click(still, centre + QPoint(60, 120), Qt::LeftButton);  // 200 pixels away
    EXPECT_EQ(std::tuple(f.CommandMode, f.ResultCount, f.ResultDirty, s.host.Boxes.size()),
              std::tuple(tavix::CommandMode::Idle, int16_t(1), true, size_t(0)));
    QStringList row;
    for (int col = 0; col < 4; ++col) row << f.grdResult->TextMatrix(1, col);
    EXPECT_EQ(row, QStringList({"1", tavix::GST(11132), vb::Format(100.0, f.ResultFormat), "mm"}));
}

}  // namespace
