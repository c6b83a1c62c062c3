#include "tarnkit/schar.h"

#include <algorithm>
#include <iterator>

namespace TarnkitA201 {

namespace {

enum ClassBits : unsigned short {
    kAlpha = 1,
    kLower = 2,
    kUpper = 4,
    kSpace = 8,
    kPunct = 16,
    kDigit = 32,
};

struct ClassRun {
    unsigned short first;
    unsigned short mask;
};

constexpr ClassRun kRuns[] = {
#include "strings/charclass_table.inc"
};

// The C classes of the "C" locale, fixed here so that no locale can change
// them.
unsigned short AsciiMask(unsigned short c) noexcept {
    if (c >= 'A' && c <= 'Z')
        return kAlpha | kUpper;
    if (c >= 'a' && c <= 'z')
        return kAlpha | kLower;
    if (c >= '0' && c <= '9')
        return kDigit;
    if (c == ' ' || (c >= '\t' && c <= '\r'))
        return kSpace;
    if (c > ' ' && c < 127)
        return kPunct;
    return 0;
}

unsigned short MaskOf(unsigned short code) noexcept {
    if (code < 128)
        return AsciiMask(code);
    const ClassRun *after = std::upper_bound(std::begin(kRuns), std::end(kRuns), code,
                                             [](unsigned short c, const ClassRun &run) { return c < run.first; });
    return after == std::begin(kRuns) ? 0 : (after - 1)->mask;
}

} // namespace

bool is_upper(unsigned short code) noexcept { return (MaskOf(code) & kUpper) != 0; }
bool is_lower(unsigned short code) noexcept { return (MaskOf(code) & kLower) != 0; }
bool is_alpha(unsigned short code) noexcept { return (MaskOf(code) & kAlpha) != 0; }
bool is_space(unsigned short code) noexcept { return (MaskOf(code) & kSpace) != 0; }
bool is_punct(unsigned short code) noexcept { return (MaskOf(code) & kPunct) != 0; }
bool is_digit(unsigned short code) noexcept { return (MaskOf(code) & kDigit) != 0; }

} // namespace TarnkitA201
