// The vector registers of the fast rows, behind one set of operation names for every
// width: R128 (SSE2, or NEON on aarch64), R256 (AVX2) and R512 (AVX-512BW), each
// defined where the level's instruction set has it, and R, the widest one the level
// has. The families build their formulas on these names and add only what is theirs
// (channel widening, byte packing, key masks). Without a vector unit nothing is
// defined and RK_REGISTERS is 0; the rows keep their plain loops. RK_NEON is 1 in the
// NEON build, where some rows keep their plain loops all the same: the compiler's own
// NEON loops are faster there (tools/neon_count.py measures which).
//
// The operations, on registers of T:
//   Load, Store        unaligned, whole register
//   Zero, Set16/32/64  constants, every lane the same
//   And, Or, Or3, Xor, AndNot(a, b) = ~a & b
//   Add16, Sub16, Sub8, AddsU16 (unsigned saturating), Mullo16, MulhiU16, MulhiS16
//   (the high halves of the products), MinS16, MinU16
//   Srl16/Sll16/Sra16/Sll32/Srl32<N>   shifts by a constant
//   Eq8, Eq16, Eq32, Gt16 (signed)     all-ones lanes where true
//   Select(m, a, b)    m ? a : b, for masks of whole lanes
//   SwapPairs32        32-bit lanes 0 1 2 3 ... as 1 0 3 2 ...
//   Lo16(a, b)         16-bit lanes of the low halves of each 128 bits, interleaved
//   Bits(m)            bit i from byte i's top bit; kAll is Bits of all ones; Any(m),
//                      All(m) for masks of whole bytes
//   EqBits8(a, b)      Bits(Eq8(a, b))
//   BytesOf(bits)      the other way: 0xFF in byte i where bit i is set
//   Shuffle8, PermD    byte shuffle within 128 bits, 32-bit permute (256 and 512 only)
//   Spread24(p)        the kBytes / 4 3-byte pixels at p, one to each 32-bit lane with
//                      its fourth byte 0; reads kOver24 bytes past them
//   Join24(p, v)       stores such lanes back as 3-byte pixels, 3 x kBytes / 4 bytes
// and, after the register types, what 3-byte keys need at every width: KeyPattern24
// (the key's bytes repeated from a phase), Key24 and the start-bit helpers (matches
// of 64 pixels reduced to pixels, BMI2), Key24Spread (64 pixels compared whole,
// AVX-512), Fan24 (per-pixel words to bytes, AVX-512).
// Only fast translation units include this.
#pragma once

#include <cstdint>

#if defined(__AVX512BW__) && !defined(__AVX512VL__)
#error "the AVX-512 level is built with AVX-512BW and AVX-512VL together"
#endif

#if defined(__SSE2__)
// GCC 12 warns about the AVX-512 intrinsics' own undefined vectors once inlined.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop
#define RK_REGISTERS 1
#elif defined(__aarch64__) && defined(__ARM_NEON)
#include <arm_neon.h>
#define RK_REGISTERS 1
#define RK_NEON 1
#else
#define RK_REGISTERS 0
#endif
#if !defined(RK_NEON)
#define RK_NEON 0
#endif

#include "module/isa.h"

