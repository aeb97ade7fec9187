#include "Convert.h"

#include "Errors.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

namespace vb {

namespace {

bool IsBlank(QChar c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// A number as the conversions see it: either a decimal value or the bits of a &H / &O
// literal, whose meaning depends on the width of the target type.
struct Parsed {
    bool radix = false;
    uint64_t bits = 0;
    double value = 0;
};

// Digits of a &H / &O literal; false when there are none or something else follows.
// Over 32 bits is an overflow, as no target type holds more.
bool ParseRadix(const std::string& s, size_t pos, int base, size_t& end, uint64_t& bits) {
    bits = 0;
    size_t i = pos;
    for (; i < s.size(); ++i) {
        int d;
        const char c = s[i];
        if (IsDigit(c))
            d = c - '0';
        else if (c >= 'a' && c <= 'f')
            d = c - 'a' + 10;
        else if (c >= 'A' && c <= 'F')
            d = c - 'A' + 10;
        else
            break;
        if (d >= base) break;
        bits = bits * base + d;
        if (bits > 0xFFFFFFFFull) Raise(ErrOverflow);
    }
    end = i;
    return i > pos;
}

// Reads [sign] digits [. digits] [E|D [sign] digits] from s at pos. Returns the number of
// characters taken, 0 when there is no digit in the mantissa. A bare exponent letter is
// not taken, so "1e" reads as 1.
size_t ScanDecimal(const std::string& s, size_t pos, double& value) {
    size_t i = pos;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
    std::string intDigits, fracDigits;
    while (i < s.size() && IsDigit(s[i])) intDigits += s[i++];
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && IsDigit(s[i])) fracDigits += s[i++];
    }
    if (intDigits.empty() && fracDigits.empty()) return 0;

    std::string exponent;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
        size_t j = i + 1;
        std::string e;
        if (j < s.size() && (s[j] == '+' || s[j] == '-')) e += s[j++];
        const size_t digitsAt = j;
        while (j < s.size() && IsDigit(s[j])) e += s[j++];
        if (j > digitsAt) {
            exponent = e;
            i = j;
        }
    }

    std::string text = (intDigits.empty() ? std::string("0") : intDigits);
    if (!fracDigits.empty()) text += "." + fracDigits;
    if (!exponent.empty()) text += "e" + (exponent[0] == '+' ? exponent.substr(1) : exponent);

    double v = 0;
    const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec == std::errc::result_out_of_range) {
        // Overflow or underflow: tell them apart by where the first significant digit stands.
        const std::string all = intDigits + fracDigits;
        const size_t first = all.find_first_not_of('0');
        long long magnitude = static_cast<long long>(intDigits.size()) - 1 - static_cast<long long>(first);
        long long e = 0;
        for (char c : exponent)
            if (IsDigit(c) && e < 100000) e = e * 10 + (c - '0');
        if (!exponent.empty() && exponent[0] == '-') e = -e;
        if (magnitude + e > 0) Raise(ErrOverflow);
        v = 0;
    }
    value = negative ? -v : v;
    return i - pos;
}

// The whole text must be a number, blanks around it allowed.
Parsed ParseWhole(const QString& text) {
    qsizetype a = 0, b = text.size();
    while (a < b && IsBlank(text[a])) ++a;
    while (b > a && IsBlank(text[b - 1])) --b;
    const QString core = text.mid(a, b - a);
    for (QChar c : core)
        if (c.unicode() >= 0x80) Raise(ErrTypeMismatch);
    const std::string s = core.toStdString();
    if (s.empty()) Raise(ErrTypeMismatch);

    Parsed p;
    if (s.size() >= 2 && s[0] == '&' && (s[1] == 'h' || s[1] == 'H' || s[1] == 'o' || s[1] == 'O')) {
        size_t end = 0;
        const int base = (s[1] == 'h' || s[1] == 'H') ? 16 : 8;
        if (!ParseRadix(s, 2, base, end, p.bits) || end != s.size()) Raise(ErrTypeMismatch);
        p.radix = true;
        return p;
    }
    if (ScanDecimal(s, 0, p.value) != s.size()) Raise(ErrTypeMismatch);
    return p;
}

