#define _GNU_SOURCE
#include "FakeCamera.h"

#include "InterposeOpen.h"

#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <glib-object.h>
#include <stdio.h>  // before jpeglib.h, which needs FILE
#include <jpeglib.h>
#include <linux/version.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/timerfd.h>
#include <time.h>
#include <unistd.h>

#define PREFIX "/fakecam/video"

struct Mode {
    uint32_t fourcc;
    int w, h, fps;
};
static const struct Mode modes[] = {
    {V4L2_PIX_FMT_YUYV, 640, 480, 30},  {V4L2_PIX_FMT_YUYV, 1280, 720, 10},  {V4L2_PIX_FMT_YUYV, 1920, 1080, 5},
    {V4L2_PIX_FMT_MJPEG, 640, 480, 30}, {V4L2_PIX_FMT_MJPEG, 1280, 720, 30}, {V4L2_PIX_FMT_MJPEG, 1920, 1080, 30},
};
enum { ModeCount = 6, FirstMjpeg = 3, Markers = 8 };

enum {
    Int = V4L2_CTRL_TYPE_INTEGER,
    Bool = V4L2_CTRL_TYPE_BOOLEAN,
    Menu = V4L2_CTRL_TYPE_MENU,
    Class = V4L2_CTRL_TYPE_CTRL_CLASS
};
struct Control {
    uint32_t id;
    int type;
    const char* name;
    int min, max, step, def;
    uint32_t flags;
    const char* menu[4];  // NULL: an item this camera skips (QUERYMENU says EINVAL)
};
// As uvcvideo reports a common webcam, in id order.
#define ClassFlags (V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_WRITE_ONLY)
static const struct Control controls[] = {
    {V4L2_CID_USER_CLASS, Class, "User Controls", 0, 0, 0, 0, ClassFlags, {0}},
    {V4L2_CID_BRIGHTNESS, Int, "Brightness", -64, 64, 1, 0, 0, {0}},
    {V4L2_CID_CONTRAST, Int, "Contrast", 0, 95, 1, 32, 0, {0}},
    {V4L2_CID_SATURATION, Int, "Saturation", 0, 100, 1, 64, 0, {0}},
    {V4L2_CID_AUTO_WHITE_BALANCE, Bool, "White Balance, Automatic", 0, 1, 1, 1, 0, {0}},
    {V4L2_CID_POWER_LINE_FREQUENCY, Menu, "Power Line Frequency", 0, 2, 1, 1, 0, {"Disabled", "50 Hz", "60 Hz"}},
    {V4L2_CID_WHITE_BALANCE_TEMPERATURE, Int, "White Balance Temperature", 2800, 6500, 10, 4600, 0, {0}},
    {V4L2_CID_CAMERA_CLASS, Class, "Camera Controls", 0, 0, 0, 0, ClassFlags, {0}},
    // clang-format off
    {V4L2_CID_EXPOSURE_AUTO, Menu, "Auto Exposure", 0, 3, 1, 3, 0, {NULL, "Manual Mode", NULL, "Aperture Priority Mode"}},
    // clang-format on
    {V4L2_CID_EXPOSURE_ABSOLUTE, Int, "Exposure Time, Absolute", 3, 2047, 1, 250, 0, {0}},
    {V4L2_CID_PRIVACY, Bool, "Privacy", 0, 1, 1, 0, V4L2_CTRL_FLAG_READ_ONLY, {0}},
};
enum { ControlCount = sizeof controls / sizeof controls[0], WbAuto = 4, WbTemp = 6, ExpAuto = 8, ExpAbs = 9 };

struct Device {
    int present, generation, mjpegOnly, mode;
    const char* bus;
    int values[ControlCount];
    struct Handle* streamer;  // the handle holding buffers
};
// Slot n is /fakecam/video(2n): a UVC camera's second node is its metadata node.
static struct Device devices[2];

struct Handle {
    int refs, dev, generation, timer;
    int memfd, count, streaming;
    size_t stride;
    unsigned char* mem;
    uint32_t sequence;
    int queue[32], queued;  // buffer indexes in queueing order
    int streamed;
};
enum { MaxFd = 4096 };
static struct Handle* handles[MaxFd];
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static int refuse, rate;
static int streamedOpens;  // handles that began to stream since the last plug

