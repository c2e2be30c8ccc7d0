// Vector forms of the channel members' per-pixel formulas, written once over a small
// set of register operations: 256-bit (AVX2, also used by the AVX-512 build) and
// 128-bit (SSE2). Every formula works in 16-bit lanes exactly as its scalar form in
// channel_arith.h / arith.h, so results are the same bit for bit. Only included by the
// fast translation units.
#pragma once

#include <cstdint>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

#include "brightness/channel_arith.h"
#include "module/isa.h"

RK_NS_BEGIN
namespace bright {
namespace vec {

#if defined(__AVX2__)
// 256-bit registers: 16 pixels of 2 bytes, 8 of 4 bytes. Unpacks and packs work per
// 128-bit half, and the element layouts below follow that.
struct V256 {
  using T = __m256i;
  static constexpr int kBytes = 32;
  static T Load(const uint8_t *p) { return _mm256_loadu_si256(reinterpret_cast<const T *>(p)); }
  static void Store(uint8_t *p, T v) { _mm256_storeu_si256(reinterpret_cast<T *>(p), v); }
  static T Zero() { return _mm256_setzero_si256(); }
  static T Set16(uint32_t v) { return _mm256_set1_epi16(static_cast<int16_t>(v)); }
  static T Set32(uint32_t v) { return _mm256_set1_epi32(static_cast<int32_t>(v)); }
  static T Set64(uint64_t v) { return _mm256_set1_epi64x(static_cast<int64_t>(v)); }
  static T And(T a, T b) { return _mm256_and_si256(a, b); }
  static T AndNot(T a, T b) { return _mm256_andnot_si256(a, b); }  // ~a & b
  static T Or(T a, T b) { return _mm256_or_si256(a, b); }
  static T Xor(T a, T b) { return _mm256_xor_si256(a, b); }
  static T AddsU16(T a, T b) { return _mm256_adds_epu16(a, b); }
  static T Mullo16(T a, T b) { return _mm256_mullo_epi16(a, b); }
  static T MulhiU16(T a, T b) { return _mm256_mulhi_epu16(a, b); }
  static T MinU16(T a, T b) { return _mm256_min_epu16(a, b); }
  template <int N>
  static T Srl16(T a) {
    return _mm256_srli_epi16(a, N);
  }
  template <int N>
  static T Sll16(T a) {
    return _mm256_slli_epi16(a, N);
  }
  static T CmpEq16(T a, T b) { return _mm256_cmpeq_epi16(a, b); }
  static T CmpEq32(T a, T b) { return _mm256_cmpeq_epi32(a, b); }
  static T CmpGt16(T a, T b) { return _mm256_cmpgt_epi16(a, b); }
  static T Lo16(T a, T b) { return _mm256_unpacklo_epi16(a, b); }
  static T Select(T m, T a, T b) { return _mm256_blendv_epi8(b, a, m); }  // m ? a : b
  static T SwapPairs32(T a) { return _mm256_shuffle_epi32(a, 0xB1); }
  static T OrIfGt16(T x, T a, T b) { return Or(x, CmpGt16(a, b)); }  // x | (a > b, signed)
  static T SelectEq16(T a, T b, T yes, T no) { return Select(CmpEq16(a, b), yes, no); }
  static T LeftPix(T a) { return _mm256_shuffle_epi32(a, 0xA0); }  // 32-bit lanes 0,0,2,2
  static bool Any(T m) { return _mm256_movemask_epi8(m) != 0; }
  // kBytes / 2 channel elements of CE bytes as 16-bit lanes, in order.
  template <int CE>
  static T Elems16(const uint8_t *c) {
    if constexpr (CE == 2) return Load(c);
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(c)));
  }
  // kBytes / 4 elements as 16-bit lanes, half h holding elements 4h..4h+3 in its low
  // 64 bits (the pixels that half holds).
  template <int CE>
  static T Elems32(const uint8_t *c) {
    __m128i e;
    if constexpr (CE == 2) {
      e = _mm_loadu_si128(reinterpret_cast<const __m128i *>(c));
    } else {
      e = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(c)));
    }
    return _mm256_permute4x64_epi64(_mm256_castsi128_si256(e), 0x50);
  }
};
#endif

