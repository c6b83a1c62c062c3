// Tests of the operations on whole trees: recursive removal, sizes and counts,
// copies and moves, and what a failure leaves behind.
#include "tarnkit/sfilesys.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <sys/stat.h>
#include <unistd.h>

using namespace TarnkitA201;
using Err = SFileSysException;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
SAnsiString S(const std::string &s) { return SAnsiString(s.c_str()); }

// An exception's code and reason, compared together.
std::pair<int, int> Pair(int code, int reason) { return {code, reason}; }
std::pair<int, int> Code(const Err &e) { return Pair(e.ErrCode(), e.ErrReason()); }

template <class Body>
Err Thrown(Body body) {
    try {
        body();
    } catch (const Err &e) {
        return e;
    }
    ADD_FAILURE() << "no SFileSysException";
    return Err();
}


class TreeTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/sfilesystree-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        // The user nobody (65534) must be able to work in here.
        ASSERT_TRUE(::geteuid() != 0 || ::chown(m_dir.c_str(), 65534, 65534) == 0);
    }
    void TearDown() override { (void)std::system(("chmod -R u+rwx '" + m_dir + "'; rm -rf '" + m_dir + "'").c_str()); }

    std::string path(const std::string &name) const { return m_dir + "/" + name; }
    // Makes the missing directories on the way too.
    void put(const std::string &name, const std::string &bytes = "", mode_t mode = 0644) const {
        std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << bytes;
        ASSERT_EQ(::chmod(path(name).c_str(), mode), 0) << name;
    }
    void put(std::initializer_list<std::pair<const char *, const char *>> files) const {
        for (auto [name, bytes] : files)
            put(name, bytes);
    }
    std::string get(const std::string &name) const {
        std::ifstream in(path(name), std::ios::binary);
        return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "<absent>";
    }
    bool present(const std::string &name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(path(name)));
    }
    // Names in a directory that start with a dot: left-over temporaries.
    long hiddenEntries(const std::string &name) const {
        return std::count_if(std::filesystem::directory_iterator(path(name)), {},
                             [](const auto &entry) { return entry.path().filename().string()[0] == '.'; });
    }

    std::string m_dir;
};

TEST_F(TreeTest, RemovalNeverFollowsLinksAndCountsWhatAPatternTakes) {
    put({{"outside/keep", "precious"}, {"tree/a/b/f", "x"}, {"tree/top", "y"}, {"box/inner/f", "z"}});
    for (const char *link : {"tree/a/tolink", "rootlink", "boxlink"})
        std::filesystem::create_symlink(path("outside"), path(link));
    std::filesystem::create_symlink("../nowhere", path("tree/dangling"));
    SFileSys::rremove(S(path("tree/")));
    EXPECT_FALSE(present("tree"));
    EXPECT_EQ(get("outside/keep"), "precious");

    // On the name of a link, only the link goes.
    SFileSys::rremove(S(path("rootlink")));
    EXPECT_FALSE(present("rootlink"));
    EXPECT_EQ(get("outside/keep"), "precious");
    SFileSys::rremove(S(path("absent")));

    // Emptying keeps the directory; a link or file is not a directory.
    SFileSys::rremoveContent(S(path("box")));
    EXPECT_TRUE(present("box"));
    EXPECT_FALSE(present("box/inner"));
    for (const char *name : {"boxlink", "outside/keep"}) {
        Err e = Thrown([&] { SFileSys::rremoveContent(S(path(name))); });
        EXPECT_EQ(Code(e), Pair(Err::RemoveContentError, Err::InvalidPath)) << name;
        EXPECT_EQ(Str(e.reason()), std::strerror(ENOTDIR));
    }
    EXPECT_EQ(get("outside/keep"), "precious");

    // By pattern: matching files and empty directories go, their bytes are
    // counted.
    put({{"d/a.tmp", "12345"}, {"d/b.tmp", "123"}, {"d/keep.txt", "k"}, {"d/full.tmp/x", "x"}});
    ASSERT_EQ(::mkdir(path("d/empty.tmp").c_str(), 0755), 0);
    TarnkitTest::CapturingSink sink;
    unsigned long bytes = 77;
    SFileSys::removeContent(S(path("d")), S("*.tmp"), bytes);
    EXPECT_EQ(bytes, 8u);
    // A directory that is not empty is traced and kept.
    for (auto [name, kept] : {std::pair{"d/a.tmp", false}, {"d/empty.tmp", false}, {"d/full.tmp/x", true},
                              {"d/keep.txt", true}})
        EXPECT_EQ(present(name), kept) << name;
    EXPECT_TRUE(sink.saw("SFileSys::removeContent: Can't remove file"));

    __int64 wide = 77;
    SFileSys::removeContentEx(S(path("missing")), S("*"), wide);
    EXPECT_EQ(wide, 77);
    Err e = Thrown([&] { SFileSys::removeContentEx(S(path("d/keep.txt")), S("*"), wide); });
    EXPECT_EQ(e.ErrCode(), Err::RemoveContentError);
    EXPECT_EQ(Str(e.getFunction()), "removeContentEx");
}

