// SSimpleBuffer: the shared empty buffer, copy on write, growth, comparison,
// handing blocks over, and loading and saving files, read or mapped.
#include "tarnkit/simplebuffer.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>

using namespace TarnkitA201;
namespace fs = std::filesystem;

namespace {

// The text's bytes, only ever read.
unsigned char *Bytes(const char *text) { return reinterpret_cast<unsigned char *>(const_cast<char *>(text)); }
const unsigned char *Data(const SSimpleBuffer &b) { return b; }
SSimpleBuffer Make(const char *text) { return SSimpleBuffer(Bytes(text), std::strlen(text), false); }

std::string Content(const SSimpleBuffer &b) {
    return Data(b) == nullptr ? "<null>" : std::string(reinterpret_cast<const char *>(Data(b)), b.getNBytes());
}

// "content (used/allocated)": the whole visible state at once.
std::string State(const SSimpleBuffer &b) {
    return Content(b) + " (" + std::to_string(b.getNBytes()) + "/" + std::to_string(b.getNBytesAllocated()) + ")";
}

// Copies `text` into the block getBuffer(minimum) gives, declares `used` bytes and gives the block.
unsigned char *Write(SSimpleBuffer &b, size_t minimum, const std::string &text, size_t used) {
    unsigned char *block = b.getBuffer(minimum);
    if (block != nullptr)
        std::copy(text.begin(), text.end(), block);
    b.releaseBuffer(used);
    return block;
}

struct SimpleBufferFiles : ::testing::Test {
    void SetUp() override { ASSERT_NE(mkdtemp(m_dir.data()), nullptr); }
    void TearDown() override { fs::remove_all(m_dir); }

    std::string path(const char *name) const { return m_dir + "/" + name; }
    // The name of file `name` in the test's directory, first written with
    // `text` unless that is null.
    SAnsiString file(const char *name, const char *text = nullptr) const {
        EXPECT_TRUE(text == nullptr || std::ofstream(path(name), std::ios::binary) << text);
        return SAnsiString(path(name).c_str());
    }
    static SSimpleBuffer load(const SAnsiString &name, bool map = false, bool temporary = false) {
        SSimpleBuffer b;
        EXPECT_TRUE(b.loadFromFile(name, map, temporary)) << name.getString();
        return b;
    }
    std::string read(const char *name) const {
        std::ifstream in(path(name), std::ios::binary);
        return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "<missing>";
    }
    static long openDescriptors() { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); }

    std::string m_dir = "/tmp/simplebuffer-XXXXXX";
};

} // namespace

TEST(SimpleBuffer, EmptyBufferAndComparison) {
    SSimpleBuffer empty;
    EXPECT_EQ(State(empty), "<null> (0/1)");
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
    TarnkitTest::CapturingSink sink;
    SSimpleBuffer rejected(nullptr, 4, true);
    EXPECT_TRUE(sink.saw("assert failure"));
    EXPECT_TRUE(sink.saw("(0 : no message)"));
    EXPECT_EQ(State(rejected), "<null> (0/0)");
    EXPECT_EQ(rejected.detach(), nullptr);
    EXPECT_TRUE(SSimpleBuffer(rejected).isEmpty());
    rejected.append(Bytes("ok"), 2);
    EXPECT_EQ(Content(rejected), "ok");

    EXPECT_TRUE(Make("abc") == Make("abc"));
    EXPECT_FALSE(Make("abc") == Make("abcd"));
    EXPECT_TRUE(Make("abc") != Make("abd"));
    EXPECT_TRUE(Make("abc") == Bytes("abcdef"));
    EXPECT_FALSE(Make("abc") == Bytes("abx"));
    EXPECT_FALSE(Make("abc") == static_cast<const unsigned char *>(nullptr));
    EXPECT_LT(Make("abc").compare(Make("abd")), 0);
    EXPECT_GT(Make("abd").compare(Make("abc")), 0);
    // Of different sizes, exactly -1 or 1.
    for (auto [a, b, result] : {std::tuple{"ab", "abc", -1}, {"abc", "ab", 1}, {"b", "abc", 1}, {"abc", "b", -1}})
        EXPECT_EQ(Make(a).compare(Make(b)), result) << a << " " << b;
    EXPECT_EQ(SSimpleBuffer().compare(Make("a")), -1);
    EXPECT_TRUE(Make("ab") < Make("abc"));
    EXPECT_FALSE(Make("b") < Make("abc"));
}

