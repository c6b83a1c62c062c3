#include "strings/codepages.h"

#include "strings/mbcs.h"

#include <algorithm>
#include <cstring>

namespace TarnkitA201::Codepages {

namespace {

struct CodepageEncodePair {
    unsigned short code;
    unsigned short bytes; // one byte below 0x100, else lead << 8 | trail
};

#include "strings/codepage_tables.inc"

constexpr unsigned short kNoSingle = 0xFFFF;
constexpr unsigned kTrailFirst = 0x40;
constexpr unsigned kTrailLast = 0xFC;
constexpr unsigned short kDefaultChar = '?';

bool IsCp932Lead(unsigned b) noexcept { return (b >= 0x81 && b <= 0x9F) || (b >= 0xE0 && b <= 0xFC); }

unsigned Cp932LeadIndex(unsigned b) noexcept { return b <= 0x9F ? b - 0x81 : b - 0xE0 + 0x1F; }

// The code of the pair at p, or 0 if the pair is undefined.
unsigned short Cp932Pair(unsigned lead, unsigned trail) noexcept {
    if (trail < kTrailFirst || trail > kTrailLast)
        return 0;
    return kCp932Double[Cp932LeadIndex(lead) * (kTrailLast - kTrailFirst + 1) + (trail - kTrailFirst)];
}

// One character of input: its code and the bytes it took. A lead byte whose
// pair is undefined, or that ends the input, is "?" of one byte, and the
// next byte is read afresh.
unsigned short DecodeOne(unsigned codepage, const unsigned char *p, size_t left, size_t *taken) noexcept {
    *taken = 1;
    unsigned b = *p;
    if (codepage == 1252)
        return kCp1252Decode[b];
    if (IsCp932Lead(b)) {
        unsigned short code = left >= 2 ? Cp932Pair(b, p[1]) : 0;
        if (code == 0)
            return kDefaultChar;
        *taken = 2;
        return code;
    }
    unsigned short code = kCp932Single[b];
    return code == kNoSingle ? kDefaultChar : code;
}

template <size_t N>
const CodepageEncodePair *FindCode(const CodepageEncodePair (&table)[N], unsigned long code) noexcept {
    const CodepageEncodePair *end = table + N;
    const CodepageEncodePair *hit =
        std::lower_bound(table, end, code, [](const CodepageEncodePair &e, unsigned long c) { return e.code < c; });
    return hit != end && hit->code == code ? hit : nullptr;
}

// The bytes of one code point (1 or 2); "?" for what the page lacks.
size_t EncodeOne(unsigned codepage, unsigned long code, unsigned char *bytes) noexcept {
    if (code < 0x80) {
        bytes[0] = static_cast<unsigned char>(code);
        return 1;
    }
    const CodepageEncodePair *hit = code > 0xFFFF ? nullptr
                                    : codepage == 1252 ? FindCode(kCp1252Encode, code)
                                                       : FindCode(kCp932Encode, code);
    if (hit == nullptr) {
        bytes[0] = kDefaultChar;
        return 1;
    }
    if (hit->bytes < 0x100) {
        bytes[0] = static_cast<unsigned char>(hit->bytes);
        return 1;
    }
    bytes[0] = static_cast<unsigned char>(hit->bytes >> 8);
    bytes[1] = static_cast<unsigned char>(hit->bytes & 0xFF);
    return 2;
}

} // namespace

bool IsSupported(unsigned codepage) noexcept { return codepage == 1252 || codepage == 932; }

size_t Decode(unsigned codepage, const char *in, ptrdiff_t n, unsigned short *out, size_t outUnits) noexcept {
    if (!IsSupported(codepage) || in == nullptr)
        return 0;
    size_t length = n < 0 ? std::strlen(in) + 1 : static_cast<size_t>(n);
    const unsigned char *p = reinterpret_cast<const unsigned char *>(in);
    size_t written = 0;
    for (size_t i = 0; i < length;) {
        size_t taken;
        unsigned short code = DecodeOne(codepage, p + i, length - i, &taken);
        if (out != nullptr) {
            if (written >= outUnits)
                return 0;
            out[written] = code;
        }
        ++written;
        i += taken;
    }
    return written;
}

size_t Encode(unsigned codepage, const unsigned short *in, ptrdiff_t n, char *out, size_t outBytes) noexcept {
    if (!IsSupported(codepage) || in == nullptr)
        return 0;
    size_t length = n < 0 ? Mbcs::WideLength(in) + 1 : static_cast<size_t>(n);
    size_t written = 0;
    for (size_t i = 0; i < length; ++i) {
        unsigned long code = in[i];
        if (code >= 0xD800 && code < 0xDC00 && i + 1 < length && in[i + 1] >= 0xDC00 && in[i + 1] < 0xE000) {
            code = 0x10000 + ((code - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            ++i;
        } else if (code >= 0xD800 && code < 0xE000) {
            code = 0x110000; // a lone surrogate: no page has it
        }
        unsigned char bytes[2];
        size_t count = EncodeOne(codepage, code, bytes);
        if (out != nullptr) {
            if (written > outBytes || outBytes - written < count)
                return 0;
            std::memcpy(out + written, bytes, count);
        }
        written += count;
    }
    return written;
}

} // namespace TarnkitA201::Codepages
