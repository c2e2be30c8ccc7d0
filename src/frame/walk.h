// The row walk every blit shares: clip, address the rows, decide once a call
// whether any access can leave a surface's own memory (and if one can, which rows'
// accesses do: those rows take the guarded reference walk), then run each other row
// through the fast kernel where that gives the same bytes and through the reference
// walk otherwise.
//
// A blit kernel K is a struct deriving from BlitKernel<bytesPerPixel, channelElem>:
//   static constexpr KernelId kId;
//   template <class M> static void Ref(const Row<M> &r);   // the reference walk of one row
// and, where it differs from the default:
//   kPointwise   every output depends only on the inputs at the same place, so a row
//                whose source and destination are the same bytes may take the fast path;
//   kWritesSrc   the kernel writes into its source surface;
//   kJoinRows    the fast kernel's bytes do not depend on where a row starts or ends,
//                so rows that follow each other in memory may go to it as one long row;
//   kJoinWidth   ... provided the width is a multiple of this (the units from each
//                row's start then line up with those of the long row);
//   Skip(a)      the call returns before clipping (a zero weight);
//   DstBytes(w, h), SrcBytes(w, h), ChanBytes(w, h)
//                the bytes any row of a w x h rectangle may touch, relative to the
//                row's start (the default is the row's own pixels);
//   FastOk(a, b) whether the fast kernel gives the reference's bytes for these arguments.
// The fast kernel is looked up in the kernel table under kId; none means every row
// takes the reference walk.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/clip.h"
#include "frame/mem.h"
#include "module/checked.h"
#include "module/dispatch.h"
#include "module/isa.h"

namespace rk {

// One row of a blit, as the fast kernels see it.
struct RowArgs {
  uint8_t *d;        // first destination pixel of the row
  uint8_t *s;        // first source pixel of the row
  const uint8_t *c;  // first channel element of the row (channel families)
  int32_t w;         // clipped width in pixels, at least 1
  int32_t y;         // row index, 0 for the rectangle's top row
  uint32_t a;        // level or opacity
  uint32_t b;        // keyColour
};
using BlitRowFn = void (*)(const RowArgs &);

// A blit call's arguments as the caller gave them.
struct BlitCall {
  const RkSurface *dst;
  int32_t dstX, dstY;
  const RkSurface *src;
  int32_t srcX, srcY, width, height;
  const RkSurface *channel = nullptr;
  int32_t channelX = 0, channelY = 0;
  uint32_t a = 0, b = 0;
};

}  // namespace rk

RK_NS_BEGIN

// A row as the reference walks see it: the fast kernels' arguments plus one memory
// accessor per surface.
template <class M>
struct Row : RowArgs {
  M dm, sm, cm;
};

// Bytes relative to a row's start, [lo, hi).
struct Extent {
  int64_t lo, hi;
};

template <int Bpp, int ChanElem = 0>
struct BlitKernel {
  static constexpr int kBpp = Bpp;
  static constexpr int kChanElem = ChanElem;
  static constexpr bool kPointwise = false;
  static constexpr bool kWritesSrc = false;
  static constexpr bool kJoinRows = false;
  static constexpr int32_t kJoinWidth = 1;
  static bool Skip(uint32_t) { return false; }
  static bool FastOk(uint32_t, uint32_t) { return true; }
  static Extent DstBytes(int32_t w, int32_t) { return {0, int64_t{w} * Bpp}; }
  static Extent SrcBytes(int32_t w, int32_t) { return {0, int64_t{w} * Bpp}; }
  static Extent ChanBytes(int32_t w, int32_t) { return {0, int64_t{w} * ChanElem}; }
};

namespace walk {

// Offset of (x, y) from a surface's pixels, formed at pointer width.
inline intptr_t Offset(int32_t x, int32_t y, int32_t pitch, int elem) {
  return static_cast<intptr_t>(static_cast<uintptr_t>(static_cast<intptr_t>(y)) *
                                   static_cast<uintptr_t>(static_cast<intptr_t>(pitch)) +
                               static_cast<uintptr_t>(static_cast<intptr_t>(x)) *
                                   static_cast<uintptr_t>(elem));
}

// One surface's rows in a call: where row 0 starts and what every row touches.
struct Plane {
  const RkSurface *surf = nullptr;
  intptr_t first = 0;  // offset of row 0's start from pixels
  Extent ext{0, 0};
  int elem = 1;

