/* rkpix demo: composes the same small scene at each depth (16, 15, 24 and 32 bits a
 * pixel) with the library's kernels, converts every frame to Color32 with the
 * library's own row conversions and writes it as an 8-bit RGB PNG, plus a contact
 * sheet of all four. Only the public header is used.
 *
 * The scene, left to right and top to bottom:
 *   - a tiled background (plain copies of one tile, clipped at the frame's edges),
 *   - colour-keyed sprites (magenta is the key),
 *   - a spotlight: a 16-bit channel plane scaling each pixel by c/256 (0.25 .. 1.75),
 *   - a soft orb blended through an 8-bit alpha plane,
 *   - three translucent panels at opacities 64, 128 and 192,
 *   - a darkened band, and a band darkened then lit back up,
 *   - a 3x nearest-zoom inset of the sprites,
 *   - a strip of colour bars sent through the other formats and back (a round trip per
 *     segment: the 16/15/24/32 colour formats, Trans grey, Light grey, RGBLight16 and
 *     RGBLight32 planes).
 *
 * Output is deterministic: no clock, no random numbers.
 *
 * Usage: rkpix-demo [output-directory] */
#include <png.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rkpix.h"

enum { W = 320, H = 200, TILE = 32, SPR = 24, PANEL_W = 44, PANEL_H = 36 };

static const uint32_t kKey32 = 0xFF00FF; /* magenta, B G R bytes FF 00 FF */

/* ---- Surfaces ---- */

static int bytes_per_pixel(int depth) { return depth == 32 ? 4 : depth == 24 ? 3 : 2; }

static RkSurface make_surface(int w, int h, int bpp) {
  RkSurface s;
  memset(&s, 0, sizeof s);
  s.width = w;
  s.height = h;
  s.pitch = w * bpp;
  s.pixels = calloc((size_t)w * h + 8, (size_t)bpp);
  if (!s.pixels) {
    fprintf(stderr, "rkpix-demo: out of memory\n");
    exit(1);
  }
  return s;
}

static uint8_t *row_of(const RkSurface *s, int y) { return (uint8_t *)s->pixels + y * s->pitch; }

static uint32_t *px32(const RkSurface *s, int x, int y) { return (uint32_t *)row_of(s, y) + x; }

/* ---- Conversions between Color32 art and a frame's own format (library calls) ---- */

/* Color32 -> native. Color15 goes through Color16: the direct Color32 -> Color15 member
 * packs with the Color16 field masks. */
static void row_from32(int depth, void *dst, const void *src, uint32_t n) {
  switch (depth) {
    case 16:
      RkBitConvertColor32ToColor16(dst, src, n);
      break;
    case 15: {
      uint16_t tmp[W];
      RkBitConvertColor32ToColor16(tmp, src, n);
      RkBitConvertColor16ToColor15(dst, tmp, n);
      break;
    }
    case 24:
      RkBitConvertColor32ToColor24(dst, src, n);
      break;
    default:
      memcpy(dst, src, (size_t)n * 4);
  }
}

/* native -> Color32. */
static void row_to32(int depth, void *dst, const void *src, uint32_t n) {
  switch (depth) {
    case 16:
      RkBitConvertColor16ToColor32(dst, src, n);
      break;
    case 15:
      RkBitConvertColor15ToColor32(dst, src, n);
      break;
    case 24:
      RkBitConvertColor24ToColor32(dst, src, n);
      break;
    default:
      memcpy(dst, src, (size_t)n * 4);
  }
}

/* A native surface holding the Color32 art. */
static RkSurface native_of(int depth, const RkSurface *art) {
  RkSurface s = make_surface(art->width, art->height, bytes_per_pixel(depth));
  int y;
  for (y = 0; y < art->height; ++y)
    row_from32(depth, row_of(&s, y), row_of(art, y), (uint32_t)art->width);
  return s;
}

/* The native key: the magenta art pixel converted like the art itself. */
static uint32_t native_key(int depth) {
  uint32_t src = kKey32, out = 0;
  uint8_t b[8] = {0};
  if (depth == 32) return kKey32;
  row_from32(depth, b, &src, 1);
  memcpy(&out, b, (size_t)bytes_per_pixel(depth));
  return out;
}

