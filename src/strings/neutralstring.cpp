// The locale-independent text of numbers: its integer forms through the
// everyday conversions in base 10, and its own reader and writers of reals.
#include "tarnkit/neutralstring.h"

#include "tarnkit/sstringconv.h"
#include "tarnkit/strace.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace TarnkitA201 {

// Exact decimal literals, so that every power is the double nearest to it.
// clang-format off
#define TARNKIT_POW10_DECADE(d)                                                                                        \
    1e##d##0, 1e##d##1, 1e##d##2, 1e##d##3, 1e##d##4, 1e##d##5, 1e##d##6, 1e##d##7, 1e##d##8, 1e##d##9
#define TARNKIT_POW10_0_99                                                                                             \
    TARNKIT_POW10_DECADE(), TARNKIT_POW10_DECADE(1), TARNKIT_POW10_DECADE(2), TARNKIT_POW10_DECADE(3),                 \
        TARNKIT_POW10_DECADE(4), TARNKIT_POW10_DECADE(5), TARNKIT_POW10_DECADE(6), TARNKIT_POW10_DECADE(7),            \
        TARNKIT_POW10_DECADE(8), TARNKIT_POW10_DECADE(9)

const double NeutralString::PowArray[100] = {TARNKIT_POW10_0_99};

const double NeutralString::s_PowArray308[309] = {
    TARNKIT_POW10_0_99,       TARNKIT_POW10_DECADE(10), TARNKIT_POW10_DECADE(11), TARNKIT_POW10_DECADE(12),
    TARNKIT_POW10_DECADE(13), TARNKIT_POW10_DECADE(14), TARNKIT_POW10_DECADE(15), TARNKIT_POW10_DECADE(16),
    TARNKIT_POW10_DECADE(17), TARNKIT_POW10_DECADE(18), TARNKIT_POW10_DECADE(19), TARNKIT_POW10_DECADE(20),
    TARNKIT_POW10_DECADE(21), TARNKIT_POW10_DECADE(22), TARNKIT_POW10_DECADE(23), TARNKIT_POW10_DECADE(24),
    TARNKIT_POW10_DECADE(25), TARNKIT_POW10_DECADE(26), TARNKIT_POW10_DECADE(27), TARNKIT_POW10_DECADE(28),
    TARNKIT_POW10_DECADE(29), 1e300, 1e301, 1e302, 1e303, 1e304, 1e305, 1e306, 1e307, 1e308};
// clang-format on

#undef TARNKIT_POW10_0_99
#undef TARNKIT_POW10_DECADE

struct NeutralStringAccess {
    static double Pow10(int exponent) noexcept { return NeutralString::s_PowArray308[exponent]; }
    static char *ToStringFrom64(char *buffer, __uint64 value) noexcept {
        return NeutralString::ToStringFrom64(buffer, value);
    }
};

