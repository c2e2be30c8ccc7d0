// The scalers' clip compiled with SSE float arithmetic (see zoom_clip_oracle.cc).
#pragma once

#include "frame/zoom_clip.h"

namespace rkt {

// RkZoom32's clip when `reciprocal`, else RkZoom16's; only on a CPU with SSE2.
bool OracleZoomClip(bool reciprocal, const RkSurface &dst, const RkRect &dr, const RkSurface &src,
                    const RkRect &sr, rk::ZoomClip *out);

}  // namespace rkt
