// SFileSysException, the reason and throw helpers, and the single-path
// operations of SFileSys: kinds, directories made and removed, sizes,
// listings, times, access bits, disk statistics and the current directory.
#include "tarnkit/sfilesys.h"

#include "files/sfilesysdetail.h"
#include "platform/fileio.h"
#include "platform/filesystem.h"
#include "tarnkit/sstringhelper.h"
#include "tarnkit/stimezone.h"
#include "tarnkit/strace.h"

#include <cerrno>
#include <memory>
#include <new>

namespace TarnkitA201 {

using Platform::PathStatus;

namespace {

const char *const RemoveText = "Failed to remove the file %1 in a file system operation. Please check access "
                               "rights or for a sharing violation.  Reason: %2";
const char *const UnknownText = "Unknown error in file system operation on file %1. Reason: %2";

const char *TemplateFor(SFileSysException::ErrorCodes code) noexcept {
    switch (code) {
    case SFileSysException::OutOfMemoryError:
        return "System is out of memory.";
    case SFileSysException::MakeDirectoryError:
        return "Fail to create directory structure in file system operation on file %1.  Reason given: %2";
    case SFileSysException::FileNotFoundError:
        return "File not found";
    case SFileSysException::GetAttributesError:
        return "Fail to get file attributes from operating system in file system operation on file %1.  Reason "
               "given: %2";
    case SFileSysException::RemoveError:
    case SFileSysException::RemoveContentError:
        return RemoveText;
    case SFileSysException::CopyError:
        return "Failed to copy the file %1 to %2 in file system operation. Please check access rights. Reason "
               "given: %3";
    case SFileSysException::BadPathError:
        return "The file %1 does not exist.  File system operation failed. Reason give: %2";
    case SFileSysException::GetStatusError:
        return "Fail to get status of file from operating system in file system operation on file %1.  Reason "
               "given: %2";
    case SFileSysException::SetAttributesError:
        return "Fail to set file attributes in file system operation on file %1.  Reason given: %2";
    case SFileSysException::SizeError:
        return "Failed to determine the size of the file %1 in file system operation. Reason: %2";
    case SFileSysException::UniqueNameError:
        return "Failed to generate a unique filename in dir %1. Reason: %2";
    case SFileSysException::DiskStatisticsError:
        return "Failed to retrieve disk statistics from %1. Reason: %2";
    case SFileSysException::RenameError:
        return "Failed to rename %1 to %2. Reason: %3";
    case SFileSysException::SetCurrentDirectoryError:
        return "Failed to set current directory to %1.  Reason: %2";
    case SFileSysException::ChangeOwnerError:
        return "Failed to change ownership to %1.  Reason: %2";
    default:
        // GetCurrentDirectoryError has no sentence of its own.
        return UnknownText;
    }
}

const char *Text(const SAnsiString &s) noexcept { return s.getString(); }

void TraceAttributeFailure(const SAnsiString &path, int error) {
    TARNKIT_TRACE(0, "Failed to get file attribute for file: %1, error: %2", path, FileSysDetail::ErrorTextOf(error));
}

// Status of what the path names, a link looked through; one trailing
// separator makes no difference.
bool StatusOf(const SAnsiString &path, PathStatus &status, int &error) {
    return Platform::GetPathStatus(Text(FileSysDetail::WithoutTrailingSeparator(path)), true, status, error);
}

unsigned DirectoryMode(int permissions) noexcept {
    // New directories are open to all by default, narrowed by the umask as
    // any new directory is; a given word goes through the file translator.
    return permissions == SFile::defaultPermissions ? 0777u : Platform::SystemPermissions(permissions);
}

} // namespace

// ---------------------------------------------------------------------------
// Reasons, texts and throws.

namespace FileSysDetail {

SFileSysException::ErrorReasons ReasonFor(int error) noexcept {
    switch (Platform::ClassifyFileError(error)) {
    case Platform::FileErrorKind::OutOfMemory:
        return SFileSysException::OutOfMemory;
    case Platform::FileErrorKind::NotFound:
        return SFileSysException::FileNotFound;
    case Platform::FileErrorKind::InvalidPath:
        return SFileSysException::InvalidPath;
    case Platform::FileErrorKind::TooLarge:
        return SFileSysException::FileTooLarge;
    case Platform::FileErrorKind::AccessDenied:
        return SFileSysException::AccessDenied;
    case Platform::FileErrorKind::DiskFull:
        return SFileSysException::DiskFull;
    case Platform::FileErrorKind::AlreadyExists:
        return SFileSysException::AlreadyExists;
    default:
        return SFileSysException::UnknownReason;
    }
}

SAnsiString ErrorTextOf(int error) { return SAnsiString(Platform::FileErrorText(error).c_str()); }

bool MeansAbsent(int error) noexcept {
    const Platform::FileErrorKind kind = Platform::ClassifyFileError(error);
    return kind == Platform::FileErrorKind::NotFound || kind == Platform::FileErrorKind::InvalidPath;
}

void Throw(SFileSysException::ErrorCodes code, SFileSysException::ErrorReasons reason, const SAnsiString &file,
           int error, const char *function, const SAnsiString &secondFile) {
    throw SFileSysException(code, reason, file, ErrorTextOf(error), secondFile, SAnsiString(function));
}

void ThrowSystem(SFileSysException::ErrorCodes code, const SAnsiString &file, int error, const char *function,
                 const SAnsiString &secondFile) {
    Throw(code, ReasonFor(error), file, error, function, secondFile);
}

void ThrowNotFound(const SAnsiString &file, const char *function) {
    Throw(SFileSysException::FileNotFoundError, SFileSysException::FileNotFound, file, ENOENT, function);
}

SAnsiString WithoutTrailingSeparator(const SAnsiString &path) {
    SAnsiString copy(path);
    StripSlashOffDirEnd(copy, DIRSEPARATOR);
    return copy;
}

SAnsiString WithTrailingSeparator(const SAnsiString &path) {
    if (path.isEmpty() || path.getString()[path.getLength() - 1] == DIRSEPARATOR)
        return path;
    return path + SAnsiString("/");
}

std::string ResolveLeadingDots(const std::string &base, const std::string &path) {
    // Without a current directory nothing can be resolved; a relative path
    // is better than a wrong absolute one.
    if (base.empty())
        return path;
    size_t at = 0;
    if (at < path.size() && path[at] == DIRSEPARATOR)
        ++at;
    std::string resolved = base;
    while (at < path.size() && path[at] == '.') {
        if (at + 1 < path.size() && path[at + 1] == DIRSEPARATOR) {
            at += 2;
        } else if (at + 2 < path.size() && path[at + 1] == '.' && path[at + 2] == DIRSEPARATOR) {
            at += 3;
            // The current directory is physical, so its textual parent is
            // its real parent; the root is its own parent.
            while (resolved.size() > 1 && resolved.back() == DIRSEPARATOR)
                resolved.pop_back();
            const size_t slash = resolved.rfind(DIRSEPARATOR);
            resolved = slash == std::string::npos || slash == 0 ? std::string(1, DIRSEPARATOR)
                                                                : resolved.substr(0, slash);
        } else {
            break;
        }
    }
    if (resolved.back() != DIRSEPARATOR)
        resolved += DIRSEPARATOR;
    resolved.append(path, at, std::string::npos);
    return resolved;
}

void SplitListingFileSpec(const std::string &fileSpec, std::string &subdirectory, std::string &pattern) {
    const size_t slash = fileSpec.rfind(DIRSEPARATOR);
    if (slash == std::string::npos) {
        subdirectory.clear();
        pattern = fileSpec;
        return;
    }
    subdirectory = fileSpec.substr(0, slash);
    if (subdirectory.size() > 1 && subdirectory.front() == DIRSEPARATOR)
        subdirectory.erase(0, 1);
    pattern = fileSpec.substr(slash + 1);
}

} // namespace FileSysDetail

using namespace FileSysDetail;

SFileSysException::SFileSysException() : m_errCode(UnknownError), m_errReason(UnknownReason) {}

SFileSysException::SFileSysException(ErrorCodes code, ErrorReasons reason, const SAnsiString &file,
                                     const SAnsiString &reasonText, const SAnsiString &secondFile,
                                     const SAnsiString &function)
    : m_errCode(code), m_reasonText(reasonText), m_file(file), m_secondFile(secondFile), m_function(function),
      m_errReason(reason) {
    static_assert(UnknownError == 17, "Do not add error codes to this list is it defunct. Read the comment");
}

SFileSysException::SFileSysException(const SFileSysException &other) = default;
SFileSysException &SFileSysException::operator=(const SFileSysException &other) = default;
SFileSysException::~SFileSysException() = default;

SAnsiString SFileSysException::toString() const {
    if (m_errCode == CopyError || m_errCode == RenameError)
        return STraceHelper(TemplateFor(m_errCode), m_file, m_secondFile, m_reasonText);
    return STraceHelper(TemplateFor(m_errCode), m_file, m_reasonText);
}

SAnsiString SFileSysException::summary() const { return toString() + SAnsiString(", ") + m_function; }

SFileSysException::ErrorReasons SFileSysException::mapErrno(int error) noexcept { return ReasonFor(error); }

SFileSysException::ErrorReasons SFileSysException::mapError(unsigned long error) noexcept {
    return ReasonFor(static_cast<int>(error));
}

// ---------------------------------------------------------------------------
// Kinds.

bool SFileSys::exists(SAnsiString path) {
    StripSlashOffDirEnd(path, DIRSEPARATOR);
    if (path.isEmpty())
        return false;
    const int error = Platform::CheckPresence(Text(path));
    // Only "not there" means false: a name that may not be looked at exists.
    return error == 0 || !MeansAbsent(error);
}

bool SFileSys::isUNCPath(const SAnsiString &) { return false; }

bool SFileSys::isFullPath(const SAnsiString &path) {
    SAnsiString copy(path);
    UnifyAllSlashes(copy, DIRSEPARATOR);
    return !copy.isEmpty() && copy.getString()[0] == DIRSEPARATOR;
}

bool SFileSys::isDrive(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "isDrive");
    return false;
}

