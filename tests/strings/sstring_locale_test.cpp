// Narrow strings under real locales: UTF-8 characters and invalid bytes,
// search aligned to character starts, case and collation, edits across
// character widths, wide conversion, and single- and double-byte code sets.
#include "support/testsupport.h"
#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <string>

using namespace TarnkitA201;
using TarnkitTest::CapturingSink;
using CharA = SChar_t<char, 0>;

namespace {

std::string Text(const SAnsiString &s) { return std::string(s.getString()); }
std::u16string ToWide(const char *text) { return TarnkitTest::ToU16(SWCharString(text).getString()); }
std::string FromWide(const char16_t *text) { return Text(SAnsiString(TarnkitTest::Wide(text).data())); }

// The character count, checked against the number of iterator steps.
size_t Chars(const SAnsiString &s) {
    size_t steps = 0;
    for (SAnsiString::iterator it = s.begin(); !it.isAtEnd(); ++it)
        ++steps;
    EXPECT_EQ(steps, s.getNChars());
    return s.getNChars();
}

SAnsiString Edited(const char *text, void (SAnsiString::*edit)()) {
    SAnsiString s(text);
    (s.*edit)();
    return s;
}

// Switches to the locale for the rest of the scope, or skips the test.
#define REQUIRE_LOCALE(name)                                                                                           \
    TarnkitTest::ScopedLocale locale(name);                                                                            \
    if (!locale.ok())                                                                                                  \
    GTEST_SKIP() << name << " not installed"

} // namespace

