// One character of a string kind, held by value: up to six bytes of locale
// multibyte text, one ASCII byte, or one 16-bit unit of wide text.
#pragma once

#include "tarnkit/platform.h"

TARNKIT_NAMESPACE_BEGIN

// Longest multibyte character any locale of the library may use.
inline constexpr int g_numBytesInMBCS = 6;

template <class T, int F>
class SChar_t;

// A character of locale multibyte text.
template <>
class SChar_t<char, 0> {
public:
    union CharData {
        char bytes[g_numBytesInMBCS];
    };

    constexpr SChar_t() noexcept : m_data{} {}
    // A single unit: the first byte of a character.
    constexpr SChar_t(char unit) noexcept : m_data{} { m_data.bytes[0] = unit; }
    // The character that starts at text: its bytes by the locale, one byte if
    // the sequence is invalid, nothing at the terminator.
    static SChar_t fromText(const char *text) noexcept;

    char getChar() const noexcept { return m_data.bytes[0]; }
    int getLength() const noexcept;
    const char *getBytes() const noexcept { return m_data.bytes; }

    int toMBCSChar(char *buffer, size_t size) const noexcept;
    int toAsciiChar(char *buffer) const noexcept;
    // One 16-bit unit: the bytes read, 0 at the terminator, -1 if invalid; a
    // character beyond the basic plane gives "?".
    int toZTAChar(WideUnit *buffer) const noexcept;
    int toWideChar(WideUnit *buffer) const noexcept;

    bool isUpper() const noexcept;
    bool isLower() const noexcept;
    bool isDigit() const noexcept;
    bool isAlpha() const noexcept;
    bool isWhiteSpace() const noexcept;
    bool isBlank() const noexcept;
    SChar_t toLower() const noexcept;
    SChar_t toUpper() const noexcept;

    bool operator==(const SChar_t &other) const noexcept;
    bool operator!=(const SChar_t &other) const noexcept { return !(*this == other); }

    static constexpr bool isUnicode() noexcept { return false; }
    static constexpr bool isWideChar() noexcept { return false; }
    static constexpr bool isZTAChar() noexcept { return false; }
    static constexpr bool isMBCSChar() noexcept { return true; }
    static constexpr bool isAsciiChar() noexcept { return false; }

private:
    CharData m_data;
};

// A 7-bit ASCII character.
template <>
class SChar_t<char, 1> {
public:
    union CharData {
        char byte;
    };

    SChar_t() noexcept : m_data{} {}
    SChar_t(char unit) noexcept { m_data.byte = unit; }
    static SChar_t fromText(const char *text) noexcept { return SChar_t(*text); }

    char getChar() const noexcept { return m_data.byte; }
    int getLength() const noexcept { return 1; }
    const char *getBytes() const noexcept { return &m_data.byte; }

    int toMBCSChar(char *buffer, size_t size) const noexcept;
    int toAsciiChar(char *buffer) const noexcept;
    int toWideChar(WideUnit *buffer) const noexcept;
    int toZTAChar(WideUnit *buffer) const noexcept { return toWideChar(buffer); }

    bool isUpper() const noexcept;
    bool isLower() const noexcept;
    bool isDigit() const noexcept;
    bool isAlpha() const noexcept;
    bool isWhiteSpace() const noexcept;
    bool isBlank() const noexcept;
    SChar_t toLower() const noexcept;
    SChar_t toUpper() const noexcept;

    bool operator==(const SChar_t &other) const noexcept { return m_data.byte == other.m_data.byte; }
    bool operator!=(const SChar_t &other) const noexcept { return m_data.byte != other.m_data.byte; }

    static constexpr bool isUnicode() noexcept { return false; }
    static constexpr bool isWideChar() noexcept { return false; }
    static constexpr bool isZTAChar() noexcept { return false; }
    static constexpr bool isMBCSChar() noexcept { return false; }
    static constexpr bool isAsciiChar() noexcept { return true; }

private:
    CharData m_data;
};

// One 16-bit unit of wide text; a surrogate pair is two of these.
template <>
class SChar_t<unsigned short, 1> {
public:
    union CharData {
        unsigned short unit;
    };

    SChar_t() noexcept : m_data{} {}
    SChar_t(unsigned short unit) noexcept { m_data.unit = unit; }
    static SChar_t fromText(const unsigned short *text) noexcept { return SChar_t(*text); }

    unsigned short getChar() const noexcept { return m_data.unit; }
    int getLength() const noexcept { return 1; }
    const unsigned short *getBytes() const noexcept { return &m_data.unit; }

    int toMBCSChar(char *buffer, size_t size) const noexcept;
    int toAsciiChar(char *buffer) const noexcept;
    int toZTAChar(WideUnit *buffer) const noexcept;
    int toWideChar(WideUnit *buffer) const noexcept;

    bool isUpper() const noexcept;
    bool isLower() const noexcept;
    bool isDigit() const noexcept;
    bool isAlpha() const noexcept;
    bool isWhiteSpace() const noexcept;
    bool isBlank() const noexcept { return m_data.unit == 32 || m_data.unit == 9 || m_data.unit == 12288; }
    SChar_t toLower() const noexcept;
    SChar_t toUpper() const noexcept;

    bool operator==(const SChar_t &other) const noexcept { return m_data.unit == other.m_data.unit; }
    bool operator!=(const SChar_t &other) const noexcept { return m_data.unit != other.m_data.unit; }

    static constexpr bool isUnicode() noexcept { return true; }
    static constexpr bool isWideChar() noexcept { return true; }
    static constexpr bool isZTAChar() noexcept { return false; }
    static constexpr bool isMBCSChar() noexcept { return false; }
    static constexpr bool isAsciiChar() noexcept { return false; }

private:
    CharData m_data;
};

// Character classes of a 16-bit code, independent of the locale: the C
// classes below 128, a table generated from Unicode data above.
bool is_upper(unsigned short code) noexcept;
bool is_lower(unsigned short code) noexcept;
bool is_alpha(unsigned short code) noexcept;
bool is_space(unsigned short code) noexcept;
bool is_punct(unsigned short code) noexcept;
bool is_digit(unsigned short code) noexcept;

TARNKIT_NAMESPACE_END
