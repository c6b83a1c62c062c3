// Shared helpers for the tests: a diagnostics sink that records every trace
// and assertion, wide literals as 16-bit units, and a scoped locale.
#pragma once

#include "foundation/services.h"
#include "tarnkit/sstringimpl.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace TarnkitTest {

// Installed for its lifetime; trace and assertions are switched on.
class CapturingSink : public TarnkitA201::IDiagnosticsSink {
public:
    struct Record {
        int level;
        std::string text;
    };

    CapturingSink();
    ~CapturingSink() override;

    bool ShouldTrace(int level, const char *sourceFile) override;
    bool ShouldAssert(const char *sourceFile) override;
    bool Trace(int level, const TarnkitA201::SAnsiString &text) override;
    bool CanStackDump() override { return stackDump; }
    bool IsNativeAssert() override { return false; }

    std::vector<Record> records() const;
    std::vector<std::string> texts() const;
    // True if any recorded text contains the fragment.
    bool saw(const std::string &fragment) const;
    void clear();

    bool traceOn = true;
    bool assertOn = true;
    bool stackDump = false;

private:
    mutable std::mutex m_mutex;
    std::vector<Record> m_records;
    TarnkitA201::IDiagnosticsSink *m_previous;
};

// u"..." as the library's 16-bit units.
std::vector<unsigned short> Wide(const char16_t *text);
TarnkitA201::SWCharString WideString(const char16_t *text);
std::u16string ToU16(const unsigned short *text);

// Switches the process's C locale for a scope; ok() is false if the locale
// is not installed, and the test should skip.
class ScopedLocale {
public:
    explicit ScopedLocale(const char *name);
    ~ScopedLocale();
    bool ok() const { return m_ok; }

private:
    std::string m_previous;
    bool m_ok;
};

// Runs body in a child process that, when started as root, has given up
// root for the user nobody (uid and gid 65534) for good, so that permission
// checks apply to it as to any user. The child's failed checks fail the test.
void AsNobodyInChild(const std::function<void()> &body);

} // namespace TarnkitTest
