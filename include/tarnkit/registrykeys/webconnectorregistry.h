// The key of the web connector, "Web Connector" below the company key, and
// the list of help hosts it knows.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/sarray.h"
#include "tarnkit/smap.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// "...\Web Connector", then "\" and the name when one is given.
//
// The hosts live under the sub-key "GHSHosts", one key each, named by its
// position "0", "1", ...; each holds the host's name as the value "GHSHost"
// and its address as the value "URL".
class WebConnectorRegistry : public CompanyRegistry {
public:
    struct GHSHost {
        SAnsiString name;
        SAnsiString url;

        bool operator==(const GHSHost &other) const { return name == other.name && url == other.url; }
    };
    using GHSHostMap = SIMap<SAnsiString, GHSHost>;

    static const char *const GHSHostsKey;   // "GHSHosts"
    static const char *const GHSHostValue;  // "GHSHost"
    static const char *const URLValue;      // "URL"

    explicit WebConnectorRegistry(const SAnsiString &name = SAnsiString());
    ~WebConnectorRegistry() override;

    // Appends the hosts in their stored order, up to the first missing
    // position. A host without a name is reported by an assertion and ends
    // the list with false, keeping the hosts before it. No hosts is true.
    bool GetGHSHosts(SIArray<GHSHost> &hosts);
    // The same, by host name; a later host of the same name replaces one
    // before it.
    bool GetGHSHosts(GHSHostMap &hosts);
    // Replaces the stored list as one unit. A host without a name is refused
    // before anything is written.
    bool SetGHSHosts(const SIArray<GHSHost> &hosts);
};

TARNKIT_NAMESPACE_END
