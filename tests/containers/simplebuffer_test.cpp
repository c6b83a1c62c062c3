#include "tarnkit/simplebuffer.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <dirent.h>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace TarnkitA201;
using TarnkitTest::CapturingSink;

namespace {

const unsigned char *Bytes(const char *text) { return reinterpret_cast<const unsigned char *>(text); }

SSimpleBuffer Make(const char *text) {
    SSimpleBuffer b;
    b.append(Bytes(text), std::strlen(text));
    return b;
}

std::string Content(const SSimpleBuffer &b) {
    const unsigned char *p = b;
    return p == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(p), b.getNBytes());
}

class SimpleBufferFiles : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/simplebuffer-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
    }
    void TearDown() override { std::system(("rm -rf '" + m_dir + "'").c_str()); }

    std::string path(const char *name) const { return m_dir + "/" + name; }
    static void write(const std::string &file, const std::string &text) {
        FILE *f = std::fopen(file.c_str(), "wb");
        ASSERT_NE(f, nullptr);
        std::fwrite(text.data(), 1, text.size(), f);
        std::fclose(f);
    }
    static std::string read(const std::string &file) {
        FILE *f = std::fopen(file.c_str(), "rb");
        if (f == nullptr)
            return "<missing>";
        std::string text;
        char chunk[256];
        size_t n;
        while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0)
            text.append(chunk, n);
        std::fclose(f);
        return text;
    }
    static bool exists(const std::string &file) { return access(file.c_str(), F_OK) == 0; }
    static int openDescriptors() {
        int count = 0;
        if (DIR *dir = opendir("/proc/self/fd")) {
            while (readdir(dir) != nullptr)
                ++count;
            closedir(dir);
        }
        return count;
    }

    std::string m_dir;
};

} // namespace

TEST(SimpleBuffer, EmptyBufferFacts) {
    SSimpleBuffer empty;
    EXPECT_EQ(static_cast<const unsigned char *>(empty), nullptr);
    EXPECT_EQ(empty.getNBytes(), 0u);
    EXPECT_EQ(empty.getNBytesAllocated(), 1u);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_TRUE(SSimpleBuffer::IsEmptyBuffer(SSimpleBuffer::GetEmptyBuffer()));
    EXPECT_TRUE(empty == SSimpleBuffer());
    EXPECT_EQ(empty.compare(SSimpleBuffer()), 0);
    EXPECT_EQ(empty.getBuffer(SSimpleBuffer::npos), nullptr);
    EXPECT_EQ(empty.getBuffer(0), nullptr);
    empty.releaseBuffer(0);
    EXPECT_EQ(empty.getNBytesAllocated(), 1u);
    EXPECT_EQ(empty.detach(), nullptr);
    EXPECT_EQ(SSimpleBuffer::GetEmptyBuffer()->refCount.read(), -1);

    // A rejected adoption leaves a buffer that behaves as empty.
    CapturingSink sink;
    SSimpleBuffer rejected(nullptr, 4, true);
    EXPECT_TRUE(sink.saw("assert failure"));
    EXPECT_TRUE(sink.saw("(0 : no message)"));
    EXPECT_EQ(static_cast<const unsigned char *>(rejected), nullptr);
    EXPECT_EQ(rejected.getNBytes(), 0u);
    EXPECT_EQ(rejected.getNBytesAllocated(), 0u);
    EXPECT_EQ(rejected.detach(), nullptr);
    SSimpleBuffer copy(rejected);
    EXPECT_TRUE(copy.isEmpty());
    rejected.append(Bytes("ok"), 2);
    EXPECT_EQ(Content(rejected), "ok");
}

TEST(SimpleBuffer, CopiesShareUntilOneWrites) {
    SSimpleBuffer a = Make("abc");
    SSimpleBuffer b = a;
    const unsigned char *shared = a;
    EXPECT_EQ(static_cast<const unsigned char *>(b), shared);

    b.append(Bytes("d"), 1);
    EXPECT_EQ(Content(a), "abc");
    EXPECT_EQ(Content(b), "abcd");
    EXPECT_EQ(static_cast<const unsigned char *>(a), shared);

    SSimpleBuffer c = a;
    unsigned char *writable = c.getBuffer(SSimpleBuffer::npos);
    ASSERT_NE(writable, shared);
    writable[0] = 'X';
    c.releaseBuffer(3);
    EXPECT_EQ(Content(a), "abc");
    EXPECT_EQ(Content(c), "Xbc");

    c = a;
    c.empty();
    EXPECT_TRUE(c.isEmpty());
    EXPECT_EQ(Content(a), "abc");
}

