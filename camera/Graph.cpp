#include "Graph.h"

#include <gst/app/gstappsink.h>
#include <gst/gst.h>
#include <gst/video/video.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QFile>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

#include "Errors.h"
#include "Filter.h"
#include "GstHandles.h"
#include "PictureBox.h"
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
    FilterGraph* self = nullptr;
    GstRef<GstElement> pipeline;
    std::vector<std::unique_ptr<Filter>> filters;
    Filter* camera = nullptr;  // the rendered source
    GstElement* cameraOut = nullptr;  // where the camera's own caps can be read
    GstElement* displayIn = nullptr;  // the renderer's first element (a queue)
    const PinInfo rendererIn{QStringLiteral("renderer"), 0};
    CameraFormat format;
    Faults faults;
    QString lastError;  // the reason of the last failure

    // The recording branch, once linked: the tee's pad that feeds it, its queue, the writer.
    GstRef<GstPad> fileTeePad;
    GstElement* fileQueue = nullptr;
    GstElement* fileMux = nullptr;
    GstElement* fileWriter = nullptr;
    std::mutex eosMutex;
    std::condition_variable eosArrived;
    bool fileFinished = false;
    std::atomic<uint64_t> cameraFrames{0}, recordedFrames{0};
    std::atomic<uint64_t> framesAtCut{0};  // camera frames when the file branch was cut off
    std::atomic<bool> cut{false}, cutRequested{false};
    bool active = false;  // Run or Pause since the last Stop
    std::unique_ptr<QObject> ui;  // lives on the UI thread; frames are posted to it
    QTimer* busTimer = nullptr;
    bool busWatch = false;
    std::shared_ptr<bool> alive = std::make_shared<bool>(true);
    QPointer<QWidget> ownerWidget;
    vb::PictureBox* owner = nullptr;
    QSize shownSize;  // of the last frame handed to the owner

    // Shared with the streaming thread.
    mutable std::mutex mutex;
    SampleRef newest;
    bool repaintPending = false;
    // Set by Pause: a frame still in flight must not replace the one being frozen.
    bool held = false;

    struct Entry {
        RegFilterInfo reg;
        QString path;  // a device's path, to tell devices of one name apart
    };
    std::vector<Entry> Catalogue();

    static GstFlowReturn NewSample(GstAppSink* appsink, gpointer data) {
        auto* d = static_cast<Impl*>(data);
        SampleRef sample(gst_app_sink_pull_sample(appsink));
        if (!sample) return GST_FLOW_OK;
        std::lock_guard lock(d->mutex);
        if (d->held) return GST_FLOW_OK;
        d->newest = std::move(sample);
        if (!d->repaintPending) {
            d->repaintPending = true;
            QMetaObject::invokeMethod(d->ui.get(), [d] { d->ShowNewest(); }, Qt::QueuedConnection);
        }
        return GST_FLOW_OK;
    }

    void Hold(bool on) {
        std::lock_guard lock(mutex);
        held = on;
    }

    SampleRef Newest() const {
        std::lock_guard lock(mutex);
        return SampleRef(newest ? gst_sample_ref(newest.get()) : nullptr);
    }

    // The sample's pixels as an RGB32 image that keeps the frame mapped (and the sample
    // alive) for as long as the image or a copy of it lives: no pixel is copied.
    static QImage Wrap(SampleRef sample) {
        struct Mapped {
            GstVideoFrame frame;
            SampleRef sample;
        };
        GstVideoInfo info;
        GstCaps* caps = gst_sample_get_caps(sample.get());
        GstBuffer* buffer = gst_sample_get_buffer(sample.get());
        if (!caps || !buffer || !gst_video_info_from_caps(&info, caps)) return {};
        auto* m = new Mapped{};
        if (!gst_video_frame_map(&m->frame, &info, buffer, GST_MAP_READ)) {
            delete m;
            return {};
        }
        m->sample = std::move(sample);
        return QImage(static_cast<const uchar*>(GST_VIDEO_FRAME_PLANE_DATA(&m->frame, 0)), GST_VIDEO_FRAME_WIDTH(&m->frame),
                      GST_VIDEO_FRAME_HEIGHT(&m->frame), GST_VIDEO_FRAME_PLANE_STRIDE(&m->frame, 0), QImage::Format_RGB32,
                      [](void* p) {
                          auto* mapped = static_cast<Mapped*>(p);
                          gst_video_frame_unmap(&mapped->frame);
                          delete mapped;
                      },
                      m);
    }

    void ShowNewest() {
        SampleRef sample;
        {
            std::lock_guard lock(mutex);
            repaintPending = false;
            if (newest) sample.reset(gst_sample_ref(newest.get()));
        }
        if (!sample) return;
        const QImage frame = Wrap(std::move(sample));
        if (frame.isNull()) return;
        if (frame.size() != shownSize) {
            shownSize = frame.size();
            if (self->OnVideoSize) {
                const auto placed = self->OnVideoSize;
                placed(shownSize);
            }
        }
        if (owner && ownerWidget) owner->ShowVideoFrame(frame);
    }

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
        if (!InFileBranch(GST_MESSAGE_SRC(message))) FinishFile(3000);
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

    GstRef<GstPad> countPad;
    gulong countProbe = 0;
    void CountCameraFramesAt(GstPad* pad) {
        if (countPad) gst_pad_remove_probe(countPad.get(), countProbe);
        countPad.reset(GST_PAD(gst_object_ref(pad)));
        countProbe = gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, &Impl::CountCamera, this, nullptr);
    }

    static GstPadProbeReturn CountCamera(GstPad*, GstPadProbeInfo*, gpointer data) {
        auto* d = static_cast<Impl*>(data);
        if (d->cutRequested.load(std::memory_order_relaxed)) d->CutFileBranch();
        d->cameraFrames.fetch_add(1, std::memory_order_relaxed);
        return GST_PAD_PROBE_OK;
    }

    static GstPadProbeReturn Count(GstPad*, GstPadProbeInfo*, gpointer counter) {
        static_cast<std::atomic<uint64_t>*>(counter)->fetch_add(1, std::memory_order_relaxed);
        return GST_PAD_PROBE_OK;
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
        CapsRef bgrx(gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "BGRx", nullptr));
        g_object_set(appsink, "caps", bgrx.get(), "max-buffers", 1u, "drop", TRUE, "sync", FALSE, nullptr);
        GstAppSinkCallbacks callbacks{};
        callbacks.new_sample = &Impl::NewSample;
        gst_app_sink_set_callbacks(GST_APP_SINK(appsink), &callbacks, this, nullptr);
        cameraOut = chain[rendererAt - 1];
        displayIn = chain[rendererAt];
        GstRef<GstPad> out(gst_element_get_static_pad(cameraOut, "src"));
        CountCameraFramesAt(out.get());
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
        CountCameraFramesAt(teeIn.get());
        cam.Link(cam.pins.front(), tee->pins[0]);
        tee->Link(tee->pins[0], cam.pins.front());
        tee->Link(tee->pins[1], rendererIn);
        GrowTee(*tee);
    }

    static GstPadProbeReturn WriterEvent(GstPad*, GstPadProbeInfo* info, gpointer data) {
        auto* d = static_cast<Impl*>(data);
        if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_EOS) {
            std::lock_guard lock(d->eosMutex);
            d->fileFinished = true;
            d->eosArrived.notify_all();
        }
        return GST_PAD_PROBE_OK;
    }

    static GstPadProbeReturn FailWrites(GstPad* pad, GstPadProbeInfo*, gpointer data) {
        auto* left = static_cast<int*>(data);
        if (*left <= 0) return GST_PAD_PROBE_DROP;
        if (--*left == 0) {
            GstRef<GstElement> writer(gst_pad_get_parent_element(pad));
            GST_ELEMENT_ERROR(writer.get(), RESOURCE, NO_SPACE_LEFT, ("No space left on the device."), (nullptr));
            return GST_PAD_PROBE_DROP;
        }
        return GST_PAD_PROBE_OK;
    }

    // A tee's free output: through a queue of its own, the multiplexer and the file writer
    // that wait in the graph.
    void RenderFileBranch(Filter& tee, const PinInfo& pin) {
        if (tee.peers.count(pin.Name) || &pin != &tee.pins.back()) vb::Raise(vb::ErrInvalidCall);
        Filter* mux = Unlinked(Kind::AviMux);
        Filter* writer = Unlinked(Kind::FileWriter);
        if (!mux || !writer || fileQueue) vb::Raise(vb::ErrInvalidCall);
        GstRef<GstElement> queue = Make("queue");
        if (!queue) vb::Raise(vb::ErrInvalidCall);
        // Room for a few seconds of frames, so a slow disk holds up neither camera nor screen.
        g_object_set(queue.get(), "max-size-buffers", 0u, "max-size-bytes", 0u, "max-size-time", guint64(4 * GST_SECOND), nullptr);
        for (GstElement* e : {queue.get(), mux->element.get(), writer->element.get()})
            gst_bin_add(GST_BIN(pipeline.get()), GST_ELEMENT(gst_object_ref(e)));
        // Pads by name: the multiplexer would take a stream of any caps on its audio input.
        GstRef<GstPad> teeOut(gst_element_request_pad_simple(tee.element.get(), "src_%u"));
        GstRef<GstPad> muxIn(gst_element_request_pad_simple(mux->element.get(), "video_%u"));
        GstRef<GstPad> queueIn(gst_element_get_static_pad(queue.get(), "sink"));
        GstRef<GstPad> queueOut(gst_element_get_static_pad(queue.get(), "src"));
        if (!teeOut || !muxIn || gst_pad_link(teeOut.get(), queueIn.get()) != GST_PAD_LINK_OK ||
            gst_pad_link(queueOut.get(), muxIn.get()) != GST_PAD_LINK_OK ||
            !gst_element_link(mux->element.get(), writer->element.get())) {
            if (teeOut) gst_element_release_request_pad(tee.element.get(), teeOut.get());
            for (GstElement* e : {queue.get(), mux->element.get(), writer->element.get()}) {
                gst_element_set_state(e, GST_STATE_NULL);
                gst_bin_remove(GST_BIN(pipeline.get()), e);
            }
            vb::Raise(vb::ErrInvalidCall);
        }
        gst_pad_add_probe(queueOut.get(), GST_PAD_PROBE_TYPE_BUFFER, &Impl::Count, &recordedFrames, nullptr);
        GstRef<GstPad> writerIn(gst_element_get_static_pad(writer->element.get(), "sink"));
        gst_pad_add_probe(writerIn.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &Impl::WriterEvent, this, nullptr);
        if (faults.writerFailsAfter > 0)
            gst_pad_add_probe(writerIn.get(), GST_PAD_PROBE_TYPE_BUFFER, &Impl::FailWrites, new int(faults.writerFailsAfter),
                              [](gpointer p) { delete static_cast<int*>(p); });
        tee.Link(pin, mux->pins[0]);
        mux->Link(mux->pins[0], pin);
        mux->Link(mux->pins[1], writer->pins[0]);
        writer->Link(writer->pins[0], mux->pins[1]);
        GrowTee(tee);
        fileTeePad = std::move(teeOut);
        fileQueue = queue.get();
        fileMux = mux->element.get();
        fileWriter = writer->element.get();
    }

    // Ends the file branch's stream and waits for the writer to have it, so the multiplexer
    // has written its index and header. False when it did not arrive in time.
    bool FinishFile(int timeoutMs) {
        if (!fileTeePad || !active) return false;
        {
            std::lock_guard lock(eosMutex);
            if (fileFinished) return true;
        }
        // The camera's streaming thread cuts the branch off before its next frame enters the
        // tee, so every frame counted went to the file too. A camera that sends nothing more
        // leaves it to this thread.
        cutRequested = true;
        std::unique_lock lock(eosMutex);
        if (!eosArrived.wait_for(lock, std::chrono::milliseconds(500), [this] { return cut.load(); })) {
            lock.unlock();
            CutFileBranch();
            lock.lock();
        }
        return eosArrived.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return fileFinished; });
    }

    // Takes the file branch off the tee and ends its stream; once only.
    void CutFileBranch() {
        bool expected = false;
        if (!cut.compare_exchange_strong(expected, true)) return;
        framesAtCut = cameraFrames.load();
        GstRef<GstPad> in(gst_element_get_static_pad(fileQueue, "sink"));
        gst_pad_unlink(fileTeePad.get(), in.get());
        gst_pad_send_event(in.get(), gst_event_new_eos());
        std::lock_guard lock(eosMutex);
        eosArrived.notify_all();
    }

    bool InFileBranch(GstObject* source) const {
        for (GstElement* e : {fileQueue, fileMux, fileWriter})
            if (e && source && (source == GST_OBJECT(e) || gst_object_has_as_ancestor(source, GST_OBJECT(e)))) return true;
        return false;
    }

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

