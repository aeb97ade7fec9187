/* Prints what GStreamer's discoverer makes of a movie: container, width, height, seconds.
   Exit status 1 when the file cannot be opened as media. */
#include <gst/gst.h>
#include <gst/pbutils/pbutils.h>
#include <stdio.h>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    gst_init(NULL, NULL);
    GError* error = NULL;
    GstDiscoverer* discoverer = gst_discoverer_new(10 * GST_SECOND, &error);
    if (!discoverer) return 1;
    gchar* uri = gst_filename_to_uri(argv[1], NULL);
    GstDiscovererInfo* info = gst_discoverer_discover_uri(discoverer, uri, &error);
    int status = 1;
    if (info && gst_discoverer_info_get_result(info) == GST_DISCOVERER_OK) {
        GstDiscovererStreamInfo* top = gst_discoverer_info_get_stream_info(info);
        GstCaps* caps = top ? gst_discoverer_stream_info_get_caps(top) : NULL;
        GList* videos = gst_discoverer_info_get_video_streams(info);
        if (caps && videos) {
            GstDiscovererVideoInfo* v = GST_DISCOVERER_VIDEO_INFO(videos->data);
            printf("%s %u %u %.2f\n", gst_structure_get_name(gst_caps_get_structure(caps, 0)),
                   gst_discoverer_video_info_get_width(v), gst_discoverer_video_info_get_height(v),
                   (double)gst_discoverer_info_get_duration(info) / GST_SECOND);
            status = 0;
        }
        gst_discoverer_stream_info_list_free(videos);
        if (caps) gst_caps_unref(caps);
        if (top) gst_discoverer_stream_info_unref(top);
    }
    if (info) gst_discoverer_info_unref(info);
    g_clear_error(&error);
    g_free(uri);
    g_object_unref(discoverer);
    return status;
}
