// Start-up and shutdown of the main window, in-process, for every variant.
#include <QCoreApplication>
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

QString Title(int variant) {
    const char* const titles[4] = {"デジカメ画像表示／計測プログラム", "デジカメ画像表示プログラム",
                                   "画像表示プログラム", "画像表示／計測プログラム"};
    return QString::fromUtf8(titles[variant]);
}

// A main window wired as the program wires it, on a fresh set of variables, in its own installation.
struct Window {
    Sandbox box;
    ScriptedDialogHost host;
    frmMain f;
    explicit Window(const QString& deployment = QStringLiteral("ja")) : box(deployment) {
        tavix::ResetVariableDefinition();
        tavix::WireMain(f);
    }
};

TEST(Start, FitsTheWindowToTheVariant) {
    const struct {
        int16_t type;
        bool camera, measure, stripShifted;
        int viewAlign;
        bool picSave;
    } rows[] = {{0, true, true, false, 4, true},
                {1, true, false, false, 3, true},
                {2, false, false, true, 3, true},
                {3, false, true, true, 4, false}};
    for (const auto& c : rows) {
        SCOPED_TRACE(c.type);
        Window w;
        frmMain& f = w.f;
        ASSERT_TRUE(tavix::Form_Load(f, c.type));
        EXPECT_EQ(f.Caption(), Title(c.type));
        EXPECT_EQ(f.ViewMode, c.camera ? tavix::ViewMode::Live : tavix::ViewMode::Still);
        EXPECT_EQ(f.picCameraView->Visible(), c.camera);
        EXPECT_EQ(f.picStillView->Visible(), !c.camera);
        EXPECT_EQ(f.cmdPinProp->Visible(), c.camera);
        EXPECT_EQ(f.picMeasureCommandArea->Visible(), c.measure);
        EXPECT_EQ(f.picViewArea->Align(), c.viewAlign);
        EXPECT_EQ(f.cmdPicSave->Enabled(), c.picSave);
        // The strip closes the gap of the camera buttons; the exit button is left alone.
        const double shift = c.stripShifted ? 900 : 0;
        EXPECT_EQ(f.cmdPicLoad->Left(), 1020 - shift);
        EXPECT_EQ(f.txtComment[1]->Left(), 7260 - 2 * shift);
        EXPECT_EQ(f.cmdExit->Left(), 13620);
        EXPECT_EQ(f.cboScale->Text(), QStringLiteral("x 1.0"));  // DEFAULTSCALE=5
        EXPECT_EQ(w.box.LogTexts(), QStringList{Title(c.type) + QStringLiteral(" Start.")});
    }
}

TEST(Start, MeasurePanelStartsDisabledButForItsTaggedControls) {
    for (int16_t type : {0, 3}) {
        Window w;
        frmMain& f = w.f;
        ASSERT_TRUE(tavix::Form_Load(f, type));
        for (vb::Control* c : f.Controls) {
            if (!c->HasEnabled() || c->Container() != f.picMeasureCommandArea) continue;
            // Variant 3 has no picture to cross or scale yet.
            const bool noPictureYet = type == 3 && (c == f.chkCross || c == f.chkScale);
            EXPECT_EQ(c->Enabled(), c->Tag == QLatin1String("NoDisable") && !noPictureYet)
                << type << " " << c->Name().toStdString() << c->Index();
        }
        EXPECT_EQ(f.ResultFormat, QStringLiteral("0.00"));  // NUMBEROFDECIMALS=2
        EXPECT_EQ(f.cboProof->ListIndex(), Var().CurrentProofNo);
    }
}

