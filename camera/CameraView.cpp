#include "CameraView.h"

#include <QFileInfo>
#include <QTimer>
#include <cmath>
#include <tuple>

#include "App.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Errors.h"
#include "Graph.h"
#include "MovieJournal.h"
#include "Recording.h"
#include "ResultTable.h"
#include "ScaleOverlay.h"
#include "StillDisplay.h"
#include "ViewGeometry.h"

namespace tavix {

// The graph file's name carries no separator of its own, unlike the other files of the ini file.
QString GrfFilePath() { return vb::AppPathJoin(QLatin1Char('\\') + Var().GrfFileName); }

namespace {

// Steps of the fit that follow the camera's size: the box at the zoom, centred, as owner.
void PlaceCameraView(frmMain& f, QSize size) {
    const double zoom = Var().ZoomFactor;
    vb::PictureBox& view = *f.picCameraView;
    geometry::SetPixelSize(view, geometry::ZoomedPixels(size.width(), zoom),
                           geometry::ZoomedPixels(size.height(), zoom));
    geometry::Centre(*f.picViewArea, view);
    f.FilterGraph->SetOwner(&view);
    if (f.chkScale->Value() == 1) DrawScale(f);
}

}  // namespace

void NewFilterGraph(frmMain& f) {
    f.CameraFilter = nullptr;
    f.CameraOutputPin = nullptr;
    f.FilterGraph = std::make_shared<cam::FilterGraph>();
    f.GraphFileStore = std::make_shared<cam::GraphFileStore>();
    f.FilterGraph->OnStreamError = [&f](int number, const QString& reason) { CameraStreamError(f, number, reason); };
    // The camera's size is known from its first frame on; the box is placed before it shows.
    f.FilterGraph->OnVideoSize = [&f](QSize size) {
        if (f.ViewMode == ViewMode::Live) PlaceCameraView(f, size);
    };
}

SubsystemHooks::GraphResult OpenCameraGraph(frmMain& f) {
    using GraphResult = SubsystemHooks::GraphResult;
    // Said before the graph is built, so a missing plugin never shows as a blank picture.
    const QStringList missing = cam::MissingElements(Var().CameraFilterName == cam::TestCameraName);
    if (!missing.isEmpty()) {
        WriteLog(QStringLiteral("GStreamer Element Not Found.(%1)").arg(missing.join(QStringLiteral(", "))));
        vb::Host().MsgBox(GST(20300, missing.join(QStringLiteral(", "))), vb::vbOKOnly | vb::vbExclamation, GST(11300),
                          &f);
    }
    // A movie the last run could not finish is mended before anything new is recorded.
    RepairMovieOfLastRun(f);
    NewFilterGraph(f);
    bool loaded = false;
    if (QFileInfo::exists(GrfFilePath())) {
        loaded = LoadGrfFile(f);
        if (!loaded) NewFilterGraph(f);
    }
    if (loaded) return GraphResult::Ready;

    f.CameraFilter = AddFilter(*f.FilterGraph, Var().CameraFilterName);
    if (!f.CameraFilter) return GraphResult::NoCameraFilter;
    FindOutputPin(f);
    if (!f.CameraOutputPin) return GraphResult::NoOutputPin;
    f.FilterGraph->Render(*f.CameraFilter, *f.CameraOutputPin);
    f.GraphFileStore->SaveGraphFile(*f.FilterGraph, GrfFilePath());
    return GraphResult::Ready;
}

bool LoadGrfFile(frmMain& f) {
    bool result = false;
    const int err = vb::Trap([&] {
        if (!f.GraphFileStore) f.GraphFileStore = std::make_shared<cam::GraphFileStore>();
        f.GraphFileStore->LoadGraphFile(*f.FilterGraph, GrfFilePath());
        FindCameraFilter(f, *f.FilterGraph, Var().CameraFilterName);
        if (!f.CameraFilter) {
            WriteLog(QStringLiteral("LoadGrfFile:Camera Filer Not Found."));
            return;
        }
        FindOutputPin(f);
        if (!f.CameraOutputPin) {
            f.CameraFilter = nullptr;
            WriteLog(QStringLiteral("LoadGrfFile:Camera OutputPIN Not Found."));
            return;
        }
        result = true;
    });
    if (err != 0) WriteLog(QStringLiteral("LoadGrfFile Error.(%1)").arg(err));
    return result;
}

void FindCameraFilter(frmMain& f, cam::FilterGraph& grp, const QString& filterName) {
    for (cam::FilterInfo* filter : grp.FilterCollection()) {
        if (filter->Name() == filterName) {
            f.CameraFilter = filter;
            return;
        }
    }
}

void FindOutputPin(frmMain& f) {
    for (const cam::PinInfo& pin : f.CameraFilter->Pins()) {
        if (pin.Direction == 1) {
            f.CameraOutputPin = &pin;
            return;
        }
    }
}

cam::FilterInfo* AddFilter(cam::FilterGraph& grp, const QString& filterName) {
    for (const cam::RegFilterInfo& reg : grp.RegFilterCollection())
        if (reg.Name == filterName) return reg.Filter ? reg.Filter() : nullptr;
    return nullptr;
}

void FitCameraView(frmMain& f) {
    if (!f.FilterGraph) return;
    // A running recording is never cut: the picture is only placed anew.
    if (f.CommandMode == CommandMode::Recording) {
        PlaceCameraView(f, f.FilterGraph->GetVideoSize());
        return;
    }
    f.FilterGraph->Stop();
    const QSize size = f.FilterGraph->GetVideoSize();
    PlaceCameraView(f, size);
    const int err = vb::Trap([&] { f.FilterGraph->Run(); });
    if (err != 0) {
        // A camera that cannot start counts as lost; reported after the caller has finished.
        QTimer::singleShot(0, &f, [&f, err] { CameraStreamError(f, err, QStringLiteral("Run Error.(%1)").arg(err)); });
    }
}

void CaptureFrame(frmMain& f) {
    if (!f.FilterGraph) return;
    const QSize size = f.FilterGraph->GetVideoSize();
    QImage frame = f.FilterGraph->GetCurrentImage();
    // No frame yet: the still keeps what it had rather than half a picture.
    if (frame.isNull() || size.isEmpty()) return;
    frame = frame.convertToFormat(QImage::Format_RGB32);
    if (frame.size() != size) frame = frame.copy(QRect(QPoint(), size));
    vb::PictureBox& temp = *f.picTempView;
    temp.SetPicture(QImage());
    geometry::SetPixelSize(temp, size.width(), size.height());
    temp.Cls();
    temp.SetPicture(frame);
}

void SwitchViewMode(frmMain& f, bool blnCaptureFlg) {
    if (f.ViewMode != ViewMode::Live) {
        f.ViewMode = ViewMode::Live;
        f.cmdPlayStop->SetCaption(GST(11051));
        f.cmdPlayStop->SetPicture(f.imgCameraIcon[0]->GetPicture());
        f.IconPhase = 0;
        FitCameraView(f);
        f.picCameraView->SetVisible(true);
        f.picStillView->SetVisible(false);
        f.cmdPinProp->SetEnabled(true);
        DisableCommandArea(f, *f.picMeasureCommandArea, false);
        f.chkMeasureSave->SetEnabled(false);
        return;
    }
    f.ViewMode = ViewMode::Still;
    f.cmdPlayStop->SetCaption(GST(11050));
    f.cmdPlayStop->SetPicture(f.imgCameraIcon[2]->GetPicture());
    if (f.FilterGraph) {
        // A lost camera cannot pause; its last frame is still there to be taken.
        vb::Trap([&] { f.FilterGraph->Pause(); });
    }
    f.cmdPinProp->SetEnabled(false);
    DispImage(f, blnCaptureFlg);
    f.picStillView->SetVisible(true);
    f.picCameraView->SetVisible(false);
    EnableCommandArea(f, *f.picMeasureCommandArea);
    f.chkMeasureSave->SetEnabled(true);
}

namespace {

// The graph whose camera was lost; the live picture comes back through a graph opened afresh.
std::weak_ptr<cam::FilterGraph> g_lostGraph;

// A camera node this user may not open, logged; empty when none is.
QString RefusedCamera() {
    const QString refused = cam::RefusedCameraDevice(GrfFilePath());
    if (!refused.isEmpty()) WriteLog(QStringLiteral("Camera Permission Denied.(%1)").arg(refused));
    return refused;
}

// Opens the graph anew from the graph file: the device again, with its format and settings.
// When the camera is still missing, the lost graph stays and the box says why.
bool ReopenCamera(frmMain& f) {
    const auto lost = std::tuple(f.FilterGraph, f.GraphFileStore, f.CameraFilter, f.CameraOutputPin);
    bool ready = false;
    const int err = vb::Trap([&] { ready = OpenCameraGraph(f) == SubsystemHooks::GraphResult::Ready; });
    if (ready) return true;
    std::tie(f.FilterGraph, f.GraphFileStore, f.CameraFilter, f.CameraOutputPin) = lost;
    WriteLog(QStringLiteral("Camera Reopen Error.(%1)").arg(err));
    const QString refused = RefusedCamera();
    vb::Host().MsgBox(GST(20104) + QLatin1Char('\n') + (refused.isEmpty() ? GST(20198) : GST(20199, refused)),
                      vb::vbOKOnly | vb::vbExclamation, GST(11103), &f);
    return false;
}

}  // namespace

void cmdPlayStop_Click(frmMain& f) {
    if (f.CommandMode == CommandMode::MovieArmed) return StartRecording(f);
    if (f.CommandMode == CommandMode::Recording) return StopRecording(f);
    if (f.ViewMode == ViewMode::Still && f.ResultCount >= 1) {
        if (f.ResultDirty && !AskYesNo(&f, 20040, 11041)) return;
        ClearResults(f);
    }
    if (f.ViewMode == ViewMode::Still && f.FilterGraph && f.FilterGraph == g_lostGraph.lock() && !ReopenCamera(f))
        return;
    SwitchViewMode(f, true);
}

void cmdPinProp_Click(frmMain& f) {
    if (!f.FilterGraph || !f.CameraFilter) return;
    if (!f.GraphFileStore) f.GraphFileStore = std::make_shared<cam::GraphFileStore>();
    f.GraphFileStore->ShowFilterProperties(*f.FilterGraph, *f.CameraFilter, &f, Var().CameraFilterName);
    // The camera's settings live only in the graph file, so it is written even after Cancel.
    // When it cannot be, the settings still act until the end: ending here would lose results.
    const int err = vb::Trap([&] { f.GraphFileStore->SaveGraphFile(*f.FilterGraph, GrfFilePath()); });
    if (err == 0) return;
    WriteLog(QStringLiteral("cmdPinProp_Click Error.(%1)").arg(err));
    vb::Host().MsgBox(GST(20109, WriteFailureReason(err)), vb::vbOKOnly | vb::vbExclamation, GST(11103), &f);
}

void tmrLiveIcon_Timer(frmMain& f) {
    if (f.ViewMode != ViewMode::Live || f.CommandMode == CommandMode::MovieArmed ||
        f.CommandMode == CommandMode::Recording || !f.cmdPlayStop->Enabled())
        return;
    f.IconPhase = f.IconPhase == 0 ? 1 : 0;
    f.cmdPlayStop->SetPicture(f.imgCameraIcon[f.IconPhase]->GetPicture());
}

void CameraStreamError(frmMain& f, int number, const QString& reason) {
    if (f.CommandMode == CommandMode::Recording)
        return RecordingFailed(f, QStringLiteral("tmrRec_Timer"), number, reason);
    WriteLog(QStringLiteral("Camera Stream Error.(%1)").arg(number));
    if (f.ViewMode == ViewMode::Live && f.CommandMode != CommandMode::MovieArmed &&
        f.CommandMode != CommandMode::Recording)
        SwitchViewMode(f, true);
    if (f.FilterGraph) vb::Trap([&] { f.FilterGraph->Stop(); });
    g_lostGraph = f.FilterGraph;
    const QString refused = RefusedCamera();
    const QString text = GST(20108, reason);
    vb::Host().MsgBox(refused.isEmpty() ? text : text + QLatin1Char('\n') + GST(20199, refused),
                      vb::vbOKOnly | vb::vbExclamation, GST(11103), &f);
}

}  // namespace tavix
