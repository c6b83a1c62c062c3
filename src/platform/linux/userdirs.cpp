#include "platform/userdirs.h"

#include <cerrno>
#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace TarnkitA201::Platform {

namespace {

std::string HomeDirectory() {
    const char *home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/')
        return home;
    long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
    passwd entry{};
    passwd *found = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && found->pw_dir[0] == '/')
        return found->pw_dir;
    return std::string();
}

bool IsDirectory(const std::string &path) noexcept {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

std::string UserConfigHome() {
    // A relative XDG_CONFIG_HOME is invalid by the base-directory rules and
    // is ignored.
    const char *configured = std::getenv("XDG_CONFIG_HOME");
    if (configured != nullptr && configured[0] == '/')
        return configured;
    std::string home = HomeDirectory();
    return home.empty() ? home : home + "/.config";
}

bool MakeDirectories(const std::string &path, unsigned mode, int &error) noexcept {
    error = 0;
    if (path.empty()) {
        error = ENOENT;
        return false;
    }
    try {
        for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
            std::string prefix = path.substr(0, slash);
            if (!prefix.empty() && ::mkdir(prefix.c_str(), mode) != 0 && errno != EEXIST) {
                error = errno;
                return false;
            }
            if (slash == std::string::npos)
                break;
        }
    } catch (...) {
        error = ENOMEM;
        return false;
    }
    if (!IsDirectory(path)) {
        error = ENOTDIR;
        return false;
    }
    return true;
}

} // namespace TarnkitA201::Platform
