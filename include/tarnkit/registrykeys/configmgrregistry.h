// The key of the configuration manager, "Config Manager" below the company
// key, and the description of the servers it starts.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/sarray.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// "...\Config Manager", then "\" and the name when one is given.
//
// A server is described by one key holding the values "ServiceName",
// "Path", "Dependency", "CommandLine" and "IsDependsOnEbus"; the servers of
// a list are the sub-keys of the object's key, in the store's order.
class ConfigMgrRegistry : public CompanyRegistry {
public:
    struct ServerType {
        SAnsiString serverKey;  // the name of the server's key
        SAnsiString serviceName;
        SAnsiString path;
        SAnsiString dependency;
        SAnsiString commandLine;
        bool dependsOnEbus = false;

        bool operator==(const ServerType &other) const;
    };

    explicit ConfigMgrRegistry(const SAnsiString &name = SAnsiString());
    ~ConfigMgrRegistry() override;

    // Reads the server described by the object's own key. A missing key or
    // value is reported by an assertion and answers false; the values may be
    // empty. "IsDependsOnEbus" is a number (non-zero is true) or one of the
    // words "true", "yes", "1", "false", "no", "0" in any case.
    bool Get(ServerType &server);
    // Reads every sub-key as a server, appending to the array; stops with
    // false at the first server that cannot be read, keeping those before it.
    bool Get(SIArray<ServerType> &servers);
};

TARNKIT_NAMESPACE_END
