#include "time/datenames.h"

#include <cstdlib>
#include <langinfo.h>

namespace TarnkitA201::DateNames {

namespace {

SAnsiString Item(nl_item item) {
    const char *text = nl_langinfo(item);
    return SAnsiString(text != nullptr ? text : "");
}

} // namespace

SAnsiString ShortDay(int day) { return day >= 0 && day <= 6 ? Item(ABDAY_1 + day) : SAnsiString(); }
SAnsiString LongDay(int day) { return day >= 0 && day <= 6 ? Item(DAY_1 + day) : SAnsiString(); }
SAnsiString ShortMonth(int month) { return month >= 1 && month <= 12 ? Item(ABMON_1 + month - 1) : SAnsiString(); }
SAnsiString LongMonth(int month) { return month >= 1 && month <= 12 ? Item(MON_1 + month - 1) : SAnsiString(); }

SAnsiString LongAM(bool am) { return Item(am ? AM_STR : PM_STR); }

SAnsiString ShortAM(bool am) {
    const char *text = nl_langinfo(am ? AM_STR : PM_STR);
    if (text == nullptr || *text == 0)
        return SAnsiString();
    const int length = std::mblen(text, MB_CUR_MAX);
    return SAnsiString(text, length > 0 ? static_cast<size_t>(length) : 1);
}

// The C library names eras only for calendars with several (the Japanese
// one); the civil calendar has the one era of the Christian count.
SAnsiString Era(const SDate &) { return SAnsiString("A.D."); }

} // namespace TarnkitA201::DateNames
