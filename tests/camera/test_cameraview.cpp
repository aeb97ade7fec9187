// The camera's graph at start-up, the live view at a zoom, the still taken from it, the
// blinking icon, the settings button and a camera that is lost, on the fake UVC camera
// opened by its name; the test camera's own settings and elements.
#include <gst/gst.h>

#include <QCoreApplication>
#include <functional>
#include <gtest/gtest.h>

#include "CameraView.h"
#include "CommonModule.h"
#include "FakeCamera.h"
#include "Graph.h"
#include "StartedMain.h"
#include "Startup.h"
#include "Wiring.h"
#include "ViewGeometry.h"

using tavix::GST;
using testing_support::CameraMain;
using testing_support::kQuarterColors;
using testing_support::Sandbox;
using testing_support::ScriptedDialogHost;
using Prepare = std::function<void(Sandbox&, ScriptedDialogHost&)>;

namespace {

constexpr double kTwips = 15;
const QString kGrf = QStringLiteral("Tavix.grf");
const QByteArray kOtherCamera = "TavixGraph 1\r\ncamera=Other Camera\r\ndevice=\r\nwidth=640\r\nheight=480\r\n";
const QByteArray kFakeVga =
    "TavixGraph 1\r\ncamera=" FAKECAM_NAME "\r\ndevice=/fakecam/video0\r\nwidth=640\r\nheight=480\r\nformat=YUY2\r\n";

// The fake camera plugged in afresh and named in the ini file; its graph file, if any, and
// whatever else the test prepares.
Prepare OnFakeCamera(const QByteArray& graph = kFakeVga, const Prepare& more = {}) {
    return [=](Sandbox& box, ScriptedDialogHost& host) {
        fakecam_plug(FakeCamUvc);
        box.SetIni(QStringLiteral("CAMERAFILTERNAME"), QStringLiteral(FAKECAM_NAME));
        if (!graph.isEmpty()) box.Write(kGrf, graph);
        if (more) more(box, host);
    };
}

// Until the camera view has shown two frames it had not shown before.
bool NewFramesShown(CameraMain& m) {
    for (int i = 0; i < 2; ++i) {
        const qint64 shown = m.f.picCameraView->VideoFrame().cacheKey();
        if (!m.WaitFor([&] { return m.f.picCameraView->VideoFrame().cacheKey() != shown; })) return false;
    }
    return true;
}

TEST(CameraView, ZoomRoundsHalfToEven) {
    const struct {
        int pixels;
        double zoom;
        int expected;
    } rows[] = {
        {645, 0.5, 322}, {647, 0.5, 324}, {215, 1.5, 322}, {640, 1.5, 960}, {3, 0.5, 2}, {1, 0.5, 0},
    };
    for (const auto& r : rows)
        EXPECT_EQ(tavix::geometry::ZoomedPixels(r.pixels, r.zoom), r.expected) << r.pixels << " x " << r.zoom;
}

TEST(CameraView, OpeningReplacesUnusableGraphFilesSilently) {
    const struct {
        const char* name;
        QByteArray file;  // empty: no file
        QString log;      // the one LoadGrfFile line expected, or none
    } rows[] = {
        {"no file: built and saved", {}, {}},
        {"another camera's file", kOtherCamera, QStringLiteral("LoadGrfFile:Camera Filer Not Found.")},
        {"damaged file", "not a graph\r\n", QStringLiteral("LoadGrfFile Error.(13)")},
    };
    for (const auto& r : rows) {
        CameraMain m(OnFakeCamera(r.file));
        ASSERT_TRUE(m.started) << r.name;
        EXPECT_TRUE(m.host.Boxes.empty()) << r.name;
        QStringList loadLines = m.box.LogTexts().filter(QStringLiteral("LoadGrfFile"));
        EXPECT_EQ(loadLines, r.log.isEmpty() ? QStringList() : QStringList{r.log}) << r.name;
        EXPECT_TRUE(m.box.Read(kGrf).contains("camera=" FAKECAM_NAME)) << r.name;
        ASSERT_NE(m.f.CameraFilter, nullptr) << r.name;
        EXPECT_EQ(m.f.CameraFilter->Name(), QStringLiteral(FAKECAM_NAME));
        EXPECT_EQ(m.f.CameraOutputPin->Direction, 1);

        // What was written is what the next start loads, without a word in the log.
        const QByteArray saved = m.box.Read(kGrf);
        tavix::NewFilterGraph(m.f);
        EXPECT_TRUE(tavix::LoadGrfFile(m.f)) << r.name;
        EXPECT_EQ(m.box.LogTexts().filter(QStringLiteral("LoadGrfFile")).size(), loadLines.size()) << r.name;
        EXPECT_EQ(m.box.Read(kGrf), saved);
    }
}

TEST(CameraView, CameraNameMustMatchExactlyElseStartUpEnds) {
    for (const char* name : {"Nowhere Camera", "fake uvc camera"}) {
        CameraMain m(OnFakeCamera({}, [&](Sandbox& box, ScriptedDialogHost& host) {
            box.SetIni(QStringLiteral("CAMERAFILTERNAME"), QString::fromLatin1(name));
            host.AnswerMsgBox(vb::vbOK);
        }));
        EXPECT_FALSE(m.started) << name;
        EXPECT_EQ(m.host.Ends, 1) << name;
        ASSERT_EQ(m.host.Boxes.size(), 1u) << name;
        EXPECT_EQ(m.host.Boxes[0].Prompt, GST(20104) + QLatin1Char('\n') + GST(20105));
        EXPECT_EQ(m.host.Boxes[0].Title, GST(11103));
        EXPECT_TRUE(m.Logged(QStringLiteral("Camera Filter Error."))) << name;
        EXPECT_FALSE(m.box.Read(kGrf).size()) << "nothing saved for " << name;
    }
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
    const QString missing = QStringLiteral("timeoverlay (gstreamer1.0-x)");
    EXPECT_TRUE(m.started);
    ASSERT_EQ(m.host.Boxes.size(), 1u);
    EXPECT_EQ(m.host.Boxes[0].Prompt, GST(20300, missing));
    EXPECT_EQ(m.host.Boxes[0].Title, GST(11300));
    EXPECT_TRUE(m.Logged(QStringLiteral("GStreamer Element Not Found.(%1)").arg(missing)));
}

// At each zoom: the box sized and centred, the still at the camera's own size, and live again
// with new frames; the camera stays open through these, a resize and a recording's start.
TEST(CameraView, ZoomStillResizeAndRecordingKeepTheCameraOpenAndThePictureGoingOn) {
    CameraMain m(OnFakeCamera());
    ASSERT_TRUE(m.started && m.WaitFrame());
    tavix::frmMain& f = m.f;
    // A fresh graph knows its size only from the first frame on; the box then takes it.
    tavix::NewFilterGraph(f);
    ASSERT_TRUE(tavix::LoadGrfFile(f));
    tavix::FitCameraView(f);
    EXPECT_EQ(f.picCameraView->Width(), 0);
    EXPECT_TRUE(m.WaitFor([&] { return f.picCameraView->Width() == 640 * kTwips; }));
    const struct {
        const char* zoom;
        int w, h;
    } rows[] = {{"x 1.5", 960, 720}, {"x 0.5", 320, 240}, {"x 2.0", 1280, 960}, {"x 1.0", 640, 480}};
    const vb::PictureBox& view = *f.picCameraView;
    const double areaW = f.picViewArea->ScaleWidth(), areaH = f.picViewArea->ScaleHeight();
    const int opens = fakecam_stream_opens();
    for (const auto& r : rows) {
        testing_support::Zoom(m.f, r.zoom);
        EXPECT_EQ(QSizeF(view.Width(), view.Height()), QSizeF(r.w * kTwips, r.h * kTwips)) << r.zoom;
        EXPECT_DOUBLE_EQ(view.Left(), areaW / 2 - r.w * kTwips / 2) << r.zoom;
        EXPECT_DOUBLE_EQ(view.Top(), areaH / 2 - r.h * kTwips / 2) << r.zoom;
        EXPECT_EQ(view.Left() < 0, r.w * kTwips > areaW) << r.zoom;
        ASSERT_TRUE(NewFramesShown(m)) << r.zoom;

        f.cmdPlayStop->Click();
        EXPECT_EQ(f.ViewMode, tavix::ViewMode::Still);
        EXPECT_EQ(f.cmdPlayStop->Caption(), GST(11050));
        EXPECT_EQ(f.cmdPlayStop->GetPicture().cacheKey(), f.imgCameraIcon[2]->GetPicture().cacheKey());
        const QImage still = f.picTempView->GetPicture();
        EXPECT_EQ(still.size(), QSize(640, 480)) << r.zoom;
        EXPECT_EQ(f.picTempView->Width(), 640 * kTwips) << r.zoom;
        // 32-bit pixels of the camera's picture, its white quarter bottom right.
        EXPECT_TRUE(still.depth() == 32 && testing_support::Near(still.pixel(639, 479), kQuarterColors[3]));
        EXPECT_TRUE(f.picStillView->Visible() && !f.picCameraView->Visible());
        EXPECT_TRUE(f.cmdMeasure[0]->Enabled() && f.chkMeasureSave->Enabled() && !f.cmdPinProp->Enabled());

        f.IconPhase = 1;
        f.cmdPlayStop->Click();
        EXPECT_EQ(f.ViewMode, tavix::ViewMode::Live);
        EXPECT_EQ(f.cmdPlayStop->Caption(), GST(11051));
        EXPECT_EQ(f.IconPhase, 0);
        EXPECT_EQ(f.cmdPlayStop->GetPicture().cacheKey(), f.imgCameraIcon[0]->GetPicture().cacheKey());
        EXPECT_TRUE(f.picCameraView->Visible() && !f.picStillView->Visible() && f.cmdPinProp->Enabled());
        EXPECT_FALSE(f.cmdMeasure[0]->Enabled() || f.chkMeasureSave->Enabled());
        EXPECT_TRUE(f.chkScale->Enabled() && f.chkCross->Enabled()) << "NoDisable controls stay";
        EXPECT_TRUE(NewFramesShown(m)) << r.zoom;
    }
    // A resize and a recording's start stop and run the graph too.
    f.resize(f.width() + 40, f.height() + 30);
    EXPECT_TRUE(NewFramesShown(m)) << "resized";
    f.MovieFileName = m.box.File(QStringLiteral("movie.avi"));
    f.RecordSecondsLeft = 60, f.CommandMode = tavix::CommandMode::MovieArmed;
    f.cmdPlayStop->Click();
    EXPECT_TRUE(NewFramesShown(m)) << "recording";
    EXPECT_EQ(fakecam_stream_opens(), opens) << "the camera stays open";
    f.cmdPlayStop->Click();
    EXPECT_TRUE(m.box.Read(QStringLiteral("movie.avi")).contains("idx1")) << "the movie is finished";
    EXPECT_TRUE(NewFramesShown(m)) << "live after the recording";
}

TEST(CameraView, ResultsOfTheStillAreClearedOnlyWhenTheUserAgrees) {
    const struct {
        const char* name;
        bool dirty;
        int answer;
        int viewMode;
        bool clears;
    } rows[] = {
        {"unsaved, No keeps all", true, vb::vbNo, 1, 0},
        {"unsaved, Yes clears", true, vb::vbYes, 0, 1},
        {"saved, no question", false, 0, 0, 1},
    };
    for (const auto& r : rows) {
        CameraMain m(OnFakeCamera());
        ASSERT_TRUE(m.started && m.WaitFrame());
        m.f.cmdPlayStop->Click();
        m.f.ResultCount = 1;
        m.f.ResultDirty = r.dirty;
        if (r.answer) m.host.AnswerMsgBox(r.answer);
        m.f.cmdPlayStop->Click();
        EXPECT_EQ(int(m.f.ViewMode), r.viewMode) << r.name;
        EXPECT_EQ(m.f.ResultCount, 1 - r.clears) << r.name;
        if (!r.answer) continue;
        ASSERT_EQ(m.host.Boxes.size(), 1u) << r.name;
        EXPECT_EQ(m.host.Boxes[0].Prompt, GST(20040));
        EXPECT_EQ(m.host.Boxes[0].Buttons, vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2);
        EXPECT_EQ(m.host.Boxes[0].Title, GST(11041));
    }
}

TEST(CameraView, IconBlinksOnlyInAnIdleLiveView) {
    CameraMain m(OnFakeCamera());
    ASSERT_TRUE(m.started);
    tavix::frmMain& f = m.f;
    f.tmrLiveIcon->SetEnabled(false);  // the test ticks by hand
    const struct {
        int16_t viewMode, commandMode;
        bool enabled, blinks;
    } rows[] = {
        {0, 0, true, true},  {0, 10, true, true}, {1, 0, true, false},
        {0, 1, true, false}, {0, 2, true, false}, {0, 0, false, false},
    };
    for (const auto& r : rows) {
        f.ViewMode = tavix::ViewMode(r.viewMode), f.CommandMode = tavix::CommandMode(r.commandMode), f.IconPhase = 0;
        f.cmdPlayStop->SetEnabled(r.enabled);
        f.tmrLiveIcon->OnTimer();
        EXPECT_EQ(f.IconPhase, r.blinks ? 1 : 0) << r.viewMode << "/" << r.commandMode << "/" << r.enabled;
        if (!r.blinks) continue;
        EXPECT_EQ(f.cmdPlayStop->GetPicture().cacheKey(), f.imgCameraIcon[1]->GetPicture().cacheKey());
        f.tmrLiveIcon->OnTimer();
        EXPECT_EQ(f.IconPhase, 0);
    }
}

TEST(CameraView, SettingsAreSavedWhateverTheUserDid) {
    // The user picks the second pattern, then closes with OK or with Cancel.
    for (const char* button : {"cmdOK", "cmdCancel"}) {
        CameraMain m;
        ASSERT_TRUE(m.started);
        m.box.Remove(kGrf);
        m.host.AnswerModal([&](vb::Form& form) {
            static_cast<vb::ComboBox*>(form.FindControl(QStringLiteral("cboControl"), 0))->SetListIndex(1);
            static_cast<vb::CommandButton*>(form.FindControl(QString::fromLatin1(button)))->Click();
        });
        m.f.cmdPinProp->Click();
        const QByteArray file = m.box.Read(kGrf);
        EXPECT_TRUE(file.contains("camera=Tavix Test Camera")) << button;
        EXPECT_EQ(file.contains("control.pattern=1"), QByteArray(button) == "cmdOK") << file.toStdString();
    }
}

TEST(CameraView, LostCameraLeavesTheLastFrameAndPlayStopTriesAgain) {
    CameraMain m(OnFakeCamera(kFakeVga, [](Sandbox&, ScriptedDialogHost& host) { host.AnswerMsgBox(vb::vbOK); }));
    ASSERT_TRUE(m.started && m.WaitFrame());
    tavix::frmMain& f = m.f;
    fakecam_plug(FakeCamNone);
    ASSERT_TRUE(m.WaitFor([&] { return !m.host.Boxes.empty(); }));
    EXPECT_TRUE(m.host.Boxes[0].Prompt.startsWith(GST(20108).section(QLatin1Char('@'), 0, 0)));
    EXPECT_EQ(m.host.Boxes[0].Buttons, vb::vbOKOnly | vb::vbExclamation);
    EXPECT_EQ(m.host.Boxes[0].Title, GST(11103));
    EXPECT_FALSE(m.box.LogTexts().filter(QStringLiteral("Camera Stream Error.(")).isEmpty());
    EXPECT_EQ(f.ViewMode, tavix::ViewMode::Still);
    EXPECT_EQ(f.picTempView->GetPicture().size(), QSize(640, 480)) << "the last frame stays as the still";

    // Plugged in again, the button opens it afresh.
    fakecam_plug(FakeCamUvc);
    f.cmdPlayStop->Click();
    EXPECT_EQ(f.ViewMode, tavix::ViewMode::Live);
    EXPECT_TRUE(NewFramesShown(m));
    EXPECT_EQ(m.host.Boxes.size(), 1u);
}

TEST(CameraView, TheFakeUvcCameraOpensByItsNameWithLiveFramesAndItsControls) {
    for (const QByteArray format : {"YUY2", "MJPG"}) {
        SCOPED_TRACE(format.toStdString());
        CameraMain m(OnFakeCamera("TavixGraph 1\r\ncamera=" FAKECAM_NAME
                                  "\r\ndevice=/fakecam/video0\r\nwidth=1280\r\nheight=720\r\nformat=" +
                                  format + "\r\n"));
        ASSERT_TRUE(m.started && m.WaitFrame());
        const QImage first = m.f.FilterGraph->GetCurrentImage();
        ASSERT_EQ(first.size(), QSize(1280, 720));
        for (int q = 0; q < 4; ++q)
            EXPECT_TRUE(testing_support::Near(first.pixel(320 + q % 2 * 640, 200 + q / 2 * 360), kQuarterColors[q]))
                << q;
        EXPECT_TRUE(m.WaitFor([&] { return m.f.FilterGraph->GetCurrentImage() != first; })) << "live";
        // The camera really sends the format asked for.
        tavix::cam::GraphFileStore().SaveGraphFile(*m.f.FilterGraph, m.box.File(QStringLiteral("now.grf")));
        EXPECT_TRUE(m.box.Read(QStringLiteral("now.grf")).contains("\r\nformat=" + format + "\r\n"));

        // One row per control, of its kind: integer (I), boolean (B) or menu (M).
        QString kinds;
        m.host.AnswerModal([&](vb::Form& form) {
            for (int i = 0; form.FindControl(QStringLiteral("lblControl"), i); ++i)
                kinds += form.FindControl(QStringLiteral("sldControl"), i)   ? u'I'
                         : form.FindControl(QStringLiteral("chkControl"), i) ? u'B'
                                                                             : u'M';
            static_cast<vb::CommandButton*>(form.FindControl(QStringLiteral("cmdOK")))->Click();
        });
        m.f.cmdPinProp->Click();
        EXPECT_EQ(kinds.toStdString(), "IIIBMIMIB");
    }
}

}  // namespace
