#include "CrossLines.h"

#include "App.h"
#include "CommandArea.h"
#include "Guidance.h"
#include "frmMain.h"
#include "ViewGeometry.h"

namespace tavix {

namespace {

void ShowPair(frmMain& f, int k, bool visible) {
    f.picCrossLineV[k]->SetVisible(visible);
    f.picCrossLineH[k]->SetVisible(visible);
}

// The command ends, and a placing begun in the live view goes back to it.
void FinishPlacing(frmMain& f) {
    f.Hooks.EndMeasureCommand(f);
    if (f.CrossLineResume == ViewMode::Live) f.Hooks.SwitchViewMode(f, true);
}

}  // namespace

void PlaceCrossLine(frmMain& f, int k, double X, double Y) {
    // The lines stand in the view area, at the still's point under the pointer.
    f.picCrossLineV[k]->SetLeft(geometry::AreaXOfStill(f, X));
    f.picCrossLineH[k]->SetTop(geometry::AreaYOfStill(f, Y));
}

void chkCross_Click(frmMain& f) {
    if (f.chkCross->Value() == 1) {
        f.CrossLineResume = f.ViewMode;
        // The lines are placed on a frame held still.
        if (f.ViewMode == ViewMode::Live) f.Hooks.SwitchViewMode(f, true);
        ShowPair(f, 0, true);
        f.CommandMode = CommandMode::FirstCrossLine;
        DisableCommandArea(f, *f.picViewCommandArea, false);
        // With all, chkCross goes too: the box cannot be unchecked during the placing.
        DisableCommandArea(f, *f.picMeasureCommandArea, true);
        DispGuidance(f, Var().CrossLineNum == 1 ? 10 : 11);
        return;
    }
    HideCrossLines(f);
    if (f.CommandMode == CommandMode::FirstCrossLine || f.CommandMode == CommandMode::SecondCrossLine) FinishPlacing(f);
}

void MoveCrossLine(frmMain& f, float X, float Y) {
    if (f.CommandMode == CommandMode::FirstCrossLine)
        PlaceCrossLine(f, 0, X, Y);
    else if (f.CommandMode == CommandMode::SecondCrossLine)
        PlaceCrossLine(f, 1, X, Y);
}

void ClickCrossLine(frmMain& f, int16_t Button, float X, float Y) {
    if (Button == 1) {
        if (f.CommandMode == CommandMode::FirstCrossLine) {
            PlaceCrossLine(f, 0, X, Y);
            if (Var().CrossLineNum != 2) {
                FinishPlacing(f);
                return;
            }
            f.CommandMode = CommandMode::SecondCrossLine;
            PlaceCrossLine(f, 1, X, Y);
            ShowPair(f, 1, true);
            DispGuidance(f, 12);
        } else if (f.CommandMode == CommandMode::SecondCrossLine) {
            PlaceCrossLine(f, 1, X, Y);
            FinishPlacing(f);
        }
    } else if (Button == 2) {
        // Setting the value fires chkCross_Click, whose unchecked path ends everything.
        if (f.CommandMode == CommandMode::FirstCrossLine) {
            f.chkCross->SetValue(0);
        } else if (f.CommandMode == CommandMode::SecondCrossLine) {
            ShowPair(f, 1, false);
            f.CommandMode = CommandMode::FirstCrossLine;
            DispGuidance(f, 11);
        }
    }
}

void HideCrossLines(frmMain& f) {
    for (int k = 0; k < 2; ++k) ShowPair(f, k, false);
}

void ApplyCrossLineColor(frmMain& f) {
    const uint32_t color = Var().CrossLineColor;
    for (int k = 0; k < 2; ++k) {
        f.picCrossLineV[k]->SetBackColor(color);
        f.picCrossLineH[k]->SetBackColor(color);
    }
}

}  // namespace tavix