struct Jpeg {
    unsigned char* data;
    unsigned long size;
};
static struct Jpeg jpegs[ModeCount][Markers];

static void* next(const char* name) { return dlsym(RTLD_NEXT, name); }
#define REAL(ret, name, ...)                \
    static ret (*real_##name)(__VA_ARGS__); \
    if (!real_##name) real_##name = (ret(*)(__VA_ARGS__))next(#name)

static struct Handle* handle_of(int fd) { return fd >= 0 && fd < MaxFd ? handles[fd] : NULL; }

// A handle outlives its camera being pulled out, and plugged in again.
static int alive(const struct Handle* h) {
    return devices[h->dev].present && h->generation == devices[h->dev].generation;
}

// Slot of a fake node path, or -1.
static int node_of(const char* path) {
    if (!path || strncmp(path, PREFIX, strlen(PREFIX)) != 0) return -1;
    const char* n = path + strlen(PREFIX);
    return (n[0] == '0' || n[0] == '2') && !n[1] ? (n[0] - '0') / 2 : -1;
}

// ---- The picture ----

static int color_at(int x, int y, int w, int h, int seq) {
    if (y < 16 && x / 16 == seq % Markers) return 4;
    return (y >= h / 2) * 2 + (x >= w / 2);
}
static const unsigned char rgb[5][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}, {0, 0, 0}};

// YUYV in BT.601 limited range, which GStreamer assumes for an sRGB camera.
static void fill_yuyv(unsigned char* out, int w, int h, int seq) {
    unsigned char yuv[5][3];
    for (int i = 0; i < 5; ++i) {
        const double r = rgb[i][0], g = rgb[i][1], b = rgb[i][2];
        yuv[i][0] = (unsigned char)(16 + (65.481 * r + 128.553 * g + 24.966 * b) / 255 + 0.5);
        yuv[i][1] = (unsigned char)(128 + (-37.797 * r - 74.203 * g + 112.0 * b) / 255 + 0.5);
        yuv[i][2] = (unsigned char)(128 + (112.0 * r - 93.786 * g - 18.214 * b) / 255 + 0.5);
    }
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; x += 2, out += 4) {
            const unsigned char* c = yuv[color_at(x, y, w, h, seq)];
            out[0] = out[2] = c[0], out[1] = c[1], out[3] = c[2];
        }
}

// Encoded once per size and marker place, on first use.
static const struct Jpeg* jpeg_for(int mode, int seq) {
    struct Jpeg* j = &jpegs[mode][seq % Markers];
    if (j->data) return j;
    const int w = modes[mode].w, h = modes[mode].h;
    struct jpeg_compress_struct c;
    struct jpeg_error_mgr err;
    c.err = jpeg_std_error(&err);
    jpeg_create_compress(&c);
    jpeg_mem_dest(&c, &j->data, &j->size);
    c.image_width = (JDIMENSION)w, c.image_height = (JDIMENSION)h, c.input_components = 3, c.in_color_space = JCS_RGB;
    jpeg_set_defaults(&c);
    jpeg_set_quality(&c, 90, TRUE);
    jpeg_start_compress(&c, TRUE);
    unsigned char* row = malloc((size_t)w * 3);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) memcpy(row + 3 * x, rgb[color_at(x, y, w, h, seq)], 3);
        jpeg_write_scanlines(&c, &row, 1);
    }
    free(row);
    jpeg_finish_compress(&c);
    jpeg_destroy_compress(&c);
    return j;
}

// ---- Formats ----

static int mode_allowed(const struct Device* d, int m) { return m >= (d->mjpegOnly ? FirstMjpeg : 0); }

// The mode a format request comes to: its fourcc (else the first), the nearest size.
static int nearest_mode(const struct Device* d, uint32_t fourcc, int w, int h) {
    int first = d->mjpegOnly ? FirstMjpeg : 0, best = -1;
    int known = 0;
    for (int m = first; m < ModeCount; ++m) known |= modes[m].fourcc == fourcc;
    if (!known) fourcc = modes[first].fourcc;
    long bestDist = 0;
    for (int m = first; m < ModeCount; ++m) {
        if (modes[m].fourcc != fourcc) continue;
        const long dist = labs((long)modes[m].w - w) + labs((long)modes[m].h - h);
        if (best < 0 || dist < bestDist) best = m, bestDist = dist;
    }
    return best;
}

