// Zone rule texts, the POSIX rules of the machine's zone and zone-file
// footers from arbitrary bytes: every zone built must answer its questions.
#include "tarnkit/stimezone.h"
#include "time/posixtz.h"
#include "time/zonebuilder.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

using namespace TarnkitA201;

static void Exercise(const STimeZone &zone) {
    static const SDateTime moments[] = {
        SDateTime(2024, 1, 15, 12, 0, 0, 0, STimeZone::TZ_UTC()), SDateTime(2024, 7, 15, 12, 0, 0, 0, STimeZone::TZ_UTC()),
        SDateTime(1601, 3, 1, 0, 0, 0, 0, STimeZone::TZ_UTC()),   SDateTime(SDate::FromDayNumber(INT32_MAX), STime()),
        SDateTime(SDate::FromDayNumber(-2000000000), STime(0, 0, 0, 5)), SDateTime()};
    for (const SDateTime &when : moments) {
        zone.InDST(when, true);
        zone.InDST(when, false);
        zone.UTCOffset(when, false);
        zone.GetName(when);
        when.Format("yyyy-MM-dd HH:mm:ss tt", zone);
        SDateTime(2024, 3, 31, 2, 30, 0, 0, zone).IsValid();
    }
    const SAnsiString rules = zone.GetRules();
    // The regenerated text reads back to the same zone.
    if (std::string(STimeZone(rules).GetRules()) != std::string(rules) && !rules.isEmpty())
        __builtin_trap();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    if (!text.empty() && text.find('\0') == std::string::npos)
        Exercise(STimeZone(SAnsiString(text.c_str())));
    STimeZone zone = STimeZone::TZ_UTC();
    std::string why;
    if (ZoneBuilder::FromPosixRule(text, zone, why))
        Exercise(zone);
    std::string rule;
    TzifFooter(std::string_view(text), rule);
    return 0;
}
