// Every export of the library, in the order of the public header. One X(name) a line.
#pragma once

#define RK_ALL_KERNELS(X)               \
  X(RkBitBlt16)                         \
  X(RkBitBlt24)                         \
  X(RkBitBlt32)                         \
  X(RkMaskBitBlt24)                     \
  X(RkMaskBitBlt32)                     \
  X(RkZoom16)                           \
  X(RkZoom24)                           \
  X(RkZoom32)                           \
  X(RkDarkle16)                         \
  X(RkDarkle15)                         \
  X(RkDarkle24)                         \
  X(RkDarkle32)                         \
  X(RkMaskDarkle16)                     \
  X(RkMaskDarkle15)                     \
  X(RkMaskDarkle24)                     \
  X(RkMaskDarkle32)                     \
  X(RkDarkleWithChannel16)              \
  X(RkDarkleWithChannel15)              \
  X(RkDarkleWithChannel24)              \
  X(RkDarkleWithChannel32)              \
  X(RkMaskDarkleWithChannel16)          \
  X(RkMaskDarkleWithChannel15)          \
  X(RkMaskDarkleWithChannel24)          \
  X(RkMaskDarkleWithChannel32)          \
  X(RkLight16)                          \
  X(RkLight15)                          \
  X(RkLight24)                          \
  X(RkLight32)                          \
  X(RkMaskLight16)                      \
  X(RkMaskLight15)                      \
  X(RkMaskLight24)                      \
  X(RkMaskLight32)                      \
  X(RkLightWithChannel16)               \
  X(RkLightWithChannel15)               \
  X(RkLightWithChannel24)               \
  X(RkLightWithChannel32)               \
  X(RkMaskLightWithChannel16)           \
  X(RkMaskLightWithChannel15)           \
  X(RkMaskLightWithChannel24)           \
  X(RkMaskLightWithChannel32)           \
  X(RkTrans16)                          \
  X(RkTrans15)                          \
  X(RkTrans24)                          \
  X(RkTrans32)                          \
  X(RkMaskTrans16)                      \
  X(RkMaskTrans15)                      \
  X(RkMaskTrans24)                      \
  X(RkMaskTrans32)                      \
  X(RkTransWithChannel16)               \
  X(RkTransWithChannel15)               \
  X(RkTransWithChannel24)               \
  X(RkTransWithChannel32)               \
  X(RkMaskTransWithChannel16)           \
  X(RkMaskTransWithChannel15)           \
  X(RkMaskTransWithChannel24)           \
  X(RkMaskTransWithChannel32)           \
  X(RkBitConvertColor16ToColor15)       \
  X(RkBitConvertColor16ToColor24)       \
  X(RkBitConvertColor16ToColor32)       \
  X(RkBitConvertColor15ToColor16)       \
  X(RkBitConvertColor15ToColor24)       \
  X(RkBitConvertColor15ToColor32)       \
  X(RkBitConvertColor24ToColor16)       \
  X(RkBitConvertColor24ToColor15)       \
  X(RkBitConvertColor24ToColor32)       \
  X(RkBitConvertColor32ToColor16)       \
  X(RkBitConvertColor32ToColor15)       \
  X(RkBitConvertColor32ToColor24)       \
  X(RkBitConvertColor16ToTrans)         \
  X(RkBitConvertColor16ToLight)         \
  X(RkBitConvertColor16ToRGBLight16)    \
  X(RkBitConvertColor16ToRGBLight32)    \
  X(RkBitConvertColor15ToTrans)         \
  X(RkBitConvertColor15ToLight)         \
  X(RkBitConvertColor15ToRGBLight16)    \
  X(RkBitConvertColor15ToRGBLight32)    \
  X(RkBitConvertColor24ToTrans)         \
  X(RkBitConvertColor24ToLight)         \
  X(RkBitConvertColor24ToRGBLight16)    \
  X(RkBitConvertColor24ToRGBLight32)    \
  X(RkBitConvertColor32ToTrans)         \
  X(RkBitConvertColor32ToLight)         \
  X(RkBitConvertColor32ToRGBLight16)    \
  X(RkBitConvertColor32ToRGBLight32)    \
  X(RkBitConvertTransToColor16)         \
  X(RkBitConvertTransToColor15)         \
  X(RkBitConvertTransToColor24)         \
  X(RkBitConvertTransToColor32)         \
  X(RkBitConvertLightToColor16)         \
  X(RkBitConvertLightToColor15)         \
  X(RkBitConvertLightToColor24)         \
  X(RkBitConvertLightToColor32)         \
  X(RkBitConvertRGBLight16ToColor16)    \
  X(RkBitConvertRGBLight16ToColor15)    \
  X(RkBitConvertRGBLight16ToColor24)    \
  X(RkBitConvertRGBLight16ToColor32)    \
  X(RkBitConvertRGBLight32ToColor16)    \
  X(RkBitConvertRGBLight32ToColor15)    \
  X(RkBitConvertRGBLight32ToColor24)    \
  X(RkBitConvertRGBLight32ToColor32)    \
  X(RkBitConvertTransToLight)           \
  X(RkBitConvertTransToRGBLight16)      \
  X(RkBitConvertTransToRGBLight32)      \
  X(RkBitConvertLightToTrans)           \
  X(RkBitConvertLightToRGBLight16)      \
  X(RkBitConvertLightToRGBLight32)      \
  X(RkBitConvertRGBLight16ToTrans)      \
  X(RkBitConvertRGBLight16ToLight)      \
  X(RkBitConvertRGBLight16ToRGBLight32) \
  X(RkBitConvertRGBLight32ToTrans)      \
  X(RkBitConvertRGBLight32ToLight)      \
  X(RkBitConvertRGBLight32ToRGBLight16)

namespace rk {

enum class KernelId : int {
#define RK_KERNEL_ID(name) name,
  RK_ALL_KERNELS(RK_KERNEL_ID)
#undef RK_KERNEL_ID
};

inline constexpr int kKernelCount = 0
#define RK_KERNEL_COUNT(name) +1
    RK_ALL_KERNELS(RK_KERNEL_COUNT)
#undef RK_KERNEL_COUNT
    ;

static_assert(kKernelCount == 112);

// The export's name, for reports.
const char *KernelName(KernelId id);

}  // namespace rk
