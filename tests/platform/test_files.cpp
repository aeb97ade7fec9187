// Files: the settings file, text files and logs, the data folder, the drive of a movie, pictures.
#include <QBuffer>
#include <QStorageInfo>
#include <gtest/gtest.h>

#include "App.h"
#include "DataFolder.h"
#include "Drive.h"
#include "Errors.h"
#include "Ini.h"
#include "Pictures.h"
#include "Sandbox.h"
#include "TextFile.h"

using testing_support::ReadFile;
using testing_support::WriteFile;
using vb::ProgramFolder;

namespace {

// The settings file: reading keys of sections, writing in place.
struct IniTest : testing_support::TempDirTest {
    QString path = dir.filePath("Tavix.Ini");
};

TEST_F(IniTest, ReadsQuotedValuesAndTrimsTheDefault) {
    Put("Tavix.Ini", "[ Camera ]\r\nQUOTED=\"  padded  \"\r\n");
    for (const auto& [key, def, expected] : {std::tuple{"quoted", "", "  padded  "}, {"JPEGQTY", "d  ", "d"}}) {
        QString out = "junk";
        EXPECT_EQ(vb::GetPrivateProfileString("camera", key, def, out, 255, path), QString(expected).size()) << key;
        EXPECT_EQ(out, expected);
    }
}

TEST_F(IniTest, WriteReplacesLineInPlace) {
    // Section, key, value; the file before (null: no file) and after.
    const std::tuple<const char*, const char*, const char*, QByteArray, QByteArray> cases[] = {
        // The key is written as passed, trimmed; other lines keep their own line ends.
        {"measure", "ScaleX ", "7", "[MEASURE]\nscalex = 1 \r\nSCALEY=1\n[X]\r\nSCALEX=0",
         "[MEASURE]\nScaleX=7\r\nSCALEY=1\n[X]\r\nSCALEX=0"},
        // Adding to a section after its last key, which had no line end.
        {"B", "NEW", "1", "[A]\nK=1\n[B]\nX=1", "[A]\nK=1\n[B]\nX=1\nNEW=1\n"},
        // A CP932 file stays CP932.
        {"S", "N", "ト", "[S]\r\nK=\x83\x65\r\nN=1\r\n", "[S]\r\nK=\x83\x65\r\nN=\x83\x67\r\n"},
        // Adding to a section: after its last key, before blank lines and the next section.
        {"A", "NEW", "1", "[A]\r\nK=1\r\n;note\r\n\r\n[B]\r\nX=1\r\n",
         "[A]\r\nK=1\r\nNEW=1\r\n;note\r\n\r\n[B]\r\nX=1\r\n"},
        // A new section goes at the end, with the file's line ends.
        {"C", "K", "1", "[A]\nK=1\n", "[A]\nK=1\n[C]\nK=1\n"},
        {"FILE", "JPEGQTY", "80", {}, "[FILE]\r\nJPEGQTY=80\r\n"},
    };
    for (const auto& [section, key, value, before, after] : cases) {
        QFile::remove(path);
        if (!before.isNull()) Put("Tavix.Ini", before);
        EXPECT_TRUE(vb::WritePrivateProfileString(section, key, value, path));
        EXPECT_EQ(testing_support::ReadFile(path), after) << before.toStdString();
    }
    // A missing folder, or a folder where the file should be: nothing is made or touched.
    EXPECT_FALSE(vb::WritePrivateProfileString("FILE", "JPEGQTY", "80", dir.filePath("no/such/Tavix.Ini")));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath("no")));
    QFile::remove(path);
    ASSERT_TRUE(QDir(dir.path()).mkdir("Tavix.Ini"));
    EXPECT_FALSE(vb::WritePrivateProfileString("FILE", "JPEGQTY", "80", path));
    EXPECT_TRUE(QFileInfo(path).isDir());
}

using TextFileTest = testing_support::TempDirTest;

TEST_F(TextFileTest, ReadErrorsAndFileExists) {
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    for (const auto& [name, error] : {std::pair{"nofolder/x.txt", vb::ErrPathNotFound}, {"sub", vb::ErrPathFileAccess}})
        EXPECT_EQ(vb::Trap([&] { vb::ReadTextLines(dir.filePath(name)); }), error) << name;
    // Only a file exists as one.
    for (const QString& path : {dir.filePath("sub"), QString()})
        EXPECT_FALSE(vb::FileExists(path)) << path.toStdString();
}

TEST(AppPaths, JoinsWithoutAddingSeparators) {
    vb::App::SetPath("/opt/tavix/");
    EXPECT_EQ(vb::AppPathJoin("\\data\\Guidance.txt"), "/opt/tavix/data/Guidance.txt");
    EXPECT_EQ(vb::AppPathJoin("name.txt"), "/opt/tavixname.txt");
    vb::App::SetPath(QString());
}

