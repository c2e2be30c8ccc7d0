// The fast walks of the row conversions, for arrays that do not overlap.
#include "formats/convert.h"
#include "formats/convert_lanes.h"
#include "formats/convert_planes.h"
#include "module/fast.h"

#define RK_CONVERT_FAST(name, dsts, srcs) \
  t.Set(KernelId::RkBitConvert##name, &conv::FastWalk<conv::name>);

#if RK_TRIPLE_MOVES_512
RK_NS_BEGIN
namespace conv {
namespace {

// Grey levels of 3-byte B,G,R or 4-byte B,G,R,x pixels with AVX-512BW, to bytes
// (Trans) or 16-bit elements (Light): GreyOfBytes, (77 R + 150 G + 29 B) >> 8,
// lane-parallel. Each pixel is spread to the dword (B, G, R, G); vpmaddubsw weighs it
// by (29, 99, 77, 51) into the words 29 B + 99 G and 77 R + 51 G (each at most
// 128 x 255, so nothing saturates), and vpmaddwd adds the two into the exact sum.
inline __m512i GreyWeights() { return _mm512_set1_epi32(29 | 99 << 8 | 77 << 16 | 51 << 24); }
template <int InBytes>
inline __m512i SpreadBgrg() {
  if constexpr (InBytes == 3) return LaneBytes({0, 1, 2, 1, 3, 4, 5, 4, 6, 7, 8, 7, 9, 10, 11, 10});
  return LaneBytes({0, 1, 2, 1, 4, 5, 6, 5, 8, 9, 10, 9, 12, 13, 14, 13});
}
// The sums of 16 pixels, four to each 128-bit lane (3-byte ones in its first 12 bytes).
inline __m512i GreySums(__m512i four_a_lane, __m512i spread, __m512i weights) {
  __m512i bgrg = _mm512_shuffle_epi8(four_a_lane, spread);
  return _mm512_madd_epi16(_mm512_maddubs_epi16(bgrg, weights), _mm512_set1_epi16(1));
}

// 64 pixels a step from whole loads, the rest 16 a step with loads and stores masked
// to the arrays, so that a short row costs no element-wise tail.
template <int InBytes, int OutBytes>
void Grey512Walk(const ConvArgs &args) {
  const uint8_t *in = args.s[0];
  uint8_t *out = args.d[0];
  const size_t n = args.count;
  const __m512i spread = SpreadBgrg<InBytes>(), weights = GreyWeights();
  // At 3 bytes, dwords 3k..3k+2 of the 48 source bytes of 16 pixels go to lane k.
  const __m512i one = _mm512_setr_epi32(0, 1, 2, 0, 3, 4, 5, 0, 6, 7, 8, 0, 9, 10, 11, 0);
  const __m512i lo = _mm512_setr_epi32(12, 13, 14, 0, 15, 16, 17, 0, 18, 19, 20, 0, 21, 22, 23, 0);
  const __m512i hi = _mm512_setr_epi32(8, 9, 10, 0, 11, 12, 13, 0, 14, 15, 16, 0, 17, 18, 19, 0);
  const __m512i top = _mm512_setr_epi32(4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 0, 13, 14, 15, 0);
  size_t i = 0;
  for (; i + 64 <= n; i += 64) {
    const uint8_t *p = in + InBytes * i;
    __m512i q[4];
    for (int k = 0; k < InBytes; ++k) q[k] = _mm512_loadu_si512(p + 64 * k);
    if constexpr (InBytes == 3) {
      q[3] = _mm512_permutexvar_epi32(top, q[2]);
      q[2] = _mm512_permutex2var_epi32(q[1], hi, q[2]);
      q[1] = _mm512_permutex2var_epi32(q[0], lo, q[1]);
      q[0] = _mm512_permutexvar_epi32(one, q[0]);
    }
    __m512i s[4];
    for (int k = 0; k < 4; ++k) s[k] = GreySums(q[k], spread, weights);
    // The sums are at most 65280: packed to words without saturating, then >> 8.
    // Lane k of a pack holds pixels 4k.. of each operand in turn.
    __m512i w01 = _mm512_srli_epi16(_mm512_packus_epi32(s[0], s[1]), 8);
    __m512i w23 = _mm512_srli_epi16(_mm512_packus_epi32(s[2], s[3]), 8);
    if constexpr (OutBytes == 1) {
      const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
      __m512i bytes = _mm512_permutexvar_epi32(order, _mm512_packus_epi16(w01, w23));
      _mm512_storeu_si512(out + i, bytes);
    } else {
      const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
      _mm512_storeu_si512(out + 2 * i, _mm512_permutexvar_epi64(order, w01));
      _mm512_storeu_si512(out + 2 * i + 64, _mm512_permutexvar_epi64(order, w23));
    }
  }
  for (; i < n; i += 16) {
    const size_t m = std::min<size_t>(16, n - i);
    const __mmask64 bytes = _bzhi_u64(~uint64_t{0}, static_cast<unsigned>(InBytes * m));
    const __mmask16 pixels = static_cast<__mmask16>(_bzhi_u32(~0u, static_cast<unsigned>(m)));
    __m512i raw = _mm512_maskz_loadu_epi8(bytes, in + InBytes * i);
    if constexpr (InBytes == 3) raw = _mm512_permutexvar_epi32(one, raw);
    __m512i level = _mm512_srli_epi32(GreySums(raw, spread, weights), 8);
    if constexpr (OutBytes == 1) {
      _mm512_mask_cvtepi32_storeu_epi8(out + i, pixels, level);
    } else {
      _mm512_mask_cvtepi32_storeu_epi16(out + 2 * i, pixels, level);
    }
  }
}

}  // namespace
}  // namespace conv
RK_NS_END
#elif RK_TRIPLE_MOVES
RK_NS_BEGIN
namespace conv {
namespace {

// Grey levels of four colour words (B, G, R, any), GreyOfBytes lane-parallel: the
// 16-bit lanes (B, R) weighed by (29, 77) and (G, fourth byte) by (150, 0) are
// each added into their 32-bit lane, giving the exact sum (at most 65280).
inline __m128i GreyOf4(__m128i w) {
  const __m128i rb = _mm_set1_epi32(29 | 77 << 16), g = _mm_set1_epi32(150);
  __m128i s = _mm_add_epi32(_mm_madd_epi16(_mm_and_si128(w, _mm_set1_epi32(0x00FF00FF)), rb),
                            _mm_madd_epi16(_mm_srli_epi16(w, 8), g));
  return _mm_srli_epi32(s, 8);
}
// Levels of eight pixels as two vectors of four colour words, stored.
template <int OutBytes>
inline void StoreGrey8(uint8_t *out, __m128i lo, __m128i hi) {
  __m128i levels = _mm_packs_epi32(GreyOf4(lo), GreyOf4(hi));
  if constexpr (OutBytes == 1) {
    _mm_storel_epi64(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(levels, levels));
  } else {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), levels);
  }
}

#if defined(__AVX2__)
// The sums 29 B + 150 G + 77 R, >> 8, of eight 3-byte pixels read from exactly
// their 24 bytes (bytes 0..15 and 8..23): each pixel is spread to (B, G, R, G) and
// weighed by (29, 99, 77, 51) in byte products (each pair of them at most
// 128 x 255, so nothing saturates), and the two words are added.
inline __m256i Grey8Of24(const uint8_t *p) {
  const __m256i spread = _mm256_setr_epi8(0, 1, 2, 1, 3, 4, 5, 4, 6, 7, 8, 7, 9, 10, 11, 10,  //
                                          4, 5, 6, 5, 7, 8, 9, 8, 10, 11, 12, 11, 13, 14, 15, 14);
  const __m256i weights = _mm256_set1_epi32(29 | 99 << 8 | 77 << 16 | 51 << 24);
  __m256i raw = _mm256_loadu2_m128i(reinterpret_cast<const __m128i *>(p + 8),
                                    reinterpret_cast<const __m128i *>(p));
  __m256i sums = _mm256_madd_epi16(_mm256_maddubs_epi16(_mm256_shuffle_epi8(raw, spread), weights),
                                   _mm256_set1_epi16(1));
  return _mm256_srli_epi32(sums, 8);
}
#endif

// Grey Color24 pixels of levels (TransToColor24: bytes; LightToColor24: 16-bit
// elements, 255 and more read as 255), 16 a step: the levels spread to 48 bytes
// (t, t, t) by three byte shuffles (AVX2), or to words (t, t, t, 0) by unpacks and
// moved to their 3 bytes. The rest go through the member's formula.
template <class K>
void GreyTriplesWalk(const ConvArgs &args) {
  constexpr int kIn = K::kSrc[0].bytes;
  const uint8_t *in = args.s[0];
  uint8_t *out = args.d[0];
  const size_t n = args.count;
#if defined(__AVX2__)
  const __m128i spread[3] = {
      _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5),
      _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10),
      _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15)};
