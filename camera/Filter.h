#pragma once
// The filters a graph holds: a GStreamer element with the pins the camera code sees, and
// each linked pin's partner.
#include <map>
#include <vector>

#include "GstHandles.h"
#include "Graph.h"

namespace tavix::cam {

enum class Kind { Device, TestCamera, Tee, AviMux, FileWriter };

class Filter final : public FilterInfo {
public:
    Filter(Kind filterKind, QString filterName, GstRef<GstElement> gstElement, std::vector<PinInfo> filterPins)
        : kind(filterKind), name(std::move(filterName)), element(std::move(gstElement)), pins(std::move(filterPins)) {}
    QString Name() const override { return name; }
    const std::vector<PinInfo>& Pins() const override { return pins; }

    Kind kind;
    QString name;
    GstRef<GstElement> element;  // for the test camera, its bin
    std::vector<PinInfo> pins;
    QString device;                 // the V4L2 path, for a device
    GstElement* pattern = nullptr;  // test camera parts, owned by the bin
    GstElement* clock = nullptr;
    std::map<QString, int> values;  // control values set through the graph
    bool rendered = false;
    // Each linked pin's partner, by pin name; the renderer's input stands for the renderer.
    std::map<QString, const PinInfo*> peers;
    bool Linked() const { return !peers.empty(); }
    void Link(const PinInfo& mine, const PinInfo& theirs) { peers[mine.Name] = &theirs; }
};

}  // namespace tavix::cam
