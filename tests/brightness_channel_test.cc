// Brightness blits through a channel plane: LightWithChannel, DarkleWithChannel and
// their keyed forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <vector>

#include "brightness/channel_arith.h"
#include "driver.h"
#include "module/dispatch.h"
#include "rkpix.h"

RKT_BLIT_DEPTHS(RkLightWithChannel, rkt::Args::kChannel, 2);
RKT_BLIT_DEPTHS(RkDarkleWithChannel, rkt::Args::kChannel, 1);
RKT_BLIT_DEPTHS(RkMaskLightWithChannel, rkt::Args::kChannelKey, 2);
RKT_BLIT_DEPTHS(RkMaskDarkleWithChannel, rkt::Args::kChannelKey, 1);

namespace {

using ChanFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                  int32_t, int32_t, int32_t, const RkSurface *, int32_t, int32_t);
using ChanKeyFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *,
                                     int32_t, int32_t, int32_t, int32_t, const RkSurface *, int32_t,
                                     int32_t, uint32_t);

// One call on surfaces of `rows` rows, the rectangle w x rows at column dx of the
// destination and sx of the source, the channel from column cx. Pixels are values
// (depth 24: 0xRRGGBB, byte 0 lowest); the channel plane has its own column count
// (chan.size() / rows). `same`: the source is the destination surface (dst unused).
struct Pin {
  const char *what;
  ChanFn fn;
  ChanKeyFn kfn;
  int bpp, elem, rows;
  int32_t dx, sx, w, cx;
  uint32_t key;
  bool same;
  std::vector<uint32_t> src, chan, dst, want;
};

void RunPins(const std::vector<Pin> &pins) {
  std::vector<rkt::Pin> all;
  for (const Pin &p : pins) {
    all.push_back({p.what,
                   p.fn ? rkt::Export(p.fn) : rkt::Export(p.kfn),
                   0,
                   p.key,
                   p.src,
                   p.dst,
                   p.want,
                   p.chan,
                   {},
                   p.rows,
                   {p.dx, 0, p.sx, 0, p.w, -1},
                   p.cx,
                   p.same});
  }
  rkt::CheckPins(all);
}

