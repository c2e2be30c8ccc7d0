// Conversions of 16-bit elements to 16-bit elements written once over vectors of
// 16-bit lanes, for every x86-64 level, on the level's widest register (`Lanes`).
#pragma once

#include "formats/convert_grey.h"

#if RK_TRIPLE_MOVES

RK_NS_BEGIN
namespace conv {

// The level's widest register (module/registers.h) and what the conversions add:
// kCount 16-bit lanes a register; LoadBytes widens kCount bytes to 16-bit lanes;
// StoreBytes stores two registers of lanes below 256 as bytes in order; AtLeast(a, k)
// gives all ones in the lanes of a at least k; OddFrom takes the even lanes of one
// register and the odd ones of the other; Pack32 gives the 32-bit lanes (below 2^16)
// of a, then b, as 16-bit lanes in order; Zip16 gives the 32-bit lanes (low[k],
// high[k]) in order, the first half of them in `first`.
struct Lanes : reg::R {
  using V = T;
  static constexpr size_t kCount = kBytes / 2;
#if RK_TRIPLE_MOVES_512
  static V LoadBytes(const uint8_t *p) {
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i *>(p)));
  }
  static void StoreBytes(uint8_t *p, V a, V b) {
    V packed = _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7),
                                        _mm512_packus_epi16(a, b));
    Store(p, packed);
  }
  static V OddFrom(V even, V odd) { return _mm512_mask_mov_epi16(even, 0xAAAAAAAA, odd); }
#elif defined(__AVX2__)
  static V LoadBytes(const uint8_t *p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i *>(p)));
  }
  // The pack interleaves the 128-bit halves; the permute puts them back.
  static void StoreBytes(uint8_t *p, V a, V b) {
    Store(p, _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8));
  }
  static V AtLeast(V a, int k) { return Eq16(_mm256_max_epu16(a, Set16(k)), a); }
  static V OddFrom(V even, V odd) { return _mm256_blend_epi16(even, odd, 0xAA); }
  static V Pack32(V a, V b) { return _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), 0xD8); }
  static void Zip16(V low, V high, V &first, V &second) {
    V lo = _mm256_unpacklo_epi16(low, high), hi = _mm256_unpackhi_epi16(low, high);
    first = _mm256_permute2x128_si256(lo, hi, 0x20);
    second = _mm256_permute2x128_si256(lo, hi, 0x31);
  }
#else
  static V LoadBytes(const uint8_t *p) {
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const V *>(p)), Zero());
  }
  static void StoreBytes(uint8_t *p, V a, V b) { Store(p, _mm_packus_epi16(a, b)); }
  // Where k - a saturates to 0.
  static V AtLeast(V a, int k) { return Eq16(_mm_subs_epu16(Set16(k), a), Zero()); }
  static V OddFrom(V even, V odd) { return Select(Set32(0xFFFF0000u), odd, even); }
  // Sign-extended from bit 15 first, so that the signed pack keeps their bits.
  static V Pack32(V a, V b) {
    return _mm_packs_epi32(_mm_srai_epi32(Sll32<16>(a), 16), _mm_srai_epi32(Sll32<16>(b), 16));
  }
  static void Zip16(V low, V high, V &first, V &second) {
    first = _mm_unpacklo_epi16(low, high);
    second = _mm_unpackhi_epi16(low, high);
  }
#endif
};
using V16 = Lanes::V;

// Color15 to Light. A pair's word of two 16-bit lanes (Color15ToLight::Lanes)
// carries at most 1 out of the lower lane, into bit 16; every weight is a multiple
// of 8, so the upper lane's sum is a multiple of 8 and the carry never reaches its
// bits 8..15. Each element's level is therefore bits 8..15 of its own sum, i.e.
// (t >> 5) & 0xFF with t = 77 (bits 4..0) + 29 (bits 14..10) + 150 (bits 10..5),
// below 2^14; a lone element (the lower lane alone) gives the same. Half of each
// element's sum, h = 308 a + 116 b + 600 c (at most 50944), is formed with
// high-half products of fields moved to the top of the word, and the level is
// (h >> 7) & 0xFF.
struct Light15Lanes {
  using Member = Color15ToLight;
  static V16 Convert(V16 v) {
    using L = Lanes;
    // a x 2048, b x 1024, c x 1024.
    V16 a = L::Sll16<11>(v), b = L::And(v, L::Set16(0x7C00)),
        c = L::And(L::Sll16<5>(v), L::Set16(0xFC00));
    V16 h = L::Add16(L::MulhiU16(a, L::Set16(308 * 32)), L::MulhiU16(b, L::Set16(116 * 64)));
    h = L::Add16(h, L::MulhiU16(c, L::Set16(600 * 64)));
    return L::And(L::Srl16<7>(h), L::Set16(0xFF));
  }
};

