// Colour-keyed copies (a quarter of the source pixels carry the key) and nearest
// scaling.

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "harness.h"
#include "rkpix.h"

RKB_BLIT(RkMaskBitBlt24, 3, rkb::Args::kKey, 0);
RKB_BLIT(RkMaskBitBlt32, 4, rkb::Args::kKey, 0);

namespace {

using ZoomFn = void(RKPIX_CALL *)(const RkSurface *, const RkRect *, const RkSurface *,
                                  const RkRect *);

struct ZoomSetup {
  rkb::Block dst, src, copySrc;
  RkSurface d{}, s{};
};

// The destination is w x h; the source surface 2w x 2h, large enough for the
// source limits of every member at both ratios. `up` samples its top-left
// quarter, otherwise all of it.
rkb::Setup Zoom(ZoomFn fn, int bpp, bool up) {
  return [=](int32_t w, int32_t h) {
    auto z = std::make_shared<ZoomSetup>();
    std::mt19937 rng(99);
    size_t dBytes = size_t(w) * h * bpp, sBytes = 4 * dBytes;
    z->dst = rkb::Block(dBytes, rkb::kDstAt);
    z->src = rkb::Block(sBytes, rkb::kSrcAt, &rng);
    z->copySrc = rkb::Block(dBytes, rkb::kCopyAt, &rng);
    z->d = RkSurface{0, w, h, w * bpp, 0, z->dst.data()};
    z->s = RkSurface{0, 2 * w, 2 * h, 2 * w * bpp, 0, z->src.data()};
    RkRect dr{0, 0, w, h}, sr{0, 0, up ? w / 2 : 2 * w, up ? h / 2 : 2 * h};
    rkb::Timed t;
    t.kernel = [z, fn, dr, sr] { fn(&z->d, &dr, &z->s, &sr); };
    t.baseline = [z, w, h, bpp] {
      for (int32_t y = 0; y < h; ++y) {
        std::memcpy(z->dst.data() + size_t(y) * z->d.pitch, z->copySrc.data() + size_t(y) * w * bpp,
                    size_t(w) * bpp);
      }
      rkb::Clobber();
    };
    t.pixels = double(w) * h;
    t.keep = z;
    return t;
  };
}

}  // namespace

RKB_CUSTOM(RkZoom16_2xUp, Zoom(&RkZoom16, 2, true));
RKB_CUSTOM(RkZoom16_2xDown, Zoom(&RkZoom16, 2, false));
RKB_CUSTOM(RkZoom32_2xUp, Zoom(&RkZoom32, 4, true));
RKB_CUSTOM(RkZoom24_2xUp, Zoom(&RkZoom24, 3, true));
RKB_CUSTOM(RkZoom24_2xDown, Zoom(&RkZoom24, 3, false));
RKB_CUSTOM(RkZoom32_2xDown, Zoom(&RkZoom32, 4, false));
