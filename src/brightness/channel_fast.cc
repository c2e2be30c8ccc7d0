// Channel-member rows whose destination does not overlap their source or channel
// (or, for members whose every output depends only on the inputs at its place, whose
// destination is exactly their source). The right-end steps run through the same
// units as the reference walks; the body of the row is a plain loop.
#include <algorithm>
#include <bit>
#if defined(__SSSE3__)
#include <immintrin.h>
#endif

#include "brightness/channel_units.h"
#include "brightness/fast_loops.h"
#include "module/fast.h"

RK_NS_BEGIN
namespace bright {
namespace {

// The loops below take their pointers __restrict. A row whose destination is exactly
// its source (members whose every output depends only on the inputs at its place) is
// run with kInPlace: the source is then read through the destination pointer, and the
// source argument is not used.
template <bool kInPlace>
inline const uint8_t *Source(uint8_t *d, const uint8_t *s) {
  return kInPlace ? d : s;
}

// Destination pixel i = fn(source pixel i, channel element i) for i < count.
template <bool kInPlace, int E, int CE, class Fn>
inline void MapRowChanLoop(uint8_t *__restrict d, const uint8_t *__restrict s0,
                           const uint8_t *__restrict c, int64_t count, Fn fn) {
  using T = typename Elem<E>::T;
  const uint8_t *s = Source<kInPlace>(d, s0);
  for (int64_t i = 0; i < count; ++i) {
    StoreE<E>(d + i * E, static_cast<T>(fn(LoadE<E>(s + i * E), LoadE<CE>(c + i * CE))));
  }
}
template <int E, int CE, class Fn>
inline void MapRowChan(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count, Fn fn) {
  if (d == s) {
    MapRowChanLoop<true, E, CE>(d, nullptr, c, count, fn);
  } else {
    MapRowChanLoop<false, E, CE>(d, s, c, count, fn);
  }
}

// Destination byte b = fn(source byte b, v[b], b) for b < n.
template <bool kInPlace, class T, class Fn>
inline void MapBytesLoop(uint8_t *__restrict d, const uint8_t *__restrict s0, const T *__restrict v,
                         int64_t n, Fn fn) {
  const uint8_t *s = Source<kInPlace>(d, s0);
  for (int64_t b = 0; b < n; ++b) d[b] = static_cast<uint8_t>(fn(s[b], v[b], b));
}

// Each of n elements of E bytes at `in` three times over.
template <int E>
inline void Spread3(typename Elem<E>::T *__restrict out, const uint8_t *__restrict in, int64_t n) {
  for (int64_t i = 0; i < n; ++i) {
    auto v = LoadE<E>(in + i * E);
    out[3 * i] = v;
    out[3 * i + 1] = v;
    out[3 * i + 2] = v;
  }
}

// The row's pairs of 3-byte pixels in chunks from the left (the order the prefetchers
// follow best); each chunk's channel elements are spread over their pixels' bytes, so
// that the loops run on bytes alone. Chunks start at even pixels: byte b of a chunk is
// byte b % 6 of its pair.
constexpr int64_t kChunkPairs = 64, kChunkBytes = 6 * kChunkPairs;
template <int CE, class Fn>
inline void ForChunks24(const RowArgs &r, typename Elem<CE>::T *spread, Fn fn) {
  for (int64_t q0 = 0; q0 < Pairs(r); q0 += kChunkPairs) {
    int64_t n = std::min(kChunkPairs, Pairs(r) - q0);
    Spread3<CE>(spread, r.c + 2 * q0 * CE, 2 * n);
    fn(q0, 6 * n);
  }
}

// Byte b of a chunk becomes fn(source byte, its pixel's element, b).
template <int CE, class Fn>
inline void Pairs24(const RowArgs &r, Fn fn) {
  typename Elem<CE>::T v[kChunkBytes];
  ForChunks24<CE>(r, v, [&](int64_t q0, int64_t nb) {
    if (r.d == r.s) {
      MapBytesLoop<true>(r.d + 6 * q0, nullptr, v, nb, fn);
    } else {
      MapBytesLoop<false>(r.d + 6 * q0, r.s + 6 * q0, v, nb, fn);
    }
  });
}

#if !defined(__AVX512BW__)
// The keyed 24-bit byte loops, for levels without AVX-512 (which has its own rows).

// Codes of the bytes of 3-byte pixel pairs, for the keyed members' byte loops.
enum KeyCode : uint8_t { kOwnKey = 1, kOtherKey = 2, kRight = 4 };

#if defined(__SSSE3__)
// Per 16-byte lane holding four 3-byte pixels in its first 12 bytes: the shuffles that
// gather each pixel into a 32-bit lane, spread its key over its bytes, spread the other
// pixel of its pair's key over them, and the kRight bits.
constexpr uint8_t kKeyLane[4][16] = {
    {0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80},
    {0, 0, 0, 4, 4, 4, 8, 8, 8, 12, 12, 12, 0x80, 0x80, 0x80, 0x80},
    {4, 4, 4, 0, 0, 0, 12, 12, 12, 8, 8, 8, 0x80, 0x80, 0x80, 0x80},
    {0, 0, 0, 4, 4, 4, 0, 0, 0, 4, 4, 4, 0, 0, 0, 0}};
inline __m128i KeyLane(int n) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i *>(kKeyLane[n]));
}
#endif

