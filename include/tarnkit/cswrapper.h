// The library's plain mutual exclusion: a lock that is recursive on the
// owning thread.
#pragma once

#include "tarnkit/platform.h"

#include <pthread.h>

TARNKIT_NAMESPACE_BEGIN

class CS_Wrapper {
public:
    CS_Wrapper() noexcept;
    ~CS_Wrapper();
    // A copy is a fresh, unlocked lock, and assignment leaves this lock as
    // it is: duplicating a live lock's bytes would be undefined.
    CS_Wrapper(const CS_Wrapper &) noexcept : CS_Wrapper() {}
    CS_Wrapper &operator=(const CS_Wrapper &) noexcept { return *this; }

    void Lock() noexcept;
    void Unlock() noexcept;

private:
    pthread_mutex_t m_mutex;
};

// Holds a CS_Wrapper for the life of a scope.
class CS_Locker {
public:
    explicit CS_Locker(CS_Wrapper &lock) noexcept : m_lock(lock) { m_lock.Lock(); }
    ~CS_Locker() { m_lock.Unlock(); }
    CS_Locker(const CS_Locker &) = delete;
    CS_Locker &operator=(const CS_Locker &) = delete;

private:
    CS_Wrapper &m_lock;
};

TARNKIT_NAMESPACE_END
