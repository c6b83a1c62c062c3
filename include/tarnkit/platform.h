// Project-wide ground rules: the exported namespace, the integer widths the
// interfaces are written in, and the opaque handle types a host may pass in.
#pragma once

#include <cstddef>
#include <cstdint>

// Marks a namespace block whose declarations are exported from the shared
// object. Everything else is hidden (the library builds with hidden
// visibility), so only TarnkitA201 reaches callers.
#define TARNKIT_API __attribute__((visibility("default")))

namespace TarnkitA201 TARNKIT_API {

// The interfaces speak of __int64; it is long long so that it never collides
// with the 64-bit long of LP64 in an overload set.
using __int64 = long long;
using __uint64 = unsigned long long;

// The 16-bit unit of wide text. Characters beyond the basic plane travel as
// surrogate pairs.
using WideUnit = unsigned short;

} // namespace TarnkitA201

// Opaque module handle that a host may store for the code above it.
struct HINSTANCE__;
