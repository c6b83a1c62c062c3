// LCIDs and language tags through the built-in table, and a locale's
// conventions read from the C library's locale data. Every query works on a
// locale object of its own (newlocale, nl_langinfo_l, strftime_l), so the
// C locale of the process and of the calling thread stays as it was.
#include "tarnkit/slocale.h"

#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"

#include <climits>
#include <cstring>
#include <ctime>
#include <iterator>
#include <langinfo.h>
#include <locale.h>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace TarnkitA201 {

#include "time/localetable.inc"

namespace {

using LocaleTable::kTable;

constexpr uint32_t kDefaultLcid = 1024;
constexpr uint32_t kSimplifiedChinese = 2052;
constexpr uint32_t kTraditionalChinese = 1028;

// 0 while the thread has set none.
thread_local uint32_t t_threadLcid = 0;

bool IsAsciiAlnum(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'); }
char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char AsciiUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool EqualsNoCase(const SAnsiString &text, const char *ascii) {
    if (text.getLength() != std::strlen(ascii))
        return false;
    for (size_t i = 0; i < text.getLength(); ++i) {
        if (AsciiLower(text.getString()[i]) != ascii[i])
            return false;
    }
    return true;
}

// Binary search of a two-letter tag among records first..last.
int FindRecord(const char token[2], int first, int last) {
    while (first <= last) {
        const int middle = first + (last - first) / 2;
        const int order = LocaleTable::Compare(kTable.records[middle].tag, token);
        if (order == 0)
            return middle;
        if (order < 0)
            first = middle + 1;
        else
            last = middle - 1;
    }
    return -1;
}

int LanguageRecord(uint32_t lcid) {
    const uint32_t primary = lcid & 0x3FF;
    return primary < LocaleTable::kPrimaryCount ? kTable.primaryIndex[primary] : -1;
}

int CountryRecord(int language, uint32_t lcid) {
    const LocaleTable::Record &record = kTable.records[language];
    const uint32_t sublanguage = lcid >> 10;
    if (sublanguage >= static_cast<uint32_t>(record.countryCount))
        return -1;
    return kTable.countryIndex[record.countryBase + static_cast<int>(sublanguage)];
}

SAnsiString RecordTag(int record) { return SAnsiString(kTable.records[record].tag, 2); }

// ---- Locale objects -------------------------------------------------------

// The default locale as the environment names it, read once; "C" when the
// environment names a locale that is not installed.
locale_t DefaultLocale() {
    static const locale_t locale = [] {
        locale_t made = newlocale(LC_ALL_MASK, "", static_cast<locale_t>(0));
        return made != static_cast<locale_t>(0) ? made : newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    }();
    return locale;
}

bool IsUtf8(locale_t locale) { return std::strcmp(nl_langinfo_l(CODESET, locale), "UTF-8") == 0; }

// Loads "name.UTF-8", or "name" when that is a UTF-8 locale under its bare
// name. Null when neither is installed.
locale_t LoadUtf8Locale(const std::string &name) {
    locale_t made = newlocale(LC_ALL_MASK, (name + ".UTF-8").c_str(), static_cast<locale_t>(0));
    if (made != static_cast<locale_t>(0))
        return made;
    made = newlocale(LC_ALL_MASK, name.c_str(), static_cast<locale_t>(0));
    if (made != static_cast<locale_t>(0) && !IsUtf8(made)) {
        freelocale(made);
        made = static_cast<locale_t>(0);
    }
    return made;
}

// Locale objects live as long as the process: callers keep pointers into
// their data. The cache is keyed by name, so it stays as small as the set of
// names the table can produce.
// The map itself is never destroyed either, so that no exit-time
// destructor leaves the locales unreachable while others still use them.
locale_t CachedLocale(const std::string &name) {
    static std::mutex lock;
    static auto *cache = new std::map<std::string, locale_t>;
    std::lock_guard<std::mutex> guard(lock);
    const auto found = cache->find(name);
    if (found != cache->end())
        return found->second;
    const locale_t made = LoadUtf8Locale(name);
    cache->emplace(name, made);
    return made;
}

// The C library's territory for a country record; empty for the records
// that name no country ("AA", the lower-case ones).
std::string Territory(int language, int country) {
    if (country < 0)
        return std::string();
    const char *tag = kTable.records[country].tag;
    if (tag[0] < 'A' || tag[0] > 'Z' || LocaleTable::Compare(tag, "AA") == 0)
        return std::string();
    if (LocaleTable::Compare(tag, "SP") == 0)
        return "RS";
    // Under Romanian and Russian "MO" stands for Moldova.
    const char *languageTag = kTable.records[language].tag;
    if (LocaleTable::Compare(tag, "MO") == 0 &&
        (LocaleTable::Compare(languageTag, "ro") == 0 || LocaleTable::Compare(languageTag, "ru") == 0))
        return "MD";
    return std::string(tag, 2);
}

// The locale of an LCID: the exact language and country, else the
// language's main locale, else en_US, else C.UTF-8, else C.
locale_t LocaleFor(uint32_t lcid) {
    if (lcid == 0)
        lcid = SLocale::GetCurrentThreadLocale();
    if (lcid == kDefaultLcid)
        return DefaultLocale();
    std::vector<std::string> names;
    const int language = LanguageRecord(lcid);
    if (language >= 0) {
        const LocaleTable::LanguageSource &source = LocaleTable::kLanguages[language];
        const std::string territory = Territory(language, CountryRecord(language, lcid));
        if (!territory.empty())
            names.push_back(std::string(source.libcLanguage) + "_" + territory);
        names.push_back(std::string(source.libcLanguage) + "_" + source.mainTerritory);
    }
    names.push_back("en_US");
    names.push_back("C");
    for (const std::string &name : names) {
        const locale_t locale = CachedLocale(name);
        if (locale != static_cast<locale_t>(0))
            return locale;
    }
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return plain;
}

const char *Item(uint32_t lcid, nl_item item) {
    const locale_t locale = LocaleFor(lcid);
    if (locale == static_cast<locale_t>(0))
        return "";
    const char *text = nl_langinfo_l(item, locale);
    return text != nullptr ? text : "";
}

SAnsiString TextItem(uint32_t lcid, nl_item item) { return SAnsiString(Item(lcid, item)); }

// A one-byte item of the monetary or numeric data; -1 when unspecified.
int ByteItem(uint32_t lcid, nl_item item) {
    const int value = static_cast<signed char>(*Item(lcid, item));
    return value < 0 || value == CHAR_MAX ? -1 : value;
}

// The language and territory of the default locale's date and time data,
// empty for the C locale.
std::string DefaultLanguageAndTerritory() {
    const locale_t locale = DefaultLocale();
    if (locale == static_cast<locale_t>(0))
        return std::string();
    std::string name = nl_langinfo_l(_NL_LOCALE_NAME(LC_TIME), locale);
    name = name.substr(0, name.find_first_of(".@"));
    if (name.empty() || name == "C" || name == "POSIX")
        return std::string();
    return name;
}

uint32_t UserDefaultLcid() {
    const std::string name = DefaultLanguageAndTerritory();
    return name.empty() ? SLocale::English : SLocale::Rfc1766ToLcid(SAnsiString(name.c_str()));
}

// ---- Dates and times ------------------------------------------------------

std::tm CivilTm(short year, int month, int day, int hour, int minute, int second) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    const SDate date(year, static_cast<unsigned char>(month), static_cast<unsigned char>(day));
    if (date.IsValid()) {
        tm.tm_wday = date.GetDayOfWeek();
        tm.tm_yday = date.GetDayNumber() - SDate(year, 1, 1).GetDayNumber();
    }
    return tm;
}

SAnsiString Strftime(locale_t locale, const char *format, const std::tm &tm) {
    if (locale == static_cast<locale_t>(0) || *format == 0)
        return SAnsiString();
    // strftime answers 0 both for "too small" and for an empty result, so
    // the buffer grows only to a bound.
    for (size_t size = 128; size <= 8192; size *= 2) {
        std::vector<char> buffer(size);
        const size_t written = strftime_l(buffer.data(), size, format, &tm, locale);
        if (written > 0)
            return SAnsiString(buffer.data(), written);
    }
    return SAnsiString();
}

// The zone's offset and name at a moment, for %z and %Z in a locale's form.
void SetZone(std::tm &tm, const STimeZone &zone, const SDateTime &when, SAnsiString &name) {
    // Zone offsets count towards UTC; tm_gmtoff counts away from it.
    tm.tm_gmtoff = static_cast<long>(-zone.UTCOffset(when).GetTotalSeconds());
    name = zone.GetName(when);
    tm.tm_zone = name.getString();
}

SAnsiString DateString(uint32_t lcid, short year, int month, int day) {
    if (month < 1 || month > 12 || day < 1 || day > 31) {
        TARNKIT_FAIL("Invalid input to GetDateString");
        return SAnsiString();
    }
    const locale_t locale = LocaleFor(lcid);
    const std::tm tm = CivilTm(year, month, day, 0, 0, 0);
    return Strftime(locale, nl_langinfo_l(D_FMT, locale), tm);
}

SAnsiString TimeString(uint32_t lcid, std::tm tm, bool valid) {
    if (!valid || tm.tm_hour > 23 || tm.tm_min > 59 || tm.tm_sec > 59) {
        TARNKIT_FAIL("Invalid input to GetTimeString");
        return SAnsiString();
    }
    const locale_t locale = LocaleFor(lcid);
    return Strftime(locale, nl_langinfo_l(T_FMT, locale), tm);
}

// ---- Reading a locale's date and time forms --------------------------------

// The form with its composite conversions (%D, %r, %x ...) spelled out.
std::string Expanded(locale_t locale, const char *format, int depth) {
    std::string out;
    for (const char *p = format; *p != 0; ++p) {
        if (*p != '%' || p[1] == 0) {
            out += *p;
            continue;
        }
        const char *start = p++;
        if (*p == 'E' || *p == 'O') {
            if (p[1] == 0)
                break;
            ++p;
        }
        const char *inner = nullptr;
        switch (*p) {
        case 'D': inner = "%m/%d/%y"; break;
        case 'F': inner = "%Y-%m-%d"; break;
        case 'T': inner = "%H:%M:%S"; break;
        case 'R': inner = "%H:%M"; break;
        case 'r':
            inner = nl_langinfo_l(T_FMT_AMPM, locale);
            if (*inner == 0)
                inner = "%I:%M:%S %p";
            break;
        case 'x': inner = nl_langinfo_l(D_FMT, locale); break;
        case 'X': inner = nl_langinfo_l(T_FMT, locale); break;
        case 'c': inner = nl_langinfo_l(D_T_FMT, locale); break;
        default: break;
        }
        if (inner != nullptr && depth < 3)
            out += Expanded(locale, inner, depth + 1);
        else
            out.append(start, static_cast<size_t>(p - start + 1));
    }
    return out;
}

struct FormField {
    char conversion;
    size_t position;
    std::string literalBefore; // plain text since the previous field
};

// The conversions of `classes` in order, each with the plain text before it.
std::vector<FormField> Fields(const std::string &form, const char *classes) {
    std::vector<FormField> fields;
    std::string literal;
    for (size_t i = 0; i < form.size(); ++i) {
        if (form[i] != '%' || i + 1 >= form.size()) {
            literal += form[i];
            continue;
        }
        ++i;
        if ((form[i] == 'E' || form[i] == 'O') && i + 1 < form.size())
            ++i;
        if (form[i] == '%') {
            literal += '%';
        } else if (std::strchr(classes, form[i]) != nullptr) {
            fields.push_back({form[i], i, literal});
            literal.clear();
        }
    }
    return fields;
}

// At most `count` characters of UTF-8 text.
SAnsiString FirstCharacters(const std::string &text, size_t count) {
    size_t end = 0;
    for (size_t seen = 0; end < text.size(); ++end) {
        if ((static_cast<unsigned char>(text[end]) & 0xC0) != 0x80 && seen++ == count)
            break;
    }
    return SAnsiString(text.c_str(), end);
}

SAnsiString Delimiter(uint32_t lcid, nl_item formItem, const char *classes) {
    const locale_t locale = LocaleFor(lcid);
    const std::vector<FormField> fields = Fields(Expanded(locale, nl_langinfo_l(formItem, locale), 0), classes);
    return fields.size() < 2 ? SAnsiString() : FirstCharacters(fields[1].literalBefore, 5);
}

constexpr const char *kDayFields = "de";
constexpr const char *kMonthFields = "mbBh";
constexpr const char *kYearFields = "yYCGg";

// 0 for month-day-year, 1 for day-month-year, 2 for year-month-day; false
// when the locale's date form lacks one of the three.
bool DateOrder(uint32_t lcid, int &order) {
    const locale_t locale = LocaleFor(lcid);
    const std::string form = Expanded(locale, nl_langinfo_l(D_FMT, locale), 0);
    const std::string all = std::string(kDayFields) + kMonthFields + kYearFields;
    size_t day = std::string::npos, month = std::string::npos, year = std::string::npos;
    for (const FormField &f : Fields(form, all.c_str())) {
        size_t &slot = std::strchr(kDayFields, f.conversion) != nullptr     ? day
                       : std::strchr(kMonthFields, f.conversion) != nullptr ? month
                                                                             : year;
        if (slot == std::string::npos)
            slot = f.position;
    }
    const bool rc = day != std::string::npos && month != std::string::npos && year != std::string::npos;
    TARNKIT_ASSERT_MSG(rc, "Unable to retrieve locale-specific calendar information");
    if (!rc)
        return false;
    order = year < month && year < day ? 2 : day < month ? 1 : 0;
    return true;
}

// Windows' order numbers for a negative money amount, from the C library's
// sign position (0 parentheses, 1 before all, 2 after all, 3 before the
// symbol, 4 after the symbol), by symbol first or last and spacing.
int NegativeCurrencyOrder(int signPosition, bool symbolFirst, bool spaced) {
    static constexpr int kSymbolFirst[2][5] = {{0, 1, 3, 1, 2}, {14, 9, 11, 9, 12}};
    static constexpr int kSymbolLast[2][5] = {{4, 5, 7, 6, 7}, {15, 8, 10, 13, 10}};
    return symbolFirst ? kSymbolFirst[spaced][signPosition] : kSymbolLast[spaced][signPosition];
}

struct CodePageName {
    const char *codeset;
    const char *codePage;
};

constexpr CodePageName kCodePages[] = {
    {"UTF-8", "65001"},      {"ANSI_X3.4-1968", "20127"}, {"ISO-8859-1", "28591"},  {"ISO-8859-2", "28592"},
    {"ISO-8859-3", "28593"}, {"ISO-8859-4", "28594"},     {"ISO-8859-5", "28595"},  {"ISO-8859-6", "28596"},
    {"ISO-8859-7", "28597"}, {"ISO-8859-8", "28598"},     {"ISO-8859-9", "28599"},  {"ISO-8859-13", "28603"},
    {"ISO-8859-15", "28605"}, {"KOI8-R", "20866"},        {"KOI8-U", "21866"},      {"CP1251", "1251"},
    {"CP1255", "1255"},      {"EUC-JP", "51932"},         {"SHIFT_JIS", "932"},     {"GB2312", "936"},
    {"GBK", "936"},          {"GB18030", "54936"},        {"BIG5", "950"},          {"BIG5-HKSCS", "950"},
    {"EUC-KR", "51949"},     {"EUC-TW", "51950"},         {"TIS-620", "874"},
};

} // namespace