static void describe(struct v4l2_format* f, int m) {
    memset(&f->fmt.pix, 0, sizeof f->fmt.pix);
    struct v4l2_pix_format* p = &f->fmt.pix;
    p->width = (uint32_t)modes[m].w, p->height = (uint32_t)modes[m].h, p->pixelformat = modes[m].fourcc;
    p->field = V4L2_FIELD_NONE;
    p->bytesperline = modes[m].fourcc == V4L2_PIX_FMT_YUYV ? p->width * 2 : 0;
    p->sizeimage = p->width * p->height * 2;
    p->colorspace = V4L2_COLORSPACE_SRGB;
}

static int fps_of(const struct Device* d) { return rate > 0 ? rate : modes[d->mode].fps; }

static void arm(struct Handle* h, int fps) {
    const long ns = fps > 0 ? 1000000000L / fps : 0;
    const struct timespec period = {ns / 1000000000L, ns % 1000000000L};
    const struct itimerspec t = {period, period};
    timerfd_settime(h->timer, 0, &t, NULL);
}

static void arm_once(struct Handle* h) {
    const struct itimerspec t = {{0, 0}, {0, 1}};
    timerfd_settime(h->timer, 0, &t, NULL);
}

// ---- Controls ----

static int control_index(uint32_t id) {
    for (int i = 0; i < ControlCount; ++i)
        if (controls[i].id == id) return i;
    return -1;
}

static uint32_t control_flags(const struct Device* d, int i) {
    uint32_t flags = controls[i].flags;
    if ((i == WbTemp && d->values[WbAuto]) || (i == ExpAbs && d->values[ExpAuto] != 1))
        flags |= V4L2_CTRL_FLAG_INACTIVE;
    return flags;
}

static int fail(int err) {
    errno = err;
    return -1;
}

static int query_control(const struct Device* d, struct v4l2_queryctrl* q) {
    int i = -1;
    if (q->id & V4L2_CTRL_FLAG_NEXT_CTRL) {
        const uint32_t after = q->id & ~(V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND);
        for (int k = 0; k < ControlCount && i < 0; ++k)
            if (controls[k].id > after) i = k;
    } else {
        i = control_index(q->id);
    }
    if (i < 0) return fail(EINVAL);
    const struct Control* c = &controls[i];
    memset(q, 0, sizeof *q);
    q->id = c->id, q->type = (uint32_t)c->type;
    snprintf((char*)q->name, sizeof q->name, "%s", c->name);
    q->minimum = c->min, q->maximum = c->max, q->step = c->step, q->default_value = c->def;
    q->flags = control_flags(d, i);
    return 0;
}

static int set_control(struct Device* d, struct v4l2_control* v) {
    const int i = control_index(v->id);
    if (i < 0) return fail(EINVAL);
    const struct Control* c = &controls[i];
    const uint32_t flags = control_flags(d, i);
    if (flags & V4L2_CTRL_FLAG_READ_ONLY) return fail(EACCES);
    // The camera stalls a request for a control its automatic mode owns.
    if (flags & V4L2_CTRL_FLAG_INACTIVE) return fail(EIO);
    int value = v->value;
    if (c->type == Menu && (value < c->min || value > c->max)) return fail(ERANGE);
    if (c->type == Menu && !c->menu[value]) return fail(EINVAL);
    value = value < c->min ? c->min : value > c->max ? c->max : value;
    d->values[i] = c->min + (value - c->min) / c->step * c->step;
    return 0;
}

// ---- Streaming ----

static void free_buffers(struct Handle* h) {
    REAL(int, close, int);
    if (h->mem) munmap(h->mem, h->stride * (size_t)h->count);
    if (h->memfd >= 0) real_close(h->memfd);
    h->mem = NULL, h->memfd = -1, h->count = 0, h->queued = 0;
    if (devices[h->dev].streamer == h) devices[h->dev].streamer = NULL;
}

