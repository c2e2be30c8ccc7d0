// Brightness blits with a level: Light, Darkle, MaskLight, MaskDarkle.
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <vector>

#include "driver.h"
#include "module/dispatch.h"
#include "rkpix.h"

RKT_BLIT(RkLight16, 2, rkt::Args::kA);
RKT_BLIT(RkLight15, 2, rkt::Args::kA);
RKT_BLIT(RkLight24, 3, rkt::Args::kA, 0, true);
RKT_BLIT(RkLight32, 4, rkt::Args::kA, 0, true);
RKT_BLIT(RkDarkle16, 2, rkt::Args::kA);
RKT_BLIT(RkDarkle15, 2, rkt::Args::kA);
RKT_BLIT(RkDarkle24, 3, rkt::Args::kA);
RKT_BLIT(RkDarkle32, 4, rkt::Args::kA);

namespace {

using LevelFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                   int32_t, int32_t, int32_t, uint32_t);
using KeyFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                 int32_t, int32_t, int32_t, uint32_t, uint32_t);

// Two surfaces of `cols` x `rows` pixels, the rectangle w x rows at column x of both.
// Pixels are given as values (depth 24: 0xRRGGBB, byte 0 lowest); an empty wantSrc
// means the source is unchanged.
struct Pin {
  const char *what;
  LevelFn fn;
  KeyFn kfn;
  int bpp;
  int32_t cols, rows, x, w;
  uint32_t level, key;
  std::vector<uint32_t> src, dst, wantDst, wantSrc;
};

std::vector<uint8_t> Pack(const std::vector<uint32_t> &v, int bpp) {
  std::vector<uint8_t> b(v.size() * static_cast<size_t>(bpp));
  for (size_t i = 0; i < v.size(); ++i)
    for (int j = 0; j < bpp; ++j)
      b[i * static_cast<size_t>(bpp) + static_cast<size_t>(j)] =
          static_cast<uint8_t>(v[i] >> (8 * j));
  return b;
}

std::string Hex(const std::vector<uint8_t> &b, int bpp) {
  std::ostringstream o;
  o << std::hex;
  for (size_t i = 0; i < b.size(); i += static_cast<size_t>(bpp)) {
    uint32_t v = 0;
    for (int j = 0; j < bpp; ++j) v |= uint32_t{b[i + static_cast<size_t>(j)]} << (8 * j);
    o << "0x" << v << " ";
  }
  return o.str();
}

void RunPins(const std::vector<Pin> &pins) {
  for (const Pin &p : pins) {
    ASSERT_EQ(p.src.size(), size_t(p.cols) * p.rows) << p.what;
    ASSERT_EQ(p.dst.size(), p.src.size()) << p.what;
    const std::vector<uint8_t> wantD = Pack(p.wantDst, p.bpp);
    const std::vector<uint8_t> wantS = Pack(p.wantSrc.empty() ? p.src : p.wantSrc, p.bpp);
    for (rk::Level level : rk::AvailableLevels()) {
      std::vector<uint8_t> s = Pack(p.src, p.bpp), d = Pack(p.dst, p.bpp);
      RkSurface ss{0, p.cols, p.rows, p.cols * p.bpp, 0, s.data()};
      RkSurface ds{0, p.cols, p.rows, p.cols * p.bpp, 0, d.data()};
      rk::Level saved = rk::UseLevel(level);
      if (p.kfn) {
        p.kfn(&ds, p.x, 0, &ss, p.x, 0, p.w, p.rows, p.level, p.key);
      } else {
        p.fn(&ds, p.x, 0, &ss, p.x, 0, p.w, p.rows, p.level);
      }
      rk::UseLevel(saved);
      EXPECT_EQ(Hex(d, p.bpp), Hex(wantD, p.bpp))
          << p.what << " (dst, " << rk::LevelName(level) << ")";
      EXPECT_EQ(Hex(s, p.bpp), Hex(wantS, p.bpp))
          << p.what << " (src, " << rk::LevelName(level) << ")";
    }
  }
}

