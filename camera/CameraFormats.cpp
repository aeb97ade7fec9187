// The camera's formats: what it offers, the choice of a first start, and a change of format
// on the running picture.
#include "CameraFormats.h"

#include <algorithm>
#include <cmath>
#include <tuple>

#include "Errors.h"
#include "GraphImpl.h"
#include "TestCamera.h"

namespace tavix::cam {

namespace {

const QString kJpeg = QStringLiteral("MJPG");

bool IsJpeg(const CameraFormat& f) { return f.Format == kJpeg; }

// 29.97 counts as 30.
bool Smooth(const CameraFormat& f) { return f.Rate() >= 25 - 0.01; }

std::vector<int> Ints(const GstStructure* s, const char* field) {
    const GValue* v = gst_structure_get_value(s, field);
    if (!v) return {};
    if (G_VALUE_HOLDS_INT(v)) return {g_value_get_int(v)};
    if (GST_VALUE_HOLDS_INT_RANGE(v)) return {gst_value_get_int_range_max(v), gst_value_get_int_range_min(v)};
    std::vector<int> out;
    if (GST_VALUE_HOLDS_LIST(v))
        for (guint i = 0; i < gst_value_list_get_size(v); ++i)
            if (const GValue* item = gst_value_list_get_value(v, i); G_VALUE_HOLDS_INT(item))
                out.push_back(g_value_get_int(item));
    return out;
}

void AddFraction(const GValue* v, std::vector<std::pair<int, int>>& out) {
    if (GST_VALUE_HOLDS_FRACTION(v) && gst_value_get_fraction_numerator(v) > 0)
        out.emplace_back(gst_value_get_fraction_numerator(v), gst_value_get_fraction_denominator(v));
}

std::vector<std::pair<int, int>> Rates(const GstStructure* s) {
    std::vector<std::pair<int, int>> out;
    const GValue* v = gst_structure_get_value(s, "framerate");
    if (!v) return out;
    if (GST_VALUE_HOLDS_FRACTION_RANGE(v)) {
        AddFraction(gst_value_get_fraction_range_max(v), out);
        AddFraction(gst_value_get_fraction_range_min(v), out);
    } else if (GST_VALUE_HOLDS_LIST(v)) {
        for (guint i = 0; i < gst_value_list_get_size(v); ++i) AddFraction(gst_value_list_get_value(v, i), out);
    } else {
        AddFraction(v, out);
    }
    return out;
}

QStringList FormatNames(const GstStructure* s) {
    if (gst_structure_has_name(s, "image/jpeg")) return {kJpeg};
    if (!gst_structure_has_name(s, "video/x-raw")) return {};
    const GValue* v = gst_structure_get_value(s, "format");
    if (v && G_VALUE_HOLDS_STRING(v)) return {Utf8(g_value_get_string(v))};
    QStringList out;
    if (v && GST_VALUE_HOLDS_LIST(v))
        for (guint i = 0; i < gst_value_list_get_size(v); ++i)
            if (const GValue* item = gst_value_list_get_value(v, i); G_VALUE_HOLDS_STRING(item))
                out << Utf8(g_value_get_string(item));
    return out;
}

// The source's own caps: all it offers, read from the device while it is open (opened for
// the moment if it is not).
CapsRef OfferedCaps(GstElement* source) {
    GstState state = GST_STATE_NULL;
    gst_element_get_state(source, &state, nullptr, 0);
    const bool opened = state == GST_STATE_NULL;
    if (opened && gst_element_set_state(source, GST_STATE_READY) == GST_STATE_CHANGE_FAILURE) {
        gst_element_set_state(source, GST_STATE_NULL);
        return nullptr;
    }
    GstRef<GstPad> pad(gst_element_get_static_pad(source, "src"));
    CapsRef caps(pad ? gst_pad_query_caps(pad.get(), nullptr) : nullptr);
    if (opened) gst_element_set_state(source, GST_STATE_NULL);
    return caps;
}

// The element a src pad feeds.
GstElement* Next(GstElement* e) {
    GstRef<GstPad> out(gst_element_get_static_pad(e, "src"));
    GstRef<GstPad> peer(out ? gst_pad_get_peer(out.get()) : nullptr);
    GstRef<GstElement> next(peer ? gst_pad_get_parent_element(peer.get()) : nullptr);
    return next.get();  // the bin keeps it
}

bool IsA(GstElement* e, const char* factory) {
    GstElementFactory* f = e ? gst_element_get_factory(e) : nullptr;
    return f && g_strcmp0(GST_OBJECT_NAME(f), factory) == 0;
}

// Puts `added` between `from` and what it feeds, or (added null) takes out what `from` feeds.
// The links are not checked against caps: the chain fits the new caps only once all is done.
bool Splice(GstElement* pipeline, GstElement* from, GstRef<GstElement> added) {
    auto link = [](GstPad* a, GstPad* b) {
        return a && b && gst_pad_link_full(a, b, GST_PAD_LINK_CHECK_NOTHING) == GST_PAD_LINK_OK;
    };
    GstRef<GstPad> out(gst_element_get_static_pad(from, "src"));
    GstRef<GstPad> in(out ? gst_pad_get_peer(out.get()) : nullptr);
    if (!in) return false;
    gst_pad_unlink(out.get(), in.get());
    if (added) {
        gst_bin_add(GST_BIN(pipeline), added.get());  // the bin takes a reference of its own
        gst_element_sync_state_with_parent(added.get());
        GstRef<GstPad> sink(gst_element_get_static_pad(added.get(), "sink"));
        GstRef<GstPad> src(gst_element_get_static_pad(added.get(), "src"));
        return link(out.get(), sink.get()) && link(src.get(), in.get());
    }
    GstRef<GstElement> gone(gst_pad_get_parent_element(in.get()));
    GstRef<GstPad> goneOut(gone ? gst_element_get_static_pad(gone.get(), "src") : nullptr);
    GstRef<GstPad> after(goneOut ? gst_pad_get_peer(goneOut.get()) : nullptr);
    if (!after) return false;
    gst_pad_unlink(goneOut.get(), after.get());
    gst_element_set_state(gone.get(), GST_STATE_NULL);
    gst_bin_remove(GST_BIN(pipeline), gone.get());
    return link(out.get(), after.get());
}

// The chain in the shape the format needs: the test camera's encoder before the caps, and
// for raw frames the converter after the renderer's queue.
bool Replumb(FilterGraph::Impl& d, const CameraFormat& format) {
    const bool jpeg = IsJpeg(format);
    g_object_set(d.cameraOut, "caps", CapsOf(format).get(), nullptr);
    bool ok = true;
    GstElement* source = d.camera->element.get();
    const bool encodes = Next(source) != d.cameraOut;
    if (d.camera->kind == Kind::TestCamera && encodes != jpeg)
        ok = Splice(d.pipeline.get(), source, jpeg ? Make("jpegenc") : nullptr);
    const bool converts = IsA(Next(d.displayIn), "videoconvert");
    if (ok && converts == jpeg)
        ok = Splice(d.pipeline.get(), d.displayIn, jpeg ? nullptr : LiveRenderer::MakeConverter());
    return ok;
}

// Waits for a state change to end; false when it failed.
bool Reach(GstElement* pipeline, GstState state) {
    GstStateChangeReturn r = gst_element_set_state(pipeline, state);
    if (r == GST_STATE_CHANGE_ASYNC) r = gst_element_get_state(pipeline, nullptr, nullptr, 2 * GST_SECOND);
    return r != GST_STATE_CHANGE_FAILURE;
}

}  // namespace

CameraFormat ChooseFormat(const CameraFormat& asked, const std::vector<CameraFormat>& offered) {
    // Smooth first; then the larger, a raw format before JPEG, the faster; without smooth
    // ones the faster, the larger, raw.
    auto rank = [](const CameraFormat& f) {
        const long long area = (long long)f.Width * f.Height;
        return Smooth(f) ? std::tuple(1, double(area), double(!IsJpeg(f)), f.Rate())
                         : std::tuple(0, f.Rate(), double(area), double(!IsJpeg(f)));
    };
    const CameraFormat* best = nullptr;
    for (const CameraFormat& f : offered) {
        const bool fits = (asked.Format.isEmpty() || f.Format == asked.Format) &&
                          (!asked.Width || f.Width == asked.Width) && (!asked.Height || f.Height == asked.Height) &&
                          (!asked.RateNum || std::abs(f.Rate() - asked.Rate()) < 0.01);
        if (fits && (!best || rank(f) > rank(*best))) best = &f;
    }
    if (best) return *best;
    // A stored format this camera lacks (another model of the same name): as on a first start.
    return offered.empty() || asked.Empty() ? asked : ChooseFormat({}, offered);
}

std::vector<CameraFormat> FormatsOfCaps(const GstCaps* caps) {
    std::vector<CameraFormat> out;
    QStringList order;  // raw formats in the camera's own order
    for (guint i = 0; caps && !gst_caps_is_any(caps) && i < gst_caps_get_size(caps); ++i) {
        const GstStructure* s = gst_caps_get_structure(caps, i);
        // Frames in special memory (DMA, GL) are not for the renderer.
        if (GstCapsFeatures* features = gst_caps_get_features(caps, i);
            features && !gst_caps_features_is_equal(features, GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY))
            continue;
        const std::vector<int> widths = Ints(s, "width"), heights = Ints(s, "height");
        for (const QString& name : FormatNames(s)) {
            if (!order.contains(name)) order << name;
            for (size_t k = 0; k < std::min(widths.size(), heights.size()); ++k)
                for (const auto& [num, den] : Rates(s)) {
                    CameraFormat f{widths[k], heights[k], name, num, den};
                    if (std::find(out.begin(), out.end(), f) == out.end()) out.push_back(f);
                }
        }
    }
    auto key = [&](const CameraFormat& f) {
        return std::tuple(IsJpeg(f), order.indexOf(f.Format), -(long long)f.Width * f.Height, -f.Rate());
    };
    std::stable_sort(out.begin(), out.end(), [&](const auto& a, const auto& b) { return key(a) < key(b); });
    return out;
}

CameraFormat FormatOfCaps(const GstCaps* caps) {
    CameraFormat f;
    if (!caps || gst_caps_is_any(caps) || gst_caps_get_size(caps) == 0) return f;
    const GstStructure* s = gst_caps_get_structure(caps, 0);
    gst_structure_get_int(s, "width", &f.Width);
    gst_structure_get_int(s, "height", &f.Height);
    if (!gst_structure_get_fraction(s, "framerate", &f.RateNum, &f.RateDen)) f.RateNum = 0, f.RateDen = 1;
    const QStringList names = FormatNames(s);
    f.Format = names.isEmpty() ? QString() : names.front();
    return f;
}

CapsRef CapsOf(const CameraFormat& format) {
    if (format.Empty()) return CapsRef(gst_caps_new_any());
    const bool jpeg = IsJpeg(format);
    GstStructure* s = gst_structure_new_empty(jpeg ? "image/jpeg" : "video/x-raw");
    if (!jpeg && !format.Format.isEmpty())
        gst_structure_set(s, "format", G_TYPE_STRING, format.Format.toUtf8().constData(), nullptr);
    if (format.Width > 0) gst_structure_set(s, "width", G_TYPE_INT, format.Width, nullptr);
    if (format.Height > 0) gst_structure_set(s, "height", G_TYPE_INT, format.Height, nullptr);
    if (format.RateNum > 0)
        gst_structure_set(s, "framerate", GST_TYPE_FRACTION, format.RateNum, format.RateDen, nullptr);
    return CapsRef(gst_caps_new_full(s, nullptr));
}

std::vector<CameraFormat> FilterGraph::Formats(const FilterInfo& filter) const {
    const auto& f = static_cast<const Filter&>(filter);
    if (f.kind == Kind::TestCamera) return TestCameraFormats();
    if (f.kind != Kind::Device || !f.element) return {};
    return FormatsOfCaps(OfferedCaps(f.element.get()).get());
}

CameraFormat FilterGraph::CurrentFormat() const {
    CameraFormat format = d_->format;
    // What the camera really sends, where it has started.
    GstRef<GstPad> pad(d_->cameraOut ? gst_element_get_static_pad(d_->cameraOut, "src") : nullptr);
    CapsRef caps(pad ? gst_pad_get_current_caps(pad.get()) : nullptr);
    if (const CameraFormat now = FormatOfCaps(caps.get()); !now.Empty()) format = now;
    return format;
}

void FilterGraph::SetFormat(FilterInfo& filter, const CameraFormat& format) {
    Impl& d = *d_;
    const auto offered = Formats(filter);
    if (std::find(offered.begin(), offered.end(), format) == offered.end()) vb::Raise(vb::ErrInvalidPropertyValue);
    // A recording's file takes one format from start to end.
    if (&filter != d.camera || !d.cameraOut || !d.displayIn || d.record.Linked()) vb::Raise(vb::ErrInvalidCall);
    const CameraFormat before = d.format;
    if (format == before) return;
    // Streaming stops for the change, but the device stays open.
    const GstState state = GST_STATE_TARGET(d.pipeline.get());
    if (state > GST_STATE_READY) gst_element_set_state(d.pipeline.get(), GST_STATE_READY);
    const bool ok = Replumb(d, format) && (state <= GST_STATE_READY || Reach(d.pipeline.get(), state));
    if (ok) {
        d.format = format;
        return;
    }
    // The camera goes on as it was; its refusal is said here, not as a stream error.
    gst_element_set_state(d.pipeline.get(), GST_STATE_READY);
    GstRef<GstBus> bus(gst_element_get_bus(d.pipeline.get()));
    while (MessageRef m{gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR)}) {
        GError* error = nullptr;
        gst_message_parse_error(m.get(), &error, nullptr);
        if (error) d.lastError = Utf8(error->message);
        g_clear_error(&error);
    }
    if (Replumb(d, before) && state > GST_STATE_READY) Reach(d.pipeline.get(), state);
    vb::Raise(vb::ErrDeviceIO);
}

}  // namespace tavix::cam
