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

}  // namespace planes
RK_NS_END
#endif
