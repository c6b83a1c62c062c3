// Trace and assertion text: printf templates turned into numbered ones, the
// parameter forms, the general-level prefixes, and the macros that build
// their arguments only when switched on.
#include "tarnkit/strace.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

namespace TarnkitA201 {
SAnsiString STraceConvertFormat(const SAnsiString &format);
}

using namespace TarnkitA201;

namespace {

std::string Text(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
std::string Convert(const char *format) { return Text(STraceConvertFormat(SAnsiString(format))); }
SAnsiString FakeStack(int skip) { return SAnsiString(("frames skipped=" + std::to_string(skip)).c_str()); }

// The recorded lines as "level:text", each ended by a newline.
std::string Lines(const TarnkitTest::CapturingSink &sink) {
    std::string lines;
    for (const TarnkitTest::CapturingSink::Record &record : sink.records())
        lines += std::to_string(record.level) + ":" + record.text + "\n";
    return lines;
}

} // namespace

TEST(TraceText, PlaceholdersAreNumberedAndFilledFromEachKindOfValue) {
    // Printf placeholders become numbered ones. Only one length letter is
    // taken, and flags are not known at all; "%%" is two placeholders, not an
    // escape; numbered placeholders not followed by a blank are renumbered in
    // order; a dot behind a placeholder is taken for a precision. A numbered
    // placeholder followed by a blank, or a "%" at the end or before a blank,
    // returns the whole template unconverted.
    for (auto [format, converted] :
         {std::pair{"x=%d y=%s", "x=%1 y=%2"}, {"%d", "%1"}, {"%5.2f|%hx|%Lg|%p", "%1|%2|%3|%4"}, {"%lld", "%1ld"},
          {"%-5d", "%1-5d"}, {"%+d", "%1+d"}, {"%%d", "%1%2"}, {"a%%b", "a%1%2b"}, {"%2,%1;", "%1,%2;"},
          {"%1. x", "%1 x"}, {"done %1", "done %1"}, {"%1 and %2", "%1 and %2"}, {"100%", "100%"},
          {"a% b", "a% b"}, {"%%", "%%"}, {"x=%d 100%", "x=%d 100%"}, {"x=%d\t%1\n", "x=%d\t%1\n"},
          {"no placeholders", "no placeholders"}, {"", ""}})
        EXPECT_EQ(Convert(format), converted) << format;

    // Parameters fill the slots up to the first empty one; the template's
    // escape character still applies after conversion.
    const char *twelve = "%d %d %d %d %d %d %d %d %d %d %d %d %d.";
    for (const auto &[filled, expected] :
         {std::pair{STraceHelper("x=%d y=%s", 5, "a"), "x=5 y=a"}, {STraceHelper("only %1", "a", "unused"), "only a"},
          {STraceHelper(twelve, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12), "1 2 3 4 5 6 7 8 9 10 11 12 %13."},
          {STraceHelper("100%", 1), "100%"}, {STraceHelper("%%d", "a", "b"), "ab"}, {STraceHelper("a^b %d", 1), "ab 1"},
          {STraceHelper("%1 %2 %3", 1, STraceParameter(), 3), "1 %2 %3"}, {STraceHelper("done %1", "ok"), "done ok"},
          {STraceHelper(static_cast<const char *>(nullptr), 1), ""}, {STraceHelper("%2,%1;", "a", "b"), "a,b;"},
          {STraceHelper(SAnsiString("s=%s"), SAnsiString("t")), "s=t"},
          {STraceHelper(TarnkitTest::Wide(u"w=%d").data(), 7), "w=7"}})
        EXPECT_EQ(Text(filled), expected);

    EXPECT_TRUE(STraceParameter().IsEmpty());
    ThisIsASillyCompilerWorkAround workAround;
    EXPECT_TRUE(STraceParameter(workAround).IsEmpty());

    // A char promotes to int; the character type gives the character.
    for (const auto &[parameter, text] :
         {std::pair{STraceParameter(-5), "-5"}, {STraceParameter(-7L), "-7"}, {STraceParameter(1.5), "1.500000"},
          {STraceParameter(static_cast<__int64>(-9000000000LL)), "-9000000000"}, {STraceParameter(true), "true"},
          {STraceParameter(18000000000000000000UL), "18000000000000000000"}, {STraceParameter(false), "false"},
          {STraceParameter(4000000000u), "4000000000"}, {STraceParameter(static_cast<const void *>(nullptr)), "(nil)"},
          {STraceParameter(reinterpret_cast<const void *>(0xbeef)), "0xbeef"}, {STraceParameter('x'), "120"},
          {STraceParameter(SChar_t<char, 0>('x')), "x"}, {STraceParameter(TarnkitTest::Wide(u"wide").data()), "wide"}})
        EXPECT_EQ(Text(parameter.GetString()), text);

    // A null text is an argument with no text, not an empty slot.
    STraceParameter nullText(static_cast<const char *>(nullptr));
    EXPECT_FALSE(nullText.IsEmpty());
    EXPECT_EQ(Text(nullText.GetString()), "");
    EXPECT_EQ(Text(STraceHelper("[%1][%2]", nullText, "b")), "[][b]");

    STraceParameter copy = STraceParameter("c");
    EXPECT_FALSE(copy.IsEmpty());
    copy = STraceParameter();
    EXPECT_TRUE(copy.IsEmpty());

    // Multibyte text is stepped by character.
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    EXPECT_EQ(Convert("gr\xC3\xBC\xC3\x9F %d \xE2\x82\xAC"), "gr\xC3\xBC\xC3\x9F %1 \xE2\x82\xAC");
    // A byte that is not a character is neither digit nor blank.
    EXPECT_EQ(Convert("%\xFF"), "%1\xFF");
    EXPECT_EQ(Convert("%7\xFF%s"), "%1\xFF%2");
}

TEST(TraceAndAssert, SilentWithoutALoggerAndOnlyGeneralLinesCarryPrefixes) {
    ASSERT_EQ(GetDiagnosticsSink(), nullptr);
    EXPECT_FALSE(ShouldTrace(0, "f"));
    EXPECT_FALSE(ShouldAssert("f"));
    SAssert("f", 1, "x");
    STrace("nothing %d", 1);
    STraceMsg(0, "f", 1, SAnsiString("m"));
    TARNKIT_FAIL("nobody listens");

    TarnkitTest::CapturingSink sink;
    for (auto [level, file, line, text] : {std::tuple{0, "f", 42, "text"}, {0, nullptr, 7, "m"}, {0, "f", 0, "m"},
                                           {1, "f", 7, "m"}, {2, nullptr, 0, "w"}})
        STraceMsg(level, file, line, SAnsiString(text));
    STrace("direct %d", 3);
    EXPECT_EQ(Lines(sink), "0:(f:42): trace message: text\n0:trace message: m\n0:trace message: m\n"
                           "1:m\n2:w\n0:trace message: direct 3\n");

    // Assertions report at the general level and return.
    sink.clear();
    SAssert("f", 3, "x > 0");
    SAssert("g.cpp", 9, "p", "bad pointer");
    SAssert("h.cpp", 1, "q", TarnkitTest::Wide(u"wide why").data());
    EXPECT_EQ(Lines(sink), "0:assert failure: (f:3). (x > 0 : no message).\n"
                           "0:assert failure: (g.cpp:9). (p : bad pointer).\n"
                           "0:assert failure: (h.cpp:1). (q : wide why).\n");

    // With stack dumps on, the stack goes out as a second, separate line.
    sink.clear();
    sink.stackDump = true;
    StackWalkFunction previous = SetStackWalker(&FakeStack);
    SAssert("f", 3, "x");
    SetStackWalker(previous);
    EXPECT_EQ(Lines(sink), "0:assert failure: (f:3). (x : no message).\n0:Stack Dump:frames skipped=1\n");
}

TEST(TraceMacros, ArgumentsAreBuiltOnlyWhenSwitchedOnAndConditionsEvaluatedOnce) {
    TarnkitTest::CapturingSink sink;
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
    EXPECT_EQ(Lines(sink), "0:(" __FILE__ ":" + std::to_string(line) + "): trace message: value 2\n2:plain\n");

    sink.clear();
    sink.assertOn = false;
    TARNKIT_ASSERT(counted(1) == 2);
    TARNKIT_ASSERT_MSG(counted(1) == 2, "why");
    TARNKIT_FAIL("off");
    EXPECT_EQ(evaluations, 1 + 2);
    EXPECT_TRUE(sink.records().empty());
    sink.assertOn = true;
    TARNKIT_ASSERT(counted(1) == 1);
    TARNKIT_ASSERT(counted(1) == 2);
    TARNKIT_ASSERT_MSG(counted(3) < 0, "negative expected");
    TARNKIT_ASSERT_EXPR(counted(0), "custom text");
    TARNKIT_FAIL("unreachable");
    EXPECT_EQ(evaluations, 1 + 6);
    auto texts = sink.texts();
    ASSERT_EQ(texts.size(), 4u);
    for (size_t i = 0; const char *part : {"(counted(1) == 2 : no message).", "(counted(3) < 0 : negative expected).",
                                           "(custom text : no message).", "(false : unreachable)."})
        EXPECT_NE(texts[i++].find(part), std::string::npos) << part;
    EXPECT_EQ(texts[0].rfind("assert failure: (" __FILE__ ":", 0), 0u);
}
