// Brightness blits through a random channel plane; keyed members with the harness's
// key planted in a quarter of the source pixels.

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "harness.h"
#include "rkpix.h"

RKB_BLIT(RkLightWithChannel16, 2, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkLightWithChannel15, 2, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkLightWithChannel24, 3, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkLightWithChannel32, 4, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkDarkleWithChannel16, 2, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkDarkleWithChannel15, 2, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkDarkleWithChannel24, 3, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkDarkleWithChannel32, 4, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkMaskLightWithChannel16, 2, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskLightWithChannel15, 2, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskLightWithChannel24, 3, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskLightWithChannel32, 4, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskDarkleWithChannel16, 2, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskDarkleWithChannel15, 2, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskDarkleWithChannel24, 3, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskDarkleWithChannel32, 4, rkb::Args::kChannelKey, 0, 1);

// The keyed 24-bit members with pairs of one key (the pixel drawn alone; Darkle's
// misplaced pixel), the whole-register rows' slower path: OddRuns has the key's runs
// starting on odd pixels, so that every run's two edges are such pairs (two in 64
// pixels); Dithered has the key on every other pixel, so that every pair is one.
namespace {

enum class KeyLayout { kOddRuns, kDithered };

rkb::Setup Keyed24(rkt::AnyExport fn, int elem, KeyLayout layout) {
  return [fn, elem, layout](int32_t w, int32_t h) {
    struct Data {
      rkb::Block dst, src, chan, copy;
      RkSurface d{}, s{}, c{};
    };
    auto data = std::make_shared<Data>();
    std::mt19937 rng(99);
    const size_t px = size_t(w) * h;
    data->dst = rkb::Block(3 * px + 64, rkb::kDstAt, &rng);
    data->src = rkb::Block(3 * px + 64, rkb::kSrcAt, &rng);
    data->chan = rkb::Block(elem * px + 64, rkb::kChanAt, &rng);
    data->copy = rkb::Block(3 * px + 64, rkb::kCopyAt, &rng);
    const uint32_t key = 0x00FF00FF;
    for (int32_t y = 0; y < h; ++y) {
      for (int32_t x = 0; x < w; ++x) {
        const bool isKey =
            layout == KeyLayout::kOddRuns ? ((x + 1) / 16 + y / 16) % 4 == 0 : (x + y) % 2 == 0;
        if (isKey) std::memcpy(&data->src[3 * (size_t(y) * w + x)], &key, 3);
      }
    }
    auto rec = [w, h](rkb::Block &v, int bpp) {
      RkSurface r{};
      r.width = w;
      r.height = h;
      r.pitch = w * bpp;
      r.pixels = v.data();
      return r;
    };
    data->d = rec(data->dst, 3);
    data->s = rec(data->src, 3);
    data->c = rec(data->chan, elem);
    rkb::Timed t;
    rkt::BlitCall c{&data->d, 0, 0, &data->s, 0, 0, w, h, &data->c, 0, 0, 0, key};
    t.kernel = [fn, c] { rkt::CallBlit(fn, rkt::Args::kChannelKey, c); };
    t.baseline = [data, w, h] {
      for (int32_t y = 0; y < h; ++y) {
        std::memcpy(data->dst.data() + size_t(y) * w * 3, data->copy.data() + size_t(y) * w * 3,
                    size_t(w) * 3);
      }
      rkb::Clobber();
    };
    t.pixels = double(px);
    t.keep = data;
    return t;
  };
}

const auto kLight24 = reinterpret_cast<rkt::AnyExport>(&RkMaskLightWithChannel24);
const auto kDarkle24 = reinterpret_cast<rkt::AnyExport>(&RkMaskDarkleWithChannel24);
RKB_CUSTOM(RkMaskLightWithChannel24_OddRuns, Keyed24(kLight24, 2, KeyLayout::kOddRuns));
RKB_CUSTOM(RkMaskDarkleWithChannel24_OddRuns, Keyed24(kDarkle24, 1, KeyLayout::kOddRuns));
RKB_CUSTOM(RkMaskLightWithChannel24_Dithered, Keyed24(kLight24, 2, KeyLayout::kDithered));
RKB_CUSTOM(RkMaskDarkleWithChannel24_Dithered, Keyed24(kDarkle24, 1, KeyLayout::kDithered));

}  // namespace
