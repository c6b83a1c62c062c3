// Project-wide ground rules: the exported namespace, the integer widths the
// interfaces are written in, and the opaque handle types a host may pass in.
#pragma once

#include <cstddef>
#include <cstdint>

// Open and close a block of declarations that the shared object exports.
// The library builds with hidden visibility, so only what public headers
// declare inside these blocks reaches callers. A pragma rather than an
// attribute on the namespace, because clang applies a namespace attribute
// only to declarations, not to the definitions of free functions made
// later in an unmarked block.
#define TARNKIT_NAMESPACE_BEGIN _Pragma("GCC visibility push(default)") namespace TarnkitA201 {
#define TARNKIT_NAMESPACE_END } _Pragma("GCC visibility pop")
// Marks a single declaration for export where it stands outside such a
// block, such as an explicit template instantiation in a source file.
#define TARNKIT_API __attribute__((visibility("default")))

TARNKIT_NAMESPACE_BEGIN

// The interfaces speak of __int64; it is long long so that it never collides
// with the 64-bit long of LP64 in an overload set.
using __int64 = long long;
using __uint64 = unsigned long long;

// The 16-bit unit of wide text. Characters beyond the basic plane travel as
// surrogate pairs.
using WideUnit = unsigned short;

TARNKIT_NAMESPACE_END

// Opaque module handle that a host may store for the code above it.
struct HINSTANCE__;
