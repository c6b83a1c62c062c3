// SResString: a message template with numbered placeholders ("%1", "%2",
// ...) filled by operator<<. Translators may reorder the placeholders, and
// a template fed too few values still reads: a placeholder with no value
// stays in the text.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/sarray.h"
#include "tarnkit/schar.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class SResString {
public:
    // The escape character of every template ("^"), also the constructors'
    // default placeholder. A template written with that default therefore
    // has no placeholders: the escape test comes first. Pass '%' for the
    // usual form.
    static const SChar_t<char, 0> s_chEscape;

    // The template is the resource string numbered `id`; empty when the
    // resource modules have none.
    explicit SResString(unsigned long id, const SChar_t<char, 0> &placeholder = s_chEscape);
    SResString(const SAnsiString &text, const SChar_t<char, 0> &placeholder = s_chEscape);

    // A copy takes the template, the placeholder and the id, but none of the
    // values fed so far; assignment does the same.
    SResString(const SResString &other);
    SResString &operator=(const SResString &other);
    // A move takes everything, values included, so that returning a filled
    // template from a function keeps its values whether or not the copy is
    // elided.
    SResString(SResString &&other) noexcept;
    SResString &operator=(SResString &&other) noexcept;
    ~SResString();

    // Each feeds the next value. The first five numbers and characters are
    // printed into fixed slots with no allocation (integers in decimal, a
    // double in "%g" form, a character as its own bytes); from the sixth value
    // on, numbers are appended to a string as SAnsiString's operator<< does
    // (so a double then has six decimals). A plain `char` promotes to int and
    // prints its code; pass an SChar_t for the character.
    SResString &operator<<(const SAnsiString &value);
    SResString &operator<<(SChar_t<char, 0> value);
    SResString &operator<<(double value);
    SResString &operator<<(int value);
    SResString &operator<<(unsigned int value);
    SResString &operator<<(long value);
    SResString &operator<<(unsigned long value);

    long getVarCount() const noexcept { return m_varCount; }
    unsigned long getResourceId() const noexcept { return m_resourceId; }

    // The template filled with the values fed so far.
    operator SAnsiString() const;

private:
    static constexpr int FixedSlots = 5;
    // Room for every 64-bit integer and every "%g" text with its terminator.
    static constexpr size_t NumberTextSize = 24;
    static constexpr long FirstFurtherCapacity = 15;

    // Prints a number into the current slot (a count of 5 or less).
    template <class Number>
    void storeNumber(const char *format, Number value);
    // Text, and every value beyond the fifth, as a string.
    void storeVarStr(const SAnsiString &value);
    // From the sixth value on, numbers go through SAnsiString's operator<<.
    template <class Value>
    SResString &feedAsString(const Value &value);
    void appendValue(SAnsiString &result, unsigned long n) const;

    SAnsiString m_strVars[FixedSlots];
    char m_numVars[FixedSlots][NumberTextSize];
    SIArray<SAnsiString> m_furtherVars;
    unsigned long m_resourceId;
    long m_varCount;
    long m_furtherCapacity;
    SAnsiString m_template;
    SChar_t<char, 0> m_placeholder;
};

// Appends the filled text of `message`.
SAnsiString &operator<<(SAnsiString &s, const SResString &message);

TARNKIT_NAMESPACE_END
