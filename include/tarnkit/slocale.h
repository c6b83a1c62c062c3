// Locale information keyed by the numeric locale identifier (LCID): the
// mapping between LCIDs and RFC 1766 language tags through a built-in
// table, the number, currency and calendar conventions of a locale, dates
// and times formatted in a locale, and the day, month and half-day names
// the date pattern engine prints in the calling thread's locale.
//
// No query changes the C locale of the process or of the thread. An LCID
// stands for a locale of the C library (0x407 for de_DE.UTF-8); 1024 is the
// default locale that the environment names (LC_ALL, LC_*, LANG), 0 the
// calling thread's LCID. An LCID the table does not know, or whose locale is
// not installed, is served by the language's main locale and then by
// en_US.UTF-8, the locale of "en-US". Texts from an LCID's locale are UTF-8.
#pragma once

#include "tarnkit/sdatetime.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class STimeZone;

class SLocale {
public:
    static constexpr uint32_t English = 0x409;
    static constexpr uint32_t French = 0x40C;
    static constexpr uint32_t German = 0x407;
    static constexpr uint32_t Italian = 0x410;
    static constexpr uint32_t Japanese = 0x411;
    static constexpr uint32_t Portuguese = 0x416;
    static constexpr uint32_t Spanish = 0x40A;
    static constexpr uint32_t Default = 0x400;

    // The calling thread's LCID: the one it last set, else the default
    // locale's. Setting it changes nothing of the C library's locales.
    static uint32_t GetCurrentThreadLocale();
    static void SetCurrentThreadLocale(uint32_t lcid);

    // Language and territory of the default locale ("de_AT"), "en" when it
    // names none (the "C" locale); the short form is its first 2 characters.
    static SAnsiString GetFullLanguageId();
    static SAnsiString GetShortLanguageId();

    // Tag to LCID: the deepest table record the tag reaches ("en-XX" gives
    // the language), "chs" 2052, "cht" 1028, anything else 1024.
    static uint32_t Rfc1766ToLcid(const SAnsiString &tag);
    static uint32_t LanguageIdToLCID(SAnsiStringCI languageId);
    // The language's tag alone ("jp" for Japanese, "chs"/"cht" for Chinese).
    static SAnsiString LCIDToLanguageId(uint32_t lcid);
    // Language and country ("de-AT"); "en-US" for an unknown language.
    static SAnsiString LcidToRfc1766(uint32_t lcid);
    static SAnsiString GetLanguageFromRfc1766(const SAnsiString &tag);

    // Number conventions, or with `currency` those of money amounts.
    static int GetNumDigitsForNumber(uint32_t lcid, bool currency);
    static int GetLeadingZeroForNumber(uint32_t lcid);
    // 0 to 4 for numbers; for money 0 to 15, where "-$1.1" is 1 and
    // "-1.1 $" is 8.
    static int GetNegativeOrderForNumber(uint32_t lcid, bool currency);
    // The size of the group next to the decimal separator; 0 for none.
    static int GetGroupingForNumber(uint32_t lcid, bool currency);
    static SAnsiString GetDecimalSeparatorForNumber(uint32_t lcid, bool currency);
    static SAnsiString GetThousandSeparatorForNumber(uint32_t lcid, bool currency);
    static SAnsiString GetCurrencySymbol(uint32_t lcid);

    // The locale's default forms; an invalid value gives an empty string.
    static SAnsiString FormatDate(uint32_t lcid, const SDate &date);
    static SAnsiString FormatTime(uint32_t lcid, const STime &time, const STimeZone &zone);
    // Date, a blank, time, all in the zone.
    static SAnsiString FormatDateTime(uint32_t lcid, const SDateTime &when, const STimeZone &zone);

    // month 1 to 12, day 0 to 6 with 0 for Sunday; out of range gives "".
    static SAnsiString GetMonthString(int month, uint32_t lcid);
    static SAnsiString GetShortMonthString(int month, uint32_t lcid);
    static SAnsiString GetWeekdayString(int day, uint32_t lcid);
    static SAnsiString GetShortWeekdayString(int day, uint32_t lcid);
    static SAnsiString GetBeforeNoonString(uint32_t lcid);
    static SAnsiString GetAfterNoonString(uint32_t lcid);

    // The default locale's code page as decimal text ("65001" for UTF-8);
    // the codeset's own name when it has no code page number.
    static SAnsiString GetUserDefaultCodePage();

    // The text between hours and minutes, and between the first two parts
    // of a date, up to 5 characters.
    static SAnsiString GetTimeDelimiters(uint32_t lcid);
    static SAnsiString GetDateDelimiters(uint32_t lcid);
    // From the order of day, month and year in the locale's date form.
    static bool PreferDayBeforeMonth(uint32_t lcid);
    static bool PreferDayBeforeYear(uint32_t lcid);
    static bool PreferMonthBeforeYear(uint32_t lcid);

    static void Initialize() {}
    static void UnInitialize() {}
};

// Names for the date pattern engine, in the calling thread's C locale.
class SDateTimeString {
public:
    // day 0 to 6, 0 for Sunday; month 1 to 12; out of range gives "".
    static SAnsiString GetShortDay(int day);
    static SAnsiString GetLongDay(int day);
    static SAnsiString GetShortMonth(int month);
    static SAnsiString GetLongMonth(int month);
    // The first character of the designator, and the whole of it.
    static SAnsiString GetShortAM(bool am);
    static SAnsiString GetLongAM(bool am);
    // "A.D." or "B.C."; "" for an invalid date.
    static SAnsiString GetEra(const SDate &date);
};

TARNKIT_NAMESPACE_END
