// The compiled form of a date pattern: literal text and fields as a short
// list of steps, so that a pattern is parsed once per thread rather than at
// every Format, and, where every field has a fixed width, a template.
#pragma once

#include "tarnkit/sdatetime.h"

#include <string>
#include <vector>

namespace TarnkitA201::DatePattern {

enum class Step : uint8_t {
    Literal,
    Day, Day2, ShortDayName, LongDayName,
    Month, Month2, ShortMonthName, LongMonthName,
    YearOfCentury, YearOfCentury2, Year,
    Era,
    Hour12, Hour12_2, Hour, Hour2,
    Minute, Minute2, Second, Second2,
    Millisecond, Millisecond3,
    ShortAM, LongAM,
};

struct Op {
    Step step;
    uint32_t offset; // of a literal's text in Compiled::literals
    uint32_t length;
};

struct Compiled {
    // Zero bytes kept behind the literal text, for copies in fixed-size chunks.
    static constexpr size_t kLiteralPadding = 16;

    std::string literals = std::string(kLiteralPadding, '\0');
    std::vector<Op> steps;
    size_t fixedBound = 0; // literal bytes plus the widest text of each number
    size_t names = 0;      // steps that print a name

    // A pattern of literals and zero-padded fields, each shown once, prints
    // text of one length for every moment of the years the calendar tables
    // hold: the text is then a template, padded like the literals, with each
    // value's two digits written at its place. A value the pattern does not
    // show is written into the padding, where the terminator then goes.
    enum Value : uint8_t { Day, Month, YearLow, YearHigh, Hour, Hour12, Minute, Second, MsTens, MsLow, kValues };
    bool fixedWidth = false;
    bool rareValues = false; // it shows Hour12, MsTens or MsLow
    std::string templateText;
    uint16_t placeOf[kValues] = {};

    void clear();
    void addLiteral(const char *p, size_t n);
    void addField(Step step);
    void buildTemplate();
};

// The civil fields to print; each half only when valid.
struct Fields {
    bool hasDate = false;
    bool hasTime = false;
    bool hasEra = false;
    SDate eraDate;
    int year = 0, month = 0, day = 0, dayOfWeek = 0;
    int hour = 0, minute = 0, second = 0, millisecond = 0;

    void setTime(int32_t ms) {
        hour = ms / 3600000;
        minute = ms % 3600000 / 60000;
        second = ms % 60000 / 1000;
        millisecond = ms % 1000;
    }
};

// Compiles a pattern afresh, in the calling thread's locale.
void Compile(const char *pattern, Compiled &out);

// The calling thread's compiled form of the pattern, or null when the
// caller is to compile its own: for a pattern too long to keep, while the
// thread is being torn down, or while the cache is busy.
const Compiled *Lookup(const char *pattern);

// Marks the calling thread's cache busy for its lifetime.
class CacheBusy {
public:
    CacheBusy() noexcept;
    ~CacheBusy();
    CacheBusy(const CacheBusy &) = delete;
    CacheBusy &operator=(const CacheBusy &) = delete;

private:
    bool m_wasBusy;
};

SAnsiString Render(const Compiled &pattern, const Fields &fields);

} // namespace TarnkitA201::DatePattern
