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
    CapsRef caps(gst_caps_from_string("video/x-raw,format=BGRx;image/jpeg"));
    // Not waiting for a frame to change state: a Run after a Stop returns at once, and the
    // picture comes with the camera's next frame.
    g_object_set(appsink, "caps", caps.get(), "max-buffers", 1u, "drop", TRUE, "sync", FALSE, "async", FALSE, nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = &LiveRenderer::NewSample;
    gst_app_sink_set_callbacks(GST_APP_SINK(appsink), &callbacks, this, nullptr);
}

GstRef<GstElement> LiveRenderer::MakeConverter() {
    GstRef<GstElement> convert = Make("videoconvert");
    // Each chroma sample taken as it comes, as GStreamer's own I420 path does anyway: a YUYV
    // camera's frames then convert in little more than half the time.
    if (convert && g_object_class_find_property(G_OBJECT_GET_CLASS(convert.get()), "chroma-mode"))
        gst_util_set_object_arg(G_OBJECT(convert.get()), "chroma-mode", "none");
    return convert;
}

QImage LiveRenderer::Picture(SampleRef sample) {
    GstCaps* caps = gst_sample_get_caps(sample.get());
    const GstStructure* s = caps && gst_caps_get_size(caps) ? gst_caps_get_structure(caps, 0) : nullptr;
    if (!s || !gst_structure_has_name(s, "image/jpeg")) return Wrap(std::move(sample));
    GstBuffer* buffer = gst_sample_get_buffer(sample.get());
    GstMapInfo map;
    if (!buffer || !gst_buffer_map(buffer, &map, GST_MAP_READ)) return {};
    QImage picture = jpeg_.Decode(map.data, map.size);
    gst_buffer_unmap(buffer, &map);
    return picture;
}

GstFlowReturn LiveRenderer::NewSample(GstAppSink* appsink, gpointer data) {
    auto* r = static_cast<LiveRenderer*>(data);
    SampleRef sample(gst_app_sink_pull_sample(appsink));
    if (!sample) return GST_FLOW_OK;
    {
        std::lock_guard lock(r->mutex_);
        if (r->held_) return GST_FLOW_OK;
    }
    QImage picture = r->Picture(std::move(sample));  // outside the lock: decoding takes a while
    if (picture.isNull()) return GST_FLOW_OK;
    std::lock_guard lock(r->mutex_);
    if (r->held_) return GST_FLOW_OK;
    r->newest_ = std::move(picture);
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

QImage LiveRenderer::Newest() const {
    std::lock_guard lock(mutex_);
    return newest_;
}

void LiveRenderer::ShowNewest() {
    QImage frame;
    {
        std::lock_guard lock(mutex_);
        repaintPending_ = false;
        frame = newest_;
    }
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

QSize LiveRenderer::VideoSize() const { return Newest().size(); }

QImage LiveRenderer::CurrentImage() const {
    // A copy of its own, so the frame goes back to the camera at once.
    return Newest().copy();
}

}  // namespace tavix::cam
