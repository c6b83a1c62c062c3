// UTF-16 encoding of arbitrary units, lone surrogates included: the vector
// fast path agrees with the plain loop, the length functions agree with what
// is produced, and the lenient encoding always decodes back to the input.
#include "tarnkit/UTFConverter.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

using namespace TarnkitA201;

namespace {

void Check(bool ok) {
    if (!ok)
        std::abort();
}

template <class Core>
std::vector<unsigned char> Encode(Core core, const std::vector<unsigned short> &in, size_t room,
                                  CUTFConverter::ConversionResult *result, size_t *consumed) {
    std::vector<unsigned char> out(room);
    const unsigned short *source = in.data();
    unsigned char *target = out.data();
    *result = core(&source, in.data() + in.size(), &target, out.data() + room, CUTFConverter::lenientConversion);
    *consumed = static_cast<size_t>(source - in.data());
    out.resize(static_cast<size_t>(target - out.data()));
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 1)
        return 0;
    std::vector<unsigned short> units((size - 1) / 2);
    if (!units.empty())
        std::memcpy(units.data(), data + 1, units.size() * 2);
    size_t room = data[0] % 2 == 0 ? units.size() * 3 : data[0] % 41;

    CUTFConverter::ConversionResult r1, r2;
    size_t c1, c2;
    std::vector<unsigned char> fast = Encode(&CUTFConverter::ConvertUTF16toUTF8, units, room, &r1, &c1);
    std::vector<unsigned char> slow = Encode(&CUTFConverter::ConvertUTF16toUTF8Scalar, units, room, &r2, &c2);
    Check(r1 == r2 && c1 == c2 && fast == slow);
    if (room == units.size() * 3)
        Check(r1 == CUTFConverter::conversionOK);

    // Round trip of what was encoded.
    std::vector<unsigned short> back(c1 + 1);
    const unsigned char *source = fast.data();
    unsigned short *target = back.data();
    Check(CUTFConverter::ConvertUTF8toUTF16(&source, fast.data() + fast.size(), &target, back.data() + back.size(),
                                            CUTFConverter::lenientConversion) == CUTFConverter::conversionOK);
    back.resize(static_cast<size_t>(target - back.data()));
    Check(std::vector<unsigned short>(units.begin(), units.begin() + static_cast<ptrdiff_t>(c1)) == back);

    // As terminated text: the counts and the string forms.
    std::vector<unsigned short> text(units);
    for (unsigned short &u : text)
        u = u == 0 ? 'x' : u;
    text.push_back(0);
    SZTAString zta(text.data());
    SSimpleBuffer buffer;
    Check(CUTFConverter::UTF16ToUTF8(zta, buffer));
    Check(buffer.getNBytes() == CUTFConverter::UTF16ToUTF8Length(text.data()));
    Check(CUTFConverter::WideCharToUTF8Length(text.data()) >= buffer.getNBytes());
    CSmartRefCountPtr<CUTFConverter::UCS4Buffer> ucs4;
    Check(CUTFConverter::UTF16ToUCS4(zta, ucs4));
    if (!zta.isEmpty()) {
        CSmartRefCountPtr<CUTFConverter::UTF8Buffer> utf8;
        Check(CUTFConverter::UCS4ToUTF8(ucs4->getBuffer(), utf8));
        Check(std::strcmp(reinterpret_cast<const char *>(utf8->getBuffer()),
                          reinterpret_cast<const char *>(static_cast<const unsigned char *>(buffer))) == 0);
    }
    std::vector<unsigned long> counted(text.size());
    CUTFConverter::UTF16ToUCS4(text.data(), counted.data(), data[0] % (text.size() + 1));
    return 0;
}
