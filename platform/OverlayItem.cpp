// Windowless items, drawn by their container above its canvas.
#include "OverlayItem.h"

namespace vb {

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

}  // namespace vb
