// The frame: atomics, reference counts, the spin lock, the platform probe,
// error texts and the stopwatch.
#include "foundation/osversion.h"
#include "foundation/sspinlock.h"
#include "support/testsupport.h"
#include "tarnkit/cswrapper.h"
#include "tarnkit/refcount.h"
#include "tarnkit/sexception.h"
#include "tarnkit/splat.h"
#include "tarnkit/stimer.h"
#include "tarnkit/ssystem.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <thread>
#include <tuple>

using namespace TarnkitA201;

namespace {

struct Word : SInterlockedBase64 {
    using SInterlockedBase64::asmAcquireLock, SInterlockedBase64::asmExchange, SInterlockedBase64::asmExchangeAdd,
        SInterlockedBase64::asmInitLock, SInterlockedBase64::asmUnlock;
};

TEST(AtomicsAndLocks, PrimitivesWrapReportOldOrNewAndLoseNoUpdate) {
    int32_t word = 5;
    EXPECT_EQ(Word::asmExchangeAdd(&word, 3), 5);
    EXPECT_EQ(Word::asmExchange(&word, 1), 8);
    EXPECT_EQ(Word::asmAcquireLock(&word), 1) << "a held word stays held";
    EXPECT_EQ(word, 1);
    Word::asmUnlock(&word);
    EXPECT_EQ(Word::asmAcquireLock(&word), 0);
    Word::asmInitLock(&word);
    EXPECT_EQ(word, 0);

    __int64 wide = 1LL << 40;
    EXPECT_EQ(Word::asmExchangeAdd(&wide, 1), 1LL << 40);
    EXPECT_EQ(Word::asmExchange(&wide, 7), (1LL << 40) + 1);
    EXPECT_EQ(wide, 7);

    SInterlockedInt32s value(INT32_MAX);
    EXPECT_EQ(++value, INT32_MIN) << "wraps in two's complement";
    EXPECT_EQ(value--, INT32_MIN);
    EXPECT_EQ(value.read(), INT32_MAX);
    EXPECT_EQ(value.exchange(10), INT32_MAX);
    EXPECT_EQ(value.exchangeAdd(5), 10);
    EXPECT_EQ(value.nonInterlockedSet(1), 15);
    EXPECT_EQ(SNonInterlockedRead(&value), 1);
    EXPECT_EQ(SInterlockedExchangeAdd(&value, 2), 1);
    EXPECT_EQ(SInterlockedExchange(&value, 0), 3);
    EXPECT_TRUE(SInterlockedInt32s(value) == value);
    SInterlockedInt32u unsignedValue(UINT32_MAX);
    EXPECT_EQ(SNonInterlockedSet(&unsignedValue, 4UL), 4294967295UL);
    EXPECT_EQ(SNonInterlockedRead(&unsignedValue), 4UL);

    SInterlockedInt32s counter(0);
    auto increments = [&] {
        for (int i = 0; i < 100000; ++i)
            ++counter;
    };
    { std::jthread a(increments), b(increments), c(increments), d(increments); }
    EXPECT_EQ(counter.read(), 400000);

    // Locks: the spin lock and the critical section exclude each other.
    SSpinLock spin;
    CS_Wrapper section;
    long spinGuarded = 0, sectionGuarded = 0;
    auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            spin.acquire();
            ++spinGuarded;
            spin.release();
            section.Lock();
            section.Lock(); // recursive on the owning thread
            ++sectionGuarded;
            section.Unlock();
            section.Unlock();
        }
    };
    { std::jthread a(work), b(work); }
    EXPECT_EQ(spinGuarded, 40000);
    EXPECT_EQ(sectionGuarded, 40000);
    EXPECT_FALSE(spin.isHeld());

    EXPECT_EQ(SSpinLock::SpinCountForThisMachine(), SSystem::NumberOfCPUs() < 2 ? 1u : 100u);
    std::atomic<bool> ready{false};
    int builds = 0;
    for (int i = 0; i < 3; ++i)
        BuildOnce(ready, spin, [&] { ++builds; });
    EXPECT_EQ(builds, 1);
}

struct Counted : CRefCount {
    explicit Counted(int *deaths) : m_deaths(deaths) {}
    void clear() const { clearRefCount(); }
    ~Counted() override { ++*m_deaths; }
    int *m_deaths;
};

