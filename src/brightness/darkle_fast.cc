// Darkle rows whose destination does not overlap their source.
#include "brightness/fast_lanes.h"
#include "brightness/fast_loops.h"
#include "brightness/fast_rows.h"
#include "brightness/units.h"

RK_NS_BEGIN
namespace bright {
namespace {

template <class F>
void FastDarkle1615(const RowArgs &r) {
  DarkleLoneStep<F>(Row<RawMem>{r, {}, {}, {}});
  uint32_t k = LevelScale16(r.a);
  int64_t n = Pairs(r) * 4, done = 0;
#if RK_REGISTERS
  done = simd::MapVectors(
      r.d, r.s, n, [kv = simd::R::Set16(k)](simd::V w) { return simd::DarkleLanes<F>(w, kv); });
#endif
  MapRow<2>(r.d + done, r.s + done, (n - done) / 2,
            [k](uint32_t p) { return DarkleLane<F>(p, k); });
}

// Depths 24 and 32 scale every byte alike.
template <int Bpp>
void FastDarkleBytes(const RowArgs &r) {
  uint32_t s = ByteScale(r.a);
  int64_t n = Bytes(r, Bpp), done = 0;
#if RK_REGISTERS && !RK_NEON  // with NEON the compiler's loop is faster
  done = simd::MapVectors(r.d, r.s, n,
                          [sv = simd::R::Set16(s)](simd::V w) { return simd::DarkleBytes(w, sv); });
#endif
  MapRow<1>(r.d + done, r.s + done, n - done, [s](uint32_t v) { return DarkleByte(v, s); });
}

}  // namespace

void RegisterDarkleFast(KernelTable &t) {
  t.Set(KernelId::RkDarkle16, &FastDarkle1615<Color16>);
  t.Set(KernelId::RkDarkle15, &FastDarkle1615<Color15>);
  t.Set(KernelId::RkDarkle24, &FastDarkleBytes<3>);
  t.Set(KernelId::RkDarkle32, &FastDarkleBytes<4>);
}

}  // namespace bright
RK_NS_END
