// The translucent blits: the differential driver on every member, the blend
// formulas against the exact rule, and pinned rows for the irregular results.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "driver.h"
#include "rkpix.h"
#include "trans/blend.h"

RKT_BLIT_DEPTHS(RkTrans, rkt::Args::kA);
RKT_BLIT_DEPTHS(RkMaskTrans, rkt::Args::kAKey);
RKT_BLIT_DEPTHS(RkTransWithChannel, rkt::Args::kChannel, 1);
RKT_BLIT_DEPTHS(RkMaskTransWithChannel, rkt::Args::kChannelKey, 1);

namespace {

namespace tr = rk::trans;

// d + floor((s - d) * w / den), floor towards minus infinity.
int32_t Exact(int32_t s, int32_t d, int32_t w, int32_t den) {
  int32_t p = (s - d) * w;
  return d + (p >= 0 ? p / den : -((-p + den - 1) / den));
}

// For weights 0..31 both 16-bit forms give the exact rule on each field (bit 15 clear
// at 5-5-5); the unmasked blue lanes add their stray bits exactly when blue goes down.
template <class F>
void CheckForms(rkt::Rng &rng) {
  for (int i = 0; i < 20000; ++i) {
    uint32_t s = rng.U32() & 0xFFFF, d = rng.U32() & 0xFFFF;
    if (tr::kIs15<F>) s &= 0x7FFF, d &= 0x7FFF;
    auto w = static_cast<uint16_t>(rng.Range(0, 31));
    uint32_t want = 0;
    for (auto [mask, shift] : {std::pair{F::kR, F::kRShift}, {F::kG, F::kGShift}, {F::kB, 0}}) {
      want |= static_cast<uint32_t>(Exact(static_cast<int32_t>((s & mask) >> shift),
                                          static_cast<int32_t>((d & mask) >> shift), w, 32))
              << shift;
    }
    uint32_t down = (s & 0x1F) < (d & 0x1F) && w > 0;
    auto ls = static_cast<uint16_t>(s), ld = static_cast<uint16_t>(d);
    ASSERT_EQ(tr::SingleBlend<F>(s, d, w), want) << std::hex << s << " " << d << " w " << w;
    ASSERT_EQ(tr::LaneBlend<F>(ls, ld, w), want) << std::hex << s << " " << d << " w " << w;
    ASSERT_EQ((tr::LaneBlend<F, tr::Blue::kAdd16>(ls, ld, w)), want | down * 0x0800u);
    ASSERT_EQ((tr::LaneBlend<F, tr::Blue::kAddBytes>(ls, ld, w)), want | down * 0x0700u);
  }
}

TEST(TransForms, SixteenBitFormsAndByteRuleFollowTheExactRule) {
  rkt::Rng rng(rkt::BaseSeed());
  CheckForms<rk::Color16>(rng);
  CheckForms<rk::Color15>(rng);
  // The byte rule is the exact rule for weights 0..255; 256 copies.
  for (int32_t w = 0; w <= 256; ++w)
    for (int32_t s = 0; s < 256; s += 3)
      for (int32_t d = 0; d < 256; d += 5) {
        ASSERT_EQ(tr::ByteBlend(uint8_t(s), uint8_t(d), uint16_t(w)),
                  w == 256 ? s : Exact(s, d, w, 256))
            << s << " " << d << " w " << w;
      }
}

// Pixels are values: 16 bits, or bytes B, G, R[, fourth] from the lowest.
TEST(Trans, Pins) {
  const uint32_t K = 0x1234, M = 0xF81F, F = 0xFFFF, H = 0xF7BE;  // H: F over 0 at 31 of 32
  const uint32_t S = 0x8123, X = 0x80FFFFFF, Y = 0x12FF00FF;      // Y: colour 0xFF00FF
  // clang-format off
  rkt::CheckPins({
    {"255 of 32 is not opaque", RkTrans16, 255, 0, {F, F, F, F, F}, {0, 0, 0, 0, 0}, {H, H, H, H, H}},
    {"opacity below 8 returns", RkTrans15, 7, 0, {F}, {0x8001}, {0x8001}},
    // A bit 15 that differs adds (ts - td) * weight to red in pairs and groups; the
    // lone pixel ignores it. Written pixels lose bit 15.
    {"15: group, both sides", RkTrans15, 255, 0, {0x8000, 0, 0x8000, 0}, {0, 0x8000, 0x8000, 0}, {0x7C00, 0x0400, 0, 0}},
    {"15: pair and lone pixel differ", RkTrans15, 128, 0, {0x8000, 0x8000, 0x8000}, {0, 0, 0}, {0x4000, 0x4000, 0}},
    {"24: floor of 127.5 both ways", RkTrans24, 128, 0, {0x00FF00}, {0xFF00FF}, {0x7F7F7F}},
    // Pairs blend the fourth byte; the lone last pixel gets 0 there.
    {"32: width 3", RkTrans32, 128, 0, {0x80FF00FF, 0x80FF00FF, 0x80FF00FF}, {0xFF00, 0xFF00, 0xFF00}, {0x407F7F7F, 0x407F7F7F, 0x007F7F7F}},
    {"32: opacity 0 returns", RkTrans32, 0, 0, {0x11223344}, {0xAB000000}, {0xAB000000}},
    // The 16-bit keyed pair step reads the destination in place of the source.
    {"16 keyed: group, pair kept, lone pixel", RkMaskTrans16, 255, K, {F, F, F, F, F, F, F}, {0, 0, 0, 0, 0, 0, 0}, {H, H, H, H, 0, 0, H}},
    {"16 keyed: key pixel inside a group", RkMaskTrans16, 255, K, {F, K, F, F}, {0, 0x8001, 0, 0}, {H, 0x8001, H, H}},
    // At 5-5-5 a key pixel written back with weight 0 loses bit 15; one not written keeps it.
    {"15 keyed: mixed group", RkMaskTrans15, 128, K, {K, 0, K, K}, {0x8001, 0x8000, 0x8002, 0x8003}, {0x0001, 0x4000, 0x0002, 0x0003}},
    {"15 keyed: group of keys and lone key not written", RkMaskTrans15, 128, K, {K, K, K, K, K}, {0x8001, 0x8002, 0x8003, 0x8004, 0x8005}, {0x8001, 0x8002, 0x8003, 0x8004, 0x8005}},
    {"15 keyed: the pair reads the source", RkMaskTrans15, 255, K, {K, 0x7FFF}, {0x8005, 0}, {0x0005, 0x7BDE}},
    {"15 keyed: the key includes bit 15", RkMaskTrans15, 255, 0x9234, {0x1234}, {0}, {0x0E13}},
    {"24 keyed: key bits above 24 ignored", RkMaskTrans24, 128, 0xFF123456, {0x123456, 0xFFFFFF, 0x123456}, {0, 0, 0}, {0, 0x7F7F7F, 0}},
    // At 32 bits a pixel blended alone gets 0 in its fourth byte; the key ignores it.
    {"32 keyed: partner is the key; a pair", RkMaskTrans32, 128, 0xFF00FF, {X, Y, X, X}, {0x40000000, 0x55667788, 0, 0}, {0x007F7F7F, 0x55667788, 0x407F7F7F, 0x407F7F7F}},
    // Unmasked blue lanes: a borrow leaves bits 8..10 set in groups, bit 11 in pairs.
    {"15 channel: group, pair, lone pixel", RkTransWithChannel15, 0, 0, {0, 0, 0, 0, 0, 0, 0}, {0x1F, 0x1F, 0x1F, 0x1F, 0x1F, 0x1F, 0x1F}, {0x0700, 0x0700, 0x0700, 0x0700, 0x0800, 0x0800, 0}, {255, 255, 255, 255, 255, 255, 255}},
    {"16 channel: weight c >> 3 of 32", RkTransWithChannel16, 0, 0, {F, F, F, F}, {0, 0, 0, 0}, {0, 0x0020, 0x7BEF, H}, {7, 8, 128, 255}},
    {"15 channel: weight 0 clears bit 15 in every unit", RkTransWithChannel15, 0, 0, {S, S, S, S, S, S, S}, {S, S, S, S, S, S, S}, {0x0123, 0x0123, 0x0123, 0x0123, 0x0123, 0x0123, 0x0123}, {0, 7, 0, 7, 0, 7, 0}},
    {"24 channel: weight c of 256", RkTransWithChannel24, 0, 0, {0xFFFFFF, 0xFFFFFF, 0xFFFFFF}, {0, 0, 0}, {0x7F7F7F, 0xFEFEFE, 0}, {128, 255, 1}},
    {"32 channel: pairs blend the fourth byte; c 0 clears the lone one", RkTransWithChannel32, 0, 0, {0xFF000000, 0xFF000000, 0x11223344}, {0, 0, 0xAB112233}, {0x7F000000, 0xFE000000, 0x00112233}, {128, 255, 0}},
    // The masked members mask their blue lanes: no stray bits.
    {"16 channel keyed: no stray bits, key pixel kept", RkMaskTransWithChannel16, 0, M, {0, 0, 0, 0, 0, M}, {0x1F, 0x1F, 0x1F, 0x1F, 0x1F, 0x1234}, {0, 0, 0, 0, 0, 0x1234}, {255, 255, 255, 255, 255, 255}},
    {"15 channel keyed: key in a mixed pair loses bit 15; lone key kept", RkMaskTransWithChannel15, 0, K, {K, 0x8000, K}, {0x8001, 0, 0x8002}, {0x0001, 0x4000, 0x8002}, {255, 128, 255}},
    {"15 channel keyed: group of keys keeps bit 15", RkMaskTransWithChannel15, 0, K, {K, K, K, K}, {0x8001, 0x8002, 0x8003, 0x8004}, {0x8001, 0x8002, 0x8003, 0x8004}, {255, 255, 255, 255}},
    {"24 channel keyed: key bits above 24 ignored", RkMaskTransWithChannel24, 0, 0xFF123456, {0x123456, 0xFFFFFF, 0xFFFFFF}, {0xABCDEF, 0, 0}, {0xABCDEF, 0xFEFEFE, 0x7F7F7F}, {255, 255, 128}},
    {"32 channel keyed: pair, pair with one key, lone pixel", RkMaskTransWithChannel32, 0, 0xFF00FF, {X, X, Y, X, 0x11223344}, {0, 0, 0x55667788, 0x40000000, 0xAB112233}, {0x407F7F7F, 0x7FFEFEFE, 0x55667788, 0x00FEFEFE, 0x00112233}, {128, 255, 255, 255, 0}},
    // The plane holds the whole clipped rectangle or nothing is drawn; its position
    // moves with the left clip; column -1 lies outside the plane's memory: weight 0.
    {"channel one column short", RkTransWithChannel24, 0, 0, {0xFFFFFF, 0xFFFFFF}, {0, 0}, {0, 0}, {128}},
    {"channel moved one column too far", RkTransWithChannel24, 0, 0, {0xFFFFFF, 0xFFFFFF}, {0, 0}, {0, 0}, {128, 255}, {}, 1, {}, 1},
    {"left clip moves the plane", RkTransWithChannel24, 0, 0, {0xFFFFFF, 0xFFFFFF, 0xFFFFFF}, {0, 0, 0}, {0xFEFEFE, 0x3F3F3F, 0}, {128, 255, 64}, {}, 1, {-1, 0, 0, 0, 3, 1}},
    {"channel column -1", RkTransWithChannel24, 0, 0, {0xFFFFFF, 0xFFFFFF, 0xFFFFFF}, {0, 0, 0}, {0, 0x7F7F7F, 0xFEFEFE}, {128, 255, 64}, {}, 1, {}, -1},
    // One row blended onto itself one pixel right: the 16-bit units run right to
    // left (lone pixel, pair, groups), each reading its pixels before writing them.
    {"units right to left: two groups", RkTrans16, 255, 0, {F, F, F, F, 0, 0, 0, 0, 0}, {}, {F, F, F, F, H, 0, 0, 0, 0}, {}, {}, 1, {1, 0, 0, 0, 8, 1}, 0, true},
    {"units right to left: lone pixel, pair, group", RkTrans16, 255, 0, {F, F, F, F, F, F, 0, 0}, {}, {F, F, F, F, F, F, H, 0}, {}, {}, 1, {1, 0, 0, 0, 7, 1}, 0, true},
    // The source one byte right of the destination, opacity 256 (a copy): a unit reads
    // the byte its right neighbour already wrote. RkTrans24 walks bytes (the last (3w)
    // mod 4, then 4, then 8 at a time); the other members the lone pixel, then pairs.
    {"Trans24 bytes: 3 trailing, 4, 8", RkTrans24, 256, 0, {0xB2B1B0, 0xB5B4B3, 0xB8B7B6, 0xBBBAB9, 0xBEBDBC, 0xC1C0BF}, {}, {0xB3B2B1, 0xB6B5B4, 0xB9B9B7, 0xBDBBBA, 0xBFBEBD, 0xC1C0BF}, {}, {}, 1, {}, 0, true, 1},
    {"MaskTrans24: lone pixel, pairs", RkMaskTrans24, 256, 0, {0xB2B1B0, 0xB5B4B3, 0xB8B7B6, 0xBBBAB9, 0xBEBDBC, 0xC1C0BF}, {}, {0xB3B2B1, 0xB7B5B4, 0xB9B8B7, 0xBDBBBA, 0xBFBEBD, 0xC1C0BF}, {}, {}, 1, {}, 0, true, 1},
    {"Trans32: lone pixel (fourth byte 0), pair", RkTrans32, 256, 0, {0xB3B2B1B0, 0xB7B6B5B4, 0xBBBAB9B8, 0xBFBEBDBC}, {}, {0xB4B3B2B1, 0xB9B7B6B5, 0x00BBBAB9, 0xBFBEBDBC}, {}, {}, 1, {}, 0, true, 1},
  });
  // clang-format on
}

// A unit pattern repeated over a row of 72 pixels: wide enough for every level's
// whole-register bodies, with a plain tail at each of them.
std::vector<uint32_t> Row72(const std::vector<uint32_t> &unit) {
  std::vector<uint32_t> row;
  while (row.size() < 72) row.insert(row.end(), unit.begin(), unit.end());
  return row;
}

// The irregular results of the pins above, over whole rows of groups and pairs.
TEST(Trans, WideRowsKeepTheIrregularResults) {
  const uint32_t K = 0x1234, M = 0xF81F, X = 0x80FFFFFF, Y = 0x12FF00FF;
  // clang-format off
  rkt::CheckPins({
    {"15: bit 15 in groups", RkTrans15, 255, 0, Row72({0x8000, 0, 0x8000, 0}), Row72({0, 0x8000, 0x8000, 0}), Row72({0x7C00, 0x0400, 0, 0})},
    {"15 keyed: mixed groups lose bit 15, key groups keep it", RkMaskTrans15, 128, K, Row72({K, 0, K, K, K, K, K, K}), Row72({0x8001, 0x8000, 0x8002, 0x8003, 0x8004, 0x8005, 0x8006, 0x8007}), Row72({0x0001, 0x4000, 0x0002, 0x0003, 0x8004, 0x8005, 0x8006, 0x8007})},
    {"16 keyed: key pixels kept", RkMaskTrans16, 255, K, Row72({0xFFFF, K, 0xFFFF, 0xFFFF}), Row72({0, 0x8001, 0, 0}), Row72({0xF7BE, 0x8001, 0xF7BE, 0xF7BE})},
    {"15 channel: stray bits 8..10 in groups", RkTransWithChannel15, 0, 0, Row72({0}), Row72({0x1F}), Row72({0x0700}), Row72({255})},
    {"16 channel keyed: no stray bits", RkMaskTransWithChannel16, 0, M, Row72({0, M}), Row72({0x1F, 0x1234}), Row72({0, 0x1234}), Row72({255})},
    {"24: bytes", RkTrans24, 128, 0, Row72({0x00FF00}), Row72({0xFF00FF}), Row72({0x7F7F7F})},
    {"24 channel keyed: key kept, own weights", RkMaskTransWithChannel24, 0, 0xFF123456, Row72({0x123456, 0xFFFFFF, 0xFFFFFF}), Row72({0xABCDEF, 0, 0}), Row72({0xABCDEF, 0xFEFEFE, 0x7F7F7F}), Row72({255, 255, 128})},
    {"32 keyed: a pixel whose partner is the key loses its fourth byte", RkMaskTrans32, 128, 0xFF00FF, Row72({X, Y, X, X}), Row72({0x40000000, 0x55667788, 0, 0}), Row72({0x007F7F7F, 0x55667788, 0x407F7F7F, 0x407F7F7F})},
    {"32 channel: pairs blend the fourth byte", RkTransWithChannel32, 0, 0, Row72({0xFF000000, 0xFF000000}), Row72({0}), Row72({0x7F000000, 0xFE000000}), Row72({128, 255})},
  });
  // clang-format on
}

// Wide 24-bit rows (the driver's rows are short) with the key in runs of 1 to 90
// pixels that are all the key, free of it, or a third of them the key, so that the
// whole-register bodies meet steps of key pixels only, of drawn pixels only and of
// both, and pixels one byte off the key among the others; also in place (the
// destination its own source). Every level against the reference walk.
enum class Shape24 { kKey, kChannel, kChannelKey };
template <Shape24 kShape, bool kInPlace>
std::string WideRows24(rkt::Rng &rng) {
  rkt::World w;
  auto width = static_cast<int32_t>(rng.Range(64, 700));
  auto rows = static_cast<int32_t>(rng.Range(1, 3));
  RkSurface src = rkt::NewSurface(w, rng, {width, rows, width * 3}, 3, true);
  RkSurface dst = kInPlace ? src : rkt::NewSurface(w, rng, {width, rows, width * 3}, 3, true);
  RkSurface chan = rkt::NewSurface(w, rng, {width, rows, width}, 1, false);
  auto *px = static_cast<uint8_t *>(src.pixels);
  const uint32_t key = rng.U32();
  const std::vector<double> share = {0.0, 1.0, 0.3};
  for (int64_t i = 0; i < int64_t{width} * rows;) {
    const int64_t end = std::min<int64_t>(int64_t{width} * rows, i + rng.Range(1, 90));
    const double p = rng.Pick(share);
    for (; i < end; ++i) {
      // The key, or in a third of the other places a pixel one byte off it.
      uint32_t v = key;
      if (!rng.Chance(p)) {
        if (!rng.Chance(0.3)) continue;
        v ^= static_cast<uint32_t>(rng.Range(1, 255)) << (8 * rng.Range(0, 2));
      }
      std::memcpy(px + 3 * i, &v, 3);
    }
  }
  const auto x0 = static_cast<int32_t>(rng.Range(0, 3));
  const auto wd = static_cast<int32_t>(width - x0 - rng.Range(0, 3));
  const auto a = static_cast<uint32_t>(rng.Range(0, 256));
  return rkt::CompareLevels(w, [&] {
    if constexpr (kShape == Shape24::kKey) {
      RkMaskTrans24(&dst, x0, 0, &src, x0, 0, wd, rows, a, key);
    } else if constexpr (kShape == Shape24::kChannel) {
      RkTransWithChannel24(&dst, x0, 0, &src, x0, 0, wd, rows, &chan, x0, 0);
    } else {
      RkMaskTransWithChannel24(&dst, x0, 0, &src, x0, 0, wd, rows, &chan, x0, 0, key);
    }
  });
}
RKT_DIFF(WideMaskTrans24, (WideRows24<Shape24::kKey, false>), 25);
RKT_DIFF(WideTransWithChannel24, (WideRows24<Shape24::kChannel, false>), 25);
RKT_DIFF(WideMaskTransWithChannel24, (WideRows24<Shape24::kChannelKey, false>), 25);
RKT_DIFF(WideInPlaceMaskTrans24, (WideRows24<Shape24::kKey, true>), 15);
RKT_DIFF(WideInPlaceMaskTransWithChannel24, (WideRows24<Shape24::kChannelKey, true>), 15);

// Frames of tight rows drawn whole, over enough bytes that the row walk hands them
// to the fast kernel joined, in several pieces; widths of every remainder mod 4, so
// that some join and some do not. Every level against the reference walk.
template <auto Fn, int Bpp, rkt::Args kArgs>
std::string JoinedFrames(rkt::Rng &rng) {
  if (!rkt::World::LargeSurfaces()) return {};
  rkt::World w;
  auto width = static_cast<int32_t>(rng.Range(700, 1500));
  const int64_t minRows = 300'000 / (int64_t{width} * Bpp);
  auto rows = static_cast<int32_t>(rng.Range(minRows, minRows + 40));
  RkSurface src = rkt::NewSurface(w, rng, {width, rows, width * Bpp}, Bpp, true);
  RkSurface dst = rkt::NewSurface(w, rng, {width, rows, width * Bpp}, Bpp, true);
  RkSurface chan = rkt::NewSurface(w, rng, {width, rows, width}, 1, false);
  const auto a = static_cast<uint32_t>(rng.Range(0, 256));
  const uint32_t key = rkt::PlantKey(rng, src, Bpp);
  const rkt::BlitCall call{&dst, 0, 0, &src, 0, 0, width, rows, &chan, 0, 0, a, key};
  return rkt::CompareLevels(
      w, [&] { rkt::CallBlit(reinterpret_cast<rkt::AnyExport>(Fn), kArgs, call); });
}
#define JOINED_FRAMES(fn, args)                                 \
  RKT_DIFF(Joined##fn##16, (JoinedFrames<fn##16, 2, args>), 4); \
  RKT_DIFF(Joined##fn##15, (JoinedFrames<fn##15, 2, args>), 4); \
  RKT_DIFF(Joined##fn##24, (JoinedFrames<fn##24, 3, args>), 4); \
  RKT_DIFF(Joined##fn##32, (JoinedFrames<fn##32, 4, args>), 4)
JOINED_FRAMES(RkTrans, rkt::Args::kA);
JOINED_FRAMES(RkMaskTrans, rkt::Args::kAKey);
JOINED_FRAMES(RkTransWithChannel, rkt::Args::kChannel);
JOINED_FRAMES(RkMaskTransWithChannel, rkt::Args::kChannelKey);

}  // namespace
