#include "strings/numbertext.h"
#include "tarnkit/sarray.h"
#include "tarnkit/sstringimpl.h"

namespace TarnkitA201 {

namespace {

using NumberText::kNumberTextSize;

template <class S>
S &AppendAscii(S &s, const char *text, size_t n) {
    s.concatFromAscii(text, n);
    return s;
}

template <class S>
S &AppendSigned(S &s, long long value) {
    char text[kNumberTextSize];
    return AppendAscii(s, text, NumberText::FromSigned(value, text));
}

template <class S>
S &AppendUnsigned(S &s, unsigned long long value) {
    char text[kNumberTextSize];
    return AppendAscii(s, text, NumberText::FromUnsigned(value, text));
}

template <class S>
S &AppendDouble(S &s, double value) {
    char text[kNumberTextSize];
    return AppendAscii(s, text, NumberText::FromDouble(value, 6, text));
}

} // namespace

SAnsiString &operator<<(SAnsiString &s, const SAnsiString &x) {
    s += x;
    return s;
}
SAnsiString &operator<<(SAnsiString &s, const char *x) {
    if (x != nullptr)
        s += x;
    return s;
}
SAnsiString &operator<<(SAnsiString &s, short x) { return AppendSigned(s, x); }
SAnsiString &operator<<(SAnsiString &s, unsigned short x) { return AppendUnsigned(s, x); }
SAnsiString &operator<<(SAnsiString &s, int x) { return AppendSigned(s, x); }
SAnsiString &operator<<(SAnsiString &s, unsigned int x) { return AppendUnsigned(s, x); }
SAnsiString &operator<<(SAnsiString &s, long x) { return AppendSigned(s, x); }
SAnsiString &operator<<(SAnsiString &s, unsigned long x) { return AppendUnsigned(s, x); }
SAnsiString &operator<<(SAnsiString &s, __int64 x) { return AppendSigned(s, x); }
SAnsiString &operator<<(SAnsiString &s, double x) { return AppendDouble(s, x); }

SWCharString &operator<<(SWCharString &s, const SWCharString &x) {
    s += x;
    return s;
}
SWCharString &operator<<(SWCharString &s, const unsigned short *x) {
    if (x != nullptr)
        s += x;
    return s;
}
SWCharString &operator<<(SWCharString &s, short x) { return AppendSigned(s, x); }
SWCharString &operator<<(SWCharString &s, unsigned short x) { return AppendUnsigned(s, x); }
SWCharString &operator<<(SWCharString &s, int x) { return AppendSigned(s, x); }
SWCharString &operator<<(SWCharString &s, unsigned int x) { return AppendUnsigned(s, x); }
SWCharString &operator<<(SWCharString &s, long x) { return AppendSigned(s, x); }
SWCharString &operator<<(SWCharString &s, unsigned long x) { return AppendUnsigned(s, x); }
SWCharString &operator<<(SWCharString &s, __int64 x) { return AppendSigned(s, x); }
SWCharString &operator<<(SWCharString &s, double x) { return AppendDouble(s, x); }

size_t SplitString(SAnsiString text, SIArray<SAnsiString> &pieces, SChar_t<char, 0> separator) {
    pieces.RemoveAll();
    SAnsiString::iterator from = text.begin();
    for (;;) {
        SAnsiString::iterator hit = from.find(separator);
        pieces.Add(text.mid(from, hit));
        if (hit.isAtEnd())
            break;
        from = ++hit;
    }
    return pieces.GetSize();
}

} // namespace TarnkitA201
