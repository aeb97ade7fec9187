// The string table file, the look-up by number and the shipped tables.
#include <QDirIterator>
#include <QRegularExpression>
#include <gtest/gtest.h>
#include <map>
#include <optional>

#include "CommonModule.h"
#include "IniConfig.h"
#include "Sandbox.h"
#include "VariableDefinition.h"

using tavix::GST;
using tavix::Var;
using testing_support::Sandbox;

namespace {

// A sandbox whose string table holds exactly the given bytes (none: no file).
struct TableFixture {
    Sandbox box;
    explicit TableFixture(const std::optional<QByteArray>& content) {
        tavix::ResetVariableDefinition();
        Var().StringTableFileName = QStringLiteral("\\Table.txt");
        if (content) box.Write(QStringLiteral("Table.txt"), *content);
    }
};

QByteArray Records(int count) {
    QByteArray text;
    for (int i = 0; i < count; ++i) text += QByteArray::number(i) + ",t" + QByteArray::number(i) + "\r\n";
    return text;
}

TEST(StringTableRead, AcceptsOrFailsWithTheErrorNumber) {
    const struct {
        const char* what;
        std::optional<QByteArray> content;
        int error;  // 0: read
        const char* text100 = "";
    } cases[] = {
        {"comment and empty lines without a comma are passed over", "# texts\r\n\r\nabc\r\n100,a\r\n", 0, "a"},
        {"LF line ends", "100,a\n200,b\n", 0, "a"},
        {"a byte-order mark", QByteArray("\xEF\xBB\xBF") + "100,a\r\n", 0, "a"},
        // A lone carriage return ends no line: the whole file is one record.
        {"carriage returns only", "100,a\r200,b\r", 0, "a\r200,b"},
        {"a CP932 lead byte at the end", "100,\x82", 0},
        {"a megabyte line", "100," + QByteArray(1 << 20, 'x'), 0},
        {"10001 records fit", Records(10001), 0},
        {"missing file", std::nullopt, 53},
        {"a record with no number", "abc,text\r\n", 13},
        {"the comma as first character", ",text\r\n", 13},
        {"NUL bytes", QByteArray("100,a\0b\r\n\0\0,\r\n", 14), 13},
        {"a number beyond 32 bits", "4294967296,text\r\n", 6},
        {"an empty file", "", 9},
        {"only comments", "no records here\r\n", 9},
        {"binary garbage", QByteArray::fromHex("89504e470d0a1a0a0000000d49484452"), 9},
        {"10002 records do not", Records(10002), 9},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TableFixture t(c.content);
        EXPECT_EQ(tavix::ReadStringTableData(), c.error == 0);
        if (c.error) {
            EXPECT_EQ(t.box.LogTexts(), QStringList{QStringLiteral("ReadStringTableData Error.(%1)").arg(c.error)});
            continue;
        }
        EXPECT_TRUE(t.box.LogTexts().isEmpty());
        if (*c.text100) {
            EXPECT_EQ(GST(100), QString::fromUtf8(c.text100));
        }
    }
}

TEST(StringTableLookup, TextsAndReplacements) {
    TableFixture t(
        QByteArray("100,a,b\r\n"
                   "101, text\r\n"
                   "102,first\r\n"
                   "102,second\r\n"
                   "11135,Circle @\r\n"
                   "103,@ and @\r\n"
                   "104,no marker\r\n"
                   "105,\r\n"
                   " 106 ,blanks round the number\r\n"));
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

// Number -> text of a table read as the program reads it.
std::map<int, QString> Texts(const char* language) {
    Sandbox box(QString::fromLatin1(language));
    tavix::ResetVariableDefinition();
    EXPECT_TRUE(tavix::GetIniFileData()) << language;
    EXPECT_TRUE(tavix::ReadStringTableData()) << language;
    std::map<int, QString> texts;
    for (const auto& r : tavix::Var().StringTable) texts.emplace(r.Id, r.Text);
    EXPECT_TRUE(box.LogTexts().isEmpty()) << language;
    return texts;
}

TEST(Deployment, BothLanguagesHaveEveryTextInTheSameShape) {
    const auto ja = Texts("ja"), en = Texts("en");
    ASSERT_EQ(ja.size(), en.size());
    for (const auto& [number, text] : ja) {
        ASSERT_TRUE(en.count(number)) << number;
        const QString& other = en.at(number);
        EXPECT_FALSE(text.isEmpty() || other.isEmpty()) << number;
        // A value goes where the marker is; a file dialog filter is pairs of description and pattern.
        EXPECT_EQ(text.count(QLatin1Char('@')), other.count(QLatin1Char('@'))) << number;
        for (const QString& t : {text, other}) {
            if (!t.contains(QLatin1Char('|'))) continue;
            const QStringList parts = t.split(QLatin1Char('|'));
            EXPECT_EQ(parts.size() % 2, 0) << number;
            for (int i = 1; i < parts.size(); i += 2) EXPECT_TRUE(parts[i].startsWith(QLatin1String("*."))) << number;
        }
    }
    // Every number the sources ask for by its literal is there.
    const QRegularExpression call(QStringLiteral("GST\\((\\d+)"));
    for (const char* folder : {"app", "camera", "frame", "measure", "platform", "view"}) {
        QDirIterator it(QStringLiteral(TAVIX_SOURCE_DIR "/%1").arg(QLatin1String(folder)), {QStringLiteral("*.cpp")});
        while (it.hasNext()) {
            QFile source(it.next());
            ASSERT_TRUE(source.open(QIODevice::ReadOnly));
            for (const auto& m : call.globalMatch(QString::fromUtf8(source.readAll())))
                EXPECT_TRUE(ja.count(m.captured(1).toInt()))
                    << it.fileName().toStdString() << " " << m.captured(1).toStdString();
        }
    }
}

}  // namespace
