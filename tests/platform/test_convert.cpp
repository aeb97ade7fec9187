#include "Convert.h"
#include "Errors.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

// expected is the value, or the error number when error is true.
struct IntCase {
    const char* text;
    long long expected;
    int error;  // 0: no error
};

template <class F>
void CheckIntCases(const char* name, F convert, const std::vector<IntCase>& cases) {
    for (const IntCase& c : cases) {
        SCOPED_TRACE(std::string(name) + "(\"" + c.text + "\")");
        long long got = 0;
        const int err = vb::Trap([&] { got = convert(QString::fromUtf8(c.text)); });
        EXPECT_EQ(err, c.error);
        if (c.error == 0) {
            EXPECT_EQ(got, c.expected);
        }
    }
}

TEST(Convert, CIntFromText) {
    CheckIntCases("CInt", [](const QString& t) { return vb::CInt(t); },
                  {
                      {"12", 12, 0},
                      {"  -7\t", -7, 0},
                      {"+5", 5, 0},
                      {"2.5", 2, 0},
                      {"3.5", 4, 0},
                      {"-2.5", -2, 0},
                      {"-3.5", -4, 0},
                      {"2.51", 3, 0},
                      {".5", 0, 0},
                      {"5.", 5, 0},
                      {"1e3", 1000, 0},
                      {"1.5E+1", 15, 0},
                      {"25e-1", 2, 0},
                      {"32767", 32767, 0},
                      {"-32768", -32768, 0},
                      {"-32768.5", -32768, 0},
                      {"&H1F", 31, 0},
                      {"&hFFFF", -1, 0},
                      {"&O17", 15, 0},
                      {"32767.5", 0, vb::ErrOverflow},
                      {"40000", 0, vb::ErrOverflow},
                      {"-32769", 0, vb::ErrOverflow},
                      {"1e400", 0, vb::ErrOverflow},
                      {"&H10000", 0, vb::ErrOverflow},
                      {"", 0, vb::ErrTypeMismatch},
                      {"   ", 0, vb::ErrTypeMismatch},
                      {"abc", 0, vb::ErrTypeMismatch},
                      {"12abc", 0, vb::ErrTypeMismatch},
                      {"1.5mm", 0, vb::ErrTypeMismatch},
                      {"1 2", 0, vb::ErrTypeMismatch},
                      {"1e", 0, vb::ErrTypeMismatch},
                      {"-", 0, vb::ErrTypeMismatch},
                      {".", 0, vb::ErrTypeMismatch},
                      {"1.2.3", 0, vb::ErrTypeMismatch},
                      {"&H", 0, vb::ErrTypeMismatch},
                      {"&H1G", 0, vb::ErrTypeMismatch},
                      {"１２", 0, vb::ErrTypeMismatch},
                  });
}

TEST(Convert, CByteFromText) {
    CheckIntCases("CByte", [](const QString& t) { return vb::CByte(t); },
                  {
                      {"0", 0, 0},
                      {"255", 255, 0},
                      {" 100 ", 100, 0},
                      {"-0.4", 0, 0},
                      {"-0.5", 0, 0},
                      {"254.5", 254, 0},
                      {"&HFF", 255, 0},
                      {"255.5", 0, vb::ErrOverflow},
                      {"300", 0, vb::ErrOverflow},
                      {"-1", 0, vb::ErrOverflow},
                      {"-0.6", 0, vb::ErrOverflow},
                      {"&H100", 0, vb::ErrOverflow},
                      {"x", 0, vb::ErrTypeMismatch},
                  });
}

TEST(Convert, CLngFromText) {
    CheckIntCases("CLng", [](const QString& t) { return vb::CLng(t); },
                  {
                      {"16777215", 16777215, 0},
                      {"-2147483648", -2147483648LL, 0},
                      {"2147483647", 2147483647, 0},
                      {"1.5", 2, 0},
                      {"0.5", 0, 0},
                      {"&HFFFF", 65535, 0},
                      {"&HFFFFFFFF", -1, 0},
                      {"2147483647.5", 0, vb::ErrOverflow},
                      {"3000000000", 0, vb::ErrOverflow},
                      {"&H100000000", 0, vb::ErrOverflow},
                      {"12,5", 0, vb::ErrTypeMismatch},
                  });
}

