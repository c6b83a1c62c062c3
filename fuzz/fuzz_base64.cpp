// Decodes random text as the text form of binary data, into a buffer object
// and into caller blocks of every small size. Aborts when the two forms
// disagree, when a block is written past its size, when canonical text does
// not encode back to itself, or when bytes do not survive a round trip.
#include "tarnkit/sstringhelper.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

void Check(bool ok, const char *what) {
    if (!ok) {
        std::fprintf(stderr, "failed: %s\n", what);
        std::abort();
    }
}

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

constexpr unsigned char kGuard = 0xA5;

// Decodable text whose last character carries no bits below the last whole
// byte; only such text is the encoder's own output.
bool IsCanonical(const std::string &text) {
    static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.";
    if (text.empty())
        return true;
    const size_t value = alphabet.find(text.back());
    switch (text.size() % 4) {
    case 2:
        return (value & 0xF) == 0;
    case 3:
        return (value & 0x3) == 0;
    default:
        return true;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string raw(reinterpret_cast<const char *>(data), size);
    const SAnsiString text(raw.substr(0, raw.find('\0')).c_str());

    SSimpleBuffer decoded;
    const bool ok = SStringHelper::fromString(text, decoded);
    const size_t n = decoded.getNBytes();

    // The caller-block form agrees with the buffer form and stays inside
    // its block, whatever the block's size.
    for (size_t blockSize = 0; blockSize <= n + 2 && blockSize < 64; ++blockSize) {
        std::vector<unsigned char> block(blockSize + 1, kGuard);
        size_t written = 777;
        const bool blockOk = SStringHelper::fromString(text, block.data(), blockSize, written);
        Check(block[blockSize] == kGuard, "wrote past the caller's block");
        if (!ok) {
            Check(!blockOk && written == 0, "block form accepted what the buffer form refused");
            continue;
        }
        Check(blockOk == (blockSize >= n), "block form's size check");
        if (blockOk) {
            Check(written == n, "block form's size");
            Check(n == 0 || std::memcmp(block.data(), static_cast<const unsigned char *>(decoded), n) == 0,
                  "block form's bytes");
        } else {
            Check(written == 0, "size written on a refused block");
        }
    }

    if (ok) {
        const std::string again = Str(SStringHelper::toString(decoded));
        Check(again == Str(SStringHelper::toString(static_cast<const unsigned char *>(decoded), static_cast<int>(n))),
              "the buffer and pointer encoders differ");
        Check((again == Str(text)) == IsCanonical(raw.substr(0, raw.find('\0'))),
              "canonical text does not encode back to itself");
    }

    // Any bytes survive the round trip.
    const SAnsiString encoded = SStringHelper::toString(data, static_cast<int>(size));
    Check(encoded.getLength() == size / 3 * 4 + (size % 3 == 0 ? 0 : size % 3 + 1), "encoded length");
    SSimpleBuffer back;
    Check(SStringHelper::fromString(encoded, back), "own output refused");
    Check(back.getNBytes() == size && (size == 0 || std::memcmp(back, data, size) == 0), "round trip");
    return 0;
}
