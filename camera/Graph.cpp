#include "Graph.h"

#include <gst/gst.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QFile>
#include <QTimer>
#include <algorithm>
#include <map>
#include <mutex>

#include "Errors.h"
#include "Filter.h"
#include "GstHandles.h"
#include "LiveRenderer.h"
#include "RecordBranch.h"
#include "TextFile.h"
#include "TestCamera.h"
#include "V4l2Controls.h"

namespace tavix::cam {

const QString TestCameraName = QStringLiteral("Tavix Test Camera");
const QString TeeFilterName = QStringLiteral("Infinite Pin Tee Filter");
const QString AviMuxName = QStringLiteral("AVI Mux");
const QString FileWriterName = QStringLiteral("File writer");

namespace {

// The device path a device source reads, from its element or the monitor's properties.
QString DevicePath(GstDevice* device, GstElement* element) {
    if (element && g_object_class_find_property(G_OBJECT_GET_CLASS(element), "device")) {
        gchar* path = nullptr;
        g_object_get(element, "device", &path, nullptr);
        const QString p = Utf8(path);
        g_free(path);
        if (!p.isEmpty()) return p;
    }
    GstStructure* props = gst_device_get_properties(device);
    QString path;
    if (props) {
        for (const char* key : {"device.path", "api.v4l2.path", "object.path"})
            if (const gchar* v = gst_structure_get_string(props, key); v && path.isEmpty()) path = Utf8(v);
        gst_structure_free(props);
    }
    return path;
}

bool IsV4l2(const Filter& f) {
    if (f.kind != Kind::Device || !f.element) return false;
    GstElementFactory* factory = gst_element_get_factory(f.element.get());
    return factory && g_strcmp0(GST_OBJECT_NAME(factory), "v4l2src") == 0;
}

}  // namespace

struct FilterGraph::Impl {
    explicit Impl(FilterGraph& graph) : self(&graph), renderer(graph) {}

    FilterGraph* self;
    GstRef<GstElement> pipeline;
    std::vector<std::unique_ptr<Filter>> filters;
    Filter* camera = nullptr;  // the rendered source
    GstElement* cameraOut = nullptr;  // where the camera's own caps can be read
    GstElement* displayIn = nullptr;  // the renderer's first element (a queue)
    const PinInfo rendererIn{QStringLiteral("renderer"), 0};
    CameraFormat format;
    Faults faults;
    QString lastError;  // the reason of the last failure

    RecordBranch record;
    bool active = false;  // Run or Pause since the last Stop
    std::unique_ptr<QTimer> busTimer;
    bool busWatch = false;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    LiveRenderer renderer;

    struct Entry {
        RegFilterInfo reg;
        QString path;  // a device's path, to tell devices of one name apart
    };
    std::vector<Entry> Catalogue();

    static gboolean BusCall(GstBus*, GstMessage* message, gpointer data) {
        static_cast<Impl*>(data)->OnMessage(message);
        return G_SOURCE_CONTINUE;
    }

    void PollBus() {
        GstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
        while (MessageRef m{gst_bus_pop(bus.get())}) OnMessage(m.get());
    }

    // The error number a failure reports: a full disk, a file that cannot be written, else
    // a device error.
    static int ErrorNumber(const GError* error) {
        if (error && error->domain == GST_RESOURCE_ERROR) {
            if (error->code == GST_RESOURCE_ERROR_NO_SPACE_LEFT) return vb::ErrDiskFull;
            if (error->code == GST_RESOURCE_ERROR_OPEN_WRITE || error->code == GST_RESOURCE_ERROR_WRITE ||
                error->code == GST_RESOURCE_ERROR_OPEN_READ_WRITE)
                return vb::ErrPathFileAccess;
        }
        return vb::ErrDeviceIO;
    }

