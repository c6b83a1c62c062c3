// The string kinds' shared storage, concatenation, pieces, editing, search, comparison, streaming and the
// forgiving conversion between the locale and wide kinds.
#include "support/testsupport.h"
#include "tarnkit/sarray.h"
#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>

using namespace TarnkitA201;
using TarnkitTest::ToU16;
using TarnkitTest::WideString;
using CharA = SChar_t<char, 0>;

namespace {

// Reads the storage header a string points at.
template <class S>
struct Peek : S {
    explicit Peek(const S &s) : S(s) {}
    size_t capacity() const { return this->getBuffer()->capacity; }
    long count() const { return this->getBuffer()->refCount.nonInterlockedRead() - 1; } // minus its own share
};

std::string Text(const SAnsiString &s) { return std::string(s.getString()); }

// The string after one of its editing members ran.
template <class S, class Member>
S After(S s, Member edit) {
    (s.*edit)();
    return s;
}

} // namespace

TEST(SStringStorage, SharingCapacityAndAllocationFailure) {
    SAnsiString empty, sized;
    ASSERT_NE(empty.getString(), nullptr);
    EXPECT_EQ(*static_cast<const char *>(empty), 0);
    for (const SAnsiString &same : {SAnsiString(nullptr), SAnsiString(""), SAnsiString(CharA())})
        EXPECT_EQ(same.getString(), empty.getString());
    for (int i = 0; i < 100; ++i)
        SAnsiString{empty} = SAnsiString("");
    EXPECT_EQ(SAnsiString::GetEmptyBuffer()->refCount.nonInterlockedRead(), -1);
    EXPECT_EQ(SAnsiString::GetEmptyBuffer()->capacity, SIZE_MAX);

    sized.setBufferSize(0); // room for 0 + 1 units, plus the terminator, plus slack
    EXPECT_NE(sized.getString(), empty.getString());
    EXPECT_EQ(Peek(sized).capacity(), 34u);
    EXPECT_EQ(Peek(SAnsiString("abc")).capacity(), 36u);
    EXPECT_EQ(Peek(SAnsiString(CharA('x'))).capacity(), 39u);

    EXPECT_STREQ(SBadAllocation().what(), "bad allocation");
    SAnsiString s("abc");
    EXPECT_THROW(s.setBufferSize(SIZE_MAX / 2), SBadAllocation);
    EXPECT_EQ(Text(s), "abc");

    SAnsiString a("hello"), b(a);
    EXPECT_EQ(a.getString(), b.getString());
    EXPECT_EQ(Peek(a).count(), 2);

    b.deleteChars(0, 0);
    b.insertChars(2, SAnsiString());
    b.insertChar(1, CharA());
    EXPECT_EQ(a.getString(), b.getString()) << "empty edits must not unshare";

    b.setAt(0, CharA('H'));
    EXPECT_NE(a.getString(), b.getString());
    EXPECT_EQ(Text(a), "hello");
    EXPECT_EQ(Text(b), "Hello");
    EXPECT_EQ(Peek(a).count(), 1);

    const char *own = a.getString();
    EXPECT_EQ((a = own).getString(), own) << "its own text: nothing happens";
    EXPECT_EQ(Text(a = a.getString() + 2), "llo") << "a tail of its own text is copied safely";
}

