// Registers the brightness family's fast row kernels for this level.
#include "brightness/fast_rows.h"
#include "module/fast.h"

RK_FAST_FAMILY(brightness) {
  bright::RegisterLightFast(t);
  bright::RegisterDarkleFast(t);
  bright::RegisterMaskFast(t);
}
