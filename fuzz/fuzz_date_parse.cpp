// Date patterns and date values from arbitrary bytes: the pattern walker with
// any text (open quotes, long runs, broken multibyte sequences), the date
// constructors with any fields and the OLE and time_t conversions with any
// numbers. None may crash, and formatting never reads past the pattern.
#include "tarnkit/stimezone.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

using namespace TarnkitA201;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const STimeZone zone(SAnsiString("CET,-60,CEST,-60;3.5.0/02:00,10.5.0/03:00"));
    if (size < 16)
        return 0;
    short year;
    unsigned char month, day, hour, minute, second;
    unsigned short ms;
    double ole;
    std::memcpy(&year, data, 2);
    month = data[2];
    day = data[3];
    hour = data[4];
    minute = data[5];
    second = data[6];
    std::memcpy(&ms, data + 7, 2);
    std::memcpy(&ole, data + 8, 8);
    const std::string pattern(reinterpret_cast<const char *>(data + 16), size - 16);

    const SDateTime fields(year, month, day, hour, minute, second, ms, zone);
    const SDateTime fromOle = sicDATEToSDateTime(ole, zone);
    __int64 t;
    std::memcpy(&t, data + 8, 8);
    const SDateTime fromTimeT = sicTime_tToSDateTime(t, STimeZone::TZ_UTC());
    for (const SDateTime &when : {fields, fromOle, fromTimeT, SDateTime(SDate(year, month, day), STime())}) {
        when.Format(pattern.c_str(), zone);
        when.Format(pattern.c_str(), STimeZone::TZ_UTC());
        if (when.IsValid()) {
            sicSDateTimeToDATE(&when, zone);
            sicSDateTimeToTm(&when, zone);
            (when + STimeSpan(t)) - when;
        }
    }
    SDate(year, month, day).GetWeekOfMonth(day);
    return 0;
}
