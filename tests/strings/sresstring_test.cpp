// Message templates: placeholder and escape rules, value forms, the path of
// values beyond the fifth, and copies.
#include "tarnkit/sresstring.h"

#include "support/testsupport.h" // also the resource string loader seam

#include <gtest/gtest.h>

#include <climits>
#include <string>

using namespace TarnkitA201;
using CharA = SChar_t<char, 0>;

namespace {

std::string Fill(const SResString &message) { return static_cast<SAnsiString>(message).getString(); }

SResString Percent(const char *text) { return SResString(SAnsiString(text), CharA('%')); }

} // namespace

TEST(SResString, FillRules) {
    // Each template fed the two values "a" and "b". The character after "%"
    // is skipped, digits are read greedily, and the escape does not protect
    // what follows it.
    for (auto [text, expected] : {std::pair{"%2 %1", "b a"}, {"%1 and %3", "a and %3"}, {"%1%1", "aa"},
                                  {"end %", "end %"}, {"%x %0 %01", "%x %0 %01"}, {"%%1", "%%1"}, {"a%^b", "a%^b"},
                                  {"%1x2", "ax2"}, {"%12", "%12"}, {"a^b^^c", "ab^c"}, {"^^^", "^"},
                                  {"trailing^", "trailing"}, {"50^% done", "50% done"}, {"^%2", "b"}, {"", ""},
                                  {"%99999999999999999999999999 %2", "%99999999999999999999999999 b"}})
        EXPECT_EQ(Fill(Percent(text) << SAnsiString("a") << SAnsiString("b")), expected) << text;
    EXPECT_EQ(Fill(Percent("none %1")), "none %1");
    // The default placeholder is the escape itself, so nothing is replaced.
    EXPECT_EQ(Fill(SResString(SAnsiString("^1 and ^^")) << SAnsiString("v")), "1 and ^");
}

TEST(SResString, ValueFormsAndManyValues) {
    EXPECT_EQ(Fill(Percent("%1|%2|%3|%4|%5") << -5 << 4000000000u << LONG_MIN << ULONG_MAX << 1.5),
              "-5|4000000000|-9223372036854775808|18446744073709551615|1.5");

    SResString more = Percent("%1 %2 %3 %4 %5 %6 %7 %8 %9");
    more << 0.1 << 1e20 << CharA('c') << 'x' << SAnsiString("s") << 1.5 << LONG_MIN << CharA('d') << 7u;
    // Slots use "%g"; from the sixth value on a double has six decimals. A
    // plain char prints its code.
    EXPECT_EQ(Fill(more), "0.1 1e+20 c 120 s 1.500000 -9223372036854775808 d 7");
    EXPECT_EQ(more.getVarCount(), 9);

    SAnsiString text("prefix ");
    EXPECT_STREQ((text << (Percent("%1!") << 3)).getString(), "prefix 3!");

    SResString many = Percent("%12 %1 %21 %22 %36 %37 %40 %41");
    for (int i = 1; i <= 40; ++i)
        many << SAnsiString(std::to_string(i).c_str());
    EXPECT_EQ(Fill(many), "12 1 21 22 36 37 40 %41");
}

TEST(SResString, CopiesStartWithoutValuesAndKeepTheResourceId) {
    SResString filled = Percent("%1-%2");
    filled << 1 << SAnsiString("two");
    EXPECT_EQ(Fill(SResString(filled)), "%1-%2");
    SResString assigned = Percent("other");
    assigned << 9;
    assigned = filled;
    EXPECT_EQ(assigned.getVarCount(), 0);
    EXPECT_EQ(Fill(assigned << 3), "3-%2");
    EXPECT_EQ(Fill(SResString(std::move(filled))), "1-two");

    EXPECT_EQ(Fill(SResString(42ul, CharA('%')) << 1), "");
    auto previous = SetResourceStringLoader([](unsigned long id) { return SAnsiString(id == 42 ? "id %1" : ""); });
    SResString message(42ul, CharA('%'));
    EXPECT_EQ(Fill(message << 7), "id 7");
    EXPECT_EQ(SResString(message).getResourceId(), 42ul);
    SetResourceStringLoader(previous);
}

TEST(SResString, MultibyteCharacters) {
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    // U+00A7 as placeholder.
    SResString message(SAnsiString("\xC2\xA7" "2 \xC2\xA7" "1 %1 \xC2\xA7"), CharA::fromText("\xC2\xA7"));
    EXPECT_EQ(Fill(message << CharA::fromText("\xC3\xA9") << SAnsiString("t")), "t \xC3\xA9 %1 \xC2\xA7");
    // An invalid byte counts as one character.
    EXPECT_EQ(Fill(Percent("\xC3\xA9%1\xFF%1") << SAnsiString("v")), "\xC3\xA9v\xFFv");
}
