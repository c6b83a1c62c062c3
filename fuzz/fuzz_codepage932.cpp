// Code pages 932 and 1252 on arbitrary bytes, lead bytes cut off at the end
// included: decoding never fails or overruns, the size query agrees with the
// conversion, and re-encoding what decoded never fails either.
#include "strings/codepages.h"
#include "tarnkit/codesetconverter.h"

#include <clocale>
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

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    std::setlocale(LC_ALL, "C.UTF-8");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    unsigned codepage = data[0] % 2 == 0 ? 932 : 1252;
    const char *bytes = reinterpret_cast<const char *>(data + 1);
    ptrdiff_t n = static_cast<ptrdiff_t>(size - 1);

    // Counted input with an exact and a short target.
    size_t units = Codepages::Decode(codepage, bytes, n, nullptr, 0);
    Check(units <= size - 1);
    std::vector<unsigned short> wide(units + 1);
    Check(Codepages::Decode(codepage, bytes, n, wide.data(), units) == units);
    if (units > 0)
        Check(Codepages::Decode(codepage, bytes, n, wide.data(), units - 1) == 0);
    wide[units] = 0;
    size_t encoded = Codepages::Encode(codepage, wide.data(), static_cast<ptrdiff_t>(units), nullptr, 0);
    std::vector<char> narrow(encoded);
    Check(Codepages::Encode(codepage, wide.data(), static_cast<ptrdiff_t>(units), narrow.data(), encoded) == encoded);

    // The public converter on the same bytes as terminated text.
    std::vector<char> text(bytes, bytes + n);
    text.push_back(0);
    auto codeset = codepage == 932 ? MBCSCodesetConverter::Windows932Codeset : MBCSCodesetConverter::Windows1252Codeset;
    SAnsiString native = MBCSCodesetConverter::ExplicitCodesetToT(text.data(), codeset);
    SSimpleBuffer back = MBCSCodesetConverter::TToExplicitCodeset(native, codeset);
    Check(back.getNBytes() >= 1);
    // 1252 decodes every byte and encodes it back unchanged.
    if (codepage == 1252 && text[0] != 0) {
        const char *round = reinterpret_cast<const char *>(static_cast<const unsigned char *>(back));
        Check(back.getNBytes() == std::strlen(text.data()) + 1);
        for (size_t i = 0; text[i] != 0; ++i)
            Check(round[i] == text[i]);
    }
    return 0;
}
