// The UTF cores and CUTFConverter against expectations computed by python3's
// codecs (tests/strings/fixtures), plus the boundaries of the cores: cut-off
// sequences, a full target, surrogates, and the vector fast paths.
#include "support/codesetfixtures.h"
#include "support/testsupport.h"
#include "tarnkit/UTFConverter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

using TarnkitTest::CodepageFixture;
using TarnkitTest::Utf16Fixture;
using TarnkitTest::Utf8Fixture;

std::vector<unsigned char> Bytes(const char *hex) {
    std::vector<unsigned char> out;
    for (; hex[0] && hex[1]; hex += 2)
        out.push_back(static_cast<unsigned char>(std::stoi(std::string(hex, 2), nullptr, 16)));
    return out;
}

std::vector<unsigned short> Units(const char *hex) {
    std::vector<unsigned short> out;
    for (; *hex; hex += 4)
        out.push_back(static_cast<unsigned short>(std::stoi(std::string(hex, 4), nullptr, 16)));
    return out;
}

using Utf8ToUtf16Core = CUTFConverter::ConversionResult (*)(const unsigned char **, const unsigned char *,
                                                            unsigned short **, unsigned short *,
                                                            CUTFConverter::ConversionFlags);
using Utf16ToUtf8Core = CUTFConverter::ConversionResult (*)(const unsigned short **, const unsigned short *,
                                                            unsigned char **, unsigned char *,
                                                            CUTFConverter::ConversionFlags);

struct Decoded {
    CUTFConverter::ConversionResult result;
    size_t consumed;
    std::vector<unsigned short> units;
};

Decoded Decode(Utf8ToUtf16Core core, const std::vector<unsigned char> &in, size_t room) {
    std::vector<unsigned short> out(room + 1, 0xEEEE);
    const unsigned char *source = in.data();
    unsigned short *target = out.data();
    auto result = core(&source, in.data() + in.size(), &target, out.data() + room, CUTFConverter::lenientConversion);
    out.resize(static_cast<size_t>(target - out.data()));
    return {result, static_cast<size_t>(source - in.data()), out};
}

std::vector<unsigned char> Encode(Utf16ToUtf8Core core, const std::vector<unsigned short> &in, size_t room,
                                  CUTFConverter::ConversionResult *result) {
    std::vector<unsigned char> out(room + 1, 0xEE);
    const unsigned short *source = in.data();
    unsigned char *target = out.data();
    *result = core(&source, in.data() + in.size(), &target, out.data() + room, CUTFConverter::lenientConversion);
    out.resize(static_cast<size_t>(target - out.data()));
    return out;
}

} // namespace

TEST(UtfCores, Utf8ToUtf16MatchesReference) {
    for (const Utf8Fixture &f : TarnkitTest::LoadCodesetFixtures().utf8) {
        std::vector<unsigned char> in = Bytes(f.utf8);
        for (Utf8ToUtf16Core core : {&CUTFConverter::ConvertUTF8toUTF16, &CUTFConverter::ConvertUTF8toUTF16Scalar}) {
            Decoded d = Decode(core, in, in.size() + 1);
            SCOPED_TRACE(f.utf8);
            EXPECT_EQ(d.result == CUTFConverter::conversionOK, f.legal);
            EXPECT_EQ(d.consumed, f.offset);
            EXPECT_EQ(d.units, Units(f.utf16));
        }
    }
}

TEST(UtfCores, Utf16ToUtf8MatchesReference) {
    for (const Utf16Fixture &f : TarnkitTest::LoadCodesetFixtures().utf16) {
        std::vector<unsigned short> in = Units(f.utf16);
        CUTFConverter::ConversionResult result;
        SCOPED_TRACE(f.utf16);
        EXPECT_EQ(Encode(&CUTFConverter::ConvertUTF16toUTF8, in, in.size() * 3 + 1, &result), Bytes(f.utf8));
        EXPECT_EQ(result, CUTFConverter::conversionOK);
        EXPECT_EQ(Encode(&CUTFConverter::ConvertUTF16toUTF8Scalar, in, in.size() * 3 + 1, &result), Bytes(f.utf8));
        in.push_back(0);
        EXPECT_EQ(CUTFConverter::UTF16ToUTF8Length(in.data()), Bytes(f.utf8).size() + 1);
        EXPECT_EQ(CUTFConverter::WideCharToUTF8Length(in.data()), f.unpairedLength);
    }
}