bool SFileSys::isDir(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "isDir");
    PathStatus status;
    int error = 0;
    if (!StatusOf(path, status, error)) {
        TraceAttributeFailure(path, error);
        ThrowSystem(SFileSysException::GetAttributesError, path, error, "isDir");
    }
    return status.isDirectory;
}

bool SFileSys::isFile(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "isFile");
    return !isDir(path);
}

// ---------------------------------------------------------------------------
// Directories made and single names removed.

void SFileSys::makeDirectory(const SAnsiString &path, int permissions) {
    if (exists(path))
        return;
    int error = 0;
    // A quicker creator is no failure.
    if (!Platform::MakeDirectory(Text(path), DirectoryMode(permissions), error) && error != EEXIST)
        ThrowSystem(SFileSysException::MakeDirectoryError, path, error, "makeDirectory");
}

void SFileSys::makeDirectories(const SAnsiString &path, int permissions) {
    if (exists(path))
        return;
    const std::string full = Text(WithTrailingSeparator(path.isEmpty() ? SAnsiString("/") : path));
    // Every level is tried, the first included; only the root is skipped.
    size_t separator = full.find(DIRSEPARATOR, full[0] == DIRSEPARATOR ? 1 : 0);
    while (separator != std::string::npos) {
        const std::string prefix = full.substr(0, separator);
        if (!prefix.empty() && prefix.back() != DIRSEPARATOR && Platform::CheckPresence(prefix.c_str()) != 0)
            makeDirectory(SAnsiString(prefix.c_str()), permissions);
        separator = full.find(DIRSEPARATOR, separator + 1);
    }
}

