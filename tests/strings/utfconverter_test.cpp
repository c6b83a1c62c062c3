// The UTF cores and CUTFConverter against expectations computed by python3's
// codecs (tests/strings/fixtures), plus the boundaries of the cores: cut-off
// sequences, a full target, surrogates, and the vector fast paths.
#include "support/codesetfixtures.h"
#include "support/testsupport.h"
#include "tarnkit/UTFConverter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

using namespace TarnkitA201;
using UTF = CUTFConverter;

namespace {

// Hexadecimal text as units of type T, two digits per byte.
template <class T>
std::vector<T> Hex(const char *hex) {
    std::vector<T> out;
    for (const size_t digits = sizeof(T) * 2; std::strlen(hex) >= digits; hex += digits)
        out.push_back(static_cast<T>(std::stoi(std::string(hex, digits), nullptr, 16)));
    return out;
}

// What a core made of its input: the result code, the source units it consumed and the target units it wrote.
template <class To>
using Converted = std::tuple<UTF::ConversionResult, size_t, std::vector<To>>;
using Out8 = Converted<unsigned char>;
using Out16 = Converted<unsigned short>;

// Runs a core with room for `room` target units; a sentinel behind them catches a write past the end.
template <class From, class To>
Converted<To> Convert(UTF::ConversionResult (*core)(const From **, const From *, To **, To *, UTF::ConversionFlags),
                      const std::vector<From> &in, size_t room, UTF::ConversionFlags flags = UTF::lenientConversion) {
    std::vector<To> out(room + 1, static_cast<To>(0xEEEE));
    const From *source = in.data();
    To *target = out.data();
    auto result = core(&source, in.data() + in.size(), &target, out.data() + room, flags);
    EXPECT_EQ(out[room], static_cast<To>(0xEEEE)) << "wrote past the target";
    out.resize(static_cast<size_t>(target - out.data()));
    return {result, static_cast<size_t>(source - in.data()), out};
}

} // namespace

TEST(UtfCores, MatchReferenceAndReportTheEdges) {
    for (const TarnkitTest::Utf8Fixture &f : TarnkitTest::LoadCodesetFixtures().utf8) {
        std::vector<unsigned char> in = Hex<unsigned char>(f.utf8);
        SCOPED_TRACE(f.utf8);
        for (auto core : {&UTF::ConvertUTF8toUTF16, &UTF::ConvertUTF8toUTF16Scalar}) {
            const auto [result, consumed, out] = Convert(core, in, in.size() + 1);
            EXPECT_EQ(std::tuple(result == UTF::conversionOK, consumed, out),
                      std::tuple(f.legal, f.offset, Hex<unsigned short>(f.utf16)));
        }
    }
    for (const TarnkitTest::Utf16Fixture &f : TarnkitTest::LoadCodesetFixtures().utf16) {
        std::vector<unsigned short> in = Hex<unsigned short>(f.utf16);
        SCOPED_TRACE(f.utf16);
        for (auto core : {&UTF::ConvertUTF16toUTF8, &UTF::ConvertUTF16toUTF8Scalar})
            EXPECT_EQ(Convert(core, in, in.size() * 3 + 1),
                      (Out8{UTF::conversionOK, in.size(), Hex<unsigned char>(f.utf8)}));
        in.push_back(0);
        EXPECT_EQ(UTF::UTF16ToUTF8Length(in.data()), Hex<unsigned char>(f.utf8).size() + 1);
        EXPECT_EQ(UTF::WideCharToUTF8Length(in.data()), f.unpairedLength);
    }

    // A sequence cut off by the source end leaves the source at its start.
    EXPECT_EQ(Convert(UTF::ConvertUTF8toUTF16, {'a', 0xE6, 0x97}, 8), (Out16{UTF::sourceExhausted, 1, {'a'}}));
    // Five- and six-byte forms are illegal, not merely unusual.
    EXPECT_EQ(std::get<0>(Convert(UTF::ConvertUTF8toUTF16, {0xF8, 0x88, 0x80, 0x80, 0x80}, 8)), UTF::sourceIllegal);
    // A pair that does not fit puts the source back before the whole sequence.
    EXPECT_EQ(Convert(UTF::ConvertUTF8toUTF16, {'x', 0xF0, 0x9F, 0x98, 0x80}, 2),
              (Out16{UTF::targetExhausted, 1, {'x'}}));

    EXPECT_EQ(Convert(UTF::ConvertUTF16toUTF8, {'a', 0x65E5}, 3), (Out8{UTF::targetExhausted, 1, {'a'}}));
    // Strict mode stops before a lone surrogate instead of encoding it.
    EXPECT_EQ(Convert(UTF::ConvertUTF16toUTF8, {'a', 0xDC00}, 8, UTF::strictConversion),
              (Out8{UTF::sourceIllegal, 1, {'a'}}));

    // Beyond 0x1FFFFF the old size table writes U+FFFD in two bytes.
    EXPECT_EQ(Convert(UTF::ConvertUTF32toUTF8, {0x41, 0x1F600, 0xD800, 0x200000}, 16),
              (Out8{UTF::conversionOK, 4, {0x41, 0xF0, 0x9F, 0x98, 0x80, 0xED, 0xA0, 0x80, 0xFF, 0xBD}}));
    EXPECT_EQ(Convert(UTF::ConvertUTF16toUTF32, {0xD83D, 0xDE00, 0xDC00, 0xD800}, 4),
              (Converted<unsigned long>{UTF::conversionOK, 4, {0x1F600, 0xDC00, 0xD800}}));
}

