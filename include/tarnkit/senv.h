// Reading and setting environment variables of the process. Nothing here
// throws: a failure is an empty string or false.
#pragma once

#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class SEnv {
public:
    // The value, or an empty string when the variable is not set; a set but
    // empty variable reads the same.
    static SAnsiString GetEnv(const SAnsiString &name);

    // "NAME=value". An empty text, or a value equal to the present one, does
    // nothing and succeeds; an empty value removes the variable. A text
    // without "=" is refused.
    static bool PutEnv(const SAnsiString &assignment);
};

TARNKIT_NAMESPACE_END
