#pragma once
// Owning handles for GStreamer's reference-counted objects: every reference taken is given
// back exactly once.
#include <gst/gst.h>

#include <QString>
#include <memory>

namespace tavix::cam {

struct ObjectUnref {
    void operator()(gpointer p) const { gst_object_unref(p); }
};
struct SampleUnref {
    void operator()(GstSample* s) const { gst_sample_unref(s); }
};
struct CapsUnref {
    void operator()(GstCaps* c) const { gst_caps_unref(c); }
};
struct MessageUnref {
    void operator()(GstMessage* m) const { gst_message_unref(m); }
};
template <class T>
using GstRef = std::unique_ptr<T, ObjectUnref>;
using SampleRef = std::unique_ptr<GstSample, SampleUnref>;
using CapsRef = std::unique_ptr<GstCaps, CapsUnref>;
using MessageRef = std::unique_ptr<GstMessage, MessageUnref>;

// A new element with its floating reference sunk, so the handle owns it.
inline GstRef<GstElement> Make(const char* factory, const char* name = nullptr) {
    GstElement* e = gst_element_factory_make(factory, name);
    if (!e) return nullptr;
    return GstRef<GstElement>(GST_ELEMENT(gst_object_ref_sink(e)));
}

// GStreamer's strings are UTF-8 and may be null.
inline QString Utf8(const gchar* s) { return s ? QString::fromUtf8(s) : QString(); }

}  // namespace tavix::cam
