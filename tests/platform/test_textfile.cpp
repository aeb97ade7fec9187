#include "App.h"
#include "Errors.h"
#include "TextFile.h"
#include "Sandbox.h"

using testing_support::ReadFile;

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

using TextFileTest = testing_support::TempDirTest;

TEST(DecodeText, PicksUtf8OrCp932) {
    const std::pair<QByteArray, const char*> cases[] = {
        // the bytes, and their text in UTF-8
        {"", ""},
        {"\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88", "テスト"},
        {QByteArray("\xEF\xBB\xBF") + "abc", "abc"},
        {"10,\x83\x65\x83\x58\x83\x67\r\n", "10,テスト\r\n"},
        {"\xB1\xB2", "ｱｲ"},  // half-width katakana, one byte each
        // A broken lead byte costs one character, not the line feed behind it.
        {"a\x83\nb", "a\xEF\xBF\xBD\nb"},
    };
    for (const auto& [bytes, text] : cases)
        EXPECT_EQ(vb::DecodeText(bytes), QString(text)) << bytes.toHex().toStdString();
}

TEST_F(TextFileTest, ReadErrorsAndFileExists) {
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    for (const auto& [name, error] : {std::pair{"missing.txt", vb::ErrFileNotFound},
                                      {"nofolder/x.txt", vb::ErrPathNotFound},
                                      {"sub", vb::ErrPathFileAccess}})
        EXPECT_EQ(vb::Trap([&] { vb::ReadTextLines(dir.filePath(name)); }), error) << name;
    // Only a file exists as one.
    EXPECT_TRUE(vb::FileExists(Put("empty.txt", "")));
    for (const char* name : {"b.bmp", "sub", ""}) EXPECT_FALSE(vb::FileExists(*name ? dir.filePath(name) : "")) << name;
}

TEST_F(TextFileTest, WritesThroughATemporaryFileWithCrLf) {
    const QString path = Put("out.txt", "old content that is longer than the new one\n");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    ASSERT_TRUE(QFile::link(path, dir.filePath("link.txt")));
    // Through the link: the file it names is replaced with its permissions, the link stays.
    ASSERT_EQ(vb::WriteTextFileSafely(dir.filePath("link.txt"), {"1,2", QString::fromUtf8("テ"), ""}), 0);
    EXPECT_EQ(ReadFile(path), QByteArray("1,2\r\n\xE3\x83\x86\r\n\r\n"));
    EXPECT_EQ(QFile::permissions(path),
              QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadUser | QFile::WriteUser);
    EXPECT_TRUE(QFileInfo(dir.filePath("link.txt")).isSymLink());

    EXPECT_EQ(vb::WriteTextFileSafely(dir.filePath("nofolder/out.txt"), {"x"}), vb::ErrPathNotFound);
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    EXPECT_EQ(vb::WriteTextFileSafely(dir.filePath("sub"), {"x"}), vb::ErrPathFileAccess);
    // No temporary files are left beside the target.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList({"link.txt", "out.txt"}));

    // A line appended to a log, also to one that is there.
    EXPECT_TRUE(vb::AppendTextLine(dir.filePath("Error.Log"), "first") &&
                vb::AppendTextLine(dir.filePath("Error.Log"), "二"));
    EXPECT_EQ(ReadFile(dir.filePath("Error.Log")), QByteArray("first\r\n\xE4\xBA\x8C\r\n"));
    EXPECT_FALSE(vb::AppendTextLine(dir.filePath("nofolder/Error.Log"), "x"));
}

TEST(AppPaths, JoinsWithoutAddingSeparators) {
    vb::App::SetPath("/opt/tavix/");
    EXPECT_EQ(vb::AppPathJoin("\\data\\Guidance.txt"), "/opt/tavix/data/Guidance.txt");
    EXPECT_EQ(vb::AppPathJoin("name.txt"), "/opt/tavixname.txt");
    // Without a path set, the executable's own folder is used, without a trailing separator.
    vb::App::SetPath(QString());
    EXPECT_FALSE(vb::App::Path().endsWith('/'));
    EXPECT_TRUE(QFileInfo(vb::App::Path()).isDir());
}

}  // namespace
