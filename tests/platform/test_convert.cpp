#include "Convert.h"
#include "Errors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <functional>
#include <limits>

namespace {

using TextConversion = std::function<long long(const QString&)>;
const TextConversion kCInt = [](const QString& t) { return vb::CInt(t); };
const TextConversion kCByte = [](const QString& t) { return vb::CByte(t); };
const TextConversion kCLng = [](const QString& t) { return vb::CLng(t); };

TEST(Convert, IntegersFromText) {
    struct Case {
        const char* name;
        const TextConversion& convert;
        const char* text;
        long long expected;
        int error;
    };
    const Case cases[] = {
        {"CInt", kCInt, "  -7\t", -7, 0},
        // Halves round to even, anything above a half rounds up.
        {"CInt", kCInt, "2.5", 2, 0},
        {"CInt", kCInt, "3.5", 4, 0},
        {"CInt", kCInt, "-2.5", -2, 0},
        {"CInt", kCInt, "2.51", 3, 0},
        {"CInt", kCInt, "-32768.5", -32768, 0},
        {"CInt", kCInt, "&hFFFF", -1, 0},
        // Out of range is 6, text that is no number is 13.
        {"CInt", kCInt, "32767.5", 0, vb::ErrOverflow},
        {"CInt", kCInt, "1e400", 0, vb::ErrOverflow},
        {"CInt", kCInt, "&H10000", 0, vb::ErrOverflow},
        {"CInt", kCInt, "", 0, vb::ErrTypeMismatch},
        {"CInt", kCInt, "12abc", 0, vb::ErrTypeMismatch},
        {"CInt", kCInt, "1 2", 0, vb::ErrTypeMismatch},
        {"CInt", kCInt, "1e", 0, vb::ErrTypeMismatch},
        {"CInt", kCInt, "１２", 0, vb::ErrTypeMismatch},
        {"CByte", kCByte, "-0.5", 0, 0},
        {"CByte", kCByte, "255.5", 0, vb::ErrOverflow},
        {"CByte", kCByte, "-0.6", 0, vb::ErrOverflow},
        {"CByte", kCByte, "&H100", 0, vb::ErrOverflow},
        {"CLng", kCLng, "-2147483648", -2147483648LL, 0},
        {"CLng", kCLng, "&HFFFF", 65535, 0},
        {"CLng", kCLng, "&HFFFFFFFF", -1, 0},
        {"CLng", kCLng, "&H100000000", 0, vb::ErrOverflow},
        {"CLng", kCLng, "12,5", 0, vb::ErrTypeMismatch},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.name) + "(\"" + c.text + "\")");
        long long got = 0;
        EXPECT_EQ(vb::Trap([&] { got = c.convert(QString::fromUtf8(c.text)); }), c.error);
        EXPECT_EQ(got, c.expected);
    }
}

TEST(Convert, IntegersFromDouble) {
    constexpr long long kOverflow = std::numeric_limits<long long>::min();
    // kOverflow: the conversion raises error 6.
    const struct {
        double value;
        long long cint, clng;
    } cases[] = {
        {2.4999999, 2, 2},
        {32767.5, kOverflow, 32768},
        {-32768.6, kOverflow, -32769},
        {2147483648.0, kOverflow, kOverflow},
        {std::nan(""), kOverflow, kOverflow},
        {std::numeric_limits<double>::infinity(), kOverflow, kOverflow},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.value);
        long long got = 0;
        EXPECT_EQ(vb::Trap([&] { got = vb::CInt(c.value); }), c.cint == kOverflow ? vb::ErrOverflow : 0);
        EXPECT_EQ(got, c.cint == kOverflow ? 0 : c.cint);
        got = 0;
        EXPECT_EQ(vb::Trap([&] { got = vb::CLng(c.value); }), c.clng == kOverflow ? vb::ErrOverflow : 0);
        EXPECT_EQ(got, c.clng == kOverflow ? 0 : c.clng);
    }
}