#endif
  size_t i = 0;
  for (; i + 16 <= n; i += 16) {
    const __m128i *p = reinterpret_cast<const __m128i *>(in + kIn * i);
    __m128i levels;
    if constexpr (kIn == 1) {
      levels = _mm_loadu_si128(p);
    } else {
      // min(e, 255) from a saturating subtraction, then packed to bytes.
      const __m128i top = _mm_set1_epi16(255);
      auto read = [&](__m128i e) { return _mm_sub_epi16(e, _mm_subs_epu16(e, top)); };
      levels = _mm_packus_epi16(read(_mm_loadu_si128(p)), read(_mm_loadu_si128(p + 1)));
    }
#if defined(__AVX2__)
    for (int k = 0; k < 3; ++k) {
      _mm_storeu_si128(reinterpret_cast<__m128i *>(out + 3 * i + 16 * k),
                       _mm_shuffle_epi8(levels, spread[k]));
    }
#else
    alignas(16) uint32_t words[16];
    const __m128i zero = _mm_setzero_si128();
    for (int h = 0; h < 2; ++h) {
      __m128i t = h == 0 ? _mm_unpacklo_epi8(levels, levels) : _mm_unpackhi_epi8(levels, levels);
      __m128i z = h == 0 ? _mm_unpacklo_epi8(levels, zero) : _mm_unpackhi_epi8(levels, zero);
      _mm_store_si128(reinterpret_cast<__m128i *>(words + 8 * h), _mm_unpacklo_epi16(t, z));
      _mm_store_si128(reinterpret_cast<__m128i *>(words + 8 * h + 4), _mm_unpackhi_epi16(t, z));
    }
    StoreTriples<3>(out + 3 * i, words, 16, n - i);
#endif
  }
  for (; i < n; ++i) StoreLE<3>(out + 3 * i, K::Map(LoadLE<kIn>(in + kIn * i)));
}

