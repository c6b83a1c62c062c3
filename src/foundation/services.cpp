#include "foundation/services.h"

#include <atomic>

namespace TarnkitA201 {

namespace {
std::atomic<IDiagnosticsSink *> g_diagnosticsSink{nullptr};
std::atomic<StackWalkFunction> g_stackWalker{nullptr};
std::atomic<ResourceStringLoader> g_resourceStringLoader{nullptr};
} // namespace

IDiagnosticsSink *SetDiagnosticsSink(IDiagnosticsSink *sink) noexcept { return g_diagnosticsSink.exchange(sink); }
IDiagnosticsSink *GetDiagnosticsSink() noexcept { return g_diagnosticsSink.load(std::memory_order_acquire); }
StackWalkFunction SetStackWalker(StackWalkFunction walker) noexcept { return g_stackWalker.exchange(walker); }
StackWalkFunction GetStackWalker() noexcept { return g_stackWalker.load(std::memory_order_acquire); }
ResourceStringLoader SetResourceStringLoader(ResourceStringLoader loader) noexcept {
    return g_resourceStringLoader.exchange(loader);
}
ResourceStringLoader GetResourceStringLoader() noexcept { return g_resourceStringLoader.load(std::memory_order_acquire); }

} // namespace TarnkitA201
