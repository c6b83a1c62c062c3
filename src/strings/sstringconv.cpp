// Integers to text and back in any base, reals and pointers through the C
// run time, and the shared small-number strings of the three kinds. The
// neutral strings' integer readers are here too, so that they share the
// inlined reader with its limits folded in.
#include "tarnkit/sstringconv.h"

#include "tarnkit/neutralstring.h"

#include "foundation/sspinlock.h"
#include "tarnkit/strace.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace TarnkitA201 {

namespace {

constexpr char kDigitPairs[] = "00010203040506070809"
                               "10111213141516171819"
                               "20212223242526272829"
                               "30313233343536373839"
                               "40414243444546474849"
                               "50515253545556575859"
                               "60616263646566676869"
                               "70717273747576777879"
                               "80818283848586878889"
                               "90919293949596979899";

// clang-format off
constexpr __uint64 kPowersForCount[20] = {
    0, 10ull, 100ull, 1000ull, 10000ull, 100000ull, 1000000ull, 10000000ull, 100000000ull, 1000000000ull,
    10000000000ull, 100000000000ull, 1000000000000ull, 10000000000000ull, 100000000000000ull,
    1000000000000000ull, 10000000000000000ull, 100000000000000000ull, 1000000000000000000ull,
    10000000000000000000ull};
// clang-format on

// The bit length times log10(2) (1233 / 4096) estimates the digit count to
// within one; a table look-up settles it.
inline unsigned CountDecimalDigits(__uint64 value) noexcept {
    unsigned estimate = static_cast<unsigned>((64 - __builtin_clzll(value | 1)) * 1233) >> 12;
    return estimate - (value < kPowersForCount[estimate] ? 1 : 0) + 1;
}

// Decimal digits from the most significant, two at a time from the back.
template <class C, class U>
[[gnu::always_inline]] inline size_t WriteDecimal(C *out, U value) noexcept {
    unsigned n = CountDecimalDigits(value);
    C *p = out + n;
    *p = 0;
    while (value >= 100) {
        unsigned pair = static_cast<unsigned>(value % 100) * 2;
        value /= 100;
        p -= 2;
        p[0] = static_cast<C>(kDigitPairs[pair]);
        p[1] = static_cast<C>(kDigitPairs[pair + 1]);
    }
    if (value >= 10) {
        unsigned pair = static_cast<unsigned>(value) * 2;
        p[-2] = static_cast<C>(kDigitPairs[pair]);
        p[-1] = static_cast<C>(kDigitPairs[pair + 1]);
    } else {
        p[-1] = static_cast<C>('0' + value);
    }
    return n;
}

template <class C, class U>
size_t WriteInBase(C *out, U value, unsigned base) noexcept {
    if (base == 10)
        return WriteDecimal(out, value);
    C reversed[g_integerTextSize];
    size_t n = 0;
    do {
        unsigned digit = static_cast<unsigned>(value % base);
        value /= base;
        reversed[n++] = static_cast<C>(digit < 10 ? '0' + digit : 'A' + digit - 10);
    } while (value != 0);
    for (size_t i = 0; i < n; ++i)
        out[i] = reversed[n - 1 - i];
    out[n] = 0;
    return n;
}

// Bases other than 10, and the invalid ones.
template <class C, class T>
[[gnu::noinline]] size_t FromIntegerOtherBase(C *out, T value, int base) noexcept {
    if (base < 2 || base > 36) {
        TARNKIT_FAIL("StringConvFromInteger: base must be 2 to 36");
        out[0] = 0;
        return 0;
    }
    if constexpr (std::is_same_v<T, long>) {
        // The interfaces' long was 32 bits wide: a negative long that fits
        // shows the 32-bit pattern in bases other than 10.
        if (value < 0 && value >= INT32_MIN)
            return WriteInBase(out, static_cast<uint32_t>(value), static_cast<unsigned>(base));
    }
    return WriteInBase(out, static_cast<std::make_unsigned_t<T>>(value), static_cast<unsigned>(base));
}

template <class C, class T>
[[gnu::always_inline]] inline size_t FromInteger(C *out, T value, int base) noexcept {
    if (base != 10)
        return FromIntegerOtherBase(out, value, base);
    using U = std::make_unsigned_t<T>;
    if constexpr (std::is_signed_v<T>) {
        if (value < 0) {
            out[0] = '-';
            return 1 + WriteDecimal(out + 1, static_cast<U>(U(0) - static_cast<U>(value)));
        }
    }
    return WriteDecimal(out, static_cast<U>(value));
}

// A "." or a blank (space, tab) ends a number with success, as does the
// terminator.
template <class C>
inline bool EndsNumber(C unit) noexcept {
    return unit == C('.') || unit == C(' ') || unit == C('\t') || unit == 0;
}

// Any base, any limits: the digit arithmetic with letters and the skipped
// x, and both overflow tests as they stand. Kept out of line so that the
// decimal path stays small.
// Returned in two registers, so that the decimal path needs no stack.
struct ParsedMagnitude {
    bool ok;
    __uint64 value;
};

template <class C>
[[gnu::noinline]] ParsedMagnitude ParseOtherBase(const C *p, const C *end, __uint64 maximum, __uint64 maximumDivBase,
                                                 int base, bool negative) noexcept {
    if (base < 2 || base > 36) {
        TARNKIT_FAIL("StringConvToInteger: base must be 2 to 36");
        return {false, 0};
    }
    __uint64 acc = 0;
    for (; p < end; ++p) {
        if (EndsNumber(*p))
            break;
        unsigned unit = static_cast<std::make_unsigned_t<C>>(*p);
        int digit = static_cast<int>(unit) - '0';
        if (digit < 0 || digit >= base) {
            if (base <= 10)
                return {false, 0};
            if (unit >= 'A' && unit <= 'Z')
                digit -= 7;
            else if (unit >= 'a' && unit <= 'z')
                digit -= 39;
            // "0x1F": the x of either case lands on 33 and is passed over.
            if (base == 16 && digit == 33)
                continue;
            if (digit < 0 || digit >= base)
                return {false, 0};
        }
        if (acc > maximumDivBase && !(negative && acc - 1 <= maximumDivBase))
            return {false, 0};
        unsigned __int128 next =
            static_cast<unsigned __int128>(acc) * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
        if (next > maximum && !(negative && next <= static_cast<unsigned __int128>(maximum) + 1))
            return {false, 0};
        acc = static_cast<__uint64>(next);
    }
    return {true, acc};
}

// The magnitude and sign read from [p, end); false for text that is no
// number within the limits. A zero unit ends the text as its end does.
template <class C>
[[gnu::always_inline]] inline bool ParseMagnitude(const C *p, const C *end, __uint64 maximum, __uint64 maximumDivBase,
                                                  int base, bool isSigned, __uint64 &magnitude,
                                                  bool &negative) noexcept {
    magnitude = 0;
    negative = false;
    if (p < end && *p == C('-')) {
        if (!isSigned)
            return false;
        negative = true;
        ++p;
    }
    __uint64 acc = 0;
    if (base == 10 && maximumDivBase <= UINT64_MAX / 10 && maximumDivBase * 10 <= maximum &&
        maximum - maximumDivBase * 10 < 10) {
        // With the usual limits the two overflow tests of the general loop
        // come down to "the value is at most the maximum, or one more for a
        // negative number"; the value only grows, so one test at the end
        // does, with wrapping caught on the way.
        __uint64 limit = maximum + (negative && maximum != UINT64_MAX ? 1 : 0);
        if (limit <= UINT32_MAX) {
            // acc stays below 2^33 here, so acc * 10 + digit cannot wrap.
            for (; p < end; ++p) {
                unsigned digit = static_cast<unsigned>(static_cast<std::make_unsigned_t<C>>(*p)) - '0';
                if (digit > 9) {
                    if (!EndsNumber(*p))
                        return false;
                    break;
                }
                acc = acc * 10 + digit;
                if (acc > limit)
                    return false;
            }
            magnitude = acc;
            return true;
        }
        for (; p < end; ++p) {
            unsigned digit = static_cast<unsigned>(static_cast<std::make_unsigned_t<C>>(*p)) - '0';
            if (digit > 9) {
                if (!EndsNumber(*p))
                    return false;
                break;
            }
            if (__builtin_mul_overflow(acc, 10u, &acc) || __builtin_add_overflow(acc, digit, &acc))
                return false;
        }
        if (acc > limit)
            return false;
        magnitude = acc;
        return true;
    }
    ParsedMagnitude parsed = ParseOtherBase(p, end, maximum, maximumDivBase, base, negative);
    magnitude = parsed.value;
    return parsed.ok;
}

template <class C, class T>
[[gnu::always_inline]] inline bool ParseInteger(const C *p, const C *end, T &out, __uint64 maximum,
                                                __uint64 maximumDivBase, int base, bool isSigned) noexcept {
    out = 0;
    __uint64 magnitude;
    bool negative;
    if (!ParseMagnitude(p, end, maximum, maximumDivBase, base, isSigned, magnitude, negative))
        return false;
    // Unsigned arithmetic wraps the most negative magnitude onto its value.
    out = static_cast<T>(negative ? 0 - magnitude : magnitude);
    return true;
}

// The limits of each type; long keeps the 32-bit range of the interfaces.
template <class T>
struct Limits;
template <>
struct Limits<signed char> {
    static constexpr __uint64 max = 127;
    static constexpr bool isSigned = true;
};
template <>
struct Limits<unsigned char> {
    static constexpr __uint64 max = 255;
    static constexpr bool isSigned = false;
};
template <>
struct Limits<short> {
    static constexpr __uint64 max = 32767;
    static constexpr bool isSigned = true;
};
template <>
struct Limits<unsigned short> {
    static constexpr __uint64 max = 65535;
    static constexpr bool isSigned = false;
};
template <>
struct Limits<int> {
    static constexpr __uint64 max = 2147483647;
    static constexpr bool isSigned = true;
};
template <>
struct Limits<long> : Limits<int> {};
template <>
struct Limits<unsigned int> {
    static constexpr __uint64 max = 4294967295u;
    static constexpr bool isSigned = false;
};
template <>
struct Limits<unsigned long> : Limits<unsigned int> {};
template <>
struct Limits<__int64> {
    static constexpr __uint64 max = 9223372036854775807ull;
    static constexpr bool isSigned = true;
};
template <>
struct Limits<__uint64> {
    static constexpr __uint64 max = 18446744073709551615ull;
    static constexpr bool isSigned = false;
};

template <class S, class T>
bool ParseWithLimits(const S &str, T &out, int base) noexcept {
    const auto *text = str.getString();
    return ParseInteger(text, text + str.getLength(), out, Limits<T>::max, Limits<T>::max / 10, base,
                        Limits<T>::isSigned);
}

template <class S, class T>
S IntegerToString(T value, int base) {
    typename S::UnitType buffer[g_integerTextSize];
    size_t n = FromInteger(buffer, value, base);
    return S(buffer, n);
}

// Narrow C run-time text (a number, a point, "%p") in a string kind; the wide
// kind goes through the locale so that a multibyte decimal point survives.
template <class S>
S FromCRuntimeText(const char *text, size_t n) {
    if constexpr (std::is_same_v<typename S::UnitType, char>) {
        return S(text, n);
    } else {
        unsigned short wide[64];
        bool ascii = n < 64;
        for (size_t i = 0; ascii && i < n; ++i) {
            ascii = static_cast<unsigned char>(text[i]) < 0x80;
            wide[i] = static_cast<unsigned char>(text[i]);
        }
        if (ascii)
            return S(wide, n);
        return S(SWCharString(text));
    }
}

// Runs f on the text as narrow C run-time text.
template <class S, class F>
bool WithCRuntimeText(const S &str, F f) {
    if constexpr (std::is_same_v<typename S::UnitType, char>) {
        return f(str.getString(), str.getLength());
    } else {
        const unsigned short *wide = str.getString();
        size_t n = str.getLength();
        char narrow[128];
        bool ascii = n < sizeof(narrow);
        for (size_t i = 0; ascii && i < n; ++i) {
            ascii = wide[i] < 0x80;
            narrow[i] = static_cast<char>(wide[i]);
        }
        if (ascii) {
            narrow[n] = 0;
            return f(narrow, n);
        }
        SAnsiString converted(wide);
        return f(converted.getString(), converted.getLength());
    }
}

template <class S>
struct SmallNumberTable {
    static constinit S hundred[100];
    static constinit S twoDigits[10];
    static std::atomic<bool> ready;
    static SSpinLock lock;