static void describe_buffer(const struct Handle* h, struct v4l2_buffer* b, int index) {
    b->index = (uint32_t)index, b->memory = V4L2_MEMORY_MMAP, b->length = (uint32_t)h->stride;
    b->m.offset = (uint32_t)(h->stride * (size_t)index);
    b->flags = V4L2_BUF_FLAG_MAPPED | V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
    for (int k = 0; k < h->queued; ++k)
        if (h->queue[k] == index) b->flags |= V4L2_BUF_FLAG_QUEUED;
}

// vb2 lets buffers outlive REQBUFS(0) while mapped; memory behind a memfd does just that.
static const uint32_t BufferCaps = V4L2_BUF_CAP_SUPPORTS_MMAP | V4L2_BUF_CAP_SUPPORTS_ORPHANED_BUFS;

// Adds up to count buffers of the current format behind the handle.
static int add_buffers(struct Handle* h, uint32_t* count) {
    struct Device* d = &devices[h->dev];
    if (d->streamer && d->streamer != h) return fail(EBUSY);
    if (*count > 32u - (uint32_t)h->count) *count = 32u - (uint32_t)h->count;
    if (*count == 0) return 0;
    if (h->memfd < 0) {
        struct v4l2_format f;
        describe(&f, d->mode);
        h->stride = ((size_t)f.fmt.pix.sizeimage + 4095) & ~(size_t)4095;
        h->memfd = memfd_create("fakecam", MFD_CLOEXEC);
    }
    const size_t size = h->stride * (size_t)(h->count + (int)*count);
    if (h->memfd < 0 || ftruncate(h->memfd, (off_t)size) != 0) return fail(ENOMEM);
    REAL(void*, mmap, void*, size_t, int, int, int, off_t);  // ours would wait for the lock held here
    void* mem = real_mmap(NULL, size, PROT_READ | PROT_WRITE, MAP_SHARED, h->memfd, 0);
    if (mem == MAP_FAILED) return fail(ENOMEM);
    if (h->mem) munmap(h->mem, h->stride * (size_t)h->count);
    h->mem = mem, h->count += (int)*count;
    d->streamer = h;
    return 0;
}

static int request_buffers(struct Handle* h, struct v4l2_requestbuffers* r) {
    if (r->type != V4L2_BUF_TYPE_VIDEO_CAPTURE || r->memory != V4L2_MEMORY_MMAP) return fail(EINVAL);
    if (h->streaming) return fail(EBUSY);
    r->capabilities = BufferCaps;
    if (devices[h->dev].streamer == h) free_buffers(h);
    return add_buffers(h, &r->count);
}

static int create_buffers(struct Handle* h, struct v4l2_create_buffers* c) {
    if (c->format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || c->memory != V4L2_MEMORY_MMAP) return fail(EINVAL);
    c->index = (uint32_t)h->count, c->capabilities = BufferCaps;
    return add_buffers(h, &c->count);
}

static int queue_buffer(struct Handle* h, struct v4l2_buffer* b) {
    if (b->memory != V4L2_MEMORY_MMAP || b->index >= (uint32_t)h->count) return fail(EINVAL);
    for (int k = 0; k < h->queued; ++k)
        if (h->queue[k] == (int)b->index) return fail(EINVAL);
    h->queue[h->queued++] = (int)b->index;
    describe_buffer(h, b, (int)b->index);
    return 0;
}

// Called with the lock held after ticks frame times have passed; frames that found no
// buffer queued are lost, and the sequence shows the gap.
static int dequeue_buffer(struct Handle* h, struct v4l2_buffer* b, uint64_t ticks) {
    h->sequence += (uint32_t)ticks - 1;
    if (!h->queued) return h->sequence++, fail(EAGAIN);
    const int index = h->queue[0];
    memmove(h->queue, h->queue + 1, sizeof h->queue[0] * (size_t)--h->queued);
    const int m = devices[h->dev].mode, seq = (int)h->sequence;
    unsigned char* out = h->mem + h->stride * (size_t)index;
    memset(b, 0, sizeof *b);
    b->type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    describe_buffer(h, b, index);
    if (modes[m].fourcc == V4L2_PIX_FMT_YUYV) {
        fill_yuyv(out, modes[m].w, modes[m].h, seq);
        b->bytesused = (uint32_t)(modes[m].w * modes[m].h * 2);
    } else {
        const struct Jpeg* j = jpeg_for(m, seq);
        memcpy(out, j->data, j->size);
        b->bytesused = (uint32_t)j->size;
    }
    b->field = V4L2_FIELD_NONE;
    b->sequence = h->sequence++;
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    b->timestamp.tv_sec = now.tv_sec, b->timestamp.tv_usec = now.tv_nsec / 1000;
    return 0;
}

