// The system-call seam of the foundation: everything the frame needs from the
// operating system, and nothing else. One implementation per platform lives
// in src/platform/<system>/.
#pragma once

#include "tarnkit/platform.h"

#include <string>

namespace TarnkitA201::Platform {

// Family and version of the running system, as the platform probe reports it.
struct OsVersion {
    unsigned long platformId = 0; // 1: the 9x family, 2: the NT family
    unsigned long major = 0;
    unsigned long minor = 0;
};
bool QueryOsVersion(OsVersion &version) noexcept;

// The calling thread's last error number.
uint32_t LastError() noexcept;
// The system's English text for an error number; empty when it has none.
std::string ErrorText(uint32_t error);

// A monotonic counter and its ticks per second.
__int64 MonotonicCounter() noexcept;
__int64 CounterFrequency() noexcept;

// Gives up the rest of the time slice.
void YieldProcessor() noexcept;

// Processors online, at least 1.
unsigned long OnlineProcessors() noexcept;

} // namespace TarnkitA201::Platform
