#include "LineControl.h"

#include <QPainter>
#include <QPen>
#include <algorithm>
#include <cmath>

namespace vb {

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

}  // namespace vb
