#include "tarnkit/codesetconverter.h"

#include "strings/codepages.h"
#include "strings/mbcs.h"
#include "tarnkit/UTFConverter.h"
#include "tarnkit/strace.h"

#include <climits>
#include <cstring>
#include <memory>
#include <new>

namespace TarnkitA201 {

namespace {

constexpr size_t kFailed = static_cast<size_t>(-1);

size_t CopyUnits(unsigned short *out, const unsigned short *in, size_t n) noexcept {
    if (in == nullptr)
        return out == nullptr ? 0 : (n > 0 ? (*out = 0, 0) : 0);
    if (out == nullptr)
        return Mbcs::WideLength(in);
    size_t i = 0;
    for (; i < n && in[i] != 0; ++i)
        out[i] = in[i];
    if (i < n)
        out[i] = 0;
    return i;
}

} // namespace

size_t CodesetConverter::wcstoucs2(unsigned short *out, const unsigned short *in, size_t n) {
    return CopyUnits(out, in, n);
}

size_t CodesetConverter::ucs2towcs(unsigned short *out, const unsigned short *in, size_t n) {
    return CopyUnits(out, in, n);
}

int CodesetConverter::wctoucs2(unsigned short *out, unsigned short unit) {
    if (out != nullptr)
        *out = unit;
    return 1;
}

int CodesetConverter::ucs2towc(unsigned short *out, unsigned short unit) {
    if (out != nullptr)
        *out = unit;
    return 1;
}

size_t CodesetConverter::ucs2tombs(char *out, const unsigned short *in, size_t n) {
    if (in == nullptr)
        return kFailed;
    if (out == nullptr)
        return Mbcs::FromWide16(in, nullptr, 0);
    size_t written = Mbcs::FromWide16(in, out, n);
    if (written < n)
        out[written] = 0;
    return written;
}

size_t CodesetConverter::mbstoucs2(unsigned short *out, const char *in, size_t n) {
    if (in == nullptr)
        return kFailed;
    if (out == nullptr)
        return Mbcs::ToWide16(in, nullptr, 0);
    size_t written = Mbcs::ToWide16(in, out, n);
    if (written < n)
        out[written] = 0;
    return written;
}

int CodesetConverter::ucs2tomb(char *out, size_t size, unsigned short unit) {
    // Half of a surrogate pair is no character of any locale.
    if (unit >= 0xD800 && unit < 0xE000)
        return -1;
    char bytes[MB_LEN_MAX];
    int length = Mbcs::FromCodePoint(static_cast<wchar_t>(unit), bytes);
    if (length < 0)
        return -1;
    if (out == nullptr)
        return length;
    if (static_cast<size_t>(length) > size)
        return -1;
    std::memcpy(out, bytes, static_cast<size_t>(length));
    return length;
}

int CodesetConverter::mbtoucs2(unsigned short *out, const char *in) {
    if (in == nullptr)
        return 0;
    wchar_t code;
    int length = Mbcs::ToCodePoint(in, &code);
    if (length < 0)
        return -1;
    // One unit cannot hold a character beyond the basic plane.
    if (out != nullptr)
        *out = static_cast<unsigned long>(code) > 0xFFFF ? static_cast<unsigned short>('?')
                                                          : static_cast<unsigned short>(code);
    return length;
}

// ---------------------------------------------------------------------------

namespace {

const char kQuestionMark[] = "?";
const unsigned short kQuestionMarkUnits[2] = {'?', 0};

// The result every failed path shares: the text "?" with its terminator.
SSimpleBuffer QuestionMarkBuffer() {
    return SSimpleBuffer(reinterpret_cast<unsigned char *>(const_cast<char *>(kQuestionMark)), sizeof(kQuestionMark),
                         false);
}

unsigned CodepageOf(MBCSCodesetConverter::ExplicitCodeset codeset) noexcept {
    return codeset == MBCSCodesetConverter::Windows1252Codeset ? 1252 : 932;
}

SAnsiString FromCodepage(const char *bytes, unsigned codepage) {
    if (bytes == nullptr || *bytes == 0)
        return SAnsiString();
    size_t units = Codepages::Decode(codepage, bytes, -1, nullptr, 0);
    if (units == 0)
        return SAnsiString(kQuestionMark);
    std::unique_ptr<unsigned short[]> block(new (std::nothrow) unsigned short[units]);
    if (!block || Codepages::Decode(codepage, bytes, -1, block.get(), units) == 0)
        return SAnsiString(kQuestionMark);
    SAnsiString result;
    if (!result.copyFrom(block.get()))
        return SAnsiString(kQuestionMark);
    return result;
}

SSimpleBuffer ToCodepage(const SAnsiString &text, unsigned codepage) {
    SWCharString wide;
    if (!wide.copyFrom(text.getString()))
        return QuestionMarkBuffer();
    size_t bytes = Codepages::Encode(codepage, wide.getString(), -1, nullptr, 0);
    if (bytes == 0)
        return QuestionMarkBuffer();
    SSimpleBuffer result;
    unsigned char *block = result.getBuffer(bytes);
    if (block == nullptr)
        return QuestionMarkBuffer();
    size_t written = Codepages::Encode(codepage, wide.getString(), -1, reinterpret_cast<char *>(block), bytes);
    result.releaseBuffer(written);
    if (written == 0)
        return QuestionMarkBuffer();
    return result;
}

} // namespace

SAnsiString MBCSCodesetConverter::ExplicitCodesetToT(const char *bytes, ExplicitCodeset codeset) {
    switch (codeset) {
    case NativeCodeset:
        return SAnsiString(bytes);
    case UTF8Codeset: {
        SZTAString wide;
        SAnsiString result;
        if (!CUTFConverter::UTF8ToUTF16(reinterpret_cast<const unsigned char *>(bytes), wide) ||
            !result.copyFrom(wide.getString())) {
            TARNKIT_TRACE(0, "failed UTF8 -> UCS2 conversion");
            return SAnsiString(kQuestionMark);
        }
        return result;
    }
    case Windows1252Codeset:
    case Windows932Codeset:
        return FromCodepage(bytes, CodepageOf(codeset));
    }
    TARNKIT_ASSERT(0);
    return SAnsiString();
}

SSimpleBuffer MBCSCodesetConverter::TToExplicitCodeset(const SAnsiString &text, ExplicitCodeset codeset) {
    switch (codeset) {
    case NativeCodeset: {
        // The text with its terminator.
        size_t bytes = text.getNBytesForMBCS();
        return SSimpleBuffer(reinterpret_cast<unsigned char *>(const_cast<char *>(text.getString())), bytes, false);
    }
    case UTF8Codeset: {
        SZTAString wide;
        if (!wide.copyFrom(text.getString()))
            wide = SZTAString(kQuestionMarkUnits);
        SSimpleBuffer result;
        if (!CUTFConverter::UTF16ToUTF8(wide, result)) {
            TARNKIT_TRACE(0, "failed to convert to UTF-8");
            return QuestionMarkBuffer();
        }
        return result;
    }
    case Windows1252Codeset:
    case Windows932Codeset:
        return ToCodepage(text, CodepageOf(codeset));
    }
    TARNKIT_ASSERT(0);
    return SSimpleBuffer();
}

} // namespace TarnkitA201