/* ---- The kernels each depth uses ---- */

static void blit(int d, const RkSurface *dst, int dx, int dy, const RkSurface *src, int sx, int sy,
                 int w, int h) {
  if (d == 32)
    RkBitBlt32(dst, dx, dy, src, sx, sy, w, h);
  else if (d == 24)
    RkBitBlt24(dst, dx, dy, src, sx, sy, w, h);
  else
    RkBitBlt16(dst, dx, dy, src, sx, sy, w, h);
}

/* Keyed copy. There is no 2-byte keyed copy: RkMaskLight16/15 at level 256 scale by
 * 32/32, an exact keyed copy (RkMaskTrans16/15 stop at opacity 255, i.e. 31/32). */
static void key_blit(int d, const RkSurface *dst, int dx, int dy, const RkSurface *src, int w,
                     int h, uint32_t key) {
  if (d == 32)
    RkMaskBitBlt32(dst, dx, dy, src, 0, 0, w, h, key);
  else if (d == 24)
    RkMaskBitBlt24(dst, dx, dy, src, 0, 0, w, h, key);
  else if (d == 16)
    RkMaskLight16(dst, dx, dy, src, 0, 0, w, h, 256, key);
  else
    RkMaskLight15(dst, dx, dy, src, 0, 0, w, h, 256, key);
}

static void trans(int d, const RkSurface *dst, int dx, int dy, const RkSurface *src, int w, int h,
                  uint32_t opacity) {
  if (d == 32)
    RkTrans32(dst, dx, dy, src, 0, 0, w, h, opacity);
  else if (d == 24)
    RkTrans24(dst, dx, dy, src, 0, 0, w, h, opacity);
  else if (d == 16)
    RkTrans16(dst, dx, dy, src, 0, 0, w, h, opacity);
  else
    RkTrans15(dst, dx, dy, src, 0, 0, w, h, opacity);
}

static void trans_channel(int d, const RkSurface *dst, int dx, int dy, const RkSurface *src, int w,
                          int h, const RkSurface *alpha) {
  if (d == 32)
    RkTransWithChannel32(dst, dx, dy, src, 0, 0, w, h, alpha, 0, 0);
  else if (d == 24)
    RkTransWithChannel24(dst, dx, dy, src, 0, 0, w, h, alpha, 0, 0);
  else if (d == 16)
    RkTransWithChannel16(dst, dx, dy, src, 0, 0, w, h, alpha, 0, 0);
  else
    RkTransWithChannel15(dst, dx, dy, src, 0, 0, w, h, alpha, 0, 0);
}

/* A light map in place. RkLightWithChannel16/15 let fields wrap past their maximum, so
 * the 2-byte frames use the keyed members (which saturate) with a key the frame never
 * holds (0xFFFF / 0x7FFF would be white; the background never reaches it). */
static void light_channel(int d, const RkSurface *f, int x, int y, int w, int h,
                          const RkSurface *map) {
  if (d == 32)
    RkLightWithChannel32(f, x, y, f, x, y, w, h, map, 0, 0);
  else if (d == 24)
    RkLightWithChannel24(f, x, y, f, x, y, w, h, map, 0, 0);
  else if (d == 16)
    RkMaskLightWithChannel16(f, x, y, f, x, y, w, h, map, 0, 0, 0xFFFF);
  else
    RkMaskLightWithChannel15(f, x, y, f, x, y, w, h, map, 0, 0, 0x7FFF);
}

static void darkle(int d, const RkSurface *f, int x, int y, int w, int h, uint32_t level) {
  if (d == 32)
    RkDarkle32(f, x, y, f, x, y, w, h, level);
  else if (d == 24)
    RkDarkle24(f, x, y, f, x, y, w, h, level);
  else if (d == 16)
    RkDarkle16(f, x, y, f, x, y, w, h, level);
  else
    RkDarkle15(f, x, y, f, x, y, w, h, level);
}

/* Brightening in place. RkLight16/15 let fields wrap, so they are given pixels dark
 * enough not to. RkLight24 stores part of each row into its source rather than dst (a
 * stray column at one edge of the band, in place or not), so the 24-bit frame lights a
 * scratch copy 8 pixels wider and copies back the band without that edge. RkLight32 clears bytes 2
 * and 3 (red and the fourth byte), so the 32-bit frame uses RkMaskLight32 with a key the frame
 * never holds. */
