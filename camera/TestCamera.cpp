#include "TestCamera.h"

#include <algorithm>

#include "Errors.h"
#include "Language.h"

namespace tavix::cam {

namespace {

// The patterns, by videotestsrc nick; the first is the default and moves.
const char* const kPatterns[] = {"ball", "smpte", "snow", "black", "white", "red", "green", "blue"};
constexpr int kPatternCount = int(std::size(kPatterns));
const char* const kPatternLabels[kPatternCount] = {"ボール", "カラーバー", "砂嵐", "黒", "白", "赤", "緑", "青"};

GstPadProbeReturn CountFrames(GstPad* pad, GstPadProbeInfo*, gpointer data) {
    auto* left = static_cast<int*>(data);
    if (--*left == 0) {
        GstRef<GstElement> parent(gst_pad_get_parent_element(pad));
        GST_ELEMENT_ERROR(parent.get(), RESOURCE, READ, ("The test camera stopped delivering frames."), (nullptr));
    }
    return GST_PAD_PROBE_OK;
}

}  // namespace

GstRef<GstElement> MakeTestCamera(GstElement*& pattern, GstElement*& clock) {
    GstRef<GstElement> bin(GST_ELEMENT(gst_object_ref_sink(gst_bin_new(nullptr))));
    GstElement* src = gst_element_factory_make("videotestsrc", "pattern");
    if (!src) return nullptr;
    g_object_set(src, "is-live", TRUE, nullptr);
    gst_util_set_object_arg(G_OBJECT(src), "pattern", kPatterns[0]);
    gst_bin_add(GST_BIN(bin.get()), src);
    GstElement* last = src;
    clock = gst_element_factory_make("timeoverlay", "clock");
    if (clock) {
        gst_bin_add(GST_BIN(bin.get()), clock);
        gst_element_link(src, clock);
        last = clock;
    }
    GstRef<GstPad> pad(gst_element_get_static_pad(last, "src"));
    gst_element_add_pad(bin.get(), gst_ghost_pad_new("src", pad.get()));
    pattern = src;
    return bin;
}

std::vector<CameraControl> TestCameraControls(const Filter& camera) {
    std::vector<CameraControl> out;
    // Our own camera's labels follow the installation's language; a device's are its driver's.
    auto add = [&](const char* id, const char* label, CameraControl::Kind kind, int min, int max, int def) {
        CameraControl c;
        c.Id = QString::fromLatin1(id), c.Label = FormText(label), c.kind = kind;
        c.Minimum = min, c.Maximum = max, c.Default = def;
        out.push_back(std::move(c));
    };
    add("pattern", "パターン", CameraControl::Menu, 0, kPatternCount - 1, 0);
    for (int i = 0; i < kPatternCount; ++i) out.back().MenuItems.emplace_back(i, FormText(kPatternLabels[i]));
    add("horizontal-speed", "横の速さ", CameraControl::Integer, -20, 20, 0);
    if (camera.clock) add("clock", "時計を表示", CameraControl::Boolean, 0, 1, 1);
    for (CameraControl& c : out) {
        auto it = camera.values.find(c.Id);
        c.Value = it != camera.values.end() ? it->second : c.Default;
    }
    return out;
}

void SetTestCameraControl(Filter& camera, const QString& id, int value) {
    const auto controls = TestCameraControls(camera);
    auto c = std::find_if(controls.begin(), controls.end(), [&](const CameraControl& x) { return x.Id == id; });
    if (c == controls.end()) vb::Raise(vb::ErrInvalidCall);
    if (value < c->Minimum || value > c->Maximum) vb::Raise(vb::ErrInvalidPropertyValue);
    if (id == QLatin1String("pattern"))
        gst_util_set_object_arg(G_OBJECT(camera.pattern), "pattern", kPatterns[value]);
    else if (id == QLatin1String("horizontal-speed"))
        g_object_set(camera.pattern, "horizontal-speed", value, nullptr);
    else
        g_object_set(camera.clock, "silent", value == 0, nullptr);
    camera.values[id] = value;
}

std::vector<CameraFormat> TestCameraFormats() {
    std::vector<CameraFormat> out;
    for (const char* format : {"YUY2", "I420", "MJPG"})
        for (const auto& [width, height] : {std::pair(1280, 720), std::pair(640, 480), std::pair(320, 240)})
            for (const int rate : {30, 15}) out.push_back({width, height, QString::fromLatin1(format), rate, 1});
    return out;
}

void FailTestCameraAfter(const Filter& camera, int frames) {
    GstRef<GstPad> pad(gst_element_get_static_pad(camera.pattern, "src"));
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, &CountFrames, new int(frames),
                      [](gpointer p) { delete static_cast<int*>(p); });
}

}  // namespace tavix::cam
