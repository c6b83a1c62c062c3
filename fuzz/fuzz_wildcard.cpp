// Matches random names against random wildcard patterns and compares every
// answer with a plain table-filling model of the same rules. Aborts on a
// disagreement or any memory fault; libFuzzer's time-out catches a matcher
// that backtracks without bound.
#include "files/wildcard.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

// Bytes fold onto a small alphabet most of the time, so that stars, marks
// and dots meet matching letters often.
char Fold(uint8_t byte) {
    static const char alphabet[] = "*?.ab";
    return byte < 200 ? alphabet[byte % 5] : static_cast<char>(byte);
}

// Whole-table model: cell [i][j] says whether the first i pattern bytes
// match the first j name bytes.
bool ModelStarsAndMarks(const std::string &pattern, const std::string &name) {
    std::vector<std::vector<bool>> can(pattern.size() + 1, std::vector<bool>(name.size() + 1, false));
    can[0][0] = true;
    for (size_t i = 1; i <= pattern.size(); ++i) {
        const char p = pattern[i - 1];
        for (size_t j = 0; j <= name.size(); ++j) {
            if (p == '*')
                can[i][j] = can[i - 1][j] || (j > 0 && can[i][j - 1]);
            else
                can[i][j] = j > 0 && can[i - 1][j - 1] && (p == '?' || p == name[j - 1]);
        }
    }
    return can[pattern.size()][name.size()];
}

bool Model(const std::string &pattern, const std::string &name) {
    if (ModelStarsAndMarks(pattern, name))
        return true;
    const size_t n = pattern.size();
    return n >= 2 && pattern[n - 2] == '.' && pattern[n - 1] == '*' &&
           ModelStarsAndMarks(pattern.substr(0, n - 2), name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0 || size > 3000)
        return 0;
    const size_t split = data[0] % size;
    std::string pattern, name;
    for (size_t i = 1; i < size; ++i)
        (i <= split ? pattern : name) += Fold(data[i]);
    const bool got = Wildcard::Matches(pattern.data(), pattern.size(), name.data(), name.size());
    const bool limited = pattern.size() > Wildcard::MaxPatternLength || name.size() > Wildcard::MaxNameLength;
    if (got != (!limited && Model(pattern, name))) {
        std::fprintf(stderr, "mismatch: pattern '%s' name '%s' gave %d\n", pattern.c_str(), name.c_str(), got);
        std::abort();
    }
    return 0;
}
