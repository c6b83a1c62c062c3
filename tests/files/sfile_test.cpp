#include "tarnkit/sfile.h"

#include "support/testsupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace TarnkitA201;

namespace {

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

class FileTest : public ::testing::Test {
protected:
    void SetUp() override {
        char pattern[] = "/tmp/sfile-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
    }
    void TearDown() override { (void)std::system(("rm -rf '" + m_dir + "'").c_str()); }

    SAnsiString path(const char *name) const { return SAnsiString((m_dir + "/" + name).c_str()); }
    void put(const char *name, const std::string &bytes) const {
        int fd = ::open(path(name).getString(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(::write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        ::close(fd);
    }
    std::string get(const char *name) const {
        SFile f(path(name), SFile::readOnly, 0, SFile::denyNothing);
        std::string bytes(static_cast<size_t>(f.sizeEx()), '\0');
        if (!bytes.empty()) {
            EXPECT_EQ(f.read(bytes.data(), static_cast<unsigned>(bytes.size())), static_cast<int>(bytes.size()));
        }
        return bytes;
    }
    static int openFlagsOf(int fd) {
        int flags = ::fcntl(fd, F_GETFL);
        return flags | ((::fcntl(fd, F_GETFD) & FD_CLOEXEC) ? O_CLOEXEC : 0);
    }
    static int countOpenDescriptors() {
        DIR *d = ::opendir("/proc/self/fd");
        int n = 0;
        while (::readdir(d) != nullptr)
            ++n;
        ::closedir(d);
        return n;
    }

    std::string m_dir;
};

// Catches the exception an expression throws; fails the test if none.
template <class Body>
SFileException Thrown(Body body) {
    try {
        body();
    } catch (const SFileException &e) {
        return e;
    }
    ADD_FAILURE() << "no SFileException";
    return SFileException();
}

TEST(SFileException, CodesTextsAndSummary) {
    SFileException blank;
    EXPECT_EQ(blank.ErrCode(), SFileException::UnknownError);
    EXPECT_EQ(Str(blank.toString()), "Unknown error (exception).  ");

    EXPECT_EQ(SFileException::MapErrno(ENOENT), SFileException::NoSuchFile);
    EXPECT_EQ(SFileException::MapErrno(ENOTDIR), SFileException::NoSuchFile);
    EXPECT_EQ(SFileException::MapErrno(EACCES), SFileException::AccessDenied);
    EXPECT_EQ(SFileException::MapErrno(EROFS), SFileException::AccessDenied);
    EXPECT_EQ(SFileException::MapErrno(ENOMEM), SFileException::OutOfMemory);
    EXPECT_EQ(SFileException::MapErrno(ENAMETOOLONG), SFileException::OtherDetail);
    EXPECT_EQ(SFileException::MapErrno(0), SFileException::OtherDetail);

    const struct {
        SFileException::ErrorCodes code;
        const char *text;
    } cases[] = {
        {SFileException::OpenError, "Failed to open the file /f.  Reason: why"},
        {SFileException::ReadError, "Fail to read file /f.  Reason given: why"},
        {SFileException::WriteError, "Fail to write file /f.  Reason given: why"},
        {SFileException::FlushError,
         "Fail to flush file /f.  Reason given: why.  File may not be completely written to disk."},
        {SFileException::SeekError, "Unknown error (exception).  "},
        {SFileException::LockError, "Fail to lock bytes of file /f.  Reason given: why"},
    };
    for (const auto &c : cases) {
        SFileException e(c.code, 5, SAnsiString("/f"), SFileException::OtherDetail, SAnsiString("why"),
                         SAnsiString("ctx"));
        EXPECT_EQ(Str(e.toString()), c.text);
        EXPECT_EQ(Str(e.summary()), std::string(c.text) + ":ctx");
        SFileException copy(e);
        EXPECT_EQ(copy.getErrno(), 5);
        EXPECT_EQ(Str(copy.getReason()), "why");
    }
}

TEST_F(FileTest, OpenFailuresCarryCodeDetailAndSystemText) {
    SFile noMode(path("never"));
    SFileException e = Thrown([&] { noMode.open(-1, 0, SFile::denyNothing); });
    EXPECT_EQ(e.ErrCode(), SFileException::OpenError);
    EXPECT_EQ(e.DetailCode(), SFileException::OtherDetail);
    EXPECT_EQ(e.getErrno(), 0);
    EXPECT_EQ(Str(e.getReason()), "No file access mode provided.");
    EXPECT_EQ(Str(e.summary()), "Failed to open the file " + Str(path("never")) + ".  Reason: No file access mode provided.:");

    e = Thrown([&] { SFile f(path("missing"), SFile::readOnly, 0, SFile::denyNothing); });
    EXPECT_EQ(e.DetailCode(), SFileException::NoSuchFile);
    EXPECT_EQ(e.getErrno(), ENOENT);
    EXPECT_EQ(Str(e.getReason()), std::strerror(ENOENT));

    put("plain", "x");
    e = Thrown([&] { SFile f(path("plain/child"), SFile::readOnly, 0, SFile::denyNothing); });
    EXPECT_EQ(e.getErrno(), ENOTDIR);
    EXPECT_EQ(e.DetailCode(), SFileException::NoSuchFile);

    e = Thrown([&] { SFile f(SAnsiString(m_dir.c_str()), SFile::readOnly, 0, SFile::denyNothing); });
    EXPECT_EQ(e.getErrno(), EISDIR);

    put("exists", "keep");
    SFile failed(path("exists"));
    e = Thrown([&] { failed.open(SFile::writeOnly | SFile::create | SFile::exclusive, 0x180, SFile::denyNothing); });
    EXPECT_EQ(e.getErrno(), EEXIST);
    EXPECT_EQ(failed.getFd(), -1);
    EXPECT_FALSE(failed.isOpened());
}

TEST_F(FileTest, PermissionDeniedForAnUnprivilegedUser) {
    put("secret", "s");
    ASSERT_EQ(::chmod(path("secret").getString(), geteuid() == 0 ? 0600 : 0), 0);
    auto attempt = [&]() -> int {
        try {
            SFile f(path("secret"), SFile::readOnly, 0, SFile::denyNothing);
            return 1;
        } catch (const SFileException &e) {
            bool ok = e.getErrno() == EACCES && e.DetailCode() == SFileException::AccessDenied &&
                      Str(e.toString()).find(std::strerror(EACCES)) != std::string::npos;
            return ok ? 0 : 2;
        }
    };
    if (geteuid() != 0) {
        EXPECT_EQ(attempt(), 0);
        return;
    }
    // Root reads everything: drop to nobody in a child first.
    ASSERT_EQ(::chmod(m_dir.c_str(), 0755), 0);
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (::setresgid(65534, 65534, 65534) != 0 || ::setresuid(65534, 65534, 65534) != 0)
            ::_exit(3);
        ::_exit(attempt());
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(FileTest, FlagsAndPermissionsAreTranslated) {
    SFile f(path("a"), SFile::writeOnly | SFile::create | SFile::append, 0x180, SFile::denyNothing);
    int flags = openFlagsOf(f.getFd());
    EXPECT_EQ(flags & O_ACCMODE, O_WRONLY);
    EXPECT_TRUE(flags & O_APPEND);
    EXPECT_TRUE(flags & O_CLOEXEC); // with or without noInherit
    struct stat info;
    ASSERT_EQ(::stat(path("a").getString(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    f.write("one", 3);
    f.seekToBegin();
    f.write("two", 3); // appends whatever the position
    f.close();
    EXPECT_EQ(get("a"), "onetwo");

    SFile g(path("b"), SFile::readAndWrite | SFile::create, 448, SFile::denyNothing);
    ASSERT_EQ(::stat(path("b").getString(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    EXPECT_EQ(openFlagsOf(g.getFd()) & O_ACCMODE, O_RDWR);

    mode_t mask = ::umask(022);
    SFile h(path("c"), SFile::writeOnly | SFile::create, SFile::defaultPermissions, SFile::denyNothing);
    ::umask(mask);
    ASSERT_EQ(::stat(path("c").getString(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);

    put("d", "old content");
    SFile t(path("d"), SFile::writeOnly | SFile::truncate, 0, SFile::denyNothing);
    EXPECT_EQ(t.sizeEx(), 0);
    EXPECT_EQ(SFile::writeMask, 0x1C0);
}

TEST_F(FileTest, CloseKeepsDescriptorNumberAndReopenDoesNotLeak) {
    put("a", "abc");
    SFile f(path("a"));
    int before = countOpenDescriptors();
    f.open(SFile::readOnly, 0, SFile::denyNothing);
    f.open(SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(countOpenDescriptors(), before + 1);
    int fd = f.getFd();
    f.close();
    f.close();
    EXPECT_EQ(countOpenDescriptors(), before);
    EXPECT_EQ(f.getFd(), fd);
    char c;
    SFileException e = Thrown([&] { f.read(&c, 1); });
    EXPECT_EQ(e.ErrCode(), SFileException::ReadError);
    EXPECT_EQ(e.DetailCode(), SFileException::NotOpened);
    EXPECT_EQ(e.getErrno(), 0);
    EXPECT_EQ(Str(e.getReason()), "File not opened yet.");
    EXPECT_EQ(Thrown([&] { f.seekEx(SFile::seekBegin, 0); }).ErrCode(), SFileException::SeekError);
    EXPECT_EQ(Thrown([&] { f.write("x", 1); }).ErrCode(), SFileException::WriteError);

    // The old number may name another file by now: it is not committed.
    SFile w(path("a"), SFile::writeOnly, 0, SFile::denyNothing);
    w.close();
    SFile other(path("a"), SFile::readOnly, 0, SFile::denyNothing);
    ASSERT_EQ(other.getFd(), w.getFd());
    EXPECT_EQ(Thrown([&] { w.flush(); }).getErrno(), EBADF);

    SFile never;
    EXPECT_EQ(Thrown([&] { never.flush(); }).ErrCode(), SFileException::FlushError);
    SFile reader(path("a"), SFile::readOnly, 0, SFile::denyNothing);
    reader.close();
    reader.flush(); // read-only: nothing to commit, whatever the state
}

TEST_F(FileTest, TemporaryFileGoesAtCloseUnlessItsNameWasReused) {
    {
        SFile f(path("tmp"), SFile::readAndWrite | SFile::create | SFile::temporary, 0x180, SFile::denyNothing);
        f.write("x", 1);
        EXPECT_EQ(::access(path("tmp").getString(), F_OK), 0);
    }
    EXPECT_NE(::access(path("tmp").getString(), F_OK), 0);

    SFile g(path("tmp2"), SFile::writeOnly | SFile::create | SFile::temporary, 0x180, SFile::denyNothing);
    ASSERT_EQ(::unlink(path("tmp2").getString()), 0);
    put("tmp2", "someone else's");
    g.close();
    EXPECT_EQ(get("tmp2"), "someone else's");
}

TEST_F(FileTest, ShareModesConflictAmongLibraryUsers) {
    put("s", "precious");
    SFile holder(path("s"), SFile::readAndWrite, 0, SFile::denyReadAndWrite);
    SFileException e = Thrown([&] { SFile f(path("s"), SFile::writeOnly | SFile::truncate, 0, SFile::denyWrite); });
    EXPECT_EQ(e.getErrno(), EACCES);
    EXPECT_EQ(e.DetailCode(), SFileException::AccessDenied);
    EXPECT_NE(Str(e.getReason()).find("Sharing violation"), std::string::npos);
    EXPECT_EQ(get("s"), "precious"); // the refused open truncated nothing
    SFile free(path("s"), SFile::readOnly, 0, SFile::denyNothing);
    holder.close();

    SFile w1(path("s"), SFile::readOnly, 0, SFile::denyWrite);
    SFile w2(path("s"), SFile::readOnly, 0, SFile::denyWrite);
    EXPECT_EQ(Thrown([&] { SFile f(path("s"), SFile::readOnly, 0, SFile::denyRead); }).getErrno(), EACCES);
    w1.close();
    w2.close();
    SFile r(path("s"), SFile::readOnly, 0, SFile::denyRead);
    EXPECT_EQ(Thrown([&] { SFile f(path("s"), SFile::readOnly, 0, 0x77); }).getErrno(), EINVAL);
}

TEST_F(FileTest, SeekSizeAndEof) {
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
    SFileException e = Thrown([&] { f.seekEx(SFile::seekBegin, -1); });
    EXPECT_EQ(e.ErrCode(), SFileException::SeekError);
    EXPECT_EQ(e.getErrno(), EINVAL);
    EXPECT_EQ(f.getPositionEx(), 15);
    f.flush();
}

TEST_F(FileTest, ThirtyTwoBitFamilyOnAFiveGigabyteFile) {
    const __int64 fiveGiB = 5LL << 30;
    int fd = ::open(path("big").getString(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    int made = ::ftruncate(fd, fiveGiB);
    ::close(fd);
    if (made != 0)
        GTEST_SKIP() << "no sparse files of 5 GiB here";
    SFile f(path("big"), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(f.size(), 1u << 30);
    EXPECT_EQ(f.sizeEx(), fiveGiB);
    EXPECT_EQ(f.seekEx(SFile::seekBegin, fiveGiB - 1), fiveGiB - 1);
    EXPECT_FALSE(f.eof());
    EXPECT_EQ(f.seek(SFile::seekBegin, 100), 100);
    SFileException e = Thrown([&] { f.seek(SFile::seekEnd, 0); });
    EXPECT_EQ(e.getErrno(), EINVAL);
    EXPECT_EQ(f.getPositionEx(), 100); // a refused seek stays put
}

TEST_F(FileTest, ReadLineDropsCarriageReturnsAndNulBytes) {
    put("lines", std::string("a\r\nb", 4));
    SFile f(path("lines"), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(Str(f.readLine()), "a");
    EXPECT_EQ(f.getPosition(), 3u);
    EXPECT_EQ(Str(f.readLine()), "b");
    EXPECT_TRUE(f.eof());
    EXPECT_EQ(Str(f.readLine()), "");

    put("mixed", std::string("a\rb\n\nc\0d\n", 9));
    f.open(path("mixed"), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(Str(f.readLine()), "ab");
    EXPECT_EQ(Str(f.readLine()), "");
    EXPECT_FALSE(f.eof());
    EXPECT_EQ(Str(f.readLine()), "cd");
    EXPECT_TRUE(f.eof());

    put("empty", "");
    f.open(path("empty"), SFile::readOnly, 0, SFile::denyNothing);
    EXPECT_EQ(Str(f.readLine()), "");
    EXPECT_EQ(Str(f.readString()), "");
    f.close();
    EXPECT_EQ(Thrown([&] { f.readLine(); }).ErrCode(), SFileException::SeekError);
}

TEST_F(FileTest, ReadLineMatchesAByteByByteModelOnRandomText) {
    std::mt19937 random(7);
    const char alphabet[] = {'a', 'b', '\r', '\n', '\0', 'z'};
    std::string bytes;
    for (int i = 0; i < 30000; ++i)
        bytes.push_back(random() % 50 == 0 ? '\n' : alphabet[random() % sizeof alphabet]);
    bytes += std::string(9000, 'q'); // a last line over two read chunks, no line end
    put("random", bytes);

    std::vector<std::string> expected(1);
    std::vector<size_t> ends;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (bytes[i] == '\n') {
            ends.push_back(i + 1);
            expected.emplace_back();
        } else if (bytes[i] != '\r' && bytes[i] != '\0') {
            expected.back().push_back(bytes[i]);
        }
    }
    ends.push_back(bytes.size());

    SFile f(path("random"), SFile::readOnly, 0, SFile::denyNothing);
    for (size_t line = 0; line < expected.size(); ++line) {
        ASSERT_EQ(Str(f.readLine()), expected[line]) << "line " << line;
        ASSERT_EQ(f.getPositionEx(), static_cast<__int64>(ends[line])) << "line " << line;
    }
    EXPECT_TRUE(f.eof());
}

TEST_F(FileTest, TextHelpersSpeakUtf8) {
    TarnkitTest::ScopedLocale locale("en_US.UTF-8");
    if (!locale.ok())
        GTEST_SKIP() << "en_US.UTF-8 is not installed";
    SFile f(path("u"), SFile::readAndWrite | SFile::create, 0x180, SFile::denyNothing);
    EXPECT_EQ(f.writeString(SAnsiString("gr\xC3\xBC\xC3\x9F \xE2\x82\xAC\n")), 11u);
    EXPECT_EQ(f.writeString(SAnsiString("")), 0u);
    EXPECT_EQ(f.writeString(SAnsiString("\xF0\x9F\x98\x80 end")), 8u);
    EXPECT_EQ(f.sizeEx(), 19);
    f.seekToBegin();
    EXPECT_EQ(Str(f.readLine()), "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC");
    EXPECT_EQ(Str(f.readString()), "\xF0\x9F\x98\x80 end");
    EXPECT_TRUE(f.eof());
    f.seek(SFile::seekBegin, 4);
    EXPECT_EQ(Str(f.readString()), "\xC3\x9F \xE2\x82\xAC\n\xF0\x9F\x98\x80 end");
    f.close();
    EXPECT_EQ(Thrown([&] { f.writeString(SAnsiString("x")); }).ErrCode(), SFileException::WriteError);
}

} // namespace
