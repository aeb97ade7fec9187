#include "Pictures.h"

#include "Errors.h"
#include "SafeFile.h"

#include <QFile>
#include <QFileInfo>
#include <QDir>
#include <QImageReader>
#include <QtEndian>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

#include <sys/mman.h>

namespace vb {

namespace {

constexpr qint64 kBmpHeadersSize = 14 + 40;  // file header and BITMAPINFOHEADER
// Rows go through a buffer of about this size, small enough to stay in the cache.
constexpr qsizetype kChunkBytes = 1 << 20;

bool TooLarge(const QSize& size) {
    return size.width() > MaxPictureSide || size.height() > MaxPictureSide ||
           static_cast<long long>(size.width()) * size.height() > MaxPicturePixels;
}

qsizetype BmpStride(qint64 width, qint64 bitCount) { return (width * bitCount + 31) / 32 * 4; }

// An RGB32 image to be filled at once. A large one gets huge pages where the system grants
// them: touching a fresh picture 4 KiB at a time costs more than reading its file.
QImage NewRgb32(int width, int height) {
    constexpr size_t kHugePage = size_t(2) << 20;
    const size_t bytes = size_t(width) * 4 * size_t(height);
    if (bytes < 2 * kHugePage) return QImage(width, height, QImage::Format_RGB32);
    const size_t rounded = (bytes + kHugePage - 1) / kHugePage * kHugePage;
    void* pixels = std::aligned_alloc(kHugePage, rounded);
    if (!pixels) return {};
    madvise(pixels, rounded, MADV_HUGEPAGE);  // only advice; without it the pages are small
    return QImage(
        static_cast<uchar*>(pixels), width, height, qsizetype(width) * 4, QImage::Format_RGB32,
        [](void* p) { std::free(p); }, pixels);
}

// Opaque RGB32. Premultiplied colours are exactly the picture laid over black, so forcing
// alpha to 255 afterwards composes without a painter.
QImage Opaque(const QImage& image) {
    QImage out;
    if (!image.hasAlphaChannel()) {
        out = image.convertToFormat(QImage::Format_RGB32);
    } else {
        out = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
        if (!out.isNull()) {
            for (int y = 0; y < out.height(); ++y) {
                auto* line = reinterpret_cast<QRgb*>(out.scanLine(y));
                for (int x = 0; x < out.width(); ++x) line[x] |= 0xFF000000u;
            }
            out.reinterpretAsFormat(QImage::Format_RGB32);
        }
    }
    if (out.isNull()) Raise(ErrOutOfMemory);
    return out;
}

// What a BMP's headers say, as far as LoadPicture needs it.
struct BmpHeader {
    quint32 infoSize = 0;
    qint64 offBits = 0, width = 0, height = 0, planes = 0, bitCount = 0, compression = 0;
    qint32 dotsPerMeterX = 0, dotsPerMeterY = 0;
};

// What a BMP header alone says: 7 when the picture is too large (Qt refuses huge headers as
// undecodable), 481 when the file is shorter than the header promises (Qt's reader would
// stop quietly and hand back a partly black picture), else 0; 0 too for other formats.
int CheckBmp(QFile& file, BmpHeader& bmp) {
    const QByteArray h = file.peek(kBmpHeadersSize);
    if (h.size() < 2 || !h.startsWith("BM")) return 0;
    if (h.size() < 26) return ErrInvalidPicture;
    const auto u16 = [&](int at) { return qFromLittleEndian<quint16>(h.constData() + at); };
    const auto u32 = [&](int at) { return qFromLittleEndian<quint32>(h.constData() + at); };
    const auto s32 = [&](int at) { return qFromLittleEndian<qint32>(h.constData() + at); };
    bmp.offBits = u32(10);
    bmp.infoSize = u32(14);
    qint64 sizeImage = 0;
    if (bmp.infoSize == 12) {  // OS/2 core header
        bmp.width = u16(18);
        bmp.height = u16(20);
        bmp.planes = u16(22);
        bmp.bitCount = u16(24);
    } else {
        if (h.size() < 38) return ErrInvalidPicture;
        bmp.width = s32(18);
        bmp.height = s32(22);
        bmp.planes = u16(26);
        bmp.bitCount = u16(28);
        bmp.compression = u32(30);
        sizeImage = u32(34);
        if (h.size() >= 46) {
            bmp.dotsPerMeterX = s32(38);
            bmp.dotsPerMeterY = s32(42);
        }
    }
    const qint64 width = bmp.width, height = std::abs(bmp.height);
    if (width <= 0 || height == 0) return 0;  // the decoder rejects these itself
    if (width > MaxPictureSide || height > MaxPictureSide || width * height > MaxPicturePixels) return ErrOutOfMemory;
    qint64 needed;
    if (bmp.compression == 0 || bmp.compression == 3 || bmp.compression == 6) {  // plain rows, bit fields
        // Some writers leave out the padding of the last row.
        needed = BmpStride(width, bmp.bitCount) * (height - 1) + (width * bmp.bitCount + 7) / 8;
    } else {
        needed = sizeImage;  // run-length data: only its stated size is known
    }
    return file.size() < bmp.offBits + needed ? ErrInvalidPicture : 0;
}

// Uncompressed 24- or 32-bit rows behind a plain info header, as SavePicture and most
// programs write them; these are read here, everything else by Qt.
bool IsPlainBmp(const BmpHeader& bmp) {
    return bmp.infoSize == 40 && bmp.offBits >= kBmpHeadersSize && bmp.planes == 1 && bmp.compression == 0 &&
           (bmp.bitCount == 24 || bmp.bitCount == 32) && bmp.width > 0 && bmp.height != 0;
}

// One row of B, G, R bytes to RGB32, four pixels from three words.
void UnpackRow24(const uchar* in, QRgb* out, int width) {
    int x = 0;
    for (; x + 4 <= width; x += 4, in += 12) {
        const quint32 a = qFromLittleEndian<quint32>(in);
        const quint32 b = qFromLittleEndian<quint32>(in + 4);
        const quint32 c = qFromLittleEndian<quint32>(in + 8);
        out[x] = 0xFF000000u | a;
        out[x + 1] = 0xFF000000u | (a >> 24) | (b << 8);
        out[x + 2] = 0xFF000000u | (b >> 16) | (c << 16);
        out[x + 3] = 0xFF000000u | (c >> 8);
    }
    for (; x < width; ++x, in += 3) out[x] = qRgb(in[2], in[1], in[0]);
}

// The fourth byte of a BI_RGB pixel is unused, not alpha.
void UnpackRow32(const uchar* in, QRgb* out, int width) {
    for (int x = 0; x < width; ++x) out[x] = 0xFF000000u | qFromLittleEndian<quint32>(in + 4 * x);
}

QImage ReadPlainBmp(QFile& file, const BmpHeader& bmp) {
    const int width = static_cast<int>(bmp.width);
    const int height = static_cast<int>(std::abs(bmp.height));
    const qsizetype stride = BmpStride(width, bmp.bitCount);
    const qsizetype used = width * bmp.bitCount / 8;
    QImage image = NewRgb32(width, height);
    if (image.isNull()) Raise(ErrOutOfMemory);
    if (!file.seek(bmp.offBits)) Raise(ErrInvalidPicture);
    const auto unpack = bmp.bitCount == 24 ? UnpackRow24 : UnpackRow32;
    const int rowsPerChunk = static_cast<int>(std::max<qsizetype>(1, kChunkBytes / stride));
    QByteArray chunk(rowsPerChunk * stride, Qt::Uninitialized);
    for (int row = 0; row < height;) {
        const int rows = std::min(rowsPerChunk, height - row);
        // The last row may lack its padding; nothing past its pixels is read.
        const qint64 want = qint64(rows - 1) * stride + (row + rows == height ? used : stride);
        if (file.read(chunk.data(), want) != want) Raise(ErrInvalidPicture);
        for (int i = 0; i < rows; ++i) {
            const int y = bmp.height < 0 ? row + i : height - 1 - (row + i);
            unpack(reinterpret_cast<const uchar*>(chunk.constData()) + i * stride,
                   reinterpret_cast<QRgb*>(image.scanLine(y)), width);
        }
        row += rows;
    }
    image.setDotsPerMeterX(bmp.dotsPerMeterX);
    image.setDotsPerMeterY(bmp.dotsPerMeterY);
    return image;
}

// Qt's JPEG reader hands back a cut-off or damaged file as a whole picture, the missing part
// grey; only its decoder's warnings tell. They come on the decoding thread, within read().
thread_local bool t_watchingJpeg = false;
thread_local bool t_jpegDamaged = false;
QtMessageHandler g_previousHandler = nullptr;

void NoteJpegDamage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (t_watchingJpeg && type == QtWarningMsg && context.category &&
        qstrcmp(context.category, "qt.gui.imageio.jpeg") == 0 &&
        (message.startsWith(QLatin1String("Corrupt JPEG data")) ||
         message.startsWith(QLatin1String("Premature end of JPEG file")))) {
        t_jpegDamaged = true;
        return;  // told to the user as a picture that cannot be opened
    }
    if (g_previousHandler) g_previousHandler(type, context, message);
}

// Reads the image, false when it failed or came out of a damaged JPEG.
bool ReadWhole(QImageReader& reader, QImage& image) {
    if (reader.format() != "jpeg") return reader.read(&image);
    t_jpegDamaged = false;
    t_watchingJpeg = true;
    g_previousHandler = qInstallMessageHandler(NoteJpegDamage);
    struct Restore {
        ~Restore() {
            qInstallMessageHandler(g_previousHandler);
            t_watchingJpeg = false;
        }
    } restore;
    return reader.read(&image) && !t_jpegDamaged;
}

QImage Decode(QFile& file) {
    BmpHeader bmp;
    const int bmpError = CheckBmp(file, bmp);
    if (bmpError == ErrOutOfMemory) Raise(bmpError);
    if (bmpError == 0 && IsPlainBmp(bmp)) return ReadPlainBmp(file, bmp);
    QImageReader reader(&file);
    // Pixels as stored: a camera's orientation tag must not turn what is measured.
    reader.setAutoTransform(false);
    // Room for the largest accepted picture even at 8 bytes a pixel; our own limit rules.
    reader.setAllocationLimit(static_cast<int>(MaxPicturePixels * 8 / (1024 * 1024)) + 64);
    if (!reader.canRead()) Raise(ErrInvalidPicture);
    const QSize size = reader.size();
    if (size.isValid() && TooLarge(size)) Raise(ErrOutOfMemory);
    if (bmpError) Raise(bmpError);
    QImage image;
    if (!ReadWhole(reader, image) || image.isNull()) {
        // A failed allocation reads as a failed decode; tell the two apart.
        if (size.isValid() && QImage(size, QImage::Format_RGB32).isNull()) Raise(ErrOutOfMemory);
        Raise(ErrInvalidPicture);
    }
    if (TooLarge(image.size())) Raise(ErrOutOfMemory);
    return Opaque(image);
}

// Qt's writer puts 72 dpi where the image has no resolution.
int BmpDotsPerMeter(int dotsPerMeter) { return dotsPerMeter ? dotsPerMeter : 2834; }

// One RGB32 row to B, G, R bytes, four pixels into three words.
void PackRow24(const QRgb* in, uchar* out, int width) {
    int x = 0;
    for (; x + 4 <= width; x += 4, out += 12) {
        const quint32 p0 = in[x], p1 = in[x + 1], p2 = in[x + 2], p3 = in[x + 3];
        qToLittleEndian<quint32>((p0 & 0xFFFFFFu) | (p1 << 24), out);
        qToLittleEndian<quint32>(((p1 >> 8) & 0xFFFFu) | (p2 << 16), out + 4);
        qToLittleEndian<quint32>(((p2 >> 16) & 0xFFu) | (p3 << 8), out + 8);
    }
    for (; x < width; ++x, out += 3) {
        out[0] = static_cast<uchar>(qBlue(in[x]));
        out[1] = static_cast<uchar>(qGreen(in[x]));
        out[2] = static_cast<uchar>(qRed(in[x]));
    }
}

// A 24-bit bottom-up BMP with the headers Qt's writer gives an RGB32 image; false when the
// device takes less than it is given or the file would outgrow the 32-bit size fields.
bool WriteBmp(const QImage& rgb, QIODevice& out) {
    const int width = rgb.width(), height = rgb.height();
    const qsizetype stride = BmpStride(width, 24);
    const qint64 fileSize = kBmpHeadersSize + qint64(stride) * height;
    if (fileSize > std::numeric_limits<quint32>::max()) return false;
    QByteArray h(kBmpHeadersSize, '\0');
    char* p = h.data();
    p[0] = 'B';
    p[1] = 'M';
    qToLittleEndian<quint32>(static_cast<quint32>(fileSize), p + 2);
    qToLittleEndian<quint32>(kBmpHeadersSize, p + 10);
    qToLittleEndian<quint32>(40, p + 14);
    qToLittleEndian<qint32>(width, p + 18);
    qToLittleEndian<qint32>(height, p + 22);
    qToLittleEndian<quint16>(1, p + 26);
    qToLittleEndian<quint16>(24, p + 28);
    qToLittleEndian<quint32>(static_cast<quint32>(fileSize - kBmpHeadersSize), p + 34);
    qToLittleEndian<qint32>(BmpDotsPerMeter(rgb.dotsPerMeterX()), p + 38);
    qToLittleEndian<qint32>(BmpDotsPerMeter(rgb.dotsPerMeterY()), p + 42);
    if (out.write(h) != h.size()) return false;

    const int rowsPerChunk = static_cast<int>(std::max<qsizetype>(1, kChunkBytes / stride));
    QByteArray chunk(rowsPerChunk * stride, '\0');  // the row padding stays zero
    for (int y = height - 1; y >= 0;) {
        const int rows = std::min(rowsPerChunk, y + 1);
        for (int i = 0; i < rows; ++i)
            PackRow24(reinterpret_cast<const QRgb*>(rgb.constScanLine(y - i)),
                      reinterpret_cast<uchar*>(chunk.data()) + i * stride, width);
        if (out.write(chunk.constData(), rows * stride) != rows * stride) return false;
        y -= rows;
    }
    return true;
}

// 0, or the error number; a picture too large for the format's size fields counts as 57.
int WriteBmpFile(const QImage& rgb, const QString& path, SafeFile::Durability durability) {
    SafeFile file(path, durability);
    if (!file.open(QIODevice::WriteOnly)) return file.ErrorNumber();
    if (!WriteBmp(rgb, file)) {
        file.cancel();
        return file.ErrorNumber() != 0 ? file.ErrorNumber() : ErrDeviceIO;
    }
    return file.commit() ? 0 : file.ErrorNumber();
}

}  // namespace

