// Recording from the fake UVC camera with the live view running, started and stopped by
// cmdPlayStop as the user does:
//  1. MJPG 1920x1080 at 30/s to a folder on disk: frames shown per second, the movie's length
//     against the time recorded, and CPU per frame against the live view alone for as long.
//  2. YUY2 640x480 at 30/s (18 MB/s) to a file writer held to 10 MB/s: frames shown per
//     second, the time the stop takes, the movie's length and the frames not written.
//
//   bench_record [seconds]   length of the first recording (default 60); the second is half
#include <gst/gst.h>
#include <gst/pbutils/pbutils.h>

#include <QFile>
#include <QRegularExpression>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "CameraView.h"
#include "FakeCamera.h"
#include "Graph.h"
#include "Ini.h"
#include "PictureBox.h"

namespace {

using Clock = std::chrono::steady_clock;

// The installation opens the fake camera in this format.
std::function<bool(const QString&)> CameraIn(const char* format, int width, int height) {
    return [=](const QString& folder) {
        vb::WritePrivateProfileString(QStringLiteral("CAMERA"), QStringLiteral("CAMERAFILTERNAME"),
                                      QStringLiteral(FAKECAM_NAME), folder + QStringLiteral("/Tavix.Ini"));
        QFile file(folder + QStringLiteral("/Tavix.grf"));
        const QByteArray text =
            "TavixGraph 1\ncamera=" FAKECAM_NAME "\ndevice=/fakecam/video0\nwidth=" + QByteArray::number(width) +
            "\nheight=" + QByteArray::number(height) + "\nformat=" + format + "\nrate=30/1\n";
        return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(text) == text.size();
    };
}

double MovieSeconds(const QString& path) {
    GstDiscoverer* discoverer = gst_discoverer_new(10 * GST_SECOND, nullptr);
    gchar* uri = gst_filename_to_uri(QFile::encodeName(path).constData(), nullptr);
    GstDiscovererInfo* info = gst_discoverer_discover_uri(discoverer, uri, nullptr);
    const double s = info ? double(gst_discoverer_info_get_duration(info)) / GST_SECOND : 0;
    if (info) gst_discoverer_info_unref(info);
    g_free(uri);
    g_object_unref(discoverer);
    return s;
}

// Counts the frames the live view shows: its repaints with a frame it had not shown before.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(vb::PictureBox& view) : view_(view) { view.ClientWidget()->installEventFilter(this); }
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() != QEvent::Paint) return false;
        const QImage frame = view_.VideoFrame();
        if (!frame.isNull() && frame.cacheKey() != lastKey_) ++paints, lastKey_ = frame.cacheKey();
        return false;
    }

private:
    vb::PictureBox& view_;
    qint64 lastKey_ = 0;
};

// Boxes are answered and kept: the one after a stop tells the frames not written.
struct RecordHost : bench::BenchHost {
    QStringList boxes;
    int MsgBox(const QString& prompt, int, const QString&, QWidget*) override {
        boxes << prompt;
        return vb::vbOK;
    }
};

struct Figures {
    double seconds = 0, shownPerSecond = 0, cpuPerFrameMs = 0, stopMs = 0, movieSeconds = 0;
    long long notWritten = 0;
};

Figures Record(bench::BenchWindow& w, PaintCounter& shown, int seconds, const QString& path) {
    RecordHost host;
    vb::SetHost(&host);
    w.f.MovieFileName = path;
    w.f.RecordSecondsLeft = 900;
    w.f.CommandMode = tavix::CommandMode::MovieArmed;
    Figures r;
    const int paints0 = shown.paints;
    const double cpu0 = CpuSeconds();
    const auto t0 = Clock::now();
    tavix::cmdPlayStop_Click(w.f);
    if (w.f.CommandMode != tavix::CommandMode::Recording) bench::Stop("recording", QStringLiteral("not started"));
    bench::Spin(seconds * 1000);
    const auto t1 = Clock::now();
    tavix::cmdPlayStop_Click(w.f);
    r.stopMs = std::chrono::duration<double, std::milli>(Clock::now() - t1).count();
    r.seconds = std::chrono::duration<double>(t1 - t0).count();
    r.shownPerSecond = (shown.paints - paints0) / r.seconds;
    r.cpuPerFrameMs = (CpuSeconds() - cpu0) * 1000 / std::max(1, shown.paints - paints0);
    r.movieSeconds = MovieSeconds(path);
    for (const QString& box : host.boxes)
        if (const auto m = QRegularExpression(QStringLiteral("\\d+")).match(box); m.hasMatch())
            r.notWritten += m.captured().toLongLong();
    vb::SetHost(&w.host);
    return r;
}

void Print(const char* what, const Figures& r, double liveCpuPerFrameMs) {
    std::printf("%s: %.1f s recorded\n", what, r.seconds);
    std::printf("  frames shown: %.2f/s (goal 30.0)\n", r.shownPerSecond);
    std::printf("  movie: %.3f s, %+.3f s against the time recorded (goal within one frame, 0.033 s)\n", r.movieSeconds,
                r.movieSeconds - r.seconds);
    std::printf("  stop: %.0f ms (goal under 1000 ms); frames not written: %lld\n", r.stopMs, r.notWritten);
    if (liveCpuPerFrameMs > 0)
        std::printf("  CPU per frame shown: %.2f ms, %.2fx the live view alone (%.2f ms; goal within 1.3x)\n",
                    r.cpuPerFrameMs, r.cpuPerFrameMs / liveCpuPerFrameMs, liveCpuPerFrameMs);
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(2, std::atoi(argv[1])) : 60;
    gst_init(nullptr, nullptr);
    QTemporaryDir out(QStringLiteral("/var/tmp/bench_record.XXXXXX"));  // a disk, not RAM
    fakecam_plug(FakeCamUvc);

    {
        bench::BenchWindow w(1, CameraIn("MJPG", 1920, 1080));
        w.SizeView(1920 + 40, 1080 + 40);
        PaintCounter shown(*w.f.picCameraView);
        bench::Spin(1000);
        // The live view alone for as long, for the CPU ratio.
        const int paints0 = shown.paints;
        const double cpu0 = CpuSeconds();
        bench::Spin(seconds * 1000);
        const double liveCpu = (CpuSeconds() - cpu0) * 1000 / std::max(1, shown.paints - paints0);
        std::printf("live view alone: %.2f frames shown/s\n", (shown.paints - paints0) / double(seconds));
        Print("MJPG 1920x1080 at 30/s to a disk", Record(w, shown, seconds, out.filePath(QStringLiteral("fast.avi"))),
              liveCpu);
    }
    {
        bench::BenchWindow w(1, CameraIn("YUY2", 640, 480));
        w.SizeView(640 + 40, 480 + 40);
        PaintCounter shown(*w.f.picCameraView);
        bench::Spin(1000);
        w.f.FilterGraph->SetFaults({.writerBytesPerSecond = 10'000'000});
        Print("YUY2 640x480 at 30/s (18 MB/s) to a writer held to 10 MB/s",
              Record(w, shown, seconds / 2, out.filePath(QStringLiteral("slow.avi"))), 0);
    }
    fakecam_plug(FakeCamNone);
    return 0;
}
