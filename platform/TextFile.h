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

// Writes UTF-8 lines with CR LF through SafeFile: 0, or the error number with the old
// file left as it was.
int WriteTextFileSafely(const QString& path, const QStringList& lines);

// Appends one UTF-8 line with CR LF and flushes; false when it could not.
bool AppendTextLine(const QString& path, const QString& line);

// The file test Dir(path) <> "": true for an existing regular file.
bool FileExists(const QString& path);

// Comma-delimited items read one at a time, the way records of numbered texts are kept:
// an item in double quotes may hold commas and line ends and ends at its closing quote;
// any other item ends at the next comma or line end, with the blanks around it dropped.
// Blanks and empty lines before an item do not count, but a comma right before a line end
// leaves an empty item. A record may go on over the next line.
class DelimitedInput {
public:
    explicit DelimitedInput(QString text);
    // The decoded text of a file; errors as ReadTextLines.
    static DelimitedInput FromFile(const QString& path);

    // True when nothing but blanks and line ends is left.
    bool Eof() const;
    // The next item; error 62 when there is none.
    QString ReadItem();

private:
    QString text_;
    qsizetype pos_ = 0;
    bool afterComma_ = false;
};

}  // namespace vb
