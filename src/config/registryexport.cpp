// The text form of settings-store keys: writing it from the store, parsing
// it whole before anything is written, and applying it in one transaction
// per store. Value-level access with raw type and bytes lives here too, as
// the command-line tool needs it and the Registry class speaks only text.
#include "tarnkit/registryexport.h"

#include "config/registrystore.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace TarnkitA201 {

namespace {

using namespace RegistryError;
using Result = RegistryTransferResult;

constexpr std::string_view kVersionPrefix = "Tarnkit Registry Export ";
constexpr std::string_view kVersion = "1";
// Hex and multi lists are wrapped so that no line grows past this column.
constexpr size_t kWrapColumn = 76;
// Names longer than this are taken for a damaged store rather than grown into.
constexpr unsigned long kLongestName = 1ul << 24;

std::string Bytes(const SAnsiString &text) { return std::string(text.getString(), text.getLength()); }
SAnsiString Ansi(const std::string &text) { return SAnsiString(text.data(), text.size()); }
std::string Bytes(const SSimpleBuffer &buffer) {
    const unsigned char *bytes = buffer;
    return bytes == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(bytes), buffer.getNBytes());
}
SSimpleBuffer Buffer(const std::string &bytes) {
    SSimpleBuffer buffer;
    if (!bytes.empty())
        buffer.append(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
    return buffer;
}

Result Fail(Result result, RegistryTransferError &error, const std::string &message, unsigned long line = 0) {
    error.line = line;
    error.message = Ansi(line == 0 ? message : "line " + std::to_string(line) + ": " + message);
    return result;
}

std::string DescribeStoreError(long rc) {
    switch (rc) {
    case NotFound: return "not found";
    case AccessDenied: return "access denied";
    case NotEnoughMemory: return "out of memory";
    case BadPathName: return "the key path is not valid";
    case InvalidParameter: return "a parameter is not valid";
    case StoreCorrupt: return "the store file is damaged or no store";
    case CannotOpen: return "the store file cannot be opened";
    case CannotRead: return "a read from the store failed";
    case CannotWrite: return "a write to the store failed";
    case KeyDeleted: return "the key was deleted meanwhile";
    case 112: return "the disk is full";
    case 170: return "the store is busy";
    default: return "error " + std::to_string(rc);
    }
}

Result ResultOf(long rc) {
    switch (rc) {
    case Success: return Result::Ok;
    case NotFound: return Result::NotFound;
    case BadPathName:
    case InvalidParameter: return Result::Invalid;
    default: return Result::StoreFailure;
    }
}

Result StoreFail(long rc, RegistryTransferError &error, const std::string &what, unsigned long line = 0) {
    return Fail(ResultOf(rc), error, what + ": " + DescribeStoreError(rc), line);
}

// Keys are named relative to a root with "\" between names; surplus
// separators at either end mean nothing.
std::string TrimSeparators(std::string path) {
    while (!path.empty() && path.front() == '\\')
        path.erase(0, 1);
    while (!path.empty() && path.back() == '\\')
        path.pop_back();
    return path;
}

std::string JoinPath(const std::string &parent, const std::string &child) {
    return parent.empty() ? child : parent + "\\" + child;
}

std::string DescribeKey(HKEY root, const std::string &path) {
    std::string name = Bytes(RegistryRootName(root));
    return path.empty() ? name : name + "\\" + path;
}

// Closes a key handle of the store when it goes out of scope.
class OpenedKey {
public:
    OpenedKey() = default;
    OpenedKey(const OpenedKey &) = delete;
    OpenedKey &operator=(const OpenedKey &) = delete;
    ~OpenedKey() { reset(); }
    HKEY *receive() {
        reset();
        return &m_key;
    }
    HKEY get() const noexcept { return m_key; }
    void reset() {
        if (m_key != nullptr)
            GetRegistryStore().CloseKey(m_key);
        m_key = nullptr;
    }

private:
    HKEY m_key = nullptr;
};

// ---------------------------------------------------------------------------
// Reading from the store.

// The names of a key's subkeys, in the store's order.
long ReadSubKeyNames(IRegistryStore &store, HKEY key, std::vector<std::string> &names) {
    names.clear();
    std::vector<char> buffer(256);
    for (uint32_t index = 0;;) {
        unsigned long length = static_cast<unsigned long>(buffer.size());
        long rc = store.EnumKey(key, index, buffer.data(), &length);
        if (rc == NoMoreItems)
            return Success;
        if (rc == MoreData && buffer.size() < kLongestName) {
            buffer.resize(buffer.size() * 4);
            continue;
        }
        if (rc != Success)
            return rc;
        names.emplace_back(buffer.data(), length);
        ++index;
    }
}

struct RawValue {
    std::string name;
    unsigned long type = 0;
    std::string bytes;
};

// The value at index; NoMoreItems past the last.
long ReadValueAt(IRegistryStore &store, HKEY key, uint32_t index, std::vector<char> &nameBuffer, RawValue &value) {
    for (;;) {
        unsigned long nameLength = static_cast<unsigned long>(nameBuffer.size());
        unsigned long size = 0;
        long rc = store.EnumValue(key, index, nameBuffer.data(), &nameLength, &value.type, nullptr, &size);
        if (rc == MoreData && nameBuffer.size() < kLongestName) {
            nameBuffer.resize(nameBuffer.size() * 4);
            continue;
        }
        if (rc != Success)
            return rc;
        value.bytes.assign(size + 1, '\0');
        unsigned long filled = size + 1;
        nameLength = static_cast<unsigned long>(nameBuffer.size());
        rc = store.EnumValue(key, index, nameBuffer.data(), &nameLength, &value.type,
                             reinterpret_cast<unsigned char *>(value.bytes.data()), &filled);
        if (rc == MoreData)
            continue;  // grew between the two reads
        if (rc != Success)
            return rc;
        value.bytes.resize(filled);
        value.name.assign(nameBuffer.data(), nameLength);
        return Success;
    }
}

// The key at path and every key below it, parents before children and
// siblings in the store's order. Walked with a list, not recursion, so that
// a deep tree cannot exhaust the stack.
long CollectKeyTree(IRegistryStore &store, HKEY root, const std::string &top, std::vector<std::string> &paths) {
    paths.clear();
    std::vector<std::string> pending{top};
    std::vector<std::string> children;
    while (!pending.empty()) {
        std::string path = std::move(pending.back());
        pending.pop_back();
        OpenedKey key;
        long rc = store.OpenKey(root, path.c_str(), RegistryAccess::Read, key.receive());
        if (rc == NotFound && !paths.empty())
            continue;  // deleted while we walk
        if (rc != Success)
            return rc;
        rc = ReadSubKeyNames(store, key.get(), children);
        if (rc != Success)
            return rc;
        for (auto child = children.rbegin(); child != children.rend(); ++child)
            pending.push_back(JoinPath(path, *child));
        paths.push_back(std::move(path));
    }
    return Success;
}

// Deletes the key at path and everything below it, children first.
long DeleteTree(IRegistryStore &store, HKEY root, const std::string &path) {
    std::vector<std::string> paths;
    long rc = CollectKeyTree(store, root, path, paths);
    if (rc != Success)
        return rc;
    for (auto key = paths.rbegin(); key != paths.rend(); ++key) {
        rc = store.DeleteKey(root, key->c_str());
        if (rc != Success && rc != NotFound)
            return rc;
    }
    return Success;
}

// ---------------------------------------------------------------------------
// Writing the text.

// The length of the well-formed UTF-8 sequence at i, or 0. Such text is kept
// as it is; any other byte above ASCII is escaped, so the file is UTF-8.
size_t Utf8SequenceAt(std::string_view text, size_t i) {
    const unsigned char lead = static_cast<unsigned char>(text[i]);
    size_t length;
    uint32_t code;
    if (lead < 0xC2 || lead > 0xF4)
        return 0;
    if (lead < 0xE0) {
        length = 2;
        code = lead & 0x1F;
    } else if (lead < 0xF0) {
        length = 3;
        code = lead & 0x0F;
    } else {
        length = 4;
        code = lead & 0x07;
    }
    if (i + length > text.size())
        return 0;
    for (size_t k = 1; k < length; ++k) {
        const unsigned char next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (next & 0x3F);
    }
    if (length == 3 && (code < 0x800 || (code >= 0xD800 && code < 0xE000)))
        return 0;
    if (length == 4 && (code < 0x10000 || code > 0x10FFFF))
        return 0;
    return length;
}

const char kHexDigits[] = "0123456789abcdef";

void AppendHexByte(std::string &out, unsigned char byte) {
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 0xF];
}

