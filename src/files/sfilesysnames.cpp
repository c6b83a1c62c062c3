// The operations of SFileSys that make names: unique file and directory
// names, temporary names, and renaming a file.
#include "tarnkit/sfilesys.h"

#include "files/sfilesysdetail.h"
#include "platform/clock.h"
#include "platform/filesystem.h"
#include "tarnkit/sstringhelper.h"
#include "tarnkit/strace.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <memory>

namespace TarnkitA201 {

using namespace FileSysDetail;

namespace {

// 1997-01-01 00:00 UTC, in milliseconds since 1970: the base of the time
// part of unique names.
constexpr __int64 UniqueNameEpochMilliseconds = 852076800000LL;

// Starts at -1 so that the first name takes 0. Constant-initialised, so
// there is no first-use race.
std::atomic<int32_t> g_uniqueCounter{-1};

SAnsiString Hex(unsigned long long value) {
    char text[24];
    std::snprintf(text, sizeof text, "%llx", value);
    return SAnsiString(text);
}

unsigned DirectoryPermissionsFor(int permissions) noexcept {
    if (permissions == SFileSys::defaultPermissions)
        return SFile::ownerRWXMask;
    // A directory its owner may read must be searchable by the owner too.
    return static_cast<unsigned>(permissions) |
           ((permissions & SFile::ownerRMask) != 0 ? static_cast<unsigned>(SFile::ownerXMask) : 0u);
}

// The directory part of a candidate, as the directories to create.
SAnsiString DirectoryPartOf(const SAnsiString &candidate) {
    std::unique_ptr<char[]> directory(new char[PATH_MAX]);
    char drive[3];
    if (SplitPath(candidate, drive, sizeof drive, directory.get(), PATH_MAX, nullptr, 0, nullptr, 0) != 0)
        Throw(SFileSysException::UniqueNameError, SFileSysException::InvalidPath, candidate, ENAMETOOLONG,
              "getUniqueFilenameHelper");
    return MakePath(SAnsiString(drive), SAnsiString(directory.get()), SAnsiString(), SAnsiString());
}

} // namespace

SAnsiString SFileSys::getUniqueFilenameHelper(const SAnsiString &dir, const SAnsiString &prefix,
                                              const SAnsiString &suffix, bool create, int permissions,
                                              bool isDirectory) {
    if (exists(dir) && !isDir(dir))
        Throw(SFileSysException::UniqueNameError, SFileSysException::InvalidPath, dir, ENOTDIR,
              "getUniqueFilenameHelper");
    const __int64 sinceBase = Platform::UtcMillisecondsNow() - UniqueNameEpochMilliseconds;
    SAnsiString stem = prefix + Hex(Platform::CurrentProcessId()) + Hex(static_cast<unsigned long long>(sinceBase));
    const SAnsiString directory = WithTrailingSeparator(dir);

    for (;;) {
        // The stem grows by each counter value taken; it never restarts.
        const int32_t count = g_uniqueCounter.fetch_add(1) + 1;
        stem += Hex(static_cast<uint32_t>(count));
        SAnsiString lower(stem);
        lower.toLower();
        SAnsiString candidate = MakePath(SAnsiString(), directory, lower, suffix);
        if (candidate.isEmpty())
            Throw(SFileSysException::UniqueNameError, SFileSysException::InvalidPath, dir, ENAMETOOLONG,
                  "getUniqueFilenameHelper");
        if (exists(candidate))
            continue;
        if (!create)
            return candidate;

        if (isDirectory)
            candidate = WithTrailingSeparator(candidate);
        const SAnsiString toMake = DirectoryPartOf(candidate);
        try {
            if (!toMake.isEmpty())
                makeDirectories(toMake, static_cast<int>(DirectoryPermissionsFor(permissions)));
        } catch (const SFileSysException &e) {
            TARNKIT_TRACE(0, "%1%2", "SFileSys::getUniqueFilenameHelper: fail to create directories. ", e.toString());
            throw;
        }
        if (isDirectory)
            return candidate;

        // Owner read and write by default: a new data file, not a program.
        const int filePermissions =
            permissions == defaultPermissions ? (SFile::ownerRMask | SFile::ownerWMask) : permissions;
        try {
            SFile file(candidate, SFile::create | SFile::exclusive, filePermissions, SFile::denyNothing);
            file.close();
            return candidate;
        } catch (const SFileException &e) {
            // Another creator took the name first: try the next one.
            if (e.getErrno() == EEXIST)
                continue;
            TARNKIT_TRACE(0, "%1%2", "SFileSys::getUniqueFilenameHelper: Fail to create uniquely-named file. ",
                          e.toString());
            ThrowSystem(SFileSysException::UniqueNameError, dir, e.getErrno(), "getUniqueFilenameHelper");
        }
    }
}

SAnsiString SFileSys::getUniqueFilename(const SAnsiString &dir, const SAnsiString &prefix, const SAnsiString &suffix,
                                        bool create, int permissions) {
    return getUniqueFilenameHelper(dir, prefix, suffix, create, permissions, false);
}

SAnsiString SFileSys::getUniqueDirname(const SAnsiString &dir, const SAnsiString &prefix, bool create,
                                       int permissions) {
    return getUniqueFilenameHelper(dir, prefix, SAnsiString(), create, permissions, true);
}

SAnsiString SFileSys::getTempDirname() {
    const std::string directory = Platform::TemporaryDirectory();
    if (directory.size() >= 257)
        TARNKIT_FAIL("Length of temp dir returned is bigger than _MAX_DIR");
    return SAnsiString(directory.c_str());
}

SAnsiString SFileSys::getTempFilename(const SAnsiString &prefix) {
    return getUniqueFilename(getTempDirname(), prefix, SAnsiString(), true, defaultPermissions);
}

void SFileSys::renameFile(const SAnsiString &from, const SAnsiString &to) {
    if (!exists(from))
        ThrowNotFound(from, "renameFile");
    if (isDir(from)) {
        TARNKIT_FAIL("SFileSys::renameFile: Directory rename not supported\n");
        return;
    }
    int error = 0;
    if (Platform::RenamePath(from.getString(), to.getString(), error))
        return;
    if (error != EXDEV)
        ThrowSystem(SFileSysException::RenameError, from, error, "renameFile", to);
    // Across file systems: the source goes only once the copy is complete.
    if (!Platform::CopyFile(from.getString(), to.getString(), true, error))
        ThrowSystem(SFileSysException::RenameError, from, error, "renameFile", to);
    remove(from);
}

} // namespace TarnkitA201
