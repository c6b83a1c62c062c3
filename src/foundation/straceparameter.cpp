#include "tarnkit/strace.h"

#include <cstdio>

namespace TarnkitA201 {

STraceParameter::STraceParameter(const SChar_t<char, 0> &c) : m_text(c), m_empty(false) {}

// A null text is an argument all the same: its slot is filled with nothing
// and filling goes on past it.
STraceParameter::STraceParameter(const char *text) : m_empty(false) {
    if (text != nullptr)
        m_text = text;
}

STraceParameter::STraceParameter(const unsigned short *text) : m_empty(false) {
    if (text != nullptr)
        m_text = text;
}

STraceParameter::STraceParameter(long value) : m_empty(false) { m_text << value; }
STraceParameter::STraceParameter(int value) : m_empty(false) { m_text << value; }
STraceParameter::STraceParameter(__int64 value) : m_empty(false) { m_text << value; }
STraceParameter::STraceParameter(unsigned long value) : m_empty(false) { m_text << value; }
STraceParameter::STraceParameter(unsigned int value) : m_empty(false) { m_text << value; }
STraceParameter::STraceParameter(double value) : m_empty(false) { m_text << value; }

STraceParameter::STraceParameter(const void *pointer) : m_empty(false) {
    char text[32];
    std::snprintf(text, sizeof text, "%p", pointer);
    m_text = text;
}

STraceParameter::STraceParameter(bool value) : m_text(value ? "true" : "false"), m_empty(false) {}

} // namespace TarnkitA201
