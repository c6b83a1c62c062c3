// Numbers to text and back beside std::to_chars/std::from_chars and {fmt}:
// the bare conversion into a buffer, the conversion into an owned string, and
// the reverse, for 32- and 64-bit integers and for doubles. Inputs are 1024
// values of mixed length, one per iteration.
#include "common/ratios.h"

#include <tarnkit/neutralstring.h>
#include <tarnkit/sstringconv.h>

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

using namespace TarnkitA201;

namespace {

constexpr size_t kValues = 1024;

// Values whose bit length is uniform, so short and long texts both occur.
template <class T>
std::vector<T> MixedIntegers(unsigned seed) {
    std::mt19937_64 random(seed);
    std::vector<T> values(kValues);
    constexpr int bits = sizeof(T) * 8 - 1;
    for (T &v : values) {
        int length = 1 + static_cast<int>(random() % bits);
        __uint64 magnitude = random() & ((length >= 64 ? 0 : (1ull << length)) - 1);
        v = static_cast<T>(magnitude);
        if (random() % 4 == 0)
            v = static_cast<T>(-v);
    }
    return values;
}

std::vector<double> MixedDoubles(unsigned seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> mantissa(1.0, 10.0);
    std::vector<double> values(kValues);
    for (double &v : values)
        v = mantissa(random) * std::pow(10.0, static_cast<int>(random() % 24) - 8);
    return values;
}

template <class T>
std::vector<std::string> TextsOf(const std::vector<T> &values) {
    std::vector<std::string> texts;
    for (T v : values) {
        char buffer[64];
        texts.emplace_back(buffer, std::to_chars(buffer, buffer + sizeof(buffer), v).ptr);
    }
    return texts;
}

std::vector<std::string> NeutralTextsOf(const std::vector<double> &values) {
    std::vector<std::string> texts;
    for (double v : values)
        texts.emplace_back(NeutralString::FromNumber(v).getString());
    return texts;
}

std::vector<SAnsiString> AsAnsi(const std::vector<std::string> &texts) {
    std::vector<SAnsiString> out;
    for (const std::string &t : texts)
        out.emplace_back(t.c_str());
    return out;
}

template <class Values, class Op>
void Over(benchmark::State &state, const Values &values, Op op) {
    size_t i = 0;
    for (auto _ : state) {
        op(values[i]);
        i = (i + 1) & (kValues - 1);
    }
}

template <class T>
void RegisterIntegerCases(const char *width) {
    static const std::vector<T> values = MixedIntegers<T>(sizeof(T));
    static const std::vector<std::string> texts = TextsOf(values);
    static const std::vector<SAnsiString> ansiTexts = AsAnsi(texts);
    std::string name(width);
    auto reg = [](const std::string &caseName, const char *impl, auto fn) {
        benchmark::RegisterBenchmark((caseName + "/" + impl).c_str(), fn);
    };

    reg(name + "_to_text", "tarnkit", [](benchmark::State &s) {
        Over(s, values, [](T v) {
            char buffer[g_integerTextSize];
            benchmark::DoNotOptimize(StringConvFromInteger(buffer, v, 10));
            benchmark::DoNotOptimize(buffer);
        });
    });
    reg(name + "_to_text", "std::to_chars", [](benchmark::State &s) {
        Over(s, values, [](T v) {
            char buffer[g_integerTextSize];
            benchmark::DoNotOptimize(std::to_chars(buffer, buffer + sizeof(buffer), v).ptr);
            benchmark::DoNotOptimize(buffer);
        });
    });
    reg(name + "_to_text", "fmt::format_int", [](benchmark::State &s) {
        Over(s, values, [](T v) {
            fmt::format_int text(v);
            benchmark::DoNotOptimize(text.data());
        });
    });

    reg(name + "_to_string", "tarnkit", [](benchmark::State &s) {
        Over(s, values, [](T v) { benchmark::DoNotOptimize(SAnsiStringConv::ToString(v)); });
    });
    reg(name + "_neutral_to_string", "tarnkit", [](benchmark::State &s) {
        Over(s, values, [](T v) { benchmark::DoNotOptimize(NeutralString::FromNumber(v)); });
    });
    for (const char *caseName : {"_to_string", "_neutral_to_string"}) {
        reg(name + caseName, "std::to_chars", [](benchmark::State &s) {
            Over(s, values, [](T v) {
                char buffer[g_integerTextSize];
                std::string text(buffer, std::to_chars(buffer, buffer + sizeof(buffer), v).ptr);
                benchmark::DoNotOptimize(text);
            });
        });
        reg(name + caseName, "fmt::format",
            [](benchmark::State &s) { Over(s, values, [](T v) { benchmark::DoNotOptimize(fmt::format("{}", v)); }); });
    }

    reg("text_to_" + name, "tarnkit", [](benchmark::State &s) {
        Over(s, ansiTexts, [](const SAnsiString &text) {
            T v = 0;
            benchmark::DoNotOptimize(SAnsiStringConv::FromString(text, v));
            benchmark::DoNotOptimize(v);
        });
    });
    reg("text_to_" + name + "_neutral", "tarnkit", [](benchmark::State &s) {
        Over(s, ansiTexts, [](const SAnsiString &text) {
            T v = 0;
            benchmark::DoNotOptimize(NeutralString::ToNumber(text, v));
            benchmark::DoNotOptimize(v);
        });
    });
    for (std::string caseName : {"text_to_" + name, "text_to_" + name + "_neutral"}) {
        reg(caseName, "std::from_chars", [](benchmark::State &s) {
            Over(s, ansiTexts, [](const SAnsiString &text) {
                T v = 0;
                const char *p = text.getString();
                benchmark::DoNotOptimize(std::from_chars(p, p + text.getLength(), v).ptr);
                benchmark::DoNotOptimize(v);
            });
        });
    }
}

void RegisterDoubleCases() {
    static const std::vector<double> values = MixedDoubles(3);
    static const std::vector<SAnsiString> texts = AsAnsi(NeutralTextsOf(values));

    benchmark::RegisterBenchmark("double_to_text/tarnkit", [](benchmark::State &s) {
        Over(s, values, [](double v) {
            char buffer[NeutralString::NumberBufferSize];
            benchmark::DoNotOptimize(NeutralString::FromNumber(buffer, v));
            benchmark::DoNotOptimize(buffer);
        });
    });
    benchmark::RegisterBenchmark("double_to_text/std::to_chars", [](benchmark::State &s) {
        Over(s, values, [](double v) {
            char buffer[NeutralString::NumberBufferSize];
            benchmark::DoNotOptimize(std::to_chars(buffer, buffer + sizeof(buffer), v).ptr);
            benchmark::DoNotOptimize(buffer);
        });
    });
    benchmark::RegisterBenchmark("double_to_text/fmt::format_to", [](benchmark::State &s) {
        Over(s, values, [](double v) {
            char buffer[NeutralString::NumberBufferSize];
            benchmark::DoNotOptimize(fmt::format_to(buffer, "{}", v));
            benchmark::DoNotOptimize(buffer);
        });
    });
    benchmark::RegisterBenchmark("double_to_string/tarnkit", [](benchmark::State &s) {
        Over(s, values, [](double v) { benchmark::DoNotOptimize(NeutralString::FromNumber(v)); });
    });
    benchmark::RegisterBenchmark("double_to_string/fmt::format", [](benchmark::State &s) {
        Over(s, values, [](double v) { benchmark::DoNotOptimize(fmt::format("{}", v)); });
    });
    benchmark::RegisterBenchmark("double_fixed2_to_string/tarnkit", [](benchmark::State &s) {
        Over(s, values, [](double v) { benchmark::DoNotOptimize(NeutralString::FromNumber(v, 2)); });
    });
    benchmark::RegisterBenchmark("double_fixed2_to_string/fmt::format", [](benchmark::State &s) {
        Over(s, values, [](double v) { benchmark::DoNotOptimize(fmt::format("{:.2f}", v)); });
    });
    benchmark::RegisterBenchmark("text_to_double/tarnkit", [](benchmark::State &s) {
        Over(s, texts, [](const SAnsiString &text) {
            double v = 0;
            benchmark::DoNotOptimize(NeutralString::ToNumber(text, v));
            benchmark::DoNotOptimize(v);
        });
    });
    benchmark::RegisterBenchmark("text_to_double/std::from_chars", [](benchmark::State &s) {
        Over(s, texts, [](const SAnsiString &text) {
            double v = 0;
            const char *p = text.getString();
            benchmark::DoNotOptimize(std::from_chars(p, p + text.getLength(), v).ptr);
            benchmark::DoNotOptimize(v);
        });
    });
    benchmark::RegisterBenchmark("text_to_double/strtod", [](benchmark::State &s) {
        Over(s, texts,
             [](const SAnsiString &text) { benchmark::DoNotOptimize(std::strtod(text.getString(), nullptr)); });
    });
}

} // namespace

// UTF-8 and UTF-16 conversions, in utf_bench.cpp.
void RegisterUtfBenchmarks();

int main(int argc, char **argv) {
    RegisterUtfBenchmarks();
    RegisterIntegerCases<int>("int32");
    RegisterIntegerCases<__int64>("int64");
    RegisterDoubleCases();
    return TarnkitBench::RunAndPrintRatios(argc, argv);
}
