// A small set of 16- and 32-bit lane operations for the brightness rows, one vector
// width per level: 512 bits with AVX-512BW, 256 with AVX2, 128 with SSE2. Where no
// x86 vector unit is known, kSimd is false and the rows keep their plain loops.
// Only fast translation units include this.
#pragma once

#include <cstdint>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "module/isa.h"

RK_NS_BEGIN
namespace bright {
namespace simd {

#if defined(__AVX512BW__)
inline constexpr bool kSimd = true;
using V = __m512i;
inline constexpr int kBytes = 64;
inline V Load(const uint8_t *p) { return _mm512_loadu_si512(p); }
inline void Store(uint8_t *p, V v) { _mm512_storeu_si512(p, v); }
inline V Set16(uint32_t x) { return _mm512_set1_epi16(static_cast<int16_t>(x)); }
inline V Set32(uint32_t x) { return _mm512_set1_epi32(static_cast<int32_t>(x)); }
inline V And(V a, V b) { return _mm512_and_si512(a, b); }
inline V AndNot(V a, V b) { return _mm512_ternarylogic_epi32(a, b, b, 0x0C); }  // ~a & b
// 32-bit lanes 0 1 2 3 ... as 1 0 3 2 ...
inline V SwapPairs32(V a) { return _mm512_maskz_shuffle_epi32(0xFFFF, a, _MM_PERM_CDAB); }
inline V Or(V a, V b) { return _mm512_or_si512(a, b); }
inline V Or3(V a, V b, V c) { return _mm512_ternarylogic_epi32(a, b, c, 0xFE); }
template <int N>
inline V Shl16(V a) {
  return _mm512_slli_epi16(a, N);
}
template <int N>
inline V Shr16(V a) {
  return _mm512_srli_epi16(a, N);
}
inline V MulLo16(V a, V b) { return _mm512_mullo_epi16(a, b); }
inline V MulHi16(V a, V b) { return _mm512_mulhi_epu16(a, b); }
inline V AddSat16(V a, V b) { return _mm512_adds_epu16(a, b); }
inline V MinS16(V a, V b) { return _mm512_min_epi16(a, b); }
inline V Sub8(V a, V b) { return _mm512_sub_epi8(a, b); }
inline V EqMask16(V a, V b) { return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b)); }
inline V EqMask32(V a, V b) { return _mm512_movm_epi32(_mm512_cmpeq_epi32_mask(a, b)); }
// m ? a : b, lane by lane, for masks of whole lanes.
inline V Select(V m, V a, V b) { return _mm512_ternarylogic_epi32(m, a, b, 0xCA); }
// Bit i: byte i of a equals byte i of b.
inline uint64_t EqBits8(V a, V b) { return _mm512_cmpeq_epi8_mask(a, b); }
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
#elif defined(__SSE2__)
// AVX2 and SSE2 differ only in width (and in Select).
#if defined(__AVX2__)
using V = __m256i;
inline constexpr int kBytes = 32;
#define RK_MM(op) _mm256_##op
#define RK_SI(op) _mm256_##op##_si256
#else
using V = __m128i;
inline constexpr int kBytes = 16;
#define RK_MM(op) _mm_##op
#define RK_SI(op) _mm_##op##_si128
#endif
inline constexpr bool kSimd = true;
inline V Load(const uint8_t *p) { return RK_SI(loadu)(reinterpret_cast<const V *>(p)); }
inline void Store(uint8_t *p, V v) { RK_SI(storeu)(reinterpret_cast<V *>(p), v); }
inline V Set16(uint32_t x) { return RK_MM(set1_epi16)(static_cast<int16_t>(x)); }
inline V Set32(uint32_t x) { return RK_MM(set1_epi32)(static_cast<int32_t>(x)); }
inline V And(V a, V b) { return RK_SI(and)(a, b); }
inline V AndNot(V a, V b) { return RK_SI(andnot)(a, b); }  // ~a & b
inline V SwapPairs32(V a) { return RK_MM(shuffle_epi32)(a, 0xB1); }
inline V Or(V a, V b) { return RK_SI(or)(a, b); }
inline V Or3(V a, V b, V c) { return Or(Or(a, b), c); }
template <int N>
inline V Shl16(V a) {
  return RK_MM(slli_epi16)(a, N);
}
template <int N>
inline V Shr16(V a) {
  return RK_MM(srli_epi16)(a, N);
}
inline V MulLo16(V a, V b) { return RK_MM(mullo_epi16)(a, b); }
inline V MulHi16(V a, V b) { return RK_MM(mulhi_epu16)(a, b); }
inline V AddSat16(V a, V b) { return RK_MM(adds_epu16)(a, b); }
inline V MinS16(V a, V b) { return RK_MM(min_epi16)(a, b); }
inline V Sub8(V a, V b) { return RK_MM(sub_epi8)(a, b); }
inline V EqMask16(V a, V b) { return RK_MM(cmpeq_epi16)(a, b); }
inline V EqMask32(V a, V b) { return RK_MM(cmpeq_epi32)(a, b); }
inline uint64_t EqBits8(V a, V b) {
  return static_cast<uint32_t>(RK_MM(movemask_epi8)(RK_MM(cmpeq_epi8)(a, b)));
}
#if defined(__AVX2__)
inline V Select(V m, V a, V b) { return _mm256_blendv_epi8(b, a, m); }
// 0xFF in byte i where bit i is set: each byte of the 32 bits to the bytes it covers.
inline V BitsToBytes(uint64_t bits) {
  const V spread = _mm256_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1, 2, 2, 2, 2, 2,
                                    2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3);
  const V bit = _mm256_set1_epi64x(0x8040201008040201);
  V b = _mm256_shuffle_epi8(_mm256_set1_epi32(static_cast<int32_t>(bits)), spread);
  return _mm256_cmpeq_epi8(_mm256_and_si256(b, bit), bit);
}
#else
inline V Select(V m, V a, V b) { return Or(And(m, a), AndNot(m, b)); }
// 0xFF in byte i where bit i is set, eight bits at a time from a table.
struct ByteMasks {
  uint64_t of[256];
  constexpr ByteMasks() : of() {
    for (int b = 0; b < 256; ++b) {
      for (int i = 0; i < 8; ++i) of[b] |= (b >> i & 1) ? uint64_t{0xFF} << (8 * i) : 0;
    }
  }
};
inline constexpr ByteMasks kByteMasks{};
inline V BitsToBytes(uint64_t bits) {
  return _mm_set_epi64x(static_cast<int64_t>(kByteMasks.of[bits >> 8 & 0xFF]),
                        static_cast<int64_t>(kByteMasks.of[bits & 0xFF]));
}
#endif
inline void StoreBytes(uint8_t *p, V v, uint64_t bits) {
  Store(p, Select(BitsToBytes(bits), v, Load(p)));
}
// Lanes marked in eq keep the destination's value; nothing is stored where all are.
template <class Fn>
inline void StoreWhereNot(uint8_t *p, V eq, Fn value) {
  if (static_cast<uint32_t>(RK_MM(movemask_epi8)(eq)) == (uint64_t{1} << kBytes) - 1) return;
  Store(p, Select(eq, Load(p), value()));
}
template <class Fn>
inline void StoreUnlessEq16(uint8_t *p, V a, V b, Fn value) {
  StoreWhereNot(p, EqMask16(a, b), value);
}
template <class Fn>
inline void StoreUnlessEq32(uint8_t *p, V a, V b, Fn value) {
  StoreWhereNot(p, EqMask32(a, b), value);
}
#undef RK_MM
#undef RK_SI
#else
inline constexpr bool kSimd = false;
#endif

#if defined(__SSE2__)
// A vector loaded once into a register: the compiler would otherwise fold the load
// into each of the vector's uses, loading the same bytes again for each.
inline V Loaded(const uint8_t *p) {
  V v = Load(p);
  __asm__("" : "+x"(v));
  return v;
}

// Every vector of a row of `bytes` bytes: fn(offset) for offsets 0, kBytes, ... while a
// whole vector fits; returns the first offset not done.
template <class Fn>
inline int64_t EachVector(int64_t bytes, Fn fn) {
  int64_t o = 0;
  for (; o + kBytes <= bytes; o += kBytes) fn(o);
  return o;
}
#endif

}  // namespace simd
}  // namespace bright
RK_NS_END
