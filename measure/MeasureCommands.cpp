#include "MeasureCommands.h"

#include <cmath>

#include "CalcModule.h"
#include "CommandArea.h"
#include "CommonModule.h"
#include "CrossLines.h"
#include "DialogHost.h"
#include "Guidance.h"
#include "MeasureResults.h"
#include "Proof.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr uint32_t kRunningButtonColor = 0x0080FFFF;
constexpr int kMaxCountPoints = 100;
constexpr double kCloseDistance = 3.0;
constexpr double kParallelTolerance = 1.0;

// ---- Working lines and circles, in the scale of picStillView ----

void StartLine(frmMain& f, int k, double x, double y) {
    vb::LineControl* line = f.linMeasure.Load(k);
    line->SetPoints(x, y, x, y);
    line->SetVisible(true);
}

void PinLine(frmMain& f, int k, double x, double y) {
    vb::LineControl* line = f.linMeasure[k];
    line->SetPoints(line->X1(), line->Y1(), x, y);
}

void StartCircle(frmMain& f, int k, double x, double y) {
    // Hidden until the pointer gives a circle that can be computed.
    f.shaMeasure.Load(k)->Move(x, y, 0, 0);
}

int Points(const frmMain& f) { return static_cast<int>(f.WorkPoints.size()) - 1; }

void CutTo(frmMain& f, int m) { f.WorkPoints.resize(static_cast<size_t>(m) + 1); }

void Empty(frmMain& f) { CutTo(f, 0); }

void Finish(frmMain& f) {
    // The results are computed and drawn while the points and lines are still there.
    AddMeasureResult(f);
    EndMeasureCommand(f);
}

void FailureBox(frmMain& f, int32_t text) {
    vb::Host().MsgBox(GST(text), vb::vbOKOnly | vb::vbCritical, GST(11134), &f);
}

struct CommandStart {
    CommandMode mode;
    int16_t guidance;
    int16_t rows;  // rows of grdResult the measure needs (a perpendicular: for its first point)
};

CommandStart StartOf(int16_t index) {
    const VariableDefinition& v = Var();
    switch (index) {
    case 0:
        return v.TwoPointCommandMode != 0 ? CommandStart{CommandMode::ParallelDistance, 57, 1}
                                          : CommandStart{CommandMode::Distance, 32, 1};
    case 1: return {CommandMode::Circle, 34, 1};
    case 2: return {CommandMode::TwoCircles, 37, 3};
    case 3: return {CommandMode::Perpendicular, 43, 1};
    case 4: return {CommandMode::Area, 50, 1};
    case 5:
        return v.AngleCommandMode != 0 ? CommandStart{CommandMode::TwoLineAngle, 52, 1}
                                       : CommandStart{CommandMode::ThreePointAngle, 47, 1};
    default: return {CommandMode::Count, 30, 1};
    }
}

bool RowsFit(const frmMain& f, int rows) { return f.ResultCount + rows <= MaxResultRows; }

// ---- Left button: the point is appended, then each command's step for n points ----

void CountClick(frmMain& f, int n, double x, double y) {
    DispGuidance(f, 31);
    f.picStillView->LineBox(x - 2, y - 2, x + 2, y + 2, Var().MeasureLineColor[3], true);
    if (n == kMaxCountPoints) Finish(f);
}

void DistanceClick(frmMain& f, int n, double x, double y) {
    if (n == 1) {
        DispGuidance(f, 33);
        StartLine(f, 1, x, y);
    } else {
        Finish(f);
    }
}

void CircleClick(frmMain& f, int n, double x, double y) {
    switch (n) {
    case 1: DispGuidance(f, 35); break;
    case 2:
        DispGuidance(f, 36);
        StartCircle(f, 1, x, y);
        break;
    default: Finish(f);
    }
}

void TwoCirclesClick(frmMain& f, int n, double x, double y) {
    static constexpr int16_t guidance[] = {0, 38, 39, 40, 41, 42};
    if (n >= 6) {
        Finish(f);
        return;
    }
    DispGuidance(f, guidance[n]);
    if (n == 2) StartCircle(f, 1, x, y);
    if (n == 5) StartCircle(f, 2, x, y);
}

