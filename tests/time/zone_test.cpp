// Zones from rule text, checked against the C library's own reading of the
// equivalent POSIX TZ rule, and the machine's zone read from TZ and zone
// files. This program sets TZ for itself; no other test shares its process.

#include "support/testsupport.h"
#include "tarnkit/stimezone.h"
#include "time/posixtz.h"
#include "time/zonebuilder.h"

#include <cstdlib>
#include <ctime>
#include <fstream>
#include <gtest/gtest.h>
#include <iomanip>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>

using namespace TarnkitA201;

namespace {

// Our rule text and the C library's, for both hemispheres, half-hour
// offsets, transitions at 24:00, daylight time in winter, the default dates,
// and no daylight time at all.
const std::pair<const char *, const char *> kRules[] = {
    {"CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00", "CET-1CEST,M3.5.0,M10.5.0/3"},
    {"EST,300,EDT,-60;3.2.0/02:00,11.1.0/02:00", "EST5EDT,M3.2.0,M11.1.0"},
    {"XST,300,XDT", "XST5XDT,M4.1.0/2,M10.5.0/2"},
    {"AEST,-600,AEDT,-60;10.1.0/02:00,4.1.0/03:00", "AEST-10AEDT,M10.1.0,M4.1.0/3"},
    {"ACST,-570,ACDT,-60;10.1.0/02:00,4.1.0/03:00", "ACST-9:30ACDT,M10.1.0,M4.1.0/3"},
    {"NST,210,NDT,-60;3.2.0/02:00,11.1.0/02:00", "NST3:30NDT,M3.2.0,M11.1.0"},
    {"-04,240,-03,-60;9.1.6/24:00,4.1.6/24:00", "<-04>4<-03>,M9.1.6/24,M4.1.6/24"},
    {"IST,-60,GMT,60;10.5.0/02:00,3.5.0/01:00", "IST-1GMT0,M10.5.0,M3.5.0/1"},
    {"IST,-330", "IST-5:30"},
    {"HST,600", "HST10"},
};

// Sets TZ for its lifetime and puts back what was there.
struct ScopedTZ {
    explicit ScopedTZ(const char *value) {
        if (const char *old = std::getenv("TZ"))
            previous = old;
        Set(value);
    }
    ~ScopedTZ() { Set(previous ? previous->c_str() : nullptr); }
    static void Set(const char *value) {
        value != nullptr ? setenv("TZ", value, 1) : unsetenv("TZ");
        tzset();
    }
    std::optional<std::string> previous;
};

STimeZone Rule(const char *text) { return STimeZone(SAnsiString(text)); }

} // namespace

TEST(ZoneRules, AgreeWithTheCLibraryEveryHourFrom1970To2100) {
    constexpr time_t kEnd = 4133980800; // 2101-01-01
    for (const auto &[rule, posix] : kRules) {
        ScopedTZ tz(posix);
        const STimeZone zone = Rule(rule);

        // The same zone reached through the POSIX translation.
        STimeZone translated = STimeZone::TZ_UTC();
        std::string why;
        ASSERT_TRUE(ZoneBuilder::FromPosixRule(posix, translated, why)) << why;
        EXPECT_EQ(std::string(translated.GetRules()), std::string(zone.GetRules()));

        // Every hour; every half hour where an offset has half hours.
        const bool halfHours = zone.StandardOffset() % 60 != 0 || zone.DaylightOffset() % 60 != 0;
        int mismatches = 0;
        for (time_t t = 0; t < kEnd && mismatches < 5; t += halfHours ? 1800 : 3600) {
            tm expected{};
            ASSERT_NE(localtime_r(&t, &expected), nullptr);
            const SDateTime when = sicTimespecToSDateTime(timespec{t, 0});
            short y;
            unsigned char mo, d, wd, h, mi, s;
            when.GetDateTime(y, mo, d, wd, h, mi, s, zone);
            const bool same = zone.InDST(when) == (expected.tm_isdst > 0) &&
                              zone.UTCOffset(when).GetTotalMilliseconds() == -expected.tm_gmtoff * 1000LL &&
                              y == expected.tm_year + 1900 && mo == expected.tm_mon + 1 && d == expected.tm_mday &&
                              wd == expected.tm_wday && h == expected.tm_hour && mi == expected.tm_min &&
                              s == expected.tm_sec;
            if (!same && ++mismatches <= 5)
                ADD_FAILURE() << rule << " at " << t << ": ours " << y << "-" << int(mo) << "-" << int(d) << " "
                              << int(h) << ":" << int(mi) << " dst " << zone.InDST(when) << ", C library "
                              << std::put_time(&expected, "%F %R") << " dst " << expected.tm_isdst;
        }
    }
}

