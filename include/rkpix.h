/*
 * rkpix: software pixel kernels over caller-owned memory.
 *
 * Every function is a self-contained leaf: it reads its arguments, clips, walks
 * the rows once and returns. Nothing is allocated, nothing is kept between calls,
 * nothing is reported. Pointers are not checked.
 *
 * Surfaces. An RkSurface describes caller memory: the pixel at column x of row y
 * starts at pixels + y * pitch + x * bytesPerPixel (2 bytes for depths 15 and 16,
 * 3 for 24, 4 for 32). pitch is in bytes and may be negative (bottom-up surfaces)
 * or larger than a row (padding). The library never writes the record itself.
 *
 * Blits take (dst, dstX, dstY, src, srcX, srcY, width, height, extras...). The
 * rectangle is clipped against both surfaces; whatever falls outside is not drawn.
 * dst and src may be the same surface: each family's row order then decides the
 * result exactly. Channel planes (the WithChannel families) are RkSurface records
 * whose elements are 1 byte (Darkle, Trans) or 2 bytes (Light); the channel
 * element for dst pixel (dstX + j, dstY + i) is at (channelX + j, channelY + i)
 * after clipping, and a plane too small for the clipped rectangle draws nothing.
 *
 * Memory rule. A surface owns, for each row y in 0 .. height-1, the bytes
 * [y * pitch, y * pitch + max(|pitch|, width * elementSize)) from pixels. A few
 * members read or write next to their rectangle (documented below); such an
 * access happens where the bytes belong to that surface, and is dropped (a write)
 * or reads as 0 (a read) where they do not. Conversions touch exactly the array
 * elements documented for them, including the one-off stores of the RGBLight to
 * Trans/Light members.
 *
 * Factors. At depths 16 and 15 a level, opacity or channel value v acts as (v >> 3) / 32
 * on each field (so 255 leaves 1/32 of the destination in a blend); at depths 24 and 32
 * as v / 256 on each byte. Keys are compared with the source pixel only: its 16 bits at
 * depths 16 and 15 (bit 15 included), its three colour bytes (keyColour & 0xFFFFFF) at 24
 * and 32. Several members give deliberately irregular results (stray bits, one-off
 * stores, misplaced pixels); they are part of the contract and noted at each member.
 * docs/surfaces.md explains surfaces, pitches, channel planes and keys with diagrams.
 *
 * Threads. Calls are re-entrant and may run concurrently as long as no two calls
 * write overlapping pixels and no call writes another's source. RkLight24,
 * RkLight32 and RkZoom24 write into their source surface.
 *
 * The header is plain C (C89 and later) and C++.
 */
#ifndef RKPIX_H
#define RKPIX_H

#include <stddef.h>
#include <stdint.h>

/* Calling convention: __stdcall on 32-bit x86 Windows (unless RKPIX_CDECL is
 * defined for both the library and its callers), the platform's C convention
 * everywhere else. */
#if defined(_WIN32) && defined(_M_IX86) && !defined(RKPIX_CDECL)
#define RKPIX_CALL __stdcall
#elif defined(_WIN32) && defined(__i386__) && !defined(RKPIX_CDECL)
#define RKPIX_CALL __stdcall
#else
#define RKPIX_CALL
#endif

#if defined(RKPIX_BUILDING)
#if defined(_WIN32)
#define RKPIX_API __declspec(dllexport)
#else
#define RKPIX_API __attribute__((visibility("default")))
#endif
#else
#define RKPIX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* A caller's surface: width and height in pixels, pitch in bytes from one row to
 * the next. reserved0 and reserved4 belong to the caller and are never read. */
typedef struct RkSurface {
  int32_t reserved0;
  int32_t width;
  int32_t height;
  int32_t pitch;
  int32_t reserved4;
  void *pixels;
} RkSurface;

/* Zoom's rectangle: right and bottom are exclusive. */
typedef struct RkRect {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
} RkRect;

/* The record's layout is part of the binary interface: 24 bytes with pixels at
 * offset 20 on 32-bit targets, 32 bytes with pixels at offset 24 on 64-bit ones. */
