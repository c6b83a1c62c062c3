// Character classes of 16-bit units: ASCII as in the C locale, the table
// above it, the exact set of spaces, and no dependence on the current locale.
#include "support/testsupport.h"
#include "tarnkit/schar.h"

#include <gtest/gtest.h>

#include <vector>

using namespace TarnkitA201;

namespace {

// Upper, lower and letter class of probes that differ between locales' own tables.
std::vector<int> ProbeClasses() {
    std::vector<int> out;
    for (unsigned short c : {u'i', u'I', u'\u00C4', u'\u00E4', u'\u0130', u'\u0131', u'\u00A0'})
        out.push_back(is_upper(c) * 4 + is_lower(c) * 2 + is_alpha(c));
    return out;
}

} // namespace

TEST(CharClass, AsciiFollowsTheCLocale) {
    for (unsigned short c = 0; c < 128; ++c) {
        SCOPED_TRACE(c);
        EXPECT_EQ(is_upper(c), c >= 'A' && c <= 'Z');
        EXPECT_EQ(is_lower(c), c >= 'a' && c <= 'z');
        EXPECT_EQ(is_digit(c), c >= '0' && c <= '9');
        EXPECT_EQ(is_space(c), c == ' ' || (c >= 9 && c <= 13));
        EXPECT_EQ(is_punct(c), c > 32 && c < 127 && !is_alpha(c) && !is_digit(c));
    }
}

TEST(CharClass, TableClassesAboveAscii) {
    // Letters: cased ones carry their case, uncased and title case only alpha.
    EXPECT_TRUE(is_alpha(0x00E9) && is_lower(0x00E9) && !is_upper(0x00E9));
    EXPECT_TRUE(is_alpha(0x0416) && is_upper(0x0416));
    EXPECT_TRUE(is_alpha(0x01C5) && !is_upper(0x01C5) && !is_lower(0x01C5));
    EXPECT_TRUE(is_alpha(0x4E00) && is_alpha(0x9FA5) && is_alpha(0xAC00) && is_alpha(0xD7A3));
    // Decimal digits of other scripts, and punctuation with the symbols.
    EXPECT_TRUE(is_digit(0x0660) && is_digit(0x0967) && is_digit(0xFF10));
    EXPECT_FALSE(is_digit(0x00B2)) << "superscript two is no decimal digit";
    EXPECT_TRUE(is_punct(0x00BF) && is_punct(0x3001) && is_punct(0x20AC) && is_punct(0x00A9));
    // Nothing for unassigned codes, controls, surrogates and private use.
    for (unsigned short code : {0x0080, 0x0378, 0xD800, 0xDFFF, 0xE000, 0xFFFF})
        EXPECT_FALSE(is_alpha(code) || is_punct(code) || is_space(code) || is_digit(code)) << code;

    // Exactly sixteen spaces.
    int spaces = 0;
    for (unsigned code = 128; code <= 0xFFFF; ++code) {
        if (!is_space(static_cast<unsigned short>(code)))
            continue;
        ++spaces;
        EXPECT_TRUE(code == 0x00A0 || code == 0x1680 || (code >= 0x2000 && code <= 0x200B) || code == 0x202F ||
                    code == 0x3000)
            << std::hex << code;
    }
    EXPECT_EQ(spaces, 16);
    EXPECT_FALSE(is_space(0x205F));
}

TEST(CharClass, IndependentOfTheLocale) {
    const std::vector<int> before = ProbeClasses();
    for (const char *name : {"tr_TR.UTF-8", "de_DE.ISO-8859-1"}) {
        TarnkitTest::ScopedLocale locale(name);
        if (!locale.ok())
            continue;
        EXPECT_EQ(ProbeClasses(), before) << name;
    }
}
