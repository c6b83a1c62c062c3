// The operations the settings store offers the Registry class: open, create
// and close keys, read, write and delete values, enumerate by index, delete
// keys, group writes in a transaction, connect to another machine. Every
// operation answers 0 or an error number with the usual system meanings, so
// the key logic above can treat "access denied" and "more data" as it must.
// Names and text values cross this interface in the process's locale text;
// how a backend keeps them is its own affair.
#pragma once

#include "tarnkit/registry.h"

#include <cstdint>

namespace TarnkitA201 {

namespace RegistryError {
constexpr long Success = 0;
constexpr long NotFound = 2;
constexpr long AccessDenied = 5;
constexpr long InvalidHandle = 6;
constexpr long NotEnoughMemory = 8;
constexpr long NetworkPathNotFound = 53;
constexpr long InvalidParameter = 87;
constexpr long BadPathName = 161;
constexpr long MoreData = 234;
constexpr long NoMoreItems = 259;
constexpr long StoreCorrupt = 1009;  // the file is no store, or damaged
constexpr long CannotOpen = 1011;    // the store file could not be opened
constexpr long CannotRead = 1012;    // a read failed below the store
constexpr long CannotWrite = 1013;   // a write failed below the store
constexpr long KeyDeleted = 1018;    // the handle's key was deleted meanwhile
constexpr long NoTransaction = 1;    // commit or rollback without a begin
} // namespace RegistryError

// Access rights asked for when a key is opened.
namespace RegistryAccess {
constexpr unsigned long QueryValue = 0x0001;
constexpr unsigned long SetValue = 0x0002;
constexpr unsigned long CreateSubKey = 0x0004;
constexpr unsigned long EnumerateSubKeys = 0x0008;
constexpr unsigned long Read = 0x20019;
constexpr unsigned long Write = 0x20006;
} // namespace RegistryAccess

// Value types.
namespace RegistryType {
constexpr unsigned long None = 0;
constexpr unsigned long String = 1;
constexpr unsigned long ExpandString = 2;
constexpr unsigned long Binary = 3;
constexpr unsigned long Number = 4;
constexpr unsigned long MultiString = 7;
} // namespace RegistryType

// Sizes are bytes. A query with too small a buffer (or none) answers
// MoreData and the size needed; enumerations answer NoMoreItems past the
// end. Paths use "\" between key names.
class IRegistryStore {
public:
    virtual ~IRegistryStore() = default;

    virtual long OpenKey(HKEY root, const char *path, unsigned long access, HKEY *result) = 0;
    // Opens the key, creating it and any missing parent. disposition is 1
    // for a new key, 2 for an existing one (may be null).
    virtual long CreateKey(HKEY root, const char *path, unsigned long access, HKEY *result,
                           unsigned long *disposition) = 0;
    virtual long CloseKey(HKEY key) = 0;

    // data may be null to ask for type and size. type is written only when
    // the value exists.
    virtual long QueryValue(HKEY key, const char *name, unsigned long *type, unsigned char *data,
                            unsigned long *size) = 0;
    virtual long SetValue(HKEY key, const char *name, unsigned long type, const unsigned char *data,
                          unsigned long size) = 0;
    virtual long DeleteValue(HKEY key, const char *name) = 0;

    // nameLength holds the buffer size on entry and the name's length
    // (without terminator) on return.
    virtual long EnumKey(HKEY key, uint32_t index, char *name, unsigned long *nameLength) = 0;
    virtual long EnumValue(HKEY key, uint32_t index, char *name, unsigned long *nameLength, unsigned long *type,
                           unsigned char *data, unsigned long *dataLength) = 0;
    // Refuses a key that still has subkeys.
    virtual long DeleteKey(HKEY root, const char *path) = 0;

    // Writes through keys of root's store from the calling thread become one
    // unit until Commit; Rollback undoes them. Transactions nest by count.
    virtual long BeginTransaction(HKEY root) = 0;
    virtual long CommitTransaction(HKEY root) = 0;
    virtual long RollbackTransaction(HKEY root) = 0;

    virtual long ConnectRemote(const char *machine, HKEY root, HKEY *result) = 0;
};

// The store in use: the SQLite store unless a test installed another.
IRegistryStore &GetRegistryStore();
// Installs a store (null goes back to the built-in one) and returns the
// previous one, null for the built-in one.
IRegistryStore *SetRegistryStore(IRegistryStore *store) noexcept;

// "%NAME%" references replaced by the process environment. Answers the
// characters the whole result needs with its terminator, or 0 on failure;
// target receives the text only when it fits in size characters.
unsigned long ExpandEnvironmentReferences(const char *source, char *target, unsigned long size);

} // namespace TarnkitA201
