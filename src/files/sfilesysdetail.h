// Pieces shared by the files of SFileSys: how a system error becomes a
// reason and a text, the throw helpers, and the two small path parsers
// (kept apart so that they can be exercised on their own).
#pragma once

#include "tarnkit/sfilesys.h"

#include <string>

namespace TarnkitA201::FileSysDetail {

SFileSysException::ErrorReasons ReasonFor(int error) noexcept;
SAnsiString ErrorTextOf(int error);
// An error that means the name is not there: no such entry, a path through
// a plain file, or a name the system cannot even look up.
bool MeansAbsent(int error) noexcept;

[[noreturn]] void Throw(SFileSysException::ErrorCodes code, SFileSysException::ErrorReasons reason,
                        const SAnsiString &file, int error, const char *function,
                        const SAnsiString &secondFile = SAnsiString());
// The reason is the error's own.
[[noreturn]] void ThrowSystem(SFileSysException::ErrorCodes code, const SAnsiString &file, int error,
                              const char *function, const SAnsiString &secondFile = SAnsiString());
[[noreturn]] void ThrowNotFound(const SAnsiString &file, const char *function);

// The path without one trailing separator.
SAnsiString WithoutTrailingSeparator(const SAnsiString &path);
// The path with a separator at its end (an empty path stays empty).
SAnsiString WithTrailingSeparator(const SAnsiString &path);

// Resolves the leading "./" and "../" steps of the relative `path` against
// the absolute directory `base` by text alone ("../" of "/" stays "/") and
// appends what follows them.
std::string ResolveLeadingDots(const std::string &base, const std::string &path);

// A listing's `fileSpec` taken apart at its last separator: the subdirectory
// (without a leading separator) and the pattern.
void SplitListingFileSpec(const std::string &fileSpec, std::string &subdirectory, std::string &pattern);

} // namespace TarnkitA201::FileSysDetail
