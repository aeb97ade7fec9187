// The scale bar on the still and over the live picture, the dialog that sets it, the check
// box in both views, and the bar in a saved picture.
#include <QFontMetricsF>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "OpenImage.h"
#include "SaveImage.h"
#include "ScaleOverlay.h"
#include "StartedMain.h"
#include "StillDisplay.h"
#include "frmScale.h"

using testing_support::CameraMain;
using testing_support::QuarterPicture;
using testing_support::StartedMain;
using tavix::frmMain;
using tavix::frmScale;
using tavix::GST;
using tavix::Var;

namespace {

constexpr double kTwips = 15;
// Magenta: none of the test pictures has it.
constexpr uint32_t kBarColor = 0xFF00FF;
constexpr QRgb kBarRgb = 0xFFFF00FF;

// ScaleX 100 and ScaleY 50 at 2.5 units a pixel.
void Settle(int16_t type, int16_t position) {
    tavix::VariableDefinition& v = Var();
    v.ProofTable[v.CurrentProofNo] = {QStringLiteral("t"), 2.5, QStringLiteral("mm")};
    v.ScaleX = 100;
    v.ScaleY = 50;
    v.ScaleType = type;
    v.ScalePosition = position;
    v.ScaleColor = kBarColor;
}

void Zoom(frmMain& f, const char* item) {
    for (int i = 0; i < f.cboScale->ListCount(); ++i)
        if (f.cboScale->List(i) == QLatin1String(item)) f.cboScale->SetListIndex(i);
}

int Count(const QImage& image, QRgb colour) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    const auto* p = reinterpret_cast<const QRgb*>(rgb.constBits());
    return static_cast<int>(std::count(p, p + rgb.width() * rgb.height(), colour));
}

