#pragma once
// The live picture: the camera's appsink hands each new frame over on its streaming thread,
// which makes it a picture (raw frames as they are, JPEG frames decoded), keeps only the
// newest and posts to the UI thread; the frame is drawn there, in the owner's picture box.
#include <gst/app/gstappsink.h>

#include <QImage>
#include <QPointer>
#include <QSize>
#include <memory>
#include <mutex>

#include "GstHandles.h"
#include "JpegFrames.h"

class QObject;
class QWidget;
namespace vb {
class PictureBox;
}

namespace tavix::cam {

class FilterGraph;

class LiveRenderer {
public:
    // Tells the graph's OnVideoSize of each new frame size.
    explicit LiveRenderer(FilterGraph& graph);
    ~LiveRenderer();
    LiveRenderer(const LiveRenderer&) = delete;
    LiveRenderer& operator=(const LiveRenderer&) = delete;

    // Takes the frames of this appsink, BGRx or JPEG; only the newest is kept.
    void Attach(GstElement* appsink);
    // The converter that brings raw camera frames to BGRx before the appsink.
    static GstRef<GstElement> MakeConverter();
    // While held, a frame still in flight does not replace the one being frozen.
    void Hold(bool on);
    void SetOwner(vb::PictureBox* owner);

    QSize VideoSize() const;
    QImage CurrentImage() const;

private:
    static GstFlowReturn NewSample(GstAppSink* appsink, gpointer data);
    QImage Picture(SampleRef sample);
    QImage Newest() const;
    void ShowNewest();

    FilterGraph& graph_;
    std::unique_ptr<QObject> ui_;  // lives on the UI thread; frames are posted to it
    QPointer<QWidget> ownerWidget_;
    vb::PictureBox* owner_ = nullptr;
    QSize shownSize_;  // of the last frame handed to the owner
    JpegFrames jpeg_;  // used on the streaming thread only

    // Shared with the streaming thread.
    mutable std::mutex mutex_;
    QImage newest_;
    bool repaintPending_ = false;
    bool held_ = false;
};

}  // namespace tavix::cam
