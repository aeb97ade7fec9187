#include "DataFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "App.h"

namespace vb {

namespace {

const QString kIni = QStringLiteral("Tavix.Ini");

bool Writable(const QString& path) { return ::access(QFile::encodeName(path).constData(), W_OK) == 0; }

// The language of messages, as gettext reads it.
QString Language(const QProcessEnvironment& env) {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const QString value = env.value(QString::fromLatin1(name));
        if (!value.isEmpty())
            return value.startsWith(QLatin1String("ja")) ? QStringLiteral("ja") : QStringLiteral("en");
    }
    return QStringLiteral("en");
}

QString SystemError() { return QString::fromLocal8Bit(std::strerror(errno)); }

}  // namespace

ProgramFolder ProgramFolderOf(const QString& exeDir) {
    const QString ini = exeDir + QLatin1Char('/') + kIni;
    if (!QFileInfo(ini).isFile()) return ProgramFolder::NoIni;
    // The ini is replaced through a temporary file beside it, so the folder must be writable too.
    return Writable(ini) && Writable(exeDir) ? ProgramFolder::WritableIni : ProgramFolder::ReadOnlyIni;
}

DataFolderChoice ChooseDataFolder(const QString& exeDir, ProgramFolder kind, const QProcessEnvironment& env) {
    if (kind == ProgramFolder::WritableIni) return {exeDir, {}, {}};
    // A relative XDG_CONFIG_HOME is invalid and ignored, as the base directory rules say.
    QString config = env.value(QStringLiteral("XDG_CONFIG_HOME"));
    if (!QDir::isAbsolutePath(config)) {
        const QString home = env.value(QStringLiteral("HOME"));
        if (!QDir::isAbsolutePath(home))
            return {{},
                    {},
                    QStringLiteral("Neither HOME nor XDG_CONFIG_HOME is set: "
                                   "there is no folder for this user's files.")};
        config = home + QStringLiteral("/.config");
    }
    const QString shipped = kind == ProgramFolder::ReadOnlyIni
                                ? exeDir
                                : QDir::cleanPath(exeDir + QStringLiteral("/../share/tavix/") + Language(env));
    return {QDir::cleanPath(config + QStringLiteral("/tavix")), shipped, {}};
}

QString PrepareDataFolder(const DataFolderChoice& choice) {
    if (QFileInfo(choice.Path).isDir()) return {};
    if (!QFileInfo(choice.Shipped + QLatin1Char('/') + kIni).isFile())
        return QStringLiteral("The shipped files are missing: %1").arg(choice.Shipped);
    const QString parent = QFileInfo(choice.Path).absolutePath();
    if (!QFileInfo(parent).isDir()) {
        if (!QDir().mkpath(parent)) return QStringLiteral("Cannot create %1").arg(parent);
        QFile::setPermissions(parent, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QByteArray pattern = QFile::encodeName(parent + QStringLiteral("/.tavix-XXXXXX"));
    if (!::mkdtemp(pattern.data()))
        return QStringLiteral("Cannot create a folder in %1: %2").arg(parent, SystemError());
    const QString staging = QFile::decodeName(pattern);
    auto fail = [&](const QString& why) {
        QDir(staging).removeRecursively();
        return why;
    };
    // The deployment's text files; a read-only portable folder also holds programs and a log.
    for (const QFileInfo& file : QDir(choice.Shipped).entryInfoList(QDir::Files)) {
        if (file.isExecutable() || file.fileName() == QLatin1String("Error.Log")) continue;
        const QString target = staging + QLatin1Char('/') + file.fileName();
        if (!QFile::copy(file.filePath(), target))
            return fail(QStringLiteral("Cannot copy %1 to %2").arg(file.filePath(), staging));
        QFile::setPermissions(target, QFile::permissions(target) | QFile::WriteOwner);
    }
    if (std::rename(pattern.constData(), QFile::encodeName(choice.Path).constData()) != 0) {
        const QString why = SystemError();
        // Another start of the program may have finished its copy first; that one counts.
        if (QFileInfo(choice.Path).isDir()) return fail({});
        return fail(QStringLiteral("Cannot create %1: %2").arg(choice.Path, why));
    }
    return {};
}

QString UseDataFolder() {
    const QString exeDir = App::Path();
    const DataFolderChoice choice =
        ChooseDataFolder(exeDir, ProgramFolderOf(exeDir), QProcessEnvironment::systemEnvironment());
    if (choice.Path.isEmpty()) return choice.Error;
    if (QString error = PrepareDataFolder(choice); !error.isEmpty()) return error;
    if (choice.Path != exeDir) App::SetPath(choice.Path);
    return {};
}

}  // namespace vb
