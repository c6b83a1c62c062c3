// The library's text type: a one-pointer, reference-counted, copy-on-write
// string in three kinds (locale multibyte, ASCII, 16-bit wide) and the
// classes derived from them. A copy is one interlocked add.
#pragma once

#include "tarnkit/interlocked.h"
#include "tarnkit/schar.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

TARNKIT_NAMESPACE_BEGIN

// Thrown when string storage cannot be had. Callers catch std::bad_alloc;
// the text is the library's own.
class SBadAllocation : public std::bad_alloc {
public:
    const char *what() const noexcept override;
};

template <class T>
class SIArray;
class CUTFConverter;

// Header of a string's storage; the text follows directly behind it in the
// same allocation and is always ended by a zero unit.
template <class T>
struct SStringBuffer {
    SInterlockedInt32s refCount;
    uint32_t storageTag; // how the storage was had, for giving it back
    size_t length;
    size_t capacity; // units, terminator included; SIZE_MAX marks the immortal empty buffer

    T *text() noexcept { return reinterpret_cast<T *>(this + 1); }
    const T *text() const noexcept { return reinterpret_cast<const T *>(this + 1); }
    bool isStatic() const noexcept { return capacity == SIZE_MAX; }

    // The ownership test before a write: a count of 1 cannot be raised by
    // anyone else, and every earlier holder dropped its share with a full
    // barrier, so a sequentially consistent load is enough and keeps the
    // append path free of a locked instruction.
    bool isSoleOwner() const noexcept { return refCount.orderedRead() == 1; }
};

// The immortal empty buffer of a kind: count -1, length 0, capacity SIZE_MAX
// and one zero unit. It must live in writable memory because reading the
// count is a locked add.
template <class T>
struct SEmptyStringBuffer {
    SStringBuffer<T> header;
    T zero;
};

template <class T, int F>
class SString_t {
public:
    using UnitType = T;
    using CharType = SChar_t<T, F>;
    using Buffer = SStringBuffer<T>;

    // A raw position in the text. It does not keep the buffer alive: any edit
    // of the string invalidates it, unless it is the one passed to the edit.
    class iterator {
    public:
        iterator() noexcept : m_cursor(nullptr) {}
        explicit iterator(const SString_t &s) noexcept : m_cursor(const_cast<T *>(s.getString())) {}
        explicit iterator(const T *p) noexcept : m_cursor(const_cast<T *>(p)) {}

        // One character forward; at the terminator the iterator stays.
        iterator &operator++() noexcept {
            if constexpr (F == 0) {
                unsigned char b = static_cast<unsigned char>(*m_cursor);
                m_cursor += b < 0x80 ? (b != 0) : SString_t::stepLength(m_cursor);
            } else {
                m_cursor += (*m_cursor != 0);
            }
            return *this;
        }
        iterator operator++(int) noexcept {
            iterator old(*this);
            ++*this;
            return old;
        }
        iterator &operator+=(size_t n) noexcept;
        CharType operator*() const noexcept { return CharType::fromText(m_cursor); }

        explicit operator bool() const noexcept { return *m_cursor != 0; }
        bool operator!() const noexcept { return *m_cursor == 0; }
        bool isAtEnd() const noexcept { return *m_cursor == 0; }

        bool operator==(const iterator &o) const noexcept { return m_cursor == o.m_cursor; }
        bool operator!=(const iterator &o) const noexcept { return m_cursor != o.m_cursor; }
        bool operator<(const iterator &o) const noexcept { return m_cursor < o.m_cursor; }
        bool operator<=(const iterator &o) const noexcept { return m_cursor <= o.m_cursor; }
        bool operator>(const iterator &o) const noexcept { return m_cursor > o.m_cursor; }
        bool operator>=(const iterator &o) const noexcept { return m_cursor >= o.m_cursor; }
        // Distance in code units, not characters.
        ptrdiff_t operator-(const iterator &o) const noexcept { return m_cursor - o.m_cursor; }

        iterator find(const CharType &c) const noexcept;
        iterator find(const SString_t &str) const;

        T *getCursor() const noexcept { return m_cursor; }

    private:
        T *m_cursor;
    };

    constexpr SString_t() noexcept : m_buffer(&EmptyBuffer.header) {}
    SString_t(const T *text);
    SString_t(const CharType &c);
    SString_t(const SString_t &other) noexcept : m_buffer(other.m_buffer) { addRef(m_buffer); }
    SString_t(SString_t &&other) noexcept : m_buffer(other.m_buffer) { other.m_buffer = GetEmptyBuffer(); }
    ~SString_t() {
        ReleaseBuffer(m_buffer);
        m_buffer = nullptr;
    }

