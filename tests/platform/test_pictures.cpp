#include "Errors.h"
#include "Pictures.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>
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

// A BMP header for a 24-bit picture of the given size followed by only a few bytes.
QByteArray BmpHeader(qint32 width, qint32 height) {
    QByteArray h(54, '\0');
    h[0] = 'B';
    h[1] = 'M';
    qToLittleEndian<quint32>(54 + 16, h.data() + 2);
    qToLittleEndian<quint32>(54, h.data() + 10);
    qToLittleEndian<quint32>(40, h.data() + 14);
    qToLittleEndian<qint32>(width, h.data() + 18);
    qToLittleEndian<qint32>(height, h.data() + 22);
    qToLittleEndian<quint16>(1, h.data() + 26);
    qToLittleEndian<quint16>(24, h.data() + 28);
    return h + QByteArray(16, '\x40');
}

// 1x1 GIFs whose only pixel is colour 0: red, or white marked transparent.
const QByteArray kRedGif("GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\x00\x00\x00\x00\x00"
                         ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;", 35);
const QByteArray kClearGif("GIF89a\x01\x00\x01\x00\x80\x00\x00\xff\xff\xff\x00\x00\x00"
                           "!\xf9\x04\x01\x00\x00\x00\x00"
                           ",\x00\x00\x00\x00\x01\x00\x01\x00\x00\x02\x02\x44\x01\x00;", 43);

int MaxChannelDiff(const QImage& a, const QImage& b) {
    int worst = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            worst = std::max({worst, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)),
                              std::abs(qBlue(p) - qBlue(q))});
        }
    return worst;
}

class PictureTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString Put(const QString& name, const QByteArray& bytes) {
        QFile f(dir.filePath(name));
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        return f.fileName();
    }
    static QByteArray Bytes(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
};

