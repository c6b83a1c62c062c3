#include "tarnkit/registrykeys/serverregistry.h"

#include "tarnkit/sarray.h"
#include "tarnkit/sset.h"
#include "tarnkit/sstringconv.h"

namespace TarnkitA201 {

namespace {

constexpr unsigned long kStringType = 1;
constexpr unsigned long kNumberType = 4;

SAnsiString JoinKey(const SAnsiString &path, const SAnsiString &name) {
    SAnsiString joined(path);
    joined += "\\";
    joined += name;
    return joined;
}

} // namespace

ServerRegistry::ServerRegistry(const SAnsiString &server, const SAnsiString &instance)
    : CompanyRegistry(server), m_serverName(server), m_instance(instance) {
    // The instance part belongs to the path only: the key tail is what the
    // instance's key and the server's key have in common below them.
    if (!instance.isEmpty()) {
        CompanyRegistry::appendKey("Instances");
        CompanyRegistry::appendKey(instance);
    }
}

ServerRegistry::~ServerRegistry() = default;

void ServerRegistry::appendKey(const SAnsiString &name) {
    if (!m_keyTail.isEmpty())
        m_keyTail += "\\";
    m_keyTail += name;
    CompanyRegistry::appendKey(name);
}

SAnsiString ServerRegistry::fallbackKeyPath() const {
    SAnsiString path = JoinKey(CompanyKeyPath(), m_serverName);
    if (!m_keyTail.isEmpty())
        path = JoinKey(path, m_keyTail);
    return path;
}

bool ServerRegistry::hasDistinctFallback(const SAnsiString &fallbackKey) const {
    return SAnsiStringCI(fallbackKey) != m_subKey;
}

void ServerRegistry::carryRemoteMachine(Registry &key) const {
    if (IsRemoteReg())
        key.SetRemoteMachine(GetRemoteMachineName());
}

// Text and numbers are copied with their type; an expandable string or any
// other type stays with the server and is read from there each time.
void ServerRegistry::copyDownValue(const SAnsiString &name, const SAnsiString &text, Registry &fallback) {
    unsigned long type = kStringType;
    if (!fallback.GetType(name, type))
        type = kStringType;
    if (type == kNumberType) {
        unsigned long number = 0;
        if (SAnsiStringConv::FromString(text, number)) {
            WriteValue(name, number);
            return;
        }
        type = kStringType;
    }
    if (type == kStringType)
        WriteValue(name, text);
}

SAnsiString ServerRegistry::ReadValue(const SAnsiString &name) {
    SAnsiString text = Registry::ReadValue(name);
    if (!text.isEmpty())
        return text;
    const SAnsiString fallbackKey = fallbackKeyPath();
    if (hasDistinctFallback(fallbackKey)) {
        Registry fallback(fallbackKey, SAnsiStringCI(), companyRegistryHandle);
        carryRemoteMachine(fallback);
        text = fallback.ReadValue(name);
        if (!text.isEmpty()) {
            copyDownValue(name, text, fallback);
            return text;
        }
    }
    return Registry::ReadValue(name);
}

SAnsiString ServerRegistry::ReadValue(const SAnsiString &name, const SAnsiString &defaultValue) {
    SAnsiString text = ReadValue(name);
    if (!text.isEmpty())
        return text;
    // Neither key has it: the default goes into the object's own key.
    return Registry::ReadValue(name, defaultValue);
}

SAnsiString ServerRegistry::ReadValue(const SAnsiString &name, unsigned long defaultValue) {
    SAnsiString text = ReadValue(name);
    if (!text.isEmpty())
        return text;
    return Registry::ReadValue(name, defaultValue);
}

Registry::KeyIterator ServerRegistry::EnumSubKeys() {
    const SAnsiString fallbackKey = fallbackKeyPath();
    if (hasDistinctFallback(fallbackKey)) {
        SISet<SAnsiStringCI> ownNames;
        for (KeyIterator own = Registry::EnumSubKeys(); own; ++own)
            ownNames.Insert(own.GetKey());
        Registry fallback(fallbackKey, SAnsiStringCI(), companyRegistryHandle);
        carryRemoteMachine(fallback);
        // The names are gathered before copying: a copy may create keys
        // beside those being enumerated (the server's "Instances") and shift
        // the positions the enumeration steps through.
        SIArray<SAnsiStringCI> missing;
        for (KeyIterator it = fallback.EnumSubKeys(); it; ++it)
            if (!ownNames.Contains(it.GetKey()))
                missing.Add(it.GetKey());
        // The server's own "Instances" key, which holds this instance, is
        // refused by CopyKey as a copy into its own subtree.
        for (const SAnsiStringCI &name : missing)
            Registry::CopyKey(m_root, JoinKey(m_subKey, name), companyRegistryHandle, JoinKey(fallbackKey, name));
    }
    return Registry::EnumSubKeys();
}

Registry::ValueIterator ServerRegistry::EnumValues() {
    const SAnsiString fallbackKey = fallbackKeyPath();
    if (hasDistinctFallback(fallbackKey)) {
        SISet<SAnsiStringCI> ownNames;
        for (ValueIterator own = Registry::EnumValues(); own; ++own)
            ownNames.Insert(own.GetName());
        Registry fallback(fallbackKey, SAnsiStringCI(), companyRegistryHandle);
        carryRemoteMachine(fallback);
        SIArray<SAnsiStringCI> missing;
        for (ValueIterator it = fallback.EnumValues(); it; ++it)
            if (!ownNames.Contains(it.GetName()))
                missing.Add(it.GetName());
        for (const SAnsiStringCI &name : missing)
            Registry::CopyValue(m_root, m_subKey, name, companyRegistryHandle, fallbackKey, name);
    }
    return Registry::EnumValues();
}

Registry::KeyIterator ServerRegistry::EnumInstances() {
    SAnsiString path = JoinKey(JoinKey(CompanyKeyPath(), m_serverName), "Instances");
    Registry instances(path, SAnsiStringCI(), companyRegistryHandle);
    carryRemoteMachine(instances);
    return instances.EnumSubKeys();
}

} // namespace TarnkitA201