// ---- Thread locale and language ids ----------------------------------------

uint32_t SLocale::GetCurrentThreadLocale() { return t_threadLcid != 0 ? t_threadLcid : UserDefaultLcid(); }

void SLocale::SetCurrentThreadLocale(uint32_t lcid) { t_threadLcid = lcid; }

SAnsiString SLocale::GetFullLanguageId() {
    const std::string name = DefaultLanguageAndTerritory();
    return name.empty() ? SAnsiString("en") : SAnsiString(name.c_str());
}

SAnsiString SLocale::GetShortLanguageId() { return GetFullLanguageId().left(2); }

uint32_t SLocale::Rfc1766ToLcid(const SAnsiString &tag) {
    const char *text = tag.getString();
    const size_t length = tag.getLength();
    int first = 0;
    int last = LocaleTable::kLanguageCount - 1;
    int found = -1;
    char token[2] = {0, 0};
    size_t tokenLength = 0;
    bool firstToken = true;
    // The end of the text closes the last token like any separator.
    for (size_t i = 0; i <= length; ++i) {
        const char c = i < length ? text[i] : 0;
        if (IsAsciiAlnum(c)) {
            if (tokenLength < 2)
                token[tokenLength] = firstToken ? AsciiLower(c) : AsciiUpper(c);
            if (++tokenLength != 2)
                continue;
            const int record = FindRecord(token, first, last);
            if (record < 0)
                break;
            found = record;
            first = kTable.records[record].firstChild;
            last = kTable.records[record].lastChild;
            if (first > last)
                break;
            continue;
        }
        if (tokenLength < 2) {
            TARNKIT_ASSERT_MSG(tokenLength >= 2, "Language/country ids must be at least 2 characters");
            break;
        }
        if (c != 0 && std::strchr(",;=[]", c) != nullptr)
            break;
        tokenLength = 0;
        firstToken = false;
    }
    if (found >= 0)
        return kTable.records[found].lcid;
    if (EqualsNoCase(tag, "chs"))
        return kSimplifiedChinese;
    if (EqualsNoCase(tag, "cht"))
        return kTraditionalChinese;
    return kDefaultLcid;
}