void SFileSys::remove(const SAnsiString &path) {
    const SAnsiString name = WithoutTrailingSeparator(path);
    if (name.isEmpty())
        return;
    // The name itself: a link is removed, never what it points to.
    PathStatus status;
    int error = 0;
    if (!Platform::GetPathStatus(Text(name), false, status, error)) {
        if (MeansAbsent(error))
            return;
        TraceAttributeFailure(path, error);
        ThrowSystem(SFileSysException::GetAttributesError, path, error, "isDir");
    }
    const bool removed = status.isDirectory ? Platform::RemoveDirectory(Text(name), error)
                                            : Platform::RemoveName(Text(name), error);
    if (!removed && ReasonFor(error) != SFileSysException::FileNotFound)
        ThrowSystem(SFileSysException::RemoveError, path, error, "remove");
}

// ---------------------------------------------------------------------------
// Sizes and attributes of one name.

SFileSys::FindBuffer SFileSys::getFindBufFileAttributes(SAnsiString path, const SAnsiString &function) {
    StripSlashOffDirEnd(path, DIRSEPARATOR);
    PathStatus status;
    int error = 0;
    if (!Platform::GetPathStatus(Text(path), true, status, error))
        throw SFileSysException(SFileSysException::GetAttributesError, ReasonFor(error), path, ErrorTextOf(error),
                                SAnsiString(), function);
    FindBuffer found;
    found.isDirectory = status.isDirectory;
    found.isSymbolicLink = status.isSymbolicLink;
    found.size = status.size;
    found.modifiedSeconds = status.modifiedSeconds;
    found.modifiedNanoseconds = status.modifiedNanoseconds;
    return found;
}

uint32_t SFileSys::size(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "size");
    return static_cast<uint32_t>(getFindBufFileAttributes(path, SAnsiString("size")).size);
}

