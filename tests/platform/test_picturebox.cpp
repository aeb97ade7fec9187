// The picture box: scale mapping, pixels drawn into the canvas, Cls, the bounded canvas,
// the overlay of Line children and mouse coordinates in the scale.
#include <QCoreApplication>
#include <QMouseEvent>
#include <gtest/gtest.h>

#include "Form.h"
#include "PictureBox.h"

using vb::PictureBox;

namespace {

constexpr uint32_t kRed = 0x0000FF, kGreen = 0x00FF00, kBlue = 0xFF0000, kWhite = 0xFFFFFF;

// A canvas pixel as 0x00BBGGRR, to compare with the colours drawn.
uint32_t At(const QImage& image, int x, int y) { return vb::FromQColor(QColor(image.pixel(x, y))); }

struct PictureBoxTest : testing::Test {
    vb::Form form{"frmTest"};
    // A box at the form's corner, its size in pixels; white: cleared to white.
    PictureBox* Box(int w, int h, bool pixelScale = true, bool border = false, bool white = false) {
        form.SetClientSize(2000 * 15, 1100 * 15);
        auto* box = new PictureBox(form, &form, "pic" + QString::number(form.Controls.size()), -1, pixelScale, border);
        box->Move(0, 0, w * 15.0, h * 15.0);
        if (white) box->SetBackColor(kWhite), box->Cls();
        return box;
    }
    PictureBox* WhiteBox(int w, int h) { return Box(w, h, true, false, true); }
};

TEST_F(PictureBoxTest, ScaleMapsToClientPixels) {
    struct Row {
        const char* what;
        bool pixelScale, border;
        std::function<void(PictureBox&)> setup;
        int mode;
        double scaleLeft, scaleWidth, x, pixelX, y, pixelY;
    };
    // clang-format off
    const std::vector<Row> rows = {
        {"twips", false, false, [](PictureBox&) {}, 1, 0, 3000, 150, 10, 1500, 100},
        {"twips, border inside Width", false, true, [](PictureBox&) {}, 1, 0, 196 * 15, 15, 1, 30, 2},
        {"user, origin at the centre", true, false, [](PictureBox& b) { b.SetScaleLeft(-100), b.SetScaleTop(-50); },
         0, -100, 200, 0, 100, 0, 50},
        {"user, 2 units a pixel across, 0.5 down", true, false,
         [](PictureBox& b) { b.SetScaleWidth(400), b.SetScaleHeight(50); }, 0, 0, 400, 100, 50, 50, 100},
        {"user keeps units per pixel when the box shrinks", true, false,
         [](PictureBox& b) { b.SetScaleWidth(400), b.SetWidth(100 * 15); }, 0, 0, 200, 100, 50, 10, 10},
        {"zoom change: origin at 0, box halved, then centred", true, false,
         [](PictureBox& b) {
             b.SetScaleLeft(0), b.SetScaleTop(0), b.Move(0, 0, 100 * 15, 50 * 15);
             b.SetScaleLeft(-b.ScaleWidth() / 2), b.SetScaleTop(-b.ScaleHeight() / 2);
         },
         0, -50, 100, 0, 50, 0, 25},
        {"ScaleMode 3 resets a user scale", true, false, [](PictureBox& b) { b.SetScaleLeft(-77), b.SetScaleMode(3); },
         3, 0, 200, 5, 5, 7, 7},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        PictureBox* box = Box(200, 100, row.pixelScale, row.border);
        row.setup(*box);
        EXPECT_EQ(std::tuple(box->ScaleMode(), box->ScaleLeft(), box->ScaleWidth()),
                  std::tuple(row.mode, row.scaleLeft, row.scaleWidth));
        EXPECT_EQ(std::pair(box->ToPixelX(row.x), box->ToPixelY(row.y)), std::pair(row.pixelX, row.pixelY));
        EXPECT_EQ(std::pair(box->FromPixelX(row.pixelX), box->FromPixelY(row.pixelY)), std::pair(row.x, row.y));
    }
}

TEST_F(PictureBoxTest, ChildrenFollowAScaleChange) {
    PictureBox* outer = Box(200, 100);
    auto* inner = new PictureBox(form, outer, "picInner", -1, true, false);
    inner->Move(0, 0, 10, 10);
    outer->SetScaleLeft(-100);
    outer->SetScaleTop(-50);
    EXPECT_EQ(inner->Widget()->geometry(), QRect(100, 50, 10, 10));
    outer->SetScaleWidth(100);  // two pixels a unit across
    EXPECT_EQ(inner->Widget()->geometry(), QRect(200, 50, 20, 10));
}

TEST_F(PictureBoxTest, DrawingLandsOnTheRightPixels) {
    struct Row {
        const char* what;
        std::function<void(PictureBox&)> draw;
        uint32_t color;
        std::vector<QPoint> painted, untouched;
    };
    // clang-format off
    const std::vector<Row> rows = {
        {"line with both end points", [](PictureBox& b) { b.Line(5, 5, 15, 5, kRed); }, kRed,
         {{5, 5}, {10, 5}, {15, 5}}, {{4, 5}, {16, 5}, {10, 4}, {10, 6}}},
        {"line of no length", [](PictureBox& b) { b.Line(9, 9, 9, 9, kRed); }, kRed, {{9, 9}}, {{8, 9}, {10, 9}}},
        {"DrawWidth 3", [](PictureBox& b) { b.DrawWidth = 3, b.Line(5, 10, 25, 10, kRed); }, kRed,
         {{15, 9}, {15, 10}, {15, 11}}, {{15, 7}, {15, 13}}},
        {"3 by 3 count mark: an outline round the clicked pixel",
         [](PictureBox& b) { b.LineBox(10, 10, 12, 12, kGreen, false); }, kGreen,
         {{10, 10}, {11, 10}, {12, 10}, {10, 11}, {12, 11}, {10, 12}, {12, 12}}, {{11, 11}, {9, 11}, {13, 11}}},
        {"box given corner to corner backwards", [](PictureBox& b) { b.LineBox(15, 12, 5, 5, kBlue, false); }, kBlue,
         {{5, 5}, {15, 12}, {5, 8}, {10, 12}}, {{10, 8}, {16, 8}, {10, 13}}},
        {"filled box", [](PictureBox& b) { b.LineBox(5, 5, 15, 12, kBlue, true); }, kBlue,
         {{5, 5}, {10, 8}, {15, 12}}, {{16, 8}, {10, 13}}},
        {"circle", [](PictureBox& b) { b.Circle(20, 15, 8, kRed); }, kRed,
         {{28, 15}, {12, 15}, {20, 7}, {20, 23}}, {{20, 15}, {24, 15}, {30, 15}}},
        {"centred user scale",
         [](PictureBox& b) { b.SetScaleLeft(-20), b.SetScaleTop(-15), b.Line(-2, 0, 2, 0, kRed); }, kRed,
         {{18, 15}, {22, 15}}, {{17, 15}, {23, 15}, {20, 14}}},
    };
    // clang-format on
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        PictureBox* box = WhiteBox(40, 30);
        row.draw(*box);
        const QImage img = box->GetImage();
        ASSERT_EQ(img.size(), QSize(40, 30));
        for (const QPoint& p : row.painted) EXPECT_EQ(At(img, p.x(), p.y()), row.color) << p.x() << "," << p.y();
        for (const QPoint& p : row.untouched) EXPECT_EQ(At(img, p.x(), p.y()), kWhite) << p.x() << "," << p.y();
    }
}