// Grey Color16 and Color15 pixels of levels 0..255.
inline V16 Grey565Lanes(V16 t) {
  using L = Lanes;
  V16 r = L::Sll16<8>(L::And(t, L::Set16(0xF8))), g = L::Sll16<5>(L::Srl16<2>(t)),
      b = L::Srl16<3>(t);
  return L::Or(L::Or(r, g), b);
}
inline V16 Grey555Lanes(V16 t) {
  using L = Lanes;
  V16 b = L::Srl16<3>(t);
  return L::Or(L::Or(L::Sll16<7>(L::And(t, L::Set16(0xF8))), L::Sll16<5>(b)), b);
}

// Light to Color16: the lower element of each pair read back (255 and more read as
// 255), the upper one modulo 256, each as a grey Color16 pixel.
struct LightToColor16Lanes {
  using Member = LightToColor16;
  static V16 Convert(V16 e) {
    using L = Lanes;
    return Grey565Lanes(L::OddFrom(L::MinU16(e, L::Set16(255)), L::And(e, L::Set16(0xFF))));
  }
};
// Light (read back) and Trans levels to grey Color15 and Color16 pixels.
struct LightToColor15Lanes {
  using Member = LightToColor15;
  static V16 Convert(V16 e) { return Grey555Lanes(Lanes::MinU16(e, Lanes::Set16(255))); }
};
struct TransToColor16Lanes {
  using Member = TransToColor16;
  static V16 Convert(V16 t) { return Grey565Lanes(t); }
};
struct TransToColor15Lanes {
  using Member = TransToColor15;
  static V16 Convert(V16 t) { return Grey555Lanes(t); }
};

// Grey levels of Color16 and Color15 pixels, as Grey16 and Grey15 form them:
// 77 v - 2389 (v >> 5) - 4771 (v >> 11) modulo 2^16, >> 5 (Color16), and with
// bit 15 cleared, 77 v - 2314 (v >> 5) - 4771 (v >> 10) (Color15).
template <class Member_, bool Five>
struct GreyLanes {
  using Member = Member_;
  static V16 Convert(V16 v) {
    using L = Lanes;
    if constexpr (Five) v = L::And(v, L::Set16(0x7FFF));
    V16 k = L::Set16(Five ? 2314 : 2389);
#if defined(__GNUC__)
    // One multiply, not the chain of shifts and adds GCC would make of it.
    __asm__("" : "+x"(k));
#endif
    V16 t = L::Sub16(L::Mullo16(v, L::Set16(77)), L::Mullo16(L::Srl16<5>(v), k));
    V16 high = Five ? L::Srl16<10>(v) : L::Srl16<11>(v);
    return L::Srl16<5>(L::Sub16(t, L::Mullo16(high, L::Set16(4771))));
  }
};

// 8- or 16-bit elements to 8- or 16-bit elements, whole vectors a step (an even number
// of elements, so pairs stay pairs) from a source address at a vector boundary
// when an even number of elements leads to one; the elements before and after, an
// odd count's last element among them, through the member's own walk.
template <class C>
void LanesWalk(const ConvArgs &a) {
  using K = typename C::Member;
  constexpr size_t kIn = K::kSrc[0].bytes, kOut = K::kDst[0].bytes, kStep = Lanes::kCount;
  auto load = [](const uint8_t *p) {
    if constexpr (kIn == 1) {
      return Lanes::LoadBytes(p);
    } else {
      return Lanes::Load(p);
    }
  };
  const size_t n = a.count;
  const uint8_t *in = a.s[0];
  uint8_t *out = a.d[0];
  size_t i = 0;
  if (const size_t ahead = (0 - reinterpret_cast<uintptr_t>(in)) & (kIn * kStep - 1);
      ahead % (2 * kIn) == 0) {
    i = std::min(ahead / kIn, n & ~size_t{1});
    FastLoop<K>(i, out, nullptr, nullptr, in, nullptr, nullptr);
  }
  for (; i + 2 * kStep <= n; i += 2 * kStep) {
    V16 x = C::Convert(load(in + kIn * i)), y = C::Convert(load(in + kIn * (i + kStep)));
    if constexpr (kOut == 1) {
      Lanes::StoreBytes(out + i, x, y);
    } else {
      Lanes::Store(out + 2 * i, x);
      Lanes::Store(out + 2 * i + 2 * kStep, y);
    }
  }
  FastLoop<K>(n - i, out + kOut * i, nullptr, nullptr, in + kIn * i, nullptr, nullptr);
}

