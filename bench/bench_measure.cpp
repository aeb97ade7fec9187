// AddMeasureResult from the last click to the grid rows written and the new result drawn (the
// listed rows have no records to draw), against the same geometry, formats and grid writes done
// directly in the same run.
#include <QApplication>
#include <cstdio>
#include <functional>
#include <vector>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "CalcModule.h"
#include "Controls.h"
#include "MeasureResults.h"
#include "VariableDefinition.h"
#include "frmMain.h"

using Cmd = tavix::CommandMode;

namespace {

using tavix::Point2D;

struct Measure {
    const char* name;
    tavix::CommandMode mode;
    int16_t listed;
    std::vector<Point2D> clicks;  // element 0 unused
    int rows;
};

// The geometry of the measure, one value per row, without records or texts.
void BareValues(const Measure& m, double factor, double* values) {
    const std::vector<Point2D>& p = m.clicks;
    if (m.mode == Cmd::Distance) {
        values[0] = tavix::PointDistance(p[1], p[2]) * factor;
    } else if (m.mode == Cmd::TwoCircles) {
        Point2D c1, c2;
        double r1 = 0, r2 = 0;
        tavix::CircleFrom3Points(p[1], p[2], p[3], c1, r1);
        tavix::CircleFrom3Points(p[4], p[5], p[6], c2, r2);
        values[0] = (r1 + r1) * factor;
        values[1] = (r2 + r2) * factor;
        values[2] = tavix::PointDistance(c1, c2) * factor;
    } else {
        for (size_t i = 3; i < p.size(); ++i) {
            Point2D foot;
            double d = 0;
            tavix::PerpendicularFoot(p[1], p[2], p[i], foot, d);
            values[i - 3] = d * factor;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    bench::BenchWindow w(3);
    tavix::frmMain& f = w.f;

    tavix::VariableDefinition& v = tavix::Var();
    v.CurrentProofNo = 0;
    v.ProofTable[0] = {QStringLiteral("bench"), 0.0123, QStringLiteral("mm")};
    v.ZoomFactor = 2.0;
    f.ResultFormat = QStringLiteral("0.000");
    // A full-looking list, so the grid holds text in every row above the new ones.
    for (int row = 1; row <= 98; ++row) {
        f.grdResult->SetTextMatrix(row, 0, QString::number(row));
        f.grdResult->SetTextMatrix(row, 1, QStringLiteral("listed"));
        f.grdResult->SetTextMatrix(row, 2, QStringLiteral("1.000"));
        f.grdResult->SetTextMatrix(row, 3, QStringLiteral("mm"));
    }

    const Measure measures[] = {
        {"distance, 98 listed", Cmd::Distance, 98, {{}, {-310.5, 120.25}, {402.75, -86.5}}, 1},
        {"two circles, 96 listed",
         Cmd::TwoCircles,
         96,
         {{}, {100, 0}, {0, 100}, {-100, 0}, {335, 40}, {300, 75}, {265, 40}},
         3},
        {"perpendicular of 5 points, 96 listed",
         Cmd::Perpendicular,
         96,
         {{}, {-200, -50}, {250, 80}, {13, 140}, {-90, -160}, {170, 20}},
         3},
    };
    const int runs = 2001;
    const double factor = (1 / v.ZoomFactor) * v.ProofTable[0].Value;
    const QString name = QStringLiteral("name"), unit = QStringLiteral("mm");
    for (const Measure& m : measures) {
        f.CommandMode = m.mode;
        f.WorkPoints = m.clicks;
        const double ours = MedianMs(runs, [&] {
            f.ResultCount = m.listed;
            tavix::AddMeasureResult(f);
        });
        if (f.ResultCount != m.listed + m.rows) bench::Stop("row count", QString::number(f.ResultCount));
        double values[3] = {};
        const double bare = MedianMs(runs, [&] {
            BareValues(m, factor, values);
            for (int i = 0; i < m.rows; ++i) {
                const int row = m.listed + 1 + i;
                const QString no = QString::number(row);
                const QString value = QString::number(values[i], 'f', 3);
                const QString label = name + QString::number(i + 1);
                f.grdResult->SetTextMatrix(row, 0, no);
                f.grdResult->SetTextMatrix(row, 1, label);
                f.grdResult->SetTextMatrix(row, 2, value);
                f.grdResult->SetTextMatrix(row, 3, unit);
            }
        });
        std::printf(
            "AddMeasureResult, %s: median %.4f ms (goal < 5 ms); bare computation + formats + grid: "
            "median %.4f ms; ratio %.2f\n",
            m.name, ours, bare, ours / bare);
    }
    return 0;
}
