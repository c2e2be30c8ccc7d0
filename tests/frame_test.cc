// The clipping prologue, the channel rule, owned memory, and the plain copies.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include "driver.h"
#include "frame/clip.h"
#include "module/dispatch.h"
#include "rkpix.h"
#include "toolkit.h"

RKT_BLIT(RkBitBlt16, 2, rkt::Args::kPlain);
RKT_BLIT(RkBitBlt24, 3, rkt::Args::kPlain);
RKT_BLIT(RkBitBlt32, 4, rkt::Args::kPlain);

namespace {

RkSurface Dims(int32_t w, int32_t h) { return RkSurface{0, w, h, w * 4, 0, nullptr}; }

struct ClipRow {
  int32_t dw, dh, sw, sh;        // surfaces
  int32_t dx, dy, sx, sy, w, h;  // arguments
  bool draws;
  int32_t odx = 0, ody = 0, osx = 0, osy = 0, ow = 0, oh = 0, left = 0, top = 0;  // when it draws
};

TEST(Clip, Table) {
  const ClipRow rows[] = {
      // negative sizes draw nothing
      {20, 20, 20, 20, 0, 0, 0, 0, -5, 3, false},
      {20, 20, 20, 20, 0, 0, 0, 0, 3, -5, false},
      // left edges clip both rectangles together
      {20, 20, 20, 20, -3, 0, 0, 0, 10, 1, true, 0, 0, 3, 0, 7, 1, 3, 0},
      {20, 20, 20, 20, 2, 0, -4, 0, 10, 1, true, 6, 0, 0, 0, 6, 1, 4, 0},
      {20, 20, 20, 20, 0, -2, 0, 1, 5, 6, true, 0, 0, 0, 3, 5, 4, 0, 2},
      // both negative: only the smaller position is moved to 0 first
      {20, 20, 20, 20, -5, 0, -3, 0, 10, 1, true, 0, 0, 2, 0, 5, 1, 5, 0},
      {20, 20, 20, 20, -3, 0, -5, 0, 10, 1, true, 2, 0, 0, 0, 5, 1, 5, 0},
      // a position equal to the width passes the first test and then draws nothing
      {20, 20, 20, 20, 20, 0, 0, 0, 5, 5, false},
      {20, 20, 20, 20, 21, 0, 0, 0, 5, 5, false},
      {20, 20, 20, 20, 0, 0, 0, 20, 5, 5, false},
      // far edges shrink the size to the smaller room
      {10, 8, 30, 30, 0, 0, 0, 0, 100, 100, true, 0, 0, 0, 0, 10, 8, 0, 0},
      {30, 30, 12, 9, 4, 5, 2, 3, 100, 100, true, 4, 5, 2, 3, 10, 6, 0, 0},
      // surfaces with no pixels
      {0, 10, 10, 10, 0, 0, 0, 0, 5, 5, false},
      {10, 10, 10, -1, 0, 0, 0, 0, 5, 5, false},
  };
  for (const ClipRow &r : rows) {
    RkSurface d = Dims(r.dw, r.dh), s = Dims(r.sw, r.sh);
    rk::ClipRect c{};
    bool draws = rk::ClipBlit(d, r.dx, r.dy, s, r.sx, r.sy, r.w, r.h, &c);
    ASSERT_EQ(draws, r.draws) << "args " << r.dx << "," << r.dy << " " << r.sx << "," << r.sy << " "
                              << r.w << "x" << r.h;
    if (!draws) continue;
    EXPECT_EQ(c.dstX, r.odx);
    EXPECT_EQ(c.dstY, r.ody);
    EXPECT_EQ(c.srcX, r.osx);
    EXPECT_EQ(c.srcY, r.osy);
    EXPECT_EQ(c.width, r.ow);
    EXPECT_EQ(c.height, r.oh);
    EXPECT_EQ(c.leftClip, r.left);
    EXPECT_EQ(c.topClip, r.top);
  }
}

// Every combination of extreme arguments: defined arithmetic (the sanitizer build
// checks that), and whatever is drawn is bounded by one surface's own room, so a
// call never walks more than the caller's surfaces hold.
TEST(Clip, ExtremesWrapWithoutUndefinedBehaviour) {
  const int32_t v[] = {INT_MIN, INT_MIN + 1, -65536, -1, 0, 1, 100, INT_MAX - 1, INT_MAX};
  RkSurface d = Dims(100, 100), s = Dims(1000, 1000);
  int drawn = 0;
  for (int32_t a : v)
    for (int32_t b : v)
      for (int32_t w : v)
        for (int32_t h : {int32_t{-1}, int32_t{1}, INT_MAX}) {
          rk::ClipRect c{};
          if (!rk::ClipBlit(d, a, a, s, b, b, w, h, &c)) continue;
          ++drawn;
          auto fits = [](int32_t pos, int32_t size, int32_t room) {
            return pos >= 0 && int64_t{pos} + size <= room;
          };
          EXPECT_GT(c.width, 0);
          EXPECT_GT(c.height, 0);
          EXPECT_TRUE(fits(c.dstX, c.width, d.width) || fits(c.srcX, c.width, s.width));
          EXPECT_TRUE(fits(c.dstY, c.height, d.height) || fits(c.srcY, c.height, s.height));
        }
  EXPECT_GT(drawn, 0);
}

TEST(Clip, ChannelAllOrNothing) {
  RkSurface d = Dims(50, 50), s = Dims(50, 50);
  rk::ClipRect c{};
  ASSERT_TRUE(rk::ClipBlit(d, -2, -1, s, 0, 0, 10, 6, &c));  // 8 x 5 after the clip
  int32_t x = 0, y = 0;
  RkSurface plane = Dims(10, 6);
  // The plane's position moves with the clip: (0, 0) becomes (2, 1), which holds 8 x 5.
  EXPECT_TRUE(rk::ClipChannel(plane, 0, 0, c, &x, &y));
  EXPECT_EQ(x, 2);
  EXPECT_EQ(y, 1);
  plane.width = 9;  // one column short: nothing at all, not a narrower rectangle
  EXPECT_FALSE(rk::ClipChannel(plane, 0, 0, c, &x, &y));
  plane = Dims(10, 5);  // one row short
  EXPECT_FALSE(rk::ClipChannel(plane, 0, 0, c, &x, &y));
  // Negative positions are used as they are.
  plane = Dims(6, 4);
  EXPECT_TRUE(rk::ClipChannel(plane, -4, -2, c, &x, &y));
  EXPECT_EQ(x, -2);
  EXPECT_EQ(y, -1);
}

TEST(Frame, OwnedBytes) {
  struct {
    int32_t w, h, pitch;
    int elem;
    int64_t lo, hi;
  } rows[] = {
      {10, 3, 24, 2, 0, 72},     // padded rows: the last row's padding belongs too
      {10, 3, -20, 2, -40, 20},  // bottom-up
      {10, 3, 8, 2, 0, 36},      // rows overlap: the last row's own pixels end the range
      {10, 3, 0, 2, 0, 20},      // every row in the same place
      {0, 3, 8, 2, 0, 0},        // no pixels, nothing owned
      {10, -1, 8, 2, 0, 0},
  };
  for (auto &r : rows) {
    RkSurface s{0, r.w, r.h, r.pitch, 0, nullptr};
    rk::ByteRange o = rk::OwnedBytes(s, r.elem);
    if (r.hi == r.lo) {
      EXPECT_TRUE(o.Empty());
    } else {
      EXPECT_EQ(o.lo, r.lo);
      EXPECT_EQ(o.hi, r.hi);
    }
  }
}

// The copies against a model that moves bytes one unit at a time, on random
// rectangles over a single buffer viewed through two records (any byte offset, so
// the units' sizes show in the overlap).
using CopyFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                  int32_t, int32_t, int32_t);

