// Splitting and making file names, and the slash edits of directory texts.
#include "tarnkit/sstringhelper.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

struct Split {
    int rc;
    std::string drive, dir, name, ext;
};

Split SplitAll(const std::string &path) {
    char drive[3] = "?", dir[4096] = "?", name[256] = "?", ext[256] = "?";
    int rc = SplitPath(path.c_str(), drive, sizeof drive, dir, sizeof dir, name, sizeof name, ext, sizeof ext);
    return {rc, drive, dir, name, ext};
}

template <class F>
std::string Edited(const char *text, char slash, F edit) {
    SAnsiString s(text);
    edit(s, slash);
    return Str(s);
}

} // namespace

TEST(PathHelpers, SplitPathPieces) {
    Split s = SplitAll("/usr/lib/libz.so.1");
    EXPECT_EQ(s.rc, 0);
    EXPECT_EQ(s.drive, "");
    EXPECT_EQ(s.dir, "/usr/lib/");
    EXPECT_EQ(s.name, "libz.so");
    EXPECT_EQ(s.ext, ".1");

    s = SplitAll("C:\\data\\report.txt"); // both slashes end a directory; no drive here
    EXPECT_EQ(s.dir, "C:\\data\\");
    EXPECT_EQ(s.name, "report");
    EXPECT_EQ(s.ext, ".txt");

    s = SplitAll("dir.d/noext");
    EXPECT_EQ(s.dir, "dir.d/");
    EXPECT_EQ(s.name, "noext");
    EXPECT_EQ(s.ext, "");

    s = SplitAll(".profile"); // the extension starts at the last dot, as the run time splits it
    EXPECT_EQ(s.name, "");
    EXPECT_EQ(s.ext, ".profile");

    s = SplitAll("");
    EXPECT_EQ(s.rc, 0);
    EXPECT_EQ(s.dir + s.name + s.ext, "");

    // Pieces may be skipped with a null buffer and size 0.
    char name[8];
    EXPECT_EQ(SplitPath("/a/b.c", nullptr, 0, nullptr, 0, name, sizeof name, nullptr, 0), 0);
    EXPECT_STREQ(name, "b");
}

TEST(PathHelpers, SplitPathLimitsLeaveBuffersUntouched) {
    TarnkitTest::CapturingSink sink;
    const std::string longName(256, 'n');
    Split s = SplitAll("/d/" + longName);
    EXPECT_EQ(s.rc, ERANGE);
    EXPECT_EQ(s.dir, "?");
    EXPECT_EQ(s.name, "?");
    EXPECT_TRUE(sink.saw("too long"));

    EXPECT_EQ(SplitAll("/d/" + std::string(255, 'n') + "." + std::string(254, 'e')).rc, 0);
    EXPECT_EQ(SplitAll("/d/x." + std::string(255, 'e')).rc, ERANGE);

    // Directories may be as long as a whole path, longer than 255 bytes.
    const std::string longDir = "/" + std::string(4093, 'd') + "/";
    s = SplitAll(longDir + "f");
    EXPECT_EQ(s.rc, 0);
    EXPECT_EQ(s.dir, longDir);
    EXPECT_EQ(SplitAll("/" + std::string(4094, 'd') + "/f").rc, ERANGE);

    char tiny[4] = "?";
    EXPECT_EQ(SplitPath("/abc/d", nullptr, 0, tiny, sizeof tiny, nullptr, 0, nullptr, 0), ERANGE);
    EXPECT_STREQ(tiny, "?");
    EXPECT_EQ(SplitPath("/abc/d", nullptr, 0, tiny, 0, nullptr, 0, nullptr, 0), EINVAL);
    EXPECT_EQ(SplitPath("/abc/d", nullptr, 0, nullptr, 5, nullptr, 0, nullptr, 0), EINVAL);
}

TEST(PathHelpers, SplitPathExKeepsOutputsOfEmptyPieces) {
    SAnsiString dir("old-dir"), name("old-name"), ext("old-ext");
    EXPECT_TRUE(SplitPathEx("/var/log/syslog.1", dir, name, ext, '/'));
    EXPECT_EQ(Str(dir), "/var/log/");
    EXPECT_EQ(Str(name), "syslog");
    EXPECT_EQ(Str(ext), ".1");

    EXPECT_TRUE(SplitPathEx("README", dir, name, ext));
    EXPECT_EQ(Str(dir), "/var/log/"); // empty pieces leave the old values
    EXPECT_EQ(Str(name), "README");
    EXPECT_EQ(Str(ext), ".1");

    TarnkitTest::CapturingSink sink;
    EXPECT_FALSE(SplitPathEx(("/x/" + std::string(300, 'n')).c_str(), dir, name, ext));
    EXPECT_EQ(Str(name), "README");
}