TEST_F(PictureTest, LoadsOrRefusesFiles) {
    const QImage src = Gradient();
    const QByteArray bmp = Encode(src, "BMP");
    const QByteArray jpeg = Encode(src, "JPEG");
    // tolerance: largest channel difference from src; -1: pixels not compared.
    const struct { const char* name; QByteArray bytes; int error; int tolerance; } cases[] = {
        {"a.bmp", bmp, 0, 0},
        {"a.png", Encode(src, "PNG"), 0, 0},
        {"a.tif", Encode(src, "TIFF"), 0, 0},
        {"a.jpg", jpeg, 0, 40},
        // libjpeg fills a cut-off tail with grey and Qt reports success, so it loads.
        {"cut.jpg", jpeg.left((jpeg.indexOf("\xFF\xDA") + jpeg.size()) / 2), 0, -1},
        {"png-named.bmp", Encode(src, "PNG"), 0, 0},  // the bytes decide, not the name
        {"argb.bmp", Encode(src.convertToFormat(QImage::Format_ARGB32), "BMP"), 0, 0},
        {"empty.bmp", "", vb::ErrInvalidPicture, -1},
        {"text.bmp", "this is not a picture\r\n", vb::ErrInvalidPicture, -1},
        {"cut.bmp", bmp.left(bmp.size() / 2), vb::ErrInvalidPicture, -1},
        {"cut-header.bmp", bmp.left(20), vb::ErrInvalidPicture, -1},
        {"cut.png", Encode(src, "PNG").chopped(40), vb::ErrInvalidPicture, -1},
        {"huge.bmp", BmpHeader(100000, 100000), vb::ErrOutOfMemory, -1},
        {"wide.bmp", BmpHeader(vb::MaxPictureSide + 1, 1), vb::ErrOutOfMemory, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const QString path = Put(c.name, c.bytes);
        QImage got;
        ASSERT_EQ(vb::Trap([&] { got = vb::LoadPicture(path); }), c.error);
        if (c.error) continue;
        EXPECT_EQ(got.format(), QImage::Format_RGB32);
        ASSERT_EQ(got.size(), src.size());
        if (c.tolerance >= 0) {
            EXPECT_LE(MaxChannelDiff(got, src), c.tolerance);
        }
    }
}

TEST_F(PictureTest, TransparencyLiesOverBlack) {
    QImage half(2, 1, QImage::Format_ARGB32);
    half.setPixel(0, 0, qRgba(200, 100, 50, 128));
    half.setPixel(1, 0, qRgba(10, 20, 30, 255));
    const struct { const char* name; QByteArray bytes; QRgb first; } cases[] = {
        {"red.gif", kRedGif, qRgb(255, 0, 0)},
        {"clear.gif", kClearGif, qRgb(0, 0, 0)},
        {"half.png", Encode(half, "PNG"), qRgb(100, 50, 25)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        QImage got;
        ASSERT_EQ(vb::Trap([&] { got = vb::LoadPicture(Put(c.name, c.bytes)); }), 0);
        ASSERT_FALSE(got.isNull());
        EXPECT_EQ(got.format(), QImage::Format_RGB32);
        const QImage want(reinterpret_cast<const uchar*>(&c.first), 1, 1, QImage::Format_RGB32);
        EXPECT_LE(MaxChannelDiff(got.copy(0, 0, 1, 1), want), 1);
    }
}

TEST_F(PictureTest, LoadPathErrors) {
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    QImage got(1, 1, QImage::Format_RGB32);
    EXPECT_EQ(vb::Trap([&] { got = vb::LoadPicture(""); }), 0);
    EXPECT_TRUE(got.isNull());
    EXPECT_EQ(vb::Trap([&] { vb::LoadPicture(dir.filePath("none.bmp")); }), vb::ErrFileNotFound);
    EXPECT_EQ(vb::Trap([&] { vb::LoadPicture(dir.filePath("no/none.bmp")); }), vb::ErrFileNotFound);
    EXPECT_EQ(vb::Trap([&] { vb::LoadPicture(dir.filePath("sub")); }), 75);
}

TEST_F(PictureTest, SavesTwentyFourBitBmp) {
    const QImage src = Gradient();
    const QImage sources[] = {src, src.convertToFormat(QImage::Format_Indexed8),
                              src.convertToFormat(QImage::Format_ARGB32)};
    const QString path = Put("out.bmp", "old");
    for (const QImage& img : sources) {
        SCOPED_TRACE(img.format());
        ASSERT_EQ(vb::Trap([&] { vb::SavePicture(img, path); }), 0);
        const QByteArray bytes = Bytes(path);
        ASSERT_GT(bytes.size(), 54);
        EXPECT_TRUE(bytes.startsWith("BM"));
        EXPECT_EQ(qFromLittleEndian<quint16>(bytes.constData() + 28), 24);
        QImage back;
        ASSERT_EQ(vb::Trap([&] { back = vb::LoadPicture(path); }), 0);
        ASSERT_EQ(back.size(), img.size());
        EXPECT_EQ(MaxChannelDiff(back, img.convertToFormat(QImage::Format_RGB32)), 0);
    }
}

TEST_F(PictureTest, SaveErrorsLeaveNothingBehind) {
    EXPECT_EQ(vb::Trap([&] { vb::SavePicture(Gradient(), dir.filePath("no/out.bmp")); }),
              vb::ErrPathNotFound);
    EXPECT_EQ(vb::Trap([&] { vb::SavePicture(QImage(), dir.filePath("null.bmp")); }),
              vb::ErrInvalidPicture);
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    EXPECT_EQ(vb::Trap([&] { vb::SavePicture(Gradient(), dir.filePath("sub")); }), vb::ErrDeviceIO);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList{"sub"});
    EXPECT_TRUE(QDir(dir.filePath("sub")).isEmpty());
}

TEST_F(PictureTest, SavesJpegAtQuality) {
    QImage noisy(160, 120, QImage::Format_RGB32);
    QRandomGenerator rng(7);
    for (int y = 0; y < noisy.height(); ++y)
        for (int x = 0; x < noisy.width(); ++x) noisy.setPixel(x, y, rng.generate() | 0xFF000000u);
    qint64 sizes[2] = {};
    const int qualities[2] = {10, 100};
    for (int i = 0; i < 2; ++i) {
        const QString path = dir.filePath(QStringLiteral("q%1.jpg").arg(qualities[i]));
        ASSERT_TRUE(vb::SaveJpeg(noisy, path, qualities[i]));
        EXPECT_TRUE(Bytes(path).startsWith("\xFF\xD8"));
        sizes[i] = QFileInfo(path).size();
    }
    EXPECT_LT(sizes[0] * 2, sizes[1]);

    const QString kept = Put("kept.jpg", "keep me");
    const struct { QImage image; QString path; int quality; } refused[] = {
        {noisy, kept, 9},
        {noisy, kept, 101},
        {QImage(), kept, 50},
        {noisy, dir.filePath("no/out.jpg"), 50},
    };
    for (const auto& r : refused) {
        SCOPED_TRACE(r.quality);
        EXPECT_FALSE(vb::SaveJpeg(r.image, r.path, r.quality));
    }
    EXPECT_EQ(Bytes(kept), QByteArray("keep me"));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath("no")));
}

