// Units of the brightness row walks that the reference walks and the fast row
// kernels share: the steps at a row's right end (lone pixels, the pair step, writes
// into the source) whose placement or formula is particular to a member. Each takes
// the row with its memory accessors; the fast kernels pass RawMem.
#pragma once

#include <cstdint>
#include <type_traits>

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

// A kernel K whose source and destination rows reach the same bytes, K::RowBytes.
template <int Bpp, class K>
struct SameRowBytes : BlitKernel<Bpp> {
  static Extent DstBytes(int32_t w, int32_t h) { return K::RowBytes(w, h); }
  static Extent SrcBytes(int32_t w, int32_t h) { return K::RowBytes(w, h); }
};

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

// ---------------------------------------------------------------------------------
// Masked members. A pixel equal to the key is not drawn: depths 16 and 15 compare the
// whole 16-bit pixel with the key's low 16 bits, depths 24 and 32 the three colour
// bytes with the key's low 24 bits.

inline uint32_t Key16(const RowArgs &r) { return r.b & 0xFFFF; }
inline uint32_t Key24(const RowArgs &r) { return r.b & kColourBytes; }

// Pixels of B bytes (2, 3 or 4) through an accessor.
template <int B, class M>
uint32_t LdPx(const M &m, const uint8_t *p) {
  if constexpr (B == 3) return m.Ld24(p);
  if constexpr (B != 3) return LdE<B>(m, p);
}
template <int B, class M>
void StPx(const M &m, uint8_t *p, uint32_t v) {
  if constexpr (B == 3) m.St24(p, v);
  if constexpr (B != 3) StE<B>(m, p, v);
}

// A group of four 16-bit pixels at byte `off`: skipped when all four are the key;
// otherwise the destination is read and its key places written back unchanged.
template <class M, class Lane>
void MaskGroup16(const Row<M> &r, int64_t off, Lane lane) {
  uint32_t key = Key16(r), v[4], old[4];
  bool draw = false;
  for (int i = 0; i < 4; ++i) {
    v[i] = r.sm.Ld16(At(r.s, off + 2 * i));
    draw |= v[i] != key;
  }
  if (!draw) return;
  for (int i = 0; i < 4; ++i) old[i] = r.dm.Ld16(At(r.d, off + 2 * i));
  for (int i = 0; i < 4; ++i) r.dm.St16(At(r.d, off + 2 * i), v[i] == key ? old[i] : lane(v[i]));
}

// RkMaskLight16/15: the lone last pixel, then the pair step. When the lone pixel is
// the key, whether the pair step runs is taken from the low byte of the factor instead
// of from (width >> 1) & 1; the pair is always the two columns left of the last pixel
// (for width 1 the columns -2 and -1). A pair of two non-key pixels saturates the
// lower pixel's green and blue early; a pair member drawn alone is a single pixel.
template <class F, class M>
void MaskLightEnd(const Row<M> &r) {
  uint32_t k = LevelScale16(r.a), key = Key16(r);
  int64_t h = Pairs(r);
  bool pair = (h & 1) != 0;
  if (r.w & 1) {
    int64_t off = Bytes(r, 2) - 2;
    uint32_t p = r.sm.Ld16(At(r.s, off));
    if (p == key) {
      pair = (k & 0xFF) != 0;
    } else {
      r.dm.St16(At(r.d, off), MaskLightSingle<F>(p, k));
    }
  }
  if (!pair) return;
  int64_t off = 4 * h - 4;
  uint32_t lo = r.sm.Ld16(At(r.s, off)), hi = r.sm.Ld16(At(r.s, off + 2));
  if (lo != key && hi != key) {
    r.dm.St32(At(r.d, off), MaskLightPairLow<F>(lo, k) | MaskLightPairHigh<F>(hi, k) << 16);
  } else if (lo != key) {
    r.dm.St16(At(r.d, off), MaskLightSingle<F>(lo, k));
  } else if (hi != key) {
    r.dm.St16(At(r.d, off + 2), MaskLightSingle<F>(hi, k));
  }
}