typedef char rkpix_surface_size_check
    [(sizeof(void *) == 8 ? sizeof(RkSurface) == 32 : sizeof(RkSurface) == 24) ? 1 : -1];
typedef char
    rkpix_surface_pixels_check[offsetof(RkSurface, pixels) == (sizeof(void *) == 8 ? 24 : 20) ? 1
                                                                                              : -1];
typedef char rkpix_rect_size_check[sizeof(RkRect) == 16 ? 1 : -1];

/* ---- Plain copy (dst, dstX, dstY, src, srcX, srcY, width, height) ---- */

/* Copies a rectangle of 2-byte pixels (Color15 or Color16), rows top to bottom, each row left to
 * right. */
RKPIX_API void RKPIX_CALL RkBitBlt16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                     const RkSurface *src, int32_t srcX, int32_t srcY,
                                     int32_t width, int32_t height);
/* Copies a rectangle of 3-byte pixels, rows top to bottom, each row left to right. */
RKPIX_API void RKPIX_CALL RkBitBlt24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                     const RkSurface *src, int32_t srcX, int32_t srcY,
                                     int32_t width, int32_t height);
/* Copies a rectangle of 4-byte pixels, fourth byte included. */
RKPIX_API void RKPIX_CALL RkBitBlt32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                     const RkSurface *src, int32_t srcX, int32_t srcY,
                                     int32_t width, int32_t height);

/* ---- Colour-keyed copy (... , keyColour) ---- */

/* Copies every pixel whose 3 bytes differ from keyColour & 0xFFFFFF; rows right to left in pairs.
 */
RKPIX_API void RKPIX_CALL RkMaskBitBlt24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                         const RkSurface *src, int32_t srcX, int32_t srcY,
                                         int32_t width, int32_t height, uint32_t keyColour);
/* Copies every pixel whose low 3 bytes differ from keyColour & 0xFFFFFF (all 4 bytes copied). */
RKPIX_API void RKPIX_CALL RkMaskBitBlt32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                         const RkSurface *src, int32_t srcX, int32_t srcY,
                                         int32_t width, int32_t height, uint32_t keyColour);

/* ---- Nearest scaling (dst, dstRect, src, srcRect) ---- */

/* Scales srcRect of src onto dstRect of dst, 2-byte pixels, 16.16 stepping, no filtering. */
RKPIX_API void RKPIX_CALL RkZoom16(const RkSurface *dst, const RkRect *dstRect,
                                   const RkSurface *src, const RkRect *srcRect);
/* As RkZoom16 for 3-byte pixels; writes (b0, b1, b0) and sets byte 2 of every sampled SOURCE pixel
 * to byte 0. */
RKPIX_API void RKPIX_CALL RkZoom24(const RkSurface *dst, const RkRect *dstRect,
                                   const RkSurface *src, const RkRect *srcRect);
/* As RkZoom16 for 4-byte pixels; clips with the reciprocal scale factors dW/sW, dH/sH. */
RKPIX_API void RKPIX_CALL RkZoom32(const RkSurface *dst, const RkRect *dstRect,
                                   const RkSurface *src, const RkRect *srcRect);

/* ---- Darkening by a level (... , level): each component times level/256 (depths 16, 15: (level >>
 * 3)/32), truncated ---- */

/* Darkens Color16 pixels into dst. */
RKPIX_API void RKPIX_CALL RkDarkle16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                     const RkSurface *src, int32_t srcX, int32_t srcY,
                                     int32_t width, int32_t height, uint32_t level);
/* Darkens Color15 pixels into dst; result bit 15 is 0. */
RKPIX_API void RKPIX_CALL RkDarkle15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                     const RkSurface *src, int32_t srcX, int32_t srcY,
                                     int32_t width, int32_t height, uint32_t level);
/* Darkens every byte of a Color24 row: v * (level mod 65536) mod 65536 >> 8. */
RKPIX_API void RKPIX_CALL RkDarkle24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                     const RkSurface *src, int32_t srcX, int32_t srcY,
                                     int32_t width, int32_t height, uint32_t level);
