#pragma once
// Rectangle, square, oval or circle in its box.
#include "OverlayItem.h"

namespace vb {

class Shape : public OverlayItem {
public:
    enum Kind { Rectangle = 0, Square = 1, Oval = 2, Circle = 3, RoundedRectangle = 4, RoundedSquare = 5 };
    Shape(Form& form, ContainerBase* container, const QString& name, int index = -1);
    int ShapeKind() const { return kind_; }
    void SetShapeKind(int kind);
    // The box is stored as given; drawing maps it through the container.
    void ApplyGeometry() override { Repaint(); }
    void Paint(QPainter& painter) const override;

protected:
    QRect PixelBounds() const override;

private:
    int kind_ = Rectangle;
};

}  // namespace vb
