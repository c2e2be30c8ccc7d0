// Brightness blits through a random channel plane; keyed members with the harness's
// key planted in a quarter of the source pixels.
#include "harness.h"
#include "rkpix.h"

RKB_BLIT(RkLightWithChannel16, 2, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkLightWithChannel15, 2, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkLightWithChannel24, 3, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkLightWithChannel32, 4, rkb::Args::kChannel, 0, 2);
RKB_BLIT(RkDarkleWithChannel16, 2, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkDarkleWithChannel15, 2, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkDarkleWithChannel24, 3, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkDarkleWithChannel32, 4, rkb::Args::kChannel, 0, 1);
RKB_BLIT(RkMaskLightWithChannel16, 2, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskLightWithChannel15, 2, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskLightWithChannel24, 3, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskLightWithChannel32, 4, rkb::Args::kChannelKey, 0, 2);
RKB_BLIT(RkMaskDarkleWithChannel16, 2, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskDarkleWithChannel15, 2, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskDarkleWithChannel24, 3, rkb::Args::kChannelKey, 0, 1);
RKB_BLIT(RkMaskDarkleWithChannel32, 4, rkb::Args::kChannelKey, 0, 1);