/* Darkens all four bytes of every Color32 pixel like RkDarkle24. */
RKPIX_API void RKPIX_CALL RkDarkle32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                     const RkSurface *src, int32_t srcX, int32_t srcY,
                                     int32_t width, int32_t height, uint32_t level);

/* ---- Masked darkening (... , level, keyColour): source pixels equal to the key are not drawn ----
 */

/* RkDarkle16 with a 16-bit key; a pair whose left pixel alone is the key writes into the key's
 * place. */
RKPIX_API void RKPIX_CALL RkMaskDarkle16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                         const RkSurface *src, int32_t srcX, int32_t srcY,
                                         int32_t width, int32_t height, uint32_t level,
                                         uint32_t keyColour);
/* RkDarkle15 with a 16-bit key (bit 15 compared). */
RKPIX_API void RKPIX_CALL RkMaskDarkle15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                         const RkSurface *src, int32_t srcX, int32_t srcY,
                                         int32_t width, int32_t height, uint32_t level,
                                         uint32_t keyColour);
/* Darkens non-key Color24 pixels; some one-key pairs write right of their place (never outside
 * dst's memory). */
RKPIX_API void RKPIX_CALL RkMaskDarkle24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                         const RkSurface *src, int32_t srcX, int32_t srcY,
                                         int32_t width, int32_t height, uint32_t level,
                                         uint32_t keyColour);
/* Darkens non-key Color32 pixels; the fourth byte is 0 for pixels drawn alone, scaled in pairs. */
RKPIX_API void RKPIX_CALL RkMaskDarkle32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                         const RkSurface *src, int32_t srcX, int32_t srcY,
                                         int32_t width, int32_t height, uint32_t level,
                                         uint32_t keyColour);

/* ---- Darkening through an 8-bit channel plane (... , channel, channelX, channelY) ---- */

/* Darkens Color16 pixels by their channel byte c: fields times (c >> 3)/32. */
RKPIX_API void RKPIX_CALL RkDarkleWithChannel16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                const RkSurface *src, int32_t srcX, int32_t srcY,
                                                int32_t width, int32_t height,
                                                const RkSurface *channel, int32_t channelX,
                                                int32_t channelY);
/* Darkens Color15 pixels by their channel byte; result bit 15 is 0. */
RKPIX_API void RKPIX_CALL RkDarkleWithChannel15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                const RkSurface *src, int32_t srcX, int32_t srcY,
                                                int32_t width, int32_t height,
                                                const RkSurface *channel, int32_t channelX,
                                                int32_t channelY);
/* Darkens Color24 pixels by c/256; pairs keep only bytes 0, 2, 4, the lone last pixel lands
 * reversed at 4*(width/2). */
RKPIX_API void RKPIX_CALL RkDarkleWithChannel24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                const RkSurface *src, int32_t srcX, int32_t srcY,
                                                int32_t width, int32_t height,
                                                const RkSurface *channel, int32_t channelX,
                                                int32_t channelY);
/* Darkens all four bytes of Color32 pixels by c/256. */
RKPIX_API void RKPIX_CALL RkDarkleWithChannel32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                const RkSurface *src, int32_t srcX, int32_t srcY,
                                                int32_t width, int32_t height,
                                                const RkSurface *channel, int32_t channelX,
                                                int32_t channelY);

/* ---- Masked darkening through an 8-bit channel plane (... , channel, channelX, channelY,
 * keyColour) ---- */

/* RkDarkleWithChannel16 with a 16-bit key and its own pair and row-walk rules. */
RKPIX_API void RKPIX_CALL RkMaskDarkleWithChannel16(const RkSurface *dst, int32_t dstX,
                                                    int32_t dstY, const RkSurface *src,
                                                    int32_t srcX, int32_t srcY, int32_t width,
                                                    int32_t height, const RkSurface *channel,
                                                    int32_t channelX, int32_t channelY,
                                                    uint32_t keyColour);
/* RkDarkleWithChannel15 with a 16-bit key. */
RKPIX_API void RKPIX_CALL RkMaskDarkleWithChannel15(const RkSurface *dst, int32_t dstX,
                                                    int32_t dstY, const RkSurface *src,
                                                    int32_t srcX, int32_t srcY, int32_t width,
                                                    int32_t height, const RkSurface *channel,
                                                    int32_t channelX, int32_t channelY,
                                                    uint32_t keyColour);
