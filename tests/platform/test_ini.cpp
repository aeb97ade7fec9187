// The settings file: reading keys of sections, cutting to the caller's buffer, writing in place.
#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

#include "Ini.h"
#include "Sandbox.h"

namespace {

class IniTest : public testing_support::TempDirTest {
protected:
    QString path = dir.filePath("Tavix.Ini");
    QString Get(const char* section, const char* key, const QString& def, int size = 255) {
        QString out = "junk";
        const int n = vb::GetPrivateProfileString(section, key, def, out, size, path);
        EXPECT_EQ(n, out.size()) << "the count is of what was given";
        return out;
    }
};

TEST_F(IniTest, Reads) {
    Put("Tavix.Ini",
        "; settings\r\n[COMMON]\r\n[ Camera ]\r\nCameraFilterName = USB Camera \r\nGRPFILENAME=graph.grf\r\n"
        "  TEMPBITMAPFILE\t=\\temp.bmp\r\nDEFAULTSCALE=3\r\ndefaultscale=4\r\nQUOTED=\"  padded  \"\r\n"
        "EQUALS=a=b\r\n[CAMERA]\r\nLATER=found only in the second section\r\n[FILE]\r\nJPEGQTY=80");
    const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
        // section, key, default, value
        {"camera", "cameraFilterName", "", "USB Camera"},
        {" CAMERA\t", " CAMERAFILTERNAME ", "", "USB Camera"},
        {"CAMERA", "TEMPBITMAPFILE ", "", "\\temp.bmp"},
        {"CAMERA", "DEFAULTSCALE", "", "3"},
        {"CAMERA", "QUOTED", "", "  padded  "},
        {"CAMERA", "EQUALS", "", "a=b"},
        {"CAMERA", "LATER", "dflt", "dflt"},
        {"COMMON", "GRPFILENAME", "", ""},
        {"FILE", "JPEGQTY", "", "80"},
        {"NOSECTION", "JPEGQTY", "d  ", "d"},
    };
    for (const auto& [section, key, def, value] : cases) EXPECT_EQ(Get(section, key, def), QString(value)) << key;
}

TEST_F(IniTest, CutsAtSizeLessOneBytes) {
    const QByteArray a300(300, 'a'), kana = "[S]\nK=ab\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88\n";  // abテスト
    const std::tuple<QByteArray, int, QString> cases[] = {
        // the file, the size given, what is read
        {"[S]\nK=" + a300, 255, QString(254, u'a')},
        {"[S]\nK=" + a300, 1, ""},
        {kana, 5, "ab"},  // 4 bytes: テ would need 3 more
        {kana, 6, "abテ"},
        {kana, 9, "abテス"},
        {"[S]\r\nK=\x83\x65\x83\x58\x83\x67\r\n", 255, "テスト"},  // CP932, not valid UTF-8
        {"[S]\r\nK=\x83\x65\x83\x58\x83\x67\r\n", 6, "テス"},      // two bytes a character
    };
    for (const auto& [file, size, expected] : cases) {
        Put("Tavix.Ini", file);
        EXPECT_EQ(Get("S", "K", "", size), expected) << size;
    }
    // The default, here of a file that is not there, is cut the same way.
    path = dir.filePath("none.ini");
    EXPECT_EQ(Get("S", "K", a300), QString(a300.left(254)));
}

TEST_F(IniTest, WriteReplacesLineInPlace) {
    // Section, key, value; the file before (null: no file) and after.
    const std::tuple<const char*, const char*, const char*, QByteArray, QByteArray> cases[] = {
        // The key is written as passed, trimmed; other lines keep their own line ends.
        {"measure", "ScaleX ", "7", "[MEASURE]\nscalex = 1 \r\nSCALEY=1\n[X]\r\nSCALEX=0",
         "[MEASURE]\nScaleX=7\r\nSCALEY=1\n[X]\r\nSCALEX=0"},
        // The first of two equal keys is the one replaced.
        {"A", "K", "new", "[A]\r\nK=1\r\nK=2\r\n", "[A]\r\nK=new\r\nK=2\r\n"},
        // A last line without a line end stays without one.
        {"A", "K", "v", "[A]\r\nK=old", "[A]\r\nK=v"},
        // A CP932 file stays CP932.
        {"S", "N", "ト", "[S]\r\nK=\x83\x65\r\nN=1\r\n", "[S]\r\nK=\x83\x65\r\nN=\x83\x67\r\n"},
        // Adding to a section: after its last key, before blank lines and the next section.
        {"A", "NEW", "1", "[A]\r\nK=1\r\n;note\r\n\r\n[B]\r\nX=1\r\n",
         "[A]\r\nK=1\r\nNEW=1\r\n;note\r\n\r\n[B]\r\nX=1\r\n"},
        {"B", "NEW", "1", "[A]\nK=1\n[B]\nX=1", "[A]\nK=1\n[B]\nX=1\nNEW=1\n"},
        // A new section goes at the end, with the file's line ends.
        {"C", "K", "1", "[A]\nK=1\n", "[A]\nK=1\n[C]\nK=1\n"},
        {"C", "K", "1", "", "[C]\r\nK=1\r\n"},
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

}  // namespace
