// Recording the test camera at 640x480, YUY2, 30 frames per second into an AVI file with the
// live view running, against a bare GStreamer pipeline writing the same AVI in the same run:
// frames in the file against frames the camera sent, and the process's CPU time.
//
//   bench_record [seconds]   length of each recording (default 60)
#include <gst/gst.h>

#include <QFile>
#include <QtEndian>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "CameraView.h"
#include "Graph.h"

namespace {

constexpr int kWidth = 640, kHeight = 480, kRate = 30;

bool WriteGraphFile(const QString& folder) {
    QFile file(folder + QStringLiteral("/Tavix.grf"));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) return false;
    const QByteArray text = "TavixGraph 1\ncamera=Tavix Test Camera\ndevice=\nwidth=" + QByteArray::number(kWidth) +
                            "\nheight=" + QByteArray::number(kHeight) +
                            "\nformat=YUY2\nrate=" + QByteArray::number(kRate) + "/1\n";
    return file.write(text) == text.size();
}

// The frame count a finished AVI's header gives: the extended header's over the whole file
// when there is one (past 1 GB the main header counts only the first part), else the main one.
uint32_t FramesInFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return 0;
    const QByteArray head = file.read(8192);
    const qsizetype dmlh = head.indexOf("dmlh");
    if (dmlh >= 0 && head.size() >= dmlh + 12) return qFromLittleEndian<quint32>(head.constData() + dmlh + 8);
    const qsizetype avih = head.indexOf("avih");
    return avih >= 0 && head.size() >= avih + 28 ? qFromLittleEndian<quint32>(head.constData() + avih + 24) : 0;
}

struct Figures {
    double cpu = 0;
    uint64_t sent = 0;
    uint32_t inFile = 0;
};

// The bare pipeline: the test camera's source and clock at the same caps, muxed into a file.
bool BareRecording(int seconds, const QString& path, Figures& out) {
    const QByteArray description =
        "videotestsrc is-live=true pattern=ball ! timeoverlay ! video/x-raw,format=YUY2,width=" +
        QByteArray::number(kWidth) + ",height=" + QByteArray::number(kHeight) +
        ",framerate=" + QByteArray::number(kRate) +
        "/1 ! identity name=count ! queue ! avimux ! filesink location=" + QFile::encodeName(path);
    GError* error = nullptr;
    GstElement* pipeline = gst_parse_launch(description.constData(), &error);
    if (!pipeline || error) {
        std::printf("bare pipeline not made: %s\n", error ? error->message : "?");
        g_clear_error(&error);
        return false;
    }
    static std::atomic<uint64_t> frames;
    frames = 0;
    GstElement* count = gst_bin_get_by_name(GST_BIN(pipeline), "count");
    GstPad* pad = gst_element_get_static_pad(count, "src");
    gst_pad_add_probe(
        pad, GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo*, gpointer) {
            ++frames;
            return GST_PAD_PROBE_OK;
        },
        nullptr, nullptr);
    gst_object_unref(pad);
    gst_object_unref(count);
    const double cpu0 = CpuSeconds();
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    bench::Spin(seconds * 1000);
    gst_element_send_event(pipeline, gst_event_new_eos());
    GstBus* bus = gst_element_get_bus(pipeline);
    GstMessage* m =
        gst_bus_timed_pop_filtered(bus, 10 * GST_SECOND, GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    if (m) gst_message_unref(m);
    gst_object_unref(bus);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    out.cpu = CpuSeconds() - cpu0;
    out.sent = frames.load();
    gst_object_unref(pipeline);
    out.inFile = FramesInFile(path);
    return out.inFile > 0;
}

// The program: armed as the save button leaves it, started and stopped by cmdPlayStop.
bool OurRecording(tavix::frmMain& f, int seconds, const QString& path, Figures& out) {
    f.MovieFileName = path;
    f.RecordSecondsLeft = 900;
    f.CommandMode = tavix::CommandMode::MovieArmed;
    const double cpu0 = CpuSeconds();
    tavix::cmdPlayStop_Click(f);
    if (f.CommandMode != tavix::CommandMode::Recording) return false;
    bench::Spin(seconds * 1000);
    // Stopped through the graph first, so its counts are read before the stop replaces it.
    f.FilterGraph->Stop();
    out.sent = f.FilterGraph->CameraFrames();
    tavix::cmdPlayStop_Click(f);
    out.cpu = CpuSeconds() - cpu0;
    out.inFile = FramesInFile(path);
    return f.CommandMode == tavix::CommandMode::Idle && out.inFile > 0;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 60;
    gst_init(nullptr, nullptr);
    QTemporaryDir out;

    Figures bare, ours;
    if (!BareRecording(seconds, out.filePath(QStringLiteral("bare.avi")), bare)) return 1;

    auto w = std::make_unique<bench::BenchWindow>(1, WriteGraphFile);
    w->SizeView(kWidth + 40, kHeight + 40);
    bench::Spin(1000);
    // What the live view alone costs in the same time, for reading the ratio.
    const double live0 = CpuSeconds();
    bench::Spin(seconds * 1000);
    const double liveCpu = CpuSeconds() - live0;
    if (!OurRecording(w->f, seconds, out.filePath(QStringLiteral("ours.avi")), ours)) {
        std::printf("the recording did not run\n");
        return 1;
    }
    std::printf("recording %d s of %dx%d YUY2 at %d/s\n", seconds, kWidth, kHeight, kRate);
    std::printf("bare pipeline: %llu frames sent, %u in the file, CPU %.2f s\n", (unsigned long long)bare.sent,
                bare.inFile, bare.cpu);
    std::printf("program (live view running): %llu frames sent, %u in the file, %lld dropped (goal: 0), CPU %.2f s\n",
                (unsigned long long)ours.sent, ours.inFile, (long long)ours.sent - (long long)ours.inFile, ours.cpu);
    std::printf("CPU ratio to the bare pipeline: %.2f (goal: within 1.5x)\n", ours.cpu / bare.cpu);
    std::printf(
        "the live view alone for as long: CPU %.2f s; the recording's own share %.2f s, ratio %.2f to the bare "
        "pipeline\n",
        liveCpu, ours.cpu - liveCpu, (ours.cpu - liveCpu) / bare.cpu);
    return 0;
}
