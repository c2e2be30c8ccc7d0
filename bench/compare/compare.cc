// Side-by-side timing of rkpix against SDL2, pixman and libyuv on the same operation, the same
// memory and in one process. Each row of the operation table below names the rkpix call and the
// peer calls that do the nearest equivalent; the timing loop alternates short batches of every
// library, round after round, so machine load falls on all of them alike, and reports the median
// batch of each as Mpix/s. Before timing, every library runs once from the same destination
// contents and its output is compared with rkpix's, to show how far the arithmetic differs.
//
//   rkpix_compare [--rounds N] [--batch-ms M] [--sizes 1920x1080,640x480] [--ops key32,up32]
//                 [--md FILE] [--dat FILE]
#include <SDL.h>
#include <libyuv.h>
#include <pixman.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "module/dispatch.h"
#include "rkpix.h"

namespace {

enum Lib { kRk, kSdl, kPixman, kYuv, kLibCount };
const char *const kLibName[kLibCount] = {"rkpix", "SDL2", "pixman", "libyuv"};

[[noreturn]] void Fail(const char *what, const char *why) {
  std::fprintf(stderr, "rkpix_compare: %s: %s\n", what, why);
  std::exit(1);
}

// 64-byte aligned bytes, filled by the caller.
struct Buf {
  std::unique_ptr<uint8_t, decltype(&std::free)> p{nullptr, &std::free};
  size_t size = 0;
  explicit Buf(size_t n = 0)
      : p(static_cast<uint8_t *>(std::aligned_alloc(64, (n + 63) / 64 * 64 + 64)), &std::free),
        size(n) {}
  uint8_t *data() const { return p.get(); }
};

// Every surface an operation may use, at one frame size. Sources are read by every library,
// destinations written by every library in turn.
struct Frame {
  int w, h;
  Buf s16, s24, s32, chan, z16, z32, d8, d16, d24, d32;
  static constexpr uint32_t kKey = 0xFF00FF;
  Frame(int w_, int h_)
      : w(w_),
        h(h_),
        s16(Px() * 2),
        s24(Px() * 3),
        s32(Px() * 4),
        chan(Px()),
        z16(Px() * 8),
        z32(Px() * 16),
        d8(Px()),
        d16(Px() * 2),
        d24(Px() * 3),
        d32(Px() * 4) {
    std::mt19937 rng(1234);
    for (Buf *b : {&s16, &s24, &s32, &z16, &z32, &d8, &d16, &d24, &d32}) {
      for (size_t i = 0; i < b->size; ++i) b->data()[i] = static_cast<uint8_t>(rng());
    }
    // A quarter of the 32-bit source is the key colour, in runs of 16 pixels as in a sprite
    // (scattered single keys would make branching loops mispredict on every other pixel).
    auto *px = reinterpret_cast<uint32_t *>(s32.data());
    for (size_t i = 0; i < Px(); i += 16) {
      if (rng() % 4 != 0) continue;
      for (size_t j = i; j < std::min(i + 16, Px()); ++j) px[j] = kKey;
    }
    // The alpha plane is made of 16-pixel runs, each all 0, all 255 or random values, in equal
    // shares: like a sprite's mask, with its edges.
    for (size_t i = 0; i < Px(); i += 16) {
      uint32_t kind = rng() % 3;
      for (size_t j = i; j < std::min(i + 16, Px()); ++j) {
        chan.data()[j] = static_cast<uint8_t>(kind == 0 ? 0 : kind == 1 ? 255 : rng());
      }
    }
  }
  size_t Px() const { return size_t(w) * h; }
};

// One library's way of doing an operation over the whole frame.
struct Impl {
  Lib lib;
  std::function<void()> call;
};

enum class Goal { kParity, kFaster, kMuchFaster };  // >= 0.95x, >= 1.2x, >= 3x the best peer
const char *GoalText(Goal g) {
  return g == Goal::kParity ? "parity" : g == Goal::kFaster ? "1.2x" : "3x";
}
double GoalFactor(Goal g) { return g == Goal::kParity ? 0.95 : g == Goal::kFaster ? 1.2 : 3.0; }

struct Op {
  const char *key;    // short name, for the chart
  const char *label;  // what the row does
  const char *member;
  Goal goal;
  double target;  // peers' Mpix/s at 1920x1080 measured beforehand, 0 when none was given
  Buf Frame::*dst;
  int dstBpp;
  uint32_t colourMask;  // bits of a destination pixel compared between libraries
  const char *note;     // how the arithmetic of the libraries differs
  std::vector<Impl> (*make)(Frame &);
};

// ---- Surface wrappers over the frame's memory ----

using SdlSurf = std::shared_ptr<SDL_Surface>;
SdlSurf Sdl(const Buf &b, int w, int h, int pitch, Uint32 format) {
  SDL_Surface *s =
      SDL_CreateRGBSurfaceWithFormatFrom(b.data(), w, h, SDL_BITSPERPIXEL(format), pitch, format);
  if (!s) Fail("SDL_CreateRGBSurfaceWithFormatFrom", SDL_GetError());
  return SdlSurf(s, SDL_FreeSurface);
}
std::function<void()> SdlBlit(SdlSurf s, SdlSurf d) {
  return [s, d] {
    if (SDL_BlitSurface(s.get(), nullptr, d.get(), nullptr) < 0)
      Fail("SDL_BlitSurface", SDL_GetError());
  };
}

using PixImg = std::shared_ptr<pixman_image_t>;
PixImg Pix(const Buf &b, pixman_format_code_t f, int w, int h, int pitch) {
  return PixImg(pixman_image_create_bits(f, w, h, reinterpret_cast<uint32_t *>(b.data()), pitch),
                [](pixman_image_t *i) { pixman_image_unref(i); });
}
PixImg PixSolidAlpha(uint16_t alpha) {
  pixman_color_t c{0, 0, 0, alpha};
  return PixImg(pixman_image_create_solid_fill(&c),
                [](pixman_image_t *i) { pixman_image_unref(i); });
}
std::function<void()> PixComposite(pixman_op_t op, PixImg s, PixImg m, PixImg d, int w, int h) {
  return [=] { pixman_image_composite32(op, s.get(), m.get(), d.get(), 0, 0, 0, 0, 0, 0, w, h); };
}

RkSurface Rk(const Buf &b, int w, int h, int bpp) {
  return RkSurface{0, w, h, w * bpp, 0, b.data()};
}

using BlitFn = void(RKPIX_CALL *)(const RkSurface *, int32_t, int32_t, const RkSurface *, int32_t,
                                  int32_t, int32_t, int32_t);
using ConvFn = void(RKPIX_CALL *)(void *, const void *, uint32_t);
using ZoomFn = void(RKPIX_CALL *)(const RkSurface *, const RkRect *, const RkSurface *,
                                  const RkRect *);

// rkpix converts arrays: a frame is converted one row a call, as a program does with a surface.
std::function<void()> RkRows(ConvFn fn, const Buf &dst, int dstBpp, const Buf &src, int srcBpp,
                             int w, int h) {
  uint8_t *d = dst.data(), *s = src.data();
  return [=] {
    for (int y = 0; y < h; ++y) fn(d + size_t(y) * w * dstBpp, s + size_t(y) * w * srcBpp, w);
  };
}

// ---- The operations ----

// The frame's colour surfaces and the peers' names for them, at 16 (565) or 32 (XRGB8888) bits.
const Buf &Src(const Frame &f, int bpp) { return bpp == 2 ? f.s16 : f.s32; }
const Buf &Dst(const Frame &f, int bpp) { return bpp == 2 ? f.d16 : f.d32; }
Uint32 SdlFormat(int bpp) { return bpp == 2 ? SDL_PIXELFORMAT_RGB565 : SDL_PIXELFORMAT_XRGB8888; }
pixman_format_code_t PixFormat(int bpp) { return bpp == 2 ? PIXMAN_r5g6b5 : PIXMAN_x8r8g8b8; }

std::vector<Impl> Copy(Frame &f, int bpp) {
  int w = f.w, h = f.h, pitch = w * bpp, stride32 = pitch / 4;
  const Buf &s = Src(f, bpp), &d = Dst(f, bpp);
  RkSurface rs = Rk(s, w, h, bpp), rd = Rk(d, w, h, bpp);
  BlitFn rk = bpp == 2 ? &RkBitBlt16 : &RkBitBlt32;
  SdlSurf ss = Sdl(s, w, h, pitch, SdlFormat(bpp)), sd = Sdl(d, w, h, pitch, SdlFormat(bpp));
  SDL_SetSurfaceBlendMode(ss.get(), SDL_BLENDMODE_NONE);
  uint8_t *sp = s.data(), *dp = d.data();
  auto *s32 = reinterpret_cast<uint32_t *>(sp), *d32 = reinterpret_cast<uint32_t *>(dp);
  std::function<void()> yuv = [=] { libyuv::CopyPlane(sp, pitch, dp, pitch, pitch, h); };
  if (bpp == 4) yuv = [=] { libyuv::ARGBCopy(sp, pitch, dp, pitch, w, h); };
  return {{kRk, [=] { rk(&rd, 0, 0, &rs, 0, 0, w, h); }},
          {kSdl, SdlBlit(ss, sd)},
          {kPixman,
           [=] { pixman_blt(s32, d32, stride32, stride32, bpp * 8, bpp * 8, 0, 0, 0, 0, w, h); }},
          {kYuv, yuv}};
}

// SDL's ARGB8888 surfaces compare the key with the colour bytes only, as rkpix does. With `rle`
// SDL encodes the source into its own run-length copy at the first blit (not timed) and blits
// from that.
std::vector<Impl> Keyed32(Frame &f, bool rle) {
  int w = f.w, h = f.h;
  RkSurface rs = Rk(f.s32, w, h, 4), rd = Rk(f.d32, w, h, 4);
  SdlSurf ss = Sdl(f.s32, w, h, w * 4, SDL_PIXELFORMAT_ARGB8888);
  SdlSurf sd = Sdl(f.d32, w, h, w * 4, SDL_PIXELFORMAT_ARGB8888);
  SDL_SetSurfaceBlendMode(ss.get(), SDL_BLENDMODE_NONE);
  SDL_SetColorKey(ss.get(), SDL_TRUE, Frame::kKey);
  SDL_SetSurfaceRLE(ss.get(), rle);
  return {{kRk, [=] { RkMaskBitBlt32(&rd, 0, 0, &rs, 0, 0, w, h, Frame::kKey); }},
          {kSdl, SdlBlit(ss, sd)}};
}

constexpr uint32_t kOpacity = 128;  // rkpix's opacity and level; the peers get 128 of 255

std::vector<Impl> Opacity(Frame &f, int bpp) {
  int w = f.w, h = f.h, pitch = w * bpp;
  const Buf &s = Src(f, bpp), &d = Dst(f, bpp);
  RkSurface rs = Rk(s, w, h, bpp), rd = Rk(d, w, h, bpp);
  auto rk = bpp == 2 ? &RkTrans16 : &RkTrans32;
  SdlSurf ss = Sdl(s, w, h, pitch, SdlFormat(bpp)), sd = Sdl(d, w, h, pitch, SdlFormat(bpp));
  SDL_SetSurfaceBlendMode(ss.get(), SDL_BLENDMODE_BLEND);
  SDL_SetSurfaceAlphaMod(ss.get(), kOpacity);
  pixman_format_code_t pf = PixFormat(bpp);
  return {{kRk, [=] { rk(&rd, 0, 0, &rs, 0, 0, w, h, kOpacity); }},
          {kSdl, SdlBlit(ss, sd)},
          {kPixman, PixComposite(PIXMAN_OP_OVER, Pix(s, pf, w, h, pitch),
                                 PixSolidAlpha(kOpacity * 257), Pix(d, pf, w, h, pitch), w, h)}};
}

std::vector<Impl> Channel(Frame &f, int bpp) {
  int w = f.w, h = f.h, pitch = w * bpp;
  const Buf &s = Src(f, bpp), &d = Dst(f, bpp);
  RkSurface rs = Rk(s, w, h, bpp), rd = Rk(d, w, h, bpp), rc = Rk(f.chan, w, h, 1);
  auto rk = bpp == 2 ? &RkTransWithChannel16 : &RkTransWithChannel32;
  pixman_format_code_t pf = PixFormat(bpp);
  return {{kRk, [=] { rk(&rd, 0, 0, &rs, 0, 0, w, h, &rc, 0, 0); }},
          {kPixman, PixComposite(PIXMAN_OP_OVER, Pix(s, pf, w, h, pitch),
                                 Pix(f.chan, PIXMAN_a8, w, h, w), Pix(d, pf, w, h, pitch), w, h)}};
}

std::vector<Impl> Darken32(Frame &f) {
  int w = f.w, h = f.h, pitch = w * 4;
  RkSurface rs = Rk(f.s32, w, h, 4), rd = Rk(f.d32, w, h, 4);
  SdlSurf ss = Sdl(f.s32, w, h, pitch, SDL_PIXELFORMAT_XRGB8888);
  SdlSurf sd = Sdl(f.d32, w, h, pitch, SDL_PIXELFORMAT_XRGB8888);
  SDL_SetSurfaceBlendMode(ss.get(), SDL_BLENDMODE_NONE);
  SDL_SetSurfaceColorMod(ss.get(), kOpacity, kOpacity, kOpacity);
  uint8_t *sp = f.s32.data(), *dp = f.d32.data();
  return {{kRk, [=] { RkDarkle32(&rd, 0, 0, &rs, 0, 0, w, h, kOpacity); }},
          {kSdl, SdlBlit(ss, sd)},
          {kPixman, PixComposite(PIXMAN_OP_SRC, Pix(f.s32, PIXMAN_x8r8g8b8, w, h, pitch),
                                 PixSolidAlpha(kOpacity * 257),
                                 Pix(f.d32, PIXMAN_x8r8g8b8, w, h, pitch), w, h)},
          {kYuv, [=] { libyuv::ARGBShade(sp, pitch, dp, pitch, w, h, kOpacity * 0x01010101u); }}};
}

// A conversion between two whole frames; a zero format or null function: that library has none.
struct Conv {
  ConvFn rk;
  Buf Frame::*src;
  int srcBpp;
  Buf Frame::*dst;
  int dstBpp;
  Uint32 sdlSrc, sdlDst;
  pixman_format_code_t pixSrc, pixDst;
  int (*yuv)(const uint8_t *, int, uint8_t *, int, int, int);
};
const pixman_format_code_t kNoPix = pixman_format_code_t(0);
const Conv kConv[] = {
    {&RkBitConvertColor16ToColor32, &Frame::s16, 2, &Frame::d32, 4, SDL_PIXELFORMAT_RGB565,
     SDL_PIXELFORMAT_ARGB8888, PIXMAN_r5g6b5, PIXMAN_a8r8g8b8, &libyuv::RGB565ToARGB},
    {&RkBitConvertColor32ToColor16, &Frame::s32, 4, &Frame::d16, 2, SDL_PIXELFORMAT_XRGB8888,
     SDL_PIXELFORMAT_RGB565, PIXMAN_x8r8g8b8, PIXMAN_r5g6b5, &libyuv::ARGBToRGB565},
    {&RkBitConvertColor15ToColor32, &Frame::s16, 2, &Frame::d32, 4, SDL_PIXELFORMAT_XRGB1555,
     SDL_PIXELFORMAT_ARGB8888, PIXMAN_x1r5g5b5, PIXMAN_a8r8g8b8, &libyuv::ARGB1555ToARGB},
    {&RkBitConvertColor32ToColor15, &Frame::s32, 4, &Frame::d16, 2, SDL_PIXELFORMAT_XRGB8888,
     SDL_PIXELFORMAT_XRGB1555, PIXMAN_x8r8g8b8, PIXMAN_x1r5g5b5, &libyuv::ARGBToARGB1555},
    {&RkBitConvertColor24ToColor32, &Frame::s24, 3, &Frame::d32, 4, SDL_PIXELFORMAT_BGR24,
     SDL_PIXELFORMAT_ARGB8888, PIXMAN_r8g8b8, PIXMAN_a8r8g8b8, &libyuv::RGB24ToARGB},
    {&RkBitConvertColor32ToColor24, &Frame::s32, 4, &Frame::d24, 3, SDL_PIXELFORMAT_XRGB8888,
     SDL_PIXELFORMAT_BGR24, PIXMAN_x8r8g8b8, PIXMAN_r8g8b8, &libyuv::ARGBToRGB24},
    {&RkBitConvertColor32ToTrans, &Frame::s32, 4, &Frame::d8, 1, 0, 0, kNoPix, kNoPix,
     &libyuv::ARGBToJ400},
};

std::vector<Impl> Convert(Frame &f, const Conv &c) {
  int w = f.w, h = f.h, sp = w * c.srcBpp, dp = w * c.dstBpp;
  const Buf &s = f.*c.src, &d = f.*c.dst;
  uint8_t *sb = s.data(), *db = d.data();
  std::vector<Impl> v{{kRk, RkRows(c.rk, d, c.dstBpp, s, c.srcBpp, w, h)}};
  if (c.sdlSrc) {
    Uint32 sf = c.sdlSrc, df = c.sdlDst;
    v.push_back({kSdl, [=] {
                   if (SDL_ConvertPixels(w, h, sf, sb, sp, df, db, dp) < 0) {
                     Fail("SDL_ConvertPixels", SDL_GetError());
                   }
                 }});
  }
  if (c.pixSrc) {
    v.push_back({kPixman, PixComposite(PIXMAN_OP_SRC, Pix(s, c.pixSrc, w, h, sp), nullptr,
                                       Pix(d, c.pixDst, w, h, dp), w, h)});
  }
  auto yuv = c.yuv;
  v.push_back({kYuv, [=] { yuv(sb, sp, db, dp, w, h); }});
  return v;
}

// Nearest 2x scaling onto the w x h destination. The source surface is 2w x 2h: enlarging samples
// its top-left w/2 x h/2, shrinking all of it.
std::vector<Impl> Zoom(Frame &f, int bpp, bool up) {
  int w = f.w, h = f.h, sw = up ? w / 2 : 2 * w, sh = up ? h / 2 : 2 * h;
  int srcPitch = 2 * w * bpp, dstPitch = w * bpp;
  const Buf &s = bpp == 2 ? f.z16 : f.z32, &d = Dst(f, bpp);
  RkSurface rs{0, 2 * w, 2 * h, srcPitch, 0, s.data()}, rd = Rk(d, w, h, bpp);
  RkRect rdr{0, 0, w, h}, rsr{0, 0, sw, sh};
  ZoomFn rk = bpp == 2 ? &RkZoom16 : &RkZoom32;
  SdlSurf ss = Sdl(s, 2 * w, 2 * h, srcPitch, SdlFormat(bpp));
  SdlSurf sd = Sdl(d, w, h, dstPitch, SdlFormat(bpp));
  pixman_format_code_t pf = PixFormat(bpp);
  PixImg ps = Pix(s, pf, sw, sh, srcPitch);
  pixman_transform_t t;
  pixman_transform_init_scale(&t, pixman_double_to_fixed(double(sw) / w),
                              pixman_double_to_fixed(double(sh) / h));
  pixman_image_set_transform(ps.get(), &t);
  pixman_image_set_filter(ps.get(), PIXMAN_FILTER_NEAREST, nullptr, 0);
  uint8_t *sb = s.data(), *db = d.data();
  std::function<void()> yuv = [=] {
    libyuv::ScalePlane_16(reinterpret_cast<uint16_t *>(sb), 2 * w, sw, sh,
                          reinterpret_cast<uint16_t *>(db), w, w, h, libyuv::kFilterNone);
  };
  if (bpp == 4) {
    yuv = [=] { libyuv::ARGBScale(sb, srcPitch, sw, sh, db, dstPitch, w, h, libyuv::kFilterNone); };
  }
  return {{kRk, [=] { rk(&rd, &rdr, &rs, &rsr); }},
          {kSdl,
           [=] {
             SDL_Rect sr{0, 0, sw, sh}, dr{0, 0, w, h};
             if (SDL_SoftStretch(ss.get(), &sr, sd.get(), &dr) < 0) {
               Fail("SDL_SoftStretch", SDL_GetError());
             }
           }},
          {kPixman, PixComposite(PIXMAN_OP_SRC, ps, nullptr, Pix(d, pf, w, h, dstPitch), w, h)},
          {kYuv, yuv}};
}

const Op kOps[] = {
    {"copy16", "plain copy 16 bpp", "RkBitBlt16", Goal::kParity, 0, &Frame::d16, 2, 0xFFFF,
     "The same bytes.", [](Frame &f) { return Copy(f, 2); }},
    {"copy32", "plain copy 32 bpp", "RkBitBlt32", Goal::kParity, 9400, &Frame::d32, 4, 0xFFFFFFFF,
     "The same bytes.", [](Frame &f) { return Copy(f, 4); }},
    {"key32", "colour-keyed copy 32 bpp", "RkMaskBitBlt32", Goal::kMuchFaster, 2240, &Frame::d32, 4,
     0xFFFFFF,
     "A quarter of the source is the key, in runs of 16 pixels. Both compare the 3 colour "
     "bytes (SDL on ARGB8888 surfaces, its per-pixel path).",
     [](Frame &f) { return Keyed32(f, false); }},
    {"key32rle", "colour-keyed copy 32 bpp, SDL RLE", "RkMaskBitBlt32", Goal::kMuchFaster, 0,
     &Frame::d32, 4, 0xFFFFFF,
     "As the row above, but SDL blits from the run-length copy it makes of the source at the "
     "first blit (SDL_SetSurfaceRLE; the encoding is not timed). rkpix reads the surface itself.",
     [](Frame &f) { return Keyed32(f, true); }},
    {"trans565", "uniform opacity 565", "RkTrans16", Goal::kMuchFaster, 2375, &Frame::d16, 2,
     0xFFFF,
     "rkpix: opacity 128 is weight 16 of 32 on each 5/6-bit field, truncated. SDL: alpha mod "
     "128 (its pixels come out the same at this opacity). pixman: OVER through a solid 128/255 "
     "mask on fields widened to 8 bits, rounded.",
     [](Frame &f) { return Opacity(f, 2); }},
    {"trans8888", "uniform opacity 8888", "RkTrans32", Goal::kMuchFaster, 2800, &Frame::d32, 4,
     0xFFFFFF,
     "rkpix: d + (s - d) * 128/256 on every byte, truncated (the fourth byte too). SDL: alpha "
     "mod 128 (the same colour bytes at this opacity). pixman: OVER through a solid 128/255 "
     "mask, rounded.",
     [](Frame &f) { return Opacity(f, 4); }},
    {"alpha8888", "alpha through an 8-bit plane, 8888", "RkTransWithChannel32", Goal::kMuchFaster,
     1180, &Frame::d32, 4, 0xFFFFFF,
     "rkpix: plane byte c weighs c/256, truncated (255 still leaves 1/256 of the destination). "
     "pixman: OVER through an a8 mask image, c/255 rounded (255 copies).",
     [](Frame &f) { return Channel(f, 4); }},
    {"alpha565", "alpha through an 8-bit plane, 565", "RkTransWithChannel16", Goal::kMuchFaster, 0,
     &Frame::d16, 2, 0xFFFF,
     "rkpix: plane byte c weighs (c >> 3)/32 per field, truncated, with its deliberate stray bits "
     "where the source blue is below the destination's. pixman: OVER through an a8 mask, c/255 on "
     "expanded 8-bit fields, rounded.",
     [](Frame &f) { return Channel(f, 2); }},
    {"darken32", "darken by a level, 32 bpp", "RkDarkle32", Goal::kMuchFaster, 6300, &Frame::d32, 4,
     0xFFFFFF,
     "rkpix: every byte * 128/256, truncated (the fourth byte too). libyuv ARGBShade "
     "0x80808080: about byte * 128/255. SDL colour mod 128: about * 128/255. pixman: SRC "
     "through a solid 128/255 mask, rounded.",
     Darken32},
    {"c565to8888", "565 -> 8888", "RkBitConvertColor16ToColor32", Goal::kFaster, 8900, &Frame::d32,
     4, 0xFFFFFF,
     "rkpix widens with zero low bits (0xFFFF gives R, G, B = F8 FC F8) and writes the fourth "
     "byte 0; the peers fill the low bits (FF FF FF from libyuv and pixman, FF FE FF from SDL) "
     "and write 255.",
     [](Frame &f) { return Convert(f, kConv[0]); }},
    {"c8888to565", "8888 -> 565", "RkBitConvertColor32ToColor16", Goal::kFaster, 7200, &Frame::d16,
     2, 0xFFFF, "All truncate the low bits: the same pixels.",
     [](Frame &f) { return Convert(f, kConv[1]); }},
    {"c555to8888", "555 -> 8888", "RkBitConvertColor15ToColor32", Goal::kFaster, 0, &Frame::d32, 4,
     0xFFFFFF,
     "rkpix widens with zero low bits and ignores bit 15; the peers fill the low bits (0x7FFF "
     "gives FF FF FF), and libyuv turns bit 15 into a fourth byte of 0 or 255.",
     [](Frame &f) { return Convert(f, kConv[2]); }},
    {"c8888to555", "8888 -> 555", "RkBitConvertColor32ToColor15", Goal::kFaster, 0, &Frame::d16, 2,
     0x7FFF,
     "rkpix packs deliberately with the 565 masks (R's bits 7-4 at 14-11, G's bits 7-2 at 10-5); "
     "the peers give true 5-5-5 (libyuv sets bit 15 from alpha, not compared).",
     [](Frame &f) { return Convert(f, kConv[3]); }},
    {"c24to8888", "24 -> 8888", "RkBitConvertColor24ToColor32", Goal::kFaster, 12800, &Frame::d32,
     4, 0xFFFFFF, "Same colour bytes; rkpix writes the fourth byte 0, the peers 255.",
     [](Frame &f) { return Convert(f, kConv[4]); }},
    {"c8888to24", "8888 -> 24", "RkBitConvertColor32ToColor24", Goal::kFaster, 0, &Frame::d24, 3,
     0xFFFFFF, "The same bytes: the fourth byte is dropped.",
     [](Frame &f) { return Convert(f, kConv[5]); }},
    {"c8888togrey", "8888 -> grey", "RkBitConvertColor32ToTrans", Goal::kFaster, 13500, &Frame::d8,
     1, 0xFF,
     "rkpix: (77 R + 150 G + 29 B) >> 8, truncated. libyuv ARGBToJ400: full-range luma, "
     "rounded. SDL and pixman have no grey conversion.",
     [](Frame &f) { return Convert(f, kConv[6]); }},
    {"up16", "nearest 2x up, 16 bpp", "RkZoom16", Goal::kFaster, 0, &Frame::d16, 2, 0xFFFF,
     "rkpix steps through the source in 16.16 from its top-left pixel; the 2x enlargements of "
     "all four libraries agree. libyuv has no 565 scaler: ScalePlane_16 with kFilterNone "
     "treats the pixels as 16-bit samples, which for nearest sampling is the same thing.",
     [](Frame &f) { return Zoom(f, 2, true); }},
    {"down16", "nearest 2x down, 16 bpp", "RkZoom16", Goal::kFaster, 0, &Frame::d16, 2, 0xFFFF,
     "rkpix keeps the even columns and rows, as pixman does; SDL and libyuv sample another "
     "phase (libyuv: ScalePlane_16 as above).",
     [](Frame &f) { return Zoom(f, 2, false); }},
    {"up32", "nearest 2x up, 32 bpp", "RkZoom32", Goal::kFaster, 13700, &Frame::d32, 4, 0xFFFFFF,
     "As at 16 bpp; libyuv ARGBScale with kFilterNone.", [](Frame &f) { return Zoom(f, 4, true); }},
    {"down32", "nearest 2x down, 32 bpp", "RkZoom32", Goal::kFaster, 0, &Frame::d32, 4, 0xFFFFFF,
     "As at 16 bpp: rkpix and pixman keep the even columns and rows; libyuv ARGBScale with "
     "kFilterNone.",
     [](Frame &f) { return Zoom(f, 4, false); }},
};

// ---- Timing ----

struct Stat {
  bool ran = false;
  double mpix = 0;    // median over rounds
  double spread = 0;  // interquartile range of the rounds over their median
  double same = 0;    // share of destination pixels equal to rkpix's, colour bits only
};
struct Result {
  const Op *op;
  int w, h;
  Stat lib[kLibCount];
  double BestPeer(Lib *which = nullptr) const {
    double best = 0;
    for (int l = kSdl; l < kLibCount; ++l) {
      if (lib[l].ran && lib[l].mpix > best) {
        best = lib[l].mpix;
        if (which) *which = Lib(l);
      }
    }
    return best;
  }
};

// The time this thread has run: on a machine shared with other programs, time spent waiting
// for a core is not counted against whichever library happened to be running.
double Now() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

double Quantile(std::vector<double> v, double q) {
  std::sort(v.begin(), v.end());
  double pos = q * double(v.size() - 1);
  size_t i = size_t(pos);
  double frac = pos - double(i);
  return i + 1 < v.size() ? v[i] * (1 - frac) + v[i + 1] * frac : v[i];
}

uint32_t PixelAt(const uint8_t *p, int bpp) {
  uint32_t v = 0;
  for (int b = 0; b < bpp; ++b) v |= uint32_t(p[b]) << (8 * b);
  return v;
}

Result Measure(const Op &op, Frame &f, int rounds, double batchSeconds) {
  std::vector<Impl> impls = op.make(f);
  Result r{&op, f.w, f.h, {}};
  // Every library once from the same destination contents (fresh values, not an earlier
  // operation's output); outputs compared with rkpix's.
  const Buf &d = f.*op.dst;
  size_t px = f.Px(), bytes = px * op.dstBpp;
  std::mt19937 rng(77);
  std::vector<uint8_t> start(bytes);
  for (uint8_t &b : start) b = static_cast<uint8_t>(rng());
  std::vector<std::vector<uint8_t>> out;
  for (Impl &i : impls) {
    std::memcpy(d.data(), start.data(), bytes);
    i.call();
    out.emplace_back(d.data(), d.data() + bytes);
  }
  for (size_t i = 0; i < impls.size(); ++i) {
    size_t same = 0;
    for (size_t p = 0; p < px; ++p) {
      uint32_t a = PixelAt(&out[0][p * op.dstBpp], op.dstBpp);
      uint32_t b = PixelAt(&out[i][p * op.dstBpp], op.dstBpp);
      same += ((a ^ b) & op.colourMask) == 0;
    }
    r.lib[impls[i].lib].same = double(same) / double(px);
  }
  // Batches sized to about batchSeconds each, then rounds of one batch of every library, the
  // order rotated every round.
  std::vector<int> batch(impls.size());
  for (size_t i = 0; i < impls.size(); ++i) {
    double best = 1e9;
    for (int k = 0; k < 3; ++k) {
      double t0 = Now();
      impls[i].call();
      best = std::min(best, Now() - t0);
    }
    batch[i] = std::max(1, int(batchSeconds / best + 0.5));
  }
  std::vector<std::vector<double>> perCall(impls.size());
  for (int round = 0; round < rounds; ++round) {
    for (size_t k = 0; k < impls.size(); ++k) {
      size_t i = (round + k) % impls.size();
      double t0 = Now();
      for (int n = 0; n < batch[i]; ++n) impls[i].call();
      perCall[i].push_back((Now() - t0) / batch[i]);
    }
  }
  for (size_t i = 0; i < impls.size(); ++i) {
    Stat &s = r.lib[impls[i].lib];
    double med = Quantile(perCall[i], 0.5);
    s.ran = true;
    s.mpix = double(px) / med / 1e6;
    s.spread = (Quantile(perCall[i], 0.75) - Quantile(perCall[i], 0.25)) / med;
  }
  return r;
}

// ---- Reports ----

std::string ReadFirstLine(const char *path, const char *prefix = "") {
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind(prefix, 0) == 0) {
      size_t colon = *prefix ? line.find(':') : std::string::npos;
      return colon == std::string::npos ? line : line.substr(colon + 2);
    }
  }
  return "?";
}

