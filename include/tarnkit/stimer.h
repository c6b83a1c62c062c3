// A stopwatch over the monotonic clock, counting in a unit chosen at
// construction, with an optional limit.
#pragma once

#include "tarnkit/platform.h"

TARNKIT_NAMESPACE_BEGIN

class SStopwatch {
public:
    // unitsPerSecond: 1000.0 counts milliseconds. limit < 0 means no limit.
    explicit SStopwatch(double unitsPerSecond = 1000.0, long limit = -1) noexcept;

    void start() noexcept;
    double elapsed() const noexcept;
    // True when a limit is set and the whole units elapsed exceed it.
    bool expired() const noexcept;

    void setLimit(long limit) noexcept;
    void clearLimit() noexcept { m_limitEnabled = false; }

private:
    __int64 m_Start = 0;
    double m_ticksPerUnit;
    int32_t m_limit = 0;
    bool m_limitEnabled = false;
};

TARNKIT_NAMESPACE_END
