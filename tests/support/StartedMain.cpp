#include "StartedMain.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QPainter>
#include <QThread>
#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>

#include "Graph.h"
#include "Startup.h"
#include "VariableDefinition.h"
#include "Wiring.h"

namespace testing_support {

StartedMain::StartedMain(int16_t programType, const QString& deployment) : box(deployment) {
    tavix::ResetVariableDefinition();
    tavix::WireMain(f);
    EXPECT_TRUE(tavix::Form_Load(f, programType));
    f.show();
}

CameraMain::CameraMain(const std::function<void(Sandbox&, ScriptedDialogHost&)>& prepare) {
    tavix::ResetVariableDefinition();
    tavix::WireMain(f);
    if (prepare) prepare(box, host);
    started = tavix::Form_Load(f, 1);
    f.show();
}

bool CameraMain::WaitFor(const std::function<bool()>& done, int ms) { return testing_support::WaitFor(done, ms); }

bool CameraMain::WaitFrame() {
    return WaitFor([this] { return !f.FilterGraph->GetCurrentImage().isNull(); });
}

void Zoom(tavix::frmMain& f, const char* item) {
    for (int i = 0; i < f.cboScale->ListCount(); ++i)
        if (f.cboScale->List(i) == QLatin1String(item)) f.cboScale->SetListIndex(i);
}

QImage QuarterPicture(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    QPainter p(&image);
    const int hw = width / 2, hh = height / 2;
    for (int q = 0; q < 4; ++q)
        p.fillRect(q % 2 ? hw : 0, q / 2 ? hh : 0, q % 2 ? width - hw : hw, q / 2 ? height - hh : hh,
                   QColor::fromRgb(kQuarterColors[q]));
    return image;
}

void ResultsInCyan() {
    tavix::VariableDefinition& v = tavix::Var();
    v.MeasureLineColor[1] = v.MeasureLineColor[2] = v.MeasureValueColor[1] = v.MeasureValueColor[2] = 0xFFFF00;
}

int ResultPixels(const tavix::frmMain& f) { return Pixels(f.picStillView->GetImage(), 0xFF00FFFF); }

int Pixels(const QImage& image, QRgb colour) {
    const QImage rgb = image.convertToFormat(QImage::Format_RGB32);
    const auto* p = reinterpret_cast<const QRgb*>(rgb.constBits());
    return static_cast<int>(std::count(p, p + rgb.width() * rgb.height(), colour));
}

bool Near(QRgb a, QRgb b, int tolerance) {
    return std::abs(qRed(a) - qRed(b)) <= tolerance && std::abs(qGreen(a) - qGreen(b)) <= tolerance &&
           std::abs(qBlue(a) - qBlue(b)) <= tolerance;
}

bool WaitFor(const std::function<bool()>& done, int ms) {
    for (const QDeadlineTimer deadline(ms); !done() && !deadline.hasExpired(); QThread::msleep(5))
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    return done();
}

}  // namespace testing_support
