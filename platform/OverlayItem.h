#pragma once
// A windowless item (line or shape) drawn by its container above the canvas.
#include <QRect>

#include "Control.h"

class QPainter;

namespace vb {

// A windowless item (line or shape) drawn by its container above the canvas. No Enabled:
// area commands pass it over. Every change asks the container to draw the items again,
// which never repaints the picture under them.
class OverlayItem : public Control {
public:
    OverlayItem(Form& form, ContainerBase* container, const QString& name, int index);
    ~OverlayItem() override;
    bool HasEnabled() const override { return false; }
    bool Enabled() const override { return true; }
    void SetEnabled(bool) override {}
    bool Visible() const override { return visible_; }
    void SetVisible(bool visible) override;
    uint32_t BorderColor() const { return borderColor_; }
    void SetBorderColor(uint32_t color);
    int BorderWidth() const { return borderWidth_; }
    void SetBorderWidth(int pixels);
    // Draws itself with the container's mapping.
    virtual void Paint(QPainter& painter) const = 0;

protected:
    // Repaints where the item stood and where it stands now, nothing else: moving a rubber
    // line over a large picture costs only the strip it sweeps.
    void Repaint() const;
    // The client pixels the item covers, its border included.
    virtual QRect PixelBounds() const = 0;
    uint32_t borderColor_ = 0;
    int borderWidth_ = 1;

private:
    mutable QRect shown_;
};

}  // namespace vb
