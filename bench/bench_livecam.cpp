// The live view on the fake UVC camera of the tests (linked in, so v4l2src runs the real
// V4L2 path): MJPG 1920x1080 and YUYV 640x480, both at 30 frames per second. For each:
// frames shown per second and the process's CPU time per frame, against a bare
// v4l2src pipeline on the same camera in the same run; then the time from a window resize,
// an unfreeze and a zoom change to the next live frame shown.
//
//   bench_livecam [seconds [MJPG|YUYV]]   each live measurement that long (default 60), one
//                                        format only if named
#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <QElapsedTimer>
#include <QEvent>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "BareSink.h"
#include "BenchUtil.h"
#include "BenchWindow.h"
#include "CameraView.h"
#include "FakeCamera.h"
#include "Graph.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Case {
    const char* name;
    const char* format;  // in the graph file
    int width, height;
    const char* bareCaps;
    const char* bareDecode;
};
const Case kCases[] = {
    {"MJPG 1920x1080@30", "MJPG", 1920, 1080, "image/jpeg,width=1920,height=1080,framerate=30/1", "jpegdec ! "},
    {"YUYV 640x480@30", "YUY2", 640, 480, "video/x-raw,format=YUY2,width=640,height=480,framerate=30/1", ""},
};
constexpr int kRate = 30;

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v.empty() ? 0 : v[v.size() / 2];
}

// Counts the new frames painted in the camera view, with the time of the last.
class FrameCounter : public QObject {
public:
    explicit FrameCounter(tavix::frmMain& f) : f_(f) { f.picCameraView->ClientWidget()->installEventFilter(this); }
    int Frames() const { return frames_; }
    Clock::time_point Last() const { return last_; }

protected:
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() != QEvent::Paint || f_.ViewMode != tavix::ViewMode::Live) return false;
        const QImage canvas = f_.picCameraView->VideoFrame();
        if (canvas.isNull() || canvas.cacheKey() == lastKey_) return false;
        lastKey_ = canvas.cacheKey();
        ++frames_;
        last_ = Clock::now();
        return false;
    }

private:
    tavix::frmMain& f_;
    qint64 lastKey_ = 0;
    int frames_ = 0;
    Clock::time_point last_;
};

struct LiveFigures {
    int frames = 0;
    double seconds = 0, cpu = 0, uiCpu = 0;  // the whole process, and the UI thread alone
    double Fps() const { return frames / seconds; }
    double CpuPerFrameMs() const { return frames ? cpu * 1000 / frames : 0; }
};

