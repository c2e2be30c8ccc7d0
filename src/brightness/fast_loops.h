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

// Destination element i = fn(source element i) for i < count.
template <int E, class Fn>
inline void MapRow(uint8_t *__restrict d, const uint8_t *__restrict s, int64_t count, Fn fn) {
  using T = typename Elem<E>::T;
  for (int64_t i = 0; i < count; ++i) StoreE<E>(d + i * E, static_cast<T>(fn(LoadE<E>(s + i * E))));
}

}  // namespace bright
RK_NS_END
