#include "AviRepair.h"

#include <QFile>
#include <QtEndian>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Errors.h"

// A movie is a RIFF "AVI " part and, past 1 GiB, RIFF "AVIX" parts. The multiplexer writes
// the sizes, the counts and the index of indexes only when it finishes; a part it has left
// already ends with its own index ("ix00"), and the first part also with "idx1".
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

uint32_t Get32(const char* p) { return qFromLittleEndian<uint32_t>(p); }

void Append32(std::vector<char>& out, uint32_t v) {
    char b[4];
    qToLittleEndian<uint32_t>(v, b);
    out.insert(out.end(), b, b + 4);
}

void Append64(std::vector<char>& out, uint64_t v) {
    char b[8];
    qToLittleEndian<uint64_t>(v, b);
    out.insert(out.end(), b, b + 8);
}

// A stream's chunk: two digits of the stream, two letters of what it holds ("00dc", "00db").
bool IsStreamChunk(const char id[4]) {
    return std::isdigit(uchar(id[0])) && std::isdigit(uchar(id[1])) && std::isalpha(uchar(id[2])) &&
           std::isalpha(uchar(id[3]));
}

// Where the header's fields live in the file.
struct Layout {
    qsizetype avih = -1, strh = -1, dmlh = -1;  // data of the main, video stream and extended headers
    qsizetype indx = -1, indxSize = 0;          // the room kept for the index of indexes
    qsizetype movi = -1;                        // the "LIST" of the first part's frames
};

// Reads the chunks of [from, to) of the header; lists are entered, all else passed over.
void ParseHeader(const QByteArray& head, qsizetype from, qsizetype to, Layout& at) {
    while (from + 8 <= to) {
        const char* id = head.constData() + from;
        const qsizetype size = Get32(id + 4);
        if (std::memcmp(id, "LIST", 4) == 0 && from + 12 <= to) {
            if (std::memcmp(id + 8, "movi", 4) == 0) {
                at.movi = from;
                return;
            }
            ParseHeader(head, from + 12, std::min(to, from + 8 + size), at);
        } else if (from + 8 + size <= to) {
            if (std::memcmp(id, "avih", 4) == 0 && size >= 56) at.avih = from + 8;
            if (std::memcmp(id, "strh", 4) == 0 && size >= 48 && at.strh < 0 && std::memcmp(id + 8, "vids", 4) == 0)
                at.strh = from + 8;
            if (std::memcmp(id, "dmlh", 4) == 0 && size >= 4) at.dmlh = from + 8;
            if ((std::memcmp(id, "JUNK", 4) == 0 || std::memcmp(id, "indx", 4) == 0) && at.strh >= 0 && at.indx < 0)
                at.indx = from, at.indxSize = size;
        }
        from += 8 + size + (size & 1);
    }
}

struct Chunk {
    char id[4];
    off_t at;
    uint32_t size;
};

// One RIFF part: where it starts, its frames, and the index the multiplexer gave it.
struct Part {
    off_t riff = 0, moviList = 0;
    std::vector<Chunk> chunks;
    off_t ix = -1;  // its "ix00"
    uint32_t ixSize = 0, ixFrames = 0;
    off_t idx1End = -1;  // the first part's "idx1", once the multiplexer moved on
    off_t End() const { return ix >= 0 ? ix + 8 + ixSize : 0; }
};

int Frames(const Part& p) {
    int n = 0;
    for (const Chunk& c : p.chunks) n += c.id[2] == 'd';  // "dc" and "db": pictures
    return n;
}

// A part's standard index: offsets of the chunks' data from the part's start.
std::vector<char> StandardIndex(const Part& p, off_t base) {
    std::vector<char> out{'i', 'x', '0', '0'};
    Append32(out, uint32_t(24 + 8 * p.chunks.size()));
    out.insert(out.end(), {2, 0, 0, 1});  // two longs an entry, of chunks
    Append32(out, uint32_t(p.chunks.size()));
    const char* id = p.chunks.empty() ? "00db" : p.chunks.front().id;
    out.insert(out.end(), id, id + 4);
    Append64(out, uint64_t(base));
    Append32(out, 0);
    for (const Chunk& c : p.chunks) Append32(out, uint32_t(c.at + 8 - base)), Append32(out, c.size);
    return out;
}

}  // namespace

