#include "tarnkit/registrykeys/configmgrregistry.h"

#include "tarnkit/sstringconv.h"
#include "tarnkit/strace.h"

namespace TarnkitA201 {

namespace {

constexpr unsigned long kStringType = 1;
constexpr unsigned long kExpandStringType = 2;
constexpr unsigned long kNumberType = 4;

// The class these texts name is another one's; callers search their logs
// for them as they are.
const char kBadServerKey[] = "SocksServerRegistry::Get Invalid value for server key";
const char kBadServiceName[] = "SocksServerRegistry::Get Invalid value for service name";
const char kBadPath[] = "SocksServerRegistry::Get Invalid value for path";
const char kBadDependency[] = "SocksServerRegistry::Get Invalid value for dependency";
const char kBadCommandLine[] = "SocksServerRegistry::Get Invalid value for command line";
const char kBadDependsOnEbus[] = "SocksServerRegistry::Get Invalid value for depend on ebus";

// A value can be read if it is there as text or as a number; its text may
// be empty. Its type is handed back for those that care.
bool ReadStoredValue(Registry &key, const char *name, SAnsiString &text, unsigned long &type) {
    type = 0;
    key.GetType(name, type);
    if (type != kStringType && type != kExpandStringType && type != kNumberType)
        return false;
    text = key.ReadValue(name);
    return true;
}

bool ReadText(Registry &key, const char *name, SAnsiString &text, const char *failureText) {
    unsigned long type = 0;
    if (ReadStoredValue(key, name, text, type))
        return true;
    TARNKIT_FAIL(failureText);
    return false;
}

// A number is true when not 0; a text is one of the yes and no words.
bool ParseFlag(const SAnsiString &text, unsigned long type, bool &flag) {
    if (type == kNumberType) {
        unsigned long number = 0;
        if (!SAnsiStringConv::FromString(text, number))
            return false;
        flag = number != 0;
        return true;
    }
    const SAnsiStringCI word(text);
    if (word == "true" || word == "yes" || word == "1") {
        flag = true;
        return true;
    }
    if (word == "false" || word == "no" || word == "0") {
        flag = false;
        return true;
    }
    return false;
}

bool ReadFlag(Registry &key, const char *name, bool &flag, const char *failureText) {
    SAnsiString text;
    unsigned long type = 0;
    if (ReadStoredValue(key, name, text, type) && ParseFlag(text, type, flag))
        return true;
    TARNKIT_FAIL(failureText);
    return false;
}

// The last name of a key path.
SAnsiString LastKeyName(const SAnsiString &path) {
    const char *text = path.getString();
    size_t start = path.getLength();
    while (start > 0 && text[start - 1] != '\\')
        --start;
    return SAnsiString(text + start, path.getLength() - start);
}

bool ReadServer(Registry &key, const SAnsiString &keyName, ConfigMgrRegistry::ServerType &server) {
    if (!key.KeyExists()) {
        TARNKIT_FAIL(kBadServerKey);
        return false;
    }
    ConfigMgrRegistry::ServerType read;
    read.serverKey = keyName;
    if (!ReadText(key, "ServiceName", read.serviceName, kBadServiceName) ||
        !ReadText(key, "Path", read.path, kBadPath) ||
        !ReadText(key, "Dependency", read.dependency, kBadDependency) ||
        !ReadText(key, "CommandLine", read.commandLine, kBadCommandLine) ||
        !ReadFlag(key, "IsDependsOnEbus", read.dependsOnEbus, kBadDependsOnEbus))
        return false;
    server = read;
    return true;
}

} // namespace

bool ConfigMgrRegistry::ServerType::operator==(const ServerType &other) const {
    return serverKey == other.serverKey && serviceName == other.serviceName && path == other.path &&
           dependency == other.dependency && commandLine == other.commandLine &&
           dependsOnEbus == other.dependsOnEbus;
}

ConfigMgrRegistry::ConfigMgrRegistry(const SAnsiString &name) : CompanyRegistry("Config Manager") {
    if (!name.isEmpty())
        appendKey(name);
}

ConfigMgrRegistry::~ConfigMgrRegistry() = default;

bool ConfigMgrRegistry::Get(ServerType &server) { return ReadServer(*this, LastKeyName(m_subKey), server); }

bool ConfigMgrRegistry::Get(SIArray<ServerType> &servers) {
    for (KeyIterator it = EnumSubKeys(); it; ++it) {
        SAnsiString path(m_subKey);
        path += "\\";
        path += it.GetKey();
        Registry key(path, SAnsiStringCI(), m_root);
        ServerType server;
        if (!ReadServer(key, it.GetKey(), server))
            return false;
        servers.Add(server);
    }
    return true;
}

} // namespace TarnkitA201
