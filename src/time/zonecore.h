// The hot part of a zone: whether daylight time is in force at a moment, and
// the offset that follows. Inline so that zoned getters and the formatter
// compile it into their own loops; the zone is immutable, so none of this
// takes a lock.
#pragma once

#include "tarnkit/stimezone.h"
#include "time/calendar.h"

namespace TarnkitA201 {

// Transition moments, as UTC millisecond keys, for the years of the shared
// year table. Built once per zone when daylight time can be in force.
struct STimeZone::Transitions {
    static constexpr int kFirstYear = 1900;
    static constexpr int kYears = 300;
    static constexpr int kFirstIndex = kFirstYear - Calendar::Tables::kFirstYear; // in the calendar tables
    __int64 start[kYears];
    __int64 end[kYears];
};

namespace ZoneCore {

constexpr __int64 kMsPerMinute = 60000;

// The day of the month of a transition in a year: the week-th weekday of the
// month, week 5 (or any week running past the month) meaning the last.
inline __int64 TransitionDay(int year, const STimeZone::Transition &t) noexcept {
    const __int64 first = Calendar::YMDToDay(year, t.month, 1);
    const int d = static_cast<int>(t.day) - Calendar::DayOfWeek(first);
    int dom = (t.week - (d == 0 ? 1 : 0)) * 7 + d + 1;
    if (d > 0)
        dom -= 7;
    // The month's length in a common year, also in a leap February.
    if (dom > Calendar::NonLeapMonthLength(t.month))
        dom -= 7;
    return Calendar::YMDToDay(year, t.month, dom);
}

// The transition as a UTC key before any offset: the day at hour:minute.
inline __int64 TransitionKey(int year, const STimeZone::Transition &t) noexcept {
    return TransitionDay(year, t) * Calendar::kMsPerDay + t.hour * 3600000LL + t.minute * kMsPerMinute;
}

} // namespace ZoneCore

inline bool STimeZone::inDSTAt(__int64 key, int32_t dayNumber, bool givenInUTC) const noexcept {
    if (!m_dstEnabled || !m_rulesUsable)
        return false;
    __int64 start, end;
    const auto &tables = Calendar::kTables;
    const int i = tables.coversDay(dayNumber) ? tables.indexOf(dayNumber) - Transitions::kFirstIndex : -1;
    if (m_cache && i >= 0 && i < Transitions::kYears) {
        start = m_cache->start[i];
        end = m_cache->end[i];
    } else {
        // The year as a short, as the year getter gives it.
        const int year = static_cast<short>(Calendar::DayToCivil(dayNumber).year);
        start = ZoneCore::TransitionKey(year, m_start) + m_standardOffset * ZoneCore::kMsPerMinute;
        end = ZoneCore::TransitionKey(year, m_end) + m_daylightOffset * ZoneCore::kMsPerMinute;
    }
    if (!givenInUTC) {
        // Civil moments: the start moves by the daylight offset from its UTC
        // form, and the end is compared as it reads on the daylight clock.
        start -= m_daylightOffset * ZoneCore::kMsPerMinute;
        end -= m_daylightOffset * ZoneCore::kMsPerMinute;
    }
    if (start > end) // the southern hemisphere: daylight time spans New Year
        return !(key >= end && key < start);
    return key >= start && key < end;
}

inline int32_t STimeZone::offsetMinutesAt(__int64 key, int32_t dayNumber, bool givenInUTC) const noexcept {
    if (isFixedZero())
        return 0;
    return inDSTAt(key, dayNumber, givenInUTC) ? m_daylightOffset : m_standardOffset;
}

} // namespace TarnkitA201

namespace TarnkitA201 {

// The civil moment of the zone, stored as though it were UTC: the stored
// moment less the zone's offset at it.
inline SDateTime SDateTime::inZone(const STimeZone &zone) const noexcept {
    if (zone.isFixedZero())
        return *this;
    int32_t minutes = zone.m_standardOffset;
    const bool dateValid = m_date.IsValid(), timeValid = m_time.IsValid();
    if (dateValid && zone.m_dstEnabled) {
        const int32_t day = m_date.GetDayNumber();
        const __int64 key = timeValid ? Calendar::MomentKey(day, m_time.GetRawValue()) : Calendar::MomentKey(day, 0) - 1;
        minutes = zone.offsetMinutesAt(key, day, true);
    }
    const __int64 shift = minutes * ZoneCore::kMsPerMinute;
    if (dateValid && timeValid && shift > -Calendar::kMsPerDay && shift < Calendar::kMsPerDay) {
        // Offsets under a day move the date by at most one.
        __int64 ms = m_time.GetRawValue() - shift;
        __int64 day = m_date.GetDayNumber();
        if (ms < 0) {
            ms += Calendar::kMsPerDay;
            --day;
        } else if (ms >= Calendar::kMsPerDay) {
            ms -= Calendar::kMsPerDay;
            ++day;
        }
        if (day > INT32_MIN && day <= INT32_MAX && ms >= 0 && ms < Calendar::kMsPerDay)
            return SDateTime(SDate::FromDayNumber(static_cast<int32_t>(day)), STime(0, 0, 0, static_cast<long>(ms)));
    }
    return *this - STimeSpan(shift);
}

} // namespace TarnkitA201
