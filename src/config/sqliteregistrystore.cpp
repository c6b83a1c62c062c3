#include "config/sqliteregistrystore.h"

#include "platform/userdirs.h"
#include "tarnkit/strace.h"

#include <sqlite3.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <vector>

namespace TarnkitA201 {

namespace {

using namespace RegistryError;

constexpr long Busy = 170;
constexpr long DiskFull = 112;
// Long enough for another process's large transaction to finish.
constexpr int kBusyTimeoutMs = 15000;
// One copy of the write-ahead log's index header: it changes with every
// commit by any connection, which is what the read cache keys on.
constexpr size_t kLogHeaderBytes = 48;

// ---------------------------------------------------------------------------
// Text at the boundary: the caller speaks the locale's text, the files UTF-8.

bool IsAscii(const char *p, size_t n) noexcept {
    for (size_t i = 0; i < n; ++i)
        if (static_cast<unsigned char>(p[i]) >= 0x80)
            return false;
    return true;
}

// Converts each NUL-separated piece, keeping the NULs, so that a stored
// terminator survives the round trip.
std::string LocaleToStore(const char *p, size_t n) {
    if (IsAscii(p, n))
        return std::string(p, n);
    std::string out;
    size_t start = 0;
    while (start <= n) {
        size_t end = start;
        while (end < n && p[end] != 0)
            ++end;
        SAnsiString piece(p + start, end - start);
        size_t room = piece.getNBytesForUTF8() + 1;
        std::vector<unsigned char> utf8(room);
        long written = piece.toUTF8(utf8.data(), room);
        if (written > 0)
            out.append(reinterpret_cast<const char *>(utf8.data()), static_cast<size_t>(written));
        if (end < n)
            out.push_back('\0');
        start = end + 1;
    }
    return out;
}

void StoreToLocale(const std::string &utf8, std::string &out) {
    if (IsAscii(utf8.data(), utf8.size())) {
        out = utf8;
        return;
    }
    out.clear();
    size_t start = 0, n = utf8.size();
    while (start <= n) {
        size_t end = utf8.find('\0', start);
        if (end == std::string::npos)
            end = n;
        SAnsiString piece;
        piece.fromUTF8(reinterpret_cast<const unsigned char *>(utf8.data() + start), end - start);
        out.append(piece.getString(), piece.getLength());
        if (end < n)
            out.push_back('\0');
        start = end + 1;
    }
}

std::string NameToStore(const char *name) {
    return name == nullptr ? std::string() : LocaleToStore(name, std::strlen(name));
}

// ASCII letters only, so every process folds alike whatever its locale.
std::string Fold(const std::string &utf8) {
    std::string folded(utf8);
    for (char &c : folded)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return folded;
}

bool IsTextType(unsigned long type) noexcept {
    return type == RegistryType::String || type == RegistryType::ExpandString;
}

// Splits a key path at "\". One leading and one trailing "\" are tolerated;
// an empty name inside the path is refused.
bool SplitPath(const char *path, std::vector<std::string> &segments) {
    segments.clear();
    std::string whole = NameToStore(path);
    size_t begin = 0, end = whole.size();
    if (begin < end && whole[begin] == '\\')
        ++begin;
    if (end > begin && whole[end - 1] == '\\')
        --end;
    if (begin == end)
        return true;
    for (size_t start = begin;;) {
        size_t slash = whole.find('\\', start);
        if (slash == std::string::npos || slash > end)
            slash = end;
        if (slash == start)
            return false;
        segments.push_back(whole.substr(start, slash - start));
        if (slash == end)
            return true;
        start = slash + 1;
    }
}

// ---------------------------------------------------------------------------
// Process-wide state: the store files seen, and the open handles.

struct HandleEntry {
    uint32_t store;
    int64_t key;
    unsigned long access;
};

struct ProcessState {
    std::mutex mutex;
    std::vector<std::string> storeFiles;
    std::unordered_map<uintptr_t, HandleEntry> handles;
    // Never reused, so a handle closed twice or used after closing fails
    // cleanly instead of reaching another key.
    uint64_t nextHandle = 1;
    std::string pinned[2];
};

std::atomic<unsigned> g_forkGeneration{0};

ProcessState &State() {
    // Never destroyed: objects of other threads may close keys while the
    // process exits.
    static ProcessState *state = [] {
        auto *created = new ProcessState;
        pthread_atfork([] { State().mutex.lock(); }, [] { State().mutex.unlock(); },
                       [] {
                           State().mutex.unlock();
                           g_forkGeneration.fetch_add(1);
                       });
        return created;
    }();
    return *state;
}

int RootIndex(HKEY root) noexcept {
    if (root == HKEY_LOCAL_MACHINE)
        return 0;
    if (root == HKEY_CURRENT_USER)
        return 1;
    return -1;
}

bool IsPredefined(HKEY key) noexcept {
    return key == HKEY_CLASSES_ROOT || key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE || key == HKEY_USERS;
}

std::string DefaultStoreFile(int rootIndex) {
    if (rootIndex == 0) {
        const char *dir = std::getenv("TARNKIT_REGISTRY_DIR");
        if (dir != nullptr && dir[0] != 0)
            return std::string(dir) + "/registry.db";
        return "/var/lib/tarnkit/registry.db";
    }
    std::string config = Platform::UserConfigHome();
    return config.empty() ? config : config + "/tarnkit/registry.db";
}

std::string StoreFileOfRoot(int rootIndex) {
    ProcessState &state = State();
    {
        std::lock_guard<std::mutex> guard(state.mutex);
        if (!state.pinned[rootIndex].empty())
            return state.pinned[rootIndex];
    }
    return DefaultStoreFile(rootIndex);
}

uint32_t StoreId(const std::string &file) {
    ProcessState &state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    for (size_t i = 0; i < state.storeFiles.size(); ++i)
        if (state.storeFiles[i] == file)
            return static_cast<uint32_t>(i);
    state.storeFiles.push_back(file);
    return static_cast<uint32_t>(state.storeFiles.size() - 1);
}

std::string StoreFileOfId(uint32_t store) {
    ProcessState &state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    return state.storeFiles[store];
}

HKEY NewHandle(uint32_t store, int64_t key, unsigned long access) {
    ProcessState &state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    uintptr_t id = static_cast<uintptr_t>(state.nextHandle++);
    state.handles[id] = HandleEntry{store, key, access};
    return reinterpret_cast<HKEY>(id);
}

// The store and key a handle or root stands for. A root reaches the key at
// the top of its store with every access.
long ResolveKey(HKEY key, HandleEntry &entry) {
    int rootIndex = RootIndex(key);
    if (rootIndex >= 0) {
        std::string file = StoreFileOfRoot(rootIndex);
        if (file.empty())
            return NotFound;
        entry = HandleEntry{StoreId(file), 0, ~0ul};
        return Success;
    }
    if (IsPredefined(key))
        return NotFound;
    ProcessState &state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    auto found = state.handles.find(reinterpret_cast<uintptr_t>(key));
    if (found == state.handles.end())
        return InvalidHandle;
    entry = found->second;
    return Success;
}

// ---------------------------------------------------------------------------
// One connection to one store file, owned by one thread.

enum Statement {
    FindKey,
    KeyAlive,
    InsertKey,
    HasChild,
    ChildList,
    ChildAt,
    FindValue,
    UpsertValue,
    EraseValue,
    ValueList,
    ValueAt,
    EraseKeyValues,
    EraseKey,
    StatementCount
};

const char *const kStatementText[StatementCount] = {
    "SELECT id FROM keys WHERE parent=?1 AND fold=?2",
    "SELECT 1 FROM keys WHERE id=?1",
    "INSERT INTO keys(parent, name, fold) VALUES(?1, ?2, ?3)",
    "SELECT 1 FROM keys WHERE parent=?1 LIMIT 1",
    "SELECT name FROM keys WHERE parent=?1 ORDER BY fold",
    "SELECT name FROM keys WHERE parent=?1 ORDER BY fold LIMIT 1 OFFSET ?2",
    "SELECT name, type, data FROM vals WHERE key=?1 AND fold=?2",
    ("INSERT INTO vals(key, name, fold, type, data) VALUES(?1, ?2, ?3, ?4, ?5) "
     "ON CONFLICT(key, fold) DO UPDATE SET type=excluded.type, data=excluded.data"),
    "DELETE FROM vals WHERE key=?1 AND fold=?2",
    "SELECT name, type, data FROM vals WHERE key=?1 ORDER BY id",
    "SELECT name, type, data FROM vals WHERE key=?1 ORDER BY id LIMIT 1 OFFSET ?2",
    "DELETE FROM vals WHERE key=?1",
    "DELETE FROM keys WHERE id=?1",
};

const char *const kSchema = "CREATE TABLE IF NOT EXISTS keys("
                            " id INTEGER PRIMARY KEY AUTOINCREMENT,"
                            " parent INTEGER NOT NULL,"
                            " name TEXT NOT NULL,"
                            " fold TEXT NOT NULL,"
                            " UNIQUE(parent, fold));"
                            "CREATE TABLE IF NOT EXISTS vals("
                            " id INTEGER PRIMARY KEY,"
                            " key INTEGER NOT NULL,"
                            " name TEXT NOT NULL,"
                            " fold TEXT NOT NULL,"
                            " type INTEGER NOT NULL,"
                            " data BLOB NOT NULL,"
                            " UNIQUE(key, fold));";

struct ValueRow {
    std::string name;
    unsigned long type = 0;
    std::string data;
};

std::string ColumnText(sqlite3_stmt *statement, int column) {
    const unsigned char *text = sqlite3_column_text(statement, column);
    return text == nullptr ? std::string()
                           : std::string(reinterpret_cast<const char *>(text),
                                         static_cast<size_t>(sqlite3_column_bytes(statement, column)));
}

ValueRow ColumnValue(sqlite3_stmt *statement) {
    ValueRow row;
    row.name = ColumnText(statement, 0);
    row.type = static_cast<unsigned long>(sqlite3_column_int64(statement, 1));
    const void *blob = sqlite3_column_blob(statement, 2);
    if (blob != nullptr)
        row.data.assign(static_cast<const char *>(blob), static_cast<size_t>(sqlite3_column_bytes(statement, 2)));
    return row;
}

// What this connection has read, valid while the log header is unchanged.
// The connection's own writes drop exactly what they touch.
struct ReadCache {
    unsigned char header[kLogHeaderBytes] = {};
    std::unordered_map<int64_t, std::unordered_map<std::string, std::optional<ValueRow>>> values;
    std::unordered_map<int64_t, std::vector<std::string>> children;
    std::unordered_map<int64_t, std::vector<ValueRow>> valueLists;
    std::unordered_map<std::string, int64_t> paths;