/* Color24 with a key; a pixel drawn alone in a pair lands reversed at byte 4n-6 or 4n-3 of its
 * row (n the pair's number), which can be before the rectangle (within dst's memory). */
RKPIX_API void RKPIX_CALL RkMaskDarkleWithChannel24(const RkSurface *dst, int32_t dstX,
                                                    int32_t dstY, const RkSurface *src,
                                                    int32_t srcX, int32_t srcY, int32_t width,
                                                    int32_t height, const RkSurface *channel,
                                                    int32_t channelX, int32_t channelY,
                                                    uint32_t keyColour);
/* Color32 with a key; fourth byte scaled in pairs, 0 for pixels drawn alone. */
RKPIX_API void RKPIX_CALL RkMaskDarkleWithChannel32(const RkSurface *dst, int32_t dstX,
                                                    int32_t dstY, const RkSurface *src,
                                                    int32_t srcX, int32_t srcY, int32_t width,
                                                    int32_t height, const RkSurface *channel,
                                                    int32_t channelX, int32_t channelY,
                                                    uint32_t keyColour);

/* ---- Brightening by a level (... , level) ---- */

/* Scales Color16 pixels by (level >> 3)/32, rounding up; fields wrap, they do not saturate. */
RKPIX_API void RKPIX_CALL RkLight16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t level);
/* As RkLight16 for Color15; source bit 15 adds 32 to red; result bit 15 is 0. */
RKPIX_API void RKPIX_CALL RkLight15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t level);
/* Scales a Color24 row as bytes; only whole 8-byte groups reach dst and the 4-byte group is written
 * into the SOURCE. */
RKPIX_API void RKPIX_CALL RkLight24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t level);
/* Scales bytes 0, 1 of Color32 pixels, clears bytes 2, 3; an odd last pixel is stamped into the
 * SOURCE. */
RKPIX_API void RKPIX_CALL RkLight32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t level);

/* ---- Masked brightening (... , level, keyColour): saturating ---- */

/* Scales non-key Color16 pixels by (level >> 3)/32 with saturation at each field's maximum; the
 * left pixel of a pair saturates green and blue early. Levels up to 8191 are defined. */
RKPIX_API void RKPIX_CALL RkMaskLight16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t level,
                                        uint32_t keyColour);
/* As RkMaskLight16 for Color15; result bit 15 is 0. */
RKPIX_API void RKPIX_CALL RkMaskLight15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t level,
                                        uint32_t keyColour);
/* Scales non-key Color24 pixels by level/256, saturating at 255. */
RKPIX_API void RKPIX_CALL RkMaskLight24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t level,
                                        uint32_t keyColour);
/* Scales bytes 0..2 of non-key Color32 pixels by level/256, saturating; byte 3 becomes 0. */
RKPIX_API void RKPIX_CALL RkMaskLight32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t level,
                                        uint32_t keyColour);

/* ---- Brightening through a 16-bit channel plane (... , channel, channelX, channelY) ---- */

/* Scales Color16 pixels by their 16-bit channel element c: (c >> 3)/32, rounding up, fields wrap.
 */
RKPIX_API void RKPIX_CALL RkLightWithChannel16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);
/* As RkLightWithChannel16 for Color15; may write the two pixels right of the rectangle (within
 * dst's memory). */
RKPIX_API void RKPIX_CALL RkLightWithChannel15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);
/* Scales Color24 bytes by c/256, saturating at 255 (pairs read c as signed). */
RKPIX_API void RKPIX_CALL RkLightWithChannel24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);
/* Scales bytes 0..2 of Color32 pixels by c/256, saturating; byte 3 becomes 0. */
RKPIX_API void RKPIX_CALL RkLightWithChannel32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);

/* ---- Masked brightening through a 16-bit channel plane (... , channel, channelX, channelY,
 * keyColour) ---- */

