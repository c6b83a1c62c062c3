#include "platform/system.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <locale.h>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace TarnkitA201::Platform {

bool QueryOsVersion(OsVersion &version) noexcept {
    struct utsname name;
    if (uname(&name) != 0)
        return false;
    unsigned long major = 0, minor = 0;
    if (std::sscanf(name.release, "%lu.%lu", &major, &minor) < 1)
        return false;
    version.platformId = 2;
    version.major = major;
    version.minor = minor;
    return true;
}

uint32_t LastError() noexcept { return static_cast<uint32_t>(errno); }

std::string ErrorText(uint32_t error) {
    // Only numbers the system knows have a text; glibc would otherwise invent
    // "Unknown error N". The "C" locale keeps the text English and the call
    // free of the process locale.
    if (error > 4096 || strerrorname_np(static_cast<int>(error)) == nullptr)
        return std::string();
    static locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    if (cLocale == static_cast<locale_t>(nullptr))
        return std::strerror(static_cast<int>(error));
    return strerror_l(static_cast<int>(error), cLocale);
}

__int64 MonotonicCounter() noexcept {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<__int64>(now.tv_sec) * 1000000000LL + now.tv_nsec;
}

__int64 CounterFrequency() noexcept { return 1000000000LL; }

void YieldProcessor() noexcept { sched_yield(); }

unsigned long OnlineProcessors() noexcept {
    long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n < 1 ? 1UL : static_cast<unsigned long>(n);
}

} // namespace TarnkitA201::Platform
