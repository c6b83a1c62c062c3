// The platform probe and the few process-wide slots of the frame.
#pragma once

#include "tarnkit/platform.h"

TARNKIT_NAMESPACE_BEGIN

// Answers which family and version of system this is. On Linux the library
// reports the NT family with the kernel's version (major + minor / 100.0),
// so IsWin95 is false everywhere.
class SPlat {
public:
    static bool IsWinNT(double version);
    static bool IsWin95(double version);
    static bool IsWin2K(double version);
};

// One process-wide handle a host may store for the code above it. The
// library never reads it.
void SetWindowHInstance(HINSTANCE__ *instance) noexcept;
HINSTANCE__ *GetWindowHInstance() noexcept;

// The thread layer is part of the library, so nothing is loaded lazily and
// there is no hook to install: this answers true.
bool InitDelayLoad() noexcept;

TARNKIT_NAMESPACE_END