RK_NS_BEGIN
namespace reg {

#if RK_REGISTERS

// The eight bytes of each eight bits: 0xFF where the bit is set.
struct ByteMasks {
  uint64_t of[256];
  constexpr ByteMasks() : of() {
    for (int b = 0; b < 256; ++b) {
      for (int i = 0; i < 8; ++i) of[b] |= (b >> i & 1) ? uint64_t{0xFF} << (8 * i) : 0;
    }
  }
};
inline constexpr ByteMasks kByteMasks{};
// The byte shuffles that spread four 3-byte pixels of 16 bytes to 32-bit lanes and
// join them back, for each 128 bits of the wider registers.
inline constexpr int8_t kSpread24[16] = {0, 1, 2, -128, 3, 4,  5,  -128,
                                         6, 7, 8, -128, 9, 10, 11, -128};
inline constexpr int8_t kJoin24[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                       10, 12, 13, 14, -128, -128, -128, -128};

#if defined(__SSE2__)
// The operations SSE2 and AVX2 spell alike, with RK_MM(op) and RK_SI(op) naming
// the width's intrinsics.
#define RK_REG_COMMON_OPS                                                              \
  static T Load(const void *p) { return RK_SI(loadu)(static_cast<const T *>(p)); }     \
  static void Store(void *p, T v) { RK_SI(storeu)(static_cast<T *>(p), v); }           \
  static T Zero() { return RK_SI(setzero)(); }                                         \
  static T Set16(uint32_t x) { return RK_MM(set1_epi16)(static_cast<int16_t>(x)); }    \
  static T Set32(uint32_t x) { return RK_MM(set1_epi32)(static_cast<int32_t>(x)); }    \
  static T Set64(uint64_t x) { return RK_MM(set1_epi64x)(static_cast<int64_t>(x)); }   \
  static T And(T a, T b) { return RK_SI(and)(a, b); }                                  \
  static T Or(T a, T b) { return RK_SI(or)(a, b); }                                    \
  static T Or3(T a, T b, T c) { return Or(Or(a, b), c); }                              \
  static T Xor(T a, T b) { return RK_SI(xor)(a, b); }                                  \
  static T AndNot(T a, T b) { return RK_SI(andnot)(a, b); }                            \
  static T Add16(T a, T b) { return RK_MM(add_epi16)(a, b); }                          \
  static T Sub16(T a, T b) { return RK_MM(sub_epi16)(a, b); }                          \
  static T Sub8(T a, T b) { return RK_MM(sub_epi8)(a, b); }                            \
  static T AddsU16(T a, T b) { return RK_MM(adds_epu16)(a, b); }                       \
  static T Mullo16(T a, T b) { return RK_MM(mullo_epi16)(a, b); }                      \
  static T MulhiU16(T a, T b) { return RK_MM(mulhi_epu16)(a, b); }                     \
  static T MulhiS16(T a, T b) { return RK_MM(mulhi_epi16)(a, b); }                     \
  static T MinS16(T a, T b) { return RK_MM(min_epi16)(a, b); }                         \
  template <int N>                                                                     \
  static T Srl16(T a) {                                                                \
    return RK_MM(srli_epi16)(a, N);                                                    \
  }                                                                                    \
  template <int N>                                                                     \
  static T Sll16(T a) {                                                                \
    return RK_MM(slli_epi16)(a, N);                                                    \
  }                                                                                    \
  template <int N>                                                                     \
  static T Sra16(T a) {                                                                \
    return RK_MM(srai_epi16)(a, N);                                                    \
  }                                                                                    \
  template <int N>                                                                     \
  static T Sll32(T a) {                                                                \
    return RK_MM(slli_epi32)(a, N);                                                    \
  }                                                                                    \
  template <int N>                                                                     \
  static T Srl32(T a) {                                                                \
    return RK_MM(srli_epi32)(a, N);                                                    \
  }                                                                                    \
  static T Eq8(T a, T b) { return RK_MM(cmpeq_epi8)(a, b); }                           \
  static T Eq16(T a, T b) { return RK_MM(cmpeq_epi16)(a, b); }                         \
  static T Eq32(T a, T b) { return RK_MM(cmpeq_epi32)(a, b); }                         \
  static T Gt16(T a, T b) { return RK_MM(cmpgt_epi16)(a, b); }                         \
  static T SwapPairs32(T a) { return RK_MM(shuffle_epi32)(a, 0xB1); }                  \
  static T Lo16(T a, T b) { return RK_MM(unpacklo_epi16)(a, b); }                      \
  static uint64_t Bits(T m) { return static_cast<uint32_t>(RK_MM(movemask_epi8)(m)); } \
  static uint64_t EqBits8(T a, T b) { return Bits(Eq8(a, b)); }                        \
  static constexpr uint64_t kAll = (uint64_t{1} << kBytes) - 1;                        \
  static bool Any(T m) { return Bits(m) != 0; }                                        \
  static bool All(T m) { return Bits(m) == kAll; }

struct R128 {
  using T = __m128i;
  static constexpr int kBytes = 16;
#define RK_MM(op) _mm_##op
#define RK_SI(op) _mm_##op##_si128
  RK_REG_COMMON_OPS
#undef RK_MM
#undef RK_SI
  // Unsigned minimum from a saturating subtraction: a - max(a - b, 0).
  static T MinU16(T a, T b) { return _mm_sub_epi16(a, _mm_subs_epu16(a, b)); }
  static T Select(T m, T a, T b) { return Or(And(m, a), AndNot(m, b)); }
  static T Set64x2(uint64_t lo, uint64_t hi) {
    return _mm_set_epi64x(static_cast<int64_t>(hi), static_cast<int64_t>(lo));
  }
  // Eight bits at a time from a table.
  static T BytesOf(uint64_t bits) {
    return Set64x2(kByteMasks.of[bits & 0xFF], kByteMasks.of[bits >> 8 & 0xFF]);
  }
  // No byte shuffle: pixels 1..3 come down by whole-register byte shifts and are
  // interleaved; on the way back each 64-bit half joins its two pixels into 6 bytes.
  static constexpr int kOver24 = 4;
  static T Spread24(const uint8_t *p) {
    const T x = Load(p);
    const T a = _mm_unpacklo_epi32(x, _mm_srli_si128(x, 3));
    const T b = _mm_unpacklo_epi32(_mm_srli_si128(x, 6), _mm_srli_si128(x, 9));
    return And(_mm_unpacklo_epi64(a, b), Set32(0xFFFFFF));
  }
  static void Join24(uint8_t *p, T v) {
    const T q = Or(And(v, Set64(0xFFFFFF)), And(_mm_srli_epi64(v, 8), Set64(0xFFFFFF000000)));
    const T out = Or(_mm_move_epi64(q), _mm_slli_si128(_mm_srli_si128(q, 8), 6));
    _mm_storel_epi64(reinterpret_cast<T *>(p), out);
    const auto last = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(out, 8)));
    __builtin_memcpy(p + 8, &last, 4);
  }
};

