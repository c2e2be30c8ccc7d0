// The fast row kernels of the brightness family, one registration per source file.
#pragma once

#include "module/dispatch.h"
#include "module/isa.h"

RK_NS_BEGIN
namespace bright {

void RegisterLightFast(KernelTable &t);
void RegisterDarkleFast(KernelTable &t);
void RegisterMaskFast(KernelTable &t);

}  // namespace bright
RK_NS_END
