// Channel-member rows whose destination does not overlap their source or channel
// (or, for members whose every output depends only on the inputs at its place, whose
// destination is exactly their source). The right-end steps run through the same
// units as the reference walks; the body of the row runs in registers (channel_vec.h)
// where the level has them, its tail and the other builds as plain loops.
#include <algorithm>
#include <bit>
#include <cstring>

#include "brightness/channel_units.h"
#include "brightness/channel_vec.h"
#include "brightness/fast_lanes.h"
#include "brightness/fast_loops.h"
#include "module/fast.h"
#include "module/planes.h"

#if RK_REGISTERS
// The register forms of channel_vec.h run at this level (AVX-512BW, AVX2, SSE2 or NEON).
#define RK_CHAN_VEC 1
#endif

#if defined(__AVX512BW__)
// GCC 12's AVX-512 headers trip its own uninitialised-value warnings once inlined
// (popped at the end of the rows).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#endif

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

// Each of n elements of E bytes at `in` three times over (n even); with kOddZero the
// odd bytes get 0 instead (byte 1 of an even pixel, bytes 0 and 2 of an odd one).
template <int E, bool kOddZero = false>
inline void Spread3(typename Elem<E>::T *__restrict out, const uint8_t *__restrict in, int64_t n) {
  using T = typename Elem<E>::T;
  for (int64_t i = 0; i < n; i += 2) {
    T v = LoadE<E>(in + i * E), w = LoadE<E>(in + (i + 1) * E);
    T v1 = kOddZero ? 0 : v, w02 = kOddZero ? 0 : w;
    out[3 * i] = v;
    out[3 * i + 1] = v1;
    out[3 * i + 2] = v;
    out[3 * i + 3] = w02;
    out[3 * i + 4] = w;
    out[3 * i + 5] = w02;
  }
}

// The row's pairs of 3-byte pixels in chunks from the left (the order the prefetchers
// follow best); each chunk's channel elements are spread over their pixels' bytes, so
// that the loops run on bytes alone. Chunks start at even pixels: byte b of a chunk is
// byte b % 6 of its pair.
constexpr int64_t kChunkPairs = 64, kChunkBytes = 6 * kChunkPairs;
template <int CE, bool kOddZero = false, class Fn>
inline void ForChunks24(const RowArgs &r, typename Elem<CE>::T *spread, Fn fn) {
  for (int64_t q0 = 0; q0 < Pairs(r); q0 += kChunkPairs) {
    int64_t n = std::min(kChunkPairs, Pairs(r) - q0);
    Spread3<CE, kOddZero>(spread, r.c + 2 * q0 * CE, 2 * n);
    fn(q0, 6 * n);
  }
}

// Byte b of a chunk becomes fn(source byte, its pixel's element (0 at odd bytes with
// kOddZero), b).
template <int CE, bool kOddZero = false, class Fn>
inline void Pairs24(const RowArgs &r, Fn fn) {
  typename Elem<CE>::T v[kChunkBytes];
  ForChunks24<CE, kOddZero>(r, v, [&](int64_t q0, int64_t nb) {
    if (r.d == r.s) {
      MapBytesLoop<true>(r.d + 6 * q0, nullptr, v, nb, fn);
    } else {
      MapBytesLoop<false>(r.d + 6 * q0, r.s + 6 * q0, v, nb, fn);
    }
  });
}

#if !defined(RK_CHAN_VEC)
// The keyed 24-bit byte loops, for builds without the register rows.

// Codes of the bytes of 3-byte pixel pairs, for the keyed members' byte loops.
enum KeyCode : uint8_t { kOwnKey = 1, kOtherKey = 2, kRight = 4 };

