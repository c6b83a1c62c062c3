// SSFileSearch: walks one file-name pattern through an ordered list of
// directories and hands out the matches one at a time, by bare name or by
// full path.
//
// Patterns: "*" is any run of characters, "?" exactly one, and a final ".*"
// also matches names without that extension ("*.*" is every name). Names
// are compared with their case. Within one directory the matches come in
// byte order of their names. The search lists names only and never enters
// the directories it finds; an entry that is a symbolic link is reported as
// a link, never as what it points to.
//
// A search belongs to one thread.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/sarray.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class SSFileSearch {
public:
    // What the current match is, as the directory reports it.
    struct FindData {
        bool isDirectory = false;
        bool isSymbolicLink = false;
        __int64 size = 0; // 0 for a directory
        __int64 modifiedSeconds = 0; // since 1970-01-01 UTC
        long modifiedNanoseconds = 0;
    };

    SSFileSearch();
    SSFileSearch(const SSFileSearch &) = delete;
    SSFileSearch &operator=(const SSFileSearch &) = delete;
    ~SSFileSearch();

    // Sets up a search of `pattern` through a copy of `paths`. With
    // `systemDirs` the library's plug-in directory and the system's library
    // directories follow; with `pathEnv` the parts of the PATH variable
    // follow (split at ':'; an empty part is the current directory, only a
    // last empty part is dropped). Whoever controls PATH then chooses where
    // the search looks. A search that was open is closed. Always true.
    bool open(const char *pattern, SIArray<SAnsiString> &paths, bool systemDirs, bool pathEnv, bool includeDots);
    // The next match, taking directories off the list as each is used up;
    // false when the list is done. A directory that cannot be read is
    // passed over.
    bool next(SAnsiString &name, bool fullPath);

    // The single-directory steps: the first match of the pattern in `dir`,
    // and the following ones. "." and ".." are passed over unless the
    // search includes them.
    bool FindFirst(const SAnsiString &dir, SAnsiString &name);
    bool FindNext(SAnsiString &name);
    // Details of the match last handed out; false when there is none.
    bool getFindData(FindData &data) const;

    bool close();
    bool IsOpen() const noexcept { return m_find != nullptr; }

    // Adds a '/' to a non-empty `dir` that lacks one, then the name.
    static void AppendFileName(SAnsiString &dir, const SAnsiString &name);

private:
    struct FindState;
    bool takeCurrent(SAnsiString &name);

    SAnsiString m_pattern;
    SIArray<SAnsiString> m_paths;
    SAnsiString m_currentDirectory;
    FindState *m_find; // null when closed
    bool m_includeDots;
};

TARNKIT_NAMESPACE_END
