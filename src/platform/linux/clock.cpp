#include "platform/clock.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <time.h>

namespace TarnkitA201::Platform {

__int64 UtcMillisecondsNow() noexcept {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<__int64>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool ZoneVariable(std::string &value) {
    const char *tz = std::getenv("TZ");
    if (tz == nullptr)
        return false;
    value = tz;
    return true;
}

std::string ZoneFileFolder() {
    const char *dir = std::getenv("TZDIR");
    return dir != nullptr && *dir != 0 ? std::string(dir) : std::string("/usr/share/zoneinfo");
}

bool ReadZoneFile(const std::string &path, std::string &bytes) {
    // Real zone files are a few KiB; anything far larger is not one.
    constexpr size_t kLimit = 4 * 1024 * 1024;
    FILE *f = std::fopen(path.c_str(), "rbe");
    if (f == nullptr)
        return false;
    bytes.clear();
    char chunk[4096];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0 && bytes.size() <= kLimit)
        bytes.append(chunk, n);
    const bool ok = !std::ferror(f) && bytes.size() <= kLimit;
    std::fclose(f);
    return ok;
}

bool LocalTime(__int64 t, std::tm &out) noexcept {
    const time_t value = static_cast<time_t>(t);
    return localtime_r(&value, &out) != nullptr;
}

__int64 MakeLocalTime(std::tm &in) noexcept { return static_cast<__int64>(mktime(&in)); }

} // namespace TarnkitA201::Platform