#if defined(__AVX512BW__)
// 512-bit registers (AVX-512BW): 32 pixels of 2 bytes, 16 of 4 bytes. Comparisons give
// whole-lane vector masks as the narrower registers do.
struct V512 {
  using T = __m512i;
  static constexpr int kBytes = 64;
  static T Load(const uint8_t *p) { return _mm512_loadu_si512(p); }
  static void Store(uint8_t *p, T v) { _mm512_storeu_si512(p, v); }
  static T Zero() { return _mm512_setzero_si512(); }
  static T Set16(uint32_t v) { return _mm512_set1_epi16(static_cast<int16_t>(v)); }
  static T Set32(uint32_t v) { return _mm512_set1_epi32(static_cast<int32_t>(v)); }
  static T Set64(uint64_t v) { return _mm512_set1_epi64(static_cast<int64_t>(v)); }
  static T And(T a, T b) { return _mm512_and_si512(a, b); }
  static T AndNot(T a, T b) { return _mm512_andnot_si512(a, b); }
  static T Or(T a, T b) { return _mm512_or_si512(a, b); }
  static T Xor(T a, T b) { return _mm512_xor_si512(a, b); }
  static T AddsU16(T a, T b) { return _mm512_adds_epu16(a, b); }
  static T Mullo16(T a, T b) { return _mm512_mullo_epi16(a, b); }
  static T MulhiU16(T a, T b) { return _mm512_mulhi_epu16(a, b); }
  static T MinU16(T a, T b) { return _mm512_min_epu16(a, b); }
  template <int N>
  static T Srl16(T a) {
    return _mm512_srli_epi16(a, N);
  }
  template <int N>
  static T Sll16(T a) {
    return _mm512_slli_epi16(a, N);
  }
  static T CmpEq16(T a, T b) { return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b)); }
  static T CmpEq32(T a, T b) { return _mm512_movm_epi32(_mm512_cmpeq_epi32_mask(a, b)); }
  static T CmpGt16(T a, T b) { return _mm512_movm_epi16(_mm512_cmpgt_epi16_mask(a, b)); }
  static T Lo16(T a, T b) { return _mm512_unpacklo_epi16(a, b); }
  static T Select(T m, T a, T b) { return _mm512_ternarylogic_epi32(m, a, b, 0xCA); }
  static T SwapPairs32(T a) { return _mm512_shuffle_epi32(a, _MM_PERM_CDAB); }
  // Compares into mask registers, used directly.
  static T OrIfGt16(T x, T a, T b) {
    return _mm512_mask_mov_epi16(x, _mm512_cmpgt_epi16_mask(a, b), _mm512_set1_epi16(-1));
  }
  static T SelectEq16(T a, T b, T yes, T no) {
    return _mm512_mask_blend_epi16(_mm512_cmpeq_epi16_mask(a, b), no, yes);
  }
  static T LeftPix(T a) { return _mm512_shuffle_epi32(a, _MM_PERM_CCAA); }
  static bool Any(T m) { return _mm512_test_epi8_mask(m, m) != 0; }
  template <int CE>
  static T Elems16(const uint8_t *c) {
    if constexpr (CE == 2) return Load(c);
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(c)));
  }
  template <int CE>
  static T Elems32(const uint8_t *c) {
    __m256i e;
    if constexpr (CE == 2) {
      e = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(c));
    } else {
      e = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(c)));
    }
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 0, 1, 1, 2, 2, 3, 3),
                                    _mm512_castsi256_si512(e));
  }
};
#endif

