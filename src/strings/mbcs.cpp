#include "strings/mbcs.h"

#include "tarnkit/strace.h"

#include <clocale>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <langinfo.h>
#include <memory>

#ifndef __STDC_ISO_10646__
#error "wchar_t must hold Unicode code points"
#endif

namespace TarnkitA201::Mbcs {

namespace {

bool IsContinuationByte(unsigned char b) noexcept { return (b & 0xC0) == 0x80; }

// In UTF-8 every byte that is not a continuation byte starts a character of
// the iteration. A continuation byte does too, unless a valid sequence that
// begins up to three bytes earlier covers it.
bool StartsUtf8Character(const char *text, const char *p) noexcept {
    if (!IsContinuationByte(static_cast<unsigned char>(*p)))
        return true;
    for (int back = 1; back <= 3 && p - back >= text; ++back) {
        int n = CharLength(p - back);
        if (n > back)
            return false;
    }
    return true;
}

// A wchar_t copy of some text, on the stack when it is short.
class CodeBuffer {
public:
    explicit CodeBuffer(size_t n) : m_heap(n < kInline ? nullptr : new wchar_t[n + 1]) {}
    wchar_t *data() noexcept { return m_heap ? m_heap.get() : m_inline; }

private:
    static constexpr size_t kInline = 256;
    wchar_t m_inline[kInline + 1];
    std::unique_ptr<wchar_t[]> m_heap;
};

// An invalid byte gets a code in the low surrogate range: no locale
// produces those, so two different invalid bytes never compare equal.
wchar_t InvalidByteCode(unsigned char b) noexcept { return static_cast<wchar_t>(0xDC00 + b); }

void FoldToCodes(const char *p, wchar_t *out, bool lower) noexcept {
    while (*p) {
        wchar_t code;
        int n = ToCodePoint(p, &code);
        if (n < 0) {
            code = InvalidByteCode(static_cast<unsigned char>(*p));
            n = 1;
        }
        *out++ = lower ? static_cast<wchar_t>(std::towlower(static_cast<wint_t>(code))) : code;
        p += n;
    }
    *out = 0;
}

void WideToCodes(const unsigned short *p, wchar_t *out, bool lower) noexcept {
    for (; *p; ++p) {
        wchar_t code = *p;
        if (*p >= 0xD800 && *p < 0xDC00 && p[1] >= 0xDC00 && p[1] < 0xE000) {
            code = static_cast<wchar_t>(0x10000 + ((*p - 0xD800) << 10) + (p[1] - 0xDC00));
            ++p;
        }
        *out++ = lower ? static_cast<wchar_t>(std::towlower(static_cast<wint_t>(code))) : code;
    }
    *out = 0;
}

int Sign(int v) noexcept { return (v > 0) - (v < 0); }

} // namespace

int CharLength(const char *p) noexcept {
    unsigned char b = static_cast<unsigned char>(*p);
    if (b < 0x80)
        return b != 0;
    std::mbstate_t state{};
    size_t n = std::mbrlen(p, strnlen(p, kMaxCharBytes), &state);
    if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2) || n == 0)
        return -1;
    return static_cast<int>(n);
}

size_t CountChars(const char *p) noexcept {
    size_t count = 0;
    while (*p) {
        // Runs of ASCII are the common case and need no call.
        while (*p && static_cast<unsigned char>(*p) < 0x80) {
            ++p;
            ++count;
        }
        if (*p) {
            p += StepLength(p);
            ++count;
        }
    }
    return count;
}

int ToCodePoint(const char *p, wchar_t *out) noexcept {
    unsigned char b = static_cast<unsigned char>(*p);
    if (b < 0x80) {
        // ASCII is itself in every locale glibc supports, and wchar_t holds
        // code points.
        *out = static_cast<wchar_t>(b);
        return b != 0;
    }
    std::mbstate_t state{};
    wchar_t code;
    size_t n = std::mbrtowc(&code, p, strnlen(p, kMaxCharBytes), &state);
    if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2) || n == 0)
        return -1;
    *out = code;
    return static_cast<int>(n);
}

int FromCodePoint(wchar_t code, char *out) noexcept {
    std::mbstate_t state{};
    size_t n = std::wcrtomb(out, code, &state);
    return n == static_cast<size_t>(-1) ? -1 : static_cast<int>(n);
}

bool ConvertCaseChar(char *dest, size_t room, int *charSize, bool upper) {
    wchar_t code;
    if (ToCodePoint(dest, &code) < 0) {
        TARNKIT_FAIL(upper ? "MakeUpperCaseChar: Fail to convert to wchar_t" : "MakeLowerCaseChar: Fail to convert to wchar_t");
        return false;
    }
    wint_t converted = upper ? std::towupper(static_cast<wint_t>(code)) : std::towlower(static_cast<wint_t>(code));
    char bytes[MB_LEN_MAX];
    int n = FromCodePoint(static_cast<wchar_t>(converted), bytes);
    if (n < 0 || static_cast<size_t>(n) > room) {
        TARNKIT_FAIL(upper ? "MakeUpperCaseChar: Fail to convert back to MBCS" : "MakeLowerCaseChar: Fail to convert back to MBCS");
        return false;
    }
    std::memcpy(dest, bytes, static_cast<size_t>(n));
    *charSize = n;
    return true;
}