// Adds the frames and CPU of that many seconds, after a second of warm-up.
template <class Count>
void MeasureLive(int seconds, Count&& count, LiveFigures& sum) {
    const auto threadCpu = [] {
        rusage u{};
        getrusage(RUSAGE_THREAD, &u);
        return double(u.ru_utime.tv_sec + u.ru_stime.tv_sec) + double(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
    };
    bench::Spin(1000);
    const int frames0 = count();
    const double cpu0 = CpuSeconds(), ui0 = threadCpu();
    const auto t0 = Clock::now();
    bench::Spin(seconds * 1000);
    sum.frames += count() - frames0;
    sum.cpu += CpuSeconds() - cpu0;
    sum.uiCpu += threadCpu() - ui0;
    sum.seconds += std::chrono::duration<double>(Clock::now() - t0).count();
}

// The bare pipeline on the twin camera, so that the live view's camera stays open meanwhile.
struct BarePipeline {
    GstElement* pipeline = nullptr;
    static inline std::atomic<int> frames{0};
    explicit BarePipeline(const Case& c) {
        const QByteArray description = QByteArray("v4l2src device=/fakecam/video2 ! ") + c.bareCaps + " ! " +
                                       c.bareDecode +
                                       "videoconvert ! appsink name=sink caps=video/x-raw,format=BGRx max-buffers=1 "
                                       "drop=true sync=false";
        GError* error = nullptr;
        pipeline = gst_parse_launch(description.constData(), &error);
        if (error) std::printf("bare pipeline: %s\n", error->message);
        g_clear_error(&error);
        if (!pipeline) return;
        bench::CountFramesAtSink(pipeline, &frames);
    }
    ~BarePipeline() {
        if (!pipeline) return;
        gst_element_set_state(pipeline, GST_STATE_NULL);
        gst_object_unref(pipeline);
    }
    bool Measure(int seconds, LiveFigures& sum) {
        if (!pipeline || gst_element_set_state(pipeline, GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) return false;
        MeasureLive(
            seconds, [] { return frames.load(); }, sum);
        gst_element_set_state(pipeline, GST_STATE_PAUSED);
        return true;
    }
};

// The fake camera named in the ini file, its format in the graph file.
std::function<bool(const QString&)> Prepare(const Case& c) {
    return [&c](const QString& folder) {
        QFile ini(folder + QStringLiteral("/Tavix.Ini"));
        if (!ini.open(QIODevice::ReadOnly)) return false;
        QByteArray text = ini.readAll();
        ini.close();
        text.replace("CAMERAFILTERNAME=Tavix Test Camera", "CAMERAFILTERNAME=" FAKECAM_NAME);
        QFile grf(folder + QStringLiteral("/Tavix.grf"));
        const QByteArray graph =
            "TavixGraph 1\ncamera=" FAKECAM_NAME "\ndevice=/fakecam/video0\nwidth=" + QByteArray::number(c.width) +
            "\nheight=" + QByteArray::number(c.height) + "\nformat=" + c.format +
            "\nrate=" + QByteArray::number(kRate) + "/1\n";
        return ini.open(QIODevice::WriteOnly | QIODevice::Truncate) && ini.write(text) == text.size() &&
               grf.open(QIODevice::WriteOnly | QIODevice::Truncate) && grf.write(graph) == graph.size();
    };
}

void SelectZoom(tavix::frmMain& f, const char* item) {
    for (int i = 0; i < f.cboScale->ListCount(); ++i)
        if (f.cboScale->List(i) == QLatin1String(item)) f.cboScale->SetListIndex(i);
}

// Median time from the action (which says when it began) to the next new frame painted,
// after fresh frames each time.
template <class Action>
void TimeToNextFrame(const char* what, tavix::frmMain& f, FrameCounter& counter, Action&& action) {
    std::vector<double> times;
    int missed = 0;
    for (int i = 0; i < 21; ++i) {
        int before = counter.Frames();
        if (!bench::WaitFor(3000, [&] { return counter.Frames() >= before + 2; })) break;
        before = counter.Frames();
        const Clock::time_point t0 = action(i);
        if (!bench::WaitFor(3000, [&] { return counter.Frames() > before; })) {
            ++missed;
            continue;
        }
        times.push_back(std::chrono::duration<double, std::milli>(counter.Last() - t0).count());
    }
    if (times.empty()) return (void)std::printf("  %s: no frame after it\n", what);
    std::printf(
        "  %s to the next live frame shown: median %.1f ms over %zu, min %.1f, max %.1f%s (goal: under 100 ms)\n", what,
        Median(times), times.size(), *std::min_element(times.begin(), times.end()),
        *std::max_element(times.begin(), times.end()),
        missed ? qPrintable(QStringLiteral("; %1 without a frame in 3 s").arg(missed)) : "");
}

bool RunCase(const Case& c, int seconds) {
    std::printf("%s\n", c.name);
    fakecam_plug(FakeCamTwins);
    auto w = std::make_unique<bench::BenchWindow>(1, Prepare(c));
    tavix::frmMain& f = w->f;
    SelectZoom(f, "x 1.0");
    w->SizeView(c.width + 40, c.height + 40);
    FrameCounter counter(f);
    if (!bench::WaitFor(5000, [&] { return counter.Frames() >= 3; }))
        return std::printf("  no live frame in 5 s\n"), false;
    if (f.FilterGraph->GetVideoSize() != QSize(c.width, c.height)) return std::printf("  wrong size\n"), false;

    // In turns of up to 10 s, so that both see the same load of a shared machine.
    BarePipeline barePipeline(c);
    LiveFigures bare, ours;
    for (int left = seconds; left > 0; left -= 10) {
        f.FilterGraph->Pause();
        if (!barePipeline.Measure(std::min(left, 10), bare)) return std::printf("  bare pipeline failed\n"), false;
        f.FilterGraph->Run();
        MeasureLive(
            std::min(left, 10), [&] { return counter.Frames(); }, ours);
    }
    std::printf("  bare v4l2src pipeline: %.2f frames/s, CPU %.3f ms per frame\n", bare.Fps(), bare.CpuPerFrameMs());
    std::printf(
        "  live view: %.2f frames shown/s (goal: 30.0), CPU %.3f ms per frame shown (UI thread %.3f), ratio %.2f to "
        "the bare pipeline (goal: within 1.3x)\n",
        ours.Fps(), ours.CpuPerFrameMs(), ours.frames ? ours.uiCpu * 1000 / ours.frames : 0,
        ours.CpuPerFrameMs() / bare.CpuPerFrameMs());

    const int opens = fakecam_stream_opens();
    TimeToNextFrame("window resize", f, counter, [&](int i) {
        const auto t0 = Clock::now();
        f.SetWidth(f.Width() + (i % 2 ? -600 : 600));
        QCoreApplication::processEvents();
        return t0;
    });
    TimeToNextFrame("unfreeze", f, counter, [&](int) {
        tavix::cmdPlayStop_Click(f);  // to the still
        bench::Spin(200);
        const auto t0 = Clock::now();
        tavix::cmdPlayStop_Click(f);  // live again
        return t0;
    });
    TimeToNextFrame("zoom change", f, counter, [&](int i) {
        const auto t0 = Clock::now();
        SelectZoom(f, i % 2 ? "x 1.0" : "x 0.5");
        return t0;
    });
    std::printf("  camera opened %d times in these 63 steps\n", fakecam_stream_opens() - opens);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
    gst_init(nullptr, nullptr);
    bool ok = true;
    for (const Case& c : kCases)
        if (argc < 3 || QByteArray(c.name).startsWith(argv[2])) ok = RunCase(c, seconds) && ok;
    fakecam_plug(FakeCamNone);
    return ok ? 0 : 1;
}
