// Tests of the single-name file-system operations: the exception's texts, kinds
// of names, directories, removal, sizes, listings, unique and temporary names,
// renames, times, access bits, disk statistics and full paths.
#include "tarnkit/sfilesys.h"

#include "files/sfilesysdetail.h"
#include "platform/filesystem.h"
#include "support/testsupport.h"
#include "tarnkit/stimezone.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <tuple>
#include <unistd.h>

using namespace TarnkitA201;
using Err = SFileSysException;
namespace fs = std::filesystem;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
SAnsiString S(const std::string &s) { return SAnsiString(s.c_str()); }
// A listed entry's name, size and flags.
std::tuple<std::string, uint32_t, uint32_t> Entry(const FileProp &p) { return {Str(p.name), p.size, p.flags}; }

std::string Sentence(Err::ErrorCodes code, Err::ErrorReasons reason, const char *file, const char *why,
                     const char *second = "") {
    return Str(Err(code, reason, file, why, second, "").toString());
}

// What `body` throws, checked for its code and, where given, the name of the operation and the reason.
template <class Body>
Err Thrown(Body body, Err::ErrorCodes code, const char *function = nullptr, int reason = -1) {
    try {
        body();
    } catch (const Err &e) {
        EXPECT_EQ(e.ErrCode(), code);
        EXPECT_TRUE(function == nullptr || Str(e.getFunction()) == function) << Str(e.getFunction());
        EXPECT_TRUE(reason < 0 || e.ErrReason() == reason) << e.ErrReason();
        return e;
    }
    ADD_FAILURE() << "no SFileSysException";
    return Err();
}

struct FileSysTest : ::testing::Test {
    void SetUp() override {
        ASSERT_NE(mkdtemp(m_dir.data()), nullptr);
        // Most tests need a plain file and a directory.
        put("file", "x");
        mkdir("dir");
    }
    void TearDown() override { (void)std::system(("rm -rf '" + m_dir + "'").c_str()); }

