// The component keys that are the company key, a fixed component name and
// the caller's name below it.
#include "tarnkit/registrykeys/ambryregistry.h"
#include "tarnkit/registrykeys/loggingregistry.h"
#include "tarnkit/registrykeys/sharedtoolsregistry.h"
#include "tarnkit/registrykeys/transportregistry.h"

namespace TarnkitA201 {

namespace {

// The caller's name goes below the component's key; none leaves the
// component's own key, without a trailing separator.
void AppendName(CompanyRegistry &key, const SAnsiString &name) {
    if (!name.isEmpty())
        key.appendKey(name);
}

} // namespace

TransportRegistry::TransportRegistry(const SAnsiString &name) : CompanyRegistry("Transport") {
    AppendName(*this, name);
}
TransportRegistry::~TransportRegistry() = default;

SharedToolsRegistry::SharedToolsRegistry(const SAnsiString &name) : CompanyRegistry("Shared Tools") {
    AppendName(*this, name);
}
SharedToolsRegistry::~SharedToolsRegistry() = default;

LoggingRegistry::LoggingRegistry(const SAnsiString &name) : CompanyRegistry("Logging") { AppendName(*this, name); }
LoggingRegistry::~LoggingRegistry() = default;

AmbryRegistry::AmbryRegistry(const SAnsiString &name) : CompanyRegistry("Ambry") { AppendName(*this, name); }
AmbryRegistry::~AmbryRegistry() = default;

OptionsRegistry::OptionsRegistry(const SAnsiString &name) : AmbryRegistry("Options") { AppendName(*this, name); }
OptionsRegistry::~OptionsRegistry() = default;

InfoHelpRegistry::InfoHelpRegistry() : AmbryRegistry("Help") {}
InfoHelpRegistry::~InfoHelpRegistry() = default;

} // namespace TarnkitA201
