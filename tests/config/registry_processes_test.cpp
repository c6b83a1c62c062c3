// The store shared by several processes: concurrent writers lose nothing and
// readers see whole values; a writer killed inside a copy leaves all of it or
// none; unreadable, read-only and damaged files fail softly with a trace.
#include "support/forwardingstore.h"
#include "support/testsupport.h"
#include "tarnkit/registry.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace TarnkitA201;

namespace {

const HKEY kMachine = HKEY_LOCAL_MACHINE;

class RegistryProcessesTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/registry_proc_XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        chmod(m_dir.c_str(), 0755);
        setenv("TARNKIT_REGISTRY_DIR", m_dir.c_str(), 1);
        setenv("XDG_CONFIG_HOME", (m_dir + "/user").c_str(), 1);
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    std::string file() const { return m_dir + "/registry.db"; }

    // Runs body in a child that exits with 1 if any of its checks failed.
    template <class Body>
    static pid_t Spawn(Body body) {
        pid_t pid = fork();
        if (pid == 0) {
            try {
                body();
            } catch (...) {
                ADD_FAILURE() << "exception in the child";
            }
            _exit(::testing::Test::HasFailure() ? 1 : 0);
        }
        return pid;
    }
    // The child's exit code, or minus the signal that ended it.
    static int Wait(pid_t pid) {
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    std::string m_dir;
};

Registry Key(const char *path) { return Registry(path, "", kMachine); }
// A value name such as "b7".
std::string Id(char letter, int i) { return std::string(1, letter) + std::to_string(i); }

TEST_F(RegistryProcessesTest, ConcurrentWritersLoseNothingAndReadersSeeWholeValues) {
    ASSERT_TRUE(Key("Software\\Shared").WriteValue("mark", SAnsiString(std::string(2000, 'a').c_str())));
    constexpr int kWrites = 40;
    auto writer = [](char letter) {
        Registry shared = Key("Software\\Shared");
        for (int i = 0; i < kWrites; ++i) {
            EXPECT_TRUE(Key("Software\\Shared\\Own").WriteValue(Id(letter, i).c_str(), static_cast<unsigned long>(i)));
            EXPECT_TRUE(shared.WriteValue("mark", SAnsiString(std::string(2000, letter).c_str())));
            // A fresh object each time, so each read is a new look.
            std::string text = Key("Software\\Shared").ReadValue("mark").getString();
            EXPECT_EQ(text.size(), 2000u);
            EXPECT_EQ(text.find_first_not_of(text[0]), std::string::npos);
        }
    };
    pid_t first = Spawn([&] { writer('b'); });
    EXPECT_EQ(Wait(Spawn([&] { writer('c'); })), 0);
    EXPECT_EQ(Wait(first), 0);

    Registry own = Key("Software\\Shared\\Own");
    for (char letter : {'b', 'c'})
        for (int i = 0; i < kWrites; ++i)
            EXPECT_STREQ(own.ReadValue(Id(letter, i).c_str()).getString(), std::to_string(i).c_str());
}

// Stops the process for good after a number of writes, so that it can be
// killed in the middle of a transaction.
struct StallingStore : TarnkitTest::ForwardingStore {
    StallingStore(int stallAfter, int signalFd) : ForwardingStore(GetRegistryStore()), left(stallAfter), fd(signalFd) {}
    long SetValue(HKEY k, const char *n, unsigned long t, const unsigned char *d, unsigned long s) override {
        if (--left == 0) {
            (void)!write(fd, "x", 1);
            for (;;)
                pause();
        }
        return real.SetValue(k, n, t, d, s);
    }
    int left, fd;
};

int CountValues(const char *path) {
    int count = 0;
    for (Registry::ValueIterator it = Key(path).EnumValues(); it; ++it)
        ++count;
    return count;
}

TEST_F(RegistryProcessesTest, AKilledCopyLeavesAllOrNothing) {
    constexpr int kValues = 1500;
    ASSERT_EQ(GetRegistryStore().BeginTransaction(kMachine), 0);
    for (int i = 0; i < kValues; ++i)
        ASSERT_TRUE(Key(i % 2 ? "Software\\Big" : "Software\\Big\\Half")
                        .WriteValue(("v" + std::to_string(i)).c_str(), SAnsiString("payload")));
    ASSERT_EQ(GetRegistryStore().CommitTransaction(kMachine), 0);

    // Killed at a known point inside the copy.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    pid_t pid = Spawn([&] {
        StallingStore stalling(kValues / 2, fds[1]);
        SetRegistryStore(&stalling);
        Registry::CopyKey(kMachine, "Software\\Stalled", kMachine, "Software\\Big");
    });
    char byte = 0;
    ASSERT_EQ(read(fds[0], &byte, 1), 1);
    kill(pid, SIGKILL);
    Wait(pid);
    close(fds[0]);
    close(fds[1]);
    EXPECT_FALSE(Key("Software\\Stalled").KeyExists());
    EXPECT_EQ(CountValues("Software\\Big") + CountValues("Software\\Big\\Half"), kValues);

    // Killed after a while, wherever it happens to be.
    for (int delayMs : {2, 15, 60}) {
        std::string target = "Software\\Timed" + std::to_string(delayMs);
        pid = Spawn([&] { Registry::CopyKey(kMachine, target.c_str(), kMachine, "Software\\Big"); });
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        kill(pid, SIGKILL);
        Wait(pid);
        int copied = CountValues(target.c_str()) + CountValues((target + "\\Half").c_str());
        EXPECT_TRUE(copied == 0 || copied == kValues) << copied << " values after " << delayMs << " ms";
    }
    // The store still takes writes.
    EXPECT_TRUE(Key("Software\\After").WriteValue("ok", 1ul));
}

