// Recording a movie from the fake UVC camera: arming through the save button, the countdown,
// the stop by the button and by the limit, and recordings that cannot go on; the camera's own
// failures said plainly, and a camera that PipeWire lists too.
#include <gst/gst.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "Drive.h"
#include "FakeCamera.h"
#include "Filter.h"
#include "Graph.h"
#include "V4l2Controls.h"
#include "Recording.h"
#include "StartedMain.h"

using tavix::GST;
using testing_support::CameraMain;
using testing_support::Sandbox;
using testing_support::ScriptedDialogHost;

namespace {

constexpr double kGiB = 1073741824.0;

// What ffprobe makes of a movie file: its container, picture size and length.
struct Movie {
    QByteArray container;
    int width = 0, height = 0;
    uint32_t headerFrames = 0;  // the AVI main header's frame count, written when the file is finished
    double seconds = 0;
};

Movie Discover(const QString& path) {
    QProcess probe;
    probe.start(QStringLiteral("ffprobe"),
                {"-v", "error", "-show_entries", "format=format_name,duration:stream=width,height", "-of",
                 "default=nw=1", path});
    probe.waitForFinished(30000);
    Movie m;
    for (const QByteArray& line : probe.readAllStandardOutput().split('\n')) {
        const qsizetype eq = line.indexOf('=');
        const QByteArray key = line.left(eq), value = line.mid(eq + 1);
        if (key == "format_name") m.container = value;
        if (key == "width") m.width = value.toInt();
        if (key == "height") m.height = value.toInt();
        if (key == "duration") m.seconds = value.toDouble();
    }
    const QByteArray head = testing_support::ReadFile(path).left(4096);
    if (const qsizetype at = head.indexOf("avih"); at >= 0 && head.size() >= at + 28)
        m.headerFrames = qFromLittleEndian<quint32>(head.constData() + at + 8 + 16);
    return m;
}

// The fake camera plugged in and named in the ini file and the graph file.
std::function<void(Sandbox&, ScriptedDialogHost&)> FakeCamera(FakeCamVariant variant, const QByteArray& graph) {
    return [=](Sandbox& box, ScriptedDialogHost&) {
        fakecam_plug(variant);
        box.UseCamera(QStringLiteral(FAKECAM_NAME), graph);
    };
}

// A camera main window on the fake camera at 640x480 YUYV 30 fps, with the drive seen as
// local and roomy, unless a test says otherwise.
struct RecordingMain : CameraMain {
    RecordingMain()
        : CameraMain(FakeCamera(FakeCamUvc, "device=/fakecam/video0\r\nwidth=640\r\nheight=480\r\nformat=YUY2\r\n")) {
        SetFree(100 * kGiB);
    }
    ~RecordingMain() { vb::SetDriveProbe({}, {}); }
    void SetFree(double bytes) {
        vb::SetDriveProbe([] { return QStringLiteral("/dev/sda1 / ext4 rw 0 0\n"); },
                          [this, bytes](const QString&) -> std::optional<double> { return bytes; });
    }
    QString Movie() const { return box.File(QStringLiteral("movie.avi")); }
    // Arms a recording to the movie file through the save button.
    void Arm() {
        host.AnswerFile(Movie());
        f.cmdPicSave->Click();
        ASSERT_EQ(f.CommandMode, tavix::CommandMode::MovieArmed);
    }
    void RunFor(int ms) {
        WaitFor([] { return false; }, ms);
    }
    QString Guidance() const { return f.txtComment[1]->Text(); }
    bool LiveAgain() {
        return f.CommandMode == tavix::CommandMode::Idle && f.ViewMode == tavix::ViewMode::Live &&
               !f.tmrRec->Enabled() && f.cmdPicSave->Enabled() && f.cmdPicLoad->Enabled() && WaitFrame();
    }
};

TEST(Recording, RecordsEveryFrameIntoAPlayableMovieAndComesBackLive) {
    RecordingMain m;
    ASSERT_TRUE(m.started && m.WaitFrame());
    const QByteArray graphBefore = m.box.Read(QStringLiteral("Tavix.grf"));
    m.Arm();
    EXPECT_EQ(m.f.RecordSecondsLeft, 900);
    EXPECT_EQ(m.f.cmdPlayStop->Caption(), GST(11034));

    m.f.cmdPlayStop->Click();
    EXPECT_EQ(m.f.CommandMode, tavix::CommandMode::Recording);
    EXPECT_EQ(m.f.cmdPlayStop->Caption(), GST(11040));
    EXPECT_EQ(m.Guidance(), GST(29010, QStringLiteral("900")));
    EXPECT_TRUE(m.f.tmrRec->Enabled());
    m.RunFor(3000);
    // Resizing the window places the picture anew and does not cut the file.
    m.f.resize(m.f.width() + 40, m.f.height() + 30);
    m.RunFor(300);
    const uint64_t sent = m.f.FilterGraph->CameraFrames();
    ASSERT_GT(sent, 60u);
    m.f.cmdPlayStop->Click();

    EXPECT_TRUE(m.LiveAgain());
    EXPECT_TRUE(m.host.Boxes.empty());
    EXPECT_EQ(m.box.Read(QStringLiteral("Tavix.grf")), graphBefore);  // the extended graph is never saved
    const Movie movie = Discover(m.Movie());
    EXPECT_EQ(movie.container, "avi");
    EXPECT_EQ(QSize(movie.width, movie.height), QSize(640, 480));
    EXPECT_NEAR(movie.headerFrames, 3.3 * 30, 12);
    EXPECT_GE(movie.headerFrames + 1, sent);  // every frame sent before the stop is in the file
    EXPECT_NEAR(movie.seconds, movie.headerFrames / 30.0, 0.1);
    // The icon blinks again.
    const int16_t phase = m.f.IconPhase;
    m.f.tmrLiveIcon->OnTimer();
    EXPECT_NE(m.f.IconPhase, phase);
}

TEST(Recording, CountsDownAndTheLimitStopsItWithABoxAfterwards) {
    RecordingMain m;
    ASSERT_TRUE(m.started && m.WaitFrame());
    m.SetFree(2 * kGiB / 0.7);  // two usable: one minute
    m.Arm();
    ASSERT_EQ(m.f.RecordSecondsLeft, 60);
    m.f.cmdPlayStop->Click();
    EXPECT_EQ(m.Guidance(), GST(29010, QStringLiteral("60")));
    m.RunFor(500);
    // Ticks are given by hand: no event runs between them, so the timer itself cannot tick.
    tavix::tmrRec_Timer(m.f);
    EXPECT_EQ(m.Guidance(), GST(29010, QStringLiteral("59")));
    m.host.AnswerMsgBox(vb::vbOK);
    for (int i = 0; i < 59 && m.f.CommandMode == tavix::CommandMode::Recording; ++i) tavix::tmrRec_Timer(m.f);
    EXPECT_EQ(m.f.RecordSecondsLeft, 0);
    ASSERT_EQ(m.host.Boxes.size(), 1u);
    EXPECT_EQ(m.host.Boxes[0].Prompt, GST(20150));
    EXPECT_EQ(m.host.Boxes[0].Title, GST(11150));
    EXPECT_TRUE(m.LiveAgain());
    EXPECT_GT(Discover(m.Movie()).headerFrames, 0u);
}

TEST(Recording, ClosingTheWindowWhileRecordingLeavesAFinishedMovie) {
    QTemporaryDir outside;  // outlives the installation, which goes with the window
    const QString movie = outside.filePath(QStringLiteral("movie.avi"));
    {
        RecordingMain m;
        ASSERT_TRUE(m.started && m.WaitFrame());
        m.host.AnswerFile(movie);
        m.f.cmdPicSave->Click();
        m.f.cmdPlayStop->Click();
        m.RunFor(1000);
        ASSERT_EQ(m.f.CommandMode, tavix::CommandMode::Recording);
    }
    EXPECT_GT(Discover(movie).headerFrames, 20u);
}

TEST(Recording, AGraphFileThatCannotBeLoadedAfterwardsEndsTheProgram) {
    RecordingMain m;
    ASSERT_TRUE(m.started && m.WaitFrame());
    m.Arm();
    m.f.cmdPlayStop->Click();
    m.RunFor(500);
    m.box.Write(QStringLiteral("Tavix.grf"), "not a graph\r\n");
    m.host.AnswerMsgBox(vb::vbOK);
    m.f.cmdPlayStop->Click();
    ASSERT_EQ(m.host.Boxes.size(), 1u);
    EXPECT_EQ(m.host.Boxes[0].Prompt, tavix::FatalText);
    EXPECT_EQ(m.host.Ends, 1);
    EXPECT_TRUE(m.Logged(QStringLiteral("LoadGrfFile Error.(13)")));
    EXPECT_GT(Discover(m.Movie()).headerFrames, 0u);  // the movie was finished before
}

enum class Act { None, RemoveFolder, DiskAlmostFull, RemoveFolderWhileRecording, Replug };

TEST(Recording, FailuresStopWithTheReasonAndLeaveALivePicture) {
    const struct {
        const char* name;
        tavix::cam::FilterGraph::Faults faults;
        Act act;
        QString log;
        bool finished;  // a movie with its header and index is left
        bool fileLeft;
    } rows[] = {
        {"the writer cannot open the file", {}, Act::RemoveFolder, "BuildRecordGraph Error.(5)", false, false},
        {"the disk fills while recording", {.writerFailsAfter = 40}, Act::None, "tmrRec_Timer Error.(61)", true, true},
        {"the disk is almost full", {}, Act::DiskAlmostFull, "tmrRec_Timer Error.(61)", true, true},
        {"the camera is lost for a moment while recording", {}, Act::Replug, "tmrRec_Timer Error.(57)", true, true},
        {"the folder is removed", {}, Act::RemoveFolderWhileRecording, "tmrRec_Timer Error.(76)", false, false},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        RecordingMain m;
        ASSERT_TRUE(m.started && m.WaitFrame());
        m.f.FilterGraph->SetFaults(r.faults);
        QDir(m.box.Path()).mkdir(QStringLiteral("movies"));
        m.host.AnswerFile(m.box.File(QStringLiteral("movies/movie.avi")));
        m.f.cmdPicSave->Click();
        ASSERT_EQ(m.f.CommandMode, tavix::CommandMode::MovieArmed);
        if (r.act == Act::RemoveFolder) QDir(m.box.File(QStringLiteral("movies"))).removeRecursively();
        m.host.AnswerMsgBox(vb::vbOK);
        m.f.cmdPlayStop->Click();
        if (r.act == Act::DiskAlmostFull || r.act == Act::RemoveFolderWhileRecording || r.act == Act::Replug) {
            m.RunFor(1000);
            if (r.act == Act::DiskAlmostFull)
                m.SetFree(60.0 * 1024 * 1024);
            else if (r.act == Act::Replug)
                fakecam_plug(FakeCamUvc);  // the stream hears at once that its camera went
            else
                QDir(m.box.File(QStringLiteral("movies"))).removeRecursively();
            if (r.act != Act::Replug) tavix::tmrRec_Timer(m.f);
        }
        ASSERT_TRUE(m.WaitFor([&] { return !m.host.Boxes.empty(); }, 8000));
        EXPECT_EQ(m.host.Boxes[0].Title, GST(11150));
        EXPECT_TRUE(m.host.Boxes[0].Prompt.startsWith(GST(20036, QString()))) << m.host.Boxes[0].Prompt.toStdString();
        EXPECT_GT(m.host.Boxes[0].Prompt.size(), GST(20036, QString()).size());  // the reason is there
        EXPECT_TRUE(m.Logged(r.log)) << m.box.LogTexts().join(u'\n').toStdString();
        EXPECT_TRUE(m.LiveAgain());
        const QString file = m.box.File(QStringLiteral("movies/movie.avi"));
        EXPECT_EQ(QFile::exists(file), r.fileLeft);
        if (r.fileLeft) {
            const Movie movie = Discover(file);
            EXPECT_EQ(movie.container, "avi");
            EXPECT_EQ(movie.width, 640);
            EXPECT_EQ(movie.headerFrames > 0, r.finished);
        }
    }
}

int Brightness(const char* device) {
    for (const auto& c : tavix::cam::V4l2Controls(QString::fromLatin1(device)))
        if (c.Id == QLatin1String("brightness")) return c.Value;
    return -1000;
}

TEST(CameraFaults, ARefusedCameraIsNamedWithTheVideoGroupAtStart) {
    CameraMain m([](Sandbox& box, ScriptedDialogHost& host) {
        FakeCamera(FakeCamUvc, "device=/fakecam/video0\r\n")(box, host);
        fakecam_refuse_open(1);
        host.AnswerMsgBox(vb::vbOK);
    });
    EXPECT_FALSE(m.started);
    ASSERT_EQ(m.host.Boxes.size(), 1u);
    EXPECT_EQ(m.host.Boxes[0].Prompt,
              GST(20104) + u'\n' + GST(20105) + u'\n' + GST(20199, QStringLiteral("/fakecam/video0")));
    EXPECT_TRUE(m.Logged(QStringLiteral("Camera Permission Denied.(/fakecam/video0)")));
    EXPECT_TRUE(m.Logged(QStringLiteral("Camera Filter Error.")));
    fakecam_plug(FakeCamNone);
}

// Of two cameras of one name, the stored one; lost in the live view and brought back by the
// play button with its format and settings.
TEST(CameraFaults, ALostCameraComesBackWithItsSettingsWhenPluggedInAgain) {
    CameraMain m(FakeCamera(FakeCamTwins,
                            "device=/fakecam/video2\r\nwidth=1280\r\nheight=720\r\nformat=MJPG\r\n"
                            "control.brightness=10\r\n"));
    ASSERT_TRUE(m.started && m.WaitFrame());
    EXPECT_EQ(std::pair(Brightness("/fakecam/video0"), Brightness("/fakecam/video2")), std::pair(0, 10));
    const QString lost = GST(20108, QString());
    const struct {
        const char* name;
        std::function<void()> act;
        bool click;
        QString box;  // the box's text, or the start of it
        QString log;
        bool live;
    } steps[] = {
        {"the camera cannot allocate its buffers",
         [&] {
             GstElement* cam = static_cast<tavix::cam::Filter*>(m.f.CameraFilter)->element.get();
             GST_ELEMENT_ERROR(cam, RESOURCE, NO_SPACE_LEFT, ("Failed to allocate a buffer"), (nullptr));
         },
         false, lost, "Camera Stream Error.(57)", false},
        {"play brings it back", [] {}, true, {}, {}, true},
        {"the camera is pulled out", [] { fakecam_plug(FakeCamNone); }, false, lost, "Camera Stream Error.(57)", false},
        {"play while it is out", [] {}, true, GST(20104) + u'\n' + GST(20198), "Camera Reopen Error.(0)", false},
        {"plugged in where the user may not open it", [] { fakecam_plug(FakeCamTwins), fakecam_refuse_open(1); }, true,
         GST(20104) + u'\n' + GST(20199, QStringLiteral("/fakecam/video2")),
         "Camera Permission Denied.(/fakecam/video2)", false},
        {"plugged in", [] { fakecam_plug(FakeCamTwins); }, true, {}, {}, true},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.name);
        m.host.Boxes.clear();
        const qsizetype logged = m.box.LogTexts().size();
        if (!s.box.isEmpty()) m.host.AnswerMsgBox(vb::vbOK);
        s.act();
        if (s.click) m.f.cmdPlayStop->Click();
        if (!s.box.isEmpty()) {
            ASSERT_TRUE(m.WaitFor([&] { return !m.host.Boxes.empty(); }));
            EXPECT_TRUE(m.host.Boxes[0].Prompt.startsWith(s.box)) << m.host.Boxes[0].Prompt.toStdString();
        }
        if (!s.log.isEmpty()) {
            EXPECT_TRUE(m.box.LogTexts().mid(logged).contains(s.log));
        }
        EXPECT_EQ(m.f.ViewMode == tavix::ViewMode::Live, s.live);
        if (!s.live) continue;
        const QImage shown = m.f.FilterGraph->GetCurrentImage();
        ASSERT_TRUE(m.WaitFor([&] { return m.f.FilterGraph->GetCurrentImage() != shown; })) << "frames again";
        EXPECT_EQ(m.f.FilterGraph->GetVideoSize(), QSize(1280, 720));
        EXPECT_EQ(std::pair(Brightness("/fakecam/video0"), Brightness("/fakecam/video2")), std::pair(0, 10));
    }
    fakecam_plug(FakeCamNone);
}

