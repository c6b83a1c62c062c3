// Keys of the product family's settings: the machine-wide company key every
// component lives under, and the per-user key of the company's tools.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// The root of the company key: HKEY_LOCAL_MACHINE.
extern const HKEY companyRegistryHandle;

// "Software\Ostrand Group\10.5" under HKEY_LOCAL_MACHINE, then "\" and the
// sub-key when one is given.
class CompanyRegistry : public Registry {
public:
    explicit CompanyRegistry(const SAnsiString &subKey = SAnsiString());
    ~CompanyRegistry() override;

    // Adds "\" and the name to the key path.
    void appendKey(const SAnsiString &name);

protected:
    // "Software\Ostrand Group\10.5", the company key without a sub-key.
    static SAnsiString CompanyKeyPath();
};

// "Software\Halcyon Decisions" under HKEY_CURRENT_USER, then "\" and the
// sub-key when one is given.
class UserCompanyRegistry : public Registry {
public:
    explicit UserCompanyRegistry(const SAnsiString &subKey = SAnsiString());
    ~UserCompanyRegistry() override;

    void appendKey(const SAnsiString &name);

    using Registry::ReadValue;
    SAnsiString ReadValue(const SAnsiString &name);
    SAnsiString ReadValue(const SAnsiString &name, const SAnsiString &defaultValue);
    SAnsiString ReadValue(const SAnsiString &name, unsigned long defaultValue);
};

TARNKIT_NAMESPACE_END