std::string Num(double v) {  // 12345.6 -> "12,346"
  std::string digits = std::to_string(static_cast<long long>(v + 0.5)), s;
  for (size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) s += ',';
    s += digits[i];
  }
  return s;
}
std::string Fixed(double v, int digits) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.*f", digits, v);
  return buf;
}
// Rounded down, so that a ratio shown as 3.00x has reached 3.
std::string Floor2(double v) { return Fixed(std::floor(v * 100) / 100, 2); }

struct RunInfo {
  std::string cpu, level, loadBefore, loadAfter, date, versions;
  int rounds;
  double batchMs;
};

void WriteMarkdown(const std::string &path, const RunInfo &info, const std::vector<Result> &rs) {
  std::ostringstream o;
  o << "# rkpix side by side with SDL2, pixman and libyuv\n\n"
    << "Written by `tools/compare.sh` (the `rkpix_compare` program) from one run on this machine: "
    << info.date << ".\n\n"
    << "- CPU: " << info.cpu << "; rkpix level: **" << info.level << "** (the best the CPU runs)\n"
    << "- Peers: " << info.versions << " (Debian packages)\n"
    << "- One thread. Every library works on the same source and destination memory; each "
    << "figure is the median of " << info.rounds << " rounds, a round timing one batch of about "
    << Fixed(info.batchMs, 0) << " ms of every library in turn (order rotated each round), so "
    << "load from other programs falls on all of them alike. Times are the thread's own CPU "
    << "time (time spent waiting for a core is not counted; caches and memory are still "
    << "shared with the other programs).\n"
    << "- Load average (1, 5, 15 min) before: " << info.loadBefore << "; after: " << info.loadAfter
    << ". *Spread* is the largest interquartile range of "
    << "the rounds of any library in the row, as a share of its median.\n"
    << "- *Target*: the best peer's figure measured beforehand on this kind of machine, "
    << "1920x1080, as given in the issue. *Goal*: rkpix / best peer of this run of at least 3x "
    << "for the keyed, blended, lit and channel rows, 1.2x for conversions and scaling, parity "
    << "(0.95x or more) for copies.\n"
    << "- rkpix converts a frame one row a call (its conversions take arrays); the peers "
    << "convert the frame in one call. Scaling draws a 2x enlargement of a quarter of the source, "
    << "or a 2x reduction of all of it, onto the frame.\n\n"
    << "![Mpix/s at 1920x1080](images/compare.png)\n\n";
  // One table a frame size (the results of a size are consecutive).
  for (size_t first = 0, end = 0; first < rs.size(); first = end) {
    while (end < rs.size() && rs[end].w == rs[first].w && rs[end].h == rs[first].h) ++end;
    std::ostringstream t;
    int met = 0, judged = 0;
    for (size_t k = first; k < end; ++k) {
      const Result &r = rs[k];
      const Op &op = *r.op;
      double best = r.BestPeer(), ratio = best > 0 ? r.lib[kRk].mpix / best : 0;
      bool showTarget = r.w == 1920 && r.h == 1080 && op.target > 0;
      double spread = 0;
      for (const Stat &s : r.lib) spread = std::max(spread, s.ran ? s.spread : 0);
      judged += best > 0;
      met += best > 0 && ratio >= GoalFactor(op.goal);
      t << "| " << op.label << " | `" << op.member << "`";
      for (const Stat &s : r.lib) t << " | " << (s.ran ? Num(s.mpix) : "—");
      t << " | " << (best > 0 ? Floor2(ratio) + "x" : "—") << " | "
        << (showTarget ? Num(op.target) : "—") << " | "
        << (showTarget ? Floor2(r.lib[kRk].mpix / op.target) + "x" : "—") << " | "
        << GoalText(op.goal) << " | "
        << (best > 0 ? (ratio >= GoalFactor(op.goal) ? "met" : "**not met**") : "—") << " | "
        << Fixed(100 * spread, 0) << " % | " << (&op - kOps) + 1 << " |\n";
    }
    o << "## " << rs[first].w << "x" << rs[first].h << ", Mpix/s: goal met in " << met << " of "
      << judged << " rows\n\n"
      << "| Operation | rkpix member | rkpix | SDL2 | pixman | libyuv | rkpix / best peer "
      << "| Target | rkpix / target | Goal | Met | Spread | Note |\n"
      << "|---|---|--:|--:|--:|--:|--:|--:|--:|---|---|--:|--:|\n"
      << t.str() << "\n";
  }
  const Result *most = &rs[0];
  for (const Result &r : rs) most = r.w * r.h > most->w * most->h ? &r : most;
  o << "## Identical output pixels, share of the frame equal to rkpix's (" << most->w << "x"
    << most->h << ")\n\n"
    << "Each library runs once from the same destination contents; colour bits only (the fourth "
    << "byte of 32-bit pixels and bit 15 of 555 pixels are not compared).\n\n"
    << "| Operation | SDL2 | pixman | libyuv |\n|---|--:|--:|--:|\n";
  for (const Result &r : rs) {
    if (r.w != most->w || r.h != most->h) continue;
    o << "| " << r.op->label;
    for (int l = kSdl; l < kLibCount; ++l) {
      o << " | " << (r.lib[l].ran ? Fixed(100 * r.lib[l].same, 1) + " %" : "—");
    }
    o << " |\n";
  }
  o << "\n## Notes: how the arithmetic differs\n\n";
  for (const Op &op : kOps) o << (&op - kOps) + 1 << ". " << op.label << ": " << op.note << "\n";
  std::ofstream(path) << o.str();
}

