#include "platform/fileio.h"

#include "platform/system.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TarnkitA201::Platform {

namespace V = FileVocabulary;

namespace {

// One system read or write moves at most this much (the kernel's own cap).
constexpr size_t MaxTransfer = 0x7ffff000;

// The flock operation a share mode asks for; 0 for none, -1 for a value
// that names no share mode.
int ShareLockOperation(int share) noexcept {
    switch (share) {
    case V::DenyReadAndWrite:
    case V::DenyRead:
        return LOCK_EX;
    case V::DenyWrite:
        return LOCK_SH;
    case V::DenyNothing:
        return 0;
    default:
        return -1;
    }
}

int OpenRetryingInterrupts(const char *path, int flags, mode_t mode) noexcept {
    int fd;
    do
        fd = ::open(path, flags, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

int LockRetryingInterrupts(int fd, int operation) noexcept {
    int result;
    do
        result = ::flock(fd, operation | LOCK_NB);
    while (result != 0 && errno == EINTR);
    return result;
}

void CloseQuietly(int fd) noexcept {
    int saved = errno;
    (void)::close(fd);
    errno = saved;
}

int FailOpen(OpenFailure &failure, int error, bool sharing = false) noexcept {
    failure.error = error;
    failure.sharingViolation = sharing;
    return NoDescriptor;
}

} // namespace

int SystemOpenFlags(int libraryFlags, bool inheritable) noexcept {
    int flags = inheritable ? 0 : O_CLOEXEC;
    switch (libraryFlags & V::AccessMask) {
    case V::ReadOnly:
        flags |= O_RDONLY;
        break;
    case V::WriteOnly:
        flags |= O_WRONLY;
        break;
    case V::ReadAndWrite:
        flags |= O_RDWR;
        break;
    default:
        return -1;
    }
    if (libraryFlags & V::Append)
        flags |= O_APPEND;
    if (libraryFlags & V::Create)
        flags |= O_CREAT;
    if (libraryFlags & V::Truncate)
        flags |= O_TRUNC;
    if (libraryFlags & V::Exclusive)
        flags |= O_EXCL;
    return flags;
}

unsigned SystemPermissions(int libraryPermissions) noexcept {
    if (libraryPermissions == V::DefaultPermissions)
        return 0666;
    // The owner bits of the vocabulary are the POSIX ones; the group and
    // others bits, which the vocabulary leaves at zero, pass as they stand.
    return static_cast<unsigned>(libraryPermissions) & 0777u;
}

FileErrorKind ClassifyFileError(int error) noexcept {
    switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
    case ETXTBSY:
    case EBUSY:
    case EISDIR:
        return FileErrorKind::AccessDenied;
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
        return FileErrorKind::NotFound;
    case ENOMEM:
        return FileErrorKind::OutOfMemory;
    case EEXIST:
        return FileErrorKind::AlreadyExists;
    case ENOSPC:
    case EDQUOT:
        return FileErrorKind::DiskFull;
    case EINVAL:
    case ENAMETOOLONG:
        return FileErrorKind::InvalidPath;
    case EFBIG:
    case EOVERFLOW:
        return FileErrorKind::TooLarge;
    default:
        return FileErrorKind::Other;
    }
}

std::string FileErrorText(int error) {
    std::string text = error < 0 ? std::string() : ErrorText(static_cast<uint32_t>(error));
    if (text.empty())
        text = "Unknown error " + std::to_string(error);
    return text;
}

int OpenFile(const char *path, int libraryFlags, int libraryPermissions, int share, OpenFailure &failure) noexcept {
    failure = OpenFailure();
    int flags = SystemOpenFlags(libraryFlags);
    int lockOperation = ShareLockOperation(share);
    if (path == nullptr || flags == -1 || lockOperation == -1)
        return FailOpen(failure, EINVAL);

    // With a share mode, truncating before the lock is held would destroy
    // the content that the conflicting holder protects.
    bool truncateLater = (flags & O_TRUNC) != 0 && lockOperation != 0;
    if (truncateLater)
        flags &= ~O_TRUNC;

    int fd = OpenRetryingInterrupts(path, flags, static_cast<mode_t>(SystemPermissions(libraryPermissions)));
    if (fd < 0)
        return FailOpen(failure, errno);

    struct stat info;
    if (::fstat(fd, &info) != 0) {
        int error = errno;
        CloseQuietly(fd);
        return FailOpen(failure, error);
    }
    if (S_ISDIR(info.st_mode)) {
        CloseQuietly(fd);
        return FailOpen(failure, EISDIR);
    }
    if (lockOperation != 0 && LockRetryingInterrupts(fd, lockOperation) != 0) {
        int error = errno;
        CloseQuietly(fd);
        if (error == EWOULDBLOCK)
            return FailOpen(failure, EACCES, true);
        return FailOpen(failure, error);
    }
    if (truncateLater && S_ISREG(info.st_mode) && ::ftruncate(fd, 0) != 0) {
        int error = errno;
        CloseQuietly(fd);
        return FailOpen(failure, error);
    }
    if (libraryFlags & V::Sequential)
        (void)::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
    else if (libraryFlags & V::Random)
        (void)::posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM);
    return fd;
}

