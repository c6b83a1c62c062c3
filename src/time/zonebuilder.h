// Building zones from text: the library's own rule text, and the POSIX TZ
// rule that describes the machine's zone (from the TZ variable or the
// footer of a zone file).
#pragma once

#include "tarnkit/stimezone.h"

#include <string>
#include <string_view>

namespace TarnkitA201 {

struct ZoneBuilder {
    // Reads the library's rule text, step by step; never fails.
    static STimeZone FromRuleText(const char *text, size_t length);

    // Translates a POSIX TZ rule ("CET-1CEST,M3.5.0,M10.5.0/3"). False, with
    // why set, for a rule the zone model cannot hold at all; a rule whose
    // daylight dates cannot be held keeps its standard offset only.
    static bool FromPosixRule(std::string_view rule, STimeZone &zone, std::string &why);

    // The machine's zone, or UTC with a trace line when it cannot be read.
    static STimeZone MachineZone();

    static STimeZone &Prepared(STimeZone &zone) {
        zone.prepare();
        return zone;
    }
    static STimeZone Blank() { return STimeZone(); }
    static void SetStandard(STimeZone &z, const SAnsiString &name, int16_t offset) {
        z.m_standardName = name;
        z.m_standardOffset = offset;
    }
    static void SetDaylight(STimeZone &z, const SAnsiString &name, int16_t offset, const STimeZone::Transition &start,
                            const STimeZone::Transition &end) {
        z.m_dstEnabled = true;
        z.m_daylightName = name;
        z.m_daylightOffset = offset;
        z.m_start = start;
        z.m_end = end;
    }
};

} // namespace TarnkitA201
