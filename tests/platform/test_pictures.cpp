// Picture files: what LoadPicture reads or refuses, and what SavePicture writes.
#include "Errors.h"
#include "Pictures.h"
#include "Sandbox.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QtEndian>

#include <cstdlib>

namespace {

QImage Gradient() {
    QImage img(17, 9, QImage::Format_RGB32);  // odd width: BMP rows need padding
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x) img.setPixel(x, y, qRgb(x * 15, y * 28, 255 - x * 7));
    return img;
}

QByteArray Encode(const QImage& img, const char* format) {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    EXPECT_TRUE(img.save(&buffer, format)) << format;
    return data;
}

// Qt's BMP header of a 24-bit picture, made to tell the given size, followed by only a few bytes.
QByteArray BmpHeader(const QByteArray& bmp, qint32 width, qint32 height) {
    QByteArray h = bmp.left(54) + QByteArray(16, '\x40');
    qToLittleEndian<quint32>(h.size(), h.data() + 2);
    qToLittleEndian<qint32>(width, h.data() + 18);
    qToLittleEndian<qint32>(height, h.data() + 22);
    return h;
}

// Qt's 24-bit bottom-up BMP of img turned into other forms writers use.
QByteArray TopDown(const QByteArray& bmp, const QImage& img) {
    const int stride = (img.width() * 3 + 3) / 4 * 4;
    QByteArray out = bmp.left(54);
    qToLittleEndian<qint32>(-img.height(), out.data() + 22);
    for (int row = img.height() - 1; row >= 0; --row) out += bmp.mid(54 + row * stride, stride);
    return out;
}
QByteArray ThirtyTwoBit(const QByteArray& bmp, const QImage& img) {
    QByteArray out = bmp.left(54);
    qToLittleEndian<quint16>(32, out.data() + 28);
    for (int y = img.height() - 1; y >= 0; --y)
        for (int x = 0; x < img.width(); ++x) {
            const QRgb p = img.pixel(x, y);
            // The fourth byte is unused in BI_RGB and must not count as alpha.
            const char bgrx[] = {char(qBlue(p)), char(qGreen(p)), char(qRed(p)), char(x * 30)};
            out.append(bgrx, 4);
        }
    return out;
}

// 1x1 GIFs whose only pixel is colour 0: red, or white marked transparent.
const QByteArray kRedGif(
    "GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\x00\x00\x00\x00\x00"
    ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;",
    35);
const QByteArray kClearGif(
    "GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\xff\xff\x00\x00\x00"
    "!\xf9\x04\x01\x00\x00\x00\x00"
    ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;",
    43);

// One row of opaque pixels.
QImage Row(std::initializer_list<QRgb> pixels) {
    QImage row(int(pixels.size()), 1, QImage::Format_RGB32);
    for (int x = 0; x < row.width(); ++x) row.setPixel(x, 0, pixels.begin()[x]);
    return row;
}

int MaxChannelDiff(const QImage& a, const QImage& b) {
    int worst = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            worst = std::max(
                {worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q))});
        }
    return worst;
}

using PictureTest = testing_support::TempDirTest;