// For each byte of `pixels` (an even count) 3-byte pixels its code: kOwnKey when its
// pixel is the key, kOtherKey when the other pixel of its pair is, kRight when it
// belongs to the pair's right pixel. Where byte shuffles exist, four pixels at a time
// (eight with AVX2) are gathered into 32-bit lanes and compared, as long as the 16 (32)
// bytes read stay within the pixels.
inline void KeyCodes24(const uint8_t *__restrict s, int64_t pixels, uint32_t key,
                       uint8_t *__restrict code) {
  int64_t i = 0;
#if defined(__AVX2__)
  {
    // Lane 0 holds bytes 0..15, lane 1 bytes 12..27; each lane's first 12 bytes are
    // four pixels.
    __m256i t[4];
    for (int n = 0; n < 4; ++n) t[n] = _mm256_broadcastsi128_si256(KeyLane(n));
    const __m256i split = _mm256_setr_epi32(0, 1, 2, 3, 3, 4, 5, 6);
    const __m256i join = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
    const __m256i k = _mm256_set1_epi32(static_cast<int>(key & kColourBytes));
    const __m256i one = _mm256_set1_epi8(1);
    for (; 3 * i + 32 <= 3 * pixels; i += 8) {
      __m256i raw = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s + 3 * i));
      __m256i px = _mm256_shuffle_epi8(_mm256_permutevar8x32_epi32(raw, split), t[0]);
      __m256i m = _mm256_and_si256(_mm256_cmpeq_epi32(px, k), one);
      __m256i other = _mm256_shuffle_epi8(m, t[2]);
      __m256i c = _mm256_or_si256(_mm256_or_si256(_mm256_shuffle_epi8(m, t[1]), t[3]),
                                  _mm256_add_epi8(other, other));
      _mm256_storeu_si256(reinterpret_cast<__m256i *>(code + 3 * i),
                          _mm256_permutevar8x32_epi32(c, join));
    }
  }
#endif
#if defined(__SSSE3__)
  {
    const __m128i t[4] = {KeyLane(0), KeyLane(1), KeyLane(2), KeyLane(3)};
    const __m128i k = _mm_set1_epi32(static_cast<int>(key & kColourBytes));
    const __m128i one = _mm_set1_epi8(1);
    for (; 3 * i + 16 <= 3 * pixels; i += 4) {
      __m128i raw = _mm_loadu_si128(reinterpret_cast<const __m128i *>(s + 3 * i));
      __m128i m = _mm_and_si128(_mm_cmpeq_epi32(_mm_shuffle_epi8(raw, t[0]), k), one);
      __m128i other = _mm_shuffle_epi8(m, t[2]);
      __m128i c =
          _mm_or_si128(_mm_or_si128(_mm_shuffle_epi8(m, t[1]), t[3]), _mm_add_epi8(other, other));
      _mm_storeu_si128(reinterpret_cast<__m128i *>(code + 3 * i), c);
    }
  }
