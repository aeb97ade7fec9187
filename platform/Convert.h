#pragma once
// Text/number conversions with the behaviour and error numbers the program's logic expects.
#include <QString>
#include <cstdint>

namespace vb {

// Text to integer types. Leading and trailing blanks are allowed; a fractional value
// is rounded half to even. No number: error 13. Outside the type: error 6.
int16_t CInt(const QString& text);
uint8_t CByte(const QString& text);
int32_t CLng(const QString& text);

// Double to integer types, rounded half to even; outside the type: error 6.
int16_t CInt(double value);
int32_t CLng(double value);

// Longest leading number (blanks skipped, point as decimal mark, optional exponent); 0 when none.
double Val(const QString& text);

// Format with "0", "0.0…0" (fixed decimals, rounded half away from zero), or an empty
// format: general number, up to 15 significant digits, no trailing zeros.
QString Format(double value, const QString& format = QString());

// Text of a number as CStr gives it: general number, no padding ("7", "-1.5").
QString CStr(double value);

// Text of a number as Print writes it: a blank or the sign in front, one blank behind (" 7 ").
QString PrintForm(double value);

}  // namespace vb