    static void Build() {
        BuildOnce(ready, lock, [] {
            for (int n = 0; n < 100; ++n) {
                char text[3] = {static_cast<char>(n < 10 ? '0' + n : kDigitPairs[2 * n]), 0, 0};
                if (n >= 10)
                    text[1] = kDigitPairs[2 * n + 1];
                hundred[n] = FromCRuntimeText<S>(text, n < 10 ? 1 : 2);
            }
            for (int n = 0; n < 10; ++n)
                twoDigits[n] = FromCRuntimeText<S>(kDigitPairs + 2 * n, 2);
        });
    }
};

template <class S>
constinit S SmallNumberTable<S>::hundred[100];
template <class S>
constinit S SmallNumberTable<S>::twoDigits[10];
template <class S>
std::atomic<bool> SmallNumberTable<S>::ready{false};
template <class S>
SSpinLock SmallNumberTable<S>::lock;

} // namespace

template <class C, class T>
size_t StringConvFromInteger(C *out, T value, int base) {
    return FromInteger(out, value, base);
}

template <class S, class C, class T>
bool StringConvToInteger(const S &str, T &out, C, __uint64 maximum, __uint64 maximumDivBase, int base, bool isSigned) {
    const C *text = str.getString();
    return ParseInteger(text, text + str.getLength(), out, maximum, maximumDivBase, base, isSigned);
}

