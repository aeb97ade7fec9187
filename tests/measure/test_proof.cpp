// The settings dialogs: the calibration table with its file, its choice and its measure, and
// frmMeasureConfig with what its OK or Cancel does to the main window and the ini file.
#include <QCoreApplication>
#include <QKeyEvent>
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <tuple>

#include "CommandArea.h"
#include "CommonModule.h"
#include "CrossLines.h"
#include "Proof.h"
#include "StartedMain.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "Wiring.h"
#include "frmMeasureConfig.h"
#include "frmProofConfig.h"

using tavix::frmProofConfig;
using tavix::GST;
using tavix::Var;
using testing_support::Sandbox;
using Cmd = tavix::CommandMode;
using tavix::frmMeasureConfig;

namespace {

const QString kProof = QStringLiteral("Proof.txt");
constexpr int kQuestion = vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2;

// A slot as "name|value|unit", and the boxes shown as "title|text|buttons" lines.
std::string Slot(const tavix::ProofRecord& p) {
    return (p.Name + '|' + QString::number(p.Value, 'g', 16) + '|' + p.Unit).toStdString();
}
std::string Box(int text, int title, int buttons) {
    return (GST(title) + '|' + GST(text) + '|' + QString::number(buttons) + '\n').toStdString();
}
std::string Shown(const testing_support::ScriptedDialogHost& host) {
    std::string boxes;
    for (const auto& b : host.Boxes)
        boxes += (b.Title + '|' + b.Prompt + '|' + QString::number(b.Buttons) + '\n').toStdString();
    return boxes;
}

// The main window on a grey still, its results in cyan.
struct Window : testing_support::StartedMain {
    explicit Window(int16_t results = 0, bool dirty = false, const QString& deployment = QStringLiteral("ja"))
        : StartedMain(3, deployment) {
        QImage grey(400, 300, QImage::Format_RGB32);
        grey.fill(0xFF404040);
        f.picTempView->SetPicture(grey);
        tavix::DispImage(f, false);
        testing_support::ResultsInCyan();
        AddResults(results);
        f.ResultDirty = dirty;
    }
    // Lines across the still, one a row, that a redraw shows.
    void AddResults(int16_t n) {
        for (int16_t r = 1; r <= n; ++r)
            Var().ResultTable[r] = {r, tavix::CommandMode::Distance, {{}, {-50, -20.0 * r}, {50, -20.0 * r}}, 1};
        f.ResultCount = n;
    }
    bool ResultsShown() const { return testing_support::ResultPixels(f) > 0; }
    QString Guidance() const { return f.txtComment[0]->Text(); }
    void Click(int16_t button, float x = 0, float y = 0) { tavix::ProofMeasure_MouseUp(f, button, x, y); }
    // Starts the measure, clicks (0, 0) and (0, apart), and plays the user in the dialog.
    void Calibrate(float apart, std::function<void(frmProofConfig&)> user) {
        tavix::cmdProofConfig_Click(f);
        Click(1);
        host.AnswerModal([user](vb::Form& form) { user(dynamic_cast<frmProofConfig&>(form)); });
        Click(1, 0, apart);
    }
    // Presses cmdMeasureConfig; user plays the dialog and ends it with OK or Cancel.
    void Open(std::function<void(frmMeasureConfig&)> user, bool ok) {
        host.AnswerModal([user, ok](vb::Form& form) {
            auto& d = dynamic_cast<frmMeasureConfig&>(form);
            user(d);
            (ok ? d.cmdOK : d.cmdCancel)->Click();
            EXPECT_TRUE(d.Unloaded());
        });
        f.cmdMeasureConfig->Click();
    }
    void Ok(std::function<void(frmMeasureConfig&)> change) { Open(change, true); }
    void Pick(frmMeasureConfig& d, int i, std::optional<uint32_t> c) {
        host.AnswerColor(c);
        d.lblColor[i]->OnClick();
    }
    void Add(tavix::CommandMode kind, double value, const QString& text) {
        ++f.ResultCount;
        Var().ResultTable[f.ResultCount] = {f.ResultCount, kind, {{}, {-60, 50}, {60, 50}}, value};
        f.grdResult->SetTextMatrix(f.ResultCount, 2, text);
    }
    // Marks the still so a repaint shows as its absence.
    void Mark() { f.picStillView->LineBox(-5, -5, 5, 5, 0x000080, true); }
    bool Marked() const {
        const QRect r = f.picStillView->CanvasRect();
        return f.picStillView->GetImage().pixel(r.width() / 2, r.height() / 2) == 0xFF800000;
    }
    // Pixels of the still drawn over the grey picture.
    int Drawn() const {
        const QImage shown = f.picStillView->GetImage();
        return shown.width() * shown.height() - testing_support::Pixels(shown, 0xFF404040);
    }
};

void Key(QWidget* target, int key) {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &press);
}