TEST(SimpleBuffer, AppendGrowsExactlyUnlessGivenExtra) {
    SSimpleBuffer b;
    b.append(Bytes("abcd"), 4, 100);
    EXPECT_EQ(b.getNBytesAllocated(), 104u);
    const unsigned char *block = b;
    b.append(Bytes("efg"), 3, 100);
    EXPECT_EQ(static_cast<const unsigned char *>(b), block);
    EXPECT_EQ(Content(b), "abcdefg");

    // Filling the block exactly still replaces it.
    std::string fill(97, 'z');
    b.append(Bytes(fill.c_str()), fill.size());
    EXPECT_NE(static_cast<const unsigned char *>(b), block);
    EXPECT_EQ(b.getNBytes(), 104u);
    EXPECT_EQ(b.getNBytesAllocated(), 104u);

    SSimpleBuffer bytes;
    bytes << 'a' << 'b';
    bytes.append('c');
    EXPECT_EQ(Content(bytes), "abc");
    EXPECT_EQ(bytes.getNBytesAllocated(), 3u);

    bytes.append(nullptr, 5);
    bytes.append(Bytes("x"), 0);
    EXPECT_EQ(Content(bytes), "abc");

    // A piece of the buffer itself, even when the block moves.
    bytes.append(bytes, 2);
    EXPECT_EQ(Content(bytes), "abcab");
}

TEST(SimpleBuffer, CompareUsesSizesAndBytes) {
    EXPECT_TRUE(Make("abc") == Make("abc"));
    EXPECT_FALSE(Make("abc") == Make("abcd"));
    EXPECT_TRUE(Make("abc") != Make("abd"));
    EXPECT_TRUE(Make("abc") == Bytes("abcdef"));
    EXPECT_FALSE(Make("abc") == Bytes("abx"));
    EXPECT_FALSE(Make("abc") == static_cast<const unsigned char *>(nullptr));

    EXPECT_LT(Make("abc").compare(Make("abd")), 0);
    EXPECT_GT(Make("abd").compare(Make("abc")), 0);
    EXPECT_EQ(Make("ab").compare(Make("abc")), -1);
    EXPECT_EQ(Make("abc").compare(Make("ab")), 1);
    EXPECT_EQ(Make("b").compare(Make("abc")), 1);
    EXPECT_EQ(Make("abc").compare(Make("b")), -1);
    EXPECT_EQ(SSimpleBuffer().compare(Make("a")), -1);
    EXPECT_TRUE(Make("ab") < Make("abc"));
    EXPECT_FALSE(Make("b") < Make("abc"));
}

TEST(SimpleBuffer, GetBufferAndReleaseBuffer) {
    SSimpleBuffer b(10);
    EXPECT_EQ(b.getNBytes(), 0u);
    EXPECT_EQ(b.getNBytesAllocated(), 10u);
    const unsigned char *block = b;
    EXPECT_EQ(b.getBuffer(SSimpleBuffer::npos), block);
    unsigned char *p = b.getBuffer(9);
    EXPECT_EQ(p, block);
    std::memcpy(p, "hello", 5);
    b.releaseBuffer(5);
    EXPECT_EQ(Content(b), "hello");

    // Asking for the whole block or more moves the content to a new one.
    p = b.getBuffer(10);
    EXPECT_NE(p, block);
    EXPECT_EQ(b.getNBytesAllocated(), 10u);
    EXPECT_EQ(Content(b), "hello");
    p = b.getBuffer(2);
    EXPECT_EQ(b.getNBytes(), 5u);

    // A size beyond the block is refused rather than trusted.
    CapturingSink sink;
    b.releaseBuffer(500);
    EXPECT_TRUE(sink.saw("assert failure"));
    EXPECT_EQ(b.getNBytes(), b.getNBytesAllocated());

    SSimpleBuffer fresh;
    p = fresh.getBuffer(3);
    ASSERT_NE(p, nullptr);
    std::memcpy(p, "xyz", 3);
    fresh.releaseBuffer(3);
    EXPECT_EQ(Content(fresh), "xyz");
    EXPECT_TRUE(SSimpleBuffer().isEmpty());
}

