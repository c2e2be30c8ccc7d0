// Definitions of the exported blit entry points: one line an export.
#pragma once

#include "frame/walk.h"
#include "rkpix.h"

#define RK_BLIT_PARAMS                                                                  \
  const RkSurface *dst, int32_t dstX, int32_t dstY, const RkSurface *src, int32_t srcX, \
      int32_t srcY, int32_t width, int32_t height
#define RK_CHANNEL_PARAMS const RkSurface *channel, int32_t channelX, int32_t channelY

// (dst, dstX, dstY, src, srcX, srcY, width, height)
#define RK_EXPORT_BLIT(name, K)                                          \
  extern "C" RKPIX_API void RKPIX_CALL name(RK_BLIT_PARAMS) {            \
    ::rk::RunBlit<K>({dst, dstX, dstY, src, srcX, srcY, width, height}); \
  }
// (..., a): level or opacity, or keyColour for the keyed copies
#define RK_EXPORT_BLIT_A(name, K, a)                                                       \
  extern "C" RKPIX_API void RKPIX_CALL name(RK_BLIT_PARAMS, uint32_t a) {                  \
    ::rk::RunBlit<K>({dst, dstX, dstY, src, srcX, srcY, width, height, nullptr, 0, 0, a}); \
  }
// (..., level or opacity, keyColour)
#define RK_EXPORT_BLIT_AB(name, K, a, b)                                                      \
  extern "C" RKPIX_API void RKPIX_CALL name(RK_BLIT_PARAMS, uint32_t a, uint32_t b) {         \
    ::rk::RunBlit<K>({dst, dstX, dstY, src, srcX, srcY, width, height, nullptr, 0, 0, a, b}); \
  }
// (..., channel, channelX, channelY)
#define RK_EXPORT_BLIT_CHANNEL(name, K)                                                  \
  extern "C" RKPIX_API void RKPIX_CALL name(RK_BLIT_PARAMS, RK_CHANNEL_PARAMS) {         \
    ::rk::RunBlit<K>(                                                                    \
        {dst, dstX, dstY, src, srcX, srcY, width, height, channel, channelX, channelY}); \
  }
// (..., channel, channelX, channelY, keyColour)
#define RK_EXPORT_BLIT_CHANNEL_KEY(name, K)                                               \
  extern "C" RKPIX_API void RKPIX_CALL name(RK_BLIT_PARAMS, RK_CHANNEL_PARAMS,            \
                                            uint32_t keyColour) {                         \
    ::rk::RunBlit<K>({dst, dstX, dstY, src, srcX, srcY, width, height, channel, channelX, \
                      channelY, 0, keyColour});                                           \
  }