#endif
  for (; i < pixels; i += 2) {
    uint8_t kl = IsKey<3>(Load24(s + 3 * i), key), kr = IsKey<3>(Load24(s + 3 * i + 3), key);
    for (int j = 0; j < 3; ++j) {
      code[3 * i + j] = static_cast<uint8_t>(kl * kOwnKey + kr * kOtherKey);
      code[3 * i + 3 + j] = static_cast<uint8_t>(kr * kOwnKey + kl * kOtherKey + kRight);
    }
  }
}

// A byte of a keyed pair of 3-byte pixels as the byte loops see it: its source and
// destination values, its pixel's element and the pair's left element, its code.
struct KeyedByte {
  uint8_t v, o;
  uint16_t c, cLeft;
  uint8_t code;
};

// Byte b of a chunk of keyed 24-bit pairs becomes fn(KeyedByte), with c[b] its pixel's
// element (c[b - 3] readable) and code[b] its code. Returns whether a pair of the chunk
// has exactly one key.
template <bool kInPlace, class T, class Fn>
inline uint8_t KeyedBytes24(uint8_t *__restrict d, const uint8_t *__restrict s0,
                            const T *__restrict c, const uint8_t *__restrict code, int64_t nb,
                            Fn fn) {
  const uint8_t *s = Source<kInPlace>(d, s0);
  uint8_t one = 0;
  for (int64_t b = 0; b < nb; ++b) {
    uint16_t mine = c[b], left = c[b - 3];  // both read: no load hangs on a condition
    KeyedByte k{s[b], d[b], mine, (code[b] & kRight) ? left : mine, code[b]};
    d[b] = static_cast<uint8_t>(fn(k));
    one |= (code[b] ^ code[b] >> 1) & 1;
  }
  return one;
}

// The keyed 24-bit pairs, worked on bytes: byte b of each chunk becomes fn(KeyedByte).
// Then after(first pair, whether a pair of the chunk has exactly one key) runs.
template <int CE, class Fn, class After>
inline void KeyedPairs24(const RowArgs &r, Fn fn, After after) {
  constexpr int64_t kPad = 4;  // room for the reads of the element 3 bytes back
  uint8_t code[kChunkBytes];
  typename Elem<CE>::T e[kChunkBytes + kPad] = {};
  ForChunks24<CE>(r, e + kPad, [&](int64_t q0, int64_t nb) {
    const uint8_t *s = r.s + 6 * q0;
    KeyCodes24(s, nb / 3, r.b, code);
    uint8_t one;
    if (r.d == r.s) {
      one = KeyedBytes24<true>(r.d + 6 * q0, nullptr, e + kPad, code, nb, fn);
    } else {
      one = KeyedBytes24<false>(r.d + 6 * q0, s, e + kPad, code, nb, fn);
    }
    after(q0, one != 0);
  });
}

#endif  // !defined(__AVX512BW__)

// Keyed 16-bit pixels: destination pixel i keeps its value where source pixel i is the
// key and becomes fn(source pixel, element) elsewhere, for i < count.
template <bool kInPlace, int CE, class Fn>
inline void BlendRowChanLoop(uint8_t *__restrict d, const uint8_t *__restrict s0,
                             const uint8_t *__restrict c, int64_t count, uint32_t key, Fn fn) {
  const uint8_t *s = Source<kInPlace>(d, s0);
  for (int64_t i = 0; i < count; ++i) {
    uint32_t p = LoadE<2>(s + 2 * i), o = LoadE<2>(d + 2 * i), v = fn(p, LoadE<CE>(c + i * CE));
    StoreE<2>(d + 2 * i, static_cast<uint16_t>(IsKey<2>(p, key) ? o : v));
  }
}
template <int CE, class Fn>
inline void BlendRowChan(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count,
                         uint32_t key, Fn fn) {
  if (d == s) {
    BlendRowChanLoop<true, CE>(d, nullptr, c, count, key, fn);
  } else {
    BlendRowChanLoop<false, CE>(d, s, c, count, key, fn);
  }
}