void ModelCopy(std::vector<uint8_t> &mem, int64_t dbase, int32_t dpitch, int64_t sbase,
               int32_t spitch, int bpp, int32_t w, int32_t h) {
  for (int32_t y = 0; y < h; ++y) {
    int64_t d = dbase + int64_t{y} * dpitch, s = sbase + int64_t{y} * spitch;
    int64_t bytes = int64_t{w} * bpp, off = 0;
    std::vector<int> units;
    if (bpp == 2 && (w & 1)) units.push_back(2);
    if (bpp == 3 && (bytes & 1)) units.push_back(1);
    if (bpp == 3 && (bytes & 2)) units.push_back(2);
    int64_t lead = 0;
    for (int u : units) lead += u;
    for (int64_t i = 0; i < (bytes - lead) / 4; ++i) units.push_back(4);
    for (int u : units) {
      uint8_t tmp[4];
      std::memcpy(tmp, &mem[static_cast<size_t>(s + off)], static_cast<size_t>(u));
      std::memcpy(&mem[static_cast<size_t>(d + off)], tmp, static_cast<size_t>(u));
      off += u;
    }
  }
}

TEST(Copy, MatchesUnitModelOnOverlappingViews) {
  const struct {
    CopyFn fn;
    int bpp;
  } copies[] = {{&RkBitBlt16, 2}, {&RkBitBlt24, 3}, {&RkBitBlt32, 4}};
  for (const auto &cp : copies) {
    for (uint64_t i = 0; i < 400; ++i) {
      rkt::Rng rng(rkt::BaseSeed() + i * 7 + static_cast<uint64_t>(cp.bpp));
      int32_t w = static_cast<int32_t>(rng.Range(1, 20)), h = static_cast<int32_t>(rng.Range(1, 5));
      int32_t pitch = w * cp.bpp + static_cast<int32_t>(rng.Range(0, 6));
      std::vector<uint8_t> mem(static_cast<size_t>(pitch * (h + 4) + 64));
      rng.Fill(mem.data(), mem.size());
      int64_t sbase = 32, dbase = 32 + rng.Range(-8, 8);
      RkSurface src{0, w, h, pitch, 0, mem.data() + sbase};
      RkSurface dst{0, w, h, pitch, 0, mem.data() + dbase};
      int32_t sx = static_cast<int32_t>(rng.Range(0, w - 1)),
              dx = static_cast<int32_t>(rng.Range(0, w - 1));
      int32_t sy = static_cast<int32_t>(rng.Range(0, h - 1)),
              dy = static_cast<int32_t>(rng.Range(0, h - 1));
      int32_t cw = std::min(w - sx, w - dx), ch = std::min(h - sy, h - dy);
      std::vector<uint8_t> want = mem;
      ModelCopy(want, dbase + int64_t{dy} * pitch + dx * cp.bpp, pitch,
                sbase + int64_t{sy} * pitch + sx * cp.bpp, pitch, cp.bpp, cw, ch);
      for (rk::Level level : rk::AvailableLevels()) {
        std::vector<uint8_t> got = mem;
        src.pixels = got.data() + sbase;
        dst.pixels = got.data() + dbase;
        rk::Level saved = rk::UseLevel(level);
        cp.fn(&dst, dx, dy, &src, sx, sy, 100, 100);
        rk::UseLevel(saved);
        ASSERT_EQ(got, want) << "bpp " << cp.bpp << " case " << i << " level "
                             << rk::LevelName(level);
      }
    }
  }
}

