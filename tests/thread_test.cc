// Concurrent calls: every registered blit runs on several threads at once, each
// thread drawing into its own destination from one shared source and channel plane
// (a private source for the members that write into theirs). Every destination must
// equal what the same calls give on one thread. Run under ThreadSanitizer by the
// tsan preset.
#include <gtest/gtest.h>

#include <cstring>
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

struct Plan {
  std::vector<rkt::BlitCall> calls;  // dst, src and channel pointers filled in per run
};

Plan MakePlan(rkt::Rng &rng, uint32_t key) {
  Plan p;
  for (int i = 0; i < kCalls; ++i) {
    rkt::BlitCall c{};
    c.dstX = static_cast<int32_t>(rng.Range(-8, kW));
    c.dstY = static_cast<int32_t>(rng.Range(-4, kH));
    c.srcX = static_cast<int32_t>(rng.Range(-8, kW));
    c.srcY = static_cast<int32_t>(rng.Range(-4, kH));
    c.width = static_cast<int32_t>(rng.Range(0, kW));
    c.height = static_cast<int32_t>(rng.Range(0, kH));
    c.chX = static_cast<int32_t>(rng.Range(-2, 4));
    c.chY = static_cast<int32_t>(rng.Range(-2, 4));
    c.a = rkt::Param(rng);
    c.b = key;
    p.calls.push_back(c);
  }
  return p;
}

void Replay(const rkt::BlitEntry &e, const Plan &p, Image &dst, Image &src, const Image &chan) {
  for (rkt::BlitCall c : p.calls) {
    c.dst = &dst.rec;
    c.src = &src.rec;
    c.chan = &chan.rec;
    rkt::CallBlit(e, c);
  }
}

TEST(Threads, ConcurrentCallsMatchOneThread) {
  for (const rkt::BlitEntry &e : rkt::BlitEntries()) {
    rkt::Rng rng(rkt::BaseSeed() ^ 0x7EAD);
    const int bpp = e.shape.bpp;
    Image src(kW, kH, bpp, rng), chan(kW + 8, kH + 4, e.shape.chanElem ? e.shape.chanElem : 1, rng);
    uint32_t key = rkt::PlantKey(rng, src.rec, bpp);
    std::vector<Image> dsts;
    std::vector<Plan> plans;
    for (int t = 0; t < kThreads; ++t) {
      dsts.emplace_back(kW, kH, bpp, rng);
      plans.push_back(MakePlan(rng, key));
    }
    // One thread, one destination after another.
    std::vector<Image> want = dsts, wantSrc(kThreads, src);
    for (int t = 0; t < kThreads; ++t) Replay(e, plans[t], want[t], wantSrc[t], chan);
    // All threads at once; a member that writes into its source gets its own copy.
    std::vector<Image> got = dsts, ownSrc(kThreads, src);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back(
          [&, t] { Replay(e, plans[t], got[t], e.shape.writesSrc ? ownSrc[t] : src, chan); });
    }
    for (auto &th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) {
      EXPECT_EQ(got[t].bytes, want[t].bytes) << e.name << " thread " << t;
      if (e.shape.writesSrc) {
        EXPECT_EQ(ownSrc[t].bytes, wantSrc[t].bytes) << e.name;
      }
    }
  }
}

// The scalers: one shared source (a private one for RkZoom24, which stamps its
// source), a destination and a list of rectangles per thread.
using ZoomFn = void(RKPIX_CALL *)(const RkSurface *, const RkRect *, const RkSurface *,
                                  const RkRect *);

TEST(Threads, ConcurrentZoomsMatchOneThread) {
  const struct {
    ZoomFn fn;
    int bpp;
    bool writesSrc;
  } zooms[] = {{&RkZoom16, 2, false}, {&RkZoom24, 3, true}, {&RkZoom32, 4, false}};
  for (const auto &z : zooms) {
    rkt::Rng rng(rkt::BaseSeed() ^ 0x200A);
    Image src(kW, kH, z.bpp, rng);
    std::vector<Image> dsts;
    std::vector<std::vector<std::pair<RkRect, RkRect>>> rects(kThreads);
    for (int t = 0; t < kThreads; ++t) {
      dsts.emplace_back(kW, kH, z.bpp, rng);
      for (int i = 0; i < kCalls; ++i) {
        auto corner = [&](int32_t w, int32_t h) {
          int32_t x = static_cast<int32_t>(rng.Range(-4, w)),
                  y = static_cast<int32_t>(rng.Range(-4, h));
          return RkRect{x, y, x + static_cast<int32_t>(rng.Range(0, w)),
                        y + static_cast<int32_t>(rng.Range(0, h))};
        };
        rects[t].emplace_back(corner(kW, kH), corner(kW, kH));
      }
    }
    auto replay = [&](int t, Image &dst, Image &from) {
      for (auto &[d, s] : rects[t]) z.fn(&dst.rec, &d, &from.rec, &s);
    };
    std::vector<Image> want = dsts, wantSrc(kThreads, src), got = dsts, ownSrc(kThreads, src);
    for (int t = 0; t < kThreads; ++t) replay(t, want[t], wantSrc[t]);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] { replay(t, got[t], z.writesSrc ? ownSrc[t] : src); });
    }
    for (auto &th : threads) th.join();
    for (int t = 0; t < kThreads; ++t) {
      EXPECT_EQ(got[t].bytes, want[t].bytes) << "bpp " << z.bpp << " thread " << t;
    }
  }
}

}  // namespace
