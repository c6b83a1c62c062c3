#include "tarnkit/sexception.h"

#include "platform/system.h"

namespace TarnkitA201 {

namespace {
constexpr uint32_t kLastError = 0xFFFFFFFF;
}

SAnsiString GetWin32Error(unsigned long error) {
    uint32_t code = static_cast<uint32_t>(error);
    if (code == kLastError)
        code = Platform::LastError();
    std::string text = Platform::ErrorText(code);
    return SAnsiString(text.c_str());
}

} // namespace TarnkitA201
