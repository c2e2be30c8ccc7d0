// Whole-register bodies of the translucent fast rows, one copy per level with vectors
// (AVX-512BW, AVX2, SSE2, NEON). Each body runs the row from its left end in steps of a
// register and returns how many pixels (or bytes) it did; the caller's plain loop
// finishes the rest. Every body computes exactly the lane formulas of blend.h.
// Without a register type (other architectures) the plain loops do everything.
#pragma once

#include <cstdint>

#include "module/planes.h"
#include "module/registers.h"
#include "trans/blend.h"

#define RK_TRANS_LANES RK_REGISTERS

RK_NS_BEGIN
namespace trans {

#if RK_TRANS_LANES

// The level's widest register (module/registers.h) and the channel loads of the
// bodies: Chan16/Chan32 widen the next Lanes16/Lanes32 channel bytes to 16- or
// 32-bit lanes.
struct V : reg::R {
#if defined(__AVX512BW__)
  static T Chan16(const uint8_t *c) {
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(c)));
  }
  static T Chan32(const uint8_t *c) {
    return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i *>(c)));
  }
#elif defined(__AVX2__)
  static T Chan16(const uint8_t *c) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(c)));
  }
  static T Chan32(const uint8_t *c) {
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(c)));
  }
#elif RK_NEON
  static T Chan16(const uint8_t *c) { return Of(vmovl_u8(vld1_u8(c))); }
  static T Chan32(const uint8_t *c) {
    uint32_t v;
    __builtin_memcpy(&v, c, 4);
    return Of(vmovl_u16(vget_low_u16(vmovl_u8(vcreate_u8(v)))));
  }
#else
  static T Chan16(const uint8_t *c) {
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const T *>(c)), Zero());
  }
  static T Chan32(const uint8_t *c) {
    int32_t v;
    __builtin_memcpy(&v, c, 4);
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(_mm_cvtsi32_si128(v), Zero()), Zero());
  }
#endif
};

using VT = V::T;

// Whether a 16/15-bit row of Mode runs the register bodies. With NEON only the keyed
// rows do: the compiler's own loops are as fast or faster for the others there.
template <class Mode>
inline constexpr bool kLanesFor = !RK_NEON || Mode::kKeyed;

// LaneBlend<F, B> on every 16-bit lane, with the weights in w (0..31: the form below
// needs them).
//
// With such weights each field's result lies between its two inputs, so the fields'
// moves floor((s - d) * w / 32), signed and in place, add to the whole destination
// without a carry from one field into the next: three additions instead of three
// additions, three masks and two ORs. Red takes the same product as LaneBlend, whose
// bits above red's place are the same mod 2^16 (at 5-5-5 they include bit 15, which
// the final mask clears). Green's difference in place (the difference x 32) times
// the weight << 6 has floor(difference x weight / 32) as its high half: shifted up
// by 5 that is green's move. Blue's product shifted down arithmetically is its move.
template <class F>
inline VT RedMove(VT s, VT d, VT wUp) {  // wUp: the weight << (F::kRShift - 5)
  const VT diff = V::Sub16(V::Srl16<F::kRShift>(s), V::Srl16<F::kRShift>(d));
  return V::And(V::Mullo16(diff, wUp), V::Set16(static_cast<uint16_t>(0xFFFFu << F::kRShift)));
}
template <class F>
inline VT GreenMove(VT s, VT d, VT w6) {  // w6: the weight << 6
  const VT gm = V::Set16(F::kG);
  return V::Sll16<5>(V::MulhiS16(V::Sub16(V::And(s, gm), V::And(d, gm)), w6));
}
template <class F>
inline VT BlueDiff(VT s, VT d) {
  const VT bm = V::Set16(F::kB);
  return V::Sub16(V::And(s, bm), V::And(d, bm));
}

template <class F, Blue B>
inline VT LaneBlendV(VT s, VT d, VT w) {
  const VT w6 = V::Sll16<6>(w);
  const VT r = RedMove<F>(s, d, kIs15<F> ? V::Sll16<5>(w) : w6);
  const VT p = V::Mullo16(BlueDiff<F>(s, d), w);
  VT o = V::Add16(V::Add16(d, r), V::Add16(GreenMove<F>(s, d, w6), V::Sra16<5>(p)));
  if constexpr (kIs15<F>) o = V::And(o, V::Set16(0x7FFF));
  if constexpr (B != Blue::kMasked) {
    o = V::Or(o, V::And(V::Sra16<15>(p), V::Set16(B == Blue::kAdd16 ? 0x0800 : 0x0700)));
  }
  return o;
}

