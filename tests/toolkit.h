// Test toolkit: random numbers, memory worlds with margins, and the comparison of
// every level against the reference walk.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "module/dispatch.h"
#include "rkpix.h"

namespace rkt {

// xoshiro256** seeded through splitmix64: fast, and the same sequence everywhere.
class Rng {
 public:
  explicit Rng(uint64_t seed);
  // Draws its first numbers from `tape` (8 bytes each, for a fuzzer's input to steer
  // every choice), then continues from a seed made of the whole tape.
  Rng(const uint8_t *tape, size_t n);
  uint64_t Next();
  uint32_t U32() { return static_cast<uint32_t>(Next() >> 32); }
  // Uniform in [lo, hi].
  int64_t Range(int64_t lo, int64_t hi);
  bool Chance(double p) { return (Next() >> 11) * 0x1.0p-53 < p; }
  // Bytes biased towards 0x00 and 0xFF, where masks and saturation show.
  void Fill(uint8_t *p, size_t n);
  template <class T>
  const T &Pick(const std::vector<T> &v) {
    return v[static_cast<size_t>(Range(0, static_cast<int64_t>(v.size()) - 1))];
  }

 private:
  uint64_t s_[4];
  const uint8_t *tape_ = nullptr;
  size_t tapeLeft_ = 0;
};

// Base seed and case count for the randomised tests (RKPIX_TEST_SEED,
// RKPIX_TEST_CASES scale them from the environment; the library reads none).
uint64_t BaseSeed();
int CaseCount(int defaultCount);

// Address space for guard pages: reserved inaccessible (nullptr when the process
// cannot reserve that much), then opened (and closed again) page by page for
// reading and writing.
size_t PageSize();
void *ReservePages(size_t n);
void OpenPages(void *p, size_t n);
void ClosePages(void *p, size_t n);
void ReleasePages(void *p, size_t n);

// Heap bytes, or bytes flush against an inaccessible page (after the last byte, or
// before the first) so that an access past that end faults at once. They never move.
class Bytes {
 public:
  enum Guard { kNone, kGuardAfter, kGuardBefore };
  Bytes(size_t n, Guard guard);
  Bytes(Bytes &&o) noexcept;
  Bytes &operator=(Bytes &&o) noexcept;
  ~Bytes();
  uint8_t *data() { return data_; }
  const uint8_t *data() const { return data_; }
  size_t size() const { return size_; }
  uint8_t &operator[](size_t i) { return data_[i]; }
  uint8_t *begin() { return data_; }
  uint8_t *end() { return data_ + size_; }

 private:
  uint8_t *data_ = nullptr;
  size_t size_ = 0;
  void *map_ = nullptr;
  size_t mapSize_ = 0;
};

// The buffers calls read and write; `allowed`: the byte ranges a call may change. With
// `guard` set, new buffers sit against an inaccessible page and surfaces get no margins.
struct World {
  struct Buffer {
    Bytes bytes;
    std::vector<std::pair<int64_t, int64_t>> allowed;  // [lo, hi) within bytes
  };
  std::vector<Buffer> bufs;
  Bytes::Guard guard = DefaultGuard();

  // The guard new worlds start with (the drivers alternate it from case to case).
  static Bytes::Guard &DefaultGuard();
  // Whether cases may build surfaces of megabytes (the fuzzer turns it off: such cases
  // would take nearly all of its time, and the test suite runs them).
  static bool &LargeSurfaces();

  // Adds a buffer of n random bytes; returns its index.
  int AddBuffer(Rng &rng, size_t n);
  uint8_t *Data(int buf) { return bufs[static_cast<size_t>(buf)].bytes.data(); }
  void Allow(int buf, int64_t lo, int64_t hi) {
    bufs[static_cast<size_t>(buf)].allowed.emplace_back(lo, hi);
  }
};

// A surface's size and pitch (exact, padded, negative, smaller than a row, or 0).
struct SurfaceShape {
  int32_t width, height, pitch;
};
SurfaceShape RandomShape(Rng &rng, int elem, int32_t maxW, int32_t maxH);
// Offsets [lo, hi) from pixels of the bytes the surface owns (empty for width or
// height of 0 or less).
std::pair<int64_t, int64_t> Owned(const SurfaceShape &s, int elem);
// Puts a surface into buffer `buf` (which must be large enough) with its owned
// bytes starting at byte `at`; `writable` allows calls to change those bytes.
RkSurface Place(World &w, int buf, const SurfaceShape &s, int elem, int64_t at, bool writable);
// A new buffer holding the surface between margins of 0..64 bytes.
RkSurface NewSurface(World &w, Rng &rng, const SurfaceShape &s, int elem, bool writable,
                     int *bufOut = nullptr);

// Runs `call` at every level on copies of the world, each compared byte for byte with
// the reference level's result, which must change nothing outside the allowed ranges.
// Returns "" or a report of the first difference.
std::string CompareLevels(World &w, const std::function<void()> &call);

// Levels this binary and CPU run, for the report.
std::string LevelList();

}  // namespace rkt
