#include "Ini.h"

#include "Errors.h"
#include "SafeFile.h"
#include "TextFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <QVector>

#include <cerrno>
#include <iconv.h>

namespace vb {

namespace {

bool IsBlank(QChar c) { return c == u' ' || c == u'\t'; }

QString TrimBlanks(const QString& s) {
    qsizetype a = 0, b = s.size();
    while (a < b && IsBlank(s[a])) ++a;
    while (b > a && IsBlank(s[b - 1])) --b;
    return s.mid(a, b - a);
}

// Names compare like the profile functions do: ASCII letters without case, the rest exactly.
bool SameName(const QString& a, const QString& b) {
    if (a.size() != b.size()) return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        char16_t x = a[i].unicode(), y = b[i].unicode();
        if (x >= u'A' && x <= u'Z') x += 32;
        if (y >= u'A' && y <= u'Z') y += 32;
        if (x != y) return false;
    }
    return true;
}

bool IsUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder.decode(bytes);  // decode() is lazy until converted
    return !decoder.hasError();
}

// Text in the file's own encoding, so that a CP932 file stays one encoding throughout.
// Characters CP932 lacks become "?", as with the ANSI profile functions.
QByteArray Encode(const QString& text, bool utf8) {
    if (utf8) return text.toUtf8();
    iconv_t cd = iconv_open("CP932", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) return text.toUtf8();
    QByteArray in = text.toUtf8();
    QByteArray out(in.size() * 2 + 16, '\0');
    char* src = in.data();
    size_t srcLeft = static_cast<size_t>(in.size());
    char* dst = out.data();
    size_t dstLeft = static_cast<size_t>(out.size());
    while (srcLeft > 0) {
        if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) != static_cast<size_t>(-1)) break;
        if (errno == E2BIG || dstLeft == 0) break;
        // Skip the whole UTF-8 sequence of the character that has no CP932 form.
        *dst++ = '?';
        --dstLeft;
        do {
            ++src;
            --srcLeft;
        } while (srcLeft > 0 && (static_cast<unsigned char>(*src) & 0xC0) == 0x80);
    }
    iconv_close(cd);
    out.truncate(dst - out.data());
    return out;
}

// Longest head of text that fits maxBytes in the file's encoding, never splitting a character.
QString CutToBytes(const QString& text, int maxBytes, bool utf8) {
    int used = 0;
    qsizetype i = 0;
    while (i < text.size()) {
        const qsizetype len = (text[i].isHighSurrogate() && i + 1 < text.size()) ? 2 : 1;
        const char16_t c = text[i].unicode();
        const int bytes = c < 0x80 ? 1 : static_cast<int>(Encode(text.mid(i, len), utf8).size());
        if (used + bytes > maxBytes) break;
        used += bytes;
        i += len;
    }
    return text.left(i);
}

int CountCharacters(const QString& s) {
    int n = 0;
    for (QChar c : s)
        if (!c.isLowSurrogate()) ++n;
    return n;
}

enum class Kind { Blank, Comment, Section, Key };

struct Line {
    qsizetype start = 0, end = 0, next = 0;  // content [start, end), line end [end, next)
    Kind kind = Kind::Blank;
    QString name, value;
};

struct Profile {
    QByteArray bytes;
    bool utf8 = true;
    QVector<Line> lines;
};

void Classify(const QString& raw, Line& line) {
    const QString t = TrimBlanks(raw);
    if (t.isEmpty()) {
        line.kind = Kind::Blank;
    } else if (t.startsWith(u';')) {
        line.kind = Kind::Comment;
    } else if (t.startsWith(u'[')) {
        line.kind = Kind::Section;
        const qsizetype close = t.indexOf(u']');
        line.name = TrimBlanks(close < 0 ? t.mid(1) : t.mid(1, close - 1));
    } else {
        // A line without "=" is a key with an empty value.
        line.kind = Kind::Key;
        const qsizetype eq = t.indexOf(u'=');
        line.name = TrimBlanks(eq < 0 ? t : t.left(eq));
        line.value = eq < 0 ? QString() : TrimBlanks(t.mid(eq + 1));
    }
}

Profile Parse(const QByteArray& bytes) {
    Profile p;
    p.bytes = bytes;
    p.utf8 = IsUtf8(bytes);
    for (qsizetype pos = 0; pos < bytes.size();) {
        Line line;
        line.start = pos;
        const qsizetype lf = bytes.indexOf('\n', pos);
        line.next = lf < 0 ? bytes.size() : lf + 1;
        line.end = lf < 0 ? bytes.size() : lf;
        if (line.end > line.start && bytes[line.end - 1] == '\r') --line.end;
        p.lines.append(line);
        pos = line.next;
    }
    // The encoding is decided for the whole file; the decoder keeps every line feed, so the
    // decoded lines stand one for one with the byte lines.
    QStringList texts = DecodeText(bytes).split(u'\n');
    if (bytes.endsWith('\n') || bytes.isEmpty()) texts.removeLast();
    for (qsizetype i = 0; i < p.lines.size(); ++i) {
        Line& line = p.lines[i];
        QString text = i < texts.size() ? texts[i] : DecodeText(bytes.mid(line.start, line.end - line.start));
        if (text.endsWith(u'\r')) text.chop(1);
        Classify(text, line);
    }
    return p;
}

