// The hot part of a zone: whether daylight time is in force at a moment, and
// the offset that follows. Inline so that zoned getters and the formatter
// compile it into their own loops; the zone is immutable, so none of this
// takes a lock.
#pragma once

#include "tarnkit/stimezone.h"
#include "time/calendar.h"

#include <climits>

namespace TarnkitA201 {

// Transition moments, as UTC millisecond keys, for the years of the shared
// year table. Built once per zone when daylight time can be in force.
//
// Beside them the inline reader's spans of 64 UTC days (CivilTables::Span):
// finding a moment's offset is then one load and one comparison, without
// first finding its year. Transitions fall on whole minutes, so comparing
// minutes gives what comparing milliseconds would.
struct STimeZone::Transitions {
    static constexpr int kFirstYear = 1900;
    static constexpr int kYears = 300;
    static constexpr int kFirstIndex = kFirstYear - Calendar::Tables::kFirstYear; // in the calendar tables
    static_assert(CivilTables::kSpanFirstDay == Calendar::kTables.yearStart[kFirstIndex] &&
                  CivilTables::kSpans == ((Calendar::kTables.yearStart[kFirstIndex + kYears] -
                                           CivilTables::kSpanFirstDay) >> CivilTables::kSpanShift) + 1);

    __int64 start[kYears];
    __int64 end[kYears];
    // Whether the spans serve: both offsets are under a day and no span
    // holds two changes. Otherwise every moment goes the general way.
    bool spansUsable;
    CivilTables::Span spans[CivilTables::kSpans];
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

// A year's transitions as UTC keys, computed from the rules: what the zone's
// table holds for the years most moments fall in, and what the years beyond
// it are computed with, out of line.
void YearTransitionKeys(int year, const STimeZone::Transition &start, const STimeZone::Transition &end,
                        int16_t standardOffset, int16_t daylightOffset, __int64 &startKey, __int64 &endKey) noexcept;

// The moment moved by shift milliseconds in the general way, for the cases
// the inline path leaves out (offsets of a day or more, raw times of day
// outside the day, the ends of the day range).
SDateTime ShiftedSlowly(const SDateTime &when, __int64 shift) noexcept;

} // namespace ZoneCore

inline bool STimeZone::inDSTAt(__int64 key, int32_t dayNumber, bool givenInUTC) const noexcept {
    if (!m_dstEnabled || !m_rulesUsable)
        return false;
    __int64 start, end;
    const auto &tables = Calendar::kTables;
    // One unsigned comparison keeps the years before the table out as well.
    const unsigned i = tables.coversDay(dayNumber)
                           ? static_cast<unsigned>(tables.indexOf(dayNumber) - Transitions::kFirstIndex)
                           : ~0u;
    const Transitions *cache = m_cache.get();
    if (cache != nullptr && i < static_cast<unsigned>(Transitions::kYears)) [[likely]] {
        start = cache->start[i];
        end = cache->end[i];
    } else {
        // The year as a short, as the year getter gives it.
        const int year = static_cast<short>(Calendar::DayToCivil(dayNumber).year);
        ZoneCore::YearTransitionKeys(year, m_start, m_end, m_standardOffset, m_daylightOffset, start, end);
    }
    if (!givenInUTC) {
        // Civil moments: the start moves by the daylight offset from its UTC
        // form, and the end is compared as it reads on the daylight clock.
        start -= m_daylightOffset * ZoneCore::kMsPerMinute;
        end -= m_daylightOffset * ZoneCore::kMsPerMinute;
    }
    // Both comparisons without branches: whether a moment falls in daylight
    // time is as good as random over a stream of moments.
    const bool afterStart = key >= start, beforeEnd = key < end;
    if (start > end) // the southern hemisphere: daylight time spans New Year
        return afterStart | beforeEnd;
    return afterStart & beforeEnd;
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
    const bool dateValid = m_date.IsValid(), timeValid = m_time.IsValid();
    const int32_t day = m_date.GetDayNumber(), ms = m_time.GetRawValue();
    int32_t minutes = zone.m_standardOffset;
    if (dateValid && zone.m_dstEnabled) {
        const __int64 key = timeValid ? Calendar::MomentKey(day, ms) : Calendar::MomentKey(day, 0) - 1;
        minutes = zone.offsetMinutesAt(key, day, true);
    }
    const __int64 shift = minutes * ZoneCore::kMsPerMinute;
    if (dateValid && timeValid && shift > -Calendar::kMsPerDay && shift < Calendar::kMsPerDay) [[likely]] {
        // Offsets under a day move the date by at most one; the carry is
        // computed rather than branched on.
        __int64 localMs = ms - shift;
        const int carry = (localMs >= Calendar::kMsPerDay ? 1 : 0) - (localMs < 0 ? 1 : 0);
        localMs -= carry * Calendar::kMsPerDay;
        const __int64 localDay = static_cast<__int64>(day) + carry;
        if (localDay > INT32_MIN && localDay <= INT32_MAX && localMs >= 0 && localMs < Calendar::kMsPerDay) [[likely]]
            return SDateTime(SDate::FromDayNumber(static_cast<int32_t>(localDay)),
                             STime(0, 0, 0, static_cast<long>(localMs)));
    }
    return ZoneCore::ShiftedSlowly(*this, shift);
}

} // namespace TarnkitA201

// For the general paths beside the fast ones: kept out of line and out of
// the way of the common path's code.
#define TARNKIT_TIME_COLD __attribute__((noinline, cold))
