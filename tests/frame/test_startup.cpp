// Start-up and shutdown of the main window, in-process, for every variant.
#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>
#include <optional>
#include <gtest/gtest.h>

#include "App.h"
#include "CommonModule.h"
#include "Errors.h"
#include "Sandbox.h"
#include "ScriptedDialogHost.h"
#include "Startup.h"
#include "Wiring.h"
#include "frmMain.h"

using tavix::frmMain;
using tavix::Var;
using testing_support::Sandbox;
using testing_support::ScriptedDialogHost;

namespace {

const QString kFatal = QStringLiteral("エラーが発生したためプログラムを終了します。");

const char* const kTitles[4] = {"デジカメ画像表示／計測プログラム", "デジカメ画像表示プログラム", "画像表示プログラム",
                                "画像表示／計測プログラム"};

QString Title(int variant) { return QString::fromUtf8(kTitles[variant]); }

// A main window wired as the program wires it, on a fresh set of variables.
struct Window {
    frmMain f;
    Window() {
        tavix::ResetVariableDefinition();
        tavix::WireMain(f);
    }
};

// ---- Successful start-up, per variant ----

struct VariantCase {
    int16_t type;
    bool cameraButtons;
    bool measurePanel;
    bool stripShifted;
    int viewAlign;
    bool picSaveEnabled;
};

class StartVariant : public ::testing::TestWithParam<VariantCase> {};

TEST_P(StartVariant, FitsTheWindowToTheVariant) {
    const VariantCase& c = GetParam();
    Sandbox box;
    ScriptedDialogHost host;
    Window w;
    frmMain& f = w.f;
    ASSERT_TRUE(tavix::Form_Load(f, c.type));
    EXPECT_EQ(host.Ends, 0);
    EXPECT_EQ(Var().ProgramType, c.type);
    EXPECT_EQ(f.Caption(), Title(c.type));
    EXPECT_EQ(vb::App::Title(), Title(c.type));
    EXPECT_EQ(f.ViewMode, c.cameraButtons ? tavix::ViewMode::Live : tavix::ViewMode::Still);
    EXPECT_EQ(f.picCameraView->Visible(), c.cameraButtons);
    EXPECT_EQ(f.picStillView->Visible(), !c.cameraButtons);
    EXPECT_EQ(f.cmdPlayStop->Visible(), c.cameraButtons);
    EXPECT_EQ(f.cmdPinProp->Visible(), c.cameraButtons);
    EXPECT_EQ(f.picMeasureCommandArea->Visible(), c.measurePanel);
    EXPECT_EQ(f.picViewArea->Align(), c.viewAlign);
    EXPECT_EQ(f.cmdPicSave->Enabled(), c.picSaveEnabled);
    EXPECT_EQ(f.picViewArea->BackColor(), 0u);
    EXPECT_EQ(f.lblJpegQty->Caption(), QStringLiteral("90"));
    // The strip closes the gap of the camera buttons; the exit button is left alone.
    const double shift = c.stripShifted ? 900 : 0;
    EXPECT_EQ(f.cmdPicLoad->Left(), 1020 - shift);
    EXPECT_EQ(f.fraScale->Left(), 4860 - shift);
    EXPECT_EQ(f.txtComment[0]->Left(), 7260 - 2 * shift);
    EXPECT_EQ(f.txtComment[1]->Left(), 7260 - 2 * shift);
    EXPECT_EQ(f.cmdExit->Left(), 13620);
    EXPECT_EQ(f.lblJpegQty->Left(), 1140);  // inside a frame: the frame moves
    // Zoom list and the zoom of the shipped DEFAULTSCALE 5.
    ASSERT_EQ(f.cboScale->ListCount(), 16);
    EXPECT_EQ(f.cboScale->List(0), QStringLiteral("x 0.5"));
    EXPECT_EQ(f.cboScale->List(15), QStringLiteral("x 2.0"));
    EXPECT_EQ(f.cboScale->Text(), QStringLiteral("x 1.0"));
    EXPECT_DOUBLE_EQ(Var().ZoomFactor, 1.0);
    EXPECT_EQ(box.LogTexts(), QStringList{Title(c.type) + QStringLiteral(" Start.")});
}

INSTANTIATE_TEST_SUITE_P(
    Variants, StartVariant,
    ::testing::Values(VariantCase{0, true, true, false, 4, true}, VariantCase{1, true, false, false, 3, true},
                      VariantCase{2, false, false, true, 3, true}, VariantCase{3, false, true, true, 4, false}),
    [](const ::testing::TestParamInfo<VariantCase>& info) { return "variant" + std::to_string(info.param.type); });

TEST(Start, MeasurePanelStartsDisabledButForItsTaggedControls) {
    for (int16_t type : {0, 3}) {
        Sandbox box;
        ScriptedDialogHost host;
        Window w;
        frmMain& f = w.f;
        ASSERT_TRUE(tavix::Form_Load(f, type));
        for (vb::Control* c : f.Controls) {
            if (!c->HasEnabled() || c->Container() != f.picMeasureCommandArea) continue;
            const bool tagged = c->Tag == QLatin1String("NoDisable");
            // Variant 3 has no picture to cross or scale yet.
            const bool noPictureYet = type == 3 && (c == f.chkCross || c == f.chkScale);
            const bool expected = tagged && !noPictureYet;
            EXPECT_EQ(c->Enabled(), expected) << type << " " << c->Name().toStdString() << c->Index();
        }
        EXPECT_EQ(f.grdResult->TextMatrix(0, 0), QStringLiteral("No"));
        EXPECT_EQ(f.grdResult->TextMatrix(0, 1), tavix::GST(11105));
        EXPECT_EQ(f.grdResult->Rows(), 100);
        EXPECT_EQ(f.grdResult->ColAlignment(2), 7);
        EXPECT_EQ(f.ResultFormat, QStringLiteral("0.00"));  // NUMBEROFDECIMALS=2
        ASSERT_EQ(f.cboProof->ListCount(), 10);
        EXPECT_EQ(f.cboProof->ListIndex(), Var().CurrentProofNo);
    }
}

TEST(Start, LoadedMeasureLinesCopyElementZeroAsItStands) {
    Sandbox box;
    ScriptedDialogHost host;
    Window w;
    frmMain& f = w.f;
    ASSERT_TRUE(tavix::Form_Load(f, 0));
    EXPECT_EQ(f.linMeasure[0]->BorderColor(), Var().MeasureLineColor[3]);
    f.linMeasure[0]->SetPoints(1, 2, 3, 4);
    vb::LineControl* line = f.linMeasure.Load(1);
    vb::Shape* shape = f.shaMeasure.Load(2);
    EXPECT_EQ(line->BorderColor(), Var().MeasureLineColor[3]);
    EXPECT_EQ(line->X2(), 3);
    EXPECT_FALSE(line->Visible());
    EXPECT_EQ(shape->ShapeKind(), vb::Shape::Circle);
    EXPECT_EQ(shape->BorderColor(), Var().MeasureLineColor[3]);
    EXPECT_EQ(f.FindControl(QStringLiteral("shaMeasure"), 2), shape);
    f.shaMeasure.Unload(2);
    EXPECT_EQ(f.FindControl(QStringLiteral("shaMeasure"), 2), nullptr);
}

TEST(Start, CaptionsComeFromTheStringTable) {
    Sandbox box("en");
    ScriptedDialogHost host;
    Window w;
    frmMain& f = w.f;
    box.SetIni(QStringLiteral("2POINTCOMMANDMODE"), QStringLiteral("1"));
    box.SetIni(QStringLiteral("ANGLECOMMANDMODE"), QStringLiteral("1"));
    ASSERT_TRUE(tavix::Form_Load(f, 3));
    const std::pair<vb::Control*, int> checks[] = {
        {f.cmdPicLoad, 10000},     {f.cmdExit, 10003},          {f.fraSaveOption, 10010},
        {f.cmdMeasure[0], 10112},  {f.cmdMeasure[5], 10110},    {f.cmdMeasure[6], 10107},
        {f.cmdResultClear, 10303}, {f.lblCommandCap[2], 10300}, {f.cmdPinProp, 10002},
    };
    for (const auto& [control, number] : checks) {
        EXPECT_FALSE(tavix::GST(number).isEmpty()) << number;
        EXPECT_EQ(control->Caption(), tavix::GST(number)) << number;
    }
    // The icons follow the two command modes.
    EXPECT_EQ(f.cmdMeasure[0]->GetPicture().cacheKey(), f.img2PointIcon[1]->GetPicture().cacheKey());
    EXPECT_EQ(f.cmdMeasure[5]->GetPicture().cacheKey(), f.imgAngleIcon[1]->GetPicture().cacheKey());
}

TEST(Start, AppNameReplacesTheTitleButNotTheStartLine) {
    Sandbox box;
    ScriptedDialogHost host;
    box.Write(QStringLiteral("Tavix.Ini"), "[COMMON]\r\nAPPNAME=Scope 7\r\n" + box.Read(QStringLiteral("Tavix.Ini")));
    {
        Window w;
        ASSERT_TRUE(tavix::Form_Load(w.f, 2));
        EXPECT_EQ(w.f.Caption(), QStringLiteral("Scope 7"));
        w.f.cmdExit->Click();
    }
    EXPECT_EQ(box.LogTexts(), (QStringList{Title(2) + QStringLiteral(" Start."), QStringLiteral("Scope 7 End")}));
}

TEST(Start, QtAndFixedTextsSpeakTheLanguageTheIniNames) {
    const QString ja = QStringLiteral("ja"), en = QStringLiteral("en");
    const struct {
        const char* what;
        QString deployment;
        std::optional<QString> language;  // empty: the key removed
        QString speaks;                   // empty: start-up ends
    } rows[] = {
        {"English installation", en, en, en},
        {"Japanese installation", ja, ja, ja},
        {"English texts but no key: Japanese as before the key", en, {}, ja},
        {"a language the program does not know", ja, QStringLiteral("fr"), {}},
    };
    for (const auto& r : rows) {
        Sandbox box(r.deployment);
        ScriptedDialogHost host;
        if (r.language)
            box.SetIni(QStringLiteral("LANGUAGE"), *r.language);
        else
            box.RemoveIni(QStringLiteral("LANGUAGE"));
        if (r.speaks.isEmpty()) host.AnswerMsgBox(vb::vbOK);
        Window w;
        EXPECT_EQ(tavix::Form_Load(w.f, 2), !r.speaks.isEmpty()) << r.what;
        if (r.speaks.isEmpty()) {
            EXPECT_TRUE(box.LogTexts().contains(QStringLiteral("Ini File Read Error."))) << r.what;
            continue;
        }
        const bool english = r.speaks == en;
        EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "&Yes"),
                  english ? QStringLiteral("&Yes") : QStringLiteral("はい(&Y)"))
            << r.what;
        EXPECT_EQ(tavix::FatalText == kFatal, !english) << r.what;
    }
}

