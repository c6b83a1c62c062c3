#include "tarnkit/sarray.h"
#include "tarnkit/sstringconv.h"
#include "tarnkit/sstringimpl.h"

namespace TarnkitA201 {

namespace {

// Numbers go in base 10 through the integer writer, straight into the
// string's own unit type.
template <class S, class T>
S &AppendInteger(S &s, T value) {
    typename S::UnitType text[72];
    s.concat(text, StringConvFromInteger(text, value, 10));
    return s;
}

// Doubles with six digits behind the point, in the C library's "%#.*f".
template <class S>
S &AppendDouble(S &s, double value) {
    s += SStringConvOf<S>::ToString(value, 6);
    return s;
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
SAnsiString &operator<<(SAnsiString &s, short x) { return AppendInteger(s, x); }
SAnsiString &operator<<(SAnsiString &s, unsigned short x) { return AppendInteger(s, x); }
SAnsiString &operator<<(SAnsiString &s, int x) { return AppendInteger(s, x); }
SAnsiString &operator<<(SAnsiString &s, unsigned int x) { return AppendInteger(s, x); }
SAnsiString &operator<<(SAnsiString &s, long x) { return AppendInteger(s, x); }
SAnsiString &operator<<(SAnsiString &s, unsigned long x) { return AppendInteger(s, x); }
SAnsiString &operator<<(SAnsiString &s, __int64 x) { return AppendInteger(s, x); }
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
SWCharString &operator<<(SWCharString &s, short x) { return AppendInteger(s, x); }
SWCharString &operator<<(SWCharString &s, unsigned short x) { return AppendInteger(s, x); }
SWCharString &operator<<(SWCharString &s, int x) { return AppendInteger(s, x); }
SWCharString &operator<<(SWCharString &s, unsigned int x) { return AppendInteger(s, x); }
SWCharString &operator<<(SWCharString &s, long x) { return AppendInteger(s, x); }
SWCharString &operator<<(SWCharString &s, unsigned long x) { return AppendInteger(s, x); }
SWCharString &operator<<(SWCharString &s, __int64 x) { return AppendInteger(s, x); }
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
