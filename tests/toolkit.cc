#include "toolkit.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace rkt {

Rng::Rng(uint64_t seed) {
  for (auto &s : s_) {
    seed += 0x9E3779B97F4A7C15ull;
    uint64_t z = seed;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    s = z ^ (z >> 31);
  }
}

namespace {
uint64_t TapeSeed(const uint8_t *tape, size_t n) {
  uint64_t h = 1469598103934665603ull;
  for (size_t i = 0; i < n; ++i) h = (h ^ tape[i]) * 1099511628211ull;
  return h;
}
}  // namespace

Rng::Rng(const uint8_t *tape, size_t n) : Rng(TapeSeed(tape, n)) {
  tape_ = tape;
  tapeLeft_ = n;
}

uint64_t Rng::Next() {
  if (tapeLeft_ >= 8) {
    uint64_t v = 0;
    for (int i = 0; i < 8; ++i) v |= uint64_t{tape_[i]} << (8 * i);
    tape_ += 8;
    tapeLeft_ -= 8;
    return v;
  }
  tapeLeft_ = 0;
  auto rotl = [](uint64_t x, int k) { return (x << k) | (x >> (64 - k)); };
  uint64_t result = rotl(s_[1] * 5, 7) * 9;
  uint64_t t = s_[1] << 17;
  s_[2] ^= s_[0];
  s_[3] ^= s_[1];
  s_[1] ^= s_[2];
  s_[0] ^= s_[3];
  s_[2] ^= t;
  s_[3] = rotl(s_[3], 45);
  return result;
}

int64_t Rng::Range(int64_t lo, int64_t hi) {
  uint64_t span = static_cast<uint64_t>(hi - lo) + 1;
  if (span == 0) return static_cast<int64_t>(Next());
  return lo + static_cast<int64_t>(Next() % span);
}

void Rng::Fill(uint8_t *p, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    uint64_t r = Next();
    p[i] = (r & 7) == 0 ? 0 : (r & 7) == 1 ? 0xFF : static_cast<uint8_t>(r >> 40);
  }
}

uint64_t BaseSeed() {
  const char *s = std::getenv("RKPIX_TEST_SEED");
  return s ? std::strtoull(s, nullptr, 0) : 0x5EED0001ull;
}

int CaseCount(int defaultCount) {
  const char *s = std::getenv("RKPIX_TEST_CASES");
  if (!s) return defaultCount;
  double f = std::strtod(s, nullptr);
  return std::max(1, static_cast<int>(defaultCount * f));
}

