// The invalid-parameter report and its settable handler.
#include "tarnkit/sinvalidparameter.h"
#include "tarnkit/strace.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace TarnkitA201 {

namespace {

// Null stands for the default handler.
constinit std::atomic<InvalidParameterHandler> g_invalidParameterHandler{nullptr};

const char *TextOrEmpty(const char *text) noexcept { return text != nullptr ? text : ""; }

// Carrying on after a bad index or a step past the end would read or write
// memory that is not there, so the default ends the process: it traces the
// report for the log, says it on stderr (the trace may be switched off),
// and aborts.
[[noreturn]] void DefaultInvalidParameterHandler(const char *expression, const char *function,
                                                 const char *file, unsigned line) {
    expression = TextOrEmpty(expression);
    function = TextOrEmpty(function);
    file = TextOrEmpty(file);
    if (ShouldTrace(0, file))
        STraceMsg(0, file, static_cast<int>(line),
                  STraceHelper("invalid parameter: %1 in %2", expression, function));
    std::fprintf(stderr, "%s(%u): invalid parameter: %s in %s\n", file, line, expression, function);
    std::fflush(stderr);
    std::abort();
}

} // namespace

InvalidParameterHandler SetInvalidParameterHandler(InvalidParameterHandler handler) noexcept {
    return g_invalidParameterHandler.exchange(handler);
}

InvalidParameterHandler GetInvalidParameterHandler() noexcept {
    return g_invalidParameterHandler.load();
}

void SInvalidParameter(const char *expression, const char *function, const char *file, unsigned line) {
    const InvalidParameterHandler handler = g_invalidParameterHandler.load();
    if (handler == nullptr)
        DefaultInvalidParameterHandler(expression, function, file, line);
    handler(expression, function, file, line);
}

} // namespace TarnkitA201
