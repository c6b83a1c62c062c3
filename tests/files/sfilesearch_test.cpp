// Tests of the wildcard matcher and of the file search through a list of
// directories, by single-directory steps, and along PATH.
#include "tarnkit/sfilesearch.h"

#include "files/wildcard.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

TEST(Wildcard, MatchesThePatternTableAndBacktracksBoundedly) {
    for (auto [pattern, name, match] :
         {std::tuple{"*", "anything.at.all", true}, {"*", "", true}, {"*.*", "noextension", true}, {"*.*", "a.b", true},
          {"*.*", ".hidden", true}, {"report.*", "report", true}, {"report.*", "report.txt", true},
          {"report.*", "reports", false}, {"*.txt", "a.txt", true}, {"*.txt", "a.txt.bak", false},
          {"*.txt", "a.TXT", false}, {"a?c", "abc", true}, {"a?c", "ac", false}, {"a?c", "a.c", true},
          {"log_xn_*.so", "log_xn_one.so", true}, {"log_xn_*.so", "log_xn_.so", true},
          {"log_xn_*.so", "xlog_xn_a.so", false}, {"*a*b", "xaxbxb", true}, {"*a*b", "xaxbx", false},
          {"exact", "exact", true}, {"exact", "exactly", false}, {"**?", "", false}, {"", "", true}, {"", "x", false}})
        EXPECT_EQ(Wildcard::Matches(pattern, name), match) << pattern << " vs " << name;

    // Many stars against a long near-miss: exponential if every star
    // backtracked, instant when only the latest one does.
    std::string stars;
    for (int i = 0; i < 500; ++i)
        stars += "*a";
    stars += "b";
    for (auto [as, tail, match] : {std::tuple{1000, "", false}, {1000, "b", true}, {499, "b", false}, {500, "b", true}})
        EXPECT_EQ(Wildcard::Matches(stars.c_str(), (std::string(as, 'a') + tail).c_str()), match) << as << tail;
    EXPECT_FALSE(Wildcard::Matches("*", std::string(Wildcard::MaxNameLength + 1, 'a').c_str()));
}

class SearchTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/sfilesearch-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
        std::filesystem::create_directory(m_dir + "/sub");
        std::filesystem::create_directory(m_dir + "/other");
        for (const char *name : {"b.txt", "a.txt", "c.log", "README", "sub/x.txt", "other/y.txt"})
            std::ofstream(m_dir + "/" + name) << "12345";
        std::filesystem::create_symlink(m_dir + "/sub", m_dir + "/link.txt");
    }
    void TearDown() override { (void)std::system(("rm -rf '" + m_dir + "'").c_str()); }

    std::vector<std::string> all(bool fullPath) {
        std::vector<std::string> names;
        while (search.next(name, fullPath))
            names.push_back(Str(name));
        return names;
    }
    SAnsiString dir(const char *sub = "") const { return SAnsiString((m_dir + sub).c_str()); }

    std::string m_dir;
    SIArray<SAnsiString> none;
    SSFileSearch search;
    SAnsiString name;
};

TEST_F(SearchTest, DotsFindDataAndSingleDirectorySteps) {
    search.open("*", none, false, false, true);
    ASSERT_TRUE(search.FindFirst(dir(), name));
    EXPECT_EQ(Str(name), ".");
    std::vector<std::string> names = {Str(name)};
    std::map<std::string, SSFileSearch::FindData> found;
    while (search.FindNext(name)) {
        names.push_back(Str(name));
        ASSERT_TRUE(search.getFindData(found[Str(name)]));
    }
    ASSERT_TRUE(found.count("link.txt"));
    EXPECT_TRUE(found["link.txt"].isSymbolicLink); // not the directory it points to
    EXPECT_FALSE(found["link.txt"].isDirectory);
    EXPECT_TRUE(found["sub"].isDirectory && found["sub"].size == 0);
    EXPECT_EQ(found["a.txt"].size, 5);
    EXPECT_EQ(names[1], "..");
    EXPECT_EQ(names.size(), 9u);
    EXPECT_TRUE(search.IsOpen());
    SSFileSearch::FindData data;
    EXPECT_FALSE(search.getFindData(data));

    TarnkitTest::CapturingSink sink;
    search.open("x.*", none, false, false, false); // closes the open search
    EXPECT_FALSE(search.IsOpen());
    ASSERT_TRUE(search.FindFirst(dir("/sub"), name));
    EXPECT_TRUE(search.FindFirst(dir("/sub"), name)); // reopening asserts, then works
    EXPECT_TRUE(sink.saw("Search stream is already open in SSFileSearch::FindFirst()"));
    EXPECT_EQ(Str(name), "x.txt");
    EXPECT_FALSE(search.FindNext(name));
    EXPECT_FALSE(search.FindFirst(dir("/nowhere"), name));
    EXPECT_TRUE(search.close());
}

TEST_F(SearchTest, WalksAListOrPathInOrderPassingOverMissingDirectories) {
    SIArray<SAnsiString> paths;
    for (const char *sub : {"", "/does-not-exist", "/sub/", "/other"})
        paths.Add(dir(sub));
    ASSERT_TRUE(search.open("*.txt", paths, false, false, false));
    EXPECT_EQ(paths.GetSize(), 4u); // the caller's list is copied, not consumed
    EXPECT_EQ(all(true), (std::vector<std::string>{m_dir + "/a.txt", m_dir + "/b.txt", m_dir + "/link.txt",
                                                   m_dir + "/sub/x.txt", m_dir + "/other/y.txt"}));
    EXPECT_FALSE(search.IsOpen());
    EXPECT_FALSE(search.next(name, false)); // the list was used up

    ASSERT_TRUE(search.open("*.*", paths, false, false, false));
    std::vector<std::string> bare = all(false);
    EXPECT_EQ(bare.front(), "README"); // names without a dot too; "." and ".." not
    EXPECT_EQ(bare.size(), 9u);

    ASSERT_TRUE(search.open("*", none, false, false, false));
    EXPECT_FALSE(search.next(name, true));

    // Along PATH instead of a list.
    std::string saved = std::getenv("PATH") ? std::getenv("PATH") : "";
    ASSERT_EQ(::setenv("PATH", (m_dir + "/sub::" + m_dir + "/other:").c_str(), 1), 0);
    ASSERT_EQ(::chdir(m_dir.c_str()), 0);
    search.open("*.txt", none, false, true, false);
    // The empty part in the middle is the current directory, searched by
    // bare name; the empty last part is dropped.
    EXPECT_EQ(all(true), (std::vector<std::string>{m_dir + "/sub/x.txt", "a.txt", "b.txt", "link.txt",
                                                   m_dir + "/other/y.txt"}));
    ::setenv("PATH", saved.c_str(), 1);

    for (const char *directory : {"", "/d/", "/d"}) {
        SAnsiString joined(directory);
        SSFileSearch::AppendFileName(joined, "n");
        EXPECT_EQ(Str(joined), *directory == '\0' ? "n" : "/d/n") << directory;
    }
}

} // namespace
