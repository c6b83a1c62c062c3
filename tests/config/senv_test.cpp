// Changes the environment of this test program only.
#include "tarnkit/senv.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace TarnkitA201;

namespace {

// What a child process sees of the variable.
std::string ChildSees(const char *name) {
    const std::string command = std::string("sh -c 'if [ -n \"${") + name + "+set}\" ]; then printf \"set:%s\" \"$" +
                                name + "\"; else printf unset; fi'";
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return "<no shell>";
    char buffer[256] = {0};
    const size_t n = fread(buffer, 1, sizeof buffer - 1, pipe);
    pclose(pipe);
    return std::string(buffer, n);
}

} // namespace

TEST(SEnv, ReadsAndWritesTheProcessEnvironment) {
    unsetenv("TARNKIT_SENV_A");
    EXPECT_TRUE(SEnv::GetEnv(SAnsiString("TARNKIT_SENV_A")).isEmpty());
    setenv("TARNKIT_SENV_A", "", 1);
    EXPECT_TRUE(SEnv::GetEnv(SAnsiString("TARNKIT_SENV_A")).isEmpty());
    setenv("TARNKIT_SENV_A", "v=1 \xC3\xA4", 1);
    EXPECT_EQ(SEnv::GetEnv(SAnsiString("TARNKIT_SENV_A")).getString(), std::string("v=1 \xC3\xA4"));

    EXPECT_TRUE(SEnv::PutEnv(SAnsiString("TARNKIT_SENV_B=x=y z")));
    EXPECT_STREQ(std::getenv("TARNKIT_SENV_B"), "x=y z");
    EXPECT_EQ(ChildSees("TARNKIT_SENV_B"), "set:x=y z");

    // An unchanged value leaves the environment block itself alone.
    const char *before = std::getenv("TARNKIT_SENV_B");
    EXPECT_TRUE(SEnv::PutEnv(SAnsiString("TARNKIT_SENV_B=x=y z")));
    EXPECT_EQ(std::getenv("TARNKIT_SENV_B"), before);

    // An empty value removes the variable.
    EXPECT_TRUE(SEnv::PutEnv(SAnsiString("TARNKIT_SENV_B=")));
    EXPECT_EQ(std::getenv("TARNKIT_SENV_B"), nullptr);
    EXPECT_EQ(ChildSees("TARNKIT_SENV_B"), "unset");

    EXPECT_TRUE(SEnv::PutEnv(SAnsiString("")));
    EXPECT_FALSE(SEnv::PutEnv(SAnsiString("NO_EQUALS_SIGN")));
    EXPECT_EQ(std::getenv("NO_EQUALS_SIGN"), nullptr);
    EXPECT_FALSE(SEnv::PutEnv(SAnsiString("=value")));
    // Removing what is not there asks nothing of the system.
    unsetenv("TARNKIT_SENV_C");
    EXPECT_TRUE(SEnv::PutEnv(SAnsiString("TARNKIT_SENV_C=")));
}