TEST(PathHelpers, MakePath) {
    EXPECT_EQ(Str(MakePath("", "/usr/lib", "libz", "so")), "/usr/lib/libz.so");
    EXPECT_EQ(Str(MakePath("", "/usr/lib/", "libz", ".so")), "/usr/lib/libz.so");
    EXPECT_EQ(Str(MakePath("", "C:\\dir\\", "f", "")), "C:\\dir\\f");
    EXPECT_EQ(Str(MakePath("", "", "name", "")), "name");
    EXPECT_EQ(Str(MakePath("C", "d", "n", "e")), "d/n.e"); // no drives on this platform
    EXPECT_EQ(Str(MakePath("", "", "", "")), "");

    // Round trip with the split.
    SAnsiString dir, name, ext;
    ASSERT_TRUE(SplitPathEx("/a/b/c.tar.gz", dir, name, ext));
    EXPECT_EQ(Str(MakePath("", dir, name, ext)), "/a/b/c.tar.gz");

    TarnkitTest::CapturingSink sink;
    const std::string dirMax(4095, 'd'), nameMax(255, 'n'), extMax(255, 'e');
    EXPECT_EQ(MakePath("", dirMax.c_str(), nameMax.c_str(), extMax.c_str()).getLength(), 4607u);
    EXPECT_TRUE(MakePath("", (dirMax + "d").c_str(), nameMax.c_str(), extMax.c_str()).isEmpty());
    EXPECT_TRUE(sink.saw("MakePath"));
}

TEST(PathHelpers, SlashEdits) {
    EXPECT_EQ(Edited("a/b\\c", '/', UnifyAllSlashes), "a/b/c");
    EXPECT_EQ(Edited("a/b\\c", '\\', UnifyAllSlashes), "a\\b\\c");
    EXPECT_EQ(Edited("a/b\\c", ':', UnifyAllSlashes), "a:b\\c"); // any other slash replaces "/"
    EXPECT_EQ(Edited("", '/', UnifyAllSlashes), "");

    EXPECT_EQ(Edited("/a", '/', StripSlashOffDirBegin), "a");
    EXPECT_EQ(Edited("//a", '/', StripSlashOffDirBegin), "/a"); // one only
    EXPECT_EQ(Edited("/", '/', StripSlashOffDirBegin), "/");
    EXPECT_EQ(Edited("\\a", '/', StripSlashOffDirBegin), "\\a");

    EXPECT_EQ(Edited("/", '/', StripSlashOffDirEnd), "/");
    EXPECT_EQ(Edited("a/", '/', StripSlashOffDirEnd), "a");
    EXPECT_EQ(Edited("a\\", '/', StripSlashOffDirEnd), "a\\");
    EXPECT_EQ(Edited("a/", 'x', StripSlashOffDirEnd), "a"); // "/" for any slash but "\"
    EXPECT_EQ(Edited("C:\\", '\\', StripSlashOffDirEnd), "C:\\");
    EXPECT_EQ(Edited("C:\\d\\", '\\', StripSlashOffDirEnd), "C:\\d");
    EXPECT_EQ(Edited("a//", '/', StripSlashOffDirEnd), "a/");
}

TEST(PathHelpers, ParentAndBottomLevels) {
    EXPECT_EQ(Str(GetParentLevelDir("abc", '\\')), "");
    EXPECT_EQ(Str(GetParentLevelDir("", '/')), "");
    EXPECT_EQ(Str(GetParentLevelDir("/a/b/c/", '/')), "/a/b");
    EXPECT_EQ(Str(GetParentLevelDir("/a", '/')), "");
    EXPECT_EQ(Str(GetParentLevelDir("C:\\x\\y", '\\')), "C:\\x");

    EXPECT_EQ(Str(GetBottomLevelDir("/a/b/c/", '/')), "c");
    EXPECT_EQ(Str(GetBottomLevelDir("abc", '/')), "abc");
    EXPECT_EQ(Str(GetBottomLevelDir("", '/')), "");
    EXPECT_EQ(Str(GetBottomLevelDir("/", '/')), "");
    EXPECT_EQ(Str(GetBottomLevelDir("C:\\x\\y\\", '\\')), "y");
}

TEST(PathHelpers, SlashesInsideDoubleByteCharactersAreNotSlashes) {
    TarnkitTest::ScopedLocale locale("zh_CN.gbk");
    if (!locale.ok())
        GTEST_SKIP() << "zh_CN.gbk not installed";
    // 0xD5 0x5C is one character whose second byte is the backslash code.
    const char table[] = "dir\\\xD5\x5C.txt";
    SAnsiString s(table);
    UnifyAllSlashes(s, '/');
    EXPECT_EQ(Str(s), "dir/\xD5\x5C.txt");
    Split split = SplitAll(table);
    EXPECT_EQ(split.dir, "dir\\");
    EXPECT_EQ(split.name, "\xD5\x5C");
}
