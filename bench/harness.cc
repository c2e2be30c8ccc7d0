#include "harness.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <random>
#include <vector>

#include "rkpix.h"

namespace rkb {

Block::Block(size_t n, size_t at, std::mt19937 *rng) : mem_(n + at + 4096), n_(n) {
  const auto addr = reinterpret_cast<uintptr_t>(mem_.data());
  p_ = mem_.data() + ((4096 - addr % 4096) % 4096 + at % 4096);
  if (rng != nullptr) {
    for (size_t i = 0; i < n; ++i) p_[i] = static_cast<uint8_t>((*rng)());
  }
}

namespace {

struct Surface {
  Block bytes;
  RkSurface rec{};
  Surface(int32_t w, int32_t h, int elem, size_t at, std::mt19937 &rng)
      : bytes(size_t(w) * h * elem + 64, at, &rng) {
    rec.width = w;
    rec.height = h;
    rec.pitch = w * elem;
    rec.pixels = bytes.data();
  }
};

struct BlitSetup {
  Surface dst, src, chan, copySrc;
};

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

bool RegisterBlit(const char *name, void (*fn)(), int bpp, Args args, uint32_t a, int chanElem) {
  return Register(name, [=](int32_t w, int32_t h) {
    std::mt19937 rng(1234);
    auto s = std::make_shared<BlitSetup>(BlitSetup{
        Surface(w, h, bpp, kDstAt, rng), Surface(w, h, bpp, kSrcAt, rng),
        Surface(w, h, chanElem ? chanElem : 1, kChanAt, rng), Surface(w, h, bpp, kCopyAt, rng)});
    // A quarter of the source pixels carry the key, in runs as sprites have them.
    uint32_t key = 0x00FF00FFu & (bpp == 2 ? 0xFFFFu : 0xFFFFFFu);
    if (args == Args::kKey || args == Args::kAKey || args == Args::kChannelKey) {
      uint8_t *p = s->src.bytes.data();
      for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
          if ((x / 16 + y / 16) % 4 == 0)
            std::memcpy(p + (size_t(y) * w + x) * bpp, &key,
                        static_cast<size_t>(bpp == 4 ? 3 : bpp));
    }
    Timed t;
    rkt::BlitCall c{&s->dst.rec, 0, 0, &s->src.rec, 0, 0, w, h, &s->chan.rec, 0, 0, a, key};
    t.kernel = [=] { rkt::CallBlit(fn, args, c); };
    // The baseline: memcpy of the destination rectangle, row by row.
    t.baseline = [s, w, h, bpp] {
      for (int32_t y = 0; y < h; ++y) {
        std::memcpy(s->dst.bytes.data() + size_t(y) * s->dst.rec.pitch,
                    s->copySrc.bytes.data() + size_t(y) * w * bpp, size_t(w) * bpp);
      }
      benchmark::ClobberMemory();
    };
    t.pixels = double(w) * h;
    t.keep = s;
    return t;
  });
}

}  // namespace rkb
