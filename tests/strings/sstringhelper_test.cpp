// Trimming, replacing, comments, words, lexical absolute paths and the text
// form of binary data.
#include "tarnkit/sstringhelper.h"
#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

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

std::string Trimmed(const char *text, const char *chars, int side) {
    SAnsiString s(text);
    if (side < 0)
        SStringHelper::trimLeft(s, chars);
    else if (side > 0)
        SStringHelper::trimRight(s, chars);
    else
        SStringHelper::trim(s, chars);
    return Str(s);
}

} // namespace

TEST(StringHelper, TrimByCharacterSet) {
    EXPECT_EQ(Trimmed("xyabcyx", "xy", -1), "abcyx");
    EXPECT_EQ(Trimmed("xyabcyx", "xy", 1), "xyabc");
    EXPECT_EQ(Trimmed("xyabcyx", "yx", 0), "abc");
    EXPECT_EQ(Trimmed("xyxy", "xy", 0), "");
    EXPECT_EQ(Trimmed("xyxy", "xy", 1), "");
    EXPECT_EQ(Trimmed("abc", "", 0), "abc");
    EXPECT_EQ(Trimmed("", "x", 0), "");
    // Nothing trimmed: the string keeps its very buffer.
    SAnsiString s("abc");
    const char *before = s.getString();
    SStringHelper::trim(s, "xyz");
    EXPECT_EQ(s.getString(), before);
}

TEST(StringHelper, TrimComparesWholeMultibyteCharacters) {
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 not installed";
    // "é" (C3 A9) must not trim "è" (C3 A8) although both start with C3.
    EXPECT_EQ(Trimmed("\xc3\xa9\xc3\xa8x\xc3\xa9", "\xc3\xa9", 0), "\xc3\xa8x");
}

TEST(StringHelper, ReplaceSubString) {
    auto replaced = [](const char *text, const char *from, const char *to) {
        SAnsiString s(text);
        SStringHelper::replaceSubString(s, from, to);
        return Str(s);
    };
    EXPECT_EQ(replaced("aaa", "aa", "b"), "ba");
    EXPECT_EQ(replaced("abcabc", "b", "bb"), "abbcabbc"); // replacement not searched again
    EXPECT_EQ(replaced("abc", "", "x"), "abc");
    EXPECT_EQ(replaced("abc", "abc", ""), "");
    EXPECT_EQ(replaced("abc", "z", "y"), "abc");
    EXPECT_EQ(replaced("", "a", "b"), "");
    SAnsiString self("xyx");
    SStringHelper::replaceSubString(self, self, "q"); // from aliases the string
    EXPECT_EQ(Str(self), "q");
}

TEST(StringHelper, ReplaceAtEnds) {
    SAnsiString s("file.txt");
    EXPECT_TRUE(SStringHelper::replaceSubStringAtEnd(s, ".txt", ".log"));
    EXPECT_EQ(Str(s), "file.log");
    EXPECT_FALSE(SStringHelper::replaceSubStringAtEnd(s, ".txt", ".x"));
    EXPECT_FALSE(SStringHelper::replaceSubStringAtEnd(s, "", ".x"));
    EXPECT_FALSE(SStringHelper::replaceSubStringAtEnd(s, "longer than it", ""));
    EXPECT_EQ(Str(s), "file.log");
    EXPECT_TRUE(SStringHelper::replaceSubStringAtStart(s, "file", "/tmp/f"));
    EXPECT_EQ(Str(s), "/tmp/f.log");
    EXPECT_FALSE(SStringHelper::replaceSubStringAtStart(s, "f", "g"));
    EXPECT_TRUE(SStringHelper::replaceSubStringAtStart(s, "/tmp/f.log", ""));
    EXPECT_EQ(Str(s), "");
}

TEST(StringHelper, RemoveComments) {
    auto removed = [](const char *text, const char *marker) {
        SAnsiString s(text);
        SStringHelper::removeComments(s, marker);
        return Str(s);
    };
    EXPECT_EQ(removed("a#b\nc", "#"), "a\nc");
    EXPECT_EQ(removed("a#b", "#"), "a");
    EXPECT_EQ(removed("a#b\r\nc#d\r\n", "#"), "a\r\nc\r\n");
    EXPECT_EQ(removed("x // one\ny // two", "//"), "x \ny ");
    EXPECT_EQ(removed("\"a#b\"\nc", "#"), "\"a\nc"); // no quoting
    EXPECT_EQ(removed("abc", ""), "abc");
    EXPECT_EQ(removed("", "#"), "");
    // A CR LF further on is preferred to a nearer bare LF: the line in between goes too.
    EXPECT_EQ(removed("a#1\nb\r\nc", "#"), "a\r\nc");
}