    void clear() {
        values.clear();
        children.clear();
        valueLists.clear();
        paths.clear();
    }
};

void TraceStoreFailure(const std::string &file, const char *what, const char *detail) {
    TARNKIT_TRACE(2, "Registry store %1: %2 failed: %3", file.c_str(), what, detail);
}

class Connection {
public:
    Connection(sqlite3 *db, std::string file) : m_db(db), m_file(std::move(file)) {}
    ~Connection() {
        for (sqlite3_stmt *statement : m_statements)
            sqlite3_finalize(statement);
        sqlite3_close_v2(m_db);
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    const std::string &file() const noexcept { return m_file; }
    bool readOnly() const noexcept { return m_readOnly; }
    bool schemaReady() const noexcept { return m_schemaReady; }
    bool inTransaction() const noexcept { return m_inTransaction; }

    long prepare(bool create);
    // Checks the cache against the log header; call before each operation.
    void refresh();
    long fail(int rc, const char *what, bool writing);

    long findKey(int64_t parent, const std::string &name, int64_t &id);
    long resolve(int64_t base, const std::vector<std::string> &segments, int64_t &id);
    long keyAlive(int64_t id);
    long insertKey(int64_t parent, const std::string &name, int64_t &id);
    long hasChild(int64_t id, bool &has);
    long childAt(int64_t parent, uint32_t index, const std::string *&name, std::string &scratch);
    long findValue(int64_t key, const std::string &name, const ValueRow *&row, ValueRow &scratch);
    long upsertValue(int64_t key, const std::string &name, unsigned long type, const std::string &data);
    long eraseValue(int64_t key, const std::string &name);
    long valueAt(int64_t key, uint32_t index, const ValueRow *&row, ValueRow &scratch);
    long eraseKey(int64_t id);

    // Runs body as one committed unit, or inside the open transaction.
    template <class Body>
    long write(int transactionDepth, Body body);
    long begin();
    long commit();
    void rollback();

private:
    sqlite3_stmt *statement(Statement which, long &rc);
    long exec(const char *sql, const char *what, bool writing);
    void probeLogHeader();
    bool cacheUsable() const noexcept { return m_logHeader != nullptr; }
    // The index-th row under owner: from the cached list when the cache is
    // usable (reading the whole list on a miss), else by one query.
    template <class Row, class ReadRow>
    long itemAt(Statement list, Statement at, std::unordered_map<int64_t, std::vector<Row>> &lists, int64_t owner,
                uint32_t index, const Row *&item, Row &scratch, ReadRow readRow);

    sqlite3 *m_db;
    std::string m_file;
    bool m_readOnly = false;
    bool m_schemaReady = false;
    bool m_inTransaction = false;
    bool m_headerProbed = false;
    const volatile unsigned char *m_logHeader = nullptr;
    sqlite3_stmt *m_statements[StatementCount] = {};
    ReadCache m_cache;
};

// Binds and resets a prepared statement for one use.
class StatementUse {
public:
    explicit StatementUse(sqlite3_stmt *statement) noexcept : m_statement(statement) {}
    ~StatementUse() {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }
    StatementUse(const StatementUse &) = delete;
    StatementUse &operator=(const StatementUse &) = delete;
    StatementUse &bind(int index, int64_t value) {
        sqlite3_bind_int64(m_statement, index, value);
        return *this;
    }
    // The text is bound without a copy, so it must outlive the statement's
    // use: binding a temporary is refused at compile time.
    StatementUse &bind(int index, const std::string &text) {
        sqlite3_bind_text(m_statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
        return *this;
    }
    StatementUse &bind(int index, std::string &&text) = delete;
    StatementUse &bindBlob(int index, std::string &&data) = delete;
    StatementUse &bindBlob(int index, const std::string &data) {
        // A zero-length blob, not NULL, for empty data.
        sqlite3_bind_blob(m_statement, index, data.empty() ? "" : data.data(), static_cast<int>(data.size()),
                          SQLITE_STATIC);
        return *this;
    }
    int step() { return sqlite3_step(m_statement); }
    sqlite3_stmt *get() const noexcept { return m_statement; }

private:
    sqlite3_stmt *m_statement;
};

long Connection::fail(int rc, const char *what, bool writing) {
    const char *detail = sqlite3_errmsg(m_db);
    TraceStoreFailure(m_file, what, detail);
    switch (rc & 0xff) {
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return AccessDenied;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return Busy;
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
    case SQLITE_SCHEMA:
    case SQLITE_ERROR:
        return StoreCorrupt;
    case SQLITE_FULL:
        return DiskFull;
    case SQLITE_NOMEM:
        return NotEnoughMemory;
    case SQLITE_CANTOPEN:
        return errno == EACCES ? AccessDenied : CannotOpen;
    default:
        return writing ? CannotWrite : CannotRead;
    }
}

long Connection::exec(const char *sql, const char *what, bool writing) {
    int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    return rc == SQLITE_OK ? Success : fail(rc, what, writing);
}

sqlite3_stmt *Connection::statement(Statement which, long &rc) {
    sqlite3_stmt *&slot = m_statements[which];
    if (slot == nullptr) {
        int result = sqlite3_prepare_v3(m_db, kStatementText[which], -1, SQLITE_PREPARE_PERSISTENT, &slot, nullptr);
        if (result != SQLITE_OK) {
            sqlite3_finalize(slot);
            slot = nullptr;
            rc = fail(result, "prepare", false);
            return nullptr;
        }
    }
    rc = Success;
    return slot;
}

long Connection::prepare(bool create) {
    m_readOnly = sqlite3_db_readonly(m_db, "main") == 1;
    if (!m_readOnly) {
        // Kept on disk with the first connection; switching may meet a
        // concurrent creator, so a busy answer is retried a while.
        for (int attempt = 0;; ++attempt) {
            int rc = sqlite3_exec(m_db, "PRAGMA journal_mode=WAL", nullptr, nullptr, nullptr);
            if (rc == SQLITE_OK)
                break;
            if ((rc != SQLITE_BUSY && rc != SQLITE_LOCKED) || attempt >= 500)
                return fail(rc, "open", false);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        // Keep the log and its index after the last writer leaves, so that a
        // reader without write permission can still open the store.
        int persist = 1;
        sqlite3_file_control(m_db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
    }
    long rc = exec("PRAGMA synchronous=FULL", "open", false);
    if (rc != Success)
        return rc;
    sqlite3_stmt *probe = nullptr;
    int result = sqlite3_prepare_v2(m_db, "SELECT count(*) FROM sqlite_master WHERE name IN ('keys', 'vals')", -1,
                                    &probe, nullptr);
    if (result == SQLITE_OK)
        result = sqlite3_step(probe);
    bool ready = result == SQLITE_ROW && sqlite3_column_int(probe, 0) == 2;
    sqlite3_finalize(probe);
    if (result != SQLITE_ROW)
        return fail(result, "open", false);
    if (!ready && create && !m_readOnly) {
        rc = exec("BEGIN IMMEDIATE", "create", true);
        if (rc != Success)
            return rc;
        rc = exec(kSchema, "create", true);
        if (rc == Success)
            rc = exec("COMMIT", "create", true);
        if (rc != Success) {
            sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
            return rc;
        }
        ready = true;
    }
    m_schemaReady = ready;
    return Success;
}

void Connection::probeLogHeader() {
    m_headerProbed = true;
    // Only a writable connection in write-ahead mode maps the shared index
    // that every committer updates; anything else reads without a cache.
    if (m_readOnly)
        return;
    sqlite3_stmt *mode = nullptr;
    bool wal = false;
    if (sqlite3_prepare_v2(m_db, "PRAGMA journal_mode", -1, &mode, nullptr) == SQLITE_OK &&
        sqlite3_step(mode) == SQLITE_ROW)
        wal = ColumnText(mode, 0) == "wal";
    sqlite3_finalize(mode);
    if (!wal)
        return;
    sqlite3_file *file = nullptr;
    if (sqlite3_file_control(m_db, "main", SQLITE_FCNTL_FILE_POINTER, &file) != SQLITE_OK || file == nullptr ||
        file->pMethods == nullptr || file->pMethods->iVersion < 2 || file->pMethods->xShmMap == nullptr)
        return;
    void volatile *region = nullptr;
    if (file->pMethods->xShmMap(file, 0, 32768, 0, &region) == SQLITE_OK && region != nullptr)
        m_logHeader = static_cast<const volatile unsigned char *>(region);
}

void Connection::refresh() {
    if (!m_headerProbed && m_schemaReady) {
        // The index exists once a statement has run in write-ahead mode.
        long rc;
        if (sqlite3_stmt *probe = statement(KeyAlive, rc)) {
            StatementUse use(probe);
            use.bind(1, 0).step();
        }
        probeLogHeader();
    }
    if (!cacheUsable())
        return;
    unsigned char now[kLogHeaderBytes];
    // Other processes write this header: read each byte as an acquire load so
    // that a change seen here orders the reads that follow it.
    for (size_t i = 0; i < kLogHeaderBytes; ++i)
        now[i] = __atomic_load_n(&m_logHeader[i], __ATOMIC_ACQUIRE);
    if (std::memcmp(now, m_cache.header, kLogHeaderBytes) != 0) {
        m_cache.clear();
        std::memcpy(m_cache.header, now, kLogHeaderBytes);
    }
}

long Connection::findKey(int64_t parent, const std::string &name, int64_t &id) {
    long rc;
    sqlite3_stmt *s = statement(FindKey, rc);
    if (s == nullptr)
        return rc;
    StatementUse use(s);
    const std::string folded = Fold(name);
    use.bind(1, parent).bind(2, folded);
    int result = use.step();
    if (result == SQLITE_ROW) {
        id = sqlite3_column_int64(s, 0);
        return Success;
    }
    return result == SQLITE_DONE ? NotFound : fail(result, "read", false);
}

long Connection::resolve(int64_t base, const std::vector<std::string> &segments, int64_t &id) {
    id = base;
    if (segments.empty())
        return Success;
    std::string cacheKey;
    if (cacheUsable()) {
        cacheKey = std::to_string(base);
        for (const std::string &segment : segments)
            cacheKey += '\\' + Fold(segment);
        auto found = m_cache.paths.find(cacheKey);
        if (found != m_cache.paths.end()) {
            id = found->second;
            return Success;
        }
    }
    for (const std::string &segment : segments) {
        long rc = findKey(id, segment, id);
        if (rc != Success)
            return rc;
    }
    if (cacheUsable())
        m_cache.paths[cacheKey] = id;
    return Success;
}

long Connection::keyAlive(int64_t id) {
    if (id == 0)
        return Success;
    long rc;
    sqlite3_stmt *s = statement(KeyAlive, rc);
    if (s == nullptr)
        return rc;
    StatementUse use(s);
    use.bind(1, id);
    int result = use.step();
    if (result == SQLITE_ROW)
        return Success;
    return result == SQLITE_DONE ? KeyDeleted : fail(result, "read", false);
}

long Connection::insertKey(int64_t parent, const std::string &name, int64_t &id) {
    long rc;
    sqlite3_stmt *s = statement(InsertKey, rc);
    if (s == nullptr)
        return rc;
    StatementUse use(s);
    const std::string folded = Fold(name);
    use.bind(1, parent).bind(2, name).bind(3, folded);
    int result = use.step();
    if (result != SQLITE_DONE)
        return fail(result, "write", true);
    id = sqlite3_last_insert_rowid(m_db);
    m_cache.children.erase(parent);
    return Success;
}

long Connection::hasChild(int64_t id, bool &has) {
    long rc;
    sqlite3_stmt *s = statement(HasChild, rc);
    if (s == nullptr)
        return rc;
    StatementUse use(s);
    use.bind(1, id);
    int result = use.step();
    has = result == SQLITE_ROW;
    return result == SQLITE_ROW || result == SQLITE_DONE ? Success : fail(result, "read", false);
}

template <class Row, class ReadRow>
long Connection::itemAt(Statement list, Statement at, std::unordered_map<int64_t, std::vector<Row>> &lists,
                        int64_t owner, uint32_t index, const Row *&item, Row &scratch, ReadRow readRow) {
    long rc;
    if (cacheUsable()) {
        auto found = lists.find(owner);
        if (found == lists.end()) {
            sqlite3_stmt *s = statement(list, rc);
            if (s == nullptr)
                return rc;
            std::vector<Row> rows;
            StatementUse use(s);
            use.bind(1, owner);
            int result;
            while ((result = use.step()) == SQLITE_ROW)
                rows.push_back(readRow(s));
            if (result != SQLITE_DONE)
                return fail(result, "read", false);
            found = lists.emplace(owner, std::move(rows)).first;
        }
        if (index >= found->second.size())
            return NoMoreItems;
        item = &found->second[index];
        return Success;
    }
    sqlite3_stmt *s = statement(at, rc);
    if (s == nullptr)
        return rc;
    StatementUse use(s);
    use.bind(1, owner).bind(2, static_cast<int64_t>(index));
    int result = use.step();
    if (result == SQLITE_DONE)
        return NoMoreItems;
    if (result != SQLITE_ROW)
        return fail(result, "read", false);
    scratch = readRow(s);
    item = &scratch;
    return Success;
}

long Connection::childAt(int64_t parent, uint32_t index, const std::string *&name, std::string &scratch) {
    return itemAt(ChildList, ChildAt, m_cache.children, parent, index, name, scratch,
                  [](sqlite3_stmt *s) { return ColumnText(s, 0); });
}

long Connection::findValue(int64_t key, const std::string &name, const ValueRow *&row, ValueRow &scratch) {
    std::string folded = Fold(name);
    std::unordered_map<std::string, std::optional<ValueRow>> *slots = nullptr;
    if (cacheUsable()) {
        slots = &m_cache.values[key];
        auto found = slots->find(folded);
        if (found != slots->end()) {
            row = found->second ? &*found->second : nullptr;
            return row != nullptr ? Success : NotFound;
        }
    }
    long rc;
    sqlite3_stmt *s = statement(FindValue, rc);
    if (s == nullptr)
        return rc;
    StatementUse use(s);
    use.bind(1, key).bind(2, folded);
    int result = use.step();
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        return fail(result, "read", false);
    std::optional<ValueRow> fetched;
    if (result == SQLITE_ROW)
        fetched = ColumnValue(s);
    if (slots != nullptr) {
        auto &slot = (*slots)[folded] = std::move(fetched);
        row = slot ? &*slot : nullptr;
    } else {
        if (fetched)
            scratch = std::move(*fetched);
        row = fetched ? &scratch : nullptr;
    }
    return row != nullptr ? Success : NotFound;
}

long Connection::upsertValue(int64_t key, const std::string &name, unsigned long type, const std::string &data) {
    long rc;
    sqlite3_stmt *s = statement(UpsertValue, rc);
    if (s == nullptr)
        return rc;
    std::string folded = Fold(name);
    StatementUse use(s);
    use.bind(1, key).bind(2, name).bind(3, folded).bind(4, static_cast<int64_t>(type)).bindBlob(5, data);
    int result = use.step();
    m_cache.values[key].erase(folded);
    m_cache.valueLists.erase(key);
    return result == SQLITE_DONE ? Success : fail(result, "write", true);
}

long Connection::eraseValue(int64_t key, const std::string &name) {
    long rc;
    sqlite3_stmt *s = statement(EraseValue, rc);
    if (s == nullptr)
        return rc;
    std::string folded = Fold(name);
    StatementUse use(s);
    use.bind(1, key).bind(2, folded);
    int result = use.step();
    m_cache.values[key].erase(folded);
    m_cache.valueLists.erase(key);
    if (result != SQLITE_DONE)
        return fail(result, "write", true);
    return sqlite3_changes(m_db) > 0 ? Success : NotFound;
}

long Connection::valueAt(int64_t key, uint32_t index, const ValueRow *&row, ValueRow &scratch) {
    return itemAt(ValueList, ValueAt, m_cache.valueLists, key, index, row, scratch, ColumnValue);
}

long Connection::eraseKey(int64_t id) {
    long rc;
    sqlite3_stmt *values = statement(EraseKeyValues, rc);
    sqlite3_stmt *key = values != nullptr ? statement(EraseKey, rc) : nullptr;
    if (key == nullptr)
        return rc;
    m_cache.clear();
    {
        StatementUse use(values);
        use.bind(1, id);
        int result = use.step();
        if (result != SQLITE_DONE)
            return fail(result, "write", true);
    }
    StatementUse use(key);
    use.bind(1, id);
    int result = use.step();
    if (result != SQLITE_DONE)
        return fail(result, "write", true);
    return sqlite3_changes(m_db) > 0 ? Success : NotFound;
}

long Connection::begin() {
    // IMMEDIATE takes the write lock at once (waiting on the busy timeout),
    // so the unit never fails half-way for a lock.
    long rc = exec("BEGIN IMMEDIATE", "begin", true);
    m_inTransaction = rc == Success;
    return rc;
}

long Connection::commit() {
    m_inTransaction = false;
    long rc = exec("COMMIT", "commit", true);
    if (rc != Success)
        rollback();
    return rc;
}

void Connection::rollback() {
    m_inTransaction = false;
    sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    m_cache.clear();
}

template <class Body>
long Connection::write(int transactionDepth, Body body) {
    if (m_readOnly)
        return AccessDenied;
    if (transactionDepth > 0) {
        // The caller's unit: opened on its first write, ended by its commit.
        if (!m_inTransaction) {
            long rc = begin();
            if (rc != Success)
                return rc;
        }
        return body();
    }
    long rc = begin();
    if (rc != Success)
        return rc;
    rc = body();
    if (rc != Success) {
        rollback();
        return rc;
    }
    return commit();
}

// ---------------------------------------------------------------------------
// The calling thread's connections, by store.

struct ThreadConnections {
    unsigned generation = g_forkGeneration.load();
    std::vector<std::unique_ptr<Connection>> byStore;
    std::vector<int> transactionDepth;

    ~ThreadConnections() { abandonIfForked(); }

    // A connection must not be used, nor closed, in a child made by fork:
    // the child leaves its parent's connections alone and opens its own.
    void abandonIfForked() {
        unsigned now = g_forkGeneration.load();
        if (now == generation)
            return;
        for (auto &connection : byStore)
            (void)connection.release();
        byStore.clear();
        transactionDepth.clear();
        generation = now;
    }

    void reserve(uint32_t store) {
        if (byStore.size() <= store) {
            byStore.resize(store + 1);
            transactionDepth.resize(store + 1, 0);
        }
    }
};

ThreadConnections &Connections() {
    thread_local ThreadConnections connections;
    connections.abandonIfForked();
    return connections;
}

long OpenConnection(const std::string &file, bool create, std::unique_ptr<Connection> &out) {
    if (create) {
        size_t slash = file.find_last_of('/');
        int error = 0;
        if (slash != std::string::npos && slash > 0 &&
            !Platform::MakeDirectories(file.substr(0, slash), 0755, error)) {
            TraceStoreFailure(file, "create directory", std::strerror(error));
            return error == EACCES || error == EROFS || error == EPERM ? AccessDenied : CannotWrite;
        }
    } else {
        struct stat status {};
        if (::stat(file.c_str(), &status) != 0)
            return errno == ENOENT || errno == ENOTDIR ? NotFound : AccessDenied;
    }
    sqlite3 *db = nullptr;
    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | (create ? SQLITE_OPEN_CREATE : 0);
    int rc = sqlite3_open_v2(file.c_str(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        int openError = errno;
        TraceStoreFailure(file, "open", db != nullptr ? sqlite3_errmsg(db) : "out of memory");
        sqlite3_close_v2(db);
        if (rc == SQLITE_CANTOPEN)
            return openError == EACCES || ::access(file.c_str(), R_OK) != 0 ? AccessDenied : CannotOpen;
        return rc == SQLITE_NOMEM ? NotEnoughMemory : CannotOpen;
    }
    sqlite3_busy_timeout(db, kBusyTimeoutMs);
    auto connection = std::make_unique<Connection>(db, file);
    long prepared = connection->prepare(create);
    if (prepared != Success)
        return prepared;
    out = std::move(connection);
    return Success;
}

// The calling thread's connection to a store. A missing file is "not found"
// unless create asks to make it.
long Acquire(uint32_t store, bool create, Connection *&connection) {
    ThreadConnections &mine = Connections();
    mine.reserve(store);
    std::unique_ptr<Connection> &slot = mine.byStore[store];
    if (slot == nullptr) {
        long rc = OpenConnection(StoreFileOfId(store), create, slot);
        if (rc != Success)
            return rc;
    } else if (!slot->schemaReady()) {
        long rc = slot->prepare(create);
        if (rc != Success)
            return rc;
    }
    if (!slot->schemaReady())
        return NotFound;
    connection = slot.get();
    connection->refresh();
    return Success;
}

// The start of every call on an open key: the key's entry, the right the
// call needs, and this thread's connection to the key's store.
long OpenForAccess(HKEY key, uint32_t right, HandleEntry &entry, Connection *&connection) {
    long rc = ResolveKey(key, entry);
    if (rc != Success)
        return rc;
    if ((entry.access & right) == 0)
        return AccessDenied;
    return Acquire(entry.store, false, connection);
}

int TransactionDepth(uint32_t store) {
    ThreadConnections &mine = Connections();
    mine.reserve(store);
    return mine.transactionDepth[store];
}

constexpr unsigned long kWriteAccess = RegistryAccess::SetValue | RegistryAccess::CreateSubKey;

// Copies a stored value out in the caller's text. Sizes in bytes.
long DeliverValue(const ValueRow &row, unsigned long *type, unsigned char *data, unsigned long *size) {
    std::string converted;
    const std::string *bytes = &row.data;
    if (IsTextType(row.type)) {
        StoreToLocale(row.data, converted);
        bytes = &converted;
    }
    if (type != nullptr)
        *type = row.type;
    if (size == nullptr)
        return data == nullptr ? Success : InvalidParameter;
    unsigned long needed = static_cast<unsigned long>(bytes->size());
    if (data == nullptr) {
        *size = needed;
        return Success;
    }
    if (*size < needed) {
        *size = needed;
        return MoreData;
    }
    if (needed != 0)
        std::memcpy(data, bytes->data(), needed);
    *size = needed;
    return Success;
}

long DeliverName(const std::string &stored, char *name, unsigned long *length) {
    std::string converted;
    StoreToLocale(stored, converted);
    if (name == nullptr || length == nullptr)
        return InvalidParameter;
    if (*length < converted.size() + 1)
        return MoreData;
    std::memcpy(name, converted.c_str(), converted.size() + 1);
    *length = static_cast<unsigned long>(converted.size());
    return Success;
}

class SqliteStore final : public IRegistryStore {
    // The common start of opening and creating: the root's store and key,
    // the path's names, and a connection able to read or write.
    static long StartKeyAccess(HKEY root, const char *path, bool writing, HKEY *result, HandleEntry &base,
                               std::vector<std::string> &segments, Connection *&connection) {
        if (result == nullptr)
            return InvalidParameter;
        *result = nullptr;
        long rc = ResolveKey(root, base);
        if (rc == Success && !SplitPath(path, segments))
            rc = BadPathName;
        if (rc == Success)
            rc = Acquire(base.store, writing, connection);
        return rc;
    }

public:
    long OpenKey(HKEY root, const char *path, unsigned long access, HKEY *result) override {
        HandleEntry base{};
        std::vector<std::string> segments;
        Connection *connection = nullptr;
        long rc = StartKeyAccess(root, path, false, result, base, segments, connection);
        if (rc != Success)
            return rc;
        int64_t id = 0;
        rc = connection->resolve(base.key, segments, id);
        if (rc == Success && (access & kWriteAccess) != 0 && connection->readOnly())
            rc = AccessDenied;
        if (rc == Success)
            *result = NewHandle(base.store, id, access);
        return rc;
    }

    long CreateKey(HKEY root, const char *path, unsigned long access, HKEY *result,
                   unsigned long *disposition) override {
        HandleEntry base{};
        std::vector<std::string> segments;
        Connection *connection = nullptr;
        long rc = StartKeyAccess(root, path, true, result, base, segments, connection);
        if (rc != Success)
            return rc;
        if (connection->readOnly())
            return AccessDenied;
        int64_t id = 0;
        unsigned long created = 2;
        rc = connection->resolve(base.key, segments, id);
        if (rc == NotFound) {
            created = 1;
            rc = connection->write(TransactionDepth(base.store), [&]() -> long {
                long alive = connection->keyAlive(base.key);
                if (alive != Success)
                    return alive;
                id = base.key;
                for (const std::string &segment : segments) {
                    int64_t child = 0;
                    long found = connection->findKey(id, segment, child);
                    if (found == NotFound)
                        found = connection->insertKey(id, segment, child);
                    if (found != Success)
                        return found;
                    id = child;
                }
                return Success;
            });
        }
        if (rc != Success)
            return rc;
        if (disposition != nullptr)
            *disposition = created;
        *result = NewHandle(base.store, id, access);
        return Success;
    }

    long CloseKey(HKEY key) override {
        if (IsPredefined(key))
            return Success;
        ProcessState &state = State();
        std::lock_guard<std::mutex> guard(state.mutex);
        return state.handles.erase(reinterpret_cast<uintptr_t>(key)) != 0 ? Success : InvalidHandle;
    }

    long QueryValue(HKEY key, const char *name, unsigned long *type, unsigned char *data,
                    unsigned long *size) override {
        HandleEntry entry{};
        Connection *connection = nullptr;
        long rc = OpenForAccess(key, RegistryAccess::QueryValue, entry, connection);
        if (rc != Success)
            return rc;
        const ValueRow *row = nullptr;
        ValueRow scratch;
        rc = connection->findValue(entry.key, NameToStore(name), row, scratch);
        return rc == Success ? DeliverValue(*row, type, data, size) : rc;
    }

    long SetValue(HKEY key, const char *name, unsigned long type, const unsigned char *data,
                  unsigned long size) override {
        if (data == nullptr && size != 0)
            return InvalidParameter;
        HandleEntry entry{};
        Connection *connection = nullptr;
        long rc = OpenForAccess(key, RegistryAccess::SetValue, entry, connection);
        if (rc != Success)
            return rc;
        const char *bytes = reinterpret_cast<const char *>(data);
        std::string stored = IsTextType(type) ? LocaleToStore(bytes, size) : std::string(bytes, size);
        std::string storedName = NameToStore(name);
        return connection->write(TransactionDepth(entry.store), [&]() -> long {
            long alive = connection->keyAlive(entry.key);
            return alive == Success ? connection->upsertValue(entry.key, storedName, type, stored) : alive;
        });
    }

    long DeleteValue(HKEY key, const char *name) override {
        HandleEntry entry{};
        Connection *connection = nullptr;
        long rc = OpenForAccess(key, RegistryAccess::SetValue, entry, connection);
        if (rc != Success)
            return rc;
        std::string storedName = NameToStore(name);
        return connection->write(TransactionDepth(entry.store),
                                 [&]() -> long { return connection->eraseValue(entry.key, storedName); });
    }

    long EnumKey(HKEY key, uint32_t index, char *name, unsigned long *nameLength) override {
        HandleEntry entry{};
        long rc = ResolveKey(key, entry);
        if (rc != Success)
            return rc;
        if ((entry.access & RegistryAccess::EnumerateSubKeys) == 0)
            return AccessDenied;
        Connection *connection = nullptr;
        rc = Acquire(entry.store, false, connection);
        if (rc != Success)
            return rc == NotFound ? NoMoreItems : rc;
        const std::string *found = nullptr;
        std::string scratch;
        rc = connection->childAt(entry.key, index, found, scratch);
        return rc == Success ? DeliverName(*found, name, nameLength) : rc;
    }

    long EnumValue(HKEY key, uint32_t index, char *name, unsigned long *nameLength, unsigned long *type,
                   unsigned char *data, unsigned long *dataLength) override {
        HandleEntry entry{};
        long rc = ResolveKey(key, entry);
        if (rc != Success)
            return rc;
        if ((entry.access & RegistryAccess::QueryValue) == 0)
            return AccessDenied;
        Connection *connection = nullptr;
        rc = Acquire(entry.store, false, connection);
        if (rc != Success)
            return rc == NotFound ? NoMoreItems : rc;
        const ValueRow *row = nullptr;
        ValueRow scratch;
        rc = connection->valueAt(entry.key, index, row, scratch);
        if (rc != Success)
            return rc;
        long nameRc = DeliverName(row->name, name, nameLength);
        long dataRc = DeliverValue(*row, type, data, dataLength);
        return nameRc != Success ? nameRc : dataRc;
    }

    long DeleteKey(HKEY root, const char *path) override {
        HandleEntry base{};
        long rc = ResolveKey(root, base);
        std::vector<std::string> segments;
        if (rc == Success && !SplitPath(path, segments))
            rc = BadPathName;
        Connection *connection = nullptr;
        if (rc == Success)
            rc = Acquire(base.store, false, connection);
        if (rc != Success)
            return rc;
        int64_t id = 0;
        rc = connection->resolve(base.key, segments, id);
        if (rc != Success)
            return rc;
        // The top of a store is no key of its own and stays.
        if (id == 0 || connection->readOnly())
            return AccessDenied;
        return connection->write(TransactionDepth(base.store), [&]() -> long {
            bool has = false;
            long checked = connection->hasChild(id, has);
            if (checked != Success)
                return checked;
            return has ? AccessDenied : connection->eraseKey(id);
        });
    }

    long BeginTransaction(HKEY root) override {
        HandleEntry base{};
        long rc = ResolveKey(root, base);
        if (rc != Success)
            return rc;
        // The store is opened, and locked, only by the first write inside.
        ThreadConnections &mine = Connections();
        mine.reserve(base.store);
        ++mine.transactionDepth[base.store];
        return Success;
    }

    long CommitTransaction(HKEY root) override { return endTransaction(root, true); }
    long RollbackTransaction(HKEY root) override { return endTransaction(root, false); }

    // There is no network store yet: a connection to another machine always
    // fails, and the caller stays on its local store.
    long ConnectRemote(const char *, HKEY, HKEY *result) override {
        if (result != nullptr)
            *result = nullptr;
        return NetworkPathNotFound;
    }

private:
    long endTransaction(HKEY root, bool keep) {
        HandleEntry base{};
        long rc = ResolveKey(root, base);
        if (rc != Success)
            return rc;
        ThreadConnections &mine = Connections();
        mine.reserve(base.store);
        int &depth = mine.transactionDepth[base.store];
        if (depth == 0)
            return NoTransaction;
        Connection *connection = mine.byStore[base.store].get();
        if (!keep) {
            depth = 0;
            if (connection != nullptr && connection->inTransaction())
                connection->rollback();
            return Success;
        }
        if (--depth > 0 || connection == nullptr || !connection->inTransaction())
            return Success;
        return connection->commit();
    }
};

IRegistryStore *g_installedStore = nullptr;

} // namespace

IRegistryStore &SqliteRegistryStore() {
    static SqliteStore *store = new SqliteStore;
    return *store;
}

IRegistryStore &GetRegistryStore() {
    IRegistryStore *installed = __atomic_load_n(&g_installedStore, __ATOMIC_ACQUIRE);
    return installed != nullptr ? *installed : SqliteRegistryStore();
}

IRegistryStore *SetRegistryStore(IRegistryStore *store) noexcept {
    return __atomic_exchange_n(&g_installedStore, store, __ATOMIC_ACQ_REL);
}

std::string RegistryStoreFile(HKEY root) {
    int rootIndex = RootIndex(root);
    return rootIndex < 0 ? std::string() : StoreFileOfRoot(rootIndex);
}

void SetRegistryStoreFile(HKEY root, const std::string &file) {
    int rootIndex = RootIndex(root);
    if (rootIndex < 0)
        return;
    ProcessState &state = State();
    std::lock_guard<std::mutex> guard(state.mutex);
    state.pinned[rootIndex] = file;
}

} // namespace TarnkitA201
