// cmdMeasureConfig answered with OK (no change, then one change of decimals) to the still
// repainted with 99 results and the scale bar, against the repaint alone and a bare Qt form of
// the same widgets built and thrown away, in the same run.
#include <QApplication>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QRandomGenerator>
#include <algorithm>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "ResultDrawing.h"
#include "frmMeasureConfig.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"
#include "frmMain.h"

using tavix::ResultRecord;

namespace {

constexpr int kW = 1920, kH = 1080;

// Presses OK in the settings dialog, after one change when asked; any other form stops the run.
class ConfigHost : public bench::BenchHost {
public:
    bool changeDecimals = false;
    int shown = 0;
    void ShowModal(vb::Form& form, QWidget*) override {
        auto* d = dynamic_cast<tavix::frmMeasureConfig*>(&form);
        if (!d) bench::Stop("modal form", form.Name());
        ++shown;
        if (changeDecimals) d->cboDec->SetListIndex(d->cboDec->ListIndex() == 2 ? 3 : 2);
        d->cmdOK->Click();
    }
};

// The same widgets as the dialog, made, filled and thrown away with plain Qt.
void BareForm() {
    QWidget form;
    QGroupBox* frames[3];
    for (auto*& g : frames) g = new QGroupBox(QStringLiteral("frame"), &form);
    for (int i = 0; i < 2; ++i) new QWidget(frames[2]);
    for (int i = 0; i < 12; ++i) new QLabel(QStringLiteral("caption"), frames[i % 3]);
    for (int i = 0; i < 7; ++i) {
        auto* swatch = new QLabel(frames[i % 2]);
        swatch->setFrameStyle(QFrame::Panel | QFrame::Sunken);
        QPalette pal = swatch->palette();
        pal.setColor(QPalette::Window, QColor(i * 30, 0, 0));
        swatch->setPalette(pal);
        swatch->setAutoFillBackground(true);
    }
    for (int i = 0; i < 6; ++i) new QRadioButton(QStringLiteral("1"), frames[1 + i % 2]);
    for (int c = 0; c < 2; ++c) {
        auto* combo = new QComboBox(frames[2]);
        for (int i = 0; i < 9; ++i) combo->addItem(QString::number(i));
        combo->setCurrentIndex(2);
    }
    new QPushButton(QStringLiteral("&OK"), &form);
    new QPushButton(QStringLiteral("Cancel"), &form);
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    bench::BenchWindow w(3);
    ConfigHost host;
    vb::SetHost(&host);
    tavix::frmMain& f = w.f;
    w.SizeView(kW, kH);

    const QImage pic = bench::GradientPicture(kW, kH);
    f.picTempView->SetPicture(pic);
    tavix::Var().ZoomFactor = 1.0;
    const std::vector<ResultRecord> records = bench::MakeRecords(99);
    std::copy(records.begin(), records.end(), tavix::Var().ResultTable.begin() + 1);
    f.ResultCount = 99;
    for (int i = 1; i <= 99; ++i) f.grdResult->SetTextMatrix(i, 2, QStringLiteral("0"));

    // The box is checked without its dialog: only the drawing of the bar is measured.
    const auto chkScaleClick = std::move(f.chkScale->OnClick);
    f.chkScale->OnClick = nullptr;
    f.chkScale->SetValue(1);
    f.chkScale->OnClick = chkScaleClick;

    const int runs = 41;
    const auto repaint = [&] {
        tavix::DispImage(f, false);
        tavix::DrawMeasureResults(f);
    };
    for (const bool change : {false, true}) {
        host.changeDecimals = change;
        const auto [ours, alone] = MedianMsInTurn(
            runs, [&] { f.cmdMeasureConfig->Click(); }, repaint);
        const double bare = MedianMs(runs, BareForm);
        std::printf(
            "cmdMeasureConfig OK (%s), 99 results and the scale bar: median %.2f ms (goal: under 30 ms); "
            "repaint alone %.2f ms + bare Qt form %.2f ms; ratio %.2f\n",
            change ? "decimals changed" : "no change", ours, alone, bare, ours / (alone + bare));
    }
    // Where the difference lies: the dialog made, loaded and thrown away.
    const double dialog = MedianMs(runs, [] {
        tavix::frmMeasureConfig d;
        d.Form_Load();
    });
    std::printf("  of which frmMeasureConfig made and loaded: median %.2f ms\n", dialog);
    if (host.shown != 2 * runs) bench::Stop("count:", QStringLiteral("the dialog was not shown on every press"));
    return 0;
}