TEST(UtfCores, ResultCodesAtTheEdges) {
    // A sequence cut off by the source end leaves the source at its start.
    Decoded cut = Decode(&CUTFConverter::ConvertUTF8toUTF16, {'a', 0xE6, 0x97}, 8);
    EXPECT_EQ(cut.result, CUTFConverter::sourceExhausted);
    EXPECT_EQ(cut.consumed, 1u);
    // Five- and six-byte forms are illegal, not merely unusual.
    EXPECT_EQ(Decode(&CUTFConverter::ConvertUTF8toUTF16, {0xF8, 0x88, 0x80, 0x80, 0x80}, 8).result,
              CUTFConverter::sourceIllegal);
    // A pair that does not fit puts the source back before the whole sequence.
    Decoded full = Decode(&CUTFConverter::ConvertUTF8toUTF16, {'x', 0xF0, 0x9F, 0x98, 0x80}, 2);
    EXPECT_EQ(full.result, CUTFConverter::targetExhausted);
    EXPECT_EQ(full.consumed, 1u);
    EXPECT_EQ(full.units, (std::vector<unsigned short>{'x'}));

    CUTFConverter::ConversionResult result;
    std::vector<unsigned char> bytes = Encode(&CUTFConverter::ConvertUTF16toUTF8, {'a', 0x65E5}, 3, &result);
    EXPECT_EQ(result, CUTFConverter::targetExhausted);
    EXPECT_EQ(bytes, (std::vector<unsigned char>{'a'}));

    // Strict mode stops before a lone surrogate instead of encoding it.
    const unsigned short lone[] = {'a', 0xDC00};
    const unsigned short *source = lone;
    unsigned char out[8];
    unsigned char *target = out;
    EXPECT_EQ(CUTFConverter::ConvertUTF16toUTF8(&source, lone + 2, &target, out + 8, CUTFConverter::strictConversion),
              CUTFConverter::sourceIllegal);
    EXPECT_EQ(source, lone + 1);
}

TEST(UtfCores, VectorPathAgreesWithScalarAroundRunBoundaries) {
    // Runs of ASCII of every length up to three vector blocks, broken by a
    // multibyte character or an illegal byte, with a target that ends at
    // every point.
    const std::vector<std::vector<unsigned char>> breaks = {{0xC3, 0xA9}, {0xE6, 0x97, 0xA5}, {0xFF}, {0xE6}};
    for (size_t run = 0; run < 100; run += 7) {
        for (const auto &brk : breaks) {
            std::vector<unsigned char> in(run, 'k');
            in.insert(in.end(), brk.begin(), brk.end());
            in.insert(in.end(), 40, 'z');
            for (size_t room = run > 2 ? run - 2 : 0; room < in.size() + 2; room += 5) {
                Decoded fast = Decode(&CUTFConverter::ConvertUTF8toUTF16, in, room);
                Decoded slow = Decode(&CUTFConverter::ConvertUTF8toUTF16Scalar, in, room);
                EXPECT_EQ(fast.result, slow.result);
                EXPECT_EQ(fast.consumed, slow.consumed);
                EXPECT_EQ(fast.units, slow.units);
            }
            std::vector<unsigned short> wide(in.begin(), in.end());
            for (size_t room = run; room < wide.size() * 3; room += 11) {
                CUTFConverter::ConversionResult r1, r2;
                EXPECT_EQ(Encode(&CUTFConverter::ConvertUTF16toUTF8, wide, room, &r1),
                          Encode(&CUTFConverter::ConvertUTF16toUTF8Scalar, wide, room, &r2));
                EXPECT_EQ(r1, r2);
            }
        }
    }
}

TEST(UtfCores, Ucs4Cores) {
    // Beyond 0x1FFFFF the old size table writes U+FFFD in two bytes.
    const unsigned long ucs4[] = {0x41, 0x1F600, 0xD800, 0x200000};
    const unsigned long *source = ucs4;
    unsigned char out[16];
    unsigned char *target = out;
    EXPECT_EQ(CUTFConverter::ConvertUTF32toUTF8(&source, ucs4 + 4, &target, out + 16, CUTFConverter::lenientConversion),
              CUTFConverter::conversionOK);
    EXPECT_EQ(std::vector<unsigned char>(out, target),
              (std::vector<unsigned char>{0x41, 0xF0, 0x9F, 0x98, 0x80, 0xED, 0xA0, 0x80, 0xFF, 0xBD}));

    const unsigned short pair[] = {0xD83D, 0xDE00, 0xDC00, 0xD800};
    const unsigned short *from = pair;
    unsigned long units[4] = {};
    unsigned long *to = units;
    EXPECT_EQ(CUTFConverter::ConvertUTF16toUTF32(&from, pair + 4, &to, units + 4, CUTFConverter::lenientConversion),
              CUTFConverter::conversionOK);
    EXPECT_EQ(std::vector<unsigned long>(units, to), (std::vector<unsigned long>{0x1F600, 0xDC00, 0xD800}));
}