// Removal goes on past a stuck entry and names the root; a failed copy or
// move keeps the data on both sides.
TEST_F(TreeTest, DeniedEntriesStopOnlyThemselvesAndLoseNoData) {
    TarnkitTest::AsNobodyInChild([&] {
        put({{"tree/locked/stuck", ""}, {"tree/other/f", ""}, {"tree/zfile", ""}, {"ro/target", "good"}});
        put("source", "new data");
        for (const char *locked : {"tree/locked", "ro"})
            std::filesystem::permissions(path(locked), std::filesystem::perms(0555));
        Err e = Thrown([&] { SFileSys::rremove(S(path("tree"))); });
        EXPECT_EQ(Code(e), Pair(Err::RemoveContentError, Err::AccessDenied));
        EXPECT_EQ(Str(e.getFileName()), path("tree"));
        EXPECT_EQ(Str(e.getFunction()), "rremove");
        for (auto [name, kept] : {std::pair{"tree/locked/stuck", true}, {"tree/other", false}, {"tree/zfile", false}})
            EXPECT_EQ(present(name), kept) << name;

        EXPECT_EQ(Code(Thrown([&] { SFileSys::copyFile(S(path("source")), S(path("ro/target")), true); })),
                  Pair(Err::CopyError, Err::AccessDenied));
        EXPECT_EQ(get("ro/target"), "good");
        EXPECT_EQ(get("source"), "new data");
        EXPECT_EQ(hiddenEntries("ro"), 0);

        EXPECT_EQ(Code(Thrown([&] { SFileSys::renameFile(S(path("source")), S(path("ro/target"))); })),
                  Pair(Err::RenameError, Err::AccessDenied));
        EXPECT_EQ(get("ro/target"), "good");
        EXPECT_EQ(get("source"), "new data");
    });
}

TEST_F(TreeTest, SizesAndCountsOfTrees) {
    put({{"t/a", "1234"}, {"t/sub/b", "12"}, {"t/sub/deeper/c", "1"}, {"elsewhere/huge", "0123456789"}, {"one/f", ""}});
    std::filesystem::create_symlink(path("elsewhere"), path("t/link"));
    EXPECT_EQ(SFileSys::rsize(S(path("t"))), 7u); // the link's target is not counted
    EXPECT_EQ(SFileSys::rsizeEx(S(path("t/"))), 7);
    EXPECT_EQ(SFileSys::countFiles(S(path("t"))), 4u); // a, b, c and the link
    EXPECT_EQ(SFileSys::countAll(S(path("t"))), 7u);   // and t, sub, deeper
    EXPECT_EQ(SFileSys::countFiles(S(path("t/a"))), 1u);
    EXPECT_EQ(SFileSys::countAll(S(path("one"))), 2u);

    // Past 4 GiB the 32-bit tree total refuses; the wide one answers.
    put({{"big/a", ""}, {"big/b", ""}});
    ASSERT_EQ(::truncate(path("big/a").c_str(), 3LL << 30), 0);
    ASSERT_EQ(::truncate(path("big/b").c_str(), 2LL << 30), 0);
    EXPECT_EQ(SFileSys::rsizeEx(S(path("big"))), 5LL << 30);
    Err e = Thrown([&] { SFileSys::rsize(S(path("big"))); });
    EXPECT_EQ(Code(e), Pair(Err::SizeError, Err::FileTooLarge));
    EXPECT_EQ(Str(e.getFileName()), path("big/b"));
    EXPECT_EQ(Str(e.getSecondFileName()), "Size of file exceeds 4 GBytes.");
    EXPECT_EQ(Str(e.getFunction()), "rsize");
}

