// The camera at start-up and the still's results, on the fake UVC camera opened by its name;
// a camera that is refused, lost and plugged in again, or listed by PipeWire too.
#include <gst/gst.h>

#include <gtest/gtest.h>

#include "CommonModule.h"
#include "FakeCamera.h"
#include "Filter.h"
#include "StartedMain.h"
#include "V4l2Controls.h"

using tavix::GST;
using testing_support::CameraMain;
using testing_support::Sandbox;
using testing_support::ScriptedDialogHost;
using Prepare = std::function<void(Sandbox&, ScriptedDialogHost&)>;

namespace {

const QString kGrf = QStringLiteral("Tavix.grf");
const QByteArray kFakeVga = "device=/fakecam/video0\r\nwidth=640\r\nheight=480\r\nformat=YUY2\r\n";

// The fake camera (or twins) plugged in afresh and named in the ini file with these graph
// file lines (no graph file for none), and whatever else the test prepares.
Prepare OnFakeCamera(const QByteArray& graph = kFakeVga, const Prepare& more = {},
                     FakeCamVariant variant = FakeCamUvc) {
    return [=](Sandbox& box, ScriptedDialogHost& host) {
        fakecam_plug(variant);
        box.UseCamera(FAKECAM_NAME, graph);
        if (graph.isEmpty()) box.Remove(kGrf);
        if (more) more(box, host);
    };
}

int Brightness(const char* device) {
    for (const auto& c : tavix::cam::V4l2Controls(device))
        if (c.Id == QLatin1String("brightness")) return c.Value;
    return -1000;
}

TEST(CameraView, ACameraNotThereOrRefusedEndsTheStartUp) {
    const struct {
        const char* ini;  // the camera's name in the ini file
        QByteArray graph;
        bool refused;  // the box and the log name the node the user may not open
    } rows[] = {{"Nowhere Camera", {}, false},
                {"fake uvc camera", {}, false},  // case counts
                {FAKECAM_NAME, "device=/fakecam/video0\r\n", true}};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.ini);
        CameraMain m(OnFakeCamera(r.graph, [&](Sandbox& box, ScriptedDialogHost& host) {
            box.SetIni("CAMERAFILTERNAME", r.ini);
            fakecam_refuse_open(r.refused);
            host.AnswerMsgBox(vb::vbOK);
        }));
        EXPECT_EQ(std::pair(m.started, m.host.Ends), std::pair(false, 1));
        ASSERT_EQ(m.host.Boxes.size(), 1u);
        const QString refused = r.refused ? u'\n' + GST(20199, "/fakecam/video0") : "";
        EXPECT_EQ(std::pair(m.host.Boxes[0].Prompt, m.host.Boxes[0].Title),
                  std::pair(GST(20104) + u'\n' + GST(20105) + refused, GST(11103)));
        EXPECT_TRUE(m.Logged("Camera Filter Error."));
        EXPECT_EQ(m.Logged("Camera Permission Denied.(/fakecam/video0)"), r.refused);
        EXPECT_EQ(m.box.Read(kGrf).isEmpty(), r.graph.isEmpty()) << "nothing saved";
    }
    fakecam_plug(FakeCamNone);
}

TEST(CameraView, MissingElementIsNamedInABoxAndTheLog) {
    tavix::cam::MissingElements(true);  // GStreamer is up from here on
    GstRegistry* registry = gst_registry_get();
    GstPluginFeature* clock = gst_registry_lookup_feature(registry, "timeoverlay");
    ASSERT_NE(clock, nullptr);
    gst_registry_remove_feature(registry, clock);
    CameraMain m([](Sandbox&, ScriptedDialogHost& host) { host.AnswerMsgBox(vb::vbOK); });
    gst_registry_add_feature(registry, clock);
    gst_object_unref(clock);
    const QString missing = "timeoverlay (gstreamer1.0-x)";
    EXPECT_TRUE(m.started);
    ASSERT_EQ(m.host.Boxes.size(), 1u);
    EXPECT_EQ(std::pair(m.host.Boxes[0].Prompt, m.host.Boxes[0].Title), std::pair(GST(20300, missing), GST(11300)));
    EXPECT_TRUE(m.Logged(QStringLiteral("GStreamer Element Not Found.(%1)").arg(missing)));
}

TEST(CameraView, ResultsOfTheStillAreClearedOnlyWhenTheUserAgrees) {
    CameraMain m(OnFakeCamera());
    ASSERT_TRUE(m.started && m.WaitFrame());
    const struct {
        const char* name;
        bool dirty;
        int answer, viewMode, results;
    } rows[] = {
        {"unsaved, No keeps all", true, vb::vbNo, 1, 1},
        {"unsaved, Yes clears", true, vb::vbYes, 0, 0},
        {"saved, no question", false, 0, 0, 0},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.name);
        if (m.f.ViewMode == tavix::ViewMode::Live) m.f.cmdPlayStop->Click();
        m.f.ResultCount = 1, m.f.ResultDirty = r.dirty;
        if (r.answer) m.host.AnswerMsgBox(r.answer);
        m.f.cmdPlayStop->Click();
        EXPECT_EQ(std::pair(int(m.f.ViewMode), int(m.f.ResultCount)), std::pair(r.viewMode, r.results));
    }
    ASSERT_EQ(m.host.Boxes.size(), 2u);  // a question for each unsaved row only
    for (const auto& b : m.host.Boxes)
        EXPECT_EQ(std::tuple(b.Prompt, b.Buttons, b.Title),
                  std::tuple(GST(20040), vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2, GST(11041)));
}

