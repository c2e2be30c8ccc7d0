// Light rows whose destination does not overlap their source.
#include "brightness/fast_loops.h"
#include "brightness/fast_rows.h"
#include "brightness/units.h"

RK_NS_BEGIN
namespace bright {
namespace {

template <class F>
void FastLight1615(const RowArgs &r) {
  uint32_t k = LevelScale16(r.a);
  MapRow<2>(r.d, r.s, r.w, [k](uint32_t p) { return LightPixel<F>(p, k); });
}

void FastLight24(const RowArgs &r) {
  Light24SourceGroup(Row<RawMem>{r, {}, {}, {}});
  uint32_t s = ByteScale(r.a);
  MapRow<1>(r.d, r.s, (Bytes(r, 3) >> 3) * 8, [s](uint32_t v) { return LightByte(v, s); });
}

void FastLight32(const RowArgs &r) {
  Light32Stamp(Row<RawMem>{r, {}, {}, {}});
  uint32_t s = ByteScale(r.a);
  MapRow<4>(r.d, r.s, Pairs(r) * 2, [s](uint32_t px) { return Light32Pixel(px, s); });
}

}  // namespace

void RegisterLightFast(KernelTable &t) {
  t.Set(KernelId::RkLight16, &FastLight1615<Color16>);
  t.Set(KernelId::RkLight15, &FastLight1615<Color15>);
  t.Set(KernelId::RkLight24, &FastLight24);
  t.Set(KernelId::RkLight32, &FastLight32);
}

}  // namespace bright
RK_NS_END