TEST(SimpleBuffer, CopyOnWriteDetachAppendAndGetBuffer) {
    SSimpleBuffer a = Make("abc"), b = a;
    const unsigned char *shared = a;
    EXPECT_EQ(Data(b), shared);
    b.append(Bytes("d"), 1);
    EXPECT_EQ(Content(a), "abc");
    EXPECT_EQ(Content(b), "abcd");
    EXPECT_EQ(Data(a), shared);

    SSimpleBuffer c = a;
    ASSERT_NE(Write(c, SSimpleBuffer::npos, "X", 3), shared);
    EXPECT_EQ(Content(a), "abc");
    EXPECT_EQ(Content(c), "Xbc");
    c = a;
    c.empty();
    EXPECT_TRUE(c.isEmpty());
    EXPECT_EQ(Content(a), "abc");

    // Detaching hands the block over; a shared one is copied first.
    unsigned char *block = SSimpleBuffer::alloc(4);
    ASSERT_NE(block, nullptr);
    SSimpleBuffer adopted(block, 4, true);
    EXPECT_EQ(Data(adopted), block);
    EXPECT_EQ(adopted.detach(), block);
    EXPECT_TRUE(adopted.isEmpty());
    SSimpleBuffer::dealloc(block);

    unsigned char source[] = {1, 2, 3};
    SSimpleBuffer copied(source, 3, false);
    EXPECT_NE(Data(copied), source);
    SSimpleBuffer other = copied;
    TarnkitTest::CapturingSink sink;
    unsigned char *mine = copied.detach();
    ASSERT_NE(mine, nullptr);
    EXPECT_NE(mine, Data(other));
    EXPECT_EQ(std::memcmp(mine, source, 3), 0);
    EXPECT_TRUE(sink.saw("SSimpleBuffer::detach() copying buffer before detaching"));
    EXPECT_EQ(other.getNBytes(), 3u);
    SSimpleBuffer::dealloc(mine);

    // Appending grows exactly unless given extra.
    SSimpleBuffer grown;
    grown.append(Bytes("abcd"), 4, 100);
    EXPECT_EQ(grown.getNBytesAllocated(), 104u);
    const unsigned char *first = grown;
    grown.append(Bytes("efg"), 3, 100);
    EXPECT_EQ(Data(grown), first);
    EXPECT_EQ(Content(grown), "abcdefg");
    // Filling the block exactly still replaces it.
    grown.append(Bytes(std::string(97, 'z').c_str()), 97);
    EXPECT_NE(Data(grown), first);
    EXPECT_EQ(State(grown), "abcdefg" + std::string(97, 'z') + " (104/104)");

    SSimpleBuffer bytes;
    bytes << 'a' << 'b';
    bytes.append('c');
    EXPECT_EQ(State(bytes), "abc (3/3)");
    bytes.append(nullptr, 5);
    bytes.append(Bytes("x"), 0);
    EXPECT_EQ(Content(bytes), "abc");
    // A piece of the buffer itself, even when the block moves.
    bytes.append(bytes, 2);
    EXPECT_EQ(Content(bytes), "abcab");

    SSimpleBuffer sized(10);
    EXPECT_EQ(State(sized), " (0/10)");
    first = sized;
    EXPECT_EQ(sized.getBuffer(SSimpleBuffer::npos), first);
    EXPECT_EQ(Write(sized, 9, "hello", 5), first);
    EXPECT_EQ(Content(sized), "hello");
    // Asking for the whole block or more moves the content to a new one.
    EXPECT_NE(sized.getBuffer(10), first);
    EXPECT_EQ(State(sized), "hello (5/10)");
    sized.getBuffer(2);
    EXPECT_EQ(sized.getNBytes(), 5u);
    // A size beyond the block is refused rather than trusted.
    sink.clear();
    sized.releaseBuffer(500);
    EXPECT_TRUE(sink.saw("assert failure"));
    EXPECT_EQ(sized.getNBytes(), sized.getNBytesAllocated());

    SSimpleBuffer fresh;
    ASSERT_NE(Write(fresh, 3, "xyz", 3), nullptr);
    EXPECT_EQ(Content(fresh), "xyz");
}

