// The main window in-process for every variant: start-up and its failures, shutdown, and the
// fitting of the areas to the window, its least size and its states.
#include <QCoreApplication>
#include <cmath>
#include <gtest/gtest.h>

#include "App.h"
#include "CommonModule.h"
#include "StartedMain.h"
#include "Startup.h"
#include "Wiring.h"

using tavix::frmMain;
using tavix::GST;
using testing_support::RecordedBox;
using testing_support::Sandbox;
using testing_support::StartedMain;

namespace {

// The fatal text: Japanese until an ini file names another language.
const QString kFatal = "エラーが発生したためプログラムを終了します。";

TEST(StartFailure, EachFailedStepLogsShowsItsBoxAndEnds) {
    using Break = std::function<void(Sandbox&, frmMain&)>;
    const auto remove = [](const char* file) -> Break { return [=](Sandbox& b, frmMain&) { b.Remove(file); }; };
    // The variant, what breaks before start-up, the last lines of the log, the string numbers of
    // the box's two lines ({0, 0}: the fatal text) and of its title (0: none, -1: the program's).
    const std::tuple<int16_t, Break, QStringList, std::pair<int, int>, int> cases[] = {
        // clang-format off
        {0, remove("Tavix.Ini"),
         {"GetIniFileData GetPrivateProfileString Error [Section]=CAMERA,[Key]=CAMERAFILTERNAME", "Ini File Read Error."}, {}, 0},
        {2, [](Sandbox& b, frmMain&) { b.SetIni("LANGUAGE", "fr"); }, {"Ini File Read Error."}, {}, 0},
        {1, remove("StringTable.txt"), {"ReadStringTableData Error.(53)", "StringTable File Read Error."}, {}, 0},
        {3, remove("Proof.txt"), {"ReadProofData Error.(53)", "Proof File Read Error."}, {}, 11100},
        {2, remove("Guidance.txt"), {"ReadGuidanceData Error.(53)", "Guidance File Read Error."}, {}, 11100},
        {1, [](Sandbox& b, frmMain&) { b.SetIni("CAMERAFILTERNAME", "File writer"); },
         {"Camera OutputPIN Error."}, {20106, 20107}, 11104},
        {0, [](Sandbox&, frmMain& f) { f.cboScale->OnClick = [] { vb::Raise(9); }; }, {"frmMain:Form_Load Error.(9)"}, {}, -1},
        // clang-format on
    };
    for (const auto& [type, breakIt, logTail, lines, title] : cases) {
        SCOPED_TRACE(logTail.last().toStdString());
        // A main window wired as the program wires it, on a fresh set of variables, in its own installation.
        Sandbox box;
        testing_support::ScriptedDialogHost host;
        frmMain f;
        tavix::ResetVariableDefinition();
        tavix::WireMain(f);
        host.AnswerMsgBox(vb::vbOK);
        breakIt(box, f);
        const QByteArray ini = box.Read("Tavix.Ini");
        EXPECT_FALSE(tavix::Form_Load(f, type));
        const QString text = lines.first ? GST(lines.first) + '\n' + GST(lines.second) : kFatal;
        const QString titled = title > 0 ? GST(title) : title < 0 ? vb::App::Title() : QString();
        EXPECT_EQ(host.Boxes, (std::vector<RecordedBox>{{text, vb::vbOKOnly | vb::vbCritical, titled}}));
        EXPECT_EQ(box.LogTexts().mid(box.LogTexts().size() - logTail.size()), logTail);
        // Nothing written back: the window never unloads.
        EXPECT_EQ((std::tuple{host.Ends, f.Unloaded(), box.Read("Tavix.Ini")}), (std::tuple{1, false, ini}));
    }
}

TEST(Shutdown, AsksOnceWithUnsavedResultsAndNoKeepsEverything) {
    // By the close box or the exit button, with or without unsaved results, the answer (0: no question).
    const std::tuple<bool, bool, int> cases[] = {{false, false, 0}, {false, true, vb::vbYes}, {false, true, vb::vbNo},
                                                 {true, false, 0},  {true, true, vb::vbYes},  {true, true, vb::vbNo}};
    for (const auto& [byCloseBox, dirty, answer] : cases) {
        SCOPED_TRACE(testing::Message() << "close box " << byCloseBox << ", unsaved " << dirty << ", " << answer);
        StartedMain w(0);
        w.f.ResultDirty = dirty;
        if (answer) w.host.AnswerMsgBox(answer);
        const QByteArray ini = w.box.Read("Tavix.Ini");
        byCloseBox ? (void)w.f.close() : w.f.cmdExit->Click();
        const RecordedBox asked{GST(byCloseBox ? 20110 : 20010), vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2,
                                GST(19000)};
        EXPECT_EQ(w.host.Boxes, answer ? std::vector{asked} : std::vector<RecordedBox>{});
        // No leaves the window, its results and the settings as they were.
        const bool closes = answer != vb::vbNo;
        EXPECT_EQ((std::tuple{w.f.Unloaded(), w.f.isVisible(), w.box.LogTexts().last().endsWith(" End"),
                              closes || (w.f.ResultDirty && w.box.Read("Tavix.Ini") == ini)}),
                  (std::tuple{closes, !closes, closes, true}));
    }
}

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
    for (const auto& [type, width, height] : {std::tuple{0, 18000, 12000}, {3, 9000, 5000}, {1, 20000, 9000}}) {
        SCOPED_TRACE(type);
        StartedMain s(type);
        s.f.SetWidth(width);
        s.f.SetHeight(height);
        EXPECT_EQ((std::tuple{s.f.Width(), s.f.Height()}),
                  (std::tuple{Pixels(std::max(width, 14565)), Pixels(std::max(height, 8100))}));
        ExpectFitted(s.f);
    }
}

TEST(Layout, MinimizedIsLeftAloneMaximizedAndRestoredAreFittedAndAnErrorEndsTheProgram) {
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
    tavix::Var().ZoomFactor = -1;  // the still cannot take a negative size
    s.host.AnswerMsgBox(vb::vbOK);
    s.f.SetWidth(17000);
    // Ended as it is: the window does not unload, so no settings are written.
    EXPECT_EQ(s.host.Boxes, (std::vector<RecordedBox>{{kFatal, vb::vbOKOnly | vb::vbCritical, vb::App::Title()}}));
    EXPECT_EQ((std::tuple{s.host.Ends, s.f.Unloaded(), s.box.LogTexts().last()}),
              (std::tuple{1, false, "frmMain:Form_Resize Error.(380)"}));
}

}  // namespace
