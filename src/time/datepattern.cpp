// The pattern engine of SDateTime::Format. A run of one field letter is one
// field; everything else is literal text, with ' and " quoting runs that may
// hold field letters. Formatting runs on every log line, so a pattern is
// compiled once into a short list of steps, kept per thread by its text, and
// each result is written straight into one string allocated at its final
// size (give or take a few bytes of the widest numbers).

#include "time/datepattern.h"

#include "foundation/keptext.h"
#include "foundation/threadlocal.h"
#include "tarnkit/stimezone.h"
#include "time/calendar.h"
#include "time/datenames.h"
#include "time/zonecore.h"

#include <array>
#include <cstring>
#include <langinfo.h>

namespace TarnkitA201 {

namespace DatePattern {

namespace {

constexpr char kDigitPairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                               "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                               "8081828384858687888990919293949596979899";

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

Step StepFor(char letter, size_t run) {
    switch (letter) {
    case 'd':
        return run == 1 ? Step::Day : run == 2 ? Step::Day2 : run == 3 ? Step::ShortDayName : Step::LongDayName;
    case 'M':
        return run == 1 ? Step::Month : run == 2 ? Step::Month2 : run == 3 ? Step::ShortMonthName
                                                                            : Step::LongMonthName;
    case 'y':
        return run == 1 ? Step::YearOfCentury : run == 2 ? Step::YearOfCentury2 : Step::Year;
    case 'g':
        return Step::Era;
    case 'h':
        return run == 1 ? Step::Hour12 : Step::Hour12_2;
    case 'H':
        return run == 1 ? Step::Hour : Step::Hour2;
    case 'm':
        return run == 1 ? Step::Minute : Step::Minute2;
    case 's':
        return run == 1 ? Step::Second : Step::Second2;
    case 'S':
        return run == 1 ? Step::Millisecond : Step::Millisecond3;
    default: // 't'
        return run == 1 ? Step::ShortAM : Step::LongAM;
    }
}

// The most bytes a number step can write. The day and month are held in a
// byte as the getters give them, and can read up to 255 for day numbers far
// outside the calendar; times of day built from raw values need not lie
// within the day, so the time fields reach beyond two digits.
size_t WidestText(Step step) {
    switch (step) {
    case Step::Day: case Step::Day2: case Step::Month: case Step::Month2:
        return 3; // up to 255
    case Step::YearOfCentury: case Step::YearOfCentury2: case Step::Hour12: case Step::Hour12_2:
    case Step::Minute: case Step::Minute2: case Step::Second: case Step::Second2:
        return 3; // down to -99, -11 and -59
    case Step::Hour: case Step::Hour2: case Step::Millisecond: case Step::Millisecond3:
        return 4; // down to -596 and -999
    case Step::Year:
        return 6; // -32768
    default:
        return 0; // names are measured when formatting
    }
}

bool IsName(Step step) {
    switch (step) {
    case Step::ShortDayName: case Step::LongDayName: case Step::ShortMonthName: case Step::LongMonthName:
    case Step::Era: case Step::ShortAM: case Step::LongAM:
        return true;
    default:
        return false;
    }
}

} // namespace

void Compiled::clear() {
    literals.assign(kLiteralPadding, '\0');
    steps.clear();
    fixedBound = 0;
    names = 0;
}

void Compiled::addLiteral(const char *p, size_t n) {
    if (n == 0)
        return;
    if (steps.empty() || steps.back().step != Step::Literal)
        steps.push_back(Op{Step::Literal, static_cast<uint32_t>(literals.size() - kLiteralPadding), 0});
    // The padding stays at the end, so that a literal can be copied in
    // fixed-size chunks without reading past the store.
    literals.insert(literals.size() - kLiteralPadding, p, n);
    steps.back().length += static_cast<uint32_t>(n);
    fixedBound += n;
}

void Compiled::buildTemplate() {
    fixedWidth = false;
    templateText.clear();
    rareValues = false;
    bool shown[kValues] = {}, twice = false;
    auto patch = [&](Value value, uint8_t digits) {
        rareValues = rareValues || value == Hour12 || value == MsTens || value == MsLow;
        twice = twice || shown[value];
        shown[value] = true;
        placeOf[value] = static_cast<uint16_t>(templateText.size());
        templateText.append(digits, '0');
    };
    for (const Op &op : steps) {
        switch (op.step) {
        case Step::Literal:
            templateText.append(literals, op.offset, op.length);
            break;
        case Step::Day2:
            patch(Day, 2);
            break;
        case Step::Month2:
            patch(Month, 2);
            break;
        case Step::YearOfCentury2:
            patch(YearLow, 2);
            break;
        case Step::Year:
            patch(YearHigh, 2);
            patch(YearLow, 2);
            break;
        case Step::Hour2:
            patch(Hour, 2);
            break;
        case Step::Hour12_2:
            patch(Hour12, 2);
            break;
        case Step::Minute2:
            patch(Minute, 2);
            break;
        case Step::Second2:
            patch(Second, 2);
            break;
        case Step::Millisecond3:
            // Two overlapping pairs, milliseconds / 10 and % 100, which agree
            // on the middle digit.
            patch(MsTens, 2);
            templateText.pop_back();
            patch(MsLow, 2);
            break;
        default:
            return; // a field of varying width
        }
        if (templateText.size() > UINT16_MAX)
            return;
    }
    if (twice)
        return; // the general writer shows it again
    for (Value value = Day; value < kValues; value = static_cast<Value>(value + 1))
        if (!shown[value])
            placeOf[value] = static_cast<uint16_t>(templateText.size());
    templateText.append(kLiteralPadding, '\0');
    fixedWidth = true;
}

void Compiled::addField(Step step) {
    steps.push_back(Op{step, 0, 0});
    fixedBound += WidestText(step);
    if (IsName(step))
        ++names;
}

void Compile(const char *pattern, Compiled &out) {
    out.clear();
    const char *p = pattern;
    while (*p != 0) {
        if (IsFieldLetter(*p)) {
            const size_t run = CountChars(p);
            out.addField(StepFor(*p, run));
            p += run;
        } else if (*p == '\'' || *p == '"') {
            const char quote = *p++;
            const char *from = p;
            while (*p != 0 && *p != quote)
                p += CharacterLength(p);
            out.addLiteral(from, static_cast<size_t>(p - from));
            if (*p == quote)
                ++p; // an unclosed quote simply took the rest
        } else {
            const size_t n = CharacterLength(p);
            out.addLiteral(p, n);
            p += n;
        }
    }
    out.buildTemplate();
}

// ---- The per-thread cache ----

namespace {

// Compiled patterns of one thread, looked up by their text. An ASCII
// pattern compiles the same way in every locale; any other is read by the
// locale's multibyte encoding, which is then part of its key.
class PatternCache {
public:
    // The pattern the thread last found, when it is ASCII, or null: most
    // threads format with one pattern at a time, and that one is then found
    // by one comparison.
    const Compiled *last(const char *pattern) const noexcept {
        return !m_last.empty() && m_last.matches(pattern) ? m_lastCompiled : nullptr;
    }