/* Scales non-key Color16 pixels by their channel element, saturating. */
RKPIX_API void RKPIX_CALL RkMaskLightWithChannel16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);
/* As RkMaskLightWithChannel16 for Color15; result bit 15 is 0. */
RKPIX_API void RKPIX_CALL RkMaskLightWithChannel15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);
/* Scales non-key Color24 pixels by c/256, saturating. */
RKPIX_API void RKPIX_CALL RkMaskLightWithChannel24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);
/* Scales bytes 0..2 of non-key Color32 pixels by c/256, saturating; byte 3 becomes 0. */
RKPIX_API void RKPIX_CALL RkMaskLightWithChannel32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);

/* ---- Translucent blend at a uniform opacity (... , opacity) ---- */

/* Moves each Color16 field of dst towards src by (opacity >> 3)/32; opacity below 8 draws nothing.
 */
RKPIX_API void RKPIX_CALL RkTrans16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t opacity);
/* As RkTrans16 for Color15; written pixels have bit 15 = 0. In pairs and groups of four a bit 15
 * that differs between source and destination shifts red by (ts - td) * (opacity >> 3). */
RKPIX_API void RKPIX_CALL RkTrans15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t opacity);
/* Blends every byte of dst towards src by opacity/256; opacity 0 draws nothing. */
RKPIX_API void RKPIX_CALL RkTrans24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t opacity);
/* As RkTrans24 on all four bytes; an odd last pixel gets its fourth byte set to 0. */
RKPIX_API void RKPIX_CALL RkTrans32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                    const RkSurface *src, int32_t srcX, int32_t srcY, int32_t width,
                                    int32_t height, uint32_t opacity);

/* ---- Masked translucent blend (... , opacity, keyColour) ---- */

/* RkTrans16 skipping key pixels; the pair before the groups of four keeps its destination. */
RKPIX_API void RKPIX_CALL RkMaskTrans16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t opacity,
                                        uint32_t keyColour);
/* RkTrans15 skipping key pixels. */
RKPIX_API void RKPIX_CALL RkMaskTrans15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t opacity,
                                        uint32_t keyColour);
/* RkTrans24 skipping pixels whose 3 bytes equal keyColour & 0xFFFFFF. */
RKPIX_API void RKPIX_CALL RkMaskTrans24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t opacity,
                                        uint32_t keyColour);
/* RkTrans32 skipping pixels whose low 3 bytes equal keyColour & 0xFFFFFF. */
RKPIX_API void RKPIX_CALL RkMaskTrans32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                        const RkSurface *src, int32_t srcX, int32_t srcY,
                                        int32_t width, int32_t height, uint32_t opacity,
                                        uint32_t keyColour);

/* ---- Translucent blend through an 8-bit channel plane (... , channel, channelX, channelY) ---- */

/* Alpha blend: each pixel moves towards src by (c >> 3)/32 of its channel byte c. Where the
 * source's blue is below the destination's, pixels done in pairs also get bit 11 set and pixels
 * done in groups of four bits 8..10 (stray bits of the lane arithmetic). */
RKPIX_API void RKPIX_CALL RkTransWithChannel16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);
/* As RkTransWithChannel16 for Color15 (the same stray bits); written pixels have bit 15 = 0. */
RKPIX_API void RKPIX_CALL RkTransWithChannel15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);
/* Alpha blend of Color24 pixels by c/256. */
RKPIX_API void RKPIX_CALL RkTransWithChannel24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);
/* Alpha blend of all four bytes of Color32 pixels by c/256. */
RKPIX_API void RKPIX_CALL RkTransWithChannel32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                               const RkSurface *src, int32_t srcX, int32_t srcY,
                                               int32_t width, int32_t height,
                                               const RkSurface *channel, int32_t channelX,
                                               int32_t channelY);

/* ---- Masked translucent blend through an 8-bit channel plane (... , channel, channelX, channelY,
 * keyColour) ---- */

