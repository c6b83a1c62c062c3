// The tokenisers and the placeholder scanner.
#include "tarnkit/sscanstring.h"
#include "tarnkit/strtok.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

using V = std::vector<std::string>;

// Every piece until IsEmpty, the usual loop of a caller.
template <class Tokeniser>
V Pieces(Tokeniser &&tok) {
    V out;
    while (!tok.IsEmpty())
        out.push_back(Str(tok.Next()));
    return out;
}

// The next n values a scan hands out, each read into a fresh "-" that a read without a value leaves alone.
V Scanned(SScanString &scan, int n) {
    V out;
    while (n-- > 0) {
        SAnsiString value("-");
        scan >> value;
        out.push_back(Str(value));
    }
    return out;
}

} // namespace

TEST(StrTok, BothTokenisersSplitAtWholeSeparatorsAndReportBadOnes) {
    EXPECT_EQ(Pieces(SStrTok("a::b", "::")), (V{"a", "b"}));
    // Not a set of single characters: a lone ":" stays in the piece.
    EXPECT_EQ(Pieces(SStrTok("a:b::c", "::")), (V{"a:b", "c"}));
    EXPECT_EQ(Pieces(SStrTok(SAnsiString("a,,b"), SAnsiString(","))), (V{"a", "", "b"}));
    // A trailing separator leaves nothing behind, so the loop ends without an empty piece.
    EXPECT_EQ(Pieces(SStrTok("a,b,", ",")), (V{"a", "b"}));
    EXPECT_EQ(Pieces(SStrTok(",a", ",")), (V{"", "a"}));
    SStrTok absent("abc", ";");
    EXPECT_EQ(Pieces(absent), (V{"abc"}));
    // After the end Next keeps answering the empty text.
    EXPECT_EQ((V{Str(absent.Next()), Str(absent.LeftStr())}), (V{"", ""}));

    SStrTok tok("a:b:c", ":");
    EXPECT_EQ((V{Str(tok.RightStr()), Str(tok.GetString()), Str(tok.LeftStr())}), (V{"b:c", "b:c", "b"}));
    tok.Set("1;2", ";");
    EXPECT_EQ(Pieces(tok), (V{"1", "2"}));
    tok.SetString("p--q");
    tok.SetToken("--");
    EXPECT_EQ(Pieces(tok), (V{"p", "q"}));
    tok.SetString("p.q");
    tok.SetToken('.');
    EXPECT_EQ(Pieces(tok), (V{"p", "q"}));

    // A refused separator is reported and the old one stays.
    TarnkitTest::CapturingSink sink;
    auto reports = [&sink](auto &tokeniser, auto separator, const char *fragment) {
        sink.clear();
        tokeniser.SetToken(separator);
        return sink.saw(fragment);
    };
    tok.Set("a,b", ",");
    EXPECT_TRUE(reports(tok, static_cast<const char *>(nullptr), "Token != NULL"));
    EXPECT_EQ(Str(tok.Next()), "a");
    tok.SetString("x,y");
    EXPECT_TRUE(reports(tok, "", "!SString( Token ).isEmpty()"));
    EXPECT_TRUE(sink.saw("strtok.h"));
    // An empty separator hands out the whole text at once.
    EXPECT_EQ(Pieces(tok), (V{"x,y"}));
    // The constructors do not check; the result is the same.
    EXPECT_EQ(Pieces(SStrTok("m n", "")), (V{"m n"}));

    // The tokeniser with a separator per call; rest consumes nothing, and a copy is independent.
    RSStrTok rs("a:b:c");
    EXPECT_EQ((V{Str(rs.RightStr(':')), Str(rs.rest()), Str(rs.rest())}), (V{"b", "c", "c"}));
    EXPECT_EQ((V{Str(RSStrTok(rs).Next()), Str(rs.rest())}), (V{"c", "c"}));

    RSStrTok pairs(SAnsiString("k1=v1&k2=v2"));
    EXPECT_EQ((V{Str(pairs.Next('&')), Str(pairs.LeftStr("=")), Str(pairs.Next())}), (V{"k1=v1", "k2", "v2"}));
    EXPECT_TRUE(pairs.IsEmpty());

    // RightStr drops the empty piece between the blanks.
    RSStrTok words;
    words.Set("one  two");
    EXPECT_EQ((V{Str(words.LeftStr(' ')), Str(words.RightStr()), Str(words.RightStr("::"))}), (V{"one", "two", ""}));

    RSStrTok bad("a,b");
    bad.SetToken(',');
    EXPECT_TRUE(reports(bad, static_cast<const char *>(nullptr), "Token != NULL"));
    EXPECT_EQ(Str(bad.Next()), "a");
    EXPECT_TRUE(reports(bad, '\0', "!SString( Token ).isEmpty()"));
    EXPECT_EQ(Str(bad.Next()), "b");

    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    EXPECT_EQ(Pieces(SStrTok("x\xc3\xa9\xc3\xa9y\xc3\xa9\xc3\xa9z", "\xc3\xa9\xc3\xa9")), (V{"x", "y", "z"}));
    // A separator that is a broken sequence may match the start of a whole
    // character; no byte of the text may go missing.
    const std::string text = "a\xee\xb1\xb1" "b\xee\xb1\xb1" "c";
    std::string joined;
    for (const std::string &piece : Pieces(SStrTok(text.c_str(), "\xee\xb1")))
        joined += (joined.empty() ? "" : "\xee\xb1") + piece;
    EXPECT_EQ(joined.size(), text.size());
}