TEST(SimpleBuffer, DetachHandsOverTheBlock) {
    unsigned char *block = SSimpleBuffer::alloc(4);
    ASSERT_NE(block, nullptr);
    std::memcpy(block, "data", 4);
    SSimpleBuffer adopted(block, 4, true);
    EXPECT_EQ(static_cast<const unsigned char *>(adopted), block);
    unsigned char *back = adopted.detach();
    EXPECT_EQ(back, block);
    EXPECT_TRUE(adopted.isEmpty());
    SSimpleBuffer::dealloc(back);

    unsigned char source[] = {1, 2, 3};
    SSimpleBuffer copied(source, 3, false);
    EXPECT_NE(static_cast<const unsigned char *>(copied), source);
    SSimpleBuffer other = copied;
    CapturingSink sink;
    unsigned char *mine = copied.detach();
    ASSERT_NE(mine, nullptr);
    EXPECT_NE(mine, static_cast<const unsigned char *>(other));
    EXPECT_EQ(std::memcmp(mine, source, 3), 0);
    EXPECT_TRUE(sink.saw("SSimpleBuffer::detach() copying buffer before detaching"));
    EXPECT_EQ(other.getNBytes(), 3u);
    SSimpleBuffer::dealloc(mine);
}

TEST_F(SimpleBufferFiles, LoadsByReadingAndByMapping) {
    write(path("a"), "file content");
    SSimpleBuffer read;
    ASSERT_TRUE(read.loadFromFile(SAnsiString(path("a").c_str())));
    EXPECT_EQ(Content(read), "file content");
    EXPECT_EQ(read.getNBytesAllocated(), 12u);
    EXPECT_FALSE(read.IsMapped());

    SSimpleBuffer mapped;
    ASSERT_TRUE(mapped.loadFromFile(SAnsiString(path("a").c_str()), true, false));
    EXPECT_EQ(Content(mapped), "file content");
    EXPECT_TRUE(mapped.IsMapped());

    write(path("zero"), "");
    SSimpleBuffer zero = Make("old");
    ASSERT_TRUE(zero.loadFromFile(SAnsiString(path("zero").c_str())));
    EXPECT_EQ(zero.getNBytes(), 0u);
    EXPECT_EQ(zero.getNBytesAllocated(), 0u);
    // An empty file has nothing to map.
    EXPECT_FALSE(zero.loadFromFile(SAnsiString(path("zero").c_str()), true, false));

    CapturingSink sink;
    SSimpleBuffer missing = Make("old");
    EXPECT_FALSE(missing.loadFromFile(SAnsiString(path("none").c_str())));
    EXPECT_TRUE(missing.isEmpty());
    EXPECT_TRUE(sink.saw("SSimpleBuffer::loadFromFile: could not read from file "));
    EXPECT_TRUE(sink.saw("No such file or directory"));
    EXPECT_FALSE(missing.loadFromFile(SAnsiString(path("none").c_str()), true, false));
    EXPECT_TRUE(sink.saw("for memory-mapped reading. Errno is 2"));
}

TEST_F(SimpleBufferFiles, MappedBufferIsReadOnlyAndUnsharesOnWrite) {
    write(path("m"), "mapped bytes");
    SSimpleBuffer b;
    ASSERT_TRUE(b.loadFromFile(SAnsiString(path("m").c_str()), true, false));
    const unsigned char *view = b;
    unsigned char *writable = b.getBuffer(SSimpleBuffer::npos);
    ASSERT_NE(writable, nullptr);
    EXPECT_NE(writable, view);
    writable[0] = 'M';
    b.releaseBuffer(b.getNBytes());
    EXPECT_EQ(Content(b), "Mapped bytes");
    EXPECT_FALSE(b.IsMapped());
    EXPECT_EQ(read(path("m")), "mapped bytes");

    SSimpleBuffer grown;
    ASSERT_TRUE(grown.loadFromFile(SAnsiString(path("m").c_str()), true, false));
    grown.append(Bytes("!"), 1);
    EXPECT_EQ(Content(grown), "mapped bytes!");
    EXPECT_EQ(read(path("m")), "mapped bytes");

    SSimpleBuffer detached;
    ASSERT_TRUE(detached.loadFromFile(SAnsiString(path("m").c_str()), true, false));
    unsigned char *block = detached.detach();
    ASSERT_NE(block, nullptr);
    block[0] = 'D';
    SSimpleBuffer::dealloc(block);
    EXPECT_EQ(read(path("m")), "mapped bytes");
}

