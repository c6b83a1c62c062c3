#include "support/testsupport.h"

#include <clocale>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TarnkitTest {

CapturingSink::CapturingSink() : m_previous(TarnkitA201::SetDiagnosticsSink(this)) {}
CapturingSink::~CapturingSink() { TarnkitA201::SetDiagnosticsSink(m_previous); }

bool CapturingSink::ShouldTrace(int, const char *) { return traceOn; }
bool CapturingSink::ShouldAssert(const char *) { return assertOn; }

bool CapturingSink::Trace(int level, const TarnkitA201::SAnsiString &text) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.push_back({level, std::string(text.getString(), text.getLength())});
    return true;
}

std::vector<CapturingSink::Record> CapturingSink::records() const {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_records;
}

std::vector<std::string> CapturingSink::texts() const {
    std::vector<std::string> out;
    for (const auto &r : records())
        out.push_back(r.text);
    return out;
}

bool CapturingSink::saw(const std::string &fragment) const {
    for (const auto &t : texts())
        if (t.find(fragment) != std::string::npos)
            return true;
    return false;
}

void CapturingSink::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_records.clear();
}

std::vector<unsigned short> Wide(const char16_t *text) {
    std::vector<unsigned short> out;
    for (; *text; ++text)
        out.push_back(static_cast<unsigned short>(*text));
    out.push_back(0);
    return out;
}

TarnkitA201::SWCharString WideString(const char16_t *text) { return TarnkitA201::SWCharString(Wide(text).data()); }

std::u16string ToU16(const unsigned short *text) {
    std::u16string out;
    for (; text && *text; ++text)
        out.push_back(static_cast<char16_t>(*text));
    return out;
}

ScopedLocale::ScopedLocale(const char *name) {
    const char *current = std::setlocale(LC_ALL, nullptr);
    m_previous = current ? current : "C";
    m_ok = std::setlocale(LC_ALL, name) != nullptr;
}

ScopedLocale::~ScopedLocale() { std::setlocale(LC_ALL, m_previous.c_str()); }

void AsNobodyInChild(const std::function<void()> &body) {
    constexpr uid_t kNobody = 65534;
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
            ::_exit(2);
        body();
        ::_exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child as nobody failed, status " << status;
}

} // namespace TarnkitTest
