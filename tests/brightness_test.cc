// Brightness blits with a level: Light, Darkle, MaskLight, MaskDarkle.
#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>
#include <vector>

#include "driver.h"

RKT_BLIT(RkLight16, 2, rkt::Args::kA);
RKT_BLIT(RkLight15, 2, rkt::Args::kA);
RKT_BLIT(RkLight24, 3, rkt::Args::kA, 0, true);
RKT_BLIT(RkLight32, 4, rkt::Args::kA, 0, true);
RKT_BLIT_DEPTHS(RkDarkle, rkt::Args::kA);
RKT_BLIT_DEPTHS(RkMaskLight, rkt::Args::kAKey);
RKT_BLIT_DEPTHS(RkMaskDarkle, rkt::Args::kAKey);

namespace {

using LevelFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                   int32_t, int32_t, int32_t, uint32_t);
using KeyFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                 int32_t, int32_t, int32_t, uint32_t, uint32_t);

// Wide rows (the driver's rows are short): rows of 200 to 1400 pixels, keys planted in
// runs, every level against the reference walk. kInPlace: the destination is the
// source rectangle itself (the members whose every output depends only on the source
// at its place run such rows through their fast path too).
template <auto Fn, int Bpp, bool kInPlace = false>
std::string WideRows(rkt::Rng &rng) {
  rkt::World w;
  auto width = static_cast<int32_t>(rng.Range(200, 1400));
  auto rows = static_cast<int32_t>(rng.Range(1, 4));
  int32_t pitch = width * Bpp + static_cast<int32_t>(rng.Range(0, 4)) * 4;
  RkSurface src = rkt::NewSurface(w, rng, {width, rows, pitch}, Bpp, true);
  RkSurface dst = rkt::NewSurface(w, rng, {width, rows, pitch}, Bpp, true);
  auto *px = static_cast<uint8_t *>(src.pixels);
  uint32_t key = rng.U32();
  for (int32_t y = 0; y < rows; ++y) {
    for (int32_t x = 0; x < width; x += static_cast<int32_t>(rng.Range(1, 9))) {
      if (rng.Chance(0.3)) std::memcpy(px + int64_t{y} * pitch + x * Bpp, &key, Bpp == 4 ? 3 : Bpp);
    }
  }
  uint32_t level = rng.Chance(0.5) ? static_cast<uint32_t>(rng.Range(0, 600)) : rng.U32();
  auto x0 = static_cast<int32_t>(rng.Range(0, 3));
  auto wd = static_cast<int32_t>(width - x0 - rng.Range(0, 3));
  RkSurface *to = kInPlace ? &src : &dst;
  return rkt::CompareLevels(w, [&] {
    if constexpr (std::is_same_v<decltype(Fn), KeyFn>) {
      Fn(to, x0, 0, &src, x0, 0, wd, rows, level, key);
    } else {
      Fn(to, x0, 0, &src, x0, 0, wd, rows, level);
    }
  });
}
// A case template registered for the four depths of a member.
#define EACH_DEPTH(test, fn, tmpl, cases, ...)                                     \
  RKT_DIFF(test##fn##16, (tmpl<Rk##fn##16, 2 __VA_OPT__(, ) __VA_ARGS__>), cases); \
  RKT_DIFF(test##fn##15, (tmpl<Rk##fn##15, 2 __VA_OPT__(, ) __VA_ARGS__>), cases); \
  RKT_DIFF(test##fn##24, (tmpl<Rk##fn##24, 3 __VA_OPT__(, ) __VA_ARGS__>), cases); \
  RKT_DIFF(test##fn##32, (tmpl<Rk##fn##32, 4 __VA_OPT__(, ) __VA_ARGS__>), cases)
#define WIDE_ROWS(fn) EACH_DEPTH(Wide, fn, WideRows, 30)
WIDE_ROWS(Light);
WIDE_ROWS(Darkle);
WIDE_ROWS(MaskLight);
WIDE_ROWS(MaskDarkle);
#define WIDE_IN_PLACE(fn) EACH_DEPTH(WideInPlace, fn, WideRows, 20, true)
WIDE_IN_PLACE(Light);
WIDE_IN_PLACE(Darkle);

// Rectangles as wide as both surfaces' tight rows, the layout where the row walk may
// hand a member's rows to its fast kernel joined (the driver's random pitches rarely
// give it). Short rows (many to a joined piece) and now and then rows over enough
// bytes for several pieces; the rectangle may reach past the surfaces. Every member
// runs it: those that keep rows apart must not change either.
template <auto Fn, int Bpp>
std::string JoinedRows(rkt::Rng &rng) {
  rkt::World w;
  const bool big = rkt::World::LargeSurfaces() && rng.Chance(0.15);
  auto width = static_cast<int32_t>(big ? rng.Range(700, 3000) : rng.Range(1, 40));
  const int64_t minRows = big ? 300'000 / (width * Bpp) : 2;
  auto rows = static_cast<int32_t>(rng.Range(minRows, minRows + 60));
  RkSurface src = rkt::NewSurface(w, rng, {width, rows, width * Bpp}, Bpp, true);
  RkSurface dst = rkt::NewSurface(w, rng, {width, rows, width * Bpp}, Bpp, true);
  const uint32_t key = rkt::PlantKey(rng, src, Bpp), level = rkt::Param(rng);
  const auto more = static_cast<int32_t>(rng.Chance(0.3) ? rng.Range(1, 5) : 0);
  return rkt::CompareLevels(w, [&] {
    if constexpr (std::is_same_v<decltype(Fn), KeyFn>) {
      Fn(&dst, 0, 0, &src, 0, 0, width + more, rows + more, level, key);
    } else {
      Fn(&dst, 0, 0, &src, 0, 0, width + more, rows + more, level);
    }
  });
}
#define JOINED_ROWS(fn) EACH_DEPTH(Joined, fn, JoinedRows, 40)
JOINED_ROWS(Light);
JOINED_ROWS(Darkle);
JOINED_ROWS(MaskLight);
JOINED_ROWS(MaskDarkle);

// Values worked out by hand from the members' formulas (24 bits: 0xRRGGBB). `At`
// {x, 0, x, 0, w}: the rectangle at column x of both surfaces.
TEST(Brightness, Pins) {
  const uint32_t A = 0xAAAA, B = 0xAAAAAA, Q = 0xAAAAAAAA, K = 0x1234, W = 0xFFFF;
  const std::vector<uint32_t> A5(5, A), A7(7, A), B8(8, B);
  const std::vector<uint32_t> eight = {0x111111, 0x222222, 0x333333, 0x444444,
                                       0x555555, 0x666666, 0x777777, 0x888888};
  const std::vector<uint32_t> row24 = {0x030201, 0x060504, 0x090807, 0x0C0B0A};
  const uint32_t L0 = 0x020100, L1 = 0x050403, L2 = 0xAA0706;  // row24 at level 256, width 3
  // clang-format off
  rkt::CheckPins({
    {"Light: level 0 gives 0x0020", RkLight16, 0, 0, {W, 0x1234, 0}, {A, A, A}, {0x0020, 0x0020, 0x0020}},
    {"Light: level 256, green 63 wraps to 0", RkLight16, 256, 0, {W}, {A}, {0xF81F}},
    {"Light: scale 64 doubles red 8 and wraps red 16 (green 0 becomes 1)", RkLight16, 512, 0, {0x4000, 0x4000, 0x8000, 0x4000}, {A, A, A, A}, {0x8020, 0x8020, 0x0020, 0x8020}},
    {"Light: the rounding add saturates at 65535", RkLight16, 0x7FFF8, 0, {0x0841}, {A}, {W}},
    {"Light 15: bit 15 enters red; result bit 15 clear", RkLight15, 255, 0, {0x8000, W, 0x7FFF}, {A, A, A}, {0x7C00, 0x7BFF, 0x7FFF}},
    {"Light 24, width 4: the 4-byte group goes into the source", RkLight24, 256, 0, row24, {B, B, B, B}, {L0, L1, L2, B}, {}, {0x030201, 0x060504, 0x080807, 0xFF0AFF}},
    {"Light 24, level 128: half, minus one", RkLight24, 128, 0, {0xFF8000, 0x030201, 0}, {B, B, B}, {0x7E3FFF, 0x0000FF, 0xAAFFFF}},
    // Width 3 on rows of 4 pixels: the trailing byte is not written; rows 0 and 1 leave
    // the source alone, row 2 writes bytes 8..11 of its source row (one in the padding).
    {"Light 24, third row: the source group is written whatever the width", RkLight24, 256, 0,
     {0x030201, 0x060504, 0x090807, 0x0C0B0A, 0x030201, 0x060504, 0x090807, 0x0C0B0A, 0x030201, 0x060504, 0x090807, 0x0C0B0A},
     std::vector<uint32_t>(12, B), {L0, L1, L2, B, L0, L1, L2, B, L0, L1, L2, B}, {},
     {0x030201, 0x060504, 0x090807, 0x0C0B0A, 0x030201, 0x060504, 0x090807, 0x0C0B0A, 0x030201, 0x060504, 0x080807, 0xFF0AFF}, 3, {0, 0, 0, 0, 3}},
    {"Light 32, level 0: bytes 0, 1 255, bytes 2, 3 0; the lone pixel stamps the source", RkLight32, 0, 0, {0x12345678, 0xFFFFFFFF, 0}, {Q, Q, Q}, {0xFFFF, 0xFFFF, Q}, {}, {0x12345678, 0xFFFFFFFF, 0x00FF00FF}},
    {"Light 32, level 128", RkLight32, 128, 0, {0x00FF8001, 0xFFFF00FF}, {Q, Q}, {0x3FFF, 0xFF7E}},
    {"Darkle: scale 64, the packed blue spills into green, the single pixel masks it", RkDarkle16, 512, 0, {0x1F, 0x1F, 0x1F}, {A, A, A}, {0x003E, 0x003E, 0x001E}},
    {"Darkle: scale 2048, the single pixel carries red into green", RkDarkle16, 16384, 0, {0xF800, 0xF800, 0xF800}, {A, A, A}, {0, 0, 0x0020}},
    {"Darkle 15: bit 15 is ignored", RkDarkle15, 2000, 0, {0x8000, 0x8000, 0x8000}, {A, A, A}, {0, 0, 0}},
    // Width 2 on rows of 3: from the third row on the single step writes column 2.
    {"Darkle, third row: the single-pixel step at column width", RkDarkle16, 512, 0, std::vector<uint32_t>(9, 0x1F), std::vector<uint32_t>(9, A),
     {0x003E, 0x003E, A, 0x003E, 0x003E, A, 0x003E, 0x003E, 0x001E}, {}, {}, 3, {0, 0, 0, 0, 2}},
    {"Darkle 24, width 1: all three bytes", RkDarkle24, 128, 0, {0xFF8001}, {B}, {0x7F4000}},
    {"Darkle 24, level 512 wraps: (2v) mod 256", RkDarkle24, 512, 0, {0x817F80, 0x000102}, {B, B}, {0x02FE00, 0x000204}},
    {"Darkle 32: the fourth byte is scaled too", RkDarkle32, 128, 0, {0xFF804020, 0x02020202, 0x01FF0100}, {Q, Q, Q}, {0x7F402010, 0x01010101, 0x007F0000}},
    {"MaskLight: scale 64 doubles every field, single and lanes", RkMaskLight16, 512, K, std::vector<uint32_t>(5, 0x4208), A5, std::vector<uint32_t>(5, 0x8410)},
    {"MaskLight: level 1024 clips at the top, every path", RkMaskLight16, 1024, K, std::vector<uint32_t>(7, W), A7, std::vector<uint32_t>(7, W)},
    {"MaskLight: a non-key pair, the lower pixel's blue clips early", RkMaskLight16, 200, K, {0x1F, 0x1F}, {A, A}, {0x001F, 0x0018}},
    {"MaskLight: a non-key pair, the lower pixel's green clips at 1792", RkMaskLight16, 256, K, {0x0700, 0x0700}, {A, A}, {0x07E0, 0x0700}},
    {"MaskLight: a pair member drawn alone is a single pixel", RkMaskLight16, 200, K, {0x1F, K}, {A, A}, {0x0018, A}},
    {"MaskLight: lanes compare signed, green 63 at scale 1024 wraps to 32", RkMaskLight16, 8192, K, std::vector<uint32_t>(5, 0x07E0), A5, {0x0400, 0x0400, 0x0400, 0x0400, 0x07E0}},
    {"MaskLight: key places keep the destination; an all-key group writes nothing", RkMaskLight16, 512, K, {K, 0x4208, K, 0x4208, K, K, K, K},
     {A, 0x1111, A, 0x2222, A, 0x1111, A, 0x2222}, {A, 0x8410, A, 0x8410, A, 0x1111, A, 0x2222}},
    {"MaskLight: key last pixel, factor's low byte 0: the pair step is skipped", RkMaskLight16, 2048, K, {0x4208, 0x4208, K}, {A, A, A}, {A, A, A}},
    {"MaskLight: key last pixel, factor's low byte 1: the pair step runs", RkMaskLight16, 2056, K, {0x4208, 0x4208, K}, {A, A, A}, {W, W, A}},
    {"MaskLight: width 1, key last pixel: the pair step takes columns -2 and -1", RkMaskLight16, 512, K, {0x4208, 0x4208, K}, {A, A, A}, {0x8410, 0x8410, A}, {}, {}, 1, {2, 0, 2, 0, 1}},
    {"MaskLight 15: lanes take red with bit 15, single pixels without", RkMaskLight15, 256, K, std::vector<uint32_t>(5, 0x8400), A5, {0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x0400}},
    {"MaskLight 15: a pair's lower green clips at 768", RkMaskLight15, 200, K, {0x03E0, 0x03E0}, {A, A}, {0x03E0, 0x0300}},
    {"MaskLight 15: bit 15 of the key is compared", RkMaskLight15, 256, 0x9234, {0x1234, 0x9234}, {A, A}, {0x1234, A}},
    {"MaskLight 24, odd last pixel: (s2, 0, 0)", RkMaskLight24, 512, 0x654321, {0x123456}, {B}, {0x000024}},
    {"MaskLight 24, odd last pixel: the key is compared with s2 alone", RkMaskLight24, 512, 0x12, {0x123456}, {B}, {B}},
    {"MaskLight 24 pair: saturating bytes", RkMaskLight24, 512, 0x654321, {0x80FF01, 0}, {B, B}, {0xFFFF02, 0}},
    {"MaskLight 24 pair with one key", RkMaskLight24, 256, 0x654321, {0x654321, 0x102030}, {B, B}, {B, 0x102030}},
    {"MaskLight 32: byte 3 cleared in every path, key without byte 3", RkMaskLight32, 256, 0xAA112233, {0xFF102030, 0xFF102030, 0x55112233, 0xFF102030, 0xFF102030},
     {Q, Q, Q, Q, Q}, {0x00102030, 0x00102030, Q, 0x00102030, 0x00102030}},
    {"MaskDarkle: key/non-key pair, red and blue of the higher pixel at the key's place", RkMaskDarkle16, 256, K, {K, W}, {A, A}, {0xF81F, A}},
    {"MaskDarkle: key/non-key pair, green from the lone pixel's work value", RkMaskDarkle16, 128, K, {K, W, 0x0400}, {A, A, A}, {0x7A0F, A, 0x0200}},
    {"MaskDarkle: key/non-key pair after a key lone pixel, green 0", RkMaskDarkle16, 128, K, {K, W, K}, {A, A, A}, {0x780F, A, A}},
    {"MaskDarkle: non-key/key pair, the lower pixel at its own place", RkMaskDarkle16, 128, K, {W, K}, {A, A}, {0x7BEF, A}},
    {"MaskDarkle: group lanes, blue spills above 263", RkMaskDarkle16, 512, K, {0x1F, K, 0x1F, 0x1F}, {A, A, A, A}, {0x003E, A, 0x003E, 0x003E}},
    {"MaskDarkle 15: key/non-key pair, the higher pixel at the key's place", RkMaskDarkle15, 256, K, {K, 0x7FFF}, {A, A}, {0x7FFF, A}},
    {"MaskDarkle 15: lanes take red with bit 15, single pixels without", RkMaskDarkle15, 8, K, std::vector<uint32_t>(5, 0x8400), A5, {0x0400, 0x0400, 0x0400, 0x0400, 0}},
    {"MaskDarkle 24, odd last pixel: (s2, 0, 0)", RkMaskDarkle24, 128, 0x654321, {0x123456}, {B}, {0x000009}},
    {"MaskDarkle 24, width 3: the first pair is read from byte 4c - 6", RkMaskDarkle24, 256, 0x654321, eight, B8, {0x777777, 0x888888, 0x000033, B, B, B, B, B}, {}, {}, 1, {0, 0, 0, 0, 3}},
    {"MaskDarkle 24, width 3, one key in the misread pair: written at 2c - 3", RkMaskDarkle24, 256, 0x777777, eight, B8, {B, B, 0x000033, 0x888888, B, B, B, B}, {}, {}, 1, {0, 0, 0, 0, 3}},
    {"MaskDarkle 24, one key in a pair: written at 2e - 3", RkMaskDarkle24, 256, 0x654321, {0x654321, 0x102030, B, B}, {B, B, B, B}, {B, B, B, 0x102030}, {}, {}, 1, {0, 0, 0, 0, 2}},
    {"MaskDarkle 24, the misplaced write lands on a pair already drawn", RkMaskDarkle24, 256, 0x654321, {0x102030, 0x654321, 0x444444, 0x555555}, {B, B, B, B}, {B, B, 0x444444, 0x102030}},
    {"MaskDarkle 32: byte 3 scaled in a pair, cleared alone", RkMaskDarkle32, 128, 0x654321, {0xC8808080, 0xC8808080, 0xC8808080, 0xFF654321, 0xC8808080},
     {Q, Q, Q, Q, Q}, {0x64404040, 0x64404040, 0x00404040, Q, 0x00404040}},
  });
  // clang-format on
}

// A misplaced write one byte past the destination's 11 bytes loses that byte: the
// pair's one non-key pixel goes to bytes 9..11.
TEST(Brightness, MisplacedWriteStaysInTheSurface) {
  rkt::Rng rng(rkt::BaseSeed());
  rkt::World w;
  RkSurface dst = rkt::Place(w, w.AddBuffer(rng, 16), {2, 1, 11}, 3, 0, true);
  RkSurface src = rkt::NewSurface(w, rng, {2, 1, 6}, 3, false);
  const uint8_t px[6] = {0x21, 0x43, 0x65, 0x30, 0x20, 0x10};
  std::memcpy(src.pixels, px, 6);
  EXPECT_EQ(
      rkt::CompareLevels(w, [&] { RkMaskDarkle24(&dst, 0, 0, &src, 0, 0, 2, 1, 256, 0x654321); }),
      "");
  EXPECT_EQ(w.Data(0)[9] | w.Data(0)[10] << 8, 0x2030);  // the bytes inside are written
}

// Every pixel value, as a row (packed and lane paths) and as a column (the lone pixel,
// and Darkle's single-pixel step from the third row): with k = level >> 3, up to level
// 263 Darkle gives floor(c * k / 32) per field (bit 15 ignored); below 256 Light gives
// (c * k + 31) / 32, green at depth 16 one step higher, red at depth 15 with bit 15 as
// 32 (masked to the field).
TEST(Brightness, EveryPixelUpToScale32) {
  std::vector<uint16_t> src(65536), dst(65536);
  for (uint32_t i = 0; i < 65536; ++i) src[i] = static_cast<uint16_t>(i);
  const struct {
    LevelFn fn;
    int redShift;
    uint32_t greenMax;
    bool light;
  } members[] = {{RkDarkle16, 11, 63, false},
                 {RkDarkle15, 10, 31, false},
                 {RkLight16, 11, 63, true},
                 {RkLight15, 10, 31, true}};
  for (const auto &m : members) {
    for (uint32_t level : {0u, 9u, 100u, 200u, 255u, 263u}) {
      const uint32_t k = level >> 3;
      if (m.light && k == 32) continue;
      auto f = [&](uint32_t c, uint32_t round, uint32_t max) {
        return (c * k + (m.light ? round : 0)) / 32 & max;
      };
      for (int32_t w : {65536, 1}) {
        RkSurface s{0, w, 65536 / w, 2 * w, 0, src.data()},
            d{0, w, 65536 / w, 2 * w, 0, dst.data()};
        m.fn(&d, 0, 0, &s, 0, 0, w, 65536 / w, level);
        for (uint32_t p = 0; p < 65536; ++p) {
          uint32_t red = f(p >> m.redShift & (m.light ? 63 : 31), 31, 31);
          uint32_t green =
              f(p >> 5 & m.greenMax, m.greenMax == 63 && m.light ? 63 : 31, m.greenMax);
          ASSERT_EQ(dst[p], red << m.redShift | green << 5 | f(p & 31, 31, 31))
              << "p " << p << " level " << level << " width " << w << " light " << m.light;
        }
      }
    }
  }
}

}  // namespace
