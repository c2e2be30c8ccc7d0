// Translucent blits: opacity 128, a random channel plane, and the harness's key
// planted in a quarter of the source pixels for the keyed members.
#include "harness.h"
#include "rkpix.h"

RKB_BLIT(RkTrans16, 2, rkb::Args::kA, 128);
RKB_BLIT(RkTrans15, 2, rkb::Args::kA, 128);
RKB_BLIT(RkTrans24, 3, rkb::Args::kA, 128);
RKB_BLIT(RkTrans32, 4, rkb::Args::kA, 128);
RKB_BLIT(RkMaskTrans16, 2, rkb::Args::kAKey, 128);
RKB_BLIT(RkMaskTrans15, 2, rkb::Args::kAKey, 128);
RKB_BLIT(RkMaskTrans24, 3, rkb::Args::kAKey, 128);
RKB_BLIT(RkMaskTrans32, 4, rkb::Args::kAKey, 128);
RKB_BLIT(RkTransWithChannel16, 2, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkTransWithChannel15, 2, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkTransWithChannel24, 3, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkTransWithChannel32, 4, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkMaskTransWithChannel16, 2, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskTransWithChannel15, 2, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskTransWithChannel24, 3, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskTransWithChannel32, 4, rkb::Args::kChannelKey, 0, 1);
