#include "tarnkit/sdatetime.h"

#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"
#include "time/calendar.h"

namespace TarnkitA201 {

namespace {

constexpr int32_t kMsPerDay = static_cast<int32_t>(Calendar::kMsPerDay);

int32_t WrapToDay(__int64 ms) { return static_cast<int32_t>(Calendar::FloorMod(ms, Calendar::kMsPerDay)); }

// The civil time of day of a raw UTC value, by the zone's offset now.
int32_t CivilValue(int32_t value, const STimeZone &zone) {
    return WrapToDay(static_cast<__int64>(value) - zone.UTCOffset().GetTotalMilliseconds());
}

} // namespace

STime::STime(unsigned char hour, unsigned char minute, unsigned char second, unsigned short millisecond,
             const STimeZone &zone)
    : m_value(InvalidTime) {
    if (hour >= 24 || minute >= 60 || second >= 60 || millisecond >= 1000) {
        TARNKIT_ASSERT_EXPR(false, "false");
        return;
    }
    const __int64 civil = hour * 3600000LL + minute * 60000LL + second * 1000LL + millisecond;
    m_value = WrapToDay(civil + zone.UTCOffset().GetTotalMilliseconds());
}

void STime::Set(unsigned char hour, unsigned char minute, unsigned char second, unsigned short millisecond,
                const STimeZone &zone) {
    m_value = InvalidTime;
    TARNKIT_ASSERT((hour < 24) && (minute < 60) && (second < 60) && (millisecond < 1000));
    if (hour >= 24 || minute >= 60 || second >= 60 || millisecond >= 1000)
        return;
    const __int64 civil = hour * 3600000LL + minute * 60000LL + second * 1000LL + millisecond;
    m_value = WrapToDay(civil + zone.UTCOffset().GetTotalMilliseconds());
}

STime STime::GetCurrentTime(const STimeZone &zone) { return SDateTime::GetCurrentDateTime().GetTime(zone); }

void STime::GetHourMinuteSecond(unsigned char &hour, unsigned char &minute, unsigned char &second,
                                const STimeZone &zone) const {
    TARNKIT_ASSERT(IsValid());
    const int32_t civil = CivilValue(m_value, zone);
    hour = static_cast<unsigned char>(civil / 3600000);
    minute = static_cast<unsigned char>(civil % 3600000 / 60000);
    second = static_cast<unsigned char>(civil % 60000 / 1000);
}

unsigned char STime::GetHour(const STimeZone &zone) const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<unsigned char>(CivilValue(m_value, zone) / 3600000);
}

unsigned char STime::GetMinute(const STimeZone &zone) const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<unsigned char>(CivilValue(m_value, zone) % 3600000 / 60000);
}

unsigned char STime::GetSecond() const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<unsigned char>(m_value % 60000 / 1000);
}

unsigned short STime::GetMillisecond() const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<unsigned short>(m_value % 1000);
}

STime STime::operator+(const STimeSpan &span) const noexcept {
    if (!IsValid())
        return *this;
    __int64 value = m_value + span.GetTotalMilliseconds() % Calendar::kMsPerDay;
    if (value >= kMsPerDay)
        value -= kMsPerDay;
    else if (value < 0)
        value += kMsPerDay;
    return STime(0, 0, 0, static_cast<long>(value));
}

STime STime::operator-(const STimeSpan &span) const noexcept {
    if (!IsValid())
        return *this;
    __int64 value = m_value - span.GetTotalMilliseconds() % Calendar::kMsPerDay;
    if (value >= kMsPerDay)
        value -= kMsPerDay;
    else if (value < 0)
        value += kMsPerDay;
    return STime(0, 0, 0, static_cast<long>(value));
}

STimeSpan STime::operator-(const STime &timeOfDay) const {
    TARNKIT_ASSERT(IsValid() && timeOfDay.IsValid());
    return STimeSpan(static_cast<__int64>(m_value) - timeOfDay.m_value);
}

SAnsiString STime::Format(const char *pattern, const STimeZone &zone) const {
    TARNKIT_ASSERT(IsValid());
    const SDate today = SDate::GetCurrentDate(STimeZone::TZ_Local());
    return SDateTime(today, *this).Format(pattern, zone);
}

int STimeComparison(const STime &a, const STime &b, const STimeZone &zone) {
    const __int64 offset = zone.UTCOffset().GetTotalMilliseconds();
    const int32_t civilA = WrapToDay(static_cast<__int64>(a.GetRawValue()) - offset);
    const int32_t civilB = WrapToDay(static_cast<__int64>(b.GetRawValue()) - offset);
    return civilA < civilB ? -1 : (civilA > civilB ? 1 : 0);
}

} // namespace TarnkitA201