  // Offsets from pixels of the bytes all rows [0, h) may touch.
  ByteRange Span(int32_t h) const {
    if (ext.hi <= ext.lo) return {};
    int64_t last = static_cast<int64_t>(first) + static_cast<int64_t>(h - 1) * surf->pitch;
    return {std::min<int64_t>(first, last) + ext.lo, std::max<int64_t>(first, last) + ext.hi};
  }
  bool Inside(int32_t h) const { return OwnedBytes(*surf, elem).Contains(Span(h)); }
  // Absolute addresses [lo, hi) touched by a row starting at `row`.
  ByteRange Abs(const uint8_t *row) const {
    auto a = static_cast<int64_t>(reinterpret_cast<uintptr_t>(row));
    return {a + ext.lo, a + ext.hi};
  }
  ByteRange AbsAll(int32_t h) const {
    ByteRange r = Span(h);
    auto base = static_cast<int64_t>(reinterpret_cast<uintptr_t>(surf->pixels));
    return {base + r.lo, base + r.hi};
  }
  uint8_t *Start() const { return AddrAdd(static_cast<uint8_t *>(surf->pixels), first); }
  GuardMem Guard() const {
    ByteRange o = OwnedBytes(*surf, elem);
    return GuardMem{reinterpret_cast<uintptr_t>(surf->pixels), o.lo, o.hi};
  }
};

// A plane's own memory as absolute addresses, for testing one row at a time.
struct Owned {
  int64_t lo = 0, hi = 0;
  Extent ext{0, 0};
  explicit Owned(const Plane &p) : ext(p.ext) {
    if (!p.surf) return;
    ByteRange o = OwnedBytes(*p.surf, p.elem);
    auto base = static_cast<int64_t>(reinterpret_cast<uintptr_t>(p.surf->pixels));
    lo = base + o.lo;
    hi = base + o.hi;
  }
  // Whether every byte a row starting at `row` may touch lies in the plane's memory.
  bool Holds(const uint8_t *row) const {
    if (ext.hi <= ext.lo) return true;
    auto a = static_cast<int64_t>(reinterpret_cast<uintptr_t>(row));
    return lo < hi && lo <= a + ext.lo && a + ext.hi <= hi;
  }
};

template <class K, class M>
void RefRows(Row<M> row, const Plane &dp, const Plane &sp, const Plane &cp, int32_t h) {
  for (int32_t y = 0; y < h; ++y) {
    row.y = y;
    K::Ref(row);
    row.d = AddrAdd(row.d, dp.surf->pitch);
    row.s = AddrAdd(row.s, sp.surf->pitch);
    if (cp.surf) row.c = AddrAdd(row.c, cp.surf->pitch);
  }
}

}  // namespace walk