void AppendEscaped(std::string &out, std::string_view text) {
    for (size_t i = 0; i < text.size();) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        const char *escape = c == '\\'  ? "\\\\"
                             : c == '"'  ? "\\\""
                             : c == '\n' ? "\\n"
                             : c == '\r' ? "\\r"
                             : c == '\t' ? "\\t"
                                         : nullptr;
        if (escape != nullptr) {
            out += escape;
            ++i;
            continue;
        }
        if (c >= 0x20 && c < 0x7F) {
            out += static_cast<char>(c);
            ++i;
            continue;
        }
        if (size_t length = c >= 0x80 ? Utf8SequenceAt(text, i) : 0; length != 0) {
            out.append(text.substr(i, length));
            i += length;
            continue;
        }
        out += "\\x";
        AppendHexByte(out, c);
        ++i;
    }
}

std::string Quoted(std::string_view text) {
    std::string out = "\"";
    AppendEscaped(out, text);
    out += '"';
    return out;
}

// A key name goes bare between backslashes when it reads back as itself:
// nothing to escape, no quote, no blank at either end.
bool NeedsQuotes(std::string_view name) {
    if (name.empty() || name.front() == ' ' || name.front() == '\t' || name.back() == ' ' || name.back() == '\t')
        return true;
    std::string escaped;
    AppendEscaped(escaped, name);
    return escaped != name || name.find('"') != std::string_view::npos;
}

