// Benchmark harness: each kernel is timed together with a baseline (memcpy of the
// same destination bytes) in the same run, interleaved call by call, and reported
// as pixels per second and as the ratio kernel time / baseline time.
//
// A family registers its blits in a line each:
//   RKB_BLIT(RkTrans16, 2, rkb::Args::kA, 128);          // bytes a pixel, shape, level/opacity
//   RKB_BLIT(RkTransWithChannel16, 2, rkb::Args::kChannel, 0, 1);  // channel element size
// Other shapes register a setup function that returns the timed call and its
// baseline with RKB_CUSTOM.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "blit_call.h"

namespace rkb {

using Args = rkt::Args;

// What one timed run needs: the kernel call, the baseline call, and the number of
// pixels a call produces. `keep` owns the memory both use.
struct Timed {
  std::function<void()> kernel;
  std::function<void()> baseline;
  double pixels = 0;
  std::shared_ptr<void> keep;
};
using Setup = std::function<Timed(int32_t width, int32_t height)>;

// Registers `name` at 640x480 and 1920x1080.
bool Register(const std::string &name, Setup setup);
bool RegisterBlit(const char *name, void (*fn)(), int bpp, Args args, uint32_t a, int chanElem);

}  // namespace rkb

#define RKB_CAT_(a, b) a##b
#define RKB_CAT(a, b) RKB_CAT_(a, b)
#define RKB_BLIT(fn, bpp, args, a, ...)                           \
  static const bool RKB_CAT(rkb_blit_, fn) = ::rkb::RegisterBlit( \
      #fn, reinterpret_cast<void (*)()>(&fn), bpp, args, a, 0 __VA_OPT__(+) __VA_ARGS__)
#define RKB_CUSTOM(name, setup) \
  static const bool RKB_CAT(rkb_custom_, name) = ::rkb::Register(#name, setup)
