#pragma once

namespace tavix {

class frmMain;

// Repaints the still from picTempView at ZoomFactor, centred in the view (moved by the pan), with the scale bar
// when it is switched on. blnCaptureFlg: take a new frame from the camera first.
void DispImage(frmMain& f, bool blnCaptureFlg);

// The zoom list: takes the new zoom, rescales the stored results and repaints.
void cboScale_Click(frmMain& f);

// Selects the first "x 1.0" of the zoom list, which fires its click.
void SelectZoomOne(frmMain& f);

// Multiplies every stored result point by ratio (a change of zoom).
void RescaleResults(frmMain& f, double ratio);

}  // namespace tavix