TEST_F(PictureBoxTest, ClsShowsBackColorAndPicture) {
    PictureBox* box = WhiteBox(20, 20);
    QImage pic(5, 5, QImage::Format_RGB32);
    pic.fill(qRgb(255, 0, 0));
    box->SetPicture(pic);
    box->SetBackColor(kBlue);
    box->Line(0, 8, 19, 8, kGreen);
    box->Cls();
    EXPECT_EQ(std::pair(At(box->GetImage(), 4, 4), At(box->GetImage(), 10, 8)), std::pair(kRed, kBlue));
}

TEST_F(PictureBoxTest, BoundedCanvasCoversOnlyWhatTheContainerShows) {
    PictureBox* area = Box(1900, 1000, false);
    auto* still = new PictureBox(form, area, "picStill", -1, true, false);
    still->SetCanvasBoundedByContainer(true);
    still->Move(-3050 * 15, -2500 * 15, 8000 * 15, 6000 * 15);  // 8000 x 6000, centred
    still->SetScaleLeft(-4000);
    still->SetScaleTop(-3000);
    still->SetBackColor(kWhite);
    still->Cls();
    EXPECT_EQ(still->CanvasRect(), QRect(3050, 2500, 1900, 1000));

    still->Line(0, 0, 9, 0, kRed);
    still->Line(-3990, -2990, -3900, -2990, kRed);  // outside: clipped
    still->Line(-4000, 100, 3999, 100, kBlue);      // crosses the visible part
    QImage img = still->GetImage();
    ASSERT_EQ(img.size(), QSize(1900, 1000));
    EXPECT_EQ(std::tuple(At(img, 950, 500), At(img, 0, 600), At(img, 1899, 600)), std::tuple(kRed, kBlue, kBlue));
    int red = 0;
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x) red += At(img, x, y) == kRed;
    EXPECT_EQ(red, 10) << "only the visible line";

    still->SetLeft(still->Left() + 100 * 15);  // moved: what overlaps stays
    EXPECT_EQ(still->CanvasRect(), QRect(2950, 2500, 1900, 1000));
    EXPECT_EQ(At(still->GetImage(), 1050, 500), kRed);

    still->Move(5000 * 15, 0, 100 * 15, 100 * 15);  // wholly outside: nothing to draw on
    still->Line(-100, -100, 100, 100, kRed);
    EXPECT_TRUE(still->GetImage().isNull());
}

