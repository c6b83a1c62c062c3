#include "platform/filemapping.h"

#include "platform/fileio.h"
#include "platform/system.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TarnkitA201::Platform {

namespace {

// One system read or write moves at most this much; larger requests are
// split so every chunk stays within what the kernel accepts.
constexpr size_t MaxTransfer = 0x7ffff000;

} // namespace

int OpenForReading(const char *path, bool sequential, int &error) noexcept {
    int file;
    do
        file = ::open(path, O_RDONLY | O_CLOEXEC);
    while (file < 0 && errno == EINTR);
    if (file < 0) {
        error = errno;
        return InvalidFile;
    }
    if (sequential)
        (void)::posix_fadvise(file, 0, 0, POSIX_FADV_SEQUENTIAL);
    return file;
}

bool FileSize(int file, uint64_t &size, int &error) noexcept {
    struct stat info;
    if (::fstat(file, &info) != 0) {
        error = errno;
        return false;
    }
    size = static_cast<uint64_t>(info.st_size);
    return true;
}

void CloseFile(int file) noexcept {
    if (file >= 0)
        (void)::close(file);
}

bool ReadFully(int file, unsigned char *target, size_t size, size_t &bytesRead, int &error) noexcept {
    bytesRead = 0;
    while (bytesRead < size) {
        size_t chunk = size - bytesRead < MaxTransfer ? size - bytesRead : MaxTransfer;
        ssize_t got = ::read(file, target + bytesRead, chunk);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            error = errno;
            return false;
        }
        if (got == 0)
            break;
        bytesRead += static_cast<size_t>(got);
    }
    return true;
}

const unsigned char *MapReadOnly(int file, size_t length, int &error) noexcept {
    if (length == 0) {
        error = EINVAL;
        return nullptr;
    }
    void *view = ::mmap(nullptr, length, PROT_READ, MAP_PRIVATE, file, 0);
    if (view == MAP_FAILED) {
        error = errno;
        return nullptr;
    }
    (void)::madvise(view, length, MADV_SEQUENTIAL);
    return static_cast<const unsigned char *>(view);
}

void UnmapView(const unsigned char *view, size_t length) noexcept {
    if (view != nullptr && length != 0)
        (void)::munmap(const_cast<unsigned char *>(view), length);
}

int OpenForWriting(const char *path, int libraryFlags, int libraryPermissions, int &error) noexcept {
    const int flags = SystemOpenFlags(libraryFlags);
    if (flags == -1) {
        error = EINVAL;
        return InvalidFile;
    }
    const mode_t mode = static_cast<mode_t>(SystemPermissions(libraryPermissions));
    int file;
    do
        file = ::open(path, flags, mode);
    while (file < 0 && errno == EINTR);
    if (file < 0) {
        error = errno;
        return InvalidFile;
    }
    return file;
}

bool WriteFully(int file, const unsigned char *source, size_t size, int &error) noexcept {
    size_t written = 0;
    while (written < size) {
        size_t chunk = size - written < MaxTransfer ? size - written : MaxTransfer;
        ssize_t put = ::write(file, source + written, chunk);
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

bool CloseWritten(int file, int &error) noexcept {
    // A close interrupted by a signal has still released the descriptor on
    // Linux, so it is not retried.
    if (::close(file) != 0 && errno != EINTR) {
        error = errno;
        return false;
    }
    return true;
}

bool RemoveFile(const char *path, int &error) noexcept {
    if (::unlink(path) != 0 && errno != ENOENT) {
        error = errno;
        return false;
    }
    return true;
}

} // namespace TarnkitA201::Platform
