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

constexpr int kHidden = -1;

// One click and the state after it.
struct Step {
    char button;  // 'L', 'R'; 'Y'/'N': a left click answered Yes/No by a question box; 'B': a refusal box
    double x, y;
    int mode, points, guidance;
    const char* lines;    // loaded linMeasure elements
    const char* circles;  // loaded shaMeasure elements
    int results;
};

struct CommandCase {
    const char* what;
    int16_t button, twoPointMode, angleMode;
    int firstGuidance;
    int backTo;  // up to this many points a right click takes the last one back
    std::vector<Step> steps;
    int32_t boxText = 0, boxTitle = 0;  // of every box the steps meet
    int boxButtons = 0;
};

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
        if (!f.txtComment[0]->Locked()) return kHidden;
        return f.txtComment[0]->Text().mid(1).toInt();
    }
};

TEST(MeasureCommand, ClickSequences) {
    // After every left click of a running command a right click must give back the state before
    // it, and the same left click again the state after it.
    constexpr int kAll = 99;
    // clang-format off
    const CommandCase cases[] = {
        {"distance", 0, 0, 0, 32, kAll, {
          {'L', 0, 0, 101, 1, 33, "1", "", 0},
          {'L', 30, 40, 0, 2, kHidden, "", "", 1}}},
        {"distance to a parallel", 0, 1, 0, 57, kAll, {
          {'L', 0, 0, 108, 1, 58, "1", "", 0},
          {'L', 100, 0, 108, 2, 59, "1,2,3", "", 0},
          {'B', 150, 20, 108, 2, 59, "1,2,3", "", 0},  // foot beyond the base line
          {'B', -1.5, 30, 108, 2, 59, "1,2,3", "", 0},  // beyond by more than 1 pixel
          {'L', -0.4, 30, 0, 3, kHidden, "", "", 1}},  // within 1 pixel the foot still counts as between
         20134, 11134, vb::vbOKOnly | vb::vbCritical},
        {"circle", 1, 0, 0, 34, kAll, {
          {'L', 0, 0, 102, 1, 35, "", "", 0},
          {'L', 10, 10, 102, 2, 36, "", "1", 0},
          {'L', 20, 0, 0, 3, kHidden, "", "", 1}}},
        {"two circles", 2, 0, 0, 37, kAll, {
          {'L', 0, 10, 103, 1, 38, "", "", 0},
          {'L', 10, 0, 103, 2, 39, "", "1", 0},
          {'L', 0, -10, 103, 3, 40, "", "1", 0},
          {'L', 50, 10, 103, 4, 41, "", "1", 0},
          {'L', 60, 0, 103, 5, 42, "", "1,2", 0},
          {'L', 50, -10, 0, 6, kHidden, "", "", 3}}},
        {"perpendicular", 3, 0, 0, 43, 2, {
          {'L', -100, 0, 104, 1, 44, "1", "", 0},
          {'L', 100, 0, 104, 2, 45, "1", "", 0},  // back from here, line 1 stays: its end follows the pointer
          {'L', 0, 30, 104, 3, 46, "1,2", "", 0},
          {'L', 20, -40, 104, 4, 46, "1,2,3", "", 0},
          {'L', 50, 10, 104, 5, 46, "1,2,3,4", "", 0},
          {'R', 0, 0, 0, 5, kHidden, "", "", 3}}},
        {"area", 4, 0, 0, 50, kAll, {
          {'L', 0, 0, 105, 1, 51, "1", "", 0},
          {'L', 100, 0, 105, 2, 51, "1,2", "", 0},
          {'L', 0.5, 1, 105, 3, 51, "1,2,3", "", 0},  // the third corner near the first does not ask
          {'R', 0, 0, 105, 2, 51, "1,2", "", 0},
          {'L', 100, 100, 105, 3, 51, "1,2,3", "", 0},
          {'N', 2.9, 0, 105, 3, 51, "1,2,3", "", 0},
          {'L', 0, 3.0, 105, 4, 51, "1,2,3,4", "", 0},
          {'Y', 0, 2, 0, 4, kHidden, "", "", 1}},
         20120, 11120, vb::vbYesNo | vb::vbQuestion},
        {"angle by three points", 5, 0, 0, 47, kAll, {
          {'L', 50, 0, 106, 1, 48, "1", "", 0},
          {'L', 0, 0, 106, 2, 49, "1,2", "", 0},
          {'L', 0, 50, 0, 3, kHidden, "", "", 1}}},
        {"angle by two lines", 5, 0, 1, 52, kAll, {
          {'L', -50, 0, 107, 1, 53, "1", "", 0},
          {'L', 50, 0, 107, 2, 54, "1", "", 0},
          {'L', 0, -50, 107, 3, 55, "1,2", "", 0},
          {'L', 0, 50, 107, 4, 56, "1,2", "", 0},
          {'L', 10, 10, 0, 5, kHidden, "", "", 1}}},
        {"count", 6, 0, 0, 30, 0, {
          {'L', 0, 0, 100, 1, 31, "", "", 0},
          {'L', 10, 0, 100, 2, 31, "", "", 0},
          {'R', 0, 0, 0, 2, kHidden, "", "", 1}}},
    };
    // clang-format on
    for (const CommandCase& c : cases) {
        MeasureWindow w;
        frmMain& f = w.f;
        tavix::Var().TwoPointCommandMode = c.twoPointMode;
        tavix::Var().AngleCommandMode = c.angleMode;
        tavix::cmdMeasure_Click(f, c.button);
        EXPECT_EQ(w.Guidance(), c.firstGuidance) << c.what;
        EXPECT_EQ(f.cmdMeasure[c.button]->BackColor(), 0x0080FFFFu) << c.what;
        EXPECT_FALSE(f.cmdPicLoad->Enabled()) << c.what;
        EXPECT_FALSE(f.chkScale->Enabled()) << c.what;
        const auto state = [&] {
            return std::tuple(int(f.CommandMode), int(f.WorkPoints.size()) - 1, w.Guidance(), Loaded(f.linMeasure),
                              Loaded(f.shaMeasure), int(f.ResultCount));
        };
        const auto press = [&](int16_t button, double x, double y, size_t boxes, const std::string& at) {
            const size_t before = w.host.Boxes.size();
            tavix::picStillView_MouseUp(f, button, 0, static_cast<float>(x), static_cast<float>(y));
            EXPECT_EQ(w.host.Boxes.size(), before + boxes) << at;
            if (boxes == 0) return;
            const auto& box = w.host.Boxes.back();
            EXPECT_EQ(std::tuple(box.Prompt, box.Title, box.Buttons),
                      std::tuple(tavix::GST(c.boxText), tavix::GST(c.boxTitle), c.boxButtons))
                << at;
        };
        auto previous = state();
        int i = 0;
        for (const Step& s : c.steps) {
            const std::string at = std::string(c.what) + " step " + std::to_string(++i);
            if (s.button == 'Y' || s.button == 'N') w.host.AnswerMsgBox(s.button == 'Y' ? vb::vbYes : vb::vbNo);
            if (s.button == 'B') w.host.AnswerMsgBox(vb::vbOK);
            const bool plain = s.button == 'L' || s.button == 'R';
            press(s.button == 'R' ? 2 : 1, s.x, s.y, plain ? 0 : 1, at);
            const auto expected =
                std::tuple(s.mode, s.points, s.guidance, std::string(s.lines), std::string(s.circles), s.results);
            EXPECT_EQ(state(), expected) << at;
            if (s.button == 'L' && s.mode != 0 && s.points <= c.backTo) {
                press(2, 0, 0, 0, at + " back");
                EXPECT_EQ(state(), previous) << at << " back";
                press(1, s.x, s.y, 0, at + " again");
                EXPECT_EQ(state(), expected) << at << " again";
            }
            previous = state();
        }
        EXPECT_EQ(f.cmdMeasure[c.button]->BackColor(), vb::vbButtonFace) << c.what;
        EXPECT_TRUE(f.cmdPicLoad->Enabled()) << c.what;
        EXPECT_TRUE(f.chkScale->Enabled()) << c.what;
    }
}

