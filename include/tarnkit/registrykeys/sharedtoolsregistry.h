// The key of the tools shared by the product family, "Shared Tools" below
// the company key; each tool keeps its install "Path" under its own name.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// "...\Shared Tools", then "\" and the name when one is given.
class SharedToolsRegistry : public CompanyRegistry {
public:
    explicit SharedToolsRegistry(const SAnsiString &name = SAnsiString());
    ~SharedToolsRegistry() override;
};

TARNKIT_NAMESPACE_END
