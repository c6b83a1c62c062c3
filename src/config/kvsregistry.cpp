#include "tarnkit/registrykeys/kvsregistry.h"

namespace TarnkitA201 {

KVSRegistry::KVSRegistry(const SAnsiString &instance) : ServerRegistry(KVSRegistryKey, instance) {}

KVSRegistry::~KVSRegistry() = default;

const char *const KVSRegistry::KVSRegistryKey = "LNS";
const char *const KVSRegistry::REGKEY_GHSHELP = "Help";
const char *const KVSRegistry::REGVALUE_HELPFORMAT = "Format";
const char *const KVSRegistry::REG_KVS_NAME = "LNSName";
const char *const KVSRegistry::REG_AUDITBATCHSIZE = "AuditBatchSize";
const char *const KVSRegistry::REG_AUDITDATABASECONNECT = "AuditingDatabaseConnectString";
const char *const KVSRegistry::REG_AUDITDATABASEDRIVER = "AuditingDatabaseDriver";
const char *const KVSRegistry::REG_AUDITEETIMESYNCINTERVAL = "AuditeeTimeSyncInterval";
const char *const KVSRegistry::REG_AUDITINTERVAL = "AuditInterval";
const char *const KVSRegistry::REG_AUTH_ERR_PAGE = "UnauthorizedPage";
const char *const KVSRegistry::REG_AUTH_REALM = "AuthenticationRealm";
const char *const KVSRegistry::REG_CHECKINSTANCELIMITSATMOSTEVERYNSECONDS = "CheckInstanceLimitsAtMostEveryNSeconds";
const char *const KVSRegistry::REG_DATABASECONNECT = "DatabaseConnectString";
const char *const KVSRegistry::REG_DATABASEDRIVER = "DatabaseDriver";
const char *const KVSRegistry::REG_VAULTBASEDEFAULTTOPNVALUE = "VaultbaseDefaultTopNValue";
const char *const KVSRegistry::REG_VAULTBASEQUERYSIZEPERBATCHINKBYTES = "VaultbaseQuerySizePerBatchInKBytes";
const char *const KVSRegistry::REG_INSTALL_PATH = "InstallPath";
const char *const KVSRegistry::REG_INSTANCELIMITS_BATCHCLEANUPTIME = "InstanceLimitsBatchCleanUpTime";
const char *const KVSRegistry::REG_KEY_KVSSOCKSSERVERS = "LNSSocksServers";
const char *const KVSRegistry::REG_KEY_MIME = "MIME";
const char *const KVSRegistry::REG_MAXIMUMCLUSTERMEMBERTIMEDISCREPENCYINMINUTES =
    "MaximumClusterMemberTimeDiscrepencyInMinutes";
const char *const KVSRegistry::REG_MAXPROCESSINGPACKAGES = "MaximumProcessingObjectPackages";
const char *const KVSRegistry::REG_METRICSLOGGINGBATCHSIZE = "MetricsLoggingBatchSize";
const char *const KVSRegistry::REG_METRICSLOGGINGINTERVAL = "MetricsLoggingInterval";
const char *const KVSRegistry::REG_MaximumObjectsToKeepInMemory = "MaximumObjectsToKeepInMemory";
const char *const KVSRegistry::REG_MaximumTimeToAccumulateClusterChangesInMinutes =
    "MaximumTimeToAccumulateClusterChangesInMinutes";
const char *const KVSRegistry::REG_NUMBEROFDATABASEQUEUETHREADS = "NumberOfDatabaseQueueThreads";
const char *const KVSRegistry::REG_RefreshPlugsAtMostEveryNSeconds = "RefreshPlugsAtMostEveryNSeconds";
const char *const KVSRegistry::REG_SINGLESIGNON_STATUS = "SingleSignon";
const char *const KVSRegistry::REG_ServerState_TimeoutForPing = "ServerState_TimeoutForPing";
const char *const KVSRegistry::REG_SizeOfTheLargestObjectAllowedInTheCacheInBytes =
    "SizeOfTheLargestObjectAllowedInTheCacheInBytes";
const char *const KVSRegistry::REG_THREADPOOL_SIZE = "ThreadPoolSize";
const char *const KVSRegistry::REG_THREADTIMEOUTMINUTES = "ThreadTimeoutAfterNMinutes";
const char *const KVSRegistry::REG_TIMEOUT_VALUE = "ConnectionTimeout";
const char *const KVSRegistry::REG_TOMBSTONES_BATCHCLEANUPTIME = "TombstonesBatchCleanUpTime";
const char *const KVSRegistry::REG_UPLOAD_PATH = "UploadPath";
const char *const KVSRegistry::REG_USEBLOCKINGCLUSTERNOTIFICATIONS = "UseBlockingClusterNotifications";
const char *const KVSRegistry::REG_WORKAROUNDORACLEBLOBACCESSLIMITATION = "WorkAroundOracleBlobAccessLimitation";

const char *const KVSRegistry::VALUE_TRUE = "true";
const char *const KVSRegistry::VALUE_FALSE = "false";
const char *const KVSRegistry::VALUE_YES = "yes";
const char *const KVSRegistry::VALUE_NO = "no";
const char *const KVSRegistry::VALUE_ONE = "1";
const char *const KVSRegistry::VALUE_ZERO = "0";

} // namespace TarnkitA201