TEST(Start, LoadedMeasureLinesCopyElementZeroAsItStands) {
    Window w;
    frmMain& f = w.f;
    ASSERT_TRUE(tavix::Form_Load(f, 0));
    f.linMeasure[0]->SetPoints(1, 2, 3, 4);
    vb::LineControl* line = f.linMeasure.Load(1);
    vb::Shape* shape = f.shaMeasure.Load(2);
    EXPECT_EQ(line->BorderColor(), Var().MeasureLineColor[3]);
    EXPECT_EQ(line->X2(), 3);
    EXPECT_FALSE(line->Visible());
    EXPECT_EQ(shape->ShapeKind(), vb::Shape::Circle);
    EXPECT_EQ(f.FindControl(QStringLiteral("shaMeasure"), 2), shape);
    f.shaMeasure.Unload(2);
    EXPECT_EQ(f.FindControl(QStringLiteral("shaMeasure"), 2), nullptr);
}

TEST(Start, CaptionsAndIconsFollowTheStringTableAndCommandModes) {
    Window w(QStringLiteral("en"));
    frmMain& f = w.f;
    w.box.SetIni(QStringLiteral("2POINTCOMMANDMODE"), QStringLiteral("1"));
    w.box.SetIni(QStringLiteral("ANGLECOMMANDMODE"), QStringLiteral("1"));
    ASSERT_TRUE(tavix::Form_Load(f, 3));
    EXPECT_EQ(f.cmdMeasure[5]->Caption(), tavix::GST(10110));
    EXPECT_EQ(f.lblCommandCap[2]->Caption(), tavix::GST(10300));
    EXPECT_EQ(f.cmdMeasure[0]->GetPicture().cacheKey(), f.img2PointIcon[1]->GetPicture().cacheKey());
    EXPECT_EQ(f.cmdMeasure[5]->GetPicture().cacheKey(), f.imgAngleIcon[1]->GetPicture().cacheKey());
}

TEST(Start, AppNameReplacesTheTitleButNotTheStartLine) {
    Sandbox box;
    ScriptedDialogHost host;
    box.Write(QStringLiteral("Tavix.Ini"), "[COMMON]\r\nAPPNAME=Scope 7\r\n" + box.Read(QStringLiteral("Tavix.Ini")));
    {
        frmMain f;
        tavix::ResetVariableDefinition();
        tavix::WireMain(f);
        ASSERT_TRUE(tavix::Form_Load(f, 2));
        EXPECT_EQ(f.Caption(), QStringLiteral("Scope 7"));
        f.cmdExit->Click();
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
        SCOPED_TRACE(r.what);
        Window w(r.deployment);
        if (r.language)
            w.box.SetIni(QStringLiteral("LANGUAGE"), *r.language);
        else
            w.box.RemoveIni(QStringLiteral("LANGUAGE"));
        if (r.speaks.isEmpty()) w.host.AnswerMsgBox(vb::vbOK);
        EXPECT_EQ(tavix::Form_Load(w.f, 2), !r.speaks.isEmpty());
        if (r.speaks.isEmpty()) {
            EXPECT_TRUE(w.box.LogTexts().contains(QStringLiteral("Ini File Read Error.")));
            continue;
        }
        const bool english = r.speaks == en;
        EXPECT_EQ(QCoreApplication::translate("QPlatformTheme", "&Yes"),
                  english ? QStringLiteral("&Yes") : QStringLiteral("はい(&Y)"));
        EXPECT_EQ(tavix::FatalText == kFatal, !english);
    }
}

