// Dates and zones beside the C++ and C library peers a caller would
// otherwise pick: civil-date arithmetic beside <chrono>, formatting beside
// strftime, and UTC-to-local conversion beside localtime_r under the same
// zone rule. Each iteration works through 1024 prepared inputs. A peer's
// name says what it does; where it starts from ready fields it says so.
#include "common/ratios.h"

#include <tarnkit/sdatetime.h>
#include <tarnkit/stimezone.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <random>
#include <vector>

using namespace TarnkitA201;
namespace chr = std::chrono;

namespace {

constexpr size_t kValues = 1024;
// The same zone twice: as our rule text and as the C library's TZ rule.
constexpr const char *kZoneRule = "CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00";
constexpr const char *kPosixRule = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char *kPattern = "yyyy-MM-dd HH:mm:ss";
constexpr const char *kStrftimePattern = "%Y-%m-%d %H:%M:%S";

struct Civil {
    short year;
    unsigned char month, day;
    int addDays;
};

// Moments spread over 1970 to 2100, and civil dates over 1600 to 2400.
std::vector<time_t> Moments() {
    std::mt19937_64 random(7);
    std::vector<time_t> values(kValues);
    for (time_t &t : values)
        t = static_cast<time_t>(random() % 4102444800ull);
    return values;
}

std::vector<Civil> CivilDates() {
    std::mt19937_64 random(11);
    std::vector<Civil> values(kValues);
    for (Civil &c : values) {
        c.year = static_cast<short>(1600 + random() % 800);
        c.month = static_cast<unsigned char>(1 + random() % 12);
        c.day = static_cast<unsigned char>(1 + random() % 28);
        c.addDays = static_cast<int>(random() % 20000) - 10000;
    }
    return values;
}

template <class T, class F>
void Over(benchmark::State &state, const std::vector<T> &values, F f) {
    for (auto _ : state)
        for (const T &v : values)
            f(v);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * values.size()));
}

void RegisterCases() {
    static const std::vector<Civil> civil = CivilDates();
    static const std::vector<time_t> moments = Moments();
    static std::vector<SDateTime> ours;
    static std::vector<tm> utcFields;
    for (time_t t : moments) {
        ours.push_back(sicTimespecToSDateTime(timespec{t, 0}));
        tm fields{};
        gmtime_r(&t, &fields);
        utcFields.push_back(fields);
    }
    static const STimeZone zone{SAnsiString(kZoneRule)};

    // Date from fields, moved by days, back to fields.
    benchmark::RegisterBenchmark("civil_date_add_days/tarnkit", [](benchmark::State &s) {
        Over(s, civil, [](const Civil &c) {
            SDate date(c.year, c.month, c.day);
            date += STimeSpan(static_cast<__int64>(c.addDays) * 86400000);
            short y;
            unsigned char m, d;
            date.GetYearMonthDay(y, m, d);
            benchmark::DoNotOptimize(y);
            benchmark::DoNotOptimize(m);
            benchmark::DoNotOptimize(d);
        });
    });
    benchmark::RegisterBenchmark("civil_date_add_days/chrono", [](benchmark::State &s) {
        Over(s, civil, [](const Civil &c) {
            const chr::year_month_day ymd{chr::year(c.year), chr::month(c.month), chr::day(c.day)};
            benchmark::DoNotOptimize(ymd.ok());
            const chr::year_month_day r{chr::sys_days(ymd) + chr::days(c.addDays)};
            benchmark::DoNotOptimize(r);
        });
    });

    // A moment as text.
    benchmark::RegisterBenchmark("format_utc/tarnkit", [](benchmark::State &s) {
        Over(s, ours, [](const SDateTime &when) {
            benchmark::DoNotOptimize(when.Format(kPattern, STimeZone::TZ_UTC()));
        });
    });
    benchmark::RegisterBenchmark("format_utc/gmtime_r+strftime", [](benchmark::State &s) {
        // The same work from the same start: a moment to its fields, then text.
        Over(s, moments, [](time_t t) {
            tm fields{};
            gmtime_r(&t, &fields);
            char text[64];
            benchmark::DoNotOptimize(strftime(text, sizeof text, kStrftimePattern, &fields));
            benchmark::DoNotOptimize(text);
        });
    });
    benchmark::RegisterBenchmark("format_utc/strftime_given_tm", [](benchmark::State &s) {
        // Less work than ours: the broken-down fields are ready, and the text
        // goes to a stack buffer rather than a string of its own.
        Over(s, utcFields, [](const tm &fields) {
            char text[64];
            benchmark::DoNotOptimize(strftime(text, sizeof text, kStrftimePattern, &fields));
            benchmark::DoNotOptimize(text);
        });
    });
    benchmark::RegisterBenchmark("format_local/tarnkit", [](benchmark::State &s) {
        Over(s, ours, [](const SDateTime &when) { benchmark::DoNotOptimize(when.Format(kPattern, zone)); });
    });
    benchmark::RegisterBenchmark("format_local/localtime_r+strftime", [](benchmark::State &s) {
        Over(s, moments, [](time_t t) {
            tm fields{};
            localtime_r(&t, &fields);
            char text[64];
            benchmark::DoNotOptimize(strftime(text, sizeof text, kStrftimePattern, &fields));
            benchmark::DoNotOptimize(text);
        });
    });

    // UTC to the civil fields of the zone.
    benchmark::RegisterBenchmark("utc_to_local/tarnkit", [](benchmark::State &s) {
        Over(s, ours, [](const SDateTime &when) {
            short y;
            unsigned char mo, d, wd, h, mi, sec;
            when.GetDateTime(y, mo, d, wd, h, mi, sec, zone);
            // Every field, as the peer's are: the getter is inline, and the
            // compiler would otherwise leave out the fields nobody reads.
            benchmark::DoNotOptimize(y);
            benchmark::DoNotOptimize(mo);
            benchmark::DoNotOptimize(d);
            benchmark::DoNotOptimize(wd);
            benchmark::DoNotOptimize(h);
            benchmark::DoNotOptimize(mi);
            benchmark::DoNotOptimize(sec);
        });
    });
    benchmark::RegisterBenchmark("utc_to_local/localtime_r", [](benchmark::State &s) {
        Over(s, moments, [](time_t t) {
            tm fields{};
            benchmark::DoNotOptimize(localtime_r(&t, &fields));
            benchmark::DoNotOptimize(fields);
        });
    });
}

} // namespace

int main(int argc, char **argv) {
    setenv("TZ", kPosixRule, 1);
    tzset();
    RegisterCases();
    return TarnkitBench::RunAndPrintRatios(argc, argv);
}
