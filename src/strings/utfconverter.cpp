#include "tarnkit/UTFConverter.h"

#include "strings/mbcs.h"

#include <algorithm>
#include <cstring>
#include <new>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace TarnkitA201 {

namespace {

using Result = CUTFConverter::ConversionResult;
using Flags = CUTFConverter::ConversionFlags;

constexpr unsigned long kHalfShift = 10;
constexpr unsigned long kHalfBase = 0x10000UL;
constexpr unsigned long kHalfMask = 0x3FFUL;
constexpr unsigned long kSurHighStart = 0xD800;
constexpr unsigned long kSurHighEnd = 0xDBFF;
constexpr unsigned long kSurLowStart = 0xDC00;
constexpr unsigned long kSurLowEnd = 0xDFFF;
constexpr unsigned long kReplacementChar = 0xFFFD;
constexpr unsigned long kMaxBmp = 0xFFFF;
constexpr unsigned long kMaxUtf16 = 0x10FFFF;

// Trailing bytes by lead byte: below 0xC0 none, then 1, 2, 3, 4 and 5.
constexpr unsigned char TrailingBytes(unsigned b) {
    return b < 0xC0 ? 0 : b < 0xE0 ? 1 : b < 0xF0 ? 2 : b < 0xF8 ? 3 : b < 0xFC ? 4 : 5;
}
struct TrailingTable {
    unsigned char n[256];
    constexpr TrailingTable() : n{} {
        for (unsigned b = 0; b < 256; ++b)
            n[b] = TrailingBytes(b);
    }
};
constexpr TrailingTable kTrailingBytes;

// What the summing with shifts of 6 leaves over, by trailing-byte count.
constexpr unsigned long kOffsetsFromUtf8[6] = {0x00000000UL, 0x00003080UL, 0x000E2080UL,
                                               0x03C82080UL, 0xFA082080UL, 0x82082080UL};
constexpr unsigned char kFirstByteMark[7] = {0x00, 0x00, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC};

bool IsHighSurrogate(unsigned long ch) noexcept { return ch >= kSurHighStart && ch <= kSurHighEnd; }
bool IsLowSurrogate(unsigned long ch) noexcept { return ch >= kSurLowStart && ch <= kSurLowEnd; }
bool IsSurrogate(unsigned long ch) noexcept { return ch >= kSurHighStart && ch <= kSurLowEnd; }

// The legality test of one sequence of `length` bytes. There is deliberately
// no rule against 0xED followed by 0xA0..0xBF: encoded surrogates are legal
// here, so that a lone surrogate survives a round trip.
bool IsLegalUtf8(const unsigned char *source, int length) noexcept {
    unsigned char a;
    const unsigned char *p = source + length;
    switch (length) {
    default:
        return false;
    case 4:
        if ((a = *--p) < 0x80 || a > 0xBF)
            return false;
        [[fallthrough]];
    case 3:
        if ((a = *--p) < 0x80 || a > 0xBF)
            return false;
        [[fallthrough]];
    case 2:
        if ((a = *--p) > 0xBF)
            return false;
        switch (*source) {
        case 0xE0:
            if (a < 0xA0)
                return false;
            break;
        case 0xF0:
            if (a < 0x90)
                return false;
            break;
        case 0xF4:
            if (a > 0x8F)
                return false;
            break;
        default:
            if (a < 0x80)
                return false;
        }
        [[fallthrough]];
    case 1:
        if (*source >= 0x80 && *source < 0xC2)
            return false;
    }
    return *source <= 0xF4;
}

// Reads one sequence whose bytes are known to be there and legal.
unsigned long DecodeSequence(const unsigned char *&source, unsigned extra) noexcept {
    unsigned long ch = 0;
    switch (extra) {
    case 5:
        ch += *source++;
        ch <<= 6;
        [[fallthrough]];
    case 4:
        ch += *source++;
        ch <<= 6;
        [[fallthrough]];
    case 3:
        ch += *source++;
        ch <<= 6;
        [[fallthrough]];
    case 2:
        ch += *source++;
        ch <<= 6;
        [[fallthrough]];
    case 1:
        ch += *source++;
        ch <<= 6;
        [[fallthrough]];
    case 0:
        ch += *source++;
    }
    return ch - kOffsetsFromUtf8[extra];
}

// Bytes of a code point: 1 to 4 below 0x200000; above, the value becomes
// U+FFFD in a two-byte sequence, as the old size table has it.
unsigned Utf8Size(unsigned long &ch) noexcept {
    if (ch < 0x80)
        return 1;
    if (ch < 0x800)
        return 2;
    if (ch < 0x10000)
        return 3;
    if (ch < 0x200000)
        return 4;
    ch = kReplacementChar;
    return 2;
}

void WriteUtf8(unsigned char *target, unsigned long ch, unsigned bytesToWrite) noexcept {
    constexpr unsigned long byteMask = 0xBF;
    constexpr unsigned long byteMark = 0x80;
    target += bytesToWrite;
    switch (bytesToWrite) {
    case 4:
        *--target = static_cast<unsigned char>((ch | byteMark) & byteMask);
        ch >>= 6;
        [[fallthrough]];
    case 3:
        *--target = static_cast<unsigned char>((ch | byteMark) & byteMask);
        ch >>= 6;
        [[fallthrough]];
    case 2:
        *--target = static_cast<unsigned char>((ch | byteMark) & byteMask);
        ch >>= 6;
        [[fallthrough]];
    case 1:
        *--target = static_cast<unsigned char>(ch | kFirstByteMark[bytesToWrite]);
    }
}

// One character of UTF-16 to UTF-8. A high surrogate followed by a low one
// is a pair; any other surrogate stands alone (lenient) or stops (strict).
Result StepUtf16ToUtf8(const unsigned short *&source, const unsigned short *sourceEnd, unsigned char *&target,
                       unsigned char *targetEnd, Flags flags) noexcept {
    const unsigned short *oldSource = source;
    unsigned long ch = *source++;
    if (IsHighSurrogate(ch)) {
        if (source < sourceEnd && IsLowSurrogate(*source)) {
            ch = ((ch - kSurHighStart) << kHalfShift) + (*source - kSurLowStart) + kHalfBase;
            ++source;
        } else if (flags == CUTFConverter::strictConversion) {
            source = oldSource;
            return CUTFConverter::sourceIllegal;
        }
    } else if (flags == CUTFConverter::strictConversion && IsLowSurrogate(ch)) {
        source = oldSource;
        return CUTFConverter::sourceIllegal;
    }
    unsigned bytesToWrite = Utf8Size(ch);
    if (static_cast<size_t>(targetEnd - target) < bytesToWrite) {
        source = oldSource;
        return CUTFConverter::targetExhausted;
    }
    WriteUtf8(target, ch, bytesToWrite);
    target += bytesToWrite;
    return CUTFConverter::conversionOK;
}

// One sequence of UTF-8 to UTF-16.
Result StepUtf8ToUtf16(const unsigned char *&source, const unsigned char *sourceEnd, unsigned short *&target,
                       unsigned short *targetEnd, Flags flags) noexcept {
    unsigned extra = kTrailingBytes.n[*source];
    if (static_cast<size_t>(sourceEnd - source) <= extra)
        return CUTFConverter::sourceExhausted;
    if (!IsLegalUtf8(source, static_cast<int>(extra) + 1))
        return CUTFConverter::sourceIllegal;
    const unsigned char *start = source;
    unsigned long ch = DecodeSequence(source, extra);
    if (target >= targetEnd) {
        source = start;
        return CUTFConverter::targetExhausted;
    }
    if (ch <= kMaxBmp) {
        if (flags == CUTFConverter::strictConversion && IsSurrogate(ch)) {
            source = start;
            return CUTFConverter::sourceIllegal;
        }
        *target++ = static_cast<unsigned short>(ch);
    } else if (ch > kMaxUtf16) {
        if (flags == CUTFConverter::strictConversion) {
            source = start;
            return CUTFConverter::sourceIllegal;
        }
        *target++ = static_cast<unsigned short>(kReplacementChar);
    } else {
        if (targetEnd - target < 2) {
            source = start;
            return CUTFConverter::targetExhausted;
        }
        ch -= kHalfBase;
        *target++ = static_cast<unsigned short>((ch >> kHalfShift) + kSurHighStart);
        *target++ = static_cast<unsigned short>((ch & kHalfMask) + kSurLowStart);
    }
    return CUTFConverter::conversionOK;
}

// ---------------------------------------------------------------------------
// Vector fast paths for runs of ASCII. Each converts a prefix of the n
// elements it is given and answers its length; it may write scratch up to n
// elements of the target, which the caller then overwrites.

using WidenFn = size_t (*)(const unsigned char *, size_t, unsigned short *) noexcept;
using NarrowFn = size_t (*)(const unsigned short *, size_t, unsigned char *) noexcept;

#if defined(__x86_64__)

size_t WidenAsciiSse2(const unsigned char *src, size_t n, unsigned short *dst) noexcept {
    const __m128i zero = _mm_setzero_si128();
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + i));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i), _mm_unpacklo_epi8(v, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i + 8), _mm_unpackhi_epi8(v, zero));
        unsigned mask = static_cast<unsigned>(_mm_movemask_epi8(v));
        if (mask != 0)
            return i + static_cast<size_t>(__builtin_ctz(mask));
    }
    return i;
}