static void light(int d, const RkSurface *f, int x, int y, int w, int h, uint32_t level) {
  if (d == 32) {
    RkMaskLight32(f, x, y, f, x, y, w, h, level, 0xFFFFFF);
  } else if (d == 24) {
    RkSurface a = make_surface(w + 8, h, 3), b = make_surface(w + 8, h, 3);
    RkBitBlt24(&a, 0, 0, f, x - 8, y, w + 8, h);
    RkLight24(&b, 0, 0, &a, 0, 0, w + 8, h, level);
    RkBitBlt24(f, x, y, &b, 8, 0, w, h);
    free(a.pixels);
    free(b.pixels);
  } else if (d == 16) {
    RkLight16(f, x, y, f, x, y, w, h, level);
  } else {
    RkLight15(f, x, y, f, x, y, w, h, level);
  }
}

/* Nearest zoom of the frame's region sr onto dr. The source rectangle's corner is
 * multiplied by the scale factor before it is used, so the region is first copied into
 * a scratch surface and zoomed from its origin. RkZoom24 writes (b0, b1, b0), i.e. red
 * replaced by blue, and stamps its source, so the 24-bit frame converts the region to
 * Color32, zooms with RkZoom32 and converts back. */
static void zoom(int d, const RkSurface *f, const RkRect *dr, const RkRect *sr) {
  int sw = sr->right - sr->left, sh = sr->bottom - sr->top, y;
  int dw = dr->right - dr->left, dh = dr->bottom - dr->top;
  RkRect from = {0, 0, 0, 0};
  /* RkZoom16 clips the destination to the source surface's size times sw/dw, so its
   * scratch surface is made wide and tall enough for the whole inset. */
  RkSurface a = d == 16 || d == 15 ? make_surface(dw * dw / sw + 1, dh * dh / sh + 1, 2)
                                   : make_surface(sw, sh, d == 24 ? 4 : bytes_per_pixel(d));
  from.right = sw;
  from.bottom = sh;
  if (d == 24) {
    RkSurface b = make_surface(dw, dh, 4);
    RkRect to = {0, 0, 0, 0};
    to.right = dw;
    to.bottom = dh;
    for (y = 0; y < sh; ++y)
      RkBitConvertColor24ToColor32(row_of(&a, y), row_of(f, sr->top + y) + 3 * sr->left,
                                   (uint32_t)sw);
    RkZoom32(&b, &to, &a, &from);
    for (y = 0; y < dh; ++y)
      RkBitConvertColor32ToColor24(row_of(f, dr->top + y) + 3 * dr->left, row_of(&b, y),
                                   (uint32_t)dw);
    free(b.pixels);
  } else {
    blit(d, &a, 0, 0, f, sr->left, sr->top, sw, sh);
    if (d == 32)
      RkZoom32(f, dr, &a, &from);
    else
      RkZoom16(f, dr, &a, &from);
  }
  free(a.pixels);
}

/* ---- Round trips: a native row segment through another format and back ---- */

enum { TRIPS = 8 };
static const char *const kTripName[TRIPS] = {"-",    "16",    "15",    "24",
                                             "GREY", "LIGHT", "RGB16", "RGB32"};

