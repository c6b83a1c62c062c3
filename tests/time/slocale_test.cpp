// The locale tables (LCIDs and language tags both ways), the conventions each
// locale reports against the C library's, the default locale from the
// environment, and the per-thread locale and its names.

#include "tarnkit/slocale.h"

#include "support/testsupport.h"
#include "tarnkit/stimezone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <langinfo.h>
#include <locale.h>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

using namespace TarnkitA201;

namespace {

// The language table as published: languages, then each language's countries.
const char *const kLanguageList =
    "af 436 ar 1 be 423 bg 402 ca 403 cs 405 da 406 de 407 el 408 en 409 es 40A et 425 eu 42D fa 429 fi 40B "
    "fo 438 fr 40C gd 43C he 40D hi 439 hr 41A hu 40E in 421 is 40F it 410 ja 411 ji 43D jp 411 ko 412 lt 427 "
    "lv 426 mk 42F ms 43E mt 43A nl 413 no 414 pl 415 pt 816 rm 417 ro 418 ru 419 sb 42E sk 41B sl 424 sq 41C "
    "sr C1A sv 41D sx 430 th 41E tn 432 tr 41F ts 431 uk 422 ur 420 vi 42A xh 434 zh 4 zu 435";
const char *const kCountryList =
    "ar AA 1 AE 3801 BH 3C01 DZ 1401 EG C01 IQ 801 JO 2C01 KW 3401 LB 3001 LY 1001 MA 1801 OM 2001 QA 4001 "
    "SA 401 SY 2801 TN 1C01 YE 2401 ; be BY 423 ; ca ES 403 ; cs CZ 405 ; da DK 406 ; de AT C07 CH 807 LI 1407 "
    "LU 1007 ; el GR 408 ; en AU C09 BZ 2809 CA 1009 GB 809 IE 1809 JM 2009 NZ 1409 PH 3409 TT 2C09 US 409 "
    "ZA 1C09 ZW 3009 ; es AR 2C0A BO 400A CL 340A CO 240A CR 140A DO 1C0A EC 300A GT 100A HN 480A MX 80A "
    "NI 4C0A PA 180A PE 280A PR 500A PY 3C0A SV 440A UY 380A VE 200A es C0A ; et EE 425 ; fr BE 80C CA C0C "
    "CH 100C LU 140C ; he IL 40D ; it CH 810 ; ja JP 411 ; nl BE 813 ; no no 814 ; pt BR 416 ; ro MO 818 ; "
    "ru MO 819 ; sl SI 424 ; sq AL 41C ; sr SP C1A SP 81A ; sv FI 81D SE 41D ; uk UA 422 ; zh CN 804 HK C04 "
    "MO 1404 SG 1004 TW 404";

struct Entry {
    std::string language, country; // country empty for a language record
    uint32_t lcid;
};

std::vector<Entry> Table() {
    std::vector<Entry> out;
    std::istringstream languages(kLanguageList), countries(kCountryList);
    std::string language, country, hex;
    while (languages >> language >> hex)
        out.push_back({language, "", static_cast<uint32_t>(std::stoul(hex, nullptr, 16))});
    while (countries >> language)
        while (countries >> country && country != ";" && countries >> hex)
            out.push_back({language, country, static_cast<uint32_t>(std::stoul(hex, nullptr, 16))});
    return out;
}

// What an LCID reads as, found by searching the published lists: the first
// language in table order with the primary id, then its country with the
// sublanguage.
std::string ExpectedTag(const std::vector<Entry> &table, uint32_t lcid) {
    const auto language = std::find_if(table.begin(), table.end(), [lcid](const Entry &e) {
        return e.country.empty() && (e.lcid & 0x3FF) == (lcid & 0x3FF);
    });
    if (language == table.end())
        return "en-US";
    for (const Entry &e : table)
        if (e.language == language->language && !e.country.empty() && (e.lcid >> 10) == (lcid >> 10))
            return islower(static_cast<unsigned char>(e.country[0])) ? e.country : e.language + "-" + e.country;
    return language->language;
}

std::string S(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

// The C locale of the process and of the thread, to prove queries leave it.
std::pair<std::string, locale_t> CLocales() { return {setlocale(LC_ALL, nullptr), uselocale(locale_t{})}; }

// Runs `body` on a thread whose own C locale is `name`, if that is installed.
template <class Body>
void OnThreadWithLocale(const char *name, Body body) {
    std::thread([&] {
        const locale_t locale = newlocale(LC_ALL_MASK, name, static_cast<locale_t>(0));
        if (locale == static_cast<locale_t>(0))
            return;
        const locale_t previous = uselocale(locale);
        body();
        uselocale(previous);
        freelocale(locale);
    }).join();
}

// Each death-test child starts afresh and reads the default locale from LC_ALL.
template <class Check>
void ExpectInFreshProcess(const char *lcAll, Check check) {
    EXPECT_EXIT(
        {
            setenv("LC_ALL", lcAll, 1);
            std::exit(check() ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "")
        << lcAll;
}

} // namespace

TEST(SLocaleTable, EveryRecordBothWays) {
    const std::vector<Entry> table = Table();
    ASSERT_EQ(table.size(), 140u);
    for (const Entry &e : table) {
        const std::string tag = e.country.empty() ? e.language : e.language + "-" + e.country;
        SCOPED_TRACE(tag);
        EXPECT_EQ(S(SLocale::LcidToRfc1766(e.lcid)), ExpectedTag(table, e.lcid));
        const uint32_t parsed = SLocale::Rfc1766ToLcid(SAnsiString(tag.c_str()));
        // Later tokens are upper-cased, so lower-case country records are
        // found only from the LCID side. The two Serbian records share their
        // tag; the search meets the first.
        if (!e.country.empty() && islower(static_cast<unsigned char>(e.country[0])))
            EXPECT_NE(parsed, e.lcid);
        else
            EXPECT_EQ(parsed, tag == "sr-SP" ? 0xC1Au : e.lcid);
    }
}

TEST(SLocaleTable, TagParsingAndLcidNames) {
    const std::pair<const char *, uint32_t> tags[] = {
        {"en-US", 0x409}, {"de-AT", 0xC07}, {"EN-us", 0x409}, {"en-XX", 0x409}, {"english", 0x409},
        {"zh_tw", 0x404}, {"es-es", 0x40A}, {"fr-CA,en;q=0.5", 0xC0C}, {"de;q=0.8", 0x407},
        {"xx-US", 1024},  {"chs", 2052},    {"CHT", 1028},    {"chx", 1024}};
    for (const auto &[tag, lcid] : tags)
        EXPECT_EQ(SLocale::Rfc1766ToLcid(SAnsiString(tag)), lcid) << tag;
    EXPECT_EQ(SLocale::LanguageIdToLCID(SAnsiStringCI("Pt-bR")), 0x416u);
    EXPECT_EQ(S(SLocale::GetLanguageFromRfc1766(SAnsiString("de-AT"))), "de");

    // Shared primary ids belong to the first language in table order.
    const std::pair<uint32_t, const char *> rfcTags[] = {
        {0xC0A, "es"},  {0x814, "no"}, {0x407, "de"},    {0x7F, "en-US"}, {0xFFFFFFFF, "en-US"},
        {0xFC09, "en"}, {0xC1A, "hr"}, {0x411, "ja-JP"}, {0x1, "ar-AA"}};
    for (const auto &[lcid, tag] : rfcTags)
        EXPECT_EQ(S(SLocale::LcidToRfc1766(lcid)), tag) << lcid;
    const std::pair<uint32_t, const char *> shortIds[] = {
        {0x404, "cht"}, {0xC04, "cht"}, {0x1404, "cht"}, {0x804, "chs"}, {0x1004, "chs"}, {0x411, "jp"}, {0xC07, "de"}};
    for (const auto &[lcid, id] : shortIds)
        EXPECT_EQ(S(SLocale::LCIDToLanguageId(lcid)), id) << lcid;
    EXPECT_EQ(S(SLocale::LCIDToLanguageId(0x7F)), S(SLocale::GetShortLanguageId()));

    // A short language falls back to 1024, a short country to the language.
    const std::pair<const char *, uint32_t> shortTokens[] = {
        {"e", 1024}, {"", 1024}, {"\xC3\xA9n-US", 1024}, {"-en", 1024}, {"en-U", 0x409}};
    for (const auto &[token, lcid] : shortTokens) {
        TarnkitTest::CapturingSink sink;
        EXPECT_EQ(SLocale::Rfc1766ToLcid(SAnsiString(token)), lcid) << token;
        EXPECT_TRUE(sink.saw("Language/country ids must be at least 2 characters")) << token;
    }
}

TEST(SLocaleDefault, FollowsTheEnvironment) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ExpectInFreshProcess("de_AT.UTF-8", [] {
        return S(SLocale::GetFullLanguageId()) == "de_AT" && S(SLocale::GetShortLanguageId()) == "de" &&
               SLocale::GetCurrentThreadLocale() == 0xC07 && S(SLocale::LcidToRfc1766(1024)) == "de-AT" &&
               S(SLocale::LCIDToLanguageId(1024)) == "de" && S(SLocale::GetUserDefaultCodePage()) == "65001" &&
               S(SLocale::GetDecimalSeparatorForNumber(1024, false)) == ",";
    });
    ExpectInFreshProcess("C", [] {
        return S(SLocale::GetFullLanguageId()) == "en" && SLocale::GetCurrentThreadLocale() == 0x409 &&
               S(SLocale::GetUserDefaultCodePage()) == "20127";
    });
    // A locale that is not installed leaves the default at "C".
    ExpectInFreshProcess("xx_YY.UTF-8", [] {
        return S(SLocale::GetFullLanguageId()) == "en" && S(SLocale::GetDecimalSeparatorForNumber(1024, false)) == ".";
    });
}

TEST(SLocaleConventions, NegativeOrdersFallbacksAndTheCLibrary) {
    TarnkitTest::CapturingSink sink;
    EXPECT_EQ(SLocale::GetNegativeOrderForNumber(SLocale::English, false), 1);
    EXPECT_EQ(SLocale::GetNegativeOrderForNumber(SLocale::English, true), 1); // -$1.1
    EXPECT_EQ(SLocale::GetNegativeOrderForNumber(SLocale::Japanese, true), 2); // sign after the symbol
    EXPECT_FALSE(sink.saw("retval"));
    // Money orders above 4 are valid, yet the range check reports them.
    EXPECT_EQ(SLocale::GetNegativeOrderForNumber(SLocale::German, true), 8); // -1,1 €
    EXPECT_TRUE(sink.saw("(retval >= 0) && (retval <= 4)"));

    // An LCID outside the table reads like en-US; a language whose locale
    // is not installed in its country takes the language's main locale.
    EXPECT_EQ(S(SLocale::GetMonthString(3, 0x7F)), "March");
    EXPECT_EQ(S(SLocale::GetMonthString(3, 0xFFFF0409)), "March");
    EXPECT_EQ(S(SLocale::GetDecimalSeparatorForNumber(0x1404 /* zh-MO */, false)), ".");
    EXPECT_EQ(S(SLocale::GetCurrencySymbol(0xC07)), "\xE2\x82\xAC");

    // Every installed locale reports what the C library says for it.
    const std::pair<uint32_t, const char *> installed[] = {
        {SLocale::English, "en_US.UTF-8"}, {SLocale::German, "de_DE.UTF-8"}, {SLocale::French, "fr_FR.UTF-8"},
        {SLocale::Japanese, "ja_JP.UTF-8"}};
    for (const auto &[id, name] : installed) {
        SCOPED_TRACE(name);
        TarnkitTest::ScopedLocale scoped(name);
        if (!scoped.ok())
            GTEST_SKIP() << name << " not installed";
        const auto before = CLocales();
        const lconv &lc = *localeconv();
        EXPECT_EQ(S(SLocale::GetDecimalSeparatorForNumber(id, false)), lc.decimal_point);
        EXPECT_EQ(S(SLocale::GetThousandSeparatorForNumber(id, false)), lc.thousands_sep);
        EXPECT_EQ(S(SLocale::GetDecimalSeparatorForNumber(id, true)), lc.mon_decimal_point);
        EXPECT_EQ(S(SLocale::GetThousandSeparatorForNumber(id, true)), lc.mon_thousands_sep);
        EXPECT_EQ(S(SLocale::GetCurrencySymbol(id)), lc.currency_symbol);
        EXPECT_EQ(SLocale::GetGroupingForNumber(id, false), lc.grouping[0]);
        EXPECT_EQ(SLocale::GetGroupingForNumber(id, true), lc.mon_grouping[0]);
        EXPECT_EQ(SLocale::GetNumDigitsForNumber(id, true), lc.frac_digits);
        EXPECT_EQ(SLocale::GetNumDigitsForNumber(id, false), 2);
        EXPECT_EQ(SLocale::GetLeadingZeroForNumber(id), 1);
        for (int m = 1; m <= 12; ++m) {
            EXPECT_EQ(S(SLocale::GetMonthString(m, id)), nl_langinfo(ALTMON_1 + m - 1));
            EXPECT_EQ(S(SLocale::GetShortMonthString(m, id)), nl_langinfo(_NL_ABALTMON_1 + m - 1));
        }
        for (int d = 0; d <= 6; ++d) {
            EXPECT_EQ(S(SLocale::GetWeekdayString(d, id)), nl_langinfo(DAY_1 + d));
            EXPECT_EQ(S(SLocale::GetShortWeekdayString(d, id)), nl_langinfo(ABDAY_1 + d));
        }
        EXPECT_EQ(S(SLocale::GetBeforeNoonString(id)), nl_langinfo(AM_STR));
        EXPECT_EQ(S(SLocale::GetAfterNoonString(id)), nl_langinfo(PM_STR));
        EXPECT_TRUE(SLocale::GetMonthString(0, id).isEmpty());
        EXPECT_TRUE(SLocale::GetWeekdayString(7, id).isEmpty());
        EXPECT_TRUE(before == CLocales());
    }
}

TEST(SLocaleCalendar, OrderDelimitersAndForms) {
    using Case = std::tuple<uint32_t, const char *, const char *, const char *, const char *, bool, bool>;
    const Case cases[] = {
        {SLocale::English, "/", ":", "08/01/1999", "01:05:09 PM", false, true},
        {SLocale::German, ".", ":", "01.08.1999", "13:05:09", true, true},
        {SLocale::French, "/", ":", "01/08/1999", "13:05:09", true, true},
        {SLocale::Japanese, "\xE5\xB9\xB4", "\xE6\x99\x82", "1999\xE5\xB9\xB4" "08\xE6\x9C\x88" "01\xE6\x97\xA5",
         "13\xE6\x99\x82" "05\xE5\x88\x86" "09\xE7\xA7\x92", false, false},
    };
    const STimeZone &utc = STimeZone::TZ_UTC();
    const auto before = CLocales();
    for (const auto &[lcid, date, time, dateText, timeText, dayMonth, monthYear] : cases) {
        SCOPED_TRACE(lcid);
        EXPECT_EQ(S(SLocale::GetDateDelimiters(lcid)), date);
        EXPECT_EQ(S(SLocale::GetTimeDelimiters(lcid)), time);
        EXPECT_EQ(SLocale::PreferDayBeforeMonth(lcid), dayMonth);
        EXPECT_EQ(SLocale::PreferDayBeforeYear(lcid), dayMonth);
        EXPECT_EQ(SLocale::PreferMonthBeforeYear(lcid), monthYear);
        EXPECT_EQ(S(SLocale::FormatDate(lcid, SDate(1999, 8, 1))), dateText);
        EXPECT_EQ(S(SLocale::FormatTime(lcid, STime(13, 5, 9, 0, utc), utc)), timeText);
    }
    // All fields in the zone: 22:30 UTC is the next day in summer Berlin.
    const STimeZone cet(SAnsiString("CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00"));
    const SDateTime when(1999, 8, 1, 22, 30, 0, 0, utc);
    EXPECT_EQ(S(SLocale::FormatDateTime(SLocale::German, when, cet)), "02.08.1999 00:30:00");
    EXPECT_TRUE(before == CLocales());

    TarnkitTest::CapturingSink sink;
    EXPECT_TRUE(SLocale::FormatDate(SLocale::German, SDate()).isEmpty());
    EXPECT_TRUE(sink.saw("Invalid input to GetDateString"));
    EXPECT_TRUE(SLocale::FormatTime(SLocale::German, STime(), utc).isEmpty());
    EXPECT_TRUE(sink.saw("Invalid input to GetTimeString"));
}

TEST(SLocaleThread, NamesFollowTheThreadLocaleAndLeaveTheCLocale) {
    TarnkitTest::ScopedLocale c("C");
    const auto before = CLocales();
    const std::pair<SAnsiString, const char *> names[] = {
        {SDateTimeString::GetLongDay(0), "Sunday"},           {SDateTimeString::GetShortDay(6), "Sat"},
        {SDateTimeString::GetLongMonth(12), "December"},      {SDateTimeString::GetShortMonth(1), "Jan"},
        {SDateTimeString::GetShortAM(true), "A"},             {SDateTimeString::GetLongAM(false), "PM"},
        {SDateTimeString::GetEra(SDate(1999, 1, 1)), "A.D."}, {SDateTimeString::GetEra(SDate(-44, 3, 15)), "B.C."},
        {SDateTimeString::GetEra(SDate()), ""},               {SDateTimeString::GetLongDay(7), ""},
        {SDateTimeString::GetShortMonth(13), ""}};
    for (const auto &[name, expected] : names)
        EXPECT_EQ(S(name), expected);

    // The thread's LCID is its own, and names follow it.
    const uint32_t initial = SLocale::GetCurrentThreadLocale();
    SLocale::SetCurrentThreadLocale(SLocale::German);
    EXPECT_EQ(SLocale::GetCurrentThreadLocale(), SLocale::German);
    EXPECT_EQ(S(SLocale::GetMonthString(3, 0)), "M\xC3\xA4rz");
    std::thread([initial] { EXPECT_EQ(SLocale::GetCurrentThreadLocale(), initial); }).join();
    SLocale::SetCurrentThreadLocale(initial);

    // So do the names of a thread whose own C locale is switched.
    OnThreadWithLocale("de_DE.UTF-8", [] {
        EXPECT_EQ(S(SDateTimeString::GetLongMonth(3)), "M\xC3\xA4rz");
        const SDateTime sunday(1999, 8, 1, 12, 0, 0, 0, STimeZone::TZ_UTC());
        EXPECT_EQ(S(sunday.Format("dddd, d. MMMM", STimeZone::TZ_UTC())), "Sonntag, 1. August");
    });
    OnThreadWithLocale("ja_JP.UTF-8", [] {
        EXPECT_EQ(S(SDateTimeString::GetShortAM(true)), "\xE5\x8D\x88"); // the first character of the two
    });
    EXPECT_TRUE(before == CLocales());
    EXPECT_EQ(S(SDateTimeString::GetLongMonth(3)), "March");
}
