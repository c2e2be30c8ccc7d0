// Vector forms of the channel members' per-pixel formulas, written once over the
// registers of module/registers.h at every width (V128, V256, V512 add the channel
// rows' own operations). Every formula works in 16-bit lanes exactly as its scalar form in
// channel_arith.h / arith.h, so results are the same bit for bit. Only included by the
// fast translation units.
#pragma once

#include <cstdint>

#include "brightness/channel_arith.h"
#include "module/registers.h"

RK_NS_BEGIN
namespace bright {
namespace vec {

#if RK_REGISTERS
// A register of module/registers.h with the channel rows' own operations:
// OrIfGt16(x, a, b) is x | (a > b, signed), SelectEq16(a, b, yes, no) picks by a == b,
// LeftPix gives each 32-bit pair of lanes its left one (lanes 0 0 2 2 ...); Elems16
// loads kBytes / 2 channel elements of CE bytes as 16-bit lanes in order, Elems32
// kBytes / 4 of them as 16-bit lanes, each 128 bits holding in its low 64 bits the
// elements of the pixels it holds.
template <class B>
struct ChanOps : B {
  using T = typename B::T;
  static T OrIfGt16(T x, T a, T b) { return B::Or(x, B::Gt16(a, b)); }
  static T SelectEq16(T a, T b, T yes, T no) { return B::Select(B::Eq16(a, b), yes, no); }
};

#if RK_NEON
struct V128 : ChanOps<reg::R128> {
  static T LeftPix(T a) { return Of(vtrn1q_u32(U32(a), U32(a))); }
  template <int CE>
  static T Elems16(const uint8_t *c) {
    if constexpr (CE == 2) return Load(c);
    return Of(vmovl_u8(vld1_u8(c)));
  }
  template <int CE>
  static T Elems32(const uint8_t *c) {
    if constexpr (CE == 2) return vcombine_u8(vld1_u8(c), vdup_n_u8(0));
    uint32_t four;
    __builtin_memcpy(&four, c, 4);
    return Of(vmovl_u8(vcreate_u8(four)));
  }
};
#else
struct V128 : ChanOps<reg::R128> {
  static T LeftPix(T a) { return _mm_shuffle_epi32(a, 0xA0); }
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
#endif

#if defined(__AVX2__)
// Unpacks and packs work per 128-bit half, and the element layouts follow that.
struct V256 : ChanOps<reg::R256> {
  static T LeftPix(T a) { return _mm256_shuffle_epi32(a, 0xA0); }
  template <int CE>
  static T Elems16(const uint8_t *c) {
    if constexpr (CE == 2) return Load(c);
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(c)));
  }
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
// The compares of OrIfGt16 and SelectEq16 go through the mask registers.
struct V512 : reg::R512 {
  static T OrIfGt16(T x, T a, T b) {
    return _mm512_mask_mov_epi16(x, _mm512_cmpgt_epi16_mask(a, b), _mm512_set1_epi16(-1));
  }
  static T SelectEq16(T a, T b, T yes, T no) {
    return _mm512_mask_blend_epi16(_mm512_cmpeq_epi16_mask(a, b), no, yes);
  }
  static T LeftPix(T a) { return _mm512_shuffle_epi32(a, _MM_PERM_CCAA); }
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

// a > b for unsigned 16-bit lanes.
template <class V>
typename V::T CmpGtU16(typename V::T a, typename V::T b) {
  auto bias = V::Set16(0x8000);
  return V::Gt16(V::Xor(a, bias), V::Xor(b, bias));
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

// A register of results and the lanes (all-ones) that keep the destination instead.
template <class V>
struct Kept {
  typename V::T v, keep;
};
// Stores a Kept register through put(): as it is when no lane keeps, not at all when
// every lane does, else blended with the destination from dst(). Key pixels come in
// runs in sprites, so most registers take one of the first two.
template <class V, class Dst, class Put>
inline void StoreKept(const Kept<V> &k, Dst dst, Put put) {
#if RK_NEON
  // Two reductions: NEON has no one instruction for Bits.
  if (V::All(k.keep)) return;
  put(V::Any(k.keep) ? V::Select(k.keep, dst(), k.v) : k.v);
#else
  uint64_t bits = V::Bits(k.keep);
  if (bits == V::kAll) return;
  put(bits == 0 ? k.v : V::Select(k.keep, dst(), k.v));
#endif
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
    auto e = [&] { return V::template Elems16<CE>(c + CE * i); };
    if constexpr (!kKeyed) {
      V::Store(d + 2 * i, fn(p, e()));
      continue;
    }
#if defined(__AVX512BW__)
    if constexpr (V::kBytes == 64) {
      _mm512_mask_storeu_epi16(d + 2 * i, ~_mm512_cmpeq_epi16_mask(p, k), fn(p, e()));
      continue;
    }
#endif
    // A register of key pixels only is left alone.
    auto keep = V::Eq16(p, k);
    if (V::All(keep)) continue;
    StoreKept<V>(
        {fn(p, e()), keep}, [&] { return V::Load(d + 2 * i); },
        [&](typename V::T x) { V::Store(d + 2 * i, x); });
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
    auto wraps = V::And(signedF, V::Gt16(V::Zero(), c));
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
// Every byte by DarkleByte: bits 8..15 of each byte's wrapped product, the even bytes'
// factors in ce, the odd bytes' in co.
template <class V>
typename V::T DarkleBytes(typename V::T px, typename V::T ce, typename V::T co) {
  auto even = V::template Srl16<8>(V::Mullo16(V::And(px, V::Set16(0xFF)), ce));
#if defined(__AVX512BW__)
  if constexpr (V::kBytes == 64) {  // (odd & 0xFF00) | even in one step
    return _mm512_ternarylogic_epi32(V::Mullo16(V::template Srl16<8>(px), co), V::Set16(0xFF00),
                                     even, 0xEA);
  }
#endif
  auto odd = V::And(V::Mullo16(V::template Srl16<8>(px), co), V::Set16(0xFF00));
  return V::Or(even, odd);
}
// All four bytes of pixels, each pixel's factor in both halves of its lane.
template <class V>
typename V::T DarklePixBytes(typename V::T px, typename V::T c) {
  return DarkleBytes<V>(px, c, c);
}

// The key mask of pixels in 32-bit lanes: bytes 0..2 equal to the key's.
template <class V>
typename V::T KeyMask32(typename V::T px, uint32_t key) {
  return V::Eq32(V::And(px, V::Set32(kColourBytes)), V::Set32(key & kColourBytes));
}

}  // namespace vec
}  // namespace bright
RK_NS_END
