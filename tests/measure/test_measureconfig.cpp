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
    // shown: which option is on in the cross lines, the angle and the two-point command, then the
    // decimals and the font size; a size not in the list shows the first.
    const struct {
        int16_t crossLineNum, decimals, fontSize, angleMode, twoPointMode;
        const char* shown;
    } cases[] = {
        {1, 0, 10, 0, 0, "10 10 10 0 10"}, {2, 8, 20, 1, 1, "01 01 01 8 20"}, {1, 3, 13, 1, 0, "10 01 10 3 8"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shown);
        Config w{c.decimals == 8 ? QStringLiteral("en") : QStringLiteral("ja")};
        tavix::VariableDefinition& v = Var();
        std::tie(v.CrossLineNum, v.NumberOfDecimals, v.MeasureFontSize, v.AngleCommandMode, v.TwoPointCommandMode) =
            std::tie(c.crossLineNum, c.decimals, c.fontSize, c.angleMode, c.twoPointMode);
        for (int i = 1; i <= 3; ++i) v.MeasureLineColor[i] = 0x010101u * i;
        v.ScaleColor = 0x80000005;
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
                for (int i = 0; i < 7; ++i) EXPECT_EQ(d.lblColor[i]->BackColor(), Settings::Now().colors[i]) << i;
                QString shown;
                for (const auto& options : {d.optCrossLineNum, d.optAngleCommand, d.opt2PointCommand})
                    shown += QString::number(options[0]->Value()) + QString::number(options[1]->Value()) + u' ';
                EXPECT_EQ(shown + d.cboDec->Text() + u' ' + d.cboFontSize->Text(), QLatin1String(c.shown));
            },
            false);
    }
}

// Cancel keeps the settings, OK stores them for the ini file at exit; after either the window is
// rebuilt from the settings: captions, icons and the next command, colours, font, the grid's texts.
TEST(MeasureConfigDialog, OkStoresCancelKeepsBothRebuildTheWindowTheIniReadsBack) {
    const struct {
        bool ok;
        int16_t twoPoint, angle;
        const char* shown;  // the distance of 3.14159 in the grid
    } cases[] = {{false, 1, 1, "3.14"}, {true, 1, 0, "3"}, {true, 0, 1, "3"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "OK " << c.ok << ", modes " << c.twoPoint << c.angle);
        Config w;
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
        EXPECT_NE(f.img2PointIcon[0]->GetPicture().cacheKey(), f.img2PointIcon[1]->GetPicture().cacheKey());
        EXPECT_EQ(std::tuple(f.picCrossLineV[1]->BackColor(), f.linMeasure[0]->BorderColor(),
                             f.shaMeasure[0]->BorderColor(), f.picStillView->FontSize()),
                  std::tuple(v.CrossLineColor, v.MeasureLineColor[3], v.MeasureLineColor[3], v.MeasureFontSize));
        // The value reformatted from the record, never rounded in it; a count's text left alone.
        EXPECT_EQ(std::tuple(f.grdResult->TextMatrix(1, 2), f.grdResult->TextMatrix(2, 2), v.ResultTable[1].Value),
                  std::tuple(QString::fromLatin1(c.shown), QStringLiteral("4 counted"), 3.14159));
        EXPECT_FALSE(w.Marked()) << "the still is repainted";
        EXPECT_GT(w.Drawn(), 0) << "with its results";
        tavix::cmdMeasure_Click(f, 0);
        EXPECT_EQ(f.CommandMode, twoPoint ? Cmd::ParallelDistance : Cmd::Distance);
        tavix::EndMeasureCommand(f);
        tavix::cmdMeasure_Click(f, 5);
        EXPECT_EQ(f.CommandMode, angle ? Cmd::TwoLineAngle : Cmd::ThreePointAngle);
        tavix::EndMeasureCommand(f);

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

}  // namespace
