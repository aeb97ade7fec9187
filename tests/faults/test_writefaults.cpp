// Every file the program replaces, against a disk that fills, a sync, close or rename that
// fails, and a folder that goes away: the old file stays byte for byte, no temporary file is
// left, the user is told, the state is rolled back and the program goes on.
#include <QDir>
#include <QFileInfo>
#include <cerrno>
#include <functional>
#include <gtest/gtest.h>

#include "CameraView.h"
#include "CommonModule.h"
#include "FaultFs.h"
#include "MeasureResults.h"
#include "OpenImage.h"
#include "Proof.h"
#include "ResultTable.h"
#include "SafeFile.h"
#include "StartedMain.h"
#include "Startup.h"
#include "frmProofConfig.h"

using tavix::GST;
using tavix::Var;
using Window = testing_support::StartedMain;

namespace {

constexpr long long kHalf = -1, kAllButOne = -2;
constexpr FaultKind kFolderGone = FaultNone;

struct Fault {
    const char* what;
    FaultKind kind;
    long long budget;
    int err;
    int number;  // what the user's box and the log then say
};

const Fault kFaults[] = {
    {"disk full at the first byte", FaultWrite, 0, ENOSPC, 61},
    {"disk full in the middle", FaultWrite, kHalf, ENOSPC, 61},
    {"disk full at the last block", FaultWrite, kAllButOne, ENOSPC, 61},
    {"sync fails", FaultFsync, 0, EIO, 57},
    {"close fails", FaultClose, 0, EIO, 57},
    {"rename fails", FaultRename, 0, EIO, 57},
    {"folder removed", kFolderGone, 0, 0, 76},
};

void OpenPicture(Window& w) {
    const QString path = w.box.File(QStringLiteral("opened.png"));
    ASSERT_TRUE(testing_support::QuarterPicture(160, 120).save(path));
    w.host.AnswerFile(path);
    tavix::cmdPicLoad_Click(w.f);
}

void PictureWithResult(Window& w) {
    OpenPicture(w);
    w.f.CommandMode = tavix::CommandMode::Distance;
    w.f.WorkPoints = {{}, {0, 0}, {30, 40}};
    tavix::AddMeasureResult(w.f);
    w.f.CommandMode = tavix::CommandMode::Idle;
}

// A still with one unsaved result, saved with its results under name.
void SavePicture(Window& w, const char* name, bool comment = false) {
    w.f.chkMeasureSave->SetValue(1);
    w.f.txtComment[0]->SetText(comment ? QStringLiteral("first") : QString());
    w.host.AnswerFile(w.box.File(QString::fromLatin1(name)));
    w.f.cmdPicSave->Click();
}

void Calibrate(Window& w) {
    tavix::cmdProofConfig_Click(w.f);
    tavix::ProofMeasure_MouseUp(w.f, 1, 0, 0);
    w.host.AnswerModal([](vb::Form& form) {
        auto& d = dynamic_cast<tavix::frmProofConfig&>(form);
        d.txtName->SetText(QStringLiteral("new"));
        d.txtValue->SetText(QStringLiteral("2"));
        d.cmdOK->Click();
        if (!d.Unloaded()) d.cmdCancel->Click();
    });
    tavix::ProofMeasure_MouseUp(w.f, 1, 0, 10);
}

struct Target {
    const char* what;
    const char* file;  // the replaced file, in the sandbox
    int16_t variant;
    std::function<void(Window&)> prepare, act;
    // The box the user gets for error number n, empty when none; the log line.
    std::function<QString(Window&, int n)> box;
    int title;
    std::function<QString(int n)> log;
    std::function<bool(Window&)> kept = [](Window&) { return true; };
    bool synced = true;    // false: a scratch file, never synced
    bool shipped = false;  // the old file is the deployment's own
};

QString SaveBox(Window& w, const char* name) { return GST(20034, w.box.File(QString::fromLatin1(name))); }
QString PicSaveLog(int n) { return QStringLiteral("cmdPicSave_Click Error.(%1)").arg(n); }
bool StillDirty(Window& w) { return w.f.ResultDirty && w.f.ResultCount == 1; }

// clang-format off
const Target kTargets[] = {
    {"settings at exit", "Tavix.Ini", 3, [](Window&) { Var().JpegQty = 55; },
     [](Window& w) { bool cancel = false; tavix::Form_Unload(w.f, cancel); }, nullptr, 0,
     [](int) { return QStringLiteral("WriteIniFileData WritePrivateProfileString Error "
                                     "[Section]=FILE,[Key]=JPEGQTY,[Value]=55"); },
     [](Window&) { return true; }, true, true},
    {"calibration", "Proof.txt", 3, OpenPicture, Calibrate, [](Window&, int) { return GST(24005); }, 14100,
     [](int n) { return QStringLiteral("frmProofConfig:cmdOK_Click Error.(%1)").arg(n); },
     [](Window&) { return Var().ProofTable[0].Name != QLatin1String("new"); }},
    {"result file", "out/results.txt", 3, PictureWithResult,
     [](Window& w) { w.host.AnswerFile(w.box.File("out/results.txt")), tavix::cmdResultSave_Click(w.f); },
     [](Window&, int) { return GST(20092); }, 11092,
     [](int n) { return QStringLiteral("cmdResultSave_Click Error.(%1)").arg(n); }, StillDirty},
    {"BMP", "out/p.bmp", 3, PictureWithResult, [](Window& w) { SavePicture(w, "out/p.bmp"); },
     [](Window& w, int) { return SaveBox(w, "out/p.bmp"); }, 11035, PicSaveLog, StillDirty},
    {"JPEG", "out/p.jpg", 3, PictureWithResult, [](Window& w) { SavePicture(w, "out/p.jpg"); },
     [](Window& w, int) { return SaveBox(w, "out/p.jpg"); }, 11035, PicSaveLog, StillDirty},
    {"temporary bitmap", "TempBitmap.bmp", 3,
     [](Window& w) { PictureWithResult(w), w.box.Write(QStringLiteral("out/p.jpg"), "old picture"); },
     [](Window& w) { SavePicture(w, "out/p.jpg"); }, [](Window& w, int) { return SaveBox(w, "TempBitmap.bmp"); }, 11035,
     PicSaveLog, [](Window& w) { return StillDirty(w) && w.box.Read(QStringLiteral("out/p.jpg")) == "old picture"; },
     false},
    // Without its folder the picture beside the comment fails first, and the box names it.
    {"comment file", "out/p.txt", 3, OpenPicture, [](Window& w) { SavePicture(w, "out/p.bmp", true); },
     [](Window& w, int n) { return SaveBox(w, n == 76 ? "out/p.bmp" : "out/p.txt"); }, 11035, PicSaveLog},
    {"camera settings", "Tavix.grf", 1, [](Window&) {},
     [](Window& w) {
         w.host.AnswerModal([](vb::Form& d) { static_cast<vb::CommandButton*>(d.FindControl("cmdCancel"))->Click(); });
         tavix::cmdPinProp_Click(w.f);
     },
     [](Window&, int n) { return GST(20109, tavix::WriteFailureReason(n)); }, 11103,
     [](int n) { return QStringLiteral("cmdPinProp_Click Error.(%1)").arg(n); },
     [](Window& w) { return w.f.FilterGraph != nullptr && !w.f.Unloaded(); }},
};
// clang-format on

// The file's size when the write goes through, so a fault can strike its middle or last block.
qint64 WrittenSize(const Target& t) {
    Window w(t.variant);
    QDir(w.box.Path()).mkpath(QStringLiteral("out"));
    t.prepare(w);
    if (!t.shipped) w.box.Write(QString::fromLatin1(t.file), "old");
    t.act(w);
    EXPECT_TRUE(w.host.Boxes.empty()) << t.what;
    return QFileInfo(w.box.File(QString::fromLatin1(t.file))).size();
}

TEST(WriteFaults, TheOldFileStaysTheUserIsToldAndTheProgramGoesOn) {
    for (const Target& t : kTargets) {
        const qint64 size = WrittenSize(t);
        EXPECT_GT(size, 3) << t.what;
        for (const Fault& fault : kFaults) {
            if (fault.kind == FaultFsync && !t.synced) continue;
            SCOPED_TRACE(std::string(t.what) + ", " + fault.what);
            Window w(t.variant);
            const QString file = w.box.File(QString::fromLatin1(t.file));
            const QString folder = QFileInfo(file).absolutePath();
            QDir(w.box.Path()).mkpath(QStringLiteral("out"));
            t.prepare(w);
            // An old file worth keeping, unlike anything the program would write.
            const QByteArray old =
                t.shipped ? w.box.Read(QString::fromLatin1(t.file)) : "old contents\r\n" + QByteArray(100, 'x');
            if (!t.shipped) w.box.Write(QString::fromLatin1(t.file), old);
            if (t.box) w.host.AnswerMsgBox(vb::vbOK);

            const long long budget = fault.budget == kHalf        ? size / 2
                                     : fault.budget == kAllButOne ? size - 1
                                                                  : fault.budget;
            const QString aside = folder + QStringLiteral(".aside");
            if (fault.kind == kFolderGone)
                ASSERT_TRUE(QDir().rename(folder, aside));
            else
                faultfs_arm(fault.kind, QFileInfo(file).fileName().toUtf8().constData(), budget, fault.err);
            t.act(w);
            faultfs_disarm();
            if (fault.kind == kFolderGone)
                ASSERT_TRUE(QDir().rename(aside, folder));
            else
                EXPECT_GT(faultfs_hits(), 0) << "the fault never struck";

            EXPECT_EQ(w.box.Read(QString::fromLatin1(t.file)), old);
            const QStringList left = QDir(folder).entryList(QDir::Files | QDir::Hidden);
            EXPECT_TRUE(std::none_of(left.begin(), left.end(), vb::IsSafeFileTemporary))
                << left.join(' ').toStdString();
            EXPECT_EQ(w.host.Boxes.size(), t.box ? 1u : 0u);
            if (t.box && !w.host.Boxes.empty()) {
                EXPECT_TRUE(w.host.Boxes[0].Prompt == t.box(w, fault.number) && w.host.Boxes[0].Title == GST(t.title))
                    << w.host.Boxes[0].Prompt.toStdString();
            }
            // With the program's own folder gone, the log is gone with it.
            const bool logGone = fault.kind == kFolderGone && folder == w.box.Path();
            EXPECT_TRUE(logGone || w.box.LogTexts().contains(t.log(fault.number)))
                << w.box.LogTexts().join('\n').toStdString();
            EXPECT_EQ(w.host.Ends, 0);
            EXPECT_TRUE(t.kept(w));
        }
    }
}

TEST(WriteFaults, OnlyTheTemporariesOfEndedWritersAreRemovedAtStart) {
    const QString dead = QStringLiteral(".Tavix.Ini.tavix-%1-Ab12Cd").arg(0x3FFFFFFF);
    const QString live = QStringLiteral(".Tavix.Ini.tavix-%1-Ab12Cd").arg(::getpid());
    const QString lookalikes[] = {QStringLiteral("Tavix.Ini.tavix-1-Ab12Cd"), QStringLiteral(".x.tavix-1-Ab12C"),
                                  QStringLiteral(".Tavix.Ini.XXXXXX")};
    testing_support::CameraMain w([&](testing_support::Sandbox& box, testing_support::ScriptedDialogHost&) {
        for (const QString& name : {dead, live}) box.Write(name, "partial");
        for (const QString& name : lookalikes) box.Write(name, "kept");
    });
    const testing_support::Sandbox& box = w.box;
    EXPECT_FALSE(QFileInfo::exists(box.File(dead)));
    EXPECT_TRUE(QFileInfo::exists(box.File(live)));
    for (const QString& name : lookalikes) EXPECT_TRUE(QFileInfo::exists(box.File(name))) << name.toStdString();
}

}  // namespace