    std::string path(const std::string &name) const { return m_dir + "/" + name; }
    SAnsiString at(const std::string &name) const { return S(path(name)); }
    // Makes the missing directories on the way too.
    void put(const std::string &name, const std::string &bytes) const {
        fs::create_directories(fs::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << bytes;
        ASSERT_EQ(::chmod(path(name).c_str(), 0644), 0) << name;
    }
    void mkdir(const std::string &name) const { ASSERT_EQ(::mkdir(path(name).c_str(), 0755), 0) << name; }
    static unsigned modeOf(const std::string &p) { return static_cast<unsigned>(fs::status(p).permissions()); }

    std::string m_dir = "/tmp/sfilesys-XXXXXX";
};

TEST(SFileSysException, TextsSummaryAndDefaults) {
    EXPECT_EQ(Err().ErrCode(), Err::UnknownError);
    EXPECT_EQ(Err().ErrReason(), Err::UnknownReason);
    EXPECT_EQ(Str(Err().toString()), "Unknown error in file system operation on file . Reason: ");

    Err copy(Err::CopyError, Err::AlreadyExists, "a", "why", "b", "copyFile");
    EXPECT_EQ(Str(copy.toString()),
              "Failed to copy the file a to b in file system operation. Please check access rights. Reason given: why");
    EXPECT_EQ(Str(copy.summary()), Str(copy.toString()) + ", copyFile");
    Err assigned;
    EXPECT_EQ(Str((assigned = copy).getSecondFileName()), "b");
    EXPECT_EQ(Str(assigned.reason()), "why");

    EXPECT_EQ(Sentence(Err::RenameError, Err::AccessDenied, "x", "no", "y"), "Failed to rename x to y. Reason: no");
    EXPECT_EQ(Sentence(Err::BadPathError, Err::InvalidPath, "p", "r"),
              "The file p does not exist.  File system operation failed. Reason give: r");
    // Content removal reads as removal; the current-directory code has no
    // sentence and reads as unknown; "not found" has no placeholders.
    EXPECT_EQ(Sentence(Err::RemoveContentError, Err::FileNotFound, "f", "r"),
              Sentence(Err::RemoveError, Err::FileNotFound, "f", "r"));
    EXPECT_EQ(Sentence(Err::GetCurrentDirectoryError, Err::UnknownReason, "f", "r"),
              "Unknown error in file system operation on file f. Reason: r");
    EXPECT_EQ(Sentence(Err::FileNotFoundError, Err::FileNotFound, "f", "r"), "File not found");
}

TEST_F(FileSysTest, KindsTimesAndOwnerAccessBitsOfNames) {
    for (const std::string &name : {path("dir"), path("dir/"), path("file/"), std::string("/")})
        EXPECT_TRUE(SFileSys::exists(S(name))) << name;
    for (const std::string &name : {std::string(), path("none"), path("file/child")})
        EXPECT_FALSE(SFileSys::exists(S(name))) << name;

    // Each probe's answer for the directory (with and without its slash) and for the file.
    const std::tuple<const char *, bool (*)(const SAnsiString &), bool, bool> probes[] = {
        {"isDir", SFileSys::isDir, true, false},
        {"isFile", SFileSys::isFile, false, true},
        {"isDrive", SFileSys::isDrive, false, false}};
    for (const auto &[name, probe, onDir, onFile] : probes) {
        EXPECT_EQ(probe(at("dir")), onDir) << name;
        EXPECT_EQ(probe(at("dir/")), onDir) << name;
        EXPECT_EQ(probe(at("file")), onFile) << name;
        Err e = Thrown([&, probe = probe] { probe(at("none")); }, Err::FileNotFoundError, name, Err::FileNotFound);
        EXPECT_EQ(Str(e.reason()), std::strerror(ENOENT));
    }

    EXPECT_FALSE(SFileSys::isUNCPath("//server/share"));
    for (auto [name, full] : {std::pair{"/x", true}, {"\\x", true}, {"c:/x", false}, {"", false}})
        EXPECT_EQ(SFileSys::isFullPath(name), full) << name;

    const SDateTime when(2021, 3, 4, 5, 6, 7, 890, STimeZone::TZ_UTC());
    SFileSys::setLastModifiedTime(at("file"), when);
    EXPECT_TRUE(SFileSys::getLastModifiedTime(at("file")) == when);
    struct stat info {};
    ASSERT_EQ(::stat(path("file").c_str(), &info), 0);
    EXPECT_EQ(info.st_mtim.tv_nsec, 890000000L);
    EXPECT_EQ(info.st_atim.tv_sec, info.st_mtim.tv_sec);
    Thrown([&] { SFileSys::getLastModifiedTime(at("none")); }, Err::FileNotFoundError, "getLastModifiedTime");

    SFileSys::giveAccess(at("file"), SFile::ownerRMask);
    EXPECT_EQ(modeOf(path("file")), 0444u); // group and others untouched
    EXPECT_FALSE(SFileSys::HasOwnerWritePermission(at("file")));
    // Execute is given only when asked for, and never taken away.
    for (auto [executable, mode] : {std::pair{false, 0644u}, {true, 0744u}, {false, 0744u}}) {
        SFileSys::giveAllAccess(at("file"), executable);
        EXPECT_EQ(modeOf(path("file")), mode) << executable;
    }
    EXPECT_TRUE(SFileSys::HasOwnerExePermission(at("file")));
    EXPECT_TRUE(SFileSys::HasOwnerWritePermission(at("file")));

    TarnkitTest::CapturingSink sink;
    EXPECT_FALSE(SFileSys::HasOwnerExePermission(at("dir")));
    EXPECT_TRUE(sink.saw("HasOwnerPermission is not implemented for directories"));
    Thrown([&] { SFileSys::HasOwnerWritePermission(at("none")); }, Err::FileNotFoundError, "HasOwnerExePermission");
    SFileSys::setFileOwner(at("file"), "nobody");
}

TEST_F(FileSysTest, MakingRemovingAndRenamingSingleNames) {
    SFileSys::makeDirectories(at("a/b/c"), SFileSys::defaultPermissions);
    EXPECT_TRUE(SFileSys::isDir(at("a/b/c")));
    SFileSys::makeDirectories(at("a/b/c/"), SFileSys::defaultPermissions); // exists: nothing to do
    SFileSys::makeDirectory(at("a"), SFileSys::defaultPermissions);

    const mode_t oldMask = ::umask(022);
    SFileSys::makeDirectory(at("open"), SFileSys::defaultPermissions);
    SFileSys::makeDirectory(at("owner"), SFile::ownerRWXMask);
    ::umask(oldMask);
    EXPECT_EQ(modeOf(path("open")), 0755u);
    EXPECT_EQ(modeOf(path("owner")), 0700u);

    Thrown([&] { SFileSys::makeDirectories(at("file/sub/x"), 0x1C0); }, Err::MakeDirectoryError, "makeDirectory",
           Err::FileNotFound);

    mkdir("empty");
    for (const char *name : {"absent", "file", "empty/"}) {
        SFileSys::remove(at(name));
        EXPECT_FALSE(SFileSys::exists(at(name))) << name;
    }

    put("full/x", "x");
    Thrown([&] { SFileSys::remove(at("full")); }, Err::RemoveError, "remove");
    EXPECT_TRUE(SFileSys::exists(at("full/x")));

    // A link goes, dangling or not; the directory it names stays with its content.
    for (const char *target : {"full", "nowhere"}) {
        fs::create_symlink(path(target), path("link"));
        SFileSys::remove(at("link"));
        EXPECT_FALSE(fs::exists(fs::symlink_status(path("link")))) << target;
        EXPECT_TRUE(SFileSys::exists(at("full/x")));
    }

    // Renames.
    put("from", "new");
    put("to", "old");
    SFileSys::renameFile(at("from"), at("to"));
    EXPECT_FALSE(SFileSys::exists(at("from")));
    EXPECT_EQ(SFileSys::size(at("to")), 3u);

    TarnkitTest::CapturingSink sink;
    SFileSys::renameFile(at("dir"), at("moved"));
    EXPECT_TRUE(SFileSys::isDir(at("dir")));
    EXPECT_FALSE(SFileSys::exists(at("moved")));
    EXPECT_TRUE(sink.saw("Directory rename not supported"));

    Thrown([&] { SFileSys::renameFile(at("none"), at("x")); }, Err::FileNotFoundError);
    Err denied = Thrown([&] { SFileSys::renameFile(at("to"), at("dir")); }, Err::RenameError);
    EXPECT_EQ(Str(denied.getSecondFileName()), path("dir"));
    EXPECT_TRUE(SFileSys::exists(at("to")));
}

TEST_F(FileSysTest, SizesKeepLowBitsInTheNarrowFormsAndDiskStatistics) {
    put("small", "12345");
    EXPECT_EQ(SFileSys::size(at("small")), 5u);
    EXPECT_EQ(SFileSys::rsize(at("small")), 5u);
    EXPECT_EQ(SFileSys::sizeEx(at("dir")), 0);

    // A sparse 5 GiB file: the 32-bit forms keep the low bits.
    put("big", "");
    ASSERT_EQ(::truncate(path("big").c_str(), 5LL << 30), 0);
    EXPECT_EQ(SFileSys::size(at("big")), 1u << 30);
    EXPECT_EQ(SFileSys::sizeEx(at("big")), 5LL << 30);
    EXPECT_EQ(SFileSys::rsizeEx(at("big")), 5LL << 30);
    Thrown([&] { SFileSys::size(at("none")); }, Err::FileNotFoundError, "size");

    // The disk's statistics.
    __int64 available = -1, total = -1, free = -1;
    SFileSys::diskUsageInfo(S(m_dir), available, total, free);
    struct statvfs info {};
    ASSERT_EQ(::statvfs(m_dir.c_str(), &info), 0);
    EXPECT_EQ(total, static_cast<__int64>(info.f_blocks * info.f_frsize));
    EXPECT_GT(total, 0);
    EXPECT_LE(available, free);
    EXPECT_LE(free, total);

    Thrown([&] { SFileSys::diskUsageInfo(at("file"), available, total, free); }, Err::DiskStatisticsError, nullptr,
           Err::InvalidPath);
    EXPECT_EQ(total, 0);
}

TEST_F(FileSysTest, ListingBySubdirectoryAndPattern) {
    put("sub/a.txt", "aaa");
    put("sub/b.log", "b");
    mkdir("sub/inner.txt");
    fs::create_symlink("nowhere", path("sub/gone.txt"));
    put("top.txt", "t");

    SIArray<FileProp> out;
    out.Add(FileProp());
    SFileSys::listing(S(m_dir), "sub/*.txt", out);
    ASSERT_EQ(out.GetSize(), 4u); // appended behind what was there
    EXPECT_EQ(Entry(out[1]), std::tuple("a.txt", 3u, 0u));
    struct stat info {};
    ASSERT_EQ(::stat(path("sub/a.txt").c_str(), &info), 0);
    EXPECT_EQ(out[1].modifiedTime, static_cast<__int64>(info.st_mtime));
    EXPECT_EQ(Str(out[2].name), "gone.txt"); // a link to nothing is listed as itself
    EXPECT_EQ(Entry(out[3]), std::tuple("inner.txt", 0u, FileProp::isDirectoryFlag));

    SIArray<FileProp> top;
    SFileSys::listing(S(m_dir), "*.txt", top);
    ASSERT_EQ(top.GetSize(), 1u);
    EXPECT_EQ(Str(top[0].name), "top.txt");

    SIArray<FileProp> none;
    SFileSys::listing(S(m_dir), "/missing/*", none);
    EXPECT_EQ(none.GetSize(), 0u);
    Thrown([&] { SFileSys::listing(at("none"), "*", none); }, Err::FileNotFoundError, "listing");
}

TEST_F(FileSysTest, UniqueAndTemporaryNames) {
    const std::string name = Str(SFileSys::getUniqueFilename(S(m_dir), "PreFix", "log", false, 0));
    EXPECT_NE(name, Str(SFileSys::getUniqueFilename(S(m_dir), "PreFix", "log", false, 0)));
    EXPECT_FALSE(SFileSys::exists(S(name)));
    EXPECT_EQ(name.rfind(m_dir + "/prefix", 0), 0u) << name;
    EXPECT_EQ(name.substr(name.size() - 4), ".log");
    for (char c : name.substr(m_dir.size()))
        EXPECT_FALSE(c >= 'A' && c <= 'Z') << name;

    // Created exclusively, owner-only; missing directories are made.
    const SAnsiString made = SFileSys::getUniqueFilename(at("new/deeper"), "f", "", true, SFileSys::defaultPermissions);
    EXPECT_TRUE(SFileSys::isFile(made));
    EXPECT_EQ(modeOf(Str(made)), 0600u);
    EXPECT_EQ(modeOf(path("new/deeper")), 0700u);
    const SAnsiString dir = SFileSys::getUniqueDirname(S(m_dir), "d", true, SFileSys::defaultPermissions);
    EXPECT_EQ(Str(dir).back(), '/');
    EXPECT_TRUE(SFileSys::isDir(dir));
    EXPECT_EQ(modeOf(Str(dir)), 0700u);

    Err e = Thrown([&] { SFileSys::getUniqueFilename(at("file"), "x", "", true, 0); }, Err::UniqueNameError, nullptr,
                   Err::InvalidPath);
    EXPECT_EQ(Str(e.reason()), std::strerror(ENOTDIR));

    // Temporary names follow TMPDIR.
    const char *old = std::getenv("TMPDIR");
    const std::string saved = old != nullptr ? old : "";
    ::setenv("TMPDIR", m_dir.c_str(), 1);
    EXPECT_EQ(Str(SFileSys::getTempDirname()), m_dir + "/");
    const SAnsiString temp = SFileSys::getTempFilename("tmp");
    EXPECT_EQ(Str(temp).rfind(m_dir + "/tmp", 0), 0u);
    EXPECT_TRUE(SFileSys::isFile(temp));
    ::setenv("TMPDIR", "", 1);
    EXPECT_EQ(Str(SFileSys::getTempDirname()), "/tmp/");
    (void)(old != nullptr ? ::setenv("TMPDIR", saved.c_str(), 1) : ::unsetenv("TMPDIR"));
}

TEST_F(FileSysTest, CurrentDirectoryRelativeNamesFullPathsAndLeadingDots) {
    const SAnsiString saved = SFileSys::getCurrentDirectory();
    mkdir("work");
    SFileSys::setCurrentDirectory(at("work"));
    const std::string parent = fs::canonical(m_dir);
    EXPECT_EQ(Str(SFileSys::getFullPath("")), parent + "/work");
    EXPECT_EQ(Str(SFileSys::getFullPath("../name")), parent + "/name");
    EXPECT_EQ(Str(SFileSys::getFullPath("./a/../b")), parent + "/work/a/../b");
    EXPECT_EQ(Str(SFileSys::getFullPath("..\\x")), parent + "/x");
    EXPECT_EQ(Str(SFileSys::getFullPath("\\abs\\y")), "/abs/y");
    EXPECT_EQ(Str(SFileSys::getCurrentDirectory()), parent + "/work"); // unchanged
    // A relative path makes its first level too.
    SFileSys::makeDirectories("rel/one", SFileSys::defaultPermissions);
    EXPECT_TRUE(SFileSys::isDir(at("work/rel/one")));

    Thrown([&] { SFileSys::setCurrentDirectory(at("none")); }, Err::SetCurrentDirectoryError, nullptr,
           Err::FileNotFound);
    SFileSys::setCurrentDirectory(saved);

    // Leading dots resolve by text alone.
    const char *const dots[][3] = {{"/a/b", "../../../x", "/x"}, {"/", "../x", "/x"},   {"/a", "./../b/./c", "/b/./c"},
                                   {"/a", "...", "/a/..."},      {"/a", "..", "/a/.."}, {"", "../x", "../x"}};
    for (const auto &row : dots)
        EXPECT_EQ(FileSysDetail::ResolveLeadingDots(row[0], row[1]), row[2]) << row[0] << " + " << row[1];

    std::string splitSubdirectory, splitPattern; // reused: each split replaces what was there
    for (auto [given, subdirectory, pattern] : {std::tuple{"/sub/dir/*.c", "sub/dir", "*.c"}, {"*", "", "*"}}) {
        FileSysDetail::SplitListingFileSpec(given, splitSubdirectory, splitPattern);
        EXPECT_EQ(splitSubdirectory, subdirectory) << given;
        EXPECT_EQ(splitPattern, pattern) << given;
    }

    // What the recursive removals refuse to empty.
    for (auto [name, root] : {std::pair{"/tmp/..", true}, {"//", true}, {"/tmp", false}, {"/nonexistent-dir", false}})
        EXPECT_EQ(Platform::IsSystemRoot(name), root) << name;
}

} // namespace
