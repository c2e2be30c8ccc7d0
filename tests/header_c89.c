/* The public header as a C89 compiler sees it. */
#include "rkpix.h"

int rkpix_header_c89_probe(void) { return (int)sizeof(RkSurface) + (int)sizeof(RkRect); }
