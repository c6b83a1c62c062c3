// The pattern engine of SDateTime::Format. A run of one field letter is one
// field; everything else is literal text, with ' and " quoting runs that may
// hold field letters. Formatting runs on every log line, so the text is
// built in a stack buffer and turned into a string once.

#include "tarnkit/sdatetime.h"

#include "tarnkit/stimezone.h"
#include "time/calendar.h"
#include "time/datenames.h"
#include "time/zonecore.h"

#include <cstring>

namespace TarnkitA201 {

namespace {

constexpr char kDigitPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                               "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                               "8081828384858687888990919293949596979899";

class TextBuilder {
public:
    void put(char c) {
        if (m_used == sizeof m_buffer)
            spill();
        m_buffer[m_used++] = c;
    }
    void put(const char *p, size_t n) {
        if (n > sizeof m_buffer - m_used) {
            spill();
            if (n > sizeof m_buffer) {
                m_spilled.concat(p, n);
                return;
            }
        }
        std::memcpy(m_buffer + m_used, p, n);
        m_used += n;
    }
    void put(const SAnsiString &s) { put(s.getString(), s.getLength()); }

    void number(__int64 value) {
        char digits[24];
        size_t n = 0;
        __uint64 magnitude = value < 0 ? 0 - static_cast<__uint64>(value) : static_cast<__uint64>(value);
        do {
            digits[n++] = static_cast<char>('0' + magnitude % 10);
            magnitude /= 10;
        } while (magnitude != 0);
        if (value < 0)
            put('-');
        while (n > 0)
            put(digits[--n]);
    }
    // Two digits for 0 to 99; other values as plain numbers.
    void twoDigits(int value) {
        if (value < 0 || value > 99) {
            number(value);
            return;
        }
        put(kDigitPairs + 2 * value, 2);
    }
    void threeDigits(int value) {
        if (value < 0 || value > 999) {
            number(value);
            return;
        }
        put(static_cast<char>('0' + value / 100));
        twoDigits(value % 100);
    }

    SAnsiString finish() {
        if (m_spilled.isEmpty())
            return SAnsiString(m_buffer, m_used);
        spill();
        return m_spilled;
    }

private:
    void spill() {
        m_spilled.concat(m_buffer, m_used);
        m_used = 0;
    }

    char m_buffer[200];
    size_t m_used = 0;
    SAnsiString m_spilled;
};

bool IsFieldLetter(char c) {
    switch (c) {
    case 'd': case 'M': case 'y': case 'g': case 'h': case 'H': case 'm': case 's': case 'S': case 't':
        return true;
    default:
        return false;
    }
}

// Bytes of the character at p: ASCII is one byte, anything else as the
// locale's multibyte encoding says, so that trail bytes are never read as
// field letters or quotes.
size_t CharacterLength(const char *p) {
    if (static_cast<unsigned char>(*p) < 0x80)
        return 1;
    const size_t n = SAnsiString::stepLength(p);
    return n == 0 ? 1 : n;
}

size_t CountChars(const char *p) {
    size_t n = 1;
    while (p[n] == p[0])
        ++n;
    return n;
}

// Copies literal text up to the next field letter; returns where it stopped.
const char *FormatLiteral(const char *p, TextBuilder &out) {
    while (*p != 0 && !IsFieldLetter(*p)) {
        if (*p == '\'' || *p == '"') {
            const char quote = *p++;
            const char *from = p;
            while (*p != 0 && *p != quote)
                p += CharacterLength(p);
            out.put(from, static_cast<size_t>(p - from));
            if (*p == quote)
                ++p; // an unclosed quote simply took the rest
            continue;
        }
        const size_t n = CharacterLength(p);
        out.put(p, n);
        p += n;
    }
    return p;
}

// The civil fields of the moment in the zone, each half only when valid.
struct CivilMoment {
    bool hasDate = false;
    bool hasTime = false;
    int year = 0, month = 0, day = 0, dayOfWeek = 0;
    int hour = 0, minute = 0, second = 0, millisecond = 0;
};

} // namespace

SAnsiString SDateTime::Format(const char *pattern, const STimeZone &zone) const {
    if (pattern == nullptr)
        return SAnsiString();
    const SDateTime local = inZone(zone);
    CivilMoment f;
    if (local.m_date.IsValid()) {
        const Calendar::Civil c = Calendar::DayToCivilFast(local.m_date.GetDayNumber());
        f.hasDate = true;
        f.year = static_cast<short>(c.year);
        f.month = static_cast<unsigned char>(c.month);
        f.day = static_cast<unsigned char>(c.day);
        f.dayOfWeek = static_cast<unsigned char>(Calendar::DayOfWeek(local.m_date.GetDayNumber()));
    }
    if (local.m_time.IsValid()) {
        const int32_t ms = local.m_time.GetRawValue();
        f.hasTime = true;
        f.hour = ms / 3600000;
        f.minute = ms % 3600000 / 60000;
        f.second = ms % 60000 / 1000;
        f.millisecond = ms % 1000;
    }

    TextBuilder out;
    const char *p = pattern;
    while (*p != 0) {
        if (!IsFieldLetter(*p)) {
            p = FormatLiteral(p, out);
            continue;
        }
        const char letter = *p;
        const size_t run = CountChars(p);
        p += run;
        switch (letter) {
        case 'd':
            if (!f.hasDate)
                break;
            if (run == 1)
                out.number(f.day);
            else if (run == 2)
                out.twoDigits(f.day);
            else
                out.put(run == 3 ? DateNames::ShortDay(f.dayOfWeek) : DateNames::LongDay(f.dayOfWeek));
            break;
        case 'M':
            if (!f.hasDate)
                break;
            if (run == 1)
                out.number(f.month);
            else if (run == 2)
                out.twoDigits(f.month);
            else
                out.put(run == 3 ? DateNames::ShortMonth(f.month) : DateNames::LongMonth(f.month));
            break;
        case 'y':
            if (!f.hasDate)
                break;
            if (run == 1)
                out.number(f.year % 100);
            else if (run == 2)
                out.twoDigits(f.year % 100);
            else
                out.number(f.year);
            break;
        case 'g':
            // The era of the stored UTC day, as the zone does not move eras.
            if (m_date.IsValid())
                out.put(DateNames::Era(m_date));
            break;
        case 'h':
            if (!f.hasTime)
                break;
            if (run == 1)
                out.number(f.hour % 12 == 0 ? 12 : f.hour % 12);
            else
                out.twoDigits(f.hour % 12 == 0 ? 12 : f.hour % 12);
            break;
        case 'H':
        case 'm':
        case 's': {
            if (!f.hasTime)
                break;
            const int value = letter == 'H' ? f.hour : (letter == 'm' ? f.minute : f.second);
            if (run == 1)
                out.number(value);
            else
                out.twoDigits(value);
            break;
        }
        case 'S':
            if (!f.hasTime)
                break;
            if (run == 1)
                out.number(f.millisecond);
            else
                out.threeDigits(f.millisecond);
            break;
        case 't':
            if (!f.hasTime)
                break;
            out.put(run == 1 ? DateNames::ShortAM(f.hour < 12) : DateNames::LongAM(f.hour < 12));
            break;
        }
    }
    return out.finish();
}

} // namespace TarnkitA201