__attribute__((target("avx2"))) size_t WidenAsciiAvx2(const unsigned char *src, size_t n,
                                                      unsigned short *dst) noexcept {
    size_t i = 0;
    for (; i + 32 <= n; i += 32) {
        __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(src + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dst + i), _mm256_cvtepu8_epi16(_mm256_castsi256_si128(v)));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dst + i + 16),
                            _mm256_cvtepu8_epi16(_mm256_extracti128_si256(v, 1)));
        unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(v));
        if (mask != 0)
            return i + static_cast<size_t>(__builtin_ctz(mask));
    }
    return i + WidenAsciiSse2(src + i, n - i, dst + i);
}

// Units below 0x80 give 0xFFFF lanes in the comparison; two mask bits per unit.
size_t NarrowAsciiSse2(const unsigned short *src, size_t n, unsigned char *dst) noexcept {
    const __m128i high = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    size_t i = 0;
    for (; i + 16 <= n; i += 16) {
        __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + i));
        __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src + i + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(dst + i), _mm_packus_epi16(a, b));
        unsigned ascii = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(a, high), zero))) |
                         static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_and_si128(b, high), zero)))
                             << 16;
        if (ascii != 0xFFFFFFFFu)
            return i + static_cast<size_t>(__builtin_ctz(~ascii)) / 2;
    }
    return i;
}

