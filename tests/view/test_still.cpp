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
