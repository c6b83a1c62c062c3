// Developer diagnostics: the predicates a call site asks first, the value type
// that turns an argument into text, the trace and assertion output functions,
// and the call-site macros that keep a switched-off trace almost free.
#pragma once

#include "tarnkit/sstringimpl.h"

TARNKIT_NAMESPACE_BEGIN

class SDateTime;

// Asked by a call site, with its own source path, before it builds any text.
// Both answer false while no logger is installed.
bool ShouldTrace(int level, const char *sourceFile);
bool ShouldAssert(const char *sourceFile);

// Lets a default argument bind to a non-constant STraceParameter source; it
// carries nothing.
class ThisIsASillyCompilerWorkAround {};

// One argument of a trace or assertion message, already turned into text.
// A `char` argument promotes to int and therefore prints its code ("120" for
// 'x'); pass an SChar_t<char,0> or a string for the character itself.
class STraceParameter {
public:
    STraceParameter() noexcept : m_empty(true) {}
    STraceParameter(ThisIsASillyCompilerWorkAround &) noexcept : m_empty(true) {}
    STraceParameter(const STraceParameter &other) noexcept = default;
    STraceParameter(const SAnsiString &text) noexcept : m_text(text), m_empty(false) {}
    STraceParameter(const SChar_t<char, 0> &c);
    STraceParameter(const char *text);
    STraceParameter(const unsigned short *text);
    STraceParameter(long value);
    STraceParameter(int value);
    STraceParameter(__int64 value);
    STraceParameter(unsigned long value);
    STraceParameter(unsigned int value);
    STraceParameter(double value);
    STraceParameter(const void *pointer);
    STraceParameter(bool value);
    // Defined with the date values.
    STraceParameter(const SDateTime &when);

    STraceParameter &operator=(const STraceParameter &other) noexcept = default;

    SAnsiString GetString() const noexcept { return m_text; }
    bool IsEmpty() const noexcept { return m_empty; }

private:
    SAnsiString m_text;
    bool m_empty;
};

// The twelve parameter slots every trace entry point takes; callers leave
// the ones they do not use empty.
#define TARNKIT_TRACE_PARAMETERS                                                                                       \
    const STraceParameter &p1 = STraceParameter(), const STraceParameter &p2 = STraceParameter(),                      \
        const STraceParameter &p3 = STraceParameter(), const STraceParameter &p4 = STraceParameter(),                  \
        const STraceParameter &p5 = STraceParameter(), const STraceParameter &p6 = STraceParameter(),                  \
        const STraceParameter &p7 = STraceParameter(), const STraceParameter &p8 = STraceParameter(),                  \
        const STraceParameter &p9 = STraceParameter(), const STraceParameter &p10 = STraceParameter(),                 \
        const STraceParameter &p11 = STraceParameter(), const STraceParameter &p12 = STraceParameter()

// The template filled with the parameters, up to the first empty one.
// Templates in printf style are brought to numbered style first.
SAnsiString STraceHelper(const SAnsiString &fmt, TARNKIT_TRACE_PARAMETERS);
SAnsiString STraceHelper(const char *fmt, TARNKIT_TRACE_PARAMETERS);
SAnsiString STraceHelper(const unsigned short *fmt, TARNKIT_TRACE_PARAMETERS);

// A general trace line with no file and line prefix. Does not ask ShouldTrace.
void STrace(const char *fmt, TARNKIT_TRACE_PARAMETERS);
void STrace(const unsigned short *fmt, TARNKIT_TRACE_PARAMETERS);

#undef TARNKIT_TRACE_PARAMETERS

// Decorates one message and hands it to the logger. A level-0 line reads
// "(file:42): trace message: text"; other levels carry the bare message.
void STraceMsg(int level, const char *file, int line, const SAnsiString &message);

// Reports a failed assertion and returns: nothing here stops the program.
void SAssert(const char *file, int line, const char *expression);
void SAssert(const char *file, int line, const char *expression, const char *message);
void SAssert(const char *file, int line, const char *expression, const unsigned short *message);

TARNKIT_NAMESPACE_END

// Call sites. Each asks its predicate with its own source path and builds
// text only when the answer is yes; arguments are evaluated only then. A
// condition is evaluated exactly once, before the predicate is asked.
#define TARNKIT_ASSERT(cond) TARNKIT_ASSERT_EXPR(cond, #cond)

#define TARNKIT_ASSERT_EXPR(cond, text)                                                                                \
    do {                                                                                                               \
        if (!(cond) && ::TarnkitA201::ShouldAssert(__FILE__))                                                          \
            ::TarnkitA201::SAssert(__FILE__, __LINE__, text);                                                          \
    } while (0)

#define TARNKIT_ASSERT_MSG(cond, msg)                                                                                  \
    do {                                                                                                               \
        if (!(cond) && ::TarnkitA201::ShouldAssert(__FILE__))                                                          \
            ::TarnkitA201::SAssert(__FILE__, __LINE__, #cond, msg);                                                    \
    } while (0)

#define TARNKIT_FAIL(msg)                                                                                              \
    do {                                                                                                               \
        if (::TarnkitA201::ShouldAssert(__FILE__))                                                                     \
            ::TarnkitA201::SAssert(__FILE__, __LINE__, "false", msg);                                                  \
    } while (0)

// Up to twelve arguments, each anything an STraceParameter can be made from.
#define TARNKIT_TRACE(level, fmt, ...)                                                                                 \
    do {                                                                                                               \
        const int tarnkitTraceLevel_ = (level);                                                                        \
        if (::TarnkitA201::ShouldTrace(tarnkitTraceLevel_, __FILE__))                                                  \
            ::TarnkitA201::STraceMsg(tarnkitTraceLevel_, __FILE__, __LINE__,                                           \
                                     ::TarnkitA201::STraceHelper((fmt)__VA_OPT__(, ) __VA_ARGS__));                    \
    } while (0)
