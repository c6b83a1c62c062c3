#include "time/datenames.h"

#include "tarnkit/slocale.h"

namespace TarnkitA201::DateNames {

SAnsiString ShortDay(int day) { return SDateTimeString::GetShortDay(day); }
SAnsiString LongDay(int day) { return SDateTimeString::GetLongDay(day); }
SAnsiString ShortMonth(int month) { return SDateTimeString::GetShortMonth(month); }
SAnsiString LongMonth(int month) { return SDateTimeString::GetLongMonth(month); }
SAnsiString ShortAM(bool am) { return SDateTimeString::GetShortAM(am); }
SAnsiString LongAM(bool am) { return SDateTimeString::GetLongAM(am); }
SAnsiString Era(const SDate &date) { return SDateTimeString::GetEra(date); }

} // namespace TarnkitA201::DateNames