// Values worked out by hand from the members' formulas. Columns: what, function,
// keyed function, bytes a pixel, surface columns, rows, rectangle column, width, level,
// key, source, destination, wanted destination, wanted source.
// clang-format off
TEST(Brightness, LightPins) {
  const uint32_t A = 0xAAAA, B = 0xAAAAAA, Q = 0xAAAAAAAA;
  const std::vector<uint32_t> row24 = {0x030201, 0x060504, 0x090807, 0x0C0B0A};
  RunPins({
      {"level 0 gives 0x0020", RkLight16, nullptr, 2, 3, 1, 0, 3, 0, 0,
       {0xFFFF, 0x1234, 0x0000}, {A, A, A}, {0x0020, 0x0020, 0x0020}, {}},
      {"level 255 keeps white, lifts black to 0x0020", RkLight16, nullptr, 2, 2, 1, 0, 2, 255, 0,
       {0xFFFF, 0x0000}, {A, A}, {0xFFFF, 0x0020}, {}},
      {"level 256: green 63 wraps to 0", RkLight16, nullptr, 2, 1, 1, 0, 1, 256, 0,
       {0xFFFF}, {A}, {0xF81F}, {}},
      {"scale 64 doubles red 8 and wraps red 16 (green 0 becomes 1)", RkLight16, nullptr, 2, 4, 1, 0, 4, 512, 0,
       {0x4000, 0x4000, 0x8000, 0x4000}, {A, A, A, A}, {0x8020, 0x8020, 0x0020, 0x8020}, {}},
      {"the rounding add saturates at 65535", RkLight16, nullptr, 2, 1, 1, 0, 1, 0x7FFF8, 0,
       {0x0841}, {A}, {0xFFFF}, {}},
      {"depth 15: bit 15 enters red; result bit 15 clear", RkLight15, nullptr, 2, 3, 1, 0, 3, 255, 0,
       {0x8000, 0xFFFF, 0x7FFF}, {A, A, A}, {0x7C00, 0x7BFF, 0x7FFF}, {}},
      {"depth 24, width 3: the trailing byte is not written", RkLight24, nullptr, 3, 3, 1, 0, 3, 256, 0,
       {0x030201, 0x060504, 0x090807}, {B, B, B}, {0x020100, 0x050403, 0xAA0706}, {}},
      {"depth 24, width 4: the 4-byte group goes into the source", RkLight24, nullptr, 3, 4, 1, 0, 4, 256, 0,
       row24, {B, B, B, B}, {0x020100, 0x050403, 0xAA0706, B}, {0x030201, 0x060504, 0x080807, 0xFF0AFF}},
      {"depth 24, width 2: only the source changes", RkLight24, nullptr, 3, 2, 1, 0, 2, 256, 0,
       {0x000201, 0x060504}, {B, B}, {B, B}, {0xFFFF00, 0x0605FF}},
      {"depth 24, level 0: every written byte is 255", RkLight24, nullptr, 3, 3, 1, 0, 3, 0, 0,
       {0x030201, 0x060504, 0x090807}, {B, B, B}, {0xFFFFFF, 0xFFFFFF, 0xAAFFFF}, {}},
      {"depth 24, level 128: half, minus one", RkLight24, nullptr, 3, 3, 1, 0, 3, 128, 0,
       {0xFF8000, 0x030201, 0x000000}, {B, B, B}, {0x7E3FFF, 0x0000FF, 0xAAFFFF}, {}},
      // Width 3 on rows of 4 pixels: rows 0 and 1 leave the source alone, row 2 writes
      // bytes 8..11 of its source row, the last one in the row's padding.
      {"depth 24, third row: the source group is written whatever the width", RkLight24, nullptr, 3, 4, 3, 0, 3, 256, 0,
       {0x030201, 0x060504, 0x090807, 0x0C0B0A, 0x030201, 0x060504, 0x090807, 0x0C0B0A,
        0x030201, 0x060504, 0x090807, 0x0C0B0A},
       std::vector<uint32_t>(12, B),
       {0x020100, 0x050403, 0xAA0706, B, 0x020100, 0x050403, 0xAA0706, B, 0x020100, 0x050403, 0xAA0706, B},
       {0x030201, 0x060504, 0x090807, 0x0C0B0A, 0x030201, 0x060504, 0x090807, 0x0C0B0A,
        0x030201, 0x060504, 0x080807, 0xFF0AFF}},
      {"depth 32, width 1: the source is stamped, the destination untouched", RkLight32, nullptr, 4, 1, 1, 0, 1, 256, 0,
       {0x12345678}, {Q}, {Q}, {0x00FF00FF}},
      {"depth 32, level 0: bytes 0 and 1 become 255, bytes 2 and 3 0", RkLight32, nullptr, 4, 3, 1, 0, 3, 0, 0,
       {0x12345678, 0xFFFFFFFF, 0x00000000}, {Q, Q, Q}, {0xFFFF, 0xFFFF, Q}, {0x12345678, 0xFFFFFFFF, 0x00FF00FF}},
      {"depth 32, level 128", RkLight32, nullptr, 4, 2, 1, 0, 2, 128, 0,
       {0x00FF8001, 0xFFFF00FF}, {Q, Q}, {0x3FFF, 0xFF7E}, {}},
  });
}
// clang-format on

