// The key of the data-source settings, "Software\ODBC" under
// HKEY_LOCAL_MACHINE, kept in the library's own settings store.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class ODBCRegistry : public Registry {
public:
    ODBCRegistry();
    ~ODBCRegistry() override;

    // Adds "\" and the name to the key path.
    void appendKey(const SAnsiString &name);

    using Registry::ReadValue;
    SAnsiString ReadValue(const SAnsiString &name);
    SAnsiString ReadValue(const SAnsiString &name, const SAnsiString &defaultValue);
    SAnsiString ReadValue(const SAnsiString &name, unsigned long defaultValue);
};

TARNKIT_NAMESPACE_END
