#pragma once

namespace tavix {

class frmMain;

// Turns the points of the finished command (CommandMode, WorkPoints) into calibrated result
// records and rows of grdResult, then has the results drawn.
void AddMeasureResult(frmMain& f);

}  // namespace tavix
