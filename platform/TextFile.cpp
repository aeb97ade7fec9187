#include "TextFile.h"

#include "Errors.h"
#include "SafeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <cerrno>
#include <iconv.h>

namespace vb {

namespace {

// Shift JIS as Windows extends it. Qt may be built without it, glibc's iconv has it.
// A byte that does not decode becomes U+FFFD and is passed, so line feeds always survive.
QString DecodeCp932(const QByteArray& bytes) {
    iconv_t cd = iconv_open("UTF-8", "CP932");
    if (cd == reinterpret_cast<iconv_t>(-1)) return QString::fromLatin1(bytes);
    // One byte of CP932 never needs more than three of UTF-8, nor does U+FFFD.
    QByteArray out(bytes.size() * 3 + 16, '\0');
    char* in = const_cast<char*>(bytes.constData());
    size_t inLeft = static_cast<size_t>(bytes.size());
    char* o = out.data();
    size_t outLeft = static_cast<size_t>(out.size());
    while (inLeft > 0) {
        if (iconv(cd, &in, &inLeft, &o, &outLeft) != static_cast<size_t>(-1)) break;
        if (errno == E2BIG) break;
        static const char replacement[] = "\xEF\xBF\xBD";
        if (outLeft < 3) break;
        for (int i = 0; i < 3; ++i) *o++ = replacement[i];
        outLeft -= 3;
        ++in;
        --inLeft;
    }
    iconv_close(cd);
    out.truncate(o - out.data());
    return QString::fromUtf8(out);
}

}  // namespace

QString DecodeText(const QByteArray& bytes) {
    const QByteArray bom("\xEF\xBB\xBF");
    const QByteArray body = bytes.startsWith(bom) ? bytes.mid(bom.size()) : bytes;
    QStringDecoder utf8(QStringDecoder::Utf8,
                        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    QString text = utf8.decode(body);
    if (!utf8.hasError()) return text;
    return DecodeCp932(bytes);
}

namespace {

QByteArray ReadWholeFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists()) {
        if (!info.absoluteDir().exists()) Raise(ErrPathNotFound);
        Raise(ErrFileNotFound);
    }
    if (!info.isFile()) Raise(ErrPathFileAccess);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) Raise(ErrPathFileAccess);
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) Raise(ErrDeviceIO);
    return bytes;
}

bool IsBlank(QChar c) { return c == u' ' || c == u'\t'; }
bool IsLineEnd(QChar c) { return c == u'\r' || c == u'\n'; }

}  // namespace

QStringList ReadTextLines(const QString& path) {
    const QByteArray bytes = ReadWholeFile(path);
    QStringList lines;
    if (bytes.isEmpty()) return lines;
    lines = DecodeText(bytes).split(u'\n');
    // A newline ends the line before it; it does not start another one.
    if (bytes.endsWith('\n')) lines.removeLast();
    for (QString& line : lines)
        if (line.endsWith(u'\r')) line.chop(1);
    return lines;
}

int WriteTextFileSafely(const QString& path, const QStringList& lines) {
    QByteArray data;
    for (const QString& line : lines) {
        data += line.toUtf8();
        data += "\r\n";
    }
    return WriteFileSafely(path, data);
}

bool AppendTextLine(const QString& path, const QString& line) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) return false;
    const QByteArray data = line.toUtf8() + "\r\n";
    const bool ok = file.write(data) == data.size() && file.flush();
    file.close();
    return ok && file.error() == QFileDevice::NoError;
}

bool FileExists(const QString& path) { return !path.isEmpty() && QFileInfo(path).isFile(); }

DelimitedInput::DelimitedInput(QString text) : text_(std::move(text)) {}

DelimitedInput DelimitedInput::FromFile(const QString& path) { return DelimitedInput(DecodeText(ReadWholeFile(path))); }

bool DelimitedInput::Eof() const {
    if (afterComma_) return false;
    for (qsizetype i = pos_; i < text_.size(); ++i)
        if (!IsBlank(text_[i]) && !IsLineEnd(text_[i])) return false;
    return true;
}

QString DelimitedInput::ReadItem() {
    const qsizetype n = text_.size();
    while (pos_ < n && (IsBlank(text_[pos_]) || (!afterComma_ && IsLineEnd(text_[pos_])))) ++pos_;
    if (pos_ >= n && !afterComma_) Raise(ErrInputPastEnd);

    QString item;
    if (pos_ < n && text_[pos_] == u'"') {
        const qsizetype close = text_.indexOf(u'"', pos_ + 1);
        const qsizetype end = close < 0 ? n : close;
        item = text_.mid(pos_ + 1, end - pos_ - 1);
        pos_ = close < 0 ? n : close + 1;
        // Whatever stands between the closing quote and the delimiter is dropped.
        while (pos_ < n && text_[pos_] != u',' && !IsLineEnd(text_[pos_])) ++pos_;
    } else {
        const qsizetype start = pos_;
        while (pos_ < n && text_[pos_] != u',' && !IsLineEnd(text_[pos_])) ++pos_;
        item = text_.mid(start, pos_ - start);
        while (!item.isEmpty() && IsBlank(item.back())) item.chop(1);
    }

    afterComma_ = pos_ < n && text_[pos_] == u',';
    if (afterComma_) {
        ++pos_;
    } else if (pos_ < n) {
        if (text_[pos_] == u'\r') ++pos_;
        if (pos_ < n && text_[pos_] == u'\n') ++pos_;
    }
    return item;
}

}  // namespace vb
