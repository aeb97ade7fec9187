#include "Graph.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QFile>
#include <QTimer>
#include <gst/base/gstbasesink.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

#include "CameraFormats.h"
#include "Errors.h"
#include "GraphImpl.h"
#include "TestCamera.h"
#include "V4l2Controls.h"

namespace tavix::cam {

const QString TestCameraName = QStringLiteral("Tavix Test Camera");
const QString TeeFilterName = QStringLiteral("Infinite Pin Tee Filter");
const QString AviMuxName = QStringLiteral("AVI Mux");
const QString FileWriterName = QStringLiteral("File writer");

namespace {

bool IsV4l2(const Filter& f) {
    if (f.kind != Kind::Device || !f.element) return false;
    GstElementFactory* factory = gst_element_get_factory(f.element.get());
    return factory && g_strcmp0(GST_OBJECT_NAME(factory), "v4l2src") == 0;
}

// The error number a failure reports. Only the file writer's "no space" is a full disk: a
// camera that cannot allocate its buffers says the same.
int ErrorNumber(const GError* error, bool writer, const Filter* camera) {
    if (error && error->domain == GST_RESOURCE_ERROR && writer) {
        if (error->code == GST_RESOURCE_ERROR_NO_SPACE_LEFT) return vb::ErrDiskFull;
        if (error->code == GST_RESOURCE_ERROR_OPEN_WRITE || error->code == GST_RESOURCE_ERROR_WRITE ||
            error->code == GST_RESOURCE_ERROR_OPEN_READ_WRITE)
            return vb::ErrPathFileAccess;
    }
    if (error && error->domain == GST_RESOURCE_ERROR && error->code == GST_RESOURCE_ERROR_OPEN_READ_WRITE && camera &&
        DeviceRefused(camera->device))
        return vb::ErrPermissionDenied;
    return vb::ErrDeviceIO;
}

// A frame still on its way from the camera would meet the links that a recording takes
// apart; once it is handed on, the paused camera sends nothing until the next Run.
void WaitIdle(GstElement* cameraOut) {
    if (!cameraOut) return;
    struct Idle {
        std::mutex mutex;
        std::condition_variable cv;
        bool idle = false;
    };
    auto idle = std::make_shared<Idle>();
    GstRef<GstPad> out(gst_element_get_static_pad(cameraOut, "src"));
    gst_pad_add_probe(
        out.get(), GST_PAD_PROBE_TYPE_IDLE,
        [](GstPad*, GstPadProbeInfo*, gpointer data) {
            Idle& i = **static_cast<std::shared_ptr<Idle>*>(data);
            std::lock_guard lock(i.mutex);
            i.idle = true;
            i.cv.notify_all();
            return GST_PAD_PROBE_REMOVE;
        },
        new std::shared_ptr<Idle>(idle), [](gpointer p) { delete static_cast<std::shared_ptr<Idle>*>(p); });
    std::unique_lock lock(idle->mutex);
    idle->cv.wait_for(lock, std::chrono::seconds(2), [&] { return idle->idle; });
}

// The tee always offers one free output more.
void GrowTee(Filter& tee) { tee.pins.push_back({QStringLiteral("src_%1").arg(tee.pins.size() - 1), 1}); }

}  // namespace

using Impl = FilterGraph::Impl;

Impl::Impl(FilterGraph& graph) : self(&graph), renderer(graph) {}
Impl::~Impl() = default;

gboolean Impl::BusCall(GstBus*, GstMessage* message, gpointer data) {
    static_cast<Impl*>(data)->OnMessage(message);
    return G_SOURCE_CONTINUE;
}

void Impl::PollBus() {
    GstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
    while (MessageRef m{gst_bus_pop(bus.get())}) OnMessage(m.get());
}

void Impl::OnMessage(GstMessage* message) {
    if (GST_MESSAGE_TYPE(message) != GST_MESSAGE_ERROR) return;
    // A camera that fails while stopped is closed; the next Run opens it afresh and says why.
    if (!active) return (void)gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    GError* error = nullptr;
    gst_message_parse_error(message, &error, nullptr);
    const QString reason = error ? Utf8(error->message) : QString();
    const bool writer = record.Contains(GST_MESSAGE_SRC(message));
    const int number = ErrorNumber(error, writer && GST_IS_BASE_SINK(GST_MESSAGE_SRC(message)), camera);
    g_clear_error(&error);
    lastError = reason;
    // A camera that fails while recording still lets the file be finished.
    if (!writer) FinishFile(3000);
    gst_element_set_state(pipeline.get(), GST_STATE_NULL);
    active = false;
    // Reported from the event loop, so a handler that drops the graph is safe.
    QTimer::singleShot(0, QCoreApplication::instance(),
                       [self = self, token = std::weak_ptr<bool>(alive), reason, number] {
                           if (token.expired() || !self->OnStreamError) return;
                           const auto report = self->OnStreamError;
                           report(number, reason);
                       });
}

Filter* Impl::Add(Kind kind, const QString& name, GstRef<GstElement> element, std::vector<PinInfo> pins) {
    if (!element) return nullptr;
    filters.push_back(std::make_unique<Filter>(kind, name, std::move(element), std::move(pins)));
    Filter* f = filters.back().get();
    // Sources join the pipeline now; recording elements only once something links them,
    // since an unlinked file writer would keep the pipeline from starting.
    if (kind == Kind::Device || kind == Kind::TestCamera)
        gst_bin_add(GST_BIN(pipeline.get()), f->element.get());  // the bin takes a reference of its own
    return f;
}

Filter* Impl::AddTestCamera() {
    GstElement *pattern = nullptr, *clock = nullptr;
    Filter* f = Add(Kind::TestCamera, TestCameraName, MakeTestCamera(pattern, clock), {{QStringLiteral("src"), 1}});
    if (f) f->pattern = pattern, f->clock = clock;
    return f;
}

void Impl::ArmCameraFault() {
    if (camera && camera->kind == Kind::TestCamera && faults.cameraFailsAfter > 0)
        FailTestCameraAfter(*camera, faults.cameraFailsAfter);
}

CapsRef Impl::CameraCaps() const { return CapsOf(format); }

// Adds the elements after the first to the pipeline and links all in order; on failure
// takes them out again.
bool Impl::AddChain(const std::vector<GstElement*>& chain) {
    for (size_t i = 1; i < chain.size(); ++i) gst_bin_add(GST_BIN(pipeline.get()), chain[i]);
    bool ok = true;
    for (size_t i = 1; ok && i < chain.size(); ++i) ok = gst_element_link(chain[i - 1], chain[i]);
    if (!ok)
        for (size_t i = 1; i < chain.size(); ++i) {
            gst_element_set_state(chain[i], GST_STATE_NULL);
            gst_bin_remove(GST_BIN(pipeline.get()), chain[i]);
        }
    return ok;
}

// The camera's first path: camera, [encoder], caps, then the renderer, which begins with a
// queue so that it can hang off a tee later, and converts raw frames.
void Impl::RenderCamera(Filter& f) {
    if (f.kind == Kind::TestCamera) {
        if (!format.Width || !format.Height) format.Width = 640, format.Height = 480;
        if (!format.RateNum) format.RateNum = 30, format.RateDen = 1;
        if (format.Format.isEmpty()) format.Format = QStringLiteral("YUY2");
    } else {
        // Unless told, the camera's best smooth format, and MJPG where it has no other.
        format = ChooseFormat(format, self->Formats(f));
    }
    const bool jpeg = format.Format == QLatin1String("MJPG");
    std::vector<GstRef<GstElement>> owned;
    auto make = [&](const char* factory) {
        owned.push_back(Make(factory));
        return owned.back().get();
    };
    std::vector<GstElement*> chain{f.element.get()};
    // The test camera sends JPEG as a camera would when asked for it.
    if (f.kind == Kind::TestCamera && jpeg) chain.push_back(make("jpegenc"));
    // Always there, so that a change of format has its caps to change.
    GstElement* cf = make("capsfilter");
    if (cf) g_object_set(cf, "caps", CameraCaps().get(), nullptr);
    chain.push_back(cf);
    const size_t rendererAt = chain.size();
    chain.push_back(make("queue"));
    // JPEG frames go to the renderer as they are: it decodes them itself.
    if (!jpeg) {
        owned.push_back(LiveRenderer::MakeConverter());
        chain.push_back(owned.back().get());
    }
    GstElement* appsink = make("appsink");
    chain.push_back(appsink);
    if (std::find(chain.begin(), chain.end(), nullptr) != chain.end() || !AddChain(chain))
        vb::Raise(vb::ErrInvalidCall);
    renderer.Attach(appsink);
    cameraOut = chain[rendererAt - 1];
    displayIn = chain[rendererAt];
    GstRef<GstPad> out(gst_element_get_static_pad(cameraOut, "src"));
    record.CountCameraFramesAt(out.get());
    f.rendered = true;
    f.Link(f.pins.front(), rendererIn);
    camera = &f;
    ArmCameraFault();
}

Filter* Impl::Unlinked(Kind kind) const {
    for (const auto& f : filters)
        if (f->kind == kind && !f->Linked()) return f.get();
    return nullptr;
}

// The camera again after Disconnect: through a tee waiting in the graph to the renderer,
// or straight to it.
void Impl::RenderCameraAgain(Filter& cam) {
    if (cam.Linked()) vb::Raise(vb::ErrInvalidCall);
    Filter* tee = Unlinked(Kind::Tee);
    if (!tee) {
        if (!gst_element_link(cameraOut, displayIn)) vb::Raise(vb::ErrInvalidCall);
        cam.Link(cam.pins.front(), rendererIn);
        return;
    }
    gst_bin_add(GST_BIN(pipeline.get()), tee->element.get());
    GstRef<GstPad> teeOut(gst_element_request_pad_simple(tee->element.get(), "src_%u"));
    GstRef<GstPad> rendererPad(gst_element_get_static_pad(displayIn, "sink"));
    if (!gst_element_link(cameraOut, tee->element.get()) || !teeOut ||
        gst_pad_link(teeOut.get(), rendererPad.get()) != GST_PAD_LINK_OK) {
        gst_element_unlink(cameraOut, tee->element.get());
        gst_element_set_state(tee->element.get(), GST_STATE_NULL);
        gst_bin_remove(GST_BIN(pipeline.get()), tee->element.get());
        vb::Raise(vb::ErrInvalidCall);
    }
    // Counted where the frames enter the tee, which is also where the file branch is cut.
    GstRef<GstPad> teeIn(gst_element_get_static_pad(tee->element.get(), "sink"));
    record.CountCameraFramesAt(teeIn.get());
    cam.Link(cam.pins.front(), tee->pins[0]);
    tee->Link(tee->pins[0], cam.pins.front());
    tee->Link(tee->pins[1], rendererIn);
    GrowTee(*tee);
}

// A tee's free output: through a queue of its own, the multiplexer and the file writer
// that wait in the graph.
void Impl::RenderFileBranch(Filter& tee, const PinInfo& pin) {
    if (tee.peers.count(pin.Name) || &pin != &tee.pins.back()) vb::Raise(vb::ErrInvalidCall);
    Filter* mux = Unlinked(Kind::AviMux);
    Filter* writer = Unlinked(Kind::FileWriter);
    if (!mux || !writer || record.Linked()) vb::Raise(vb::ErrInvalidCall);
    if (!record.Link(pipeline.get(), tee.element.get(), mux->element.get(), writer->element.get(),
                     faults.writerFailsAfter, faults.writerBytesPerSecond))
        vb::Raise(vb::ErrInvalidCall);
    tee.Link(pin, mux->pins[0]);
    mux->Link(mux->pins[0], pin);
    mux->Link(mux->pins[1], writer->pins[0]);
    writer->Link(writer->pins[0], mux->pins[1]);
    GrowTee(tee);
}

void Impl::Render(Filter& f, const PinInfo& pin) {
    if (pin.Direction != 1) vb::Raise(vb::ErrInvalidCall);
    if (f.kind == Kind::Tee) return RenderFileBranch(f, pin);
    if (f.kind != Kind::Device && f.kind != Kind::TestCamera) vb::Raise(vb::ErrInvalidCall);
    if (camera && camera != &f) vb::Raise(vb::ErrInvalidCall);
    if (f.rendered) return RenderCameraAgain(f);
    RenderCamera(f);
}

void Impl::ChangeState(GstState state) {
    if (!camera) vb::Raise(vb::ErrInvalidCall);
    GstStateChangeReturn r = gst_element_set_state(pipeline.get(), state);
    if (r == GST_STATE_CHANGE_ASYNC) r = gst_element_get_state(pipeline.get(), nullptr, nullptr, 2 * GST_SECOND);
    if (r == GST_STATE_CHANGE_FAILURE) {
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        active = false;
        // The failure is reported here, not again through the bus; its first reason is kept.
        GstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
        lastError.clear();
        while (MessageRef m{gst_bus_pop(bus.get())}) {
            if (GST_MESSAGE_TYPE(m.get()) != GST_MESSAGE_ERROR || !lastError.isEmpty()) continue;
            GError* error = nullptr;
            gst_message_parse_error(m.get(), &error, nullptr);
            if (error) lastError = Utf8(error->message);
            g_clear_error(&error);
        }
        vb::Raise(vb::ErrInvalidCall);
    }
    active = state != GST_STATE_NULL;
}

namespace {

void InitGStreamer() {
    static std::once_flag once;
    std::call_once(once, [] { gst_init(nullptr, nullptr); });
}

}  // namespace

QStringList MissingElements(bool testCamera) {
    InitGStreamer();
    // Without any of these the picture would stay blank (or the clock would silently go).
    static const struct {
        const char* element;
        const char* package;
        bool testCameraOnly;
    } needed[] = {
        {"videotestsrc", "gstreamer1.0-plugins-base", true},
        {"timeoverlay", "gstreamer1.0-x", true},
        {"jpegenc", "gstreamer1.0-plugins-good", true},
        {"videoconvert", "gstreamer1.0-plugins-base", false},
        {"appsink", "gstreamer1.0-plugins-base", false},
        {"avimux", "gstreamer1.0-plugins-good", false},
        {"videorate", "gstreamer1.0-plugins-base", false},
        {"queue", "libgstreamer1.0-0", false},
        {"capsfilter", "libgstreamer1.0-0", false},
        {"tee", "libgstreamer1.0-0", false},
        {"filesink", "libgstreamer1.0-0", false},
    };
    QStringList missing;
    for (const auto& n : needed) {
        if (n.testCameraOnly && !testCamera) continue;
        GstRef<GstElementFactory> factory(gst_element_factory_find(n.element));
        if (!factory) missing << QStringLiteral("%1 (%2)").arg(QLatin1String(n.element), QLatin1String(n.package));
    }
    return missing;
}

FilterGraph::FilterGraph() : d_(std::make_unique<Impl>(*this)) {
    InitGStreamer();
    d_->pipeline.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    GstRef<GstBus> bus(gst_element_get_bus(d_->pipeline.get()));
    // Qt's glib event loop dispatches a bus watch; any other loop gets a polling timer.
    auto* dispatcher = QAbstractEventDispatcher::instance();
    if (dispatcher && dispatcher->inherits("QEventDispatcherGlib")) {
        gst_bus_add_watch(bus.get(), &Impl::BusCall, d_.get());
        d_->busWatch = true;
    } else {
        d_->busTimer = std::make_unique<QTimer>();
        QObject::connect(d_->busTimer.get(), &QTimer::timeout, [d = d_.get()] { d->PollBus(); });
        d_->busTimer->start(20);
    }
}

FilterGraph::~FilterGraph() {
    // A recording still running when the window closes keeps a complete file.
    d_->FinishFile(3000);
    // Streaming threads end here, before the objects they post to go.
    gst_element_set_state(d_->pipeline.get(), GST_STATE_NULL);
    if (d_->busWatch) {
        GstRef<GstBus> bus(gst_element_get_bus(d_->pipeline.get()));
        gst_bus_remove_watch(bus.get());
    }
    d_->busTimer.reset();
}

std::vector<RegFilterInfo> FilterGraph::RegFilterCollection() {
    std::vector<RegFilterInfo> out;
    for (auto& e : d_->Catalogue()) out.push_back(std::move(e.reg));
    return out;
}

std::vector<FilterInfo*> FilterGraph::FilterCollection() const {
    std::vector<FilterInfo*> out;
    for (const auto& f : d_->filters) out.push_back(f.get());
    return out;
}

void FilterGraph::Render(FilterInfo& filter, const PinInfo& pin) { d_->Render(static_cast<Filter&>(filter), pin); }

void FilterGraph::Disconnect(FilterInfo& filter, const PinInfo& pin) {
    auto& f = static_cast<Filter&>(filter);
    // Only the camera's link is ever taken apart; the rest goes with the graph.
    if (&f != d_->camera || !f.peers.count(pin.Name) || f.peers[pin.Name] != &d_->rendererIn)
        vb::Raise(vb::ErrInvalidCall);
    gst_element_unlink(d_->cameraOut, d_->displayIn);
    f.peers.erase(pin.Name);
}

const PinInfo& FilterGraph::ConnectedTo(const FilterInfo& filter, const PinInfo& pin) const {
    const auto& f = static_cast<const Filter&>(filter);
    const auto it = f.peers.find(pin.Name);
    if (it == f.peers.end()) vb::Raise(vb::ErrInvalidCall);
    return *it->second;
}

void FilterGraph::SetFileName(FilterInfo& writer, const QString& path) {
    auto& f = static_cast<Filter&>(writer);
    if (f.kind != Kind::FileWriter) vb::Raise(vb::ErrInvalidCall);
    g_object_set(f.element.get(), "location", QFile::encodeName(path).constData(), nullptr);
}

QString FilterGraph::LastErrorText() const { return d_->lastError; }

uint64_t FilterGraph::CameraFrames() const { return d_->record.CameraFrames(); }
uint64_t FilterGraph::RecordedFrames() const { return d_->record.RecordedFrames(); }

void FilterGraph::Run() {
    if (!d_->active) d_->record.ResetCounts();
    d_->renderer.Hold(false);
    d_->ChangeState(GST_STATE_PLAYING);
    d_->record.Started();
}

void FilterGraph::Pause() {
    d_->renderer.Hold(true);
    d_->ChangeState(GST_STATE_PAUSED);
}
void FilterGraph::Stop() {
    // A recording's file gets its index and header before the graph stops.
    d_->FinishFile(10000);
    d_->active = false;
    // Stopped, the camera stays open with its format and buffers: closing it would cost a USB
    // camera a gap without picture and a new settling of its exposure at each Run. It is
    // closed only when the graph goes or the camera fails.
    GstElement* pipeline = d_->pipeline.get();
    if (GST_STATE(pipeline) == GST_STATE_NULL && GST_STATE_PENDING(pipeline) == GST_STATE_VOID_PENDING) return;
    if (gst_element_set_state(pipeline, GST_STATE_PAUSED) == GST_STATE_CHANGE_FAILURE)
        gst_element_set_state(pipeline, GST_STATE_NULL);
    else
        WaitIdle(d_->cameraOut);
}

QSize FilterGraph::GetVideoSize() const { return d_->renderer.VideoSize(); }
QImage FilterGraph::GetCurrentImage() const { return d_->renderer.CurrentImage(); }
void FilterGraph::SetOwner(vb::PictureBox* owner) { d_->renderer.SetOwner(owner); }

std::vector<CameraControl> FilterGraph::Controls(const FilterInfo& filter) const {
    const auto& f = static_cast<const Filter&>(filter);
    if (f.kind == Kind::TestCamera) return TestCameraControls(f);
    return IsV4l2(f) ? V4l2Controls(f.device) : std::vector<CameraControl>();
}

void FilterGraph::SetControl(FilterInfo& filter, const QString& id, int value) {
    auto& f = static_cast<Filter&>(filter);
    if (f.kind == Kind::TestCamera) return SetTestCameraControl(f, id, value);
    if (!IsV4l2(f)) vb::Raise(vb::ErrInvalidCall);
    SetV4l2Control(f.device, id, value);
    f.values[id] = value;
}

void FilterGraph::SetFaults(const Faults& faults) {
    d_->faults = faults;
    // A camera already rendered gets its fault now.
    d_->ArmCameraFault();
}

}  // namespace tavix::cam
