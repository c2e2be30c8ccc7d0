// Nearest scaling: RkZoom16, RkZoom24, RkZoom32 (dst, dstRect, src, srcRect).
//
// The clip works in single-precision floats, the way the library always has, with
// its irregular results kept: the source start is the source rectangle's corner
// multiplied by the scale factor (and moved by the destination's clip unscaled),
// the source limits are the source surface's size multiplied by it, and RkZoom32
// uses the reciprocal factors.
#include <algorithm>

#include "frame/clip.h"
#include "frame/zoom.h"
#include "frame/zoom_clip.h"
#include "module/checked.h"
#include "module/dispatch.h"
#include "rkpix.h"

RK_NS_BEGIN
namespace {

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

namespace rk {
bool ZoomClipOf(KernelId id, const RkSurface &dst, const RkRect &dr, const RkSurface &src,
                const RkRect &sr, ZoomClip *out) {
  return id == KernelId::RkZoom32 ? ClipZoom<Zoom32>(dst, dr, src, sr, out)
                                  : ClipZoom<Zoom16>(dst, dr, src, sr, out);
}
}  // namespace rk

#define RK_EXPORT_ZOOM(name, K)                                                            \
  extern "C" RKPIX_API void RKPIX_CALL name(const RkSurface *dst, const RkRect *dstRect,   \
                                            const RkSurface *src, const RkRect *srcRect) { \
    RK_CHECKED(::rk::CheckZoom(K::kId, dst, dstRect, src, srcRect));                       \
    ::rk::RunZoom<K>(*dst, *dstRect, *src, *srcRect);                                      \
  }

RK_EXPORT_ZOOM(RkZoom16, rk::Zoom16)
RK_EXPORT_ZOOM(RkZoom24, rk::Zoom24)
RK_EXPORT_ZOOM(RkZoom32, rk::Zoom32)