template <class I, class T>
bool StringConvToIntegerIterator(I begin, I end, T &out, __uint64 maximum, __uint64 maximumDivBase, int base,
                                 bool isSigned) {
    return ParseInteger(begin.getCursor(), end.getCursor(), out, maximum, maximumDivBase, base, isSigned);
}

template <class S>
S SStringConvOf<S>::ToString(int value, int base) {
    return IntegerToString<S>(value, base);
}
template <class S>
S SStringConvOf<S>::ToString(unsigned int value, int base) {
    return IntegerToString<S>(value, base);
}
template <class S>
S SStringConvOf<S>::ToString(long value, int base) {
    return IntegerToString<S>(value, base);
}
template <class S>
S SStringConvOf<S>::ToString(unsigned long value, int base) {
    return IntegerToString<S>(value, base);
}
template <class S>
S SStringConvOf<S>::ToString(__int64 value, int base) {
    return IntegerToString<S>(value, base);
}
template <class S>
S SStringConvOf<S>::ToString(__uint64 value, int base) {
    return IntegerToString<S>(value, base);
}
template <class S>
S SStringConvOf<S>::ToString(short value) {
    return IntegerToString<S>(value, 10);
}
template <class S>
S SStringConvOf<S>::ToString(unsigned short value) {
    return IntegerToString<S>(value, 10);
}