#else   // RK_NEON
// The same names on NEON's 128-bit registers, held as 16 bytes and reinterpreted per
// operation (no instruction). Bits has no single instruction here: each byte's top bit is moved to
// its place in its half and the halves summed.
struct R128 {
  using T = uint8x16_t;
  static constexpr int kBytes = 16;
  static uint16x8_t U16(T a) { return vreinterpretq_u16_u8(a); }
  static int16x8_t S16(T a) { return vreinterpretq_s16_u8(a); }
  static uint32x4_t U32(T a) { return vreinterpretq_u32_u8(a); }
  static T Of(uint16x8_t a) { return vreinterpretq_u8_u16(a); }
  static T Of(int16x8_t a) { return vreinterpretq_u8_s16(a); }
  static T Of(uint32x4_t a) { return vreinterpretq_u8_u32(a); }
  static T Of(uint64x2_t a) { return vreinterpretq_u8_u64(a); }

  static T Load(const void *p) { return vld1q_u8(static_cast<const uint8_t *>(p)); }
  static void Store(void *p, T v) { vst1q_u8(static_cast<uint8_t *>(p), v); }
  static T Zero() { return vdupq_n_u8(0); }
  static T Set16(uint32_t x) { return Of(vdupq_n_u16(static_cast<uint16_t>(x))); }
  static T Set32(uint32_t x) { return Of(vdupq_n_u32(x)); }
  static T Set64(uint64_t x) { return Of(vdupq_n_u64(x)); }
  static T Set64x2(uint64_t lo, uint64_t hi) {
    return Of(vcombine_u64(vcreate_u64(lo), vcreate_u64(hi)));
  }
  static T And(T a, T b) { return vandq_u8(a, b); }
  static T Or(T a, T b) { return vorrq_u8(a, b); }
  static T Or3(T a, T b, T c) { return Or(Or(a, b), c); }
  static T Xor(T a, T b) { return veorq_u8(a, b); }
  static T AndNot(T a, T b) { return vbicq_u8(b, a); }
  static T Add16(T a, T b) { return Of(vaddq_u16(U16(a), U16(b))); }
  static T Sub16(T a, T b) { return Of(vsubq_u16(U16(a), U16(b))); }
  static T Sub8(T a, T b) { return vsubq_u8(a, b); }
  static T AddsU16(T a, T b) { return Of(vqaddq_u16(U16(a), U16(b))); }
  static T Mullo16(T a, T b) { return Of(vmulq_u16(U16(a), U16(b))); }
  static T MulhiU16(T a, T b) {
    const uint32x4_t lo = vmull_u16(vget_low_u16(U16(a)), vget_low_u16(U16(b)));
    const uint32x4_t hi = vmull_high_u16(U16(a), U16(b));
    return Of(vuzp2q_u16(vreinterpretq_u16_u32(lo), vreinterpretq_u16_u32(hi)));
  }
  static T MulhiS16(T a, T b) {
    const int32x4_t lo = vmull_s16(vget_low_s16(S16(a)), vget_low_s16(S16(b)));
    const int32x4_t hi = vmull_high_s16(S16(a), S16(b));
    return Of(vuzp2q_s16(vreinterpretq_s16_s32(lo), vreinterpretq_s16_s32(hi)));
  }
  static T MinS16(T a, T b) { return Of(vminq_s16(S16(a), S16(b))); }
  static T MinU16(T a, T b) { return Of(vminq_u16(U16(a), U16(b))); }
  // Shifts by a register of counts (negative: rightwards), which give SSE2's results
  // for a count of 0 and of the lane's width and more alike.
  template <int N>
  static T Srl16(T a) {
    return Of(vshlq_u16(U16(a), vdupq_n_s16(-N)));
  }
  template <int N>
  static T Sll16(T a) {
    return Of(vshlq_u16(U16(a), vdupq_n_s16(N)));
  }
  template <int N>
  static T Sra16(T a) {
    return Of(vshlq_s16(S16(a), vdupq_n_s16(-N)));
  }
  template <int N>
  static T Sll32(T a) {
    return Of(vshlq_u32(U32(a), vdupq_n_s32(N)));
  }
  template <int N>
  static T Srl32(T a) {
    return Of(vshlq_u32(U32(a), vdupq_n_s32(-N)));
  }
  static T Eq8(T a, T b) { return vceqq_u8(a, b); }
  static T Eq16(T a, T b) { return Of(vceqq_u16(U16(a), U16(b))); }
  static T Eq32(T a, T b) { return Of(vceqq_u32(U32(a), U32(b))); }
  static T Gt16(T a, T b) { return Of(vcgtq_s16(S16(a), S16(b))); }
  static T Select(T m, T a, T b) { return vbslq_u8(m, a, b); }
  static T SwapPairs32(T a) { return Of(vrev64q_u32(U32(a))); }
  static T Lo16(T a, T b) { return Of(vzip1q_u16(U16(a), U16(b))); }
  static uint64_t Bits(T m) {
    const int8x16_t place = {0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7};
    const uint8x16_t b = vshlq_u8(vshrq_n_u8(m, 7), place);
    return vaddv_u8(vget_low_u8(b)) | static_cast<uint64_t>(vaddv_u8(vget_high_u8(b))) << 8;
  }
  static uint64_t EqBits8(T a, T b) { return Bits(Eq8(a, b)); }
  static constexpr uint64_t kAll = 0xFFFF;
  // For masks of whole bytes, as every mask here is.
  static bool Any(T m) { return vmaxvq_u8(m) != 0; }
  static bool All(T m) { return vminvq_u8(m) == 0xFF; }
  static T BytesOf(uint64_t bits) {
    return Set64x2(kByteMasks.of[bits & 0xFF], kByteMasks.of[bits >> 8 & 0xFF]);
  }
  // A table lookup takes 0 for the tables' out-of-range (-128) entries.
  static constexpr int kOver24 = 4;
  static T Spread24(const uint8_t *p) {
    return vqtbl1q_u8(Load(p), vreinterpretq_u8_s8(vld1q_s8(kSpread24)));
  }
  static void Join24(uint8_t *p, T v) {
    const T out = vqtbl1q_u8(v, vreinterpretq_u8_s8(vld1q_s8(kJoin24)));
    vst1_u8(p, vget_low_u8(out));
    const uint32_t last = vgetq_lane_u32(U32(out), 2);
    __builtin_memcpy(p + 8, &last, 4);
  }
};
#endif  // __SSE2__

