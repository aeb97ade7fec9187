#pragma once

namespace tavix {

class frmMain;

// The zoom list: takes the new zoom, rescales the stored results and repaints.
void cboScale_Click(frmMain& f);

}  // namespace tavix
