// Moving 3-byte colour elements between their packed places (a 3- or 5-byte
// stride) and 32-bit words, for the fast walks. Pure data movement: the formulas
// stay in the members. Built with AVX-512 byte masks and word permutes where the
// level has them, with SSE2 pair moves on the other x86-64 levels, with NEON's
// structure moves and table lookups on aarch64 (RK_TRIPLE_WORDS says where there are
// such moves); elsewhere the fast walks address the bytes directly.
#pragma once

#include <cstddef>
#include <cstdint>

#include "module/registers.h"

#if defined(__AVX512BW__) && defined(__AVX512VL__)
#define RK_TRIPLE_MOVES 1
#define RK_TRIPLE_MOVES_512 1
#elif defined(__SSE2__)
#define RK_TRIPLE_MOVES 1
#define RK_TRIPLE_MOVES_512 0
#else
#define RK_TRIPLE_MOVES 0
#define RK_TRIPLE_MOVES_512 0
#endif
#define RK_TRIPLE_WORDS (RK_TRIPLE_MOVES || RK_NEON)

RK_NS_BEGIN
namespace conv {

inline constexpr bool kTripleMoves = RK_TRIPLE_WORDS != 0;

// Elements [from, n) one at a time, for the moves below: the 3 bytes at
// in + Stride * i to a word (fourth byte 0), and back.
template <int Stride>
inline void LoadTriplesFrom(size_t from, uint32_t *out, const uint8_t *in, size_t n) {
  for (size_t i = from; i < n; ++i) {
    const uint8_t *p = in + Stride * i;
    out[i] = p[0] | p[1] << 8 | p[2] << 16;
  }
}
template <int Stride>
inline void StoreTriplesFrom(size_t from, uint8_t *out, const uint32_t *in, size_t n) {
  for (size_t i = from; i < n; ++i) {
    uint8_t *p = out + Stride * i;
    p[0] = static_cast<uint8_t>(in[i]);
    p[1] = static_cast<uint8_t>(in[i] >> 8);
    p[2] = static_cast<uint8_t>(in[i] >> 16);
  }
}

#if RK_TRIPLE_MOVES_512

// Bytes 0..79 of 16 elements at a 5-byte stride that belong to an element.
constexpr uint64_t Stride5Mask(int from, int bits) {
  uint64_t m = 0;
  for (int b = 0; b < bits; ++b) {
    if ((from + b) % 5 < 3) m |= uint64_t{1} << b;
  }
  return m;
}
inline constexpr uint64_t kLow5 = Stride5Mask(0, 64), kHigh5 = Stride5Mask(64, 16);
// The odd elements of 16.
inline constexpr __mmask16 kOdd = 0xAAAA;

// 16 bytes a 128-bit lane, the same in every lane.
inline __m512i LaneBytes(const int8_t (&b)[16]) {
  return _mm512_broadcast_i32x4(_mm_loadu_si128(reinterpret_cast<const __m128i *>(b)));
}

// out[i] = the 3 bytes at in + Stride * i, fourth byte 0. `readable` bytes from
// `in` may be read; the bulk reads whole 16-element spans, gap bytes included
// (masked loads are slow on some processors when memory is cold), and only the
// last spans mask what lies past `readable`.
template <int Stride>
inline void LoadTriples(uint32_t *out, const uint8_t *in, size_t n, size_t readable) {
  size_t i = 0;
  if constexpr (Stride == 3) {
    for (; i + 16 <= n; i += 16) reg::R512::Store(out + i, reg::R512::Spread24(in + 3 * i));
  } else {
    // Two elements fill five 16-bit words: (B0 G0) (R0 -) (- B1) (G1 R1) (- -).
    alignas(64) static constexpr int16_t kWords[32] = {0,  1,  2,  3,  5,  6,  7,  8,  10, 11, 12,
                                                       13, 15, 16, 17, 18, 20, 21, 22, 23, 25, 26,
                                                       27, 28, 30, 31, 32, 33, 35, 36, 37, 38};
    const __m512i words = _mm512_load_si512(kWords);
    const __m512i colour = _mm512_set1_epi32(0x00FFFFFF);
    for (; i + 16 <= n; i += 16) {
      const uint8_t *p = in + 5 * i;
      __m512i a, b;
      if (5 * i + 80 <= readable) {
        a = _mm512_loadu_si512(p);
        b = _mm512_zextsi128_si512(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p + 64)));
      } else {
        a = _mm512_maskz_loadu_epi8(kLow5, p);
        b = _mm512_maskz_loadu_epi8(kHigh5, p + 64);
      }
      __m512i v = _mm512_permutex2var_epi16(a, words, b);
      v = _mm512_and_si512(_mm512_mask_srli_epi32(v, kOdd, v, 8), colour);
      _mm512_storeu_si512(out + i, v);
    }
  }
  LoadTriplesFrom<Stride>(i, out, in, n);
}

