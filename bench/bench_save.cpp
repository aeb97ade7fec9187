// Saving a 4000x3000 still through the save button, as JPEG (over the temporary bitmap) and
// as BMP, against bare Qt writing the same picture to a file in the same run.
#include <QApplication>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QTemporaryDir>
#include <cstdio>
#include <unistd.h>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "OpenImage.h"
#include "SaveImage.h"
#include "VariableDefinition.h"
#include "frmMain.h"

namespace {

// The bench host that also answers the save dialog.
class SaveHost : public bench::BenchHost {
public:
    QString SavePath;
    bool ShowSave(vb::CommonDialog& dlg, QWidget*) override {
        dlg.FileName = SavePath;
        return true;
    }
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QTemporaryDir pictures;
    const QString source = pictures.filePath(QStringLiteral("large.jpg"));
    if (!bench::MakeJpeg(source)) return 1;
    bench::BenchWindow w(2);
    SaveHost host;
    host.Path = source;
    vb::SetHost(&host);
    tavix::frmMain& f = w.f;
    w.SizeView(1900, 1000);
    tavix::cmdPicLoad_Click(f);
    const QImage pic = f.picTempView->GetPicture();
    if (pic.size() != QSize(4000, 3000)) return 1;
    // The whole picture, not the part the view shows.
    tavix::Var().Still1xSave = 1;
    tavix::Var().JpegQty = 90;

    const int runs = 9;
    const auto save = [&](const QString& name) {
        host.SavePath = pictures.filePath(name);
        return MedianMs(runs, [&] { tavix::cmdPicSave_Click(f); });
    };
    const double jpeg = save(QStringLiteral("ours.jpg"));
    const double bareJpeg = MedianMs(runs, [&] {
        QImageWriter writer(pictures.filePath(QStringLiteral("bare.jpg")), "jpeg");
        writer.setQuality(90);
        if (!writer.write(pic)) bench::Stop("bare JPEG write");
    });
    // The program syncs what it saves before it counts as saved; a bare write that does the same.
    const double syncedJpeg = MedianMs(runs, [&] {
        QFile file(pictures.filePath(QStringLiteral("synced.jpg")));
        if (!file.open(QIODevice::WriteOnly)) bench::Stop("bare synced JPEG open");
        QImageWriter writer(&file, "jpeg");
        writer.setQuality(90);
        if (!writer.write(pic) || !file.flush() || ::fsync(file.handle()) != 0) bench::Stop("bare synced JPEG write");
    });
    if (QFileInfo(pictures.filePath(QStringLiteral("ours.jpg"))).size() == 0) bench::Stop("no JPEG written");
    std::printf(
        "cmdPicSave_Click 4000x3000 JPEG q90 (temporary BMP included): median %.2f ms; bare QImageWriter: "
        "median %.2f ms; ratio %.2f (goal: within 1.5x: %s); bare and synced: median %.2f ms, ratio %.2f\n",
        jpeg, bareJpeg, jpeg / bareJpeg, jpeg / bareJpeg <= 1.5 ? "met" : "NOT met", syncedJpeg, jpeg / syncedJpeg);

    const double bmp = save(QStringLiteral("ours.bmp"));
    const double bareBmp = MedianMs(runs, [&] {
        if (!pic.save(pictures.filePath(QStringLiteral("bare.bmp")), "BMP")) bench::Stop("bare BMP write");
    });
    if (QFileInfo(pictures.filePath(QStringLiteral("ours.bmp"))).size() == 0) bench::Stop("no BMP written");
    std::printf(
        "cmdPicSave_Click 4000x3000 BMP: median %.2f ms; bare QImage::save: median %.2f ms; ratio %.2f "
        "(goal: within 1.2x)\n",
        bmp, bareBmp, bmp / bareBmp);
    return 0;
}
