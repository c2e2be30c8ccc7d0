// Nearest scaling: the differential driver, the stepping arithmetic, pinned vectors for
// the clip's single-precision and irregular results, and whole rectangles sampled.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "driver.h"
#include "frame/zoom.h"
#include "frame/zoom_clip.h"
#include "module/dispatch.h"
#include "rkpix.h"
#include "toolkit.h"

namespace {

using ZoomFn = void(RKPIX_CALL *)(const RkSurface *, const RkRect *, const RkSurface *,
                                  const RkRect *);

int32_t Near(rkt::Rng &rng, int32_t lo, int32_t hi) {
  static const int32_t kFar[] = {INT_MIN, -(1 << 30), -32768, 32768, 65536, 1 << 30, INT_MAX};
  if (rng.Chance(0.03)) return kFar[rng.Range(0, 6)];
  return static_cast<int32_t>(rng.Range(lo, hi));
}

// A source size for a destination size: the same, half, double, anything, or none.
int32_t SourceSize(rkt::Rng &rng, int32_t d, int32_t room) {
  switch (rng.Range(0, 7)) {
    case 0:
      return d;
    case 1:
      return d / 2;
    case 2:
      return static_cast<int32_t>(static_cast<uint32_t>(d) * 2u);
    case 3:
      return static_cast<int32_t>(rng.Range(-3, 0));
    default:
      return Near(rng, 1, room + 4);
  }
}

template <ZoomFn Fn, int Bpp, bool WritesSrc>
std::string ZoomCase(rkt::Rng &rng) {
  rkt::World w;
  bool big = rng.Chance(0.25);
  int32_t maxW = big ? 130 : 20, maxH = big ? 24 : 8;
  rkt::SurfaceShape ds = rkt::RandomShape(rng, Bpp, maxW, maxH);
  int dbuf = 0;
  RkSurface dst = rkt::NewSurface(w, rng, ds, Bpp, true, &dbuf), src;
  std::string layout = "separate";
  rkt::SurfaceShape ss = rkt::RandomShape(rng, Bpp, maxW, maxH);
  auto [lo, hi] = rkt::Owned(ss, Bpp);
  auto room = static_cast<int64_t>(w.bufs[static_cast<size_t>(dbuf)].bytes.size()) - (hi - lo);
  if (rng.Chance(0.2)) {
    layout = "same surface";
    src = dst;
  } else if (rng.Chance(0.2) && room >= 0) {
    layout = "shared buffer";
    src = rkt::Place(w, dbuf, ss, Bpp, rng.Range(0, room), WritesSrc);
  } else {
    // Larger sources: the limits are the source's size times the factor.
    src = rkt::NewSurface(w, rng, rkt::RandomShape(rng, Bpp, 2 * maxW, 3 * maxH), Bpp, WritesSrc);
  }
  // Mostly rectangles that draw something: positive sizes, starts near the corner.
  auto size = [&](int32_t room) {
    return rng.Chance(0.05) ? Near(rng, -2, 0) : Near(rng, 1, room + 4);
  };
  auto pos = [&](int32_t room) {
    return rng.Chance(0.8) ? Near(rng, -3, room / 2) : Near(rng, -6, room + 2);
  };
  int32_t dW = size(std::max(dst.width, 1)), dH = size(std::max(dst.height, 1));
  int32_t sW = SourceSize(rng, dW, std::max(src.width, 1)),
          sH = SourceSize(rng, dH, std::max(src.height, 1));
  RkRect dr{pos(std::max(dst.width, 0)), pos(std::max(dst.height, 0)), 0, 0};
  RkRect sr{pos(std::max(src.width, 0)), pos(std::max(src.height, 0)), 0, 0};
  dr.right = static_cast<int32_t>(static_cast<uint32_t>(dr.left) + static_cast<uint32_t>(dW));
  dr.bottom = static_cast<int32_t>(static_cast<uint32_t>(dr.top) + static_cast<uint32_t>(dH));
  sr.right = static_cast<int32_t>(static_cast<uint32_t>(sr.left) + static_cast<uint32_t>(sW));
  sr.bottom = static_cast<int32_t>(static_cast<uint32_t>(sr.top) + static_cast<uint32_t>(sH));
  std::string why = rkt::CompareLevels(w, [&] { Fn(&dst, &dr, &src, &sr); });
  if (why.empty()) return why;
  std::ostringstream o;
  for (auto v : {dst.width, dst.height, dst.pitch, src.width, src.height, src.pitch, dr.left,
                 dr.top, dr.right, dr.bottom, sr.left, sr.top, sr.right, sr.bottom})
    o << " " << v;
  return why + "\n  case: " + layout +
         ": dst w h pitch, src w h pitch, dstRect, srcRect:" + o.str();
}

// Halving, from sources twice the size: small rows of any width, or destinations large
// enough for streaming stores (rows of any length and padding, so that the aligned
// lanes start at any pixel, or rows miss whole-pixel alignment; none where large
// surfaces are off).
template <ZoomFn Fn, int Bpp, bool WritesSrc, bool Large>
std::string Halving(rkt::Rng &rng) {
  if (Large && !rkt::World::LargeSurfaces()) return "";
  rkt::World w;
  auto width = static_cast<int32_t>(Large ? rng.Range(500, 1100) : rng.Range(1, 300));
  auto rows = static_cast<int32_t>(
      Large ? rk::kZoomStreamBytes / static_cast<uint64_t>(width * Bpp) + rng.Range(1, 9)
            : rng.Range(1, 4));
  // The source may end one pixel short of its rectangle, on both axes, and does so
  // whenever the buffers end against a guard page: the last sample is then the buffer's
  // last pixel, and with no padding the destination's last row ends page-aligned, so
  // that whole lanes end it. RkZoom32's clip stops a pixel short of such an end itself.
  const bool guarded = w.guard == rkt::Bytes::kGuardAfter;
  const int32_t odd = Bpp != 4 && (guarded || rng.Chance(0.5)) ? 1 : 0;
  auto pad = [&] {
    return static_cast<int32_t>(guarded || rng.Chance(0.4) ? 0 : rng.Range(1, 70));
  };
  auto x = static_cast<int32_t>(rng.Range(0, 3));
  RkSurface dst = rkt::NewSurface(w, rng, {width + x, rows, (width + x) * Bpp + pad()}, Bpp, true);
  const int32_t sw = 2 * width - odd, sh = 2 * rows - odd;
  RkSurface src = rkt::NewSurface(w, rng, {sw, sh, sw * Bpp + pad()}, Bpp, WritesSrc);
  const RkRect dr{x, 0, x + width, rows}, sr{0, 0, 2 * width, 2 * rows};
  rk::ZoomClip c{};
  const auto id = Bpp == 4 ? rk::KernelId::RkZoom32 : rk::KernelId::RkZoom16;
  if (!rk::ZoomClipOf(id, dst, dr, src, sr, &c) || c.stepX != 0x20000 ||
      (Large && static_cast<uint64_t>(c.w * c.h * Bpp) < rk::kZoomStreamBytes)) {
    return "the case does not halve (into a large destination)";
  }
  return rkt::CompareLevels(w, [&] { Fn(&dst, &dr, &src, &sr); });
}

RKT_DIFF(RkZoom16, (&ZoomCase<&RkZoom16, 2, false>), 5000);
RKT_DIFF(HalvingRkZoom16, (&Halving<&RkZoom16, 2, false, false>), 400);
RKT_DIFF(HalvingRkZoom24, (&Halving<&RkZoom24, 3, true, false>), 400);
RKT_DIFF(HalvingRkZoom32, (&Halving<&RkZoom32, 4, false, false>), 400);
RKT_DIFF(LargeHalvingRkZoom16, (&Halving<&RkZoom16, 2, false, true>), 6);
RKT_DIFF(LargeHalvingRkZoom24, (&Halving<&RkZoom24, 3, true, true>), 6);
RKT_DIFF(LargeHalvingRkZoom32, (&Halving<&RkZoom32, 4, false, true>), 6);
RKT_DIFF(RkZoom24, (&ZoomCase<&RkZoom24, 3, true>), 5000);
RKT_DIFF(RkZoom32, (&ZoomCase<&RkZoom32, 4, false>), 5000);

TEST(Zoom, StepTotalsMatchTheStepper) {
  const uint32_t steps[] = {0,          1,          0x7FFF,     0x8000,     0xFFFF,
                            0x10000,    0x18000,    0x20000,    0x2AAAA,    0xFFFE8000,
                            0xFFFF0000, 0xFFFF0001, 0xFFFF8000, 0xFFFFFFFF, 0x7FFFFFFF};
  rkt::Rng rng(rkt::BaseSeed());
  for (int i = 0; i < 40; ++i) {
    uint32_t step = i < 15 ? steps[i] : rng.U32();
    rk::Step16 s;
    uint64_t total = 0;
    for (uint64_t n = 0; n < 3000; ++n) {
      ASSERT_EQ(rk::Step16Total(step, n), total) << "step 0x" << std::hex << step << " n " << n;
      total += s.Next(step);
    }
  }
}

// A surface of `bpp`-byte pixels whose bytes count up from `seed`.
struct Surf {
  std::vector<uint8_t> bytes;
  RkSurface rec{};
  int bpp;
  Surf(int32_t w, int32_t h, int b, uint8_t seed)
      : bytes(size_t(w) * size_t(h) * size_t(b)), bpp(b) {
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(seed + i * 7);
    rec = RkSurface{0, w, h, w * bpp, 0, bytes.data()};
  }
  uint8_t *At(int64_t x, int64_t y) { return bytes.data() + y * rec.pitch + x * bpp; }
};

// Runs a call at every level on copies of dst and src, compared with the wanted ones.
void Check(const char *what, ZoomFn fn, const Surf &dst, const Surf &src, RkRect dr, RkRect sr,
           const Surf &want, const Surf &wantSrc) {
  for (rk::Level level : rk::AvailableLevels()) {
    Surf d = dst, s = src;
    d.rec.pixels = d.bytes.data();
    s.rec.pixels = s.bytes.data();
    rk::Level saved = rk::UseLevel(level);
    fn(&d.rec, &dr, &s.rec, &sr);
    rk::UseLevel(saved);
    ASSERT_EQ(d.bytes, want.bytes) << what << " (level " << rk::LevelName(level) << ")";
    ASSERT_EQ(s.bytes, wantSrc.bytes) << what << " (level " << rk::LevelName(level) << ")";
  }
}

// The pixels a call draws: destination (x0 + x, y0 + y) of the w x h rectangle comes
// from source (sx + (x * stepX >> 16), sy + (y * stepY >> 16)); RkZoom24 writes bytes
// (b0, b1, b0) and stamps b0 over the sampled source pixel's b2.
struct Drawn {
  int32_t w, h, sx, sy;
  uint32_t stepX, stepY;
  int32_t x0 = 0, y0 = 0;
};
void CheckDrawn(const char *what, ZoomFn fn, const Surf &dst, const Surf &src, RkRect dr, RkRect sr,
                const Drawn &e) {
  Surf want = dst, wantSrc = src;
  for (int64_t y = 0; y < e.h; ++y)
    for (int64_t x = 0; x < e.w; ++x) {
      uint8_t *s = wantSrc.At(e.sx + (e.stepX * x >> 16), e.sy + (e.stepY * y >> 16));
      uint8_t *d = want.At(e.x0 + x, e.y0 + y);
      std::memcpy(d, s, static_cast<size_t>(dst.bpp));
      if (dst.bpp == 3) d[2] = s[2] = s[0];
    }
  Check(what, fn, dst, src, dr, sr, want, wantSrc);
}

TEST(Zoom, PinnedVectors) {
  const struct {
    const char *what;
    ZoomFn fn;
    int bpp;
    int32_t dw, dh, sw, sh;  // surfaces
    RkRect dr, sr;
    Drawn drawn;
  } table[] = {
      // clang-format off
      // 10x10 onto 20x20: steps of 32768. The source limits are the source surface's
      // size times 0.5, so a 10x10 source draws only 5x5 ...
      {"2x up, small source", &RkZoom16, 2, 20, 20, 10, 10, {0, 0, 20, 20}, {0, 0, 10, 10}, {5, 5, 0, 0, 0x8000, 0x8000}},
      // ... and a 40x40 one all 20x20, every source pixel and row twice.
      {"2x up", &RkZoom16, 2, 20, 20, 40, 40, {0, 0, 20, 20}, {0, 0, 10, 10}, {20, 20, 0, 0, 0x8000, 0x8000}},
      {"2x down", &RkZoom16, 2, 10, 1, 20, 1, {0, 0, 10, 1}, {0, 0, 20, 1}, {10, 1, 0, 0, 0x20000, 0x10000}},
      // dstRect from x = -4 moves the source start by 4 columns, not by 4 x 0.5 ...
      {"left clip unscaled", &RkZoom16, 2, 16, 1, 40, 1, {-4, 0, 16, 1}, {0, 0, 10, 1}, {16, 1, 4, 0, 0x8000, 0x10000}},
      // ... and from y = -3 by 3 rows.
      {"top clip unscaled", &RkZoom16, 2, 1, 17, 1, 40, {0, -3, 1, 17}, {0, 0, 1, 10}, {1, 17, 0, 3, 0x10000, 0x8000}},
      // srcRect.left = 8 with 2x: the start is 8 x 0.5 = 4 in RkZoom16, 8 x 2 = 16 in
      // RkZoom32 (its factor is dW / sW).
      {"source start scaled", &RkZoom16, 2, 20, 1, 48, 1, {0, 0, 20, 1}, {8, 0, 18, 1}, {20, 1, 4, 0, 0x8000, 0x10000}},
      {"source start scaled, reciprocal", &RkZoom32, 4, 20, 1, 48, 1, {0, 0, 20, 1}, {8, 0, 18, 1}, {20, 1, 16, 0, 0x8000, 0x10000}},
      // Single precision: 3/37 rounds to 0.0810810774f and 37 times that to
      // 2.99999976f, so the source limit is 2 (3 in exact arithmetic) and only two
      // pixels are drawn, both from column 0 (step 5313).
      {"limit in single precision", &RkZoom16, 2, 37, 1, 37, 1, {0, 0, 37, 1}, {0, 0, 3, 1}, {2, 1, 0, 0, 5313, 0x10000}},
      // RkZoom32, 3 onto 7 from column 27: 7/3 rounds to 2.33333325f and 27 times that
      // to 62.9999962f, so sampling starts at column 62 (63 in exact arithmetic):
      // columns 62, 62, 62, 63, 63, 64, 64 (step 28086).
      {"start in single precision", &RkZoom32, 4, 7, 1, 70, 1, {0, 0, 7, 1}, {27, 0, 30, 1}, {7, 1, 62, 0, 28086, 0x10000}},
      // Nothing drawn: an empty or reversed dstRect; a zero source width or height
      // (the limit is 0, or in RkZoom32 the factor would divide by zero).
      {"empty dstRect", &RkZoom16, 2, 8, 8, 8, 8, {2, 2, 2, 6}, {0, 0, 4, 4}, {}},
      {"reversed dstRect", &RkZoom32, 4, 8, 8, 8, 8, {6, 2, 2, 6}, {0, 0, 4, 4}, {}},
      {"zero source width", &RkZoom16, 2, 8, 8, 8, 8, {0, 0, 4, 4}, {3, 0, 3, 4}, {}},
      {"zero source width, reciprocal", &RkZoom32, 4, 8, 8, 8, 8, {0, 0, 4, 4}, {3, 0, 3, 4}, {}},
      {"zero source height, reciprocal", &RkZoom32, 4, 8, 8, 8, 8, {0, 0, 4, 4}, {0, 3, 4, 3}, {}},
      // clang-format on
  };
  for (const auto &p : table) {
    CheckDrawn(p.what, p.fn, Surf(p.dw, p.dh, p.bpp, 0x80), Surf(p.sw, p.sh, p.bpp, 1), p.dr, p.sr,
               p.drawn);
  }
  // A source rectangle with right < left steps by -32768: the logical shift of the
  // fraction moves on by 0xFFFF columns, then by 0 where the sum wraps. The clip:
  // scale 0.5, start 3 x 0.5 = 1.5, limit 35000, so four pixels from column 1:
  // columns 1, 65536, 65536, 131071, the last outside the source, read as 0.
  Surf dst(4, 1, 2, 0x80), src(70000, 1, 2, 1), want = dst;
  for (int x : {0, 1, 2}) std::memcpy(want.At(x, 0), src.At(x == 0 ? 1 : 65536, 0), 2);
  std::memset(want.At(3, 0), 0, 2);
  Check("negative source width", &RkZoom16, dst, src, {0, 0, 4, 1}, {3, 0, 1, 1}, want, src);
}

// Rectangles the clip leaves whole (the source's corner at 0, 0 and at least half the
// destination's size, so that neither the factor nor the limits move them).
TEST(Zoom, NearestSamplingOfWholeRectangles) {
  const std::pair<ZoomFn, int> members[] = {{&RkZoom16, 2}, {&RkZoom24, 3}, {&RkZoom32, 4}};
  for (auto [fn, bpp] : members) {
    for (uint64_t i = 0; i < 150; ++i) {
      rkt::Rng rng(rkt::BaseSeed() * 17 + i);
      auto r = [&](int64_t lo, int64_t hi) { return static_cast<int32_t>(rng.Range(lo, hi)); };
      int32_t dW = r(1, 32), dH = r(1, 12);
      int32_t sW = r((dW + 1) / 2, 2 * dW + 3), sH = r((dH + 1) / 2, 2 * dH + 3);
      int32_t x0 = r(0, 5), y0 = r(0, 3);
      Drawn e{dW, dH, 0, 0, uint32_t(sW * 65536 / dW), uint32_t(sH * 65536 / dH), x0, y0};
      CheckDrawn("whole rectangle", fn, Surf(dW + 5, dH + 3, bpp, 0x80),
                 Surf(2 * (dW + sW) + 2, 2 * (dH + sH) + 2, bpp, 3), {x0, y0, x0 + dW, y0 + dH},
                 {0, 0, sW, sH}, e);
      if (HasFatalFailure()) return;
    }
  }
}

}  // namespace
