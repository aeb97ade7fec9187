// The calibration table: its file, the choice of a slot, and the calibration measure with its dialog.
#include <QCoreApplication>
#include <QDir>
#include <QKeyEvent>
#include <gtest/gtest.h>

#include <functional>

#include "CommandArea.h"
#include "CommonModule.h"
#include "Proof.h"
#include "StartedMain.h"
#include "Startup.h"
#include "Wiring.h"
#include "frmProofConfig.h"

using testing_support::Sandbox;
using tavix::frmProofConfig;
using tavix::GST;
using tavix::Var;

namespace {

const QString kProof = QStringLiteral("Proof.txt");
const QString kMu = QStringLiteral("μ");

QByteArray Records(int n) {
    QByteArray out;
    for (int i = 0; i < n; ++i) out += "\"s" + QByteArray::number(i) + "\",1,\"mm\"\r\n";
    return out;
}

void ExpectBox(const testing_support::RecordedBox& box, int text, int title, int buttons) {
    EXPECT_EQ(box.Prompt, GST(text));
    EXPECT_EQ(box.Title, GST(title));
    EXPECT_EQ(box.Buttons, buttons);
}

constexpr int kQuestion = vb::vbYesNo | vb::vbQuestion | vb::vbDefaultButton2;
constexpr int kRefusal = vb::vbOKOnly | vb::vbExclamation;

struct ProofWindow : testing_support::StartedMain {
    int clears = 0, draws = 0;
    explicit ProofWindow(int16_t results = 0, bool dirty = false) : StartedMain(3) {
        f.picTempView->SetPicture(testing_support::QuarterPicture(400, 300));
        f.Hooks.ClearResults = [this](tavix::frmMain& m) { ++clears; m.ResultCount = 0; };
        f.Hooks.DrawMeasureResults = [this](tavix::frmMain&) { ++draws; };
        f.ResultCount = results;
        f.ResultDirty = dirty;
    }
    QString Guidance() const { return f.txtComment[0]->Text(); }
    void Click(int16_t button, float x = 0, float y = 0) { tavix::ProofMeasure_MouseUp(f, button, x, y); }
    // Starts the measure, clicks (0, 0) and (0, apart), and plays the user in the dialog.
    void Calibrate(float apart, std::function<void(frmProofConfig&)> user) {
        tavix::cmdProofConfig_Click(f);
        Click(1);
        host.AnswerModal([user](vb::Form& form) { user(dynamic_cast<frmProofConfig&>(form)); });
        Click(1, 0, apart);
    }
};

void Enter(frmProofConfig& d, const char* name, const char* value, const char* unit) {
    d.txtName->SetText(QString::fromUtf8(name));
    d.txtValue->SetText(QString::fromUtf8(value));
    for (int i = 0; i < d.cboUnit->ListCount(); ++i)
        if (d.cboUnit->List(i) == QString::fromUtf8(unit)) d.cboUnit->SetListIndex(i);
}

TEST(ProofFile, ReadsTenRecordsOrLeavesTheTableAsItWas) {
    const struct { const char* what; QByteArray file; int error; int slot; QString name; double value; QString unit; } cases[] = {
        {"missing leading zero", "\"a\",.5,\"mm\"\r\n" + Records(9), 0, 0, "a", 0.5, "mm"},
        {"exponent", "\"a\",1.5E-05,\"cm\"\r\n" + Records(9), 0, 0, "a", 1.5e-05, "cm"},
        {"anything behind the tenth is not read", Records(10) + "garbage,,\r\n", 0, 9, "s9", 1, "mm"},
        {"no file", {}, 53, 0, {}, 0, {}},
        {"nine records", Records(9), 62, 0, {}, 0, {}},
        {"a value that is no number", Records(4) + "\"a\",abc,\"mm\"\r\n" + Records(5), 13, 0, {}, 0, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Sandbox box;
        tavix::ResetVariableDefinition();
        Var().ProofFileName = QStringLiteral("\\Proof.txt");
        Var().ProofTable.fill({QStringLiteral("before"), 7, QStringLiteral("px")});
        if (c.error == 53) box.Remove(kProof);
        else box.Write(kProof, c.file);
        EXPECT_EQ(tavix::ReadProofData(), c.error == 0);
        if (c.error != 0) {
            EXPECT_EQ(box.LogTexts(), QStringList{QStringLiteral("ReadProofData Error.(%1)").arg(c.error)});
            EXPECT_EQ(Var().ProofTable[0].Name, QStringLiteral("before"));
            continue;
        }
        const tavix::ProofRecord& p = Var().ProofTable[c.slot];
        EXPECT_EQ(p.Name, c.name);
        EXPECT_DOUBLE_EQ(p.Value, c.value);
        EXPECT_EQ(p.Unit, c.unit);
    }
}

TEST(ProofFile, DeliveredFilesHoldTenNamedSlotsOfOneMicron) {
    for (const char* language : {"ja", "en"}) {
        SCOPED_TRACE(language);
        testing_support::StartedMain s(3, QString::fromLatin1(language));
        EXPECT_EQ(s.box.Read(kProof).count("\r\n"), 10);
        QStringList names;
        for (const tavix::ProofRecord& p : Var().ProofTable) {
            EXPECT_TRUE(p.Name.size() >= 1 && p.Name.size() <= 8 && p.Value == 1.0 && p.Unit == kMu);
            names << p.Name;
        }
        EXPECT_EQ(names.removeDuplicates(), 0);
        EXPECT_EQ(s.f.cboProof->List(3), names[3]) << "listed at start-up";
    }
}

TEST(ProofFile, RewriteIsTenLinesInGeneralNumberForm) {
    Sandbox box;
    tavix::ResetVariableDefinition();
    Var().ProofFileName = QStringLiteral("\\Proof.txt");
    box.Write(kProof, Records(12));
    const double values[4] = {0.1, 1.5e-05, 1.0 / 3, 1e15};
    const char* texts[10] = {"0.1", "1.5E-05", "0.333333333333333", "1E+15", "0", "0", "0", "0", "0", "0"};
    for (int i = 0; i < 10; ++i) Var().ProofTable[i] = {QStringLiteral("n%1").arg(i), i < 4 ? values[i] : 0, kMu};
    ASSERT_EQ(tavix::WriteProofData(), 0);
    QStringList lines = QString::fromUtf8(box.Read(kProof)).split(QStringLiteral("\r\n"));
    ASSERT_EQ(lines.size(), 11);
    EXPECT_TRUE(lines.takeLast().isEmpty());
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(lines[i], QStringLiteral("\"n%1\",%2,\"μ\"").arg(i).arg(QLatin1String(texts[i])));
}

TEST(ProofChoice, AQuestionOnlyForUnsavedResultsAndNoKeepsTheSelection) {
    const struct { const char* what; int16_t results; bool dirty; int answer; bool moves; int clears; } cases[] = {
        {"no results", 0, true, 0, true, 0},
        {"saved results go silently", 2, false, 0, true, 1},
        {"unsaved results, Yes", 2, true, vb::vbYes, true, 1},
        {"unsaved results, No", 2, true, vb::vbNo, false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ProofWindow w(c.results, c.dirty);
        if (c.answer) w.host.AnswerMsgBox(c.answer);
        w.f.cboProof->SetListIndex(4);  // fires the wired Click; a second box would fail the test
        ASSERT_EQ(w.host.Boxes.size(), c.answer ? 1u : 0u);
        if (c.answer) ExpectBox(w.host.Boxes[0], 20000, 11000, kQuestion);
        EXPECT_EQ(Var().CurrentProofNo, c.moves ? 4 : 0);
        EXPECT_EQ(w.f.cboProof->ListIndex(), c.moves ? 4 : 0);
        EXPECT_EQ(w.clears, c.clears);
        if (c.answer == vb::vbNo) w.host.AnswerMsgBox(vb::vbYes);
        w.f.cboProof->SetListIndex(6);
        EXPECT_EQ(Var().CurrentProofNo, 6) << "the busy flag is down again";
    }
}

TEST(ProofMeasure, StartQuestionAndStepsOfTheClicks) {
    {
        ProofWindow w(1, true);
        w.host.AnswerMsgBox(vb::vbNo);
        tavix::cmdProofConfig_Click(w.f);
        ExpectBox(w.host.Boxes.at(0), 20060, 11060, kQuestion);
        EXPECT_EQ(w.f.CommandMode, 0);
    }
    ProofWindow w(1, false);  // saved: no question
    w.f.WorkPoints.push_back({5, 5});
    tavix::EnableCommandArea(w.f, w.f.picMeasureCommandArea->Name());  // as in the still view
    tavix::cmdProofConfig_Click(w.f);
    EXPECT_TRUE(w.f.CommandMode == 20 && w.f.WorkPoints.size() == 1u);
    EXPECT_EQ(w.Guidance(), Var().GuidanceTable[20][0]);
    EXPECT_FALSE(w.f.chkScale->Enabled()) << "all of the measure area";

    w.Click(4, 1, 1);  // a middle button does nothing
    w.Click(1, 10, 20);
    ASSERT_TRUE(w.f.linMeasure.Exists(1));
    const vb::LineControl& line = *w.f.linMeasure[1];
    EXPECT_TRUE(line.Visible());
    EXPECT_EQ(QList<double>({line.X1(), line.Y1(), line.X2(), line.Y2()}), QList<double>({10, 20, 10, 20}));
    EXPECT_EQ(w.Guidance(), Var().GuidanceTable[21][0]);

    w.Click(2);  // back to the first point
    EXPECT_TRUE(w.f.CommandMode == 20 && w.f.WorkPoints.size() == 1u);
    EXPECT_FALSE(w.f.linMeasure.Exists(1));
    EXPECT_EQ(w.Guidance(), Var().GuidanceTable[20][0]);
    EXPECT_EQ(w.draws, 0);

    w.Click(2);  // abandoned: the hidden results come back
    EXPECT_EQ(w.f.CommandMode, 0);
    EXPECT_EQ(w.draws, 1);
    EXPECT_TRUE(w.f.chkScale->Enabled());
}

TEST(ProofDialog, OpensWithTheSlotAndTheMeasuredDistance) {
    const struct { const char* unit; int index; } cases[] = {{"cm", 2}, {"mm", 1}, {"px", 0}, {"", 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.unit);
        ProofWindow w;
        w.f.cboProof->SetListIndex(3);
        Var().ProofTable[3] = {QStringLiteral("slot3"), 2, QString::fromUtf8(c.unit)};
        tavix::cmdProofConfig_Click(w.f);
        w.Click(1, 0, 0);
        w.host.AnswerModal([&](vb::Form& form) {
            auto& d = dynamic_cast<frmProofConfig&>(form);
            EXPECT_EQ(d.Caption() + d.Label1[0]->Caption() + d.Label1[2]->Caption(), GST(14000) + GST(14001) + GST(14003));
            EXPECT_EQ(d.txtName->Text() + d.txtValue->Text() + d.txtValue->Tag, QStringLiteral("slot3150"));
            ASSERT_EQ(d.cboUnit->ListCount(), 3);
            EXPECT_EQ(d.cboUnit->ListIndex(), c.index);
            EXPECT_TRUE(w.f.linMeasure.Exists(1) && w.f.linMeasure[1]->Visible()) << "rubber line stays";
            d.cmdOK->Click();
        });
        w.Click(1, 30, 40);
        EXPECT_EQ(Var().ProofTable[3].Unit, QStringList({"μ", "mm", "cm"})[c.index]) << "OK stores what was shown";
    }
}

TEST(ProofDialog, OkStoresTheValueIndependentOfZoomCancelKeepsAll) {
    const struct { const char* what; double zoom; float apart; bool ok, dirty; } cases[] = {
        {"OK at zoom 2", 2.0, 200, true, true}, {"OK at zoom 1", 1.0, 100, true, false},
        {"OK at zoom 0.5", 0.5, 50, true, true}, {"Cancel", 1.0, 100, false, false},
        {"Cancel, unsaved", 1.0, 100, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ProofWindow w;
        w.f.cboProof->SetListIndex(5);
        Var().ZoomFactor = c.zoom;
        w.f.ResultCount = 3;
        w.f.ResultDirty = c.dirty;
        if (c.dirty) w.host.AnswerMsgBox(vb::vbYes);  // the question at the start, and no other
        const QByteArray file = w.box.Read(kProof);
        w.Calibrate(c.apart, [&](frmProofConfig& d) {
            Enter(d, "新しい ", "10x", "mm");  // name kept untrimmed, value read up to the letter
            (c.ok ? d.cmdOK : d.cmdCancel)->Click();
            EXPECT_TRUE(d.Unloaded());
        });
        EXPECT_EQ(Var().DialogResult, c.ok);
        EXPECT_EQ(w.clears, c.ok ? 1 : 0);
        EXPECT_EQ(w.draws, c.ok ? 0 : 1);
        EXPECT_EQ(w.f.cboProof->ListIndex(), 5);
        EXPECT_FALSE(w.f.linMeasure.Exists(1)) << "measure ended";
        if (!c.ok) {
            EXPECT_EQ(w.f.ResultCount, 3);
            EXPECT_EQ(w.f.ResultDirty, c.dirty);
            EXPECT_EQ(w.box.Read(kProof), file);
            EXPECT_EQ(Var().ProofTable[5].Value, 1.0);
            continue;
        }
        EXPECT_EQ(Var().ProofTable[5].Value, 0.1);
        EXPECT_EQ(w.f.cboProof->List(5), QStringLiteral("新しい "));
        const QStringList lines = QString::fromUtf8(w.box.Read(kProof)).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
        ASSERT_EQ(lines.size(), 10);
        EXPECT_EQ(lines[5], QStringLiteral("\"新しい \",0.1,\"mm\""));
    }
}

TEST(ProofDialog, RefusalsNameTheFieldAndChangeNothing) {
    enum { Name, Value, Unit };
    const struct { const char* what; const char* name; const char* value; float apart; int text; int focus; } cases[] = {
        {"blank name", "   ", "1", 9, 24000, Name},
        {"empty value", "a", "", 9, 24001, Value},
        {"zero", "a", "0", 9, 24002, Value},
        {"negative", "a", "-1", 9, 24002, Value},
        {"letters read as 0", "a", "abc", 9, 24002, Value},
        {"no unit", "a", "1", 9, 24003, Unit},
        {"two clicks on one point", "a", "5", 0, 24004, Value},
        {"a value beyond a double", "a", "1e400", 9, 24004, Value},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ProofWindow w;
        const QByteArray file = w.box.Read(kProof);
        w.host.AnswerMsgBox(vb::vbOK);
        w.Calibrate(c.apart, [&](frmProofConfig& d) {
            Enter(d, c.name, c.value, "cm");
            if (c.focus == Unit) d.cboUnit->SetListIndex(-1);
            d.cmdCancel->SetFocus();
            d.cmdOK->Click();
            EXPECT_FALSE(d.Unloaded());
            const vb::Control* fields[3] = {d.txtName, d.txtValue, d.cboUnit};
            EXPECT_EQ(d.focusWidget(), fields[c.focus]->Widget());
            d.cmdCancel->Click();
        });
        ASSERT_EQ(w.host.Boxes.size(), 1u);
        ExpectBox(w.host.Boxes[0], c.text, 14100, kRefusal);
        EXPECT_EQ(Var().ProofTable[0].Unit, kMu);
        EXPECT_EQ(w.box.Read(kProof), file);
    }
}

TEST(ProofDialog, FailedRewriteRollsBackAndStaysOpenForARetry) {
    const struct { const char* what; const char* fileName; bool directory; int error; } cases[] = {
        {"folder gone", "\\gone\\Proof.txt", false, 76},
        {"target is a folder", "\\Proof.txt", true, 75},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ProofWindow w;
        Var().ZoomFactor = 1.0;
        Var().ProofFileName = QString::fromLatin1(c.fileName);
        const tavix::ProofRecord former = Var().ProofTable[0];
        if (c.directory) {
            w.box.Remove(kProof);
            ASSERT_TRUE(QDir(w.box.Path()).mkdir(kProof));
        }
        w.host.AnswerMsgBox(vb::vbOK);
        w.Calibrate(10, [&](frmProofConfig& d) {
            Enter(d, "new", "2", "cm");
            d.cmdOK->Click();
            EXPECT_FALSE(d.Unloaded());
            const tavix::ProofRecord& slot = Var().ProofTable[0];
            EXPECT_EQ(QStringList({slot.Name, slot.Unit}), QStringList({former.Name, former.Unit}));
            EXPECT_EQ(slot.Value, former.Value);
            Var().ProofFileName = QStringLiteral("\\Retry.txt");  // the user made room: OK again
            d.cmdOK->Click();
            EXPECT_TRUE(d.Unloaded());
        });
        ASSERT_EQ(w.host.Boxes.size(), 1u);
        ExpectBox(w.host.Boxes[0], 24005, 14100, kRefusal);
        EXPECT_TRUE(w.box.LogTexts().contains(QStringLiteral("frmProofConfig:cmdOK_Click Error.(%1)").arg(c.error)));
        EXPECT_TRUE(w.box.Read(QStringLiteral("Retry.txt")).startsWith("\"new\",0.2,\"cm\"\r\n"));
        EXPECT_EQ(w.f.cboProof->List(0), QStringLiteral("new"));
    }
}

void Key(QWidget* target, int key) {
    QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &press);
}

TEST(ProofDialog, KeyboardTabOrderDefaultAndCancelButtons) {
    const struct { const char* what; int key; bool onCancel; bool ok; } cases[] = {
        {"Enter in a text box is OK", Qt::Key_Return, false, true},
        {"Enter on the cancel button is Cancel", Qt::Key_Return, true, false},
        {"Escape is Cancel", Qt::Key_Escape, false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ProofWindow w;
        w.Calibrate(8, [&](frmProofConfig& d) {
            d.show();
            d.txtName->SetFocus();
            const vb::Control* order[] = {d.txtName, d.txtValue, d.cboUnit, d.cmdOK, d.cmdCancel};
            for (int i = 1; i < 5; ++i) {
                Key(d.focusWidget(), Qt::Key_Tab);
                EXPECT_EQ(d.focusWidget(), order[i]->Widget()) << "tab position " << i;
            }
            (c.onCancel ? static_cast<vb::Control*>(d.cmdCancel) : d.txtValue)->SetFocus();
            Key(d.focusWidget(), c.key);
            EXPECT_TRUE(d.Unloaded());
        });
        EXPECT_EQ(Var().DialogResult, c.ok);
    }
}

TEST(ProofDialog, EndsOnlyThroughItsButtonsWhateverWindowItIsShownIn) {
    ProofWindow w;
    w.Calibrate(8, [&](frmProofConfig& d) {
        d.setParent(&w.f, d.windowFlags() | Qt::Dialog);  // as the program's dialog host does
        EXPECT_FALSE(d.windowFlags() &
                     (Qt::WindowCloseButtonHint | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint));
        EXPECT_EQ(d.minimumSize(), d.maximumSize()) << "fixed border";
        d.close();  // a window manager's close
        EXPECT_FALSE(d.Unloaded());
        d.cmdCancel->Click();
        EXPECT_TRUE(d.Unloaded());
    });
}

}  // namespace
