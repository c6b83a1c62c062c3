// UTF-8 <-> UTF-16 throughput beside ICU and glibc's iconv, on ASCII-only,
// Latin with accents, and Japanese text of a few hundred KiB each. The
// library's cases go through its public entry points, allocation included;
// the peers convert into buffers prepared ahead.
#include "common/ratios.h"

#include <tarnkit/UTFConverter.h>

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <iconv.h>

#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace TarnkitA201;

void RegisterUtfBenchmarks();

namespace {

constexpr size_t kTextBytes = 300 * 1024;

// Words drawn at random until the text has about kTextBytes bytes.
std::string MakeText(const std::vector<std::string> &words, const char *separator) {
    std::mt19937 random(11);
    std::string text;
    while (text.size() < kTextBytes) {
        text += words[random() % words.size()];
        text += separator;
    }
    return text;
}

std::string AsciiText() {
    return MakeText({"the", "quick", "brown", "fox", "jumps", "over", "lazy", "dog", "server", "request", "file",
                     "configuration", "value", "42", "logging,", "started."},
                    " ");
}

std::string LatinText() {
    return MakeText({"Gr\xC3\xB6\xC3\x9F" "e", "caf\xC3\xA9", "na\xC3\xAFve", "d\xC3\xA9j\xC3\xA0", "Stra\xC3\x9F" "e",
                     "und", "der", "les", "\xC3\xA9t\xC3\xA9", "fen\xC3\xAAtre", "M\xC3\xBCller", "Datei", "le",
                     "serveur", "ni\xC3\xB1o", "a\xC3\xB1o", "programme"},
                    " ");
}

std::string JapaneseText() {
    return MakeText({"\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E", "\xE3\x81\xAE", "\xE3\x83\x86\xE3\x82\xAD\xE3\x82\xB9\xE3\x83\x88",
                     "\xE3\x82\x92", "\xE5\xA4\x89\xE6\x8F\x9B", "\xE3\x81\x97\xE3\x81\xBE\xE3\x81\x99",
                     "\xE3\x82\xB5\xE3\x83\xBC\xE3\x83\x90\xE3\x83\xBC", "\xE8\xA8\xAD\xE5\xAE\x9A", "2024",
                     "\xE3\x83\x95\xE3\x82\xA1\xE3\x82\xA4\xE3\x83\xAB", "\xE3\x81\xA8"},
                    "\xE3\x80\x81");
}

std::vector<unsigned short> ToUtf16(const std::string &utf8) {
    SZTAString wide;
    CUTFConverter::UTF8ToUTF16(reinterpret_cast<const unsigned char *>(utf8.c_str()), wide);
    return std::vector<unsigned short>(wide.getString(), wide.getString() + wide.getLength() + 1);
}

void Register(const std::string &name, std::function<void(benchmark::State &)> body) {
    benchmark::RegisterBenchmark(name.c_str(), body)->Unit(benchmark::kMicrosecond);
}

// iconv with a descriptor opened once; each run starts from the initial state.
size_t IconvConvert(iconv_t cd, const char *in, size_t inBytes, char *out, size_t outBytes) {
    iconv(cd, nullptr, nullptr, nullptr, nullptr);
    char *source = const_cast<char *>(in);
    char *target = out;
    size_t left = outBytes;
    iconv(cd, &source, &inBytes, &target, &left);
    return outBytes - left;
}

void RegisterCase(const std::string &caseName, const std::string &utf8) {
    auto wide = std::make_shared<std::vector<unsigned short>>(ToUtf16(utf8));
    auto text = std::make_shared<std::string>(utf8);
    size_t units = wide->size() - 1;

    std::string toWide = "utf8_to_utf16_" + caseName;
    Register(toWide + "/tarnkit", [text](benchmark::State &state) {
        for (auto _ : state) {
            SZTAString out;
            bool ok = CUTFConverter::UTF8ToUTF16(reinterpret_cast<const unsigned char *>(text->c_str()), out);
            benchmark::DoNotOptimize(ok);
            benchmark::DoNotOptimize(out.getString());
        }
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text->size()));
    });
    Register(toWide + "/ICU", [text, units](benchmark::State &state) {
        std::vector<UChar> out(units + 1);
        for (auto _ : state) {
            UErrorCode error = U_ZERO_ERROR;
            int32_t length = 0;
            u_strFromUTF8(out.data(), static_cast<int32_t>(out.size()), &length, text->data(),
                          static_cast<int32_t>(text->size()), &error);
            benchmark::DoNotOptimize(length);
            benchmark::DoNotOptimize(out.data());
        }
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text->size()));
    });
    Register(toWide + "/iconv", [text, units](benchmark::State &state) {
        iconv_t cd = iconv_open("UTF-16LE", "UTF-8");
        std::vector<char> out((units + 1) * 2);
        for (auto _ : state)
            benchmark::DoNotOptimize(IconvConvert(cd, text->data(), text->size(), out.data(), out.size()));
        iconv_close(cd);
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text->size()));
    });

    std::string toUtf8 = "utf16_to_utf8_" + caseName;
    Register(toUtf8 + "/tarnkit", [wide, text](benchmark::State &state) {
        SZTAString source(wide->data());
        for (auto _ : state) {
            SSimpleBuffer out;
            bool ok = CUTFConverter::UTF16ToUTF8(source, out);
            benchmark::DoNotOptimize(ok);
            benchmark::DoNotOptimize(static_cast<const unsigned char *>(out));
        }
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text->size()));
    });
    Register(toUtf8 + "/ICU", [wide, text, units](benchmark::State &state) {
        std::vector<char> out(text->size() + 1);
        for (auto _ : state) {
            UErrorCode error = U_ZERO_ERROR;
            int32_t length = 0;
            u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &length,
                        reinterpret_cast<const UChar *>(wide->data()), static_cast<int32_t>(units), &error);
            benchmark::DoNotOptimize(length);
            benchmark::DoNotOptimize(out.data());
        }
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text->size()));
    });
    Register(toUtf8 + "/iconv", [wide, text, units](benchmark::State &state) {
        iconv_t cd = iconv_open("UTF-8", "UTF-16LE");
        std::vector<char> out(text->size() + 1);
        for (auto _ : state)
            benchmark::DoNotOptimize(IconvConvert(cd, reinterpret_cast<const char *>(wide->data()), units * 2,
                                                  out.data(), out.size()));
        iconv_close(cd);
        state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text->size()));
    });
}

} // namespace

void RegisterUtfBenchmarks() {
    RegisterCase("ascii", AsciiText());
    RegisterCase("latin", LatinText());
    RegisterCase("japanese", JapaneseText());
}
