// A tour of what the library offers so far: shared copy-on-write text,
// message templates with numbered placeholders, containers ordered the
// library's way, and byte buffers over files.
#include <tarnkit/tarnkit.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <string>

using namespace TarnkitA201;

static void show(const char *label, const SAnsiString &text) { std::printf("%-34s %s\n", label, static_cast<const char *>(text)); }

int main() {
    std::setlocale(LC_ALL, "");

    SAnsiString greeting("  Hello, shared world  ");
    SAnsiString copy = greeting; // one interlocked add, no text copied
    copy.trim();
    show("trimmed copy:", copy);
    show("original, untouched:", greeting);

    SAnsiString built;
    built << "pi is about " << 3.14159 << ", answer " << 42;
    show("built with <<:", built);

    SIArray<SAnsiString> pieces;
    size_t count = SplitString(SAnsiString("alpha,,gamma"), pieces, SChar_t<char, 0>(','));
    std::printf("%-34s %zu pieces: '%s' '%s' '%s'\n", "split \"alpha,,gamma\":", count,
                static_cast<const char *>(pieces[0]), static_cast<const char *>(pieces[1]),
                static_cast<const char *>(pieces[2]));

    SResString message(SAnsiString("%2 was found in %1 after %3 tries"), SChar_t<char, 0>('%'));
    message << SAnsiString("the archive") << SAnsiString("report.txt") << 3;
    show("message template:", message);

    SIMap<SMapStringCaseInsensitive, SAnsiString> settings;
    settings.Insert(SMapStringCaseInsensitive(SAnsiString("Timeout")), SAnsiString("30"));
    settings.Insert(SMapStringCaseInsensitive(SAnsiString("port")), SAnsiString("8080"));
    settings.Insert(SMapStringCaseInsensitive(SAnsiString("PORT")), SAnsiString("9090"));
    std::printf("%-34s", "settings, shortest key first:");
    for (auto it = settings.GetFirst(); it; ++it)
        std::printf(" %s=%s", static_cast<const char *>(SAnsiString(it.GetKey())),
                    static_cast<const char *>(it.GetValue()));
    std::printf("\n");

    std::string path = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") + "/tarnkit-demo.bin";
    SSimpleBuffer bytes;
    for (unsigned char c : std::string("bytes on disk"))
        bytes << c;
    bytes.saveToFile(SAnsiString(path.c_str()), true);
    SSimpleBuffer mapped;
    if (mapped.loadFromFile(SAnsiString(path.c_str()), true, true)) {
        std::printf("%-34s %zu bytes, mapped=%s, equal=%s\n", "mapped back from a temporary file:", mapped.getNBytes(),
                    mapped.IsMapped() ? "yes" : "no", mapped == bytes ? "yes" : "no");
    }
    return 0;
}
