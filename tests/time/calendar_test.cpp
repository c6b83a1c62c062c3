// Calendar arithmetic of the date values, checked against C++20 civil dates
// for the Gregorian range and against the Julian day formula before it.

#include "support/testsupport.h"
#include "tarnkit/sdatetime.h"
#include "tarnkit/stimezone.h"
#include "time/calendar.h"

#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <tuple>

using namespace TarnkitA201;
namespace chr = std::chrono;

namespace {

constexpr int32_t kEpochDay = 2440587;
using Ymd = std::tuple<short, unsigned char, unsigned char>;

// The library's day-number-to-date conversion; an unset field stays 1.
Ymd LibraryYmd(long n) {
    short y = 1;
    unsigned char m = 1, d = 1;
    SDate::JulianToYMD(n, y, m, d);
    return {y, m, d};
}

// The classic floating-point form of the conversion, kept here as the
// reference the library's integer version must match.
Ymd ReferenceYmd(long long value) {
    long long j = value + 1;
    if (j >= 2299161) {
        long long a = static_cast<long long>(std::trunc((j - 1867216.25) / 36524.25));
        j = j + 1 + a - a / 4;
    }
    const long long b = j < 1721424 ? j + 1158 : j + 1524;
    const long long c = static_cast<long long>(std::trunc((b - 122.1) / 365.25));
    const long long e = b - static_cast<long long>(std::trunc(365.25 * c));
    const long long f = static_cast<long long>(std::trunc(e / 30.6001));
    const long long d = e - static_cast<long long>(std::trunc(30.6001 * f));
    const long long m = f < 13.5 ? f - 1 : f - 13;
    const long long y = m > 2.5 ? c - 4716 : c - 4715;
    return {static_cast<short>(y), static_cast<unsigned char>(m), static_cast<unsigned char>(d)};
}

// Julian-calendar day number (JDN - 1) of an AD date.
long long JulianCalendarDay(long long y, long long m, long long d) {
    return 367 * y - (7 * (y + 5001 + (m - 9) / 7)) / 4 + (275 * m) / 9 + d + 1729777 - 1;
}

} // namespace

TEST(Calendar, GregorianDaysMatchChronoCivilDates) {
    const int32_t first = SDate(1582, 10, 15).GetDayNumber();
    const int32_t last = SDate(32767, 12, 31).GetDayNumber();
    ASSERT_EQ(first, 2299160);
    for (int32_t n = first; n <= last; ++n) {
        const chr::sys_days sys{chr::days{n - kEpochDay}};
        const chr::year_month_day civil{sys};
        const auto [y, m, d] = LibraryYmd(n);
        ASSERT_EQ(std::tuple(int(y), unsigned(m), unsigned(d)),
                  std::tuple(int(civil.year()), unsigned(civil.month()), unsigned(civil.day()))) << "day " << n;
        ASSERT_EQ(SDate(y, m, d).GetDayNumber(), n) << "day " << n << " does not come back";
        ASSERT_EQ(SDate::FromDayNumber(n).GetDayOfWeek(), chr::weekday(sys).c_encoding()) << "weekday of " << n;
    }
}

TEST(Calendar, LookupTablesAgreeWithTheFormulas) {
    // Every day the tables cover, read the way the inline reader reads it.
    const auto &tables = CivilTables::kTables;
    for (int32_t n = CivilTables::kFirstDay; n < CivilTables::kFirstDay + CivilTables::kDays; ++n) {
        const Calendar::Civil civil = Calendar::DayToCivil(n);
        const CivilTables::DayPlace place = CivilTables::PlaceOf(static_cast<uint32_t>(n - CivilTables::kOriginDay));
        const unsigned monthDay = tables.monthDay[place.monthDayEntry];
        ASSERT_TRUE(place.year == civil.year && static_cast<int>(monthDay & 0xFF) == civil.month &&
                    static_cast<int>(monthDay >> 8) == civil.day)
            << "day " << n;
        ASSERT_EQ(static_cast<int>(place.weekday), Calendar::DayOfWeek(n)) << "weekday of " << n;
    }
    // Every local minute of the UTC day before, the day itself and the day after.
    for (int i = 0; i < 3 * 1440; ++i)
        ASSERT_EQ(tables.localMinute[i], ((i % 60) << 8 | i % 1440 / 60) + (i / 1440) * 16384) << "minute " << i;
}

TEST(Calendar, JulianPartMatchesJulianFormulaAndIsContiguous) {
    // AD years up to the reform follow the Julian calendar.
    long long expected = JulianCalendarDay(1, 1, 1);
    for (short y = 1; y <= 1582; ++y)
        for (unsigned char m = 1; m <= 12; ++m)
            for (unsigned char d = 1; d <= 31; ++d) {
                const SDate date(y, m, d);
                if (!date.IsValid() || (y == 1582 && (m > 10 || (m == 10 && d > 4))))
                    continue;
                ASSERT_EQ(date.GetDayNumber(), JulianCalendarDay(y, m, d)) << y << "-" << int(m) << "-" << int(d);
                ASSERT_EQ(date.GetDayNumber(), expected++);
            }
    // The reform: the day after 1582-10-04 is 1582-10-15, and the ten dropped
    // days are still accepted, landing on later day numbers.
    EXPECT_EQ(SDate(1582, 10, 15) - SDate(1582, 10, 4), STimeSpan(1, 0, 0, 0, 0));
    EXPECT_TRUE(SDate(1582, 10, 10).IsValid());
    EXPECT_EQ(SDate(1582, 10, 10).GetDayNumber(), SDate(1582, 10, 20).GetDayNumber());
}

