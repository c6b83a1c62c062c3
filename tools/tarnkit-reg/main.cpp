// tarnkit-reg: reads and changes the settings store from the shell, and
// moves keys to and from text files an administrator can edit.
#include "tarnkit/registryexport.h"

#include <cctype>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

const char kHelp[] = R"(tarnkit-reg - read, change, export and import the settings store

Usage:
  tarnkit-reg query  KEY [NAME] [--data]
  tarnkit-reg set    KEY NAME TYPE [DATA...]
  tarnkit-reg delete KEY [NAME] [--recursive]
  tarnkit-reg export KEY [FILE]
  tarnkit-reg import [FILE]
  tarnkit-reg --help

KEY is a root followed by key names, separated by backslashes:
  HKEY_LOCAL_MACHINE\Software\Ostrand Group\10.5\Logging
The roots are HKEY_LOCAL_MACHINE (or HKLM), kept in
$TARNKIT_REGISTRY_DIR/registry.db, else /var/lib/tarnkit/registry.db, and
HKEY_CURRENT_USER (or HKCU), kept in $XDG_CONFIG_HOME/tarnkit/registry.db
(~/.config when unset). Quote KEY in the shell: it holds backslashes and
often spaces. Key and value names ignore the case of ASCII letters.
NAME "" (an empty argument) is the value without a name, shown as @.

Commands:
  query KEY          Shows the key's values, one per line, then its subkeys.
  query KEY NAME     Shows one value as a line of the export format.
        --data       Shows only the value's data: text as it is, a dword in
                     decimal, each multi item on a line of its own, other
                     bytes in hex.
  set KEY NAME TYPE DATA
                     Writes a value, creating the key when needed. TYPE is
                       string  DATA is the text
                       expand  DATA is text whose %NAME% references are
                               replaced by the environment when read
                       dword   DATA is a number from 0 to 4294967295, in
                               decimal or as 0x followed by hex digits
                       hex     DATA is bytes in hex: 01,ff,00 or 01ff00
                               (no DATA: no bytes)
                       multi   each DATA argument is one string of the list
                               (no DATA: an empty list)
  delete KEY NAME    Deletes one value.
  delete KEY         Deletes a key that has no subkeys.
         --recursive Deletes the key with every key and value below it.
  export KEY [FILE]  Writes the key, its values and every key below it to
                     FILE, or to standard output when FILE is - or missing.
  import [FILE]      Applies a file made by export (or by hand) from FILE,
                     or from standard input when FILE is - or missing.
                     Nothing changes unless the whole file is correct;
                     an error names the line at fault.

The export format, one item per line:
  Tarnkit Registry Export 1                  the first line, always
  [HKEY_LOCAL_MACHINE\Software\App]          a key: created on import
  "loggingPath"="/var/log/suite"             string
  "Expanded"=expand:"%HOME%/x"               expand
  "MaxLogFileSize"=dword:00100000            dword, 8 hex digits
  "Blob"=hex:01,ff,00                        hex (binary)
  "Multi"=multi:"a","b"                      multi
  @="text"                                   the value without a name
  "Other"=hex(b):01,02                       any other type number (in hex)
  "Old"=-                                    import deletes this value
  [-HKEY_LOCAL_MACHINE\Software\App\Old]     import deletes this key tree
  ; a comment                                lines starting ; or # are ignored
Inside quotes write \\ for a backslash, \" for a quote, \n \r \t, or \xHH
for any byte. A key name that needs such escapes is quoted between its
backslashes: [HKLM\Software\"two\nlines"]. A long hex or multi list may go
on over several lines: end a line with ,\ and continue on the next.
Import adds and replaces; keys and values missing from the file stay as
they are unless the file deletes them with - as above.

Exit status:
  0  success
  1  the key, value or file was not found
  2  wrong usage, malformed input, or a request the store refuses
  3  the store could not be read or written

