// The tables behind reading a moment's civil fields in a zone, and the
// reader itself. It is inline so that a caller's compiler builds the common
// case into its own code: the year, month, day, weekday, hour and minute of
// a moment from 1600 to 2599 then take a handful of loads and no call. The
// library builds the tables; moments the reader does not take go to the
// library's general path, which gives the same fields.
#pragma once

#include "tarnkit/platform.h"

TARNKIT_NAMESPACE_BEGIN

namespace CivilTables {

// The days covered: 1600-01-01 to 2599-12-31, by day number.
inline constexpr int kFirstYear = 1600;
inline constexpr int32_t kFirstDay = 2305447;
inline constexpr int32_t kDays = 365243;
inline constexpr int32_t kMinutesPerDay = 1440;
// Days and minutes are counted from the start of the day before the first,
// so that the local day of a covered UTC day is never before the origin.
inline constexpr int32_t kOriginDay = kFirstDay - 1;

// Days from the origin fall into buckets of 256, so that a bucket touches at
// most two years.
// A bucket names the earlier year, where each year's days start in the
// month-day table, and the bucket's last day of the earlier year; finding a
// day's year and month is then one load and one comparison.
inline constexpr int kBucketShift = 8;
inline constexpr int kBucketDays = 1 << kBucketShift;
inline constexpr int kBuckets = (kDays + 1 + kBucketDays - 1) >> kBucketShift;

struct Bucket {
    uint16_t year;
    int16_t firstBase;  // in monthDay, the entry of the bucket's first day
    int16_t secondBase; // the same, counted in the later year's half
    uint8_t lastOfFirst; // the bucket's last day of the earlier year
    uint8_t weekday;     // in weekdayFrom, the entry of the bucket's first day
};

struct Tables {
    Bucket buckets[kBuckets];
    uint16_t monthDay[2 * 366];           // [366 * leap + day of the year]: the month plus 256 times the day
    uint8_t weekdayFrom[7 + kBucketDays]; // 0 for Sunday, cycling
    // [minute of the UTC day less the offset, plus a day]: the local hour
    // plus 256 times the local minute, plus kDayAfter times one more than
    // the days from the UTC day to the local one (-1, 0 or 1).
    uint16_t localMinute[3 * kMinutesPerDay];
    static constexpr unsigned kDayAfter = 1u << 14;
};
extern const Tables kTables;

// A zone whose daylight time can be in force keeps the years 1900 to 2199
// cut into spans of 64 UTC days, each with the offset at its start and the
// minute it changes, if it does.
inline constexpr int32_t kSpanFirstDay = 2415020; // 1900-01-01
inline constexpr int kSpanShift = 6;
inline constexpr int kSpans = 1713;

struct Span {
    int32_t change; // minutes from the start of kOriginDay; past every moment if none
    int16_t before; // the offset (minutes to add to civil time for UTC) from the span's start
    int16_t after;
};

// What the reader needs of a zone: its spans, or without them its one
// offset. An offset of a day or more sends every moment the general way.
struct ZoneReading {
    const Span *spans;
    int32_t fixedOffset;
};

// Civil fields, some in pairs as the tables hold them.
struct Fields {
    int year;
    unsigned monthDay;   // the month plus 256 times the day
    unsigned weekday;    // 0 for Sunday
    unsigned hourMinute; // the hour plus 256 times the minute
    unsigned second;
    unsigned millisecond;

    unsigned month() const noexcept { return monthDay & 0xFFu; }
    unsigned day() const noexcept { return monthDay >> 8; }
    unsigned hour() const noexcept { return hourMinute & 0xFFu; }
    unsigned minute() const noexcept { return hourMinute >> 8; }
};

// Where a covered day sits, given as days from kOriginDay: its year, its
// entry in monthDay and its weekday.
struct DayPlace {
    int year;
    int monthDayEntry;
    unsigned weekday;
};
inline DayPlace PlaceOf(uint32_t fromOrigin) noexcept {
    const Bucket b = kTables.buckets[fromOrigin >> kBucketShift];
    const uint32_t inBucket = fromOrigin & (kBucketDays - 1);
    const bool second = inBucket > b.lastOfFirst;
    const int32_t base = second ? b.secondBase : b.firstBase;
    return DayPlace{b.year + static_cast<int>(second), base + static_cast<int32_t>(inBucket),
                    kTables.weekdayFrom[b.weekday + inBucket]};
}

// The civil fields in the zone of a moment given as a day number and
// milliseconds of the UTC day. False for a moment outside the tables, an
// invalid one, or a zone the reader does not take.
//
// Offsets are whole minutes, so the seconds come straight from the moment
// and the offset moves only the minute, and with it the day by at most one.
__attribute__((always_inline)) inline bool Read(int32_t dayNumber, int32_t milliseconds, const ZoneReading &zone,
                                                Fields &out) noexcept {
    if (static_cast<uint32_t>(milliseconds) >= 86400000u) [[unlikely]]
        return false;
    const uint32_t utcMinuteOfDay = static_cast<uint32_t>(milliseconds) / 60000u;
    const uint32_t msOfMinute = static_cast<uint32_t>(milliseconds) - utcMinuteOfDay * 60000u;
    // Wraps for days far outside the tables; the range checks come before
    // anything is read.
    const uint32_t fromOrigin = static_cast<uint32_t>(dayNumber) - static_cast<uint32_t>(kOriginDay);
    int32_t offset;
    if (zone.spans != nullptr) {
        const uint32_t span = (fromOrigin - static_cast<uint32_t>(kSpanFirstDay - kOriginDay)) >> kSpanShift;
        if (span >= static_cast<uint32_t>(kSpans)) [[unlikely]]
            return false;
        const Span s = zone.spans[span];
        const uint32_t utcMinute = fromOrigin * kMinutesPerDay + utcMinuteOfDay;
        // Written as plain selections here and in PlaceOf: over fresh moments
        // the compiler's branches cost no more than masks, and they are
        // faster where moments repeat.
        offset = static_cast<int32_t>(utcMinute) >= s.change ? s.after : s.before;
    } else {
        offset = zone.fixedOffset;
        // The day and the days either side of it must be covered.
        if (fromOrigin - 2u >= static_cast<uint32_t>(kDays - 2) || offset <= -kMinutesPerDay ||
            offset >= kMinutesPerDay) [[unlikely]]
            return false;
    }
    const unsigned local = kTables.localMinute[utcMinuteOfDay - offset + kMinutesPerDay];
    const DayPlace place = PlaceOf(fromOrigin + local / Tables::kDayAfter - 1u);
    out.year = place.year;
    out.monthDay = kTables.monthDay[place.monthDayEntry];
    out.weekday = place.weekday;
    out.hourMinute = local % Tables::kDayAfter;
    out.second = msOfMinute / 1000u;
    out.millisecond = msOfMinute - out.second * 1000u;
    return true;
}

} // namespace CivilTables

TARNKIT_NAMESPACE_END