TEST(SStringConcat, GrowthAliasingOverflowWideningAndStreams) {
    SAnsiString s("ab");
    s.concat("0123456789012345678901234567890123", 34); // 2 + 34 + 1 > 35: doubled without slack
    EXPECT_EQ(Peek(s).capacity(), 2u * 2 + 34 + 1);
    EXPECT_EQ(s.getLength(), 36u);

    SAnsiString shared(s);
    shared.concat("x", 1); // fits but shared: a fresh exact buffer with slack
    EXPECT_EQ(Peek(shared).capacity(), 36u + 1 + 1 + 32);
    EXPECT_EQ(s.getLength(), 36u);

    SAnsiString self("abc");
    EXPECT_EQ(Text(self += self), "abcabc");
    self.concat(self.getString() + 1, 4);
    EXPECT_EQ(Text(self), "abcabcbcab");
    EXPECT_EQ(Text(self += self.getString()), "abcabcbcababcabcbcab");

    TarnkitTest::CapturingSink sink;
    SAnsiString before(self);
    self.concat("x", SIZE_MAX);
    EXPECT_TRUE(sink.saw("(0 :")) << "length overflow is the assertion \"0\"";
    EXPECT_EQ(self.getString(), before.getString());

    std::string reference;
    for (int i = 0; i < 1000; ++i)
        reference += static_cast<char>('a' + i % 26);
    SAnsiString built;
    for (char c : reference)
        built += CharA(c);
    EXPECT_EQ(Text(built), reference);
    EXPECT_EQ(Text(SAnsiString("ab") + "cd" + CharA('e') + SAnsiString("f")), "abcdef");

    // From ASCII a byte widens signed into the wide kind.
    SWCharString w;
    w.concatFromAscii("a\xE9", 2);
    ASSERT_EQ(w.getLength(), 2u);
    EXPECT_EQ(ToU16(w.getString()), u"a\uFFE9");
    SAnsiString a;
    a.concatFromAscii("xyz", 2);
    EXPECT_EQ(Text(a), "xy");

    SAnsiString streamed;
    streamed << "n=" << 42 << ' ' << short(-7) << CharA(' ') << 4000000000u << " " << (__int64)LLONG_MIN << " " << 1.5
             << static_cast<const char *>(nullptr) << SAnsiString("!");
    EXPECT_EQ(Text(streamed), "n=42" + std::to_string(' ') + "-7 4000000000 -9223372036854775808 1.500000!");
    SWCharString wideStreamed;
    wideStreamed << 12 << TarnkitTest::Wide(u"/").data() << 0.25 << static_cast<const unsigned short *>(nullptr);
    EXPECT_EQ(ToU16(wideStreamed.getString()), u"12/0.250000");
}

TEST(SStringEditing, InsertDeleteSetAtCaseAndTrim) {
    SAnsiString s("abcd");
    SAnsiString::iterator it = s.findFirst('c');
    s.insertChars(it, SAnsiString("XY"));
    EXPECT_EQ(Text(s), "abXYcd");
    EXPECT_EQ(*it, CharA('X'));
    s.deleteChars(it, 2);
    EXPECT_EQ(Text(s), "abcd");
    EXPECT_EQ(*it, CharA('c'));
    s.deleteChars(3, 100);
    EXPECT_EQ(Text(s), "abc");
    s.insertChar(3, CharA('!'));
    s.insertChars(0, s);
    EXPECT_EQ(Text(s), "abc!abc!");
    s.deleteChar(0);
    s.setAt(0, CharA('B'));
    EXPECT_EQ(Text(s), "Bc!abc!");
    EXPECT_EQ(s.getAt(2), CharA('!'));
    EXPECT_EQ(s.getAt(100).getChar(), 0);

    SAsciiString a("xyz");
    SAsciiString::iterator at = a.findLast(SChar_t<char, 1>('z'));
    a.setAt(at, SChar_t<char, 1>('Z'));
    EXPECT_STREQ(a.getString(), "xyZ");
    a.deleteChars(at, 5);
    EXPECT_STREQ(a.getString(), "xy");

    SAnsiString upper = After(SAnsiString("abc"), &SAnsiString::toUpper);
    EXPECT_EQ(Text(upper), "AB") << "the multibyte toUpper stops before the last character";
    EXPECT_EQ(upper.getLength(), 3u);
    EXPECT_EQ(upper.getNChars(), 2u);
    EXPECT_EQ(Text(After(SAnsiString("ABC"), &SAnsiString::toLower)), "abc");
    EXPECT_STREQ(After(SAsciiString("abc"), &SAsciiString::toUpper).getString(), "ABC");
    // The wide kind converts every unit.
    EXPECT_EQ(ToU16(After(WideString(u"abc"), &SWCharString::toUpper).getString()), u"ABC");

    EXPECT_EQ(Text(After(SAnsiString(" \t x y \n"), &SAnsiString::trimLeft)), "x y \n");
    SAnsiString t = After(SAnsiString("x y \n"), &SAnsiString::trimRight);
    EXPECT_EQ(Text(t), "x y");
    EXPECT_EQ(After(t, &SAnsiString::trim).getString(), t.getString()) << "nothing to trim keeps the buffer";
    EXPECT_EQ(After(SAnsiString("   "), &SAnsiString::trimLeft).getString(), SAnsiString().getString());
    EXPECT_EQ(After(SAnsiString(" \t "), &SAnsiString::trimRight).getString(), SAnsiString().getString());
    EXPECT_EQ(ToU16(After(WideString(u"\u3000 a\u00a0"), &SWCharString::trim).getString()), u"a");
}

