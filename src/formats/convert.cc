// The exported row conversions: one line a member, each running the shared walk.
#include "formats/convert.h"

#include "formats/convert_planes.h"
#include "rkpix.h"

// Argument shapes: (dst, src, count), (dstR, dstG, dstB, src, count),
// (dst, srcR, srcG, srcB, count), (dstR, dstG, dstB, srcR, srcG, srcB, count).
// The arguments are built once, in place: a copy of the record (read back in 16-byte
// pieces over its 8-byte stores) cost a row call more than its conversion of a short row.
#define RK_CONVERT_RUN(name, ...)          \
  ::rk::ConvArgs args{__VA_ARGS__, count}; \
  ::rk::conv::RunConvert<::rk::conv::name>(::rk::KernelId::RkBitConvert##name, args)
#define RK_D(p) static_cast<uint8_t *>(p)
#define RK_S(p) static_cast<const uint8_t *>(p)
#define RK_CONVERT_EXPORT_1_1(name)                                                   \
  extern "C" RKPIX_API void RKPIX_CALL RkBitConvert##name(void *dst, const void *src, \
                                                          uint32_t count) {           \
    RK_CONVERT_RUN(name, {RK_D(dst)}, {RK_S(src)});                                   \
  }
#define RK_CONVERT_EXPORT_3_1(name)                                                           \
  extern "C" RKPIX_API void RKPIX_CALL RkBitConvert##name(void *dstR, void *dstG, void *dstB, \
                                                          const void *src, uint32_t count) {  \
    RK_CONVERT_RUN(name, {RK_D(dstR), RK_D(dstG), RK_D(dstB)}, {RK_S(src)});                  \
  }
#define RK_CONVERT_EXPORT_1_3(name)                                                      \
  extern "C" RKPIX_API void RKPIX_CALL RkBitConvert##name(                               \
      void *dst, const void *srcR, const void *srcG, const void *srcB, uint32_t count) { \
    RK_CONVERT_RUN(name, {RK_D(dst)}, {RK_S(srcR), RK_S(srcG), RK_S(srcB)});             \
  }
#define RK_CONVERT_EXPORT_3_3(name)                                                           \
  extern "C" RKPIX_API void RKPIX_CALL RkBitConvert##name(void *dstR, void *dstG, void *dstB, \
                                                          const void *srcR, const void *srcG, \
                                                          const void *srcB, uint32_t count) { \
    RK_CONVERT_RUN(name, {RK_D(dstR), RK_D(dstG), RK_D(dstB)},                                \
                   {RK_S(srcR), RK_S(srcG), RK_S(srcB)});                                     \
  }
#define RK_CONVERT_EXPORT(name, dsts, srcs) RK_CONVERT_EXPORT_##dsts##_##srcs(name)

RK_CONVERT_ALL(RK_CONVERT_EXPORT)
