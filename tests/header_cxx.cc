// The public header as a C++ compiler sees it.
#include "rkpix.h"

static_assert(sizeof(RkSurface) == (sizeof(void *) == 8 ? 32 : 24));
int RkpixHeaderCxxProbe() { return static_cast<int>(sizeof(RkSurface)); }
