// The key of the logging settings, "Logging" below the company key.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// "...\Logging", then "\" and the name when one is given.
class LoggingRegistry : public CompanyRegistry {
public:
    explicit LoggingRegistry(const SAnsiString &name = SAnsiString());
    ~LoggingRegistry() override;
};

TARNKIT_NAMESPACE_END