// Values worked out by hand from the members' formulas. Columns: what, function,
// keyed function, bytes a pixel, channel element size, rows, dstX, srcX, width,
// channelX, key, same surface, source, channel, destination, wanted destination.
// clang-format off
TEST(BrightnessChannel, LightPins) {
  const uint32_t A = 0xAAAA, B = 0xAAAAAA, Q = 0xAAAAAAAA;
  // Depth 15 with factor 2 (element 512): red 8 and green 4 double, blue 1 becomes 2.
  const uint32_t P = 0x2081, P2 = 0x4102, P4 = 0x0204;
  RunPins({
      // Width 7: the lone pixel, the pair and a group all take the same formula.
      {"16: k 32 wraps green, k 64 doubles, k 0 gives 0x0020, red 31 x 2 wraps to 30", RkLightWithChannel16, nullptr, 2, 2, 1, 0, 0, 7, 0, 0, false,
       {0xFFFF, 0x0841, 0xFFFF, 0xF800, 0xFFFF, 0x0841, 0xF800},
       {256, 512, 7, 512, 256, 512, 512}, {A, A, A, A, A, A, A},
       {0xF81F, 0x10A2, 0x0020, 0xF020, 0xF81F, 0x10A2, 0xF020}},
      {"16: red 31 x 2114 plus 31 saturates to 65535 instead of wrapping to 29", RkLightWithChannel16, nullptr, 2, 2, 1, 0, 0, 1, 0, 0, false,
       {0xF81F}, {16912}, {A}, {0xF83F}},
      {"15: bit 15 enters red as 32; result bit 15 clear", RkLightWithChannel15, nullptr, 2, 2, 1, 0, 0, 4, 0, 0, false,
       {0x8000, 0xFFFF, 0x8000, 0x7FFF}, {256, 256, 248, 256}, {A, A, A, A},
       {0x0000, 0x7FFF, 0x7C00, 0x7FFF}},
      {"15, width 2: the four-pixel step writes columns 2 and 3", RkLightWithChannel15, nullptr, 2, 2, 1, 0, 0, 2, 0, 0, false,
       {P, P, P, P, P}, {512, 512, 512, 512, 512}, {A, A, A, A, A}, {P2, P2, P2, P2, A}},
      {"15, width 2 at the end of the surface's memory: the two pixels beyond it are dropped", RkLightWithChannel15, nullptr, 2, 2, 1, 0, 0, 2, 0, 0, false,
       {P, P}, {512, 512}, {A, A}, {P2, P2}},
      {"15, width 3 in place: the lone pixel is lit twice, column 3 once", RkLightWithChannel15, nullptr, 2, 2, 1, 0, 0, 3, 0, 0, true,
       {P, P, P, P, P}, {512, 512, 512, 512, 512}, {}, {P2, P2, P4, P2, P}},
      {"24: a pair saturates below 0x8000 and wraps above; the lone pixel saturates", RkLightWithChannel24, nullptr, 3, 2, 1, 0, 0, 3, 0, 0, false,
       {0x020202, 0x0164C8, 0x020202}, {0x8000, 512, 0x8000}, {B, B, B},
       {0x000000, 0x02C8FF, 0xFFFFFF}},
      {"24: a pair with element 0x8000 takes bits 8..15 of -32768 v", RkLightWithChannel24, nullptr, 3, 2, 1, 0, 0, 2, 0, 0, false,
       {0x0301FF, 0x000000}, {0x8000, 0x8000}, {B, B}, {0x808080, 0x000000}},
      {"32: the fourth byte is written 0 on every path", RkLightWithChannel32, nullptr, 4, 2, 1, 0, 0, 3, 0, 0, false,
       {0xFF102030, 0x80FFFFFF, 0x12102030}, {256, 128, 512}, {Q, Q, Q},
       {0x00102030, 0x007F7F7F, 0x00204060}},
      {"a channel one column too narrow draws nothing", RkLightWithChannel16, nullptr, 2, 2, 1, 0, 0, 3, 0, 0, false,
       {0xFFFF, 0xFFFF, 0xFFFF}, {256, 256}, {A, A, A}, {A, A, A}},
      // Source one column right of the destination: the left group reads column 4
      // after the right group has stored into it.
      {"16: each group stored before the next is read", RkLightWithChannel16, nullptr, 2, 2, 1, 0, 1, 8, 0, 0, true,
       {0x0000, 0x0001, 0x0001, 0x0001, 0x0001, 0x0001, 0x0001, 0x0001, 0x0001},
       {512, 512, 512, 512, 512, 512, 512, 512},
       {}, {0x0022, 0x0022, 0x0022, 0x0064, 0x0022, 0x0022, 0x0022, 0x0022, 0x0001}},
  });
}

