#pragma once
// Picture files and the drive a path lies on.
#include <QByteArray>
#include <QImage>
#include <QString>

#include "Drive.h"

namespace vb {

// Largest picture LoadPicture accepts; anything bigger is refused before decoding.
constexpr int MaxPictureSide = 32767;                      // what QPainter can still draw on
constexpr long long MaxPicturePixels = 256LL * 1024 * 1024;  // 1 GiB once in RGB32

// Reads a picture file (BMP, JPEG, PNG, GIF, TIFF, ...; the format is taken from the bytes,
// not the name) as opaque Format_RGB32, transparent parts laid over black like the picture
// background. Empty path: a null image. Errors: 53 missing, 75 a folder or unreadable,
// 481 not a picture or cut off, 7 larger than MaxPictureSide / MaxPicturePixels.
QImage LoadPicture(const QString& path);

// Writes a 24-bit BMP through a temporary file renamed over the target.
// Errors: 481 for a null image (nothing to save), 76 missing folder, 57 any other failure.
void SavePicture(const QImage& image, const QString& path);

// Writes a JPEG of quality 10..100 atomically. False, target untouched, when the quality is
// out of range, the image null, or the write fails.
bool SaveJpeg(const QImage& image, const QString& path, int quality);

// Drive.DriveType codes.
enum DriveTypeCode { DriveUnknown = 0, DriveRemovable = 1, DriveFixed = 2, DriveNetwork = 3,
                     DriveCDRom = 4, DriveRamDisk = 5 };

struct DriveInfo {
    int DriveType = DriveUnknown;
    double FreeSpace = 0;  // bytes the user may still write
};

// The file system holding path, or holding its nearest existing ancestor when path does not
// exist yet. Error 76 when none can be determined (empty path, a UNC path, statfs failing).
DriveInfo GetDrive(const QString& path);

// The drive type for a file system type as the mount table names it. blockDevice: it is
// mounted from a block device; removableDevice: that device's removable flag. Both only
// matter for file systems that are neither network, CD nor RAM ones.
int ClassifyDrive(const QByteArray& fileSystemType, bool blockDevice, bool removableDevice);

}  // namespace vb
