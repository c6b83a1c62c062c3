#include "tarnkit/registry.h"

#include "config/registrystore.h"
#include "tarnkit/sarray.h"
#include "tarnkit/splat.h"
#include "tarnkit/sstringconv.h"
#include "tarnkit/strace.h"

#include <cstring>
#include <memory>
#include <new>

namespace TarnkitA201 {

namespace {

using namespace RegistryError;

// Fixed sizes of the first read and of enumerated names and data; a longer
// value needs a second read, and ends an enumeration.
constexpr unsigned long kBufferBytes = 16300;
// Characters an expanded string may take, terminator included.
constexpr unsigned long kMaxPath = 260;

#define REGISTRY_ASSERT(cond, expression, message)                                                                     \
    do {                                                                                                               \
        if (!(cond) && ::TarnkitA201::ShouldAssert(__FILE__))                                                          \
            ::TarnkitA201::SAssert(__FILE__, __LINE__, expression, message);                                           \
    } while (0)

SAnsiString FailureText(const char *operation, const SAnsiString &key, long error) {
    SAnsiString text(operation);
    text += "(";
    text += key;
    text += ") failed. Error code: ";
    text += SAnsiStringConv::ToString(error);
    return text;
}

void ReportFailure(const char *operation, const SAnsiString &key, long error) {
    if (ShouldAssert(__FILE__))
        SAssert(__FILE__, __LINE__, "FALSE", FailureText(operation, key, error).getString());
}

// Only a denied access is worth a report; a key that is not there is normal.
void ReportOpenFailure(const SAnsiString &key, long error) {
    if (error == AccessDenied)
        ReportFailure("RegOpenKeyEx", key, error);
}

// The text of a stored string: one trailing terminator is not part of it.
SAnsiString StoredText(const unsigned char *data, unsigned long size) {
    const char *text = reinterpret_cast<const char *>(data);
    if (size > 0 && text[size - 1] == 0)
        --size;
    return SAnsiString(text, size);
}

SAnsiString StoredNumber(const unsigned char *data, unsigned long size) {
    // A number value shorter than its 4 bytes has no number to show.
    if (size < 4)
        return SAnsiString();
    uint32_t value = 0;
    std::memcpy(&value, data, sizeof value);
    return SAnsiStringConv::ToString(static_cast<unsigned int>(value));
}

// Empty when the expansion does not fit its 260 characters.
SAnsiString ExpandedText(const unsigned char *data, unsigned long size, const char *assertText) {
    SAnsiString source = StoredText(data, size);
    char target[kMaxPath];
    unsigned long numChars = ExpandEnvironmentReferences(source.getString(), target, kMaxPath);
    REGISTRY_ASSERT(numChars && numChars <= kMaxPath, "numChars && numChars <= MAX_PATH", assertText);
    if (numChars == 0 || numChars > kMaxPath)
        return SAnsiString();
    return SAnsiString(target);
}

const char kReadExpandText[] =
    "Registry::ReadValue: Buffer is not big enough to accomodate expanded string from registry\n";
const char kNextValueExpandText[] =
    "Registry::ValueIterator::NextValue: Buffer is not big enough to accomodate expanded string from registry\n";
const char kDefaultMismatchText[] =
    "Registry::ReadValue: Value written to registry not the same as the default value\n";

SAnsiString JoinPath(const SAnsiString &path, const SAnsiString &name) {
    SAnsiString joined(path);
    joined += "\\";
    joined += name;
    return joined;
}

// True if key lies at or below ancestor, compared without regard to case.
bool IsSameOrBelow(const SAnsiString &key, const SAnsiString &ancestor) {
    SAnsiStringCI prefix(ancestor);
    if (key.getLength() < ancestor.getLength())
        return false;
    SAnsiStringCI head(SAnsiString(key.getString(), ancestor.getLength()));
    if (head != prefix)
        return false;
    return key.getLength() == ancestor.getLength() || key.getString()[ancestor.getLength()] == '\\' ||
           ancestor.isEmpty();
}

} // namespace

// ---------------------------------------------------------------------------
// Registry

Registry::Registry(const SAnsiStringCI &key, const SAnsiStringCI &prefix, const HKEY &root, bool)
    : m_root(root) {
    SAnsiString path(prefix);
    path += key;
    m_subKey = path;
}

Registry &Registry::operator=(const Registry &other) {
    if (this != &other) {
        IRegistryStore &store = GetRegistryStore();
        if (m_remote && m_root != other.m_root)
            store.CloseKey(m_root);
        if (m_openKey != nullptr && m_openKey != other.m_openKey)
            store.CloseKey(m_openKey);
        m_subKey = other.m_subKey;
        m_root = other.m_root;
        m_remote = other.m_remote;
        m_remoteMachine = other.m_remoteMachine;
        m_openKey = other.m_openKey;
    }
    return *this;
}

Registry::~Registry() {
    IRegistryStore &store = GetRegistryStore();
    if (m_remote)
        store.CloseKey(m_root);
    if (m_openKey != nullptr)
        store.CloseKey(m_openKey);
}

void Registry::checkKeyPath() const {
#ifndef NDEBUG
    size_t n = m_subKey.getNChars();
    REGISTRY_ASSERT(n == 0 || !(m_subKey.getAt(n - 1) == SAnsiString::CharType('\\')),
                    "m_subKey.getAt (m_subKey.getNChars() - 1) != _T('\\\\')",
                    "Win95 doesn't like opening \\ ending reg keys\n");
#endif
}

long Registry::openSubKey(unsigned long access, HKEY &key) const {
    checkKeyPath();
    key = nullptr;
    return GetRegistryStore().OpenKey(m_root, m_subKey.getString(), access, &key);
}

bool Registry::KeyExists() const {
    if (m_openKey == nullptr) {
        HKEY key = nullptr;
        long rc = openSubKey(RegistryAccess::Read, key);
        if (rc == Success)
            m_openKey = key;
        else if (rc == AccessDenied)
            REGISTRY_ASSERT(false, "FALSE", "KeyExists failed. Access Denied");
    }
    return m_openKey != nullptr;
}

SAnsiString Registry::ReadValue(const SAnsiString &name) {
    if (!KeyExists())
        return SAnsiString();
    unsigned long type = 0;
    return readOpenKey(name, m_openKey, type);
}

SAnsiString Registry::ReadValue(const SAnsiString &name, HKEY &key, unsigned long &type) {
    return readOpenKey(name, key, type);
}

SAnsiString Registry::readOpenKey(const SAnsiString &name, HKEY key, unsigned long &type) const {
    IRegistryStore &store = GetRegistryStore();
    unsigned char buffer[kBufferBytes];
    unsigned long size = kBufferBytes;
    unsigned long queried = RegistryType::None;
    long rc = store.QueryValue(key, name.getString(), &queried, buffer, &size);
    SAnsiString result;
    if (rc == MoreData) {
        // Only a plain string is taken from the larger buffer.
        std::unique_ptr<unsigned char[]> large(new (std::nothrow) unsigned char[size]);
        if (large != nullptr) {
            rc = store.QueryValue(key, name.getString(), &queried, large.get(), &size);
            if (rc == Success && queried == RegistryType::String)
                result = StoredText(large.get(), size);
        }
    } else if (rc == Success) {
        if (queried == RegistryType::String)
            result = StoredText(buffer, size);
        else if (queried == RegistryType::Number)
            result = StoredNumber(buffer, size);
        else if (queried == RegistryType::ExpandString)
            result = ExpandedText(buffer, size, kReadExpandText);
    }
    type = queried;
    return result;
}

SAnsiString Registry::ReadValue(const SAnsiString &name, const SAnsiString &defaultValue) {
    SAnsiString result = ReadValue(name);
    if (!result.isEmpty() || defaultValue.isEmpty())
        return result;
    // A store that will not take the default does not get to hand it back.
    if (!WriteValue(name, defaultValue))
        return result;
    SAnsiString retval = ReadValue(name);
    REGISTRY_ASSERT(defaultValue == retval, "defaultValue == retval", kDefaultMismatchText);
    return retval;
}

SAnsiString Registry::ReadValue(const SAnsiString &name, unsigned long defaultValue) {
    SAnsiString result = ReadValue(name);
    if (!result.isEmpty())
        return result;
    if (!WriteValue(name, defaultValue))
        return result;
    SAnsiString retval = ReadValue(name);
    REGISTRY_ASSERT(retval == SAnsiStringConv::ToString(static_cast<unsigned int>(defaultValue)),
                    "retval == SStringConv::ToString((unsigned int)defaultValue)", kDefaultMismatchText);
    return retval;
}

bool Registry::GetType(const SAnsiString &name, unsigned long &type) const {
    if (!KeyExists())
        return false;
    return !readOpenKey(name, m_openKey, type).isEmpty();
}

bool Registry::WriteValue(const SAnsiString &name, const SAnsiString &value) {
    checkKeyPath();
    HKEY key = nullptr;
    unsigned long disposition = 0;
    IRegistryStore &store = GetRegistryStore();
    if (store.CreateKey(m_root, m_subKey.getString(), RegistryAccess::Write, &key, &disposition) != Success)
        return false;
    bool written = WriteValue(name, value, key);
    store.CloseKey(key);
    return written;
}

bool Registry::WriteValue(const SAnsiString &name, unsigned long value) {
    checkKeyPath();
    HKEY key = nullptr;
    unsigned long disposition = 0;
    IRegistryStore &store = GetRegistryStore();
    long rc = store.CreateKey(m_root, m_subKey.getString(), RegistryAccess::Write, &key, &disposition);
    if (rc != Success) {
        if (SPlat::IsWinNT(0))
            ReportFailure("RegCreateKeyEx", m_subKey, rc);
        return false;
    }
    bool written = WriteValue(name, value, key);
    store.CloseKey(key);
    return written;
}

bool Registry::WriteValue(const SAnsiString &name, const SAnsiString &value, HKEY &key) const {
    // The text goes with its terminator.
    long rc = GetRegistryStore().SetValue(key, name.getString(), RegistryType::String,
                                          reinterpret_cast<const unsigned char *>(value.getString()),
                                          static_cast<unsigned long>(value.getNBytesForMBCS()));
    if (rc != Success)
        ReportFailure("RegSetValueEx", m_subKey, rc);
    return rc == Success;
}

bool Registry::WriteValue(const SAnsiString &name, unsigned long value, HKEY &key) const {
    // Numbers are 32 bits in the store; a wider value keeps its low half.
    uint32_t number = static_cast<uint32_t>(value);
    unsigned char bytes[sizeof number];
    std::memcpy(bytes, &number, sizeof number);
    long rc = GetRegistryStore().SetValue(key, name.getString(), RegistryType::Number, bytes, sizeof bytes);
    if (rc != Success)
        ReportFailure("RegSetValueEx", m_subKey, rc);
    return rc == Success;
}

bool Registry::DeleteValue(const SAnsiString &name) {
    HKEY key = nullptr;
    long rc = openSubKey(RegistryAccess::SetValue, key);
    if (rc != Success) {
        ReportOpenFailure(m_subKey, rc);
        return false;
    }
    IRegistryStore &store = GetRegistryStore();
    rc = store.DeleteValue(key, name.getString());
    store.CloseKey(key);
    return rc == Success;
}

bool Registry::DeleteKey() {
    if (!KeyExists())
        return true;
    KeyIterator subKeys = EnumSubKeys();
    if (subKeys) {
        if (ShouldAssert(__FILE__)) {
            SAnsiString text("DeleteKey: There is subkey inside key ");
            text += m_subKey;
            SAssert(__FILE__, __LINE__, "false", text.getString());
        }
        return false;
    }
    checkKeyPath();
    return GetRegistryStore().DeleteKey(m_root, m_subKey.getString()) == Success;
}

bool Registry::DeleteKeyRecursive(bool deleteSelf) {
    Registry self(m_subKey, SAnsiStringCI(), m_root);
    if (m_remote)
        self.SetRemoteMachine(m_remoteMachine);
    if (!self.KeyExists())
        return true;
    // All names first: deleting while enumerating would shift the indexes.
    SIArray<SAnsiStringCI> names;
    for (KeyIterator it = self.EnumSubKeys(); it; ++it)
        names.Add(it.GetKey());
    for (size_t i = 0; i < names.GetSize(); ++i) {
        Registry child(JoinPath(m_subKey, names[i]), SAnsiStringCI(), m_root);
        if (m_remote)
            child.SetRemoteMachine(m_remoteMachine);
        if (!child.DeleteKeyRecursive(true)) {
            REGISTRY_ASSERT(false, "FALSE", "DeleteKeyRecursive: Could not delete subkey recursively");
            return false;
        }
    }
    return deleteSelf ? DeleteKey() : true;
}

Registry::KeyIterator Registry::EnumSubKeys() {
    HKEY key = nullptr;
    long rc = openSubKey(RegistryAccess::EnumerateSubKeys, key);
    if (rc == Success)
        return KeyIterator(key);
    ReportOpenFailure(m_subKey, rc);
    return KeyIterator();
}

Registry::ValueIterator Registry::EnumValues() {
    HKEY key = nullptr;
    long rc = openSubKey(RegistryAccess::Read, key);
    if (rc == Success)
        return ValueIterator(key);
    ReportOpenFailure(m_subKey, rc);
    return ValueIterator();
}

void Registry::SetRemoteMachine(SAnsiString name) {
    while (!name.isEmpty() && name.getString()[0] == '\\')
        name.deleteChar(0);
    m_remoteMachine = name;
    SAnsiString target("\\\\");
    target += name;
    HKEY remote = nullptr;
    // Always the remote machine's HKEY_LOCAL_MACHINE, whatever the root was.
    if (GetRegistryStore().ConnectRemote(target.getString(), HKEY_LOCAL_MACHINE, &remote) == Success) {
        m_root = remote;
        m_remote = true;
    }
}

// The text is read with the value's type, so a value that is neither text
// nor number arrives as an empty string.
bool Registry::copyOneValue(Registry &to, Registry &from, const SAnsiString &toName, const SAnsiString &fromName) {
    unsigned long type = RegistryType::None;
    SAnsiString text = from.KeyExists() ? from.readOpenKey(fromName, from.m_openKey, type) : SAnsiString();
    unsigned long number = 0;
    if (type == RegistryType::Number && SAnsiStringConv::FromString(text, number))
        return to.WriteValue(toName, number);
    return to.WriteValue(toName, text);
}

bool Registry::copyKeyContents(const HKEY &toRoot, const SAnsiString &toKey, const HKEY &fromRoot,
                               const SAnsiString &fromKey) {
    Registry to(toKey, SAnsiStringCI(), toRoot);
    Registry from(fromKey, SAnsiStringCI(), fromRoot);
    for (ValueIterator it = from.EnumValues(); it; ++it)
        if (!copyOneValue(to, from, it.GetName(), it.GetName()))
            return false;
    for (KeyIterator it = from.EnumSubKeys(); it; ++it)
        if (!copyKeyContents(toRoot, JoinPath(toKey, it.GetKey()), fromRoot, JoinPath(fromKey, it.GetKey())))
            return false;
    return true;
}

bool Registry::CopyKey(const HKEY &toRoot, const SAnsiString &toKey, const HKEY &fromRoot,
                       const SAnsiString &fromKey) {
    // A copy into its own subtree would keep finding what it just made.
    if (toRoot == fromRoot && IsSameOrBelow(toKey, fromKey))
        return false;
    // One unit: a writer that dies half-way leaves the whole copy or none,
    // and a copy that fails leaves the destination as it was.
    IRegistryStore &store = GetRegistryStore();
    bool inUnit = store.BeginTransaction(toRoot) == Success;
    bool copied = copyKeyContents(toRoot, toKey, fromRoot, fromKey);
    if (inUnit) {
        if (copied)
            copied = store.CommitTransaction(toRoot) == Success;
        else
            store.RollbackTransaction(toRoot);
    }
    return copied;
}

bool Registry::CopyValue(const HKEY &toRoot, const SAnsiString &toKey, const SAnsiString &toName,
                         const HKEY &fromRoot, const SAnsiString &fromKey, const SAnsiString &fromName) {
    Registry to(toKey, SAnsiStringCI(), toRoot);
    Registry from(fromKey, SAnsiStringCI(), fromRoot);
    return copyOneValue(to, from, toName, fromName);
}

// ---------------------------------------------------------------------------
// EnumHandle

void Registry::EnumHandle::close() noexcept {
    if (m_handle != nullptr)
        GetRegistryStore().CloseKey(m_handle);
    m_handle = nullptr;
}

void Registry::EnumHandle::dropUnlessShared(HKEY other) noexcept {
    if (m_handle != other)
        close();
}

Registry::EnumHandle &Registry::EnumHandle::operator=(const EnumHandle &other) noexcept {
    if (this != &other) {
        dropUnlessShared(other.m_handle);
        m_handle = other.m_handle;
        m_index = other.m_index;
    }
    return *this;
}

Registry::EnumHandle &Registry::EnumHandle::operator=(EnumHandle &&other) noexcept {
    if (this != &other) {
        dropUnlessShared(other.m_handle);
        m_handle = other.m_handle;
        m_index = other.m_index;
        other.m_handle = nullptr;
    }
    return *this;
}

// ---------------------------------------------------------------------------
// KeyIterator

Registry::KeyIterator::KeyIterator(HKEY key) : m_enumKey(key) { NextKey(); }

bool Registry::KeyIterator::NextKey() {
    if (m_enumKey.get() == nullptr) {
        m_key.empty();
        return false;
    }
    char name[kBufferBytes];
    unsigned long length = kBufferBytes;
    if (GetRegistryStore().EnumKey(m_enumKey.get(), m_enumKey.index(), name, &length) != Success) {
        m_enumKey.close();
        m_key.empty();
        return false;
    }
    m_key = SAnsiString(name, length);
    m_enumKey.advance();
    return true;
}

void Registry::KeyIterator::consume(KeyIterator &other) {
    if (m_enumKey.get() != nullptr && ShouldAssert(__FILE__))
        SAssert(__FILE__, __LINE__, "m_enumKey == NULL");
    m_key = other.m_key;
    m_enumKey = std::move(other.m_enumKey);
}

// ---------------------------------------------------------------------------
// ValueIterator

Registry::ValueIterator::ValueIterator(HKEY key) : m_enumValue(key) { NextValue(); }

bool Registry::ValueIterator::NextValue() {
    if (m_enumValue.get() == nullptr) {
        m_name.empty();
        m_value.empty();
        return false;
    }
    char name[kBufferBytes];
    unsigned char data[kBufferBytes];
    unsigned long nameLength = kBufferBytes, dataLength = kBufferBytes, type = RegistryType::None;
    IRegistryStore &store = GetRegistryStore();
    // A value longer than the buffer answers "more data", which ends the walk
    // like any other failure.
    if (store.EnumValue(m_enumValue.get(), m_enumValue.index(), name, &nameLength, &type, data, &dataLength) !=
        Success) {
        m_enumValue.close();
        m_name.empty();
        m_value.empty();
        return false;
    }
    m_name = SAnsiString(name, nameLength);
    // Any other type keeps the text of the value before it.
    if (type == RegistryType::String)
        m_value = StoredText(data, dataLength);
    else if (type == RegistryType::Number)
        m_value = StoredNumber(data, dataLength);
    else if (type == RegistryType::ExpandString)
        m_value = ExpandedText(data, dataLength, kNextValueExpandText);
    m_enumValue.advance();
    return true;
}

void Registry::ValueIterator::consume(ValueIterator &other) {
    if (m_enumValue.get() != nullptr && ShouldAssert(__FILE__))
        SAssert(__FILE__, __LINE__, "m_enumValue == NULL");
    m_name = other.m_name;
    m_value = other.m_value;
    m_enumValue = std::move(other.m_enumValue);
}

} // namespace TarnkitA201
