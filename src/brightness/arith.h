// Per-pixel and per-byte arithmetic of the brightness blits.
//
// Every formula takes its factor as an argument (`k` for the 16/15-bit pixel
// formulas, `s` for the byte formulas), so the same helpers serve a uniform level
// and a per-pixel factor read from a channel plane. The reference walks and the fast
// row kernels both compute through these helpers; only the order of the units
// differs between them.
//
// Width conventions: pixels arrive as the low 16 bits (16/15) of a uint32_t, bytes
// as 0..255. Where a formula works in 16-bit lanes it says so and reduces its
// products modulo 65536 itself, so callers may pass a factor wider than 16 bits.
#pragma once

#include <cstdint>
#include <type_traits>

#include "formats/pixel.h"
#include "module/isa.h"

RK_NS_BEGIN

// The factor of the 16/15-bit members: level >> 3 over 32.
constexpr uint32_t LevelScale16(uint32_t level) { return level >> 3; }

// ---------------------------------------------------------------------------------
// Light: rounding up, products wrap in 16 bits, the rounding add saturates.

// One field: ((c * k) mod 65536 + round, at most 65535) >> 5, masked to the field.
// There is no saturation at the field's top: a result past it wraps through the mask.
// Written in 16-bit steps so that the vectoriser keeps 16-bit lanes.
constexpr uint32_t LightField(uint32_t c, uint32_t k, uint32_t round, uint32_t max) {
  auto p = static_cast<uint16_t>(c * k);
  auto room = static_cast<uint16_t>(0xFFFF - round);
  auto t = static_cast<uint16_t>((p < room ? p : room) + round);  // saturating add
  return static_cast<uint16_t>(t >> 5) & max;
}

// Green rounds with 63 at depth 16, so a factor of 0 still leaves green at 1
// (every pixel becomes 0x0020); depth 15 rounds every field with 31.
template <class F>
inline constexpr uint32_t kLightGreenRound = std::is_same_v<F, Color16> ? 63 : 31;

// Depth 16 and 15. At depth 15 red is p >> 10 of the whole word: a set bit 15 enters
// red as 32 before the multiplication. The result's bit 15 is 0 at depth 15.
template <class F>
constexpr uint32_t LightPixel(uint32_t p, uint32_t k) {
  auto w = static_cast<uint16_t>(p);
  auto r = static_cast<uint16_t>(w >> F::kRShift), g = static_cast<uint16_t>(GreenOf<F>(w)),
       b = static_cast<uint16_t>(BlueOf<F>(w));
  return static_cast<uint16_t>(PackRgb<F>(LightField(r, k, 31, F::kRMax),
                                          LightField(g, k, kLightGreenRound<F>, F::kGMax),
                                          LightField(b, k, 31, F::kBMax)));
}

// Depths 24 and 32: the byte scaled by s/256 and truncated, then 255 added after the
// shift, so the result is one less with 0 wrapping to 255.
constexpr uint32_t LightByte(uint32_t v, uint32_t s) { return (((v * s) >> 8) + 255) & 0xFF; }

// ---------------------------------------------------------------------------------
// Darkle: truncating.

// The packed (lane) path of depths 16/15: products wrap in 16 bits; red and green are
// masked to their fields, blue is not (above factor 32 it spills into green and red).
// kRedWord: red is taken as p >> 10 of the whole word (the masked depth-15 groups),
// so a set bit 15 enters red as 32.
template <class F, bool kRedWord = false>
constexpr uint32_t DarkleLane(uint32_t p, uint32_t k) {
  auto w = static_cast<uint16_t>(p);
  uint32_t r = static_cast<uint16_t>(kRedWord ? w >> F::kRShift : RedOf<F>(w));
  auto red = static_cast<uint16_t>(static_cast<uint16_t>(r * k) << (F::kRShift - 5)) & F::kR;
  auto green = static_cast<uint16_t>(((w & F::kG) >> 5) * k) & F::kG;
  auto blue = static_cast<uint16_t>(BlueOf<F>(w) * k) >> 5;
  return static_cast<uint16_t>(red | green | blue);
}

// The single-pixel path of depths 16/15, with the full 32-bit factor: green moves to
// the upper half, one 32-bit product, shift, mask. Returns that masked work value
// (red and blue in the low half, green in the upper half).
template <class F>
constexpr uint32_t DarkleSingleWork(uint32_t p, uint32_t k) {
  uint32_t x = (p & F::kG) << 16 | (p & (F::kR | F::kB));
  return ((x * k) >> 5) & F::kPair;
}
// The work value folded into a pixel.
constexpr uint32_t FoldWork(uint32_t y) { return (y | y >> 16) & 0xFFFF; }
template <class F>
constexpr uint32_t DarkleSingle(uint32_t p, uint32_t k) {
  return FoldWork(DarkleSingleWork<F>(p, k));
}

// Depths 24 and 32, every path of the masked members too: bits 8..15 of the product
// (the packed lanes wrap it in 16 bits; a 32-bit product gives the same byte).
constexpr uint32_t DarkleByte(uint32_t v, uint32_t s) { return static_cast<uint16_t>(v * s) >> 8; }
// Both bytes of a 16-bit word.
constexpr uint32_t DarkleByte2(uint32_t w, uint32_t s) {
  return DarkleByte(w & 0xFF, s) | DarkleByte(w >> 8 & 0xFF, s) << 8;
}