TEST(Convert, FromDouble) {
    struct Case {
        double value;
        long long cint;  // expected, or INT64_MIN for error 6
        long long clng;
    };
    constexpr long long kOverflow = std::numeric_limits<long long>::min();
    const double inf = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {0.5, 0, 0},
        {1.5, 2, 2},
        {-1.5, -2, -2},
        {2.4999999, 2, 2},
        {-0.4, 0, 0},
        {32767.4, 32767, 32767},
        {32767.5, kOverflow, 32768},
        {-32768.6, kOverflow, -32769},
        {2147483647.0, kOverflow, 2147483647},
        {2147483648.0, kOverflow, kOverflow},
        {std::nan(""), kOverflow, kOverflow},
        {inf, kOverflow, kOverflow},
        {-inf, kOverflow, kOverflow},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.value);
        long long got = 0;
        int err = vb::Trap([&] { got = vb::CInt(c.value); });
        if (c.cint == kOverflow) {
            EXPECT_EQ(err, vb::ErrOverflow);
        } else {
            EXPECT_EQ(err, 0);
            EXPECT_EQ(got, c.cint);
        }
        err = vb::Trap([&] { got = vb::CLng(c.value); });
        if (c.clng == kOverflow) {
            EXPECT_EQ(err, vb::ErrOverflow);
        } else {
            EXPECT_EQ(err, 0);
            EXPECT_EQ(got, c.clng);
        }
    }
}

TEST(Convert, Val) {
    struct Case {
        const char* text;
        double expected;
    };
    const Case cases[] = {
        {"1.5mm", 1.5},   {"abc", 0},      {"", 0},        {".5", 0.5},     {"-3", -3},
        {"1e2x", 100},    {"1e", 1},       {"1e+", 1},     {"1E-2", 0.01},  {"2d3", 2000},
        {" 1 2", 12},     {"\t- 4 .5", -4.5}, {"1.2.3", 1.2}, {"+7", 7},     {"--1", 0},
        {"-", 0},         {".", 0},        {"-.25", -0.25}, {"12,5", 12},   {"&H1F", 31},
        {"&HFFFF", -1},   {"&H10000", 65536}, {"&O17", 15}, {"&H", 0},      {"0x10", 0},
        {"3.5 cm", 3.5},  {"1e400", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        double got = -999;
        const int err = vb::Trap([&] { got = vb::Val(QString::fromUtf8(c.text)); });
        if (std::string(c.text) == "1e400") {
            EXPECT_EQ(err, vb::ErrOverflow);
            continue;
        }
        EXPECT_EQ(err, 0);
        EXPECT_DOUBLE_EQ(got, c.expected);
    }
    EXPECT_FALSE(std::signbit(vb::Val("-0")));
}

TEST(Convert, Format) {
    struct Case {
        double value;
        const char* format;
        const char* expected;
    };
    const Case cases[] = {
        {2.5, "0", "3"},
        {3.5, "0", "4"},
        {-2.5, "0", "-3"},
        {2.4999, "0", "2"},
        {0.125, "0.00", "0.13"},
        {1.005, "0.00", "1.00"},  // 1.005 is stored just below the half
        {1.015625, "0.00000", "1.01563"},
        {9.995, "0.00", "9.99"},
        {9.9951, "0.00", "10.00"},
        {99.96, "0.0", "100.0"},
        {-0.001, "0.00", "0.00"},
        {-0.4, "0", "0"},
        {-0.0, "0.000", "0.000"},
        {1234.5, "0.0", "1234.5"},
        {12.0, "0.00000000", "12.00000000"},
        {0.5, "#.00", ".50"},
        {1234567.891, "#,##0.00", "1,234,567.89"},
        {5, "00", "05"},
        {1.5, "0.0#", "1.5"},
        {1.25, "0.0#", "1.25"},
        {1e20, "0", "100000000000000000000"},
        {7, "", "7"},
        {0.1 + 0.2, "", "0.3"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.format) + " " + std::to_string(c.value));
        EXPECT_EQ(vb::Format(c.value, QString::fromUtf8(c.format)), QString::fromUtf8(c.expected));
    }
}

TEST(Convert, GeneralNumberAndPrint) {
    struct Case {
        double value;
        const char* cstr;
        const char* print;
    };
    const Case cases[] = {
        {7, "7", " 7 "},
        {-7, "-7", "-7 "},
        {0, "0", " 0 "},
        {-0.0, "0", " 0 "},
        {-1.5, "-1.5", "-1.5 "},
        {0.1 + 0.2, "0.3", " 0.3 "},
        {1.0 / 3, "0.333333333333333", " 0.333333333333333 "},
        {2.0 / 3, "0.666666666666667", " 0.666666666666667 "},
        {123456789012345.0, "123456789012345", " 123456789012345 "},
        {1e15, "1E+15", " 1E+15 "},
        {-1.5e20, "-1.5E+20", "-1.5E+20 "},
        {0.0001, "0.0001", " 0.0001 "},
        {0.00012, "0.00012", " 0.00012 "},
        {0.00001, "1E-05", " 1E-05 "},
        {1.25e-7, "1.25E-07", " 1.25E-07 "},
        {100, "100", " 100 "},
        {1234.5, "1234.5", " 1234.5 "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.cstr);
        EXPECT_EQ(vb::CStr(c.value), QString::fromUtf8(c.cstr));
        EXPECT_EQ(vb::Format(c.value), QString::fromUtf8(c.cstr));
        EXPECT_EQ(vb::PrintForm(c.value), QString::fromUtf8(c.print));
    }
}

}  // namespace
