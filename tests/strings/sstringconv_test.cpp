#include "tarnkit/sstringconv.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace TarnkitA201;

namespace {

std::string Narrow(const SAnsiString &s) {
    return std::string(s.getString(), s.getLength());
}

template <class T>
bool Parse(const char *text, T &value, int base = 10) {
    return SAnsiStringConv::FromString(SAnsiString(text), value, base);
}

} // namespace

TEST(StringConvFromInteger, DigitsSignsAndBases) {
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(0)), "0");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(-2147483647 - 1)), "-2147483648");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(static_cast<__int64>(INT64_MIN))), "-9223372036854775808");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(static_cast<__uint64>(UINT64_MAX))), "18446744073709551615");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(static_cast<short>(-32768))), "-32768");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(static_cast<unsigned short>(65535))), "65535");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(255, 16)), "FF");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(35u, 36)), "Z");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(5, 2)), "101");
    // Outside base 10 a negative number is its two's complement pattern; a
    // long that fits 32 bits keeps the 32-bit pattern it always had.
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(-1, 16)), "FFFFFFFF");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(-1L, 16)), "FFFFFFFF");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(-(1L << 40), 16)), "FFFFFF0000000000");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(static_cast<__int64>(-1), 16)), "FFFFFFFFFFFFFFFF");

    unsigned short wide[g_integerTextSize];
    EXPECT_EQ(StringConvFromInteger(wide, -305, 10), 4u);
    EXPECT_EQ(TarnkitTest::ToU16(wide), u"-305");
    EXPECT_EQ(TarnkitTest::ToU16(SWCharStringConv::ToString(0xABCu, 16)), u"ABC");
    EXPECT_EQ(std::string(SAsciiStringConv::ToString(42L).getString()), "42");

    // Every decimal length, against the standard library.
    for (__uint64 v = 1, i = 0; i < 20; ++i, v = v * 10 + 7) {
        char expected[32];
        *std::to_chars(expected, expected + 32, v).ptr = 0;
        EXPECT_EQ(Narrow(SAnsiStringConv::ToString(v)), expected);
    }
}

TEST(StringConvFromInteger, InvalidBaseAssertsAndWritesNothing) {
    TarnkitTest::CapturingSink sink;
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(10, 1)), "");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(10, 37)), "");
    EXPECT_TRUE(sink.saw("base must be 2 to 36"));
    int value = 5;
    EXPECT_FALSE(Parse("10", value, 0));
    EXPECT_EQ(value, 0);
}

TEST(StringConvToInteger, LimitsOfEachType) {
    int i;
    EXPECT_TRUE(Parse("2147483647", i) && i == 2147483647);
    EXPECT_TRUE(Parse("-2147483648", i) && i == -2147483647 - 1);
    EXPECT_FALSE(Parse("2147483648", i));
    EXPECT_EQ(i, 0); // a failure leaves 0
    EXPECT_FALSE(Parse("-2147483649", i));
    // long keeps the 32-bit range of the interfaces.
    long l;
    EXPECT_TRUE(Parse("-2147483648", l) && l == -2147483648L);
    EXPECT_FALSE(Parse("2147483648", l));
    unsigned long ul;
    EXPECT_TRUE(Parse("4294967295", ul) && ul == 4294967295ul);
    EXPECT_FALSE(Parse("4294967296", ul));
    EXPECT_FALSE(Parse("-1", ul));
    unsigned int ui;
    EXPECT_FALSE(Parse("-0", ui));
    short s;
    EXPECT_TRUE(Parse("-32768", s) && s == -32768);
    EXPECT_FALSE(Parse("32768", s));
    unsigned short us;
    EXPECT_TRUE(Parse("65535", us) && us == 65535);
    EXPECT_FALSE(Parse("65536", us));
    unsigned char uc;
    EXPECT_TRUE(Parse("255", uc) && uc == 255);
    EXPECT_FALSE(Parse("256", uc));
    __int64 ll;
    EXPECT_TRUE(SAnsiStringConv::FromString(SAnsiString("-9223372036854775808"), ll) && ll == INT64_MIN);
    EXPECT_FALSE(SAnsiStringConv::FromString(SAnsiString("9223372036854775808"), ll));
    __uint64 ull;
    EXPECT_TRUE(SAnsiStringConv::FromString(SAnsiString("18446744073709551615"), ull) && ull == UINT64_MAX);
    EXPECT_FALSE(SAnsiStringConv::FromString(SAnsiString("18446744073709551616"), ull));
    EXPECT_FALSE(SAnsiStringConv::FromString(SAnsiString("99999999999999999999999"), ull));
    // Base 36 overflow of a 64-bit accumulator is caught, not wrapped.
    EXPECT_FALSE(Parse("ZZZZZZZZZZZZZZ", i, 36));
    EXPECT_FALSE(SWCharStringConv::FromString(TarnkitTest::WideString(u"zzzzzzzzzzzzzzzz"), ul, 36));
}