uint32_t SLocale::LanguageIdToLCID(SAnsiStringCI languageId) { return Rfc1766ToLcid(languageId); }

SAnsiString SLocale::LCIDToLanguageId(uint32_t lcid) {
    if (lcid == kDefaultLcid)
        lcid = UserDefaultLcid();
    const uint32_t primary = lcid & 0x3FF;
    if (primary == 4) {
        const uint32_t sublanguage = lcid >> 10;
        return SAnsiString(sublanguage == 1 || sublanguage == 3 || sublanguage == 5 ? "cht" : "chs");
    }
    if (primary == 17)
        return SAnsiString("jp");
    const int language = LanguageRecord(lcid);
    return language >= 0 ? RecordTag(language) : GetShortLanguageId();
}

SAnsiString SLocale::LcidToRfc1766(uint32_t lcid) {
    if (lcid == kDefaultLcid)
        lcid = UserDefaultLcid();
    const int language = LanguageRecord(lcid);
    if (language < 0)
        return SAnsiString("en-US");
    const int country = CountryRecord(language, lcid);
    if (country < 0)
        return RecordTag(language);
    const char first = kTable.records[country].tag[0];
    if (first >= 'a' && first <= 'z')
        return RecordTag(country);
    return RecordTag(language) + "-" + RecordTag(country);
}

