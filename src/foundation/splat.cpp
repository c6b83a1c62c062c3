#include "tarnkit/splat.h"

#include "foundation/osversion.h"
#include "tarnkit/strace.h"

#include <atomic>

namespace TarnkitA201 {

namespace {

constexpr unsigned long kFamily9x = 1;
constexpr unsigned long kFamilyNT = 2;

std::atomic<OsVersionProbe> g_probe{nullptr};
std::atomic<HINSTANCE__ *> g_windowInstance{nullptr};

// Asked afresh on every call, as a system can be upgraded under a long-lived
// process. A failed probe leaves the zeroed structure, which answers false.
Platform::OsVersion queryVersion() {
    Platform::OsVersion version;
    OsVersionProbe probe = g_probe.load(std::memory_order_acquire);
    bool ok = probe ? probe(version) : Platform::QueryOsVersion(version);
    TARNKIT_ASSERT_EXPR(ok, "GetVersionExA(&osinfo)");
    return version;
}

double runningVersion(const Platform::OsVersion &version) {
    return static_cast<double>(version.major) + static_cast<double>(version.minor) / 100.0;
}

bool versionMatches(double wanted, const Platform::OsVersion &version) {
    return wanted == 0.0 || wanted == runningVersion(version);
}

} // namespace

OsVersionProbe SetOsVersionProbe(OsVersionProbe probe) noexcept { return g_probe.exchange(probe); }

bool SPlat::IsWinNT(double version) {
    Platform::OsVersion running = queryVersion();
    return running.platformId == kFamilyNT && versionMatches(version, running);
}

bool SPlat::IsWin95(double version) {
    Platform::OsVersion running = queryVersion();
    return running.platformId == kFamily9x && versionMatches(version, running);
}

bool SPlat::IsWin2K(double version) {
    Platform::OsVersion running = queryVersion();
    return running.platformId == kFamilyNT && runningVersion(running) >= 5.0 && versionMatches(version, running);
}

void SetWindowHInstance(HINSTANCE__ *instance) noexcept { g_windowInstance.store(instance); }

HINSTANCE__ *GetWindowHInstance() noexcept { return g_windowInstance.load(); }

bool InitDelayLoad() noexcept { return true; }

} // namespace TarnkitA201