// ---------------------------------------------------------------------------------
// Masked light: saturating at each field's top, no rounding constant.

// Single pixel (16/15): 32-bit products, min(product >> 5, field maximum). Red is the
// masked field (bit 15 of a depth-15 pixel takes no part).
constexpr uint32_t SatField(uint32_t c, uint32_t k, uint32_t max) {
  uint32_t t = (c * k) >> 5;
  return t > max ? max : t;
}
template <class F>
constexpr uint32_t MaskLightSingle(uint32_t p, uint32_t k) {
  return PackRgb<F>(SatField(RedOf<F>(p), k, F::kRMax), SatField(GreenOf<F>(p), k, F::kGMax),
                    SatField(BlueOf<F>(p), k, F::kBMax));
}

// The pair of two non-key pixels, computed in one 32-bit word: the lower-addressed
// pixel's green and blue saturate early (green at a product of 1792 at depth 16,
// green and blue at 768 otherwise), the higher one's like a single pixel.
constexpr uint32_t ThresholdField(uint32_t c, uint32_t k, uint32_t max, uint32_t from) {
  uint32_t t = c * k;
  return t >= from ? max : t >> 5;
}
template <class F>
constexpr uint32_t MaskLightPairLow(uint32_t p, uint32_t k) {
  constexpr uint32_t kGreenFrom = F::kGMax == 63 ? 1792 : 768;
  return PackRgb<F>(ThresholdField(RedOf<F>(p), k, F::kRMax, 1023),
                    ThresholdField(GreenOf<F>(p), k, F::kGMax, kGreenFrom),
                    ThresholdField(BlueOf<F>(p), k, F::kBMax, 768));
}
template <class F>
constexpr uint32_t MaskLightPairHigh(uint32_t p, uint32_t k) {
  return MaskLightSingle<F>(p, k);
}

// The group-of-four lanes: the product wraps in 16 bits and is compared as a signed
// 16-bit number, so a product of 32768 or more gives the wrapped bits, not the top.
// At depth 15 red is p >> 10 of the whole word (bit 15 adds 32 to red).
constexpr uint16_t LaneSatField(uint32_t c, uint32_t k, uint16_t max) {
  auto u = static_cast<uint16_t>(c * k);
  auto f = static_cast<uint16_t>((u >> 5) & max);
  return static_cast<int16_t>(u) > static_cast<int16_t>(max * 32) ? max : f;
}
template <class F>
constexpr uint32_t MaskLightLane(uint32_t p, uint32_t k) {
  auto w = static_cast<uint16_t>(p);
  uint16_t r = LaneSatField(w >> F::kRShift, k, F::kRMax);
  uint16_t g = LaneSatField(GreenOf<F>(w), k, F::kGMax);
  uint16_t b = LaneSatField(BlueOf<F>(w), k, F::kBMax);
  return static_cast<uint16_t>(static_cast<uint16_t>(r << F::kRShift) |
                               static_cast<uint16_t>(g << F::kGShift) | b);
}

// Depths 24 and 32, a byte done alone: min((v * s) >> 8, 255) with a 32-bit product.
constexpr uint32_t SatByte(uint32_t v, uint32_t s) {
  uint32_t t = (v * s) >> 8;
  return t > 255 ? 255 : t;
}
// Both bytes of a 16-bit word by SatByte, for factors up to 65535: the high half of
// (v << 8) * s is (v * s) >> 8, which keeps to 16-bit lanes.
constexpr uint32_t SatByte2(uint32_t w, uint32_t s) {
  auto k = static_cast<uint16_t>(s);
  auto lo = static_cast<uint16_t>((uint32_t{static_cast<uint16_t>(w << 8)} * k) >> 16);
  auto hi = static_cast<uint16_t>((uint32_t{static_cast<uint16_t>(w & 0xFF00)} * k) >> 16);
  return static_cast<uint16_t>((lo > 255 ? 255 : lo) | (hi > 255 ? 255 : hi) << 8);
}
// Depths 24 and 32, a byte of a packed pair: the factor is a signed 16-bit number; a
// signed product above 65280 gives 255, otherwise its bits 8..15. For factors below
// 0x8000 this equals SatByte; above, it wraps where SatByte saturates.
constexpr uint32_t SatBytePair(uint32_t v, uint32_t s) {
  int32_t t = static_cast<int32_t>(v) * static_cast<int16_t>(static_cast<uint16_t>(s));
  return t > 0xFF00 ? 255 : (static_cast<uint32_t>(t) >> 8) & 0xFF;
}

// ---------------------------------------------------------------------------------
// Byte-wise helpers for 3- and 4-byte pixels held in a uint32_t (byte 0 lowest).

template <class Fn>
constexpr uint32_t Bytes3(uint32_t px, Fn f) {
  return f(px & 0xFF) | f(px >> 8 & 0xFF) << 8 | f(px >> 16 & 0xFF) << 16;
}
template <class Fn>
constexpr uint32_t Bytes4(uint32_t px, Fn f) {
  return Bytes3(px, f) | f(px >> 24) << 24;
}

RK_NS_END
