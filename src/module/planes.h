// NEON byte planes of 3- and 4-byte pixels: a structure load parts 16 pixels into
// registers of their first, second, third (and fourth) bytes, and a structure store
// writes such registers back as pixels. The fast rows that work a byte at a time with
// a per-pixel value (a channel element, a key) use them on aarch64. Only fast
// translation units include this.
#pragma once

#include <cstdint>
#include <type_traits>

#include "module/registers.h"

#if RK_NEON
RK_NS_BEGIN
namespace planes {

template <int Bpp>
using Of = std::conditional_t<Bpp == 3, uint8x16x3_t, uint8x16x4_t>;
inline uint8x16x3_t Load(const uint8_t *p, uint8x16x3_t) { return vld3q_u8(p); }
inline uint8x16x4_t Load(const uint8_t *p, uint8x16x4_t) { return vld4q_u8(p); }
inline void Store(uint8_t *p, uint8x16x3_t v) { vst3q_u8(p, v); }
inline void Store(uint8_t *p, uint8x16x4_t v) { vst4q_u8(p, v); }

// The key's three colour bytes, each over a register; Of gives the pixels of 16 that
// are the key (the fourth byte takes no part).
struct Key {
  uint8x16_t b, g, r;
  explicit Key(uint32_t key)
      : b(vdupq_n_u8(key & 0xFF)),
        g(vdupq_n_u8(key >> 8 & 0xFF)),
        r(vdupq_n_u8(key >> 16 & 0xFF)) {}
  template <class P>
  uint8x16_t Of(const P &p) const {
    return vandq_u8(vandq_u8(vceqq_u8(p.val[0], b), vceqq_u8(p.val[1], g)), vceqq_u8(p.val[2], r));
  }
};

// The pixels of pairs (lanes 2j, 2j + 1) drawn alone: not in `keys`, their partner in it.
inline uint8x16_t Alone(uint8x16_t keys) { return vbicq_u8(vrev16q_u8(keys), keys); }

// The bits of the left pixels of the pairs of 16 pixels that `pairs` marks (both lanes
// of a pair alike), bit 2j for pair j.
inline uint64_t LeftPixelBits(uint8x16_t pairs) {
  static constexpr uint8_t kBit[8] = {1, 2, 4, 8, 16, 32, 64, 128};
  uint64_t m = vaddv_u8(vand_u8(vmovn_u16(vreinterpretq_u16_u8(pairs)), vld1_u8(kBit)));
  m = (m | m << 4) & 0x0F0F;
  m = (m | m << 2) & 0x3333;
  return (m | m << 1) & 0x5555;
}

// Pixels [0, count) of a row, 16 a step from the first: fn(the source's planes, the
// step's first pixel) gives the planes to store. With kKeyed, fn also sets a register of
// the pixels that keep the destination (its third argument): a step of such pixels alone
// stores nothing, a step with some blends the destination in (its bytes written back as
// they were). The destination is apart from the source or the very same bytes. Returns
// the pixels done.
template <int Bpp, bool kKeyed, class Fn>
inline int64_t Steps(uint8_t *d, const uint8_t *s, int64_t count, Fn fn) {
  using P = Of<Bpp>;
  int64_t i = 0;
  for (; i + 16 <= count; i += 16) {
    const P in = Load(s + Bpp * i, P{});
    if constexpr (kKeyed) {
      uint8x16_t keep;
      P out = fn(in, i, keep);
      if (vminvq_u8(keep) != 0) continue;
      if (vmaxvq_u8(keep) != 0) {
        const P old = Load(d + Bpp * i, P{});
        for (int k = 0; k < Bpp; ++k) out.val[k] = vbslq_u8(keep, old.val[k], out.val[k]);
      }
      Store(d + Bpp * i, out);
    } else {
      Store(d + Bpp * i, fn(in, i));
    }
  }
  return i;
}

}  // namespace planes
RK_NS_END
#endif