// The chart's data: one line an operation at the largest size, one column a library.
void WriteDat(const std::string &path, const std::vector<Result> &rs) {
  std::ofstream o(path);
  o << "# operation";
  for (const char *n : kLibName) o << " " << n;
  o << "\n";
  int most = 0;
  for (const Result &r : rs) most = std::max(most, r.w * r.h);
  for (const Result &r : rs) {
    if (r.w * r.h != most) continue;
    o << r.op->key;
    for (const Stat &s : r.lib) o << " " << (s.ran ? Fixed(s.mpix, 0) : "-");
    o << "\n";
  }
}

std::string LoadAverage() {
  std::string l = ReadFirstLine("/proc/loadavg");
  std::istringstream in(l);
  std::string a, b, c;
  in >> a >> b >> c;
  return a + ", " + b + ", " + c;
}

// Whether --ops (",key,key,") names the operation, or is empty.
bool Selected(const std::string &ops, const char *key) {
  std::string needle(",");
  needle.append(key).append(",");
  return ops.empty() || ops.find(needle) != std::string::npos;
}

}  // namespace

int main(int argc, char **argv) {
  int rounds = 21;
  double batchMs = 4;
  std::string sizes = "1920x1080,640x480", ops, md, dat;
  for (int i = 1; i + 1 < argc; i += 2) {
    std::string k = argv[i], v = argv[i + 1];
    if (k == "--rounds") {
      rounds = std::max(3, std::atoi(v.c_str()));
    } else if (k == "--batch-ms") {
      batchMs = std::atof(v.c_str());
    } else if (k == "--sizes") {
      sizes = v;
    } else if (k == "--ops") {
      ops.append(",").append(v).append(",");
    } else if (k == "--md") {
      md = v;
    } else if (k == "--dat") {
      dat = v;
    } else {
      Fail("unknown option", k.c_str());
    }
  }
  RunInfo info;
  info.loadBefore = LoadAverage();
  info.cpu = ReadFirstLine("/proc/cpuinfo", "model name");
  info.level = rk::LevelName(rk::ActiveTable().level);
  SDL_version sv;
  SDL_GetVersion(&sv);
  info.versions = "SDL " + std::to_string(sv.major) + "." + std::to_string(sv.minor) + "." +
                  std::to_string(sv.patch) + ", pixman " + pixman_version_string() + ", libyuv " +
                  std::to_string(LIBYUV_VERSION);
  info.rounds = rounds;
  info.batchMs = batchMs;
  char date[64];
  std::time_t now = std::time(nullptr);
  std::strftime(date, sizeof date, "%Y-%m-%d %H:%M UTC", std::gmtime(&now));
  info.date = date;
  std::printf("rkpix level %s; %s\n", info.level.c_str(), info.versions.c_str());

  std::vector<Result> results;
  std::istringstream list(sizes);
  std::string size;
  while (std::getline(list, size, ',')) {
    int w = 0, h = 0;
    if (std::sscanf(size.c_str(), "%dx%d", &w, &h) != 2 || w < 16 || h < 16 || w % 4 || h % 2) {
      Fail("bad size (W x H, W a multiple of 4, H even)", size.c_str());
    }
    Frame frame(w, h);
    for (const Op &op : kOps) {
      if (!Selected(ops, op.key)) continue;
      Result r = Measure(op, frame, rounds, batchMs / 1000);
      Lib which = kRk;
      double best = r.BestPeer(&which);
      std::printf("%4dx%-4d %-36s rkpix %7.0f  best peer %7.0f (%s)  %.2fx\n", w, h, op.label,
                  r.lib[kRk].mpix, best, best > 0 ? kLibName[which] : "-",
                  best > 0 ? r.lib[kRk].mpix / best : 0.0);
      std::fflush(stdout);
      results.push_back(r);
    }
  }
  info.loadAfter = LoadAverage();
  if (!md.empty()) WriteMarkdown(md, info, results);
  if (!dat.empty()) WriteDat(dat, results);
  return 0;
}
