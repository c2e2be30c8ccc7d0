// The brightness formulas of arith.h on whole vectors of pixels, for the fast rows.
// Each gives, lane by lane, the bytes of its scalar counterpart (named in its comment),
// rearranged for fewer vector steps: a field's result is moved back into place by one
// shift and one mask, a product is capped by one signed minimum or one saturating add.
// The row loops cover whole vectors and leave the rest to the caller.
#pragma once

#include <cstdint>

#include "brightness/arith.h"
#include "brightness/fast_simd.h"

RK_NS_BEGIN
namespace bright {
namespace simd {

#if RK_REGISTERS

// The three fields of a 16/15-bit pixel from vectors holding each in its place (other
// bits of r, g and b are not looked at); bit 15 is 0 at depth 15.
template <class F>
inline V PackFields(V r, V g, V b) {
#if defined(__AVX512BW__)
  // Bitwise selects: depth 16's fields cover the word; depth 15 clears bit 15 first.
  if constexpr (F::kRShift == 10) r = R::And(r, R::Set16(F::kR));
  return R::Select(R::Set16(F::kR | 0x8000), r, R::Select(R::Set16(F::kB), b, g));
#else
  return R::Or3(R::And(r, R::Set16(F::kR)), R::And(g, R::Set16(F::kG)), R::And(b, R::Set16(F::kB)));
#endif
}

// LightPixel<F>: ((c * k) mod 65536 + round, saturated) >> 5, masked to the field.
template <class F>
inline V LightLanes(V w, V k) {
  V r = R::AddsU16(R::Mullo16(R::Srl16<F::kRShift>(w), k), R::Set16(31));
  V g = R::AddsU16(R::Mullo16(R::And(R::Srl16<5>(w), R::Set16(F::kGMax)), k),
                   R::Set16(kLightGreenRound<F>));
  V b = R::AddsU16(R::Mullo16(R::And(w, R::Set16(31)), k), R::Set16(31));
  return PackFields<F>(R::Sll16<F::kRShift - 5>(r), g, R::Srl16<5>(b));
}

// MaskLightLane<F>: a product above max * 32 (signed) gives max; capping it at
// max * 32 + 31 first leaves (product >> 5) & max to give both cases.
template <class F>
inline V MaskLightLanes(V w, V k) {
  V r = R::MinS16(R::Mullo16(R::Srl16<F::kRShift>(w), k), R::Set16(F::kRMax * 32 + 31));
  V g = R::MinS16(R::Mullo16(R::And(R::Srl16<5>(w), R::Set16(F::kGMax)), k),
                  R::Set16(F::kGMax * 32 + 31));
  V b = R::MinS16(R::Mullo16(R::And(w, R::Set16(31)), k), R::Set16(31 * 32 + 31));
  return PackFields<F>(R::Sll16<F::kRShift - 5>(r), g, R::Srl16<5>(b));
}

// DarkleLane<F, kRedWord>.
template <class F, bool kRedWord = false>
inline V DarkleLanes(V w, V k) {
  V rf = R::Srl16<F::kRShift>(w);
  if constexpr (!kRedWord && F::kRShift == 10) rf = R::And(rf, R::Set16(31));
  V r = R::And(R::Sll16<F::kRShift - 5>(R::Mullo16(rf, k)), R::Set16(F::kR));
  V g = R::And(R::Mullo16(R::And(R::Srl16<5>(w), R::Set16(F::kGMax)), k), R::Set16(F::kG));
  V b = R::Srl16<5>(R::Mullo16(R::And(w, R::Set16(31)), k));
  return R::Or3(r, g, b);
}

// DarkleByte on every byte: bits 8..15 of the byte's product wrapped in 16 bits.
inline V DarkleBytes(V w, V s) {
  V lo = R::Srl16<8>(R::Mullo16(R::And(w, R::Set16(0xFF)), s));
  V hi = R::And(R::Mullo16(R::Srl16<8>(w), s), R::Set16(0xFF00));
  return R::Or(lo, hi);
}
// LightByte on every byte, for a factor below 65536: the same bits 8..15, less one
// with 0 wrapping to 255.
inline V LightBytes(V w, V s) { return R::Sub8(DarkleBytes(w, s), R::Set16(0x0101)); }

// SatByte on every byte, for a factor below 32768: the high half of (v << 8) * s is
// (v * s) >> 8, below 32768, capped at 255.
inline V SatBytes(V w, V s) {
  V top = R::Set16(255);
  V lo = R::MinS16(R::MulhiU16(R::Sll16<8>(w), s), top);
  V hi = R::MinS16(R::MulhiU16(R::And(w, R::Set16(0xFF00)), s), top);
  return R::Or(lo, R::Sll16<8>(hi));
}

// Rows of 3-byte pixels in blocks of whole pairs: kBlockPairs pairs (6 bytes each) a
// vector, read and written kBytes at a time from the block's start. Bit i of a block's
// masks stands for its byte i.
inline constexpr int64_t kBlockPairs = kBytes / 6;
inline constexpr uint64_t kBlockBits = (uint64_t{1} << (6 * kBlockPairs)) - 1;
inline constexpr uint64_t kPixelStarts = 0x9249249249249249 & kBlockBits;  // every 3rd byte
inline constexpr uint64_t kPairStarts = 0x1041041041041041 & kBlockBits;   // every 6th byte

// A block's pairs begin kShift bytes into its vector: 0 for the blocks from a row's start,
// kTailShift for a last block that ends with the row's last pair.
inline constexpr int kTailShift = kBytes - 6 * kBlockPairs;

// Blocks from a row's start whose kBytes stay within its first `pairs` pairs.
inline int64_t FullBlocks24(int64_t pairs) {
  int64_t span = 6 * pairs - kBytes;
  return span < 0 ? 0 : span / (6 * kBlockPairs) + 1;
}
// The byte of the last block, which ends with pair `pairs` - 1, or -1 when the pairs are
// fewer than a vector's bytes.
inline int64_t TailBlock24(int64_t pairs) { return 6 * pairs >= kBytes ? 6 * pairs - kBytes : -1; }

// The key's three bytes repeated over a vector whose pixels begin kShift bytes in.
template <int kShift>
inline V KeyPattern24(uint32_t key) {
  return reg::KeyPattern24<R>(key, (3 - kShift % 3) % 3);
}
// The bits (counted from the block's first pair) of the pixel starts whose pixel is the key.
template <int kShift>
inline uint64_t KeyPixels24(V px, V pattern) {
  uint64_t eq = R::EqBits8(px, pattern) >> kShift;
  return eq & eq >> 1 & eq >> 2 & kPixelStarts;
}

// One block at byte o: fn(source vector) stored but for the bytes keep(key pixel bits)
// marks; returns the key pixel bits.
template <int kShift, class Keep, class Fn>
inline uint64_t DrawBlock24(uint8_t *d, const uint8_t *s, int64_t o, V pattern, Keep keep, Fn fn) {
  V px = Loaded(s + o);
  uint64_t keys = KeyPixels24<kShift>(px, pattern);
  uint64_t bits = (~keep(keys) & kBlockBits) << kShift;
  if (kBytes < 64 && bits == 0) return keys;  // all key: nothing to draw
  StoreBytes(d + o, fn(px), bits);
  return keys;
}

// fn(b) for blocks b0 .. b1 - 1; returns the bitwise or of what fn returns. Where a
// block's write reads and rewrites the kBytes from its start (past its own pairs), the
// even blocks go first and then the odd ones, so that no block reads bytes its
// neighbour has just stored (a load that would wait for that store).
#if defined(__AVX512BW__)
inline constexpr int64_t kBlockPasses = 1;
#else
inline constexpr int64_t kBlockPasses = 2;
#endif
template <class Fn>
inline uint64_t EachBlock24(int64_t b0, int64_t b1, Fn fn) {
  uint64_t any = 0;
  for (int64_t pass = 0; pass < kBlockPasses; ++pass) {
    for (int64_t b = b0 + pass; b < b1; b += kBlockPasses) any |= fn(b);
  }
  return any;
}

// d[i] = fn(s[i]) for the whole vectors of `bytes`; returns the bytes done. The
// destination is apart from the source or the very same bytes.
template <class Fn>
inline int64_t MapVectors(uint8_t *d, const uint8_t *s, int64_t bytes, Fn fn) {
  return EachVector(bytes, [&](int64_t o) { R::Store(d + o, fn(Loaded(s + o))); });
}
#endif  // RK_REGISTERS

#if RK_NEON
// The byte formulas on registers of 16 bytes with a factor per byte, as the NEON rows
// in byte planes (module/planes.h) hold them: a 16-bit factor as registers of its low
// and high bytes.

// Bits 8..23 of each byte's product with its factor, (v x low) >> 8 + v x high: at most
// 65280, in 16-bit lanes (bytes 0..7 in m0, 8..15 in m1).
struct Products {
  uint16x8_t m0, m1;
  Products(uint8x16_t v, uint8x16_t lo, uint8x16_t hi)
      : m0(vsraq_n_u16(vmull_u8(vget_low_u8(v), vget_low_u8(hi)),
                       vmull_u8(vget_low_u8(v), vget_low_u8(lo)), 8)),
        m1(vsraq_n_u16(vmull_high_u8(v, hi), vmull_high_u8(v, lo), 8)) {}
  uint8x16_t Low() const {  // bits 8..15
    return vuzp1q_u8(vreinterpretq_u8_u16(m0), vreinterpretq_u8_u16(m1));
  }
  uint8x16_t Top() const {  // bits 16..23
    return vuzp2q_u8(vreinterpretq_u8_u16(m0), vreinterpretq_u8_u16(m1));
  }
};

// SatByte, and where `above` is set LightChanByte16 of a pixel of a pair with a factor
// of 0x8000 or more: the byte saturates when bits 16..23 are above 0, or above v.
inline uint8x16_t SatBytes(uint8x16_t v, uint8x16_t lo, uint8x16_t hi, uint8x16_t above) {
  const Products m(v, lo, hi);
  return vorrq_u8(m.Low(), vcgtq_u8(m.Top(), vandq_u8(v, above)));
}
// DarkleByte with a 16-bit factor: bits 8..15 of the product.
inline uint8x16_t DarkleBytes(uint8x16_t v, uint8x16_t lo, uint8x16_t hi) {
  return Products(v, lo, hi).Low();
}
// DarkleByte with an 8-bit factor: the high byte of each 16-bit product.
inline uint8x16_t DarkleBytes8(uint8x16_t v, uint8x16_t c) {
  return vuzp2q_u8(vreinterpretq_u8_u16(vmull_u8(vget_low_u8(v), vget_low_u8(c))),
                   vreinterpretq_u8_u16(vmull_high_u8(v, c)));
}
// The bytes whose factor's high byte has its top bit set (0x8000 or more).
inline uint8x16_t TopSet(uint8x16_t hi) {
  return vreinterpretq_u8_s8(vshrq_n_s8(vreinterpretq_s8_u8(hi), 7));
}
#endif

}  // namespace simd
}  // namespace bright
RK_NS_END