double RoundHalfEven(double x) {
    const double low = std::floor(x);
    const double diff = x - low;
    if (diff < 0.5) return low;
    if (diff > 0.5) return low + 1;
    return std::fmod(low, 2.0) == 0 ? low : low + 1;
}

template <class T>
T ToInteger(double value) {
    if (!std::isfinite(value)) Raise(ErrOverflow);
    const double r = RoundHalfEven(value);
    if (r < static_cast<double>(std::numeric_limits<T>::min()) ||
        r > static_cast<double>(std::numeric_limits<T>::max()))
        Raise(ErrOverflow);
    return static_cast<T>(r);
}

// Digits of |value| rounded half away from zero to `decimals` places, worked on the exact
// binary value (glibc prints it exactly), so 1.005 stays below the half. 25 digits beyond
// the last kept one suffice: a double differs from a half-way point by at least its own
// unit in the last place, which shows within 18 digits, so the printer's rounding at the
// far end can never carry back into the digit that decides.
void ExactFixed(double value, int decimals, std::string& intPart, std::string& fracPart) {
    std::string buf(static_cast<size_t>(decimals) + 360, '\0');
    const int n = std::snprintf(buf.data(), buf.size(), "%.*f", decimals + 25, std::fabs(value));
    const std::string s(buf.data(), static_cast<size_t>(std::max(n, 0)));
    const size_t dot = s.find('.');
    intPart = s.substr(0, dot);
    const std::string frac = s.substr(dot + 1);
    fracPart = frac.substr(0, decimals);
    if (frac[decimals] >= '5') {
        std::string all = intPart + fracPart;
        int i = static_cast<int>(all.size()) - 1;
        for (; i >= 0; --i) {
            if (all[i] == '9') {
                all[i] = '0';
            } else {
                ++all[i];
                break;
            }
        }
        if (i < 0) all.insert(all.begin(), '1');
        intPart = all.substr(0, all.size() - decimals);
        fracPart = all.substr(all.size() - decimals);
    }
}

QString NonFinite(double value) {
    if (std::isnan(value)) return QStringLiteral("NaN");
    return value < 0 ? QStringLiteral("-Inf") : QStringLiteral("Inf");
}

// The general number form: 15 significant digits, no trailing zeros; exponent form
// ("1E+15", "1.5E-05") outside 1E-04 <= |x| < 1E+15.
QString General(double value) {
    if (!std::isfinite(value)) return NonFinite(value);
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.14e", value);
    std::string s(buf);
    const bool negative = s[0] == '-';
    if (negative) s.erase(0, 1);
    const size_t ePos = s.find('e');
    const int exponent = std::stoi(s.substr(ePos + 1));
    std::string digits = s.substr(0, 1) + s.substr(2, ePos - 2);
    while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
    if (digits == "0") return QStringLiteral("0");

    std::string out = negative ? "-" : "";
    if (exponent >= 15 || exponent < -4) {
        out += digits.substr(0, 1);
        if (digits.size() > 1) out += "." + digits.substr(1);
        char e[16];
        std::snprintf(e, sizeof e, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
        out += e;
    } else if (exponent >= 0) {
        if (digits.size() <= static_cast<size_t>(exponent) + 1) {
            out += digits + std::string(exponent + 1 - digits.size(), '0');
        } else {
            out += digits.substr(0, exponent + 1) + "." + digits.substr(exponent + 1);
        }
    } else {
        out += "0." + std::string(-exponent - 1, '0') + digits;
    }
    return QString::fromStdString(out);
}

}  // namespace

int16_t CInt(const QString& text) {
    const Parsed p = ParseWhole(text);
    if (p.radix) {
        if (p.bits > 0xFFFF) Raise(ErrOverflow);
        return static_cast<int16_t>(static_cast<uint16_t>(p.bits));
    }
    return ToInteger<int16_t>(p.value);
}

