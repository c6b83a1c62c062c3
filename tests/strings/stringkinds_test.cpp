// Conversion between the string kinds and the external encodings: sizes,
// the to... and from... members, the ASCII kind's refusals and its
// constructors from the other kinds.
#include "support/testsupport.h"
#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <string>

using namespace TarnkitA201;
using TarnkitTest::ScopedLocale;
using TarnkitTest::ToU16;
using TarnkitTest::Wide;

namespace {

const unsigned char *Utf8(const char *text) { return reinterpret_cast<const unsigned char *>(text); }

class Utf8Locale : public ::testing::Test {
protected:
    void SetUp() override {
        if (!m_locale.ok())
            GTEST_SKIP() << "C.UTF-8 is not installed";
    }
    ScopedLocale m_locale{"C.UTF-8"};
};

} // namespace

TEST_F(Utf8Locale, SizesPerKind) {
    SAnsiString ansi("a\xC3\xA9\xF0\x9F\x98\x80"); // a, e-acute, U+1F600: 7 bytes, 4 units
    EXPECT_EQ(ansi.getNBytesForMBCS(), 8u);
    EXPECT_EQ(ansi.getNBytesForAscii(), 8u);
    EXPECT_EQ(ansi.getNBytesForWChar(), 10u);
    EXPECT_EQ(ansi.getNBytesForZTA(), 10u);
    EXPECT_EQ(ansi.getNBytesForUTF8(), 8u);
    // An invalid byte counts as one character.
    EXPECT_EQ(SAnsiString("x\xFFy").getNBytesForWChar(), 8u);

    SWCharString wide(Wide(u"a\u00e9\U0001F600").data());
    EXPECT_EQ(wide.getNBytesForMBCS(), 8u);
    EXPECT_EQ(wide.getNBytesForWChar(), 10u);
    EXPECT_EQ(wide.getNBytesForUTF8(), 8u);
    EXPECT_EQ(SAsciiString("abc").getNBytesForUTF8(), 4u);
    EXPECT_EQ(SAsciiString("abc").getNBytesForZTA(), 8u);
}

TEST_F(Utf8Locale, ToWideForms) {
    SAnsiString ansi("h\xC3\xA9\xFF");
    unsigned short exact[4];
    ASSERT_EQ(ansi.getNBytesForWChar(), sizeof exact);
    EXPECT_EQ(ansi.toWChar(exact, sizeof exact), 4);
    EXPECT_EQ(ToU16(exact), u"h\u00e9?");
    unsigned short zta[5];
    EXPECT_EQ(ansi.toZTA(zta, sizeof zta), 4);
    EXPECT_EQ(ToU16(zta), u"h\u00e9?");
    EXPECT_EQ(ansi.toZTA(nullptr, 0), 4);

    SWCharString wide(Wide(u"xyz").data());
    EXPECT_EQ(wide.toWChar(zta, sizeof zta), 4);
    EXPECT_EQ(wide.toZTA(zta, 4), 3); // two units of room, no terminator
    unsigned short asciiWide[4];
    EXPECT_EQ(SAsciiString("ok").toWChar(asciiWide, sizeof asciiWide), 3);
    EXPECT_EQ(ToU16(asciiWide), u"ok");
}