TEST(StringHelper, MakeWords) {
    EXPECT_EQ(Words("a \"b c\" d", " ", true, false), (V{"a", "b c", "d"}));
    EXPECT_EQ(Words("a \"b c\" d", " ", false, false), (V{"a", "\"b", "c\"", "d"}));
    EXPECT_EQ(Words("  a, b ,c  ", " ,", false, false), (V{"a", "b", "c"}));
    EXPECT_EQ(Words(" a,b", " ,", false, true), (V{" ", "a", ",", "b"}));
    EXPECT_EQ(Words("\"unterminated run", " ", true, false), (V{"unterminated run"}));
    EXPECT_EQ(Words("x\"y z\"", " ", true, false), (V{"x", "y z"})); // a quote ends a bare word
    EXPECT_EQ(Words("\"\" a", " ", true, false), (V{"", "a"}));
    EXPECT_EQ(Words("", " ", true, false), V{});
    EXPECT_EQ(Words("   ", " ", false, false), V{});
    EXPECT_EQ(Words("abc", "", false, false), (V{"abc"}));
}

TEST(StringHelper, AbsolutePathMatchesLexicalRealpath) {
    // The first six agree with `realpath -m -s "$start/$relative"`; the
    // rest show backslashes and surrounding blanks cleaned up first.
    struct Case {
        const char *start, *relative, *expected;
    } cases[] = {
        {"/home/u", "docs/a.txt", "/home/u/docs/a.txt"},
        {"/home/u", "./docs/../b", "/home/u/b"},
        {"/home/u/", "..", "/home"},
        {"/home/u", "../..", "/"},
        {"/", "a/b/", "/a/b"},
        {"/home//u", "a//b", "/home/u/a/b"},
        {"/home/u", "", "/home/u"},
        {"\\srv\\share", "x\\y", "/srv/share/x/y"},
        {"  /home/u  ", "\ta ", "/home/u/a"},
    };
    for (const Case &c : cases) {
        SAnsiString result("old");
        EXPECT_TRUE(SStringHelper::getAbsolutePath(c.start, c.relative, result)) << c.start << " + " << c.relative;
        EXPECT_EQ(Str(result), c.expected) << c.start << " + " << c.relative;
    }
}

TEST(StringHelper, AbsolutePathFailuresAndPreconditions) {
    TarnkitTest::CapturingSink sink;
    SAnsiString result("old");
    EXPECT_FALSE(SStringHelper::getAbsolutePath("/a", "../..", result));
    EXPECT_EQ(Str(result), "old");
    EXPECT_TRUE(sink.texts().empty());

    EXPECT_TRUE(SStringHelper::getAbsolutePath("a/b", "c", result));
    EXPECT_TRUE(sink.saw("IsAbsolutePath(startingDir)"));
    EXPECT_EQ(Str(result), "/a/b/c");

    sink.clear();
    EXPECT_TRUE(SStringHelper::getAbsolutePath("/a", "/b", result));
    EXPECT_TRUE(sink.saw("!IsAbsolutePath(relativePath)"));
    EXPECT_TRUE(sink.saw("!pathPiece.isEmpty()"));
    EXPECT_EQ(Str(result), "/a/b");

    EXPECT_TRUE(IsAbsolutePath("/x"));
    EXPECT_TRUE(IsAbsolutePath("\\x"));
    EXPECT_FALSE(IsAbsolutePath("x/"));
    EXPECT_FALSE(IsAbsolutePath(""));
}