// Keyed 32-bit pixels in pairs: a key pixel keeps the destination, the others become
// fn(pixel, element if drawn alone, its own element, drawn with its partner); a pixel
// drawn alone takes the left element when kAloneLeft.
template <bool kInPlace, bool kAloneLeft, int CE, class Fn>
inline void KeyedPairs32Loop(uint8_t *__restrict d, const uint8_t *__restrict s0,
                             const uint8_t *__restrict c, int64_t pairs, uint32_t key, Fn fn) {
  const uint8_t *s = Source<kInPlace>(d, s0);
  for (int64_t q = 0; q < pairs; ++q) {
    uint32_t p[2], e[2], o[2];
    bool k[2];
    for (int i = 0; i < 2; ++i) {
      p[i] = LoadE<4>(s + 8 * q + 4 * i);
      e[i] = LoadE<CE>(c + (2 * q + i) * CE);
      o[i] = LoadE<4>(d + 8 * q + 4 * i);
      k[i] = IsKey<4>(p[i], key);
    }
    bool both = !k[0] && !k[1];
    for (int i = 0; i < 2; ++i) {
      uint32_t v = fn(p[i], kAloneLeft ? e[0] : e[i], e[i], both);
      StoreE<4>(d + 8 * q + 4 * i, k[i] ? o[i] : v);
    }
  }
}
template <bool kAloneLeft, int CE, class Fn>
inline void KeyedPairs32(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t pairs,
                         uint32_t key, Fn fn) {
  if (d == s) {
    KeyedPairs32Loop<true, kAloneLeft, CE>(d, nullptr, c, pairs, key, fn);
  } else {
    KeyedPairs32Loop<false, kAloneLeft, CE>(d, s, c, pairs, key, fn);
  }
}

Row<RawMem> Raw(const RowArgs &r) { return {r, {}, {}, {}}; }

#if defined(__AVX512BW__)
// GCC 12's AVX-512 headers trip its own uninitialised-value warnings once inlined;
// the keyed 24-bit rows below use them (popped after those rows).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
// Keyed 24-bit pairs ten at a time (60 bytes of a 64-byte register). Masks have one
// bit per byte of the step; pair q of the step starts at bit 6q.
constexpr int64_t kStepPairs = 10;
constexpr uint64_t kPairStarts = [] {
  uint64_t m = 0;
  for (int q = 0; q < kStepPairs; ++q) m |= uint64_t{1} << (6 * q);
  return m;
}();

// Per-byte vpermw indices for the two 32-byte halves of a step: the byte's pixel, and
// the left pixel of the byte's pair.
template <bool kLeft>
inline __m512i SpreadIndex(int half) {
  alignas(64) uint16_t idx[32] = {};
  for (int j = 0; j < 32; ++j) {
    int b = 32 * half + j;
    idx[j] = static_cast<uint16_t>(kLeft ? b / 6 * 2 : b / 3);
  }
  return _mm512_load_si512(idx);
}

// The key repeated over a register, byte b holding key byte b % 3.
inline __m512i KeyPattern24(uint32_t key) {
  alignas(64) uint8_t pat[64];
  for (int b = 0; b < 64; ++b) pat[b] = static_cast<uint8_t>(key >> (8 * (b % 3)));
  return _mm512_load_si512(pat);
}

