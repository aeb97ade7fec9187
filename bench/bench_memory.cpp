// Peak resident memory of a window that opened a 4000x3000 picture and shows it at x 2.0,
// against the peak right after the application started.
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

#include "App.h"
#include "Controls.h"
#include "DialogHost.h"
#include "OpenImage.h"
#include "Startup.h"
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

// VmHWM of this process in MB, or -1.
double PeakMb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly)) return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:")) return line.mid(6).trimmed().split(' ').first().toDouble() / 1024;
    return -1;
}

}  // namespace

int main(int argc, char** argv) {
    // The picture is made by a child run of this program so that its pixels do not count here.
    if (argc == 3 && QByteArray(argv[1]) == "--make") {
        QCoreApplication maker(argc, argv);
        return MakeJpeg(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
    }
    QApplication app(argc, argv);
    const double startup = PeakMb();
    QTemporaryDir install, pictures;
    const QDir deploy(QStringLiteral(TAVIX_SOURCE_DIR "/deploy/ja"));
    for (const QString& name : deploy.entryList(QDir::Files))
        QFile::copy(deploy.filePath(name), install.filePath(name));
    vb::App::SetPath(install.path());
    const QString path = pictures.filePath(QStringLiteral("large.jpg"));
    if (QProcess::execute(QCoreApplication::applicationFilePath(), {QStringLiteral("--make"), path}) != 0) return 1;
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
    std::printf("view area %d x %d px\n", qRound(f.picViewArea->ScaleWidth() / 15),
                qRound(f.picViewArea->ScaleHeight() / 15));

    tavix::cmdPicLoad_Click(f);
    int item = -1;
    for (int i = 0; i < f.cboScale->ListCount(); ++i)
        if (f.cboScale->List(i) == QLatin1String("x 2.0")) item = i;
    if (item < 0) return 1;
    f.cboScale->SetListIndex(item);
    // The window paints what it now shows, as it would on screen.
    QCoreApplication::processEvents();
    if (tavix::Var().ZoomFactor != 2.0 || f.picTempView->GetPicture().size() != QSize(4000, 3000)) return 1;
    std::printf("peak resident memory with a 4000x3000 picture at x 2.0: %.1f MB (goal: under 250 MB); "
                "right after application start: %.1f MB\n", PeakMb(), startup);
    return 0;
}
