#include "PointerFeedback.h"

#include "CrossLines.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

void picStillView_MouseMove(frmMain& f, int16_t /*Button*/, int16_t /*Shift*/, float X, float Y) {
    const int n = Points(f);
    if (IsCrossLine(f.CommandMode)) {
        MoveCrossLine(f, X, Y);
    } else if (f.CommandMode == CommandMode::Calibration) {
        if (n == 1) MoveLineEnd(f, 1, X, Y);
    } else if (const MeasureCommand* command = FindMeasure(f.CommandMode); command && command->follow) {
        command->follow(f, n, Point2D{X, Y});
    }
}

}  // namespace tavix
