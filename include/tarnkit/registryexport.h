// Moves keys of the settings store to and from a plain-text file that an
// administrator can read and edit, and reaches single values with their
// stored type and bytes. The file looks like this:
//
//     Tarnkit Registry Export 1
//
//     [HKEY_LOCAL_MACHINE\Software\Ostrand Group\10.5\Logging]
//     "MaxLogFileSize"=dword:00100000
//     "loggingPath"="/var/log/suite"
//     "Expanded"=expand:"%HOME%/x"
//     "Blob"=hex:01,ff,00
//     "Multi"=multi:"a","b"
//     @="the value without a name"
//     "Odd"=hex(b):01,02      (any other type, by number, as its bytes)
//     "Gone"=-                (import deletes the value)
//     [-HKEY_CURRENT_USER\Software\Old]   (import deletes the key and all below)
//
// Lines starting with ";" or "#" are comments. Quoted text escapes "\\",
// "\"", "\n", "\r", "\t" and any byte as "\xHH"; a key name that needs an
// escape is quoted between its backslashes. A hex or multi list may go on
// over several lines: end a line with ",\" and continue on the next.
// A quoted string value stands for its bytes and one terminating NUL; a
// multi value for each item with its NUL and one more NUL. Values whose
// bytes have another shape travel as hex(type), so every value survives.
#pragma once

#include "tarnkit/platform.h"
#include "tarnkit/registry.h"
#include "tarnkit/simplebuffer.h"
#include "tarnkit/sstringimpl.h"

#include <vector>

TARNKIT_NAMESPACE_BEGIN

// How a transfer ended; the numbers are the tool's exit codes.
enum class RegistryTransferResult {
    Ok = 0,
    NotFound = 1,      // the key or value does not exist
    Invalid = 2,       // malformed input or a request the store must refuse
    StoreFailure = 3,  // the store could not be read or written
};

struct RegistryTransferError {
    unsigned long line = 0;  // the input line at fault; 0 when none applies
    SAnsiString message;     // what went wrong, for a person; "line N: " included
};

// The root named by "HKEY_LOCAL_MACHINE", "HKLM", "HKEY_CURRENT_USER" or
// "HKCU" (any case). False for any other name.
bool ParseRegistryRoot(const SAnsiString &name, HKEY &root);
// The full name of HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER; empty otherwise.
SAnsiString RegistryRootName(HKEY root);

// The key (empty for the root itself) with its values and, when recursive,
// every key below, as the text of a whole file.
RegistryTransferResult ExportKey(HKEY root, const SAnsiString &key, SAnsiString &text, RegistryTransferError &error,
                                 bool recursive = true);
// The same, written to a file; the file is touched only once the export
// has succeeded.
RegistryTransferResult ExportKeyToFile(HKEY root, const SAnsiString &key, const SAnsiString &file,
                                       RegistryTransferError &error);

// Applies a whole file (text stops at a NUL byte; ImportFile reads every
// byte). Nothing is written unless all of it parses; the
// writes to each store are one transaction, undone when any of them fails.
RegistryTransferResult ImportText(const SAnsiString &text, RegistryTransferError &error);
RegistryTransferResult ImportFile(const SAnsiString &file, RegistryTransferError &error);

// One value as stored: its type and its bytes (text types with their NULs).
RegistryTransferResult ReadRawValue(HKEY root, const SAnsiString &key, const SAnsiString &name, unsigned long &type,
                                    SSimpleBuffer &bytes, RegistryTransferError &error);
// Creates the key when needed.
RegistryTransferResult WriteRawValue(HKEY root, const SAnsiString &key, const SAnsiString &name, unsigned long type,
                                     const SSimpleBuffer &bytes, RegistryTransferError &error);
RegistryTransferResult DeleteRawValue(HKEY root, const SAnsiString &key, const SAnsiString &name,
                                      RegistryTransferError &error);
// A key with subkeys is refused (Invalid) unless recursive; a root is
// never deleted.
RegistryTransferResult DeleteKeyTree(HKEY root, const SAnsiString &key, bool recursive,
                                     RegistryTransferError &error);

// The names of the key's subkeys, in the store's order.
RegistryTransferResult ListSubKeys(HKEY root, const SAnsiString &key, std::vector<SAnsiString> &names,
                                   RegistryTransferError &error);

// One value line of the file, e.g. "Count"=dword:0000002a.
SAnsiString FormatRegistryValue(const SAnsiString &name, unsigned long type, const SSimpleBuffer &bytes);
// One key line of the file, e.g. [HKEY_CURRENT_USER\Software\App].
SAnsiString FormatRegistryKey(HKEY root, const SAnsiString &key);

TARNKIT_NAMESPACE_END