// Fixtures made once with python3:
//   base64.b64encode(data, altchars=b"_.").rstrip(b"=")
// for the data shown beside each.
TEST(StringHelper, BinaryToTextMatchesReferenceEncoding) {
    struct Case {
        std::string data;
        const char *text;
    } cases[] = {
        {"", ""},
        {"f", "Zg"},
        {"fo", "Zm8"},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg"},
        {"fooba", "Zm9vYmE"},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff\xbf", "_._."},
    };
    for (const Case &c : cases) {
        const auto *bytes = reinterpret_cast<const unsigned char *>(c.data.data());
        EXPECT_EQ(Str(SStringHelper::toString(bytes, static_cast<int>(c.data.size()))), c.text);
        SSimpleBuffer decoded;
        EXPECT_TRUE(SStringHelper::fromString(c.text, decoded)) << c.text;
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(static_cast<const unsigned char *>(decoded)),
                              decoded.getNBytes()),
                  c.data);
    }
    unsigned char all[256];
    for (int i = 0; i < 256; ++i)
        all[i] = static_cast<unsigned char>(i);
    // bytes 0..29, 0..30, 0..31: either side of the switch to the sized path.
    EXPECT_EQ(Str(SStringHelper::toString(all, 30)), "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwd");
    EXPECT_EQ(Str(SStringHelper::toString(all, 31)), "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHg");
    EXPECT_EQ(Str(SStringHelper::toString(all, 32)), "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8");
    EXPECT_EQ(Str(SStringHelper::toString(SSimpleBuffer(all, 256, false))),
              "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0_P0BBQkNERUZHSElKS0xN"
              "Tk9QUVJTVFVWV1hZWltcXV5fYGFiY2RlZmdoaWprbG1ub3BxcnN0dXZ3eHl6e3x9fn_AgYKDhIWGh4iJiouMjY6PkJGSk5SVlpeYmZqb"
              "nJ2en6ChoqOkpaanqKmqq6ytrq_wsbKztLW2t7i5uru8vb6.wMHCw8TFxsfIycrLzM3Oz9DR0tPU1dbX2Nna29zd3t.g4eLj5OXm5_jp"
              "6uvs7e7v8PHy8.T19vf4_fr7.P3_.w");
    EXPECT_EQ(Str(SStringHelper::toString(nullptr, 0)), "");
    EXPECT_EQ(Str(SStringHelper::toString(all, -3)), "");
}

TEST(StringHelper, BinaryRoundTripOnBothPaths) {
    std::mt19937 random(7);
    for (int size = 0; size < 200; ++size) {
        std::vector<unsigned char> data(static_cast<size_t>(size));
        for (auto &b : data)
            b = static_cast<unsigned char>(random());
        SAnsiString text = SStringHelper::toString(data.data(), size);
        ASSERT_EQ(text.getLength(), static_cast<size_t>(size) / 3 * 4 + (size % 3 == 0 ? 0 : size % 3 + 1));
        std::vector<unsigned char> back(static_cast<size_t>(size) + 1, 0xEE);
        size_t written = 12345;
        ASSERT_TRUE(SStringHelper::fromString(text, back.data(), back.size(), written));
        ASSERT_EQ(written, static_cast<size_t>(size));
        ASSERT_TRUE(std::equal(data.begin(), data.end(), back.begin()));
        EXPECT_EQ(back[static_cast<size_t>(size)], 0xEE) << "wrote past the decoded bytes";
    }
}

TEST(StringHelper, TextToBinaryRejectsBadInput) {
    TarnkitTest::CapturingSink sink;
    SSimpleBuffer kept(reinterpret_cast<unsigned char *>(const_cast<char *>("keep")), 4, false);
    EXPECT_FALSE(SStringHelper::fromString("Zm9vY", kept)); // 5 characters: 1 modulo 4
    EXPECT_TRUE(sink.saw("(input.getNChars() & 0x3) != 0x1"));
    EXPECT_FALSE(SStringHelper::fromString("Zm+v", kept));
    EXPECT_FALSE(SStringHelper::fromString("Zm9=", kept));
    EXPECT_FALSE(SStringHelper::fromString("Zm 9v", kept));
    EXPECT_EQ(kept.getNBytes(), 4u);

    unsigned char small[2];
    size_t written = 99;
    EXPECT_FALSE(SStringHelper::fromString("Zm9v", small, sizeof small, written));
    EXPECT_EQ(written, 0u);
    EXPECT_TRUE(SStringHelper::fromString("Zm8", small, sizeof small, written));
    EXPECT_EQ(written, 2u);
    EXPECT_EQ(small[0], 'f');
    EXPECT_EQ(small[1], 'o');

    sink.clear();
    EXPECT_FALSE(SStringHelper::fromString("Zm8", nullptr, 10, written));
    EXPECT_TRUE(sink.saw("pOutput"));

    // Bits below the last whole byte are ignored: "Zh" decodes like "Zg".
    EXPECT_TRUE(SStringHelper::fromString("Zh", small, sizeof small, written));
    EXPECT_EQ(written, 1u);
    EXPECT_EQ(small[0], 'f');

    SSimpleBuffer empty;
    EXPECT_TRUE(SStringHelper::fromString("", kept));
    EXPECT_TRUE(kept.isEmpty());
}
