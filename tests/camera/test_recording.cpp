// Recording a movie from the fake UVC camera: arming through the save button, the countdown,
// the stop by the button and by the limit, recordings that cannot go on, and the movie's
// length whatever the camera or the disk drops; a movie left by a recording that never
// ended, repaired.
#include <gst/gst.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QThread>
#include <QtEndian>
#include <gtest/gtest.h>

#include "AviRepair.h"
#include "CommonModule.h"
#include "Drive.h"
#include "FakeCamera.h"
#include "Graph.h"
#include "Recording.h"
#include "StartedMain.h"

#include <sys/resource.h>

#include <csignal>

using tavix::CommandMode;
using tavix::GST;
using testing_support::ReadFile;
using testing_support::WriteFile;

namespace {

constexpr double kGiB = 1073741824.0;

uint32_t At(const QByteArray& b, qsizetype i) { return qFromLittleEndian<uint32_t>(b.constData() + i); }

// A movie's length by ffprobe; -1 unless ffmpeg decodes it to its end without a word.
double Seconds(const QString& path) {
    QProcess probe, decode;
    probe.start("ffprobe", {"-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", path});
    decode.start("ffmpeg", {"-v", "error", "-i", path, "-f", "null", "-"});
    const bool clean =
        decode.waitForFinished(60000) && decode.exitCode() == 0 && decode.readAllStandardError().isEmpty();
    return probe.waitForFinished(60000) && clean ? probe.readAllStandardOutput().toDouble() : -1;
}

// The AVI main header's frame count, written when the movie is finished.
uint32_t HeaderFrames(const QString& path) {
    const QByteArray head = ReadFile(path).left(4096);
    const qsizetype at = head.indexOf("avih");
    return at >= 0 ? At(head, at + 24) : 0;
}

bool Never() { return false; }

// A camera main window on the fake camera at 640x480 YUYV 30 fps, with the drive seen as
// local and roomy, unless a test says otherwise.
struct RecordingMain : testing_support::CameraMain {
    RecordingMain()
        : CameraMain([](testing_support::Sandbox& box, testing_support::ScriptedDialogHost&) {
              fakecam_plug(FakeCamUvc);
              box.UseCamera(FAKECAM_NAME, "device=/fakecam/video0\r\nwidth=640\r\nheight=480\r\nformat=YUY2\r\n");
          }) {
        SetFree(100 * kGiB);
        EXPECT_TRUE(started && WaitFrame());
    }
    ~RecordingMain() { vb::SetDriveProbe({}, {}); }
    void SetFree(double bytes) {
        vb::SetDriveProbe([] { return QStringLiteral("/dev/sda1 / ext4 rw 0 0\n"); },
                          [bytes](const QString&) -> std::optional<double> { return bytes; });
    }
    // Arms a recording to the movie file through the save button, and starts it.
    void Record(const QString& movie, void (*armed)(RecordingMain&) = nullptr) {
        host.AnswerFile(movie);
        f.cmdPicSave->Click();
        ASSERT_EQ(f.CommandMode, CommandMode::MovieArmed);
        if (armed) armed(*this);
        f.cmdPlayStop->Click();
    }
    void RunFor(int ms) { WaitFor(Never, ms); }
    bool LiveAgain() {
        return f.CommandMode == CommandMode::Idle && f.ViewMode == tavix::ViewMode::Live && !f.tmrRec->Enabled() &&
               f.cmdPicSave->Enabled() && f.cmdPicLoad->Enabled() && WaitFrame();
    }
    // The one box shown, of the recording's title, and its text.
    QString Box() {
        EXPECT_EQ(host.Boxes.size(), 1u);
        if (host.Boxes.empty()) return {};
        EXPECT_EQ(host.Boxes[0].Title, GST(11150));
        return host.Boxes[0].Prompt;
    }
};

// Counted down and stopped by the limit; a graph file that cannot be loaded when a later
// recording stops ends the program, the movie finished before.
TEST(Recording, TheLimitStopsItWithABoxAndAGraphFileLostMeanwhileEndsTheProgram) {
    RecordingMain m;
    m.SetFree(2 * kGiB / 0.7);  // two usable: one minute
    m.Record(m.box.File("movie.avi"));
    EXPECT_EQ(m.f.txtComment[1]->Text(), GST(29010, "60"));
    m.RunFor(500);
    m.host.AnswerMsgBox(vb::vbOK);
    // Ticks are given by hand: no event runs between them, so the timer itself cannot tick.
    int ticks = 0;
    while (m.f.CommandMode == CommandMode::Recording && ticks < 100) ++ticks, tavix::tmrRec_Timer(m.f);
    EXPECT_EQ(ticks, 60);
    EXPECT_EQ(m.Box(), GST(20150));
    EXPECT_TRUE(m.LiveAgain());

    m.host.Boxes.clear();
    m.Record(m.box.File("second.avi"));
    m.RunFor(500);
    m.box.Write("Tavix.grf", "not a graph\r\n");
    m.host.AnswerMsgBox(vb::vbOK);
    m.f.cmdPlayStop->Click();
    ASSERT_EQ(m.host.Boxes.size(), 1u);
    EXPECT_EQ(std::pair(m.host.Boxes[0].Prompt, m.host.Ends), std::pair(tavix::FatalText, 1));
    EXPECT_TRUE(m.Logged("LoadGrfFile Error.(13)"));
    EXPECT_GT(HeaderFrames(m.box.File("second.avi")), 0u);
}

TEST(Recording, FailuresStopWithTheReasonAndLeaveALivePicture) {
    using M = RecordingMain&;
    const auto removeFolder = [](M m) { QDir(m.box.File("movies")).removeRecursively(); };
    const auto nearlyFull = [](M m) { m.SetFree(60.0 * 1024 * 1024), tavix::tmrRec_Timer(m.f); };
    const auto replug = [](M) { fakecam_plug(FakeCamUvc); };  // the stream hears at once that its camera went
    const struct {
        const char* name;
        tavix::cam::FilterGraph::Faults faults;
        void (*armed)(M), (*during)(M);  // before the start, and a second into the recording
        const char* log;
        bool movieLeft;  // a finished movie, with its header and index; else no file at all
    } rows[] = {
        {"the writer cannot open the file", {}, removeFolder, nullptr, "BuildRecordGraph Error.(5)", false},
        {"the disk fills", {.writerFailsAfter = 40}, nullptr, nullptr, "tmrRec_Timer Error.(61)", true},
        {"the disk is almost full", {}, nullptr, nearlyFull, "tmrRec_Timer Error.(61)", true},
        {"the camera is lost for a moment", {}, nullptr, replug, "tmrRec_Timer Error.(57)", true},
        {"the folder is removed", {}, nullptr, removeFolder, "tmrRec_Timer Error.(76)", false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        RecordingMain m;
        m.f.FilterGraph->SetFaults(r.faults);
        QDir(m.box.Path()).mkdir("movies");
        const QString file = m.box.File("movies/movie.avi");
        m.host.AnswerMsgBox(vb::vbOK);
        m.Record(file, r.armed);
        if (r.during) m.RunFor(1000), r.during(m);
        ASSERT_TRUE(m.WaitFor([&] { return !m.host.Boxes.empty(); }, 8000));
        const QString box = m.Box();
        EXPECT_TRUE(box.startsWith(GST(20036, "")) && box.size() > GST(20036, "").size()) << "with the reason";
        EXPECT_TRUE(m.Logged(r.log)) << m.box.LogTexts().join(u'\n').toStdString();
        EXPECT_TRUE(m.LiveAgain());
        EXPECT_EQ(std::pair(QFile::exists(file), HeaderFrames(file) > 0), std::pair(r.movieLeft, r.movieLeft));
    }
}

TEST(Movie, LastsAsLongAsTheRecordingWhateverIsDropped) {
    for (const bool slowDisk : {false, true}) {
        SCOPED_TRACE(slowDisk ? "a disk that takes half the camera's 18 MB/s" : "a camera slowed to 15 fps");
        fakecam_set_rate(slowDisk ? 0 : 15);
        RecordingMain m;
        m.f.FilterGraph->SetFaults({.writerBytesPerSecond = slowDisk ? 9'000'000 : 0});
        m.f.MovieFileName = m.box.File("movie.avi");
        QElapsedTimer recording;
        recording.start();
        m.f.CommandMode = CommandMode::Recording;
        tavix::BuildRecordGraph(m.f);
        m.RunFor(3000);
        const double seconds = recording.elapsed() / 1000.0;
        if (slowDisk) m.host.AnswerMsgBox(vb::vbOK);
        QElapsedTimer stop;
        stop.start();
        tavix::StopRecording(m.f);
        EXPECT_LT(stop.elapsed(), 1000);
        // The frames not written are told, as a number.
        ASSERT_EQ(m.host.Boxes.size(), slowDisk ? 1u : 0u);
        if (slowDisk) {
            const QString n = QRegularExpression("\\d+").match(m.host.Boxes[0].Prompt).captured();
            EXPECT_EQ(m.host.Boxes[0].Prompt, GST(20156, n));
            EXPECT_GT(n.toInt(), 10);
            EXPECT_TRUE(m.Logged(QStringLiteral("StopRecording Frames Not Written.(%1)").arg(n)));
        }
        // Measured within two frames at 15 fps and one at 30; one more for a machine under load.
        EXPECT_NEAR(Seconds(m.f.MovieFileName), seconds, (slowDisk ? 2 : 3) / 30.0 + 0.002);
    }
    fakecam_set_rate(0);
}

// A pipeline that ends in this file, playing.
GstElement* Play(const char* description, const QString& path) {
    gst_init(nullptr, nullptr);
    GstElement* p = gst_parse_launch(description + (" location=" + QFile::encodeName(path)), nullptr);
    if (p) gst_element_set_state(p, GST_STATE_PLAYING);
    return p;
}

// The file as it lies on disk while a live recording runs.
QByteArray Unfinished(const QString& path) {
    GstElement* pipeline = Play(
        "videotestsrc is-live=true num-buffers=45 ! video/x-raw,width=160,height=120,"
        "framerate=30/1 ! jpegenc ! avimux ! filesink buffer-mode=unbuffered",
        path);
    if (!pipeline) return {};
    while (QFile(path).size() < 40000) QThread::msleep(5);
    const QByteArray midway = ReadFile(path);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    return midway;
}

// A repaired movie of these frames: ffmpeg plays it to its end, as long as they last.
void ExpectPlays(const QString& path, int frames) { EXPECT_NEAR(Seconds(path), frames / 30.0, 1 / 30.0 + 1e-3); }

// Past 1 GiB the multiplexer starts a second part; a recording cut off there keeps both.
TEST(AviRepair, AMovieOfTwoPartsKeepsBoth) {
    QTemporaryDir dir(QStringLiteral("/var/tmp/tavix-avi.XXXXXX"));  // 1.2 GB: on a disk, not in RAM
    const QString path = dir.filePath(QStringLiteral("big.avi"));
    constexpr qint64 kChunk = 1920 * 1080 * 3 / 2 + 8, kCut = 1'200'000'000;
    GstElement* pipeline = Play(
        "videotestsrc pattern=black ! video/x-raw,format=I420,width=1920,height=1080,framerate=30/1 ! avimux ! "
        "filesink",
        path);
    ASSERT_TRUE(pipeline);
    while (QFile(path).size() < kCut) QThread::msleep(2);
    // Stopped without its end: the multiplexer leaves the file as a crash would.
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    const qint64 size = QFile(path).size();
    const tavix::cam::AviRepair r = tavix::cam::RepairUnfinishedAvi(path);
    EXPECT_EQ(std::pair(r.error, r.repaired), std::pair(0, true));
    // All but the frame being written, less the room the first part's indexes take.
    EXPECT_TRUE(r.frames >= size / kChunk - 2 && r.frames <= size / kChunk) << r.frames;
    ExpectPlays(path, r.frames);
    // Seeking past the first part needs the index of indexes: each of its entries leads to a
    // part's index, whose entries lead to that part's frames.
    QFile movie(path);
    ASSERT_TRUE(movie.open(QIODevice::ReadOnly));
    const QByteArray head = movie.read(4096);
    const qsizetype indx = head.indexOf("indx");
    ASSERT_GT(indx, 0);
    ASSERT_EQ(At(head, indx + 12), 2u);  // two parts
    int indexed = 0;
    for (int part = 0; part < 2; ++part) {
        movie.seek(qFromLittleEndian<qint64>(head.constData() + indx + 32 + 16 * part));
        const QByteArray ix = movie.read(32);
        ASSERT_TRUE(ix.startsWith("ix00")) << part;
        const qint64 base = qFromLittleEndian<qint64>(ix.constData() + 20);
        movie.seek(movie.pos() + 8 * (At(ix, 12) - 1));  // the part's last frame
        const QByteArray lastEntry = movie.read(8);
        movie.seek(base + At(lastEntry, 0) - 8);
        EXPECT_EQ(movie.read(8), "00db" + lastEntry.mid(4, 4)) << part;
        indexed += int(At(ix, 12));
    }
    EXPECT_EQ(indexed, r.frames);
}

// The note a recording leaves: the boot, the recording process, the movie.
TEST(AviRepair, AtStartTheMovieOfARunThatEndedIsRepairedOnceAndOnAFullDiskTheLastFramesMakeRoom) {
    QTemporaryDir dir;
    const QByteArray unfinished = Unfinished(dir.filePath("live.avi"));
    const QByteArray thisBoot = ReadFile("/proc/sys/kernel/random/boot_id").trimmed();
    const struct {
        const char* what;
        QByteArray boot;
        pid_t pid;
        bool movieThere, repaired;  // the note is kept only while its recording runs
    } cases[] = {
        {"a run of this boot that ended", thisBoot, 999999999, true, true},
        {"another instance still recording", thisBoot, ::getppid(), true, false},
        {"a run of an earlier boot, its movie gone", "an-earlier-boot", 1, false, false},
    };
    const QString movie = dir.filePath("movie.avi");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QFile::remove(movie);
        if (c.movieThere) WriteFile(movie, unfinished);
        const QByteArray note = c.boot + "\n" + QByteArray::number(c.pid) + "\n" + QFile::encodeName(movie) + "\n";
        testing_support::CameraMain m([&](testing_support::Sandbox& box, testing_support::ScriptedDialogHost& host) {
            box.Write("Tavix.recording", note);
            if (c.repaired) host.AnswerMsgBox(vb::vbOK);
        });
        ASSERT_TRUE(m.started);
        EXPECT_EQ(m.host.Boxes.size(), c.repaired ? 1u : 0u);
        for (const auto& b : m.host.Boxes) EXPECT_EQ(b.Prompt, GST(20155, movie));
        EXPECT_EQ(QFile::exists(m.box.File("Tavix.recording")), c.movieThere && !c.repaired);
        EXPECT_EQ(ReadFile(movie) == unfinished, c.movieThere && !c.repaired);
        const int frames = tavix::cam::RepairUnfinishedAvi(movie).frames;
        EXPECT_EQ(m.Logged(QStringLiteral("Unfinished Movie Repaired.(%1)").arg(frames)), c.repaired);
    }

    // A disk with no room for the index: the last frames give theirs.
    WriteFile(dir.filePath("roomy.avi"), unfinished);
    const int whole = tavix::cam::RepairUnfinishedAvi(dir.filePath("roomy.avi")).frames;
    const QString path = dir.filePath("full.avi");
    WriteFile(path, unfinished);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails instead
    // Less than the file: no byte to spare.
    const rlimit full{rlim_t(unfinished.size() - 2000), before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &full);
    const tavix::cam::AviRepair r = tavix::cam::RepairUnfinishedAvi(path);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(std::pair(r.error, r.repaired), std::pair(0, true));
    EXPECT_TRUE(r.frames > 0 && r.frames < whole) << r.frames;
    ExpectPlays(path, r.frames);
}

}  // namespace
