// RGBLight conversions: colour, Light and Trans into three planes R, G, B, the
// planes back into them, and RGBLight16 <-> RGBLight32.
#pragma once

#include "formats/convert_grey.h"

#define RK_CONVERT_PLANES(X)      \
  X(Color16ToRGBLight16, 3, 1)    \
  X(Color16ToRGBLight32, 3, 1)    \
  X(Color15ToRGBLight16, 3, 1)    \
  X(Color15ToRGBLight32, 3, 1)    \
  X(Color24ToRGBLight16, 3, 1)    \
  X(Color24ToRGBLight32, 3, 1)    \
  X(Color32ToRGBLight16, 3, 1)    \
  X(Color32ToRGBLight32, 3, 1)    \
  X(TransToRGBLight16, 3, 1)      \
  X(TransToRGBLight32, 3, 1)      \
  X(LightToRGBLight16, 3, 1)      \
  X(LightToRGBLight32, 3, 1)      \
  X(RGBLight16ToColor16, 1, 3)    \
  X(RGBLight16ToColor15, 1, 3)    \
  X(RGBLight16ToColor24, 1, 3)    \
  X(RGBLight16ToColor32, 1, 3)    \
  X(RGBLight32ToColor16, 1, 3)    \
  X(RGBLight32ToColor15, 1, 3)    \
  X(RGBLight32ToColor24, 1, 3)    \
  X(RGBLight32ToColor32, 1, 3)    \
  X(RGBLight16ToTrans, 1, 3)      \
  X(RGBLight16ToLight, 1, 3)      \
  X(RGBLight32ToTrans, 1, 3)      \
  X(RGBLight32ToLight, 1, 3)      \
  X(RGBLight16ToRGBLight32, 3, 3) \
  X(RGBLight32ToRGBLight16, 3, 3)

// Every member, in the order of the public header's groups.
#define RK_CONVERT_ALL(X) RK_CONVERT_COLOUR(X) RK_CONVERT_GREY(X) RK_CONVERT_PLANES(X)

