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
using Codeset = MBCSCodesetConverter::ExplicitCodeset;

namespace {

using TarnkitTest::CodepageFixture;
using TarnkitTest::Utf16Fixture;
using TarnkitTest::Utf8Fixture;

std::string FromHex(const char *hex) {
    std::string out;
    for (; hex[0] && hex[1]; hex += 2)
        out.push_back(static_cast<char>(std::stoi(std::string(hex, 2), nullptr, 16)));
    return out;
}

Codeset CodesetOf(int codepage) {
    return codepage == 1252 ? MBCSCodesetConverter::Windows1252Codeset : MBCSCodesetConverter::Windows932Codeset;
}

// The buffer's bytes; the count includes the terminator, which is checked
// and dropped.
std::string BufferText(const SSimpleBuffer &buffer) {
    const char *p = reinterpret_cast<const char *>(static_cast<const unsigned char *>(buffer));
    if (p == nullptr || buffer.getNBytes() == 0)
        return "<empty>";
    EXPECT_EQ(p[buffer.getNBytes() - 1], 0);
    return std::string(p, buffer.getNBytes() - 1);
}

class CodesetUtf8 : public ::testing::Test {
protected:
    void SetUp() override {
        if (!m_locale.ok())
            GTEST_SKIP() << "C.UTF-8 is not installed";
    }
    TarnkitTest::ScopedLocale m_locale{"C.UTF-8"};
};

} // namespace

TEST_F(CodesetUtf8, CodepagesDecodeAsReference) {
    for (const CodepageFixture &f : TarnkitTest::LoadCodesetFixtures().decode) {
        SCOPED_TRACE(f.bytes);
        SAnsiString text = MBCSCodesetConverter::ExplicitCodesetToT(FromHex(f.bytes).c_str(), CodesetOf(f.codepage));
        EXPECT_EQ(std::string(text.getString()), FromHex(f.text));
    }
}

TEST_F(CodesetUtf8, CodepagesEncodeAsReference) {
    for (const CodepageFixture &f : TarnkitTest::LoadCodesetFixtures().encode) {
        SCOPED_TRACE(std::to_string(f.codepage) + " " + f.text);
        SSimpleBuffer bytes = MBCSCodesetConverter::TToExplicitCodeset(SAnsiString(FromHex(f.text).c_str()),
                                                                        CodesetOf(f.codepage));
        EXPECT_EQ(BufferText(bytes), FromHex(f.bytes));
    }
}

TEST_F(CodesetUtf8, DefaultCharacterAndEdges) {
    // What 1252 lacks is "?" and still a result, not an error.
    EXPECT_EQ(BufferText(MBCSCodesetConverter::TToExplicitCodeset(SAnsiString("a\xE6\x97\xA5z"),
                                                                  MBCSCodesetConverter::Windows1252Codeset)),
              "a?z");
    // The five C1 bytes python leaves out map both ways.
    EXPECT_EQ(std::string(MBCSCodesetConverter::ExplicitCodesetToT("\x81\x9D", MBCSCodesetConverter::Windows1252Codeset)
                              .getString()),
              "\xC2\x81\xC2\x9D");
    // A 932 lead byte that ends the input is one "?".
    EXPECT_EQ(std::string(MBCSCodesetConverter::ExplicitCodesetToT("ab\x82", MBCSCodesetConverter::Windows932Codeset)
                              .getString()),
              "ab?");
    EXPECT_TRUE(MBCSCodesetConverter::ExplicitCodesetToT("", MBCSCodesetConverter::Windows932Codeset).isEmpty());
    EXPECT_TRUE(MBCSCodesetConverter::ExplicitCodesetToT(nullptr, MBCSCodesetConverter::Windows1252Codeset).isEmpty());
}

TEST_F(CodesetUtf8, NativeAndUtf8Codesets) {
    SAnsiString text("gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(BufferText(MBCSCodesetConverter::TToExplicitCodeset(text, MBCSCodesetConverter::NativeCodeset)),
              "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(BufferText(MBCSCodesetConverter::TToExplicitCodeset(text, MBCSCodesetConverter::UTF8Codeset)),
              "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(std::string(MBCSCodesetConverter::ExplicitCodesetToT("x\xC3\xA9", MBCSCodesetConverter::UTF8Codeset)
                              .getString()),
              "x\xC3\xA9");

    TarnkitTest::CapturingSink sink;
    EXPECT_EQ(std::string(MBCSCodesetConverter::ExplicitCodesetToT("x\xC0", MBCSCodesetConverter::UTF8Codeset)
                              .getString()),
              "?");
    EXPECT_TRUE(sink.saw("failed UTF8 -> UCS2 conversion"));
    EXPECT_TRUE(MBCSCodesetConverter::ExplicitCodesetToT("x", static_cast<Codeset>(7)).isEmpty());
    EXPECT_TRUE(MBCSCodesetConverter::TToExplicitCodeset(text, static_cast<Codeset>(7)).isEmpty());
}

TEST(CodesetConverterTest, ForgivingLoopsInALatin1Locale) {
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

    unsigned short units[8];
    EXPECT_EQ(CodesetConverter::mbstoucs2(units, "\xE4x", 8), 2u);
    EXPECT_EQ(units[0], 0xE4);
    EXPECT_EQ(units[2], 0);
    EXPECT_EQ(CodesetConverter::ucs2tomb(narrow, sizeof narrow, 0x20AC), -1);
    EXPECT_EQ(CodesetConverter::ucs2tomb(narrow, sizeof narrow, 0xE9), 1);
    EXPECT_EQ(CodesetConverter::mbtoucs2(units, "\xFC"), 1);
    EXPECT_EQ(units[0], 0xFC);
    EXPECT_EQ(CodesetConverter::ucs2tombs(narrow, nullptr, 4), static_cast<size_t>(-1));
}

TEST(CodesetConverterTest, UnitCopies) {
    auto wide = TarnkitTest::Wide(u"abc");
    unsigned short out[4] = {9, 9, 9, 9};
    EXPECT_EQ(CodesetConverter::wcstoucs2(nullptr, wide.data(), 0), 3u);
    EXPECT_EQ(CodesetConverter::wcstoucs2(out, wide.data(), 2), 2u);
    EXPECT_EQ(out[2], 9); // no room for the terminator
    EXPECT_EQ(CodesetConverter::ucs2towcs(out, wide.data(), 4), 3u);
    EXPECT_EQ(out[3], 0);
    EXPECT_EQ(CodesetConverter::wctoucs2(nullptr, 'q'), 1);
    EXPECT_EQ(CodesetConverter::ucs2towc(out, 'q'), 1);
    EXPECT_EQ(out[0], 'q');
}