TEST_F(PictureBoxTest, AnUnboundedCanvasTooLargeIsErrorSeven) {
    PictureBox* box = Box(40000, 40000);
    EXPECT_EQ(vb::Trap([&] { box->Cls(); }), 0);  // nothing drawn yet, nothing to allocate
    EXPECT_EQ(vb::Trap([&] { box->Line(0, 0, 5, 5, kRed); }), vb::ErrOutOfMemory);
    box->Move(0, 0, 10 * 15, 10 * 15);
    box->Line(0, 0, 5, 5, kRed);
    EXPECT_EQ(At(box->GetImage(), 3, 3), kRed);
}

TEST_F(PictureBoxTest, LineChildrenShowAboveTheCanvasButAreNotInIt) {
    PictureBox* box = WhiteBox(50, 50);
    box->Line(0, 5, 49, 5, kBlue);
    auto* line = new vb::LineControl(form, box, "linMeasure", 0);
    line->SetBorderColor(kRed);
    line->SetPoints(10, 25, 40, 25);
    const QImage shown = box->ClientWidget()->grab().toImage();
    EXPECT_EQ(std::tuple(At(shown, 25, 25), At(shown, 25, 5), At(box->GetImage(), 25, 25)),
              std::tuple(kRed, kBlue, kWhite));
    line->SetPoints(10, 30, 40, 30);
    EXPECT_EQ(At(box->ClientWidget()->grab().toImage(), 25, 25), kWhite) << "a moved line leaves nothing behind";
}

TEST_F(PictureBoxTest, MouseEventsComeInTheScale) {
    PictureBox* box = Box(200, 100);
    box->SetScaleLeft(-100);
    box->SetScaleTop(-50);
    QString got;
    for (auto [handler, kind] :
         {std::pair{&box->OnMouseDown, "down"}, {&box->OnMouseMove, "move"}, {&box->OnMouseUp, "up"}})
        *handler = [&got, kind](int b, int s, float x, float y) {
            got = QString("%1 %2 %3 %4 %5").arg(kind).arg(b).arg(s).arg(x).arg(y);
        };
    const struct {
        QEvent::Type type;
        QPoint pos;
        Qt::MouseButton button;
        Qt::MouseButtons held;
        Qt::KeyboardModifiers mods;
        const char* expected;  // event, button, shift, x, y
    } rows[] = {
        {QEvent::MouseButtonPress, {150, 75}, Qt::LeftButton, Qt::LeftButton, Qt::ShiftModifier, "down 1 1 50 25"},
        {QEvent::MouseButtonRelease, {0, 0}, Qt::MiddleButton, Qt::NoButton, Qt::AltModifier, "up 4 4 -100 -50"},
        {QEvent::MouseMove,
         {199, 99},
         Qt::NoButton,
         Qt::LeftButton | Qt::RightButton,
         Qt::ShiftModifier | Qt::ControlModifier,
         "move 3 3 99 49"},
    };
    QWidget* client = box->ClientWidget();
    for (const auto& r : rows) {
        QMouseEvent ev(r.type, QPointF(r.pos), client->mapToGlobal(QPointF(r.pos)), r.button, r.held, r.mods);
        QCoreApplication::sendEvent(client, &ev);
        EXPECT_EQ(got, r.expected);
    }
}

}  // namespace