RK_NS_BEGIN
namespace conv {

inline constexpr Arr kPlanes[] = {kWord, kWord, kWord};
// The members out of RGBLight into Trans and Light store one place off: Trans at
// dst[i + 1] (dst[0] is not written, dst[count] is), Light at dst[i - 1] (the
// element before the array is written, the last one is not).
inline constexpr Arr kTransUp{1, 1, 1};
inline constexpr Arr kLightDown{2, 2, -2};
// Where six members find their B-plane pointer instead of their B argument: a
// pointer-sized value at this byte of the dstG or srcG array, read once at entry.
inline constexpr int kDstGHoldsB = 16, kSrcGHoldsB = 20;

template <class Walk, Arr In>
struct IntoPlanes : Walk {
  static constexpr Arr kSrc[] = {In};
  static constexpr auto &kDst = kPlanes;
};
template <class Walk, Arr Out>
struct OutOfPlanes : Walk {
  static constexpr auto &kSrc = kPlanes;
  static constexpr Arr kDst[] = {Out};
};
template <class Walk>
struct Planes : Walk {
  static constexpr auto &kSrc = kPlanes;
  static constexpr auto &kDst = kPlanes;
};
struct SingleBFromDstG : Single {
  static constexpr int kDstBAt = kDstGHoldsB;
};
struct PairedBFromSrcG : Paired {
  static constexpr int kSrcBAt = kSrcGHoldsB;
};

constexpr Px Splat(uint32_t v) { return {{v, v, v}}; }

// Color16/15 fields: the low field (bits 4..0) goes to the R plane and the high
// field to B, the same swap as the grey weights. RGBLight16's G gets Color16's top
// five G bits.
struct Color16ToRGBLight16 : IntoPlanes<Paired, kWord> {
  static constexpr Px Map(uint32_t v) { return {{v & 0x1F, v >> 6 & 0x1F, v >> 11 & 0x1F}}; }
};
struct Color15ToRGBLight16 : IntoPlanes<Paired, kWord> {
  static constexpr Px Map(uint32_t v) { return {{v & 0x1F, v >> 5 & 0x1F, v >> 10 & 0x1F}}; }
};
struct Color16ToRGBLight32 : IntoPlanes<Paired, kWord> {
  static constexpr Px Map(uint32_t v) {
    return {{LowField8(v), (v & 0x7E0) >> 3, (v & 0xF800) >> 8}};
  }
};
struct Color15ToRGBLight32 : IntoPlanes<Paired, kWord> {
  static constexpr Px Map(uint32_t v) {
    return {{LowField8(v), (v & 0x3E0) >> 2, (v & 0x7C00) >> 7}};
  }
};
template <class Walk, Arr In>
struct BytesToRGBLight16 : IntoPlanes<Walk, In> {
  static constexpr Px Map(uint32_t w) { return {{ByteR(w) >> 3, ByteG(w) >> 3, ByteB(w) >> 3}}; }
};
template <class Walk, Arr In>
struct BytesToRGBLight32 : IntoPlanes<Walk, In> {
  static constexpr Px Map(uint32_t w) { return {{ByteR(w), ByteG(w), ByteB(w)}}; }
};
struct Color24ToRGBLight16 : BytesToRGBLight16<SingleBFromDstG, kTriple> {};
struct Color24ToRGBLight32 : BytesToRGBLight32<SingleBFromDstG, kTriple> {};
struct Color32ToRGBLight16 : BytesToRGBLight16<Single, kQuad> {};
struct Color32ToRGBLight32 : BytesToRGBLight32<Single, kQuad> {};
// Pairs get t >> 3; an odd count's last element gets (t << 3) & 0xFF.
struct TransToRGBLight16 : IntoPlanes<Paired, kByte> {
  static constexpr Px Convert(const Px &in, Pos pos, const Px &) {
    uint32_t t = in.v[0];
    return Splat(pos == Pos::kAlone ? (t << 3 & 0xFF) : t >> 3);
  }
};
struct TransToRGBLight32 : IntoPlanes<Paired, kByte> {
  static constexpr Px Map(uint32_t t) { return Splat(t); }
};

// Light into planes, an odd count's last element: the element's low byte with the
// source byte at count / 2 + 5 as high byte, shifted right by `Shift`. R and G
// receive the value, B only its high byte (its low byte keeps what it held).
template <int Shift>
struct LightAloneStep {
  static constexpr int64_t AloneSrcByte(uint32_t count) { return count / 2 + 5; }
  static void AloneStep(const Io &io, size_t i, size_t count) {
    uint32_t v = (io.s[0][2 * i] | uint32_t{io.s[0][count / 2 + 5]} << 8) >> Shift;
    StoreLE<2>(io.d[0] + 2 * i, v);
    StoreLE<2>(io.d[1] + 2 * i, v);
    StoreLE<1>(io.d[2] + 2 * i + 1, v >> 8);
  }
};
// Pairs are shifted as one 32-bit word: the lower element's bits 15..13 spill into
// the upper element.
struct LightToRGBLight16 : IntoPlanes<Paired, kWord>, LightAloneStep<3> {
  static constexpr Px Convert(const Px &in, Pos pos, const Px &partner) {
    uint32_t v = in.v[0] << 3;
    if (pos == Pos::kHigh) v |= partner.v[0] >> 13;
    return Splat(v & 0x1FFF);
  }
};
struct LightToRGBLight32 : IntoPlanes<Paired, kWord>, LightAloneStep<0> {
  static constexpr Px Map(uint32_t e) { return Splat(e); }
};

// Out of the planes: p.v[0], v[1], v[2] are the R, G, B elements.
struct RGBLight16ToColor16 : OutOfPlanes<Paired, kWord> {
  static constexpr uint32_t Map(const Px &p) {
    return ReadRGBLight16(p.v[0]) << 11 | ReadRGBLight16(p.v[1]) << 6 | ReadRGBLight16(p.v[2]);
  }
};
struct RGBLight16ToColor15 : OutOfPlanes<Paired, kWord> {
  static constexpr uint32_t Map(const Px &p) {
    return ReadRGBLight16(p.v[0]) << 10 | ReadRGBLight16(p.v[1]) << 5 | ReadRGBLight16(p.v[2]);
  }
};
constexpr uint32_t HighBytes(const Px &p) {
  return Bgr(RGBLight16HighByte(p.v[2]), RGBLight16HighByte(p.v[1]), RGBLight16HighByte(p.v[0]));
}
// Pairs read the elements back as 5-bit levels; an odd count's last element takes
// the high-bit bytes of RGBLight16HighByte.
struct RGBLight16ToColor24 : OutOfPlanes<PairedBFromSrcG, kTriple> {
  static constexpr Px Convert(const Px &in, Pos pos, const Px &) {
    if (pos == Pos::kAlone) return {{HighBytes(in)}};
    return {{Bgr(ReadRGBLight16(in.v[2]) << 3, ReadRGBLight16(in.v[1]) << 3,
                 ReadRGBLight16(in.v[0]) << 3)}};
  }
};
template <>
inline constexpr bool kNeonWords<RGBLight16ToColor24> = true;
struct RGBLight16ToColor32 : OutOfPlanes<PairedBFromSrcG, kQuad> {
  static constexpr uint32_t Map(const Px &p) { return HighBytes(p); }
};
struct RGBLight32ToColor16 : OutOfPlanes<Paired, kWord> {
  static constexpr uint32_t Map(const Px &p) {
    return Pack565(ReadRGBLight32(p.v[0]), ReadRGBLight32(p.v[1]), ReadRGBLight32(p.v[2]));
  }
};
struct RGBLight32ToColor15 : OutOfPlanes<Paired, kWord> {
  static constexpr uint32_t Map(const Px &p) {
    return Pack555(ReadRGBLight32(p.v[0]), ReadRGBLight32(p.v[1]), ReadRGBLight32(p.v[2]));
  }
};
template <Arr Out>
struct RGBLight32ToBytes : OutOfPlanes<PairedBFromSrcG, Out> {
  static constexpr uint32_t Map(const Px &p) {
    return Bgr(ReadRGBLight32(p.v[2]), ReadRGBLight32(p.v[1]), ReadRGBLight32(p.v[0]));
  }
};
struct RGBLight32ToColor24 : RGBLight32ToBytes<kTriple> {};
struct RGBLight32ToColor32 : RGBLight32ToBytes<kQuad> {};

// Into Trans and Light: the R plane is read but adds nothing, B's weight is one
// more than its grey weight, and the sums take the whole 16-bit elements.
template <uint32_t WB, uint32_t WG>
constexpr uint32_t TransOfPlanes(const Px &p) {
  uint32_t s = WB * p.v[2] + WG * p.v[1];
  return s >= 65535 ? 255 : s >> 8;
}
template <int Shift>
constexpr uint32_t LightOfPlanes(const Px &p) {
  return (30 * p.v[2] + 150 * p.v[1]) >> Shift & 0xFFFF;
}
struct RGBLight16ToTrans : OutOfPlanes<Single, kTransUp> {
  static constexpr uint32_t Map(const Px &p) { return TransOfPlanes<233, 1200>(p); }
};
struct RGBLight32ToTrans : OutOfPlanes<Single, kTransUp> {
  static constexpr uint32_t Map(const Px &p) { return TransOfPlanes<30, 150>(p); }
};
struct RGBLight16ToLight : OutOfPlanes<Single, kLightDown> {
  static constexpr uint32_t Map(const Px &p) { return LightOfPlanes<5>(p); }
};
struct RGBLight32ToLight : OutOfPlanes<Single, kLightDown> {
  static constexpr uint32_t Map(const Px &p) { return LightOfPlanes<8>(p); }
};

struct RGBLight16ToRGBLight32 : Planes<Paired> {
  static constexpr Px Map(const Px &p) {
    return {{p.v[0] << 3 & 0xFFFF, p.v[1] << 3 & 0x1FFF, p.v[2] << 3 & 0xFFFF}};
  }
};
// An odd count's last G element is shifted the other way: (p << 3) & 0x1FFF.
struct RGBLight32ToRGBLight16 : Planes<Paired> {
  static constexpr Px Convert(const Px &in, Pos pos, const Px &) {
    uint32_t g = pos == Pos::kAlone ? in.v[1] << 3 & 0x1FFF : in.v[1] >> 3;
    return {{in.v[0] >> 3, g, in.v[2] >> 3}};
  }
};

}  // namespace conv
RK_NS_END
