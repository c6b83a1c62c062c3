// The key of the LNS server and the names of the settings it keeps there.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registrykeys/serverregistry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// The server key "LNS", with the fallback of every server key.
class KVSRegistry : public ServerRegistry {
public:
    explicit KVSRegistry(const SAnsiString &instance = SAnsiString());
    ~KVSRegistry() override;

    static const char *const KVSRegistryKey;
    static const char *const REGKEY_GHSHELP;
    static const char *const REGVALUE_HELPFORMAT;
    static const char *const REG_KVS_NAME;
    static const char *const REG_AUDITBATCHSIZE;
    static const char *const REG_AUDITDATABASECONNECT;
    static const char *const REG_AUDITDATABASEDRIVER;
    static const char *const REG_AUDITEETIMESYNCINTERVAL;
    static const char *const REG_AUDITINTERVAL;
    static const char *const REG_AUTH_ERR_PAGE;
    static const char *const REG_AUTH_REALM;
    static const char *const REG_CHECKINSTANCELIMITSATMOSTEVERYNSECONDS;
    static const char *const REG_DATABASECONNECT;
    static const char *const REG_DATABASEDRIVER;
    static const char *const REG_VAULTBASEDEFAULTTOPNVALUE;
    static const char *const REG_VAULTBASEQUERYSIZEPERBATCHINKBYTES;
    static const char *const REG_INSTALL_PATH;
    static const char *const REG_INSTANCELIMITS_BATCHCLEANUPTIME;
    static const char *const REG_KEY_KVSSOCKSSERVERS;
    static const char *const REG_KEY_MIME;
    static const char *const REG_MAXIMUMCLUSTERMEMBERTIMEDISCREPENCYINMINUTES;
    static const char *const REG_MAXPROCESSINGPACKAGES;
    static const char *const REG_METRICSLOGGINGBATCHSIZE;
    static const char *const REG_METRICSLOGGINGINTERVAL;
    static const char *const REG_MaximumObjectsToKeepInMemory;
    static const char *const REG_MaximumTimeToAccumulateClusterChangesInMinutes;
    static const char *const REG_NUMBEROFDATABASEQUEUETHREADS;
    static const char *const REG_RefreshPlugsAtMostEveryNSeconds;
    static const char *const REG_SINGLESIGNON_STATUS;
    static const char *const REG_ServerState_TimeoutForPing;
    static const char *const REG_SizeOfTheLargestObjectAllowedInTheCacheInBytes;
    static const char *const REG_THREADPOOL_SIZE;
    static const char *const REG_THREADTIMEOUTMINUTES;
    static const char *const REG_TIMEOUT_VALUE;
    static const char *const REG_TOMBSTONES_BATCHCLEANUPTIME;
    static const char *const REG_UPLOAD_PATH;
    static const char *const REG_USEBLOCKINGCLUSTERNOTIFICATIONS;
    static const char *const REG_WORKAROUNDORACLEBLOBACCESSLIMITATION;

    static const char *const VALUE_TRUE;
    static const char *const VALUE_FALSE;
    static const char *const VALUE_YES;
    static const char *const VALUE_NO;
    static const char *const VALUE_ONE;
    static const char *const VALUE_ZERO;
};

TARNKIT_NAMESPACE_END
