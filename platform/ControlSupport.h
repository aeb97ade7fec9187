#pragma once
// What the control classes share inside the platform layer; not for the program's logic.
#include <QRect>
#include <QWidget>
#include <algorithm>

#include "Control.h"
#include "Form.h"

namespace vb::detail {

inline QWidget* ParentFor(Form& form, ContainerBase* container) {
    if (container && container->ClientWidget()) return container->ClientWidget();
    return &form;
}

// Left/top and right/bottom edges are rounded on their own, so controls that touch in
// twips also touch in pixels.
inline QRect MapToPixels(const ContainerBase& c, double left, double top, double width, double height) {
    const double x0 = c.ToPixelX(left), y0 = c.ToPixelY(top);
    const int l = qRound(x0), t = qRound(y0);
    const int r = qRound(x0 + c.ToPixelW(width)), b = qRound(y0 + c.ToPixelH(height));
    return QRect(l, t, std::max(0, r - l), std::max(0, b - t));
}

}  // namespace vb::detail