std::string KeyHeader(HKEY root, const std::string &path) {
    std::string line = "[" + Bytes(RegistryRootName(root));
    for (size_t start = 0; !path.empty();) {
        size_t end = path.find('\\', start);
        if (end == std::string::npos)
            end = path.size();
        std::string_view name(path.data() + start, end - start);
        line += '\\';
        line += NeedsQuotes(name) ? Quoted(name) : std::string(name);
        if (end == path.size())
            break;
        start = end + 1;
    }
    return line + "]";
}

void AppendList(std::string &out, const std::vector<std::string> &items) {
    size_t lineStart = out.rfind('\n');
    lineStart = lineStart == std::string::npos ? 0 : lineStart + 1;
    for (size_t i = 0; i < items.size(); ++i) {
        if (i > 0) {
            out += ',';
            if (out.size() - lineStart + items[i].size() + 2 > kWrapColumn) {
                out += "\\\n  ";
                lineStart = out.size() - 2;
            }
        }
        out += items[i];
    }
}

// The items of a multi-string, when its bytes have the shape the notation
// can carry: each item with its NUL, then one more NUL.
bool SplitMulti(const std::string &bytes, std::vector<std::string> &items) {
    items.clear();
    if (bytes.empty() || bytes.back() != '\0')
        return false;
    std::string_view rest(bytes.data(), bytes.size() - 1);
    if (rest.empty())
        return true;
    if (rest.back() != '\0')
        return false;
    rest.remove_suffix(1);
    for (size_t start = 0;;) {
        size_t end = rest.find('\0', start);
        items.emplace_back(rest.substr(start, end == std::string_view::npos ? std::string_view::npos : end - start));
        if (end == std::string_view::npos)
            return true;
        start = end + 1;
    }
}

std::string TypeInHex(unsigned long type) {
    char text[24];
    std::snprintf(text, sizeof text, "%lx", type);
    return text;
}

std::string FormatValueLine(const std::string &name, unsigned long type, const std::string &bytes) {
    std::string line = name.empty() ? "@" : Quoted(name);
    line += '=';
    const bool terminated = !bytes.empty() && bytes.back() == '\0';
    if ((type == RegistryType::String || type == RegistryType::ExpandString) && terminated) {
        if (type == RegistryType::ExpandString)
            line += "expand:";
        return line + Quoted(std::string_view(bytes.data(), bytes.size() - 1));
    }
    if (type == RegistryType::Number && bytes.size() == 4) {
        char text[16];
        const auto byte = [&](size_t i) { return static_cast<uint32_t>(static_cast<unsigned char>(bytes[i])); };
        std::snprintf(text, sizeof text, "dword:%08x", byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24);
        return line + text;
    }
    std::vector<std::string> items;
    if (type == RegistryType::MultiString && SplitMulti(bytes, items)) {
        line += "multi:";
        for (std::string &item : items)
            item = Quoted(item);
        AppendList(line, items);
        return line;
    }
    line += type == RegistryType::Binary ? "hex:" : "hex(" + TypeInHex(type) + "):";
    items.clear();
    for (char c : bytes) {
        items.emplace_back();
        AppendHexByte(items.back(), static_cast<unsigned char>(c));
    }
    AppendList(line, items);
    return line;
}

long AppendKey(IRegistryStore &store, HKEY root, const std::string &path, std::string &out) {
    OpenedKey key;
    long rc = store.OpenKey(root, path.c_str(), RegistryAccess::Read, key.receive());
    if (rc != Success)
        return rc;
    out += '\n';
    out += KeyHeader(root, path);
    out += '\n';
    std::vector<char> nameBuffer(256);
    RawValue value;
    for (uint32_t index = 0;; ++index) {
        rc = ReadValueAt(store, key.get(), index, nameBuffer, value);
        if (rc == NoMoreItems)
            return Success;
        if (rc != Success)
            return rc;
        out += FormatValueLine(value.name, value.type, value.bytes);
        out += '\n';
    }
}

// ---------------------------------------------------------------------------
// Reading the text.

struct Operation {
    enum Kind { OpenKey, RemoveKey, SetValue, RemoveValue } kind;
    HKEY root = nullptr;
    std::string path;
    std::string name;
    unsigned long type = 0;
    std::string bytes;
    unsigned long line = 0;
};

