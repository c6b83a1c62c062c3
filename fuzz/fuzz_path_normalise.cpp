// Feeds random directories and relative paths to the text resolution of
// full paths and to the splitting of listing specs, and checks each answer
// against a model that works on the list of path components. Aborts on a
// disagreement or any memory fault.
#include "files/sfilesysdetail.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

// Bytes fold onto slashes and dots most of the time.
char Fold(uint8_t byte) {
    static const char alphabet[] = "/./.a";
    return byte < 220 ? alphabet[byte % 5] : static_cast<char>(byte);
}

std::vector<std::string> Components(const std::string &directory) {
    std::vector<std::string> parts;
    size_t start = 0;
    while (start <= directory.size()) {
        size_t slash = directory.find('/', start);
        if (slash == std::string::npos)
            slash = directory.size();
        if (slash > start)
            parts.push_back(directory.substr(start, slash - start));
        start = slash + 1;
    }
    return parts;
}

std::string Model(const std::string &base, const std::string &path) {
    size_t at = path.size() > 0 && path[0] == '/' ? 1 : 0;
    std::vector<std::string> parts = Components(base);
    for (;;) {
        if (path.compare(at, 2, "./") == 0) {
            at += 2;
        } else if (path.compare(at, 3, "../") == 0) {
            at += 3;
            if (!parts.empty())
                parts.pop_back();
        } else {
            break;
        }
    }
    std::string result = "/";
    for (const std::string &part : parts)
        result += part + "/";
    // A base that ends in several slashes keeps them when nothing pops.
    if (at == (path.size() > 0 && path[0] == '/' ? 1u : 0u)) {
        result = base;
        if (result.back() != '/')
            result += '/';
    }
    return result + path.substr(at);
}

void Check(bool condition, const char *what) {
    if (!condition) {
        std::fprintf(stderr, "mismatch: %s\n", what);
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0)
        return 0;
    const size_t split = data[0] % (size);
    std::string base = "/";
    std::string path;
    for (size_t i = 1; i < size; ++i)
        (i <= split ? base : path) += Fold(data[i]);

    const std::string resolved = FileSysDetail::ResolveLeadingDots(base, path);
    Check(!resolved.empty() && resolved[0] == '/', "result is not absolute");
    Check(resolved.size() <= base.size() + 1 + path.size(), "result grew");
    // Only a pop can change the base part, and a pop normalises it; compare
    // with the model whenever the base has no empty components to keep.
    if (base.find("//") == std::string::npos && (base.size() == 1 || base.back() != '/'))
        Check(resolved == Model(base, path), "resolution differs from the model");

    std::string subdirectory, pattern;
    FileSysDetail::SplitListingFileSpec(path, subdirectory, pattern);
    Check(pattern.find('/') == std::string::npos, "pattern holds a separator");
    Check(subdirectory.size() + pattern.size() <= path.size(), "split grew");
    return 0;
}