// Where an installation's files live: the program's folder or the user's, and the first copy.
TEST(DataFolder, ChoiceByProgramFolderAndEnvironment) {
    using P = ProgramFolder;
    // The program lies in /opt/t/bin. Each row: its kind, the environment (NAME=value), the data folder, the
    // folder shipped files come from ("": none; both empty: no folder, an error).
    const std::tuple<ProgramFolder, QStringList, const char*, const char*> rows[] = {
        // A writable ini keeps the portable folder; a read-only one seeds the user's folder.
        {P::WritableIni, {"HOME=/h"}, "/opt/t/bin", ""},
        {P::ReadOnlyIni, {"HOME=/h"}, "/h/.config/tavix", "/opt/t/bin"},
        // Installed: English by default, Japanese for a ja locale; LC_ALL, then LC_MESSAGES win over LANG.
        {P::NoIni, {"HOME=/h/"}, "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {P::NoIni, {"HOME=/h", "LANG=ja_JP.UTF-8", "LC_ALL=C.UTF-8"}, "/h/.config/tavix", "/opt/t/share/tavix/en"},
        {P::NoIni, {"HOME=/h", "LANG=C", "LC_MESSAGES=ja_JP"}, "/h/.config/tavix", "/opt/t/share/tavix/ja"},
        // XDG_CONFIG_HOME wins over HOME, unless it is relative.
        {P::NoIni, {"HOME=/h", "XDG_CONFIG_HOME=/x"}, "/x/tavix", "/opt/t/share/tavix/en"},
        {P::NoIni, {"HOME=/h", "XDG_CONFIG_HOME=x"}, "/h/.config/tavix", "/opt/t/share/tavix/en"},
        // No HOME: no folder.
        {P::NoIni, {"LANG=ja_JP"}, "", ""},
    };
    for (const auto& [kind, vars, path, shipped] : rows) {
        QProcessEnvironment env(QProcessEnvironment::InheritFromParent);
        env.clear();
        for (const QString& pair : vars) env.insert(pair.section(u'=', 0, 0), pair.section(u'=', 1));
        const vb::DataFolderChoice choice = vb::ChooseDataFolder(QStringLiteral("/opt/t/bin"), kind, env);
        EXPECT_EQ(std::tuple(choice.Path, choice.Shipped, choice.Error.isEmpty()),
                  std::tuple(QString(path), QString(shipped), *path != 0))
            << vars.join(' ').toStdString();
    }
}

using DataFolderTest = testing_support::TempDirTest;

TEST_F(DataFolderTest, PortableWithItsIniElseTheFirstStartCopiesAndLaterStartsKeep) {
    EXPECT_EQ(vb::ProgramFolderOf(dir.path()), ProgramFolder::NoIni);
    QFile(dir.filePath("Tavix.Ini")).open(QIODevice::WriteOnly);
    EXPECT_EQ(vb::ProgramFolderOf(dir.path()), ProgramFolder::WritableIni);

    // A read-only portable folder: its programs and its log stay behind.
    const QString shipped = dir.filePath("shipped");
    ASSERT_TRUE(QDir().mkpath(shipped));
    for (const char* name : {"Tavix.Ini", "Proof.txt", "Error.Log", "tavix"}) WriteFile(shipped + '/' + name, name);
    QFile::setPermissions(shipped + "/tavix", QFile::ReadOwner | QFile::ExeOwner);
    // The parent folder does not exist yet, as ~/.config on a new account.
    const vb::DataFolderChoice choice{dir.filePath("config/tavix"), shipped, {}};

    ASSERT_EQ(vb::PrepareDataFolder(choice), QString());
    EXPECT_EQ(QDir(choice.Path).entryList(QDir::Files), (QStringList{"Proof.txt", "Tavix.Ini"}));
    EXPECT_EQ(ReadFile(choice.Path + "/Proof.txt"), "Proof.txt");
    EXPECT_EQ(QDir(dir.filePath("config")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{"tavix"});

    // The user's changes survive the next start.
    WriteFile(choice.Path + "/Tavix.Ini", "changed");
    ASSERT_EQ(vb::PrepareDataFolder(choice), QString());
    EXPECT_EQ(ReadFile(choice.Path + "/Tavix.Ini"), "changed");

    // Without shipped files nothing is made that a later start would take for finished.
    const vb::DataFolderChoice broken{dir.filePath("other/tavix"), dir.filePath("none"), {}};
    EXPECT_NE(vb::PrepareDataFolder(broken), QString());
    EXPECT_FALSE(QFileInfo::exists(broken.Path));
}

// The target drive of a movie: what holds its folder, and the free space.
struct DriveProbe : testing_support::TempDirTest {
    QString table;
    void SetUp() override {
        vb::SetDriveProbe([this] { return table; }, {});
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
        {"u@host:/ %1/ssh fuse.sshfs", m + "/ssh/m.avi", T::Network},
        {"srv:/b %1/with\\040blank nfs", m + "/with blank/m.avi", T::Network},
        {"/dev/sr0 %1/cdrom iso9660", m + "/cdrom/m.avi", T::Optical},
        {"/dev/sr0 %1/dvdram ext2", m + "/dvdram/m.avi", T::Optical},
        {"/dev/sdc1 %1/over cifs rw 0 0\n/dev/sdc1 %1/over ext4", m + "/over/m.avi", T::Fixed},  // the later one
        {"/dev/sdb2 %1/stick fuseblk", m + "/stick/m.avi", T::Removable},  // FUSE, but on a local disk
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

// Picture files: SavePicture writes what Qt writes for the picture as RGB32, and LoadPicture reads it back.
using PictureTest = testing_support::TempDirTest;

TEST_F(PictureTest, SavesWhatQtWritesForRgb32) {
    // With an alpha channel; an odd width, so BMP rows need padding; large enough to be read
    // back into huge pages.
    QImage img(1101, 1000, QImage::Format_ARGB32);
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x) img.setPixel(x, y, qRgb(x, y, x ^ y));
    img.setDotsPerMeterX(5000);
    const QImage rgb = img.convertToFormat(QImage::Format_RGB32);
    QByteArray bmp;
    QBuffer buffer(&bmp);
    ASSERT_TRUE(buffer.open(QIODevice::WriteOnly) && rgb.save(&buffer, "BMP"));
    // Left over from a larger picture: a scratch write over it must not keep its tail.
    const QString path = Put("out.bmp", QByteArray(6 * 1024 * 1024, 'x'));
    vb::SavePicture(img, path, true);
    EXPECT_TRUE(ReadFile(path) == bmp && vb::LoadPicture(path) == rgb);
}

}  // namespace