#if defined(__SSE2__)
// 128-bit registers with SSE2 alone: 8 pixels of 2 bytes, 4 of 4 bytes.
struct V128 {
  using T = __m128i;
  static constexpr int kBytes = 16;
  static T Load(const uint8_t *p) { return _mm_loadu_si128(reinterpret_cast<const T *>(p)); }
  static void Store(uint8_t *p, T v) { _mm_storeu_si128(reinterpret_cast<T *>(p), v); }
  static T Zero() { return _mm_setzero_si128(); }
  static T Set16(uint32_t v) { return _mm_set1_epi16(static_cast<int16_t>(v)); }
  static T Set32(uint32_t v) { return _mm_set1_epi32(static_cast<int32_t>(v)); }
  static T Set64(uint64_t v) { return _mm_set1_epi64x(static_cast<int64_t>(v)); }
  static T And(T a, T b) { return _mm_and_si128(a, b); }
  static T AndNot(T a, T b) { return _mm_andnot_si128(a, b); }
  static T Or(T a, T b) { return _mm_or_si128(a, b); }
  static T Xor(T a, T b) { return _mm_xor_si128(a, b); }
  static T AddsU16(T a, T b) { return _mm_adds_epu16(a, b); }
  static T Mullo16(T a, T b) { return _mm_mullo_epi16(a, b); }
  static T MulhiU16(T a, T b) { return _mm_mulhi_epu16(a, b); }
  static T MinU16(T a, T b) { return _mm_sub_epi16(a, _mm_subs_epu16(a, b)); }
  template <int N>
  static T Srl16(T a) {
    return _mm_srli_epi16(a, N);
  }
  template <int N>
  static T Sll16(T a) {
    return _mm_slli_epi16(a, N);
  }
  static T CmpEq16(T a, T b) { return _mm_cmpeq_epi16(a, b); }
  static T CmpEq32(T a, T b) { return _mm_cmpeq_epi32(a, b); }
  static T CmpGt16(T a, T b) { return _mm_cmpgt_epi16(a, b); }
  static T Lo16(T a, T b) { return _mm_unpacklo_epi16(a, b); }
  static T Select(T m, T a, T b) {
    return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
  }
  static T SwapPairs32(T a) { return _mm_shuffle_epi32(a, 0xB1); }
  static T OrIfGt16(T x, T a, T b) { return Or(x, CmpGt16(a, b)); }
  static T SelectEq16(T a, T b, T yes, T no) { return Select(CmpEq16(a, b), yes, no); }
  static T LeftPix(T a) { return _mm_shuffle_epi32(a, 0xA0); }
  static bool Any(T m) { return _mm_movemask_epi8(m) != 0; }
  template <int CE>
  static T Elems16(const uint8_t *c) {
    if constexpr (CE == 2) return Load(c);
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const T *>(c)), Zero());
  }
  template <int CE>
  static T Elems32(const uint8_t *c) {
    if constexpr (CE == 2) return _mm_loadl_epi64(reinterpret_cast<const T *>(c));
    int32_t four;
    __builtin_memcpy(&four, c, 4);
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), Zero());
  }
};
#endif

// a > b for unsigned 16-bit lanes.
template <class V>
typename V::T CmpGtU16(typename V::T a, typename V::T b) {
  auto bias = V::Set16(0x8000);
  return V::CmpGt16(V::Xor(a, bias), V::Xor(b, bias));
}

// ---------------------------------------------------------------------------------
// 16/15-bit pixels, one per 16-bit lane, e the channel elements.

// The formulas below keep shifts few (two ports) by leaving fields in place where the
// arithmetic allows and shifting right through the multiplier: MulhiU16(x, 1 << (16 - n))
// is x >> n.

