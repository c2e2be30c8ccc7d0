// Row conversions: a whole picture (640x480, 1920x1080 pixels) converted in one run,
// against a memcpy of the larger side (an RGBLight side counts its three planes). The
// `_Rows` variants convert it one row a call, as callers do, against a memcpy of the
// larger side's rows one by one.

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "harness.h"
#include "rkpix.h"

namespace {

// Argument shapes: destination arrays x source arrays.
enum class Shape { k11, k31, k13, k33 };

struct ConvBench {
  void (*fn)();
  Shape shape;
  int dstStride, srcStride;      // bytes an element of each array (plane) takes
  int dstBAt = -1, srcBAt = -1;  // where the B-plane pointer sits in the G array
  bool rows = false;             // one call a row (single arrays only)
};

constexpr size_t kMargin = 64;  // room for the one-off stores and the source byte past the end

struct ConvMemory {
  rkb::Block dst[3], src[3], copyFrom, copyTo;
  uint8_t *D(int k) { return dst[k].data() + kMargin; }
  const uint8_t *S(int k) { return src[k].data() + kMargin; }
};

rkb::Setup MakeSetup(ConvBench b) {
  return [b](int32_t w, int32_t h) {
    const size_t n = size_t(w) * h;
    const int nd = b.shape == Shape::k31 || b.shape == Shape::k33 ? 3 : 1;
    const int ns = b.shape == Shape::k13 || b.shape == Shape::k33 ? 3 : 1;
    auto m = std::make_shared<ConvMemory>();
    std::mt19937 rng(99);
    // A plane's margin comes before its first element: its elements start at the role's
    // offset, the planes of a role 320 bytes apart.
    for (int k = 0; k < nd; ++k) {
      m->dst[k] = rkb::Block(n * b.dstStride + 2 * kMargin, rkb::kDstAt + 320 * k - kMargin + 4096);
    }
    for (int k = 0; k < ns; ++k) {
      m->src[k] =
          rkb::Block(n * b.srcStride + 2 * kMargin, rkb::kSrcAt + 320 * k - kMargin + 4096, &rng);
    }
    size_t larger = std::max(n * b.dstStride * nd, n * b.srcStride * ns);
    m->copyFrom = rkb::Block(larger, rkb::kCopyAt, &rng);
    m->copyTo = rkb::Block(larger, rkb::kDstAt);
    uint8_t *dB = nd == 3 ? m->D(2) : nullptr;
    const uint8_t *sB = ns == 3 ? m->S(2) : nullptr;
    if (b.srcBAt >= 0) std::memcpy(m->src[1].data() + kMargin + b.srcBAt, &sB, sizeof sB);
    rkb::Timed t;
    auto *mp = m.get();
    const uint32_t count = static_cast<uint32_t>(n);
    switch (b.shape) {
      case Shape::k11:
        if (b.rows) {
          t.kernel = [=] {
            auto fn = reinterpret_cast<void(RKPIX_CALL *)(void *, const void *, uint32_t)>(b.fn);
            for (int32_t y = 0; y < h; ++y) {
              const size_t at = size_t(y) * w;
              fn(mp->D(0) + at * b.dstStride, mp->S(0) + at * b.srcStride, uint32_t(w));
            }
          };
        } else {
          t.kernel = [=] {
            reinterpret_cast<void(RKPIX_CALL *)(void *, const void *, uint32_t)>(b.fn)(
                mp->D(0), mp->S(0), count);
          };
        }
        break;
      case Shape::k31:
        t.kernel = [=] {
          // The conversion overwrites the G plane where the B-plane pointer sits.
          if (b.dstBAt >= 0) std::memcpy(mp->D(1) + b.dstBAt, &dB, sizeof dB);
          reinterpret_cast<void(RKPIX_CALL *)(void *, void *, void *, const void *, uint32_t)>(
              b.fn)(mp->D(0), mp->D(1), dB, mp->S(0), count);
        };
        break;
      case Shape::k13:
        t.kernel = [=] {
          reinterpret_cast<void(RKPIX_CALL *)(void *, const void *, const void *, const void *,
                                              uint32_t)>(b.fn)(mp->D(0), mp->S(0), mp->S(1), sB,
                                                               count);
        };
        break;
      case Shape::k33:
        t.kernel = [=] {
          reinterpret_cast<void(RKPIX_CALL *)(void *, void *, void *, const void *, const void *,
                                              const void *, uint32_t)>(b.fn)(
              mp->D(0), mp->D(1), dB, mp->S(0), mp->S(1), sB, count);
        };
        break;
    }
    if (b.rows) {
      t.baseline = [mp, larger, h] {
        const size_t row = larger / size_t(h);
        for (int32_t y = 0; y < h; ++y) {
          std::memcpy(mp->copyTo.data() + y * row, mp->copyFrom.data() + y * row, row);
        }
        rkb::Clobber();
      };
    } else {
      t.baseline = [mp, larger] {
        std::memcpy(mp->copyTo.data(), mp->copyFrom.data(), larger);
        rkb::Clobber();
      };
    }
    t.pixels = double(n);
    t.keep = m;
    return t;
  };
}

}  // namespace

