// Units of the brightness row walks that the reference walks and the fast row
// kernels share: the steps at a row's right end (lone pixels, the pair step, writes
// into the source) whose placement or formula is particular to a member. Each takes
// the row with its memory accessors; the fast kernels pass RawMem.
#pragma once

#include <cstdint>

#include "brightness/arith.h"
#include "frame/mem.h"
#include "frame/walk.h"

RK_NS_BEGIN
namespace bright {

// Byte `off` of a row (any sign; offsets are formed as plain address arithmetic).
inline uint8_t *At(uint8_t *p, int64_t off) { return AddrAdd(p, static_cast<intptr_t>(off)); }
inline const uint8_t *At(const uint8_t *p, int64_t off) {
  return AddrAdd(p, static_cast<intptr_t>(off));
}

inline int64_t Bytes(const RowArgs &r, int bpp) { return int64_t{r.w} * bpp; }
// Whole pairs of the row: the pair step and the groups cover columns below 2 * Pairs.
inline int64_t Pairs(const RowArgs &r) { return r.w >> 1; }

// Elements of E bytes (1, 2 or 4) through an accessor.
template <int E, class M>
uint32_t LdE(const M &m, const uint8_t *p) {
  if constexpr (E == 1) return m.Ld8(p);
  if constexpr (E == 2) return m.Ld16(p);
  if constexpr (E == 4) return m.Ld32(p);
}
template <int E, class M>
void StE(const M &m, uint8_t *p, uint32_t v) {
  if constexpr (E == 1) m.St8(p, v);
  if constexpr (E == 2) m.St16(p, v);
  if constexpr (E == 4) m.St32(p, v);
}

// One unit of N elements at byte `off`: all N source elements are read, then the N
// results stored at the same place in the destination.
template <int E, int N, class M, class Fn>
void MapUnit(const Row<M> &r, int64_t off, Fn fn) {
  uint32_t v[N];
  for (int i = 0; i < N; ++i) v[i] = LdE<E>(r.sm, At(r.s, off + i * E));
  for (int i = 0; i < N; ++i) StE<E>(r.dm, At(r.d, off + i * E), fn(v[i]));
}

// `units` units of N elements from byte (units - 1) * N * E down to byte 0, each read
// whole and stored whole before the next is read.
template <int E, int N, class M, class Fn>
void MapUnitsDown(const Row<M> &r, int64_t units, Fn fn) {
  for (int64_t u = units - 1; u >= 0; --u) MapUnit<E, N>(r, u * N * E, fn);
}

// The same units, software-pipelined: the next unit to the left is read before the
// current one is stored.
template <int E, int N, class M, class Fn>
void MapUnitsDownAhead(const Row<M> &r, int64_t units, Fn fn) {
  if (units <= 0) return;
  uint32_t cur[N], next[N];
  auto load = [&](uint32_t *v, int64_t u) {
    for (int i = 0; i < N; ++i) v[i] = LdE<E>(r.sm, At(r.s, u * N * E + i * E));
  };
  auto store = [&](const uint32_t *v, int64_t u) {
    for (int i = 0; i < N; ++i) StE<E>(r.dm, At(r.d, u * N * E + i * E), fn(v[i]));
  };
  load(cur, units - 1);
  for (int64_t u = units - 1; u >= 1; --u) {
    load(next, u - 1);
    store(cur, u);
    for (int i = 0; i < N; ++i) cur[i] = next[i];
  }
  store(cur, 0);
}

// ---------------------------------------------------------------------------------
// Light

// The level's byte factor at depths 24 and 32 (its low 16 bits).
inline uint32_t ByteScale(uint32_t level) { return level & 0xFFFF; }

// RkLight24: when the row's byte count has bit 2 set, the 4 bytes after the whole
// 8-byte groups are rewritten in the source as f, 255, f, 255 and never reach the
// destination. From the third row on this happens on every row, and with bit 2
// clear those 4 bytes start at the first trailing byte and may run past the row.
template <class M>
void Light24SourceGroup(const Row<M> &r) {
  int64_t n = Bytes(r, 3);
  if ((n & 4) == 0 && r.y < 2) return;
  uint32_t s = ByteScale(r.a);
  uint8_t *p = At(r.s, (n >> 3) * 8);
  uint32_t v = r.sm.Ld32(p);
  r.sm.St32(p, LightByte(v & 0xFF, s) | 0xFF00u | LightByte(v >> 16 & 0xFF, s) << 16 | 0xFF000000u);
}

// RkLight32: bytes 0 and 1 scaled, bytes 2 and 3 cleared.
constexpr uint32_t Light32Pixel(uint32_t px, uint32_t s) {
  return LightByte(px & 0xFF, s) | LightByte(px >> 8 & 0xFF, s) << 8;
}
// RkLight32: the odd last pixel is not drawn; its source pixel becomes 255, 0, 255, 0.
template <class M>
void Light32Stamp(const Row<M> &r) {
  if (r.w & 1) r.sm.St32(At(r.s, Bytes(r, 4) - 4), 0x00FF00FFu);
}

// ---------------------------------------------------------------------------------
// Darkle

// RkDarkle16/15: the single-pixel step at column 2 * (width >> 1): the odd last
// pixel, and from the third row on every row's (one pixel right of the rectangle
// for an even width).
template <class F, class M>
void DarkleLoneStep(const Row<M> &r) {
  if ((r.w & 1) == 0 && r.y < 2) return;
  int64_t off = Pairs(r) * 4;
  r.dm.St16(At(r.d, off), DarkleSingle<F>(r.sm.Ld16(At(r.s, off)), LevelScale16(r.a)));
}

}  // namespace bright
RK_NS_END
