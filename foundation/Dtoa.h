// The digits of a double as the runtime prints them: Gay's dtoa in mode 1 (the Steele and
// White stopping rule).
#ifndef TARN_FOUNDATION_DTOA_H
#define TARN_FOUNDATION_DTOA_H

// Largest count of digits dtoa_digits writes: every double is told apart by 17.
constexpr int DTOA_MAX_DIGITS = 17;

// Writes the digits of |value| (finite) into 'digits' (room for DTOA_MAX_DIGITS, no NUL) and
// returns their count; '*decimal_point' receives where the point goes: the value is
// 0.DIGITS x 10^decimal_point. Zero gives the single digit "0" with the point after it.
//
// Digits are produced until the number they spell lies strictly inside the interval of reals
// that read back as the value. The bounds themselves are never taken, even where round-to-even
// reading would give the value back: so 1e23 comes out as 9999999999999999 (point 23), not 1,
// while every result still reads back to the same double.
int dtoa_digits(double value, char* digits, int* decimal_point);

#endif