// ---- The V4L2 calls ----

static int device_ioctl(struct Handle* h, unsigned long request, void* arg) {
    struct Device* d = &devices[h->dev];
    if (!alive(h)) return fail(ENODEV);
    switch (request) {
    case VIDIOC_QUERYCAP: {
        struct v4l2_capability* cap = arg;
        memset(cap, 0, sizeof *cap);
        snprintf((char*)cap->driver, sizeof cap->driver, "uvcvideo");
        snprintf((char*)cap->card, sizeof cap->card, FAKECAM_NAME);
        snprintf((char*)cap->bus_info, sizeof cap->bus_info, "%s", d->bus);
        cap->version = KERNEL_VERSION(6, 1, 0);
        cap->device_caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING | V4L2_CAP_EXT_PIX_FORMAT;
        cap->capabilities = cap->device_caps | V4L2_CAP_META_CAPTURE | V4L2_CAP_DEVICE_CAPS;
        return 0;
    }
    case VIDIOC_ENUM_FMT: {
        struct v4l2_fmtdesc* f = arg;
        const int m = (d->mjpegOnly ? FirstMjpeg : 0) + (int)f->index * FirstMjpeg;
        if (f->type != V4L2_BUF_TYPE_VIDEO_CAPTURE || m >= ModeCount) return fail(EINVAL);
        const uint32_t index = f->index;
        memset(f, 0, sizeof *f);
        f->index = index, f->type = V4L2_BUF_TYPE_VIDEO_CAPTURE, f->pixelformat = modes[m].fourcc;
        f->flags = modes[m].fourcc == V4L2_PIX_FMT_MJPEG ? V4L2_FMT_FLAG_COMPRESSED : 0;
        snprintf((char*)f->description, sizeof f->description, "%s", f->flags ? "Motion-JPEG" : "YUYV 4:2:2");
        return 0;
    }
    case VIDIOC_ENUM_FRAMESIZES: {
        struct v4l2_frmsizeenum* s = arg;
        int n = (int)s->index;
        for (int m = 0; m < ModeCount; ++m)
            if (mode_allowed(d, m) && modes[m].fourcc == s->pixel_format && n-- == 0) {
                s->type = V4L2_FRMSIZE_TYPE_DISCRETE;
                s->discrete.width = (uint32_t)modes[m].w, s->discrete.height = (uint32_t)modes[m].h;
                return 0;
            }
        return fail(EINVAL);
    }
    case VIDIOC_ENUM_FRAMEINTERVALS: {
        struct v4l2_frmivalenum* iv = arg;
        for (int m = 0; m < ModeCount; ++m)
            if (iv->index == 0 && mode_allowed(d, m) && modes[m].fourcc == iv->pixel_format &&
                modes[m].w == (int)iv->width && modes[m].h == (int)iv->height) {
                iv->type = V4L2_FRMIVAL_TYPE_DISCRETE;
                iv->discrete.numerator = 1, iv->discrete.denominator = (uint32_t)modes[m].fps;
                return 0;
            }
        return fail(EINVAL);
    }
    case VIDIOC_G_FMT:
    case VIDIOC_TRY_FMT:
    case VIDIOC_S_FMT: {
        struct v4l2_format* f = arg;
        if (f->type != V4L2_BUF_TYPE_VIDEO_CAPTURE) return fail(EINVAL);
        int m = d->mode;
        if (request != VIDIOC_G_FMT)
            m = nearest_mode(d, f->fmt.pix.pixelformat, (int)f->fmt.pix.width, (int)f->fmt.pix.height);
        if (request == VIDIOC_S_FMT) {
            if (d->streamer) return fail(EBUSY);
            d->mode = m;
        }
        describe(f, m);
        return 0;
    }
    case VIDIOC_QUERYCTRL: return query_control(d, arg);
    case VIDIOC_QUERYMENU: {
        struct v4l2_querymenu* q = arg;
        const int i = control_index(q->id);
        if (i < 0 || controls[i].type != Menu || q->index > (uint32_t)controls[i].max || !controls[i].menu[q->index])
            return fail(EINVAL);
        snprintf((char*)q->name, sizeof q->name, "%s", controls[i].menu[q->index]);
        return 0;
    }
    case VIDIOC_G_CTRL: {
        struct v4l2_control* v = arg;
        const int i = control_index(v->id);
        if (i < 0 || controls[i].type == Class) return fail(EINVAL);
        v->value = d->values[i];
        return 0;
    }
    case VIDIOC_S_CTRL: return set_control(d, arg);
    case VIDIOC_REQBUFS: return request_buffers(h, arg);
    case VIDIOC_CREATE_BUFS: return create_buffers(h, arg);
    case VIDIOC_QUERYBUF: {
        struct v4l2_buffer* b = arg;
        if (b->type != V4L2_BUF_TYPE_VIDEO_CAPTURE || b->index >= (uint32_t)h->count) return fail(EINVAL);
        describe_buffer(h, b, (int)b->index);
        return 0;
    }
    case VIDIOC_QBUF: return queue_buffer(h, arg);
    case VIDIOC_STREAMON:
        if (!h->count) return fail(EINVAL);
        if (!h->streaming) h->streaming = 1, h->sequence = 0, arm(h, fps_of(d));
        if (!h->streamed) h->streamed = 1, streamedOpens++;
        return 0;
    case VIDIOC_STREAMOFF:
        h->streaming = 0, h->queued = 0;
        arm(h, 0);
        return 0;
    default: return fail(ENOTTY);
    }
}

