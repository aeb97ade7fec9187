#include "MovieJournal.h"

#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <csignal>

#include <unistd.h>

#include "App.h"
#include "AviRepair.h"
#include "CommonModule.h"
#include "DialogHost.h"
#include "Errors.h"
#include "TextFile.h"

namespace tavix {

namespace {

QString NotePath() { return vb::AppPathJoin(QStringLiteral("\\Tavix.recording")); }

// Tells one boot from the next: after a power loss a process id may be in use again.
QString BootId() {
    QFile f(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    return f.open(QIODevice::ReadOnly) ? QString::fromLatin1(f.readAll()).trimmed() : QString();
}

bool StillRecording(const QString& boot, qint64 pid) {
    if (boot != BootId() || pid <= 0) return false;
    return pid != ::getpid() && (::kill(pid_t(pid), 0) == 0 || errno == EPERM);
}

}  // namespace

void NoteMovieStarted(const QString& movie) {
    // Without the note only a crash would go unrepaired; the recording itself goes on.
    if (const int err = vb::WriteTextFileSafely(NotePath(), {BootId(), QString::number(::getpid()), movie}); err != 0)
        WriteLog(QStringLiteral("NoteMovieStarted Error.(%1)").arg(err));
}

void NoteMovieEnded() { QFile::remove(NotePath()); }

void RepairMovieOfLastRun(frmMain& f) {
    if (!QFileInfo::exists(NotePath())) return;
    QStringList note;
    vb::Trap([&] { note = vb::ReadTextLines(NotePath()); });
    if (note.size() >= 3 && StillRecording(note[0], note[1].toLongLong())) return;
    QFile::remove(NotePath());
    if (note.size() < 3 || !QFileInfo::exists(note[2])) return;
    const cam::AviRepair r = cam::RepairUnfinishedAvi(note[2]);
    if (r.error != 0) {
        WriteLog(QStringLiteral("RepairMovieOfLastRun Error.(%1)").arg(r.error));
        return;
    }
    if (!r.repaired) return;
    WriteLog(QStringLiteral("Unfinished Movie Repaired.(%1)").arg(r.frames));
    vb::Host().MsgBox(GST(20155, note[2]), vb::vbOKOnly | vb::vbInformation, GST(11150), &f);
}

}  // namespace tavix
