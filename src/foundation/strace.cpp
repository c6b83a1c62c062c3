#include "tarnkit/strace.h"

#include "foundation/services.h"
#include "tarnkit/sresstring.h"

#include <cstring>
#include <cwchar>
#include <string>

namespace TarnkitA201 {

SAnsiString STraceConvertFormat(const SAnsiString &format);

namespace {

// Built on each use rather than held in a static, so that a trace made while
// statics are still being initialised fills correctly.
SChar_t<char, 0> Placeholder() { return SChar_t<char, 0>('%'); }

// The code of the character at `p`, or -1 when the bytes are not a valid
// character of the locale; `length` is how far to step (1 when invalid).
long DecodeAt(const char *p, const char *end, size_t &length) {
    std::mbstate_t state{};
    wchar_t code = 0;
    size_t n = std::mbrtowc(&code, p, static_cast<size_t>(end - p), &state);
    if (n == static_cast<size_t>(-1) || n == static_cast<size_t>(-2) || n == 0) {
        length = 1;
        return -1;
    }
    length = n;
    return static_cast<long>(code);
}

// The character tests take 16-bit codes; anything beyond that range is
// neither a digit nor a blank.
bool IsDigitCode(long code) { return code >= 0 && code <= 0xFFFF && is_digit(static_cast<unsigned short>(code)); }
bool IsSpaceCode(long code) { return code >= 0 && code <= 0xFFFF && is_space(static_cast<unsigned short>(code)); }

const char *SkipDigits(const char *p, const char *end) {
    while (p < end) {
        size_t length;
        if (!IsDigitCode(DecodeAt(p, end, length)))
            break;
        p += length;
    }
    return p;
}

bool IsOneOf(char c, const char *set) { return std::memchr(set, c, std::strlen(set)) != nullptr; }

void SendTrace(IDiagnosticsSink *sink, int level, const SAnsiString &text) {
    if (sink != nullptr)
        (void)sink->Trace(level, text);
}

SAnsiString FillTemplate(const SAnsiString &format, const STraceParameter *const (&parameters)[12]) {
    SResString filler(STraceConvertFormat(format), Placeholder());
    for (const STraceParameter *parameter : parameters) {
        if (parameter->IsEmpty())
            break;
        filler << parameter->GetString();
    }
    return static_cast<SAnsiString>(filler);
}

void ReportAssertion(const char *file, int line, const char *expression, const SAnsiString &message) {
    IDiagnosticsSink *sink = GetDiagnosticsSink();
    SResString filler(SAnsiString("assert failure: (%1:%2). (%3 : %4)."), Placeholder());
    filler << SAnsiString(file != nullptr ? file : "") << line << SAnsiString(expression != nullptr ? expression : "")
           << message;
    SendTrace(sink, 0, static_cast<SAnsiString>(filler));
    if (sink == nullptr)
        return;
    if (sink->CanStackDump()) {
        if (StackWalkFunction walk = GetStackWalker()) {
            SAnsiString dump("Stack Dump:");
            dump += walk(1);
            SendTrace(sink, 0, dump);
        }
    }
    // Native assertion handling (a dialog, a debugger break) is not part of
    // this library: the answer is asked for and deliberately not acted on.
    (void)sink->IsNativeAssert();
}

} // namespace

// Brings a printf-style template to numbered placeholders. A template that
// already looks numbered (a placeholder followed by a blank or the end) comes
// back untouched, even if part of it was converted on the way.
SAnsiString STraceConvertFormat(const SAnsiString &format) {
    const char *begin = format.getString();
    const char *end = begin + format.getLength();
    if (std::memchr(begin, '%', format.getLength()) == nullptr)
        return format;

    std::string converted;
    int counter = 1;
    const char *rest = begin;
    for (;;) {
        const char *percent = static_cast<const char *>(std::memchr(rest, '%', static_cast<size_t>(end - rest)));
        if (percent == nullptr) {
            converted.append(rest, end);
            return SAnsiString(converted.data(), converted.size());
        }
        converted.append(rest, percent);
        converted += '%';
        converted += std::to_string(counter++);

        const char *p = SkipDigits(percent + 1, end);
        if (p == end)
            return format;
        size_t length;
        if (IsSpaceCode(DecodeAt(p, end, length)))
            return format;
        if (*p == '.')
            p = SkipDigits(p + 1, end);
        if (p < end && IsOneOf(*p, "hlL"))
            ++p;
        if (p < end && IsOneOf(*p, "sdipfFeExXougGcn"))
            ++p;
        rest = p;
    }
}

bool ShouldTrace(int level, const char *sourceFile) {
    IDiagnosticsSink *sink = GetDiagnosticsSink();
    return sink != nullptr && sink->ShouldTrace(level, sourceFile);
}

bool ShouldAssert(const char *sourceFile) {
    IDiagnosticsSink *sink = GetDiagnosticsSink();
    return sink != nullptr && sink->ShouldAssert(sourceFile);
}

#define TARNKIT_TRACE_PARAMETER_LIST                                                                                   \
    const STraceParameter &p1, const STraceParameter &p2, const STraceParameter &p3, const STraceParameter &p4,        \
        const STraceParameter &p5, const STraceParameter &p6, const STraceParameter &p7, const STraceParameter &p8,    \
        const STraceParameter &p9, const STraceParameter &p10, const STraceParameter &p11,                             \
        const STraceParameter &p12
#define TARNKIT_TRACE_PARAMETER_ARRAY {&p1, &p2, &p3, &p4, &p5, &p6, &p7, &p8, &p9, &p10, &p11, &p12}

SAnsiString STraceHelper(const SAnsiString &fmt, TARNKIT_TRACE_PARAMETER_LIST) {
    const STraceParameter *const parameters[12] = TARNKIT_TRACE_PARAMETER_ARRAY;
    return FillTemplate(fmt, parameters);
}

SAnsiString STraceHelper(const char *fmt, TARNKIT_TRACE_PARAMETER_LIST) {
    const STraceParameter *const parameters[12] = TARNKIT_TRACE_PARAMETER_ARRAY;
    return FillTemplate(fmt != nullptr ? SAnsiString(fmt) : SAnsiString(), parameters);
}

SAnsiString STraceHelper(const unsigned short *fmt, TARNKIT_TRACE_PARAMETER_LIST) {
    const STraceParameter *const parameters[12] = TARNKIT_TRACE_PARAMETER_ARRAY;
    return FillTemplate(fmt != nullptr ? SAnsiString(fmt) : SAnsiString(), parameters);
}

void STrace(const char *fmt, TARNKIT_TRACE_PARAMETER_LIST) {
    STraceMsg(0, nullptr, 0, STraceHelper(fmt, p1, p2, p3, p4, p5, p6, p7, p8, p9, p10, p11, p12));
}

void STrace(const unsigned short *fmt, TARNKIT_TRACE_PARAMETER_LIST) {
    STraceMsg(0, nullptr, 0, STraceHelper(fmt, p1, p2, p3, p4, p5, p6, p7, p8, p9, p10, p11, p12));
}

#undef TARNKIT_TRACE_PARAMETER_LIST
#undef TARNKIT_TRACE_PARAMETER_ARRAY

void STraceMsg(int level, const char *file, int line, const SAnsiString &message) {
    SAnsiString text;
    if (level == 0) {
        if (file != nullptr && line != 0)
            text << "(" << file << ":" << line << "): ";
        text << "trace message: ";
    }
    text << message;
    SendTrace(GetDiagnosticsSink(), level, text);
}

void SAssert(const char *file, int line, const char *expression) {
    ReportAssertion(file, line, expression, SAnsiString("no message"));
}

void SAssert(const char *file, int line, const char *expression, const char *message) {
    ReportAssertion(file, line, expression, message != nullptr ? SAnsiString(message) : SAnsiString("no message"));
}

void SAssert(const char *file, int line, const char *expression, const unsigned short *message) {
    ReportAssertion(file, line, expression, message != nullptr ? SAnsiString(message) : SAnsiString("no message"));
}

} // namespace TarnkitA201
