// The translucent blends: per-pixel formulas and the units a row is walked in,
// shared by the reference walks and the fast row kernels.
//
// At 16 and 15 bits a pixel the weight is of 32 and two forms exist: the lone
// pixel of an odd-width row is blended in one 32-bit word (red and blue in the low
// half, green moved up by 16), pairs and groups of four in 16-bit lanes, one pixel
// a lane. For weights 0..31 both give d + floor((s - d) * weight / 32) per field;
// the lanes carry a few deliberate irregularities (see LaneBlend). At 24 and 32
// bits every byte is a component with a weight of 256.
#pragma once

#include <cstdint>
#include <type_traits>

#include "formats/pixel.h"
#include "frame/walk.h"

RK_NS_BEGIN
namespace trans {

// How a pair or group finishes its blue lane.
enum class Blue {
  kMasked,    // added to the destination's blue and masked: the plain rule
  kAdd16,     // added in 16 bits and left unmasked: a borrow leaves bit 11 set
  kAddBytes,  // added byte by byte and left unmasked: a borrow leaves bits 8..10 set
};

// The 16-bit lane form. Red is the difference of the pixels shifted down to the
// red field (at 5-5-5 that keeps bit 15, so a bit 15 that differs between source
// and destination adds (ts - td) * weight to red), multiplied, shifted back up and
// added to the destination's high bits; green and blue are the differences of the
// fields in place, multiplied and shifted down by 5. Products keep their low 16 bits.
//
// The unmasked blue lanes serve only the channel member, whose weights are 0..31:
// its blue product then lies within +-961, and a negative one (blue going down)
// is exactly when the unmasked addition borrows, leaving 0x07xx + d (byte-wise: the
// carry out of the low byte is lost, bits 8..10 stay) or 0x08xx (16-bit: the carry
// reaches bit 11) above the exact field. The sign of the product gives those bits.
template <class F, Blue B = Blue::kMasked>
inline uint16_t LaneBlend(uint16_t s, uint16_t d, uint16_t w) {
  constexpr int kUp = F::kRShift - 5;
  constexpr uint16_t kHigh = static_cast<uint16_t>(0xFFFFu << F::kRShift);
  auto mul = [w](uint32_t diff) { return static_cast<uint16_t>(diff * w); };
  // The red product shifted up is the difference times the weight shifted up (mod 2^16),
  // one shift for a whole row when the weight is uniform.
  uint16_t r = static_cast<uint16_t>(
      (static_cast<uint32_t>(s >> F::kRShift) - static_cast<uint32_t>(d >> F::kRShift)) *
      static_cast<uint32_t>(w << kUp));
  r = static_cast<uint16_t>((r + (d & kHigh)) & F::kR);
  uint16_t g = mul(static_cast<uint32_t>(s & F::kG) - static_cast<uint32_t>(d & F::kG));
  g = static_cast<uint16_t>(((g >> 5) + (d & F::kG)) & F::kG);
  const uint16_t p = mul(static_cast<uint32_t>(s & F::kB) - static_cast<uint32_t>(d & F::kB));
  uint16_t b = static_cast<uint16_t>(((p >> 5) + (d & F::kB)) & F::kB);
  if constexpr (B != Blue::kMasked) {
    constexpr uint16_t kStray = B == Blue::kAdd16 ? 0x0800 : 0x0700;
    b |= static_cast<uint16_t>(static_cast<int16_t>(p) >> 15) & kStray;
  }
  return static_cast<uint16_t>(r | g | b);
}

// The lone pixel's form: the pixel spread over a 32-bit word, source times weight
// plus destination times (weight ^ 31) + 1, shifted down by 5, folded back. The
// mask drops bit 15 at 5-5-5.
template <class F>
inline uint16_t SingleBlend(uint32_t s, uint32_t d, uint32_t w) {
  uint32_t sx = (s | s << 16) & F::kPair, dx = (d | d << 16) & F::kPair;
  uint32_t x = ((sx * w + dx * ((w ^ 0x1F) + 1)) >> 5) & F::kPair;
  return static_cast<uint16_t>(x | x >> 16);
}

// One byte at 24 and 32 bits: d + (((s - d) * weight) mod 65536 >> 8), mod 256.
inline uint8_t ByteBlend(uint8_t s, uint8_t d, uint16_t w) {
  return static_cast<uint8_t>(d + (static_cast<uint16_t>((static_cast<uint32_t>(s) - d) * w) >> 8));
}

// Two bytes in one 16-bit lane, both with the same weight: ByteBlend on each.
inline uint16_t HalfBlend(uint16_t s, uint16_t d, uint16_t w) {
  const uint16_t ed = d & 0xFF, od = d >> 8;
  auto down = [w](uint32_t diff) {
    return static_cast<uint16_t>(static_cast<uint16_t>(diff * w) >> 8);
  };
  uint16_t e = down(static_cast<uint32_t>(s & 0xFF) - ed),
           o = down(static_cast<uint32_t>(s >> 8) - od);
  return static_cast<uint16_t>(((e + ed) & 0xFF) | (o + od) << 8);
}

// A 3- or 4-byte pixel; `fourth` blends byte 3, else it becomes 0.
template <int Bpp>
inline uint32_t PixelBlend(uint32_t s, uint32_t d, uint16_t w, bool fourth) {
  uint32_t out = 0;
  for (int k = 0; k < Bpp; ++k) {
    out |= static_cast<uint32_t>(
               ByteBlend(static_cast<uint8_t>(s >> 8 * k), static_cast<uint8_t>(d >> 8 * k), w))
           << 8 * k;
  }
  if constexpr (Bpp == 4) {
    if (!fourth) out &= kColourBytes;
  }
  return out;
}

// What a member takes besides the two surfaces.
struct Uniform {  // one opacity
  static constexpr bool kKeyed = false, kChannel = false;
};
struct UniformKeyed {  // one opacity and a key colour
  static constexpr bool kKeyed = true, kChannel = false;
};
struct PerPixel {  // a channel plane
  static constexpr bool kKeyed = false, kChannel = true;
};
struct PerPixelKeyed {  // a channel plane and a key colour
  static constexpr bool kKeyed = true, kChannel = true;
};

template <class F>
constexpr bool kIs15 = std::is_same_v<F, Color15>;

// Address of element j of a row of `elem`-byte elements.
inline uint8_t *At(uint8_t *row, int64_t j, int elem) { return AddrAdd(row, j * elem); }
inline const uint8_t *At(const uint8_t *row, int64_t j, int elem) { return AddrAdd(row, j * elem); }

// The weight of column j: the uniform opacity or the channel element, shifted down
// by 3 at 16 and 15 bits.
template <class Mode, int Shift, class M>
inline uint32_t WeightAt(const Row<M> &r, int32_t j) {
  if constexpr (Mode::kChannel) {
    return static_cast<uint32_t>(r.cm.Ld8(At(r.c, j, 1))) >> Shift;
  } else {
    return r.a >> Shift;
  }
}

// One unit of a 16/15-bit row: n pixels from column j0 (1: the lone pixel, 2: the
// pair, 4: a group), all read before any is written. Keyed members write nothing
// when every source pixel of the unit is the key; otherwise a key pixel inside a
// pair or group is computed with weight 0 (at 5-5-5 that clears its bit 15), a key
// lone pixel is skipped. `fromDst` takes the destination in place of the source.
template <class F, class Mode, Blue B, class M>
inline void Unit16(const Row<M> &r, int32_t j0, int n, bool fromDst = false) {
  uint32_t s[4], d[4], w[4];
  bool key[4], all = true;
  for (int i = 0; i < n; ++i) {
    d[i] = r.dm.Ld16(At(r.d, j0 + i, 2));
    s[i] = fromDst ? d[i] : r.sm.Ld16(At(r.s, j0 + i, 2));
    w[i] = WeightAt<Mode, 3>(r, j0 + i);
    key[i] = Mode::kKeyed && s[i] == (r.b & 0xFFFF);
    all = all && key[i];
  }
  if (Mode::kKeyed && all) return;
  for (int i = 0; i < n; ++i) {
    uint32_t out = n == 1
                       ? SingleBlend<F>(s[i], d[i], w[i])
                       : LaneBlend<F, B>(static_cast<uint16_t>(s[i]), static_cast<uint16_t>(d[i]),
                                         key[i] ? 0 : static_cast<uint16_t>(w[i]));
    r.dm.St16(At(r.d, j0 + i, 2), out);
  }
}

// A 16/15-bit member's shape.
template <class F, class Mode>
struct Shape16 {
  // The unmasked channel member leaves its blue lanes unmasked.
  static constexpr bool kStray = Mode::kChannel && !Mode::kKeyed;
  static constexpr Blue kPairBlue = kStray ? Blue::kAdd16 : Blue::kMasked;
  static constexpr Blue kGroupBlue = kStray ? Blue::kAddBytes : Blue::kMasked;
  // The masked 16-bit member's pair step takes the destination pair in place of
  // the source, so those two columns keep their destination.
  static constexpr bool kPairFromDst =
      Mode::kKeyed && !Mode::kChannel && std::is_same_v<F, Color16>;
};

// The units of a 16/15-bit row: the lone last pixel of an odd width, the pair left
// of it when w >> 1 is odd, and groups of four from columns 0..3 up.
inline int32_t GroupPixels(int32_t w) { return (w >> 2) * 4; }
inline bool HasPair(int32_t w) { return ((w >> 1) & 1) != 0; }

template <class F, class Mode, class M>
inline void LonePixelAndPair16(const Row<M> &r) {
  using S = Shape16<F, Mode>;
  if (r.w & 1) Unit16<F, Mode, Blue::kMasked>(r, r.w - 1, 1);
  if (HasPair(r.w)) Unit16<F, Mode, S::kPairBlue>(r, GroupPixels(r.w), 2, S::kPairFromDst);
}

// The reference walk of a 16/15-bit row: right to left.
template <class F, class Mode, class M>
inline void Walk16(const Row<M> &r) {
  LonePixelAndPair16<F, Mode>(r);
  for (int32_t g = (r.w >> 2) - 1; g >= 0; --g) {
    Unit16<F, Mode, Shape16<F, Mode>::kGroupBlue>(r, 4 * g, 4);
  }
}

// One unit of a 24/32-bit pixel walk: the lone pixel (n = 1) or a pair. Key pixels
// are not written. At 32 bits the fourth byte is blended only when both pixels of
// a pair are; a pixel blended alone gets 0 there.
template <int Bpp, class Mode, class M>
inline void UnitPix(const Row<M> &r, int32_t j0, int n) {
  uint32_t s[2], d[2], w[2];
  bool key[2] = {false, false};
  for (int i = 0; i < n; ++i) {
    const uint8_t *sp = At(r.s, j0 + i, Bpp);
    uint8_t *dp = At(r.d, j0 + i, Bpp);
    s[i] = Bpp == 3 ? r.sm.Ld24(sp) : r.sm.Ld32(sp);
    d[i] = Bpp == 3 ? r.dm.Ld24(dp) : r.dm.Ld32(dp);
    w[i] = WeightAt<Mode, 0>(r, j0 + i);
    key[i] = Mode::kKeyed && (s[i] & kColourBytes) == (r.b & kColourBytes);
  }
  const bool together = n == 2 && !key[0] && !key[1];
  for (int i = 0; i < n; ++i) {
    if (key[i]) continue;
    uint32_t out = PixelBlend<Bpp>(s[i], d[i], static_cast<uint16_t>(w[i]), together);
    uint8_t *dp = At(r.d, j0 + i, Bpp);
    if constexpr (Bpp == 3) {
      r.dm.St24(dp, out);
    } else {
      r.dm.St32(dp, out);
    }
  }
}

template <int Bpp, class Mode, class M>
inline void LonePixel(const Row<M> &r) {
  if (r.w & 1) UnitPix<Bpp, Mode>(r, r.w - 1, 1);
}

// The reference walk of a 24/32-bit pixel row: the lone pixel, then pairs right to left.
template <int Bpp, class Mode, class M>
inline void WalkPix(const Row<M> &r) {
  LonePixel<Bpp, Mode>(r);
  for (int32_t p = (r.w >> 1) - 1; p >= 0; --p) UnitPix<Bpp, Mode>(r, 2 * p, 2);
}

// The uniform 24-bit member walks its row as 3w bytes: the last (3w) mod 4 bytes,
// then 4 bytes if bit 2 of 3w is set, then 8-byte blocks from the right.
template <class M>
inline void BytesUnit(const Row<M> &r, int64_t off, int n) {
  uint8_t s[8], d[8];
  for (int i = 0; i < n; ++i) {
    s[i] = r.sm.Ld8(At(r.s, off + i, 1));
    d[i] = r.dm.Ld8(At(r.d, off + i, 1));
  }
  for (int i = 0; i < n; ++i) {
    r.dm.St8(At(r.d, off + i, 1), ByteBlend(s[i], d[i], static_cast<uint16_t>(r.a)));
  }
}

template <class M>
inline void WalkBytes(const Row<M> &r) {
  const int64_t n = int64_t{r.w} * 3;
  const int tail = static_cast<int>(n & 3);
  if (tail) BytesUnit(r, n - tail, tail);
  if (n & 4) BytesUnit(r, (n & ~int64_t{7}), 4);
  for (int64_t off = (n & ~int64_t{7}) - 8; off >= 0; off -= 8) BytesUnit(r, off, 8);
}

}  // namespace trans
RK_NS_END