#if defined(__AVX2__)
struct R256 {
  using T = __m256i;
  static constexpr int kBytes = 32;
#define RK_MM(op) _mm256_##op
#define RK_SI(op) _mm256_##op##_si256
  RK_REG_COMMON_OPS
#undef RK_MM
#undef RK_SI
  static T MinU16(T a, T b) { return _mm256_min_epu16(a, b); }
  static T Select(T m, T a, T b) { return _mm256_blendv_epi8(b, a, m); }
  static T Shuffle8(T a, T idx) { return _mm256_shuffle_epi8(a, idx); }
  static T PermD(T a, T idx) { return _mm256_permutevar8x32_epi32(a, idx); }
  // Each byte of the 32 bits to the eight bytes it covers, then each its own bit.
  static T BytesOf(uint64_t bits) {
    const T v =
        Shuffle8(Set32(static_cast<uint32_t>(bits)),
                 _mm256_setr_epi64x(0, 0x0101010101010101, 0x0202020202020202, 0x0303030303030303));
    return Eq8(And(v, Set64(0x8040201008040201)), Set64(0x8040201008040201));
  }
  // Exactly the 24 bytes, as bytes 0..15 in the low 128 bits and 8..23 in the high.
  static constexpr int kOver24 = 0;
  static T Spread24(const uint8_t *p) {
    const T raw = _mm256_loadu2_m128i(reinterpret_cast<const __m128i *>(p + 8),
                                      reinterpret_cast<const __m128i *>(p));
    return Shuffle8(raw,
                    _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1,  //
                                     4, 5, 6, -1, 7, 8, 9, -1, 10, 11, 12, -1, 13, 14, 15, -1));
  }
  static void Join24(uint8_t *p, T v) {
    v = Shuffle8(v, _mm256_broadcastsi128_si256(
                        _mm_loadu_si128(reinterpret_cast<const __m128i *>(kJoin24))));
    v = PermD(v, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), _mm256_castsi256_si128(v));
    _mm_storel_epi64(reinterpret_cast<__m128i *>(p + 16), _mm256_extracti128_si256(v, 1));
  }
};
#endif
#undef RK_REG_COMMON_OPS

