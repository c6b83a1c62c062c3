// Storage for small string buffers, recycled per thread. Strings are made
// and dropped far more often than any other object of the library, and the
// general allocator's checks cost more than the text is worth for short
// ones; a thread keeps a few freed blocks of each small size for its next
// strings. Larger blocks, and every block under the address sanitizer (so
// that it still sees use after free), go straight to the allocator.
//
// Taking and giving back a spare block are inline, for the string code that
// makes and drops most strings; everything else is out of line.
#pragma once

#include "foundation/threadlocal.h"

#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define TARNKIT_POOL_ENABLED 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TARNKIT_POOL_ENABLED 0
#endif
#endif
#ifndef TARNKIT_POOL_ENABLED
#define TARNKIT_POOL_ENABLED 1
#endif

namespace TarnkitA201::BufferPool {

// Sizes are kept in steps of 16 bytes up to 256: tag c (1 to 16) is a block
// of 16 * c bytes, tag 0 a block of the asked size.
constexpr size_t kStep = 16;
constexpr uint32_t kClasses = 16;
// Spare blocks a thread keeps of each size: at most 8 * 16 * (1 + ... + 16)
// bytes, about 17 KiB, in all.
constexpr uint32_t kKept = 8;

struct Spare {
    Spare *next;
};

struct Shelves {
    Spare *first[kClasses + 1] = {};
    uint8_t count[kClasses + 1] = {};
    ~Shelves();
};

// The thread's shelves behind a pointer, so that a string dropped while the
// thread's objects are being destroyed, or by a static destructor at exit,
// finds them gone and frees its block instead of using a destroyed object.
struct ShelfSlot {
    Shelves *shelves;
    bool retired;
};
extern TARNKIT_HOT_TLS constinit thread_local ShelfSlot t_shelfSlot;

inline void Shelve(Shelves &shelves, void *block, uint32_t tag) noexcept {
    Spare *spare = static_cast<Spare *>(block);
    spare->next = shelves.first[tag];
    shelves.first[tag] = spare;
    ++shelves.count[tag];
}

void *TakeGenerally(size_t bytes, uint32_t &tag) noexcept;
void GiveGenerally(void *block, uint32_t tag) noexcept;

// A block of at least `bytes` bytes from the allocator or the thread's
// spare blocks, or null. `tag` receives what Give needs to know of it.
inline void *Take(size_t bytes, uint32_t &tag) noexcept {
    if (TARNKIT_POOL_ENABLED && bytes - 1 < kClasses * kStep) {
        const uint32_t c = static_cast<uint32_t>((bytes + kStep - 1) / kStep);
        Shelves *shelves = t_shelfSlot.shelves;
        if (shelves != nullptr && shelves->first[c] != nullptr) [[likely]] {
            Spare *block = shelves->first[c];
            shelves->first[c] = block->next;
            --shelves->count[c];
            tag = c;
            return block;
        }
    }
    return TakeGenerally(bytes, tag);
}

// Returns a block from Take, with its tag; a block whose tag was cleared
// (because it was reallocated since) goes back to the allocator.
inline void Give(void *block, uint32_t tag) noexcept {
    Shelves *shelves = t_shelfSlot.shelves;
    if (tag - 1 < kClasses && shelves != nullptr && shelves->count[tag] < kKept) [[likely]] {
        Shelve(*shelves, block, tag);
        return;
    }
    GiveGenerally(block, tag);
}

} // namespace TarnkitA201::BufferPool
