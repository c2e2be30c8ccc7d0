// Calling a blit export by its argument shape, for the tests and the benchmarks.
#pragma once

#include <cstdint>

#include "rkpix.h"

namespace rkt {

// Arguments after (dst, dstX, dstY, src, srcX, srcY, width, height).
enum class Args {
  kPlain,       // none
  kA,           // level or opacity
  kKey,         // keyColour (the keyed copies)
  kAKey,        // level or opacity, keyColour
  kChannel,     // channel, channelX, channelY
  kChannelKey,  // channel, channelX, channelY, keyColour
};

inline bool Keyed(Args a) { return a == Args::kKey || a == Args::kAKey || a == Args::kChannelKey; }

using AnyExport = void (*)();

struct BlitCall {
  const RkSurface *dst;
  int32_t dstX, dstY;
  const RkSurface *src;
  int32_t srcX, srcY, width, height;
  const RkSurface *chan;
  int32_t chX, chY;
  uint32_t a, b;  // level or opacity; keyColour
};

// The export called with its own parameter list after the common eight arguments.
template <class... X>
void CallAs(AnyExport fn, const BlitCall &c, X... x) {
  using Fn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                int32_t, int32_t, int32_t, X...);
  reinterpret_cast<Fn>(fn)(c.dst, c.dstX, c.dstY, c.src, c.srcX, c.srcY, c.width, c.height, x...);
}

inline void CallBlit(AnyExport fn, Args args, const BlitCall &c) {
  switch (args) {
    case Args::kPlain:
      return CallAs(fn, c);
    case Args::kA:
      return CallAs(fn, c, c.a);
    case Args::kKey:
      return CallAs(fn, c, c.b);
    case Args::kAKey:
      return CallAs(fn, c, c.a, c.b);
    case Args::kChannel:
      return CallAs(fn, c, c.chan, c.chX, c.chY);
    case Args::kChannelKey:
      return CallAs(fn, c, c.chan, c.chX, c.chY, c.b);
  }
}

}  // namespace rkt
