#include "tarnkit/sfilesys.h"

#include "files/sfilesysdetail.h"
#include "platform/filesystem.h"
#include "support/testsupport.h"
#include "tarnkit/stimezone.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
SAnsiString S(const std::string &s) { return SAnsiString(s.c_str()); }

template <class Body>
SFileSysException Thrown(Body body) {
    try {
        body();
    } catch (const SFileSysException &e) {
        return e;
    }
    ADD_FAILURE() << "no SFileSysException";
    return SFileSysException();
}

class FileSysTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/sfilesys-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
    }
    void TearDown() override { (void)std::system(("rm -rf '" + m_dir + "'").c_str()); }

    std::string path(const std::string &name) const { return m_dir + "/" + name; }
    void put(const std::string &name, const std::string &bytes, mode_t mode = 0644) const {
        int fd = ::open(path(name).c_str(), O_WRONLY | O_CREAT | O_TRUNC, mode);
        ASSERT_GE(fd, 0) << name;
        ASSERT_EQ(::write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        ::close(fd);
    }
    void mkdir(const std::string &name) const { ASSERT_EQ(::mkdir(path(name).c_str(), 0755), 0) << name; }
    static mode_t modeOf(const std::string &p) {
        struct stat info {};
        EXPECT_EQ(::stat(p.c_str(), &info), 0) << p;
        return info.st_mode & 07777;
    }

    std::string m_dir;
};

TEST(SFileSysException, TextsSummaryAndDefaults) {
    SFileSysException blank;
    EXPECT_EQ(blank.ErrCode(), SFileSysException::UnknownError);
    EXPECT_EQ(blank.ErrReason(), SFileSysException::UnknownReason);
    EXPECT_EQ(Str(blank.toString()), "Unknown error in file system operation on file . Reason: ");

    SFileSysException copy(SFileSysException::CopyError, SFileSysException::AlreadyExists, S("a"), S("why"), S("b"),
                           S("copyFile"));
    EXPECT_EQ(Str(copy.toString()),
              "Failed to copy the file a to b in file system operation. Please check access rights. Reason given: why");
    EXPECT_EQ(Str(copy.summary()), Str(copy.toString()) + ", copyFile");

    SFileSysException rename(SFileSysException::RenameError, SFileSysException::AccessDenied, S("x"), S("no"), S("y"),
                             S("renameFile"));
    EXPECT_EQ(Str(rename.toString()), "Failed to rename x to y. Reason: no");

    SFileSysException bad(SFileSysException::BadPathError, SFileSysException::InvalidPath, S("p"), S("r"), S(""), S(""));
    EXPECT_EQ(Str(bad.toString()), "The file p does not exist.  File system operation failed. Reason give: r");

    // Content removal reads as removal; the current-directory code has no
    // sentence and reads as unknown; "not found" has no placeholders.
    SFileSysException content(SFileSysException::RemoveContentError, SFileSysException::FileNotFound, S("f"), S("r"),
                              S(""), S(""));
    SFileSysException removal(SFileSysException::RemoveError, SFileSysException::FileNotFound, S("f"), S("r"), S(""),
                              S(""));
    EXPECT_EQ(Str(content.toString()), Str(removal.toString()));
    SFileSysException cwd(SFileSysException::GetCurrentDirectoryError, SFileSysException::UnknownReason, S("f"),
                          S("r"), S(""), S(""));
    EXPECT_EQ(Str(cwd.toString()), "Unknown error in file system operation on file f. Reason: r");
    SFileSysException missing(SFileSysException::FileNotFoundError, SFileSysException::FileNotFound, S("f"), S("r"),
                              S(""), S(""));
    EXPECT_EQ(Str(missing.toString()), "File not found");

    SFileSysException assigned;
    assigned = copy;
    EXPECT_EQ(Str(assigned.getSecondFileName()), "b");
    EXPECT_EQ(Str(assigned.reason()), "why");
}

