// The calendar arithmetic under the date values, kept inline because every
// zoned getter and every formatted moment goes through it. Day numbers are
// the astronomical Julian day number less 1.
//
// The conversions give exactly what the classic floating-point formulas
// (with their constants 30.6001, 365.25, 36524.25 and 122.1) give, computed
// in integers: each of those quotients is never within rounding distance of
// a whole number over the 32-bit day range, so integer division truncates to
// the same result. From the reform on, the formulas are the proleptic
// Gregorian calendar, for which a shorter integer path is used.
#pragma once

#include "tarnkit/civiltables.h"

namespace TarnkitA201::Calendar {

constexpr __int64 kMsPerDay = 86400000;
constexpr int32_t kUnixEpochDay = 2440587;    // 1970-01-01
constexpr int32_t kFirstGregorianDay = 2299160; // 1582-10-15

// Leap years: every fourth before 1582 (by signed remainder), the Gregorian
// rule from 1582 on.
constexpr bool IsLeapYear(int year) noexcept {
    if (year < 1582)
        return year % 4 == 0;
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

constexpr int NonLeapMonthLength(int month) noexcept {
    constexpr unsigned char lengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return lengths[month - 1];
}

// month must be 1 to 12.
constexpr int MonthLength(int year, int month) noexcept {
    return month == 2 && IsLeapYear(year) ? 29 : NonLeapMonthLength(month);
}

// Day number of a year, month and day, for any arguments (the month and day
// need not be in range). Dates before 1582-10-15 count in the Julian
// calendar; negative years are before Christ and there is no year 0.
constexpr __int64 YMDToDay(int year, int month, int day) noexcept {
    int y = year < 0 ? year + 1 : year;
    int m = month;
    if (m < 3) {
        y -= 1;
        m += 12;
    }
    const int correction = y * 10000 + m * 100 + day >= 15821015 ? 2 - y / 100 + (y / 100) / 4 : 0;
    // trunc(30.6001 * (m + 1))
    const __int64 monthDays = (306001LL * (m + 1)) / 10000;
    return static_cast<__int64>(y) * 365 + y / 4 + monthDays + day + correction + 1720994;
}

struct Civil {
    __int64 year;
    int month;
    int day;
};

// The year, month and day of a day number in the 32-bit range.
constexpr Civil DayToCivil(__int64 value) noexcept {
    Civil c{};
    if (value >= kFirstGregorianDay) {
        // Days counted from 0000-03-01 of the proleptic Gregorian calendar.
        const __int64 z = value - kUnixEpochDay + 719468;
        const __int64 era = z / 146097;
        const __int64 dayOfEra = z - era * 146097;
        const __int64 yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
        const __int64 dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
        const __int64 shiftedMonth = (5 * dayOfYear + 2) / 153;
        c.day = static_cast<int>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
        c.month = static_cast<int>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
        c.year = yearOfEra + era * 400 + (c.month <= 2 ? 1 : 0);
        return c;
    }
    __int64 j = value + 1;
    __int64 b = j < 1721424 ? j + 1158 : j + 1524;
    __int64 cc = (20 * b - 2442) / 7305;           // trunc((b - 122.1) / 365.25)
    __int64 e = b - (1461 * cc) / 4;               // b - trunc(365.25 * c)
    __int64 f = (10000 * e) / 306001;              // trunc(e / 30.6001)
    c.day = static_cast<int>(e - (306001 * f) / 10000); // e - trunc(30.6001 * f)
    c.month = static_cast<int>(f <= 13 ? f - 1 : f - 13);
    c.year = c.month > 2 ? cc - 4716 : cc - 4715;
    return c;
}

// 0 for Sunday; a negative day number gives the negative remainder.
constexpr int DayOfWeek(__int64 dayNumber) noexcept { return static_cast<int>((dayNumber + 2) % 7); }

constexpr __int64 FloorDiv(__int64 a, __int64 b) noexcept {
    const __int64 q = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? q - 1 : q;
}

constexpr __int64 FloorMod(__int64 a, __int64 b) noexcept { return a - FloorDiv(a, b) * b; }

// Millisecond keys: a moment as one number, milliseconds from the start of
// day number 0, so that adding a span is one addition.
constexpr __int64 MomentKey(int32_t dayNumber, int32_t milliseconds) noexcept {
    return static_cast<__int64>(dayNumber) * kMsPerDay + milliseconds;
}

} // namespace TarnkitA201::Calendar

namespace TarnkitA201::Calendar {

// Tables for the Gregorian years most dates fall in, so that the common case
// of each conversion is a few lookups instead of a chain of divisions. They
// give exactly what the formulas give. The day-by-day tables are the ones
// the public inline reader uses (CivilTables); these are the year starts and
// month lengths beside them.
struct Tables {
    static constexpr int kFirstYear = CivilTables::kFirstYear; // the start of a 400-year cycle
    static constexpr int kYears = 1000;                        // to 2599
    int32_t yearStart[kYears + 1];                             // day number of January 1
    uint16_t daysBefore[2][13];                                // [leap][month - 1]; [12] is the year's length

