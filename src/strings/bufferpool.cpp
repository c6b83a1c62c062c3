#include "strings/bufferpool.h"

#include "foundation/threadlocal.h"

#include <cstdlib>
#include <new>

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

namespace {

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

    ~Shelves() {
        for (Spare *&list : first)
            while (list != nullptr) {
                Spare *next = list->next;
                std::free(list);
                list = next;
            }
    }
};

// The thread's shelves behind a pointer, so that a string dropped while the
// thread's objects are being destroyed, or by a static destructor at exit,
// finds them gone and frees its block instead of using a destroyed object.
struct ShelfSlot {
    Shelves *shelves;
    bool retired;
};
TARNKIT_HOT_TLS thread_local ShelfSlot t_slot{nullptr, false};

struct ShelfOwner {
    ~ShelfOwner() {
        delete t_slot.shelves;
        t_slot.shelves = nullptr;
        t_slot.retired = true;
    }
};

Shelves *ThreadShelves() noexcept {
    if (t_slot.shelves != nullptr || t_slot.retired)
        return t_slot.shelves;
    thread_local ShelfOwner owner; // empties the shelves when the thread ends
    (void)owner;
    t_slot.shelves = new (std::nothrow) Shelves;
    return t_slot.shelves;
}

} // namespace

void *Take(size_t bytes, uint32_t &tag) noexcept {
    tag = 0;
    if (!TARNKIT_POOL_ENABLED || bytes > kClasses * kStep || bytes == 0)
        return std::malloc(bytes);
    const uint32_t c = static_cast<uint32_t>((bytes + kStep - 1) / kStep);
    tag = c;
    Shelves *shelves = t_slot.shelves;
    if (shelves != nullptr && shelves->first[c] != nullptr) [[likely]] {
        Spare *block = shelves->first[c];
        shelves->first[c] = block->next;
        --shelves->count[c];
        return block;
    }
    return std::malloc(c * kStep);
}

void Give(void *block, uint32_t tag) noexcept {
    if (tag == 0 || tag > kClasses) {
        std::free(block);
        return;
    }
    Shelves *shelves = ThreadShelves();
    if (shelves == nullptr || shelves->count[tag] >= kKept) {
        std::free(block);
        return;
    }
    Spare *spare = static_cast<Spare *>(block);
    spare->next = shelves->first[tag];
    shelves->first[tag] = spare;
    ++shelves->count[tag];
}

} // namespace TarnkitA201::BufferPool
