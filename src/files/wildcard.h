// Matching of file names against the wildcard patterns callers write:
// "*" stands for any run of characters (dots included), "?" for exactly one,
// and a pattern ending in ".*" also matches a name that ends where its dot
// would stand, so "*.*" matches every name and "report.*" matches "report".
// Everything else matches itself, case included, as names on this system
// differ by case.
#pragma once

#include <cstddef>

namespace TarnkitA201::Wildcard {

// Longer patterns and names match nothing. A name cannot reach either
// limit on this system; the limits keep the cost of one match bounded by
// their product, since the matcher backtracks only to the latest "*".
inline constexpr size_t MaxPatternLength = 4096;
inline constexpr size_t MaxNameLength = 1024;

bool Matches(const char *pattern, size_t patternLength, const char *name, size_t nameLength) noexcept;
bool Matches(const char *pattern, const char *name) noexcept;

} // namespace TarnkitA201::Wildcard
