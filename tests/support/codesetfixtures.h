// Expected results of the UTF and code-page conversions, made once from
// python3's codecs (scripts/gen_codepage_fixtures.py) and kept as data in
// tests/strings/fixtures/codeset_fixtures.txt. Every text is hex.
#pragma once

#include <cstddef>
#include <vector>

namespace TarnkitTest {

struct Utf8Fixture {
    const char *utf8;
    const char *utf16; // of the legal prefix when illegal
    bool legal;
    size_t offset; // of the first illegal sequence; the length when legal
};

struct Utf16Fixture {
    const char *utf16;
    const char *utf8;
    size_t unpairedLength; // bytes when each unit is taken alone, terminator included
};

struct CodepageFixture {
    int codepage;
    const char *bytes;
    const char *text; // UTF-8
};

struct CodesetFixtures {
    std::vector<Utf8Fixture> utf8;
    std::vector<Utf16Fixture> utf16;
    std::vector<CodepageFixture> decode;
    std::vector<CodepageFixture> encode;
};

// Read once; aborts the test program if the data file is missing or bad.
const CodesetFixtures &LoadCodesetFixtures();

} // namespace TarnkitTest