TEST(Convert, ValTakesTheLongestNumberAtTheStart) {
    const struct {
        const char* text;
        double expected;
    } cases[] = {
        {"1.5mm", 1.5}, {"abc", 0},     {"", 0},       {".5", 0.5},    {"1e2x", 100},
        {"1e", 1},      {"1E-2", 0.01}, {"2d3", 2000}, {" 1 2", 12},   {"\t- 4 .5", -4.5},
        {"1.2.3", 1.2}, {"--1", 0},     {"12,5", 12},  {"&HFFFF", -1}, {"&H10000", 65536},
        {"&O17", 15},   {"0x10", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        double got = -999;
        EXPECT_EQ(vb::Trap([&] { got = vb::Val(QString::fromUtf8(c.text)); }), 0);
        EXPECT_DOUBLE_EQ(got, c.expected);
    }
    EXPECT_EQ(vb::Trap([] { vb::Val("1e400"); }), vb::ErrOverflow);
    EXPECT_FALSE(std::signbit(vb::Val("-0")));
}

TEST(Convert, Format) {
    const struct {
        double value;
        const char* format;
        const char* expected;
    } cases[] = {
        // Half away from zero, unlike CInt.
        {2.5, "0", "3"},           {0.125, "0.00", "0.13"},
        {1.005, "0.00", "1.00"},  // 1.005 is stored just below the half
        {9.9951, "0.00", "10.00"}, {-0.001, "0.00", "0.00"},
        {0.5, "#.00", ".50"},      {1234567.891, "#,##0.00", "1,234,567.89"},
        {5, "00", "05"},           {1.5, "0.0#", "1.5"},
        {1.25, "0.0#", "1.25"},    {1e20, "0", "100000000000000000000"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.format) + " " + std::to_string(c.value));
        EXPECT_EQ(vb::Format(c.value, QString::fromUtf8(c.format)), QString::fromUtf8(c.expected));
    }
}

TEST(Convert, GeneralNumberAndPrint) {
    const struct {
        double value;
        const char* cstr;
        const char* print;
    } cases[] = {
        {7, "7", " 7 "},
        {-7, "-7", "-7 "},
        {-0.0, "0", " 0 "},
        {2.0 / 3, "0.666666666666667", " 0.666666666666667 "},
        {123456789012345.0, "123456789012345", " 123456789012345 "},
        {1e15, "1E+15", " 1E+15 "},
        {-1.5e20, "-1.5E+20", "-1.5E+20 "},
        {0.0001, "0.0001", " 0.0001 "},
        {0.00001, "1E-05", " 1E-05 "},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.cstr);
        EXPECT_EQ(vb::CStr(c.value), QString::fromUtf8(c.cstr));
        EXPECT_EQ(vb::Format(c.value), QString::fromUtf8(c.cstr));
        EXPECT_EQ(vb::PrintForm(c.value), QString::fromUtf8(c.print));
    }
}

}  // namespace

namespace {

// The slow, obviously exact way: every digit of the binary value, then half away from zero.
std::string ReferenceFixed(double x, int decimals) {
    static char buf[1500];
    std::snprintf(buf, sizeof buf, "%.1100f", std::fabs(x));
    std::string s(buf);
    const size_t dot = s.find('.');
    std::string digits = s.substr(0, dot) + s.substr(dot + 1, static_cast<size_t>(decimals));
    if (s[dot + 1 + static_cast<size_t>(decimals)] >= '5') {
        int i = static_cast<int>(digits.size()) - 1;
        for (; i >= 0 && digits[static_cast<size_t>(i)] == '9'; --i) digits[static_cast<size_t>(i)] = '0';
        if (i < 0)
            digits.insert(digits.begin(), '1');
        else
            ++digits[static_cast<size_t>(i)];
    }
    std::string out = digits.substr(0, digits.size() - static_cast<size_t>(decimals));
    if (decimals > 0) out += "." + digits.substr(digits.size() - static_cast<size_t>(decimals));
    const bool zero = out.find_first_not_of("0.") == std::string::npos;
    return (x < 0 && !zero ? "-" : "") + out;
}

TEST(FormatFixed, AgreesWithTheFullExpansionIncludingHalfWayPoints) {
    std::mt19937_64 rng(7);
    std::uniform_real_distribution<double> mantissa(0, 10);
    std::uniform_int_distribution<int> exponent(-8, 12), decimalsOf(0, 6);
    for (int i = 0; i < 20000; ++i) {
        const int decimals = decimalsOf(rng);
        double x = mantissa(rng) * std::pow(10.0, exponent(rng));
        // Every fourth value lies on or next to a half-way point of its last decimal.
        if (i % 4 == 0) x = (std::floor(x * std::pow(10.0, decimals)) + 0.5) / std::pow(10.0, decimals);
        if (i % 8 == 4) x = std::nextafter(x, 0.0);
        if (i % 3 == 0) x = -x;
        const QString pattern = decimals == 0 ? QStringLiteral("0") : QStringLiteral("0.") + QString(decimals, u'0');
        ASSERT_EQ(vb::Format(x, pattern).toStdString(), ReferenceFixed(x, decimals))
            << std::hexfloat << x << " with " << decimals << " decimals";
    }
}

}  // namespace
