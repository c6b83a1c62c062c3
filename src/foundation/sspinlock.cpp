#include "foundation/sspinlock.h"

#include "platform/system.h"
#include "tarnkit/ssystem.h"

namespace TarnkitA201 {

// Fixed once, on first use, so that a lock built by any static initialiser
// already sees the machine's count.
uint32_t SSpinLock::SpinCountForThisMachine() noexcept {
    static const uint32_t count = SSystem::NumberOfCPUs() < 2 ? 1 : 100;
    return count;
}

SSpinLock::SSpinLock() noexcept : m_lockWord(0), m_spinCount(SpinCountForThisMachine()) {}

void SSpinLock::acquire() noexcept {
    for (;;) {
        if (m_lockWord.exchange(1, std::memory_order_seq_cst) == 0)
            return;
        for (uint32_t polls = 0; m_lockWord.load(std::memory_order_relaxed) != 0; ++polls) {
            if (polls >= m_spinCount) {
                Platform::YieldProcessor();
                break;
            }
        }
    }
}

} // namespace TarnkitA201
