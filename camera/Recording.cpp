#include "Recording.h"

#include <algorithm>

#include <QDateTime>
#include <QFile>
#include <QDir>
#include <QFileInfo>

#include "CameraView.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Drive.h"
#include "Errors.h"
#include "Graph.h"
#include "Guidance.h"
#include "AviRepair.h"
#include "MovieJournal.h"

namespace tavix {

namespace {

// When the running recording began; a file the writer left empty since then is removed.
QDateTime g_recordStart;

void ShowSecondsLeft(frmMain& f) { DispGuidance(f, 2, GST(29010, QString::number(f.RecordSecondsLeft))); }

}  // namespace

void StartRecording(frmMain& f) {
    f.cmdPlayStop->SetCaption(GST(11040));
    f.cmdPlayStop->SetPicture(f.imgRecIcon[1]->GetPicture());
    f.cmdPlayStop->Widget()->repaint();
    ShowSecondsLeft(f);
    f.CommandMode = CommandMode::Recording;
    f.tmrRec->SetEnabled(true);
    g_recordStart = QDateTime::currentDateTime().addSecs(-1);
    NoteMovieStarted(f.MovieFileName);
    const int err = vb::Trap([&] { BuildRecordGraph(f); });
    if (err != 0) {
        const QString reason = f.FilterGraph ? f.FilterGraph->LastErrorText() : QString();
        RecordingFailed(f, QStringLiteral("BuildRecordGraph"), err, reason.isEmpty() ? f.MovieFileName : reason);
    }
}

void BuildRecordGraph(frmMain& f) {
    if (!f.FilterGraph || !f.CameraFilter || !f.CameraOutputPin) vb::Raise(vb::ErrInvalidCall);
    cam::FilterGraph& graph = *f.FilterGraph;
    graph.Stop();
    graph.Disconnect(*f.CameraFilter, *f.CameraOutputPin);
    cam::FilterInfo* tee = AddFilter(graph, cam::TeeFilterName);
    if (!tee) vb::Raise(vb::ErrInvalidCall);
    graph.Render(*f.CameraFilter, *f.CameraOutputPin);
    if (!AddFilter(graph, cam::AviMuxName)) vb::Raise(vb::ErrInvalidCall);
    cam::FilterInfo* writer = AddFilter(graph, cam::FileWriterName);
    if (!writer) vb::Raise(vb::ErrInvalidCall);
    graph.SetFileName(*writer, f.MovieFileName);
    // The first tee output without a partner is the free one.
    const cam::PinInfo* freePin = nullptr;
    for (const cam::PinInfo& pin : tee->Pins()) {
        if (pin.Direction != 1) continue;
        if (vb::Trap([&] { graph.ConnectedTo(*tee, pin); }) != 0) {
            freePin = &pin;
            break;
        }
    }
    if (!freePin) vb::Raise(vb::ErrInvalidCall);
    graph.Render(*tee, *freePin);
    graph.Run();
}

void StopRecording(frmMain& f) {
    uint64_t notWritten = 0;
    if (f.FilterGraph) {
        f.FilterGraph->Stop();
        notWritten =
            f.FilterGraph->CameraFrames() - std::min(f.FilterGraph->CameraFrames(), f.FilterGraph->RecordedFrames());
    }
    NoteMovieEnded();
    HideGuidance(f);
    f.CommandMode = CommandMode::Idle;
    EnableCommandArea(f, *f.picViewCommandArea);
    EnableCommandArea(f, *f.picMeasureCommandArea);
    f.tmrRec->SetEnabled(false);
    // The extended graph is never kept: the plain one comes back from the graph file.
    f.GraphFileStore.reset();
    f.FilterGraph.reset();
    NewFilterGraph(f);
    if (!LoadGrfFile(f)) {
        vb::Host().MsgBox(FatalText, vb::vbOKOnly | vb::vbCritical, QString(), &f);
        f.Unload();
        vb::Host().End(1);
        return;
    }
    f.ViewMode = ViewMode::Still;
    SwitchViewMode(f, false);
    // Frames the disk could not take in time are in the movie as repeats of the frame before.
    if (notWritten > 0) {
        WriteLog(QStringLiteral("StopRecording Frames Not Written.(%1)").arg(notWritten));
        vb::Host().MsgBox(GST(20156, QString::number(notWritten)), vb::vbOKOnly | vb::vbExclamation, GST(11150), &f);
    }
}

void tmrRec_Timer(frmMain& f) {
    f.RecordSecondsLeft = static_cast<int16_t>(f.RecordSecondsLeft - 1);
    ShowSecondsLeft(f);
    if (f.RecordSecondsLeft == 0) {
        f.tmrRec->SetEnabled(false);
        f.cmdPlayStop->Click();
        vb::Host().MsgBox(GST(20150), vb::vbOKOnly | vb::vbInformation, GST(11150), &f);
        return;
    }
    // A movie whose folder went away would be finished into a file nobody can reach.
    if (!QFileInfo(f.MovieFileName).absoluteDir().exists())
        return RecordingFailed(f, QStringLiteral("tmrRec_Timer"), vb::ErrPathNotFound,
                               WriteFailureReason(vb::ErrPathNotFound));
    // Stopped while the file can still be finished with its index.
    double free = 0;
    if (vb::Trap([&] { free = vb::FreeSpace(f.MovieFileName); }) == 0 && free < kRecordReserveBytes)
        RecordingFailed(f, QStringLiteral("tmrRec_Timer"), vb::ErrDiskFull, GST(20037));
}

void RecordingFailed(frmMain& f, const QString& where, int number, const QString& reason) {
    WriteLog(QStringLiteral("%1 Error.(%2)").arg(where).arg(number));
    const uint64_t frames = f.FilterGraph ? f.FilterGraph->RecordedFrames() : 0;
    if (f.CommandMode == CommandMode::Recording) StopRecording(f);
    const QFileInfo file(f.MovieFileName);
    // A file the writer made and never put a frame in is of no use to anybody.
    if (frames == 0 && file.exists() && file.lastModified() >= g_recordStart) QFile::remove(f.MovieFileName);
    // A writer that failed (a full disk) left the movie without its index: it is given one,
    // at the cost of its last frames where the disk has no room.
    if (frames > 0 && file.exists()) {
        if (const cam::AviRepair r = cam::RepairUnfinishedAvi(f.MovieFileName); r.repaired)
            WriteLog(QStringLiteral("Unfinished Movie Repaired.(%1)").arg(r.frames));
    }
    if (f.Unloaded()) return;
    vb::Host().MsgBox(GST(20036, reason), vb::vbOKOnly | vb::vbExclamation, GST(11150), &f);
}

}  // namespace tavix
