// Language tags from arbitrary bytes, as they arrive in request headers and
// settings: long tokens, odd separators, high-bit bytes, embedded zeros.
// Parsing must never crash, and what it answers must map back to a tag.
#include "tarnkit/slocale.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace TarnkitA201;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    const SAnsiString tag(bytes.c_str(), bytes.size());
    const uint32_t lcid = SLocale::Rfc1766ToLcid(tag);
    if (SLocale::LanguageIdToLCID(SAnsiStringCI(tag)) != lcid)
        std::abort();
    if (SLocale::LcidToRfc1766(lcid).isEmpty() || SLocale::LCIDToLanguageId(lcid).isEmpty())
        std::abort();
    // A tag the table produced parses back to an LCID of the same language.
    if (lcid != 1024 && lcid != 2052 && lcid != 1028) {
        const uint32_t again = SLocale::Rfc1766ToLcid(SLocale::LcidToRfc1766(lcid));
        if (SLocale::LCIDToLanguageId(again) != SLocale::LCIDToLanguageId(lcid) && (lcid & 0x3FF) != 26)
            std::abort();
    }
    SLocale::GetLanguageFromRfc1766(tag);
    return 0;
}