#if defined(__AVX512BW__)
// Comparisons give whole-lane vector masks as the narrower registers do; a body that
// can use the mask registers directly spells its own intrinsics.
struct R512 {
  using T = __m512i;
  static constexpr int kBytes = 64;
  static T Load(const void *p) { return _mm512_loadu_si512(p); }
  static void Store(void *p, T v) { _mm512_storeu_si512(p, v); }
  static T Zero() { return _mm512_setzero_si512(); }
  static T Set16(uint32_t x) { return _mm512_set1_epi16(static_cast<int16_t>(x)); }
  static T Set32(uint32_t x) { return _mm512_set1_epi32(static_cast<int32_t>(x)); }
  static T Set64(uint64_t x) { return _mm512_set1_epi64(static_cast<int64_t>(x)); }
  static T And(T a, T b) { return _mm512_and_si512(a, b); }
  static T Or(T a, T b) { return _mm512_or_si512(a, b); }
  static T Or3(T a, T b, T c) { return _mm512_ternarylogic_epi32(a, b, c, 0xFE); }
  static T Xor(T a, T b) { return _mm512_xor_si512(a, b); }
  static T AndNot(T a, T b) { return _mm512_andnot_si512(a, b); }
  static T Add16(T a, T b) { return _mm512_add_epi16(a, b); }
  static T Sub16(T a, T b) { return _mm512_sub_epi16(a, b); }
  static T Sub8(T a, T b) { return _mm512_sub_epi8(a, b); }
  static T AddsU16(T a, T b) { return _mm512_adds_epu16(a, b); }
  static T Mullo16(T a, T b) { return _mm512_mullo_epi16(a, b); }
  static T MulhiU16(T a, T b) { return _mm512_mulhi_epu16(a, b); }
  static T MulhiS16(T a, T b) { return _mm512_mulhi_epi16(a, b); }
  static T MinS16(T a, T b) { return _mm512_min_epi16(a, b); }
  static T MinU16(T a, T b) { return _mm512_min_epu16(a, b); }
  template <int N>
  static T Srl16(T a) {
    return _mm512_srli_epi16(a, N);
  }
  template <int N>
  static T Sll16(T a) {
    return _mm512_slli_epi16(a, N);
  }
  template <int N>
  static T Sra16(T a) {
    return _mm512_srai_epi16(a, N);
  }
  template <int N>
  static T Sll32(T a) {
    return _mm512_slli_epi32(a, N);
  }
  template <int N>
  static T Srl32(T a) {
    return _mm512_srli_epi32(a, N);
  }
  static T Eq8(T a, T b) { return _mm512_movm_epi8(_mm512_cmpeq_epi8_mask(a, b)); }
  static T Eq16(T a, T b) { return _mm512_movm_epi16(_mm512_cmpeq_epi16_mask(a, b)); }
  static T Eq32(T a, T b) { return _mm512_movm_epi32(_mm512_cmpeq_epi32_mask(a, b)); }
  static T Gt16(T a, T b) { return _mm512_movm_epi16(_mm512_cmpgt_epi16_mask(a, b)); }
  static T Select(T m, T a, T b) { return _mm512_ternarylogic_epi32(m, a, b, 0xCA); }
  static T SwapPairs32(T a) { return _mm512_shuffle_epi32(a, _MM_PERM_CDAB); }
  static T Lo16(T a, T b) { return _mm512_unpacklo_epi16(a, b); }
  static uint64_t Bits(T m) { return _mm512_movepi8_mask(m); }
  static uint64_t EqBits8(T a, T b) { return _mm512_cmpeq_epi8_mask(a, b); }
  static constexpr uint64_t kAll = ~uint64_t{0};
  static bool Any(T m) { return _mm512_test_epi8_mask(m, m) != 0; }
  static bool All(T m) { return Bits(m) == kAll; }
  static T BytesOf(uint64_t bits) { return _mm512_movm_epi8(bits); }
  static T Shuffle8(T a, T idx) { return _mm512_shuffle_epi8(a, idx); }
  static T PermD(T a, T idx) { return _mm512_permutexvar_epi32(idx, a); }
  // The 48 bytes of 16 pixels are loaded exactly; each 128 bits then takes the 16
  // bytes around its four pixels.
  static constexpr int kOver24 = 0;
  static T Spread24(const uint8_t *p) {
    const T raw = _mm512_inserti32x4(
        _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(p))),
        _mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 32)), 2);
    const T x = PermD(raw, _mm512_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12));
    return Shuffle8(
        x, _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(kSpread24))));
  }
  static void Join24(uint8_t *p, T v) {
    v = Shuffle8(
        v, _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(kJoin24))));
    v = PermD(v, _mm512_setr_epi32(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 15, 15, 15, 15));
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), _mm512_castsi512_si256(v));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p + 32), _mm512_extracti32x4_epi32(v, 2));
  }
};
using R = R512;
#elif defined(__AVX2__)
using R = R256;
#else
using R = R128;
#endif

