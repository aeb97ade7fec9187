// The still at a zoom and its paint failure; the scale bar on the still and over the live
// picture, frmScale, and the bar in a saved picture.
#include <cmath>

#include "CameraView.h"
#include "ScaleOverlay.h"
#include "StillDisplay.h"
#include "ViewWindow.h"
#include "frmScale.h"

namespace view_test {
namespace {

using tavix::frmScale;
using testing_support::ResultPixels;

TEST(Still, SameItemAndTheFirstClickAtZeroDoNothingAPaintFailureFallsBackToOneThenGivesUp) {
    Win w(2);
    w.f.picTempView->SetPicture(QuarterPicture(400, 300));
    tavix::DispImage(w.f, false);
    Var().ResultTable[++w.f.ResultCount] = {1, CommandMode::Distance, {{}, {10, -4}, {-10, -8}}, 7.5};
    w.f.picStillView->LineBox(-5, -5, 5, 5, 0x00FFFF, true);  // survives only when nothing repaints
    Var().ZoomFactor = 0;                                     // as before the first click at start-up
    Zoom(w.f, "x 1.0");
    EXPECT_EQ(std::tuple(w.Shown(0, 0), Var().ZoomFactor, Var().ResultTable[1].Points[1].X),
              std::tuple(0xFFFFFF00u, 1.0, 10.0));
    testing_support::ResultsInCyan();
    w.host.AnswerMsgBox(vb::vbOK);
    vb::PictureBox::FailNextPaints(1);
    Zoom(w.f, "x 2.0");
    EXPECT_EQ(w.BoxAt(0), Box(GST(20171), vb::vbOKOnly | vb::vbCritical, GST(11170)));
    // Back at 1.0 with the points in its scale and the results on the picture.
    EXPECT_EQ(std::tuple(w.f.cboScale->Text(), Var().ZoomFactor, Var().ResultTable[1].Points[1].X,
                         w.f.picStillView->ScaleWidth(), w.Shown(-100, -100), ResultPixels(w.f) > 0),
              std::tuple(QStringLiteral("x 1.0"), 1.0, 10.0, 400.0, kQuarterColors[0], true));
    w.host.AnswerMsgBox(vb::vbOK);
    vb::PictureBox::FailNextPaints(1);
    tavix::DispImage(w.f, false);
    EXPECT_EQ(w.BoxAt(1), Box(GST(20170), vb::vbOKOnly | vb::vbCritical, GST(11170)));
    EXPECT_TRUE(w.f.picTempView->GetPicture().isNull() && w.f.picTempView->Width() == w.f.picViewArea->Width());
    EXPECT_EQ(std::pair(w.Shown(100, 100), w.Shown(-100, -100)), std::pair(0xFF000000u, 0xFF000000u));
}

// ScaleX 100 and ScaleY 50 at 2.5 units a pixel.
void Settle(int16_t type, int16_t position) {
    tavix::VariableDefinition& v = Var();
    v.ProofTable[v.CurrentProofNo] = {QStringLiteral("t"), 2.5, QStringLiteral("mm")};
    v.ScaleX = 100, v.ScaleY = 50, v.ScaleType = type, v.ScalePosition = position, v.ScaleColor = kMagenta & 0xFFFFFF;
}

int Count(const QImage& image) { return testing_support::Pixels(image, kMagenta); }

// Per position, the edge whose margin it keeps: -1 left or top, 1 right or bottom, 0 centre.
constexpr struct {
    int16_t position;
    int x, y;
} kPlaces[] = {{0, 1, 1}, {1, -1, 1}, {2, 1, -1}, {3, -1, -1}, {4, 0, 0}};

// Over the test camera's 640 x 480, smaller and larger than the view, in twips.
TEST(ScaleLive, BoxesKeepTheirMarginsInsideWhatIsShownAndGoIntoTheStill) {
    Win w(1);
    tavix::frmMain& f = w.f;
    for (double zoom : {0.5, 2.0}) {
        Zoom(f, zoom == 0.5 ? "x 0.5" : "x 2.0");
        const vb::PictureBox &cam = *f.picCameraView, &area = *f.picViewArea;
        ASSERT_EQ(cam.Width() > area.ScaleWidth() && cam.Height() > area.ScaleHeight(), zoom == 2.0);
        const double visL = std::max(cam.Left(), 0.0), visR = std::min(cam.Left() + cam.Width(), area.ScaleWidth());
        const double visT = std::max(cam.Top(), 0.0), visB = std::min(cam.Top() + cam.Height(), area.ScaleHeight());
        for (int16_t type : {1, 0}) {
            const double lenY = type == 1 ? 50 / 2.5 * zoom * kTwips : 0;
            for (const auto& p : kPlaces) {
                SCOPED_TRACE(zoom * 100 + type * 10 + p.position);
                Settle(type, p.position);
                tavix::DrawScale(f);
                const vb::PictureBox &bar = *f.picScaleLine[1], &vertical = *f.picScaleLine[2],
                                     &top = *f.picScaleLine[3];
                const double ax = bar.Left() + bar.Width(), ay = bar.Top();
                // Off by at most the rounding of the camera view's place.
                const double across = p.x == 1    ? visR - ax - 465
                                      : p.x == -1 ? bar.Left() - visL - 450
                                                  : ax - (visL + visR) / 2;
                const double down = p.y == 1    ? visB - ay - 450
                                    : p.y == -1 ? ay - lenY - visT - 450
                                                : ay - (visT + visB) / 2;
                EXPECT_TRUE(std::abs(across) <= 1 && std::abs(down) <= 1) << across << ", " << down;
                // The bar its length in twips; for two bars the vertical bar from its right end up.
                EXPECT_EQ((std::tuple(bar.Width(), vertical.Left(), type ? vertical.Top() : ay - lenY, top.Visible())),
                          (std::tuple(100 / 2.5 * zoom * kTwips, ax, ay - lenY, type == 1)));
            }
        }
    }
    // Through the check box: the boxes go into the still and come back.
    Settle(1, 0);
    w.host.AnswerModal([](vb::Form& form) { dynamic_cast<frmScale&>(form).cmdOK->Click(); });
    f.chkScale->SetValue(1);
    EXPECT_TRUE(f.picScaleSize->Visible());
    tavix::SwitchViewMode(f, true);
    EXPECT_FALSE(f.picScaleSize->Visible()) << "no live boxes over the still";
    EXPECT_GT(Count(f.picStillView->GetImage()), 40) << "drawn into the still";
    tavix::SwitchViewMode(f, false);
    EXPECT_TRUE(f.picScaleSize->Visible()) << "placed anew by the refit";
    f.chkScale->SetValue(0);
    EXPECT_FALSE(f.picScaleSize->Visible());
}

TEST(ScaleCheckBox, ALengthOfNothingIsRefusedOkDrawsCancelAndUncheckTakeItAway) {
    Win w;
    w.Open(QuarterPicture(200, 160));
    Var().ResultTable[1] = {1, CommandMode::Distance, {{}, {-50, -40}, {50, -40}}, 1};
    w.f.ResultCount = 1;
    testing_support::ResultsInCyan();
    Settle(0, 0);
    for (const bool ok : {false, true}) {
        w.host.AnswerModal([&w, ok](vb::Form& form) {
            auto& d = dynamic_cast<frmScale&>(form);
            d.txtScaleLen[0]->SetText(QStringLiteral("40"));  // 16 pixels at zoom 1, at the centre
            d.txtScaleLen[1]->SetText(QStringLiteral("0"));
            d.optAxis[0]->SetValue(true);
            d.cboPosition->SetListIndex(4);
            w.host.AnswerMsgBox(vb::vbOK);  // Y of nothing is refused though its field is closed
            d.cmdOK->Click();
            EXPECT_EQ(std::pair(w.BoxAt(ok), d.Unloaded()),
                      std::pair(Box(GST(25000, d.Label1[1]->Caption()), vb::vbOKOnly | vb::vbExclamation, GST(15100)),
                                false));
            d.txtScaleLen[1]->SetText(QStringLiteral("40"));
            (ok ? d.cmdOK : d.cmdCancel)->Click();
        });
        w.f.chkScale->SetValue(1);
        EXPECT_TRUE(w.f.chkScale->Value() == ok && Var().ScaleX == (ok ? 40 : 100) && Var().ScalePosition == 4 * ok);
        EXPECT_TRUE(ok || (ResultPixels(w.f) > 0 && Count(w.f.picStillView->GetImage()) == 0))
            << "Cancel repaints with the results";
    }
    EXPECT_TRUE(w.Shown(-8, 0) == kMagenta && w.Shown(-28, 0) != kMagenta);
    w.f.chkScale->SetValue(0);
    EXPECT_TRUE(Count(w.f.picStillView->GetImage()) == 0 && ResultPixels(w.f) > 0);
}

}  // namespace
}  // namespace view_test