// Thrown inside the parser only, and caught at its door.
struct ParseError {
    unsigned long line;
    std::string message;
};

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

int HexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

class Parser {
public:
    explicit Parser(std::string_view text) { splitLines(text); }

    std::vector<Operation> parse() {
        readVersion();
        while (nextLine()) {
            skipBlanks();
            if (atEnd() || peek() == ';' || peek() == '#')
                continue;
            if (peek() == '[')
                readKeyHeader();
            else if (peek() == '@' || peek() == '"')
                readValue();
            else
                fail("expected a key in brackets, a value line or a comment");
        }
        return std::move(m_operations);
    }

private:
    void splitLines(std::string_view text) {
        if (text.substr(0, 3) == "\xEF\xBB\xBF")
            text.remove_prefix(3);
        // A final newline ends the last line; it starts no new one.
        for (size_t start = 0; start < text.size();) {
            size_t end = text.find('\n', start);
            if (end == std::string_view::npos)
                end = text.size();
            std::string_view line = text.substr(start, end - start);
            if (!line.empty() && line.back() == '\r')
                line.remove_suffix(1);
            m_lines.push_back(line);
            start = end + 1;
        }
    }

    [[noreturn]] void fail(const std::string &message) const {
        throw ParseError{static_cast<unsigned long>(m_index + 1), message};
    }

    bool nextLine() {
        if (m_index + 1 >= m_lines.size() && m_started)
            return false;
        m_index = m_started ? m_index + 1 : 0;
        m_started = true;
        m_column = 0;
        return m_index < m_lines.size();
    }
    std::string_view line() const { return m_lines[m_index]; }
    bool atEnd() const { return m_column >= line().size(); }
    char peek() const { return line()[m_column]; }
    void skipBlanks() {
        while (!atEnd() && IsBlank(peek()))
            ++m_column;
    }
    void expect(char c, const char *what) {
        if (atEnd() || peek() != c)
            fail(std::string("expected ") + what);
        ++m_column;
    }
    // The rest of the line must be blank or a comment.
    void expectLineEnd() {
        skipBlanks();
        if (!atEnd())
            fail("unexpected text after the value: \"" + std::string(line().substr(m_column)) + "\"");
    }

    void readVersion() {
        while (nextLine()) {
            skipBlanks();
            if (atEnd() || peek() == ';' || peek() == '#')
                continue;
            std::string_view text = line().substr(m_column);
            while (!text.empty() && IsBlank(text.back()))
                text.remove_suffix(1);
            if (text.substr(0, kVersionPrefix.size()) != kVersionPrefix)
                fail("the file must start with the line \"" + std::string(kVersionPrefix) + std::string(kVersion) +
                     "\"");
            if (text.substr(kVersionPrefix.size()) != kVersion)
                fail("version " + std::string(text.substr(kVersionPrefix.size())) +
                     " is not known; this program reads version " + std::string(kVersion));
            return;
        }
        m_index = m_lines.empty() ? 0 : m_lines.size() - 1;
        fail("the file is empty: it must start with the line \"" + std::string(kVersionPrefix) + std::string(kVersion) +
             "\"");
    }

    // A quoted string at the cursor, escapes resolved.
    std::string readQuoted() {
        expect('"', "'\"'");
        std::string out;
        for (;;) {
            if (atEnd())
                fail("the text has no closing '\"'");
            char c = line()[m_column++];
            if (c == '"')
                return out;
            if (c != '\\') {
                out += c;
                continue;
            }
            if (atEnd())
                fail("the text has no closing '\"'");
            char escape = line()[m_column++];
            switch (escape) {
            case '\\': out += '\\'; break;
            case '"': out += '"'; break;
            case 'n': out += '\n'; break;
            case 'r': out += '\r'; break;
            case 't': out += '\t'; break;
            case 'x': out += static_cast<char>(readHexByte("after \\x")); break;
            default: fail(std::string("unknown escape \\") + escape + " (use \\\\ for a backslash)");
            }
        }
    }

    unsigned char readHexByte(const char *where) {
        int high = atEnd() ? -1 : HexValue(peek());
        int low = high < 0 || m_column + 1 >= line().size() ? -1 : HexValue(line()[m_column + 1]);
        if (low < 0)
            fail(std::string("expected two hex digits ") + where);
        m_column += 2;
        return static_cast<unsigned char>(high << 4 | low);
    }

    // Up to maxDigits hex digits as a number.
    unsigned long readHexNumber(size_t maxDigits, const char *what) {
        size_t start = m_column;
        unsigned long value = 0;
        while (!atEnd() && HexValue(peek()) >= 0) {
            if (m_column - start == maxDigits)
                fail(std::string(what) + " has at most " + std::to_string(maxDigits) + " hex digits");
            value = value << 4 | static_cast<unsigned long>(HexValue(peek()));
            ++m_column;
        }
        if (m_column == start)
            fail(std::string("expected hex digits for ") + what);
        return value;
    }