// A C run-time format into a buffer of 32 characters, cut to fit.
template <class S, class... Args>
S FormatCRuntime(const char *format, Args... args) {
    char text[32];
    int n = std::snprintf(text, sizeof(text), format, args...);
    if (n < 0)
        return S();
    return FromCRuntimeText<S>(text, static_cast<size_t>(n) < sizeof(text) ? static_cast<size_t>(n) : sizeof(text) - 1);
}

template <class S>
S SStringConvOf<S>::ToString(double value, int digits) {
    return FormatCRuntime<S>("%#.*f", digits, value);
}

template <class S>
S SStringConvOf<S>::ToString(const void *pointer) {
    return FormatCRuntime<S>("%p", pointer);
}

template <class S>
bool SStringConvOf<S>::FromString(const S &str, int &value, int base) {
    return ParseWithLimits(str, value, base);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, long &value, int base) {
    return ParseWithLimits(str, value, base);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, unsigned int &value, int base) {
    return ParseWithLimits(str, value, base);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, unsigned long &value, int base) {
    return ParseWithLimits(str, value, base);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, short &value, int base) {
    return ParseWithLimits(str, value, base);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, unsigned short &value, int base) {
    return ParseWithLimits(str, value, base);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, unsigned char &value, int base) {
    return ParseWithLimits(str, value, base);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, __int64 &value) {
    return ParseWithLimits(str, value, 10);
}
template <class S>
bool SStringConvOf<S>::FromString(const S &str, __uint64 &value) {
    return ParseWithLimits(str, value, 10);
}