    void OnMessage(GstMessage* message) {
        if (GST_MESSAGE_TYPE(message) != GST_MESSAGE_ERROR || !active) return;
        GError* error = nullptr;
        gst_message_parse_error(message, &error, nullptr);
        const QString reason = error ? Utf8(error->message) : QString();
        const int number = ErrorNumber(error);
        g_clear_error(&error);
        lastError = reason;
        // A camera that fails while recording still lets the file be finished.
        if (!record.Contains(GST_MESSAGE_SRC(message))) FinishFile(3000);
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        active = false;
        // Reported from the event loop, so a handler that drops the graph is safe.
        QTimer::singleShot(0, QCoreApplication::instance(), [self = self, token = std::weak_ptr<bool>(alive), reason, number] {
            if (token.expired() || !self->OnStreamError) return;
            const auto report = self->OnStreamError;
            report(number, reason);
        });
    }

    Filter* Add(Kind kind, const QString& name, GstRef<GstElement> element, std::vector<PinInfo> pins) {
        if (!element) return nullptr;
        filters.push_back(std::make_unique<Filter>(kind, name, std::move(element), std::move(pins)));
        Filter* f = filters.back().get();
        // Sources join the pipeline now; recording elements only once something links them,
        // since an unlinked file writer would keep the pipeline from starting.
        if (kind == Kind::Device || kind == Kind::TestCamera) gst_bin_add(GST_BIN(pipeline.get()), GST_ELEMENT(gst_object_ref(f->element.get())));
        return f;
    }

    Filter* AddTestCamera() {
        GstElement *pattern = nullptr, *clock = nullptr;
        Filter* f = Add(Kind::TestCamera, TestCameraName, MakeTestCamera(pattern, clock), {{QStringLiteral("src"), 1}});
        if (f) f->pattern = pattern, f->clock = clock;
        return f;
    }

    CapsRef CameraCaps() const {
        if (!format.Width && !format.Height && format.Format.isEmpty() && !format.RateNum) return nullptr;
        const bool jpeg = format.Format == QLatin1String("MJPG");
        GstStructure* s = gst_structure_new_empty(jpeg ? "image/jpeg" : "video/x-raw");
        if (!jpeg && !format.Format.isEmpty())
            gst_structure_set(s, "format", G_TYPE_STRING, format.Format.toUtf8().constData(), nullptr);
        if (format.Width > 0) gst_structure_set(s, "width", G_TYPE_INT, format.Width, nullptr);
        if (format.Height > 0) gst_structure_set(s, "height", G_TYPE_INT, format.Height, nullptr);
        if (format.RateNum > 0) gst_structure_set(s, "framerate", GST_TYPE_FRACTION, format.RateNum, format.RateDen, nullptr);
        return CapsRef(gst_caps_new_full(s, nullptr));
    }

    // Adds the elements after the first to the pipeline and links all in order; on failure
    // takes them out again.
    bool AddChain(const std::vector<GstElement*>& chain) {
        for (size_t i = 1; i < chain.size(); ++i) gst_bin_add(GST_BIN(pipeline.get()), GST_ELEMENT(gst_object_ref(chain[i])));
        bool ok = true;
        for (size_t i = 1; ok && i < chain.size(); ++i) ok = gst_element_link(chain[i - 1], chain[i]);
        if (!ok)
            for (size_t i = 1; i < chain.size(); ++i) {
                gst_element_set_state(chain[i], GST_STATE_NULL);
                gst_bin_remove(GST_BIN(pipeline.get()), chain[i]);
            }
        return ok;
    }

