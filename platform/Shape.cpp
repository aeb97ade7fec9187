#include "Shape.h"

#include <QPainter>
#include <QPen>
#include <algorithm>

#include "ControlSupport.h"

namespace vb {

using namespace detail;

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