TEST(ZoneRules, ReadRegenerateAndSurviveMalformedRuleText) {
    const std::pair<const char *, const char *> regenerated[] = {
        {"UTC,0", "UTC,0"},
        {"EST,300,EDT", "EST,300,EDT,-60;4.1.0/02:00,10.5.0/02:00"},
        {"PST,480,PDT,-60;3.2.0/02:00,11.1.0/02:00", "PST,480,PDT,-60;3.2.0/02:00,11.1.0/02:00"},
        // Separators are not checked, and a rule may stop part way.
        {"X,0,Y;3x2x0/1x30,11x1x0/2x0", "X,0,Y,-60;3.2.0/01:30,11.1.0/02:00"},
        {"X,0,Y;3", "X,0,Y,-60;3.1.0/02:00,10.5.0/02:00"},
        {"X,0,Y,30;5.2.1", "X,0,Y,30;5.2.1/02:00,10.5.0/02:00"},
        // The number reader saturates instead of overflowing.
        {"X,99999999999999999999", "X,-1"}};
    for (const auto &[text, rules] : regenerated) {
        EXPECT_EQ(std::string(Rule(text).GetRules()), rules) << text;
        EXPECT_EQ(std::string(Rule(rules).GetRules()), rules) << text;
    }
    EXPECT_EQ(std::string(STimeZone::TZ_UTC().GetRules()), "UTC,0");
    EXPECT_FALSE(Rule("UTC,0").DSTEnabled());
    EXPECT_TRUE(Rule("EST,300,EDT").DSTEnabled());
    EXPECT_EQ(Rule("EST,300,EDT").DaylightOffset(), 240);
    EXPECT_EQ(std::string(STimeZone(300, true).GetRules()), "XST,300,XDT,-60;4.1.0/02:00,10.5.0/02:00");
    EXPECT_EQ(std::string(STimeZone(-60, false).GetRules()), "XST,-60");

    // The number reader: a minus sign anywhere negates, "+" ends the number.
    EXPECT_EQ(Rule("A,3-00").StandardOffset(), -300);
    EXPECT_EQ(Rule("A,+60").StandardOffset(), 0);
    // A name alone: offset 0 and no daylight time.
    EXPECT_EQ(Rule("LONELY").StandardOffset(), 0);
    EXPECT_FALSE(Rule("LONELY").DSTEnabled());

    // Malformed rules still give usable zones.
    TarnkitTest::CapturingSink sink;
    const SDateTime summer(2024, 7, 1, 12, 0, 0, 0, STimeZone::TZ_UTC());
    for (const char *text : {"", ",", ",,,,;;;;", "X,99999999999999999999999", "X,0,Y;0.1.0,10.5.0",
                             "X,0,Y;13.1.0,10.5.0", "X,0,Y;3.0.0,10.5.0", "X,0,Y;3.9.0,10.5.0", "X,0,Y;3.1.7,10.5.0",
                             "X,0,Y;300.1.0/999999:99999,10.5.0", "X,0,Y;3.1.0/", "X,0,Y;-",
                             "X,-,Y,-;-.-.-/-:-,-.-.-/-:-"}) {
        const STimeZone zone = Rule(text);
        zone.InDST(summer);
        zone.UTCOffset(summer);
        zone.GetRules();
        zone.GetName(SDateTime());
        EXPECT_FALSE(zone.InDST(SDateTime())) << text; // no day, no daylight time
    }
    // A month out of range means daylight time is never in force, with a
    // trace line saying so.
    sink.clear();
    const STimeZone month13 = Rule("X,0,Y;13.1.0,10.5.0");
    EXPECT_TRUE(month13.DSTEnabled());
    EXPECT_FALSE(month13.InDST(summer));
    EXPECT_TRUE(sink.saw("never in force"));
}