namespace {

constexpr int kMaxExponent = 308;
// Largest magnitude whose integer part a signed 64-bit integer holds: 2^63.
constexpr double kInt64Bound = 9223372036854775808.0;

template <class C, class T>
bool ParseReal(const C *p, const C *end, T &out) noexcept {
    out = 0;
    double value = 0.0;
    double scale = 10.0;
    bool negative = false;
    bool point = false;
    bool inExponent = false;
    bool exponentNegative = false;
    int exponent = 0;
    if (p < end && *p == C('-')) {
        negative = true;
        ++p;
    }
    for (; p < end && *p != 0; ++p) {
        unsigned unit = static_cast<std::make_unsigned_t<C>>(*p);
        if (unit == '.') {
            if (point || inExponent)
                return false;
            point = true;
            continue;
        }
        if (unit == 'e') {
            inExponent = true;
            continue;
        }
        if (inExponent && (unit == '+' || unit == '-')) {
            exponentNegative = exponentNegative || unit == '-';
            continue;
        }
        unsigned digit = unit - '0';
        if (digit > 9)
            return false;
        if (inExponent) {
            // Saturates: anything above 308 fails below, however long.
            if (exponent <= kMaxExponent)
                exponent = exponent * 10 + static_cast<int>(digit);
            continue;
        }
        double signedDigit = negative ? -static_cast<double>(digit) : static_cast<double>(digit);
        if (point) {
            value += signedDigit / scale;
            scale *= 10.0;
        } else {
            value = value * 10.0 + signedDigit;
        }
    }
    if (inExponent) {
        if (exponent > kMaxExponent)
            return false;
        double power = NeutralStringAccess::Pow10(exponent);
        value = exponentNegative ? value * (1.0 / power) : value * power;
    }
    out = static_cast<T>(value);
    return true;
}

// 10^i: the table up to 99, repeated squaring above.
double PowerOfTen(int i) noexcept {
    if (i < 100)
        return NeutralString::PowArray[i];
    double result = 1.0;
    double base = 10.0;
    while (i != 0) {
        if (i & 1)
            result *= base;
        base *= base;
        i >>= 1;
    }
    return result;
}

// Exactly 16 digits of value (below 10^16), zeros in front.
void WriteLeadingDigits(char (&out)[24], __uint64 value) noexcept {
    for (int i = 15; i >= 0; --i) {
        out[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

const char *NonFiniteText(double value) noexcept {
    if (std::isnan(value))
        return "nan";
    return value < 0 ? "-inf" : "inf";
}

// A work buffer on the stack when small, from the heap otherwise.
class WorkBuffer {
public:
    explicit WorkBuffer(size_t size)
        : m_data(size <= sizeof(m_local) ? m_local : static_cast<char *>(std::malloc(size))) {}
    ~WorkBuffer() {
        if (m_data != m_local)
            std::free(m_data);
    }
    WorkBuffer(const WorkBuffer &) = delete;
    WorkBuffer &operator=(const WorkBuffer &) = delete;
    char *get() const noexcept { return m_data; }

private:
    char m_local[400];
    char *m_data;
};

// The fixed form of a finite value: sign, integer digits (15 significant at
// most, the rest "0"), and exactly `decimals` decimals.
SAnsiString FixedText(double value, int decimals) {
    if (!std::isfinite(value))
        return SAnsiString(NonFiniteText(value));
    if (decimals < 0)
        decimals = 0;
    bool negative = value < 0;
    if (negative)
        value = -value;
    double integerPart;
    double fraction = std::modf(value, &integerPart);
    // The float cast is part of the format: it counts one digit too many
    // from 9999999 upwards, and that digit is written as a leading "0".
    int digits = integerPart == 0 ? 1 : static_cast<int>(static_cast<float>(std::log10(integerPart)) + 1.0f);
    int budget = integerPart == 0 ? 15 : (digits >= 15 ? 0 : 15 - digits);

    size_t workSize = decimals > 0 ? static_cast<size_t>(digits) + static_cast<size_t>(decimals) + 2
                                   : static_cast<size_t>(digits) + 1;
    // Two more units in front: a carry out of the first digit and the sign.
    WorkBuffer work(workSize + 2);
    char *temp = work.get();
    TARNKIT_ASSERT(temp);
    if (temp == nullptr)
        return SAnsiString();
    char *text = temp + 2;
    size_t length = 0;

    bool carriedOut = false;
    if (digits <= 15) {
        for (int i = digits - 1; i >= 0; --i)
            text[length++] = static_cast<char>('0' + static_cast<int>(std::fmod(integerPart / PowerOfTen(i), 10.0)));
    } else {
        // The 16 leading digits come from one quotient: digit by digit, the
        // quotients of a number this large round apart and disagree.
        __uint64 leading = static_cast<__uint64>(integerPart / PowerOfTen(digits - 16));
        char sixteen[24];
        WriteLeadingDigits(sixteen, leading);
        std::memcpy(text, sixteen, 15);
        std::memset(text + 15, '0', static_cast<size_t>(digits - 15));
        length = static_cast<size_t>(digits);
        if (sixteen[15] >= '5')
            carriedOut = !RoundUpHelper(text, 14);
    }
    if (digits == 15 && fraction >= 0.5) {
        carriedOut = !RoundUpHelper(text, 14);
    }

    if (decimals > 0) {
        text[length++] = '.';
        int written = 0;
        if (digits < 15) {
            bool leadingZeros = integerPart == 0;
            int significantLeft = budget;
            while (written < decimals && significantLeft > 0) {
                fraction *= 10.0;
                int digit = static_cast<int>(fraction);
                fraction -= digit;
                text[length++] = static_cast<char>('0' + digit);
                ++written;
                if (!(leadingZeros && digit == 0)) {
                    leadingZeros = false;
                    --significantLeft;
                }
            }
            if (written > 0 && fraction >= 0.5)
                carriedOut = !RoundUpHelper(text, static_cast<long>(length - 1));
        }
        std::memset(text + length, '0', static_cast<size_t>(decimals - written));
        length += static_cast<size_t>(decimals - written);
    }

    if (carriedOut) {
        *--text = '1';
        ++length;
    }
    if (negative) {
        *--text = '-';
        ++length;
    }
    return SAnsiString(text, length);
}

template <class T>
SAnsiString IntegerText(T value) {
    char buffer[g_integerTextSize];
    size_t n = StringConvFromInteger(buffer, value, 10);
    return SAnsiString(buffer, n);
}

} // namespace

template <class S, class C, class T>
bool NeutralStringToReal(const S &str, T &out, C) {
    const C *text = str.getString();
    return ParseReal(text, text + str.getLength(), out);
}

template <class I, class T>
bool NeutralStringToRealIterator(I begin, I end, T &out) {
    return ParseReal(begin.getCursor(), end.getCursor(), out);
}

// The free templates' instantiations are part of the exported interface; the
// attribute is needed because their bodies use this file's private helpers.
template TARNKIT_API bool NeutralStringToReal<SAnsiString, char, double>(const SAnsiString &, double &, char);
template TARNKIT_API bool NeutralStringToReal<SAsciiString, char, double>(const SAsciiString &, double &, char);
template TARNKIT_API bool NeutralStringToReal<SWCharString, unsigned short, double>(const SWCharString &, double &,
                                                                                    unsigned short);
template TARNKIT_API bool NeutralStringToReal<SAnsiString, char, float>(const SAnsiString &, float &, char);
template TARNKIT_API bool NeutralStringToReal<SWCharString, unsigned short, float>(const SWCharString &, float &,
                                                                                   unsigned short);
template TARNKIT_API bool NeutralStringToRealIterator<NeutralString::Iterator, double>(NeutralString::Iterator,
                                                                                       NeutralString::Iterator,
                                                                                       double &);
template TARNKIT_API bool NeutralStringToRealIterator<NeutralString::Iterator, float>(NeutralString::Iterator,
                                                                                      NeutralString::Iterator, float &);

bool RoundUpHelper(char *text, long lastIndex) {
    for (long i = lastIndex; i >= 0; --i) {
        char c = text[i];
        if (c == '.')
            continue;
        if (c == '9') {
            text[i] = '0';
            continue;
        }
        if (c < '0' || c > '8')
            return false;
        text[i] = static_cast<char>(c + 1);
        return true;
    }
    return false;
}

// The integer readers live beside the reader they share, in sstringconv.cpp.

bool NeutralString::ToNumber(const SAnsiString &str, double &value) {
    return NeutralStringToReal(str, value, char(0));
}
bool NeutralString::ToNumber(const SAnsiString &str, float &value) {
    return NeutralStringToReal(str, value, char(0));
}
bool NeutralString::ToNumber(const SAsciiString &str, double &value) {
    return NeutralStringToReal(str, value, char(0));
}

bool NeutralString::ToNumber(Iterator begin, Iterator end, float &value) {
    return NeutralStringToRealIterator(begin, end, value);
}
bool NeutralString::ToNumber(Iterator begin, Iterator end, double &value) {
    return NeutralStringToRealIterator(begin, end, value);
}

SAnsiString NeutralString::FromNumber(signed char value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(unsigned char value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(short value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(unsigned short value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(int value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(unsigned int value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(long value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(unsigned long value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(__int64 value) {
    return IntegerText(value);
}
SAnsiString NeutralString::FromNumber(__uint64 value) {
    return IntegerText(value);
}

char *NeutralString::ToStringFrom64(char *buffer, __uint64 value) {
    return buffer + StringConvFromInteger(buffer, value, 10) + 1;
}

SAnsiString NeutralString::FromNumber(double value) {
    char text[NumberBufferSize];
    long n = FromNumber(text, value);
    return SAnsiString(text, static_cast<size_t>(n));
}

long NeutralString::FromNumber(char (&out)[NumberBufferSize], double value) {
    if (!std::isfinite(value) || value >= kInt64Bound || value < -kInt64Bound) {
        SAnsiString fixed = FixedText(value, 15);
        // The widest fixed text (1.8e308) fits; the cut only guards the buffer.
        size_t n = fixed.getLength() < NumberBufferSize ? fixed.getLength() : NumberBufferSize - 1;
        std::memcpy(out, fixed.getString(), n);
        out[n] = 0;
        return static_cast<long>(n);
    }
    char *p = out;
    if (value < 0) {
        *p++ = '-';
        value = -value;
    }
    double integerPart;
    double fraction = std::modf(value, &integerPart);
    __uint64 whole = static_cast<__uint64>(integerPart);
    char *fractionStart = ToStringFrom64(p, whole);
    int integerDigits = static_cast<int>(fractionStart - 1 - p);
    fractionStart[-1] = '.';

    // n digits of the fraction are taken, the last decides the rounding. With
    // 16 or more integer digits nothing of the fraction is left to take.
    int n = 16 - integerDigits;
    bool roundUp = false;
    __uint64 kept = 0;
    if (n >= 0) {
        __uint64 scaled = static_cast<__uint64>(fraction * PowArray[n]);
        roundUp = scaled % 10 >= 6;
        kept = scaled / 10 + (roundUp ? 1 : 0);
    }
    if (n < 2) {
        char *end = ToStringFrom64(p, whole + (roundUp ? 1 : 0));
        return static_cast<long>(end - 1 - out);
    }

    // n - 1 digits with leading zeros; a carry to n digits stays in the
    // fraction and the cut below drops its last digit.
    char digits[24];
    int count = static_cast<int>(ToStringFrom64(digits, kept) - 1 - digits);
    int zeros = n - 1 - count;
    char *q = fractionStart;
    for (int i = 0; i < zeros; ++i)
        *q++ = '0';
    std::memcpy(q, digits, static_cast<size_t>(count));
    q += count;

    char *cut = p + 16 < q ? p + 16 : q;
    while (cut[-1] == '0')
        --cut;
    *cut = 0;
    return static_cast<long>(cut - out);
}

SAnsiString NeutralString::FromNumber(double value, int decimals) {
    return FixedText(value, decimals);
}

SAnsiString NeutralString::FromNumber(float value, int decimals) {
    return FixedText(static_cast<double>(value), decimals);
}

} // namespace TarnkitA201