Examples:
  # Look at a key and at one value.
  tarnkit-reg query 'HKLM\Software\Ostrand Group\10.5\Logging'
  tarnkit-reg query 'HKLM\Software\Ostrand Group\10.5\Logging' loggingPath --data

  # Set values of each type.
  tarnkit-reg set 'HKCU\Software\App' loggingPath string /var/log/suite
  tarnkit-reg set 'HKCU\Software\App' Home expand '%HOME%/app'
  tarnkit-reg set 'HKCU\Software\App' MaxLogFileSize dword 0x100000
  tarnkit-reg set 'HKCU\Software\App' Blob hex 01,ff,00
  tarnkit-reg set 'HKCU\Software\App' Servers multi alpha beta

  # Export a key, change it with an editor or sed, and import it back.
  tarnkit-reg export 'HKLM\Software\Ostrand Group' group.reg
  sed -i 's/"MaxLogFileSize"=dword:00100000/"MaxLogFileSize"=dword:00200000/' group.reg
  tarnkit-reg import group.reg
  tarnkit-reg query 'HKLM\Software\Ostrand Group\10.5\Logging' MaxLogFileSize

  # Copy a user's settings to the machine's store.
  tarnkit-reg export 'HKCU\Software\App' | sed 's/^\[HKEY_CURRENT_USER/[HKEY_LOCAL_MACHINE/' | tarnkit-reg import

  # Delete a value, then the whole key.
  tarnkit-reg delete 'HKCU\Software\App' Blob
  tarnkit-reg delete 'HKCU\Software\App' --recursive
)";

constexpr int kOk = 0;
constexpr int kUsage = 2;

struct Arguments {
    std::vector<std::string> positional;
    bool data = false;
    bool recursive = false;
    bool help = false;
};

// Thrown for a wrong command line; the message goes to stderr with exit 2.
struct UsageError {
    std::string message;
};

Arguments ParseArguments(int argc, char **argv) {
    Arguments arguments;
    bool optionsDone = false;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        if (optionsDone || argument.size() < 2 || argument[0] != '-') {
            arguments.positional.push_back(argument);
        } else if (argument == "--") {
            optionsDone = true;
        } else if (argument == "--data") {
            arguments.data = true;
        } else if (argument == "--recursive" || argument == "-r") {
            arguments.recursive = true;
        } else if (argument == "--help" || argument == "-h") {
            arguments.help = true;
        } else {
            throw UsageError{"unknown option " + argument};
        }
    }
    return arguments;
}

struct KeyName {
    HKEY root = nullptr;
    SAnsiString path;
};

KeyName ParseKey(const std::string &text) {
    KeyName key;
    size_t slash = text.find('\\');
    std::string root = text.substr(0, slash);
    if (!ParseRegistryRoot(SAnsiString(root.c_str()), key.root))
        throw UsageError{"\"" + text + "\" does not start with HKEY_LOCAL_MACHINE, HKLM, HKEY_CURRENT_USER or HKCU"};
    if (slash != std::string::npos)
        key.path = SAnsiString(text.c_str() + slash + 1);
    return key;
}

std::string Str(const SAnsiString &text) { return std::string(text.getString(), text.getLength()); }

void ExpectCount(const Arguments &arguments, size_t least, size_t most, const char *usage) {
    size_t count = arguments.positional.size() - 1;
    if (count < least || count > most)
        throw UsageError{std::string("usage: tarnkit-reg ") + usage};
}

int Report(RegistryTransferResult result, const RegistryTransferError &error) {
    if (result != RegistryTransferResult::Ok)
        std::cerr << "tarnkit-reg: " << Str(error.message) << '\n';
    return static_cast<int>(result);
}

// ---------------------------------------------------------------------------
// Value data from the command line, as the bytes the store keeps.

uint32_t ParseDword(const std::string &text) {
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const std::string digits = hex ? text.substr(2) : text;
    unsigned long long value = 0;
    bool ok = !digits.empty() && digits.size() <= 16;
    for (char c : digits) {
        int digit = std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                    : hex && std::isxdigit(static_cast<unsigned char>(c))
                        ? std::tolower(static_cast<unsigned char>(c)) - 'a' + 10
                        : -1;
        ok = ok && digit >= 0;
        value = value * (hex ? 16 : 10) + static_cast<unsigned>(digit < 0 ? 0 : digit);
        ok = ok && value <= 0xFFFFFFFFull;
    }
    if (!ok)
        throw UsageError{"\"" + text + "\" is no dword: give a number from 0 to 4294967295, or 0x and hex digits"};
    return static_cast<uint32_t>(value);
}

