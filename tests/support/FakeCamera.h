#pragma once
// A fake UVC webcam for the tests. Linked into a test executable it comes before the C
// library (as FaultFs does), so its open, stat64, ioctl, mmap64, dup and close answer for the
// nodes under /fakecam/ (which exist nowhere on disk) for Tavix, v4l2src and GStreamer's
// device monitor alike, and the monitor's udev query lists them. Other paths pass through.
//
// Every frame is grey with a black 16x16 square in the top row at x = 16 * (sequence % 8),
// so that frames can be told apart. MJPG frames are real JPEGs of the same picture.
#ifdef __cplusplus
extern "C" {
#endif

#define FAKECAM_NAME "Fake UVC Camera"

enum FakeCamVariant {
    FakeCamNone,   // nothing plugged (the start)
    FakeCamUvc,    // YUYV 640x480@30, 1280x720@10, 1920x1080@5; MJPG at the same sizes @30
    FakeCamTwins,  // two FakeCamUvc of the same name: /fakecam/video0 and /fakecam/video2
};

// Plugs the variant in afresh: controls at their defaults, first format, not refused.
// FakeCamNone pulls the cameras out: opens fail with ENOENT and every call on a handle
// still open fails with ENODEV, as when a camera vanishes mid-stream.
void fakecam_plug(enum FakeCamVariant variant);
// While set, opens fail with EACCES (a node the user may not open).
void fakecam_refuse_open(int refuse);
// Streams started from now on, across plugs, get frames at this rate; 0 for each format's own.
void fakecam_set_rate(int fps);
// Opens of the cameras' nodes that went on to stream, since the last plug: a camera closed
// and opened again for its picture counts once more; a look at its formats does not.
int fakecam_stream_opens(void);

#ifdef __cplusplus
}
#endif