TEST(MeasureCommand, NothingHappensOutsideACommandOrWithOtherButtons) {
    MeasureWindow w;
    frmMain& f = w.f;
    tavix::picStillView_MouseUp(f, 1, 0, 0, 0);
    tavix::picStillView_MouseUp(f, 2, 0, 0, 0);
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Idle);
    tavix::cmdMeasure_Click(f, 1);
    tavix::picStillView_MouseUp(f, 4, 0, 0, 0);
    EXPECT_EQ(f.WorkPoints.size(), 1u);
    tavix::cmdMeasure_Click(f, 7);  // no such button
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Circle);
    tavix::picStillView_MouseUp(f, 2, 0, 0, 0);  // right at once: the end, no result
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Idle);
    EXPECT_EQ(f.ResultCount, 0);
    EXPECT_EQ(f.cmdMeasure[1]->BackColor(), vb::vbButtonFace);
}

TEST(MeasureCommand, TheHundredthCountEndsByItself) {
    MeasureWindow w;
    frmMain& f = w.f;
    tavix::cmdMeasure_Click(f, 6);
    for (int i = 0; i < 99; ++i) tavix::picStillView_MouseUp(f, 1, 0, static_cast<float>(i - 50), 0);
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Count);
    // Each click leaves its mark on the still in the colour of the running command.
    const QImage still = f.picStillView->GetImage();
    const QRect r = f.picStillView->CanvasRect();
    EXPECT_EQ(still.pixel(r.width() / 2 + 48, r.height() / 2 + 2) & 0xFFFFFF,
              vb::ToQColor(tavix::Var().MeasureLineColor[3]).rgb() & 0xFFFFFF);
    tavix::picStillView_MouseUp(f, 1, 0, 60, 10);
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Idle);
    ASSERT_EQ(f.ResultCount, 1);
    EXPECT_EQ(tavix::Var().ResultTable[1].Value, 100);
}