#if defined(__BMI2__)
// 64 3-byte pixels as bits of their 192 bytes (m[k] bit b for byte 64 x k + b), each
// pixel by the bit of its first byte (its start bit) or by its three bits. The pixels
// start every third byte: at bits 0, 3 .. 63 of the first word, 2, 5 .. 62 of the
// second and 1, 4 .. 61 of the third (22, 21 and 21 pixels).
inline constexpr uint64_t kStarts24[3] = {0x9249249249249249, 0x4924924924924924,
                                          0x2492492492492492};
// The start bits of the pixels whose three bytes are all set (bits at pixel starts
// only).
inline void StartBits24(const uint64_t m[3], uint64_t st[3]) {
  for (int k = 0; k < 3; ++k) {
    const uint64_t next = k < 2 ? m[k + 1] : 0;
    st[k] = m[k] & (m[k] >> 1 | next << 63) & (m[k] >> 2 | next << 62) & kStarts24[k];
  }
}
// The three bytes of each pixel whose start bit is set: a start's bit times 7 (starts
// are three apart); pixel 21 ends in the second word, pixel 42 in the third.
inline void BytesOfStarts24(const uint64_t st[3], uint64_t m[3]) {
  m[0] = st[0] * 7;
  m[1] = st[1] * 7 | (st[0] >> 63) * 3;
  m[2] = st[2] * 7 | st[1] >> 62;
}
// Bit i set where pixel i's start bit is.
inline uint64_t PixelsOfStarts24(const uint64_t st[3]) {
  return _pext_u64(st[0], kStarts24[0]) | _pext_u64(st[1], kStarts24[1]) << 22 |
         _pext_u64(st[2], kStarts24[2]) << 43;
}
// The other way: the three bytes of each pixel whose bit is set.
inline void ByteBits24(uint64_t px, uint64_t m[3]) {
  const uint64_t st[3] = {_pdep_u64(px, kStarts24[0]), _pdep_u64(px >> 22, kStarts24[1]),
                          _pdep_u64(px >> 43, kStarts24[2])};
  BytesOfStarts24(st, m);
}
#endif

