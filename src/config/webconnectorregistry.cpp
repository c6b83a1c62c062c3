#include "tarnkit/registrykeys/webconnectorregistry.h"

#include "config/registrystore.h"
#include "tarnkit/sstringconv.h"
#include "tarnkit/strace.h"

namespace TarnkitA201 {

const char *const WebConnectorRegistry::GHSHostsKey = "GHSHosts";
const char *const WebConnectorRegistry::GHSHostValue = "GHSHost";
const char *const WebConnectorRegistry::URLValue = "URL";

namespace {

const char kBadHostName[] = "WebConnectorRegistry::Get Invalid value for host name";
const char kHostWithoutName[] = "WebConnectorRegistry::Set Invalid value for host name";

SAnsiString JoinKey(const SAnsiString &path, const SAnsiString &name) {
    SAnsiString joined(path);
    joined += "\\";
    joined += name;
    return joined;
}

// Walks the stored hosts in order; visit answers false to stop early.
template <class Visit>
bool ForEachStoredHost(const SAnsiString &hostsKey, const HKEY &root, Visit visit) {
    for (unsigned int index = 0;; ++index) {
        Registry key(JoinKey(hostsKey, SAnsiStringConv::ToString(index)), SAnsiStringCI(), root);
        if (!key.KeyExists())
            return true;
        WebConnectorRegistry::GHSHost host;
        host.name = key.ReadValue(WebConnectorRegistry::GHSHostValue);
        if (host.name.isEmpty()) {
            TARNKIT_FAIL(kBadHostName);
            return false;
        }
        host.url = key.ReadValue(WebConnectorRegistry::URLValue);
        visit(host);
    }
}

bool WriteHosts(const SAnsiString &hostsKey, const HKEY &root, const SIArray<WebConnectorRegistry::GHSHost> &hosts) {
    Registry list(hostsKey, SAnsiStringCI(), root);
    if (!list.DeleteKeyRecursive(true))
        return false;
    for (size_t index = 0; index < hosts.GetSize(); ++index) {
        const WebConnectorRegistry::GHSHost &host = hosts.Begin()[index];
        Registry key(JoinKey(hostsKey, SAnsiStringConv::ToString(static_cast<unsigned long>(index))), SAnsiStringCI(),
                     root);
        if (!key.WriteValue(WebConnectorRegistry::GHSHostValue, host.name) ||
            !key.WriteValue(WebConnectorRegistry::URLValue, host.url))
            return false;
    }
    return true;
}

} // namespace

WebConnectorRegistry::WebConnectorRegistry(const SAnsiString &name) : CompanyRegistry("Web Connector") {
    if (!name.isEmpty())
        appendKey(name);
}

WebConnectorRegistry::~WebConnectorRegistry() = default;

bool WebConnectorRegistry::GetGHSHosts(SIArray<GHSHost> &hosts) {
    return ForEachStoredHost(JoinKey(m_subKey, GHSHostsKey), m_root, [&](const GHSHost &host) { hosts.Add(host); });
}

bool WebConnectorRegistry::GetGHSHosts(GHSHostMap &hosts) {
    return ForEachStoredHost(JoinKey(m_subKey, GHSHostsKey), m_root,
                             [&](const GHSHost &host) { hosts.SetAt(host.name, host); });
}

bool WebConnectorRegistry::SetGHSHosts(const SIArray<GHSHost> &hosts) {
    for (const GHSHost &host : hosts) {
        if (host.name.isEmpty()) {
            TARNKIT_FAIL(kHostWithoutName);
            return false;
        }
    }
    // One unit: a list half replaced would lose hosts or mix old and new.
    IRegistryStore &store = GetRegistryStore();
    const bool inUnit = store.BeginTransaction(m_root) == RegistryError::Success;
    bool written = WriteHosts(JoinKey(m_subKey, GHSHostsKey), m_root, hosts);
    if (inUnit) {
        if (written)
            written = store.CommitTransaction(m_root) == RegistryError::Success;
        else
            store.RollbackTransaction(m_root);
    }
    return written;
}

} // namespace TarnkitA201