__attribute__((target("avx2"))) size_t NarrowAsciiAvx2(const unsigned short *src, size_t n,
                                                       unsigned char *dst) noexcept {
    const __m256i high = _mm256_set1_epi16(static_cast<short>(0xFF80));
    size_t i = 0;
    for (; i + 32 <= n; i += 32) {
        __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(src + i));
        __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(src + i + 16));
        // packus works per 128-bit lane; the permute puts the bytes in order.
        __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(dst + i), packed);
        if (!_mm256_testz_si256(_mm256_or_si256(a, b), high))
            return i + NarrowAsciiSse2(src + i, 32, dst + i);
    }
    return i + NarrowAsciiSse2(src + i, n - i, dst + i);
}

bool HasAvx2() noexcept {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2");
}
WidenFn PickWiden() noexcept { return HasAvx2() ? WidenAsciiAvx2 : WidenAsciiSse2; }
NarrowFn PickNarrow() noexcept { return HasAvx2() ? NarrowAsciiAvx2 : NarrowAsciiSse2; }

#else

size_t WidenAsciiPlain(const unsigned char *src, size_t n, unsigned short *dst) noexcept {
    size_t i = 0;
    for (; i < n && src[i] < 0x80; ++i)
        dst[i] = src[i];
    return i;
}
size_t NarrowAsciiPlain(const unsigned short *src, size_t n, unsigned char *dst) noexcept {
    size_t i = 0;
    for (; i < n && src[i] < 0x80; ++i)
        dst[i] = static_cast<unsigned char>(src[i]);
    return i;
}
WidenFn PickWiden() noexcept { return WidenAsciiPlain; }
NarrowFn PickNarrow() noexcept { return NarrowAsciiPlain; }

#endif

// Chosen on first use, so that conversions from other static initialisers
// work whatever the order.
size_t WidenAscii(const unsigned char *src, size_t n, unsigned short *dst) noexcept {
    static const WidenFn widen = PickWiden();
    return widen(src, n, dst);
}
size_t NarrowAscii(const unsigned short *src, size_t n, unsigned char *dst) noexcept {
    static const NarrowFn narrow = PickNarrow();
    return narrow(src, n, dst);
}

// A vector block only pays off for runs of some length.
constexpr size_t kMinVectorRun = 16;

// A run of legal two-byte sequences (lead 0xC2..0xDF); false if the first
// sequence is not one of them or does not fit.
bool TwoByteRun(const unsigned char *&source, const unsigned char *sourceEnd, unsigned short *&target,
                unsigned short *targetEnd) noexcept {
    const unsigned char *start = source;
    while (sourceEnd - source >= 2 && target < targetEnd) {
        unsigned b = source[0], b1 = source[1];
        if (b < 0xC2 || b > 0xDF || (b1 & 0xC0) != 0x80)
            break;
        *target++ = static_cast<unsigned short>(((b & 0x1F) << 6) | (b1 & 0x3F));
        source += 2;
    }
    return source != start;
}

