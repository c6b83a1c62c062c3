// The operations of SFileSys that walk directories: removing trees and
// contents, sizes and counts of trees, and copies. The walks work on open
// directory handles and never pass through a symbolic link.
#include "tarnkit/sfilesys.h"

#include "files/sfilesysdetail.h"
#include "platform/filesystem.h"
#include "tarnkit/sstringhelper.h"
#include "tarnkit/strace.h"

#include <cerrno>
#include <climits>
#include <string>
#include <vector>

namespace TarnkitA201 {

using namespace FileSysDetail;
using Platform::Directory;
using Platform::DirectoryEntry;

namespace {

const char *Text(const SAnsiString &s) noexcept { return s.getString(); }

// The last failure of a best-effort walk.
struct WalkFailure {
    bool ok = true;
    int error = 0;

    void record(int value) noexcept {
        ok = false;
        error = value;
    }
};

// A directory that could not be emptied cannot be removed either; that
// second failure says less than the first, so it is not kept over it.
bool IsConsequenceOfFailureBelow(int error) noexcept { return error == ENOTEMPTY || error == EEXIST; }

void RemoveBelow(const Directory &directory, WalkFailure &failure) {
    std::vector<DirectoryEntry> entries;
    int error = 0;
    if (!directory.list(entries, error)) {
        failure.record(error);
        return;
    }
    for (const DirectoryEntry &entry : entries) {
        bool failedBelow = false;
        if (entry.isDirectory) {
            Directory child;
            if (child.openChild(directory, entry.name.c_str(), error)) {
                WalkFailure below;
                RemoveBelow(child, below);
                if (!below.ok) {
                    failure = below;
                    failedBelow = true;
                }
            } else if (!MeansAbsent(error)) {
                failure.record(error);
                failedBelow = true;
            }
        }
        if (!directory.removeChild(entry.name.c_str(), entry.isDirectory, error) && !MeansAbsent(error) &&
            !(failedBelow && IsConsequenceOfFailureBelow(error)))
            failure.record(error);
    }
}

__int64 SaturatingAdd(__int64 total, __int64 add) noexcept {
    return add > LLONG_MAX - total ? LLONG_MAX : total + add;
}

void SizeBelow(const Directory &directory, const std::string &path, __int64 &total, bool ex) {
    std::vector<DirectoryEntry> entries;
    int error = 0;
    // What cannot be read is passed over, as a search passes it over.
    if (!directory.list(entries, error))
        return;
    for (const DirectoryEntry &entry : entries) {
        const std::string entryPath = path + entry.name;
        if (entry.isDirectory) {
            Directory child;
            if (child.openChild(directory, entry.name.c_str(), error))
                SizeBelow(child, entryPath + DIRSEPARATOR, total, ex);
        }
        // Directories and links add 0: only a file's own content counts.
        total = SaturatingAdd(total, entry.size);
        if (!ex && total > static_cast<__int64>(0xFFFFFFFFu))
            Throw(SFileSysException::SizeError, SFileSysException::FileTooLarge, SAnsiString(entryPath.c_str()),
                  EFBIG, "rsize", SAnsiString("Size of file exceeds 4 GBytes."));
    }
}

void CountBelow(const Directory &directory, uint32_t &count, bool all) {
    std::vector<DirectoryEntry> entries;
    int error = 0;
    if (!directory.list(entries, error))
        return;
    for (const DirectoryEntry &entry : entries) {
        if (!entry.isDirectory) {
            ++count;
            continue;
        }
        if (all)
            ++count;
        Directory child;
        if (child.openChild(directory, entry.name.c_str(), error))
            CountBelow(child, count, all);
    }
}

struct Identity {
    unsigned long long device = 0;
    unsigned long long inode = 0;
    bool known = false;