    constexpr Tables() noexcept : yearStart{}, daysBefore{} {
        for (int i = 0; i <= kYears; ++i)
            yearStart[i] = static_cast<int32_t>(YMDToDay(kFirstYear + i, 1, 1));
        for (int leap = 0; leap < 2; ++leap) {
            int total = 0;
            for (int m = 1; m <= 12; ++m) {
                daysBefore[leap][m - 1] = static_cast<uint16_t>(total);
                total += m == 2 && leap ? 29 : NonLeapMonthLength(m);
            }
            daysBefore[leap][12] = static_cast<uint16_t>(total);
        }
    }

    constexpr bool coversDay(__int64 dayNumber) const noexcept {
        return dayNumber >= yearStart[0] && dayNumber < yearStart[kYears];
    }
    constexpr bool coversYear(int year) const noexcept { return year >= kFirstYear && year < kFirstYear + kYears; }
    constexpr bool leapAt(int index) const noexcept { return yearStart[index + 1] - yearStart[index] == 366; }

    // Index of the year holding dayNumber, which coversDay() must accept.
    static int indexOf(__int64 dayNumber) noexcept {
        return CivilTables::PlaceOf(static_cast<uint32_t>(dayNumber - CivilTables::kOriginDay)).year - kFirstYear;
    }
};

inline constexpr Tables kTables{};
static_assert(kTables.yearStart[0] == CivilTables::kFirstDay &&
              kTables.yearStart[Tables::kYears] - kTables.yearStart[0] == CivilTables::kDays);

// DayToCivil, through the tables where they reach.
inline Civil DayToCivilFast(__int64 dayNumber) noexcept {
    if (!kTables.coversDay(dayNumber))
        return DayToCivil(dayNumber);
    const CivilTables::DayPlace place = CivilTables::PlaceOf(static_cast<uint32_t>(dayNumber - CivilTables::kOriginDay));
    const unsigned monthDay = CivilTables::kTables.monthDay[place.monthDayEntry];
    return Civil{place.year, static_cast<int>(monthDay & 0xFF), static_cast<int>(monthDay >> 8)};
}

// The day number of a valid date, or -1 with valid false; day 100 is the
// month's last day. The same as validating and then calling YMDToDay.
inline __int64 ValidatedDay(int year, int month, int day, bool &valid) noexcept {
    valid = false;
    if (month < 1 || month > 12)
        return -1;
    if (kTables.coversYear(year)) {
        const int i = year - Tables::kFirstYear;
        const int leap = kTables.leapAt(i) ? 1 : 0;
        const int length = kTables.daysBefore[leap][month] - kTables.daysBefore[leap][month - 1];
        if (day == 100)
            day = length;
        else if (day < 1 || day > length)
            return -1;
        valid = true;
        return kTables.yearStart[i] + kTables.daysBefore[leap][month - 1] + day - 1;
    }
    const int length = MonthLength(year, month);
    if (day == 100)
        day = length;
    else if (day < 1 || day > length)
        return -1;
    valid = true;
    return YMDToDay(year, month, day);
}

} // namespace TarnkitA201::Calendar
