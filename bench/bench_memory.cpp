// Peak resident memory of a window that opened a 4000x3000 picture and shows it at x 2.0,
// against the peak right after the application started.
#include <QApplication>
#include <QFile>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>

#include "BenchWindow.h"
#include "Controls.h"
#include "OpenImage.h"
#include "VariableDefinition.h"
#include "frmMain.h"

namespace {

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
        return bench::MakeJpeg(QString::fromLocal8Bit(argv[2])) ? 0 : 1;
    }
    QApplication app(argc, argv);
    const double startup = PeakMb();
    QTemporaryDir pictures;
    const QString path = pictures.filePath(QStringLiteral("large.jpg"));
    if (QProcess::execute(QCoreApplication::applicationFilePath(), {QStringLiteral("--make"), path}) != 0) return 1;
    bench::BenchWindow w(2);
    w.host.Path = path;
    tavix::frmMain& f = w.f;
    w.SizeView(1900, 1000);

    tavix::cmdPicLoad_Click(f);
    int item = -1;
    for (int i = 0; i < f.cboScale->ListCount(); ++i)
        if (f.cboScale->List(i) == QLatin1String("x 2.0")) item = i;
    if (item < 0) return 1;
    f.cboScale->SetListIndex(item);
    // The window paints what it now shows, as it would on screen.
    QCoreApplication::processEvents();
    if (tavix::Var().ZoomFactor != 2.0 || f.picTempView->GetPicture().size() != QSize(4000, 3000)) return 1;
    std::printf(
        "peak resident memory with a 4000x3000 picture at x 2.0: %.1f MB (goal: under 250 MB); "
        "right after application start: %.1f MB\n",
        PeakMb(), startup);
    return 0;
}
