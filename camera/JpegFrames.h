#pragma once
// A camera's JPEG frames decoded straight into 32-bit pixels for the live view: libjpeg-turbo
// writes the colour-converted rows itself, which costs less than a decoder and a converter
// one after the other. Decoded pictures are reused once nobody else holds them.
#include <QImage>
#include <cstddef>
#include <vector>

namespace tavix::cam {

class JpegFrames {
public:
    // The frame as an RGB32 picture, or a null one when it cannot be read. Called on one
    // thread at a time; the pictures it returns may go to any thread.
    QImage Decode(const unsigned char* data, size_t size);

    // A picture of that size that no one else holds; null when it cannot be had.
    QImage* Canvas(int width, int height);

private:
    std::vector<QImage> pictures_;
};

}  // namespace tavix::cam
