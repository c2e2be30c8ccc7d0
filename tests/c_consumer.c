/* A C program calling the shared library: a 3 x 2 copy between padded surfaces. */
#include <stdio.h>
#include <string.h>

#include "rkpix.h"

int main(void) {
  uint32_t src[8], dst[8];
  RkSurface s, d;
  int i, bad = 0;
  for (i = 0; i < 8; ++i) {
    src[i] = 0x11111111u * (uint32_t)i;
    dst[i] = 0xDEADBEEFu;
  }
  memset(&s, 0, sizeof s);
  memset(&d, 0, sizeof d);
  s.width = d.width = 3;
  s.height = d.height = 2;
  s.pitch = d.pitch = 16;
  s.pixels = src;
  d.pixels = dst;
  RkBitBlt32(&d, 0, 0, &s, 0, 0, 3, 2);
  for (i = 0; i < 8; ++i) bad += dst[i] != ((i & 3) == 3 ? 0xDEADBEEFu : src[i]);
  printf("%s\n", bad ? "c consumer: wrong pixels" : "c consumer: ok");
  return bad != 0;
}
