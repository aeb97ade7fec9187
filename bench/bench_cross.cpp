// A mouse move over the still while a cross line is placed: both lines of the pair follow.
// Timed per event, handler only and with the screen update it causes, against a bare widget
// that moves two one-pixel children over the same picture. Counts what the still repaints.
#include <QMouseEvent>
#include <QPainter>
#include <QPaintEvent>
#include <algorithm>
#include <cstdio>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "CommandArea.h"
#include "StillDisplay.h"

namespace {

class BareView : public QWidget {
public:
    explicit BareView(const QImage& image) : image_(image) {
        resize(image.size());
        for (QWidget* line : {&v, &h}) {
            line->setParent(this);
            line->setAutoFillBackground(true);
            line->setPalette(QPalette(Qt::red));
        }
        v.resize(1, image.height());
        h.resize(image.width(), 1);
    }
    QWidget v, h;

protected:
    void paintEvent(QPaintEvent* e) override { QPainter(this).drawImage(e->rect(), image_, e->rect()); }

private:
    QImage image_;
};

// Paint events a widget receives, and the pixels they ask for.
class PaintCounter : public QObject {
public:
    long events = 0, pixels = 0, largest = 0;
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint) {
            ++events;
            long area = 0;
            for (const QRect& r : static_cast<QPaintEvent*>(e)->region()) area += long(r.width()) * r.height();
            pixels += area;
            largest = std::max(largest, area);
        }
        return false;
    }
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    bench::BenchWindow w(3);
    const QImage picture = w.ShowFlatStill();
    w.f.chkCross->SetValue(1);
    if (w.f.CommandMode != tavix::CommandMode::FirstCrossLine)
        bench::Stop("state:", QStringLiteral("cross line not being placed"));
    QWidget* still = w.f.picStillView->ClientWidget();
    BareView bare(picture);
    bare.show();
    QCoreApplication::processEvents();
    const QImage before = w.f.picStillView->GetImage();

    const int runs = 2001;
    bench::PointerPath next;
    PaintCounter counter;
    const auto [handler, withPaint] =
        bench::TimeMouseMoves(still, runs, next, [&] { still->installEventFilter(&counter); });
    still->removeEventFilter(&counter);
    const double barePaint = MedianMs(runs,
                                      [&] {
                                          const QPointF p = next();
                                          bare.v.move(int(p.x()), 0);
                                          bare.h.move(0, int(p.y()));
                                          QCoreApplication::processEvents();
                                      }) *
                             1000;
    // A redraw of the picture (Cls, PaintPicture) invalidates the whole still; a moved line only its strip.
    const long whole = long(still->width()) * still->height();
    const bool redrawn = counter.largest * 2 > whole || w.f.picStillView->GetImage() != before;

    std::printf(
        "mouse move to cross line pair: handler median %.1f us; with its screen update %.1f us, "
        "bare widget with two moved children %.1f us, ratio %.2f (goal under 1000 us)\n",
        handler, withPaint, barePaint, withPaint / barePaint);
    std::printf(
        "picStillView during %d moves: picture redrawn %s (goal: never); paint events %ld, %.0f px each "
        "on average, largest %ld px: the strips the lines uncover, copied from the kept picture "
        "(the whole still is %ld px)\n",
        runs, redrawn ? "YES" : "never", counter.events, counter.events ? double(counter.pixels) / counter.events : 0.0,
        counter.largest, whole);
    return 0;
}
