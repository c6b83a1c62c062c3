#include "tarnkit/sfilesearch.h"

#include "files/wildcard.h"
#include "platform/fileio.h"
#include "tarnkit/strace.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

// Where the suite's shared plug-ins are installed; the build may say.
#ifndef TARNKIT_SYSTEM_LIBDIR
#define TARNKIT_SYSTEM_LIBDIR "/usr/local/lib"
#endif

namespace TarnkitA201 {

namespace {

constexpr char Separator = '/';

struct NameFilter {
    std::string pattern;
    bool includeDots;
};

bool IsDotEntry(const char *name) noexcept {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

bool AcceptName(const char *name, const void *context) {
    const NameFilter &filter = *static_cast<const NameFilter *>(context);
    if (!filter.includeDots && IsDotEntry(name))
        return false;
    return Wildcard::Matches(filter.pattern.data(), filter.pattern.size(), name, std::strlen(name));
}

void AppendSystemDirectories(SIArray<SAnsiString> &paths) {
    paths.Add(SAnsiString(TARNKIT_SYSTEM_LIBDIR "/halcyon"));
    paths.Add(SAnsiString(TARNKIT_SYSTEM_LIBDIR));
    paths.Add(SAnsiString("/usr/lib"));
}

void AppendPathVariable(SIArray<SAnsiString> &paths) {
    const char *value = std::getenv("PATH");
    if (value == nullptr)
        return;
    const std::string list(value);
    size_t start = 0;
    for (;;) {
        const size_t colon = list.find(':', start);
        if (colon == std::string::npos) {
            // Only the last part is dropped when empty; an empty part within
            // the list stands for the current directory.
            if (start < list.size())
                paths.Add(SAnsiString(list.substr(start).c_str()));
            return;
        }
        paths.Add(SAnsiString(list.substr(start, colon - start).c_str()));
        start = colon + 1;
    }
}

} // namespace

struct SSFileSearch::FindState {
    std::vector<Platform::DirectoryEntry> entries;
    size_t current = 0;
};

SSFileSearch::SSFileSearch() : m_find(nullptr), m_includeDots(false) {}

SSFileSearch::~SSFileSearch() { close(); }

bool SSFileSearch::open(const char *pattern, SIArray<SAnsiString> &paths, bool systemDirs, bool pathEnv,
                        bool includeDots) {
    close();
    m_pattern = SAnsiString(pattern != nullptr ? pattern : "");
    m_includeDots = includeDots;
    m_paths = paths;
    if (systemDirs)
        AppendSystemDirectories(m_paths);
    if (pathEnv)
        AppendPathVariable(m_paths);
    return true;
}

bool SSFileSearch::next(SAnsiString &name, bool fullPath) {
    for (;;) {
        if (!IsOpen() && m_paths.GetSize() == 0)
            return false;
        SAnsiString entry;
        bool found;
        if (IsOpen()) {
            found = FindNext(entry);
        } else {
            m_currentDirectory = m_paths.GetAt(0);
            m_paths.RemoveAt(0);
            found = FindFirst(m_currentDirectory, entry);
        }
        if (found) {
            if (fullPath) {
                name = m_currentDirectory;
                AppendFileName(name, entry);
            } else {
                name = entry;
            }
            return true;
        }
        close();
    }
}

bool SSFileSearch::FindFirst(const SAnsiString &dir, SAnsiString &name) {
    TARNKIT_ASSERT_MSG(!IsOpen(), "Search stream is already open in SSFileSearch::FindFirst()");
    close();

    // Wildcards stand only in the last part; anything before it names the
    // directory to list.
    SAnsiString joined = dir;
    AppendFileName(joined, m_pattern);
    const std::string full(joined.getString(), joined.getLength());
    const size_t slash = full.rfind(Separator);
    std::string directory;
    NameFilter filter;
    filter.includeDots = m_includeDots;
    if (slash == std::string::npos) {
        directory = ".";
        filter.pattern = full;
    } else {
        directory = slash == 0 ? std::string(1, Separator) : full.substr(0, slash);
        filter.pattern = full.substr(slash + 1);
    }

    auto state = std::make_unique<FindState>();
    int error = 0;
    if (!Platform::ListDirectory(directory.c_str(), AcceptName, &filter, state->entries, error) ||
        state->entries.empty())
        return false;
    m_find = state.release();
    return takeCurrent(name);
}

bool SSFileSearch::FindNext(SAnsiString &name) {
    if (!IsOpen() || m_find->current >= m_find->entries.size())
        return false;
    ++m_find->current;
    return takeCurrent(name);
}

bool SSFileSearch::takeCurrent(SAnsiString &name) {
    if (m_find->current >= m_find->entries.size())
        return false;
    name = SAnsiString(m_find->entries[m_find->current].name.c_str());
    return true;
}

bool SSFileSearch::getFindData(FindData &data) const {
    if (!IsOpen() || m_find->current >= m_find->entries.size())
        return false;
    const Platform::DirectoryEntry &entry = m_find->entries[m_find->current];
    data.isDirectory = entry.isDirectory;
    data.isSymbolicLink = entry.isSymbolicLink;
    data.size = entry.size;
    data.modifiedSeconds = entry.modifiedSeconds;
    data.modifiedNanoseconds = entry.modifiedNanoseconds;
    return true;
}

bool SSFileSearch::close() {
    delete m_find;
    m_find = nullptr;
    return true;
}

void SSFileSearch::AppendFileName(SAnsiString &dir, const SAnsiString &name) {
    const size_t length = dir.getLength();
    if (length != 0 && dir.getString()[length - 1] != Separator)
        dir += SAnsiString("/");
    dir += name;
}

} // namespace TarnkitA201
