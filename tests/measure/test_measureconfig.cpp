// The measurement settings dialog and what its OK or Cancel does to the main window: colours,
// decimals on the listed values, the font on the still, the command buttons, the cross lines,
// what is repainted, and the settings kept at exit.
#include <gtest/gtest.h>

#include <QFontMetrics>
#include <QRegularExpression>
#include <functional>
#include <tuple>
#include <vector>
#include <optional>

#include "CommonModule.h"
#include "Convert.h"
#include "CrossLines.h"
#include "MeasureCommands.h"
#include "MeasureConfig.h"
#include "StartedMain.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "Wiring.h"

using tavix::frmMeasureConfig;
using tavix::GST;
using tavix::Var;

namespace {

// Every setting the dialog edits, compared as a whole.
struct Settings {
    std::array<uint32_t, 7> colors{};
    int16_t crossLineNum = 0, decimals = 0, fontSize = 0, angleMode = 0, twoPointMode = 0;
    static Settings Now() {
        const tavix::VariableDefinition& v = Var();
        return {{v.MeasureLineColor[1], v.MeasureValueColor[1], v.MeasureLineColor[2], v.MeasureValueColor[2],
                 v.MeasureLineColor[3], v.CrossLineColor, v.ScaleColor},
                v.CrossLineNum, v.NumberOfDecimals, v.MeasureFontSize, v.AngleCommandMode, v.TwoPointCommandMode};
    }
    bool operator==(const Settings&) const = default;
};

constexpr QRgb kGrey = 0xFF404040;

struct Config : testing_support::StartedMain {
    int draws = 0, scales = 0;