TEST_F(Utf8Locale, ToNarrowForms) {
    SWCharString wide(Wide(u"\u00e9t\u00e9").data());
    char narrow[8];
    EXPECT_EQ(wide.toMBCS(narrow, sizeof narrow), 6);
    EXPECT_STREQ(narrow, "\xC3\xA9t\xC3\xA9");
    // The last character does not fit strictly: the rest is "?", unterminated.
    char tight[4] = {'-', '-', '-', '-'};
    EXPECT_EQ(wide.toMBCS(tight, 4), 4);
    EXPECT_EQ(std::string(tight, 4), "\xC3\xA9t?");

    TarnkitTest::CapturingSink sink;
    SAnsiString ansi("abc");
    EXPECT_EQ(ansi.toMBCS(narrow, 3), -1);
    EXPECT_TRUE(sink.saw("nBytesInBuffer >= nBytesUsed"));
    EXPECT_EQ(ansi.toMBCS(nullptr, 8), -1);
    EXPECT_TRUE(sink.saw("outBuffer != 0"));
    EXPECT_EQ(ansi.toAscii(narrow, sizeof narrow), 4);
    EXPECT_STREQ(narrow, "abc");
    std::memset(narrow, '-', sizeof narrow);
    EXPECT_EQ(SAnsiString("ab\xC3\xA9").toAscii(narrow, sizeof narrow), -1);
    EXPECT_EQ(std::string(narrow, 3), "ab-");
    EXPECT_TRUE(sink.saw("Not a valid ASCII string in SString"));
    EXPECT_EQ(SAnsiString("abc").toAscii(narrow, 3), -1);
}

TEST_F(Utf8Locale, ToUtf8) {
    unsigned char out[16];
    SWCharString wide(Wide(u"\u00e9\U0001F600").data());
    EXPECT_EQ(wide.toUTF8(out, sizeof out), 6);
    EXPECT_STREQ(reinterpret_cast<char *>(out), "\xC3\xA9\xF0\x9F\x98\x80");
    // The terminator needs its byte too.
    EXPECT_EQ(wide.toUTF8(out, 6), -1);
    EXPECT_EQ(wide.toUTF8(out, 7), 6);
    EXPECT_EQ(SAnsiString("d\xC3\xA9").toUTF8(out, sizeof out), 3);
    EXPECT_STREQ(reinterpret_cast<char *>(out), "d\xC3\xA9");
    EXPECT_EQ(SAsciiString("ab").toUTF8(out, sizeof out), 2);
}

TEST_F(Utf8Locale, FromExternalForms) {
    SWCharString wide;
    EXPECT_TRUE(wide.fromUTF8(Utf8("\xE6\x97\xA5\xF0\x9F\x98\x80")));
    EXPECT_EQ(ToU16(wide), u"\u65e5\U0001F600");
    // Failure leaves a string of length 0.
    EXPECT_FALSE(wide.fromUTF8(Utf8("ok\xE6\x97"), 4));
    EXPECT_TRUE(wide.isEmpty());
    EXPECT_TRUE(wide.fromUTF8(Utf8("abcdef"), 3));
    EXPECT_EQ(ToU16(wide), u"abc");

    SAnsiString ansi;
    EXPECT_TRUE(ansi.fromUTF8(Utf8("\xC3\xA9!")));
    EXPECT_STREQ(ansi.getString(), "\xC3\xA9!");
    EXPECT_TRUE(ansi.fromZTA(Wide(u"z\u00e9").data()));
    EXPECT_STREQ(ansi.getString(), "z\xC3\xA9");
    EXPECT_TRUE(ansi.copyFrom(Wide(u"\U0001F600").data()));
    EXPECT_STREQ(ansi.getString(), "\xF0\x9F\x98\x80");
    EXPECT_TRUE(wide.copyFrom("\xC3\xA9\xFF"));
    EXPECT_EQ(ToU16(wide), u"\u00e9?");
    EXPECT_TRUE(wide.fromAscii("hi", SIZE_MAX));
    EXPECT_EQ(ToU16(wide), u"hi");
    EXPECT_TRUE(ansi.fromAscii(nullptr, SIZE_MAX));
    EXPECT_TRUE(ansi.isEmpty());
    EXPECT_TRUE(ansi.fromAscii("abcdef", 2));
    EXPECT_STREQ(ansi.getString(), "ab");
}

