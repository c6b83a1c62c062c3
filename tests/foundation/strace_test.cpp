#include "tarnkit/strace.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <string>

namespace TarnkitA201 {
SAnsiString STraceConvertFormat(const SAnsiString &format);
}

using namespace TarnkitA201;
using TarnkitTest::CapturingSink;

namespace {

std::string Text(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
std::string Convert(const char *format) { return Text(STraceConvertFormat(SAnsiString(format))); }

SAnsiString FakeStack(int skip) {
    SAnsiString s("frames skipped=");
    s << skip;
    return s;
}

} // namespace

TEST(TraceFormat, PrintfPlaceholdersBecomeNumbered) {
    EXPECT_EQ(Convert("x=%d y=%s"), "x=%1 y=%2");
    EXPECT_EQ(Convert("%d"), "%1");
    EXPECT_EQ(Convert("%5.2f|%hx|%Lg|%p"), "%1|%2|%3|%4");
    // Only one length letter is taken, and flags are not known at all.
    EXPECT_EQ(Convert("%lld"), "%1ld");
    EXPECT_EQ(Convert("%-5d"), "%1-5d");
    EXPECT_EQ(Convert("%+d"), "%1+d");
    // "%%" is two placeholders, not an escape.
    EXPECT_EQ(Convert("%%d"), "%1%2");
    EXPECT_EQ(Convert("a%%b"), "a%1%2b");
    // Numbered placeholders not followed by a blank are renumbered in order.
    EXPECT_EQ(Convert("%2,%1;"), "%1,%2;");
    // A dot behind a placeholder is taken for a precision.
    EXPECT_EQ(Convert("%1. x"), "%1 x");
}

TEST(TraceFormat, NumberedOrOpenEndedTemplatesComeBackWhole) {
    EXPECT_EQ(Convert("done %1"), "done %1");
    EXPECT_EQ(Convert("%1 and %2"), "%1 and %2");
    EXPECT_EQ(Convert("100%"), "100%");
    EXPECT_EQ(Convert("a% b"), "a% b");
    EXPECT_EQ(Convert("%%"), "%%");
    // Whatever was converted before the telling placeholder is dropped too.
    EXPECT_EQ(Convert("x=%d 100%"), "x=%d 100%");
    EXPECT_EQ(Convert("x=%d\t%1\n"), "x=%d\t%1\n");
    EXPECT_EQ(Convert("no placeholders"), "no placeholders");
    EXPECT_EQ(Convert(""), "");
}

TEST(TraceFormat, MultibyteTextIsSteppedByCharacter) {
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    EXPECT_EQ(Convert("gr\xC3\xBC\xC3\x9F %d \xE2\x82\xAC"), "gr\xC3\xBC\xC3\x9F %1 \xE2\x82\xAC");
    // A byte that is not a character is neither digit nor blank.
    EXPECT_EQ(Convert("%\xFF"), "%1\xFF");
    EXPECT_EQ(Convert("%7\xFF%s"), "%1\xFF%2");
}

TEST(TraceHelper, FillsParametersUpToTheFirstEmptySlot) {
    EXPECT_EQ(Text(STraceHelper("x=%d y=%s", 5, "a")), "x=5 y=a");
    EXPECT_EQ(Text(STraceHelper("done %1", "ok")), "done ok");
    EXPECT_EQ(Text(STraceHelper("100%", 1)), "100%");
    EXPECT_EQ(Text(STraceHelper("%%d", "a", "b")), "ab");
    EXPECT_EQ(Text(STraceHelper("%2,%1;", "a", "b")), "a,b;");
    EXPECT_EQ(Text(STraceHelper("%1 %2 %3", 1, STraceParameter(), 3)), "1 %2 %3");
    EXPECT_EQ(Text(STraceHelper("only %1", "a", "unused")), "only a");
    EXPECT_EQ(Text(STraceHelper(SAnsiString("s=%s"), SAnsiString("t"))), "s=t");
    EXPECT_EQ(Text(STraceHelper(TarnkitTest::Wide(u"w=%d").data(), 7)), "w=7");
    // The template's escape character still applies after conversion.
    EXPECT_EQ(Text(STraceHelper("a^b %d", 1)), "ab 1");

    const char *twelve = "%d %d %d %d %d %d %d %d %d %d %d %d %d.";
    EXPECT_EQ(Text(STraceHelper(twelve, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12)), "1 2 3 4 5 6 7 8 9 10 11 12 %13.");
    EXPECT_EQ(Text(STraceHelper(static_cast<const char *>(nullptr), 1)), "");
}

TEST(TraceParameter, TurnsEachKindOfValueIntoText) {
    EXPECT_TRUE(STraceParameter().IsEmpty());
    ThisIsASillyCompilerWorkAround workAround;
    EXPECT_TRUE(STraceParameter(workAround).IsEmpty());

    EXPECT_EQ(Text(STraceParameter(-5).GetString()), "-5");
    EXPECT_EQ(Text(STraceParameter(-7L).GetString()), "-7");
    EXPECT_EQ(Text(STraceParameter(static_cast<__int64>(-9000000000LL)).GetString()), "-9000000000");
    EXPECT_EQ(Text(STraceParameter(4000000000u).GetString()), "4000000000");
    EXPECT_EQ(Text(STraceParameter(18000000000000000000UL).GetString()), "18000000000000000000");
    EXPECT_EQ(Text(STraceParameter(1.5).GetString()), "1.500000");
    EXPECT_EQ(Text(STraceParameter(true).GetString()), "true");
    EXPECT_EQ(Text(STraceParameter(false).GetString()), "false");
    EXPECT_EQ(Text(STraceParameter(static_cast<const void *>(nullptr)).GetString()), "(nil)");
    EXPECT_EQ(Text(STraceParameter(reinterpret_cast<const void *>(0xbeef)).GetString()), "0xbeef");
    // A char promotes to int; the character type gives the character.
    EXPECT_EQ(Text(STraceParameter('x').GetString()), "120");
    EXPECT_EQ(Text(STraceParameter(SChar_t<char, 0>('x')).GetString()), "x");
    EXPECT_EQ(Text(STraceParameter(TarnkitTest::Wide(u"wide").data()).GetString()), "wide");

    // A null text is an argument with no text, not an empty slot.
    STraceParameter nullText(static_cast<const char *>(nullptr));
    EXPECT_FALSE(nullText.IsEmpty());
    EXPECT_EQ(Text(nullText.GetString()), "");
    EXPECT_EQ(Text(STraceHelper("[%1][%2]", nullText, "b")), "[][b]");

    STraceParameter copy = STraceParameter("c");
    EXPECT_FALSE(copy.IsEmpty());
    copy = STraceParameter();
    EXPECT_TRUE(copy.IsEmpty());
}

TEST(TraceMsg, OnlyGeneralLinesCarryPrefixes) {
    CapturingSink sink;
    STraceMsg(0, "f", 42, SAnsiString("text"));
    STraceMsg(0, nullptr, 7, SAnsiString("m"));
    STraceMsg(0, "f", 0, SAnsiString("m"));
    STraceMsg(1, "f", 7, SAnsiString("m"));
    STraceMsg(2, nullptr, 0, SAnsiString("w"));
    STrace("direct %d", 3);
    auto records = sink.records();
    ASSERT_EQ(records.size(), 6u);
    EXPECT_EQ(records[0].text, "(f:42): trace message: text");
    EXPECT_EQ(records[1].text, "trace message: m");
    EXPECT_EQ(records[2].text, "trace message: m");
    EXPECT_EQ(records[3].level, 1);
    EXPECT_EQ(records[3].text, "m");
    EXPECT_EQ(records[4].level, 2);
    EXPECT_EQ(records[4].text, "w");
    EXPECT_EQ(records[5].level, 0);
    EXPECT_EQ(records[5].text, "trace message: direct 3");
}

TEST(Assert, ReportsAtGeneralLevelAndReturns) {
    CapturingSink sink;
    SAssert("f", 3, "x > 0");
    SAssert("g.cpp", 9, "p", "bad pointer");
    SAssert("h.cpp", 1, "q", TarnkitTest::Wide(u"wide why").data());
    auto records = sink.records();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].level, 0);
    EXPECT_EQ(records[0].text, "assert failure: (f:3). (x > 0 : no message).");
    EXPECT_EQ(records[1].text, "assert failure: (g.cpp:9). (p : bad pointer).");
    EXPECT_EQ(records[2].text, "assert failure: (h.cpp:1). (q : wide why).");

    // With stack dumps on, the stack goes out as a second, separate line.
    sink.clear();
    sink.stackDump = true;
    StackWalkFunction previous = SetStackWalker(&FakeStack);
    SAssert("f", 3, "x");
    SetStackWalker(previous);
    records = sink.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[1].level, 0);
    EXPECT_EQ(records[1].text, "Stack Dump:frames skipped=1");
}