// For each byte of `pixels` (an even count) 3-byte pixels its code: kOwnKey when its
// pixel is the key, kOtherKey when the other pixel of its pair is, kRight when it
// belongs to the pair's right pixel.
inline void KeyCodes24(const uint8_t *__restrict s, int64_t pixels, uint32_t key,
                       uint8_t *__restrict code) {
  for (int64_t i = 0; i < pixels; i += 2) {
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

#endif  // !defined(RK_CHAN_VEC)

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
using VB = vec::V512;
#elif defined(__AVX2__)
using VB = vec::V256;
#elif defined(RK_CHAN_VEC)
using VB = vec::V128;
#endif

#if defined(RK_CHAN_VEC)
// The left pixels of pairs among 64 pixels from a pair's start.
constexpr uint64_t kLeftPixels = 0x5555555555555555;
#if defined(__AVX2__)
// Each pixel's bit moved to its partner's place in the pair (pixels from a pair's start).
constexpr uint64_t Partners(uint64_t pixels) {
  return (pixels & kLeftPixels) << 1 | (pixels >> 1 & kLeftPixels);
}
#endif
// Bit j for 32-bit lane j, from the bits of a register's bytes (Bits of a lane mask).
inline uint64_t Lanes32(uint64_t bytes) {
#if defined(__BMI2__)
  return _pext_u64(bytes, 0x1111111111111111);
#else
  uint64_t out = 0;
  for (int j = 0; j < 16; ++j) out |= (bytes >> (4 * j) & 1) << j;
  return out;
#endif
}

// 4-byte pixels in whole registers from the left: each register of pixels becomes
// fn(V{}, pixels, elements (ElemsPix), first pixel). When kKeyed, fn returns a Kept
// register and the lanes it keeps are not stored (AVX-512: a masked store). Loaded
// before stored, so the destination may be the source. Returns the pixels done. (NEON
// runs such rows in byte planes instead: four elements a register widen poorly.)
template <int CE, bool kKeyed, class Fn>
int64_t Rows32(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count, Fn fn) {
  constexpr int kN = VB::kBytes / 4;
  int64_t i = 0;
  for (; i + kN <= count; i += kN) {
    auto out = fn(VB{}, VB::Load(s + 4 * i), vec::ElemsPix<VB, CE>(c + CE * i), i);
    uint8_t *p = d + 4 * i;
    if constexpr (!kKeyed) {
      VB::Store(p, out);
    } else {
#if defined(__AVX512BW__)
      _mm512_mask_storeu_epi32(p, ~_mm512_movepi32_mask(out.keep), out.v);
#else
      vec::StoreKept<VB>(
          out, [&] { return VB::Load(p); }, [&](VB::T x) { VB::Store(p, x); });
#endif
    }
  }
  return i;
}
#endif

#if defined(RK_CHAN_VEC)
// 3-byte pixels gathered into 32-bit lanes (the fourth byte 0), VB::kBytes / 4 a step,
// for fn as Rows32 has them, and joined back. With kKeyed, fn's Kept result is stored
// as it is, not at all, or blended with the destination.
template <int CE, bool kKeyed, class Fn>
int64_t Rows24(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count, Fn fn) {
  int64_t i = 0;
  for (; 3 * i + 3 * VB::kBytes / 4 + VB::kOver24 <= 3 * count; i += VB::kBytes / 4) {
    uint8_t *p = d + 3 * i;
    auto out = fn(VB{}, VB::Spread24(s + 3 * i), vec::ElemsPix<VB, CE>(c + CE * i), i);
    if constexpr (!kKeyed) {
      VB::Join24(p, out);
    } else {
      vec::StoreKept<VB>(
          out, [&] { return VB::Spread24(p); }, [&](VB::T v) { VB::Join24(p, v); });
    }
  }
  return i;
}
#endif

#if RK_NEON
// The rows of 3- or 4-byte pixels in byte planes (planes::Steps) with their channel
// elements as a register of the bytes (CE = 1) or as registers of their low and high
// bytes (CE = 2): fn(planes, elements) gives the planes to store; with kKeyed,
// fn(planes, elements, keep, first pixel) also sets the pixels that keep the destination.
template <int CE>
inline uint8x16x2_t Elements(const uint8_t *c) {
  if constexpr (CE == 2) return vld2q_u8(c);
  const uint8x16_t e = vld1q_u8(c);
  return {{e, e}};
}
template <int Bpp, int CE, bool kKeyed = false, class Fn>
int64_t Planes(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count, Fn fn) {
  using P = planes::Of<Bpp>;
  if constexpr (kKeyed) {
    return planes::Steps<Bpp, true>(d, s, count, [&](P p, int64_t i, uint8x16_t &keep) {
      return fn(p, Elements<CE>(c + CE * i), keep, i);
    });
  } else {
    return planes::Steps<Bpp, false>(
        d, s, count, [&](P p, int64_t i) { return fn(p, Elements<CE>(c + CE * i)); });
  }
}

// The Light members' pairs of 16 pixels: the colour bytes of a pixel of two drawn ones
// with its own element as a signed factor; a pixel whose partner is the key is drawn
// alone, with the left pixel's element, unsigned; with a key, key pixels are kept. The
// fourth byte comes out 0.
template <class P>
inline P LightPairPlanes(P p, uint8x16x2_t e, uint8x16_t keys) {
  const uint8x16_t alone = planes::Alone(keys);
  const uint8x16_t lo = vbslq_u8(alone, vtrn1q_u8(e.val[0], e.val[0]), e.val[0]);
  const uint8x16_t hi = vbslq_u8(alone, vtrn1q_u8(e.val[1], e.val[1]), e.val[1]);
  const uint8x16_t above = vbicq_u8(simd::TopSet(hi), alone);
  for (int k = 0; k < 3; ++k) p.val[k] = simd::SatBytes(p.val[k], lo, hi, above);
  if constexpr (sizeof(P) == 64) p.val[3] = vdupq_n_u8(0);
  return p;
}

// The pairs of a keyed Light row in byte planes; returns the pixels done.
template <int Bpp>
int64_t MaskLightPlanes(const RowArgs &r) {
  const planes::Key key(r.b);
  return Planes<Bpp, 2, true>(r.d, r.s, r.c, 2 * Pairs(r),
                              [=](planes::Of<Bpp> p, uint8x16x2_t e, uint8x16_t &keep, int64_t) {
                                keep = key.Of(p);
                                return LightPairPlanes(p, e, keep);
                              });
}
#endif

#if defined(__AVX2__)
// Pixel pairs of 3 bytes as a plain byte stream, 32 pixels (three registers of 32
// bytes) a step: each register's even and odd bytes are worked on in 16-bit lanes, the
// element of each byte's pixel shuffled in from a 16-byte window of the channel row
// loaded for each 128-bit half. Tables: per register and half, the window's first
// pixel, and the shuffles for the even and the odd bytes.
template <int CE>
struct Stream24Tables {
  int first[3][2];
  alignas(32) uint8_t even[3][32], odd[3][32];
  constexpr Stream24Tables() : first{}, even{}, odd{} {
    for (int j = 0; j < 3; ++j) {
      for (int h = 0; h < 2; ++h) {
        int base = 32 * j + 16 * h, start = base / 3;
        first[j][h] = start;
        for (int w = 0; w < 8; ++w) {
          for (int o = 0; o < 2; ++o) {
            int e = (base + 2 * w + o) / 3 - start;  // the byte's element in the window
            uint8_t *ctl = o ? odd[j] : even[j];
            ctl[16 * h + 2 * w] = static_cast<uint8_t>(CE * e);
            ctl[16 * h + 2 * w + 1] = CE == 2 ? static_cast<uint8_t>(2 * e + 1) : 0x80;
          }
        }
      }
    }
  }
};
// The even and odd bytes' elements of register j of the step at pixel i (with kOdd
// false the odd ones are not gathered: 0).
template <int CE, bool kOdd>
inline void StreamElems(const uint8_t *c, int64_t i, int j, __m256i &ce, __m256i &co) {
  static constexpr Stream24Tables<CE> kT{};
  auto window = [&](int h) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(c + CE * (i + kT.first[j][h])));
  };
  __m256i win = _mm256_inserti128_si256(_mm256_castsi128_si256(window(0)), window(1), 1);
  auto ctl = [](const uint8_t *p) {
    return _mm256_load_si256(reinterpret_cast<const __m256i *>(p));
  };
  ce = _mm256_shuffle_epi8(win, ctl(kT.even[j]));
  co = kOdd ? _mm256_shuffle_epi8(win, ctl(kT.odd[j])) : _mm256_setzero_si256();
}
// Steps run while 42 pixels of the row remain (the last window reads up to pixel 41
// of a step). op(bytes, even elements, odd elements) gives the 32 result bytes.
// Returns the pixels done.
template <int CE, bool kOdd, class Op>
int64_t Stream24(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count, Op op) {
  int64_t i = 0;
  for (; i + 42 <= count; i += 32) {
    for (int j = 0; j < 3; ++j) {
      __m256i ce, co;
      StreamElems<CE, kOdd>(c, i, j, ce, co);
      __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s + 3 * i + 32 * j));
      _mm256_storeu_si256(reinterpret_cast<__m256i *>(d + 3 * i + 32 * j), op(x, ce, co));
    }
  }
  return i;
}
// LightPixBytes on the stream's bytes: every byte of a pair with its own element as a
// signed factor.
inline __m256i LightPairsStream(__m256i b, __m256i ce, __m256i co) {
  using V = vec::V256;
  auto byte = [](__m256i v8, __m256i e) {
    auto keep = V::Xor(V::Set16(0xFFFF), V::And(_mm256_srai_epi16(e, 15), V::Set16(0xFF00)));
    return V::MinU16(V::And(V::MulhiU16(v8, e), keep), V::Set16(255));
  };
  auto even = byte(V::Sll16<8>(b), ce), odd = byte(V::And(b, V::Set16(0xFF00)), co);
  return V::Or(even, V::Sll16<8>(odd));
}
#if !defined(__AVX512BW__)
// The pixels Rows24 is given to do the 32 of a step (it reads past those it does).
constexpr int64_t kMixed24 = 32 + (VB::kOver24 + 2) / 3;
// The keyed members' stream: a step whose pairs are each all key or free of it runs
// op on its bytes, keeping the key pixels' bytes of the destination (a step of key
// pixels only is passed over); a step with a pair of one key is left to
// mixed(first pixel), which does its 32 pixels.
template <int CE, class Op, class Mixed>
int64_t KeyedStream24(uint8_t *d, const uint8_t *s, const uint8_t *c, int64_t count, uint32_t key,
                      Op op, Mixed mixed) {
  using V = vec::V256;
  const reg::Key24<reg::R256> k(key);
  int64_t i = 0;
  for (; i + 42 <= count; i += 32) {
    V::T x[3];
    for (int j = 0; j < 3; ++j) x[j] = V::Load(s + 3 * i + 32 * j);
    uint64_t st[3], kb[3];
    k.Starts(x, st);
    const auto keys = static_cast<uint32_t>(reg::PixelsOfStarts24(st));
    if (keys == ~uint32_t{0}) continue;
    if (keys != static_cast<uint32_t>(Partners(keys))) {
      mixed(i);
      continue;
    }
    reg::BytesOfStarts24(st, kb);
    const uint32_t keep[3] = {static_cast<uint32_t>(kb[0]), static_cast<uint32_t>(kb[0] >> 32),
                              static_cast<uint32_t>(kb[1])};
    for (int j = 0; j < 3; ++j) {
      if (keep[j] == ~uint32_t{0}) continue;
      __m256i ce, co;
      StreamElems<CE, true>(c, i, j, ce, co);
      uint8_t *p = d + 3 * i + 32 * j;
      V::T out = op(x[j], ce, co);
      if (keep[j] != 0) out = V::Select(V::BytesOf(keep[j]), V::Load(p), out);
      V::Store(p, out);
    }
  }
  return i;
}
#endif
#endif

