// Brightness blits with a level: Light, Darkle, MaskLight, MaskDarkle.
#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <type_traits>
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
RKT_BLIT(RkMaskLight16, 2, rkt::Args::kAKey);
RKT_BLIT(RkMaskLight15, 2, rkt::Args::kAKey);
RKT_BLIT(RkMaskLight24, 3, rkt::Args::kAKey);
RKT_BLIT(RkMaskLight32, 4, rkt::Args::kAKey);
RKT_BLIT(RkMaskDarkle16, 2, rkt::Args::kAKey);
RKT_BLIT(RkMaskDarkle15, 2, rkt::Args::kAKey);
RKT_BLIT(RkMaskDarkle24, 3, rkt::Args::kAKey);
RKT_BLIT(RkMaskDarkle32, 4, rkt::Args::kAKey);

namespace {

using LevelFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                   int32_t, int32_t, int32_t, uint32_t);
using KeyFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                 int32_t, int32_t, int32_t, uint32_t, uint32_t);

// Wide rows (the driver's rows are short): separate surfaces, rows of 200 to 1400
// pixels, keys planted in runs, every level against the reference walk.
template <auto Fn, int Bpp>
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
  return rkt::CompareLevels(w, [&] {
    if constexpr (std::is_same_v<decltype(Fn), KeyFn>) {
      Fn(&dst, x0, 0, &src, x0, 0, wd, rows, level, key);
    } else {
      Fn(&dst, x0, 0, &src, x0, 0, wd, rows, level);
    }
  });
}
RKT_DIFF(WideLight16, (WideRows<RkLight16, 2>), 30);
RKT_DIFF(WideLight24, (WideRows<RkLight24, 3>), 30);
RKT_DIFF(WideLight32, (WideRows<RkLight32, 4>), 30);
RKT_DIFF(WideDarkle15, (WideRows<RkDarkle15, 2>), 30);
RKT_DIFF(WideDarkle24, (WideRows<RkDarkle24, 3>), 30);
RKT_DIFF(WideDarkle32, (WideRows<RkDarkle32, 4>), 30);
RKT_DIFF(WideMaskLight16, (WideRows<RkMaskLight16, 2>), 30);
RKT_DIFF(WideMaskLight15, (WideRows<RkMaskLight15, 2>), 30);
RKT_DIFF(WideMaskLight24, (WideRows<RkMaskLight24, 3>), 30);
RKT_DIFF(WideMaskLight32, (WideRows<RkMaskLight32, 4>), 30);
RKT_DIFF(WideMaskDarkle16, (WideRows<RkMaskDarkle16, 2>), 30);
RKT_DIFF(WideMaskDarkle15, (WideRows<RkMaskDarkle15, 2>), 30);
RKT_DIFF(WideMaskDarkle24, (WideRows<RkMaskDarkle24, 3>), 30);
RKT_DIFF(WideMaskDarkle32, (WideRows<RkMaskDarkle32, 4>), 30);

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