/* RkTransWithChannel16 skipping key pixels, without the stray blue bits. */
RKPIX_API void RKPIX_CALL RkMaskTransWithChannel16(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);
/* RkTransWithChannel15 skipping key pixels. */
RKPIX_API void RKPIX_CALL RkMaskTransWithChannel15(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);
/* RkTransWithChannel24 skipping key pixels. */
RKPIX_API void RKPIX_CALL RkMaskTransWithChannel24(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);
/* RkTransWithChannel32 skipping key pixels. */
RKPIX_API void RKPIX_CALL RkMaskTransWithChannel32(const RkSurface *dst, int32_t dstX, int32_t dstY,
                                                   const RkSurface *src, int32_t srcX, int32_t srcY,
                                                   int32_t width, int32_t height,
                                                   const RkSurface *channel, int32_t channelX,
                                                   int32_t channelY, uint32_t keyColour);

/* ---- Row conversions (dst, src, count): count elements, converted from the last to the first ----
 */

/* Color16 -> Color15: G loses its lowest bit. */
RKPIX_API void RKPIX_CALL RkBitConvertColor16ToColor15(void *dst, const void *src, uint32_t count);
/* Color16 -> Color24 with a 5-byte stride: pixel i at dst bytes 5i+1..5i+3, R byte = (v >> 8) &
 * 0x7C. */
