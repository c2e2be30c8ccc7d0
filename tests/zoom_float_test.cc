// The scalers' single-precision clip: the library's build against the same source
// built with SSE float arithmetic, over rectangles whose factors, starts and limits
// land on rounding edges. On 32-bit x86 the library runs x87 code, where a missed
// rounding of one intermediate shows here as a different start, size or limit.
#include <gtest/gtest.h>

#include <climits>
#include <sstream>

#include "toolkit.h"
#include "zoom_clip_oracle.h"

namespace {

bool OracleRuns() {
#if defined(__i386__) && (defined(__GNUC__) || defined(__clang__))
  return __builtin_cpu_supports("sse2");
#else
  return true;
#endif
}

std::string Describe(const RkSurface &d, const RkRect &dr, const RkSurface &s, const RkRect &sr) {
  std::ostringstream o;
  o << "dst " << d.width << "x" << d.height << " rect " << dr.left << "," << dr.top << ","
    << dr.right << "," << dr.bottom << "; src " << s.width << "x" << s.height << " rect " << sr.left
    << "," << sr.top << "," << sr.right << "," << sr.bottom;
  return o.str();
}

// Compares both clips (RkZoom16's factors and RkZoom32's reciprocal ones) for one
// call; returns "" or the first difference.
std::string Compare(const RkSurface &d, const RkRect &dr, const RkSurface &s, const RkRect &sr) {
  for (rk::KernelId id : {rk::KernelId::RkZoom16, rk::KernelId::RkZoom32}) {
    rk::ZoomClip lib{}, want{};
    bool libDraws = rk::ZoomClipOf(id, d, dr, s, sr, &lib);
    bool wantDraws = rkt::OracleZoomClip(id == rk::KernelId::RkZoom32, d, dr, s, sr, &want);
    if (libDraws != wantDraws || (wantDraws && !(lib == want))) {
      std::ostringstream o;
      o << rk::KernelName(id) << " " << Describe(d, dr, s, sr) << ": got " << libDraws << " "
        << lib.dx << "," << lib.dy << " from " << lib.sx << "," << lib.sy << " size " << lib.w
        << "x" << lib.h << ", want " << wantDraws << " " << want.dx << "," << want.dy << " from "
        << want.sx << "," << want.sy << " size " << want.w << "x" << want.h;
      return o.str();
    }
  }
  return "";
}

// Every pairing of small rectangle and source sizes with every small source start:
// the factor's rounding decides whether start x factor and size x factor fall just
// below an integer (2.99999976 truncates to 2) or on it.
TEST(ZoomFloat, SmallFactorsAndStartsMatchSseFloat) {
  if (!OracleRuns()) GTEST_SKIP() << "no SSE2: the oracle cannot run";
  RkSurface d{0, 4096, 4096, 0, 0, nullptr}, s{0, 0, 0, 0, 0, nullptr};
  for (int32_t dW = 1; dW <= 40; ++dW)
    for (int32_t sW = -2; sW <= 40; ++sW)
      for (int32_t left = -3; left <= 40; left += 1) {
        // x: the start scaled; y: the limit (the source's height) scaled.
        s.width = 4096;
        s.height = left + 3;
        RkRect dr{-(left & 3), 0, dW - (left & 3), dW};
        RkRect sr{left, 0, left + sW, sW};
        std::string why = Compare(d, dr, s, sr);
        ASSERT_EQ(why, "");
      }
}

// Random calls with coordinates from small to the 32-bit extremes, past 2^24 where
// a float no longer holds every integer.
TEST(ZoomFloat, RandomRectanglesMatchSseFloat) {
  if (!OracleRuns()) GTEST_SKIP() << "no SSE2: the oracle cannot run";
  rkt::Rng rng(rkt::BaseSeed() ^ 0x2F10A7);
  auto value = [&]() -> int32_t {
    switch (rng.Range(0, 5)) {
      case 0:
        return static_cast<int32_t>(rng.Range(-8, 64));
      case 1:
        return static_cast<int32_t>(rng.Range(-5000, 5000));
      case 2: {  // around a power of two, 2^24 included
        int64_t p = int64_t{1} << rng.Range(8, 30);
        return static_cast<int32_t>(rng.Chance(0.5) ? p + rng.Range(-3, 3) : -p + rng.Range(-3, 3));
      }
      case 3:
        return static_cast<int32_t>(rng.U32());
      default:
        return static_cast<int32_t>(rng.Range(INT_MAX - 4, INT_MAX)) * (rng.Chance(0.5) ? 1 : -1);
    }
  };
  const int n = rkt::CaseCount(200000);
  for (int i = 0; i < n; ++i) {
    RkSurface d{0, value(), value(), 0, 0, nullptr}, s{0, value(), value(), 0, 0, nullptr};
    RkRect dr{value(), value(), 0, 0}, sr{value(), value(), 0, 0};
    auto end = [&](int32_t start) {
      return rng.Chance(0.7) ? static_cast<int32_t>(static_cast<uint32_t>(start) +
                                                    static_cast<uint32_t>(rng.Range(1, 300)))
                             : value();
    };
    dr.right = end(dr.left);
    dr.bottom = end(dr.top);
    sr.right = end(sr.left);
    sr.bottom = end(sr.top);
    std::string why = Compare(d, dr, s, sr);
    ASSERT_EQ(why, "") << "case " << i;
  }
}

}  // namespace
