// Cross lines placed by real pointer events that reach the still through the lines.
#include <QApplication>
#include <QMouseEvent>
#include <gtest/gtest.h>

#include "CrossLines.h"
#include "Graph.h"
#include "OpenImage.h"
#include "StartedMain.h"
#include "ViewPan.h"

using tavix::frmMain;
using testing_support::kQuarterColors;

namespace {

constexpr int kNone = -1;
constexpr uint32_t kMagenta = 0x00FF00FF;

struct CrossWindow : testing_support::StartedMain {
    explicit CrossWindow(int16_t type, int16_t pairs = 1, QSize picture = {600, 400}) : StartedMain(type) {
        tavix::Var().CrossLineNum = pairs;
        if (type == 0) {
            EXPECT_TRUE(testing_support::WaitFor([&] { return !f.FilterGraph->GetCurrentImage().isNull(); }));
            return;
        }
        const QString path = box.File(QStringLiteral("cross.png"));
        EXPECT_TRUE(testing_support::QuarterPicture(picture.width(), picture.height()).save(path));
        host.AnswerFile(path);
        tavix::cmdPicLoad_Click(f);
    }
    QWidget* View() const { return f.picViewArea->ClientWidget(); }
    QWidget* Still() const { return f.picStillView->ClientWidget(); }
    // A point given from the picture's centre, in the view area's pixels.
    QPoint InView(QPoint d) const {
        return Still()->mapTo(View(), QPoint(Still()->width() / 2, Still()->height() / 2) + d);
    }
    void Send(QEvent::Type type, QPoint d, Qt::MouseButton button) {
        const QPoint at = InView(d);
        QWidget* target = View()->childAt(at);
        ASSERT_EQ(target, Still()) << "the pointer must reach the still through the lines";
        const QPointF local = target->mapFrom(View(), at);
        QMouseEvent e(type, local, target->mapToGlobal(local), button,
                      type == QEvent::MouseMove ? Qt::NoButton : button, Qt::NoModifier);
        QApplication::sendEvent(target, &e);
    }
    // Without the move the click alone has to place the line.
    void Click(QPoint d, Qt::MouseButton button, bool move = true) {
        if (move) Send(QEvent::MouseMove, d, Qt::NoButton);
        Send(QEvent::MouseButtonPress, d, button);
        Send(QEvent::MouseButtonRelease, d, button);
    }
    QPoint Crossing(int k) const { return {f.picCrossLineV[k]->Widget()->x(), f.picCrossLineH[k]->Widget()->y()}; }
    std::string Shown() const {
        std::string s;
        for (int k = 0; k < 2; ++k) {
            EXPECT_EQ(f.picCrossLineV[k]->Visible(), f.picCrossLineH[k]->Visible()) << "pair " << k;
            if (f.picCrossLineV[k]->Visible()) s += std::to_string(k);
        }
        return s;
    }
    int Guidance() const {
        if (!f.txtComment[0]->Locked()) return kNone;
        for (int n : {10, 11, 12})
            if (f.txtComment[0]->Text() == tavix::Var().GuidanceTable[n][0]) return n;
        return 0;
    }
    void Zoom(const char* item) {
        for (int i = 0; i < f.cboScale->ListCount(); ++i)
            if (f.cboScale->List(i) == QLatin1String(item)) f.cboScale->SetListIndex(i);
    }
};

// 'C'/'U' check/uncheck the box, 'L'/'R' left/right click at (x, y), 'K' left with no move first.
struct Step {
    char action;
    int x, y, mode, viewMode, guidance;
    const char* shown;
    int box;
};

TEST(CrossLines, PlacingFromTheStillAndFromTheLiveView) {
    const struct {
        const char* what;
        int16_t type, pairs;
        std::vector<Step> steps;
    } cases[] = {
        // clang-format off
        {"still, one pair: the still stays", 3, 1,
         {{'C', 0, 0, 10, 1, 10, "0", 1}, {'L', 40, -30, 0, 1, kNone, "0", 1}, {'U', 0, 0, 0, 1, kNone, "", 0}}},
        {"still, right click in 10 ends it all", 3, 1, {{'C', 0, 0, 10, 1, 10, "0", 1}, {'R', 10, 10, 0, 1, kNone, "", 0}}},
        {"still, two pairs, right click in 11 takes back the second", 3, 2,
         {{'C', 0, 0, 10, 1, 11, "0", 1}, {'L', -50, 20, 11, 1, 12, "01", 1}, {'R', 5, 5, 10, 1, 11, "0", 1},
          {'K', -60, 25, 11, 1, 12, "01", 1}, {'K', 70, -40, 0, 1, kNone, "01", 1}, {'U', 0, 0, 0, 1, kNone, "", 0},
          {'C', 0, 0, 10, 1, 11, "0", 1}}},
        {"live, one pair: live again with the lines standing", 0, 1,
         {{'C', 0, 0, 10, 1, 10, "0", 1}, {'L', 30, 20, 0, 0, kNone, "0", 1}, {'U', 0, 0, 0, 0, kNone, "", 0}}},
        {"live, right click in 10: live again, nothing standing", 0, 1,
         {{'C', 0, 0, 10, 1, 10, "0", 1}, {'R', 30, 20, 0, 0, kNone, "", 0}}},
        {"live, unchecked while placing the second pair", 0, 2,
         {{'C', 0, 0, 10, 1, 11, "0", 1}, {'L', 15, 15, 11, 1, 12, "01", 1}, {'U', 0, 0, 0, 0, kNone, "", 0}}},
        // clang-format on
    };
    for (const auto& c : cases) {
        CrossWindow w(c.type, c.pairs);
        frmMain& f = w.f;
        QPoint placed[2];
        for (size_t i = 0; i < c.steps.size(); ++i) {
            const Step& s = c.steps[i];
            const QPoint at(s.x, s.y);
            const int before = int(f.CommandMode);
            const bool left = s.action == 'L' || s.action == 'K';
            if (s.action == 'C' || s.action == 'U')
                f.chkCross->SetValue(s.action == 'C');
            else
                w.Click(at, left ? Qt::LeftButton : Qt::RightButton, s.action != 'K');
            if (left) placed[before - 10] = placed[s.mode == 11 ? 1 : before - 10] = w.InView(at);
            const std::string where = std::string(c.what) + ", step " + std::to_string(i);
            EXPECT_EQ(std::tuple(int(f.CommandMode), int(f.ViewMode), w.Guidance(), w.Shown(), f.chkCross->Value()),
                      std::tuple(s.mode, s.viewMode, s.guidance, std::string(s.shown), s.box))
                << where;
            const bool placing = s.mode == 10 || s.mode == 11;
            EXPECT_EQ(f.chkCross->Enabled() + 2 * f.cmdPicLoad->Enabled(), placing ? 0 : 3) << where;
            EXPECT_EQ(f.picStillView->Visible(), s.viewMode == 1) << where;
            // A pair no longer following the pointer stands where it was clicked.
            for (int k = 0; left && k < 2; ++k) {
                if (std::string(s.shown).find(char('0' + k)) != std::string::npos && s.mode != 10 + k) {
                    EXPECT_EQ(w.Crossing(k), placed[k]) << where << ", pair " << k;
                }
            }
        }
    }
}

TEST(CrossLines, LinesStandOverTheStillAndTheLivePictureInTheirColour) {
    CrossWindow w(0);
    tavix::Var().CrossLineColor = kMagenta;
    tavix::ApplyCrossLineColor(w.f);
    w.f.chkCross->SetValue(1);
    const QPoint at(35, -25);
    // Over the frozen frame while placing, then over the running live picture.
    for (vb::PictureBox* under : {w.f.picStillView, w.f.picCameraView}) {
        if (under == w.f.picStillView)
            w.Send(QEvent::MouseMove, at, Qt::NoButton);
        else
            w.Click(at, Qt::LeftButton);
        ASSERT_TRUE(under->Visible());
        const QPoint p = w.Crossing(0);
        ASSERT_EQ(p, w.InView(at));
        const QImage shown = w.View()->grab().toImage();
        EXPECT_EQ(shown.pixel(p.x(), p.y() + 8) & 0xFFFFFF, kMagenta) << "vertical line";
        EXPECT_EQ(shown.pixel(p.x() + 8, p.y()) & 0xFFFFFF, kMagenta) << "horizontal line";
        EXPECT_NE(shown.pixel(p.x() + 8, p.y() + 8) & 0xFFFFFF, kMagenta);
    }
}

TEST(CrossLines, AClickPlacesTheLinesUnderThePointerAtEveryZoomAndPan) {
    CrossWindow w(3, 1, {1201, 801});  // odd, and at the top zooms larger than the view
    frmMain& f = w.f;
    for (int i = 0; i < f.cboScale->ListCount(); ++i) {
        f.cboScale->SetListIndex(i);
        f.Pan.X = f.Pan.Y = 0;
        tavix::PanBy(f, 90, 50);  // moves only a picture larger than the view
        f.chkCross->SetValue(1);
        w.Click(QPoint(0, 0), Qt::LeftButton);
        const QPoint d = w.Crossing(0) - w.InView(QPoint(0, 0));
        EXPECT_TRUE(f.CommandMode == tavix::CommandMode::Idle && std::abs(d.x()) <= 1 && std::abs(d.y()) <= 1)
            << qPrintable(f.cboScale->Text()) << " off by " << d.x() << ", " << d.y();
        f.chkCross->SetValue(0);
    }
    EXPECT_NE(w.InView(QPoint(0, 0)), QPoint(w.View()->width() / 2, w.View()->height() / 2)) << "the pan moved it";
}

TEST(CrossLines, ASavedPictureNeverShowsThem) {
    for (const char* zoom : {"x 1.0", "x 2.0"}) {
        CrossWindow w(3);
        tavix::Var().Still1xSave = 0;
        tavix::Var().CrossLineColor = kMagenta;
        tavix::ApplyCrossLineColor(w.f);
        w.Zoom(zoom);
        w.f.chkCross->SetValue(1);
        w.Click(QPoint(50, 40), Qt::LeftButton);  // in the white quarter
        const QPoint p = w.Crossing(0);
        ASSERT_EQ(w.View()->grab().toImage().pixel(p.x(), p.y() + 5) & 0xFFFFFF, kMagenta) << zoom;
        w.host.AnswerFile(w.box.File(QStringLiteral("saved.bmp")));
        w.f.cmdPicSave->Click();
        const QImage saved(w.box.File(QStringLiteral("saved.bmp")));
        ASSERT_EQ(saved.size(), w.View()->size()) << zoom;
        for (const QPoint& q : {p + QPoint(0, 5), p + QPoint(5, 0), p})
            EXPECT_EQ(saved.pixel(q), kQuarterColors[3]) << zoom;
        EXPECT_TRUE(w.f.picCrossLineV[0]->Visible()) << "saving leaves the lines standing";
    }
}

}  // namespace
