#pragma once
// One measure command in one place: its clicks on the still, what follows the pointer, the rows
// it lists and how a stored result of its kind is drawn. The handlers of the still, the result
// list and the drawing look the command up here and hold no knowledge of their own about it.
#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

#include "Modes.h"
#include "VariableDefinition.h"

namespace vb {
class PictureBox;
}

namespace tavix {

class frmMain;

// The calibration a finished measure is listed in.
struct Calibrated {
    double factor;  // real units per displayed pixel
    const QString& unit;
};

// How listing ended: failure is the text of the box to show, 0 for none; redraw says whether
// the results are drawn again after it.
struct Listed {
    int32_t failure = 0;
    bool redraw = false;
};

// One stored record being drawn: its row, its points and the line colour of its row.
struct ResultPen {
    vb::PictureBox& pic;
    uint32_t color;
    int row;
    const std::vector<Point2D>& P;
    void Line(int a, int b) const;
};

struct MeasureCommand {
    CommandMode mode;
    int16_t startGuidance;
    int16_t startRows = 1;  // rows of grdResult it needs to start (a perpendicular: for its first point)
    // Left click; the n-th point is already in WorkPoints.
    void (*click)(frmMain& f, int n, double x, double y);
    // Right click with n > 0 points: one click back, or the end.
    void (*back)(frmMain& f, int n);
    // The pointer moved to p with n points; null when nothing follows it.
    void (*follow)(frmMain& f, int n, const Point2D& p) = nullptr;
    // Rows the finished command adds from WorkPoints(0 to upper); 0 for too few points.
    int (*rows)(int upper);
    // Stores its records and grid rows from slot ResultCount on.
    Listed (*list)(frmMain& f, const Calibrated& c);
    // The highest point a stored record of this kind reads.
    int lastPoint = 0;
    // Draws a stored record of this kind; where its value text goes, none for no text. Null for
    // a kind never stored.
    std::optional<Point2D> (*draw)(const ResultPen& pen) = nullptr;
};

// The command of that mode or result kind; null for anything that is no measure.
const MeasureCommand* FindMeasure(CommandMode mode);

// Constant data (constinit), there before any static constructor runs.
extern const MeasureCommand CountCommand, DistanceCommand, CircleCommand, TwoCirclesCommand, PerpendicularCommand,
    AreaCommand, ThreePointAngleCommand, TwoLineAngleCommand, ParallelDistanceCommand;

// ---- What the commands share ----

// Points clicked so far (WorkPoints counts from 1).
int Points(const frmMain& f);
void CutTo(frmMain& f, int m);
bool RowsFit(const frmMain& f, int rows);

// Working line k loaded with both ends at (x, y); its second end moved to (x, y).
void StartLine(frmMain& f, int k, double x, double y);
void MoveLineEnd(frmMain& f, int k, double x, double y);
// Working circle k loaded, hidden until the pointer gives a circle.
void StartCircle(frmMain& f, int k, double x, double y);
// Circle k through a, b and p; hidden while no circle goes through them.
void CircleThrough(frmMain& f, int k, const Point2D& a, const Point2D& b, const Point2D& p);

// The result listed and drawn, then the command ended.
void FinishCommand(frmMain& f);
void FailureBox(frmMain& f, int32_t text);

// One click back: to keep points with guidance, the given working lines and circle unloaded.
struct BackStep {
    int16_t guidance;
    int keep;
    int unloadLine1 = 0, unloadLine2 = 0;
    int unloadCircle = 0;
};
void StepBack(frmMain& f, const BackStep& b);

// The record at slot ResultCount, its Points replaced by upper + 1 empty points, or by WorkPoints.
ResultRecord& Store(const frmMain& f, CommandMode kind, size_t upper);
ResultRecord& StoreCopy(const frmMain& f, CommandMode kind);
// Row ResultCount of grdResult.
void WriteRow(frmMain& f, const QString& name, const QString& value, const QString& unit);

}  // namespace tavix