int ioctl(int fd, unsigned long request, ...) {
    REAL(int, ioctl, int, unsigned long, void*);
    va_list ap;
    va_start(ap, request);
    void* arg = va_arg(ap, void*);
    va_end(ap);
    if (!handle_of(fd)) return real_ioctl(fd, request, arg);
    pthread_mutex_lock(&lock);
    struct Handle* h = handle_of(fd);
    if (h && request == VIDIOC_DQBUF && alive(h) && h->streaming) {
        // Waits for the frame timer without the lock, as a blocking read of the node would.
        pthread_mutex_unlock(&lock);
        uint64_t ticks;
        if (read(fd, &ticks, sizeof ticks) < 0) return -1;
        pthread_mutex_lock(&lock);
        h = handle_of(fd);
        const int r = !h              ? fail(EBADF)
                      : !alive(h)     ? fail(ENODEV)
                      : !h->streaming ? fail(EINVAL)
                                      : dequeue_buffer(h, arg, ticks);
        pthread_mutex_unlock(&lock);
        return r;
    }
    const int r = !h ? fail(EBADF) : request == VIDIOC_DQBUF && alive(h) ? fail(EINVAL) : device_ioctl(h, request, arg);
    pthread_mutex_unlock(&lock);
    return r;
}

// ---- Files ----

static int open_node(int node, int flags) {
    pthread_mutex_lock(&lock);
    int fd = -1;
    if (refuse)
        errno = EACCES;
    else if (!devices[node].present)
        errno = ENOENT;
    else
        fd = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | (flags & O_NONBLOCK ? TFD_NONBLOCK : 0));
    if (fd >= MaxFd) {
        REAL(int, close, int);
        real_close(fd);
        fd = fail(EMFILE);
    } else if (fd >= 0) {
        struct Handle* h = calloc(1, sizeof *h);
        h->refs = 1, h->dev = node, h->generation = devices[node].generation, h->timer = fd, h->memfd = -1;
        handles[fd] = h;
    }
    pthread_mutex_unlock(&lock);
    return fd;
}