// ---- Failed start-up ----

struct FailureCase {
    const char* what;
    std::vector<int16_t> types;
    std::function<void(Sandbox&, frmMain&)> breakIt;
    QStringList logTail;  // the last log lines
    QString text;         // "" for the fatal text
    std::function<QString()> title;
};

TEST(StartFailure, EachFailedStepLogsShowsItsBoxAndEnds) {
    using GR = tavix::SubsystemHooks::GraphResult;
    const std::vector<int16_t> all = {0, 1, 2, 3}, camera = {0, 1}, measure = {0, 3};
    const FailureCase cases[] = {
        {"ini file missing",
         all,
         [](Sandbox& b, frmMain&) { b.Remove(QStringLiteral("Tavix.Ini")); },
         {QStringLiteral("GetIniFileData GetPrivateProfileString Error [Section]=CAMERA,[Key]=CAMERAFILTERNAME"),
          QStringLiteral("Ini File Read Error.")},
         {},
         [] { return QString(); }},
        {"string table missing",
         all,
         [](Sandbox& b, frmMain&) { b.Remove(QStringLiteral("StringTable.txt")); },
         {QStringLiteral("ReadStringTableData Error.(53)"), QStringLiteral("StringTable File Read Error.")},
         {},
         [] { return QString(); }},
        {"string table with a bad number",
         all,
         [](Sandbox& b, frmMain&) { b.Write(QStringLiteral("StringTable.txt"), "abc,text\r\n"); },
         {QStringLiteral("ReadStringTableData Error.(13)"), QStringLiteral("StringTable File Read Error.")},
         {},
         [] { return QString(); }},
        {"proof file",
         measure,
         [](Sandbox&, frmMain& f) { f.Hooks.ReadProofData = [](frmMain&) { return false; }; },
         {QStringLiteral("Proof File Read Error.")},
         {},
         [] { return tavix::GST(11100); }},
        {"guidance file missing",
         all,
         [](Sandbox& b, frmMain&) { b.Remove(QStringLiteral("Guidance.txt")); },
         {QStringLiteral("ReadGuidanceData Error.(53)"), QStringLiteral("Guidance File Read Error.")},
         {},
         [] { return tavix::GST(11100); }},
        {"guidance number 101",
         all,
         [](Sandbox& b, frmMain&) { b.Write(QStringLiteral("Guidance.txt"), "101,\"a\",\"b\"\r\n"); },
         {QStringLiteral("ReadGuidanceData Error.(9)"), QStringLiteral("Guidance File Read Error.")},
         {},
         [] { return tavix::GST(11100); }},
        {"no camera filter",
         camera,
         [](Sandbox&, frmMain& f) { f.Hooks.OpenCameraGraph = [](frmMain&) { return GR::NoCameraFilter; }; },
         {QStringLiteral("Camera Filter Error.")},
         QStringLiteral("20104\n20105"),
         [] { return tavix::GST(11103); }},
        {"no output pin",
         camera,
         [](Sandbox&, frmMain& f) { f.Hooks.OpenCameraGraph = [](frmMain&) { return GR::NoOutputPin; }; },
         {QStringLiteral("Camera OutputPIN Error.")},
         QStringLiteral("20106\n20107"),
         [] { return tavix::GST(11104); }},
        {"any other error",
         camera,
         [](Sandbox&, frmMain& f) { f.Hooks.OpenCameraGraph = [](frmMain&) -> GR { vb::Raise(5); }; },
         {QStringLiteral("frmMain:Form_Load Error.(5)")},
         {},
         [] { return vb::App::Title(); }},
        {"an error in the zoom list",
         all,
         [](Sandbox&, frmMain& f) { f.cboScale->OnClick = [] { vb::Raise(9); }; },
         {QStringLiteral("frmMain:Form_Load Error.(9)")},
         {},
         [] { return vb::App::Title(); }},
    };
    for (const FailureCase& c : cases)
        for (const int16_t type : c.types) {
            Sandbox box;
            ScriptedDialogHost host;
            host.AnswerMsgBox(vb::vbOK);
            Window w;
            c.breakIt(box, w.f);
            const QByteArray iniBefore = box.Read(QStringLiteral("Tavix.Ini"));
            EXPECT_FALSE(tavix::Form_Load(w.f, type)) << c.what << " in variant " << type;
            EXPECT_EQ(host.Ends, 1) << c.what << " in variant " << type;
            ASSERT_EQ(host.Boxes.size(), 1u) << c.what << " in variant " << type;
            QString text = c.text;
            if (text.isEmpty())
                text = kFatal;
            else
                text = tavix::GST(text.section(QLatin1Char('\n'), 0, 0).toInt()) + QLatin1Char('\n') +
                       tavix::GST(text.section(QLatin1Char('\n'), 1, 1).toInt());
            EXPECT_EQ(host.Boxes[0].Prompt, text) << c.what << " in variant " << type;
            EXPECT_EQ(host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbCritical) << c.what << " in variant " << type;
            EXPECT_EQ(host.Boxes[0].Title, c.title()) << c.what << " in variant " << type;
            const QStringList log = box.LogTexts();
            ASSERT_GE(log.size(), c.logTail.size() + 1) << c.what << " in variant " << type;
            EXPECT_EQ(log.first(), Title(type) + QStringLiteral(" Start.")) << c.what << " in variant " << type;
            EXPECT_EQ(log.mid(log.size() - c.logTail.size()), c.logTail) << c.what << " in variant " << type;
            for (const QString& line : log)
                EXPECT_FALSE(line.endsWith(QLatin1String(" End"))) << c.what << " in variant " << type;
            // Nothing written back: the window never unloads.
            EXPECT_FALSE(w.f.Unloaded()) << c.what << " in variant " << type;
            EXPECT_EQ(box.Read(QStringLiteral("Tavix.Ini")), iniBefore) << c.what << " in variant " << type;
        }
}

