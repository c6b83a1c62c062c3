// Day, month, half-day and era names in the calling thread's C locale, the
// one uselocale names; asking does not change it.
#include "tarnkit/slocale.h"

#include <cwchar>
#include <langinfo.h>
#include <locale.h>

namespace TarnkitA201 {

namespace {

SAnsiString ThreadItem(nl_item item) {
    const locale_t current = uselocale(static_cast<locale_t>(0));
    // The global locale is no object nl_langinfo_l may be given; plain
    // nl_langinfo reads it for a thread that has none of its own.
    const char *text = current == LC_GLOBAL_LOCALE ? nl_langinfo(item) : nl_langinfo_l(item, current);
    return SAnsiString(text != nullptr ? text : "");
}

// The first character of a designator, in the thread's multibyte encoding.
SAnsiString FirstCharacter(const SAnsiString &text) {
    if (text.isEmpty())
        return text;
    std::mbstate_t state{};
    const size_t length = std::mbrlen(text.getString(), text.getLength(), &state);
    const bool whole = length != 0 && length != static_cast<size_t>(-1) && length != static_cast<size_t>(-2);
    return SAnsiString(text.getString(), whole ? length : 1);
}

} // namespace

SAnsiString SDateTimeString::GetShortDay(int day) {
    return day >= 0 && day <= 6 ? ThreadItem(ABDAY_1 + day) : SAnsiString();
}

SAnsiString SDateTimeString::GetLongDay(int day) {
    return day >= 0 && day <= 6 ? ThreadItem(DAY_1 + day) : SAnsiString();
}

// A month standing alone takes the nominative form, which some languages
// spell differently from the one inside a date.
SAnsiString SDateTimeString::GetShortMonth(int month) {
    return month >= 1 && month <= 12 ? ThreadItem(_NL_ABALTMON_1 + month - 1) : SAnsiString();
}

SAnsiString SDateTimeString::GetLongMonth(int month) {
    return month >= 1 && month <= 12 ? ThreadItem(ALTMON_1 + month - 1) : SAnsiString();
}

SAnsiString SDateTimeString::GetShortAM(bool am) { return FirstCharacter(GetLongAM(am)); }

SAnsiString SDateTimeString::GetLongAM(bool am) { return ThreadItem(am ? AM_STR : PM_STR); }

// The years the date values count are those of the Christian era. The C
// library's era data belongs to other counts (the Japanese imperial eras)
// and would mislabel the year printed beside it.
SAnsiString SDateTimeString::GetEra(const SDate &date) {
    if (!date.IsValid())
        return SAnsiString();
    return SAnsiString(date.GetYear() < 0 ? "B.C." : "A.D.");
}

} // namespace TarnkitA201