// The overlap results callers rely on.
TEST(Copy, SameSurfaceOverlap) {
  const int32_t w = 5, h = 4;
  std::vector<uint32_t> px(w * h);
  for (size_t i = 0; i < px.size(); ++i) px[i] = 0x01010101u * static_cast<uint32_t>(i + 1);
  RkSurface s{0, w, h, w * 4, 0, px.data()};
  // One row down repeats the first row over the whole rectangle.
  std::vector<uint32_t> down = px;
  s.pixels = down.data();
  RkBitBlt32(&s, 0, 1, &s, 0, 0, w, h);
  for (int32_t y = 1; y < h; ++y)
    for (int32_t x = 0; x < w; ++x) EXPECT_EQ(down[y * w + x], px[x]);
  // One row up moves the picture up.
  std::vector<uint32_t> up = px;
  s.pixels = up.data();
  RkBitBlt32(&s, 0, 0, &s, 0, 1, w, h);
  for (int32_t y = 0; y < h - 1; ++y)
    for (int32_t x = 0; x < w; ++x) EXPECT_EQ(up[y * w + x], px[(y + 1) * w + x]);
  // One pixel right smears the row's first pixel.
  std::vector<uint32_t> right = px;
  s.pixels = right.data();
  RkBitBlt32(&s, 1, 0, &s, 0, 0, w, 1);
  for (int32_t x = 0; x < w; ++x) EXPECT_EQ(right[x], px[0]);
}

TEST(Copy, CarriesEveryBitAndLeavesPaddingAlone) {
  uint16_t src[6] = {0x8001, 0xFFFF, 0x7FFF, 0x8000, 0x1234, 0xFFFE};
  uint16_t dst[8] = {0, 0, 0, 0, 0, 0, 0xAAAA, 0xAAAA};
  RkSurface s{0, 3, 2, 6, 0, src}, d{0, 3, 2, 8, 0, dst};  // dst rows padded by one pixel
  RkBitBlt16(&d, 0, 0, &s, 0, 0, 3, 2);
  const uint16_t want[8] = {0x8001, 0xFFFF, 0x7FFF, 0, 0x8000, 0x1234, 0xFFFE, 0xAAAA};
  EXPECT_EQ(0, std::memcmp(dst, want, sizeof want));
}

}  // namespace
