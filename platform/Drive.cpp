#include "Drive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <sys/statvfs.h>

#include <algorithm>
#include <iterator>

#include "Errors.h"

namespace vb {

namespace {

std::function<QString()>& MountTableProbe() {
    static std::function<QString()> probe;
    return probe;
}

std::function<std::optional<double>(const QString&)>& FreeBytesProbe() {
    static std::function<std::optional<double>(const QString&)> probe;
    return probe;
}

QString RealMountTable() {
    QFile file(QStringLiteral("/proc/self/mounts"));
    if (!file.open(QIODevice::ReadOnly)) return {};
    return QString::fromLocal8Bit(file.readAll());
}

std::optional<double> RealFreeBytes(const QString& folder) {
    struct statvfs fs {};
    if (statvfs(QFile::encodeName(folder).constData(), &fs) != 0) return std::nullopt;
    return static_cast<double>(fs.f_bavail) * static_cast<double>(fs.f_frsize);
}

// The mount table writes blanks, tabs, line ends and backslashes in names as \ooo.
QString Unescape(const QString& field) {
    QString out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == u'\\' && i + 3 < field.size()) {
            bool ok = false;
            const int code = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok) {
                out += QChar(code);
                i += 3;
                continue;
            }
        }
        out += field[i];
    }
    return out;
}

bool IsNetworkType(const QString& type) {
    // Any FUSE file system may sit on a remote host; only block-backed ones ("fuseblk") are local.
    if (type.startsWith(QStringLiteral("fuse."))) return true;
    // Folders a virtual machine's host shares in (9p, virtiofs) count as network drives.
    static const char* const network[] = {"nfs", "nfs4",     "cifs", "smbfs",     "smb3",  "ncpfs",  "afs",
                                          "9p",  "virtiofs", "ceph", "glusterfs", "sshfs", "lustre", "davfs"};
    return std::any_of(std::begin(network), std::end(network),
                       [&](const char* name) { return type == QLatin1String(name); });
}

// The folder of path with symbolic links resolved as far as it exists, so that it can be
// compared with mount points.
QString ResolvedFolder(const QString& path) {
    const QString folder = QDir::cleanPath(QFileInfo(path).absolutePath());
    QString at = folder;
    QString rest;
    for (;;) {
        const QString canonical = QFileInfo(at).canonicalFilePath();
        if (!canonical.isEmpty()) return QDir::cleanPath(canonical + rest);
        const QString up = QFileInfo(at).path();
        if (up == at) return folder;
        rest.prepend(QLatin1Char('/') + QFileInfo(at).fileName());
        at = up;
    }
}

bool Holds(const QString& mountPoint, const QString& folder) {
    if (mountPoint == QLatin1String("/")) return true;
    return folder == mountPoint || folder.startsWith(mountPoint + QLatin1Char('/'));
}

}  // namespace

bool IsNetworkPath(const QString& path) {
    if (path.startsWith(QStringLiteral("//")) || path.startsWith(QStringLiteral("\\\\"))) return true;
    if (path.isEmpty()) return false;
    const QString folder = ResolvedFolder(path);
    const QString table = MountTableProbe() ? MountTableProbe()() : RealMountTable();
    qsizetype best = -1;
    bool network = false;
    for (const QString& line : table.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (fields.size() < 3) continue;
        const QString mountPoint = QDir::cleanPath(Unescape(fields[1]));
        if (!Holds(mountPoint, folder)) continue;
        // A later mount on the same point hides the earlier one.
        if (mountPoint.size() >= best) {
            best = mountPoint.size();
            network = IsNetworkType(fields[2]);
        }
    }
    return network;
}

double FreeSpace(const QString& path) {
    if (path.isEmpty()) Raise(ErrPathNotFound);
    const QString folder = QDir::cleanPath(QFileInfo(path).absolutePath());
    const std::optional<double> free = FreeBytesProbe() ? FreeBytesProbe()(folder) : RealFreeBytes(folder);
    if (!free) Raise(ErrPathNotFound);
    return *free;
}

void SetDriveProbe(std::function<QString()> mountTable,
                   std::function<std::optional<double>(const QString& folder)> freeBytes) {
    MountTableProbe() = std::move(mountTable);
    FreeBytesProbe() = std::move(freeBytes);
}

}  // namespace vb