FilterGraph::FilterGraph() : d_(std::make_unique<Impl>()) {
    static std::once_flag once;
    std::call_once(once, [] { gst_init(nullptr, nullptr); });
    d_->self = this;
    d_->pipeline.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    d_->ui = std::make_unique<QObject>();
    GstRef<GstBus> bus(gst_element_get_bus(d_->pipeline.get()));
    // Qt's glib event loop dispatches a bus watch; any other loop gets a polling timer.
    auto* dispatcher = QAbstractEventDispatcher::instance();
    if (dispatcher && dispatcher->inherits("QEventDispatcherGlib")) {
        gst_bus_add_watch(bus.get(), &Impl::BusCall, d_.get());
        d_->busWatch = true;
    } else {
        d_->busTimer = new QTimer(d_->ui.get());
        QObject::connect(d_->busTimer, &QTimer::timeout, d_->ui.get(), [d = d_.get()] { d->PollBus(); });
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
    d_->ui.reset();
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

uint64_t FilterGraph::CameraFrames() const { return d_->cut ? d_->framesAtCut.load() : d_->cameraFrames.load(); }
uint64_t FilterGraph::RecordedFrames() const { return d_->recordedFrames.load(); }

void FilterGraph::Run() {
    if (!d_->active) d_->cameraFrames = 0, d_->recordedFrames = 0;
    d_->Hold(false);
    d_->ChangeState(GST_STATE_PLAYING);
}

void FilterGraph::Pause() {
    d_->Hold(true);
    d_->ChangeState(GST_STATE_PAUSED);
}
void FilterGraph::Stop() {
    // A recording's file gets its index and header before the graph stops.
    d_->FinishFile(10000);
    gst_element_set_state(d_->pipeline.get(), GST_STATE_NULL);
    d_->active = false;
}

QSize FilterGraph::GetVideoSize() const {
    SampleRef sample = d_->Newest();
    GstVideoInfo info;
    if (!sample || !gst_sample_get_caps(sample.get()) || !gst_video_info_from_caps(&info, gst_sample_get_caps(sample.get())))
        return {0, 0};
    return {GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info)};
}

QImage FilterGraph::GetCurrentImage() const {
    SampleRef sample = d_->Newest();
    // A copy of its own, so the frame goes back to the camera at once.
    return sample ? Impl::Wrap(std::move(sample)).copy() : QImage();
}

void FilterGraph::SetOwner(vb::PictureBox* owner) {
    if (d_->owner != owner && d_->owner && d_->ownerWidget) d_->owner->ShowVideoFrame(QImage());
    d_->owner = owner;
    d_->ownerWidget = owner ? owner->Widget() : nullptr;
}

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
