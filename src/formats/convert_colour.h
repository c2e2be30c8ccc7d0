// Colour-to-colour conversions: one pixel a step, last to first.
#pragma once

#include "formats/convert.h"

// name (the export without RkBitConvert), argument shape (destination arrays,
// source arrays)
#define RK_CONVERT_COLOUR(X) \
  X(Color16ToColor15, 1, 1)  \
  X(Color16ToColor24, 1, 1)  \
  X(Color16ToColor32, 1, 1)  \
  X(Color15ToColor16, 1, 1)  \
  X(Color15ToColor24, 1, 1)  \
  X(Color15ToColor32, 1, 1)  \
  X(Color24ToColor16, 1, 1)  \
  X(Color24ToColor15, 1, 1)  \
  X(Color24ToColor32, 1, 1)  \
  X(Color32ToColor16, 1, 1)  \
  X(Color32ToColor15, 1, 1)  \
  X(Color32ToColor24, 1, 1)

RK_NS_BEGIN
namespace conv {

// Elements by their bytes; stride and offset as addressed by element index.
inline constexpr Arr kWord{2, 2, 0};
inline constexpr Arr kByte{1, 1, 0};
inline constexpr Arr kTriple{3, 3, 0};
inline constexpr Arr kQuad{4, 4, 0};
// The 5-byte Color24 stride of the members with a Color15/16 side: Color16ToColor24
// writes bytes 5i+1..5i+3, the others use 5i+2..5i+4; the bytes between are not
// touched.
inline constexpr Arr kTripleIn5At1{3, 5, 1};
inline constexpr Arr kTripleIn5At2{3, 5, 2};

// A 16-bit pixel's low field and G field as bytes (shifted up, low bits 0).
constexpr uint32_t LowField8(uint32_t v) { return v << 3 & 0xFF; }
constexpr uint32_t Green6To8(uint32_t v) { return v >> 5 << 2 & 0xFF; }
constexpr uint32_t Green5To8(uint32_t v) { return v >> 5 << 3 & 0xFF; }
constexpr uint32_t High15To8(uint32_t v) { return (v >> 8 & 0x7C) << 1; }

template <uint32_t RedMask, Arr Out>
struct Color16ToBytes : Single {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t v) {
    return Bgr(LowField8(v), Green6To8(v), v >> 8 & RedMask);
  }
};
template <Arr Out>
struct Color15ToBytes : Single {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t v) {
    return Bgr(LowField8(v), Green5To8(v), High15To8(v));
  }
};
template <Arr In>
struct BytesToColor16 : Single {
  static constexpr Arr kSrc[] = {In};
  static constexpr Arr kDst[] = {kWord};
  static constexpr uint32_t Map(uint32_t w) { return Pack565(ByteR(w), ByteG(w), ByteB(w)); }
};
// Packed with the Color16 masks: R's bits 7..4 land in bits 14..11 and G's six top
// bits in 10..5, so bit 10 carries G's top bit.
template <Arr In>
struct BytesToColor15 : Single {
  static constexpr Arr kSrc[] = {In};
  static constexpr Arr kDst[] = {kWord};
  static constexpr uint32_t Map(uint32_t w) { return Pack565(ByteR(w) >> 1, ByteG(w), ByteB(w)); }
};
template <Arr In, Arr Out>
struct BytesToBytes : Single {
  static constexpr Arr kSrc[] = {In};
  static constexpr Arr kDst[] = {Out};
  static constexpr uint32_t Map(uint32_t w) { return w & kColourBytes; }
};

struct Color16ToColor15 : Single {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {kWord};
  static constexpr uint32_t Map(uint32_t v) { return (v >> 1 & 0x7FE0) | (v & 0x1F); }
};
struct Color15ToColor16 : Single {
  static constexpr Arr kSrc[] = {kWord};
  static constexpr Arr kDst[] = {kWord};
  static constexpr uint32_t Map(uint32_t v) { return (v << 1 & 0xFFC0) | (v & 0x1F); }
};
// The R byte is masked with 0x7C and not shifted: R's low four bits and G's top
// bit.
struct Color16ToColor24 : Color16ToBytes<0x7C, kTripleIn5At1> {};
struct Color16ToColor32 : Color16ToBytes<0xF8, kQuad> {};
struct Color15ToColor24 : Color15ToBytes<kTripleIn5At2> {};
struct Color15ToColor32 : Color15ToBytes<kQuad> {};
struct Color24ToColor16 : BytesToColor16<kTripleIn5At2> {};
struct Color24ToColor15 : BytesToColor15<kTripleIn5At2> {};
struct Color24ToColor32 : BytesToBytes<kTriple, kQuad> {};
struct Color32ToColor16 : BytesToColor16<kQuad> {};
struct Color32ToColor15 : BytesToColor15<kQuad> {};
struct Color32ToColor24 : BytesToBytes<kQuad, kTriple> {};
template <>
inline constexpr bool kNeonWords<Color24ToColor16> = true;
template <>
inline constexpr bool kNeonWords<Color24ToColor15> = true;
template <>
inline constexpr bool kNeonWords<Color16ToColor24> = true;
template <>
inline constexpr bool kNeonWords<Color15ToColor24> = true;

}  // namespace conv
RK_NS_END