    SString_t &operator=(const SString_t &other) noexcept {
        setBuffer(other.m_buffer);
        return *this;
    }
    SString_t &operator=(SString_t &&other) noexcept {
        if (this != &other) {
            Buffer *taken = other.m_buffer;
            other.m_buffer = GetEmptyBuffer();
            ReleaseBuffer(m_buffer);
            m_buffer = taken;
        }
        return *this;
    }
    SString_t &operator=(const T *text);
    SString_t &operator=(const CharType &c);

    // Sizes and tests. Lengths are code units; getNChars counts characters.
    bool isEmpty() const noexcept { return m_buffer->length == 0; }
    void empty() noexcept { setBuffer(GetEmptyBuffer()); }
    size_t getLength() const noexcept { return m_buffer->length; }
    size_t getNChars() const noexcept;
    void setBufferSize(size_t n) { copyOnWrite(n + 1); }
    operator const T *() const noexcept { return m_buffer->text(); }
    const T *getString() const noexcept { return m_buffer->text(); }

    // Comparison: the locale's collation for the multibyte and wide kinds,
    // bytes for ASCII. compareBinary is identity.
    int compare(const SString_t &other) const noexcept;
    int compareBinary(const SString_t &other) const noexcept;
    int compareNoCase(const SString_t &other) const noexcept;
    bool operator==(const SString_t &o) const noexcept { return compare(o) == 0; }
    bool operator!=(const SString_t &o) const noexcept { return compare(o) != 0; }
    bool operator<(const SString_t &o) const noexcept { return compare(o) < 0; }
    bool operator<=(const SString_t &o) const noexcept { return compare(o) <= 0; }
    bool operator>(const SString_t &o) const noexcept { return compare(o) > 0; }
    bool operator>=(const SString_t &o) const noexcept { return compare(o) >= 0; }
    bool operator==(const T *text) const noexcept;
    bool operator!=(const T *text) const noexcept { return !(*this == text); }

    // Search. Each gives the end iterator when nothing is found.
    iterator begin() const noexcept { return iterator(getString()); }
    iterator end() const noexcept { return iterator(getString() + m_buffer->length); }
    iterator find(const SString_t &str) const;
    iterator findFirst(const CharType &c) const noexcept;
    iterator findLast(const CharType &c) const noexcept;

    // Pieces: new strings; counts and positions are characters.
    SString_t left(size_t n) const;
    SString_t left(const iterator &it) const;
    SString_t right(size_t n) const;
    SString_t right(const iterator &it) const;
    SString_t mid(size_t start) const;
    SString_t mid(const iterator &it) const;
    SString_t mid(const iterator &it, size_t n) const;
    SString_t mid(size_t start, size_t n) const;
    SString_t mid(const iterator &from, const iterator &to) const;

    // Editing: each makes this string sole owner first, then re-points the
    // iterator it was given.
    CharType getAt(size_t index) const noexcept;
    CharType getAt(const iterator &it) const noexcept;
    void setAt(size_t index, const CharType &c);
    void setAt(iterator &it, const CharType &c);
    void insertChar(size_t index, const CharType &c);
    void insertChar(iterator &it, const CharType &c);
    void insertChars(size_t index, const SString_t &chars);
    void insertChars(iterator &it, const SString_t &chars);
    void deleteChar(size_t index);
    void deleteChar(iterator &it);
    void deleteChars(size_t index, size_t count);
    void deleteChars(iterator &it, size_t count);
    void concat(const T *p, size_t n);
    void concat(const iterator &from, const iterator &to);
    void concatFromAscii(const char *p, size_t n);
    SString_t &operator+=(const SString_t &other);
    SString_t &operator+=(const T *text);
    SString_t &operator+=(const CharType &c) {
        // Single-unit appends in a buffer this string owns alone, with room:
        // the common build-by-appending loop, kept inline. The immortal empty
        // buffers count -1, so the ownership test also keeps them out.
        Buffer *b = m_buffer;
        const T unit = c.getChar();
        const bool single = F != 0 || static_cast<unsigned char>(unit) < 0x80;
        const size_t length = b->length;
        if (single && unit != 0 && length + 2 <= b->capacity && b->isSoleOwner()) {
            T *text = b->text();
            text[length] = unit;
            text[length + 1] = 0;
            b->length = length + 1;
            return *this;
        }
        appendChar(c);
        return *this;
    }
    SString_t operator+(const SString_t &other) const;
    SString_t operator+(const T *text) const;
    SString_t operator+(const CharType &c) const;
    void toUpper();
    void toLower();
    void trimLeft();
    void trimRight();
    void trim() {
        trimLeft();
        trimRight();
    }