// The low 3 bytes of in[i] to out + Stride * i; nothing else is written. The array
// holds `total` elements from `out` on (n of them written now).
template <int Stride>
inline void StoreTriples(uint8_t *out, const uint32_t *in, size_t n, size_t total) {
  size_t i = 0;
  if constexpr (Stride == 3) {
    for (; i + 16 <= n; i += 16) reg::R512::Join24(out + 3 * i, reg::R512::Load(in + i));
  } else {
    // Odd elements move up a byte so that each pair fills the words (B0 G0) (R0 -)
    // (- B1) (G1 R1) (- -).
    alignas(64) static constexpr int16_t kLow[32] = {0,  1,  2,  3,  0,  4,  5,  6,  7,  0,  8,
                                                     9,  10, 11, 0,  12, 13, 14, 15, 0,  16, 17,
                                                     18, 19, 0,  20, 21, 22, 23, 0,  24, 25};
    alignas(64) static constexpr int16_t kHigh[32] = {26, 27, 0, 28, 29, 30, 31, 0};
    const __m512i low = _mm512_load_si512(kLow), high = _mm512_load_si512(kHigh);
    for (; i + 16 <= n; i += 16) {
      // Masked stores into lines not yet held cost dearly on some processors: the
      // lines eight spans ahead are claimed for writing first.
      if (i + 9 * 16 <= total) {
        const char *ahead = reinterpret_cast<const char *>(out + 5 * (i + 8 * 16));
        _mm_prefetch(ahead, _MM_HINT_ET0);
        _mm_prefetch(ahead + 64, _MM_HINT_ET0);
        _mm_prefetch(ahead + 79, _MM_HINT_ET0);
      }
      __m512i v = _mm512_loadu_si512(in + i);
      v = _mm512_mask_slli_epi32(v, kOdd, v, 8);
      _mm512_mask_storeu_epi8(out + 5 * i, kLow5, _mm512_permutexvar_epi16(low, v));
      _mm512_mask_storeu_epi8(out + 5 * i + 64, kHigh5, _mm512_permutexvar_epi16(high, v));
    }
  }
  StoreTriplesFrom<Stride>(i, out, in, n);
}

#elif RK_TRIPLE_MOVES

// Two elements at a Stride of 3 or 5 lie in the first 8 bytes from the first one:
// the even element in bytes 0..2, the odd one in bytes Stride..Stride + 2 (at a
// stride of 5 the 8 bytes are exactly the pair's, gap bytes 3 and 4 between).
// Vectors hold two such 64-bit pairs, or the same pairs as four 32-bit words.
inline __m128i LoadPairs(const uint8_t *p, size_t pairBytes) {
  return _mm_unpacklo_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(p)),
                            _mm_loadl_epi64(reinterpret_cast<const __m128i *>(p + pairBytes)));
}
inline void StorePairs(uint8_t *p, size_t pairBytes, __m128i v) {
  _mm_storel_epi64(reinterpret_cast<__m128i *>(p), v);
  _mm_storel_epi64(reinterpret_cast<__m128i *>(p + pairBytes), _mm_unpackhi_epi64(v, v));
}
// Pairs to words: the odd element moves from byte Stride to byte 4.
template <int Stride>
inline __m128i PairsToWords(__m128i v) {
  const __m128i even = _mm_set1_epi64x(0xFFFFFF), odd = _mm_set1_epi64x(0xFFFFFF00000000);
  __m128i moved = Stride == 3 ? _mm_slli_epi64(v, 8) : _mm_srli_epi64(v, 8);
  return _mm_or_si128(_mm_and_si128(v, even), _mm_and_si128(moved, odd));
}
// Words to pairs, bytes between and after the elements 0.
template <int Stride>
inline __m128i WordsToPairs(__m128i v) {
  const __m128i even = _mm_set1_epi64x(0xFFFFFF), odd = _mm_set1_epi64x(0xFFFFFF00000000);
  __m128i high = _mm_and_si128(v, odd);
  __m128i moved = Stride == 3 ? _mm_srli_epi64(high, 8) : _mm_slli_epi64(high, 8);
  return _mm_or_si128(_mm_and_si128(v, even), moved);
}

