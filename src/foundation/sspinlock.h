// The private lock of lazily built tables: a word swapped to 1, polled, and
// a yield of the processor after a machine-dependent number of polls.
#pragma once

#include "tarnkit/platform.h"

#include <atomic>

namespace TarnkitA201 {

class SSpinLock {
public:
    SSpinLock() noexcept;
    explicit SSpinLock(uint32_t spinCount) noexcept : m_lockWord(0), m_spinCount(spinCount) {}

    void acquire() noexcept;
    void release() noexcept { m_lockWord.exchange(0, std::memory_order_seq_cst); }
    bool isHeld() const noexcept { return m_lockWord.load(std::memory_order_relaxed) != 0; }

    // 1 on a single processor, where spinning only burns the slice; 100 otherwise.
    static uint32_t SpinCountForThisMachine() noexcept;

private:
    std::atomic<int32_t> m_lockWord;
    uint32_t m_spinCount;
};

// Double-checked building of a lazily made table: the ready flag is read,
// the lock taken, the flag read again, the table built, the flag set.
template <class Build>
void BuildOnce(std::atomic<bool> &ready, SSpinLock &lock, Build build) {
    if (ready.load(std::memory_order_acquire))
        return;
    lock.acquire();
    if (!ready.load(std::memory_order_relaxed)) {
        try {
            build();
        } catch (...) {
            lock.release();
            throw;
        }
        ready.store(true, std::memory_order_release);
    }
    lock.release();
}

} // namespace TarnkitA201
