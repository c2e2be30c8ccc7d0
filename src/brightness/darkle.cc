// Darkle: every colour field of the source scaled by a level and truncated. Rows are
// walked from their right end; the groups of the main loop are software-pipelined
// (the next group to the left is read before the current one is stored).
#include "brightness/units.h"
#include "module/export.h"

RK_NS_BEGIN
namespace bright {

// Depths 16 and 15: the single-pixel step (32-bit product) for the lone pixel, then
// the packed lanes for the pair and the groups of four. From the third row on the
// single-pixel step runs on every row, at column width for an even width.
template <class F, KernelId Id>
struct Darkle1615 : SameRowBytes<2, Darkle1615<F, Id>> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  static Extent RowBytes(int32_t w, int32_t h) {
    return {0, 2 * (int64_t{w} + (h >= 3 && (w & 1) == 0 ? 1 : 0))};
  }
  template <class M>
  static void Ref(const Row<M> &r) {
    DarkleLoneStep<F>(r);
    uint32_t k = LevelScale16(r.a);
    auto lane = [k](uint32_t p) { return DarkleLane<F>(p, k); };
    int64_t h = Pairs(r);
    if (h & 1) MapUnit<2, 2>(r, 4 * (h - 1), lane);
    MapUnitsDownAhead<2, 4>(r, r.w >> 2, lane);
  }
};
using Darkle16 = Darkle1615<Color16, KernelId::RkDarkle16>;
using Darkle15 = Darkle1615<Color15, KernelId::RkDarkle15>;

// The row is a run of 3 x width bytes: the trailing (n & 3) bytes one at a time from
// the right, a 4-byte group when n has bit 2 set, then 8-byte groups.
struct Darkle24 : BlitKernel<3> {
  static constexpr KernelId kId = KernelId::RkDarkle24;
  static constexpr bool kPointwise = true;
  // Every byte by the same formula, whichever step takes it: rows may run joined.
  static constexpr bool kJoinRows = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    uint32_t s = ByteScale(r.a);
    auto fn = [s](uint32_t v) { return DarkleByte(v, s); };
    int64_t n = Bytes(r, 3);
    for (int64_t i = n - 1; i >= (n & ~int64_t{3}); --i) MapUnit<1, 1>(r, i, fn);
    if (n & 4) MapUnit<1, 4>(r, (n >> 3) * 8, fn);
    MapUnitsDownAhead<1, 8>(r, n >> 3, fn);
  }
};

// All four bytes scaled alike: the lone last pixel, then pairs.
struct Darkle32 : BlitKernel<4> {
  static constexpr KernelId kId = KernelId::RkDarkle32;
  static constexpr bool kPointwise = true;
  static constexpr bool kJoinRows = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    uint32_t s = ByteScale(r.a);
    auto fn = [s](uint32_t px) { return Bytes4(px, [s](uint32_t v) { return DarkleByte(v, s); }); };
    if (r.w & 1) MapUnit<4, 1>(r, Bytes(r, 4) - 4, fn);
    MapUnitsDownAhead<4, 2>(r, Pairs(r), fn);
  }
};

}  // namespace bright
RK_NS_END

RK_EXPORT_BLIT_A(RkDarkle16, rk::bright::Darkle16, level)
RK_EXPORT_BLIT_A(RkDarkle15, rk::bright::Darkle15, level)
RK_EXPORT_BLIT_A(RkDarkle24, rk::bright::Darkle24, level)
RK_EXPORT_BLIT_A(RkDarkle32, rk::bright::Darkle32, level)
