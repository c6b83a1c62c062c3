#include "tarnkit/sstringimpl.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

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

// Short strings' storage is recycled by the thread that drops them. Strings
// made on one thread and dropped on another, strings that outlive the thread
// that made them, and strings grown in place after their storage was
// recycled all keep their text.
TEST(SStringThreads, RecycledStorageCrossesThreads) {
    std::vector<SAnsiString> handedOver;
    std::thread maker([&] {
        for (int i = 0; i < 2000; ++i) {
            SAnsiString s("made on one thread #");
            s += SAnsiString(std::to_string(i).c_str());
            handedOver.push_back(s);
            SAnsiString dropped("dropped here, so its storage is kept for the next one");
        }
    });
    maker.join(); // the maker's spare storage goes when it ends
    std::thread dropper([&] {
        for (int i = 0; i < 2000; ++i) {
            ASSERT_EQ(std::string(handedOver[static_cast<size_t>(i)]), "made on one thread #" + std::to_string(i));
            handedOver[static_cast<size_t>(i)] = SAnsiString(); // recycled on this thread
        }
        for (int i = 0; i < 500; ++i) {
            SAnsiString s("short");
            for (int k = 0; k < 40; ++k) // grows well past the recycled block
                s += SChar_t<char, 0>(static_cast<char>('a' + k % 26));
            ASSERT_EQ(s.getLength(), 45u);
            ASSERT_EQ(std::string(s).substr(0, 8), "shortabc");
        }
    });
    dropper.join();
    SWCharString wide("wide text recycled too");
    SWCharString copy = wide;
    wide.empty();
    EXPECT_EQ(copy.getLength(), 22u);
}