SAnsiString SLocale::GetLanguageFromRfc1766(const SAnsiString &tag) { return tag.left(2); }

// ---- Numbers and money -----------------------------------------------------

// The C library keeps no count of decimals, leading zero or negative form
// for plain numbers; those answer the values of the common locales.
int SLocale::GetNumDigitsForNumber(uint32_t lcid, bool currency) {
    if (!currency)
        return 2;
    const int digits = ByteItem(lcid, FRAC_DIGITS);
    return digits < 0 ? 2 : digits;
}

int SLocale::GetLeadingZeroForNumber(uint32_t) { return 1; }

int SLocale::GetNegativeOrderForNumber(uint32_t lcid, bool currency) {
    int retval = 1;
    if (currency) {
        const int position = ByteItem(lcid, N_SIGN_POSN);
        const int symbolFirst = ByteItem(lcid, N_CS_PRECEDES);
        const int spacing = ByteItem(lcid, N_SEP_BY_SPACE);
        if (position >= 0 && position <= 4 && symbolFirst >= 0 && spacing >= 0)
            retval = NegativeCurrencyOrder(position, symbolFirst != 0, spacing != 0);
    }
    TARNKIT_ASSERT((retval >= 0) && (retval <= 4));
    return retval;
}

int SLocale::GetGroupingForNumber(uint32_t lcid, bool currency) {
    const int group = ByteItem(lcid, currency ? MON_GROUPING : GROUPING);
    return group < 0 ? 0 : group;
}