void PerpendicularClick(frmMain& f, int n, double x, double y) {
    if (n == 1) {
        DispGuidance(f, 44);
        StartLine(f, 1, x, y);
        return;
    }
    if (n == 2) {
        DispGuidance(f, 45);
        PinLine(f, 1, x, y);
        return;
    }
    if (n == 3) DispGuidance(f, 46);
    // Each point from the third on becomes a row; one that could not be listed is dropped.
    if (!RowsFit(f, n - 2)) {
        RefuseFullResultList(f);
        CutTo(f, n - 1);
        return;
    }
    Point2D foot;
    double distance = 0;
    if (!PerpendicularFoot(f.WorkPoints[1], f.WorkPoints[2], f.WorkPoints[n], foot, distance)) {
        FailureBox(f, 20131);
        CutTo(f, n - 1);
        return;
    }
    vb::LineControl* line = f.linMeasure.Load(n - 1);
    line->SetPoints(f.WorkPoints[n].X, f.WorkPoints[n].Y, foot.X, foot.Y);
    line->SetVisible(true);
}

void AreaClick(frmMain& f, int n, double x, double y) {
    DispGuidance(f, 51);
    if (n > 3 && PointDistance(f.WorkPoints[1], f.WorkPoints[n]) < kCloseDistance) {
        const int answer = vb::Host().MsgBox(GST(20120), vb::vbYesNo | vb::vbQuestion, GST(11120), &f);
        // The closing click is never a corner.
        CutTo(f, n - 1);
        if (answer == vb::vbYes) Finish(f);
        return;
    }
    if (n >= 2) PinLine(f, n - 1, x, y);
    StartLine(f, n, x, y);
}

void AngleClick(frmMain& f, int n, double x, double y) {
    switch (n) {
    case 1:
        DispGuidance(f, 48);
        StartLine(f, 1, x, y);
        break;
    case 2:
        DispGuidance(f, 49);
        PinLine(f, 1, x, y);
        StartLine(f, 2, x, y);
        break;
    default: Finish(f);
    }
}

void TwoLinesClick(frmMain& f, int n, double x, double y) {
    switch (n) {
    case 1:
        DispGuidance(f, 53);
        StartLine(f, 1, x, y);
        break;
    case 2:
        DispGuidance(f, 54);
        PinLine(f, 1, x, y);
        break;
    case 3:
        DispGuidance(f, 55);
        StartLine(f, 2, x, y);
        break;
    case 4:
        DispGuidance(f, 56);
        PinLine(f, 2, x, y);
        break;
    default: Finish(f);
    }
}

void ParallelClick(frmMain& f, int n, double x, double y) {
    if (n == 1) {
        DispGuidance(f, 58);
        StartLine(f, 1, x, y);
        return;
    }
    if (n == 2) {
        DispGuidance(f, 59);
        StartLine(f, 2, x, y);
        StartLine(f, 3, x, y);
        return;
    }
    const std::vector<Point2D>& p = f.WorkPoints;
    Point2D foot;
    double distance = 0;
    if (!PerpendicularFoot(p[1], p[2], p[3], foot, distance)) return;
    const double d1 = PointDistance(p[1], foot);
    const double d2 = PointDistance(p[2], foot);
    const double d12 = PointDistance(p[1], p[2]);
    // The foot must lie between the base points, so the parallel is beside the measured edge.
    if (std::abs(d12 - (d1 + d2)) < kParallelTolerance) {
        Finish(f);
        return;
    }
    FailureBox(f, 20134);
    CutTo(f, 2);
}