TEST(UtfConverter, StaticConversions) {
    SZTAString wide;
    EXPECT_FALSE(CUTFConverter::UTF8ToUTF16(reinterpret_cast<const unsigned char *>("a\xC0"), wide));
    ASSERT_TRUE(CUTFConverter::UTF8ToUTF16(reinterpret_cast<const unsigned char *>("\xF0\x9F\x98\x80"), wide));
    EXPECT_EQ(wide.getLength(), 2u);
    EXPECT_EQ(CUTFConverter::UTF16ToUTF8Length(wide), 5u);
    EXPECT_EQ(CUTFConverter::WideCharToUTF8Length(wide), 7u);
    EXPECT_TRUE(CUTFConverter::UTF8ToUTF16(nullptr, wide));
    EXPECT_TRUE(wide.isEmpty());

    // A lone high surrogate survives the round trip as ED A0 80.
    SZTAString lone(TarnkitTest::Wide(u"\xD800").data());
    CSmartRefCountPtr<CUTFConverter::UTF8Buffer> utf8;
    ASSERT_TRUE(CUTFConverter::UTF16ToUTF8(lone, utf8));
    EXPECT_STREQ(reinterpret_cast<const char *>(utf8->getBuffer()), "\xED\xA0\x80");
    SZTAString back;
    ASSERT_TRUE(CUTFConverter::UTF8ToUTF16(utf8->getBuffer(), back));
    EXPECT_EQ(back.getLength(), 1u);
    EXPECT_EQ(back.getString()[0], 0xD800);

    // The buffer form counts the terminator; empty text is one zero byte.
    SSimpleBuffer buffer;
    ASSERT_TRUE(CUTFConverter::UTF16ToUTF8(SZTAString(TarnkitTest::Wide(u"h\u00e9").data()), buffer));
    EXPECT_EQ(buffer.getNBytes(), 4u);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(static_cast<const unsigned char *>(buffer))), "h\xC3\xA9");
    ASSERT_TRUE(CUTFConverter::UTF16ToUTF8(SZTAString(), buffer));
    EXPECT_EQ(buffer.getNBytes(), 1u);
}

TEST(UtfConverter, Ucs4Conversions) {
    CSmartRefCountPtr<CUTFConverter::UCS4Buffer> ucs4;
    ASSERT_TRUE(CUTFConverter::UTF8ToUCS4(reinterpret_cast<const unsigned char *>("a\xF0\x9F\x98\x80"), ucs4));
    EXPECT_EQ(ucs4->getBuffer()[0], 0x61u);
    EXPECT_EQ(ucs4->getBuffer()[1], 0x1F600u);
    EXPECT_EQ(ucs4->getBuffer()[2], 0u);
    CSmartRefCountPtr<CUTFConverter::UTF8Buffer> utf8;
    ASSERT_TRUE(CUTFConverter::UCS4ToUTF8(ucs4->getBuffer(), utf8));
    EXPECT_STREQ(reinterpret_cast<const char *>(utf8->getBuffer()), "a\xF0\x9F\x98\x80");

    // One target unit per source unit: a character beyond the basic plane
    // needs two and runs out of room.
    SZTAString wide;
    const unsigned long beyond[] = {'a', 0x1F600, 0};
    EXPECT_FALSE(CUTFConverter::UCS4ToUTF16(beyond, wide));
    const unsigned long bmp[] = {'a', 0xE9, 0};
    ASSERT_TRUE(CUTFConverter::UCS4ToUTF16(bmp, wide));
    EXPECT_EQ(TarnkitTest::ToU16(wide), u"a\u00e9");

    // The counted form: size query, empty input, success and a short target.
    auto text = TarnkitTest::Wide(u"x\U0001F600y");
    unsigned long out[4] = {9, 9, 9, 9};
    EXPECT_EQ(CUTFConverter::UTF16ToUCS4(text.data(), nullptr, 0), 5u);
    EXPECT_EQ(CUTFConverter::UTF16ToUCS4(text.data(), out, 4), 5u);
    EXPECT_EQ(out[1], 0x1F600u);
    EXPECT_EQ(out[3], 0u);
    EXPECT_EQ(CUTFConverter::UTF16ToUCS4(text.data(), out, 1), 1u);
    const unsigned short empty[] = {0};
    EXPECT_EQ(CUTFConverter::UTF16ToUCS4(empty, out, 4), 0u);
    EXPECT_EQ(out[0], 0u);
}

TEST(UtfConverter, ObjectHoldsUtf8Form) {
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

TEST(UtfConverter, BufferAllocatesOnce) {
    TarnkitTest::CapturingSink sink;
    CSmartRefCountPtr<CUTFConverter::UTF8Buffer> buffer(new CUTFConverter::UTF8Buffer());
    unsigned char *first = buffer->allocate(8);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(buffer->allocate(64), first);
    EXPECT_TRUE(sink.saw("false"));
    EXPECT_EQ(buffer->getSize(), 8u);
}
