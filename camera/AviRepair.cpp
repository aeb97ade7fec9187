#include "AviRepair.h"

#include <QFile>
#include <QtEndian>
#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Errors.h"

namespace tavix::cam {

namespace {

constexpr uint32_t kHasIndex = 0x10;  // AVIF_HASINDEX in the main header's flags
// Key frame (every JPEG and raw frame stands alone) with a two-character code, as the multiplexer marks them.
constexpr uint32_t kKeyFrame = 0x12;

struct Fd {
    int fd = -1;
    ~Fd() {
        if (fd >= 0) ::close(fd);
    }
};

bool ReadAt(int fd, void* to, size_t size, off_t at) {
    auto* p = static_cast<char*>(to);
    while (size > 0) {
        const ssize_t n = ::pread(fd, p, size, at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n, size -= size_t(n), at += n;
    }
    return true;
}

bool WriteAt(int fd, const void* from, size_t size, off_t at) {
    const auto* p = static_cast<const char*>(from);
    while (size > 0) {
        const ssize_t n = ::pwrite(fd, p, size, at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        p += n, size -= size_t(n), at += n;
    }
    return true;
}

bool Put32(int fd, off_t at, uint32_t value) {
    const uint32_t le = qToLittleEndian(value);
    return WriteAt(fd, &le, 4, at);
}

uint32_t Get32(const QByteArray& b, qsizetype at) { return qFromLittleEndian<uint32_t>(b.constData() + at); }

// A stream's chunk: two digits of the stream, two letters of what it holds ("00dc", "00db").
bool IsStreamChunk(const char id[4]) {
    return std::isdigit(uchar(id[0])) && std::isdigit(uchar(id[1])) && std::isalpha(uchar(id[2])) &&
           std::isalpha(uchar(id[3]));
}

// Where the header's fields live in the file.
struct Layout {
    qsizetype avih = -1, strh = -1, dmlh = -1;  // data of the main, video stream and extended headers
    qsizetype movi = -1;                        // the "LIST" of the frames
};

// Reads the chunks of [from, to) of the header; lists are entered, all else passed over.
bool ParseHeader(const QByteArray& head, qsizetype from, qsizetype to, Layout& at) {
    while (from + 8 <= to) {
        const char* id = head.constData() + from;
        const qsizetype size = Get32(head, from + 4);
        if (std::memcmp(id, "LIST", 4) == 0 && from + 12 <= to) {
            const char* type = id + 8;
            if (std::memcmp(type, "movi", 4) == 0) {
                at.movi = from;
                return true;
            }
            if (!ParseHeader(head, from + 12, std::min(to, from + 8 + size), at)) return false;
        } else if (from + 8 + size <= to) {
            if (std::memcmp(id, "avih", 4) == 0 && size >= 56) at.avih = from + 8;
            if (std::memcmp(id, "strh", 4) == 0 && size >= 48 && at.strh < 0 && std::memcmp(id + 8, "vids", 4) == 0)
                at.strh = from + 8;
            if (std::memcmp(id, "dmlh", 4) == 0 && size >= 4) at.dmlh = from + 8;
        }
        from += 8 + size + (size & 1);
    }
    return true;
}

}  // namespace

AviRepair RepairUnfinishedAvi(const QString& path) {
    AviRepair r;
    Fd file{::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC)};
    if (file.fd < 0) {
        r.error = errno == ENOENT ? vb::ErrFileNotFound : vb::ErrPathFileAccess;
        return r;
    }
    struct stat st {};
    if (::fstat(file.fd, &st) != 0) return {vb::ErrDeviceIO, false, 0};
    const off_t fileSize = st.st_size;
    QByteArray head(int(std::min<off_t>(fileSize, 256 * 1024)), Qt::Uninitialized);
    if (!ReadAt(file.fd, head.data(), size_t(head.size()), 0)) return {vb::ErrDeviceIO, false, 0};
    Layout at;
    if (head.size() < 12 || !head.startsWith("RIFF") || head.mid(8, 4) != "AVI " ||
        !ParseHeader(head, 12, head.size(), at) || at.avih < 0 || at.strh < 0 || at.movi < 0)
        return {vb::ErrTypeMismatch, false, 0};
    if (const uint32_t frames = Get32(head, at.avih + 16); frames != 0) return {0, false, int(frames)};

    // The frames as far as they are whole; offsets from the file's start, as the multiplexer writes them.
    const off_t moviTag = at.movi + 8;
    std::vector<char> index;
    off_t pos = moviTag + 4;
    int frames = 0;
    for (;;) {
        char chunk[8];
        if (pos + 8 > fileSize || !ReadAt(file.fd, chunk, 8, pos)) break;
        const uint32_t size = qFromLittleEndian<uint32_t>(chunk + 4);
        // A second RIFF part needs the extended index, which is not rebuilt here.
        if (std::memcmp(chunk, "RIFF", 4) == 0) return {vb::ErrTypeMismatch, false, 0};
        // An index of an earlier, interrupted repair is written anew.
        if (std::memcmp(chunk, "idx1", 4) == 0) break;
        if (pos + 8 + off_t(size) > fileSize) break;  // the frame being written when it stopped
        if (IsStreamChunk(chunk)) {
            char entry[16];
            std::memcpy(entry, chunk, 4);
            qToLittleEndian<uint32_t>(kKeyFrame, entry + 4);
            qToLittleEndian<uint32_t>(uint32_t(pos), entry + 8);
            qToLittleEndian<uint32_t>(size, entry + 12);
            index.insert(index.end(), entry, entry + 16);
            if (chunk[2] == 'd') ++frames;  // "dc" and "db": pictures
        } else if (!std::isalnum(uchar(chunk[0]))) {
            break;  // not a chunk: nothing after this was written whole
        }
        pos += 8 + off_t(size) + (size & 1);
    }
    const off_t end = std::min(pos, fileSize);

    // First the index after the last whole frame, then the counts that make the file finished:
    // stopped in between, the file still reads as unfinished and is taken up again.
    char tag[8] = {'i', 'd', 'x', '1'};
    qToLittleEndian<uint32_t>(uint32_t(index.size()), tag + 4);
    if (::ftruncate(file.fd, end) != 0 || !WriteAt(file.fd, tag, 8, end) ||
        !WriteAt(file.fd, index.data(), index.size(), end + 8) || ::fsync(file.fd) != 0)
        return {vb::ErrDeviceIO, false, 0};
    const uint32_t flags = Get32(head, at.avih + 12) | kHasIndex;
    bool ok = Put32(file.fd, 4, uint32_t(end + 8 + off_t(index.size()) - 8)) &&
              Put32(file.fd, at.movi + 4, uint32_t(end - moviTag)) && Put32(file.fd, at.avih + 12, flags) &&
              Put32(file.fd, at.strh + 32, uint32_t(frames));
    if (ok && at.dmlh >= 0) ok = Put32(file.fd, at.dmlh, uint32_t(frames));
    // The main header's count last: it is what tells a finished file.
    if (!ok || !Put32(file.fd, at.avih + 16, uint32_t(frames)) || ::fsync(file.fd) != 0)
        return {vb::ErrDeviceIO, false, 0};
    return {0, true, frames};
}

}  // namespace tavix::cam
