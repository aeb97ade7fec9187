// The main window in-process for every variant: start-up and its failures, the fitting of the areas
// to the window and its least size, shutting command areas off and on, the guidance over the comment
// lines, and shutdown.
#include <QCoreApplication>
#include <cmath>
#include <gtest/gtest.h>

#include "App.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "Guidance.h"
#include "IniConfig.h"
#include "Language.h"
#include "StartedMain.h"
#include "Startup.h"
#include "Wiring.h"

using tavix::frmMain;
using tavix::GST;
using tavix::Var;
using testing_support::RecordedBox;
using testing_support::Sandbox;
using testing_support::ScriptedDialogHost;
using testing_support::StartedMain;

namespace {

const QString kFatal = "エラーが発生したためプログラムを終了します。";

QString StartLine(int type) {
    const char* const titles[4] = {"デジカメ画像表示／計測プログラム", "デジカメ画像表示プログラム",
                                   "画像表示プログラム", "画像表示／計測プログラム"};
    return QString::fromUtf8(titles[type]) + " Start.";
}

// A main window wired as the program wires it, on a fresh set of variables, in its own installation.
struct Window {
    Sandbox box;
    ScriptedDialogHost host;
    frmMain f;
    explicit Window(const QString& deployment = "ja") : box(deployment) {
        tavix::ResetVariableDefinition();
        tavix::WireMain(f);
    }
};

TEST(Start, FitsTheWindowToTheVariant) {
    // The variant, whether it has a camera and whether it measures.
    for (const auto& [type, camera, measure] :
         {std::tuple{0, true, true}, {1, true, false}, {2, false, false}, {3, false, true}}) {
        SCOPED_TRACE(type);
        Window w;
        frmMain& f = w.f;
        ASSERT_TRUE(tavix::Form_Load(f, type));
        EXPECT_EQ((std::tuple{w.box.LogTexts(), f.Caption() + " Start."}),
                  (std::tuple{QStringList{StartLine(type)}, StartLine(type)}));
        EXPECT_EQ(
            (std::tuple{f.ViewMode, f.picCameraView->Visible(), f.picStillView->Visible(), f.cmdPinProp->Visible(),
                        f.picMeasureCommandArea->Visible(), f.picViewArea->Align(), f.cmdPicSave->Enabled()}),
            (std::tuple{camera ? tavix::ViewMode::Live : tavix::ViewMode::Still, camera, !camera, camera, measure,
                        measure ? 4 : 3, type != 3}));
        if (!measure) continue;
        for (vb::Control* c : f.Controls) {
            if (!c->HasEnabled() || c->Container() != f.picMeasureCommandArea) continue;
            // Only the tagged controls start enabled; variant 3 has no picture to cross or scale yet.
            const bool noPictureYet = type == 3 && (c == f.chkCross || c == f.chkScale);
            EXPECT_EQ(c->Enabled(), c->Tag == "NoDisable" && !noPictureYet) << c->Name().toStdString() << c->Index();
        }
        // Loaded measure lines copy element zero as it stands.
        f.linMeasure[0]->SetPoints(1, 2, 3, 4);
        const vb::LineControl* line = f.linMeasure.Load(1);
        const vb::Shape* shape = f.shaMeasure.Load(2);
        EXPECT_EQ((std::tuple{line->BorderColor(), line->X2(), line->Visible(), shape->ShapeKind()}),
                  (std::tuple{Var().MeasureLineColor[3], 3, false, vb::Shape::Circle}));
    }
}

TEST(Start, IniKeysChooseTitleCommandModesAndLanguage) {
    // The deployment, APPNAME (nullptr: none), LANGUAGE (nullptr: no key, which speaks Japanese as
    // before there was a key), and whether the command modes are the second ones.
    for (const auto& [deployment, appName, language, modes] :
         {std::tuple{"ja", "Scope 7", "ja", true}, {"en", nullptr, "en", false}, {"en", nullptr, nullptr, false}}) {
        SCOPED_TRACE(deployment);
        Window w(deployment);
        frmMain& f = w.f;
        if (appName)
            w.box.Write("Tavix.Ini", "[COMMON]\r\nAPPNAME=" + QByteArray(appName) + "\r\n" + w.box.Read("Tavix.Ini"));
        language ? w.box.SetIni("LANGUAGE", language) : w.box.RemoveIni("LANGUAGE");
        w.box.SetIni("2POINTCOMMANDMODE", modes ? "1" : "0");
        w.box.SetIni("ANGLECOMMANDMODE", modes ? "1" : "0");
        ASSERT_TRUE(tavix::Form_Load(f, 3));
        const bool english = language && QString(language) == "en";
        EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "&Yes"), english ? "&Yes" : "はい(&Y)");
        EXPECT_EQ(tavix::FatalText == kFatal, !english);
        EXPECT_EQ((std::tuple{f.cmdMeasure[0]->Caption(), f.cmdMeasure[5]->Caption()}),
                  (std::tuple{GST(modes ? 10112 : 10101), GST(modes ? 10110 : 10106)}));
        if (!appName) continue;
        // The title takes the name; the start line keeps the program's.
        f.cmdExit->Click();
        EXPECT_EQ((std::tuple{f.Caption(), w.box.LogTexts()}),
                  (std::tuple{QString(appName), QStringList{StartLine(3), QString(appName) + " End"}}));
    }
}