/* Sends n native pixels of depth d through format `trip` and back, in place. */
static void round_trip(int d, uint8_t *p, uint32_t n, int trip) {
  uint32_t c32[W];
  uint16_t c16[W];
  uint8_t c24[W * 3], grey[W];
  uint16_t lt[W], r[W], g[W + 16], b[W];
  /* Convert through Color32 for the colour-format trips, so any depth can reach any. */
  row_to32(d, c32, p, n);
  switch (trip) {
    case 1: /* Color16 */
      RkBitConvertColor32ToColor16(c16, c32, n);
      RkBitConvertColor16ToColor32(c32, c16, n);
      break;
    case 2: /* Color15 (through Color16, see row_from32) */
      RkBitConvertColor32ToColor16(c16, c32, n);
      RkBitConvertColor16ToColor15(c16, c16, n);
      RkBitConvertColor15ToColor32(c32, c16, n);
      break;
    case 3: /* Color24 */
      RkBitConvertColor32ToColor24(c24, c32, n);
      RkBitConvertColor24ToColor32(c32, c24, n);
      break;
    case 4: /* Trans grey, 1 byte an element */
      RkBitConvertColor32ToTrans(grey, c32, n);
      RkBitConvertTransToColor32(c32, grey, n);
      break;
    case 5: /* Light grey, 2 bytes an element */
      RkBitConvertColor32ToLight(lt, c32, n);
      RkBitConvertLightToColor32(c32, lt, n);
      break;
    case 6: /* RGBLight16 planes (5-bit levels) */
      RkBitConvertColor32ToRGBLight16(r, g, b, c32, n);
      RkBitConvertRGBLight16ToColor16(c16, r, g, b, n);
      RkBitConvertColor16ToColor32(c32, c16, n);
      break;
    case 7: /* RGBLight32 planes (8-bit levels) */
      RkBitConvertColor32ToRGBLight32(r, g, b, c32, n);
      RkBitConvertRGBLight32ToColor16(c16, r, g, b, n);
      RkBitConvertColor16ToColor32(c32, c16, n);
      break;
    default:
      break;
  }
  row_from32(d, p, c32, n);
}

/* ---- Art (Color32, built once) ---- */

static uint32_t rgb(int r, int g, int b) {
  r = r < 0 ? 0 : r > 255 ? 255 : r;
  g = g < 0 ? 0 : g > 255 ? 255 : g;
  b = b < 0 ? 0 : b > 255 ? 255 : b;
  return (uint32_t)r << 16 | (uint32_t)g << 8 | (uint32_t)b;
}

/* A stone tile: a gentle gradient with a bevel. */
static RkSurface make_tile(void) {
  RkSurface t = make_surface(TILE, TILE, 4);
  int x, y;
  for (y = 0; y < TILE; ++y)
    for (x = 0; x < TILE; ++x) {
      int v = 70 + (x + y) / 2 + ((x * 7 + y * 13) % 11);
      if (x == 0 || y == 0) v += 40;
      if (x == TILE - 1 || y == TILE - 1) v -= 40;
      *px32(&t, x, y) = rgb(v / 2 + 10, v * 3 / 4 + 10, v);
    }
  return t;
}

/* A round gem of the given hue on the key colour, with a highlight. */
static RkSurface make_sprite(int r, int g, int b) {
  RkSurface s = make_surface(SPR, SPR, 4);
  int x, y;
  for (y = 0; y < SPR; ++y)
    for (x = 0; x < SPR; ++x) {
      int dx = 2 * x - (SPR - 1), dy = 2 * y - (SPR - 1), d2 = dx * dx + dy * dy;
      int hx = 2 * x - 14, hy = 2 * y - 14, h2 = hx * hx + hy * hy;
      uint32_t c = kKey32;
      if (d2 < 22 * 22) {
        int k = 256 - d2 / 4, lift = h2 < 36 ? 140 : h2 < 100 ? 60 : 0;
        c = rgb(r * k / 256 + lift, g * k / 256 + lift, b * k / 256 + lift);
      } else if (d2 < 24 * 24) {
        c = rgb(r / 4, g / 4, b / 4);
      }
      *px32(&s, x, y) = c;
    }
  return s;
}

/* A panel: a bright tile with diagonal stripes. */
static RkSurface make_panel(int r, int g, int b) {
  RkSurface s = make_surface(PANEL_W, PANEL_H, 4);
  int x, y;
  for (y = 0; y < PANEL_H; ++y)
    for (x = 0; x < PANEL_W; ++x) {
      int stripe = ((x + y) / 6) & 1;
      *px32(&s, x, y) = stripe ? rgb(r, g, b) : rgb(255, 255, 240);
    }
  return s;
}

