// Conversion between the string kinds and the external encodings: sizes,
// the to... and from... members (in UTF-8 and Latin-1), the ASCII kind's
// refusals and its constructors from the other kinds.
#include "support/testsupport.h"
#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace TarnkitA201;
using TarnkitTest::ToU16;
using TarnkitTest::Wide;

namespace {

const unsigned char *Utf8(const char *text) { return reinterpret_cast<const unsigned char *>(text); }

// The text a from... or copyFrom member left behind, after it reported success.
template <class S>
std::string Loaded(bool ok, const S &s) { return ok ? std::string(s.getString()) : "<refused>"; }
std::u16string Loaded(bool ok, const SWCharString &s) { return ok ? ToU16(s) : u"<refused>"; }

} // namespace

TEST(StringKinds, SizesCharactersAndConversionsToAndFromExternalForms) {
    TarnkitTest::ScopedLocale locale("C.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "C.UTF-8 is not installed";
    SAnsiString utf8("a\xC3\xA9\xF0\x9F\x98\x80"); // a, e-acute, U+1F600: 7 bytes, 4 units
    SWCharString utf16(Wide(u"a\u00e9\U0001F600").data());
    // In "x\xFFy" the invalid byte counts as one character.
    const std::pair<size_t, size_t> sizes[] = {
        {utf8.getNBytesForMBCS(), 8}, {utf8.getNBytesForAscii(), 8}, {utf8.getNBytesForWChar(), 10},
        {utf8.getNBytesForZTA(), 10}, {utf8.getNBytesForUTF8(), 8}, {SAnsiString("x\xFFy").getNBytesForWChar(), 8},
        {utf16.getNBytesForMBCS(), 8}, {utf16.getNBytesForWChar(), 10}, {utf16.getNBytesForUTF8(), 8},
        {SAsciiString("abc").getNBytesForUTF8(), 4}, {SAsciiString("abc").getNBytesForZTA(), 8}};
    for (size_t i = 0; i < std::size(sizes); ++i)
        EXPECT_EQ(sizes[i].first, sizes[i].second) << "size number " << i;

    using MbChar = SChar_t<char, 0>;
    unsigned short unit = 0;
    EXPECT_EQ(MbChar::fromText("\xC3\xA9").toZTAChar(&unit), 2);
    EXPECT_EQ(unit, 0xE9);
    EXPECT_EQ(MbChar::fromText("\xFF").toZTAChar(&unit), -1);
    EXPECT_EQ(MbChar::fromText("\xF0\x9F\x98\x80").toZTAChar(&unit), 4);
    EXPECT_EQ(unit, '?');
    EXPECT_EQ((SChar_t<unsigned short, 1>(0x1234).toZTAChar(&unit)), 1);
    EXPECT_EQ(unit, 0x1234);
    EXPECT_EQ((SChar_t<char, 1>('\xE9').toZTAChar(&unit)), 1);
    EXPECT_EQ(unit, 0xFFE9); // the signed byte widens

    SAnsiString ansi("h\xC3\xA9\xFF");
    unsigned short exact[4], zta[5];
    ASSERT_EQ(ansi.getNBytesForWChar(), sizeof exact);
    EXPECT_EQ(ansi.toWChar(exact, sizeof exact), 4);
    EXPECT_EQ(ToU16(exact), u"h\u00e9?");
    EXPECT_EQ(ansi.toZTA(zta, sizeof zta), 4);
    EXPECT_EQ(ToU16(zta), u"h\u00e9?");
    EXPECT_EQ(ansi.toZTA(nullptr, 0), 4);

    SWCharString wide(Wide(u"xyz").data());
    EXPECT_EQ(wide.toWChar(zta, sizeof zta), 4);
    EXPECT_EQ(wide.toZTA(zta, 4), 3); // two units of room, no terminator
    EXPECT_EQ(SAsciiString("ok").toWChar(exact, sizeof exact), 3);
    EXPECT_EQ(ToU16(exact), u"ok");

    SWCharString accents(Wide(u"\u00e9t\u00e9").data());
    char narrow[8], tight[4] = {'-', '-', '-', '-'};
    EXPECT_EQ(accents.toMBCS(narrow, sizeof narrow), 6);
    EXPECT_STREQ(narrow, "\xC3\xA9t\xC3\xA9");
    // The last character does not fit strictly: the rest is "?", unterminated.
    EXPECT_EQ(accents.toMBCS(tight, 4), 4);
    EXPECT_EQ(std::string(tight, 4), "\xC3\xA9t?");

    TarnkitTest::CapturingSink sink;
    SAnsiString abc("abc");
    EXPECT_EQ(abc.toMBCS(narrow, 3), -1);
    EXPECT_TRUE(sink.saw("nBytesInBuffer >= nBytesUsed"));
    EXPECT_EQ(abc.toMBCS(nullptr, 8), -1);
    EXPECT_TRUE(sink.saw("outBuffer != 0"));
    EXPECT_EQ(abc.toAscii(narrow, sizeof narrow), 4);
    EXPECT_STREQ(narrow, "abc");
    std::memset(narrow, '-', sizeof narrow);
    EXPECT_EQ(SAnsiString("ab\xC3\xA9").toAscii(narrow, sizeof narrow), -1);
    EXPECT_EQ(std::string(narrow, 3), "ab-");
    EXPECT_TRUE(sink.saw("Not a valid ASCII string in SString"));
    EXPECT_EQ(abc.toAscii(narrow, 3), -1);

    unsigned char out[16];
    SWCharString pair(Wide(u"\u00e9\U0001F600").data());
    EXPECT_EQ(pair.toUTF8(out, sizeof out), 6);
    EXPECT_STREQ(reinterpret_cast<char *>(out), "\xC3\xA9\xF0\x9F\x98\x80");
    // The terminator needs its byte too.
    EXPECT_EQ(pair.toUTF8(out, 6), -1);
    EXPECT_EQ(pair.toUTF8(out, 7), 6);
    EXPECT_EQ(SAnsiString("d\xC3\xA9").toUTF8(out, sizeof out), 3);
    EXPECT_STREQ(reinterpret_cast<char *>(out), "d\xC3\xA9");
    EXPECT_EQ(SAsciiString("ab").toUTF8(out, sizeof out), 2);

    EXPECT_EQ(Loaded(wide.fromUTF8(Utf8("\xE6\x97\xA5\xF0\x9F\x98\x80")), wide), u"\u65e5\U0001F600");
    // Failure leaves a string of length 0.
    EXPECT_FALSE(wide.fromUTF8(Utf8("ok\xE6\x97"), 4));
    EXPECT_TRUE(wide.isEmpty());
    EXPECT_EQ(Loaded(wide.fromUTF8(Utf8("abcdef"), 3), wide), u"abc");
    EXPECT_EQ(Loaded(wide.copyFrom("\xC3\xA9\xFF"), wide), u"\u00e9?");
    EXPECT_EQ(Loaded(wide.fromAscii("hi", SIZE_MAX), wide), u"hi");

    EXPECT_EQ(Loaded(ansi.fromUTF8(Utf8("\xC3\xA9!")), ansi), "\xC3\xA9!");
    EXPECT_EQ(Loaded(ansi.fromZTA(Wide(u"z\u00e9").data()), ansi), "z\xC3\xA9");
    EXPECT_EQ(Loaded(ansi.copyFrom(Wide(u"\U0001F600").data()), ansi), "\xF0\x9F\x98\x80");
    EXPECT_EQ(Loaded(ansi.fromAscii(nullptr, SIZE_MAX), ansi), "");
    EXPECT_TRUE(ansi.isEmpty());
    EXPECT_EQ(Loaded(ansi.fromAscii("abcdef", 2), ansi), "ab");

    // In Latin-1 what the locale cannot map becomes "?".
    TarnkitTest::ScopedLocale latin1("de_DE.ISO-8859-1");
    if (!latin1.ok())
        GTEST_SKIP() << "de_DE.ISO-8859-1 is not installed";
    EXPECT_EQ(Loaded(ansi.fromWChar(Wide(u"\u00fc\u65e5!").data()), ansi), "\xFC?!");
    EXPECT_EQ(SWCharString(Wide(u"\u20ac").data()).getNBytesForMBCS(), 2u);
    EXPECT_EQ(ToU16(SWCharString("\xFC")), u"\u00fc");
    EXPECT_EQ(SAnsiString("\xFC").getNBytesForUTF8(), 3u);
}

TEST(StringKinds, AsciiKindRefusesHighTextAndConstructsFromOtherKinds) {
    TarnkitTest::ScopedLocale locale("C.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "C.UTF-8 is not installed";
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
    EXPECT_EQ(Loaded(ascii.fromWChar(Wide(u"wide").data()), ascii), "wide");
    EXPECT_EQ(Loaded(ascii.copyFrom("plain"), ascii), "plain");

    SAnsiString ansi("\xC3\xA4" "bc"); // three characters, four bytes
    EXPECT_TRUE(SAsciiString(ansi, false).isEmpty());
    SAsciiString firstBytes(ansi, true);
    EXPECT_EQ(std::string(firstBytes.getString(), firstBytes.getLength()), "\xC3\xA4" "b");
    // The low byte of each unit, untested.
    EXPECT_STREQ(SAsciiString(SWCharString(Wide(u"A\u0142z").data()), true).getString(), "ABz");
    EXPECT_STREQ(SAsciiString(SZTAString(Wide(u"ok").data()), true).getString(), "ok");

    SAsciiString source("hello");
    auto from = source.findFirst(SChar_t<char, 1>('e')), to = source.findLast(SChar_t<char, 1>('o'));
    EXPECT_STREQ(SAsciiString(from, to).getString(), "ell");
    sink.clear();
    EXPECT_TRUE(SAsciiString(to, from).isEmpty());
    EXPECT_TRUE(sink.saw("0"));

    SAsciiString appended("x");
    appended.concatFromAsciiCharacters(Wide(u"\u0141y").data(), 2);
    EXPECT_EQ(std::string(appended.getString()), "xAy");
}
