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
#include "ResultTable.h"
#include "SafeFile.h"
#include "StartedMain.h"
#include "frmProofConfig.h"

using tavix::GST;
using tavix::Var;
using Window = testing_support::StartedMain;

namespace {

constexpr FaultKind kFolderGone = FaultNone;

// What goes wrong, the fault, its byte budget, its errno and the error number the box and the log then say.
// One byte fits: a short write must not pass for a whole one, and the next write fails outright. A bitmap
// also fails past its header.
const std::tuple<const char*, FaultKind, long long, int, int> kFaults[] = {
    {"disk full after a byte", FaultWrite, 1, ENOSPC, 61},
    {"disk full past the header", FaultWrite, 64, ENOSPC, 61},
    {"sync fails", FaultFsync, 0, EIO, 57},
    {"close fails", FaultClose, 0, EIO, 57},
    {"rename fails", FaultRename, 0, EIO, 57},
    {"folder removed", kFolderGone, 0, 0, 76},
};

// A picture opened, with a result to be saved with it.
void PictureWithResult(Window& w) {
    const QString path = w.box.File("opened.png");
    ASSERT_TRUE(testing_support::QuarterPicture(160, 120).save(path));
    w.host.AnswerFile(path);
    tavix::cmdPicLoad_Click(w.f);
    w.f.chkMeasureSave->SetValue(1);
    w.f.CommandMode = tavix::CommandMode::Distance;
    w.f.WorkPoints = {{}, {0, 0}, {30, 40}};
    tavix::AddMeasureResult(w.f);
    w.f.CommandMode = tavix::CommandMode::Idle;
}

// The box's text for the replaced file (its full path) and the error number.
using BoxText = std::function<QString(const QString& file, int n)>;
const BoxText NamesIt = [](const QString& file, int) { return GST(20034, file); };
// The still saved under name.
const auto Save = [](const char* name) -> std::function<void(Window&)> {
    return [=](Window& w) { w.host.AnswerFile(w.box.File(name)), w.f.cmdPicSave->Click(); };
};
bool StillDirty(Window& w) { return w.f.ResultDirty && w.f.ResultCount == 1; }

struct Target {
    const char* file;  // the replaced file, in the sandbox
    int16_t variant;
    std::function<void(Window&)> prepare, act;
    BoxText box;  // nullptr: no box
    std::function<bool(Window&)> kept = [](Window&) { return true; };
    int title = 11035;
    const char* log = "cmdPicSave_Click Error.(%1)";  // %1: the error number
    bool synced = true;                               // false: a scratch file, never synced
};

// clang-format off
const Target kTargets[] = {
    {"Tavix.Ini", 3, [](Window&) { Var().JpegQty = 55; }, [](Window& w) { w.f.Unload(); }, nullptr, [](Window&) { return true; }, 0,
     "WriteIniFileData WritePrivateProfileString Error [Section]=FILE,[Key]=JPEGQTY,[Value]=55"},
    // A calibration of 2 for a measured 10, confirmed.
    {"Proof.txt", 3, [](Window&) {}, [](Window&) {
         tavix::frmProofConfig d;
         d.Form_Load();
         d.txtName->SetText("new"), d.txtValue->SetText("2"), d.txtValue->Tag = "10", d.cmdOK->Click();
     }, [](auto&, int) { return GST(24005); }, [](Window&) { return Var().ProofTable[Var().CurrentProofNo].Name != "new"; },
     14100, "frmProofConfig:cmdOK_Click Error.(%1)"},
    {"out/results.txt", 3, PictureWithResult,
     [](Window& w) { w.host.AnswerFile(w.box.File("out/results.txt")), tavix::cmdResultSave_Click(w.f); },
     [](auto&, int) { return GST(20092); }, StillDirty, 11092, "cmdResultSave_Click Error.(%1)"},
    {"out/p.bmp", 3, PictureWithResult, Save("out/p.bmp"), NamesIt, StillDirty},
    // A still whose results were cleared: nothing is left unsaved.
    {"out/p.jpg", 3, [](Window& w) { PictureWithResult(w), tavix::ClearResults(w.f); }, Save("out/p.jpg"), NamesIt},
    {"TempBitmap.bmp", 3, [](Window& w) { PictureWithResult(w), w.box.Write("out/p.jpg", "old picture"); },
     Save("out/p.jpg"), NamesIt,
     [](Window& w) { return StillDirty(w) && w.box.Read("out/p.jpg") == "old picture"; }, 11035, "cmdPicSave_Click Error.(%1)", false},
    // Without its folder the picture beside the comment fails first, and the box names it.
    {"out/p.txt", 3, [](Window& w) { PictureWithResult(w), w.f.txtComment[0]->SetText("first"); }, Save("out/p.bmp"),
     [](const QString& file, int n) { return GST(20034, n == 76 ? QString(file).replace(".txt", ".bmp") : file); }},
    // Closed without OK or Cancel, the camera's settings are still written.
    {"Tavix.grf", 1, [](Window& w) { w.host.AnswerModal([](vb::Form&) {}); }, [](Window& w) { tavix::cmdPinProp_Click(w.f); },
     [](auto&, int n) { return GST(20109, tavix::WriteFailureReason(n)); },
     [](Window& w) { return w.f.FilterGraph != nullptr && !w.f.Unloaded(); }, 11103, "cmdPinProp_Click Error.(%1)"},
};
// clang-format on

TEST(WriteFaults, TheOldFileStaysTheUserIsToldAndTheProgramGoesOn) {
    for (const Target& t : kTargets)
        for (const auto& [what, kind, bytes, err, number] : kFaults) {
            if ((kind == FaultFsync && !t.synced) || (bytes == 64 && !QString(t.file).endsWith(".bmp"))) continue;
            SCOPED_TRACE(std::string(t.file) + ", " + what);
            Window w(t.variant);
            QDir(w.box.Path()).mkpath("out");
            t.prepare(w);
            // The shipped file, or one unlike anything the program would write.
            QByteArray old = w.box.Read(t.file);
            if (old.isEmpty()) w.box.Write(t.file, old = "old contents\r\n" + QByteArray(100, 'x'));
            const QString file = w.box.File(t.file), folder = QFileInfo(file).absolutePath(), aside = folder + ".aside";
            if (t.box) w.host.AnswerMsgBox(vb::vbOK);
            if (kind != kFolderGone) faultfs_arm(kind, QFileInfo(file).fileName().toUtf8().constData(), bytes, err);
            ASSERT_TRUE(kind != kFolderGone || QDir().rename(folder, aside));
            t.act(w);
            faultfs_disarm();
            ASSERT_TRUE(kind != kFolderGone || QDir().rename(aside, folder));
            EXPECT_TRUE(kind == kFolderGone || faultfs_hits() > 0) << "the fault never struck";
            EXPECT_EQ(w.box.Read(t.file), old);
            for (const QString& name : QDir(folder).entryList(QDir::Files | QDir::Hidden))
                EXPECT_FALSE(vb::IsSafeFileTemporary(name)) << name.toStdString();
            using Boxes = std::vector<testing_support::RecordedBox>;
            const Boxes told =
                t.box ? Boxes{{t.box(file, number), vb::vbOKOnly | vb::vbExclamation, GST(t.title)}} : Boxes{};
            EXPECT_EQ(w.host.Boxes, told);
            // With the program's own folder gone, the log is gone with it.
            const bool logGone = kind == kFolderGone && folder == w.box.Path();
            EXPECT_TRUE(logGone || w.box.LogTexts().contains(QString(t.log).replace("%1", QString::number(number))))
                << w.box.LogTexts().join('\n').toStdString();
            EXPECT_EQ((std::tuple{w.host.Ends, t.kept(w)}), (std::tuple{0, true}));
        }
}

TEST(WriteFaults, OnlyTheTemporariesOfEndedWritersAreRemovedAtStart) {
    const QString dead = QString(".Tavix.Ini.tavix-%1-Ab12Cd").arg(0x3FFFFFFF);
    const QStringList kept = {QString(".Tavix.Ini.tavix-%1-Ab12Cd").arg(::getpid()), "Tavix.Ini.tavix-1-Ab12Cd",
                              ".x.tavix-1-Ab12C", ".Tavix.Ini.XXXXXX"};
    testing_support::CameraMain w([&](testing_support::Sandbox& box, auto&) {
        for (const QString& name : kept + QStringList{dead}) box.Write(name, "partial");
    });
    EXPECT_FALSE(QFileInfo::exists(w.box.File(dead)));
    for (const QString& name : kept) EXPECT_TRUE(QFileInfo::exists(w.box.File(name))) << name.toStdString();
}

}  // namespace
