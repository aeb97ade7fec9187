#define _GNU_SOURCE
#include "FakeCamera.h"

#include "InterposeOpen.h"

#include <dlfcn.h>
#include <errno.h>
#include <glib-object.h>
#include <stdio.h>  // before jpeglib.h, which needs FILE
#include <jpeglib.h>
#include <linux/videodev2.h>
#include <pthread.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/timerfd.h>
#include <unistd.h>

#define PREFIX "/fakecam/video"
#define YUYV V4L2_PIX_FMT_YUYV
#define MJPG V4L2_PIX_FMT_MJPEG
#define CAPTURE V4L2_BUF_TYPE_VIDEO_CAPTURE

// YUYV first, then MJPG.
static const struct {
    uint32_t fourcc, w, h, fps;
} modes[] = {{YUYV, 640, 480, 30}, {YUYV, 1280, 720, 10}, {YUYV, 1920, 1080, 5},
             {MJPG, 640, 480, 30}, {MJPG, 1280, 720, 30}, {MJPG, 1920, 1080, 30}};
enum { ModeCount = 6, FirstMjpeg = 3, Markers = 8 };

enum { Int = V4L2_CTRL_TYPE_INTEGER, Bool = V4L2_CTRL_TYPE_BOOLEAN, Menu = V4L2_CTRL_TYPE_MENU };
#define Class V4L2_CTRL_TYPE_CTRL_CLASS, 0, 0, 0, 0, V4L2_CTRL_FLAG_READ_ONLY | V4L2_CTRL_FLAG_WRITE_ONLY
// As uvcvideo reports a common webcam, in id order; a NULL menu item is one the camera skips.
static const struct Control {
    uint32_t id;
    const char* name;
    int type, min, max, step, def;
    uint32_t flags;
    const char* menu[4];
} controls[] = {
    {V4L2_CID_USER_CLASS, "User Controls", Class, {0}},
    {V4L2_CID_BRIGHTNESS, "Brightness", Int, -64, 64, 1, 0, 0, {0}},
    {V4L2_CID_AUTO_WHITE_BALANCE, "White Balance, Automatic", Bool, 0, 1, 1, 1, 0, {0}},
    {V4L2_CID_WHITE_BALANCE_TEMPERATURE, "White Balance Temperature", Int, 2800, 6500, 10, 4600, 0, {0}},
    // clang-format off
    {V4L2_CID_EXPOSURE_AUTO, "Auto Exposure", Menu, 0, 3, 1, 3, 0, {NULL, "Manual Mode", NULL, "Aperture Priority Mode"}},
    // clang-format on
    {V4L2_CID_EXPOSURE_ABSOLUTE, "Exposure Time, Absolute", Int, 3, 2047, 1, 250, 0, {0}},
    {V4L2_CID_PRIVACY, "Privacy", Bool, 0, 1, 1, 0, V4L2_CTRL_FLAG_READ_ONLY, {0}},
};
enum { ControlCount = sizeof controls / sizeof controls[0], WbAuto = 2, WbTemp = 3, ExpAuto = 4, ExpAbs = 5 };

// Slot n is /fakecam/video(2n): a UVC camera's second node is its metadata node.
static struct Device {
    int present, generation, mode, values[ControlCount];
    struct Handle* streamer;  // the handle holding buffers
} devices[2];

// An open node is a timerfd that ticks once a frame.
static struct Handle {
    int refs, dev, generation, timer, memfd, count, streaming, streamed;
    size_t stride;
    unsigned char* mem;
    uint32_t sequence;
    int queue[32], queued;  // buffer indexes in queueing order
} * handles[4096];
static pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
static int refuse, rate, streamedOpens;
static struct Jpeg {
    unsigned char* data;
    unsigned long size;
} jpegs[ModeCount][Markers];

