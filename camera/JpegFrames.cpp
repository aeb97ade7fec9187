#include "JpegFrames.h"

// jpeglib.h needs size_t and FILE declared first.
#include <csetjmp>
#include <cstdio>
#include <jpeglib.h>

namespace tavix::cam {

namespace {

// libjpeg reports a fatal error by calling error_exit, which must not return.
struct Failure {
    jpeg_error_mgr manager;
    std::jmp_buf jump;
};

[[noreturn]] void Jump(j_common_ptr info) { std::longjmp(reinterpret_cast<Failure*>(info->err)->jump, 1); }
// Warnings about damaged data: the frame is shown as far as it could be read, as a camera
// viewer would.
void Quiet(j_common_ptr, int) {}

// Only plain locals here: an error jumps back into this frame.
bool DecodeInto(JpegFrames& frames, const unsigned char* data, size_t size, QImage*& canvas) {
    jpeg_decompress_struct info;
    Failure failure;
    info.err = jpeg_std_error(&failure.manager);
    failure.manager.error_exit = Jump;
    failure.manager.emit_message = Quiet;
    jpeg_create_decompress(&info);
    if (setjmp(failure.jump)) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    jpeg_mem_src(&info, data, static_cast<unsigned long>(size));
    jpeg_read_header(&info, TRUE);
    // Byte order of RGB32 with its opaque alpha.
    info.out_color_space = Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? JCS_EXT_BGRA : JCS_EXT_ARGB;
    info.dct_method = JDCT_IFAST;
    jpeg_start_decompress(&info);
    canvas = frames.Canvas(static_cast<int>(info.output_width), static_cast<int>(info.output_height));
    if (!canvas) {
        jpeg_destroy_decompress(&info);
        return false;
    }
    uchar* bits = canvas->bits();
    const qsizetype stride = canvas->bytesPerLine();
    JSAMPROW rows[16];
    while (info.output_scanline < info.output_height) {
        const JDIMENSION first = info.output_scanline;
        const JDIMENSION count = std::min<JDIMENSION>(16, info.output_height - first);
        for (JDIMENSION i = 0; i < count; ++i) rows[i] = bits + stride * (first + i);
        jpeg_read_scanlines(&info, rows, count);
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return true;
}

}  // namespace

QImage* JpegFrames::Canvas(int width, int height) {
    // One picture shown, one waiting to be, one being decoded, and one spare.
    constexpr size_t kKept = 4;
    const QSize size(width, height);
    for (QImage& picture : pictures_)
        if (picture.size() == size && picture.isDetached()) return &picture;
    std::erase_if(pictures_, [&](const QImage& p) { return p.size() != size && p.isDetached(); });
    if (pictures_.size() >= kKept) pictures_.erase(pictures_.begin());
    QImage picture(size, QImage::Format_RGB32);
    if (picture.isNull()) return nullptr;
    pictures_.push_back(std::move(picture));
    return &pictures_.back();
}

QImage JpegFrames::Decode(const unsigned char* data, size_t size) {
    QImage* canvas = nullptr;
    if (!data || size < 4 || !DecodeInto(*this, data, size, canvas) || !canvas) return {};
    return *canvas;
}

}  // namespace tavix::cam
