#include "Sandbox.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <gtest/gtest.h>

#include "App.h"

namespace testing_support {

Sandbox::Sandbox(const QString& deployment) : previousPath_(vb::App::Path()) {
    EXPECT_TRUE(dir_.isValid());
    const QDir source(QStringLiteral(TAVIX_SOURCE_DIR "/deploy/") + deployment);
    const QStringList files = source.entryList(QDir::Files);
    EXPECT_FALSE(files.isEmpty()) << "no deployment at " << source.path().toStdString();
    for (const QString& name : files) QFile::copy(source.filePath(name), File(name));
    vb::App::SetPath(Path());
}

Sandbox::~Sandbox() { vb::App::SetPath(previousPath_); }

QByteArray Sandbox::Read(const QString& name) const {
    QFile f(File(name));
    if (!f.open(QIODevice::ReadOnly)) return {};
    return f.readAll();
}

void Sandbox::Write(const QString& name, const QByteArray& bytes) const {
    QFile f(File(name));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

void Sandbox::Remove(const QString& name) const { QFile::remove(File(name)); }

QStringList Sandbox::LogTexts() const {
    QStringList texts;
    static const QRegularExpression stamp(QStringLiteral("^\\d{4}/\\d{2}/\\d{2} \\d{2}:\\d{2}:\\d{2} "));
    for (const QByteArray& raw : Read(QStringLiteral("Error.Log")).split('\n')) {
        QString line = QString::fromUtf8(raw);
        if (line.endsWith(QLatin1Char('\r'))) line.chop(1);
        if (line.isEmpty()) continue;
        const auto m = stamp.match(line);
        EXPECT_TRUE(m.hasMatch()) << "log line without its time: " << line.toStdString();
        texts << line.mid(m.capturedLength());
    }
    return texts;
}

namespace {
// The line of key in the ini text, or -1.
int KeyLine(const QList<QByteArray>& lines, const QString& key) {
    for (int i = 0; i < lines.size(); ++i) {
        const QByteArray line = lines[i];
        const int eq = line.indexOf('=');
        if (eq > 0 && QString::fromUtf8(line.left(eq)).trimmed().compare(key.trimmed(), Qt::CaseInsensitive) == 0)
            return i;
    }
    return -1;
}
}  // namespace

void Sandbox::SetIni(const QString& key, const QString& value) const {
    QList<QByteArray> lines = Read(QStringLiteral("Tavix.Ini")).split('\n');
    const int at = KeyLine(lines, key);
    ASSERT_GE(at, 0) << "no key " << key.toStdString();
    lines[at] = (key.trimmed() + QLatin1Char('=') + value).toUtf8() + '\r';
    Write(QStringLiteral("Tavix.Ini"), lines.join('\n'));
}

void Sandbox::RemoveIni(const QString& key) const {
    QList<QByteArray> lines = Read(QStringLiteral("Tavix.Ini")).split('\n');
    const int at = KeyLine(lines, key);
    ASSERT_GE(at, 0) << "no key " << key.toStdString();
    lines.removeAt(at);
    Write(QStringLiteral("Tavix.Ini"), lines.join('\n'));
}

void Sandbox::CopyExecutables() const {
    const QDir bin(QStringLiteral(TAVIX_BIN_DIR));
    for (const QString& name : bin.entryList({QStringLiteral("tavix*")}, QDir::Files | QDir::Executable)) {
        QFile::copy(bin.filePath(name), File(name));
        QFile::setPermissions(File(name), QFile::permissions(bin.filePath(name)));
    }
}

}  // namespace testing_support
