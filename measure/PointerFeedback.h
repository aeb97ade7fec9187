#pragma once
#include <cstdint>

namespace tavix {

class frmMain;

// The pointer moved over the still: the running command's rubber line, circle or parallel
// follows it. Only the working overlay items change; the still is not repainted.
void picStillView_MouseMove(frmMain& f, int16_t Button, int16_t Shift, float X, float Y);

}  // namespace tavix
