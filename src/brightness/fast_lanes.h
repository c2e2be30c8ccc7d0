// The brightness formulas of arith.h on whole vectors of pixels, for the fast rows.
// Each gives, lane by lane, the bytes of its scalar counterpart (named in its comment),
// rearranged for fewer vector steps: a field's result is moved back into place by one
// shift and one mask, a product is capped by one signed minimum or one saturating add.
// The row loops cover whole vectors and leave the rest to the caller.
#pragma once

#include <cstdint>

#include "brightness/arith.h"
#include "brightness/fast_simd.h"

RK_NS_BEGIN
namespace bright {
namespace simd {

#if defined(__SSE2__)

// LightPixel<F>: ((c * k) mod 65536 + round, saturated) >> 5, masked to the field.
template <class F>
inline V LightLanes(V w, V k) {
  V r = AddSat16(MulLo16(Shr16<F::kRShift>(w), k), Set16(31));
  V g = AddSat16(MulLo16(And(Shr16<5>(w), Set16(F::kGMax)), k), Set16(kLightGreenRound<F>));
  V b = AddSat16(MulLo16(And(w, Set16(31)), k), Set16(31));
  return Or3(And(Shl16<F::kRShift - 5>(r), Set16(F::kR)), And(g, Set16(F::kG)),
             And(Shr16<5>(b), Set16(31)));
}

// MaskLightLane<F>: a product above max * 32 (signed) gives max; capping it at
// max * 32 + 31 first leaves (product >> 5) & max to give both cases.
template <class F>
inline V MaskLightLanes(V w, V k) {
  V r = MinS16(MulLo16(Shr16<F::kRShift>(w), k), Set16(F::kRMax * 32 + 31));
  V g = MinS16(MulLo16(And(Shr16<5>(w), Set16(F::kGMax)), k), Set16(F::kGMax * 32 + 31));
  V b = MinS16(MulLo16(And(w, Set16(31)), k), Set16(31 * 32 + 31));
  return Or3(And(Shl16<F::kRShift - 5>(r), Set16(F::kR)), And(g, Set16(F::kG)),
             And(Shr16<5>(b), Set16(31)));
}

// DarkleLane<F, kRedWord>.
template <class F, bool kRedWord = false>
inline V DarkleLanes(V w, V k) {
  V rf = Shr16<F::kRShift>(w);
  if constexpr (!kRedWord && F::kRShift == 10) rf = And(rf, Set16(31));
  V r = And(Shl16<F::kRShift - 5>(MulLo16(rf, k)), Set16(F::kR));
  V g = And(MulLo16(And(Shr16<5>(w), Set16(F::kGMax)), k), Set16(F::kG));
  V b = Shr16<5>(MulLo16(And(w, Set16(31)), k));
  return Or3(r, g, b);
}

// DarkleByte on every byte: bits 8..15 of the byte's product wrapped in 16 bits.
inline V DarkleBytes(V w, V s) {
  V lo = Shr16<8>(MulLo16(And(w, Set16(0xFF)), s));
  V hi = And(MulLo16(Shr16<8>(w), s), Set16(0xFF00));
  return Or(lo, hi);
}
// LightByte on every byte, for a factor below 65536: the same bits 8..15, less one
// with 0 wrapping to 255.
inline V LightBytes(V w, V s) { return Sub8(DarkleBytes(w, s), Set16(0x0101)); }

// SatByte on every byte, for a factor below 32768: the high half of (v << 8) * s is
// (v * s) >> 8, below 32768, capped at 255.
inline V SatBytes(V w, V s) {
  V top = Set16(255);
  V lo = MinS16(MulHi16(Shl16<8>(w), s), top);
  V hi = MinS16(MulHi16(And(w, Set16(0xFF00)), s), top);
  return Or(lo, Shl16<8>(hi));
}

// d[i] = fn(s[i]) for the whole vectors of `bytes`; returns the bytes done. The
// destination is apart from the source or the very same bytes.
template <class Fn>
inline int64_t MapVectors(uint8_t *d, const uint8_t *s, int64_t bytes, Fn fn) {
  return EachVector(bytes, [&](int64_t o) { Store(d + o, fn(Load(s + o))); });
}
// d[i] = fn(s[i], d[i]).
template <class Fn>
inline int64_t MapVectorsOld(uint8_t *d, const uint8_t *s, int64_t bytes, Fn fn) {
  return EachVector(bytes, [&](int64_t o) { Store(d + o, fn(Load(s + o), Load(d + o))); });
}

#endif  // __SSE2__

}  // namespace simd
}  // namespace bright
RK_NS_END
