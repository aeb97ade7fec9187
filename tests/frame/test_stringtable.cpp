// The string table file, the look-up by number and the log.
#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <gtest/gtest.h>

#include "CommonModule.h"
#include "Sandbox.h"
#include "VariableDefinition.h"

using tavix::GST;
using tavix::Var;
using testing_support::Sandbox;

namespace {

// A sandbox whose string table holds exactly the given bytes.
struct TableFixture {
    Sandbox box;
    explicit TableFixture(const QByteArray& content) {
        tavix::ResetVariableDefinition();
        Var().StringTableFileName = QStringLiteral("\\Table.txt");
        box.Write(QStringLiteral("Table.txt"), content);
    }
};

QByteArray Records(int count) {
    QByteArray text;
    for (int i = 0; i < count; ++i) text += QByteArray::number(i) + ",t" + QByteArray::number(i) + "\r\n";
    return text;
}

struct ReadCase {
    const char* what;
    QByteArray content;
    bool ok;
    const char* logLine;
};

TEST(StringTableRead, AcceptsOrFailsWithTheErrorNumber) {
    const ReadCase cases[] = {
        {"plain records", "100,a\r\n200,b\r\n", true, nullptr},
        {"comment and empty lines without a comma are passed over", "# texts\r\n\r\nabc\r\n100,a\r\n", true, nullptr},
        {"LF line ends", "100,a\n200,b\n", true, nullptr},
        {"a record with no number", "abc,text\r\n", false, "ReadStringTableData Error.(13)"},
        {"the comma as first character", ",text\r\n", false, "ReadStringTableData Error.(13)"},
        {"a number beyond 32 bits", "4294967296,text\r\n", false, "ReadStringTableData Error.(6)"},
        {"an empty file", "", false, "ReadStringTableData Error.(9)"},
        {"only comments", "no records here\r\n", false, "ReadStringTableData Error.(9)"},
        {"10001 records fit", Records(10001), true, nullptr},
        {"10002 records do not", Records(10002), false, "ReadStringTableData Error.(9)"},
    };
    for (const ReadCase& c : cases) {
        TableFixture t(c.content);
        EXPECT_EQ(tavix::ReadStringTableData(), c.ok) << c.what;
        const QStringList log = t.box.LogTexts();
        if (c.logLine)
            EXPECT_EQ(log, QStringList{QString::fromLatin1(c.logLine)}) << c.what;
        else
            EXPECT_TRUE(log.isEmpty()) << c.what;
    }
}

TEST(StringTableRead, MissingFileIsError53) {
    TableFixture t("100,a\r\n");
    t.box.Remove(QStringLiteral("Table.txt"));
    EXPECT_FALSE(tavix::ReadStringTableData());
    EXPECT_EQ(t.box.LogTexts(), QStringList{QStringLiteral("ReadStringTableData Error.(53)")});
}

TEST(StringTableRead, TableIsCutToTheRecordsRead) {
    TableFixture t("1,a\r\nskip\r\n2,b\r\n1,c\r\n");
    ASSERT_TRUE(tavix::ReadStringTableData());
    ASSERT_EQ(Var().StringTable.size(), 3u);  // duplicates kept, in file order
    EXPECT_EQ(Var().StringTable[2].Id, 1);
    EXPECT_EQ(Var().StringTable[2].Text, QStringLiteral("c"));
}

TEST(StringTableLookup, TextsAndReplacements) {
    TableFixture t(
        "100,a,b\r\n"
        "101, text\r\n"
        "102,first\r\n"
        "102,second\r\n"
        "11135,Circle @\r\n"
        "103,@ and @\r\n"
        "104,no marker\r\n"
        "105,\r\n"
        " 106 ,blanks round the number\r\n");
    ASSERT_TRUE(tavix::ReadStringTableData());
    struct Case {
        const char* what;
        QString got;
        const char* want;
    } cases[] = {
        {"further commas belong to the text", GST(100), "a,b"},
        {"the blank after the comma belongs to the text", GST(101), " text"},
        {"the earlier of two records wins", GST(102), "first"},
        {"unknown number gives empty text", GST(99999), ""},
        {"replacement by a number", GST(11135, 2), "Circle 2"},
        {"replacement by a fraction", GST(11135, 2.5), "Circle 2.5"},
        {"no replacement keeps the marker", GST(11135), "Circle @"},
        {"every marker is replaced", GST(103, QStringLiteral("x")), "x and x"},
        {"replacement without a marker has no effect", GST(104, QStringLiteral("x")), "no marker"},
        {"an empty text", GST(105), ""},
        {"blanks round the number", GST(106), "blanks round the number"},
    };
    for (const Case& c : cases) EXPECT_EQ(c.got.toStdString(), std::string(c.want)) << c.what;
    EXPECT_TRUE(t.box.LogTexts().isEmpty());
}

TEST(StringTableLookup, BeforeReadingIsATrappedError) {
    Sandbox box;
    tavix::ResetVariableDefinition();
    EXPECT_EQ(GST(100), QString());
    EXPECT_EQ(box.LogTexts(), QStringList{QStringLiteral("GST Error.(9)")});
}

TEST(StringTableRead, Cp932AndUtf8FilesReadAlike) {
    const QString text = QStringLiteral("計測結果保存");
    QStringEncoder toUtf8(QStringEncoder::Utf8);
    const QByteArray utf8 = "10012," + QByteArray(toUtf8(text)) + "\r\n";
    // The same text as a Windows machine writes it (Shift-JIS / CP932).
    const QByteArray cp932 = QByteArray("10012,") + QByteArray::fromHex("8c7691aa8c8b89ca95db91b6") + "\r\n";
    for (const QByteArray& bytes : {utf8, cp932}) {
        TableFixture t(bytes);
        ASSERT_TRUE(tavix::ReadStringTableData());
        EXPECT_EQ(GST(10012), text);
    }
}

TEST(StringTableRead, HostileFilesFailCleanlyOrRead) {
    QByteArray big(1 << 20, 'x');
    big.prepend("100,");
    const struct {
        const char* what;
        QByteArray content;
    } cases[] = {
        {"NUL bytes", QByteArray("100,a\0b\r\n\0\0,\r\n", 14)},
        {"a megabyte line", big},
        {"a CP932 lead byte at the end", "100,\x82"},
        {"a byte-order mark",
         "\xEF\xBB\xBF"
         "100,a\r\n"},
        {"carriage returns only", "100,a\r200,b\r"},
        {"binary garbage", QByteArray::fromHex("89504e470d0a1a0a0000000d49484452")},
    };
    for (const auto& c : cases) {
        TableFixture t(c.content);
        const bool ok = tavix::ReadStringTableData();
        const QStringList log = t.box.LogTexts();
        if (ok) {
            EXPECT_TRUE(log.isEmpty()) << c.what;
            EXPECT_FALSE(Var().StringTable.empty()) << c.what;
        } else {
            ASSERT_EQ(log.size(), 1) << c.what;
            EXPECT_TRUE(log[0].startsWith(QLatin1String("ReadStringTableData Error.("))) << c.what;
        }
    }
}

TEST(Log, LinesCarryTheTimeAndSurviveAnUnwritableLog) {
    Sandbox box;
    tavix::WriteLog(QStringLiteral("one"));
    tavix::WriteLog(QStringLiteral("two"));
    const QByteArray raw = box.Read(QStringLiteral("Error.Log"));
    EXPECT_EQ(box.LogTexts(), (QStringList{QStringLiteral("one"), QStringLiteral("two")}));
    EXPECT_TRUE(raw.endsWith("two\r\n"));
    // The log only grows.
    tavix::WriteLog(QStringLiteral("three"));
    EXPECT_TRUE(box.Read(QStringLiteral("Error.Log")).startsWith(raw));

    box.Remove(QStringLiteral("Error.Log"));
    ASSERT_TRUE(QDir(box.Path()).mkdir(QStringLiteral("Error.Log")));
    tavix::WriteLog(QStringLiteral("lost"));  // must not throw or crash
    SUCCEED();
}

}  // namespace
