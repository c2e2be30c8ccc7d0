// Nearest scaling of calls whose destination and source bytes do not meet. A
// destination row that samples the same source row as the row above is a copy of
// it. Members that only read their source scale a row with plain loops the
// compiler vectorises for the common steps (1:1, 2x up, 2x down) and with the
// 16.16 stepper otherwise; RkZoom24 keeps the reference's order in every row
// (destination pixel, then the stamp into its source pixel).
#include <cstring>

#include "frame/zoom.h"
#include "module/fast.h"

RK_NS_BEGIN
namespace {

template <class T>
void ScaleRow(uint8_t *d, const uint8_t *s, size_t n, uint32_t stepX) {
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
    case 0x20000:  // every other source pixel
      for (size_t i = 0; i < n; ++i) st(i, ld(2 * i));
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

template <class K>
void StampRow(uint8_t *d, uint8_t *s, size_t n, uint32_t stepX) {
  Step16 fx;
  for (size_t i = 0; i < n; ++i) {
    uint8_t *sample = s;
    s = AddrAdd(s, Units(fx.Next(stepX), K::kBpp));
    K::Sample(RawMem{}, RawMem{}, d + i * K::kBpp, sample);
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
  for (int64_t y = 0; y < a.h; ++y) {
    if (prevD && s == prevS && rowsApart) {
      std::memcpy(d, prevD, rowBytes);
    } else if constexpr (K::kWritesSrc) {
      StampRow<K>(d, s, n, stepX);
    } else {
      ScaleRow<typename K::Word>(d, s, n, stepX);
    }
    prevD = d;
    prevS = s;
    s = AddrAdd(s, Units(fy.Next(stepY), sPitch));
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