TEST(RefCount, SmartPointersShareCopiesStartAtOneAndTheLastReleaseDeletes) {
    int deaths = 0;
    TarnkitTest::CapturingSink sink;
    {
        CSmartRefCountPtr<Counted> first(new Counted(&deaths));
        EXPECT_EQ(first->getCount(), 1);
        CSmartRefCountPtr<Counted> second(first), third;
        EXPECT_EQ(first->getCount(), 2);
        third = second;
        EXPECT_EQ(first->getCount(), 3);
        third = nullptr;
        second = std::move(third);
        EXPECT_EQ(first->getCount(), 1);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);

    Counted *source = new Counted(&deaths);
    source->addRef();
    source->addRef();
    Counted copy(*source);
    EXPECT_EQ(copy.getCount(), 1);
    copy = *source;
    EXPECT_EQ(copy.getCount(), 3);
    copy.clear();
    source->release();
    source->release();
    EXPECT_EQ(source->release(), 0);
    EXPECT_EQ(deaths, 2);
    EXPECT_TRUE(sink.texts().empty()) << "objects that reached 0 pass the destructor's check";

    // Destroyed with a live count: reported, and destroyed all the same.
    { Counted onStack(&deaths); }
    EXPECT_EQ(deaths, 3);
    ASSERT_EQ(sink.texts().size(), 1u);
    EXPECT_NE(sink.texts()[0].find("SNonInterlockedRead(&m_lRefCount) == 0"), std::string::npos);

    // Two threads counting one object.
    CSmartRefCountPtr<Counted> shared(new Counted(&deaths));
    auto churn = [&] {
        for (int i = 0; i < 50000; ++i)
            CSmartRefCountPtr<Counted> copy(shared);
    };
    { std::jthread a(churn), b(churn); }
    EXPECT_EQ(shared->getCount(), 1);
    shared = nullptr;
    EXPECT_EQ(deaths, 4);
}

Platform::OsVersion g_fakeVersion; // a platform id of 0 makes the probe fail

TEST(Frame, ErrorTextsWindowSlotDelayLoadExceptionStopwatchAndPlatformProbe) {
    EXPECT_STREQ(GetWin32Error(ENOENT), std::strerror(ENOENT));
    EXPECT_STREQ(GetWin32Error(0), std::strerror(0));
    EXPECT_TRUE(GetWin32Error(987654).isEmpty()) << "a number with no text";
    errno = EACCES;
    EXPECT_STREQ(GetWin32Error(0xFFFFFFFFUL), std::strerror(EACCES)) << "all ones means the last error";

    EXPECT_EQ(GetWindowHInstance(), nullptr);
    SetWindowHInstance(reinterpret_cast<HINSTANCE__ *>(0x1234));
    EXPECT_EQ(GetWindowHInstance(), reinterpret_cast<HINSTANCE__ *>(0x1234));
    SetWindowHInstance(nullptr);
    EXPECT_TRUE(InitDelayLoad());

    EXPECT_STREQ(SException(SAnsiString("broken")).getMessage(), "broken");

    // The stopwatch counts in the chosen unit and expires strictly.
    SStopwatch watch(1000.0);
    watch.start();
    EXPECT_FALSE(watch.expired()) << "no limit, never expired";
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    double ms = watch.elapsed();
    EXPECT_GE(ms, 19.0);
    EXPECT_LT(ms, 5000.0);
    watch.setLimit(static_cast<long>(ms) + 100000);
    EXPECT_FALSE(watch.expired());
    watch.setLimit(5);
    EXPECT_TRUE(watch.expired());
    watch.clearLimit();
    EXPECT_FALSE(watch.expired());

    EXPECT_TRUE(SPlat::IsWinNT(0.0)) << "Linux reports the NT family";
    EXPECT_FALSE(SPlat::IsWin95(0.0));

    OsVersionProbe previous = SetOsVersionProbe([](Platform::OsVersion &version) {
        version = g_fakeVersion;
        return version.platformId != 0;
    });
    // Platform 2 version 5.1 reads as 5.01; below 5.0 is never the 2000
    // family; platform 1 is the 95 family; a failed probe is neither.
    TarnkitTest::CapturingSink sink;
    const auto nt = &SPlat::IsWinNT, win2k = &SPlat::IsWin2K, win95 = &SPlat::IsWin95;
    for (auto [platform, major, minor, query, version, expected] :
         {std::tuple{2ul, 5ul, 1ul, nt, 0.0, true}, {2, 5, 1, nt, 5.01, true}, {2, 5, 1, nt, 5.0, false},
          {2, 5, 1, nt, 5.1, false}, {2, 5, 1, win2k, 0.0, true}, {2, 5, 1, win95, 0.0, false},
          {2, 4, 0, win2k, 4.0, false}, {2, 4, 0, win2k, 0.0, false}, {1, 4, 10, win95, 4.10, true},
          {1, 4, 10, nt, 0.0, false}, {0, 0, 0, nt, 0.0, false}, {0, 0, 0, win95, 0.0, false}}) {
        g_fakeVersion = {platform, major, minor};
        EXPECT_EQ(query(version), expected) << platform << " " << major << "." << minor << " asked " << version;
    }
    EXPECT_TRUE(sink.saw("GetVersionExA(&osinfo)"));
    SetOsVersionProbe(previous);
}

} // namespace
