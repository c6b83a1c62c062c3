// The system calls behind the file object and the directory search: opening
// with the library's own flag, permission and share vocabulary, descriptor
// reads, writes, seeks and syncs, directory listing, and a classification of
// error numbers by meaning that the file classes turn into their reasons.
//
// The vocabulary values are the library's, not the system's: callers pass
// them as literal numbers (769, 1281, 257, 448, 64 ...), so they are
// translated to the system's flags here and nowhere else.
#pragma once

#include "tarnkit/platform.h"

#include <string>
#include <vector>

namespace TarnkitA201::Platform {

namespace FileVocabulary {
// Access, in the low two bits.
inline constexpr int ReadOnly = 0x0;
inline constexpr int WriteOnly = 0x1;
inline constexpr int ReadAndWrite = 0x2;
inline constexpr int AccessMask = 0x3;
// Open flags.
inline constexpr int Random = 0x10;
inline constexpr int Sequential = 0x20;
inline constexpr int Temporary = 0x40;
inline constexpr int NoInherit = 0x80;
inline constexpr int Append = 0x8;
inline constexpr int Create = 0x100;
inline constexpr int Truncate = 0x200;
inline constexpr int Exclusive = 0x400;
inline constexpr int Binary = 0x8000;
// Permissions. The owner bits are the POSIX owner bits.
inline constexpr int OwnerRead = 0x100;
inline constexpr int OwnerWrite = 0x80;
inline constexpr int OwnerExecute = 0x40;
inline constexpr int DefaultPermissions = 0x60000000;
// Share modes.
inline constexpr int DenyReadAndWrite = 0x10;
inline constexpr int DenyWrite = 0x20;
inline constexpr int DenyRead = 0x30;
inline constexpr int DenyNothing = 0x40;
} // namespace FileVocabulary

inline constexpr int NoDescriptor = -1;

// The system's open flags for the library's flag word; -1 when the access
// bits are 3, which names no access. Descriptors are closed on exec unless
// `inheritable`: a child started by the library must not hold the parent's
// log files open, so the vocabulary's noInherit is always in effect.
int SystemOpenFlags(int libraryFlags, bool inheritable = false) noexcept;
// The mode bits for the library's permission word. The default sentinel
// becomes 0666, narrowed by the process umask as any new file is.
unsigned SystemPermissions(int libraryPermissions) noexcept;

// How a failure is to be understood, independent of the error number's
// value on this system.
enum class FileErrorKind {
    AccessDenied,  // permissions, read-only media, a busy or conflicting file
    NotFound,      // no such file, or a path through something not a directory
    OutOfMemory,
    AlreadyExists,
    DiskFull,
    InvalidPath,   // a bad argument or a name that is too long
    TooLarge,
    Other,
};
FileErrorKind ClassifyFileError(int error) noexcept;

// The system's English text for an error number; never empty.
std::string FileErrorText(int error);

// Why an open failed: the error number, and whether it was another open's
// share mode that stood in the way (the number is then EACCES).
struct OpenFailure {
    int error = 0;
    bool sharingViolation = false;
};

// Opens `path` with the library's flag, permission and share words.
// Directories are refused (EISDIR). Share modes are advisory locks among
// users of this library: denyReadAndWrite and denyRead take an exclusive
// lock on the open file, denyWrite a shared one, denyNothing none; a
// conflict fails at once. Truncation waits until the lock is held, so an
// open refused for sharing leaves the file's content alone.
int OpenFile(const char *path, int libraryFlags, int libraryPermissions, int share, OpenFailure &failure) noexcept;

// One read of at most `count` bytes; interrupted calls are retried.
bool ReadSome(int fd, void *buffer, size_t count, size_t &got, int &error) noexcept;
// Writes all `count` bytes unless the system refuses; `written` tells how
// many went out before a failure.
bool WriteAll(int fd, const void *buffer, size_t count, size_t &written, int &error) noexcept;
// Commits the file's data and metadata to the disk.
bool SyncFile(int fd, int &error) noexcept;
// Origins 0, 1 and 2 are the start, the current position and the end.
bool SeekFile(int fd, __int64 offset, int origin, __int64 &position, int &error) noexcept;
bool CloseDescriptor(int fd, int &error) noexcept;
// Removes `path` if it still names the file open on `fd`, so that a name
// reused by someone else is left alone. Call before closing `fd`.
void RemoveIfStillSame(int fd, const char *path) noexcept;

// What a directory entry is, as lstat reports it: a symbolic link is a link,
// never the thing it points to.
struct DirectoryEntry {
    std::string name;
    bool isDirectory = false;
    bool isSymbolicLink = false;
    __int64 size = 0;
    __int64 modifiedSeconds = 0;
    long modifiedNanoseconds = 0;
};

// The entries of `directory` whose names `accept` lets through, in byte
// order of their names. False and the error when the directory cannot be
// read at all; entries that vanish while listed are left out.
bool ListDirectory(const char *directory, bool (*accept)(const char *name, const void *context),
                   const void *context, std::vector<DirectoryEntry> &entries, int &error);

} // namespace TarnkitA201::Platform
