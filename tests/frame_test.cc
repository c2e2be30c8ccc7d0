// The clipping prologue, the channel rule, owned memory, and the plain copies.
#include <gtest/gtest.h>

#include <tuple>

#include "driver.h"
#include "frame/clip.h"

RKT_BLIT(RkBitBlt16, 2, rkt::Args::kPlain);
RKT_BLIT(RkBitBlt24, 3, rkt::Args::kPlain);
RKT_BLIT(RkBitBlt32, 4, rkt::Args::kPlain);

namespace {

RkSurface Dims(int32_t w, int32_t h) { return RkSurface{0, w, h, w * 4, 0, nullptr}; }
auto Fields(const rk::ClipRect &c) {
  return std::tuple(c.dstX, c.dstY, c.srcX, c.srcY, c.width, c.height, c.leftClip, c.topClip);
}

TEST(Clip, Table) {
  const struct {
    int32_t dw, dh, sw, sh;        // surfaces
    int32_t dx, dy, sx, sy, w, h;  // arguments
    bool draws;
    rk::ClipRect want;  // dst, src, size, left and top clip
  } rows[] = {
      // negative sizes draw nothing
      {20, 20, 20, 20, 0, 0, 0, 0, -5, 3, false, {}},
      {20, 20, 20, 20, 0, 0, 0, 0, 3, -5, false, {}},
      // left and top edges clip both rectangles together
      {20, 20, 20, 20, -3, 0, 0, 0, 10, 1, true, {0, 0, 3, 0, 7, 1, 3, 0}},
      {20, 20, 20, 20, 2, 0, -4, 0, 10, 1, true, {6, 0, 0, 0, 6, 1, 4, 0}},
      {20, 20, 20, 20, 0, -2, 0, 1, 5, 6, true, {0, 0, 0, 3, 5, 4, 0, 2}},
      // both negative: only the smaller position is moved to 0 first
      {20, 20, 20, 20, -5, 0, -3, 0, 10, 1, true, {0, 0, 2, 0, 5, 1, 5, 0}},
      {20, 20, 20, 20, -3, 0, -5, 0, 10, 1, true, {2, 0, 0, 0, 5, 1, 5, 0}},
      // a position equal to the width passes the first test and then draws nothing
      {20, 20, 20, 20, 20, 0, 0, 0, 5, 5, false, {}},
      {20, 20, 20, 20, 0, 0, 0, 20, 5, 5, false, {}},
      // far edges shrink the size to the smaller room
      {10, 8, 30, 30, 0, 0, 0, 0, 100, 100, true, {0, 0, 0, 0, 10, 8, 0, 0}},
      {30, 30, 12, 9, 4, 5, 2, 3, 100, 100, true, {4, 5, 2, 3, 10, 6, 0, 0}},
      // surfaces with no pixels
      {0, 10, 10, 10, 0, 0, 0, 0, 5, 5, false, {}},
      {10, 10, 10, -1, 0, 0, 0, 0, 5, 5, false, {}},
  };
  for (const auto &r : rows) {
    rk::ClipRect c{};
    bool draws =
        rk::ClipBlit(Dims(r.dw, r.dh), r.dx, r.dy, Dims(r.sw, r.sh), r.sx, r.sy, r.w, r.h, &c);
    EXPECT_EQ(draws, r.draws) << r.dx << "," << r.dy << " " << r.sx << "," << r.sy << " " << r.w;
    if (!draws || !r.draws) continue;
    EXPECT_EQ(Fields(c), Fields(r.want)) << r.dx << "," << r.dy;
  }
  // The channel plane holds the clipped rectangle (8 x 5 here) from its position moved
  // with the clip, or nothing is drawn; negative positions are used as they are.
  rk::ClipRect c{};
  ASSERT_TRUE(rk::ClipBlit(Dims(50, 50), -2, -1, Dims(50, 50), 0, 0, 10, 6, &c));
  const struct {
    int32_t w, h, x, y;
    bool ok;
    int32_t outX, outY;
  } planes[] = {{10, 6, 0, 0, true, 2, 1},
                {9, 6, 0, 0, false, 0, 0},
                {10, 5, 0, 0, false, 0, 0},
                {6, 4, -4, -2, true, -2, -1}};
  for (const auto &p : planes) {
    int32_t x = 0, y = 0;
    EXPECT_EQ(rk::ClipChannel(Dims(p.w, p.h), p.x, p.y, c, &x, &y), p.ok) << p.w << "x" << p.h;
    EXPECT_EQ(std::pair(x, y), std::pair(p.outX, p.outY));  // untouched when not drawn
  }
}

TEST(Frame, OwnedBytes) {
  const struct {
    int32_t w, h, pitch;
    int64_t lo, hi;  // of 2-byte elements
  } rows[] = {
      {10, 3, 24, 0, 72},     // padded rows: the last row's padding belongs too
      {10, 3, -20, -40, 20},  // bottom-up
      {10, 3, 8, 0, 36},      // rows overlap: the last row's own pixels end the range
      {10, 3, 0, 0, 20},      // every row in the same place
      {0, 3, 8, 0, 0},        // no pixels, nothing owned
      {10, -1, 8, 0, 0},
  };
  for (auto &r : rows) {
    rk::ByteRange o = rk::OwnedBytes(RkSurface{0, r.w, r.h, r.pitch, 0, nullptr}, 2);
    EXPECT_EQ(o.Empty(), r.hi == r.lo) << r.pitch;
    EXPECT_EQ(std::pair(o.lo, o.hi), std::pair(r.lo, r.hi)) << r.pitch;
  }
}

// The copies move each row from the left in units read whole, then written: 1 byte if
// the row's byte count is odd, 2 if its bit 1 is set, then 4; rows from the top. Seen
// through two records over one buffer, the destination one byte right of the source.
TEST(Copy, UnitsSeenThroughOverlap) {
  // clang-format off
  rkt::CheckPins({
    {"16, width 3: 2, 4", RkBitBlt16, 0, 0, {0xB1B0, 0xB3B2, 0xB5B4, 0xB7B6}, {}, {0xB0B0, 0xB1B1, 0xB4B3, 0xB7B5}, {}, {}, 1, {}, 0, true, -1},
    {"24, width 5: 1, 2, 4, 4, 4", RkBitBlt24, 0, 0, {0xB2B1B0, 0xB5B4B3, 0xB8B7B6, 0xBBBAB9, 0xBEBDBC, 0xC1C0BF}, {},
     {0xB0B0B0, 0xB4B2B2, 0xB6B6B5, 0xBAB9B8, 0xBDBCBA, 0xC1C0BE}, {}, {}, 1, {}, 0, true, -1},
    {"32, width 3: 4, 4, 4", RkBitBlt32, 0, 0, {0xB3B2B1B0, 0xB7B6B5B4, 0xBBBAB9B8, 0xBFBEBDBC}, {},
     {0xB2B1B0B0, 0xB6B5B3B3, 0xBAB9B7B7, 0xBFBEBDBB}, {}, {}, 1, {}, 0, true, -1},
    {"one row down repeats the first row", RkBitBlt32, 0, 0, {1, 2, 3, 4, 5, 6}, {}, {1, 2, 1, 2, 1, 2}, {}, {}, 3, {0, 1, 0, 0, 2, 3}, 0, true},
    {"one pixel right smears the first pixel", RkBitBlt32, 0, 0, {1, 2, 3}, {}, {1, 1, 1}, {}, {}, 1, {1, 0, 0, 0, 3, 1}, 0, true},
  });
  // clang-format on
}

}  // namespace
