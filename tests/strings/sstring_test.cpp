#include "support/testsupport.h"
#include "tarnkit/sarray.h"
#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

using namespace TarnkitA201;
using TarnkitTest::CapturingSink;
using CharA = SChar_t<char, 0>;

namespace {

// Reads the storage header a string points at.
template <class S>
struct Peek : S {
    explicit Peek(const S &s) : S(s) {}
    const typename S::Buffer *buffer() const { return this->getBuffer(); }
};

template <class S>
size_t CapacityOf(const S &s) {
    return Peek<S>(s).buffer()->capacity;
}

template <class S>
long CountOf(const S &s) {
    return Peek<S>(s).buffer()->refCount.nonInterlockedRead() - 1; // minus the peek's own share
}

std::string Text(const SAnsiString &s) { return std::string(s.getString()); }

} // namespace

TEST(SStringStorage, EmptyBufferIsSharedAndImmortal) {
    SAnsiString a, b(nullptr), c("");
    EXPECT_EQ(a.getString(), b.getString());
    EXPECT_EQ(a.getString(), c.getString());
    ASSERT_NE(a.getString(), nullptr);
    EXPECT_EQ(*static_cast<const char *>(a), 0);
    for (int i = 0; i < 100; ++i) {
        SAnsiString copy(a);
        copy = c;
    }
    EXPECT_EQ(SAnsiString::GetEmptyBuffer()->refCount.nonInterlockedRead(), -1);
    EXPECT_EQ(SAnsiString::GetEmptyBuffer()->capacity, SIZE_MAX);

    SAnsiString sized;
    sized.setBufferSize(0); // room for 0 + 1 units, plus the terminator, plus slack
    EXPECT_NE(sized.getString(), a.getString());
    EXPECT_EQ(CapacityOf(sized), 34u);
    EXPECT_EQ(CapacityOf(SAnsiString("abc")), 36u);
    EXPECT_EQ(CapacityOf(SAnsiString(SChar_t<char, 0>('x'))), 39u);
    EXPECT_EQ(SAnsiString(SChar_t<char, 0>()).getString(), a.getString());
}

TEST(SStringStorage, CopiesShareAndEditsUnshare) {
    SAnsiString a("hello");
    SAnsiString b(a);
    EXPECT_EQ(a.getString(), b.getString());
    EXPECT_EQ(CountOf(a), 2);

    b.deleteChars(0, 0);
    b.insertChars(2, SAnsiString());
    b.insertChar(1, SChar_t<char, 0>());
    EXPECT_EQ(a.getString(), b.getString()) << "empty edits must not unshare";

    b.setAt(0, SChar_t<char, 0>('H'));
    EXPECT_NE(a.getString(), b.getString());
    EXPECT_EQ(Text(a), "hello");
    EXPECT_EQ(Text(b), "Hello");
    EXPECT_EQ(CountOf(a), 1);

    const char *own = a.getString();
    a = own; // its own text: nothing happens
    EXPECT_EQ(a.getString(), own);
    a = a.getString() + 2; // a tail of its own text is copied safely
    EXPECT_EQ(Text(a), "llo");
}

TEST(SStringStorage, AllocationFailureIsBadAllocation) {
    EXPECT_STREQ(SBadAllocation().what(), "bad allocation");
    SAnsiString s("abc");
    try {
        s.setBufferSize(SIZE_MAX / 2);
        FAIL() << "expected an allocation failure";
    } catch (const std::bad_alloc &e) {
        EXPECT_STREQ(e.what(), "bad allocation");
    }
    EXPECT_EQ(Text(s), "abc");
}

TEST(SStringConcat, GrowthAliasingAndOverflow) {
    SAnsiString s("ab");
    s.concat("0123456789012345678901234567890123", 34); // 2 + 34 + 1 > 35: doubled without slack
    EXPECT_EQ(CapacityOf(s), 2u * 2 + 34 + 1);
    EXPECT_EQ(s.getLength(), 36u);

    SAnsiString shared(s);
    shared.concat("x", 1); // fits but shared: a fresh exact buffer with slack
    EXPECT_EQ(CapacityOf(shared), 36u + 1 + 1 + 32);
    EXPECT_EQ(s.getLength(), 36u);

    SAnsiString self("abc");
    self += self;
    EXPECT_EQ(Text(self), "abcabc");
    self.concat(self.getString() + 1, 4);
    EXPECT_EQ(Text(self), "abcabcbcab");
    self += self.getString();
    EXPECT_EQ(Text(self), "abcabcbcababcabcbcab");

    CapturingSink sink;
    SAnsiString before(self);
    self.concat("x", SIZE_MAX);
    EXPECT_TRUE(sink.saw("(0 :")) << "length overflow is the assertion \"0\"";
    EXPECT_EQ(self.getString(), before.getString());

    SAnsiString built;
    std::string reference;
    for (int i = 0; i < 1000; ++i) {
        built += SChar_t<char, 0>(static_cast<char>('a' + i % 26));
        reference += static_cast<char>('a' + i % 26);
    }
    EXPECT_EQ(Text(built), reference);
    EXPECT_EQ(Text(SAnsiString("ab") + "cd" + SChar_t<char, 0>('e') + SAnsiString("f")), "abcdef");
}

