// Tests of the file object: its exception texts, opening and its flags, share
// modes, temporary files, seeking in 32 and 64 bits, and reading lines.
#include "tarnkit/sfile.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace TarnkitA201;
using Err = SFileException;
namespace fs = std::filesystem;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }
// The error number and its coarse class, checked together.
std::pair<int, Err::DetailCodes> Facts(const Err &e) { return {e.getErrno(), e.DetailCode()}; }

// Catches the exception an expression throws and checks its code; fails the test if none.
template <class Body>
Err Thrown(Body body, Err::ErrorCodes code) {
    try {
        body();
    } catch (const Err &e) {
        EXPECT_EQ(e.ErrCode(), code);
        return e;
    }
    ADD_FAILURE() << "no SFileException";
    return Err();
}

struct FileTest : ::testing::Test {
    void SetUp() override { ASSERT_NE(mkdtemp(m_dir.data()), nullptr); }
    void TearDown() override { fs::remove_all(m_dir); }

    SAnsiString path(const char *name) const { return SAnsiString((m_dir + "/" + name).c_str()); }
    // Writes the file and gives its name.
    SAnsiString put(const char *name, const std::string &bytes) const {
        std::ofstream(path(name).getString(), std::ios::binary) << bytes;
        return path(name);
    }
    std::string get(const char *name) const {
        SFile f(path(name), SFile::readOnly, 0, SFile::denyNothing);
        std::string bytes(static_cast<size_t>(f.sizeEx()), '\0');
        EXPECT_EQ(f.read(bytes.data(), static_cast<unsigned>(bytes.size())), static_cast<int>(bytes.size()));
        return bytes;
    }
    unsigned modeOf(const char *name) const {
        return static_cast<unsigned>(fs::status(m_dir + "/" + name).permissions());
    }
    Err openFailure(const SAnsiString &name, int flags = SFile::readOnly, int share = SFile::denyNothing) const {
        return Thrown([&] { SFile f(name, flags, 0, share); }, Err::OpenError);
    }
    static long countOpenDescriptors() { return std::distance(fs::directory_iterator("/proc/self/fd"), {}); }

    std::string m_dir = "/tmp/sfile-XXXXXX";
};

TEST(SFileException, CodesTextsAndSummary) {
    EXPECT_EQ(Err().ErrCode(), Err::UnknownError);
    EXPECT_EQ(Str(Err().toString()), "Unknown error (exception).  ");

    const std::pair<int, Err::DetailCodes> details[] = {{ENOENT, Err::NoSuchFile},   {ENOTDIR, Err::NoSuchFile},
                                                        {EACCES, Err::AccessDenied}, {EROFS, Err::AccessDenied},
                                                        {ENOMEM, Err::OutOfMemory},  {ENAMETOOLONG, Err::OtherDetail},
                                                        {0, Err::OtherDetail}};
    for (const auto &[err, detail] : details)
        EXPECT_EQ(Err::MapErrno(err), detail) << err;

    const std::pair<Err::ErrorCodes, const char *> cases[] = {
        {Err::OpenError, "Failed to open the file /f.  Reason: why"},
        {Err::ReadError, "Fail to read file /f.  Reason given: why"},
        {Err::WriteError, "Fail to write file /f.  Reason given: why"},
        {Err::FlushError, "Fail to flush file /f.  Reason given: why.  File may not be completely written to disk."},
        {Err::SeekError, "Unknown error (exception).  "},
        {Err::LockError, "Fail to lock bytes of file /f.  Reason given: why"},
    };
    for (const auto &[code, text] : cases) {
        Err e(code, 5, "/f", Err::OtherDetail, "why", "ctx");
        EXPECT_EQ(Str(e.toString()), text);
        EXPECT_EQ(Str(e.summary()), std::string(text) + ":ctx");
        EXPECT_EQ(Err(e).getErrno(), 5);
        EXPECT_EQ(Str(Err(e).getReason()), "why");
    }
}

