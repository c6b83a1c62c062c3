// The locale-independent text of numbers that the library stores and
// exchanges: "." as the decimal point, no grouping, no exponent on output.
// Reals are written with 15 significant digits in a canonical form and read
// back by a small parser of its own, never by the C run time.
#pragma once

#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// Reads a real: an optional leading "-", digits with at most one ".", and an
// optional exponent after a lower-case "e" in which "+" and "-" may stand
// anywhere. An exponent above 308 fails. out is 0 after a failure; the empty
// text gives 0 and true. unused only fixes the unit type.
template <class S, class C, class T>
bool NeutralStringToReal(const S &str, T &out, C unused);

// The same between two iterators of one ASCII string; the terminator ends the
// text too.
template <class I, class T>
bool NeutralStringToRealIterator(I begin, I end, T &out);

// Adds one to the decimal digits of text ending at lastIndex, stepping over a
// "." and carrying through "9"s. False when the carry runs off the left end
// (or reaches anything that is neither digit nor point): the caller then puts
// "1" in front.
bool RoundUpHelper(char *text, long lastIndex);

class NeutralString {
public:
    // Length of the buffer of the canonical form of a real: 309 integer
    // digits, a point, 15 decimals, a sign and the terminator.
    static constexpr size_t NumberBufferSize = 327;

    // 10^0 to 10^99.
    static const double PowArray[100];

    // Base 10, with the limits of the type (long and unsigned long: 32 bits).
    static bool ToNumber(const SAnsiString &str, signed char &value);
    static bool ToNumber(const SAnsiString &str, unsigned char &value);
    static bool ToNumber(const SAnsiString &str, short &value);
    static bool ToNumber(const SAnsiString &str, unsigned short &value);
    static bool ToNumber(const SAnsiString &str, int &value);
    static bool ToNumber(const SAnsiString &str, unsigned int &value);
    static bool ToNumber(const SAnsiString &str, long &value);
    static bool ToNumber(const SAnsiString &str, unsigned long &value);
    static bool ToNumber(const SAnsiString &str, __int64 &value);
    static bool ToNumber(const SAnsiString &str, __uint64 &value);
    static bool ToNumber(const SAnsiString &str, double &value);
    static bool ToNumber(const SAnsiString &str, float &value);
    static bool ToNumber(const SAsciiString &str, double &value);

    using Iterator = SString_t<char, 1>::iterator;
    static bool ToNumber(Iterator begin, Iterator end, __int64 &value);
    static bool ToNumber(Iterator begin, Iterator end, long &value);
    static bool ToNumber(Iterator begin, Iterator end, unsigned long &value);
    static bool ToNumber(Iterator begin, Iterator end, short &value);
    static bool ToNumber(Iterator begin, Iterator end, unsigned short &value);
    static bool ToNumber(Iterator begin, Iterator end, float &value);
    static bool ToNumber(Iterator begin, Iterator end, double &value);

    static SAnsiString FromNumber(signed char value);
    static SAnsiString FromNumber(unsigned char value);
    static SAnsiString FromNumber(short value);
    static SAnsiString FromNumber(unsigned short value);
    static SAnsiString FromNumber(int value);
    static SAnsiString FromNumber(unsigned int value);
    static SAnsiString FromNumber(long value);
    static SAnsiString FromNumber(unsigned long value);
    static SAnsiString FromNumber(__int64 value);
    static SAnsiString FromNumber(__uint64 value);

    // The canonical text: 15 significant digits, the last rounded up only
    // from a 6, trailing zeros dropped but the point kept ("12." for 12.0).
    // Beyond the range of a 64-bit integer the fixed form with 15 decimals.
    // NaN and infinities give "nan", "inf" and "-inf".
    static SAnsiString FromNumber(double value);
    // The same into out; returns the length of the text.
    static long FromNumber(char (&out)[NumberBufferSize], double value);

    // Exactly decimals digits behind the point, none and no point for 0;
    // digits beyond the 15th significant one are "0".
    static SAnsiString FromNumber(double value, int decimals);
    static SAnsiString FromNumber(float value, int decimals);

private:
    // Decimal digits of value and a terminator; returns the address behind
    // the terminator.
    static char *ToStringFrom64(char *buffer, __uint64 value);

    // 10^0 to 10^308 for the exponents of the parser.
    static const double s_PowArray308[309];

    friend struct NeutralStringAccess;
};

TARNKIT_NAMESPACE_END