TEST(SStringConcat, FromAsciiWidensSignedIntoWide) {
    SWCharString w;
    w.concatFromAscii("a\xE9", 2);
    ASSERT_EQ(w.getLength(), 2u);
    EXPECT_EQ(w.getString()[0], 'a');
    EXPECT_EQ(w.getString()[1], 0xFFE9);
    SAnsiString a;
    a.concatFromAscii("xyz", 2);
    EXPECT_EQ(Text(a), "xy");
}

TEST(SStringPieces, LeftRightMid) {
    SAnsiString s("abcdef");
    EXPECT_EQ(Text(s.left(2)), "ab");
    EXPECT_EQ(Text(s.left(100)), "abcdef");
    EXPECT_EQ(s.right(100).getString(), s.getString()) << "right beyond the length shares";
    EXPECT_EQ(Text(s.right(2)), "ef");
    EXPECT_EQ(Text(s.mid(2)), "cdef");
    EXPECT_TRUE(s.mid(100).isEmpty());
    EXPECT_EQ(Text(s.mid(1, 3)), "bcd");
    EXPECT_EQ(Text(s.mid(4, 10)), "ef");
    SAnsiString::iterator c = s.findFirst('c');
    SAnsiString::iterator e = s.findFirst('e');
    EXPECT_EQ(Text(s.left(c)), "ab");
    EXPECT_EQ(Text(s.right(c)), "cdef");
    EXPECT_EQ(Text(s.mid(c, 2)), "cd");
    EXPECT_EQ(Text(s.mid(c, e)), "cd");
    EXPECT_TRUE(s.mid(e, c).isEmpty());
}

TEST(SStringEditing, InsertDeleteSetAtKeepIterators) {
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
    s.insertChar(3, SChar_t<char, 0>('!'));
    s.insertChars(0, s);
    EXPECT_EQ(Text(s), "abc!abc!");
    s.deleteChar(0);
    s.setAt(0, SChar_t<char, 0>('B'));
    EXPECT_EQ(Text(s), "Bc!abc!");
    EXPECT_EQ(s.getAt(2), CharA('!'));
    EXPECT_EQ(s.getAt(100).getChar(), 0);

    SAsciiString a("xyz");
    SAsciiString::iterator at = a.begin();
    at += 2;
    a.setAt(at, SChar_t<char, 1>('Z'));
    EXPECT_STREQ(a.getString(), "xyZ");
    a.deleteChars(at, 5);
    EXPECT_STREQ(a.getString(), "xy");
}

TEST(SStringEditing, CaseAndTrim) {
    SAnsiString s("abc");
    s.toUpper();
    EXPECT_EQ(Text(s), "AB") << "the multibyte toUpper stops before the last character";
    EXPECT_EQ(s.getLength(), 3u);
    EXPECT_EQ(s.getNChars(), 2u);
    SAnsiString l("ABC");
    l.toLower();
    EXPECT_EQ(Text(l), "abc");
    SAsciiString a("abc");
    a.toUpper();
    EXPECT_STREQ(a.getString(), "ABC");
    SWCharString w = TarnkitTest::WideString(u"abc");
    w.toUpper();
    EXPECT_EQ(TarnkitTest::ToU16(w.getString()), u"ABC") << "the wide kind converts every unit";

    SAnsiString t(" \t x y \n");
    t.trimLeft();
    EXPECT_EQ(Text(t), "x y \n");
    t.trimRight();
    EXPECT_EQ(Text(t), "x y");
    const char *unchanged = t.getString();
    t.trim();
    EXPECT_EQ(t.getString(), unchanged);
    SAnsiString blank("   "), blank2(" \t ");
    blank.trimLeft();
    blank2.trimRight();
    EXPECT_EQ(blank.getString(), SAnsiString().getString());
    EXPECT_EQ(blank2.getString(), SAnsiString().getString());
    SWCharString wt = TarnkitTest::WideString(u"\u3000 a\u00a0");
    wt.trim();
    EXPECT_EQ(TarnkitTest::ToU16(wt.getString()), u"a");
}