TEST_F(FileSysTest, KindsOfNames) {
    put("file", "x");
    mkdir("dir");
    EXPECT_TRUE(SFileSys::exists(S(path("dir"))));
    EXPECT_TRUE(SFileSys::exists(S(path("dir/"))));
    EXPECT_TRUE(SFileSys::exists(S(path("file/"))));
    EXPECT_TRUE(SFileSys::exists(S("/")));
    EXPECT_FALSE(SFileSys::exists(S("")));
    EXPECT_FALSE(SFileSys::exists(S(path("none"))));
    EXPECT_FALSE(SFileSys::exists(S(path("file/child"))));

    EXPECT_TRUE(SFileSys::isDir(S(path("dir/"))));
    EXPECT_FALSE(SFileSys::isDir(S(path("file"))));
    EXPECT_TRUE(SFileSys::isFile(S(path("file"))));
    EXPECT_FALSE(SFileSys::isFile(S(path("dir"))));
    EXPECT_FALSE(SFileSys::isDrive(S(path("dir"))));
    for (const char *function : {"isDir", "isFile", "isDrive"}) {
        SFileSysException e = Thrown([&] {
            if (std::string(function) == "isDir")
                SFileSys::isDir(S(path("none")));
            else if (std::string(function) == "isFile")
                SFileSys::isFile(S(path("none")));
            else
                SFileSys::isDrive(S(path("none")));
        });
        EXPECT_EQ(e.ErrCode(), SFileSysException::FileNotFoundError);
        EXPECT_EQ(e.ErrReason(), SFileSysException::FileNotFound);
        EXPECT_EQ(Str(e.getFunction()), function);
        EXPECT_EQ(Str(e.reason()), std::strerror(ENOENT));
    }

    EXPECT_FALSE(SFileSys::isUNCPath(S("//server/share")));
    EXPECT_TRUE(SFileSys::isFullPath(S("/x")));
    EXPECT_TRUE(SFileSys::isFullPath(S("\\x")));
    EXPECT_FALSE(SFileSys::isFullPath(S("c:/x")));
    EXPECT_FALSE(SFileSys::isFullPath(S("")));
}

