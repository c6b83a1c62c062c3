// Conversion between the locale's multibyte text, 16-bit wide text and UCS-2
// (CodesetConverter), and between the native SAnsiString and the explicit
// encodings of web and mail use (MBCSCodesetConverter). Wide text and UCS-2
// are the same 16-bit units here. Nothing throws for bad input: text that
// cannot be expressed becomes "?".
#pragma once

#include "tarnkit/simplebuffer.h"
#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class CodesetConverter {
public:
    // Copy at most n units, stopping at the terminator, and terminate when
    // there is room; the units copied. A null `out` gives the length of `in`.
    static size_t wcstoucs2(unsigned short *out, const unsigned short *in, size_t n);
    static size_t ucs2towcs(unsigned short *out, const unsigned short *in, size_t n);
    // Store the unit unless `out` is null; 1.
    static int wctoucs2(unsigned short *out, unsigned short unit);
    static int ucs2towc(unsigned short *out, unsigned short unit);
    // 16-bit text to the locale's multibyte form in at most n bytes; "?" for
    // what the locale cannot express, and a character that does not fit
    // strictly fills the rest with "?" (then unterminated). The bytes without
    // terminator; with a null `out` the count; -1 for a null `in`.
    static size_t ucs2tombs(char *out, const unsigned short *in, size_t n);
    // Multibyte text to at most n units; "?" for an invalid sequence. The
    // units without terminator; with a null `out` the count; -1 for a null `in`.
    static size_t mbstoucs2(unsigned short *out, const char *in, size_t n);
    // One unit to at most `size` bytes: the bytes, or -1.
    static int ucs2tomb(char *out, size_t size, unsigned short unit);
    // The character at `in`: its bytes, 0 at the terminator, -1 if invalid.
    static int mbtoucs2(unsigned short *out, const char *in);
};

class MBCSCodesetConverter {
public:
    enum ExplicitCodeset {
        NativeCodeset = 0,      // the locale's multibyte form: no conversion
        UTF8Codeset = 1,        // UTF-8
        Windows1252Codeset = 2, // Windows code page 1252
        Windows932Codeset = 3,  // Windows code page 932
    };

    // The bytes in that encoding as native text; "?" when they cannot be
    // converted.
    static SAnsiString ExplicitCodesetToT(const char *bytes, ExplicitCodeset codeset);
    // The native text in that encoding, terminator included in the count;
    // the text "?" when it cannot be converted.
    static SSimpleBuffer TToExplicitCodeset(const SAnsiString &text, ExplicitCodeset codeset);
};

TARNKIT_NAMESPACE_END