    void readKeyHeader() {
        Operation op{};
        op.line = static_cast<unsigned long>(m_index + 1);
        ++m_column;
        op.kind = Operation::OpenKey;
        if (!atEnd() && peek() == '-') {
            op.kind = Operation::RemoveKey;
            ++m_column;
        }
        std::string_view rest = line().substr(m_column);
        while (!rest.empty() && IsBlank(rest.back()))
            rest.remove_suffix(1);
        if (rest.empty() || rest.back() != ']')
            fail("a key line must end with ']'");
        const size_t close = m_column + rest.size() - 1;
        size_t rootEnd = line().find('\\', m_column);
        if (rootEnd == std::string_view::npos || rootEnd > close)
            rootEnd = close;
        std::string_view rootName = line().substr(m_column, rootEnd - m_column);
        if (!ParseRegistryRoot(Ansi(std::string(rootName)), op.root))
            fail("unknown root \"" + std::string(rootName) +
                 "\"; use HKEY_LOCAL_MACHINE, HKLM, HKEY_CURRENT_USER or HKCU");
        m_column = rootEnd;
        while (m_column < close) {
            ++m_column;  // the backslash
            op.path = JoinPath(op.path, readKeyName(close));
        }
        if (op.kind == Operation::RemoveKey && op.path.empty())
            fail("a root cannot be deleted");
        m_current = op.kind == Operation::OpenKey ? 1 : 2;
        m_root = op.root;
        m_path = op.path;
        m_operations.push_back(std::move(op));
    }

    // One name of a key path, up to the next backslash or the closing bracket.
    std::string readKeyName(size_t close) {
        std::string name;
        if (m_column < close && peek() == '"') {
            name = readQuoted();
            if (m_column > close || (m_column < close && peek() != '\\'))
                fail("expected '\\' or ']' after a quoted key name");
            if (name.find('\\') != std::string::npos)
                fail("a key name cannot contain a backslash");
        } else {
            size_t end = line().find('\\', m_column);
            if (end == std::string_view::npos || end > close)
                end = close;
            name = std::string(line().substr(m_column, end - m_column));
            m_column = end;
        }
        if (name.empty())
            fail("a key path has an empty name (two backslashes in a row, or one at an end)");
        if (name.find('\0') != std::string::npos)
            fail("a key name cannot contain a NUL byte");
        return name;
    }

    void readValue() {
        if (m_current == 0)
            fail("a value line before any key line");
        if (m_current == 2)
            fail("a value line under a key being deleted");
        Operation op{};
        op.line = static_cast<unsigned long>(m_index + 1);
        op.root = m_root;
        op.path = m_path;
        if (peek() == '@')
            ++m_column;
        else
            op.name = readQuoted();
        if (op.name.find('\0') != std::string::npos)
            fail("a value name cannot contain a NUL byte");
        skipBlanks();
        expect('=', "'=' after the value name");
        skipBlanks();
        readData(op);
        expectLineEnd();
        m_operations.push_back(std::move(op));
    }

    void readData(Operation &op) {
        op.kind = Operation::SetValue;
        if (atEnd())
            fail("expected a value after '='");
        if (peek() == '-') {
            ++m_column;
            op.kind = Operation::RemoveValue;
            return;
        }
        if (peek() == '"') {
            op.type = RegistryType::String;
            op.bytes = readQuoted() + '\0';
            return;
        }
        size_t start = m_column;
        while (!atEnd() && std::isalpha(static_cast<unsigned char>(peek())))
            ++m_column;
        std::string_view kind = line().substr(start, m_column - start);
        if (EqualsNoCase(kind, "hex") && !atEnd() && peek() == '(') {
            ++m_column;
            op.type = readHexNumber(sizeof(unsigned long) * 2, "a type number");
            expect(')', "')' after the type number");
            expect(':', "':' after hex(type)");
            readHexList(op.bytes);
            return;
        }
        expect(':', "a quoted string or one of dword:, hex:, hex(type):, expand:, multi: or -");
        if (EqualsNoCase(kind, "dword")) {
            op.type = RegistryType::Number;
            unsigned long number = readHexNumber(8, "a dword");
            for (int i = 0; i < 4; ++i)
                op.bytes += static_cast<char>(number >> (8 * i) & 0xFF);
        } else if (EqualsNoCase(kind, "hex")) {
            op.type = RegistryType::Binary;
            readHexList(op.bytes);
        } else if (EqualsNoCase(kind, "expand")) {
            op.type = RegistryType::ExpandString;
            skipBlanks();
            op.bytes = readQuoted() + '\0';
        } else if (EqualsNoCase(kind, "multi")) {
            op.type = RegistryType::MultiString;
            readMultiList(op.bytes);
        } else {
            fail("unknown value kind \"" + std::string(kind) + "\"; use dword:, hex:, hex(type):, expand: or multi:");
        }
    }

