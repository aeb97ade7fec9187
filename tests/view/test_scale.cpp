// The scale bar on the still and over the live picture, frmScale, and the bar in a saved picture.
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

#include "CameraView.h"
#include "CommonModule.h"
#include "OpenImage.h"
#include "SaveImage.h"
#include "ScaleOverlay.h"
#include "StartedMain.h"
#include "ViewPan.h"
#include "StillDisplay.h"
#include "frmScale.h"

using tavix::frmMain;
using tavix::frmScale;
using tavix::GST;
using tavix::Var;
using testing_support::CameraMain;
using testing_support::QuarterPicture;
using testing_support::ResultPixels;
using testing_support::StartedMain;
using testing_support::Zoom;

namespace {

constexpr double kTwips = 15;
constexpr QRgb kBarRgb = 0xFFFF00FF;  // magenta: in none of the test pictures

// ScaleX 100 and ScaleY 50 at 2.5 units a pixel.
void Settle(int16_t type, int16_t position) {
    tavix::VariableDefinition& v = Var();
    v.ProofTable[v.CurrentProofNo] = {QStringLiteral("t"), 2.5, QStringLiteral("mm")};
    v.ScaleX = 100, v.ScaleY = 50, v.ScaleType = type, v.ScalePosition = position, v.ScaleColor = kBarRgb & 0xFFFFFF;
}

int Count(const QImage& image) { return testing_support::Pixels(image, kBarRgb); }

// Per position, the edge whose margin it keeps: -1 left or top, 1 right or bottom, 0 centre.
constexpr struct {
    int16_t position;
    int x, y;
} kPlaces[] = {{0, 1, 1}, {1, -1, 1}, {2, 1, -1}, {3, -1, -1}, {4, 0, 0}};

std::string Row(double what, int type, int position) {
    return std::to_string(what) + ", type " + std::to_string(type) + ", position " + std::to_string(position);
}

struct StillWindow : StartedMain {
    StillWindow() : StartedMain(3) {}
    // The colour at a point of the still's centred scale.
    QRgb At(double x, double y) const {
        const vb::PictureBox& s = *f.picStillView;
        const QPoint client(qRound(x - s.ScaleLeft()), qRound(y - s.ScaleTop()));
        return s.CanvasRect().contains(client) ? s.GetImage().pixel(client - s.CanvasRect().topLeft()) : 0;
    }
    // A point half way between pixels may round to either.
    bool Bar(double x, double y) const {
        for (double px : {std::floor(x), std::ceil(x)})
            for (double py : {std::floor(y), std::ceil(y)})
                if (At(px, py) == kBarRgb) return true;
        return false;
    }
};

TEST(ScaleOnStill, BarKeepsItsMarginsInsideWhatIsShown) {
    const struct {
        QSize picture;
        QPointF pan;  // screen pixels
    } cases[] = {{{200, 160}, {}}, {{3000, 2400}, {}}, {{3000, 2400}, {400, 300}}};
    for (const auto& [picture, pan] : cases) {
        SCOPED_TRACE(pan.x());
        StillWindow w;
        w.f.picTempView->SetPicture(QuarterPicture(picture.width(), picture.height()));
        Zoom(w.f, "x 1.5");
        tavix::PanBy(w.f, pan.x(), pan.y());
        // The middle of what is shown, which the pan moved off the picture's centre.
        const double cx = w.f.Pan.X * 1.5, cy = w.f.Pan.Y * 1.5;
        ASSERT_EQ(cx > 0, pan.x() > 0);
        const vb::PictureBox& still = *w.f.picStillView;
        // Half of what is shown: the picture, or the view where the picture is larger.
        const double halfW = std::min(still.ScaleWidth(), w.f.picViewArea->ScaleWidth() / kTwips) / 2;
        const double halfH = std::min(still.ScaleHeight(), w.f.picViewArea->ScaleHeight() / kTwips) / 2;
        ASSERT_EQ(halfW<still.ScaleWidth() / 2, picture.width()> 1000);
        const double lenX = 60;        // 100 / 2.5 * 1.5
        for (int16_t type : {1, 0}) {  // 1 first: each type 0 row shows no vertical bar stays
            const double lenY = type == 1 ? 30 : 0;
            for (const auto& at : kPlaces) {
                const std::string row = Row(picture.width(), type, at.position);
                Settle(type, at.position);
                tavix::DispImage(w.f, false);
                const QImage before = still.GetImage();
                tavix::DrawScale(w.f);
                const double ax = cx + (at.x == 1 ? halfW - 30 : at.x == -1 ? -halfW + 30 + lenX : 0);
                const double ay = cy + (at.y == 1 ? halfH - 30 : at.y == -1 ? -halfH + 30 + lenY : 0);
                EXPECT_TRUE(w.Bar(ax - lenX / 2, ay) && w.Bar(ax - lenX, ay - 8) && w.Bar(ax - lenX, ay + 8)) << row;
                EXPECT_TRUE(w.At(ax - lenX - 4, ay) != kBarRgb && w.At(ax + 4, ay) != kBarRgb) << row << ": 60 long";
                EXPECT_NE(w.At(ax - lenX, ay - 12), kBarRgb) << row << ": tick 16 long";
                EXPECT_EQ(w.Bar(ax, ay - 15), type == 1) << row << ": vertical bar";
                EXPECT_EQ(w.Bar(ax, ay + 8), type == 0) << row << ": right tick";
                EXPECT_TRUE(type != 1 || (w.Bar(ax - 8, ay - lenY) && w.Bar(ax + 8, ay - lenY))) << row;
                // The text is what else changed, under the bar and centred on it.
                const QImage after = still.GetImage();
                const int top = qRound(ay - still.ScaleTop()) - still.CanvasRect().top();
                int first = INT_MAX, last = INT_MIN;
                for (int y = std::max(top + 3, 0); y < std::min(top + 30, after.height()); ++y)
                    for (int x = 0; x < after.width(); ++x)
                        if (after.pixel(x, y) != before.pixel(x, y) && after.pixel(x, y) != kBarRgb)
                            first = std::min(first, x), last = std::max(last, x);
                ASSERT_LE(first, last) << row << ": no text";
                EXPECT_NEAR((first + last) / 2.0 + still.CanvasRect().left() + still.ScaleLeft(), ax - lenX / 2, 3)
                    << row;
            }
        }
    }
}

// Over the test camera's 640 x 480, smaller and larger than the view, in twips.
TEST(ScaleLive, BoxesKeepTheirMarginsInsideWhatIsShown) {
    CameraMain m;
    ASSERT_TRUE(m.started && m.WaitFrame());
    frmMain& f = m.f;
    for (double zoom : {0.5, 2.0}) {
        Zoom(f, zoom == 0.5 ? "x 0.5" : "x 2.0");
        const vb::PictureBox &cam = *f.picCameraView, &area = *f.picViewArea;
        ASSERT_EQ(cam.Width() > area.ScaleWidth() && cam.Height() > area.ScaleHeight(), zoom == 2.0);
        const double visL = std::max(cam.Left(), 0.0), visR = std::min(cam.Left() + cam.Width(), area.ScaleWidth());
        const double visT = std::max(cam.Top(), 0.0), visB = std::min(cam.Top() + cam.Height(), area.ScaleHeight());
        for (int16_t type : {1, 0}) {
            const double lenY = type == 1 ? 50 / 2.5 * zoom * kTwips : 0;
            for (const auto& at : kPlaces) {
                const std::string row = Row(zoom, type, at.position);
                Settle(type, at.position);
                tavix::DrawScale(f);
                const vb::PictureBox &tick = *f.picScaleLine[0], &bar = *f.picScaleLine[1],
                                     &vertical = *f.picScaleLine[2], &top = *f.picScaleLine[3], &text = *f.picScaleSize;
                const double ax = bar.Left() + bar.Width(), ay = bar.Top();
                EXPECT_DOUBLE_EQ(bar.Width(), 100 / 2.5 * zoom * kTwips) << row;
                // Off by at most the rounding of the camera view's place.
                EXPECT_NEAR(at.x == 1    ? visR - ax - 465
                            : at.x == -1 ? bar.Left() - visL - 450
                                         : ax - (visL + visR) / 2,
                            0, 1)
                    << row << ": across";
                EXPECT_NEAR(at.y == 1    ? visB - ay - 450
                            : at.y == -1 ? ay - lenY - visT - 450
                                         : ay - (visT + visB) / 2,
                            0, 1)
                    << row << ": down";
                EXPECT_TRUE(tick.Left() == bar.Left() && tick.Top() + tick.Height() / 2 == ay && vertical.Left() == ax)
                    << row;
                EXPECT_DOUBLE_EQ(vertical.Height(), type == 1 ? lenY : tick.Height()) << row;
                EXPECT_DOUBLE_EQ(vertical.Top(), type == 1 ? ay - lenY : ay - tick.Height() / 2) << row;
                EXPECT_TRUE(type != 1 || (top.Left() + top.Width() / 2 == ax && top.Top() == ay - lenY)) << row;
                EXPECT_TRUE(tick.Visible() && bar.Visible() && vertical.Visible() && text.Visible()) << row;
                EXPECT_EQ(top.Visible(), type == 1) << row;
                EXPECT_DOUBLE_EQ(text.Left() + text.Width() / 2, bar.Left() + bar.Width() / 2) << row;
                EXPECT_DOUBLE_EQ(text.Top(), ay + 80) << row;
            }
        }
    }
}

void Answer(frmScale& d, const char* x, const char* y, int type, int position) {
    d.txtScaleLen[0]->SetText(QString::fromUtf8(x));
    d.txtScaleLen[1]->SetText(QString::fromUtf8(y));
    d.optAxis[type]->SetValue(true);
    d.cboPosition->SetListIndex(position);
}

TEST(ScaleDialog, ShowsTheSettingsAndOpensYOnlyForTwoBars) {
    StartedMain w(3);
    for (int16_t type : {0, 1}) {
        Settle(type, 3);
        Var().ScaleX = 12.5;
        frmScale d;
        d.Form_Load();
        EXPECT_EQ((QStringList{d.Caption(), d.txtScaleLen[0]->Text(), d.txtScaleLen[1]->Text(), d.lblUnit[1]->Caption(),
                               d.cboPosition->List(4)}),
                  (QStringList{GST(15000), "12.5", "50", "mm", GST(15009)}));
        EXPECT_TRUE(d.optAxis[type]->Value() && d.cboPosition->ListIndex() == 3);
        EXPECT_EQ(d.txtScaleLen[1]->Enabled() && d.Label1[1]->Enabled() && d.lblUnit[1]->Enabled(), type == 1);
        d.optAxis[1 - type]->SetValue(true);
        EXPECT_EQ(d.txtScaleLen[1]->Enabled(), type == 0) << "the other option turns Y round";
    }
}

TEST(ScaleDialog, OkRefusesLengthsOfNothingAndStoresBoth) {
    const struct {
        const char* x;
        const char* y;
        int type;
        const char* refused;
        double storedX = 0, storedY = 0;
    } rows[] = {
        {"0", "5", 1, "X"},
        {"-1", "5", 1, "X"},
        {"abc", "5", 1, "X"},
        {"9e999", "5", 1, "X"},
        {"5", "0", 0, "Y"},  // refused although the Y field is closed
        {"5", "-.5", 1, "Y"},
        {"12abc", "7", 1, nullptr, 12, 7},
        {" 2.5", ".5", 0, nullptr, 2.5, 0.5},
    };
    for (const auto& r : rows) {
        StartedMain w(3);
        Settle(1, 0);
        Var().DialogResult = false;
        frmScale d;
        d.Form_Load();
        Answer(d, r.x, r.y, r.type, 2);
        if (r.refused) w.host.AnswerMsgBox(vb::vbOK);
        d.cmdOK->Click();
        const std::string row = std::string(r.x) + " / " + r.y;
        EXPECT_TRUE(d.Unloaded() == !r.refused && Var().DialogResult == !r.refused) << row;
        const tavix::VariableDefinition& v = Var();
        using Stored = std::tuple<double, double, int, int>;
        const Stored stored = r.refused ? Stored(100, 50, 1, 0) : Stored(r.storedX, r.storedY, r.type, 2);
        EXPECT_EQ(Stored(v.ScaleX, v.ScaleY, v.ScaleType, v.ScalePosition), stored) << row;
        ASSERT_EQ(w.host.Boxes.size(), r.refused ? 1u : 0u) << row;
        if (r.refused) {
            EXPECT_EQ(std::tuple(w.host.Boxes[0].Prompt, w.host.Boxes[0].Title, w.host.Boxes[0].Buttons),
                      std::tuple(GST(25000, QLatin1String(r.refused)), GST(15100), vb::vbOKOnly | vb::vbExclamation));
        }
    }
}

TEST(ScaleCheckBox, OnTheStillOkDrawsCancelAndUncheckTakeItAway) {
    StillWindow w;
    EXPECT_EQ(w.f.chkScale->Value(), 0) << "unchecked at start";
    w.f.picTempView->SetPicture(QuarterPicture(200, 160));
    Zoom(w.f, "x 1.0");
    tavix::DispImage(w.f, false);
    Var().ResultTable[1] = {1, tavix::CommandMode::Distance, {{}, {-50, -40}, {50, -40}}, 1};
    w.f.ResultCount = 1;
    testing_support::ResultsInCyan();
    Settle(0, 0);
    for (const bool ok : {false, true}) {
        w.host.AnswerModal([ok](vb::Form& form) {
            auto& d = dynamic_cast<frmScale&>(form);
            Answer(d, "40", "40", 0, 4);  // 16 pixels at zoom 1, at the centre
            (ok ? d.cmdOK : d.cmdCancel)->Click();
        });
        w.f.chkScale->SetValue(1);
        EXPECT_TRUE(w.f.chkScale->Value() == ok && Var().ScaleX == (ok ? 40 : 100) && Var().ScalePosition == 4 * ok);
        EXPECT_TRUE(ok || (ResultPixels(w.f) > 0 && Count(w.f.picStillView->GetImage()) == 0))
            << "Cancel repaints with the results";
    }
    EXPECT_TRUE(w.Bar(-8, 0) && w.At(-28, 0) != kBarRgb);
    Zoom(w.f, "x 2.0");
    EXPECT_TRUE(w.Bar(-28, 0)) << "32 pixels at zoom 2";
    w.f.chkScale->SetValue(0);
    EXPECT_TRUE(Count(w.f.picStillView->GetImage()) == 0 && ResultPixels(w.f) > 0);
}

TEST(ScaleCheckBox, LiveBoxesGoToTheStillAndComeBack) {
    CameraMain m;
    ASSERT_TRUE(m.started && m.WaitFrame());
    frmMain& f = m.f;
    Settle(1, 0);
    const auto shown = [&f] {
        int n = f.picScaleSize->Visible();
        for (int i = 0; i < 4; ++i) n += f.picScaleLine[i]->Visible();
        return n;
    };
    m.host.AnswerModal([](vb::Form& form) { dynamic_cast<frmScale&>(form).cmdOK->Click(); });
    f.chkScale->SetValue(1);
    EXPECT_EQ(shown(), 5);
    tavix::SwitchViewMode(f, true);
    EXPECT_EQ(shown(), 0) << "no live boxes over the still";
    EXPECT_GT(Count(f.picStillView->GetImage()), 40) << "drawn into the still";
    tavix::SwitchViewMode(f, false);
    EXPECT_EQ(shown(), 5) << "placed anew by the refit";
    f.chkScale->SetValue(0);
    EXPECT_EQ(shown(), 0);
}

TEST(ScaleCheckBox, BarIsInThePictureSavedAtTheViewSize) {
    StillWindow w;
    const QString opened = w.box.File(QStringLiteral("opened.png"));
    ASSERT_TRUE(QuarterPicture(400, 300).save(opened));
    w.host.AnswerFile(opened);
    tavix::cmdPicLoad_Click(w.f);
    Settle(0, 0);
    Var().Still1xSave = 0;
    w.host.AnswerModal([](vb::Form& form) { dynamic_cast<frmScale&>(form).cmdOK->Click(); });
    w.f.chkScale->SetValue(1);
    w.host.AnswerFile(w.box.File(QStringLiteral("saved.bmp")));
    tavix::cmdPicSave_Click(w.f);
    const QImage saved(w.box.File(QStringLiteral("saved.bmp")));
    // The picture in the middle of the view; a 40 pixel bar ending 30 inside its lower right corner.
    const int ax = saved.width() / 2 + 200 - 30, ay = saved.height() / 2 + 150 - 30;
    ASSERT_GT(saved.height(), ay + 1);
    const QImage row = saved.copy(0, ay - 1, saved.width(), 3);
    EXPECT_GE(Count(row), 40);
    EXPECT_EQ(Count(row.copy(ax + 2, 0, row.width() - ax - 2, 3)), 0) << "nothing beyond its right end";
}

}  // namespace
