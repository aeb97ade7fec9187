// Movies that hold: their length whatever the camera or the disk drops, and a movie left by
// a recording that never ended, repaired.
#include <gst/gst.h>

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>
#include <QtEndian>
#include <gtest/gtest.h>

#include "AviRepair.h"
#include "CommonModule.h"
#include "Errors.h"
#include "FakeCamera.h"
#include "Graph.h"
#include "Recording.h"
#include "StartedMain.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

namespace {

using testing_support::ReadFile;
using testing_support::WriteFile;

uint32_t At(const QByteArray& b, qsizetype i) { return qFromLittleEndian<uint32_t>(b.constData() + i); }

// The file as it lay on disk while a live recording ran, and the same recording finished.
struct Recorded {
    QByteArray midway, finished;
};

Recorded Record(const QString& path) {
    gst_init(nullptr, nullptr);
    const QByteArray launch =
        "videotestsrc is-live=true num-buffers=45 ! video/x-raw,width=160,height=120,"
        "framerate=30/1 ! jpegenc ! avimux ! filesink buffer-mode=unbuffered location=" +
        QFile::encodeName(path);
    GstElement* pipeline = gst_parse_launch(launch.constData(), nullptr);
    Recorded r;
    if (!pipeline) return r;
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    while (QFile(path).size() < 40000) QThread::msleep(5);
    r.midway = ReadFile(path);
    GstBus* bus = gst_element_get_bus(pipeline);
    gst_message_unref(gst_bus_timed_pop_filtered(bus, 10 * GST_SECOND, GST_MESSAGE_EOS));
    gst_object_unref(bus);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    r.finished = ReadFile(path);
    return r;
}

// The length ffprobe gives a movie that ffmpeg decodes to its end without a word; -1 otherwise.
double Seconds(const QString& path) {
    QProcess decode;
    decode.start(QStringLiteral("ffmpeg"), {"-v", "error", "-i", path, "-f", "null", "-"});
    if (!decode.waitForFinished(30000) || decode.exitCode() != 0) return -1;
    if (const QByteArray said = decode.readAllStandardError(); !said.isEmpty()) {
        ADD_FAILURE() << said.toStdString();
        return -1;
    }
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"), {"-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", path});
    return probe.waitForFinished(30000) ? probe.readAllStandardOutput().trimmed().toDouble() : -1;
}

TEST(Movie, LastsAsLongAsTheRecordingWhateverIsDropped) {
    const struct {
        const char* what;
        int cameraFps, writerBytesPerSecond;
        bool everyFrameWhole;
    } cases[] = {
        {"a camera at its rate", 0, 0, true},
        {"a camera slowed to 15 fps", 15, 0, true},
        {"a disk that takes half the camera's 18 MB/s", 0, 9'000'000, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        fakecam_plug(FakeCamUvc);
        testing_support::CameraMain m([](testing_support::Sandbox& box, testing_support::ScriptedDialogHost&) {
            box.UseCamera(QStringLiteral(FAKECAM_NAME),
                          "device=/fakecam/video0\r\nwidth=640\r\nheight=480\r\nformat=YUY2\r\nrate=30/1\r\n");
        });
        ASSERT_TRUE(m.started && m.WaitFrame());
        fakecam_set_rate(c.cameraFps);
        m.f.FilterGraph->SetFaults({.writerBytesPerSecond = c.writerBytesPerSecond});
        m.f.MovieFileName = m.box.File(QStringLiteral("movie.avi"));
        QElapsedTimer recording;
        recording.start();
        m.f.CommandMode = tavix::CommandMode::Recording;
        tavix::BuildRecordGraph(m.f);
        m.WaitFor([&] { return recording.elapsed() >= 3000; }, 4000);
        const double seconds = recording.elapsed() / 1000.0;
        if (!c.everyFrameWhole) m.host.AnswerMsgBox(vb::vbOK);
        QElapsedTimer stop;
        stop.start();
        tavix::StopRecording(m.f);
        EXPECT_LT(stop.elapsed(), 1000);
        // The frames not written are told, as a number.
        ASSERT_EQ(m.host.Boxes.size(), c.everyFrameWhole ? 0u : 1u);
        if (!c.everyFrameWhole) {
            const QString n = QRegularExpression(QStringLiteral("\\d+")).match(m.host.Boxes[0].Prompt).captured();
            EXPECT_EQ(m.host.Boxes[0].Prompt, tavix::GST(20156, n));
            EXPECT_GT(n.toInt(), 10);
            EXPECT_TRUE(m.Logged(QStringLiteral("StopRecording Frames Not Written.(%1)").arg(n)));
        }
        // Measured within one frame at 30 fps and two at 15; one more for a machine under load.
        EXPECT_NEAR(Seconds(m.f.MovieFileName), seconds, (c.cameraFps == 15 ? 3 : 2) / 30.0 + 0.002);
    }
    fakecam_set_rate(0);
    fakecam_plug(FakeCamNone);
}

TEST(AviRepair, AnUnfinishedMovieGetsTheIndexAndCountsOfItsWholeFrames) {
    QTemporaryDir dir;
    const Recorded rec = Record(dir.filePath("live.avi"));
    ASSERT_GT(rec.midway.size(), 40000);
    // The multiplexer's own index of the finished movie: 16 bytes a frame, offsets from the start.
    const qsizetype idx1 = rec.finished.lastIndexOf("idx1");
    const qsizetype movi = rec.finished.indexOf("movi");
    ASSERT_GT(idx1, movi);
    const QByteArray reference = rec.finished.mid(idx1 + 8, At(rec.finished, idx1 + 4));
    auto wholeBefore = [&](qsizetype cut) {
        int n = 0;
        for (qsizetype e = 0; e + 16 <= reference.size(); e += 16)
            if (At(reference, e + 8) + 8 + At(reference, e + 12) <= cut) ++n;
        return n;
    };
    const qsizetype firstFrame = movi + 4 + 8;
    // Killed while the index was written: every frame there, the header not yet rewritten.
    const QByteArray midIndex = rec.midway.left(movi + 4) + rec.finished.mid(movi + 4, idx1 + 100 - (movi + 4));
    const struct {
        const char* what;
        QByteArray bytes;
    } cases[] = {
        {"only the header", rec.midway.left(movi + 4)},
        {"within the first frame", rec.midway.left(firstFrame + 100)},
        {"within a later frame", rec.midway.left(rec.midway.size() - 7)},
        {"as it lay", rec.midway},
        {"within the index", midIndex},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const QString path = dir.filePath("cut.avi");
        WriteFile(path, c.bytes);
        const int expected = wholeBefore(std::min(c.bytes.size(), idx1));
        const tavix::cam::AviRepair r = tavix::cam::RepairUnfinishedAvi(path);
        EXPECT_EQ(r.error, 0);
        EXPECT_TRUE(r.repaired);
        EXPECT_EQ(r.frames, expected);
        const QByteArray fixed = ReadFile(path);
        // The index is the multiplexer's own for the same frames; the counts say as much.
        EXPECT_EQ(fixed.mid(fixed.size() - expected * 16), reference.left(expected * 16));
        EXPECT_EQ(At(fixed, 4), uint32_t(fixed.size() - 8));
        const qsizetype avih = fixed.indexOf("avih") + 8;
        EXPECT_EQ(At(fixed, avih + 16), uint32_t(expected));
        EXPECT_EQ(At(fixed, fixed.indexOf("strh") + 8 + 32), uint32_t(expected));
        if (expected > 0) {
            EXPECT_NEAR(Seconds(path), expected / 30.0, 1 / 30.0 + 1e-3);
        }
        // Finished now: a second look leaves it as it is.
        const tavix::cam::AviRepair again = tavix::cam::RepairUnfinishedAvi(path);
        EXPECT_EQ(again.repaired, expected == 0);  // with no frame there is nothing to tell it finished
        EXPECT_EQ(ReadFile(path), fixed);
    }
    // The finished movie, another kind of RIFF file and no file at all are left as they are.
    WriteFile(dir.filePath("other.avi"), "RIFF\x04\0\0\0WAVE");
    const std::pair<const char*, int> alone[] = {
        {"live.avi", 0}, {"other.avi", vb::ErrTypeMismatch}, {"none.avi", vb::ErrFileNotFound}};
    for (const auto& [name, error] : alone) {
        const QByteArray before = ReadFile(dir.filePath(name));
        const tavix::cam::AviRepair r = tavix::cam::RepairUnfinishedAvi(dir.filePath(name));
        EXPECT_EQ(std::pair(r.error, r.repaired), std::pair(error, false)) << name;
        EXPECT_EQ(ReadFile(dir.filePath(name)), before) << name;
    }
}

// A disk with no room for the index: the last frames give theirs.
TEST(AviRepair, OnAFullDiskTheLastFramesMakeRoomForTheIndex) {
    QTemporaryDir dir;
    const QByteArray midway = Record(dir.filePath("live.avi")).midway;
    WriteFile(dir.filePath("roomy.avi"), midway);
    const int whole = tavix::cam::RepairUnfinishedAvi(dir.filePath("roomy.avi")).frames;
    const QString path = dir.filePath("full.avi");
    WriteFile(path, midway);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails instead
    rlimit full = before;
    full.rlim_cur = rlim_t(midway.size() - 2000);  // less than the file: no byte to spare
    setrlimit(RLIMIT_FSIZE, &full);
    const tavix::cam::AviRepair r = tavix::cam::RepairUnfinishedAvi(path);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(r.error, 0);
    EXPECT_TRUE(r.repaired);
    EXPECT_GT(r.frames, 0);
    EXPECT_LT(r.frames, whole);
    EXPECT_NEAR(Seconds(path), r.frames / 30.0, 1 / 30.0 + 1e-3);
}

// Past 1 GiB the multiplexer starts a second part; a recording cut off there keeps both.
TEST(AviRepair, AMovieOfTwoPartsKeepsBoth) {
    QTemporaryDir dir(QStringLiteral("/var/tmp/tavix-avi.XXXXXX"));  // 1.2 GB: on a disk, not in RAM
    const QString path = dir.filePath(QStringLiteral("big.avi"));
    constexpr qint64 kChunk = 1920 * 1080 * 3 / 2 + 8, kCut = 1'200'000'000;
    gst_init(nullptr, nullptr);
    GstElement* pipeline = gst_parse_launch(
        ("videotestsrc pattern=black ! video/x-raw,format=I420,width=1920,height=1080,framerate=30/1 ! avimux ! "
         "filesink location=" +
         QFile::encodeName(path))
            .constData(),
        nullptr);
    ASSERT_TRUE(pipeline);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    while (QFile(path).size() < kCut) QThread::msleep(2);
    // Stopped without its end: the multiplexer leaves the file as a crash would.
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    const qint64 size = QFile(path).size();
    const tavix::cam::AviRepair r = tavix::cam::RepairUnfinishedAvi(path);
    EXPECT_EQ(r.error, 0);
    EXPECT_TRUE(r.repaired);
    // All but the frame being written, less the room the first part's indexes take.
    EXPECT_GE(r.frames, size / kChunk - 2);
    EXPECT_LE(r.frames, size / kChunk);
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {"-v", "error", "-count_packets", "-show_entries", "stream=nb_read_packets", "-of", "csv=p=0", path});
    ASSERT_TRUE(probe.waitForFinished(60000));
    EXPECT_EQ(probe.readAllStandardOutput().trimmed().toInt(), r.frames);
    EXPECT_NEAR(Seconds(path), r.frames / 30.0, 1 / 30.0 + 1e-3);
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
TEST(AviRepair, AtStartTheMovieOfARunThatEndedIsRepairedOnce) {
    QTemporaryDir dir;
    const QByteArray unfinished = Record(dir.filePath("live.avi")).midway;
    QFile boot("/proc/sys/kernel/random/boot_id");
    ASSERT_TRUE(boot.open(QIODevice::ReadOnly));
    const QByteArray thisBoot = boot.readAll().trimmed();
    const struct {
        const char* what;
        QByteArray boot;
        pid_t pid;
        bool movieThere, repaired, noteKept;
    } cases[] = {
        {"a run of an earlier boot", "an-earlier-boot", ::getpid(), true, true, false},
        {"a run of this boot that ended", thisBoot, 999999999, true, true, false},
        {"another instance still recording", thisBoot, ::getppid(), true, false, true},
        {"a movie that is gone", "an-earlier-boot", 1, false, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const QString movie = dir.filePath("movie.avi");
        QFile::remove(movie);
        if (c.movieThere) WriteFile(movie, unfinished);
        const QByteArray note = c.boot + "\n" + QByteArray::number(c.pid) + "\n" + QFile::encodeName(movie) + "\n";
        testing_support::CameraMain m([&](testing_support::Sandbox& box, testing_support::ScriptedDialogHost& host) {
            box.Write("Tavix.recording", note);
            if (c.repaired) host.AnswerMsgBox(vb::vbOK);
        });
        ASSERT_TRUE(m.started);
        EXPECT_EQ(m.host.Boxes.size(), c.repaired ? 1u : 0u);
        if (c.repaired && !m.host.Boxes.empty()) {
            EXPECT_EQ(m.host.Boxes[0].Prompt, tavix::GST(20155, movie));
        }
        EXPECT_EQ(QFile::exists(m.box.File("Tavix.recording")), c.noteKept);
        EXPECT_EQ(ReadFile(movie) == unfinished, c.movieThere && !c.repaired);
        EXPECT_EQ(
            m.Logged(
                QStringLiteral("Unfinished Movie Repaired.(%1)").arg(tavix::cam::RepairUnfinishedAvi(movie).frames)),
            c.repaired);
    }
}

}  // namespace