    // After a comma: blanks, and a continuation onto the next line.
    void skipToNextItem() {
        skipBlanks();
        if (!atEnd() && peek() == '\\' && m_column + 1 == line().size()) {
            if (m_index + 1 >= m_lines.size())
                fail("the list goes on past the end of the file");
            ++m_index;
            m_column = 0;
            skipBlanks();
        }
    }

    // Comma-separated items until the end of the line; none at all is an
    // empty list.
    template <class ReadItem>
    void readList(ReadItem readItem) {
        skipBlanks();
        if (atEnd())
            return;
        for (;;) {
            readItem();
            skipBlanks();
            if (atEnd() || peek() != ',')
                return;
            ++m_column;
            skipToNextItem();
        }
    }

    void readHexList(std::string &bytes) {
        readList([&] { bytes += static_cast<char>(readHexByte("for each byte")); });
    }

    void readMultiList(std::string &bytes) {
        readList([&] {
            if (atEnd() || peek() != '"')
                fail("expected a quoted string in the multi list");
            bytes += readQuoted();
            bytes += '\0';
        });
        bytes += '\0';
    }

    std::vector<std::string_view> m_lines;
    size_t m_index = 0;
    size_t m_column = 0;
    bool m_started = false;
    int m_current = 0;  // 0 no key yet, 1 a key to write into, 2 a key being deleted
    HKEY m_root = nullptr;
    std::string m_path;
    std::vector<Operation> m_operations;
};

// Runs every operation inside one transaction per store touched; the first
// failure rolls all of them back.
class Applier {
public:
    explicit Applier(RegistryTransferError &error) : m_store(GetRegistryStore()), m_error(error) {}

    Result apply(const std::vector<Operation> &operations) {
        for (const Operation &op : operations)
            if (!beginFor(op))
                return abandon();
        for (const Operation &op : operations)
            if (!run(op))
                return abandon();
        m_key.reset();
        // Each store commits on its own: a file that spans both roots is
        // all or nothing per store.
        while (!m_roots.empty()) {
            HKEY root = m_roots.front();
            m_roots.erase(m_roots.begin());
            long rc = m_store.CommitTransaction(root);
            if (rc != Success) {
                m_result = Fail(Result::StoreFailure, m_error,
                                "cannot save the changes to " + DescribeKey(root, "") + ": " + DescribeStoreError(rc));
                return abandon();
            }
        }
        return Result::Ok;
    }

private:
    bool beginFor(const Operation &op) {
        for (HKEY root : m_roots)
            if (root == op.root)
                return true;
        long rc = m_store.BeginTransaction(op.root);
        if (rc != Success) {
            m_result = StoreFail(rc, m_error, "cannot reach the store of " + DescribeKey(op.root, ""), op.line);
            return false;
        }
        m_roots.push_back(op.root);
        return true;
    }

    bool run(const Operation &op) {
        long rc = Success;
        std::string what;
        switch (op.kind) {
        case Operation::OpenKey:
            rc = m_store.CreateKey(op.root, op.path.c_str(), RegistryAccess::Read | RegistryAccess::Write,
                                   m_key.receive(), nullptr);
            what = "cannot create the key " + DescribeKey(op.root, op.path);
            break;
        case Operation::RemoveKey:
            m_key.reset();
            rc = DeleteTree(m_store, op.root, op.path);
            if (rc == NotFound)
                rc = Success;
            what = "cannot delete the key " + DescribeKey(op.root, op.path);
            break;
        case Operation::SetValue:
            rc = m_store.SetValue(m_key.get(), op.name.c_str(), op.type,
                                  reinterpret_cast<const unsigned char *>(op.bytes.data()),
                                  static_cast<unsigned long>(op.bytes.size()));
            what = "cannot write the value " + Quoted(op.name);
            break;
        case Operation::RemoveValue:
            rc = m_store.DeleteValue(m_key.get(), op.name.c_str());
            if (rc == NotFound)
                rc = Success;
            what = "cannot delete the value " + Quoted(op.name);
            break;
        }
        if (rc == Success)
            return true;
        // Every failure here is the store's: the text itself was sound.
        m_result = Fail(Result::StoreFailure, m_error, what + ": " + DescribeStoreError(rc), op.line);
        return false;
    }

    Result abandon() {
        m_key.reset();
        for (HKEY root : m_roots)
            m_store.RollbackTransaction(root);
        m_roots.clear();
        return m_result;
    }

    IRegistryStore &m_store;
    RegistryTransferError &m_error;
    std::vector<HKEY> m_roots;
    OpenedKey m_key;
    Result m_result = Result::StoreFailure;
};

