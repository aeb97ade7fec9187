#include "App.h"
#include "Errors.h"
#include "TextFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

namespace {

class TextFileTest : public ::testing::Test {
protected:
    QTemporaryDir dir;

    void SetUp() override { ASSERT_TRUE(dir.isValid()); }

    QString Put(const QString& name, const QByteArray& bytes) {
        const QString path = dir.filePath(name);
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        return path;
    }

    static QByteArray Bytes(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
    }
};

TEST(DecodeText, PicksUtf8OrCp932) {
    struct Case {
        QByteArray bytes;
        const char* text;  // UTF-8
    };
    const Case cases[] = {
        {"", ""},
        {"plain ascii\r\n", "plain ascii\r\n"},
        {"\xE3\x83\x86\xE3\x82\xB9\xE3\x83\x88", "テスト"},
        {"\xEF\xBB\xBF" "abc", "abc"},
        {"\x83\x65\x83\x58\x83\x67", "テスト"},
        {"10000,\x8A\x4A\x82\xAD\r\n", "10000,開く\r\n"},
        {"\xB1\xB2", "ｱｲ"},  // half-width katakana, one byte each
        // A broken lead byte costs one character, not the line feed behind it.
        {"a\x83\nb", "a\xEF\xBF\xBD\nb"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes.toHex().toStdString());
        EXPECT_EQ(vb::DecodeText(c.bytes), QString::fromUtf8(c.text));
    }
}

TEST_F(TextFileTest, ReadsLines) {
    struct Case {
        QByteArray bytes;
        QStringList lines;
    };
    const Case cases[] = {
        {"", {}},
        {"a", {"a"}},
        {"a\r\n", {"a"}},
        {"a\n", {"a"}},
        {"a\r\nb", {"a", "b"}},
        {"a\nb\r\nc\n", {"a", "b", "c"}},
        {"\r\n\r\n", {"", ""}},
        {"a\rb\r\n", {"a\rb"}},
        {"10,\x83\x65\x83\x58\x83\x67\r\n11,x\r\n", {QString::fromUtf8("10,テスト"), "11,x"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.bytes.toHex().toStdString());
        const QString path = Put("lines.txt", c.bytes);
        QStringList got;
        EXPECT_EQ(vb::Trap([&] { got = vb::ReadTextLines(path); }), 0);
        EXPECT_EQ(got, c.lines);
    }
}

TEST_F(TextFileTest, ReadErrors) {
    struct Case {
        QString path;
        int error;
    };
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    const Case cases[] = {
        {dir.filePath("missing.txt"), vb::ErrFileNotFound},
        {dir.filePath("nofolder/missing.txt"), vb::ErrPathNotFound},
        {dir.filePath("sub"), 75},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        EXPECT_EQ(vb::Trap([&] { vb::ReadTextLines(c.path); }), c.error);
    }
}

TEST_F(TextFileTest, WritesAtomicallyWithCrLf) {
    const QString path = Put("out.txt", "old content that is longer than the new one\n");
    ASSERT_TRUE(vb::WriteTextFileAtomic(path, {"1,2", QString::fromUtf8("テ"), ""}));
    EXPECT_EQ(Bytes(path), QByteArray("1,2\r\n\xE3\x83\x86\r\n\r\n"));
    EXPECT_EQ(vb::ReadTextLines(path), QStringList({"1,2", QString::fromUtf8("テ"), ""}));

    ASSERT_TRUE(vb::WriteTextFileAtomic(path, {}));
    EXPECT_EQ(Bytes(path), QByteArray());

    EXPECT_FALSE(vb::WriteTextFileAtomic(dir.filePath("nofolder/out.txt"), {"x"}));
    EXPECT_FALSE(QFile::exists(dir.filePath("nofolder/out.txt")));
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    EXPECT_FALSE(vb::WriteTextFileAtomic(dir.filePath("sub"), {"x"}));
    // No temporary files are left beside the target.
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::Files), QStringList({"out.txt"}));
}

TEST_F(TextFileTest, AppendsLines) {
    const QString path = dir.filePath("Error.Log");
    EXPECT_TRUE(vb::AppendTextLine(path, "first"));
    EXPECT_TRUE(vb::AppendTextLine(path, QString::fromUtf8("二行目")));
    EXPECT_EQ(Bytes(path), QByteArray("first\r\n\xE4\xBA\x8C\xE8\xA1\x8C\xE7\x9B\xAE\r\n"));
    EXPECT_FALSE(vb::AppendTextLine(dir.filePath("nofolder/Error.Log"), "x"));
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    EXPECT_FALSE(vb::AppendTextLine(dir.filePath("sub"), "x"));
}

TEST_F(TextFileTest, FileExists) {
    const QString file = Put("a.bmp", "x");
    ASSERT_TRUE(QDir(dir.path()).mkdir("sub"));
    EXPECT_TRUE(vb::FileExists(file));
    EXPECT_TRUE(vb::FileExists(Put("empty.txt", "")));
    EXPECT_FALSE(vb::FileExists(dir.filePath("b.bmp")));
    EXPECT_FALSE(vb::FileExists(dir.filePath("sub")));
    EXPECT_FALSE(vb::FileExists(""));
}

TEST(AppPaths, JoinsWithoutAddingSeparators) {
    vb::App::SetPath("/opt/tavix/");
    struct Case {
        const char* rel;
        const char* path;
    };
    const Case cases[] = {
        {"\\Tavix.Ini", "/opt/tavix/Tavix.Ini"},
        {"\\data\\Guidance.txt", "/opt/tavix/data/Guidance.txt"},
        {"/Error.Log", "/opt/tavix/Error.Log"},
        {"name.txt", "/opt/tavixname.txt"},
        {"", "/opt/tavix"},
    };
    for (const Case& c : cases) EXPECT_EQ(vb::AppPathJoin(c.rel), QString(c.path)) << c.rel;

    // Without a path set, the executable's own folder is used.
    vb::App::SetPath(QString());
    const QString own = vb::App::Path();
    EXPECT_FALSE(own.isEmpty());
    EXPECT_FALSE(own.endsWith('/'));
    EXPECT_TRUE(QFileInfo(own).isDir());
    EXPECT_EQ(own, QFileInfo(own).canonicalFilePath());
}

}  // namespace
