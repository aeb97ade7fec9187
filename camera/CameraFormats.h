#pragma once
// What a camera offers, and which of it to ask for.
#include <vector>

#include "GstHandles.h"
#include "Graph.h"

namespace tavix::cam {

// The format to ask the camera for: the best offered one that has what is asked (format,
// size, rate; each where given). The best: the largest size that reaches 25 frames a second,
// in a raw format where one reaches it at that size, else MJPG; with nothing that fast, the
// fastest. Asked what it lacks, the camera gets the best of all; offering nothing, what was asked.
CameraFormat ChooseFormat(const CameraFormat& asked, const std::vector<CameraFormat>& offered);

// The formats of caps that the renderer can show (raw and JPEG), in the order
// FilterGraph::Formats gives them.
std::vector<CameraFormat> FormatsOfCaps(const GstCaps* caps);
// The format of fixed caps; empty for none.
CameraFormat FormatOfCaps(const GstCaps* caps);
// Caps asking for the format; ANY for an empty one.
CapsRef CapsOf(const CameraFormat& format);

}  // namespace tavix::cam
