// The system clock and the machine's zone settings: the only place where the
// time subsystem talks to the operating system.
#pragma once

#include "tarnkit/platform.h"

#include <ctime>
#include <string>

namespace TarnkitA201::Platform {

// Milliseconds since 1970-01-01 UTC.
__int64 UtcMillisecondsNow() noexcept;

// The TZ environment variable; false when it is not set.
bool ZoneVariable(std::string &value);

// Where zone files named by TZ are looked up: TZDIR, else the system's folder.
std::string ZoneFileFolder();

// The contents of a zone file, at most a few MiB; false when unreadable.
bool ReadZoneFile(const std::string &path, std::string &bytes);

// The machine's own broken-down local time of t, and its inverse. False or
// -1 when the C library cannot express the value.
bool LocalTime(__int64 t, std::tm &out) noexcept;
__int64 MakeLocalTime(std::tm &in) noexcept;

} // namespace TarnkitA201::Platform
