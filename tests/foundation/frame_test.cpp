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
#include <vector>

using namespace TarnkitA201;

namespace {

class Word : public SInterlockedBase64 {
public:
    using SInterlockedBase64::asmAcquireLock;
    using SInterlockedBase64::asmExchange;
    using SInterlockedBase64::asmExchangeAdd;
    using SInterlockedBase64::asmInitLock;
    using SInterlockedBase64::asmUnlock;
};

TEST(Interlocked, PrimitivesReturnPreviousValues) {
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
}

TEST(Interlocked, Int32WrapsAndReportsOldOrNew) {
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

    SInterlockedInt32s copy(value);
    EXPECT_TRUE(copy == value);
    SInterlockedInt32u unsignedValue(UINT32_MAX);
    EXPECT_EQ(SNonInterlockedSet(&unsignedValue, 4UL), 4294967295UL);
    EXPECT_EQ(SNonInterlockedRead(&unsignedValue), 4UL);
}

TEST(Interlocked, ConcurrentIncrementsAreNotLost) {
    SInterlockedInt32s counter(0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 100000; ++i)
                ++counter;
        });
    for (auto &thread : threads)
        thread.join();
    EXPECT_EQ(counter.read(), 400000);
}

class Counted : public CRefCount {
public:
    explicit Counted(int *deaths) : m_deaths(deaths) {}
    Counted(const Counted &other) = default;
    using CRefCount::operator=;
    void clear() const { clearRefCount(); }
    ~Counted() override { ++*m_deaths; }

private:
    int *m_deaths;
};

TEST(RefCount, LastReleaseDeletesAndSmartPointersShare) {
    int deaths = 0;
    {
        CSmartRefCountPtr<Counted> first(new Counted(&deaths));
        EXPECT_EQ(first->getCount(), 1);
        CSmartRefCountPtr<Counted> second(first);
        EXPECT_EQ(first->getCount(), 2);
        CSmartRefCountPtr<Counted> third;
        third = second;
        EXPECT_EQ(first->getCount(), 3);
        third = nullptr;
        second = std::move(third);
        EXPECT_EQ(first->getCount(), 1);
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1);
}

TEST(RefCount, CopyStartsAtOneAndAssignmentTakesTheCount) {
    int deaths = 0;
    TarnkitTest::CapturingSink sink;
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
    EXPECT_EQ(deaths, 1);
    EXPECT_TRUE(sink.texts().empty()) << "objects that reached 0 pass the destructor's check";
}

TEST(RefCount, DestroyedWithLiveCountIsReportedAndGoesOn) {
    int deaths = 0;
    TarnkitTest::CapturingSink sink;
    { Counted onStack(&deaths); }
    EXPECT_EQ(deaths, 1);
    ASSERT_EQ(sink.texts().size(), 1u);
    EXPECT_NE(sink.texts()[0].find("SNonInterlockedRead(&m_lRefCount) == 0"), std::string::npos);
}

TEST(RefCount, TwoThreadsCountingOneObject) {
    int deaths = 0;
    CSmartRefCountPtr<Counted> shared(new Counted(&deaths));
    auto churn = [&] {
        for (int i = 0; i < 50000; ++i) {
            CSmartRefCountPtr<Counted> copy(shared);
        }
    };
    std::thread a(churn), b(churn);
    a.join();
    b.join();
    EXPECT_EQ(shared->getCount(), 1);
    shared = nullptr;
    EXPECT_EQ(deaths, 1);
}

TEST(Locks, SpinLockAndCriticalSectionExcludeEachOther) {
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
    std::thread a(work), b(work);
    a.join();
    b.join();
    EXPECT_EQ(spinGuarded, 40000);
    EXPECT_EQ(sectionGuarded, 40000);
    EXPECT_FALSE(spin.isHeld());
}

