// A tour of what the library offers so far: shared copy-on-write text in
// several encodings, numbers in their exact text forms, message templates,
// containers ordered the library's way, dates in zones given by rules, and
// files that never lose a caller's data.
#include <tarnkit/tarnkit.h>

#include <clocale>
#include <cstdio>

using namespace TarnkitA201;

namespace {

void show(const char *label, const SAnsiString &text) {
    std::printf("%-36s %s\n", label, static_cast<const char *>(text));
}

void text() {
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
    std::printf("%-36s %zu pieces: '%s' '%s' '%s'\n", "split \"alpha,,gamma\":", count,
                static_cast<const char *>(pieces[0]), static_cast<const char *>(pieces[1]),
                static_cast<const char *>(pieces[2]));

    SZTAString wide;
    CUTFConverter::UTF8ToUTF16(reinterpret_cast<const unsigned char *>("gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80"), wide);
    std::printf("%-36s %zu UTF-16 units, %zu UTF-8 bytes\n", "\"gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80\" as wide text:",
                wide.getLength(), CUTFConverter::UTF16ToUTF8Length(wide) - 1);
}

void numbers() {
    show("canonical text of 2/3:", NeutralString::FromNumber(2.0 / 3.0));
    show("1e300 with 2 decimals (15 digits):", NeutralString::FromNumber(1.0e300, 2).left(24) + "...");
    long parsed = 0;
    bool ok = SAnsiStringConv::FromString(SAnsiString("0x1F"), parsed, 16);
    std::printf("%-36s %s, %ld\n", "\"0x1F\" in base 16:", ok ? "ok" : "refused", parsed);
}

void templatesAndContainers() {
    SResString message(SAnsiString("%2 was found in %1 after %3 tries"), SChar_t<char, 0>('%'));
    message << SAnsiString("the archive") << SAnsiString("report.txt") << 3;
    show("message template:", message);

    SIMap<SMapStringCaseInsensitive, SAnsiString> settings;
    settings.Insert(SMapStringCaseInsensitive(SAnsiString("Timeout")), SAnsiString("30"));
    settings.Insert(SMapStringCaseInsensitive(SAnsiString("port")), SAnsiString("8080"));
    settings.Insert(SMapStringCaseInsensitive(SAnsiString("PORT")), SAnsiString("9090"));
    std::printf("%-36s", "settings, shortest key first:");
    for (auto it = settings.GetFirst(); it; ++it)
        std::printf(" %s=%s", static_cast<const char *>(SAnsiString(it.GetKey())),
                    static_cast<const char *>(it.GetValue()));
    std::printf("\n");
}

void dates() {
    // Central Europe: one hour east of Greenwich, daylight time from the last
    // Sunday of March at 2:00 to the last Sunday of October at 3:00.
    STimeZone berlin(SAnsiString("CET,-60,CEST;3.5.0/2:0,10.5.0/3:0"));
    SDateTime moment(SDate(2026, 7, 1), STime(12, 0, 0, 0, STimeZone::TZ_UTC()));
    show("2026-07-01 12:00 UTC in a rule zone:", moment.Format("yyyy-MM-dd HH:mm", berlin));
    show("now, local:", SDateTime::GetCurrentDateTime().Format("yyyy-MM-dd HH:mm:ss", STimeZone::TZ_Local()));
}

void files() {
    SAnsiString dir = SFileSys::getUniqueDirname(SFileSys::getTempDirname(), SAnsiString("tarnkit-demo"), true,
                                                 SFile::defaultPermissions);
    SAnsiString path = dir + "notes.txt"; // the unique directory name ends with "/"
    {
        SFile file(path, SFile::writeOnly | SFile::create | SFile::truncate, SFile::defaultPermissions,
                   SFile::denyWrite);
        file.writeString(SAnsiString("first line\nsecond line\n"));
    }
    SFile reader(path, SFile::readOnly, SFile::defaultPermissions, SFile::denyNothing);
    show("first line read back:", reader.readLine());
    reader.close();

    SSimpleBuffer mapped;
    if (mapped.loadFromFile(path, true, false))
        std::printf("%-36s %zu bytes, mapped=%s\n", "the same file as mapped bytes:", mapped.getNBytes(),
                    mapped.IsMapped() ? "yes" : "no");
    mapped.empty();

    try {
        SFile missing(dir + "no-such-file", SFile::readOnly, SFile::defaultPermissions, SFile::denyNothing);
    } catch (const SFileException &e) {
        show("opening a missing file:", e.toString());
    }
    SFileSys::rremove(dir);
}

} // namespace

int main() {
    std::setlocale(LC_ALL, "");
    text();
    numbers();
    templatesAndContainers();
    dates();
    try {
        files();
    } catch (const SFileException &e) {
        std::printf("file error: %s\n", static_cast<const char *>(e.summary()));
        return 1;
    }
    return 0;
}
