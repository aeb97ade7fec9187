#include "Ini.h"
#include "Sandbox.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

class IniTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path = dir.filePath("Tavix.Ini");

    void Put(const QByteArray& bytes) { testing_support::WriteFile(path, bytes); }
    QByteArray Bytes() const { return testing_support::ReadFile(path); }
};

const QByteArray kSample =
    "; settings\r\n"
    "[COMMON]\r\n"
    "[ Camera ]\r\n"
    "CameraFilterName = USB Camera \r\n"
    "GRPFILENAME=graph.grf\r\n"
    "  TEMPBITMAPFILE\t=\\temp.bmp\r\n"
    "DEFAULTSCALE=3\r\n"
    "defaultscale=4\r\n"
    "QUOTED=\"  padded  \"\r\n"
    "EQUALS=a=b\r\n"
    "[CAMERA]\r\n"
    "LATER=found only in the second section\r\n"
    "[FILE]\r\n"
    "JPEGQTY=80";

TEST_F(IniTest, Reads) {
    Put(kSample);
    const struct {
        const char* section;
        const char* key;
        const char* def;
        const char* value;
    } cases[] = {
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
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.section) + "/" + c.key);
        QString out = "junk";
        const int n = vb::GetPrivateProfileString(c.section, c.key, c.def, out, 255, path);
        EXPECT_EQ(out, QString::fromUtf8(c.value));
        EXPECT_EQ(n, out.size());
    }
}

TEST_F(IniTest, CutsAtSizeLessOneBytes) {
    const QString a300(300, u'a');
    const QString kana = QString::fromUtf8("テスト");  // three bytes each in UTF-8
    const struct {
        QString value;
        int size;
        QString expected;
    } cases[] = {
        {a300, 255, QString(254, u'a')}, {a300, 1, ""},
        {"ab" + kana, 5, "ab"},  // 4 bytes: テ would need 3 more
        {"ab" + kana, 6, "abテ"},        {"ab" + kana, 9, "abテス"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        Put("[S]\nK=" + c.value.toUtf8() + "\n");
        QString out;
        EXPECT_EQ(vb::GetPrivateProfileString("S", "K", "", out, c.size, path), c.expected.size());
        EXPECT_EQ(out, c.expected);
    }
    // The default, here of a file that is not there, is cut the same way.
    QString out;
    EXPECT_EQ(vb::GetPrivateProfileString("S", "K", a300, out, 255, dir.filePath("none.ini")), 254);
    EXPECT_EQ(out, a300.left(254));
}

TEST_F(IniTest, ReadsCp932File) {
    // [S] K=テスト in CP932, which is not valid UTF-8.
    Put("[S]\r\nK=\x83\x65\x83\x58\x83\x67\r\n");
    QString out;
    EXPECT_EQ(vb::GetPrivateProfileString("S", "K", "", out, 255, path), 3);
    EXPECT_EQ(out, QString::fromUtf8("テスト"));
    // Two bytes a character in CP932: 5 bytes hold two of them.
    EXPECT_EQ(vb::GetPrivateProfileString("S", "K", "", out, 6, path), 2);
    EXPECT_EQ(out, QString::fromUtf8("テス"));
}

TEST_F(IniTest, WriteReplacesLineInPlace) {
    const struct {
        const char* section;
        const char* key;
        const char* value;
        QByteArray before;
        QByteArray after;
    } cases[] = {
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
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.before.toStdString());
        Put(c.before);
        EXPECT_TRUE(vb::WritePrivateProfileString(c.section, c.key, QString::fromUtf8(c.value), path));
        EXPECT_EQ(Bytes(), c.after);
    }
}

TEST_F(IniTest, WriteCreatesMissingFile) {
    EXPECT_TRUE(vb::WritePrivateProfileString("FILE", "JPEGQTY", "80", path));
    EXPECT_EQ(Bytes(), QByteArray("[FILE]\r\nJPEGQTY=80\r\n"));
}

TEST_F(IniTest, WriteFailsWithoutTouchingAnything) {
    const QString missingFolder = dir.filePath("no/such/Tavix.Ini");
    EXPECT_FALSE(vb::WritePrivateProfileString("FILE", "JPEGQTY", "80", missingFolder));
    EXPECT_FALSE(QFile::exists(missingFolder));

    // A folder where the file should be.
    ASSERT_TRUE(QDir(dir.path()).mkdir("Tavix.Ini"));
    EXPECT_FALSE(vb::WritePrivateProfileString("FILE", "JPEGQTY", "80", path));
    EXPECT_TRUE(QFileInfo(path).isDir());
}

}  // namespace
