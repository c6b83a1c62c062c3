// The date pattern engine and the conversions to and from the platform's
// time types, SYSTEMTIME fields and OLE dates.

#include "support/testsupport.h"
#include "tarnkit/slocale.h"
#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>
#include <sys/time.h>
#include <tuple>

using namespace TarnkitA201;

namespace {

const STimeZone &Utc() { return STimeZone::TZ_UTC(); }

std::string Fmt(const SDateTime &when, const char *pattern, const STimeZone &zone = Utc()) {
    return std::string(when.Format(pattern, zone));
}

// The process runs in UTC, so that TZ_Local and the C library's local time
// agree with the zones the tests name.
const bool g_inUtc = [] {
    setenv("TZ", "UTC0", 1);
    tzset();
    return true;
}();

} // namespace

TEST(DatePattern, FieldsPaddingNamesQuotesZonesAndHalves) {
    const SDateTime when(2024, 3, 7, 9, 5, 3, 42, Utc()), summer(2024, 7, 1, 12, 0, 0, 0, Utc());
    // 2024-03-03 is a Sunday; names are the C locale's.
    const SDateTime midnight(2024, 3, 3, 0, 0, 0, 0, Utc()), noon(2024, 3, 3, 12, 0, 0, 0, Utc());
    // A moment with one invalid half prints nothing for that half.
    const SDateTime dateOnly(SDate(2024, 3, 7), STime()), timeOnly(SDate(), STime(9, 5, 3, 0, Utc()));
    const std::tuple<SDateTime, const char *, const char *> cases[] = {
        {when, "yyyy-MM-dd HH:mm:ss", "2024-03-07 09:05:03"}, {when, "yyyyMMdd_HHmmss", "20240307_090503"},
        {when, "yyyy-MM-dd@HH:mm:ss.SS", "2024-03-07@09:05:03.042"}, // S runs print three digits
        {when, "d/M/y H:m:s.S", "7/3/24 9:5:3.42"}, {when, "yyyy-MM-dd\tHH:mm:ss\t", "2024-03-07\t09:05:03\t"},
        {midnight, "h hh t tt", "12 12 A AM"}, {noon, "h hh t tt", "12 12 P PM"}, {noon, "g", "A.D."},
        {SDateTime(2024, 3, 3, 13, 0, 0, 0, Utc()), "h:mm tt", "1:00 PM"},
        {noon, "ddd',' dd MMM yyyy HH':'mm':'ss", "Sun, 03 Mar 2024 12:00:00"},
        {noon, "dddd d MMMM", "Sunday 3 March"}, {noon, "ddddddd MMMMMM", "Sunday March"},
        // Years are not padded; y and yy take the year modulo 100.
        {SDateTime(999, 5, 6, 0, 0, 0, 0, Utc()), "yyyy y yy", "999 99 99"},
        {SDateTime(2005, 5, 6, 0, 0, 0, 0, Utc()), "y yy yyy", "5 05 2005"},
        // An open quote takes the rest of the pattern.
        {when, "'HH' \"mm\" HH", "HH mm 09"}, {when, "HH 'open quote dd MM", "09 open quote dd MM"},
        {when, "HH \"", "09 "}, {when, "'", ""}, {when, "''", ""}, {when, "'it''s'", "its"}, {when, "", ""},
        {when, "Q: [HH] #", "Q: [09] #"},
        // The event-log layout: the last quote opens a run that takes the
        // text, and an apostrophe inside it closes the run.
        {when, "M'/'d'/'yy'   'H':'mm':'ss'    ''text", "3/7/24   9:05:03    text"},
        {when, "H'    it's here", "9    it3 9ere"},
        {dateOnly, "yyyy-MM-dd HH:mm:ss.SSS tt", "2024-03-07 ::. "}, {SDateTime(), "yyyy'x'HH", "x"},
        {timeOnly, "yyyy-MM-dd ddd g HH:mm:ss", "--   09:05:03"},
    };
    for (const auto &[moment, pattern, expected] : cases)
        EXPECT_EQ(Fmt(moment, pattern), expected) << pattern;
    EXPECT_EQ(std::string(when.Format(nullptr, Utc())), "");

    // Long runs and long literals outgrow any fixed buffer.
    const std::string longLiteral(1000, '#');
    EXPECT_EQ(Fmt(when, (longLiteral + "HH").c_str()), longLiteral + "09");
    EXPECT_EQ(Fmt(when, std::string(500, 'H').c_str()), "09");
    std::string many;
    for (int i = 0; i < 300; ++i)
        many += "yyyy-";
    EXPECT_EQ(Fmt(when, many.c_str()).size(), 300u * 5);

    // Trace parameters: the local zone, or a fixed text when invalid.
    EXPECT_EQ(std::string(STraceParameter(SDateTime(2024, 3, 7, 9, 5, 3, 7, Utc())).GetString()),
              "2024-03-07@09:05:03.007");
    EXPECT_EQ(std::string(STraceParameter(SDateTime()).GetString()), "invalid-date-time");
    EXPECT_EQ(std::string(STraceParameter(dateOnly).GetString()), "invalid-date-time");

    // In the zone given.
    const STimeZone cet(SAnsiString("CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00"));
    EXPECT_EQ(Fmt(SDateTime(2024, 1, 31, 23, 30, 0, 0, Utc()), "yyyy-MM-dd HH:mm", cet), "2024-02-01 00:30");
    EXPECT_EQ(Fmt(summer, "HH:mm", cet), "14:00");
    // The era follows the stored UTC day; the zone does not move it.
    EXPECT_EQ(Fmt(summer, "g", cet), "A.D.");
    // Date and time halves alone.
    EXPECT_EQ(std::string(SDate(2024, 2, 29).Format("dd.MM.yyyy HH")), "29.02.2024 00");
    EXPECT_EQ(std::string(STime(9, 0, 0, 0, Utc()).Format("HH:mm", cet)).size(), 5u);

    // A spread of days and hours against strftime in the C locale.
    for (int day = 0; day < 3000; day += 37) {
        for (int hour = 0; hour < 24; hour += 5) {
            const time_t t = static_cast<time_t>(day) * 86400 * 7 + hour * 3600 + 61;
            tm fields{};
            gmtime_r(&t, &fields);
            char expected[64];
            strftime(expected, sizeof expected, "%Y-%m-%d %H:%M:%S %I %y", &fields);
            ASSERT_EQ(Fmt(sicTimespecToSDateTime(timespec{t, 0}), "yyyy-MM-dd HH:mm:ss hh yy"), expected);
        }
    }
}