TEST(StartFailure, EachFailedStepLogsShowsItsBoxAndEnds) {
    const std::vector<int16_t> all = {0, 1, 2, 3}, camera = {0, 1}, measure = {0, 3};
    const struct {
        const char* what;
        std::vector<int16_t> types;
        std::function<void(Sandbox&, frmMain&)> breakIt;
        QStringList logTail;
        std::pair<int, int> text;  // string numbers of the two lines; {0, 0}: the fatal text
        std::function<QString()> title;
    } cases[] = {
        // clang-format off
        {"ini file missing", all, [](Sandbox& b, frmMain&) { b.Remove(QStringLiteral("Tavix.Ini")); },
         {QStringLiteral("GetIniFileData GetPrivateProfileString Error [Section]=CAMERA,[Key]=CAMERAFILTERNAME"),
          QStringLiteral("Ini File Read Error.")}, {}, [] { return QString(); }},
        {"string table missing", all, [](Sandbox& b, frmMain&) { b.Remove(QStringLiteral("StringTable.txt")); },
         {QStringLiteral("ReadStringTableData Error.(53)"), QStringLiteral("StringTable File Read Error.")}, {}, [] { return QString(); }},
        {"string table with a bad number", all, [](Sandbox& b, frmMain&) { b.Write(QStringLiteral("StringTable.txt"), "abc,text\r\n"); },
         {QStringLiteral("ReadStringTableData Error.(13)"), QStringLiteral("StringTable File Read Error.")}, {}, [] { return QString(); }},
        {"proof file missing", measure, [](Sandbox& b, frmMain&) { b.Remove(QStringLiteral("Proof.txt")); },
         {QStringLiteral("ReadProofData Error.(53)"), QStringLiteral("Proof File Read Error.")}, {}, [] { return tavix::GST(11100); }},
        {"guidance file missing", all, [](Sandbox& b, frmMain&) { b.Remove(QStringLiteral("Guidance.txt")); },
         {QStringLiteral("ReadGuidanceData Error.(53)"), QStringLiteral("Guidance File Read Error.")}, {}, [] { return tavix::GST(11100); }},
        {"guidance number 101", all, [](Sandbox& b, frmMain&) { b.Write(QStringLiteral("Guidance.txt"), "101,\"a\",\"b\"\r\n"); },
         {QStringLiteral("ReadGuidanceData Error.(9)"), QStringLiteral("Guidance File Read Error.")}, {}, [] { return tavix::GST(11100); }},
        {"a camera node with no output", camera, [](Sandbox& b, frmMain&) { b.SetIni(QStringLiteral("CAMERAFILTERNAME"), QStringLiteral("File writer")); },
         {QStringLiteral("Camera OutputPIN Error.")}, {20106, 20107}, [] { return tavix::GST(11104); }},
        {"an error in the zoom list", all, [](Sandbox&, frmMain& f) { f.cboScale->OnClick = [] { vb::Raise(9); }; },
         {QStringLiteral("frmMain:Form_Load Error.(9)")}, {}, [] { return vb::App::Title(); }},
        // clang-format on
    };
    for (const auto& c : cases)
        for (const int16_t type : c.types) {
            SCOPED_TRACE(std::string(c.what) + " in variant " + std::to_string(type));
            Window w;
            w.host.AnswerMsgBox(vb::vbOK);
            c.breakIt(w.box, w.f);
            const QByteArray iniBefore = w.box.Read(QStringLiteral("Tavix.Ini"));
            EXPECT_FALSE(tavix::Form_Load(w.f, type));
            EXPECT_EQ(w.host.Ends, 1);
            ASSERT_EQ(w.host.Boxes.size(), 1u);
            const QString text =
                c.text.first ? tavix::GST(c.text.first) + QLatin1Char('\n') + tavix::GST(c.text.second) : kFatal;
            EXPECT_EQ(w.host.Boxes[0].Prompt, text);
            EXPECT_EQ(w.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbCritical);
            EXPECT_EQ(w.host.Boxes[0].Title, c.title());
            const QStringList log = w.box.LogTexts();
            ASSERT_GE(log.size(), c.logTail.size() + 1);
            EXPECT_EQ(log.first(), Title(type) + QStringLiteral(" Start."));
            EXPECT_EQ(log.mid(log.size() - c.logTail.size()), c.logTail);
            // Nothing written back: the window never unloads.
            EXPECT_FALSE(w.f.Unloaded());
            EXPECT_EQ(w.box.Read(QStringLiteral("Tavix.Ini")), iniBefore);
        }
}

