#include "module/checked.h"

#if defined(RKPIX_CHECKED)
#include <cstdarg>
#include <cstdio>

#include "frame/walk.h"

namespace rk {
namespace {

void Report(KernelId id, const char *fmt, ...) {
  char text[256];
  va_list args;
  va_start(args, fmt);
  std::vsnprintf(text, sizeof text, fmt, args);
  va_end(args);
  std::fprintf(stderr, "rkpix: %s: %s\n", KernelName(id), text);
}

// The largest level or opacity each export defines a result for (0: any).
uint32_t LevelLimit(KernelId id) {
  switch (id) {
    case KernelId::RkTrans16:
    case KernelId::RkTrans15:
    case KernelId::RkMaskTrans16:
    case KernelId::RkMaskTrans15:
      return 255;
    case KernelId::RkTrans24:
    case KernelId::RkTrans32:
    case KernelId::RkMaskTrans24:
    case KernelId::RkMaskTrans32:
    case KernelId::RkLight32:
      return 65535;
    case KernelId::RkLight24:
    case KernelId::RkMaskLight24:
    case KernelId::RkMaskLight32:
      return 32767;
    case KernelId::RkMaskLight16:
    case KernelId::RkMaskLight15:
      return 8191;  // beyond it a pair's products pass 16 bits
    case KernelId::RkMaskDarkle16:
      return 263;
    case KernelId::RkMaskDarkle15:
      return 271;
    case KernelId::RkMaskDarkle24:
    case KernelId::RkMaskDarkle32:
      return 256;
    default:
      return 0;
  }
}

bool HasLevel(KernelId id) {
  switch (id) {
    case KernelId::RkBitBlt16:
    case KernelId::RkBitBlt24:
    case KernelId::RkBitBlt32:
    case KernelId::RkMaskBitBlt24:
    case KernelId::RkMaskBitBlt32:
      return false;
    default:
      return true;
  }
}

}  // namespace

void CheckBlit(KernelId id, const BlitCall &c, bool channel) {
  if (!c.dst) Report(id, "dst is null");
  if (!c.src) Report(id, "src is null");
  if (channel && !c.channel) Report(id, "channel is null");
  uint32_t limit = LevelLimit(id);
  if (!channel && HasLevel(id) && limit && c.a > limit) {
    Report(id, "level or opacity %u is above %u: the pixels drawn are not defined", c.a, limit);
  }
}

void CheckArrays(KernelId id, std::initializer_list<const void *> arrays) {
  int i = 0;
  for (const void *p : arrays) {
    ++i;
    if (!p) Report(id, "array argument %d is null", i);
  }
}

void CheckZoom(KernelId id, const RkSurface *dst, const RkRect *dstRect, const RkSurface *src,
               const RkRect *srcRect) {
  if (!dst || !dstRect || !src || !srcRect) {
    Report(id, "a surface or rectangle is null");
    return;
  }
  auto big = [](int64_t v) { return v >= 32768 || v <= -32768; };
  int64_t sw = int64_t{srcRect->right} - srcRect->left,
          sh = int64_t{srcRect->bottom} - srcRect->top;
  int64_t dw = int64_t{dstRect->right} - dstRect->left,
          dh = int64_t{dstRect->bottom} - dstRect->top;
  if (big(sw) || big(sh) || big(dw) || big(dh)) {
    Report(id, "a rectangle side of 32768 or more: the pixels drawn are not defined");
  }
  if (id == KernelId::RkZoom32 && (sw == 0 || sh == 0)) {
    Report(id, "a source rectangle of width or height 0 draws nothing");
  }
}

}  // namespace rk
#endif
