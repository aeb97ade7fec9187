#include "LiveRenderer.h"

#include <gst/video/video.h>

#include <QObject>

#include "Graph.h"
#include "PictureBox.h"

namespace tavix::cam {

namespace {

// The sample's pixels as an RGB32 image that keeps the frame mapped (and the sample
// alive) for as long as the image or a copy of it lives: no pixel is copied.
QImage Wrap(SampleRef sample) {
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
    return QImage(
        static_cast<const uchar*>(GST_VIDEO_FRAME_PLANE_DATA(&m->frame, 0)), GST_VIDEO_FRAME_WIDTH(&m->frame),
        GST_VIDEO_FRAME_HEIGHT(&m->frame), GST_VIDEO_FRAME_PLANE_STRIDE(&m->frame, 0), QImage::Format_RGB32,
        [](void* p) {
            auto* mapped = static_cast<Mapped*>(p);
            gst_video_frame_unmap(&mapped->frame);
            delete mapped;
        },
        m);
}

}  // namespace

LiveRenderer::LiveRenderer(FilterGraph& graph) : graph_(graph), ui_(std::make_unique<QObject>()) {}

// Frames still posted go with the object they were posted to.
LiveRenderer::~LiveRenderer() { ui_.reset(); }

void LiveRenderer::Attach(GstElement* appsink) {
    CapsRef bgrx(gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "BGRx", nullptr));
    // Not waiting for a frame to change state: a Run after a Stop returns at once, and the
    // picture comes with the camera's next frame.
    g_object_set(appsink, "caps", bgrx.get(), "max-buffers", 1u, "drop", TRUE, "sync", FALSE, "async", FALSE, nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = &LiveRenderer::NewSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(appsink), &callbacks, this, nullptr);
    // The converter before it takes each chroma sample as it comes, as GStreamer's own I420
    // path does anyway: a YUYV camera's frames then convert in little more than half the time.
    GstRef<GstPad> in(gst_element_get_static_pad(appsink, "sink"));
    GstRef<GstPad> out(in ? gst_pad_get_peer(in.get()) : nullptr);
    GstRef<GstElement> convert(out ? gst_pad_get_parent_element(out.get()) : nullptr);
    if (convert && g_object_class_find_property(G_OBJECT_GET_CLASS(convert.get()), "chroma-mode"))
        gst_util_set_object_arg(G_OBJECT(convert.get()), "chroma-mode", "none");
}

GstFlowReturn LiveRenderer::NewSample(GstAppSink* appsink, gpointer data) {
    auto* r = static_cast<LiveRenderer*>(data);
    SampleRef sample(gst_app_sink_pull_sample(appsink));
    if (!sample) return GST_FLOW_OK;
    std::lock_guard lock(r->mutex_);
    if (r->held_) return GST_FLOW_OK;
    r->newest_ = std::move(sample);
    if (!r->repaintPending_) {
        r->repaintPending_ = true;
        QMetaObject::invokeMethod(
            r->ui_.get(), [r] { r->ShowNewest(); }, Qt::QueuedConnection);
    }
    return GST_FLOW_OK;
}

void LiveRenderer::Hold(bool on) {
    std::lock_guard lock(mutex_);
    held_ = on;
}

SampleRef LiveRenderer::Newest() const {
    std::lock_guard lock(mutex_);
    return SampleRef(newest_ ? gst_sample_ref(newest_.get()) : nullptr);
}

void LiveRenderer::ShowNewest() {
    SampleRef sample;
    {
        std::lock_guard lock(mutex_);
        repaintPending_ = false;
        if (newest_) sample.reset(gst_sample_ref(newest_.get()));
    }
    if (!sample) return;
    const QImage frame = Wrap(std::move(sample));
    if (frame.isNull()) return;
    if (frame.size() != shownSize_) {
        shownSize_ = frame.size();
        if (graph_.OnVideoSize) {
            const auto placed = graph_.OnVideoSize;
            placed(shownSize_);
        }
    }
    if (owner_ && ownerWidget_) owner_->ShowVideoFrame(frame);
}

void LiveRenderer::SetOwner(vb::PictureBox* owner) {
    if (owner_ != owner && owner_ && ownerWidget_) owner_->ShowVideoFrame(QImage());
    owner_ = owner;
    ownerWidget_ = owner ? owner->Widget() : nullptr;
}

QSize LiveRenderer::VideoSize() const {
    SampleRef sample = Newest();
    GstVideoInfo info;
    if (!sample || !gst_sample_get_caps(sample.get()) ||
        !gst_video_info_from_caps(&info, gst_sample_get_caps(sample.get())))
        return {0, 0};
    return {GST_VIDEO_INFO_WIDTH(&info), GST_VIDEO_INFO_HEIGHT(&info)};
}

QImage LiveRenderer::CurrentImage() const {
    SampleRef sample = Newest();
    // A copy of its own, so the frame goes back to the camera at once.
    return sample ? Wrap(std::move(sample)).copy() : QImage();
}

}  // namespace tavix::cam
