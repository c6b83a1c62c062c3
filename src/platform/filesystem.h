// The system calls behind SFileSys: status of a path, directories made and
// removed, rename, a complete-or-nothing file copy, times, modes, disk
// statistics and the current directory, and an open directory handle for
// walks over trees that never pass through a symbolic link.
//
// Every call reports failure as false and the system's error number.
#pragma once

#include "platform/fileio.h"
#include "tarnkit/platform.h"

#include <string>
#include <vector>

namespace TarnkitA201::Platform {

struct PathStatus {
    bool isDirectory = false;
    bool isRegular = false;
    bool isSymbolicLink = false; // the name itself is a link
    __int64 size = 0;            // 0 for a directory
    __int64 modifiedSeconds = 0;
    long modifiedNanoseconds = 0;
    unsigned mode = 0; // permission bits, 07777
};

// With `followLinks` the status of what a link names, else of the name.
bool GetPathStatus(const char *path, bool followLinks, PathStatus &status, int &error) noexcept;
// Whether `path` names the root directory of the system.
bool IsSystemRoot(const char *path) noexcept;
// 0 when the name can be reached, else why not.
int CheckPresence(const char *path) noexcept;

bool MakeDirectory(const char *path, unsigned mode, int &error) noexcept;
bool RemoveDirectory(const char *path, int &error) noexcept;
// Removes a name that is not a directory; a link is removed, not followed.
bool RemoveName(const char *path, int &error) noexcept;
// Renames, replacing `to`, and waits until the change is on the disk.
// EXDEV when the two lie on different file systems.
bool RenamePath(const char *from, const char *to, int &error) noexcept;
// Copies the regular file `from` (a link looked through) to `to`, with its
// mode and times. The data goes to a temporary name beside `to` that is
// renamed into place only when complete; without `overwrite` an existing
// `to` is EEXIST, checked again at the rename so a racing creator wins.
bool CopyFile(const char *from, const char *to, bool overwrite, int &error) noexcept;

bool SetModifiedTime(const char *path, __int64 seconds, long nanoseconds, int &error) noexcept;
bool ChangeMode(const char *path, unsigned mode, int &error) noexcept;

struct DiskUsage {
    __int64 available = 0;
    __int64 total = 0;
    __int64 free = 0;
};
bool GetDiskUsage(const char *path, DiskUsage &usage, int &error) noexcept;

// The current directory into `buffer`; ERANGE when it does not fit.
bool GetWorkingDirectory(char *buffer, size_t size, int &error) noexcept;
bool ChangeWorkingDirectory(const char *path, int &error) noexcept;

// TMPDIR when set and not empty, else "/tmp"; with a trailing "/".
std::string TemporaryDirectory();
unsigned long CurrentProcessId() noexcept;

// An open directory. Children are opened relative to it and never through a
// symbolic link, so a walk cannot be led out of its tree, not even by a
// name swapped for a link while the walk runs.
class Directory {
public:
    Directory() noexcept = default;
    Directory(const Directory &) = delete;
    Directory &operator=(const Directory &) = delete;
    ~Directory();

    // Opens a directory a caller names; a link there is looked through
    // only with `followLink`.
    bool open(const char *path, int &error, bool followLink = true) noexcept;
    // Opens the subdirectory `name` of `parent`; a link is refused.
    bool openChild(const Directory &parent, const char *name, int &error) noexcept;
    bool isOpen() const noexcept { return m_fd >= 0; }

    // The entries other than "." and "..", as lstat reports them, in byte
    // order of their names. Entries that vanish meanwhile are left out.
    bool list(std::vector<DirectoryEntry> &entries, int &error) const;
    // The device and inode, which tell two directories apart.
    bool identity(unsigned long long &device, unsigned long long &inode) const noexcept;

    bool makeChild(const char *name, unsigned mode, int &error) const noexcept;
    bool removeChild(const char *name, bool isDirectory, int &error) const noexcept;
    // Copies the regular file `name` into `target` as `targetName`, as
    // CopyFile does.
    bool copyFileTo(const char *name, const Directory &target, const char *targetName, bool overwrite,
                    int &error) const noexcept;
    // Makes the same symbolic link in `target`.
    bool copyLinkTo(const char *name, const Directory &target, const char *targetName, bool overwrite,
                    int &error) const;

private:
    int m_fd = -1;
};

} // namespace TarnkitA201::Platform