// What GStreamer's PipeWire plugin lists for a V4L2 camera: its own device with the node
// behind it in the properties, and an element that cannot reach the camera's controls.
// They add nothing to their parents' instance and class.
using PwDevice = GstDevice;
using PwDeviceClass = GstDeviceClass;
G_DEFINE_TYPE(PwDevice, pw_device, GST_TYPE_DEVICE)
void pw_device_init(PwDevice*) {}
void pw_device_class_init(PwDeviceClass* k) {
    GST_DEVICE_CLASS(k)->create_element = [](GstDevice*, const gchar* name) {
        return gst_element_factory_make("videotestsrc", name);
    };
}

using PwProvider = GstDeviceProvider;
using PwProviderClass = GstDeviceProviderClass;
G_DEFINE_TYPE(PwProvider, pw_provider, GST_TYPE_DEVICE_PROVIDER)
void pw_provider_init(PwProvider*) {}
void pw_provider_class_init(PwProviderClass* k) {
    gst_device_provider_class_set_static_metadata(GST_DEVICE_PROVIDER_CLASS(k), "PipeWire", "Source/Video", "test",
                                                  "Tavix");
    GST_DEVICE_PROVIDER_CLASS(k)->probe = [](GstDeviceProvider*) {
        GstStructure* props =
            gst_structure_new("pipewire-proplist", "device.api", G_TYPE_STRING, "v4l2", "api.v4l2.path", G_TYPE_STRING,
                              "/fakecam/video0", "object.path", G_TYPE_STRING, "v4l2:/fakecam/video0", nullptr);
        GstCaps* caps = gst_caps_from_string("video/x-raw; image/jpeg");
        gpointer device = g_object_new(pw_device_get_type(), "display-name", FAKECAM_NAME, "device-class",
                                       "Video/Source", "caps", caps, "properties", props, nullptr);
        gst_caps_unref(caps);
        gst_structure_free(props);
        return g_list_append(nullptr, gst_object_ref_sink(device));
    };
}