static int open_with(const char* name, const char* path, int flags, mode_t mode) {
    const int node = node_of(path);
    if (node >= 0) return open_node(node, flags);
    int (*real)(const char*, int, ...) = (int (*)(const char*, int, ...))next(name);
    return real(path, flags, mode);
}

int dup(int fd) {
    REAL(int, dup, int);
    const int copy = real_dup(fd);
    pthread_mutex_lock(&lock);
    if (copy >= 0 && copy < MaxFd && handle_of(fd)) handles[copy] = handles[fd], handles[fd]->refs++;
    pthread_mutex_unlock(&lock);
    return copy;
}

int close(int fd) {
    REAL(int, close, int);
    pthread_mutex_lock(&lock);
    struct Handle* h = handle_of(fd);
    if (h) {
        handles[fd] = NULL;
        // The frame timer is the open file itself: any copy still open carries it on.
        for (int other = 0; h->timer == fd && other < MaxFd; ++other)
            if (handles[other] == h) h->timer = other;
        if (--h->refs == 0) {
            free_buffers(h);
            free(h);
        }
    }
    pthread_mutex_unlock(&lock);
    return real_close(fd);
}

static void* map_with(const char* name, void* addr, size_t len, int prot, int flags, int fd, off_t offset) {
    void* (*real)(void*, size_t, int, int, int, off_t) = (void* (*)(void*, size_t, int, int, int, off_t))next(name);
    pthread_mutex_lock(&lock);
    const struct Handle* h = handle_of(fd);
    // A buffer's offset into the memory behind the handle's buffers.
    const int memfd = !h ? fd : h->memfd;
    pthread_mutex_unlock(&lock);
    if (h && memfd < 0) return errno = EINVAL, MAP_FAILED;
    return real(addr, len, prot, flags, memfd, offset);
}

void* mmap(void* addr, size_t len, int prot, int flags, int fd, off_t offset) {
    return map_with("mmap", addr, len, prot, flags, fd, offset);
}
void* mmap64(void* addr, size_t len, int prot, int flags, int fd, off64_t offset) {
    return map_with("mmap64", addr, len, prot, flags, fd, offset);
}

// A node of a camera pulled out polls as an error, as V4L2 reports an unregistered device.
// Returns how many fds have events after that, or -1 when none of them is such a node.
static int mark_vanished(struct pollfd* fds, nfds_t n, int ready) {
    int ours = 0;
    for (nfds_t i = 0; i < n && !ours; ++i) ours = handle_of(fds[i].fd) != NULL;
    if (!ours) return ready;
    pthread_mutex_lock(&lock);
    int vanished = 0;
    for (nfds_t i = 0; i < n; ++i) {
        const struct Handle* h = handle_of(fds[i].fd);
        if (h && !alive(h)) fds[i].revents = POLLERR | POLLHUP | POLLPRI, ++vanished;
    }
    pthread_mutex_unlock(&lock);
    if (!vanished) return ready;
    ready = 0;
    for (nfds_t i = 0; i < n; ++i) ready += fds[i].revents != 0;
    return ready;
}

int ppoll(struct pollfd* fds, nfds_t n, const struct timespec* timeout, const sigset_t* mask) {
    REAL(int, ppoll, struct pollfd*, nfds_t, const struct timespec*, const sigset_t*);
    const int r = real_ppoll(fds, n, timeout, mask);
    return r < 0 ? r : mark_vanished(fds, n, r);
}

int poll(struct pollfd* fds, nfds_t n, int timeout) {
    REAL(int, poll, struct pollfd*, nfds_t, int);
    const int r = real_poll(fds, n, timeout);
    return r < 0 ? r : mark_vanished(fds, n, r);
}

// A character device of the video4linux major number.
static int stat_with(const char* name, const char* path, struct stat* st) {
    const int node = node_of(path);
    if (node < 0) return ((int (*)(const char*, struct stat*))next(name))(path, st);
    if (!devices[node].present) return fail(ENOENT);
    memset(st, 0, sizeof *st);
    st->st_mode = S_IFCHR | 0660;
    st->st_rdev = makedev(81, (unsigned)node * 2);
    return 0;
}
int stat(const char* path, struct stat* st) { return stat_with("stat", path, st); }
int stat64(const char* path, struct stat64* st) { return stat_with("stat64", path, (struct stat*)st); }

