// A text kept for comparing the texts callers pass in with it, as strcmp
// would, for the per-thread caches that check each call's text against the
// one before: a short text is compared in a few whole words rather than
// byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace TarnkitA201 {

class KeptText {
public:
    // Keeps `stable` (length bytes, which must outlive the keeping) and lays
    // a short one out in words as it lay at `seenAt`, which it must equal:
    // callers tend to pass their text from the same place each time.
    void keep(const char *stable, size_t length, const char *seenAt) noexcept {
        m_stable = stable;
        m_words = 0;
#if defined(__x86_64__)
        const size_t misalignment = reinterpret_cast<uintptr_t>(seenAt) % 8;
        if (length > kLongest)
            return;
        m_misalignment = static_cast<uint32_t>(misalignment);
        m_words = static_cast<uint32_t>((misalignment + length + 1 + 7) / 8);
        m_reach = 8 * m_words - m_misalignment;
        for (uint32_t i = 0; i < m_words; ++i) {
            unsigned char word[8] = {}, mask[8] = {};
            for (size_t j = 0; j < 8; ++j) {
                const size_t at = 8 * i + j; // from the word boundary before the text
                if (at >= misalignment && at - misalignment <= length) {
                    word[j] = static_cast<unsigned char>(stable[at - misalignment]);
                    mask[j] = 0xFF;
                }
            }
            std::memcpy(&m_word[i], word, 8);
            std::memcpy(&m_mask[i], mask, 8);
        }
#else
        (void)length;
        (void)seenAt;
#endif
    }
    void clear() noexcept { m_stable = nullptr; }
    bool empty() const noexcept { return m_stable == nullptr; }

    // Whether text reads the same as the kept text, its terminator included.
    bool matches(const char *text) const noexcept {
        const uintptr_t at = reinterpret_cast<uintptr_t>(text);
        if (m_words != 0 && at % 8 == m_misalignment && at % kPage + m_reach <= kPage) [[likely]] {
            const char *base = text - m_misalignment;
            uint64_t difference = 0;
            for (uint32_t i = 0; i < m_words; ++i)
                difference |= (AlignedWord(base + 8 * i) ^ m_word[i]) & m_mask[i];
            return difference == 0;
        }
        return std::strcmp(m_stable, text) == 0;
    }

private:
    static constexpr size_t kLongest = 31;
    static constexpr uintptr_t kPage = 4096; // the smallest page the processor maps
    static constexpr size_t kWords = 5;      // enough for the longest at any misalignment

    // An aligned word read beneath the language: it may hold bytes past the
    // end of the text it was read for. An aligned word never reaches into
    // another page, matches() keeps the words to the text's own page, and
    // those bytes are masked out; the read is invisible to the sanitizers,
    // which would take it for an overrun.
    static uint64_t AlignedWord(const char *at) noexcept {
        uint64_t word = 0;
#if defined(__x86_64__)
        asm volatile("movq (%1), %0" : "=r"(word) : "r"(at) : "memory");
#else
        (void)at;
#endif
        return word;
    }

    const char *m_stable = nullptr;
    uint32_t m_words = 0; // none: compared with strcmp
    uint32_t m_misalignment = 0;
    uintptr_t m_reach = 0; // bytes from the text's start to the end of its last word
    uint64_t m_word[kWords] = {};
    uint64_t m_mask[kWords] = {};
};

} // namespace TarnkitA201