void LeftClick(frmMain& f, double x, double y) {
    f.WorkPoints.push_back(Point2D{x, y});
    const int n = Points(f);
    switch (f.CommandMode) {
    case CommandMode::Count: CountClick(f, n, x, y); break;
    case CommandMode::Distance: DistanceClick(f, n, x, y); break;
    case CommandMode::Circle: CircleClick(f, n, x, y); break;
    case CommandMode::TwoCircles: TwoCirclesClick(f, n, x, y); break;
    case CommandMode::Perpendicular: PerpendicularClick(f, n, x, y); break;
    case CommandMode::Area: AreaClick(f, n, x, y); break;
    case CommandMode::ThreePointAngle: AngleClick(f, n, x, y); break;
    case CommandMode::TwoLineAngle: TwoLinesClick(f, n, x, y); break;
    case CommandMode::ParallelDistance: ParallelClick(f, n, x, y); break;
    default: break;
    }
}

// ---- Right button: one click back, or the end ----

// One step back to m points with guidance g, unloading the given working elements.
struct Back {
    int16_t guidance;
    int keep;
    int unloadLine1 = 0, unloadLine2 = 0;
    int unloadCircle = 0;
};

void StepBack(frmMain& f, const Back& b) {
    DispGuidance(f, b.guidance);
    CutTo(f, b.keep);
    for (int k : {b.unloadLine1, b.unloadLine2})
        if (k > 0) f.linMeasure.Unload(k);
    if (b.unloadCircle > 0) f.shaMeasure.Unload(b.unloadCircle);
}

void RightClick(frmMain& f) {
    const int n = Points(f);
    if (n == 0) {
        EndMeasureCommand(f);
        return;
    }
    switch (f.CommandMode) {
    case CommandMode::Count: Finish(f); break;
    case CommandMode::Distance: StepBack(f, {32, 0, 1}); break;
    case CommandMode::Circle:
        if (n == 1)
            StepBack(f, {34, 0});
        else
            StepBack(f, {35, 1, 0, 0, 1});
        break;
    case CommandMode::TwoCircles: {
        static constexpr int16_t guidance[] = {0, 37, 38, 39, 40, 41};
        Back b{guidance[n], n - 1};
        if (n == 2) b.unloadCircle = 1;
        if (n == 5) b.unloadCircle = 2;
        StepBack(f, b);
        break;
    }
    case CommandMode::Perpendicular:
        if (n == 1)
            StepBack(f, {43, 0, 1});
        else if (n == 2)
            StepBack(f, {44, 1});  // line 1 stays; its free end follows the pointer
        else
            Finish(f);
        break;
    case CommandMode::Area:
        if (n == 1)
            StepBack(f, {50, 0, 1});
        else
            StepBack(f, {51, n - 1, n});
        break;
    case CommandMode::ThreePointAngle:
        if (n == 1)
            StepBack(f, {47, 0, 1});
        else
            StepBack(f, {48, 1, 2});
        break;
    case CommandMode::TwoLineAngle: {
        static constexpr int16_t guidance[] = {0, 52, 53, 54, 55};
        Back b{guidance[n], n - 1};
        if (n == 1) b.unloadLine1 = 1;
        if (n == 3) b.unloadLine1 = 2;
        StepBack(f, b);
        break;
    }
    case CommandMode::ParallelDistance:
        if (n == 1)
            StepBack(f, {57, 0, 1});
        else
            StepBack(f, {58, 1, 2, 3});
        break;
    default: break;
    }
}

}  // namespace

void RefuseFullResultList(frmMain& f) {
    vb::Host().MsgBox(GST(20141), vb::vbOKOnly | vb::vbExclamation, GST(11141), &f);
}

void cmdMeasure_Click(frmMain& f, int16_t Index) {
    if (Index < 0 || Index > 6) return;
    const CommandStart start = StartOf(Index);
    if (!RowsFit(f, start.rows)) {
        RefuseFullResultList(f);
        return;
    }
    f.CommandMode = start.mode;
    DisableCommandArea(f, *f.picViewCommandArea, false);
    DisableCommandArea(f, *f.picMeasureCommandArea, true);
    Empty(f);
    DispGuidance(f, start.guidance);
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
    if (!IsMeasure(f.CommandMode)) return;
    if (Button == 1)
        LeftClick(f, X, Y);
    else if (Button == 2)
        RightClick(f);
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
