// Repainting the still at three zooms and opening a 4000x3000 JPEG, against bare Qt drawing
// the same visible part and decoding the same file in the same run.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

#include "App.h"
#include "BenchUtil.h"
#include "Controls.h"
#include "DialogHost.h"
#include "OpenImage.h"
#include "Pictures.h"
#include "Startup.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"
#include "Wiring.h"
#include "frmMain.h"

namespace {

[[noreturn]] void Stop(const char* what, const QString& text = {}) {
    std::printf("unexpected %s %s\n", what, qPrintable(text));
    std::exit(1);
}

// Answers the file dialog with one path; anything else modal means the run went wrong.
class PathHost : public vb::DialogHost {
public:
    QString Path;
    int MsgBox(const QString& prompt, int, const QString& title, QWidget*) override { Stop("box:", title + QStringLiteral(": ") + prompt); }
    bool ShowOpen(vb::CommonDialog& dlg, QWidget*) override { dlg.FileName = Path; return true; }
    bool ShowSave(vb::CommonDialog&, QWidget*) override { Stop("save dialog"); }
    bool ShowColor(vb::CommonDialog&, QWidget*) override { Stop("colour dialog"); }
    void ShowModal(vb::Form&, QWidget*) override { Stop("modal form"); }
    void SetBusy(bool) override {}
    void End(int code) override { Stop("end", QString::number(code)); }
};

// Gradients under noise, so the JPEG is not trivially small; a fixed seed keeps it the same.
bool MakeJpeg(const QString& path) {
    QImage img(4000, 3000, QImage::Format_RGB32);
    QRandomGenerator rng(20240611);
    for (int y = 0; y < img.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(img.scanLine(y));
        for (int x = 0; x < img.width(); ++x) {
            const quint32 n = rng.generate();
            line[x] = qRgb(x * 224 / 4000 + (n & 31), y * 224 / 3000 + ((n >> 8) & 31),
                           (x + y) * 224 / 7000 + ((n >> 16) & 31));
        }
    }
    return img.save(path, "JPEG", 90);
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir install, pictures;
    const QDir deploy(QStringLiteral(TAVIX_SOURCE_DIR "/deploy/ja"));
    for (const QString& name : deploy.entryList(QDir::Files))
        QFile::copy(deploy.filePath(name), install.filePath(name));
    vb::App::SetPath(install.path());
    const QString path = pictures.filePath(QStringLiteral("large.jpg"));
    if (!MakeJpeg(path)) return 1;
    PathHost host;
    host.Path = path;
    vb::SetHost(&host);

    tavix::ResetVariableDefinition();
    tavix::InitResources();
    tavix::frmMain f;
    tavix::WireMain(f);
    if (!tavix::Form_Load(f, 2)) return 1;
    f.show();
    // The frame and borders are whatever the platform makes them: correct by what came out.
    for (int i = 0; i < 2; ++i) {
        f.SetWidth(f.Width() + (1900 - f.picViewArea->ScaleWidth() / 15) * 15);
        f.SetHeight(f.Height() + (1000 - f.picViewArea->ScaleHeight() / 15) * 15);
        QCoreApplication::processEvents();
    }
    const int viewW = qRound(f.picViewArea->ScaleWidth() / 15), viewH = qRound(f.picViewArea->ScaleHeight() / 15);
    std::printf("view area %d x %d px\n", viewW, viewH);

    tavix::cmdPicLoad_Click(f);
    const QImage pic = f.picTempView->GetPicture();
    if (pic.size() != QSize(4000, 3000)) return 1;
    const int runs = 15;
    for (const double zoom : {0.5, 1.0, 2.0}) {
        tavix::Var().ZoomFactor = zoom;
        tavix::DispImage(f, false);
        QCoreApplication::processEvents();
        const double ours = MedianMs(runs, [&] { tavix::DispImage(f, false); });
        // Only the part of the scaled picture that the view shows, centred like the still.
        const QRectF placed((viewW - pic.width() * zoom) / 2, (viewH - pic.height() * zoom) / 2,
                            pic.width() * zoom, pic.height() * zoom);
        const QRectF target = placed & QRectF(0, 0, viewW, viewH);
        const QRectF source((target.x() - placed.x()) / zoom, (target.y() - placed.y()) / zoom,
                            target.width() / zoom, target.height() / zoom);
        const double bare = MedianMs(runs, [&] {
            QImage canvas(viewW, viewH, QImage::Format_RGB32);
            canvas.fill(Qt::black);
            QPainter p(&canvas);
            p.setRenderHint(QPainter::SmoothPixmapTransform, zoom < 1.0);
            p.drawImage(target, pic, source);
        });
        std::printf("DispImage at x %.1f: median %.2f ms; bare drawImage: median %.2f ms; ratio %.2f "
                    "(goal: within 1.5x and under 30 ms)\n", zoom, ours, bare, ours / bare);
    }

    const int loads = 9;
    volatile int sink = 0;
    const double load = MedianMs(loads, [&] { sink = sink + vb::LoadPicture(path).width(); });
    const double bareLoad = MedianMs(loads, [&] {
        QImage image;
        image.load(path);
        sink = sink + image.width();
    });
    const double open = MedianMs(loads, [&] { tavix::cmdPicLoad_Click(f); });
    std::printf("LoadPicture 4000x3000 JPEG: median %.2f ms; bare QImage::load: median %.2f ms; ratio %.2f "
                "(goal: within 1.2x)\n", load, bareLoad, load / bareLoad);
    std::printf("cmdPicLoad_Click (load, comment, display at x 1.0): median %.2f ms; ratio %.2f to the bare load\n",
                open, open / bareLoad);
    return 0;
}
