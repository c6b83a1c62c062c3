#include "files/wildcard.h"

#include <cstring>

namespace TarnkitA201::Wildcard {

namespace {

constexpr size_t None = static_cast<size_t>(-1);

// "*" and "?" only. On a mismatch the latest "*" takes one more character
// and matching resumes after it; earlier stars never need to, since any
// text they could give up the latest one can absorb.
bool MatchStarsAndMarks(const char *pattern, size_t patternLength, const char *name, size_t nameLength) noexcept {
    size_t p = 0;
    size_t n = 0;
    size_t starAt = None;
    size_t resumeAt = 0;
    while (n < nameLength) {
        if (p < patternLength && pattern[p] == '*') {
            starAt = p++;
            resumeAt = n;
        } else if (p < patternLength && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (starAt != None) {
            p = starAt + 1;
            n = ++resumeAt;
        } else {
            return false;
        }
    }
    while (p < patternLength && pattern[p] == '*')
        ++p;
    return p == patternLength;
}

} // namespace

bool Matches(const char *pattern, size_t patternLength, const char *name, size_t nameLength) noexcept {
    if (pattern == nullptr || name == nullptr || patternLength > MaxPatternLength || nameLength > MaxNameLength)
        return false;
    if (MatchStarsAndMarks(pattern, patternLength, name, nameLength))
        return true;
    const bool endsInDotStar =
        patternLength >= 2 && pattern[patternLength - 2] == '.' && pattern[patternLength - 1] == '*';
    return endsInDotStar && MatchStarsAndMarks(pattern, patternLength - 2, name, nameLength);
}

bool Matches(const char *pattern, const char *name) noexcept {
    if (pattern == nullptr || name == nullptr)
        return false;
    return Matches(pattern, std::strlen(pattern), name, std::strlen(name));
}

} // namespace TarnkitA201::Wildcard
