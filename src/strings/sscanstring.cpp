// Scanning a text by a format with numbered placeholders.
#include "tarnkit/sscanstring.h"

#include "tarnkit/sstringconv.h"
#include "tarnkit/strace.h"

namespace TarnkitA201 {

namespace {

using Char = SChar_t<char, 0>;
using Iterator = SAnsiString::iterator;

bool IsSpaceOrBlank(const Char &c) noexcept { return c.isWhiteSpace() || c.isBlank(); }

void SkipSpace(Iterator &it) noexcept {
    while (!it.isAtEnd() && IsSpaceOrBlank(*it))
        ++it;
}

// The value of a decimal digit, -1 for any other character.
int isTag(const Char &c) noexcept {
    char unit = c.getChar();
    return c.getLength() == 1 && unit >= '0' && unit <= '9' ? unit - '0' : -1;
}

// Reads the placeholder number behind "%" and steps over all its digits.
// Numbers beyond SScanString::MaxTag come back as MaxTag + 1.
int ReadTagNumber(Iterator &it) noexcept {
    int number = 0;
    for (int digit = isTag(*it); digit >= 0; digit = isTag(*it)) {
        if (number <= SScanString::MaxTag)
            number = number * 10 + digit;
        ++it;
    }
    return number;
}

// The input from `it` up to white space, a blank, `stop`, or the end.
SAnsiString ReadValue(const SAnsiString &input, Iterator &it, const Char &stop) {
    Iterator from = it;
    while (!it.isAtEnd()) {
        Char c = *it;
        if (IsSpaceOrBlank(c) || (stop.getChar() != 0 && c == stop))
            break;
        ++it;
    }
    return input.mid(from, it);
}

} // namespace

SScanString::SScanString(SAnsiString const &input, SAnsiString const &format) {
    m_entries.SetSize(5);
    scan(input, format);
}

void SScanString::scan(SAnsiString const &input, SAnsiString const &format) {
    Iterator in = input.begin();
    Iterator fmt = format.begin();
    for (;;) {
        SkipSpace(in);
        SkipSpace(fmt);
        if (in.isAtEnd() || fmt.isAtEnd())
            return;
        Char formatChar = *fmt;
        Iterator afterPercent = fmt;
        ++afterPercent;
        if (formatChar.getChar() == '%' && isTag(*afterPercent) > 0) {
            fmt = afterPercent;
            int tag = ReadTagNumber(fmt);
            if (tag > MaxTag) {
                TARNKIT_TRACE(2, "SScanString: placeholder number above %1 ends the scan", MaxTag);
                return;
            }
            if (static_cast<size_t>(tag) >= m_entries.GetSize())
                m_entries.SetSize(static_cast<size_t>(tag) + 1);
            strEntry &entry = m_entries[static_cast<size_t>(tag)];
            entry.value = ReadValue(input, in, *fmt);
            entry.out = false;
            if (tag > m_maxIndex)
                m_maxIndex = tag;
            ++m_numVars;
            continue;
        }
        if (*in != formatChar)
            return;
        ++in;
        ++fmt;
    }
}

bool SScanString::readNext(SAnsiString &text) {
    if (m_readIndex > m_maxIndex)
        return false;
    strEntry &entry = m_entries[static_cast<size_t>(m_readIndex)];
    ++m_readIndex;
    if (entry.value.isEmpty())
        return false;
    text = entry.value;
    entry.out = true;
    return true;
}

bool SScanString::varOut(int n) const noexcept {
    if (n < 0 || static_cast<size_t>(n) >= m_entries.GetSize())
        return false;
    return m_entries.Begin()[n].out;
}

SScanString &SScanString::operator>>(SAnsiString &value) {
    readNext(value);
    return *this;
}

SScanString &SScanString::operator>>(SChar_t<char, 0> &value) {
    SAnsiString text;
    if (readNext(text))
        value = Char::fromText(text.getString());
    return *this;
}

SScanString &SScanString::operator>>(long &value) {
    SAnsiString text;
    if (readNext(text))
        SAnsiStringConv::FromString(text, value, 10);
    return *this;
}

SScanString &SScanString::operator>>(unsigned long &value) {
    SAnsiString text;
    if (readNext(text))
        SAnsiStringConv::FromString(text, value, 10);
    return *this;
}

SScanString &SScanString::operator>>(short &value) {
    SAnsiString text;
    if (readNext(text))
        SAnsiStringConv::FromString(text, value, 10);
    return *this;
}

SScanString &SScanString::operator>>(unsigned short &value) {
    SAnsiString text;
    if (readNext(text))
        SAnsiStringConv::FromString(text, value, 10);
    return *this;
}

SScanString &SScanString::operator>>(double &value) {
    SAnsiString text;
    if (readNext(text))
        SAnsiStringConv::FromString(text, value);
    return *this;
}

} // namespace TarnkitA201
