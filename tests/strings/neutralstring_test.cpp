// Locale-free number text: integer limits, the real-number grammar, the
// canonical and fixed-decimal forms with their rounding, and a round trip.
#include "tarnkit/neutralstring.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

template <class T>
std::optional<T> ReadAs(const char *text) {
    T value{};
    return NeutralString::ToNumber(SAnsiString(text), value) ? std::optional<T>(value) : std::nullopt;
}

} // namespace

TEST(NeutralStringRead, IntegerLimitsAndRealGrammar) {
    signed char sc = 1;
    EXPECT_FALSE(NeutralString::ToNumber(SAnsiString("300"), sc));
    EXPECT_EQ(sc, 0);
    EXPECT_EQ(ReadAs<signed char>("-128"), -128);
    EXPECT_FALSE(ReadAs<signed char>("128"));
    EXPECT_FALSE(ReadAs<unsigned long>("-1"));
    EXPECT_FALSE(ReadAs<long>("2147483648"));
    EXPECT_EQ(ReadAs<__int64>("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(ReadAs<__uint64>("18446744073709551615"), UINT64_MAX);

    EXPECT_EQ(Str(NeutralString::FromNumber(static_cast<signed char>(-128))), "-128");
    EXPECT_EQ(Str(NeutralString::FromNumber(static_cast<__int64>(INT64_MIN))), "-9223372036854775808");
    EXPECT_EQ(Str(NeutralString::FromNumber(4294967295ul)), "4294967295");

    SAsciiString text("-42;17");
    auto semicolon = text.findFirst(SChar_t<char, 1>(';'));
    short s = 0;
    EXPECT_TRUE(NeutralString::ToNumber(text.begin(), semicolon, s) && s == -42);
    unsigned short us = 0;
    EXPECT_FALSE(NeutralString::ToNumber(text.begin(), semicolon, us));
    EXPECT_TRUE(NeutralString::ToNumber(++semicolon, text.end(), us) && us == 17);

    for (const char *bad : {"1E5", "1.5.2", "+1", "1-", "1e5.0", " 1", "1,5", "1e-99999999999999999999"})
        EXPECT_FALSE(ReadAs<double>(bad)) << bad;
    // A sign may stand anywhere in the exponent.
    for (auto [text, value] : {std::pair{"1e5", 1e5}, {"", 0.0}, {"-2.5", -2.5}, {"1e", 1.0}, {"1e5-", 1e-5},
                               {"2e+3", 2000.0}, {"1e308", 1e308}})
        EXPECT_EQ(ReadAs<double>(text), value) << text;
    double d = -1;
    EXPECT_TRUE(NeutralString::ToNumber(SAnsiString("-0"), d) && d == 0.0 && !std::signbit(d));
    // Exponents beyond the table fail instead of reading past it.
    EXPECT_FALSE(NeutralString::ToNumber(SAnsiString("1e309"), d));
    EXPECT_EQ(d, 0.0);

    EXPECT_EQ(ReadAs<float>("0.25"), 0.25f);
    EXPECT_TRUE(NeutralString::ToNumber(SAsciiString("-12.5e1"), d) && d == -125.0);
    EXPECT_TRUE(NeutralStringToReal(TarnkitTest::WideString(u"3.5"), d, static_cast<unsigned short>(0)) && d == 3.5);
    EXPECT_FALSE(NeutralStringToReal(TarnkitTest::WideString(u"3\u0665"), d, static_cast<unsigned short>(0)));

    SAsciiString pair("1.5|2.5");
    auto bar = pair.findFirst(SChar_t<char, 1>('|'));
    float f = 0;
    EXPECT_TRUE(NeutralString::ToNumber(pair.begin(), bar, d) && d == 1.5);
    EXPECT_TRUE(NeutralString::ToNumber(++bar, pair.end(), f) && f == 2.5f);
}

TEST(NeutralStringWrite, CanonicalAndFixedForms) {
    // Only a 6 rounds the last digit up, a 5 does not; a carry stays in the
    // fraction and the 16-character cut drops it (0.9999999999999999).
    for (auto [value, text] : {std::pair{1.0, "1."}, {12.0, "12."}, {-0.25, "-0.25"}, {0.5, "0.5"}, {0.1, "0.1"},
                               {1.0 / 3, "0.33333333333333"}, {2.0 / 3, "0.66666666666667"},
                               {6e-15, "0.00000000000001"}, {5e-15, "0."}, {123456789012345.59375, "123456789012345"},
                               {123456789012345.703125, "123456789012346"}, {0.9999999999999999, "0.1"},
                               {1e17, "100000000000000000"}, {-9223372036854775808.0, "-9223372036854775808"},
                               {1e19, "10000000000000000000.000000000000000"}, {std::nan(""), "nan"},
                               {-std::numeric_limits<double>::infinity(), "-inf"}})
        EXPECT_EQ(Str(NeutralString::FromNumber(value)), text);

    char widest[NeutralString::NumberBufferSize];
    EXPECT_EQ(NeutralString::FromNumber(widest, -std::numeric_limits<double>::max()), 326);
    EXPECT_EQ(std::strlen(widest), 326u);
    EXPECT_EQ(std::string(widest, 16), "-179769313486231");

    for (int power : {0, 22, 23, 99})
        EXPECT_EQ(NeutralString::PowArray[power], std::stod("1e" + std::to_string(power))) << power;

    std::string big = Str(NeutralString::FromNumber(1.0e300, 2));
    EXPECT_EQ(big.size(), 301u + 3u);
    EXPECT_EQ(big.substr(0, 2), "10");
    EXPECT_EQ(big.find_first_not_of("0", 1), 301u); // only zeros after the first digit
    EXPECT_EQ(big.substr(301), ".00");
    // The digit count comes from a float logarithm, which counts 9999999 as
    // eight digits: the extra one is a leading zero. No decimals (0 or less)
    // give the integer digits as they are.
    for (auto [value, decimals, text] :
         {std::tuple{9999999.0, 2, "09999999.00"}, {9999999.999, 2, "10000000.00"}, {9.99, 1, "10.0"},
          {-9.99, 1, "-10.0"}, {0.125, 2, "0.13"}, {2.7, 0, "2"}, {2.7, -3, "2"},
          {0.000123456789012345678, 20, "0.00012345678901234600"}, {123456789012345.5, 2, "123456789012346.00"},
          {1234567890123456789.0, 1, "1234567890123460000.0"}, {999999999999999.5, 0, "1000000000000000"},
          {std::numeric_limits<double>::infinity(), 2, "inf"}})
        EXPECT_EQ(Str(NeutralString::FromNumber(value, decimals)), text);
    EXPECT_EQ(Str(NeutralString::FromNumber(0.5f, 3)), "0.500");

    for (auto [before, last, carried, after] :
         {std::tuple{"9.99", 3, false, "0.00"}, {"12.39", 4, true, "12.40"}, {"-9", 1, false, "-0"}}) {
        char text[8];
        std::strcpy(text, before);
        EXPECT_EQ(RoundUpHelper(text, last), carried) << before;
        EXPECT_STREQ(text, after);
    }
}

// 15 significant digits bound the error of the text to 6e-15 of the value
// (truncation, then a rounding that waits for a 6); below 1 the fraction
// has 15 places, so the bound is absolute there. A rounding that carries
// out of the fraction is dropped by design ("0.1" for 0.9999999999999999):
// those values are left out.
TEST(NeutralStringCanonical, RoundTripOverRandomValues) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    int checked = 0;
    for (int i = 0; i < 20000; ++i) {
        int exponent = static_cast<int>(random() % 36) - 12;
        double x = mantissa(random) * std::pow(10.0, exponent) * (random() % 2 ? -1 : 1);
        std::string text = Str(NeutralString::FromNumber(x));
        double magnitude = std::fabs(x);
        if (magnitude - std::trunc(magnitude) > 0.9 && text.size() > 2 && text.compare(text.size() - 2, 2, ".1") == 0)
            continue;
        double back = 0;
        ASSERT_TRUE(NeutralString::ToNumber(SAnsiString(text.c_str()), back)) << text;
        EXPECT_NEAR(back, x, 7e-15 * std::max(magnitude, 1.0)) << text;
        ++checked;
    }
    EXPECT_GT(checked, 19000);
}
