// Light and Trans conversions: grey levels of colour pixels, grey colour pixels
// of levels, and Light <-> Trans.
#pragma once

#include "formats/convert_colour.h"

#define RK_CONVERT_GREY(X) \
  X(Color16ToTrans, 1, 1)  \
  X(Color16ToLight, 1, 1)  \
  X(Color15ToTrans, 1, 1)  \
  X(Color15ToLight, 1, 1)  \
  X(Color24ToTrans, 1, 1)  \
  X(Color24ToLight, 1, 1)  \
  X(Color32ToTrans, 1, 1)  \
  X(Color32ToLight, 1, 1)  \
  X(TransToColor16, 1, 1)  \
  X(TransToColor15, 1, 1)  \
  X(TransToColor24, 1, 1)  \
  X(TransToColor32, 1, 1)  \
  X(LightToColor16, 1, 1)  \
  X(LightToColor15, 1, 1)  \
  X(LightToColor24, 1, 1)  \
  X(LightToColor32, 1, 1)  \
  X(TransToLight, 1, 1)    \
  X(LightToTrans, 1, 1)

RK_NS_BEGIN
namespace conv {

// Grey levels of 16-bit pixels: bits 15..8 of 616 x low + 232 x high + 600 x g
// (Color16, six G bits) or + 1200 x g (Color15, five; bit 15 ignored). The weights
// are the luminance weights scaled for 5- and 6-bit fields, applied the other way
// round on purpose: the low field (bits 4..0) takes R's weight (616 = 77 x 8), the
// high field B's (232 = 29 x 8).
//
// Every weight is a multiple of 8 and the sums stay below 2^16, so the level is
// t >> 5 with t = 77 x low + 29 x high + 75 x g (150 x g for Color15). t is formed
// from the pixel and two shifts of it, modulo 2^16, in fewer steps than the fields
// one by one: with v = low + 32 g + 2048 high (Color16), v >> 5 = g + 64 high, and
//   t = 77 v - 2389 (v >> 5) - 4771 (v >> 11);
// with v = low + 32 g + 1024 high (Color15 less bit 15), v >> 5 = g + 32 high, and
//   t = 77 v - 2314 (v >> 5) - 4771 (v >> 10).
constexpr uint32_t Grey16(uint32_t v) {
  return static_cast<uint16_t>(77 * v - 2389 * (v >> 5) - 4771 * (v >> 11)) >> 5;
}
constexpr uint32_t Grey15(uint32_t v) {
  v &= 0x7FFF;
  return static_cast<uint16_t>(77 * v - 2314 * (v >> 5) - 4771 * (v >> 10)) >> 5;
}
template <uint32_t (*Grey)(uint32_t), Arr Out>
struct WordToGrey : Paired {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t v) { return Grey(v); }
};
template <Arr In, Arr Out>
struct BytesToGrey : Single {
  static constexpr Arr kSrc[] = {In};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t w) { return GreyOfBytes(w); }
};

// Grey colour of an 8-bit level.
constexpr uint32_t Grey565(uint32_t t) { return Pack565(t, t, t); }
constexpr uint32_t Grey555(uint32_t t) { return Pack555(t, t, t); }
constexpr uint32_t GreyBytes(uint32_t t) { return Bgr(t, t, t); }
constexpr uint32_t Same(uint32_t t) { return t; }

// An element read as a level, then turned into the destination's element.
template <class Walk, Arr In, Arr Out, uint32_t (*Read)(uint32_t), uint32_t (*Make)(uint32_t)>
struct Level : Walk {
  static constexpr Arr kSrc[] = {In};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t e) { return Make(Read(e)); }
};

struct Color16ToTrans : WordToGrey<Grey16, kByte> {};
struct Color16ToLight : WordToGrey<Grey16, kWord> {};
struct Color15ToTrans : WordToGrey<Grey15, kByte> {};
// Color15 to Light takes six G bits (10..5, the high field's lowest bit with them),
// and a pair's two sums are formed as one 32-bit word of two 16-bit lanes: a sum
// passes 65535 (up to 101888), and the carry out of the lower lane goes into the
// upper one. A lone element is the lower lane alone.
struct Color15ToLight : Paired {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {kWord};
  static constexpr uint32_t Lanes(uint32_t w) {
    uint32_t s =
        616 * (w & 0x001F001F) + 232 * (w >> 10 & 0x001F001F) + 1200 * (w >> 5 & 0x003F003F);
    return s >> 8 & 0x00FF00FF;
  }
};
struct Color24ToTrans : BytesToGrey<kTriple, kByte> {};
struct Color24ToLight : BytesToGrey<kTriple, kWord> {};
template <>
inline constexpr bool kNeonWords<Color24ToTrans> = true;
template <>
inline constexpr bool kNeonWords<Color24ToLight> = true;
struct Color32ToTrans : BytesToGrey<kQuad, kByte> {};
struct Color32ToLight : BytesToGrey<kQuad, kWord> {};
struct TransToColor16 : Level<Paired, kByte, kWord, ReadTrans, Grey565> {};
struct TransToColor15 : Level<Paired, kByte, kWord, ReadTrans, Grey555> {};
struct TransToColor24 : Level<Single, kByte, kTriple, ReadTrans, GreyBytes> {};
struct TransToColor32 : Level<Single, kByte, kQuad, ReadTrans, GreyBytes> {};
// The upper element of a pair is taken modulo 256 instead of saturated.
struct LightToColor16 : Paired {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {kWord};
  static constexpr Px Convert(const Px &in, Pos pos, const Px &) {
    return {{Grey565(pos == Pos::kHigh ? in.v[0] & 0xFF : ReadLight(in.v[0]))}};
  }
};
struct LightToColor15 : Level<Paired, kWord, kWord, ReadLight, Grey555> {};
struct LightToColor24 : Level<Paired, kWord, kTriple, ReadLight, GreyBytes> {};
struct LightToColor32 : Level<Paired, kWord, kQuad, ReadLight, GreyBytes> {};
struct TransToLight : Level<Paired, kByte, kWord, ReadTrans, Same> {};
struct LightToTrans : Level<Paired, kWord, kByte, ReadLight, Same> {};

}  // namespace conv
RK_NS_END
