// Conversion of the string kinds to and from the external encodings, the
// ASCII kind's constructors from the other kinds, and the characters' UCS-2
// form. The forgiving conversion between locale text and 16-bit text lives
// here once and serves the constructors, the assignments and the members.
#include "tarnkit/sstringimpl.h"

#include "strings/mbcs.h"
#include "tarnkit/UTFConverter.h"
#include "tarnkit/codesetconverter.h"
#include "tarnkit/strace.h"

#include <cstring>
#include <type_traits>

namespace TarnkitA201 {

namespace {

template <class T, int F>
constexpr bool kIsMbcs = F == 0;
template <class T, int F>
constexpr bool kIsAscii = std::is_same_v<T, char> && F == 1;
template <class T, int F>
constexpr bool kIsWide = std::is_same_v<T, unsigned short>;

constexpr long kFailed = -1;

// The signed byte widened, as the ASCII kind gives its units to wide text.
unsigned short WidenSigned(char c) noexcept {
    return static_cast<unsigned short>(static_cast<short>(static_cast<signed char>(c)));
}

bool AllBelow128(const char *p) noexcept {
    for (; *p; ++p)
        if (static_cast<unsigned char>(*p) >= 128)
            return false;
    return true;
}

bool AllBelow128(const unsigned short *p) noexcept {
    for (; *p; ++p)
        if (*p >= 128)
            return false;
    return true;
}

bool AllBelow128(const unsigned char *p, size_t n) noexcept {
    for (size_t i = 0; i < n && p[i] != 0; ++i)
        if (p[i] >= 128)
            return false;
    return true;
}

// Locale text as 16-bit units, "?" for an invalid sequence.
SWCharString WideFromMbcs(const char *mbcs) {
    SWCharString out;
    out.fromMBCS(mbcs);
    return out;
}

} // namespace

// ---------------------------------------------------------------------------
// Sizes

template <class T, int F>
size_t SString_t<T, F>::getNBytesForMBCS() const {
    if constexpr (kIsWide<T, F>) {
        size_t n = CodesetConverter::ucs2tombs(nullptr, getString(), 0);
        TARNKIT_ASSERT_EXPR(n != SIZE_MAX, "SWCharString::getNBytesForMBCS returns invalid length -1");
        return n + 1;
    } else {
        return m_buffer->length + 1;
    }
}

template <class T, int F>
size_t SString_t<T, F>::getNBytesForWChar() const {
    if constexpr (kIsMbcs<T, F>) {
        size_t nWideChars = Mbcs::ToWide16(getString(), nullptr, 0);
        TARNKIT_ASSERT_MSG(nWideChars != SIZE_MAX, "SAnsiString::getNBytesForWChar() returns -1!");
        return nWideChars * 2 + 2;
    } else {
        return m_buffer->length * 2 + 2;
    }
}

template <class T, int F>
size_t SString_t<T, F>::getNBytesForZTA() const {
    if constexpr (kIsMbcs<T, F>)
        return CodesetConverter::mbstoucs2(nullptr, getString(), 0) * 2 + 2;
    else
        return m_buffer->length * 2 + 2;
}

template <class T, int F>
size_t SString_t<T, F>::getNBytesForUTF8() const {
    if constexpr (kIsMbcs<T, F>)
        return CUTFConverter::UTF16ToUTF8Length(WideFromMbcs(getString()).getString());
    else if constexpr (kIsAscii<T, F>)
        return m_buffer->length + 1;
    else
        return CUTFConverter::UTF16ToUTF8Length(getString());
}

// ---------------------------------------------------------------------------
// To the external forms

template <class T, int F>
long SString_t<T, F>::toMBCS(char *buffer, size_t size) const {
    if constexpr (kIsWide<T, F>) {
        // A null buffer asks for the size.
        if (buffer == nullptr)
            return static_cast<long>(getNBytesForMBCS());
        size_t written = CodesetConverter::ucs2tombs(buffer, getString(), size);
        return static_cast<long>(written < size ? written + 1 : written);
    } else {
        TARNKIT_ASSERT_EXPR(buffer != nullptr, "outBuffer != 0");
        if (buffer == nullptr)
            return kFailed;
        size_t nBytesUsed = getNBytesForMBCS();
        TARNKIT_ASSERT_EXPR(size >= nBytesUsed, "nBytesInBuffer >= nBytesUsed");
        if (size < nBytesUsed)
            return kFailed;
        std::memcpy(buffer, getString(), nBytesUsed);
        return static_cast<long>(nBytesUsed);
    }
}

template <class T, int F>
long SString_t<T, F>::toAscii(char *buffer, size_t size) const {
    size_t needed = getNBytesForAscii();
    if (buffer == nullptr || size < needed)
        return kFailed;
    const T *text = getString();
    size_t length = m_buffer->length;
    if constexpr (kIsAscii<T, F>) {
        std::memcpy(buffer, text, needed);
        return static_cast<long>(needed);
    } else {
        for (size_t i = 0; i < length; ++i) {
            if (static_cast<std::make_unsigned_t<T>>(text[i]) > 127) {
                TARNKIT_FAIL("Not a valid ASCII string in SString");
                return kFailed;
            }
            buffer[i] = static_cast<char>(text[i]);
        }
        buffer[length] = 0;
        return static_cast<long>(length + 1);
    }
}

template <class T, int F>
long SString_t<T, F>::toWChar(unsigned short *buffer, size_t size) const {
    if constexpr (kIsMbcs<T, F>) {
        TARNKIT_ASSERT_EXPR(buffer != nullptr, "outBuffer!=NULL");
        if (buffer == nullptr)
            return kFailed;
        size_t units = size / 2;
        size_t written = Mbcs::ToWide16(getString(), buffer, units);
        if (written < units)
            buffer[written] = 0;
        return static_cast<long>(written + 1);
    } else if constexpr (kIsWide<T, F>) {
        return static_cast<long>(CodesetConverter::ucs2towcs(buffer, getString(), size / 2) + 1);
    } else {
        if (buffer == nullptr)
            return static_cast<long>(m_buffer->length + 1);
        size_t units = size / 2;
        size_t i = 0;
        for (const char *p = getString(); i < units && p[i] != 0; ++i)
            buffer[i] = WidenSigned(p[i]);
        if (i < units)
            buffer[i] = 0;
        return static_cast<long>(i + 1);
    }
}

template <class T, int F>
long SString_t<T, F>::toZTA(unsigned short *buffer, size_t size) const {
    size_t written;
    if constexpr (kIsMbcs<T, F>)
        written = CodesetConverter::mbstoucs2(buffer, getString(), size / 2);
    else if constexpr (kIsWide<T, F>)
        written = CodesetConverter::wcstoucs2(buffer, getString(), size / 2);
    else
        return toWChar(buffer, size);
    return written == SIZE_MAX ? kFailed : static_cast<long>(written + 1);
}

template <class T, int F>
long SString_t<T, F>::toUTF8(unsigned char *buffer, size_t size) const {
    if (buffer == nullptr || size == 0)
        return kFailed;
    if constexpr (kIsMbcs<T, F>) {
        return WideFromMbcs(getString()).toUTF8(buffer, size);
    } else if constexpr (kIsAscii<T, F>) {
        size_t length = m_buffer->length;
        if (size < length + 1)
            return kFailed;
        std::memcpy(buffer, getString(), length + 1);
        return static_cast<long>(length);
    } else {
        // The last byte stays free for the terminator written behind the text.
        const unsigned short *source = getString();
        unsigned char *target = buffer;
        if (CUTFConverter::ConvertUTF16toUTF8(&source, source + m_buffer->length, &target, buffer + size - 1,
                                              CUTFConverter::lenientConversion) != CUTFConverter::conversionOK)
            return kFailed;
        *target = 0;
        return static_cast<long>(target - buffer);
    }
}

// ---------------------------------------------------------------------------
// From the external forms

template <class T, int F>
bool SString_t<T, F>::fromMBCS(const char *text) {
    TARNKIT_ASSERT_EXPR(text != nullptr, "inBuffer != 0");
    if (text == nullptr)
        return false;
    if constexpr (kIsMbcs<T, F>) {
        *this = text;
    } else if constexpr (kIsAscii<T, F>) {
        if (!AllBelow128(text)) {
            TARNKIT_FAIL("Not a valid ASCII string in MBCS");
            return false;
        }
        *this = text;
    } else {
        size_t n = Mbcs::ToWide16(text, nullptr, 0);
        if (n == 0) {
            empty();
            return true;
        }
        SString_t converted;
        T *units = converted.beginWrite(n);
        converted.endWrite(Mbcs::ToWide16(text, units, n));
        *this = converted;
    }
    return true;
}

template <class T, int F>
bool SString_t<T, F>::fromWChar(const unsigned short *text) {
    TARNKIT_ASSERT_EXPR(text != nullptr, "inBuffer != 0");
    if (text == nullptr)
        return false;
    if constexpr (kIsMbcs<T, F>) {
        size_t n = Mbcs::FromWide16(text, nullptr, 0);
        if (n == 0) {
            empty();
            return true;
        }
        SString_t converted;
        T *bytes = converted.beginWrite(n);
        converted.endWrite(Mbcs::FromWide16(text, bytes, n + 1));
        *this = converted;
    } else if constexpr (kIsAscii<T, F>) {
        if (!AllBelow128(text)) {
            TARNKIT_FAIL("Not a valid ASCII string in WChar");
            return false;
        }
        SString_t converted;
        converted.concatFromAsciiUnits(text, Mbcs::WideLength(text));
        *this = converted;
    } else {
        *this = text;
    }
    return true;
}

template <class T, int F>
bool SString_t<T, F>::fromZTA(const unsigned short *text) {
    TARNKIT_ASSERT_EXPR(text != nullptr, "inBuffer != 0");
    if (text == nullptr)
        return false;
    if constexpr (kIsMbcs<T, F>) {
        size_t n = CodesetConverter::ucs2tombs(nullptr, text, 0);
        if (n == SIZE_MAX)
            return false;
        SString_t converted;
        T *bytes = converted.beginWrite(n);
        size_t written = CodesetConverter::ucs2tombs(bytes, text, n + 1);
        if (written == SIZE_MAX)
            return false;
        converted.endWrite(written);
        *this = converted;
        return true;
    } else if constexpr (kIsAscii<T, F>) {
        if (!AllBelow128(text)) {
            TARNKIT_FAIL("Not a valid ASCII string in ZTA");
            return false;
        }
        SString_t converted;
        converted.concatFromAsciiUnits(text, Mbcs::WideLength(text));
        *this = converted;
        return true;
    } else {
        *this = text;
        return true;
    }
}

template <class T, int F>
bool SString_t<T, F>::fromAscii(const char *text, size_t n) {
    if (n == SIZE_MAX)
        n = text != nullptr ? std::strlen(text) : 0;
    if constexpr (std::is_same_v<T, char>) {
        // The allocation runs even for nothing; units behind an early zero
        // byte are zero.
        *this = SString_t(text, n);
    } else {
        SString_t converted;
        T *units = converted.beginWrite(n);
        size_t i = 0;
        for (; text != nullptr && i < n && text[i] != 0; ++i)
            units[i] = WidenSigned(text[i]);
        for (; i < n; ++i)
            units[i] = 0;
        converted.endWrite(n);
        *this = converted;
    }
    return true;
}

template <class T, int F>
bool SString_t<T, F>::fromUTF8(const unsigned char *text) {
    return fromUTF8(text, text != nullptr ? std::strlen(reinterpret_cast<const char *>(text)) : 0);
}

template <class T, int F>
bool SString_t<T, F>::fromUTF8(const unsigned char *text, size_t n) {
    if (text == nullptr)
        n = 0;
    if constexpr (kIsWide<T, F>) {
        SString_t converted;
        T *units = converted.beginWrite(n);
        const unsigned char *source = text;
        T *target = units;
        bool ok = n == 0 || CUTFConverter::ConvertUTF8toUTF16(&source, text + n, &target, units + n,
                                                              CUTFConverter::lenientConversion) ==
                                CUTFConverter::conversionOK;
        converted.endWrite(ok ? static_cast<size_t>(target - units) : 0);
        *this = converted;
        return ok;
    } else if constexpr (kIsMbcs<T, F>) {
        SZTAString wide;
        if (!wide.fromUTF8(text, n))
            return false;
        return fromZTA(wide.getString());
    } else {
        if (!AllBelow128(text, n)) {
            TARNKIT_FAIL("Not a valid ASCII string in UTF8");
            return false;
        }
        *this = SString_t(reinterpret_cast<const char *>(text), n);
        return true;
    }
}

template <class T, int F>
void SString_t<T, F>::concatFromAsciiUnits(const unsigned short *p, size_t n) {
    if (p == nullptr || n == 0)
        return;
    T *dest = concatAllocHelper(n);
    if (dest == nullptr)
        return;
    // The source is text: nothing is read past its zero unit.
    size_t i = 0;
    for (; i < n && p[i] != 0; ++i)
        dest[i] = static_cast<T>(p[i] & 0xFF);
    for (; i < n; ++i)
        dest[i] = 0;
}

#define TARNKIT_INSTANTIATE_CONVERSIONS(T, F)                                                                          \
    template size_t SString_t<T, F>::getNBytesForMBCS() const;                                                         \
    template size_t SString_t<T, F>::getNBytesForWChar() const;                                                        \
    template size_t SString_t<T, F>::getNBytesForZTA() const;                                                          \
    template size_t SString_t<T, F>::getNBytesForUTF8() const;                                                         \
    template long SString_t<T, F>::toMBCS(char *, size_t) const;                                                       \
    template long SString_t<T, F>::toAscii(char *, size_t) const;                                                      \
    template long SString_t<T, F>::toWChar(unsigned short *, size_t) const;                                            \
    template long SString_t<T, F>::toZTA(unsigned short *, size_t) const;                                              \
    template long SString_t<T, F>::toUTF8(unsigned char *, size_t) const;                                              \
    template bool SString_t<T, F>::fromMBCS(const char *);                                                             \
    template bool SString_t<T, F>::fromAscii(const char *, size_t);                                                    \
    template bool SString_t<T, F>::fromWChar(const unsigned short *);                                                  \
    template bool SString_t<T, F>::fromZTA(const unsigned short *);                                                    \
    template bool SString_t<T, F>::fromUTF8(const unsigned char *);                                                    \
    template bool SString_t<T, F>::fromUTF8(const unsigned char *, size_t);                                            \
    template void SString_t<T, F>::concatFromAsciiUnits(const unsigned short *, size_t);

TARNKIT_INSTANTIATE_CONVERSIONS(char, 0)
TARNKIT_INSTANTIATE_CONVERSIONS(char, 1)
TARNKIT_INSTANTIATE_CONVERSIONS(unsigned short, 1)

#undef TARNKIT_INSTANTIATE_CONVERSIONS

// ---------------------------------------------------------------------------
// The derived kinds

SAnsiString::SAnsiString(const unsigned short *wide) {
    if (wide != nullptr)
        fromWChar(wide);
}

SAnsiString &SAnsiString::operator=(const unsigned short *wide) {
    if (wide == nullptr)
        empty();
    else
        fromWChar(wide);
    return *this;
}

SWCharString::SWCharString(const char *mbcs) {
    if (mbcs != nullptr)
        fromMBCS(mbcs);
}

SAsciiString::SAsciiString(const SAnsiString &text, bool convert) {
    if (convert)
        concatFromAsciiCharacters(text.getString(), text.getNChars());
}

SAsciiString::SAsciiString(const SWCharString &text, bool convert) {
    if (convert)
        concatFromAsciiCharacters(text.getString(), text.getLength());
}

SAsciiString::SAsciiString(const SZTAString &text, bool convert) {
    if (convert)
        concatFromAsciiCharacters(text.getString(), text.getLength());
}

SAsciiString::SAsciiString(const iterator &from, const iterator &to) {
    ptrdiff_t span = to - from;
    // The span must lie within one text: forwards, and with no terminator
    // before its end.
    if (span < 0 || strnlen(from.getCursor(), static_cast<size_t>(span)) < static_cast<size_t>(span)) {
        TARNKIT_ASSERT(0);
        return;
    }
    if (span > 0)
        concat(from.getCursor(), static_cast<size_t>(span));
}

void SAsciiString::concatFromAsciiCharacters(const char *p, size_t n) {
    // The low byte of a char is the char; concat stops at a zero byte.
    if (p != nullptr && n > 0)
        concat(p, n);
}

void SAsciiString::concatFromAsciiCharacters(const unsigned short *p, size_t n) { concatFromAsciiUnits(p, n); }

// ---------------------------------------------------------------------------
// Characters

int SChar_t<char, 0>::toZTAChar(WideUnit *buffer) const noexcept {
    return CodesetConverter::mbtoucs2(buffer, m_data.bytes);
}

int SChar_t<unsigned short, 1>::toZTAChar(WideUnit *buffer) const noexcept {
    return CodesetConverter::wctoucs2(buffer, m_data.unit);
}

} // namespace TarnkitA201
