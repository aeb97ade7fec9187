#pragma once
// The recording branch off the camera's tee: a queue of its own, a rate keeper, the
// multiplexer and the file writer. A recording ends by end-of-stream through this branch, so the AVI always
// gets its index; the frame counts say how many went in.
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include "GstHandles.h"

namespace tavix::cam {

class RecordBranch {
public:
    RecordBranch() = default;
    RecordBranch(const RecordBranch&) = delete;
    RecordBranch& operator=(const RecordBranch&) = delete;

    // Camera frames are counted at this pad, which is also where the branch is cut off.
    void CountCameraFramesAt(GstPad* pad);
    // Links a new request pad of the tee through a queue to the multiplexer and the writer,
    // all added to the pipeline; false, with them taken out again, when they do not link.
    // For tests: the writer runs out of space after failWritesAfter buffers, and writes no
    // more than bytesPerSecond.
    bool Link(GstElement* pipeline, GstElement* tee, GstElement* mux, GstElement* writer, int failWritesAfter,
              int bytesPerSecond);
    bool Linked() const { return fileQueue_ != nullptr; }
    // Ends the branch's stream and waits for the writer to have it, so the multiplexer has
    // written its index and header. False when it did not arrive in time.
    bool Finish(int timeoutMs);
    // Whether a message's source is in the branch.
    bool Contains(GstObject* source) const;

    // The graph runs: a linked branch's movie starts now.
    void Started();
    void ResetCounts();
    uint64_t CameraFrames() const;
    // Frames written whole; the others of CameraFrames went into the movie as repeats of the
    // frame before, because the disk was behind or the recording ended while they waited.
    uint64_t RecordedFrames() const;

private:
    static GstPadProbeReturn CountCamera(GstPad*, GstPadProbeInfo*, gpointer data);
    static GstPadProbeReturn Leaving(GstPad* pad, GstPadProbeInfo* info, gpointer data);
    static GstPadProbeReturn WriterEvent(GstPad*, GstPadProbeInfo* info, gpointer data);
    void Cut();

    GstRef<GstPad> countPad_;
    gulong countProbe_ = 0;
    // Once linked: the tee's pad that feeds the branch, its queue, the multiplexer, the writer.
    GstRef<GstPad> fileTeePad_;
    static constexpr guint64 kBacklog = GST_SECOND / 2;  // of frames waiting, before they are thinned
    GstElement* fileQueue_ = nullptr;
    GstElement* fileRate_ = nullptr;
    GstElement* fileMux_ = nullptr;
    GstElement* fileWriter_ = nullptr;
    std::mutex eosMutex_;
    std::condition_variable eosArrived_;
    bool fileFinished_ = false;
    std::atomic<uint64_t> cameraFrames_{0}, recordedFrames_{0};
    std::atomic<uint64_t> framesAtCut_{0};  // camera frames when the branch was cut off
    std::atomic<bool> cut_{false}, cutRequested_{false};
    static constexpr gint64 kFinishWrites = 300;  // ms a stop lets the disk write what waits
    // Monotonic µs: when a stop lets the disk go (0 while recording), when the stop was asked
    // for, and when the run that started the recording began (0 once its first frame came).
    std::atomic<gint64> finishBy_{0}, stopAt_{0}, runAt_{0};
};

}  // namespace tavix::cam
