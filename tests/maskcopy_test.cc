// Colour-keyed copies: the differential driver, and pinned vectors for the key and
// for overlap.
#include <gtest/gtest.h>

#include "driver.h"

RKT_BLIT(RkMaskBitBlt24, 3, rkt::Args::kKey);
RKT_BLIT(RkMaskBitBlt32, 4, rkt::Args::kKey);

namespace {

TEST(MaskCopy, Pins) {
  const std::vector<uint32_t> six = {1, 2, 3, 4, 5, 6};
  // clang-format off
  rkt::CheckPins({
    // Key 0xFF00FF00 is pure green: the fourth byte of neither key nor pixel counts.
    {"32: colour bytes only", RkMaskBitBlt32, 0, 0xFF00FF00, {0x7700FF00, 0x0000FF01, 0x0000FF00}, {0xAAAAAAAA, 0xBBBBBBBB, 0xCCCCCCCC}, {0xAAAAAAAA, 0x0000FF01, 0xCCCCCCCC}},
    {"32: a copied pixel carries its fourth byte", RkMaskBitBlt32, 0, 0x123457, {0xFE123456, 0x01123456}, {0, 0}, {0xFE123456, 0x01123456}},
    // All three bytes take part; a key with its top byte set acts as its low 24 bits.
    {"24: all three bytes", RkMaskBitBlt24, 0, 0xFF123456, {0x123456, 0x133456, 0x123457}, {0x090909, 0x080808, 0x070707}, {0x090909, 0x133456, 0x123457}},
    // On one surface the units decide: the lone last pixel first, then pairs from the
    // right, each read whole before it is written. Shifting right copies; shifting left
    // each pair reads the pixel the pair right of it wrote.
    {"right by one", RkMaskBitBlt32, 0, 0xFFFFFF, six, {}, {1, 1, 2, 3, 4, 5}, {}, {}, 1, {1, 0, 0, 0, 5, 1}, 0, true},
    {"left by one, width 5", RkMaskBitBlt32, 0, 0xFFFFFF, six, {}, {2, 4, 4, 6, 6, 6}, {}, {}, 1, {0, 0, 1, 0, 5, 1}, 0, true},
    {"left by one, width 4", RkMaskBitBlt32, 0, 0xFFFFFF, six, {}, {2, 4, 4, 5, 5, 6}, {}, {}, 1, {0, 0, 1, 0, 4, 1}, 0, true},
  });
  // clang-format on
}

}  // namespace