// A run of legal three-byte sequences (lead 0xE0..0xEF; encoded surrogates
// only when lenient).
bool ThreeByteRun(const unsigned char *&source, const unsigned char *sourceEnd, unsigned short *&target,
                  unsigned short *targetEnd, bool lenient) noexcept {
    size_t n = static_cast<size_t>(sourceEnd - source) / 3;
    size_t room = static_cast<size_t>(targetEnd - target);
    if (room < n)
        n = room;
    const unsigned char *p = source;
    unsigned short *out = target;
    for (unsigned short *end = target + n; out < end; ++out, p += 3) {
        unsigned b = p[0], b1 = p[1], b2 = p[2];
        if ((b & 0xF0) != 0xE0 || ((b1 & 0xC0) != 0x80) | ((b2 & 0xC0) != 0x80))
            break;
        if ((b == 0xE0 && b1 < 0xA0) || (!lenient && b == 0xED && b1 >= 0xA0))
            break;
        *out = static_cast<unsigned short>(((b & 0x0F) << 12) | ((b1 & 0x3F) << 6) | (b2 & 0x3F));
    }
    bool moved = p != source;
    source = p;
    target = out;
    return moved;
}

// A run of units of the basic plane outside the surrogates and above 0x7F,
// while the target has room for the longest form.
bool BmpRun(const unsigned short *&source, const unsigned short *sourceEnd, unsigned char *&target,
            unsigned char *targetEnd) noexcept {
    // Bounded up front by the units there are and the room for three bytes
    // each, so that the loop tests only the unit.
    size_t n = static_cast<size_t>(sourceEnd - source);
    size_t fit = static_cast<size_t>(targetEnd - target) / 3;
    if (fit < n)
        n = fit;
    const unsigned short *p = source;
    const unsigned short *end = source + n;
    unsigned char *out = target;
    for (; p < end; ++p) {
        unsigned ch = *p;
        if (ch >= 0x800 && (ch < 0xD800 || ch > 0xDFFF)) {
            out[0] = static_cast<unsigned char>(0xE0 | (ch >> 12));
            out[1] = static_cast<unsigned char>(0x80 | ((ch >> 6) & 0x3F));
            out[2] = static_cast<unsigned char>(0x80 | (ch & 0x3F));
            out += 3;
        } else if (ch >= 0x80 && ch < 0x800) {
            out[0] = static_cast<unsigned char>(0xC0 | (ch >> 6));
            out[1] = static_cast<unsigned char>(0x80 | (ch & 0x3F));
            out += 2;
        } else {
            break;
        }
    }
    bool moved = p != source;
    source = p;
    target = out;
    return moved;
}


// One character of UCS-4 to UTF-8.
Result StepUtf32ToUtf8(const unsigned long *&source, const unsigned long *, unsigned char *&target,
                       unsigned char *targetEnd, Flags flags) noexcept {
    unsigned long ch = *source;
    if (flags == CUTFConverter::strictConversion && IsSurrogate(ch))
        return CUTFConverter::sourceIllegal;
    const unsigned bytesToWrite = Utf8Size(ch); // may replace ch
    if (static_cast<size_t>(targetEnd - target) < bytesToWrite)
        return CUTFConverter::targetExhausted;
    WriteUtf8(target, ch, bytesToWrite);
    target += bytesToWrite;
    ++source;
    return CUTFConverter::conversionOK;
}

// One UTF-8 sequence to one UCS-4 unit.
Result StepUtf8ToUtf32(const unsigned char *&source, const unsigned char *sourceEnd, unsigned long *&target,
                       unsigned long *targetEnd, Flags flags) noexcept {
    const unsigned extra = kTrailingBytes.n[*source];
    if (static_cast<size_t>(sourceEnd - source) <= extra)
        return CUTFConverter::sourceExhausted;
    if (!IsLegalUtf8(source, static_cast<int>(extra) + 1))
        return CUTFConverter::sourceIllegal;
    const unsigned char *start = source;
    const unsigned long ch = DecodeSequence(source, extra);
    if (target >= targetEnd) {
        source = start;
        return CUTFConverter::targetExhausted;
    }
    if (flags == CUTFConverter::strictConversion && (IsSurrogate(ch) || ch > kMaxUtf16)) {
        source = start;
        return CUTFConverter::sourceIllegal;
    }
    *target++ = ch > kMaxUtf16 ? kReplacementChar : ch;
    return CUTFConverter::conversionOK;
}

