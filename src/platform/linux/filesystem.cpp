#include "platform/filesystem.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace TarnkitA201::Platform {

namespace {

constexpr size_t MaxTransfer = 0x7ffff000;
// Copy temporaries carry at most this much of the target's name, so that
// the temporary name stays within NAME_MAX.
constexpr size_t TemporaryNameKeeps = 200;

void CloseQuietly(int fd) noexcept {
    if (fd < 0)
        return;
    int saved = errno;
    (void)::close(fd);
    errno = saved;
}

bool Fail(int &error, int value) noexcept {
    error = value;
    return false;
}

bool FailWithErrno(int &error) noexcept { return Fail(error, errno); }

int OpenAtRetrying(int dirFd, const char *name, int flags, mode_t mode = 0) noexcept {
    int fd;
    do
        fd = ::openat(dirFd, name, flags, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

void FillStatus(const struct stat &info, PathStatus &status) noexcept {
    status.isDirectory = S_ISDIR(info.st_mode);
    status.isRegular = S_ISREG(info.st_mode);
    status.isSymbolicLink = S_ISLNK(info.st_mode);
    status.size = status.isDirectory ? 0 : static_cast<__int64>(info.st_size);
    status.modifiedSeconds = static_cast<__int64>(info.st_mtim.tv_sec);
    status.modifiedNanoseconds = static_cast<long>(info.st_mtim.tv_nsec);
    status.mode = static_cast<unsigned>(info.st_mode) & 07777u;
}

// Splits at the last "/": the directory ("." when there is none, "/" for
// the root) and the final name.
void SplitLast(const char *path, std::string &directory, std::string &name) {
    std::string_view text(path);
    while (text.size() > 1 && text.back() == '/')
        text.remove_suffix(1);
    const size_t slash = text.rfind('/');
    if (slash == std::string_view::npos) {
        directory.assign(1, '.');
        name.assign(text);
    } else {
        directory.assign(slash == 0 ? text.substr(0, 1) : text.substr(0, slash));
        name.assign(text.substr(slash + 1));
    }
}

std::string TemporaryName(const char *forName) {
    static std::atomic<unsigned> sequence{0};
    unsigned long long random = 0;
    if (::getrandom(&random, sizeof random, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof random))
        random = (static_cast<unsigned long long>(::getpid()) << 32) ^ static_cast<unsigned long long>(::time(nullptr));
    random ^= sequence.fetch_add(1, std::memory_order_relaxed);
    char hex[17];
    for (int i = 15; i >= 0; --i) {
        hex[i] = "0123456789abcdef"[random & 0xf];
        random >>= 4;
    }
    hex[16] = '\0';
    std::string name = ".tkcopy-";
    name += hex;
    name += '.';
    name.append(forName, std::min(std::strlen(forName), TemporaryNameKeeps));
    return name;
}

bool ReadWriteRest(int from, int to, int &error) noexcept {
    static constexpr size_t ChunkSize = 1 << 16;
    std::unique_ptr<char[]> chunk(new (std::nothrow) char[ChunkSize]);
    if (!chunk)
        return Fail(error, ENOMEM);
    for (;;) {
        size_t got = 0;
        if (!ReadSome(from, chunk.get(), ChunkSize, got, error))
            return false;
        if (got == 0)
            return true;
        size_t written = 0;
        if (!WriteAll(to, chunk.get(), got, written, error))
            return false;
    }
}

// Moves the data by the kernel where it can, by reads and writes where the
// file systems do not allow that.
bool CopyData(int from, int to, int &error) noexcept {
    for (;;) {
        ssize_t moved = ::copy_file_range(from, nullptr, to, nullptr, MaxTransfer, 0);
        if (moved == 0)
            return true;
        if (moved > 0)
            continue;
        if (errno == EINTR)
            continue;
        if (errno == EXDEV || errno == ENOSYS || errno == EINVAL || errno == EOPNOTSUPP || errno == EPERM ||
            errno == EBADF)
            return ReadWriteRest(from, to, error);
        return FailWithErrno(error);
    }
}

// Puts the finished temporary under its final name. Without `overwrite` an
// existing name must win, even one that appeared during the copy.
bool PlaceTemporary(int dirFd, const char *temporary, const char *name, bool overwrite, int &error) noexcept {
    if (overwrite)
        return ::renameat(dirFd, temporary, dirFd, name) == 0 || FailWithErrno(error);
    if (::renameat2(dirFd, temporary, dirFd, name, RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS)
        return FailWithErrno(error);
    // A file system without the no-replace rename: a hard link fails just
    // as atomically on an existing name.
    if (::linkat(dirFd, temporary, dirFd, name, 0) == 0) {
        (void)::unlinkat(dirFd, temporary, 0);
        return true;
    }
    if (errno == EEXIST)
        return FailWithErrno(error);
    struct stat existing;
    if (::fstatat(dirFd, name, &existing, AT_SYMLINK_NOFOLLOW) == 0)
        return Fail(error, EEXIST);
    return ::renameat(dirFd, temporary, dirFd, name) == 0 || FailWithErrno(error);
}

// The complete-or-nothing copy of an open regular file into a directory.
bool CopyOpenFile(int sourceFd, const struct stat &source, int dirFd, const char *name, bool overwrite,
                  int &error) noexcept {
    struct stat existing;
    bool replacing = ::fstatat(dirFd, name, &existing, AT_SYMLINK_NOFOLLOW) == 0;
    if (replacing && !overwrite)
        return Fail(error, EEXIST);
    std::string temporary;
    int targetFd = -1;
    try {
        for (int attempt = 0; attempt < 100 && targetFd < 0; ++attempt) {
            temporary = TemporaryName(name);
            targetFd = OpenAtRetrying(dirFd, temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
            if (targetFd < 0 && errno != EEXIST)
                return FailWithErrno(error);
        }
    } catch (...) {
        return Fail(error, ENOMEM);
    }
    if (targetFd < 0)
        return Fail(error, EEXIST);

    const struct timespec times[2] = {source.st_atim, source.st_mtim};
    bool ok = CopyData(sourceFd, targetFd, error);
    if (ok && ::fchmod(targetFd, source.st_mode & 07777) != 0)
        ok = FailWithErrno(error);
    if (ok && ::futimens(targetFd, times) != 0)
        ok = FailWithErrno(error);
    // Replacing good data: make the new data durable before the name moves.
    if (ok && replacing && !SyncFile(targetFd, error))
        ok = false;
    if (ok && ::close(targetFd) != 0 && errno != EINTR)
        ok = FailWithErrno(error);
    else if (!ok)
        CloseQuietly(targetFd);
    if (ok && PlaceTemporary(dirFd, temporary.c_str(), name, overwrite, error))
        return true;
    int saved = error;
    (void)::unlinkat(dirFd, temporary.c_str(), 0);
    error = saved;
    return false;
}

// Opens a file to copy from. Without blocking, so that a FIFO cannot hang
// the caller; anything but a regular file is refused.
int OpenCopySource(int dirFd, const char *name, struct stat &info, int &error) noexcept {
    // Opening a device can itself act on it, so its kind is looked at first.
    if (::fstatat(dirFd, name, &info, 0) != 0) {
        error = errno;
        return -1;
    }
    if (!S_ISREG(info.st_mode)) {
        error = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        return -1;
    }
    int fd = OpenAtRetrying(dirFd, name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        error = errno;
        return -1;
    }
    if (::fstat(fd, &info) != 0) {
        error = errno;
        CloseQuietly(fd);
        return -1;
    }
    if (!S_ISREG(info.st_mode)) {
        error = S_ISDIR(info.st_mode) ? EISDIR : EINVAL;
        CloseQuietly(fd);
        return -1;
    }
    int flags = ::fcntl(fd, F_GETFL);
    if (flags >= 0)
        (void)::fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    return fd;
}

bool SyncDirectoryOf(const char *path) noexcept {
    std::string directory, name;
    try {
        SplitLast(path, directory, name);
    } catch (...) {
        return false;
    }
    int fd = OpenAtRetrying(AT_FDCWD, directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    bool ok = ::fsync(fd) == 0;
    CloseQuietly(fd);
    return ok;
}

} // namespace

bool GetPathStatus(const char *path, bool followLinks, PathStatus &status, int &error) noexcept {
    struct stat info;
    int result = followLinks ? ::stat(path, &info) : ::lstat(path, &info);
    if (result != 0)
        return FailWithErrno(error);
    status = PathStatus();
    FillStatus(info, status);
    if (followLinks) {
        struct stat own;
        status.isSymbolicLink = ::lstat(path, &own) == 0 && S_ISLNK(own.st_mode);
    }
    return true;
}

bool IsSystemRoot(const char *path) noexcept {
    struct stat named, root;
    return ::stat(path, &named) == 0 && ::stat("/", &root) == 0 && named.st_dev == root.st_dev &&
           named.st_ino == root.st_ino;
}

int CheckPresence(const char *path) noexcept { return ::access(path, F_OK) == 0 ? 0 : errno; }

bool MakeDirectory(const char *path, unsigned mode, int &error) noexcept {
    return ::mkdir(path, static_cast<mode_t>(mode)) == 0 || FailWithErrno(error);
}

bool RemoveDirectory(const char *path, int &error) noexcept { return ::rmdir(path) == 0 || FailWithErrno(error); }

bool RemoveName(const char *path, int &error) noexcept { return ::unlink(path) == 0 || FailWithErrno(error); }

bool RenamePath(const char *from, const char *to, int &error) noexcept {
    if (::rename(from, to) != 0)
        return FailWithErrno(error);
    (void)SyncDirectoryOf(to);
    return true;
}

bool CopyFile(const char *from, const char *to, bool overwrite, int &error) noexcept {
    std::string sourceDirectory, sourceName, targetDirectory, targetName;
    try {
        SplitLast(from, sourceDirectory, sourceName);
        SplitLast(to, targetDirectory, targetName);
    } catch (...) {
        return Fail(error, ENOMEM);
    }
    if (targetName.empty() || targetName == "." || targetName == "..")
        return Fail(error, EINVAL);
    // Both directories are held open, so that the copy and its rename work
    // in the one directory whatever happens to the paths meanwhile.
    Directory source, target;
    if (!source.open(sourceDirectory.c_str(), error) || !target.open(targetDirectory.c_str(), error))
        return false;
    return source.copyFileTo(sourceName.c_str(), target, targetName.c_str(), overwrite, error);
}

bool SetModifiedTime(const char *path, __int64 seconds, long nanoseconds, int &error) noexcept {
    struct timespec times[2];
    times[0].tv_sec = static_cast<time_t>(seconds);
    times[0].tv_nsec = nanoseconds;
    times[1] = times[0];
    return ::utimensat(AT_FDCWD, path, times, 0) == 0 || FailWithErrno(error);
}

bool ChangeMode(const char *path, unsigned mode, int &error) noexcept {
    return ::chmod(path, static_cast<mode_t>(mode)) == 0 || FailWithErrno(error);
}

bool GetDiskUsage(const char *path, DiskUsage &usage, int &error) noexcept {
    struct statvfs info;
    if (::statvfs(path, &info) != 0)
        return FailWithErrno(error);
    auto bytes = [&info](unsigned long long blocks) {
        const unsigned long long unit = info.f_frsize;
        if (unit != 0 && blocks > static_cast<unsigned long long>(LLONG_MAX) / unit)
            return static_cast<__int64>(LLONG_MAX);
        return static_cast<__int64>(blocks * unit);
    };
    usage.available = bytes(info.f_bavail);
    usage.total = bytes(info.f_blocks);
    usage.free = bytes(info.f_bfree);
    return true;
}

bool GetWorkingDirectory(char *buffer, size_t size, int &error) noexcept {
    return ::getcwd(buffer, size) != nullptr || FailWithErrno(error);
}

bool ChangeWorkingDirectory(const char *path, int &error) noexcept {
    return ::chdir(path) == 0 || FailWithErrno(error);
}

std::string TemporaryDirectory() {
    const char *variable = std::getenv("TMPDIR");
    std::string directory = variable != nullptr && *variable != '\0' ? variable : "/tmp";
    if (directory.back() != '/')
        directory += '/';
    return directory;
}

unsigned long CurrentProcessId() noexcept { return static_cast<unsigned long>(::getpid()); }

Directory::~Directory() { CloseQuietly(m_fd); }

bool Directory::open(const char *path, int &error, bool followLink) noexcept {
    CloseQuietly(m_fd);
    m_fd = OpenAtRetrying(AT_FDCWD, path, O_RDONLY | O_DIRECTORY | O_CLOEXEC | (followLink ? 0 : O_NOFOLLOW));
    return m_fd >= 0 || FailWithErrno(error);
}

bool Directory::openChild(const Directory &parent, const char *name, int &error) noexcept {
    CloseQuietly(m_fd);
    m_fd = OpenAtRetrying(parent.m_fd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    return m_fd >= 0 || FailWithErrno(error);
}

bool Directory::list(std::vector<DirectoryEntry> &entries, int &error) const {
    entries.clear();
    // A second descriptor for the stream, which owns and closes it; it shares
    // the position with ours, so the stream starts from the beginning.
    int streamFd = ::fcntl(m_fd, F_DUPFD_CLOEXEC, 0);
    if (streamFd < 0)
        return FailWithErrno(error);
    std::unique_ptr<DIR, int (*)(DIR *)> stream(::fdopendir(streamFd), ::closedir);
    if (!stream) {
        error = errno;
        CloseQuietly(streamFd);
        return false;
    }
    ::rewinddir(stream.get());
    for (;;) {
        errno = 0;
        struct dirent *entry = ::readdir(stream.get());
        if (entry == nullptr)
            break;
        const char *name = entry->d_name;
        if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0')))
            continue;
        struct stat info;
        if (::fstatat(m_fd, name, &info, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        DirectoryEntry found;
        found.name = name;
        found.isDirectory = S_ISDIR(info.st_mode);
        found.isSymbolicLink = S_ISLNK(info.st_mode);
        found.size = S_ISREG(info.st_mode) ? static_cast<__int64>(info.st_size) : 0;
        found.modifiedSeconds = static_cast<__int64>(info.st_mtim.tv_sec);
        found.modifiedNanoseconds = static_cast<long>(info.st_mtim.tv_nsec);
        entries.push_back(std::move(found));
    }
    if (errno != 0) {
        error = errno;
        entries.clear();
        return false;
    }
    std::sort(entries.begin(), entries.end(),
              [](const DirectoryEntry &a, const DirectoryEntry &b) { return a.name < b.name; });
    return true;
}

bool Directory::identity(unsigned long long &device, unsigned long long &inode) const noexcept {
    struct stat info;
    if (::fstat(m_fd, &info) != 0)
        return false;
    device = static_cast<unsigned long long>(info.st_dev);
    inode = static_cast<unsigned long long>(info.st_ino);
    return true;
}

bool Directory::makeChild(const char *name, unsigned mode, int &error) const noexcept {
    return ::mkdirat(m_fd, name, static_cast<mode_t>(mode)) == 0 || FailWithErrno(error);
}

bool Directory::removeChild(const char *name, bool isDirectory, int &error) const noexcept {
    return ::unlinkat(m_fd, name, isDirectory ? AT_REMOVEDIR : 0) == 0 || FailWithErrno(error);
}

bool Directory::copyFileTo(const char *name, const Directory &target, const char *targetName, bool overwrite,
                           int &error) const noexcept {
    struct stat info;
    int sourceFd = OpenCopySource(m_fd, name, info, error);
    if (sourceFd < 0)
        return false;
    bool ok = CopyOpenFile(sourceFd, info, target.m_fd, targetName, overwrite, error);
    CloseQuietly(sourceFd);
    return ok;
}

bool Directory::copyLinkTo(const char *name, const Directory &target, const char *targetName, bool overwrite,
                           int &error) const {
    std::string destination(256, '\0');
    for (;;) {
        ssize_t length = ::readlinkat(m_fd, name, destination.data(), destination.size());
        if (length < 0)
            return FailWithErrno(error);
        if (static_cast<size_t>(length) < destination.size()) {
            destination.resize(static_cast<size_t>(length));
            break;
        }
        destination.resize(destination.size() * 2);
    }
    if (!overwrite)
        return ::symlinkat(destination.c_str(), target.m_fd, targetName) == 0 || FailWithErrno(error);
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string temporary = TemporaryName(targetName);
        if (::symlinkat(destination.c_str(), target.m_fd, temporary.c_str()) != 0) {
            if (errno == EEXIST)
                continue;
            return FailWithErrno(error);
        }
        if (::renameat(target.m_fd, temporary.c_str(), target.m_fd, targetName) == 0)
            return true;
        error = errno;
        (void)::unlinkat(target.m_fd, temporary.c_str(), 0);
        return false;
    }
    return Fail(error, EEXIST);
}

} // namespace TarnkitA201::Platform
