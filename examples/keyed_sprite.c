/* Copies a small sprite onto a frame with a colour key: key pixels leave the frame as it
 * was. Prints the frame's middle row, one letter a pixel. */
#include <stdio.h>

#include "rkpix.h"

enum { KEY = 0xFF00FF, RED = 0xE03020, SKY = 0x80C0FF };

int main(void) {
  uint32_t frame[4 * 12], sprite[4 * 4];
  RkSurface dst = {0, 12, 4, 12 * 4, 0, frame};
  RkSurface src = {0, 4, 4, 4 * 4, 0, sprite};
  int i;
  for (i = 0; i < 4 * 12; ++i) frame[i] = SKY;
  /* A red cross on the key colour. */
  for (i = 0; i < 16; ++i) {
    int x = i % 4, y = i / 4, inside = (x == 1 || x == 2) || (y == 1 || y == 2);
    sprite[i] = inside ? RED : KEY;
  }
  RkMaskBitBlt32(&dst, 4, 0, &src, 0, 0, 4, 4, KEY);
  printf("keyed_sprite: row 0 = ");
  for (i = 0; i < 12; ++i) putchar(frame[i] == RED ? 'R' : frame[i] == SKY ? '.' : '?');
  printf("  row 1 = ");
  for (i = 12; i < 24; ++i) putchar(frame[i] == RED ? 'R' : frame[i] == SKY ? '.' : '?');
  putchar('\n');
  return 0;
}
