// Everyday conversion between numbers and text in the three string kinds:
// integers in any base from 2 to 36, reals in the C format "%#.*f" and read
// by strtod (both follow the C run time's LC_NUMERIC), pointers as "%p", and
// the shared small-number strings that date formatting reaches for.
#pragma once

#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// Units a buffer needs for any integer in any base: 64 binary digits, a sign
// and the terminator.
inline constexpr size_t g_integerTextSize = 66;

// Writes the digits of value in base (2 to 36, upper-case letters above 9)
// and a terminator into out, which holds g_integerTextSize units, and returns
// the number of units before the terminator. A negative value is "-" and its
// magnitude in base 10, and its two's complement pattern in any other base;
// for long that pattern is 32 bits wide when the value fits 32 bits. An
// invalid base fires an assertion and writes the empty text.
template <class C, class T>
size_t StringConvFromInteger(C *out, T value, int base);

// Reads an integer from str into out, within maximum (and the most negative
// value, maximum + 1, when isSigned). A "." or a blank (space, tab) ends the
// number with success; any other character that is no digit of base fails.
// In base 16 the letter x is skipped wherever it stands. out is 0 after a
// failure; the empty text and a lone "-" give 0 and true. unused only fixes
// the unit type.
template <class S, class C, class T>
bool StringConvToInteger(const S &str, T &out, C unused, __uint64 maximum, __uint64 maximumDivBase, int base,
                         bool isSigned);

// The same between two iterators of one ASCII string; the terminator ends the
// text too.
template <class I, class T>
bool StringConvToIntegerIterator(I begin, I end, T &out, __uint64 maximum, __uint64 maximumDivBase, int base,
                                 bool isSigned);

// The static conversions of one string kind.
template <class S>
class SStringConvOf {
public:
    using String = S;

    static S ToString(int value, int base = 10);
    static S ToString(unsigned int value, int base = 10);
    static S ToString(long value, int base = 10);
    static S ToString(unsigned long value, int base = 10);
    static S ToString(__int64 value, int base = 10);
    static S ToString(__uint64 value, int base = 10);
    static S ToString(short value);
    static S ToString(unsigned short value);
    // "%#.*f": always a point, digits decimals, the C run time's rounding,
    // at most 31 units.
    static S ToString(double value, int digits);
    // "%p" of the C run time.
    static S ToString(const void *pointer);

    // Limits: int and long 2147483647, unsigned int and unsigned long
    // 4294967295, short 32767, unsigned short 65535, unsigned char 255.
    static bool FromString(const S &str, int &value, int base = 10);
    static bool FromString(const S &str, long &value, int base = 10);
    static bool FromString(const S &str, unsigned int &value, int base = 10);
    static bool FromString(const S &str, unsigned long &value, int base = 10);
    static bool FromString(const S &str, short &value, int base = 10);
    static bool FromString(const S &str, unsigned short &value, int base = 10);
    static bool FromString(const S &str, unsigned char &value, int base = 10);
    static bool FromString(const S &str, __int64 &value);
    static bool FromString(const S &str, __uint64 &value);
    // strtod. The value is stored in any case; true only for a non-empty
    // text read to its end.
    static bool FromString(const S &str, double &value);
    static bool FromString(const S &str, float &value);
    // Decimal digits, not the hexadecimal that ToString(const void *) writes.
    static bool FromString(const S &str, void *&value);

    // Shared "0" to "99" without a leading zero; n must be 0 to 99.
    static const S &StringFrom100Number(int n);
    // Shared "00" to "09"; n must be 0 to 9.
    static const S &StringFrom10Number2Digits(int n);
};

extern template class SStringConvOf<SAnsiString>;
extern template class SStringConvOf<SWCharString>;
extern template class SStringConvOf<SAsciiString>;

class SAnsiStringConv : public SStringConvOf<SAnsiString> {};
class SWCharStringConv : public SStringConvOf<SWCharString> {};
class SAsciiStringConv : public SStringConvOf<SAsciiString> {};

TARNKIT_NAMESPACE_END
