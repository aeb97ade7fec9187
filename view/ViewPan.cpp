#include "ViewPan.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPalette>
#include <QPointer>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>

#include "App.h"
#include "DialogHost.h"
#include "StillDisplay.h"
#include "VariableDefinition.h"
#include "frmMain.h"
#include "ViewGeometry.h"

namespace tavix {

namespace {

// One notch of the wheel, and how far it moves the view.
constexpr int kNotch = 120;
constexpr double kWheelPixels = 60;

// The reach of the pan on one axis, in twips from the centred place: the picture's edges can
// come to the view's edges, the far one to the scroll bar that covers it.
struct Reach {
    double low = 0, high = 0;
};

Reach ReachOf(double picture, double view, double bar) {
    if (picture <= view) return {};
    return {-(picture - view) / 2, (picture - view) / 2 + bar};
}

class Panner : public QObject {
public:
    static constexpr const char* kName = "panner";
    explicit Panner(frmMain& f) : QObject(f.picViewArea->ClientWidget()), f_(f) {
        setObjectName(QLatin1String(kName));
        QWidget* area = f.picViewArea->ClientWidget();
        for (Qt::Orientation o : {Qt::Horizontal, Qt::Vertical}) {
            auto* bar = new QScrollBar(o, area);
            bar->hide();
            QObject::connect(bar, &QScrollBar::valueChanged, this, [this, o](int value) {
                if (placing_) return;
                vb::RunEvent([&] { ScrollTo(o, value); });
            });
            (o == Qt::Horizontal ? h_ : v_) = bar;
        }
        // Where the two bars meet: a plain square, as beside any pair of scroll bars.
        corner_ = new QWidget(area);
        QPalette face = corner_->palette();
        face.setColor(QPalette::Window, QApplication::palette().color(QPalette::Button));
        corner_->setPalette(face);
        corner_->setAutoFillBackground(true);
        corner_->hide();
        area->installEventFilter(this);
        f.picStillView->ClientWidget()->installEventFilter(this);
        stillFrame_ = f.picStillView->Widget();
        stillFrame_->installEventFilter(this);
    }

    static Panner* Of(frmMain& f) {
        return dynamic_cast<Panner*>(
            f.picViewArea->ClientWidget()->findChild<QObject*>(QLatin1String(kName), Qt::FindDirectChildrenOnly));
    }

    int BarThickness() const { return h_->sizeHint().height(); }

    // Shows the bars the picture needs, over the right and bottom edges of the view.
    void Show(bool h, bool v, const Reach& x, const Reach& y, double offsetX, double offsetY) {
        placing_ = true;
        auto* area = static_cast<QWidget*>(parent());
        const int t = BarThickness(), w = area->width(), hgt = area->height();
        Set(h_, h, x, offsetX, QRect(0, hgt - t, w - (v ? t : 0), t), w);
        Set(v_, v, y, offsetY, QRect(w - t, 0, t, hgt - (h ? t : 0)), hgt);
        corner_->setGeometry(w - t, hgt - t, t, t);
        corner_->setVisible(h && v);
        corner_->raise();
        placing_ = false;
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        switch (event->type()) {
        case QEvent::Show:
        case QEvent::Hide:
            // The bars belong to the still; the live view has none.
            // Only the widget is asked: this also runs while the window is taken down.
            if (watched == stillFrame_ && stillFrame_->isHidden()) Show(false, false, {}, {}, 0, 0);
            return false;
        case QEvent::MouseButtonPress:
        case QEvent::MouseMove:
        case QEvent::MouseButtonRelease: return Drag(static_cast<QMouseEvent*>(event));
        case QEvent::Wheel: return Wheel(static_cast<QWheelEvent*>(event));
        default: return false;
        }
    }

private:
    static void Set(QScrollBar* bar, bool shown, const Reach& r, double offset, const QRect& place, int page) {
        if (!shown) {
            bar->hide();
            return;
        }
        bar->setRange(qRound(geometry::PixelsX(r.low)), qRound(geometry::PixelsX(r.high)));
        bar->setPageStep(page);
        bar->setSingleStep(static_cast<int>(kWheelPixels / 3));
        bar->setValue(qRound(geometry::PixelsX(offset)));
        bar->setGeometry(place);
        bar->show();
        bar->raise();
    }

    void ScrollTo(Qt::Orientation o, int value) {
        const double current = (o == Qt::Horizontal ? f_.Pan.X : f_.Pan.Y) * geometry::Zoom();
        PanBy(f_, o == Qt::Horizontal ? value - current : 0, o == Qt::Vertical ? value - current : 0);
    }