// One UTF-16 character (a pair, or a lone surrogate in lenient mode) to UCS-4.
Result StepUtf16ToUtf32(const unsigned short *&source, const unsigned short *sourceEnd, unsigned long *&target,
                        unsigned long *targetEnd, Flags flags) noexcept {
    const unsigned short *next = source;
    unsigned long ch = *next++;
    if (IsHighSurrogate(ch)) {
        if (next < sourceEnd && IsLowSurrogate(*next))
            ch = ((ch - kSurHighStart) << kHalfShift) + (*next++ - kSurLowStart) + kHalfBase;
        else if (flags == CUTFConverter::strictConversion)
            return CUTFConverter::sourceIllegal;
    } else if (flags == CUTFConverter::strictConversion && IsLowSurrogate(ch)) {
        return CUTFConverter::sourceIllegal;
    }
    if (target >= targetEnd)
        return CUTFConverter::targetExhausted;
    *target++ = ch;
    source = next;
    return CUTFConverter::conversionOK;
}

// One UCS-4 unit to UTF-16: one unit, or a pair beyond the basic plane.
Result StepUtf32ToUtf16(const unsigned long *&source, const unsigned long *, unsigned short *&target,
                        unsigned short *targetEnd, Flags flags) noexcept {
    if (target >= targetEnd)
        return CUTFConverter::targetExhausted;
    unsigned long ch = *source;
    if (flags == CUTFConverter::strictConversion && (IsSurrogate(ch) || ch > kMaxUtf16))
        return CUTFConverter::sourceIllegal;
    if (ch <= kMaxBmp) {
        *target++ = static_cast<unsigned short>(ch);
    } else if (ch > kMaxUtf16) {
        *target++ = static_cast<unsigned short>(kReplacementChar);
    } else {
        if (targetEnd - target < 2)
            return CUTFConverter::targetExhausted;
        ch -= kHalfBase;
        *target++ = static_cast<unsigned short>((ch >> kHalfShift) + kSurHighStart);
        *target++ = static_cast<unsigned short>((ch & kHalfMask) + kSurLowStart);
    }
    ++source;
    return CUTFConverter::conversionOK;
}

// Runs a step over the source until it ends or a step fails, and reports
// where both pointers stopped.
template <class Source, class Target, class Step>
Result RunSteps(const Source **sourceStart, const Source *sourceEnd, Target **targetStart, Target *targetEnd,
                Flags flags, Step step) noexcept {
    Result result = CUTFConverter::conversionOK;
    const Source *source = *sourceStart;
    Target *target = *targetStart;
    while (source < sourceEnd && (result = step(source, sourceEnd, target, targetEnd, flags)) == CUTFConverter::conversionOK) {
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}

// The fast drivers: stretches of ASCII are copied in vectors, other text
// first tries a fast run and falls back to the full step.
template <class Source, class Target, class CopyAscii, class FastRun, class Step>
Result RunFast(const Source **sourceStart, const Source *sourceEnd, Target **targetStart, Target *targetEnd,
               Flags flags, CopyAscii copyAscii, FastRun fastRun, Step step) noexcept {
    Result result = CUTFConverter::conversionOK;
    const Source *source = *sourceStart;
    Target *target = *targetStart;
    while (source < sourceEnd) {
        if (*source < 0x80) {
            const size_t n = std::min(static_cast<size_t>(sourceEnd - source), static_cast<size_t>(targetEnd - target));
            if (n >= kMinVectorRun) {
                const size_t done = copyAscii(source, n, target);
                source += done;
                target += done;
                continue;
            }
            if (target >= targetEnd) {
                result = CUTFConverter::targetExhausted;
                break;
            }
            *target++ = static_cast<Target>(*source++);
            continue;
        }
        if (fastRun(source, sourceEnd, target, targetEnd, flags))
            continue;
        result = step(source, sourceEnd, target, targetEnd, flags);
        if (result != CUTFConverter::conversionOK)
            break;
    }
    *sourceStart = source;
    *targetStart = target;
    return result;
}

} // namespace