TEST_F(FileSysTest, MakingDirectories) {
    SFileSys::makeDirectories(S(path("a/b/c")), SFileSys::defaultPermissions);
    EXPECT_TRUE(SFileSys::isDir(S(path("a/b/c"))));
    SFileSys::makeDirectories(S(path("a/b/c/")), SFileSys::defaultPermissions); // exists: nothing to do
    SFileSys::makeDirectory(S(path("a")), SFileSys::defaultPermissions);

    const mode_t oldMask = ::umask(022);
    SFileSys::makeDirectory(S(path("open")), SFileSys::defaultPermissions);
    SFileSys::makeDirectory(S(path("owner")), SFile::ownerRWXMask);
    ::umask(oldMask);
    EXPECT_EQ(modeOf(path("open")), 0755u);
    EXPECT_EQ(modeOf(path("owner")), 0700u);

    // A relative path makes its first level too.
    const SAnsiString saved = SFileSys::getCurrentDirectory();
    SFileSys::setCurrentDirectory(S(m_dir));
    SFileSys::makeDirectories(S("rel/one"), SFileSys::defaultPermissions);
    SFileSys::setCurrentDirectory(saved);
    EXPECT_TRUE(SFileSys::isDir(S(path("rel/one"))));

    put("plain", "");
    SFileSysException e = Thrown([&] { SFileSys::makeDirectories(S(path("plain/sub/x")), 0x1C0); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::MakeDirectoryError);
    EXPECT_EQ(e.ErrReason(), SFileSysException::FileNotFound);
    EXPECT_EQ(Str(e.getFunction()), "makeDirectory");
}

TEST_F(FileSysTest, RemovingSingleNames) {
    SFileSys::remove(S(path("absent")));
    put("file", "x");
    SFileSys::remove(S(path("file")));
    EXPECT_FALSE(SFileSys::exists(S(path("file"))));

    mkdir("empty");
    SFileSys::remove(S(path("empty/")));
    EXPECT_FALSE(SFileSys::exists(S(path("empty"))));

    mkdir("full");
    put("full/x", "x");
    SFileSysException e = Thrown([&] { SFileSys::remove(S(path("full"))); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::RemoveError);
    EXPECT_EQ(Str(e.getFunction()), "remove");
    EXPECT_TRUE(SFileSys::exists(S(path("full/x"))));

    // A link goes; the directory it names stays with its content.
    ASSERT_EQ(::symlink(path("full").c_str(), path("link").c_str()), 0);
    SFileSys::remove(S(path("link")));
    struct stat info {};
    EXPECT_NE(::lstat(path("link").c_str(), &info), 0);
    EXPECT_TRUE(SFileSys::exists(S(path("full/x"))));
    ASSERT_EQ(::symlink(path("nowhere").c_str(), path("dangling").c_str()), 0);
    SFileSys::remove(S(path("dangling")));
    EXPECT_NE(::lstat(path("dangling").c_str(), &info), 0);
}

TEST_F(FileSysTest, SizesKeepLowBitsInTheNarrowForms) {
    put("small", "12345");
    EXPECT_EQ(SFileSys::size(S(path("small"))), 5u);
    EXPECT_EQ(SFileSys::rsize(S(path("small"))), 5u);
    mkdir("dir");
    EXPECT_EQ(SFileSys::sizeEx(S(path("dir"))), 0);

    // A sparse 5 GiB file: the 32-bit forms keep the low bits.
    put("big", "");
    ASSERT_EQ(::truncate(path("big").c_str(), 5LL << 30), 0);
    EXPECT_EQ(SFileSys::size(S(path("big"))), 1u << 30);
    EXPECT_EQ(SFileSys::sizeEx(S(path("big"))), 5LL << 30);
    EXPECT_EQ(SFileSys::rsizeEx(S(path("big"))), 5LL << 30);

    SFileSysException e = Thrown([&] { SFileSys::size(S(path("none"))); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::FileNotFoundError);
    EXPECT_EQ(Str(e.getFunction()), "size");
}

TEST_F(FileSysTest, ListingBySubdirectoryAndPattern) {
    mkdir("sub");
    put("sub/a.txt", "aaa");
    put("sub/b.log", "b");
    mkdir("sub/inner.txt");
    ASSERT_EQ(::symlink("nowhere", path("sub/gone.txt").c_str()), 0);
    put("top.txt", "t");

    SIArray<FileProp> out;
    out.Add(FileProp());
    SFileSys::listing(S(m_dir), S("sub/*.txt"), out);
    ASSERT_EQ(out.GetSize(), 4u); // appended behind what was there
    EXPECT_EQ(Str(out[1].name), "a.txt");
    EXPECT_EQ(out[1].size, 3u);
    EXPECT_EQ(out[1].flags, 0u);
    struct stat info {};
    ASSERT_EQ(::stat(path("sub/a.txt").c_str(), &info), 0);
    EXPECT_EQ(out[1].modifiedTime, static_cast<__int64>(info.st_mtime));
    EXPECT_EQ(Str(out[2].name), "gone.txt"); // a link to nothing is listed as itself
    EXPECT_EQ(Str(out[3].name), "inner.txt");
    EXPECT_EQ(out[3].flags, FileProp::isDirectoryFlag);
    EXPECT_EQ(out[3].size, 0u);

    SIArray<FileProp> top;
    SFileSys::listing(S(m_dir), S("*.txt"), top);
    ASSERT_EQ(top.GetSize(), 1u);
    EXPECT_EQ(Str(top[0].name), "top.txt");

    SIArray<FileProp> none;
    SFileSys::listing(S(m_dir), S("/missing/*"), none);
    EXPECT_EQ(none.GetSize(), 0u);
    SFileSysException e = Thrown([&] { SFileSys::listing(S(path("none")), S("*"), none); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::FileNotFoundError);
    EXPECT_EQ(Str(e.getFunction()), "listing");
}

TEST_F(FileSysTest, UniqueNames) {
    const SAnsiString first = SFileSys::getUniqueFilename(S(m_dir), S("PreFix"), S("log"), false, 0);
    const SAnsiString second = SFileSys::getUniqueFilename(S(m_dir), S("PreFix"), S("log"), false, 0);
    EXPECT_NE(Str(first), Str(second));
    EXPECT_FALSE(SFileSys::exists(first));
    const std::string name = Str(first);
    EXPECT_EQ(name.rfind(m_dir + "/prefix", 0), 0u) << name;
    EXPECT_EQ(name.substr(name.size() - 4), ".log");
    for (char c : name.substr(m_dir.size()))
        EXPECT_FALSE(c >= 'A' && c <= 'Z') << name;

    // Created exclusively, owner-only; missing directories are made.
    const SAnsiString made = SFileSys::getUniqueFilename(S(path("new/deeper")), S("f"), S(""), true,
                                                         SFileSys::defaultPermissions);
    EXPECT_TRUE(SFileSys::isFile(made));
    EXPECT_EQ(modeOf(Str(made)), 0600u);
    EXPECT_EQ(modeOf(path("new/deeper")), 0700u);

    const SAnsiString dir = SFileSys::getUniqueDirname(S(m_dir), S("d"), true, SFileSys::defaultPermissions);
    EXPECT_EQ(Str(dir).back(), '/');
    EXPECT_TRUE(SFileSys::isDir(dir));
    EXPECT_EQ(modeOf(Str(dir)), 0700u);

    put("plain", "");
    SFileSysException e = Thrown([&] { SFileSys::getUniqueFilename(S(path("plain")), S("x"), S(""), true, 0); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::UniqueNameError);
    EXPECT_EQ(e.ErrReason(), SFileSysException::InvalidPath);
    EXPECT_EQ(Str(e.reason()), std::strerror(ENOTDIR));
}

TEST_F(FileSysTest, TemporaryNamesFollowTmpdir) {
    const char *old = std::getenv("TMPDIR");
    const std::string saved = old != nullptr ? old : "";
    ::setenv("TMPDIR", m_dir.c_str(), 1);
    EXPECT_EQ(Str(SFileSys::getTempDirname()), m_dir + "/");
    const SAnsiString temp = SFileSys::getTempFilename(S("tmp"));
    EXPECT_EQ(Str(temp).rfind(m_dir + "/tmp", 0), 0u);
    EXPECT_TRUE(SFileSys::isFile(temp));
    ::setenv("TMPDIR", "", 1);
    EXPECT_EQ(Str(SFileSys::getTempDirname()), "/tmp/");
    if (old != nullptr)
        ::setenv("TMPDIR", saved.c_str(), 1);
    else
        ::unsetenv("TMPDIR");
}

TEST_F(FileSysTest, RenamingFiles) {
    put("from", "new");
    put("to", "old");
    SFileSys::renameFile(S(path("from")), S(path("to")));
    EXPECT_FALSE(SFileSys::exists(S(path("from"))));
    EXPECT_EQ(SFileSys::size(S(path("to"))), 3u);

    TarnkitTest::CapturingSink sink;
    mkdir("dir");
    SFileSys::renameFile(S(path("dir")), S(path("moved")));
    EXPECT_TRUE(SFileSys::isDir(S(path("dir"))));
    EXPECT_FALSE(SFileSys::exists(S(path("moved"))));
    EXPECT_TRUE(sink.saw("Directory rename not supported"));

    SFileSysException e = Thrown([&] { SFileSys::renameFile(S(path("none")), S(path("x"))); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::FileNotFoundError);
    SFileSysException denied = Thrown([&] { SFileSys::renameFile(S(path("to")), S(path("dir"))); });
    EXPECT_EQ(denied.ErrCode(), SFileSysException::RenameError);
    EXPECT_EQ(Str(denied.getSecondFileName()), path("dir"));
    EXPECT_TRUE(SFileSys::exists(S(path("to"))));
}

TEST_F(FileSysTest, ModificationTimes) {
    put("file", "x");
    const SDateTime when(2021, 3, 4, 5, 6, 7, 890, STimeZone::TZ_UTC());
    SFileSys::setLastModifiedTime(S(path("file")), when);
    EXPECT_TRUE(SFileSys::getLastModifiedTime(S(path("file"))) == when);
    struct stat info {};
    ASSERT_EQ(::stat(path("file").c_str(), &info), 0);
    EXPECT_EQ(info.st_mtim.tv_nsec, 890000000L);
    EXPECT_EQ(info.st_atim.tv_sec, info.st_mtim.tv_sec);

    SFileSysException e = Thrown([&] { SFileSys::getLastModifiedTime(S(path("none"))); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::FileNotFoundError);
    EXPECT_EQ(Str(e.getFunction()), "getLastModifiedTime");
}

TEST_F(FileSysTest, OwnerAccessBits) {
    put("file", "x", 0644);
    SFileSys::giveAccess(S(path("file")), SFile::ownerRMask);
    EXPECT_EQ(modeOf(path("file")), 0444u); // group and others untouched
    EXPECT_FALSE(SFileSys::HasOwnerWritePermission(S(path("file"))));

    SFileSys::giveAllAccess(S(path("file")), false);
    EXPECT_EQ(modeOf(path("file")), 0644u); // not made executable
    SFileSys::giveAllAccess(S(path("file")), true);
    EXPECT_EQ(modeOf(path("file")), 0744u);
    EXPECT_TRUE(SFileSys::HasOwnerExePermission(S(path("file"))));
    SFileSys::giveAllAccess(S(path("file")), false);
    EXPECT_EQ(modeOf(path("file")), 0744u); // execute kept
    EXPECT_TRUE(SFileSys::HasOwnerWritePermission(S(path("file"))));

    TarnkitTest::CapturingSink sink;
    mkdir("dir");
    EXPECT_FALSE(SFileSys::HasOwnerExePermission(S(path("dir"))));
    EXPECT_TRUE(sink.saw("HasOwnerPermission is not implemented for directories"));
    SFileSysException e = Thrown([&] { SFileSys::HasOwnerWritePermission(S(path("none"))); });
    EXPECT_EQ(Str(e.getFunction()), "HasOwnerExePermission");
    SFileSys::setFileOwner(S(path("file")), S("nobody"));
}

TEST_F(FileSysTest, DiskStatistics) {
    __int64 available = -1, total = -1, free = -1;
    SFileSys::diskUsageInfo(S(m_dir), available, total, free);
    struct statvfs info {};
    ASSERT_EQ(::statvfs(m_dir.c_str(), &info), 0);
    EXPECT_EQ(total, static_cast<__int64>(info.f_blocks * info.f_frsize));
    EXPECT_GT(total, 0);
    EXPECT_LE(available, free);
    EXPECT_LE(free, total);

    put("file", "x");
    SFileSysException e = Thrown([&] { SFileSys::diskUsageInfo(S(path("file")), available, total, free); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::DiskStatisticsError);
    EXPECT_EQ(e.ErrReason(), SFileSysException::InvalidPath);
    EXPECT_EQ(total, 0);
}

TEST_F(FileSysTest, CurrentDirectoryAndFullPaths) {
    const SAnsiString saved = SFileSys::getCurrentDirectory();
    mkdir("work");
    SFileSys::setCurrentDirectory(S(path("work")));
    char real[4096];
    ASSERT_NE(::realpath(m_dir.c_str(), real), nullptr);
    const std::string parent = real;

    EXPECT_EQ(Str(SFileSys::getFullPath(S(""))), parent + "/work");
    EXPECT_EQ(Str(SFileSys::getFullPath(S("../name"))), parent + "/name");
    EXPECT_EQ(Str(SFileSys::getFullPath(S("./a/../b"))), parent + "/work/a/../b");
    EXPECT_EQ(Str(SFileSys::getFullPath(S("..\\x"))), parent + "/x");
    EXPECT_EQ(Str(SFileSys::getFullPath(S("\\abs\\y"))), "/abs/y");
    EXPECT_EQ(Str(SFileSys::getCurrentDirectory()), parent + "/work"); // unchanged

    SFileSysException e = Thrown([&] { SFileSys::setCurrentDirectory(S(path("none"))); });
    EXPECT_EQ(e.ErrCode(), SFileSysException::SetCurrentDirectoryError);
    EXPECT_EQ(e.ErrReason(), SFileSysException::FileNotFound);
    SFileSys::setCurrentDirectory(saved);
}

TEST(FileSysPaths, LeadingDotsResolveByText) {
    using FileSysDetail::ResolveLeadingDots;
    EXPECT_EQ(ResolveLeadingDots("/a/b", "../../../x"), "/x");
    EXPECT_EQ(ResolveLeadingDots("/", "../x"), "/x");
    EXPECT_EQ(ResolveLeadingDots("/a", "./../b/./c"), "/b/./c");
    EXPECT_EQ(ResolveLeadingDots("/a", "..."), "/a/...");
    EXPECT_EQ(ResolveLeadingDots("/a", ".."), "/a/..");
    EXPECT_EQ(ResolveLeadingDots("", "../x"), "../x");

    std::string sub, pattern;
    FileSysDetail::SplitListingFileSpec("/sub/dir/*.c", sub, pattern);
    EXPECT_EQ(sub, "sub/dir");
    EXPECT_EQ(pattern, "*.c");
    FileSysDetail::SplitListingFileSpec("*", sub, pattern);
    EXPECT_EQ(sub, "");
    EXPECT_EQ(pattern, "*");

    // What the recursive removals refuse to empty.
    EXPECT_TRUE(Platform::IsSystemRoot("/tmp/.."));
    EXPECT_TRUE(Platform::IsSystemRoot("//"));
    EXPECT_FALSE(Platform::IsSystemRoot("/tmp"));
    EXPECT_FALSE(Platform::IsSystemRoot("/nonexistent-dir"));
}

} // namespace
