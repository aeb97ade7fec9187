// The target drive of a movie: what holds its folder, and the free space.
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include "Drive.h"
#include "Errors.h"
#include "Sandbox.h"

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

// A sysfs tree with a fixed disk (sda), a USB stick (sdb), a CD drive, a RAM disk, a loop
// device on a file in RAM and an encrypted volume on the stick.
void MakeSysfs(const QString& sys, const QString& loopFile) {
    auto file = [&](const QString& path, const QByteArray& text) {
        QDir().mkpath(QFileInfo(sys + path).path());
        testing_support::WriteFile(sys + path, text);
    };
    auto device = [&](const QString& dev, const QString& number, const QString& name) {
        QDir().mkpath(sys + "/class/block");
        QDir().mkpath(sys + "/dev/block");
        ASSERT_TRUE(QFile::link(sys + "/devices/" + dev, sys + "/class/block/" + name));
        if (!number.isEmpty()) {
            ASSERT_TRUE(QFile::link(sys + "/devices/" + dev, sys + "/dev/block/" + number));
        }
    };
    for (const char* disk : {"sda", "sdb", "sdc"}) {
        file(QStringLiteral("/devices/%1/removable").arg(disk), disk == QLatin1String("sdb") ? "1\n" : "0\n");
        for (int part : {1, 2}) {
            file(QStringLiteral("/devices/%1/%1%2/partition").arg(disk).arg(part), "1\n");
            device(QStringLiteral("%1/%1%2").arg(disk).arg(part), {}, QStringLiteral("%1%2").arg(disk).arg(part));
        }
    }
    file("/devices/sr0/removable", "0\n");  // many CD drives say 0: their SCSI type tells
    file("/devices/sr0/device/type", "5\n");
    device("sr0", {}, "sr0");
    file("/devices/zram0/removable", "0\n");
    device("zram0", {}, "zram0");
    file("/devices/loop0/loop/backing_file", loopFile.toUtf8() + "\n");
    device("loop0", {}, "loop0");
    QDir().mkpath(sys + "/devices/dm-0/slaves");
    ASSERT_TRUE(QFile::link(sys + "/devices/sdb/sdb1", sys + "/devices/dm-0/slaves/sdb1"));
    device("dm-0", "252:0", "dm-0");
    QDir().mkpath(sys + "/devices/md0/slaves");
    ASSERT_TRUE(QFile::link(sys + "/devices/sda/sda2", sys + "/devices/md0/slaves/sda2"));
    device("md0", "9:0", "md0");
}

TEST_F(DriveProbe, WhatHoldsTheFolderByMountTableAndSysfs) {
    ASSERT_TRUE(QDir(dir.path()).mkdir("share"));
    ASSERT_TRUE(QFile::link(dir.filePath("share"), dir.filePath("link")));
    const QString m = QStringLiteral("/tavix-no-such-root");
    MakeSysfs(dir.filePath("sys"), m + "/shm/disk.img");
    // Encrypted and md volumes are found by the folder's device number, the rest by the source.
    vb::SetBlockDeviceProbe(
        [&](const QString& folder) {
            if (folder.startsWith(m + "/crypt")) return QStringLiteral("252:0");
            if (folder.startsWith(m + "/raid")) return QStringLiteral("9:0");
            return QString();
        },
        dir.filePath("sys"));
    table = QStringLiteral(
                "/dev/sda1 / ext4 rw 0 0\n"
                "srv:/export %1/nas nfs4 rw 0 0\n"
                "/dev/sdb1 %1/nas/usb vfat rw 0 0\n"
                "tmpfs %1/shm tmpfs rw 0 0\n"
                "none %1/ram ramfs rw 0 0\n"
                "//srv/share %1/win cifs rw 0 0\n"
                "u@host:/ %1/ssh fuse.sshfs rw 0 0\n"
                "srv:/b %1/with\\040blank nfs rw 0 0\n"
                "host0 %1/vm 9p rw 0 0\n"
                "/dev/sr0 %1/cdrom iso9660 ro 0 0\n"
                "/dev/sr0 %1/dvdram ext2 rw 0 0\n"
                "/dev/sdc1 %1/over cifs rw 0 0\n"
                "/dev/sdc1 %1/over ext4 rw 0 0\n"
                "/dev/sdb2 %1/stick fuseblk rw 0 0\n"
                "/dev/sda2 %1/home btrfs rw 0 0\n"
                "/dev/zram0 %1/zram ext4 rw 0 0\n"
                "/dev/loop0 %1/img ext4 rw 0 0\n"
                "/dev/mapper/secret %1/crypt ext4 rw 0 0\n"
                "/dev/md0 %1/raid ext4 rw 0 0\n"
                "srv:/s %2 nfs rw 0 0\n")
                .arg(m, QFileInfo(dir.filePath("share")).canonicalFilePath());
    using T = vb::DriveType;
    const struct {
        QString path;
        T type;
    } cases[] = {
        {m + "/x/m.avi", T::Fixed},
        {m + "/nas/a/b/m.avi", T::Network},
        {m + "/nas/usb/m.avi", T::Removable},
        {m + "/shm/m.avi", T::Ram},
        {m + "/ram/m.avi", T::Ram},
        {m + "/win/m.AVI", T::Network},
        {m + "/ssh/m.avi", T::Network},
        {m + "/with blank/m.avi", T::Network},
        {m + "/vm/m.avi", T::Network},
        {m + "/cdrom/m.avi", T::Optical},
        {m + "/dvdram/m.avi", T::Optical},
        {m + "/over/m.avi", T::Fixed},
        {m + "/stick/m.avi", T::Removable},
        {m + "/home/m.avi", T::Fixed},
        {m + "/zram/m.avi", T::Ram},
        {m + "/img/m.avi", T::Ram},
        {m + "/crypt/m.avi", T::Removable},
        {m + "/raid/m.avi", T::Fixed},
        {dir.filePath("link/m.avi"), T::Network},
        {"//server/share/m.avi", T::Network},
        {"\\\\server\\share\\m.avi", T::Network},
    };
    for (const auto& c : cases) EXPECT_EQ(vb::TargetDriveType(c.path), c.type) << c.path.toStdString();
    vb::SetBlockDeviceProbe({}, {});
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
    // The test machine's temporary folder lies on its own disk or in RAM, never elsewhere.
    const vb::DriveType type = vb::TargetDriveType(dir.filePath("m.avi"));
    EXPECT_TRUE(type == vb::DriveType::Fixed || type == vb::DriveType::Ram) << int(type);
    EXPECT_EQ(vb::TargetDriveType(QStringLiteral("/dev/shm/m.avi")), vb::DriveType::Ram);
    const double free = vb::FreeSpace(dir.filePath("m.avi"));
    const double expected = static_cast<double>(QStorageInfo(dir.path()).bytesAvailable());
    EXPECT_NEAR(free, expected, 64.0 * 1024 * 1024);  // other writers may run meanwhile
    EXPECT_EQ(vb::Trap([&] { vb::FreeSpace(dir.filePath("gone/m.avi")); }), vb::ErrPathNotFound);
}

}  // namespace