bool ReadSome(int fd, void *buffer, size_t count, size_t &got, int &error) noexcept {
    got = 0;
    ssize_t result;
    do
        result = ::read(fd, buffer, std::min(count, MaxTransfer));
    while (result < 0 && errno == EINTR);
    if (result < 0) {
        error = errno;
        return false;
    }
    got = static_cast<size_t>(result);
    return true;
}

bool WriteAll(int fd, const void *buffer, size_t count, size_t &written, int &error) noexcept {
    const unsigned char *source = static_cast<const unsigned char *>(buffer);
    written = 0;
    while (written < count) {
        ssize_t put = ::write(fd, source + written, std::min(count - written, MaxTransfer));
        if (put < 0) {
            if (errno == EINTR)
                continue;
            error = errno;
            return false;
        }
        if (put == 0) {
            error = ENOSPC;
            return false;
        }
        written += static_cast<size_t>(put);
    }
    return true;
}

bool SyncFile(int fd, int &error) noexcept {
    int result;
    do
        result = ::fsync(fd);
    while (result != 0 && errno == EINTR);
    if (result != 0) {
        error = errno;
        return false;
    }
    return true;
}

bool SeekFile(int fd, __int64 offset, int origin, __int64 &position, int &error) noexcept {
    int whence;
    switch (origin) {
    case 0:
        whence = SEEK_SET;
        break;
    case 1:
        whence = SEEK_CUR;
        break;
    case 2:
        whence = SEEK_END;
        break;
    default:
        error = EINVAL;
        return false;
    }
    off_t result = ::lseek(fd, static_cast<off_t>(offset), whence);
    if (result < 0) {
        error = errno;
        return false;
    }
    position = static_cast<__int64>(result);
    return true;
}

bool CloseDescriptor(int fd, int &error) noexcept {
    // A close interrupted by a signal has still released the descriptor on
    // Linux, so it is not retried.
    if (::close(fd) != 0 && errno != EINTR) {
        error = errno;
        return false;
    }
    return true;
}

void RemoveIfStillSame(int fd, const char *path) noexcept {
    struct stat open, named;
    if (path == nullptr || ::fstat(fd, &open) != 0 || ::lstat(path, &named) != 0)
        return;
    if (open.st_dev == named.st_dev && open.st_ino == named.st_ino)
        (void)::unlink(path);
}

bool ListDirectory(const char *directory, bool (*accept)(const char *name, const void *context),
                   const void *context, std::vector<DirectoryEntry> &entries, int &error) {
    entries.clear();
    int dirFd = OpenRetryingInterrupts(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC, 0);
    if (dirFd < 0) {
        error = errno;
        return false;
    }
    std::unique_ptr<DIR, int (*)(DIR *)> stream(::fdopendir(dirFd), ::closedir);
    if (!stream) {
        error = errno;
        CloseQuietly(dirFd);
        return false;
    }
    for (;;) {
        errno = 0;
        struct dirent *entry = ::readdir(stream.get());
        if (entry == nullptr)
            break;
        if (accept != nullptr && !accept(entry->d_name, context))
            continue;
        struct stat info;
        // Relative to the open directory, so a rename of the directory's
        // path while listing cannot mix two directories.
        if (::fstatat(dirFd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0)
            continue;
        DirectoryEntry found;
        found.name = entry->d_name;
        found.isDirectory = S_ISDIR(info.st_mode);
        found.isSymbolicLink = S_ISLNK(info.st_mode);
        found.size = found.isDirectory ? 0 : static_cast<__int64>(info.st_size);
        found.modifiedSeconds = static_cast<__int64>(info.st_mtim.tv_sec);
        found.modifiedNanoseconds = static_cast<long>(info.st_mtim.tv_nsec);
        entries.push_back(std::move(found));
    }
    int readError = errno;
    stream.reset();
    if (readError != 0) {
        entries.clear();
        error = readError;
        return false;
    }
    std::sort(entries.begin(), entries.end(),
              [](const DirectoryEntry &a, const DirectoryEntry &b) { return a.name < b.name; });
    return true;
}

} // namespace TarnkitA201::Platform
