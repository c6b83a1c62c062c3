#include "strings/numbertext.h"

#include <cstdio>
#include <cstring>

namespace TarnkitA201::NumberText {

size_t FromUnsigned(unsigned long long value, char (&out)[kNumberTextSize]) noexcept {
    char digits[kNumberTextSize];
    size_t n = 0;
    do {
        digits[n++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    for (size_t i = 0; i < n; ++i)
        out[i] = digits[n - 1 - i];
    out[n] = 0;
    return n;
}

size_t FromSigned(long long value, char (&out)[kNumberTextSize]) noexcept {
    if (value >= 0)
        return FromUnsigned(static_cast<unsigned long long>(value), out);
    // The magnitude in unsigned arithmetic, so that the most negative value
    // does not overflow.
    char magnitude[kNumberTextSize];
    size_t n = FromUnsigned(0ULL - static_cast<unsigned long long>(value), magnitude);
    out[0] = '-';
    std::memcpy(out + 1, magnitude, n + 1);
    return n + 1;
}

size_t FromDouble(double value, int digits, char (&out)[kNumberTextSize]) noexcept {
    int n = std::snprintf(out, kNumberTextSize, "%#.*f", digits, value);
    if (n < 0) {
        out[0] = 0;
        return 0;
    }
    return static_cast<size_t>(n) < kNumberTextSize ? static_cast<size_t>(n) : kNumberTextSize - 1;
}

} // namespace TarnkitA201::NumberText
