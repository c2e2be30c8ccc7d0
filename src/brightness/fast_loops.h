// Row loops of the fast brightness kernels: plain loops over elements, left to the
// vectoriser. Only fast translation units include this.
#pragma once

#include <cstdint>
#include <cstring>

#include "module/isa.h"

RK_NS_BEGIN
namespace bright {

template <int E>
struct Elem;
template <>
struct Elem<1> {
  using T = uint8_t;
};
template <>
struct Elem<2> {
  using T = uint16_t;
};
template <>
struct Elem<4> {
  using T = uint32_t;
};

template <int E>
inline typename Elem<E>::T LoadE(const uint8_t *p) {
  typename Elem<E>::T v;
  std::memcpy(&v, p, E);
  return v;
}
template <int E>
inline void StoreE(uint8_t *p, typename Elem<E>::T v) {
  std::memcpy(p, &v, E);
}

// Destination element i = fn(source element i) for i < count. The destination is
// either apart from the source or the very same bytes (a pointwise kernel in place).
template <int E, class Fn>
inline void MapRowApart(uint8_t *__restrict d, const uint8_t *__restrict s, int64_t count, Fn fn) {
  using T = typename Elem<E>::T;
  for (int64_t i = 0; i < count; ++i) StoreE<E>(d + i * E, static_cast<T>(fn(LoadE<E>(s + i * E))));
}
template <int E, class Fn>
inline void MapRowInPlace(uint8_t *p, int64_t count, Fn fn) {
  using T = typename Elem<E>::T;
  for (int64_t i = 0; i < count; ++i) StoreE<E>(p + i * E, static_cast<T>(fn(LoadE<E>(p + i * E))));
}
template <int E, class Fn>
inline void MapRow(uint8_t *d, const uint8_t *s, int64_t count, Fn fn) {
  if (d == s) {
    MapRowInPlace<E>(d, count, fn);
  } else {
    MapRowApart<E>(d, s, count, fn);
  }
}

// As MapRow, but an element whose bits under keyMask equal the key keeps the
// destination's value.
template <int E, class Fn>
inline void MapRowKeyed(uint8_t *__restrict d, const uint8_t *__restrict s, int64_t count,
                        uint32_t key, uint32_t keyMask, Fn fn) {
  using T = typename Elem<E>::T;
  const auto k = static_cast<T>(key), m = static_cast<T>(keyMask);
  for (int64_t i = 0; i < count; ++i) {
    T v = LoadE<E>(s + i * E), old = LoadE<E>(d + i * E);
    StoreE<E>(d + i * E, static_cast<T>(v & m) == k ? old : static_cast<T>(fn(v)));
  }
}

// Pairs of E-byte elements: fn(a, b, oldA, oldB, outA, outB) gives both results.
template <int E, class Fn>
inline void MapPairs(uint8_t *__restrict d, const uint8_t *__restrict s, int64_t pairs, Fn fn) {
  using T = typename Elem<E>::T;
  for (int64_t p = 0; p < pairs; ++p) {
    const uint8_t *a = s + 2 * p * E;
    uint8_t *q = d + 2 * p * E;
    T x, y;
    fn(LoadE<E>(a), LoadE<E>(a + E), LoadE<E>(q), LoadE<E>(q + E), x, y);
    StoreE<E>(q, x);
    StoreE<E>(q + E, y);
  }
}

// Keep masks of 3-byte pixel pairs: for each byte of the pairs, 0xFF when the byte
// keeps the destination's value under the key rule, 0 when it is drawn. kWhole: a pair
// is drawn only when neither pixel is the key, one[p] is set to whether exactly one
// pixel of pair p is the key, and the result tells whether any is; otherwise each
// non-key pixel is drawn and `one` is not used. Two forms give the same masks: a pair
// as three 16-bit words (a0 a1, a2 b0, b1 b2), and two pairs as three 32-bit words
// (a0 a1 a2 b0, b1 b2 c0 c1, c2 d0 d1 d2); the vectoriser does the first better where
// 16-bit lanes can be permuted across a vector (AVX-512), the second elsewhere.
template <bool kWhole>
inline bool KeepWords24(const uint8_t *__restrict s, int64_t pairs, uint32_t key,
                        uint8_t *__restrict keep, uint8_t *__restrict one) {
  uint16_t anyOne = 0;
  const auto k01 = static_cast<uint16_t>(key), k12 = static_cast<uint16_t>(key >> 8),
             k0 = static_cast<uint16_t>(key & 0xFF), k2 = static_cast<uint16_t>(key >> 16 & 0xFF);
  for (int64_t p = 0; p < pairs; ++p) {
    const uint8_t *a = s + 6 * p;
    uint16_t w0 = LoadE<2>(a), w1 = LoadE<2>(a + 2), w2 = LoadE<2>(a + 4);
    auto ka = static_cast<uint16_t>((w0 == k01) & ((w1 & 0xFF) == k2));
    auto kb = static_cast<uint16_t>(((w1 >> 8) == k0) & (w2 == k12));
    auto ma = static_cast<uint16_t>(-(kWhole ? ka | kb : ka)),
         mb = static_cast<uint16_t>(-(kWhole ? ka | kb : kb));
    StoreE<2>(keep + 6 * p, ma);
    StoreE<2>(keep + 6 * p + 2, static_cast<uint16_t>((ma & 0x00FF) | (mb & 0xFF00)));
    StoreE<2>(keep + 6 * p + 4, mb);
    if constexpr (kWhole) {
      one[p] = static_cast<uint8_t>(ka ^ kb);
      anyOne |= ka ^ kb;
    }
  }
  return anyOne != 0;
}
template <bool kWhole>
inline bool KeepQuads24(const uint8_t *__restrict s, int64_t quads, uint32_t key,
                        uint8_t *__restrict keep, uint8_t *__restrict one) {
  uint32_t anyOne = 0;
  for (int64_t q = 0; q < quads; ++q) {
    const uint8_t *a = s + 12 * q;
    uint32_t d0 = LoadE<4>(a), d1 = LoadE<4>(a + 4), d2 = LoadE<4>(a + 8);
    uint32_t ka = (d0 & 0xFFFFFF) == key, kb = (d0 >> 24 | (d1 & 0xFFFF) << 8) == key;
    uint32_t kc = (d1 >> 16 | (d2 & 0xFF) << 16) == key, kd = d2 >> 8 == key;
    uint32_t ma = -(kWhole ? ka | kb : ka), mb = -(kWhole ? ka | kb : kb),
             mc = -(kWhole ? kc | kd : kc), md = -(kWhole ? kc | kd : kd);
    StoreE<4>(keep + 12 * q, (ma & 0x00FFFFFF) | (mb & 0xFF000000));
    StoreE<4>(keep + 12 * q + 4, (mb & 0x0000FFFF) | (mc & 0xFFFF0000));
    StoreE<4>(keep + 12 * q + 8, (mc & 0x000000FF) | (md & 0xFFFFFF00));
    if constexpr (kWhole) {
      one[2 * q] = static_cast<uint8_t>(ka ^ kb);
      one[2 * q + 1] = static_cast<uint8_t>(kc ^ kd);
      anyOne |= (ka ^ kb) | (kc ^ kd);
    }
  }
  return anyOne != 0;
}

#if defined(__AVX512BW__)
inline constexpr bool kKeepWords = true;
#else
inline constexpr bool kKeepWords = false;
#endif

// Up to 256 pairs of 3-byte pixels: every byte mapped by fn2 (two bytes a word) unless
// its keep mask keeps it.
constexpr int64_t kPairs24 = 256;
template <bool kWhole, class Fn2>
inline bool MapPairs24(uint8_t *__restrict d, const uint8_t *__restrict s, int64_t pairs,
                       uint32_t key, Fn2 fn2, uint8_t *__restrict one) {
  uint8_t keep[6 * kPairs24];
  bool anyOne;
  if constexpr (kKeepWords) {
    anyOne = KeepWords24<kWhole>(s, pairs, key, keep, one);
  } else {
    int64_t last = pairs & ~int64_t{1};
    anyOne = KeepQuads24<kWhole>(s, pairs >> 1, key, keep, one);
    if (pairs & 1) {
      anyOne |=
          KeepWords24<kWhole>(s + 6 * last, 1, key, keep + 6 * last, one ? one + last : nullptr);
    }
  }
  for (int64_t i = 0; i < 3 * pairs; ++i) {
    uint16_t m = LoadE<2>(keep + 2 * i);
    StoreE<2>(d + 2 * i,
              static_cast<uint16_t>((fn2(LoadE<2>(s + 2 * i)) & ~m) | (LoadE<2>(d + 2 * i) & m)));
  }
  return anyOne;
}

}  // namespace bright
RK_NS_END
