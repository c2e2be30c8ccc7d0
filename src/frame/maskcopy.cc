// Colour-keyed copies: RkMaskBitBlt24 and RkMaskBitBlt32 (the key is the ninth
// argument).
#include "frame/maskcopy.h"

#include "module/export.h"

RK_EXPORT_BLIT_A(RkMaskBitBlt24, rk::MaskCopy24, keyColour)
RK_EXPORT_BLIT_A(RkMaskBitBlt32, rk::MaskCopy32, keyColour)