TEST(SStringUtf8, CharactersInvalidBytesSearchAndEdits) {
    REQUIRE_LOCALE("en_US.UTF-8");
    SAnsiString s("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"); // a é € and one character beyond the basic plane
    EXPECT_EQ(Chars(s), 4u);
    EXPECT_EQ(s.getAt(2).getLength(), 3);
    EXPECT_EQ(Text(s.mid(1, 2)), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(Text(s.right(1)), "\xF0\x9F\x98\x80");

    // Each invalid byte is a character of its own; iteration always ends.
    SAnsiString bad("x\xFF\xC3" "b\x80");
    EXPECT_EQ(Chars(bad), 5u);
    EXPECT_EQ(bad.getCharIndex(bad.end()), 5u);
    bad.deleteChar(1);
    EXPECT_EQ(Text(bad), "x\xC3" "b\x80");
    bad.trim();
    EXPECT_EQ(bad.getLength(), 4u);

    // 0x82 inside the euro sign is no character; the stray one after é is.
    SAnsiString hay("x\xE2\x82\xAC\xC3\xA9\x82y\xC3\xA9");
    EXPECT_EQ(hay.find(SAnsiString("\xC3\xA9")) - hay.begin(), 4);
    EXPECT_EQ(hay.findLast(CharA::fromText("\xC3\xA9")) - hay.begin(), 8);
    EXPECT_EQ(hay.findFirst(CharA('\x82')) - hay.begin(), 6);
    EXPECT_EQ(hay.find(SAnsiString("\x82")) - hay.begin(), 6);
    EXPECT_EQ(hay.find(SAnsiString("\x82\xAC")), hay.end());
    CapturingSink sink;
    hay.getCharIndex(SAnsiString::iterator(hay.getString() + 2)); // inside the euro sign
    EXPECT_TRUE(sink.saw("iter2 == iter"));

    SAnsiString e("a\xC3\xA9" "c");
    e.setAt(0, CharA::fromText("\xE2\x82\xAC"));
    EXPECT_EQ(Text(e), "\xE2\x82\xAC\xC3\xA9" "c");
    e.setAt(1, CharA('e'));
    EXPECT_EQ(Text(e), "\xE2\x82\xAC" "ec");
    e.insertChar(1, CharA::fromText("\xC3\xBC"));
    EXPECT_EQ(e.getNChars(), 4u);
    e.deleteChars(0, 2);
    EXPECT_EQ(Text(e), "ec");

    e.setAt(0, CharA('\xC3'));
    EXPECT_TRUE(sink.saw("SString::setAt: Cannot set because c is not a valid character in this locale"));
    EXPECT_EQ(Text(e), "ec");

    EXPECT_EQ(Text(Edited("\xC2\xA0 x\xE3\x80\x80", &SAnsiString::trim)), "x")
        << "no-break space and ideographic space are space";
}

TEST(SStringUtf8, CaseCollationAndWideConversion) {
    REQUIRE_LOCALE("en_US.UTF-8");
    EXPECT_EQ(Text(Edited("\xC3\xA4" "bc", &SAnsiString::toUpper)), "\xC3\x84" "B");
    EXPECT_EQ(Edited("\xC3\xA4" "bc", &SAnsiString::toUpper).getLength(), 4u);
    EXPECT_EQ(Text(Edited("\xC3\x84\xC3\x96X", &SAnsiString::toLower)), "\xC3\xA4\xC3\xB6x");

    // U+0250 grows to three bytes in upper case: the source drifts, but
    // nothing is read or written outside the buffers.
    CapturingSink sink;
    EXPECT_LE(Text(Edited("\xC9\x90\xC9\x90\xC9\x90\xC9\x90", &SAnsiString::toUpper)).size(), 8u + 32u);
    EXPECT_EQ(Text(Edited("a\xFF" "b", &SAnsiString::toLower)), "a\xFF" "b");
    EXPECT_TRUE(sink.saw("MakeLowerCaseChar: Fail to convert to wchar_t"));
    EXPECT_TRUE(sink.saw("MakeLowerCaseChar(dest, strSize - (dest - s), &charSize)"));
    EXPECT_EQ(CharA::fromText("\xC3\xA4").toUpper(), CharA::fromText("\xC3\x84"));
    EXPECT_TRUE(CharA::fromText("\xC3\x84").isUpper());
    EXPECT_EQ(CharA('\xFF').toUpper().getChar(), 0);

    EXPECT_LT(SAnsiString("a").compare(SAnsiString("B")), 0);
    EXPECT_GT(SAnsiString("a").compareBinary(SAnsiString("B")), 0);
    EXPECT_LT(SAnsiString("a"), SAnsiString("B"));
    EXPECT_EQ(SAnsiString("\xC3\x84rger").compareNoCase(SAnsiString("\xC3\xA4RGER")), 0);
    SAnsiStringCI ci("Gr\xC3\xBC\xC3\x9F" "e Stra\xC3\x9F" "e");
    EXPECT_EQ(ci.find(SAnsiString("STRA")) - ci.begin(), 8);
    EXPECT_TRUE(ci == "GR\xC3\x9C\xC3\x9F" "E STRA\xC3\x9F" "E");
    SWCharStringCI wci(TarnkitTest::WideString(u"Grüße"));
    EXPECT_EQ(wci.find(TarnkitTest::WideString(u"RÜ")) - wci.begin(), 1);
    EXPECT_LT(TarnkitTest::WideString(u"a").compare(TarnkitTest::WideString(u"B")), 0);

    EXPECT_EQ(ToWide("a\xC3\xA9\xF0\x9F\x98\x80"), u"a\u00e9\U0001F600");
    EXPECT_EQ(FromWide(u"a\u00e9\U0001F600"), "a\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(FromWide(u"x\xD800y"), "x?y");
    EXPECT_EQ(ToWide("a\xFF" "b"), u"a?b");
}

TEST(SStringSingleByte, Latin1) {
    REQUIRE_LOCALE("de_DE.ISO-8859-1");
    SAnsiString s("\xE4\xF6\xFC");
    EXPECT_EQ(s.getNChars(), 3u);
    EXPECT_EQ(s.findFirst(CharA('\xFC')) - s.begin(), 2);
    EXPECT_EQ(Text(Edited("\xE4\xF6\xFC", &SAnsiString::toLower)), "\xE4\xF6\xFC");
    EXPECT_EQ(Text(Edited("\xE4\xF6\xFC", &SAnsiString::toUpper)), "\xC4\xD6");
    EXPECT_EQ(FromWide(u"\u00e4\u20ac"), "\xE4?") << "the euro sign has no Latin-1 byte";
}

TEST(SStringMultibyte, EucJpSearchIsAligned) {
    REQUIRE_LOCALE("ja_JP.EUC-JP");
    SAnsiString s("\xA4\xA2\xA4\xA4\xA4");
    EXPECT_EQ(s.getNChars(), 3u) << "a cut-off last character counts as one byte";
    EXPECT_EQ(s.find(SAnsiString("\xA2\xA4")), s.end());
    EXPECT_EQ(s.find(SAnsiString("\xA4\xA4")) - s.begin(), 2);
    EXPECT_EQ(ToWide(s.getString()), u"\u3042\u3044?");
}

TEST(SStringMultibyte, Gb18030SearchIsAligned) {
    REQUIRE_LOCALE("zh_CN.GB18030");
    SAnsiString s("\x81\x30\x81\x30" "0");
    EXPECT_EQ(s.getNChars(), 2u);
    EXPECT_EQ(s.findFirst(CharA('0')) - s.begin(), 4) << "0x30 inside a four-byte character is no match";
    EXPECT_EQ(s.find(SAnsiString("0")) - s.begin(), 4);
}
