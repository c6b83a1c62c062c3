#include "platform/filemapping.h"

#include "platform/fileio.h"
#include "platform/system.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TarnkitA201::Platform {

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
        size_t got = 0;
        if (!ReadSome(file, target + bytesRead, size - bytesRead, got, error))
            return false;
        if (got == 0)
            break;
        bytesRead += got;
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
    return WriteAll(file, source, size, written, error);
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
