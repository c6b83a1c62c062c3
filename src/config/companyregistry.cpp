#include "tarnkit/registrykeys/companyregistry.h"

TARNKIT_NAMESPACE_BEGIN

const HKEY companyRegistryHandle = HKEY_LOCAL_MACHINE;

TARNKIT_NAMESPACE_END

namespace TarnkitA201 {

namespace {

const char kSoftwareKey[] = "Software\\";
const char kCompanyKey[] = "Ostrand Group\\10.5";
const char kUserCompanyKey[] = "Halcyon Decisions";

// The key name with "\" and the sub-key behind it when there is one, so an
// empty sub-key leaves no trailing separator.
SAnsiString WithSubKey(const char *key, const SAnsiString &subKey) {
    SAnsiString path(key);
    if (!subKey.isEmpty()) {
        path += "\\";
        path += subKey;
    }
    return path;
}

SAnsiString Appended(const SAnsiString &path, const SAnsiString &name) {
    SAnsiString joined(path);
    joined += "\\";
    joined += name;
    return joined;
}

} // namespace

CompanyRegistry::CompanyRegistry(const SAnsiString &subKey)
    : Registry(WithSubKey(kCompanyKey, subKey), SAnsiStringCI(kSoftwareKey), companyRegistryHandle) {}

CompanyRegistry::~CompanyRegistry() = default;

void CompanyRegistry::appendKey(const SAnsiString &name) { m_subKey = Appended(m_subKey, name); }

SAnsiString CompanyRegistry::CompanyKeyPath() {
    SAnsiString path(kSoftwareKey);
    path += kCompanyKey;
    return path;
}

UserCompanyRegistry::UserCompanyRegistry(const SAnsiString &subKey)
    : Registry(WithSubKey(kUserCompanyKey, subKey), SAnsiStringCI(kSoftwareKey), HKEY_CURRENT_USER) {}

UserCompanyRegistry::~UserCompanyRegistry() = default;

void UserCompanyRegistry::appendKey(const SAnsiString &name) { m_subKey = Appended(m_subKey, name); }

SAnsiString UserCompanyRegistry::ReadValue(const SAnsiString &name) { return Registry::ReadValue(name); }

SAnsiString UserCompanyRegistry::ReadValue(const SAnsiString &name, const SAnsiString &defaultValue) {
    return Registry::ReadValue(name, defaultValue);
}

SAnsiString UserCompanyRegistry::ReadValue(const SAnsiString &name, unsigned long defaultValue) {
    return Registry::ReadValue(name, defaultValue);
}

} // namespace TarnkitA201
