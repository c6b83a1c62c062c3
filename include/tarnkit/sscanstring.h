// SScanString reads values out of a text by a format with numbered
// placeholders ("%1", "%2", ...) and hands them out in placeholder order,
// whatever order they stood in: scanning "12 34" by "%2 %1" reads "34" first.
#pragma once

#include "tarnkit/sarray.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class SScanString {
public:
    struct strEntry {
        SAnsiString value;
        bool out = false; // handed out by operator>>
    };

    // Placeholders above this number end the scan: a format from outside
    // must not make the table grow without bound.
    static constexpr int MaxTag = 4096;

    SScanString(SAnsiString const &input, SAnsiString const &format);

    // Each read takes the entry of the next placeholder number. An entry
    // that got no value is skipped and leaves the target alone; once every
    // number up to the highest is read, further reads change nothing.
    SScanString &operator>>(SAnsiString &value);
    SScanString &operator>>(SChar_t<char, 0> &value);
    SScanString &operator>>(long &value);
    SScanString &operator>>(unsigned long &value);
    SScanString &operator>>(short &value);
    SScanString &operator>>(unsigned short &value);
    SScanString &operator>>(double &value);

    // Values found in the input, one per placeholder met (a repeated
    // placeholder counts each time and keeps its last value).
    int getNumVars() const noexcept { return m_numVars; }
    // Whether the value of placeholder n has been read.
    bool varOut(int n) const noexcept;

private:
    void scan(SAnsiString const &input, SAnsiString const &format);
    // The text of the next entry, if it has one; the read index moves on.
    bool readNext(SAnsiString &text);

    int m_numVars = 0;
    int m_readIndex = 1;   // placeholder numbers start at 1
    int m_maxIndex = 0;    // the highest placeholder number met
    SIArray<strEntry> m_entries; // indexed by placeholder number
};

TARNKIT_NAMESPACE_END
