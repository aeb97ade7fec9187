// The still at a zoom: sizes, centring, what the canvas holds, and the paint failure.
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "StartedMain.h"
#include "StillDisplay.h"

using testing_support::kQuarterColors;
using testing_support::QuarterPicture;

using testing_support::Zoom;

namespace {

constexpr double kTwips = 15;
constexpr QRgb kBlack = 0xFF000000;

struct StillWindow : testing_support::StartedMain {
    StillWindow() : StartedMain(2) {}
    void Show(const QImage& picture) {
        f.picTempView->SetPicture(picture);
        tavix::DispImage(f, false);
    }
    // The colour shown at a point of the view area (pixels from its top left).
    QRgb AtView(int x, int y) const {
        const vb::PictureBox& still = *f.picStillView;
        const QPoint client(x - qRound(still.Left() / kTwips), y - qRound(still.Top() / kTwips));
        if (!still.CanvasRect().contains(client)) return 0;
        return still.GetImage().pixel(client - still.CanvasRect().topLeft());
    }
    int ViewW() const { return qRound(f.picViewArea->ScaleWidth() / kTwips); }
    int ViewH() const { return qRound(f.picViewArea->ScaleHeight() / kTwips); }
    void AddResult(double x, double y, double value) {
        tavix::ResultRecord& r = tavix::Var().ResultTable[++f.ResultCount];
        r.Points = {{}, {x, y}, {-x, 2 * y}};
        r.Value = value;
    }
};

TEST(Still, ReducedPictureIsCentredWithItsOriginInTheMiddle) {
    StillWindow w;
    w.Show(QuarterPicture(800, 600));
    Zoom(w.f, "x 0.5");
    const vb::PictureBox& still = *w.f.picStillView;
    EXPECT_DOUBLE_EQ(tavix::Var().ZoomFactor, 0.5);
    EXPECT_DOUBLE_EQ(still.ScaleWidth(), 400);
    EXPECT_DOUBLE_EQ(still.ScaleHeight(), 300);
    EXPECT_DOUBLE_EQ(still.ScaleLeft(), -200);
    EXPECT_DOUBLE_EQ(still.ScaleTop(), -150);
    EXPECT_DOUBLE_EQ(still.Left(), w.f.picViewArea->ScaleWidth() / 2 - 200 * kTwips);
    EXPECT_DOUBLE_EQ(still.Top(), w.f.picViewArea->ScaleHeight() / 2 - 150 * kTwips);
    const int cx = w.ViewW() / 2, cy = w.ViewH() / 2;
    EXPECT_EQ(w.AtView(cx - 190, cy - 140), kQuarterColors[0]);
    EXPECT_EQ(w.AtView(cx + 190, cy - 140), kQuarterColors[1]);
    EXPECT_EQ(w.AtView(cx - 190, cy + 140), kQuarterColors[2]);
    EXPECT_EQ(w.AtView(cx + 190, cy + 140), kQuarterColors[3]);
    EXPECT_EQ(w.AtView(cx - 210, cy), 0u) << "nothing beyond the picture's edge";
}

TEST(Still, LargePictureKeepsItsCentreAtEveryZoomAndTheCanvasStaysBounded) {
    StillWindow w;
    w.Show(QuarterPicture(4000, 3000));
    const int cx = w.ViewW() / 2, cy = w.ViewH() / 2;
    for (const char* zoom : {"x 0.5", "x 1.0", "x 1.7", "x 2.0"}) {
        Zoom(w.f, zoom);
        EXPECT_LT(w.f.picStillView->Left(), 0) << zoom;
        EXPECT_LE(w.f.picStillView->CanvasRect().width(), w.ViewW()) << zoom;
        EXPECT_LE(w.f.picStillView->CanvasRect().height(), w.ViewH()) << zoom;
        EXPECT_EQ(w.AtView(cx - 3, cy - 3), kQuarterColors[0]) << zoom;
        EXPECT_EQ(w.AtView(cx + 3, cy - 3), kQuarterColors[1]) << zoom;
        EXPECT_EQ(w.AtView(cx - 3, cy + 3), kQuarterColors[2]) << zoom;
        EXPECT_EQ(w.AtView(cx + 3, cy + 3), kQuarterColors[3]) << zoom;
        // Cut at the view's edges: the corners of the view show the outer quarters.
        EXPECT_EQ(w.AtView(0, 0), kQuarterColors[0]) << zoom;
        EXPECT_EQ(w.AtView(w.ViewW() - 1, w.ViewH() - 1), kQuarterColors[3]) << zoom;
    }
}

TEST(Still, ZoomRescalesStoredPointsAndKeepsValues) {
    StillWindow w;
    w.Show(QuarterPicture(400, 300));
    w.AddResult(10, -4, 7.5);
    w.AddResult(-3, 6, 1.25);
    const struct {
        const char* zoom;
        double factor;
    } steps[] = {{"x 2.0", 2}, {"x 0.5", 0.5}, {"x 1.0", 1}};
    for (const auto& s : steps) {
        Zoom(w.f, s.zoom);
        const auto& r1 = tavix::Var().ResultTable[1];
        const auto& r2 = tavix::Var().ResultTable[2];
        EXPECT_DOUBLE_EQ(r1.Points[1].X, 10 * s.factor) << s.zoom;
        EXPECT_DOUBLE_EQ(r1.Points[2].Y, -8 * s.factor) << s.zoom;
        EXPECT_DOUBLE_EQ(r2.Points[2].X, 3 * s.factor) << s.zoom;
        EXPECT_EQ(r1.Value, 7.5);
        EXPECT_EQ(r2.Value, 1.25);
    }
}

TEST(Still, SameItemAndTheFirstClickAtZeroDoNothing) {
    StillWindow w;
    w.Show(QuarterPicture(400, 300));
    w.AddResult(10, 10, 1);
    // A mark on the still survives only when nothing repaints.
    w.f.picStillView->LineBox(-5, -5, 5, 5, 0x00FFFF, true);
    Zoom(w.f, "x 1.0");
    EXPECT_EQ(w.AtView(w.ViewW() / 2, w.ViewH() / 2), 0xFFFFFF00u);
    tavix::Var().ZoomFactor = 0;  // as before the first click at start-up
    Zoom(w.f, "x 1.0");
    EXPECT_DOUBLE_EQ(tavix::Var().ZoomFactor, 1.0);
    EXPECT_EQ(w.AtView(w.ViewW() / 2, w.ViewH() / 2), 0xFFFFFF00u);
    EXPECT_DOUBLE_EQ(tavix::Var().ResultTable[1].Points[1].X, 10);
}

TEST(Still, PaintFailureAboveOneFallsBackToOne) {
    StillWindow w;
    w.Show(QuarterPicture(400, 300));
    w.AddResult(10, -4, 7.5);
    tavix::Var().ResultTable[1].Kind = tavix::CommandMode::Distance;
    testing_support::ResultsInCyan();
    w.host.AnswerMsgBox(vb::vbOK);
    vb::PictureBox::FailNextPaints(1);
    Zoom(w.f, "x 2.0");
    ASSERT_EQ(w.host.Boxes.size(), 1u);
    EXPECT_EQ(w.host.Boxes[0].Prompt, tavix::GST(20171));
    EXPECT_EQ(w.host.Boxes[0].Title, tavix::GST(11170));
    EXPECT_EQ(w.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbCritical);
    EXPECT_EQ(w.f.cboScale->Text(), QStringLiteral("x 1.0"));
    EXPECT_DOUBLE_EQ(tavix::Var().ZoomFactor, 1.0);
    EXPECT_DOUBLE_EQ(tavix::Var().ResultTable[1].Points[1].X, 10) << "back in the scale of 1.0";
    EXPECT_DOUBLE_EQ(w.f.picStillView->ScaleWidth(), 400);
    EXPECT_EQ(w.AtView(w.ViewW() / 2 - 100, w.ViewH() / 2 - 100), kQuarterColors[0]);
    EXPECT_GT(testing_support::ResultPixels(w.f), 0) << "the results stand on the picture at 1.0";
}

TEST(Still, PaintFailureAtOneGivesThePictureUp) {
    StillWindow w;
    w.Show(QuarterPicture(400, 300));
    w.host.AnswerMsgBox(vb::vbOK);
    vb::PictureBox::FailNextPaints(1);
    tavix::DispImage(w.f, false);
    ASSERT_EQ(w.host.Boxes.size(), 1u);
    EXPECT_EQ(w.host.Boxes[0].Prompt, tavix::GST(20170));
    EXPECT_TRUE(w.f.picTempView->GetPicture().isNull());
    EXPECT_DOUBLE_EQ(w.f.picTempView->Width(), w.f.picViewArea->Width());
    EXPECT_EQ(w.AtView(w.ViewW() / 2, w.ViewH() / 2), kBlack);
    EXPECT_EQ(w.AtView(w.ViewW() / 2 - 100, w.ViewH() / 2 - 100), kBlack);
}

}  // namespace