std::string ParseHexBytes(const std::vector<std::string> &pieces) {
    std::string digits;
    for (const std::string &piece : pieces)
        for (char c : piece) {
            if (c == ',' || c == ' ' || c == ':' || c == '\t')
                continue;
            if (!std::isxdigit(static_cast<unsigned char>(c)))
                throw UsageError{std::string("'") + c + "' is no hex digit; write bytes as 01,ff,00 or 01ff00"};
            digits += c;
        }
    if (digits.size() % 2 != 0)
        throw UsageError{"the hex data has an odd number of digits; write each byte as two digits"};
    std::string bytes;
    for (size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

void BuildValue(const std::string &typeName, const std::vector<std::string> &data, unsigned long &type,
                std::string &bytes) {
    const auto one = [&]() -> const std::string & {
        if (data.size() != 1)
            throw UsageError{"a " + typeName + " value takes exactly one DATA argument"};
        return data[0];
    };
    if (typeName == "string" || typeName == "expand") {
        type = typeName == "string" ? 1 : 2;
        bytes = one() + '\0';
    } else if (typeName == "dword") {
        type = 4;
        uint32_t number = ParseDword(one());
        bytes.clear();
        for (int i = 0; i < 4; ++i)
            bytes += static_cast<char>(number >> (8 * i) & 0xFF);
    } else if (typeName == "hex") {
        type = 3;
        bytes = ParseHexBytes(data);
    } else if (typeName == "multi") {
        type = 7;
        bytes.clear();
        for (const std::string &item : data)
            bytes += item + '\0';
        bytes += '\0';
    } else {
        throw UsageError{"unknown type \"" + typeName + "\"; use string, expand, dword, hex or multi"};
    }
}

// A value's data alone, for scripts.
std::string PlainData(unsigned long type, const std::string &bytes) {
    const bool terminated = !bytes.empty() && bytes.back() == '\0';
    if ((type == 1 || type == 2) && terminated)
        return bytes.substr(0, bytes.size() - 1);
    if (type == 4 && bytes.size() == 4) {
        uint32_t number = 0;
        for (int i = 3; i >= 0; --i)
            number = number << 8 | static_cast<unsigned char>(bytes[static_cast<size_t>(i)]);
        return std::to_string(number);
    }
    if (type == 7 && terminated) {
        std::string lines = bytes.substr(0, bytes.size() - 1);
        if (!lines.empty() && lines.back() == '\0')
            lines.pop_back();
        for (char &c : lines)
            if (c == '\0')
                c = '\n';
        return lines;
    }
    std::string hex;
    char pair[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(pair, sizeof pair, i == 0 ? "%02x" : ",%02x", static_cast<unsigned char>(bytes[i]));
        hex += pair;
    }
    return hex;
}

// ---------------------------------------------------------------------------
// The commands.

int Query(const Arguments &arguments) {
    ExpectCount(arguments, 1, 2, "query KEY [NAME] [--data]");
    KeyName key = ParseKey(arguments.positional[1]);
    RegistryTransferError error;
    if (arguments.positional.size() == 3) {
        SAnsiString name(arguments.positional[2].c_str());
        unsigned long type = 0;
        SSimpleBuffer bytes;
        RegistryTransferResult result = ReadRawValue(key.root, key.path, name, type, bytes, error);
        if (result != RegistryTransferResult::Ok)
            return Report(result, error);
        const unsigned char *data = bytes;
        std::string raw =
            data == nullptr ? std::string() : std::string(reinterpret_cast<const char *>(data), bytes.getNBytes());
        std::cout << (arguments.data ? PlainData(type, raw) : Str(FormatRegistryValue(name, type, bytes))) << '\n';
        return kOk;
    }
    if (arguments.data)
        throw UsageError{"--data needs a value NAME"};
    SAnsiString text;
    RegistryTransferResult result = ExportKey(key.root, key.path, text, error, false);
    std::vector<SAnsiString> subKeys;
    if (result == RegistryTransferResult::Ok)
        result = ListSubKeys(key.root, key.path, subKeys, error);
    if (result != RegistryTransferResult::Ok)
        return Report(result, error);
    // Leave out the version line and the blank line after it.
    std::string body = Str(text);
    body.erase(0, body.find('[') == std::string::npos ? body.size() : body.find('['));
    std::cout << body;
    if (!subKeys.empty())
        std::cout << '\n';
    for (const SAnsiString &subKey : subKeys) {
        std::string path = Str(key.path);
        while (!path.empty() && path.back() == '\\')
            path.pop_back();
        path += (path.empty() ? "" : "\\") + Str(subKey);
        std::cout << Str(FormatRegistryKey(key.root, SAnsiString(path.data(), path.size()))) << '\n';
    }
    return kOk;
}

int Set(const Arguments &arguments) {
    if (arguments.positional.size() < 4)
        throw UsageError{"usage: tarnkit-reg set KEY NAME TYPE [DATA...]"};
    KeyName key = ParseKey(arguments.positional[1]);
    unsigned long type = 0;
    std::string bytes;
    BuildValue(arguments.positional[3],
               std::vector<std::string>(arguments.positional.begin() + 4, arguments.positional.end()), type, bytes);
    SSimpleBuffer buffer;
    if (!bytes.empty())
        buffer.append(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
    RegistryTransferError error;
    return Report(WriteRawValue(key.root, key.path, SAnsiString(arguments.positional[2].c_str()), type, buffer, error),
                  error);
}

int Delete(const Arguments &arguments) {
    ExpectCount(arguments, 1, 2, "delete KEY [NAME] | delete KEY --recursive");
    KeyName key = ParseKey(arguments.positional[1]);
    RegistryTransferError error;
    if (arguments.positional.size() == 3) {
        if (arguments.recursive)
            throw UsageError{"--recursive deletes a key: give no value NAME with it"};
        return Report(DeleteRawValue(key.root, key.path, SAnsiString(arguments.positional[2].c_str()), error), error);
    }
    return Report(DeleteKeyTree(key.root, key.path, arguments.recursive, error), error);
}

int Export(const Arguments &arguments) {
    ExpectCount(arguments, 1, 2, "export KEY [FILE]");
    KeyName key = ParseKey(arguments.positional[1]);
    RegistryTransferError error;
    if (arguments.positional.size() == 3 && arguments.positional[2] != "-")
        return Report(ExportKeyToFile(key.root, key.path, SAnsiString(arguments.positional[2].c_str()), error), error);
    SAnsiString text;
    RegistryTransferResult result = ExportKey(key.root, key.path, text, error);
    if (result != RegistryTransferResult::Ok)
        return Report(result, error);
    std::cout.write(text.getString(), static_cast<std::streamsize>(text.getLength()));
    std::cout.flush();
    if (!std::cout) {
        std::cerr << "tarnkit-reg: cannot write to standard output\n";
        return kUsage;
    }
    return kOk;
}

int Import(const Arguments &arguments) {
    ExpectCount(arguments, 0, 1, "import [FILE]");
    RegistryTransferError error;
    if (arguments.positional.size() == 2 && arguments.positional[1] != "-")
        return Report(ImportFile(SAnsiString(arguments.positional[1].c_str()), error), error);
    std::string text((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
    return Report(ImportText(SAnsiString(text.data(), text.size()), error), error);
}

int Run(int argc, char **argv) {
    Arguments arguments = ParseArguments(argc, argv);
    if (arguments.help || (!arguments.positional.empty() && arguments.positional[0] == "help")) {
        std::cout << kHelp;
        return kOk;
    }
    if (arguments.positional.empty())
        throw UsageError{"no command given"};
    const std::string &command = arguments.positional[0];
    if (command == "query")
        return Query(arguments);
    if (command == "set")
        return Set(arguments);
    if (command == "delete")
        return Delete(arguments);
    if (command == "export")
        return Export(arguments);
    if (command == "import")
        return Import(arguments);
    throw UsageError{"unknown command \"" + command + "\""};
}

} // namespace

int main(int argc, char **argv) {
    // Names and text cross the store in the user's locale.
    std::setlocale(LC_ALL, "");
    try {
        return Run(argc, argv);
    } catch (const UsageError &error) {
        std::cerr << "tarnkit-reg: " << error.message << "\n"
                  << "Try 'tarnkit-reg --help' for the commands, the file format and examples.\n";
        return kUsage;
    }
}
