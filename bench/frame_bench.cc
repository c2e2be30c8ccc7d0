// Plain copies.
#include "harness.h"
#include "rkpix.h"

RKB_BLIT(RkBitBlt16, 2, rkb::Args::kPlain, 0);
RKB_BLIT(RkBitBlt24, 3, rkb::Args::kPlain, 0);
RKB_BLIT(RkBitBlt32, 4, rkb::Args::kPlain, 0);
