// Imports random text into a settings store holding known keys. Aborts when
// a refused or failed import changed anything, when the store's export of
// an accepted import does not import back, or when that second import does
// not export to the same text.
#include "config/registrystore.h"
#include "tarnkit/registryexport.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

using namespace TarnkitA201;
using Result = RegistryTransferResult;

namespace {

void Check(bool ok, const char *what) {
    if (!ok) {
        std::fprintf(stderr, "failed: %s\n", what);
        std::abort();
    }
}

std::string Str(const SAnsiString &s) { return std::string(s.getString(), s.getLength()); }

const char kSeed[] = "Tarnkit Registry Export 1\n"
                     "[HKLM\\Software\\Seed]\n\"Text\"=\"x\"\n\"Count\"=dword:0000002a\n"
                     "[HKLM\\Software\\Seed\\Child]\n\"Blob\"=hex:00,ff\n\"List\"=multi:\"a\",\"b\"\n"
                     "[HKCU\\Prefs]\n@=expand:\"%HOME%\"\n";

// Both stores live in a directory of their own, in memory where possible:
// every write is synced, and the fuzzer writes a lot.
void UseFreshStores() {
    static bool done = false;
    if (done)
        return;
    done = true;
    char pattern[] = "/dev/shm/fuzz_registry_XXXXXX";
    char fallback[] = "/tmp/fuzz_registry_XXXXXX";
    const char *dir = mkdtemp(pattern);
    if (dir == nullptr)
        dir = mkdtemp(fallback);
    Check(dir != nullptr, "no temporary directory");
    setenv("TARNKIT_REGISTRY_DIR", dir, 1);
    setenv("XDG_CONFIG_HOME", dir, 1);
}

// Removes every key and every value at the top of a root's store.
void Wipe(HKEY root) {
    RegistryTransferError error;
    std::vector<SAnsiString> keys;
    if (ListSubKeys(root, "", keys, error) != Result::Ok)
        return;
    for (const SAnsiString &key : keys)
        Check(DeleteKeyTree(root, key, true, error) == Result::Ok, "wiping a key");
    IRegistryStore &store = GetRegistryStore();
    char name[4096];
    for (;;) {
        unsigned long length = sizeof name;
        unsigned long size = 0, type = 0;
        if (store.EnumValue(root, 0, name, &length, &type, nullptr, &size) != RegistryError::Success)
            break;
        Check(store.DeleteValue(root, name) == RegistryError::Success, "wiping a value");
    }
}

std::string ExportBoth() {
    std::string both;
    for (HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER}) {
        SAnsiString text;
        RegistryTransferError error;
        Result result = ExportKey(root, "", text, error);
        Check(result == Result::Ok || result == Result::NotFound, "exporting a root");
        both += Str(text);
    }
    return both;
}

// The export of both roots as one file: the second version line goes.
std::string AsOneFile(const std::string &both) {
    const std::string header = "Tarnkit Registry Export 1\n";
    std::string file = both;
    size_t second = file.find(header, header.size());
    if (second != std::string::npos)
        file.erase(second, header.size());
    return file.empty() ? header : file;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    UseFreshStores();
    Wipe(HKEY_LOCAL_MACHINE);
    Wipe(HKEY_CURRENT_USER);
    RegistryTransferError error;
    Check(ImportText(kSeed, error) == Result::Ok, "the seed imports");
    const std::string before = ExportBoth();

    const Result result = ImportText(SAnsiString(reinterpret_cast<const char *>(data), size), error);
    const std::string after = ExportBoth();
    if (result != Result::Ok) {
        Check(error.line != 0 || result == Result::StoreFailure, "a refusal names its line");
        Check(after == before, "a refused import changed the store");
        return 0;
    }

    Wipe(HKEY_LOCAL_MACHINE);
    Wipe(HKEY_CURRENT_USER);
    Check(ImportText(SAnsiString(AsOneFile(after).c_str()), error) == Result::Ok, "an export imports back");
    Check(ExportBoth() == after, "an export does not import back to itself");
    return 0;
}
