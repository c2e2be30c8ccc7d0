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

inline void CallBlit(AnyExport fn, Args args, const BlitCall &c) {
  using P = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                               int32_t, int32_t, int32_t);
  using PA = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                int32_t, int32_t, int32_t, uint32_t);
  using PAB = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                 int32_t, int32_t, int32_t, uint32_t, uint32_t);
  using PC = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                int32_t, int32_t, int32_t, const RkSurface *, int32_t, int32_t);
  using PCK =
      void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t, int32_t,
                         int32_t, int32_t, const RkSurface *, int32_t, int32_t, uint32_t);
  switch (args) {
    case Args::kPlain:
      reinterpret_cast<P>(fn)(c.dst, c.dstX, c.dstY, c.src, c.srcX, c.srcY, c.width, c.height);
      break;
    case Args::kA:
      reinterpret_cast<PA>(fn)(c.dst, c.dstX, c.dstY, c.src, c.srcX, c.srcY, c.width, c.height,
                               c.a);
      break;
    case Args::kKey:
      reinterpret_cast<PA>(fn)(c.dst, c.dstX, c.dstY, c.src, c.srcX, c.srcY, c.width, c.height,
                               c.b);
      break;
    case Args::kAKey:
      reinterpret_cast<PAB>(fn)(c.dst, c.dstX, c.dstY, c.src, c.srcX, c.srcY, c.width, c.height,
                                c.a, c.b);
      break;
    case Args::kChannel:
      reinterpret_cast<PC>(fn)(c.dst, c.dstX, c.dstY, c.src, c.srcX, c.srcY, c.width, c.height,
                               c.chan, c.chX, c.chY);
      break;
    case Args::kChannelKey:
      reinterpret_cast<PCK>(fn)(c.dst, c.dstX, c.dstY, c.src, c.srcX, c.srcY, c.width, c.height,
                                c.chan, c.chX, c.chY, c.b);
      break;
  }
}

}  // namespace rkt