/* Colour bars for the round-trip strip: hue ramps over the whole width. */
static RkSurface make_bars(int w, int h) {
  RkSurface s = make_surface(w, h, 4);
  int x, y;
  for (y = 0; y < h; ++y)
    for (x = 0; x < w; ++x) {
      int t = x % 40, seg = (x / 10) % 4, v = 64 + t * 191 / 39;
      uint32_t c = seg == 0   ? rgb(v, 40, 40)
                   : seg == 1 ? rgb(40, v, 40)
                   : seg == 2 ? rgb(40, 40, v)
                              : rgb(v, v, v);
      *px32(&s, x, y) = c;
    }
  return s;
}

/* ---- A tiny 3x5 font for the captions (drawn on the Color32 output) ---- */

/* Each glyph: 5 rows of 3 columns, '#' for a lit pixel. */
static const struct {
  char c;
  const char *rows;
} kGlyph[] = {
    {'A', ".#.#.#####.##.#"}, {'B', "##.#.###.#.###."}, {'C', ".###..#..#...##"},
    {'D', "##.#.##.##.###."}, {'E', "####..##.#..###"}, {'F', "####..##.#..#.."},
    {'G', ".###..#.##.#.##"}, {'H', "#.##.#####.##.#"}, {'I', "###.#..#..#.###"},
    {'J', "..#..#..##.#.#."}, {'K', "#.##.###.#.##.#"}, {'L', "#..#..#..#..###"},
    {'M', "#.########.##.#"}, {'N', "##.#.##.##.##.#"}, {'O', ".#.#.##.##.#.#."},
    {'P', "##.#.###.#..#.."}, {'Q', ".#.#.##.###..##"}, {'R', "##.#.###.#.##.#"},
    {'S', ".###...#...###."}, {'T', "###.#..#..#..#."}, {'U', "#.##.##.##.####"},
    {'V', "#.##.##.##.#.#."}, {'W', "#.##.########.#"}, {'X', "#.##.#.#.#.##.#"},
    {'Y', "#.##.#.#..#..#."}, {'Z', "###..#.#.#..###"}, {'0', "####.##.##.####"},
    {'1', ".#.##..#..#.###"}, {'2', "##...#.#.#..###"}, {'3', "##...#.#...###."},
    {'4', "#.##.####..#..#"}, {'5', "####..##...###."}, {'6', ".###..####.####"},
    {'7', "###..#.#..#..#."}, {'8', "####.#####.####"}, {'9', "####.####..###."},
    {'-', "......###......"}, {'+', "....#.###.#...."}, {'/', "..#..#.#.#..#.."},
    {'.', ".............#."}, {':', "....#.....#...."}, {'=', "...###...###..."},
};

static const char *glyph_of(char c) {
  size_t i;
  if (c >= 'a' && c <= 'z') c = (char)(c - 'a' + 'A');
  for (i = 0; i < sizeof kGlyph / sizeof kGlyph[0]; ++i)
    if (kGlyph[i].c == c) return kGlyph[i].rows;
  return NULL;
}

/* Writes text at (x, y) in white with a dark shadow, at scale 1. */
static void draw_text(const RkSurface *s, int x, int y, const char *text) {
  int pass;
  for (pass = 0; pass < 2; ++pass) {
    const char *t;
    int cx = x + (pass == 0), cy = y + (pass == 0);
    uint32_t colour = pass == 0 ? 0x101010u : 0xFFFFFFu;
    for (t = text; *t; ++t, cx += 4) {
      const char *g = glyph_of(*t);
      int row, col;
      if (!g) continue;
      for (row = 0; row < 5; ++row)
        for (col = 0; col < 3; ++col)
          if (g[row * 3 + col] == '#') {
            int px = cx + col, py = cy + row;
            if (px >= 0 && py >= 0 && px < s->width && py < s->height) *px32(s, px, py) = colour;
          }
    }
  }
}

/* ---- The scene ---- */

struct Art {
  RkSurface tile, sprite[3], panel, orb, alpha, spot, bars;
};