// Color24 (InBytes 3) or Color32 pixels to grey levels, eight or sixteen a step;
// the rest one by one.
template <int InBytes, int OutBytes>
void GreyWalk(const ConvArgs &args) {
  const uint8_t *in = args.s[0];
  uint8_t *out = args.d[0];
  const size_t n = args.count;
  size_t i = 0;
  if constexpr (InBytes == 4) {
    for (; i + 8 <= n; i += 8) {
      const __m128i *p = reinterpret_cast<const __m128i *>(in + 4 * i);
      StoreGrey8<OutBytes>(out + OutBytes * i, _mm_loadu_si128(p), _mm_loadu_si128(p + 1));
    }
  } else {
#if defined(__AVX2__)
    for (; i + 16 <= n; i += 16) {
      // The pack interleaves the halves' lanes; the permute puts pixels 0..15 in order.
      __m256i levels = _mm256_permute4x64_epi64(
          _mm256_packus_epi32(Grey8Of24(in + 3 * i), Grey8Of24(in + 3 * i + 24)), 0xD8);
      if constexpr (OutBytes == 1) {
        __m128i bytes =
            _mm_packus_epi16(_mm256_castsi256_si128(levels), _mm256_extracti128_si256(levels, 1));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out + i), bytes);
      } else {
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(out + 2 * i), levels);
      }
    }
#else
    // Four pairs, whose loads reach 2 bytes past the last of them.
    for (; i + 8 <= n && 3 * i + 26 <= 3 * n; i += 8) {
      const uint8_t *p = in + 3 * i;
      StoreGrey8<OutBytes>(out + OutBytes * i, PairsToWords<3>(LoadPairs(p, 6)),
                           PairsToWords<3>(LoadPairs(p + 12, 6)));
    }
#endif
  }
  for (; i < n; ++i) {
    StoreLE<OutBytes>(out + OutBytes * i, GreyOfBytes(LoadLE<InBytes>(in + InBytes * i)));
  }
}

}  // namespace
}  // namespace conv
RK_NS_END
#endif

#if RK_TRIPLE_MOVES && defined(__AVX2__)
RK_NS_BEGIN
namespace conv {
namespace {

// Color24 to Color32 (the fourth byte 0) and back, whole registers straight between
// the rows; the rest through the member's walk. (With SSE2 the word block is faster.)
template <class K>
void TripleQuadWalk(const ConvArgs &a) {
  using R = reg::R;
  constexpr size_t kN = R::kBytes / 4;
  constexpr bool kToQuad = K::kSrc[0].bytes == 3;
  constexpr size_t kIn = K::kSrc[0].stride, kOut = K::kDst[0].stride;
  const size_t n = a.count;
  size_t i = 0;
  // (Spread24 reads R::kOver24 bytes past its pixels: none at these widths.)
  static_assert(R::kOver24 == 0);
  for (; i + kN <= n; i += kN) {
    if constexpr (kToQuad) {
      R::Store(a.d[0] + 4 * i, R::Spread24(a.s[0] + 3 * i));
    } else {
      R::Join24(a.d[0] + 3 * i, R::Load(a.s[0] + 4 * i));
    }
  }
  FastLoop<K>(n - i, a.d[0] + kOut * i, nullptr, nullptr, a.s[0] + kIn * i, nullptr, nullptr);
}

}  // namespace
}  // namespace conv
RK_NS_END
#endif

