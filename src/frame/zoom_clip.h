// The nearest scalers' clip, in single-precision floating point.
//
// Kept in a header so that a test can build the same source with SSE arithmetic
// and compare: on x87 every intermediate must be rounded to single precision for
// the results to be the ones of plain float arithmetic.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>

#include "frame/clip.h"
#include "module/isa.h"
#include "module/kernel_ids.h"
#include "rkpix.h"

namespace rk {

// A clipped call: integer positions (columns and rows of the surfaces) and sizes.
struct ZoomClip {
  int64_t dx, dy, sx, sy, w, h;
  uint32_t stepX, stepY;
  bool operator==(const ZoomClip &) const = default;
};

// The library's clip of RkZoom16/24 (any id but RkZoom32) or RkZoom32, for tests.
bool ZoomClipOf(KernelId id, const RkSurface &dst, const RkRect &dr, const RkSurface &src,
                const RkRect &sr, ZoomClip *out);

}  // namespace rk

RK_NS_BEGIN

// Every value of the clip is rounded to single precision after every step; where
// the compiler would keep wider intermediates, each result goes through memory.
inline float F(float x) {
#if FLT_EVAL_METHOD != 0
  volatile float v = x;
  return v;
#else
  return x;
#endif
}
inline float F(int32_t i) { return F(static_cast<float>(i)); }

// Truncation toward zero. The clip's values stay within about 2^62 (a 32-bit
// coordinate times a factor below 2^31); the bound only keeps the conversion defined.
inline int64_t Trunc(float x) {
  constexpr float kBound = 0x1p62f;
  if (!(std::fabs(x) < kBound)) return x < 0 ? -(int64_t{1} << 62) : int64_t{1} << 62;
  return static_cast<int64_t>(x);
}

// One edge of the start clip. The source start moves by the same amount as the
// destination start, not by that amount times the scale.
inline void ClipStart(float &dstPos, float &srcPos, float &size) {
  if (dstPos <= srcPos) {
    if (dstPos < 0) {
      size = F(size + dstPos);
      srcPos = F(srcPos - dstPos);
      dstPos = 0;
    }
  } else if (srcPos < 0) {
    size = F(size + srcPos);
    dstPos = F(dstPos - srcPos);
    srcPos = 0;
  }
}

template <class K>
bool ClipZoom(const RkSurface &dst, const RkRect &dr, const RkSurface &src, const RkRect &sr,
              ZoomClip *out) {
  const int32_t dW = WrapSub(dr.right, dr.left), dH = WrapSub(dr.bottom, dr.top);
  const int32_t sW = WrapSub(sr.right, sr.left), sH = WrapSub(sr.bottom, sr.top);
  if (dW <= 0 || dH <= 0) return false;
  // From the unclipped rectangles; the products wrap for source sizes of 32768 or more.
  auto step = [](int32_t s, int32_t d) {
    return static_cast<uint32_t>(static_cast<int32_t>(static_cast<uint32_t>(s) << 16) / d);
  };
  out->stepX = step(sW, dW);
  out->stepY = step(sH, dH);

  float scaleX, scaleY;
  if constexpr (K::kReciprocalScale) {
    if (sW == 0 || sH == 0) return false;  // the factors would divide by zero
    scaleX = std::fabs(F(F(dW) / F(sW)));
    scaleY = std::fabs(F(F(dH) / F(sH)));
  } else {
    scaleX = std::fabs(F(F(sW) / F(dW)));
    scaleY = std::fabs(F(F(sH) / F(dH)));
  }
  float w = F(dW), h = F(dH), dx = F(dr.left), dy = F(dr.top);
  float sx = F(F(sr.left) * scaleX), sy = F(F(sr.top) * scaleY);
  const float srcWidthLimit = std::trunc(F(F(src.width) * scaleX));
  const float srcHeightLimit = std::trunc(F(F(src.height) * scaleY));

  // The blit prologue's folds of negative sizes (the height moving the X positions);
  // both sizes are positive by now, so they never run.
  if (w < 0) {
    dx = F(dx - w);
    sx = F(sx - w);
    w = 0;
  }
  if (h < 0) {
    dx = F(dx - h);
    sx = F(sx - h);
    h = 0;
  }
  ClipStart(dx, sx, w);
  ClipStart(dy, sy, h);
  if (dx > F(dst.width) || dy > F(dst.height) || sx > srcWidthLimit || sy > srcHeightLimit) {
    return false;
  }
  w = std::min({w, F(F(dst.width) - dx), F(srcWidthLimit - sx)});
  if (w <= 0) return false;
  h = std::min({h, F(F(dst.height) - dy), F(srcHeightLimit - sy)});
  if (h <= 0) return false;
  *out = ZoomClip{Trunc(dx), Trunc(dy), Trunc(sx),  Trunc(sy),
                  Trunc(w),  Trunc(h),  out->stepX, out->stepY};
  return out->w > 0 && out->h > 0;
}

RK_NS_END
