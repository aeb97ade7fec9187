// A mouse move over the still during a distance measure: the rubber line follows the pointer.
// Timed per event, handler only and with the repaint it causes, against a bare widget that
// draws the same picture and one line.
#include <QMouseEvent>
#include <QPainter>
#include <cstdio>

#include "BenchUtil.h"
#include "BenchWindow.h"
#include "CommandArea.h"
#include "MeasureCommands.h"
#include "StillDisplay.h"

namespace {

class BareView : public QWidget {
public:
    explicit BareView(const QImage& image) : image_(image) { resize(image.size()); }
    QLineF line;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.drawImage(0, 0, image_);
        p.setPen(Qt::yellow);
        p.drawLine(line);
    }

private:
    QImage image_;
};

}  // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    bench::BenchWindow w(3);
    const QImage picture = w.ShowFlatStill();
    tavix::cmdMeasure_Click(w.f, 0);
    tavix::picStillView_MouseUp(w.f, 1, 0, 0, 0);
    QWidget* still = w.f.picStillView->ClientWidget();
    BareView bare(picture);
    bare.show();
    QCoreApplication::processEvents();

    const int runs = 2001;
    bench::PointerPath next;
    // With the repaint the move asks for: only the strip the line sweeps.
    const auto [handler, withPaint] = bench::TimeMouseMoves(still, runs, next);
    const double barePaint = MedianMs(runs,
                                      [&] {
                                          const QLineF old = bare.line;
                                          bare.line = QLineF(QPointF(960, 540), next());
                                          const QRect swept = (QRectF(old.p1(), old.p2()).normalized() |
                                                               QRectF(bare.line.p1(), bare.line.p2()).normalized())
                                                                  .toAlignedRect()
                                                                  .adjusted(-2, -2, 2, 2);
                                          bare.update(swept);
                                          QCoreApplication::processEvents();
                                      }) *
                             1000;
    std::printf(
        "mouse move to rubber line: handler median %.1f us; with its repaint %.1f us, "
        "bare widget with the same repaint %.1f us, ratio %.2f (goal under 1000 us)\n",
        handler, withPaint, barePaint, withPaint / barePaint);
    return 0;
}