    bool operator==(const Identity &other) const noexcept {
        return known && other.known && device == other.device && inode == other.inode;
    }
};

Identity IdentityOf(const Directory &directory) noexcept {
    Identity id;
    id.known = directory.identity(id.device, id.inode);
    return id;
}

void CopyBelow(const Directory &source, const Directory &target, bool overwrite, const Identity &targetRoot,
               WalkFailure &failure) {
    std::vector<DirectoryEntry> entries;
    int error = 0;
    if (!source.list(entries, error)) {
        failure.record(error);
        return;
    }
    for (const DirectoryEntry &entry : entries) {
        const char *name = entry.name.c_str();
        if (entry.isSymbolicLink) {
            if (!source.copyLinkTo(name, target, name, overwrite, error))
                failure.record(error);
            continue;
        }
        if (!entry.isDirectory) {
            if (!source.copyFileTo(name, target, name, overwrite, error))
                failure.record(error);
            continue;
        }
        Directory sourceChild, targetChild;
        if (!sourceChild.openChild(source, name, error)) {
            failure.record(error);
            continue;
        }
        // A target inside the source would be copied into itself for ever.
        if (IdentityOf(sourceChild) == targetRoot) {
            failure.record(EINVAL);
            continue;
        }
        if ((!target.makeChild(name, 0777, error) && error != EEXIST) ||
            !targetChild.openChild(target, name, error)) {
            failure.record(error);
            continue;
        }
        CopyBelow(sourceChild, targetChild, overwrite, targetRoot, failure);
    }
}

void ThrowNotADirectory(const SAnsiString &path, const char *function) {
    Throw(SFileSysException::RemoveContentError, SFileSysException::InvalidPath, path, ENOTDIR, function);
}

// Whether the name itself (a link not looked through) is a directory;
// false for an absent name.
bool IsRealDirectory(const SAnsiString &path, bool &present) {
    Platform::PathStatus status;
    int error = 0;
    const SAnsiString name = WithoutTrailingSeparator(path);
    present = !name.isEmpty() && Platform::GetPathStatus(Text(name), false, status, error);
    if (!present && !name.isEmpty() && !MeansAbsent(error))
        ThrowSystem(SFileSysException::GetAttributesError, path, error, "isDir");
    return present && status.isDirectory;
}

// Emptying the whole system is never what a caller meant.
void RefuseSystemRoot(const SAnsiString &path, const char *function) {
    if (Platform::IsSystemRoot(Text(path)))
        Throw(SFileSysException::RemoveContentError, SFileSysException::InvalidPath, path, EINVAL, function);
}

// Removes the matches of `pattern` in `dir`; false, with nothing done, when
// `dir` is absent. The total is added up modulo 2^64, so its low 32 bits
// are the 32-bit total.
bool RemoveMatching(const SAnsiString &dir, const SAnsiString &pattern, const char *function, __int64 &bytes) {
    if (!SFileSys::exists(dir))
        return false;
    if (!SFileSys::isDir(dir))
        Throw(SFileSysException::RemoveContentError, SFileSysException::InvalidPath, dir, ENOTDIR, function);
    SSFileSearch search;
    SIArray<SAnsiString> paths;
    paths.Add(dir);
    search.open(Text(pattern), paths, false, false, false);
    unsigned long long total = 0;
    SAnsiString entry;
    while (search.next(entry, true)) {
        try {
            // The entry's own size: a link frees no more than itself.
            Platform::PathStatus status;
            int error = 0;
            if (!Platform::GetPathStatus(Text(entry), false, status, error))
                ThrowSystem(SFileSysException::GetAttributesError, entry, error, function);
            SFileSys::remove(entry);
            total += static_cast<unsigned long long>(status.size);
        } catch (const SFileSysException &e) {
            TARNKIT_TRACE(0, "SFileSys::removeContent: Can't remove file %s. Reason: %s\n", entry, e.summary());
        }
    }
    search.close();
    bytes = static_cast<__int64>(total);
    return true;
}

} // namespace

// ---------------------------------------------------------------------------
// Removal.

void SFileSys::rremoveHelper(const SAnsiString &dir, bool &ok, SFileSysException::ErrorReasons &reason,
                             SAnsiString &text) {
    WalkFailure failure;
    Directory root;
    int error = 0;
    // The root was found to be a directory, not a link; should it have been
    // swapped for a link since, it is not entered.
    if (root.open(Text(WithoutTrailingSeparator(dir)), error, false))
        RemoveBelow(root, failure);
    else if (!MeansAbsent(error))
        failure.record(error);
    if (!failure.ok) {
        ok = false;
        reason = ReasonFor(failure.error);
        text = ErrorTextOf(failure.error);
    }
}

void SFileSys::rremove(const SAnsiString &path) {
    bool present = false;
    const bool directory = IsRealDirectory(path, present);
    if (!present)
        return;
    RefuseSystemRoot(path, "rremove");
    bool ok = true;
    SFileSysException::ErrorReasons reason = SFileSysException::UnknownReason;
    SAnsiString text;
    if (directory)
        rremoveHelper(WithTrailingSeparator(path), ok, reason, text);
    try {
        remove(path);
    } catch (const SFileSysException &) {
        // After a failure below, the root cannot go either; the failure
        // below is the one that tells why.
        if (ok)
            throw;
    }
    if (!ok)
        throw SFileSysException(SFileSysException::RemoveContentError, reason, path, text, SAnsiString(),
                                SAnsiString("rremove"));
}

void SFileSys::rremoveContent(const SAnsiString &path) {
    bool present = false;
    const bool directory = IsRealDirectory(path, present);
    if (!present)
        return;
    if (!directory)
        ThrowNotADirectory(path, "rremoveContent");
    RefuseSystemRoot(path, "rremoveContent");
    bool ok = true;
    SFileSysException::ErrorReasons reason = SFileSysException::UnknownReason;
    SAnsiString text;
    rremoveHelper(WithTrailingSeparator(path), ok, reason, text);
    if (!ok)
        throw SFileSysException(SFileSysException::RemoveContentError, reason, path, text, SAnsiString(),
                                SAnsiString("rremoveContent"));
}

void SFileSys::removeContent(const SAnsiString &dir, const SAnsiString &pattern, unsigned long &bytes) {
    __int64 total = 0;
    // The total of this form is 32 bits wide and wraps as such.
    if (RemoveMatching(dir, pattern, "removeContent", total))
        bytes = static_cast<uint32_t>(total);
}

void SFileSys::removeContentEx(const SAnsiString &dir, const SAnsiString &pattern, __int64 &bytes) {
    __int64 total = 0;
    if (RemoveMatching(dir, pattern, "removeContentEx", total))
        bytes = total;
}

// ---------------------------------------------------------------------------
// Sizes and counts.

void SFileSys::rsizeHelper(const SAnsiString &dir, __int64 &total, bool ex) {
    Directory root;
    int error = 0;
    if (root.open(Text(WithoutTrailingSeparator(dir)), error))
        SizeBelow(root, Text(WithTrailingSeparator(dir)), total, ex);
}

void SFileSys::countHelper(const SAnsiString &dir, uint32_t &count, bool all) {
    Directory root;
    int error = 0;
    if (root.open(Text(WithoutTrailingSeparator(dir)), error))
        CountBelow(root, count, all);
}

// ---------------------------------------------------------------------------
// Copies.

void SFileSys::copyFileHelper(const SAnsiString &src, const SAnsiString &dst, bool overwrite, bool &ok,
                              SFileSysException::ErrorReasons &reason, SAnsiString &text) {
    makeDirectory(dst, defaultPermissions);
    WalkFailure failure;
    Directory source, target;
    int error = 0;
    if (!source.open(Text(WithoutTrailingSeparator(src)), error) ||
        !target.open(Text(WithoutTrailingSeparator(dst)), error))
        failure.record(error);
    else
        CopyBelow(source, target, overwrite, IdentityOf(target), failure);
    if (!failure.ok) {
        ok = false;
        reason = ReasonFor(failure.error);
        text = ErrorTextOf(failure.error);
    }
}

void SFileSys::copyFile(const SAnsiString &from, const SAnsiString &to, bool overwrite) {
    if (!exists(from))
        ThrowNotFound(from, "copyFile");
    if (isDir(from)) {
        const SAnsiString source = WithTrailingSeparator(from);
        const SAnsiString target = WithTrailingSeparator(to);
        makeDirectories(target, defaultPermissions);
        bool ok = true;
        SFileSysException::ErrorReasons reason = SFileSysException::UnknownReason;
        SAnsiString text;
        copyFileHelper(source, target, overwrite, ok, reason, text);
        if (!ok)
            throw SFileSysException(SFileSysException::CopyError, reason, source, text, target,
                                    SAnsiString("copyFile"));
        return;
    }
    SAnsiString directory, name, extension;
    if (SplitPathEx(to, directory, name, extension, DIRSEPARATOR) && !directory.isEmpty())
        makeDirectories(directory, defaultPermissions);
    int error = 0;
    if (!Platform::CopyFile(Text(from), Text(to), overwrite, error))
        ThrowSystem(SFileSysException::CopyError, from, error, "copyFile", to);
}

} // namespace TarnkitA201