Result ImportBytes(std::string_view text, RegistryTransferError &error) {
    std::vector<Operation> operations;
    try {
        operations = Parser(text).parse();
    } catch (const ParseError &failure) {
        return Fail(Result::Invalid, error, failure.message, failure.line);
    }
    return Applier(error).apply(operations);
}

bool ReadWholeFile(const std::string &file, std::string &content, int &error) {
    std::FILE *stream = std::fopen(file.c_str(), "rb");
    if (stream == nullptr) {
        error = errno;
        return false;
    }
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, stream)) > 0)
        content.append(buffer, n);
    error = std::ferror(stream) ? EIO : 0;
    std::fclose(stream);
    return error == 0;
}

} // namespace

bool ParseRegistryRoot(const SAnsiString &name, HKEY &root) {
    const std::string text = Bytes(name);
    if (EqualsNoCase(text, "HKEY_LOCAL_MACHINE") || EqualsNoCase(text, "HKLM")) {
        root = HKEY_LOCAL_MACHINE;
        return true;
    }
    if (EqualsNoCase(text, "HKEY_CURRENT_USER") || EqualsNoCase(text, "HKCU")) {
        root = HKEY_CURRENT_USER;
        return true;
    }
    return false;
}

SAnsiString RegistryRootName(HKEY root) {
    if (root == HKEY_LOCAL_MACHINE)
        return SAnsiString("HKEY_LOCAL_MACHINE");
    if (root == HKEY_CURRENT_USER)
        return SAnsiString("HKEY_CURRENT_USER");
    return SAnsiString();
}

RegistryTransferResult ExportKey(HKEY root, const SAnsiString &key, SAnsiString &text, RegistryTransferError &error,
                                 bool recursive) {
    error = RegistryTransferError();
    if (RegistryRootName(root).isEmpty())
        return Fail(Result::Invalid, error, "only HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER can be exported");
    IRegistryStore &store = GetRegistryStore();
    const std::string top = TrimSeparators(Bytes(key));
    std::vector<std::string> paths;
    long rc = recursive ? CollectKeyTree(store, root, top, paths) : Success;
    if (!recursive)
        paths.push_back(top);
    std::string out = std::string(kVersionPrefix) + std::string(kVersion) + "\n";
    for (size_t i = 0; rc == Success && i < paths.size(); ++i) {
        rc = AppendKey(store, root, paths[i], out);
        if (rc == NotFound && i > 0)
            rc = Success;  // deleted while we walk
    }
    if (rc != Success)
        return StoreFail(rc, error, "cannot export " + DescribeKey(root, top));
    text = Ansi(out);
    return Result::Ok;
}

RegistryTransferResult ExportKeyToFile(HKEY root, const SAnsiString &key, const SAnsiString &file,
                                       RegistryTransferError &error) {
    SAnsiString text;
    Result result = ExportKey(root, key, text, error);
    if (result != Result::Ok)
        return result;
    std::FILE *stream = std::fopen(file.getString(), "wb");
    if (stream == nullptr)
        return Fail(Result::Invalid, error, "cannot write " + Bytes(file) + ": " + std::strerror(errno));
    bool written = std::fwrite(text.getString(), 1, text.getLength(), stream) == text.getLength();
    written = std::fclose(stream) == 0 && written;
    if (!written)
        return Fail(Result::Invalid, error, "cannot write " + Bytes(file) + ": " + std::strerror(errno));
    return Result::Ok;
}

RegistryTransferResult ImportText(const SAnsiString &text, RegistryTransferError &error) {
    error = RegistryTransferError();
    return ImportBytes(std::string_view(text.getString(), text.getLength()), error);
}

RegistryTransferResult ImportFile(const SAnsiString &file, RegistryTransferError &error) {
    error = RegistryTransferError();
    std::string content;
    int failure = 0;
    if (!ReadWholeFile(Bytes(file), content, failure))
        return Fail(failure == ENOENT ? Result::NotFound : Result::Invalid, error,
                    "cannot read " + Bytes(file) + ": " + std::strerror(failure));
    return ImportBytes(content, error);
}

RegistryTransferResult ReadRawValue(HKEY root, const SAnsiString &key, const SAnsiString &name, unsigned long &type,
                                    SSimpleBuffer &bytes, RegistryTransferError &error) {
    error = RegistryTransferError();
    IRegistryStore &store = GetRegistryStore();
    const std::string path = TrimSeparators(Bytes(key));
    OpenedKey opened;
    long rc = store.OpenKey(root, path.c_str(), RegistryAccess::Read, opened.receive());
    if (rc != Success)
        return StoreFail(rc, error, "cannot open " + DescribeKey(root, path));
    std::string data;
    for (;;) {
        unsigned long size = 0;
        rc = store.QueryValue(opened.get(), name.getString(), &type, nullptr, &size);
        if (rc != Success)
            break;
        data.assign(size + 1, '\0');
        unsigned long filled = size + 1;
        rc = store.QueryValue(opened.get(), name.getString(), &type, reinterpret_cast<unsigned char *>(data.data()),
                              &filled);
        if (rc == MoreData)
            continue;
        data.resize(filled);
        break;
    }
    if (rc != Success)
        return StoreFail(rc, error, "cannot read the value " + Quoted(Bytes(name)) + " of " + DescribeKey(root, path));
    bytes = Buffer(data);
    return Result::Ok;
}