// RkMaskDarkle16/15: the lone last pixel and the pair step, every pixel by the
// single-pixel path. A pair whose lower pixel alone is the key writes into the key's
// place: at depth 16 the red and blue of the darkened higher pixel with the green of
// the work value left by the lone pixel (0 when it was not drawn), at depth 15 the
// darkened higher pixel. The higher pixel's own place is not written.
template <class F, class M>
void MaskDarkleEnd(const Row<M> &r) {
  uint32_t k = LevelScale16(r.a), key = Key16(r), work = 0;
  if (r.w & 1) {
    int64_t off = Bytes(r, 2) - 2;
    uint32_t p = r.sm.Ld16(At(r.s, off));
    if (p != key) {
      work = DarkleSingleWork<F>(p, k);
      r.dm.St16(At(r.d, off), FoldWork(work));
    }
  }
  int64_t h = Pairs(r);
  if ((h & 1) == 0) return;
  int64_t off = 4 * h - 4;
  uint32_t lo = r.sm.Ld16(At(r.s, off)), hi = r.sm.Ld16(At(r.s, off + 2));
  if (lo != key) {
    r.dm.St16(At(r.d, off), DarkleSingle<F>(lo, k));
    if (hi != key) r.dm.St16(At(r.d, off + 2), DarkleSingle<F>(hi, k));
  } else if (hi != key) {
    uint32_t y = DarkleSingleWork<F>(hi, k);
    if constexpr (std::is_same_v<F, Color16>) {
      r.dm.St16(At(r.d, off), (y & 0xFFFF) | work >> 16);
    } else {
      r.dm.St16(At(r.d, off), FoldWork(y));
    }
  }
}

// Depths 24 and 32, odd last pixel of RkMaskLight24 and RkMaskDarkle24: only the
// source's third byte s2 is read; the pixel is (s2, 0, 0): the key when the key's
// colour bytes equal s2, otherwise drawn as (f(s2), f(0), f(0)).
template <class M, class Fn>
void MaskLone24(const Row<M> &r, Fn single) {
  if ((r.w & 1) == 0) return;
  int64_t off = Bytes(r, 3) - 3;
  uint32_t px = r.sm.Ld8(At(r.s, off + 2));
  if (px != Key24(r)) r.dm.St24(At(r.d, off), Bytes3(px, single));
}
// Depth 32, odd last pixel: bytes 0..2 by the single formula, byte 3 cleared.
template <class M, class Fn>
void MaskLone32(const Row<M> &r, Fn single) {
  if ((r.w & 1) == 0) return;
  int64_t off = Bytes(r, 4) - 4;
  uint32_t px = r.sm.Ld32(At(r.s, off));
  if ((px & kColourBytes) != Key24(r)) r.dm.St32(At(r.d, off), Bytes3(px, single));
}

// A pair of B-byte pixels at byte `off`: two keys draw nothing, one key draws the other
// pixel alone with `single` at its own place, none draws both with `pair`.
template <int B, class M, class Pair, class Single>
void MaskPair(const Row<M> &r, int64_t off, Pair pair, Single single) {
  uint32_t key = Key24(r);
  uint32_t a = LdPx<B>(r.sm, At(r.s, off)), b = LdPx<B>(r.sm, At(r.s, off + B));
  bool ka = (a & kColourBytes) == key, kb = (b & kColourBytes) == key;
  if (!ka && !kb) {
    StPx<B>(r.dm, At(r.d, off), pair(a));
    StPx<B>(r.dm, At(r.d, off + B), pair(b));
  } else if (!ka) {
    StPx<B>(r.dm, At(r.d, off), single(a));
  } else if (!kb) {
    StPx<B>(r.dm, At(r.d, off + B), single(b));
  }
}

// RkMaskDarkle24, pair n (columns 2n - 2 and 2n - 1, ending at byte e = 6n). After
// an odd last pixel the first pair is read from byte 4e - 6 instead of e - 6 (its key
// tests too); a pair of two non-key pixels is written at its own place; a pair with
// one key pixel writes the other, darkened, at bytes 2e - 3 .. 2e - 1, right of the
// pair, and leaves its own place alone.
template <class M>
void MaskDarkle24Pair(const Row<M> &r, int64_t n, bool afterLone) {
  uint32_t s = r.a, key = Key24(r);
  int64_t e = 6 * n, from = afterLone ? 4 * e - 6 : e - 6;
  uint32_t a = r.sm.Ld24(At(r.s, from)), b = r.sm.Ld24(At(r.s, from + 3));
  bool ka = a == key, kb = b == key;
  if (ka && kb) return;
  if (!ka && !kb) {
    auto f = [s](uint32_t v) { return DarkleByte(v, s); };
    r.dm.St24(At(r.d, e - 6), Bytes3(a, f));
    r.dm.St24(At(r.d, e - 3), Bytes3(b, f));
    return;
  }
  r.dm.St24(At(r.d, 2 * e - 3), Bytes3(ka ? b : a, [s](uint32_t v) { return DarkleByte(v, s); }));
}

}  // namespace bright
RK_NS_END
