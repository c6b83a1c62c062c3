// The probe behind SPlat, replaceable so that tests can present any system.
#pragma once

#include "platform/system.h"

namespace TarnkitA201 {

using OsVersionProbe = bool (*)(Platform::OsVersion &version);

// Installs a probe (null restores the system's) and returns the previous one.
OsVersionProbe SetOsVersionProbe(OsVersionProbe probe) noexcept;

} // namespace TarnkitA201