    // The middle button drags the picture with the pointer.
    bool Drag(QMouseEvent* e) {
        const bool middle = e->button() == Qt::MiddleButton;
        if (e->type() == QEvent::MouseButtonPress) {
            if (!middle) return false;
            if (!dragging_) QApplication::setOverrideCursor(Qt::ClosedHandCursor);
            dragging_ = true;
            last_ = e->globalPosition();
            return true;
        }
        if (!dragging_) return false;
        // A release that went elsewhere ends the drag too.
        const bool lost = e->type() == QEvent::MouseMove && !(e->buttons() & Qt::MiddleButton);
        if (e->type() == QEvent::MouseButtonRelease || lost) {
            if (!middle && !lost) return false;
            dragging_ = false;
            QApplication::restoreOverrideCursor();
            return !lost;
        }
        const QPointF d = e->globalPosition() - last_;
        last_ = e->globalPosition();
        vb::RunEvent([&] { PanBy(f_, -d.x(), -d.y()); });
        return true;
    }

    // Ctrl+wheel steps the zoom list; the wheel alone moves the view, with Shift sideways.
    bool Wheel(QWheelEvent* e) {
        QPoint delta = e->angleDelta();
        if (e->modifiers() & Qt::ControlModifier) {
            wheel_ += delta.y() != 0 ? delta.y() : delta.x();
            const int steps = wheel_ / kNotch;
            wheel_ -= steps * kNotch;
            if (steps != 0) vb::RunEvent([&] { StepZoom(f_, steps); });
            return true;
        }
        if (f_.ViewMode == ViewMode::Live || !f_.picStillView->Visible()) return false;
        if ((e->modifiers() & Qt::ShiftModifier) && delta.x() == 0) delta = QPoint(delta.y(), 0);
        vb::RunEvent([&] { PanBy(f_, -delta.x() * kWheelPixels / kNotch, -delta.y() * kWheelPixels / kNotch); });
        return true;
    }

    frmMain& f_;
    QScrollBar* h_ = nullptr;
    QScrollBar* v_ = nullptr;
    QWidget* corner_ = nullptr;
    QPointer<QWidget> stillFrame_;
    bool placing_ = false;
    bool dragging_ = false;
    QPointF last_;
    int wheel_ = 0;
};

}  // namespace

void PlaceStill(frmMain& f) {
    vb::PictureBox& still = *f.picStillView;
    const vb::PictureBox& view = *f.picViewArea;
    const double zoom = geometry::Zoom();
    // Another picture starts centred.
    const double pw = f.picTempView->Width(), ph = f.picTempView->Height();
    if (pw != f.Pan.PictureWidth || ph != f.Pan.PictureHeight) f.Pan = {0, 0, pw, ph};

    Panner* panner = Panner::Of(f);
    const double bar = panner ? geometry::TwipsX(panner->BarThickness()) : 0;
    const double vw = view.ScaleWidth(), vh = view.ScaleHeight();
    const double sw = still.Width(), sh = still.Height();
    const bool h = panner && sw > vw, v = panner && sh > vh;
    const Reach x = ReachOf(sw, vw, v ? bar : 0), y = ReachOf(sh, vh, h ? bar : 0);
    // The pan is kept in picture pixels, so the same point stays in the middle at any zoom.
    const double offsetX = std::clamp(geometry::TwipsX(f.Pan.X * zoom), x.low, x.high);
    const double offsetY = std::clamp(geometry::TwipsY(f.Pan.Y * zoom), y.low, y.high);
    f.Pan.X = geometry::PixelsX(offsetX) / zoom;
    f.Pan.Y = geometry::PixelsY(offsetY) / zoom;
    geometry::Centre(view, still, offsetX, offsetY);
    if (panner) panner->Show(h, v, x, y, offsetX, offsetY);
}

void PanBy(frmMain& f, double dx, double dy) {
    if (f.ViewMode == ViewMode::Live || (dx == 0 && dy == 0)) return;
    const double zoom = geometry::Zoom();
    f.Pan.X += dx / zoom;
    f.Pan.Y += dy / zoom;
    DispImage(f, false);
    // The calibration hides the results while it runs.
    if (f.ResultCount > 0 && f.CommandMode != CommandMode::Calibration) f.Hooks.DrawMeasureResults(f);
}

void StepZoom(frmMain& f, int steps) {
    vb::ComboBox& list = *f.cboScale;
    QWidget* w = list.Widget();
    if (!w->isEnabled() || !w->isVisibleTo(&f)) return;
    const int index = std::clamp(list.ListIndex() + steps, 0, list.ListCount() - 1);
    if (index != list.ListIndex()) list.SetListIndex(index);
}

void WirePanning(frmMain& f) {
    if (!Panner::Of(f)) new Panner(f);
}

}  // namespace tavix