TEST(Assert, WithoutALoggerEverythingIsSilent) {
    ASSERT_EQ(GetDiagnosticsSink(), nullptr);
    EXPECT_FALSE(ShouldTrace(0, "f"));
    EXPECT_FALSE(ShouldAssert("f"));
    SAssert("f", 1, "x");
    STrace("nothing %d", 1);
    STraceMsg(0, "f", 1, SAnsiString("m"));
    TARNKIT_FAIL("nobody listens");
}

TEST(TraceMacros, ArgumentsAreBuiltOnlyWhenSwitchedOn) {
    CapturingSink sink;
    int evaluations = 0;
    auto counted = [&evaluations](int v) {
        ++evaluations;
        return v;
    };

    sink.traceOn = false;
    TARNKIT_TRACE(0, "value %d", counted(1));
    EXPECT_EQ(evaluations, 0);
    EXPECT_TRUE(sink.records().empty());

    sink.traceOn = true;
    int line = __LINE__ + 1;
    TARNKIT_TRACE(0, "value %d", counted(2));
    TARNKIT_TRACE(2, "plain");
    EXPECT_EQ(evaluations, 1);
    auto records = sink.records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].text, "(" __FILE__ ":" + std::to_string(line) + "): trace message: value 2");
    EXPECT_EQ(records[1].level, 2);
    EXPECT_EQ(records[1].text, "plain");
}