#if defined(__AVX512BW__)
// Pixel pairs of 3 bytes as a plain byte stream, 64 pixels (three registers of their
// 192 bytes) a step from the row's start: fn(first pixel, step) for each step, the
// elements fanned out to the bytes by word permutes (reg::Fan24). With kKeyed, a step
// whose pixels are all the key is passed over. Returns the pixels done.
struct Step24 {
  __m512i x[3];      // the bytes
  __m512i lo, hi;    // the elements as words, pixels 0..31 and 32..63
  uint64_t keys;     // bit i: pixel i is the key
  uint64_t keyB[3];  // the key pixels' bytes
};
template <int CE, bool kKeyed, class Fn>
int64_t Steps24(const uint8_t *s, const uint8_t *c, int64_t count, uint32_t key, Fn fn) {
  [[maybe_unused]] const reg::Key24Spread k(key);
  int64_t i = 0;
  for (; i + 64 <= count; i += 64) {
    Step24 t;
    for (int r = 0; r < 3; ++r) t.x[r] = vec::V512::Load(s + 3 * i + 64 * r);
    if constexpr (kKeyed) {
      t.keys = k.Pixels(t.x);
      if (t.keys == ~uint64_t{0}) continue;
      reg::ByteBits24(t.keys, t.keyB);
    }
    t.lo = vec::V512::Elems16<CE>(c + CE * i);
    t.hi = vec::V512::Elems16<CE>(c + CE * (i + 32));
    fn(i, t);
  }
  return i;
}
// Word masks of the even and of the odd bytes of 64 bytes.
inline uint32_t EvenBytes(uint64_t b) {
  return static_cast<uint32_t>(_pext_u64(b, 0x5555555555555555));
}
inline uint32_t OddBytes(uint64_t b) {
  return static_cast<uint32_t>(_pext_u64(b, 0xAAAAAAAAAAAAAAAA));
}
// Bytes of a pair's pixels by the Light byte formula (LightChanByte16) with the
// even and odd bytes' factors ce and co, signed; with kAlone, unsigned in the words
// of `unsignedE` / `unsignedO`.
template <bool kAlone>
inline __m512i LightStream(__m512i x, __m512i ce, __m512i co, uint32_t unsignedE = 0,
                           uint32_t unsignedO = 0) {
  using V = vec::V512;
  auto byte = [](__m512i v8, __m512i e, uint32_t plain) {
    // A signed factor of 0x8000 or more keeps the product's bits 8..15 alone: its sign
    // spread over the word clears bits 8..15 (p & ~(sign & 0xFF00)) before the cap.
    __m512i sign = kAlone ? _mm512_maskz_srai_epi16(~plain, e, 15) : _mm512_srai_epi16(e, 15);
    __m512i p = _mm512_ternarylogic_epi32(V::MulhiU16(v8, e), sign, V::Set16(0xFF00), 0x70);
    return V::MinU16(p, V::Set16(255));
  };
  auto even = byte(V::Sll16<8>(x), ce, unsignedE);
  auto odd = byte(V::And(x, V::Set16(0xFF00)), co, unsignedO);
  return V::Or(even, V::Sll16<8>(odd));
}
#endif

#if defined(RK_CHAN_VEC)
// Pairs of drawn pixels by the Light byte formula, each its own element as a signed
// factor; the fourth byte 0.
template <class V>
typename V::T LightPairsVec(typename V::T px, typename V::T e) {
  return vec::LightPixBytes<V>(px, e, V::Set16(0xFFFF));
}
// Keyed pairs of Light: a key keeps the destination; a pixel whose partner is the key
// takes the pair's left element unsigned; a pixel of a drawn pair its own, signed.
template <class V>
vec::Kept<V> MaskLightPairsVec(typename V::T px, typename V::T e, uint32_t key) {
  auto k = vec::KeyMask32<V>(px, key), kp = V::SwapPairs32(k);
  auto c = V::Select(kp, V::LeftPix(e), e);
  auto both = V::AndNot(V::Or(k, kp), V::Set32(~0u));
  return {vec::LightPixBytes<V>(px, c, both), k};
}
#endif

// ---------------------------------------------------------------------------------
// LightWithChannel

template <class F>
void FastLightChan1615(const RowArgs &r) {
  // Depth 15's four-pixel step (possibly over the lone pixel) is done first, as the
  // reference does; the groups left of it are one map.
  if constexpr (std::is_same_v<F, Color15>) LightChan15Ends(Raw(r));
  int64_t n = std::is_same_v<F, Color15> ? r.w & ~3 : r.w, i = 0;
#if defined(RK_CHAN_VEC)
  i = vec::Rows16<VB, 2, false>(r.d, r.s, r.c, n, 0, vec::LightPix<VB, F>);
#endif
  MapRowChan<2, 2>(r.d + 2 * i, r.s + 2 * i, r.c + 2 * i, n - i,
                   [](uint32_t p, uint32_t c) { return LightChanPixel<F>(p, c); });
}

