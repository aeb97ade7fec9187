#include "Drive.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>

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

std::function<QString(const QString&)>& DeviceProbe() {
    static std::function<QString(const QString&)> probe;
    return probe;
}

QString& SysfsRoot() {
    static QString root = QStringLiteral("/sys");
    return root;
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

// What a file system type of the mount table says by itself; nullopt for a disk's own.
std::optional<DriveType> TypeOfFileSystem(const QString& type) {
    // Any FUSE file system may sit on a remote host; only block-backed ones ("fuseblk") are local.
    if (type.startsWith(QStringLiteral("fuse."))) return DriveType::Network;
    // Folders a virtual machine's host shares in (9p, virtiofs) count as network drives.
    static const char* const network[] = {"nfs",      "nfs4", "cifs",      "smbfs", "smb3",   "ncpfs", "afs", "9p",
                                          "virtiofs", "ceph", "glusterfs", "sshfs", "lustre", "davfs", "fuse"};
    static const char* const ram[] = {"tmpfs", "ramfs", "hugetlbfs", "devtmpfs"};
    static const char* const optical[] = {"iso9660", "udf"};
    auto in = [&](const auto& names) {
        return std::any_of(std::begin(names), std::end(names), [&](const char* n) { return type == QLatin1String(n); });
    };
    if (in(network)) return DriveType::Network;
    if (in(ram)) return DriveType::Ram;
    if (in(optical)) return DriveType::Optical;
    return std::nullopt;
}

// The same from the file system's magic number, for what the mount table may name otherwise.
std::optional<DriveType> TypeOfMagic(long magic) {
    switch (static_cast<unsigned long>(magic) & 0xffffffffUL) {
    case TMPFS_MAGIC:
    case RAMFS_MAGIC:
    case HUGETLBFS_MAGIC: return DriveType::Ram;
    case NFS_SUPER_MAGIC:
    case SMB_SUPER_MAGIC:
    case 0xff534d42UL:  // cifs
    case 0xfe534d42UL:  // smb2
    case V9FS_MAGIC:
    case AFS_SUPER_MAGIC:
    case CODA_SUPER_MAGIC:
    case 0x00c36400UL:  // ceph
        return DriveType::Network;
    case ISOFS_SUPER_MAGIC:
    case UDF_SUPER_MAGIC: return DriveType::Optical;
    default: return std::nullopt;
    }
}

QString ReadSysfs(const QString& file) {
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly)) return {};
    return QString::fromLatin1(f.readAll()).trimmed();
}

// The block device's own kind from its sysfs folder; what it sits on is asked for in turn.
// depth bounds stacks of device-mapper and loop devices that point at one another.
DriveType TypeOfBlockDevice(const QString& sysDir, int depth);

DriveType TypeOfFolder(const QString& folder, int depth);

DriveType TypeOfBlockDevice(const QString& sysDir, int depth) {
    QString dev = QFileInfo(sysDir).canonicalFilePath();
    if (dev.isEmpty() || depth > 8) return DriveType::Fixed;
    // A partition's flags are its disk's.
    if (QFileInfo::exists(dev + QStringLiteral("/partition"))) dev = QFileInfo(dev).path();
    const QString name = QFileInfo(dev).fileName();
    if (ReadSysfs(dev + QStringLiteral("/removable")) == QLatin1String("1")) return DriveType::Removable;
    // SCSI type 5 is a CD/DVD drive; "sr" is its kernel name.
    if (name.startsWith(QStringLiteral("sr")) || ReadSysfs(dev + QStringLiteral("/device/type")) == QLatin1String("5"))
        return DriveType::Optical;
    // Block devices in memory: compressed RAM (zram) and the RAM disk driver (ram0, …).
    if (name.startsWith(QStringLiteral("zram")) ||
        (name.startsWith(QStringLiteral("ram")) && name.size() > 3 && name[3].isDigit()))
        return DriveType::Ram;
    // A loop device is what its backing file lies on.
    if (const QString backing = ReadSysfs(dev + QStringLiteral("/loop/backing_file")); !backing.isEmpty())
        return TypeOfFolder(QFileInfo(backing).absolutePath(), depth + 1);
    // Device-mapper and md devices are as fixed as the least fixed device under them.
    const QFileInfoList slaves =
        QDir(dev + QStringLiteral("/slaves")).entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::System);
    for (const QFileInfo& slave : slaves)
        if (const DriveType t = TypeOfBlockDevice(slave.filePath(), depth + 1); t != DriveType::Fixed) return t;
    return DriveType::Fixed;
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

// The nearest folder of folder that exists, for the look-ups that need a real file.
QString ExistingFolder(QString folder) {
    while (!QFileInfo::exists(folder)) {
        const QString up = QFileInfo(folder).path();
        if (up == folder) break;
        folder = up;
    }
    return folder;
}

DriveType TypeOfFolder(const QString& folder, int depth) {
    const bool real = !MountTableProbe();
    const QString table = real ? RealMountTable() : MountTableProbe()();
    qsizetype best = -1;
    QString source, type;
    for (const QString& line : table.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        if (fields.size() < 3) continue;
        const QString mountPoint = QDir::cleanPath(Unescape(fields[1]));
        // The longest mount point that holds the folder; a later mount on the same point hides the earlier.
        if (Holds(mountPoint, folder) && mountPoint.size() >= best) {
            best = mountPoint.size();
            source = Unescape(fields[0]);
            type = fields[2];
        }
    }
    if (const auto t = TypeOfFileSystem(type)) return *t;
    const QByteArray native = QFile::encodeName(ExistingFolder(folder));
    if (real) {
        struct statfs fs {};
        if (statfs(native.constData(), &fs) == 0)
            if (const auto t = TypeOfMagic(fs.f_type)) return *t;
    }

    // The block device: the folder's own device number, else the mount's source (btrfs and
    // fuseblk give the folder a device number of no disk).
    QString sysDir;
    if (DeviceProbe()) {
        if (const QString device = DeviceProbe()(folder); !device.isEmpty())
            sysDir = SysfsRoot() + QStringLiteral("/dev/block/") + device;
    } else if (real) {
        struct stat st {};
        if (stat(native.constData(), &st) == 0 && major(st.st_dev) != 0)
            sysDir = QStringLiteral("%1/dev/block/%2:%3").arg(SysfsRoot()).arg(major(st.st_dev)).arg(minor(st.st_dev));
    } else {
        return DriveType::Fixed;  // a mount table of a test, with no disks behind it
    }
    if ((sysDir.isEmpty() || !QFileInfo::exists(sysDir)) && source.startsWith(QStringLiteral("/dev/"))) {
        const QString node = QFileInfo(source).canonicalFilePath();
        sysDir = SysfsRoot() + QStringLiteral("/class/block/") + QFileInfo(node.isEmpty() ? source : node).fileName();
    }
    return sysDir.isEmpty() ? DriveType::Fixed : TypeOfBlockDevice(sysDir, depth);
}

}  // namespace

DriveType TargetDriveType(const QString& path) {
    if (path.startsWith(QStringLiteral("//")) || path.startsWith(QStringLiteral("\\\\"))) return DriveType::Network;
    if (path.isEmpty()) return DriveType::Fixed;
    return TypeOfFolder(ResolvedFolder(path), 0);
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

void SetBlockDeviceProbe(std::function<QString(const QString& folder)> deviceOf, const QString& sysfsRoot) {
    DeviceProbe() = std::move(deviceOf);
    SysfsRoot() = DeviceProbe() ? sysfsRoot : QStringLiteral("/sys");
}

}  // namespace vb
