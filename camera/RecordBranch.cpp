#include "RecordBranch.h"

#include <algorithm>
#include <chrono>

namespace tavix::cam {

namespace {

GstPadProbeReturn FailWrites(GstPad* pad, GstPadProbeInfo*, gpointer data) {
    auto* left = static_cast<int*>(data);
    if (*left <= 0) return GST_PAD_PROBE_DROP;
    if (--*left == 0) {
        GstRef<GstElement> writer(gst_pad_get_parent_element(pad));
        GST_ELEMENT_ERROR(writer.get(), RESOURCE, NO_SPACE_LEFT, ("No space left on the device."), (nullptr));
        return GST_PAD_PROBE_DROP;
    }
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn SlowWrites(GstPad*, GstPadProbeInfo* info, gpointer bytesPerSecond) {
    const double seconds =
        double(gst_buffer_get_size(GST_PAD_PROBE_INFO_BUFFER(info))) / GPOINTER_TO_INT(bytesPerSecond);
    g_usleep(gulong(seconds * G_USEC_PER_SEC));
    return GST_PAD_PROBE_OK;
}

// The pipeline's running time now, as the camera's timestamps count it; none without a clock.
GstClockTime RunningTimeNow(GstElement* element) {
    GstRef<GstClock> clock{gst_element_get_clock(element)};
    return clock ? gst_clock_get_time(clock.get()) - gst_element_get_base_time(element) : GST_CLOCK_TIME_NONE;
}

}  // namespace

void RecordBranch::CountCameraFramesAt(GstPad* pad) {
    if (countPad_) gst_pad_remove_probe(countPad_.get(), countProbe_);
    countPad_.reset(GST_PAD(gst_object_ref(pad)));
    countProbe_ = gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, &RecordBranch::CountCamera, this, nullptr);
}

GstPadProbeReturn RecordBranch::CountCamera(GstPad*, GstPadProbeInfo*, gpointer data) {
    auto* b = static_cast<RecordBranch*>(data);
    if (b->cutRequested_.load(std::memory_order_relaxed)) b->Cut();
    b->cameraFrames_.fetch_add(1, std::memory_order_relaxed);
    return GST_PAD_PROBE_OK;
}

// A frame leaving the queue while the disk is behind (or once a stop has waited for it) is written
// as an empty chunk: players show the frame before it again, so the movie keeps its length
// and the backlog never holds up the camera or a stop.
GstPadProbeReturn RecordBranch::Leaving(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* b = static_cast<RecordBranch*>(data);
    // The first frame stands from the moment the recording started, not from when the camera
    // next sent one (up to a frame later).
    if (const gint64 started = b->runAt_.exchange(0); started != 0) {
        GstBuffer* first = GST_PAD_PROBE_INFO_BUFFER(info);
        const GstClockTime now = RunningTimeNow(b->fileQueue_);
        const GstClockTime ago = GstClockTime(g_get_monotonic_time() - started) * GST_USECOND;
        if (now != GST_CLOCK_TIME_NONE && GST_BUFFER_PTS_IS_VALID(first) && now > ago &&
            now - ago < GST_BUFFER_PTS(first)) {
            first = gst_buffer_make_writable(first);
            GST_BUFFER_PTS(first) = now - ago;
            GST_PAD_PROBE_INFO_DATA(info) = first;
        }
    }
    guint64 backlog = 0;
    g_object_get(b->fileQueue_, "current-level-time", &backlog, nullptr);
    const gint64 deadline = b->finishBy_.load(std::memory_order_relaxed);
    if (backlog <= kBacklog && (deadline == 0 || g_get_monotonic_time() < deadline)) {
        b->recordedFrames_.fetch_add(1, std::memory_order_relaxed);
        return GST_PAD_PROBE_OK;
    }
    GstBuffer* frame = GST_PAD_PROBE_INFO_BUFFER(info);
    GstBuffer* empty = gst_buffer_new();
    gst_buffer_copy_into(empty, frame, GST_BUFFER_COPY_METADATA, 0, 0);
    gst_buffer_unref(frame);
    GST_PAD_PROBE_INFO_DATA(info) = empty;
    return GST_PAD_PROBE_OK;
}

GstPadProbeReturn RecordBranch::WriterEvent(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* b = static_cast<RecordBranch*>(data);
    if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_EOS) {
        std::lock_guard lock(b->eosMutex_);
        b->fileFinished_ = true;
        b->eosArrived_.notify_all();
    }
    return GST_PAD_PROBE_OK;
}