template <int Bpp>
void FastLightChanBytes(const RowArgs &r) {
  auto x = Chan<Bpp, 2>(Raw(r));
  if (r.w & 1) ChanUnit<1>(x, r.w - 1, LightChanLone);
#if defined(RK_CHAN_VEC)
  [[maybe_unused]] auto vecFn = [](auto v, auto px, auto e, int64_t) {
    return LightPairsVec<decltype(v)>(px, e);
  };
#endif
  int64_t i = 0;
  if constexpr (Bpp == 3) {
#if defined(RK_CHAN_VEC)
#if defined(__AVX512BW__)
    i = Steps24<2, false>(r.s, r.c, 2 * Pairs(r), 0, [&](int64_t at, const Step24 &t) {
      for (int q = 0; q < 3; ++q) {
        vec::V512::Store(
            r.d + 3 * at + 64 * q,
            LightStream<false>(t.x[q], reg::Fan24(t.lo, t.hi, q, 0), reg::Fan24(t.lo, t.hi, q, 1)));
      }
    });
#endif
#if defined(__AVX2__)
    // LightPixBytes on the stream's bytes: every byte of a pair with its own element as
    // a signed factor.
    i += Stream24<2, true>(r.d + 3 * i, r.s + 3 * i, r.c + 2 * i, 2 * Pairs(r) - i,
                           LightPairsStream);
#endif
#if RK_NEON
    i = Planes<3, 2>(r.d, r.s, r.c, 2 * Pairs(r), [](uint8x16x3_t p, uint8x16x2_t e) {
      return LightPairPlanes(p, e, vdupq_n_u8(0));
    });
#endif
    i += Rows24<2, false>(r.d + 3 * i, r.s + 3 * i, r.c + 2 * i, 2 * Pairs(r) - i, vecFn);
    for (int64_t col = i; col < 2 * Pairs(r); col += 2) ChanUnit<2>(x, col, LightChanPair);
#else
    Pairs24<2>(r, [](uint32_t v, uint32_t c, int64_t) { return LightChanByte16(v, c, true); });
#endif
  } else {
#if RK_NEON
    i = Planes<4, 2>(r.d, r.s, r.c, 2 * Pairs(r), [](uint8x16x4_t p, uint8x16x2_t e) {
      return LightPairPlanes(p, e, vdupq_n_u8(0));
    });
#elif defined(RK_CHAN_VEC)
    i = Rows32<2, false>(r.d, r.s, r.c, 2 * Pairs(r), vecFn);
#endif
    MapRowChan<4, 2>(r.d + 4 * i, r.s + 4 * i, r.c + 2 * i, Pairs(r) * 2 - i,
                     [](uint32_t px, uint32_t c) { return LightChanPair(px, c); });
  }
}

// ---------------------------------------------------------------------------------
// DarkleWithChannel

template <class F>
void FastDarkleChan1615(const RowArgs &r) {
  int64_t i = 0;
#if defined(RK_CHAN_VEC) && !RK_NEON  // with NEON the compiler's loop is faster
  i = vec::Rows16<VB, 1, false>(r.d, r.s, r.c, r.w, 0, vec::DarklePix<VB, F>);
#endif
  MapRowChan<2, 1>(r.d + 2 * i, r.s + 2 * i, r.c + i, r.w - i,
                   [](uint32_t p, uint32_t c) { return DarkleChanPixel<F>(p, c); });
}

void FastDarkleChan24(const RowArgs &r) {
  DarkleChan24Lone(Raw(r));
#if defined(__AVX2__) || RK_NEON  // with SSE2 alone the byte loop is as fast
  // Only bytes 0 and 2 of a pair's left pixel and byte 1 of its right pixel are kept:
  // in the row's bytes from a pair's start, the even ones.
#if defined(__AVX2__)
  int64_t i = Stream24<1, false>(r.d, r.s, r.c, 2 * Pairs(r), [](__m256i b, __m256i ce, __m256i) {
    return vec::V256::Srl16<8>(vec::V256::Mullo16(vec::V256::And(b, vec::V256::Set16(0xFF)), ce));
  });
  i += Rows24<1, false>(
      r.d + 3 * i, r.s + 3 * i, r.c + i, 2 * Pairs(r) - i, [](auto v, auto px, auto e, int64_t) {
        using V = decltype(v);
        return V::And(vec::DarklePixBytes<V>(px, e), V::Set64(0x0000FF0000FF00FFull));
      });
#else
  // Bytes 0 and 2 of the even pixels, byte 1 of the odd ones.
  const uint8x16_t even = vreinterpretq_u8_u16(vdupq_n_u16(0x00FF));
  const int64_t i =
      Planes<3, 1>(r.d, r.s, r.c, 2 * Pairs(r), [even](uint8x16x3_t p, uint8x16x2_t e) {
        p.val[0] = vandq_u8(simd::DarkleBytes8(p.val[0], e.val[0]), even);
        p.val[1] = vbicq_u8(simd::DarkleBytes8(p.val[1], e.val[0]), even);
        p.val[2] = vandq_u8(simd::DarkleBytes8(p.val[2], e.val[0]), even);
        return p;
      });
#endif
  auto x = Chan<3, 1>(Raw(r));
  for (int64_t col = i; col < 2 * Pairs(r); ++col)
    x.Put(col, DarkleChan24PairPixel(x.Src(col), x.Chan(col), col));
#else
  // The odd bytes of the pairs come out 0 through a factor of 0.
  Pairs24<1, true>(r, [](uint32_t v, uint32_t c, int64_t) { return DarkleByte(v, c); });
#endif
}

void FastDarkleChan32(const RowArgs &r) {
  int64_t i = 0;
#if defined(RK_CHAN_VEC)
#if RK_NEON
  i = Planes<4, 1>(r.d, r.s, r.c, r.w, [](uint8x16x4_t p, uint8x16x2_t e) {
    for (uint8x16_t &b : p.val) b = simd::DarkleBytes8(b, e.val[0]);
    return p;
  });
#else
  i = Rows32<1, false>(r.d, r.s, r.c, r.w, [](auto v, auto px, auto e, int64_t) {
    return vec::DarklePixBytes<decltype(v)>(px, e);
  });
#endif
#endif
  MapRowChan<4, 1>(r.d + 4 * i, r.s + 4 * i, r.c + i, r.w - i,
                   [](uint32_t px, uint32_t c) { return DarkleChan4(px, c); });
}

// ---------------------------------------------------------------------------------
// Keyed members

template <class F>
void FastMaskLightChan1615(const RowArgs &r) {
  MaskLightChan1615Ends<F>(Raw(r));
  int64_t n = r.w & ~3, i = 0;
#if defined(RK_CHAN_VEC)
  i = vec::Rows16<VB, 2, true>(r.d, r.s, r.c, n, r.b, vec::MaskLightPix<VB, F>);
#endif
  BlendRowChan<2>(r.d + 2 * i, r.s + 2 * i, r.c + 2 * i, n - i, r.b,
                  [](uint32_t p, uint32_t c) { return MaskLightLane<F>(p, ChannelScale16(c)); });
}