// Of two cameras of one name, the stored one; lost in the live view, its last frame the still,
// and brought back by the play button with its format and settings.
TEST(CameraFaults, ALostCameraComesBackWithItsSettingsWhenPluggedInAgain) {
    CameraMain m(
        OnFakeCamera("device=/fakecam/video2\r\nwidth=1280\r\nheight=720\r\nformat=MJPG\r\n"
                     "control.brightness=10\r\ncontrol.privacy=1\r\n",
                     {}, FakeCamTwins));
    ASSERT_TRUE(m.started && m.WaitFrame());
    EXPECT_TRUE(m.Logged("LoadGraphFile:Control Not Taken.(privacy=1, now 0)")) << "a read-only control";
    const QString lost = GST(20108, QString());
    const auto play = [&] { m.f.cmdPlayStop->Click(); };
    const struct {
        const char* name;
        std::function<void()> act;
        QString box, log;  // the start of the box's text, and the log line; none when live again
    } steps[] = {
        {"the camera cannot allocate its buffers",
         [&] {
             GstElement* cam = static_cast<tavix::cam::Filter*>(m.f.CameraFilter)->element.get();
             GST_ELEMENT_ERROR(cam, RESOURCE, NO_SPACE_LEFT, ("Failed to allocate a buffer"), (nullptr));
         },
         lost, "Camera Stream Error.(57)"},
        {"play brings it back", play, {}, {}},
        {"the camera is pulled out", [] { fakecam_plug(FakeCamNone); }, lost, "Camera Stream Error.(57)"},
        {"play while it is out", play, GST(20104) + u'\n' + GST(20198), "Camera Reopen Error.(0)"},
        {"plugged in but refused to the user", [&] { fakecam_plug(FakeCamTwins), fakecam_refuse_open(1), play(); },
         GST(20104) + u'\n' + GST(20199, "/fakecam/video2"), "Camera Permission Denied.(/fakecam/video2)"},
        {"plugged in", [&] { fakecam_plug(FakeCamTwins), play(); }, {}, {}},
    };
    for (const auto& s : steps) {
        SCOPED_TRACE(s.name);
        m.host.Boxes.clear();
        const qsizetype logged = m.box.LogTexts().size();
        if (!s.box.isEmpty()) m.host.AnswerMsgBox(vb::vbOK);
        s.act();
        if (!s.box.isEmpty()) {
            ASSERT_TRUE(m.WaitFor([&] { return !m.host.Boxes.empty(); }));
            EXPECT_TRUE(m.host.Boxes[0].Prompt.startsWith(s.box)) << m.host.Boxes[0].Prompt.toStdString();
            EXPECT_EQ(std::pair(m.host.Boxes[0].Buttons, m.host.Boxes[0].Title),
                      std::pair(vb::vbOKOnly | vb::vbExclamation, GST(11103)));
            EXPECT_TRUE(m.box.LogTexts().mid(logged).contains(s.log));
            EXPECT_EQ(m.f.ViewMode, tavix::ViewMode::Still);
            EXPECT_EQ(m.f.picTempView->GetPicture().size(), QSize(1280, 720)) << "the last frame stays as the still";
            continue;
        }
        EXPECT_EQ(m.f.ViewMode, tavix::ViewMode::Live);
        const QImage shown = m.f.FilterGraph->GetCurrentImage();
        ASSERT_TRUE(m.WaitFor([&] { return m.f.FilterGraph->GetCurrentImage() != shown; })) << "frames again";
        EXPECT_EQ(m.f.FilterGraph->GetVideoSize(), QSize(1280, 720));
        EXPECT_EQ(std::pair(Brightness("/fakecam/video0"), Brightness("/fakecam/video2")), std::pair(0, 10));
    }
    fakecam_plug(FakeCamNone);
}

// What GStreamer's PipeWire plugin lists for a V4L2 camera: its own device with the node
// behind it in the properties. Its element is never made: the camera's controls are reached
// only through the node. They add nothing to their parents' instance and class.
using PwDevice = GstDevice;
using PwDeviceClass = GstDeviceClass;
G_DEFINE_TYPE(PwDevice, pw_device, GST_TYPE_DEVICE)
void pw_device_init(PwDevice*) {}
void pw_device_class_init(PwDeviceClass*) {}

using PwProvider = GstDeviceProvider;
using PwProviderClass = GstDeviceProviderClass;
G_DEFINE_TYPE(PwProvider, pw_provider, GST_TYPE_DEVICE_PROVIDER)
void pw_provider_init(PwProvider*) {}
void pw_provider_class_init(PwProviderClass* k) {
    gst_device_provider_class_set_static_metadata(GST_DEVICE_PROVIDER_CLASS(k), "PipeWire", "Source/Video", "test",
                                                  "Tavix");
    GST_DEVICE_PROVIDER_CLASS(k)->probe = [](GstDeviceProvider*) {
        GstStructure* props = gst_structure_new("pipewire-proplist", "api.v4l2.path", G_TYPE_STRING, "/fakecam/video0",
                                                "object.path", G_TYPE_STRING, "v4l2:/fakecam/video0", nullptr);
        GstCaps* caps = gst_caps_new_any();
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