TEST(StartFailure, EachFailedStepLogsShowsItsBoxAndEnds) {
    // The fatal text is Japanese until an ini file names another language.
    tavix::UseLanguage("ja");
    const std::vector<int16_t> all = {0, 1, 2, 3};
    const auto remove = [](const char* file) { return [=](Sandbox& b, frmMain&) { b.Remove(file); }; };
    const struct {
        const char* what;
        std::vector<int16_t> types;
        std::function<void(Sandbox&, frmMain&)> breakIt;
        QStringList logTail;
        std::pair<int, int> text;  // string numbers of the two lines; {0, 0}: the fatal text
        int title;                 // string number; 0: none, -1: the program's
    } cases[] = {
        // clang-format off
        {"ini file missing", all, remove("Tavix.Ini"),
         {"GetIniFileData GetPrivateProfileString Error [Section]=CAMERA,[Key]=CAMERAFILTERNAME", "Ini File Read Error."}, {}, 0},
        {"a language the program does not know", {2}, [](Sandbox& b, frmMain&) { b.SetIni("LANGUAGE", "fr"); },
         {"Ini File Read Error."}, {}, 0},
        {"string table missing", all, remove("StringTable.txt"),
         {"ReadStringTableData Error.(53)", "StringTable File Read Error."}, {}, 0},
        {"proof file missing", {0, 3}, remove("Proof.txt"), {"ReadProofData Error.(53)", "Proof File Read Error."}, {}, 11100},
        {"guidance file missing", all, remove("Guidance.txt"),
         {"ReadGuidanceData Error.(53)", "Guidance File Read Error."}, {}, 11100},
        {"a camera node with no output", {0, 1}, [](Sandbox& b, frmMain&) { b.SetIni("CAMERAFILTERNAME", "File writer"); },
         {"Camera OutputPIN Error."}, {20106, 20107}, 11104},
        {"an error in the zoom list", all, [](Sandbox&, frmMain& f) { f.cboScale->OnClick = [] { vb::Raise(9); }; },
         {"frmMain:Form_Load Error.(9)"}, {}, -1},
        // clang-format on
    };
    for (const auto& c : cases)
        for (const int16_t type : c.types) {
            SCOPED_TRACE(std::string(c.what) + " in variant " + std::to_string(type));
            Window w;
            w.host.AnswerMsgBox(vb::vbOK);
            c.breakIt(w.box, w.f);
            const QByteArray ini = w.box.Read("Tavix.Ini");
            EXPECT_FALSE(tavix::Form_Load(w.f, type));
            const QString text = c.text.first ? GST(c.text.first) + '\n' + GST(c.text.second) : kFatal;
            const QString title = c.title > 0 ? GST(c.title) : c.title < 0 ? vb::App::Title() : QString();
            EXPECT_EQ(w.host.Boxes, (std::vector<RecordedBox>{{text, vb::vbOKOnly | vb::vbCritical, title}}));
            const QStringList log = w.box.LogTexts();
            EXPECT_EQ(log.value(0), StartLine(type));
            EXPECT_EQ(log.mid(log.size() - c.logTail.size()), c.logTail);
            // Nothing written back: the window never unloads.
            EXPECT_EQ((std::tuple{w.host.Ends, w.f.Unloaded(), w.box.Read("Tavix.Ini")}), (std::tuple{1, false, ini}));
        }
}