static struct Art make_art(void) {
  struct Art a;
  int x, y;
  a.tile = make_tile();
  a.sprite[0] = make_sprite(230, 60, 50);
  a.sprite[1] = make_sprite(60, 200, 80);
  a.sprite[2] = make_sprite(70, 110, 240);
  a.panel = make_panel(40, 90, 200);
  a.bars = make_bars(W - 16, 12);
  /* A soft orb: a pale warm disk whose 8-bit alpha falls from 255 at the centre to 0. Its
   * colour is above the background in every component: the 2-byte channel blends let a
   * field that decreases borrow from the field above it (green rings on red). */
  a.orb = make_surface(48, 48, 4);
  a.alpha = make_surface(48, 48, 1);
  a.alpha.pitch = 48;
  for (y = 0; y < 48; ++y)
    for (x = 0; x < 48; ++x) {
      int dx = 2 * x - 47, dy = 2 * y - 47, d2 = dx * dx + dy * dy;
      int al = d2 >= 47 * 47 ? 0 : 255 - d2 * 255 / (47 * 47);
      *px32(&a.orb, x, y) = rgb(255, 240 - d2 / 100, 200 - d2 / 100);
      ((uint8_t *)a.alpha.pixels)[y * 48 + x] = (uint8_t)al;
    }
  /* The spotlight: 16-bit elements, 64 (x0.25) far away up to 448 (x1.75) at its centre. */
  a.spot = make_surface(136, 92, 2);
  for (y = 0; y < 92; ++y)
    for (x = 0; x < 136; ++x) {
      int dx = x - 60, dy = y - 40, d2 = dx * dx + dy * dy, c = 448 - d2 * 384 / (52 * 52);
      ((uint16_t *)row_of(&a.spot, y))[x] = (uint16_t)(c < 64 ? 64 : c);
    }
  return a;
}

static void free_art(struct Art *a) {
  int i;
  free(a->tile.pixels);
  for (i = 0; i < 3; ++i) free(a->sprite[i].pixels);
  free(a->panel.pixels);
  free(a->orb.pixels);
  free(a->alpha.pixels);
  free(a->spot.pixels);
  free(a->bars.pixels);
}

/* Renders the scene at depth d and returns it converted to Color32. */
static RkSurface render(int d, const struct Art *art) {
  int bpp = bytes_per_pixel(d), x, y, i;
  uint32_t key = native_key(d);
  RkSurface f = make_surface(W, H, bpp), out = make_surface(W, H, 4);
  RkSurface tile = native_of(d, &art->tile), panel = native_of(d, &art->panel);
  RkSurface orb = native_of(d, &art->orb), bars = native_of(d, &art->bars);
  RkSurface spr[3];
  static const uint32_t kOpacity[3] = {64, 128, 192};
  static const int kSprite[7][3] = {{14, 22, 0},  {44, 34, 1},  {76, 18, 2}, {104, 40, 0},
                                    {128, 20, 1}, {184, 60, 2}, {240, 34, 0}};
  RkRect zsrc = {40, 30, 72, 54}, zdst = {212, 106, 308, 178};
  char label[32];
  for (i = 0; i < 3; ++i) spr[i] = native_of(d, &art->sprite[i]);

  /* Background: one tile copied over the frame; the library clips the edges. */
  for (y = -10; y < H; y += TILE)
    for (x = -6; x < W; x += TILE) blit(d, &f, x, y, &tile, 0, 0, TILE, TILE);

  /* The spotlight over the right half (before the sprites there, so they are lit too). */
  for (i = 5; i < 7; ++i)
    key_blit(d, &f, kSprite[i][0], kSprite[i][1], &spr[kSprite[i][2]], SPR, SPR, key);
  light_channel(d, &f, 176, 4, 136, 92, &art->spot);

  /* Keyed sprites on the left. */
  for (i = 0; i < 5; ++i)
    key_blit(d, &f, kSprite[i][0], kSprite[i][1], &spr[kSprite[i][2]], SPR, SPR, key);

  /* The orb, blended through its alpha plane, overlapping a sprite. */
  trans_channel(d, &f, 110, 50, &orb, 48, 48, &art->alpha);

  /* Translucent panels. */
  for (i = 0; i < 3; ++i) trans(d, &f, 8 + i * 52, 110, &panel, PANEL_W, PANEL_H, kOpacity[i]);

  /* A darkened band, and a band darkened to 3/8 and lit back by 2x. */
  darkle(d, &f, 8, 156, 96, 16, 96);
  darkle(d, &f, 112, 156, 88, 16, 96);
  light(d, &f, 112, 156, 88, 16, 512);

  /* The zoomed inset: 3x of the sprites at (40, 30) .. (72, 54), framed. */
  darkle(d, &f, zdst.left - 2, zdst.top - 2, 100, 76, 0);
  zoom(d, &f, &zdst, &zsrc);

  /* Round trips: colour bars, each 38-pixel segment through one format and back. */
  blit(d, &f, 8, 184, &bars, 0, 0, bars.width, bars.height);
  for (i = 0; i < TRIPS; ++i)
    for (y = 0; y < bars.height; ++y)
      round_trip(d, row_of(&f, 184 + y) + (8 + i * 38) * bpp, 36, i);

  /* To Color32 for the picture, row by row with the library's conversions. */
  for (y = 0; y < H; ++y) row_to32(d, row_of(&out, y), row_of(&f, y), W);

  /* Captions. */
  sprintf(label, "RKPIX %d BPP", d);
  draw_text(&out, 4, 4, label);
  draw_text(&out, 180, 6, "LIGHT MAP");
  draw_text(&out, 8, 103, "TRANS 64 128 192");
  draw_text(&out, 112, 94, "ALPHA");
  draw_text(&out, 8, 149, "DARKLE");
  draw_text(&out, 112, 149, "DARKLE + LIGHT");
  draw_text(&out, 212, 99, "ZOOM X3");
  for (i = 0; i < TRIPS; ++i) draw_text(&out, 9 + i * 38, 177, kTripName[i]);

  free(f.pixels);
  free(tile.pixels);
  free(panel.pixels);
  free(orb.pixels);
  free(bars.pixels);
  for (i = 0; i < 3; ++i) free(spr[i].pixels);
  return out;
}