TEST(TraceMacros, ConditionIsEvaluatedExactlyOnce) {
    CapturingSink sink;
    int evaluations = 0;
    auto counted = [&evaluations](int v) {
        ++evaluations;
        return v;
    };

    sink.assertOn = false;
    TARNKIT_ASSERT(counted(1) == 2);
    TARNKIT_ASSERT_MSG(counted(1) == 2, "why");
    TARNKIT_FAIL("off");
    EXPECT_EQ(evaluations, 2);
    EXPECT_TRUE(sink.records().empty());

    sink.assertOn = true;
    TARNKIT_ASSERT(counted(1) == 1);
    TARNKIT_ASSERT(counted(1) == 2);
    TARNKIT_ASSERT_MSG(counted(3) < 0, "negative expected");
    TARNKIT_ASSERT_EXPR(counted(0), "custom text");
    TARNKIT_FAIL("unreachable");
    EXPECT_EQ(evaluations, 6);
    auto texts = sink.texts();
    ASSERT_EQ(texts.size(), 4u);
    EXPECT_NE(texts[0].find("(counted(1) == 2 : no message)."), std::string::npos);
    EXPECT_NE(texts[1].find("(counted(3) < 0 : negative expected)."), std::string::npos);
    EXPECT_NE(texts[2].find("(custom text : no message)."), std::string::npos);
    EXPECT_NE(texts[3].find("(false : unreachable)."), std::string::npos);
    EXPECT_EQ(texts[0].rfind("assert failure: (" __FILE__ ":", 0), 0u);
}