TEST(Conversions, SystemTimeAndTm) {
    const STimeZone cet(SAnsiString("CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00"));
    _SYSTEMTIME st{2024, 7, 0, 1, 14, 30, 15, 250};
    const SDateTime fromSt = sicSYSTEMTIMEToSDateTime(&st, cet);
    EXPECT_EQ(fromSt, SDateTime(2024, 7, 1, 12, 30, 15, 250, Utc()));
    const _SYSTEMTIME back = sicSDateTimeToSYSTEMTIME(&fromSt, cet);
    // 2024-07-01 is a Monday.
    EXPECT_EQ(std::tuple(back.wYear, back.wHour, back.wDayOfWeek, back.wMilliseconds), std::tuple(2024, 14, 1, 250));
    EXPECT_FALSE(sicSYSTEMTIMEToSDateTime(nullptr, cet).IsValid());

    const tm fields = sicSDateTimeToTm(&fromSt, cet);
    EXPECT_EQ(std::tuple(fields.tm_year, fields.tm_mon, fields.tm_yday, fields.tm_isdst), std::tuple(124, 6, 182, 1));
    EXPECT_EQ(sicTmToSDateTime(&fields, cet), SDateTime(2024, 7, 1, 12, 30, 15, 0, Utc())); // no milliseconds
    EXPECT_FALSE(sicTmToSDateTime(nullptr, cet).IsValid());

    _SYSTEMTIME out{};
    EXPECT_TRUE(fromSt.GetSYSTEMTIME(&out, Utc()));
    EXPECT_EQ(out.wHour, 12);

    TarnkitTest::CapturingSink sink;
    EXPECT_FALSE(fromSt.GetSYSTEMTIME(nullptr, Utc()));
    EXPECT_TRUE(sink.saw("FALSE"));
    const SDateTime invalid;
    EXPECT_EQ(sicSDateTimeToSYSTEMTIME(&invalid, Utc()).wYear, 0);
    EXPECT_EQ(sicSDateTimeToTm(nullptr, Utc()).tm_year, 0);
    EXPECT_TRUE(sink.saw("Input SDateTime value is NULL or not valid"));
    sink.clear();
    EXPECT_FALSE(SDateTime(static_cast<tm *>(nullptr), Utc()).IsValid());
    EXPECT_TRUE(sink.saw("pTm is NULL"));
    EXPECT_FALSE(SDateTime(static_cast<_SYSTEMTIME *>(nullptr), Utc()).IsValid());
    EXPECT_TRUE(sink.saw("pST is NULL"));
}

