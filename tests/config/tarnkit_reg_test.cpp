// Runs the built tarnkit-reg (found beside this test in the build tree, or
// named by $TARNKIT_REG_TOOL) for what the shell walk-through leaves out:
// odd value names on the command line, exact bytes through set and query,
// and errors on standard input.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>

namespace {

std::string ToolPath() {
    if (const char *named = std::getenv("TARNKIT_REG_TOOL"))
        return named;
    auto tool = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "tools" / "tarnkit-reg";
    return std::filesystem::exists(tool) ? tool.string() : std::string();
}

std::string Quote(const std::string &argument) {
    std::string quoted = "'";
    for (char c : argument)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

class TarnkitRegTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_tool = ToolPath();
        if (m_tool.empty())
            GTEST_SKIP() << "tarnkit-reg is not built";
        char pattern[] = "/tmp/tarnkit_reg_test_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        setenv("TARNKIT_REGISTRY_DIR", (m_dir + "/machine").c_str(), 1);
        setenv("XDG_CONFIG_HOME", (m_dir + "/user").c_str(), 1);
    }
    void TearDown() override {
        if (!m_dir.empty())
            std::filesystem::remove_all(m_dir);
    }

    // Runs the tool with arguments (and text on stdin); answers the exit
    // code and keeps what it printed.
    int Run(std::initializer_list<std::string> arguments, const std::string &input = "") {
        std::string command = Quote(m_tool) + " <" + m_dir + "/in >" + m_dir + "/out 2>" + m_dir + "/err";
        for (const std::string &argument : arguments)
            command += " " + Quote(argument);
        std::ofstream(m_dir + "/in", std::ios::binary) << input;
        int status = std::system(command.c_str());
        out = Read(m_dir + "/out");
        err = Read(m_dir + "/err");
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    // What the tool printed, or its exit code and complaint when it failed.
    std::string Output(std::initializer_list<std::string> arguments) {
        int code = Run(arguments);
        return code == 0 ? out : "exit " + std::to_string(code) + ": " + err;
    }
    static std::string Read(const std::string &file) {
        std::ifstream in(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

    std::string m_tool, m_dir, out, err;
};

TEST_F(TarnkitRegTest, ValuesKeepTheirExactBytesThroughTheCommandLine) {
    const std::string key = "HKCU\\Software\\App";
    EXPECT_EQ(Run({"set", key, "-dash", "hex", "00", "ff,1", "0"}), 2);  // taken for an option
    EXPECT_EQ(Run({"set", "--", key, "-dash", "hex", "00", "ff,1", "0"}), 0) << err;
    EXPECT_EQ(Output({"query", "--", key, "-dash"}), "\"-dash\"=hex:00,ff,10\n");
    EXPECT_EQ(Run({"set", key, "", "multi"}), 0);
    EXPECT_EQ(Output({"query", key, ""}), "@=multi:\n");
    EXPECT_EQ(Run({"set", key, "quote\"and\\back", "string", "line\nbreak"}), 0);
    EXPECT_EQ(Output({"query", key, "quote\"and\\back"}), "\"quote\\\"and\\\\back\"=\"line\\nbreak\"\n");
    EXPECT_EQ(Output({"query", key, "QUOTE\"AND\\BACK", "--data"}), "line\nbreak\n");
    EXPECT_EQ(Run({"set", key, "n", "dword", "4294967295"}), 0);
    EXPECT_EQ(Output({"query", key, "n", "--data"}), "4294967295\n");
    EXPECT_EQ(Run({"set", key, "h", "hex", "abc"}), 2);
    EXPECT_NE(err.find("odd number of digits"), std::string::npos);
    EXPECT_EQ(Run({"query", key, "--data"}), 2);
    EXPECT_EQ(Run({"delete", key, "n", "--recursive"}), 2);
    EXPECT_EQ(Run({"query", key, "n", "--bogus"}), 2);
    EXPECT_NE(err.find("unknown option --bogus"), std::string::npos);
}

TEST_F(TarnkitRegTest, StandardInputErrorsNameTheLine) {
    EXPECT_EQ(Run({"import"}, "Tarnkit Registry Export 1\n[HKLM\\A]\n\"v\"=\"1\"\n[HKLM\\B\n"), 2);
    EXPECT_EQ(err, "tarnkit-reg: line 4: a key line must end with ']'\n");
    EXPECT_EQ(Run({"query", "HKLM\\A"}), 1);
    EXPECT_EQ(Run({"import", "-"}, "Tarnkit Registry Export 1\n[HKLM\\A]\n\"v\"=\"1\"\n"), 0) << err;
    EXPECT_EQ(Output({"export", "HKLM\\A", "-"}),
              "Tarnkit Registry Export 1\n\n[HKEY_LOCAL_MACHINE\\A]\n\"v\"=\"1\"\n");
    EXPECT_EQ(Run({"export", "HKLM\\A", m_dir + "/no/such/dir/a.reg"}), 2);
    EXPECT_NE(err.find("cannot write"), std::string::npos);
}

} // namespace