static void* next(const char* name) { return dlsym(RTLD_NEXT, name); }
#define REAL(ret, name, ...)                \
    static ret (*real_##name)(__VA_ARGS__); \
    if (!real_##name) real_##name = (ret(*)(__VA_ARGS__))next(#name)
static int fail(int err) { return errno = err, -1; }
static struct Handle* handle_of(int fd) { return fd >= 0 && fd < 4096 ? handles[fd] : NULL; }
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

// Grey, but for the marker: black.
static unsigned char luma_at(int x, int y, int seq) { return y < 16 && x / 16 == seq % Markers ? 16 : 128; }

// Draws the frame of this sequence number in mode m to out; gives its size. A JPEG is
// encoded once per size and marker place, on first use.
static uint32_t draw(unsigned char* out, int m, int seq) {
    const int w = (int)modes[m].w, h = (int)modes[m].h;
    if (modes[m].fourcc == YUYV) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; x += 2, out += 4) out[0] = out[2] = luma_at(x, y, seq), out[1] = out[3] = 128;
        return (uint32_t)(w * h * 2);
    }
    struct Jpeg* j = &jpegs[m][seq % Markers];
    if (!j->data) {
        struct jpeg_compress_struct c;
        struct jpeg_error_mgr err;
        c.err = jpeg_std_error(&err);
        jpeg_create_compress(&c);
        jpeg_mem_dest(&c, &j->data, &j->size);
        c.image_width = modes[m].w, c.image_height = modes[m].h, c.input_components = 3, c.in_color_space = JCS_RGB;
        jpeg_set_defaults(&c);
        jpeg_start_compress(&c, TRUE);
        unsigned char* row = malloc((size_t)w * 3);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w * 3; ++x) row[x] = luma_at(x / 3, y, seq);
            jpeg_write_scanlines(&c, &row, 1);
        }
        free(row);
        jpeg_finish_compress(&c);
        jpeg_destroy_compress(&c);
    }
    memcpy(out, j->data, j->size);
    return (uint32_t)j->size;
}

// ---- Formats and controls ----

// The nth mode of the camera in this format (and of this size, unless 0), or -1.
static int find_mode(uint32_t fourcc, uint32_t nth, uint32_t w, uint32_t h) {
    for (int m = 0; m < ModeCount; ++m)
        if (modes[m].fourcc == fourcc && (!w || (modes[m].w == w && modes[m].h == h)) && nth-- == 0) return m;
    return -1;
}

// The mode a format request comes to: its own, else the first of its format, else the first.
static int nearest_mode(uint32_t fourcc, uint32_t w, uint32_t h) {
    const int m = find_mode(fourcc, 0, w, h) >= 0 ? find_mode(fourcc, 0, w, h) : find_mode(fourcc, 0, 0, 0);
    return m >= 0 ? m : 0;
}

static void describe(struct v4l2_format* f, int m) {
    struct v4l2_pix_format* p = &f->fmt.pix;
    memset(p, 0, sizeof *p);
    p->width = modes[m].w, p->height = modes[m].h, p->pixelformat = modes[m].fourcc;
    p->field = V4L2_FIELD_NONE, p->colorspace = V4L2_COLORSPACE_SRGB;
    p->bytesperline = modes[m].fourcc == YUYV ? p->width * 2 : 0;
    p->sizeimage = p->width * p->height * 2;
}

// Frames every 1/fps s from now on; none for 0; for -1 a single wake-up at once.
static void arm(struct Handle* h, int fps) {
    const long ns = fps > 0 ? 1000000000L / fps : 0;
    const struct timespec period = {ns / 1000000000L, ns % 1000000000L};
    const struct itimerspec t = {period, fps < 0 ? (struct timespec){0, 1} : period};
    timerfd_settime(h->timer, 0, &t, NULL);
}

static int control_index(uint32_t id) {
    for (int i = 0; i < ControlCount; ++i)
        if (controls[i].id == id) return i;
    return -1;
}

// The camera stalls a request for a control its automatic mode owns.
static uint32_t control_flags(const struct Device* d, int i) {
    const int owned = (i == WbTemp && d->values[WbAuto]) || (i == ExpAbs && d->values[ExpAuto] != 1);
    return controls[i].flags | (owned ? V4L2_CTRL_FLAG_INACTIVE : 0);
}