#if defined(_WIN32)
size_t PageSize() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}
void *ReservePages(size_t n) { return VirtualAlloc(nullptr, n, MEM_RESERVE, PAGE_NOACCESS); }
void OpenPages(void *p, size_t n) {
  if (!VirtualAlloc(p, n, MEM_COMMIT, PAGE_READWRITE)) std::abort();
}
void ClosePages(void *p, size_t n) {
  if (!VirtualFree(p, n, MEM_DECOMMIT)) std::abort();
}
void ReleasePages(void *p, size_t) { VirtualFree(p, 0, MEM_RELEASE); }
#else
size_t PageSize() { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }
void *ReservePages(size_t n) {
  void *p = mmap(nullptr, n, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return p == MAP_FAILED ? nullptr : p;
}
void OpenPages(void *p, size_t n) {
  if (mprotect(p, n, PROT_READ | PROT_WRITE) != 0) std::abort();
}
void ClosePages(void *p, size_t n) {
  if (mprotect(p, n, PROT_NONE) != 0) std::abort();
}
void ReleasePages(void *p, size_t n) { munmap(p, n); }
#endif

Bytes::Bytes(size_t n, Guard guard) : size_(n) {
  if (guard == kNone) {
    data_ = static_cast<uint8_t *>(std::malloc(n ? n : 1));
    return;
  }
  size_t page = PageSize();
  size_t body = (n + page - 1) / page * page;
  mapSize_ = body + 2 * page;
  map_ = ReservePages(mapSize_);
  if (!map_) std::abort();
  auto *base = static_cast<uint8_t *>(map_) + page;
  if (body) OpenPages(base, body);
  data_ = guard == kGuardAfter ? base + (body - n) : base;
}

Bytes::Bytes(Bytes &&o) noexcept
    : data_(o.data_), size_(o.size_), map_(o.map_), mapSize_(o.mapSize_) {
  o.data_ = nullptr;
  o.map_ = nullptr;
}

Bytes &Bytes::operator=(Bytes &&o) noexcept {
  std::swap(data_, o.data_);
  std::swap(size_, o.size_);
  std::swap(map_, o.map_);
  std::swap(mapSize_, o.mapSize_);
  return *this;
}

Bytes::~Bytes() {
  if (map_) {
    ReleasePages(map_, mapSize_);
  } else {
    std::free(data_);
  }
}

Bytes::Guard &World::DefaultGuard() {
  static Bytes::Guard g = Bytes::kNone;
  return g;
}
bool &World::LargeSurfaces() {
  static bool large = true;
  return large;
}

int World::AddBuffer(Rng &rng, size_t n) {
  bufs.push_back(Buffer{Bytes(n, guard), {}});
  rng.Fill(bufs.back().bytes.data(), n);
  return static_cast<int>(bufs.size()) - 1;
}

SurfaceShape RandomShape(Rng &rng, int elem, int32_t maxW, int32_t maxH) {
  SurfaceShape s;
  s.width = static_cast<int32_t>(rng.Chance(0.03) ? rng.Range(-3, 0) : rng.Range(1, maxW));
  s.height = static_cast<int32_t>(rng.Chance(0.03) ? rng.Range(-3, 0) : rng.Range(1, maxH));
  int32_t row = std::max(s.width, 0) * elem;
  const int64_t mode = rng.Range(0, 9);
  if (mode < 3) {
    s.pitch = row;
  } else if (mode < 6) {
    s.pitch = row + static_cast<int32_t>(rng.Range(1, 16));
  } else if (mode < 8) {
    s.pitch = -(row + static_cast<int32_t>(rng.Range(0, 8)));
  } else if (mode == 8) {
    s.pitch = static_cast<int32_t>(rng.Range(0, std::max(row - 1, 0)));
    if (rng.Chance(0.3)) s.pitch = -s.pitch;
  } else {
    s.pitch = 0;
  }
  return s;
}

std::pair<int64_t, int64_t> Owned(const SurfaceShape &s, int elem) {
  if (s.width <= 0 || s.height <= 0) return {0, 0};
  int64_t row = std::max<int64_t>(std::llabs(int64_t{s.pitch}), int64_t{s.width} * elem);
  int64_t last = int64_t{s.height - 1} * s.pitch;
  return {std::min<int64_t>(0, last), std::max<int64_t>(0, last) + row};
}

RkSurface Place(World &w, int buf, const SurfaceShape &s, int elem, int64_t at, bool writable) {
  auto [lo, hi] = Owned(s, elem);
  RkSurface r{};
  r.reserved0 = 0x0BADF00D;
  r.reserved4 = 0x0BADF00D;
  r.width = s.width;
  r.height = s.height;
  r.pitch = s.pitch;
  r.pixels = w.Data(buf) + (at - lo);
  if (writable && hi > lo) w.Allow(buf, at, at + (hi - lo));
  return r;
}

RkSurface NewSurface(World &w, Rng &rng, const SurfaceShape &s, int elem, bool writable,
                     int *bufOut) {
  auto [lo, hi] = Owned(s, elem);
  int64_t before = 0, after = 0;
  if (w.guard == Bytes::kNone) {
    before = rng.Range(0, 64);
    after = rng.Range(0, 64) + 1;
  }
  // An empty surface still gets a buffer to point into.
  int buf = w.AddBuffer(rng, static_cast<size_t>(before + (hi - lo) + after));
  if (bufOut) *bufOut = buf;
  RkSurface r = Place(w, buf, s, elem, before, writable);
  if (hi <= lo) r.pixels = w.Data(buf) + before;
  return r;
}

std::string CompareLevels(World &w, const std::function<void()> &call) {
  auto copy = [](Bytes &b) { return std::vector<uint8_t>(b.begin(), b.end()); };
  auto restore = [](Bytes &b, const std::vector<uint8_t> &v) {
    if (!v.empty()) std::memcpy(b.data(), v.data(), v.size());
  };
  std::vector<std::vector<uint8_t>> first, want;
  for (auto &b : w.bufs) first.push_back(copy(b.bytes));
  rk::Level saved = rk::UseLevel(rk::Level::kRef);
  call();
  for (auto &b : w.bufs) want.push_back(copy(b.bytes));
  std::ostringstream why;
  // The reference must leave every byte outside the allowed ranges alone.
  for (size_t i = 0; i < w.bufs.size() && why.str().empty(); ++i) {
    const auto &allowed = w.bufs[i].allowed;
    for (size_t j = 0; j < first[i].size(); ++j) {
      if (first[i][j] == want[i][j]) continue;
      auto j64 = static_cast<int64_t>(j);
      bool ok = std::any_of(allowed.begin(), allowed.end(),
                            [&](auto &r) { return j64 >= r.first && j64 < r.second; });
      if (!ok) {
        why << "reference wrote outside the surfaces: buffer " << i << " byte " << j << " "
            << int{first[i][j]} << " -> " << int{want[i][j]};
        break;
      }
    }
  }
  for (rk::Level level : rk::AvailableLevels()) {
    if (level == rk::Level::kRef || !why.str().empty()) continue;
    for (size_t i = 0; i < w.bufs.size(); ++i) restore(w.bufs[i].bytes, first[i]);
    rk::UseLevel(level);
    call();
    for (size_t i = 0; i < w.bufs.size(); ++i) {
      auto &got = w.bufs[i].bytes;
      auto mis = std::mismatch(got.begin(), got.end(), want[i].begin());
      if (mis.first != got.end()) {
        auto j = mis.first - got.begin();
        why << "level " << rk::LevelName(level) << " differs from the reference: buffer " << i
            << " byte " << j << " got " << int{*mis.first} << " want " << int{*mis.second};
        break;
      }
    }
  }
  for (size_t i = 0; i < w.bufs.size(); ++i) restore(w.bufs[i].bytes, want[i]);
  rk::UseLevel(saved);
  return why.str();
}

std::string LevelList() {
  std::string s;
  for (rk::Level l : rk::AvailableLevels())
    s += std::string(s.empty() ? "" : ", ") + rk::LevelName(l);
  return s;
}

}  // namespace rkt
