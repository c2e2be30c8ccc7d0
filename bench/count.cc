// Runs the registered benchmarks' calls without timing them, for counting what a call
// executes under an instruction tracer (tools/neon_count.sh runs it under qemu, where
// time means nothing). Each call is bracketed by calls of rkpix_count_mark, so that a
// trace can be cut into single calls.
//   rkpix_count --list                              the names, one a line
//   rkpix_count [--level=L] NAME W H CALLS [--baseline]
// runs NAME's kernel (or its baseline, the memcpy of the same rectangle) CALLS times
// on a W x H picture.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>

#include "harness.h"

namespace rkb {
namespace {
std::map<std::string, Setup> &Setups() {
  static std::map<std::string, Setup> setups;
  return setups;
}
}  // namespace

bool Register(const std::string &name, Setup setup) {
  Setups()[name] = std::move(setup);
  return true;
}

}  // namespace rkb

extern "C" __attribute__((noinline, used)) void rkpix_count_mark() { __asm__ volatile(""); }

int main(int argc, char **argv) {
  if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
    for (const auto &[name, setup] : rkb::Setups()) std::printf("%s\n", name.c_str());
    return 0;
  }
  if (!rkb::TakeLevelArgs(argc, argv)) return 0;
  if (argc < 5) {
    std::fprintf(stderr, "usage: %s [--level=L] NAME W H CALLS [--baseline] | --list\n", argv[0]);
    return 2;
  }
  auto it = rkb::Setups().find(argv[1]);
  if (it == rkb::Setups().end()) {
    std::fprintf(stderr, "no benchmark named %s\n", argv[1]);
    return 2;
  }
  const bool baseline = argc > 5 && std::strcmp(argv[5], "--baseline") == 0;
  rkb::Timed t = it->second(std::atoi(argv[2]), std::atoi(argv[3]));
  for (int i = 0, n = std::atoi(argv[4]); i < n; ++i) {
    rkpix_count_mark();
    (baseline ? t.baseline : t.kernel)();
    rkpix_count_mark();
  }
  return 0;
}
