#include "tarnkit/ssystem.h"

#include "platform/system.h"

namespace TarnkitA201 {

unsigned long SSystem::NumberOfCPUs() noexcept { return Platform::OnlineProcessors(); }

} // namespace TarnkitA201
