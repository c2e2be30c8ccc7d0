// Channel-member rows whose destination does not overlap their source or channel
// (or, for members whose every output depends only on the inputs at its place, whose
// destination is exactly their source). The right-end steps run through the same
// units as the reference walks; the body of the row is a plain loop.
#include <algorithm>

#include "brightness/channel_units.h"
#include "brightness/fast_loops.h"
#include "module/fast.h"

RK_NS_BEGIN
namespace bright {
namespace {

// Destination pixel i = fn(source pixel i, channel element i) for i < count.
template <int E, int CE, class Fn>
inline void MapRowChan(uint8_t *__restrict d, const uint8_t *__restrict s,
                       const uint8_t *__restrict c, int64_t count, Fn fn) {
  using T = typename Elem<E>::T;
  for (int64_t i = 0; i < count; ++i) {
    StoreE<E>(d + i * E, static_cast<T>(fn(LoadE<E>(s + i * E), LoadE<CE>(c + i * CE))));
  }
}

// 3-byte pixels: destination byte b = fn(source byte b, element b / 3, b) for the
// bytes of `count` pixels. Each chunk first spreads its elements over their pixels'
// bytes, so that the main loop runs on bytes alone.
template <int CE, class Fn>
inline void MapRow24Chan(uint8_t *__restrict d, const uint8_t *__restrict s,
                         const uint8_t *__restrict c, int64_t count, Fn fn) {
  using T = typename Elem<CE>::T;
  constexpr int64_t kChunk = 128;
  T e[3 * kChunk];
  for (int64_t i0 = 0; i0 < count; i0 += kChunk) {
    int64_t n = std::min(kChunk, count - i0);
    for (int64_t j = 0; j < n; ++j) {
      T v = LoadE<CE>(c + (i0 + j) * CE);
      e[3 * j] = v;
      e[3 * j + 1] = v;
      e[3 * j + 2] = v;
    }
    uint8_t *dd = d + 3 * i0;
    const uint8_t *ss = s + 3 * i0;
    for (int64_t b = 0; b < 3 * n; ++b) dd[b] = static_cast<uint8_t>(fn(ss[b], e[b], b));
  }
}

Row<RawMem> Raw(const RowArgs &r) { return {r, {}, {}, {}}; }

// ---------------------------------------------------------------------------------
// LightWithChannel

template <class F>
void FastLightChan1615(const RowArgs &r) {
  // Depth 15's four-pixel step (possibly over the lone pixel) is done first, as the
  // reference does; the groups left of it are one map.
  if constexpr (std::is_same_v<F, Color15>) LightChan15Ends(Raw(r));
  int64_t n = std::is_same_v<F, Color15> ? r.w & ~3 : r.w;
  MapRowChan<2, 2>(r.d, r.s, r.c, n,
                   [](uint32_t p, uint32_t c) { return LightChanPixel<F>(p, c); });
}

template <int Bpp>
void FastLightChanBytes(const RowArgs &r) {
  if (r.w & 1) ChanUnit<1>(Chan<Bpp, 2>(Raw(r)), r.w - 1, LightChanLone);
  if constexpr (Bpp == 3) {
    MapRow24Chan<2>(r.d, r.s, r.c, Pairs(r) * 2,
                    [](uint32_t v, uint32_t c, int64_t) { return SatBytePair(v, c); });
  } else {
    MapRowChan<4, 2>(r.d, r.s, r.c, Pairs(r) * 2,
                     [](uint32_t px, uint32_t c) { return LightChanPair(px, c); });
  }
}

// ---------------------------------------------------------------------------------
// DarkleWithChannel

template <class F>
void FastDarkleChan1615(const RowArgs &r) {
  MapRowChan<2, 1>(r.d, r.s, r.c, r.w,
                   [](uint32_t p, uint32_t c) { return DarkleChanPixel<F>(p, c); });
}

void FastDarkleChan24(const RowArgs &r) {
  DarkleChan24Lone(Raw(r));
  // Chunks start at even bytes, so a byte's place in its pair has its parity.
  MapRow24Chan<1>(r.d, r.s, r.c, Pairs(r) * 2,
                  [](uint32_t v, uint32_t c, int64_t b) { return DarkleChan24PairByte(v, c, b); });
}

void FastDarkleChan32(const RowArgs &r) {
  MapRowChan<4, 1>(r.d, r.s, r.c, r.w, [](uint32_t px, uint32_t c) { return DarkleChan4(px, c); });
}

}  // namespace
}  // namespace bright
RK_NS_END

RK_FAST_FAMILY(brightness_channel) {
  using namespace bright;
  t.Set(KernelId::RkLightWithChannel16, &FastLightChan1615<Color16>);
  t.Set(KernelId::RkLightWithChannel15, &FastLightChan1615<Color15>);
  t.Set(KernelId::RkLightWithChannel24, &FastLightChanBytes<3>);
  t.Set(KernelId::RkLightWithChannel32, &FastLightChanBytes<4>);
  t.Set(KernelId::RkDarkleWithChannel16, &FastDarkleChan1615<Color16>);
  t.Set(KernelId::RkDarkleWithChannel15, &FastDarkleChan1615<Color15>);
  t.Set(KernelId::RkDarkleWithChannel24, &FastDarkleChan24);
  t.Set(KernelId::RkDarkleWithChannel32, &FastDarkleChan32);
}
