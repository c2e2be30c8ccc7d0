// The fast walks of the row conversions, for arrays that do not overlap.
#include "formats/convert.h"
#include "formats/convert_planes.h"
#include "module/fast.h"

#define RK_CONVERT_FAST(name, dsts, srcs) \
  t.Set(KernelId::RkBitConvert##name, &conv::FastWalk<conv::name>);

RK_FAST_FAMILY(convert) { RK_CONVERT_ALL(RK_CONVERT_FAST) }