TEST(CameraFaults, ACameraPipeWireListsTooIsListedOnceWithItsControls) {
    fakecam_plug(FakeCamUvc);
    tavix::cam::FilterGraph graph;  // GStreamer is ready from here on
    ASSERT_TRUE(gst_device_provider_register(nullptr, "tavixtestpipewire", GST_RANK_PRIMARY, pw_provider_get_type()));
    GstDeviceProvider* pipewire = gst_device_provider_factory_get_by_name("tavixtestpipewire");
    for (const bool hidesV4l2 : {false, true}) {
        SCOPED_TRACE(hidesV4l2 ? "only PipeWire's entry" : "both entries");
        if (hidesV4l2) gst_device_provider_hide_provider(pipewire, "v4l2deviceprovider");
        tavix::cam::FilterGraph g;
        tavix::cam::FilterInfo* camera = nullptr;
        int listed = 0;
        for (const auto& reg : g.RegFilterCollection())
            if (reg.Name == QLatin1String(FAKECAM_NAME) && ++listed == 1) camera = reg.Filter();
        EXPECT_EQ(listed, 1);
        ASSERT_NE(camera, nullptr);
        EXPECT_EQ(vb::Trap([&] { g.SetControl(*camera, QStringLiteral("brightness"), 20 + hidesV4l2); }), 0);
        EXPECT_EQ(Brightness("/fakecam/video0"), 20 + hidesV4l2);
    }
    gst_object_unref(pipewire);
    fakecam_plug(FakeCamNone);
}

}  // namespace
