// The checked build reports arguments outside the contract, one line each, and
// otherwise draws exactly what the normal build draws (the rest of the suite runs
// on it too). Built into the suite only when RKPIX_CHECKED is on.
#if defined(RKPIX_CHECKED)
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "rkpix.h"

namespace {

TEST(Checked, ReportsOutOfContractArgumentsOnce) {
  std::vector<uint16_t> a(16, 0x1234), b(16, 0x4321);
  RkSurface dst{0, 4, 4, 8, 0, a.data()}, src{0, 4, 4, 8, 0, b.data()};
  struct {
    uint32_t opacity;
    bool reported;
  } rows[] = {{0, false}, {255, false}, {256, true}, {0xFFFFFFFFu, true}};
  for (auto &r : rows) {
    testing::internal::CaptureStderr();
    RkTrans16(&dst, 0, 0, &src, 0, 0, 4, 4, r.opacity);
    std::string out = testing::internal::GetCapturedStderr();
    if (r.reported) {
      EXPECT_NE(out.find("rkpix: RkTrans16: level or opacity " + std::to_string(r.opacity)),
                std::string::npos)
          << out;
      EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1) << out;
    } else {
      EXPECT_EQ(out, "");
    }
  }
  testing::internal::CaptureStderr();
  RkBitBlt16(&dst, 0, 0, &src, 0, 0, 4, 4);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
#endif
