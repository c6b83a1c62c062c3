#include "foundation/keptext.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

using namespace TarnkitA201;

namespace {

// Two pages with the second unreadable, so that any read past the first
// page's end faults.
class GuardedPage {
public:
    GuardedPage() {
        m_size = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        void *p = mmap(nullptr, 2 * m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED)
            return;
        m_base = static_cast<char *>(p);
        mprotect(m_base + m_size, m_size, PROT_NONE);
    }
    ~GuardedPage() {
        if (m_base != nullptr)
            munmap(m_base, 2 * m_size);
    }
    bool ok() const { return m_base != nullptr; }
    // Places text so that its terminator is the first page's last byte.
    const char *atEnd(const std::string &text) {
        char *at = m_base + m_size - text.size() - 1;
        std::memcpy(at, text.c_str(), text.size() + 1);
        return at;
    }

private:
    char *m_base = nullptr;
    size_t m_size = 0;
};

} // namespace

TEST(KeptText, AgreesWithStrcmpAtEveryLengthPlaceAndDifference) {
    // Every kept length around the word sizes, every misalignment of the
    // compared text, and texts that differ at each byte, are shorter or
    // are longer.
    alignas(64) char storage[128];
    for (size_t length = 0; length <= 40; ++length) {
        std::string kept;
        for (size_t i = 0; i < length; ++i)
            kept += static_cast<char>('a' + i % 26);
        for (size_t misalignment = 0; misalignment < 8; ++misalignment) {
            char *at = storage + misalignment;
            std::memcpy(at, kept.c_str(), length + 1);
            KeptText k;
            k.keep(kept.c_str(), length, at);
            ASSERT_TRUE(k.matches(at)) << length << " at " << misalignment;
            for (size_t other = 0; other < 8; ++other) { // the same text elsewhere
                std::memmove(storage + other, kept.c_str(), length + 1);
                ASSERT_TRUE(k.matches(storage + other)) << length << " moved to " << other;
            }
            std::memcpy(at, kept.c_str(), length + 1);
            std::memset(at + length + 1, 'x', 16); // bytes past the end are not looked at
            ASSERT_TRUE(k.matches(at));
            for (size_t i = 0; i <= length; ++i) {
                const char saved = at[i];
                at[i] = static_cast<char>(saved == 'Z' ? 'Y' : 'Z');
                ASSERT_FALSE(k.matches(at)) << length << " changed at " << i;
                at[i] = 0;
                ASSERT_EQ(k.matches(at), i == length) << length << " cut at " << i;
                at[i] = saved;
            }
        }
    }
}

TEST(KeptText, NeverReadsIntoTheNextPage) {
    GuardedPage page;
    ASSERT_TRUE(page.ok());
    const std::string pattern = "yyyy-MM-dd HH:mm:ss";
    for (size_t cut = 0; cut <= pattern.size(); ++cut) {
        // The kept text laid out for the place the short text now ends a page.
        const std::string shorter = pattern.substr(0, cut);
        const char *at = page.atEnd(shorter);
        KeptText k;
        k.keep(pattern.c_str(), pattern.size(), at);
        EXPECT_EQ(k.matches(at), cut == pattern.size()) << cut;
        KeptText same;
        same.keep(shorter.c_str(), shorter.size(), at);
        EXPECT_TRUE(same.matches(at)) << cut;
    }
}
