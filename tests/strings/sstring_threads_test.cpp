#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <thread>

using namespace TarnkitA201;

namespace {

template <class S>
long CountOf(const S &s) {
    struct Peek : S {
        explicit Peek(const S &s) : S(s) {}
        long count() const { return this->getBuffer()->refCount.nonInterlockedRead(); }
    };
    return Peek(s).count() - 1;
}

} // namespace

// Two threads copy one shared string, edit their copies and drop them; the
// shared text never changes and the count comes back to one.
TEST(SStringThreads, SharedBufferAcrossThreads) {
    SAnsiString shared("shared text that both threads copy");
    SWCharString wide(shared.getString()); // the wide kind shares the same way
    auto work = [&](char mark) {
        for (int i = 0; i < 20000; ++i) {
            SAnsiString copy(shared);
            SAnsiString other = copy;
            if (i % 3 == 0) {
                other += SChar_t<char, 0>(mark);
                other.setAt(0, SChar_t<char, 0>(mark));
                ASSERT_EQ(other.getString()[0], mark);
            }
            SWCharString w(wide);
            if (i % 5 == 0)
                w.toUpper();
            ASSERT_EQ(copy.compareBinary(shared), 0);
        }
    };
    std::thread a(work, 'a'), b(work, 'b');
    a.join();
    b.join();
    EXPECT_STREQ(shared.getString(), "shared text that both threads copy");
    EXPECT_EQ(CountOf(shared), 1);
    EXPECT_EQ(CountOf(wide), 1);
}
