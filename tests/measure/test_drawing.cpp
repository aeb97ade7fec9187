// Results drawn on the still: lines, circles and marks per kind, the value texts and their
// places, the selection colours, the order of rows and a change of zoom.
#include <gtest/gtest.h>

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <vector>

#include "ResultDrawing.h"
#include "StartedMain.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"

using Cmd = tavix::CommandMode;

using tavix::Point2D;
using tavix::Var;

namespace {

// Colours as the settings hold them (0x00BBGGRR) and as the canvas shows them.
constexpr uint32_t kLine1 = 0x0000FF, kLine2 = 0x00FF00, kValue1 = 0xFFFF00, kValue2 = 0xFF00FF;
constexpr QRgb kRed = 0xFFFF0000, kGreen = 0xFF00FF00, kCyan = 0xFF00FFFF, kMagenta = 0xFFFF00FF;
constexpr QRgb kGrey = 0xFF404040;
const QString kValueText = QStringLiteral("12.346");  // 12.3456 in "0.000"

struct Drawing : testing_support::StartedMain {
    QImage canvas;

    Drawing() : StartedMain(3) {
        Var().MeasureLineColor[1] = kLine1;
        Var().MeasureLineColor[2] = kLine2;
        Var().MeasureLineColor[3] = 0xFFFFFF;  // the running command's: must not show
        Var().MeasureValueColor[1] = kValue1;
        Var().MeasureValueColor[2] = kValue2;
        f.ResultFormat = QStringLiteral("0.000");
        QImage grey(400, 300, QImage::Format_RGB32);
        grey.fill(kGrey);
        f.picTempView->SetPicture(grey);
        Select(99, 99);  // no record selected unless a test says so
    }
    void Add(tavix::CommandMode kind, std::vector<Point2D> points, double value = 12.3456) {
        points.insert(points.begin(), Point2D{});
        ++f.ResultCount;
        Var().ResultTable[f.ResultCount] = {f.ResultCount, kind, points, value};
    }
    void Select(int row, int rowSel) {
        f.grdResult->SetRow(row);
        f.grdResult->SetRowSel(rowSel);
    }
    void Redraw() {
        tavix::DispImage(f, false);
        tavix::DrawMeasureResults(f);
        canvas = f.picStillView->GetImage();
    }
    // Canvas pixel of a point in the still's scale.
    QPoint Px(double x, double y) const {
        const vb::PictureBox& still = *f.picStillView;
        return QPoint(int(std::floor(still.ToPixelX(x) + 0.5)), int(std::floor(still.ToPixelY(y) + 0.5))) -
               still.CanvasRect().topLeft();
    }
    QRgb At(double x, double y) const {
        const QPoint p = Px(x, y);
        return canvas.valid(p) ? canvas.pixel(p) : 0;
    }
    // Lines are not antialiased, but a sample may fall a pixel beside a slanted one.
    bool Around(double x, double y, QRgb colour) const {
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx)
                if (At(x + dx, y + dy) == colour) return true;
        return false;
    }
    // The text with its top left at (x, y): every fully covered pixel of the same text laid out
    // by Qt in the still's font, and no other pixel of that box, is in the colour.
    void ExpectText(double x, double y, const QString& text, QRgb colour) const {
        const QFont& font = f.picStillView->Font();
        const QFontMetricsF fm(font);
        QImage ref(int(std::ceil(fm.horizontalAdvance(text))) + 2, int(std::ceil(fm.height())) + 1,
                   QImage::Format_RGB32);
        ref.fill(kGrey);
        QPainter p(&ref);
        p.setFont(font);
        p.setPen(QColor::fromRgb(colour));
        p.drawText(QPointF(0, fm.ascent()), text);
        p.end();
        const QPoint at = Px(x, y);
        int full = 0, wrong = 0;
        for (int ry = 0; ry < ref.height(); ++ry)
            for (int rx = 0; rx < ref.width(); ++rx) {
                const bool want = ref.pixel(rx, ry) == colour;
                const QPoint c = at + QPoint(rx, ry);
                full += want;
                wrong += want != (canvas.valid(c) && canvas.pixel(c) == colour);
            }
        ASSERT_GT(full, 0) << "the reference text has no solid pixel";
        EXPECT_EQ(wrong, 0) << qPrintable(text) << " at " << x << "," << y;
    }
};

struct KindCase {
    tavix::CommandMode kind;
    std::vector<Point2D> points;
    std::vector<Point2D> on;   // on a drawn line or circle
    std::vector<Point2D> off;  // on a line the kind does not draw
    Point2D text;
};