RK_FAST_FAMILY(convert) {
  RK_CONVERT_ALL(RK_CONVERT_FAST)
#if RK_TRIPLE_MOVES
  t.Set(KernelId::RkBitConvertColor15ToLight, &conv::LanesWalk<conv::Light15Lanes>);
  t.Set(KernelId::RkBitConvertLightToColor16, &conv::LanesWalk<conv::LightToColor16Lanes>);
  t.Set(KernelId::RkBitConvertLightToColor15, &conv::LanesWalk<conv::LightToColor15Lanes>);
  t.Set(KernelId::RkBitConvertTransToColor16, &conv::LanesWalk<conv::TransToColor16Lanes>);
  t.Set(KernelId::RkBitConvertTransToColor15, &conv::LanesWalk<conv::TransToColor15Lanes>);
  t.Set(KernelId::RkBitConvertColor16ToTrans,
        &conv::LanesWalk<conv::GreyLanes<conv::Color16ToTrans, false>>);
  t.Set(KernelId::RkBitConvertColor16ToLight,
        &conv::LanesWalk<conv::GreyLanes<conv::Color16ToLight, false>>);
  t.Set(KernelId::RkBitConvertColor15ToTrans,
        &conv::LanesWalk<conv::GreyLanes<conv::Color15ToTrans, true>>);
#endif
#if RK_TRIPLE_MOVES && defined(__AVX2__)
  t.Set(KernelId::RkBitConvertColor24ToColor32, &conv::TripleQuadWalk<conv::Color24ToColor32>);
  t.Set(KernelId::RkBitConvertColor32ToColor24, &conv::TripleQuadWalk<conv::Color32ToColor24>);
#endif
#if RK_TRIPLE_MOVES_512
  t.Set(KernelId::RkBitConvertColor24ToTrans, &conv::Grey512Walk<3, 1>);
  t.Set(KernelId::RkBitConvertColor24ToLight, &conv::Grey512Walk<3, 2>);
  t.Set(KernelId::RkBitConvertColor32ToTrans, &conv::Grey512Walk<4, 1>);
  t.Set(KernelId::RkBitConvertColor32ToLight, &conv::Grey512Walk<4, 2>);
#elif RK_TRIPLE_MOVES
  t.Set(KernelId::RkBitConvertRGBLight16ToColor32,
        &conv::PlanesWalk<conv::HighPlanes<conv::RGBLight16ToColor32, conv::HighBytes16>>);
  t.Set(KernelId::RkBitConvertRGBLight16ToColor24,
        &conv::PlanesWalk<conv::HighPlanes<conv::RGBLight16ToColor24, conv::Level5Of16<3>>>);
  t.Set(KernelId::RkBitConvertRGBLight16ToColor16,
        &conv::PlanesWalk<conv::PackedPlanes<conv::RGBLight16ToColor16, 11>>);
  t.Set(KernelId::RkBitConvertRGBLight16ToColor15,
        &conv::PlanesWalk<conv::PackedPlanes<conv::RGBLight16ToColor15, 10>>);
  t.Set(KernelId::RkBitConvertColor32ToColor16, &conv::PackWalk<conv::Color32ToColor16, 8>);
  t.Set(KernelId::RkBitConvertColor32ToColor15, &conv::PackWalk<conv::Color32ToColor15, 9>);
  t.Set(KernelId::RkBitConvertColor24ToColor16, &conv::PackWalk<conv::Color24ToColor16, 8>);
  t.Set(KernelId::RkBitConvertColor24ToColor15, &conv::PackWalk<conv::Color24ToColor15, 9>);
  t.Set(KernelId::RkBitConvertColor16ToColor32,
        &conv::SpreadWalk<conv::Color16ToColor32, 3, 0xFC, 8, 0xF8>);
  t.Set(KernelId::RkBitConvertColor16ToColor24,
        &conv::SpreadWalk<conv::Color16ToColor24, 3, 0xFC, 8, 0x7C>);
  t.Set(KernelId::RkBitConvertColor15ToColor32,
        &conv::SpreadWalk<conv::Color15ToColor32, 2, 0xF8, 7, 0xF8>);
  t.Set(KernelId::RkBitConvertColor15ToColor24,
        &conv::SpreadWalk<conv::Color15ToColor24, 2, 0xF8, 7, 0xF8>);
  t.Set(KernelId::RkBitConvertColor24ToTrans, &conv::GreyWalk<3, 1>);
  t.Set(KernelId::RkBitConvertColor24ToLight, &conv::GreyWalk<3, 2>);
  t.Set(KernelId::RkBitConvertColor32ToTrans, &conv::GreyWalk<4, 1>);
  t.Set(KernelId::RkBitConvertColor32ToLight, &conv::GreyWalk<4, 2>);
  t.Set(KernelId::RkBitConvertTransToColor24, &conv::GreyTriplesWalk<conv::TransToColor24>);
  t.Set(KernelId::RkBitConvertLightToColor24, &conv::GreyTriplesWalk<conv::LightToColor24>);
#endif
}
