// SIMap: the library's ordered map, a thin polymorphic class over std::map
// with a self-contained iterator that walks with no reference to the map, and
// the two key classes that exist only for their ordering.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/sarray.h"
#include "tarnkit/sinvalidparameter.h"
#include "tarnkit/sstringimpl.h"

#include <cstring>
#include <map>
#include <type_traits>
#include <utility>

TARNKIT_NAMESPACE_BEGIN

// A key that orders by length in bytes first and then without regard to
// case. Most unequal keys differ in length, so most comparisons cost one
// integer test; callers see the order ("a" < "bb" < "CCC").
class SMapStringCaseInsensitive : public SAnsiStringCI {
public:
    SMapStringCaseInsensitive() noexcept = default;
    SMapStringCaseInsensitive(const char *text) : SAnsiStringCI(text) {}
    SMapStringCaseInsensitive(const char *text, size_t n) : SAnsiStringCI(text, n) {}
    SMapStringCaseInsensitive(const SAnsiString &text) noexcept : SAnsiStringCI(text) {}
    using SAnsiStringCI::operator=;

    bool operator<(const SMapStringCaseInsensitive &o) const noexcept {
        if (getLength() != o.getLength())
            return getLength() < o.getLength();
        return compareNoCase(o) < 0;
    }
    // Equal exactly when neither orders before the other.
    bool operator==(const SMapStringCaseInsensitive &o) const noexcept {
        return getLength() == o.getLength() && compareNoCase(o) == 0;
    }
    bool operator!=(const SMapStringCaseInsensitive &o) const noexcept { return !(*this == o); }
};

// A key in plain byte order, independent of the locale.
class SStringBinary : public SAnsiString {
public:
    SStringBinary() noexcept = default;
    SStringBinary(const char *text) : SAnsiString(text) {}
    SStringBinary(const char *text, size_t n) : SAnsiString(text, n) {}
    SStringBinary(const SAnsiString &text) noexcept : SAnsiString(text) {}
    using SAnsiString::operator=;

    bool operator<(const SStringBinary &o) const noexcept {
        return std::strcmp(getString(), o.getString()) < 0;
    }
    bool operator==(const SStringBinary &o) const noexcept {
        return std::strcmp(getString(), o.getString()) == 0;
    }
    bool operator!=(const SStringBinary &o) const noexcept { return !(*this == o); }
};

namespace ContainerDetail {

// The stepping half of the map's and the set's iterators. It carries the
// container's begin, its last element (the end when empty), the position and
// the end, all taken when it was made, so it needs no pointer to the
// container. Steps past either end are reported as invalid parameters and do
// not move.
template <class Derived, class StdIterator>
class SteppingIterator {
public:
    bool IsValid() const noexcept { return m_current != m_end; }
    explicit operator bool() const noexcept { return IsValid(); }
    bool operator!() const noexcept { return !IsValid(); }

    Derived &operator++() {
        if (m_current == m_end)
            TARNKIT_INVALID_PARAMETER(current != end);
        else
            ++m_current;
        return self();
    }
    Derived operator++(int) {
        Derived old(self());
        ++*this;
        return old;
    }
    Derived &operator--() {
        if (m_current == m_first)
            TARNKIT_INVALID_PARAMETER(current != first);
        else
            --m_current;
        return self();
    }
    Derived operator--(int) {
        Derived old(self());
        --*this;
        return old;
    }
    // Step and tell whether the position holds an element.
    bool Next() {
        ++*this;
        return IsValid();
    }
    bool Prev() {
        --*this;
        return IsValid();
    }

    bool IsFirst() const noexcept { return IsValid() && m_current == m_first; }
    bool IsLast() const noexcept { return IsValid() && m_current == m_last; }

    // The standard iterator at the position.
    StdIterator GetPosition() const noexcept { return m_current; }

    friend bool operator==(const Derived &a, const Derived &b) noexcept {
        return a.m_current == b.m_current;
    }
    friend bool operator!=(const Derived &a, const Derived &b) noexcept {
        return a.m_current != b.m_current;
    }

protected:
    SteppingIterator() = default;
    SteppingIterator(StdIterator first, StdIterator last, StdIterator current,
                     StdIterator end) noexcept
        : m_first(first), m_last(last), m_current(current), m_end(end) {}

    // The element at the position; false (after the report) at the end.
    bool CheckDereference() const {
        if (m_current != m_end)
            return true;
        TARNKIT_INVALID_PARAMETER(current != end);
        return false;
    }

    StdIterator m_first{};
    StdIterator m_last{};
    StdIterator m_current{};
    StdIterator m_end{};

private:
    Derived &self() noexcept { return static_cast<Derived &>(*this); }
    const Derived &self() const noexcept { return static_cast<const Derived &>(*this); }
};

enum class WalkStart { First, Last, End };

// Builds an iterator over [begin, end): first is begin, last steps back from
// the end once when there is an element. End is the last position stepped
// forward once, which on an empty container is the end already.
template <class Iter, class StdIterator>
Iter MakeWalk(StdIterator begin, StdIterator end, WalkStart start) {
    StdIterator last = end;
    if (begin != end)
        --last;
    StdIterator current = start == WalkStart::First ? begin : last;
    if (start == WalkStart::End && begin != end)
        ++current;
    return Iter(begin, last, current, end);
}

// The same walk, positioned at `at` (an element or the end).
template <class Iter, class StdIterator>
Iter MakeWalkAt(StdIterator begin, StdIterator end, StdIterator at) {
    StdIterator last = end;
    if (begin != end)
        --last;
    return Iter(begin, last, at, end);
}

} // namespace ContainerDetail

template <class Key, class Value>
class SIMap {
public:
    using MapType = std::map<Key, Value>;