TEST(Draw, EachKindDrawsItsLinesAndPutsItsValueAtItsPlace) {
    // clang-format off
    const KindCase cases[] = {
        {Cmd::Distance, {{-100, -80}, {60, 0}}, {{-100, -80}, {60, 0}, {-60, -60}}, {}, {-20, -40}},
        // The radius is P(2).X, not the distance to P(2).
        {Cmd::Circle, {{0, 0}, {80, 30}}, {{80, 0}, {0, -80}, {-80, 0}, {0, 80}}, {{-85, 0}, {0, 85}}, {0, 0}},
        {Cmd::TwoCircles, {{-50, 10}, {60, -3}}, {{10, 10}, {-50, -50}, {-110, 10}}, {}, {-50, 10}},
        {Cmd::Perpendicular, {{-150, -100}, {50, -100}, {0, -100}, {0, 100}}, {{-140, -100}, {40, -100}, {0, 90}, {0, -60}}, {}, {0, 0}},
        // The last line closes the polygon.
        {Cmd::Area, {{-100, -100}, {100, -100}, {100, 100}, {-100, 100}}, {{0, -100}, {100, 0}, {0, 100}, {-100, 0}}, {}, {-100, -100}},
        // P(4) and P(5) of an angle by two lines stay undrawn.
        {Cmd::ThreePointAngle, {{-120, 60}, {0, -60}, {120, 60}, {-120, -120}, {120, -120}}, {{-60, 0}, {60, 0}},
         {{0, -120}, {0, 60}, {-120, -30}}, {0, -60}},
        {Cmd::ParallelDistance, {{-100, -80}, {100, -80}, {-100, 80}, {100, 80}, {-40, -80}, {-40, 80}},
         {{-90, -80}, {90, 80}, {-40, -60}, {-40, 60}}, {{0, 0}, {30, 0}}, {-40, 0}},
    };
    // clang-format on
    Drawing d;
    for (const KindCase& c : cases) {
        d.f.ResultCount = 0;
        d.Add(c.kind, c.points);
        d.Redraw();
        for (const Point2D& p : c.on)
            EXPECT_TRUE(d.Around(p.X, p.Y, kRed)) << int(c.kind) << " at " << p.X << "," << p.Y;
        for (const Point2D& p : c.off)
            EXPECT_FALSE(d.Around(p.X, p.Y, kRed)) << int(c.kind) << " at " << p.X << "," << p.Y;
        d.ExpectText(c.text.X, c.text.Y, kValueText, kCyan);
    }
}

TEST(Draw, CountMarksAreThreePixelSquaresNumberedWithTheirRowAsAPrintedNumber) {
    Drawing d;
    for (int i = 0; i < 6; ++i) d.Add(Cmd::Distance, {{-190, 140.0 - 4 * i}, {-150, 140.0 - 4 * i}});
    const std::vector<Point2D> marks{{-100, -50}, {0, 0}, {100, 60}};
    d.Add(Cmd::Count, marks);
    d.Redraw();
    for (const Point2D& p : marks) {
        for (int dy = -2; dy <= 2; ++dy)
            for (int dx = -2; dx <= 2; ++dx) {
                const bool inside = std::abs(dx) <= 1 && std::abs(dy) <= 1;
                EXPECT_EQ(d.At(p.X + dx, p.Y + dy), inside ? kRed : kGrey)
                    << "mark at " << p.X << "," << p.Y << " offset " << dx << "," << dy;
            }
        // A blank for the sign in front of the row number: the digit stands one blank right.
        d.ExpectText(p.X + 4, p.Y + 4, QStringLiteral(" 7 "), kCyan);
    }
}

TEST(Draw, SelectedRowsTakeTheSecondColoursAndRowsBeyondTheCountStayUndrawn) {
    const struct {
        int row, rowSel, count;
        std::vector<int> selected;
    } cases[] = {
        {1, 1, 5, {1}},                               // as at start
        {5, 2, 5, {2, 3, 4, 5}},                      // either way round
        {2, 5, 5, {2, 3, 4, 5}}, {4, 99, 5, {4, 5}},  // past the count
        {6, 6, 5, {}},                                // an empty row, as after a removal
        {1, 1, 3, {1}},          {1, 1, 0, {}},
    };
    Drawing d;
    for (const auto& c : cases) {
        d.f.ResultCount = 0;
        for (int i = 1; i <= 5; ++i) d.Add(Cmd::Distance, {{-150, -140.0 + 45 * i}, {150, -140.0 + 45 * i}});
        d.f.ResultCount = static_cast<int16_t>(c.count);
        d.Select(c.row, c.rowSel);
        d.Redraw();
        for (int i = 1; i <= 5; ++i) {
            const double y = -140.0 + 45 * i;
            const bool sel = std::find(c.selected.begin(), c.selected.end(), i) != c.selected.end();
            const QRgb expected = i > c.count ? kGrey : sel ? kGreen : kRed;
            EXPECT_EQ(d.At(-100, y), expected) << "row " << i << " with " << c.row << "-" << c.rowSel;
            if (i <= c.count) d.ExpectText(0, y, kValueText, sel ? kMagenta : kCyan);
        }
    }
}

TEST(Draw, LaterRowsLieOverEarlierOnes) {
    Drawing d;
    d.Add(Cmd::Distance, {{-50, 20}, {50, 20}});
    d.Add(Cmd::Distance, {{20, -50}, {20, 50}});
    for (const auto& [selected, crossing] : {std::pair{2, kGreen}, {1, kRed}}) {
        d.Select(selected, selected);
        d.Redraw();
        EXPECT_EQ(d.At(20, 20), crossing) << "row " << selected << " selected";
    }
}

TEST(Draw, ZoomMovesLinesAndPlacesButNotTheTextSizeOrTheMark) {
    Drawing d;
    d.Add(Cmd::Distance, {{-50, 20}, {50, 20}});
    d.Add(Cmd::Count, {{30, -30}});
    d.Select(2, 2);  // the count's number in another colour than the value
    d.Redraw();
    EXPECT_EQ(std::tuple(d.At(45, 20), d.At(90, 40)), std::tuple(kRed, kGrey));
    testing_support::Zoom(d.f, "x 2.0");
    ASSERT_DOUBLE_EQ(Var().ZoomFactor, 2.0);
    d.canvas = d.f.picStillView->GetImage();
    // The line doubled, the mark moved and kept its size, the text moved in its size.
    EXPECT_EQ(std::tuple(d.At(90, 40), d.At(60, -60), d.At(62, -60)), std::tuple(kRed, kGreen, kGrey));
    d.ExpectText(0, 40, kValueText, kCyan);
}

}  // namespace