template <class F>
void FastMaskDarkleChan1615(const RowArgs &r) {
  int64_t cols = MaskDarkleChan1615Ends<F>(Raw(r)), i = 0;
#if defined(RK_CHAN_VEC)
  i = vec::Rows16<VB, 1, true>(r.d, r.s, r.c, cols, r.b, vec::DarklePix<VB, F>);
#endif
  BlendRowChan<1>(r.d + 2 * i, r.s + 2 * i, r.c + i, cols - i, r.b,
                  [](uint32_t p, uint32_t c) { return DarkleChanPixel<F>(p, c); });
}

void FastMaskLightChan24(const RowArgs &r) {
  auto x = Chan<3, 2>(Raw(r));
  if (r.w & 1) KeyedLone<3>(x, r.w - 1, r.b, LightChanLone);
#if defined(RK_CHAN_VEC)
  int64_t i = 0;
#if defined(__AVX512BW__)
  // A right pixel drawn alone takes its left partner's element (moved into its word
  // before the fan-out); a pixel drawn alone is unsigned; the key's bytes are not stored.
  uint8_t *const d = r.d;
  i = Steps24<2, true>(r.s, r.c, 2 * Pairs(r), r.b, [d](int64_t at, const Step24 &t) {
    // Pixels drawn alone (none where keys come in runs of whole pairs).
    const uint64_t alone = Partners(t.keys) & ~t.keys;
    if (alone == 0) {
      for (int q = 0; q < 3; ++q) {
        auto out =
            LightStream<false>(t.x[q], reg::Fan24(t.lo, t.hi, q, 0), reg::Fan24(t.lo, t.hi, q, 1));
        _mm512_mask_storeu_epi8(d + 3 * at + 64 * q, ~t.keyB[q], out);
      }
      return;
    }
    const uint64_t right = alone & ~kLeftPixels;
    const auto lo =
        _mm512_mask_mov_epi16(t.lo, static_cast<__mmask32>(right), _mm512_slli_epi32(t.lo, 16));
    const auto hi = _mm512_mask_mov_epi16(t.hi, static_cast<__mmask32>(right >> 32),
                                          _mm512_slli_epi32(t.hi, 16));
    uint64_t aloneB[3];
    reg::ByteBits24(alone, aloneB);
    for (int q = 0; q < 3; ++q) {
      auto out = LightStream<true>(t.x[q], reg::Fan24(lo, hi, q, 0), reg::Fan24(lo, hi, q, 1),
                                   EvenBytes(aloneB[q]), OddBytes(aloneB[q]));
      _mm512_mask_storeu_epi8(d + 3 * at + 64 * q, ~t.keyB[q], out);
    }
  });
#endif

  auto lightRows = [&](int64_t from, int64_t n) {
    return Rows24<2, true>(r.d + 3 * from, r.s + 3 * from, r.c + 2 * from, n,
                           [key = r.b](auto v, auto px, auto e, int64_t) {
                             return MaskLightPairsVec<decltype(v)>(px, e, key);
                           });
  };
#if defined(__AVX2__) && !defined(__AVX512BW__)
  // Pairs with no key or two are LightChan24's pairs.
  i = KeyedStream24<2>(r.d, r.s, r.c, 2 * Pairs(r), r.b, LightPairsStream,
                       [&](int64_t at) { lightRows(at, kMixed24); });
#endif
#if RK_NEON
  i = MaskLightPlanes<3>(r);
#endif
  i += lightRows(i, 2 * Pairs(r) - i);
  for (int64_t col = i; col < 2 * Pairs(r); col += 2)
    KeyedPair<3, true, false>(x, col, r.b, LightChanLone, LightChanPair);
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
  int64_t i = 0;
#if defined(RK_CHAN_VEC)
#if RK_NEON
  i = MaskLightPlanes<4>(r);
#else
  i = Rows32<2, true>(r.d, r.s, r.c, 2 * Pairs(r), [key = r.b](auto v, auto px, auto e, int64_t) {
    return MaskLightPairsVec<decltype(v)>(px, e, key);
  });
#endif
#endif
  KeyedPairs32<true, 2>(r.d + 4 * i, r.s + 4 * i, r.c + 2 * i, Pairs(r) - i / 2, r.b,
                        [](uint32_t px, uint32_t cAlone, uint32_t c, bool both) {
                          uint32_t alone = LightChanLone(px, cAlone), pair = LightChanPair(px, c);
                          return both ? pair : alone;
                        });
}

// The misplaced pixel of pair q (from 0), which has one key pixel. Each byte is written
// unless it lands on a drawn pair, which the walk from the right would draw over it
// later; the three bytes land on one or two pairs. (The drawn pixel is chosen by a
// select: indexing the pair's pixels waits for them to be stored.)
template <class X>
void PutMisplaced24(const X &x, const RowArgs &r, int64_t q) {
  const int64_t col = 2 * q;
  const uint32_t left = x.Src(col), right = x.Src(col + 1);
  const int i = IsKey<3>(left, r.b) ? 1 : 0;
  const PlacedPixel m = MaskDarkleChan24Alone(i ? right : left, x.Chan(col + i), i, q + 1);
  const int64_t off = m.off;
  const uint32_t v = m.v;
  if (off < 0) {  // the first pair's left pixel: two bytes before the row
    x.PutAt(off, v);
    return;
  }
  auto drawn = [&](int64_t pair) {
    return !IsKey<3>(x.Src(2 * pair), r.b) && !IsKey<3>(x.Src(2 * pair + 1), r.b);
  };
  const int64_t first = off / 6, last = (off + 2) / 6;
  const bool drawnFirst = drawn(first), drawnLast = last == first ? drawnFirst : drawn(last);
  if (!drawnFirst && !drawnLast) {
    x.PutAt(off, v);
  } else if (drawnFirst != drawnLast) {
    for (int j = 0; j < 3; ++j) {
      if (!((off + j) / 6 == first ? drawnFirst : drawnLast))
        *At(r.d, off + j) = static_cast<uint8_t>(v >> (8 * j));
    }
  }
}

// The first pair's misplaced pixel, its left one drawn alone: the two bytes of it that
// land before the row.
template <class X>
void PutMisplacedBefore24(const X &x, const RowArgs &r) {
  const uint32_t v = MaskDarkleChan24Alone(x.Src(0), x.Chan(0), 0, 1).v;
  *At(r.d, -2) = static_cast<uint8_t>(v);
  *At(r.d, -1) = static_cast<uint8_t>(v >> 8);
}

