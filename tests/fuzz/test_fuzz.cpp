// Every reader of a file a user or a disk can spoil, fed mutations of its real files for a
// bounded time: it may refuse the file, never crash or hang. Run under the sanitizers in CI,
// a read past a buffer counts as a crash too. The seed is fixed, so a failure comes back.
#include <QDeadlineTimer>
#include <QImage>
#include <functional>
#include <gtest/gtest.h>
#include <random>

#include "CommonModule.h"
#include "Graph.h"
#include "Guidance.h"
#include "IniConfig.h"
#include "JpegFrames.h"
#include "Pictures.h"
#include "Proof.h"
#include "Sandbox.h"
#include "TextFile.h"

namespace {

// clang-format off
const QByteArray kTokens[] = {"\r\n", "\n", "\r", ",", "\"", "=", "[", "]", ";", "@", "-1", "0", "1e308",
                              "99999999999999999999", "\xEF\xBB\xBF", "\x82\xA0", "\xFF", QByteArray(1, '\0'),
                              "control.", "width=", "rate=1/0", "BM", "\xFF\xD8\xFF"};
// clang-format on

// One of the seeds with one to four mutations: a flipped bit, a byte of any value, a span cut
// out, doubled or cut off, or a token the readers split on.
QByteArray Mutated(const std::vector<QByteArray>& seeds, std::mt19937& rng) {
    const auto pick = [&](size_t below) { return std::uniform_int_distribution<size_t>(0, below - 1)(rng); };
    QByteArray b = seeds[pick(seeds.size())];
    for (size_t n = 1 + pick(4); n > 0; --n) {
        const qsizetype at = pick(b.size() + 1), span = std::min<qsizetype>(b.size() - at, 1 + pick(64));
        switch (pick(6)) {
        case 0:
            if (at < b.size()) b[at] = static_cast<char>(b[at] ^ (1 << pick(8)));
            break;
        case 1: b.insert(at, static_cast<char>(pick(256))); break;
        case 2: b.remove(at, span); break;
        case 3: b.insert(at, b.mid(at, span)); break;
        case 4: b.truncate(at); break;
        default: b.insert(at, kTokens[pick(std::size(kTokens))]);
        }
    }
    return b;
}

TEST(Fuzz, ReadersRefuseSpoiledFilesWithoutCrashing) {
    testing_support::Sandbox box;
    ASSERT_TRUE(tavix::GetIniFileData() && tavix::ReadStringTableData());
    // A small flat picture in a format.
    const auto encoded = [&](const char* format) {
        QImage image(37, 21, QImage::Format_RGB32);
        image.fill(0x336699);
        image.save(box.File("seed"), format);
        return box.Read("seed");
    };
    // What, the file in the sandbox each mutation replaces, the rounds, the reader (true when it
    // took the file) and its seeds (none: the shipped file).
    using Reader =
        std::tuple<const char*, const char*, int, std::function<bool(const QString&)>, std::vector<QByteArray>>;
    // clang-format off
    const Reader readers[] = {
        {"ini", "Tavix.Ini", 3000, [](const QString&) { return tavix::GetIniFileData(); }, {}},
        {"string table", "StringTable.txt", 3000, [](const QString&) { return tavix::ReadStringTableData(); }, {}},
        {"guidance", "Guidance.txt", 3000, [](const QString&) { return tavix::ReadGuidanceData(); }, {}},
        {"calibrations", "Proof.txt", 3000, [](const QString&) { return tavix::ReadProofData(); }, {}},
        // A comment file takes any bytes; only a crash would be wrong.
        {"comment", "p.txt", 3000, [](const QString& p) { return vb::Trap([&] { vb::ReadTextLines(p); }) == 0; },
         {"first line\r\nsecond\r\n", "\x82\xB1\x82\xF1\r\n\r\n"}},
        {"picture", "p.bmp", 1500, [](const QString& p) { return vb::Trap([&] { vb::LoadPicture(p); }) == 0; },
         {encoded("BMP"), encoded("JPEG"), encoded("PNG")}},
        {"graph file", "Tavix.grf", 150, [](const QString& p) {
             tavix::cam::FilterGraph graph;
             return vb::Trap([&] { tavix::cam::GraphFileStore().LoadGraphFile(graph, p); }) == 0;
         }, {"TavixGraph 1\r\ncamera=Tavix Test Camera\r\ndevice=\r\nwidth=64\r\nheight=48\r\n"
             "format=\r\nrate=30/1\r\ncontrol.pattern=1\r\n"}},
        {"camera frame", "f.jpg", 3000, [](const QString& p) {
             const QByteArray frame = testing_support::ReadFile(p);
             return !tavix::cam::JpegFrames().Decode(reinterpret_cast<const uchar*>(frame.data()), frame.size()).isNull();
         }, {encoded("JPEG")}},
    };
    // clang-format on
    // The decoders' complaints about each spoiled picture are expected by the thousand.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    for (const auto& [what, file, rounds, read, own] : readers) {
        SCOPED_TRACE(what);
        const std::vector<QByteArray> seeds = own.empty() ? std::vector{box.Read(file)} : own;
        std::mt19937 rng{20261125};
        int refused = 0;
        // Bounded by rounds and by time, so a slow machine ends too.
        const QDeadlineTimer deadline(20000);
        for (int i = 0; i < rounds && !deadline.hasExpired(); ++i) {
            box.Write(file, Mutated(seeds, rng));
            refused += !read(box.File(file));
        }
        // The mutations reached the refusals, and a reader that refused is not left broken.
        EXPECT_TRUE(refused > 0 || std::string(what) == "comment");
        box.Write(file, seeds.back());
        EXPECT_TRUE(read(box.File(file)));
    }
}

}  // namespace
