// Integer reading of every type in bases 10 and 16, checked against
// std::from_chars on the text both grammars share (digits with an optional
// leading "-"); and the real reader and writers on arbitrary bytes, which
// must neither crash nor read past the text.
#include "tarnkit/neutralstring.h"
#include "tarnkit/sstringconv.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace TarnkitA201;

namespace {

void Check(bool ok, const char *what, const std::string &text) {
    if (!ok) {
        std::fprintf(stderr, "%s disagrees on \"%s\"\n", what, text.c_str());
        std::abort();
    }
}

// The oracle type carries the range the library promises for T (long is
// read with 32-bit limits).
template <class T, class Oracle>
void Compare(const std::string &text, int base, const char *what) {
    T ours = 1;
    bool ok = SAnsiStringConv::FromString(SAnsiString(text.c_str()), ours, base);
    Oracle theirs = 0;
    auto r = std::from_chars(text.data(), text.data() + text.size(), theirs, base);
    bool expected = r.ec == std::errc() && r.ptr == text.data() + text.size();
    Check(ok == expected, what, text);
    Check(ok ? static_cast<Oracle>(ours) == theirs : ours == 0, what, text);
}

template <class T, class Oracle>
void CompareTen(const std::string &text, const char *what) {
    T ours = 1;
    bool ok = SAnsiStringConv::FromString(SAnsiString(text.c_str()), ours);
    Oracle theirs = 0;
    auto r = std::from_chars(text.data(), text.data() + text.size(), theirs);
    bool expected = r.ec == std::errc() && r.ptr == text.data() + text.size();
    Check(ok == expected, what, text);
    Check(ok ? static_cast<Oracle>(ours) == theirs : ours == 0, what, text);
}

// "-"? followed by one or more digits of the base, with no "x" (skipped by
// the library in base 16, a stop for from_chars).
bool SharedGrammar(const std::string &text, int base) {
    size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
    if (text.size() == start)
        return false;
    for (size_t i = start; i < text.size(); ++i) {
        char c = text[i];
        bool digit = (c >= '0' && c <= '9') || (base == 16 && ((c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F')));
        if (!digit)
            return false;
    }
    return true;
}

void DifferentialIntegers(const std::string &text) {
    for (int base : {10, 16}) {
        if (!SharedGrammar(text, base))
            continue;
        Compare<int, int32_t>(text, base, "int");
        Compare<long, int32_t>(text, base, "long");
        Compare<short, int16_t>(text, base, "short");
        Compare<unsigned int, uint32_t>(text, base, "unsigned int");
        Compare<unsigned long, uint32_t>(text, base, "unsigned long");
        Compare<unsigned short, uint16_t>(text, base, "unsigned short");
        Compare<unsigned char, uint8_t>(text, base, "unsigned char");
    }
    if (SharedGrammar(text, 10)) {
        CompareTen<__int64, int64_t>(text, "__int64");
        CompareTen<__uint64, uint64_t>(text, "unsigned __int64");
    }
}

// Every reader on the bytes as they are; the string ends at a zero byte.
void ReadersOnBytes(const uint8_t *data, size_t size) {
    std::string bytes(reinterpret_cast<const char *>(data), size);
    SAnsiString ansi(bytes.data(), bytes.size());
    SAsciiString ascii(bytes.data(), bytes.size());
    double d;
    float f;
    __int64 ll;
    signed char sc;
    NeutralString::ToNumber(ansi, d);
    NeutralString::ToNumber(ansi, f);
    NeutralString::ToNumber(ascii, d);
    NeutralString::ToNumber(ansi, ll);
    NeutralString::ToNumber(ansi, sc);
    NeutralString::ToNumber(ascii.begin(), ascii.end(), d);
    NeutralString::ToNumber(ascii.begin(), ascii.end(), ll);
    int i;
    for (int base = 0; base <= 37; base += 1)
        SAnsiStringConv::FromString(ansi, i, base);
    SAnsiStringConv::FromString(ansi, d);
}

// Writers on the first 8 bytes taken as a double, and the canonical text
// read back.
void WritersOnValue(const uint8_t *data, size_t size) {
    if (size < 10)
        return;
    double value;
    std::memcpy(&value, data, sizeof(value));
    int decimals = data[8] % 40 - 2;
    char text[NeutralString::NumberBufferSize];
    long n = NeutralString::FromNumber(text, value);
    Check(n >= 0 && static_cast<size_t>(n) < sizeof(text) && text[n] == 0, "canonical length", text);
    SAnsiString fixed = NeutralString::FromNumber(value, decimals);
    Check(fixed.getLength() > 0, "fixed text", text);
    SAnsiString formatted = SAnsiStringConv::ToString(value, data[9] % 20);
    Check(formatted.getLength() < 32, "format cut", text);
    double back = 0;
    bool read = NeutralString::ToNumber(SAnsiString(text), back);
    Check(read == std::isfinite(value), "canonical read", text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size > 4096)
        return 0;
    DifferentialIntegers(std::string(reinterpret_cast<const char *>(data), size));
    ReadersOnBytes(data, size);
    WritersOnValue(data, size);
    return 0;
}