#if defined(__AVX2__)
// The misplaced pixels of the 64-pixel step at pixel `at` of a row whose pairs are
// drawn. Pair k of the step, when it has one key, puts its drawn pixel's bytes reversed
// in the 130-byte window from row byte 2at - 2: at window bytes 4k .. 4k + 2 when the
// drawn pixel is the left one, 4k + 3 .. 4k + 5 when it is the right one. So a byte gets
// a value from at most two pairs: pair k (its left pixel drawn: bytes 4k .. 4k + 2; its
// right: byte 4k + 3) and pair k - 1 (its right pixel drawn: bytes 4k and 4k + 1), which
// the walk from the right reaches later and so wins. A byte on a drawn pair keeps that
// pair's result. So the step writes each byte's final value, found from the source alone
// (every pair it lands on lies in the step or before it), but for its window's first two
// bytes, which the last pair of the step before wins: steps are written from the right,
// after the pairs that follow them, as the pairs are. Bytes before the row are left to
// the caller.
//
// Window byte 4k + r takes source byte 6k + 2, 1, 0 or 5 (r = 0 .. 3) of the step, or in
// window word 2k (bytes 4k, 4k + 1) the pair before's bytes 6k - 2 and 6k - 3, darkened
// by its pixel's element. Which bytes are written, and which words take the pair before:
struct MisplacedBits24 {
  int64_t t0;     // the window's first byte in the row
  uint64_t w[3];  // bit b: window byte b is written (130 bytes)
  uint64_t left;  // bit m: window word m takes the pair before (64 words)
  // From the step's key pixels' bits and `drawnAt(p)`, the bits of the 64 pixels from
  // pixel p (even) whose pair has no key.
  template <class DrawnAt>
  MisplacedBits24(int64_t at, uint64_t keys, DrawnAt drawnAt) : t0(2 * at - 2) {
    const uint64_t keyL = keys & kLeftPixels, keyR = keys >> 1 & kLeftPixels;
    // Pairs with one key, a bit each: a0 the left pixel drawn, a1 the right.
    const auto a0 = static_cast<uint32_t>(_pext_u64(keyR & ~keyL, kLeftPixels));
    const auto a1 = static_cast<uint32_t>(_pext_u64(keyL & ~keyR, kLeftPixels));
    auto spread = [](uint32_t pairs) { return _pdep_u64(pairs & 0xFFFF, 0x1111111111111111); };
    w[0] = spread(a0) * 7 | spread(a1) * 0x38;
    w[1] = spread(a0 >> 16) * 7 | spread(a1 >> 16) * 0x38 | (a1 >> 15 & 1) * 3;
    w[2] = (a1 >> 31 & 1) * 3;
    left = _pdep_u64((uint64_t{a1} << 1) & 0xFFFFFFFF, kLeftPixels);
    // Less the bytes on drawn pairs: the drawn bits from the window's first pixel p0
    // (pixel -1 of the first step is not drawn), spread to their bytes.
    const int64_t p0 = (t0 + 3) / 3 - 1;
    const int phase = static_cast<int>(t0 - 3 * p0);
    const uint64_t px = p0 < 0 ? drawnAt(0) << 1 : drawnAt(p0 & ~int64_t{1}) >> (p0 & 1);
    uint64_t on[3];
    reg::ByteBits24(px, on);
    for (int j = 0; j < 3; ++j) {
      const uint64_t next = j < 2 ? on[j + 1] : 0;
      w[j] &= ~(phase ? on[j] >> phase | next << (64 - phase) : on[j]);
    }
  }
};
// Window bytes 128 and 129, the step's last pair's: its right pixel's bytes 1 and 0.
inline void MisplacedLast24(const RowArgs &r, int64_t at, const MisplacedBits24 &m) {
  for (int j = 0; j < 2; ++j) {
    if (m.w[2] >> j & 1)
      r.d[m.t0 + 128 + j] = static_cast<uint8_t>(DarkleByte(r.s[3 * at + 190 - j], r.c[at + 63]));
  }
}
// The pixels of 64 from pixel p whose pair has no key, from their key pixels' bits.
inline uint64_t DrawnOf(uint64_t keys) { return ~(keys | Partners(keys)); }
#endif

#if defined(__AVX512BW__)
// Word indices into a step's result words (two registers: for window half h, result
// words 32h ..): lo/hi for a window word's low and high byte from its own pair,
// leftLo/leftHi from the pair before (even words only).
struct MisplacedIndex24 {
  alignas(64) uint16_t lo[2][32], hi[2][32], leftLo[2][32], leftHi[2][32];
  constexpr MisplacedIndex24() : lo{}, hi{}, leftLo{}, leftHi{} {
    for (int h = 0; h < 2; ++h) {
      for (int m = 0; m < 32; ++m) {
        const int k = 16 * h + m / 2, base = 32 * h;
        const bool even = m % 2 == 0;
        lo[h][m] = static_cast<uint16_t>((even ? 3 * k + 1 : 3 * k) - base);
        hi[h][m] = static_cast<uint16_t>((even ? 3 * k : 3 * k + 2) - base);
        leftLo[h][m] = static_cast<uint16_t>(std::max(3 * k - 1 - base, 0));
        leftHi[h][m] = static_cast<uint16_t>(std::max(3 * k - 2 - base, 0));
      }
    }
  }
};

// AVX-512: the step's results in three registers, rearranged into the window. The low
// byte of each window word comes from a low byte, the high from a high one: two word
// permutes and a select for each 64 bytes.
inline void MisplacedStep24(const RowArgs &r, int64_t at, const reg::Key24Spread &key) {
  auto keysAt = [&](int64_t px, __m512i v[3]) {
    for (int q = 0; q < 3; ++q) v[q] = vec::V512::Load(r.s + 3 * px + 64 * q);
    return key.Pixels(v);
  };
  __m512i x[3], out[3];
  const uint64_t keys = keysAt(at, x);
  const __m512i lo = vec::V512::Elems16<1>(r.c + at), hi = vec::V512::Elems16<1>(r.c + at + 32);
  for (int q = 0; q < 3; ++q)
    out[q] = vec::DarkleBytes<vec::V512>(x[q], reg::Fan24(lo, hi, q, 0), reg::Fan24(lo, hi, q, 1));
  MisplacedBits24 m(at, keys, [&](int64_t p) {
    __m512i v[3];
    return DrawnOf(p == at ? keys : keysAt(p, v));
  });
  if (at == 0) m.w[0] &= ~uint64_t{3};  // before the row
  static constexpr MisplacedIndex24 kIdx{};
  for (int h = 0; h < 2; ++h) {
    if (m.w[h] == 0) continue;
    const auto left = static_cast<__mmask32>(m.left >> 32 * h);
    auto pick = [&](const uint16_t *own, const uint16_t *before) {
      const __m512i idx =
          _mm512_mask_blend_epi16(left, _mm512_load_si512(own), _mm512_load_si512(before));
      return _mm512_permutex2var_epi16(out[h], idx, out[h + 1]);
    };
    const __m512i v = reg::R512::Select(reg::R512::Set16(0x00FF), pick(kIdx.lo[h], kIdx.leftLo[h]),
                                        pick(kIdx.hi[h], kIdx.leftHi[h]));
    _mm512_mask_storeu_epi8(r.d + m.t0 + 64 * h, m.w[h], v);
  }
  MisplacedLast24(r, at, m);
}
#elif defined(__AVX2__)
// Per 16 window bytes (four pairs, whose bytes start 24 bytes apart): the source bytes
// from two 16-byte windows (the first from 4 bytes before the pairs, the second from 8
// into them) and the elements from one of the 8 pixels before the pairs and the 8 of
// them; own for a byte from its own pair, left for one from the pair before.
struct MisplacedShuffles24 {
  alignas(32) int8_t own1[32], own2[32], ownC[32], left1[32], left2[32], leftC[32];
  constexpr MisplacedShuffles24() : own1{}, own2{}, ownC{}, left1{}, left2{}, leftC{} {
    for (int t = 0; t < 32; ++t) {
      const int k = t % 16 / 4, r = t % 4;
      const int own = 6 * k + (r == 0 ? 2 : r == 1 ? 1 : r == 2 ? 0 : 5);
      const int left = r == 0 ? 6 * k - 2 : r == 1 ? 6 * k - 3 : own;
      auto set = [&](int8_t *b1, int8_t *b2, int8_t *bc, int rel) {
        b1[t] = static_cast<int8_t>(rel < 12 ? rel + 4 : -128);
        b2[t] = static_cast<int8_t>(rel >= 12 ? rel - 8 : -128);
        bc[t] = static_cast<int8_t>((rel + 3) / 3 - 1 + 8);  // the pixel, from 8 before
      };
      set(own1, own2, ownC, own);
      set(left1, left2, leftC, left);
    }
  }
};