// out[i] = the 3 bytes at in + Stride * i, fourth byte 0; `readable` bytes from
// `in` may be read (at a stride of 3 the pairs' loads reach 2 bytes further).
template <int Stride>
inline void LoadTriples(uint32_t *out, const uint8_t *in, size_t n, size_t readable) {
  constexpr size_t pair = 2 * Stride;
  size_t i = 0;
#if defined(__AVX2__)
  if constexpr (Stride == 3) {
    for (; i + 8 <= n; i += 8) reg::R256::Store(out + i, reg::R256::Spread24(in + 3 * i));
  } else {
    // Six elements a step, three from each of two 16-byte windows (their last
    // element ends 3 bytes before the window's end), closed up into six words; the
    // step stores eight words, the last two written again by the next step.
    const __m256i spread =
        _mm256_setr_epi8(0, 1, 2, -1, 5, 6, 7, -1, 10, 11, 12, -1, -1, -1, -1, -1,  //
                         0, 1, 2, -1, 5, 6, 7, -1, 10, 11, 12, -1, -1, -1, -1, -1);
    const __m256i close = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    for (; i + 8 <= n && 5 * i + 31 <= readable; i += 6) {
      const uint8_t *p = in + 5 * i;
      __m256i raw = _mm256_loadu2_m128i(reinterpret_cast<const __m128i *>(p + 15),
                                        reinterpret_cast<const __m128i *>(p));
      _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + i),
                          _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(raw, spread), close));
    }
  }
#endif
  for (; i + 8 <= n && Stride * i + 3 * pair + 8 <= readable; i += 8) {
    const uint8_t *p = in + Stride * i;
    __m128i a = PairsToWords<Stride>(LoadPairs(p, pair));
    __m128i b = PairsToWords<Stride>(LoadPairs(p + 2 * pair, pair));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), a);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i + 4), b);
  }
  LoadTriplesFrom<Stride>(i, out, in, n);
}