uint8_t CByte(const QString& text) {
    const Parsed p = ParseWhole(text);
    if (p.radix) {
        if (p.bits > 0xFF) Raise(ErrOverflow);
        return static_cast<uint8_t>(p.bits);
    }
    return ToInteger<uint8_t>(p.value);
}

int32_t CLng(const QString& text) {
    const Parsed p = ParseWhole(text);
    if (p.radix) return static_cast<int32_t>(static_cast<uint32_t>(p.bits));
    return ToInteger<int32_t>(p.value);
}

int16_t CInt(double value) { return ToInteger<int16_t>(value); }

int32_t CLng(double value) { return ToInteger<int32_t>(value); }

double Val(const QString& text) {
    // Val looks through blanks, tabs and line feeds wherever they stand.
    std::string s;
    for (QChar c : text) {
        if (c == u' ' || c == u'\t' || c == u'\n') continue;
        if (c.unicode() >= 0x80) break;
        s += static_cast<char>(c.unicode());
    }
    if (s.size() >= 2 && s[0] == '&' && (s[1] == 'h' || s[1] == 'H' || s[1] == 'o' || s[1] == 'O')) {
        size_t end = 0;
        uint64_t bits = 0;
        if (!ParseRadix(s, 2, (s[1] == 'h' || s[1] == 'H') ? 16 : 8, end, bits)) return 0;
        // Like the literals: up to 16 bits they are an Integer, beyond that a Long.
        if (bits <= 0xFFFF) return static_cast<int16_t>(static_cast<uint16_t>(bits));
        return static_cast<int32_t>(static_cast<uint32_t>(bits));
    }
    double v = 0;
    if (ScanDecimal(s, 0, v) == 0) return 0;
    return v + 0.0;  // no negative zero
}

QString Format(double value, const QString& format) {
    if (format.isEmpty()) return General(value);
    if (!std::isfinite(value)) return NonFinite(value);

    // Digit placeholders: "0" always shown, "#" only when significant, "," groups thousands.
    int intZeros = 0, fracZeros = 0, fracHashes = 0;
    bool point = false, grouping = false;
    for (QChar c : format) {
        if (c == u'.' && !point) {
            point = true;
        } else if (c == u'0') {
            if (point) {
                if (fracHashes > 0) return General(value);
                ++fracZeros;
            } else {
                ++intZeros;
            }
        } else if (c == u'#') {
            if (point)
                ++fracHashes;
            else if (intZeros > 0)
                return General(value);
        } else if (c == u',' && !point) {
            grouping = true;
        } else {
            return General(value);  // other format elements are not used by the program
        }
    }

    if (fracZeros + fracHashes > 300) return General(value);
    std::string intPart, fracPart;
    ExactFixed(value, fracZeros + fracHashes, intPart, fracPart);
    while (fracPart.size() > static_cast<size_t>(fracZeros) && fracPart.back() == '0') fracPart.pop_back();
    const bool zero =
        intPart.find_first_not_of('0') == std::string::npos && fracPart.find_first_not_of('0') == std::string::npos;

    intPart.erase(0, std::min(intPart.find_first_not_of('0'), intPart.size()));
    if (intPart.size() < static_cast<size_t>(intZeros)) intPart.insert(0, std::string(intZeros - intPart.size(), '0'));
    if (grouping) {
        for (int i = static_cast<int>(intPart.size()) - 3; i > 0; i -= 3) intPart.insert(i, ",");
    }

    std::string out = (value < 0 && !zero) ? "-" : "";
    out += intPart;
    if (point) out += "." + fracPart;
    return QString::fromStdString(out);
}

QString CStr(double value) { return General(value); }

QString PrintForm(double value) {
    const QString text = General(value);
    return (text.startsWith(u'-') ? text : u' ' + text) + u' ';
}

}  // namespace vb