TEST(UtfCores, VectorPathAgreesWithScalarAroundRunBoundaries) {
    // Runs of ASCII of every length up to three vector blocks, broken by a
    // multibyte character or an illegal byte, with a target that ends at
    // every point.
    const std::vector<std::vector<unsigned char>> breaks = {{0xC3, 0xA9}, {0xE6, 0x97, 0xA5}, {0xFF}, {0xE6}};
    for (size_t run = 0; run < 100; run += 7)
        for (const auto &brk : breaks) {
            std::vector<unsigned char> in(run, 'k');
            in.insert(in.end(), brk.begin(), brk.end());
            in.insert(in.end(), 40, 'z');
            for (size_t room = run > 2 ? run - 2 : 0; room < in.size() + 2; room += 5)
                EXPECT_EQ(Convert(UTF::ConvertUTF8toUTF16, in, room), Convert(UTF::ConvertUTF8toUTF16Scalar, in, room));
            std::vector<unsigned short> wide(in.begin(), in.end());
            for (size_t room = run; room < wide.size() * 3; room += 11)
                EXPECT_EQ(Convert(UTF::ConvertUTF16toUTF8, wide, room),
                          Convert(UTF::ConvertUTF16toUTF8Scalar, wide, room));
        }
}

TEST(UtfConverter, StaticConversionsBufferAndObject) {
    SZTAString wide;
    EXPECT_FALSE(UTF::UTF8ToUTF16(reinterpret_cast<const unsigned char *>("a\xC0"), wide));
    ASSERT_TRUE(UTF::UTF8ToUTF16(reinterpret_cast<const unsigned char *>("\xF0\x9F\x98\x80"), wide));
    EXPECT_EQ(wide.getLength(), 2u);
    EXPECT_EQ(UTF::UTF16ToUTF8Length(wide), 5u);
    EXPECT_EQ(UTF::WideCharToUTF8Length(wide), 7u);
    EXPECT_TRUE(UTF::UTF8ToUTF16(nullptr, wide));
    EXPECT_TRUE(wide.isEmpty());

    // A lone high surrogate survives the round trip as ED A0 80.
    CSmartRefCountPtr<UTF::UTF8Buffer> utf8;
    ASSERT_TRUE(UTF::UTF16ToUTF8(SZTAString(TarnkitTest::Wide(u"\xD800").data()), utf8));
    EXPECT_STREQ(reinterpret_cast<const char *>(utf8->getBuffer()), "\xED\xA0\x80");
    ASSERT_TRUE(UTF::UTF8ToUTF16(utf8->getBuffer(), wide));
    EXPECT_EQ(TarnkitTest::ToU16(wide), u"\xD800");

    // The buffer form counts the terminator; empty text is one zero byte.
    SSimpleBuffer buffer;
    ASSERT_TRUE(UTF::UTF16ToUTF8(SZTAString(TarnkitTest::Wide(u"h\u00e9").data()), buffer));
    EXPECT_EQ(buffer.getNBytes(), 4u);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(static_cast<const unsigned char *>(buffer))), "h\xC3\xA9");
    ASSERT_TRUE(UTF::UTF16ToUTF8(SZTAString(), buffer));
    EXPECT_EQ(buffer.getNBytes(), 1u);

    CSmartRefCountPtr<UTF::UCS4Buffer> ucs4;
    ASSERT_TRUE(UTF::UTF8ToUCS4(reinterpret_cast<const unsigned char *>("a\xF0\x9F\x98\x80"), ucs4));
    EXPECT_EQ(std::vector<unsigned long>(ucs4->getBuffer(), ucs4->getBuffer() + 3),
              (std::vector<unsigned long>{0x61, 0x1F600, 0}));
    CSmartRefCountPtr<UTF::UTF8Buffer> fromUcs4; // a buffer is filled once
    ASSERT_TRUE(UTF::UCS4ToUTF8(ucs4->getBuffer(), fromUcs4));
    EXPECT_STREQ(reinterpret_cast<const char *>(fromUcs4->getBuffer()), "a\xF0\x9F\x98\x80");

    // One target unit per source unit: a character beyond the basic plane
    // needs two and runs out of room.
    EXPECT_FALSE(UTF::UCS4ToUTF16(std::vector<unsigned long>{'a', 0x1F600, 0}.data(), wide));
    ASSERT_TRUE(UTF::UCS4ToUTF16(std::vector<unsigned long>{'a', 0xE9, 0}.data(), wide));
    EXPECT_EQ(TarnkitTest::ToU16(wide), u"a\u00e9");

    // The counted form: size query, empty input, success and a short target.
    auto text = TarnkitTest::Wide(u"x\U0001F600y");
    unsigned long out[4] = {9, 9, 9, 9};
    EXPECT_EQ(UTF::UTF16ToUCS4(text.data(), nullptr, 0), 5u);
    EXPECT_EQ(UTF::UTF16ToUCS4(text.data(), out, 4), 5u);
    EXPECT_EQ(std::vector<unsigned long>(out, out + 4), (std::vector<unsigned long>{'x', 0x1F600, 'y', 0}));
    EXPECT_EQ(UTF::UTF16ToUCS4(text.data(), out, 1), 1u);
    EXPECT_EQ(UTF::UTF16ToUCS4(TarnkitTest::Wide(u"").data(), out, 4), 0u);
    EXPECT_EQ(out[0], 0u);

    // A buffer allocates once.
    TarnkitTest::CapturingSink sink;
    CSmartRefCountPtr<UTF::UTF8Buffer> once(new UTF::UTF8Buffer());
    unsigned char *first = once->allocate(8);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(once->allocate(64), first);
    EXPECT_TRUE(sink.saw("false"));
    EXPECT_EQ(once->getSize(), 8u);

    TarnkitTest::ScopedLocale locale("C.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "C.UTF-8 is not installed";
    CUTFConverter empty{SAnsiString()};
    EXPECT_EQ(empty.getLength(), 1u);
    EXPECT_EQ(empty.getBuffer()[0], 0);

    CUTFConverter converter(SAnsiString("d\xC3\xA9j\xC3\xA0 \xF0\x9F\x98\x80"));
    EXPECT_EQ(converter.getLength(), 12u);
    EXPECT_STREQ(reinterpret_cast<const char *>(converter.getBuffer()), "d\xC3\xA9j\xC3\xA0 \xF0\x9F\x98\x80");
    CUTFConverter copy(converter);
    converter.setText(SAnsiString("bad\xFF"));
    EXPECT_STREQ(reinterpret_cast<const char *>(converter.getBuffer()), "bad?");
    EXPECT_EQ(copy.getLength(), 12u);
}
