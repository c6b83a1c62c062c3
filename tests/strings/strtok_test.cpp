// The tokenisers and the placeholder scanner.
#include "tarnkit/sscanstring.h"
#include "tarnkit/strtok.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

// Every piece until IsEmpty, the usual loop of a caller.
std::vector<std::string> Pieces(SStrTok &tok) {
    std::vector<std::string> out;
    while (!tok.IsEmpty())
        out.push_back(Str(tok.Next()));
    return out;
}

using V = std::vector<std::string>;

} // namespace

TEST(StrTok, SplitsAtWholeSeparatorAndKeepsEmptyPieces) {
    SStrTok multi("a::b", "::");
    EXPECT_EQ(Pieces(multi), (V{"a", "b"}));
    // Not a set of single characters: a lone ":" stays in the piece.
    SStrTok notSet("a:b::c", "::");
    EXPECT_EQ(Pieces(notSet), (V{"a:b", "c"}));
    SStrTok commas(SAnsiString("a,,b"), SAnsiString(","));
    EXPECT_EQ(Pieces(commas), (V{"a", "", "b"}));
    // A trailing separator leaves nothing behind, so the loop ends without an empty piece.
    SStrTok trailing("a,b,", ",");
    EXPECT_EQ(Pieces(trailing), (V{"a", "b"}));
    SStrTok leading(",a", ",");
    EXPECT_EQ(Pieces(leading), (V{"", "a"}));
    SStrTok absent("abc", ";");
    EXPECT_EQ(Pieces(absent), (V{"abc"}));
    // After the end Next keeps answering the empty text.
    EXPECT_EQ(Str(absent.Next()), "");
    EXPECT_EQ(Str(absent.LeftStr()), "");
}

TEST(StrTok, MultibyteSeparatorInUtf8) {
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    SStrTok tok("x\xc3\xa9\xc3\xa9y\xc3\xa9\xc3\xa9z", "\xc3\xa9\xc3\xa9");
    EXPECT_EQ(Pieces(tok), (V{"x", "y", "z"}));
    // A separator that is a broken sequence may match the start of a whole
    // character; no byte of the text may go missing.
    const std::string text = "a\xee\xb1\xb1" "b\xee\xb1\xb1" "c";
    SStrTok broken(text.c_str(), "\xee\xb1");
    std::string joined;
    for (const std::string &piece : Pieces(broken))
        joined += (joined.empty() ? "" : "\xee\xb1") + piece;
    EXPECT_EQ(joined.size(), text.size());
}

TEST(StrTok, RightStrAndStateChanges) {
    SStrTok tok("a:b:c", ":");
    EXPECT_EQ(Str(tok.RightStr()), "b:c");
    EXPECT_EQ(Str(tok.GetString()), "b:c");
    EXPECT_EQ(Str(tok.LeftStr()), "b");

    tok.Set("1;2", ";");
    EXPECT_EQ(Pieces(tok), (V{"1", "2"}));
    tok.SetString("p--q");
    tok.SetToken("--");
    EXPECT_EQ(Pieces(tok), (V{"p", "q"}));
    tok.SetString("p.q");
    tok.SetToken('.');
    EXPECT_EQ(Pieces(tok), (V{"p", "q"}));
}

TEST(StrTok, BadSeparatorsAreReportedAndNeverLoop) {
    TarnkitTest::CapturingSink sink;
    SStrTok tok("a,b", ",");
    tok.SetToken(static_cast<const char *>(nullptr));
    EXPECT_TRUE(sink.saw("Token != NULL"));
    EXPECT_EQ(Str(tok.Next()), "a"); // the old separator stays

    sink.clear();
    tok.SetString("x,y");
    tok.SetToken("");
    EXPECT_TRUE(sink.saw("!SString( Token ).isEmpty()"));
    EXPECT_TRUE(sink.saw("strtok.h"));
    // An empty separator hands out the whole text at once.
    EXPECT_EQ(Pieces(tok), (V{"x,y"}));

    // The constructors do not check; the result is the same.
    SStrTok unchecked("m n", "");
    EXPECT_EQ(Pieces(unchecked), (V{"m n"}));
}

TEST(RSStrTok, PerCallSeparators) {
    RSStrTok tok("a:b:c");
    EXPECT_EQ(Str(tok.RightStr(':')), "b");
    EXPECT_EQ(Str(tok.rest()), "c");
    EXPECT_EQ(Str(tok.rest()), "c"); // rest consumes nothing

    RSStrTok pairs(SAnsiString("k1=v1&k2=v2"));
    EXPECT_EQ(Str(pairs.Next('&')), "k1=v1");
    EXPECT_EQ(Str(pairs.LeftStr("=")), "k2");
    EXPECT_EQ(Str(pairs.Next()), "v2");
    EXPECT_TRUE(pairs.IsEmpty());

    RSStrTok copy(tok);
    EXPECT_EQ(Str(copy.Next()), "c");
    EXPECT_EQ(Str(tok.rest()), "c"); // the copy is independent

    RSStrTok words;
    words.Set("one  two");
    EXPECT_EQ(Str(words.LeftStr(' ')), "one");
    EXPECT_EQ(Str(words.RightStr()), "two"); // drops the empty piece between the blanks
    EXPECT_EQ(Str(words.RightStr("::")), "");
}

