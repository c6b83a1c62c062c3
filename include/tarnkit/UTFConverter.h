// UTF conversions: UTF-8, 16-bit wide text (UTF-16) and UCS-4, on six
// lenient cores in the manner of the Unicode consortium's reference routines,
// plus an object that holds one text in UTF-8 form. No member throws for bad
// input: they answer false, -1 or a result code.
#pragma once

#include "tarnkit/refcount.h"
#include "tarnkit/simplebuffer.h"
#include "tarnkit/sstringimpl.h"
#include "tarnkit/strace.h"

#include <cstdlib>
#include <cstring>

TARNKIT_NAMESPACE_BEGIN

// One block of T from malloc, shared through CSmartRefCountPtr. The block is
// allocated once per object.
template <class T>
class UTFBuffer_t : public CRefCount {
public:
    UTFBuffer_t() noexcept : m_block(nullptr), m_units(0), m_allocated(false) {}
    UTFBuffer_t(const UTFBuffer_t &) = delete;
    UTFBuffer_t &operator=(const UTFBuffer_t &) = delete;

    // Allocates `units` elements; null when memory is short. A second call is
    // a failed assertion and returns the block that is there.
    T *allocate(size_t units) noexcept {
        if (m_allocated) {
            TARNKIT_ASSERT(false);
            return m_block;
        }
        m_allocated = true;
        if (units == 0 || units > SIZE_MAX / sizeof(T))
            return nullptr;
        m_block = static_cast<T *>(std::malloc(units * sizeof(T)));
        m_units = m_block != nullptr ? units : 0;
        return m_block;
    }
    T *getBuffer() const noexcept { return m_block; }
    // Elements in the block.
    size_t getSize() const noexcept { return m_units; }
    // Frees the block; the object stays allocated-once.
    void freeBlock() noexcept {
        std::free(m_block);
        m_block = nullptr;
        m_units = 0;
    }

protected:
    ~UTFBuffer_t() override { std::free(m_block); }

private:
    T *m_block;
    size_t m_units;
    bool m_allocated;
};

class CUTFConverter {
public:
    enum ConversionResult { conversionOK = 0, sourceExhausted = 1, targetExhausted = 2, sourceIllegal = 3 };
    enum ConversionFlags { strictConversion = 0, lenientConversion = 1 };

    using UTF8Buffer = UTFBuffer_t<unsigned char>;
    using UCS4Buffer = UTFBuffer_t<unsigned long>;

    // Static conversions; each runs a core in lenient mode.
    static bool UTF8ToUTF16(const unsigned char *utf8, SZTAString &out);
    static bool UTF16ToUTF8(const SZTAString &text, CSmartRefCountPtr<UTF8Buffer> &out);
    // The buffer's count includes the terminator.
    static bool UTF16ToUTF8(const SZTAString &text, SSimpleBuffer &out);
    static bool UCS4ToUTF8(const unsigned long *ucs4, CSmartRefCountPtr<UTF8Buffer> &out);
    static bool UTF8ToUCS4(const unsigned char *utf8, CSmartRefCountPtr<UCS4Buffer> &out);
    static bool UTF16ToUCS4(const SZTAString &text, CSmartRefCountPtr<UCS4Buffer> &out);
    static bool UCS4ToUTF16(const unsigned long *ucs4, SZTAString &out);
    // With a null `out`: the units with terminator. Otherwise converts into
    // at most `n` units: the same count on success, the units written on
    // failure, 0 for an empty text.
    static unsigned long UTF16ToUCS4(const unsigned short *text, unsigned long *out, size_t n);
    // Bytes of the UTF-8 form with terminator; a surrogate pair counts once.
    static size_t UTF16ToUTF8Length(const unsigned short *text);
    // The same count taking every unit alone (1, 2 or 3 bytes each).
    static size_t WideCharToUTF8Length(const unsigned short *text);

    // The cores. Each advances *sourceStart and *targetStart over what it
    // converted and stops at the first problem: a sequence cut off by the
    // source end, no room for the next character, or illegal input.
    static ConversionResult ConvertUTF16toUTF8(const unsigned short **sourceStart, const unsigned short *sourceEnd,
                                               unsigned char **targetStart, unsigned char *targetEnd,
                                               ConversionFlags flags);
    static ConversionResult ConvertUTF8toUTF16(const unsigned char **sourceStart, const unsigned char *sourceEnd,
                                               unsigned short **targetStart, unsigned short *targetEnd,
                                               ConversionFlags flags);
    static ConversionResult ConvertUTF32toUTF8(const unsigned long **sourceStart, const unsigned long *sourceEnd,
                                               unsigned char **targetStart, unsigned char *targetEnd,
                                               ConversionFlags flags);
    static ConversionResult ConvertUTF8toUTF32(const unsigned char **sourceStart, const unsigned char *sourceEnd,
                                               unsigned long **targetStart, unsigned long *targetEnd,
                                               ConversionFlags flags);
    static ConversionResult ConvertUTF16toUTF32(const unsigned short **sourceStart, const unsigned short *sourceEnd,
                                                unsigned long **targetStart, unsigned long *targetEnd,
                                                ConversionFlags flags);
    static ConversionResult ConvertUTF32toUTF16(const unsigned long **sourceStart, const unsigned long *sourceEnd,
                                                unsigned short **targetStart, unsigned short *targetEnd,
                                                ConversionFlags flags);
    // The two UTF-8/UTF-16 cores without their vector fast paths. Results are
    // identical; these are the plain loops the fast ones are checked against.
    static ConversionResult ConvertUTF16toUTF8Scalar(const unsigned short **sourceStart,
                                                     const unsigned short *sourceEnd, unsigned char **targetStart,
                                                     unsigned char *targetEnd, ConversionFlags flags);
    static ConversionResult ConvertUTF8toUTF16Scalar(const unsigned char **sourceStart, const unsigned char *sourceEnd,
                                                     unsigned short **targetStart, unsigned short *targetEnd,
                                                     ConversionFlags flags);

    // One text held in UTF-8 form.
    CUTFConverter() noexcept;
    explicit CUTFConverter(const SAnsiString &text);
    CUTFConverter(const CUTFConverter &other);
    CUTFConverter &operator=(const CUTFConverter &other);
    ~CUTFConverter();

    // Stores the text and its UTF-8 form; what the locale cannot read
    // becomes "?". Empty text gives one zero byte.
    void setText(const SAnsiString &text);
    // The UTF-8 bytes, terminated; getLength counts the terminator.
    const unsigned char *getBuffer() const noexcept { return buffer; }
    unsigned long getLength() const noexcept { return length; }

private:
    static unsigned short *WritableUnits(SZTAString &text, size_t n) noexcept;
    static unsigned long ConvertToUTFString(const SAnsiString &text, unsigned char **begin, unsigned char **end);
    void assign(const unsigned char *bytes, unsigned long n);

    SAnsiString text;
    unsigned char *buffer;
    unsigned long length;
};

TARNKIT_NAMESPACE_END
