#include "tarnkit/sdatetime.h"

#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"
#include "time/calendar.h"

namespace TarnkitA201 {

// ---- STimeSpan ----

STimeSpan::STimeSpan(long days, long hours, long minutes, long seconds, long milliseconds) : m_value(0) {
    Set(days, hours, minutes, seconds, milliseconds);
}

void STimeSpan::Set(long nDays, long nHours, long nMinutes, long nSeconds, long nMilliseconds) {
    TARNKIT_ASSERT(((nDays >= 0) && (nHours >= 0) && (nMinutes >= 0) && (nSeconds >= 0) && (nMilliseconds >= 0)) ||
                   ((nDays <= 0) && (nHours <= 0) && (nMinutes <= 0) && (nSeconds <= 0) && (nMilliseconds <= 0)));
    // Unsigned arithmetic wraps where absurd arguments would overflow.
    const __uint64 sum = static_cast<__uint64>(nDays) * 86400000u + static_cast<__uint64>(nHours) * 3600000u +
                         static_cast<__uint64>(nMinutes) * 60000u + static_cast<__uint64>(nSeconds) * 1000u +
                         static_cast<__uint64>(nMilliseconds);
    m_value = static_cast<__int64>(sum);
}

// ---- SDate ----

void SDate::Set(short year, unsigned char month, unsigned char day) noexcept {
    bool valid;
    const __int64 value = Calendar::ValidatedDay(year, month, day, valid);
    m_value = valid ? static_cast<int32_t>(value) : InvalidDate;
}

long SDate::YMDToJulian(short year, unsigned char month, unsigned char day) noexcept {
    return static_cast<long>(Calendar::YMDToDay(year, month, day));
}

void SDate::JulianToYMD(long value, short &year, unsigned char &month, unsigned char &day) noexcept {
    // Day numbers are 32-bit; beyond that there is no calendar date.
    if (value < INT32_MIN || value > INT32_MAX) {
        year = 0;
        month = 0;
        day = 0;
        return;
    }
    const Calendar::Civil c = Calendar::DayToCivilFast(value);
    year = static_cast<short>(c.year);
    month = static_cast<unsigned char>(c.month);
    day = static_cast<unsigned char>(c.day);
}

SDate SDate::GetCurrentDate(const STimeZone &zone) { return SDateTime::GetCurrentDateTime().GetDate(zone); }

void SDate::GetYearMonthDay(short &year, unsigned char &month, unsigned char &day) const {
    TARNKIT_ASSERT(IsValid());
    const Calendar::Civil c = Calendar::DayToCivilFast(m_value);
    year = static_cast<short>(c.year);
    month = static_cast<unsigned char>(c.month);
    day = static_cast<unsigned char>(c.day);
}

short SDate::GetYear() const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<short>(Calendar::DayToCivilFast(m_value).year);
}

unsigned char SDate::GetMonth() const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<unsigned char>(Calendar::DayToCivilFast(m_value).month);
}

unsigned char SDate::GetDay() const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<unsigned char>(Calendar::DayToCivilFast(m_value).day);
}

unsigned char SDate::GetDayOfWeek() const {
    TARNKIT_ASSERT(IsValid());
    return static_cast<unsigned char>(Calendar::DayOfWeek(m_value));
}

unsigned char SDate::GetWeekOfMonth(unsigned char firstDayOfWeek) const {
    short year;
    unsigned char month, day;
    GetYearMonthDay(year, month, day);
    const int w = Calendar::DayOfWeek(Calendar::YMDToDay(year, month, 1));
    return static_cast<unsigned char>(((w + 7 - firstDayOfWeek) % 7 + day - 1) / 7 + 1);
}

namespace {

// The day moved by whole days; a result beyond the 32-bit day range is the
// invalid date rather than a wrapped one.
SDate AddDays(const SDate &date, __int64 days) {
    if (!date.IsValid())
        return date;
    const __int64 result = static_cast<__int64>(date.GetDayNumber()) + days;
    if (result <= INT32_MIN || result > INT32_MAX)
        return SDate();
    return SDate::FromDayNumber(static_cast<int32_t>(result));
}

} // namespace

SDate SDate::operator+(const STimeSpan &span) const noexcept {
    return AddDays(*this, span.GetTotalMilliseconds() / Calendar::kMsPerDay);
}

SDate SDate::operator-(const STimeSpan &span) const noexcept {
    return AddDays(*this, -(span.GetTotalMilliseconds() / Calendar::kMsPerDay));
}

STimeSpan SDate::operator-(const SDate &date) const {
    TARNKIT_ASSERT(IsValid() && date.IsValid());
    const __int64 days = static_cast<__int64>(m_value) - date.m_value;
    return STimeSpan(days * Calendar::kMsPerDay);
}

SAnsiString SDate::Format(const char *pattern) const {
    TARNKIT_ASSERT(IsValid());
    return SDateTime(*this, STime(0, 0, 0, 0)).Format(pattern, STimeZone::TZ_UTC());
}

} // namespace TarnkitA201