TEST(Locks, SpinCountFollowsTheProcessorCount) {
    EXPECT_EQ(SSpinLock::SpinCountForThisMachine(), SSystem::NumberOfCPUs() < 2 ? 1u : 100u);
    std::atomic<bool> ready{false};
    SSpinLock lock;
    int builds = 0;
    for (int i = 0; i < 3; ++i)
        BuildOnce(ready, lock, [&] { ++builds; });
    EXPECT_EQ(builds, 1);
}

Platform::OsVersion g_fakeVersion;
bool g_fakeOk = true;
bool FakeProbe(Platform::OsVersion &version) {
    if (g_fakeOk)
        version = g_fakeVersion;
    return g_fakeOk;
}

class PlatformProbe : public ::testing::Test {
protected:
    void SetUp() override { m_previous = SetOsVersionProbe(&FakeProbe); }
    void TearDown() override { SetOsVersionProbe(m_previous); }
    void present(unsigned long id, unsigned long major, unsigned long minor) {
        g_fakeOk = true;
        g_fakeVersion = {id, major, minor};
    }
    OsVersionProbe m_previous = nullptr;
};

TEST_F(PlatformProbe, VersionsCompareExactly) {
    present(2, 5, 1); // reads as 5.01
    EXPECT_TRUE(SPlat::IsWinNT(0.0));
    EXPECT_TRUE(SPlat::IsWinNT(5.01));
    EXPECT_FALSE(SPlat::IsWinNT(5.0));
    EXPECT_FALSE(SPlat::IsWinNT(5.1));
    EXPECT_TRUE(SPlat::IsWin2K(0.0));
    EXPECT_FALSE(SPlat::IsWin95(0.0));

    present(2, 4, 0);
    EXPECT_FALSE(SPlat::IsWin2K(4.0)) << "below 5.0 is never the 2000 family";
    EXPECT_FALSE(SPlat::IsWin2K(0.0));

    present(1, 4, 10);
    EXPECT_TRUE(SPlat::IsWin95(4.10));
    EXPECT_FALSE(SPlat::IsWinNT(0.0));
}

TEST_F(PlatformProbe, FailedProbeAssertsAndAnswersFalse) {
    TarnkitTest::CapturingSink sink;
    g_fakeOk = false;
    EXPECT_FALSE(SPlat::IsWinNT(0.0));
    EXPECT_FALSE(SPlat::IsWin95(0.0));
    EXPECT_TRUE(sink.saw("GetVersionExA(&osinfo)"));
}

TEST(PlatformProbeReal, LinuxReportsTheNtFamily) {
    EXPECT_TRUE(SPlat::IsWinNT(0.0));
    EXPECT_FALSE(SPlat::IsWin95(0.0));
}

TEST(Frame, ErrorTextsComeFromTheSystem) {
    EXPECT_STREQ(GetWin32Error(ENOENT), std::strerror(ENOENT));
    EXPECT_STREQ(GetWin32Error(0), std::strerror(0));
    EXPECT_TRUE(GetWin32Error(987654).isEmpty()) << "a number with no text";
    errno = EACCES;
    EXPECT_STREQ(GetWin32Error(0xFFFFFFFFUL), std::strerror(EACCES)) << "all ones means the last error";
}

TEST(Frame, WindowInstanceSlotAndDelayLoad) {
    EXPECT_EQ(GetWindowHInstance(), nullptr);
    auto *handle = reinterpret_cast<HINSTANCE__ *>(0x1234);
    SetWindowHInstance(handle);
    EXPECT_EQ(GetWindowHInstance(), handle);
    SetWindowHInstance(nullptr);
    EXPECT_TRUE(InitDelayLoad());
}

TEST(Frame, ExceptionCarriesItsMessage) {
    try {
        throw SException(SAnsiString("broken"));
    } catch (const SException &e) {
        EXPECT_STREQ(e.getMessage(), "broken");
    }
}

TEST(Stopwatch, CountsInTheChosenUnitAndExpiresStrictly) {
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
}

} // namespace