TEST(BrightnessChannel, DarklePins) {
  const uint32_t A = 0xAAAA, B = 0xAAAAAA, Q = 0xAAAAAAAA;
  RunPins({
      {"16: element 255 truncates white to 0xF7BE, below 8 gives black", RkDarkleWithChannel16, nullptr, 2, 1, 1, 0, 0, 7, 0, 0, false,
       {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}, {255, 7, 255, 128, 255, 255, 255},
       {A, A, A, A, A, A, A}, {0xF7BE, 0x0000, 0xF7BE, 0x7BEF, 0xF7BE, 0xF7BE, 0xF7BE}},
      {"15: bit 15 is not read and comes out 0", RkDarkleWithChannel15, nullptr, 2, 1, 1, 0, 0, 3, 0, 0, false,
       {0x8000, 0xFFFF, 0xFFFF}, {255, 255, 128}, {A, A, A}, {0x0000, 0x7BDE, 0x3DEF}},
      {"32: all four bytes halved", RkDarkleWithChannel32, nullptr, 4, 1, 1, 0, 0, 3, 0, 0, false,
       {0xFFFFFFFF, 0xFFFFFFFF, 0x01FF8002}, {128, 128, 255}, {Q, Q, Q},
       {0x7F7F7F7F, 0x7F7F7F7F, 0x00FE7F01}},
      {"24, width 2: the odd bytes of a pair are 0", RkDarkleWithChannel24, nullptr, 3, 1, 1, 0, 0, 2, 0, 0, false,
       {0xFFFFFF, 0xFFFFFF}, {255, 255}, {B, B}, {0xFE00FE, 0x00FE00}},
      {"24, width 1: the lone pixel comes out with bytes 0 and 2 exchanged", RkDarkleWithChannel24, nullptr, 3, 1, 1, 0, 0, 1, 0, 0, false,
       {0x302010}, {128}, {B}, {0x081018}},
      {"24, width 3: of the lone pixel's bytes at 4..6 only byte 6 survives", RkDarkleWithChannel24, nullptr, 3, 1, 1, 0, 0, 3, 0, 0, false,
       {0x302010, 0x605040, 0x908070}, {128, 128, 128}, {B, B, B}, {0x180008, 0x002800, 0xAAAA38}},
      {"24, width 5: the lone pixel's own bytes stay", RkDarkleWithChannel24, nullptr, 3, 1, 1, 0, 0, 5, 0, 0, false,
       {0x302010, 0x302010, 0x302010, 0x302010, 0x302010}, {128, 128, 128, 128, 128}, {B, B, B, B, B},
       {0x180008, 0x001000, 0x180008, 0x001000, B}},
      // Source one column right of the destination: with the next pair read before the
      // current one is stored, every pixel is darkened once.
      {"32: the next pair is read before the current one is stored", RkDarkleWithChannel32, nullptr, 4, 1, 1, 0, 1, 4, 0, 0, true,
       {0x10101010, 0x20202020, 0x40404040, 0x60606060, 0xFEFEFEFE}, {128, 128, 128, 128},
       {}, {0x10101010, 0x20202020, 0x30303030, 0x7F7F7F7F, 0xFEFEFEFE}},
      {"16: the next group is read before the current one is stored", RkDarkleWithChannel16, nullptr, 2, 1, 1, 0, 1, 8, 0, 0, true,
       {0, 0x0002, 0x0004, 0x0006, 0x0008, 0x000A, 0x000C, 0x000E, 0x0010},
       {128, 128, 128, 128, 128, 128, 128, 128},
       {}, {0x0001, 0x0002, 0x0003, 0x0004, 0x0005, 0x0006, 0x0007, 0x0008, 0x0010}},
  });
}