TEST_F(TreeTest, CopyingKeepsContentModeTimeAndLinksAndMergesTrees) {
    put("file", "payload", 0640);
    struct timespec times[2] = {{1000000000, 0}, {1234567890, 500000000}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("file").c_str(), times, 0), 0);
    SFileSys::copyFile(S(path("file")), S(path("made/for/it/dst")), false);
    EXPECT_EQ(get("made/for/it/dst"), "payload");
    struct stat info {};
    ASSERT_EQ(::stat(path("made/for/it/dst").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_mtim.tv_sec, 1234567890);

    put("other", "old");
    Err e = Thrown([&] { SFileSys::copyFile(S(path("file")), S(path("other")), false); });
    EXPECT_EQ(Code(e), Pair(Err::CopyError, Err::AlreadyExists));
    EXPECT_EQ(Str(e.getSecondFileName()), path("other"));
    EXPECT_EQ(get("other"), "old");
    SFileSys::copyFile(S(path("file")), S(path("other")), true);
    EXPECT_EQ(get("other"), "payload");
    SFileSys::copyFile(S(path("other")), S(path("other")), true); // onto itself: no harm
    EXPECT_EQ(get("other"), "payload");
    EXPECT_EQ(hiddenEntries(""), 0);

    // A FIFO is refused at once instead of blocking the copy.
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0644), 0);
    EXPECT_THROW(SFileSys::copyFile(S(path("fifo")), S(path("fifocopy")), true), Err);
    EXPECT_FALSE(present("fifocopy"));

    // A tree: links are made again, not followed.
    put({{"src/sub/f", "deep"}, {"src/top", "top"}, {"outside/o", "not copied"}});
    std::filesystem::create_symlink("sub/f", path("src/rel"));
    std::filesystem::create_symlink(path("outside"), path("src/out"));
    SFileSys::copyFile(S(path("src")), S(path("dst")), false);
    EXPECT_EQ(get("dst/sub/f"), "deep");
    EXPECT_EQ(get("dst/top"), "top");
    EXPECT_EQ(std::filesystem::read_symlink(path("dst/rel")), "sub/f");
    EXPECT_TRUE(std::filesystem::is_symlink(path("dst/out")));
    EXPECT_FALSE(present("dst/out/o") && !std::filesystem::is_symlink(path("dst/out")));

    // Again without overwriting: every existing file is a failure, and the
    // walk still reaches the rest.
    put({{"src/sub/new", "n"}, {"dst/top", "changed"}});
    e = Thrown([&] { SFileSys::copyFile(S(path("src")), S(path("dst")), false); });
    EXPECT_EQ(e.ErrCode(), Err::CopyError);
    EXPECT_EQ(Str(e.getFileName()), path("src") + "/");
    EXPECT_EQ(Str(e.getFunction()), "copyFile");
    EXPECT_EQ(get("dst/sub/new"), "n");
    EXPECT_EQ(get("dst/top"), "changed");
    SFileSys::copyFile(S(path("src")), S(path("dst")), true);
    EXPECT_EQ(get("dst/top"), "top");

    // Into itself: refused for that entry, and the copy ends.
    EXPECT_EQ(Thrown([&] { SFileSys::copyFile(S(path("src")), S(path("src/sub/inside")), true); }).ErrReason(),
              Err::InvalidPath);
    EXPECT_EQ(get("src/sub/inside/top"), "top");
    EXPECT_FALSE(present("src/sub/inside/sub/inside"));
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