template <class K>
void RunBlit(const BlitCall &call) {
  RK_CHECKED(CheckBlit(K::kId, call, K::kChanElem != 0));
  if (K::Skip(call.a)) return;
  ClipRect r;
  if (!ClipBlit(*call.dst, call.dstX, call.dstY, *call.src, call.srcX, call.srcY, call.width,
                call.height, &r)) {
    return;
  }
  walk::Plane dp, sp, cp;
  dp = {call.dst, walk::Offset(r.dstX, r.dstY, call.dst->pitch, K::kBpp),
        K::DstBytes(r.width, r.height), K::kBpp};
  sp = {call.src, walk::Offset(r.srcX, r.srcY, call.src->pitch, K::kBpp),
        K::SrcBytes(r.width, r.height), K::kBpp};
  if constexpr (K::kChanElem != 0) {
    int32_t cx, cy;
    if (!ClipChannel(*call.channel, call.channelX, call.channelY, r, &cx, &cy)) return;
    cp = {call.channel, walk::Offset(cx, cy, call.channel->pitch, K::kChanElem),
          K::ChanBytes(r.width, r.height), K::kChanElem};
  }
  const int32_t h = r.height;
  RowArgs args{dp.Start(), sp.Start(), cp.surf ? cp.Start() : nullptr, r.width, 0, call.a, call.b};

  bool inside = dp.Inside(h) && sp.Inside(h) && (!cp.surf || cp.Inside(h));
  auto fast = ActiveTable().Get<BlitRowFn>(K::kId);
  bool fastOk = fast && K::FastOk(call.a, call.b);
  if (!inside && !fastOk) {
    Row<GuardMem> row{args, dp.Guard(), sp.Guard(), cp.surf ? cp.Guard() : GuardMem{}};
    walk::RefRows<K>(row, dp, sp, cp, h);
    return;
  }
  Row<RawMem> row{args, {}, {}, {}};
  if (!fastOk) {
    walk::RefRows<K>(row, dp, sp, cp, h);
    return;
  }
  // Some access of the call can leave a surface: rows whose own accesses stay inside
  // still take the usual path, the others the guarded reference walk (the same bytes
  // either way; this keeps a call fast when only its last rows reach past the memory).
  Row<GuardMem> guarded{args, dp.Guard(), sp.Guard(), cp.surf ? cp.Guard() : GuardMem{}};
  const walk::Owned dOwn(dp), sOwn(sp), cOwn(cp);
  // Whole-call test first; rows are only tested one by one when the surfaces' spans meet.
  auto apart = [&](const ByteRange &d, const ByteRange &s, const ByteRange &c) {
    return !d.Overlaps(s) && !d.Overlaps(c) && !(K::kWritesSrc && s.Overlaps(c));
  };
  ByteRange noChan{};
  bool allApart = apart(dp.AbsAll(h), sp.AbsAll(h), cp.surf ? cp.AbsAll(h) : noChan);
  if constexpr (K::kJoinRows) {
    // A rectangle as wide as its surfaces' rows is one stretch of memory in each: it
    // goes to the fast kernel in pieces of whole rows near kJoinBytes, few enough calls
    // to cost nothing and short enough to stay in the cache as row-sized ones do.
    constexpr int64_t kJoinBytes = 256 * 1024;
    const int64_t rowBytes = int64_t{r.width} * K::kBpp;
    const int64_t chanBytes = int64_t{r.width} * K::kChanElem;
    if (inside && allApart && h > 1 && r.width % K::kJoinWidth == 0 &&
        call.dst->pitch == rowBytes && call.src->pitch == rowBytes &&
        (!cp.surf || call.channel->pitch == chanBytes) && rowBytes < kJoinBytes) {
      const int32_t rows = static_cast<int32_t>(kJoinBytes / rowBytes);
      for (int32_t left = h; left > 0; left -= std::min(rows, left)) {
        const int32_t n = std::min(rows, left);
        row.w = r.width * n;
        fast(row);
        row.d = AddrAdd(row.d, rowBytes * n);
        row.s = AddrAdd(row.s, rowBytes * n);
        if (cp.surf) row.c = AddrAdd(row.c, chanBytes * n);
      }
      return;
    }
  }
  for (int32_t y = 0; y < h; ++y) {
    row.y = y;
    if (!inside && !(dOwn.Holds(row.d) && sOwn.Holds(row.s) && (!cp.surf || cOwn.Holds(row.c)))) {
      guarded.d = row.d;
      guarded.s = row.s;
      guarded.c = row.c;
      guarded.y = y;
      K::Ref(guarded);
    } else if (allApart) {
      fast(row);
    } else {
      ByteRange c = cp.surf ? cp.Abs(row.c) : noChan;
      bool useFast = apart(dp.Abs(row.d), sp.Abs(row.s), c) ||
                     (K::kPointwise && row.d == row.s && dp.ext.lo == sp.ext.lo &&
                      dp.ext.hi == sp.ext.hi && !dp.Abs(row.d).Overlaps(c));
      if (useFast) {
        fast(row);
      } else {
        K::Ref(row);
      }
    }
    row.d = AddrAdd(row.d, call.dst->pitch);
    row.s = AddrAdd(row.s, call.src->pitch);
    if (cp.surf) row.c = AddrAdd(row.c, call.channel->pitch);
  }
}

RK_NS_END