TEST_F(FileTest, OpeningTranslatesFlagsPermissionsAndShareModesAndReportsFailures) {
    SFile f(path("a"), SFile::writeOnly | SFile::create | SFile::append, 0x180, SFile::denyNothing);
    const int flags = ::fcntl(f.getFd(), F_GETFL);
    EXPECT_EQ(flags & O_ACCMODE, O_WRONLY);
    EXPECT_TRUE(flags & O_APPEND);
    EXPECT_TRUE(::fcntl(f.getFd(), F_GETFD) & FD_CLOEXEC); // with or without noInherit
    EXPECT_EQ(modeOf("a"), 0600u);
    f.write("one", 3);
    f.seekToBegin();
    f.write("two", 3); // appends whatever the position
    f.close();
    EXPECT_EQ(get("a"), "onetwo");

    SFile g(path("b"), SFile::readAndWrite | SFile::create, 448, SFile::denyNothing);
    EXPECT_EQ(modeOf("b"), 0700u);
    EXPECT_EQ(::fcntl(g.getFd(), F_GETFL) & O_ACCMODE, O_RDWR);

    const mode_t mask = ::umask(022);
    SFile h(path("c"), SFile::writeOnly | SFile::create, SFile::defaultPermissions, SFile::denyNothing);
    ::umask(mask);
    EXPECT_EQ(modeOf("c"), 0644u);

    SFile t(put("d", "old content"), SFile::writeOnly | SFile::truncate, 0, SFile::denyNothing);
    EXPECT_EQ(t.sizeEx(), 0);
    EXPECT_EQ(SFile::writeMask, 0x1C0);

    Err e = Thrown([&] { SFile(path("never")).open(-1, 0, SFile::denyNothing); }, Err::OpenError);
    EXPECT_EQ(Facts(e), std::pair(0, Err::OtherDetail));
    EXPECT_EQ(Str(e.getReason()), "No file access mode provided.");
    EXPECT_EQ(Str(e.summary()),
              "Failed to open the file " + Str(path("never")) + ".  Reason: No file access mode provided.:");

    e = openFailure(path("missing"));
    EXPECT_EQ(Facts(e), std::pair(ENOENT, Err::NoSuchFile));
    EXPECT_EQ(Str(e.getReason()), std::strerror(ENOENT));
    EXPECT_EQ(Facts(openFailure(put("exists", "keep") + "/child")), std::pair(ENOTDIR, Err::NoSuchFile));
    EXPECT_EQ(openFailure(m_dir.c_str()).getErrno(), EISDIR);

    SFile failed(path("exists"));
    const int exclusive = SFile::writeOnly | SFile::create | SFile::exclusive;
    EXPECT_EQ(Thrown([&] { failed.open(exclusive, 0x180, SFile::denyNothing); }, Err::OpenError).getErrno(), EEXIST);
    EXPECT_EQ(failed.getFd(), -1);
    EXPECT_FALSE(failed.isOpened());

    // Permission denied, for a user without root's rights: root reads
    // everything, so the open runs in a child that has given up root.
    ASSERT_EQ(::chmod(put("secret", "s").getString(), geteuid() == 0 ? 0600 : 0), 0);
    ASSERT_EQ(::chmod(m_dir.c_str(), 0755), 0);
    TarnkitTest::AsNobodyInChild([&] {
        const Err denied = openFailure(path("secret"));
        EXPECT_EQ(Facts(denied), std::pair(EACCES, Err::AccessDenied));
        EXPECT_NE(Str(denied.toString()).find(std::strerror(EACCES)), std::string::npos);
    });

    // Share modes conflict among the library's users.
    SFile holder(put("s", "precious"), SFile::readAndWrite, 0, SFile::denyReadAndWrite);
    e = openFailure(path("s"), SFile::writeOnly | SFile::truncate, SFile::denyWrite);
    EXPECT_EQ(Facts(e), std::pair(EACCES, Err::AccessDenied));
    EXPECT_NE(Str(e.getReason()).find("Sharing violation"), std::string::npos);
    EXPECT_EQ(get("s"), "precious"); // the refused open truncated nothing
    SFile free(path("s"), SFile::readOnly, 0, SFile::denyNothing);
    holder.close();

    SFile w1(path("s"), SFile::readOnly, 0, SFile::denyWrite);
    SFile w2(path("s"), SFile::readOnly, 0, SFile::denyWrite);
    EXPECT_EQ(openFailure(path("s"), SFile::readOnly, SFile::denyRead).getErrno(), EACCES);
    w1.close();
    w2.close();
    SFile r(path("s"), SFile::readOnly, 0, SFile::denyRead);
    EXPECT_EQ(openFailure(path("s"), SFile::readOnly, 0x77).getErrno(), EINVAL);
}

