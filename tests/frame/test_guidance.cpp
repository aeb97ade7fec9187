// The guidance file and the two comment lines that show it.
#include <QLineEdit>
#include <gtest/gtest.h>

#include "CommandArea.h"
#include "CommonModule.h"
#include "Guidance.h"
#include "StartedMain.h"

using tavix::frmMain;
using testing_support::Sandbox;

namespace {

struct ReadCase {
    const char* what;
    QByteArray file;
    int error;  // 0: read; else the number in the log
    int number = 0;
    const char *first = "", *second = "";
};

TEST(GuidanceFile, RecordsAndTheirFailures) {
    const ReadCase cases[] = {
        {"quoted items keep commas", "30,\"Click, then drag\",\"Right button: back\"\r\n", 0, 30, "Click, then drag",
         "Right button: back"},
        {"blanks before items do not count", "  31 ,  plain text  ,\t\"b\"\r\n", 0, 31, "plain text", "b"},
        {"what stands between a closing quote and the comma is dropped", "7,\"a\" junk ,\"b\"\r\n", 0, 7, "a", "b"},
        {"an unclosed quote runs to the end of the file", "8,\"a\",\"open", 0, 8, "a", "open"},
        {"the last record of a number wins", "5,\"a\",\"b\"\r\n5,\"c\",\"d\"\r\n", 0, 5, "c", "d"},
        {"a record may go on over the next line", "6,\"a\"\r\n\"b\"\r\n7,\"c\",\"d\"", 0, 6, "a", "b"},
        {"a comma before the line end leaves an empty item", "6,\"a\",\r\n7,c,d", 0, 6, "a", ""},
        {"empty lines between records and at the end", "\r\n8,\"x\",\"y\"\r\n\r\n\r\n", 0, 8, "x", "y"},
        {"CP932 text", "9,\"\x8c\x76\x91\xaa\",\"\"\r\n", 0, 9, "計測", ""},
        {"a number with no record is empty", "1,\"a\",\"b\"\r\n", 0, 2, "", ""},
        {"number 0 and 100 are the ends of the table", "0,a,b\r\n100,c,d\r\n", 0, 100, "c", "d"},
        {"101 is outside the table", "101,\"a\",\"b\"\r\n", 9},
        {"-1 is outside the table", "-1,\"a\",\"b\"\r\n", 9},
        {"a first item that is no number", "abc,\"a\",\"b\"\r\n", 13},
        {"a record cut off by the end of the file", "1,\"a\",\"b\"\r\n2,\"c\"\r\n", 62},
        {"an empty file is an empty table", "", 0, 0, "", ""},
    };
    for (const ReadCase& c : cases) {
        Sandbox box;
        tavix::ResetVariableDefinition();
        tavix::Var().GuidanceFileName = QStringLiteral("\\Guidance.txt");
        tavix::Var().GuidanceTable[c.number][0] = QStringLiteral("left from before");
        box.Write(QStringLiteral("Guidance.txt"), c.file);
        EXPECT_EQ(tavix::ReadGuidanceData(), c.error == 0) << c.what;
        if (c.error != 0) {
            EXPECT_EQ(box.LogTexts().value(0), QStringLiteral("ReadGuidanceData Error.(%1)").arg(c.error)) << c.what;
            continue;
        }
        EXPECT_TRUE(box.LogTexts().isEmpty()) << c.what;
        EXPECT_EQ(tavix::Var().GuidanceTable[c.number][0], QString::fromUtf8(c.first)) << c.what;
        EXPECT_EQ(tavix::Var().GuidanceTable[c.number][1], QString::fromUtf8(c.second)) << c.what;
    }
}

struct GuidanceWindow : testing_support::StartedMain {
    GuidanceWindow() : StartedMain(3) {
        tavix::Var().GuidanceTable[34] = {QStringLiteral("circle 1"), QStringLiteral("circle 1b")};
        tavix::Var().GuidanceTable[35] = {QStringLiteral("circle 2"), QStringLiteral("circle 2b")};
        tavix::Var().GuidanceTable[2] = {QStringLiteral("recording"), QStringLiteral("recording b")};
        tavix::Var().GuidanceTable[77] = {};
        f.txtComment[0]->SetText(QStringLiteral("sample 12"));
        f.txtComment[1]->SetText(QStringLiteral("stained"));
    }
    void ExpectComment() {
        for (int i = 0; i < 2; ++i) {
            EXPECT_FALSE(f.txtComment[i]->Locked());
            EXPECT_EQ(f.txtComment[i]->BackColor(), vb::vbWindowBackground);
        }
        EXPECT_EQ(f.txtComment[0]->Text(), QStringLiteral("sample 12"));
        EXPECT_EQ(f.txtComment[1]->Text(), QStringLiteral("stained"));
    }
};

TEST(Guidance, ShownReadOnlyOverADisabledStripAndTheCommentComesBack) {
    GuidanceWindow w;
    frmMain& f = w.f;
    tavix::DisableCommandArea(f, *f.picViewCommandArea, false);
    tavix::DispGuidance(f, 34);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(f.txtComment[i]->Locked());
        EXPECT_TRUE(f.txtComment[i]->Enabled()) << "readable, not greyed, while the strip is off";
        EXPECT_EQ(f.txtComment[i]->BackColor(), vb::vbButtonFace);
    }
    EXPECT_EQ(f.txtComment[0]->Text(), QStringLiteral("circle 1"));
    // A second call replaces the guidance and keeps the comment saved by the first.
    tavix::DispGuidance(f, 35);
    EXPECT_EQ(f.txtComment[1]->Text(), QStringLiteral("circle 2b"));
    // A second line given replaces the table's; a number without guidance shows empty lines.
    tavix::DispGuidance(f, 2, QStringLiteral("12 s"));
    EXPECT_EQ(f.txtComment[0]->Text() + u'|' + f.txtComment[1]->Text(), QStringLiteral("recording|12 s"));
    tavix::DispGuidance(f, 77);
    EXPECT_EQ(f.txtComment[0]->Text() + f.txtComment[1]->Text(), QString());
    EXPECT_TRUE(f.txtComment[1]->Locked());
    tavix::HideGuidance(f);
    w.ExpectComment();
    EXPECT_TRUE(f.txtComment[0]->Enabled()) << "hiding leaves Enabled to the caller";
    tavix::HideGuidance(f);  // nothing showing: nothing changes
    w.ExpectComment();
}

