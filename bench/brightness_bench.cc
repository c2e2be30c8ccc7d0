// Brightness blits with a level, at level 200 (darkening) and 300 (brightening);
// masked members with the harness's key planted in a quarter of the source pixels.
#include "harness.h"
#include "rkpix.h"

#define RKB_LEVELS(fn, bpp, args)                                                            \
  static const bool RKB_CAT(rkb_l200_, fn) =                                                 \
      ::rkb::RegisterBlit(#fn "/200", reinterpret_cast<void (*)()>(&fn), bpp, args, 200, 0); \
  static const bool RKB_CAT(rkb_l300_, fn) =                                                 \
      ::rkb::RegisterBlit(#fn "/300", reinterpret_cast<void (*)()>(&fn), bpp, args, 300, 0)

RKB_LEVELS(RkLight16, 2, rkb::Args::kA);
RKB_LEVELS(RkLight15, 2, rkb::Args::kA);
RKB_LEVELS(RkLight24, 3, rkb::Args::kA);
RKB_LEVELS(RkLight32, 4, rkb::Args::kA);
RKB_LEVELS(RkDarkle16, 2, rkb::Args::kA);
RKB_LEVELS(RkDarkle15, 2, rkb::Args::kA);
RKB_LEVELS(RkDarkle24, 3, rkb::Args::kA);
RKB_LEVELS(RkDarkle32, 4, rkb::Args::kA);
RKB_LEVELS(RkMaskLight16, 2, rkb::Args::kAKey);
RKB_LEVELS(RkMaskLight15, 2, rkb::Args::kAKey);
RKB_LEVELS(RkMaskLight24, 3, rkb::Args::kAKey);
RKB_LEVELS(RkMaskLight32, 4, rkb::Args::kAKey);
RKB_LEVELS(RkMaskDarkle16, 2, rkb::Args::kAKey);
RKB_LEVELS(RkMaskDarkle15, 2, rkb::Args::kAKey);
RKB_LEVELS(RkMaskDarkle24, 3, rkb::Args::kAKey);
RKB_LEVELS(RkMaskDarkle32, 4, rkb::Args::kAKey);
