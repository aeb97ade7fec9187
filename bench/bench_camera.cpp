// The camera variant with the test camera at 1280x720, 30 frames per second: the live view
// (frames shown per second and the process's CPU time per frame), freezing a frame, and the
// start-up to the first live frame shown. Against a bare GStreamer pipeline in the same run:
// the live test source at the same size and rate, converted to BGRx, into a sink that counts.
//
//   bench_camera [seconds]   live view for that many seconds (default 60)
//   bench_camera --startup   one start-up, printing its time (the parent runs several)
//
// A frame counts as shown when the camera view's client repaints with a canvas that changed
// since its last counted repaint while the graph has a frame: the production code is not
// touched.
#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <QElapsedTimer>
#include <QEvent>
#include <QEventLoop>
#include <QTimer>
#include <QProcess>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "BareSink.h"
#include "BenchUtil.h"
#include "BenchWindow.h"
#include "CameraView.h"
#include "Graph.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kWidth = 1280, kHeight = 720, kRate = 30;

// Runs the event loop (sleeping between events) until done() or the time is up; true when done.
// The graph file of the test camera at the benchmark's size and rate.
bool WriteGraphFile(const QString& folder) {
    QFile file(folder + QStringLiteral("/Tavix.grf"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
    const QByteArray text = "TavixGraph 1\ncamera=Tavix Test Camera\ndevice=\nwidth=" + QByteArray::number(kWidth) +
                            "\nheight=" + QByteArray::number(kHeight) + "\nformat=\nrate=" + QByteArray::number(kRate) +
                            "/1\n";
    return file.write(text) == text.size();
}

// The camera variant with the graph file written before the start-up reads it.
struct CameraWindow : bench::BenchWindow {
    CameraWindow() : BenchWindow(1, WriteGraphFile) {}
};

// Counts the frames that reach the camera view on screen.
class FrameCounter : public QObject {
public:
    explicit FrameCounter(tavix::frmMain& f) : f_(f) { f.picCameraView->ClientWidget()->installEventFilter(this); }
    int Frames() const { return frames_; }
    // Set on the first counted repaint whose canvas is not one flat colour (a real picture).
    bool HasFirst() const { return hasFirst_; }
    Clock::time_point First() const { return first_; }

protected:
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() != QEvent::Paint || f_.ViewMode != tavix::ViewMode::Live || !f_.FilterGraph) return false;
        if (f_.FilterGraph->GetVideoSize().isEmpty()) return false;
        const QImage canvas = f_.picCameraView->VideoFrame();
        if (canvas.isNull() || canvas.cacheKey() == lastKey_) return false;
        lastKey_ = canvas.cacheKey();
        ++frames_;
        if (!hasFirst_ && !Flat(canvas)) {
            hasFirst_ = true;
            first_ = Clock::now();
        }
        return false;
    }

private:
    static bool Flat(const QImage& image) {
        const QRgb c = image.pixel(0, 0);
        for (int y = 0; y < image.height(); ++y) {
            const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
            for (int x = 0; x < image.width(); ++x)
                if ((line[x] & 0xffffff) != (c & 0xffffff)) return false;
        }
        return true;
    }
    tavix::frmMain& f_;
    qint64 lastKey_ = 0;
    int frames_ = 0;
    bool hasFirst_ = false;
    Clock::time_point first_;
};

// Counts the repaints of a widget.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget* w) { w->installEventFilter(this); }
    int Paints() const { return paints_; }

protected:
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) ++paints_;
        return false;
    }

private:
    int paints_ = 0;
};

struct LiveFigures {
    int frames = 0;
    double seconds = 0, cpu = 0;
    double Fps() const { return frames / seconds; }
    double CpuPerFrameMs() const { return frames ? cpu * 1000 / frames : 0; }
};

// Frames and CPU over the duration after a one-second warm-up, the event loop running.
template <class Count>
LiveFigures MeasureLive(int seconds, Count&& count) {
    bench::Spin(1000);
    LiveFigures r;
    const int frames0 = count();
    const double cpu0 = CpuSeconds();
    const auto t0 = Clock::now();
    bench::Spin(seconds * 1000);
    r.frames = count() - frames0;
    r.cpu = CpuSeconds() - cpu0;
    r.seconds = std::chrono::duration<double>(Clock::now() - t0).count();
    return r;
}

