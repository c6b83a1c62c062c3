// The machine's zone. Linux describes it by a POSIX TZ rule, either in the
// TZ variable or as the last line of a zone file (TZif version 2 and later),
// and that rule uses the same model as ours: west-positive offsets, daylight
// time one hour ahead unless told otherwise, and transitions on the nth
// weekday of a month ("Mm.w.d", 5 meaning the last) at a time of the clock in
// force before them. This file translates such a rule; nothing else in the
// zone code knows about POSIX.

#include "time/posixtz.h"

#include "platform/clock.h"
#include "tarnkit/strace.h"
#include "time/zonebuilder.h"

#include <cctype>

namespace TarnkitA201 {

namespace {

class PosixReader {
public:
    explicit PosixReader(std::string_view text) : m_text(text) {}

    bool atEnd() const { return m_pos >= m_text.size(); }
    char peek() const { return atEnd() ? '\0' : m_text[m_pos]; }
    bool take(char c) {
        if (peek() != c)
            return false;
        ++m_pos;
        return true;
    }

    // "<...>" or three or more letters.
    bool name(std::string &out) {
        if (take('<')) {
            const size_t close = m_text.find('>', m_pos);
            if (close == std::string_view::npos)
                return false;
            out.assign(m_text.substr(m_pos, close - m_pos));
            m_pos = close + 1;
            // Quoted names hold letters, digits and signs only.
            for (char c : out)
                if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-')
                    return false;
            return !out.empty();
        }
        const size_t from = m_pos;
        while (!atEnd() && std::isalpha(static_cast<unsigned char>(peek())))
            ++m_pos;
        out.assign(m_text.substr(from, m_pos - from));
        return out.size() >= 3;
    }

    bool number(int &value, int maximum) {
        if (!std::isdigit(static_cast<unsigned char>(peek())))
            return false;
        value = 0;
        while (std::isdigit(static_cast<unsigned char>(peek()))) {
            value = value * 10 + (m_text[m_pos++] - '0');
            if (value > maximum)
                return false;
        }
        return true;
    }

    // [+|-]hh[:mm[:ss]] as seconds; hours up to maxHours.
    bool clock(int &seconds, int maxHours) {
        int sign = 1;
        if (take('-'))
            sign = -1;
        else
            take('+');
        int h = 0, m = 0, s = 0;
        if (!number(h, maxHours))
            return false;
        if (take(':') && (!number(m, 59) || (take(':') && !number(s, 59))))
            return false;
        seconds = sign * (h * 3600 + m * 60 + s);
        return true;
    }

