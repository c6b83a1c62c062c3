// Where per-user files live, and making a directory path, for stores that
// keep state under the user's configuration folder.
#pragma once

#include <string>

namespace TarnkitA201::Platform {

// $XDG_CONFIG_HOME when it is an absolute path, else the home directory
// ($HOME, or the password database) followed by "/.config". Empty when no
// home directory can be found.
std::string UserConfigHome();

// Creates path and every missing parent with mode (before the umask).
// True if the directory exists afterwards; error is the errno otherwise.
bool MakeDirectories(const std::string &path, unsigned mode, int &error) noexcept;

} // namespace TarnkitA201::Platform
