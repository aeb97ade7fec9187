// Windowless lines and shapes, drawn by their container above its canvas.
#include "Controls.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <QPen>

#include "ControlSupport.h"

namespace vb {

using namespace detail;

// ---- OverlayItem ----

OverlayItem::OverlayItem(Form& form, ContainerBase* container, const QString& name, int index)
    : Control(form, container, name, index) {}

OverlayItem::~OverlayItem() {
    visible_ = false;
    Repaint();
}

void OverlayItem::Repaint() const {
    if (!container_) return;
    const QRect now = visible_ ? PixelBounds() : QRect();
    const QRect dirty = shown_ | now;
    shown_ = now;
    if (!dirty.isEmpty()) container_->RepaintOverlay(dirty);
}

void OverlayItem::SetVisible(bool visible) {
    visible_ = visible;
    Repaint();
}

void OverlayItem::SetBorderColor(uint32_t color) {
    borderColor_ = color;
    Repaint();
}

void OverlayItem::SetBorderWidth(int pixels) {
    if (pixels < 1) Raise(ErrInvalidPropertyValue);
    borderWidth_ = pixels;
    Repaint();
}

// ---- LineControl ----

LineControl::LineControl(Form& form, ContainerBase* container, const QString& name, int index)
    : OverlayItem(form, container, name, index) {}

void LineControl::SetPoints(double x1, double y1, double x2, double y2) {
    x1_ = x1;
    y1_ = y1;
    x2_ = x2;
    y2_ = y2;
    Repaint();
}

namespace {
// Far-off ends stay far off without leaving the range of pixel coordinates.
int ToPixel(double v) { return std::isfinite(v) ? qRound(std::clamp(v, -1e7, 1e7)) : 0; }
}  // namespace

QRect LineControl::PixelBounds() const {
    if (!container_) return {};
    const QPoint a(ToPixel(container_->ToPixelX(x1_)), ToPixel(container_->ToPixelY(y1_)));
    const QPoint b(ToPixel(container_->ToPixelX(x2_)), ToPixel(container_->ToPixelY(y2_)));
    const int margin = borderWidth_ + 1;
    return QRect(a, b).normalized().adjusted(-margin, -margin, margin, margin);
}

void LineControl::Paint(QPainter& painter) const {
    if (!visible_ || !container_) return;
    const QPoint a(ToPixel(container_->ToPixelX(x1_)), ToPixel(container_->ToPixelY(y1_)));
    const QPoint b(ToPixel(container_->ToPixelX(x2_)), ToPixel(container_->ToPixelY(y2_)));
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(ToQColor(borderColor_), borderWidth_, Qt::SolidLine, Qt::FlatCap));
    painter.drawLine(a, b);
    painter.restore();
}

// ---- Shape ----

Shape::Shape(Form& form, ContainerBase* container, const QString& name, int index)
    : OverlayItem(form, container, name, index) {}

void Shape::SetShapeKind(int kind) {
    if (kind < Rectangle || kind > RoundedSquare) Raise(ErrInvalidPropertyValue);
    kind_ = kind;
    Repaint();
}

QRect Shape::PixelBounds() const {
    if (!container_) return {};
    const int margin = borderWidth_ + 1;
    return MapToPixels(*container_, left_, top_, width_, height_)
        .normalized()
        .adjusted(-margin, -margin, margin, margin);
}

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
