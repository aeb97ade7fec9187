// Count: every click a mark; a right click or the hundredth mark ends it with one row.
#include "CommonModule.h"
#include "Convert.h"
#include "Guidance.h"
#include "MeasureCommand.h"
#include "frmMain.h"

namespace tavix {

namespace {

constexpr int kMaxCountPoints = 100;

void Click(frmMain& f, int n, double x, double y) {
    DispGuidance(f, 31);
    f.picStillView->LineBox(x - 2, y - 2, x + 2, y + 2, Var().MeasureLineColor[3], true);
    if (n == kMaxCountPoints) FinishCommand(f);
}

Listed List(frmMain& f, const Calibrated&) {
    ResultRecord& r = StoreCopy(f, CommandMode::Count);
    r.Value = static_cast<double>(f.WorkPoints.size() - 1);
    WriteRow(f, GST(11130), vb::CStr(r.Value), GST(11131));
    return {};
}

std::optional<Point2D> Draw(const ResultPen& pen) {
    for (size_t k = 1; k < pen.P.size(); ++k) {
        const double x = pen.P[k].X - 1, y = pen.P[k].Y - 1;
        pen.pic.LineBox(x, y, x + 2, y + 2, pen.color, true);
        pen.pic.CurrentX = pen.P[k].X + 4;
        pen.pic.CurrentY = pen.P[k].Y + 4;
        pen.pic.Print(vb::PrintForm(pen.row));
    }
    return std::nullopt;  // a count has no value text
}

}  // namespace

constinit const MeasureCommand CountCommand{
    .mode = CommandMode::Count,
    .startGuidance = 30,
    .click = Click,
    .back = [](frmMain& f, int) { FinishCommand(f); },
    .rows = [](int upper) { return upper >= 0 ? 1 : 0; },
    .list = List,
    .lastPoint = 0,  // as many marks as there are points
    .draw = Draw,
};

}  // namespace tavix