    // Null for a pattern too long to keep. Format asks last() before this.
    const Compiled *get(const char *pattern) {
        for (size_t i = 0; i < kSlots; ++i) {
            if (m_slots[i].matches(pattern))
                return found(m_slots[i], pattern);
        }
        m_last.clear(); // its slot may be the one reused
        const Kind kind = KindOf(pattern);
        if (kind == Kind::TooLong)
            return nullptr;
        Slot &slot = m_slots[m_next];
        m_next = (m_next + 1) % kSlots;
        slot.used = false; // until compiled, should compiling throw
        slot.text.assign(pattern);
        slot.multibyte = kind == Kind::Multibyte;
        slot.codeset.assign(slot.multibyte ? CurrentCodeset() : "");
        Compile(pattern, slot.compiled);
        slot.used = true;
        return found(slot, pattern);
    }

private:
    static constexpr size_t kSlots = 8;
    static constexpr size_t kLongestKept = 256;

    enum class Kind { Ascii, Multibyte, TooLong };

    static const char *CurrentCodeset() {
        const char *codeset = nl_langinfo(CODESET);
        return codeset != nullptr ? codeset : "";
    }

    struct Slot {
        bool used = false;
        std::string text;
        bool multibyte = false;
        std::string codeset; // the encoding a multibyte pattern was read in
        Compiled compiled;

        bool matches(const char *pattern) const {
            return used && std::strcmp(text.c_str(), pattern) == 0 && (!multibyte || codeset == CurrentCodeset());
        }
    };

    static Kind KindOf(const char *pattern) {
        Kind kind = Kind::Ascii;
        for (size_t n = 0; n <= kLongestKept; ++n) {
            const unsigned char c = static_cast<unsigned char>(pattern[n]);
            if (c == 0)
                return kind;
            if (c >= 0x80)
                kind = Kind::Multibyte;
        }
        return Kind::TooLong;
    }