TEST(Conversions, TimeTAndPosixClockTypes) {
    // The process runs in UTC, so the machine's local time is UTC too.
    const SDateTime when(2024, 7, 1, 12, 30, 15, 0, Utc());
    const __int64 t = 1719837015;
    EXPECT_EQ(sicTime_tToSDateTime(t, Utc()), when);
    EXPECT_EQ(SDateTime(t, Utc()), when);
    EXPECT_EQ(sicSDateTimeToTime_t(&when, Utc()), t);
    EXPECT_EQ(when.GetTimeT(Utc()), t);
    EXPECT_EQ(sicTime_tToSDateTime(t), when); // TZ_Local is UTC here

    TarnkitTest::CapturingSink sink;
    EXPECT_FALSE(sicTime_tToSDateTime(-1, Utc()).IsValid());
    EXPECT_FALSE(SDateTime(static_cast<__int64>(-1), Utc()).IsValid());
    EXPECT_TRUE(sink.saw("time_t is invalid"));
    EXPECT_FALSE(sicTime_tToSDateTime(INT64_MAX, Utc()).IsValid());

    // timespec and timeval: exact, before 1970 too.
    const SDateTime before = sicTimespecToSDateTime(timespec{-1, 999000000});
    EXPECT_EQ(before, SDateTime(1969, 12, 31, 23, 59, 59, 999, Utc()));
    timespec tsBack{};
    ASSERT_TRUE(sicSDateTimeToTimespec(before, tsBack));
    EXPECT_EQ(std::tuple(tsBack.tv_sec, tsBack.tv_nsec), std::tuple(-1, 999000000));
    const SDateTime fromTv = sicTimevalToSDateTime(timeval{1719837015, 123456});
    EXPECT_EQ(fromTv.GetMillisecond(), 123);
    timeval tvBack{};
    ASSERT_TRUE(sicSDateTimeToTimeval(fromTv, tvBack));
    EXPECT_EQ(std::tuple(tvBack.tv_sec, tvBack.tv_usec), std::tuple(1719837015, 123000));
    EXPECT_FALSE(sicSDateTimeToTimespec(SDateTime(), tsBack));
    EXPECT_FALSE(sicTimespecToSDateTime(timespec{0, -1}).IsValid());
    EXPECT_FALSE(sicTimespecToSDateTime(timespec{INT64_MAX, 0}).IsValid());

    // Now is now.
    const SDateTime now = SDateTime::GetCurrentDateTime();
    EXPECT_LT(std::llabs((now - sicTimespecToSDateTime(timespec{std::time(nullptr), 0})).GetTotalMilliseconds()), 2000);
}

TEST(Conversions, OleDates) {
    EXPECT_EQ(sicDATEToSDateTime(0.0, Utc()), SDateTime(1899, 12, 30, 0, 0, 0, 0, Utc()));
    EXPECT_EQ(sicDATEToSDateTime(-1.5, Utc()), SDateTime(1899, 12, 29, 12, 0, 0, 0, Utc()));
    EXPECT_EQ(sicDATEToSDateTime(45000.25, Utc()), SDateTime(2023, 3, 15, 6, 0, 0, 0, Utc()));
    EXPECT_EQ(std::string(sicDATEToUTCString(45000.25, Utc())), "2023-03-15 06:00:00");
    // Before the reform a date keeps its calendar label: OLE's Gregorian
    // 1499-12-30 becomes our Julian 1499-12-30.
    EXPECT_EQ(sicDATEToSDateTime(-146097.0, Utc()).GetDate(Utc()), SDate(1499, 12, 30));

    // Round trips within a millisecond, over years 100 to 9999.
    for (double v = -657434.0; v < 2958465.0; v += 1234.567) {
        const SDateTime when = sicDATEToSDateTime(v, Utc());
        ASSERT_TRUE(when.IsValid()) << v;
        const double back = sicSDateTimeToDATE(&when, Utc());
        if (v > -115870 && v < -115857)
            continue; // the ten OLE days the reform dropped land on other labels
        ASSERT_NEAR(back, v, 2e-8) << v;
    }
    const SDateTime noon(1899, 12, 30, 12, 0, 0, 0, Utc());
    EXPECT_DOUBLE_EQ(sicSDateTimeToDATE(&noon, Utc()), -0.5); // day 0 is not positive
    EXPECT_EQ(sicDATEToSDateTime(-0.5, Utc()), noon);
    EXPECT_DOUBLE_EQ(SDateTime(2023, 3, 15, 6, 0, 0, 0, Utc()).GetOleDate(Utc()), 45000.25);

    // No day number for these: the invalid value, never a crash.
    for (double v : {double(NAN), double(INFINITY), -double(INFINITY), 1e300, -1e18})
        EXPECT_FALSE(sicDATEToSDateTime(v, Utc()).IsValid()) << v;
    EXPECT_TRUE(sicDATEToSDateTime(0.99999999999999989, Utc()).IsValid());

    // A date variant reads as a local date in the thread's locale; any other
    // variant type is no date at all.
    const STimeZone &local = STimeZone::TZ_Local();
    const SAnsiString shown = sicVariantDateToSString(tagVARIANT{VT_DATE, 45000.25});
    EXPECT_FALSE(shown.isEmpty());
    EXPECT_EQ(std::string(shown), std::string(SLocale::FormatDateTime(0, sicDATEToSDateTime(45000.25, local), local)));
    EXPECT_TRUE(sicVariantDateToSString(tagVARIANT{8, 45000.25}).isEmpty());
}