    bool startsClock() const {
        const char c = peek();
        return c == '+' || c == '-' || std::isdigit(static_cast<unsigned char>(c));
    }

private:
    std::string_view m_text;
    size_t m_pos = 0;
};

bool WholeMinutes(int seconds) { return seconds % 60 == 0; }

// "Mm.w.d[/time]"; the Julian day forms have no place in the model.
bool ReadPosixTransition(PosixReader &in, STimeZone::Transition &t, std::string &why) {
    if (!in.take('M')) {
        why = "transitions given as days of the year are not supported";
        return false;
    }
    int month = 0, week = 0, day = 0;
    if (!in.number(month, 12) || month < 1 || !in.take('.') || !in.number(week, 5) || week < 1 || !in.take('.') ||
        !in.number(day, 6)) {
        why = "malformed transition date";
        return false;
    }
    int seconds = 2 * 3600;
    // Hours may run from -167 to 167, for transitions like "the day after".
    if (in.take('/') && !in.clock(seconds, 167)) {
        why = "malformed transition time";
        return false;
    }
    if (!WholeMinutes(seconds)) {
        why = "transition times with seconds are not supported";
        return false;
    }
    t.month = static_cast<uint8_t>(month);
    t.week = static_cast<uint8_t>(week);
    t.day = static_cast<uint8_t>(day);
    t.hour = static_cast<int16_t>(seconds / 3600);
    t.minute = static_cast<int16_t>(seconds % 3600 / 60);
    return true;
}

SAnsiString ToText(const std::string &s) { return SAnsiString(s.data(), s.size()); }

// A zone file's footer: the POSIX rule between the two last line feeds,
// after the version 1 and version 2 data blocks.
bool ReadBigEndian32(std::string_view bytes, size_t at, uint32_t &value) {
    if (at + 4 > bytes.size())
        return false;
    const auto *p = reinterpret_cast<const unsigned char *>(bytes.data() + at);
    value = (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | uint32_t(p[3]);
    return true;
}

// Size of the header and data block starting at `at`, for times of timeSize bytes.
bool TzifBlockSize(std::string_view bytes, size_t at, size_t timeSize, size_t &size) {
    constexpr size_t kHeader = 44;
    if (at + kHeader > bytes.size() || bytes.compare(at, 4, "TZif") != 0)
        return false;
    uint32_t counts[6]; // isut, isstd, leap, time, type, char
    for (int i = 0; i < 6; ++i)
        if (!ReadBigEndian32(bytes, at + 20 + 4 * i, counts[i]))
            return false;
    const __uint64 data = __uint64(counts[3]) * (timeSize + 1) + __uint64(counts[4]) * 6 + counts[5] +
                          __uint64(counts[2]) * (timeSize + 4) + counts[1] + counts[0];
    if (data > bytes.size())
        return false;
    size = kHeader + static_cast<size_t>(data);
    return true;
}

} // namespace

bool TzifFooter(std::string_view bytes, std::string &rule) {
    size_t first = 0, second = 0;
    if (!TzifBlockSize(bytes, 0, 4, first))
        return false;
    if (bytes.size() < 5 || bytes[4] < '2')
        return false; // version 1 files carry no rule
    if (!TzifBlockSize(bytes, first, 8, second))
        return false;
    size_t at = first + second;
    if (at >= bytes.size() || bytes[at] != '\n')
        return false;
    const size_t end = bytes.find('\n', at + 1);
    if (end == std::string_view::npos)
        return false;
    rule.assign(bytes.substr(at + 1, end - at - 1));
    return true;
}

bool ZoneBuilder::FromPosixRule(std::string_view text, STimeZone &zone, std::string &why) {
    PosixReader in(text);
    std::string standardName, daylightName;
    int standardSeconds = 0;
    if (!in.name(standardName) || !in.clock(standardSeconds, 24)) {
        why = "no standard name and offset";
        return false;
    }
    if (!WholeMinutes(standardSeconds)) {
        why = "offsets with seconds are not supported";
        return false;
    }
    zone = Blank();
    SetStandard(zone, ToText(standardName), static_cast<int16_t>(standardSeconds / 60));
    if (in.atEnd()) {
        Prepared(zone);
        return true;
    }
    if (!in.name(daylightName)) {
        why = "malformed daylight name";
        return false;
    }
    int daylightSeconds = standardSeconds - 3600;
    if (in.startsClock() && !in.clock(daylightSeconds, 24)) {
        why = "malformed daylight offset";
        return false;
    }
    // The C library's own default when a rule names no dates.
    STimeZone::Transition start{3, 2, 0, 2, 0}, end{11, 1, 0, 2, 0};
    std::string datesWhy;
    bool datesOk = WholeMinutes(daylightSeconds);
    if (!datesOk)
        datesWhy = "offsets with seconds are not supported";
    if (datesOk && in.take(',')) {
        datesOk = ReadPosixTransition(in, start, datesWhy);
        if (datesOk && !in.take(',')) {
            datesOk = false;
            datesWhy = "missing end date";
        }
        datesOk = datesOk && ReadPosixTransition(in, end, datesWhy);
    }
    if (datesOk && !in.atEnd()) {
        datesOk = false;
        datesWhy = "unexpected text after the rule";
    }
    if (datesOk) {
        SetDaylight(zone, ToText(daylightName), static_cast<int16_t>(daylightSeconds / 60), start, end);
    } else {
        // Keep what can be kept: the standard clock.
        TARNKIT_TRACE(2, "Daylight time of the zone rule \"%1\" is ignored: %2", std::string(text).c_str(),
                      datesWhy.c_str());
    }
    Prepared(zone);
    return true;
}

namespace {

STimeZone Utc() { return ZoneBuilder::FromRuleText("UTC,0", 5); }

// Reads the rule at the end of a zone file.
bool RuleFromZoneFile(const std::string &path, std::string &rule, std::string &why) {
    std::string bytes;
    if (!Platform::ReadZoneFile(path, bytes)) {
        why = "cannot read " + path;
        return false;
    }
    if (!TzifFooter(bytes, rule)) {
        why = path + " carries no zone rule";
        return false;
    }
    return true;
}

} // namespace

STimeZone ZoneBuilder::MachineZone() {
    std::string variable, rule, why;
    const bool fromVariable = Platform::ZoneVariable(variable);
    bool haveRule = false;
    if (fromVariable) {
        if (variable.empty() || variable == ":")
            return Utc(); // the C library reads an empty TZ as UTC too
        // Like the C library: a name is looked up as a zone file first, and
        // read as a rule when no such file exists.
        const bool colon = variable[0] == ':';
        const std::string name = colon ? variable.substr(1) : variable;
        const std::string path = !name.empty() && name[0] == '/' ? name : Platform::ZoneFileFolder() + "/" + name;
        std::string fileWhy;
        haveRule = name.find("..") == std::string::npos && RuleFromZoneFile(path, rule, fileWhy);
        if (!haveRule && !colon) {
            rule = variable;
            haveRule = true;
        } else if (!haveRule) {
            why = fileWhy;
        }
    } else {
        haveRule = RuleFromZoneFile("/etc/localtime", rule, why);
    }
    STimeZone zone = Utc();
    if (haveRule) {
        if (rule.empty())
            return Utc(); // a zone file whose rule is empty has no rule past its table: UTC is the best guess
        if (FromPosixRule(rule, zone, why))
            return zone;
    }
    TARNKIT_TRACE(2, "The machine's time zone cannot be read (%1); UTC is used", why.c_str());
    return Utc();
}

} // namespace TarnkitA201
