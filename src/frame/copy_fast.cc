// Plain copies of rows that do not overlap (or are the same bytes).
#include <cstring>

#include "frame/walk.h"
#include "module/fast.h"

RK_NS_BEGIN
namespace {

template <int Bpp>
void CopyRow(const RowArgs &r) {
  if (r.d != r.s) std::memcpy(r.d, r.s, static_cast<size_t>(r.w) * Bpp);
}

}  // namespace
RK_NS_END

RK_FAST_FAMILY(copy) {
  t.Set(KernelId::RkBitBlt16, &CopyRow<2>);
  t.Set(KernelId::RkBitBlt24, &CopyRow<3>);
  t.Set(KernelId::RkBitBlt32, &CopyRow<4>);
}
