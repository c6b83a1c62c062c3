#include "support/codesetfixtures.h"

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <sstream>
#include <string>

namespace TarnkitTest {

namespace {

// Owns the texts the fixtures point into; a deque never moves its elements.
std::deque<std::string> g_texts;

const char *Keep(const std::string &field) {
    g_texts.push_back(field == "-" ? std::string() : field);
    return g_texts.back().c_str();
}

[[noreturn]] void Fail(const std::string &why) {
    std::fprintf(stderr, "codeset fixtures: %s\n", why.c_str());
    std::abort();
}

CodesetFixtures Read() {
    const std::string path = std::string(TARNKIT_TEST_DATA_DIR) + "/strings/fixtures/codeset_fixtures.txt";
    std::ifstream file(path);
    if (!file)
        Fail("cannot open " + path);
    CodesetFixtures fixtures;
    std::string line;
    while (std::getline(file, line)) {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string kind, a, b, c;
        fields >> kind;
        if (kind == "utf8") {
            int legal = 0;
            size_t offset = 0;
            fields >> a >> b >> legal >> offset;
            fixtures.utf8.push_back({Keep(a), Keep(b), legal != 0, offset});
        } else if (kind == "utf16") {
            size_t unpaired = 0;
            fields >> a >> b >> unpaired;
            fixtures.utf16.push_back({Keep(a), Keep(b), unpaired});
        } else if (kind == "decode" || kind == "encode") {
            int codepage = 0;
            fields >> codepage >> a >> b;
            (kind == "decode" ? fixtures.decode : fixtures.encode).push_back({codepage, Keep(a), Keep(b)});
        } else {
            Fail("unknown line: " + line);
        }
        if (!fields)
            Fail("malformed line: " + line);
    }
    if (fixtures.utf8.empty() || fixtures.utf16.empty() || fixtures.decode.empty() || fixtures.encode.empty())
        Fail("a kind of fixture is missing from " + path);
    return fixtures;
}

} // namespace

const CodesetFixtures &LoadCodesetFixtures() {
    static const CodesetFixtures fixtures = Read();
    return fixtures;
}

} // namespace TarnkitTest
