// Facts about the machine the process runs on.
#pragma once

#include "tarnkit/platform.h"

namespace TarnkitA201 TARNKIT_API {

class SSystem {
public:
    // Processors online, at least 1.
    static unsigned long NumberOfCPUs() noexcept;
};

} // namespace TarnkitA201
