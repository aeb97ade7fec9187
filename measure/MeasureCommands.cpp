#include "MeasureCommands.h"

#include "CommandArea.h"
#include "CommonModule.h"
#include "CrossLines.h"
#include "DialogHost.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "Proof.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr uint32_t kRunningButtonColor = 0x0080FFFF;

// The command of button index (0 to 6); two buttons run one of two by the settings.
const MeasureCommand& CommandOf(int16_t index) {
    const VariableDefinition& v = Var();
    static const MeasureCommand* const byButton[] = {&DistanceCommand,      &CircleCommand, &TwoCirclesCommand,
                                                     &PerpendicularCommand, &AreaCommand,   &ThreePointAngleCommand,
                                                     &CountCommand};
    if (index == 0 && v.TwoPointCommandMode != 0) return ParallelDistanceCommand;
    if (index == 5 && v.AngleCommandMode != 0) return TwoLineAngleCommand;
    return *byButton[index];
}

// Left: the point is appended, then the command's step for n points. Right: one click back, or the end.
void Click(frmMain& f, const MeasureCommand& c, int16_t button, double x, double y) {
    if (button == 1) {
        f.WorkPoints.push_back(Point2D{x, y});
        c.click(f, Points(f), x, y);
    } else if (button == 2) {
        const int n = Points(f);
        if (n == 0)
            EndMeasureCommand(f);
        else
            c.back(f, n);
    }
}

}  // namespace

void RefuseFullResultList(frmMain& f) {
    vb::Host().MsgBox(GST(20141), vb::vbOKOnly | vb::vbExclamation, GST(11141), &f);
}

void cmdMeasure_Click(frmMain& f, int16_t Index) {
    if (Index < 0 || Index > 6) return;
    const MeasureCommand& command = CommandOf(Index);
    if (!RowsFit(f, command.startRows)) {
        RefuseFullResultList(f);
        return;
    }
    f.CommandMode = command.mode;
    DisableCommandArea(f, *f.picViewCommandArea, false);
    DisableCommandArea(f, *f.picMeasureCommandArea, true);
    CutTo(f, 0);
    DispGuidance(f, command.startGuidance);
    // The disabled button of the running command keeps its picture on a light-yellow face.
    vb::CommandButton* button = f.cmdMeasure[Index];
    button->SetBackColor(kRunningButtonColor);
    button->SetDisabledPicture(button->GetPicture());
}

void picStillView_MouseUp(frmMain& f, int16_t Button, int16_t /*Shift*/, float X, float Y) {
    if (f.CommandMode == CommandMode::Calibration) {
        ProofMeasure_MouseUp(f, Button, X, Y);
        return;
    }
    if (IsCrossLine(f.CommandMode)) {
        ClickCrossLine(f, Button, X, Y);
        return;
    }
    if (const MeasureCommand* command = FindMeasure(f.CommandMode)) Click(f, *command, Button, X, Y);
}

void EndMeasureCommand(frmMain& f) {
    for (int k = f.linMeasure.UBound(); k >= 1; --k)
        if (f.linMeasure.Exists(k)) f.linMeasure.Unload(k);
    for (int k = f.shaMeasure.UBound(); k >= 1; --k)
        if (f.shaMeasure.Exists(k)) f.shaMeasure.Unload(k);
    for (vb::CommandButton* button : f.cmdMeasure) {
        button->SetBackColor(vb::vbButtonFace);
        button->SetDisabledPicture({});
    }
    HideGuidance(f);
    f.CommandMode = CommandMode::Idle;
    EnableCommandArea(f, *f.picViewCommandArea);
    EnableCommandArea(f, *f.picMeasureCommandArea);
}

}  // namespace tavix
