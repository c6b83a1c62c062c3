// Seams for services the low layers call upward into: the logger, the stack
// walker and the resource manager. Each is taken when present; while nothing
// is installed, the answers are those of a library with no logger (trace and
// assertions off), no stack walker and no resource strings.
#pragma once

#include "tarnkit/sstringimpl.h"

namespace TarnkitA201 {

// What the trace and assertion front door needs of the logger.
class IDiagnosticsSink {
public:
    virtual ~IDiagnosticsSink() = default;
    virtual bool ShouldTrace(int level, const char *sourceFile) = 0;
    virtual bool ShouldAssert(const char *sourceFile) = 0;
    virtual bool Trace(int level, const SAnsiString &text) = 0;
    virtual bool CanStackDump() = 0;
    virtual bool IsNativeAssert() = 0;
};

// Installs the sink (null removes it) and returns the previous one.
IDiagnosticsSink *SetDiagnosticsSink(IDiagnosticsSink *sink) noexcept;
IDiagnosticsSink *GetDiagnosticsSink() noexcept;

// A symbolic stack of the calling thread, skipping `skip` frames.
using StackWalkFunction = SAnsiString (*)(int skip);
StackWalkFunction SetStackWalker(StackWalkFunction walker) noexcept;
StackWalkFunction GetStackWalker() noexcept;

// The string numbered `id` of the resource modules, empty when there is none.
using ResourceStringLoader = SAnsiString (*)(unsigned long id);
ResourceStringLoader SetResourceStringLoader(ResourceStringLoader loader) noexcept;
ResourceStringLoader GetResourceStringLoader() noexcept;

} // namespace TarnkitA201
