// The catalogue of filters a graph can add: the device monitor's video sources by display
// name, the test camera, then the tee, the AVI multiplexer and the file writer.
#include <algorithm>

#include "GraphImpl.h"

namespace tavix::cam {

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

}  // namespace

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
        out.push_back({{s.name,
                        [d, s]() -> FilterInfo* {
                            GstElement* e = gst_device_create_element(s.device.get(), nullptr);
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
