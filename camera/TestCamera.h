#pragma once
// The built-in test camera: a moving pattern with a running clock, live as a camera is.
#include <vector>

#include "Filter.h"

namespace tavix::cam {

// Its bin with a "src" pad; pattern and clock are parts the bin owns. Null when the pattern
// source is missing; the clock may be.
GstRef<GstElement> MakeTestCamera(GstElement*& pattern, GstElement*& clock);
// Pattern, speed and clock, with the values set through the graph.
std::vector<CameraControl> TestCameraControls(const Filter& camera);
// Errors: 5 no such control, 380 a value out of its range.
void SetTestCameraControl(Filter& camera, const QString& id, int value);
// Whatever a camera might send: two raw formats and MJPG, three sizes, two rates.
std::vector<CameraFormat> TestCameraFormats();
// For tests: the camera reports a read error after this many more frames.
void FailTestCameraAfter(const Filter& camera, int frames);

}  // namespace tavix::cam