// clang-format off
TEST(Brightness, MaskLightPins) {
  const uint32_t A = 0xAAAA, K = 0x1234, B = 0xAAAAAA, Q = 0xAAAAAAAA;
  RunPins({
      {"scale 64 doubles every field, single and lanes", nullptr, RkMaskLight16, 2, 5, 1, 0, 5, 512, K,
       std::vector<uint32_t>(5, 0x4208), std::vector<uint32_t>(5, A), std::vector<uint32_t>(5, 0x8410), {}},
      {"level 1024 clips at the top, every path", nullptr, RkMaskLight16, 2, 7, 1, 0, 7, 1024, K,
       std::vector<uint32_t>(7, 0xFFFF), std::vector<uint32_t>(7, A), std::vector<uint32_t>(7, 0xFFFF), {}},
      {"a non-key pair: the lower pixel's blue clips early", nullptr, RkMaskLight16, 2, 2, 1, 0, 2, 200, K,
       {0x001F, 0x001F}, {A, A}, {0x001F, 0x0018}, {}},
      {"a pair member drawn alone is a single pixel", nullptr, RkMaskLight16, 2, 2, 1, 0, 2, 200, K,
       {0x001F, K}, {A, A}, {0x0018, A}, {}},
      {"lanes compare signed: green 63 at scale 1024 wraps to 32", nullptr, RkMaskLight16, 2, 5, 1, 0, 5, 8192, K,
       std::vector<uint32_t>(5, 0x07E0), std::vector<uint32_t>(5, A),
       {0x0400, 0x0400, 0x0400, 0x0400, 0x07E0}, {}},
      {"mixed group: key places keep the destination", nullptr, RkMaskLight16, 2, 4, 1, 0, 4, 512, K,
       {K, 0x4208, K, 0x4208}, {A, 0x1111, A, 0x2222}, {A, 0x8410, A, 0x8410}, {}},
      {"all-key group: nothing written", nullptr, RkMaskLight16, 2, 4, 1, 0, 4, 512, K,
       {K, K, K, K}, {A, 0x1111, A, 0x2222}, {A, 0x1111, A, 0x2222}, {}},
      {"key last pixel, factor's low byte 0: the pair step is skipped", nullptr, RkMaskLight16, 2, 3, 1, 0, 3, 2048, K,
       {0x4208, 0x4208, K}, {A, A, A}, {A, A, A}, {}},
      {"key last pixel, factor's low byte 1: the pair step runs", nullptr, RkMaskLight16, 2, 3, 1, 0, 3, 2056, K,
       {0x4208, 0x4208, K}, {A, A, A}, {0xFFFF, 0xFFFF, A}, {}},
      {"width 1, key last pixel: the pair step takes columns -2 and -1", nullptr, RkMaskLight16, 2, 3, 1, 2, 1, 512, K,
       {0x4208, 0x4208, K}, {A, A, A}, {0x8410, 0x8410, A}, {}},
      {"width 1, key last pixel, scale 0: nothing", nullptr, RkMaskLight16, 2, 3, 1, 2, 1, 0, K,
       {0x4208, 0x4208, K}, {A, A, A}, {A, A, A}, {}},
      {"depth 15: lanes take red with bit 15, single pixels without", nullptr, RkMaskLight15, 2, 5, 1, 0, 5, 256, K,
       std::vector<uint32_t>(5, 0x8400), std::vector<uint32_t>(5, A),
       {0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x0400}, {}},
      {"depth 15: a pair's lower green clips at 768", nullptr, RkMaskLight15, 2, 2, 1, 0, 2, 200, K,
       {0x03E0, 0x03E0}, {A, A}, {0x03E0, 0x0300}, {}},
      {"depth 15: bit 15 of the key is compared", nullptr, RkMaskLight15, 2, 2, 1, 0, 2, 256, 0x9234,
       {0x1234, 0x9234}, {A, A}, {0x1234, A}, {}},
      {"depth 24, odd last pixel: (s2, 0, 0)", nullptr, RkMaskLight24, 3, 1, 1, 0, 1, 512, 0x654321,
       {0x123456}, {B}, {0x000024}, {}},
      {"depth 24, odd last pixel: the key is compared with s2 alone", nullptr, RkMaskLight24, 3, 1, 1, 0, 1, 512, 0x12,
       {0x123456}, {B}, {B}, {}},
      {"depth 24 pair: saturating bytes", nullptr, RkMaskLight24, 3, 2, 1, 0, 2, 512, 0x654321,
       {0x80FF01, 0x000000}, {B, B}, {0xFFFF02, 0x000000}, {}},
      {"depth 24 pair with one key", nullptr, RkMaskLight24, 3, 2, 1, 0, 2, 256, 0x654321,
       {0x654321, 0x102030}, {B, B}, {B, 0x102030}, {}},
      {"depth 32: byte 3 cleared in every path, key without byte 3", nullptr, RkMaskLight32, 4, 5, 1, 0, 5, 256, 0xAA112233,
       {0xFF102030, 0xFF102030, 0x55112233, 0xFF102030, 0xFF102030}, {Q, Q, Q, Q, Q},
       {0x00102030, 0x00102030, Q, 0x00102030, 0x00102030}, {}},
  });
}

