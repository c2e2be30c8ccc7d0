// Nearest scaling: the pieces the reference walk and the fast rows share.
//
// A call is clipped once (in single-precision floating point) into a ZoomArgs:
// the first destination pixel, the first source pixel sampled, both pitches, the
// destination size, and the 16.16 source steps. Rows then go top to bottom and each
// row left to right; the first sample of a row is the pixel at the row's start and
// the first row sampled is the source start row (no half-pixel offset).
#pragma once

#include <cstdint>

#include "frame/mem.h"
#include "module/isa.h"
#include "module/kernel_ids.h"

namespace rk {

struct ZoomArgs {
  uint8_t *d;  // first destination pixel
  uint8_t *s;  // first source pixel sampled
  intptr_t dPitch, sPitch;
  int64_t w, h;           // destination pixels a row, rows
  uint32_t stepX, stepY;  // 16.16 source steps a destination pixel and row
};
using ZoomFn = void (*)(const ZoomArgs &);

// Halving calls whose destination has at least this many bytes write it with
// streaming stores where the level has them: it would not stay in the caches anyway,
// and its lines need not be read before they are written. Smaller ones are likely
// read again soon and keep plain stores.
constexpr uint64_t kZoomStreamBytes = 1536 * 1024;

}  // namespace rk

RK_NS_BEGIN

// 16.16 stepping through the source. Each step adds `step` to the 16-bit fraction
// and moves on by the sum's integer part, a logical shift of the 32-bit sum: a
// negative step (a source rectangle with right < left) therefore moves forward by
// 0xFFFF, or by 0 where the sum wraps.
struct Step16 {
  uint32_t frac = 0;
  uint32_t Next(uint32_t step) {
    frac += step;
    uint32_t whole = frac >> 16;
    frac &= 0xFFFF;
    return whole;
  }
};

// How far `n` steps from a zero fraction move in all: the fractions carry
// (n * lo) >> 16 times, and a carry turns a move of 0xFFFF into 0.
inline uint64_t Step16Total(uint32_t step, uint64_t n) {
  const uint64_t hi = step >> 16, lo = step & 0xFFFF, carries = (n * lo) >> 16;
  return hi == 0xFFFF ? 0xFFFF * (n - carries) : n * hi + carries;
}

// `n` units of `unit` bytes, formed at pointer width.
inline intptr_t Units(uint64_t n, intptr_t unit) {
  return static_cast<intptr_t>(static_cast<uintptr_t>(n) * static_cast<uintptr_t>(unit));
}

// The depth members. Sample(dm, sm, d, s) reads the source pixel at s and writes
// the destination pixel at d (every read before any write).

// RkZoom16 and RkZoom32 copy the whole source pixel (a 32-bit one with its fourth
// byte). RkZoom32's clip deliberately scales the source start and limits by dW/sW
// and dH/sH, the reciprocals of the others' factors.
template <class T, KernelId Id, bool ReciprocalScale>
struct ZoomCopy {
  static constexpr KernelId kId = Id;
  static constexpr int kBpp = sizeof(T);
  static constexpr bool kReciprocalScale = ReciprocalScale;
  static constexpr bool kWritesSrc = false;
  using Word = T;
  template <class DM, class SM>
  static void Sample(const DM &dm, const SM &sm, uint8_t *d, uint8_t *s) {
    if constexpr (kBpp == 2) {
      dm.St16(d, sm.Ld16(s));
    } else {
      dm.St32(d, sm.Ld32(s));
    }
  }
};
using Zoom16 = ZoomCopy<uint16_t, KernelId::RkZoom16, false>;
using Zoom32 = ZoomCopy<uint32_t, KernelId::RkZoom32, true>;

// The destination pixel gets bytes (b0, b1, b0) of the source pixel (b0, b1, b2),
// and the sampled source pixel's byte 2 is then overwritten with its byte 0: the
// source surface is changed by the call.
constexpr uint32_t Zoom24Pixel(uint32_t src) { return (src & 0xFFFF) | (src & 0xFF) << 16; }
struct Zoom24 {
  static constexpr KernelId kId = KernelId::RkZoom24;
  static constexpr int kBpp = 3;
  static constexpr bool kReciprocalScale = false;
  static constexpr bool kWritesSrc = true;
  template <class DM, class SM>
  static void Sample(const DM &dm, const SM &sm, uint8_t *d, uint8_t *s) {
    uint32_t v = sm.Ld24(s);
    dm.St24(d, Zoom24Pixel(v));
    sm.St8(AddrAdd(s, 2), v);
  }
};

// The reference walk of a whole call, every access through the accessors.
template <class K, class M>
void ZoomRef(const ZoomArgs &a, const M &dm, const M &sm) {
  uint8_t *dRow = a.d, *sRow = a.s;
  Step16 fy;
  for (int64_t y = 0; y < a.h; ++y) {
    Step16 fx;
    uint8_t *d = dRow, *p = sRow;
    for (int64_t x = 0; x < a.w; ++x) {
      uint8_t *sample = p;
      p = AddrAdd(p, Units(fx.Next(a.stepX), K::kBpp));
      K::Sample(dm, sm, d, sample);
      d = AddrAdd(d, K::kBpp);
    }
    sRow = AddrAdd(sRow, Units(fy.Next(a.stepY), a.sPitch));
    dRow = AddrAdd(dRow, a.dPitch);
  }
}

RK_NS_END
