#include "tarnkit/schar.h"

#include "strings/mbcs.h"
#include "tarnkit/strace.h"

#include <cctype>
#include <climits>
#include <cstring>
#include <cwctype>

namespace TarnkitA201 {

// ---------------------------------------------------------------------------
// A multibyte character

namespace {

// The character's code point when it is a valid character of the basic
// plane, which is what the classifiers take.
bool BasicCode(const char *bytes, unsigned short *code) noexcept {
    wchar_t wide;
    if (Mbcs::ToCodePoint(bytes, &wide) < 0 || static_cast<unsigned long>(wide) > 0xFFFF)
        return false;
    *code = static_cast<unsigned short>(wide);
    return true;
}

} // namespace

SChar_t<char, 0> SChar_t<char, 0>::fromText(const char *text) noexcept {
    SChar_t c;
    std::memcpy(c.m_data.bytes, text, Mbcs::StepLength(text));
    return c;
}

int SChar_t<char, 0>::getLength() const noexcept { return Mbcs::CharLength(m_data.bytes); }

int SChar_t<char, 0>::toMBCSChar(char *buffer, size_t size) const noexcept {
    int length = getLength();
    if (buffer == nullptr || length < 0 || static_cast<size_t>(length) > size)
        return length;
    std::memset(buffer, 0, size);
    std::memcpy(buffer, m_data.bytes, static_cast<size_t>(length));
    return length;
}

int SChar_t<char, 0>::toAsciiChar(char *buffer) const noexcept {
    if (getLength() != 1 || static_cast<unsigned char>(m_data.bytes[0]) >= 128)
        return 0;
    if (buffer != nullptr)
        *buffer = m_data.bytes[0];
    return 1;
}

int SChar_t<char, 0>::toWideChar(WideUnit *buffer) const noexcept {
    wchar_t code;
    int length = Mbcs::ToCodePoint(m_data.bytes, &code);
    if (length < 0 || buffer == nullptr)
        return length;
    // One unit has no room for a surrogate pair: such a character is "?".
    *buffer = static_cast<unsigned long>(code) > 0xFFFF ? WideUnit('?') : static_cast<WideUnit>(code);
    return length;
}

bool SChar_t<char, 0>::isUpper() const noexcept {
    unsigned short code;
    return BasicCode(m_data.bytes, &code) && is_upper(code);
}

bool SChar_t<char, 0>::isLower() const noexcept {
    unsigned short code;
    return BasicCode(m_data.bytes, &code) && is_lower(code);
}

bool SChar_t<char, 0>::isDigit() const noexcept {
    unsigned short code;
    return BasicCode(m_data.bytes, &code) && is_digit(code);
}

bool SChar_t<char, 0>::isAlpha() const noexcept {
    unsigned short code;
    return BasicCode(m_data.bytes, &code) && is_alpha(code);
}

bool SChar_t<char, 0>::isWhiteSpace() const noexcept {
    unsigned short code;
    return BasicCode(m_data.bytes, &code) && is_space(code);
}

bool SChar_t<char, 0>::isBlank() const noexcept {
    wchar_t code;
    return Mbcs::ToCodePoint(m_data.bytes, &code) > 0 && (code == 32 || code == 9 || code == 12288);
}

namespace {

SChar_t<char, 0> ConvertCase(const char *bytes, bool upper) noexcept {
    char dest[g_numBytesInMBCS + 1] = {};
    size_t length = Mbcs::StepLength(bytes);
    if (length == 0)
        return SChar_t<char, 0>();
    std::memcpy(dest, bytes, length);
    int charSize = 0;
    bool converted = Mbcs::ConvertCaseChar(dest, g_numBytesInMBCS, &charSize, upper);
    if (upper)
        TARNKIT_ASSERT_EXPR(converted, "MakeUpperCaseChar(dest, strSize - (dest - s), &charSize)");
    else
        TARNKIT_ASSERT_EXPR(converted, "MakeLowerCaseChar(dest, strSize - (dest - s), &charSize)");
    if (!converted)
        return SChar_t<char, 0>();
    dest[charSize] = 0;
    return SChar_t<char, 0>::fromText(dest);
}

} // namespace

SChar_t<char, 0> SChar_t<char, 0>::toLower() const noexcept { return ConvertCase(m_data.bytes, false); }
SChar_t<char, 0> SChar_t<char, 0>::toUpper() const noexcept { return ConvertCase(m_data.bytes, true); }

bool SChar_t<char, 0>::operator==(const SChar_t &other) const noexcept {
    // An invalid character is its one byte, as the iterator steps it; the
    // zero character compares its zero byte.
    size_t length = Mbcs::StepLength(m_data.bytes);
    return std::memcmp(m_data.bytes, other.m_data.bytes, length == 0 ? 1 : length) == 0;
}

// ---------------------------------------------------------------------------
// An ASCII character

int SChar_t<char, 1>::toMBCSChar(char *buffer, size_t size) const noexcept {
    if (buffer == nullptr)
        return 0;
    if (size > 0)
        *buffer = m_data.byte;
    return 1;
}

int SChar_t<char, 1>::toAsciiChar(char *buffer) const noexcept {
    if (buffer != nullptr)
        *buffer = m_data.byte;
    return 1;
}

int SChar_t<char, 1>::toWideChar(WideUnit *buffer) const noexcept {
    // The signed byte widens: 0xE9 becomes 0xFFE9.
    if (buffer != nullptr)
        *buffer = static_cast<WideUnit>(static_cast<short>(static_cast<signed char>(m_data.byte)));
    return 1;
}

namespace {
int Byte(char c) noexcept { return static_cast<unsigned char>(c); }
} // namespace

bool SChar_t<char, 1>::isUpper() const noexcept { return std::isupper(Byte(m_data.byte)) != 0; }
bool SChar_t<char, 1>::isLower() const noexcept { return std::islower(Byte(m_data.byte)) != 0; }
bool SChar_t<char, 1>::isDigit() const noexcept { return std::isdigit(Byte(m_data.byte)) != 0; }
bool SChar_t<char, 1>::isAlpha() const noexcept { return std::isalpha(Byte(m_data.byte)) != 0; }
bool SChar_t<char, 1>::isWhiteSpace() const noexcept { return std::isspace(Byte(m_data.byte)) != 0; }
bool SChar_t<char, 1>::isBlank() const noexcept { return std::isspace(Byte(m_data.byte)) != 0; }
SChar_t<char, 1> SChar_t<char, 1>::toLower() const noexcept {
    return SChar_t(static_cast<char>(std::tolower(Byte(m_data.byte))));
}
SChar_t<char, 1> SChar_t<char, 1>::toUpper() const noexcept {
    return SChar_t(static_cast<char>(std::toupper(Byte(m_data.byte))));
}

// ---------------------------------------------------------------------------
// A 16-bit unit

int SChar_t<unsigned short, 1>::toMBCSChar(char *buffer, size_t size) const noexcept {
    if (buffer == nullptr)
        return 0;
    // Half of a surrogate pair is no character on its own.
    if (m_data.unit >= 0xD800 && m_data.unit < 0xE000)
        return -1;
    char bytes[MB_LEN_MAX];
    int length = Mbcs::FromCodePoint(static_cast<wchar_t>(m_data.unit), bytes);
    if (length < 0)
        return -1;
    if (static_cast<size_t>(length) <= size) {
        std::memset(buffer, 0, size);
        std::memcpy(buffer, bytes, static_cast<size_t>(length));
    }
    return length;
}

int SChar_t<unsigned short, 1>::toAsciiChar(char *buffer) const noexcept {
    if (m_data.unit >= 128)
        return 0;
    if (buffer != nullptr)
        *buffer = static_cast<char>(m_data.unit);
    return 1;
}

int SChar_t<unsigned short, 1>::toWideChar(WideUnit *buffer) const noexcept {
    if (buffer != nullptr)
        *buffer = m_data.unit;
    return 1;
}

bool SChar_t<unsigned short, 1>::isUpper() const noexcept { return is_upper(m_data.unit); }
bool SChar_t<unsigned short, 1>::isLower() const noexcept { return is_lower(m_data.unit); }
bool SChar_t<unsigned short, 1>::isDigit() const noexcept { return is_digit(m_data.unit); }
bool SChar_t<unsigned short, 1>::isAlpha() const noexcept { return is_alpha(m_data.unit); }
bool SChar_t<unsigned short, 1>::isWhiteSpace() const noexcept { return is_space(m_data.unit); }
SChar_t<unsigned short, 1> SChar_t<unsigned short, 1>::toLower() const noexcept {
    return SChar_t(static_cast<unsigned short>(std::towlower(m_data.unit)));
}
SChar_t<unsigned short, 1> SChar_t<unsigned short, 1>::toUpper() const noexcept {
    return SChar_t(static_cast<unsigned short>(std::towupper(m_data.unit)));
}

} // namespace TarnkitA201
