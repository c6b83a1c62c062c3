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

namespace TarnkitA201::ZoneCore {

// What the fast path needs of a zone, read by the friends of STimeZone.
struct ZoneView {
    int16_t standardOffset;
    int16_t daylightOffset;
    // Daylight time can be in force; table then holds its transitions, or is
    // null when the zone was never prepared.
    bool daylight;
    const STimeZone::Transitions *table;
};

// Civil fields of a moment in a zone.
struct LocalCivil {
    int year, month, day, dayOfWeek;
    int32_t milliseconds; // of the day

    // The time of day's fields; milliseconds lie within the day, so unsigned
    // division serves, and each field comes straight from the milliseconds
    // rather than from the one before it.
    int hour() const noexcept { return static_cast<int>(ms() / 3600000u); }
    int minute() const noexcept { return static_cast<int>(ms() / 60000u % 60u); }
    int second() const noexcept { return static_cast<int>(ms() / 1000u % 60u); }
    int millisecond() const noexcept { return static_cast<int>(ms() % 1000u); }
    uint32_t ms() const noexcept { return static_cast<uint32_t>(milliseconds); }
};

// The zone's civil fields of a valid moment in the years both the calendar
// and the zone's tables cover: the year is found once and serves both the
// daylight test and the civil date. False for any other moment, which the
// general path then takes; it gives the same fields for these.
inline bool FastLocalCivil(int32_t dayNumber, int32_t milliseconds, const ZoneView &zone, LocalCivil &out) noexcept {
    const auto &tables = Calendar::kTables;
    if (!tables.coversDay(dayNumber) || static_cast<uint32_t>(milliseconds) >= Calendar::kMsPerDay) [[unlikely]]
        return false;
    int i = tables.indexOf(dayNumber);
    // The civil date of the UTC day, read while the offset is still being
    // worked out: the two do not wait on each other, and the offset moves
    // the day only for moments near midnight.
    int dayOfYear = dayNumber - tables.yearStart[i];
    int yearLength = tables.yearStart[i + 1] - tables.yearStart[i];
    int leap = yearLength - 365;
    int month = tables.monthOf[leap][dayOfYear];
    int day = tables.dayOf[leap][dayOfYear];

    int32_t minutes = zone.standardOffset;
    if (zone.daylight) {
        const unsigned k = static_cast<unsigned>(i - STimeZone::Transitions::kFirstIndex);
        if (zone.table == nullptr || k >= static_cast<unsigned>(STimeZone::Transitions::kYears)) [[unlikely]]
            return false;
        const __int64 key = Calendar::MomentKey(dayNumber, milliseconds);
        const __int64 start = zone.table->start[k], end = zone.table->end[k];
        const bool afterStart = key >= start, beforeEnd = key < end;
        const bool inDaylight = start > end ? (afterStart | beforeEnd) : (afterStart & beforeEnd);
        minutes = inDaylight ? zone.daylightOffset : zone.standardOffset;
    }
    const int32_t shift = minutes * static_cast<int32_t>(kMsPerMinute);
    if (shift <= -Calendar::kMsPerDay || shift >= Calendar::kMsPerDay) [[unlikely]]
        return false;
    int32_t localMs = milliseconds - shift;
    const int carry = (localMs >= Calendar::kMsPerDay ? 1 : 0) - (localMs < 0 ? 1 : 0);
    localMs -= carry * static_cast<int32_t>(Calendar::kMsPerDay);
    const int32_t localDay = dayNumber + carry;
    if (carry != 0) {
        dayOfYear += carry;
        // Near New Year the day moves into the next or last year.
        if (static_cast<unsigned>(dayOfYear) >= static_cast<unsigned>(yearLength)) {
            i += carry;
            if (i < 0 || i >= Calendar::Tables::kYears)
                return false;
            dayOfYear = localDay - tables.yearStart[i];
            leap = tables.yearStart[i + 1] - tables.yearStart[i] - 365;
        }
        month = tables.monthOf[leap][dayOfYear];
        day = tables.dayOf[leap][dayOfYear];
    }
    out.year = Calendar::Tables::kFirstYear + i;
    out.month = month;
    out.day = day;
    out.dayOfWeek = static_cast<int>(static_cast<uint32_t>(localDay + 2) % 7); // the table's days are positive
    out.milliseconds = localMs;
    return true;
}

} // namespace TarnkitA201::ZoneCore
