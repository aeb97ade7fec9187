// The camera graph against the built-in test camera: frames in the picture box, pixels of
// each camera format, a stream error; the choice of a format; and the settings dialog of the
// fake UVC camera.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QThread>

#include "CameraFormats.h"
#include "FakeCamera.h"
#include "Form.h"
#include "PictureBox.h"
#include "StartedMain.h"

using namespace tavix::cam;

namespace {

using testing_support::Near;
using testing_support::WaitFor;

FilterInfo* AddByName(FilterGraph& graph, const QString& name) {
    for (const RegFilterInfo& r : graph.RegFilterCollection())
        if (r.Name == name) return r.Filter();
    return nullptr;
}

int ValueOf(FilterGraph& graph, FilterInfo& f, const QString& id) {
    for (const CameraControl& c : graph.Controls(f))
        if (c.Id == id) return c.Value;
    return -1000;
}

class GraphTest : public ::testing::Test {
protected:
    ~GraphTest() override { fakecam_plug(FakeCamNone); }

    QTemporaryDir dir;
    FilterGraph graph;
};

TEST_F(GraphTest, FramesReachTheBoxPauseKeepsTheNewestAndAStreamErrorIsHeardOnTheUiThread) {
    FilterInfo* cam = AddByName(graph, TestCameraName);
    ASSERT_NE(cam, nullptr);
    graph.SetControl(*cam, "pattern", 5);  // red
    graph.Render(*cam, cam->Pins().front());
    vb::Form form("frmGraphTest");
    form.SetClientSize(400 * 15, 300 * 15);
    auto* box = new vb::PictureBox(form, &form, "picCameraView", -1, true, false);
    box->Move(0, 0, 320 * 15, 240 * 15);  // smaller than the frames
    graph.SetOwner(box);
    graph.Run();
    ASSERT_TRUE(WaitFor([&] { return Near(box->GetImage().pixel(160, 200), qRgb(255, 0, 0)); }));
    EXPECT_EQ(graph.GetVideoSize(), QSize(640, 480));
    graph.Pause();
    const QImage image = graph.GetCurrentImage();
    ASSERT_EQ(std::pair(image.size(), image.format()), std::pair(QSize(640, 480), QImage::Format_RGB32));
    // The frozen frame stays the one taken, though frames were still on their way; the clock
    // in the picture tells frames apart.
    WaitFor([] { return false; }, 300);
    EXPECT_EQ(graph.GetCurrentImage(), image);
    graph.Run();
    EXPECT_TRUE(WaitFor([&] { return graph.GetCurrentImage() != image; }));
    graph.Stop();
    EXPECT_EQ(vb::Trap([&] { graph.SetControl(*cam, "pattern", 99); }), vb::ErrInvalidPropertyValue);

    graph.SetFaults({.cameraFailsAfter = 5});
    std::pair<int, bool> heard;  // the error, and whether on the UI thread with a reason
    graph.OnStreamError = [&](int n, const QString& reason) {
        heard = {n, QThread::currentThread() == qApp->thread() && !reason.isEmpty()};
    };
    graph.Run();
    ASSERT_TRUE(WaitFor([&] { return heard.first != 0; }));
    EXPECT_EQ(heard, std::pair(int(vb::ErrDeviceIO), true));
    graph.Run();  // the graph can start again after the caller hears of the error
}

TEST_F(GraphTest, EveryCameraFormatGivesTrue32BitPixels) {
    // Each as stored, then another one on the running picture: the pixels of the latter.
    const std::pair<const char*, CameraFormat> cases[] = {
        {"YUY2", {1280, 720, "I420", 30, 1}}, {"I420", {640, 480, "MJPG", 30, 1}}, {"MJPG", {640, 480, "YUY2", 30, 1}}};
    const QByteArray lines =
        "TavixGraph 1\ncamera=Tavix Test Camera\nwidth=320\nheight=240\nrate=15/1\ncontrol.pattern=5\n";
    for (const auto& [format, then] : cases) {
        SCOPED_TRACE(format);
        testing_support::WriteFile(dir.filePath("cam.grf"), lines + "format=" + format);
        FilterGraph g;
        GraphFileStore().LoadGraphFile(g, dir.filePath("cam.grf"));
        g.Run();  // raises unless the file gave the graph its camera
        ASSERT_TRUE(WaitFor([&] { return !g.GetCurrentImage().isNull(); }));
        g.SetFormat(*g.FilterCollection().front(), then);
        ASSERT_TRUE(WaitFor([&] { return g.GetCurrentImage().size() == QSize(then.Width, then.Height); }));
        EXPECT_TRUE(Near(g.GetCurrentImage().pixel(then.Width / 2, then.Height * 5 / 6), qRgb(255, 0, 0)));
    }
}

TEST(CameraFormats, ChooseFormat) {
    // 29.97 fps is smooth; raw before JPEG outranks the faster.
    const std::vector<CameraFormat> smooth{
        {1280, 720, "MJPG", 30, 1}, {1280, 720, "YUY2", 30000, 1001}, {640, 480, "MJPG", 60, 1}};
    const std::vector<CameraFormat> slow{
        {640, 480, "YUY2", 15, 1}, {1280, 720, "YUY2", 10, 1}, {1280, 720, "MJPG", 20, 1}};
    const struct {
        std::vector<CameraFormat> offered;
        CameraFormat asked, expected;
    } cases[] = {
        {smooth, {}, {1280, 720, "YUY2", 30000, 1001}},
        {slow, {}, {1280, 720, "MJPG", 20, 1}},
        {slow, {1280, 720, "", 10, 1}, {1280, 720, "YUY2", 10, 1}},
        {slow, {800, 600, "YUY2"}, {1280, 720, "MJPG", 20, 1}},  // as on a first start
        {{}, {800, 600, ""}, {800, 600, ""}},
    };
    for (const auto& c : cases)
        EXPECT_TRUE(ChooseFormat(c.asked, c.offered) == c.expected) << c.asked.Width << c.asked.Format.toStdString();
}

// The dialog on a real camera's controls and formats; Cancel takes back all it did.
TEST_F(GraphTest, SettingsDialogOfTheFakeCamera) {
    for (const bool ok : {false, true}) {
        SCOPED_TRACE(ok);
        FilterGraph g;
        fakecam_plug(FakeCamUvc);
        FilterInfo* cam = AddByName(g, FAKECAM_NAME);
        ASSERT_NE(cam, nullptr);
        g.Render(*cam, cam->Pins().front());
        g.Run();
        ASSERT_TRUE(WaitFor([&] { return !g.GetCurrentImage().isNull(); }));
        testing_support::ScriptedDialogHost host;
        host.AnswerModal([&](vb::Form& form) {
            auto find = [&](const char* name, int i) { return form.FindControl(name, i); };
            auto* exposureMode = dynamic_cast<vb::ComboBox*>(find("cboControl", 3));
            auto* exposure = dynamic_cast<vb::Slider*>(find("sldControl", 4));
            auto* defaults = dynamic_cast<vb::CommandButton*>(find("cmdDefaults", -1));
            // A row per control of a kind the dialog knows; none for the classes.
            ASSERT_TRUE(exposureMode && exposure && defaults && find("chkControl", 5) && !find("lblControl", 6));
            // The menu without the camera's gaps, at the entry of the value; read-only greyed.
            EXPECT_EQ(std::tuple(exposureMode->ListCount(), exposureMode->List(1), exposureMode->ListIndex(),
                                 find("chkControl", 5)->Enabled()),
                      std::tuple(2, QString("Aperture Priority Mode"), 1, false));
            EXPECT_FALSE(exposure->Enabled());
            exposureMode->SetListIndex(0);
            EXPECT_TRUE(exposure->Enabled());
            exposure->SetValue(100);
            EXPECT_EQ(find("lblValue", 4)->Caption(), "100");
            dynamic_cast<vb::Slider*>(find("sldControl", 0))->SetValue(20);
            defaults->Click();
            EXPECT_EQ(std::tuple(ValueOf(g, *cam, "brightness"), ValueOf(g, *cam, "exposure_time__absolute"),
                                 exposureMode->ListIndex()),
                      std::tuple(0, 250, 1));
            exposureMode->SetListIndex(0);
            exposure->SetValue(100);

            // Format, then size: the rates follow, and the running picture takes each.
            auto* format = dynamic_cast<vb::ComboBox*>(find("cboFormat", 0));
            auto* size = dynamic_cast<vb::ComboBox*>(find("cboFormat", 1));
            auto* rate = dynamic_cast<vb::ComboBox*>(find("cboFormat", 2));
            ASSERT_TRUE(format && size && rate);
            EXPECT_EQ(std::tuple(format->Text(), size->Text(), rate->Text()),
                      std::tuple(QString("MJPG"), QString("1920 x 1080"), QString("30 fps")));
            format->SetListIndex(0);
            EXPECT_EQ(std::tuple(format->Text(), size->ListCount(), rate->Text()),
                      std::tuple(QString("YUY2"), 3, QString("5 fps")));
            size->SetListIndex(2);
            EXPECT_EQ(g.CurrentFormat(), CameraFormat({640, 480, "YUY2", 30, 1}));
            EXPECT_TRUE(WaitFor([&] { return g.GetCurrentImage().size() == QSize(640, 480); }));
            dynamic_cast<vb::CommandButton*>(find(ok ? "cmdOK" : "cmdCancel", -1))->Click();
        });
        GraphFileStore().ShowFilterProperties(g, *cam, nullptr, "Camera");
        EXPECT_EQ(std::pair(ValueOf(g, *cam, "exposure_time__absolute"), ValueOf(g, *cam, "auto_exposure")),
                  ok ? std::pair(100, 1) : std::pair(250, 3));
        const CameraFormat now = ok ? CameraFormat{640, 480, "YUY2", 30, 1} : CameraFormat{1920, 1080, "MJPG", 30, 1};
        EXPECT_EQ(g.CurrentFormat(), now);
        EXPECT_TRUE(WaitFor([&] { return g.GetVideoSize() == QSize(now.Width, now.Height); }));
    }
}

}  // namespace