    // Characters from the start to the iterator, counted in 32 bits.
    uint32_t getCharIndex(const iterator &it) const noexcept;

    // Exchange with the external encodings: MBCS (the locale's multibyte
    // text), Ascii, WChar (16-bit wide text), ZTA (UCS-2) and UTF8. Sizes are
    // bytes with the terminator. The to... members answer the units written
    // or -1; what the target cannot express becomes "?" except where a
    // member says it fails. The ASCII kind refuses text above 127.
    size_t getNBytesForMBCS() const;
    size_t getNBytesForAscii() const noexcept { return m_buffer->length + 1; }
    size_t getNBytesForWChar() const;
    size_t getNBytesForZTA() const;
    size_t getNBytesForUTF8() const;
    long toMBCS(char *buffer, size_t size) const;
    long toAscii(char *buffer, size_t size) const;
    long toWChar(unsigned short *buffer, size_t size) const;
    long toZTA(unsigned short *buffer, size_t size) const;
    // The bytes written without the terminator written behind them.
    long toUTF8(unsigned char *buffer, size_t size) const;
    bool fromMBCS(const char *text);
    // n of SIZE_MAX: up to the terminator. Always true.
    bool fromAscii(const char *text, size_t n = SIZE_MAX);
    bool fromWChar(const unsigned short *text);
    bool fromZTA(const unsigned short *text);
    bool fromUTF8(const unsigned char *text);
    bool fromUTF8(const unsigned char *text, size_t n);
    bool copyFrom(const char *text) { return fromMBCS(text); }
    bool copyFrom(const unsigned short *text) { return fromWChar(text); }

    // Units of the character at p: 0 at the terminator, 1 for an invalid
    // sequence, so that iteration always ends.
    static size_t stepLength(const T *p) noexcept;

    // The immortal empty buffer of this kind.
    static Buffer *GetEmptyBuffer() noexcept { return &EmptyBuffer.header; }
    static constinit SEmptyStringBuffer<T> EmptyBuffer;

protected:
    SString_t(const T *p, size_t n);
    T *getCursor(const iterator &it) const noexcept { return it.getCursor(); }
    Buffer *getBuffer() const noexcept { return m_buffer; }

    static Buffer *allocBuffer(size_t n);
    void terminateBuffer(size_t n) noexcept {
        m_buffer->text()[n] = 0;
        m_buffer->length = n;
    }
    void setBuffer(Buffer *b) noexcept {
        if (b == m_buffer)
            return;
        addRef(b);
        ReleaseBuffer(m_buffer);
        m_buffer = b;
    }
    static void ReleaseBuffer(Buffer *b) noexcept {
        // The address test lets the compiler see that the empty buffer is
        // never freed; the capacity mark is what the library relies on.
        if (b != nullptr && b != &EmptyBuffer.header && !b->isStatic() && b->refCount.exchangeAdd(-1) == 1)
            FreeBuffer(b);
    }
    static void FreeBuffer(Buffer *b) noexcept;
    void copyOnWrite(size_t n);
    // Grows the text by n units and returns where they go, for the caller to fill.
    T *concatAllocHelper(size_t n);
    // Replaces the text with fresh storage of room for n units and the
    // terminator, for the caller to fill and finish with endWrite(length).
    T *beginWrite(size_t n);
    void endWrite(size_t length) noexcept { terminateBuffer(length); }
    // Appends n units, each as its low byte, stopping at a zero unit.
    void concatFromAsciiUnits(const unsigned short *p, size_t n);
    friend class CUTFConverter;

private:
    static void addRef(Buffer *b) noexcept {
        if (!b->isStatic())
            b->refCount.exchangeAdd(1);
    }
    bool soleOwner() const noexcept { return !m_buffer->isStatic() && m_buffer->isSoleOwner(); }
    void appendChar(const CharType &c);
    void fromSChar(const CharType &c);
    T *growFor(size_t n);
    T *insertUnits(size_t pos, const T *p, size_t n);
    void deleteUnits(size_t pos, size_t count);
    static const T *walk(const T *from, size_t nChars) noexcept;
    bool pointsInto(const T *p) const noexcept;
    size_t offsetOf(const iterator &it) const noexcept;
    T *mutableText() noexcept { return m_buffer->text(); }

    Buffer *m_buffer;
};

template <class T, int F>
constinit SEmptyStringBuffer<T> SString_t<T, F>::EmptyBuffer{{SInterlockedInt32s(-1), 0, 0, SIZE_MAX}, 0};

