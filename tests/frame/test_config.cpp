// The installation's files read at start-up: the settings (and writing them back), the string
// table with its look-up by number, the guidance file, and the shipped tables.
#include <QDirIterator>
#include <QRegularExpression>
#include <functional>
#include <gtest/gtest.h>
#include <map>

#include "CommonModule.h"
#include "Guidance.h"
#include "IniConfig.h"
#include "Sandbox.h"
#include "VariableDefinition.h"

using tavix::GST;
using tavix::Var;
using testing_support::Sandbox;

namespace {

TEST(IniRead, ConvertsEachValueOrStopsWithItsLogLine) {
    const QString missing = "GetIniFileData GetPrivateProfileString Error [Section]=";
    // The key to change, its new value (nullptr: no line), the log line reading
    // stops with (empty: it reads) and what then holds.
    const std::tuple<const char*, const char*, QString, std::function<bool()>> cases[] = {
        {"JPEGQTY", "101", missing + "FILE,[Key]=JPEGQTY", nullptr},
        {"JPEGQTY", "300", "GetIniFileData  Error.(6)[Section]=FILE,[Key]=JPEGQTY", nullptr},
        {"SCALECOLOR", "red", "GetIniFileData  Error.(13)[Section]=MEASURE,[Key]=SCALECOLOR", nullptr},
        // An empty value is a missing one, and the key is named with its blank.
        {"TEMPBITMAPFILE", "", missing + "CAMERA,[Key]=TEMPBITMAPFILE ", nullptr},
        {"2POINTCOMMANDMODE", nullptr, missing + "MEASURE,[Key]=2POINTCOMMANDMODE", nullptr},
        {"SCALEY", "abc", {}, [] { return Var().ScaleY == 0.0; }},
        {"SCALEX", " 2.5e1 ", {}, [] { return Var().ScaleX == 25.0; }},
        {"MEASURELINECOLOR2", "-1", {}, [] { return Var().MeasureLineColor[2] == 0xFFFFFFFFu; }},
        {"JPEGQTY", "49.5", {}, [] { return Var().JpegQty == 50; }},  // half to even
        {"GRPFILENAME", "  cam one.grf  ", {}, [] { return Var().GrfFileName == "cam one.grf"; }},
    };
    for (const auto& [key, value, log, holds] : cases) {
        SCOPED_TRACE(testing::Message() << key << "=" << (value ? value : "(no line)"));
        Sandbox box;
        tavix::ResetVariableDefinition();
        value ? box.SetIni(key, value) : box.RemoveIni(key);
        EXPECT_EQ(tavix::GetIniFileData(), log.isEmpty());
        EXPECT_EQ(box.LogTexts(), log.isEmpty() ? QStringList() : QStringList{log});
        EXPECT_TRUE(!holds || holds());
    }
}

// A sandbox whose string table holds exactly the given bytes.
struct Table : Sandbox {
    explicit Table(const QByteArray& content) {
        tavix::ResetVariableDefinition();
        tavix::Var().StringTableFileName = "\\Table.txt";
        Write("Table.txt", content);
    }
};

QByteArray Records(int count) {
    QByteArray text;
    for (int i = 0; i < count; ++i) text += QByteArray::number(i) + ",t" + QByteArray::number(i) + "\r\n";
    return text;
}

TEST(StringTableRead, AcceptsOrFailsWithTheErrorNumber) {
    // What, the file, the error number (0: read) and the text of 100 then.
    const std::tuple<const char*, QByteArray, int, const char*> cases[] = {
        {"comment and empty lines without a comma are passed over", "# texts\r\n\r\nabc\r\n100,a\r\n", 0, "a"},
        {"LF line ends", "100,a\n200,b\n", 0, "a"},
        {"a byte-order mark", QByteArray("\xEF\xBB\xBF") + "100,a\r\n", 0, "a"},
        {"10001 records fit", Records(10001), 0, nullptr},
        {"a record with no number", "abc,text\r\n", 13, nullptr},
        {"NUL bytes", QByteArray("100,a\0b\r\n\0\0,\r\n", 14), 13, nullptr},
        {"a number beyond 32 bits", "4294967296,text\r\n", 6, nullptr},
        {"an empty file", "", 9, nullptr},
        {"only comments", "no records here\r\n", 9, nullptr},
        {"10002 records do not", Records(10002), 9, nullptr},
    };
    for (const auto& [what, content, error, text100] : cases) {
        SCOPED_TRACE(what);
        Table t(content);
        EXPECT_EQ(tavix::ReadStringTableData(), error == 0);
        const QString failed = QString("ReadStringTableData Error.(%1)").arg(error);
        EXPECT_EQ(t.LogTexts(), error ? QStringList{failed} : QStringList());
        if (!text100) continue;
        EXPECT_EQ(GST(100), QString::fromUtf8(text100));
    }
}

TEST(StringTableLookup, TextsAndReplacements) {
    Table t(
        "100,a,b\r\n101, text\r\n102,first\r\n102,second\r\n11135,Circle @\r\n103,@ and @\r\n"
        "104,no marker\r\n105,\r\n 106 ,blanks round the number\r\n");
    EXPECT_EQ(GST(100), QString());  // before reading: a trapped error
    EXPECT_EQ(t.LogTexts(), QStringList{"GST Error.(9)"});
    ASSERT_TRUE(tavix::ReadStringTableData());
    const std::pair<QString, const char*> cases[] = {
        {GST(100), "a,b"},                // further commas belong to the text
        {GST(102), "first"},              // the earlier of two records wins
        {GST(99999), ""},                 // an unknown number
        {GST(11135, 2), "Circle 2"},      // replacement by a number
        {GST(11135, 2.5), "Circle 2.5"},  // by a fraction
        {GST(11135), "Circle @"},         // no replacement keeps the marker
        {GST(103, "x"), "x and x"},
        {GST(104, "x"), "no marker"},           // every marker is replaced
        {GST(106), "blanks round the number"},  // blanks round the number
    };
    for (const auto& [got, want] : cases) EXPECT_EQ(got.toStdString(), want);
    EXPECT_EQ(t.LogTexts().size(), 1);
}

TEST(Deployment, BothLanguagesHaveEveryTextWithItsMarkers) {
    // Number -> text of each table, read as the program reads it.
    std::map<int, QString> texts[2];
    for (const int i : {0, 1}) {
        Sandbox box(i ? "en" : "ja");
        tavix::ResetVariableDefinition();
        ASSERT_TRUE(tavix::GetIniFileData() && tavix::ReadStringTableData() && box.LogTexts().isEmpty()) << i;
        for (const auto& r : tavix::Var().StringTable) texts[i].emplace(r.Id, r.Text);
    }
    ASSERT_EQ(texts[0].size(), texts[1].size());
    // A value goes where the marker is.
    for (const auto& [number, text] : texts[0])
        EXPECT_TRUE(!text.isEmpty() && text.count('@') == texts[1][number].count('@') && !texts[1][number].isEmpty())
            << number;
    // Every number the sources ask for by its literal is there.
    const QRegularExpression call("GST\\((\\d+)");
    for (const char* folder : {"app", "camera", "frame", "measure", "platform", "view"})
        for (QDirIterator it(QString(TAVIX_SOURCE_DIR "/") + folder, {"*.cpp"}); it.hasNext();)
            for (const auto& m : call.globalMatch(QString::fromUtf8(testing_support::ReadFile(it.next()))))
                EXPECT_TRUE(texts[0].count(m.captured(1).toInt()))
                    << it.fileName().toStdString() << " " << m.captured(1).toStdString();
}

TEST(GuidanceFile, RecordsAndTheirFailures) {
    // What, the file, the error number in the log (0: read), and a number with its two lines then.
    const std::tuple<const char*, QByteArray, int, int, const char*> cases[] = {
        {"quoted items keep commas", "30,\"Click, then drag\",\"Right button: back\"\r\n", 0, 30,
         "Click, then drag|Right button: back"},
        {"the last record of a number wins", "5,\"a\",\"b\"\r\n5,\"c\",\"d\"\r\n", 0, 5, "c|d"},
        {"a record may go on over the next line", "6,\"a\"\r\n\"b\"\r\n7,\"c\",\"d\"", 0, 6, "a|b"},
        {"CP932 text", "9,\"\x8c\x76\x91\xaa\",\"\"\r\n", 0, 9, "計測|"},
        {"a number with no record is empty", "1,\"a\",\"b\"\r\n", 0, 2, "|"},
        {"number 0 and 100 are the ends of the table", "0,a,b\r\n100,c,d\r\n", 0, 100, "c|d"},
        {"101 is outside the table", "101,\"a\",\"b\"\r\n", 9, 0, ""},
        {"-1 is outside the table", "-1,\"a\",\"b\"\r\n", 9, 0, ""},
        {"a first item that is no number", "abc,\"a\",\"b\"\r\n", 13, 0, ""},
        {"a record cut off by the end of the file", "1,\"a\",\"b\"\r\n2,\"c\"\r\n", 62, 0, ""},
        {"an empty file is an empty table", "", 0, 0, "|"},
    };
    for (const auto& [what, file, error, number, lines] : cases) {
        SCOPED_TRACE(what);
        Sandbox box;
        tavix::ResetVariableDefinition();
        Var().GuidanceFileName = "\\Guidance.txt";
        Var().GuidanceTable[number][0] = "left from before";
        box.Write("Guidance.txt", file);
        EXPECT_EQ(tavix::ReadGuidanceData(), error == 0);
        const QStringList failed{QString("ReadGuidanceData Error.(%1)").arg(error)};
        EXPECT_EQ(box.LogTexts(), error ? failed : QStringList());
        if (error) continue;
        EXPECT_EQ(Var().GuidanceTable[number][0] + '|' + Var().GuidanceTable[number][1], QString::fromUtf8(lines));
    }
}

}  // namespace
