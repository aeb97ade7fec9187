// Windowless lines and shapes, drawn by their container above its canvas.
#include "Controls.h"

#include <QPainter>
#include <QPen>

#include "ControlSupport.h"

namespace vb {

using namespace detail;

// ---- LineControl ----

namespace {
void RepaintIn(ContainerBase* container) {
    if (container) container->RepaintOverlay();
}
}  // namespace

LineControl::LineControl(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {}

LineControl::~LineControl() {
    visible_ = false;
    RepaintIn(container_);
}

void LineControl::SetVisible(bool visible) {
    visible_ = visible;
    RepaintIn(container_);
}

void LineControl::SetX1(double v) {
    x1_ = v;
    RepaintIn(container_);
}

void LineControl::SetY1(double v) {
    y1_ = v;
    RepaintIn(container_);
}

void LineControl::SetX2(double v) {
    x2_ = v;
    RepaintIn(container_);
}

void LineControl::SetY2(double v) {
    y2_ = v;
    RepaintIn(container_);
}

void LineControl::SetPoints(double x1, double y1, double x2, double y2) {
    x1_ = x1;
    y1_ = y1;
    x2_ = x2;
    y2_ = y2;
    RepaintIn(container_);
}

void LineControl::SetBorderColor(uint32_t color) {
    borderColor_ = color;
    RepaintIn(container_);
}

void LineControl::SetBorderWidth(int pixels) {
    if (pixels < 1) Raise(ErrInvalidPropertyValue);
    borderWidth_ = pixels;
    RepaintIn(container_);
}

void LineControl::Paint(QPainter& painter) const {
    if (!visible_ || !container_) return;
    const QPoint a(qRound(container_->ToPixelX(x1_)), qRound(container_->ToPixelY(y1_)));
    const QPoint b(qRound(container_->ToPixelX(x2_)), qRound(container_->ToPixelY(y2_)));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(ToQColor(borderColor_), borderWidth_, Qt::SolidLine, Qt::FlatCap));
    painter.drawLine(a, b);
    painter.restore();
}

// ---- Shape ----

Shape::Shape(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {}

Shape::~Shape() {
    visible_ = false;
    RepaintIn(container_);
}

void Shape::SetVisible(bool visible) {
    visible_ = visible;
    RepaintIn(container_);
}

void Shape::SetLeft(double v) {
    left_ = v;
    RepaintIn(container_);
}

void Shape::SetTop(double v) {
    top_ = v;
    RepaintIn(container_);
}

void Shape::SetWidth(double v) {
    if (v < 0) Raise(ErrInvalidPropertyValue);
    width_ = v;
    RepaintIn(container_);
}

void Shape::SetHeight(double v) {
    if (v < 0) Raise(ErrInvalidPropertyValue);
    height_ = v;
    RepaintIn(container_);
}

void Shape::SetShapeKind(int kind) {
    if (kind < Rectangle || kind > RoundedSquare) Raise(ErrInvalidPropertyValue);
    kind_ = kind;
    RepaintIn(container_);
}

void Shape::SetBorderColor(uint32_t color) {
    borderColor_ = color;
    RepaintIn(container_);
}

void Shape::SetBorderWidth(int pixels) {
    if (pixels < 1) Raise(ErrInvalidPropertyValue);
    borderWidth_ = pixels;
    RepaintIn(container_);
}

void Shape::ApplyGeometry() { RepaintIn(container_); }

void Shape::Paint(QPainter& painter) const {
    if (!visible_ || !container_) return;
    QRect box = MapToPixels(*container_, left_, top_, width_, height_);
    if (box.isEmpty()) return;
    const bool square = kind_ == Square || kind_ == Circle || kind_ == RoundedSquare;
    if (square) {
        const int side = std::min(box.width(), box.height());
        box = QRect(box.left() + (box.width() - side) / 2, box.top() + (box.height() - side) / 2, side, side);
    }
    // The border lies inside the box: a pen of width w centred on a path inset by w/2.
    const double inset = borderWidth_ / 2.0;
    const QRectF path = QRectF(box).adjusted(inset, inset, -inset, -inset);
    painter.save();
    painter.setPen(QPen(ToQColor(borderColor_), borderWidth_));
    painter.setBrush(Qt::NoBrush);
    switch (kind_) {
    case Oval:
    case Circle:
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.drawEllipse(path);
        break;
    case RoundedRectangle:
    case RoundedSquare: {
        const double r = std::min(box.width(), box.height()) / 8.0;
        painter.setRenderHint(QPainter::Antialiasing, true);
        painter.drawRoundedRect(path, r, r);
        break;
    }
    default:
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.drawRect(path);
        break;
    }
    painter.restore();
}

}  // namespace vb