TEST(BrightnessChannel, MaskLightPins) {
  const uint32_t A = 0xAAAA, B = 0xAAAAAA, Q = 0xAAAAAAAA, K = 0x0001, KC = 0xABCD0001;
  const uint32_t W = 0xFFFF, G = 0x07E0;
  RunPins({
      {"16, element 0x2000: a group wraps the signed product, the pair's 13 bits give 0, the lone pixel saturates", nullptr, RkMaskLightWithChannel16, 2, 2, 1, 0, 0, 7, 0, KC, false,
       {G, G, G, G, G, G, G}, std::vector<uint32_t>(7, 0x2000), std::vector<uint32_t>(7, A),
       {0x0400, 0x0400, 0x0400, 0x0400, 0x0000, 0x0000, G}},
      {"16: white saturates in groups and alone; key pixels and an all-key group keep the destination", nullptr, RkMaskLightWithChannel16, 2, 2, 1, 0, 0, 9, 0, KC, false,
       {K, K, K, K, W, K, W, W, W}, std::vector<uint32_t>(9, 512), std::vector<uint32_t>(9, A),
       {A, A, A, A, W, A, W, W, W}},
      {"16, pair with the left pixel the key: the right one takes the left element", nullptr, RkMaskLightWithChannel16, 2, 2, 1, 0, 0, 2, 0, KC, false,
       {K, 0x0841}, {512, 256}, {A, A}, {A, 0x1082}},
      {"16, pair with the right pixel the key", nullptr, RkMaskLightWithChannel16, 2, 2, 1, 0, 0, 2, 0, KC, false,
       {0x0841, K}, {512, 256}, {A, A}, {0x1082, A}},
      {"15: bit 15 enters red in the groups only", nullptr, RkMaskLightWithChannel15, 2, 2, 1, 0, 0, 7, 0, KC, false,
       std::vector<uint32_t>(7, 0x8400), std::vector<uint32_t>(7, 256), std::vector<uint32_t>(7, A),
       {0x7C00, 0x7C00, 0x7C00, 0x7C00, 0x0400, 0x0400, 0x0400}},
      {"15: the key includes bit 15; a key pixel in a group keeps bit 15 of the destination", nullptr, RkMaskLightWithChannel15, 2, 2, 1, 0, 0, 4, 0, 0x8001, false,
       {0x8001, 0x0001, 0x7FFF, 0x7FFF}, {256, 256, 256, 256}, {A, A, A, A}, {A, 0x0001, 0x7FFF, 0x7FFF}},
      {"24, element 0x8000: a drawn pair wraps, a pixel drawn alone and the lone pixel saturate", nullptr, RkMaskLightWithChannel24, 3, 2, 1, 0, 0, 5, 0, 0x123456, false,
       {0x020202, 0x020202, 0x020202, 0x123456, 0x020202}, std::vector<uint32_t>(5, 0x8000), std::vector<uint32_t>(5, B),
       {0x000000, 0x000000, 0xFFFFFF, B, 0xFFFFFF}},
      {"32: the key ignores byte 3; the right pixel drawn alone takes the left element", nullptr, RkMaskLightWithChannel32, 4, 2, 1, 0, 0, 2, 0, 0xAA112233, false,
       {0x7F112233, 0xFF445566}, {512, 256}, {Q, Q}, {Q, 0x0088AACC}},
  });
}

