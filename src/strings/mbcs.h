// The character primitives the locale multibyte kind stands on: the length
// of one character, one character to and from a code point or 16-bit units,
// collation with and without case, and substring search that only matches
// at character starts. All of them read the C library's current locale and
// keep no hidden state, so they are safe from several threads.
#pragma once

#include <cstddef>
#include <cwchar>

namespace TarnkitA201::Mbcs {

// Longest character the string kinds are prepared for.
inline constexpr size_t kMaxCharBytes = 6;

// Bytes of the character at p: 0 at the terminator, -1 for an invalid or
// cut-off sequence. Never reads past the terminator.
int CharLength(const char *p) noexcept;

// The iteration step: an invalid sequence is one byte, the terminator none.
inline size_t StepLength(const char *p) noexcept {
    unsigned char b = static_cast<unsigned char>(*p);
    if (b < 0x80)
        return b != 0;
    int n = CharLength(p);
    return n < 0 ? 1 : static_cast<size_t>(n);
}

// Characters up to the terminator, an invalid byte counting as one.
size_t CountChars(const char *p) noexcept;

// The character at p as a code point: returns its bytes, 0 at the
// terminator, -1 if the sequence is invalid (out is then untouched).
int ToCodePoint(const char *p, wchar_t *out) noexcept;

// The bytes of a code point in the locale: the count, or -1 if the locale
// cannot express it. out needs room for MB_LEN_MAX bytes.
int FromCodePoint(wchar_t code, char *out) noexcept;

// Converts the character at dest in place to its other case (towupper or
// towlower of its code point). room is the space from dest on. On success
// charSize is the converted character's length; a failure to convert either
// way fires its assertion and leaves dest as it was.
bool ConvertCaseChar(char *dest, size_t room, int *charSize, bool upper);

// True when a byte match is a character match: the locale is UTF-8 (with a
// check for matches that start inside a character) or single-byte.
bool IsUtf8Locale() noexcept;
bool IsSingleByteLocale() noexcept;

// The first occurrence of needle in text that starts at a character
// boundary, or null. An empty needle matches at the start.
const char *FindString(const char *text, const char *needle) noexcept;

// The first character at or after p equal to the character held in bytes[0..n).
const char *FindChar(const char *text, const char *bytes, size_t n) noexcept;

// Collation of the current locale, and collation of the lower-cased code
// points (an invalid byte keeps a code of its own so that nothing merges).
int Collate(const char *a, const char *b) noexcept;
int CollateNoCase(const char *a, const char *b);

// The same for 16-bit text; surrogate pairs are joined first.
int CollateWide(const unsigned short *a, const unsigned short *b, bool noCase);

// Forgiving conversion of locale text to 16-bit units: an invalid sequence
// becomes "?" and one byte is stepped; characters beyond the basic plane
// become surrogate pairs. Writes at most dstUnits units, no terminator, and
// returns the units written; with a null dst it only counts.
size_t ToWide16(const char *src, unsigned short *dst, size_t dstUnits) noexcept;

// Forgiving conversion of 16-bit text to the locale: what the locale cannot
// express (a lone surrogate included) becomes "?". A character that does not
// fit strictly within the room left fills that room with "?" and ends the
// conversion. With a null dst it only counts. Returns the bytes written,
// no terminator.
size_t FromWide16(const unsigned short *src, char *dst, size_t dstBytes) noexcept;

// Length of 16-bit text up to its zero unit.
size_t WideLength(const unsigned short *p) noexcept;

} // namespace TarnkitA201::Mbcs
