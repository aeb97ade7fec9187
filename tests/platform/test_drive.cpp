// The target drive of a movie: what holds its folder, and the free space.
#include <QDir>
#include <QFileInfo>
#include <QStorageInfo>
#include <gtest/gtest.h>

#include "Drive.h"
#include "Errors.h"
#include "Sandbox.h"

namespace {

struct DriveProbe : testing_support::TempDirTest {
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
    void TearDown() override { vb::SetDriveProbe({}, {}), vb::SetBlockDeviceProbe({}, {}); }
};

// A sysfs tree with fixed disks (sda, sdc), a USB stick (sdb), a CD drive, a RAM disk, a loop
// device on a file in RAM, an encrypted volume on the stick and an md array on sda.
void MakeSysfs(const QString& sys, const QString& loopFile) {
    const auto file = [&](const QString& path, const QByteArray& text) {
        QDir().mkpath(QFileInfo(sys + path).path());
        testing_support::WriteFile(sys + path, text);
    };
    const auto link = [&](const QString& device, const QString& name) {
        QDir().mkpath(QFileInfo(sys + name).path());
        ASSERT_TRUE(QFile::link(sys + "/devices/" + device, sys + name));
    };
    for (const QString disk : {"sda", "sdb", "sdc"}) {
        file("/devices/" + disk + "/removable", disk == "sdb" ? "1\n" : "0\n");
        for (const QString& part : {disk + "1", disk + "2"}) {
            file("/devices/" + disk + "/" + part + "/partition", "1\n");
            link(disk + "/" + part, "/class/block/" + part);
        }
    }
    file("/devices/sr0/removable", "0\n");  // many CD drives say 0: their SCSI type tells
    file("/devices/sr0/device/type", "5\n");
    file("/devices/zram0/removable", "0\n");
    file("/devices/loop0/loop/backing_file", loopFile.toUtf8() + "\n");
    for (const QString dev : {"sr0", "zram0", "loop0", "dm-0", "md0"}) link(dev, "/class/block/" + dev);
    link("sdb/sdb1", "/devices/dm-0/slaves/sdb1");
    link("dm-0", "/dev/block/252:0");
    link("sda/sda2", "/devices/md0/slaves/sda2");
    link("md0", "/dev/block/9:0");
}

TEST_F(DriveProbe, WhatHoldsTheFolderByMountTableAndSysfs) {
    ASSERT_TRUE(QDir(dir.path()).mkdir("share"));
    ASSERT_TRUE(QFile::link(dir.filePath("share"), dir.filePath("link")));
    const QString m = QStringLiteral("/tavix-no-such-root");
    MakeSysfs(dir.filePath("sys"), m + "/shm/disk.img");
    // Encrypted and md volumes are found by the folder's device number, the rest by the source.
    vb::SetBlockDeviceProbe(
        [&](const QString& folder) {
            return folder.startsWith(m + "/crypt") ? "252:0" : folder.startsWith(m + "/raid") ? "9:0" : QString();
        },
        dir.filePath("sys"));
    using T = vb::DriveType;
    // A line of the mount table (%1: the root above, %2: the folder the link leads to), and a
    // movie in a folder and what holds it.
    const std::tuple<const char*, QString, T> cases[] = {
        {"/dev/sda1 / ext4", m + "/x/m.avi", T::Fixed},
        {"srv:/export %1/nas nfs4", m + "/nas/a/b/m.avi", T::Network},
        {"/dev/sdb1 %1/nas/usb vfat", m + "/nas/usb/m.avi", T::Removable},
        {"tmpfs %1/shm tmpfs", m + "/shm/m.avi", T::Ram},
        {"none %1/ram ramfs", m + "/ram/m.avi", T::Ram},
        {"//srv/share %1/win cifs", m + "/win/m.AVI", T::Network},
        {"u@host:/ %1/ssh fuse.sshfs", m + "/ssh/m.avi", T::Network},
        {"srv:/b %1/with\\040blank nfs", m + "/with blank/m.avi", T::Network},
        {"host0 %1/vm 9p", m + "/vm/m.avi", T::Network},
        {"/dev/sr0 %1/cdrom iso9660", m + "/cdrom/m.avi", T::Optical},
        {"/dev/sr0 %1/dvdram ext2", m + "/dvdram/m.avi", T::Optical},
        {"/dev/sdc1 %1/over cifs rw 0 0\n/dev/sdc1 %1/over ext4", m + "/over/m.avi", T::Fixed},  // the later one
        {"/dev/sdb2 %1/stick fuseblk", m + "/stick/m.avi", T::Removable},
        {"/dev/sda2 %1/home btrfs", m + "/home/m.avi", T::Fixed},
        {"/dev/zram0 %1/zram ext4", m + "/zram/m.avi", T::Ram},
        {"/dev/loop0 %1/img ext4", m + "/img/m.avi", T::Ram},
        {"/dev/mapper/secret %1/crypt ext4", m + "/crypt/m.avi", T::Removable},
        {"/dev/md0 %1/raid ext4", m + "/raid/m.avi", T::Fixed},
        {"srv:/s %2 nfs", dir.filePath("link/m.avi"), T::Network},
        {"", "//server/share/m.avi", T::Network},
        {"", "\\\\server\\share\\m.avi", T::Network},
    };
    for (const auto& [mount, path, type] : cases)
        if (*mount) table += mount + QStringLiteral(" rw 0 0\n");
    table = table.arg(m, QFileInfo(dir.filePath("share")).canonicalFilePath());
    for (const auto& [mount, path, type] : cases) EXPECT_EQ(vb::TargetDriveType(path), type) << path.toStdString();
}

TEST_F(DriveProbe, FreeSpaceOfTheTargetsFolder) {
    free = 5e9;
    EXPECT_DOUBLE_EQ(vb::FreeSpace(dir.filePath("m.avi")), 5e9);
    EXPECT_EQ(asked, QStringList{dir.path()});
    free.reset();
    EXPECT_EQ(vb::Trap([&] { vb::FreeSpace(dir.filePath("m.avi")); }), vb::ErrPathNotFound);
}

TEST_F(DriveProbe, RealLookUpsOnceTheProbeIsGone) {
    vb::SetDriveProbe({}, {});
    // The test machine's temporary folder lies on its own disk or in RAM, never elsewhere.
    const vb::DriveType type = vb::TargetDriveType(dir.filePath("m.avi"));
    EXPECT_TRUE(type == vb::DriveType::Fixed || type == vb::DriveType::Ram) << int(type);
    EXPECT_EQ(vb::TargetDriveType(QStringLiteral("/dev/shm/m.avi")), vb::DriveType::Ram);
    // Other writers may run meanwhile.
    EXPECT_NEAR(vb::FreeSpace(dir.filePath("m.avi")), QStorageInfo(dir.path()).bytesAvailable(), 64.0 * 1024 * 1024);
    EXPECT_EQ(vb::Trap([&] { vb::FreeSpace(dir.filePath("gone/m.avi")); }), vb::ErrPathNotFound);
}

}  // namespace
