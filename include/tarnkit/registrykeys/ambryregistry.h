// The keys of the Ambry component: its own key, its options and its help.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registrykeys/companyregistry.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// "...\Ambry", then "\" and the name when one is given.
class AmbryRegistry : public CompanyRegistry {
public:
    explicit AmbryRegistry(const SAnsiString &name = SAnsiString());
    ~AmbryRegistry() override;
};

// "...\Ambry\Options", then "\" and the name when one is given.
class OptionsRegistry : public AmbryRegistry {
public:
    explicit OptionsRegistry(const SAnsiString &name = SAnsiString());
    ~OptionsRegistry() override;
};

// "...\Ambry\Help".
class InfoHelpRegistry : public AmbryRegistry {
public:
    InfoHelpRegistry();
    ~InfoHelpRegistry() override;
};

TARNKIT_NAMESPACE_END
