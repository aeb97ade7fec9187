// The target drive of a movie: network mounts by the mount table, and the free space.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "Drive.h"
#include "Errors.h"

namespace {

struct DriveProbe : testing::Test {
    QTemporaryDir dir;
    QString table;
    std::optional<double> free;
    QStringList asked;
    void SetUp() override {
        vb::SetDriveProbe([this] { return table; },
                          [this](const QString& folder) {
                              asked << folder;
                              return free;
                          });
    }
    void TearDown() override { vb::SetDriveProbe({}, {}); }
};

TEST_F(DriveProbe, NetworkByTheLongestMountPointThatHoldsTheFolder) {
    ASSERT_TRUE(QDir(dir.path()).mkdir("share"));
    ASSERT_TRUE(QFile::link(dir.filePath("share"), dir.filePath("link")));
    const QString m = QStringLiteral("/tavix-no-such-root");
    table = QStringLiteral(
                "/dev/sda1 / ext4 rw 0 0\n"
                "srv:/export %1/nas nfs4 rw 0 0\n"
                "/dev/sdb1 %1/nas/local ext4 rw 0 0\n"
                "tmpfs %1/nasty tmpfs rw 0 0\n"
                "//srv/share %1/win cifs rw 0 0\n"
                "u@host:/ %1/ssh fuse.sshfs rw 0 0\n"
                "srv:/b %1/with\\040blank nfs rw 0 0\n"
                "host0 %1/vm 9p rw 0 0\n"
                "/dev/sdc1 %1/over cifs rw 0 0\n"
                "/dev/sdc1 %1/over ext4 rw 0 0\n"
                "srv:/s %2 nfs rw 0 0\n")
                .arg(m, QFileInfo(dir.filePath("share")).canonicalFilePath());
    const struct {
        QString path;
        bool network;
    } cases[] = {
        {m + "/nas/m.avi", true},           {m + "/nas/a/b/m.avi", true},       {m + "/nas/local/m.avi", false},
        {m + "/nasty/m.avi", false},        {m + "/win/m.AVI", true},           {m + "/ssh/m.avi", true},
        {m + "/with blank/m.avi", true},    {m + "/over/m.avi", false},         {m + "/vm/m.avi", true},
        {"/tavix-elsewhere/m.avi", false},  {dir.filePath("link/m.avi"), true}, {"//server/share/m.avi", true},
        {"\\\\server\\share\\m.avi", true},
    };
    for (const auto& c : cases) EXPECT_EQ(vb::IsNetworkPath(c.path), c.network) << c.path.toStdString();
}

TEST_F(DriveProbe, FreeSpaceOfTheTargetsFolder) {
    free = 5e9;
    EXPECT_DOUBLE_EQ(vb::FreeSpace(dir.filePath("m.avi")), 5e9);
    EXPECT_EQ(asked, QStringList{dir.path()});
    free.reset();
    EXPECT_EQ(vb::Trap([&] { vb::FreeSpace(dir.filePath("m.avi")); }), vb::ErrPathNotFound);
}

TEST(Drive, RealLookUpsOnceTheProbeIsGone) {
    QTemporaryDir dir;
    vb::SetDriveProbe([] { return QStringLiteral("srv:/x / nfs rw 0 0\n"); }, [](const QString&) { return 1.0; });
    vb::SetDriveProbe({}, {});
    EXPECT_FALSE(vb::IsNetworkPath(dir.filePath("m.avi")));
    const double free = vb::FreeSpace(dir.filePath("m.avi"));
    const double expected = static_cast<double>(QStorageInfo(dir.path()).bytesAvailable());
    EXPECT_NEAR(free, expected, 64.0 * 1024 * 1024);  // other writers may run meanwhile
    EXPECT_EQ(vb::Trap([&] { vb::FreeSpace(dir.filePath("gone/m.avi")); }), vb::ErrPathNotFound);
}

}  // namespace
