#include "frame/clip.h"

#include <algorithm>
#include <cstdlib>

namespace rk {
namespace {

// One edge of the start clip: the rectangle starts at a in one surface and at b in
// the other. If a <= b, a negative a is moved to 0; otherwise a negative b is.
// Returns how far the start moved.
int32_t ClipStart(int32_t &a, int32_t &b, int32_t &size) {
  int32_t moved = 0;
  if (a <= b) {
    if (a < 0) {
      moved = WrapSub(0, a);
      size = WrapAdd(size, a);
      b = WrapSub(b, a);
      a = 0;
    }
  } else if (b < 0) {
    moved = WrapSub(0, b);
    size = WrapAdd(size, b);
    a = WrapSub(a, b);
    b = 0;
  }
  return moved;
}

}  // namespace

bool ClipBlit(const RkSurface &dst, int32_t dstX, int32_t dstY, const RkSurface &src, int32_t srcX,
              int32_t srcY, int32_t width, int32_t height, ClipRect *out) {
  if (width < 0) {
    dstX = WrapSub(dstX, width);
    srcX = WrapSub(srcX, width);
    width = 0;
  }
  if (height < 0) {
    dstX = WrapSub(dstX, height);
    srcX = WrapSub(srcX, height);
    height = 0;
  }
  int32_t left = ClipStart(dstX, srcX, width);
  int32_t top = ClipStart(dstY, srcY, height);
  if (dstX > dst.width || dstY > dst.height || srcX > src.width || srcY > src.height) return false;
  width = std::min(width, WrapSub(dst.width, dstX));
  width = std::min(width, WrapSub(src.width, srcX));
  if (width <= 0) return false;
  height = std::min(height, WrapSub(dst.height, dstY));
  height = std::min(height, WrapSub(src.height, srcY));
  if (height <= 0) return false;
  *out = ClipRect{dstX, dstY, srcX, srcY, width, height, left, top};
  return true;
}

bool ClipChannel(const RkSurface &channel, int32_t channelX, int32_t channelY, const ClipRect &r,
                 int32_t *outX, int32_t *outY) {
  channelX = WrapAdd(channelX, r.leftClip);
  channelY = WrapAdd(channelY, r.topClip);
  if (WrapAdd(channelX, r.width) > channel.width) return false;
  if (WrapAdd(channelY, r.height) > channel.height) return false;
  *outX = channelX;
  *outY = channelY;
  return true;
}

ByteRange OwnedBytes(const RkSurface &s, int elem) {
  if (s.width <= 0 || s.height <= 0) return {};
  int64_t row = std::max<int64_t>(std::llabs(static_cast<int64_t>(s.pitch)),
                                  static_cast<int64_t>(s.width) * elem);
  int64_t last = static_cast<int64_t>(s.height - 1) * s.pitch;
  return {std::min<int64_t>(0, last), std::max<int64_t>(0, last) + row};
}

}  // namespace rk
