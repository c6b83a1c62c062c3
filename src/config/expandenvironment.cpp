#include "config/registrystore.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace TarnkitA201 {

// A reference names a variable between two "%". One that is not set stays
// as written, and its closing "%" may open the next reference. Names are
// looked up exactly, as the environment here is case-sensitive.
unsigned long ExpandEnvironmentReferences(const char *source, char *target, unsigned long size) {
    if (source == nullptr)
        return 0;
    std::string expanded;
    try {
        const char *p = source;
        while (*p != 0) {
            if (*p != '%') {
                const char *next = std::strchr(p, '%');
                size_t run = next != nullptr ? static_cast<size_t>(next - p) : std::strlen(p);
                expanded.append(p, run);
                p += run;
                continue;
            }
            const char *close = std::strchr(p + 1, '%');
            if (close == nullptr) {
                expanded.append(p);
                break;
            }
            std::string name(p + 1, close);
            const char *value = name.empty() ? nullptr : std::getenv(name.c_str());
            if (value != nullptr) {
                expanded.append(value);
                p = close + 1;
            } else {
                expanded.append(p, close);
                p = close;
            }
        }
    } catch (...) {
        return 0;
    }
    unsigned long needed = static_cast<unsigned long>(expanded.size() + 1);
    if (target != nullptr && needed <= size)
        std::memcpy(target, expanded.c_str(), needed);
    else if (target != nullptr && size > 0)
        target[0] = 0;
    return needed;
}

} // namespace TarnkitA201
