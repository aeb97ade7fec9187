#pragma once
// A V4L2 camera's controls, read and set on the device node itself; streaming stays with
// v4l2src.
#include <QString>
#include <vector>

#include "Graph.h"

namespace tavix::cam {

// The device's integer, boolean and menu controls with their current values; none when the
// device cannot be opened.
std::vector<CameraControl> V4l2Controls(const QString& device);
// Errors: 5 no such control, 380 a value out of its range, 57 the device refused it.
void SetV4l2Control(const QString& device, const QString& id, int value);

// Sets several controls of any camera, automatic modes (booleans, menus) and the values they
// govern in the order asked, then once more those refused, which a mode set after them may
// have freed. Controls the camera lacks or keeps read-only are passed over; values are brought
// into range; what the camera still refuses keeps the value it has.
void SetControls(FilterGraph& graph, FilterInfo& camera, const std::vector<std::pair<QString, int>>& values,
                 bool modesFirst);

}  // namespace tavix::cam
