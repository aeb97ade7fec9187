/* Prints what GStreamer's discoverer makes of a movie: container, width, height, seconds.
   Exit status 1 when the file cannot be opened as media. It ends at once, so frees nothing. */
#include <gst/gst.h>
#include <gst/pbutils/pbutils.h>
#include <stdio.h>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    gst_init(NULL, NULL);
    GstDiscoverer* discoverer = gst_discoverer_new(10 * GST_SECOND, NULL);
    gchar* uri = gst_filename_to_uri(argv[1], NULL);
    GstDiscovererInfo* info = discoverer && uri ? gst_discoverer_discover_uri(discoverer, uri, NULL) : NULL;
    if (!info || gst_discoverer_info_get_result(info) != GST_DISCOVERER_OK) return 1;
    GstDiscovererStreamInfo* top = gst_discoverer_info_get_stream_info(info);
    GstCaps* caps = top ? gst_discoverer_stream_info_get_caps(top) : NULL;
    GList* videos = gst_discoverer_info_get_video_streams(info);
    if (!caps || !videos) return 1;
    GstDiscovererVideoInfo* v = GST_DISCOVERER_VIDEO_INFO(videos->data);
    printf("%s %u %u %.2f\n", gst_structure_get_name(gst_caps_get_structure(caps, 0)),
           gst_discoverer_video_info_get_width(v), gst_discoverer_video_info_get_height(v),
           (double)gst_discoverer_info_get_duration(info) / GST_SECOND);
    return 0;
}