TEST_F(SimpleBufferFiles, TemporaryMappedFileGoesWithTheLastHolder) {
    write(path("t"), "temporary");
    int descriptors = openDescriptors();
    {
        SSimpleBuffer b;
        ASSERT_TRUE(b.loadFromFile(SAnsiString(path("t").c_str()), true, true));
        SSimpleBuffer copy = b;
        b.empty();
        EXPECT_TRUE(exists(path("t")));
        EXPECT_EQ(Content(copy), "temporary");
        EXPECT_EQ(openDescriptors(), descriptors + 1);
    }
    EXPECT_FALSE(exists(path("t")));
    EXPECT_EQ(openDescriptors(), descriptors);

    // Not temporary, or read rather than mapped: the file stays.
    write(path("k"), "kept");
    {
        SSimpleBuffer mapped, read;
        ASSERT_TRUE(mapped.loadFromFile(SAnsiString(path("k").c_str()), true, false));
        ASSERT_TRUE(read.loadFromFile(SAnsiString(path("k").c_str()), false, true));
        write(path("empty"), "");
        EXPECT_FALSE(read.loadFromFile(SAnsiString(path("empty").c_str()), true, true));
    }
    EXPECT_TRUE(exists(path("k")));
    EXPECT_EQ(openDescriptors(), descriptors);

    // Losing the file early costs nothing.
    write(path("gone"), "x");
    {
        SSimpleBuffer b;
        ASSERT_TRUE(b.loadFromFile(SAnsiString(path("gone").c_str()), true, true));
        unlink(path("gone").c_str());
    }
}

TEST_F(SimpleBufferFiles, SizesAreThirtyTwoBit) {
    int file = open(path("big").c_str(), O_CREAT | O_WRONLY, 0600);
    ASSERT_GE(file, 0);
    ASSERT_EQ(::write(file, "0123456789abcdefXYZ", 19), 19);
    bool sparse = ftruncate(file, 0x100000010LL) == 0;
    close(file);
    if (!sparse)
        GTEST_SKIP() << "no sparse files here";
    SSimpleBuffer b;
    ASSERT_TRUE(b.loadFromFile(SAnsiString(path("big").c_str())));
    EXPECT_EQ(Content(b), "0123456789abcdef");
    EXPECT_FALSE(b.loadFromFile(SAnsiString(path("big").c_str()), true, false));
}

TEST_F(SimpleBufferFiles, SavesWithOverwriteOrExclusive) {
    SSimpleBuffer b = Make("first");
    ASSERT_TRUE(b.saveToFile(SAnsiString(path("s").c_str()), false));
    EXPECT_EQ(read(path("s")), "first");
    struct stat info;
    ASSERT_EQ(stat(path("s").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u & ~[] {
        mode_t mask = umask(0);
        umask(mask);
        return mask;
    }());

    CapturingSink sink;
    EXPECT_FALSE(Make("second").saveToFile(SAnsiString(path("s").c_str()), false));
    EXPECT_EQ(read(path("s")), "first");
    EXPECT_TRUE(sink.saw("SSimpleBuffer::saveToFile: could not open file "));
    EXPECT_TRUE(sink.saw("File exists"));

    ASSERT_TRUE(Make("2nd").saveToFile(SAnsiString(path("s").c_str()), true));
    EXPECT_EQ(read(path("s")), "2nd");

    // Nothing to write: success, and no file.
    EXPECT_TRUE(SSimpleBuffer().saveToFile(SAnsiString(path("e").c_str()), true));
    EXPECT_FALSE(exists(path("e")));
    EXPECT_FALSE(Make("x").saveToFile(SAnsiString((m_dir + "/no/dir").c_str()), true));
}
