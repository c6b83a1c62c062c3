// Command lines from arbitrary bytes: once as an argument vector (the bytes
// split at zeros) and once as one line of text. Parsing must never crash,
// names must stay unique, and a line built from the result must parse back
// to the same line.
#include "tarnkit/cparamlineargs.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

void CheckNamesUnique(const CParamLineArgs &args) {
    SIArray<SAnsiString> words;
    if (args.GetProgramName().isEmpty())
        return;
    args.GetArgs(words);
    for (size_t i = 1; i < words.GetSize(); ++i) {
        const SAnsiString word = words.GetAt(i);
        // Values never begin with a dash, so every dash-led word is a name.
        if (word.isEmpty() || word.getString()[0] != '-')
            continue;
        SAnsiString value;
        if (!args.Lookup(word.mid(1), value))
            std::abort();
    }
}

// A word of dashes only keeps its dashes as its name, and "-" + name reads
// back as a longer name.
bool HasDashOnlyWord(const std::string &text) {
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = std::min(text.find(' ', start), text.size());
        if (end > start && text.find_first_not_of('-', start) >= end)
            return true;
        start = end + 1;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::vector<std::string> pieces(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0)
            pieces.emplace_back();
        else
            pieces.back() += static_cast<char>(data[i]);
    }
    std::vector<char *> argv;
    for (std::string &piece : pieces)
        argv.push_back(piece.data());
    argv.push_back(nullptr);
    const CParamLineArgs fromVector(static_cast<int>(pieces.size()), argv.data());
    CheckNamesUnique(fromVector);
    SIArray<SAnsiString> quoted;
    if (!fromVector.GetProgramName().isEmpty())
        fromVector.GetArgsWithQuote(quoted);

    const std::string text(reinterpret_cast<const char *>(data), strnlen(reinterpret_cast<const char *>(data), size));
    const CParamLineArgs fromLine{SAnsiString(text.c_str())};
    CheckNamesUnique(fromLine);
    const SAnsiString line = fromLine.GetCmdLine();
    // Tabs and quotes inside words, and names of dashes only, are written
    // back as they stand and need not survive a second parse.
    const bool plain = std::strpbrk(text.c_str(), "\t\r\n\"") == nullptr && !HasDashOnlyWord(text);
    if (plain && !fromLine.GetProgramName().isEmpty()) {
        const CParamLineArgs again(line);
        if (again.GetCmdLine() != line)
            std::abort();
    }
    return 0;
}
