#pragma once
#include <QImage>
#include <QString>
#include <cstdint>

namespace tavix {

class frmMain;

// Saves the still (BMP or JPEG, with its comment beside it) under a name the user chooses,
// or, for a movie name, arms a recording to it.
void cmdPicSave_Click(frmMain& f);

// What SaveJpeg gives back besides 0 (written) and 13 (no picture): the encoder refused the
// picture. A file that could not be written gives its error number (61, 75, 76 or 57).
constexpr int32_t kJpegEncoderFailed = 1;

// Writes picture as a JPEG of the quality (above 100 counts as 100) through a temporary file
// renamed over fileName, so a failure leaves an existing file as it was.
int32_t SaveJpeg(const QImage& picture, const QString& fileName, uint8_t quality);

}  // namespace tavix
