// Hostile arguments: every registered blit on every level with positions and sizes
// at the 32-bit extremes, surfaces with a pitch of 0 or INT_MIN, surfaces with no
// pixels (whose memory is an inaccessible page), and levels and keys at their
// extremes. Whatever is drawn, every call must return without touching memory
// outside its surfaces: all of it sits against inaccessible pages.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

#include "driver.h"

namespace {

// An inaccessible reservation a surface is laid into, kept from one surface to the
// next: mapping and unmapping gigabytes per call leaks the page tables of an
// emulator (qemu-user) until it runs out of memory, reusing the range does not.
// Get gives null when the process cannot reserve that much (a 32-bit process and
// the 2 GiB a pitch of INT_MIN claims, all of which the library may touch).
struct Reservation {
  uint8_t *map = nullptr;
  size_t size = 0;
  uint8_t *Get(size_t n) {
    if (n > size) {
      if (map) rkt::ReleasePages(map, size);
      map = static_cast<uint8_t *>(rkt::ReservePages(n));
      size = map ? n : 0;
    }
    return map;
  }
};

// A surface record over its own part of a reservation: the bytes it owns are
// readable and writable (all of them, or the first `open` bytes when it claims more
// than a test can map), everything around them is not. `rec.pixels` stays null when
// the claim cannot be reserved.
struct HostileSurface {
  RkSurface rec{};
  uint8_t *first = nullptr;
  size_t len = 0;

  HostileSurface(int32_t w, int32_t h, int32_t pitch, int elem, Reservation &where, rkt::Rng &rng) {
    rec = RkSurface{0, w, h, pitch, 0, nullptr};
    auto [lo, hi] = rkt::Owned({w, h, pitch}, elem);
    size_t page = rkt::PageSize();
    size_t claimed = static_cast<size_t>(hi - lo);
    size_t open = std::min<size_t>(claimed, 1 << 16);
    size_t body = (claimed + page - 1) / page * page;
    uint8_t *map = where.Get(body + 2 * page);
    if (!map) return;
    uint8_t *start = map + page;
    if (claimed == open) start += body - claimed;  // flush against the page after it
    if (open) {
      first = reinterpret_cast<uint8_t *>(reinterpret_cast<uintptr_t>(start) / page * page);
      len = (start + open - first + page - 1) / page * page;
      rkt::OpenPages(first, len);
      rng.Fill(start, open);
    }
    rec.pixels = start - lo;  // no pixels: the pointer is an inaccessible page
  }
  ~HostileSurface() {
    if (len) rkt::ClosePages(first, len);
  }
};

// The reservations of a call's destination, source and channel plane.
Reservation &Slot(int i) {
  static Reservation slots[3];
  return slots[i];
}

// Ordinary rows, pitch 0, pitch INT_MIN, no pixels, negative sizes, a huge negative
// width, rows closer than their pixels.
std::unique_ptr<HostileSurface> Make(rkt::Rng &rng, int elem, int slot) {
  static const int32_t kShapes[][4] = {{9, 3, 9, 0},  {9, 4, 0, 0},    {9, 1, 0, INT_MIN},
                                       {0, 3, 0, 8},  {-5, -5, 0, -8}, {INT_MIN, 2, 0, 4},
                                       {6, 5, -6, -2}};  // width, height, pitch = a x elem + b
  for (;;) {
    const int32_t *s = kShapes[rng.Range(0, 6)];
    auto surface =
        std::make_unique<HostileSurface>(s[0], s[1], s[2] * elem + s[3], elem, Slot(slot), rng);
    if (surface->rec.pixels) return surface;
  }
}

int32_t Extreme(rkt::Rng &rng) {
  static const int32_t v[] = {INT_MIN, INT_MIN + 1, -65536, -2,          0,
                              1,       3,           65536,  INT_MAX - 1, INT_MAX};
  return v[rng.Range(0, 9)];
}

uint32_t ExtremeU(rkt::Rng &rng) {
  static const uint32_t v[] = {0,      1,       255,        256,         0x7FFF,
                               0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000u, 0xFFFFFFFFu};
  return v[rng.Range(0, 9)];
}

// One axis of a blit: the two start positions and the size. Besides extremes, it
// makes the starts that wrap around in the clipping arithmetic and still draw: the
// "clipped" rectangle then lies far outside one surface.
void Axis(rkt::Rng &rng, int32_t &d, int32_t &s, int32_t &size) {
  auto r = [&](int64_t lo, int64_t hi) { return static_cast<int32_t>(rng.Range(lo, hi)); };
  const int64_t kind = rng.Range(0, 3);
  if (kind == 0) {
    d = Extreme(rng), s = Extreme(rng), size = Extreme(rng);
  } else if (kind == 1) {
    d = r(-3, 10), s = r(-3, 10), size = r(-1, 12);
  } else {  // the destination's start wraps, or the source's
    int32_t &wraps = kind == 2 ? d : s, &other = kind == 2 ? s : d;
    wraps = INT_MAX - r(0, 3);
    other = -65536 - r(0, 3);
    size = INT_MAX;
  }
}

TEST(Hostile, ExtremeArgumentsStayInsideTheSurfaces) {
  for (const rkt::BlitEntry &e : rkt::BlitEntries()) {
    for (uint64_t i = 0; i < 300; ++i) {
      rkt::Rng rng(rkt::BaseSeed() + i);
      auto dst = Make(rng, e.shape.bpp, 0);
      auto src = rng.Chance(0.2) ? nullptr : Make(rng, e.shape.bpp, 1);
      auto chan = Make(rng, e.shape.chanElem ? e.shape.chanElem : 1, 2);
      rkt::BlitCall c{};
      c.dst = &dst->rec;
      c.src = src ? &src->rec : &dst->rec;
      c.chan = &chan->rec;
      Axis(rng, c.dstX, c.srcX, c.width);
      Axis(rng, c.dstY, c.srcY, c.height);
      c.chX = rng.Chance(0.5) ? 0 : Extreme(rng);
      c.chY = rng.Chance(0.5) ? 0 : Extreme(rng);
      c.a = ExtremeU(rng);
      c.b = ExtremeU(rng);
      for (rk::Level level : rk::AvailableLevels()) {
        rk::Level saved = rk::UseLevel(level);
        rkt::CallBlit(e, c);
        rk::UseLevel(saved);
      }
    }
  }
}

TEST(Hostile, ZoomExtremesStayInsideTheSurfaces) {
  using ZoomFn =
      void(RKPIX_CALL *)(const RkSurface *, const RkRect *, const RkSurface *, const RkRect *);
  const struct {
    ZoomFn fn;
    int bpp;
  } zooms[] = {{&RkZoom16, 2}, {&RkZoom24, 3}, {&RkZoom32, 4}};
  for (const auto &z : zooms) {
    for (uint64_t i = 0; i < 400; ++i) {
      rkt::Rng rng(rkt::BaseSeed() + i);
      auto dst = Make(rng, z.bpp, 0), src = Make(rng, z.bpp, 1);
      auto side = [&] {
        return rng.Chance(0.5) ? Extreme(rng) : static_cast<int32_t>(rng.Range(-3, 12));
      };
      RkRect d{side(), side(), side(), side()}, s{side(), side(), side(), side()};
      for (rk::Level level : rk::AvailableLevels()) {
        rk::Level saved = rk::UseLevel(level);
        z.fn(&dst->rec, &d, &src->rec, &s);
        rk::UseLevel(saved);
      }
    }
  }
}

}  // namespace
