#include "common/ratios.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace TarnkitBench {

namespace {

// A time in nanoseconds, in the unit that keeps it readable.
std::string Readable(double ns) {
    char text[32];
    if (ns >= 1e6)
        std::snprintf(text, sizeof text, "%.2f ms", ns / 1e6);
    else if (ns >= 1e3)
        std::snprintf(text, sizeof text, "%.2f us", ns / 1e3);
    else
        std::snprintf(text, sizeof text, "%.1f ns", ns);
    return text;
}

struct Timing {
    std::string caseName;
    std::string impl;
    double nsPerIteration;
};

// Keeps the console output and remembers each run's time per iteration.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run> &runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run &run : runs) {
            if (run.error_occurred || run.run_type != Run::RT_Iteration)
                continue;
            std::string name = run.benchmark_name();
            // "<case>/<impl>" possibly followed by "/real_time" or "/threads:N".
            std::vector<std::string> parts;
            size_t start = 0;
            for (size_t slash; (slash = name.find('/', start)) != std::string::npos; start = slash + 1)
                parts.push_back(name.substr(start, slash - start));
            parts.push_back(name.substr(start));
            if (parts.size() < 2)
                continue;
            std::string suffix;
            for (size_t i = 2; i < parts.size(); ++i)
                suffix += "/" + parts[i];
            double ns = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
            m_timings.push_back({parts[0] + suffix, parts[1], ns});
        }
    }

    void PrintRatios() const {
        std::map<std::string, std::map<std::string, double>> byCase;
        std::vector<std::string> order;
        for (const Timing &t : m_timings) {
            if (byCase.find(t.caseName) == byCase.end())
                order.push_back(t.caseName);
            // Of repeated runs the fastest counts: on a shared machine the
            // slower ones measure the neighbours.
            auto [slot, fresh] = byCase[t.caseName].try_emplace(t.impl, t.nsPerIteration);
            if (!fresh && t.nsPerIteration < slot->second)
                slot->second = t.nsPerIteration;
        }
        std::printf("\nRatios (peer time / tarnkit time; above 1 means tarnkit is faster)\n");
        std::printf("%-44s %-12s %12s %12s %8s\n", "case", "peer", "tarnkit", "peer", "ratio");
        for (const std::string &name : order) {
            const auto &impls = byCase[name];
            auto ours = impls.find("tarnkit");
            if (ours == impls.end())
                continue;
            for (const auto &[impl, ns] : impls) {
                if (impl == "tarnkit")
                    continue;
                std::printf("%-44s %-12s %12s %12s %8.2f\n", name.c_str(), impl.c_str(), Readable(ours->second).c_str(),
                            Readable(ns).c_str(), ns / ours->second);
            }
        }
    }

private:
    std::vector<Timing> m_timings;
};

} // namespace

int RunAndPrintRatios(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios();
    benchmark::Shutdown();
    return 0;
}

} // namespace TarnkitBench