static_assert(offsetof(SEmptyStringBuffer<char>, zero) == sizeof(SStringBuffer<char>));
static_assert(offsetof(SEmptyStringBuffer<unsigned short>, zero) == sizeof(SStringBuffer<unsigned short>));

extern template class SString_t<char, 0>;
extern template class SString_t<char, 1>;
extern template class SString_t<unsigned short, 1>;

class SAnsiString;
class SAsciiString;
class SWCharString;
class SZTAString;

// Text in the current locale's multibyte encoding.
class SAnsiString : public SString_t<char, 0> {
public:
    using Base = SString_t<char, 0>;
    using Base::Base;
    SAnsiString() noexcept = default;
    SAnsiString(const Base &other) noexcept : Base(other) {}
    SAnsiString(Base &&other) noexcept : Base(static_cast<Base &&>(other)) {}
    SAnsiString(const char *p, size_t n) : Base(p, n) {}
    // A null pointer of either text type is the empty string.
    constexpr SAnsiString(std::nullptr_t) noexcept {}
    // Wide text, converted; what the locale cannot express becomes "?".
    explicit SAnsiString(const unsigned short *wide);
    using Base::operator=;
    SAnsiString &operator=(char c) { return static_cast<SAnsiString &>(Base::operator=(CharType(c))); }
    SAnsiString &operator=(const unsigned short *wide);

    size_t getTotalBytes() const { return getNBytesForMBCS(); }
};

// The same text, compared without regard to case.
class SAnsiStringCI : public SAnsiString {
public:
    using SAnsiString::SAnsiString;
    SAnsiStringCI() noexcept = default;
    SAnsiStringCI(const SAnsiString &other) noexcept : SAnsiString(other) {}
    using SAnsiString::operator=;

    bool operator==(const SAnsiStringCI &o) const noexcept { return compareNoCase(o) == 0; }
    bool operator!=(const SAnsiStringCI &o) const noexcept { return compareNoCase(o) != 0; }
    bool operator<(const SAnsiStringCI &o) const noexcept { return compareNoCase(o) < 0; }
    bool operator<=(const SAnsiStringCI &o) const noexcept { return compareNoCase(o) <= 0; }
    bool operator>(const SAnsiStringCI &o) const noexcept { return compareNoCase(o) > 0; }
    bool operator>=(const SAnsiStringCI &o) const noexcept { return compareNoCase(o) >= 0; }
    bool operator==(const char *text) const noexcept;
    bool operator!=(const char *text) const noexcept { return !(*this == text); }

    // Finds without regard to case and answers an iterator into this text.
    iterator find(const SAnsiString &str) const;
    using SAnsiString::find;
};

// 7-bit ASCII text.
class SAsciiString : public SString_t<char, 1> {
public:
    using Base = SString_t<char, 1>;
    using Base::Base;
    SAsciiString() noexcept = default;
    SAsciiString(const Base &other) noexcept : Base(other) {}
    SAsciiString(Base &&other) noexcept : Base(static_cast<Base &&>(other)) {}
    SAsciiString(const char *p, size_t n) : Base(p, n) {}
    using Base::operator=;
    // With `convert` set: the first bytes of the text, as many as it has
    // characters. With it clear: empty.
    SAsciiString(const SAnsiString &text, bool convert);
    // With `convert` set: the low byte of each unit, untested.
    SAsciiString(const SWCharString &text, bool convert);
    SAsciiString(const SZTAString &text, bool convert);
    // A copy of the span; a span that runs backwards or past the end of its
    // text is a failed assertion and gives the empty string.
    SAsciiString(const iterator &from, const iterator &to);
    SAsciiString &operator=(char c) { return static_cast<SAsciiString &>(Base::operator=(CharType(c))); }

    size_t getTotalBytes() const noexcept { return getNBytesForAscii(); }
    // Append n units, each as its low byte.
    void concatFromAsciiCharacters(const char *p, size_t n);
    void concatFromAsciiCharacters(const unsigned short *p, size_t n);
};

// Platform wide text in 16-bit units.
class SWCharString : public SString_t<unsigned short, 1> {
public:
    using Base = SString_t<unsigned short, 1>;
    using Base::Base;
    SWCharString() noexcept = default;
    SWCharString(const Base &other) noexcept : Base(other) {}
    SWCharString(Base &&other) noexcept : Base(static_cast<Base &&>(other)) {}
    SWCharString(const unsigned short *p, size_t n) : Base(p, n) {}
    constexpr SWCharString(std::nullptr_t) noexcept {}
    // Locale multibyte text, converted; an invalid sequence becomes "?".
    explicit SWCharString(const char *mbcs);
    using Base::operator=;
    SWCharString &operator=(unsigned short c) { return static_cast<SWCharString &>(Base::operator=(CharType(c))); }