TEST_F(FileTest, CloseKeepsDescriptorNumberReopenDoesNotLeakAndTemporaryFilesGo) {
    SFile f(put("a", "abc"));
    const long before = countOpenDescriptors();
    f.open(SFile::readOnly, 0, SFile::denyNothing);
    f.open(SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(countOpenDescriptors(), before + 1);
    const int fd = f.getFd();
    f.close();
    f.close();
    EXPECT_EQ(countOpenDescriptors(), before);
    EXPECT_EQ(f.getFd(), fd);
    char c;
    const Err e = Thrown([&] { f.read(&c, 1); }, Err::ReadError);
    EXPECT_EQ(Facts(e), std::pair(0, Err::NotOpened));
    EXPECT_EQ(Str(e.getReason()), "File not opened yet.");
    Thrown([&] { f.seekEx(SFile::seekBegin, 0); }, Err::SeekError);
    Thrown([&] { f.write("x", 1); }, Err::WriteError);

    // The old number may name another file by now: it is not committed.
    SFile w(path("a"), SFile::writeOnly, 0, SFile::denyNothing);
    w.close();
    SFile other(path("a"), SFile::readOnly, 0, SFile::denyNothing);
    ASSERT_EQ(other.getFd(), w.getFd());
    EXPECT_EQ(Thrown([&] { w.flush(); }, Err::FlushError).getErrno(), EBADF);
    Thrown([] { SFile().flush(); }, Err::FlushError);
    other.close();
    other.flush(); // read-only: nothing to commit, whatever the state

    // A temporary file goes at close, unless its name was reused.
    {
        SFile temporary(path("tmp"), SFile::readAndWrite | SFile::create | SFile::temporary, 0x180, SFile::denyNothing);
        temporary.write("x", 1);
        EXPECT_EQ(::access(path("tmp").getString(), F_OK), 0);
    }
    EXPECT_NE(::access(path("tmp").getString(), F_OK), 0);
    SFile g(path("tmp2"), SFile::writeOnly | SFile::create | SFile::temporary, 0x180, SFile::denyNothing);
    ASSERT_EQ(::unlink(path("tmp2").getString()), 0);
    put("tmp2", "someone else's");
    g.close();
    EXPECT_EQ(get("tmp2"), "someone else's");
}

TEST_F(FileTest, SeekSizeAndEofIn32And64Bits) {
    SFile f(path("n"), SFile::readAndWrite | SFile::create, 0x180, SFile::denyNothing);
    EXPECT_TRUE(f.eof());
    EXPECT_EQ(f.write("0123456789", 10), 10);
    EXPECT_TRUE(f.eof());
    EXPECT_EQ(f.seek(SFile::seekBegin, 3), 3); // origin first
    EXPECT_EQ(f.seek(SFile::seekCurrent, 2), 5);
    EXPECT_EQ(f.size(), 10u);
    EXPECT_EQ(f.sizeEx(), 10);
    EXPECT_EQ(f.getPosition(), 5u); // size restored it
    EXPECT_FALSE(f.eof());
    EXPECT_EQ(f.getPositionEx(), 5);
    char buffer[8] = {};
    EXPECT_EQ(f.read(buffer, 8), 5);
    EXPECT_STREQ(buffer, "56789");
    EXPECT_EQ(f.read(buffer, 8), 0);
    EXPECT_EQ(f.seekEx(SFile::seekEnd, 5), 15);
    EXPECT_TRUE(f.eof());
    EXPECT_EQ(Thrown([&] { f.seekEx(SFile::seekBegin, -1); }, Err::SeekError).getErrno(), EINVAL);
    EXPECT_EQ(f.getPositionEx(), 15);
    f.flush();

    // The 32-bit family on a 5 GiB file.
    const __int64 fiveGiB = 5LL << 30;
    if (::truncate(put("big", "").getString(), fiveGiB) != 0)
        GTEST_SKIP() << "no sparse files of 5 GiB here";
    SFile big(path("big"), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(big.size(), 1u << 30);
    EXPECT_EQ(big.sizeEx(), fiveGiB);
    EXPECT_EQ(big.seekEx(SFile::seekBegin, fiveGiB - 1), fiveGiB - 1);
    EXPECT_FALSE(big.eof());
    EXPECT_EQ(big.seek(SFile::seekBegin, 100), 100);
    EXPECT_EQ(Thrown([&] { big.seek(SFile::seekEnd, 0); }, Err::SeekError).getErrno(), EINVAL);
    EXPECT_EQ(big.getPositionEx(), 100); // a refused seek stays put
}

TEST_F(FileTest, ReadLineDropsCarriageReturnsAndNulBytesAndTextSpeaksUtf8) {
    SFile f(put("lines", "a\r\nb"), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(Str(f.readLine()), "a");
    EXPECT_EQ(f.getPosition(), 3u);
    EXPECT_EQ(Str(f.readLine()), "b");
    EXPECT_TRUE(f.eof());
    EXPECT_EQ(Str(f.readLine()), "");

    f.open(put("mixed", std::string("a\rb\n\nc\0d\n", 9)), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(Str(f.readLine()), "ab");
    EXPECT_EQ(Str(f.readLine()), "");
    EXPECT_FALSE(f.eof());
    EXPECT_EQ(Str(f.readLine()), "cd");
    EXPECT_TRUE(f.eof());

    f.open(put("empty", ""), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(Str(f.readLine()), "");
    EXPECT_EQ(Str(f.readString()), "");
    f.close();
    Thrown([&] { f.readLine(); }, Err::SeekError);

    // Random text against a model: a line runs to just past its '\n' (the
    // last one to the end), less the line end, carriage returns and NULs.
    std::mt19937 random(7);
    const char alphabet[] = {'a', 'b', '\r', '\n', '\0', 'z'};
    std::string bytes;
    for (int i = 0; i < 30000; ++i)
        bytes.push_back(random() % 50 == 0 ? '\n' : alphabet[random() % sizeof alphabet]);
    bytes += std::string(9000, 'q'); // a last line over two read chunks, no line end
    f.open(put("random", bytes), SFile::readOnly, 0, SFile::denyNothing);
    for (size_t start = 0, end; start < bytes.size(); start = end) {
        end = std::min(bytes.find('\n', start), bytes.size() - 1) + 1;
        std::string expected = bytes.substr(start, end - start);
        std::erase_if(expected, [](char c) { return c == '\r' || c == '\0' || c == '\n'; });
        ASSERT_EQ(Str(f.readLine()), expected) << "line at " << start;
        ASSERT_EQ(f.getPositionEx(), static_cast<__int64>(end)) << "line at " << start;
    }
    EXPECT_TRUE(f.eof());

    // The text helpers speak UTF-8 in a UTF-8 locale.
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 is not installed";
    f.open(path("u"), SFile::readAndWrite | SFile::create, 0x180, SFile::denyNothing);
    EXPECT_EQ(f.writeString("gr\xC3\xBC\xC3\x9F \xE2\x82\xAC\n"), 11u);
    EXPECT_EQ(f.writeString(""), 0u);
    EXPECT_EQ(f.writeString("\xF0\x9F\x98\x80 end"), 8u);
    EXPECT_EQ(f.sizeEx(), 19);
    f.seekToBegin();
    EXPECT_EQ(Str(f.readLine()), "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC");
    EXPECT_EQ(Str(f.readString()), "\xF0\x9F\x98\x80 end");
    EXPECT_TRUE(f.eof());
    f.seek(SFile::seekBegin, 4);
    EXPECT_EQ(Str(f.readString()), "\xC3\x9F \xE2\x82\xAC\n\xF0\x9F\x98\x80 end");
    f.close();
    Thrown([&] { f.writeString("x"); }, Err::WriteError);
}

} // namespace
