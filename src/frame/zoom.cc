// Nearest scaling: RkZoom16, RkZoom24, RkZoom32 (dst, dstRect, src, srcRect).
//
// The clip works in single-precision floats, the way the library always has, with
// its irregular results kept: the source start is the source rectangle's corner
// multiplied by the scale factor (and moved by the destination's clip unscaled),
// the source limits are the source surface's size multiplied by it, and RkZoom32
// uses the reciprocal factors.
#include <algorithm>
#include <cfloat>
#include <cmath>

#include "frame/clip.h"
#include "frame/zoom.h"
#include "module/checked.h"
#include "module/dispatch.h"
#include "rkpix.h"

RK_NS_BEGIN
namespace {

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
void ClipStart(float &dstPos, float &srcPos, float &size) {
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

// A clipped call: integer positions (columns and rows of the surfaces) and sizes.
struct ZoomClip {
  int64_t dx, dy, sx, sy, w, h;
  uint32_t stepX, stepY;
};

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

// The bytes, from a surface's pixels, that rows starting at (col, row) touch when
// the last of them lies rowsDown rows further and each row reaches lastCol columns
// to the right. Far-off values (beyond 2^30) are not measured: `near` is false and
// the call is guarded byte by byte.
struct Span {
  bool near = false;
  ByteRange r;
};
Span SpanOf(int64_t col, int64_t row, uint64_t rowsDown, uint64_t lastCol, int32_t pitch, int bpp) {
  constexpr int64_t kFar = int64_t{1} << 30;
  if (col < -kFar || col > kFar || row < -kFar || row > kFar ||
      rowsDown > static_cast<uint64_t>(kFar) || lastCol > static_cast<uint64_t>(kFar)) {
    return {};
  }
  int64_t first = row * pitch + col * bpp;
  int64_t last = first + static_cast<int64_t>(rowsDown) * pitch;
  return {
      true,
      {std::min(first, last), std::max(first, last) + (static_cast<int64_t>(lastCol) + 1) * bpp}};
}

ByteRange Absolute(const RkSurface &s, const ByteRange &r) {
  auto base = static_cast<int64_t>(reinterpret_cast<uintptr_t>(s.pixels));
  return {base + r.lo, base + r.hi};
}

GuardMem GuardOf(const RkSurface &s, int bpp) {
  ByteRange o = OwnedBytes(s, bpp);
  return GuardMem{reinterpret_cast<uintptr_t>(s.pixels), o.lo, o.hi};
}

// Clips, then decides once for the call: sampling can run past the source's edge
// and RkZoom24 writes into its source, so a call whose bytes are not all inside
// each surface's own memory runs the reference walk through the guard. Otherwise
// the fast rows run unless destination and source bytes meet.
template <class K>
void RunZoom(const RkSurface &dst, const RkRect &dr, const RkSurface &src, const RkRect &sr) {
  ZoomClip c;
  if (!ClipZoom<K>(dst, dr, src, sr, &c)) return;
  constexpr int kBpp = K::kBpp;
  auto at = [](const RkSurface &s, int64_t col, int64_t row) {
    return AddrAdd(static_cast<uint8_t *>(s.pixels), Units(static_cast<uint64_t>(row), s.pitch) +
                                                         Units(static_cast<uint64_t>(col), kBpp));
  };
  const ZoomArgs a{
      at(dst, c.dx, c.dy), at(src, c.sx, c.sy), dst.pitch, src.pitch, c.w, c.h, c.stepX, c.stepY};

  const auto rows = static_cast<uint64_t>(c.h - 1), cols = static_cast<uint64_t>(c.w - 1);
  Span ds = SpanOf(c.dx, c.dy, rows, cols, dst.pitch, kBpp);
  Span ss =
      SpanOf(c.sx, c.sy, Step16Total(c.stepY, rows), Step16Total(c.stepX, cols), src.pitch, kBpp);
  bool inside = ds.near && ss.near && OwnedBytes(dst, kBpp).Contains(ds.r) &&
                OwnedBytes(src, kBpp).Contains(ss.r);
  if (!inside) {
    ZoomRef<K>(a, GuardOf(dst, kBpp), GuardOf(src, kBpp));
    return;
  }
  auto fast = ActiveTable().Get<ZoomFn>(K::kId);
  if (fast && !Absolute(dst, ds.r).Overlaps(Absolute(src, ss.r))) {
    fast(a);
  } else {
    ZoomRef<K>(a, RawMem{}, RawMem{});
  }
}

}  // namespace
RK_NS_END

#define RK_EXPORT_ZOOM(name, K)                                                            \
  extern "C" RKPIX_API void RKPIX_CALL name(const RkSurface *dst, const RkRect *dstRect,   \
                                            const RkSurface *src, const RkRect *srcRect) { \
    RK_CHECKED(::rk::CheckZoom(K::kId, dst, dstRect, src, srcRect));                       \
    ::rk::RunZoom<K>(*dst, *dstRect, *src, *srcRect);                                      \
  }

RK_EXPORT_ZOOM(RkZoom16, rk::Zoom16)
RK_EXPORT_ZOOM(RkZoom24, rk::Zoom24)
RK_EXPORT_ZOOM(RkZoom32, rk::Zoom32)