TEST_F(RegistryProcessesTest, UnreadableReadOnlyAndDamagedFilesFailSoftly) {
    ASSERT_TRUE(Key("Software\\Kept").WriteValue("v", SAnsiString("there")));

    // Read-only for the user: reads still work, writes fail.
    TarnkitTest::AsNobodyInChild([] {
        TarnkitTest::CapturingSink sink;
        EXPECT_STREQ(Key("Software\\Kept").ReadValue("v").getString(), "there");
        EXPECT_FALSE(Key("Software\\Kept").WriteValue("w", SAnsiString("no")));
        EXPECT_TRUE(Key("Software\\Kept").ReadValue("fresh", SAnsiString("default")).isEmpty());
    });

    // An unusable store reads as empty, refuses every change and says why.
    auto failsSoftly = [] {
        TarnkitTest::CapturingSink sink;
        EXPECT_TRUE(Key("Software\\Kept").ReadValue("v").isEmpty());
        EXPECT_FALSE(Key("Software\\Kept").KeyExists());
        EXPECT_FALSE(Key("Software\\Kept").WriteValue("v", SAnsiString("x")));
        EXPECT_FALSE(Key("Software\\Kept").WriteValue("v", 1ul));
        EXPECT_FALSE(Key("Software\\Kept").EnumSubKeys());
        EXPECT_TRUE(sink.saw("Registry store"));
    };
    // Unreadable for the user.
    ASSERT_EQ(chmod(file().c_str(), 0), 0);
    TarnkitTest::AsNobodyInChild(failsSoftly);
    chmod(file().c_str(), 0644);

    // Garbage where a store should be, seen by a process that never had it open.
    std::filesystem::remove(file() + "-wal");
    std::filesystem::remove(file() + "-shm");
    std::string garbage(4096, '\0');
    for (int i = 0; i < 4096; ++i)
        garbage[i] = static_cast<char>((i * 7919) & 0xff);
    std::ofstream(file(), std::ios::binary | std::ios::trunc) << garbage;
    EXPECT_EQ(Wait(Spawn(failsSoftly)), 0);
}

} // namespace