// Byte-masked loads keep to the row but are slow to stream (the hardware prefetchers do
// not follow them), so a step reads whole registers while at least kAheadPairs pairs of
// the row start at it, enough for every read below; only the row's last steps mask.
constexpr int64_t kAheadPairs = 16;
template <class V>
inline V LoadBytes(const uint8_t *p, uint64_t mask, bool whole) {
  if constexpr (sizeof(V) == 64) {
    return whole ? _mm512_loadu_si512(p) : _mm512_maskz_loadu_epi8(mask, p);
  } else {
    return whole ? _mm256_loadu_si256(reinterpret_cast<const __m256i *>(p))
                 : _mm256_maskz_loadu_epi8(static_cast<__mmask32>(mask), p);
  }
}

// One step of n <= kStepPairs pairs: the source bytes, and per pair (at its start bit)
// whether its left / right pixel is the key. Nothing past the n pairs is read unless
// whole (kAheadPairs pairs of the row start at s).
struct KeyStep24 {
  __m512i src;
  uint64_t pairs, keyL, keyR;
  uint64_t Drawn() const { return pairs & ~keyL & ~keyR; }  // neither pixel the key
  uint64_t OneKey() const { return keyL ^ keyR; }
};
inline KeyStep24 LoadKeyStep24(const uint8_t *s, int64_t n, __m512i pattern, bool whole) {
  uint64_t bytes = (uint64_t{1} << (6 * n)) - 1;
  __m512i src = LoadBytes<__m512i>(s, bytes, whole);
  uint64_t m = _mm512_mask_cmpeq_epi8_mask(bytes, src, pattern);
  uint64_t pix = m & m >> 1 & m >> 2;  // at each pixel's first byte
  uint64_t pairs = kPairStarts & bytes;
  return {src, pairs, pix & pairs, pix >> 3 & pairs};
}
// Bits at pair starts spread over the pairs' six bytes, and over a pixel's three.
inline uint64_t PairBytes(uint64_t starts) { return starts * 63; }
inline uint64_t PixelBytes(uint64_t starts) { return starts * 7; }

// Half h (bytes 32h..32h+31) of a step's source bytes as 16-bit lanes.
inline __m512i Widen(__m512i v, int half) {
  return _mm512_cvtepu8_epi16(half ? _mm512_extracti64x4_epi64(v, 1) : _mm512_castsi512_si256(v));
}
// Two halves of 16-bit lanes (each at most 255) as 64 bytes.
inline __m512i Narrow(__m512i lo, __m512i hi) {
  return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvtepi16_epi8(lo)),
                            _mm512_cvtepi16_epi8(hi), 1);
}
#endif

// ---------------------------------------------------------------------------------
// LightWithChannel

template <class F>
void FastLightChan1615(const RowArgs &r) {
  // Depth 15's four-pixel step (possibly over the lone pixel) is done first, as the
  // reference does; the groups left of it are one map.
  if constexpr (std::is_same_v<F, Color15>) LightChan15Ends(Raw(r));
  int64_t n = std::is_same_v<F, Color15> ? r.w & ~3 : r.w;
  MapRowChan<2, 2>(r.d, r.s, r.c, n,
                   [](uint32_t p, uint32_t c) { return LightChanPixel<F>(p, c); });
}

template <int Bpp>
void FastLightChanBytes(const RowArgs &r) {
  if (r.w & 1) ChanUnit<1>(Chan<Bpp, 2>(Raw(r)), r.w - 1, LightChanLone);
  if constexpr (Bpp == 3) {
    Pairs24<2>(r, [](uint32_t v, uint32_t c, int64_t) { return LightChanByte16(v, c, true); });
  } else {
    MapRowChan<4, 2>(r.d, r.s, r.c, Pairs(r) * 2,
                     [](uint32_t px, uint32_t c) { return LightChanPair(px, c); });
  }
}

// ---------------------------------------------------------------------------------
// DarkleWithChannel