SAnsiString SLocale::GetDecimalSeparatorForNumber(uint32_t lcid, bool currency) {
    return TextItem(lcid, currency ? MON_DECIMAL_POINT : RADIXCHAR);
}

SAnsiString SLocale::GetThousandSeparatorForNumber(uint32_t lcid, bool currency) {
    return TextItem(lcid, currency ? MON_THOUSANDS_SEP : THOUSEP);
}

SAnsiString SLocale::GetCurrencySymbol(uint32_t lcid) { return TextItem(lcid, CURRENCY_SYMBOL); }

// ---- Dates and times -------------------------------------------------------

SAnsiString SLocale::FormatDate(uint32_t lcid, const SDate &date) {
    if (!date.IsValid())
        return DateString(lcid, 0, 0, 0);
    short year;
    unsigned char month, day;
    date.GetYearMonthDay(year, month, day);
    return DateString(lcid, year, month, day);
}

SAnsiString SLocale::FormatTime(uint32_t lcid, const STime &time, const STimeZone &zone) {
    if (!time.IsValid())
        return TimeString(lcid, std::tm{}, false);
    unsigned char hour, minute, second;
    time.GetHourMinuteSecond(hour, minute, second, zone);
    std::tm tm = CivilTm(1999, 1, 1, hour, minute, second);
    SAnsiString zoneName;
    SetZone(tm, zone, SDateTime::GetCurrentDateTime(), zoneName);
    return TimeString(lcid, tm, true);
}

