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

// Grey sums of 16-bit pixels. The weights are the luminance weights scaled for 5-
// and 6-bit fields, applied the other way round on purpose: the low field (bits
// 4..0) takes R's weight (616 = 77 x 8), the high field B's (232 = 29 x 8).
constexpr uint32_t Sum16(uint32_t v) {
  return 616 * (v & 31) + 232 * (v >> 11 & 31) + 600 * (v >> 5 & 63);
}
constexpr uint32_t Sum15(uint32_t v) {
  return 616 * (v & 31) + 232 * (v >> 10 & 31) + 1200 * (v >> 5 & 31);
}
// Color15 to Light takes six G bits (10..5, the high field's lowest bit with them);
// the sum reaches 101888.
constexpr uint32_t Sum15Wide(uint32_t v) {
  return 616 * (v & 31) + 232 * (v >> 10 & 31) + 1200 * (v >> 5 & 63);
}

template <uint32_t (*Sum)(uint32_t), Arr Out>
struct WordToGrey : Paired {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t v) { return Sum(v) >> 8 & 0xFF; }
};
template <Arr In, Arr Out>
struct BytesToGrey : Single {
  static constexpr Arr kSrc[] = {In};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t w) { return Grey888(ByteR(w), ByteG(w), ByteB(w)); }
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

struct Color16ToTrans : WordToGrey<Sum16, kByte> {};
struct Color16ToLight : WordToGrey<Sum16, kWord> {};
struct Color15ToTrans : WordToGrey<Sum15, kByte> {};
// The upper element of a pair adds the carry out of its partner's 16-bit lane.
struct Color15ToLight : Paired {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {kWord};
  static constexpr Px Convert(const Px &in, Pos pos, const Px &partner) {
    uint32_t s = Sum15Wide(in.v[0]);
    if (pos == Pos::kHigh) s += Sum15Wide(partner.v[0]) >> 16;
    return {{s >> 8 & 0xFF}};
  }
};
struct Color24ToTrans : BytesToGrey<kTriple, kByte> {};
struct Color24ToLight : BytesToGrey<kTriple, kWord> {};
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
