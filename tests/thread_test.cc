// Concurrent calls: every registered blit and every scaler runs on several threads at
// once, each thread drawing into its own destination from one shared source and
// channel plane (a private source for the members that write into theirs). Every
// destination must equal what the same calls give on one thread. Run under
// ThreadSanitizer by the tsan preset.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "driver.h"

namespace {

constexpr int kThreads = 4, kCalls = 24;
constexpr int32_t kW = 80, kH = 20;

struct Image {
  std::vector<uint8_t> bytes;
  RkSurface rec{};
  Image(int32_t w, int32_t h, int elem, rkt::Rng &rng)
      : bytes(static_cast<size_t>((w * elem + 8) * h)) {
    rng.Fill(bytes.data(), bytes.size());
    rec = RkSurface{0, w, h, w * elem + 8, 0, bytes.data()};
  }
  Image(const Image &o) : bytes(o.bytes), rec(o.rec) { rec.pixels = bytes.data(); }
};

// replay(t, dst, src) makes thread t's calls. Runs the threads one after another, then
// all at once, and compares.
template <class Replay>
void Concurrently(const std::string &name, rkt::Rng &rng, int bpp, Image &src, bool writesSrc,
                  Replay replay) {
  std::vector<Image> dsts;
  for (int t = 0; t < kThreads; ++t) dsts.emplace_back(kW, kH, bpp, rng);
  std::vector<Image> want = dsts, wantSrc(kThreads, src), got = dsts, ownSrc(kThreads, src);
  for (int t = 0; t < kThreads; ++t) replay(t, want[t], wantSrc[t]);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] { replay(t, got[t], writesSrc ? ownSrc[t] : src); });
  }
  for (auto &th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(got[t].bytes, want[t].bytes) << name << " thread " << t;
    EXPECT_TRUE(!writesSrc || ownSrc[t].bytes == wantSrc[t].bytes) << name << " source " << t;
  }
}

TEST(Threads, ConcurrentCallsMatchOneThread) {
  for (const rkt::BlitEntry &e : rkt::BlitEntries()) {
    rkt::Rng rng(rkt::BaseSeed() ^ 0x7EAD);
    const int bpp = e.shape.bpp;
    Image src(kW, kH, bpp, rng), chan(kW + 8, kH + 4, std::max(e.shape.chanElem, 1), rng);
    uint32_t key = rkt::PlantKey(rng, src.rec, bpp);
    std::vector<std::vector<rkt::BlitCall>> plans(kThreads);
    for (auto &plan : plans) {
      for (int i = 0; i < kCalls; ++i) {
        auto at = [&](int32_t lo, int32_t hi) { return static_cast<int32_t>(rng.Range(lo, hi)); };
        plan.push_back(rkt::BlitCall{&src.rec, at(-8, kW), at(-4, kH), &src.rec, at(-8, kW),
                                     at(-4, kH), at(0, kW), at(0, kH), &chan.rec, at(-2, 4),
                                     at(-2, 4), rkt::Param(rng), key});
      }
    }
    Concurrently(e.name, rng, bpp, src, e.shape.writesSrc, [&](int t, Image &dst, Image &from) {
      for (rkt::BlitCall c : plans[t]) {
        c.dst = &dst.rec;
        c.src = &from.rec;
        rkt::CallBlit(e, c);
      }
    });
  }
}

// The scalers: RkZoom24 stamps its source.
TEST(Threads, ConcurrentZoomsMatchOneThread) {
  using ZoomFn =
      void(RKPIX_CALL *)(const RkSurface *, const RkRect *, const RkSurface *, const RkRect *);
  const struct {
    ZoomFn fn;
    int bpp;
    bool writesSrc;
  } zooms[] = {{&RkZoom16, 2, false}, {&RkZoom24, 3, true}, {&RkZoom32, 4, false}};
  for (const auto &z : zooms) {
    rkt::Rng rng(rkt::BaseSeed() ^ 0x200A);
    Image src(kW, kH, z.bpp, rng);
    std::vector<std::vector<RkRect>> rects(kThreads);
    for (auto &list : rects) {
      for (int i = 0; i < 2 * kCalls; ++i) {
        auto x = static_cast<int32_t>(rng.Range(-4, kW)),
             y = static_cast<int32_t>(rng.Range(-4, kH));
        list.push_back(RkRect{x, y, x + static_cast<int32_t>(rng.Range(0, kW)),
                              y + static_cast<int32_t>(rng.Range(0, kH))});
      }
    }
    Concurrently("zoom", rng, z.bpp, src, z.writesSrc, [&](int t, Image &dst, Image &from) {
      for (int i = 0; i < kCalls; ++i)
        z.fn(&dst.rec, &rects[t][2 * i], &from.rec, &rects[t][2 * i + 1]);
    });
  }
}

}  // namespace
