#include "SafeFile.h"

#include "Errors.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vb {

namespace {

// ".<name>.tavix-<pid>-<random>": hidden, tied to its target by name and to its writer by pid,
// so a later start can tell a crash's leftover from another instance's write in progress.
const QRegularExpression& TemporaryPattern() {
    static const QRegularExpression pattern(QStringLiteral("^\\..+\\.tavix-(\\d+)-[A-Za-z0-9]{6}$"));
    return pattern;
}

QString RandomTag() {
    static const char chars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    QString tag;
    for (int i = 0; i < 6; ++i) tag += QLatin1Char(chars[QRandomGenerator::global()->bounded(62)]);
    return tag;
}

int NumberOf(int err) {
    switch (err) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG: return ErrDiskFull;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY: return ErrPathFileAccess;
    case ENOENT:
    case ENOTDIR: return ErrPathNotFound;
    default: return ErrDeviceIO;
    }
}

void SyncFolder(const QString& folder) {
    // The rename has happened by now; a folder that cannot be synced changes nothing for it.
    const int dir = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir < 0) return;
    ::fsync(dir);
    ::close(dir);
}

}  // namespace

SafeFile::SafeFile(QString path, Durability durability) : path_(std::move(path)), durability_(durability) {}

SafeFile::~SafeFile() { Discard(); }

void SafeFile::Fail(int number) {
    if (error_ == 0) error_ = number;
}

void SafeFile::Discard() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
    if (!temp_.isEmpty()) ::unlink(QFile::encodeName(temp_).constData());
    temp_.clear();
    if (isOpen()) QIODevice::close();
}

bool SafeFile::open(OpenMode mode) {
    if (isOpen() || !(mode & WriteOnly) || (mode & ReadOnly)) return false;
    error_ = 0;
    QFileInfo target(path_);
    // A link is followed, so the file it names is replaced and the link stays.
    if (target.isSymLink() && target.exists()) target = QFileInfo(target.canonicalFilePath());
    const QString folder = target.absolutePath();
    if (!QFileInfo(folder).isDir()) {
        Fail(ErrPathNotFound);
        return false;
    }
    mode_t permissions = 0666;
    if (target.exists()) {
        struct stat st {};
        if (!target.isFile() || !target.isWritable() ||
            ::stat(QFile::encodeName(target.absoluteFilePath()).constData(), &st) != 0) {
            Fail(ErrPathFileAccess);
            return false;
        }
        permissions = st.st_mode & 07777;
    }
    const QString stem = QLatin1Char('.') + target.fileName().left(200) + QStringLiteral(".tavix-%1-").arg(::getpid());
    for (int attempt = 0; attempt < 16 && fd_ < 0; ++attempt) {
        temp_ = folder + QLatin1Char('/') + stem + RandomTag();
        fd_ = ::open(QFile::encodeName(temp_).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd_ < 0 && errno != EEXIST) break;
    }
    if (fd_ < 0) {
        Fail(NumberOf(errno));
        temp_.clear();
        return false;
    }
    // A new file gets what the umask allows; a replaced one keeps its own permissions.
    if (target.exists()) ::fchmod(fd_, permissions);
    path_ = target.absoluteFilePath();
    return QIODevice::open(WriteOnly | Unbuffered);
}

qint64 SafeFile::writeData(const char* data, qint64 size) {
    if (fd_ < 0 || error_ != 0) return -1;
    qint64 done = 0;
    while (done < size) {
        const ssize_t n = ::write(fd_, data + done, static_cast<size_t>(size - done));
        if (n < 0) {
            if (errno == EINTR) continue;
            Fail(NumberOf(errno));
            return -1;
        }
        if (n == 0) {
            Fail(ErrDiskFull);
            return -1;
        }
        done += n;
    }
    return done;
}

bool SafeFile::commit() {
    if (!isOpen() || fd_ < 0) {
        Fail(ErrInvalidCall);
        Discard();
        return false;
    }
    const bool synced = durability_ == Durability::Synced;
    if (error_ == 0 && synced && ::fsync(fd_) != 0) Fail(NumberOf(errno));
    // A network file system may report a failed write only when the file is closed.
    if (::close(fd_) != 0) Fail(NumberOf(errno));
    fd_ = -1;
    if (error_ == 0 && ::rename(QFile::encodeName(temp_).constData(), QFile::encodeName(path_).constData()) != 0)
        Fail(NumberOf(errno));
    if (error_ != 0) {
        Discard();
        return false;
    }
    temp_.clear();
    QIODevice::close();
    if (synced) SyncFolder(QFileInfo(path_).absolutePath());
    return true;
}

void SafeFile::cancel() { Discard(); }

int WriteFileSafely(const QString& path, const QByteArray& data) {
    SafeFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size())
        file.commit();
    else
        file.cancel();
    return file.ErrorNumber() != 0 ? file.ErrorNumber() : 0;
}

bool IsSafeFileTemporary(const QString& name) { return TemporaryPattern().match(name).hasMatch(); }

int RemoveStrayTemporaries(const QString& folder) {
    int removed = 0;
    const QDir dir(folder);
    const QStringList names = dir.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& name : names) {
        const QRegularExpressionMatch m = TemporaryPattern().match(name);
        if (!m.hasMatch()) continue;
        bool ok = false;
        const pid_t pid = static_cast<pid_t>(m.captured(1).toLongLong(&ok));
        if (!ok || pid <= 0) continue;
        // Another instance may be writing it right now.
        if (pid == ::getpid() || ::kill(pid, 0) == 0 || errno == EPERM) continue;
        if (QFile::remove(dir.filePath(name))) ++removed;
    }
    return removed;
}

}  // namespace vb
