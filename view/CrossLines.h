#pragma once
// Cross lines: one or two pairs of thin boxes over the view area that mark a place on the
// still. They are children of picViewArea, not drawn on the picture, so they stand over the
// live picture as well and never enter a saved one.
#include <cstdint>

namespace tavix {

class frmMain;

// The check box: checked starts the placing at the first pair, unchecked takes the lines away.
void chkCross_Click(frmMain& f);

// Puts pair k (0 or 1) at the point X, Y of picStillView (pixels from the picture's centre).
void PlaceCrossLine(frmMain& f, int k, double X, double Y);

// The pointer moved over the still while a cross line is placed: the pair being placed follows it.
void MoveCrossLine(frmMain& f, float X, float Y);

// A button released on the still while a cross line is placed (1 left, 2 right).
void ClickCrossLine(frmMain& f, int16_t Button, float X, float Y);

// Hides all four lines; the check box and the command are left as they are.
void HideCrossLines(frmMain& f);

// Gives all four lines the colour of Var().CrossLineColor.
void ApplyCrossLineColor(frmMain& f);

}  // namespace tavix