// AVX2: the window's bytes gathered from the source by byte shuffles, 32 at a time,
// and darkened there. Steps from the row's second on: the first window's loads would
// start before the row.
inline void MisplacedStep24(const RowArgs &r, int64_t at, const reg::Key24<reg::R256> &key) {
  using V = vec::V256;
  auto keys32 = [&](int64_t px) {
    const __m256i v[3] = {V::Load(r.s + 3 * px), V::Load(r.s + 3 * px + 32),
                          V::Load(r.s + 3 * px + 64)};
    uint64_t st[3];
    key.Starts(v, st);
    return reg::PixelsOfStarts24(st) & 0xFFFFFFFF;
  };
  auto keysAt = [&](int64_t px) { return keys32(px) | keys32(px + 32) << 32; };
  const uint64_t keys = keysAt(at);
  const MisplacedBits24 m(at, keys, [&](int64_t p) { return DrawnOf(keysAt(p)); });
  static constexpr MisplacedShuffles24 kT{};
  auto table = [](const int8_t *t) { return V::Load(t); };
  const uint8_t *const s = r.s + 3 * at, *const c = r.c + at;
  auto two = [](const uint8_t *lo, const uint8_t *hi) {
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i *>(hi),
                               reinterpret_cast<const __m128i *>(lo));
  };
  for (int j = 0; j < 4; ++j) {
    const auto written = static_cast<uint32_t>(m.w[j / 2] >> 32 * (j % 2));
    if (written == 0) continue;
    // The words of these 32 bytes that take the pair before, as bytes.
    const auto leftWords = static_cast<uint32_t>(m.left >> 16 * j & 0xFFFF);
    const __m256i left = V::BytesOf(_pdep_u64(leftWords, 0x55555555) * 3);
    auto pick = [&](const int8_t *own, const int8_t *before) {
      return V::Select(left, table(before), table(own));
    };
    const int64_t l = 48 * j;  // the first lane's pairs start here
    const __m256i v = V::Or(V::Shuffle8(two(s + l - 4, s + l + 20), pick(kT.own1, kT.left1)),
                            V::Shuffle8(two(s + l + 8, s + l + 32), pick(kT.own2, kT.left2)));
    const __m256i e = V::Shuffle8(two(c + 16 * j - 8, c + 16 * j), pick(kT.ownC, kT.leftC));
    const __m256i out =
        vec::DarkleBytes<V>(v, V::And(e, V::Set16(0x00FF)), V::template Srl16<8>(e));
    uint8_t *const p = r.d + m.t0 + 32 * j;
    V::Store(p, V::Select(V::BytesOf(written), out, V::Load(p)));
  }
  MisplacedLast24(r, at, m);
}
#endif

