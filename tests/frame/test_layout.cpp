// The window's least size and the fitting of the areas to it, shutting command areas off and on,
// and the guidance over the comment lines.
#include <QCoreApplication>
#include <QLineEdit>
#include <cmath>
#include <gtest/gtest.h>

#include "App.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "Guidance.h"
#include "StartedMain.h"
#include "Startup.h"

using tavix::frmMain;
using tavix::Var;
using testing_support::StartedMain;

namespace {

// The view takes what the measure panel leaves, the exit button keeps to the right, the comment
// lines keep their size and the grid grows one to one with the window.
void ExpectFitted(const frmMain& f) {
    const bool measure = tavix::IsMeasureVariant(tavix::Var().ProgramType);
    const double width = f.ScaleWidth(), panel = measure ? f.picMeasureCommandArea->Width() : 0;
    EXPECT_EQ((std::tuple{f.picViewArea->Left() + f.picViewArea->Width(), f.picViewArea->Width(),
                          f.picViewCommandArea->Width(), f.cmdExit->Left(), f.txtComment[0]->Width()}),
              (std::tuple{width, width - panel, width, width - 900, 6195.0}));
    if (!measure) return;
    EXPECT_EQ((std::tuple{f.grdResult->Height(), f.grdResult->Top(), f.picCrossLineV[1]->Height(),
                          f.picCrossLineH[0]->Width()}),
              (std::tuple{f.picMeasureCommandArea->Height() - 5640, 5520.0, f.picViewArea->ScaleHeight(),
                          f.picViewArea->ScaleWidth()}));
}

// A size in twips as the window can take it, in whole pixels of 15 twips.
double Pixels(int twips) { return std::round(twips / 15.0) * 15; }

TEST(Layout, AreasFollowTheWindowWhichSnapsBackToItsLeastSize) {
    // The variant and the window's width and height; below 14565 x 8100 the window snaps back.
    for (const auto& [type, width, height] :
         {std::tuple{0, 18000, 12000}, {3, 9000, 5000}, {1, 20000, 9000}, {2, 16000, 10000}}) {
        SCOPED_TRACE(type);
        StartedMain s(type);
        s.f.SetWidth(width);
        s.f.SetHeight(height);
        EXPECT_EQ((std::tuple{s.f.Width(), s.f.Height()}),
                  (std::tuple{Pixels(std::max(width, 14565)), Pixels(std::max(height, 8100))}));
        ExpectFitted(s.f);
    }
}

TEST(Layout, MinimizedIsLeftAloneMaximizedAndRestoredAreFitted) {
    StartedMain s(3);
    for (const int state : {1, 2, 0}) {
        SCOPED_TRACE(state);
        s.f.SetWindowState(state);
        QCoreApplication::processEvents();
        ASSERT_EQ(s.f.WindowState(), state);
        // The headless screen is 800 pixels wide: maximized stays below the least width, restored snaps back.
        EXPECT_EQ(s.f.Width() < 14565, state == 2);
        if (state != 1) ExpectFitted(s.f);
    }
}

TEST(Layout, AnErrorEndsTheProgram) {
    StartedMain s(2);
    tavix::Var().ZoomFactor = -1;  // the still cannot take a negative size
    const QByteArray ini = s.box.Read("Tavix.Ini");
    s.host.AnswerMsgBox(vb::vbOK);
    s.f.SetWidth(17000);
    tavix::Var().ZoomFactor = 1;
    EXPECT_EQ(s.host.Boxes, (std::vector<testing_support::RecordedBox>{
                                {tavix::FatalText, vb::vbOKOnly | vb::vbCritical, vb::App::Title()}}));
    EXPECT_EQ((std::tuple{s.host.Ends, s.box.LogTexts().last(), s.box.Read("Tavix.Ini")}),
              (std::tuple{1, "frmMain:Form_Resize Error.(380)", ini}));
}

TEST(CommandArea, TheStripFollowsTheViewAndPassesOverLinesAndTimers) {
    StartedMain s(0);
    frmMain& f = s.f;
    // The adjust button belongs to the live view, saving results to the still view.
    for (const auto mode : {tavix::ViewMode::Still, tavix::ViewMode::Live}) {
        const bool still = mode == tavix::ViewMode::Still;
        f.ViewMode = mode;
        tavix::DisableCommandArea(f, *f.picViewCommandArea, true);
        f.chkMeasureSave->SetEnabled(true);
        tavix::EnableCommandArea(f, *f.picViewCommandArea);
        EXPECT_EQ((std::tuple{f.cmdPicLoad->Enabled(), f.cmdPinProp->Enabled(), f.chkMeasureSave->Enabled()}),
                  (std::tuple{true, !still, still}));
    }
    // The panel's lines have no Enabled and the blink timer lies in no area.
    tavix::DisableCommandArea(f, *f.picMeasureCommandArea, true);
    EXPECT_EQ((std::tuple{f.Line1_0->Visible(), f.tmrLiveIcon->Enabled()}), (std::tuple{true, true}));
}

TEST(Guidance, ShownReadOnlyOverADisabledStripAndTheCommentComesBack) {
    StartedMain s(3);
    frmMain& f = s.f;
    Var().GuidanceTable[34] = {"circle 1", "circle 1b"};
    Var().GuidanceTable[35] = {"circle 2", "circle 2b"};
    Var().GuidanceTable[2] = {"recording", "recording b"};
    Var().GuidanceTable[77] = {};
    f.txtComment[0]->SetText("sample 12");
    f.txtComment[1]->SetText("stained");
    tavix::DisableCommandArea(f, *f.picViewCommandArea, false);
    // Each line's text, then L when locked, E when enabled, and F or W for the face or window colour.
    const auto shown = [&] {
        QString text;
        for (const vb::TextBox* t : f.txtComment)
            text += QString("%1/%2%3%4 ")
                        .arg(t->Text(), t->Locked() ? "L" : "", t->Enabled() ? "E" : "",
                             t->BackColor() == vb::vbButtonFace ? "F" : "W");
        return text;
    };
    // The guidance shown (-1: hidden), a second line given instead of the table's, and what the lines then show.
    const std::tuple<int16_t, const char*, const char*> steps[] = {
        {34, nullptr, "circle 1/LEF circle 1b/LEF "},  // readable, not greyed, while the strip is off
        {35, nullptr, "circle 2/LEF circle 2b/LEF "},  // the comment saved by the first call is kept
        {2, "12 s", "recording/LEF 12 s/LEF "},
        {77, nullptr, "/LEF /LEF "},                // a number without guidance shows empty lines
        {-1, nullptr, "sample 12/EW stained/EW "},  // hiding leaves Enabled to the caller
    };
    for (const auto& [number, second, shows] : steps) {
        if (number < 0) tavix::HideGuidance(f);
        if (number >= 0) second ? tavix::DispGuidance(f, number, second) : tavix::DispGuidance(f, number);
        EXPECT_EQ(shown(), shows);
    }
}

}  // namespace