static int query_control(const struct Device* d, struct v4l2_queryctrl* q) {
    int i = control_index(q->id);
    const uint32_t after = q->id & ~(V4L2_CTRL_FLAG_NEXT_CTRL | V4L2_CTRL_FLAG_NEXT_COMPOUND);
    if (q->id & V4L2_CTRL_FLAG_NEXT_CTRL)
        for (i = 0; i < ControlCount && controls[i].id <= after;) ++i;
    if (i < 0 || i == ControlCount) return fail(EINVAL);
    const struct Control* c = &controls[i];
    memset(q, 0, sizeof *q);
    q->id = c->id, q->type = (uint32_t)c->type, q->flags = control_flags(d, i);
    snprintf((char*)q->name, sizeof q->name, "%s", c->name);
    q->minimum = c->min, q->maximum = c->max, q->step = c->step, q->default_value = c->def;
    return 0;
}

static int set_control(struct Device* d, struct v4l2_control* v) {
    const int i = control_index(v->id);
    if (i < 0) return fail(EINVAL);
    const uint32_t flags = control_flags(d, i);
    if (flags & V4L2_CTRL_FLAG_READ_ONLY) return fail(EACCES);
    if (flags & V4L2_CTRL_FLAG_INACTIVE) return fail(EIO);
    d->values[i] = v->value;
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
}

// Adds up to count buffers of the current format behind a memfd, so that they outlive
// REQBUFS(0) while mapped, as vb2 lets them.
static int add_buffers(struct Handle* h, uint32_t* capabilities, uint32_t* count) {
    struct Device* d = &devices[h->dev];
    if (d->streamer && d->streamer != h) return fail(EBUSY);
    *capabilities = V4L2_BUF_CAP_SUPPORTS_MMAP | V4L2_BUF_CAP_SUPPORTS_ORPHANED_BUFS;
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
    REAL(void*, mmap64, void*, size_t, int, int, int, off_t);  // ours would wait for the lock held here
    void* mem = real_mmap64(NULL, size, PROT_READ | PROT_WRITE, MAP_SHARED, h->memfd, 0);
    if (mem == MAP_FAILED) return fail(ENOMEM);
    if (h->mem) munmap(h->mem, h->stride * (size_t)h->count);
    h->mem = mem, h->count += (int)*count, d->streamer = h;
    return 0;
}

