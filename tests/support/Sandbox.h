#pragma once
// A temporary installation: a copy of a deployment with App.Path pointed at it.
#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

namespace testing_support {

class Sandbox {
public:
    // deployment: "ja" or "en" from the source tree's deploy folder.
    explicit Sandbox(const QString& deployment = QStringLiteral("ja"));
    ~Sandbox();  // App.Path goes back to what it was

    QString Path() const { return dir_.path(); }
    QString File(const QString& name) const { return Path() + QLatin1Char('/') + name; }
    QByteArray Read(const QString& name) const;
    void Write(const QString& name, const QByteArray& bytes) const;
    void Remove(const QString& name) const;
    // The log's lines without their time stamps.
    QStringList LogTexts() const;
    // Replaces the value of a key in the ini file (or removes the line with an empty optional
    // value when remove is true); fails the test when the key is not there.
    void SetIni(const QString& key, const QString& value) const;
    void RemoveIni(const QString& key) const;
    // Copies the program files of this build (bin/tavix*) into the sandbox.
    void CopyExecutables() const;

private:
    QTemporaryDir dir_;
    QString previousPath_;
};

}  // namespace testing_support