#define RKB_CONVERT(name, ...)   \
  RKB_CUSTOM(RkBitConvert##name, \
             MakeSetup(ConvBench{reinterpret_cast<void (*)()>(&RkBitConvert##name), __VA_ARGS__}))

RKB_CONVERT(Color16ToColor15, Shape::k11, 2, 2);
RKB_CONVERT(Color16ToColor24, Shape::k11, 5, 2);
RKB_CONVERT(Color16ToColor32, Shape::k11, 4, 2);
RKB_CONVERT(Color15ToColor16, Shape::k11, 2, 2);
RKB_CONVERT(Color15ToColor24, Shape::k11, 5, 2);
RKB_CONVERT(Color15ToColor32, Shape::k11, 4, 2);
RKB_CONVERT(Color24ToColor16, Shape::k11, 2, 5);
RKB_CONVERT(Color24ToColor15, Shape::k11, 2, 5);
RKB_CONVERT(Color24ToColor32, Shape::k11, 4, 3);
RKB_CONVERT(Color32ToColor16, Shape::k11, 2, 4);
RKB_CONVERT(Color32ToColor15, Shape::k11, 2, 4);
RKB_CONVERT(Color32ToColor24, Shape::k11, 3, 4);
RKB_CONVERT(Color16ToTrans, Shape::k11, 1, 2);
RKB_CONVERT(Color16ToLight, Shape::k11, 2, 2);
RKB_CONVERT(Color15ToTrans, Shape::k11, 1, 2);
RKB_CONVERT(Color15ToLight, Shape::k11, 2, 2);
RKB_CONVERT(Color24ToTrans, Shape::k11, 1, 3);
RKB_CONVERT(Color24ToLight, Shape::k11, 2, 3);
RKB_CONVERT(Color32ToTrans, Shape::k11, 1, 4);
RKB_CONVERT(Color32ToLight, Shape::k11, 2, 4);
RKB_CONVERT(TransToColor16, Shape::k11, 2, 1);
RKB_CONVERT(TransToColor15, Shape::k11, 2, 1);
RKB_CONVERT(TransToColor24, Shape::k11, 3, 1);
RKB_CONVERT(TransToColor32, Shape::k11, 4, 1);
RKB_CONVERT(LightToColor16, Shape::k11, 2, 2);
RKB_CONVERT(LightToColor15, Shape::k11, 2, 2);
RKB_CONVERT(LightToColor24, Shape::k11, 3, 2);
RKB_CONVERT(LightToColor32, Shape::k11, 4, 2);
RKB_CONVERT(TransToLight, Shape::k11, 2, 1);
RKB_CONVERT(LightToTrans, Shape::k11, 1, 2);
RKB_CONVERT(Color16ToRGBLight16, Shape::k31, 2, 2);
RKB_CONVERT(Color16ToRGBLight32, Shape::k31, 2, 2);
RKB_CONVERT(Color15ToRGBLight16, Shape::k31, 2, 2);
RKB_CONVERT(Color15ToRGBLight32, Shape::k31, 2, 2);
RKB_CONVERT(Color24ToRGBLight16, Shape::k31, 2, 3, 16);
RKB_CONVERT(Color24ToRGBLight32, Shape::k31, 2, 3, 16);
RKB_CONVERT(Color32ToRGBLight16, Shape::k31, 2, 4);
RKB_CONVERT(Color32ToRGBLight32, Shape::k31, 2, 4);
RKB_CONVERT(TransToRGBLight16, Shape::k31, 2, 1);
RKB_CONVERT(TransToRGBLight32, Shape::k31, 2, 1);
RKB_CONVERT(LightToRGBLight16, Shape::k31, 2, 2);
RKB_CONVERT(LightToRGBLight32, Shape::k31, 2, 2);
RKB_CONVERT(RGBLight16ToColor16, Shape::k13, 2, 2);
RKB_CONVERT(RGBLight16ToColor15, Shape::k13, 2, 2);
RKB_CONVERT(RGBLight16ToColor24, Shape::k13, 3, 2, -1, 20);
RKB_CONVERT(RGBLight16ToColor32, Shape::k13, 4, 2, -1, 20);
RKB_CONVERT(RGBLight32ToColor16, Shape::k13, 2, 2);
RKB_CONVERT(RGBLight32ToColor15, Shape::k13, 2, 2);
RKB_CONVERT(RGBLight32ToColor24, Shape::k13, 3, 2, -1, 20);
RKB_CONVERT(RGBLight32ToColor32, Shape::k13, 4, 2, -1, 20);
RKB_CONVERT(RGBLight16ToTrans, Shape::k13, 1, 2);
RKB_CONVERT(RGBLight16ToLight, Shape::k13, 2, 2);
RKB_CONVERT(RGBLight32ToTrans, Shape::k13, 1, 2);
RKB_CONVERT(RGBLight32ToLight, Shape::k13, 2, 2);
RKB_CONVERT(RGBLight16ToRGBLight32, Shape::k33, 2, 2);
RKB_CONVERT(RGBLight32ToRGBLight16, Shape::k33, 2, 2);

// The members of the side-by-side comparison, one row a call.
#define RKB_CONVERT_ROWS(name, dstStride, srcStride)                                            \
  RKB_CUSTOM(RkBitConvert##name##_Rows,                                                         \
             MakeSetup(ConvBench{reinterpret_cast<void (*)()>(&RkBitConvert##name), Shape::k11, \
                                 dstStride, srcStride, -1, -1, true}))
RKB_CONVERT_ROWS(Color16ToColor32, 4, 2);
RKB_CONVERT_ROWS(Color15ToColor32, 4, 2);
RKB_CONVERT_ROWS(Color24ToColor32, 4, 3);
RKB_CONVERT_ROWS(Color32ToColor16, 2, 4);
RKB_CONVERT_ROWS(Color32ToColor15, 2, 4);
RKB_CONVERT_ROWS(Color32ToColor24, 3, 4);
RKB_CONVERT_ROWS(Color32ToTrans, 1, 4);
