#include "harness.h"

#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "module/dispatch.h"
#include "rkpix.h"

namespace rkb {

Block::Block(size_t n, size_t at, std::mt19937 *rng) : mem_(n + at + 4096), n_(n) {
  const auto addr = reinterpret_cast<uintptr_t>(mem_.data());
  p_ = mem_.data() + ((4096 - addr % 4096) % 4096 + at % 4096);
  if (rng != nullptr) {
    for (size_t i = 0; i < n; ++i) p_[i] = static_cast<uint8_t>((*rng)());
  }
}

namespace {

struct Surface {
  Block bytes;
  RkSurface rec{};
  Surface(int32_t w, int32_t h, int elem, size_t at, std::mt19937 &rng)
      : bytes(size_t(w) * h * elem + 64, at, &rng) {
    rec.width = w;
    rec.height = h;
    rec.pitch = w * elem;
    rec.pixels = bytes.data();
  }
};

struct BlitSetup {
  Surface dst, src, chan, copySrc;
};

}  // namespace

bool RegisterBlit(const char *name, void (*fn)(), int bpp, Args args, uint32_t a, int chanElem) {
  return Register(name, [=](int32_t w, int32_t h) {
    std::mt19937 rng(1234);
    auto s = std::make_shared<BlitSetup>(BlitSetup{
        Surface(w, h, bpp, kDstAt, rng), Surface(w, h, bpp, kSrcAt, rng),
        Surface(w, h, chanElem ? chanElem : 1, kChanAt, rng), Surface(w, h, bpp, kCopyAt, rng)});
    // A quarter of the source pixels carry the key, in runs as sprites have them.
    uint32_t key = 0x00FF00FFu & (bpp == 2 ? 0xFFFFu : 0xFFFFFFu);
    if (args == Args::kKey || args == Args::kAKey || args == Args::kChannelKey) {
      uint8_t *p = s->src.bytes.data();
      for (int32_t y = 0; y < h; ++y)
        for (int32_t x = 0; x < w; ++x)
          if ((x / 16 + y / 16) % 4 == 0)
            std::memcpy(p + (size_t(y) * w + x) * bpp, &key,
                        static_cast<size_t>(bpp == 4 ? 3 : bpp));
    }
    Timed t;
    rkt::BlitCall c{&s->dst.rec, 0, 0, &s->src.rec, 0, 0, w, h, &s->chan.rec, 0, 0, a, key};
    t.kernel = [=] { rkt::CallBlit(fn, args, c); };
    // The baseline: memcpy of the destination rectangle, row by row.
    t.baseline = [s, w, h, bpp] {
      for (int32_t y = 0; y < h; ++y) {
        std::memcpy(s->dst.bytes.data() + size_t(y) * s->dst.rec.pitch,
                    s->copySrc.bytes.data() + size_t(y) * w * bpp, size_t(w) * bpp);
      }
      Clobber();
    };
    t.pixels = double(w) * h;
    t.keep = s;
    return t;
  });
}

bool TakeLevelArgs(int &argc, char **argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--list-levels") == 0) {
      std::printf("levels:");
      auto levels = rk::AvailableLevels();
      for (auto l = levels.rbegin(); l != levels.rend(); ++l) std::printf(" %s", rk::LevelName(*l));
      std::printf("\n");
      return false;
    }
    if (std::strncmp(argv[i], "--level=", 8) != 0) continue;
    for (rk::Level l : rk::AvailableLevels()) {
      if (std::string(argv[i] + 8) == rk::LevelName(l)) rk::UseLevel(l);
    }
    for (int j = i; j + 1 < argc; ++j) argv[j] = argv[j + 1];
    --argc;
    --i;
  }
  std::printf("rkpix level: %s\n", rk::LevelName(rk::ActiveTable().level));
  return true;
}

}  // namespace rkb
