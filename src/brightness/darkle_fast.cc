// Darkle rows whose destination does not overlap their source.
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
  MapRow<2>(r.d, r.s, Pairs(r) * 2, [k](uint32_t p) { return DarkleLane<F>(p, k); });
}

// Depths 24 and 32 scale every byte alike.
template <int Bpp>
void FastDarkleBytes(const RowArgs &r) {
  uint32_t s = ByteScale(r.a);
  MapRow<1>(r.d, r.s, Bytes(r, Bpp), [s](uint32_t v) { return DarkleByte(v, s); });
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
