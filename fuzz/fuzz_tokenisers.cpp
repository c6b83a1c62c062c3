// Splits random text at random separators with both tokenisers, scans it by
// a random format, and runs the word splitter and the comment remover on it.
// Aborts when the pieces do not put back together into the text, when a
// loop fails to end, or on any memory fault.
#include "tarnkit/sscanstring.h"
#include "tarnkit/sstringhelper.h"
#include "tarnkit/strtok.h"

#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace TarnkitA201;

namespace {

void Check(bool ok, const char *what) {
    if (!ok) {
        std::fprintf(stderr, "failed: %s\n", what);
        std::abort();
    }
}

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

// Takes a zero-free piece of the input whose length is given by its first byte.
std::string Take(const uint8_t *&data, size_t &size, size_t limit) {
    if (size == 0)
        return std::string();
    size_t n = data[0] % (limit + 1);
    ++data;
    --size;
    if (n > size)
        n = size;
    std::string out;
    for (size_t i = 0; i < n; ++i)
        out += data[i] == 0 ? 'z' : static_cast<char>(data[i]);
    data += n;
    size -= n;
    return out;
}

// The pieces of SStrTok, joined again with the separator, give the text back
// (a trailing separator leaves no last piece, so it is added back too).
void Tokenise(const std::string &text, const std::string &separator) {
    SStrTok tok(text.c_str(), separator.c_str());
    std::string joined;
    size_t guard = text.size() + 2;
    bool first = true;
    while (!tok.IsEmpty()) {
        Check(guard-- > 0, "SStrTok loop does not end");
        if (!first)
            joined += separator;
        joined += Str(tok.Next());
        first = false;
    }
    if (!separator.empty() && joined.size() + separator.size() == text.size())
        joined += separator;
    Check(joined == text, "SStrTok lost or made up text");

    RSStrTok rs(text.c_str());
    guard = text.size() + 2;
    while (!rs.IsEmpty()) {
        Check(guard-- > 0, "RSStrTok loop does not end");
        rs.Next(separator.c_str());
        rs.RightStr(separator.c_str());
        Check(rs.rest().getLength() <= text.size(), "RSStrTok grew");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    // Either the "C" locale, in which every byte is a character, or UTF-8.
    static const bool utf8 = std::getenv("TOKENISERS_FUZZ_UTF8") != nullptr;
    static bool localeSet = false;
    if (!localeSet) {
        std::setlocale(LC_ALL, utf8 ? "C.UTF-8" : "C");
        localeSet = true;
    }
    const bool quoted = data[0] & 1;
    const bool keep = data[0] & 2;
    ++data;
    --size;
    const std::string separator = Take(data, size, 4);
    const std::string format = Take(data, size, 24);
    const std::string text(reinterpret_cast<const char *>(data), size);
    const std::string zeroFree = text.substr(0, text.find('\0'));

    Tokenise(zeroFree, separator);

    SScanString scan(zeroFree.c_str(), format.c_str());
    Check(scan.getNumVars() >= 0, "negative variable count");
    SAnsiString value;
    for (int i = 0; i <= SScanString::MaxTag && i < 64; ++i)
        scan >> value;
    long number = 0;
    double real = 0;
    scan >> number >> real;

    SIArray<SAnsiString> words;
    SStringHelper::makeWords(zeroFree.c_str(), words, separator.c_str(), quoted, keep);
    size_t total = 0;
    for (const SAnsiString &w : words)
        total += w.getLength();
    Check(total <= zeroFree.size(), "makeWords made up text");

    SAnsiString stripped(zeroFree.c_str());
    SStringHelper::removeComments(stripped, separator.c_str());
    Check(stripped.getLength() <= zeroFree.size(), "removeComments grew the text");
    if (separator.empty() || zeroFree.find(separator) == std::string::npos)
        Check(Str(stripped) == zeroFree, "removeComments changed text without a marker");

    SAnsiString trimmed(zeroFree.c_str());
    SStringHelper::trim(trimmed, separator.c_str());
    SAnsiString replaced(zeroFree.c_str());
    SStringHelper::replaceSubString(replaced, separator.c_str(), format.c_str());
    return 0;
}