QImage LoadPicture(const QString& path) {
    if (path.isEmpty()) return {};
    const QFileInfo info(path);
    if (!info.exists()) Raise(ErrFileNotFound);
    if (!info.isFile()) Raise(ErrPathFileAccess);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) Raise(ErrPathFileAccess);
    try {
        return Decode(file);
    } catch (const std::bad_alloc&) {
        Raise(ErrOutOfMemory);
    }
}

QImage AsReadBack(const QImage& image) {
    if (image.isNull()) Raise(ErrInvalidPicture);
    try {
        QImage out = Opaque(image);
        out.setDotsPerMeterX(BmpDotsPerMeter(out.dotsPerMeterX()));
        out.setDotsPerMeterY(BmpDotsPerMeter(out.dotsPerMeterY()));
        return out;
    } catch (const std::bad_alloc&) {
        Raise(ErrOutOfMemory);
    }
}

void SavePicture(const QImage& image, const QString& path, bool scratch) {
    if (image.isNull()) Raise(ErrInvalidPicture);
    int err = 0;
    try {
        // Any format comes as RGB32, which is written with 24 bits a pixel.
        const QImage rgb = Opaque(image);
        err = WriteBmpFile(rgb, path, scratch ? SafeFile::Durability::Scratch : SafeFile::Durability::Synced);
    } catch (const std::bad_alloc&) {
        Raise(ErrOutOfMemory);
    }
    if (err != 0) Raise(err);
}

}  // namespace vb
