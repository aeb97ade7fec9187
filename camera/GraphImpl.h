#pragma once
// What a FilterGraph holds: the pipeline, its filters and how they are linked, the renderer
// and the recording branch. Shared by the graph, the camera listing and the graph file.
#include <QString>
#include <memory>
#include <vector>

#include "Filter.h"
#include "Graph.h"
#include "GstHandles.h"
#include "LiveRenderer.h"
#include "RecordBranch.h"

class QTimer;

namespace tavix::cam {

// Whether opening the device node fails for want of permission.
bool DeviceRefused(const QString& device);

struct FilterGraph::Impl {
    explicit Impl(FilterGraph& graph);
    ~Impl();

    FilterGraph* self;
    GstRef<GstElement> pipeline;
    std::vector<std::unique_ptr<Filter>> filters;
    Filter* camera = nullptr;         // the rendered source
    GstElement* cameraOut = nullptr;  // where the camera's own caps can be read
    GstElement* displayIn = nullptr;  // the renderer's first element (a queue)
    const PinInfo rendererIn{QStringLiteral("renderer"), 0};
    CameraFormat format;
    Faults faults;
    QString lastError;    // the reason of the last failure
    bool active = false;  // Run or Pause since the last Stop
    std::unique_ptr<QTimer> busTimer;
    bool busWatch = false;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    LiveRenderer renderer;
    RecordBranch record;

    // What the catalogue offers, in its order.
    struct Entry {
        RegFilterInfo reg;
        QString path;  // a device's path, to tell devices of one name apart
    };
    std::vector<Entry> Catalogue();

    Filter* Add(Kind kind, const QString& name, GstRef<GstElement> element, std::vector<PinInfo> pins);
    Filter* AddTestCamera();
    void Render(Filter& f, const PinInfo& pin);
    void ChangeState(GstState state);
    // A recording's file is finished only while the graph runs or pauses.
    bool FinishFile(int timeoutMs) { return active && record.Finish(timeoutMs); }
    void ArmCameraFault();

    static gboolean BusCall(GstBus*, GstMessage* message, gpointer data);
    void PollBus();
    void OnMessage(GstMessage* message);

private:
    CapsRef CameraCaps() const;
    bool AddChain(const std::vector<GstElement*>& chain);
    void RenderCamera(Filter& f);
    void RenderCameraAgain(Filter& cam);
    void RenderFileBranch(Filter& tee, const PinInfo& pin);
    Filter* Unlinked(Kind kind) const;
};

}  // namespace tavix::cam
