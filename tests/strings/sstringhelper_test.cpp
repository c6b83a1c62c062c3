// Trimming, replacing, comments, words, lexical absolute paths and the text
// form of binary data.
#include "tarnkit/sstringhelper.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

// The text after one of the helper's edits ran on it.
template <class Edit, class... Args>
std::string Edited(const char *text, Edit edit, const Args &...args) {
    SAnsiString s(text);
    edit(s, args...);
    return Str(s);
}

std::vector<std::string> Words(const char *text, const char *separators, bool quoted, bool keep) {
    SIArray<SAnsiString> words;
    words.Add("stale");
    SStringHelper::makeWords(text, words, separators, quoted, keep);
    std::vector<std::string> out;
    for (const SAnsiString &w : words)
        out.push_back(Str(w));
    return out;
}

using V = std::vector<std::string>;
using H = SStringHelper;

// The absolute path, or what the result holds after a refusal.
std::string Absolute(const char *start, const char *relative) {
    SAnsiString result("old");
    return H::getAbsolutePath(start, relative, result) ? Str(result) : "<refused, " + Str(result) + ">";
}

} // namespace

TEST(StringHelper, TrimReplaceRemoveCommentsAndMakeWords) {
    // A replacement is not searched again; comments know no quoting; a CR LF further on is preferred to a nearer
    // bare LF, so the line in between goes too.
    const std::pair<std::string, const char *> edits[] = {
        {Edited("xyabcyx", H::trimLeft, "xy"), "abcyx"}, {Edited("xyabcyx", H::trimRight, "xy"), "xyabc"},
        {Edited("xyabcyx", H::trim, "yx"), "abc"}, {Edited("xyxy", H::trimRight, "xy"), ""},
        {Edited("xyxy", H::trim, "xy"), ""}, {Edited("abc", H::trim, ""), "abc"}, {Edited("", H::trim, "x"), ""},
        {Edited("abcabc", H::replaceSubString, "b", "bb"), "abbcabbc"}, {Edited("", H::replaceSubString, "a", "b"), ""},
        {Edited("aaa", H::replaceSubString, "aa", "b"), "ba"}, {Edited("abc", H::replaceSubString, "z", "y"), "abc"},
        {Edited("abc", H::replaceSubString, "", "x"), "abc"}, {Edited("abc", H::replaceSubString, "abc", ""), ""},
        {Edited("x // one\ny // two", H::removeComments, "//"), "x \ny "}, {Edited("a#b", H::removeComments, "#"), "a"},
        {Edited("a#b\r\nc#d\r\n", H::removeComments, "#"), "a\r\nc\r\n"}, {Edited("abc", H::removeComments, ""), "abc"},
        {Edited("a#1\nb\r\nc", H::removeComments, "#"), "a\r\nc"}, {Edited("a#b\nc", H::removeComments, "#"), "a\nc"},
        {Edited("\"a#b\"\nc", H::removeComments, "#"), "\"a\nc"}, {Edited("", H::removeComments, "#"), ""}};
    for (size_t i = 0; i < std::size(edits); ++i)
        EXPECT_EQ(edits[i].first, edits[i].second) << "edit number " << i;
    // Nothing trimmed: the string keeps its very buffer.
    SAnsiString untouched("abc");
    const char *before = untouched.getString();
    H::trim(untouched, "xyz");
    EXPECT_EQ(untouched.getString(), before);
    SAnsiString self("xyx");
    H::replaceSubString(self, self, "q"); // from aliases the string
    EXPECT_EQ(Str(self), "q");

    SAnsiString s("file.txt");
    EXPECT_TRUE(H::replaceSubStringAtEnd(s, ".txt", ".log"));
    EXPECT_EQ(Str(s), "file.log");
    for (const auto &[end, by] : {std::pair{".txt", ".x"}, {"", ".x"}, {"longer than it", ""}})
        EXPECT_FALSE(H::replaceSubStringAtEnd(s, end, by)) << end;
    EXPECT_EQ(Str(s), "file.log");
    EXPECT_TRUE(H::replaceSubStringAtStart(s, "file", "/tmp/f"));
    EXPECT_EQ(Str(s), "/tmp/f.log");
    EXPECT_FALSE(H::replaceSubStringAtStart(s, "f", "g"));
    EXPECT_TRUE(H::replaceSubStringAtStart(s, "/tmp/f.log", ""));
    EXPECT_EQ(Str(s), "");

    // A quote ends a bare word.
    const std::pair<V, V> words[] = {
        {Words("a \"b c\" d", " ", true, false), {"a", "b c", "d"}}, {Words("\"\" a", " ", true, false), {"", "a"}},
        {Words("a \"b c\" d", " ", false, false), {"a", "\"b", "c\"", "d"}}, {Words("", " ", true, false), {}},
        {Words("  a, b ,c  ", " ,", false, false), {"a", "b", "c"}}, {Words("abc", "", false, false), {"abc"}},
        {Words(" a,b", " ,", false, true), {" ", "a", ",", "b"}}, {Words("x\"y z\"", " ", true, false), {"x", "y z"}},
        {Words("\"unterminated run", " ", true, false), {"unterminated run"}}, {Words("   ", " ", false, false), {}}};
    for (const auto &[split, expected] : words)
        EXPECT_EQ(split, expected);

    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    // "é" (C3 A9) must not trim "è" (C3 A8) although both start with C3.
    EXPECT_EQ(Edited("\xc3\xa9\xc3\xa8x\xc3\xa9", H::trim, "\xc3\xa9"), "\xc3\xa8x");
}