    // The camera's first path: camera, [encoder], [caps], then the renderer, which begins
    // with a queue so that it can hang off a tee later.
    void RenderCamera(Filter& f) {
        if (f.kind == Kind::TestCamera) {
            if (!format.Width || !format.Height) format.Width = 640, format.Height = 480;
            if (!format.RateNum) format.RateNum = 30, format.RateDen = 1;
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
        if (CapsRef caps = CameraCaps()) {
            GstElement* cf = make("capsfilter");
            if (cf) g_object_set(cf, "caps", caps.get(), nullptr);
            chain.push_back(cf);
        }
        const size_t rendererAt = chain.size();
        chain.push_back(make("queue"));
        if (jpeg) chain.push_back(make("jpegdec"));
        chain.push_back(make("videoconvert"));
        GstElement* appsink = make("appsink");
        chain.push_back(appsink);
        if (std::find(chain.begin(), chain.end(), nullptr) != chain.end() || !AddChain(chain)) vb::Raise(vb::ErrInvalidCall);
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

    void ArmCameraFault() {
        if (camera && camera->kind == Kind::TestCamera && faults.cameraFailsAfter > 0)
            FailTestCameraAfter(*camera, faults.cameraFailsAfter);
    }

    Filter* Unlinked(Kind kind) const {
        for (const auto& f : filters)
            if (f->kind == kind && !f->Linked()) return f.get();
        return nullptr;
    }

    // The tee always offers one free output more.
    static void GrowTee(Filter& tee) {
        tee.pins.push_back({QStringLiteral("src_%1").arg(tee.pins.size() - 1), 1});
    }

    // The camera again after Disconnect: through a tee waiting in the graph to the renderer,
    // or straight to it.
    void RenderCameraAgain(Filter& cam) {
        if (cam.Linked()) vb::Raise(vb::ErrInvalidCall);
        Filter* tee = Unlinked(Kind::Tee);
        if (!tee) {
            if (!gst_element_link(cameraOut, displayIn)) vb::Raise(vb::ErrInvalidCall);
            cam.Link(cam.pins.front(), rendererIn);
            return;
        }
        gst_bin_add(GST_BIN(pipeline.get()), GST_ELEMENT(gst_object_ref(tee->element.get())));
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
    void RenderFileBranch(Filter& tee, const PinInfo& pin) {
        if (tee.peers.count(pin.Name) || &pin != &tee.pins.back()) vb::Raise(vb::ErrInvalidCall);
        Filter* mux = Unlinked(Kind::AviMux);
        Filter* writer = Unlinked(Kind::FileWriter);
        if (!mux || !writer || record.Linked()) vb::Raise(vb::ErrInvalidCall);
        if (!record.Link(pipeline.get(), tee.element.get(), mux->element.get(), writer->element.get(), faults.writerFailsAfter))
            vb::Raise(vb::ErrInvalidCall);
        tee.Link(pin, mux->pins[0]);
        mux->Link(mux->pins[0], pin);
        mux->Link(mux->pins[1], writer->pins[0]);
        writer->Link(writer->pins[0], mux->pins[1]);
        GrowTee(tee);
    }

    // A recording's file is finished only while the graph runs or pauses.
    bool FinishFile(int timeoutMs) { return active && record.Finish(timeoutMs); }

    void Render(Filter& f, const PinInfo& pin) {
        if (pin.Direction != 1) vb::Raise(vb::ErrInvalidCall);
        if (f.kind == Kind::Tee) return RenderFileBranch(f, pin);
        if (f.kind != Kind::Device && f.kind != Kind::TestCamera) vb::Raise(vb::ErrInvalidCall);
        if (camera && camera != &f) vb::Raise(vb::ErrInvalidCall);
        if (f.rendered) return RenderCameraAgain(f);
        RenderCamera(f);
    }

    void ChangeState(GstState state) {
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
};

FilterGraph::FilterGraph() : d_(std::make_unique<Impl>(*this)) {
    static std::once_flag once;
    std::call_once(once, [] { gst_init(nullptr, nullptr); });
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

std::vector<FilterGraph::Impl::Entry> FilterGraph::Impl::Catalogue() {
    struct Source {
        QString name, path;
        std::shared_ptr<GstDevice> device;
    };
    std::vector<Source> sources;
    GstRef<GstDeviceMonitor> monitor(gst_device_monitor_new());
    gst_device_monitor_add_filter(monitor.get(), "Video/Source", nullptr);
    GList* devices = gst_device_monitor_get_devices(monitor.get());
    for (GList* l = devices; l; l = l->next) {
        auto* device = GST_DEVICE(l->data);  // the list's reference passes to the handle
        gchar* name = gst_device_get_display_name(device);
        sources.push_back({Utf8(name), DevicePath(device, nullptr), std::shared_ptr<GstDevice>(device, ObjectUnref())});
        g_free(name);
    }
    g_list_free(devices);
    std::stable_sort(sources.begin(), sources.end(), [](const Source& a, const Source& b) {
        return a.name != b.name ? a.name < b.name : a.path < b.path;
    });

    Impl* d = this;
    std::vector<Entry> out;
    for (const Source& s : sources) {
        out.push_back({{s.name, [d, s]() -> FilterInfo* {
                            GstElement* e = gst_device_create_element(s.device.get(), nullptr);
                            if (!e) return nullptr;
                            Filter* f = d->Add(Kind::Device, s.name, GstRef<GstElement>(GST_ELEMENT(gst_object_ref_sink(e))),
                                               {{QStringLiteral("src"), 1}});
                            f->device = DevicePath(s.device.get(), f->element.get());
                            return f;
                        }},
                       s.path});
    }
    out.push_back({{TestCameraName, [d]() -> FilterInfo* { return d->AddTestCamera(); }}, {}});
    auto fixed = [d](Kind kind, const QString& name, const char* factory, std::vector<PinInfo> pins) {
        return Entry{{name, [=]() -> FilterInfo* { return d->Add(kind, name, Make(factory), pins); }}, {}};
    };
    out.push_back(fixed(Kind::Tee, TeeFilterName, "tee", {{QStringLiteral("sink"), 0}, {QStringLiteral("src_0"), 1}}));
    out.push_back(fixed(Kind::AviMux, AviMuxName, "avimux", {{QStringLiteral("video_0"), 0}, {QStringLiteral("src"), 1}}));
    out.push_back(fixed(Kind::FileWriter, FileWriterName, "filesink", {{QStringLiteral("sink"), 0}}));
    return out;
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
    if (&f != d_->camera || !f.peers.count(pin.Name) || f.peers[pin.Name] != &d_->rendererIn) vb::Raise(vb::ErrInvalidCall);
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
}

void FilterGraph::Pause() {
    d_->renderer.Hold(true);
    d_->ChangeState(GST_STATE_PAUSED);
}
void FilterGraph::Stop() {
    // A recording's file gets its index and header before the graph stops.
    d_->FinishFile(10000);
    gst_element_set_state(d_->pipeline.get(), GST_STATE_NULL);
    d_->active = false;
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

// ---- The graph file ----

namespace {

const QString kHeader = QStringLiteral("TavixGraph 1");

struct GraphFile {
    QString camera, device;
    CameraFormat format;
    std::vector<std::pair<QString, int>> controls;
};

int ToInt(const QString& text) {
    bool ok = false;
    const int v = text.toInt(&ok);
    if (!ok) vb::Raise(vb::ErrTypeMismatch);
    return v;
}

GraphFile Parse(const QStringList& lines) {
    if (lines.isEmpty() || lines.front() != kHeader) vb::Raise(vb::ErrTypeMismatch);
    GraphFile g;
    bool hasCamera = false;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QString& line = lines[i];
        if (line.isEmpty()) continue;
        const qsizetype eq = line.indexOf(u'=');
        if (eq <= 0) vb::Raise(vb::ErrTypeMismatch);
        const QString key = line.left(eq), value = line.mid(eq + 1);
        if (key == QLatin1String("camera")) g.camera = value, hasCamera = true;
        else if (key == QLatin1String("device")) g.device = value;
        else if (key == QLatin1String("width")) g.format.Width = ToInt(value);
        else if (key == QLatin1String("height")) g.format.Height = ToInt(value);
        else if (key == QLatin1String("format")) g.format.Format = value;
        else if (key == QLatin1String("rate")) {
            const QStringList parts = value.split(u'/');
            if (!value.isEmpty()) {
                if (parts.size() != 2) vb::Raise(vb::ErrTypeMismatch);
                g.format.RateNum = ToInt(parts[0]), g.format.RateDen = ToInt(parts[1]);
                if (g.format.RateDen <= 0) vb::Raise(vb::ErrTypeMismatch);
            }
        } else if (key.startsWith(QLatin1String("control.")) && key.size() > 8) {
            g.controls.emplace_back(key.mid(8), ToInt(value));
        }
        // Other keys belong to later versions and are passed over.
    }
    if (!hasCamera || g.format.Width < 0 || g.format.Height < 0 || g.format.RateNum < 0) vb::Raise(vb::ErrTypeMismatch);
    return g;
}

// The format name of negotiated caps, as the graph file keeps it.
QString FormatName(const GstStructure* s) {
    if (gst_structure_has_name(s, "image/jpeg")) return QStringLiteral("MJPG");
    return Utf8(gst_structure_get_string(s, "format"));
}

}  // namespace

using Impl = FilterGraph::Impl;

void GraphFileStore::LoadGraphFile(FilterGraph& graph, const QString& path) {
    if (!vb::FileExists(path)) vb::Raise(vb::ErrFileNotFound);
    const GraphFile g = Parse(vb::ReadTextLines(path));
    Impl& d = *graph.d_;
    if (!d.filters.empty()) vb::Raise(vb::ErrInvalidCall);
    // A camera the catalogue does not have leaves the graph empty; the caller rebuilds.
    // Of several devices of one name, the one on the stored path.
    const auto catalogue = d.Catalogue();
    const Impl::Entry* entry = nullptr;
    for (const auto& e : catalogue)
        if (e.reg.Name == g.camera && (!entry || (entry->path != g.device && e.path == g.device))) entry = &e;
    FilterInfo* camera = entry ? entry->reg.Filter() : nullptr;
    if (!camera) return;
    d.format = g.format;
    graph.Render(*camera, camera->Pins().front());
    const auto controls = graph.Controls(*camera);
    for (const auto& [id, value] : g.controls) {
        auto c = std::find_if(controls.begin(), controls.end(), [&](const CameraControl& x) { return x.Id == id; });
        // A control this camera no longer has is passed over; a value out of its range is brought in.
        if (c != controls.end()) vb::Trap([&] { graph.SetControl(*camera, id, std::clamp(value, c->Minimum, c->Maximum)); });
    }
}

void GraphFileStore::SaveGraphFile(FilterGraph& graph, const QString& path) {
    FilterGraph::Impl& d = *graph.d_;
    if (!d.camera) vb::Raise(vb::ErrInvalidCall);
    CameraFormat format = d.format;
    // What the camera really sends, where it has started.
    GstRef<GstPad> pad(gst_element_get_static_pad(d.cameraOut, "src"));
    if (CapsRef caps{pad ? gst_pad_get_current_caps(pad.get()) : nullptr}; caps && gst_caps_get_size(caps.get()) > 0) {
        const GstStructure* s = gst_caps_get_structure(caps.get(), 0);
        gst_structure_get_int(s, "width", &format.Width);
        gst_structure_get_int(s, "height", &format.Height);
        gst_structure_get_fraction(s, "framerate", &format.RateNum, &format.RateDen);
        format.Format = FormatName(s);
    }
    QStringList lines{kHeader, QStringLiteral("camera=") + d.camera->name, QStringLiteral("device=") + d.camera->device,
                      QStringLiteral("width=%1").arg(format.Width), QStringLiteral("height=%1").arg(format.Height),
                      QStringLiteral("format=") + format.Format,
                      format.RateNum ? QStringLiteral("rate=%1/%2").arg(format.RateNum).arg(format.RateDen) : QStringLiteral("rate=")};
    for (const CameraControl& c : graph.Controls(*d.camera)) lines << QStringLiteral("control.%1=%2").arg(c.Id).arg(c.Value);
    if (const int err = vb::WriteTextFileSafely(path, lines); err != 0) vb::Raise(err);
}

}  // namespace tavix::cam