// LightChanPixel: products wrap, the rounding add saturates, fields wrap by masking.
// A rounded field t lands in place as (t >> 5 & max) << shift, which is t shifted left
// by shift - 5 and masked (green, at shift 5, is t masked).
template <class V, class F>
typename V::T LightPix(typename V::T p, typename V::T e) {
  auto k = V::template Srl16<3>(e);
  auto r = V::template Srl16<F::kRShift>(p);  // depth 15: bit 15 enters red
  auto g = V::MulhiU16(V::And(p, V::Set16(F::kG)), V::Set16(1u << (16 - F::kGShift)));
  auto b = V::And(p, V::Set16(F::kB));
  auto tr = V::AddsU16(V::Mullo16(r, k), V::Set16(31));
  auto tg = V::AddsU16(V::Mullo16(g, k), V::Set16(kLightGreenRound<F>));
  auto tb = V::AddsU16(V::Mullo16(b, k), V::Set16(31));
  auto red = V::And(V::template Sll16<F::kRShift - 5>(tr), V::Set16(F::kR));
  auto green = V::And(tg, V::Set16(F::kG));
  auto blue = V::And(V::template Srl16<5>(tb), V::Set16(F::kB));
  return V::Or(V::Or(red, green), blue);
}

// DarkleChanPixel (DarkleLane with k = element >> 3, at most 31 for a channel byte).
// With k11 = k << 11, MulhiU16(field in place, k11) is the field times k shifted right
// by 16 - 11 - (the field's shift): for blue (x k) >> 5, for green and red the product
// in place; no product reaches past 16 bits, so the masks cut exactly what the
// per-field formula keeps.
template <class V, class F>
typename V::T DarklePix(typename V::T p, typename V::T e) {
  auto k11 = V::template Sll16<8>(V::And(e, V::Set16(0xF8)));
  auto red = V::And(V::MulhiU16(V::And(p, V::Set16(F::kR)), k11), V::Set16(F::kR));
  auto green = V::And(V::MulhiU16(V::And(p, V::Set16(F::kG)), k11), V::Set16(F::kG));
  auto blue = V::MulhiU16(V::And(p, V::Set16(F::kB)), k11);
  return V::Or(V::Or(red, green), blue);
}

// MaskLightLane with k = element >> 3: a product above max x 32 as a signed 16-bit
// number gives the field's top, otherwise its masked bits. The all-ones compare result
// ORed in before the field's mask gives the top.
template <class V, class F>
typename V::T MaskLightPix(typename V::T p, typename V::T e) {
  auto k = V::template Srl16<3>(e);
  // x with the all-ones of u above max x 32 ORed in.
  auto over = [&](typename V::T x, typename V::T u, uint32_t max) {
    return V::OrIfGt16(x, u, V::Set16(max * 32));
  };
  auto ur = V::Mullo16(V::template Srl16<F::kRShift>(p), k);
  auto ug =
      V::Mullo16(V::MulhiU16(V::And(p, V::Set16(F::kG)), V::Set16(1u << (16 - F::kGShift))), k);
  auto ub = V::Mullo16(V::And(p, V::Set16(F::kB)), k);
  auto red = V::And(over(V::template Sll16<F::kRShift - 5>(ur), ur, F::kRMax), V::Set16(F::kR));
  auto green = V::And(over(ug, ug, F::kGMax), V::Set16(F::kG));
  auto blue = V::And(over(V::template Srl16<5>(ub), ub, F::kBMax), V::Set16(F::kB));
  return V::Or(V::Or(red, green), blue);
}