template <class S>
bool SStringConvOf<S>::FromString(const S &str, double &value) {
    return WithCRuntimeText(str, [&value](const char *text, size_t n) {
        char *stop = nullptr;
        value = std::strtod(text, &stop);
        return n != 0 && stop == text + n;
    });
}

template <class S>
bool SStringConvOf<S>::FromString(const S &str, float &value) {
    double wide = 0;
    bool ok = FromString(str, wide);
    value = static_cast<float>(wide);
    return ok;
}

template <class S>
bool SStringConvOf<S>::FromString(const S &str, void *&value) {
    __uint64 address = 0;
    bool ok = ParseWithLimits(str, address, 10);
    value = reinterpret_cast<void *>(static_cast<uintptr_t>(address));
    return ok;
}

template <class S>
const S &SStringConvOf<S>::StringFrom100Number(int n) {
    SmallNumberTable<S>::Build();
    TARNKIT_ASSERT(0 <= n && n < 100);
    return SmallNumberTable<S>::hundred[0 <= n && n < 100 ? n : 0];
}

template <class S>
const S &SStringConvOf<S>::StringFrom10Number2Digits(int n) {
    SmallNumberTable<S>::Build();
    TARNKIT_ASSERT(0 <= n && n < 10);
    return SmallNumberTable<S>::twoDigits[0 <= n && n < 10 ? n : 0];
}

namespace {

template <class T>
bool ReadNeutral(const SAnsiString &str, T &value) noexcept {
    return ParseWithLimits(str, value, 10);
}

template <class T>
bool ReadNeutral(NeutralString::Iterator begin, NeutralString::Iterator end, T &value) noexcept {
    return ParseInteger(begin.getCursor(), end.getCursor(), value, Limits<T>::max, Limits<T>::max / 10, 10,
                        Limits<T>::isSigned);
}

} // namespace