/* ---- PNG ---- */

/* Writes a Color32 surface (B, G, R, x bytes) as an 8-bit RGB PNG. */
static int write_png(const char *path, const RkSurface *s) {
  FILE *f = fopen(path, "wb");
  png_structp png;
  png_infop info;
  png_bytep row;
  int x, y;
  if (!f) return 0;
  png = png_create_write_struct(PNG_LIBPNG_VER_STRING, NULL, NULL, NULL);
  info = png_create_info_struct(png);
  row = malloc((size_t)s->width * 3);
  if (setjmp(png_jmpbuf(png))) {
    png_destroy_write_struct(&png, &info);
    free(row);
    fclose(f);
    return 0;
  }
  png_init_io(png, f);
  png_set_IHDR(png, info, (png_uint_32)s->width, (png_uint_32)s->height, 8, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  for (y = 0; y < s->height; ++y) {
    const uint8_t *p = row_of(s, y);
    for (x = 0; x < s->width; ++x) {
      row[3 * x] = p[4 * x + 2];
      row[3 * x + 1] = p[4 * x + 1];
      row[3 * x + 2] = p[4 * x];
    }
    png_write_row(png, row);
  }
  png_write_end(png, NULL);
  png_destroy_write_struct(&png, &info);
  free(row);
  fclose(f);
  return 1;
}

static int save(const char *dir, const char *name, const RkSurface *s) {
  char path[4096];
  snprintf(path, sizeof path, "%s/%s", dir, name);
  if (!write_png(path, s)) {
    fprintf(stderr, "rkpix-demo: cannot write %s\n", path);
    return 0;
  }
  printf("rkpix-demo: wrote %s\n", path);
  return 1;
}

int main(int argc, char **argv) {
  static const int kDepth[4] = {16, 15, 24, 32};
  const char *dir = argc > 1 ? argv[1] : ".";
  struct Art art = make_art();
  RkSurface sheet = make_surface(2 * W, 2 * H, 4);
  int i, ok = 1;
  for (i = 0; i < 4; ++i) {
    char name[64];
    RkSurface frame = render(kDepth[i], &art);
    snprintf(name, sizeof name, "rkpix-demo-%d.png", kDepth[i]);
    ok &= save(dir, name, &frame);
    RkBitBlt32(&sheet, (i % 2) * W, (i / 2) * H, &frame, 0, 0, W, H);
    free(frame.pixels);
  }
  ok &= save(dir, "rkpix-demo-sheet.png", &sheet);
  free(sheet.pixels);
  free_art(&art);
  return ok ? 0 : 1;
}
