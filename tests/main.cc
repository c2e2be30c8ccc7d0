#include <gtest/gtest.h>

#include <cstdio>

#include "driver.h"

int main(int argc, char **argv) {
  ::testing::InitGoogleTest(&argc, argv);
  rkt::RegisterDiffTests();
  std::printf("rkpix levels run: %s\n", rkt::LevelList().c_str());
  return RUN_ALL_TESTS();
}
