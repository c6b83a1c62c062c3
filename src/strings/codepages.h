// The Windows code pages 1252 and 932 built into the library, with the
// default-character rule of the platform's converters: what the other side
// cannot express becomes "?" and the conversion still succeeds. There is no
// best-fit mapping.
#pragma once

#include <cstddef>

namespace TarnkitA201::Codepages {

bool IsSupported(unsigned codepage) noexcept;

// Decodes `n` bytes, or up to and including the terminator when `n` is
// negative, into 16-bit units. With a null `out` it counts. Returns the
// units, 0 for an unknown code page or when `out` has too few units.
size_t Decode(unsigned codepage, const char *in, ptrdiff_t n, unsigned short *out, size_t outUnits) noexcept;

// Encodes 16-bit text the same way; a surrogate pair is one character.
size_t Encode(unsigned codepage, const unsigned short *in, ptrdiff_t n, char *out, size_t outBytes) noexcept;

} // namespace TarnkitA201::Codepages