#if !RK_TRIPLE_MOVES_512
// RGBLight16 elements read back as colour bytes: with the high bit set (0..1022
// give 0x80.., 1023 and more fill the low seven bits), or as 5-bit levels, shifted
// up (Shift 3) or not.
inline V16 HighBytes16(V16 e) {
  using L = Lanes;
  // 0x400, or 0x3FF for the big ones.
  V16 fill = L::Xor(L::Set16(0x400), L::And(L::AtLeast(e, 1023), L::Set16(0x7FF)));
  return L::And(L::Srl16<3>(L::Or(e, fill)), L::Set16(0xFF));
}
template <int Shift>
inline V16 Level5Of16(V16 e) {
  using L = Lanes;
  return L::Sll16<Shift>(L::And(L::Or(e, L::AtLeast(e, 1023)), L::Set16(31)));
}

// RGBLight16 planes to colour bytes (Color32, Color24), every element of the
// steps by `Byte` (the pairs' formula): the bytes are put together as (B, G, R, 0)
// words and stored whole or as their 3 bytes.
template <class K, V16 (*Byte)(V16)>
struct HighPlanes {
  using Member = K;
  static void Step(const V16 (&p)[3], uint8_t *out, [[maybe_unused]] size_t left) {
    using L = Lanes;
    V16 w[2];
    L::Zip16(L::Or(Byte(p[2]), L::Sll16<8>(Byte(p[1]))), Byte(p[0]), w[0], w[1]);
    if constexpr (K::kDst[0].bytes == 4) {
      L::Store(out, w[0]);
      L::Store(out + 2 * L::kCount, w[1]);
    } else {
#if defined(__AVX2__)
      reg::R256::Join24(out, w[0]);
      reg::R256::Join24(out + 24, w[1]);
#else
      alignas(16) uint32_t words[L::kCount];
      L::Store(reinterpret_cast<uint8_t *>(words), w[0]);
      L::Store(reinterpret_cast<uint8_t *>(words + L::kCount / 2), w[1]);
      StoreTriples<3>(out, words, L::kCount, left);
#endif
    }
  }
};
// RGBLight16 planes to Color16 (RShift 11) or Color15 (10), the elements read back
// as 5-bit levels.
template <class K, int RShift>
struct PackedPlanes {
  using Member = K;
  static void Step(const V16 (&p)[3], uint8_t *out, size_t) {
    using L = Lanes;
    V16 r = L::Sll16<RShift>(Level5Of16<0>(p[0])), g = L::Sll16<RShift - 5>(Level5Of16<0>(p[1]));
    L::Store(out, L::Or(L::Or(r, g), Level5Of16<0>(p[2])));
  }
};
// Three 16-bit planes to one array, a vector of each a step (an even number of
// elements, so pairs stay pairs); the rest, an odd count's last element among
// them, through the member's own walk.
template <class C>
void PlanesWalk(const ConvArgs &a) {
  using K = typename C::Member;
  constexpr size_t kOut = K::kDst[0].bytes, kStep = Lanes::kCount;
  const size_t n = a.count;
  size_t i = 0;
  for (; i + kStep <= n; i += kStep) {
    const V16 p[3] = {Lanes::Load(a.s[0] + 2 * i), Lanes::Load(a.s[1] + 2 * i),
                      Lanes::Load(a.s[2] + 2 * i)};
    C::Step(p, a.d[0] + kOut * i, n - i);
  }
  FastLoop<K>(n - i, a.d[0] + kOut * i, nullptr, nullptr, a.s[0] + 2 * i, a.s[1] + 2 * i,
              a.s[2] + 2 * i);
}