// ---- Shutdown ----

struct CloseCase {
    const char* what;
    bool byCloseBox;
    bool dirty;
    int answer;  // 0: no question expected
    bool closes;
};

TEST(Shutdown, AsksOnceWithUnsavedResultsAndNoKeepsEverything) {
    const CloseCase cases[] = {
        {"exit button, saved", false, false, 0, true},
        {"exit button, unsaved, Yes", false, true, vb::vbYes, true},
        {"exit button, unsaved, No", false, true, vb::vbNo, false},
        {"close box, saved", true, false, 0, true},
        {"close box, unsaved, Yes", true, true, vb::vbYes, true},
        {"close box, unsaved, No", true, true, vb::vbNo, false},
    };
    for (const CloseCase& c : cases) {
        Sandbox box;
        ScriptedDialogHost host;
        Window w;
        frmMain& f = w.f;
        ASSERT_TRUE(tavix::Form_Load(f, 0)) << c.what;
        f.show();
        f.ResultDirty = c.dirty;
        f.txtComment[0]->SetText(QStringLiteral("keep me"));
        if (c.answer) host.AnswerMsgBox(c.answer);
        const QByteArray iniBefore = box.Read(QStringLiteral("Tavix.Ini"));
        if (c.byCloseBox)
            f.close();
        else
            f.cmdExit->Click();
        EXPECT_EQ(host.Boxes.size(), c.answer ? 1u : 0u) << c.what;
        if (c.answer) {
            EXPECT_EQ(host.Boxes[0].Prompt, tavix::GST(c.byCloseBox ? 20110 : 20010)) << c.what;
            EXPECT_EQ(host.Boxes[0].Title, tavix::GST(19000)) << c.what;
            EXPECT_EQ(host.Boxes[0].Buttons, vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2) << c.what;
        }
        EXPECT_EQ(f.Unloaded(), c.closes) << c.what;
        EXPECT_EQ(f.isVisible(), !c.closes) << c.what;
        const QStringList log = box.LogTexts();
        EXPECT_EQ(log.last().endsWith(QLatin1String(" End")), c.closes) << c.what;
        if (!c.closes) {
            EXPECT_TRUE(f.ResultDirty) << c.what;
            EXPECT_EQ(f.txtComment[0]->Text(), QStringLiteral("keep me")) << c.what;
            EXPECT_EQ(box.Read(QStringLiteral("Tavix.Ini")), iniBefore) << c.what;
        }
        if (!c.closes) {  // let the window go without questions
            f.ResultDirty = false;
            f.cmdExit->Click();
        }
    }
}

