// frmMeasureConfig and what its OK or Cancel does to the main window and the ini file.
#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <tuple>

#include "CommonModule.h"
#include "Convert.h"
#include "CrossLines.h"
#include "MeasureCommands.h"
#include "frmMeasureConfig.h"
#include "StartedMain.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "Wiring.h"

using Cmd = tavix::CommandMode;

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
                v.CrossLineNum,
                v.NumberOfDecimals,
                v.MeasureFontSize,
                v.AngleCommandMode,
                v.TwoPointCommandMode};
    }
    bool operator==(const Settings&) const = default;
};

struct Config : testing_support::StartedMain {
    explicit Config(const QString& deployment = QStringLiteral("ja")) : StartedMain(3, deployment) {
        QImage grey(400, 300, QImage::Format_RGB32);
        grey.fill(0xFF404040);
        f.picTempView->SetPicture(grey);
        tavix::DispImage(f, false);
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

TEST(MeasureConfigDialog, OpensWithTheSettings) {
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
        w.Open(
            [&](frmMeasureConfig& d) {
                // Captions come from the string table, but for the digits of the count and the shared buttons.
                QStringList texts;
                for (const auto& r : Var().StringTable) texts << r.Text;
                for (const vb::Control* control : d.Controls) {
                    const bool fixed = control == d.cmdOK || control == d.cmdCancel ||
                                       control->Name() == QLatin1String("optCrossLineNum");
                    EXPECT_TRUE(fixed || control->Caption().isEmpty() || texts.contains(control->Caption()))
                        << control->Name().toStdString();
                }
                for (int i = 0; i < 7; ++i) EXPECT_EQ(d.lblColor[i]->BackColor(), before.colors[i]) << i;
                EXPECT_TRUE(d.optCrossLineNum[c.crossLineNum - 1]->Value() &&
                            !d.optCrossLineNum[2 - c.crossLineNum]->Value());
                EXPECT_TRUE(d.optAngleCommand[c.angleMode]->Value() && !d.optAngleCommand[1 - c.angleMode]->Value());
                EXPECT_TRUE(d.opt2PointCommand[c.twoPointMode]->Value() &&
                            !d.opt2PointCommand[1 - c.twoPointMode]->Value());
                EXPECT_EQ(d.cboDec->Text() + u' ' + d.cboFontSize->Text(),
                          QString::number(c.decimals) + u' ' + c.fontShown);
            },
            false);
        EXPECT_TRUE(Settings::Now() == before) << c.fontSize;
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
    w.Add(Cmd::Distance, 2.5, QStringLiteral("stale"));
    w.Mark();
    w.Open(
        [&](frmMeasureConfig& d) {
            for (int i = 0; i < 7; ++i) w.Pick(d, i, 0x00FFFFFFu - static_cast<uint32_t>(i));
            // The colour dialog cancelled keeps the swatch.
            w.Pick(d, 2, std::nullopt);
            EXPECT_EQ(d.lblColor[2]->BackColor(), 0x00FFFFFDu);
            d.optCrossLineNum[1]->SetValue(true);
            d.optAngleCommand[1]->SetValue(true);
            d.opt2PointCommand[1]->SetValue(true);
            d.cboDec->SetListIndex(5);
            d.cboFontSize->SetListIndex(8);
        },
        false);
    EXPECT_TRUE(Settings::Now() == before);
    const tavix::VariableDefinition& v = Var();
    EXPECT_TRUE(w.f.cmdMeasure[0]->Caption() == GST(10101) && w.f.cmdMeasure[5]->Caption() == GST(10106));
    EXPECT_EQ(w.f.picCrossLineV[1]->BackColor(), v.CrossLineColor);
    EXPECT_EQ(w.f.linMeasure[0]->BorderColor(), v.MeasureLineColor[3]);
    EXPECT_EQ(w.f.shaMeasure[0]->BorderColor(), v.MeasureLineColor[3]);
    EXPECT_EQ(w.f.picStillView->FontSize(), v.MeasureFontSize);
    EXPECT_EQ(w.f.grdResult->TextMatrix(1, 2), vb::Format(2.5, tavix::MakeResultFormat(v.NumberOfDecimals)));
    EXPECT_FALSE(w.Marked()) << "the still is repainted";
    EXPECT_GT(w.Drawn(), 0) << "with its result";
}

TEST(MeasureConfigDecimals, ReformatTheStoredValueAndLeaveCountsAlone) {
    Config w;
    Var().NumberOfDecimals = 2;
    w.f.ResultFormat = tavix::MakeResultFormat(2);
    w.Add(Cmd::Distance, 3.14159, vb::Format(3.14159, w.f.ResultFormat));
    w.Add(Cmd::Count, 4, QStringLiteral("4 counted"));
    for (const auto& [decimals, shown] : {std::pair{0, "3"}, std::pair{2, "3.14"}}) {
        w.Ok([&](frmMeasureConfig& d) { d.cboDec->SetListIndex(decimals); });
        EXPECT_EQ(Var().NumberOfDecimals, decimals);
        EXPECT_EQ(w.f.grdResult->TextMatrix(1, 2), QLatin1String(shown)) << decimals;
        EXPECT_EQ(w.f.grdResult->TextMatrix(2, 2), QStringLiteral("4 counted")) << decimals;
        EXPECT_EQ(Var().ResultTable[1].Value, 3.14159) << "never rounded";
    }
}

TEST(MeasureConfigCommands, TheModesSetCaptionIconAndTheNextCommand) {
    for (const auto& [twoPoint, angle] : {std::pair<int16_t, int16_t>{1, 0}, {0, 1}}) {
        Config w;
        w.Ok([&](frmMeasureConfig& d) {
            d.opt2PointCommand[twoPoint]->SetValue(true);
            d.optAngleCommand[angle]->SetValue(true);
        });
        const tavix::frmMain& f = w.f;
        EXPECT_EQ((QStringList{f.cmdMeasure[0]->Caption(), f.cmdMeasure[5]->Caption()}),
                  (QStringList{GST(twoPoint ? 10112 : 10101), GST(angle ? 10110 : 10106)}));
        EXPECT_EQ(f.cmdMeasure[0]->GetPicture().cacheKey(), f.img2PointIcon[twoPoint]->GetPicture().cacheKey());
        EXPECT_EQ(f.cmdMeasure[5]->GetPicture().cacheKey(), f.imgAngleIcon[angle]->GetPicture().cacheKey());
        EXPECT_NE(f.img2PointIcon[0]->GetPicture().cacheKey(), f.img2PointIcon[1]->GetPicture().cacheKey());
        tavix::cmdMeasure_Click(w.f, 0);
        EXPECT_EQ(f.CommandMode, twoPoint ? Cmd::ParallelDistance : Cmd::Distance);
        tavix::EndMeasureCommand(w.f);
        tavix::cmdMeasure_Click(w.f, 5);
        EXPECT_EQ(f.CommandMode, angle ? Cmd::TwoLineAngle : Cmd::ThreePointAngle);
    }
}

TEST(MeasureConfigCrossLines, OffAfterAChangeOfNumberOnInTheNewColourOtherwise) {
    constexpr uint32_t kNew = 0x00C0FFEE;
    for (const auto& [from, to] : {std::pair<int16_t, int16_t>{1, 1}, {2, 2}, {1, 2}, {2, 1}}) {
        Config w;
        Var().CrossLineNum = from;
        w.f.chkCross->SetValue(1);
        for (int k = 0; k < from; ++k) tavix::ClickCrossLine(w.f, 1, 10.0f * (k + 1), 10.0f);
        ASSERT_EQ(w.f.CommandMode, tavix::CommandMode::Idle) << from;
        const qint64 icon = w.f.chkCross->GetPicture().cacheKey();
        w.Ok([&](frmMeasureConfig& d) {
            w.Pick(d, 5, kNew);
            d.optCrossLineNum[to - 1]->SetValue(true);
        });
        const bool changed = from != to;
        EXPECT_EQ(w.f.chkCross->Value(), changed ? 0 : 1) << from << to;
        for (int k = 0; k < 2; ++k) {
            const auto &v = *w.f.picCrossLineV[k], &h = *w.f.picCrossLineH[k];
            EXPECT_EQ(std::tuple(v.Visible(), h.Visible(), v.BackColor(), h.BackColor()),
                      std::tuple(!changed && k < from, !changed && k < from, kNew, kNew))
                << from << to << " pair " << k;
        }
        const qint64 want = changed ? w.f.imgCrossIcon[to - 1]->GetPicture().cacheKey() : icon;
        EXPECT_EQ(w.f.chkCross->GetPicture().cacheKey(), want) << from << to;
    }
}

TEST(MeasureConfigRepaint, TheStillViewRepaintsTheLiveViewRedrawsOnlyTheScale) {
    for (const int16_t viewMode : {0, 1})
        for (const bool scale : {false, true}) {
            Config w;
            w.f.chkScale->OnClick = nullptr;  // no scale dialog: only the box's state matters here
            w.f.chkScale->SetValue(scale);
            w.f.ViewMode = tavix::ViewMode(viewMode);
            w.Mark();
            w.Ok([](frmMeasureConfig&) {});
            const bool still = viewMode == 1;
            EXPECT_NE(w.Marked(), still) << viewMode << scale;
            EXPECT_EQ(w.f.picScaleSize->Visible() || (still && w.Drawn() > 0), scale) << viewMode << scale;
        }
}

TEST(MeasureConfigIni, TheChangedSettingsAreWrittenAtExitAndReadBack) {
    Config w;
    w.Ok([&](frmMeasureConfig& d) {
        for (int i = 0; i < 7; ++i) w.Pick(d, i, 0x00102030u + static_cast<uint32_t>(i));
        d.optCrossLineNum[1]->SetValue(true);
        d.cboDec->SetListIndex(4);
        d.cboFontSize->SetListIndex(6);
        d.optAngleCommand[1]->SetValue(true);
        d.opt2PointCommand[1]->SetValue(true);
    });
    const Settings c = Settings::Now();
    for (int i = 0; i < 7; ++i) EXPECT_EQ(c.colors[i], 0x00102030u + i) << "OK stores swatch " << i;
    w.f.cmdExit->Click();
    ASSERT_TRUE(w.f.Unloaded());

    // A new start on the same installation reads them back.
    tavix::ResetVariableDefinition();
    tavix::frmMain again;
    tavix::WireMain(again);
    ASSERT_TRUE(tavix::Form_Load(again, 3));
    EXPECT_TRUE(Settings::Now() == c);
    EXPECT_EQ(again.ResultFormat, tavix::MakeResultFormat(4));
}

}  // namespace