TEST(Guidance, EveryLineOfBothDeploymentsFitsItsFieldAndItsTooltipHoldsIt) {
    for (const char* language : {"ja", "en"}) {
        testing_support::StartedMain w(3, QString::fromLatin1(language));
        const auto& table = tavix::Var().GuidanceTable;
        // The numbered lines, and the second lines a recording writes in (at their longest).
        std::vector<std::pair<int16_t, QString>> shown;
        for (int16_t n = 0; n < tavix::GuidanceTableSize; ++n)
            if (!table[n][0].isEmpty()) shown.emplace_back(n, table[n][1]);
        shown.emplace_back(2, tavix::GST(20033, QStringLiteral("900")));
        shown.emplace_back(2, tavix::GST(29010, QStringLiteral("900")));
        ASSERT_GT(shown.size(), 30u) << language;
        for (const auto& [n, second] : shown) {
            tavix::DispGuidance(w.f, n, second);
            for (vb::TextBox* box : w.f.txtComment) {
                auto* edit = static_cast<QLineEdit*>(box->Widget());
                const int room = edit->contentsRect().width() - edit->textMargins().left() -
                                 edit->textMargins().right() - 4;  // the line edit's own margins
                EXPECT_LE(edit->fontMetrics().horizontalAdvance(box->Text()), room)
                    << language << " " << n << ": " << box->Text().toStdString();
                EXPECT_EQ(edit->toolTip(), box->Text());
            }
        }
    }
}

}  // namespace