bool IsUtf8Locale() noexcept {
    const char *codeset = nl_langinfo(CODESET);
    return codeset != nullptr && std::strcmp(codeset, "UTF-8") == 0;
}

bool IsSingleByteLocale() noexcept { return MB_CUR_MAX == 1; }

const char *FindString(const char *text, const char *needle) noexcept {
    if (*needle == 0)
        return text;
    if (IsSingleByteLocale())
        return std::strstr(text, needle);
    if (IsUtf8Locale()) {
        for (const char *from = text;;) {
            const char *hit = std::strstr(from, needle);
            if (hit == nullptr || StartsUtf8Character(text, hit))
                return hit;
            from = hit + 1;
        }
    }
    // Multibyte encodings whose trailing bytes can look like lead or ASCII
    // bytes: compare only at character starts.
    size_t needleLength = std::strlen(needle);
    for (const char *p = text; *p; p += StepLength(p)) {
        if (*p == *needle && std::strncmp(p, needle, needleLength) == 0)
            return p;
    }
    return nullptr;
}

const char *FindChar(const char *text, const char *bytes, size_t n) noexcept {
    if (n == 0)
        return nullptr;
    if (n == 1 && static_cast<unsigned char>(bytes[0]) < 0x80 && (IsSingleByteLocale() || IsUtf8Locale()))
        return std::strchr(text, bytes[0]);
    bool validCharacter = CharLength(bytes) == static_cast<int>(n);
    if (validCharacter && (IsSingleByteLocale() || IsUtf8Locale())) {
        char needle[kMaxCharBytes + 1] = {};
        std::memcpy(needle, bytes, n);
        return FindString(text, needle);
    }
    for (const char *p = text; *p;) {
        size_t step = StepLength(p);
        if (step == n && std::memcmp(p, bytes, n) == 0)
            return p;
        p += step;
    }
    return nullptr;
}

int Collate(const char *a, const char *b) noexcept { return std::strcoll(a, b); }

int CollateNoCase(const char *a, const char *b) {
    size_t na = std::strlen(a), nb = std::strlen(b);
    CodeBuffer wa(na), wb(nb);
    FoldToCodes(a, wa.data(), true);
    FoldToCodes(b, wb.data(), true);
    return Sign(std::wcscoll(wa.data(), wb.data()));
}

int CollateWide(const unsigned short *a, const unsigned short *b, bool noCase) {
    size_t na = WideLength(a), nb = WideLength(b);
    CodeBuffer wa(na), wb(nb);
    WideToCodes(a, wa.data(), noCase);
    WideToCodes(b, wb.data(), noCase);
    int r = std::wcscoll(wa.data(), wb.data());
    return noCase ? Sign(r) : r;
}

size_t ToWide16(const char *src, unsigned short *dst, size_t dstUnits) noexcept {
    size_t written = 0;
    if (dst == nullptr)
        dstUnits = SIZE_MAX;
    while (*src && written < dstUnits) {
        wchar_t code;
        int n = ToCodePoint(src, &code);
        if (n < 0) {
            code = L'?';
            n = 1;
        }
        src += n;
        if (static_cast<unsigned long>(code) > 0xFFFF) {
            if (dstUnits - written < 2)
                break;
            unsigned long v = static_cast<unsigned long>(code) - 0x10000;
            if (dst) {
                dst[written] = static_cast<unsigned short>(0xD800 + (v >> 10));
                dst[written + 1] = static_cast<unsigned short>(0xDC00 + (v & 0x3FF));
            }
            written += 2;
        } else {
            if (dst)
                dst[written] = static_cast<unsigned short>(code);
            ++written;
        }
    }
    return written;
}

size_t FromWide16(const unsigned short *src, char *dst, size_t dstBytes) noexcept {
    size_t written = 0;
    bool counting = dst == nullptr;
    for (; *src; ++src) {
        wchar_t code = *src;
        if (*src >= 0xD800 && *src < 0xDC00 && src[1] >= 0xDC00 && src[1] < 0xE000) {
            code = static_cast<wchar_t>(0x10000 + ((*src - 0xD800) << 10) + (src[1] - 0xDC00));
            ++src;
        }
        char scratch[MB_LEN_MAX];
        int n = (code >= 0xD800 && code < 0xE000) ? -1 : FromCodePoint(code, scratch);
        if (n < 0) {
            scratch[0] = '?';
            n = 1;
        }
        if (counting) {
            written += static_cast<size_t>(n);
            continue;
        }
        if (static_cast<size_t>(n) < dstBytes - written) {
            std::memcpy(dst + written, scratch, static_cast<size_t>(n));
            written += static_cast<size_t>(n);
        } else {
            std::memset(dst + written, '?', dstBytes - written);
            return dstBytes;
        }
    }
    return written;
}

size_t WideLength(const unsigned short *p) noexcept {
    const unsigned short *start = p;
    while (*p)
        ++p;
    return static_cast<size_t>(p - start);
}

} // namespace TarnkitA201::Mbcs