TEST(Brightness, MaskDarklePins) {
  const uint32_t A = 0xAAAA, K = 0x1234, B = 0xAAAAAA, Q = 0xAAAAAAAA;
  const std::vector<uint32_t> eight = {0x111111, 0x222222, 0x333333, 0x444444,
                                       0x555555, 0x666666, 0x777777, 0x888888};
  RunPins({
      {"level 0: non-key pixels black, keys kept", nullptr, RkMaskDarkle16, 2, 3, 1, 0, 3, 0, K,
       {0xFFFF, K, 0x1234 ^ 1}, {A, A, A}, {0, A, 0}, {}},
      {"key/non-key pair: red and blue of the higher pixel at the key's place", nullptr, RkMaskDarkle16, 2, 2, 1, 0, 2, 256, K,
       {K, 0xFFFF}, {A, A}, {0xF81F, A}, {}},
      {"key/non-key pair: green from the lone pixel's work value", nullptr, RkMaskDarkle16, 2, 3, 1, 0, 3, 128, K,
       {K, 0xFFFF, 0x0400}, {A, A, A}, {0x7A0F, A, 0x0200}, {}},
      {"key/non-key pair after a key lone pixel: green 0", nullptr, RkMaskDarkle16, 2, 3, 1, 0, 3, 128, K,
       {K, 0xFFFF, K}, {A, A, A}, {0x780F, A, A}, {}},
      {"non-key/key pair: the lower pixel at its own place", nullptr, RkMaskDarkle16, 2, 2, 1, 0, 2, 128, K,
       {0xFFFF, K}, {A, A}, {0x7BEF, A}, {}},
      {"group lanes: blue spills above 263", nullptr, RkMaskDarkle16, 2, 4, 1, 0, 4, 512, K,
       {0x001F, K, 0x001F, 0x001F}, {A, A, A, A}, {0x003E, A, 0x003E, 0x003E}, {}},
      {"depth 15 key/non-key pair: the higher pixel at the key's place", nullptr, RkMaskDarkle15, 2, 2, 1, 0, 2, 256, K,
       {K, 0x7FFF}, {A, A}, {0x7FFF, A}, {}},
      {"depth 15: lanes take red with bit 15, single pixels without", nullptr, RkMaskDarkle15, 2, 5, 1, 0, 5, 8, K,
       std::vector<uint32_t>(5, 0x8400), std::vector<uint32_t>(5, A), {0x0400, 0x0400, 0x0400, 0x0400, 0}, {}},
      {"depth 24, odd last pixel: (s2, 0, 0)", nullptr, RkMaskDarkle24, 3, 1, 1, 0, 1, 128, 0x654321,
       {0x123456}, {B}, {0x000009}, {}},
      {"depth 24, width 3: the first pair is read from byte 4c - 6", nullptr, RkMaskDarkle24, 3, 8, 1, 0, 3, 256, 0x654321,
       eight, std::vector<uint32_t>(8, B), {0x777777, 0x888888, 0x000033, B, B, B, B, B}, {}},
      {"depth 24, width 3, one key in the misread pair: written at 2c - 3", nullptr, RkMaskDarkle24, 3, 8, 1, 0, 3, 256, 0x777777,
       eight, std::vector<uint32_t>(8, B), {B, B, 0x000033, 0x888888, B, B, B, B}, {}},
      {"depth 24, one key in a pair: written at 2e - 3", nullptr, RkMaskDarkle24, 3, 4, 1, 0, 2, 256, 0x654321,
       {0x654321, 0x102030, B, B}, {B, B, B, B}, {B, B, B, 0x102030}, {}},
      {"depth 24, the misplaced write lands on a pair already drawn", nullptr, RkMaskDarkle24, 3, 4, 1, 0, 4, 256, 0x654321,
       {0x102030, 0x654321, 0x444444, 0x555555}, {B, B, B, B}, {B, B, 0x444444, 0x102030}, {}},
      {"depth 32: byte 3 scaled in a pair, cleared alone", nullptr, RkMaskDarkle32, 4, 5, 1, 0, 5, 128, 0x00654321,
       {0xC8808080, 0xC8808080, 0xC8808080, 0xFF654321, 0xC8808080}, {Q, Q, Q, Q, Q},
       {0x64404040, 0x64404040, 0x00404040, Q, 0x00404040}, {}},
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
