// The clipping prologue shared by every blit, the channel-plane rule, and the
// memory each surface owns.
#pragma once

#include <cstdint>

#include "rkpix.h"

namespace rk {

// 32-bit two's-complement arithmetic that wraps like the hardware it was made for.
constexpr int32_t WrapAdd(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
constexpr int32_t WrapSub(int32_t a, int32_t b) {
  return static_cast<int32_t>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}

// A blit rectangle after clipping. leftClip and topClip are how far the start moved
// (used by the channel planes).
struct ClipRect {
  int32_t dstX, dstY, srcX, srcY, width, height;
  int32_t leftClip, topClip;
};

// Clips (dstX, dstY, srcX, srcY, width, height) against both surfaces. Returns false
// when nothing is to be drawn. A negative height is folded into the X positions, as
// the library always has (it never shows, since the call then draws nothing).
bool ClipBlit(const RkSurface &dst, int32_t dstX, int32_t dstY, const RkSurface &src, int32_t srcX,
              int32_t srcY, int32_t width, int32_t height, ClipRect *out);

// Moves the channel position by the clip and applies the all-or-nothing rule: the
// plane holds the whole clipped rectangle or the call draws nothing. Negative
// positions are used as they are. Returns false when nothing is to be drawn.
bool ClipChannel(const RkSurface &channel, int32_t channelX, int32_t channelY, const ClipRect &r,
                 int32_t *outX, int32_t *outY);

// The bytes a surface of `elem`-byte elements owns, as offsets from its pixels
// pointer: every row y in 0..height-1 owns [y * pitch, y * pitch + max(|pitch|,
// width * elem)). The rows always join into one interval; it is empty for a width
// or height of 0 or less.
struct ByteRange {
  int64_t lo = 0, hi = 0;
  bool Empty() const { return hi <= lo; }
  bool Contains(const ByteRange &r) const { return r.Empty() || (lo <= r.lo && r.hi <= hi); }
  bool Overlaps(const ByteRange &r) const {
    return !Empty() && !r.Empty() && r.lo < hi && lo < r.hi;
  }
};
ByteRange OwnedBytes(const RkSurface &s, int elem);

}  // namespace rk
