// The process environment: the one place where the library reads or changes
// environment variables. Every call is serialised under one lock, because the
// C library's getenv is not safe against a concurrent setenv.
#pragma once

#include <string>

namespace TarnkitA201::Platform {

// The value of `name`; false when the variable is not set.
bool ReadEnvironmentVariable(const char *name, std::string &value);

// Sets `name` to `value`, or removes the variable when `value` is empty, so
// that child processes do not see it at all. False when the system refuses
// (an empty name, one holding "=", no memory).
bool WriteEnvironmentVariable(const char *name, const char *value);

} // namespace TarnkitA201::Platform
