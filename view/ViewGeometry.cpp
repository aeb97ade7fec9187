#include "ViewGeometry.h"

#include <algorithm>
#include <cmath>

#include "PictureBox.h"
#include "VariableDefinition.h"
#include "frmMain.h"

namespace tavix::geometry {

double Zoom() { return Var().ZoomFactor > 0 ? Var().ZoomFactor : 1.0; }

int ZoomedPixels(int pixels, double zoom) { return static_cast<int>(std::nearbyint(pixels * zoom)); }

void SetPixelSize(vb::PictureBox& box, double width, double height) {
    box.SetWidth(TwipsX(width));
    box.SetHeight(TwipsY(height));
}

void Centre(const vb::PictureBox& area, vb::PictureBox& box, double offsetX, double offsetY) {
    box.SetLeft(area.ScaleWidth() / 2 - box.Width() / 2 - offsetX);
    box.SetTop(area.ScaleHeight() / 2 - box.Height() / 2 - offsetY);
}

// The still's centre is its origin; the pan may have moved it off the area's middle.
double AreaXOfStill(const frmMain& f, double x) {
    const vb::PictureBox& still = *f.picStillView;
    return still.Left() + still.Width() / 2 + TwipsX(x);
}

double AreaYOfStill(const frmMain& f, double y) {
    const vb::PictureBox& still = *f.picStillView;
    return still.Top() + still.Height() / 2 + TwipsY(y);
}

QRectF VisibleStill(const frmMain& f) {
    const vb::PictureBox& still = *f.picStillView;
    const vb::PictureBox& area = *f.picViewArea;
    const double w = still.ScaleWidth(), h = still.ScaleHeight();
    const double left = std::max(-w / 2, PixelsX(-still.Left()) - w / 2);
    const double top = std::max(-h / 2, PixelsY(-still.Top()) - h / 2);
    const double right = std::min(w / 2, PixelsX(area.ScaleWidth() - still.Left()) - w / 2);
    const double bottom = std::min(h / 2, PixelsY(area.ScaleHeight() - still.Top()) - h / 2);
    return QRectF(QPointF(left, top), QPointF(right, bottom));
}

}  // namespace tavix::geometry
