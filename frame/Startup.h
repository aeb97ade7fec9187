#pragma once
#include <cstdint>

namespace tavix {

class frmMain;

// The program variants: camera + measure, camera only, still only, still + measure.
bool IsCameraVariant(int16_t programType);
bool IsMeasureVariant(int16_t programType);

// Start-up of the main window for the given variant. A failed step has logged, shown its
// box and ended the process (through the dialog host) when this returns false.
bool Form_Load(frmMain& f, int16_t programType);
void Form_QueryUnload(frmMain& f, bool& cancel, int unloadMode);
void Form_Unload(frmMain& f, bool& cancel);
void cmdExit_Click(frmMain& f);

// Puts the string table's captions on the controls.
void SetCaptions(frmMain& f);

}  // namespace tavix