template <class F>
void FastDarkleChan1615(const RowArgs &r) {
  MapRowChan<2, 1>(r.d, r.s, r.c, r.w,
                   [](uint32_t p, uint32_t c) { return DarkleChanPixel<F>(p, c); });
}

void FastDarkleChan24(const RowArgs &r) {
  DarkleChan24Lone(Raw(r));
  Pairs24<1>(r, [](uint32_t v, uint32_t c, int64_t b) { return DarkleChan24PairByte(v, c, b); });
}

void FastDarkleChan32(const RowArgs &r) {
  MapRowChan<4, 1>(r.d, r.s, r.c, r.w, [](uint32_t px, uint32_t c) { return DarkleChan4(px, c); });
}

// ---------------------------------------------------------------------------------
// Keyed members

template <class F>
void FastMaskLightChan1615(const RowArgs &r) {
  MaskLightChan1615Ends<F>(Raw(r));
  BlendRowChan<2>(r.d, r.s, r.c, r.w & ~3, r.b,
                  [](uint32_t p, uint32_t c) { return MaskLightLane<F>(p, ChannelScale16(c)); });
}

template <class F>
void FastMaskDarkleChan1615(const RowArgs &r) {
  int64_t cols = MaskDarkleChan1615Ends<F>(Raw(r));
  BlendRowChan<1>(r.d, r.s, r.c, cols, r.b,
                  [](uint32_t p, uint32_t c) { return DarkleChanPixel<F>(p, c); });
}

void FastMaskLightChan24(const RowArgs &r) {
  if (r.w & 1) KeyedLone<3>(Chan<3, 2>(Raw(r)), r.w - 1, r.b, LightChanLone);
#if defined(__AVX512BW__)
  // LightChanByte16 in 16-bit lanes: a pair of two drawn pixels takes each pixel's own
  // element as a signed factor, a pixel drawn alone the left element unsigned; only
  // the drawn bytes are stored.
  const __m512i pattern = KeyPattern24(r.b), ff = _mm512_set1_epi16(255);
  const __m512i own[2] = {SpreadIndex<false>(0), SpreadIndex<false>(1)};
  const __m512i left[2] = {SpreadIndex<true>(0), SpreadIndex<true>(1)};
  for (int64_t q0 = 0; q0 < Pairs(r); q0 += kStepPairs) {
    int64_t n = std::min(kStepPairs, Pairs(r) - q0);
    bool whole = q0 + kAheadPairs <= Pairs(r);
    KeyStep24 k = LoadKeyStep24(r.s + 6 * q0, n, pattern, whole);
    uint64_t pair = PairBytes(k.Drawn());
    uint64_t alone = PixelBytes(k.keyR & ~k.keyL) | PixelBytes(k.keyL & ~k.keyR) << 3;
    if ((pair | alone) == 0) continue;
    __m512i elems = LoadBytes<__m512i>(r.c + 4 * q0, (uint64_t{1} << (4 * n)) - 1, whole);
    __m512i res[2];
    for (int h = 0; h < 2; ++h) {
      auto pw = static_cast<__mmask32>(pair >> (32 * h));
      __m512i v = Widen(k.src, h);
      __m512i c = _mm512_mask_blend_epi16(pw, _mm512_permutexvar_epi16(left[h], elems),
                                          _mm512_permutexvar_epi16(own[h], elems));
      __m512i lo = _mm512_mullo_epi16(v, c), hi = _mm512_mulhi_epu16(v, c);
      __m512i from = _mm512_maskz_mov_epi16(pw & _mm512_movepi16_mask(c), v);
      res[h] =
          _mm512_mask_mov_epi16(_mm512_srli_epi16(lo, 8), _mm512_cmpgt_epu16_mask(hi, from), ff);
    }
    _mm512_mask_storeu_epi8(r.d + 6 * q0, pair | alone, Narrow(res[0], res[1]));
  }
#else
  // A pixel drawn alone takes the left element.
  KeyedPairs24<2>(
      r,
      [](const KeyedByte &k) {
        bool pair = (k.code & kOtherKey) == 0;
        uint32_t v = LightChanByte16(k.v, pair ? k.c : k.cLeft, pair);
        return (k.code & kOwnKey) ? k.o : v;
      },
      [](int64_t, bool) {});
#endif
}

