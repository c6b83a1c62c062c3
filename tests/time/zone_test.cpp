// Zones from rule text, checked against the C library's own reading of the
// equivalent POSIX TZ rule, and the machine's zone read from TZ and zone
// files. This program sets TZ for itself; no other test shares its process.

#include "support/testsupport.h"
#include "tarnkit/stimezone.h"
#include "time/posixtz.h"
#include "time/zonebuilder.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>

using namespace TarnkitA201;

namespace {

struct RulePair {
    const char *rule;  // ours
    const char *posix; // the C library's
};

// Both hemispheres, half-hour offsets, transitions at 24:00, daylight time
// in winter, the default dates, and no daylight time at all.
const RulePair kRules[] = {
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

class ScopedTZ {
public:
    explicit ScopedTZ(const char *value) {
        const char *old = std::getenv("TZ");
        m_had = old != nullptr;
        if (m_had)
            m_old = old;
        if (value != nullptr)
            setenv("TZ", value, 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ~ScopedTZ() {
        if (m_had)
            setenv("TZ", m_old.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

private:
    bool m_had = false;
    std::string m_old;
};

SDateTime FromUnixSeconds(time_t t) { return sicTimespecToSDateTime(timespec{t, 0}); }

STimeZone Rule(const char *text) { return STimeZone(SAnsiString(text)); }

} // namespace

TEST(ZoneRules, AgreeWithTheCLibraryEveryHourFrom1970To2100) {
    constexpr time_t kEnd = 4133980800; // 2101-01-01
    for (const RulePair &pair : kRules) {
        ScopedTZ tz(pair.posix);
        const STimeZone zone = Rule(pair.rule);

        // The same zone reached through the POSIX translation.
        STimeZone translated = STimeZone::TZ_UTC();
        std::string why;
        ASSERT_TRUE(ZoneBuilder::FromPosixRule(pair.posix, translated, why)) << why;
        EXPECT_EQ(std::string(translated.GetRules()), std::string(zone.GetRules()));

        // Every hour; every half hour where an offset has half hours.
        const bool halfHours = zone.StandardOffset() % 60 != 0 || zone.DaylightOffset() % 60 != 0;
        const time_t step = halfHours ? 1800 : 3600;
        int mismatches = 0;
        for (time_t t = 0; t < kEnd && mismatches < 5; t += step) {
            tm expected{};
            ASSERT_NE(localtime_r(&t, &expected), nullptr);
            const SDateTime when = FromUnixSeconds(t);
            short y;
            unsigned char mo, d, wd, h, mi, s;
            when.GetDateTime(y, mo, d, wd, h, mi, s, zone);
            const bool same = zone.InDST(when) == (expected.tm_isdst > 0) &&
                              zone.UTCOffset(when).GetTotalMilliseconds() == -expected.tm_gmtoff * 1000LL &&
                              y == expected.tm_year + 1900 && mo == expected.tm_mon + 1 && d == expected.tm_mday &&
                              wd == expected.tm_wday && h == expected.tm_hour && mi == expected.tm_min &&
                              s == expected.tm_sec;
            if (!same) {
                ++mismatches;
                ADD_FAILURE() << pair.rule << " at " << t << ": ours " << y << "-" << int(mo) << "-" << int(d) << " "
                              << int(h) << ":" << int(mi) << " dst " << zone.InDST(when) << ", C library "
                              << expected.tm_year + 1900 << "-" << expected.tm_mon + 1 << "-" << expected.tm_mday
                              << " " << expected.tm_hour << ":" << expected.tm_min << " dst " << expected.tm_isdst;
            }
        }
    }
}

TEST(ZoneRules, ReadAndRegenerateRuleText) {
    const STimeZone utc = Rule("UTC,0");
    EXPECT_FALSE(utc.DSTEnabled());
    EXPECT_EQ(std::string(utc.GetRules()), "UTC,0");
    EXPECT_EQ(std::string(STimeZone::TZ_UTC().GetRules()), "UTC,0");

    const STimeZone defaults = Rule("EST,300,EDT");
    EXPECT_TRUE(defaults.DSTEnabled());
    EXPECT_EQ(defaults.DaylightOffset(), 240);
    EXPECT_EQ(std::string(defaults.GetRules()), "EST,300,EDT,-60;4.1.0/02:00,10.5.0/02:00");

    const char *full = "PST,480,PDT,-60;3.2.0/02:00,11.1.0/02:00";
    EXPECT_EQ(std::string(Rule(full).GetRules()), full);
    EXPECT_EQ(std::string(Rule(Rule(full).GetRules()).GetRules()), full);

    const STimeZone numbered(300, true);
    EXPECT_EQ(std::string(numbered.GetRules()), "XST,300,XDT,-60;4.1.0/02:00,10.5.0/02:00");
    EXPECT_EQ(std::string(STimeZone(-60, false).GetRules()), "XST,-60");

    // The number reader: a minus sign anywhere negates, "+" ends the number.
    EXPECT_EQ(Rule("A,3-00").StandardOffset(), -300);
    EXPECT_EQ(Rule("A,+60").StandardOffset(), 0);
    // Separators are not checked, and a rule may stop part way.
    EXPECT_EQ(std::string(Rule("X,0,Y;3x2x0/1x30,11x1x0/2x0").GetRules()), "X,0,Y,-60;3.2.0/01:30,11.1.0/02:00");
    EXPECT_EQ(std::string(Rule("X,0,Y;3").GetRules()), "X,0,Y,-60;3.1.0/02:00,10.5.0/02:00");
    EXPECT_EQ(std::string(Rule("X,0,Y,30;5.2.1").GetRules()), "X,0,Y,30;5.2.1/02:00,10.5.0/02:00");
    // A name alone: offset 0 and no daylight time.
    const STimeZone nameOnly = Rule("LONELY");
    EXPECT_EQ(nameOnly.StandardOffset(), 0);
    EXPECT_FALSE(nameOnly.DSTEnabled());
}

TEST(ZoneRules, TransitionEdgeCases) {
    const STimeZone &utc = STimeZone::TZ_UTC();
    // Week 5 of a month with four such weekdays is the fourth: in February
    // 2023 the last Tuesday is the 28th, in March 2023 the last Friday the 31st.
    const STimeZone lastTuesday = Rule("S,0,D,-60;2.5.2/00:00,10.1.0/00:00");
    EXPECT_FALSE(lastTuesday.InDST(SDateTime(2023, 2, 27, 23, 59, 0, 0, utc)));
    EXPECT_TRUE(lastTuesday.InDST(SDateTime(2023, 2, 28, 0, 0, 0, 0, utc)));
    // In a leap February the month's common-year length still rules: 2024's
    // last Thursday (the 29th) resolves a week early, to the 22nd.
    const STimeZone lastThursday = Rule("S,0,D,-60;2.5.4/00:00,10.1.0/00:00");
    EXPECT_TRUE(lastThursday.InDST(SDateTime(2024, 2, 22, 0, 0, 0, 0, utc)));
    EXPECT_FALSE(lastThursday.InDST(SDateTime(2024, 2, 21, 23, 0, 0, 0, utc)));

    // The southern hemisphere: daylight time in January.
    const STimeZone south = Rule("AEST,-600,AEDT,-60;10.1.0/02:00,4.1.0/03:00");
    EXPECT_TRUE(south.InDST(SDateTime(2024, 1, 15, 0, 0, 0, 0, utc)));
    EXPECT_FALSE(south.InDST(SDateTime(2024, 7, 15, 0, 0, 0, 0, utc)));
    EXPECT_EQ(std::string(south.GetName(SDateTime(2024, 1, 15, 0, 0, 0, 0, utc))), "AEDT");
    EXPECT_EQ(std::string(south.GetName(SDateTime(2024, 7, 15, 0, 0, 0, 0, utc))), "AEST");

    // Civil times stored raw: the skipped spring hour counts as standard
    // time, and the repeated autumn hour as daylight time.
    const STimeZone us = Rule("EST,300,EDT");
    auto civil = [](int m, int d, int h, int mi) { return SDateTime(SDate(2024, m, d), STime(0, 0, 0, (h * 60 + mi) * 60000L)); };
    EXPECT_FALSE(us.InDST(civil(4, 7, 1, 59), false));
    EXPECT_FALSE(us.InDST(civil(4, 7, 2, 30), false));
    EXPECT_TRUE(us.InDST(civil(4, 7, 3, 0), false));
    EXPECT_TRUE(us.InDST(civil(10, 27, 0, 59), false));
    EXPECT_TRUE(us.InDST(civil(10, 27, 1, 30), false));
    EXPECT_FALSE(us.InDST(civil(10, 27, 2, 0), false));
    // The field constructor converts the civil time with that rule.
    EXPECT_EQ(SDateTime(2024, 7, 1, 12, 0, 0, 0, us), SDateTime(2024, 7, 1, 16, 0, 0, 0, utc));
    EXPECT_EQ(SDateTime(2024, 1, 1, 12, 0, 0, 0, us), SDateTime(2024, 1, 1, 17, 0, 0, 0, utc));

    // The 0 shortcut needs both a zero offset and no daylight time.
    const STimeZone gmt = Rule("GMT,0,BST");
    EXPECT_EQ(gmt.UTCOffset(SDateTime(2024, 7, 1, 12, 0, 0, 0, utc)).GetTotalMinutes(), -60);
    EXPECT_EQ(utc.UTCOffset().GetTotalMilliseconds(), 0);
    // Years outside the prepared table follow the same rule.
    EXPECT_TRUE(us.InDST(SDateTime(1850, 7, 1, 12, 0, 0, 0, utc)));
    EXPECT_TRUE(us.InDST(SDateTime(2500, 7, 1, 12, 0, 0, 0, utc)));
    EXPECT_FALSE(us.InDST(SDateTime(2500, 12, 1, 12, 0, 0, 0, utc)));
}

TEST(ZoneRules, MalformedRulesGiveUsableZones) {
    TarnkitTest::CapturingSink sink;
    const SDateTime summer(2024, 7, 1, 12, 0, 0, 0, STimeZone::TZ_UTC());
    const char *bad[] = {"",        ",",           ",,,,;;;;",         "X,99999999999999999999999",
                         "X,0,Y;0.1.0,10.5.0", "X,0,Y;13.1.0,10.5.0", "X,0,Y;3.0.0,10.5.0", "X,0,Y;3.9.0,10.5.0",
                         "X,0,Y;3.1.7,10.5.0", "X,0,Y;300.1.0/999999:99999,10.5.0", "X,0,Y;3.1.0/", "X,0,Y;-",
                         "X,-,Y,-;-.-.-/-:-,-.-.-/-:-"};
    for (const char *text : bad) {
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
    // The number reader saturates instead of overflowing.
    EXPECT_EQ(std::string(Rule("X,99999999999999999999").GetRules()), "X,-1");
}

TEST(MachineZone, ReadFromTheTZVariableAndZoneFiles) {
    const char *berlin = "CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00";
    {
        ScopedTZ tz("CET-1CEST,M3.5.0,M10.5.0/3");
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), berlin);
    }
    {
        ScopedTZ tz(":Europe/Berlin");
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), berlin);
    }
    {
        ScopedTZ tz("Europe/Dublin");
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), "IST,-60,GMT,60;10.5.0/02:00,3.5.0/01:00");
    }
    {
        ScopedTZ tz("<+0330>-3:30");
        const STimeZone zone(SAnsiString{});
        EXPECT_EQ(std::string(zone.GetRules()), "+0330,-210");
    }
    {
        // Daylight dates as days of the year cannot be held: the standard
        // clock is kept.
        TarnkitTest::CapturingSink sink;
        ScopedTZ tz("XST5XDT,J60,J300");
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), "XST,300");
        EXPECT_TRUE(sink.saw("days of the year"));
    }
    {
        // A rule without dates takes the C library's default dates.
        ScopedTZ tz("EST5EDT4");
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), "EST,300,EDT,-60;3.2.0/02:00,11.1.0/02:00");
    }
    for (const char *unreadable : {":No/Such_Zone", "Not a rule", "1234"}) {
        TarnkitTest::CapturingSink sink;
        ScopedTZ tz(unreadable);
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), "UTC,0") << unreadable;
        EXPECT_TRUE(sink.saw("UTC is used")) << unreadable;
    }
    {
        ScopedTZ tz("");
        EXPECT_EQ(std::string(STimeZone(SAnsiString()).GetRules()), "UTC,0");
    }
}

TEST(MachineZone, ZoneFileFooterNeedsAWellFormedFile) {
    std::string rule;
    std::string berlin;
    {
        FILE *f = std::fopen("/usr/share/zoneinfo/Europe/Berlin", "rb");
        ASSERT_NE(f, nullptr);
        char chunk[4096];
        size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0)
            berlin.append(chunk, n);
        std::fclose(f);
    }
    ASSERT_TRUE(TzifFooter(berlin, rule));
    EXPECT_EQ(rule, "CET-1CEST,M3.5.0,M10.5.0/3");
    // Every truncation fails cleanly, and version 1 files carry no rule.
    for (size_t n = 0; n + 1 < berlin.size(); n += 7)
        EXPECT_FALSE(TzifFooter(std::string_view(berlin).substr(0, n), rule)) << n;
    std::string v1 = berlin;
    v1[4] = 0;
    EXPECT_FALSE(TzifFooter(v1, rule));
    std::string notZone = berlin;
    notZone[0] = 'X';
    EXPECT_FALSE(TzifFooter(notZone, rule));
}
