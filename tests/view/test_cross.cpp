// Cross lines placed with real pointer events that pass through the lines to the still:
// the placing states in the still and the live view, the centre at every zoom, the resize,
// a saved picture without them, and the colour.
#include <QApplication>
#include <QMouseEvent>
#include <gtest/gtest.h>

#include "CrossLines.h"
#include "Graph.h"
#include "OpenImage.h"
#include "StartedMain.h"

using testing_support::kQuarterColors;
using testing_support::QuarterPicture;
using tavix::frmMain;

namespace {

constexpr int kNone = -1;

struct CrossWindow : testing_support::StartedMain {
    explicit CrossWindow(int16_t type, int16_t pairs = 1, QSize picture = {600, 400}) : StartedMain(type) {
        tavix::Var().CrossLineNum = pairs;
        if (type == 0) {
            EXPECT_TRUE(testing_support::WaitFor([&] { return !f.FilterGraph->GetCurrentImage().isNull(); }));
        } else {
            const QString path = box.File(QStringLiteral("cross.png"));
            EXPECT_TRUE(QuarterPicture(picture.width(), picture.height()).save(path));
            host.AnswerFile(path);
            tavix::cmdPicLoad_Click(f);
        }
    }
    QWidget* View() const { return f.picViewArea->ClientWidget(); }
    QWidget* Still() const { return f.picStillView->ClientWidget(); }
    // A point of the picture (pixels from its centre) in the view area's pixels.
    QPoint InView(QPoint fromCentre) const {
        const QWidget* still = Still();
        return still->mapTo(View(), QPoint(still->width() / 2, still->height() / 2) + fromCentre);
    }
    // Sends the event to whatever the view area has under the point, as the platform would.
    void Send(QEvent::Type type, QPoint fromCentre, Qt::MouseButton button) {
        const QPoint at = InView(fromCentre);
        QWidget* target = View()->childAt(at);
        ASSERT_EQ(target, Still()) << "the pointer must reach the still through the lines";
        const QPointF local = target->mapFrom(View(), at);
        QMouseEvent e(type, local, target->mapToGlobal(local), button,
                      type == QEvent::MouseMove ? Qt::NoButton : button, Qt::NoModifier);
        QApplication::sendEvent(target, &e);
    }
    // The pointer goes there, which brings the line under it, and a button is released there;
    // without the move the click alone has to place the line.
    void Click(QPoint fromCentre, Qt::MouseButton button, bool move = true) {
        if (move) Send(QEvent::MouseMove, fromCentre, Qt::NoButton);
        Send(QEvent::MouseButtonPress, fromCentre, button);
        Send(QEvent::MouseButtonRelease, fromCentre, button);
    }
    // Where pair k crosses, in the view area's pixels.
    QPoint Crossing(int k) const {
        return {f.picCrossLineV[k]->Widget()->x(), f.picCrossLineH[k]->Widget()->y()};
    }
    std::string Shown() const {
        std::string s;
        for (int k = 0; k < 2; ++k) {
            const bool v = f.picCrossLineV[k]->Visible(), h = f.picCrossLineH[k]->Visible();
            EXPECT_EQ(v, h) << "pair " << k << " shows as a pair";
            if (v) s += std::to_string(k);
        }
        return s;
    }
    int Guidance() const {
        if (!f.txtComment[0]->Locked()) return kNone;
        for (int n : {10, 11, 12})
            if (f.txtComment[0]->Text() == tavix::Var().GuidanceTable[n][0]) return n;
        return 0;
    }
};

// One user action and the state after it.
struct Step {
    char action;  // 'C' check the box, 'U' uncheck it, 'L'/'R' left/right click at (x, y), 'K' left with no move first
    int x, y;
    int mode, viewMode, guidance;
    const char* shown;  // visible pairs
    int box;            // chkCross.Value
};

struct PlacingCase {
    const char* what;
    int16_t type, pairs;
    std::vector<Step> steps;
};

TEST(CrossLines, PlacingFromTheStillAndFromTheLiveView) {
    const PlacingCase cases[] = {
        {"still, one pair: the still stays", 3, 1, {
            {'C', 0, 0, 10, 1, 10, "0", 1},
            {'L', 40, -30, 0, 1, kNone, "0", 1},
            {'U', 0, 0, 0, 1, kNone, "", 0}}},
        {"still, right click in 10 ends it all", 3, 1, {
            {'C', 0, 0, 10, 1, 10, "0", 1},
            {'R', 10, 10, 0, 1, kNone, "", 0}}},
        {"still, two pairs, right click in 11 takes back the second", 3, 2, {
            {'C', 0, 0, 10, 1, 11, "0", 1},
            {'L', -50, 20, 11, 1, 12, "01", 1},
            {'R', 5, 5, 10, 1, 11, "0", 1},
            {'K', -60, 25, 11, 1, 12, "01", 1},
            {'K', 70, -40, 0, 1, kNone, "01", 1},
            {'U', 0, 0, 0, 1, kNone, "", 0},  // as a change of the number of pairs in the settings does
            {'C', 0, 0, 10, 1, 11, "0", 1}}},  // the placing starts anew at the first pair
        {"live, one pair: live again with the lines standing", 0, 1, {
            {'C', 0, 0, 10, 1, 10, "0", 1},
            {'L', 30, 20, 0, 0, kNone, "0", 1},
            {'U', 0, 0, 0, 0, kNone, "", 0}}},
        {"live, right click in 10: live again, nothing standing", 0, 1, {
            {'C', 0, 0, 10, 1, 10, "0", 1},
            {'R', 30, 20, 0, 0, kNone, "", 0}}},
        {"live, two pairs", 0, 2, {
            {'C', 0, 0, 10, 1, 11, "0", 1},
            {'L', -20, -20, 11, 1, 12, "01", 1},
            {'R', 0, 0, 10, 1, 11, "0", 1},
            {'L', -25, -10, 11, 1, 12, "01", 1},
            {'L', 45, 35, 0, 0, kNone, "01", 1}}},
        {"live, unchecked from code while placing the second pair", 0, 2, {
            {'C', 0, 0, 10, 1, 11, "0", 1},
            {'L', 15, 15, 11, 1, 12, "01", 1},
            {'U', 0, 0, 0, 0, kNone, "", 0}}},
    };
    for (const PlacingCase& c : cases) {
        CrossWindow w(c.type, c.pairs);
        frmMain& f = w.f;
        QPoint placed[2];
        for (size_t i = 0; i < c.steps.size(); ++i) {
            const Step& s = c.steps[i];
            const QPoint at(s.x, s.y);
            const int before = f.CommandMode;
            switch (s.action) {
                case 'C': f.chkCross->SetValue(1); break;
                case 'U': f.chkCross->SetValue(0); break;
                case 'L': w.Click(at, Qt::LeftButton); break;
                case 'R': w.Click(at, Qt::RightButton); break;
                case 'K': w.Click(at, Qt::LeftButton, false); break;
            }
            const bool left = s.action == 'L' || s.action == 'K';
            if (left) placed[before - 10] = w.InView(at);
            if (left && s.mode == 11) placed[1] = w.InView(at);
            const std::string where = std::string(c.what) + ", step " + std::to_string(i);
            EXPECT_EQ(f.CommandMode, s.mode) << where;
            EXPECT_EQ(f.ViewMode, s.viewMode) << where;
            EXPECT_EQ(w.Guidance(), s.guidance) << where;
            EXPECT_EQ(w.Shown(), s.shown) << where;
            EXPECT_EQ(f.chkCross->Value(), s.box) << where;
            const bool placing = s.mode == 10 || s.mode == 11;
            EXPECT_EQ(f.chkCross->Enabled(), !placing) << where;
            EXPECT_EQ(f.cmdPicLoad->Enabled(), !placing) << where;
            EXPECT_EQ(f.picStillView->Visible(), s.viewMode == 1) << where;
            // A pair no longer following the pointer stands where it was clicked.
            for (int k = 0; left && k < 2; ++k) {
                const bool standing = std::string(s.shown).find(char('0' + k)) != std::string::npos && s.mode != 10 + k;
                EXPECT_TRUE(!standing || w.Crossing(k) == placed[k]) << where << ", pair " << k;
            }
        }
    }
}

TEST(CrossLines, LinesStandOverTheStillAndTheLivePictureInTheirColour) {
    CrossWindow w(0);
    frmMain& f = w.f;
    tavix::Var().CrossLineColor = 0x00FF00FF;
    tavix::ApplyCrossLineColor(f);
    for (auto* line : {f.picCrossLineV[0], f.picCrossLineV[1], f.picCrossLineH[0], f.picCrossLineH[1]})
        EXPECT_EQ(line->BackColor(), 0x00FF00FFu);
    f.chkCross->SetValue(1);
    const QPoint at(35, -25);
    // Over the frozen frame while placing, then over the running live picture.
    for (vb::PictureBox* under : {f.picStillView, f.picCameraView}) {
        if (under == f.picStillView) w.Send(QEvent::MouseMove, at, Qt::NoButton);
        else w.Click(at, Qt::LeftButton);
        ASSERT_TRUE(under->Visible());
        EXPECT_EQ(f.ViewMode, under == f.picStillView ? 1 : 0);
        const QPoint p = w.Crossing(0);
        ASSERT_EQ(p, w.InView(at));
        const QRect picture = under->Widget()->geometry();
        ASSERT_TRUE(picture.contains(p + QPoint(8, 0)) && picture.contains(p + QPoint(0, 8)));
        const QImage shown = w.View()->grab().toImage();
        EXPECT_EQ(shown.pixel(p.x(), p.y() + 8) & 0xFFFFFF, 0xFF00FFu) << "vertical line";
        EXPECT_EQ(shown.pixel(p.x() + 8, p.y()) & 0xFFFFFF, 0xFF00FFu) << "horizontal line";
        EXPECT_NE(shown.pixel(p.x() + 8, p.y() + 8) & 0xFFFFFF, 0xFF00FFu);
    }
}

TEST(CrossLines, ACentreClickLandsInTheMiddleOfTheViewAtEveryZoom) {
    CrossWindow w(3, 1, {1201, 801});  // odd, and at the top zooms larger than the view
    frmMain& f = w.f;
    for (int i = 0; i < f.cboScale->ListCount(); ++i) {
        f.cboScale->SetListIndex(i);
        f.chkCross->SetValue(1);
        w.Click(QPoint(0, 0), Qt::LeftButton);
        ASSERT_EQ(f.CommandMode, 0) << qPrintable(f.cboScale->Text());
        const QPoint middle(f.picViewArea->ClientPixelWidth() / 2, f.picViewArea->ClientPixelHeight() / 2);
        const QPoint d = w.Crossing(0) - middle;
        EXPECT_LE(std::abs(d.x()), 1) << qPrintable(f.cboScale->Text());
        EXPECT_LE(std::abs(d.y()), 1) << qPrintable(f.cboScale->Text());
        f.chkCross->SetValue(0);
    }
    EXPECT_GT(w.Still()->width(), w.View()->width()) << "the top zoom cuts the picture";
}

TEST(CrossLines, AfterAResizeTheLinesSpanTheViewAndKeepTheirPlace) {
    CrossWindow w(3, 2);
    frmMain& f = w.f;
    f.chkCross->SetValue(1);
    w.Click(QPoint(-40, 30), Qt::LeftButton);
    w.Click(QPoint(60, -20), Qt::LeftButton);
    ASSERT_EQ(f.CommandMode, 0);
    const double width = f.Width(), height = f.Height();
    const struct { double dw, dh; } sizes[] = {{2400, 1500}, {-900, -600}, {0, 0}};
    for (const auto& s : sizes) {
        double left[2], top[2];
        for (int k = 0; k < 2; ++k) left[k] = f.picCrossLineV[k]->Left(), top[k] = f.picCrossLineH[k]->Top();
        f.SetWidth(width + s.dw);
        f.SetHeight(height + s.dh);
        QCoreApplication::processEvents();
        for (int k = 0; k < 2; ++k) {
            EXPECT_EQ(f.picCrossLineV[k]->Height(), f.picViewArea->ScaleHeight()) << s.dw << ", pair " << k;
            EXPECT_EQ(f.picCrossLineH[k]->Width(), f.picViewArea->ScaleWidth()) << s.dw << ", pair " << k;
            EXPECT_EQ(f.picCrossLineV[k]->Widget()->height(), w.View()->height());
            EXPECT_EQ(f.picCrossLineH[k]->Widget()->width(), w.View()->width());
            EXPECT_EQ(f.picCrossLineV[k]->Left(), left[k]) << s.dw << ", pair " << k;
            EXPECT_EQ(f.picCrossLineH[k]->Top(), top[k]) << s.dw << ", pair " << k;
        }
    }
}

TEST(CrossLines, ASavedPictureNeverShowsThem) {
    for (const char* zoom : {"x 1.0", "x 2.0"}) {
        CrossWindow w(3);
        frmMain& f = w.f;
        tavix::Var().Still1xSave = 0;
        tavix::Var().CrossLineColor = 0x00FF00FF;
        tavix::ApplyCrossLineColor(f);
        for (int i = 0; i < f.cboScale->ListCount(); ++i)
            if (f.cboScale->List(i) == QLatin1String(zoom)) f.cboScale->SetListIndex(i);
        f.chkCross->SetValue(1);
        w.Click(QPoint(50, 40), Qt::LeftButton);  // in the white quarter
        const QPoint p = w.Crossing(0);
        ASSERT_EQ(w.View()->grab().toImage().pixel(p.x(), p.y() + 5) & 0xFFFFFF, 0xFF00FFu) << zoom;
        w.host.AnswerFile(w.box.File(QStringLiteral("saved.bmp")));
        f.cmdPicSave->Click();
        const QImage saved(w.box.File(QStringLiteral("saved.bmp")));
        ASSERT_EQ(saved.size(), w.View()->size()) << zoom;
        for (const QPoint& q : {p + QPoint(0, 5), p + QPoint(5, 0), p})
            EXPECT_EQ(saved.pixel(q), kQuarterColors[3]) << zoom << " at " << q.x() << "," << q.y();
        EXPECT_TRUE(f.picCrossLineV[0]->Visible()) << "saving leaves the lines standing";
    }
}

}  // namespace