TEST(StringConvToInteger, WhereNumbersEnd) {
    int v = -1;
    EXPECT_TRUE(Parse("12.9", v) && v == 12);
    EXPECT_TRUE(Parse("12 apples", v) && v == 12);
    EXPECT_TRUE(Parse("12\t3", v) && v == 12);
    EXPECT_TRUE(Parse(" 12", v) && v == 0);
    EXPECT_TRUE(Parse("", v) && v == 0);
    EXPECT_TRUE(Parse("-", v) && v == 0);
    EXPECT_TRUE(Parse("-.5", v) && v == 0);
    EXPECT_FALSE(Parse("1-2", v));
    EXPECT_FALSE(Parse("+1", v));
    EXPECT_FALSE(Parse("12a", v));
    EXPECT_FALSE(Parse("12\n", v));
    EXPECT_FALSE(Parse("1\xc3\xa9", v));
    EXPECT_TRUE(SWCharStringConv::FromString(TarnkitTest::WideString(u"-77 kg"), v) && v == -77);
    EXPECT_FALSE(SWCharStringConv::FromString(TarnkitTest::WideString(u"7\u0667"), v));
}

TEST(StringConvToInteger, LettersAndTheSkippedX) {
    int v;
    EXPECT_TRUE(Parse("0x1F", v, 16) && v == 31);
    EXPECT_TRUE(Parse("0X1f", v, 16) && v == 31);
    EXPECT_TRUE(Parse("1x2", v, 16) && v == 18);
    EXPECT_TRUE(Parse("-0xff", v, 16) && v == -255);
    EXPECT_TRUE(Parse("7fffffff", v, 16) && v == 0x7fffffff);
    EXPECT_TRUE(Parse("-80000000", v, 16) && v == -2147483647 - 1);
    EXPECT_FALSE(Parse("80000000", v, 16));
    EXPECT_FALSE(Parse("0x1F", v, 10));
    EXPECT_FALSE(Parse("1g", v, 16));
    EXPECT_TRUE(Parse("x", v, 36) && v == 33); // only base 16 skips it
    EXPECT_TRUE(Parse("Zz", v, 36) && v == 35 * 36 + 35);
    // The digit arithmetic lets ":" through as ten in bases above 10, and
    // keeps "@" and "[" out.
    EXPECT_TRUE(Parse("1:", v, 16) && v == 26);
    EXPECT_FALSE(Parse("1@", v, 16));
    EXPECT_FALSE(Parse("1[", v, 36));
    // Below base 10 the first overflow test still uses the maximum over 10.
    EXPECT_TRUE(Parse("777", v, 8) && v == 511);
    EXPECT_FALSE(Parse("1111111111111111111111111111111", v, 2));
    unsigned short us;
    EXPECT_TRUE(SAsciiStringConv::FromString(SAsciiString("ffff"), us, 16) && us == 65535);
}

TEST(StringConvToInteger, IteratorsStopAtTheirEndAndTheTerminator) {
    SAsciiString text("1234,5678");
    auto comma = text.findFirst(SChar_t<char, 1>(','));
    long v = 0;
    EXPECT_TRUE(StringConvToIntegerIterator(text.begin(), comma, v, 2147483647, 214748364, 10, true));
    EXPECT_EQ(v, 1234);
    EXPECT_TRUE(StringConvToIntegerIterator(++comma, text.end(), v, 2147483647, 214748364, 10, true));
    EXPECT_EQ(v, 5678);
}

