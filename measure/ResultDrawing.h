#pragma once

namespace tavix {

class frmMain;

// Draws every stored result (lines or circle and value text) onto picStillView's canvas,
// the rows selected in grdResult in the second pair of colours. Only adds to the picture.
void DrawMeasureResults(frmMain& f);

}  // namespace tavix
