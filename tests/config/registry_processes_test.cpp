// The store shared by several processes: concurrent writers lose nothing and
// readers see whole values; a writer killed inside a copy leaves all of it or
// none; unreadable, read-only and damaged files fail softly with a trace.
#include "support/forwardingstore.h"
#include "config/registrystore.h"
#include "support/testsupport.h"
#include "tarnkit/registry.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace TarnkitA201;

namespace {

constexpr int kNobody = 65534;

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

    // Runs body in a child and answers its exit code (-signal if killed).
    template <class Body>
    static int InChild(Body body) {
        pid_t pid = fork();
        if (pid == 0) {
            int code = 99;
            try {
                code = body();
            } catch (...) {
            }
            _exit(code);
        }
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    static bool DropPrivileges() { return setgid(kNobody) == 0 && setuid(kNobody) == 0; }

    std::string m_dir;
};

Registry Key(const char *path) { return Registry(path, "", HKEY_LOCAL_MACHINE); }

TEST_F(RegistryProcessesTest, ConcurrentWritersLoseNothingAndReadersSeeWholeValues) {
    ASSERT_TRUE(Key("Software\\Shared").WriteValue("mark", SAnsiString(std::string(2000, 'a').c_str())));
    constexpr int kWrites = 40;
    auto worker = [](char letter) {
        return [letter]() {
            Registry shared = Key("Software\\Shared");
            std::string whole(2000, letter);
            for (int i = 0; i < kWrites; ++i) {
                std::string name = std::string(1, letter) + std::to_string(i);
                if (!Key("Software\\Shared\\Own").WriteValue(name.c_str(), static_cast<unsigned long>(i)))
                    return 1;
                if (!shared.WriteValue("mark", SAnsiString(whole.c_str())))
                    return 2;
                // A fresh object each time, so each read is a new look.
                SAnsiString seen = Key("Software\\Shared").ReadValue("mark");
                std::string text(seen.getString(), seen.getLength());
                if (text.size() != 2000 || text.find_first_not_of(text[0]) != std::string::npos)
                    return 3;
            }
            return 0;
        };
    };
    pid_t first = fork();
    if (first == 0)
        _exit(worker('b')());
    int second = InChild(worker('c'));
    int status = 0;
    waitpid(first, &status, 0);
    EXPECT_EQ(second, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    Registry own = Key("Software\\Shared\\Own");
    for (char letter : {'b', 'c'})
        for (int i = 0; i < kWrites; ++i)
            EXPECT_STREQ(own.ReadValue((std::string(1, letter) + std::to_string(i)).c_str()).getString(),
                         std::to_string(i).c_str());
}

// Stops the process for good after a number of writes, so that it can be
// killed in the middle of a transaction.
class StallingStore : public TarnkitTest::ForwardingStore {
public:
    explicit StallingStore(int stallAfter, int signalFd)
        : ForwardingStore(TarnkitA201::GetRegistryStore()), m_left(stallAfter), m_fd(signalFd) {}
    long SetValue(HKEY k, const char *n, unsigned long t, const unsigned char *d, unsigned long s) override {
        if (--m_left == 0) {
            (void)!write(m_fd, "x", 1);
            for (;;)
                pause();
        }
        return real.SetValue(k, n, t, d, s);
    }

private:
    int m_left;
    int m_fd;
};

int CountValues(const char *path) {
    int count = 0;
    for (Registry::ValueIterator it = Key(path).EnumValues(); it; ++it)
        ++count;
    return count;
}

TEST_F(RegistryProcessesTest, AKilledCopyLeavesAllOrNothing) {
    constexpr int kValues = 1500;
    IRegistryStore &store = GetRegistryStore();
    ASSERT_EQ(store.BeginTransaction(HKEY_LOCAL_MACHINE), 0);
    for (int i = 0; i < kValues; ++i)
        ASSERT_TRUE(Key(i % 2 ? "Software\\Big" : "Software\\Big\\Half")
                        .WriteValue(("v" + std::to_string(i)).c_str(), SAnsiString("payload")));
    ASSERT_EQ(store.CommitTransaction(HKEY_LOCAL_MACHINE), 0);

    // Killed at a known point inside the copy.
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    pid_t pid = fork();
    if (pid == 0) {
        StallingStore stalling(kValues / 2, fds[1]);
        SetRegistryStore(&stalling);
        Registry::CopyKey(HKEY_LOCAL_MACHINE, "Software\\Stalled", HKEY_LOCAL_MACHINE, "Software\\Big");
        _exit(0);
    }
    char byte = 0;
    ASSERT_EQ(read(fds[0], &byte, 1), 1);
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    close(fds[0]);
    close(fds[1]);
    EXPECT_FALSE(Key("Software\\Stalled").KeyExists());
    EXPECT_EQ(CountValues("Software\\Big") + CountValues("Software\\Big\\Half"), kValues);

    // Killed after a while, wherever it happens to be.
    for (int delayMs : {2, 15, 60}) {
        std::string target = "Software\\Timed" + std::to_string(delayMs);
        pid = fork();
        if (pid == 0) {
            Registry::CopyKey(HKEY_LOCAL_MACHINE, target.c_str(), HKEY_LOCAL_MACHINE, "Software\\Big");
            _exit(0);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs));
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        int copied = CountValues(target.c_str()) + CountValues((target + "\\Half").c_str());
        EXPECT_TRUE(copied == 0 || copied == kValues) << copied << " values after " << delayMs << " ms";
    }
    // The store still takes writes.
    EXPECT_TRUE(Key("Software\\After").WriteValue("ok", 1ul));
}

TEST_F(RegistryProcessesTest, UnreadableReadOnlyAndDamagedFilesFailSoftly) {
    ASSERT_TRUE(Key("Software\\Kept").WriteValue("v", SAnsiString("there")));

    // Read-only for the user: reads still work, writes fail.
    EXPECT_EQ(InChild([] {
                  if (!DropPrivileges())
                      return 10;
                  TarnkitTest::CapturingSink sink;
                  if (std::string(Key("Software\\Kept").ReadValue("v").getString()) != "there")
                      return 1;
                  if (Key("Software\\Kept").WriteValue("w", SAnsiString("no")))
                      return 2;
                  if (!Key("Software\\Kept").ReadValue("fresh", SAnsiString("default")).isEmpty())
                      return 3;
                  return 0;
              }),
              0);

    // Unreadable for the user.
    ASSERT_EQ(chmod(file().c_str(), 0), 0);
    EXPECT_EQ(InChild([] {
                  if (!DropPrivileges())
                      return 10;
                  TarnkitTest::CapturingSink sink;
                  if (!Key("Software\\Kept").ReadValue("v").isEmpty() || Key("Software\\Kept").KeyExists())
                      return 1;
                  if (Key("Software\\Kept").WriteValue("v", SAnsiString("x")))
                      return 2;
                  return sink.saw("Registry store") ? 0 : 3;
              }),
              0);
    chmod(file().c_str(), 0644);

    // Garbage where a store should be, seen by a process that never had it open.
    std::filesystem::remove(file() + "-wal");
    std::filesystem::remove(file() + "-shm");
    {
        std::ofstream damaged(file(), std::ios::binary | std::ios::trunc);
        for (int i = 0; i < 4096; ++i)
            damaged.put(static_cast<char>((i * 7919) & 0xff));
    }
    EXPECT_EQ(InChild([] {
                  TarnkitTest::CapturingSink sink;
                  if (!Key("Software\\Kept").ReadValue("v").isEmpty() || Key("Software\\Kept").KeyExists())
                      return 1;
                  if (Key("Software\\Kept").WriteValue("v", 1ul))
                      return 2;
                  if (Key("Software\\Kept").EnumSubKeys())
                      return 3;
                  return sink.saw("Registry store") ? 0 : 4;
              }),
              0);
}

} // namespace