// Colour words (B, G, R, any) packed into 16-bit pixels as the Color16 and
// Color15 members pack them, two vectors of words a step: R's top five bits in
// bits 15..11 (RShift 8), or R >> 1 under the same mask, its top four bits in
// 14..11 (RShift 9); G's six top bits in 10..5 and B's five in 4..0. The rest by
// the member's formula.
template <class K, int RShift>
void PackWords(uint8_t *out, const uint8_t *in, size_t n) {
  using L = Lanes;
  auto pack = [](V16 w) {
    V16 r = L::And(L::Srl32<RShift>(w), L::Set32((0xF8 >> (RShift - 8) & 0xF8) << 8));
    V16 g = L::And(L::Srl32<5>(w), L::Set32(0x7E0)), b = L::And(L::Srl32<3>(w), L::Set32(0x1F));
    return L::Or(L::Or(r, g), b);
  };
  constexpr size_t kStep = L::kCount;  // pixels: two vectors of words
  size_t i = 0;
  for (; i + kStep <= n; i += kStep) {
    const uint8_t *p = in + 4 * i;
    L::Store(out + 2 * i, L::Pack32(pack(L::Load(p)), pack(L::Load(p + 2 * kStep))));
  }
  for (; i < n; ++i) StoreLE<2>(out + 2 * i, K::Map(LoadLE<4>(in + 4 * i)));
}
// Color32 or Color24 (at its 5-byte stride, through 32-bit words a block at a time)
// to Color16 or Color15.
template <class K, int RShift>
void PackWalk(const ConvArgs &a) {
  constexpr Arr in = K::kSrc[0];
  const uint8_t *s = a.s[0] + in.first;
  const size_t n = a.count;
  if constexpr (in.bytes == 4) {
    PackWords<K, RShift>(a.d[0], s, n);
  } else {
    constexpr size_t kBlock = 256;
    alignas(32) uint32_t words[kBlock];
    for (size_t at = 0; at < n; at += kBlock) {
      const size_t m = std::min(kBlock, n - at);
      LoadTriples<in.stride>(words, s + in.stride * at, m, in.stride * (n - at) - (in.stride - 3));
      PackWords<K, RShift>(a.d[0] + 2 * at, reinterpret_cast<const uint8_t *>(words), m);
    }
  }
}

// Color16 and Color15 pixels spread to colour words (B, G, R, 0) as the members
// to Color32 and Color24 spread them, a vector a step: B = the low field shifted up
// by 3, G and R the pixel shifted down and masked (G: >> 3 & 0xFC for six bits,
// >> 2 & 0xF8 for five; R: >> 8 under 0xF8 or, to Color24 from Color16, 0x7C; >> 7
// & 0xF8 from Color15). `first` gets the first half of the pixels.
template <int GShift, int GMask, int RShift, int RMask>
inline void SpreadWords16(V16 v, V16 &first, V16 &second) {
  using L = Lanes;
  V16 b = L::And(L::Sll16<3>(v), L::Set16(0xFF)), g = L::And(L::Srl16<GShift>(v), L::Set16(GMask));
  V16 r = L::And(L::Srl16<RShift>(v), L::Set16(RMask));
  L::Zip16(L::Or(b, L::Sll16<8>(g)), r, first, second);
}
template <class K, int GShift, int GMask, int RShift, int RMask>
void SpreadWalk(const ConvArgs &a) {
  using L = Lanes;
  constexpr Arr out = K::kDst[0];
  constexpr size_t kStep = L::kCount;
  const size_t n = a.count;
  const uint8_t *in = a.s[0];
  uint8_t *d = a.d[0] + out.first;
  size_t i = 0;
  if constexpr (out.bytes == 4) {
    for (; i + kStep <= n; i += kStep) {
      V16 w[2];
      SpreadWords16<GShift, GMask, RShift, RMask>(L::Load(in + 2 * i), w[0], w[1]);
      L::Store(d + 4 * i, w[0]);
      L::Store(d + 4 * i + 2 * kStep, w[1]);
    }
  } else {
    static_assert(out.stride == 5);
#if defined(__AVX2__)
    for (; i + 32 <= n && 5 * i + 160 <= 5 * n - 2; i += 32) {
      V16 w[4];
      SpreadWords16<GShift, GMask, RShift, RMask>(L::Load(in + 2 * i), w[0], w[1]);
      SpreadWords16<GShift, GMask, RShift, RMask>(L::Load(in + 2 * i + 32), w[2], w[3]);
      StoreTriples32At5(d + 5 * i, w);
    }
#else
    // Through 32-bit words a block at a time.
    constexpr size_t kBlock = 256;
    alignas(16) uint32_t words[kBlock];
    for (; i + kBlock <= n; i += kBlock) {
      for (size_t j = 0; j < kBlock; j += kStep) {
        V16 w[2];
        SpreadWords16<GShift, GMask, RShift, RMask>(L::Load(in + 2 * (i + j)), w[0], w[1]);
        L::Store(reinterpret_cast<uint8_t *>(words + j), w[0]);
        L::Store(reinterpret_cast<uint8_t *>(words + j + kStep / 2), w[1]);
      }
      StoreTriples<5>(d + 5 * i, words, kBlock, n - i);
    }
#endif
  }
  FastLoop<K>(n - i, a.d[0] + out.stride * i, nullptr, nullptr, in + 2 * i, nullptr, nullptr);
}
#endif

}  // namespace conv
RK_NS_END

#endif
