// UTF-8 decoding of arbitrary bytes: the vector fast path must agree with the
// plain loop for every target size, nothing may be read past the input, and
// what decodes must survive a trip through UTF-8 and back unchanged.
#include "tarnkit/UTFConverter.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace TarnkitA201;

namespace {

struct Decoded {
    CUTFConverter::ConversionResult result;
    size_t consumed;
    std::vector<unsigned short> units;
};

template <class Core>
Decoded Decode(Core core, const unsigned char *in, size_t n, size_t room) {
    // An exactly sized heap block, so that the sanitizer sees any overrun.
    std::vector<unsigned short> out(room);
    const unsigned char *source = in;
    unsigned short *target = out.data();
    auto result = core(&source, in + n, &target, out.data() + room, CUTFConverter::lenientConversion);
    out.resize(static_cast<size_t>(target - out.data()));
    return {result, static_cast<size_t>(source - in), out};
}

void Check(bool ok) {
    if (!ok)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    size_t room = data[0] % 2 == 0 ? size : data[0] % 37;
    std::vector<unsigned char> in(data + 1, data + size);
    Decoded fast = Decode(&CUTFConverter::ConvertUTF8toUTF16, in.data(), in.size(), room);
    Decoded slow = Decode(&CUTFConverter::ConvertUTF8toUTF16Scalar, in.data(), in.size(), room);
    Check(fast.result == slow.result && fast.consumed == slow.consumed && fast.units == slow.units);

    // Whatever decoded encodes back and decodes to the same units.
    std::vector<unsigned char> utf8(fast.units.size() * 3);
    const unsigned short *source = fast.units.data();
    unsigned char *target = utf8.data();
    Check(CUTFConverter::ConvertUTF16toUTF8(&source, source + fast.units.size(), &target, utf8.data() + utf8.size(),
                                            CUTFConverter::lenientConversion) == CUTFConverter::conversionOK);
    Decoded again = Decode(&CUTFConverter::ConvertUTF8toUTF16, utf8.data(), static_cast<size_t>(target - utf8.data()),
                           fast.units.size());
    Check(again.result == CUTFConverter::conversionOK && again.units == fast.units);

    // The string entry points on the same bytes as terminated text.
    std::vector<unsigned char> text(in);
    for (unsigned char &b : text)
        b = b == 0 ? 'x' : b;
    text.push_back(0);
    SZTAString wide;
    bool converted = CUTFConverter::UTF8ToUTF16(text.data(), wide);
    SWCharString member;
    Check(member.fromUTF8(text.data()) == converted);
    CSmartRefCountPtr<CUTFConverter::UCS4Buffer> ucs4;
    Check(CUTFConverter::UTF8ToUCS4(text.data(), ucs4) == converted);
    return 0;
}
