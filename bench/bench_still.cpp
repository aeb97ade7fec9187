// Repainting the still at three zooms and opening a 4000x3000 JPEG, against bare Qt drawing
// the same visible part and decoding the same file in the same run.
#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "Controls.h"
#include "OpenImage.h"
#include "Pictures.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"
#include "frmMain.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir pictures;
    const QString path = pictures.filePath(QStringLiteral("large.jpg"));
    if (!bench::MakeJpeg(path)) return 1;
    bench::BenchWindow w(2);
    w.host.Path = path;
    tavix::frmMain& f = w.f;
    w.SizeView(1900, 1000);
    const int viewW = w.ViewW(), viewH = w.ViewH();

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
        const QRectF placed((viewW - pic.width() * zoom) / 2, (viewH - pic.height() * zoom) / 2, pic.width() * zoom,
                            pic.height() * zoom);
        const QRectF target = placed & QRectF(0, 0, viewW, viewH);
        const QRectF source((target.x() - placed.x()) / zoom, (target.y() - placed.y()) / zoom, target.width() / zoom,
                            target.height() / zoom);
        const double bare = MedianMs(runs, [&] {
            QImage canvas(viewW, viewH, QImage::Format_RGB32);
            canvas.fill(Qt::black);
            QPainter p(&canvas);
            p.setRenderHint(QPainter::SmoothPixmapTransform, zoom < 1.0);
            p.drawImage(target, pic, source);
        });
        std::printf(
            "DispImage at x %.1f: median %.2f ms; bare drawImage: median %.2f ms; ratio %.2f "
            "(goal: within 1.5x and under 30 ms)\n",
            zoom, ours, bare, ours / bare);
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
    std::printf(
        "LoadPicture 4000x3000 JPEG: median %.2f ms; bare QImage::load: median %.2f ms; ratio %.2f "
        "(goal: within 1.2x)\n",
        load, bareLoad, load / bareLoad);
    std::printf("cmdPicLoad_Click (load, comment, display at x 1.0): median %.2f ms; ratio %.2f to the bare load\n",
                open, open / bareLoad);
    return 0;
}
