// The key of the transport settings, "Transport" below the company key.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// "...\Transport", then "\" and the name when one is given.
class TransportRegistry : public CompanyRegistry {
public:
    explicit TransportRegistry(const SAnsiString &name = SAnsiString());
    ~TransportRegistry() override;
};

TARNKIT_NAMESPACE_END
