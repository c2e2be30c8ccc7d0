// Masked Light and Darkle rows whose destination does not overlap their source.
#include <algorithm>
#include <bit>
#include <cstring>

#include "brightness/fast_lanes.h"
#include "brightness/fast_loops.h"
#include "brightness/fast_rows.h"
#include "brightness/units.h"
#include "module/planes.h"

RK_NS_BEGIN
namespace bright {
namespace {

Row<RawMem> Raw(const RowArgs &r) { return Row<RawMem>{r, {}, {}, {}}; }

#if RK_NEON
// The level's low and high bytes over registers, the factor of the byte formulas on planes.
struct LevelBytes {
  uint8x16_t lo, hi;
  explicit LevelBytes(uint32_t s) : lo(vdupq_n_u8(s & 0xFF)), hi(vdupq_n_u8(s >> 8 & 0xFF)) {}
};
#endif

// Depths 16 and 15: the row's right end through the shared steps, then the groups of
// four as one keyed loop (a group of four keys rewritten unchanged is invisible here).
// Whole vectors first where the level has them (a key lane keeps the destination's
// value), then the plain keyed loop.
template <class Lanes, class Lane>
void MaskGroups1615(const RowArgs &r, Lanes lanes, Lane lane) {
  int64_t n = (r.w >> 2) * 8, done = 0;
#if RK_REGISTERS
  simd::V key = simd::R::Set16(Key16(r));
  done = simd::EachVector(n, [&](int64_t o) {
    simd::V w = simd::Loaded(r.s + o);
    simd::StoreUnlessEq16(r.d + o, w, key, [&] { return lanes(w); });
  });
#else
  (void)lanes;
#endif
  MapRowKeyed<2>(r.d + done, r.s + done, (n - done) / 2, Key16(r), 0xFFFF, lane);
}

template <class F>
void FastMaskLight1615(const RowArgs &r) {
  MaskLightEnd<F>(Raw(r));
  uint32_t k = LevelScale16(r.a);
#if RK_REGISTERS
  auto lanes = [kv = simd::R::Set16(k)](simd::V w) { return simd::MaskLightLanes<F>(w, kv); };
#else
  int lanes = 0;
#endif
  MaskGroups1615(r, lanes, [k](uint32_t p) { return MaskLightLane<F>(p, k); });
}

template <class F>
void FastMaskDarkle1615(const RowArgs &r) {
  MaskDarkleEnd<F>(Raw(r));
  uint32_t k = LevelScale16(r.a);
#if RK_REGISTERS
  auto lanes = [kv = simd::R::Set16(k)](simd::V w) { return simd::DarkleLanes<F, true>(w, kv); };
#else
  int lanes = 0;
#endif
  MaskGroups1615(r, lanes, [k](uint32_t p) { return DarkleLane<F, true>(p, k); });
}

// Depths 24 and 32 up to level 32767: a pixel alone and a pixel of a pair get the
// same bytes, so every non-key pixel of the pairs is drawn by one formula.
void FastMaskLight24(const RowArgs &r) {
  uint32_t s = r.a;
  MaskLone24(Raw(r), [s](uint32_t v) { return SatByte(v, s); });
  int64_t done = 0;
#if RK_NEON
  // 16 pixels a step in byte planes; the key pixels keep the destination.
  const planes::Key key(Key24(r));
  const LevelBytes level(s);
  done = planes::Steps<3, true>(r.d, r.s, 2 * Pairs(r),
                                [&](uint8x16x3_t p, int64_t, uint8x16_t &keep) {
                                  keep = key.Of(p);
                                  for (uint8x16_t &b : p.val)
                                    b = simd::SatBytes(b, level.lo, level.hi, vdupq_n_u8(0));
                                  return p;
                                }) /
         2;
#elif RK_REGISTERS
  // Whole blocks of pairs, the last one ending with the last pair: every byte of a
  // non-key pixel drawn.
  uint8_t *const dst = r.d;
  const uint8_t *const src = r.s;
  auto draw = [sv = simd::R::Set16(s)](simd::V px) { return simd::SatBytes(px, sv); };
  auto keep = [](uint64_t keys) { return keys * 7; };  // the key pixels' bytes
  simd::V pattern = simd::KeyPattern24<0>(Key24(r));
  int64_t full = simd::FullBlocks24(Pairs(r)), tail = simd::TailBlock24(Pairs(r));
  simd::EachBlock24(0, full, [&](int64_t b) {
    return simd::DrawBlock24<0>(dst, src, 6 * simd::kBlockPairs * b, pattern, keep, draw);
  });
  done = full * simd::kBlockPairs;
  if (done < Pairs(r) && tail >= 0) {
    simd::DrawBlock24<simd::kTailShift>(dst, src, tail,
                                        simd::KeyPattern24<simd::kTailShift>(Key24(r)), keep, draw);
    done = Pairs(r);
  }
#endif
  auto f = [s](uint32_t w) { return SatByte2(w, s); };
  for (int64_t lo = done; lo < Pairs(r); lo += kPairs24) {
    int64_t n = std::min(kPairs24, Pairs(r) - lo);
    MapPairs24<false>(r.d + 6 * lo, r.s + 6 * lo, n, Key24(r), f, nullptr);
  }
}

void FastMaskLight32(const RowArgs &r) {
  uint32_t s = r.a;
  auto f = [s](uint32_t v) { return SatByte(v, s); };
  MaskLone32(Raw(r), f);
  int64_t n = Pairs(r) * 8, done = 0;
#if RK_NEON
  const planes::Key key(Key24(r));
  const LevelBytes level(s);
  done = 4 * planes::Steps<4, true>(
                 r.d, r.s, 2 * Pairs(r), [&](uint8x16x4_t p, int64_t, uint8x16_t &keep) {
                   keep = key.Of(p);
                   for (int k = 0; k < 3; ++k)
                     p.val[k] = simd::SatBytes(p.val[k], level.lo, level.hi, vdupq_n_u8(0));
                   p.val[3] = vdupq_n_u8(0);
                   return p;
                 });
#elif RK_REGISTERS
  simd::V key = simd::R::Set32(Key24(r)), colour = simd::R::Set32(kColourBytes),
          sv = simd::R::Set16(s);
  done = simd::EachVector(n, [&](int64_t o) {
    simd::V w = simd::Loaded(r.s + o);
    simd::StoreUnlessEq32(r.d + o, simd::R::And(w, colour), key,
                          [&] { return simd::R::And(simd::SatBytes(w, sv), colour); });
  });
#endif
  MapRowKeyed<4>(r.d + done, r.s + done, (n - done) / 4, Key24(r), kColourBytes,
                 [f](uint32_t px) { return Bytes3(px, f); });
}

// A pixel drawn alone gets byte 3 cleared, a pixel of a non-key pair byte 3 scaled.
void FastMaskDarkle32(const RowArgs &r) {
  uint32_t s = r.a, key = Key24(r);
  MaskLone32(Raw(r), [s](uint32_t v) { return DarkleByte(v, s); });
  auto f = [s](uint32_t px) {
    return DarkleByte2(px & 0xFFFF, s) | DarkleByte2(px >> 16, s) << 16;
  };
  int64_t done = 0;
#if RK_NEON
  // A key pixel keeps the destination; a pixel whose partner is the key loses byte 3.
  const planes::Key keys(key);
  const LevelBytes level(s);
  done = 4 * planes::Steps<4, true>(r.d, r.s, 2 * Pairs(r),
                                    [&](uint8x16x4_t p, int64_t, uint8x16_t &keep) {
                                      keep = keys.Of(p);
                                      for (uint8x16_t &b : p.val)
                                        b = simd::DarkleBytes(b, level.lo, level.hi);
                                      p.val[3] = vbicq_u8(p.val[3], planes::Alone(keep));
                                      return p;
                                    });
#elif RK_REGISTERS
  // A key pixel keeps the destination; a pixel whose partner is the key loses byte 3.
  simd::V kv = simd::R::Set32(key), colour = simd::R::Set32(kColourBytes), sv = simd::R::Set16(s),
          top = simd::R::Set32(0xFF000000u);
  done = simd::EachVector(Pairs(r) * 8, [&](int64_t o) {
    simd::V w = simd::Loaded(r.s + o), c = simd::R::And(w, colour);
    simd::V partner = simd::R::And(simd::R::SwapPairs32(simd::R::Eq32(c, kv)), top);
    simd::StoreUnlessEq32(r.d + o, c, kv,
                          [&] { return simd::R::AndNot(partner, simd::DarkleBytes(w, sv)); });
  });
#endif
  MapPairs<4>(r.d + done, r.s + done, Pairs(r) - done / 8,
              [=](uint32_t a, uint32_t b, uint32_t oa, uint32_t ob, uint32_t &x, uint32_t &y) {
                bool ka = (a & kColourBytes) == key, kb = (b & kColourBytes) == key;
                x = ka ? oa : f(a) & (kb ? kColourBytes : ~0u);
                y = kb ? ob : f(b) & (ka ? kColourBytes : ~0u);
              });
}

// RkMaskDarkle24: the odd last pixel and the misread first pair through the shared
// steps, then the other pairs. Every pair of two non-key pixels is drawn at its own
// place first; then the pairs with one key pixel write their misplaced bytes, from the
// right. Those bytes lie right of their pair, on pairs the walk draws before it or
// past the row, so this is the walk's result. Where the level has vectors the pairs go
// in blocks (the keys found again only in a row that has such a pair); elsewhere in
// chunks of the plain loops, from the right, with NEON the chunks left of the last whole
// 16-pixel step in byte planes.
void FastMaskDarkle24(const RowArgs &r) {
  Row<RawMem> raw = Raw(r);
  uint32_t s = r.a;
  MaskLone24(raw, [s](uint32_t v) { return DarkleByte(v, s); });
  int64_t h = Pairs(r);
  if ((r.w & 1) && h > 0) MaskDarkle24Pair(raw, h--, true);
#if RK_REGISTERS && !RK_NEON  // with NEON the chunks of plain pairs are faster
  uint8_t *const dst = r.d;
  const uint8_t *const src = r.s;
  auto draw = [sv = simd::R::Set16(s)](simd::V px) { return simd::DarkleBytes(px, sv); };
  // Both pixels' bytes of a pair with a key pixel; the starts of pairs with one.
  auto keep = [](uint64_t keys) { return ((keys | keys >> 3) & simd::kPairStarts) * 63; };
  auto one = [](uint64_t keys) { return (keys ^ keys >> 3) & simd::kPairStarts; };
  // The misplaced writes of the pairs whose starts are `one`, counted from byte `from`,
  // the rightmost first; pairs left of pair `lo` are not this block's to do.
  auto misplaced = [&](uint64_t one, int64_t from, int64_t lo) {
    for (; one != 0;) {
      int i = 63 - std::countl_zero(one);
      int64_t p = (from + i) / 6;
      if (p < lo) break;
      MaskDarkle24Pair(raw, p + 1, false);
      one ^= uint64_t{1} << i;
    }
  };
  simd::V pattern = simd::KeyPattern24<0>(Key24(r));
  int64_t full = simd::FullBlocks24(h), tail = simd::TailBlock24(h), lo = full * simd::kBlockPairs;
  uint64_t any = simd::EachBlock24(0, full, [&](int64_t b) {
    return one(simd::DrawBlock24<0>(dst, src, 6 * simd::kBlockPairs * b, pattern, keep, draw));
  });
  if (lo < h && tail >= 0) {
    simd::V tailPattern = simd::KeyPattern24<simd::kTailShift>(Key24(r));
    uint64_t ones =
        one(simd::DrawBlock24<simd::kTailShift>(dst, src, tail, tailPattern, keep, draw));
    misplaced(ones, tail + simd::kTailShift, lo);
  } else {
    for (int64_t n = h; n > lo; --n) MaskDarkle24Pair(raw, n, false);
  }
  for (int64_t b = full - 1; any != 0 && b >= 0; --b) {
    int64_t o = 6 * simd::kBlockPairs * b;
    misplaced(one(simd::KeyPixels24<0>(simd::R::Load(src + o), pattern)), o, 0);
  }
#else
  // With NEON the pairs of whole 16-pixel steps from the left go in byte planes, after
  // the chunks right of them: the chunks' misplaced bytes lie right of their pairs.
  int64_t planed = 0;
#if RK_NEON
  planed = 2 * h / 16 * 8;
#endif
  uint8_t one[kPairs24 + 8];
  for (int64_t hi = h; hi > planed; hi -= kPairs24) {
    int64_t lo = std::max(hi - kPairs24, planed);
    auto n = static_cast<size_t>(std::clamp<int64_t>(hi - lo, 0, kPairs24));  // 1..kPairs24
    // The chunks go leftwards, which the hardware's stream detection follows poorly:
    // the next chunk's source and destination lines are asked for now.
    if (lo >= kPairs24) {
      for (int64_t b = 6 * (lo - kPairs24); b < 6 * lo; b += 64) {
        __builtin_prefetch(r.s + b);
        __builtin_prefetch(r.d + b, 1);
      }
    }
    auto f = [s](uint32_t w) { return DarkleByte2(w, s); };
    if (!MapPairs24<true>(r.d + 6 * lo, r.s + 6 * lo, n, Key24(r), f, one)) continue;
    std::memset(one + n, 0, 8);
    for (size_t p = 0; p < n; p += 8) {  // eight flags at a time; most are 0
      uint64_t m;
      std::memcpy(&m, one + p, 8);
      for (; m != 0; m &= m - 1) {
        MaskDarkle24Pair(raw, lo + static_cast<int64_t>(p) + std::countr_zero(m) / 8 + 1, false);
      }
    }
  }
#if RK_NEON
  // The steps' pairs of two non-key pixels at their places (a pair with a key keeps its
  // destination), then the misplaced bytes of the pairs with one key, from the right.
  const planes::Key key(Key24(r));
  const LevelBytes level(s);
  bool anyOne = false;
  planes::Steps<3, true>(r.d, r.s, 2 * planed, [&](uint8x16x3_t p, int64_t, uint8x16_t &keep) {
    const uint8x16_t k = key.Of(p), kp = vrev16q_u8(k);
    keep = vorrq_u8(k, kp);
    anyOne = anyOne || vmaxvq_u8(veorq_u8(k, kp)) != 0;
    for (uint8x16_t &b : p.val) b = simd::DarkleBytes(b, level.lo, level.hi);
    return p;
  });
  for (int64_t at = 2 * planed - 16; anyOne && at >= 0; at -= 16) {
    const uint8x16_t k = key.Of(vld3q_u8(r.s + 3 * at));
    for (uint64_t left = planes::LeftPixelBits(veorq_u8(k, vrev16q_u8(k))); left != 0;
         left &= ~(uint64_t{3} << (63 - std::countl_zero(left)))) {
      MaskDarkle24Pair(raw, (at + 63 - std::countl_zero(left)) / 2 + 1, false);
    }
  }
#endif
#endif
}

}  // namespace

void RegisterMaskFast(KernelTable &t) {
  t.Set(KernelId::RkMaskLight16, &FastMaskLight1615<Color16>);
  t.Set(KernelId::RkMaskLight15, &FastMaskLight1615<Color15>);
  t.Set(KernelId::RkMaskLight24, &FastMaskLight24);
  t.Set(KernelId::RkMaskLight32, &FastMaskLight32);
  t.Set(KernelId::RkMaskDarkle16, &FastMaskDarkle1615<Color16>);
  t.Set(KernelId::RkMaskDarkle15, &FastMaskDarkle1615<Color15>);
  t.Set(KernelId::RkMaskDarkle24, &FastMaskDarkle24);
  t.Set(KernelId::RkMaskDarkle32, &FastMaskDarkle32);
}

}  // namespace bright
RK_NS_END
