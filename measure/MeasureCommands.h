#pragma once
// The measure commands: the buttons that start them and the clicks on the still that feed them.
#include <cstdint>

namespace tavix {

class frmMain;

// Rows of grdResult that can hold a result (row 0 is the heading).
constexpr int16_t MaxResultRows = 99;

// Starts the command of button Index (0 to 6); refuses it when its result could not be listed.
void cmdMeasure_Click(frmMain& f, int16_t Index);

// A mouse button released on the still: the click dispatcher of every command.
// Button 1 left, 2 right; X, Y in the scale of picStillView.
void picStillView_MouseUp(frmMain& f, int16_t Button, int16_t Shift, float X, float Y);

// Ends whatever command runs: working lines and circles unloaded, guidance hidden, areas enabled.
void EndMeasureCommand(frmMain& f);

// Tells the user that the result list is full (the exclamation box of string 20141).
void RefuseFullResultList(frmMain& f);

}  // namespace tavix
