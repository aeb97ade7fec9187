// The catalogue of filters a graph can add: the device monitor's video sources by display
// name, the test camera, then the tee, the AVI multiplexer and the file writer.
#include <fcntl.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <algorithm>
#include <cerrno>

#include "Errors.h"
#include "GraphImpl.h"
#include "TextFile.h"

namespace tavix::cam {

namespace {

QString Property(GstDevice* device, std::initializer_list<const char*> keys) {
    QString value;
    if (GstStructure* props = gst_device_get_properties(device)) {
        for (const char* key : keys)
            if (const gchar* v = gst_structure_get_string(props, key); v && value.isEmpty()) value = Utf8(v);
        gst_structure_free(props);
    }
    return value;
}

// The device path a device source reads, from its element or the monitor's properties.
QString DevicePath(GstDevice* device, GstElement* element) {
    if (element && g_object_class_find_property(G_OBJECT_GET_CLASS(element), "device")) {
        gchar* path = nullptr;
        g_object_get(element, "device", &path, nullptr);
        const QString p = Utf8(path);
        g_free(path);
        if (!p.isEmpty()) return p;
    }
    return Property(device, {"device.path", "api.v4l2.path", "object.path"});
}

// The V4L2 node behind another provider's entry (PipeWire's), empty when there is none.
QString V4l2NodeBehind(GstDevice* device) {
    const QString node = Property(device, {"api.v4l2.path"});
    const QString object = Property(device, {"object.path"});
    if (node.isEmpty() && object.startsWith(QLatin1String("v4l2:"))) return object.mid(5).section(u':', 0, 0);
    return node;
}

bool FromV4l2Provider(GstDevice* device) { return g_strcmp0(G_OBJECT_TYPE_NAME(device), "GstV4l2Device") == 0; }

bool CanOpen(const QString& device) {
    const int fd = ::open(QFile::encodeName(device).constData(), O_RDWR | O_NONBLOCK);
    if (fd >= 0) ::close(fd);
    return fd >= 0;
}

}  // namespace

bool DeviceRefused(const QString& device) {
    if (device.isEmpty() || CanOpen(device)) return false;
    return errno == EACCES;
}

QString RefusedCameraDevice(const QString& graphFile) {
    QStringList candidates;
    vb::Trap([&] {
        for (const QString& line : vb::ReadTextLines(graphFile))
            if (line.startsWith(QLatin1String("device="))) candidates << line.mid(7);
    });
    for (const QString& node : QDir(QStringLiteral("/dev")).entryList({QStringLiteral("video*")}, QDir::System))
        candidates << QStringLiteral("/dev/") + node;
    for (const QString& device : candidates)
        if (DeviceRefused(device)) return device;
    return {};
}

std::vector<FilterGraph::Impl::Entry> FilterGraph::Impl::Catalogue() {
    struct Source {
        QString name, path;
        std::shared_ptr<GstDevice> device;
        bool behind;  // another provider's entry, opened by v4l2src on the node behind it
    };
    std::vector<Source> sources;
    GstRef<GstDeviceMonitor> monitor(gst_device_monitor_new());
    gst_device_monitor_add_filter(monitor.get(), "Video/Source", nullptr);
    GList* devices = gst_device_monitor_get_devices(monitor.get());
    for (GList* l = devices; l; l = l->next) {
        auto* device = GST_DEVICE(l->data);  // the list's reference passes to the handle
        gchar* name = gst_device_get_display_name(device);
        std::shared_ptr<GstDevice> owned(device, ObjectUnref());
        // PipeWire offers a V4L2 camera again under its own provider: it is the same device
        // node, and its controls are only reachable there.
        const QString node = FromV4l2Provider(device) ? QString() : V4l2NodeBehind(device);
        sources.push_back({Utf8(name), node.isEmpty() ? DevicePath(device, nullptr) : node, owned, !node.isEmpty()});
        g_free(name);
    }
    g_list_free(devices);
    std::stable_sort(sources.begin(), sources.end(), [](const Source& a, const Source& b) {
        return a.name != b.name ? a.name < b.name : a.path < b.path;
    });
    // One entry per V4L2 node, the V4L2 provider's where both list it.
    QStringList v4l2Nodes;
    for (const Source& s : sources)
        if (FromV4l2Provider(s.device.get())) v4l2Nodes << s.path;
    std::erase_if(sources, [&](const Source& s) { return s.behind && v4l2Nodes.contains(s.path); });

    Impl* d = this;
    std::vector<Entry> out;
    for (const Source& s : sources) {
        out.push_back({{s.name,
                        [d, s]() -> FilterInfo* {
                            GstElement* e = nullptr;
                            if (s.behind) {
                                e = gst_element_factory_make("v4l2src", nullptr);
                                if (e) g_object_set(e, "device", QFile::encodeName(s.path).constData(), nullptr);
                            } else {
                                e = gst_device_create_element(s.device.get(), nullptr);
                            }
                            if (!e) return nullptr;
                            Filter* f =
                                d->Add(Kind::Device, s.name, GstRef<GstElement>(GST_ELEMENT(gst_object_ref_sink(e))),
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
    out.push_back(
        fixed(Kind::AviMux, AviMuxName, "avimux", {{QStringLiteral("video_0"), 0}, {QStringLiteral("src"), 1}}));
    out.push_back(fixed(Kind::FileWriter, FileWriterName, "filesink", {{QStringLiteral("sink"), 0}}));
    return out;
}

}  // namespace tavix::cam