TEST(Shutdown, AsksOnceWithUnsavedResultsAndNoKeepsEverything) {
    // By the close box or the exit button, with or without unsaved results, the answer (0: no question).
    const std::tuple<bool, bool, int> cases[] = {{false, false, 0}, {false, true, vb::vbYes}, {false, true, vb::vbNo},
                                                 {true, false, 0},  {true, true, vb::vbYes},  {true, true, vb::vbNo}};
    for (const auto& [byCloseBox, dirty, answer] : cases) {
        SCOPED_TRACE(testing::Message() << "close box " << byCloseBox << ", unsaved " << dirty << ", " << answer);
        const bool closes = answer != vb::vbNo;
        Window w;
        frmMain& f = w.f;
        ASSERT_TRUE(tavix::Form_Load(f, 0));
        f.show();
        f.ResultDirty = dirty;
        f.txtComment[0]->SetText("keep me");
        if (answer) w.host.AnswerMsgBox(answer);
        const QByteArray ini = w.box.Read("Tavix.Ini");
        byCloseBox ? (void)f.close() : f.cmdExit->Click();
        const RecordedBox asked{GST(byCloseBox ? 20110 : 20010), vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2,
                                GST(19000)};
        EXPECT_EQ(w.host.Boxes, answer ? std::vector{asked} : std::vector<RecordedBox>{});
        EXPECT_EQ((std::tuple{f.Unloaded(), f.isVisible(), w.box.LogTexts().last().endsWith(" End")}),
                  (std::tuple{closes, !closes, closes}));
        if (closes) continue;
        EXPECT_EQ((std::tuple{f.ResultDirty, f.txtComment[0]->Text(), w.box.Read("Tavix.Ini")}),
                  (std::tuple{true, "keep me", ini}));
        f.ResultDirty = false;  // let the window go without questions
        f.cmdExit->Click();
    }
}

TEST(Shutdown, WritesTheKeysBackAsDecimalText) {
    Window w;
    const std::pair<const char*, const char*> read[] = {
        {"CROSSLINECOLOR", "&HFF"}, {"SCALEX", "2.50mm"}, {"MEASURELINECOLOR1", "  65280 "}, {"DEFAULTSCALE", "3"}};
    for (const auto& [key, value] : read) w.box.SetIni(key, value);
    ASSERT_TRUE(tavix::Form_Load(w.f, 0));
    EXPECT_EQ(w.f.cboScale->Text(), "x 0.8");
    w.f.cboScale->SetListIndex(10);  // the index in use at the end is stored, not the one read
    Var().JpegQty = 77;
    Var().ScaleColor = 0x80000005;
    w.f.cmdExit->Click();
    // A key of blanks has no line it could be written to.
    EXPECT_FALSE(tavix::WriteIniFileData("FILE", "  ", "5"));
    EXPECT_EQ(w.box.LogTexts().last(), "WriteIniFileData  Error.(5)[Section]=FILE,[Key]=  ,[Value]=5");
    const QString ini = QString::fromUtf8(w.box.Read("Tavix.Ini"));
    // Only-read keys keep their lines.
    for (const char* line : {"JPEGQTY=77", "DEFAULTSCALE=10", "MEASURELINECOLOR1=65280", "CROSSLINECOLOR=255",
                             "SCALEX=2.5", "SCALECOLOR=-2147483643", "CAMERAFILTERNAME=Tavix Test Camera"})
        EXPECT_TRUE(ini.contains("\r\n" + QString(line) + "\r\n")) << line << "\n" << ini.toStdString();
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
    // The guidance shown (-1: hidden) and what the lines then show.
    const std::pair<int16_t, const char*> steps[] = {
        {34, "circle 1/LEF circle 1b/LEF "},  // readable, not greyed, while the strip is off
        {35, "circle 2/LEF circle 2b/LEF "},  // the comment saved by the first call is kept
        {-1, "sample 12/EW stained/EW "},     // hiding leaves Enabled to the caller
    };
    for (const auto& [number, shows] : steps) {
        number < 0 ? tavix::HideGuidance(f) : tavix::DispGuidance(f, number);
        EXPECT_EQ(shown(), shows);
    }
}

}  // namespace
