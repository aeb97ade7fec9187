#pragma once
// The camera graph on GStreamer, in the shape the camera code works with: a graph of named
// filters with pins, a catalogue of filters that can be added by name, a renderer that shows
// the newest frame in a picture box, and the graph file that keeps the camera's settings.
//
// Threads: GStreamer streams on its own threads. They only take a reference to the newest
// frame and post to the UI thread; the bus is read on the UI thread. Every call here is
// made on the UI thread.
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QWidget;
namespace vb {
class PictureBox;
}

namespace tavix::cam {

// The built-in live test source, and the three fixed elements that recording uses.
extern const QString TestCameraName;  // "Tavix Test Camera"
extern const QString TeeFilterName;   // "Infinite Pin Tee Filter"
extern const QString AviMuxName;      // "AVI Mux"
extern const QString FileWriterName;  // "File writer"

class FilterGraph;

// The GStreamer elements the camera variants need that this machine lacks, each named with
// the Debian package that holds it, e.g. "timeoverlay (gstreamer1.0-x)". The test camera
// needs a few more than a real one. Empty when nothing is missing.
QStringList MissingElements(bool testCamera);

// A camera node this user may not open (not in the group that owns it, usually "video"):
// the device the graph file names, else the first /dev/video* refused; empty when none is.
QString RefusedCameraDevice(const QString& graphFile);

struct PinInfo {
    QString Name;
    int Direction = 0;  // 0 input, 1 output
};

// A filter in a graph.
class FilterInfo {
public:
    virtual ~FilterInfo() = default;
    virtual QString Name() const = 0;
    // In the element's own order.
    virtual const std::vector<PinInfo>& Pins() const = 0;
};

// A filter the catalogue offers; Filter() puts one into the graph it was listed for.
struct RegFilterInfo {
    QString Name;
    std::function<FilterInfo*()> Filter;  // nullptr when it could not be made
};

// A control of the camera, as the settings dialog shows it.
struct CameraControl {
    QString Id;     // stable key in the graph file
    QString Label;  // what the user reads
    enum Kind { Integer, Boolean, Menu } kind = Integer;
    int Minimum = 0, Maximum = 0, Step = 1, Default = 0, Value = 0;
    std::vector<std::pair<int, QString>> MenuItems;  // for Menu: value and name of each entry
    bool Inactive = false;                           // governed by an automatic mode now
    bool ReadOnly = false;
};

// A format the camera sends, as it is asked for: zero or empty means "whatever it offers".
struct CameraFormat {
    int Width = 0, Height = 0;
    QString Format;  // a raw format name (YUY2, I420, …), MJPG, or empty
    int RateNum = 0, RateDen = 1;
    bool operator==(const CameraFormat&) const = default;
    bool Empty() const { return !Width && !Height && Format.isEmpty() && !RateNum; }
    double Rate() const { return RateNum > 0 && RateDen > 0 ? double(RateNum) / RateDen : 0; }
};

class FilterGraph {
public:
    FilterGraph();
    ~FilterGraph();
    FilterGraph(const FilterGraph&) = delete;
    FilterGraph& operator=(const FilterGraph&) = delete;

    // The catalogue: video sources of the device monitor by display name, the test camera,
    // then the tee, the AVI multiplexer and the file writer. Stable order from run to run.
    std::vector<RegFilterInfo> RegFilterCollection();
    // The filters in the graph, in the order they were added.
    std::vector<FilterInfo*> FilterCollection() const;

    // Completes the path from an output pin with the filters waiting in the graph: the
    // camera's to the renderer (through a tee if one waits unlinked), a tee's free output
    // through "AVI Mux" into "File writer". Error 5 when it cannot.
    void Render(FilterInfo& filter, const PinInfo& pin);
    // Takes the camera's output off the renderer, which stays with a free input.
    void Disconnect(FilterInfo& filter, const PinInfo& pin);
    // The pin's partner; error 5 for a pin that has none.
    const PinInfo& ConnectedTo(const FilterInfo& filter, const PinInfo& pin) const;
    // The file a "File writer" writes to.
    void SetFileName(FilterInfo& writer, const QString& path);

    // Error 5 when the graph cannot change to the state (no camera, camera gone, a file the
    // writer cannot open). Stop first ends a recording's file so that it is complete.
    void Run();
    void Pause();
    void Stop();

    // What the last failure said (GStreamer's text), empty when it said nothing.
    QString LastErrorText() const;
    // Frames the camera has sent since the graph started (up to the moment a recording's
    // file was cut off, once it was), and frames that went into the recording branch.
    uint64_t CameraFrames() const;
    uint64_t RecordedFrames() const;

    // The negotiated frame size; (0, 0) before the first frame.
    QSize GetVideoSize() const;
    // The newest frame as 32-bit pixels at the camera's size; a null image before the first.
    QImage GetCurrentImage() const;

    // The renderer shows each new frame in this box, stretched to its size.
    void SetOwner(vb::PictureBox* owner);

    // The camera's controls with their current values, and setting one on the running camera.
    std::vector<CameraControl> Controls(const FilterInfo& filter) const;
    void SetControl(FilterInfo& filter, const QString& id, int value);

    // The formats the camera offers, each size at each rate: raw formats first, then MJPG;
    // larger sizes and higher rates first. Only what the renderer can show.
    std::vector<CameraFormat> Formats(const FilterInfo& filter) const;
    // The format the camera sends (asked for, or negotiated where it has started).
    CameraFormat CurrentFormat() const;
    // Asks the rendered camera for one of its formats; a running picture goes on in it, the
    // device kept open. Errors: 380 a format the camera does not offer, 5 no rendered camera,
    // 57 the camera refused it (it then goes on in the format it had).
    void SetFormat(FilterInfo& filter, const CameraFormat& format);

    // Called on the UI thread when the stream fails (camera unplugged, device error):
    // the error number and the reason.
    std::function<void(int number, const QString& reason)> OnStreamError;

    // Called on the UI thread when a frame of a new size is about to be shown (the first
    // frame included), before it is.
    std::function<void(QSize size)> OnVideoSize;

    // Faults for tests only; no file can set them. The test camera reports a read error
    // after this many frames (counted from when it is rendered, or from now if it is
    // already), the file writer a full disk after this many buffers. Zero: never. The file
    // writer takes no more than writerBytesPerSecond, as a slow disk; zero: any.
    struct Faults {
        int cameraFailsAfter = 0;
        int writerFailsAfter = 0;
        int writerBytesPerSecond = 0;
    };
    void SetFaults(const Faults& faults);

    struct Impl;

private:
    std::unique_ptr<Impl> d_;
    friend class GraphFileStore;
};

// The graph file: our own readable text form of the camera, its device, the negotiated
// size, format and rate, and the values of its controls. Written through a temporary file.
class GraphFileStore {
public:
    // Fills an empty graph from the file. Errors: 53 missing, 75 unreadable, 13 damaged.
    void LoadGraphFile(FilterGraph& graph, const QString& path);
    // Writes the graph's camera and its settings. Errors as the platform's file writes (75, 76, 57).
    void SaveGraphFile(FilterGraph& graph, const QString& path);
    // The camera's settings dialog, modal through the dialog host.
    void ShowFilterProperties(FilterGraph& graph, FilterInfo& filter, QWidget* owner, const QString& caption);
};

}  // namespace tavix::cam
