// Runs the registered benchmarks and then prints, for each case, how the
// library compares with each peer. Benchmarks are named "<case>/<impl>" with
// the library's implementation called "tarnkit"; a ratio above 1 means the
// library is faster than that peer. Run with --benchmark_repetitions=N and
// each side counts its fastest run.
#pragma once

namespace TarnkitBench {

int RunAndPrintRatios(int argc, char **argv);

} // namespace TarnkitBench
