// The nearest scalers' clip built once more with SSE single-precision arithmetic
// and no contraction of multiplies and adds: the results plain float arithmetic
// gives, which the library's own build must reproduce whatever its floating point.
#include "zoom_clip_oracle.h"
#include "frame/zoom.h"
#include "frame/zoom_clip.h"

namespace rkt {

bool OracleZoomClip(bool reciprocal, const RkSurface &dst, const RkRect &dr, const RkSurface &src,
                    const RkRect &sr, rk::ZoomClip *out) {
  return reciprocal ? rk::ClipZoom<rk::Zoom32>(dst, dr, src, sr, out)
                    : rk::ClipZoom<rk::Zoom16>(dst, dr, src, sr, out);
}

}  // namespace rkt
