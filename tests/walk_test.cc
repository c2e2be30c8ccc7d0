// The shared row walk: the owned-memory guard and the choice between the fast
// kernel and the reference walk, driven by a small kernel that writes one pixel
// right of its rectangle and reads one pixel left of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "formats/pixel.h"
#include "frame/walk.h"
#include "rkpix.h"

namespace {

// Each row: pixel x of dst becomes src pixel x - 1 (0 left of the rectangle when
// that is outside the source's memory) and dst column w is stamped 0xEEEE.
struct NeighbourKernel : rk::BlitKernel<2> {
  // Borrows an export's slot; FastOk keeps that export's fast kernel out of it.
  static constexpr rk::KernelId kId = rk::KernelId::RkTrans16;
  static bool FastOk(uint32_t, uint32_t) { return false; }
  static rk::Extent DstBytes(int32_t w, int32_t) { return {0, int64_t{w} * 2 + 2}; }
  static rk::Extent SrcBytes(int32_t w, int32_t) { return {-2, int64_t{w} * 2 - 2}; }
  template <class M>
  static void Ref(const rk::Row<M> &r) {
    for (int32_t x = r.w - 1; x >= 0; --x) r.dm.St16(r.d + 2 * x, r.sm.Ld16(r.s + 2 * x - 2));
    r.dm.St16(r.d + 2 * r.w, 0xEEEE);
  }
};

struct Frame {
  std::vector<uint16_t> mem;
  RkSurface s{};
  Frame(int32_t w, int32_t h, int32_t pitchPixels, size_t slack)
      : mem(size_t(pitchPixels) * h + slack) {
    for (size_t i = 0; i < mem.size(); ++i) mem[i] = static_cast<uint16_t>(0x1000 + i);
    s = RkSurface{0, w, h, pitchPixels * 2, 0, mem.data()};
  }
};

void Blit(Frame &dst, int32_t dx, int32_t dy, Frame &src, int32_t sx, int32_t sy, int32_t w,
          int32_t h) {
  rk::RunBlit<NeighbourKernel>({&dst.s, dx, dy, &src.s, sx, sy, w, h});
}

TEST(Walk, OwnedNeighboursAreWrittenExactly) {
  // Rows padded by one pixel: the column right of the rectangle is padding the
  // surface owns (the last row's padding included), so every row stamps it.
  Frame dst(4, 2, 5, 8), src(5, 2, 5, 0);
  Blit(dst, 0, 0, src, 1, 0, 4, 2);
  EXPECT_EQ(dst.mem[4], 0xEEEE);
  EXPECT_EQ(dst.mem[9], 0xEEEE);
  EXPECT_EQ(dst.mem[0], src.mem[0]);  // source column 0, left of the rectangle, still owned
  EXPECT_EQ(dst.mem[8], src.mem[8]);
  EXPECT_EQ(dst.mem[10], 0x100A);  // beyond the surface: untouched
}

TEST(Walk, AccessesOutsideTheSurfaceAreDroppedOrReadAsZero) {
  // No padding: the stamp right of row 0 lands on row 1's first pixel (owned), the
  // stamp right of the last row is outside the surface and dropped; the read left of
  // source column 0 is outside the source and reads 0.
  Frame dst(4, 2, 4, 4), src(4, 2, 4, 4);
  Blit(dst, 0, 0, src, 0, 0, 4, 2);
  EXPECT_EQ(dst.mem[0], 0x0000);  // read left of the source: 0
  EXPECT_EQ(dst.mem[1], src.mem[0]);
  EXPECT_EQ(dst.mem[4], src.mem[3]);  // row 1 col 0: row 1's source left neighbour
  EXPECT_EQ(dst.mem[8], 0x1008);      // right of the last row: dropped
  EXPECT_EQ(dst.mem[5], src.mem[4]);
}

TEST(Walk, BottomUpSurfacesOwnTheRowsAbovePixels) {
  // pitch -4 pixels: row 1 lies before row 0 in memory.
  Frame dst(4, 2, 4, 0), src(4, 2, 4, 0);
  dst.s.pitch = -8;
  dst.s.pixels = dst.mem.data() + 4;
  src.s.pitch = -8;
  src.s.pixels = src.mem.data() + 4;
  Blit(dst, 1, 0, src, 1, 0, 3, 2);
  // row 0 is mem[4..7]: pixels 1..3 get source pixels 0..2 of row 0
  EXPECT_EQ(dst.mem[5], src.mem[4]);
  EXPECT_EQ(dst.mem[7], src.mem[6]);
  // row 1 is mem[0..3]; its stamp right of the rectangle lands on row 0's first pixel
  EXPECT_EQ(dst.mem[1], src.mem[0]);
  EXPECT_EQ(dst.mem[4], 0xEEEE);
}

// Rectangles as wide as tight rows go to the copy's fast kernel as one long row; any
// padding, a pitch the other surface does not share, or a narrower rectangle must
// keep rows apart. Every case is checked against a byte model of the copy.
TEST(Walk, JoinedRowsCopyExactlyTheRectangle) {
  using Fn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                int32_t, int32_t, int32_t);
  const struct {
    Fn fn;
    int bpp;
  } copies[] = {{&RkBitBlt16, 2}, {&RkBitBlt24, 3}, {&RkBitBlt32, 4}};
  // width, height, extra bytes a destination row, extra bytes a source row, dstX, rectangle width
  const int32_t cases[][6] = {{7, 5, 0, 0, 0, 7},   {7, 5, 0, 4, 0, 7},  {7, 5, 4, 0, 0, 7},
                              {7, 5, 0, 0, 1, 7},   {7, 5, 0, 0, 0, 6},  {1, 9, 0, 0, 0, 1},
                              {33, 1, 0, 0, 0, 33}, {5, 3, 0, 0, -1, 9}, {4100, 70, 0, 0, 0, 4100}};
  for (const auto &c : copies) {
    for (const auto &k : cases) {
      const int32_t w = k[0], h = k[1], dPitch = w * c.bpp + k[2], sPitch = w * c.bpp + k[3];
      std::vector<uint8_t> d(size_t(dPitch) * h), s(size_t(sPitch) * h);
      for (size_t i = 0; i < d.size(); ++i) d[i] = static_cast<uint8_t>(i * 7 + 1);
      for (size_t i = 0; i < s.size(); ++i) s[i] = static_cast<uint8_t>(i * 13 + 5);
      std::vector<uint8_t> want = d;
      for (int32_t y = 0; y < h; ++y) {
        for (int32_t x = std::max(k[4], 0); x < std::min({k[4] + k[5], w, w + k[4]}); ++x) {
          for (int b = 0; b < c.bpp; ++b) {
            want[size_t(y) * dPitch + size_t(x) * c.bpp + b] =
                s[size_t(y) * sPitch + size_t(x - k[4]) * c.bpp + b];
          }
        }
      }
      RkSurface ds{0, w, h, dPitch, 0, d.data()}, ss{0, w, h, sPitch, 0, s.data()};
      c.fn(&ds, k[4], 0, &ss, 0, 0, k[5], h);
      EXPECT_EQ(d, want) << c.bpp << " bytes a pixel, case " << (&k - cases);
    }
  }
}

}  // namespace