RKPIX_API void RKPIX_CALL RkBitConvertColor16ToColor24(void *dst, const void *src, uint32_t count);
/* Color16 -> Color32, no replication of high bits, fourth byte 0. */
RKPIX_API void RKPIX_CALL RkBitConvertColor16ToColor32(void *dst, const void *src, uint32_t count);
/* Color15 -> Color16: G gains a 0 low bit, bit 15 dropped. */
RKPIX_API void RKPIX_CALL RkBitConvertColor15ToColor16(void *dst, const void *src, uint32_t count);
/* Color15 -> Color24 with a 5-byte stride: pixel i at dst bytes 5i+2..5i+4. */
RKPIX_API void RKPIX_CALL RkBitConvertColor15ToColor24(void *dst, const void *src, uint32_t count);
/* Color15 -> Color32, fourth byte 0. */
RKPIX_API void RKPIX_CALL RkBitConvertColor15ToColor32(void *dst, const void *src, uint32_t count);
/* Color24 (5-byte stride, pixel i at src bytes 5i+2..5i+4) -> Color16. */
RKPIX_API void RKPIX_CALL RkBitConvertColor24ToColor16(void *dst, const void *src, uint32_t count);
/* Color24 (5-byte stride) -> Color15, packed with the Color16 masks. */
RKPIX_API void RKPIX_CALL RkBitConvertColor24ToColor15(void *dst, const void *src, uint32_t count);
/* Color24 -> Color32, fourth byte 0. */
RKPIX_API void RKPIX_CALL RkBitConvertColor24ToColor32(void *dst, const void *src, uint32_t count);
/* Color32 -> Color16 (fourth byte ignored). */
RKPIX_API void RKPIX_CALL RkBitConvertColor32ToColor16(void *dst, const void *src, uint32_t count);
/* Color32 -> Color15, packed with the Color16 masks. */
RKPIX_API void RKPIX_CALL RkBitConvertColor32ToColor15(void *dst, const void *src, uint32_t count);
/* Color32 -> Color24, fourth byte dropped. */
RKPIX_API void RKPIX_CALL RkBitConvertColor32ToColor24(void *dst, const void *src, uint32_t count);
/* Color16 -> Trans grey (low field weighted as R), 0..250. */
RKPIX_API void RKPIX_CALL RkBitConvertColor16ToTrans(void *dst, const void *src, uint32_t count);
/* Color16 -> Light grey, 0..250, high byte 0. */
RKPIX_API void RKPIX_CALL RkBitConvertColor16ToLight(void *dst, const void *src, uint32_t count);
/* Color16 -> RGBLight16 planes: low field to R, top 5 bits of G, high field to B. */
RKPIX_API void RKPIX_CALL RkBitConvertColor16ToRGBLight16(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Color16 -> RGBLight32 planes: low field to R, high field to B. */
RKPIX_API void RKPIX_CALL RkBitConvertColor16ToRGBLight32(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Color15 -> Trans grey, 0..248. */
RKPIX_API void RKPIX_CALL RkBitConvertColor15ToTrans(void *dst, const void *src, uint32_t count);
/* Color15 -> Light grey; G read from bits 10..5, upper pair elements take the lane carry. */
RKPIX_API void RKPIX_CALL RkBitConvertColor15ToLight(void *dst, const void *src, uint32_t count);
/* Color15 -> RGBLight16 planes. */
RKPIX_API void RKPIX_CALL RkBitConvertColor15ToRGBLight16(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Color15 -> RGBLight32 planes. */
RKPIX_API void RKPIX_CALL RkBitConvertColor15ToRGBLight32(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Color24 -> Trans grey (77 R + 150 G + 29 B) >> 8. */
RKPIX_API void RKPIX_CALL RkBitConvertColor24ToTrans(void *dst, const void *src, uint32_t count);
/* Color24 -> Light grey. */
RKPIX_API void RKPIX_CALL RkBitConvertColor24ToLight(void *dst, const void *src, uint32_t count);
/* Color24 -> RGBLight16. dstB is ignored: the B plane's address is read from bytes 16.. of the dstG
   array (a pointer-sized, unaligned value), so dstG must hold 24 bytes on 64-bit targets (20 on
   32-bit). */
RKPIX_API void RKPIX_CALL RkBitConvertColor24ToRGBLight16(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Color24 -> RGBLight32. dstB is ignored: the B plane's address is read from bytes 16.. of the dstG
   array (a pointer-sized, unaligned value), so dstG must hold 24 bytes on 64-bit targets (20 on
   32-bit). */
RKPIX_API void RKPIX_CALL RkBitConvertColor24ToRGBLight32(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Color32 -> Trans grey (fourth byte ignored). */
RKPIX_API void RKPIX_CALL RkBitConvertColor32ToTrans(void *dst, const void *src, uint32_t count);
/* Color32 -> Light grey. */
RKPIX_API void RKPIX_CALL RkBitConvertColor32ToLight(void *dst, const void *src, uint32_t count);
/* Color32 -> RGBLight16 planes (R >> 3, G >> 3, B >> 3). */
RKPIX_API void RKPIX_CALL RkBitConvertColor32ToRGBLight16(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Color32 -> RGBLight32 planes. */
RKPIX_API void RKPIX_CALL RkBitConvertColor32ToRGBLight32(void *dstR, void *dstG, void *dstB,
                                                          const void *src, uint32_t count);
/* Trans grey -> Color16. */
RKPIX_API void RKPIX_CALL RkBitConvertTransToColor16(void *dst, const void *src, uint32_t count);
/* Trans grey -> Color15. */
RKPIX_API void RKPIX_CALL RkBitConvertTransToColor15(void *dst, const void *src, uint32_t count);
/* Trans grey -> Color24. */
RKPIX_API void RKPIX_CALL RkBitConvertTransToColor24(void *dst, const void *src, uint32_t count);
/* Trans grey -> Color32, fourth byte 0. */
RKPIX_API void RKPIX_CALL RkBitConvertTransToColor32(void *dst, const void *src, uint32_t count);
/* Light -> Color16; upper elements of pairs are taken modulo 256 instead of saturated. */
RKPIX_API void RKPIX_CALL RkBitConvertLightToColor16(void *dst, const void *src, uint32_t count);
/* Light -> Color15 (elements of 255 or more read as 255). */
RKPIX_API void RKPIX_CALL RkBitConvertLightToColor15(void *dst, const void *src, uint32_t count);
/* Light -> Color24. */
RKPIX_API void RKPIX_CALL RkBitConvertLightToColor24(void *dst, const void *src, uint32_t count);
/* Light -> Color32, fourth byte 0. */
RKPIX_API void RKPIX_CALL RkBitConvertLightToColor32(void *dst, const void *src, uint32_t count);
/* RGBLight16 planes -> Color16 (elements of 1023 or more read as 31, others modulo 32). */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight16ToColor16(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* RGBLight16 planes -> Color15. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight16ToColor15(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* RGBLight16 -> Color24. srcB is ignored: the B plane's address is read from bytes 20.. of the srcG
   array (a pointer-sized, unaligned value), so srcG must hold 28 bytes on 64-bit targets (24 on
   32-bit). */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight16ToColor24(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* RGBLight16 -> Color32. srcB is ignored: the B plane's address is read from bytes 20.. of the srcG
   array (a pointer-sized, unaligned value), so srcG must hold 28 bytes on 64-bit targets (24 on
   32-bit). */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight16ToColor32(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* RGBLight32 planes -> Color16 (elements of 255 or more read as 255). */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight32ToColor16(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* RGBLight32 planes -> Color15. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight32ToColor15(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* RGBLight32 -> Color24. srcB is ignored: the B plane's address is read from bytes 20.. of the srcG
   array (a pointer-sized, unaligned value), so srcG must hold 28 bytes on 64-bit targets (24 on
   32-bit). */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight32ToColor24(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* RGBLight32 -> Color32. srcB is ignored: the B plane's address is read from bytes 20.. of the srcG
   array (a pointer-sized, unaligned value), so srcG must hold 28 bytes on 64-bit targets (24 on
   32-bit). */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight32ToColor32(void *dst, const void *srcR,
                                                          const void *srcG, const void *srcB,
                                                          uint32_t count);
/* Trans -> Light (high byte 0). */
RKPIX_API void RKPIX_CALL RkBitConvertTransToLight(void *dst, const void *src, uint32_t count);
/* Trans -> RGBLight16 planes (t >> 3; a lone last element gets (t << 3) & 0xFF). */
RKPIX_API void RKPIX_CALL RkBitConvertTransToRGBLight16(void *dstR, void *dstG, void *dstB,
                                                        const void *src, uint32_t count);
/* Trans -> RGBLight32 planes. */
RKPIX_API void RKPIX_CALL RkBitConvertTransToRGBLight32(void *dstR, void *dstG, void *dstB,
                                                        const void *src, uint32_t count);
/* Light -> Trans, saturating at 255. */
RKPIX_API void RKPIX_CALL RkBitConvertLightToTrans(void *dst, const void *src, uint32_t count);
/* Light -> RGBLight16 planes; an odd count's last element takes its high byte from source byte
 * count/2 + 5. */
RKPIX_API void RKPIX_CALL RkBitConvertLightToRGBLight16(void *dstR, void *dstG, void *dstB,
                                                        const void *src, uint32_t count);
/* Light -> RGBLight32 planes; an odd count's last element takes its high byte from source byte
 * count/2 + 5. */
RKPIX_API void RKPIX_CALL RkBitConvertLightToRGBLight32(void *dstR, void *dstG, void *dstB,
                                                        const void *src, uint32_t count);
/* RGBLight16 -> Trans, stored one place up: writes dst[1] .. dst[count], not dst[0]. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight16ToTrans(void *dst, const void *srcR,
                                                        const void *srcG, const void *srcB,
                                                        uint32_t count);
/* RGBLight16 -> Light, stored one place down: writes dst[-1] .. dst[count-2]. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight16ToLight(void *dst, const void *srcR,
                                                        const void *srcG, const void *srcB,
                                                        uint32_t count);
/* RGBLight16 planes -> RGBLight32 planes. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight16ToRGBLight32(void *dstR, void *dstG, void *dstB,
                                                             const void *srcR, const void *srcG,
                                                             const void *srcB, uint32_t count);
/* RGBLight32 -> Trans, stored one place up: writes dst[1] .. dst[count], not dst[0]. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight32ToTrans(void *dst, const void *srcR,
                                                        const void *srcG, const void *srcB,
                                                        uint32_t count);
/* RGBLight32 -> Light, stored one place down: writes dst[-1] .. dst[count-2]. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight32ToLight(void *dst, const void *srcR,
                                                        const void *srcG, const void *srcB,
                                                        uint32_t count);
/* RGBLight32 planes -> RGBLight16 planes. */
RKPIX_API void RKPIX_CALL RkBitConvertRGBLight32ToRGBLight16(void *dstR, void *dstG, void *dstB,
                                                             const void *srcR, const void *srcG,
                                                             const void *srcB, uint32_t count);

#ifdef __cplusplus
}
#endif

#endif /* RKPIX_H */