TEST_F(PictureTest, LoadsOrRefusesFiles) {
    const QImage src = Gradient();
    const QByteArray bmp = Encode(src, "BMP");
    const QByteArray jpeg = Encode(src, "JPEG");
    QByteArray farOff = bmp;
    qToLittleEndian<quint32>(bmp.size(), farOff.data() + 10);
    QImage half(2, 1, QImage::Format_ARGB32);  // transparency lies over black
    half.setPixel(0, 0, qRgba(200, 100, 50, 128));
    half.setPixel(1, 0, qRgba(10, 20, 30, 255));
    // tolerance: largest channel difference from want (src when null).
    const struct {
        const char* name;
        QByteArray bytes;  // null: no file written
        int error, tolerance = 0;
        QImage want = {};
    } cases[] = {
        {"a.bmp", bmp, 0},
        {"top-down.bmp", TopDown(bmp, src), 0},
        {"32-bit.bmp", ThirtyTwoBit(bmp, src), 0},
        {"unpadded-end.bmp", bmp.chopped(1), 0},
        {"a.png", Encode(src, "PNG"), 0},
        {"a.tif", Encode(src, "TIFF"), 0},
        {"a.jpg", jpeg, 0, 40},
        {"cut.jpg", jpeg.left((jpeg.indexOf("\xFF\xDA") + jpeg.size()) / 2), vb::ErrInvalidPicture},
        {"png-named.bmp", Encode(src, "PNG"), 0},  // the bytes decide, not the name
        {"argb.bmp", Encode(src.convertToFormat(QImage::Format_ARGB32), "BMP"), 0},
        {"empty.bmp", "", vb::ErrInvalidPicture},
        {"text.bmp", "this is not a picture\r\n", vb::ErrInvalidPicture},
        {"cut.bmp", bmp.left(bmp.size() / 2), vb::ErrInvalidPicture},
        {"cut-header.bmp", bmp.left(20), vb::ErrInvalidPicture},
        {"cut-last-pixel.bmp", bmp.chopped(2), vb::ErrInvalidPicture},
        {"pixels-past-end.bmp", farOff, vb::ErrInvalidPicture},
        {"cut.png", Encode(src, "PNG").chopped(40), vb::ErrInvalidPicture},
        {"huge.bmp", BmpHeader(bmp, 100000, 100000), vb::ErrOutOfMemory},
        {"wide.bmp", BmpHeader(bmp, vb::MaxPictureSide + 1, 1), vb::ErrOutOfMemory},
        {"red.gif", kRedGif, 0, 1, Row({qRgb(255, 0, 0)})},
        {"clear.gif", kClearGif, 0, 1, Row({qRgb(0, 0, 0)})},
        {"half.png", Encode(half, "PNG"), 0, 1, Row({qRgb(100, 50, 25), qRgb(10, 20, 30)})},
        {"none.bmp", {}, vb::ErrFileNotFound},
        {"no/none.bmp", {}, vb::ErrFileNotFound},
        {"sub", {}, vb::ErrPathFileAccess},  // a folder
    };
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    EXPECT_TRUE(vb::LoadPicture("").isNull());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString path = c.bytes.isNull() ? dir.filePath(c.name) : Put(c.name, c.bytes);
        QImage got;
        ASSERT_EQ(vb::Trap([&] { got = vb::LoadPicture(path); }), c.error);
        if (c.error) continue;
        const QImage& want = c.want.isNull() ? src : c.want;
        EXPECT_EQ(got.format(), QImage::Format_RGB32);
        ASSERT_EQ(got.size(), want.size());
        EXPECT_LE(MaxChannelDiff(got, want), c.tolerance);
        if (c.tolerance == 0) {
            EXPECT_EQ(got.dotsPerMeterX(), src.dotsPerMeterX());
        }
    }
}

TEST_F(PictureTest, SavesWhatQtWritesForRgb32) {
    const QImage src = Gradient();
    QImage large(1100, 1000, QImage::Format_RGB32);  // large enough to be read into huge pages
    for (int y = 0; y < large.height(); ++y)
        for (int x = 0; x < large.width(); ++x) large.setPixel(x, y, qRgb(x, y, x ^ y));
    large.setDotsPerMeterX(5000);
    const QImage sources[] = {src,
                              src.copy(0, 0, 3, 2),
                              src.copy(0, 0, 6, 1),
                              large,
                              src.convertToFormat(QImage::Format_Indexed8),
                              src.convertToFormat(QImage::Format_ARGB32)};
    for (const bool scratch : {false, true}) {
        // Left over from a larger picture: a scratch write over it must not keep its tail.
        const QString path = Put("out.bmp", QByteArray(6 * 1024 * 1024, 'x'));
        for (const QImage& img : sources) {
            SCOPED_TRACE(testing::Message() << img.size().width() << "x" << img.size().height() << " format "
                                            << img.format() << (scratch ? " scratch" : ""));
            const QImage rgb = img.convertToFormat(QImage::Format_RGB32);
            ASSERT_EQ(vb::Trap([&] { vb::SavePicture(img, path, scratch); }), 0);
            EXPECT_TRUE(testing_support::ReadFile(path) == Encode(rgb, "BMP"));
            QImage back;
            ASSERT_EQ(vb::Trap([&] { back = vb::LoadPicture(path); }), 0);
            EXPECT_TRUE(back == rgb);
        }
    }
}

TEST_F(PictureTest, SaveErrorsLeaveNothingBehind) {
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    for (const bool scratch : {false, true})
        for (const auto& [image, name, error] : {std::tuple{Gradient(), "no/out.bmp", vb::ErrPathNotFound},
                                                 {QImage(), "null.bmp", vb::ErrInvalidPicture},
                                                 {Gradient(), "sub", vb::ErrPathFileAccess}})
            EXPECT_EQ(vb::Trap([&] { vb::SavePicture(image, dir.filePath(name), scratch); }), error) << name << scratch;
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{"sub"});
    EXPECT_TRUE(QDir(dir.filePath("sub")).isEmpty());
}

}  // namespace
