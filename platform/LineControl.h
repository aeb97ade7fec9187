#pragma once
// A windowless line between two points in its container's scale.
#include "OverlayItem.h"

namespace vb {

class LineControl : public OverlayItem {
public:
    LineControl(Form& form, ContainerBase* container, const QString& name, int index = -1);
    double X1() const { return x1_; }
    double Y1() const { return y1_; }
    double X2() const { return x2_; }
    double Y2() const { return y2_; }
    void SetX1(double v) { SetPoints(v, y1_, x2_, y2_); }
    void SetY1(double v) { SetPoints(x1_, v, x2_, y2_); }
    void SetX2(double v) { SetPoints(x1_, y1_, v, y2_); }
    void SetY2(double v) { SetPoints(x1_, y1_, x2_, v); }
    void SetPoints(double x1, double y1, double x2, double y2);
    void ApplyGeometry() override {}
    void Paint(QPainter& painter) const override;

protected:
    QRect PixelBounds() const override;

private:
    double x1_ = 0, y1_ = 0, x2_ = 0, y2_ = 0;
};

}  // namespace vb