TEST(Shutdown, AsksOnceWithUnsavedResultsAndNoKeepsEverything) {
    const struct {
        const char* what;
        bool byCloseBox, dirty;
        int answer;  // 0: no question expected
    } cases[] = {
        // clang-format off
        {"exit button, saved", false, false, 0}, {"exit button, unsaved, Yes", false, true, vb::vbYes},
        {"exit button, unsaved, No", false, true, vb::vbNo}, {"close box, saved", true, false, 0},
        {"close box, unsaved, Yes", true, true, vb::vbYes}, {"close box, unsaved, No", true, true, vb::vbNo},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const bool closes = c.answer != vb::vbNo;
        Window w;
        frmMain& f = w.f;
        ASSERT_TRUE(tavix::Form_Load(f, 0));
        f.show();
        f.ResultDirty = c.dirty;
        f.txtComment[0]->SetText(QStringLiteral("keep me"));
        if (c.answer) w.host.AnswerMsgBox(c.answer);
        const QByteArray iniBefore = w.box.Read(QStringLiteral("Tavix.Ini"));
        if (c.byCloseBox)
            f.close();
        else
            f.cmdExit->Click();
        ASSERT_EQ(w.host.Boxes.size(), c.answer ? 1u : 0u);
        if (c.answer) {
            EXPECT_EQ(w.host.Boxes[0].Prompt, tavix::GST(c.byCloseBox ? 20110 : 20010));
            EXPECT_EQ(w.host.Boxes[0].Title, tavix::GST(19000));
            EXPECT_EQ(w.host.Boxes[0].Buttons, vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2);
        }
        EXPECT_EQ(f.Unloaded(), closes);
        EXPECT_EQ(f.isVisible(), !closes);
        EXPECT_EQ(w.box.LogTexts().last().endsWith(QLatin1String(" End")), closes);
        if (!closes) {
            EXPECT_TRUE(f.ResultDirty);
            EXPECT_EQ(f.txtComment[0]->Text(), QStringLiteral("keep me"));
            EXPECT_EQ(w.box.Read(QStringLiteral("Tavix.Ini")), iniBefore);
            f.ResultDirty = false;  // let the window go without questions
            f.cmdExit->Click();
        }
    }
}

TEST(Shutdown, WritesTheKeysBackAsDecimalText) {
    Window w;
    w.box.SetIni(QStringLiteral("CROSSLINECOLOR"), QStringLiteral("&HFF"));
    w.box.SetIni(QStringLiteral("SCALEX"), QStringLiteral("2.50mm"));
    w.box.SetIni(QStringLiteral("MEASURELINECOLOR1"), QStringLiteral("  65280 "));
    w.box.SetIni(QStringLiteral("DEFAULTSCALE"), QStringLiteral("3"));
    ASSERT_TRUE(tavix::Form_Load(w.f, 0));
    EXPECT_EQ(w.f.cboScale->Text(), QStringLiteral("x 0.8"));
    w.f.cboScale->SetListIndex(10);  // the index in use at the end is stored, not the one read
    Var().JpegQty = 77;
    Var().ScaleColor = 0x80000005;
    w.f.cmdExit->Click();
    const QString ini = QString::fromUtf8(w.box.Read(QStringLiteral("Tavix.Ini")));
    const std::pair<const char*, const char*> expected[] = {
        {"JPEGQTY", "77"},         {"DEFAULTSCALE", "10"}, {"MEASURELINECOLOR1", "65280"},
        {"CROSSLINECOLOR", "255"}, {"SCALEX", "2.5"},      {"SCALECOLOR", "-2147483643"},
    };
    for (const auto& [key, value] : expected)
        EXPECT_TRUE(ini.contains(QStringLiteral("\r\n%1=%2\r\n").arg(QLatin1String(key), QLatin1String(value))))
            << key << "=" << value << "\n"
            << ini.toStdString();
    // Only-read keys keep their lines.
    EXPECT_TRUE(ini.contains(QStringLiteral("CAMERAFILTERNAME=Tavix Test Camera")));
}

}  // namespace
