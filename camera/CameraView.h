#pragma once
// The camera's graph at start-up, the live view, the still taken from it, and the camera's
// settings. Everything here runs on the UI thread and only in the camera variants.
#include <QString>

#include "frmMain.h"

namespace tavix {

// App.Path joined with the graph file's name from the ini file.
QString GrfFilePath();

// A fresh graph and graph file object on f, with the stream failure handler attached.
void NewFilterGraph(frmMain& f);

// Start-up: loads the graph file, or builds the graph from the camera's name and saves it.
SubsystemHooks::GraphResult OpenCameraGraph(frmMain& f);
// True when the graph file gave a graph with the camera and an output pin.
bool LoadGrfFile(frmMain& f);
void FindCameraFilter(frmMain& f, cam::FilterGraph& grp, const QString& filterName);
void FindOutputPin(frmMain& f);
// Puts the registered filter of that name (exact, in case) into the graph; nullptr if none.
cam::FilterInfo* AddFilter(cam::FilterGraph& grp, const QString& filterName);

// Sizes and centres the live picture at the zoom and runs the graph.
void FitCameraView(frmMain& f);
// Takes the newest frame into picTempView at the camera's own size.
void CaptureFrame(frmMain& f);
void SwitchViewMode(frmMain& f, bool blnCaptureFlg);

void cmdPlayStop_Click(frmMain& f);
void cmdPinProp_Click(frmMain& f);
void tmrLiveIcon_Timer(frmMain& f);

// The stream failed: still view with the last frame, log and box.
void CameraStreamError(frmMain& f, int number, const QString& reason);

}  // namespace tavix
