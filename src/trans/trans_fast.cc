// Fast rows of the translucent blits, for rows whose destination does not overlap
// their source or channel (or is the very same bytes: every output depends only on
// the inputs at its own place). Plain loops over a row's pixels or bytes, which the
// compiler vectorises; the lone pixel and the pair of a 16/15-bit row go through
// the same unit code as the reference walk.
#include <algorithm>
#include <bit>
#include <cstring>

#include "module/fast.h"
#include "trans/blend.h"
#include "trans/lanes.h"

RK_NS_BEGIN
namespace trans {
namespace {

// Pixels a block of the loops with scratch arrays holds.
constexpr int32_t kBlock = 256;

// Unaligned loads and stores of whole elements: the loops read pixels as the
// little-endian values they are (the family is registered on little-endian hosts only).
template <class T>
T Load(const uint8_t *p) {
  T v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class T>
void Store(uint8_t *p, T v) {
  std::memcpy(p, &v, sizeof v);
}

// Moves a row past the first `done` pixels, which a register body did; the plain
// loops take the rest.
template <int Bpp, class Mode>
[[maybe_unused]] void Past(int32_t done, uint8_t *&d, const uint8_t *&s, const uint8_t *&c,
                           int32_t &n) {
  d += Bpp * done;
  s += Bpp * done;
  if (Mode::kChannel) c += done;
  n -= done;
}

// Groups of four at 16/15 bits: pixels [0, n), n a multiple of 4.
template <class F, class Mode>
void Groups16(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a, uint32_t b) {
#if RK_TRANS_LANES
  if constexpr (kLanesFor<Mode>) Past<2, Mode>(GroupsLanes<F, Mode>(d, s, c, n, a, b), d, s, c, n);
#endif
  constexpr Blue kBlue = Shape16<F, Mode>::kGroupBlue;
  const uint16_t uniform = static_cast<uint16_t>(a >> 3), key = static_cast<uint16_t>(b);
  auto blend = [&](int32_t j) {
    uint16_t sv = Load<uint16_t>(s + 2 * j), dv = Load<uint16_t>(d + 2 * j);
    uint16_t w = Mode::kChannel ? static_cast<uint16_t>(c[j] >> 3) : uniform;
    if (Mode::kKeyed && sv == key) w = 0;
    return LaneBlend<F, kBlue>(sv, dv, w);
  };
  if constexpr (Mode::kKeyed && kIs15<F>) {
    // Key pixels come out with bit 15 cleared, unless all four of their group are
    // the key: such a group is not written.
    const uint64_t key4 = key * 0x0001000100010001ull;
    uint8_t out[2 * kBlock];
    for (int32_t j0 = 0; j0 < n; j0 += kBlock) {
      const int32_t m = std::min(kBlock, n - j0);
      for (int32_t j = 0; j < m; ++j) Store<uint16_t>(out + 2 * j, blend(j0 + j));
      for (int32_t g = 0; g < m; g += 4) {
        uint64_t s4, d4, o4;
        std::memcpy(&s4, s + 2 * (j0 + g), 8);
        std::memcpy(&d4, d + 2 * (j0 + g), 8);
        std::memcpy(&o4, out + 2 * g, 8);
        o4 = s4 == key4 ? d4 : o4;
        std::memcpy(d + 2 * (j0 + g), &o4, 8);
      }
    }
  } else {
    for (int32_t j = 0; j < n; ++j) Store<uint16_t>(d + 2 * j, blend(j));
  }
}

template <class F, class Mode>
void Row16(const RowArgs &a) {
  Row<RawMem> r{a, {}, {}, {}};
  LonePixelAndPair16<F, Mode>(r);
  Groups16<F, Mode>(a.d, a.s, a.c, GroupPixels(a.w), a.a, a.b);
}

// Bytes [0, n) with one weight.
void Bytes(uint8_t *d, const uint8_t *s, int64_t n, uint16_t w) {
  int64_t i = 0;
#if RK_TRANS_LANES && !defined(__AVX512BW__) && !RK_NEON  // there the compiler's loop is faster
  i = BytesLanes(d, s, n, w);
#endif
  for (; i < n; ++i) d[i] = ByteBlend(s[i], d[i], w);
}

void RowTrans24(const RowArgs &a) { Bytes(a.d, a.s, int64_t{a.w} * 3, static_cast<uint16_t>(a.a)); }

// The pairs of a 32-bit row blend all four bytes; the lone pixel is the unit's.
void RowTrans32(const RowArgs &a) {
  Row<RawMem> r{a, {}, {}, {}};
  LonePixel<4, Uniform>(r);
  Bytes(a.d, a.s, int64_t{a.w >> 1} * 8, static_cast<uint16_t>(a.a));
}

// Pixels [0, n) of a 24-bit row, each with its own weight (the channel's or the
// uniform one; 0 for a key pixel, which leaves it as it is): the weights spread
// over the pixels' bytes block by block, then one loop over the bytes. Blending a
// pixel alone or in a pair is the same at 24 bits.
template <class Mode>
void Pixels24(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a, uint32_t b) {
#if RK_TRANS_LANES && RK_TRANS_LANES24
  Past<3, Mode>(Pixels24Lanes<Mode>(d, s, c, n, a, b), d, s, c, n);
#elif RK_NEON
  Past<3, Mode>(PixelsPlanes<3, Mode>(d, s, c, n, a, b), d, s, c, n);
#endif
  const auto k0 = static_cast<uint8_t>(b), k1 = static_cast<uint8_t>(b >> 8),
             k2 = static_cast<uint8_t>(b >> 16);
  uint16_t wb[3 * kBlock];
  for (int32_t j0 = 0; j0 < n; j0 += kBlock) {
    const int32_t m = std::min(kBlock, n - j0);
    const uint8_t *sb = s + 3 * j0;
    uint8_t *db = d + 3 * j0;
    for (int32_t j = 0; j < m; ++j) {
      const uint8_t *p = sb + 3 * j;
      const bool key = Mode::kKeyed && ((p[0] == k0) & (p[1] == k1) & (p[2] == k2));
      uint16_t w = Mode::kChannel ? c[j0 + j] : static_cast<uint16_t>(a);
      w = key ? 0 : w;
      wb[3 * j] = w;
      wb[3 * j + 1] = w;
      wb[3 * j + 2] = w;
    }
    for (int32_t i = 0; i < 3 * m; ++i) db[i] = ByteBlend(sb[i], db[i], wb[i]);
  }
}

template <class Mode>
void RowPix24(const RowArgs &a) {
  Pixels24<Mode>(a.d, a.s, a.c, a.w, a.a, a.b);
}

// The pairs [0, n) of a 32-bit row (n even), for the members with a key or a channel. Per pair, in
// a 64-bit word: both pixels' weights, each in the two 16-bit lanes of its pixel (0 for a key
// pixel, which leaves it as it is), and a mask that clears the fourth byte of a pixel blended alone
// because its partner is the key. Then one loop over 16-bit lanes.
template <class Mode>
void Pairs32(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a, uint32_t b) {
  const uint64_t key = b & kColourBytes, uniform = (a & 0xFFFF) * 0x0001000100010001ull;
#if RK_NEON
  // The channel's rows in byte planes; the uniform rows with a key keep the 16-bit lanes,
  // which counted a little faster than the planes' four-register structure moves.
  if constexpr (Mode::kChannel) {
    Past<4, Mode>(PixelsPlanes<4, Mode>(d, s, c, n, a, b), d, s, c, n);
  } else {
    Past<4, Mode>(Pairs32Lanes<Mode>(d, s, c, n, a, b), d, s, c, n);
  }
#elif RK_TRANS_LANES
  Past<4, Mode>(Pairs32Lanes<Mode>(d, s, c, n, a, b), d, s, c, n);
#endif
  uint16_t w[2 * kBlock], keep[2 * kBlock];  // per 16-bit lane
  auto *wq = reinterpret_cast<uint8_t *>(w), *kq = reinterpret_cast<uint8_t *>(keep);
  for (int32_t j0 = 0; j0 < n; j0 += kBlock) {
    const int32_t pairs = std::min(kBlock, n - j0) / 2;
    const uint8_t *sb = s + 4 * j0;
    uint8_t *db = d + 4 * j0;
    if constexpr (Mode::kChannel) {
      for (int32_t p = 0; p < pairs; ++p) {
        uint64_t cc = Load<uint16_t>(c + j0 + 2 * p);
        uint64_t x = (cc & 0xFF) | (cc >> 8) << 32;
        Store(wq + 8 * p, x | x << 16);
      }
    }
    if constexpr (Mode::kKeyed) {
      for (int32_t p = 0; p < pairs; ++p) {
        const uint64_t v = Load<uint64_t>(sb + 8 * p);
        const bool left = (v & kColourBytes) == key, right = ((v >> 32) & kColourBytes) == key;
        const uint64_t wp = Mode::kChannel ? Load<uint64_t>(wq + 8 * p) : uniform;
        Store(wq + 8 * p,
              wp & (left ? 0xFFFFFFFF00000000ull : ~0ull) & (right ? 0xFFFFFFFFull : ~0ull));
        Store(kq + 8 * p, ((right && !left) ? 0xFFFFFFFF00FFFFFFull : ~0ull) &
                              ((left && !right) ? 0x00FFFFFFFFFFFFFFull : ~0ull));
      }
    }
    for (int32_t i = 0; i < 4 * pairs; ++i) {
      uint16_t o = HalfBlend(Load<uint16_t>(sb + 2 * i), Load<uint16_t>(db + 2 * i), w[i]);
      if (Mode::kKeyed) o &= keep[i];
      Store(db + 2 * i, o);
    }
  }
}

// The 24/32-bit pixel walks: at 32 bits the lone pixel is the unit's.
template <class Mode>
void RowPix32(const RowArgs &a) {
  Row<RawMem> r{a, {}, {}, {}};
  LonePixel<4, Mode>(r);
  Pairs32<Mode>(a.d, a.s, a.c, a.w & ~1, a.a, a.b);
}

}  // namespace
}  // namespace trans
RK_NS_END

RK_FAST_FAMILY(trans) {
  using namespace rk::trans;
  if constexpr (std::endian::native != std::endian::little) return;
  t.Set(KernelId::RkTrans16, &Row16<Color16, Uniform>);
  t.Set(KernelId::RkTrans15, &Row16<Color15, Uniform>);
  t.Set(KernelId::RkTrans24, &RowTrans24);
  t.Set(KernelId::RkTrans32, &RowTrans32);
  t.Set(KernelId::RkMaskTrans16, &Row16<Color16, UniformKeyed>);
  t.Set(KernelId::RkMaskTrans15, &Row16<Color15, UniformKeyed>);
  t.Set(KernelId::RkMaskTrans24, &RowPix24<UniformKeyed>);
  t.Set(KernelId::RkMaskTrans32, &RowPix32<UniformKeyed>);
  t.Set(KernelId::RkTransWithChannel16, &Row16<Color16, PerPixel>);
  t.Set(KernelId::RkTransWithChannel15, &Row16<Color15, PerPixel>);
  t.Set(KernelId::RkTransWithChannel24, &RowPix24<PerPixel>);
  t.Set(KernelId::RkTransWithChannel32, &RowPix32<PerPixel>);
  t.Set(KernelId::RkMaskTransWithChannel16, &Row16<Color16, PerPixelKeyed>);
  t.Set(KernelId::RkMaskTransWithChannel15, &Row16<Color15, PerPixelKeyed>);
  t.Set(KernelId::RkMaskTransWithChannel24, &RowPix24<PerPixelKeyed>);
  t.Set(KernelId::RkMaskTransWithChannel32, &RowPix32<PerPixelKeyed>);
}
