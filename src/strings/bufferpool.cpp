#include "strings/bufferpool.h"

#include <cstdlib>
#include <new>

namespace TarnkitA201::BufferPool {

TARNKIT_HOT_TLS constinit thread_local ShelfSlot t_shelfSlot{nullptr, false};

Shelves::~Shelves() {
    for (Spare *&list : first)
        while (list != nullptr) {
            Spare *next = list->next;
            std::free(list);
            list = next;
        }
}

namespace {

struct ShelfOwner {
    ~ShelfOwner() {
        delete t_shelfSlot.shelves;
        t_shelfSlot.shelves = nullptr;
        t_shelfSlot.retired = true;
    }
};

Shelves *ThreadShelves() noexcept {
    if (t_shelfSlot.shelves != nullptr || t_shelfSlot.retired)
        return t_shelfSlot.shelves;
    thread_local ShelfOwner owner; // empties the shelves when the thread ends
    (void)owner;
    t_shelfSlot.shelves = new (std::nothrow) Shelves;
    return t_shelfSlot.shelves;
}

} // namespace

void *TakeGenerally(size_t bytes, uint32_t &tag) noexcept {
    tag = 0;
    if (!TARNKIT_POOL_ENABLED || bytes > kClasses * kStep || bytes == 0)
        return std::malloc(bytes);
    const uint32_t c = static_cast<uint32_t>((bytes + kStep - 1) / kStep);
    tag = c;
    return std::malloc(c * kStep);
}

void GiveGenerally(void *block, uint32_t tag) noexcept {
    if (tag == 0 || tag > kClasses) {
        std::free(block);
        return;
    }
    Shelves *shelves = ThreadShelves();
    if (shelves == nullptr || shelves->count[tag] >= kKept) {
        std::free(block);
        return;
    }
    Shelve(*shelves, block, tag);
}

} // namespace TarnkitA201::BufferPool
