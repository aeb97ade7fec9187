#include "MeasureResults.h"

#include <cmath>

#include "CalcModule.h"
#include "CommonModule.h"
#include "Convert.h"
#include "DialogHost.h"
#include "Errors.h"
#include "MeasureCommands.h"
#include "ResultDrawing.h"
#include "frmMain.h"

namespace tavix {

static_assert(MaxResultRows < ResultTableSize, "a grid row needs its result slot");

namespace {

// Deliberately this literal, not 2 * Pi: results must agree to the last bit.
constexpr double FullTurn = 6.28318530717958;

// Rows the finished command adds; 0 for an unknown command or too few points to compute it.
int RowsToAdd(const frmMain& f) {
    const int upper = static_cast<int>(f.WorkPoints.size()) - 1;
    switch (f.CommandMode) {
    case CommandMode::Count: return upper >= 0 ? 1 : 0;
    case CommandMode::Distance: return upper >= 2 ? 1 : 0;
    case CommandMode::Circle: return upper >= 3 ? 1 : 0;
    case CommandMode::TwoCircles: return upper >= 6 ? 3 : 0;
    case CommandMode::Perpendicular: return upper >= 3 ? upper - 2 : 0;
    case CommandMode::Area: return upper >= 1 ? 1 : 0;
    case CommandMode::ThreePointAngle: return upper >= 3 ? 1 : 0;
    case CommandMode::TwoLineAngle: return upper >= 5 ? 1 : 0;
    case CommandMode::ParallelDistance: return upper >= 3 ? 1 : 0;
    default: return 0;
    }
}

// The record at slot ResultCount, its Points replaced by upper + 1 empty points.
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

void Finish(frmMain& f) {
    DrawMeasureResults(f);
    f.ResultDirty = true;
}

// Undone before the box, so nothing repainted while the box is up sees the unwritten slot.
void Fail(frmMain& f, int32_t text, bool redraw) {
    f.ResultCount -= 1;
    vb::Host().MsgBox(GST(text), vb::vbOKOnly | vb::vbCritical, GST(11134), &f);
    if (redraw) Finish(f);
}

// Runs body; a non-finite degree value raised inside it counts as a failed angle.
template <class F>
bool RunsThrough(F&& body) {
    return vb::Trap(std::forward<F>(body)) == 0;
}

}  // namespace

void AddMeasureResult(frmMain& f) {
    const VariableDefinition& v = Var();
    const ProofRecord& proof = v.ProofTable[v.CurrentProofNo];
    const double factor = (1 / v.ZoomFactor) * proof.Value;
    const int rows = RowsToAdd(f);
    if (rows == 0) return;
    if (f.ResultCount + rows > MaxResultRows) {
        RefuseFullResultList(f);
        return;
    }
    f.ResultCount += 1;
    std::vector<Point2D>& wp = f.WorkPoints;

    switch (f.CommandMode) {
    case CommandMode::Count: {
        ResultRecord& r = StoreCopy(f, CommandMode::Count);
        r.Value = static_cast<double>(wp.size() - 1);
        WriteRow(f, GST(11130), vb::CStr(r.Value), GST(11131));
        break;
    }
    case CommandMode::Distance: {
        ResultRecord& r = StoreCopy(f, CommandMode::Distance);
        r.Value = PointDistance(wp[1], wp[2]) * factor;
        WriteRow(f, GST(11132), vb::Format(r.Value, f.ResultFormat), proof.Unit);
        break;
    }
    case CommandMode::Circle: {
        Point2D center;
        double radius = 0;
        if (!CircleFrom3Points(wp[1], wp[2], wp[3], center, radius)) return Fail(f, 20130, true);
        ResultRecord& r = Store(f, CommandMode::Circle, 2);
        r.Points[1] = center;
        r.Points[2].X = radius;
        r.Value = (radius + radius) * factor;
        WriteRow(f, GST(11133), vb::Format(r.Value, f.ResultFormat), proof.Unit);
        break;
    }
    case CommandMode::TwoCircles: {
        Point2D center[3];
        double radius[3] = {};
        const bool ok1 = CircleFrom3Points(wp[1], wp[2], wp[3], center[1], radius[1]);
        const bool ok2 = CircleFrom3Points(wp[4], wp[5], wp[6], center[2], radius[2]);
        if (!ok1 || !ok2) return Fail(f, 20130, true);
        for (int i = 1; i <= 2; ++i) {
            ResultRecord& r = Store(f, CommandMode::TwoCircles, 2);
            r.Points[1] = center[i];
            r.Points[2].X = radius[i];
            r.Value = (radius[i] + radius[i]) * factor;
            WriteRow(f, GST(11135, static_cast<double>(i)), vb::Format(r.Value, f.ResultFormat), proof.Unit);
            f.ResultCount += 1;
        }
        ResultRecord& r = Store(f, CommandMode::Distance, 2);
        r.Points[1] = center[1];
        r.Points[2] = center[2];
        r.Value = PointDistance(center[1], center[2]) * factor;
        WriteRow(f, GST(11136), vb::Format(r.Value, f.ResultFormat), proof.Unit);
        break;
    }
    case CommandMode::Perpendicular: {
        // A point whose foot fails is skipped and the next one takes its row, so rows stay
        // without gaps; at the end ResultCount is the last row written, never one above it.
        const int16_t before = f.ResultCount - 1;
        int16_t written = 0;
        for (size_t i = 3; i < wp.size(); ++i) {
            Point2D foot;
            double distance = 0;
            if (!PerpendicularFoot(wp[1], wp[2], wp[i], foot, distance)) continue;
            f.ResultCount = before + written + 1;
            ResultRecord& r = Store(f, CommandMode::Perpendicular, 4);
            r.Points[1] = wp[1];
            r.Points[2] = wp[2];
            r.Points[3] = wp[i];
            r.Points[4] = foot;
            r.Value = distance * factor;
            WriteRow(f, GST(11137), vb::Format(r.Value, f.ResultFormat), proof.Unit);
            ++written;
        }
        f.ResultCount = before + written;
        break;
    }
    case CommandMode::Area: {
        double area = 0;
        if (!PolygonArea(wp, area)) return Fail(f, 20132, false);
        ResultRecord& r = StoreCopy(f, CommandMode::Area);
        r.Value = area;
        WriteRow(f, GST(11138), vb::Format(r.Value, f.ResultFormat), proof.Unit + QStringLiteral("2"));
        break;
    }
    case CommandMode::ThreePointAngle:
    case CommandMode::TwoLineAngle: {
        if (f.CommandMode == CommandMode::TwoLineAngle) {
            Point2D vertex;
            if (!LineIntersection(wp[1], wp[2], wp[3], wp[4], vertex)) return Fail(f, 20133, false);
            // Copies: wp[1] and wp[3] are overwritten below.
            const Point2D ray1 = PointDistance(wp[1], vertex) > PointDistance(wp[2], vertex) ? wp[1] : wp[2];
            const Point2D ray2 = PointDistance(wp[3], vertex) > PointDistance(wp[4], vertex) ? wp[3] : wp[4];
            wp[1] = ray1;
            wp[2] = vertex;
            wp[3] = ray2;
        }
        double angle = 0;
        if (!VertexAngle(wp[1], wp[2], wp[3], angle)) return Fail(f, 20133, false);
        if (f.CommandMode == CommandMode::TwoLineAngle) {
            double a1 = 0, a2 = 0;
            if (!VertexAngle(wp[1], wp[2], wp[5], a1) || !VertexAngle(wp[3], wp[2], wp[5], a2))
                return Fail(f, 20133, false);
            // A side point inside the inner angle splits it: A1 + A2 is the inner angle.
            bool outside = false;
            if (!RunsThrough([&] { outside = std::abs(RadianToDegree(a1 + a2) - RadianToDegree(angle)) >= 1.0; }))
                return Fail(f, 20133, false);
            if (outside) angle = FullTurn - angle;
        }
        double degrees = 0;
        if (!RunsThrough([&] { degrees = RadianToDegree(angle); })) return Fail(f, 20133, false);
        ResultRecord& r = StoreCopy(f, CommandMode::ThreePointAngle);
        r.Value = degrees;
        WriteRow(f, GST(11139), vb::Format(r.Value, f.ResultFormat), GST(11140));
        break;
    }
    case CommandMode::ParallelDistance: {
        Point2D foot;
        double distance = 0;
        if (!PerpendicularFoot(wp[1], wp[2], wp[3], foot, distance)) return Fail(f, 20131, true);
        const Point2D offset{wp[3].X - foot.X, wp[3].Y - foot.Y};
        ResultRecord& r = Store(f, CommandMode::ParallelDistance, 6);
        r.Points[1] = wp[1];
        r.Points[2] = wp[2];
        r.Points[3] = Point2D{wp[1].X + offset.X, wp[1].Y + offset.Y};
        r.Points[4] = Point2D{wp[2].X + offset.X, wp[2].Y + offset.Y};
        r.Points[5] = foot;
        r.Points[6] = wp[3];
        r.Value = distance * factor;
        WriteRow(f, GST(11132), vb::Format(r.Value, f.ResultFormat), proof.Unit);
        break;
    }
    default: break;
    }
    Finish(f);
}

}  // namespace tavix
