// Light: every colour field of the source scaled by a level, rounded up, written to
// the destination. Rows are walked from their right end; the 24- and 32-bit members
// also write into their source.
#include "brightness/units.h"
#include "module/export.h"

RK_NS_BEGIN
namespace bright {

// Depths 16 and 15: the lone last pixel, the pair left of it when (width >> 1) is odd,
// then groups of four from the right, each read whole and then stored.
template <class F, KernelId Id>
struct Light1615 : BlitKernel<2> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  // Every step applies the same formula to each pixel: rows may run joined.
  static constexpr bool kJoinRows = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    uint32_t k = LevelScale16(r.a);
    auto fn = [k](uint32_t p) { return LightPixel<F>(p, k); };
    int64_t h = Pairs(r);
    if (r.w & 1) MapUnit<2, 1>(r, 2 * (r.w - 1), fn);
    if (h & 1) MapUnit<2, 2>(r, 4 * (h - 1), fn);
    MapUnitsDown<2, 4>(r, r.w >> 2, fn);
  }
};

// The row is a run of 3 x width bytes: the trailing (n & 3) bytes are not written,
// the 4-byte group after the 8-byte groups goes into the source, and only the whole
// 8-byte groups reach the destination.
struct Light24 : BlitKernel<3> {
  static constexpr KernelId kId = KernelId::RkLight24;
  static constexpr bool kPointwise = true;
  static constexpr bool kWritesSrc = true;
  // From the third row on the source group may run up to 4 bytes past the row.
  static Extent SrcBytes(int32_t w, int32_t h) {
    int64_t n = int64_t{w} * 3;
    return {0, h >= 3 ? std::max(n, (n >> 3) * 8 + 4) : n};
  }
  template <class M>
  static void Ref(const Row<M> &r) {
    Light24SourceGroup(r);
    uint32_t s = ByteScale(r.a);
    MapUnitsDown<1, 8>(r, Bytes(r, 3) >> 3, [s](uint32_t v) { return LightByte(v, s); });
  }
};

// The odd last pixel is stamped into the source; every other pixel gets bytes 0 and 1
// scaled and bytes 2 and 3 cleared, two pixels a unit.
struct Light32 : BlitKernel<4> {
  static constexpr KernelId kId = KernelId::RkLight32;
  static constexpr bool kPointwise = true;
  static constexpr bool kWritesSrc = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    Light32Stamp(r);
    uint32_t s = ByteScale(r.a);
    MapUnitsDown<4, 2>(r, Pairs(r), [s](uint32_t px) { return Light32Pixel(px, s); });
  }
};

using Light16 = Light1615<Color16, KernelId::RkLight16>;
using Light15 = Light1615<Color15, KernelId::RkLight15>;

}  // namespace bright
RK_NS_END

RK_EXPORT_BLIT_A(RkLight16, rk::bright::Light16, level)
RK_EXPORT_BLIT_A(RkLight15, rk::bright::Light15, level)
RK_EXPORT_BLIT_A(RkLight24, rk::bright::Light24, level)
RK_EXPORT_BLIT_A(RkLight32, rk::bright::Light32, level)