#if defined(__AVX512BW__)
// With one weight for the whole row, a 5-bit field's move is a function of the
// fields' difference, -31..31, whose low six bits tell them apart: a table of the 64
// moves in two registers, looked up with one word permute (which reads those six
// bits alone). Blue's moves come from the table and, at 5-6-5 (where the shift
// leaves red alone), red's too, shifted up to its place; green and 5-5-5 red, whose
// differences span more values, keep LaneBlendV's products.
struct Moves {
  VT lo, hi;  // differences 0..31, then -32..-1
  Moves(VT w, int up) {
    const VT i = _mm512_set_epi16(31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16,
                                  15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
    const __m128i by = _mm_cvtsi32_si128(up);
    lo = _mm512_sll_epi16(V::Sra16<5>(V::Mullo16(i, w)), by);
    hi = _mm512_sll_epi16(V::Sra16<5>(V::Mullo16(V::Sub16(i, V::Set16(32)), w)), by);
  }
  VT At(VT diff) const { return _mm512_permutex2var_epi16(lo, diff, hi); }
};

// LaneBlendV<F, Blue::kMasked> with the row's one weight w: w6 is w << 6, blue and
// red its moves. With kClearTop false, 5-5-5's bit 15 is left for the caller to clear.
template <class F, bool kClearTop = true>
inline VT LaneBlendU(VT s, VT d, VT w6, const Moves &blue, const Moves &red) {
  const VT r = kIs15<F> ? RedMove<F>(s, d, V::Srl16<1>(w6))
                        : red.At(V::Sub16(V::Srl16<F::kRShift>(s), V::Srl16<F::kRShift>(d)));
  VT o = V::Add16(V::Add16(d, r), V::Add16(GreenMove<F>(s, d, w6), blue.At(BlueDiff<F>(s, d))));
  if constexpr (kIs15<F> && kClearTop) o = V::And(o, V::Set16(0x7FFF));
  return o;
}
#endif

// HalfBlend on every 16-bit lane: ByteBlend on its low byte with the weight in
// we, on its high byte with the one in wo.
inline VT HalfBlendV(VT s, VT d, VT we, VT wo) {
  const VT lo = V::Set16(0x00FF);
  const VT ed = V::And(d, lo), od = V::Srl16<8>(d);
  const VT e = V::Srl16<8>(V::Mullo16(V::Sub16(V::And(s, lo), ed), we));
  const VT o = V::Srl16<8>(V::Mullo16(V::Sub16(V::Srl16<8>(s), od), wo));
  return V::Or(V::And(V::Add16(e, ed), lo), V::Sll16<8>(V::Add16(o, od)));
}
inline VT HalfBlendV(VT s, VT d, VT w) { return HalfBlendV(s, d, w, w); }

// Groups of four at 16/15 bits from column 0: each lane's weight is the uniform
// one or its channel byte >> 3, 0 for a key pixel. A 5-5-5 group whose four source
// pixels are all the key keeps its destination whole (bit 15 included); at 5-6-5
// weight 0 already gives the destination back. A uniform weight of 32 or more (an
// opacity above 255) is left to the caller's plain loop.
template <class F, class Mode>
inline int32_t GroupsLanes(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a,
                           uint32_t b) {
  constexpr int32_t kN = V::kBytes / 2;
  const auto weight = static_cast<uint16_t>(a >> 3);
  if (!Mode::kChannel && weight >= 32) return 0;
  const VT uniform = V::Set16(weight);
  [[maybe_unused]] const VT key = V::Set16(static_cast<uint16_t>(b));
#if !defined(__AVX2__)
  [[maybe_unused]] const VT ones = V::Eq32(key, key);
#endif
  int32_t j = 0;
#if defined(__AVX512BW__)
  if constexpr (!Mode::kChannel) {
    const Moves blue(uniform, 0), red(uniform, F::kRShift);
    const VT w6 = V::Sll16<6>(uniform);
    for (; j + kN <= n; j += kN) {
      const VT sv = V::Load(s + 2 * j), dv = V::Load(d + 2 * j);
      constexpr bool kKeyed15 = Mode::kKeyed && kIs15<F>;
      VT o = LaneBlendU<F, !kKeyed15>(sv, dv, w6, blue, red);
      if constexpr (Mode::kKeyed) {
        // A key pixel takes weight 0: its destination, at 5-5-5 with bit 15 cleared
        // (with the blended pixels') unless the whole group (a 64-bit lane) is the key.
        o = _mm512_mask_mov_epi16(o, _mm512_cmpeq_epi16_mask(sv, key), dv);
        if constexpr (kKeyed15)
          o = _mm512_mask_and_epi64(dv, _mm512_cmpneq_epi64_mask(sv, key), o, V::Set16(0x7FFF));
      }
      V::Store(d + 2 * j, o);
    }
    return j;
  }
#endif
  for (; j + kN <= n; j += kN) {
    const VT sv = V::Load(s + 2 * j), dv = V::Load(d + 2 * j);
    VT w = uniform;
    if constexpr (Mode::kChannel) w = V::Srl16<3>(V::Chan16(c + j));
#if defined(__AVX512BW__)
    if constexpr (Mode::kKeyed) w = _mm512_maskz_mov_epi16(_mm512_cmpneq_epi16_mask(sv, key), w);
#else
    [[maybe_unused]] const VT k = V::Eq16(sv, key);
    if constexpr (Mode::kKeyed) w = V::AndNot(k, w);
#endif
    VT o = LaneBlendV<F, Shape16<F, Mode>::kGroupBlue>(sv, dv, w);
    if constexpr (Mode::kKeyed && kIs15<F>) {
      // The group is a 64-bit lane: the key four times there.
#if defined(__AVX512BW__)
      o = _mm512_mask_mov_epi64(o, _mm512_cmpeq_epi64_mask(sv, key), dv);
#elif defined(__AVX2__)
      o = V::Select(_mm256_cmpeq_epi64(sv, key), dv, o);
#else
      const VT half = V::Eq32(k, ones), all = V::And(half, V::SwapPairs32(half));
      o = V::Or(V::And(all, dv), V::AndNot(all, o));
#endif
    }
    V::Store(d + 2 * j, o);
  }
  return j;
}

// Pixels [0, n) of a 32-bit row in pairs (n even), every byte blended with its
// pixel's weight: the uniform one or its channel byte, 0 for a key pixel; a pixel
// whose partner is the key gets 0 in its fourth byte.
template <class Mode>
inline int32_t Pairs32Lanes(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a,
                            uint32_t b) {
  constexpr int32_t kN = V::kBytes / 4;
  const VT uniform = V::Set16(static_cast<uint16_t>(a));
  [[maybe_unused]] const VT key = V::Set32(b & kColourBytes), colour = V::Set32(kColourBytes);
  int32_t j = 0;
  for (; j + kN <= n; j += kN) {
    const VT sv = V::Load(s + 4 * j), dv = V::Load(d + 4 * j);
    VT w = uniform;
    if constexpr (Mode::kChannel) {
      w = V::Chan32(c + j);
      w = V::Or(w, V::Sll32<16>(w));
    }
    VT o;
    if constexpr (Mode::kKeyed) {
      const VT k = V::Eq32(V::And(sv, colour), key);
      o = HalfBlendV(sv, dv, V::AndNot(k, w));
      o = V::AndNot(V::AndNot(colour, V::AndNot(k, V::SwapPairs32(k))), o);
    } else {
      o = HalfBlendV(sv, dv, w);
    }
    V::Store(d + 4 * j, o);
  }
  return j;
}

#if defined(__AVX512BW__) || defined(__AVX2__)
#define RK_TRANS_LANES24 1
#if defined(__AVX512BW__)
// Pixels [0, n) of a 24-bit pixel walk, blended byte by byte in place (alone or in
// a pair is the same at 24 bits), 64 pixels (three registers of their bytes) a step:
// the channel's weights fanned out to the bytes by word permutes, the key pixels'
// bytes left out of the stores.
template <class Mode>
inline int32_t Pixels24Lanes(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a,
                             uint32_t b) {
  [[maybe_unused]] const reg::Key24<V> key(b);
  const VT uniform = V::Set16(static_cast<uint16_t>(a));
  int32_t j = 0;
  for (; j + 64 <= n; j += 64) {
    const int64_t at = 3 * int64_t{j};
    const VT sv[3] = {V::Load(s + at), V::Load(s + at + 64), V::Load(s + at + 128)};
    uint64_t keyBytes[3] = {};
    if constexpr (Mode::kKeyed) {
      uint64_t st[3];
      key.Starts(sv, st);
      reg::BytesOfStarts24(st, keyBytes);
    }
    [[maybe_unused]] VT lo, hi;
    if constexpr (Mode::kChannel) {
      lo = V::Chan16(c + j);
      hi = V::Chan16(c + j + 32);
    }
    for (int r = 0; r < 3; ++r) {
      VT we = uniform, wo = uniform;
      if constexpr (Mode::kChannel) {
        we = reg::Fan24(lo, hi, r, 0);
        wo = reg::Fan24(lo, hi, r, 1);
      }
      uint8_t *p = d + at + 64 * r;
      const VT out = HalfBlendV(sv[r], V::Load(p), we, wo);
      if constexpr (Mode::kKeyed) {
        _mm512_mask_storeu_epi8(p, ~keyBytes[r], out);
      } else {
        V::Store(p, out);
      }
    }
  }
  return j;
}
#else
// Tables of Pixels24Lanes: for each of a step's three registers of bytes, the
// dwords of the per-pixel register each 16-byte lane takes (the four around its
// pixels), and the byte shuffles that put each pixel's byte under the 16-bit lanes
// of its even and of its odd bytes (high byte 0).
struct Fan24 {
  static constexpr int kLanes = V::kBytes / 16, kDwords = V::kBytes / 4;
  int32_t perm[3][kDwords];
  int8_t even[3][V::kBytes], odd[3][V::kBytes];
  constexpr Fan24() : perm(), even(), odd() {
    for (int r = 0; r < 3; ++r) {
      for (int l = 0; l < kLanes; ++l) {
        const int first = (V::kBytes * r + 16 * l) / 3;
        const int q = first / 4 < kDwords - 4 ? first / 4 : kDwords - 4;
        for (int k = 0; k < 4; ++k) perm[r][4 * l + k] = q + k;
        for (int k = 0; k < 8; ++k) {
          const int g = V::kBytes * r + 16 * l + 2 * k;
          even[r][16 * l + 2 * k] = static_cast<int8_t>(g / 3 - 4 * q);
          odd[r][16 * l + 2 * k] = static_cast<int8_t>((g + 1) / 3 - 4 * q);
          even[r][16 * l + 2 * k + 1] = odd[r][16 * l + 2 * k + 1] = -128;
        }
      }
    }
  }
};
inline constexpr Fan24 kFan24{};

// Pixels [0, n) of a 24-bit pixel walk, blended byte by byte in place (alone or in
// a pair is the same at 24 bits), V::kBytes pixels (three registers of their bytes) a
// step: the channel's weights fanned out from a register of a byte per pixel; the key
// pixels' bytes keep the destination.
template <class Mode>
inline int32_t Pixels24Lanes(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a,
                             uint32_t b) {
  [[maybe_unused]] VT perm[3], even[3], odd[3];
  for (int r = 0; Mode::kChannel && r < 3; ++r) {
    perm[r] = V::Load(kFan24.perm[r]);
    even[r] = V::Load(kFan24.even[r]);
    odd[r] = V::Load(kFan24.odd[r]);
  }
  [[maybe_unused]] const reg::Key24<V> key(b);
  const VT uniform = V::Set16(static_cast<uint16_t>(a));
  int32_t j = 0;
  for (; j + V::kBytes <= n; j += V::kBytes) {
    const int64_t at = 3 * int64_t{j};
    const VT sv[3] = {V::Load(s + at), V::Load(s + at + V::kBytes),
                      V::Load(s + at + 2 * V::kBytes)};
    uint64_t kb[3] = {};  // the key pixels' bytes, the first 96 of 192 bits
    if constexpr (Mode::kKeyed) {
      uint64_t st[3];
      key.Starts(sv, st);
      reg::BytesOfStarts24(st, kb);
    }
    const uint32_t keep[3] = {static_cast<uint32_t>(kb[0]), static_cast<uint32_t>(kb[0] >> 32),
                              static_cast<uint32_t>(kb[1])};
    [[maybe_unused]] VT px;  // a channel byte per pixel
    if constexpr (Mode::kChannel) px = V::Load(c + j);
    for (int r = 0; r < 3; ++r) {
      VT we = uniform, wo = uniform;
      if constexpr (Mode::kChannel) {
        const VT win = V::PermD(px, perm[r]);
        we = V::Shuffle8(win, even[r]);
        wo = V::Shuffle8(win, odd[r]);
      }
      uint8_t *p = d + at + V::kBytes * r;
      const VT dv = V::Load(p);
      VT out = HalfBlendV(sv[r], dv, we, wo);
      if (Mode::kKeyed && keep[r] != 0) out = V::Select(V::BytesOf(keep[r]), dv, out);
      V::Store(p, out);
    }
  }
  return j;
}
#endif

#else
#define RK_TRANS_LANES24 0
#endif

#if RK_NEON
// ByteBlend on 16 bytes, the weights of bytes 0..7 in w0 and of 8..15 in w1: the
// difference in 16 bits, times the weight, its high byte added to the destination.
inline uint8x16_t BlendBytes(uint8x16_t s, uint8x16_t d, uint16x8_t w0, uint16x8_t w1) {
  const uint16x8_t p0 = vmulq_u16(vsubl_u8(vget_low_u8(s), vget_low_u8(d)), w0);
  const uint16x8_t p1 = vmulq_u16(vsubl_high_u8(s, d), w1);
  return vaddq_u8(d, vuzp2q_u8(vreinterpretq_u8_u16(p0), vreinterpretq_u8_u16(p1)));
}

// Pixels [0, n) of a 24/32-bit pixel walk in byte planes, 16 pixels a step from column
// 0: every byte blended with its pixel's weight, the uniform one or its channel byte, 0
// for a key pixel (which so keeps its destination); at 32 bits a pixel whose partner is
// the key gets 0 in its fourth byte.
template <int Bpp, class Mode>
inline int32_t PixelsPlanes(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a,
                            uint32_t b) {
  using P = planes::Of<Bpp>;
  [[maybe_unused]] const planes::Key key(b);
  const uint16x8_t uniform = vdupq_n_u16(static_cast<uint16_t>(a));
  return static_cast<int32_t>(planes::Steps<Bpp, false>(d, s, n, [&](const P &sv, int64_t j) {
    P dv = planes::Load(d + Bpp * j, P{});
    uint16x8_t w0 = uniform, w1 = uniform;
    if constexpr (Mode::kChannel) {
      const uint8x16_t cv = vld1q_u8(c + j);
      w0 = vmovl_u8(vget_low_u8(cv));
      w1 = vmovl_high_u8(cv);
    }
    [[maybe_unused]] uint8x16_t k;
    if constexpr (Mode::kKeyed) {
      k = key.Of(sv);
      const int8x16_t ks = vreinterpretq_s8_u8(k);
      w0 = vbicq_u16(w0, vreinterpretq_u16_s16(vmovl_s8(vget_low_s8(ks))));
      w1 = vbicq_u16(w1, vreinterpretq_u16_s16(vmovl_high_s8(ks)));
    }
    for (int q = 0; q < Bpp; ++q) dv.val[q] = BlendBytes(sv.val[q], dv.val[q], w0, w1);
    if constexpr (Mode::kKeyed && Bpp == 4) dv.val[3] = vbicq_u8(dv.val[3], planes::Alone(k));
    return dv;
  }));
}
#endif

// Bytes [0, n) with one weight.
inline int64_t BytesLanes(uint8_t *d, const uint8_t *s, int64_t n, uint16_t w) {
  const VT wv = V::Set16(w);
  int64_t i = 0;
  for (; i + V::kBytes <= n; i += V::kBytes) {
    V::Store(d + i, HalfBlendV(V::Load(s + i), V::Load(d + i), wv));
  }
  return i;
}

#endif  // RK_TRANS_LANES

}  // namespace trans
RK_NS_END