#if defined(__AVX2__)
// 32 elements (four vectors of words) at a stride of 5 as five whole 32-byte vectors. Each 128-bit
// lane of the output holds bytes of at most four consecutive elements, from the one its first byte
// belongs to; their words are gathered into the lane and shuffled into place, and the gap bytes are
// read and written back unchanged.
struct Stride5Tables {
  int8_t place[160];  // byte of the lane's words for each output byte, -1 for a gap
  int8_t gap[160];    // -1 for a gap byte
};
constexpr Stride5Tables MakeStride5Tables() {
  Stride5Tables t{};
  for (int o = 0; o < 160; ++o) {
    const int first = 16 * (o / 16) / 5, e = o / 5, b = o % 5;
    t.place[o] = static_cast<int8_t>(b < 3 ? 4 * (e - first) + b : -1);
    t.gap[o] = static_cast<int8_t>(b < 3 ? 0 : -1);
  }
  return t;
}
inline void StoreTriples32At5(uint8_t *out, const __m256i (&v)[4]) {
  alignas(32) static constexpr Stride5Tables kT = MakeStride5Tables();
  auto idx = [](int a, int b, int c, int d, int e, int f, int g, int h) {
    return _mm256_setr_epi32(a, b, c, d, e, f, g, h);
  };
  // The lanes' first elements are 0, 3 | 6, 9 | 12, 16 | 19, 22 | 25, 28.
  const __m256i words[5] = {
      _mm256_permutevar8x32_epi32(v[0], idx(0, 1, 2, 3, 3, 4, 5, 6)),
      _mm256_blend_epi32(_mm256_permutevar8x32_epi32(v[0], idx(6, 7, 0, 0, 0, 0, 0, 0)),
                         _mm256_permutevar8x32_epi32(v[1], idx(0, 0, 0, 1, 1, 2, 3, 4)), 0xFC),
      _mm256_permute2x128_si256(v[1], v[2], 0x21),
      _mm256_blend_epi32(_mm256_permutevar8x32_epi32(v[2], idx(3, 4, 5, 6, 6, 7, 0, 0)),
                         _mm256_permutevar8x32_epi32(v[3], idx(0, 0, 0, 0, 0, 0, 0, 1)), 0xC0),
      _mm256_permutevar8x32_epi32(v[3], idx(1, 2, 3, 4, 4, 5, 6, 7))};
  for (int j = 0; j < 5; ++j) {
    __m256i *p = reinterpret_cast<__m256i *>(out + 32 * j);
    __m256i place = _mm256_load_si256(reinterpret_cast<const __m256i *>(kT.place + 32 * j));
    __m256i gap = _mm256_load_si256(reinterpret_cast<const __m256i *>(kT.gap + 32 * j));
    __m256i bytes = _mm256_shuffle_epi8(words[j], place);
    _mm256_storeu_si256(p, _mm256_or_si256(bytes, _mm256_and_si256(_mm256_loadu_si256(p), gap)));
  }
}

#endif

// The low 3 bytes of in[i] to out + Stride * i; nothing else is written, except
// that at a stride of 3 a pair's store also writes the next pair's first 2 bytes,
// which a later store (pairs go in increasing order) or the element-wise rest
// writes again. The array holds `total` elements from `out` on. At a stride of 5
// the gap bytes are read and written back unchanged.
template <int Stride>
inline void StoreTriples(uint8_t *out, const uint32_t *in, size_t n, size_t total) {
  constexpr size_t pair = 2 * Stride;
  const size_t bytes = Stride * total - (Stride - 3);
  size_t i = 0;
#if defined(__AVX2__)
  if constexpr (Stride == 3) {
    for (; i + 8 <= n; i += 8) {
      reg::R256::Join24(out + 3 * i, reg::R256::Load(in + i));
    }
  } else {
    for (; i + 32 <= n && 5 * i + 160 <= bytes; i += 32) {
      __m256i v[4];
      for (int q = 0; q < 4; ++q) {
        v[q] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(in + i + 8 * q));
      }
      StoreTriples32At5(out + 5 * i, v);
    }
  }
#endif
  for (; i + 4 <= n && Stride * i + pair + 8 <= bytes; i += 4) {
    uint8_t *p = out + Stride * i;
    __m128i v = WordsToPairs<Stride>(_mm_loadu_si128(reinterpret_cast<const __m128i *>(in + i)));
    if constexpr (Stride == 5) {
      const __m128i gaps = _mm_set1_epi64x(0xFFFF000000);
      v = _mm_or_si128(v, _mm_and_si128(LoadPairs(p, pair), gaps));
    }
    StorePairs(p, pair, v);
  }
  StoreTriplesFrom<Stride>(i, out, in, n);
}

#elif RK_NEON

