// The brightness rows' register (the level's widest, module/registers.h) and their
// stores of some bytes or lanes only. Where no vector unit is known, kSimd is
// false and the rows keep their plain loops.
// Only fast translation units include this.
#pragma once

#include <cstdint>

#include "module/registers.h"

RK_NS_BEGIN
namespace bright {
namespace simd {

#if RK_REGISTERS
inline constexpr bool kSimd = true;
using R = reg::R;
using V = R::T;
inline constexpr int kBytes = R::kBytes;
using reg::Loaded;

#if defined(__AVX512BW__)
// Stores the bytes of v whose bit is set in `bits`; the others keep their value.
inline void StoreBytes(uint8_t *p, V v, uint64_t bits) { _mm512_mask_storeu_epi8(p, bits, v); }
// Stores the 16-bit (32-bit) lanes of value() where a and b differ; the others keep
// their value. (The narrower levels skip a vector whose lanes are all equal.)
template <class Fn>
inline void StoreUnlessEq16(uint8_t *p, V a, V b, Fn value) {
  _mm512_mask_storeu_epi16(p, _mm512_cmpneq_epi16_mask(a, b), value());
}
template <class Fn>
inline void StoreUnlessEq32(uint8_t *p, V a, V b, Fn value) {
  _mm512_mask_storeu_epi32(p, _mm512_cmpneq_epi32_mask(a, b), value());
}
#else
inline void StoreBytes(uint8_t *p, V v, uint64_t bits) {
  R::Store(p, R::Select(R::BytesOf(bits), v, R::Load(p)));
}
// Lanes marked in eq keep the destination's value; nothing is stored where all are.
template <class Fn>
inline void StoreWhereNot(uint8_t *p, V eq, Fn value) {
  if (R::All(eq)) return;
  R::Store(p, R::Select(eq, R::Load(p), value()));
}
template <class Fn>
inline void StoreUnlessEq16(uint8_t *p, V a, V b, Fn value) {
  StoreWhereNot(p, R::Eq16(a, b), value);
}
template <class Fn>
inline void StoreUnlessEq32(uint8_t *p, V a, V b, Fn value) {
  StoreWhereNot(p, R::Eq32(a, b), value);
}
#endif

// Every vector of a row of `bytes` bytes: fn(offset) for offsets 0, kBytes, ... while a
// whole vector fits; returns the first offset not done.
template <class Fn>
inline int64_t EachVector(int64_t bytes, Fn fn) {
  int64_t o = 0;
  for (; o + kBytes <= bytes; o += kBytes) fn(o);
  return o;
}
#else
inline constexpr bool kSimd = false;
#endif

}  // namespace simd
}  // namespace bright
RK_NS_END