// Called with the lock held after ticks frame times have passed; frames that found no
// buffer queued are lost, and the sequence shows the gap.
static int dequeue_buffer(struct Handle* h, struct v4l2_buffer* b, uint64_t ticks) {
    h->sequence += (uint32_t)ticks - 1;
    if (!h->queued) return h->sequence++, fail(EAGAIN);
    const int index = h->queue[0], m = devices[h->dev].mode, seq = (int)h->sequence;
    memmove(h->queue, h->queue + 1, sizeof h->queue[0] * (size_t)--h->queued);
    memset(b, 0, sizeof *b);
    b->type = CAPTURE, b->field = V4L2_FIELD_NONE, b->sequence = h->sequence++;
    b->bytesused = draw(h->mem + h->stride * (size_t)index, m, seq);
    describe_buffer(h, b, index);
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
        const uint32_t caps = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING | V4L2_CAP_EXT_PIX_FORMAT;
        *cap = (struct v4l2_capability){.driver = "uvcvideo",
                                        .card = FAKECAM_NAME,
                                        .version = 0x060100,
                                        .capabilities = caps | V4L2_CAP_META_CAPTURE | V4L2_CAP_DEVICE_CAPS,
                                        .device_caps = caps};
        return 0;
    }
    case VIDIOC_ENUM_FMT: {
        struct v4l2_fmtdesc* f = arg;
        const int m = (int)f->index * FirstMjpeg;
        if (f->type != CAPTURE || m >= ModeCount) return fail(EINVAL);
        *f = (struct v4l2_fmtdesc){.index = f->index,
                                   .type = CAPTURE,
                                   .pixelformat = modes[m].fourcc,
                                   .flags = modes[m].fourcc == YUYV ? 0 : V4L2_FMT_FLAG_COMPRESSED};
        return 0;
    }
    case VIDIOC_ENUM_FRAMESIZES: {
        struct v4l2_frmsizeenum* s = arg;
        const int m = find_mode(s->pixel_format, s->index, 0, 0);
        if (m < 0) return fail(EINVAL);
        s->type = V4L2_FRMSIZE_TYPE_DISCRETE, s->discrete.width = modes[m].w, s->discrete.height = modes[m].h;
        return 0;
    }
    case VIDIOC_ENUM_FRAMEINTERVALS: {
        struct v4l2_frmivalenum* iv = arg;
        const int m = find_mode(iv->pixel_format, iv->index, iv->width, iv->height);
        if (m < 0) return fail(EINVAL);
        iv->type = V4L2_FRMIVAL_TYPE_DISCRETE, iv->discrete.numerator = 1, iv->discrete.denominator = modes[m].fps;
        return 0;
    }
    case VIDIOC_TRY_FMT:
    case VIDIOC_S_FMT: {
        struct v4l2_format* f = arg;
        const struct v4l2_pix_format* p = &f->fmt.pix;
        if (f->type != CAPTURE) return fail(EINVAL);
        const int m = nearest_mode(p->pixelformat, p->width, p->height);
        if (request == VIDIOC_S_FMT && d->streamer) return fail(EBUSY);
        if (request == VIDIOC_S_FMT) d->mode = m;
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
        if (i < 0) return fail(EINVAL);
        v->value = d->values[i];
        return 0;
    }
    case VIDIOC_S_CTRL: return set_control(d, arg);
    case VIDIOC_REQBUFS: {
        struct v4l2_requestbuffers* r = arg;
        if (r->type != CAPTURE || r->memory != V4L2_MEMORY_MMAP) return fail(EINVAL);
        if (d->streamer == h) free_buffers(h);
        return add_buffers(h, &r->capabilities, &r->count);
    }
    case VIDIOC_CREATE_BUFS: {
        struct v4l2_create_buffers* c = arg;
        if (c->format.type != CAPTURE || c->memory != V4L2_MEMORY_MMAP) return fail(EINVAL);
        c->index = (uint32_t)h->count;
        return add_buffers(h, &c->capabilities, &c->count);
    }
    case VIDIOC_QUERYBUF:
    case VIDIOC_QBUF: {
        struct v4l2_buffer* b = arg;
        if (b->type != CAPTURE || b->index >= (uint32_t)h->count) return fail(EINVAL);
        if (request == VIDIOC_QBUF) h->queue[h->queued++] = (int)b->index;
        describe_buffer(h, b, (int)b->index);
        return 0;
    }
    case VIDIOC_STREAMON:
        if (!h->count) return fail(EINVAL);
        if (!h->streaming) h->streaming = 1, h->sequence = 0, arm(h, rate > 0 ? rate : (int)modes[d->mode].fps);
        if (!h->streamed) h->streamed = 1, streamedOpens++;
        return 0;
    case VIDIOC_STREAMOFF: h->streaming = 0, h->queued = 0, arm(h, 0); return 0;
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
    uint64_t ticks = 0;
    if (h && request == VIDIOC_DQBUF && alive(h) && h->streaming) {
        // Waits for the frame timer without the lock, as a blocking read of the node would.
        pthread_mutex_unlock(&lock);
        if (read(fd, &ticks, sizeof ticks) < 0) return -1;
        pthread_mutex_lock(&lock);
        h = handle_of(fd);
    }
    const int r = !h                                     ? fail(EBADF)
                  : request != VIDIOC_DQBUF || !alive(h) ? device_ioctl(h, request, arg)
                  : h->streaming                         ? dequeue_buffer(h, arg, ticks)
                                                         : fail(EINVAL);
    pthread_mutex_unlock(&lock);
    return r;
}

// ---- Files ----

static int open_with(const char* name, const char* path, int flags, mode_t mode) {
    const int node = node_of(path);
    if (node < 0) return ((int (*)(const char*, int, ...))next(name))(path, flags, mode);
    pthread_mutex_lock(&lock);
    const int fd = refuse                   ? fail(EACCES)
                   : !devices[node].present ? fail(ENOENT)
                                            : timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | (flags & O_NONBLOCK));
    if (fd >= 4096) abort();  // more open files than the tests ever make
    if (fd >= 0) {
        struct Handle* h = handles[fd] = calloc(1, sizeof *h);
        h->refs = 1, h->dev = node, h->generation = devices[node].generation, h->timer = fd, h->memfd = -1;
    }
    pthread_mutex_unlock(&lock);
    return fd;
}