SAnsiString SLocale::FormatDateTime(uint32_t lcid, const SDateTime &when, const STimeZone &zone) {
    if (!when.IsValid())
        return DateString(lcid, 0, 0, 0) + " " + TimeString(lcid, std::tm{}, false);
    short year;
    unsigned char month, day, dayOfWeek, hour, minute, second;
    when.GetDateTime(year, month, day, dayOfWeek, hour, minute, second, zone);
    std::tm tm = CivilTm(year, month, day, hour, minute, second);
    SAnsiString zoneName;
    SetZone(tm, zone, when, zoneName);
    return DateString(lcid, year, month, day) + " " + TimeString(lcid, tm, true);
}

SAnsiString SLocale::GetMonthString(int month, uint32_t lcid) {
    return month >= 1 && month <= 12 ? TextItem(lcid, ALTMON_1 + month - 1) : SAnsiString();
}

SAnsiString SLocale::GetShortMonthString(int month, uint32_t lcid) {
    return month >= 1 && month <= 12 ? TextItem(lcid, _NL_ABALTMON_1 + month - 1) : SAnsiString();
}

SAnsiString SLocale::GetWeekdayString(int day, uint32_t lcid) {
    return day >= 0 && day <= 6 ? TextItem(lcid, DAY_1 + day) : SAnsiString();
}

SAnsiString SLocale::GetShortWeekdayString(int day, uint32_t lcid) {
    return day >= 0 && day <= 6 ? TextItem(lcid, ABDAY_1 + day) : SAnsiString();
}

SAnsiString SLocale::GetBeforeNoonString(uint32_t lcid) { return TextItem(lcid, AM_STR); }

SAnsiString SLocale::GetAfterNoonString(uint32_t lcid) { return TextItem(lcid, PM_STR); }

SAnsiString SLocale::GetUserDefaultCodePage() {
    const locale_t locale = DefaultLocale();
    const char *codeset = locale != static_cast<locale_t>(0) ? nl_langinfo_l(CODESET, locale) : "ANSI_X3.4-1968";
    for (const CodePageName &entry : kCodePages) {
        if (std::strcmp(entry.codeset, codeset) == 0)
            return SAnsiString(entry.codePage);
    }
    return SAnsiString(codeset);
}

SAnsiString SLocale::GetTimeDelimiters(uint32_t lcid) { return Delimiter(lcid, T_FMT, "HIklMS"); }

SAnsiString SLocale::GetDateDelimiters(uint32_t lcid) { return Delimiter(lcid, D_FMT, "demBbhyYCGg"); }

bool SLocale::PreferDayBeforeMonth(uint32_t lcid) {
    int order = 0;
    return DateOrder(lcid, order) && order == 1;
}

bool SLocale::PreferDayBeforeYear(uint32_t lcid) {
    int order = 0;
    return DateOrder(lcid, order) && order == 1;
}

bool SLocale::PreferMonthBeforeYear(uint32_t lcid) {
    int order = 0;
    return DateOrder(lcid, order) && order != 2;
}

} // namespace TarnkitA201