TEST(ZoneRules, TransitionEdgeCases) {
    const STimeZone &utc = STimeZone::TZ_UTC();
    const auto at = [&utc](int y, int m, int d, int h) { return SDateTime(y, m, d, h, 0, 0, 0, utc); };
    // Week 5 of a month with four such weekdays is the fourth: in February
    // 2023 the last Tuesday is the 28th, in March 2023 the last Friday the 31st.
    const STimeZone lastTuesday = Rule("S,0,D,-60;2.5.2/00:00,10.1.0/00:00");
    EXPECT_FALSE(lastTuesday.InDST(SDateTime(2023, 2, 27, 23, 59, 0, 0, utc)));
    EXPECT_TRUE(lastTuesday.InDST(at(2023, 2, 28, 0)));
    // In a leap February the month's common-year length still rules: 2024's
    // last Thursday (the 29th) resolves a week early, to the 22nd.
    const STimeZone lastThursday = Rule("S,0,D,-60;2.5.4/00:00,10.1.0/00:00");
    EXPECT_TRUE(lastThursday.InDST(at(2024, 2, 22, 0)));
    EXPECT_FALSE(lastThursday.InDST(at(2024, 2, 21, 23)));

    // The southern hemisphere: daylight time in January.
    const STimeZone south = Rule("AEST,-600,AEDT,-60;10.1.0/02:00,4.1.0/03:00");
    EXPECT_TRUE(south.InDST(at(2024, 1, 15, 0)));
    EXPECT_FALSE(south.InDST(at(2024, 7, 15, 0)));
    EXPECT_EQ(std::string(south.GetName(at(2024, 1, 15, 0))), "AEDT");
    EXPECT_EQ(std::string(south.GetName(at(2024, 7, 15, 0))), "AEST");

    // Civil times stored raw: the skipped spring hour counts as standard
    // time, and the repeated autumn hour as daylight time.
    const STimeZone us = Rule("EST,300,EDT");
    for (const auto &[month, day, hour, minute, dst] :
         {std::tuple{4, 7, 1, 59, false}, std::tuple{4, 7, 2, 30, false}, std::tuple{4, 7, 3, 0, true},
          std::tuple{10, 27, 0, 59, true}, std::tuple{10, 27, 1, 30, true}, std::tuple{10, 27, 2, 0, false}}) {
        const SDateTime raw(SDate(2024, month, day), STime(0, 0, 0, (hour * 60 + minute) * 60000L));
        EXPECT_EQ(us.InDST(raw, false), dst) << month << "-" << day << " " << hour << ":" << minute;
    }
    // The field constructor converts the civil time with that rule.
    EXPECT_EQ(SDateTime(2024, 7, 1, 12, 0, 0, 0, us), at(2024, 7, 1, 16));
    EXPECT_EQ(SDateTime(2024, 1, 1, 12, 0, 0, 0, us), at(2024, 1, 1, 17));

    // The 0 shortcut needs both a zero offset and no daylight time.
    EXPECT_EQ(Rule("GMT,0,BST").UTCOffset(at(2024, 7, 1, 12)).GetTotalMinutes(), -60);
    EXPECT_EQ(utc.UTCOffset().GetTotalMilliseconds(), 0);
    // Years outside the prepared table follow the same rule.
    EXPECT_TRUE(us.InDST(at(1850, 7, 1, 12)));
    EXPECT_TRUE(us.InDST(at(2500, 7, 1, 12)));
    EXPECT_FALSE(us.InDST(at(2500, 12, 1, 12)));
}

TEST(MachineZone, ReadFromTheTZVariableAndZoneFiles) {
    // TZ, the rules read from it, and a fragment of the trace line expected.
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"CET-1CEST,M3.5.0,M10.5.0/3", "CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00", nullptr},
        {":Europe/Berlin", "CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00", nullptr},
        {"Europe/Dublin", "IST,-60,GMT,60;10.5.0/02:00,3.5.0/01:00", nullptr},
        {"<+0330>-3:30", "+0330,-210", nullptr},
        // Daylight dates as days of the year cannot be held: the standard
        // clock is kept.
        {"XST5XDT,J60,J300", "XST,300", "days of the year"},
        // A rule without dates takes the C library's default dates.
        {"EST5EDT4", "EST,300,EDT,-60;3.2.0/02:00,11.1.0/02:00", nullptr},
        {":No/Such_Zone", "UTC,0", "UTC is used"},
        {"Not a rule", "UTC,0", "UTC is used"},
        {"1234", "UTC,0", "UTC is used"},
        {"", "UTC,0", nullptr}};
    for (const auto &[value, rules, trace] : cases) {
        TarnkitTest::CapturingSink sink;
        ScopedTZ tz(value);
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), rules) << value;
        EXPECT_TRUE(trace == nullptr || sink.saw(trace)) << value;
    }

    // A zone file's footer rule needs a well-formed file.
    std::ifstream file("/usr/share/zoneinfo/Europe/Berlin", std::ios::binary);
    const std::string berlin{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    ASSERT_FALSE(berlin.empty());
    std::string rule;
    ASSERT_TRUE(TzifFooter(berlin, rule));
    EXPECT_EQ(rule, "CET-1CEST,M3.5.0,M10.5.0/3");
    // Every truncation fails cleanly, version 1 files carry no rule, and
    // nor does a file without the magic.
    for (size_t n = 0; n + 1 < berlin.size(); n += 7)
        EXPECT_FALSE(TzifFooter(std::string_view(berlin).substr(0, n), rule)) << n;
    for (const auto &[at, byte] : {std::pair{4, '\0'}, std::pair{0, 'X'}}) {
        std::string changed = berlin;
        changed[at] = byte;
        EXPECT_FALSE(TzifFooter(changed, rule)) << at;
    }
}