AviRepair RepairUnfinishedAvi(const QString& path) {
    Fd file{::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC)};
    if (file.fd < 0) return {errno == ENOENT ? vb::ErrFileNotFound : vb::ErrPathFileAccess, false, 0};
    struct stat st {};
    if (::fstat(file.fd, &st) != 0) return {vb::ErrDeviceIO, false, 0};
    const off_t fileSize = st.st_size;
    QByteArray head(int(std::min<off_t>(fileSize, 256 * 1024)), Qt::Uninitialized);
    if (!ReadAt(file.fd, head.data(), size_t(head.size()), 0)) return {vb::ErrDeviceIO, false, 0};
    Layout at;
    if (head.size() < 12 || !head.startsWith("RIFF") || head.mid(8, 4) != "AVI ")
        return {vb::ErrTypeMismatch, false, 0};
    ParseHeader(head, 12, head.size(), at);
    if (at.avih < 0 || at.strh < 0 || at.movi < 0) return {vb::ErrTypeMismatch, false, 0};
    if (const uint32_t frames = Get32(head.constData() + at.avih + 16); frames != 0) return {0, false, int(frames)};

    // The whole chunks, part by part; what follows the last whole one was being written.
    std::vector<Part> parts(1);
    parts[0].moviList = at.movi;
    off_t pos = at.movi + 12;
    for (;;) {
        char h[24];
        if (pos + 8 > fileSize || !ReadAt(file.fd, h, 8, pos)) break;
        const uint32_t size = Get32(h + 4);
        if (std::memcmp(h, "RIFF", 4) == 0) {
            if (pos + 24 > fileSize || !ReadAt(file.fd, h, 24, pos) || std::memcmp(h + 8, "AVIXLIST", 8) != 0 ||
                std::memcmp(h + 20, "movi", 4) != 0 || parts.back().ix < 0)
                break;
            parts.push_back({pos, pos + 12, {}, -1, 0, 0, -1});
            pos += 24;
            continue;
        }
        // An "idx1" ends the first part once the multiplexer has moved on; else it is the
        // index of an earlier, interrupted repair, written anew.
        if (std::memcmp(h, "idx1", 4) == 0 && (parts.size() > 1 || parts[0].ix < 0)) break;
        if (pos + 8 + off_t(size) > fileSize) break;
        if (std::memcmp(h, "idx1", 4) == 0) {
            parts[0].idx1End = pos + 8 + size;
        } else if (std::memcmp(h, "ix", 2) == 0) {
            char n[4];
            if (!ReadAt(file.fd, n, 4, pos + 12)) break;
            parts.back().ix = pos, parts.back().ixSize = size, parts.back().ixFrames = Get32(n);
        } else if (IsStreamChunk(h)) {
            Chunk c{{h[0], h[1], h[2], h[3]}, pos, size};
            parts.back().chunks.push_back(c);
        } else if (!std::isalnum(uchar(h[0]))) {
            break;  // not a chunk: nothing after this was written whole
        }
        pos += 8 + off_t(size) + (size & 1);
    }
    // Cut off in the narrow time between the first part's own indexes and the second part:
    // the part is made whole again as a movie of one part.
    if (parts.size() == 1 && parts[0].ix >= 0) pos = parts[0].ix, parts[0].ix = -1, parts[0].idx1End = -1;
    // A part the multiplexer had left without its first part's "idx1" has no room for one.
    if (parts.size() > 1 && parts[0].idx1End < 0) return {vb::ErrTypeMismatch, false, 0};
    const size_t superEntries = size_t(std::max<qsizetype>(0, at.indxSize - 24) / 16);
    if (parts.size() > 1 && (at.indx < 0 || parts.size() > superEntries)) return {vb::ErrTypeMismatch, false, 0};

    Part& last = parts.back();
    const bool lastIndexed = last.ix >= 0;  // the multiplexer had finished it

    // First the indexes after the last whole frame, then the sizes and counts that make the
    // file finished, the main header's count last: stopped in between, the file still reads
    // as unfinished and is taken up again. On a full disk the last frames make room.
    off_t end = std::min(pos, fileSize);
    std::vector<char> tail;
    for (;;) {
        tail.clear();
        if (parts.size() == 1) {
            tail = {'i', 'd', 'x', '1'};
            Append32(tail, uint32_t(16 * last.chunks.size()));
            for (const Chunk& c : last.chunks) {
                tail.insert(tail.end(), c.id, c.id + 4);
                Append32(tail, kKeyFrame), Append32(tail, uint32_t(c.at)), Append32(tail, c.size);
            }
        } else if (!lastIndexed) {
            tail = StandardIndex(last, last.riff);
            last.ix = end, last.ixSize = uint32_t(tail.size() - 8), last.ixFrames = uint32_t(Frames(last));
        }
        if (::ftruncate(file.fd, end) == 0 && WriteAt(file.fd, tail.data(), tail.size(), end) && ::fsync(file.fd) == 0)
            break;
        const bool full = errno == ENOSPC || errno == EFBIG || errno == EDQUOT;
        if (!full || last.chunks.empty()) return {full ? vb::ErrDiskFull : vb::ErrDeviceIO, false, 0};
        const off_t room = end - off_t(tail.size()) - 4096;  // a block to spare
        auto chunkEnd = [](const Chunk& c) { return c.at + 8 + off_t(c.size) + (c.size & 1); };
        while (!last.chunks.empty() && chunkEnd(last.chunks.back()) > room) last.chunks.pop_back();
        end = last.chunks.empty() ? last.moviList + 12 : chunkEnd(last.chunks.back());
    }
    const off_t fileEnd = end + off_t(tail.size());
    int total = 0;
    for (const Part& p : parts) total += p.ix >= 0 ? int(p.ixFrames) : Frames(p);

    bool ok = true;
    if (parts.size() == 1) {
        ok = Put32(file.fd, 4, uint32_t(fileEnd - 8)) && Put32(file.fd, at.movi + 4, uint32_t(end - at.movi - 8));
    } else {
        std::vector<char> super{'i', 'n', 'd', 'x'};
        Append32(super, uint32_t(at.indxSize));
        super.insert(super.end(), {4, 0, 0, 0});  // four longs an entry, of indexes
        Append32(super, uint32_t(parts.size()));
        const char* id = parts[0].chunks.empty() ? "00db" : parts[0].chunks.front().id;
        super.insert(super.end(), id, id + 4);
        Append32(super, 0), Append32(super, 0), Append32(super, 0);
        for (size_t i = 0; i < parts.size() && ok; ++i) {
            const Part& p = parts[i];
            const off_t partEnd = i + 1 < parts.size() ? parts[i + 1].riff : fileEnd;
            Append64(super, uint64_t(p.ix)), Append32(super, p.ixSize + 8), Append32(super, p.ixFrames);
            ok = Put32(file.fd, p.riff + 4, uint32_t(partEnd - p.riff - 8)) &&
                 Put32(file.fd, p.moviList + 4, uint32_t(p.End() - p.moviList - 8));
        }
        super.resize(size_t(at.indxSize) + 8, 0);
        ok = ok && WriteAt(file.fd, super.data(), super.size(), at.indx);
    }
    const uint32_t firstFrames = parts.size() == 1 ? uint32_t(total) : parts[0].ixFrames;
    const uint32_t flags = Get32(head.constData() + at.avih + 12) | kHasIndex;
    ok = ok && Put32(file.fd, at.avih + 12, flags) && Put32(file.fd, at.strh + 32, uint32_t(total));
    if (ok && at.dmlh >= 0) ok = Put32(file.fd, at.dmlh, uint32_t(total));
    if (!ok || ::fsync(file.fd) != 0 || !Put32(file.fd, at.avih + 16, firstFrames) || ::fsync(file.fd) != 0)
        return {vb::ErrDeviceIO, false, 0};
    return {0, true, total};
}

}  // namespace tavix::cam