void FastMaskLightChan32(const RowArgs &r) {
  if (r.w & 1) KeyedLone<4>(Chan<4, 2>(Raw(r)), r.w - 1, r.b, LightChanLone);
  KeyedPairs32<true, 2>(r.d, r.s, r.c, Pairs(r), r.b,
                        [](uint32_t px, uint32_t cAlone, uint32_t c, bool both) {
                          uint32_t alone = LightChanLone(px, cAlone), pair = LightChanPair(px, c);
                          return both ? pair : alone;
                        });
}

// The misplaced pixel of one-key pair q, each byte written unless it lands on a drawn
// pair (which the walk from the right would draw over it later).
template <class X>
void PutMisplaced24(const X &x, const RowArgs &r, int64_t q) {
  PlacedPixel m = MaskDarkleChan24Alone(ReadKeyedPair<3>(x, 2 * q, r.b), q + 1);
  for (int j = 0; j < 3; ++j) {
    int64_t at = m.off + j;
    if (at < 0 || !ReadKeyedPair<3>(x, 2 * (at / 6), r.b).Both()) {
      *At(r.d, at) = static_cast<uint8_t>(m.v >> (8 * j));
    }
  }
}

// The drawn pairs first, at their places; then the misplaced pixels of the one-key
// pairs from the right, each byte written unless it lands on a drawn pair (which the
// walk from the right would draw over it later: a misplaced pixel never lands right of
// its own pair). Without AVX-512, chunks without a one-key pair are noted in the first pass (the
// first 4096 chunks of a row; any further ones are looked at again).
void FastMaskDarkleChan24(const RowArgs &r) {
  auto x = Chan<3, 1>(Raw(r));
  if (r.w & 1) KeyedLone<3>(x, r.w - 1, r.b, DarkleChan3);
#if defined(__AVX512BW__)
  // The drawn pairs from the left, DarkleByte in 16-bit lanes, each pixel its own
  // element; then, if the row has one-key pairs, their misplaced pixels from the right.
  const __m512i pattern = KeyPattern24(r.b);
  const __m512i own[2] = {SpreadIndex<false>(0), SpreadIndex<false>(1)};
  bool anyOne = false;
  for (int64_t q0 = 0; q0 < Pairs(r); q0 += kStepPairs) {
    int64_t n = std::min(kStepPairs, Pairs(r) - q0);
    bool whole = q0 + kAheadPairs <= Pairs(r);
    KeyStep24 k = LoadKeyStep24(r.s + 6 * q0, n, pattern, whole);
    anyOne |= k.OneKey() != 0;
    uint64_t drawn = PairBytes(k.Drawn());
    if (drawn == 0) continue;
    __m512i elems =
        _mm512_cvtepu8_epi16(LoadBytes<__m256i>(r.c + 2 * q0, (uint64_t{1} << (2 * n)) - 1, whole));
    __m512i res[2];
    for (int h = 0; h < 2; ++h) {
      __m512i c = _mm512_permutexvar_epi16(own[h], elems);
      res[h] = _mm512_srli_epi16(_mm512_mullo_epi16(Widen(k.src, h), c), 8);
    }
    _mm512_mask_storeu_epi8(r.d + 6 * q0, drawn, Narrow(res[0], res[1]));
  }
  for (int64_t q0 = (Pairs(r) - 1) / kStepPairs * kStepPairs; anyOne && q0 >= 0; q0 -= kStepPairs) {
    int64_t n = std::min(kStepPairs, Pairs(r) - q0);
    KeyStep24 k = LoadKeyStep24(r.s + 6 * q0, n, pattern, q0 + kAheadPairs <= Pairs(r));
    for (uint64_t one = k.OneKey(); one != 0;) {
      int bit = 63 - std::countl_zero(one);
      one &= ~(uint64_t{1} << bit);
      PutMisplaced24(x, r, q0 + bit / 6);
    }
  }
#else
  constexpr int64_t kNoted = 4096;
  uint64_t one[kNoted / 64] = {};
  KeyedPairs24<1>(
      r,
      [](const KeyedByte &k) {
        uint32_t v = DarkleByte(k.v, k.c);
        return (k.code & (kOwnKey | kOtherKey)) ? k.o : v;
      },
      [&one](int64_t q0, bool any) {
        int64_t i = q0 / kChunkPairs;
        if (any && i < kNoted) one[i / 64] |= uint64_t{1} << (i % 64);
      });
  uint8_t code[kChunkBytes];
  for (int64_t i = (Pairs(r) - 1) / kChunkPairs; Pairs(r) > 0 && i >= 0; --i) {
    int64_t q0 = i * kChunkPairs, end = std::min(q0 + kChunkPairs, Pairs(r));
    if (i < kNoted && (one[i / 64] >> (i % 64) & 1) == 0) continue;
    KeyCodes24(r.s + 6 * q0, 2 * (end - q0), r.b, code);
    for (int64_t q = end - 1; q >= q0; --q) {
      uint8_t c = code[6 * (q - q0)];
      if ((c & kOwnKey) != (c & kOtherKey) >> 1) PutMisplaced24(x, r, q);
    }
  }
#endif
}

