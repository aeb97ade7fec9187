#pragma once
// Movie recording from the running camera: the armed recording starts and stops on
// cmdPlayStop, counts its limit down once a second, and leaves a fresh plain graph behind.
#include <QString>

#include "frmMain.h"

namespace tavix {

// Free space below which a running recording is stopped, so the file still gets its index.
constexpr double kRecordReserveBytes = 64.0 * 1024 * 1024;

// cmdPlayStop with a movie armed (start) and while recording (stop).
void StartRecording(frmMain& f);
void StopRecording(frmMain& f);
// Extends the camera's graph by a tee, the multiplexer and the file writer, and runs it.
void BuildRecordGraph(frmMain& f);
void tmrRec_Timer(frmMain& f);
// A recording that cannot go on: stopped as by the button, then the box with the reason.
void RecordingFailed(frmMain& f, const QString& where, int number, const QString& reason);

}  // namespace tavix