// At a stride of 3, sixteen elements a step: a structure load parts their 48 bytes
// into three registers of first, second and third bytes, and a four-register
// structure store with a register of zeros writes them as 16 words (and back the
// other way). Neither reads or writes a byte outside the elements.
//
// At a stride of 5, sixteen elements a step through table lookups over two registers:
// their 80 bytes are five registers, and each register of four words takes its
// elements' bytes from the two that hold them (an index past the table gives 0, the
// fourth byte). The way back looks each register of 16 bytes up in the two registers
// of words that hold its elements, and the lookup leaves a gap byte, whose index lies
// past the table, as it was loaded: gap bytes are read and written back unchanged.
struct Stride5Lookups {
  uint8_t load[4][16];   // word byte -> byte of registers k, k + 1
  uint8_t store[5][16];  // output byte -> byte of word registers base[j], base[j] + 1
  int base[5];
};
constexpr Stride5Lookups MakeStride5Lookups() {
  Stride5Lookups t{};
  for (int k = 0; k < 4; ++k) {
    for (int m = 0; m < 16; ++m) {
      const int e = 4 * k + m / 4, b = m % 4;
      t.load[k][m] = static_cast<uint8_t>(b < 3 ? 5 * e + b - 16 * k : 0xFF);
    }
  }
  for (int j = 0; j < 5; ++j) {
    const int first = 16 * j / 5;  // the element of the register's first byte
    t.base[j] = 4 * first / 16 < 2 ? 4 * first / 16 : 2;
    for (int m = 0; m < 16; ++m) {
      const int o = 16 * j + m, e = o / 5, b = o % 5;
      t.store[j][m] = static_cast<uint8_t>(b < 3 ? 4 * e + b - 16 * t.base[j] : 0xFF);
    }
  }
  return t;
}
inline constexpr Stride5Lookups kStride5 = MakeStride5Lookups();

template <int Stride>
inline void LoadTriples(uint32_t *out, const uint8_t *in, size_t n, size_t readable) {
  size_t i = 0;
  if constexpr (Stride == 3) {
    for (; i + 16 <= n; i += 16) {
      const uint8x16x3_t t = vld3q_u8(in + 3 * i);
      const uint8x16x4_t w = {{t.val[0], t.val[1], t.val[2], vdupq_n_u8(0)}};
      vst4q_u8(reinterpret_cast<uint8_t *>(out + i), w);
    }
  } else {
    uint8x16_t idx[4];
    for (int k = 0; k < 4; ++k) idx[k] = vld1q_u8(kStride5.load[k]);
    for (; i + 16 <= n && 5 * i + 80 <= readable; i += 16) {
      const uint8_t *p = in + 5 * i;
      uint8x16_t q[5];
      for (int k = 0; k < 5; ++k) q[k] = vld1q_u8(p + 16 * k);
      for (int k = 0; k < 4; ++k) {
        const uint8x16x2_t t = {{q[k], q[k + 1]}};
        vst1q_u8(reinterpret_cast<uint8_t *>(out + i + 4 * k), vqtbl2q_u8(t, idx[k]));
      }
    }
  }
  LoadTriplesFrom<Stride>(i, out, in, n);
}
// The array holds `total` elements from `out` on (n of them written now).
template <int Stride>
inline void StoreTriples(uint8_t *out, const uint32_t *in, size_t n, size_t total) {
  size_t i = 0;
  if constexpr (Stride == 3) {
    for (; i + 16 <= n; i += 16) {
      const uint8x16x4_t w = vld4q_u8(reinterpret_cast<const uint8_t *>(in + i));
      const uint8x16x3_t t = {{w.val[0], w.val[1], w.val[2]}};
      vst3q_u8(out + 3 * i, t);
    }
  } else {
    const size_t bytes = 5 * total - 2;
    uint8x16_t idx[5];
    for (int j = 0; j < 5; ++j) idx[j] = vld1q_u8(kStride5.store[j]);
    for (; i + 16 <= n && 5 * i + 80 <= bytes; i += 16) {
      const auto *w = reinterpret_cast<const uint8_t *>(in + i);
      uint8x16_t q[4];
      for (int k = 0; k < 4; ++k) q[k] = vld1q_u8(w + 16 * k);
      uint8_t *p = out + 5 * i;
      for (int j = 0; j < 5; ++j) {
        const uint8x16x2_t t = {{q[kStride5.base[j]], q[kStride5.base[j] + 1]}};
        vst1q_u8(p + 16 * j, vqtbx2q_u8(vld1q_u8(p + 16 * j), t, idx[j]));
      }
    }
  }
  StoreTriplesFrom<Stride>(i, out, in, n);
}

#endif

}  // namespace conv
RK_NS_END