bool NeutralString::ToNumber(const SAnsiString &str, signed char &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, unsigned char &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, short &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, unsigned short &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, int &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, unsigned int &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, long &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, unsigned long &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, __int64 &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(const SAnsiString &str, __uint64 &value) {
    return ReadNeutral(str, value);
}
bool NeutralString::ToNumber(Iterator begin, Iterator end, __int64 &value) {
    return ReadNeutral(begin, end, value);
}
bool NeutralString::ToNumber(Iterator begin, Iterator end, long &value) {
    return ReadNeutral(begin, end, value);
}
bool NeutralString::ToNumber(Iterator begin, Iterator end, unsigned long &value) {
    return ReadNeutral(begin, end, value);
}
bool NeutralString::ToNumber(Iterator begin, Iterator end, short &value) {
    return ReadNeutral(begin, end, value);
}
bool NeutralString::ToNumber(Iterator begin, Iterator end, unsigned short &value) {
    return ReadNeutral(begin, end, value);
}

template class SStringConvOf<SAnsiString>;
template class SStringConvOf<SWCharString>;
template class SStringConvOf<SAsciiString>;

// The free templates' instantiations are part of the exported interface; the
// attribute is needed because their bodies use this file's private helpers.
#define TARNKIT_FROM_INTEGER(C)                                                                                        \
    template TARNKIT_API size_t StringConvFromInteger<C, signed char>(C *, signed char, int);                          \
    template TARNKIT_API size_t StringConvFromInteger<C, unsigned char>(C *, unsigned char, int);                      \
    template TARNKIT_API size_t StringConvFromInteger<C, short>(C *, short, int);                                      \
    template TARNKIT_API size_t StringConvFromInteger<C, unsigned short>(C *, unsigned short, int);                    \
    template TARNKIT_API size_t StringConvFromInteger<C, int>(C *, int, int);                                          \
    template TARNKIT_API size_t StringConvFromInteger<C, unsigned int>(C *, unsigned int, int);                        \
    template TARNKIT_API size_t StringConvFromInteger<C, long>(C *, long, int);                                        \
    template TARNKIT_API size_t StringConvFromInteger<C, unsigned long>(C *, unsigned long, int);                      \
    template TARNKIT_API size_t StringConvFromInteger<C, __int64>(C *, __int64, int);                                  \
    template TARNKIT_API size_t StringConvFromInteger<C, __uint64>(C *, __uint64, int);
TARNKIT_FROM_INTEGER(char)
TARNKIT_FROM_INTEGER(unsigned short)
#undef TARNKIT_FROM_INTEGER

#define TARNKIT_TO_INTEGER(S, C, T)                                                                                    \
    template TARNKIT_API bool StringConvToInteger<S, C, T>(const S &, T &, C, __uint64, __uint64, int, bool);
#define TARNKIT_TO_INTEGER_ALL(S, C)                                                                                   \
    TARNKIT_TO_INTEGER(S, C, signed char)                                                                              \
    TARNKIT_TO_INTEGER(S, C, unsigned char)                                                                            \
    TARNKIT_TO_INTEGER(S, C, short)                                                                                    \
    TARNKIT_TO_INTEGER(S, C, unsigned short)                                                                           \
    TARNKIT_TO_INTEGER(S, C, int)                                                                                      \
    TARNKIT_TO_INTEGER(S, C, unsigned int)                                                                             \
    TARNKIT_TO_INTEGER(S, C, long)                                                                                     \
    TARNKIT_TO_INTEGER(S, C, unsigned long)                                                                            \
    TARNKIT_TO_INTEGER(S, C, __int64)                                                                                  \
    TARNKIT_TO_INTEGER(S, C, __uint64)
TARNKIT_TO_INTEGER_ALL(SAnsiString, char)
TARNKIT_TO_INTEGER_ALL(SAsciiString, char)
TARNKIT_TO_INTEGER_ALL(SWCharString, unsigned short)
#undef TARNKIT_TO_INTEGER_ALL
#undef TARNKIT_TO_INTEGER

#define TARNKIT_TO_INTEGER_ITERATOR(T)                                                                                 \
    template TARNKIT_API bool StringConvToIntegerIterator<SString_t<char, 1>::iterator, T>(                            \
        SString_t<char, 1>::iterator, SString_t<char, 1>::iterator, T &, __uint64, __uint64, int, bool);
TARNKIT_TO_INTEGER_ITERATOR(short)
TARNKIT_TO_INTEGER_ITERATOR(unsigned short)
TARNKIT_TO_INTEGER_ITERATOR(long)
TARNKIT_TO_INTEGER_ITERATOR(unsigned long)
TARNKIT_TO_INTEGER_ITERATOR(__int64)
#undef TARNKIT_TO_INTEGER_ITERATOR

} // namespace TarnkitA201
