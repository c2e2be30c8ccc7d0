// Colour-keyed copies: every source pixel whose colour bytes equal the key leaves
// its destination pixel alone; the others are copied whole (a 32-bit pixel with its
// fourth byte).
#pragma once

#include <cstdint>

#include "formats/pixel.h"
#include "frame/walk.h"

RK_NS_BEGIN

// The key as the kernels compare it: only the three colour bytes take part.
constexpr uint32_t MaskKey(uint32_t keyColour) { return keyColour & kColourBytes; }
constexpr bool IsKeyPixel(uint32_t pixel, uint32_t key) { return (pixel & kColourBytes) == key; }

// The reference walk: the odd last pixel alone first, then pairs from the right
// end leftward. Both source pixels of a pair are read before either is written, the
// higher-numbered one first; each pair is written before the next is read. On one
// surface this makes dstX = srcX + 1 copy correctly while dstX = srcX - 1 smears
// from one pair into the next.
template <int Bpp>
struct MaskCopy : BlitKernel<Bpp> {
  static_assert(Bpp == 3 || Bpp == 4);
  static constexpr KernelId kId = Bpp == 3 ? KernelId::RkMaskBitBlt24 : KernelId::RkMaskBitBlt32;
  static constexpr bool kPointwise = true;

  template <class M>
  static uint32_t Load(const M &m, const uint8_t *row, int32_t x) {
    const uint8_t *p = AddrAdd(row, intptr_t{x} * Bpp);
    return Bpp == 3 ? m.Ld24(p) : m.Ld32(p);
  }
  template <class M>
  static void Put(const M &m, uint8_t *row, int32_t x, uint32_t v, uint32_t key) {
    if (IsKeyPixel(v, key)) return;
    uint8_t *p = AddrAdd(row, intptr_t{x} * Bpp);
    if constexpr (Bpp == 3) {
      m.St24(p, v);
    } else {
      m.St32(p, v);
    }
  }

  template <class M>
  static void Ref(const Row<M> &r) {
    const uint32_t key = MaskKey(r.a);
    if (r.w & 1) Put(r.dm, r.d, r.w - 1, Load(r.sm, r.s, r.w - 1), key);
    for (int32_t hi = (r.w & ~1) - 1; hi > 0; hi -= 2) {
      uint32_t right = Load(r.sm, r.s, hi), left = Load(r.sm, r.s, hi - 1);
      Put(r.dm, r.d, hi, right, key);
      Put(r.dm, r.d, hi - 1, left, key);
    }
  }
};

using MaskCopy24 = MaskCopy<3>;
using MaskCopy32 = MaskCopy<4>;

RK_NS_END
