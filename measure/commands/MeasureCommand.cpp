#include "MeasureCommand.h"

#include "CalcModule.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Guidance.h"
#include "MeasureCommands.h"
#include "MeasureResults.h"
#include "frmMain.h"

namespace tavix {

const MeasureCommand* FindMeasure(CommandMode mode) {
    static const MeasureCommand* const all[] = {
        &CountCommand, &DistanceCommand,        &CircleCommand,       &TwoCirclesCommand,       &PerpendicularCommand,
        &AreaCommand,  &ThreePointAngleCommand, &TwoLineAngleCommand, &ParallelDistanceCommand,
    };
    for (const MeasureCommand* c : all)
        if (c->mode == mode) return c;
    return nullptr;
}

void ResultPen::Line(int a, int b) const { pic.Line(P[a].X, P[a].Y, P[b].X, P[b].Y, color); }

int Points(const frmMain& f) { return static_cast<int>(f.WorkPoints.size()) - 1; }

void CutTo(frmMain& f, int m) { f.WorkPoints.resize(static_cast<size_t>(m) + 1); }

bool RowsFit(const frmMain& f, int rows) { return f.ResultCount + rows <= MaxResultRows; }

void StartLine(frmMain& f, int k, double x, double y) {
    vb::LineControl* line = f.linMeasure.Load(k);
    line->SetPoints(x, y, x, y);
    line->SetVisible(true);
}

void MoveLineEnd(frmMain& f, int k, double x, double y) {
    vb::LineControl* line = f.linMeasure[k];
    line->SetPoints(line->X1(), line->Y1(), x, y);
}

void StartCircle(frmMain& f, int k, double x, double y) { f.shaMeasure.Load(k)->Move(x, y, 0, 0); }

void CircleThrough(frmMain& f, int k, const Point2D& a, const Point2D& b, const Point2D& p) {
    vb::Shape* shape = f.shaMeasure[k];
    Point2D center;
    double radius = 0;
    if (!CircleFrom3Points(a, b, p, center, radius)) {
        shape->SetVisible(false);
        return;
    }
    shape->Move(center.X - radius, center.Y - radius, radius + radius, radius + radius);
    shape->SetVisible(true);
}

void FinishCommand(frmMain& f) {
    // The results are computed and drawn while the points and lines are still there.
    AddMeasureResult(f);
    EndMeasureCommand(f);
}

void FailureBox(frmMain& f, int32_t text) {
    vb::Host().MsgBox(GST(text), vb::vbOKOnly | vb::vbCritical, GST(11134), &f);
}

void StepBack(frmMain& f, const BackStep& b) {
    DispGuidance(f, b.guidance);
    CutTo(f, b.keep);
    for (int k : {b.unloadLine1, b.unloadLine2})
        if (k > 0) f.linMeasure.Unload(k);
    if (b.unloadCircle > 0) f.shaMeasure.Unload(b.unloadCircle);
}

ResultRecord& Store(const frmMain& f, CommandMode kind, size_t upper) {
    ResultRecord& r = Var().ResultTable[f.ResultCount];
    r.No = f.ResultCount;
    r.Kind = kind;
    r.Points.assign(upper + 1, Point2D{});
    return r;
}

ResultRecord& StoreCopy(const frmMain& f, CommandMode kind) {
    ResultRecord& r = Store(f, kind, 0);
    r.Points = f.WorkPoints;
    return r;
}

void WriteRow(frmMain& f, const QString& name, const QString& value, const QString& unit) {
    vb::FlexGrid& g = *f.grdResult;
    g.SetTextMatrix(f.ResultCount, 0, QString::number(f.ResultCount));
    g.SetTextMatrix(f.ResultCount, 1, name);
    g.SetTextMatrix(f.ResultCount, 2, value);
    g.SetTextMatrix(f.ResultCount, 3, unit);
}

}  // namespace tavix
