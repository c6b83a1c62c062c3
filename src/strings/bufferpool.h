// Storage for small string buffers, recycled per thread. Strings are made
// and dropped far more often than any other object of the library, and the
// general allocator's checks cost more than the text is worth for short
// ones; a thread keeps a few freed blocks of each small size for its next
// strings. Larger blocks, and every block under the address sanitizer (so
// that it still sees use after free), go straight to the allocator.
#pragma once

#include <cstddef>
#include <cstdint>

namespace TarnkitA201::BufferPool {

// A block of at least `bytes` bytes from the allocator or the thread's
// spare blocks, or null. `tag` receives what Give needs to know of it.
void *Take(size_t bytes, uint32_t &tag) noexcept;

// Returns a block from Take, with its tag; a block whose tag was cleared
// (because it was reallocated since) goes back to the allocator.
void Give(void *block, uint32_t tag) noexcept;

} // namespace TarnkitA201::BufferPool