    explicit Config(const QString& deployment = QStringLiteral("ja")) : StartedMain(3, deployment) {
        QImage grey(400, 300, QImage::Format_RGB32);
        grey.fill(kGrey);
        f.picTempView->SetPicture(grey);
        tavix::DispImage(f, false);
        const auto draw = f.Hooks.DrawMeasureResults;
        f.Hooks.DrawMeasureResults = [this, draw](tavix::frmMain& m) {
            ++draws;
            if (draw) draw(m);
        };
        f.Hooks.DrawScale = [this](tavix::frmMain&) { ++scales; };
    }
    // Presses cmdMeasureConfig; user plays the dialog and must end it with OK or Cancel.
    void Open(std::function<void(frmMeasureConfig&)> user) {
        host.AnswerModal([user](vb::Form& form) {
            auto& d = dynamic_cast<frmMeasureConfig&>(form);
            user(d);
            EXPECT_TRUE(d.Unloaded()) << "the dialog ends only through its buttons";
        });
        f.cmdMeasureConfig->Click();
    }
    void Ok(std::function<void(frmMeasureConfig&)> change) {
        Open([change](frmMeasureConfig& d) {
            change(d);
            d.cmdOK->Click();
        });
    }
    // Picks colour c on swatch i through its click and the colour dialog.
    void Pick(frmMeasureConfig& d, int i, std::optional<uint32_t> c) {
        host.AnswerColor(c);
        d.lblColor[i]->OnClick();
    }
    void Add(int16_t kind, double value, const QString& text) {
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
};

TEST(MeasureConfigDialog, OpensWithTheSettingsAndTheCaptionsOfTheStringTable) {
    struct Case {
        int16_t crossLineNum, decimals, fontSize, angleMode, twoPointMode;
        const char* fontShown;  // a size not in the list shows the first
    };
    for (const Case c : {Case{1, 0, 10, 0, 0, "10"}, Case{2, 8, 20, 1, 1, "20"}, Case{1, 3, 13, 1, 0, "8"}}) {
        Config w{c.decimals == 8 ? QStringLiteral("en") : QStringLiteral("ja")};
        tavix::VariableDefinition& v = Var();
        std::tie(v.CrossLineNum, v.NumberOfDecimals, v.MeasureFontSize, v.AngleCommandMode, v.TwoPointCommandMode) =
            std::tie(c.crossLineNum, c.decimals, c.fontSize, c.angleMode, c.twoPointMode);
        for (int i = 1; i <= 3; ++i) v.MeasureLineColor[i] = 0x010101u * i;
        v.ScaleColor = 0x80000005;
        const Settings before = Settings::Now();
        w.Open([&](frmMeasureConfig& d) {
            QStringList captions{d.Caption()};
            for (const vb::Control* control : d.Controls) captions << control->Caption();
            for (int n = 13000; n <= 13029; ++n)
                if (n % 10 <= (n < 13010 ? 6 : n < 13020 ? 2 : 9)) EXPECT_TRUE(captions.contains(GST(n))) << n;
            for (int i = 0; i < 7; ++i) EXPECT_EQ(d.lblColor[i]->BackColor(), before.colors[i]) << i;
            EXPECT_TRUE(d.optCrossLineNum[c.crossLineNum - 1]->Value() && !d.optCrossLineNum[2 - c.crossLineNum]->Value());
            EXPECT_TRUE(d.optAngleCommand[c.angleMode]->Value() && !d.optAngleCommand[1 - c.angleMode]->Value());
            EXPECT_TRUE(d.opt2PointCommand[c.twoPointMode]->Value() && !d.opt2PointCommand[1 - c.twoPointMode]->Value());
            EXPECT_EQ(d.cboDec->ListCount(), 9);
            EXPECT_EQ(d.cboDec->Text(), QString::number(c.decimals));
            EXPECT_EQ(d.cboFontSize->ListCount(), 9);
            EXPECT_EQ(d.cboFontSize->Text(), QLatin1String(c.fontShown));
            d.cmdCancel->Click();
        });
        EXPECT_TRUE(Settings::Now() == before) << c.fontSize;
    }
}

TEST(MeasureConfigDialog, OkStoresEachSwatchCancelStoresNothing) {
    struct Case {
        int swatch;
        std::optional<uint32_t> answer;  // of the colour dialog; none is its Cancel
        bool ok;
    };
    // The colour dialog cancelled keeps the swatch; the settings dialog cancelled drops a pick.
    std::vector<Case> cases{{2, std::nullopt, true}, {5, 0x123456, false}};
    for (int i = 0; i < 7; ++i) cases.push_back({i, 0x123456u + static_cast<uint32_t>(i), true});
    for (const Case& c : cases) {
        Config w;
        Settings want = Settings::Now();
        w.Open([&](frmMeasureConfig& d) {
            const uint32_t shown = d.lblColor[c.swatch]->BackColor();
            w.Pick(d, c.swatch, c.answer);
            EXPECT_EQ(d.lblColor[c.swatch]->BackColor(), c.answer.value_or(shown)) << c.swatch;
            (c.ok ? d.cmdOK : d.cmdCancel)->Click();
        });
        if (c.ok && c.answer) want.colors[c.swatch] = *c.answer;
        EXPECT_TRUE(Settings::Now() == want) << c.swatch << c.ok;
    }
}

TEST(MeasureConfigDialog, CancelAfterChangesLeavesTheSettingsButStillRebuildsTheWindow) {
    Config w;
    const Settings before = Settings::Now();
    // A main window out of line with the settings, so the rebuild shows.
    w.f.cmdMeasure[0]->SetCaption(QStringLiteral("stale"));
    w.f.cmdMeasure[5]->SetCaption(QStringLiteral("stale"));
    w.f.picCrossLineV[1]->SetBackColor(0x0000FE);
    w.f.linMeasure[0]->SetBorderColor(0x0000FE);
    w.f.shaMeasure[0]->SetBorderColor(0x0000FE);
    w.f.picStillView->SetFontSize(30);
    w.f.ResultFormat = QStringLiteral("0.00000");
    w.Add(101, 2.5, QStringLiteral("stale"));
    w.Mark();
    w.Open([&](frmMeasureConfig& d) {
        for (int i = 0; i < 7; ++i) w.Pick(d, i, 0x00FFFFFFu - static_cast<uint32_t>(i));
        d.optCrossLineNum[1]->SetValue(true);
        d.optAngleCommand[1]->SetValue(true);
        d.opt2PointCommand[1]->SetValue(true);
        d.cboDec->SetListIndex(5);
        d.cboFontSize->SetListIndex(8);
        d.cmdCancel->Click();
    });
    EXPECT_TRUE(Settings::Now() == before);
    const tavix::VariableDefinition& v = Var();
    EXPECT_EQ(w.f.cmdMeasure[0]->Caption(), GST(10101));
    EXPECT_EQ(w.f.cmdMeasure[5]->Caption(), GST(10106));
    EXPECT_EQ(w.f.picCrossLineV[1]->BackColor(), v.CrossLineColor);
    EXPECT_EQ(w.f.linMeasure[0]->BorderColor(), v.MeasureLineColor[3]);
    EXPECT_EQ(w.f.shaMeasure[0]->BorderColor(), v.MeasureLineColor[3]);
    EXPECT_EQ(w.f.picStillView->FontSize(), v.MeasureFontSize);
    EXPECT_EQ(w.f.grdResult->TextMatrix(1, 2), vb::Format(2.5, tavix::MakeResultFormat(v.NumberOfDecimals)));
    EXPECT_FALSE(w.Marked()) << "the still is repainted";
    EXPECT_EQ(w.draws, 1);
}

TEST(MeasureConfigDecimals, ReformatTheStoredValueAndLeaveCountsAlone) {
    Config w;
    Var().NumberOfDecimals = 2;
    w.f.ResultFormat = tavix::MakeResultFormat(2);
    w.Add(101, 3.14159, vb::Format(3.14159, w.f.ResultFormat));
    w.Add(100, 4, QStringLiteral("4 counted"));
    w.Add(102, 0.5, vb::Format(0.5, w.f.ResultFormat));
    for (const int decimals : {0, 2, 8, 2}) {
        w.Ok([&](frmMeasureConfig& d) { d.cboDec->SetListIndex(decimals); });
        const QString format = decimals == 0 ? QStringLiteral("0") : QStringLiteral("0.") + QString(decimals, u'0');
        EXPECT_EQ(Var().NumberOfDecimals, decimals);
        EXPECT_EQ(w.f.ResultFormat, format);
        EXPECT_EQ(w.f.grdResult->TextMatrix(1, 2), vb::Format(3.14159, format)) << decimals;
        EXPECT_EQ(w.f.grdResult->TextMatrix(2, 2), QStringLiteral("4 counted")) << decimals;
        EXPECT_EQ(w.f.grdResult->TextMatrix(3, 2), vb::Format(0.5, format)) << decimals;
        EXPECT_EQ(Var().ResultTable[1].Value, 3.14159) << "never rounded";
    }
    EXPECT_EQ(w.f.grdResult->TextMatrix(1, 2), QStringLiteral("3.14"));
}

TEST(MeasureConfigFont, ANewSizeShowsOnTheValuesOfTheStillAtOnce) {
    Config w;
    // Magenta over the grey picture, antialiased edges included.
    const auto Ink = [](QRgb p) { return qRed(p) > 0x80 && qBlue(p) > 0x80 && qGreen(p) < 0x40; };
    Var().MeasureValueColor[1] = 0xFF00FF;
    w.f.grdResult->SetRow(99);  // nothing selected
    w.Add(101, 888.888, QString());
    for (const int index : {0, 8, 3}) {
        w.Ok([&](frmMeasureConfig& d) { d.cboFontSize->SetListIndex(index); });
        const int size = Var().MeasureFontSize;
        EXPECT_EQ(w.f.picStillView->FontSize(), size);
        // The value's ink is as tall as the text in that font.
        const QImage canvas = w.f.picStillView->GetImage();
        QRect ink;
        for (int y = 0; y < canvas.height(); ++y)
            for (int x = 0; x < canvas.width(); ++x)
                if (Ink(canvas.pixel(x, y))) ink |= QRect(x, y, 1, 1);
        const QString text = vb::Format(888.888, w.f.ResultFormat);
        const int want = QFontMetrics(w.f.picStillView->Font()).tightBoundingRect(text).height();
        EXPECT_NEAR(ink.height(), want, 2) << "size " << size;
    }
}

TEST(MeasureConfigCommands, TheModesSetCaptionIconAndTheNextCommand) {
    struct Case {
        int16_t twoPoint, angle;
    };
    for (const Case c : {Case{1, 0}, Case{0, 1}, Case{1, 1}, Case{0, 0}}) {
        Config w;
        w.Ok([&](frmMeasureConfig& d) {
            d.opt2PointCommand[c.twoPoint]->SetValue(true);
            d.optAngleCommand[c.angle]->SetValue(true);
        });
        EXPECT_EQ(Var().TwoPointCommandMode, c.twoPoint);
        EXPECT_EQ(Var().AngleCommandMode, c.angle);
        EXPECT_EQ(w.f.cmdMeasure[0]->Caption(), GST(c.twoPoint ? 10112 : 10101));
        EXPECT_EQ(w.f.cmdMeasure[5]->Caption(), GST(c.angle ? 10110 : 10106));
        EXPECT_EQ(w.f.cmdMeasure[0]->GetPicture().cacheKey(), w.f.img2PointIcon[c.twoPoint]->GetPicture().cacheKey());
        EXPECT_EQ(w.f.cmdMeasure[5]->GetPicture().cacheKey(), w.f.imgAngleIcon[c.angle]->GetPicture().cacheKey());
        EXPECT_NE(w.f.img2PointIcon[0]->GetPicture().cacheKey(), w.f.img2PointIcon[1]->GetPicture().cacheKey());
        tavix::cmdMeasure_Click(w.f, 0);
        EXPECT_EQ(w.f.CommandMode, c.twoPoint ? 108 : 101);
        tavix::EndMeasureCommand(w.f);
        tavix::cmdMeasure_Click(w.f, 5);
        EXPECT_EQ(w.f.CommandMode, c.angle ? 107 : 106);
        tavix::EndMeasureCommand(w.f);
    }
}

TEST(MeasureConfigCrossLines, OffAfterAChangeOfNumberOnInTheNewColourOtherwise) {
    constexpr uint32_t kNew = 0x00C0FFEE;
    struct Case {
        const char* why;
        int16_t from, to;
    };
    const Case cases[] = {
        {"one pair kept", 1, 1}, {"two pairs kept", 2, 2}, {"one to two", 1, 2}, {"two to one", 2, 1}};
    for (const Case& c : cases) {
        Config w;
        Var().CrossLineNum = c.from;
        // Lines standing: checked and placed, pair by pair.
        w.f.chkCross->SetValue(1);
        for (int k = 0; k < c.from; ++k) tavix::ClickCrossLine(w.f, 1, 10.0f * (k + 1), 10.0f);
        ASSERT_EQ(w.f.CommandMode, 0) << c.why;
        const qint64 icon = w.f.chkCross->GetPicture().cacheKey();
        w.Ok([&](frmMeasureConfig& d) {
            w.Pick(d, 5, kNew);
            d.optCrossLineNum[c.to - 1]->SetValue(true);
        });
        const bool changed = c.from != c.to;
        EXPECT_EQ(w.f.chkCross->Value(), changed ? 0 : 1) << c.why;
        for (int k = 0; k < 2; ++k) {
            const bool shown = !changed && k < c.from;
            EXPECT_EQ(w.f.picCrossLineV[k]->Visible(), shown) << c.why << " pair " << k;
            EXPECT_EQ(w.f.picCrossLineH[k]->Visible(), shown) << c.why << " pair " << k;
            EXPECT_EQ(w.f.picCrossLineV[k]->BackColor(), kNew) << c.why;
            EXPECT_EQ(w.f.picCrossLineH[k]->BackColor(), kNew) << c.why;
        }
        const qint64 want = changed ? w.f.imgCrossIcon[c.to - 1]->GetPicture().cacheKey() : icon;
        EXPECT_EQ(w.f.chkCross->GetPicture().cacheKey(), want) << c.why;
    }
}

TEST(MeasureConfigRepaint, TheStillViewRepaintsTheLiveViewRedrawsOnlyTheScale) {
    struct Case {
        int16_t viewMode;
        bool scale;
        bool repainted;
        int scales;
    };
    const Case cases[] = {{1, false, true, 0}, {1, true, true, 1}, {0, false, false, 0}, {0, true, false, 1}};
    for (const Case& c : cases) {
        Config w;
        w.f.chkScale->OnClick = nullptr;  // no scale dialog: only the box's state matters here
        w.f.chkScale->SetValue(c.scale ? 1 : 0);
        w.f.ViewMode = c.viewMode;
        w.Mark();
        w.Ok([](frmMeasureConfig&) {});
        EXPECT_EQ(!w.Marked(), c.repainted) << c.viewMode << c.scale;
        EXPECT_EQ(w.draws, c.repainted ? 1 : 0) << c.viewMode << c.scale;
        EXPECT_EQ(w.scales, c.scales) << c.viewMode << c.scale;
    }
}

TEST(MeasureConfigIni, TheChangedSettingsAreAmongTheNineteenKeysWrittenAtExitAndReadBack) {
    Config w;
    w.Ok([&](frmMeasureConfig& d) {
        for (int i = 0; i < 7; ++i) w.Pick(d, i, 0x00102030u + static_cast<uint32_t>(i));
        d.optCrossLineNum[1]->SetValue(true);
        d.cboDec->SetListIndex(4);
        d.cboFontSize->SetListIndex(6);
        d.optAngleCommand[1]->SetValue(true);
        d.opt2PointCommand[1]->SetValue(true);
    });
    const Settings chosen = Settings::Now();
    w.f.cmdExit->Click();
    ASSERT_TRUE(w.f.Unloaded());

    const QString ini = QString::fromUtf8(w.box.Read(QStringLiteral("Tavix.Ini")));
    const auto value = [&ini](const char* key) {
        const QRegularExpression line(QStringLiteral("\r\n%1=([^\r]*)\r\n").arg(QLatin1String(key)));
        return ini.count(line) == 1 ? line.match(ini).captured(1) : QStringLiteral("<%1 lines>").arg(ini.count(line));
    };
    const char* colorKeys[7] = {"MEASURELINECOLOR1", "MEASUREVALUECOLOR1", "MEASURELINECOLOR2", "MEASUREVALUECOLOR2",
                                "MEASURELINECOLOR3", "CROSSLINECOLOR", "SCALECOLOR"};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(value(colorKeys[i]), QString::number(chosen.colors[i])) << colorKeys[i];
    const std::pair<const char*, int16_t> numbers[] = {
        {"CROSSLINENUM", chosen.crossLineNum}, {"NUMBEROFDECIMALS", chosen.decimals},
        {"MEASUREFONTSIZE", chosen.fontSize},  {"ANGLECOMMANDMODE", chosen.angleMode},
        {"2POINTCOMMANDMODE", chosen.twoPointMode}};
    for (const auto& [key, number] : numbers) EXPECT_EQ(value(key), QString::number(number)) << key;
    for (const char* key : {"JPEGQTY", "DEFAULTSCALE", "SCALEX", "SCALEY", "SCALETYPE", "SCALEPOSITION",
                            "CURRENTPROOFNO"})
        EXPECT_FALSE(value(key).startsWith(u'<')) << key;

    // A new start on the same installation reads them back.
    tavix::ResetVariableDefinition();
    tavix::frmMain again;
    tavix::WireMain(again);
    ASSERT_TRUE(tavix::Form_Load(again, 3));
    EXPECT_TRUE(Settings::Now() == chosen);
    EXPECT_EQ(again.cmdMeasure[0]->Caption(), GST(10112));
    EXPECT_EQ(again.ResultFormat, tavix::MakeResultFormat(chosen.decimals));
}

}  // namespace