#if defined(__AVX512BW__)
#pragma GCC diagnostic pop
#endif

void FastMaskDarkleChan32(const RowArgs &r) {
  if (r.w & 1) KeyedLone<4>(Chan<4, 1>(Raw(r)), r.w - 1, r.b, DarkleChan3);
  KeyedPairs32<false, 1>(r.d, r.s, r.c, Pairs(r), r.b,
                         [](uint32_t px, uint32_t, uint32_t c, bool both) {
                           return DarkleChan3(px, c) | (both ? DarkleByte(px >> 24, c) << 24 : 0);
                         });
}

}  // namespace
}  // namespace bright
RK_NS_END

RK_FAST_FAMILY(brightness_channel) {
  using namespace bright;
  t.Set(KernelId::RkLightWithChannel16, &FastLightChan1615<Color16>);
  t.Set(KernelId::RkLightWithChannel15, &FastLightChan1615<Color15>);
  t.Set(KernelId::RkLightWithChannel24, &FastLightChanBytes<3>);
  t.Set(KernelId::RkLightWithChannel32, &FastLightChanBytes<4>);
  t.Set(KernelId::RkDarkleWithChannel16, &FastDarkleChan1615<Color16>);
  t.Set(KernelId::RkDarkleWithChannel15, &FastDarkleChan1615<Color15>);
  t.Set(KernelId::RkDarkleWithChannel24, &FastDarkleChan24);
  t.Set(KernelId::RkDarkleWithChannel32, &FastDarkleChan32);
  t.Set(KernelId::RkMaskLightWithChannel16, &FastMaskLightChan1615<Color16>);
  t.Set(KernelId::RkMaskLightWithChannel15, &FastMaskLightChan1615<Color15>);
  t.Set(KernelId::RkMaskLightWithChannel24, &FastMaskLightChan24);
  t.Set(KernelId::RkMaskLightWithChannel32, &FastMaskLightChan32);
  t.Set(KernelId::RkMaskDarkleWithChannel16, &FastMaskDarkleChan1615<Color16>);
  t.Set(KernelId::RkMaskDarkleWithChannel15, &FastMaskDarkleChan1615<Color15>);
  t.Set(KernelId::RkMaskDarkleWithChannel24, &FastMaskDarkleChan24);
  t.Set(KernelId::RkMaskDarkleWithChannel32, &FastMaskDarkleChan32);
}