TEST(BrightnessChannel, MaskDarklePins) {
  const uint32_t A = 0xAAAA, B = 0xAAAAAA, Q = 0xAAAAAAAA, K = 0x0001, KC = 0xABCD0001, W = 0xFFFF;
  const uint32_t D = 0xF7BE;  // white with element 255
  RunPins({
      {"32: a drawn pair scales byte 3, a pixel drawn alone writes it 0", nullptr, RkMaskDarkleWithChannel32, 4, 1, 1, 0, 0, 4, 0, 0x123456, false,
       {0xC8102030, 0xC8102030, 0xC8102030, 0x00123456}, {128, 128, 128, 128}, {Q, Q, Q, Q},
       {0x64081018, 0x64081018, 0x00081018, Q}},
      {"32, width 1: the lone pixel with its own element, byte 3 written 0", nullptr, RkMaskDarkleWithChannel32, 4, 1, 1, 0, 0, 1, 0, 0x123456, false,
       {0xC8FF8040}, {128}, {Q}, {0x007F4020}},
      {"24, right pixel the key: the left one lands reversed two bytes before the row", nullptr, RkMaskDarkleWithChannel24, 3, 1, 1, 1, 1, 2, 1, 0x123456, false,
       {0x000000, 0x302010, 0x123456}, {0, 128, 128}, {B, B, B}, {0x1018AA, 0xAAAA08, B}},
      {"24, right pixel the key at the surface's first byte: the two bytes before it are dropped", nullptr, RkMaskDarkleWithChannel24, 3, 1, 1, 0, 0, 2, 0, 0x123456, false,
       {0x302010, 0x123456}, {128, 128}, {B, B}, {0xAAAA08, B}},
      {"24, left pixel the key: the right one lands reversed at bytes 1 to 3", nullptr, RkMaskDarkleWithChannel24, 3, 1, 1, 0, 0, 2, 0, 0x123456, false,
       {0x123456, 0x302010}, {0, 128}, {B, B}, {0x1018AA, 0xAAAA08}},
      {"24, width 3: the lone pixel at its own place", nullptr, RkMaskDarkleWithChannel24, 3, 1, 1, 0, 0, 3, 0, 0x123456, false,
       {0x302010, 0x302010, 0x302010}, {128, 128, 128}, {B, B, B}, {0x181008, 0x181008, 0x181008}},
      {"16, drawn pair: A | B with the left element", nullptr, RkMaskDarkleWithChannel16, 2, 1, 1, 0, 0, 2, 0, KC, false,
       {0x0841, 0x1234}, {255, 16}, {A, A}, {0x603E, 0x0780}},
      {"16, right pixel the key: the left one, with the right element, lands on the right", nullptr, RkMaskDarkleWithChannel16, 2, 1, 1, 0, 0, 2, 0, KC, false,
       {W, K}, {255, 128}, {A, A}, {A, 0x7BEF}},
      {"16, left pixel the key: the right one with its own element", nullptr, RkMaskDarkleWithChannel16, 2, 1, 1, 0, 0, 2, 0, KC, false,
       {K, W}, {255, 128}, {A, A}, {A, 0x7BEF}},
      {"16, width 3: the lone pixel's element is at 2 x width, and 8 or more runs the pair", nullptr, RkMaskDarkleWithChannel16, 2, 1, 1, 0, 0, 3, 0, KC, false,
       {0x0841, 0x1234, W}, {255, 16, 7, 0, 0, 0, 128}, {A, A, A}, {0x603E, 0x0780, 0x7BEF}},
      {"16, width 3: below 8 the pair does not run", nullptr, RkMaskDarkleWithChannel16, 2, 1, 1, 0, 0, 3, 0, KC, false,
       {0x0841, 0x1234, W}, {255, 16, 128, 0, 0, 0, 7}, {A, A, A}, {A, A, 0x0000}},
      {"16, width 6, second row: the lone step runs, column 4 is left alone", nullptr, RkMaskDarkleWithChannel16, 2, 1, 2, 0, 0, 6, 0, KC, false,
       std::vector<uint32_t>(12, W),
       {255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0},
       std::vector<uint32_t>(12, A), {D, D, D, D, 0xF83F, 0x07E0, D, D, D, D, A, 0x0000}},
      {"16, width 5, second row: the pair runs on columns 3 and 4 with column 3's element", nullptr, RkMaskDarkleWithChannel16, 2, 1, 2, 0, 0, 5, 0, KC, false,
       std::vector<uint32_t>(10, W),
       {255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0,
        255, 255, 255, 16, 255, 0, 0, 0, 0, 0, 0},
       std::vector<uint32_t>(10, A), {D, D, D, D, 0x0000, D, D, D, 0x0861, 0x07E0}},
      {"16, width 1, second row: the pair at columns -1 and 0", nullptr, RkMaskDarkleWithChannel16, 2, 1, 2, 1, 1, 1, 1, KC, false,
       {W, W, W, 0x0841, 0x1234, W}, {255, 255, 255, 0, 255, 16, 16, 16},
       {A, A, A, A, A, A}, {A, 0x0000, A, 0x603E, 0x0780, A}},
      {"15, drawn pair: each pixel by the formula with the left element; bit 15 not read", nullptr, RkMaskDarkleWithChannel15, 2, 1, 1, 0, 0, 2, 0, KC, false,
       {0x7FFF, 0x9234}, {128, 255}, {A, A}, {0x3DEF, 0x090A}},
      {"15, the key includes bit 15: the right pixel with its own element", nullptr, RkMaskDarkleWithChannel15, 2, 1, 1, 0, 0, 2, 0, 0x8000, false,
       {0x8000, W}, {128, 255}, {A, A}, {A, 0x7BDE}},
  });
}
// clang-format on

// The 16-bit-lane form of the 24/32-bit Light byte formulas, used by the fast rows,
// against the formulas themselves on every byte and element.
TEST(BrightnessChannel, LightByteLanesMatchFormulas) {
  for (uint32_t c = 0; c < 65536; ++c) {
    for (uint32_t v = 0; v < 256; ++v) {
      ASSERT_EQ(rk::LightChanByte16(v, c, false), rk::SatByte(v, c)) << v << " x " << c;
      ASSERT_EQ(rk::LightChanByte16(v, c, true), rk::SatBytePair(v, c)) << v << " x " << c;
    }
  }
}