TEST(StringHelper, AbsolutePathMatchesLexicalRealpath) {
    // The first six agree with `realpath -m -s "$start/$relative"`; the rest show backslashes and surrounding
    // blanks cleaned up first.
    const char *cases[][3] = {
        {"/home/u", "docs/a.txt", "/home/u/docs/a.txt"}, {"/home/u", "./docs/../b", "/home/u/b"},
        {"/home/u/", "..", "/home"}, {"/home/u", "../..", "/"}, {"/", "a/b/", "/a/b"},
        {"/home//u", "a//b", "/home/u/a/b"}, {"/home/u", "", "/home/u"}, {"\\srv\\share", "x\\y", "/srv/share/x/y"},
        {"  /home/u  ", "\ta ", "/home/u/a"}};
    for (const auto &[start, relative, expected] : cases)
        EXPECT_EQ(Absolute(start, relative), expected) << start << " + " << relative;

    TarnkitTest::CapturingSink sink;
    EXPECT_EQ(Absolute("/a", "../.."), "<refused, old>");
    EXPECT_TRUE(sink.texts().empty());
    EXPECT_EQ(Absolute("a/b", "c"), "/a/b/c");
    EXPECT_TRUE(sink.saw("IsAbsolutePath(startingDir)"));
    sink.clear();
    EXPECT_EQ(Absolute("/a", "/b"), "/a/b");
    EXPECT_TRUE(sink.saw("!IsAbsolutePath(relativePath)"));
    EXPECT_TRUE(sink.saw("!pathPiece.isEmpty()"));

    for (const auto &[path, absolute] : {std::pair{"/x", true}, {"\\x", true}, {"x/", false}, {"", false}})
        EXPECT_EQ(IsAbsolutePath(path), absolute) << path;
}

