#pragma once
// Picture files.
#include <QImage>
#include <QString>

namespace vb {

// Largest picture LoadPicture accepts; anything bigger is refused before decoding.
constexpr int MaxPictureSide = 32767;                        // what QPainter can still draw on
constexpr long long MaxPicturePixels = 256LL * 1024 * 1024;  // 1 GiB once in RGB32

// Reads a picture file (BMP, JPEG, PNG, GIF, TIFF, ...; the format is taken from the bytes,
// not the name) as opaque Format_RGB32, transparent parts laid over black like the picture
// background. Empty path: a null image. Errors: 53 missing, 75 a folder or unreadable,
// 481 not a picture or cut off, 7 larger than MaxPictureSide / MaxPicturePixels.
QImage LoadPicture(const QString& path);

// Writes a 24-bit BMP through SafeFile, so an existing file is never left half-written;
// scratch: not synced, for a file only this program reads back. Errors: 481 for a null
// image (nothing to save), 61 disk full, 75 not writable, 76 missing folder, 57 any other.
void SavePicture(const QImage& image, const QString& path, bool scratch = false);

// The image exactly as LoadPicture reads back what SavePicture wrote of it: opaque RGB32 with
// the resolution of the file's header, so that what is made from either is the same.
QImage AsReadBack(const QImage& image);

}  // namespace vb
