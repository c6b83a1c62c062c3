#include "tarnkit/registrykeys/odbcregistry.h"

namespace TarnkitA201 {

ODBCRegistry::ODBCRegistry() : Registry(SAnsiStringCI("ODBC"), SAnsiStringCI("Software\\"), HKEY_LOCAL_MACHINE) {}

ODBCRegistry::~ODBCRegistry() = default;

void ODBCRegistry::appendKey(const SAnsiString &name) {
    SAnsiString path(m_subKey);
    path += "\\";
    path += name;
    m_subKey = path;
}

SAnsiString ODBCRegistry::ReadValue(const SAnsiString &name) { return Registry::ReadValue(name); }

SAnsiString ODBCRegistry::ReadValue(const SAnsiString &name, const SAnsiString &defaultValue) {
    return Registry::ReadValue(name, defaultValue);
}

SAnsiString ODBCRegistry::ReadValue(const SAnsiString &name, unsigned long defaultValue) {
    return Registry::ReadValue(name, defaultValue);
}

} // namespace TarnkitA201
