// The plain exception with one message, and the system's text for an error
// number.
#pragma once

#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

// Deliberately not polymorphic: the library's exception families are
// separate classes, and a catch of SException catches only this one and
// the two semaphore errors.
class SException {
public:
    SException() = default;
    explicit SException(const SAnsiString &message) : m_message(message) {}
    const SAnsiString &getMessage() const noexcept { return m_message; }

protected:
    SAnsiString m_message;
};

// The system's text for an error number; 0xFFFFFFFF means the calling
// thread's last error. A number with no text gives the empty string.
SAnsiString GetWin32Error(unsigned long error);

TARNKIT_NAMESPACE_END
