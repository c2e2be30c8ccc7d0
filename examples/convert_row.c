/* Converts a row of Color32 pixels to Color16 (5, 6, 5 bits) and back: the low bits of
 * each component are lost. Prints each pixel before, packed, and after. */
#include <stdio.h>

#include "rkpix.h"

enum { N = 4 };

int main(void) {
  const uint32_t row[N] = {0xFF8040, 0x123456, 0xFFFFFF, 0x07FF07};
  uint16_t packed[N];
  uint32_t back[N];
  int i;
  RkBitConvertColor32ToColor16(packed, row, N);
  RkBitConvertColor16ToColor32(back, packed, N);
  printf("convert_row:");
  for (i = 0; i < N; ++i)
    printf(" %06X->%04X->%06X", (unsigned)row[i], packed[i], (unsigned)(back[i] & 0xFFFFFF));
  putchar('\n');
  return 0;
}
