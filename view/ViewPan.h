#pragma once
// Where the still stands in the view area when it is larger than the view: the pan, the
// scroll bars, dragging with the middle button and the wheel. All pan geometry lives here.

namespace tavix {

class frmMain;

// Places picStillView in picViewArea: centred, moved by the pan, which is first kept within
// reach of the picture's edges. Shows the scroll bars the picture needs.
void PlaceStill(frmMain& f);

// Moves the view over the still by dx, dy screen pixels and repaints.
void PanBy(frmMain& f, double dx, double dy);

// Steps through the zoom list as choosing an item does; nothing while the list is shut off.
void StepZoom(frmMain& f, int steps);

// The scroll bars, the middle-button drag and the wheel on the view area.
void WirePanning(frmMain& f);

}  // namespace tavix
