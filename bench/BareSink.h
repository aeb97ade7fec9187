#pragma once
// The bare pipelines' own end: an appsink named "sink" that takes every sample and counts it.
#include <gst/app/gstappsink.h>

#include <atomic>

namespace bench {

inline void CountFramesAtSink(GstElement* pipeline, std::atomic<int>* frames) {
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = [](GstAppSink* s, gpointer counter) {
        if (GstSample* sample = gst_app_sink_pull_sample(s)) gst_sample_unref(sample);
        ++*static_cast<std::atomic<int>*>(counter);
        return GST_FLOW_OK;
    };
    gst_app_sink_set_callbacks(GST_APP_SINK(sink), &callbacks, frames, nullptr);
    gst_object_unref(sink);
}

}  // namespace bench
