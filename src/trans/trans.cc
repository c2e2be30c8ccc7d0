// The translucent blits: uniform opacity (Trans), with a key colour (MaskTrans),
// through a channel plane (TransWithChannel), and both (MaskTransWithChannel).
// Each member's reference walk takes its row from the right end in the units that
// decide the result when source and destination overlap.
#include "module/export.h"
#include "trans/blend.h"

RK_NS_BEGIN
namespace trans {

// A zero uniform weight returns before clipping; the channel members have no such test.
template <class Mode, int Bpp>
bool ZeroWeight(uint32_t opacity) {
  if constexpr (Mode::kChannel) {
    return false;
  } else if constexpr (Bpp == 2) {
    return (opacity >> 3) == 0;
  } else {
    return (opacity & 0xFFFF) == 0;
  }
}

// Rows that follow each other in memory join into one long row where their units
// line up: groups of four at 16/15 bits, pairs at 32, any width at 24 (a pixel is
// blended alike alone or in a pair). The 24/32-bit channel members keep their rows
// apart for now: whether joining helps them on frames from memory was inside the noise.
template <class F, class Mode, KernelId Id>
struct Kernel16 : BlitKernel<2, Mode::kChannel ? 1 : 0> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  static constexpr bool kJoinRows = true;
  static constexpr int32_t kJoinWidth = 4;
  static bool Skip(uint32_t a) { return ZeroWeight<Mode, 2>(a); }
  template <class M>
  static void Ref(const Row<M> &r) {
    Walk16<F, Mode>(r);
  }
};

template <int Bpp, class Mode, KernelId Id>
struct KernelPix : BlitKernel<Bpp, Mode::kChannel ? 1 : 0> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  static constexpr bool kJoinRows = !Mode::kChannel;
  static constexpr int32_t kJoinWidth = Bpp == 4 ? 2 : 1;
  static bool Skip(uint32_t a) { return ZeroWeight<Mode, Bpp>(a); }
  template <class M>
  static void Ref(const Row<M> &r) {
    WalkPix<Bpp, Mode>(r);
  }
};

// RkTrans24 alone walks its row as bytes.
struct Trans24 : BlitKernel<3> {
  static constexpr KernelId kId = KernelId::RkTrans24;
  static constexpr bool kPointwise = true;
  static constexpr bool kJoinRows = true;
  static bool Skip(uint32_t a) { return ZeroWeight<Uniform, 3>(a); }
  template <class M>
  static void Ref(const Row<M> &r) {
    WalkBytes(r);
  }
};

using Trans16 = Kernel16<Color16, Uniform, KernelId::RkTrans16>;
using Trans15 = Kernel16<Color15, Uniform, KernelId::RkTrans15>;
using Trans32 = KernelPix<4, Uniform, KernelId::RkTrans32>;
using MaskTrans16 = Kernel16<Color16, UniformKeyed, KernelId::RkMaskTrans16>;
using MaskTrans15 = Kernel16<Color15, UniformKeyed, KernelId::RkMaskTrans15>;
using MaskTrans24 = KernelPix<3, UniformKeyed, KernelId::RkMaskTrans24>;
using MaskTrans32 = KernelPix<4, UniformKeyed, KernelId::RkMaskTrans32>;
using TransWithChannel16 = Kernel16<Color16, PerPixel, KernelId::RkTransWithChannel16>;
using TransWithChannel15 = Kernel16<Color15, PerPixel, KernelId::RkTransWithChannel15>;
using TransWithChannel24 = KernelPix<3, PerPixel, KernelId::RkTransWithChannel24>;
using TransWithChannel32 = KernelPix<4, PerPixel, KernelId::RkTransWithChannel32>;
using MaskTransWithChannel16 = Kernel16<Color16, PerPixelKeyed, KernelId::RkMaskTransWithChannel16>;
using MaskTransWithChannel15 = Kernel16<Color15, PerPixelKeyed, KernelId::RkMaskTransWithChannel15>;
using MaskTransWithChannel24 = KernelPix<3, PerPixelKeyed, KernelId::RkMaskTransWithChannel24>;
using MaskTransWithChannel32 = KernelPix<4, PerPixelKeyed, KernelId::RkMaskTransWithChannel32>;

}  // namespace trans
RK_NS_END

RK_EXPORT_BLIT_A(RkTrans16, rk::trans::Trans16, opacity)
RK_EXPORT_BLIT_A(RkTrans15, rk::trans::Trans15, opacity)
RK_EXPORT_BLIT_A(RkTrans24, rk::trans::Trans24, opacity)
RK_EXPORT_BLIT_A(RkTrans32, rk::trans::Trans32, opacity)
RK_EXPORT_BLIT_AB(RkMaskTrans16, rk::trans::MaskTrans16, opacity, keyColour)
RK_EXPORT_BLIT_AB(RkMaskTrans15, rk::trans::MaskTrans15, opacity, keyColour)
RK_EXPORT_BLIT_AB(RkMaskTrans24, rk::trans::MaskTrans24, opacity, keyColour)
RK_EXPORT_BLIT_AB(RkMaskTrans32, rk::trans::MaskTrans32, opacity, keyColour)
RK_EXPORT_BLIT_CHANNEL(RkTransWithChannel16, rk::trans::TransWithChannel16)
RK_EXPORT_BLIT_CHANNEL(RkTransWithChannel15, rk::trans::TransWithChannel15)
RK_EXPORT_BLIT_CHANNEL(RkTransWithChannel24, rk::trans::TransWithChannel24)
RK_EXPORT_BLIT_CHANNEL(RkTransWithChannel32, rk::trans::TransWithChannel32)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskTransWithChannel16, rk::trans::MaskTransWithChannel16)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskTransWithChannel15, rk::trans::MaskTransWithChannel15)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskTransWithChannel24, rk::trans::MaskTransWithChannel24)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskTransWithChannel32, rk::trans::MaskTransWithChannel32)
