#pragma once

namespace tavix {

class frmMain;

// Lays the scale bar over the picture: as small boxes above the live picture, where nothing
// can be drawn on the video, or drawn into the still, so that it is saved with it.
void DrawScale(frmMain& f);

// The check box: on the way to checked it asks for the bar through frmScale, on the way
// back it takes the bar away.
void chkScale_Click(frmMain& f);

}  // namespace tavix