TEST(DriveType, FromFileSystemType) {
    const struct { const char* type; bool block, removable; int want; } cases[] = {
        {"ext4", true, false, vb::DriveFixed},     {"ext4", true, true, vb::DriveRemovable},
        {"vfat", true, true, vb::DriveRemovable},  {"overlay", false, false, vb::DriveFixed},
        {"xfs", false, false, vb::DriveFixed},     {"newfs", true, false, vb::DriveFixed},
        {"newfs", false, false, vb::DriveUnknown}, {"proc", false, false, vb::DriveUnknown},
        {"nfs4", false, false, vb::DriveNetwork},  {"cifs", false, false, vb::DriveNetwork},
        {"fuse.sshfs", false, false, vb::DriveNetwork},
        {"iso9660", true, true, vb::DriveCDRom},   {"udf", true, true, vb::DriveCDRom},
        {"tmpfs", false, false, vb::DriveRamDisk}, {"ramfs", false, false, vb::DriveRamDisk},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.type);
        EXPECT_EQ(vb::ClassifyDrive(c.type, c.block, c.removable), c.want);
    }
}

TEST_F(PictureTest, DriveOfPath) {
    const vb::DriveInfo temp = vb::GetDrive(dir.path());
    EXPECT_GE(temp.DriveType, 1);
    EXPECT_LE(temp.DriveType, 5);
    EXPECT_GT(temp.FreeSpace, 0);
    // A folder not made yet is on the drive of the folder it would be made in.
    EXPECT_EQ(vb::GetDrive(dir.filePath("not/yet/there.bmp")).DriveType, temp.DriveType);
    if (QFileInfo(QStringLiteral("/dev/shm")).isDir()) {
        EXPECT_EQ(vb::GetDrive("/dev/shm").DriveType, vb::DriveRamDisk);
        EXPECT_EQ(vb::GetDrive("/dev/shm/not/yet/x.jpg").DriveType, vb::DriveRamDisk);
    }
    for (const char* bad : {"", "\\\\server\\share\\x", "//server/share/x"}) {
        SCOPED_TRACE(bad);
        EXPECT_EQ(vb::Trap([&] { vb::GetDrive(bad); }), vb::ErrPathNotFound);
    }
}

TEST(DriveNetworkPath, RecognisesUncNames) {
    const struct { const char* path; bool want; } cases[] = {
        {"\\\\server\\share", true}, {"//server/share", true}, {"/home/x", false},
        {"\\x", false},              {"C:\\x", false},         {"", false},
    };
    for (const auto& c : cases) EXPECT_EQ(vb::IsNetworkPath(c.path), c.want) << c.path;
}

}  // namespace
