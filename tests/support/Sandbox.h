#pragma once
// A temporary installation: a copy of a deployment with App.Path pointed at it.
#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace testing_support {

// A file's bytes, empty when it cannot be read; and a file made to hold exactly these bytes
// (the test fails when it cannot be written).
QByteArray ReadFile(const QString& path);
void WriteFile(const QString& path, const QByteArray& bytes);

// A test with an empty folder of its own; Put writes a file there and gives its path.
class TempDirTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    void SetUp() override { ASSERT_TRUE(dir.isValid()); }
    QString Put(const QString& name, const QByteArray& bytes) {
        WriteFile(dir.filePath(name), bytes);
        return dir.filePath(name);
    }
};

class Sandbox {
public:
    // deployment: "ja" or "en" from the source tree's deploy folder.
    explicit Sandbox(const QString& deployment = QStringLiteral("ja"));
    ~Sandbox();  // App.Path goes back to what it was

    QString Path() const { return dir_.path(); }
    QString File(const QString& name) const { return Path() + QLatin1Char('/') + name; }
    QByteArray Read(const QString& name) const { return ReadFile(File(name)); }
    void Write(const QString& name, const QByteArray& bytes) const { WriteFile(File(name), bytes); }
    void Remove(const QString& name) const { QFile::remove(File(name)); }
    // The log's lines without their time stamps.
    QStringList LogTexts() const;
    // Replaces the value of a key in the ini file; fails the test when the key is not there.
    void SetIni(const QString& key, const QString& value) const;
    // The ini file names this camera and the graph file holds it with these further lines.
    void UseCamera(const QString& name, const QByteArray& graphLines) const;

private:
    QTemporaryDir dir_;
    QString previousPath_;
};

}  // namespace testing_support
