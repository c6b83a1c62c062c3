#include "tarnkit/sfilesys.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
SAnsiString S(const std::string &s) { return SAnsiString(s.c_str()); }

constexpr uid_t Nobody = 65534;

class TreeTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/sfilesystree-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        // The dropped child must be able to work in here.
        if (::geteuid() == 0) {
            ASSERT_EQ(::chown(m_dir.c_str(), Nobody, Nobody), 0);
        }
    }
    void TearDown() override { (void)std::system(("chmod -R u+rwx '" + m_dir + "'; rm -rf '" + m_dir + "'").c_str()); }

    std::string path(const std::string &name) const { return m_dir + "/" + name; }
    void put(const std::string &name, const std::string &bytes, mode_t mode = 0644) const {
        int fd = ::open(path(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, mode);
        ASSERT_GE(fd, 0) << name;
        ASSERT_EQ(::write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        ::close(fd);
    }
    std::string get(const std::string &name) const {
        std::string bytes;
        int fd = ::open(path(name).c_str(), O_RDONLY);
        if (fd < 0)
            return "<absent>";
        char chunk[256];
        for (ssize_t n; (n = ::read(fd, chunk, sizeof chunk)) > 0;)
            bytes.append(chunk, static_cast<size_t>(n));
        ::close(fd);
        return bytes;
    }
    void mkdir(const std::string &name, mode_t mode = 0755) const {
        ASSERT_EQ(::mkdir(path(name).c_str(), mode), 0) << name;
    }
    bool present(const std::string &name) const {
        struct stat info {};
        return ::lstat(path(name).c_str(), &info) == 0;
    }
    // Names in a directory that start with a dot: left-over temporaries.
    int hiddenEntries(const std::string &name) const {
        int count = 0;
        DIR *d = ::opendir(path(name).c_str());
        for (dirent *e; d != nullptr && (e = ::readdir(d)) != nullptr;)
            count += e->d_name[0] == '.' && std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0;
        if (d != nullptr)
            ::closedir(d);
        return count;
    }
    // Runs `body` in a child without root's right to ignore permissions;
    // the child's exit code is the body's answer.
    static int AsNobody(const std::function<int()> &body) {
        pid_t child = ::fork();
        if (child == 0) {
            if (::geteuid() == 0 && (::setgroups(0, nullptr) != 0 || ::setresgid(Nobody, Nobody, Nobody) != 0 ||
                                     ::setresuid(Nobody, Nobody, Nobody) != 0))
                ::_exit(99);
            int code = 98;
            try {
                code = body();
            } catch (...) {
            }
            ::_exit(code);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    // A tree the dropped child owns, built by that child.
    void buildAsNobody(const std::function<void()> &build) const {
        ASSERT_EQ(AsNobody([&] {
                      build();
                      return 0;
                  }),
                  0);
    }

    std::string m_dir;
};

// The codes a child reports for an exception it caught.
int Code(const SFileSysException &e) { return 10 * e.ErrCode() + e.ErrReason(); }

TEST_F(TreeTest, RecursiveRemovalNeverFollowsLinks) {
    mkdir("outside");
    put("outside/keep", "precious");
    mkdir("tree");
    mkdir("tree/a");
    mkdir("tree/a/b");
    put("tree/a/b/f", "x");
    put("tree/top", "y");
    ASSERT_EQ(::symlink(path("outside").c_str(), path("tree/a/tolink").c_str()), 0);
    ASSERT_EQ(::symlink("../nowhere", path("tree/dangling").c_str()), 0);

    SFileSys::rremove(S(path("tree/")));
    EXPECT_FALSE(present("tree"));
    EXPECT_EQ(get("outside/keep"), "precious");

    // On the name of a link, only the link goes.
    ASSERT_EQ(::symlink(path("outside").c_str(), path("rootlink").c_str()), 0);
    SFileSys::rremove(S(path("rootlink")));
    EXPECT_FALSE(present("rootlink"));
    EXPECT_EQ(get("outside/keep"), "precious");
    SFileSys::rremove(S(path("absent")));

    // Emptying keeps the directory; a link or file is not a directory.
    mkdir("box");
    mkdir("box/inner");
    put("box/inner/f", "z");
    SFileSys::rremoveContent(S(path("box")));
    EXPECT_TRUE(present("box"));
    EXPECT_FALSE(present("box/inner"));
    ASSERT_EQ(::symlink(path("outside").c_str(), path("boxlink").c_str()), 0);
    for (const char *name : {"boxlink", "outside/keep"}) {
        try {
            SFileSys::rremoveContent(S(path(name)));
            ADD_FAILURE() << name;
        } catch (const SFileSysException &e) {
            EXPECT_EQ(e.ErrCode(), SFileSysException::RemoveContentError);
            EXPECT_EQ(e.ErrReason(), SFileSysException::InvalidPath);
            EXPECT_EQ(Str(e.reason()), std::strerror(ENOTDIR));
        }
    }
    EXPECT_EQ(get("outside/keep"), "precious");
}

TEST_F(TreeTest, RecursiveRemovalGoesOnPastAStuckEntryAndNamesTheRoot) {
    buildAsNobody([&] {
        ::mkdir(path("tree").c_str(), 0755);
        ::mkdir(path("tree/locked").c_str(), 0755);
        ::close(::open(path("tree/locked/stuck").c_str(), O_CREAT | O_WRONLY, 0644));
        ::chmod(path("tree/locked").c_str(), 0555);
        ::mkdir(path("tree/other").c_str(), 0755);
        ::close(::open(path("tree/other/f").c_str(), O_CREAT | O_WRONLY, 0644));
        ::close(::open(path("tree/zfile").c_str(), O_CREAT | O_WRONLY, 0644));
    });
    const std::string root = path("tree");
    int code = AsNobody([&] {
        try {
            SFileSys::rremove(S(root));
        } catch (const SFileSysException &e) {
            return Str(e.getFileName()) == root && Str(e.getFunction()) == "rremove" ? Code(e) : 1;
        }
        return 0;
    });
    EXPECT_EQ(code, 10 * SFileSysException::RemoveContentError + SFileSysException::AccessDenied);
    EXPECT_TRUE(present("tree/locked/stuck"));
    EXPECT_FALSE(present("tree/other"));
    EXPECT_FALSE(present("tree/zfile"));
}

TEST_F(TreeTest, RemovingMatchesOfAPattern) {
    mkdir("d");
    put("d/a.tmp", "12345");
    put("d/b.tmp", "123");
    put("d/keep.txt", "k");
    mkdir("d/full.tmp");
    put("d/full.tmp/x", "x");
    mkdir("d/empty.tmp");

    TarnkitTest::CapturingSink sink;
    unsigned long bytes = 77;
    SFileSys::removeContent(S(path("d")), S("*.tmp"), bytes);
    EXPECT_EQ(bytes, 8u);
    EXPECT_FALSE(present("d/a.tmp"));
    EXPECT_FALSE(present("d/empty.tmp"));
    EXPECT_TRUE(present("d/full.tmp/x")); // not empty: traced and kept
    EXPECT_TRUE(present("d/keep.txt"));
    EXPECT_TRUE(sink.saw("SFileSys::removeContent: Can't remove file"));

    __int64 wide = 77;
    SFileSys::removeContentEx(S(path("missing")), S("*"), wide);
    EXPECT_EQ(wide, 77);
    try {
        SFileSys::removeContentEx(S(path("d/keep.txt")), S("*"), wide);
        ADD_FAILURE();
    } catch (const SFileSysException &e) {
        EXPECT_EQ(e.ErrCode(), SFileSysException::RemoveContentError);
        EXPECT_EQ(Str(e.getFunction()), "removeContentEx");
    }
}

TEST_F(TreeTest, SizesAndCountsOfTrees) {
    mkdir("t");
    mkdir("t/sub");
    mkdir("t/sub/deeper");
    put("t/a", "1234");
    put("t/sub/b", "12");
    put("t/sub/deeper/c", "1");
    mkdir("elsewhere");
    put("elsewhere/huge", "0123456789");
    ASSERT_EQ(::symlink(path("elsewhere").c_str(), path("t/link").c_str()), 0);

    EXPECT_EQ(SFileSys::rsize(S(path("t"))), 7u); // the link's target is not counted
    EXPECT_EQ(SFileSys::rsizeEx(S(path("t/"))), 7);
    EXPECT_EQ(SFileSys::countFiles(S(path("t"))), 4u); // a, b, c and the link
    EXPECT_EQ(SFileSys::countAll(S(path("t"))), 7u);   // and t, sub, deeper
    EXPECT_EQ(SFileSys::countFiles(S(path("t/a"))), 1u);

    mkdir("one");
    put("one/f", "");
    EXPECT_EQ(SFileSys::countAll(S(path("one"))), 2u);

    // Past 4 GiB the 32-bit tree total refuses; the wide one answers.
    mkdir("big");
    put("big/a", "");
    put("big/b", "");
    ASSERT_EQ(::truncate(path("big/a").c_str(), 3LL << 30), 0);
    ASSERT_EQ(::truncate(path("big/b").c_str(), 2LL << 30), 0);
    EXPECT_EQ(SFileSys::rsizeEx(S(path("big"))), 5LL << 30);
    try {
        SFileSys::rsize(S(path("big")));
        ADD_FAILURE();
    } catch (const SFileSysException &e) {
        EXPECT_EQ(e.ErrCode(), SFileSysException::SizeError);
        EXPECT_EQ(e.ErrReason(), SFileSysException::FileTooLarge);
        EXPECT_EQ(Str(e.getFileName()), path("big/b"));
        EXPECT_EQ(Str(e.getSecondFileName()), "Size of file exceeds 4 GBytes.");
        EXPECT_EQ(Str(e.getFunction()), "rsize");
    }
}

TEST_F(TreeTest, CopyingAFileKeepsContentModeAndTime) {
    put("src", "payload", 0640);
    struct timespec times[2] = {{1000000000, 0}, {1234567890, 500000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("src").c_str(), times, 0), 0);

    SFileSys::copyFile(S(path("src")), S(path("made/for/it/dst")), false);
    EXPECT_EQ(get("made/for/it/dst"), "payload");
    struct stat info {};
    ASSERT_EQ(::stat(path("made/for/it/dst").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_mtim.tv_sec, 1234567890);

    put("other", "old");
    try {
        SFileSys::copyFile(S(path("src")), S(path("other")), false);
        ADD_FAILURE();
    } catch (const SFileSysException &e) {
        EXPECT_EQ(e.ErrCode(), SFileSysException::CopyError);
        EXPECT_EQ(e.ErrReason(), SFileSysException::AlreadyExists);
        EXPECT_EQ(Str(e.getSecondFileName()), path("other"));
    }
    EXPECT_EQ(get("other"), "old");
    SFileSys::copyFile(S(path("src")), S(path("other")), true);
    EXPECT_EQ(get("other"), "payload");
    SFileSys::copyFile(S(path("other")), S(path("other")), true); // onto itself: no harm
    EXPECT_EQ(get("other"), "payload");
    EXPECT_EQ(hiddenEntries(""), 0);

    // A FIFO is refused at once instead of blocking the copy.
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0644), 0);
    EXPECT_THROW(SFileSys::copyFile(S(path("fifo")), S(path("fifocopy")), true), SFileSysException);
    EXPECT_FALSE(present("fifocopy"));
}

TEST_F(TreeTest, CopyingATreeRecreatesLinksAndMerges) {
    mkdir("src");
    mkdir("src/sub");
    put("src/sub/f", "deep");
    put("src/top", "top");
    ASSERT_EQ(::symlink("sub/f", path("src/rel").c_str()), 0);
    ASSERT_EQ(::symlink(path("outside").c_str(), path("src/out").c_str()), 0);
    mkdir("outside");
    put("outside/o", "not copied");

    SFileSys::copyFile(S(path("src")), S(path("dst")), false);
    EXPECT_EQ(get("dst/sub/f"), "deep");
    EXPECT_EQ(get("dst/top"), "top");
    char target[256] = {};
    ASSERT_GT(::readlink(path("dst/rel").c_str(), target, sizeof target - 1), 0);
    EXPECT_STREQ(target, "sub/f");
    struct stat info {};
    ASSERT_EQ(::lstat(path("dst/out").c_str(), &info), 0);
    EXPECT_TRUE(S_ISLNK(info.st_mode));
    EXPECT_FALSE(present("dst/out/o") && !S_ISLNK(info.st_mode));

    // Again without overwriting: every existing file is a failure, and the
    // walk still reaches the rest.
    put("src/sub/new", "n");
    put("dst/top", "changed");
    try {
        SFileSys::copyFile(S(path("src")), S(path("dst")), false);
        ADD_FAILURE();
    } catch (const SFileSysException &e) {
        EXPECT_EQ(e.ErrCode(), SFileSysException::CopyError);
        EXPECT_EQ(Str(e.getFileName()), path("src") + "/");
        EXPECT_EQ(Str(e.getFunction()), "copyFile");
    }
    EXPECT_EQ(get("dst/sub/new"), "n");
    EXPECT_EQ(get("dst/top"), "changed");
    SFileSys::copyFile(S(path("src")), S(path("dst")), true);
    EXPECT_EQ(get("dst/top"), "top");

    // Into itself: refused for that entry, and the copy ends.
    try {
        SFileSys::copyFile(S(path("src")), S(path("src/sub/inside")), true);
        ADD_FAILURE();
    } catch (const SFileSysException &e) {
        EXPECT_EQ(e.ErrReason(), SFileSysException::InvalidPath);
    }
    EXPECT_EQ(get("src/sub/inside/top"), "top");
    EXPECT_FALSE(present("src/sub/inside/sub/inside"));
}

TEST_F(TreeTest, FailedCopiesAndMovesKeepTheData) {
    buildAsNobody([&] {
        ::mkdir(path("ro").c_str(), 0755);
        int fd = ::open(path("ro/target").c_str(), O_CREAT | O_WRONLY, 0644);
        (void)!::write(fd, "good", 4);
        ::close(fd);
        ::chmod(path("ro").c_str(), 0555);
        fd = ::open(path("source").c_str(), O_CREAT | O_WRONLY, 0644);
        (void)!::write(fd, "new data", 8);
        ::close(fd);
    });
    const int expected = 10 * SFileSysException::CopyError + SFileSysException::AccessDenied;
    EXPECT_EQ(AsNobody([&] {
                  try {
                      SFileSys::copyFile(S(path("source")), S(path("ro/target")), true);
                  } catch (const SFileSysException &e) {
                      return Code(e);
                  }
                  return 0;
              }),
              expected);
    EXPECT_EQ(get("ro/target"), "good");
    EXPECT_EQ(get("source"), "new data");
    EXPECT_EQ(hiddenEntries("ro"), 0);

    EXPECT_EQ(AsNobody([&] {
                  try {
                      SFileSys::renameFile(S(path("source")), S(path("ro/target")));
                  } catch (const SFileSysException &e) {
                      return Code(e);
                  }
                  return 0;
              }),
              10 * SFileSysException::RenameError + SFileSysException::AccessDenied);
    EXPECT_EQ(get("ro/target"), "good");
    EXPECT_EQ(get("source"), "new data");
}

TEST_F(TreeTest, MovingAcrossFileSystemsCopiesThenRemoves) {
    struct stat here {}, there {};
    ASSERT_EQ(::stat(m_dir.c_str(), &here), 0);
    if (::stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev || ::access("/dev/shm", W_OK) != 0)
        GTEST_SKIP() << "no second writable file system";
    char pattern[] = "/dev/shm/sfilesys-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    const std::string target = std::string(pattern) + "/moved";
    put("source", "travels");
    SFileSys::renameFile(S(path("source")), S(target));
    EXPECT_FALSE(present("source"));
    EXPECT_EQ(SFileSys::sizeEx(S(target)), 7);
    SFileSys::rremove(S(pattern));
    EXPECT_FALSE(SFileSys::exists(S(pattern)));
}

} // namespace
