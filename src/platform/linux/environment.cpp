#include "platform/environment.h"

#include <cstdlib>
#include <mutex>

namespace TarnkitA201::Platform {

namespace {

std::mutex &EnvironmentLock() {
    static std::mutex lock;
    return lock;
}

} // namespace

bool ReadEnvironmentVariable(const char *name, std::string &value) {
    std::lock_guard<std::mutex> guard(EnvironmentLock());
    const char *found = std::getenv(name);
    if (found == nullptr)
        return false;
    value = found;
    return true;
}

bool WriteEnvironmentVariable(const char *name, const char *value) {
    std::lock_guard<std::mutex> guard(EnvironmentLock());
    if (*value == 0)
        return unsetenv(name) == 0;
    return setenv(name, value, 1) == 0;
}

} // namespace TarnkitA201::Platform