bool RecordBranch::Link(GstElement* pipeline, GstElement* tee, GstElement* mux, GstElement* writer, int failWritesAfter,
                        int bytesPerSecond) {
    GstRef<GstElement> queue = Make("queue"), rate = Make("videorate");
    if (!queue || !rate) return false;
    // Seconds of frames: a disk that stops altogether loses the oldest, never the live picture.
    g_object_set(queue.get(), "max-size-buffers", 0u, "max-size-bytes", 0u, "max-size-time", guint64(4 * GST_SECOND),
                 "leaky", 2, nullptr);
    // The multiplexer counts frames, not time: frames the camera or the queue missed are made
    // up, so the movie lasts as long as the recording did. Not from before the first frame.
    g_object_set(rate.get(), "skip-to-first", TRUE, nullptr);
    for (GstElement* e : {queue.get(), rate.get(), mux, writer})
        gst_bin_add(GST_BIN(pipeline), e);  // the bin takes a reference of its own
    // Pads by name: the multiplexer would take a stream of any caps on its audio input.
    GstRef<GstPad> teeOut(gst_element_request_pad_simple(tee, "src_%u"));
    GstRef<GstPad> muxIn(gst_element_request_pad_simple(mux, "video_%u"));
    GstRef<GstPad> queueIn(gst_element_get_static_pad(queue.get(), "sink"));
    GstRef<GstPad> rateOut(gst_element_get_static_pad(rate.get(), "src"));
    if (!teeOut || !muxIn || gst_pad_link(teeOut.get(), queueIn.get()) != GST_PAD_LINK_OK ||
        !gst_element_link(queue.get(), rate.get()) || gst_pad_link(rateOut.get(), muxIn.get()) != GST_PAD_LINK_OK ||
        !gst_element_link(mux, writer)) {
        if (teeOut) gst_element_release_request_pad(tee, teeOut.get());
        for (GstElement* e : {queue.get(), rate.get(), mux, writer}) {
            gst_element_set_state(e, GST_STATE_NULL);
            gst_bin_remove(GST_BIN(pipeline), e);
        }
        return false;
    }
    GstRef<GstPad> queueOut(gst_element_get_static_pad(queue.get(), "src"));
    gst_pad_add_probe(queueOut.get(), GST_PAD_PROBE_TYPE_BUFFER, &RecordBranch::Leaving, this, nullptr);
    GstRef<GstPad> writerIn(gst_element_get_static_pad(writer, "sink"));
    gst_pad_add_probe(writerIn.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &RecordBranch::WriterEvent, this, nullptr);
    if (failWritesAfter > 0)
        gst_pad_add_probe(writerIn.get(), GST_PAD_PROBE_TYPE_BUFFER, &FailWrites, new int(failWritesAfter),
                          [](gpointer p) { delete static_cast<int*>(p); });
    if (bytesPerSecond > 0)
        gst_pad_add_probe(writerIn.get(), GST_PAD_PROBE_TYPE_BUFFER, &SlowWrites, GINT_TO_POINTER(bytesPerSecond),
                          nullptr);
    fileTeePad_ = std::move(teeOut);
    fileQueue_ = queue.get();
    fileRate_ = rate.get();
    fileMux_ = mux;
    fileWriter_ = writer;
    return true;
}

bool RecordBranch::Finish(int timeoutMs) {
    if (!fileTeePad_) return false;
    {
        std::lock_guard lock(eosMutex_);
        if (fileFinished_) return true;
    }
    // What still waits in the queue when the disk has had its time goes out as empty chunks,
    // so the stop never waits long on the disk.
    stopAt_ = g_get_monotonic_time();
    finishBy_ = stopAt_ + kFinishWrites * G_TIME_SPAN_MILLISECOND;
    // The camera's streaming thread cuts the branch off before its next frame enters the
    // tee, so every frame counted went to the file too. A camera that sends nothing more
    // leaves it to this thread.
    cutRequested_ = true;
    std::unique_lock lock(eosMutex_);
    if (!eosArrived_.wait_for(lock, std::chrono::milliseconds(500), [this] { return cut_.load(); })) {
        lock.unlock();
        Cut();
        lock.lock();
    }
    return eosArrived_.wait_for(lock, std::chrono::milliseconds(timeoutMs), [this] { return fileFinished_; });
}

// Takes the branch off the tee and ends its stream; once only.
void RecordBranch::Cut() {
    bool expected = false;
    if (!cut_.compare_exchange_strong(expected, true)) return;
    framesAtCut_ = cameraFrames_.load();
    GstRef<GstPad> in(gst_element_get_static_pad(fileQueue_, "sink"));
    gst_pad_unlink(fileTeePad_.get(), in.get());
    // The last frame stands until the stop was asked for: the rate keeper repeats it up to an
    // empty frame half a frame before that moment, which shows it once more, so the movie's
    // length is the time recorded rounded to whole frames.
    if (const GstClockTime now = RunningTimeNow(fileQueue_); now != GST_CLOCK_TIME_NONE) {
        GstClockTime stop = now - std::min(now, GstClockTime(g_get_monotonic_time() - stopAt_.load()) * GST_USECOND);
        int num = 0, den = 1;
        if (CapsRef caps{gst_pad_get_current_caps(in.get())};
            caps && gst_caps_get_size(caps.get()) > 0 &&
            gst_structure_get_fraction(gst_caps_get_structure(caps.get(), 0), "framerate", &num, &den) && num > 0)
            stop -= std::min(stop, gst_util_uint64_scale(GST_SECOND / 2, GstClockTime(den), GstClockTime(num)));
        GstBuffer* last = gst_buffer_new();
        GST_BUFFER_PTS(last) = stop;
        gst_pad_chain(in.get(), last);
    }
    gst_pad_send_event(in.get(), gst_event_new_eos());
    std::lock_guard lock(eosMutex_);
    eosArrived_.notify_all();
}

bool RecordBranch::Contains(GstObject* source) const {
    for (GstElement* e : {fileQueue_, fileRate_, fileMux_, fileWriter_})
        if (e && source && (source == GST_OBJECT(e) || gst_object_has_as_ancestor(source, GST_OBJECT(e)))) return true;
    return false;
}

void RecordBranch::Started() {
    if (Linked()) runAt_ = g_get_monotonic_time();
}

void RecordBranch::ResetCounts() { cameraFrames_ = 0, recordedFrames_ = 0; }

uint64_t RecordBranch::CameraFrames() const { return cut_ ? framesAtCut_.load() : cameraFrames_.load(); }
uint64_t RecordBranch::RecordedFrames() const { return recordedFrames_.load(); }

}  // namespace tavix::cam