TEST(RSStrTok, BadSeparatorsAreReported) {
    TarnkitTest::CapturingSink sink;
    RSStrTok tok("a,b");
    tok.SetToken(',');
    tok.SetToken(static_cast<const char *>(nullptr));
    EXPECT_TRUE(sink.saw("Token != NULL"));
    EXPECT_EQ(Str(tok.Next()), "a");
    sink.clear();
    tok.SetToken('\0');
    EXPECT_TRUE(sink.saw("!SString( Token ).isEmpty()"));
    EXPECT_EQ(Str(tok.Next()), "b");
}

TEST(ScanString, HandsOutValuesInPlaceholderOrder) {
    SScanString scan("12 34", "%2 %1");
    EXPECT_EQ(scan.getNumVars(), 2);
    SAnsiString first, second;
    scan >> first >> second;
    EXPECT_EQ(Str(first), "34");
    EXPECT_EQ(Str(second), "12");
    EXPECT_TRUE(scan.varOut(1));
    EXPECT_TRUE(scan.varOut(2));
    EXPECT_FALSE(scan.varOut(3));
    EXPECT_FALSE(scan.varOut(-1));
    // Past the highest placeholder nothing changes.
    SAnsiString third("unchanged");
    scan >> third;
    EXPECT_EQ(Str(third), "unchanged");
}

TEST(ScanString, ValuesEndAtBlankOrTheFormatsNextCharacter) {
    SScanString scan("  key=value;  next\tlast", "%1=%2; %3 %4");
    EXPECT_EQ(scan.getNumVars(), 4);
    SAnsiString a, b, c, d;
    scan >> a >> b >> c >> d;
    EXPECT_EQ(Str(a), "key");
    EXPECT_EQ(Str(b), "value");
    EXPECT_EQ(Str(c), "next");
    EXPECT_EQ(Str(d), "last");

    // A mismatch of literal text ends the scan; what was read stays.
    SScanString stop("a b", "%1 + %2");
    EXPECT_EQ(stop.getNumVars(), 1);

    // "%0" and "%%" are no placeholders; they are literal text.
    SScanString literal("%0 7", "%0 %1");
    EXPECT_EQ(literal.getNumVars(), 1);
    SAnsiString seven;
    literal >> seven;
    EXPECT_EQ(Str(seven), "7");

    // Placeholder numbers of several digits grow the table.
    SScanString wide("x y", "%12 %3");
    EXPECT_EQ(wide.getNumVars(), 2);
    SAnsiString v;
    wide >> v; // placeholder 1 has no value: the read index only moves on
    EXPECT_TRUE(v.isEmpty());
    wide >> v >> v; // placeholder 3
    EXPECT_EQ(Str(v), "y");
    EXPECT_TRUE(wide.varOut(3));
    EXPECT_FALSE(wide.varOut(12));
}

TEST(ScanString, NumericAndCharacterReads) {
    SScanString scan("-42 4000000000 7 65535 2.5 Q 12.9", "%1 %2 %3 %4 %5 %6 %7");
    long l = 0;
    unsigned long ul = 0;
    short s = 0;
    unsigned short us = 0;
    double d = 0;
    SChar_t<char, 0> c;
    long truncated = 0;
    scan >> l >> ul >> s >> us >> d >> c >> truncated;
    EXPECT_EQ(l, -42);
    EXPECT_EQ(ul, 4000000000UL);
    EXPECT_EQ(s, 7);
    EXPECT_EQ(us, 65535);
    EXPECT_DOUBLE_EQ(d, 2.5);
    EXPECT_EQ(c.getChar(), 'Q');
    EXPECT_EQ(truncated, 12); // integer reads stop at the point

    // A read with no value left does not touch the target.
    long untouched = 99;
    scan >> untouched;
    EXPECT_EQ(untouched, 99);
}

TEST(ScanString, HugePlaceholderNumbersAreRefused) {
    TarnkitTest::CapturingSink sink;
    SScanString scan("a b", "%1 %99999999999999999999");
    EXPECT_EQ(scan.getNumVars(), 1);
    EXPECT_TRUE(sink.saw("placeholder number"));
    SAnsiString a;
    scan >> a;
    EXPECT_EQ(Str(a), "a");
}