TEST(StringKinds, AsciiKindRefusesHighText) {
    TarnkitTest::CapturingSink sink;
    SAsciiString ascii("keep");
    EXPECT_FALSE(ascii.fromMBCS("caf\xC3\xA9"));
    EXPECT_TRUE(sink.saw("Not a valid ASCII string in MBCS"));
    EXPECT_FALSE(ascii.fromWChar(Wide(u"caf\u00e9").data()));
    EXPECT_TRUE(sink.saw("Not a valid ASCII string in WChar"));
    EXPECT_FALSE(ascii.fromZTA(Wide(u"\u0100").data()));
    EXPECT_TRUE(sink.saw("Not a valid ASCII string in ZTA"));
    EXPECT_FALSE(ascii.fromUTF8(Utf8("\xC3\xA9")));
    EXPECT_STREQ(ascii.getString(), "keep");
    EXPECT_FALSE(ascii.fromMBCS(nullptr));
    EXPECT_TRUE(sink.saw("inBuffer != 0"));

    EXPECT_TRUE(ascii.fromWChar(Wide(u"wide").data()));
    EXPECT_STREQ(ascii.getString(), "wide");
    EXPECT_TRUE(ascii.copyFrom("plain"));
    EXPECT_STREQ(ascii.getString(), "plain");
}

TEST_F(Utf8Locale, AsciiConstructorsFromOtherKinds) {
    SAnsiString ansi("\xC3\xA4" "bc"); // three characters, four bytes
    EXPECT_TRUE(SAsciiString(ansi, false).isEmpty());
    SAsciiString firstBytes(ansi, true);
    EXPECT_EQ(firstBytes.getLength(), 3u);
    EXPECT_EQ(std::string(firstBytes.getString()), "\xC3\xA4" "b");
    // The low byte of each unit, untested.
    EXPECT_STREQ(SAsciiString(SWCharString(Wide(u"A\u0142z").data()), true).getString(), "ABz");
    EXPECT_STREQ(SAsciiString(SZTAString(Wide(u"ok").data()), true).getString(), "ok");

    SAsciiString source("hello");
    auto from = source.begin();
    from += 1;
    auto to = from;
    to += 3;
    EXPECT_STREQ(SAsciiString(from, to).getString(), "ell");
    TarnkitTest::CapturingSink sink;
    EXPECT_TRUE(SAsciiString(to, from).isEmpty());
    EXPECT_TRUE(sink.saw("0"));

    SAsciiString appended("x");
    appended.concatFromAsciiCharacters(Wide(u"\u0141y").data(), 2);
    EXPECT_EQ(std::string(appended.getString()), "xAy");
}

TEST_F(Utf8Locale, CharactersToZta) {
    using MbChar = SChar_t<char, 0>;
    using AsciiChar = SChar_t<char, 1>;
    using WideChar = SChar_t<unsigned short, 1>;
    unsigned short unit = 0;
    EXPECT_EQ(MbChar::fromText("\xC3\xA9").toZTAChar(&unit), 2);
    EXPECT_EQ(unit, 0xE9);
    EXPECT_EQ(MbChar::fromText("\xFF").toZTAChar(&unit), -1);
    EXPECT_EQ(MbChar::fromText("\xF0\x9F\x98\x80").toZTAChar(&unit), 4);
    EXPECT_EQ(unit, '?');
    EXPECT_EQ(WideChar(0x1234).toZTAChar(&unit), 1);
    EXPECT_EQ(unit, 0x1234);
    EXPECT_EQ(AsciiChar('\xE9').toZTAChar(&unit), 1);
    EXPECT_EQ(unit, 0xFFE9); // the signed byte widens
}

TEST(StringKinds, UnmappableInLatin1BecomesQuestionMark) {
    ScopedLocale locale("de_DE.ISO-8859-1");
    if (!locale.ok())
        GTEST_SKIP() << "de_DE.ISO-8859-1 is not installed";
    SAnsiString ansi;
    EXPECT_TRUE(ansi.fromWChar(Wide(u"\u00fc\u65e5!").data()));
    EXPECT_STREQ(ansi.getString(), "\xFC?!");
    SWCharString wide(Wide(u"\u20ac").data());
    EXPECT_EQ(wide.getNBytesForMBCS(), 2u);
    SWCharString back("\xFC");
    EXPECT_EQ(ToU16(back), u"\u00fc");
    EXPECT_EQ(SAnsiString("\xFC").getNBytesForUTF8(), 3u);
}
