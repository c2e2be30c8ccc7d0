// Light and Darkle through a channel plane: every source pixel scaled by the channel
// element at its place (16-bit elements for Light, bytes for Darkle), and their keyed
// forms. Rows are walked from their right end: the lone last pixel, the pair step,
// then groups of four (depths 16 and 15) or pairs (depths 24 and 32).
#include "brightness/channel_units.h"
#include "module/export.h"

RK_NS_BEGIN
namespace bright {

// ---------------------------------------------------------------------------------
// LightWithChannel: each unit stored before the next is read.

// Depth 16: RkLight16's rounding formula with the element as the level.
struct LightChan16 : BlitKernel<2, 2> {
  static constexpr KernelId kId = KernelId::RkLightWithChannel16;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    auto x = Chan<2, 2>(r);
    auto fn = LightChanPixel<Color16>;
    if (r.w & 1) ChanUnit<1>(x, r.w - 1, fn);
    if (r.w & 2) ChanUnit<2>(x, 2 * Pairs(r) - 2, fn);
    ChanUnitsDown<4>(x, r.w >> 2, fn);
  }
};

// Depth 15: red includes bit 15; the pair step is four pixels wide and reaches up to
// two columns past the rectangle.
struct LightChan15 : BlitKernel<2, 2> {
  static constexpr KernelId kId = KernelId::RkLightWithChannel15;
  static constexpr bool kPointwise = true;
  static Extent Reach(int32_t w, int elem) {
    int64_t cols = (w & 2) ? 2 * (int64_t{w} >> 1) + 2 : w;
    return {0, cols * elem};
  }
  static Extent DstBytes(int32_t w, int32_t) { return Reach(w, 2); }
  static Extent SrcBytes(int32_t w, int32_t) { return Reach(w, 2); }
  static Extent ChanBytes(int32_t w, int32_t) { return Reach(w, 2); }
  template <class M>
  static void Ref(const Row<M> &r) {
    LightChan15Ends(r);
    ChanUnitsDown<4>(Chan<2, 2>(r), r.w >> 2, LightChanPixel<Color15>);
  }
};

// Depths 24 and 32: the lone pixel saturates with the element unsigned, the pairs take
// it as a signed 16-bit factor (and wrap where the lone pixel saturates). Depth 32
// writes the fourth byte as 0.
template <int Bpp, KernelId Id>
struct LightChanBytes : BlitKernel<Bpp, 2> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    auto x = Chan<Bpp, 2>(r);
    if (r.w & 1) ChanUnit<1>(x, r.w - 1, LightChanLone);
    ChanUnitsDown<2>(x, Pairs(r), LightChanPair);
  }
};
using LightChan24 = LightChanBytes<3, KernelId::RkLightWithChannel24>;
using LightChan32 = LightChanBytes<4, KernelId::RkLightWithChannel32>;

// ---------------------------------------------------------------------------------
// DarkleWithChannel: truncating; the main loops of depths 16, 15 and 32 read the next
// unit before storing the current one.

template <class F, KernelId Id>
struct DarkleChan1615 : BlitKernel<2, 1> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    auto x = Chan<2, 1>(r);
    auto fn = DarkleChanPixel<F>;
    if (r.w & 1) ChanUnit<1>(x, r.w - 1, fn);
    if (r.w & 2) ChanUnit<2>(x, 2 * Pairs(r) - 2, fn);
    ChanUnitsDownAhead<4>(x, r.w >> 2, fn);
  }
};
using DarkleChan16 = DarkleChan1615<Color16, KernelId::RkDarkleWithChannel16>;
using DarkleChan15 = DarkleChan1615<Color15, KernelId::RkDarkleWithChannel15>;

// Every pair's odd bytes are 0; the lone pixel lands reversed at byte 4h.
struct DarkleChan24 : BlitKernel<3, 1> {
  static constexpr KernelId kId = KernelId::RkDarkleWithChannel24;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    DarkleChan24Lone(r);
    auto x = Chan<3, 1>(r);
    for (int64_t n = Pairs(r); n >= 1; --n) {
      uint32_t p[2] = {x.Src(2 * n - 2), x.Src(2 * n - 1)};
      uint32_t c[2] = {x.Chan(2 * n - 2), x.Chan(2 * n - 1)};
      for (int i = 0; i < 2; ++i) x.Put(2 * n - 2 + i, DarkleChan24PairPixel(p[i], c[i], i));
    }
  }
};

// All four bytes scaled, the fourth included.
struct DarkleChan32 : BlitKernel<4, 1> {
  static constexpr KernelId kId = KernelId::RkDarkleWithChannel32;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    auto x = Chan<4, 1>(r);
    if (r.w & 1) ChanUnit<1>(x, r.w - 1, DarkleChan4);
    ChanUnitsDownAhead<2>(x, Pairs(r), DarkleChan4);
  }
};

// ---------------------------------------------------------------------------------
// The keyed members: a key pixel is not drawn. Each unit is stored before the next is
// read.

// Depths 16 and 15, Light: saturating, no rounding; the groups compare each product as
// a signed 16-bit number and take red from the whole word at depth 15.
template <class F, KernelId Id>
struct MaskLightChan1615 : BlitKernel<2, 2> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    MaskLightChan1615Ends<F>(r);
    auto x = Chan<2, 2>(r);
    for (int64_t n = r.w >> 2; n >= 1; --n) {
      KeyedGroup<4, 2>(x, 4 * n - 4, r.b, [](uint32_t p, uint32_t c) {
        return MaskLightLane<F>(p, ChannelScale16(c));
      });
    }
  }
};
using MaskLightChan16 = MaskLightChan1615<Color16, KernelId::RkMaskLightWithChannel16>;
using MaskLightChan15 = MaskLightChan1615<Color15, KernelId::RkMaskLightWithChannel15>;