__int64 SFileSys::sizeEx(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "sizeEx");
    return getFindBufFileAttributes(path, SAnsiString("sizeEx")).size;
}

uint32_t SFileSys::rsize(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "rsize");
    if (!isDir(path))
        return size(path);
    __int64 total = 0;
    rsizeHelper(WithTrailingSeparator(path), total, false);
    return static_cast<uint32_t>(total);
}

__int64 SFileSys::rsizeEx(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "rsizeEx");
    if (!isDir(path))
        return sizeEx(path);
    __int64 total = 0;
    rsizeHelper(WithTrailingSeparator(path), total, true);
    return total;
}

uint32_t SFileSys::countFiles(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "countFiles");
    if (!isDir(path))
        return 1;
    uint32_t count = 0;
    countHelper(WithTrailingSeparator(path), count, false);
    return count;
}

uint32_t SFileSys::countAll(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "countAll");
    if (!isDir(path))
        return 1;
    uint32_t count = 1; // the root itself
    countHelper(WithTrailingSeparator(path), count, true);
    return count;
}

void SFileSys::listing(const SAnsiString &dir, const SAnsiString &fileSpec, SIArray<FileProp> &out) {
    if (!exists(dir))
        ThrowNotFound(dir, "listing");
    std::string subdirectory, pattern;
    SplitListingFileSpec(Text(fileSpec), subdirectory, pattern);
    const SAnsiString searchDir = subdirectory.empty()
                                      ? dir
                                      : WithTrailingSeparator(dir) + SAnsiString(subdirectory.c_str());
    PathStatus status;
    int error = 0;
    if (!exists(searchDir) || !StatusOf(searchDir, status, error) || !status.isDirectory)
        return;

    SSFileSearch search;
    SIArray<SAnsiString> paths;
    paths.Add(WithTrailingSeparator(searchDir));
    search.open(pattern.c_str(), paths, false, false, false);
    SAnsiString name;
    while (search.next(name, false)) {
        const SAnsiString full = WithTrailingSeparator(searchDir) + name;
        if (!Platform::GetPathStatus(Text(full), true, status, error)) {
            // A link to nothing is listed as the link itself.
            if (!MeansAbsent(error) || !Platform::GetPathStatus(Text(full), false, status, error))
                ThrowSystem(SFileSysException::GetAttributesError, full, error, "listing");
        }
        FileProp entry;
        entry.name = name;
        entry.modifiedTime = status.modifiedSeconds;
        entry.size = static_cast<uint32_t>(status.size);
        entry.flags = status.isDirectory ? FileProp::isDirectoryFlag : 0;
        out.Add(entry);
    }
    search.close();
}

// ---------------------------------------------------------------------------
// Times.

SDateTime SFileSys::getLastModifiedTime(const SAnsiString &path) {
    if (!exists(path))
        ThrowNotFound(path, "getLastModifiedTime");
    const FindBuffer found = getFindBufFileAttributes(path, SAnsiString("getLastModifiedTime"));
    timespec when{};
    when.tv_sec = static_cast<time_t>(found.modifiedSeconds);
    when.tv_nsec = found.modifiedNanoseconds;
    const SDateTime result = sicTimespecToSDateTime(when);
    if (!result.IsValid())
        ThrowSystem(SFileSysException::GetAttributesError, path, EOVERFLOW, "getLastModifiedTime");
    return result;
}

void SFileSys::setLastModifiedTime(const SAnsiString &path, const SDateTime &when) {
    if (!exists(path))
        ThrowNotFound(path, "setLastModifiedTime");
    PathStatus status;
    int error = 0;
    if (StatusOf(path, status, error) && status.isDirectory)
        TARNKIT_FAIL("Not implemented for directories");
    timespec stamp{};
    if (!sicSDateTimeToTimespec(when, stamp))
        ThrowSystem(SFileSysException::SetAttributesError, path, EINVAL, "setLastModifiedTime");
    if (!Platform::SetModifiedTime(Text(WithoutTrailingSeparator(path)), static_cast<__int64>(stamp.tv_sec),
                                   static_cast<long>(stamp.tv_nsec), error))
        ThrowSystem(SFileSysException::SetAttributesError, path, error, "setLastModifiedTime");
}

// ---------------------------------------------------------------------------
// Access bits and owner.

