// Facts about the machine the process runs on.
#pragma once

#include "tarnkit/platform.h"

TARNKIT_NAMESPACE_BEGIN

class SSystem {
public:
    // Processors online, at least 1.
    static unsigned long NumberOfCPUs() noexcept;
};

TARNKIT_NAMESPACE_END
