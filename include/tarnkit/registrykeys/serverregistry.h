// The key of one server of the product family, optionally of one of its
// instances. An instance inherits every setting of its server: a value or
// sub-key missing at the instance is taken from the server's key and copied
// down, so that from then on the instance holds its own copy.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registry.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// "Software\Ostrand Group\10.5\<server>", with an instance then
// "\Instances\<instance>", and the keys added by appendKey.
class ServerRegistry : public CompanyRegistry {
public:
    // The instance may be empty: the object is then on the server's key.
    ServerRegistry(const SAnsiString &server, const SAnsiString &instance);
    ~ServerRegistry() override;

    const SAnsiString &GetInstanceKey() const noexcept { return m_instance; }

    // Adds the name below the key, for the instance and for the server's key
    // it falls back to alike.
    void appendKey(const SAnsiString &name);

    // The instance's value, else the server's, which is then copied into the
    // instance's key (text and numbers only).
    using CompanyRegistry::ReadValue;
    SAnsiString ReadValue(const SAnsiString &name);
    // As above; when neither key has the value, the default is written into
    // the object's own key and read back.
    SAnsiString ReadValue(const SAnsiString &name, const SAnsiString &defaultValue);
    SAnsiString ReadValue(const SAnsiString &name, unsigned long defaultValue);

    // The sub-keys and values of the object's own key, after copying in those
    // of the server's key that it lacks: these enumerations write to the store.
    KeyIterator EnumSubKeys();
    ValueIterator EnumValues();
    // The instances of the server, on the first one.
    KeyIterator EnumInstances();

private:
    // The server's key with the key tail but without the instance part.
    SAnsiString fallbackKeyPath() const;
    bool hasDistinctFallback(const SAnsiString &fallbackKey) const;
    // Puts a key of the machine root on the same machine as this object.
    void carryRemoteMachine(Registry &key) const;
    void copyDownValue(const SAnsiString &name, const SAnsiString &text, Registry &fallback);

    SAnsiString m_serverName;
    SAnsiString m_keyTail;
    SAnsiString m_instance;
};

TARNKIT_NAMESPACE_END
