// Masked Light and Darkle: a source pixel equal to the key is not drawn. Rows are
// walked from their right end: the odd last pixel, the pair step (depths 16 and 15),
// then groups of four or pairs; each unit is stored before the next is read.
#include "brightness/units.h"
#include "module/export.h"

RK_NS_BEGIN
namespace bright {

// The groups of four of a 16/15-bit row, from the right.
template <class M, class Lane>
void MaskGroupsDown(const Row<M> &r, Lane lane) {
  for (int64_t g = r.w >> 2; g >= 1; --g) MaskGroup16(r, 8 * (g - 1), lane);
}

// Saturating: single pixels, pairs with per-half thresholds, signed lanes.
template <class F, KernelId Id>
struct MaskLight1615 : SameRowBytes<2, MaskLight1615<F, Id>> {
  static constexpr KernelId kId = Id;
  // At width 1 the pair step may take the two columns left of the rectangle.
  static Extent RowBytes(int32_t w, int32_t) { return {w == 1 ? -4 : 0, int64_t{w} * 2}; }
  template <class M>
  static void Ref(const Row<M> &r) {
    MaskLightEnd<F>(r);
    uint32_t k = LevelScale16(r.a);
    MaskGroupsDown(r, [k](uint32_t p) { return MaskLightLane<F>(p, k); });
  }
};
using MaskLight16 = MaskLight1615<Color16, KernelId::RkMaskLight16>;
using MaskLight15 = MaskLight1615<Color15, KernelId::RkMaskLight15>;

// Truncating: the single-pixel path for the lone pixel and the pair, lanes for the
// groups (at depth 15 the lanes take red from the whole word).
template <class F, KernelId Id>
struct MaskDarkle1615 : BlitKernel<2> {
  static constexpr KernelId kId = Id;
  template <class M>
  static void Ref(const Row<M> &r) {
    MaskDarkleEnd<F>(r);
    uint32_t k = LevelScale16(r.a);
    MaskGroupsDown(r, [k](uint32_t p) { return DarkleLane<F, true>(p, k); });
  }
};
using MaskDarkle16 = MaskDarkle1615<Color16, KernelId::RkMaskDarkle16>;
using MaskDarkle15 = MaskDarkle1615<Color15, KernelId::RkMaskDarkle15>;

// Pairs of 24/32-bit pixels from the right, after the odd last pixel.
template <int B, class M, class Pair, class Single>
void MaskPairsDown(const Row<M> &r, Pair pair, Single single) {
  for (int64_t n = Pairs(r); n >= 1; --n) MaskPair<B>(r, (n - 1) * 2 * B, pair, single);
}

// Saturating bytes, byte 3 of every drawn 32-bit pixel cleared. A pixel done alone
// uses a 32-bit product, a packed pair a signed 16-bit factor (the same up to 32767).
template <int B, KernelId Id>
struct MaskLight2432 : BlitKernel<B> {
  static constexpr KernelId kId = Id;
  static bool FastOk(uint32_t level, uint32_t) { return level <= 32767; }
  // At depth 32 a pixel alone and a pixel of a pair give the same bytes for the
  // levels the fast rows take, so rows may run joined; the odd last 24-bit pixel is
  // built from its third byte and keeps rows apart.
  static constexpr bool kJoinRows = B == 4;
  template <class M>
  static void Ref(const Row<M> &r) {
    uint32_t s = r.a;
    auto single = [s](uint32_t v) { return SatByte(v, s); };
    if constexpr (B == 3) {
      MaskLone24(r, single);
    } else {
      MaskLone32(r, single);
    }
    MaskPairsDown<B>(
        r, [s](uint32_t px) { return Bytes3(px, [s](uint32_t v) { return SatBytePair(v, s); }); },
        [single](uint32_t px) { return Bytes3(px, single); });
  }
};
using MaskLight24 = MaskLight2432<3, KernelId::RkMaskLight24>;
using MaskLight32 = MaskLight2432<4, KernelId::RkMaskLight32>;

// Truncating bytes. Byte 3 by path: a pixel done alone gets 0, the pixels of a pair of
// two non-key pixels get it scaled like the others.
struct MaskDarkle32 : BlitKernel<4> {
  static constexpr KernelId kId = KernelId::RkMaskDarkle32;
  template <class M>
  static void Ref(const Row<M> &r) {
    uint32_t s = r.a;
    auto f = [s](uint32_t v) { return DarkleByte(v, s); };
    MaskLone32(r, f);
    MaskPairsDown<4>(
        r, [f](uint32_t px) { return Bytes4(px, f); }, [f](uint32_t px) { return Bytes3(px, f); });
  }
};

// Truncating bytes with three addressing defects: the odd last pixel built from the
// source's third byte, the first pair after it read from the wrong place, and a pair
// with one key pixel written right of the pair.
struct MaskDarkle24 : BlitKernel<3> {
  static constexpr KernelId kId = KernelId::RkMaskDarkle24;
  // The first pair after an odd last pixel reads up to byte 4c - 1, c = 3 (w - 1).
  static Extent SrcBytes(int32_t w, int32_t) {
    int64_t n = int64_t{w} * 3;
    return {0, (w & 1) && w >= 3 ? 4 * (n - 3) : n};
  }
  // A pair ending at byte e may write up to byte 2e - 1.
  static Extent DstBytes(int32_t w, int32_t) {
    return {0, std::max<int64_t>(int64_t{w} * 3, 6 * (int64_t{w} & ~int64_t{1}))};
  }
  template <class M>
  static void Ref(const Row<M> &r) {
    uint32_t s = r.a;
    MaskLone24(r, [s](uint32_t v) { return DarkleByte(v, s); });
    int64_t h = Pairs(r);
    for (int64_t n = h; n >= 1; --n) MaskDarkle24Pair(r, n, n == h && (r.w & 1));
  }
};

}  // namespace bright
RK_NS_END

RK_EXPORT_BLIT_AB(RkMaskLight16, rk::bright::MaskLight16, level, keyColour)
RK_EXPORT_BLIT_AB(RkMaskLight15, rk::bright::MaskLight15, level, keyColour)
RK_EXPORT_BLIT_AB(RkMaskLight24, rk::bright::MaskLight24, level, keyColour)
RK_EXPORT_BLIT_AB(RkMaskLight32, rk::bright::MaskLight32, level, keyColour)
RK_EXPORT_BLIT_AB(RkMaskDarkle16, rk::bright::MaskDarkle16, level, keyColour)
RK_EXPORT_BLIT_AB(RkMaskDarkle15, rk::bright::MaskDarkle15, level, keyColour)
RK_EXPORT_BLIT_AB(RkMaskDarkle24, rk::bright::MaskDarkle24, level, keyColour)
RK_EXPORT_BLIT_AB(RkMaskDarkle32, rk::bright::MaskDarkle32, level, keyColour)
