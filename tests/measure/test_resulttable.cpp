// The result list: removing, emptying, saving as text, and when the questions about unsaved
// results come over a session.
#include <gtest/gtest.h>

#include <QDir>
#include <QLocale>
#include <clocale>
#include <functional>
#include <optional>

#include "CommonModule.h"
#include "MeasureResults.h"
#include "OpenImage.h"
#include "ResultTable.h"
#include "StartedMain.h"
#include "StillDisplay.h"

using Cmd = tavix::CommandMode;

using tavix::GST;
using tavix::Var;
using Answer = std::optional<int>;

namespace {

constexpr int kYesNoDefaultNo = 292, kOkExclamation = 48;
std::string Box(int text, int title, int buttons) {
    return (GST(title) + '|' + GST(text) + '|' + QString::number(buttons) + '\n').toStdString();
}

struct Table : testing_support::StartedMain {
    explicit Table(int n = 0) : StartedMain(3) {
        f.picTempView->SetPicture(testing_support::QuarterPicture(200, 100));
        testing_support::ResultsInCyan();
        Fill(n);
    }
    // n results as measures leave them, texts no formatting gives; slot 20 an old one.
    void Fill(int n) {
        for (int i = 1; i <= n; ++i) {
            Var().ResultTable[i] = {int16_t(i), Cmd::Distance, {{}, {double(i), 1}, {-40, double(i)}}, i + 0.25};
            const char* prefix[] = {"", "N", "v", "u"};
            for (int c = 0; c < 4; ++c) f.grdResult->SetTextMatrix(i, c, prefix[c] + QString::number(i));
        }
        Var().ResultTable[20] = {20, Cmd::Circle, {{}, {5, 5}}, 9};
        f.ResultCount = int16_t(n);
        f.ResultDirty = n > 0;
    }
    // The still bare but for a grey mark at its centre, so a repaint shows as the mark gone.
    void Mark() {
        tavix::DispImage(f, false);
        f.picStillView->LineBox(-20, -20, 20, 20, 0x808080, true);
    }
    bool Inked() const {
        const QRect r = f.picStillView->CanvasRect();
        return f.picStillView->GetImage().pixel(r.width() / 2, r.height() / 2) == 0xFF808080;
    }
    // Grid rows 1..n, those in the list followed by "No Value Point" of their record.
    std::string Rows(int n) const {
        QString rows;
        for (int r = 1; r <= n; ++r) {
            QStringList t;
            for (int c = 0; c < 4; ++c) t << f.grdResult->TextMatrix(r, c);
            const tavix::ResultRecord& rec = Var().ResultTable[r];
            if (r <= f.ResultCount)
                t.last() += QStringLiteral(" %1 %2 %3").arg(rec.No).arg(rec.Value).arg(rec.Points.at(1).X);
            rows += t.join('|') + '\n';
        }
        return rows.toStdString();
    }
    std::string Shown() {
        std::string boxes;
        for (const auto& b : host.Boxes)
            boxes += (b.Title + '|' + b.Prompt + '|' + QString::number(b.Buttons) + '\n').toStdString();
        host.Boxes.clear();
        return boxes;
    }
};

TEST(ResultTable, RemoveAndClearChangeTheListOnlyAfterYes) {
    const struct {
        const char* what;
        bool clear;
        int count, row, rowSel;
        Answer answer;
        bool dirtyBefore;
        std::vector<int> kept, selection;
        bool dirtyAfter;
    } cases[] = {
        {"dragged down 3..5", false, 6, 3, 5, vb::vbYes, false, {1, 2, 6}, {4, 4, 0, 3}, true},
        {"dragged up 5..3", false, 6, 5, 3, vb::vbYes, false, {1, 2, 6}, {4, 4, 0, 3}, true},
        {"4..20 of 6", false, 6, 4, 20, vb::vbYes, false, {1, 2, 3}, {4, 4, 0, 3}, true},
        {"wholly below", false, 6, 9, 9, {}, false, {1, 2, 3, 4, 5, 6}, {9, 9, 0, 0}, false},
        {"all", false, 3, 1, 3, vb::vbYes, true, {}, {1, 1, 0, 3}, false},
        {"last of five", false, 5, 5, 5, vb::vbYes, true, {1, 2, 3, 4}, {5, 5, 0, 3}, true},
        {"row 2 of 5", false, 5, 2, 2, vb::vbYes, true, {1, 3, 4, 5}, {5, 5, 0, 3}, true},
        {"remove, No", false, 5, 2, 3, vb::vbNo, true, {1, 2, 3, 4, 5}, {2, 3, 0, 0}, true},
        {"clear, empty list", true, 0, 3, 4, {}, false, {}, {3, 4, 0, 0}, false},
        {"clear, No", true, 4, 3, 4, vb::vbNo, true, {1, 2, 3, 4}, {3, 4, 0, 0}, true},
        {"clear", true, 4, 3, 4, vb::vbYes, true, {}, {1, 1, 0, 3}, false},  // the still left bare
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Table t(c.count);
        t.f.ResultDirty = c.dirtyBefore;
        t.f.grdResult->SetRow(c.row);
        t.f.grdResult->SetRowSel(c.rowSel);
        t.Mark();
        if (c.answer) t.host.AnswerMsgBox(*c.answer);
        c.clear ? tavix::cmdResultClear_Click(t.f) : tavix::cmdResultRemove_Click(t.f);

        const std::string question = c.clear ? Box(20070, 11070, kYesNoDefaultNo) : Box(20080, 11080, kYesNoDefaultNo);
        QString rows;
        for (int r = 1; r <= c.count; ++r) {
            const int k = r <= int(c.kept.size()) ? c.kept[r - 1] : 0;
            rows += k ? QStringLiteral("%1|N%2|v%2|u%2 %1 %3 %2\n").arg(r).arg(k).arg(k + 0.25) : "|||\n";
        }
        const auto& g = *t.f.grdResult;
        EXPECT_EQ(std::tuple(t.Shown(), t.Rows(c.count), int(t.f.ResultCount), t.f.ResultDirty),
                  std::tuple(c.answer ? question : "", rows.toStdString(), int(c.kept.size()), c.dirtyAfter));
        EXPECT_EQ(std::vector<int>({g.Row(), g.RowSel(), g.Col(), g.ColSel()}), c.selection);
        // Only a Yes repaints the still, with the results that are left; Clear empties every slot.
        const bool yes = c.answer == vb::vbYes;
        EXPECT_EQ(std::tuple(t.Inked(), testing_support::ResultPixels(t.f) > 0, Var().ResultTable[20].Points.empty()),
                  std::tuple(!yes, yes && !c.kept.empty(), c.clear && yes));
    }
}

TEST(ResultTable, SaveWritesTheGridTextsOrLeavesTheListUnsaved) {
    const QByteArray old(500, 'x');
    const struct {
        const char* what;
        int count;
        std::optional<QString> name;
        int boxText, boxTitle;
        QByteArray file;
        int error;
        bool dirtyAfter;
    } cases[] = {
        {"three rows", 3, "r.txt", 0, 0, "1,N1,v1,u1\r\n2,a,b,v2,u2\r\n3,N3,v3,\r\n", 0, false},
        {"cancelled", 2, std::nullopt, 0, 0, old, 0, true},
        {"nothing to save", 0, {}, 20090, 11090, old, 0, false},
        {"folder gone", 2, "gone/r.txt", 20092, 11092, old, 76, true},
        {"folder in the way", 2, "dir", 20092, 11092, old, 75, true},  // not by permissions: root may write
    };
    for (const auto& c : cases) {
        Table t(c.count);
        t.f.grdResult->SetTextMatrix(2, 1, QStringLiteral("a,b"));
        t.f.grdResult->SetTextMatrix(3, 3, QString());
        t.box.Write("r.txt", old);
        QDir(t.box.Path()).mkdir("dir");
        if (c.count > 0) t.host.AnswerFile(c.name ? std::optional(t.box.File(*c.name)) : std::nullopt);
        if (c.boxText) t.host.AnswerMsgBox(vb::vbOK);
        tavix::cmdResultSave_Click(t.f);

        const std::string box = c.boxText ? Box(c.boxText, c.boxTitle, kOkExclamation) : "";
        const bool logged = t.box.LogTexts().contains(QStringLiteral("cmdResultSave_Click Error.(%1)").arg(c.error));
        EXPECT_EQ(
            std::tuple(t.Shown(), t.box.Read("r.txt"), t.f.ResultDirty, t.host.BusyDepth, logged, t.f.cdlFile->Flags),
            std::tuple(box, c.file, c.dirtyAfter, 0, c.error != 0, c.count > 0 ? 34818 : 0))
            << c.what;
    }
}

TEST(ResultTable, SavedValuesKeepThePointUnderADecimalCommaLocale) {
    const QLocale qtLocale;
    const std::string cLocale = std::setlocale(LC_ALL, nullptr);
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    std::setlocale(LC_ALL, "de_DE.UTF-8");  // where the machine has it
    {
        Table t;
        Var().ProofTable[Var().CurrentProofNo] = {QStringLiteral("P"), 0.5, QStringLiteral("mm")};
        Var().ZoomFactor = 1;
        t.f.ResultFormat = QStringLiteral("0.000");
        t.f.CommandMode = tavix::CommandMode::Distance;
        t.f.WorkPoints = {{}, {0, 0}, {3, 4}};
        tavix::AddMeasureResult(t.f);
        t.host.AnswerFile(t.box.File("de.txt"));
        tavix::cmdResultSave_Click(t.f);
        EXPECT_EQ(t.box.Read("de.txt"), ("1," + GST(11132) + ",2.500,mm\r\n").toUtf8());
    }
    QLocale::setDefault(qtLocale);
    std::setlocale(LC_ALL, cLocale.c_str());
}

// Each question about unsaved results comes exactly when ResultDirty says the list would be lost;
// a picture loaded empties the list.
TEST(ResultTable, QuestionsFollowResultDirtyOverASession) {
    Table t;
    tavix::frmMain& f = t.f;
    const QString picture = t.box.File("p.bmp");
    testing_support::QuarterPicture(80, 60).save(picture);
    auto save = [&] {
        t.host.AnswerFile(t.box.File("s.txt"));
        tavix::cmdResultSave_Click(f);
    };
    auto load = [&] {
        t.host.AnswerFile(picture);
        tavix::cmdPicLoad_Click(f);
    };
    const struct {
        const char* what;
        std::function<void()> act;
        Answer answer;
        int title, count;
        bool dirty;
    } steps[] = {
        // clang-format off
        {"three measured, saved", [&] { t.Fill(3); save(); }, {}, 0, 3, false},
        {"removal after saving", [&] { f.grdResult->SetRow(2); tavix::cmdResultRemove_Click(f); }, vb::vbYes, 11080, 2, true},
        {"other picture", load, vb::vbYes, 11020, 0, false},
        {"two saved, other picture", [&] { t.Fill(2); save(); load(); }, {}, 0, 0, false},
        // clang-format on
    };
    for (const auto& s : steps) {
        if (s.answer) t.host.AnswerMsgBox(*s.answer);
        s.act();
        const std::string shown = t.Shown();
        EXPECT_EQ(std::tuple(shown.substr(0, shown.find('|')), f.ResultCount, f.ResultDirty),
                  std::tuple(s.title ? GST(s.title).toStdString() : "", int16_t(s.count), s.dirty))
            << s.what;
    }
}

}  // namespace