// The drawn pairs first, at their places; then the misplaced pixels of the one-key
// pairs from the right, each byte written unless it lands on a drawn pair (which the
// walk from the right would draw over it later: a misplaced pixel never lands right of
// its own pair). The first pass notes where the one-key pairs are (the first 4096
// chunks or steps of a row; any further ones are looked at again). With AVX2 or
// AVX-512, a 64-pixel block with more than a few one-key pairs has its misplaced pixels
// written at once (MisplacedStep24).
void FastMaskDarkleChan24(const RowArgs &r) {
  auto x = Chan<3, 1>(Raw(r));
  if (r.w & 1) KeyedLone<3>(x, r.w - 1, r.b, DarkleChan3);
#if defined(RK_CHAN_VEC)
  // The drawn pairs at their places (a pair with a key keeps its destination here),
  // noting the one-key pairs by their left pixels' bits (the first kNoted pixels of a
  // row; the pairs after them, and those the registers did not cover, are looked at
  // again); then the misplaced pixels of the one-key pairs from the right.
  constexpr int64_t kNoted = 32768;
  // The first kNoted pixels in blocks of 64: each block's one-key pairs noted in its
  // word of `one` by their left pixels' bits (cleared as far as the row reaches), and
  // after the drawing the blocks with any in `mixed`.
  uint64_t one[kNoted / 64], mixed[kNoted / 4096] = {};
  std::memset(one, 0, 8 * static_cast<size_t>(std::min(kNoted, 2 * Pairs(r) + 63) / 64));
  bool anyOne = false;
  // Notes the one-key pairs of bits `left` (their left pixels) from pixel `at`, which
  // lies in the same word as the bits' last pixel.
  auto note = [&](int64_t at, uint64_t left) {
    if (left == 0) return;
    anyOne = true;
    if (at < kNoted) one[at / 64] |= left << (at % 64);
  };
  // Rows24 on n pixels from pixel `from`.
  auto darkleRows = [&](int64_t from, int64_t n) {
    return Rows24<1, true>(r.d + 3 * from, r.s + 3 * from, r.c + from, n,
                           [&, key = r.b](auto v, auto px, auto e, int64_t off) {
                             using V = decltype(v);
                             const int64_t at = from + off;
                             auto k = vec::KeyMask32<V>(px, key), kp = V::SwapPairs32(k);
                             if (auto m = V::Xor(k, kp); V::Any(m))
                               note(at, Lanes32(V::Bits(m)) & kLeftPixels);
                             return vec::Kept<V>{vec::DarklePixBytes<V>(px, e), V::Or(k, kp)};
                           });
  };
  int64_t i = 0;
#if defined(__AVX512BW__)
  uint8_t *const d = r.d;
  i = Steps24<1, true>(r.s, r.c, std::min(2 * Pairs(r), kNoted), r.b,
                       [&, d](int64_t at, const Step24 &t) {
                         using V = vec::V512;
                         const uint64_t partner = Partners(t.keys);
                         // Where no pair has one key, the pairs left alone are those of the key
                         // pixels.
                         uint64_t skipB[3] = {t.keyB[0], t.keyB[1], t.keyB[2]};
                         if (t.keys != partner) {
                           note(at, (t.keys ^ partner) & kLeftPixels);
                           reg::ByteBits24(t.keys | partner, skipB);
                         }
                         for (int q = 0; q < 3; ++q) {
                           auto out = vec::DarkleBytes<V>(t.x[q], reg::Fan24(t.lo, t.hi, q, 0),
                                                          reg::Fan24(t.lo, t.hi, q, 1));
                           _mm512_mask_storeu_epi8(d + 3 * at + 64 * q, ~skipB[q], out);
                         }
                       });
#elif defined(__AVX2__)
  i = KeyedStream24<1>(r.d, r.s, r.c, 2 * Pairs(r), r.b, vec::DarkleBytes<vec::V256>,
                       [&](int64_t at) { darkleRows(at, kMixed24); });
#elif RK_NEON
  const planes::Key key(r.b);
  i = Planes<3, 1, true>(r.d, r.s, r.c, std::min(2 * Pairs(r), kNoted),
                         [&](uint8x16x3_t p, uint8x16x2_t e, uint8x16_t &keep, int64_t at) {
                           const uint8x16_t k = key.Of(p), kp = vrev16q_u8(k);
                           keep = vorrq_u8(k, kp);
                           if (const uint8x16_t one = veorq_u8(k, kp); vmaxvq_u8(one) != 0)
                             note(at, planes::LeftPixelBits(one));
                           for (uint8x16_t &b : p.val) b = simd::DarkleBytes8(b, e.val[0]);
                           return p;
                         });
#endif
  i += darkleRows(i, 2 * Pairs(r) - i);
  for (int64_t col = i; col < 2 * Pairs(r); col += 2) {
    KeyedPairIn q = ReadKeyedPair<3>(x, col, r.b);
    if (q.Both()) {
      x.Put(col, DarkleChan3(q.p[0], q.c[0]));
      x.Put(col + 1, DarkleChan3(q.p[1], q.c[1]));
    }
    anyOne |= !q.Both() && !q.None();
  }
  // The pairs after the whole blocks noted, from the right.
  const int64_t blocks = std::min(i, kNoted) / 64;
  for (int64_t q = Pairs(r) - 1; anyOne && q >= 32 * blocks; --q) {
    const int64_t p = 2 * q;
    if (p < i && p < kNoted) {
      // The noted pair at or left of q within its word, or none: on to the word before.
      const uint64_t bits = one[p / 64] & ((uint64_t{2} << (p % 64)) - 1);
      if (bits == 0) {
        q = p / 64 * 32;
        continue;
      }
      q = (p / 64 * 64 + 63 - std::countl_zero(bits)) / 2;
      PutMisplaced24(x, r, q);
      continue;
    }
    KeyedPairIn pr = ReadKeyedPair<3>(x, p, r.b);
    if (!pr.None() && !pr.Both()) PutMisplaced24(x, r, q);
  }
  for (int64_t block = 0; anyOne && block < blocks; ++block) {
    if (one[block] != 0) mixed[block / 64] |= uint64_t{1} << (block % 64);
  }
  // Then the blocks from the right: a block with few one-key pairs a pair at a time,
  // one with more whole (AVX2: not the first block, whose window's loads would start
  // before the row).
#if defined(__AVX512BW__)
  constexpr int kPairsAlone = 2;
  constexpr int64_t kFirstWhole = 0;
  const reg::Key24Spread key(r.b);
#elif defined(__AVX2__)
  constexpr int kPairsAlone = 4;
  constexpr int64_t kFirstWhole = 1;
  const reg::Key24<reg::R256> key(r.b);
#endif
  auto top = [](uint64_t bits) { return 63 - std::countl_zero(bits); };
  for (int64_t word = (blocks + 63) / 64 - 1; anyOne && word >= 0; --word) {
    const uint64_t below =
        blocks - 64 * word >= 64 ? ~uint64_t{0} : (uint64_t{1} << (blocks - 64 * word)) - 1;
    for (uint64_t m = mixed[word] & below; m != 0; m ^= uint64_t{1} << top(m)) {
      const int64_t block = 64 * word + top(m);
#if defined(__AVX2__)
      if (std::popcount(one[block]) > kPairsAlone && block >= kFirstWhole) {
        MisplacedStep24(r, 64 * block, key);
        // The first pair's left pixel drawn alone: its bytes before the row.
        if (block == 0 && !IsKey<3>(x.Src(0), r.b) && IsKey<3>(x.Src(1), r.b))
          PutMisplacedBefore24(x, r);
        continue;
      }
#endif
      for (uint64_t b = one[block]; b != 0; b ^= uint64_t{1} << top(b))
        PutMisplaced24(x, r, (64 * block + top(b)) / 2);
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

void FastMaskDarkleChan32(const RowArgs &r) {
  if (r.w & 1) KeyedLone<4>(Chan<4, 1>(Raw(r)), r.w - 1, r.b, DarkleChan3);
  int64_t i = 0;
#if defined(RK_CHAN_VEC)
  // A pixel drawn alone (its partner the key) writes its fourth byte as 0.
#if RK_NEON
  const planes::Key key(r.b);
  i = Planes<4, 1, true>(r.d, r.s, r.c, 2 * Pairs(r),
                         [=](uint8x16x4_t p, uint8x16x2_t e, uint8x16_t &keep, int64_t) {
                           keep = key.Of(p);
                           for (uint8x16_t &b : p.val) b = simd::DarkleBytes8(b, e.val[0]);
                           p.val[3] = vbicq_u8(p.val[3], planes::Alone(keep));
                           return p;
                         });
#else
  i = Rows32<1, true>(r.d, r.s, r.c, 2 * Pairs(r), [key = r.b](auto tag, auto px, auto e, int64_t) {
    using V = decltype(tag);
    auto k = vec::KeyMask32<V>(px, key), kp = V::SwapPairs32(k);
    auto v = vec::DarklePixBytes<V>(px, e);
    return vec::Kept<V>{V::Select(kp, V::And(v, V::Set32(kColourBytes)), v), k};
  });
#endif
#endif
  KeyedPairs32<false, 1>(r.d + 4 * i, r.s + 4 * i, r.c + i, Pairs(r) - i / 2, r.b,
                         [](uint32_t px, uint32_t, uint32_t c, bool both) {
                           return DarkleChan3(px, c) | (both ? DarkleByte(px >> 24, c) << 24 : 0);
                         });
}

}  // namespace
}  // namespace bright
RK_NS_END

#if defined(__AVX512BW__)
#pragma GCC diagnostic pop
#endif

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
