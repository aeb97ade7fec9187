#pragma once
// The one way the program replaces a file: written beside the target, checked at every
// write, synced, and renamed over it only when all of it is on the disk. On any failure the
// old file stays byte for byte and the temporary file is removed.
#include <QIODevice>
#include <QString>

namespace vb {

class SafeFile : public QIODevice {
public:
    // Scratch: a file only this program reads back at once, so a power loss may take it;
    // it is not synced, everything else is checked as for any file.
    enum class Durability { Synced, Scratch };
    explicit SafeFile(QString path, Durability durability = Durability::Synced);
    ~SafeFile() override;  // without a commit the temporary file is removed
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    // Write-only. Fails (ErrorNumber says why) when the target is a read-only file or no
    // file, or when no temporary file can be made beside it.
    bool open(OpenMode mode) override;
    // Syncs, renames over the target and syncs the folder; false leaves the old file.
    bool commit();
    // Gives up: the temporary file is removed, the target untouched.
    void cancel();

    // 0, or the platform error number of the first thing that failed
    // (61 disk full, 75 not writable, 76 folder gone, 57 anything else).
    int ErrorNumber() const { return error_; }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override;

private:
    void Fail(int number);
    void Discard();

    QString path_;
    Durability durability_;
    QString temp_;
    int fd_ = -1;
    int error_ = 0;
};

// Writes data to path through SafeFile; 0, or the error number.
int WriteFileSafely(const QString& path, const QByteArray& data);

// Whether name is one of SafeFile's temporary files.
bool IsSafeFileTemporary(const QString& name);
// Removes, from folder, the temporary files that a replace cut short by a crash left
// behind: those of processes that no longer run. Gives how many went.
int RemoveStrayTemporaries(const QString& folder);

}  // namespace vb
