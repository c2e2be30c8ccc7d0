/* Blends a white row onto a black one through an 8-bit alpha plane: each pixel moves
 * towards the source by alpha/256. Prints alpha and the resulting grey for each pixel. */
#include <stdio.h>

#include "rkpix.h"

enum { N = 5 };

int main(void) {
  uint32_t frame[N], white[N];
  uint8_t alpha[N] = {0, 64, 128, 192, 255};
  RkSurface dst = {0, N, 1, N * 4, 0, frame};
  RkSurface src = {0, N, 1, N * 4, 0, white};
  RkSurface plane = {0, N, 1, N, 0, alpha}; /* 1 byte an element */
  int i;
  for (i = 0; i < N; ++i) {
    frame[i] = 0x000000;
    white[i] = 0xFFFFFF;
  }
  RkTransWithChannel32(&dst, 0, 0, &src, 0, 0, N, 1, &plane, 0, 0);
  printf("alpha_blend:");
  for (i = 0; i < N; ++i) printf(" %3u->%3u", alpha[i], (unsigned)(frame[i] & 0xFF));
  putchar('\n');
  return 0;
}
