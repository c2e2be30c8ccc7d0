// Units of the channel members' row walks, shared by the reference walks and the
// fast row kernels (which pass RawMem): a row seen as pixels and channel elements,
// units read whole and then stored, and the right-end steps particular to a member.
#pragma once

#include <cstdint>

#include "brightness/channel_arith.h"
#include "brightness/units.h"

RK_NS_BEGIN
namespace bright {

// A row of a channel member addressed by column (any sign).
template <int Bpp, int CE, class M>
struct ChanRow {
  Row<M> r;  // a copy: callers may pass a temporary
  uint32_t Src(int64_t x) const { return LdPx<Bpp>(r.sm, At(r.s, x * Bpp)); }
  uint32_t Dst(int64_t x) const { return LdPx<Bpp>(r.dm, At(r.d, x * Bpp)); }
  uint32_t Chan(int64_t x) const { return LdPx<CE>(r.cm, At(r.c, x * CE)); }
  // The channel byte at byte `off` of the channel row, whatever the element size.
  uint32_t ChanByte(int64_t off) const { return r.cm.Ld8(At(r.c, off)); }
  void Put(int64_t x, uint32_t v) const { StPx<Bpp>(r.dm, At(r.d, x * Bpp), v); }
  // At a byte offset from the row's start rather than a column.
  void PutAt(int64_t off, uint32_t v) const { StPx<Bpp>(r.dm, At(r.d, off), v); }
};
template <int Bpp, int CE, class M>
ChanRow<Bpp, CE, M> Chan(const Row<M> &r) {
  return {r};
}

// N pixels from column x: every source pixel and channel element of the unit is read,
// then the N results fn(pixel, element) are stored at the same columns.
template <int N, class R, class Fn>
void ChanUnit(const R &x, int64_t col, Fn fn) {
  uint32_t p[N], c[N];
  for (int i = 0; i < N; ++i) {
    p[i] = x.Src(col + i);
    c[i] = x.Chan(col + i);
  }
  for (int i = 0; i < N; ++i) x.Put(col + i, fn(p[i], c[i]));
}

// `units` units of N pixels from the right, each stored before the next is read.
template <int N, class R, class Fn>
void ChanUnitsDown(const R &x, int64_t units, Fn fn) {
  for (int64_t u = units - 1; u >= 0; --u) ChanUnit<N>(x, u * N, fn);
}

// The same units, software-pipelined: the next unit to the left (pixels and channel
// elements) is read before the current one is stored.
template <int N, class R, class Fn>
void ChanUnitsDownAhead(const R &x, int64_t units, Fn fn) {
  if (units <= 0) return;
  uint32_t p[N], c[N], np[N], nc[N];
  auto load = [&](uint32_t *pp, uint32_t *cc, int64_t u) {
    for (int i = 0; i < N; ++i) {
      pp[i] = x.Src(u * N + i);
      cc[i] = x.Chan(u * N + i);
    }
  };
  auto store = [&](int64_t u) {
    for (int i = 0; i < N; ++i) x.Put(u * N + i, fn(p[i], c[i]));
  };
  load(p, c, units - 1);
  for (int64_t u = units - 1; u >= 1; --u) {
    load(np, nc, u - 1);
    store(u);
    for (int i = 0; i < N; ++i) {
      p[i] = np[i];
      c[i] = nc[i];
    }
  }
  store(0);
}

// ---------------------------------------------------------------------------------
// Keyed units

// A keyed group of N pixels (depths 16 and 15): when every source pixel is the key the
// destination is neither read nor written; otherwise the N destination pixels are
// read, the key places keep them, the others take fn(pixel, element), and all N are
// written back.
template <int N, int Bpp, class R, class Fn>
void KeyedGroup(const R &x, int64_t col, uint32_t key, Fn fn) {
  uint32_t p[N], c[N], o[N];
  bool any = false;
  for (int i = 0; i < N; ++i) {
    p[i] = x.Src(col + i);
    c[i] = x.Chan(col + i);
    any |= !IsKey<Bpp>(p[i], key);
  }
  if (!any) return;
  for (int i = 0; i < N; ++i) o[i] = x.Dst(col + i);
  for (int i = 0; i < N; ++i) {
    if (!IsKey<Bpp>(p[i], key)) o[i] = fn(p[i], c[i]);
  }
  for (int i = 0; i < N; ++i) x.Put(col + i, o[i]);
}

// A pair at columns x, x + 1 as the masked members read it.
struct KeyedPairIn {
  uint32_t p[2], c[2];
  bool key[2];
  bool None() const { return key[0] && key[1]; }
  bool Both() const { return !key[0] && !key[1]; }
  int Drawn() const { return key[0] ? 1 : 0; }  // the one pixel drawn when one is the key
};
template <int Bpp, class R>
KeyedPairIn ReadKeyedPair(const R &x, int64_t col, uint32_t key) {
  KeyedPairIn q;
  for (int i = 0; i < 2; ++i) {
    q.p[i] = x.Src(col + i);
    q.c[i] = x.Chan(col + i);
    q.key[i] = IsKey<Bpp>(q.p[i], key);
  }
  return q;
}

// The common pair rule: two keys store nothing; one key stores the other pixel alone,
// alone(pixel, element), at its own place; neither stores both(pixel, element) at both
// places. kLeftChan: the pair's left element serves both pixels (else each its own).
template <int Bpp, bool kAloneLeftChan, bool kBothLeftChan, class R, class Alone, class Both>
void KeyedPair(const R &x, int64_t col, uint32_t key, Alone alone, Both both) {
  KeyedPairIn q = ReadKeyedPair<Bpp>(x, col, key);
  if (q.None()) return;
  if (q.Both()) {
    x.Put(col, both(q.p[0], q.c[0]));
    x.Put(col + 1, both(q.p[1], q.c[kBothLeftChan ? 0 : 1]));
    return;
  }
  int i = q.Drawn();
  x.Put(col + i, alone(q.p[i], q.c[kAloneLeftChan ? 0 : i]));
}

// The keyed lone last pixel: skipped when it is the key.
template <int Bpp, class R, class Fn>
void KeyedLone(const R &x, int64_t col, uint32_t key, Fn fn) {
  uint32_t p = x.Src(col), c = x.Chan(col);
  if (!IsKey<Bpp>(p, key)) x.Put(col, fn(p, c));
}

// ---------------------------------------------------------------------------------
// Steps particular to one member

// RkLightWithChannel15: where a pair is due, four pixels from column 2h - 2 are done:
// for width = 2 (mod 4) the two beyond the rectangle's right edge are written too,
// for width = 3 (mod 4) the lone pixel is computed again and the one right of it written.
template <class M>
void LightChan15Ends(const Row<M> &r) {
  auto x = Chan<2, 2>(r);
  auto fn = LightChanPixel<Color15>;
  if (r.w & 1) ChanUnit<1>(x, r.w - 1, fn);
  if (r.w & 2) ChanUnit<4>(x, 2 * Pairs(r) - 2, fn);
}

// RkDarkleWithChannel24, odd width: the lone pixel's three results go to byte 4h of the
// row (not its own place at 6h) in reversed order.
template <class M>
void DarkleChan24Lone(const Row<M> &r) {
  if ((r.w & 1) == 0) return;
  auto x = Chan<3, 1>(r);
  int64_t col = r.w - 1;
  uint32_t c = x.Chan(col);
  x.PutAt(4 * Pairs(r), Reverse3(DarkleChan3(x.Src(col), c)));
}

// RkMaskLightWithChannel16/15, the right end of a row: the lone pixel saturates with
// its full element; the pair, also a pixel of it drawn alone, takes the left pixel's
// element cut to 13 bits for both pixels.
template <class F, class M>
void MaskLightChan1615Ends(const Row<M> &r) {
  auto x = Chan<2, 2>(r);
  if (r.w & 1) {
    KeyedLone<2>(x, r.w - 1, r.b,
                 [](uint32_t p, uint32_t c) { return MaskLightSingle<F>(p, ChannelScale16(c)); });
  }
  auto pair = [](uint32_t p, uint32_t c) { return MaskLightSingle<F>(p, PairScale16(c)); };
  if (r.w & 2) KeyedPair<2, true, true>(x, 2 * Pairs(r) - 2, r.b, pair, pair);
}

// RkMaskDarkleWithChannel16/15: the right end of a row. The lone step and the pair step
// exchange their conditions after the first row; once the lone step has run, the
// channel byte at 2 x width (outside the rectangle) decides whether the pair runs.
// The pair covers the two columns left of what the lone step left (negative columns
// for widths 1 and 2). Returns the columns the groups of four then cover from the left.
template <class F, class M>
int64_t MaskDarkleChan1615Ends(const Row<M> &r) {
  auto x = Chan<2, 1>(r);
  const uint32_t key = r.b;
  bool first = r.y == 0;
  bool lone = first ? (r.w & 1) != 0 : (r.w & 2) != 0;
  bool pair = first ? (r.w & 2) != 0 : (r.w & 1) != 0;
  int64_t e = r.w;
  if (lone) {
    uint32_t c = x.ChanByte(2 * int64_t{r.w});
    uint32_t p = x.Src(r.w - 1);
    if (!IsKey<2>(p, key)) x.Put(r.w - 1, DarkleChanPixel<F>(p, c));
    e = r.w - 1;
    pair = c >= 8;
  }
  if (pair) {
    KeyedPairIn q = ReadKeyedPair<2>(x, e - 2, key);
    if (q.Both()) {
      uint32_t k = ChannelScale16(q.c[0]);
      if constexpr (std::is_same_v<F, Color16>) {
        r.dm.St32(At(r.d, 2 * (e - 2)), MaskDarkleChan16Pair(q.p[0] | q.p[1] << 16, k));
      } else {
        x.Put(e - 2, DarkleLane<F>(q.p[0], k));
        x.Put(e - 1, DarkleLane<F>(q.p[1], k));
      }
    } else if (!q.None()) {
      // One key: the other pixel, darkened with the right element, lands on the right.
      x.Put(e - 1, DarkleChanPixel<F>(q.p[q.Drawn()], q.c[1]));
    }
  }
  return e >> 2 << 2;
}

// RkMaskDarkleWithChannel24, a pair with one key: the other pixel, reversed, is
// written at byte 4n - 6 (left pixel) or 4n - 3 (right pixel) of the row, n the pair's
// number; neither is the pixel's own place, and 4n - 6 lies before the row for n = 1.
struct PlacedPixel {
  int64_t off;
  uint32_t v;
};
// Pixel i (0 left, 1 right) of pair n drawn alone: source pixel p, element c.
inline PlacedPixel MaskDarkleChan24Alone(uint32_t p, uint32_t c, int i, int64_t n) {
  return {4 * n - 6 + 3 * i, Reverse3(DarkleChan3(p, c))};
}
inline PlacedPixel MaskDarkleChan24Alone(const KeyedPairIn &q, int64_t n) {
  int i = q.Drawn();
  return MaskDarkleChan24Alone(q.p[i], q.c[i], i, n);
}
// Pair n (columns 2n - 2 and 2n - 1) of RkMaskDarkleWithChannel24.
template <class R>
void MaskDarkleChan24Pair(const R &x, int64_t n, uint32_t key) {
  KeyedPairIn q = ReadKeyedPair<3>(x, 2 * n - 2, key);
  if (q.None()) return;
  if (q.Both()) {
    x.Put(2 * n - 2, DarkleChan3(q.p[0], q.c[0]));
    x.Put(2 * n - 1, DarkleChan3(q.p[1], q.c[1]));
    return;
  }
  PlacedPixel m = MaskDarkleChan24Alone(q, n);
  x.PutAt(m.off, m.v);
}

}  // namespace bright
RK_NS_END