TEST(Calendar, IntegerConversionMatchesFloatingPointFormulaEverywhere) {
    // Every day from the earliest valid date through the latest, then a
    // spread over the whole 32-bit range.
    for (long long n = SDate(-32768, 1, 1).GetDayNumber(); n < 2299160; ++n)
        ASSERT_TRUE(LibraryYmd(static_cast<long>(n)) == ReferenceYmd(n)) << n;
    for (long long n = INT32_MIN + 1; n < INT32_MAX - 7919; n += 7919)
        ASSERT_TRUE(LibraryYmd(static_cast<long>(n)) == ReferenceYmd(n)) << n;
    // Beyond the day range there is no date.
    const auto [y, m, d] = LibraryYmd(static_cast<long>(INT32_MAX) + 1);
    EXPECT_EQ(std::tuple(y, m), std::tuple(0, 0));
}

TEST(Calendar, DateValidationArithmeticAndWeeks) {
    EXPECT_EQ(SDate(1970, 1, 1).GetDayNumber(), 2440587);
    EXPECT_EQ(SDate(1970, 1, 1).GetDayOfWeek(), 4);
    EXPECT_EQ(SDate(2000, 2, 100), SDate(2000, 2, 29));
    EXPECT_EQ(SDate(1900, 2, 100), SDate(1900, 2, 28));
    // 1500 is a Julian leap year, 1900 a Gregorian common year.
    EXPECT_TRUE(SDate(1500, 2, 29).IsValid());
    for (const SDate &bad : {SDate(1900, 2, 29), SDate(2023, 0, 1), SDate(2023, 13, 1), SDate(2023, 4, 31),
                             SDate(2023, 4, 0), SDate(2023, 4, 99), SDate()})
        EXPECT_FALSE(bad.IsValid()) << bad.GetDayNumber();
    EXPECT_EQ(SDate().GetDayNumber(), SDate::InvalidDate);

    // No year 0: year -1 (1 BC) round-trips, and year 0 aliases it.
    short y;
    unsigned char m, d;
    SDate(-1, 3, 15).GetYearMonthDay(y, m, d);
    EXPECT_EQ(std::tuple(y, m, d), std::tuple(-1, 3, 15));
    EXPECT_EQ(SDate(0, 3, 15), SDate(-1, 3, 15));
    EXPECT_EQ(SDate(-4713, 1, 1).GetDayNumber(), 0);

    const SDate leapEve(2024, 2, 28);
    EXPECT_EQ(leapEve + STimeSpan(1, 0, 0, 0, 0), SDate(2024, 2, 29));
    EXPECT_EQ(leapEve + STimeSpan(2, 23, 0, 0, 0), SDate(2024, 3, 1)); // whole days only
    EXPECT_EQ(leapEve - STimeSpan(-1, 0, 0, 0, 0), SDate(2024, 2, 29));
    EXPECT_EQ(SDate(2025, 1, 1) - SDate(2024, 1, 1), STimeSpan(366, 0, 0, 0, 0));
    EXPECT_FALSE((SDate() + STimeSpan(1, 0, 0, 0, 0)).IsValid());
    // Beyond the day range: invalid, not wrapped.
    EXPECT_FALSE((SDate::FromDayNumber(INT32_MAX) + STimeSpan(1, 0, 0, 0, 0)).IsValid());

    // 2024-09-01 is a Sunday: in weeks from Monday it is alone in week 1.
    for (const auto &[day, firstWeekday, week] :
         {std::tuple{1, 0, 1}, std::tuple{7, 0, 1}, std::tuple{8, 0, 2}, std::tuple{2, 1, 2}, std::tuple{30, 1, 6}})
        EXPECT_EQ(SDate(2024, 9, day).GetWeekOfMonth(firstWeekday), week) << day << " " << firstWeekday;
}

