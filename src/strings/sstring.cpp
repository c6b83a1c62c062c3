#include "tarnkit/sstringimpl.h"

#include "strings/bufferpool.h"
#include "strings/mbcs.h"
#include "tarnkit/strace.h"

#include <cwctype>
#include <memory>
#include <type_traits>

namespace TarnkitA201 {

const char *SBadAllocation::what() const noexcept { return "bad allocation"; }

namespace {

// Room a fresh buffer gets beyond what was asked, for the appends that
// usually follow.
constexpr size_t kSlack = 32;

[[noreturn]] void ThrowBadAllocation() { throw SBadAllocation(); }

// No object may be larger than PTRDIFF_MAX bytes; anything above fails
// before the allocator is asked.
template <class T>
bool TooLarge(size_t units, size_t header) noexcept {
    return units > (static_cast<size_t>(PTRDIFF_MAX) - header) / sizeof(T);
}

size_t TextLength(const char *p) noexcept { return std::strlen(p); }
size_t TextLength(const unsigned short *p) noexcept { return Mbcs::WideLength(p); }

// Copies up to n units, stopping at a zero unit as the C copy functions do,
// and zero-fills the rest so that no unit of the text is left undefined.
void CopyText(char *dst, const char *src, size_t n) noexcept {
    const void *zero = std::memchr(src, 0, n);
    size_t copied = zero != nullptr ? static_cast<size_t>(static_cast<const char *>(zero) - src) : n;
    std::memcpy(dst, src, copied);
    std::memset(dst + copied, 0, n - copied);
}
void CopyText(unsigned short *dst, const unsigned short *src, size_t n) noexcept {
    size_t i = 0;
    for (; i < n && src[i] != 0; ++i)
        dst[i] = src[i];
    for (; i < n; ++i)
        dst[i] = 0;
}

const unsigned short *FindWide(const unsigned short *text, const unsigned short *needle) noexcept {
    if (*needle == 0)
        return text;
    size_t n = Mbcs::WideLength(needle);
    for (; *text; ++text) {
        if (*text != *needle)
            continue;
        size_t i = 1;
        while (i < n && text[i] == needle[i])
            ++i;
        if (i == n)
            return text;
    }
    return nullptr;
}

const unsigned short *FindWideUnit(const unsigned short *text, unsigned short unit) noexcept {
    for (; *text; ++text)
        if (*text == unit)
            return text;
    return nullptr;
}

int CompareWideBinary(const unsigned short *a, const unsigned short *b) noexcept {
    while (*a && *a == *b) {
        ++a;
        ++b;
    }
    return static_cast<int>(*a) - static_cast<int>(*b);
}

// Bytes a multibyte character occupies in text: an invalid sequence is one
// byte, as the iterator steps it; the zero character none.
size_t StoredLength(const SChar_t<char, 0> &c) noexcept { return Mbcs::StepLength(c.getBytes()); }
size_t StoredLength(const SChar_t<char, 1> &c) noexcept { return c.getChar() != 0; }
size_t StoredLength(const SChar_t<unsigned short, 1> &c) noexcept { return c.getChar() != 0; }

// A private copy of a text, on the stack when it is short.
class TextCopy {
public:
    TextCopy(const char *text, size_t n) : m_heap(n < sizeof(m_inline) ? nullptr : new char[n + 1]) {
        std::memcpy(data(), text, n);
        data()[n] = 0;
    }
    char *data() noexcept { return m_heap ? m_heap.get() : m_inline; }

private:
    char m_inline[256];
    std::unique_ptr<char[]> m_heap;
};

bool IsSpaceAt(const char *p, size_t *step) noexcept {
    wchar_t code;
    int n = Mbcs::ToCodePoint(p, &code);
    if (n <= 0 || static_cast<unsigned long>(code) > 0xFFFF)
        return false;
    *step = static_cast<size_t>(n);
    return is_space(static_cast<unsigned short>(code));
}

} // namespace

// ---------------------------------------------------------------------------
// Storage

template <class T, int F>
typename SString_t<T, F>::Buffer *SString_t<T, F>::allocBuffer(size_t n) {
    size_t capacity = n + kSlack;
    if (capacity < n || TooLarge<T>(capacity, sizeof(Buffer)))
        ThrowBadAllocation();
    uint32_t tag;
    void *memory = BufferPool::Take(sizeof(Buffer) + capacity * sizeof(T), tag);
    if (memory == nullptr)
        ThrowBadAllocation();
    Buffer *b = new (memory) Buffer{SInterlockedInt32s(1), tag, 0, capacity};
    b->text()[0] = 0;
    return b;
}

// Beside allocBuffer, so that the compiler builds it in: converters and
// formatters make most of their results here.
template <class T, int F>
T *SString_t<T, F>::beginWrite(size_t n) {
    if (n == SIZE_MAX)
        throw SBadAllocation();
    Buffer *fresh = allocBuffer(n + 1);
    ReleaseBuffer(m_buffer);
    m_buffer = fresh;
    return fresh->text();
}

template <class T, int F>
void SString_t<T, F>::FreeBuffer(Buffer *b) noexcept {
    BufferPool::Give(static_cast<void *>(b), b->storageTag);
}

template <class T, int F>
void SString_t<T, F>::copyOnWrite(size_t n) {
    if (n == SIZE_MAX)
        ThrowBadAllocation();
    Buffer *b = m_buffer;
    if (b->isStatic()) {
        m_buffer = allocBuffer(n + 1);
        return;
    }
    size_t length = b->length;
    if (n < length)
        n = length;
    if (b->isSoleOwner()) {
        if (n + 1 <= b->capacity)
            return;
        n += kSlack;
        if (n < kSlack || TooLarge<T>(n + 1, sizeof(Buffer)))
            ThrowBadAllocation();
        void *grown = std::realloc(static_cast<void *>(b), sizeof(Buffer) + (n + 1) * sizeof(T));
        if (grown == nullptr)
            ThrowBadAllocation(); // the old buffer is untouched
        m_buffer = static_cast<Buffer *>(grown);
        m_buffer->storageTag = 0; // now the allocator's size, not a pool step
        m_buffer->capacity = n + 1;
        terminateBuffer(length);
        return;
    }
    Buffer *fresh = allocBuffer(n + 1);
    std::memcpy(fresh->text(), b->text(), length * sizeof(T));
    fresh->text()[length] = 0;
    fresh->length = length;
    m_buffer = fresh;
    ReleaseBuffer(b);
}

template <class T, int F>
T *SString_t<T, F>::growFor(size_t n) {
    Buffer *b = m_buffer;
    size_t old = b->length;
    if (old + n < old || old + n + 1 == 0) {
        TARNKIT_ASSERT(0);
        return nullptr;
    }
    size_t needed = old + n + 1;
    bool shared = b->isStatic() || !b->isSoleOwner();
    if (needed > b->capacity) {
        // Doubling: 2 * old + n + 1 units.
        if (old > SIZE_MAX - needed) {
            TARNKIT_ASSERT(0);
            return nullptr;
        }
        size_t capacity = old + needed;
        if (!shared) {
            if (TooLarge<T>(capacity, sizeof(Buffer)))
                ThrowBadAllocation();
            void *grown = std::realloc(static_cast<void *>(b), sizeof(Buffer) + capacity * sizeof(T));
            if (grown == nullptr)
                ThrowBadAllocation(); // the string keeps its old buffer
            m_buffer = static_cast<Buffer *>(grown);
            m_buffer->storageTag = 0; // now the allocator's size, not a pool step
            m_buffer->capacity = capacity;
        } else {
            Buffer *fresh = allocBuffer(capacity);
            std::memcpy(fresh->text(), b->text(), old * sizeof(T));
            fresh->length = old;
            m_buffer = fresh;
            ReleaseBuffer(b);
        }
    } else if (shared) {
        Buffer *fresh = allocBuffer(needed);
        std::memcpy(fresh->text(), b->text(), old * sizeof(T));
        fresh->length = old;
        m_buffer = fresh;
        ReleaseBuffer(b);
    }
    return m_buffer->text() + old;
}

template <class T, int F>
bool SString_t<T, F>::pointsInto(const T *p) const noexcept {
    const Buffer *b = m_buffer;
    return !b->isStatic() && p >= b->text() && p < b->text() + b->capacity;
}

template <class T, int F>
size_t SString_t<T, F>::offsetOf(const iterator &it) const noexcept {
    // The iterator is unchecked; one from elsewhere is held to this text.
    const T *p = it.getCursor();
    const T *text = getString();
    if (p < text)
        return 0;
    size_t offset = static_cast<size_t>(p - text);
    return offset > m_buffer->length ? m_buffer->length : offset;
}

template <class T, int F>
size_t SString_t<T, F>::stepLength(const T *p) noexcept {
    if constexpr (F == 0)
        return Mbcs::StepLength(p);
    else
        return *p != 0;
}

template <class T, int F>
const T *SString_t<T, F>::walk(const T *from, size_t nChars) noexcept {
    if constexpr (F == 0) {
        for (; nChars > 0 && *from; --nChars)
            from += Mbcs::StepLength(from);
    } else {
        for (; nChars > 0 && *from; --nChars)
            ++from;
    }
    return from;
}

// ---------------------------------------------------------------------------
// Construction and assignment

template <class T, int F>
SString_t<T, F>::SString_t(const T *text) : m_buffer(GetEmptyBuffer()) {
    if (text == nullptr || *text == 0)
        return;
    size_t n = TextLength(text);
    Buffer *b = allocBuffer(n + 1);
    std::memcpy(b->text(), text, n * sizeof(T));
    b->text()[n] = 0;
    b->length = n;
    m_buffer = b;
}

template <class T, int F>
SString_t<T, F>::SString_t(const T *p, size_t n) : m_buffer(GetEmptyBuffer()) {
    if (n == SIZE_MAX)
        ThrowBadAllocation();
    Buffer *b = allocBuffer(n + 1);
    if (p != nullptr)
        CopyText(b->text(), p, n);
    else
        std::memset(b->text(), 0, n * sizeof(T));
    m_buffer = b;
    terminateBuffer(n);
}

template <class T, int F>
SString_t<T, F>::SString_t(const CharType &c) : m_buffer(GetEmptyBuffer()) {
    fromSChar(c);
}

template <class T, int F>
void SString_t<T, F>::fromSChar(const CharType &c) {
    size_t n = StoredLength(c);
    if (n == 0) {
        setBuffer(GetEmptyBuffer());
        return;
    }
    Buffer *b = allocBuffer(F == 0 ? g_numBytesInMBCS + 1 : 2);
    std::memcpy(b->text(), c.getBytes(), n * sizeof(T));
    b->text()[n] = 0;
    b->length = n;
    ReleaseBuffer(m_buffer);
    m_buffer = b;
}

template <class T, int F>
SString_t<T, F> &SString_t<T, F>::operator=(const T *text) {
    if (text == getString())
        return *this;
    if (text == nullptr || *text == 0) {
        setBuffer(GetEmptyBuffer());
        return *this;
    }
    if (pointsInto(text)) {
        // A tail of this very text: the storage may move under it.
        SString_t copy(text);
        return *this = copy;
    }
    size_t n = TextLength(text);
    copyOnWrite(n);
    std::memcpy(mutableText(), text, n * sizeof(T));
    terminateBuffer(n);
    return *this;
}

template <class T, int F>
SString_t<T, F> &SString_t<T, F>::operator=(const CharType &c) {
    fromSChar(c);
    return *this;
}

template <class T, int F>
size_t SString_t<T, F>::getNChars() const noexcept {
    if constexpr (F == 0)
        return Mbcs::CountChars(getString());
    else
        return m_buffer->length;
}

// ---------------------------------------------------------------------------
// Comparison

template <class T, int F>
int SString_t<T, F>::compare(const SString_t &other) const noexcept {
    if constexpr (F == 0)
        return Mbcs::Collate(getString(), other.getString());
    else if constexpr (std::is_same_v<T, char>)
        return std::strcmp(getString(), other.getString());
    else
        return Mbcs::CollateWide(getString(), other.getString(), false);
}

template <class T, int F>
int SString_t<T, F>::compareBinary(const SString_t &other) const noexcept {
    if constexpr (std::is_same_v<T, char>)
        return std::strcmp(getString(), other.getString());
    else
        return CompareWideBinary(getString(), other.getString());
}

template <class T, int F>
int SString_t<T, F>::compareNoCase(const SString_t &other) const noexcept {
    if constexpr (F == 0)
        return Mbcs::CollateNoCase(getString(), other.getString());
    else if constexpr (std::is_same_v<T, char>)
        return strcasecmp(getString(), other.getString());
    else
        return Mbcs::CollateWide(getString(), other.getString(), true);
}

template <class T, int F>
bool SString_t<T, F>::operator==(const T *text) const noexcept {
    static const T kEmpty[1] = {0};
    // A null pointer counts as the empty text in every kind.
    const T *other = text != nullptr ? text : kEmpty;
    if constexpr (F == 0)
        return Mbcs::Collate(getString(), other) == 0;
    else if constexpr (std::is_same_v<T, char>)
        return std::strcmp(getString(), other) == 0;
    else
        return Mbcs::CollateWide(getString(), other, false) == 0;
}

// ---------------------------------------------------------------------------
// Iterators and search

template <class T, int F>
typename SString_t<T, F>::iterator &SString_t<T, F>::iterator::operator+=(size_t n) noexcept {
    m_cursor = const_cast<T *>(SString_t::walk(m_cursor, n));
    return *this;
}

template <class T, int F>
typename SString_t<T, F>::iterator SString_t<T, F>::iterator::find(const CharType &c) const noexcept {
    const T *hit;
    if constexpr (F == 0)
        hit = Mbcs::FindChar(m_cursor, c.getBytes(), StoredLength(c));
    else if constexpr (std::is_same_v<T, char>)
        hit = c.getChar() != 0 ? std::strchr(m_cursor, c.getChar()) : nullptr;
    else
        hit = c.getChar() != 0 ? FindWideUnit(m_cursor, c.getChar()) : nullptr;
    return iterator(hit != nullptr ? hit : m_cursor + TextLength(m_cursor));
}

template <class T, int F>
typename SString_t<T, F>::iterator SString_t<T, F>::iterator::find(const SString_t &str) const {
    const T *hit;
    if constexpr (F == 0)
        hit = Mbcs::FindString(m_cursor, str.getString());
    else if constexpr (std::is_same_v<T, char>)
        hit = std::strstr(m_cursor, str.getString());
    else
        hit = FindWide(m_cursor, str.getString());
    return iterator(hit != nullptr ? hit : m_cursor + TextLength(m_cursor));
}

template <class T, int F>
typename SString_t<T, F>::iterator SString_t<T, F>::find(const SString_t &str) const {
    iterator hit = begin().find(str);
    return hit.isAtEnd() && !str.isEmpty() ? end() : hit;
}

template <class T, int F>
typename SString_t<T, F>::iterator SString_t<T, F>::findFirst(const CharType &c) const noexcept {
    iterator hit = begin().find(c);
    return hit.isAtEnd() ? end() : hit;
}

template <class T, int F>
typename SString_t<T, F>::iterator SString_t<T, F>::findLast(const CharType &c) const noexcept {
    iterator last = end();
    for (iterator hit = begin().find(c); !hit.isAtEnd(); hit = (++iterator(hit)).find(c))
        last = hit;
    return last;
}

template <class T, int F>
uint32_t SString_t<T, F>::getCharIndex(const iterator &it) const noexcept {
    const T *p = getString();
    const T *target = it.getCursor();
    uint32_t count = 0;
    while (p < target && *p) {
        p += stepLength(p);
        ++count;
    }
    TARNKIT_ASSERT_EXPR(p == target, "iter2 == iter");
    return count;
}

// ---------------------------------------------------------------------------
// Pieces

template <class T, int F>
SString_t<T, F> SString_t<T, F>::left(size_t n) const {
    const T *text = getString();
    return SString_t(text, static_cast<size_t>(walk(text, n) - text));
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::left(const iterator &it) const {
    return SString_t(getString(), offsetOf(it));
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::right(size_t n) const {
    size_t count = getNChars();
    if (count <= n)
        return *this;
    const T *from = walk(getString(), count - n);
    return SString_t(from, static_cast<size_t>(getString() + m_buffer->length - from));
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::right(const iterator &it) const {
    size_t offset = offsetOf(it);
    return SString_t(getString() + offset, m_buffer->length - offset);
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::mid(size_t start) const {
    const T *from = walk(getString(), start);
    if (*from == 0)
        return SString_t();
    return SString_t(from, static_cast<size_t>(getString() + m_buffer->length - from));
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::mid(const iterator &it) const {
    return right(it);
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::mid(const iterator &it, size_t n) const {
    const T *from = getString() + offsetOf(it);
    return SString_t(from, static_cast<size_t>(walk(from, n) - from));
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::mid(size_t start, size_t n) const {
    const T *from = walk(getString(), start);
    return SString_t(from, static_cast<size_t>(walk(from, n) - from));
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::mid(const iterator &from, const iterator &to) const {
    size_t a = offsetOf(from), b = offsetOf(to);
    return SString_t(getString() + a, b > a ? b - a : 0);
}

// ---------------------------------------------------------------------------
// Editing

template <class T, int F>
typename SString_t<T, F>::CharType SString_t<T, F>::getAt(size_t index) const noexcept {
    return CharType::fromText(walk(getString(), index));
}

template <class T, int F>
typename SString_t<T, F>::CharType SString_t<T, F>::getAt(const iterator &it) const noexcept {
    return *it;
}

template <class T, int F>
void SString_t<T, F>::setAt(size_t index, const CharType &c) {
    iterator it(walk(getString(), index));
    setAt(it, c);
}

template <class T, int F>
void SString_t<T, F>::setAt(iterator &it, const CharType &c) {
    size_t pos = offsetOf(it);
    size_t length = m_buffer->length;
    if constexpr (F == 0) {
        const char *at = getString() + pos;
        size_t presentLength = Mbcs::StepLength(at);
        if (presentLength == StoredLength(c) && std::memcmp(at, c.getBytes(), presentLength) == 0)
            return;
        int newBytes = c.getLength();
        int oldBytes = Mbcs::CharLength(at);
        TARNKIT_ASSERT_MSG(newBytes >= 0 && oldBytes >= 0,
                           "SString::setAt: Cannot set because c is not a valid character in this locale");
        if (newBytes < 0 || oldBytes < 0)
            return;
        if (oldBytes == 0) {
            // At the terminator there is no character to replace.
            TARNKIT_ASSERT_EXPR(false, "(ptrdiff_t)length > (cursor + iNumNativeChars - getString ())");
            return;
        }
        size_t newLength = length + static_cast<size_t>(newBytes) - static_cast<size_t>(oldBytes);
        copyOnWrite(newLength);
        char *text = mutableText();
        it = iterator(text + pos);
        if (newBytes != oldBytes) {
            TARNKIT_ASSERT_EXPR(static_cast<ptrdiff_t>(length) > static_cast<ptrdiff_t>(pos) + oldBytes,
                                "(ptrdiff_t)length > (cursor + iNumNativeChars - getString ())");
            // The guard also fires for the last character, which is harmless:
            // the tail to move is then empty. Only a position outside the
            // text stops the edit.
            if (pos + static_cast<size_t>(oldBytes) > length)
                return;
            std::memmove(text + pos + newBytes, text + pos + oldBytes, length - pos - static_cast<size_t>(oldBytes));
            terminateBuffer(newLength);
        }
        std::memcpy(text + pos, c.getBytes(), static_cast<size_t>(newBytes));
    } else {
        if (getString()[pos] == c.getChar())
            return;
        TARNKIT_ASSERT_EXPR(length > pos, "(ptrdiff_t)length > (cursor + iNumNativeChars - getString ())");
        if (pos >= length)
            return;
        copyOnWrite(0);
        mutableText()[pos] = c.getChar();
        it = iterator(mutableText() + pos);
    }
}

template <class T, int F>
T *SString_t<T, F>::insertUnits(size_t pos, const T *p, size_t n) {
    if (n == 0)
        return mutableText() + pos;
    size_t length = m_buffer->length;
    if (length + n < length || length + n + 1 == 0) {
        TARNKIT_ASSERT(0);
        return mutableText() + pos;
    }
    copyOnWrite(length + n);
    T *text = mutableText();
    if (pos < length)
        std::memmove(text + pos + n, text + pos, (length - pos) * sizeof(T));
    CopyText(text + pos, p, n);
    terminateBuffer(length + n);
    return text + pos;
}

template <class T, int F>
void SString_t<T, F>::insertChar(size_t index, const CharType &c) {
    const T *at = walk(getString(), index);
    insertUnits(static_cast<size_t>(at - getString()), c.getBytes(), StoredLength(c));
}

template <class T, int F>
void SString_t<T, F>::insertChar(iterator &it, const CharType &c) {
    it = iterator(insertUnits(offsetOf(it), c.getBytes(), StoredLength(c)));
}

template <class T, int F>
void SString_t<T, F>::insertChars(size_t index, const SString_t &chars) {
    SString_t keep(chars); // chars may be this string
    const T *at = walk(getString(), index);
    insertUnits(static_cast<size_t>(at - getString()), keep.getString(), keep.getLength());
}

template <class T, int F>
void SString_t<T, F>::insertChars(iterator &it, const SString_t &chars) {
    SString_t keep(chars);
    it = iterator(insertUnits(offsetOf(it), keep.getString(), keep.getLength()));
}

template <class T, int F>
void SString_t<T, F>::deleteUnits(size_t pos, size_t count) {
    const T *from = getString() + pos;
    size_t nBytesToDelete = static_cast<size_t>(walk(from, count) - from);
    if (nBytesToDelete == 0)
        return;
    size_t nBytesInString = m_buffer->length;
    TARNKIT_ASSERT_EXPR(pos + nBytesToDelete <= nBytesInString, "byteN + nBytesToDelete <= nBytesInString");
    if (pos + nBytesToDelete > nBytesInString)
        return;
    copyOnWrite(0);
    T *text = mutableText();
    std::memmove(text + pos, text + pos + nBytesToDelete, (nBytesInString - pos - nBytesToDelete) * sizeof(T));
    terminateBuffer(nBytesInString - nBytesToDelete);
}

template <class T, int F>
void SString_t<T, F>::deleteChar(size_t index) {
    deleteChars(index, 1);
}

template <class T, int F>
void SString_t<T, F>::deleteChar(iterator &it) {
    deleteChars(it, 1);
}

template <class T, int F>
void SString_t<T, F>::deleteChars(size_t index, size_t count) {
    deleteUnits(static_cast<size_t>(walk(getString(), index) - getString()), count);
}

template <class T, int F>
void SString_t<T, F>::deleteChars(iterator &it, size_t count) {
    size_t pos = offsetOf(it);
    deleteUnits(pos, count);
    it = iterator(getString() + pos);
}

template <class T, int F>
void SString_t<T, F>::concat(const T *p, size_t n) {
    if (n == 0)
        return;
    // Appending from this string's own storage: holding a share keeps the
    // source alive while the text moves to a new buffer.
    SString_t keep;
    if (p != nullptr && pointsInto(p))
        keep = *this;
    size_t old = m_buffer->length;
    T *dest = growFor(n);
    if (dest == nullptr)
        return;
    if (n == 1 && p != nullptr)
        *dest = *p;
    else if (p != nullptr)
        CopyText(dest, p, n);
    terminateBuffer(old + n);
}

template <class T, int F>
void SString_t<T, F>::concat(const iterator &from, const iterator &to) {
    if (to > from)
        concat(from.getCursor(), static_cast<size_t>(to - from));
}

template <class T, int F>
T *SString_t<T, F>::concatAllocHelper(size_t n) {
    if (n == 0)
        return nullptr;
    size_t old = m_buffer->length;
    T *dest = growFor(n);
    if (dest != nullptr)
        terminateBuffer(old + n);
    return dest;
}

template <class T, int F>
void SString_t<T, F>::concatFromAscii(const char *p, size_t n) {
    if (p == nullptr || n == 0)
        return;
    if constexpr (std::is_same_v<T, char>) {
        concat(p, n);
    } else {
        T *dest = concatAllocHelper(n);
        if (dest == nullptr)
            return;
        // The wide target takes the signed byte: 0xE9 becomes 0xFFE9.
        for (size_t i = 0; i < n; ++i)
            dest[i] = static_cast<T>(static_cast<short>(static_cast<signed char>(p[i])));
    }
}

template <class T, int F>
void SString_t<T, F>::appendChar(const CharType &c) {
    size_t n = StoredLength(c);
    if (n > 0)
        concat(c.getBytes(), n);
}

template <class T, int F>
SString_t<T, F> &SString_t<T, F>::operator+=(const SString_t &other) {
    concat(other.getString(), other.getLength());
    return *this;
}

template <class T, int F>
SString_t<T, F> &SString_t<T, F>::operator+=(const T *text) {
    if (text != nullptr)
        concat(text, TextLength(text));
    return *this;
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::operator+(const SString_t &other) const {
    SString_t result(*this);
    result += other;
    return result;
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::operator+(const T *text) const {
    SString_t result(*this);
    result += text;
    return result;
}

template <class T, int F>
SString_t<T, F> SString_t<T, F>::operator+(const CharType &c) const {
    SString_t result(*this);
    result += c;
    return result;
}

// Case conversion in the multibyte kind works on a copy and advances the
// source by the converted length, so a character whose case forms differ in
// byte count puts the source out of step; both pointers stay inside their
// buffers. toUpper stops one character early (the limit test is >=), which
// cuts off the last character while the stored length stays.
namespace {

void ConvertCaseMbcs(char *s, size_t limit, size_t capacity, bool upper) {
    TextCopy temp(s, limit);
    const char *source = temp.data();
    const char *sourceEnd = source + limit;
    char *dest = s;
    size_t produced = 0;
    for (;;) {
        int charLength = Mbcs::CharLength(source);
        if (charLength == 0 || *source == 0)
            break;
        size_t stepBytes = charLength < 0 ? 1 : static_cast<size_t>(charLength);
        if (upper ? produced + stepBytes >= limit : produced + stepBytes > limit)
            break;
        std::memcpy(dest, source, stepBytes);
        int charSize = static_cast<int>(stepBytes);
        bool converted = Mbcs::ConvertCaseChar(dest, capacity - 1 - produced, &charSize, upper);
        if (upper)
            TARNKIT_ASSERT_EXPR(converted, "MakeUpperCaseChar(dest, strSize - (dest - s), &charSize)");
        else
            TARNKIT_ASSERT_EXPR(converted, "MakeLowerCaseChar(dest, strSize - (dest - s), &charSize)");
        if (!converted)
            charSize = static_cast<int>(stepBytes); // the bytes stay as they were
        size_t advance = static_cast<size_t>(charSize);
        source = static_cast<size_t>(sourceEnd - source) < advance ? sourceEnd : source + advance;
        dest += advance;
        produced += advance;
    }
    s[produced] = 0;
}

} // namespace

namespace {

// The ASCII and wide kinds change case unit by unit over the whole text.
template <class T>
void ConvertCaseUnits(T *text, size_t length, bool upper) {
    for (size_t i = 0; i < length; ++i) {
        if constexpr (std::is_same_v<T, char>) {
            int c = static_cast<unsigned char>(text[i]);
            text[i] = static_cast<char>(upper ? std::toupper(c) : std::tolower(c));
        } else {
            text[i] = static_cast<T>(upper ? std::towupper(text[i]) : std::towlower(text[i]));
        }
    }
}

} // namespace

template <class T, int F>
void SString_t<T, F>::toUpper() {
    copyOnWrite(0);
    if constexpr (F == 0)
        ConvertCaseMbcs(mutableText(), m_buffer->length, m_buffer->capacity, true);
    else
        ConvertCaseUnits(mutableText(), m_buffer->length, true);
}

template <class T, int F>
void SString_t<T, F>::toLower() {
    copyOnWrite(0);
    if constexpr (F == 0)
        ConvertCaseMbcs(mutableText(), m_buffer->length, m_buffer->capacity, false);
    else
        ConvertCaseUnits(mutableText(), m_buffer->length, false);
}

template <class T, int F>
void SString_t<T, F>::trimLeft() {
    const T *text = getString();
    const T *p = text;
    if constexpr (F == 0) {
        size_t step = 0;
        while (*p && IsSpaceAt(p, &step))
            p += step;
    } else {
        // The unit itself is the code; an ASCII byte above 127 widens signed
        // and is no space.
        while (*p && is_space(static_cast<unsigned short>(static_cast<std::make_signed_t<T>>(*p))))
            ++p;
    }
    if (p == text)
        return;
    if (*p == 0) {
        empty();
        return;
    }
    SString_t rest(p);
    *this = rest;
}

template <class T, int F>
void SString_t<T, F>::trimRight() {
    const T *text = getString();
    const T *lastNonSpace = nullptr;
    for (const T *p = text; *p;) {
        size_t step = 1;
        bool space;
        if constexpr (F == 0) {
            space = IsSpaceAt(p, &step);
            if (!space)
                step = Mbcs::StepLength(p);
        } else {
            space = is_space(static_cast<unsigned short>(static_cast<std::make_signed_t<T>>(*p)));
        }
        if (!space)
            lastNonSpace = p;
        p += step;
    }
    if (lastNonSpace == nullptr) {
        empty();
        return;
    }
    const T *cut = lastNonSpace + stepLength(lastNonSpace);
    if (*cut == 0)
        return;
    SString_t prefix(text, static_cast<size_t>(cut - text));
    *this = prefix;
}

template class SString_t<char, 0>;
template class SString_t<char, 1>;
template class SString_t<unsigned short, 1>;

// ---------------------------------------------------------------------------
// The derived kinds

// The conversions between the kinds live in stringkinds.cpp.

bool SAnsiStringCI::operator==(const char *text) const noexcept {
    return Mbcs::CollateNoCase(getString(), text != nullptr ? text : "") == 0;
}

SAnsiStringCI::iterator SAnsiStringCI::find(const SAnsiString &str) const {
    SAnsiString text(*this), needle(str);
    text.toLower();
    needle.toLower();
    iterator hit = text.SAnsiString::find(needle);
    if (hit == text.end() && !needle.isEmpty())
        return end();
    uint32_t index = text.getCharIndex(hit);
    iterator original = begin();
    original += index;
    return original;
}

bool SWCharStringCI::operator==(const unsigned short *text) const noexcept {
    static const unsigned short kEmpty[1] = {0};
    return Mbcs::CollateWide(getString(), text != nullptr ? text : kEmpty, true) == 0;
}

SWCharStringCI::iterator SWCharStringCI::find(const SWCharString &str) const {
    SWCharString text(*this), needle(str);
    text.toLower();
    needle.toLower();
    iterator hit = text.SWCharString::find(needle);
    if (hit == text.end() && !needle.isEmpty())
        return end();
    iterator original = begin();
    original += static_cast<size_t>(hit - text.begin());
    return original;
}

} // namespace TarnkitA201