int dup(int fd) {
    REAL(int, dup, int);
    const int copy = real_dup(fd);
    pthread_mutex_lock(&lock);
    if (copy >= 0 && copy < 4096 && handle_of(fd)) handles[copy] = handles[fd], handles[fd]->refs++;
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
        for (int other = 0; h->timer == fd && other < 4096; ++other)
            if (handles[other] == h) h->timer = other;
        if (--h->refs == 0) free_buffers(h), free(h);
    }
    pthread_mutex_unlock(&lock);
    return real_close(fd);
}

// A buffer's offset into the memory behind the handle's buffers.
void* mmap64(void* addr, size_t len, int prot, int flags, int fd, off64_t offset) {
    REAL(void*, mmap64, void*, size_t, int, int, int, off64_t);
    pthread_mutex_lock(&lock);
    const struct Handle* h = handle_of(fd);
    const int memfd = h ? h->memfd : fd;
    pthread_mutex_unlock(&lock);
    return real_mmap64(addr, len, prot, flags, memfd, offset);
}

// A character device of the video4linux major number.
int stat64(const char* path, struct stat64* st) {
    const int node = node_of(path);
    if (node < 0) return ((int (*)(const char*, struct stat64*))next("stat64"))(path, st);
    if (!devices[node].present) return fail(ENOENT);
    *st = (struct stat64){.st_mode = S_IFCHR | 0660};
    return 0;
}

// ---- Listing: GStreamer's V4L2 device monitor asks udev for the video4linux devices ----

typedef struct _GUdevClient GUdevClient;
typedef struct _GUdevDevice GUdevDevice;
static void* gudev(const char* name) {
    void* lib = dlopen("libgudev-1.0.so.0", RTLD_LAZY | RTLD_NOLOAD);
    void* f = lib ? dlsym(lib, name) : NULL;
    if (lib) dlclose(lib);
    return f;
}
static const char* fake_node(GUdevDevice* device) { return g_object_get_data(G_OBJECT(device), "fakecam-node"); }

GList* g_udev_client_query_by_subsystem(GUdevClient* client, const gchar* subsystem) {
    GList* (*real)(GUdevClient*, const gchar*) = gudev("g_udev_client_query_by_subsystem");
    GList* list = real ? real(client, subsystem) : NULL;
    if (g_strcmp0(subsystem, "video4linux") != 0) return list;
    pthread_mutex_lock(&lock);
    // Any object will do: the monitor only asks for its node, names and sysfs path.
    for (int n = 0; n < 2; ++n)
        if (devices[n].present) {
            GObject* o = g_object_new(G_TYPE_OBJECT, NULL);
            g_object_set_data_full(o, "fakecam-node", g_strdup_printf(PREFIX "%d", n * 2), g_free);
            list = g_list_append(list, o);
        }
    pthread_mutex_unlock(&lock);
    return list;
}

// The node stands for its device file and its sysfs path alike; it has no properties.
#define FAKE_NODE_OR_REAL(symbol)                                    \
    const gchar* symbol(GUdevDevice* device) {                       \
        const gchar* (*real)(GUdevDevice*) = gudev(#symbol);         \
        return fake_node(device) ? fake_node(device) : real(device); \
    }
FAKE_NODE_OR_REAL(g_udev_device_get_device_file)
FAKE_NODE_OR_REAL(g_udev_device_get_sysfs_path)
const gchar* g_udev_device_get_property(GUdevDevice* device, const gchar* key) {
    const gchar* (*real)(GUdevDevice*, const gchar*) = gudev("g_udev_device_get_property");
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
        if (d->streamer && d->streamer->streaming) arm(d->streamer, -1);
        d->streamer = NULL, d->mode = 0;
        for (int i = 0; i < ControlCount; ++i) d->values[i] = controls[i].def;
    }
    refuse = 0, streamedOpens = 0;
    pthread_mutex_unlock(&lock);
}

void fakecam_refuse_open(int on) { __atomic_store_n(&refuse, on, __ATOMIC_SEQ_CST); }

void fakecam_set_rate(int fps) { __atomic_store_n(&rate, fps, __ATOMIC_SEQ_CST); }

int fakecam_stream_opens(void) { return __atomic_load_n(&streamedOpens, __ATOMIC_SEQ_CST); }
