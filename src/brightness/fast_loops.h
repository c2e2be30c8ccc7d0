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

// Pairs of 3-byte pixels seen as three 16-bit words (a0 a1, a2 b0, b1 b2): the words
// of the destination that keep their value under the key rule. kWhole: a pair is
// drawn only when neither pixel is the key, one[p] is set to whether exactly one pixel
// of pair p is the key, and the result tells whether any is; otherwise each non-key
// pixel is drawn and `one` is not used.
template <bool kWhole>
inline bool KeepWords24(const uint8_t *__restrict s, int64_t pairs, uint32_t key,
                        uint16_t *__restrict keep, uint8_t *__restrict one) {
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
    keep[3 * p] = ma;
    keep[3 * p + 1] = static_cast<uint16_t>((ma & 0x00FF) | (mb & 0xFF00));
    keep[3 * p + 2] = mb;
    if constexpr (kWhole) {
      one[p] = static_cast<uint8_t>(ka ^ kb);
      anyOne |= ka ^ kb;
    }
  }
  return anyOne != 0;
}

// Up to 256 pairs of 3-byte pixels: every byte mapped by fn2 (two bytes a word) unless
// KeepWords24 keeps it.
constexpr int64_t kPairs24 = 256;
template <bool kWhole, class Fn2>
inline bool MapPairs24(uint8_t *__restrict d, const uint8_t *__restrict s, int64_t pairs,
                       uint32_t key, Fn2 fn2, uint8_t *__restrict one) {
  uint16_t keep[3 * kPairs24];
  bool anyOne = KeepWords24<kWhole>(s, pairs, key, keep, one);
  for (int64_t i = 0; i < 3 * pairs; ++i) {
    uint16_t m = keep[i];
    StoreE<2>(d + 2 * i,
              static_cast<uint16_t>((fn2(LoadE<2>(s + 2 * i)) & ~m) | (LoadE<2>(d + 2 * i) & m)));
  }
  return anyOne;
}

}  // namespace bright
RK_NS_END
