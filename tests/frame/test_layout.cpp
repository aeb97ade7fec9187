// The window's least size and the fitting of the areas to it.
#include <QCoreApplication>
#include <functional>
#include <gtest/gtest.h>

#include "App.h"
#include "CommonModule.h"
#include "StartedMain.h"
#include "Startup.h"

using tavix::frmMain;

namespace {

using Started = testing_support::StartedMain;

TEST(Layout, TooSmallSnapsBackHeightFirstThenWidth) {
    Started s(3);
    frmMain& f = s.f;
    int resizes = 0;
    auto inner = f.OnResize;
    f.OnResize = [&] {
        ++resizes;
        inner();
    };
    f.SetHeight(5000);
    EXPECT_EQ(f.Height(), 8100);
    EXPECT_EQ(resizes, 2) << "the correction fires the event once more";
    resizes = 0;
    f.SetWidth(9000);
    EXPECT_EQ(f.Width(), 14565);
    EXPECT_EQ(resizes, 2);
    // Both too small: the height is put right first, the width by the event that follows.
    resizes = 0;
    f.SetWidth(15000);
    resizes = 0;
    f.resize(300, 200);
    QCoreApplication::processEvents();
    EXPECT_GE(f.Height(), 8100);
    EXPECT_GE(f.Width(), 14565);
    EXPECT_EQ(resizes, 3);
}

struct FitCase {
    int16_t type;
    double width, height;
};

TEST(Layout, AreasFollowTheWindow) {
    const FitCase cases[] = {{0, 18000, 12000}, {3, 14565, 8100}, {1, 20000, 9000}, {2, 16000, 10000}};
    for (const FitCase& c : cases) {
        Started s(c.type);
        frmMain& f = s.f;
        f.SetWidth(c.width);
        f.SetHeight(c.height);
        const bool measure = tavix::IsMeasureVariant(c.type);
        const double panel = measure ? f.picMeasureCommandArea->Width() : 0;
        EXPECT_DOUBLE_EQ(f.picViewArea->Width(), f.ScaleWidth() - panel) << c.type;
        EXPECT_DOUBLE_EQ(f.picViewArea->Left() + f.picViewArea->Width(), f.ScaleWidth()) << c.type;
        EXPECT_DOUBLE_EQ(f.cmdExit->Left(), f.picViewCommandArea->Width() - 900) << c.type;
        EXPECT_DOUBLE_EQ(f.picViewCommandArea->Width(), f.ScaleWidth()) << c.type;
        EXPECT_DOUBLE_EQ(f.txtComment[0]->Width(), 6195) << "the comment lines keep their size";
        if (measure) {
            // The grid grows one to one with the window; its top stays.
            EXPECT_DOUBLE_EQ(f.grdResult->Height(), f.picMeasureCommandArea->Height() - 5640) << c.type;
            EXPECT_DOUBLE_EQ(f.grdResult->Top(), 5520);
            EXPECT_DOUBLE_EQ(f.picCrossLineV[1]->Height(), f.picViewArea->ScaleHeight());
            EXPECT_DOUBLE_EQ(f.picCrossLineH[0]->Width(), f.picViewArea->ScaleWidth());
        }
    }
}

// The still wiped, then whether the layout painted the picture (red top left) into it again.
bool RepaintedAfter(frmMain& f, const std::function<void()>& change) {
    f.picStillView->Cls();
    change();
    QCoreApplication::processEvents();
    const QImage shown = f.picStillView->GetImage();
    return !shown.isNull() && shown.pixel(2, 2) == testing_support::kQuarterColors[0];
}

TEST(Layout, MinimizedDoesNothingAndTheStillIsRepaintedOtherwise) {
    Started s(2);
    frmMain& f = s.f;
    f.picTempView->SetPicture(testing_support::QuarterPicture(40, 30));
    EXPECT_TRUE(RepaintedAfter(f, [&] { f.SetWidth(16000); }));
    EXPECT_FALSE(RepaintedAfter(f, [&] { f.SetWindowState(1); }));
}

TEST(Layout, MaximizedKeepsItsSizeOnASmallScreenAndRestoringLaysOutAgain) {
    Started s(3);
    frmMain& f = s.f;
    f.picTempView->SetPicture(testing_support::QuarterPicture(40, 30));
    EXPECT_TRUE(RepaintedAfter(f, [&] { f.SetWindowState(2); }));
    ASSERT_EQ(f.WindowState(), 2);
    // The headless screen is 800 pixels wide, below the least width.
    EXPECT_LT(f.Width(), 14565);
    EXPECT_DOUBLE_EQ(f.picViewArea->Width(), f.ScaleWidth() - f.picMeasureCommandArea->Width());
    EXPECT_DOUBLE_EQ(f.grdResult->Height(), f.picMeasureCommandArea->Height() - 5640);
    f.SetWindowState(0);
    QCoreApplication::processEvents();
    EXPECT_GE(f.Height(), 8100);
    EXPECT_GE(f.Width(), 14565);
    EXPECT_DOUBLE_EQ(f.grdResult->Height(), f.picMeasureCommandArea->Height() - 5640);
}

TEST(Layout, AnErrorEndsTheProgram) {
    Started s(2);
    frmMain& f = s.f;
    tavix::Var().ZoomFactor = -1;  // the still cannot take a negative size
    const QByteArray ini = s.box.Read(QStringLiteral("Tavix.Ini"));
    s.host.AnswerMsgBox(vb::vbOK);
    f.SetWidth(17000);
    tavix::Var().ZoomFactor = 1;
    EXPECT_EQ(s.host.Ends, 1);
    ASSERT_EQ(s.host.Boxes.size(), 1u);
    EXPECT_EQ(s.host.Boxes[0].Prompt, tavix::FatalText);
    EXPECT_EQ(s.host.Boxes[0].Title, vb::App::Title());
    EXPECT_EQ(s.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbCritical);
    EXPECT_EQ(s.box.LogTexts().last(), QStringLiteral("frmMain:Form_Resize Error.(380)"));
    EXPECT_EQ(s.box.Read(QStringLiteral("Tavix.Ini")), ini);
}

}  // namespace
