// The report of an invalid argument to a library routine (an index out of
// range, an iterator stepped past its end). The report goes to a settable
// handler; the default one traces the report and aborts the process, since
// the caller's next step would run on memory that is not there.
#pragma once

#include "tarnkit/platform.h"

TARNKIT_NAMESPACE_BEGIN

// A handler may return (the failing routine then does nothing harmful and
// answers a default value) or throw (the exception passes to the caller).
using InvalidParameterHandler = void (*)(const char *expression, const char *function,
                                         const char *file, unsigned line);

// Installs `handler` (null restores the default) and returns the previous
// one, null when the default was in place.
InvalidParameterHandler SetInvalidParameterHandler(InvalidParameterHandler handler) noexcept;
InvalidParameterHandler GetInvalidParameterHandler() noexcept;

// Reports an invalid argument to the installed handler. Any of the texts may
// be null.
void SInvalidParameter(const char *expression, const char *function, const char *file,
                       unsigned line);

TARNKIT_NAMESPACE_END

// Reports the failed condition `expr` of the enclosing function.
#define TARNKIT_INVALID_PARAMETER(expr) \
    ::TarnkitA201::SInvalidParameter(#expr, __func__, __FILE__, static_cast<unsigned>(__LINE__))