// Fixtures made once with python3:
//   base64.b64encode(data, altchars=b"_.").rstrip(b"=")
// for the data shown beside each.
TEST(StringHelper, BinaryTextFormMatchesReferenceRoundTripsAndRejectsBadText) {
    const std::pair<std::string, const char *> cases[] = {
        {"", ""},           {"f", "Zg"},          {"fo", "Zm8"},          {"foo", "Zm9v"},
        {"foob", "Zm9vYg"}, {"fooba", "Zm9vYmE"}, {"foobar", "Zm9vYmFy"}, {"\xfb\xff\xbf", "_._."}};
    for (const auto &[data, text] : cases) {
        const auto *bytes = reinterpret_cast<const unsigned char *>(data.data());
        EXPECT_EQ(Str(H::toString(bytes, static_cast<int>(data.size()))), text);
        SSimpleBuffer decoded;
        EXPECT_TRUE(H::fromString(text, decoded)) << text;
        const auto *decodedBytes = static_cast<const unsigned char *>(decoded);
        EXPECT_EQ(std::string(decodedBytes, decodedBytes + decoded.getNBytes()), data);
    }
    unsigned char all[256];
    std::iota(std::begin(all), std::end(all), 0);
    // bytes 0..29, 0..30, 0..31: either side of the switch to the sized path.
    EXPECT_EQ(Str(H::toString(all, 30)), "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwd");
    EXPECT_EQ(Str(H::toString(all, 31)), "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHg");
    EXPECT_EQ(Str(H::toString(all, 32)), "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8");
    EXPECT_EQ(Str(H::toString(SSimpleBuffer(all, 256, false))),
              "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0_P0BBQkNERUZHSElKS0xN"
              "Tk9QUVJTVFVWV1hZWltcXV5fYGFiY2RlZmdoaWprbG1ub3BxcnN0dXZ3eHl6e3x9fn_AgYKDhIWGh4iJiouMjY6PkJGSk5SVlpeYmZqb"
              "nJ2en6ChoqOkpaanqKmqq6ytrq_wsbKztLW2t7i5uru8vb6.wMHCw8TFxsfIycrLzM3Oz9DR0tPU1dbX2Nna29zd3t.g4eLj5OXm5_jp"
              "6uvs7e7v8PHy8.T19vf4_fr7.P3_.w");
    EXPECT_EQ(Str(H::toString(nullptr, 0)), "");
    EXPECT_EQ(Str(H::toString(all, -3)), "");

    TarnkitTest::CapturingSink sink;
    SSimpleBuffer kept(reinterpret_cast<unsigned char *>(const_cast<char *>("keep")), 4, false);
    EXPECT_FALSE(H::fromString("Zm9vY", kept)); // 5 characters: 1 modulo 4
    EXPECT_TRUE(sink.saw("(input.getNChars() & 0x3) != 0x1"));
    for (const char *bad : {"Zm+v", "Zm9=", "Zm 9v"})
        EXPECT_FALSE(H::fromString(bad, kept)) << bad;
    EXPECT_EQ(kept.getNBytes(), 4u);

    unsigned char small[2];
    size_t written = 99;
    EXPECT_FALSE(H::fromString("Zm9v", small, sizeof small, written));
    EXPECT_EQ(written, 0u);
    EXPECT_TRUE(H::fromString("Zm8", small, sizeof small, written));
    EXPECT_EQ(written, 2u);
    EXPECT_EQ(std::string(small, small + 2), "fo");

    sink.clear();
    EXPECT_FALSE(H::fromString("Zm8", nullptr, 10, written));
    EXPECT_TRUE(sink.saw("pOutput"));

    // Bits below the last whole byte are ignored: "Zh" decodes like "Zg".
    EXPECT_TRUE(H::fromString("Zh", small, sizeof small, written));
    EXPECT_EQ(written, 1u);
    EXPECT_EQ(small[0], 'f');

    EXPECT_TRUE(H::fromString("", kept));
    EXPECT_TRUE(kept.isEmpty());

    // Random data of every length survives the trip on both paths.
    std::mt19937 random(7);
    for (int size = 0; size < 200; ++size) {
        std::vector<unsigned char> data(static_cast<size_t>(size));
        std::generate(data.begin(), data.end(), [&random] { return static_cast<unsigned char>(random()); });
        SAnsiString text = H::toString(data.data(), size);
        ASSERT_EQ(text.getLength(), static_cast<size_t>(size) / 3 * 4 + (size % 3 == 0 ? 0 : size % 3 + 1));
        std::vector<unsigned char> back(static_cast<size_t>(size) + 1, 0xEE);
        written = 12345;
        ASSERT_TRUE(H::fromString(text, back.data(), back.size(), written));
        ASSERT_EQ(written, static_cast<size_t>(size));
        ASSERT_TRUE(std::equal(data.begin(), data.end(), back.begin()));
        EXPECT_EQ(back[static_cast<size_t>(size)], 0xEE) << "wrote past the decoded bytes";
    }
}