// ---------------------------------------------------------------------------
// The cores

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF16toUTF8Scalar(const unsigned short **sourceStart,
                                                                        const unsigned short *sourceEnd,
                                                                        unsigned char **targetStart,
                                                                        unsigned char *targetEnd,
                                                                        ConversionFlags flags) {
    return RunSteps(sourceStart, sourceEnd, targetStart, targetEnd, flags, StepUtf16ToUtf8);
}

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF16toUTF8(const unsigned short **sourceStart,
                                                                  const unsigned short *sourceEnd,
                                                                  unsigned char **targetStart,
                                                                  unsigned char *targetEnd, ConversionFlags flags) {
    // Characters of the basic plane outside the surrogates are the common
    // case of non-Latin text.
    const auto bmpRun = [](const unsigned short *&source, const unsigned short *sourceEnd, unsigned char *&target,
                           unsigned char *targetEnd, ConversionFlags) {
        return BmpRun(source, sourceEnd, target, targetEnd);
    };
    return RunFast(sourceStart, sourceEnd, targetStart, targetEnd, flags, NarrowAscii, bmpRun, StepUtf16ToUtf8);
}

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF8toUTF16Scalar(const unsigned char **sourceStart,
                                                                        const unsigned char *sourceEnd,
                                                                        unsigned short **targetStart,
                                                                        unsigned short *targetEnd,
                                                                        ConversionFlags flags) {
    return RunSteps(sourceStart, sourceEnd, targetStart, targetEnd, flags, StepUtf8ToUtf16);
}

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF8toUTF16(const unsigned char **sourceStart,
                                                                  const unsigned char *sourceEnd,
                                                                  unsigned short **targetStart,
                                                                  unsigned short *targetEnd, ConversionFlags flags) {
    // Runs of two- and three-byte sequences that pass every legality rule,
    // with room in the target; everything else takes the full step.
    const auto multiByteRun = [](const unsigned char *&source, const unsigned char *sourceEnd,
                                 unsigned short *&target, unsigned short *targetEnd, ConversionFlags flags) {
        return *source >= 0xE0 ? ThreeByteRun(source, sourceEnd, target, targetEnd, flags == lenientConversion)
                               : TwoByteRun(source, sourceEnd, target, targetEnd);
    };
    return RunFast(sourceStart, sourceEnd, targetStart, targetEnd, flags, WidenAscii, multiByteRun, StepUtf8ToUtf16);
}

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF32toUTF8(const unsigned long **sourceStart,
                                                                  const unsigned long *sourceEnd,
                                                                  unsigned char **targetStart,
                                                                  unsigned char *targetEnd, ConversionFlags flags) {
    return RunSteps(sourceStart, sourceEnd, targetStart, targetEnd, flags, StepUtf32ToUtf8);
}

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF8toUTF32(const unsigned char **sourceStart,
                                                                  const unsigned char *sourceEnd,
                                                                  unsigned long **targetStart,
                                                                  unsigned long *targetEnd, ConversionFlags flags) {
    return RunSteps(sourceStart, sourceEnd, targetStart, targetEnd, flags, StepUtf8ToUtf32);
}

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF16toUTF32(const unsigned short **sourceStart,
                                                                   const unsigned short *sourceEnd,
                                                                   unsigned long **targetStart,
                                                                   unsigned long *targetEnd, ConversionFlags flags) {
    return RunSteps(sourceStart, sourceEnd, targetStart, targetEnd, flags, StepUtf16ToUtf32);
}

CUTFConverter::ConversionResult CUTFConverter::ConvertUTF32toUTF16(const unsigned long **sourceStart,
                                                                   const unsigned long *sourceEnd,
                                                                   unsigned short **targetStart,
                                                                   unsigned short *targetEnd, ConversionFlags flags) {
    return RunSteps(sourceStart, sourceEnd, targetStart, targetEnd, flags, StepUtf32ToUtf16);
}

// ---------------------------------------------------------------------------
// Static conversions

namespace {

size_t Ucs4Length(const unsigned long *p) noexcept {
    const unsigned long *start = p;
    while (*p)
        ++p;
    return static_cast<size_t>(p - start);
}

// A fresh UTF-8 or UCS-4 block of `units` elements in `out`, zeroed. An
// existing object is used if it can still allocate; one that already holds a
// block is only reused when that block is large enough.
template <class T>
T *TakeBlock(CSmartRefCountPtr<UTFBuffer_t<T>> &out, size_t units) {
    if (out.isNull())
        out = new UTFBuffer_t<T>();
    T *block = out->allocate(units);
    if (block == nullptr || out->getSize() < units)
        return nullptr;
    std::memset(block, 0, units * sizeof(T));
    return block;
}

const unsigned short kQuestionMark[2] = {'?', 0};

} // namespace

