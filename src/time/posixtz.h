// Reading the machine's zone from POSIX sources: the rule at the end of a
// zone file. Building the zone itself is ZoneBuilder's.
#pragma once

#include <string>
#include <string_view>

namespace TarnkitA201 {

// The POSIX rule of a TZif file of version 2 or later: the line after its
// second data block. False for version 1 files and anything malformed.
bool TzifFooter(std::string_view bytes, std::string &rule);

} // namespace TarnkitA201