    const Compiled *found(const Slot &slot, const char *pattern) noexcept {
        m_last.clear();
        if (!slot.multibyte) {
            m_last.keep(slot.text.c_str(), slot.text.size(), pattern);
            m_lastCompiled = &slot.compiled;
        }
        return &slot.compiled;
    }

    std::array<Slot, kSlots> m_slots;
    size_t m_next = 0;
    KeptText m_last;
    const Compiled *m_lastCompiled = nullptr;
};

// The thread's cache lives behind a plain pointer, so that a Format called
// while the thread's objects are being destroyed (or from the destructor of a
// static at exit) finds it gone and compiles without it instead of using a
// destroyed object. While a Format fetches names, which may run code that
// formats dates itself, the cache is busy: the inner Format compiles its own
// copy rather than evict the pattern the outer one is walking.
struct CacheSlot {
    PatternCache *cache;
    bool retired;
    bool busy;
};
// Every Format reads this slot.
TARNKIT_HOT_TLS thread_local CacheSlot t_cacheSlot{nullptr, false, false};

struct CacheOwner {
    ~CacheOwner() {
        delete t_cacheSlot.cache;
        t_cacheSlot.cache = nullptr;
        t_cacheSlot.retired = true;
    }
};

PatternCache *ThreadCache() {
    if (t_cacheSlot.cache != nullptr || t_cacheSlot.retired)
        return t_cacheSlot.cache;
    thread_local CacheOwner owner; // frees the cache when the thread ends
    (void)owner;
    t_cacheSlot.cache = new PatternCache;
    return t_cacheSlot.cache;
}

// Lookup, inline where Format asks: most calls name the thread's last pattern.
__attribute__((always_inline)) inline const Compiled *LookupHere(const char *pattern) {
    const CacheSlot &slot = t_cacheSlot;
    if (slot.cache != nullptr && !slot.busy) [[likely]] {
        if (const Compiled *compiled = slot.cache->last(pattern)) [[likely]]
            return compiled;
    }
    return Lookup(pattern);
}

} // namespace

const Compiled *Lookup(const char *pattern) {
    if (t_cacheSlot.busy)
        return nullptr;
    PatternCache *cache = ThreadCache();
    return cache != nullptr ? cache->get(pattern) : nullptr;
}

CacheBusy::CacheBusy() noexcept : m_wasBusy(t_cacheSlot.busy) { t_cacheSlot.busy = true; }
CacheBusy::~CacheBusy() { t_cacheSlot.busy = m_wasBusy; }

// ---- Writing ----

namespace {

// A string written in place: storage for an upper bound, then the length used.
class ResultText : public SAnsiString {
public:
    char *open(size_t bound) { return beginWrite(bound); }
    void close(size_t length) noexcept { endWrite(length); }
};

// Up to this many bytes of literal text are copied as one fixed-size move;
// the literal store and the result each keep that much room past their end.
constexpr size_t kLiteralChunk = Compiled::kLiteralPadding;

char *PutPair(char *out, int value) {
    std::memcpy(out, kDigitPairs + 2 * value, 2);
    return out + 2;
}

char *PutNumber(char *out, int value) {
    if (value >= 0 && value < 10) {
        *out = static_cast<char>('0' + value);
        return out + 1;
    }
    if (value >= 10 && value < 100)
        return PutPair(out, value);
    if (value >= 1000 && value < 10000) // a year
        return PutPair(PutPair(out, value / 100), value % 100);
    char digits[12];
    size_t n = 0;
    unsigned magnitude = value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
    do {
        digits[n++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0)
        *out++ = '-';
    while (n > 0)
        *out++ = digits[--n];
    return out;
}

// Two digits for 0 to 99; other values as plain numbers.
char *PutTwoDigits(char *out, int value) {
    if (static_cast<unsigned>(value) > 99)
        return PutNumber(out, value);
    return PutPair(out, value);
}

char *PutThreeDigits(char *out, int value) {
    if (static_cast<unsigned>(value) > 999)
        return PutNumber(out, value);
    *out = static_cast<char>('0' + value / 100);
    return PutPair(out + 1, value % 100);
}

int TwelveHour(int hour) { return hour % 12 == 0 ? 12 : hour % 12; }

bool IsDateName(Step step) {
    return step == Step::ShortDayName || step == Step::LongDayName || step == Step::ShortMonthName ||
           step == Step::LongMonthName;
}

// The name a step prints, or "" where the fields have nothing for it.
SAnsiString NameFor(Step step, const Fields &f) {
    if (step == Step::Era)
        return f.hasEra ? DateNames::Era(f.eraDate) : SAnsiString();
    if (IsDateName(step) ? !f.hasDate : !f.hasTime)
        return SAnsiString();
    switch (step) {
    case Step::ShortDayName:
        return DateNames::ShortDay(f.dayOfWeek);
    case Step::LongDayName:
        return DateNames::LongDay(f.dayOfWeek);
    case Step::ShortMonthName:
        return DateNames::ShortMonth(f.month);
    case Step::LongMonthName:
        return DateNames::LongMonth(f.month);
    case Step::ShortAM:
        return DateNames::ShortAM(f.hour < 12);
    default:
        return DateNames::LongAM(f.hour < 12);
    }
}

// The names a pattern prints, fetched once so that measuring and writing
// see the same text even if the locale changes in between.
class NameList {
public:
    explicit NameList(size_t count) {
        if (count > m_inline.size())
            m_spilled.resize(count);
    }
    SAnsiString &operator[](size_t i) { return m_spilled.empty() ? m_inline[i] : m_spilled[i]; }

private:
    std::array<SAnsiString, 8> m_inline;
    std::vector<SAnsiString> m_spilled;
};

char *PutLiteral(char *out, const Compiled &pattern, const Op &op) {
    const char *text = pattern.literals.data() + op.offset;
    if (op.length <= kLiteralChunk)
        std::memcpy(out, text, kLiteralChunk);
    else
        std::memcpy(out, text, op.length);
    return out + op.length;
}

SAnsiString Write(const Compiled &pattern, const Fields &f, NameList *names) {
    size_t bound = pattern.fixedBound;
    if (names != nullptr) {
        size_t n = 0;
        for (const Op &op : pattern.steps) {
            if (IsName(op.step)) {
                SAnsiString &name = (*names)[n++];
                name = NameFor(op.step, f);
                bound += name.getLength();
            }
        }
    }
    if (bound == 0)
        return SAnsiString();
    ResultText result;
    char *const begin = result.open(bound + kLiteralChunk);
    char *out = begin;
    size_t n = 0;
    const bool date = f.hasDate, time = f.hasTime;
    for (const Op &op : pattern.steps) {
        switch (op.step) {
        case Step::Literal:
            out = PutLiteral(out, pattern, op);
            break;
        case Step::Day:
            out = date ? PutNumber(out, f.day) : out;
            break;
        case Step::Day2:
            out = date ? PutTwoDigits(out, f.day) : out;
            break;
        case Step::Month:
            out = date ? PutNumber(out, f.month) : out;
            break;
        case Step::Month2:
            out = date ? PutTwoDigits(out, f.month) : out;
            break;
        case Step::YearOfCentury:
            out = date ? PutNumber(out, f.year % 100) : out;
            break;
        case Step::YearOfCentury2:
            out = date ? PutTwoDigits(out, f.year % 100) : out;
            break;
        case Step::Year:
            out = date ? PutNumber(out, f.year) : out;
            break;
        case Step::Hour12:
            out = time ? PutNumber(out, TwelveHour(f.hour)) : out;
            break;
        case Step::Hour12_2:
            out = time ? PutTwoDigits(out, TwelveHour(f.hour)) : out;
            break;
        case Step::Hour:
            out = time ? PutNumber(out, f.hour) : out;
            break;
        case Step::Hour2:
            out = time ? PutTwoDigits(out, f.hour) : out;
            break;
        case Step::Minute:
            out = time ? PutNumber(out, f.minute) : out;
            break;
        case Step::Minute2:
            out = time ? PutTwoDigits(out, f.minute) : out;
            break;
        case Step::Second:
            out = time ? PutNumber(out, f.second) : out;
            break;
        case Step::Second2:
            out = time ? PutTwoDigits(out, f.second) : out;
            break;
        case Step::Millisecond:
            out = time ? PutNumber(out, f.millisecond) : out;
            break;
        case Step::Millisecond3:
            out = time ? PutThreeDigits(out, f.millisecond) : out;
            break;
        default: { // a name
            const SAnsiString &name = (*names)[n++];
            std::memcpy(out, name.getString(), name.getLength());
            out += name.getLength();
            break;
        }
        }
    }
    result.close(static_cast<size_t>(out - begin));
    return SAnsiString(static_cast<SAnsiString &&>(result));
}

} // namespace

namespace {

// A fixed-width pattern's text for fields of the calendar tables' years.
// Inline in Format, so that the fields stay in registers.
__attribute__((always_inline)) inline SAnsiString RenderFixedWidth(const Compiled &pattern,
                                                                   const CivilTables::Fields &civil) {
    const size_t length = pattern.templateText.size() - Compiled::kLiteralPadding;
    if (length == 0)
        return SAnsiString();
    ResultText result;
    char *const out = result.open(length + kLiteralChunk);
    const char *const text = pattern.templateText.data();
    for (size_t i = 0; i < length; i += kLiteralChunk)
        std::memcpy(out + i, text + i, kLiteralChunk);
    const uint16_t *place = pattern.placeOf;
    const unsigned year = static_cast<unsigned>(civil.year), century = year / 100u;
    PutPair(out + place[Compiled::Day], static_cast<int>(civil.day()));
    PutPair(out + place[Compiled::Month], static_cast<int>(civil.month()));
    PutPair(out + place[Compiled::YearHigh], static_cast<int>(century));
    PutPair(out + place[Compiled::YearLow], static_cast<int>(year - century * 100u));
    PutPair(out + place[Compiled::Hour], static_cast<int>(civil.hour()));
    PutPair(out + place[Compiled::Minute], static_cast<int>(civil.minute()));
    PutPair(out + place[Compiled::Second], static_cast<int>(civil.second));
    if (pattern.rareValues) {
        const unsigned hour12 = civil.hour() % 12u;
        PutPair(out + place[Compiled::Hour12], static_cast<int>(hour12 == 0 ? 12u : hour12));
        // The two pairs of the milliseconds overlap on the middle digit.
        PutPair(out + place[Compiled::MsTens], static_cast<int>(civil.millisecond / 10u));
        PutPair(out + place[Compiled::MsLow], static_cast<int>(civil.millisecond % 100u));
    }
    result.close(length);
    return SAnsiString(static_cast<SAnsiString &&>(result));
}

} // namespace

SAnsiString Render(const Compiled &pattern, const Fields &fields) {
    if (pattern.names == 0)
        return Write(pattern, fields, nullptr);
    const CacheBusy busy;
    NameList names(pattern.names);
    return Write(pattern, fields, &names);
}

} // namespace DatePattern

SAnsiString SDateTime::Format(const char *pattern, const STimeZone &zone) const {
    if (pattern == nullptr)
        return SAnsiString();
    const DatePattern::Compiled *cached = DatePattern::LookupHere(pattern);
    CivilTables::Fields civil;
    if (cached != nullptr && cached->fixedWidth &&
        CivilTables::Read(m_date.GetDayNumber(), m_time.GetRawValue(), zone.m_reading, civil)) [[likely]]
        return DatePattern::RenderFixedWidth(*cached, civil);

    // Every pattern and moment the fixed-width path leaves out. Out of line,
    // so that the common path keeps a small frame; it reads the fields
    // again rather than share them, which would keep them out of registers.
    const auto general = [this, pattern, cached, &zone]() TARNKIT_TIME_COLD {
        DatePattern::Fields f;
        f.hasEra = m_date.IsValid(); // the era of the stored UTC day: the zone does not move eras
        f.eraDate = m_date;
        CivilTables::Fields zoned;
        if (CivilTables::Read(m_date.GetDayNumber(), m_time.GetRawValue(), zone.m_reading, zoned)) {
            f.hasDate = f.hasTime = true;
            f.year = zoned.year;
            f.month = static_cast<int>(zoned.month());
            f.day = static_cast<int>(zoned.day());
            f.dayOfWeek = static_cast<int>(zoned.weekday);
            f.hour = static_cast<int>(zoned.hour());
            f.minute = static_cast<int>(zoned.minute());
            f.second = static_cast<int>(zoned.second);
            f.millisecond = static_cast<int>(zoned.millisecond);
        } else {
            const SDateTime local = inZone(zone);
            if (local.m_date.IsValid()) {
                const Calendar::Civil c = Calendar::DayToCivilFast(local.m_date.GetDayNumber());
                f.hasDate = true;
                f.year = static_cast<short>(c.year);
                f.month = static_cast<unsigned char>(c.month);
                f.day = static_cast<unsigned char>(c.day);
                f.dayOfWeek = static_cast<unsigned char>(Calendar::DayOfWeek(local.m_date.GetDayNumber()));
            }
            if (local.m_time.IsValid()) {
                f.hasTime = true;
                f.setTime(local.m_time.GetRawValue());
            }
        }
        if (cached != nullptr)
            return DatePattern::Render(*cached, f);
        DatePattern::Compiled compiled;
        DatePattern::Compile(pattern, compiled);
        return DatePattern::Render(compiled, f);
    };
    return general();
}

} // namespace TarnkitA201
