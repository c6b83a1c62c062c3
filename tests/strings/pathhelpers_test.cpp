// Splitting and making file names, and the slash edits of directory texts.
#include "tarnkit/sstringhelper.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <tuple>
#include <utility>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

// "rc:drive|dir|name|ext"; every buffer starts as "?" to show what was left untouched.
std::string SplitAll(const std::string &path) {
    char drive[3] = "?", dir[4096] = "?", name[256] = "?", ext[256] = "?";
    int rc = SplitPath(path.c_str(), drive, sizeof drive, dir, sizeof dir, name, sizeof name, ext, sizeof ext);
    return std::to_string(rc) + ":" + drive + "|" + dir + "|" + name + "|" + ext;
}

std::string Edited(const char *text, char slash, void (*edit)(SAnsiString &, char)) {
    SAnsiString s(text);
    edit(s, slash);
    return Str(s);
}

} // namespace

TEST(PathHelpers, SplitPathPiecesLimitsAndStringForm) {
    // Both slashes end a directory and there are no drives; the extension
    // starts at the last dot, as the run time splits it.
    for (auto [path, pieces] : {std::pair{"/usr/lib/libz.so.1", "0:|/usr/lib/|libz.so|.1"},
                                {"C:\\data\\report.txt", "0:|C:\\data\\|report|.txt"},
                                {"dir.d/noext", "0:|dir.d/|noext|"}, {".profile", "0:|||.profile"}, {"", "0:|||"}})
        EXPECT_EQ(SplitAll(path), pieces);
    // Pieces may be skipped with a null buffer and size 0.
    char nameOnly[8];
    EXPECT_EQ(SplitPath("/a/b.c", nullptr, 0, nullptr, 0, nameOnly, sizeof nameOnly, nullptr, 0), 0);
    EXPECT_STREQ(nameOnly, "b");

    // A piece too long for its buffer leaves every buffer untouched.
    TarnkitTest::CapturingSink sink;
    const std::string tooLong = std::to_string(ERANGE) + ":?|?|?|?";
    EXPECT_EQ(SplitAll("/d/" + std::string(256, 'n')), tooLong);
    EXPECT_TRUE(sink.saw("too long"));
    EXPECT_EQ(SplitAll("/d/" + std::string(255, 'n') + "." + std::string(254, 'e')).substr(0, 2), "0:");
    EXPECT_EQ(SplitAll("/d/x." + std::string(255, 'e')), tooLong);
    // Directories may be as long as a whole path, longer than 255 bytes.
    const std::string longDir = "/" + std::string(4093, 'd') + "/";
    EXPECT_EQ(SplitAll(longDir + "f"), "0:|" + longDir + "|f|");
    EXPECT_EQ(SplitAll("/" + std::string(4094, 'd') + "/f"), tooLong);

    char tiny[4] = "?";
    EXPECT_EQ(SplitPath("/abc/d", nullptr, 0, tiny, sizeof tiny, nullptr, 0, nullptr, 0), ERANGE);
    EXPECT_STREQ(tiny, "?");
    EXPECT_EQ(SplitPath("/abc/d", nullptr, 0, tiny, 0, nullptr, 0, nullptr, 0), EINVAL);
    EXPECT_EQ(SplitPath("/abc/d", nullptr, 0, nullptr, 5, nullptr, 0, nullptr, 0), EINVAL);

    // The string form keeps the outputs of empty pieces.
    SAnsiString dir("old-dir"), name("old-name"), ext("old-ext");
    auto pieces = [&] { return Str(dir) + "|" + Str(name) + "|" + Str(ext); };
    EXPECT_TRUE(SplitPathEx("/var/log/syslog.1", dir, name, ext, '/'));
    EXPECT_EQ(pieces(), "/var/log/|syslog|.1");
    EXPECT_TRUE(SplitPathEx("README", dir, name, ext));
    EXPECT_EQ(pieces(), "/var/log/|README|.1");
    EXPECT_FALSE(SplitPathEx(("/x/" + std::string(300, 'n')).c_str(), dir, name, ext));
    EXPECT_EQ(Str(name), "README");
}

TEST(PathHelpers, MakePath) {
    // No drives on this platform.
    for (auto [drive, dir, name, ext, path] :
         {std::tuple{"", "/usr/lib", "libz", "so", "/usr/lib/libz.so"},
          {"", "/usr/lib/", "libz", ".so", "/usr/lib/libz.so"}, {"", "C:\\dir\\", "f", "", "C:\\dir\\f"},
          {"", "", "name", "", "name"}, {"C", "d", "n", "e", "d/n.e"}, {"", "", "", "", ""}})
        EXPECT_EQ(Str(MakePath(drive, dir, name, ext)), path);

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

TEST(PathHelpers, SlashEditsAndLevels) {
    // Unifying with any other slash replaces "/"; the begin loses one slash
    // only; the end loses "/" for any slash but "\".
    const auto unify = UnifyAllSlashes, begin = StripSlashOffDirBegin, end = StripSlashOffDirEnd;
    for (auto [text, slash, edit, expected] :
         {std::tuple{"a/b\\c", '/', unify, "a/b/c"}, {"a/b\\c", '\\', unify, "a\\b\\c"},
          {"a/b\\c", ':', unify, "a:b\\c"}, {"", '/', unify, ""}, {"/a", '/', begin, "a"}, {"//a", '/', begin, "/a"},
          {"/", '/', begin, "/"}, {"\\a", '/', begin, "\\a"}, {"/", '/', end, "/"}, {"a/", '/', end, "a"},
          {"a\\", '/', end, "a\\"}, {"a/", 'x', end, "a"}, {"C:\\", '\\', end, "C:\\"}, {"C:\\d\\", '\\', end, "C:\\d"},
          {"a//", '/', end, "a/"}})
        EXPECT_EQ(Edited(text, slash, edit), expected) << text << " " << slash;

    for (auto [dir, slash, parent] : {std::tuple{"abc", '\\', ""}, {"", '/', ""}, {"/a/b/c/", '/', "/a/b"},
                                      {"/a", '/', ""}, {"C:\\x\\y", '\\', "C:\\x"}})
        EXPECT_EQ(Str(GetParentLevelDir(dir, slash)), parent) << dir;
    for (auto [dir, slash, bottom] : {std::tuple{"/a/b/c/", '/', "c"}, {"abc", '/', "abc"}, {"", '/', ""},
                                      {"/", '/', ""}, {"C:\\x\\y\\", '\\', "y"}})
        EXPECT_EQ(Str(GetBottomLevelDir(dir, slash)), bottom) << dir;
}

TEST(PathHelpers, SlashesInsideDoubleByteCharactersAreNotSlashes) {
    TarnkitTest::ScopedLocale locale("zh_CN.gbk");
    if (!locale.ok())
        GTEST_SKIP() << "zh_CN.gbk not installed";
    // 0xD5 0x5C is one character whose second byte is the backslash code.
    EXPECT_EQ(Edited("dir\\\xD5\x5C.txt", '/', UnifyAllSlashes), "dir/\xD5\x5C.txt");
    EXPECT_EQ(SplitAll("dir\\\xD5\x5C.txt"), "0:|dir\\|\xD5\x5C|.txt");
}
