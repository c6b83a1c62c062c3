// Message templates: placeholder and escape rules, value forms, the path of
// values beyond the fifth, and copies.
#include "tarnkit/sresstring.h"

#include "foundation/services.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

using namespace TarnkitA201;

namespace {

std::string Fill(const SResString &message) { return static_cast<SAnsiString>(message).getString(); }

SResString Percent(const char *text) { return SResString(SAnsiString(text), SChar_t<char, 0>('%')); }

} // namespace

TEST(SResString, FillRules) {
    // Each template fed the two values "a" and "b".
    const struct {
        const char *text;
        const char *expected;
    } cases[] = {
        {"%2 %1", "b a"},         {"%1 and %3", "a and %3"},  {"%1%1", "aa"},
        {"end %", "end %"},       {"%x %0 %01", "%x %0 %01"}, {"%%1", "%%1"}, // the character after "%" is skipped
        {"a%^b", "a%^b"},         {"%1x2", "ax2"},            {"%12", "%12"}, // digits are read greedily
        {"a^b^^c", "ab^c"},       {"^^^", "^"},               {"trailing^", "trailing"},
        {"50^% done", "50% done"}, {"^%2", "b"}, // the escape does not protect what follows it
        {"%99999999999999999999999999 %2", "%99999999999999999999999999 b"}, {"", ""},
    };
    for (const auto &c : cases) {
        SResString message = Percent(c.text);
        message << SAnsiString("a") << SAnsiString("b");
        EXPECT_EQ(Fill(message), c.expected) << c.text;
    }
    EXPECT_EQ(Fill(Percent("none %1")), "none %1");
    // The default placeholder is the escape itself, so nothing is replaced.
    EXPECT_EQ(Fill(SResString(SAnsiString("^1 and ^^")) << SAnsiString("v")), "1 and ^");
}

TEST(SResString, ValueForms) {
    SResString numbers = Percent("%1|%2|%3|%4|%5");
    numbers << -5 << 4000000000u << LONG_MIN << ULONG_MAX << 1.5;
    EXPECT_EQ(Fill(numbers), "-5|4000000000|-9223372036854775808|18446744073709551615|1.5");

    SResString more = Percent("%1 %2 %3 %4 %5 %6 %7 %8 %9");
    more << 0.1 << 1e20 << SChar_t<char, 0>('c') << 'x' << SAnsiString("s");
    more << 1.5 << LONG_MIN << SChar_t<char, 0>('d') << 7u;
    // Slots use "%g"; from the sixth value on a double has six decimals. A
    // plain char prints its code.
    EXPECT_EQ(Fill(more), "0.1 1e+20 c 120 s 1.500000 -9223372036854775808 d 7");
    EXPECT_EQ(more.getVarCount(), 9);

    SAnsiString text("prefix ");
    text << (Percent("%1!") << 3);
    EXPECT_STREQ(text.getString(), "prefix 3!");
}

TEST(SResString, ManyValues) {
    SResString message = Percent("%12 %1 %21 %22 %36 %37 %40 %41");
    for (int i = 1; i <= 40; ++i)
        message << SAnsiString(std::to_string(i).c_str());
    EXPECT_EQ(Fill(message), "12 1 21 22 36 37 40 %41");
}

TEST(SResString, CopiesStartWithoutValues) {
    SResString filled = Percent("%1-%2");
    filled << 1 << SAnsiString("two");
    EXPECT_EQ(Fill(SResString(filled)), "%1-%2");
    SResString assigned = Percent("other");
    assigned << 9;
    assigned = filled;
    EXPECT_EQ(assigned.getVarCount(), 0);
    EXPECT_EQ(Fill(assigned << 3), "3-%2");
    SResString moved(std::move(filled));
    EXPECT_EQ(Fill(moved), "1-two");
}

TEST(SResString, TemplateFromResourceId) {
    EXPECT_EQ(Fill(SResString(42ul, SChar_t<char, 0>('%')) << 1), "");
    const ResourceStringLoader previous =
        SetResourceStringLoader([](unsigned long id) { return SAnsiString(id == 42 ? "id %1" : ""); });
    SResString message(42ul, SChar_t<char, 0>('%'));
    EXPECT_EQ(Fill(message << 7), "id 7");
    EXPECT_EQ(SResString(message).getResourceId(), 42ul);
    SetResourceStringLoader(previous);
}

TEST(SResString, MultibyteCharacters) {
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    const SChar_t<char, 0> section = SChar_t<char, 0>::fromText("\xC2\xA7"); // U+00A7 as placeholder
    SResString message(SAnsiString("\xC2\xA7" "2 \xC2\xA7" "1 %1 \xC2\xA7"), section);
    message << SChar_t<char, 0>::fromText("\xC3\xA9") << SAnsiString("t");
    EXPECT_EQ(Fill(message), "t \xC3\xA9 %1 \xC2\xA7");
    // An invalid byte counts as one character.
    EXPECT_EQ(Fill(Percent("\xC3\xA9%1\xFF%1") << SAnsiString("v")), "\xC3\xA9v\xFFv");
}
