// SFileSys: static operations on paths (existence and kind, directory trees,
// sizes and counts, listings, unique and temporary names, rename and copy,
// modification times, owner access bits, disk statistics, the current
// directory and full paths), and SFileSysException, which every failure of
// them throws.
//
// The separator is "/". There are no drives and no UNC names: isDrive and
// isUNCPath are always false and a full path is one that starts with a
// slash (getFullPath and isFullPath read "\" as "/" first).
//
// Symbolic links. Single-path queries (exists, isDir, size, times, access)
// look through a link to what it names. Walks over a tree never enter a
// link: removal removes the link itself, a copy recreates the link, sizes
// count a link as 0 bytes and counts count it as one entry. remove and
// rremove on a name that is a link remove the link and leave its target.
//
// Copies are written under a temporary name in the target's directory and
// renamed into place only when complete, so a failed copy leaves any
// earlier target as it was; a crash in the middle can leave the temporary
// file (".tkcopy-<random>.<name>") behind.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/sarray.h"
#include "tarnkit/sdatetime.h"
#include "tarnkit/sfile.h"
#include "tarnkit/sfilesearch.h"
#include "tarnkit/sstringimpl.h"

#include <cstdint>

TARNKIT_NAMESPACE_BEGIN

inline constexpr char DIRSEPARATOR = '/';

class SFileSysException {
public:
    // The family of the operation that failed. The list is closed.
    enum ErrorCodes {
        OutOfMemoryError = 0,
        MakeDirectoryError = 1,
        FileNotFoundError = 2,
        GetAttributesError = 3,
        RemoveError = 4,
        CopyError = 5,
        BadPathError = 6,
        GetStatusError = 7,
        RemoveContentError = 8,
        SetAttributesError = 9,
        SizeError = 10,
        UniqueNameError = 11,
        DiskStatisticsError = 12,
        RenameError = 13,
        GetCurrentDirectoryError = 14,
        SetCurrentDirectoryError = 15,
        ChangeOwnerError = 16,
        UnknownError = 17,
    };
    // What caused it, judged by the meaning of the system's error.
    enum ErrorReasons {
        OutOfMemory = 0,
        FileNotFound = 1,
        InvalidPath = 2,
        FileTooLarge = 3,
        AccessDenied = 4,
        InternalError = 5,
        DiskFull = 6,
        AlreadyExists = 7,
        UnknownReason = 8,
    };

    SFileSysException();
    SFileSysException(ErrorCodes code, ErrorReasons reason, const SAnsiString &file, const SAnsiString &reasonText,
                      const SAnsiString &secondFile, const SAnsiString &function);
    SFileSysException(const SFileSysException &other);
    SFileSysException &operator=(const SFileSysException &other);
    virtual ~SFileSysException();

    // The user's sentence for the code, with the file, the second file and
    // the reason text filled in.
    virtual SAnsiString toString() const;
    // The sentence, ", " and the name of the operation that threw.
    virtual SAnsiString summary() const;

    ErrorCodes ErrCode() const noexcept { return m_errCode; }
    ErrorReasons ErrReason() const noexcept { return m_errReason; }
    // The system's text for the error.
    SAnsiString reason() const { return m_reasonText; }
    const SAnsiString &getFileName() const noexcept { return m_file; }
    const SAnsiString &getSecondFileName() const noexcept { return m_secondFile; }
    const SAnsiString &getFunction() const noexcept { return m_function; }

private:
    // Both classify a system error number by what it means.
    static ErrorReasons mapErrno(int error) noexcept;
    static ErrorReasons mapError(unsigned long error) noexcept;

    ErrorCodes m_errCode;
    SAnsiString m_reasonText;
    SAnsiString m_file;
    SAnsiString m_secondFile;
    SAnsiString m_function;
    ErrorReasons m_errReason;
};

// One entry of a listing.
struct FileProp {
    __int64 modifiedTime = 0; // seconds since 1970-01-01 UTC
    SAnsiString name;         // without the directory
    uint32_t flags = 0;       // isDirectoryFlag
    uint32_t size = 0;        // the low 32 bits; 0 for a directory

    static constexpr uint32_t isDirectoryFlag = 1;
};

class SFileSys {
public:
    static constexpr int defaultPermissions = SFile::defaultPermissions;
    // What getFindBufFileAttributes answers.
    using FindBuffer = SSFileSearch::FindData;

    // True unless the system says there is no such name (a path through a
    // plain file included); a name that may not be looked at exists. One
    // trailing "/" makes no difference; "" does not exist.
    static bool exists(SAnsiString path);
    // isDir, isFile and isDrive throw FileNotFoundError for an absent path.
    static bool isDir(const SAnsiString &path);
    static bool isFile(const SAnsiString &path);
    static bool isDrive(const SAnsiString &path);
    static bool isUNCPath(const SAnsiString &path);
    static bool isFullPath(const SAnsiString &path);

    // `permissions` is the library's permission word; defaultPermissions is
    // 0777, less the process umask. An existing name is left alone.
    static void makeDirectory(const SAnsiString &path, int permissions);
    // Creates every missing level; existing levels and other creators that
    // are quicker do no harm.
    static void makeDirectories(const SAnsiString &path, int permissions);

