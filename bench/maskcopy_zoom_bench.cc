// Colour-keyed copies (a quarter of the source pixels carry the key) and nearest
// scaling.
#include "harness.h"
#include "rkpix.h"

RKB_BLIT(RkMaskBitBlt24, 3, rkb::Args::kKey, 0);
RKB_BLIT(RkMaskBitBlt32, 4, rkb::Args::kKey, 0);
