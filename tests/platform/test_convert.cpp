// Number conversions: CInt/CByte/CLng, Val, Format, CStr and Print.
#include <gtest/gtest.h>

#include <cmath>

#include "Convert.h"
#include "Errors.h"

namespace {

constexpr long long E6 = -1000006, E13 = -1000013;  // the conversion raises error 6 or 13

template <class F>
long long Result(F convert) {
    long long got = 0;
    const int error = vb::Trap([&] { got = convert(); });
    return error ? -1000000 - error : got;
}

TEST(Convert, IntegersFromText) {
    // I: CInt, B: CByte, L: CLng. Halves round to even, anything above a half rounds up.
    const std::tuple<char, const char*, long long> cases[] = {
        {'I', "2.5", 2},        {'I', "3.5", 4},         {'I', "2.51", 3},         {'I', "-32768.5", -32768},
        {'I', "&hFFFF", -1},    {'I', "&H10000", E6},    {'I', "", E13},           {'I', "12abc", E13},
        {'I', "１２", E13},     {'B', "255.5", E6},      {'B', "&H100", E6},       {'L', "-2147483648", INT32_MIN},
        {'L', "&HFFFF", 65535}, {'L', "&HFFFFFFFF", -1}, {'L', "&H100000000", E6},
    };
    for (const auto& [fn, text, expected] : cases) {
        const QString t = QString::fromUtf8(text);
        const auto convert = [&]() -> long long {
            return fn == 'I' ? vb::CInt(t) : fn == 'B' ? vb::CByte(t) : vb::CLng(t);
        };
        EXPECT_EQ(Result(convert), expected) << fn << " \"" << text << '"';
    }
    const std::tuple<double, long long, long long> doubles[] = {{2.4999999, 2, 2},      {32767.5, E6, 32768},
                                                                {-32768.6, E6, -32769}, {2147483648.0, E6, E6},
                                                                {std::nan(""), E6, E6}, {HUGE_VAL, E6, E6}};
    for (const auto& [value, cint, clng] : doubles) {
        EXPECT_EQ(Result([&] { return vb::CInt(value); }), cint) << value;
        EXPECT_EQ(Result([&] { return vb::CLng(value); }), clng) << value;
    }
}

TEST(Convert, ValTakesTheLongestNumberAtTheStart) {
    const std::pair<const char*, double> cases[] = {
        {"1.5mm", 1.5}, {"abc", 0},         {"", 0},    {".5", 0.5},  {"1e2x", 100},      {"1E-2", 0.01}, {"2d3", 2000},
        {" 1 2", 12},   {"\t- 4 .5", -4.5}, {"--1", 0}, {"12,5", 12}, {"&H10000", 65536}, {"&O17", 15},   {"0x10", 0},
    };
    for (const auto& [text, expected] : cases) EXPECT_DOUBLE_EQ(vb::Val(QString::fromUtf8(text)), expected) << text;
    EXPECT_EQ(vb::Trap([] { vb::Val("1e400"); }), vb::ErrOverflow);
    EXPECT_FALSE(std::signbit(vb::Val("-0")));
}

TEST(Convert, FormatCStrAndPrint) {
    // Half away from zero, unlike CInt; 1.005 is stored just below the half, as is the number next below 0.125.
    const std::tuple<double, const char*, const char*> cases[] = {
        {0.125, "0.00", "0.13"},  {std::nextafter(0.125, 0.0), "0.00", "0.12"},
        {1.005, "0.00", "1.00"},  {-9.9951, "0.00", "-10.00"},
        {-0.001, "0.00", "0.00"}, {1234567.891, "#,##0.00", "1,234,567.89"},
        {5, "00", "05"},          {1.5, "0.0#", "1.5"},
        {1.25, "0.0#", "1.25"},   {1e20, "0", "100000000000000000000"},
    };
    for (const auto& [value, format, expected] : cases)
        EXPECT_EQ(vb::Format(value, format), expected) << format << value;
    // A general number: CStr, Format without a pattern, and Print with its sign place and blank.
    const std::tuple<double, const char*, const char*> general[] = {
        {-7, "-7", "-7 "},
        {-0.0, "0", " 0 "},
        {2.0 / 3, "0.666666666666667", " 0.666666666666667 "},
        {123456789012345.0, "123456789012345", " 123456789012345 "},
        {1e15, "1E+15", " 1E+15 "},
        {0.0001, "0.0001", " 0.0001 "},
        {0.00001, "1E-05", " 1E-05 "},
    };
    for (const auto& [value, cstr, print] : general) {
        EXPECT_EQ(std::tuple(vb::CStr(value), vb::Format(value), vb::PrintForm(value)),
                  std::tuple(QString(cstr), QString(cstr), QString(print)));
    }
}

}  // namespace