    // A position in the map with its own bounds. IsConst gives the form a
    // const map hands out; a mutable iterator converts to it.
    template <bool IsConst>
    class BasicIterator
        : public ContainerDetail::SteppingIterator<
              BasicIterator<IsConst>,
              std::conditional_t<IsConst, typename MapType::const_iterator, typename MapType::iterator>> {
        using StdIterator =
            std::conditional_t<IsConst, typename MapType::const_iterator, typename MapType::iterator>;
        using Base = ContainerDetail::SteppingIterator<BasicIterator<IsConst>, StdIterator>;
        using Pair = std::conditional_t<IsConst, const typename MapType::value_type,
                                        typename MapType::value_type>;
        using ValueRef = std::conditional_t<IsConst, const Value &, Value &>;

    public:
        // Tests false; it has no elements to step to.
        BasicIterator() = default;
        BasicIterator(StdIterator first, StdIterator last, StdIterator current, StdIterator end) noexcept
            : Base(first, last, current, end) {}
        template <bool WasConst, class = std::enable_if_t<IsConst && !WasConst>>
        BasicIterator(const BasicIterator<WasConst> &other) noexcept
            : Base(other.m_first, other.m_last, other.m_current, other.m_end) {}

        // Access at the end is reported; if the handler returns, the answer is
        // a per-thread default pair that belongs to no map.
        const Key &GetKey() const { return Element().first; }
        ValueRef GetValue() const { return Element().second; }
        Pair &operator*() const { return Element(); }
        Pair *operator->() const { return &Element(); }

    private:
        template <bool>
        friend class BasicIterator;

        Pair &Element() const {
            if (!this->CheckDereference())
                return ContainerDetail::InvalidElementScratch<typename MapType::value_type>();
            return *this->m_current;
        }
    };
    using Iterator = BasicIterator<false>;
    using ConstIterator = BasicIterator<true>;

    SIMap() = default;
    SIMap(const SIMap &other) : m_map(other.m_map) {}
    SIMap(SIMap &&other) noexcept : m_map(std::move(other.m_map)) {}
    SIMap &operator=(const SIMap &other) {
        m_map = other.m_map;
        return *this;
    }
    SIMap &operator=(SIMap &&other) noexcept {
        m_map = std::move(other.m_map);
        return *this;
    }
    virtual ~SIMap() {}

    // Adds the pair; an existing key keeps its element (and so its spelling
    // under a case-insensitive order) and takes the new value.
    void Insert(const Key &key, const Value &value) { m_map.insert_or_assign(key, value); }
    void SetAt(const Key &key, const Value &value) { Insert(key, value); }
    void Update(const Key &key, const Value &value) { Insert(key, value); }

    // True with the value copied out, or false with `value` untouched.
    bool Lookup(const Key &key, Value &value) const {
        const auto found = m_map.find(key);
        if (found == m_map.end())
            return false;
        value = found->second;
        return true;
    }
    bool Contains(const Key &key) const { return m_map.find(key) != m_map.end(); }

    bool RemoveKey(const Key &key) { return m_map.erase(key) != 0; }
    void RemoveAll() noexcept { m_map.clear(); }

    size_t GetCount() const noexcept { return m_map.size(); }
    bool IsEmpty() const noexcept { return m_map.empty(); }

    Iterator GetFirst() { return Walk<Iterator>(m_map, ContainerDetail::WalkStart::First); }
    Iterator GetIterator() { return GetFirst(); }
    Iterator Begin() { return GetFirst(); }
    Iterator GetLast() { return Walk<Iterator>(m_map, ContainerDetail::WalkStart::Last); }
    Iterator End() { return Walk<Iterator>(m_map, ContainerDetail::WalkStart::End); }
    Iterator Find(const Key &key) { return WalkAt<Iterator>(m_map, m_map.find(key)); }
    Iterator BeginAt(const Key &key) { return Find(key); }

    ConstIterator GetFirst() const { return Walk<ConstIterator>(m_map, ContainerDetail::WalkStart::First); }
    ConstIterator GetIterator() const { return GetFirst(); }
    ConstIterator Begin() const { return GetFirst(); }
    ConstIterator GetLast() const { return Walk<ConstIterator>(m_map, ContainerDetail::WalkStart::Last); }
    ConstIterator End() const { return Walk<ConstIterator>(m_map, ContainerDetail::WalkStart::End); }
    ConstIterator Find(const Key &key) const { return WalkAt<ConstIterator>(m_map, m_map.find(key)); }
    ConstIterator BeginAt(const Key &key) const { return Find(key); }

    // The standard iterators, for range-based for loops over the pairs.
    typename MapType::iterator begin() noexcept { return m_map.begin(); }
    typename MapType::iterator end() noexcept { return m_map.end(); }
    typename MapType::const_iterator begin() const noexcept { return m_map.begin(); }
    typename MapType::const_iterator end() const noexcept { return m_map.end(); }

private:
    template <class Iter, class M>
    static Iter Walk(M &map, ContainerDetail::WalkStart start) {
        return ContainerDetail::MakeWalk<Iter>(map.begin(), map.end(), start);
    }
    template <class Iter, class M, class StdIterator>
    static Iter WalkAt(M &map, StdIterator at) {
        return ContainerDetail::MakeWalkAt<Iter>(map.begin(), map.end(), at);
    }

    MapType m_map;
};

// Built once, in the library, and exported.
extern template class SIMap<SMapStringCaseInsensitive, SAnsiString>;
extern template class SIMap<SMapStringCaseInsensitive, SAnsiString>::BasicIterator<false>;
extern template class SIMap<SMapStringCaseInsensitive, SAnsiString>::BasicIterator<true>;

TARNKIT_NAMESPACE_END
