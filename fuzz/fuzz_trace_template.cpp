// Feeds arbitrary templates through the trace template conversion and fill.
// The result must always be a terminated string, and a template with no
// placeholder character must come back as it went in.
#include "tarnkit/strace.h"

#include <clocale>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace TarnkitA201 {
SAnsiString STraceConvertFormat(const SAnsiString &format);
}

using namespace TarnkitA201;

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    // Multibyte decoding is part of what is under test.
    std::setlocale(LC_ALL, "C.UTF-8");
    return 0;
}

namespace {

void CheckTerminated(const SAnsiString &s) {
    if (s.getString()[s.getLength()] != '\0' || std::strlen(s.getString()) != s.getLength())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // Templates are C strings: stop at the first zero byte.
    std::string text(reinterpret_cast<const char *>(data), size);
    text.resize(std::strlen(text.c_str()));
    SAnsiString format(text.c_str());

    SAnsiString converted = STraceConvertFormat(format);
    CheckTerminated(converted);
    bool hasPlaceholder = text.find('%') != std::string::npos;
    if (!hasPlaceholder && std::string(converted.getString(), converted.getLength()) != text)
        std::abort();

    SAnsiString filled = STraceHelper(text.c_str(), 42, "value", -1.25, STraceParameter(), "ignored");
    CheckTerminated(filled);
    // The fill also drops its escape character, so only templates free of
    // both special characters must survive unchanged.
    if (!hasPlaceholder && text.find('^') == std::string::npos &&
        std::string(filled.getString(), filled.getLength()) != text)
        std::abort();

    SAnsiString twelve = STraceHelper(format, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, SAnsiString(format));
    CheckTerminated(twelve);
    return 0;
}