TEST_F(SimpleBufferFiles, LoadsByReadingOrMappingTemporaryFilesGoAndSaving) {
    SSimpleBuffer loaded = load(file("a", "file content")), mapped = load(file("a"), true);
    EXPECT_EQ(State(loaded), "file content (12/12)");
    EXPECT_FALSE(loaded.IsMapped());
    EXPECT_EQ(Content(mapped), "file content");
    EXPECT_TRUE(mapped.IsMapped());

    TarnkitTest::CapturingSink sink;
    SSimpleBuffer zero = Make("old"), missing = Make("old");
    ASSERT_TRUE(zero.loadFromFile(file("zero", "")));
    EXPECT_EQ(State(zero), " (0/0)");
    // An empty file has nothing to map.
    EXPECT_FALSE(zero.loadFromFile(file("zero"), true, false));

    EXPECT_FALSE(missing.loadFromFile(file("none")));
    EXPECT_TRUE(missing.isEmpty());
    EXPECT_TRUE(sink.saw("SSimpleBuffer::loadFromFile: could not read from file "));
    EXPECT_TRUE(sink.saw("No such file or directory"));
    EXPECT_FALSE(missing.loadFromFile(file("none"), true, false));
    EXPECT_TRUE(sink.saw("for memory-mapped reading. Errno is 2"));

    // Writing through a mapped buffer copies first; the file never changes.
    SSimpleBuffer written = load(file("m", "mapped bytes"), true), grown = load(file("m"), true);
    const unsigned char *view = written;
    const unsigned char *writable = Write(written, SSimpleBuffer::npos, "M", 12);
    ASSERT_NE(writable, nullptr);
    EXPECT_NE(writable, view);
    EXPECT_EQ(Content(written), "Mapped bytes");
    EXPECT_FALSE(written.IsMapped());
    EXPECT_EQ(read("m"), "mapped bytes");
    grown.append(Bytes("!"), 1);
    EXPECT_EQ(Content(grown), "mapped bytes!");
    EXPECT_EQ(read("m"), "mapped bytes");
    unsigned char *block = load(file("m"), true).detach();
    ASSERT_NE(block, nullptr);
    block[0] = 'D';
    SSimpleBuffer::dealloc(block);
    EXPECT_EQ(read("m"), "mapped bytes");

    // A temporary mapped file goes with the last buffer that maps it.
    const long descriptors = openDescriptors();
    {
        SSimpleBuffer b = load(file("t", "temporary"), true, true), copy = b;
        b.empty();
        EXPECT_TRUE(fs::exists(path("t")));
        EXPECT_EQ(Content(copy), "temporary");
        EXPECT_EQ(openDescriptors(), descriptors + 1);
    }
    EXPECT_FALSE(fs::exists(path("t")));
    EXPECT_EQ(openDescriptors(), descriptors);

    // Not temporary, or read rather than mapped: the file stays.
    {
        SSimpleBuffer keptMapped = load(file("k", "kept"), true, false), keptRead = load(file("k"), false, true);
        EXPECT_FALSE(keptRead.loadFromFile(file("empty", ""), true, true));
    }
    EXPECT_TRUE(fs::exists(path("k")));
    EXPECT_EQ(openDescriptors(), descriptors);

    ASSERT_TRUE(Make("first").saveToFile(file("s"), false));
    EXPECT_EQ(read("s"), "first");
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(static_cast<unsigned>(fs::status(path("s")).permissions() & fs::perms::all), 0700u & ~mask);

    EXPECT_FALSE(Make("second").saveToFile(file("s"), false));
    EXPECT_EQ(read("s"), "first");
    EXPECT_TRUE(sink.saw("SSimpleBuffer::saveToFile: could not open file "));
    EXPECT_TRUE(sink.saw("File exists"));
    ASSERT_TRUE(Make("2nd").saveToFile(file("s"), true));
    EXPECT_EQ(read("s"), "2nd");

    // Nothing to write: success, and no file.
    EXPECT_TRUE(SSimpleBuffer().saveToFile(file("e"), true));
    EXPECT_FALSE(fs::exists(path("e")));
    EXPECT_FALSE(Make("x").saveToFile(file("no/dir"), true));

    // Losing a temporary file early costs nothing.
    SSimpleBuffer gone = load(file("gone", "x"), true, true);
    fs::remove(path("gone"));

    // Sizes are 32-bit: a file of 4 GiB and 16 bytes reads as 16 bytes.
    file("big", "0123456789abcdefXYZ");
    std::error_code error;
    fs::resize_file(path("big"), 0x100000010LL, error);
    if (error)
        GTEST_SKIP() << "no sparse files here";
    EXPECT_EQ(Content(load(file("big"))), "0123456789abcdef");
    EXPECT_FALSE(loaded.loadFromFile(file("big"), true, false));
}
