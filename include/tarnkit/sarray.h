// SIArray: the library's dynamic array, a thin polymorphic class over
// std::vector with a capitalised vocabulary, bound-checked accessors and a
// bounded growth step for SetSize.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/sinvalidparameter.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

TARNKIT_NAMESPACE_BEGIN

namespace ContainerDetail {

// What a bound-checked accessor hands out when the invalid-parameter handler
// returns instead of throwing: a fresh default element that belongs to no
// container, so that writes through it touch nothing. One per thread, reset
// on every use (rebuilt rather than assigned, so that types with a const
// part, such as a map's key-value pair, work too).
template <class T>
T &InvalidElementScratch() {
    thread_local std::optional<T> scratch;
    scratch.emplace();
    return *scratch;
}

} // namespace ContainerDetail

template <class T>
class SIArray {
    // vector<bool> hands out proxies, not a T *: Begin() and ElementAt()
    // could not work.
    static_assert(!std::is_same_v<std::remove_cv_t<T>, bool>, "SIArray<bool> is not supported");

public:
    SIArray() = default;
    SIArray(const SIArray &other) : m_array(other.m_array) {}
    SIArray(SIArray &&other) noexcept : m_array(std::move(other.m_array)) {}
    SIArray &operator=(const SIArray &other) {
        m_array = other.m_array;
        return *this;
    }
    SIArray &operator=(SIArray &&other) noexcept {
        m_array = std::move(other.m_array);
        return *this;
    }
    virtual ~SIArray() {}

    size_t GetSize() const noexcept { return m_array.size(); }
    // Count minus 1: SIZE_MAX on an empty array, so test the size before
    // counting up to it.
    size_t GetUpperBound() const noexcept { return m_array.size() - 1; }

    // Sets the element count. Growth beyond the capacity reserves in steps of
    // growBy elements; -1 picks count / 8, kept between 4 and 1024. Shrinking
    // keeps the capacity.
    void SetSize(size_t n, int growBy = -1) {
        const size_t count = m_array.size();
        if (n == 0) {
            m_array.clear();
            return;
        }
        if (count == 0) {
            m_array.insert(m_array.end(), n, T());
            return;
        }
        const size_t capacity = m_array.capacity();
        if (n > capacity) {
            if (growBy == -1)
                growBy = DefaultGrowStep(count);
            m_array.reserve(GrownCapacity(capacity, growBy, n));
            m_array.insert(m_array.end(), n - count, T());
            return;
        }
        // Within the capacity: cut down to n, or add default elements.
        m_array.resize(n);
    }

    // Erases all elements; the capacity stays.
    void RemoveAll() noexcept { m_array.clear(); }

    // Erases `count` elements from `index`; the capacity stays. A range
    // reaching beyond the end is reported and changes nothing.
    void RemoveAt(size_t index, size_t count = 1) {
        const size_t size = m_array.size();
        if (index > size || count > size - index) {
            TARNKIT_INVALID_PARAMETER(index + count <= GetSize());
            return;
        }
        const auto first = m_array.begin() + static_cast<std::ptrdiff_t>(index);
        m_array.erase(first, first + static_cast<std::ptrdiff_t>(count));
    }

    // Bound-checked access. An index at or beyond the size is reported; if
    // the handler returns, the value read is a default T and a reference
    // refers to a per-thread scratch element, never to memory of the array.
    T GetAt(size_t index) const {
        if (!IsValidIndex(index)) {
            TARNKIT_INVALID_PARAMETER(index < GetSize());
            return T();
        }
        return m_array[index];
    }
    T operator[](size_t index) const { return GetAt(index); }

    T &ElementAt(size_t index) {
        if (!IsValidIndex(index)) {
            TARNKIT_INVALID_PARAMETER(index < GetSize());
            return ContainerDetail::InvalidElementScratch<T>();
        }
        return m_array[index];
    }
    T &operator[](size_t index) { return ElementAt(index); }

    // Assigns to an existing element; a bad index is reported and ignored.
    void SetAt(size_t index, T value) {
        if (!IsValidIndex(index)) {
            TARNKIT_INVALID_PARAMETER(index < GetSize());
            return;
        }
        m_array[index] = std::move(value);
    }

    // Appends with the vector's own growth; returns the new element's index.
    size_t Add(const T &value) {
        m_array.push_back(value);
        return m_array.size() - 1;
    }

    // Appends all of `other`; returns the first new index (the old count).
    size_t Append(const SIArray &other) {
        const size_t oldCount = m_array.size();
        if (&other == this) {
            // Inserting a vector's own range into itself is undefined:
            // append from a copy.
            const std::vector<T> copy(other.m_array);
            m_array.insert(m_array.end(), copy.begin(), copy.end());
        } else {
            m_array.insert(m_array.end(), other.m_array.begin(), other.m_array.end());
        }
        return oldCount;
    }

    void Copy(const SIArray &other) { m_array = other.m_array; }

    // Inserts `count` copies of `value` before `index`; an index beyond the
    // size is reported and changes nothing.
    void InsertAt(size_t index, const T &value, size_t count = 1) {
        if (index > m_array.size()) {
            TARNKIT_INVALID_PARAMETER(index <= GetSize());
            return;
        }
        m_array.insert(m_array.begin() + static_cast<std::ptrdiff_t>(index), count, value);
    }

    // The array's iterators are plain pointers.
    T *Begin() noexcept { return m_array.data(); }
    const T *Begin() const noexcept { return m_array.data(); }
    T *End() noexcept { return m_array.data() + m_array.size(); }
    const T *End() const noexcept { return m_array.data() + m_array.size(); }

    // For range-based for loops.
    T *begin() noexcept { return Begin(); }
    const T *begin() const noexcept { return Begin(); }
    T *end() noexcept { return End(); }
    const T *end() const noexcept { return End(); }

private:
    bool IsValidIndex(size_t index) const noexcept { return index < m_array.size(); }

    static int DefaultGrowStep(size_t count) noexcept {
        const size_t step = count / 8;
        if (step < 5)
            return 4;
        if (step > 1024)
            return 1024;
        return static_cast<int>(step);
    }

    // capacity + growBy when n stays below it, otherwise n itself.
    static size_t GrownCapacity(size_t capacity, int growBy, size_t n) noexcept {
        if (growBy > 0 && capacity <= SIZE_MAX - static_cast<size_t>(growBy)) {
            const size_t stepped = capacity + static_cast<size_t>(growBy);
            if (n < stepped)
                return stepped;
        }
        return n;
    }

    std::vector<T> m_array;
};

TARNKIT_NAMESPACE_END