// Wide rows (the driver's rows are short), for the keyed members with the key in runs
// of every kind: stretches of 1 to 70 pixels that are all the key, free of it, or a
// third of them the key, so that the fast rows meet whole registers of key pixels, of
// drawn pixels and of both (the driver's scattered keys rarely give the first two);
// pixels one byte off the key among the others (random ones almost never are).
// Every level against the reference walk.
template <auto Fn, int Bpp, int Elem, bool kInPlace = false>
std::string WideRows(rkt::Rng &rng) {
  constexpr bool kKeyed = std::is_same_v<decltype(Fn), ChanKeyFn>;
  rkt::World w;
  auto width = static_cast<int32_t>(rng.Range(64, 900));
  auto rows = static_cast<int32_t>(rng.Range(1, 3));
  RkSurface src = rkt::NewSurface(w, rng, {width, rows, width * Bpp}, Bpp, true);
  RkSurface dst = kInPlace ? src : rkt::NewSurface(w, rng, {width, rows, width * Bpp}, Bpp, true);
  RkSurface chan = rkt::NewSurface(w, rng, {width, rows, width * Elem}, Elem, false);
  auto *px = static_cast<uint8_t *>(src.pixels);
  uint32_t key = rng.U32();
  const std::vector<double> share = {0.0, 1.0, 0.3};
  for (int32_t y = 0; kKeyed && y < rows; ++y) {
    for (int32_t x = 0; x < width;) {
      auto end = std::min<int32_t>(width, x + static_cast<int32_t>(rng.Range(1, 70)));
      double p = rng.Pick(share);
      for (; x < end; ++x) {
        // The key, or in a third of the other places a pixel one byte off it.
        uint32_t v = key;
        if (!rng.Chance(p)) {
          if (!rng.Chance(0.3)) continue;
          v ^= static_cast<uint32_t>(rng.Range(1, 255)) << (8 * rng.Range(0, std::min(Bpp, 3) - 1));
        }
        std::memcpy(px + (int64_t{y} * width + x) * Bpp, &v, Bpp == 4 ? 3 : Bpp);
      }
    }
  }
  auto x0 = static_cast<int32_t>(rng.Range(0, 3));
  auto wd = static_cast<int32_t>(width - x0 - rng.Range(0, 3));
  return rkt::CompareLevels(w, [&] {
    if constexpr (kKeyed) {
      Fn(&dst, x0, 0, &src, x0, 0, wd, rows, &chan, x0, 0, key);
    } else {
      Fn(&dst, x0, 0, &src, x0, 0, wd, rows, &chan, x0, 0);
    }
  });
}
#define WIDE_ROWS(fn, elem)                                    \
  RKT_DIFF(Wide##fn##16, (WideRows<Rk##fn##16, 2, elem>), 25); \
  RKT_DIFF(Wide##fn##15, (WideRows<Rk##fn##15, 2, elem>), 25); \
  RKT_DIFF(Wide##fn##24, (WideRows<Rk##fn##24, 3, elem>), 25); \
  RKT_DIFF(Wide##fn##32, (WideRows<Rk##fn##32, 4, elem>), 25)
WIDE_ROWS(LightWithChannel, 2);
WIDE_ROWS(DarkleWithChannel, 1);
WIDE_ROWS(MaskLightWithChannel, 2);
WIDE_ROWS(MaskDarkleWithChannel, 1);
// The destination its own source, where the fast rows take such rows.
RKT_DIFF(WideInPlaceLightWithChannel24, (WideRows<RkLightWithChannel24, 3, 2, true>), 15);
RKT_DIFF(WideInPlaceDarkleWithChannel24, (WideRows<RkDarkleWithChannel24, 3, 1, true>), 15);
RKT_DIFF(WideInPlaceMaskLightWithChannel24, (WideRows<RkMaskLightWithChannel24, 3, 2, true>), 15);

}  // namespace
