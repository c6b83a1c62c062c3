#include "tarnkit/cparamlineargs.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

CParamLineArgs FromVector(std::vector<std::string> words) {
    std::vector<char *> argv;
    for (std::string &w : words)
        argv.push_back(w.data());
    argv.push_back(nullptr);
    // argc is deliberately wrong: only the null entry ends the vector.
    return CParamLineArgs(1, argv.data());
}

std::string Value(const CParamLineArgs &args, const char *name) {
    SAnsiString value("<absent>");
    args.Lookup(SAnsiString(name), value);
    return value.getString();
}

std::vector<std::string> Words(const SIArray<SAnsiString> &array) {
    std::vector<std::string> out;
    for (size_t i = 0; i < array.GetSize(); ++i)
        out.push_back(array.GetAt(i).getString());
    return out;
}

} // namespace

TEST(CParamLineArgs, VectorParsingRules) {
    const CParamLineArgs args =
        FromVector({"prog", "stray", "-a", "1", "--B", "two", "-level", "-5", "-flag", "---", "x", "-A", "3"});
    EXPECT_EQ(args.GetProgramName().getString(), std::string("prog"));
    // Positional words are dropped; a dash-led word is never a value; a name
    // of dashes only keeps them; a repeated name keeps its last value and
    // moves to the end.
    EXPECT_EQ(Words([&] { SIArray<SAnsiString> a; args.GetArgs(a); return a; }()),
              (std::vector<std::string>{"prog", "-B", "two", "-level", "-5", "-flag", "----", "x", "-A", "3"}));
    EXPECT_EQ(Value(args, "b"), "two");
    EXPECT_EQ(Value(args, "A"), "3");
    EXPECT_EQ(Value(args, "level"), "");
    EXPECT_EQ(Value(args, "5"), "");
    EXPECT_EQ(Value(args, "---"), "x");
    EXPECT_EQ(Value(args, "stray"), "<absent>");
    EXPECT_EQ(args.findIndex(SAnsiString("FLAG")), 3);
    EXPECT_EQ(args.findIndex(SAnsiString("nope")), -1);
}

TEST(CParamLineArgs, EditingKeepsArraysInStep) {
    CParamLineArgs args = FromVector({"prog", "-x", "1", "-y", "2"});
    args.SetArg(SAnsiString("X"), SAnsiString("10"));
    EXPECT_EQ(args.findIndex(SAnsiString("x")), 1);
    EXPECT_EQ(Value(args, "x"), "10");
    EXPECT_TRUE(args.RemoveArg(SAnsiString("Y")));
    EXPECT_FALSE(args.RemoveArg(SAnsiString("y")));
    EXPECT_EQ(args.GetCmdLine().getString(), std::string("prog -X 10 "));

    CParamLineArgs copy = args;
    args.DeleteAll();
    EXPECT_EQ(args.GetCmdLine().getString(), std::string("prog "));
    EXPECT_EQ(Value(copy, "x"), "10");

    // A vector without entries, or none at all, leaves an empty object.
    char *empty[] = {nullptr};
    copy.SetArgs(0, empty);
    EXPECT_TRUE(copy.GetProgramName().isEmpty());
    EXPECT_EQ(copy.findIndex(SAnsiString("x")), -1);
    copy.SetArgs(0, nullptr);
    EXPECT_TRUE(copy.GetCmdLine().isEmpty());
}

TEST(CParamLineArgs, LineParsingAndQuotedOutput) {
    CParamLineArgs args(SAnsiString("\"my prog\" -dir \"a b\"\t-q \"\" -v\r\n-msg \"-5\""));
    EXPECT_EQ(args.getProgramName().getString(), std::string("my prog"));
    EXPECT_EQ(Value(args, "dir"), "a b");
    // The empty quoted word is passed over, so -v follows -q directly; quotes
    // are gone before the switch test, so "-5" is a switch.
    EXPECT_EQ(Value(args, "q"), "");
    EXPECT_EQ(Value(args, "msg"), "");
    EXPECT_EQ(Value(args, "5"), "");
    EXPECT_EQ(args.GetCmdLine().getString(), std::string("\"my prog\" -dir \"a b\" -q -v -msg -5 "));

    SIArray<SAnsiString> quoted;
    args.GetArgsWithQuote(quoted);
    EXPECT_EQ(Words(quoted), (std::vector<std::string>{"\"my prog\"", "-dir", "\"a b\"", "-q", "-v", "-msg", "-5"}));

    // An empty line changes nothing; the parsed line round-trips.
    args.SetArgs(SAnsiString(""));
    EXPECT_EQ(Value(args, "dir"), "a b");
    const CParamLineArgs again(args.GetCmdLine());
    EXPECT_EQ(again.GetCmdLine().getString(), std::string(args.GetCmdLine().getString()));

    // A value that already begins with a quote is left alone, balanced or not.
    args.SetArg(SAnsiString("t"), SAnsiString("\"x y"));
    EXPECT_NE(std::string(args.GetCmdLine().getString()).find("-t \"x y "), std::string::npos);
}

TEST(CParamLineArgs, MisuseIsReported) {
    TarnkitTest::CapturingSink sink;
    CParamLineArgs blank(SAnsiString("   "));
    EXPECT_TRUE(sink.saw("!m_programName.isEmpty()"));
    sink.clear();

    SIArray<SAnsiString> args;
    args.Add(SAnsiString("left over"));
    blank.GetArgs(args);
    EXPECT_TRUE(sink.saw("args.GetSize() == 0"));
    EXPECT_TRUE(sink.saw("!m_programName.isEmpty()"));
    EXPECT_EQ(args.GetSize(), 2u);
}
