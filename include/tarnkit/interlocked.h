// Interlocked 32-bit integers and the raw primitives under them. Reference
// counts of strings, buffers and CRefCount objects all go through here.
#pragma once

#include "tarnkit/platform.h"

TARNKIT_NAMESPACE_BEGIN

// Raw primitives on a word the caller owns. None of them spins.
class SInterlockedBase {
protected:
    SInterlockedBase() = default;

    static long asmExchangeAdd(int32_t *word, long value) noexcept {
        return __atomic_fetch_add(word, static_cast<int32_t>(value), __ATOMIC_SEQ_CST);
    }
    static long asmExchange(int32_t *word, long value) noexcept {
        return __atomic_exchange_n(word, static_cast<int32_t>(value), __ATOMIC_SEQ_CST);
    }
    // One attempt: 0 means the caller now holds the word.
    static long asmAcquireLock(int32_t *word) noexcept { return asmExchange(word, 1); }
    static void asmUnlock(int32_t *word) noexcept { asmExchange(word, 0); }
    static void asmInitLock(int32_t *word) noexcept { __atomic_store_n(word, 0, __ATOMIC_RELAXED); }
};

// The same primitives plus 64-bit exchange and add.
class SInterlockedBase64 : public SInterlockedBase {
protected:
    SInterlockedBase64() = default;
    using SInterlockedBase::asmExchange;
    using SInterlockedBase::asmExchangeAdd;

    static __int64 asmExchange(__int64 *word, __int64 value) noexcept {
        return __atomic_exchange_n(word, value, __ATOMIC_SEQ_CST);
    }
    static __int64 asmExchangeAdd(__int64 *word, __int64 value) noexcept {
        return __atomic_fetch_add(word, value, __ATOMIC_SEQ_CST);
    }
};

// A 32-bit signed counter. Arithmetic wraps in two's complement.
class SInterlockedInt32s : public SInterlockedBase {
public:
    constexpr SInterlockedInt32s(long value = 0) noexcept : m_value(static_cast<int32_t>(value)) {}
    SInterlockedInt32s(const SInterlockedInt32s &other) noexcept : m_value(static_cast<int32_t>(other.read())) {}
    SInterlockedInt32s &operator=(const SInterlockedInt32s &other) noexcept {
        plainStore(static_cast<int32_t>(other.read()));
        return *this;
    }

    void initialize(long value) noexcept { plainStore(static_cast<int32_t>(value)); }

    // Two reads one after the other: not one atomic step.
    bool operator==(const SInterlockedInt32s &other) const noexcept { return read() == other.read(); }

    long operator++() noexcept { return wrap(asmExchangeAdd(&m_value, 1) + 1); }
    long operator--() noexcept { return wrap(asmExchangeAdd(&m_value, -1) - 1); }
    long operator++(int) noexcept { return asmExchangeAdd(&m_value, 1); }
    long operator--(int) noexcept { return asmExchangeAdd(&m_value, -1); }
    long exchangeAdd(long value) noexcept { return asmExchangeAdd(&m_value, value); }
    long exchange(long value) noexcept { return asmExchange(&m_value, value); }

    // A locked add of 0 rather than a load: callers rely on the full barrier
    // when they test for sole ownership before writing.
    long read() const noexcept { return __atomic_fetch_add(&m_value, 0, __ATOMIC_SEQ_CST); }
    // A sequentially consistent load: ordered with every interlocked
    // operation on the counter, without a locked instruction.
    long orderedRead() const noexcept { return __atomic_load_n(&m_value, __ATOMIC_SEQ_CST); }
    long nonInterlockedRead() const noexcept { return __atomic_load_n(&m_value, __ATOMIC_RELAXED); }
    long nonInterlockedSet(long value) noexcept {
        long old = nonInterlockedRead();
        plainStore(static_cast<int32_t>(value));
        return old;
    }

private:
    static long wrap(long value) noexcept { return static_cast<int32_t>(static_cast<uint32_t>(value)); }
    void plainStore(int32_t value) noexcept { __atomic_store_n(&m_value, value, __ATOMIC_RELAXED); }

    mutable int32_t m_value;
};

// The unsigned twin; only the non-interlocked free functions take it.
class SInterlockedInt32u {
public:
    constexpr SInterlockedInt32u(unsigned long value = 0) noexcept : m_value(static_cast<uint32_t>(value)) {}
    unsigned long nonInterlockedRead() const noexcept { return __atomic_load_n(&m_value, __ATOMIC_RELAXED); }
    unsigned long nonInterlockedSet(unsigned long value) noexcept {
        unsigned long old = nonInterlockedRead();
        __atomic_store_n(&m_value, static_cast<uint32_t>(value), __ATOMIC_RELAXED);
        return old;
    }

private:
    uint32_t m_value;
};

inline long SInterlockedExchangeAdd(SInterlockedInt32s *target, long value) noexcept { return target->exchangeAdd(value); }
inline long SInterlockedExchange(SInterlockedInt32s *target, long value) noexcept { return target->exchange(value); }
inline long SNonInterlockedRead(const SInterlockedInt32s *target) noexcept { return target->nonInterlockedRead(); }
inline unsigned long SNonInterlockedRead(const SInterlockedInt32u *target) noexcept { return target->nonInterlockedRead(); }
inline long SNonInterlockedSet(SInterlockedInt32s *target, long value) noexcept { return target->nonInterlockedSet(value); }
inline unsigned long SNonInterlockedSet(SInterlockedInt32u *target, unsigned long value) noexcept {
    return target->nonInterlockedSet(value);
}

TARNKIT_NAMESPACE_END