TEST(Calendar, SpanPartsTruncateTowardsZero) {
    const STimeSpan minusOne(-1LL);
    EXPECT_EQ(std::tuple(minusOne.GetDays(), minusOne.GetMilliseconds()), std::tuple(0, -1));
    const STimeSpan s(-1, -2, -3, -4, -5);
    EXPECT_EQ(std::tuple(s.GetDays(), s.GetHours(), s.GetMinutes(), s.GetSeconds(), s.GetMilliseconds()),
              std::tuple(-1, -2, -3, -4, -5));
    EXPECT_EQ(s.GetTotalHours(), -26);
    EXPECT_EQ(STimeSpan(2, 3, 4, 5, 6).GetTotalMilliseconds(), 2 * 86400000LL + 3 * 3600000 + 4 * 60000 + 5006);
    EXPECT_EQ(STimeSpan(0, 0, 0, 90, 0).GetTotalMinutes(), 1);
    EXPECT_TRUE(STimeSpan(5LL) > STimeSpan(-5LL));
    EXPECT_EQ(STimeSpan(5LL) - STimeSpan(7LL), STimeSpan(-2LL));

    // Mixed signs: an assertion, and the sum all the same.
    TarnkitTest::CapturingSink sink;
    const STimeSpan mixed(1, -1, 0, 0, 0);
    EXPECT_EQ(mixed.GetTotalHours(), 23);
    EXPECT_TRUE(sink.saw("((nDays >= 0) && (nHours >= 0) && (nMinutes >= 0) && (nSeconds >= 0) && "
                         "(nMilliseconds >= 0)) || ((nDays <= 0) && (nHours <= 0) && (nMinutes <= 0) && "
                         "(nSeconds <= 0) && (nMilliseconds <= 0))"));
}

TEST(Calendar, TimeOfDayWrapsWithinOneDayAndMomentsCarryDays) {
    const STimeZone &utc = STimeZone::TZ_UTC();
    const STime t(23, 30, 15, 250, utc);
    EXPECT_EQ(t.GetRawValue(), 84615250);
    EXPECT_EQ((t + STimeSpan(0, 1, 0, 0, 0)).GetRawValue(), 1815250);
    EXPECT_EQ((t - STimeSpan(-1, -1, 0, 0, 0)).GetRawValue(), 1815250); // whole days drop out
    EXPECT_EQ(std::tuple(t.GetSecond(), t.GetMillisecond()), std::tuple(15, 250));

    // A zone one hour east: civil 00:30 is 23:30 UTC.
    const STimeZone east(SAnsiString("E,-60"));
    const STime early(0, 30, 0, 0, east);
    EXPECT_EQ(early.GetRawValue(), 23 * 3600000 + 30 * 60000);
    EXPECT_EQ(std::tuple(early.GetHour(east), early.GetHour(utc)), std::tuple(0, 23));
    // By the civil clock 00:30 comes before 01:00, though not by raw value.
    const STime later(1, 0, 0, 0, east);
    EXPECT_TRUE(early > later);
    EXPECT_EQ(std::tuple(STimeComparison(early, later, east), STimeComparison(later, early, east),
                         STimeComparison(early, early, east)),
              std::tuple(-1, 1, 0));

    // Moments carry whole days.
    const SDateTime eve(2024, 12, 31, 23, 0, 0, 0, utc);
    const SDateTime next = eve + STimeSpan(0, 2, 0, 0, 0);
    EXPECT_EQ(next, SDateTime(2025, 1, 1, 1, 0, 0, 0, utc));
    EXPECT_EQ(next - STimeSpan(0, 2, 0, 0, 0), eve);
    EXPECT_EQ(eve - STimeSpan(-1, -2, 0, 0, 0), SDateTime(2025, 1, 2, 1, 0, 0, 0, utc));
    EXPECT_EQ(next - eve, STimeSpan(0, 2, 0, 0, 0));
    EXPECT_EQ(SDateTime(1970, 1, 1, 0) - SDateTime(2000, 1, 1, 0), STimeSpan(-10957LL * 86400000));
    EXPECT_TRUE(eve < next);
    EXPECT_TRUE(next >= eve);
    EXPECT_FALSE(SDateTime().IsValid());

    // An invalid half stays invalid; the other moves.
    const SDateTime moved = SDateTime(SDate(2024, 1, 1), STime()) + STimeSpan(1, 5, 0, 0, 0);
    EXPECT_EQ(moved.GetUTCDate(), SDate(2024, 1, 2));
    EXPECT_FALSE(moved.GetUTCTime().IsValid());

    // A civil moment in a zone west of Greenwich is later in UTC.
    const STimeZone west(SAnsiString("W,300"));
    const SDateTime civil(2024, 6, 1, 22, 0, 0, 0, west);
    EXPECT_EQ(civil, SDateTime(2024, 6, 2, 3, 0, 0, 0, utc));
    EXPECT_EQ(std::tuple(civil.GetDay(west), civil.GetHour(west)), std::tuple(1, 22));
    EXPECT_EQ(civil.GetDate(west), SDate(2024, 6, 1));

    TarnkitTest::CapturingSink sink;
    EXPECT_FALSE(STime(24, 0, 0, 0, utc).IsValid());
    EXPECT_TRUE(sink.saw("false"));
    STime viaSet;
    viaSet.Set(1, 60, 0, 0, utc);
    EXPECT_FALSE(viaSet.IsValid());
    EXPECT_TRUE(sink.saw("(hour < 24) && (minute < 60) && (second < 60) && (millisecond < 1000)"));
    EXPECT_FALSE((STime() + STimeSpan(5LL)).IsValid());
}
