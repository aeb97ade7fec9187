#include "App.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace vb {

namespace {

QString& PathOverride() {
    static QString path;
    return path;
}

QString& TitleOverride() {
    static QString title;
    return title;
}

bool& TitleSet() {
    static bool set = false;
    return set;
}

QString WithoutTrailingSlash(QString path) {
    while (path.size() > 1 && path.endsWith(u'/')) path.chop(1);
    return path;
}

// Before a QCoreApplication exists Qt cannot say where the executable is; the kernel can.
QString ExecutableFile() {
    if (QCoreApplication::instance()) return QCoreApplication::applicationFilePath();
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
}

}  // namespace

QString App::Path() {
    if (!PathOverride().isEmpty()) return PathOverride();
    const QFileInfo exe(ExecutableFile());
    const QString dir = exe.absolutePath();
    const QString canonical = QFileInfo(dir).canonicalFilePath();
    return WithoutTrailingSlash(canonical.isEmpty() ? dir : canonical);
}

// An empty path goes back to the executable's folder.
void App::SetPath(const QString& path) { PathOverride() = WithoutTrailingSlash(path); }

QString App::Title() {
    if (TitleSet()) return TitleOverride();
    return QFileInfo(ExecutableFile()).fileName();
}

void App::SetTitle(const QString& title) {
    TitleOverride() = title;
    TitleSet() = true;
}

QString AppPathJoin(const QString& rel) { return App::Path() + NativePath(rel); }

QString NativePath(const QString& path) {
    QString p = path;
    p.replace(u'\\', u'/');
    return p;
}

}  // namespace vb
