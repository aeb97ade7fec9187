#include "Pictures.h"

#include "Errors.h"
#include "TextFile.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QStorageInfo>
#include <QtEndian>

#include <new>
#include <sys/vfs.h>

namespace vb {

namespace {

bool TooLarge(const QSize& size) {
    return size.width() > MaxPictureSide || size.height() > MaxPictureSide ||
           static_cast<long long>(size.width()) * size.height() > MaxPicturePixels;
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

// What a BMP header alone says: 7 when the picture is too large (Qt refuses huge headers as
// undecodable), 481 when the file is shorter than the header promises (Qt's reader would
// stop quietly and hand back a partly black picture), else 0; 0 too for other formats.
int CheckBmp(QFile& file) {
    const QByteArray h = file.peek(54);
    if (h.size() < 2 || !h.startsWith("BM")) return 0;
    if (h.size() < 26) return ErrInvalidPicture;
    const auto u16 = [&](int at) { return qFromLittleEndian<quint16>(h.constData() + at); };
    const auto s32 = [&](int at) { return qFromLittleEndian<qint32>(h.constData() + at); };
    const qint64 offBits = qFromLittleEndian<quint32>(h.constData() + 10);
    const quint32 headerSize = qFromLittleEndian<quint32>(h.constData() + 14);
    qint64 width, height, bitCount, compression = 0, sizeImage = 0;
    if (headerSize == 12) {  // OS/2 core header
        width = u16(18);
        height = u16(20);
        bitCount = u16(24);
    } else {
        if (h.size() < 38) return ErrInvalidPicture;
        width = s32(18);
        height = s32(22);
        bitCount = u16(28);
        compression = qFromLittleEndian<quint32>(h.constData() + 30);
        sizeImage = qFromLittleEndian<quint32>(h.constData() + 34);
    }
    if (height < 0) height = -height;
    if (width <= 0 || height == 0) return 0;  // the decoder rejects these itself
    if (width > MaxPictureSide || height > MaxPictureSide || width * height > MaxPicturePixels)
        return ErrOutOfMemory;
    qint64 needed;
    if (compression == 0 || compression == 3 || compression == 6) {  // plain rows, bit fields
        const qint64 stride = (width * bitCount + 31) / 32 * 4;
        // Some writers leave out the padding of the last row.
        needed = stride * (height - 1) + (width * bitCount + 7) / 8;
    } else {
        needed = sizeImage;  // run-length data: only its stated size is known
    }
    return file.size() < offBits + needed ? ErrInvalidPicture : 0;
}

QImage Decode(QFile& file) {
    const int bmpError = CheckBmp(file);
    if (bmpError == ErrOutOfMemory) Raise(bmpError);
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
    if (!reader.read(&image) || image.isNull()) {
        // A failed allocation reads as a failed decode; tell the two apart.
        if (size.isValid() && QImage(size, QImage::Format_RGB32).isNull()) Raise(ErrOutOfMemory);
        Raise(ErrInvalidPicture);
    }
    if (TooLarge(image.size())) Raise(ErrOutOfMemory);
    return Opaque(image);
}

QByteArray Encode(const QImage& image, const char* format, int quality) {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, format, quality)) return {};
    return data;
}

// Reads a block device's removable flag from sysfs; a partition asks its disk.
bool RemovableDevice(const QString& device) {
    const QString node = QFileInfo(device).canonicalFilePath();  // /dev/mapper/x -> /dev/dm-0
    if (node.isEmpty()) return false;
    QString sys = QFileInfo(QStringLiteral("/sys/class/block/") + QFileInfo(node).fileName())
                      .canonicalFilePath();
    if (sys.isEmpty()) return false;
    if (QFileInfo::exists(sys + QStringLiteral("/partition"))) sys = QFileInfo(sys).path();
    QFile flag(sys + QStringLiteral("/removable"));
    if (!flag.open(QIODevice::ReadOnly)) return false;
    return flag.readAll().trimmed() == "1";
}

bool IsBlockDevice(const QString& device) {
    const QString node = QFileInfo(device).canonicalFilePath();
    return !node.isEmpty() &&
           QFileInfo::exists(QStringLiteral("/sys/class/block/") + QFileInfo(node).fileName());
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

void SavePicture(const QImage& image, const QString& path) {
    if (image.isNull()) Raise(ErrInvalidPicture);
    QByteArray data;
    try {
        // RGB32 makes Qt write 24 bits a pixel; an indexed image would come out as 8.
        data = Encode(Opaque(image), "BMP", -1);
    } catch (const std::bad_alloc&) {
        Raise(ErrOutOfMemory);
    }
    if (data.isEmpty()) Raise(ErrDeviceIO);
    if (WriteFileAtomic(path, data)) return;
    if (!QFileInfo(path).absoluteDir().exists()) Raise(ErrPathNotFound);
    Raise(ErrDeviceIO);
}

bool SaveJpeg(const QImage& image, const QString& path, int quality) {
    if (quality < 10 || quality > 100 || image.isNull()) return false;
    QByteArray data;
    const int err = Trap([&] { data = Encode(Opaque(image), "JPEG", quality); });
    return err == 0 && !data.isEmpty() && WriteFileAtomic(path, data);
}

int ClassifyDrive(const QByteArray& type, bool blockDevice, bool removableDevice) {
    static const char* const network[] = {"nfs", "nfs4", "cifs", "smbfs", "smb3", "ncpfs",
                                          "afs", "9p", "virtiofs", "ceph", "glusterfs",
                                          "fuse.glusterfs", "fuse.sshfs", "sshfs", "lustre",
                                          "davfs", "fuse.davfs2"};
    static const char* const ram[] = {"tmpfs", "ramfs", "devtmpfs"};
    static const char* const disk[] = {"ext2", "ext3", "ext4", "xfs", "btrfs", "vfat", "msdos",
                                       "exfat", "ntfs", "ntfs3", "fuseblk", "f2fs", "jfs",
                                       "reiserfs", "hfs", "hfsplus", "zfs", "nilfs2",
                                       "bcachefs", "squashfs", "erofs", "overlay"};
    const auto in = [&](const auto& list) {
        for (const char* name : list)
            if (type == name) return true;
        return false;
    };
    // Folders a virtual machine's host shares in (9p, virtiofs) count as network drives.
    if (in(network)) return DriveNetwork;
    if (type == "iso9660" || type == "udf") return DriveCDRom;
    if (in(ram)) return DriveRamDisk;
    if (in(disk) || blockDevice) return removableDevice ? DriveRemovable : DriveFixed;
    return DriveUnknown;
}

namespace {

// The file system of a folder straight from the kernel, for when the mount table does not
// describe it (a chroot or a container with a partial /proc).
QByteArray FileSystemTypeOf(const QString& folder, double& free) {
    struct statfs fs {};
    if (statfs(QFile::encodeName(folder).constData(), &fs) != 0) Raise(ErrPathNotFound);
    free = static_cast<double>(fs.f_bavail) * static_cast<double>(fs.f_bsize);
    static const std::pair<unsigned long, const char*> magic[] = {
        {0xEF53, "ext4"},        {0x58465342, "xfs"},  {0x9123683E, "btrfs"},
        {0x794C7630, "overlay"}, {0x4D44, "vfat"},     {0x01021994, "tmpfs"},
        {0x858458F6, "ramfs"},   {0x6969, "nfs"},      {0xFF534D42, "cifs"},
        {0xFE534D42, "smb3"},    {0x9660, "iso9660"},  {0x15013346, "udf"},
        {0x01021997, "9p"},      {0x73717368, "squashfs"},
    };
    for (const auto& [number, name] : magic)
        if (static_cast<unsigned long>(fs.f_type) == number) return name;
    return {};
}

}  // namespace

DriveInfo GetDrive(const QString& path) {
    // A UNC name has no drive here.
    if (path.isEmpty() || path.startsWith(QStringLiteral("\\\\")) || path.startsWith(QStringLiteral("//")))
        Raise(ErrPathNotFound);
    QString at = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    while (!QFileInfo::exists(at)) {
        const QString up = QFileInfo(at).path();
        if (up == at) break;
        at = up;
    }
    const QStorageInfo storage(at);
    if (!storage.isValid()) {
        DriveInfo drive;
        const QByteArray type = FileSystemTypeOf(at, drive.FreeSpace);
        drive.DriveType = ClassifyDrive(type, false, false);
        return drive;
    }
    const QString device = QString::fromLocal8Bit(storage.device());
    const bool block = device.startsWith(QStringLiteral("/dev/")) && IsBlockDevice(device);
    DriveInfo drive;
    drive.DriveType = ClassifyDrive(storage.fileSystemType(), block, block && RemovableDevice(device));
    const qint64 free = storage.bytesAvailable();
    drive.FreeSpace = free > 0 ? static_cast<double>(free) : 0.0;
    return drive;
}

}  // namespace vb
