/* rkpix demo: composes a small frame with the library's copies and writes it as a
 * PNG. Usage: rkpix-demo [output-directory] */
#include <png.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rkpix.h"

enum { W = 320, H = 200 };

static RkSurface make_surface(int w, int h, int bpp) {
  RkSurface s;
  memset(&s, 0, sizeof s);
  s.width = w;
  s.height = h;
  s.pitch = w * bpp;
  s.pixels = calloc((size_t)w * h, (size_t)bpp);
  return s;
}

static void put32(RkSurface *s, int x, int y, uint32_t rgb) {
  ((uint32_t *)((uint8_t *)s->pixels + y * s->pitch))[x] = rgb;
}

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
  if (setjmp(png_jmpbuf(png))) {
    fclose(f);
    return 0;
  }
  png_init_io(png, f);
  png_set_IHDR(png, info, (png_uint_32)s->width, (png_uint_32)s->height, 8, PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  row = malloc((size_t)s->width * 3);
  for (y = 0; y < s->height; ++y) {
    const uint8_t *p = (const uint8_t *)s->pixels + y * s->pitch;
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

int main(int argc, char **argv) {
  const char *dir = argc > 1 ? argv[1] : ".";
  char path[4096];
  RkSurface frame = make_surface(W, H, 4), tile = make_surface(32, 32, 4);
  int x, y;
  /* A tile: a diagonal gradient with a dark border. */
  for (y = 0; y < 32; ++y)
    for (x = 0; x < 32; ++x) {
      uint32_t edge = x == 0 || y == 0 || x == 31 || y == 31;
      put32(&tile, x, y,
            edge ? 0x202830u : (uint32_t)(0x30 + 4 * x) << 16 | (0x40 + 3 * y) << 8 | 0x90);
    }
  /* Tile the frame; the last column and row are clipped by the library. */
  for (y = -8; y < H; y += 32)
    for (x = -8; x < W; x += 32) RkBitBlt32(&frame, x, y, &tile, 0, 0, 32, 32);
  /* Copy a band of the frame onto itself one row down: every row becomes the first. */
  RkBitBlt32(&frame, 40, 121, &frame, 40, 120, 240, 60);
  sprintf(path, "%s/rkpix-demo-32.png", dir);
  if (!write_png(path, &frame)) {
    fprintf(stderr, "rkpix-demo: cannot write %s\n", path);
    return 1;
  }
  printf("rkpix-demo: wrote %s\n", path);
  free(frame.pixels);
  free(tile.pixels);
  return 0;
}