// The three bytes of `key` repeated over a register of V from byte `phase` of the
// key (bytes 0, 1, 2, 0 ... for phase 0): the pattern a key pixel matches in a
// register that starts `phase` bytes into a pixel.
// Built in registers, not stored and loaded back (a wide load of narrower stores
// waits for them): with byte shuffles, each byte takes its key byte from the key
// broadcast to every 32-bit lane; with SSE2 alone, from two words of the repeated key.
struct Thirds {
  int8_t of[66];  // byte j: j % 3
  constexpr Thirds() : of() {
    for (int j = 0; j < 66; ++j) of[j] = static_cast<int8_t>(j % 3);
  }
};
inline constexpr Thirds kThirds{};
template <class V>
inline typename V::T KeyPattern24(uint32_t key, int phase) {
  if constexpr (V::kBytes == 16) {
    // The 8 bytes from each phase q: the key turned by q, repeated.
    auto word = [key](int q) {
      const uint64_t k = key & 0xFFFFFF, turned = (k >> 8 * q | k << (24 - 8 * q)) & 0xFFFFFF;
      return static_cast<int64_t>(turned * 0x0001000001000001ull);
    };
    return V::Set64x2(static_cast<uint64_t>(word(phase % 3)),
                      static_cast<uint64_t>(word((phase + 8) % 3)));
  } else {
    return V::Shuffle8(V::Set32(key), V::Load(kThirds.of + phase));
  }
}

#if defined(__AVX512BW__)
// Per-pixel words fanned out to the bytes of 64 3-byte pixels: register r of their 192
// bytes holds bytes 64r .. 64r + 63, word k of it bytes 64r + 2k and 64r + 2k + 1.
// Fan24(lo, hi, r, odd) gives word k the word of the pixel of its low byte (odd 0) or
// of its high byte (odd 1), from the pixels' words in lo (pixels 0..31) and hi (32..63).
struct Fan24Table {
  alignas(64) uint16_t idx[3][2][32];
  constexpr Fan24Table() : idx{} {
    for (int r = 0; r < 3; ++r) {
      for (int o = 0; o < 2; ++o) {
        for (int k = 0; k < 32; ++k) idx[r][o][k] = static_cast<uint16_t>((64 * r + 2 * k + o) / 3);
      }
    }
  }
};
inline constexpr Fan24Table kFan24Table{};
inline __m512i Fan24(__m512i lo, __m512i hi, int r, int odd) {
  return _mm512_permutex2var_epi16(lo, _mm512_load_si512(kFan24Table.idx[r][odd]), hi);
}

