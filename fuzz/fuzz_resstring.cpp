// Fills arbitrary templates. The first byte picks the placeholder character,
// the second how many values of which kinds are fed; the rest is the
// template. Nothing is checked beyond "no crash, a terminated result".
#include "tarnkit/sresstring.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <clocale>
#include <cstring>

using namespace TarnkitA201;

// The locale comes from the environment (LANG=en_US.UTF-8, ja_JP.eucJP, ...),
// so that the multibyte walk is fuzzed too.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    std::setlocale(LC_ALL, "");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 2)
        return 0;
    const char placeholder = static_cast<char>(data[0]);
    const unsigned values = data[1] % 48;
    const char *text = reinterpret_cast<const char *>(data + 2);
    const size_t length = size - 2;

    const SAnsiString templateText(text, length);
    SResString message(templateText, SChar_t<char, 0>(placeholder));
    for (unsigned i = 0; i < values; ++i) {
        switch ((i + data[1]) % 6) {
        case 0: message << SAnsiString("text"); break;
        case 1: message << static_cast<int>(i) - 20; break;
        case 2: message << static_cast<unsigned long>(i) * 0x1234567890ul; break;
        case 3: message << 1.0 / (static_cast<double>(i) + 0.5); break;
        case 4: message << SChar_t<char, 0>::fromText(templateText.getString()); break;
        default: message << static_cast<long>(-1) - static_cast<long>(i); break;
        }
    }
    const SAnsiString filled = message;
    if (std::strlen(filled.getString()) > filled.getLength())
        std::abort();
    SResString copy(message);
    (void)static_cast<SAnsiString>(copy);
    return 0;
}
