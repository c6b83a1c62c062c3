// The shortcuts of the common case, each held against the general path it
// stands in for: zoned fields through the one-lookup path against the
// per-field getters, compiled and cached patterns against a fresh
// compilation written step by step, and the per-thread cache under reuse,
// eviction, threads and thread exit.

#include "support/testsupport.h"
#include "tarnkit/stimezone.h"
#include "time/datepattern.h"

#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace TarnkitA201;

namespace {

const char *const kZoneRules[] = {
    "UTC,0",
    "CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00",
    "AEST,-600,AEDT,-60;10.1.0/02:00,4.1.0/03:00", // daylight time over New Year
    "NST,210,NDT,-60;3.2.0/02:00,11.1.0/02:00",
    "EDGE,300,EDGED,-60;1.1.0/00:30,12.5.0/23:00", // transitions by New Year
    "LINT,-840",
    "FAR,1500",                                        // an offset of more than a day
    "ODD,-60,ODDS,-60;13.1.0,4.1.0",                   // no real transition: never daylight time
    "BRIEF,-120,BRIEFS,-60;5.1.0/02:00,6.1.0/02:00",   // a month of daylight time
    "WINTRY,300,WINTRYS,-60;2.1.0/02:00,12.2.0/02:00", // a short standard season
    "WEST,600,WESTS,-90;1.1.0/00:00,12.5.6/23:45",     // changes at the turn of the year
};

// Moments at the edges the shortcuts care about: the years around the ends
// of their tables, every half hour around New Year, and a random spread.
std::vector<SDateTime> Moments() {
    std::vector<SDateTime> out;
    for (int year : {1600, 1601, 1899, 1900, 1901, 1970, 2000, 2100, 2199, 2200, 2201, 2598, 2599, 2600}) {
        const SDateTime newYear(static_cast<short>(year), 1, 1, 0, 0, 0, 0, STimeZone::TZ_UTC());
        for (int halfHours = -60; halfHours <= 60; ++halfHours)
            out.push_back(newYear + STimeSpan(halfHours * 1800000LL + 1234));
    }
    std::mt19937_64 random(5);
    const time_t first = -11676096000LL, last = 19962662400LL; // 1600 to 2602
    for (int i = 0; i < 20000; ++i) {
        const time_t seconds = first + static_cast<time_t>(random() % static_cast<unsigned long long>(last - first));
        out.push_back(sicTimespecToSDateTime(timespec{seconds, static_cast<long>(random() % 1000) * 1000000}));
    }
    return out;
}

std::string Formatted(const SDateTime &when, const char *pattern, const STimeZone &zone = STimeZone::TZ_UTC()) {
    return std::string(when.Format(pattern, zone));
}

// The pattern compiled afresh and written step by step from fields the
// per-field getters give, with no template and no cache.
std::string Reference(const SDateTime &when, const char *pattern, const STimeZone &zone) {
    DatePattern::Compiled compiled;
    DatePattern::Compile(pattern, compiled);
    compiled.fixedWidth = false;
    DatePattern::Fields f{.hasDate = true, .hasTime = true, .hasEra = true, .eraDate = when.GetUTCDate(),
                          .year = when.GetYear(zone), .month = when.GetMonth(zone), .day = when.GetDay(zone),
                          .dayOfWeek = when.GetDayOfWeek(zone)};
    f.setTime(when.GetTime(zone).GetRawValue());
    return std::string(DatePattern::Render(compiled, f));
}

// The one-lookup fields against the per-field getters, the date and time
// halves, and the civil moment taken as the UTC one less the zone's offset.
bool ZonedFieldsAgree(const SDateTime &when, const STimeZone &zone) {
    short y;
    unsigned char mo, d, wd, h, mi, s;
    when.GetDateTime(y, mo, d, wd, h, mi, s, zone);
    const SDate date = when.GetDate(zone);
    const int32_t ms = when.GetTime(zone).GetRawValue();
    return y == when.GetYear(zone) && mo == when.GetMonth(zone) && d == when.GetDay(zone) &&
           wd == when.GetDayOfWeek(zone) && h == when.GetHour(zone) && mi == when.GetMinute(zone) &&
           s == when.GetSecond() && date == SDate(y, mo, d) && wd == date.GetDayOfWeek() &&
           ms == ((h * 60 + mi) * 60 + s) * 1000 + ms % 1000 && date == (when - zone.UTCOffset(when)).GetUTCDate();
}

// Patterns of random tokens; a token never continues the field run before it.
std::vector<std::string> Patterns() {
    const char *const tokens[] = {"yyyy", "yy", "y", "MM", "M", "MMM", "MMMM", "dd", "d", "ddd", "dddd",
                                  "HH", "H", "hh", "h", "mm", "m", "ss", "s", "SSS", "S", "t", "tt",
                                  "g", "-", ":", " ", ".", "'T'", "\"at\"", "''", "'dd'", "_x_"};
    // The fixed ones include values shown twice, which are patched in order.
    std::vector<std::string> out = {"yyyy-MM-dd HH:mm:ss", "yyyy-MM-dd@HH:mm:ss.SSS", "yyyyMMdd_HHmmss", "hh:mm tt",
                                    "dd/MM dd HH:mm:ss.SSS yy yyyy", "hh HH:mm:ss.SSS ss"};
    std::mt19937 random(3);
    for (int i = 0; i < 60; ++i) {
        std::string pattern;
        for (int count = 1 + static_cast<int>(random() % 8); count > 0; --count) {
            const std::string token = tokens[random() % std::size(tokens)];
            if (pattern.empty() || pattern.back() != token[0])
                pattern += token;
        }
        out.push_back(pattern);
    }
    return out;
}

// Formats from its destructor, which runs after the thread's pattern cache
// is gone when the object was made before the thread first formatted.
struct FormatsAtThreadExit {
    std::string *out = nullptr;
    ~FormatsAtThreadExit() {
        if (out != nullptr)
            *out = Formatted(SDateTime(2024, 3, 7, 9, 5, 3, 0, STimeZone::TZ_UTC()), "yyyy-MM-dd HH:mm");
    }
};

} // namespace

