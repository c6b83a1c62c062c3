// Intrusive reference counting: objects that live through CSmartRefCountPtr
// and delete themselves on their last release.
#pragma once

#include "tarnkit/interlocked.h"

TARNKIT_NAMESPACE_BEGIN

class CRefCount {
public:
    // A new object, and a copy, start at 1 whatever the source held.
    CRefCount() noexcept : m_lRefCount(1) {}
    CRefCount(const CRefCount &) noexcept : m_lRefCount(1) {}
    // Assignment takes over the source's count: assign only objects that no
    // smart pointer holds.
    CRefCount &operator=(const CRefCount &other) noexcept {
        m_lRefCount.initialize(other.m_lRefCount.read());
        return *this;
    }

    virtual long addRef() const noexcept { return ++m_lRefCount; }
    // Deletes the object when the count reaches 0.
    virtual long release() const noexcept;
    long getCount() const noexcept { return m_lRefCount.read(); }

protected:
    virtual ~CRefCount();
    // For objects that live by value (statics, members, the stack), so that
    // they pass the destructor's check.
    void clearRefCount() const noexcept { m_lRefCount.initialize(0); }

private:
    mutable SInterlockedInt32s m_lRefCount;
};

// Holds one counted reference to anything with addRef and release.
template <class T>
class CSmartRefCountPtr {
public:
    CSmartRefCountPtr() noexcept : m_ptr(nullptr) {}
    // Takes over the caller's reference; it does not add one.
    CSmartRefCountPtr(T *p) noexcept : m_ptr(p) {}
    CSmartRefCountPtr(const CSmartRefCountPtr &other) noexcept : m_ptr(other.m_ptr) {
        if (m_ptr)
            m_ptr->addRef();
    }
    CSmartRefCountPtr(CSmartRefCountPtr &&other) noexcept : m_ptr(other.m_ptr) { other.m_ptr = nullptr; }
    ~CSmartRefCountPtr() {
        if (m_ptr)
            m_ptr->release();
    }

    CSmartRefCountPtr &operator=(const CSmartRefCountPtr &other) noexcept {
        reset(other.m_ptr, true);
        return *this;
    }
    CSmartRefCountPtr &operator=(CSmartRefCountPtr &&other) noexcept {
        if (this != &other) {
            T *old = m_ptr;
            m_ptr = other.m_ptr;
            other.m_ptr = nullptr;
            if (old)
                old->release();
        }
        return *this;
    }
    // Takes over the caller's reference, like the constructor.
    CSmartRefCountPtr &operator=(T *p) noexcept {
        reset(p, false);
        return *this;
    }

    T *get() const noexcept { return m_ptr; }
    T *operator->() const noexcept { return m_ptr; }
    T &operator*() const noexcept { return *m_ptr; }
    operator T *() const noexcept { return m_ptr; }
    bool isNull() const noexcept { return m_ptr == nullptr; }

private:
    void reset(T *p, bool addReference) noexcept {
        if (p == m_ptr)
            return;
        if (p && addReference)
            p->addRef();
        T *old = m_ptr;
        m_ptr = p;
        if (old)
            old->release();
    }

    T *m_ptr;
};

TARNKIT_NAMESPACE_END