    // Removing what is absent is no error. A directory must be empty.
    static void remove(const SAnsiString &path);
    // Removes the tree, as much of it as can go, then throws for the last
    // failure.
    static void rremove(const SAnsiString &path);
    // Empties the tree and keeps the directory itself.
    static void rremoveContent(const SAnsiString &path);
    // Removes the entries of `dir` that match `pattern` (not recursing);
    // `bytes` receives the sizes of those that went. Failures per entry are
    // traced and passed over.
    static void removeContent(const SAnsiString &dir, const SAnsiString &pattern, unsigned long &bytes);
    static void removeContentEx(const SAnsiString &dir, const SAnsiString &pattern, __int64 &bytes);

    // The size of a file (0 for a directory); the 32-bit forms keep the low
    // bits. rsize and rsizeEx add up a tree; rsize throws SizeError when
    // the total of a tree passes 32 bits.
    static uint32_t size(const SAnsiString &path);
    static __int64 sizeEx(const SAnsiString &path);
    static uint32_t rsize(const SAnsiString &path);
    static __int64 rsizeEx(const SAnsiString &path);
    // Entries below a directory (1 for anything else): countFiles counts
    // what is not a directory, countAll everything and the root too.
    static uint32_t countFiles(const SAnsiString &path);
    static uint32_t countAll(const SAnsiString &path);

    // Appends the entries of `dir` + the directory part of `fileSpec` that match
    // the pattern part of `fileSpec`, in byte order of their names.
    static void listing(const SAnsiString &dir, const SAnsiString &fileSpec, SIArray<FileProp> &out);

    // Names built from the prefix, the process id, the time and a counter,
    // all in lower case. With `create` the name is made (a file exclusively)
    // and missing directories above it too.
    static SAnsiString getUniqueFilename(const SAnsiString &dir, const SAnsiString &prefix, const SAnsiString &suffix,
                                         bool create, int permissions);
    static SAnsiString getUniqueDirname(const SAnsiString &dir, const SAnsiString &prefix, bool create,
                                        int permissions);
    // A new empty file in the temporary directory.
    static SAnsiString getTempFilename(const SAnsiString &prefix);
    // TMPDIR when set and not empty, else "/tmp"; with a trailing "/".
    static SAnsiString getTempDirname();

    // Renames a file, replacing `to`. Across file systems the file is
    // copied and the source removed only after the copy succeeded. A
    // directory is not renamed (an assertion, nothing thrown).
    static void renameFile(const SAnsiString &from, const SAnsiString &to);
    // Copies a file, or a directory tree, keeping modes and modification
    // times. Without `overwrite` an existing target is a failure.
    static void copyFile(const SAnsiString &from, const SAnsiString &to, bool overwrite);

    // Modification time, to the millisecond.
    static SDateTime getLastModifiedTime(const SAnsiString &path);
    // Sets both the access and the modification time.
    static void setLastModifiedTime(const SAnsiString &path, const SDateTime &when);

    // Sets the owner's bits from the permission word; the group's and
    // others' bits stay as they are.
    static void giveAccess(const SAnsiString &path, int mode);
    // Owner read and write, and execute if `executable` (else the owner's
    // execute bit stays as it was).
    static void giveAllAccess(const SAnsiString &path, bool executable);
    static bool HasOwnerWritePermission(const SAnsiString &path);
    static bool HasOwnerExePermission(const SAnsiString &path);
    // Does nothing on this system.
    static void setFileOwner(const SAnsiString &file, const SAnsiString &owner);

    // Bytes available to the caller, in total and free, of the file system
    // that holds the directory `path`.
    static void diskUsageInfo(const SAnsiString &path, __int64 &available, __int64 &total, __int64 &free);

    static SAnsiString getCurrentDirectory();
    static void setCurrentDirectory(const SAnsiString &path);
    // A full path is returned as it is; otherwise leading "./" and "../"
    // are resolved against the current directory and the rest appended.
    static SAnsiString getFullPath(const SAnsiString &path);

    // What the system records for `path` (a link is looked through).
    static FindBuffer getFindBufFileAttributes(SAnsiString path, const SAnsiString &function);

private:
    static SAnsiString getUniqueFilenameHelper(const SAnsiString &dir, const SAnsiString &prefix,
                                               const SAnsiString &suffix, bool create, int permissions,
                                               bool isDirectory);
    static void rremoveHelper(const SAnsiString &dir, bool &ok, SFileSysException::ErrorReasons &reason,
                              SAnsiString &text);
    static void rsizeHelper(const SAnsiString &dir, __int64 &total, bool ex);
    static void countHelper(const SAnsiString &dir, uint32_t &count, bool all);
    static void copyFileHelper(const SAnsiString &src, const SAnsiString &dst, bool overwrite, bool &ok,
                               SFileSysException::ErrorReasons &reason, SAnsiString &text);
    static void giveAccessHelper(const SAnsiString &path, int mode, bool keepExecute);
    static bool hasOwnerPermissionHelper(const SAnsiString &path, int mask);
};

TARNKIT_NAMESPACE_END