// Destination pixel i = fn(source pixel i, element i) for whole registers of 16-bit
// pixels from the left, a key pixel keeping the destination when kKeyed. Each register
// is loaded before it is stored, so the destination may be the source. Returns the
// pixels done.
template <class V, int CE, bool kKeyed, class Fn>
int64_t Rows16(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count, uint32_t key, Fn fn) {
  constexpr int kN = V::kBytes / 2;
  const auto k = V::Set16(key & 0xFFFF);
  int64_t i = 0;
  for (; i + kN <= count; i += kN) {
    auto p = V::Load(s + 2 * i);
    auto v = fn(p, V::template Elems16<CE>(c + CE * i));
#if defined(__AVX512BW__)
    if constexpr (kKeyed && V::kBytes == 64) {
      _mm512_mask_storeu_epi16(d + 2 * i, ~_mm512_cmpeq_epi16_mask(p, k), v);
      continue;
    }
#endif
    if constexpr (kKeyed) v = V::SelectEq16(p, k, V::Load(d + 2 * i), v);
    V::Store(d + 2 * i, v);
  }
  return i;
}

// ---------------------------------------------------------------------------------
// 3- and 4-byte pixels held in 32-bit lanes, worked on as bytes in 16-bit lanes.

// Each pixel's element in both 16-bit halves of its 32-bit lane.
template <class V, int CE>
typename V::T ElemsPix(const uint8_t *c) {
#if defined(__AVX512BW__)
  if constexpr (V::kBytes == 64) {
    // One word permute: element i to both words of 32-bit lane i.
    alignas(64) static constexpr uint16_t kDup[32] = {0,  0,  1,  1,  2,  2,  3,  3,  4,  4,  5,
                                                      5,  6,  6,  7,  7,  8,  8,  9,  9,  10, 10,
                                                      11, 11, 12, 12, 13, 13, 14, 14, 15, 15};
    __m256i e;
    if constexpr (CE == 2) {
      e = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(c));
    } else {
      e = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(c)));
    }
    return _mm512_permutexvar_epi16(_mm512_load_si512(kDup), _mm512_castsi256_si512(e));
  }
#endif
  auto e = V::template Elems32<CE>(c);
  return V::Lo16(e, e);
}

// Bytes 0..2 of 4-byte pixels by the Light byte formula (LightChanByte16), with each
// pixel's factor c in both halves of its lane (ElemsPix). MulhiU16(byte << 8, c) is
// (v x c) >> 8: min(that, 255) for a pixel drawn alone or a factor below 0x8000; in
// the lanes of `signedF` (a pixel of a drawn pair) with a factor of 0x8000 or more the
// product never reaches the top and its bits 8..15 are kept. The fourth byte comes out 0.
template <class V, bool kAnySigned = true>
typename V::T LightPixBytes(typename V::T px, typename V::T c, typename V::T signedF) {
  auto keep = V::Set16(0xFFFF);
  if constexpr (kAnySigned) {
    auto wraps = V::And(signedF, V::CmpGt16(V::Zero(), c));
    keep = V::Xor(keep, V::And(wraps, V::Set16(0xFF00)));
  }
  auto byte = [&](typename V::T v8) {
    return V::MinU16(V::And(V::MulhiU16(v8, c), keep), V::Set16(255));
  };
  // Byte 3 enters the odd words as 0 (and comes out 0); byte 3 leaves the even words
  // through the shift.
  auto even = byte(V::template Sll16<8>(px));
  auto odd = byte(V::And(px, V::Set32(0x0000FF00)));
  return V::Or(even, V::template Sll16<8>(odd));
}
// All four bytes by DarkleByte: bits 8..15 of each byte's wrapped product.
template <class V>
typename V::T DarklePixBytes(typename V::T px, typename V::T c) {
  auto even = V::template Srl16<8>(V::Mullo16(V::And(px, V::Set16(0xFF)), c));
  auto odd = V::And(V::Mullo16(V::template Srl16<8>(px), c), V::Set16(0xFF00));
  return V::Or(even, odd);
}

// The key mask of pixels in 32-bit lanes: bytes 0..2 equal to the key's.
template <class V>
typename V::T KeyMask32(typename V::T px, uint32_t key) {
  return V::CmpEq32(V::And(px, V::Set32(kColourBytes)), V::Set32(key & kColourBytes));
}

}  // namespace vec
}  // namespace bright
RK_NS_END
