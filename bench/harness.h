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
#include <random>
#include <string>
#include <vector>

#include "blit_call.h"

namespace rkb {

using Args = rkt::Args;

// Where a block sits in its page, by role. A benchmark's timings must not depend on
// where the allocator put earlier benchmarks' blocks: a load whose address matches a
// recent store's modulo 4 KiB waits for that store. So every block starts at a fixed
// offset in a page, the roles a quarter page apart: a row's loads from one block stay
// clear of its stores to another.
enum Place : size_t { kDstAt = 0, kCopyAt = 1024, kSrcAt = 2048, kChanAt = 3072 };

// n bytes (zero, or random from `rng`) at `at` bytes past a page boundary.
class Block {
 public:
  Block() = default;
  Block(size_t n, size_t at, std::mt19937 *rng = nullptr);
  Block(Block &&) = default;  // the bytes stay where they are
  Block &operator=(Block &&) = default;
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  uint8_t *data() { return p_; }
  const uint8_t *data() const { return p_; }
  size_t size() const { return n_; }
  uint8_t &operator[](size_t i) { return p_[i]; }

 private:
  std::vector<uint8_t> mem_;
  uint8_t *p_ = nullptr;
  size_t n_ = 0;
};

// What one timed run needs: the kernel call, the baseline call, and the number of
// pixels a call produces. `keep` owns the memory both use.
struct Timed {
  std::function<void()> kernel;
  std::function<void()> baseline;
  double pixels = 0;
  std::shared_ptr<void> keep;
};
using Setup = std::function<Timed(int32_t width, int32_t height)>;

// Registers `name` at 640x480 and 1920x1080 (timed.cc), or for counting (count.cc).
bool Register(const std::string &name, Setup setup);

// Takes --level=NAME (ref, base, avx2, ...: run that level instead of the best one the
// CPU runs) out of the arguments, and prints the level used. On --list-levels prints
// the levels this CPU runs, best first, and returns false.
bool TakeLevelArgs(int &argc, char **argv);

// Tells the compiler that memory was written: a baseline's copy is not optimised away.
inline void Clobber() { __asm__ volatile("" : : : "memory"); }

bool RegisterBlit(const char *name, void (*fn)(), int bpp, Args args, uint32_t a, int chanElem);

}  // namespace rkb

#define RKB_CAT_(a, b) a##b
#define RKB_CAT(a, b) RKB_CAT_(a, b)
#define RKB_BLIT(fn, bpp, args, a, ...)                           \
  static const bool RKB_CAT(rkb_blit_, fn) = ::rkb::RegisterBlit( \
      #fn, reinterpret_cast<void (*)()>(&fn), bpp, args, a, 0 __VA_OPT__(+) __VA_ARGS__)
#define RKB_CUSTOM(name, setup) \
  static const bool RKB_CAT(rkb_custom_, name) = ::rkb::Register(#name, setup)