// ---- Listing: GStreamer's V4L2 device monitor asks udev for the video4linux devices ----

typedef struct _GUdevClient GUdevClient;
typedef struct _GUdevDevice GUdevDevice;
static const char NodeKey[] = "fakecam-node";

static void* gudev(const char* name) {
    void* lib = dlopen("libgudev-1.0.so.0", RTLD_LAZY | RTLD_NOLOAD);
    void* f = lib ? dlsym(lib, name) : NULL;
    if (lib) dlclose(lib);
    return f;
}

static const char* fake_node(GUdevDevice* device) { return g_object_get_data(G_OBJECT(device), NodeKey); }

GList* g_udev_client_query_by_subsystem(GUdevClient* client, const gchar* subsystem) {
    GList* (*real)(GUdevClient*, const gchar*) =
        (GList * (*)(GUdevClient*, const gchar*)) gudev("g_udev_client_query_by_subsystem");
    GList* list = real ? real(client, subsystem) : NULL;
    if (g_strcmp0(subsystem, "video4linux") != 0) return list;
    pthread_mutex_lock(&lock);
    for (int n = 0; n < 2; ++n) {
        if (!devices[n].present) continue;
        // Any object will do: the monitor only asks for its node, names and sysfs path.
        GObject* o = g_object_new(G_TYPE_OBJECT, NULL);
        g_object_set_data_full(o, NodeKey, g_strdup_printf(PREFIX "%d", n * 2), g_free);
        list = g_list_append(list, o);
    }
    pthread_mutex_unlock(&lock);
    return list;
}

// The node stands for its device file and its sysfs path alike.
#define FAKE_NODE_OR_REAL(symbol)                                                            \
    const gchar* symbol(GUdevDevice* device) {                                               \
        const gchar* (*real)(GUdevDevice*) = (const gchar* (*)(GUdevDevice*))gudev(#symbol); \
        return fake_node(device) ? fake_node(device) : real(device);                         \
    }
FAKE_NODE_OR_REAL(g_udev_device_get_device_file)
FAKE_NODE_OR_REAL(g_udev_device_get_sysfs_path)

const gchar* g_udev_device_get_property(GUdevDevice* device, const gchar* key) {
    const gchar* (*real)(GUdevDevice*, const gchar*) =
        (const gchar* (*)(GUdevDevice*, const gchar*))gudev("g_udev_device_get_property");
    return fake_node(device) ? NULL : real(device, key);
}

// ---- What the tests choose ----

void fakecam_plug(enum FakeCamVariant variant) {
    pthread_mutex_lock(&lock);
    for (int n = 0; n < 2; ++n) {
        struct Device* d = &devices[n];
        d->present = variant != FakeCamNone && (n == 0 || variant == FakeCamTwins);
        d->generation++;
        // A stream of the camera that was there hears at once that it is gone.
        if (d->streamer && d->streamer->streaming) arm_once(d->streamer);
        d->streamer = NULL;
        d->mjpegOnly = variant == FakeCamMjpegOnly;
        d->mode = d->mjpegOnly ? FirstMjpeg : 0;
        d->bus = n == 0 ? "usb-0000:00:14.0-1" : "usb-0000:00:14.0-2";
        for (int i = 0; i < ControlCount; ++i) d->values[i] = controls[i].def;
    }
    refuse = 0, rate = 0, streamedOpens = 0;
    pthread_mutex_unlock(&lock);
}

void fakecam_refuse_open(int on) {
    pthread_mutex_lock(&lock);
    refuse = on;
    pthread_mutex_unlock(&lock);
}

void fakecam_set_rate(int fps) {
    pthread_mutex_lock(&lock);
    rate = fps;
    for (int fd = 0; fd < MaxFd; ++fd)
        if (handles[fd] && handles[fd]->timer == fd && handles[fd]->streaming)
            arm(handles[fd], fps_of(&devices[handles[fd]->dev]));
    pthread_mutex_unlock(&lock);
}

int fakecam_stream_opens(void) {
    pthread_mutex_lock(&lock);
    const int n = streamedOpens;
    pthread_mutex_unlock(&lock);
    return n;
}
