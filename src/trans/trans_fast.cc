// Fast rows of the translucent blits, for rows whose destination does not overlap
// their source or channel (or is the very same bytes: every output depends only on
// the inputs at its own place). Plain loops over a row's pixels or bytes, which the
// compiler vectorises; the lone pixel and the pair of a 16/15-bit row go through
// the same unit code as the reference walk.
#include <algorithm>
#include <bit>

#include "module/fast.h"
#include "trans/blend.h"

RK_NS_BEGIN
namespace trans {
namespace {

// Pixels a block of the keyed loops holds in its scratch arrays.
constexpr int32_t kBlock = 256;

// Groups of four at 16/15 bits: pixels [0, n), n a multiple of 4.
template <class F, class Mode>
void Groups16(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a, uint32_t b) {
  constexpr Blue kBlue = Shape16<F, Mode>::kGroupBlue;
  const uint16_t uniform = static_cast<uint16_t>(a >> 3), key = static_cast<uint16_t>(b);
  auto blend = [&](int32_t j) {
    uint16_t sv = Get16(s + 2 * j), dv = Get16(d + 2 * j);
    uint16_t w = Mode::kChannel ? static_cast<uint16_t>(c[j] >> 3) : uniform;
    if (Mode::kKeyed && sv == key) w = 0;
    return LaneBlend<F, kBlue>(sv, dv, w);
  };
  if constexpr (Mode::kKeyed && kIs15<F>) {
    // Key pixels come out with bit 15 cleared, unless all four of their group are
    // the key: such a group is not written.
    uint8_t keyBytes[8];
    for (int i = 0; i < 4; ++i) Put16(keyBytes + 2 * i, key);
    uint64_t key4;
    std::memcpy(&key4, keyBytes, 8);
    uint8_t out[2 * kBlock];
    for (int32_t j0 = 0; j0 < n; j0 += kBlock) {
      const int32_t m = std::min(kBlock, n - j0);
      for (int32_t j = 0; j < m; ++j) Put16(out + 2 * j, blend(j0 + j));
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
    for (int32_t j = 0; j < n; ++j) Put16(d + 2 * j, blend(j));
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
  for (int64_t i = 0; i < n; ++i) d[i] = ByteBlend(s[i], d[i], w);
}

void RowTrans24(const RowArgs &a) { Bytes(a.d, a.s, int64_t{a.w} * 3, static_cast<uint16_t>(a.a)); }

// The pairs of a 32-bit row blend all four bytes; the lone pixel is the unit's.
void RowTrans32(const RowArgs &a) {
  Row<RawMem> r{a, {}, {}, {}};
  LonePixel<4, Uniform>(r);
  Bytes(a.d, a.s, int64_t{a.w >> 1} * 8, static_cast<uint16_t>(a.a));
}

// Pixels [0, n) of a 24/32-bit row, each with its own weight (the channel's or
// the uniform one; 0 for a key pixel, which leaves it as it is). Block by block:
// the pixels' weights, spread over their bytes, then one loop over the bytes. A
// keyed 32-bit pixel whose pair partner is the key is blended alone: 0 in its
// fourth byte (n is even there, pairs start at even columns).
template <int Bpp, class Mode>
void PixelRun(uint8_t *d, const uint8_t *s, const uint8_t *c, int32_t n, uint32_t a, uint32_t b) {
  constexpr bool kAlone = Bpp == 4 && Mode::kKeyed;
  const uint32_t key = b & kColourBytes;
  const auto k0 = static_cast<uint8_t>(key), k1 = static_cast<uint8_t>(key >> 8),
             k2 = static_cast<uint8_t>(key >> 16);
  // A 32-bit pixel's byte mask with its fourth byte cleared, as it lies in memory.
  constexpr uint32_t kNoFourth =
      std::endian::native == std::endian::little ? 0x00FFFFFFu : 0xFFFFFF00u;
  uint8_t isKey[kBlock];
  uint16_t wp[kBlock], wb[Bpp * kBlock];
  uint32_t keep[kBlock];
  const auto *mb = reinterpret_cast<const uint8_t *>(keep);
  for (int32_t j0 = 0; j0 < n; j0 += kBlock) {
    const int32_t m = std::min(kBlock, n - j0);
    const uint8_t *sb = s + Bpp * j0;
    uint8_t *db = d + Bpp * j0;
    if constexpr (Mode::kKeyed) {
      for (int32_t j = 0; j < m; ++j) {
        const uint8_t *p = sb + Bpp * j;
        if constexpr (Bpp == 4) {
          isKey[j] = (Get32(p) & kColourBytes) == key;
        } else {
          isKey[j] = (p[0] == k0) & (p[1] == k1) & (p[2] == k2);
        }
      }
    }
    for (int32_t j = 0; j < m; ++j) {
      uint16_t w = Mode::kChannel ? c[j0 + j] : static_cast<uint16_t>(a);
      wp[j] = Mode::kKeyed && isKey[j] ? 0 : w;
    }
    for (int32_t j = 0; j < m; ++j)
      for (int k = 0; k < Bpp; ++k) wb[Bpp * j + k] = wp[j];
    if constexpr (kAlone) {
      for (int32_t j = 0; j < m; j += 2) {
        keep[j] = isKey[j + 1] & !isKey[j] ? kNoFourth : ~0u;
        keep[j + 1] = isKey[j] & !isKey[j + 1] ? kNoFourth : ~0u;
      }
    }
    for (int32_t i = 0; i < Bpp * m; ++i) {
      uint8_t o = ByteBlend(sb[i], db[i], wb[i]);
      db[i] = kAlone ? static_cast<uint8_t>(o & mb[i]) : o;
    }
  }
}

// The 24/32-bit members with a key or a channel. At 32 bits the lone pixel is the
// unit's; at 24 bits blending alone or in a pair is the same.
template <int Bpp, class Mode>
void RowPix(const RowArgs &a) {
  int32_t n = a.w;
  if constexpr (Bpp == 4) {
    Row<RawMem> r{a, {}, {}, {}};
    LonePixel<4, Mode>(r);
    n = a.w & ~1;
  }
  PixelRun<Bpp, Mode>(a.d, a.s, a.c, n, a.a, a.b);
}

}  // namespace
}  // namespace trans
RK_NS_END

RK_FAST_FAMILY(trans) {
  using namespace rk::trans;
  t.Set(KernelId::RkTrans16, &Row16<Color16, Uniform>);
  t.Set(KernelId::RkTrans15, &Row16<Color15, Uniform>);
  t.Set(KernelId::RkTrans24, &RowTrans24);
  t.Set(KernelId::RkTrans32, &RowTrans32);
  t.Set(KernelId::RkMaskTrans16, &Row16<Color16, UniformKeyed>);
  t.Set(KernelId::RkMaskTrans15, &Row16<Color15, UniformKeyed>);
  t.Set(KernelId::RkMaskTrans24, &RowPix<3, UniformKeyed>);
  t.Set(KernelId::RkMaskTrans32, &RowPix<4, UniformKeyed>);
  t.Set(KernelId::RkTransWithChannel16, &Row16<Color16, PerPixel>);
  t.Set(KernelId::RkTransWithChannel15, &Row16<Color15, PerPixel>);
  t.Set(KernelId::RkTransWithChannel24, &RowPix<3, PerPixel>);
  t.Set(KernelId::RkTransWithChannel32, &RowPix<4, PerPixel>);
  t.Set(KernelId::RkMaskTransWithChannel16, &Row16<Color16, PerPixelKeyed>);
  t.Set(KernelId::RkMaskTransWithChannel15, &Row16<Color15, PerPixelKeyed>);
  t.Set(KernelId::RkMaskTransWithChannel24, &RowPix<3, PerPixelKeyed>);
  t.Set(KernelId::RkMaskTransWithChannel32, &RowPix<4, PerPixelKeyed>);
}
