// Runs the registered setups under Google Benchmark: each kernel call is timed, and
// after it the baseline, once untimed and once timed.
#include <benchmark/benchmark.h>

#include <chrono>
#include <string>

#include "harness.h"

namespace rkb {
namespace {

void RunTimed(benchmark::State &state, const Setup &setup, int32_t w, int32_t h) {
  Timed t = setup(w, h);
  using Clock = std::chrono::steady_clock;
  double kernel = 0, baseline = 0;
  for (auto _ : state) {
    auto t0 = Clock::now();
    t.kernel();
    auto t1 = Clock::now();
    // The baseline is timed in its own steady state: once untimed first, so that what
    // the kernel left in the caches (a destination streamed past them, say) does not
    // slow it and flatter the ratio.
    t.baseline();
    auto t2 = Clock::now();
    t.baseline();
    auto t3 = Clock::now();
    double k = std::chrono::duration<double>(t1 - t0).count();
    kernel += k;
    baseline += std::chrono::duration<double>(t3 - t2).count();
    state.SetIterationTime(k);
  }
  state.counters["Mpix/s"] =
      benchmark::Counter(t.pixels * 1e-6 * static_cast<double>(state.iterations()) / kernel);
  state.counters["x_memcpy"] = benchmark::Counter(kernel / baseline);
}

}  // namespace

bool Register(const std::string &name, Setup setup) {
  for (auto [w, h] : {std::pair{640, 480}, std::pair{1920, 1080}}) {
    std::string full = name + "/" + std::to_string(w) + "x" + std::to_string(h);
    benchmark::RegisterBenchmark(
        full.c_str(), [setup, w = w, h = h](benchmark::State &s) { RunTimed(s, setup, w, h); })
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
  }
  return true;
}

}  // namespace rkb
