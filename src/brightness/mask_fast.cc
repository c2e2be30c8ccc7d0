// Masked Light and Darkle rows whose destination does not overlap their source.
#include <algorithm>
#include <bit>
#include <cstring>

#include "brightness/fast_lanes.h"
#include "brightness/fast_loops.h"
#include "brightness/fast_rows.h"
#include "brightness/units.h"

RK_NS_BEGIN
namespace bright {
namespace {

Row<RawMem> Raw(const RowArgs &r) { return Row<RawMem>{r, {}, {}, {}}; }

// Depths 16 and 15: the row's right end through the shared steps, then the groups of
// four as one keyed loop (a group of four keys rewritten unchanged is invisible here).
// Whole vectors first where the level has them (a key lane keeps the destination's
// value), then the plain keyed loop.
template <class Lanes, class Lane>
void MaskGroups1615(const RowArgs &r, Lanes lanes, Lane lane) {
  int64_t n = (r.w >> 2) * 8, done = 0;
#if defined(__SSE2__)
  simd::V key = simd::Set16(Key16(r));
  done = simd::MapVectorsOld(r.d, r.s, n, [=](simd::V w, simd::V old) {
    return simd::Select(simd::EqMask16(w, key), old, lanes(w));
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
#if defined(__SSE2__)
  auto lanes = [kv = simd::Set16(k)](simd::V w) { return simd::MaskLightLanes<F>(w, kv); };
#else
  int lanes = 0;
#endif
  MaskGroups1615(r, lanes, [k](uint32_t p) { return MaskLightLane<F>(p, k); });
}

template <class F>
void FastMaskDarkle1615(const RowArgs &r) {
  MaskDarkleEnd<F>(Raw(r));
  uint32_t k = LevelScale16(r.a);
#if defined(__SSE2__)
  auto lanes = [kv = simd::Set16(k)](simd::V w) { return simd::DarkleLanes<F, true>(w, kv); };
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
  auto f = [s](uint32_t w) { return SatByte2(w, s); };
  for (int64_t lo = 0; lo < Pairs(r); lo += kPairs24) {
    int64_t n = std::min(kPairs24, Pairs(r) - lo);
    MapPairs24<false>(r.d + 6 * lo, r.s + 6 * lo, n, Key24(r), f, nullptr);
  }
}

void FastMaskLight32(const RowArgs &r) {
  uint32_t s = r.a;
  auto f = [s](uint32_t v) { return SatByte(v, s); };
  MaskLone32(Raw(r), f);
  int64_t n = Pairs(r) * 8, done = 0;
#if defined(__SSE2__)
  simd::V key = simd::Set32(Key24(r)), colour = simd::Set32(kColourBytes), sv = simd::Set16(s);
  done = simd::MapVectorsOld(r.d, r.s, n, [=](simd::V w, simd::V old) {
    simd::V m = simd::EqMask32(simd::And(w, colour), key);
    return simd::Select(m, old, simd::And(simd::SatBytes(w, sv), colour));
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
#if defined(__SSE2__)
  // A key pixel keeps the destination; a pixel whose partner is the key loses byte 3.
  simd::V kv = simd::Set32(key), colour = simd::Set32(kColourBytes), sv = simd::Set16(s),
          top = simd::Set32(0xFF000000u);
  done = simd::MapVectorsOld(r.d, r.s, Pairs(r) * 8, [=](simd::V w, simd::V old) {
    simd::V m = simd::EqMask32(simd::And(w, colour), kv);
    simd::V partner = simd::And(simd::SwapPairs32(m), top);
    return simd::Select(m, old, simd::AndNot(partner, simd::DarkleBytes(w, sv)));
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
// steps, then the other pairs in chunks from the right: first every pair of two
// non-key pixels at its own place, then the pairs with one key pixel, whose misplaced
// bytes lie on pairs further right (drawn before them in the walk) or past the row.
void FastMaskDarkle24(const RowArgs &r) {
  Row<RawMem> raw = Raw(r);
  uint32_t s = r.a;
  MaskLone24(raw, [s](uint32_t v) { return DarkleByte(v, s); });
  int64_t h = Pairs(r);
  if ((r.w & 1) && h > 0) MaskDarkle24Pair(raw, h--, true);
  uint8_t one[kPairs24 + 8];
  for (int64_t hi = h; hi > 0; hi -= kPairs24) {
    int64_t lo = hi > kPairs24 ? hi - kPairs24 : 0;
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
