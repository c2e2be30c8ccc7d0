// The checked build (RKPIX_CHECKED): argument checks that print one line on stderr
// per violation and then let the call run as the normal build does. In the normal
// build RK_CHECKED(...) expands to nothing.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "module/kernel_ids.h"
#include "rkpix.h"

namespace rk {

struct BlitCall;

#if defined(RKPIX_CHECKED)
// Null surfaces, and levels or opacities outside what the export defines.
void CheckBlit(KernelId id, const BlitCall &call, bool channel);
// Null arrays or planes of a conversion, in argument order.
void CheckArrays(KernelId id, std::initializer_list<const void *> arrays);
// Null surfaces or rectangles, and zoom sizes outside what the export defines.
void CheckZoom(KernelId id, const RkSurface *dst, const RkRect *dstRect, const RkSurface *src,
               const RkRect *srcRect);
#define RK_CHECKED(...) __VA_ARGS__
#else
#define RK_CHECKED(...)
#endif

}  // namespace rk