    size_t getTotalBytes() const { return getNBytesForZTA(); }
};

// Wide text compared without regard to case.
class SWCharStringCI : public SWCharString {
public:
    using SWCharString::SWCharString;
    SWCharStringCI() noexcept = default;
    SWCharStringCI(const SWCharString &other) noexcept : SWCharString(other) {}
    using SWCharString::operator=;

    bool operator==(const SWCharStringCI &o) const noexcept { return compareNoCase(o) == 0; }
    bool operator!=(const SWCharStringCI &o) const noexcept { return compareNoCase(o) != 0; }
    bool operator<(const SWCharStringCI &o) const noexcept { return compareNoCase(o) < 0; }
    bool operator<=(const SWCharStringCI &o) const noexcept { return compareNoCase(o) <= 0; }
    bool operator>(const SWCharStringCI &o) const noexcept { return compareNoCase(o) > 0; }
    bool operator>=(const SWCharStringCI &o) const noexcept { return compareNoCase(o) >= 0; }
    bool operator==(const unsigned short *text) const noexcept;
    bool operator!=(const unsigned short *text) const noexcept { return !(*this == text); }

    iterator find(const SWCharString &str) const;
    using SWCharString::find;
};

// UCS-2 text of the object-server wire format.
class SZTAString : public SString_t<unsigned short, 1> {
public:
    using Base = SString_t<unsigned short, 1>;
    using Base::Base;
    SZTAString() noexcept = default;
    SZTAString(const Base &other) noexcept : Base(other) {}
    SZTAString(const unsigned short *p, size_t n) : Base(p, n) {}
    using Base::operator=;

    size_t getTotalBytes() const { return getNBytesForZTA(); }
};

// Wide text whose type records that it was decoded from a URL.
class SDecodedString : public SString_t<unsigned short, 1> {
public:
    using Base = SString_t<unsigned short, 1>;
    SDecodedString() noexcept = default;
    SDecodedString(const SWCharString &other) noexcept : Base(other) {}
    SDecodedString(const unsigned short *text) : Base(text) {}
    SDecodedString(const SDecodedString &other) noexcept = default;
    SDecodedString &operator=(const SDecodedString &other) noexcept = default;

    size_t getTotalBytes() const noexcept { return getLength() * 2 + 2; }
};

// Appends every span between separators, the last included: "" gives one
// empty piece, "a,,b" gives three. Returns the number of pieces.
size_t SplitString(SAnsiString text, SIArray<SAnsiString> &pieces, SChar_t<char, 0> separator);

// Stream-style append; numbers go in base 10, doubles with six decimals.
SAnsiString &operator<<(SAnsiString &s, const SAnsiString &x);
inline SAnsiString &operator<<(SAnsiString &s, const SChar_t<char, 0> &x) {
    s += x; // inline: the one-character append loop is the hot case
    return s;
}
SAnsiString &operator<<(SAnsiString &s, const char *x);
SAnsiString &operator<<(SAnsiString &s, short x);
SAnsiString &operator<<(SAnsiString &s, unsigned short x);
SAnsiString &operator<<(SAnsiString &s, int x);
SAnsiString &operator<<(SAnsiString &s, unsigned int x);
SAnsiString &operator<<(SAnsiString &s, long x);
SAnsiString &operator<<(SAnsiString &s, unsigned long x);
SAnsiString &operator<<(SAnsiString &s, __int64 x);
SAnsiString &operator<<(SAnsiString &s, double x);
SWCharString &operator<<(SWCharString &s, const SWCharString &x);
inline SWCharString &operator<<(SWCharString &s, const SChar_t<unsigned short, 1> &x) {
    s += x;
    return s;
}
SWCharString &operator<<(SWCharString &s, const unsigned short *x);
SWCharString &operator<<(SWCharString &s, short x);
SWCharString &operator<<(SWCharString &s, unsigned short x);
SWCharString &operator<<(SWCharString &s, int x);
SWCharString &operator<<(SWCharString &s, unsigned int x);
SWCharString &operator<<(SWCharString &s, long x);
SWCharString &operator<<(SWCharString &s, unsigned long x);
SWCharString &operator<<(SWCharString &s, __int64 x);
SWCharString &operator<<(SWCharString &s, double x);

TARNKIT_NAMESPACE_END
