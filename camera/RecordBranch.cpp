#include "RecordBranch.h"

#include <chrono>

namespace tavix::cam {

namespace {

GstPadProbeReturn Count(GstPad*, GstPadProbeInfo*, gpointer counter) {
    static_cast<std::atomic<uint64_t>*>(counter)->fetch_add(1, std::memory_order_relaxed);
    return GST_PAD_PROBE_OK;
}

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

GstPadProbeReturn RecordBranch::WriterEvent(GstPad*, GstPadProbeInfo* info, gpointer data) {
    auto* b = static_cast<RecordBranch*>(data);
    if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_EOS) {
        std::lock_guard lock(b->eosMutex_);
        b->fileFinished_ = true;
        b->eosArrived_.notify_all();
    }
    return GST_PAD_PROBE_OK;
}

bool RecordBranch::Link(GstElement* pipeline, GstElement* tee, GstElement* mux, GstElement* writer,
                        int failWritesAfter) {
    GstRef<GstElement> queue = Make("queue");
    if (!queue) return false;
    // Room for a few seconds of frames, so a slow disk holds up neither camera nor screen.
    g_object_set(queue.get(), "max-size-buffers", 0u, "max-size-bytes", 0u, "max-size-time", guint64(4 * GST_SECOND),
                 nullptr);
    for (GstElement* e : {queue.get(), mux, writer}) gst_bin_add(GST_BIN(pipeline), GST_ELEMENT(gst_object_ref(e)));
    // Pads by name: the multiplexer would take a stream of any caps on its audio input.
    GstRef<GstPad> teeOut(gst_element_request_pad_simple(tee, "src_%u"));
    GstRef<GstPad> muxIn(gst_element_request_pad_simple(mux, "video_%u"));
    GstRef<GstPad> queueIn(gst_element_get_static_pad(queue.get(), "sink"));
    GstRef<GstPad> queueOut(gst_element_get_static_pad(queue.get(), "src"));
    if (!teeOut || !muxIn || gst_pad_link(teeOut.get(), queueIn.get()) != GST_PAD_LINK_OK ||
        gst_pad_link(queueOut.get(), muxIn.get()) != GST_PAD_LINK_OK || !gst_element_link(mux, writer)) {
        if (teeOut) gst_element_release_request_pad(tee, teeOut.get());
        for (GstElement* e : {queue.get(), mux, writer}) {
            gst_element_set_state(e, GST_STATE_NULL);
            gst_bin_remove(GST_BIN(pipeline), e);
        }
        return false;
    }
    gst_pad_add_probe(queueOut.get(), GST_PAD_PROBE_TYPE_BUFFER, &Count, &recordedFrames_, nullptr);
    GstRef<GstPad> writerIn(gst_element_get_static_pad(writer, "sink"));
    gst_pad_add_probe(writerIn.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, &RecordBranch::WriterEvent, this, nullptr);
    if (failWritesAfter > 0)
        gst_pad_add_probe(writerIn.get(), GST_PAD_PROBE_TYPE_BUFFER, &FailWrites, new int(failWritesAfter),
                          [](gpointer p) { delete static_cast<int*>(p); });
    fileTeePad_ = std::move(teeOut);
    fileQueue_ = queue.get();
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
    gst_pad_send_event(in.get(), gst_event_new_eos());
    std::lock_guard lock(eosMutex_);
    eosArrived_.notify_all();
}

bool RecordBranch::Contains(GstObject* source) const {
    for (GstElement* e : {fileQueue_, fileMux_, fileWriter_})
        if (e && source && (source == GST_OBJECT(e) || gst_object_has_as_ancestor(source, GST_OBJECT(e)))) return true;
    return false;
}

void RecordBranch::ResetCounts() { cameraFrames_ = 0, recordedFrames_ = 0; }

uint64_t RecordBranch::CameraFrames() const { return cut_ ? framesAtCut_.load() : cameraFrames_.load(); }
uint64_t RecordBranch::RecordedFrames() const { return recordedFrames_.load(); }

}  // namespace tavix::cam
