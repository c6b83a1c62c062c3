#include "tarnkit/stimer.h"

#include "platform/system.h"

namespace TarnkitA201 {

SStopwatch::SStopwatch(double unitsPerSecond, long limit) noexcept
    : m_ticksPerUnit(static_cast<double>(Platform::CounterFrequency()) / unitsPerSecond) {
    if (limit >= 0)
        setLimit(limit);
}

void SStopwatch::start() noexcept { m_Start = Platform::MonotonicCounter(); }

double SStopwatch::elapsed() const noexcept {
    __int64 now = Platform::MonotonicCounter();
    return static_cast<double>(now - m_Start) / m_ticksPerUnit;
}

bool SStopwatch::expired() const noexcept {
    if (!m_limitEnabled)
        return false;
    return static_cast<__int64>(elapsed()) > m_limit;
}

void SStopwatch::setLimit(long limit) noexcept {
    m_limit = static_cast<int32_t>(limit);
    m_limitEnabled = true;
}

} // namespace TarnkitA201
