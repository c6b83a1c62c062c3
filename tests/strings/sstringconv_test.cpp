// Numbers to text and back in the three string kinds: integers in every base, reals, pointers and the shared
// small-number strings.
#include "tarnkit/sstringconv.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

using namespace TarnkitA201;
using Conv = SAnsiStringConv;
using TarnkitTest::ToU16;

namespace {

std::string Narrow(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

template <class T>
bool Parse(const char *text, T &value, int base = 10) {
    if constexpr (std::is_same_v<T, __int64> || std::is_same_v<T, __uint64>)
        return Conv::FromString(SAnsiString(text), value); // always decimal
    else
        return Conv::FromString(SAnsiString(text), value, base);
}

// Each good text must give its value; each bad one must fail and leave 0.
template <class T>
void ExpectParses(std::initializer_list<std::pair<const char *, T>> good, std::initializer_list<const char *> bad,
                  int base = 10) {
    T value = 1;
    for (const auto &[text, expected] : good)
        EXPECT_TRUE(Parse(text, value, base) && value == expected) << text;
    for (const char *text : bad) {
        value = 1; // the failure must overwrite it
        EXPECT_TRUE(!Parse(text, value, base) && value == 0) << text;
    }
}

} // namespace

TEST(StringConvToString, IntegersInEveryBaseRealsAndPointers) {
    TarnkitTest::CapturingSink sink;
    int local = 0;
    char pointerText[32];
    std::snprintf(pointerText, sizeof(pointerText), "%p", static_cast<void *>(&local));
    // Outside base 10 a negative number is its two's complement pattern; a long that fits 32 bits keeps the
    // 32-bit pattern it always had; a base outside 2 to 36 gives no text. Reals round as the C run time does, ties
    // to even.
    const std::pair<SAnsiString, const char *> cases[] = {
        {Conv::ToString(0), "0"},
        {Conv::ToString(static_cast<unsigned short>(65535)), "65535"}, {Conv::ToString(-2147483647 - 1), "-2147483648"},
        {Conv::ToString(__uint64{UINT64_MAX}), "18446744073709551615"}, {Conv::ToString(short{-32768}), "-32768"},
        {Conv::ToString(__int64{INT64_MIN}), "-9223372036854775808"}, {Conv::ToString(-1L, 16), "FFFFFFFF"},
        {Conv::ToString(-(1L << 40), 16), "FFFFFF0000000000"}, {Conv::ToString(__int64{-1}, 16), "FFFFFFFFFFFFFFFF"},
        {Conv::ToString(5, 2), "101"}, {Conv::ToString(10, 37), ""}, {Conv::ToString(10, 1), ""},
        {Conv::ToString(-1, 16), "FFFFFFFF"}, {Conv::ToString(-0.125, 2), "-0.12"}, {Conv::ToString(255, 16), "FF"},
        {Conv::ToString(35u, 36), "Z"}, {Conv::ToString(1.5, 0), "2."}, {Conv::ToString(2.5, 0), "2."},
        {Conv::ToString(1e40, 2), "1000000000000000030378602842700"}, {Conv::ToString(&local), pointerText}};
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(Narrow(text), expected);
    EXPECT_TRUE(sink.saw("base must be 2 to 36"));
    EXPECT_EQ(ToU16(SWCharStringConv::ToString(3.25, 1)), u"3.2");

    unsigned short wide[g_integerTextSize];
    EXPECT_EQ(StringConvFromInteger(wide, -305, 10), 4u);
    EXPECT_EQ(ToU16(wide), u"-305");
    EXPECT_EQ(ToU16(SWCharStringConv::ToString(0xABCu, 16)), u"ABC");
    EXPECT_EQ(std::string(SAsciiStringConv::ToString(42L).getString()), "42");

    // Every decimal length, against the standard library.
    for (__uint64 v = 1, i = 0; i < 20; ++i, v = v * 10 + 7)
        EXPECT_EQ(Narrow(Conv::ToString(v)), std::to_string(v));
}

TEST(StringConvFromString, LimitsWhereNumbersEndBasesRealsAndPointers) {
    ExpectParses<int>({{"2147483647", 2147483647}, {"-2147483648", -2147483647 - 1}}, {"2147483648", "-2147483649"});
    // long keeps the 32-bit range of the interfaces.
    ExpectParses<long>({{"-2147483648", -2147483648L}}, {"2147483648"});
    ExpectParses<unsigned long>({{"4294967295", 4294967295ul}}, {"4294967296", "-1"});
    ExpectParses<unsigned int>({}, {"-0"});
    ExpectParses<short>({{"-32768", -32768}}, {"32768"});
    ExpectParses<unsigned short>({{"65535", 65535}}, {"65536"});
    ExpectParses<unsigned char>({{"255", 255}}, {"256"});
    ExpectParses<__int64>({{"-9223372036854775808", INT64_MIN}}, {"9223372036854775808"});
    ExpectParses<__uint64>({{"18446744073709551615", UINT64_MAX}}, {"18446744073709551616", "99999999999999999999999"});
    // Base 36 overflow of a 64-bit accumulator is caught, not wrapped.
    ExpectParses<int>({}, {"ZZZZZZZZZZZZZZ"}, 36);
    unsigned long ul;
    EXPECT_FALSE(SWCharStringConv::FromString(TarnkitTest::WideString(u"zzzzzzzzzzzzzzzz"), ul, 36));

    // Decimal texts of every length agree with the standard library.
    std::mt19937_64 random(20240611);
    for (int round = 0; round < 20000; ++round) {
        int digits = 1 + static_cast<int>(random() % 20);
        std::string text = random() % 2 ? "-" : "";
        while (digits-- > 0)
            text += static_cast<char>('0' + random() % 10);
        auto agrees = [&text](auto ours) {
            decltype(ours) theirs = 0;
            auto r = std::from_chars(text.data(), text.data() + text.size(), theirs);
            bool ok = r.ec == std::errc() && r.ptr == text.data() + text.size();
            EXPECT_EQ(Conv::FromString(SAnsiString(text.c_str()), ours), ok) << text;
            EXPECT_TRUE(!ok || ours == theirs) << text;
        };
        agrees(__int64{0});
        agrees(int{0});
        agrees(__uint64{0});
    }

    ExpectParses<int>({{"12.9", 12}, {"12 apples", 12}, {"12\t3", 12}, {" 12", 0}, {"", 0}, {"-", 0}, {"-.5", 0}},
                      {"1-2", "+1", "12a", "12\n", "1\xc3\xa9"});
    int v = -1;
    EXPECT_TRUE(SWCharStringConv::FromString(TarnkitTest::WideString(u"-77 kg"), v) && v == -77);
    EXPECT_FALSE(SWCharStringConv::FromString(TarnkitTest::WideString(u"7\u0667"), v));

    // Iterators stop at their end and at the terminator.
    SAsciiString text("1234,5678");
    auto comma = text.findFirst(SChar_t<char, 1>(','));
    long l = 0;
    EXPECT_TRUE(StringConvToIntegerIterator(text.begin(), comma, l, 2147483647, 214748364, 10, true) && l == 1234);
    EXPECT_TRUE(StringConvToIntegerIterator(++comma, text.end(), l, 2147483647, 214748364, 10, true) && l == 5678);

    ExpectParses<int>({{"0x1F", 31}, {"0X1f", 31}, {"1x2", 18}, {"-0xff", -255}, {"7fffffff", 0x7fffffff},
                       {"-80000000", -2147483647 - 1}, {"1:", 26}}, {"80000000", "1g", "1@"}, 16);
    // Only base 16 skips the x. The digit arithmetic lets ":" through as ten in bases above 10, and keeps "@"
    // and "[" out.
    ExpectParses<int>({{"x", 33}, {"Zz", 35 * 36 + 35}}, {"1["}, 36);
    ExpectParses<int>({}, {"0x1F"}, 10);
    ExpectParses<int>({}, {"10"}, 0); // no such base
    // Below base 10 the first overflow test still uses the maximum over 10.
    ExpectParses<int>({{"777", 511}}, {}, 8);
    ExpectParses<int>({}, {"1111111111111111111111111111111"}, 2);
    unsigned short us;
    EXPECT_TRUE(SAsciiStringConv::FromString(SAsciiString("ffff"), us, 16) && us == 65535);

    // Reals are read by strtod; pointers are decimal.
    double d = 0;
    EXPECT_TRUE(Conv::FromString(SAnsiString("1.5e3"), d) && d == 1500.0);
    EXPECT_TRUE(!Conv::FromString(SAnsiString("2.5 m"), d) && d == 2.5); // stored even though the text went on
    EXPECT_FALSE(Conv::FromString(SAnsiString(""), d));
    EXPECT_TRUE(SWCharStringConv::FromString(TarnkitTest::WideString(u"-0.25"), d) && d == -0.25);
    EXPECT_FALSE(SWCharStringConv::FromString(TarnkitTest::WideString(u"1\u00e9"), d));
    float f = 0;
    EXPECT_TRUE(SAsciiStringConv::FromString(SAsciiString("0.5"), f) && f == 0.5f);

    void *pointer = nullptr;
    EXPECT_TRUE(Conv::FromString(SAnsiString("4096"), pointer) && reinterpret_cast<uintptr_t>(pointer) == 4096u);
}

TEST(StringConvSmallNumbers, FirstUseFromManyThreadsSharedEntriesAndRangeGuard) {
    // The wide table is first touched here, by several threads at once.
    std::vector<const SWCharString *> seen(4);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < seen.size(); ++t)
        threads.emplace_back([&seen, t] { seen[t] = &SWCharStringConv::StringFrom100Number(64); });
    for (auto &thread : threads)
        thread.join();
    for (const SWCharString *entry : seen) {
        EXPECT_EQ(entry, seen[0]);
        EXPECT_EQ(ToU16(*entry), u"64");
    }

    EXPECT_EQ(Narrow(Conv::StringFrom100Number(7)), "7");
    EXPECT_EQ(Narrow(Conv::StringFrom100Number(42)), "42");
    EXPECT_EQ(Narrow(Conv::StringFrom10Number2Digits(3)), "03");
    EXPECT_EQ(ToU16(SWCharStringConv::StringFrom100Number(99)), u"99");
    EXPECT_EQ(ToU16(SWCharStringConv::StringFrom10Number2Digits(0)), u"00");
    EXPECT_EQ(std::string(SAsciiStringConv::StringFrom100Number(10).getString()), "10");
    EXPECT_EQ(&Conv::StringFrom100Number(42), &Conv::StringFrom100Number(42));

    TarnkitTest::CapturingSink sink;
    EXPECT_EQ(Narrow(Conv::StringFrom100Number(100)), "0");
    EXPECT_TRUE(sink.saw("0 <= n && n < 100"));
    sink.clear(); // the first report's text also holds the second's
    EXPECT_EQ(Narrow(Conv::StringFrom10Number2Digits(-1)), "00");
    EXPECT_TRUE(sink.saw("0 <= n && n < 10"));
}