TEST(FastPaths, ZonedFieldsAgreeWithTheGeneralGetters) {
    // Besides the spread, every rule's transitions fall on quarter hours:
    // each is met exactly and a millisecond before, in the years at the ends
    // of the zone tables and in a few ordinary ones.
    std::vector<SDateTime> moments = Moments();
    for (int year : {1899, 1900, 1971, 2024, 2199, 2200}) {
        const SDateTime first(static_cast<short>(year), 1, 1, 0, 0, 0, 0, STimeZone::TZ_UTC());
        for (long long quarter = -8; quarter < 366 * 96 + 8; ++quarter)
            for (long long ms : {-1LL, 0LL})
                moments.push_back(first + STimeSpan(quarter * 900000 + ms));
    }
    for (const char *rule : kZoneRules) {
        const STimeZone zone{SAnsiString(rule)};
        int mismatches = 0;
        for (const SDateTime &when : moments)
            if (!ZonedFieldsAgree(when, zone) && ++mismatches <= 3)
                ADD_FAILURE() << rule << " at " << Formatted(when, "yyyy-MM-dd HH:mm:ss.SSS");
    }
}

TEST(FastPaths, CompiledPatternsWriteWhatAFreshCompilationWrites) {
    const std::vector<std::string> patterns = Patterns();
    std::vector<SDateTime> moments = Moments();
    moments.resize(3000);
    for (const char *rule : {kZoneRules[0], kZoneRules[2], kZoneRules[6]}) {
        const STimeZone zone{SAnsiString(rule)};
        int mismatches = 0;
        // Every pattern over every moment: the cache holds fewer patterns
        // than this, so entries are evicted and compiled again throughout.
        for (const SDateTime &when : moments)
            for (const std::string &pattern : patterns) {
                const std::string ours = Formatted(when, pattern.c_str(), zone);
                if (ours != Reference(when, pattern.c_str(), zone) && ++mismatches <= 3)
                    ADD_FAILURE() << rule << " pattern \"" << pattern << "\": " << ours;
            }
    }
}

TEST(FastPaths, FieldsFarOutsideTheCalendarStillFitTheirText) {
    // Day numbers at the ends of the range give bytes for day and month that
    // read beyond two digits, and times of day beyond the day give long
    // negative fields: many such fields in one pattern must still fit.
    const std::string unit = "d/M/y dd.MM.yy H:m:s.S hh:mm:ss.SSS|";
    std::string many;
    for (int i = 0; i < 40; ++i)
        many += unit;
    for (int32_t dayNumber : {INT32_MIN + 1, -2000000000, -1, 2000000000, INT32_MAX})
        for (long ms : {0L, -2147483647L, 2147483647L}) {
            const SDateTime when(SDate::FromDayNumber(dayNumber), STime(0, 0, 0, ms));
            for (const char *rule : {kZoneRules[0], kZoneRules[1], kZoneRules[6]}) {
                const STimeZone zone{SAnsiString(rule)};
                std::string expected;
                for (int i = 0; i < 40; ++i)
                    expected += Formatted(when, unit.c_str(), zone);
                EXPECT_EQ(Formatted(when, many.c_str(), zone), expected) << dayNumber << " " << ms << " " << rule;
            }
        }
}