// Fresh storage for n units in the string, or null when memory is short.
unsigned short *CUTFConverter::WritableUnits(SZTAString &text, size_t n) noexcept {
    try {
        return text.beginWrite(n);
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

namespace {

bool TooManyUnits(size_t units, size_t factor) noexcept { return units >= SIZE_MAX / factor - 1; }

} // namespace

bool CUTFConverter::UTF8ToUTF16(const unsigned char *utf8, SZTAString &out) {
    if (utf8 == nullptr) {
        out.empty();
        return true;
    }
    size_t n = std::strlen(reinterpret_cast<const char *>(utf8));
    // Every byte gives at most one unit, so n units always suffice; the
    // conversion goes straight into the new string's storage.
    SZTAString converted;
    unsigned short *block = WritableUnits(converted, n);
    TARNKIT_ASSERT_EXPR(block != nullptr, "targetStart");
    if (block == nullptr)
        return false;
    const unsigned char *source = utf8;
    unsigned short *target = block;
    if (ConvertUTF8toUTF16(&source, utf8 + n, &target, block + n, lenientConversion) != conversionOK)
        return false;
    converted.endWrite(static_cast<size_t>(target - block));
    out = converted;
    return true;
}

bool CUTFConverter::UTF16ToUTF8(const SZTAString &text, CSmartRefCountPtr<UTF8Buffer> &out) {
    if (text.isEmpty())
        return true;
    size_t units = text.getLength();
    if (TooManyUnits(units, 4))
        return false;
    unsigned char *block = TakeBlock(out, 4 * (units + 1));
    TARNKIT_ASSERT_EXPR(block != nullptr, "buffer");
    if (block == nullptr)
        return false;
    const unsigned short *source = text.getString();
    unsigned char *target = block;
    if (ConvertUTF16toUTF8(&source, source + units, &target, block + 4 * (units + 1) - 1, lenientConversion) !=
        conversionOK) {
        out->freeBlock();
        return false;
    }
    return true;
}

bool CUTFConverter::UTF16ToUTF8(const SZTAString &text, SSimpleBuffer &out) {
    if (text.isEmpty()) {
        unsigned char zero = 0;
        out = SSimpleBuffer(&zero, 1, false);
        return true;
    }
    size_t units = text.getLength();
    if (TooManyUnits(units, 4))
        return false;
    size_t size = 4 * (units + 1);
    unsigned char *block = out.getBuffer(size);
    if (block == nullptr)
        return false;
    // The source terminator goes along, so the count includes it.
    const unsigned short *source = text.getString();
    unsigned char *target = block;
    Result result = ConvertUTF16toUTF8(&source, source + units + 1, &target, block + size, lenientConversion);
    out.releaseBuffer(static_cast<size_t>(target - block));
    return result == conversionOK;
}

bool CUTFConverter::UCS4ToUTF8(const unsigned long *ucs4, CSmartRefCountPtr<UTF8Buffer> &out) {
    if (ucs4 == nullptr)
        return true;
    size_t units = Ucs4Length(ucs4);
    if (TooManyUnits(units, 4))
        return false;
    unsigned char *block = TakeBlock(out, 4 * (units + 1));
    TARNKIT_ASSERT_EXPR(block != nullptr, "buffer");
    if (block == nullptr)
        return false;
    const unsigned long *source = ucs4;
    unsigned char *target = block;
    if (ConvertUTF32toUTF8(&source, ucs4 + units, &target, block + 4 * (units + 1) - 1, lenientConversion) !=
        conversionOK) {
        out->freeBlock();
        return false;
    }
    return true;
}

bool CUTFConverter::UTF8ToUCS4(const unsigned char *utf8, CSmartRefCountPtr<UCS4Buffer> &out) {
    if (utf8 == nullptr)
        return true;
    size_t n = std::strlen(reinterpret_cast<const char *>(utf8));
    unsigned long *block = TakeBlock(out, n + 1);
    TARNKIT_ASSERT_EXPR(block != nullptr, "ucs4String");
    if (block == nullptr)
        return false;
    const unsigned char *source = utf8;
    unsigned long *target = block;
    if (ConvertUTF8toUTF32(&source, utf8 + n, &target, block + n, lenientConversion) != conversionOK) {
        out->freeBlock();
        return false;
    }
    return true;
}

bool CUTFConverter::UTF16ToUCS4(const SZTAString &text, CSmartRefCountPtr<UCS4Buffer> &out) {
    if (text.isEmpty())
        return true;
    size_t units = text.getLength();
    unsigned long *block = TakeBlock(out, units + 1);
    TARNKIT_ASSERT_EXPR(block != nullptr, "ucs4String");
    if (block == nullptr)
        return false;
    const unsigned short *source = text.getString();
    unsigned long *target = block;
    if (ConvertUTF16toUTF32(&source, source + units, &target, block + units, lenientConversion) != conversionOK) {
        out->freeBlock();
        return false;
    }
    return true;
}

bool CUTFConverter::UCS4ToUTF16(const unsigned long *ucs4, SZTAString &out) {
    if (ucs4 == nullptr) {
        out.empty();
        return true;
    }
    // One target unit per source unit: a character beyond the basic plane
    // needs two, so a text of only such characters runs out of room.
    size_t units = Ucs4Length(ucs4);
    SZTAString converted;
    unsigned short *block = WritableUnits(converted, units);
    TARNKIT_ASSERT_EXPR(block != nullptr, "ucs4String");
    if (block == nullptr)
        return false;
    const unsigned long *source = ucs4;
    unsigned short *target = block;
    if (ConvertUTF32toUTF16(&source, ucs4 + units, &target, block + units, lenientConversion) != conversionOK)
        return false;
    converted.endWrite(static_cast<size_t>(target - block));
    out = converted;
    return true;
}

unsigned long CUTFConverter::UTF16ToUCS4(const unsigned short *text, unsigned long *out, size_t n) {
    size_t length = text != nullptr ? Mbcs::WideLength(text) : 0;
    if (out == nullptr)
        return length + 1;
    if (length == 0) {
        if (n > 0)
            *out = 0;
        return 0;
    }
    std::memset(out, 0, n * sizeof(unsigned long));
    size_t limit = n < length ? n : length;
    const unsigned short *source = text;
    unsigned long *target = out;
    if (ConvertUTF16toUTF32(&source, text + length, &target, out + limit, lenientConversion) != conversionOK)
        return static_cast<unsigned long>(target - out);
    return length + 1;
}

size_t CUTFConverter::UTF16ToUTF8Length(const unsigned short *text) {
    size_t bytes = 1;
    if (text == nullptr)
        return bytes;
    for (const unsigned short *p = text; *p; ++p) {
        unsigned long ch = *p;
        if (IsHighSurrogate(ch) && IsLowSurrogate(p[1])) {
            bytes += 4;
            ++p;
        } else {
            bytes += ch < 0x80 ? 1 : ch < 0x800 ? 2 : 3;
        }
    }
    return bytes;
}

size_t CUTFConverter::WideCharToUTF8Length(const unsigned short *text) {
    size_t bytes = 1;
    if (text == nullptr)
        return bytes;
    for (const unsigned short *p = text; *p; ++p)
        bytes += *p < 0x80 ? 1 : *p < 0x800 ? 2 : 3;
    return bytes;
}

// ---------------------------------------------------------------------------
// The object form

CUTFConverter::CUTFConverter() noexcept : buffer(nullptr), length(0) {}

CUTFConverter::CUTFConverter(const SAnsiString &text) : buffer(nullptr), length(0) { setText(text); }

CUTFConverter::CUTFConverter(const CUTFConverter &other) : text(other.text), buffer(nullptr), length(0) {
    assign(other.buffer, other.length);
}

CUTFConverter &CUTFConverter::operator=(const CUTFConverter &other) {
    if (this != &other) {
        text = other.text;
        assign(other.buffer, other.length);
    }
    return *this;
}

CUTFConverter::~CUTFConverter() { delete[] buffer; }

void CUTFConverter::assign(const unsigned char *bytes, unsigned long n) {
    unsigned char *copy = nullptr;
    if (bytes != nullptr && n > 0) {
        copy = new unsigned char[n];
        std::memcpy(copy, bytes, n);
    }
    delete[] buffer;
    buffer = copy;
    length = copy != nullptr ? n : 0;
}

void CUTFConverter::setText(const SAnsiString &newText) {
    text = newText;
    delete[] buffer;
    buffer = nullptr;
    length = 0;
    if (text.isEmpty()) {
        buffer = new (std::nothrow) unsigned char[1];
        TARNKIT_ASSERT_EXPR(buffer != nullptr, "buffer");
        if (buffer != nullptr) {
            buffer[0] = 0;
            length = 1;
        }
        return;
    }
    unsigned char *begin = nullptr;
    unsigned char *end = nullptr;
    unsigned long produced = ConvertToUTFString(text, &begin, &end);
    if (begin != nullptr) {
        assign(begin, produced);
        std::free(begin);
    }
}

unsigned long CUTFConverter::ConvertToUTFString(const SAnsiString &source, unsigned char **begin,
                                                unsigned char **end) {
    *begin = *end = nullptr;
    SZTAString wide;
    if (!wide.copyFrom(source.getString()))
        wide = SZTAString(kQuestionMark);
    // Three bytes per unit cover every unit; a pair takes four for two.
    size_t units = wide.getLength();
    if (TooManyUnits(units, 3))
        return 0;
    size_t size = 3 * (units + 1);
    unsigned char *block = static_cast<unsigned char *>(std::calloc(size, 1));
    TARNKIT_ASSERT_EXPR(block != nullptr, "utfString");
    if (block == nullptr)
        return 0;
    const unsigned short *from = wide.getString();
    unsigned char *target = block;
    ConvertUTF16toUTF8(&from, from + units + 1, &target, block + size, lenientConversion);
    *begin = block;
    *end = target;
    return static_cast<unsigned long>(target - block);
}

} // namespace TarnkitA201
