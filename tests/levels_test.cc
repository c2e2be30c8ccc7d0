// The build offers the fast level its target architecture is meant to run: a
// toolchain whose processor name the level table misses would otherwise fall back
// to the reference walk alone, and every differential test would still pass.
#include <gtest/gtest.h>

#include <algorithm>

#include "module/dispatch.h"

namespace {

// The level a target's build must offer on any CPU it runs on, and whether the
// process must choose it (no detection can rule it out).
struct TargetLevel {
  rk::Level level;
  bool alwaysBest;
};

TargetLevel Expected() {
#if defined(__aarch64__)
  return {rk::Level::kNeon, true};
#else
  return {rk::Level::kBase, false};
#endif
}

int FastEntries(rk::Level level) {
  rk::Level saved = rk::UseLevel(level);
  const rk::KernelTable &t = rk::ActiveTable();
  int n = static_cast<int>(std::count_if(std::begin(t.fast), std::end(t.fast),
                                         [](rk::AnyFn f) { return f != nullptr; }));
  rk::UseLevel(saved);
  return n;
}

TEST(Levels, TheTargetsFastLevelIsBuiltAndHoldsEveryFastKernel) {
  const TargetLevel want = Expected();
  const std::vector<rk::Level> levels = rk::AvailableLevels();
  ASSERT_NE(std::find(levels.begin(), levels.end(), want.level), levels.end())
      << "missing level " << rk::LevelName(want.level);
  if (want.alwaysBest) {
    EXPECT_EQ(rk::BestLevel(), want.level);
  }
  EXPECT_EQ(FastEntries(rk::Level::kRef), 0);
  // Other levels may leave a kernel to the target level's copy, never the reverse.
  const int base = FastEntries(want.level);
  EXPECT_GT(base, 0);
  for (rk::Level l : levels) {
    EXPECT_LE(FastEntries(l), base) << rk::LevelName(l);
  }
}

}  // namespace