TEST(Shutdown, WritesTheNineteenKeysAsDecimalText) {
    Sandbox box;
    ScriptedDialogHost host;
    box.SetIni(QStringLiteral("CROSSLINECOLOR"), QStringLiteral("&HFF"));
    box.SetIni(QStringLiteral("SCALEX"), QStringLiteral("2.50mm"));
    box.SetIni(QStringLiteral("MEASURELINECOLOR1"), QStringLiteral("  65280 "));
    box.SetIni(QStringLiteral("DEFAULTSCALE"), QStringLiteral("3"));
    {
        Window w;
        ASSERT_TRUE(tavix::Form_Load(w.f, 0));
        EXPECT_EQ(w.f.cboScale->Text(), QStringLiteral("x 0.8"));
        w.f.cboScale->SetListIndex(10);  // the index in use at the end is stored, not the one read
        Var().JpegQty = 77;
        Var().ScaleColor = 0x80000005;
        w.f.cmdExit->Click();
    }
    const QString ini = QString::fromUtf8(box.Read(QStringLiteral("Tavix.Ini")));
    const std::pair<const char*, const char*> expected[] = {
        {"JPEGQTY", "77"},         {"DEFAULTSCALE", "10"},    {"MEASURELINECOLOR1", "65280"},
        {"CROSSLINECOLOR", "255"}, {"SCALEX", "2.5"},         {"SCALECOLOR", "-2147483643"},
        {"CURRENTPROOFNO", "0"},   {"NUMBEROFDECIMALS", "2"}, {"2POINTCOMMANDMODE", "0"},
    };
    for (const auto& [key, value] : expected)
        EXPECT_TRUE(ini.contains(QStringLiteral("\r\n%1=%2\r\n").arg(QLatin1String(key), QLatin1String(value))))
            << key << "=" << value << "\n"
            << ini.toStdString();
    const char* written[] = {"JPEGQTY",
                             "DEFAULTSCALE",
                             "MEASURELINECOLOR1",
                             "MEASURELINECOLOR2",
                             "MEASURELINECOLOR3",
                             "MEASUREVALUECOLOR1",
                             "MEASUREVALUECOLOR2",
                             "CROSSLINENUM",
                             "CROSSLINECOLOR",
                             "SCALECOLOR",
                             "SCALEX",
                             "SCALEY",
                             "SCALETYPE",
                             "SCALEPOSITION",
                             "CURRENTPROOFNO",
                             "NUMBEROFDECIMALS",
                             "MEASUREFONTSIZE",
                             "ANGLECOMMANDMODE",
                             "2POINTCOMMANDMODE"};
    static_assert(std::size(written) == 19);
    const QRegularExpression decimal(QStringLiteral("^-?\\d+(\\.\\d+)?$"));
    for (const char* key : written) {
        const QRegularExpression line(QStringLiteral("\r\n%1=([^\r]*)\r\n").arg(QLatin1String(key)));
        const auto m = line.match(ini);
        ASSERT_TRUE(m.hasMatch()) << key;
        EXPECT_TRUE(decimal.match(m.captured(1)).hasMatch()) << key << "=" << m.captured(1).toStdString();
    }
    // Only-read keys keep their lines.
    EXPECT_TRUE(ini.contains(QStringLiteral("CAMERAFILTERNAME=Tavix Test Camera")));
}

}  // namespace
