// The string kinds beside std::string and QString: copies at three sizes, a
// million single-character appends, search in 1 MiB, comparison, and two
// threads copying one shared string.
#include "common/ratios.h"

#include <tarnkit/sstringimpl.h>

#include <benchmark/benchmark.h>

#include <random>
#include <string>

#ifdef TARNKIT_BENCH_WITH_QT
#include <QString>
#endif

using TarnkitA201::SAnsiString;

namespace {

std::string MakeText(size_t size, unsigned seed = 7) {
    std::mt19937 random(seed);
    std::string text(size, 'a');
    for (char &c : text)
        c = static_cast<char>('a' + random() % 26);
    return text;
}

template <class Copy>
void CopyLoop(benchmark::State &state, Copy copy) {
    for (auto _ : state)
        copy();
}

void RegisterCopies(const char *caseName, size_t size) {
    std::string text = MakeText(size);
    benchmark::RegisterBenchmark((std::string(caseName) + "/tarnkit").c_str(), [text](benchmark::State &state) {
        SAnsiString source(text.c_str());
        CopyLoop(state, [&] {
            SAnsiString copy(source);
            benchmark::DoNotOptimize(copy);
        });
    });
    benchmark::RegisterBenchmark((std::string(caseName) + "/std::string").c_str(), [text](benchmark::State &state) {
        std::string source(text);
        CopyLoop(state, [&] {
            std::string copy(source);
            benchmark::DoNotOptimize(copy);
        });
    });
#ifdef TARNKIT_BENCH_WITH_QT
    benchmark::RegisterBenchmark((std::string(caseName) + "/QString").c_str(), [text](benchmark::State &state) {
        QString source = QString::fromLatin1(text.c_str());
        CopyLoop(state, [&] {
            QString copy(source);
            benchmark::DoNotOptimize(copy);
        });
    });
#endif
}

constexpr int kAppends = 1000000;

void Append_tarnkit(benchmark::State &state) {
    for (auto _ : state) {
        SAnsiString s;
        for (int i = 0; i < kAppends; ++i)
            s += SAnsiString::CharType('a' + (i & 15));
        benchmark::DoNotOptimize(s);
    }
}
void Append_std(benchmark::State &state) {
    for (auto _ : state) {
        std::string s;
        for (int i = 0; i < kAppends; ++i)
            s += static_cast<char>('a' + (i & 15));
        benchmark::DoNotOptimize(s);
    }
}
#ifdef TARNKIT_BENCH_WITH_QT
void Append_Qt(benchmark::State &state) {
    for (auto _ : state) {
        QString s;
        for (int i = 0; i < kAppends; ++i)
            s += QChar('a' + (i & 15));
        benchmark::DoNotOptimize(s);
    }
}
#endif

// A needle placed at the very end of 1 MiB of letters.
const std::string &Haystack() {
    static const std::string text = MakeText(1 << 20) + "needle-of-sixteen";
    return text;
}
const char *const kNeedle = "needle-of-sixteen";

void Find_tarnkit(benchmark::State &state) {
    SAnsiString haystack(Haystack().c_str()), needle(kNeedle);
    for (auto _ : state)
        benchmark::DoNotOptimize(haystack.find(needle));
}
void Find_std(benchmark::State &state) {
    std::string haystack(Haystack()), needle(kNeedle);
    for (auto _ : state)
        benchmark::DoNotOptimize(haystack.find(needle));
}
#ifdef TARNKIT_BENCH_WITH_QT
void Find_Qt(benchmark::State &state) {
    QString haystack = QString::fromLatin1(Haystack().c_str()), needle = QString::fromLatin1(kNeedle);
    for (auto _ : state)
        benchmark::DoNotOptimize(haystack.indexOf(needle));
}
#endif

// Two 1 KiB texts that differ only in their last character.
std::string CompareText(char last) {
    std::string text = MakeText(1024);
    text.back() = last;
    return text;
}

void Compare_tarnkit(benchmark::State &state) {
    SAnsiString a(CompareText('x').c_str()), b(CompareText('y').c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(a.compare(b));
}
void CompareBinary_tarnkit(benchmark::State &state) {
    SAnsiString a(CompareText('x').c_str()), b(CompareText('y').c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(a.compareBinary(b));
}
void Compare_std(benchmark::State &state) {
    std::string a(CompareText('x')), b(CompareText('y'));
    for (auto _ : state)
        benchmark::DoNotOptimize(a.compare(b));
}
#ifdef TARNKIT_BENCH_WITH_QT
void Compare_Qt(benchmark::State &state) {
    QString a = QString::fromLatin1(CompareText('x').c_str()), b = QString::fromLatin1(CompareText('y').c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(a.compare(b));
}
#endif

// Two threads copying and dropping the same 1 KiB string.
const SAnsiString g_sharedTarnkit(MakeText(1024).c_str());
const std::string g_sharedStd(MakeText(1024));
void SharedCopy_tarnkit(benchmark::State &state) {
    for (auto _ : state) {
        SAnsiString copy(g_sharedTarnkit);
        benchmark::DoNotOptimize(copy);
    }
}
void SharedCopy_std(benchmark::State &state) {
    for (auto _ : state) {
        std::string copy(g_sharedStd);
        benchmark::DoNotOptimize(copy);
    }
}
#ifdef TARNKIT_BENCH_WITH_QT
const QString g_sharedQt = QString::fromLatin1(MakeText(1024).c_str());
void SharedCopy_Qt(benchmark::State &state) {
    for (auto _ : state) {
        QString copy(g_sharedQt);
        benchmark::DoNotOptimize(copy);
    }
}
#endif

void RegisterAll() {
    RegisterCopies("copy_16B", 16);
    RegisterCopies("copy_1KiB", 1024);
    RegisterCopies("copy_64KiB", 64 * 1024);

    benchmark::RegisterBenchmark("append_1M_chars/tarnkit", Append_tarnkit)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("append_1M_chars/std::string", Append_std)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("find_in_1MiB/tarnkit", Find_tarnkit)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("find_in_1MiB/std::string", Find_std)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("compare_1KiB/tarnkit", Compare_tarnkit);
    benchmark::RegisterBenchmark("compare_binary_1KiB/tarnkit", CompareBinary_tarnkit);
    benchmark::RegisterBenchmark("compare_binary_1KiB/std::string", Compare_std);
    benchmark::RegisterBenchmark("compare_1KiB/std::string", Compare_std);
    benchmark::RegisterBenchmark("shared_copy_2_threads/tarnkit", SharedCopy_tarnkit)->Threads(2)->UseRealTime();
    benchmark::RegisterBenchmark("shared_copy_2_threads/std::string", SharedCopy_std)->Threads(2)->UseRealTime();
#ifdef TARNKIT_BENCH_WITH_QT
    benchmark::RegisterBenchmark("append_1M_chars/QString", Append_Qt)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("find_in_1MiB/QString", Find_Qt)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("compare_1KiB/QString", Compare_Qt);
    benchmark::RegisterBenchmark("shared_copy_2_threads/QString", SharedCopy_Qt)->Threads(2)->UseRealTime();
#endif
}

} // namespace

int main(int argc, char **argv) {
    RegisterAll();
    return TarnkitBench::RunAndPrintRatios(argc, argv);
}