TEST(MeasureCommand, AFullResultListRefusesWhatCannotFit) {
    const struct {
        int16_t listed, button;
        bool starts;
    } cases[] = {
        {98, 0, true}, {99, 0, false}, {96, 2, true}, {97, 2, false}, {98, 3, true}, {99, 6, false},
    };
    for (const auto& c : cases) {
        MeasureWindow w;
        frmMain& f = w.f;
        f.ResultCount = c.listed;
        if (!c.starts) w.host.AnswerMsgBox(vb::vbOK);
        tavix::cmdMeasure_Click(f, c.button);
        EXPECT_EQ(f.CommandMode != tavix::CommandMode::Idle, c.starts) << c.listed << " listed, button " << c.button;
        if (c.starts) continue;
        ASSERT_EQ(w.host.Boxes.size(), 1u);
        EXPECT_EQ(w.host.Boxes[0].Prompt, tavix::GST(20141));
        EXPECT_EQ(w.host.Boxes[0].Title, tavix::GST(11141));
        EXPECT_EQ(w.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbExclamation);
        EXPECT_TRUE(f.cmdPicLoad->Enabled());
        EXPECT_FALSE(f.txtComment[0]->Locked());
    }
    // A running perpendicular drops the point that would pass row 99 and goes on.
    MeasureWindow w;
    frmMain& f = w.f;
    f.ResultCount = 97;
    tavix::cmdMeasure_Click(f, 3);
    for (const auto& p : {std::pair{-100.0, 0.0}, std::pair{100.0, 0.0}, std::pair{0.0, 10.0}, std::pair{0.0, 20.0}})
        tavix::picStillView_MouseUp(f, 1, 0, p.first, p.second);
    w.host.AnswerMsgBox(vb::vbOK);
    tavix::picStillView_MouseUp(f, 1, 0, 0, 30);
    EXPECT_EQ(w.host.Boxes.size(), 1u);
    EXPECT_EQ(f.WorkPoints.size(), 5u);
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Perpendicular);
    tavix::picStillView_MouseUp(f, 2, 0, 0, 0);
    EXPECT_EQ(f.ResultCount, 99);
    EXPECT_EQ(f.grdResult->TextMatrix(99, 0), QStringLiteral("99"));
}

// ---- What follows the pointer between clicks ----

struct LineAt {
    int k;
    double x1, y1, x2, y2;
};

struct MoveCase {
    const char* what;
    std::function<void(frmMain&)> start;
    std::vector<std::pair<double, double>> clicks;
    std::pair<double, double> move;
    std::vector<LineAt> lines;
    int circle = 0;  // shaMeasure element to check, 0 for none
    bool circleVisible = false;
    QRectF circleBox = {};
};

