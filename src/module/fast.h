// Included first by every fast translation unit (one compiled per level).
//
//   RK_NS_BEGIN
//   void TransRow16(const RowArgs &r) { ... }
//   RK_NS_END
//   RK_FAST_FAMILY(trans) { t.Set(KernelId::RkTrans16, &TransRow16); }
//
// RK_FAST_FAMILY(name) defines rk::RegisterFast_<name>_<level>(KernelTable &t),
// which the dispatcher calls when it builds the table for that level.
#pragma once

#include "module/dispatch.h"
#include "module/isa.h"
#include "rk_fast_families.h"

#define RK_FAST_FAMILY(name) \
  void rk::RK_CAT(RK_CAT(RegisterFast_, name), RK_CAT(_, RK_ISA))(::rk::KernelTable & t)