TEST(SStringSearch, PiecesFindCompareAndConvertBetweenKinds) {
    SAnsiString text("abcdef");
    SAnsiString::iterator c = text.findFirst('c'), e = text.findFirst('e');
    const std::pair<SAnsiString, const char *> pieces[] = {
        {text.left(2), "ab"},    {text.left(100), "abcdef"}, {text.right(2), "ef"},   {text.mid(2), "cdef"},
        {text.mid(100), ""},     {text.mid(1, 3), "bcd"},    {text.mid(4, 10), "ef"}, {text.left(c), "ab"},
        {text.right(c), "cdef"}, {text.mid(c, 2), "cd"},     {text.mid(c, e), "cd"},  {text.mid(e, c), ""}};
    for (const auto &[piece, expected] : pieces)
        EXPECT_EQ(std::string(piece.getString(), piece.getLength()), expected);
    EXPECT_EQ(text.right(100).getString(), text.getString()) << "right beyond the length shares";

    SIArray<SAnsiString> split;
    EXPECT_EQ(SplitString(SAnsiString(""), split, ','), 1u);
    EXPECT_TRUE(split[0].isEmpty());
    EXPECT_EQ(SplitString(SAnsiString("a,,b"), split, ','), 3u);
    EXPECT_EQ(Text(split[0]) + "|" + Text(split[1]) + "|" + Text(split[2]), "a||b");
    EXPECT_EQ(SplitString(SAnsiString("x,"), split, ','), 2u);

    // Where each search lands, as an offset from the start; a miss lands on the end.
    SAnsiString s("abcabc");
    SWCharString w = WideString(u"x\u00e9y\u00e9");
    SAnsiStringCI ci("Hello World");
    SWCharStringCI wci(WideString(u"Grüße"));
    const std::pair<ptrdiff_t, ptrdiff_t> offsets[] = {
        {s.find(SAnsiString("ca")) - s.begin(), 2}, {s.find(SAnsiString("")) - s.begin(), 0},
        {s.find(SAnsiString("zz")) - s.begin(), 6}, {s.findFirst('b') - s.begin(), 1}, {s.findLast('b') - s.begin(), 4},
        {s.findLast('q') - s.begin(), 6}, {(++s.findFirst('b')).find(CharA('b')) - s.begin(), 4},
        {w.findLast(SChar_t<unsigned short, 1>(0xE9)) - w.begin(), 3}, {w.find(WideString(u"\u00e9y")) - w.begin(), 1},
        {ci.find(SAnsiString("WORLD")) - ci.begin(), 6}, {ci.find(SAnsiString("planet")) - ci.begin(), 11},
        {wci.find(WideString(u"SSE")) - wci.begin(), 5}, {wci.find(WideString(u"Rü")) - wci.begin(), 1}};
    for (size_t i = 0; i < std::size(offsets); ++i)
        EXPECT_EQ(offsets[i].first, offsets[i].second) << "search number " << i;
    EXPECT_EQ(s.getCharIndex(s.findLast('c')), 5u);

    TarnkitTest::CapturingSink sink;
    s.getCharIndex(SAnsiString("zz").begin());
    EXPECT_TRUE(sink.saw("iter2 == iter"));

    // The ASCII kind keeps the raw sign of compareNoCase; the others fold to -1, 0, 1.
    const bool holds[] = {
        SAsciiString("abc").compare(SAsciiString("abd")) < 0, !(SAsciiString("a") == nullptr), SAnsiString() == nullptr,
        SAnsiString("x") == "x", SAsciiString("a").compareNoCase(SAsciiString("C")) < -1, ci == "hello WORLD",
        SAnsiString("a").compareNoCase(SAnsiString("C")) == -1, WideString(u"b").compareNoCase(WideString(u"A")) == 1,
        SAnsiString("ABC").compareNoCase(SAnsiString("abc")) == 0, ci == SAnsiStringCI("HELLO world"),
        !(SAnsiString("Hello") == SAnsiString("hello")), wci == TarnkitTest::Wide(u"gRüßE").data()};
    for (size_t i = 0; i < std::size(holds); ++i)
        EXPECT_TRUE(holds[i]) << "comparison number " << i;

    // In the "C" locale nothing above 127 converts between the locale and wide kinds: it becomes "?".
    SAnsiString narrow(TarnkitTest::Wide(u"a\u00e9b").data());
    EXPECT_EQ(Text(narrow), "a?b");
    EXPECT_EQ(ToU16(SWCharString("x\xC3\xA9y").getString()), u"x??y");
    EXPECT_TRUE(narrow.fromWChar(TarnkitTest::Wide(u"ok").data()));
    EXPECT_EQ(Text(narrow), "ok");
    EXPECT_TRUE((narrow = static_cast<const unsigned short *>(nullptr)).isEmpty());
}
