// Plain copies. The reference walk moves each row upward through memory in fixed
// units (a short unit first, then 4-byte units), each read whole and then written
// whole, so a copy onto an overlapping part of the same surface smears exactly as
// the library always has. Rows that do not overlap are copied with memcpy.
#include "module/export.h"

RK_NS_BEGIN
namespace {

template <class M>
void CopyUnit(const Row<M> &r, int64_t off, int n) {
  const uint8_t *s = r.s + off;
  uint8_t *d = r.d + off;
  switch (n) {
    case 1:
      r.dm.St8(d, r.sm.Ld8(s));
      break;
    case 2:
      r.dm.St16(d, r.sm.Ld16(s));
      break;
    default:
      r.dm.St32(d, r.sm.Ld32(s));
      break;
  }
}

// Units of one row: `lead` short units (sizes 1 and 2 as the row length asks),
// then 4-byte units up to the row's end.
template <class M>
void CopyRowUnits(const Row<M> &r, int64_t bytes, bool oddByte, bool oddHalf) {
  int64_t off = 0;
  if (oddByte) CopyUnit(r, off++, 1);
  if (oddHalf) {
    CopyUnit(r, off, 2);
    off += 2;
  }
  for (; off + 4 <= bytes; off += 4) CopyUnit(r, off, 4);
}

}  // namespace

// Width odd: one 2-byte unit (the leftmost pixel), then 4-byte units.
struct Copy16 : BlitKernel<2> {
  static constexpr KernelId kId = KernelId::RkBitBlt16;
  static constexpr bool kPointwise = true;
  static constexpr bool kJoinRows = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    CopyRowUnits(r, int64_t{r.w} * 2, false, (r.w & 1) != 0);
  }
};

// 3 x width bytes: a 1-byte unit if that is odd, a 2-byte unit if its bit 1 is set,
// then 4-byte units.
struct Copy24 : BlitKernel<3> {
  static constexpr KernelId kId = KernelId::RkBitBlt24;
  static constexpr bool kPointwise = true;
  static constexpr bool kJoinRows = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    int64_t bytes = int64_t{r.w} * 3;
    CopyRowUnits(r, bytes, (bytes & 1) != 0, (bytes & 2) != 0);
  }
};

struct Copy32 : BlitKernel<4> {
  static constexpr KernelId kId = KernelId::RkBitBlt32;
  static constexpr bool kPointwise = true;
  static constexpr bool kJoinRows = true;
  template <class M>
  static void Ref(const Row<M> &r) {
    CopyRowUnits(r, int64_t{r.w} * 4, false, false);
  }
};

RK_NS_END

RK_EXPORT_BLIT(RkBitBlt16, rk::Copy16)
RK_EXPORT_BLIT(RkBitBlt24, rk::Copy24)
RK_EXPORT_BLIT(RkBitBlt32, rk::Copy32)
