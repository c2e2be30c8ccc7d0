// Light rows whose destination does not overlap their source.
#include "brightness/fast_lanes.h"
#include "brightness/fast_loops.h"
#include "brightness/fast_rows.h"
#include "brightness/units.h"

RK_NS_BEGIN
namespace bright {
namespace {

// Each body runs whole vectors first where the level has them; the plain loop takes
// the rest (or the whole row).
template <class F>
void FastLight1615(const RowArgs &r) {
  uint32_t k = LevelScale16(r.a);
  int64_t done = 0;
#if RK_REGISTERS
  done = simd::MapVectors(r.d, r.s, Bytes(r, 2), [kv = simd::R::Set16(k)](simd::V w) {
    return simd::LightLanes<F>(w, kv);
  });
#endif
  MapRow<2>(r.d + done, r.s + done, r.w - done / 2,
            [k](uint32_t p) { return LightPixel<F>(p, k); });
}

void FastLight24(const RowArgs &r) {
  Light24SourceGroup(Row<RawMem>{r, {}, {}, {}});
  uint32_t s = ByteScale(r.a);
  int64_t n = (Bytes(r, 3) >> 3) * 8, done = 0;
#if RK_REGISTERS
  done = simd::MapVectors(r.d, r.s, n,
                          [sv = simd::R::Set16(s)](simd::V w) { return simd::LightBytes(w, sv); });
#endif
  MapRow<1>(r.d + done, r.s + done, n - done, [s](uint32_t v) { return LightByte(v, s); });
}

void FastLight32(const RowArgs &r) {
  Light32Stamp(Row<RawMem>{r, {}, {}, {}});
  uint32_t s = ByteScale(r.a);
  int64_t n = Pairs(r) * 8, done = 0;
#if RK_REGISTERS
  done = simd::MapVectors(r.d, r.s, n, [sv = simd::R::Set16(s)](simd::V w) {
    return simd::R::And(simd::LightBytes(w, sv), simd::R::Set32(0xFFFF));
  });
#endif
  MapRow<4>(r.d + done, r.s + done, (n - done) / 4,
            [s](uint32_t px) { return Light32Pixel(px, s); });
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