TEST(StringConvToInteger, AgreesWithFromCharsOnRandomDecimals) {
    std::mt19937_64 random(20240611);
    for (int round = 0; round < 20000; ++round) {
        char text[32];
        int digits = 1 + static_cast<int>(random() % 20);
        size_t n = 0;
        if (random() % 2)
            text[n++] = '-';
        for (int i = 0; i < digits; ++i)
            text[n++] = static_cast<char>('0' + random() % 10);
        text[n] = 0;
        SAnsiString s(text, n);

        __int64 ours = 0, theirs = 0;
        auto r = std::from_chars(text, text + n, theirs);
        bool ok = r.ec == std::errc() && r.ptr == text + n;
        EXPECT_EQ(SAnsiStringConv::FromString(s, ours), ok) << text;
        if (ok) {
            EXPECT_EQ(ours, theirs) << text;
        }

        int ours32 = 0, theirs32 = 0;
        r = std::from_chars(text, text + n, theirs32);
        ok = r.ec == std::errc() && r.ptr == text + n;
        EXPECT_EQ(SAnsiStringConv::FromString(s, ours32), ok) << text;
        if (ok) {
            EXPECT_EQ(ours32, theirs32) << text;
        }

        __uint64 oursU = 0, theirsU = 0;
        r = std::from_chars(text, text + n, theirsU);
        ok = r.ec == std::errc() && r.ptr == text + n;
        EXPECT_EQ(SAnsiStringConv::FromString(s, oursU), ok) << text;
        if (ok) {
            EXPECT_EQ(oursU, theirsU) << text;
        }
    }
}

TEST(StringConvReal, CRuntimeFormatAndStrtod) {
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(1.5, 0)), "2.");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(2.5, 0)), "2."); // the C run time rounds ties to even
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(-0.125, 2)), "-0.12");
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(1e40, 2)), "1000000000000000030378602842700");
    EXPECT_EQ(TarnkitTest::ToU16(SWCharStringConv::ToString(3.25, 1)), u"3.2");

    double d = 0;
    EXPECT_TRUE(SAnsiStringConv::FromString(SAnsiString("1.5e3"), d) && d == 1500.0);
    EXPECT_FALSE(SAnsiStringConv::FromString(SAnsiString("2.5 m"), d));
    EXPECT_EQ(d, 2.5); // stored even though the text went on
    EXPECT_FALSE(SAnsiStringConv::FromString(SAnsiString(""), d));
    EXPECT_TRUE(SWCharStringConv::FromString(TarnkitTest::WideString(u"-0.25"), d) && d == -0.25);
    EXPECT_FALSE(SWCharStringConv::FromString(TarnkitTest::WideString(u"1\u00e9"), d));
    float f = 0;
    EXPECT_TRUE(SAsciiStringConv::FromString(SAsciiString("0.5"), f) && f == 0.5f);

    int local = 0;
    char expected[32];
    std::snprintf(expected, sizeof(expected), "%p", static_cast<void *>(&local));
    EXPECT_EQ(Narrow(SAnsiStringConv::ToString(&local)), expected);
    void *pointer = &local;
    EXPECT_TRUE(SAnsiStringConv::FromString(SAnsiString("4096"), pointer));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(pointer), 4096u); // decimal, not what "%p" wrote
}

TEST(StringConvSmallNumbers, SharedEntriesAndRangeGuard) {
    EXPECT_EQ(Narrow(SAnsiStringConv::StringFrom100Number(7)), "7");
    EXPECT_EQ(Narrow(SAnsiStringConv::StringFrom100Number(42)), "42");
    EXPECT_EQ(Narrow(SAnsiStringConv::StringFrom10Number2Digits(3)), "03");
    EXPECT_EQ(TarnkitTest::ToU16(SWCharStringConv::StringFrom100Number(99)), u"99");
    EXPECT_EQ(TarnkitTest::ToU16(SWCharStringConv::StringFrom10Number2Digits(0)), u"00");
    EXPECT_EQ(std::string(SAsciiStringConv::StringFrom100Number(10).getString()), "10");
    EXPECT_EQ(&SAnsiStringConv::StringFrom100Number(42), &SAnsiStringConv::StringFrom100Number(42));

    TarnkitTest::CapturingSink sink;
    EXPECT_EQ(Narrow(SAnsiStringConv::StringFrom100Number(100)), "0");
    EXPECT_EQ(Narrow(SAnsiStringConv::StringFrom10Number2Digits(-1)), "00");
    EXPECT_TRUE(sink.saw("0 <= n && n < 100"));
    EXPECT_TRUE(sink.saw("0 <= n && n < 10"));
}

TEST(StringConvSmallNumbers, FirstUseFromManyThreads) {
    std::vector<const SWCharString *> seen(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < seen.size(); ++t)
        threads.emplace_back([&seen, t] { seen[t] = &SWCharStringConv::StringFrom100Number(64); });
    for (auto &thread : threads)
        thread.join();
    for (const SWCharString *entry : seen) {
        EXPECT_EQ(entry, seen[0]);
        EXPECT_EQ(TarnkitTest::ToU16(*entry), u"64");
    }
}