// clang-format off
TEST(Brightness, DarklePins) {
  const uint32_t A = 0xAAAA, B = 0xAAAAAA, Q = 0xAAAAAAAA;
  RunPins({
      {"level 0 gives black", RkDarkle16, nullptr, 2, 3, 1, 0, 3, 0, 0,
       {0xFFFF, 0x1234, 0x0020}, {A, A, A}, {0, 0, 0}, {}},
      {"level 256 copies", RkDarkle16, nullptr, 2, 3, 1, 0, 3, 256, 0,
       {0xFFFF, 0x1234, 0xABCD}, {A, A, A}, {0xFFFF, 0x1234, 0xABCD}, {}},
      {"level 255 truncates: 0xFFFF becomes 0xF7BE", RkDarkle16, nullptr, 2, 3, 1, 0, 3, 255, 0,
       {0xFFFF, 0xFFFF, 0xFFFF}, {A, A, A}, {0xF7BE, 0xF7BE, 0xF7BE}, {}},
      {"scale 64: the packed blue spills into green, the single pixel masks it", RkDarkle16, nullptr, 2, 3, 1, 0, 3, 512, 0,
       {0x001F, 0x001F, 0x001F}, {A, A, A}, {0x003E, 0x003E, 0x001E}, {}},
      {"scale 2048: the single pixel carries red into green", RkDarkle16, nullptr, 2, 3, 1, 0, 3, 16384, 0,
       {0xF800, 0xF800, 0xF800}, {A, A, A}, {0x0000, 0x0000, 0x0020}, {}},
      {"depth 15: bit 15 is ignored", RkDarkle15, nullptr, 2, 3, 1, 0, 3, 2000, 0,
       {0x8000, 0x8000, 0x8000}, {A, A, A}, {0, 0, 0}, {}},
      {"depth 15, level 256 copies and clears bit 15", RkDarkle15, nullptr, 2, 3, 1, 0, 3, 256, 0,
       {0xFFFF, 0x8421, 0x7FFF}, {A, A, A}, {0x7FFF, 0x0421, 0x7FFF}, {}},
      // Width 2 on rows of 3 pixels: from the third row on the single-pixel step writes
      // column 2 from source column 2.
      {"third row: the single-pixel step at column width", RkDarkle16, nullptr, 2, 3, 3, 0, 2, 512, 0,
       std::vector<uint32_t>(9, 0x001F), std::vector<uint32_t>(9, A),
       {0x003E, 0x003E, A, 0x003E, 0x003E, A, 0x003E, 0x003E, 0x001E}, {}},
      {"depth 24, width 1: all three bytes", RkDarkle24, nullptr, 3, 1, 1, 0, 1, 128, 0,
       {0xFF8001}, {B}, {0x7F4000}, {}},
      {"depth 24, level 512 wraps: (2v) mod 256", RkDarkle24, nullptr, 3, 2, 1, 0, 2, 512, 0,
       {0x817F80, 0x000102}, {B, B}, {0x02FE00, 0x000204}, {}},
      {"depth 32, level 0: all four bytes 0", RkDarkle32, nullptr, 4, 3, 1, 0, 3, 0, 0,
       {0xFFFFFFFF, 0x12345678, 0x80808080}, {Q, Q, Q}, {0, 0, 0}, {}},
      {"depth 32: the fourth byte is scaled too", RkDarkle32, nullptr, 4, 3, 1, 0, 3, 128, 0,
       {0xFF804020, 0x02020202, 0x01FF0100}, {Q, Q, Q}, {0x7F402010, 0x01010101, 0x007F0000}, {}},
  });
}
// clang-format on

