// Filling message templates.
#include "tarnkit/sresstring.h"

#include "foundation/services.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

namespace TarnkitA201 {

// Fixed before any other static runs, so a template made during another
// file's static initialisation already sees "^".
constinit const SChar_t<char, 0> SResString::s_chEscape('^');

namespace {

SAnsiString LoadTemplate(unsigned long id) {
    const ResourceStringLoader loader = GetResourceStringLoader();
    return loader != nullptr ? loader(id) : SAnsiString();
}

// A byte below 0x80 at a character boundary is one character in every
// locale the library runs in; only other bytes need the locale.
// The bytes of a character as the template walk steps it: an invalid
// sequence is its one byte, the zero character none.
size_t CharBytes(const SChar_t<char, 0> &c) {
    const int length = c.getLength();
    if (length > 0)
        return static_cast<size_t>(length);
    return c.getChar() != 0 ? 1 : 0;
}

size_t CharLengthAt(const char *p, const char *end) {
    if (static_cast<unsigned char>(*p) < 0x80)
        return 1;
    const size_t length = CharBytes(SChar_t<char, 0>::fromText(p));
    const size_t left = static_cast<size_t>(end - p);
    if (length == 0)
        return 1;
    return length < left ? length : left;
}

bool CharIs(const char *p, size_t length, const SChar_t<char, 0> &c) {
    return CharBytes(c) == length && std::memcmp(p, c.getBytes(), length) == 0;
}

// Placeholder numbers are ASCII digits only; a character that is not one,
// an invalid sequence included, ends the number.
bool IsPlaceholderDigit(char c) { return c >= '0' && c <= '9'; }

// Reads the digits at p greedily. A number too large for any value count
// saturates instead of wrapping, so it simply finds no value.
unsigned long ReadPlaceholderNumber(const char *&p, const char *end) {
    unsigned long n = 0;
    for (; p < end && IsPlaceholderDigit(*p); ++p) {
        const unsigned long digit = static_cast<unsigned long>(*p - '0');
        n = n > (ULONG_MAX - digit) / 10 ? ULONG_MAX : n * 10 + digit;
    }
    return n;
}

void AppendSpan(SAnsiString &result, const char *from, const char *to) {
    if (to > from)
        result.concat(from, static_cast<size_t>(to - from));
}

void AppendChar(SAnsiString &result, const SChar_t<char, 0> &c) {
    const size_t length = CharBytes(c);
    if (length > 0)
        result.concat(c.getBytes(), length);
}

} // namespace

SResString::SResString(unsigned long id, const SChar_t<char, 0> &placeholder)
    : m_numVars{}, m_resourceId(id), m_varCount(0), m_furtherCapacity(0), m_template(LoadTemplate(id)),
      m_placeholder(placeholder) {}

SResString::SResString(const SAnsiString &text, const SChar_t<char, 0> &placeholder)
    : m_numVars{}, m_resourceId(0), m_varCount(0), m_furtherCapacity(0), m_template(text),
      m_placeholder(placeholder) {}

SResString::SResString(const SResString &other)
    : m_numVars{}, m_resourceId(other.m_resourceId), m_varCount(0), m_furtherCapacity(0),
      m_template(other.m_template), m_placeholder(other.m_placeholder) {}

SResString &SResString::operator=(const SResString &other) {
    if (this == &other)
        return *this;
    SResString copy(other);
    *this = std::move(copy);
    return *this;
}

SResString::SResString(SResString &&other) noexcept
    : m_furtherVars(std::move(other.m_furtherVars)), m_resourceId(other.m_resourceId),
      m_varCount(other.m_varCount), m_furtherCapacity(other.m_furtherCapacity),
      m_template(std::move(other.m_template)), m_placeholder(other.m_placeholder) {
    for (int i = 0; i < FixedSlots; ++i)
        m_strVars[i] = std::move(other.m_strVars[i]);
    std::memcpy(m_numVars, other.m_numVars, sizeof m_numVars);
    other.m_varCount = 0;
    other.m_furtherCapacity = 0;
}

SResString &SResString::operator=(SResString &&other) noexcept {
    if (this == &other)
        return *this;
    for (int i = 0; i < FixedSlots; ++i)
        m_strVars[i] = std::move(other.m_strVars[i]);
    std::memcpy(m_numVars, other.m_numVars, sizeof m_numVars);
    m_furtherVars = std::move(other.m_furtherVars);
    m_resourceId = other.m_resourceId;
    m_varCount = other.m_varCount;
    m_furtherCapacity = other.m_furtherCapacity;
    m_template = std::move(other.m_template);
    m_placeholder = other.m_placeholder;
    other.m_varCount = 0;
    other.m_furtherCapacity = 0;
    return *this;
}

SResString::~SResString() = default;

template <class Number>
void SResString::storeNumber(const char *format, Number value) {
    // Longer output would be cut to the slot; every int, long and "%g" text
    // fits it.
    std::snprintf(m_numVars[m_varCount - 1], NumberTextSize, format, value);
}

template <class Value>
SResString &SResString::feedAsString(const Value &value) {
    SAnsiString text;
    text << value;
    storeVarStr(text);
    return *this;
}

void SResString::storeVarStr(const SAnsiString &value) {
    if (m_varCount <= FixedSlots) {
        m_strVars[m_varCount - 1] = value;
        m_numVars[m_varCount - 1][0] = 0;
        return;
    }
    if (m_varCount == FixedSlots + 1) {
        m_furtherCapacity = FirstFurtherCapacity;
        m_furtherVars.SetSize(static_cast<size_t>(m_furtherCapacity));
    } else if (m_varCount == m_furtherCapacity + FixedSlots + 1) {
        m_furtherCapacity *= 2;
        m_furtherVars.SetSize(static_cast<size_t>(m_furtherCapacity));
    }
    m_furtherVars.SetAt(static_cast<size_t>(m_varCount - FixedSlots - 1), value);
}

SResString &SResString::operator<<(const SAnsiString &value) {
    ++m_varCount;
    storeVarStr(value);
    return *this;
}

SResString &SResString::operator<<(SChar_t<char, 0> value) {
    ++m_varCount;
    if (m_varCount > FixedSlots)
        return feedAsString(value);
    // All of the character's bytes, so a multibyte character stays whole.
    // A zero character leaves the slot empty, which selects the slot's
    // (empty) string: the character adds nothing, as "%c" of it would.
    size_t length = CharBytes(value);
    if (length > static_cast<size_t>(g_numBytesInMBCS))
        length = static_cast<size_t>(g_numBytesInMBCS);
    char *slot = m_numVars[m_varCount - 1];
    std::memcpy(slot, value.getBytes(), length);
    slot[length] = 0;
    return *this;
}

SResString &SResString::operator<<(double value) {
    ++m_varCount;
    if (m_varCount > FixedSlots)
        return feedAsString(value);
    storeNumber("%g", value);
    return *this;
}

SResString &SResString::operator<<(int value) {
    ++m_varCount;
    if (m_varCount > FixedSlots)
        return feedAsString(value);
    storeNumber("%d", value);
    return *this;
}

SResString &SResString::operator<<(unsigned int value) {
    ++m_varCount;
    if (m_varCount > FixedSlots)
        return feedAsString(value);
    storeNumber("%u", value);
    return *this;
}

SResString &SResString::operator<<(long value) {
    ++m_varCount;
    if (m_varCount > FixedSlots)
        return feedAsString(value);
    storeNumber("%ld", value);
    return *this;
}

SResString &SResString::operator<<(unsigned long value) {
    ++m_varCount;
    if (m_varCount > FixedSlots)
        return feedAsString(value);
    storeNumber("%lu", value);
    return *this;
}

void SResString::appendValue(SAnsiString &result, unsigned long n) const {
    if (n > static_cast<unsigned long>(FixedSlots)) {
        result += m_furtherVars.GetAt(n - FixedSlots - 1);
        return;
    }
    const char *number = m_numVars[n - 1];
    if (number[0] != 0)
        result += number;
    else
        result += m_strVars[n - 1];
}

SResString::operator SAnsiString() const {
    SAnsiString result;
    result.setBufferSize(1024);

    const char *p = m_template.getString();
    const char *const end = p + m_template.getLength();
    const char *q = p; // start of the literal text not yet copied
    const unsigned long count = static_cast<unsigned long>(m_varCount);

    while (p < end) {
        const size_t length = CharLengthAt(p, end);
        if (CharIs(p, length, s_chEscape)) {
            // A lone escape vanishes; a doubled one gives one.
            AppendSpan(result, q, p);
            p += length;
            if (p < end) {
                const size_t next = CharLengthAt(p, end);
                if (CharIs(p, next, s_chEscape)) {
                    AppendChar(result, s_chEscape);
                    p += next;
                }
            }
            q = p;
            continue;
        }
        if (!CharIs(p, length, m_placeholder)) {
            p += length;
            continue;
        }

        const char *const placeholder = p;
        p += length;
        if (p >= end)
            break;
        if (!IsPlaceholderDigit(*p) || *p == '0') {
            // Not a placeholder: the character after it is not examined.
            p += CharLengthAt(p, end);
            continue;
        }
        const unsigned long n = ReadPlaceholderNumber(p, end);
        if (n >= 1 && n <= count) {
            AppendSpan(result, q, placeholder);
            appendValue(result, n);
        } else {
            // No value: the placeholder stays in the text.
            AppendSpan(result, q, p);
        }
        q = p;
    }
    AppendSpan(result, q, end);
    return result;
}

SAnsiString &operator<<(SAnsiString &s, const SResString &message) {
    s += static_cast<SAnsiString>(message);
    return s;
}

} // namespace TarnkitA201
