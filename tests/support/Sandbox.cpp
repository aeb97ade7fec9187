#include "Sandbox.h"

#include <QDir>
#include <QRegularExpression>
#include <algorithm>

#include "App.h"

namespace testing_support {

QByteArray ReadFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

void WriteFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    f.write(bytes);
}

Sandbox::Sandbox(const QString& deployment) : previousPath_(vb::App::Path()) {
    EXPECT_TRUE(dir_.isValid());
    const QDir source(QStringLiteral(TAVIX_SOURCE_DIR "/deploy/") + deployment);
    const QStringList files = source.entryList(QDir::Files);
    EXPECT_FALSE(files.isEmpty()) << "no deployment at " << source.path().toStdString();
    for (const QString& name : files) QFile::copy(source.filePath(name), File(name));
    vb::App::SetPath(Path());
}

Sandbox::~Sandbox() { vb::App::SetPath(previousPath_); }

QStringList Sandbox::LogTexts() const {
    static const QRegularExpression stamp(QStringLiteral("^\\d{4}/\\d{2}/\\d{2} \\d{2}:\\d{2}:\\d{2} "));
    QStringList texts = QString::fromUtf8(Read(QStringLiteral("Error.Log")))
                            .split(QRegularExpression(QStringLiteral("\r?\n")), Qt::SkipEmptyParts);
    for (QString& line : texts) {
        EXPECT_TRUE(line.contains(stamp)) << "log line without its time: " << line.toStdString();
        line.remove(stamp);
    }
    return texts;
}

void Sandbox::SetIni(const QString& key, const QString& value) const {
    QList<QByteArray> lines = Read(QStringLiteral("Tavix.Ini")).split('\n');
    const auto at = std::find_if(lines.begin(), lines.end(), [&](const QByteArray& line) {
        const int eq = line.indexOf('=');
        return eq > 0 && QString::fromUtf8(line.left(eq)).trimmed().compare(key.trimmed(), Qt::CaseInsensitive) == 0;
    });
    ASSERT_TRUE(at != lines.end()) << "no key " << key.toStdString();
    *at = (key.trimmed() + QLatin1Char('=') + value).toUtf8() + '\r';
    Write(QStringLiteral("Tavix.Ini"), lines.join('\n'));
}

void Sandbox::UseCamera(const QString& name, const QByteArray& graphLines) const {
    SetIni(QStringLiteral("CAMERAFILTERNAME"), name);
    Write(QStringLiteral("Tavix.grf"), "TavixGraph 1\r\ncamera=" + name.toUtf8() + "\r\n" + graphLines);
}

}  // namespace testing_support
