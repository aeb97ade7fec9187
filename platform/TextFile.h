#pragma once
// Text files as the program reads and writes them.
#include <QByteArray>
#include <QString>
#include <QStringList>

namespace vb {

// UTF-8 when the bytes are valid UTF-8 (a BOM is dropped), else CP932.
QString DecodeText(const QByteArray& bytes);

// Lines of a text file, CR LF or LF. Missing file: error 53; unreadable: error 75.
QStringList ReadTextLines(const QString& path);

// Writes UTF-8 lines with CR LF through a temporary file renamed over the target.
// Returns false and leaves the target untouched when any step fails.
bool WriteTextFileAtomic(const QString& path, const QStringList& lines);

// Writes bytes through a temporary file in the same folder renamed over the target, so a
// crash or a full disk never leaves it half-written. False, target untouched, on failure.
bool WriteFileAtomic(const QString& path, const QByteArray& data);

// Appends one UTF-8 line with CR LF and flushes; false when it could not.
bool AppendTextLine(const QString& path, const QString& line);

// The file test Dir(path) <> "": true for an existing regular file.
bool FileExists(const QString& path);

}  // namespace vb