void SFileSys::giveAccessHelper(const SAnsiString &path, int mode, bool keepExecute) {
    if (!exists(path))
        ThrowNotFound(path, "giveAccess");
    const SAnsiString name = WithoutTrailingSeparator(path);
    PathStatus status;
    int error = 0;
    if (!Platform::GetPathStatus(Text(name), true, status, error))
        ThrowSystem(SFileSysException::SetAttributesError, path, error, "giveAccess");
    unsigned owner = Platform::SystemPermissions(mode) & 0700u;
    if (keepExecute)
        owner |= status.mode & 0100u;
    // The vocabulary speaks of the owner only: the group's and others'
    // bits, and the special bits, stay as they are.
    const unsigned newMode = (status.mode & 07077u) | owner;
    if (!Platform::ChangeMode(Text(name), newMode, error))
        ThrowSystem(SFileSysException::SetAttributesError, path, error, "giveAccessHelper");
}

void SFileSys::giveAccess(const SAnsiString &path, int mode) { giveAccessHelper(path, mode, false); }

void SFileSys::giveAllAccess(const SAnsiString &path, bool executable) {
    // Read and write alone when not executable: writeMask carries the
    // execute bit too, which would make every data file executable here.
    if (executable)
        giveAccessHelper(path, SFile::ownerRWXMask, false);
    else
        giveAccessHelper(path, SFile::ownerRMask | SFile::ownerWMask, true);
}

bool SFileSys::hasOwnerPermissionHelper(const SAnsiString &path, int mask) {
    if (!exists(path))
        ThrowNotFound(path, "HasOwnerExePermission");
    if (isDir(path)) {
        TARNKIT_FAIL("HasOwnerPermission is not implemented for directories");
        return false;
    }
    PathStatus status;
    int error = 0;
    if (!StatusOf(path, status, error))
        ThrowSystem(SFileSysException::SetAttributesError, path, error, "HasOwnerPermissionHelper");
    return (status.mode & static_cast<unsigned>(mask)) != 0;
}

bool SFileSys::HasOwnerWritePermission(const SAnsiString &path) {
    return hasOwnerPermissionHelper(path, SFile::ownerWMask);
}

bool SFileSys::HasOwnerExePermission(const SAnsiString &path) {
    return hasOwnerPermissionHelper(path, SFile::ownerXMask);
}

void SFileSys::setFileOwner(const SAnsiString &, const SAnsiString &) {}

// ---------------------------------------------------------------------------
// Disk statistics and the current directory.

void SFileSys::diskUsageInfo(const SAnsiString &path, __int64 &available, __int64 &total, __int64 &free) {
    available = 0;
    total = 0;
    free = 0;
    PathStatus status;
    int error = 0;
    if (!exists(path) || !StatusOf(path, status, error) || !status.isDirectory)
        Throw(SFileSysException::DiskStatisticsError, SFileSysException::InvalidPath, SAnsiString(), ENOTDIR,
              "diskUsageInfo");
    Platform::DiskUsage usage;
    if (!Platform::GetDiskUsage(Text(path), usage, error))
        throw SFileSysException(
            SFileSysException::DiskStatisticsError, ReasonFor(error),
            SAnsiString("The operating system's call has failed.  Please contact your system administrator."),
            SAnsiString(), SAnsiString(), SAnsiString());
    available = usage.available;
    total = usage.total;
    free = usage.free;
}

SAnsiString SFileSys::getCurrentDirectory() {
    char first[260];
    int error = 0;
    if (Platform::GetWorkingDirectory(first, sizeof first, error))
        return SAnsiString(first);
    if (error != ERANGE)
        return SAnsiString();
    for (size_t size = 2 * sizeof first;; size *= 2) {
        std::unique_ptr<char[]> buffer(new char[size]);
        if (Platform::GetWorkingDirectory(buffer.get(), size, error))
            return SAnsiString(buffer.get());
        if (error != ERANGE)
            ThrowSystem(SFileSysException::GetCurrentDirectoryError, SAnsiString(), error, "getCurrentDirectory");
    }
}

void SFileSys::setCurrentDirectory(const SAnsiString &path) {
    int error = 0;
    if (!Platform::ChangeWorkingDirectory(Text(path), error))
        ThrowSystem(SFileSysException::SetCurrentDirectoryError, path, error, "setCurrentDirectory");
}

SAnsiString SFileSys::getFullPath(const SAnsiString &path) {
    if (path.isEmpty())
        return getCurrentDirectory();
    SAnsiString copy(path);
    UnifyAllSlashes(copy, DIRSEPARATOR);
    if (isFullPath(copy))
        return copy;
    // Worked out from the current directory by text: the directory the
    // system reports has no links in it, so ".." of it is its real parent,
    // and the process's current directory never has to change.
    const SAnsiString base = getCurrentDirectory();
    return SAnsiString(ResolveLeadingDots(Text(base), Text(copy)).c_str());
}

} // namespace TarnkitA201
