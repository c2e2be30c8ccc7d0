// Runs every registered benchmark. --level=NAME (ref, base, avx2, ...) times that
// level instead of the best one the CPU runs; --list-levels prints the levels this CPU
// runs, best first, and exits.
#include <benchmark/benchmark.h>

#include "harness.h"

int main(int argc, char **argv) {
  if (!rkb::TakeLevelArgs(argc, argv)) return 0;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
