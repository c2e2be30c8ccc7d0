// Runs every registered benchmark. --level=NAME (ref, base, avx2, ...) times that
// level instead of the best one the CPU runs; --list-levels prints the levels this CPU
// runs, best first, and exits.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "module/dispatch.h"

int main(int argc, char **argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--list-levels") == 0) {
      std::printf("levels:");
      auto levels = rk::AvailableLevels();
      for (auto l = levels.rbegin(); l != levels.rend(); ++l) std::printf(" %s", rk::LevelName(*l));
      std::printf("\n");
      return 0;
    }
    if (std::strncmp(argv[i], "--level=", 8) != 0) continue;
    for (rk::Level l : rk::AvailableLevels()) {
      if (std::string(argv[i] + 8) == rk::LevelName(l)) rk::UseLevel(l);
    }
    for (int j = i; j + 1 < argc; ++j) argv[j] = argv[j + 1];
    --argc;
    --i;
  }
  std::printf("rkpix level: %s\n", rk::LevelName(rk::ActiveTable().level));
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
