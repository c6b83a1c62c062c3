// SISet: the library's ordered set, a thin polymorphic class over std::set
// that speaks the vocabulary of SIMap for keys alone.
#pragma once

#include "tarnkit/smap.h"

#include <set>
#include <utility>

TARNKIT_NAMESPACE_BEGIN

template <class T>
class SISet {
public:
    using SetType = std::set<T>;

    // A position in the set with its own bounds, like SIMap's iterator. The
    // elements of a set are keys and so never writable through it.
    class Iterator
        : public ContainerDetail::SteppingIterator<Iterator, typename SetType::const_iterator> {
        using StdIterator = typename SetType::const_iterator;
        using Base = ContainerDetail::SteppingIterator<Iterator, StdIterator>;

    public:
        Iterator() = default;
        Iterator(StdIterator first, StdIterator last, StdIterator current, StdIterator end) noexcept
            : Base(first, last, current, end) {}

        // Access at the end is reported; if the handler returns, the answer is
        // a per-thread default key that belongs to no set.
        const T &GetKey() const {
            if (!this->CheckDereference())
                return ContainerDetail::InvalidElementScratch<T>();
            return *this->m_current;
        }
        const T &operator*() const { return GetKey(); }
        const T *operator->() const { return &GetKey(); }
    };

    SISet() = default;
    SISet(const SISet &other) : m_set(other.m_set) {}
    SISet(SISet &&other) noexcept : m_set(std::move(other.m_set)) {}
    SISet &operator=(const SISet &other) {
        m_set = other.m_set;
        return *this;
    }
    SISet &operator=(SISet &&other) noexcept {
        m_set = std::move(other.m_set);
        return *this;
    }
    virtual ~SISet() {}

    // Adds the key; true if it was not there. An equivalent key already
    // present stays as it is.
    bool Insert(const T &key) { return m_set.insert(key).second; }

    bool Lookup(const T &key) const { return m_set.find(key) != m_set.end(); }
    // True with the stored key (which may differ in spelling under a
    // case-insensitive order) copied out; false with `stored` untouched.
    bool Lookup(const T &key, T &stored) const {
        const auto found = m_set.find(key);
        if (found == m_set.end())
            return false;
        stored = *found;
        return true;
    }
    bool Contains(const T &key) const { return Lookup(key); }

    bool RemoveKey(const T &key) { return m_set.erase(key) != 0; }
    void RemoveAll() noexcept { m_set.clear(); }

    size_t GetCount() const noexcept { return m_set.size(); }
    bool IsEmpty() const noexcept { return m_set.empty(); }

    Iterator GetFirst() const { return Walk(ContainerDetail::WalkStart::First); }
    Iterator GetIterator() const { return GetFirst(); }
    Iterator Begin() const { return GetFirst(); }
    Iterator GetLast() const { return Walk(ContainerDetail::WalkStart::Last); }
    Iterator End() const { return Walk(ContainerDetail::WalkStart::End); }
    Iterator Find(const T &key) const {
        return ContainerDetail::MakeWalkAt<Iterator>(m_set.begin(), m_set.end(), m_set.find(key));
    }
    Iterator BeginAt(const T &key) const { return Find(key); }

    // The standard iterators, for range-based for loops.
    typename SetType::const_iterator begin() const noexcept { return m_set.begin(); }
    typename SetType::const_iterator end() const noexcept { return m_set.end(); }

private:
    Iterator Walk(ContainerDetail::WalkStart start) const {
        return ContainerDetail::MakeWalk<Iterator>(m_set.begin(), m_set.end(), start);
    }

    SetType m_set;
};

TARNKIT_NAMESPACE_END
