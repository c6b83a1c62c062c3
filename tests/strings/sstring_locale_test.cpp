#include "support/testsupport.h"
#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <string>

using namespace TarnkitA201;
using TarnkitTest::CapturingSink;
using TarnkitTest::ScopedLocale;
using CharA = SChar_t<char, 0>;

namespace {

std::string Text(const SAnsiString &s) { return std::string(s.getString()); }

size_t Steps(const SAnsiString &s) {
    size_t n = 0;
    for (SAnsiString::iterator it = s.begin(); !it.isAtEnd(); ++it)
        ++n;
    return n;
}

#define REQUIRE_LOCALE(scoped)                                                                                         \
    if (!(scoped).ok())                                                                                                \
    GTEST_SKIP() << "locale not installed"

} // namespace

TEST(SStringUtf8, CharactersAndInvalidBytes) {
    ScopedLocale locale("en_US.UTF-8");
    REQUIRE_LOCALE(locale);
    SAnsiString s("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"); // a é € and one character beyond the basic plane
    EXPECT_EQ(s.getNChars(), 4u);
    EXPECT_EQ(Steps(s), 4u);
    EXPECT_EQ(s.getAt(2).getLength(), 3);
    EXPECT_EQ(Text(s.mid(1, 2)), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(Text(s.right(1)), "\xF0\x9F\x98\x80");

    // Each invalid byte is a character of its own; iteration always ends.
    SAnsiString bad("x\xFF\xC3" "b\x80");
    EXPECT_EQ(bad.getNChars(), 5u);
    EXPECT_EQ(Steps(bad), 5u);
    EXPECT_EQ(bad.getCharIndex(bad.end()), 5u);
    bad.deleteChar(1);
    EXPECT_EQ(Text(bad), "x\xC3" "b\x80");
    bad.trim();
    EXPECT_EQ(bad.getLength(), 4u);

    CapturingSink sink;
    SAnsiString mid("\xE2\x82\xAC");
    SAnsiString::iterator inside(mid.getString() + 1);
    mid.getCharIndex(inside);
    EXPECT_TRUE(sink.saw("iter2 == iter"));
}

TEST(SStringUtf8, SearchMatchesOnlyAtCharacterStarts) {
    ScopedLocale locale("en_US.UTF-8");
    REQUIRE_LOCALE(locale);
    SAnsiString s("x\xE2\x82\xAC\xC3\xA9\x82y\xC3\xA9");
    EXPECT_EQ(s.find(SAnsiString("\xC3\xA9")) - s.begin(), 4);
    EXPECT_EQ(s.findLast(CharA::fromText("\xC3\xA9")) - s.begin(), 8);
    // 0x82 inside the euro sign is no character; the stray one after é is.
    EXPECT_EQ(s.findFirst(CharA('\x82')) - s.begin(), 6);
    EXPECT_EQ(s.find(SAnsiString("\x82")) - s.begin(), 6);
    EXPECT_EQ(s.find(SAnsiString("\x82\xAC")), s.end());
}

TEST(SStringUtf8, CaseConversionCutAndDrift) {
    ScopedLocale locale("en_US.UTF-8");
    REQUIRE_LOCALE(locale);
    SAnsiString up("\xC3\xA4" "bc");
    up.toUpper();
    EXPECT_EQ(Text(up), "\xC3\x84" "B");
    EXPECT_EQ(up.getLength(), 4u);
    SAnsiString low("\xC3\x84\xC3\x96X");
    low.toLower();
    EXPECT_EQ(Text(low), "\xC3\xA4\xC3\xB6x");

    // U+0250 grows to three bytes in upper case: the source drifts, but
    // nothing is read or written outside the buffers.
    CapturingSink sink;
    SAnsiString grow("\xC9\x90\xC9\x90\xC9\x90\xC9\x90");
    grow.toUpper();
    EXPECT_LE(std::string(grow.getString()).size(), 8u + 32u);
    SAnsiString invalid("a\xFF" "b");
    invalid.toLower();
    EXPECT_TRUE(sink.saw("MakeLowerCaseChar: Fail to convert to wchar_t"));
    EXPECT_TRUE(sink.saw("MakeLowerCaseChar(dest, strSize - (dest - s), &charSize)"));
    EXPECT_EQ(Text(invalid), "a\xFF" "b");
    EXPECT_EQ(CharA::fromText("\xC3\xA4").toUpper(), CharA::fromText("\xC3\x84"));
    EXPECT_TRUE(CharA::fromText("\xC3\x84").isUpper());
    EXPECT_EQ(CharA('\xFF').toUpper().getChar(), 0);
}

TEST(SStringUtf8, CollationDiffersFromBinary) {
    ScopedLocale locale("en_US.UTF-8");
    REQUIRE_LOCALE(locale);
    SAnsiString a("a"), b("B");
    EXPECT_LT(a.compare(b), 0);
    EXPECT_GT(a.compareBinary(b), 0);
    EXPECT_LT(a, b);
    EXPECT_EQ(SAnsiString("\xC3\x84rger").compareNoCase(SAnsiString("\xC3\xA4RGER")), 0);
    SAnsiStringCI ci("Gr\xC3\xBC\xC3\x9F" "e Stra\xC3\x9F" "e");
    EXPECT_EQ(ci.find(SAnsiString("STRA")) - ci.begin(), 8);
    EXPECT_TRUE(ci == "GR\xC3\x9C\xC3\x9F" "E STRA\xC3\x9F" "E");
    SWCharStringCI wci(TarnkitTest::WideString(u"Grüße"));
    EXPECT_EQ(wci.find(TarnkitTest::WideString(u"RÜ")) - wci.begin(), 1);
    EXPECT_LT(TarnkitTest::WideString(u"a").compare(TarnkitTest::WideString(u"B")), 0);
}

TEST(SStringUtf8, EditsAcrossCharacterWidths) {
    ScopedLocale locale("en_US.UTF-8");
    REQUIRE_LOCALE(locale);
    SAnsiString s("a\xC3\xA9" "c");
    s.setAt(0, CharA::fromText("\xE2\x82\xAC"));
    EXPECT_EQ(Text(s), "\xE2\x82\xAC\xC3\xA9" "c");
    s.setAt(1, CharA('e'));
    EXPECT_EQ(Text(s), "\xE2\x82\xAC" "ec");
    s.insertChar(1, CharA::fromText("\xC3\xBC"));
    EXPECT_EQ(s.getNChars(), 4u);
    s.deleteChars(0, 2);
    EXPECT_EQ(Text(s), "ec");

    CapturingSink sink;
    s.setAt(0, CharA('\xC3'));
    EXPECT_TRUE(sink.saw("SString::setAt: Cannot set because c is not a valid character in this locale"));
    EXPECT_EQ(Text(s), "ec");

    SAnsiString t("\xC2\xA0 x\xE3\x80\x80");
    t.trim();
    EXPECT_EQ(Text(t), "x") << "no-break space and ideographic space are space";
}

TEST(SStringUtf8, ConversionToWideAndBack) {
    ScopedLocale locale("en_US.UTF-8");
    REQUIRE_LOCALE(locale);
    const char *text = "a\xC3\xA9\xF0\x9F\x98\x80";
    SWCharString wide(text);
    EXPECT_EQ(TarnkitTest::ToU16(wide.getString()), u"a\u00e9\U0001F600");
    SAnsiString back(wide.getString());
    EXPECT_EQ(Text(back), text);
    SAnsiString lone(TarnkitTest::Wide(u"x\xD800y").data());
    EXPECT_EQ(Text(lone), "x?y");
    SWCharString invalid("a\xFF" "b");
    EXPECT_EQ(TarnkitTest::ToU16(invalid.getString()), u"a?b");
}

TEST(SStringSingleByte, Latin1) {
    ScopedLocale locale("de_DE.ISO-8859-1");
    REQUIRE_LOCALE(locale);
    SAnsiString s("\xE4\xF6\xFC");
    EXPECT_EQ(s.getNChars(), 3u);
    s.toLower();
    EXPECT_EQ(Text(s), "\xE4\xF6\xFC");
    SAnsiString u("\xE4\xF6\xFC");
    u.toUpper();
    EXPECT_EQ(Text(u), "\xC4\xD6");
    SAnsiString euro(TarnkitTest::Wide(u"\u00e4\u20ac").data());
    EXPECT_EQ(Text(euro), "\xE4?") << "the euro sign has no Latin-1 byte";
    EXPECT_EQ(s.findFirst(CharA('\xFC')) - s.begin(), 2);
}

TEST(SStringMultibyte, EucJpAndGb18030SearchIsAligned) {
    {
        ScopedLocale locale("ja_JP.EUC-JP");
        REQUIRE_LOCALE(locale);
        SAnsiString s("\xA4\xA2\xA4\xA4\xA4");
        EXPECT_EQ(s.getNChars(), 3u) << "a cut-off last character counts as one byte";
        EXPECT_EQ(s.find(SAnsiString("\xA2\xA4")), s.end());
        EXPECT_EQ(s.find(SAnsiString("\xA4\xA4")) - s.begin(), 2);
        SWCharString wide(s.getString());
        EXPECT_EQ(TarnkitTest::ToU16(wide.getString()), u"\u3042\u3044?");
    }
    {
        ScopedLocale locale("zh_CN.GB18030");
        REQUIRE_LOCALE(locale);
        SAnsiString s("\x81\x30\x81\x30" "0");
        EXPECT_EQ(s.getNChars(), 2u);
        EXPECT_EQ(s.findFirst(CharA('0')) - s.begin(), 4) << "0x30 inside a four-byte character is no match";
        EXPECT_EQ(s.find(SAnsiString("0")) - s.begin(), 4);
    }
}