TEST(ProofChoice, AQuestionOnlyForUnsavedResultsAndNoKeepsTheSelection) {
    const struct {
        const char* what;
        int16_t results;
        bool dirty;
        int answer;
        bool moves;
    } cases[] = {
        {"no results", 0, true, 0, true},
        {"saved results go silently", 2, false, 0, true},
        {"unsaved results, Yes", 2, true, vb::vbYes, true},
        {"unsaved results, No", 2, true, vb::vbNo, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Window w(c.results, c.dirty);
        const auto click = std::exchange(w.f.chkScale->OnClick, nullptr);  // checked without its dialog
        w.f.chkScale->SetValue(1);
        w.f.chkScale->OnClick = click;
        tavix::DispImage(w.f, false);
        const QImage before = w.f.picStillView->GetImage();
        Var().ProofTable[4] = {QStringLiteral("s4"), 0.000123456, QStringLiteral("mm")};
        if (c.answer) w.host.AnswerMsgBox(c.answer);
        w.f.cboProof->SetListIndex(4);  // fires the wired Click; a second box would fail the test
        // The scale bar follows at once.
        EXPECT_EQ(std::tuple(w.f.picStillView->GetImage() != before,
                             w.f.lblProofValue->Caption() == GST(10202, QStringLiteral("0.0001235 mm"))),
                  std::tuple(c.moves, c.moves));
        EXPECT_EQ(Shown(w.host), c.answer ? Box(20000, 11000, kQuestion) : "");
        EXPECT_EQ(std::tuple(Var().CurrentProofNo, w.f.cboProof->ListIndex(), w.f.ResultCount),
                  std::tuple(c.moves ? 4 : 0, c.moves ? 4 : 0, c.moves ? 0 : c.results));
    }
}

TEST(ProofMeasure, StartQuestionAndStepsOfTheClicks) {
    {
        Window w(1, true);
        w.host.AnswerMsgBox(vb::vbNo);
        tavix::cmdProofConfig_Click(w.f);
        EXPECT_EQ(std::tuple(Shown(w.host), w.f.CommandMode),
                  std::tuple(Box(20060, 11060, kQuestion), tavix::CommandMode::Idle));
    }
    Window w(1, false);  // saved: no question
    w.f.WorkPoints.push_back({5, 5});
    tavix::EnableCommandArea(w.f, *w.f.picMeasureCommandArea);  // as in the still view
    const auto firstPointAwaited = [&] {
        return std::tuple(w.f.CommandMode, w.f.WorkPoints.size(), w.Guidance(), w.f.chkScale->Enabled());
    };
    const auto awaited = std::tuple(tavix::CommandMode::Calibration, size_t(1), Var().GuidanceTable[20][0], false);
    tavix::cmdProofConfig_Click(w.f);
    EXPECT_EQ(firstPointAwaited(), awaited);  // and all of the measure area locked

    w.Click(4, 1, 1);  // a middle button does nothing
    w.Click(1, 10, 20);
    ASSERT_TRUE(w.f.linMeasure.Exists(1));
    const vb::LineControl& line = *w.f.linMeasure[1];
    EXPECT_EQ(std::tuple(line.Visible(), w.Guidance(), QLineF(line.X1(), line.Y1(), line.X2(), line.Y2())),
              std::tuple(true, Var().GuidanceTable[21][0], QLineF(10, 20, 10, 20)));

    w.Click(2);  // back to the first point
    EXPECT_EQ(firstPointAwaited(), awaited);
    EXPECT_TRUE(!w.f.linMeasure.Exists(1) && !w.ResultsShown());

    w.Click(2);  // abandoned: the hidden results come back
    EXPECT_TRUE(w.f.CommandMode == tavix::CommandMode::Idle && w.ResultsShown() && w.f.chkScale->Enabled());
}

// The dialog opens with the slot, ends only by its buttons (Enter and Escape included), and OK stores
// what was typed whatever the zoom; a refusal or a failed rewrite keeps it open and changes nothing.
TEST(ProofDialog, OpensWithTheSlotOkStoresIndependentOfZoomRefusalsKeepItOpen) {
    enum { Any, Name, Value, Unit };
    enum { Ok, Return, Escape, ReturnOnCancel };  // how the user ends it: a click on OK or a key
    // unit: the slot's before, shown: the index of the one the dialog opens with (μ for a unit not
    // in its list); stored: the slot after, "" for unchanged. text: the refusal's box, focus: the
    // field at fault; a rewrite goes to file and logs error, and the user then retries.
    const struct {
        const char *what, *unit;
        int shown;
        double zoom;
        float apart;
        const char *name, *value;
        bool dirty;
        int end;
        const char* stored;
        int text = 0, focus = Any;
        const char* file = nullptr;
        int error = 0;
    } cases[] = {
        // clang-format off
        {"OK at zoom 2, a foreign unit", "px", 0, 2.0, 200, "新しい ", "10x", true, Ok, "新しい |0.1|μ"},
        {"Enter in a text box is OK; zoom 0.5, saved results", "cm", 2, 0.5, 50, "新しい ", "10x", false, Return, "新しい |0.1|cm"},
        {"Escape is Cancel", "mm", 1, 1, 100, "新しい ", "10x", false, Escape, ""},
        {"Enter on the cancel button is Cancel, unsaved", "mm", 1, 1, 100, "新しい ", "10x", true, ReturnOnCancel, ""},
        {"blank name", "cm", 2, 1, 100, "   ", "1", false, Ok, "", 24000, Name},
        {"blank value", "cm", 2, 1, 100, "a", "  ", false, Ok, "", 24001, Value},
        {"letters read as 0", "cm", 2, 1, 100, "a", "abc", false, Ok, "", 24002, Value},
        {"no unit", "cm", 2, 1, 100, "a", "1", false, Ok, "", 24003, Unit},
        {"two clicks on one point", "cm", 2, 1, 0, "a", "5", false, Ok, "", 24004, Value},
        {"a value beyond a double", "cm", 2, 1, 100, "a", "1e400", false, Ok, "", 24004, Value},
        {"rewrite, folder gone", "cm", 2, 1, 100, "new", "2", false, Ok, "new|0.02|cm", 24005, Any, "\\gone\\Proof.txt", 76},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Window w;
        w.f.cboProof->SetListIndex(5);
        Var().ProofTable[5] = {QStringLiteral("slot5"), 1, QString::fromUtf8(c.unit)};
        Var().ZoomFactor = c.zoom;
        w.AddResults(3);
        w.f.ResultDirty = c.dirty;
        if (c.dirty) w.host.AnswerMsgBox(vb::vbYes);  // the question at the start, and no other
        if (c.text) w.host.AnswerMsgBox(vb::vbOK);
        if (c.file) Var().ProofFileName = QString::fromLatin1(c.file);
        const std::string former = Slot(Var().ProofTable[5]);
        const QByteArray file = w.box.Read(kProof);
        w.Calibrate(c.apart, [&](frmProofConfig& d) {
            // The measured length in pixels of the picture; the rubber line stays.
            EXPECT_EQ(QStringList({d.lblMeasured->Caption(), d.txtName->Text(), d.txtValue->Text(), d.txtValue->Tag}),
                      QStringList({GST(14004, QLatin1String(c.apart ? "100.0" : "0.0")), "slot5", "1",
                                   QString::number(c.apart)}));
            EXPECT_TRUE(d.cboUnit->ListCount() == 3 && d.cboUnit->ListIndex() == c.shown);
            EXPECT_TRUE(w.f.linMeasure.Exists(1) && w.f.linMeasure[1]->Visible());
            d.setParent(&w.f, d.windowFlags() | Qt::Dialog);  // as the program's dialog host does
            d.show();
            d.close();  // a window manager's close
            EXPECT_FALSE(d.Unloaded() || (d.windowFlags() & Qt::WindowCloseButtonHint));
            d.txtName->SetText(QString::fromUtf8(c.name));  // a name kept untrimmed, a value read up to a letter
            d.txtValue->SetText(QString::fromUtf8(c.value));
            if (c.focus == Unit) d.cboUnit->SetListIndex(-1);
            if (c.text) d.cmdCancel->SetFocus();  // the focus must move to the field at fault
            if (c.end == ReturnOnCancel) d.cmdCancel->SetFocus();
            if (c.end == Return || c.end == Escape) d.txtValue->SetFocus();
            c.end == Ok ? d.cmdOK->Click() : Key(d.focusWidget(), c.end == Escape ? Qt::Key_Escape : Qt::Key_Return);
            if (c.text) {
                const vb::Control* fields[4] = {nullptr, d.txtName, d.txtValue, d.cboUnit};
                EXPECT_EQ(std::tuple(d.Unloaded(), Slot(Var().ProofTable[5])), std::tuple(false, former));
                EXPECT_TRUE(c.focus == Any || d.focusWidget() == fields[c.focus]->Widget());
                if (c.error) Var().ProofFileName = QStringLiteral("\\Retry.txt");  // the user made room: OK again
                (c.error ? d.cmdOK : d.cmdCancel)->Click();
            }
            EXPECT_TRUE(d.Unloaded());
        });
        const std::string boxes = (c.dirty ? Box(20060, 11060, kQuestion) : std::string()) +
                                  (c.text ? Box(c.text, 14100, vb::vbOKOnly | vb::vbExclamation) : std::string());
        EXPECT_EQ(Shown(w.host), boxes);
        // The measure ended; a stored slot empties the list, else the results and the file stay.
        const bool stored = *c.stored;
        EXPECT_EQ(std::tuple(Var().DialogResult, w.f.ResultCount, w.ResultsShown(), w.f.cboProof->ListIndex()),
                  std::tuple(stored, int16_t(stored ? 0 : 3), !stored, 5));
        EXPECT_FALSE(w.f.linMeasure.Exists(1));
        if (!stored) {
            EXPECT_EQ(std::tuple(w.f.ResultDirty, Slot(Var().ProofTable[5]), w.box.Read(kProof)),
                      std::tuple(c.dirty, former, file));
            continue;
        }
        const QStringList slot = QString::fromUtf8(c.stored).split(u'|');
        EXPECT_EQ(std::tuple(Slot(Var().ProofTable[5]), w.f.cboProof->List(5), w.f.lblProofValue->Caption()),
                  std::tuple(std::string(c.stored), slot[0], GST(10202, slot[1] + u' ' + slot[2])));
        const QStringList lines = QString::fromUtf8(w.box.Read(c.error ? QStringLiteral("Retry.txt") : kProof))
                                      .split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
        ASSERT_EQ(lines.size(), 10);
        EXPECT_EQ(lines[5], QStringLiteral("\"%1\",%2,\"%3\"").arg(slot[0], slot[1], slot[2]));
        const QString logged = QStringLiteral("frmProofConfig:cmdOK_Click Error.(%1)").arg(c.error);
        EXPECT_EQ(w.box.LogTexts().contains(logged), c.error != 0);
    }
}

// ---- frmMeasureConfig ----

// Every setting the dialog edits, compared as a whole.
struct Settings {
    std::array<uint32_t, 7> colors{};
    int16_t crossLineNum = 0, decimals = 0, fontSize = 0, angleMode = 0, twoPointMode = 0;
    static Settings Now() {
        const tavix::VariableDefinition& v = Var();
        Settings s{{v.MeasureLineColor[1], v.MeasureValueColor[1], v.MeasureLineColor[2], v.MeasureValueColor[2],
                    v.MeasureLineColor[3], v.CrossLineColor, v.ScaleColor}};
        std::tie(s.crossLineNum, s.decimals, s.fontSize, s.angleMode, s.twoPointMode) =
            std::tie(v.CrossLineNum, v.NumberOfDecimals, v.MeasureFontSize, v.AngleCommandMode, v.TwoPointCommandMode);
        return s;
    }
    bool operator==(const Settings&) const = default;
};

// The dialog opens with the settings; Cancel keeps them, OK stores them for the ini file at exit;
// after either the window is rebuilt from them: captions, icons, colours, font, the grid's texts.
TEST(MeasureConfigDialog, OpensWithTheSettingsOkStoresCancelKeepsTheWindowRebuiltTheIniReadsBack) {
    const struct {
        Settings before;    // but the colours
        const char* opens;  // which option is on in the cross lines, the angle and the two-point command,
                            // the decimals and the font size; a size not in the list shows the first
        bool ok;
        int16_t twoPoint, angle;  // picked in the dialog
        const char* shown;        // the distance of 3.14159 in the grid
    } cases[] = {
        {{{}, 1, 3, 13, 1, 0}, "10 01 10 3 8", false, 1, 1, "3.142"},
        {{{}, 1, 0, 10, 0, 0}, "10 10 10 0 10", true, 1, 0, "3"},
        {{{}, 2, 8, 20, 1, 1}, "01 01 01 8 20", true, 0, 1, "3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.opens);
        Window w{0, false, c.before.decimals == 8 ? QStringLiteral("en") : QStringLiteral("ja")};
        tavix::VariableDefinition& s = Var();
        std::tie(s.CrossLineNum, s.NumberOfDecimals, s.MeasureFontSize, s.AngleCommandMode, s.TwoPointCommandMode) =
            std::tie(c.before.crossLineNum, c.before.decimals, c.before.fontSize, c.before.angleMode,
                     c.before.twoPointMode);
        for (int i = 1; i <= 3; ++i) s.MeasureLineColor[i] = 0x010101u * i;
        s.ScaleColor = 0x80000005;
        tavix::frmMain& f = w.f;
        const tavix::VariableDefinition& v = Var();
        Settings want = Settings::Now();
        // A main window out of line with the settings, so the rebuild shows.
        f.cmdMeasure[0]->SetCaption(QStringLiteral("stale"));
        f.cmdMeasure[5]->SetCaption(QStringLiteral("stale"));
        f.picCrossLineV[1]->SetBackColor(0x0000FE);
        f.linMeasure[0]->SetBorderColor(0x0000FE);
        f.shaMeasure[0]->SetBorderColor(0x0000FE);
        f.picStillView->SetFontSize(30);
        f.ResultFormat = QStringLiteral("0.00000");
        w.Add(Cmd::Distance, 3.14159, QStringLiteral("stale"));
        w.Add(Cmd::Count, 4, QStringLiteral("4 counted"));
        w.Mark();
        w.Open(
            [&](frmMeasureConfig& d) {
                for (int i = 0; i < 7; ++i) EXPECT_EQ(d.lblColor[i]->BackColor(), want.colors[i]) << i;
                QString opens;
                for (const auto& options : {d.optCrossLineNum, d.optAngleCommand, d.opt2PointCommand})
                    opens += QString::number(options[0]->Value()) + QString::number(options[1]->Value()) + u' ';
                EXPECT_EQ(opens + d.cboDec->Text() + u' ' + d.cboFontSize->Text(), QLatin1String(c.opens));
                for (int i = 0; i < 7; ++i) w.Pick(d, i, 0x00102030u + static_cast<uint32_t>(i));
                w.Pick(d, 2, std::nullopt);  // the colour dialog cancelled keeps the swatch
                EXPECT_EQ(d.lblColor[2]->BackColor(), 0x00102032u);
                d.optCrossLineNum[1]->SetValue(true);
                d.cboDec->SetListIndex(0);
                d.cboFontSize->SetListIndex(6);
                d.opt2PointCommand[c.twoPoint]->SetValue(true);
                d.optAngleCommand[c.angle]->SetValue(true);
                if (c.ok) want = {{}, 2, 0, int16_t(d.cboFontSize->Text().toInt()), c.angle, c.twoPoint};
                for (int i = 0; c.ok && i < 7; ++i) want.colors[i] = 0x00102030u + i;
            },
            c.ok);
        EXPECT_TRUE(Settings::Now() == want);
        const int16_t twoPoint = v.TwoPointCommandMode, angle = v.AngleCommandMode;
        EXPECT_EQ((QStringList{f.cmdMeasure[0]->Caption(), f.cmdMeasure[5]->Caption()}),
                  (QStringList{GST(twoPoint ? 10112 : 10101), GST(angle ? 10110 : 10106)}));
        EXPECT_EQ(std::tuple(f.cmdMeasure[0]->GetPicture().cacheKey(), f.cmdMeasure[5]->GetPicture().cacheKey()),
                  std::tuple(f.img2PointIcon[twoPoint]->GetPicture().cacheKey(),
                             f.imgAngleIcon[angle]->GetPicture().cacheKey()));
        EXPECT_EQ(std::tuple(f.picCrossLineV[1]->BackColor(), f.linMeasure[0]->BorderColor(),
                             f.shaMeasure[0]->BorderColor(), f.picStillView->FontSize()),
                  std::tuple(v.CrossLineColor, v.MeasureLineColor[3], v.MeasureLineColor[3], v.MeasureFontSize));
        // The value reformatted from the record, never rounded in it; a count's text left alone.
        EXPECT_EQ(std::tuple(f.grdResult->TextMatrix(1, 2), f.grdResult->TextMatrix(2, 2), v.ResultTable[1].Value),
                  std::tuple(QString::fromLatin1(c.shown), QStringLiteral("4 counted"), 3.14159));
        EXPECT_FALSE(w.Marked()) << "the still is repainted";
        EXPECT_GT(w.Drawn(), 0) << "with its results";

        // A new start on the same installation reads them back.
        f.ResultDirty = false;
        f.cmdExit->Click();
        ASSERT_TRUE(f.Unloaded());
        tavix::ResetVariableDefinition();
        tavix::frmMain again;
        tavix::WireMain(again);
        ASSERT_TRUE(tavix::Form_Load(again, 3));
        EXPECT_TRUE(Settings::Now() == want);
        EXPECT_EQ(again.ResultFormat, tavix::MakeResultFormat(want.decimals));
    }
}

}  // namespace
