#include "tarnkit/senv.h"

#include "platform/environment.h"

#include <cstring>
#include <new>
#include <string>

namespace TarnkitA201 {

SAnsiString SEnv::GetEnv(const SAnsiString &name) {
    std::string value;
    if (!Platform::ReadEnvironmentVariable(name.getString(), value))
        return SAnsiString();
    return SAnsiString(value.c_str(), value.size());
}

bool SEnv::PutEnv(const SAnsiString &assignment) {
    if (assignment.isEmpty())
        return true;
    const char *text = assignment.getString();
    const char *equals = std::strchr(text, '=');
    if (equals == nullptr)
        return false;
    try {
        const std::string name(text, static_cast<size_t>(equals - text));
        const SAnsiString value(equals + 1);
        // Leaving an unchanged variable alone keeps the environment block,
        // and any pointer a caller took into it, undisturbed.
        if (GetEnv(SAnsiString(name.c_str())).compare(value) == 0)
            return true;
        return Platform::WriteEnvironmentVariable(name.c_str(), value.getString());
    } catch (const std::bad_alloc &) {
        return false;
    }
}

} // namespace TarnkitA201
