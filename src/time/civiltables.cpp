// The day-by-day calendar tables of the inline civil-field reader, built by
// the compiler from the calendar's own formulas.
#include "time/calendar.h"

namespace TarnkitA201::CivilTables {

namespace {

constexpr Tables Build() noexcept {
    Tables t{};
    for (int b = 0; b < kBuckets; ++b) {
        const int32_t first = kOriginDay + b * kBucketDays;
        const int year = static_cast<int>(Calendar::DayToCivil(first).year);
        const __int64 secondStartsAt = Calendar::YMDToDay(year + 1, 1, 1) - first;
        const int firstLength = static_cast<int>(secondStartsAt < kBucketDays ? secondStartsAt : kBucketDays);
        const int firstLeap = Calendar::IsLeapYear(year) ? 1 : 0;
        const int secondLeap = Calendar::IsLeapYear(year + 1) ? 1 : 0;
        t.buckets[b] = Bucket{static_cast<uint16_t>(year),
                              static_cast<int16_t>(366 * firstLeap + (first - Calendar::YMDToDay(year, 1, 1))),
                              static_cast<int16_t>(366 * secondLeap - firstLength),
                              static_cast<uint8_t>(firstLength - 1), static_cast<uint8_t>(Calendar::DayOfWeek(first))};
    }
    for (int leap = 0; leap < 2; ++leap) {
        int entry = 366 * leap;
        for (int m = 1; m <= 12; ++m) {
            const int length = m == 2 && leap ? 29 : Calendar::NonLeapMonthLength(m);
            for (int d = 1; d <= length; ++d)
                t.monthDay[entry++] = static_cast<uint16_t>(d << 8 | m);
        }
    }
    for (int i = 0; i < 7 + kBucketDays; ++i)
        t.weekdayFrom[i] = static_cast<uint8_t>(i % 7);
    for (int i = 0; i < 3 * kMinutesPerDay; ++i) {
        const int dayAfter = i / kMinutesPerDay - 1, minute = i % kMinutesPerDay;
        t.localMinute[i] = static_cast<uint16_t>(minute % 60 << 8 | minute / 60 | (dayAfter + 1) * Tables::kDayAfter);
    }
    return t;
}

} // namespace

constinit const Tables kTables = Build();

} // namespace TarnkitA201::CivilTables