RegistryTransferResult WriteRawValue(HKEY root, const SAnsiString &key, const SAnsiString &name, unsigned long type,
                                     const SSimpleBuffer &bytes, RegistryTransferError &error) {
    error = RegistryTransferError();
    IRegistryStore &store = GetRegistryStore();
    const std::string path = TrimSeparators(Bytes(key));
    OpenedKey opened;
    long rc = store.CreateKey(root, path.c_str(), RegistryAccess::Write, opened.receive(), nullptr);
    if (rc != Success)
        return StoreFail(rc, error, "cannot create " + DescribeKey(root, path));
    rc = store.SetValue(opened.get(), name.getString(), type, bytes,
                        static_cast<unsigned long>(bytes.getNBytes()));
    if (rc != Success)
        return StoreFail(rc, error, "cannot write the value " + Quoted(Bytes(name)) + " of " + DescribeKey(root, path));
    return Result::Ok;
}

RegistryTransferResult DeleteRawValue(HKEY root, const SAnsiString &key, const SAnsiString &name,
                                      RegistryTransferError &error) {
    error = RegistryTransferError();
    IRegistryStore &store = GetRegistryStore();
    const std::string path = TrimSeparators(Bytes(key));
    OpenedKey opened;
    long rc = store.OpenKey(root, path.c_str(), RegistryAccess::SetValue, opened.receive());
    if (rc == Success)
        rc = store.DeleteValue(opened.get(), name.getString());
    if (rc != Success)
        return StoreFail(rc, error,
                         "cannot delete the value " + Quoted(Bytes(name)) + " of " + DescribeKey(root, path));
    return Result::Ok;
}

RegistryTransferResult DeleteKeyTree(HKEY root, const SAnsiString &key, bool recursive,
                                     RegistryTransferError &error) {
    error = RegistryTransferError();
    IRegistryStore &store = GetRegistryStore();
    const std::string path = TrimSeparators(Bytes(key));
    if (path.empty())
        return Fail(Result::Invalid, error, "a root cannot be deleted");
    const std::string what = "cannot delete " + DescribeKey(root, path);
    OpenedKey opened;
    long rc = store.OpenKey(root, path.c_str(), RegistryAccess::Read, opened.receive());
    std::vector<std::string> children;
    if (rc == Success)
        rc = ReadSubKeyNames(store, opened.get(), children);
    opened.reset();
    if (rc != Success)
        return StoreFail(rc, error, what);
    if (children.empty())
        rc = store.DeleteKey(root, path.c_str());
    else if (!recursive)
        return Fail(Result::Invalid, error, what + ": it has subkeys (delete them too with --recursive)");
    else if ((rc = store.BeginTransaction(root)) == Success) {
        // The whole tree goes, or none of it.
        rc = DeleteTree(store, root, path);
        if (rc == Success)
            rc = store.CommitTransaction(root);
        else
            store.RollbackTransaction(root);
    }
    return rc == Success ? Result::Ok : StoreFail(rc, error, what);
}

RegistryTransferResult ListSubKeys(HKEY root, const SAnsiString &key, std::vector<SAnsiString> &names,
                                   RegistryTransferError &error) {
    error = RegistryTransferError();
    names.clear();
    IRegistryStore &store = GetRegistryStore();
    const std::string path = TrimSeparators(Bytes(key));
    OpenedKey opened;
    std::vector<std::string> found;
    long rc = store.OpenKey(root, path.c_str(), RegistryAccess::Read, opened.receive());
    if (rc == Success)
        rc = ReadSubKeyNames(store, opened.get(), found);
    if (rc != Success)
        return StoreFail(rc, error, "cannot list the subkeys of " + DescribeKey(root, path));
    for (const std::string &name : found)
        names.push_back(Ansi(name));
    return Result::Ok;
}

SAnsiString FormatRegistryKey(HKEY root, const SAnsiString &key) {
    return Ansi(KeyHeader(root, TrimSeparators(Bytes(key))));
}

SAnsiString FormatRegistryValue(const SAnsiString &name, unsigned long type, const SSimpleBuffer &bytes) {
    return Ansi(FormatValueLine(Bytes(name), type, Bytes(bytes)));
}

} // namespace TarnkitA201