TEST(ScanString, HandsOutValuesInPlaceholderOrder) {
    SScanString scan("12 34", "%2 %1");
    EXPECT_EQ(scan.getNumVars(), 2);
    EXPECT_EQ(Scanned(scan, 2), (V{"34", "12"}));
    EXPECT_EQ((std::vector<bool>{scan.varOut(1), scan.varOut(2), scan.varOut(3), scan.varOut(-1)}),
              (std::vector<bool>{true, true, false, false}));
    EXPECT_EQ(Scanned(scan, 1), (V{"-"})) << "past the highest placeholder nothing changes";

    SScanString numbers("-42 4000000000 7 65535 2.5 Q 12.9", "%1 %2 %3 %4 %5 %6 %7");
    using CharA = SChar_t<char, 0>;
    std::tuple<long, unsigned long, short, unsigned short, double, CharA, long, long> read{0, 0, 0, 0, 0, {}, 0, 99};
    std::apply([&numbers](auto &...value) { (numbers >> ... >> value); }, read);
    // Integer reads stop at the point; a read with no value left does not touch the target.
    EXPECT_EQ(read, decltype(read)(-42, 4000000000UL, 7, 65535, 2.5, CharA('Q'), 12, 99));

    SScanString blanks("  key=value;  next\tlast", "%1=%2; %3 %4");
    EXPECT_EQ(blanks.getNumVars(), 4);
    EXPECT_EQ(Scanned(blanks, 4), (V{"key", "value", "next", "last"}));

    // A mismatch of literal text ends the scan; what was read stays.
    EXPECT_EQ(SScanString("a b", "%1 + %2").getNumVars(), 1);

    // "%0" and "%%" are no placeholders; they are literal text.
    SScanString literal("%0 7", "%0 %1");
    EXPECT_EQ(literal.getNumVars(), 1);
    EXPECT_EQ(Scanned(literal, 1), (V{"7"}));

    // Placeholder numbers of several digits grow the table; reading one without a value only moves on.
    SScanString wide("x y", "%12 %3");
    EXPECT_EQ(wide.getNumVars(), 2);
    EXPECT_EQ(Scanned(wide, 3), (V{"-", "-", "y"}));
    EXPECT_EQ((std::vector<bool>{wide.varOut(3), wide.varOut(12)}), (std::vector<bool>{true, false}));

    TarnkitTest::CapturingSink sink;
    SScanString huge("a b", "%1 %99999999999999999999");
    EXPECT_EQ(huge.getNumVars(), 1);
    EXPECT_TRUE(sink.saw("placeholder number"));
    EXPECT_EQ(Scanned(huge, 1), (V{"a"}));
}