// Depths 24 and 32, Light: a pixel drawn alone (the lone one, or a pair member whose
// partner is the key) saturates with the element unsigned, the pair member drawn alone
// taking the left pixel's element; a pair of two drawn pixels takes the signed factor,
// each its own element.
template <int Bpp, KernelId Id>
struct MaskLightChanBytes : BlitKernel<Bpp, 2> {
  static constexpr KernelId kId = Id;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    auto x = Chan<Bpp, 2>(r);
    if (r.w & 1) KeyedLone<Bpp>(x, r.w - 1, r.b, LightChanLone);
    for (int64_t n = Pairs(r); n >= 1; --n) {
      KeyedPair<Bpp, true, false>(x, 2 * n - 2, r.b, LightChanLone, LightChanPair);
    }
  }
};
using MaskLightChan24 = MaskLightChanBytes<3, KernelId::RkMaskLightWithChannel24>;
using MaskLightChan32 = MaskLightChanBytes<4, KernelId::RkMaskLightWithChannel32>;

// Depths 16 and 15, Darkle: the irregular right end (exchanged conditions after the
// first row, the pair formula, the channel byte at 2 x width), then keyed groups.
template <class F, KernelId Id>
struct MaskDarkleChan1615 : BlitKernel<2, 1> {
  static constexpr KernelId kId = Id;
  // The pair may fall on columns -2 and -1; the lone pixel's channel byte is at 2 x width.
  static Extent DstBytes(int32_t w, int32_t) {
    return {2 * std::min<int64_t>(0, w - 3), 2 * int64_t{w}};
  }
  static Extent SrcBytes(int32_t w, int32_t h) { return DstBytes(w, h); }
  static Extent ChanBytes(int32_t w, int32_t) {
    return {std::min<int64_t>(0, w - 3), 2 * int64_t{w} + 1};
  }
  template <class M>
  static void Ref(const Row<M> &r) {
    int64_t cols = MaskDarkleChan1615Ends<F>(r);
    auto x = Chan<2, 1>(r);
    for (int64_t n = cols >> 2; n >= 1; --n)
      KeyedGroup<4, 2>(x, 4 * n - 4, r.b, DarkleChanPixel<F>);
  }
};
using MaskDarkleChan16 = MaskDarkleChan1615<Color16, KernelId::RkMaskDarkleWithChannel16>;
using MaskDarkleChan15 = MaskDarkleChan1615<Color15, KernelId::RkMaskDarkleWithChannel15>;

// Depth 24, Darkle: a pair member drawn alone lands reversed at byte 4n - 6 or 4n - 3,
// two bytes before the row for the first pair.
struct MaskDarkleChan24 : BlitKernel<3, 1> {
  static constexpr KernelId kId = KernelId::RkMaskDarkleWithChannel24;
  static Extent DstBytes(int32_t w, int32_t) { return {w >= 2 ? -2 : 0, 3 * int64_t{w}}; }
  template <class M>
  static void Ref(const Row<M> &r) {
    auto x = Chan<3, 1>(r);
    if (r.w & 1) KeyedLone<3>(x, r.w - 1, r.b, DarkleChan3);
    for (int64_t n = Pairs(r); n >= 1; --n) MaskDarkleChan24Pair(x, n, r.b);
  }
};

// Depth 32, Darkle: a pair of two drawn pixels scales all four bytes; a pixel drawn
// alone writes its fourth byte as 0.
struct MaskDarkleChan32 : BlitKernel<4, 1> {
  static constexpr KernelId kId = KernelId::RkMaskDarkleWithChannel32;
  static constexpr bool kPointwise = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    auto x = Chan<4, 1>(r);
    if (r.w & 1) KeyedLone<4>(x, r.w - 1, r.b, DarkleChan3);
    for (int64_t n = Pairs(r); n >= 1; --n) {
      KeyedPair<4, false, false>(x, 2 * n - 2, r.b, DarkleChan3, DarkleChan4);
    }
  }
};

}  // namespace bright
RK_NS_END

RK_EXPORT_BLIT_CHANNEL(RkLightWithChannel16, rk::bright::LightChan16)
RK_EXPORT_BLIT_CHANNEL(RkLightWithChannel15, rk::bright::LightChan15)
RK_EXPORT_BLIT_CHANNEL(RkLightWithChannel24, rk::bright::LightChan24)
RK_EXPORT_BLIT_CHANNEL(RkLightWithChannel32, rk::bright::LightChan32)
RK_EXPORT_BLIT_CHANNEL(RkDarkleWithChannel16, rk::bright::DarkleChan16)
RK_EXPORT_BLIT_CHANNEL(RkDarkleWithChannel15, rk::bright::DarkleChan15)
RK_EXPORT_BLIT_CHANNEL(RkDarkleWithChannel24, rk::bright::DarkleChan24)
RK_EXPORT_BLIT_CHANNEL(RkDarkleWithChannel32, rk::bright::DarkleChan32)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskLightWithChannel16, rk::bright::MaskLightChan16)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskLightWithChannel15, rk::bright::MaskLightChan15)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskLightWithChannel24, rk::bright::MaskLightChan24)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskLightWithChannel32, rk::bright::MaskLightChan32)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskDarkleWithChannel16, rk::bright::MaskDarkleChan16)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskDarkleWithChannel15, rk::bright::MaskDarkleChan15)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskDarkleWithChannel24, rk::bright::MaskDarkleChan24)
RK_EXPORT_BLIT_CHANNEL_KEY(RkMaskDarkleWithChannel32, rk::bright::MaskDarkleChan32)
