// Colour-keyed copies: the differential driver, a property against a per-pixel
// select on separate surfaces, and pinned vectors for the key and for overlap.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "driver.h"
#include "rkpix.h"
#include "toolkit.h"

RKT_BLIT(RkMaskBitBlt24, 3, rkt::Args::kKey);
RKT_BLIT(RkMaskBitBlt32, 4, rkt::Args::kKey);

namespace {

using MaskFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                  int32_t, int32_t, int32_t, uint32_t);

// 32-bit pixels of one row, as words.
std::vector<uint32_t> Mask32(std::vector<uint32_t> dst, const std::vector<uint32_t> &src,
                             uint32_t key) {
  RkSurface d{
      0, static_cast<int32_t>(dst.size()), 1, static_cast<int32_t>(dst.size() * 4), 0, dst.data()};
  RkSurface s{0, static_cast<int32_t>(src.size()),  1, static_cast<int32_t>(src.size() * 4),
              0, const_cast<uint32_t *>(src.data())};
  RkMaskBitBlt32(&d, 0, 0, &s, 0, 0, d.width, 1, key);
  return dst;
}

TEST(MaskCopy, KeyComparesColourBytesOnly) {
  // Key 0xFF00FF00 is pure green: the fourth byte of neither key nor pixel counts.
  EXPECT_EQ(Mask32({0xAAAAAAAA, 0xBBBBBBBB, 0xCCCCCCCC}, {0x7700FF00, 0x0000FF01, 0x0000FF00},
                   0xFF00FF00u),
            (std::vector<uint32_t>{0xAAAAAAAA, 0x0000FF01, 0xCCCCCCCC}));
  // A copied pixel carries its fourth byte.
  EXPECT_EQ(Mask32({0, 0}, {0xFE123456, 0x01123456}, 0x00123457),
            (std::vector<uint32_t>{0xFE123456, 0x01123456}));
  // Nothing matches: a plain copy; everything matches: nothing is written.
  EXPECT_EQ(Mask32({1, 2, 3}, {7, 8, 9}, 0x00ABCDEF), (std::vector<uint32_t>{7, 8, 9}));
  EXPECT_EQ(Mask32({1, 2, 3}, {0x11ABCDEF, 0x22ABCDEF, 0xABCDEF}, 0x00ABCDEF),
            (std::vector<uint32_t>{1, 2, 3}));

  // 24-bit: all three bytes take part; a key with its top byte set acts as its low 24 bits.
  uint8_t src[9] = {0x56, 0x34, 0x12, 0x56, 0x34, 0x13, 0x57, 0x34, 0x12};
  uint8_t dst[9] = {9, 9, 9, 8, 8, 8, 7, 7, 7};
  RkSurface d{0, 3, 1, 9, 0, dst}, s{0, 3, 1, 9, 0, src};
  RkMaskBitBlt24(&d, 0, 0, &s, 0, 0, 3, 1, 0xFF123456u);
  const uint8_t want[9] = {9, 9, 9, 0x56, 0x34, 0x13, 0x57, 0x34, 0x12};
  EXPECT_EQ(0, std::memcmp(dst, want, 9));
}

// On one surface the pairs decide: shifting right copies, shifting left smears
// from one pair into the next (the lone last pixel is written first).
TEST(MaskCopy, SameRowOverlap) {
  const struct {
    int32_t dstX, srcX, width;
    std::vector<uint32_t> want;
  } rows[] = {
      {1, 0, 5, {1, 1, 2, 3, 4, 5}},  // right by one: a correct copy
      {1, 0, 4, {1, 1, 2, 3, 4, 6}},
      {0,
       1,
       5,
       {2, 4, 4, 6, 6, 6}},  // left by one: each pair reads the pixel the pair right of it wrote
      {0, 1, 4, {2, 4, 4, 5, 5, 6}},
      {0, 1, 1, {2, 2, 3, 4, 5, 6}},
  };
  for (const auto &r : rows) {
    std::vector<uint32_t> px = {1, 2, 3, 4, 5, 6};
    RkSurface s{0, 6, 1, 24, 0, px.data()};
    RkMaskBitBlt32(&s, r.dstX, 0, &s, r.srcX, 0, r.width, 1, 0x00FFFFFF);
    EXPECT_EQ(px, r.want) << "dstX " << r.dstX << " srcX " << r.srcX << " width " << r.width;
  }
}

// On separate surfaces the order cannot show: every destination pixel is its
// source pixel unless that is the key, and nothing else changes.
TEST(MaskCopy, SeparateSurfacesSelectPerPixel) {
  const struct {
    MaskFn fn;
    int bpp;
  } members[] = {{&RkMaskBitBlt24, 3}, {&RkMaskBitBlt32, 4}};
  for (const auto &m : members) {
    for (uint64_t i = 0; i < 200; ++i) {
      rkt::Rng rng(rkt::BaseSeed() * 31 + i);
      int32_t w = static_cast<int32_t>(rng.Range(1, 40)), h = static_cast<int32_t>(rng.Range(1, 4));
      int32_t pitch = w * m.bpp + static_cast<int32_t>(rng.Range(0, 5));
      std::vector<uint8_t> src(static_cast<size_t>(pitch * h)), dst(src.size());
      rng.Fill(src.data(), src.size());
      rng.Fill(dst.data(), dst.size());
      uint32_t key = rng.U32();
      for (int32_t k = 0; k < w * h / 3; ++k) {  // plant the key's colour bytes
        size_t at = static_cast<size_t>(rng.Range(0, h - 1) * pitch + rng.Range(0, w - 1) * m.bpp);
        for (int b = 0; b < 3; ++b)
          src[at + static_cast<size_t>(b)] = static_cast<uint8_t>(key >> 8 * b);
      }
      std::vector<uint8_t> want = dst;
      for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x) {
          size_t at = static_cast<size_t>(y * pitch + x * m.bpp);
          uint32_t colour = src[at] | src[at + 1] << 8 | src[at + 2] << 16;
          if (colour != (key & 0xFFFFFF))
            std::memcpy(&want[at], &src[at], static_cast<size_t>(m.bpp));
        }
      for (rk::Level level : rk::AvailableLevels()) {
        std::vector<uint8_t> got = dst;
        RkSurface d{0, w, h, pitch, 0, got.data()}, s{0, w, h, pitch, 0, src.data()};
        rk::Level saved = rk::UseLevel(level);
        m.fn(&d, 0, 0, &s, 0, 0, w, h, key);
        rk::UseLevel(saved);
        ASSERT_EQ(got, want) << "bpp " << m.bpp << " case " << i << " level "
                             << rk::LevelName(level);
      }
    }
  }
}

}  // namespace
