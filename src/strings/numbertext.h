// Decimal text of numbers for the stream-style appends: integers in base 10
// and doubles in the C format "%#.*f". Each writes into a caller's buffer of
// kNumberTextSize characters and returns the text's length.
#pragma once

#include <cstddef>

namespace TarnkitA201::NumberText {

inline constexpr size_t kNumberTextSize = 32;

size_t FromSigned(long long value, char (&out)[kNumberTextSize]) noexcept;
size_t FromUnsigned(unsigned long long value, char (&out)[kNumberTextSize]) noexcept;

// Always a point, `digits` digits behind it, the C library's rounding and
// decimal point; a longer text is cut to the buffer.
size_t FromDouble(double value, int digits, char (&out)[kNumberTextSize]) noexcept;

} // namespace TarnkitA201::NumberText
