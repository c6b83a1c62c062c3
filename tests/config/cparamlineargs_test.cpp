// Command-line arguments: parsing an argument vector and a whole line into
// switches and values, editing them, and writing the line back out.
#include "tarnkit/cparamlineargs.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

using namespace TarnkitA201;
using Words = std::vector<std::string>;

namespace {

CParamLineArgs FromVector(Words words) {
    std::vector<char *> argv(words.size() + 1);
    for (size_t i = 0; i < words.size(); ++i)
        argv[i] = words[i].data();
    // argc is deliberately wrong: only the null entry ends the vector.
    return CParamLineArgs(1, argv.data());
}

// The value of each name in turn, "<absent>" for a name not there.
Words Values(const CParamLineArgs &args, std::initializer_list<const char *> names) {
    Words values;
    for (const char *name : names) {
        SAnsiString value("<absent>");
        args.Lookup(SAnsiString(name), value);
        values.emplace_back(value.getString());
    }
    return values;
}

Words Args(const CParamLineArgs &args, bool quoted = false) {
    SIArray<SAnsiString> array;
    quoted ? args.GetArgsWithQuote(array) : args.GetArgs(array);
    return Words(array.begin(), array.end());
}

} // namespace

TEST(CParamLineArgs, VectorParsingAndEditing) {
    CParamLineArgs args =
        FromVector({"prog", "stray", "-a", "1", "--B", "two", "-level", "-5", "-flag", "---", "x", "-A", "3"});
    EXPECT_STREQ(args.GetProgramName().getString(), "prog");
    // Positional words are dropped; a dash-led word is never a value; a name
    // of dashes only keeps them; a repeated name keeps its last value and
    // moves to the end.
    EXPECT_EQ(Args(args), (Words{"prog", "-B", "two", "-level", "-5", "-flag", "----", "x", "-A", "3"}));
    EXPECT_EQ(Values(args, {"b", "A", "level", "5", "---", "stray"}), (Words{"two", "3", "", "", "x", "<absent>"}));
    EXPECT_EQ(args.findIndex(SAnsiString("FLAG")), 3);
    EXPECT_EQ(args.findIndex(SAnsiString("nope")), -1);

    // Edits keep names, values and the line in step.
    args = FromVector({"prog", "-x", "1", "-y", "2"});
    args.SetArg(SAnsiString("X"), SAnsiString("10"));
    EXPECT_EQ(args.findIndex(SAnsiString("x")), 1);
    EXPECT_EQ(Values(args, {"x"}), Words{"10"});
    EXPECT_TRUE(args.RemoveArg(SAnsiString("Y")));
    EXPECT_FALSE(args.RemoveArg(SAnsiString("y")));
    EXPECT_STREQ(args.GetCmdLine().getString(), "prog -X 10 ");

    CParamLineArgs copy = args;
    args.DeleteAll();
    EXPECT_STREQ(args.GetCmdLine().getString(), "prog ");
    EXPECT_EQ(Values(copy, {"x"}), Words{"10"});

    // A vector without entries, or none at all, leaves an empty object.
    char *empty[] = {nullptr};
    copy.SetArgs(0, empty);
    EXPECT_TRUE(copy.GetProgramName().isEmpty());
    EXPECT_EQ(copy.findIndex(SAnsiString("x")), -1);
    copy.SetArgs(0, nullptr);
    EXPECT_TRUE(copy.GetCmdLine().isEmpty());
}

TEST(CParamLineArgs, LineParsingQuotingAndMisuse) {
    // A line without a program name is reported, and so is a list passed in non-empty.
    TarnkitTest::CapturingSink sink;
    CParamLineArgs blank(SAnsiString("   "));
    EXPECT_TRUE(sink.saw("!m_programName.isEmpty()"));
    sink.clear();
    SIArray<SAnsiString> leftOver;
    leftOver.Add(SAnsiString("left over"));
    blank.GetArgs(leftOver);
    EXPECT_TRUE(sink.saw("args.GetSize() == 0"));
    EXPECT_TRUE(sink.saw("!m_programName.isEmpty()"));
    EXPECT_EQ(leftOver.GetSize(), 2u);

    CParamLineArgs args(SAnsiString("\"my prog\" -dir \"a b\"\t-q \"\" -v\r\n-msg \"-5\""));
    EXPECT_STREQ(args.getProgramName().getString(), "my prog");
    // The empty quoted word is passed over, so -v follows -q directly; quotes
    // are gone before the switch test, so "-5" is a switch.
    EXPECT_EQ(Values(args, {"dir", "q", "msg", "5"}), (Words{"a b", "", "", ""}));
    EXPECT_STREQ(args.GetCmdLine().getString(), "\"my prog\" -dir \"a b\" -q -v -msg -5 ");
    EXPECT_EQ(Args(args, true), (Words{"\"my prog\"", "-dir", "\"a b\"", "-q", "-v", "-msg", "-5"}));

    // An empty line changes nothing; the parsed line round-trips.
    args.SetArgs(SAnsiString(""));
    EXPECT_EQ(Values(args, {"dir"}), Words{"a b"});
    EXPECT_STREQ(CParamLineArgs(args.GetCmdLine()).GetCmdLine().getString(), args.GetCmdLine().getString());

    // A value that already begins with a quote is left alone, balanced or not.
    args.SetArg(SAnsiString("t"), SAnsiString("\"x y"));
    EXPECT_NE(std::string(args.GetCmdLine().getString()).find("-t \"x y "), std::string::npos);
}