bool Load(const QString& file, Profile& profile) {
    if (!QFileInfo(file).isFile()) return false;
    QFile f(file);
    if (!f.open(QIODevice::ReadOnly)) return false;
    const QByteArray bytes = f.readAll();
    if (f.error() != QFileDevice::NoError) return false;
    profile = Parse(bytes);
    return true;
}

struct Place {
    int section = -1;  // header of the first section of that name
    int key = -1;      // first line of the key in it
    int lastKey = -1;  // last key line of that section
};

Place Locate(const Profile& p, const QString& section, const QString& key) {
    Place at;
    const QString sec = TrimBlanks(section), k = TrimBlanks(key);
    for (int i = 0; i < p.lines.size(); ++i) {
        const Line& line = p.lines[i];
        if (line.kind == Kind::Section) {
            if (at.section >= 0) break;
            if (SameName(line.name, sec)) at.section = i;
        } else if (line.kind == Kind::Key && at.section >= 0) {
            at.lastKey = i;
            if (at.key < 0 && SameName(line.name, k)) at.key = i;
        }
    }
    return at;
}

QString Unquote(const QString& value) {
    if (value.size() >= 2) {
        const QChar first = value.front();
        if ((first == u'"' || first == u'\'') && value.back() == first) return value.mid(1, value.size() - 2);
    }
    return value;
}

QByteArray DominantLineEnd(const QByteArray& bytes) {
    qsizetype crlf = 0, lf = 0;
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        if (bytes[i] != '\n') continue;
        if (i > 0 && bytes[i - 1] == '\r')
            ++crlf;
        else
            ++lf;
    }
    return lf > crlf ? QByteArray("\n") : QByteArray("\r\n");
}

}  // namespace

int GetPrivateProfileString(const QString& section, const QString& key, const QString& def, QString& out, int size,
                            const QString& file) {
    out.clear();
    if (size <= 0) return 0;
    Profile profile;
    QString value;
    bool found = false;
    if (Load(file, profile)) {
        const Place at = Locate(profile, section, key);
        if (at.key >= 0) {
            value = Unquote(profile.lines[at.key].value);
            found = true;
        }
    }
    if (!found) {
        // The default loses its trailing blanks, as the profile functions do.
        value = def;
        while (!value.isEmpty() && IsBlank(value.back())) value.chop(1);
    }
    out = CutToBytes(value, size - 1, profile.utf8);
    return CountCharacters(out);
}

bool WritePrivateProfileString(const QString& section, const QString& key, const QString& value, const QString& file) {
    // A line break or an empty name would make a line the file cannot read back.
    for (const QString* text : {&section, &key, &value})
        if (text->contains(u'\n') || text->contains(u'\r')) Raise(ErrInvalidCall);
    if (TrimBlanks(section).isEmpty() || TrimBlanks(key).isEmpty()) Raise(ErrInvalidCall);
    const QFileInfo info(file);
    Profile profile;
    if (info.exists()) {
        if (!info.isFile() || !info.isWritable()) return false;
        if (!Load(file, profile)) return false;
    } else if (!info.absoluteDir().exists()) {
        return false;
    }

    const QByteArray& bytes = profile.bytes;
    const QByteArray eol = DominantLineEnd(bytes);
    const QByteArray entry = Encode(TrimBlanks(key) + u'=' + value, profile.utf8);
    const Place at = Locate(profile, section, key);

    QByteArray result;
    if (at.key >= 0) {
        const Line& line = profile.lines[at.key];
        result = bytes.left(line.start) + entry + bytes.mid(line.end);
    } else if (at.section >= 0) {
        const Line& anchor = profile.lines[at.lastKey >= 0 ? at.lastKey : at.section];
        if (anchor.next > anchor.end)
            result = bytes.left(anchor.next) + entry + eol + bytes.mid(anchor.next);
        else  // the anchor is the file's last line and has no line end
            result = bytes + eol + entry + eol;
    } else {
        result = bytes;
        if (!result.isEmpty() && !result.endsWith('\n')) result += eol;
        result += Encode(u'[' + TrimBlanks(section) + u']', profile.utf8) + eol + entry + eol;
    }
    if (info.exists() && result == bytes) return true;

    return WriteFileSafely(file, result) == 0;
}

}  // namespace vb
