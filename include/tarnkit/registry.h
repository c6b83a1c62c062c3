// A handle on one key of the hierarchical settings store, with iterators over
// its subkeys and values. Forgiving by design: failures answer false or an
// empty string, never an exception, and reading a value with a default
// writes that default into the store.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/sstringimpl.h"

#include <cstdint>

// Opaque handle on an open key of the store.
struct HKEY__;
using HKEY = HKEY__ *;

// The predefined roots, with their customary sign-extended values. Handles
// the store opens are small counters and never meet these.
#define TARNKIT_PREDEFINED_HKEY(value) (reinterpret_cast<HKEY>(static_cast<intptr_t>(static_cast<int32_t>(value))))
#define HKEY_CLASSES_ROOT TARNKIT_PREDEFINED_HKEY(0x80000000u)
#define HKEY_CURRENT_USER TARNKIT_PREDEFINED_HKEY(0x80000001u)
#define HKEY_LOCAL_MACHINE TARNKIT_PREDEFINED_HKEY(0x80000002u)
#define HKEY_USERS TARNKIT_PREDEFINED_HKEY(0x80000003u)

// Defined for the family of key classes; no code of this library reads it.
#define HALCYON_REGISTRYHOME "HALCYON_REGISTRYHOME"

TARNKIT_NAMESPACE_BEGIN

class Registry {
public:
    // An enumeration handle and the index of the next item. Copies share the
    // handle without moving it; a move passes it on; an owner that drops a
    // handle the other side does not share closes it.
    class EnumHandle {
    public:
        EnumHandle() noexcept = default;
        explicit EnumHandle(HKEY handle) noexcept : m_handle(handle) {}
        EnumHandle(const EnumHandle &other) noexcept = default;
        EnumHandle(EnumHandle &&other) noexcept : m_handle(other.m_handle), m_index(other.m_index) {
            other.m_handle = nullptr;
        }
        EnumHandle &operator=(const EnumHandle &other) noexcept;
        EnumHandle &operator=(EnumHandle &&other) noexcept;
        ~EnumHandle() { close(); }

        HKEY get() const noexcept { return m_handle; }
        uint32_t index() const noexcept { return m_index; }
        void advance() noexcept { ++m_index; }
        void close() noexcept;
        HKEY detach() noexcept {
            HKEY handle = m_handle;
            m_handle = nullptr;
            return handle;
        }

    private:
        void dropUnlessShared(HKEY other) noexcept;

        HKEY m_handle = nullptr;
        uint32_t m_index = 0;
    };

    // Walks the subkeys of an open key by index. Owns its handle: the
    // destructor closes it. Copies share the handle (use consume to pass it
    // on); a move passes it on.
    class KeyIterator {
    public:
        KeyIterator() noexcept = default;
        // Takes the handle and moves to the first key.
        explicit KeyIterator(HKEY key);

        bool NextKey();
        KeyIterator &operator++() {
            NextKey();
            return *this;
        }
        explicit operator bool() const noexcept { return m_enumKey.get() != nullptr; }
        const SAnsiStringCI &GetKey() const noexcept { return m_key; }
        // Takes name, handle and index of other, which loses its handle.
        void consume(KeyIterator &other);
        // Gives up the handle without closing it.
        HKEY detach() noexcept { return m_enumKey.detach(); }

    private:
        SAnsiStringCI m_key;
        EnumHandle m_enumKey;
    };

    // Walks the values of an open key by index, as name and text.
    class ValueIterator {
    public:
        ValueIterator() noexcept = default;
        explicit ValueIterator(HKEY key);

        bool NextValue();
        ValueIterator &operator++() {
            NextValue();
            return *this;
        }
        explicit operator bool() const noexcept { return m_enumValue.get() != nullptr; }
        const SAnsiStringCI &GetName() const noexcept { return m_name; }
        const SAnsiString &GetValue() const noexcept { return m_value; }
        void consume(ValueIterator &other);
        HKEY detach() noexcept { return m_enumValue.detach(); }

    private:
        SAnsiStringCI m_name;
        SAnsiString m_value;
        EnumHandle m_enumValue;
    };

    // The key is prefix followed by key; nothing touches the store yet. The
    // flag is accepted and not kept.
    Registry(const SAnsiStringCI &key, const SAnsiStringCI &prefix, const HKEY &root, bool unused = false);
    // Copies share the open handles; a copy is for the short time of a call.
    Registry(const Registry &other) = default;
    // Handles of its own that other does not share are closed first.
    Registry &operator=(const Registry &other);
    virtual ~Registry();

    // Opens the key for reading on first need and keeps the handle, so a key
    // deleted later still exists for this object.
    bool KeyExists() const;

    // Empty when absent or unreadable.
    SAnsiString ReadValue(const SAnsiString &name);
    // An absent or empty value is replaced by the default, which is written
    // to the store and read back; empty if the store will not take it.
    SAnsiString ReadValue(const SAnsiString &name, const SAnsiString &defaultValue);
    SAnsiString ReadValue(const SAnsiString &name, unsigned long defaultValue);
    // The read on an already open key; type receives the stored type (0
    // when absent).
    SAnsiString ReadValue(const SAnsiString &name, HKEY &key, unsigned long &type);
    // True if the value reads as non-empty text; type is set either way.
    bool GetType(const SAnsiString &name, unsigned long &type) const;

    // Create the key when needed. A number is stored in 32 bits.
    bool WriteValue(const SAnsiString &name, const SAnsiString &value);
    bool WriteValue(const SAnsiString &name, unsigned long value);
    bool WriteValue(const SAnsiString &name, const SAnsiString &value, HKEY &key) const;
    bool WriteValue(const SAnsiString &name, unsigned long value, HKEY &key) const;

    bool DeleteValue(const SAnsiString &name);
    // True for an absent key; false for a key with subkeys.
    bool DeleteKey();
    bool DeleteKeyRecursive(bool deleteSelf);

    KeyIterator EnumSubKeys();
    ValueIterator EnumValues();

    SAnsiStringCI GetKeyName() const { return m_subKey; }

    // Connects to another machine's store; the object stays local when that
    // fails, but keeps the name.
    void SetRemoteMachine(SAnsiString name);
    bool IsRemoteReg() const noexcept { return m_remote; }
    SAnsiString GetRemoteMachineName() const { return m_remoteMachine; }
    void SetRemoteKeyHandle(const HKEY &key) noexcept { m_root = key; }

    // Destination first. Values travel as text, or as numbers where the
    // source holds a number.
    static bool CopyKey(const HKEY &toRoot, const SAnsiString &toKey, const HKEY &fromRoot,
                        const SAnsiString &fromKey);
    static bool CopyValue(const HKEY &toRoot, const SAnsiString &toKey, const SAnsiString &toName,
                          const HKEY &fromRoot, const SAnsiString &fromKey, const SAnsiString &fromName);

protected:
    SAnsiStringCI m_subKey;
    HKEY m_root;
    bool m_remote = false;
    SAnsiStringCI m_remoteMachine;
    mutable HKEY m_openKey = nullptr;

private:
    SAnsiString readOpenKey(const SAnsiString &name, HKEY key, unsigned long &type) const;
    long openSubKey(unsigned long access, HKEY &key) const;
    void checkKeyPath() const;
    static bool copyKeyContents(const HKEY &toRoot, const SAnsiString &toKey, const HKEY &fromRoot,
                                const SAnsiString &fromKey);
    static bool copyOneValue(Registry &to, Registry &from, const SAnsiString &toName, const SAnsiString &fromName);
};

TARNKIT_NAMESPACE_END
