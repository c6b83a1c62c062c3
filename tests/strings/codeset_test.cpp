// CodesetConverter and MBCSCodesetConverter: code pages 1252 and 932 against
// python3's codecs (tests/strings/fixtures), the default character, and the
// forgiving loops between locale text and 16-bit text.
#include "support/codesetfixtures.h"
#include "support/testsupport.h"
#include "tarnkit/codesetconverter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace TarnkitA201;
using M = MBCSCodesetConverter;
using Codeset = M::ExplicitCodeset;

namespace {

std::string FromHex(const char *hex) {
    std::string out;
    for (; hex[0] && hex[1]; hex += 2)
        out.push_back(static_cast<char>(std::stoi(std::string(hex, 2), nullptr, 16)));
    return out;
}

Codeset CodesetOf(int codepage) { return codepage == 1252 ? M::Windows1252Codeset : M::Windows932Codeset; }

std::string ToT(const std::string &bytes, Codeset set) { return M::ExplicitCodesetToT(bytes.c_str(), set).getString(); }

// The converted bytes; their count includes the terminator, which is checked
// and dropped.
std::string FromT(const std::string &text, Codeset set) {
    const SSimpleBuffer buffer = M::TToExplicitCodeset(SAnsiString(text.c_str()), set);
    const char *p = reinterpret_cast<const char *>(static_cast<const unsigned char *>(buffer));
    if (p == nullptr || buffer.getNBytes() == 0)
        return "<empty>";
    EXPECT_EQ(p[buffer.getNBytes() - 1], 0);
    return std::string(p, buffer.getNBytes() - 1);
}

} // namespace

TEST(CodesetUtf8, CodepagesAsReferenceDefaultCharacterAndOtherCodesets) {
    TarnkitTest::ScopedLocale locale("C.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "C.UTF-8 is not installed";
    const TarnkitTest::CodesetFixtures &fixtures = TarnkitTest::LoadCodesetFixtures();
    for (const TarnkitTest::CodepageFixture &f : fixtures.decode)
        EXPECT_EQ(ToT(FromHex(f.bytes), CodesetOf(f.codepage)), FromHex(f.text)) << f.bytes;
    for (const TarnkitTest::CodepageFixture &f : fixtures.encode)
        EXPECT_EQ(FromT(FromHex(f.text), CodesetOf(f.codepage)), FromHex(f.bytes)) << f.codepage << " " << f.text;

    // What 1252 lacks is "?" and still a result, not an error.
    EXPECT_EQ(FromT("a\xE6\x97\xA5z", M::Windows1252Codeset), "a?z");
    // The five C1 bytes python leaves out map both ways.
    EXPECT_EQ(ToT("\x81\x9D", M::Windows1252Codeset), "\xC2\x81\xC2\x9D");
    // A 932 lead byte that ends the input is one "?".
    EXPECT_EQ(ToT("ab\x82", M::Windows932Codeset), "ab?");
    EXPECT_TRUE(M::ExplicitCodesetToT("", M::Windows932Codeset).isEmpty());
    EXPECT_TRUE(M::ExplicitCodesetToT(nullptr, M::Windows1252Codeset).isEmpty());

    EXPECT_EQ(FromT("gr\xC3\xBC\xC3\x9F", M::NativeCodeset), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(FromT("gr\xC3\xBC\xC3\x9F", M::UTF8Codeset), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(ToT("x\xC3\xA9", M::UTF8Codeset), "x\xC3\xA9");
    TarnkitTest::CapturingSink sink;
    EXPECT_EQ(ToT("x\xC0", M::UTF8Codeset), "?");
    EXPECT_TRUE(sink.saw("failed UTF8 -> UCS2 conversion"));
    EXPECT_TRUE(M::ExplicitCodesetToT("x", static_cast<Codeset>(7)).isEmpty());
    EXPECT_TRUE(M::TToExplicitCodeset(SAnsiString("gr\xC3\xBC\xC3\x9F"), static_cast<Codeset>(7)).isEmpty());
}

TEST(CodesetConverterTest, UnitCopiesAndForgivingLoopsInALatin1Locale) {
    auto abc = TarnkitTest::Wide(u"abc");
    unsigned short units[8] = {9, 9, 9, 9};
    EXPECT_EQ(CodesetConverter::wcstoucs2(nullptr, abc.data(), 0), 3u);
    EXPECT_EQ(CodesetConverter::wcstoucs2(units, abc.data(), 2), 2u);
    EXPECT_EQ(units[2], 9); // no room for the terminator
    EXPECT_EQ(CodesetConverter::ucs2towcs(units, abc.data(), 4), 3u);
    EXPECT_EQ(units[3], 0);
    EXPECT_EQ(CodesetConverter::wctoucs2(nullptr, 'q'), 1);
    EXPECT_EQ(CodesetConverter::ucs2towc(units, 'q'), 1);
    EXPECT_EQ(units[0], 'q');

    TarnkitTest::ScopedLocale locale("de_DE.ISO-8859-1");
    if (!locale.ok())
        GTEST_SKIP() << "de_DE.ISO-8859-1 is not installed";
    auto wide = TarnkitTest::Wide(u"\u00e4\u20ac\U0001F600z");
    // Counting: each unexpressible character is one "?".
    EXPECT_EQ(CodesetConverter::ucs2tombs(nullptr, wide.data(), 0), 4u);
    char narrow[8];
    EXPECT_EQ(CodesetConverter::ucs2tombs(narrow, wide.data(), sizeof narrow), 4u);
    EXPECT_STREQ(narrow, "\xE4??z");
    // A character that does not fit strictly fills the rest and leaves no
    // terminator.
    char small[3] = {'x', 'x', 'x'};
    EXPECT_EQ(CodesetConverter::ucs2tombs(small, wide.data(), 3), 3u);
    EXPECT_EQ(std::string(small, 3), "\xE4??");

    EXPECT_EQ(CodesetConverter::mbstoucs2(units, "\xE4x", 8), 2u);
    EXPECT_EQ(units[0], 0xE4);
    EXPECT_EQ(units[2], 0);
    EXPECT_EQ(CodesetConverter::ucs2tomb(narrow, sizeof narrow, 0x20AC), -1);
    EXPECT_EQ(CodesetConverter::ucs2tomb(narrow, sizeof narrow, 0xE9), 1);
    EXPECT_EQ(CodesetConverter::mbtoucs2(units, "\xFC"), 1);
    EXPECT_EQ(units[0], 0xFC);
    EXPECT_EQ(CodesetConverter::ucs2tombs(narrow, nullptr, 4), static_cast<size_t>(-1));
}