TEST(FastPaths, CacheFollowsTheTextAndStaysPutDuringNestedFormats) {
    const SDateTime when(2024, 3, 7, 9, 5, 3, 42, STimeZone::TZ_UTC());
    // The same buffer, rewritten: shorter, longer, a prefix of the old,
    // empty, and back.
    const std::pair<const char *, const char *> steps[] = {
        {"yyyy-MM-dd", "2024-03-07"}, {"HH:mm", "09:05"}, {"HH:mm:ss.SSS", "09:05:03.042"}, {"HH", "09"},
        {"", ""},                     {"HH", "09"}};
    char pattern[32];
    for (const auto &[text, expected] : steps) {
        std::strcpy(pattern, text);
        EXPECT_EQ(Formatted(when, pattern), expected) << text;
    }

    // While names are fetched the cache is busy: a Format run from there (a
    // trace line with a time stamp, say) must not evict the pattern the
    // outer Format is walking.
    const DatePattern::Compiled *outer = DatePattern::Lookup("ddd dd MMM yyyy");
    ASSERT_NE(outer, nullptr);
    {
        const DatePattern::CacheBusy busy;
        EXPECT_EQ(DatePattern::Lookup("HH:mm"), nullptr);
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(Formatted(when, ("HH:mm '" + std::to_string(i) + "'").c_str()), "09:05 " + std::to_string(i));
    }
    const DatePattern::Fields f{
        .hasDate = true, .eraDate = SDate(), .year = 2024, .month = 3, .day = 7, .dayOfWeek = 4};
    EXPECT_EQ(std::string(DatePattern::Render(*outer, f)), "Thu 07 Mar 2024");
    EXPECT_EQ(DatePattern::Lookup("ddd dd MMM yyyy"), outer);
}

TEST(FastPaths, ThreadsKeepTheirOwnCachesUpToTheirExit) {
    const SDateTime when(2024, 3, 7, 9, 5, 3, 42, STimeZone::TZ_UTC());
    const std::vector<std::string> patterns = Patterns();
    std::vector<std::string> expected;
    for (const std::string &p : patterns)
        expected.push_back(Reference(when, p.c_str(), STimeZone::TZ_UTC()));
    std::vector<int> failures(4, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 200; ++round)
                for (size_t i = t; i < patterns.size(); i += 1 + t)
                    if (Formatted(when, patterns[i].c_str()) != expected[i])
                        ++failures[t];
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(failures, std::vector<int>(4, 0));

    // Formatting still works while a thread ends.
    std::string late;
    std::thread([&late] {
        thread_local FormatsAtThreadExit object;
        object.out = &late;
        EXPECT_EQ(Formatted(SDateTime(2000, 1, 1, 0, 0, 0, 0, STimeZone::TZ_UTC()), "yyyy"), "2000");
    }).join();
    EXPECT_EQ(late, "2024-03-07 09:05");
}

TEST(FastPaths, MultibytePatternsAreReadInTheLocaleOfEachCall) {
    const SDateTime when(2024, 3, 7, 9, 5, 3, 0, STimeZone::TZ_UTC());
    // 0x81 0x64 is one GBK character whose trail byte is 'd'; in UTF-8 the
    // 0x81 stands alone and the 'd' joins the field after it.
    const char *pattern = "HH\x81\x64" "d";
    for (int round = 0; round < 2; ++round) {
        {
            TarnkitTest::ScopedLocale gbk("zh_CN.gbk");
            if (!gbk.ok())
                GTEST_SKIP() << "no GBK locale";
            EXPECT_EQ(Formatted(when, pattern), "09\x81\x64" "7");
            EXPECT_EQ(Formatted(when, "'\x81\x64'"), "\x81\x64");
        }
        TarnkitTest::ScopedLocale utf8("C.UTF-8");
        if (!utf8.ok())
            GTEST_SKIP() << "no UTF-8 locale";
        EXPECT_EQ(Formatted(when, pattern), "09\x81" "07");
    }
}