TEST(PointerFeedback, OverlayItemsAfterAMove) {
    auto measure = [](int16_t button) { return [button](frmMain& f) { tavix::cmdMeasure_Click(f, button); }; };
    const auto parallel = [](frmMain& f) {
        tavix::Var().TwoPointCommandMode = 1;
        tavix::cmdMeasure_Click(f, 0);
    };
    const auto twoLines = [](frmMain& f) {
        tavix::Var().AngleCommandMode = 1;
        tavix::cmdMeasure_Click(f, 5);
    };
    // clang-format off
    const MoveCase cases[] = {
        {"distance: the free end", measure(0), {{0, 0}}, {30, 40}, {{1, 0, 0, 30, 40}}},
        {"perpendicular after the base line: nothing moves", measure(3), {{0, 0}, {50, 0}}, {30, 40}, {{1, 0, 0, 50, 0}}},
        {"circle: hidden with the pointer on the line, back through it", measure(1), {{-10, 0}, {10, 0}}, {0, 10}, {}, 1, true, QRectF(-10, -10, 20, 20)},
        {"circle with the pointer on their line is hidden", measure(1), {{-10, 0}, {10, 0}}, {20, 0}, {}, 1, false},
        {"two circles: the first stands still after its third point", measure(2), {{-10, 0}, {10, 0}, {0, 10}}, {0, 30}, {}, 1, false},
        {"angle by two lines with two points: nothing moves", twoLines, {{0, 0}, {40, 0}}, {5, 5}, {{1, 0, 0, 40, 0}}},
        {"angle by two lines: the second line", twoLines, {{0, 0}, {40, 0}, {10, 10}}, {20, 30}, {{1, 0, 0, 40, 0}, {2, 10, 10, 20, 30}}},
        {"area: the last line", measure(4), {{0, 0}, {40, 0}}, {40, 40}, {{1, 0, 0, 40, 0}, {2, 40, 0, 40, 40}}},
        {"parallel through the pointer", parallel, {{0, 0}, {100, 0}}, {50, 20}, {{2, 0, 20, 100, 20}, {3, 50, 20, 50, 0}}},
        {"parallel with the pointer on the base line", parallel, {{0, 0}, {100, 0}}, {130, 0}, {{2, 0, 0, 100, 0}, {3, 130, 0, 130, 0}}},
        {"count: nothing follows", measure(6), {{0, 0}}, {20, 20}, {}},
        {"calibration: the free end", [](frmMain& f) { tavix::cmdProofConfig_Click(f); }, {{5, 5}}, {-20, 7}, {{1, 5, 5, -20, 7}}},
    };
    // clang-format on
    for (const MoveCase& c : cases) {
        MeasureWindow w;
        frmMain& f = w.f;
        c.start(f);
        for (const auto& [x, y] : c.clicks)
            tavix::picStillView_MouseUp(f, 1, 0, static_cast<float>(x), static_cast<float>(y));
        const qint64 canvas = f.picStillView->GetImage().cacheKey();
        // With or without a button held, the same; (3, 0) lies on the line of the circles' first points.
        tavix::picStillView_MouseMove(f, 1, 0, 3, 0);
        tavix::picStillView_MouseMove(f, 0, 0, static_cast<float>(c.move.first), static_cast<float>(c.move.second));
        EXPECT_EQ(f.picStillView->GetImage().cacheKey(), canvas) << c.what << ": the still is not repainted";
        for (const LineAt& l : c.lines) {
            const vb::LineControl* line = f.linMeasure[l.k];
            EXPECT_EQ(QLineF(line->X1(), line->Y1(), line->X2(), line->Y2()), QLineF(l.x1, l.y1, l.x2, l.y2))
                << c.what << ", line " << l.k;
        }
        if (c.lines.empty() && c.circle == 0) {
            EXPECT_EQ(Loaded(f.linMeasure) + Loaded(f.shaMeasure), "") << c.what;
        }
        if (c.circle == 0) continue;
        const vb::Shape* shape = f.shaMeasure[c.circle];
        EXPECT_EQ(shape->Visible(), c.circleVisible) << c.what;
        if (c.circleVisible) {
            EXPECT_EQ(QRectF(shape->Left(), shape->Top(), shape->Width(), shape->Height()), c.circleBox) << c.what;
        }
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
    EXPECT_EQ(f.CommandMode, tavix::CommandMode::Idle);
    ASSERT_EQ(f.ResultCount, 1);
    EXPECT_EQ(f.grdResult->TextMatrix(1, 0), QStringLiteral("1"));
    EXPECT_EQ(f.grdResult->TextMatrix(1, 1), tavix::GST(11132));
    EXPECT_EQ(f.grdResult->TextMatrix(1, 2), vb::Format(100.0, f.ResultFormat));
    EXPECT_EQ(f.grdResult->TextMatrix(1, 3), QStringLiteral("mm"));
    EXPECT_TRUE(f.ResultDirty);
    EXPECT_TRUE(s.host.Boxes.empty());
}

}  // namespace
