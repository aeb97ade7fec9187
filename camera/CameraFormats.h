#pragma once
// What a camera offers, and which of it to ask for.
#include <vector>

#include "GstHandles.h"
#include "Graph.h"

namespace tavix::cam {

// The format to ask the camera for. An empty request (the first start) takes the largest size
// that reaches 25 frames a second, in a raw format where one reaches it at that size, else
// MJPG; with nothing that fast, the fastest. A request without a format takes the best offered
// format of its size and rate. A request with a format, or one nothing offered matches,
// stays as it is.
CameraFormat ChooseFormat(const CameraFormat& asked, const std::vector<CameraFormat>& offered);

// The formats of caps that the renderer can show (raw and JPEG), in the order
// FilterGraph::Formats gives them.
std::vector<CameraFormat> FormatsOfCaps(const GstCaps* caps);
// The format of fixed caps; empty for none.
CameraFormat FormatOfCaps(const GstCaps* caps);
// Caps asking for the format; ANY for an empty one.
CapsRef CapsOf(const CameraFormat& format);

}  // namespace tavix::cam
