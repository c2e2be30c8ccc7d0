// Nearest scaling of calls whose destination and source bytes do not meet. A
// destination row that samples the same source row as the row above is a copy of
// it. Members that only read their source scale a row with plain loops the
// compiler vectorises for the common steps (1:1, 2x up, 2x down) and with the
// 16.16 stepper otherwise; RkZoom24 does the same with its samples first and the
// stamps into its source after them.
#include <cstring>

#include "frame/zoom.h"
#include "module/fast.h"

RK_NS_BEGIN
namespace {

// Every other pixel of a source row. The row reads twice the bytes it writes, so
// memory is what limits it: the source row sampled next (`next`, or null) is
// fetched into the cache a stretch at a time, one row ahead of the reads.
template <class T>
void HalveRow(uint8_t *d, const uint8_t *s, const uint8_t *next, size_t n) {
  constexpr size_t kStretch = 256 / sizeof(T);  // destination pixels: 8 source lines
  for (size_t i = 0; i < n; i += kStretch) {
    const size_t m = n - i < kStretch ? n - i : kStretch;
    if (next) {
      for (size_t b = 0; b < 2 * m * sizeof(T); b += 64) {
        __builtin_prefetch(next + 2 * i * sizeof(T) + b);
      }
    }
    for (size_t j = i; j < i + m; ++j) {
      T v;
      std::memcpy(&v, s + 2 * j * sizeof(T), sizeof(T));
      std::memcpy(d + j * sizeof(T), &v, sizeof(T));
    }
  }
}

template <class T>
void ScaleRow(uint8_t *d, const uint8_t *s, const uint8_t *next, size_t n, uint32_t stepX) {
  auto ld = [s](size_t i) {
    T v;
    std::memcpy(&v, s + i * sizeof(T), sizeof(T));
    return v;
  };
  auto st = [d](size_t i, T v) { std::memcpy(d + i * sizeof(T), &v, sizeof(T)); };
  switch (stepX) {
    case 0x10000:
      std::memcpy(d, s, n * sizeof(T));
      return;
    case 0x8000:  // every source pixel twice
      for (size_t i = 0; i < n / 2; ++i) {
        T v = ld(i);
        st(2 * i, v);
        st(2 * i + 1, v);
      }
      if (n & 1) st(n - 1, ld(n / 2));
      return;
    case 0x20000:
      HalveRow<T>(d, s, next, n);
      return;
    default: {
      Step16 fx;
      size_t col = 0;
      for (size_t i = 0; i < n; ++i) {
        st(i, ld(col));
        col += fx.Next(stepX);
      }
    }
  }
}

// A 24-bit row: destination pixel i gets bytes (b0, b1, b0) of the source pixel it
// samples, whose byte 2 then becomes its byte 0. The destination never meets the
// source here and no sample reads a byte 2, so all samples may come first and the
// stamps after them; the common steps then run as plain loops over bytes.
void StampRow24(uint8_t *__restrict d, uint8_t *__restrict s, size_t n, uint32_t stepX) {
  auto samples = [&](auto col) {
    for (size_t i = 0; i < n; ++i) {
      const size_t c = col(i);
      d[3 * i] = s[3 * c];
      d[3 * i + 1] = s[3 * c + 1];
      d[3 * i + 2] = s[3 * c];
    }
  };
  auto stamps = [&](size_t count, size_t stride) {
    for (size_t j = 0; j < count; ++j) s[3 * stride * j + 2] = s[3 * stride * j];
  };
  switch (stepX) {
    case 0x10000:
      samples([](size_t i) { return i; });
      stamps(n, 1);
      return;
    case 0x8000:  // every source pixel twice
      samples([](size_t i) { return i / 2; });
      stamps((n + 1) / 2, 1);
      return;
    case 0x20000:
      samples([](size_t i) { return 2 * i; });
      stamps(n, 2);
      return;
    default: {
      Step16 fx;
      for (size_t i = 0; i < n; ++i) {
        uint8_t *sample = s;
        s = AddrAdd(s, Units(fx.Next(stepX), 3));
        Zoom24::Sample(RawMem{}, RawMem{}, d + 3 * i, sample);
      }
    }
  }
}

template <class K>
void ZoomFast(const ZoomArgs &a) {
  const size_t n = static_cast<size_t>(a.w), rowBytes = n * K::kBpp;
  const uint32_t stepX = a.stepX, stepY = a.stepY;
  const intptr_t dPitch = a.dPitch, sPitch = a.sPitch;
  const bool rowsApart = static_cast<size_t>(dPitch < 0 ? -dPitch : dPitch) >= rowBytes;
  uint8_t *d = a.d, *s = a.s, *prevD = nullptr, *prevS = nullptr;
  Step16 fy;
  uint8_t *next = s;
  for (int64_t y = 0; y < a.h; ++y) {
    s = next;
    next = AddrAdd(s, Units(fy.Next(stepY), sPitch));
    if (prevD && s == prevS && rowsApart) {
      std::memcpy(d, prevD, rowBytes);
    } else if constexpr (K::kWritesSrc) {
      StampRow24(d, s, n, stepX);
    } else {
      // Only a hint: the address is never read unless it is the next row's.
      ScaleRow<typename K::Word>(d, s, y + 1 < a.h ? next : nullptr, n, stepX);
    }
    prevD = d;
    prevS = s;
    d = AddrAdd(d, dPitch);
  }
}

}  // namespace
RK_NS_END

RK_FAST_FAMILY(zoom) {
  t.Set(KernelId::RkZoom16, &ZoomFast<Zoom16>);
  t.Set(KernelId::RkZoom24, &ZoomFast<Zoom24>);
  t.Set(KernelId::RkZoom32, &ZoomFast<Zoom32>);
}