// Per position, the edge whose margin it keeps: -1 left or top, 1 right or bottom, 0 centre.
constexpr struct { int16_t position; int x, y; } kPlaces[] = {
    {0, 1, 1}, {1, -1, 1}, {2, 1, -1}, {3, -1, -1}, {4, 0, 0}};

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
    for (const QSize picture : {QSize(200, 160), QSize(3000, 2400)}) {
        StillWindow w;
        w.f.picTempView->SetPicture(QuarterPicture(picture.width(), picture.height()));
        Zoom(w.f, "x 1.5");
        const vb::PictureBox& still = *w.f.picStillView;
        // Half of what is shown: the picture, or the view where the picture is larger.
        const double halfW = std::min(still.ScaleWidth(), w.f.picViewArea->ScaleWidth() / kTwips) / 2;
        const double halfH = std::min(still.ScaleHeight(), w.f.picViewArea->ScaleHeight() / kTwips) / 2;
        ASSERT_EQ(halfW < still.ScaleWidth() / 2, picture.width() > 1000);
        const double lenX = 60;  // 100 / 2.5 * 1.5
        for (int16_t type : {1, 0}) {
            const double lenY = type == 1 ? 30 : 0;
            for (const auto& at : kPlaces) {
                const std::string row = std::to_string(picture.width()) + " wide, type " + std::to_string(type) +
                                        ", position " + std::to_string(at.position);
                Settle(type, at.position);
                tavix::DispImage(w.f, false);
                const QImage before = still.GetImage();
                tavix::DrawScale(w.f);
                const double ax = at.x == 1 ? halfW - 30 : at.x == -1 ? -halfW + 30 + lenX : 0;
                const double ay = at.y == 1 ? halfH - 30 : at.y == -1 ? -halfH + 30 + lenY : 0;
                EXPECT_TRUE(w.Bar(ax - lenX / 2, ay) && w.Bar(ax - lenX, ay - 8) && w.Bar(ax - lenX, ay + 8)) << row;
                EXPECT_NE(w.At(ax - lenX - 4, ay), kBarRgb) << row << ": 60 long";
                EXPECT_NE(w.At(ax - lenX, ay - 12), kBarRgb) << row << ": tick 16 long";
                EXPECT_NE(w.At(ax + 4, ay), kBarRgb) << row;
                EXPECT_EQ(w.Bar(ax, ay - 15), type == 1) << row << ": vertical bar";
                EXPECT_EQ(w.Bar(ax, ay + 8), type == 0) << row << ": right tick";
                if (type == 1) EXPECT_TRUE(w.Bar(ax - 8, ay - lenY) && w.Bar(ax + 8, ay - lenY)) << row;

                // The text: what else changed, under the bar and centred on it.
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
    Var().MeasureFontSize = 10;
    for (double zoom : {0.5, 2.0}) {
        Zoom(f, zoom == 0.5 ? "x 0.5" : "x 2.0");
        const vb::PictureBox &cam = *f.picCameraView, &area = *f.picViewArea;
        ASSERT_EQ(cam.Width() > area.ScaleWidth() && cam.Height() > area.ScaleHeight(), zoom == 2.0);
        const double visL = std::max(cam.Left(), 0.0), visR = std::min(cam.Left() + cam.Width(), area.ScaleWidth());
        const double visT = std::max(cam.Top(), 0.0), visB = std::min(cam.Top() + cam.Height(), area.ScaleHeight());
        // Type 1 first, so each type 0 row also shows that nothing of the vertical bar stays.
        for (int16_t type : {1, 0}) {
            const double lenY = type == 1 ? 50 / 2.5 * zoom * kTwips : 0;
            for (const auto& at : kPlaces) {
                const std::string row = "zoom " + std::to_string(zoom) + ", type " + std::to_string(type) +
                                        ", position " + std::to_string(at.position);
                Settle(type, at.position);
                tavix::DrawScale(f);
                const vb::PictureBox &tick = *f.picScaleLine[0], &bar = *f.picScaleLine[1],
                                     &vertical = *f.picScaleLine[2], &top = *f.picScaleLine[3], &text = *f.picScaleSize;
                const double ax = bar.Left() + bar.Width(), ay = bar.Top();
                EXPECT_DOUBLE_EQ(bar.Width(), 100 / 2.5 * zoom * kTwips) << row;
                // Off by at most the rounding of the camera view's place.
                const double ex = at.x == 1    ? visR - ax - 465
                                  : at.x == -1 ? bar.Left() - visL - 450
                                               : ax - (visL + visR) / 2;
                const double ey = at.y == 1    ? visB - ay - 450
                                  : at.y == -1 ? ay - lenY - visT - 450
                                               : ay - (visT + visB) / 2;
                EXPECT_NEAR(ex, 0, 1) << row << ": across";
                EXPECT_NEAR(ey, 0, 1) << row << ": down";
                EXPECT_DOUBLE_EQ(tick.Left(), bar.Left()) << row;
                EXPECT_DOUBLE_EQ(tick.Top() + tick.Height() / 2, ay) << row;
                EXPECT_DOUBLE_EQ(vertical.Left(), ax) << row;
                EXPECT_DOUBLE_EQ(vertical.Height(), type == 1 ? lenY : tick.Height()) << row;
                EXPECT_DOUBLE_EQ(vertical.Top(), type == 1 ? ay - lenY : ay - tick.Height() / 2) << row;
                if (type == 1) EXPECT_TRUE(top.Left() + top.Width() / 2 == ax && top.Top() == ay - lenY) << row;
                EXPECT_TRUE(tick.Visible() && bar.Visible() && vertical.Visible() && text.Visible()) << row;
                EXPECT_EQ(top.Visible(), type == 1) << row;
                EXPECT_DOUBLE_EQ(text.Left() + text.Width() / 2, bar.Left() + bar.Width() / 2) << row;
                EXPECT_DOUBLE_EQ(text.Top(), ay + 80) << row;
                EXPECT_NEAR(text.Width(), QFontMetricsF(text.Font()).horizontalAdvance("100mm") * kTwips, 0.5) << row;
                EXPECT_LT(Count(text.GetImage(), 0xFF808080), text.GetImage().width() * text.GetImage().height())
                    << row << ": printed";
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
        EXPECT_EQ(d.Caption(), GST(15000));
        EXPECT_EQ(d.optAxis[1]->Caption(), GST(15003));
        EXPECT_EQ((QStringList{d.txtScaleLen[0]->Text(), d.txtScaleLen[1]->Text(), d.lblUnit[1]->Caption()}),
                  (QStringList{"12.5", "50", "mm"}));
        EXPECT_TRUE(d.txtScaleLen[0]->MaxLength() == 6 && d.txtScaleLen[1]->MaxLength() == 6);
        EXPECT_TRUE(d.optAxis[type]->Value());
        EXPECT_EQ(d.txtScaleLen[1]->Enabled() && d.Label1[1]->Enabled() && d.lblUnit[1]->Enabled(), type == 1);
        ASSERT_EQ(d.cboPosition->ListCount(), 5);
        EXPECT_EQ(d.cboPosition->List(4), GST(15009));
        EXPECT_EQ(d.cboPosition->ListIndex(), 3);
        d.optAxis[1 - type]->SetValue(true);
        EXPECT_EQ(d.txtScaleLen[1]->Enabled(), type == 0) << "the other option turns Y round";

        // Tab walks from the X length on.
        std::vector<QWidget*> chain;
        for (QWidget* at = d.nextInFocusChain(); at != &d && chain.size() < 20; at = at->nextInFocusChain())
            if (at->focusPolicy() & Qt::TabFocus) chain.push_back(at);
        EXPECT_EQ(chain, (std::vector<QWidget*>{d.txtScaleLen[0]->Widget(), d.txtScaleLen[1]->Widget(),
                                                d.optAxis[0]->Widget(), d.optAxis[1]->Widget(),
                                                d.cboPosition->Widget(), d.cmdOK->Widget(), d.cmdCancel->Widget()}));
    }
}

TEST(ScaleDialog, OkRefusesLengthsOfNothingAndStoresBoth) {
    const struct { const char* x; const char* y; int type; const char* refused; double storedX, storedY; } rows[] = {
        {"0", "5", 1, "X"}, {"-1", "5", 1, "X"}, {"abc", "5", 1, "X"}, {"9e999", "5", 1, "X"},
        {"5", "0", 0, "Y"},  // refused although the Y field is closed
        {"5", "-.5", 1, "Y"}, {"12abc", "7", 1, nullptr, 12, 7}, {" 2.5", ".5", 0, nullptr, 2.5, 0.5},
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
        EXPECT_EQ(d.Unloaded(), !r.refused) << row;
        EXPECT_EQ(Var().DialogResult, !r.refused) << row;
        if (r.refused) {
            ASSERT_EQ(w.host.Boxes.size(), 1u) << row;
            EXPECT_EQ(w.host.Boxes[0].Prompt, GST(25000, QLatin1String(r.refused))) << row;
            EXPECT_EQ(w.host.Boxes[0].Title, GST(15100)) << row;
            EXPECT_EQ(w.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbExclamation) << row;
            EXPECT_TRUE(Var().ScaleX == 100 && Var().ScaleY == 50 && Var().ScaleType == 1 && Var().ScalePosition == 0)
                << row << ": nothing stored";
        } else {
            EXPECT_TRUE(Var().ScaleX == r.storedX && Var().ScaleY == r.storedY) << row;
            EXPECT_TRUE(Var().ScaleType == r.type && Var().ScalePosition == 2) << row;
        }
    }
}

TEST(ScaleCheckBox, OnTheStillOkDrawsCancelAndUncheckTakeItAway) {
    StillWindow w;
    EXPECT_EQ(w.f.chkScale->Value(), 0) << "unchecked at start";
    w.f.picTempView->SetPicture(QuarterPicture(200, 160));
    Zoom(w.f, "x 1.0");
    tavix::DispImage(w.f, false);
    int drawn = 0;
    w.f.Hooks.DrawMeasureResults = [&](frmMain&) { ++drawn; };
    Settle(0, 0);
    const auto press = [](bool ok) {
        return [ok](vb::Form& form) {
            auto& d = dynamic_cast<frmScale&>(form);
            Answer(d, "40", "40", 0, 4);  // 16 pixels at zoom 1, at the centre
            (ok ? d.cmdOK : d.cmdCancel)->Click();
        };
    };
    w.host.AnswerModal(press(false));
    w.f.chkScale->SetValue(1);
    EXPECT_EQ(w.f.chkScale->Value(), 0);
    EXPECT_TRUE(Var().ScaleX == 100 && Var().ScalePosition == 0) << "Cancel stores nothing";
    EXPECT_EQ(Count(w.f.picStillView->GetImage(), kBarRgb), 0);
    EXPECT_EQ(drawn, 1) << "repainted with the results";

    w.host.AnswerModal(press(true));
    w.f.chkScale->SetValue(1);
    EXPECT_TRUE(w.f.chkScale->Value() == 1 && Var().ScaleX == 40 && Var().ScalePosition == 4);
    EXPECT_TRUE(w.Bar(-8, 0));
    EXPECT_NE(w.At(-28, 0), kBarRgb);
    Zoom(w.f, "x 2.0");
    EXPECT_TRUE(w.Bar(-28, 0)) << "32 pixels at zoom 2";

    drawn = 0;
    w.f.chkScale->SetValue(0);
    EXPECT_EQ(Count(w.f.picStillView->GetImage(), kBarRgb), 0);
    EXPECT_EQ(drawn, 1);
    w.f.Hooks.DrawMeasureResults = nullptr;
}

TEST(ScaleCheckBox, LiveBoxesGoToTheStillAndComeBack) {
    CameraMain m;
    ASSERT_TRUE(m.started && m.WaitFrame());
    frmMain& f = m.f;
    Settle(1, 0);
    const auto shown = [&f] {
        return f.picScaleLine[0]->Visible() + f.picScaleLine[1]->Visible() + f.picScaleLine[2]->Visible() +
               f.picScaleLine[3]->Visible() + f.picScaleSize->Visible();
    };
    m.host.AnswerModal([](vb::Form& form) { dynamic_cast<frmScale&>(form).cmdOK->Click(); });
    f.chkScale->SetValue(1);
    EXPECT_EQ(shown(), 5);
    f.Hooks.SwitchViewMode(f, true);
    EXPECT_EQ(shown(), 0) << "no live boxes over the still";
    EXPECT_GT(Count(f.picStillView->GetImage(), kBarRgb), 40) << "drawn into the still";
    f.Hooks.SwitchViewMode(f, false);
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

    const QImage saved = QImage(w.box.File(QStringLiteral("saved.bmp"))).convertToFormat(QImage::Format_RGB32);
    // The picture in the middle of the view; a 40 pixel bar ending 30 inside its lower right corner.
    const int ax = saved.width() / 2 + 200 - 30, ay = saved.height() / 2 + 150 - 30;
    ASSERT_GT(saved.height(), ay + 1);
    const QImage row = saved.copy(0, ay - 1, saved.width(), 3);
    EXPECT_GE(Count(row, kBarRgb), 40);
    EXPECT_EQ(Count(row.copy(ax + 2, 0, row.width() - ax - 2, 3), kBarRgb), 0) << "nothing beyond its right end";
}

}  // namespace
