#pragma once
// The view area's geometry in one place: screen pixels and the twips the controls are placed
// in, the zoom, and where the still and the live picture stand in picViewArea. Points of the
// still are in displayed pixels from its centre, as its scale is set.
#include <QRectF>

#include "App.h"

namespace vb {
class PictureBox;
}

namespace tavix {

class frmMain;

namespace geometry {

constexpr double kTwipsX = vb::Screen::TwipsPerPixelX;
constexpr double kTwipsY = vb::Screen::TwipsPerPixelY;

constexpr double TwipsX(double pixels) { return pixels * kTwipsX; }
constexpr double TwipsY(double pixels) { return pixels * kTwipsY; }
constexpr double PixelsX(double twips) { return twips / kTwipsX; }
constexpr double PixelsY(double twips) { return twips / kTwipsY; }

// The zoom in use; 1 before one was chosen.
double Zoom();
// A length of the camera's picture at the zoom, in whole pixels as it is drawn: to the
// nearest, a half to the even neighbour.
int ZoomedPixels(int pixels, double zoom);

// Sizes box to width x height screen pixels.
void SetPixelSize(vb::PictureBox& box, double width, double height);
// Puts box in the middle of area, moved left and up by offset twips.
void Centre(const vb::PictureBox& area, vb::PictureBox& box, double offsetX = 0, double offsetY = 0);

// Where a point of the still falls in picViewArea, in twips.
double AreaXOfStill(const frmMain& f, double x);
double AreaYOfStill(const frmMain& f, double y);

// The part of the still the view area shows, in still pixels from its centre.
QRectF VisibleStill(const frmMain& f);

}  // namespace geometry
}  // namespace tavix