#endif

#if defined(__BMI2__)
// A 3-byte key against the pixels of three registers of their bytes (64 pixels at 64
// bytes a register, 32 at 32): each register's bytes are compared with the key's bytes
// in the order that register meets them, and the matches reduced to whole pixels.
template <class V>
struct Key24 {
  typename V::T pat[3];
  explicit Key24(uint32_t key) {
    for (int r = 0; r < 3; ++r) pat[r] = KeyPattern24<V>(key, V::kBytes * r % 3);
  }
  // The start bits of the key pixels (StartBits24; of 32-byte registers the first 96
  // bytes' bits).
  void Starts(const typename V::T v[3], uint64_t st[3]) const {
    uint64_t eq[3];
    for (int r = 0; r < 3; ++r) {
      eq[r] = V::EqBits8(v[r], pat[r]);
      // Kept in a general register: the compiler would otherwise move it out of the
      // mask register again for each of its uses.
      if constexpr (V::kBytes == 64) __asm__("" : "+r"(eq[r]));
    }
    if constexpr (V::kBytes == 32) {
      eq[0] |= eq[1] << 32;
      eq[1] = eq[2];
      eq[2] = 0;
    }
    StartBits24(eq, st);
  }
};
#endif

#if defined(__AVX512BW__)
// A 3-byte key against 64 pixels in three 64-byte registers, for walks that want the
// key pixels as bits (Key24 reduces byte matches, cheaper where only bytes are wanted):
// 16 pixels at a time are spread to 32-bit lanes (their 48 bytes' four 12-byte groups
// permuted to the four 128-bit lanes, then one byte shuffle that leaves each fourth
// byte 0) and compared whole.
struct Key24Spread {
  __m512i key;
  explicit Key24Spread(uint32_t k) : key(_mm512_set1_epi32(static_cast<int>(k & 0xFFFFFF))) {}
  // Bit i set where pixel i is the key.
  uint64_t Pixels(const __m512i v[3]) const {
    const __m512i spread =
        _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(kSpread24)));
    auto eq = [&](__m512i x) {
      return static_cast<uint64_t>(_mm512_cmpeq_epi32_mask(_mm512_shuffle_epi8(x, spread), key));
    };
    const __m512i g0 = _mm512_permutexvar_epi32(
        _mm512_setr_epi32(0, 1, 2, 2, 3, 4, 5, 5, 6, 7, 8, 8, 9, 10, 11, 11), v[0]);
    const __m512i g1 = _mm512_permutex2var_epi32(
        v[0], _mm512_setr_epi32(12, 13, 14, 14, 15, 16, 17, 17, 18, 19, 20, 20, 21, 22, 23, 23),
        v[1]);
    const __m512i g2 = _mm512_permutex2var_epi32(
        v[1], _mm512_setr_epi32(8, 9, 10, 10, 11, 12, 13, 13, 14, 15, 16, 16, 17, 18, 19, 19),
        v[2]);
    const __m512i g3 = _mm512_permutexvar_epi32(
        _mm512_setr_epi32(4, 5, 6, 6, 7, 8, 9, 9, 10, 11, 12, 12, 13, 14, 15, 15), v[2]);
    return eq(g0) | eq(g1) << 16 | eq(g2) << 32 | eq(g3) << 48;
  }
};
#endif

// A register loaded once: the compiler would otherwise fold the load into each of
// the register's uses, loading the same bytes again for each.
template <class V = R>
inline typename V::T Loaded(const void *p) {
  typename V::T v = V::Load(p);
#if RK_NEON
  __asm__("" : "+w"(v));
#else
  __asm__("" : "+x"(v));
#endif
  return v;
}

#endif  // RK_REGISTERS

}  // namespace reg
RK_NS_END