// Up to level 263 both Darkle paths truncate: floor(c * (level >> 3) / 32) per field.
// The packed path is checked on one row of every pixel value, the single-pixel path on
// a column of one-pixel rows (from the third row on each takes the single step).
TEST(Brightness, DarkleTruncatesUpToLevel263) {
  std::vector<uint16_t> src(65536), dst(65536);
  for (uint32_t i = 0; i < 65536; ++i) src[i] = static_cast<uint16_t>(i);
  RkSurface row{0, 65536, 1, 131072, 0, src.data()}, drow{0, 65536, 1, 131072, 0, dst.data()};
  RkSurface col{0, 1, 65536, 2, 0, src.data()}, dcol{0, 1, 65536, 2, 0, dst.data()};
  const struct {
    LevelFn fn;
    int redShift;
    uint32_t greenMax;
  } members[] = {{RkDarkle16, 11, 63}, {RkDarkle15, 10, 31}};
  for (const auto &m : members) {
    for (uint32_t level : {0u, 9u, 100u, 200u, 255u, 263u}) {
      auto down = [k = level >> 3](uint32_t c) { return c * k / 32; };
      for (bool single : {false, true}) {
        if (single) {
          m.fn(&dcol, 0, 0, &col, 0, 0, 1, 65536, level);
        } else {
          m.fn(&drow, 0, 0, &row, 0, 0, 65536, 1, level);
        }
        for (uint32_t p = 0; p < 65536; ++p) {
          uint32_t want = down(p >> m.redShift & 31) << m.redShift |
                          down(p >> 5 & m.greenMax) << 5 | down(p & 31);
          ASSERT_EQ(dst[p], want) << "p " << p << " level " << level << " single " << single;
        }
      }
    }
  }
}

// Within factors 0..31 Light rounds up (green one step higher at depth 16, and never
// above a field's top); checked on every pixel value against that closed form.
TEST(Brightness, LightRoundsUpBelowScale32) {
  std::vector<uint16_t> src(65536), dst(65536);
  for (uint32_t i = 0; i < 65536; ++i) src[i] = static_cast<uint16_t>(i);
  RkSurface s{0, 65536, 1, 131072, 0, src.data()}, d{0, 65536, 1, 131072, 0, dst.data()};
  auto up = [](uint32_t c, uint32_t k) { return (c * k + 31) / 32; };
  for (uint32_t k : {0u, 1u, 7u, 16u, 25u, 31u}) {
    RkLight16(&d, 0, 0, &s, 0, 0, 65536, 1, k * 8 + 5);
    for (uint32_t p = 0; p < 65536; ++p) {
      uint32_t g = std::min<uint32_t>(up(p >> 5 & 63, k) + 1, 63);
      uint32_t want = up(p >> 11, k) << 11 | g << 5 | up(p & 31, k);
      ASSERT_EQ(dst[p], want) << "p " << p << " k " << k;
    }
    RkLight15(&d, 0, 0, &s, 0, 0, 65536, 1, k * 8);
    for (uint32_t p = 0; p < 32768; ++p) {
      uint32_t want = up(p >> 10, k) << 10 | up(p >> 5 & 31, k) << 5 | up(p & 31, k);
      ASSERT_EQ(dst[p], want) << "p " << p << " k " << k;
    }
  }
}

}  // namespace
