// The system calls behind the byte buffer's file paths: reading a whole file,
// mapping one read-only, writing one, removing one. Every call reports
// failure with the system's error number so the caller can trace it.
#pragma once

#include "platform/fileio.h" // FileErrorText and the open vocabulary
#include "tarnkit/platform.h"

#include <string>

namespace TarnkitA201::Platform {

inline constexpr int InvalidFile = -1;

// The library's own vocabulary for opening a file to write, as the callers
// pass it; translated to the system's flags by the file seam (fileio.h).
inline constexpr int OpenWriteCreateTruncate = 769;   // write-only, create, truncate
inline constexpr int OpenWriteCreateExclusive = 1281; // write-only, create, fail if it exists
inline constexpr int PermissionOwnerAll = 448;        // read, write and execute for the owner

// Opens an existing file for reading; InvalidFile and error on failure.
// `sequential` tells the system the file will be read front to back.
int OpenForReading(const char *path, bool sequential, int &error) noexcept;
bool FileSize(int file, uint64_t &size, int &error) noexcept;
void CloseFile(int file) noexcept;

// Reads until `size` bytes are in or the file ends; `bytesRead` tells how
// many arrived. Interrupted and short reads are retried.
bool ReadFully(int file, unsigned char *target, size_t size, size_t &bytesRead, int &error) noexcept;

// A private read-only view of the first `length` bytes; null and error on
// failure (a length of 0 always fails).
const unsigned char *MapReadOnly(int file, size_t length, int &error) noexcept;
void UnmapView(const unsigned char *view, size_t length) noexcept;

// Opens for writing with the library's flag word and permission word.
int OpenForWriting(const char *path, int libraryFlags, int libraryPermissions, int &error) noexcept;
bool WriteFully(int file, const unsigned char *source, size_t size, int &error) noexcept;
// Closes a file that was written; false and error when the close reports a
// write that did not complete.
bool CloseWritten(int file, int &error) noexcept;

// Removes a file; a file that is already gone counts as removed.
bool RemoveFile(const char *path, int &error) noexcept;

} // namespace TarnkitA201::Platform