// The bare pipeline: the same source, size, rate and conversion, into an appsink that counts.
bool BarePipeline(int seconds, bool clock, LiveFigures& out) {
    const QByteArray description =
        "videotestsrc is-live=true pattern=ball " + QByteArray(clock ? "! timeoverlay " : "") +
        "! video/x-raw,width=" + QByteArray::number(kWidth) + ",height=" + QByteArray::number(kHeight) +
        ",framerate=" + QByteArray::number(kRate) +
        "/1 ! queue ! videoconvert ! appsink name=sink caps=video/x-raw,format=BGRx max-buffers=1 drop=true sync=false";
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(description.constData(), &error);
    if (!pipeline || error) {
        std::printf("bare pipeline not made: %s\n", error ? error->message : "?");
        g_clear_error(&error);
        if (pipeline) gst_object_unref(pipeline);
        return false;
    }
    static std::atomic<int> frames;
    frames = 0;
    bench::CountFramesAtSink(pipeline, &frames);
    const bool ok = gst_element_set_state(pipeline, GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
    if (ok) out = MeasureLive(seconds, [] { return frames.load(); });
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    if (!ok) std::printf("bare pipeline did not start\n");
    return ok && out.frames > 0;
}

// One start-up in this process: the time from the start of main to the first live frame shown.
int StartupChild(Clock::time_point mainStart) {
    CameraWindow w;
    FrameCounter counter(w.f);
    if (!bench::WaitFor(10000, [&] { return counter.HasFirst(); })) {
        std::printf("no live frame within 10 s\n");
        return 1;
    }
    std::printf("startup_ms=%.1f\n", std::chrono::duration<double, std::milli>(counter.First() - mainStart).count());
    std::fflush(stdout);
    return 0;
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
    const auto mainStart = Clock::now();
    QApplication app(argc, argv);
    if (argc > 1 && std::strcmp(argv[1], "--startup") == 0) return StartupChild(mainStart);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
    gst_init(nullptr, nullptr);

    // 1. The live view, after the bare pipelines (no window yet, the event loop running).
    LiveFigures bare, bareClock, ours;
    if (!BarePipeline(seconds, false, bare)) return 1;
    if (!BarePipeline(seconds, true, bareClock)) return 1;

    auto w = std::make_unique<CameraWindow>();
    tavix::frmMain& f = w->f;
    w->SizeView(kWidth + 40, kHeight + 40);
    FrameCounter counter(f);
    if (!bench::WaitFor(5000, [&] { return counter.Frames() >= 3; })) {
        std::printf("setup: no live frame shown within 5 s\n");
        return 1;
    }
    std::printf("camera view %d x %d px, video %d x %d, live for %d s\n", f.picCameraView->ClientWidget()->width(),
                f.picCameraView->ClientWidget()->height(), f.FilterGraph->GetVideoSize().width(),
                f.FilterGraph->GetVideoSize().height(), seconds);
    ours = MeasureLive(seconds, [&] { return counter.Frames(); });

    std::printf("bare pipeline: %.2f frames/s, CPU %.3f ms per frame\n", bare.Fps(), bare.CpuPerFrameMs());
    std::printf("bare pipeline with the clock overlay of the test camera: %.2f frames/s, CPU %.3f ms per frame\n",
                bareClock.Fps(), bareClock.CpuPerFrameMs());
    std::printf(
        "live view: %.2f frames shown/s, source rate %d/s, bare %.2f/s; ratio to the source %.3f "
        "(goal: every frame, 1.00)\n",
        ours.Fps(), kRate, bare.Fps(), ours.Fps() / kRate);
    std::printf(
        "live view CPU (whole process): %.3f ms per frame shown; ratio %.2f to the bare pipeline "
        "(goal: within 1.5x), %.2f to the bare pipeline with the clock overlay\n",
        ours.CpuPerFrameMs(), ours.CpuPerFrameMs() / bare.CpuPerFrameMs(),
        ours.CpuPerFrameMs() / bareClock.CpuPerFrameMs());

    // 2. Freezing: the click to the still painted, back live between with fresh frames.
    PaintCounter still(f.picStillView->ClientWidget());
    std::vector<double> freezes;
    int bad = 0;
    for (int i = 0; i < 21; ++i) {
        const int before = counter.Frames();
        if (!bench::WaitFor(3000, [&] { return counter.Frames() >= before + 3; })) {
            std::printf("freeze %d: no fresh live frames\n", i);
            break;
        }
        const int stillPaints = still.Paints();
        const auto t0 = Clock::now();
        tavix::cmdPlayStop_Click(f);
        QCoreApplication::processEvents();
        // Where that pass did not paint the still yet, the time runs on to its repaint.
        if (!bench::WaitFor(1000, [&] { return still.Paints() > stillPaints; })) ++bad;
        freezes.push_back(std::chrono::duration<double, std::milli>(Clock::now() - t0).count());
        if (f.ViewMode != tavix::ViewMode::Still || !f.picStillView->Visible() || f.picStillView->GetImage().isNull())
            ++bad;
        tavix::cmdPlayStop_Click(f);  // back live
        QCoreApplication::processEvents();
    }
    if (!freezes.empty())
        std::printf(
            "freeze (cmdPlayStop_Click to the still painted): median %.2f ms over %zu, min %.2f, max %.2f%s "
            "(goal: under 50 ms)\n",
            Median(freezes), freezes.size(), *std::min_element(freezes.begin(), freezes.end()),
            *std::max_element(freezes.begin(), freezes.end()),
            bad ? qPrintable(QStringLiteral("; %1 without the still shown and painted").arg(bad)) : "");
    w.reset();

    // 3. Start-up to the first live frame, each in a fresh process.
    std::vector<double> startups;
    for (int i = 0; i < 7; ++i) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--startup")});
        if (!child.waitForFinished(30000)) {
            child.kill();
            child.waitForFinished();
            std::printf("start-up run %d: no end within 30 s\n", i);
            continue;
        }
        const QByteArray out = child.readAllStandardOutput();
        const qsizetype at = out.indexOf("startup_ms=");
        if (child.exitCode() != 0 || at < 0) {
            std::printf("start-up run %d failed: %s\n", i, out.trimmed().constData());
            continue;
        }
        startups.push_back(out.mid(at + 11).trimmed().split('\n').front().toDouble());
    }
    if (!startups.empty())
        std::printf(
            "start-up to the first live frame shown (ProgramType 1, fresh process): median %.1f ms over %zu, "
            "min %.1f, max %.1f (goal: under 700 ms)\n",
            Median(startups), startups.size(), *std::min_element(startups.begin(), startups.end()),
            *std::max_element(startups.begin(), startups.end()));
    return 0;
}
