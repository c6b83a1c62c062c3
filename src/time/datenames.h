// Names of days, months, half days and eras in the calling thread's locale,
// for the date pattern engine. These answer what the locale information
// class of the time subsystem answers; they live here until that class
// exists, and then forward to it.
#pragma once

#include "tarnkit/sdatetime.h"

namespace TarnkitA201::DateNames {

// day: 0 to 6, 0 for Sunday; month: 1 to 12. Out of range gives "".
SAnsiString ShortDay(int day);
SAnsiString LongDay(int day);
SAnsiString ShortMonth(int month);
SAnsiString LongMonth(int month);
// The first character of the designator for short, the whole one for long.
SAnsiString ShortAM(bool am);
SAnsiString LongAM(bool am);
SAnsiString Era(const SDate &date);

} // namespace TarnkitA201::DateNames
