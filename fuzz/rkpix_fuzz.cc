// libFuzzer target over every registered export. The input picks the export and the
// page guard, then steers every choice of the differential driver's case generator
// (surfaces, pitches, positions, sizes, levels, keys, channel planes). Each case runs
// every level against the reference walk on buffers that sit against inaccessible
// pages, under AddressSanitizer and UndefinedBehaviorSanitizer: a stray access faults,
// a difference between levels aborts.
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "driver.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const std::vector<rkt::NamedCase> cases = rkt::AllCases();
  if (size < 3 || cases.empty()) return 0;
  rkt::World::LargeSurfaces() = false;
  const rkt::NamedCase &c = cases[(data[0] | data[1] << 8) % cases.size()];
  rkt::World::DefaultGuard() = (data[2] & 1) ? rkt::Bytes::kGuardAfter : rkt::Bytes::kGuardBefore;
  rkt::Rng rng(data + 3, size - 3);
  std::string why = c.run(rng);
  if (!why.empty()) {
    std::fprintf(stderr, "%s: %s\n", c.name.c_str(), why.c_str());
    std::abort();
  }
  return 0;
}