TEST(SStringSearch, FindFirstLastAndIndex) {
    SAnsiString s("abcabc");
    EXPECT_EQ(s.find(SAnsiString("ca")) - s.begin(), 2);
    EXPECT_EQ(s.find(SAnsiString("")), s.begin());
    EXPECT_EQ(s.find(SAnsiString("zz")), s.end());
    EXPECT_EQ(s.findFirst('b') - s.begin(), 1);
    EXPECT_EQ(s.findLast('b') - s.begin(), 4);
    EXPECT_EQ(s.findLast('q'), s.end());
    SAnsiString::iterator second = s.findFirst('b');
    ++second;
    EXPECT_EQ(second.find(SChar_t<char, 0>('b')) - s.begin(), 4);
    EXPECT_EQ(s.getCharIndex(s.findLast('c')), 5u);

    CapturingSink sink;
    SAnsiString other("zz");
    s.getCharIndex(other.begin());
    EXPECT_TRUE(sink.saw("iter2 == iter"));

    SWCharString w = TarnkitTest::WideString(u"x\u00e9y\u00e9");
    EXPECT_EQ(w.findLast(SChar_t<unsigned short, 1>(0xE9)) - w.begin(), 3);
    EXPECT_EQ(w.find(TarnkitTest::WideString(u"\u00e9y")) - w.begin(), 1);
}

TEST(SStringCompare, KindsDifferInNoCase) {
    EXPECT_LT(SAsciiString("abc").compare(SAsciiString("abd")), 0);
    EXPECT_EQ(SAsciiString("a") == nullptr, false);
    EXPECT_TRUE(SAnsiString() == nullptr);
    EXPECT_TRUE(SAnsiString("x") == "x");
    // The ASCII kind keeps the raw sign; the others fold to -1, 0, 1.
    EXPECT_LT(SAsciiString("a").compareNoCase(SAsciiString("C")), -1);
    EXPECT_EQ(SAnsiString("a").compareNoCase(SAnsiString("C")), -1);
    EXPECT_EQ(SAnsiString("ABC").compareNoCase(SAnsiString("abc")), 0);
    EXPECT_EQ(TarnkitTest::WideString(u"b").compareNoCase(TarnkitTest::WideString(u"A")), 1);

    SAnsiStringCI ci("Hello World");
    EXPECT_TRUE(ci == SAnsiStringCI("HELLO world"));
    EXPECT_TRUE(ci == "hello WORLD");
    EXPECT_FALSE(SAnsiString("Hello") == SAnsiString("hello"));
    EXPECT_EQ(ci.find(SAnsiString("WORLD")) - ci.begin(), 6);
    EXPECT_EQ(ci.find(SAnsiString("planet")), ci.end());
    SWCharStringCI wci(TarnkitTest::WideString(u"Grüße"));
    EXPECT_TRUE(wci == TarnkitTest::Wide(u"gRüßE").data());
    EXPECT_EQ(wci.find(TarnkitTest::WideString(u"SSE")), wci.end());
    EXPECT_EQ(wci.find(TarnkitTest::WideString(u"Rü")) - wci.begin(), 1);
}

TEST(SStringAppend, StreamOperatorsAndSplit) {
    SAnsiString s;
    s << "n=" << 42 << ' ' << short(-7) << SChar_t<char, 0>(' ') << 4000000000u << " " << (__int64)LLONG_MIN << " "
      << 1.5 << static_cast<const char *>(nullptr) << SAnsiString("!");
    EXPECT_EQ(Text(s), "n=42" + std::to_string(' ') + "-7 4000000000 -9223372036854775808 1.500000!");
    SWCharString w;
    w << 12 << TarnkitTest::Wide(u"/").data() << 0.25 << static_cast<const unsigned short *>(nullptr);
    EXPECT_EQ(TarnkitTest::ToU16(w.getString()), u"12/0.250000");

    SIArray<SAnsiString> pieces;
    EXPECT_EQ(SplitString(SAnsiString(""), pieces, ','), 1u);
    EXPECT_TRUE(pieces[0].isEmpty());
    EXPECT_EQ(SplitString(SAnsiString("a,,b"), pieces, ','), 3u);
    EXPECT_EQ(Text(pieces[0]), "a");
    EXPECT_TRUE(pieces[1].isEmpty());
    EXPECT_EQ(Text(pieces[2]), "b");
    EXPECT_EQ(SplitString(SAnsiString("x,"), pieces, ','), 2u);
}

TEST(SStringConvert, ForgivingBetweenAnsiAndWide) {
    // In the "C" locale nothing above 127 converts: it becomes "?".
    SAnsiString narrow(TarnkitTest::Wide(u"a\u00e9b").data());
    EXPECT_EQ(Text(narrow), "a?b");
    SWCharString wide("x\xC3\xA9y");
    EXPECT_EQ(TarnkitTest::ToU16(wide.getString()), u"x??y");
    EXPECT_TRUE(narrow.fromWChar(TarnkitTest::Wide(u"ok").data()));
    EXPECT_EQ(Text(narrow), "ok");
    narrow = static_cast<const unsigned short *>(nullptr);
    EXPECT_TRUE(narrow.isEmpty());
}
